// The three-dimensional Fourier transform of a complex F block: row-column (every frame by the
// two-dimensional transform, then the Z lines) and vector-radix 2 x 2 x 2 over a cube.
//
// Lines are never transformed one strided column at a time: a batch of lines is gathered into
// a small contiguous buffer in bit-reversed order (eight rows of a frame through 8 x 8
// transposes, or chunks of 16 columns of whole rows), transformed together so that every
// butterfly works on a vector of lines, and written back. The volume is swept as few times as
// the decomposition allows: twice for the row-column transform (frames, then Z lines), and
// for cubes from 64 on twice for the vector-radix one (see vr_large_cube); rows about to be
// read are asked for ahead of their turn.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "core/common.h"
#include "core/parallel.h"
#include "ops/fft_core.h"

#if defined(__SSE__) || defined(_M_X64)
#include <xmmintrin.h>
#define V3D_HAVE_SSE 1
#endif

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
// (batches of one line have nothing to vectorise: clang's remark about them is not wanted)
#pragma clang diagnostic ignored "-Wpass-failed"
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

bool FloatBuffer::make(std::size_t n) {
    constexpr std::size_t kLine = 64 / sizeof(float);
    block_ = make_buffer<float>(n + kLine);
    data_ = nullptr;
    if (!block_) return false;
    const auto at = reinterpret_cast<std::uintptr_t>(block_.get());
    data_ = block_.get() + ((64 - at % 64) % 64) / sizeof(float);
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

// ---- block transposes ---------------------------------------------------------------------------

namespace {

// Asks for the cache lines of a row of n values ahead of their use.
V3D_INLINE void prefetch_row(const float* row, int n) {
#if defined(__GNUC__)
    for (int x = 0; x < n; x += 16) __builtin_prefetch(row + x);
#else
    (void)row;
    (void)n;
#endif
}

// The same for a row about to be written.
V3D_INLINE void prefetch_row_for_writing(float* row, int n) {
#if defined(__GNUC__)
    for (int x = 0; x < n; x += 16) __builtin_prefetch(row + x, 1);
#else
    (void)row;
    (void)n;
#endif
}

// Chunks of W columns: the n rows of a column chunk lie one after the other (row p at p W).
// gather_chunk takes the columns col .. col+W-1 of the rows first + rev[p] into chunk row p;
// scatter_chunk writes chunk row p, scaled, to the columns col .. of row first + p.
template <int W>
V3D_INLINE void gather_chunk_w(float* const* rows, int first, int col, const int* __restrict rev,
                               int n, float* __restrict chunk) {
    constexpr int kAhead = 16;  // rows asked for ahead of their turn
    for (int p = 0; p < n; ++p) {
        if (p + kAhead < n) prefetch_row(rows[first + rev[p + kAhead]] + col, W);
        const float* __restrict src = rows[first + rev[p]] + col;
        for (int k = 0; k < W; ++k) chunk[p * W + k] = src[k];
    }
}

template <int W>
V3D_INLINE void scatter_chunk_w(const float* __restrict chunk, int n, float* const* rows,
                                int first, int col, float scale) {
    for (int p = 0; p < n; ++p) {
        float* __restrict dst = rows[first + p] + col;
        for (int k = 0; k < W; ++k) dst[k] = chunk[p * W + k] * scale;
    }
}

V3D_NOINLINE V3D_SIMD_CLONES void gather_chunk(float* const* rows, int first, int col,
                                               const int* rev, int n, int W, float* chunk) {
    switch (W) {
    case 16: gather_chunk_w<16>(rows, first, col, rev, n, chunk); break;
    case 8: gather_chunk_w<8>(rows, first, col, rev, n, chunk); break;
    case 4: gather_chunk_w<4>(rows, first, col, rev, n, chunk); break;
    case 2: gather_chunk_w<2>(rows, first, col, rev, n, chunk); break;
    default: gather_chunk_w<1>(rows, first, col, rev, n, chunk); break;
    }
}

V3D_NOINLINE V3D_SIMD_CLONES void scatter_chunk(const float* chunk, int n, int W,
                                                float* const* rows, int first, int col,
                                                float scale) {
    switch (W) {
    case 16: scatter_chunk_w<16>(chunk, n, rows, first, col, scale); break;
    case 8: scatter_chunk_w<8>(chunk, n, rows, first, col, scale); break;
    case 4: scatter_chunk_w<4>(chunk, n, rows, first, col, scale); break;
    case 2: scatter_chunk_w<2>(chunk, n, rows, first, col, scale); break;
    default: scatter_chunk_w<1>(chunk, n, rows, first, col, scale); break;
    }
}

// Whole rows and column chunks: row p (of n values) goes in pieces of W to row rev[p] of the
// chunks (chunk c at chunks + c * chunk), each row read from start to end, the rows of the
// next set (when given) asked for on the way; and back, row p of the chunks to row p, scaled.
template <int W>
V3D_INLINE void rows_to_chunks_w(const float* const* rows, const float* const* next,
                                 const int* __restrict rev, int count, int n,
                                 float* __restrict chunks, std::size_t chunk) {
    for (int p = 0; p < count; ++p) {
        if (next) prefetch_row(next[p], n);
        const float* __restrict src = rows[p];
        float* __restrict dst = chunks + static_cast<std::size_t>(rev[p]) * W;
        for (int c = 0; c < n / W; ++c)
            for (int k = 0; k < W; ++k) dst[c * chunk + k] = src[c * W + k];
    }
}

template <int W>
V3D_INLINE void chunks_to_rows_w(const float* __restrict chunks, std::size_t chunk, int count,
                                 int n, float* const* rows, float scale) {
    for (int p = 0; p < count; ++p) {
        const float* __restrict src = chunks + static_cast<std::size_t>(p) * W;
        float* __restrict dst = rows[p];
        for (int c = 0; c < n / W; ++c)
            for (int k = 0; k < W; ++k) dst[c * W + k] = src[c * chunk + k] * scale;
    }
}

V3D_NOINLINE V3D_SIMD_CLONES void rows_to_chunks(const float* const* rows, const float* const* next,
                                                 const int* rev, int count, int n, int W,
                                                 float* chunks, std::size_t chunk) {
    switch (W) {
    case 16: rows_to_chunks_w<16>(rows, next, rev, count, n, chunks, chunk); break;
    case 8: rows_to_chunks_w<8>(rows, next, rev, count, n, chunks, chunk); break;
    case 4: rows_to_chunks_w<4>(rows, next, rev, count, n, chunks, chunk); break;
    case 2: rows_to_chunks_w<2>(rows, next, rev, count, n, chunks, chunk); break;
    default: rows_to_chunks_w<1>(rows, next, rev, count, n, chunks, chunk); break;
    }
}

V3D_NOINLINE V3D_SIMD_CLONES void chunks_to_rows(const float* chunks, std::size_t chunk, int count,
                                                 int n, int W, float* const* rows, float scale) {
    switch (W) {
    case 16: chunks_to_rows_w<16>(chunks, chunk, count, n, rows, scale); break;
    case 8: chunks_to_rows_w<8>(chunks, chunk, count, n, rows, scale); break;
    case 4: chunks_to_rows_w<4>(chunks, chunk, count, n, rows, scale); break;
    case 2: chunks_to_rows_w<2>(chunks, chunk, count, n, rows, scale); break;
    default: chunks_to_rows_w<1>(chunks, chunk, count, n, rows, scale); break;
    }
}

// dst[c][r] = src[r][c] for an 8 x 8 block: data movement only, so its results do not depend on
// how it is done.
V3D_INLINE void transpose8(const float* const* src, float* const* dst) {
#if defined(V3D_HAVE_SSE)
    for (int r = 0; r < 8; r += 4)
        for (int c = 0; c < 8; c += 4) {
            __m128 a = _mm_loadu_ps(src[r] + c), b = _mm_loadu_ps(src[r + 1] + c);
            __m128 d = _mm_loadu_ps(src[r + 2] + c), e = _mm_loadu_ps(src[r + 3] + c);
            _MM_TRANSPOSE4_PS(a, b, d, e);
            _mm_storeu_ps(dst[c] + r, a);
            _mm_storeu_ps(dst[c + 1] + r, b);
            _mm_storeu_ps(dst[c + 2] + r, d);
            _mm_storeu_ps(dst[c + 3] + r, e);
        }
#else
    for (int r = 0; r < 8; ++r)
        for (int c = 0; c < 8; ++c) dst[c][r] = src[r][c];
#endif
}

// Rows into lanes: lanes[rev[x] * B + j] = row(j)[x] for B rows of n columns (row(j) points at
// column 0 of row j).
template <class Row>
void rows_to_lanes(Row row, int B, int n, const int* rev, float* lanes) {
    if (B % 8 != 0 || n % 8 != 0) {
        for (int j = 0; j < B; ++j)
            for (int x = 0; x < n; ++x) lanes[rev[x] * B + j] = row(j)[x];
        return;
    }
    for (int j = 0; j < B; j += 8)
        for (int x = 0; x < n; x += 8) {
            const float* src[8];
            float* dst[8];
            for (int k = 0; k < 8; ++k) {
                src[k] = row(j + k) + x;
                dst[k] = lanes + static_cast<std::size_t>(rev[x + k]) * B + j;
            }
            transpose8(src, dst);
        }
}

// Lanes back into rows: at(j, x)[0] = lanes[x * B + j], where at(j, x) points at column x of
// row j and the columns x .. x+7 of a row (x a multiple of 8) lie side by side.
template <class At>
void lanes_to_rows(const float* lanes, int B, int n, At at) {
    if (B % 8 != 0 || n % 8 != 0) {
        for (int j = 0; j < B; ++j)
            for (int x = 0; x < n; ++x) *at(j, x) = lanes[x * B + j];
        return;
    }
    for (int j = 0; j < B; j += 8)
        for (int x = 0; x < n; x += 8) {
            const float* src[8];
            float* dst[8];
            for (int k = 0; k < 8; ++k) {
                src[k] = lanes + static_cast<std::size_t>(x + k) * B + j;
                dst[k] = at(j + k, x);
            }
            transpose8(src, dst);
        }
}

}  // namespace

// ---- the two-dimensional frame transform ------------------------------------------------------

int FrameTransform::prepare(int rows, int cols, int direction) {
    rows_ = rows;
    cols_ = cols;
    block_ = std::min(8, rows);  // rows transformed together, one in each lane
    width_ = std::min(kBatch, cols);
    scale_ = direction == 1 ? 1.0f / (static_cast<float>(rows) * static_cast<float>(cols)) : 1.0f;
    const int sign = direction == 1 ? 1 : -1;
    rev_x_ = bit_reversal(cols);
    rev_y_ = bit_reversal(rows);
    const std::size_t line = static_cast<std::size_t>(block_) * cols;
    const std::size_t chunk = static_cast<std::size_t>(rows) * width_;
    if (!rev_x_ || !rev_y_ || !line_re_.make(line) || !line_im_.make(line) ||
        !chunk_re_.make(chunk) || !chunk_im_.make(chunk) || !tx_.make(cols, sign) ||
        !ty_.make(rows, sign))
        return kNoBuffer;
    return kOk;
}

void FrameTransform::run(float* const* src_re, float* const* src_im, int r1, int c1,
                         float* const* dst_re, float* const* dst_im, int dr, int dc) {
    const int B = block_, W = width_, rows = rows_, cols = cols_;
    float* lre = line_re_.get();
    float* lim = line_im_.get();
    const int* rx = rev_x_.get();
    // rows along X, B at a time: gathered transposed and bit-reversed (both parts of the B rows
    // are read before any is written), transformed, written to the destination rows
    for (int r0 = 0; r0 < rows; r0 += B) {
        if (r0 + B < rows)  // the next block's rows, to read and to write
            for (int j = 0; j < B; ++j) {
                prefetch_row(src_re[r1 + r0 + B + j] + c1, cols);
                prefetch_row(src_im[r1 + r0 + B + j] + c1, cols);
                prefetch_row_for_writing(dst_re[dr + r0 + B + j] + dc, cols);
                prefetch_row_for_writing(dst_im[dr + r0 + B + j] + dc, cols);
            }
        rows_to_lanes([&](int j) { return src_re[r1 + r0 + j] + c1; }, B, cols, rx, lre);
        rows_to_lanes([&](int j) { return src_im[r1 + r0 + j] + c1; }, B, cols, rx, lim);
        butterflies(lre, lim, cols, B, tx_);
        lanes_to_rows(lre, B, cols, [&](int j, int x) { return dst_re[dr + r0 + j] + dc + x; });
        lanes_to_rows(lim, B, cols, [&](int j, int x) { return dst_im[dr + r0 + j] + dc + x; });
    }
    // then the columns along Y, W at a time: gathered at bit-reversed row positions into a
    // chunk, transformed, written back scaled
    float* cre = chunk_re_.get();
    float* cim = chunk_im_.get();
    for (int cx = 0; cx < cols; cx += W) {
        gather_chunk(dst_re, dr, dc + cx, rev_y_.get(), rows, W, cre);
        gather_chunk(dst_im, dr, dc + cx, rev_y_.get(), rows, W, cim);
        butterflies(cre, cim, rows, W, ty_);
        scatter_chunk(cre, rows, W, dst_re, dr, dc + cx, scale_);
        scatter_chunk(cim, rows, W, dst_im, dr, dc + cx, scale_);
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
    const int h = r2 - r1, w = c2 - c1;
    FrameTransform frame;
    V3D_CHECK(frame.prepare(h, w, direction));
    // the transform writes destination rows while later source rows are still unread: an area
    // of the same images at another place is copied first
    const bool shared = src_re == dst_re || src_re == dst_im || src_im == dst_re || src_im == dst_im;
    if (!shared || (r1 == dr && c1 == dc)) {
        frame.run(src_re, src_im, r1, c1, dst_re, dst_im, dr, dc);
        return kOk;
    }
    FloatBuffer copy_re, copy_im;
    auto rows_re = std::unique_ptr<float*[]>(new (std::nothrow) float*[h]);
    auto rows_im = std::unique_ptr<float*[]>(new (std::nothrow) float*[h]);
    const std::size_t area = static_cast<std::size_t>(h) * w;
    if (!rows_re || !rows_im || !copy_re.make(area) || !copy_im.make(area)) return kNoBuffer;
    for (int y = 0; y < h; ++y) {
        rows_re[y] = copy_re.get() + static_cast<std::size_t>(y) * w;
        rows_im[y] = copy_im.get() + static_cast<std::size_t>(y) * w;
        std::memcpy(rows_re[y], src_re[r1 + y] + c1, w * sizeof(float));
        std::memcpy(rows_im[y], src_im[r1 + y] + c1, w * sizeof(float));
    }
    frame.run(rows_re.get(), rows_im.get(), 0, 0, dst_re, dst_im, dr, dc);
    return kOk;
}

// ---- the 3D transforms ----------------------------------------------------------------------

namespace {

bool shares_storage(const Volume* a, const Volume* b) { return a->data[0].p == b->data[0].p; }

// Does an output share storage with an input?
bool sharing_storage(const Volume* inRe, const Volume* inIm, const Volume* outRe,
                     const Volume* outIm) {
    for (const Volume* o : {outRe, outIm})
        for (const Volume* i : {inRe, inIm})
            if (shares_storage(o, i)) return true;
    return false;
}

// Must the row-column transform run on one thread? When a part is written over the other
// part's input, or both outputs are one storage, the order of the frames matters. (A part in
// place of its own input is at the same place, which the checks make sure of: every frame is
// then read and written by one task.)
bool serial_row_column(const Volume* inRe, const Volume* inIm, const Volume* outRe,
                       const Volume* outIm) {
    return shares_storage(outRe, inIm) || shares_storage(outIm, inRe) ||
           shares_storage(outRe, outIm);
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
        const std::size_t size = static_cast<std::size_t>(Ez) * Ex;
        rev_ = bit_reversal(Ez);
        rows_.reset(new (std::nothrow) float*[4 * static_cast<std::size_t>(Ez)]);
        if (!re_.make(size) || !im_.make(size) || !rev_ || !rows_ ||
            !tw_.make(Ez, direction == 1 ? 1 : -1))
            return kNoBuffer;
        return kOk;
    }

    // Row y of the frames z0 .. z0+Ez-1 from column x0; the rows of y + 1 (when below last)
    // are asked for on the way.
    void run(float*** re, float*** im, int y, int last, int z0, int x0) {
        const int W = width_, ez = ez_, ex = ex_;
        const std::size_t chunk = static_cast<std::size_t>(ez) * W;
        float** rows_re = rows_.get();
        float** rows_im = rows_re + ez;
        float** next_re = rows_im + ez;
        float** next_im = next_re + ez;
        const bool ahead = y + 1 < last;
        for (int z = 0; z < ez; ++z) {
            rows_re[z] = re[z0 + z][y] + x0;
            rows_im[z] = im[z0 + z][y] + x0;
            if (ahead) {
                next_re[z] = re[z0 + z][y + 1] + x0;
                next_im[z] = im[z0 + z][y + 1] + x0;
            }
        }
        float* lre = re_.get();
        float* lim = im_.get();
        rows_to_chunks(rows_re, ahead ? next_re : nullptr, rev_.get(), ez, ex, W, lre, chunk);
        rows_to_chunks(rows_im, ahead ? next_im : nullptr, rev_.get(), ez, ex, W, lim, chunk);
        for (int cx = 0; cx < ex; cx += W)
            butterflies(lre + (cx / W) * chunk, lim + (cx / W) * chunk, ez, W, tw_);
        chunks_to_rows(lre, chunk, ez, ex, W, rows_re, scale_);
        chunks_to_rows(lim, chunk, ez, ex, W, rows_im, scale_);
    }

private:
    int ez_ = 0, ex_ = 0, width_ = 0;
    float scale_ = 1.0f;
    Twiddles tw_;
    std::unique_ptr<int[]> rev_;
    std::unique_ptr<float*[]> rows_;
    FloatBuffer re_, im_;
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

// Places the VOI of the input at bit-reversed positions of the output block: rows at (rev z,
// rev y), and within them columns at rev x when asked, scaled. Rows are handled in pairs
// (r, reversed r), both read before either is written, so the input may be the output at the
// same place.
int gather_bit_reversed(Volume* inRe, Volume* inIm, const Cube& c, int n, float scale,
                        bool columns = true) {
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
            if (!columns) {
                std::memcpy(o_re, br, n * sizeof(float));
                std::memcpy(o_im, bi, n * sizeof(float));
                std::memcpy(p_re, ar, n * sizeof(float));
                std::memcpy(p_im, ai, n * sizeof(float));
                continue;
            }
            for (int x = 0; x < n; ++x) {
                o_re[x] = br[rev[x]] * scale;
                o_im[x] = bi[rev[x]] * scale;
                p_re[x] = ar[rev[x]] * scale;
                p_im[x] = ai[rev[x]] * scale;
            }
        }
    return kOk;
}

// ---- vector radix over large cubes --------------------------------------------------------------
//
// From an edge of 64 on, the cube is done in a few sweeps over the output block, each over sets
// of whole rows held in a cache-resident buffer:
//  - the first sweep gathers the input at bit-reversed positions and runs the stages that build
//    the sub-cubes of edge M (8, or 16 from an edge of 128 on). The sub-cube at x origin
//    M rev(c) holds the input columns c, c + N/M, c + 2N/M ... (rev reversing the bits of
//    c < N/M), so the sub-cubes of eight consecutive c sit side by side in the input rows: they
//    are read eight neighbouring values at a time and transformed together, one in each lane
//    of the buffer, all lanes sharing their twiddles;
//  - each later sweep runs a group of the remaining stages (half-sizes lo .. hi/2) over the
//    rows they join: those whose z agree modulo lo and in z / hi, and the same in y.
// A sweep reads and writes only the rows of its sets, so the sets may run on any thread; in
// place, the rows are first exchanged with their bit-reversed partners and the first sweep
// then reads the block itself.

constexpr int kLanes = 8;
constexpr int kLaneEdge = 8;                                       // edge of a lane octant
constexpr int kOctant = kLaneEdge * kLaneEdge * kLaneEdge * kLanes;  // its floats
constexpr int kLargeCube = 64;          // the smallest edge done this way
constexpr int kSweepPoints = 1 << 16;   // points of one set of a later sweep (512 KB)

V3D_INLINE void cmul_by(float& r, float& i, const float* w) { cmul(r, i, w[0], w[1]); }

// The eight-point butterfly of eight lane vectors at re/im + DZ bz + DY by + DX bx, the input b
// (= 4 bz + 2 by + bx) first multiplied by the combined twiddle w[2 (b - 1)], w[2 (b - 1) + 1]
// (none in the first stage). The additions are those of vr_butterfly.
template <int DZ, int DY, int DX, bool kTwiddled>
V3D_INLINE void lane_butterfly(float* __restrict re, float* __restrict im, const float* w) {
    V3D_IVDEP for (int l = 0; l < kLanes; ++l) {
        float a0r = re[l], a0i = im[l];
        float a1r = re[DX + l], a1i = im[DX + l];
        float a2r = re[DY + l], a2i = im[DY + l];
        float a3r = re[DY + DX + l], a3i = im[DY + DX + l];
        float a4r = re[DZ + l], a4i = im[DZ + l];
        float a5r = re[DZ + DX + l], a5i = im[DZ + DX + l];
        float a6r = re[DZ + DY + l], a6i = im[DZ + DY + l];
        float a7r = re[DZ + DY + DX + l], a7i = im[DZ + DY + DX + l];
        if (kTwiddled) {
            cmul_by(a1r, a1i, w);
            cmul_by(a2r, a2i, w + 2);
            cmul_by(a3r, a3i, w + 4);
            cmul_by(a4r, a4i, w + 6);
            cmul_by(a5r, a5i, w + 8);
            cmul_by(a6r, a6i, w + 10);
            cmul_by(a7r, a7i, w + 12);
        }
        const float b0r = a0r + a1r, b0i = a0i + a1i, b1r = a0r - a1r, b1i = a0i - a1i;
        const float b2r = a2r + a3r, b2i = a2i + a3i, b3r = a2r - a3r, b3i = a2i - a3i;
        const float b4r = a4r + a5r, b4i = a4i + a5i, b5r = a4r - a5r, b5i = a4i - a5i;
        const float b6r = a6r + a7r, b6i = a6i + a7i, b7r = a6r - a7r, b7i = a6i - a7i;
        const float c0r = b0r + b2r, c0i = b0i + b2i, c2r = b0r - b2r, c2i = b0i - b2i;
        const float c1r = b1r + b3r, c1i = b1i + b3i, c3r = b1r - b3r, c3i = b1i - b3i;
        const float c4r = b4r + b6r, c4i = b4i + b6i, c6r = b4r - b6r, c6i = b4i - b6i;
        const float c5r = b5r + b7r, c5i = b5i + b7i, c7r = b5r - b7r, c7i = b5i - b7i;
        re[l] = c0r + c4r; im[l] = c0i + c4i;
        re[DX + l] = c1r + c5r; im[DX + l] = c1i + c5i;
        re[DY + l] = c2r + c6r; im[DY + l] = c2i + c6i;
        re[DY + DX + l] = c3r + c7r; im[DY + DX + l] = c3i + c7i;
        re[DZ + l] = c0r - c4r; im[DZ + l] = c0i - c4i;
        re[DZ + DX + l] = c1r - c5r; im[DZ + DX + l] = c1i - c5i;
        re[DZ + DY + l] = c2r - c6r; im[DZ + DY + l] = c2i - c6i;
        re[DZ + DY + DX + l] = c3r - c7r; im[DZ + DY + DX + l] = c3i - c7i;
    }
}

// One stage of half-size M inside a lane octant (element (z, y, x) at ((z 8 + y) 8 + x) 8).
template <int M>
V3D_INLINE void octant_stage(float* re, float* im, const float* tw) {
    for (int bz = 0; bz < kLaneEdge; bz += 2 * M)
        for (int kz = 0; kz < M; ++kz)
            for (int by = 0; by < kLaneEdge; by += 2 * M)
                for (int ky = 0; ky < M; ++ky)
                    for (int bx = 0; bx < kLaneEdge; bx += 2 * M)
                        for (int kx = 0; kx < M; ++kx) {
                            const int at = (((bz + kz) * 8 + by + ky) * 8 + bx + kx) * kLanes;
                            lane_butterfly<M * 512, M * 64, M * 8, (M > 1)>(
                                re + at, im + at, tw + ((kz * M + ky) * M + kx) * 14);
                        }
}

// The stages of the sub-cubes of one lane batch: those of half-size 1, 2, 4 in each octant,
// then, for sub-cubes of 16, the stage of half-size 8 joining the octants (octant
// 4 bz + 2 by + bx at bz, by, bx times 8).
V3D_NOINLINE V3D_SIMD_CLONES void lane_stages(float* re, float* im, int sub, const float* tw2,
                                              const float* tw4, const float* tw8) {
    const int octants = sub == 16 ? 8 : 1;
    for (int o = 0; o < octants; ++o) {
        float* r = re + o * kOctant;
        float* i = im + o * kOctant;
        octant_stage<1>(r, i, nullptr);
        octant_stage<2>(r, i, tw2);
        octant_stage<4>(r, i, tw4);
    }
    if (sub != 16) return;
    for (int k = 0; k < 512; ++k)
        lane_butterfly<4 * kOctant, 2 * kOctant, kOctant, true>(re + k * kLanes, im + k * kLanes,
                                                                tw8 + k * 14);
}

// One source row into the lane batches: the eight input values at r N/M + 8 b .. + 7 go to lane
// batch b at the offset of sub-cube column rev(r), scaled. The row is read from start to end.
V3D_NOINLINE V3D_SIMD_CLONES void row_to_lane_batches(const float* __restrict row, int n, int sub,
                                                      const int* __restrict column,
                                                      float* __restrict lanes,
                                                      std::size_t batch, float scale) {
    const int stride = n / sub, batches = stride / kLanes;
    for (int r = 0; r < sub; ++r) {
        const float* src = row + r * stride;
        float* dst = lanes + column[r];
        for (int b = 0; b < batches; ++b)
            for (int l = 0; l < kLanes; ++l) dst[b * batch + l] = src[b * kLanes + l] * scale;
    }
}

// What the large-cube transform needs for one edge and direction.
struct VrPlan {
    int n = 0;        // the cube's edge
    int sub = 0;      // the edge M of the sub-cubes of the first sweep
    int batches = 0;  // lane batches across a row: N / M / 8
    float scale = 1.0f;
    std::unique_ptr<int[]> rev;      // bit reversal of 0 .. N-1
    std::unique_ptr<int[]> sub_rev;  // bit reversal of 0 .. M-1
    std::unique_ptr<int[]> origin;   // x origin of the sub-cube of input column c: M rev(c)
    std::unique_ptr<int[]> column;   // offset in a lane batch of the column of input column r
    FloatBuffer lane_tw;             // combined twiddles of the lane stages of half-size 2, 4, 8
    int lane_at[3] = {};
    FloatBuffer twr, twi;            // w_2m^k at m + k for every half-size m
    int groups = 0;                  // the later sweeps: stages lo[g] .. hi[g] / 2
    int lo[32] = {}, hi[32] = {};
    std::size_t scratch = 0;         // floats of each part of a worker's buffer

    int prepare(int edge, int direction, int sweep_points) {
        n = edge;
        sub = n >= 128 ? 16 : 8;
        batches = n / sub / kLanes;
        const int sign = direction == 1 ? 1 : -1;
        scale = direction == 1 ? 1.0f / (static_cast<float>(n) * n * n) : 1.0f;
        rev = bit_reversal(n);
        sub_rev = bit_reversal(sub);
        auto lane_rev = bit_reversal(n / sub);
        origin = make_buffer<int>(n / sub);
        column = make_buffer<int>(sub);
        if (!rev || !sub_rev || !lane_rev || !origin || !column || !twr.make(n) || !twi.make(n) ||
            !lane_tw.make(14 * (8 + 64 + 512)))
            return kNoBuffer;
        for (int c = 0; c < n / sub; ++c) origin[c] = sub * lane_rev[c];
        for (int r = 0; r < sub; ++r) {
            const int X = sub_rev[r];  // the sub-cube column that input column r goes to
            column[r] = (X >> 3) * kOctant + (X & 7) * kLanes;
        }
        for (int m = 1; m < n; m *= 2)
            for (int k = 0; k < m; ++k) {
                const double angle = k * (static_cast<double>(sign) / (2 * m)) * 6.28318530717959;
                twr[m + k] = static_cast<float>(std::cos(angle));
                twi[m + k] = static_cast<float>(std::sin(angle));
            }
        // w_2m^(kz bz + ky by + kx bx) in double, for half-sizes 2, 4, 8
        int at = 0;
        for (int s = 0, m = 2; m <= 8; ++s, m *= 2) {
            lane_at[s] = at;
            for (int kz = 0; kz < m; ++kz)
                for (int ky = 0; ky < m; ++ky)
                    for (int kx = 0; kx < m; ++kx)
                        for (int b = 1; b < 8; ++b) {
                            const int e = kz * (b >> 2) + ky * ((b >> 1) & 1) + kx * (b & 1);
                            const double angle = e * (static_cast<double>(sign) / (2 * m)) * 6.28318530717959;
                            lane_tw[at++] = static_cast<float>(std::cos(angle));
                            lane_tw[at++] = static_cast<float>(std::sin(angle));
                        }
        }
        // later sweeps: as many stages per sweep as keep a set within sweep_points
        const int rows = std::max(4, sweep_points / n);
        const int per_sweep = std::max(1, log2_of(rows) / 2);
        scratch = static_cast<std::size_t>(sub) * sub * n;
        for (int l = sub; l < n; l = hi[groups++]) {
            lo[groups] = l;
            hi[groups] = std::min(n, l << per_sweep);
            const std::size_t a = hi[groups] / l;
            scratch = std::max(scratch, a * a * n);
        }
        return kOk;
    }
};

// The first sweep over the rows [oz, oz + M) x [oy, oy + M) of the block: gather into the lane
// batches, transform, scatter the sub-cubes to their places (an 8 x 8 transpose turns the lane
// values of eight columns into eight pieces of row).
void sub_cube_sweep(const VrPlan& p, float* const* const* src_re, float* const* const* src_im,
                    int sz, int sy, int sx, bool reversed_rows, float*** ore, float*** oim, int z0,
                    int y0, int x0, int unit, float* sre, float* sim) {
    const int n = p.n, M = p.sub, per_axis = n / M;
    const int oz = unit / per_axis * M, oy = unit % per_axis * M;
    const std::size_t batch = static_cast<std::size_t>(M) * M * M * kLanes;
    auto at = [&](int Z, int Y) {
        return ((Z >> 3) * 4 + (Y >> 3) * 2) * kOctant + ((Z & 7) * 8 + (Y & 7)) * 8 * kLanes;
    };
    auto source = [&](float* const* const* s, int i) {
        const int Z = i / M, Y = i % M;
        const int z = reversed_rows ? p.rev[oz + Z] : oz + Z;
        const int y = reversed_rows ? p.rev[oy + Y] : oy + Y;
        return s[sz + z][sy + y] + sx;
    };
    constexpr int kAhead = 4;  // rows fetched ahead of their turn
    for (int i = 0; i < M * M; ++i) {
        if (i + kAhead < M * M) {
            prefetch_row(source(src_re, i + kAhead), n);
            prefetch_row(source(src_im, i + kAhead), n);
        }
        const std::size_t to = at(i / M, i % M);
        row_to_lane_batches(source(src_re, i), n, M, p.column.get(), sre + to, batch, p.scale);
        row_to_lane_batches(source(src_im, i), n, M, p.column.get(), sim + to, batch, p.scale);
    }
    const float* tw = p.lane_tw.get();
    for (int b = 0; b < p.batches; ++b)
        lane_stages(sre + b * batch, sim + b * batch, M, tw + p.lane_at[0], tw + p.lane_at[1],
                    tw + p.lane_at[2]);
    for (int Z = 0; Z < M; ++Z)
        for (int Y = 0; Y < M; ++Y) {
            float* rr = ore[z0 + oz + Z][y0 + oy + Y] + x0;
            float* ri = oim[z0 + oz + Z][y0 + oy + Y] + x0;
            for (int b = 0; b < p.batches; ++b)
                for (int hx = 0; hx < M / 8; ++hx) {
                    const std::size_t from = b * batch + at(Z, Y) + hx * kOctant;
                    const float *lr[8], *li[8];
                    float *dr[8], *di[8];
                    for (int k = 0; k < 8; ++k) {
                        lr[k] = sre + from + k * kLanes;
                        li[k] = sim + from + k * kLanes;
                        const int x = p.origin[b * kLanes + k] + hx * 8;
                        dr[k] = rr + x;
                        di[k] = ri + x;
                    }
                    transpose8(lr, dr);
                    transpose8(li, di);
                }
        }
}

// A later sweep over one set of rows, for the stages of half-sizes lo .. hi/2: the set's rows
// (A = hi / lo of them along z and y) are copied into the buffer, transformed, copied back.
void late_sweep(const VrPlan& p, int lo, int hi, float*** ore, float*** oim, int z0, int y0,
                int x0, int unit, float* sre, float* sim) {
    const int n = p.n, A = hi / lo, per_axis = n / A;
    const int uz = unit / per_axis, uy = unit % per_axis;
    auto z_of = [&](int a) { return z0 + uz / lo * hi + a * lo + uz % lo; };
    auto y_of = [&](int b) { return y0 + uy / lo * hi + b * lo + uy % lo; };
    auto row = [&](float* s, int a, int b) { return s + (static_cast<std::size_t>(a) * A + b) * n; };
    constexpr int kAhead = 4;  // rows fetched ahead of their turn
    for (int i = 0; i < A * A; ++i) {
        if (i + kAhead < A * A) {
            const int a = (i + kAhead) / A, b = (i + kAhead) % A;
            prefetch_row(ore[z_of(a)][y_of(b)] + x0, n);
            prefetch_row(oim[z_of(a)][y_of(b)] + x0, n);
        }
        const int a = i / A, b = i % A;
        std::memcpy(row(sre, a, b), ore[z_of(a)][y_of(b)] + x0, n * sizeof(float));
        std::memcpy(row(sim, a, b), oim[z_of(a)][y_of(b)] + x0, n * sizeof(float));
    }
    for (int m = lo; m < hi; m *= 2) {
        const int d = m / lo;
        const float* twr = p.twr.get() + m;
        const float* twi = p.twi.get() + m;
        for (int a0 = 0; a0 < A; a0 += 2 * d)
            for (int ka = 0; ka < d; ++ka)
                for (int b0 = 0; b0 < A; b0 += 2 * d)
                    for (int kb = 0; kb < d; ++kb) {
                        const int kz = ka * lo + uz % lo, ky = kb * lo + uy % lo;
                        const int a = a0 + ka, b = b0 + kb;
                        RowGroup g;
                        g.wzr = twr[kz];
                        g.wzi = twi[kz];
                        g.wyr = twr[ky];
                        g.wyi = twi[ky];
                        g.wzyr = g.wzr * g.wyr - g.wzi * g.wyi;
                        g.wzyi = g.wzr * g.wyi + g.wzi * g.wyr;
                        vr_rows(row(sre, a, b), row(sre, a, b + d), row(sre, a + d, b),
                                row(sre, a + d, b + d), row(sim, a, b), row(sim, a, b + d),
                                row(sim, a + d, b), row(sim, a + d, b + d), n, m, twr, twi, g);
                    }
    }
    for (int a = 0; a < A; ++a)
        for (int b = 0; b < A; ++b) {
            std::memcpy(ore[z_of(a)][y_of(b)] + x0, row(sre, a, b), n * sizeof(float));
            std::memcpy(oim[z_of(a)][y_of(b)] + x0, row(sim, a, b), n * sizeof(float));
        }
}

// The buffer of one task of the large-cube transform.
struct VrScratch {
    FloatBuffer re, im;
    int prepare(std::size_t n) { return re.make(n) && im.make(n) ? kOk : kNoBuffer; }
};

}  // namespace

// The vector-radix transform of a cube of edge 64 or more (checks done), the later sweeps
// working on sets of at most sweep_points points.
int vr_large_cube(Volume* inRe, Volume* inIm, Volume* outRe, Volume* outIm, int direction,
                  int z0, int y0, int x0, int sweep_points) {
    const Voi v = voi_of(inRe);
    const int n = v.nz();
    const bool in_place = sharing_storage(inRe, inIm, outRe, outIm);
    VrPlan plan;
    V3D_CHECK(plan.prepare(n, direction, sweep_points));
    const int sets = (n / plan.sub) * (n / plan.sub);
    Workers<VrScratch> work;
    // in place the input is gathered first; after that every task works on output rows of
    // its own, so only outputs sharing one storage keep the transform on one thread
    V3D_CHECK(make_workers(work, shares_storage(outRe, outIm) ? 1 : thread_count(), sets,
                           [&](VrScratch& s) { return s.prepare(plan.scratch); }));
    float*** ore = outRe->data[0].f;
    float*** oim = outIm->data[0].f;
    if (in_place) {
        const Cube block{ore, oim, z0, y0, x0, nullptr, nullptr, 0.0f};
        V3D_CHECK(gather_bit_reversed(inRe, inIm, block, n, 1.0f, false));
    }
    float*** sre = in_place ? ore : inRe->data[0].f;
    float*** sim = in_place ? oim : inIm->data[0].f;
    const int sz = in_place ? z0 : v.z1, sy = in_place ? y0 : v.y1, sx = in_place ? x0 : v.x1;
    parallel_blocks(0, sets, work.count, [&](int t, int first, int last) {
        for (int u = first; u < last; ++u)
            sub_cube_sweep(plan, sre, sim, sz, sy, sx, !in_place, ore, oim, z0, y0, x0, u,
                           work[t].re.get(), work[t].im.get());
    });
    for (int g = 0; g < plan.groups; ++g) {
        const int per_axis = n / (plan.hi[g] / plan.lo[g]);
        parallel_blocks(0, per_axis * per_axis, work.count, [&](int t, int first, int last) {
            for (int u = first; u < last; ++u)
                late_sweep(plan, plan.lo[g], plan.hi[g], ore, oim, z0, y0, x0, u,
                           work[t].re.get(), work[t].im.get());
        });
    }
    return kOk;
}

}  // namespace v3d

using namespace v3d;

extern "C" {

int lrcfft3d(Volume* inRe, Volume* inIm, Volume* outRe, Volume* outIm, int direction, int z0,
             int y0, int x0) {
    V3D_CHECK(check_transform(inRe, inIm, outRe, outIm, direction, z0, y0, x0, false));
    const Voi r = voi_of(inRe);
    // frames, then rows of the Z pass, in consecutive shares per task
    const int tasks = serial_row_column(inRe, inIm, outRe, outIm) ? 1 : thread_count();
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
        const int last = y0 + share_begin(t + 1, nl, r.ny());
        for (int y = y0 + share_begin(t, nl, r.ny()); y < last; ++y)
            lines[t].run(outRe->data[0].f, outIm->data[0].f, y, last, z0, x0);
    });
    return kOk;
}

int vrfft3d(Volume* inRe, Volume* inIm, Volume* outRe, Volume* outIm, int direction, int z0,
            int y0, int x0) {
    V3D_CHECK(check_transform(inRe, inIm, outRe, outIm, direction, z0, y0, x0, true));
    const int n = inRe->z2 - inRe->z1;
    if (n >= kLargeCube)
        return vr_large_cube(inRe, inIm, outRe, outIm, direction, z0, y0, x0, kSweepPoints);
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
    if (shares_storage(outRe, outIm)) {
        vr_region(cube, 0, 0, 0, n);  // one storage for both parts: serially
    } else {
        vr_cube(cube, n);  // after the gather only output voxels are read and written
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
