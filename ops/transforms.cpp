// The transforms built on the Fourier transform: the orthonormal cosine transform, convolution
// (whole, and block by block), correlation, the Blackman-Tukey power spectrum, magnitude and
// phase, and the viewable spectrum picture.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "core/common.h"
#include "core/parallel.h"
#include "ops/fft_core.h"

namespace v3d {
namespace {

bool voi_power_of_two(const Volume* v) {
    const Voi r = voi_of(v);
    return is_power_of_two(r.nz()) && is_power_of_two(r.ny()) && is_power_of_two(r.nx());
}

bool negative(int z0, int y0, int x0) { return z0 < 0 || y0 < 0 || x0 < 0; }

// Does a block of nz x ny x nx fit into out at (z0, y0, x0)?
bool block_fits(const Volume* out, long long nz, long long ny, long long nx, int z0, int y0,
                int x0) {
    return z0 + nz <= out->Z && y0 + ny <= out->Y && x0 + nx <= out->X;
}

int next_power_of_two(long long n) {
    int p = 1;
    while (p < n) p *= 2;
    return p;
}

bool shares_storage(const Volume* a, const Volume* b) { return a->data[0].p == b->data[0].p; }

// A complex F work volume (real and imaginary part), zeroed when created.
struct ComplexTemp {
    OwnedVolume re, im;
    int create(int Z, int Y, int X) {
        V3D_CHECK(re.create(Z, Y, X, kF, kGrey));
        return im.create(Z, Y, X, kF, kGrey);
    }
    float& r(int z, int y, int x) { return re->data[0].f[z][y][x]; }
    float& i(int z, int y, int x) { return im->data[0].f[z][y][x]; }
    int transform(int direction) { return fft3d(re.get(), im.get(), re.get(), im.get(), direction, 0, 0, 0); }
    void clear() {
        for (int z = 0; z < re->Z; ++z) {
            std::memset(re->data[0].f[z][0], 0, sizeof(float) * re->Y * re->X);
            std::memset(im->data[0].f[z][0], 0, sizeof(float) * im->Y * im->X);
        }
    }
};

// Copies the n block of src at (sz, sy, sx) into the real part of t at the origin, reversed
// on every axis when asked.
void load_block(const Volume* src, int sz, int sy, int sx, int nz, int ny, int nx, bool reversed,
                ComplexTemp& t) {
    float*** s = src->data[0].f;
    for (int z = 0; z < nz; ++z)
        for (int y = 0; y < ny; ++y) {
            const float* row = s[sz + z][sy + y] + sx;
            float* dst = reversed ? t.re->data[0].f[nz - 1 - z][ny - 1 - y] : t.re->data[0].f[z][y];
            for (int x = 0; x < nx; ++x) dst[reversed ? nx - 1 - x : x] = row[x];
        }
}

void multiply_spectra(ComplexTemp& a, ComplexTemp& b) {
    parallel_for(0, a.re->Z, [&](int z) {
        for (int y = 0; y < a.re->Y; ++y) {
            float* ar = a.re->data[0].f[z][y];
            float* ai = a.im->data[0].f[z][y];
            const float* br = b.re->data[0].f[z][y];
            const float* bi = b.im->data[0].f[z][y];
            for (int x = 0; x < a.re->X; ++x) {
                const float r = ar[x] * br[x] - ai[x] * bi[x];
                ai[x] = ar[x] * bi[x] + ai[x] * br[x];
                ar[x] = r;
            }
        }
    });
}

// The checks shared by convolution and correlation, in their order.
int check_convolution(Volume* in, Volume* kernel, Volume* out, int z0, int y0, int x0) {
    for (Volume* v : {in, kernel, out}) V3D_CHECK(CheckVolume(v, kF, kGrey));
    if (negative(z0, y0, x0)) return kInvalidParams;
    return kOk;
}

int check_result_fits(Volume* in, Volume* kernel, Volume* out, int z0, int y0, int x0) {
    const Voi a = voi_of(in), b = voi_of(kernel);
    if (!block_fits(out, a.nz() + b.nz() - 1LL, a.ny() + b.ny() - 1LL, a.nx() + b.nx() - 1LL, z0,
                    y0, x0))
        return kBadOutputDims;
    return kOk;
}

// Linear convolution of in with kernel (reversed: correlation) through one padded transform.
int convolve(Volume* in, Volume* kernel, Volume* out, int z0, int y0, int x0, bool correlate) {
    V3D_CHECK(check_convolution(in, kernel, out, z0, y0, x0));
    V3D_CHECK(check_result_fits(in, kernel, out, z0, y0, x0));
    const Voi a = voi_of(in), b = voi_of(kernel);
    const int nz = a.nz() + b.nz() - 1, ny = a.ny() + b.ny() - 1, nx = a.nx() + b.nx() - 1;
    const int pz = next_power_of_two(nz), py = next_power_of_two(ny), px = next_power_of_two(nx);
    ComplexTemp ta, tb;
    V3D_CHECK(ta.create(pz, py, px));
    V3D_CHECK(tb.create(pz, py, px));
    load_block(in, a.z1, a.y1, a.x1, a.nz(), a.ny(), a.nx(), false, ta);
    load_block(kernel, b.z1, b.y1, b.x1, b.nz(), b.ny(), b.nx(), correlate, tb);
    // (the transforms one after the other: side by side on two threads they fight over the
    // memory and take longer)
    V3D_CHECK(ta.transform(0));
    V3D_CHECK(tb.transform(0));
    multiply_spectra(ta, tb);
    V3D_CHECK(ta.transform(1));
    for (int z = 0; z < nz; ++z)
        for (int y = 0; y < ny; ++y)
            std::memcpy(out->data[0].f[z0 + z][y0 + y] + x0, ta.re->data[0].f[z][y],
                        sizeof(float) * nx);
    return kOk;
}

// ---- cosine transform --------------------------------------------------------------------------

// The orthonormal DCT-II (or its inverse) of up to kBatch lines of one length at a time, each
// through a Fourier transform of the same length of its even samples followed by its reversed
// odd ones. The lines' transforms run side by side, a vector lane a line (the butterflies do the
// same float operations on every lane, so a line's result does not depend on its neighbours).
class CosineLines {
public:
    int prepare(int n, bool inverse) {
        n_ = n;
        inverse_ = inverse;
        scale_ = inverse ? 1.0f / static_cast<float>(n) : 1.0f;
        const std::size_t points = static_cast<std::size_t>(n) * kBatch;
        auto rev = bit_reversal(n);
        point_ = make_buffer<int>(n);
        turn_cos_ = make_buffer<double>(n);
        turn_sin_ = make_buffer<double>(n);
        norm_ = make_buffer<double>(n);
        if (!rev || !point_ || !turn_cos_ || !turn_sin_ || !norm_ || !re_.make(points) ||
            !im_.make(points) || !lines_.make(points) || !tw_.make(n, inverse ? 1 : -1))
            return kNoBuffer;
        rev_ = std::move(rev);
        for (int k = 0; k < n; ++k) {  // e^(-i pi k / 2n)
            turn_cos_[k] = std::cos(3.14159265358979323846 * k / (2.0 * n));
            turn_sin_[k] = -std::sin(3.14159265358979323846 * k / (2.0 * n));
            norm_[k] = std::sqrt((k == 0 ? 1.0 : 2.0) / n);
        }
        for (int t = 0; t < n; ++t)  // sample t is point t/2, or n-1-t/2 when odd
            point_[t] = t % 2 == 0 ? t / 2 : n - 1 - t / 2;
        return kOk;
    }

    // Transforms the `count` lines whose element i lies at data[start[j] + i * stride].
    void run(float* data, const std::size_t* start, int count, std::size_t stride) {
        if (count < kBatch) {  // unused lanes hold zeros
            std::fill(re_.get(), re_.get() + static_cast<std::size_t>(n_) * kBatch, 0.0f);
            std::fill(lines_.get(), lines_.get() + static_cast<std::size_t>(n_) * kBatch, 0.0f);
        }
        inverse_ ? backward(data, start, count, stride) : forward(data, start, count, stride);
    }

private:
    float* lane(const FloatBuffer& b, int point) const {
        return b.get() + static_cast<std::size_t>(point) * kBatch;
    }

    void forward(float* data, const std::size_t* start, int count, std::size_t stride) {
        const int n = n_;
        for (int t = 0; t < n; ++t) {
            float* to = lane(re_, rev_[point_[t]]);
            for (int j = 0; j < count; ++j) to[j] = data[start[j] + t * stride];
        }
        std::fill(im_.get(), im_.get() + static_cast<std::size_t>(n) * kBatch, 0.0f);
        butterflies(re_.get(), im_.get(), n, kBatch, tw_);
        for (int k = 0; k < n; ++k) {  // c_k Re(e^(-i pi k / 2n) V[k])
            const float* vr = lane(re_, k);
            const float* vi = lane(im_, k);
            for (int j = 0; j < count; ++j) {
                const float r = vr[j] * scale_, i = vi[j] * scale_;
                data[start[j] + k * stride] =
                    static_cast<float>(norm_[k] * (r * turn_cos_[k] - i * turn_sin_[k]));
            }
        }
    }

    void backward(float* data, const std::size_t* start, int count, std::size_t stride) {
        const int n = n_;
        for (int k = 0; k < n; ++k) {
            float* to = lane(lines_, k);
            for (int j = 0; j < count; ++j) to[j] = data[start[j] + k * stride];
        }
        // V[k] = e^(i pi k / 2n) (y[k] - i y[n - k]), y = x / c, y[n] = 0
        for (int k = 0; k < n; ++k) {
            const float* xk = lane(lines_, k);
            const float* xr = lane(lines_, (n - k) % n);
            float* vr = lane(re_, rev_[k]);
            float* vi = lane(im_, rev_[k]);
            for (int j = 0; j < kBatch; ++j) {
                const double yr = xk[j] / norm_[k];
                const double yi = k == 0 ? 0.0 : -xr[j] / norm_[n - k];
                vr[j] = static_cast<float>(yr * turn_cos_[k] + yi * turn_sin_[k]);
                vi[j] = static_cast<float>(yi * turn_cos_[k] - yr * turn_sin_[k]);
            }
        }
        butterflies(re_.get(), im_.get(), n, kBatch, tw_);
        for (int t = 0; t < n; ++t) {
            const float* v = lane(re_, point_[t]);
            for (int j = 0; j < count; ++j) data[start[j] + t * stride] = v[j] * scale_;
        }
    }

    int n_ = 0;
    bool inverse_ = false;
    float scale_ = 1.0f;
    Twiddles tw_;
    std::unique_ptr<int[]> rev_, point_;  // point_[t]: the transform's point of sample t
    FloatBuffer re_, im_, lines_;         // kBatch lanes per point
    std::unique_ptr<double[]> turn_cos_, turn_sin_, norm_;  // norm_[k]: c_k
};

// The cosine transforms of the lines of one axis of a block held in a buffer: count lines of
// length n, element i of line l at data[first(l) + i * stride]. Lines go kBatch at a time (on
// the Y and Z axes neighbouring lines are neighbours in memory, so each step of the gather reads
// whole cache lines); threads take runs of lines, each with its own transform. 0 or -9.
template <class First>
int transform_lines(float* data, int lines, int n, std::size_t stride, First first, bool inverse) {
    const int blocks = block_count(0, lines, true);
    std::unique_ptr<CosineLines[]> transforms(new (std::nothrow) CosineLines[blocks]);
    if (!transforms) return kNoBuffer;
    for (int b = 0; b < blocks; ++b) V3D_CHECK(transforms[b].prepare(n, inverse));
    parallel_blocks(0, lines, blocks, [&](int b, int l1, int l2) {
        std::size_t start[kBatch];
        for (int l = l1; l < l2; l += kBatch) {
            const int count = std::min(kBatch, l2 - l);
            for (int j = 0; j < count; ++j) start[j] = first(l + j);
            transforms[b].run(data, start, count, stride);
        }
    });
    return kOk;
}

int cosine_transform(Volume* in, Volume* out, int z0, int y0, int x0, bool inverse) {
    V3D_CHECK(CheckVolume(in, kF, kGrey));
    V3D_CHECK(CheckVolume(out, kF, kGrey));
    if (!voi_power_of_two(in)) return kVoiNotPowerOf2;
    if (negative(z0, y0, x0)) return kInvalidParams;
    if (!fits_at(in, out, z0, y0, x0)) return kBadOutputDims;
    const Voi r = voi_of(in);
    const int nz = r.nz(), ny = r.ny(), nx = r.nx();
    ZeroedBuffer<float> block;
    if (!block.make(static_cast<std::size_t>(r.count()))) return kNoBuffer;
    const std::size_t row = nx, frame = static_cast<std::size_t>(ny) * nx;
    float* b = block.get();
    // (the copies in and out by frames on every thread: the first touch of the block's pages
    // costs as much as the copy itself)
    parallel_for(0, nz, [&](int z) {
        for (int y = 0; y < ny; ++y)
            std::memcpy(b + z * frame + y * row, in->data[0].f[r.z1 + z][r.y1 + y] + r.x1, sizeof(float) * nx);
    });
    // the work memory of every axis is had before the output is written
    V3D_CHECK(transform_lines(b, nz * ny, nx, 1, [&](int l) { return l * row; }, inverse));
    V3D_CHECK(transform_lines(b, nz * nx, ny, row,
                              [&](int l) { return (l / nx) * frame + l % nx; }, inverse));
    V3D_CHECK(transform_lines(b, ny * nx, nz, frame, [&](int l) { return std::size_t(l); }, inverse));
    parallel_for(0, nz, [&](int z) {
        for (int y = 0; y < ny; ++y)
            std::memcpy(out->data[0].f[z0 + z][y0 + y] + x0, b + z * frame + y * row, sizeof(float) * nx);
    });
    return kOk;
}

// ---- element-wise conversions -------------------------------------------------------------------

// Checks of a conversion from the pair (a, b) to the pair (c, d) at an offset.
int check_pair_conversion(Volume* a, Volume* b, Volume* c, Volume* d, int z0, int y0, int x0) {
    for (Volume* v : {a, b, c, d}) V3D_CHECK(CheckVolume(v, kF, kGrey));
    if (smaller_than(b, a)) return kBadInputDims;
    if (negative(z0, y0, x0)) return kInvalidParams;
    if (!fits_at(a, c, z0, y0, x0)) return kBadOutputDims;
    if (!fits_at(a, d, z0, y0, x0)) return kBadOutputDims;
    const Voi r = voi_of(a);
    const bool same_place = z0 == r.z1 && y0 == r.y1 && x0 == r.x1;
    for (Volume* o : {c, d})
        for (Volume* i : {a, b})
            if (shares_storage(o, i) && !same_place) return kBadDestination;
    return kOk;
}

// Calls f(a, b, c, d) on every voxel: a, b read from the inputs' VOI, c, d written.
template <class F>
void convert_pairs(Volume* a, Volume* b, Volume* c, Volume* d, int z0, int y0, int x0, F f) {
    const Voi r = voi_of(a);
    for (int z = 0; z < r.nz(); ++z)
        for (int y = 0; y < r.ny(); ++y) {
            const float* ra = a->data[0].f[r.z1 + z][r.y1 + y] + r.x1;
            const float* rb = b->data[0].f[r.z1 + z][r.y1 + y] + r.x1;
            float* rc = c->data[0].f[z0 + z][y0 + y] + x0;
            float* rd = d->data[0].f[z0 + z][y0 + y] + x0;
            for (int x = 0; x < r.nx(); ++x) {
                const float va = ra[x], vb = rb[x];
                float vc, vd;
                f(va, vb, vc, vd);
                rc[x] = vc;
                rd[x] = vd;
            }
        }
}

// Reads the voxel of a UC or F volume as double.
double value_at(const Volume* v, int z, int y, int x) {
    return v->type == kF ? v->data[0].f[z][y][x] : v->data[0].uc[z][y][x];
}

}  // namespace
}  // namespace v3d

using namespace v3d;

extern "C" {

int DCT3d(Volume* in, Volume* out, int z0, int y0, int x0) {
    return cosine_transform(in, out, z0, y0, x0, false);
}

int IDCT3d(Volume* in, Volume* out, int z0, int y0, int x0) {
    return cosine_transform(in, out, z0, y0, x0, true);
}

int convolution3(Volume* in, Volume* kernel, Volume* out, int z0, int y0, int x0) {
    return convolve(in, kernel, out, z0, y0, x0, false);
}

int correlation3d(Volume* a, Volume* b, Volume* out, int z0, int y0, int x0) {
    return convolve(a, b, out, z0, y0, x0, true);
}

int overlap_add3(Volume* in, Volume* kernel, Volume* out, int block, int z0, int y0, int x0) {
    V3D_CHECK(check_convolution(in, kernel, out, z0, y0, x0));
    if (block < 1) return kInvalidParams;
    V3D_CHECK(check_result_fits(in, kernel, out, z0, y0, x0));
    if (shares_storage(out, in) || shares_storage(out, kernel)) return kSameVolume;
    const Voi a = voi_of(in), k = voi_of(kernel);
    const int bz = std::min(block, a.nz()), by = std::min(block, a.ny()), bx = std::min(block, a.nx());
    const int pz = next_power_of_two(bz + k.nz() - 1LL), py = next_power_of_two(by + k.ny() - 1LL),
              px = next_power_of_two(bx + k.nx() - 1LL);
    // every block's contribution is collected in a zeroed sum that goes to out only at the
    // end: the transforms of later blocks may still fail for want of memory
    const int nz = a.nz() + k.nz() - 1, ny = a.ny() + k.ny() - 1, nx = a.nx() + k.nx() - 1;
    ComplexTemp spectrum, part;
    OwnedVolume sum;
    V3D_CHECK(spectrum.create(pz, py, px));
    V3D_CHECK(part.create(pz, py, px));
    V3D_CHECK(sum.create(nz, ny, nx, kF, kGrey));
    load_block(kernel, k.z1, k.y1, k.x1, k.nz(), k.ny(), k.nx(), false, spectrum);
    V3D_CHECK(spectrum.transform(0));
    for (int oz = 0; oz < a.nz(); oz += bz)
        for (int oy = 0; oy < a.ny(); oy += by)
            for (int ox = 0; ox < a.nx(); ox += bx) {
                const int sz = std::min(bz, a.nz() - oz), sy = std::min(by, a.ny() - oy),
                          sx = std::min(bx, a.nx() - ox);
                part.clear();
                load_block(in, a.z1 + oz, a.y1 + oy, a.x1 + ox, sz, sy, sx, false, part);
                V3D_CHECK(part.transform(0));
                multiply_spectra(part, spectrum);
                V3D_CHECK(part.transform(1));
                for (int z = 0; z < sz + k.nz() - 1; ++z)
                    for (int y = 0; y < sy + k.ny() - 1; ++y) {
                        float* dst = sum->data[0].f[oz + z][oy + y] + ox;
                        const float* src = part.re->data[0].f[z][y];
                        for (int x = 0; x < sx + k.nx() - 1; ++x) dst[x] += src[x];
                    }
            }
    for (int z = 0; z < nz; ++z)
        for (int y = 0; y < ny; ++y)
            std::copy_n(sum->data[0].f[z][y], nx, out->data[0].f[z0 + z][y0 + y] + x0);
    return kOk;
}

int blackman_tukey_psd3d(Volume* in, Volume* out, float ax, float ay, float az, int z0, int y0,
                         int x0) {
    V3D_CHECK(CheckVolume(in, kUC | kF, kGrey));
    V3D_CHECK(CheckVolume(out, kF, kGrey));
    if (!voi_power_of_two(in)) return kVoiNotPowerOf2;
    for (float a : {ax, ay, az})
        if (!finite_real(a) || !(a >= 0.0f)) return kInvalidParams;
    if (negative(z0, y0, x0)) return kInvalidParams;
    if (!fits_at(in, out, z0, y0, x0)) return kBadOutputDims;
    const Voi r = voi_of(in);
    const int ez = r.nz(), ey = r.ny(), ex = r.nx();
    ComplexTemp corr, lagged;
    V3D_CHECK(corr.create(2 * ez, 2 * ey, 2 * ex));  // room for every lag without wrapping
    V3D_CHECK(lagged.create(ez, ey, ex));
    for (int z = 0; z < ez; ++z)
        for (int y = 0; y < ey; ++y)
            for (int x = 0; x < ex; ++x)
                corr.r(z, y, x) = static_cast<float>(value_at(in, r.z1 + z, r.y1 + y, r.x1 + x));
    V3D_CHECK(corr.transform(0));
    parallel_for(0, 2 * ez, [&](int z) {
        for (int y = 0; y < 2 * ey; ++y)
            for (int x = 0; x < 2 * ex; ++x) {
                const float re = corr.r(z, y, x), im = corr.i(z, y, x);
                corr.r(z, y, x) = re * re + im * im;
                corr.i(z, y, x) = 0.0f;
            }
    });
    V3D_CHECK(corr.transform(1));  // the autocorrelation sums at lags d mod 2E
    const double count = static_cast<double>(r.count());
    // lags |d| < E/2 on each axis (only 0 for an extent of 1 or 2), placed at d mod E
    auto kept = [](int d, int e) { return d == 0 || 2 * std::abs(d) < e; };
    parallel_for(-ez / 2, ez / 2 + 1, [&](int dz) {
        for (int dy = -ey / 2; dy <= ey / 2; ++dy)
            for (int dx = -ex / 2; dx <= ex / 2; ++dx) {
                if (!kept(dz, ez) || !kept(dy, ey) || !kept(dx, ex)) continue;
                const double w =
                    std::exp(-(static_cast<double>(ax) * std::abs(dx) +
                               static_cast<double>(ay) * std::abs(dy) + static_cast<double>(az) * std::abs(dz)));
                const double rd = corr.r((dz + 2 * ez) % (2 * ez), (dy + 2 * ey) % (2 * ey),
                                         (dx + 2 * ex) % (2 * ex));
                lagged.r((dz + ez) % ez, (dy + ey) % ey, (dx + ex) % ex) =
                    static_cast<float>(rd / count * w);
            }
    });
    V3D_CHECK(lagged.transform(0));
    for (int z = 0; z < ez; ++z)
        for (int y = 0; y < ey; ++y)
            std::memcpy(out->data[0].f[z0 + z][y0 + y] + x0, lagged.re->data[0].f[z][y],
                        sizeof(float) * ex);
    return kOk;
}

int reim2magnphase3d(Volume* re, Volume* im, Volume* mag, Volume* phase, int z0, int y0, int x0) {
    V3D_CHECK(check_pair_conversion(re, im, mag, phase, z0, y0, x0));
    convert_pairs(re, im, mag, phase, z0, y0, x0, [](float r, float i, float& m, float& p) {
        m = static_cast<float>(std::sqrt(static_cast<double>(r) * r + static_cast<double>(i) * i));
        p = static_cast<float>(std::atan2(static_cast<double>(i), static_cast<double>(r)));
    });
    return kOk;
}

int magnphase2reim3d(Volume* mag, Volume* phase, Volume* re, Volume* im, int z0, int y0, int x0) {
    V3D_CHECK(check_pair_conversion(mag, phase, re, im, z0, y0, x0));
    convert_pairs(mag, phase, re, im, z0, y0, x0, [](float m, float p, float& r, float& i) {
        r = static_cast<float>(m * std::cos(static_cast<double>(p)));
        i = static_cast<float>(m * std::sin(static_cast<double>(p)));
    });
    return kOk;
}

int fft2image3d(Volume* re, Volume* im, Volume* out, int z0, int y0, int x0) {
    V3D_CHECK(CheckVolume(re, kF, kGrey));
    if (im) V3D_CHECK(CheckVolume(im, kF, kGrey));
    V3D_CHECK(CheckVolume(out, kUC, kGrey));
    if (im && smaller_than(im, re)) return kBadInputDims;
    if (negative(z0, y0, x0)) return kInvalidParams;
    if (!fits_at(re, out, z0, y0, x0)) return kBadOutputDims;
    const Voi r = voi_of(re);
    auto log_magnitude = [&](int z, int y, int x) {
        const double a = re->data[0].f[z][y][x];
        const double b = im ? im->data[0].f[z][y][x] : 0.0;
        return std::log(1.0 + std::sqrt(a * a + b * b));
    };
    double top = 0.0;
    for (int z = r.z1; z < r.z2; ++z)
        for (int y = r.y1; y < r.y2; ++y)
            for (int x = r.x1; x < r.x2; ++x) top = std::max(top, log_magnitude(z, y, x));
    const double scale = top > 0.0 ? 255.0 / top : 0.0;
    for (int z = 0; z < r.nz(); ++z)
        for (int y = 0; y < r.ny(); ++y) {
            unsigned char* row = out->data[0].uc[z0 + (z + r.nz() / 2) % r.nz()]
                                                [y0 + (y + r.ny() / 2) % r.ny()] + x0;
            for (int x = 0; x < r.nx(); ++x)
                row[(x + r.nx() / 2) % r.nx()] =
                    clamp_round_uc(log_magnitude(r.z1 + z, r.y1 + y, r.x1 + x) * scale);
        }
    return kOk;
}

}  // extern "C"
