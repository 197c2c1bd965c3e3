// The 3D Fourier transforms against a brute-force DFT in double precision, their round trip,
// placement, in-place rule and every check code; the two-dimensional frame transform's codes.
#include <cmath>
#include <complex>
#include <vector>

#include "core/parallel.h"
#include "ops/fft_core.h"
#include "tests/ops/references.h"

namespace {

using t3d::Vol;
using t3d::block;
using Fft = int (*)(Volume*, Volume*, Volume*, Volume*, int, int, int, int);
using cd = std::complex<double>;

double max_diff(const std::vector<double>& a, const std::vector<double>& b) {
    double worst = 0;
    for (size_t i = 0; i < a.size(); ++i) worst = std::max(worst, std::fabs(a[i] - b[i]));
    return worst;
}

// The DFT of the VOI of (re, im), by the definition, in double precision.
std::vector<cd> brute_dft(Volume* re, Volume* im, int direction) {
    const int Ez = re->z2 - re->z1, Ey = re->y2 - re->y1, Ex = re->x2 - re->x1;
    const double s = direction == 0 ? -1.0 : 1.0, pi2 = 2.0 * 3.14159265358979323846;
    const auto r = block(re, re->z1, re->y1, re->x1, Ez, Ey, Ex), i = block(im, re->z1, re->y1, re->x1, Ez, Ey, Ex);
    std::vector<cd> in(r.size()), out(r.size());
    for (size_t k = 0; k < r.size(); ++k) in[k] = cd(r[k], i[k]);
    const double scale = direction == 1 ? 1.0 / (static_cast<double>(Ez) * Ey * Ex) : 1.0;
    for (int kz = 0; kz < Ez; ++kz)
        for (int ky = 0; ky < Ey; ++ky)
            for (int kx = 0; kx < Ex; ++kx) {
                cd sum = 0;
                for (int z = 0; z < Ez; ++z)
                    for (int y = 0; y < Ey; ++y)
                        for (int x = 0; x < Ex; ++x) {
                            const double a = s * pi2 *
                                (static_cast<double>(kz) * z / Ez + static_cast<double>(ky) * y / Ey +
                                 static_cast<double>(kx) * x / Ex);
                            sum += in[(z * Ey + y) * Ex + x] * cd(std::cos(a), std::sin(a));
                        }
                out[(kz * Ey + ky) * Ex + kx] = sum * scale;
            }
    return out;
}

// The same transform for blocks too large for brute_dft: a DFT by the definition along each
// axis in turn (exact twiddles in double), O(N) per value and axis.
std::vector<cd> separable_dft(Volume* re, Volume* im, int direction) {
    const int E[3] = {re->z2 - re->z1, re->y2 - re->y1, re->x2 - re->x1};
    const auto r = block(re, re->z1, re->y1, re->x1, E[0], E[1], E[2]),
               i = block(im, re->z1, re->y1, re->x1, E[0], E[1], E[2]);
    std::vector<cd> data(r.size());
    for (size_t k = 0; k < r.size(); ++k) data[k] = cd(r[k], i[k]);
    const double s = direction == 0 ? -1.0 : 1.0, pi2 = 2.0 * 3.14159265358979323846;
    const size_t stride[3] = {static_cast<size_t>(E[1]) * E[2], static_cast<size_t>(E[2]), 1};
    for (int axis = 0; axis < 3; ++axis) {
        const int n = E[axis];
        std::vector<cd> w(n), line(n);
        for (int k = 0; k < n; ++k) w[k] = std::polar(1.0, s * pi2 * k / n);
        for (size_t start = 0; start < data.size(); ++start) {
            if ((start / stride[axis]) % n != 0) continue;  // not the first value of a line
            for (int k = 0; k < n; ++k) {
                cd sum = 0;
                for (int t = 0; t < n; ++t) sum += data[start + t * stride[axis]] * w[(static_cast<long long>(k) * t) % n];
                line[k] = direction == 1 ? sum / static_cast<double>(n) : sum;
            }
            for (int k = 0; k < n; ++k) data[start + k * stride[axis]] = line[k];
        }
    }
    return data;
}

double magnitude_of(const std::vector<cd>& ref) {
    double magnitude = 1;
    for (const cd& v : ref) magnitude = std::max(magnitude, std::abs(v));
    return magnitude;
}

// Largest difference between the block of (re, im) at (z0, y0, x0) and the reference.
double max_error(Volume* re, Volume* im, int z0, int y0, int x0, int Ez, int Ey, int Ex,
                 const std::vector<cd>& ref) {
    const auto r = block(re, z0, y0, x0, Ez, Ey, Ex), i = block(im, z0, y0, x0, Ez, Ey, Ex);
    double worst = 0;
    for (size_t k = 0; k < r.size(); ++k) worst = std::max(worst, std::abs(cd(r[k], i[k]) - ref[k]));
    return worst;
}

// A snapshot of v with the block at (z0, y0, x0) left out (set to 0).
std::vector<double> outside_block(Volume* v, int z0, int y0, int x0, int nz, int ny, int nx) {
    auto s = t3d::snapshot(v);
    for (int z = 0; z < nz; ++z)
        for (int y = 0; y < ny; ++y)
            for (int x = 0; x < nx; ++x) s[(static_cast<size_t>(z0 + z) * v->Y + y0 + y) * v->X + x0 + x] = 0;
    return s;
}

struct Shape {
    int Ez, Ey, Ex;
};

// Every transform, both directions, several shapes, a VOI inside a larger input and a
// destination offset; everything outside the destination block stays as it was.
TEST(Fft3d, MatchesBruteForceDftWithOffsets) {
    const Shape shapes[] = {{8, 8, 8}, {4, 4, 4}, {2, 2, 2}, {1, 1, 1}, {4, 8, 16}, {16, 2, 4},
                            {1, 8, 4}, {8, 1, 1}, {2, 32, 8}, {2, 64, 4}};
    for (const Shape& sh : shapes)
        for (int direction = 0; direction < 2; ++direction)
            for (Fft f : {fft3d, lrcfft3d, vrfft3d}) {
                const bool cubic = sh.Ez == sh.Ey && sh.Ey == sh.Ex;
                if (f == vrfft3d && !cubic) continue;
                Vol re(sh.Ez + 3, sh.Ey + 2, sh.Ex + 1, 2), im(sh.Ez + 3, sh.Ey + 2, sh.Ex + 1, 2);
                t3d::fill_random(re.get(), 11 + sh.Ex);
                t3d::fill_random(im.get(), 23 + sh.Ey);
                re.voi(2, 2 + sh.Ez, 1, 1 + sh.Ey, 1, 1 + sh.Ex);
                Vol ore(sh.Ez + 2, sh.Ey + 3, sh.Ex + 4, 2), oim(sh.Ez + 2, sh.Ey + 3, sh.Ex + 4, 2);
                t3d::fill_random(ore.get(), 5);
                t3d::fill_random(oim.get(), 6);
                const auto ore_before = outside_block(&ore, 1, 2, 3, sh.Ez, sh.Ey, sh.Ex),
                           oim_before = outside_block(&oim, 1, 2, 3, sh.Ez, sh.Ey, sh.Ex);
                ASSERT_EQ(f(&re, &im, &ore, &oim, direction, 1, 2, 3), 0);
                const auto ref = brute_dft(re.get(), im.get(), direction);
                double magnitude = 1;
                for (const cd& v : ref) magnitude = std::max(magnitude, std::abs(v));
                EXPECT_LT(max_error(ore.get(), oim.get(), 1, 2, 3, sh.Ez, sh.Ey, sh.Ex, ref),
                          1e-5 * magnitude)
                    << sh.Ez << "x" << sh.Ey << "x" << sh.Ex << " direction " << direction;
                EXPECT_EQ(outside_block(&ore, 1, 2, 3, sh.Ez, sh.Ey, sh.Ex), ore_before);
                EXPECT_EQ(outside_block(&oim, 1, 2, 3, sh.Ez, sh.Ey, sh.Ex), oim_before);
            }
}

// Forward then inverse, in place at the VOI's own position, gives the input back; the
// vector-radix and row-column transforms agree on a cube.
TEST(Fft3d, RoundTripInPlaceAndBothTransformsAgree) {
    for (int n : {16, 32}) {
        Vol re(n + 2, n + 1, n + 3, 2), im(n + 2, n + 1, n + 3, 2);
        t3d::fill_random(re.get(), 1);
        t3d::fill_random(im.get(), 2);
        re.voi(1, 1 + n, 0, n, 2, 2 + n);
        const auto re0 = t3d::snapshot(re.get()), im0 = t3d::snapshot(im.get());
        Vol are(n, n, n, 2), aim(n, n, n, 2);
        ASSERT_EQ(lrcfft3d(&re, &im, &are, &aim, 0, 0, 0, 0), 0);
        ASSERT_EQ(fft3d(&re, &im, &re, &im, 0, 1, 0, 2), 0);
        const double tolerance = 1e-5 * 94.0 * n * n * n;
        EXPECT_LT(max_diff(block(&are, 0, 0, 0, n, n, n), block(&re, 1, 0, 2, n, n, n)), tolerance);
        EXPECT_LT(max_diff(block(&aim, 0, 0, 0, n, n, n), block(&im, 1, 0, 2, n, n, n)), tolerance);
        ASSERT_EQ(fft3d(&re, &im, &re, &im, 1, 1, 0, 2), 0);
        EXPECT_LE(max_diff(t3d::snapshot(&re), re0), 1e-3);
        EXPECT_LE(max_diff(t3d::snapshot(&im), im0), 1e-3);
    }
}

// Threads split frames, rows and octants; the result is the one-thread result, bit for bit.
TEST(Fft3d, ThreadsGiveTheSameBits) {
    for (Fft f : {lrcfft3d, vrfft3d}) {
        Vol re(32, 32, 32, 2), im(32, 32, 32, 2);
        t3d::fill_random(re.get(), 5);
        t3d::fill_random(im.get(), 6);
        std::vector<double> results[2];
        for (int threads : {1, 3}) {
            v3d::set_thread_count(threads);
            Vol ore(32, 32, 32, 2), oim(32, 32, 32, 2);
            ASSERT_EQ(f(&re, &im, &ore, &oim, 0, 0, 0, 0), 0);
            results[threads == 3] = t3d::snapshot(ore.get());
        }
        v3d::set_thread_count(0);
        EXPECT_EQ(results[0], results[1]);
    }
}

// Cubes from 64 on take the swept vector-radix path: a 64 cube inside a larger input, written
// at an offset, both directions, and the plans of much larger cubes (one stage per sweep).
TEST(Fft3d, LargeCubesMatchTheDefinition) {
    const int n = 64;
    Vol re(n + 2, n + 1, n + 3, 2), im(n + 2, n + 1, n + 3, 2);
    t3d::fill_random(re.get(), 31);
    t3d::fill_random(im.get(), 32);
    re.voi(1, 1 + n, 1, 1 + n, 2, 2 + n);
    for (int direction = 0; direction < 2; ++direction) {
        const auto ref = separable_dft(re.get(), im.get(), direction);
        const double tolerance = 1e-5 * magnitude_of(ref);
        Vol ore(n + 1, n + 2, n + 3, 2), oim(n + 1, n + 2, n + 3, 2);
        t3d::fill_random(ore.get(), 7);
        const auto outside = outside_block(&ore, 1, 2, 3, n, n, n);
        ASSERT_EQ(fft3d(&re, &im, &ore, &oim, direction, 1, 2, 3), 0);
        EXPECT_LT(max_error(ore.get(), oim.get(), 1, 2, 3, n, n, n, ref), tolerance) << direction;
        EXPECT_EQ(outside_block(&ore, 1, 2, 3, n, n, n), outside);
        Vol sre(n, n, n, 2), sim(n, n, n, 2);
        ASSERT_EQ(v3d::vr_large_cube(&re, &im, &sre, &sim, direction, 0, 0, 0, 4 * n), 0);
        EXPECT_LT(max_error(sre.get(), sim.get(), 0, 0, 0, n, n, n, ref), tolerance) << direction;
    }
}

// From 128 on the first sweep builds sub-cubes of 16: the result agrees with the row-column
// transform, and in place or on three threads it is the same to the bit.
TEST(Fft3d, LargeCubeInPlaceAndOnThreadsGivesTheSameBits) {
    const int n = 128;
    Vol re(n, n, n, 2), im(n, n, n, 2);
    t3d::fill_random(re.get(), 41);
    t3d::fill_random(im.get(), 42);
    v3d::set_thread_count(1);
    Vol ore(n, n, n, 2), oim(n, n, n, 2), lre(n, n, n, 2), lim(n, n, n, 2);
    ASSERT_EQ(vrfft3d(&re, &im, &ore, &oim, 0, 0, 0, 0), 0);
    ASSERT_EQ(lrcfft3d(&re, &im, &lre, &lim, 0, 0, 0, 0), 0);
    const auto out_re = t3d::snapshot(ore.get()), out_im = t3d::snapshot(oim.get());
    double magnitude = 1;
    for (double v : out_re) magnitude = std::max(magnitude, std::fabs(v));
    EXPECT_LT(max_diff(t3d::snapshot(lre.get()), out_re), 1e-5 * magnitude);
    EXPECT_LT(max_diff(t3d::snapshot(lim.get()), out_im), 1e-5 * magnitude);
    v3d::set_thread_count(3);
    Vol tre(n, n, n, 2), tim(n, n, n, 2);
    ASSERT_EQ(vrfft3d(&re, &im, &tre, &tim, 0, 0, 0, 0), 0);
    v3d::set_thread_count(0);
    EXPECT_EQ(t3d::snapshot(tre.get()), out_re);
    EXPECT_EQ(t3d::snapshot(tim.get()), out_im);
    ASSERT_EQ(vrfft3d(&re, &im, &re, &im, 0, 0, 0, 0), 0);
    EXPECT_EQ(t3d::snapshot(re.get()), out_re);
    EXPECT_EQ(t3d::snapshot(im.get()), out_im);
}

// Row-column transforms of frames wide and tall enough for whole blocks of rows and chunks of
// columns, both directions, out of place at an offset and in place (the same bits).
TEST(Fft3d, RowColumnLargeFramesMatchTheDefinition) {
    const Shape shapes[] = {{4, 64, 128}, {32, 128, 8}, {16, 8, 256}};
    for (const Shape& sh : shapes)
        for (int direction = 0; direction < 2; ++direction) {
            Vol re(sh.Ez, sh.Ey, sh.Ex, 2), im(sh.Ez, sh.Ey, sh.Ex, 2);
            t3d::fill_random(re.get(), 51 + direction);
            t3d::fill_random(im.get(), 61 + direction);
            const auto ref = separable_dft(re.get(), im.get(), direction);
            Vol ore(sh.Ez + 1, sh.Ey + 2, sh.Ex + 3, 2), oim(sh.Ez + 1, sh.Ey + 2, sh.Ex + 3, 2);
            ASSERT_EQ(lrcfft3d(&re, &im, &ore, &oim, direction, 1, 2, 3), 0);
            EXPECT_LT(max_error(ore.get(), oim.get(), 1, 2, 3, sh.Ez, sh.Ey, sh.Ex, ref), 1e-5 * magnitude_of(ref))
                << sh.Ez << "x" << sh.Ey << "x" << sh.Ex << " direction " << direction;
            ASSERT_EQ(lrcfft3d(&re, &im, &re, &im, direction, 0, 0, 0), 0);
            EXPECT_EQ(block(&re, 0, 0, 0, sh.Ez, sh.Ey, sh.Ex), block(&ore, 1, 2, 3, sh.Ez, sh.Ey, sh.Ex));
            EXPECT_EQ(block(&im, 0, 0, 0, sh.Ez, sh.Ey, sh.Ex), block(&oim, 1, 2, 3, sh.Ez, sh.Ey, sh.Ex));
        }
}

TEST(Fft3d, CheckCodesInOrderAndNothingWritten) {
    Vol re(8, 8, 8, 2), im(8, 8, 8, 2), ore(8, 8, 8, 2), oim(8, 8, 8, 2), uc(8, 8, 8, 1),
        rgb(8, 8, 8, 2, 2), small(8, 8, 4, 2);
    t3d::fill_random(ore.get(), 9);
    const auto before = t3d::snapshot(ore.get());
    for (Fft f : {fft3d, lrcfft3d, vrfft3d}) {
        EXPECT_EQ(f(&uc, &im, &ore, &oim, 0, 0, 0, 0), -502);
        EXPECT_EQ(f(&re, &rgb, &ore, &oim, 0, 0, 0, 0), -503);
        EXPECT_EQ(f(&re, &im, &uc, &oim, 0, 0, 0, 0), -502);
        EXPECT_EQ(f(&re, &im, &ore, &rgb, 0, 0, 0, 0), -503);
        EXPECT_EQ(f(&re, &im, &ore, &oim, 2, 0, 0, 0), -90);
        EXPECT_EQ(f(&re, &im, &ore, &oim, -1, 0, 0, 0), -90);
        EXPECT_EQ(f(&re, &im, &ore, &oim, 0, 0, -1, 0), -90);
        EXPECT_EQ(f(&re, &small, &ore, &oim, 0, 0, 0, 0), -521);
        EXPECT_EQ(f(&re, &im, &small, &oim, 0, 0, 0, 0), -520);
        EXPECT_EQ(f(&re, &im, &ore, &small, 0, 0, 0, 0), -520);
        EXPECT_EQ(f(&re, &im, &ore, &oim, 0, 1, 0, 0), -520);
        // in place only at the VOI's own position
        re.voi(0, 4, 0, 4, 0, 4);
        EXPECT_EQ(f(&re, &im, &re, &oim, 0, 0, 0, 1), -536);
        EXPECT_EQ(f(&re, &im, &ore, &im, 0, 1, 0, 0), -536);
        re.voi(0, 6, 0, 8, 0, 8);  // an extent of 6
        EXPECT_EQ(f(&re, &im, &ore, &oim, 2, 0, 0, 0), -533);
        re.voi(0, 8, 0, 8, 0, 8);
    }
    EXPECT_EQ(t3d::snapshot(ore.get()), before);
    re.voi(0, 4, 0, 8, 0, 8);
    EXPECT_EQ(vrfft3d(&re, &im, &ore, &oim, 0, 0, 0, 0), -534);
    EXPECT_EQ(vrfft3d(&re, &im, &ore, &oim, 2, 0, 0, 0), -534);
    EXPECT_EQ(fft3d(&re, &im, &ore, &oim, 2, 0, 0, 0), -90);  // from lrcfft3d
    EXPECT_EQ(fft3d(&re, &im, &ore, &oim, 0, 0, 0, 0), 0);
}

TEST(Fft2d, WorkAreaCodesAndTransform) {
    Vol re(1, 8, 8, 2), im(1, 8, 8, 2), ore(1, 8, 8, 2), oim(1, 8, 8, 2);
    t3d::fill_random(re.get(), 7);
    float** sr = re->data[0].f[0];
    float** si = im->data[0].f[0];
    float** dr = ore->data[0].f[0];
    float** di = oim->data[0].f[0];
    EXPECT_EQ(v3d::fft2d(sr, si, 8, 8, -1, 4, 0, 4, dr, di, 8, 8, 0, 0, 0), -21);
    EXPECT_EQ(v3d::fft2d(sr, si, 8, 8, 0, 9, 0, 4, dr, di, 8, 8, 0, 0, 0), -21);
    EXPECT_EQ(v3d::fft2d(sr, si, 8, 8, 4, 4, 0, 4, dr, di, 8, 8, 0, 0, 0), -21);
    EXPECT_EQ(v3d::fft2d(sr, si, 8, 8, 0, 4, 0, 4, dr, di, 8, 8, 5, 0, 0), -22);
    EXPECT_EQ(v3d::fft2d(sr, si, 8, 8, 0, 4, 0, 4, dr, di, 8, 8, 0, -1, 0), -22);
    EXPECT_EQ(v3d::fft2d(sr, si, 8, 8, 0, 3, 0, 4, dr, di, 8, 8, 0, 0, 0), -33);
    EXPECT_EQ(v3d::fft2d(sr, si, 8, 8, 0, 4, 0, 4, dr, di, 8, 8, 0, 0, 1), 0);
    // a 2 x 4 area at (1, 2) into (3, 4), inverse: matches the DFT with 1/8
    ASSERT_EQ(v3d::fft2d(sr, si, 8, 8, 1, 3, 2, 6, dr, di, 8, 8, 3, 4, 1), 0);
    re.voi(0, 1, 1, 3, 2, 6);
    const auto ref = brute_dft(re.get(), im.get(), 1);
    EXPECT_LT(max_error(ore.get(), oim.get(), 0, 3, 4, 1, 2, 4, ref), 1e-4);
}

// Source and destination in the same images: at the same place, and at another place that
// overlaps the source area (rows written before later source rows are read would spoil it).
TEST(Fft2d, SameImagesInPlaceAndShifted) {
    for (int shift : {0, 3}) {
        Vol re(1, 32 + shift, 16 + shift, 2), im(1, 32 + shift, 16 + shift, 2);
        t3d::fill_random(re.get(), 17);
        t3d::fill_random(im.get(), 18);
        re.voi(0, 1, 0, 32, 0, 16);
        const auto ref = brute_dft(re.get(), im.get(), 0);
        float** r = re->data[0].f[0];
        float** i = im->data[0].f[0];
        ASSERT_EQ(v3d::fft2d(r, i, 32 + shift, 16 + shift, 0, 32, 0, 16, r, i, 32 + shift,
                             16 + shift, shift, shift, 0), 0);
        EXPECT_LT(max_error(re.get(), im.get(), 0, shift, shift, 1, 32, 16, ref), 1e-5 * magnitude_of(ref))
            << shift;
    }
}

}  // namespace
