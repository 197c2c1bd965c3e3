// Resizing and interpolation: integer replication and decimation, nearest-neighbour and
// trilinear resampling, resampling along Z, and the insertion of frames between frames (empty,
// blended grey, shape-interpolated binary) with the per-frame object fill.
//
// Every function reads the input's VOI and writes from the destination origin (dz, dy, dx);
// the rest of the output is left as it was.
#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>

#include "core/common.h"
#include "core/parallel.h"
#include "ops/simd.h"

namespace v3d {
namespace {

using Row = unsigned char*;

// UC input and output, any colour type, equal colour types.
int check_resampling(Volume* in, Volume* out) {
    V3D_CHECK(CheckVolume(in, kUC, kAnyColor));
    V3D_CHECK(CheckVolume(out, kUC, kAnyColor));
    if (in->colortype != out->colortype) return kBadOutputColor;
    return kOk;
}

// Grey UC input and output (their colour types are then equal).
int check_frames(Volume* in, Volume* out) {
    V3D_CHECK(CheckVolume(in, kUC, kGrey));
    V3D_CHECK(CheckVolume(out, kUC, kGrey));
    return kOk;
}

bool origins_ok(int dz, int dy, int dx) { return dz >= 0 && dy >= 0 && dx >= 0; }

// Does a run of n voxels from origin fit in an axis of size dim?
bool run_fits(long long n, int origin, int dim) { return n + origin <= dim; }

// ---- integer replication and decimation ---------------------------------------------------

// Doubling: d[r][2x] = d[r][2x + 1] = s[x] for x < n into the rows d[0] .. d[rows - 1], 32 source
// bytes at a time held in a register for every row.
V3D_ROW_CLONES void double_row(unsigned char* const* d, int rows, const unsigned char* s, int n) {
    int x = 0;
#if defined(V3D_VECTORS)
    typedef uint8_t u8x32 __attribute__((vector_size(32)));
    typedef u8x32 u8x32_any __attribute__((aligned(1), may_alias));
    for (; x + 32 <= n; x += 32) {
        const u8x32 half = *reinterpret_cast<const u8x32_any*>(s + x);
        const simd::u8x64 both = __builtin_shufflevector(
            half, half, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 8, 8, 9, 9, 10, 10, 11, 11, 12, 12, 13,
            13, 14, 14, 15, 15, 16, 16, 17, 17, 18, 18, 19, 19, 20, 20, 21, 21, 22, 22, 23, 23, 24, 24, 25, 25,
            26, 26, 27, 27, 28, 28, 29, 29, 30, 30, 31, 31);
        for (int r = 0; r < rows; ++r) simd::store64(d[r] + 2 * x, both);
    }
#endif
    for (; x < n; ++x)
        for (int r = 0; r < rows; ++r) d[r][2 * x] = d[r][2 * x + 1] = s[x];
}

void replicate(Volume* in, Volume* out, int f, int dz, int dy, int dx) {
    const Voi r = voi_of(in);
    for_each_channel(in, [&](int c) {
        unsigned char*** src = voxels<unsigned char>(in, c);
        unsigned char*** dst = voxels<unsigned char>(out, c);
        parallel_for(r.z1, r.z2, [&](int z) {
            const int oz = dz + f * (z - r.z1);
            for (int y = r.y1; y < r.y2; ++y) {
                const int oy = dy + f * (y - r.y1);
                const unsigned char* s = src[z][y] + r.x1;
                unsigned char* first = dst[oz][oy] + dx;
                if (f == 2) {  // the commonest factor writes its four rows at once
                    unsigned char* const block[4] = {first, dst[oz][oy + 1] + dx, dst[oz + 1][oy] + dx,
                                                     dst[oz + 1][oy + 1] + dx};
                    double_row(block, 4, s, r.nx());
                    continue;
                }
                for (int x = 0; x < r.nx(); ++x) std::memset(first + f * x, s[x], f);
                const size_t bytes = static_cast<size_t>(f) * r.nx();
                for (int a = 0; a < f; ++a)
                    for (int b = 0; b < f; ++b)
                        if (a || b) std::memcpy(dst[oz + a][oy + b] + dx, first, bytes);
            }
        });
    });
}

// Number of samples z1, z1 + f, ... below z2, no more than the room from the origin.
int decimated_count(int extent, int f, int origin, int dim) {
    const int samples = extent / f + (extent % f != 0);
    return std::min(samples, dim - origin);
}

void decimate(Volume* in, Volume* out, int f, int dz, int dy, int dx) {
    const Voi r = voi_of(in);
    const int nz = decimated_count(r.nz(), f, dz, out->Z);
    const int ny = decimated_count(r.ny(), f, dy, out->Y);
    const int nx = decimated_count(r.nx(), f, dx, out->X);
    for_each_channel(in, [&](int c) {
        unsigned char*** src = voxels<unsigned char>(in, c);
        unsigned char*** dst = voxels<unsigned char>(out, c);
        parallel_for(0, nz, [&](int a) {
            for (int b = 0; b < ny; ++b) {
                const unsigned char* s = src[r.z1 + a * f][r.y1 + b * f] + r.x1;
                unsigned char* d = dst[dz + a][dy + b] + dx;
                for (int t = 0; t < nx; ++t) d[t] = s[static_cast<long long>(t) * f];
            }
        });
    });
}

// ---- resampling by real factors -----------------------------------------------------------

// One axis of a resampling: the source run [first, first + extent) and the target run of
// count voxels from origin.
struct Axis {
    int first, extent, origin, count;
    int last() const { return first + extent - 1; }
};

// The three axes (z, y, x) of a resampling in the given mode, or the status of its checks.
int resampling_axes(Volume* in, Volume* out, int mode, const float factor[3], const int origin[3],
                    Axis axes[3]) {
    const Voi r = voi_of(in);
    const int first[3] = {r.z1, r.y1, r.x1}, extent[3] = {r.nz(), r.ny(), r.nx()};
    const int dim[3] = {out->Z, out->Y, out->X};
    if (mode != 0) {
        for (int a = 0; a < 3; ++a) axes[a] = {first[a], extent[a], 0, dim[a]};
        return kOk;
    }
    for (int a = 0; a < 3; ++a)
        if (!finite_real(factor[a]) || !(factor[a] > 0.0f) || origin[a] < 0) return kInvalidParams;
    for (int a = 0; a < 3; ++a) {
        const float target = static_cast<float>(extent[a]) * factor[a];  // single precision
        if (!(target < 2147483647.0f)) return kBadOutputDims;
        const long long count = static_cast<long long>(target);
        if (!run_fits(count, origin[a], dim[a])) return kBadOutputDims;
        axes[a] = {first[a], extent[a], origin[a], static_cast<int>(count)};
    }
    return kOk;
}

// Source index of every target voxel: first + n / step rounded half up, the step
// (count - 1) / (extent - 1) in single precision (the largest float for a one-voxel extent).
void nearest_table(const Axis& a, int* table) {
    const float step = a.extent < 2 ? FLT_MAX
                                     : static_cast<float>(a.count - 1) / static_cast<float>(a.extent - 1);
    for (int n = 0; n < a.count; ++n) {
        const float q = step > 0.0f ? static_cast<float>(n) / step : 0.0f;
        const int s = static_cast<int>(a.first + 0.5 + static_cast<double>(q));
        table[n] = std::min(s, a.last());
    }
}

// Source neighbours and the upper weight of every target voxel of a trilinear resampling:
// position first + n * ((extent - 1) - 0.1) / (count - 1).
struct LinearTable {
    std::unique_ptr<int[]> lo, hi;
    std::unique_ptr<float[]> w;
    bool make(const Axis& a) {
        lo = make_buffer<int>(a.count);
        hi = make_buffer<int>(a.count);
        w = make_buffer<float>(a.count);
        if (!lo || !hi || !w) return false;
        const double inc = a.extent < 2 || a.count < 2 ? 0.0 : ((a.extent - 1) - 0.1) / (a.count - 1);
        for (int n = 0; n < a.count; ++n) {
            const double pos = n * inc;
            const int j = std::min(static_cast<int>(pos), a.extent - 1);
            lo[n] = a.first + j;
            hi[n] = std::min(a.first + j + 1, a.last());
            w[n] = static_cast<float>(pos - j);
        }
        return true;
    }
};

// (1 - w) a + w b in single precision, the order every trilinear blend here uses.
inline float lerp(float a, float b, float w) { return (1.0f - w) * a + w * b; }

V3D_ROW_CLONES void lerp_rows(const float* __restrict a, const float* __restrict b, float w, float* __restrict out,
                              int n) {
    const float v = 1.0f - w;
    for (int i = 0; i < n; ++i) out[i] = v * a[i] + w * b[i];
}

// A source row blended along x: row[i] = lerp(s[lo[i]], s[hi[i]], w[i]). Built plainly: the
// wide builds gather the bytes through vector gathers, slower than scalar loads on processors
// with slow gathers (downsampling, where this blend is most of the work, lost a quarter).
void lerp_gathered(float* __restrict row, const unsigned char* __restrict s, const int* __restrict lo,
                   const int* __restrict hi, const float* __restrict w, int n) {
    for (int i = 0; i < n; ++i) row[i] = lerp(s[lo[i]], s[hi[i]], w[i]);
}

// The blend of the two planes' rows at weight w, converted to UC: the integer part of the
// value plus 0.5, limited to 0..255.
V3D_ROW_CLONES void lerp_to_uc(unsigned char* __restrict d, const float* __restrict a, const float* __restrict b,
                               float w, int n) {
    const float v = 1.0f - w;
    for (int i = 0; i < n; ++i) {
        const float r = (v * a[i] + w * b[i]) + 0.5f;
        d[i] = static_cast<unsigned char>(static_cast<int>(r > 0.0f ? (r < 255.0f ? r : 255.0f) : 0.0f));
    }
}

// Trilinear resampling of one channel over output frames [n1, n2). The blend runs along x,
// then y, then z; a plane holds one source frame blended along x and y for every target row
// and column, and the two planes of the current source frames are kept while the target
// frames advance.
class TrilinearChunk {
public:
    bool make(const Axis& ay, const Axis& ax) {
        const size_t plane = static_cast<size_t>(ay.count) * ax.count;
        rows_ = make_buffer<float>(static_cast<size_t>(ay.extent) * ax.count);
        planes_[0] = make_buffer<float>(plane);
        planes_[1] = make_buffer<float>(plane);
        return rows_ && planes_[0] && planes_[1];
    }

    void run(unsigned char*** src, unsigned char*** dst, const Axis* axes, const LinearTable* t,
             int n1, int n2) {
        const Axis &az = axes[0], &ay = axes[1], &ax = axes[2];
        frame_of_[0] = frame_of_[1] = -1;
        for (int n = n1; n < n2; ++n) {
            const float* lo = plane(src, axes, t, t[0].lo[n]);
            const float* hi = plane(src, axes, t, t[0].hi[n]);
            for (int m = 0; m < ay.count; ++m) {
                const size_t at = static_cast<size_t>(m) * ax.count;
                lerp_to_uc(dst[az.origin + n][ay.origin + m] + ax.origin, lo + at, hi + at, t[0].w[n], ax.count);
            }
        }
    }

private:
    // The plane of source frame z, computed unless one of the two kept planes holds it.
    const float* plane(unsigned char*** src, const Axis* axes, const LinearTable* t, int z) {
        for (int k = 0; k < 2; ++k)
            if (frame_of_[k] == z) return planes_[k].get();
        const int k = frame_of_[0] == z - 1 ? 1 : 0;  // keep the frame just below
        const Axis &ay = axes[1], &ax = axes[2];
        for (int y = 0; y < ay.extent; ++y)
            lerp_gathered(rows_.get() + static_cast<size_t>(y) * ax.count, src[z][ay.first + y], t[2].lo.get(),
                          t[2].hi.get(), t[2].w.get(), ax.count);
        float* p = planes_[k].get();
        for (int m = 0; m < ay.count; ++m) {
            const float* a = rows_.get() + static_cast<size_t>(t[1].lo[m] - ay.first) * ax.count;
            const float* b = rows_.get() + static_cast<size_t>(t[1].hi[m] - ay.first) * ax.count;
            lerp_rows(a, b, t[1].w[m], p + static_cast<size_t>(m) * ax.count, ax.count);
        }
        frame_of_[k] = z;
        return p;
    }

    std::unique_ptr<float[]> rows_, planes_[2];
    int frame_of_[2] = {-1, -1};
};

// ---- resampling along Z -------------------------------------------------------------------

// floor(num / den + 0.5) for non-negative integers.
inline int rounded_ratio(long long num, long long den) {
    return static_cast<int>((2 * num + den) / (2 * den));
}

// How the target frames of a resampling along Z come from the input frames. An integral factor
// puts input frame j on target frame j * step and blends the frames between exactly; another
// factor blends the two input frames around n / ((target - 1) / ((frames - 1) - 0.1)) by their
// distances. (A factor of 0, a one-frame whole output, takes the second way.)
class FramePlan {
public:
    struct Blend {
        int j;          // the input frame before
        long long i;    // integral: i / step of the way to frame j + 1
        double t;       // otherwise: the weight of frame j + 1
        int next() const { return i != 0 || t > 0.0 ? 1 : 0; }
    };

    FramePlan(float fz, int frames, long long target)
        : integral_(fz >= 1.0f && fz == std::floor(fz)),
          step_(integral_ ? static_cast<long long>(fz) : 0),
          factor_((target - 1) / ((frames - 1) - 0.1)),
          frames_(frames) {}

    Blend blend(long long n) const {
        if (integral_) {
            const int j = static_cast<int>(n / step_);
            if (j >= frames_ - 1) return {frames_ - 1, 0, 0.0};  // a factor rounded to an integer
            return {j, n % step_, 0.0};
        }
        const double pos = factor_ > 0.0 ? n / factor_ : 0.0;
        const int j = std::min(static_cast<int>(pos), frames_ - 2);
        return {j, 0, pos - j};
    }

    void blend_row(const Blend& b, const unsigned char* a, const unsigned char* c, unsigned char* d,
                   int n) const {
        if (integral_) {
            for (int x = 0; x < n; ++x)
                d[x] = static_cast<unsigned char>(rounded_ratio((step_ - b.i) * a[x] + b.i * c[x], step_));
        } else {
            for (int x = 0; x < n; ++x)
                d[x] = static_cast<unsigned char>((1.0 - b.t) * a[x] + b.t * c[x] + 0.5);
        }
    }

private:
    bool integral_;
    long long step_;
    double factor_;
    int frames_;
};

// ---- frame insertion ----------------------------------------------------------------------

// The checks shared by the frame-insertion functions after the volume checks: k in its range
// and the origins (-90), then room for k (frames - 1) + 1 frames and the VOI's rows and
// columns (-520).
int check_insertion(Volume* in, Volume* out, int k, bool k_ok, int dz, int dy, int dx) {
    if (!k_ok || !origins_ok(dz, dy, dx)) return kInvalidParams;
    const Voi r = voi_of(in);
    if (!run_fits(static_cast<long long>(k) * (r.nz() - 1) + 1, dz, out->Z) ||
        !run_fits(r.ny(), dy, out->Y) || !run_fits(r.nx(), dx, out->X))
        return kBadOutputDims;
    return kOk;
}

// Input frame j to output frame dz + k j, for every j.
void copy_frames(Volume* in, Volume* out, int k, int dz, int dy, int dx) {
    const Voi r = voi_of(in);
    for (int j = 0; j < r.nz(); ++j)
        for (int y = 0; y < r.ny(); ++y)
            std::memcpy(out->data[0].uc[dz + k * j][dy + y] + dx, in->data[0].uc[r.z1 + j][r.y1 + y] + r.x1,
                        r.nx());
}

// Sum and count of the 3 x 3 neighbourhood of (y, x) clipped to an ny x nx frame.
struct Neighbourhood {
    int sum, count;
};
Neighbourhood clipped_sum(unsigned char** rows, int x0, int ny, int nx, int y, int x) {
    Neighbourhood n{0, 0};
    for (int v = std::max(0, y - 1); v <= std::min(ny - 1, y + 1); ++v)
        for (int u = std::max(0, x - 1); u <= std::min(nx - 1, x + 1); ++u) {
            n.sum += rows[v][x0 + u];
            ++n.count;
        }
    return n;
}

// Is (y, x) a junction: two or more 0 -> non-zero steps around its eight neighbours?
bool is_junction(unsigned char** rows, int x0, int y, int x) {
    static const int dy[8] = {-1, -1, -1, 0, 1, 1, 1, 0};
    static const int dx[8] = {-1, 0, 1, 1, 1, 0, -1, -1};
    int steps = 0;
    for (int i = 0; i < 8; ++i) {
        const int j = (i + 1) & 7;
        if (rows[y + dy[i]][x0 + x + dx[i]] == 0 && rows[y + dy[j]][x0 + x + dx[j]] != 0) ++steps;
    }
    return steps >= 2;
}

// The work image of the per-frame object fill: reached marks and a queue of pixels.
struct FillWork {
    std::unique_ptr<unsigned char[]> reached;
    std::unique_ptr<int[]> queue;
    bool make(int ny, int nx) {
        const size_t n = static_cast<size_t>(ny) * nx;
        reached = make_buffer<unsigned char>(n);
        queue = make_buffer<int>(n);
        return reached && queue;
    }
};

// Fills the objects of one ny x nx frame: src rows from column sx, dst rows from column dx.
// The background is flooded (4-connected) from the frame's border through 0-pixels; every
// pixel not reached becomes 255, every pixel reached 0. src and dst may be the same frame.
void fill_objects(unsigned char** src, int sx, unsigned char** dst, int dx, int ny, int nx,
                  FillWork& work) {
    unsigned char* reached = work.reached.get();
    int* queue = work.queue.get();
    std::memset(reached, 0, static_cast<size_t>(ny) * nx);
    int tail = 0;
    auto visit = [&](int y, int x) {
        const int at = y * nx + x;
        if (!reached[at] && src[y][sx + x] == 0) {
            reached[at] = 1;
            queue[tail++] = at;
        }
    };
    for (int x = 0; x < nx; ++x) {
        visit(0, x);
        visit(ny - 1, x);
    }
    for (int y = 0; y < ny; ++y) {
        visit(y, 0);
        visit(y, nx - 1);
    }
    for (int head = 0; head < tail; ++head) {
        const int y = queue[head] / nx, x = queue[head] % nx;
        if (y > 0) visit(y - 1, x);
        if (y + 1 < ny) visit(y + 1, x);
        if (x > 0) visit(y, x - 1);
        if (x + 1 < nx) visit(y, x + 1);
    }
    for (int y = 0; y < ny; ++y)
        for (int x = 0; x < nx; ++x) dst[y][dx + x] = reached[y * nx + x] ? 0 : 255;
}

// The rows of frame z from row y0 on.
unsigned char** frame_rows(Volume* v, int z, int y0) { return v->data[0].uc[z] + y0; }

// The k - 1 binary frames between input frames j and j + 1, written after output frame
// dz + k j, over the pixels inside the frame's one-pixel border.
void interpolate_binary_pair(Volume* in, Volume* out, int j, int k, int dz, int dy, int dx) {
    const Voi r = voi_of(in);
    unsigned char** a = frame_rows(in, r.z1 + j, r.y1);
    unsigned char** b = frame_rows(in, r.z1 + j + 1, r.y1);
    for (int y = 1; y + 1 < r.ny(); ++y)
        for (int x = 1; x + 1 < r.nx(); ++x) {
            const int va = a[y][r.x1 + x], vb = b[y][r.x1 + x];
            int fixed = -1;  // the value of every new frame, when one value settles them all
            if (va == vb) {
                fixed = va;
            } else {
                const bool ja = is_junction(a, r.x1, y, x), jb = is_junction(b, r.x1, y, x);
                if (ja && jb) fixed = 0;
                else if (jb) fixed = vb;
                else if (ja) fixed = va;
            }
            int sa = 0, sb = 0;
            if (fixed < 0) {
                sa = clipped_sum(a, r.x1, r.ny(), r.nx(), y, x).sum;
                sb = clipped_sum(b, r.x1, r.ny(), r.nx(), y, x).sum;
            }
            for (int i = 1; i < k; ++i) {
                // mean of ((k - i) A + i B) / k over the 9 pixels above 140
                const int v = fixed >= 0 ? fixed : ((k - i) * sa + i * sb > 140 * 9 * k ? 255 : 0);
                out->data[0].uc[dz + k * j + i][dy + y][dx + x] = static_cast<unsigned char>(v);
            }
        }
}

}  // namespace
}  // namespace v3d

using namespace v3d;

extern "C" {

int zoom3d(Volume* in, Volume* out, int f, int dz, int dy, int dx) {
    V3D_CHECK(check_resampling(in, out));
    if (f < 1 || !origins_ok(dz, dy, dx)) return kInvalidParams;
    const Voi r = voi_of(in);
    if (!run_fits(static_cast<long long>(f) * r.nz(), dz, out->Z) ||
        !run_fits(static_cast<long long>(f) * r.ny(), dy, out->Y) ||
        !run_fits(static_cast<long long>(f) * r.nx(), dx, out->X))
        return kBadOutputDims;
    OwnedVolume copy;
    Volume* source;
    V3D_CHECK(separate_input(in, out, copy, source));
    replicate(source, out, f, dz, dy, dx);
    return kOk;
}

int decim3(Volume* in, Volume* out, int f, int dz, int dy, int dx) {
    V3D_CHECK(check_resampling(in, out));
    if (f < 1 || !origins_ok(dz, dy, dx)) return kInvalidParams;
    const Voi r = voi_of(in);
    // the bound counts E / f samples although ceil(E / f) are taken
    if (!run_fits(r.nz() / f, dz, out->Z) || !run_fits(r.ny() / f, dy, out->Y) ||
        !run_fits(r.nx() / f, dx, out->X))
        return kBadOutputDims;
    OwnedVolume copy;
    Volume* source;
    V3D_CHECK(separate_input(in, out, copy, source));
    decimate(source, out, f, dz, dy, dx);
    return kOk;
}

int InterpolationNearestNeighbor3d(Volume* in, Volume* out, int mode, float fz, float fy, float fx,
                                   int dz, int dy, int dx) {
    V3D_CHECK(check_resampling(in, out));
    const float factor[3] = {fz, fy, fx};
    const int origin[3] = {dz, dy, dx};
    Axis axes[3];
    V3D_CHECK(resampling_axes(in, out, mode, factor, origin, axes));
    std::unique_ptr<int[]> table[3];
    for (int a = 0; a < 3; ++a) {
        table[a] = make_buffer<int>(axes[a].count);
        if (!table[a]) return kNoBuffer;
        nearest_table(axes[a], table[a].get());
    }
    OwnedVolume copy;
    Volume* source;
    V3D_CHECK(separate_input(in, out, copy, source));
    const Axis &az = axes[0], &ay = axes[1], &ax = axes[2];
    for_each_channel(in, [&](int c) {
        unsigned char*** src = voxels<unsigned char>(source, c);
        unsigned char*** dst = voxels<unsigned char>(out, c);
        parallel_for(0, az.count, [&](int n) {
            for (int m = 0; m < ay.count; ++m) {
                const unsigned char* s = src[table[0][n]][table[1][m]];
                unsigned char* d = dst[az.origin + n][ay.origin + m] + ax.origin;
                for (int i = 0; i < ax.count; ++i) d[i] = s[table[2][i]];
            }
        });
    });
    return kOk;
}

int InterpolationLinear3d(Volume* in, Volume* out, int mode, float fz, float fy, float fx, int dz,
                          int dy, int dx) {
    V3D_CHECK(check_resampling(in, out));
    const float factor[3] = {fz, fy, fx};
    const int origin[3] = {dz, dy, dx};
    Axis axes[3];
    V3D_CHECK(resampling_axes(in, out, mode, factor, origin, axes));
    if (axes[0].count == 0 || axes[1].count == 0 || axes[2].count == 0) return kOk;
    LinearTable tables[3];
    for (int a = 0; a < 3; ++a)
        if (!tables[a].make(axes[a])) return kNoBuffer;
    // target frames split into one run per thread, each with its own planes
    const int chunks = std::max(1, std::min(thread_count(), axes[0].count / 8));
    std::unique_ptr<TrilinearChunk[]> work(new (std::nothrow) TrilinearChunk[chunks]);
    if (!work) return kNoBuffer;
    for (int i = 0; i < chunks; ++i)
        if (!work[i].make(axes[1], axes[2])) return kNoBuffer;
    OwnedVolume copy;
    Volume* source;
    V3D_CHECK(separate_input(in, out, copy, source));
    for_each_channel(in, [&](int c) {
        unsigned char*** src = voxels<unsigned char>(source, c);
        unsigned char*** dst = voxels<unsigned char>(out, c);
        const long long n = axes[0].count;
        parallel_for(0, chunks, [&](int i) {
            work[i].run(src, dst, axes, tables, static_cast<int>(n * i / chunks),
                        static_cast<int>(n * (i + 1) / chunks));
        });
    });
    return kOk;
}

int InterpolationFrameLinear3d(Volume* in, Volume* out, int mode, float fz, int dz, int dy, int dx) {
    V3D_CHECK(check_resampling(in, out));
    const Voi r = voi_of(in);
    if (r.nz() == 1) return kBadInputDims;
    long long target;
    if (mode == 0) {
        if (!finite_real(fz) || !(fz > 0.0f) || !origins_ok(dz, dy, dx)) return kInvalidParams;
        const double frames = fz == std::floor(fz) ? (r.nz() - 1) * static_cast<double>(fz) + 1
                                                   : static_cast<float>(r.nz()) * fz;
        if (!(frames < 2147483647.0)) return kBadOutputDims;
        target = static_cast<long long>(frames);
    } else {
        target = out->Z;
        dz = dy = dx = 0;
        fz = static_cast<float>(out->Z - 1) / static_cast<float>(r.nz() - 1);
    }
    if (!run_fits(target, dz, out->Z) || !run_fits(r.ny(), dy, out->Y) ||
        !run_fits(r.nx(), dx, out->X))
        return kBadOutputDims;
    OwnedVolume copy;
    Volume* source;
    V3D_CHECK(separate_input(in, out, copy, source));
    const FramePlan plan(fz, r.nz(), target);
    for_each_channel(in, [&](int c) {
        unsigned char*** src = voxels<unsigned char>(source, c);
        unsigned char*** dst = voxels<unsigned char>(out, c);
        parallel_for(0, static_cast<int>(target), [&](int n) {
            const FramePlan::Blend b = plan.blend(n);
            for (int y = 0; y < r.ny(); ++y)
                plan.blend_row(b, src[r.z1 + b.j][r.y1 + y] + r.x1,
                               src[r.z1 + b.j + b.next()][r.y1 + y] + r.x1, dst[dz + n][dy + y] + dx,
                               r.nx());
        });
    });
    return kOk;
}

int FrameZeroPadding(Volume* in, Volume* out, int k, int dz, int dy, int dx) {
    V3D_CHECK(check_frames(in, out));
    V3D_CHECK(check_insertion(in, out, k, k >= 2, dz, dy, dx));
    OwnedVolume copy;
    Volume* source;
    V3D_CHECK(separate_input(in, out, copy, source));
    copy_frames(source, out, k, dz, dy, dx);
    const Voi r = voi_of(in);
    for (int j = 0; j + 1 < r.nz(); ++j)
        for (int i = 1; i < k; ++i)
            for (int y = 0; y < r.ny(); ++y)
                std::memset(out->data[0].uc[dz + k * j + i][dy + y] + dx, 0, r.nx());
    return kOk;
}

int FrameInterpolationGrayscale(Volume* in, Volume* out, int k, int dz, int dy, int dx) {
    V3D_CHECK(check_frames(in, out));
    V3D_CHECK(check_insertion(in, out, k, k == 2 || k == 3, dz, dy, dx));
    OwnedVolume copy;
    Volume* source;
    V3D_CHECK(separate_input(in, out, copy, source));
    copy_frames(source, out, k, dz, dy, dx);
    const Voi r = voi_of(source);
    for (int j = 0; j + 1 < r.nz(); ++j) {
        unsigned char** a = frame_rows(source, r.z1 + j, r.y1);
        unsigned char** b = frame_rows(source, r.z1 + j + 1, r.y1);
        for (int y = 0; y < r.ny(); ++y)
            for (int x = 0; x < r.nx(); ++x) {
                const Neighbourhood na = clipped_sum(a, r.x1, r.ny(), r.nx(), y, x);
                const Neighbourhood nb = clipped_sum(b, r.x1, r.ny(), r.nx(), y, x);
                for (int i = 1; i < k; ++i)  // mean of ((k - i) A + i B) / k, rounded half up
                    out->data[0].uc[dz + k * j + i][dy + y][dx + x] = static_cast<unsigned char>(
                        rounded_ratio((k - i) * na.sum + i * nb.sum, static_cast<long long>(k) * na.count));
            }
    }
    return kOk;
}

int FrameInterpolationBinary(Volume* in, Volume* out, int k, int dz, int dy, int dx, int fill) {
    V3D_CHECK(check_frames(in, out));
    V3D_CHECK(check_insertion(in, out, k, (k == 2 || k == 3) && (fill == 0 || fill == 1), dz, dy, dx));
    if (CheckIfUCBinary(in) == 0) return kNotBinary;
    const Voi r = voi_of(in);
    FillWork work;
    if (fill && !work.make(r.ny(), r.nx())) return kNoBuffer;
    OwnedVolume copy;
    Volume* source;
    V3D_CHECK(separate_input(in, out, copy, source));
    copy_frames(source, out, k, dz, dy, dx);
    for (int j = 0; j + 1 < r.nz(); ++j) {
        interpolate_binary_pair(source, out, j, k, dz, dy, dx);
        if (!fill) continue;
        for (int i = 1; i < k; ++i) {
            unsigned char** rows = frame_rows(out, dz + k * j + i, dy);
            fill_objects(rows, dx, rows, dx, r.ny(), r.nx(), work);
        }
    }
    return kOk;
}

int FrameContourObjectFill(Volume* in, Volume* out) {
    V3D_CHECK(check_frames(in, out));
    if (smaller_than(out, in)) return kBadOutputDims;
    const Voi r = voi_of(in);
    FillWork work;
    if (!work.make(r.ny(), r.nx())) return kNoBuffer;
    for (int z = r.z1; z < r.z2; ++z)
        fill_objects(frame_rows(in, z, r.y1), r.x1, frame_rows(out, z, r.y1), r.x1, r.ny(), r.nx(),
                     work);
    return kOk;
}

}  // extern "C"
