// Edge detection: Sobel, compass and Laplace masks, the local range, greedy edge following,
// the plane Hough transform and the edge linker.
//
// The fixed-window operators have two forms. The plain form evaluates the mask voxel by voxel
// in scan order; in-place calls use it, so later voxels read what earlier ones wrote. The row
// form (in != out) works on a row at a time through local row pointers, in 8- and 16-bit lanes
// that the compiler vectorises, and splits the frames over threads.
#include "ops/edges.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "core/common.h"
#include "core/parallel.h"

namespace v3d {
namespace {

using UC = unsigned char;
constexpr int kChunk = 512;  // columns per pass of the row forms (buffers on the stack)

// The centre voxels an operator computes: half-open, hz/hy/hx inside every face of the VOI.
struct Box {
    int z1, z2, y1, y2, x1, x2;
    bool empty() const { return z1 >= z2 || y1 >= y2 || x1 >= x2; }
};
Box inner_box(const Volume* in, int hz, int hy, int hx) {
    const Voi v = voi_of(in);
    return {v.z1 + hz, v.z2 - hz, v.y1 + hy, v.y2 - hy, v.x1 + hx, v.x2 - hx};
}

// Plain form: out[z][y][x] = value(uc, z, y, x) in scan order over the box.
template <class F> void plain_loop(Volume* in, Volume* out, const Box& b, F&& value) {
    UC*** src = in->data[0].uc;
    UC*** dst = out->data[0].uc;
    for (int z = b.z1; z < b.z2; ++z)
        for (int y = b.y1; y < b.y2; ++y)
            for (int x = b.x1; x < b.x2; ++x) dst[z][y][x] = value(src, z, y, x);
}

// Row form of a 3x3x3 operator: row(rows, dst_row, x1, x2) for every row of the box, with
// rows[a][b] the input row at (z + a - 1, y + b - 1); frames spread over threads.
template <class F> void row_loop(Volume* in, Volume* out, const Box& b, F&& row) {
    UC*** src = in->data[0].uc;
    UC*** dst = out->data[0].uc;
    parallel_for(b.z1, b.z2, [&](int z) {
        const UC* rows[3][3];
        for (int y = b.y1; y < b.y2; ++y) {
            for (int a = 0; a < 3; ++a)
                for (int c = 0; c < 3; ++c) rows[a][c] = src[z + a - 1][y + c - 1];
            row(rows, dst[z][y], b.x1, b.x2);
        }
    });
}

// ---- Sobel --------------------------------------------------------------------------------

// A neighbour's Sobel weight in the plane at +-1 along one axis: 3 on the axis, 2 off it in
// one direction, 1 in a corner; that is 1 + [first offset 0] + [second offset 0].
int sobel_weight(int a, int b) { return 1 + (a == 0) + (b == 0); }

UC sobel_at(UC*** v, int z, int y, int x) {
    int gx = 0, gy = 0, gz = 0;
    for (int a = -1; a <= 1; ++a)
        for (int b = -1; b <= 1; ++b) {
            gx += sobel_weight(a, b) * (v[z + a][y + b][x + 1] - v[z + a][y + b][x - 1]);
            gy += sobel_weight(a, b) * (v[z + a][y + 1][x + b] - v[z + a][y - 1][x + b]);
            gz += sobel_weight(a, b) * (v[z + 1][y + a][x + b] - v[z - 1][y + a][x + b]);
        }
    return static_cast<UC>(std::min(255, std::abs(gx) + std::abs(gy) + std::abs(gz)));
}

// Per input column of a row, the terms the three derivatives are built from (c[a][b] is the
// column's voxel in row (dz, dy) = (a - 1, b - 1)):
//   w   = the Sobel-weighted sum of the nine voxels, so Gx(x) = w(x + 1) - w(x - 1);
//   py  = Dy[0] + 2 Dy[1] + Dy[2] and pqy = 2 Dy[0] + 3 Dy[1] + 2 Dy[2] with Dy[a] the Y
//         difference c[a][2] - c[a][0], so Gy(x) = py(x - 1) + pqy(x) + py(x + 1);
//   pz, pqz the same with the Z differences Dz[b] = c[2][b] - c[0][b].
// Every term fits in 16 bits (|w| <= 15 * 255).
struct SobelTerms {
    int16_t w[kChunk + 2], py[kChunk + 2], pqy[kChunk + 2], pz[kChunk + 2], pqz[kChunk + 2];
};

void sobel_terms(const UC* const (&rows)[3][3], int x0, int n, SobelTerms& t) {
    const UC* __restrict r00 = rows[0][0] + x0;
    const UC* __restrict r01 = rows[0][1] + x0;
    const UC* __restrict r02 = rows[0][2] + x0;
    const UC* __restrict r10 = rows[1][0] + x0;
    const UC* __restrict r11 = rows[1][1] + x0;
    const UC* __restrict r12 = rows[1][2] + x0;
    const UC* __restrict r20 = rows[2][0] + x0;
    const UC* __restrict r21 = rows[2][1] + x0;
    const UC* __restrict r22 = rows[2][2] + x0;
    int16_t* __restrict w = t.w;
    int16_t* __restrict py = t.py;
    int16_t* __restrict pqy = t.pqy;
    int16_t* __restrict pz = t.pz;
    int16_t* __restrict pqz = t.pqz;
    for (int i = 0; i < n; ++i) {
        const int16_t c00 = r00[i], c01 = r01[i], c02 = r02[i], c10 = r10[i], c11 = r11[i],
                      c12 = r12[i], c20 = r20[i], c21 = r21[i], c22 = r22[i];
        // weights 1 + [dz = 0] + [dy = 0]
        w[i] = static_cast<int16_t>(c00 + c02 + c20 + c22 + 2 * (c01 + c10 + c12 + c21) + 3 * c11);
        const int16_t dy0 = c02 - c00, dy1 = c12 - c10, dy2 = c22 - c20;
        const int16_t dz0 = c20 - c00, dz1 = c21 - c01, dz2 = c22 - c02;
        py[i] = static_cast<int16_t>(dy0 + 2 * dy1 + dy2);
        pqy[i] = static_cast<int16_t>(2 * (dy0 + dy2) + 3 * dy1);
        pz[i] = static_cast<int16_t>(dz0 + 2 * dz1 + dz2);
        pqz[i] = static_cast<int16_t>(2 * (dz0 + dz2) + 3 * dz1);
    }
}

void sobel_combine(const SobelTerms& t, int n, UC* __restrict out) {
    const int16_t* __restrict w = t.w;
    const int16_t* __restrict py = t.py;
    const int16_t* __restrict pqy = t.pqy;
    const int16_t* __restrict pz = t.pz;
    const int16_t* __restrict pqz = t.pqz;
    for (int i = 0; i < n; ++i) {  // term index i + 1 is the centre column
        const int16_t gx = w[i + 2] - w[i];
        const int16_t gy = py[i] + pqy[i + 1] + py[i + 2];
        const int16_t gz = pz[i] + pqz[i + 1] + pz[i + 2];
        const int16_t sum = static_cast<int16_t>((gx < 0 ? -gx : gx) + (gy < 0 ? -gy : gy) +
                                                 (gz < 0 ? -gz : gz));
        out[i] = static_cast<UC>(sum > 255 ? 255 : sum);
    }
}

void sobel_row(const UC* const (&rows)[3][3], UC* out, int x1, int x2) {
    SobelTerms t;
    for (int xs = x1; xs < x2; xs += kChunk) {
        const int n = std::min(kChunk, x2 - xs);
        sobel_terms(rows, xs - 1, n + 2, t);
        sobel_combine(t, n, out + xs);
    }
}

// ---- Compass masks ------------------------------------------------------------------------

struct Offset {
    int dz, dy, dx;
};
struct CompassMask {
    Offset plus[9], minus[9];
};

// The mask of direction (z, y, x): +1 on the neighbours n with n . d > 0, -1 where n . d < 0;
// a body diagonal leaves out its own two corners (+-d) so that each side keeps nine.
CompassMask mask_of_direction(int z, int y, int x) {
    CompassMask m{};
    int np = 0, nm = 0;
    const bool body = z != 0 && y != 0 && x != 0;
    for (int dz = -1; dz <= 1; ++dz)
        for (int dy = -1; dy <= 1; ++dy)
            for (int dx = -1; dx <= 1; ++dx) {
                const int dot = dz * z + dy * y + dx * x;
                if (body && (dot == 3 || dot == -3)) continue;
                if (dot > 0) m.plus[np++] = {dz, dy, dx};
                if (dot < 0) m.minus[nm++] = {dz, dy, dx};
            }
    return m;
}

// The (45, 0) mask as it has always been: positive on (dz, dx) (+1, 0), (+1, +1), (0, +1),
// negative on (0, -1), (-1, +1), (-1, 0), for every dy; (-1, -1) and (+1, -1) weigh zero.
CompassMask mask_45_0() {
    const int pos[3][2] = {{1, 0}, {1, 1}, {0, 1}}, neg[3][2] = {{0, -1}, {-1, 1}, {-1, 0}};
    CompassMask m{};
    for (int k = 0; k < 3; ++k)
        for (int dy = -1; dy <= 1; ++dy) {
            m.plus[3 * k + dy + 1] = {pos[k][0], dy, pos[k][1]};
            m.minus[3 * k + dy + 1] = {neg[k][0], dy, neg[k][1]};
        }
    return m;
}

// 45 -> +1, 90 -> 0, 135 -> -1; anything else -> 2 (not an angle of the table).
int component_of(int angle) {
    return angle == 45 ? 1 : angle == 90 ? 0 : angle == 135 ? -1 : 2;
}

// The mask of an angle pair (see compas3d in the header); false for a pair outside the table.
bool compass_mask(int angle1, int angle2, CompassMask* m) {
    if (angle1 == 0) {
        *m = mask_of_direction(0, 0, 1);
        return true;
    }
    const int a = component_of(angle1);
    if (a == 2) return false;
    if (angle2 == 0) {  // in the X-Z plane, angle1 from X towards Z
        *m = angle1 == 45 ? mask_45_0() : mask_of_direction(1, 0, a);
        return true;
    }
    const int b = component_of(angle2);
    if (b == 2) return false;
    *m = mask_of_direction(b, 1, a);
    return true;
}

UC compass_at(const CompassMask& m, UC*** v, int z, int y, int x) {
    int sum = 0;
    for (const Offset& o : m.plus) sum += v[z + o.dz][y + o.dy][x + o.dx];
    for (const Offset& o : m.minus) sum -= v[z + o.dz][y + o.dy][x + o.dx];
    return static_cast<UC>(std::min(255, std::abs(sum)));
}

// Sum of nine rows minus nine others, one pass over the columns.
void compass_pass(const UC* const (&p)[9], const UC* const (&m)[9], UC* __restrict out, int n) {
    const UC *__restrict p0 = p[0], *__restrict p1 = p[1], *__restrict p2 = p[2],
             *__restrict p3 = p[3], *__restrict p4 = p[4], *__restrict p5 = p[5],
             *__restrict p6 = p[6], *__restrict p7 = p[7], *__restrict p8 = p[8];
    const UC *__restrict m0 = m[0], *__restrict m1 = m[1], *__restrict m2 = m[2],
             *__restrict m3 = m[3], *__restrict m4 = m[4], *__restrict m5 = m[5],
             *__restrict m6 = m[6], *__restrict m7 = m[7], *__restrict m8 = m[8];
    for (int i = 0; i < n; ++i) {
        const int16_t plus = static_cast<int16_t>(p0[i] + p1[i] + p2[i] + p3[i] + p4[i] + p5[i] +
                                                  p6[i] + p7[i] + p8[i]);
        const int16_t minus = static_cast<int16_t>(m0[i] + m1[i] + m2[i] + m3[i] + m4[i] + m5[i] +
                                                   m6[i] + m7[i] + m8[i]);
        const int16_t d = static_cast<int16_t>(plus - minus);
        const int16_t a = d < 0 ? static_cast<int16_t>(-d) : d;
        out[i] = static_cast<UC>(a > 255 ? 255 : a);
    }
}

void compass_row(const CompassMask& m, const UC* const (&rows)[3][3], UC* out, int x1, int x2) {
    const UC *plus[9], *minus[9];
    for (int k = 0; k < 9; ++k) {
        const Offset& p = m.plus[k];
        const Offset& q = m.minus[k];
        plus[k] = rows[p.dz + 1][p.dy + 1] + x1 + p.dx;
        minus[k] = rows[q.dz + 1][q.dy + 1] + x1 + q.dx;
    }
    compass_pass(plus, minus, out + x1, x2 - x1);
}

// ---- Laplace ------------------------------------------------------------------------------

UC laplace_at(UC*** v, int z, int y, int x) {
    const int l = v[z][y][x - 1] + v[z][y][x + 1] + v[z][y - 1][x] + v[z][y + 1][x] +
                  v[z - 1][y][x] + v[z + 1][y][x] - 6 * v[z][y][x];
    return clamp_uc(l);
}

void laplace_row(const UC* const (&rows)[3][3], UC* __restrict out, int x1, int x2) {
    const UC* __restrict front = rows[0][1];
    const UC* __restrict up = rows[1][0];
    const UC* __restrict centre = rows[1][1];
    const UC* __restrict down = rows[1][2];
    const UC* __restrict back = rows[2][1];
    for (int x = x1; x < x2; ++x) {
        const int16_t l = static_cast<int16_t>(
            centre[x - 1] + centre[x + 1] + up[x] + down[x] + front[x] + back[x] - 6 * centre[x]);
        out[x] = static_cast<UC>(l < 0 ? 0 : l > 255 ? 255 : l);
    }
}

// ---- Range --------------------------------------------------------------------------------

UC range_at(UC*** v, int z, int y, int x, int hz, int hy, int hx) {
    UC lo = v[z][y][x], hi = lo;
    for (int k = z - hz; k <= z + hz; ++k)
        for (int j = y - hy; j <= y + hy; ++j)
            for (int i = x - hx; i <= x + hx; ++i) {
                lo = std::min(lo, v[k][j][i]);
                hi = std::max(hi, v[k][j][i]);
            }
    return static_cast<UC>(hi - lo);
}

void min_into(UC* __restrict acc, const UC* __restrict src, int n) {
    for (int i = 0; i < n; ++i) acc[i] = std::min(acc[i], src[i]);
}
void max_into(UC* __restrict acc, const UC* __restrict src, int n) {
    for (int i = 0; i < n; ++i) acc[i] = std::max(acc[i], src[i]);
}

// Row form of the range: the column extremes over the window's wz * wy rows, then the
// extremes of wx neighbouring columns. Windows wider than a chunk take the plain form.
void range_row(UC*** src, UC* out, int z, int y, const Box& b, int hz, int hy, int hx) {
    constexpr int kCols = 2 * kChunk;
    UC lo[kCols], hi[kCols], row_lo[kCols], row_hi[kCols];
    const int per_pass = kCols - 2 * hx;  // centres per pass
    for (int xs = b.x1; xs < b.x2; xs += per_pass) {
        const int n = std::min(per_pass, b.x2 - xs), cols = n + 2 * hx, x0 = xs - hx;
        std::memcpy(lo, src[z][y] + x0, cols);
        std::memcpy(hi, src[z][y] + x0, cols);
        for (int k = z - hz; k <= z + hz; ++k)
            for (int j = y - hy; j <= y + hy; ++j) {
                min_into(lo, src[k][j] + x0, cols);
                max_into(hi, src[k][j] + x0, cols);
            }
        std::memcpy(row_lo, lo, n);
        std::memcpy(row_hi, hi, n);
        for (int k = 1; k <= 2 * hx; ++k) {
            min_into(row_lo, lo + k, n);
            max_into(row_hi, hi + k, n);
        }
        for (int i = 0; i < n; ++i) out[xs + i] = static_cast<UC>(row_hi[i] - row_lo[i]);
    }
}

// ---- Edge following -----------------------------------------------------------------------

struct Point {
    int z, y, x;
    bool operator==(const Point& o) const { return z == o.z && y == o.y && x == o.x; }
};

bool inside(const Voi& v, int z, int y, int x) {
    return z >= v.z1 && z < v.z2 && y >= v.y1 && y < v.y2 && x >= v.x1 && x < v.x2;
}

// One step of edge following from cur: the chosen neighbour (cur when there is none). prev
// is the excluded point; it changes as described at every improvement of the best.
Point follow_step(UC*** v, const Voi& voi, Point cur, int cv, Point& prev, int maxdiff,
                  int threshold, long long weight) {
    long long best = weight * 256;
    Point chosen = cur;
    for (int dx = -1; dx <= 1; ++dx)
        for (int dy = -1; dy <= 1; ++dy)
            for (int dz = -1; dz <= 1; ++dz) {
                const Point n{cur.z + dz, cur.y + dy, cur.x + dx};
                if (n == cur || !inside(voi, n.z, n.y, n.x) || n == prev) continue;
                const int value = v[n.z][n.y][n.x], diff = std::abs(cv - value);
                if (value < threshold || diff > maxdiff) continue;
                const long long cost = diff * weight;
                if (cost < best) {
                    best = cost;
                    prev = chosen;
                    chosen = n;
                }
            }
    return chosen;
}

// ---- Hough --------------------------------------------------------------------------------

// The parameter space: angle tables, the diagonal D and the number of distance cells. The
// distance cell of voxel (z, y, x) for elevation k and azimuth j is
//   floor((cos_el[k] z + (cos_az[j] y + sin_az[j] x) sin_el[k] + D) / (2 D) * (cells - 1) + 0.5)
// in double precision, computed in this order by voting and back-projection alike (see
// cell_by_division).
struct HoughSpace {
    std::unique_ptr<float[]> cos_az, sin_az, cos_el, sin_el;
    double d = 0;
    int cells = 0;

};

// angle_i = (i / (n - 1) * 180 - 90) * 0.017453 for the n entries i = 0..n-1, so the table runs
// from -90 to +90 degrees inclusive; false for n < 2 (left unfilled).
bool fill_angle_table(float* cosines, float* sines, long long n) {
    if (n < 2) return false;
    for (long long i = 0; i < n; ++i) {
        const float angle = (static_cast<float>(i) / static_cast<float>(n - 1) * 180.0f - 90.0f) *
                            0.017453f;
        cosines[i] = std::cos(angle);
        sines[i] = std::sin(angle);
    }
    return true;
}

#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__) && defined(__linux__)
#define V3D_SIMD_CLONES __attribute__((target_clones("avx2", "default")))
#else
#define V3D_SIMD_CLONES
#endif

// The voters: the 255 voxels of frames [z1, z2) of the whole input, handed to f a batch at a
// time.
constexpr int kVoters = 256;
struct Voters {
    int n = 0;
    int z[kVoters], y[kVoters], x[kVoters];
};
template <class F> void for_voter_batches(const Volume* in, int z1, int z2, F&& f) {
    Voters v;
    for (int z = z1; z < z2; ++z)
        for (int y = 0; y < in->Y; ++y) {
            const UC* row = in->data[0].uc[z][y];
            for (int x = 0; x < in->X; ++x) {
                if (row[x] != 255) continue;
                v.z[v.n] = z, v.y[v.n] = y, v.x[v.n] = x;
                if (++v.n == kVoters) f(v), v.n = 0;
            }
        }
    if (v.n) f(v);
}

// Distance cells without a division per cell: the quotient by 2 D is taken as a product with
// its reciprocal, which moves the value before flooring by a few units in the last place at
// most; where that value lies so near a whole number that flooring could go either way, the
// cell is computed again with the division. The value is below 1.4 (cells - 1) + 0.5 in
// magnitude (the numerator is below sqrt(3) D + D), so one tolerance serves every cell. Floor
// by truncation and a comparison, which vectorises where std::floor does not.
struct Reciprocal {
    double inverse, scale, tolerance;
    Reciprocal(double d, double scale) : inverse(1.0 / (2.0 * d)), scale(scale), tolerance(1e-12 * (scale + 2.0)) {}
    // The cell; near is set when it must be computed with the division.
    int cell(double numerator, int& near) const {
        const double v = numerator * inverse * scale + 0.5;
        const int t = static_cast<int>(v);
        const int f = static_cast<int>(static_cast<unsigned>(t) - (static_cast<double>(t) > v));
        const double fraction = v - f;
        near = (fraction <= tolerance) | (1.0 - fraction <= tolerance);  // 0 or 1
        return f;
    }
};
inline int cell_by_division(double numerator, double d, double scale) {
    const double r = numerator / (2.0 * d);
    return static_cast<int>(std::floor(r * scale + 0.5));
}

// The distance cells of n voters for one elevation, given each voter's azimuth term
// a = cos_az * y + sin_az * x.
V3D_SIMD_CLONES void vote_cells(const double* a, const int* z, int n, double cos_el, double sin_el,
                                double d, const Reciprocal& reciprocal, int* cell) {
    const Reciprocal q = reciprocal;  // a local copy: no stores reach it
    int nears = 0;
    for (int i = 0; i < n; ++i) {
        int near;
        cell[i] = q.cell(cos_el * z[i] + a[i] * sin_el + d, near);
        nears += near;
    }
    if (!nears) return;
    for (int i = 0; i < n; ++i) {
        int near;
        q.cell(cos_el * z[i] + a[i] * sin_el + d, near);
        if (near) cell[i] = cell_by_division(cos_el * z[i] + a[i] * sin_el + d, d, q.scale);
    }
}

// The same for one voter and n (elevation, azimuth) pairs given by their sines and cosines.
V3D_SIMD_CLONES void pair_cells(const double* cos_el, const double* sin_el, const double* cos_az,
                                const double* sin_az, int n, int z, int y, int x, double d,
                                const Reciprocal& reciprocal, int* cell) {
    const Reciprocal q = reciprocal;  // a local copy: no stores reach it
    auto numerator = [&](int i) { return cos_el[i] * z + (cos_az[i] * y + sin_az[i] * x) * sin_el[i] + d; };
    int nears = 0;
    for (int i = 0; i < n; ++i) {
        int near;
        cell[i] = q.cell(numerator(i), near);
        nears += near;
    }
    if (!nears) return;
    for (int i = 0; i < n; ++i) {
        int near;
        q.cell(numerator(i), near);
        if (near) cell[i] = cell_by_division(numerator(i), d, q.scale);
    }
}

// Clears, fills and thresholds the accumulator. Threads take ranges of elevations, so that
// each counts into its own cells.
void hough_vote(const Volume* in, Volume* acc, const HoughSpace& s, int threshold) {
    int*** a = acc->data[0].i;
    const Reciprocal q(s.d, s.cells - 1);
    parallel_blocks(0, acc->Z, block_count(0, acc->Z, true), [&](int, int k1, int k2) {
        for (int k = k1; k < k2; ++k)
            for (int j = 0; j < acc->Y; ++j) std::fill(a[k][j], a[k][j] + acc->X, 0);
        // eight elevations at a time, so that consecutive counts go to different rows
        constexpr int kRows = 8;
        double az_term[kVoters];
        int cell[kRows][kVoters];
        for_voter_batches(in, 0, in->Z, [&](const Voters& v) {
            for (int j = 0; j < acc->Y; ++j) {
                const double ca = s.cos_az[j], sa = s.sin_az[j];
                for (int i = 0; i < v.n; ++i) az_term[i] = ca * v.y[i] + sa * v.x[i];
                for (int k0 = k1; k0 < k2; k0 += kRows) {
                    const int rows = std::min(kRows, k2 - k0);
                    int* votes[kRows];
                    for (int r = 0; r < rows; ++r) {
                        vote_cells(az_term, v.z, v.n, s.cos_el[k0 + r], s.sin_el[k0 + r], s.d, q, cell[r]);
                        votes[r] = a[k0 + r][j];
                    }
                    for (int i = 0; i < v.n; ++i)
                        for (int r = 0; r < rows; ++r)
                            if (static_cast<unsigned>(cell[r][i]) < static_cast<unsigned>(s.cells)) ++votes[r][cell[r][i]];
                }
            }
        });
        for (int k = k1; k < k2; ++k)
            for (int j = 0; j < acc->Y; ++j)
                for (int c = 0; c < acc->X; ++c) a[k][j][c] = a[k][j][c] >= threshold ? 1 : 0;
    });
}

// The (elevation, azimuth) pairs with at least one surviving cell, as sines and cosines.
struct SurvivingPlanes {
    std::unique_ptr<int[]> k, j;
    std::unique_ptr<double[]> cos_el, sin_el, cos_az, sin_az;
    int n = 0;

    bool allocate(std::size_t pairs) {
        k = make_buffer<int>(pairs), j = make_buffer<int>(pairs);
        cos_el = make_buffer<double>(pairs), sin_el = make_buffer<double>(pairs);
        cos_az = make_buffer<double>(pairs), sin_az = make_buffer<double>(pairs);
        return k && j && cos_el && sin_el && cos_az && sin_az;
    }
    void collect(Volume* acc, const HoughSpace& s) {
        int*** a = acc->data[0].i;
        for (int kk = 0; kk < acc->Z; ++kk)
            for (int jj = 0; jj < acc->Y; ++jj)
                if (std::find(a[kk][jj], a[kk][jj] + acc->X, 1) != a[kk][jj] + acc->X) {
                    k[n] = kk, j[n] = jj;
                    cos_el[n] = s.cos_el[kk], sin_el[n] = s.sin_el[kk];
                    cos_az[n] = s.cos_az[jj], sin_az[n] = s.sin_az[jj];
                    ++n;
                }
    }
};

// Clears the output and marks every 255 voxel whose distance cell survived for some
// (elevation, azimuth): the voxels the planes of the surviving cells pass through. Each voxel
// looks for its first surviving cell among the pairs that have one, a few pairs at a time;
// frames are independent.
void hough_back_project(const Volume* in, Volume* out, Volume* acc, const HoughSpace& s,
                        const SurvivingPlanes& p) {
    parallel_for(0, out->Z, [&](int z) {
        for (int y = 0; y < out->Y; ++y) std::memset(out->data[0].uc[z][y], 0, out->X);
    });
    int*** a = acc->data[0].i;
    const Reciprocal q(s.d, s.cells - 1);
    parallel_for(0, in->Z, [&](int z) {
        constexpr int kPairs = 16;
        int cell[kPairs];
        for_voter_batches(in, z, z + 1, [&](const Voters& v) {
            for (int i = 0; i < v.n; ++i) {
                bool marked = false;
                for (int first = 0; first < p.n && !marked; first += kPairs) {
                    const int n = std::min(kPairs, p.n - first);
                    pair_cells(&p.cos_el[first], &p.sin_el[first], &p.cos_az[first], &p.sin_az[first], n,
                               v.z[i], v.y[i], v.x[i], s.d, q, cell);
                    for (int q = 0; q < n && !marked; ++q)
                        marked = static_cast<unsigned>(cell[q]) < static_cast<unsigned>(s.cells) &&
                                 a[p.k[first + q]][p.j[first + q]][cell[q]] == 1;
                }
                if (marked) out->data[0].uc[v.z[i]][v.y[i]][v.x[i]] = 255;
            }
        });
    });
}

// ---- Edge linking -------------------------------------------------------------------------

long long squared_distance(const Point& a, const Point& b) {
    const long long dz = a.z - b.z, dy = a.y - b.y, dx = a.x - b.x;
    return dz * dz + dy * dy + dx * dx;
}

// The unvisited neighbour of p to step to (p itself when there is none): first those that come
// closer to the end, among them the strongest, then the nearest the end, then the first in the
// order dz, dy, dx.
Point link_step(UC*** v, UC*** visited, const Voi& voi, Point p, Point end, int threshold) {
    const long long here = squared_distance(p, end);
    Point best = p;
    bool best_closer = false;
    int best_value = -1;
    long long best_distance = 0;
    for (int dz = -1; dz <= 1; ++dz)
        for (int dy = -1; dy <= 1; ++dy)
            for (int dx = -1; dx <= 1; ++dx) {
                const Point n{p.z + dz, p.y + dy, p.x + dx};
                if (!inside(voi, n.z, n.y, n.x) || visited[n.z - voi.z1][n.y - voi.y1][n.x - voi.x1])
                    continue;
                const int value = v[n.z][n.y][n.x];
                if (value < threshold) continue;
                const long long distance = squared_distance(n, end);
                const bool closer = distance < here;
                bool better = true;
                if (best_value >= 0)
                    better = closer != best_closer ? closer
                           : value != best_value   ? value > best_value
                                                   : distance < best_distance;
                if (better) {
                    best = n;
                    best_closer = closer;
                    best_value = value;
                    best_distance = distance;
                }
            }
    return best;
}

void drain(StackNode3d** stack) {
    while (*stack) pop_3d(stack);
}

// Depth-first search from start to end; the stack holds the current path.
int link_path(Volume* in, Volume* out, StackNode3d** stack, Point start, Point end, int threshold,
         UC*** visited) {
    UC*** v = in->data[0].uc;
    const Voi voi = voi_of(in);
    auto push = [&](Point p) {
        visited[p.z - voi.z1][p.y - voi.y1][p.x - voi.x1] = 1;
        return push_3d(stack, p.z, p.y, p.x, v[p.z][p.y][p.x]);
    };
    if (int s = push(start)) return s;
    while (*stack) {
        const StackRecord3d& top = (*stack)->rec;
        const Point p{top.z, top.y, top.x};
        if (p == end) {
            for (const StackNode3d* n = *stack; n; n = n->next)
                out->data[0].uc[n->rec.z][n->rec.y][n->rec.x] = 255;
            return kOk;
        }
        const Point next = link_step(v, visited, voi, p, end, threshold);
        if (next == p) {
            pop_3d(stack);  // a dead end: back up
        } else if (int s = push(next)) {
            drain(stack);
            return s;
        }
    }
    return kStackEmpty;
}

}  // namespace

namespace edges {

void sobel_plain(Volume* in, Volume* out) { plain_loop(in, out, inner_box(in, 1, 1, 1), sobel_at); }
void laplace_plain(Volume* in, Volume* out) {
    plain_loop(in, out, inner_box(in, 1, 1, 1), laplace_at);
}

}  // namespace edges
}  // namespace v3d

using namespace v3d;

extern "C" {

int Sobel_3D(Volume* in, Volume* out) {
    V3D_CHECK(check_pair(in, out, kUC, kGrey));
    const Box b = inner_box(in, 1, 1, 1);
    if (b.empty()) return kOk;
    if (in == out)
        edges::sobel_plain(in, out);
    else
        row_loop(in, out, b, sobel_row);
    return kOk;
}

int compas3d(Volume* in, Volume* out, int angle1, int angle2) {
    V3D_CHECK(check_pair(in, out, kUC, kGrey));
    CompassMask m;
    if (!compass_mask(angle1, angle2, &m)) return kInvalidParams;
    const Box b = inner_box(in, 1, 1, 1);
    if (b.empty()) return kOk;
    if (in == out)
        plain_loop(in, out, b, [&](UC*** v, int z, int y, int x) { return compass_at(m, v, z, y, x); });
    else
        row_loop(in, out, b, [&](const UC* const (&rows)[3][3], UC* dst, int x1, int x2) {
            compass_row(m, rows, dst, x1, x2);
        });
    return kOk;
}

int laplace_3d(Volume* in, Volume* out) {
    V3D_CHECK(check_pair(in, out, kUC, kGrey));
    const Box b = inner_box(in, 1, 1, 1);
    if (b.empty()) return kOk;
    if (in == out)
        edges::laplace_plain(in, out);
    else
        row_loop(in, out, b, laplace_row);
    return kOk;
}

int range_3d(Volume* in, Volume* out, int wz, int wy, int wx) {
    V3D_CHECK(check_pair(in, out, kUC, kGrey));
    auto odd = [](int w) { return w > 0 && (w & 1) == 1; };
    if (!odd(wz) || !odd(wy) || !odd(wx)) return kInvalidWindow;
    const int hz = wz / 2, hy = wy / 2, hx = wx / 2;
    const Box b = inner_box(in, hz, hy, hx);
    if (b.empty()) return kOk;
    if (in == out || 2 * hx >= kChunk) {
        plain_loop(in, out, b,
                   [&](UC*** v, int z, int y, int x) { return range_at(v, z, y, x, hz, hy, hx); });
        return kOk;
    }
    UC*** src = in->data[0].uc;
    UC*** dst = out->data[0].uc;
    parallel_for(b.z1, b.z2, [&](int z) {
        for (int y = b.y1; y < b.y2; ++y) range_row(src, dst[z][y], z, y, b, hz, hy, hx);
    });
    return kOk;
}

int edge_follow_3d(Volume* in, Volume* out, int z, int y, int x, int maxdiff, int threshold,
                   int weight) {
    V3D_CHECK(CheckVolume(in, kUC, kGrey));
    V3D_CHECK(CheckVolume(out, kUC, kGrey));
    if (smaller_than(out, in)) return kBadOutputDims;
    const Voi voi = voi_of(in);
    if (!inside(voi, z, y, x)) return kInvalidParams;
    if (maxdiff < 0 || threshold < 0 || weight < 0) return kInvalidParams;
    UC*** v = in->data[0].uc;
    if (v[z][y][x] < threshold) return kInvalidParams;

    Point cur{z, y, x}, prev = cur;
    for (long long step = 0; step < voi.count(); ++step) {
        out->data[0].uc[cur.z][cur.y][cur.x] = 255;
        const int cv = v[cur.z][cur.y][cur.x];
        v[cur.z][cur.y][cur.x] = 0;
        const Point next = follow_step(v, voi, cur, cv, prev, maxdiff, threshold, weight);
        if (next == cur) break;
        cur = next;
    }
    return kOk;
}

int Hough_3D(Volume* in, Volume* out, Volume* acc, int threshold) {
    V3D_CHECK(CheckVolume(in, kUC, kGrey));
    V3D_CHECK(CheckVolume(out, kUC, kGrey));
    V3D_CHECK(CheckVolume(acc, kI, kGrey));
    if (CheckIfUCBinary(in) != 1) return kNotBinary;
    if (smaller_than(out, in)) return kBadOutputDims;
    if (threshold < 0) return kInvalidParams;
    // tables of accY + 1 azimuths and accZ + 1 elevations, each spaced by its entry count less
    // one: azimuth j is j * 180 / accY - 90 degrees, elevation k is k * 180 / accZ - 90; the
    // votes use the first accY and accZ entries
    const long long n_az = static_cast<long long>(acc->Y) + 1, n_el = static_cast<long long>(acc->Z) + 1;
    HoughSpace s;
    s.cos_az = make_buffer<float>(static_cast<size_t>(n_az));
    s.sin_az = make_buffer<float>(static_cast<size_t>(n_az));
    s.cos_el = make_buffer<float>(static_cast<size_t>(n_el));
    s.sin_el = make_buffer<float>(static_cast<size_t>(n_el));
    if (!s.cos_az || !s.sin_az || !s.cos_el || !s.sin_el) return kNoBuffer;
    if (!fill_angle_table(s.cos_az.get(), s.sin_az.get(), n_az) ||
        !fill_angle_table(s.cos_el.get(), s.sin_el.get(), n_el))
        return kInvalidParams;
    s.d = std::sqrt(static_cast<double>(in->Z) * in->Z + static_cast<double>(in->X) * in->X +
                    static_cast<double>(in->Y) * in->Y);
    s.cells = acc->X;

    SurvivingPlanes planes;
    if (!planes.allocate(static_cast<std::size_t>(acc->Z) * acc->Y)) return kNoBuffer;

    hough_vote(in, acc, s, threshold);
    planes.collect(acc, s);
    hough_back_project(in, out, acc, s, planes);
    return kOk;
}

int modedg3d(Volume* in, Volume* out, StackNode3d** stack, int sz, int sy, int sx, int ez,
             int ey, int ex, int threshold) {
    V3D_CHECK(CheckVolume(in, kUC, kGrey));
    V3D_CHECK(CheckVolume(out, kUC, kGrey));
    if (smaller_than(out, in)) return kBadOutputDims;
    if (!stack) return kNullBasicPointer;
    if (*stack) return kStackNotEmpty;
    const Voi voi = voi_of(in);
    if (!inside(voi, sz, sy, sx) || !inside(voi, ez, ey, ex)) return kInvalidParams;
    if (threshold < 0) return kInvalidParams;
    UC*** v = in->data[0].uc;
    if (v[sz][sy][sx] < threshold || v[ez][ey][ex] < threshold) return kInvalidParams;
    OwnedVolume visited;
    V3D_CHECK(visited.create(voi.nz(), voi.ny(), voi.nx(), kUC, kGrey));
    return link_path(in, out, stack, {sz, sy, sx}, {ez, ey, ex}, threshold, visited->data[0].uc);
}

}  // extern "C"
