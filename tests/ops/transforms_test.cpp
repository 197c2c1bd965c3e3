// The transforms built on the Fourier transform against their definitions: cosine transform,
// convolution (whole and block by block), correlation, power spectrum, magnitude and phase,
// and the spectrum picture.
#include <algorithm>
#include <cmath>
#include <vector>

#include "core/parallel.h"
#include "tests/ops/references.h"

namespace {

using t3d::Vol;
using t3d::block;
const double kPi = 3.14159265358979323846;

double dct_norm(int k, int n) { return std::sqrt((k == 0 ? 1.0 : 2.0) / n); }

// Element by element within tolerance + relative * |want|.
void expect_near(const std::vector<double>& got, const std::vector<double>& want, double tolerance,
                 double relative = 0) {
    ASSERT_EQ(got.size(), want.size());
    for (size_t i = 0; i < got.size(); ++i)
        ASSERT_NEAR(got[i], want[i], tolerance + relative * std::fabs(want[i])) << "at " << i;
}

TEST(Dct3d, MatchesDefinitionAndInverts) {
    const int nz = 4, ny = 8, nx = 2;
    Vol in(nz + 1, ny + 2, nx + 3, 2), out(nz + 2, ny + 1, nx + 1, 2), back(nz, ny, nx, 2);
    t3d::fill_random(in.get(), 31);
    in.voi(1, 1 + nz, 2, 2 + ny, 3, 3 + nx);
    ASSERT_EQ(DCT3d(&in, &out, 2, 1, 1), 0);
    std::vector<double> want;
    for (int kz = 0; kz < nz; ++kz)
        for (int ky = 0; ky < ny; ++ky)
            for (int kx = 0; kx < nx; ++kx) {
                double sum = 0;
                for (int z = 0; z < nz; ++z)
                    for (int y = 0; y < ny; ++y)
                        for (int x = 0; x < nx; ++x)
                            sum += in.f(1 + z, 2 + y, 3 + x) * std::cos(kPi * (2 * z + 1) * kz / (2.0 * nz)) *
                                   std::cos(kPi * (2 * y + 1) * ky / (2.0 * ny)) *
                                   std::cos(kPi * (2 * x + 1) * kx / (2.0 * nx));
                want.push_back(sum * dct_norm(kz, nz) * dct_norm(ky, ny) * dct_norm(kx, nx));
            }
    expect_near(block(&out, 2, 1, 1, nz, ny, nx), want, 1e-3);
    out.voi(2, 2 + nz, 1, 1 + ny, 1, 1 + nx);
    ASSERT_EQ(IDCT3d(&out, &back, 0, 0, 0), 0);
    expect_near(t3d::snapshot(&back), block(&in, 1, 2, 3, nz, ny, nx), 1e-3);
}

// Lines are split among the threads and the frames copied in and out by them: any thread
// count gives the same bits, with the VOI and the output offset away from the origin.
TEST(Dct3d, ThreadCountsGiveTheSameBits) {
    std::vector<double> first[2];
    for (int threads : {1, 2, 5}) {
        SCOPED_TRACE(::testing::Message() << threads << " threads");
        Vol in(10, 19, 35, 2), out(9, 17, 34, 2), back(9, 17, 34, 2);
        t3d::fill_random(in.get(), 12);
        in.voi(1, 9, 2, 18, 3, 35);
        v3d::set_thread_count(threads);
        ASSERT_EQ(DCT3d(&in, &out, 1, 0, 2), 0);
        out.voi(1, 9, 0, 16, 2, 34);
        ASSERT_EQ(IDCT3d(&out, &back, 0, 1, 0), 0);
        v3d::set_thread_count(0);
        const std::vector<double> got[2] = {t3d::snapshot(&out), t3d::snapshot(&back)};
        for (int k = 0; k < 2; ++k) {
            if (threads == 1) first[k] = got[k];
            else EXPECT_EQ(got[k], first[k]) << (k ? "inverse" : "forward");
        }
    }
}

TEST(Dct3d, InPlaceRoundTripAndChecks) {
    Vol v(8, 8, 8, 2), uc(8, 8, 8, 1), small(8, 8, 7, 2);
    t3d::fill_random(v.get(), 4);
    const auto before = t3d::snapshot(v.get());
    ASSERT_EQ(DCT3d(&v, &v, 0, 0, 0), 0);
    ASSERT_EQ(IDCT3d(&v, &v, 0, 0, 0), 0);
    expect_near(t3d::snapshot(&v), before, 1e-3);
    EXPECT_EQ(DCT3d(&uc, &v, 0, 0, 0), -502);
    EXPECT_EQ(DCT3d(&v, &uc, 0, 0, 0), -502);
    EXPECT_EQ(DCT3d(&v, &small, 0, 0, 0), -520);
    EXPECT_EQ(IDCT3d(&v, &v, 0, -1, 0), -90);
    v.voi(0, 8, 0, 6, 0, 8);
    EXPECT_EQ(DCT3d(&v, &v, 0, -1, 0), -533);
}

// out[n] = sum_k a[n - k] b[k] (or, correlating, sum_m a[m + d] b[m]) by direct sums.
std::vector<double> direct(Volume* a, Volume* b, bool correlate) {
    const int az = a->z2 - a->z1, ay = a->y2 - a->y1, ax = a->x2 - a->x1;
    const int bz = b->z2 - b->z1, by = b->y2 - b->y1, bx = b->x2 - b->x1;
    const int nz = az + bz - 1, ny = ay + by - 1, nx = ax + bx - 1;
    std::vector<double> out(static_cast<size_t>(nz) * ny * nx, 0.0);
    for (int z = 0; z < az; ++z)
        for (int y = 0; y < ay; ++y)
            for (int x = 0; x < ax; ++x)
                for (int kz = 0; kz < bz; ++kz)
                    for (int ky = 0; ky < by; ++ky)
                        for (int kx = 0; kx < bx; ++kx) {
                            // correlation: lag d = n - m at index d + Eb - 1
                            const int oz = correlate ? z - kz + bz - 1 : z + kz;
                            const int oy = correlate ? y - ky + by - 1 : y + ky;
                            const int ox = correlate ? x - kx + bx - 1 : x + kx;
                            out[(static_cast<size_t>(oz) * ny + oy) * nx + ox] +=
                                static_cast<double>(a->data[0].f[a->z1 + z][a->y1 + y][a->x1 + x]) *
                                b->data[0].f[b->z1 + kz][b->y1 + ky][b->x1 + kx];
                        }
    return out;
}

TEST(Convolution3, WholeAndBlockwiseAndCorrelationMatchDirectSums) {
    Vol a(7, 8, 9, 2), b(4, 3, 5, 2);
    t3d::fill_random(a.get(), 1, 20);
    t3d::fill_random(b.get(), 2, 20);
    a.voi(1, 6, 2, 8, 0, 7);  // 5 x 6 x 7
    b.voi(0, 3, 1, 3, 1, 5);  // 3 x 2 x 4
    const int nz = 7, ny = 7, nx = 10;
    const auto conv = direct(a.get(), b.get(), false);
    const auto corr = direct(a.get(), b.get(), true);
    {
        Vol out(nz + 1, ny + 2, nx, 2);
        t3d::fill_random(out.get(), 3);
        const float corner = out.f(0, 0, 0);
        ASSERT_EQ(convolution3(&a, &b, &out, 1, 2, 0), 0);
        expect_near(block(&out, 1, 2, 0, nz, ny, nx), conv, 2e-2);
        EXPECT_EQ(out.f(0, 0, 0), corner);
    }
    for (int block : {1, 2, 3, 100}) {
        Vol out(nz, ny, nx, 2);
        t3d::fill_random(out.get(), 3);
        ASSERT_EQ(overlap_add3(&a, &b, &out, block, 0, 0, 0), 0);
        expect_near(t3d::snapshot(&out), conv, 2e-2);
    }
    Vol out(nz, ny, nx + 1, 2);
    ASSERT_EQ(correlation3d(&a, &b, &out, 0, 0, 1), 0);
    expect_near(block(&out, 0, 0, 1, nz, ny, nx), corr, 2e-2);
}

TEST(Convolution3, Checks) {
    Vol a(4, 4, 4, 2), b(2, 2, 2, 2), out(5, 5, 5, 2), uc(4, 4, 4, 1), small(5, 5, 4, 2);
    for (auto f : {convolution3, correlation3d}) {
        EXPECT_EQ(f(&uc, &b, &out, 0, 0, 0), -502);
        EXPECT_EQ(f(&a, &uc, &out, 0, 0, 0), -502);
        EXPECT_EQ(f(&a, &b, &uc, 0, 0, 0), -502);
        EXPECT_EQ(f(&a, &b, &out, -1, 0, 0), -90);
        EXPECT_EQ(f(&a, &b, &small, 0, 0, 0), -520);
        EXPECT_EQ(f(&a, &b, &out, 0, 1, 0), -520);
    }
    EXPECT_EQ(overlap_add3(&a, &b, &out, 0, 0, 0, 0), -90);
    EXPECT_EQ(overlap_add3(&a, &b, &small, 2, 0, 0, 0), -520);
    Vol big(8, 8, 8, 2);
    big.voi(0, 4, 0, 4, 0, 4);
    EXPECT_EQ(overlap_add3(&big, &b, &big, 2, 0, 0, 0), -525);
}

TEST(MagnitudePhase, ValuesRoundTripAndChecks) {
    Vol re(3, 4, 5, 2), im(3, 4, 5, 2), mag(3, 4, 6, 2), ph(3, 4, 6, 2), re2(3, 4, 5, 2), im2(3, 4, 5, 2);
    t3d::fill_random(re.get(), 8);
    t3d::fill_random(im.get(), 9);
    re.f(0, 0, 0) = 3.0f;
    im.f(0, 0, 0) = -4.0f;
    ASSERT_EQ(reim2magnphase3d(&re, &im, &mag, &ph, 0, 0, 1), 0);
    EXPECT_FLOAT_EQ(mag.f(0, 0, 1), 5.0f);
    EXPECT_NEAR(ph.f(0, 0, 1), std::atan2(-4.0, 3.0), 1e-6);
    mag.voi(0, 3, 0, 4, 1, 6);
    ASSERT_EQ(magnphase2reim3d(&mag, &ph, &re2, &im2, 0, 0, 0), 0);
    expect_near(t3d::snapshot(&re2), t3d::snapshot(&re), 1e-3);
    expect_near(t3d::snapshot(&im2), t3d::snapshot(&im), 1e-3);
    // in place at the same position
    ASSERT_EQ(reim2magnphase3d(&re2, &im2, &re2, &im2, 0, 0, 0), 0);
    EXPECT_NEAR(re2.f(0, 0, 0), 5.0f, 1e-4);
    Vol small(3, 4, 4, 2);
    EXPECT_EQ(reim2magnphase3d(&re, &small, &mag, &ph, 0, 0, 0), -521);
    EXPECT_EQ(reim2magnphase3d(&re, &im, &mag, &ph, 0, 0, -1), -90);
    EXPECT_EQ(reim2magnphase3d(&re, &im, &small, &ph, 0, 0, 0), -520);
    EXPECT_EQ(reim2magnphase3d(&re, &im, &mag, &small, 0, 0, 0), -520);
    re.voi(0, 3, 0, 4, 0, 4);
    EXPECT_EQ(reim2magnphase3d(&re, &im, &mag, &re, 0, 0, 1), -536);
}

TEST(Fft2Image3d, SingleFrequencyPeaksWhereExpected) {
    const int Z = 4, Y = 8, X = 16;
    Vol re(Z, Y, X, 2), im(Z, Y, X, 2), sre(Z, Y, X, 2), sim(Z, Y, X, 2), pic(Z + 1, Y, X, 1);
    for (int z = 0; z < Z; ++z)
        for (int y = 0; y < Y; ++y)
            for (int x = 0; x < X; ++x)
                re.f(z, y, x) = static_cast<float>(std::cos(2 * kPi * (3.0 * x / X + 1.0 * z / Z)));
    ASSERT_EQ(fft3d(&re, &im, &sre, &sim, 0, 0, 0, 0), 0);
    ASSERT_EQ(fft2image3d(&sre, &sim, &pic, 1, 0, 0), 0);
    // frequencies (1, 0, 3) and (-1, 0, -3), moved by half the extents, plus the frame offset
    EXPECT_EQ(pic.uc(1 + 2 + 1, 4, 8 + 3), 255);
    EXPECT_EQ(pic.uc(1 + 2 - 1, 4, 8 - 3), 255);
    const auto p = t3d::snapshot(&pic);
    EXPECT_EQ(std::count_if(p.begin(), p.end(), [](double v) { return v > 2; }), 2);
    // a real spectrum alone, and the checks
    ASSERT_EQ(fft2image3d(&sre, nullptr, &pic, 0, 0, 0), 0);
    Vol smallim(Z, Y, X - 1, 2);
    EXPECT_EQ(fft2image3d(&sre, &smallim, &pic, 0, 0, 0), -521);
    EXPECT_EQ(fft2image3d(&sre, &sim, &re, 0, 0, 0), -502);
    EXPECT_EQ(fft2image3d(&sre, &sim, &pic, 0, -1, 0), -90);
    EXPECT_EQ(fft2image3d(&sre, &sim, &pic, 2, 0, 0), -520);
}

// The spectrum against its definition: windowed biased autocorrelation at |d| < E/2, then a
// DFT at E points per axis.
TEST(BlackmanTukeyPsd, MatchesDefinition) {
    const int Z = 2, Y = 4, X = 8;
    Vol in(Z, Y + 1, X, 1), out(Z, Y, X + 1, 2);
    t3d::fill_random(in.get(), 12);
    in.voi(0, Z, 1, Y + 1, 0, X);
    const float ax = 0.3f, ay = 0.1f, az = 0.0f;
    ASSERT_EQ(blackman_tukey_psd3d(&in, &out, ax, ay, az, 0, 0, 1), 0);
    auto sample = [&](int z, int y, int x) -> double {
        if (z < 0 || y < 0 || x < 0 || z >= Z || y >= Y || x >= X) return 0.0;
        return in.uc(z, 1 + y, x);
    };
    std::vector<double> want;
    for (int kz = 0; kz < Z; ++kz)
        for (int ky = 0; ky < Y; ++ky)
            for (int kx = 0; kx < X; ++kx) {
                double psd = 0;
                for (int dz = 0; dz <= 0; ++dz)
                    for (int dy = -1; dy <= 1; ++dy)
                        for (int dx = -3; dx <= 3; ++dx) {
                            double r = 0;
                            for (int z = 0; z < Z; ++z)
                                for (int y = 0; y < Y; ++y)
                                    for (int x = 0; x < X; ++x) r += sample(z, y, x) * sample(z + dz, y + dy, x + dx);
                            r /= Z * Y * X;
                            r *= std::exp(-(ax * std::abs(dx) + ay * std::abs(dy)));
                            psd += r * std::cos(2 * kPi * (double(kz) * dz / Z + double(ky) * dy / Y + double(kx) * dx / X));
                        }
                want.push_back(psd);
            }
    expect_near(block(&out, 0, 0, 1, Z, Y, X), want, 0.5, 1e-4);
    EXPECT_EQ(blackman_tukey_psd3d(&in, &out, -0.1f, 0, 0, 0, 0, 0), -90);
    EXPECT_EQ(blackman_tukey_psd3d(&in, &out, 0, NAN, 0, 0, 0, 0), -90);
    EXPECT_EQ(blackman_tukey_psd3d(&in, &out, 0, 0, 0, 0, 1, 0), -520);
    in.voi(0, Z, 0, 3, 0, X);
    EXPECT_EQ(blackman_tukey_psd3d(&in, &out, 0, 0, 0, 0, 0, 0), -533);
}

}  // namespace
