// The three-dimensional Fourier transform of a complex F block: row-column (every frame by the
// two-dimensional transform, then the Z lines) and vector-radix 2 x 2 x 2 over a cube.
//
// Lines are never transformed one strided column at a time: a batch of up to kBatch lines is
// gathered into a small contiguous buffer (whole rows of a frame at a time, in bit-reversed
// order), transformed together so that every butterfly works on a vector of columns, and
// written back.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "core/common.h"
#include "core/parallel.h"
#include "ops/fft_core.h"

// Row kernels stay separate functions so that their restrict arguments keep their meaning.
// The butterfly kernels are built twice on x86-64 Linux with GCC, for AVX2 and for the
// baseline, and the loader picks one for the processor; both do the same float operations in
// the same order (no fused multiply-add), so their results are identical.
#if defined(__GNUC__)
#define V3D_NOINLINE __attribute__((noinline))
#define V3D_INLINE inline __attribute__((always_inline))
#else
#define V3D_NOINLINE
#define V3D_INLINE inline
#endif
#if defined(__clang__)
#define V3D_IVDEP _Pragma("clang loop vectorize(assume_safety)")
#elif defined(__GNUC__)
#define V3D_IVDEP _Pragma("GCC ivdep")
#else
#define V3D_IVDEP
#endif
#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__) && defined(__linux__)
#define V3D_SIMD_CLONES __attribute__((target_clones("avx2", "default")))
#else
#define V3D_SIMD_CLONES
#endif

namespace v3d {

bool is_power_of_two(int n) {
    if (n < 1) return false;
    while ((n & 1) == 0) n >>= 1;
    return n < 2;
}

int log2_of(int n) {
    int bits = 0;
    while (n > 1) {
        n >>= 1;
        ++bits;
    }
    return bits;
}

bool Twiddles::make(int size, int sign) {
    cos.reset(new (std::nothrow) float[size]);
    sin.reset(new (std::nothrow) float[size]);
    if (!cos || !sin) return false;
    n = size;
    this->sign = sign;
    for (int k = 0; k < size; ++k) {
        const double angle = k * (static_cast<double>(sign) / size) * 6.28318530717959;
        cos[k] = static_cast<float>(std::cos(angle));
        sin[k] = static_cast<float>(std::sin(angle));
    }
    return true;
}

std::unique_ptr<int[]> bit_reversal(int n) {
    std::unique_ptr<int[]> rev(new (std::nothrow) int[n]);
    if (!rev) return rev;
    const int bits = log2_of(n);
    for (int i = 0; i < n; ++i) {
        int r = 0;
        for (int b = 0; b < bits; ++b) r |= ((i >> b) & 1) << (bits - 1 - b);
        rev[i] = r;
    }
    return rev;
}

namespace {

// ---- batched butterflies --------------------------------------------------------------------

template <int W> V3D_INLINE void radix2_first(float* __restrict re, float* __restrict im, int n) {
    for (int p = 0; p < n; p += 2) {
        float* r0 = re + p * W;
        float* i0 = im + p * W;
        float* r1 = r0 + W;
        float* i1 = i0 + W;
        V3D_IVDEP for (int j = 0; j < W; ++j) {
            const float ar = r0[j], ai = i0[j], br = r1[j], bi = i1[j];
            r0[j] = ar + br;
            i0[j] = ai + bi;
            r1[j] = ar - br;
            i1[j] = ai - bi;
        }
    }
}

// One radix-4 stage combining four transforms of m points into one of 4m points. The second
// quarter takes w^2k, the third w^k, the fourth w^3k; s is the sign of the kernel.
template <int W>
V3D_INLINE void radix4_group(float* __restrict r0, float* __restrict i0, int m, float w1r, float w1i,
                         float w2r, float w2i, float w3r, float w3i, float s) {
    float* r1 = r0 + m * W;
    float* i1 = i0 + m * W;
    float* r2 = r1 + m * W;
    float* i2 = i1 + m * W;
    float* r3 = r2 + m * W;
    float* i3 = i2 + m * W;
    V3D_IVDEP for (int j = 0; j < W; ++j) {
        const float a0r = r0[j], a0i = i0[j];
        const float a1r = r1[j] * w2r - i1[j] * w2i, a1i = r1[j] * w2i + i1[j] * w2r;
        const float a2r = r2[j] * w1r - i2[j] * w1i, a2i = r2[j] * w1i + i2[j] * w1r;
        const float a3r = r3[j] * w3r - i3[j] * w3i, a3i = r3[j] * w3i + i3[j] * w3r;
        const float t0r = a0r + a1r, t0i = a0i + a1i;
        const float t1r = a0r - a1r, t1i = a0i - a1i;
        const float t2r = a2r + a3r, t2i = a2i + a3i;
        const float dr = a2r - a3r, di = a2i - a3i;
        const float t3r = -s * di, t3i = s * dr;  // (s i)(a2 - a3)
        r0[j] = t0r + t2r;
        i0[j] = t0i + t2i;
        r2[j] = t0r - t2r;
        i2[j] = t0i - t2i;
        r1[j] = t1r + t3r;
        i1[j] = t1i + t3i;
        r3[j] = t1r - t3r;
        i3[j] = t1i - t3i;
    }
}

// The first radix-4 stage (four single points): no twiddles.
template <int W> V3D_INLINE void radix4_first(float* __restrict re, float* __restrict im, int n, float s) {
    for (int p = 0; p < n; p += 4) {
        float* r0 = re + p * W;
        float* i0 = im + p * W;
        V3D_IVDEP for (int j = 0; j < W; ++j) {
            const float a0r = r0[j], a0i = i0[j], a1r = r0[W + j], a1i = i0[W + j];
            const float a2r = r0[2 * W + j], a2i = i0[2 * W + j];
            const float a3r = r0[3 * W + j], a3i = i0[3 * W + j];
            const float t0r = a0r + a1r, t0i = a0i + a1i, t1r = a0r - a1r, t1i = a0i - a1i;
            const float t2r = a2r + a3r, t2i = a2i + a3i;
            const float t3r = -s * (a2i - a3i), t3i = s * (a2r - a3r);
            r0[j] = t0r + t2r;
            i0[j] = t0i + t2i;
            r0[2 * W + j] = t0r - t2r;
            i0[2 * W + j] = t0i - t2i;
            r0[W + j] = t1r + t3r;
            i0[W + j] = t1i + t3i;
            r0[3 * W + j] = t1r - t3r;
            i0[3 * W + j] = t1i - t3i;
        }
    }
}

template <int W>
V3D_NOINLINE V3D_SIMD_CLONES void butterflies_w(float* re, float* im, int n, const Twiddles& tw) {
    if (n < 2) return;
    const float s = static_cast<float>(tw.sign);
    int m = 1;
    if (log2_of(n) & 1) {
        radix2_first<W>(re, im, n);
        m = 2;
    } else {
        radix4_first<W>(re, im, n, s);
        m = 4;
    }
    const int table_step = tw.n / n;  // the table may be longer than n
    for (; m < n; m *= 4) {
        const int step = n / (4 * m) * table_step;
        for (int b = 0; b < n; b += 4 * m)
            for (int k = 0; k < m; ++k) {
                const int t = k * step;
                radix4_group<W>(re + (b + k) * W, im + (b + k) * W, m, tw.cos[t], tw.sin[t],
                                tw.cos[2 * t], tw.sin[2 * t], tw.cos[3 * t], tw.sin[3 * t], s);
            }
    }
}

}  // namespace

void butterflies(float* re, float* im, int n, int width, const Twiddles& tw) {
    switch (width) {
    case 1: butterflies_w<1>(re, im, n, tw); break;
    case 2: butterflies_w<2>(re, im, n, tw); break;
    case 4: butterflies_w<4>(re, im, n, tw); break;
    case 8: butterflies_w<8>(re, im, n, tw); break;
    default: butterflies_w<16>(re, im, n, tw); break;
    }
}

// ---- the two-dimensional frame transform ------------------------------------------------------

int FrameTransform::prepare(int rows, int cols, int direction) {
    rows_ = rows;
    cols_ = cols;
    block_ = std::min(kBatch, rows);
    width_ = std::min(kBatch, cols);
    scale_ = direction == 1 ? 1.0f / (static_cast<float>(rows) * static_cast<float>(cols)) : 1.0f;
    const int sign = direction == 1 ? 1 : -1;
    const std::size_t area = static_cast<std::size_t>(rows) * cols;
    rev_x_ = bit_reversal(cols);
    rev_y_ = bit_reversal(rows);
    line_re_ = make_buffer<float>(static_cast<std::size_t>(block_) * cols);
    line_im_ = make_buffer<float>(static_cast<std::size_t>(block_) * cols);
    work_re_ = make_buffer<float>(area);
    work_im_ = make_buffer<float>(area);
    if (!rev_x_ || !rev_y_ || !line_re_ || !line_im_ || !work_re_ || !work_im_ ||
        !tx_.make(cols, sign) || !ty_.make(rows, sign))
        return kNoBuffer;
    return kOk;
}

void FrameTransform::run(float* const* src_re, float* const* src_im, int r1, int c1,
                         float* const* dst_re, float* const* dst_im, int dr, int dc) {
    const int B = block_, W = width_, rows = rows_, cols = cols_;
    float* lre = line_re_.get();
    float* lim = line_im_.get();
    float* wre = work_re_.get();
    float* wim = work_im_.get();
    const int* rx = rev_x_.get();
    const int* ry = rev_y_.get();
    const std::size_t chunk = static_cast<std::size_t>(rows) * W;  // one column chunk of work

    // rows along X, B at a time: gather transposed and bit-reversed, transform, then place
    // into the column chunks of the work area at bit-reversed row positions
    for (int r0 = 0; r0 < rows; r0 += B) {
        for (int j = 0; j < B; ++j) {
            const float* sr = src_re[r1 + r0 + j] + c1;
            const float* si = src_im[r1 + r0 + j] + c1;
            for (int x = 0; x < cols; ++x) {
                lre[rx[x] * B + j] = sr[x];
                lim[rx[x] * B + j] = si[x];
            }
        }
        butterflies(lre, lim, cols, B, tx_);
        for (int j = 0; j < B; ++j) {
            const std::size_t row = static_cast<std::size_t>(ry[r0 + j]) * W;
            for (int cx = 0; cx < cols; cx += W) {
                float* dr_ = wre + (cx / W) * chunk + row;
                float* di_ = wim + (cx / W) * chunk + row;
                for (int k = 0; k < W; ++k) {
                    dr_[k] = lre[(cx + k) * B + j];
                    di_[k] = lim[(cx + k) * B + j];
                }
            }
        }
    }
    // columns along Y, W at a time
    for (int cx = 0; cx < cols; cx += W)
        butterflies(wre + (cx / W) * chunk, wim + (cx / W) * chunk, rows, W, ty_);
    for (int y = 0; y < rows; ++y) {
        float* orow = dst_re[dr + y] + dc;
        float* irow = dst_im[dr + y] + dc;
        for (int cx = 0; cx < cols; cx += W) {
            const float* sr = wre + (cx / W) * chunk + static_cast<std::size_t>(y) * W;
            const float* si = wim + (cx / W) * chunk + static_cast<std::size_t>(y) * W;
            for (int k = 0; k < W; ++k) {
                orow[cx + k] = sr[k] * scale_;
                irow[cx + k] = si[k] * scale_;
            }
        }
    }
}

int fft2d(float* const* src_re, float* const* src_im, int rows, int cols, int r1, int r2, int c1,
          int c2, float* const* dst_re, float* const* dst_im, int dst_rows, int dst_cols, int dr,
          int dc, int direction) {
    if (!src_re || !src_im || !dst_re || !dst_im) return kNullImage;
    if (r1 < 0 || c1 < 0 || r2 <= r1 || c2 <= c1 || r2 > rows || c2 > cols) return kWorkingArea;
    if (dr < 0 || dc < 0 || static_cast<long long>(dr) + (r2 - r1) > dst_rows ||
        static_cast<long long>(dc) + (c2 - c1) > dst_cols)
        return kSourceTooLarge;
    if (!is_power_of_two(r2 - r1) || !is_power_of_two(c2 - c1)) return kNotPowerOf2;
    if (direction != 0 && direction != 1) return kInvalidParams;
    FrameTransform frame;
    V3D_CHECK(frame.prepare(r2 - r1, c2 - c1, direction));
    frame.run(src_re, src_im, r1, c1, dst_re, dst_im, dr, dc);
    return kOk;
}

// ---- single lines -------------------------------------------------------------------------------

int LineTransform::prepare(int n, int direction) {
    n_ = n;
    scale_ = direction == 1 ? 1.0f / static_cast<float>(n) : 1.0f;
    rev_ = bit_reversal(n);
    re_ = make_buffer<float>(n);
    im_ = make_buffer<float>(n);
    if (!rev_ || !re_ || !im_ || !tw_.make(n, direction == 1 ? 1 : -1)) return kNoBuffer;
    return kOk;
}

void LineTransform::run(float* re, float* im) {
    for (int i = 0; i < n_; ++i) {
        re_[rev_[i]] = re[i];
        im_[rev_[i]] = im[i];
    }
    butterflies(re_.get(), im_.get(), n_, 1, tw_);
    for (int i = 0; i < n_; ++i) {
        re[i] = re_[i] * scale_;
        im[i] = im_[i] * scale_;
    }
}

// ---- the 3D transforms ----------------------------------------------------------------------

namespace {

bool shares_storage(const Volume* a, const Volume* b) { return a->data[0].p == b->data[0].p; }

// Does an output share storage with an input? Such calls run on one thread.
bool sharing_storage(const Volume* inRe, const Volume* inIm, const Volume* outRe,
                     const Volume* outIm) {
    for (const Volume* o : {outRe, outIm})
        for (const Volume* i : {inRe, inIm})
            if (shares_storage(o, i)) return true;
    return false;
}

// The consecutive share t of count items split over tasks.
inline int share_begin(int t, int tasks, int count) {
    return static_cast<int>(static_cast<long long>(count) * t / tasks);
}

// The checks common to both transforms, in their order.
int check_transform(Volume* inRe, Volume* inIm, Volume* outRe, Volume* outIm, int direction,
                    int z0, int y0, int x0, bool cubic) {
    for (Volume* v : {inRe, inIm, outRe, outIm}) V3D_CHECK(CheckVolume(v, kF, kGrey));
    const Voi r = voi_of(inRe);
    if (!is_power_of_two(r.nz()) || !is_power_of_two(r.ny()) || !is_power_of_two(r.nx()))
        return kVoiNotPowerOf2;
    if (cubic && (r.nz() != r.ny() || r.ny() != r.nx())) return kVoiNotCubic;
    if (direction != 0 && direction != 1) return kInvalidParams;
    if (z0 < 0 || y0 < 0 || x0 < 0) return kInvalidParams;
    if (smaller_than(inIm, inRe)) return kBadInputDims;
    if (!fits_at(inRe, outRe, z0, y0, x0)) return kBadOutputDims;
    if (!fits_at(inRe, outIm, z0, y0, x0)) return kBadOutputDims;
    const bool same_place = z0 == r.z1 && y0 == r.y1 && x0 == r.x1;
    if ((shares_storage(outRe, inRe) || shares_storage(outIm, inIm)) && !same_place)
        return kBadDestination;
    return kOk;
}

// The Z lines of a block of out: for a row y the rows y of all Ez frames are gathered at
// bit-reversed positions into column chunks of W, transformed together and written back.
class ZLines {
public:
    int prepare(int Ez, int Ex, int direction) {
        ez_ = Ez;
        ex_ = Ex;
        width_ = std::min(kBatch, Ex);
        scale_ = direction == 1 ? 1.0f / static_cast<float>(Ez) : 1.0f;
        re_ = make_buffer<float>(static_cast<std::size_t>(Ez) * Ex);
        im_ = make_buffer<float>(static_cast<std::size_t>(Ez) * Ex);
        rev_ = bit_reversal(Ez);
        if (!re_ || !im_ || !rev_ || !tw_.make(Ez, direction == 1 ? 1 : -1)) return kNoBuffer;
        return kOk;
    }

    void run(float*** re, float*** im, int y, int z0, int x0) {
        const int W = width_;
        const std::size_t chunk = static_cast<std::size_t>(ez_) * W;
        for (int z = 0; z < ez_; ++z) {
            const float* sr = re[z0 + z][y] + x0;
            const float* si = im[z0 + z][y] + x0;
            const std::size_t at = static_cast<std::size_t>(rev_[z]) * W;
            for (int cx = 0; cx < ex_; cx += W) {
                std::memcpy(re_.get() + (cx / W) * chunk + at, sr + cx, W * sizeof(float));
                std::memcpy(im_.get() + (cx / W) * chunk + at, si + cx, W * sizeof(float));
            }
        }
        for (int cx = 0; cx < ex_; cx += W)
            butterflies(re_.get() + (cx / W) * chunk, im_.get() + (cx / W) * chunk, ez_, W, tw_);
        for (int z = 0; z < ez_; ++z) {
            float* dr = re[z0 + z][y] + x0;
            float* di = im[z0 + z][y] + x0;
            for (int cx = 0; cx < ex_; cx += W) {
                const float* sr = re_.get() + (cx / W) * chunk + static_cast<std::size_t>(z) * W;
                const float* si = im_.get() + (cx / W) * chunk + static_cast<std::size_t>(z) * W;
                for (int k = 0; k < W; ++k) {
                    dr[cx + k] = sr[k] * scale_;
                    di[cx + k] = si[k] * scale_;
                }
            }
        }
    }

private:
    int ez_ = 0, ex_ = 0, width_ = 0;
    float scale_ = 1.0f;
    Twiddles tw_;
    std::unique_ptr<int[]> rev_;
    std::unique_ptr<float[]> re_, im_;
};

// The work objects of the tasks of a transform, one each.
template <class T> struct Workers {
    std::unique_ptr<T[]> items;
    int count = 0;
    T& operator[](int i) { return items[i]; }
};

// Work objects for up to `tasks` tasks (at most `items`), each prepared by prepare(object):
// 0, or -9 when memory is short.
template <class T, class Prepare>
int make_workers(Workers<T>& workers, int tasks, int items, Prepare prepare) {
    const int n = std::max(1, std::min(tasks, items));
    workers.items.reset(new (std::nothrow) T[n]);
    workers.count = workers.items ? n : 0;
    if (!workers.items) return kNoBuffer;
    for (int i = 0; i < n; ++i) V3D_CHECK(prepare(workers[i]));
    return kOk;
}

// ---- vector radix ----------------------------------------------------------------------------

// Blocks up to this edge run all their stages while they stay in cache.
constexpr int kCacheCube = 16;

struct Cube {
    float*** re;
    float*** im;
    int z0, y0, x0;  // the block's origin in the output
    // stage twiddles: for a stage of half-size m, entries m .. 2m-1 hold w_2m^k, k = 0 .. m-1
    const float* twr;
    const float* twi;
    float s;  // the sign of the kernel
};

V3D_INLINE void cmul(float& r, float& i, float wr, float wi) {
    const float t = r * wr - i * wi;
    i = r * wi + i * wr;
    r = t;
}

// The twiddles of a group's rows (frames z, z+m by rows y, y+m).
struct RowGroup {
    float wyr, wyi, wzr, wzi, wzyr, wzyi;
};

// The eight-point butterfly of the group at columns lo and hi = lo + m, whose x twiddle is wx.
// The inputs, indexed (bz by bx), take w^(kz bz + ky by + kx bx) first.
V3D_INLINE void vr_butterfly(float* __restrict r00, float* __restrict r01, float* __restrict r10,
                         float* __restrict r11, float* __restrict i00, float* __restrict i01,
                         float* __restrict i10, float* __restrict i11, int lo, int hi,
                         float wxr, float wxi, RowGroup g) {
    float a0r = r00[lo], a0i = i00[lo];
    float a1r = r00[hi], a1i = i00[hi];
    float a2r = r01[lo], a2i = i01[lo];
    float a3r = r01[hi], a3i = i01[hi];
    float a4r = r10[lo], a4i = i10[lo];
    float a5r = r10[hi], a5i = i10[hi];
    float a6r = r11[lo], a6i = i11[lo];
    float a7r = r11[hi], a7i = i11[hi];
    cmul(a1r, a1i, wxr, wxi);
    cmul(a2r, a2i, g.wyr, g.wyi);
    cmul(a3r, a3i, g.wyr, g.wyi);
    cmul(a3r, a3i, wxr, wxi);
    cmul(a4r, a4i, g.wzr, g.wzi);
    cmul(a5r, a5i, g.wzr, g.wzi);
    cmul(a5r, a5i, wxr, wxi);
    cmul(a6r, a6i, g.wzyr, g.wzyi);
    cmul(a7r, a7i, g.wzyr, g.wzyi);
    cmul(a7r, a7i, wxr, wxi);
    // along x
    const float b0r = a0r + a1r, b0i = a0i + a1i, b1r = a0r - a1r, b1i = a0i - a1i;
    const float b2r = a2r + a3r, b2i = a2i + a3i, b3r = a2r - a3r, b3i = a2i - a3i;
    const float b4r = a4r + a5r, b4i = a4i + a5i, b5r = a4r - a5r, b5i = a4i - a5i;
    const float b6r = a6r + a7r, b6i = a6i + a7i, b7r = a6r - a7r, b7i = a6i - a7i;
    // along y
    const float c0r = b0r + b2r, c0i = b0i + b2i, c2r = b0r - b2r, c2i = b0i - b2i;
    const float c1r = b1r + b3r, c1i = b1i + b3i, c3r = b1r - b3r, c3i = b1i - b3i;
    const float c4r = b4r + b6r, c4i = b4i + b6i, c6r = b4r - b6r, c6i = b4i - b6i;
    const float c5r = b5r + b7r, c5i = b5i + b7i, c7r = b5r - b7r, c7i = b5i - b7i;
    // along z
    r00[lo] = c0r + c4r; i00[lo] = c0i + c4i;
    r00[hi] = c1r + c5r; i00[hi] = c1i + c5i;
    r01[lo] = c2r + c6r; i01[lo] = c2i + c6i;
    r01[hi] = c3r + c7r; i01[hi] = c3i + c7i;
    r10[lo] = c0r - c4r; i10[lo] = c0i - c4i;
    r10[hi] = c1r - c5r; i10[hi] = c1i - c5i;
    r11[lo] = c2r - c6r; i11[lo] = c2i - c6i;
    r11[hi] = c3r - c7r; i11[hi] = c3i - c7i;
}

// Every group of a row segment of n columns, for a small half-size M known at compile time.
template <int M>
V3D_NOINLINE V3D_SIMD_CLONES void vr_rows_small(float* __restrict r00, float* __restrict r01, float* __restrict r10,
                   float* __restrict r11, float* __restrict i00, float* __restrict i01,
                   float* __restrict i10, float* __restrict i11, int n,
                   const float* __restrict twr, const float* __restrict twi, RowGroup g) {
    for (int bx = 0; bx < n; bx += 2 * M)
        for (int kx = 0; kx < M; ++kx)
            vr_butterfly(r00, r01, r10, r11, i00, i01, i10, i11, bx + kx, bx + kx + M, twr[kx],
                         twi[kx], g);
}

// The same for a half-size of 8 or more: the inner loop runs over contiguous columns.
V3D_NOINLINE V3D_SIMD_CLONES void vr_rows(float* __restrict r00, float* __restrict r01, float* __restrict r10,
             float* __restrict r11, float* __restrict i00, float* __restrict i01,
             float* __restrict i10, float* __restrict i11, int n, int m,
             const float* __restrict twr, const float* __restrict twi, RowGroup g) {
    for (int bx = 0; bx < n; bx += 2 * m)
        for (int kx = bx; kx < bx + m; ++kx)
            vr_butterfly(r00, r01, r10, r11, i00, i01, i10, i11, kx, kx + m, twr[kx - bx],
                         twi[kx - bx], g);
}

// One vector-radix stage over the n^3 region at (oz, oy, ox) of the cube: every 2 x 2 x 2 group
// of sub-transforms of m^3 points is combined into one of (2m)^3 points.
// Only the frame pairs first .. last-1 of the region are done (pair p joins frames bz + kz and
// bz + kz + m with bz = 2m (p / m), kz = p % m); pairs touch disjoint frames.
void vr_stage(const Cube& c, int oz, int oy, int ox, int n, int m, int first, int last) {
    const float* twr = c.twr + m;
    const float* twi = c.twi + m;
    for (int p = first; p < last; ++p) {
        const int bz = 2 * m * (p / m), kz = p % m;
            for (int by = 0; by < n; by += 2 * m)
                for (int ky = 0; ky < m; ++ky) {
                    const int z = c.z0 + oz + bz + kz, y = c.y0 + oy + by + ky;
                    const int x = c.x0 + ox;
                    float* r00 = c.re[z][y] + x;
                    float* r01 = c.re[z][y + m] + x;
                    float* r10 = c.re[z + m][y] + x;
                    float* r11 = c.re[z + m][y + m] + x;
                    float* i00 = c.im[z][y] + x;
                    float* i01 = c.im[z][y + m] + x;
                    float* i10 = c.im[z + m][y] + x;
                    float* i11 = c.im[z + m][y + m] + x;
                    RowGroup g;
                    g.wzr = twr[kz];
                    g.wzi = twi[kz];
                    g.wyr = twr[ky];
                    g.wyi = twi[ky];
                    g.wzyr = g.wzr * g.wyr - g.wzi * g.wyi;
                    g.wzyi = g.wzr * g.wyi + g.wzi * g.wyr;
                    if (m == 1)
                        vr_rows_small<1>(r00, r01, r10, r11, i00, i01, i10, i11, n, twr, twi, g);
                    else if (m == 2)
                        vr_rows_small<2>(r00, r01, r10, r11, i00, i01, i10, i11, n, twr, twi, g);
                    else if (m == 4)
                        vr_rows_small<4>(r00, r01, r10, r11, i00, i01, i10, i11, n, twr, twi, g);
                    else
                        vr_rows(r00, r01, r10, r11, i00, i01, i10, i11, n, m, twr, twi, g);
                }
    }
}

// The transform of the n^3 region at (oz, oy, ox), whose octants hold the bit-reversed
// samples: transform the eight octants, then combine them. Small regions run their stages
// one after the other while they stay in cache.
void vr_region(const Cube& c, int oz, int oy, int ox, int n) {
    if (n <= kCacheCube) {
        for (int m = 1; m < n; m *= 2) vr_stage(c, oz, oy, ox, n, m, 0, n / 2);
        return;
    }
    const int h = n / 2;
    for (int o = 0; o < 8; ++o)
        vr_region(c, oz + (o >> 2) * h, oy + ((o >> 1) & 1) * h, ox + (o & 1) * h, h);
    vr_stage(c, oz, oy, ox, n, h, 0, n / 2);
}

// The whole cube, its eight octants and then the frame pairs of the last stage spread over the
// library's threads (each octant and each pair writes its own voxels).
void vr_cube(const Cube& c, int n) {
    if (n <= kCacheCube) return vr_region(c, 0, 0, 0, n);
    const int h = n / 2;
    parallel_for(0, 8, [&](int o) { vr_region(c, (o >> 2) * h, ((o >> 1) & 1) * h, (o & 1) * h, h); });
    parallel_for(0, h, [&](int p) { vr_stage(c, 0, 0, 0, n, h, p, p + 1); });
}

// Places the VOI of the input at bit-reversed positions (all three axes) of the output block,
// scaled. Rows are handled in pairs (r, reversed r), both read before either is written, so
// the input may be the output at the same place.
int gather_bit_reversed(Volume* inRe, Volume* inIm, const Cube& c, int n, float scale) {
    auto rev = bit_reversal(n);
    auto buf = make_buffer<float>(4 * static_cast<std::size_t>(n));
    if (!rev || !buf) return kNoBuffer;
    const Voi v = voi_of(inRe);
    float* ar = buf.get();
    float* ai = ar + n;
    float* br = ai + n;
    float* bi = br + n;
    for (int z = 0; z < n; ++z)
        for (int y = 0; y < n; ++y) {
            const int rz = rev[z], ry = rev[y];
            if (rz * n + ry < z * n + y) continue;  // done with its partner
            std::memcpy(ar, inRe->data[0].f[v.z1 + z][v.y1 + y] + v.x1, n * sizeof(float));
            std::memcpy(ai, inIm->data[0].f[v.z1 + z][v.y1 + y] + v.x1, n * sizeof(float));
            std::memcpy(br, inRe->data[0].f[v.z1 + rz][v.y1 + ry] + v.x1, n * sizeof(float));
            std::memcpy(bi, inIm->data[0].f[v.z1 + rz][v.y1 + ry] + v.x1, n * sizeof(float));
            float* o_re = c.re[c.z0 + z][c.y0 + y] + c.x0;
            float* o_im = c.im[c.z0 + z][c.y0 + y] + c.x0;
            float* p_re = c.re[c.z0 + rz][c.y0 + ry] + c.x0;
            float* p_im = c.im[c.z0 + rz][c.y0 + ry] + c.x0;
            for (int x = 0; x < n; ++x) {
                o_re[x] = br[rev[x]] * scale;
                o_im[x] = bi[rev[x]] * scale;
                p_re[x] = ar[rev[x]] * scale;
                p_im[x] = ai[rev[x]] * scale;
            }
        }
    return kOk;
}

}  // namespace

}  // namespace v3d

using namespace v3d;

extern "C" {

int lrcfft3d(Volume* inRe, Volume* inIm, Volume* outRe, Volume* outIm, int direction, int z0,
             int y0, int x0) {
    V3D_CHECK(check_transform(inRe, inIm, outRe, outIm, direction, z0, y0, x0, false));
    const Voi r = voi_of(inRe);
    // frames, then rows of the Z pass, in consecutive shares per task; in place: one task
    const int tasks = sharing_storage(inRe, inIm, outRe, outIm) ? 1 : thread_count();
    // the work memory of both passes is had before anything is written
    Workers<FrameTransform> frames;
    Workers<ZLines> lines;
    V3D_CHECK(make_workers(frames, tasks, r.nz(), [&](FrameTransform& f) {
        return f.prepare(r.ny(), r.nx(), direction);
    }));
    if (r.nz() >= 2)
        V3D_CHECK(make_workers(lines, tasks, r.ny(), [&](ZLines& l) {
            return l.prepare(r.nz(), r.nx(), direction);
        }));
    const int nf = frames.count;
    parallel_for(0, nf, [&](int t) {
        for (int z = r.z1 + share_begin(t, nf, r.nz()); z < r.z1 + share_begin(t + 1, nf, r.nz()); ++z) {
            const int oz = z0 + z - r.z1;
            frames[t].run(inRe->data[0].f[z], inIm->data[0].f[z], r.y1, r.x1,
                          outRe->data[0].f[oz], outIm->data[0].f[oz], y0, x0);
        }
    });
    if (r.nz() < 2) return kOk;
    const int nl = lines.count;
    parallel_for(0, nl, [&](int t) {
        for (int y = y0 + share_begin(t, nl, r.ny()); y < y0 + share_begin(t + 1, nl, r.ny()); ++y)
            lines[t].run(outRe->data[0].f, outIm->data[0].f, y, z0, x0);
    });
    return kOk;
}

int vrfft3d(Volume* inRe, Volume* inIm, Volume* outRe, Volume* outIm, int direction, int z0,
            int y0, int x0) {
    V3D_CHECK(check_transform(inRe, inIm, outRe, outIm, direction, z0, y0, x0, true));
    const int n = inRe->z2 - inRe->z1;
    const int sign = direction == 1 ? 1 : -1;
    // stage twiddles w_2m^k at m + k for every half-size m
    auto twr = make_buffer<float>(n);
    auto twi = make_buffer<float>(n);
    if (!twr || !twi) return kNoBuffer;
    for (int m = 1; m < n; m *= 2)
        for (int k = 0; k < m; ++k) {
            const double angle = k * (static_cast<double>(sign) / (2 * m)) * 6.28318530717959;
            twr[m + k] = static_cast<float>(std::cos(angle));
            twi[m + k] = static_cast<float>(std::sin(angle));
        }
    const Cube cube{outRe->data[0].f, outIm->data[0].f, z0, y0, x0, twr.get(), twi.get(),
                    static_cast<float>(sign)};
    const float scale = direction == 1 ? 1.0f / (static_cast<float>(n) * n * n) : 1.0f;
    V3D_CHECK(gather_bit_reversed(inRe, inIm, cube, n, scale));
    if (sharing_storage(inRe, inIm, outRe, outIm)) {
        vr_region(cube, 0, 0, 0, n);  // in place: serially
    } else {
        vr_cube(cube, n);
    }
    return kOk;
}

int fft3d(Volume* inRe, Volume* inIm, Volume* outRe, Volume* outIm, int direction, int z0,
          int y0, int x0) {
    const int status = vrfft3d(inRe, inIm, outRe, outIm, direction, z0, y0, x0);
    if (status != kVoiNotCubic) return status;
    return lrcfft3d(inRe, inIm, outRe, outIm, direction, z0, y0, x0);
}

}  // extern "C"
