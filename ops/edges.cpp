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

// The parameter space: angle tables, the diagonal D and the number of distance cells.
struct HoughSpace {
    std::unique_ptr<float[]> cos_az, sin_az, cos_el, sin_el;
    double d = 0;
    int cells = 0;

    // The distance cell of voxel (z, y, x) for elevation k and azimuth j (may lie outside
    // 0..cells-1). Voting and back-projection share this one formula.
    int cell(int k, int j, int z, int y, int x) const {
        const double r = (static_cast<double>(cos_el[k]) * z +
                          (static_cast<double>(cos_az[j]) * y + static_cast<double>(sin_az[j]) * x) *
                              static_cast<double>(sin_el[k]) +
                          d) /
                         (2.0 * d);
        return static_cast<int>(std::floor(r * (cells - 1) + 0.5));
    }
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

void hough_vote(Volume* in, Volume* acc, const HoughSpace& s) {
    int*** a = acc->data[0].i;
    for (int k = 0; k < acc->Z; ++k)
        for (int j = 0; j < acc->Y; ++j) std::fill(a[k][j], a[k][j] + acc->X, 0);
    UC*** v = in->data[0].uc;
    for (int z = 0; z < in->Z; ++z)
        for (int y = 0; y < in->Y; ++y)
            for (int x = 0; x < in->X; ++x) {
                if (v[z][y][x] != 255) continue;
                for (int k = 0; k < acc->Z; ++k)
                    for (int j = 0; j < acc->Y; ++j) {
                        const int c = s.cell(k, j, z, y, x);
                        if (c >= 0 && c < acc->X) ++a[k][j][c];
                    }
            }
}

// Traces the plane of cell (k, j, c) through row (z, y): the columns whose distance cell is c.
void hough_trace_row(Volume* in, Volume* out, const HoughSpace& s, int k, int j, int c, int z,
                     int y) {
    const int X = in->X;
    // cell value before flooring, as a function of the column: v0 + slope * x
    const double scale = (s.cells - 1) / (2.0 * s.d);
    const double slope = static_cast<double>(s.sin_az[j]) * s.sin_el[k] * scale;
    const double v0 = (static_cast<double>(s.cos_el[k]) * z +
                       static_cast<double>(s.cos_az[j]) * y * s.sin_el[k] + s.d) * scale + 0.5;
    double lo = 0, hi = X - 1;
    if (std::fabs(slope) * (X - 1) >= 0.5) {  // not parallel to the column axis
        double a = (c - v0) / slope, b = (c + 1 - v0) / slope;
        if (a > b) std::swap(a, b);
        lo = std::max(lo, std::floor(a + 0.5) - 1);
        hi = std::min(hi, std::floor(b + 0.5) + 1);
    }
    const UC* src = in->data[0].uc[z][y];
    UC* dst = out->data[0].uc[z][y];
    for (int x = static_cast<int>(lo); x <= hi; ++x)
        if (src[x] == 255 && s.cell(k, j, z, y, x) == c) dst[x] = 255;
}

// The rows [y1, y2] of frame z that the plane of cell (k, j, c) may cross inside 0..X-1
// (y1 > y2 when none): the cell value, linear in the row and the column, must reach
// [c, c + 1) somewhere along the row (give or take far more than rounding can move it).
void hough_rows(const HoughSpace& s, int k, int j, int c, int z, int Y, int X, int* y1, int* y2) {
    const double scale = (s.cells - 1) / (2.0 * s.d);
    const double per_row = static_cast<double>(s.cos_az[j]) * s.sin_el[k] * scale;
    const double along_row = static_cast<double>(s.sin_az[j]) * s.sin_el[k] * scale * (X - 1);
    const double base = (static_cast<double>(s.cos_el[k]) * z + s.d) * scale + 0.5;
    // per_row * y must lie in [lo, hi]
    constexpr double kSlack = 1e-6;
    const double lo = c - kSlack - base - std::max(0.0, along_row);
    const double hi = c + 1 + kSlack - base - std::min(0.0, along_row);
    *y1 = 0;
    *y2 = Y - 1;
    if (std::fabs(per_row) < 1e-12) {  // the same for every row
        if (lo > 0 || hi < 0) *y2 = -1;
        return;
    }
    double a = lo / per_row, b = hi / per_row;
    if (a > b) std::swap(a, b);
    if (a > *y1) *y1 = a > Y ? Y : static_cast<int>(std::floor(a));
    if (b < *y2) *y2 = b < -1 ? -1 : static_cast<int>(std::ceil(b));
}

void hough_back_project(Volume* in, Volume* out, Volume* acc, const HoughSpace& s) {
    for (int z = 0; z < out->Z; ++z)
        for (int y = 0; y < out->Y; ++y) std::memset(out->data[0].uc[z][y], 0, out->X);
    int*** a = acc->data[0].i;
    for (int k = 0; k < acc->Z; ++k)
        for (int j = 0; j < acc->Y; ++j)
            for (int c = 0; c < acc->X; ++c) {
                if (a[k][j][c] != 1) continue;
                for (int z = 0; z < in->Z; ++z) {
                    int y1 = 0, y2 = 0;
                    hough_rows(s, k, j, c, z, in->Y, in->X, &y1, &y2);
                    for (int y = y1; y <= y2; ++y) hough_trace_row(in, out, s, k, j, c, z, y);
                }
            }
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

    hough_vote(in, acc, s);
    int*** a = acc->data[0].i;
    for (int k = 0; k < acc->Z; ++k)
        for (int j = 0; j < acc->Y; ++j)
            for (int c = 0; c < acc->X; ++c) a[k][j][c] = a[k][j][c] >= threshold ? 1 : 0;
    hough_back_project(in, out, acc, s);
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
