// The building blocks of the Fourier transforms, shared by the 3D transforms and the transforms
// built on them: twiddle tables, bit reversal, batched butterflies, the two-dimensional frame
// transform of the image library.
#pragma once

#include <cstddef>
#include <memory>

#include "vexilo3d_types.h"

namespace v3d {

// n > 0 whose binary form has a single 1 (the extent is shifted right while its lowest bit is 0;
// what remains must be below 2).
bool is_power_of_two(int n);

// Number of halvings that bring n (a power of two) to 1.
int log2_of(int n);

// cos and sin of k * (sign / n) * 2 pi for k = 0 .. n-1, computed in double, kept as floats;
// sign is -1 for the forward and +1 for the inverse transform.
struct Twiddles {
    std::unique_ptr<float[]> cos, sin;
    int n = 0;
    int sign = -1;
    bool make(int size, int sign);  // false when memory is short
};

// A float buffer that starts on a cache line (whole vectors never straddle two lines); null
// when memory is short.
class FloatBuffer {
public:
    bool make(std::size_t n);
    float* get() const { return data_; }
    float& operator[](std::size_t i) const { return data_[i]; }
    explicit operator bool() const { return data_ != nullptr; }

private:
    std::unique_ptr<float[]> block_;
    float* data_ = nullptr;
};

// The bit-reversal permutation of 0 .. n-1 (n a power of two).
std::unique_ptr<int[]> bit_reversal(int n);

// Radix-4 (with one radix-2 stage when log2 n is odd) decimation-in-time butterflies over n
// points held in bit-reversed order, each point a vector of `width` contiguous complex values
// (re[p * width + j], im[p * width + j]); leaves the n-point transforms of the width columns
// in natural order. width is 1, 2, 4, 8 or 16.
void butterflies(float* re, float* im, int n, int width, const Twiddles& tw);

// The widest batch of lines transformed together.
constexpr int kBatch = 16;

// The two-dimensional Fourier transform of the image library on a work area of rows x cols
// (powers of two) with one direction (0 forward, 1 inverse scaled by 1/(rows*cols)). Its
// buffers and tables are made once and serve any number of frames.
class FrameTransform {
public:
    // 0, or -9 when memory is short.
    int prepare(int rows, int cols, int direction);
    // Reads rows r1.., columns c1.. of the source images and writes the transform at rows dr..,
    // columns dc.. of the destination images. Source and destination may be the same images
    // only at the same place (rows are written while later ones are still to be read).
    void run(float* const* src_re, float* const* src_im, int r1, int c1, float* const* dst_re,
             float* const* dst_im, int dr, int dc);

private:
    int rows_ = 0, cols_ = 0, block_ = 0, width_ = 0;
    float scale_ = 1.0f;
    Twiddles tx_, ty_;
    std::unique_ptr<int[]> rev_x_, rev_y_;
    FloatBuffer line_re_, line_im_, chunk_re_, chunk_im_;
};

// The image library's entry: checks the work area (r1 .. r2-1, c1 .. c2-1 inside the source's
// rows x cols, else -21), the destination (the area at (dr, dc) inside dst_rows x dst_cols,
// else -22), the sizes (powers of two, else -33), the direction (-90), then transforms.
int fft2d(float* const* src_re, float* const* src_im, int rows, int cols, int r1, int r2, int c1,
          int c2, float* const* dst_re, float* const* dst_im, int dst_rows, int dst_cols, int dr,
          int dc, int direction);

// The vector-radix transform of a cube of edge 64 or more whose checks have passed. Its later
// sweeps work on sets of rows of at most sweep_points points (vrfft3d passes 65536; less
// reaches, on small cubes, the several-sweep plans of very large ones).
int vr_large_cube(Volume* inRe, Volume* inIm, Volume* outRe, Volume* outIm, int direction,
                  int z0, int y0, int x0, int sweep_points);

}  // namespace v3d
