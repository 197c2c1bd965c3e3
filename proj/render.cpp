// Projection renderers: threshold, mean, maximum, binary and shaded-surface pictures of the VOI
// of a UC volume seen from any direction. Each picture row is independent, so rows are
// rendered in parallel and the result does not depend on the thread count.
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <type_traits>

#include "core/common.h"
#include "core/parallel.h"
#include "proj/rays.h"

namespace v3d::proj {

void clear_image(Image2d image, int channels, int H, int W) {
    for (int c = 0; c < channels; ++c)
        for (int r = 0; r < H; ++r) std::memset(image[c][r], 0, static_cast<size_t>(W));
}

namespace {

// The first and last non-zero voxel of a row within [x1, x2); false when it has none.
bool row_extent(const unsigned char* row, int x1, int x2, int& first, int& last) {
    int a = x1;
    while (a < x2 && row[a] == 0) ++a;
    if (a == x2) return false;
    int b = x2 - 1;
    while (row[b] == 0) --b;
    first = a;
    last = b;
    return true;
}

}  // namespace

bool render_box(const Volume* in, int trim, Box& box) {
    const Voi v = voi_of(in);
    box = {{v.z1, v.y1, v.x1}, {v.z2, v.y2, v.x2}};
    if (trim != 1) return true;
    int lo[3] = {INT_MAX, INT_MAX, INT_MAX}, hi[3] = {INT_MIN, INT_MIN, INT_MIN};
    for_each_voi_row(in, [&](int c, int z, int y) {
        int first, last;
        if (!row_extent(in->data[c].uc[z][y], v.x1, v.x2, first, last)) return;
        lo[0] = std::min(lo[0], z), hi[0] = std::max(hi[0], z);
        lo[1] = std::min(lo[1], y), hi[1] = std::max(hi[1], y);
        lo[2] = std::min(lo[2], first), hi[2] = std::max(hi[2], last);
    });
    if (lo[0] == INT_MAX) return false;
    for (int k = 0; k < 3; ++k) box.lo[k] = lo[k], box.hi[k] = hi[k] + 1;
    return true;
}

namespace {

// floor(x) for |x| < 2^62, without the library call of the baseline instruction set.
double floor_of(double x) {
    const double t = static_cast<double>(static_cast<long long>(x));
    return t > x ? t - 1.0 : t;
}

}  // namespace

int Rays::setup(const Box& box, const View& view, int H, int W, const double* scale) {
    static const double kCubes[3] = {1.0, 1.0, 1.0};
    const double* s = scale ? scale : kCubes;
    box_ = box;
    H_ = H;
    W_ = W;
    for (int k = 0; k < 3; ++k) {
        view_.d[k] = static_cast<float>(view.d[k] / s[k]);
        view_.col[k] = static_cast<float>(view.col[k] / s[k]);
        view_.up[k] = static_cast<float>(view.up[k] / s[k]);
    }
    // The extent of the box along the rays, measured from its centre, with a voxel to spare
    // on every side (ray starts are rounded to whole voxels); distances in the scaled space.
    double tmin = 0, tmax = 0;
    for (int k = 0; k < 3; ++k) {
        centre_[k] = (box.lo[k] + box.hi[k] - 1) / 2.0;
        const double a = view.d[k] * s[k] * (box.lo[k] - 1 - centre_[k]);
        const double b = view.d[k] * s[k] * (box.hi[k] + 1 - centre_[k]);
        tmin += std::min(a, b);
        tmax += std::max(a, b);
    }
    first_ = static_cast<long long>(std::floor(tmin)) - 1;
    const long long length = static_cast<long long>(std::ceil(tmax)) - first_ + 2;
    if (length > INT_MAX / 4) return kNoBuffer;
    length_ = static_cast<int>(length);
    for (int k = 0; k < 3; ++k) {
        off_[k] = make_buffer<float>(static_cast<size_t>(length_));
        if (!off_[k]) return kNoBuffer;
        for (int t = 0; t < length_; ++t) off_[k][t] = static_cast<float>(t) * view_.d[k];
    }
    // Per axis, where s + offset crosses the bounds of the box as t grows: a truncated
    // coordinate is at least v >= 1 from v on and at least 0 from above -1 on.
    double smallest = 1.0;
    for (int k = 0; k < 3; ++k) {
        const float d = view_.d[k];
        auto crossing = [](int bound) { return bound == 0 ? -1.0 : static_cast<double>(bound); };
        sign_[k] = d > 0 ? 1 : (d < 0 ? -1 : 0);
        if (!sign_[k]) continue;
        inverse_d_[k] = 1.0 / d;
        // in keys sign * coordinate, which grow with t: entering at key >= enter, leaving at
        // key >= leave (coordinate < hi is -coordinate >= 1 - hi)
        enter_[k] = d > 0 ? box.lo[k] : 1 - box.hi[k];
        leave_[k] = d > 0 ? box.hi[k] : 1 - box.lo[k];
        enter_at_[k] = crossing(d > 0 ? box.lo[k] : box.hi[k]);
        leave_at_[k] = crossing(d > 0 ? box.hi[k] : box.lo[k]);
        smallest = std::min(smallest, std::fabs(static_cast<double>(d)));
    }
    // Estimates miss the exact crossings by far less than this many samples (the rounding of
    // offsets and sums is below 1e-3 voxels): an axis whose estimate lies further inside than
    // another's cannot bound the run.
    margin_ = 3.0 + 0.01 / smallest;
    return kOk;
}

int Rays::first_at_least(const Ray& ray, int k, int key, double estimate) const {
    const double e = std::clamp(estimate, 0.0, static_cast<double>(length_));
    int t = static_cast<int>(e);
    t += t < e;  // ceil(e), e >= 0
    auto reached = [&](int at) { return sign_[k] * coord(ray, k, at) >= key; };
    while (t > 0 && reached(t - 1)) --t;
    while (t < length_ && !reached(t)) ++t;
    return t;
}

bool Rays::ray(int r, int c, Ray& out) const {
    const double u = c - (W_ - 1) / 2.0, v = (H_ - 1) / 2.0 - r;
    for (int k = 0; k < 3; ++k) {
        const double p = centre_[k] + u * view_.col[k] + v * view_.up[k] +
                         static_cast<double>(first_) * view_.d[k];
        out.s[k] = static_cast<float>(floor_of(p + 0.5));
    }
    // Along each axis a sample's voxel coordinate is monotonic in t (the offsets are rounded
    // products of t and a fixed direction, the sums rounded, the results truncated), so the
    // samples inside the box form one run [t0, t1]: it starts where the last axis enters the
    // box and ends before the first leaves it, found from estimates by exact steps.
    double enter[3], leave[3];
    double last_enter = 0, first_leave = length_;
    for (int k = 0; k < 3; ++k) {
        if (!sign_[k]) {  // the same coordinate all along
            const int at = coord(out, k, 0);
            if (at < box_.lo[k] || at >= box_.hi[k]) return false;
            continue;
        }
        enter[k] = (enter_at_[k] - out.s[k]) * inverse_d_[k];
        leave[k] = (leave_at_[k] - out.s[k]) * inverse_d_[k];
        last_enter = std::max(last_enter, enter[k]);
        first_leave = std::min(first_leave, leave[k]);
    }
    if (last_enter > first_leave + margin_) return false;
    int t0 = 0, t1 = length_ - 1;
    for (int k = 0; k < 3; ++k) {
        if (!sign_[k]) continue;
        if (enter[k] + margin_ >= last_enter) t0 = std::max(t0, first_at_least(out, k, enter_[k], enter[k]));
        if (leave[k] - margin_ <= first_leave)
            t1 = std::min(t1, first_at_least(out, k, leave_[k], leave[k]) - 1);
    }
    if (t0 > t1) return false;
    out.t0 = t0;
    out.t1 = t1;
    return true;
}

namespace {

#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__) && defined(__linux__)
#define V3D_SIMD_CLONES __attribute__((target_clones("avx2", "default")))
#else
#define V3D_SIMD_CLONES
#endif

// Where the renderers read a sample's voxel. Volumes made by CreateVolume hold each frame as
// one array of rows, so a sample is read at its frame's first voxel plus y * X + x, the frame
// and offset computed for a block of samples at a time in vector lanes. Other row layouts (or
// frames beyond 2^31 voxels) are read through the row pointers, one sample at a time.
class Frames {
public:
    // -9 when the frame table cannot be allocated.
    int setup(const Volume* in, const Box& box) {
        n_ = channels(in);
        X_ = in->X;
        lo_ = box.lo[0];
        const int nz = box.hi[0] - box.lo[0];
        flat_ = static_cast<long long>(box.hi[1]) * in->X <= INT_MAX;
        for (int c = 0; c < n_ && flat_; ++c)
            for (int z = box.lo[0]; z < box.hi[0] && flat_; ++z) {
                unsigned char* const* rows = in->data[c].uc[z];
                for (int y = box.lo[1]; y < box.hi[1] && flat_; ++y)
                    flat_ = rows[y] == rows[0] + static_cast<std::size_t>(y) * in->X;
            }
        if (!flat_) return kOk;
        table_ = make_buffer<const unsigned char*>(static_cast<std::size_t>(n_) * nz);
        if (!table_) return kNoBuffer;
        for (int c = 0; c < n_; ++c)
            for (int z = 0; z < nz; ++z) table_[static_cast<std::size_t>(c) * nz + z] = in->data[c].uc[lo_ + z][0];
        for (int c = 0; c < n_; ++c) frame_[c] = table_.get() + static_cast<std::size_t>(c) * nz;
        return kOk;
    }
    bool flat() const { return flat_; }
    int first_frame() const { return lo_; }
    int X() const { return X_; }
    // Channel c's voxel at frame z (counted from the box's first) and offset y * X + x.
    unsigned char at(int c, int z, int offset) const { return frame_[c][z][offset]; }

private:
    int n_ = 1, X_ = 0, lo_ = 0;
    bool flat_ = false;
    std::unique_ptr<const unsigned char*[]> table_;
    const unsigned char* const* frame_[3] = {};
};

// The frames (counted from first_frame) and offsets y * X + x of n consecutive samples of a ray
// that lie inside the box; o* point at the offsets of the first. Vectorised.
V3D_SIMD_CLONES void sample_places(const float* oz, const float* oy, const float* ox, float sz,
                                   float sy, float sx, int first_frame, int X, int n, int* zs,
                                   int* offsets) {
    for (int i = 0; i < n; ++i) {
        const int z = static_cast<int>(sz + oz[i]);
        const int y = static_cast<int>(sy + oy[i]);
        const int x = static_cast<int>(sx + ox[i]);
        zs[i] = z - first_frame;
        offsets[i] = y * X + x;
    }
}

// The channels' voxel arrays.
struct Channels {
    unsigned char*** v[3];
    explicit Channels(const Volume* in) {
        for (int c = 0; c < 3; ++c) v[c] = c < channels(in) ? in->data[c].uc : nullptr;
    }
};

// A block of consecutive samples of one ray: value[c][i] is sample t + i on channel c.
constexpr int kBlock = 64;
template <int N> struct Samples {
    int t, n;
    unsigned char value[N][kBlock];
};

// Hands the samples of ray inside the box to rule.block(samples) a block at a time, in order
// of increasing t (the blocks in decreasing order when Backwards), until it returns true.
template <bool Backwards, int N, class Rule>
void trace(const Rays& rays, const Ray& ray, const Frames& frames, const Channels& ch, Rule& rule) {
    int zs[kBlock], offsets[kBlock];
    Samples<N> b;
    for (int done = 0, total = ray.t1 - ray.t0 + 1; done < total; done += kBlock) {
        b.n = std::min(kBlock, total - done);
        b.t = Backwards ? ray.t1 - done - b.n + 1 : ray.t0 + done;
        if (frames.flat()) {
            sample_places(rays.offsets(0) + b.t, rays.offsets(1) + b.t, rays.offsets(2) + b.t,
                          ray.s[0], ray.s[1], ray.s[2], frames.first_frame(), frames.X(), b.n,
                          zs, offsets);
            for (int c = 0; c < N; ++c) {
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC unroll 4
#endif
                for (int i = 0; i < b.n; ++i) b.value[c][i] = frames.at(c, zs[i], offsets[i]);
            }
        } else {
            for (int i = 0; i < b.n; ++i) {
                const int z = rays.coord(ray, 0, b.t + i), y = rays.coord(ray, 1, b.t + i),
                          x = rays.coord(ray, 2, b.t + i);
                for (int c = 0; c < N; ++c) b.value[c][i] = ch.v[c][z][y][x];
            }
        }
        if (rule.block(b)) return;
    }
}

// The checks and set-up every projection shares, in their order: the input, the image
// pointers (-1), sizes and parameters (-90), the sample tables and the frame table (-9).
// empty: trimming found nothing to draw.
int prepare(Volume* in, Image2d image, int H, int W, bool params_ok, int azimuth, int elevation,
            int trim, Rays& rays, Frames& frames, bool& empty, const double* scale = nullptr) {
    V3D_CHECK(CheckVolume(in, kUC, kAnyColor));
    if (!image_present(image, channels(in))) return kNullImage;
    if (H < 1 || W < 1 || !params_ok) return kInvalidParams;
    Box box;
    empty = !render_box(in, trim, box);
    V3D_CHECK(rays.setup(box, view_of(azimuth, elevation), H, W, scale));
    return frames.setup(in, box);
}

// Calls f(r, c, ray) for every pixel whose ray meets the box. The pixels go by tiles, in
// parallel: the rays of a tile are neighbours, and the voxels one of them reads are still in
// the cache for the next (row by row, every ray would fetch its voxels afresh).
template <class F> void for_each_ray(const Rays& rays, int H, int W, F&& f) {
    constexpr int kTileRows = 8, kTileColumns = 32;
    const int across = (W + kTileColumns - 1) / kTileColumns;
    const int tiles = (H + kTileRows - 1) / kTileRows * across;
    parallel_for(0, tiles, [&](int tile) {
        const int r1 = tile / across * kTileRows, c1 = tile % across * kTileColumns;
        Ray ray;
        for (int r = r1; r < std::min(r1 + kTileRows, H); ++r)
            for (int c = c1; c < std::min(c1 + kTileColumns, W); ++c)
                if (rays.ray(r, c, ray)) f(r, c, ray);
    });
}

// Calls f with std::integral_constant<int, 1> or <int, 3>, the channel count of in, so that the
// per-sample loops are compiled for each.
template <class F> void with_channels(const Volume* in, F&& f) {
    if (channels(in) == 1) f(std::integral_constant<int, 1>{});
    else f(std::integral_constant<int, 3>{});
}

// One pixel of the picture, on every channel.
struct Pixel {
    Image2d image;
    int r, c;
    void set(int k, unsigned char v) const { image[k][r][c] = v; }
};

// ---- compositing rules: block(samples) sees the samples of one ray, true ends the ray ------

// Is sample i above the threshold on some channel?
template <int N> bool above(const Samples<N>& b, int i, const unsigned char* threshold) {
    for (int c = 0; c < N; ++c)
        if (b.value[c][i] > threshold[c]) return true;
    return false;
}

// The last sample above the threshold wins (rays are traced backwards for it).
template <int N> struct LastAbove {
    const unsigned char* threshold;
    unsigned char value[N] = {};
    bool block(const Samples<N>& b) {
        for (int i = b.n - 1; i >= 0; --i) {
            if (!above<N>(b, i, threshold)) continue;
            for (int k = 0; k < N; ++k) value[k] = b.value[k][i];
            return true;
        }
        return false;
    }
    void put(const Pixel& px) const { for (int k = 0; k < N; ++k) px.set(k, value[k]); }
};

// The first sample above the threshold: its 1-based index (0: none) and values.
template <int N> struct FirstAbove {
    const unsigned char* threshold;
    int depth = 0;
    unsigned char value[N] = {};
    bool block(const Samples<N>& b) {
        for (int i = 0; i < b.n; ++i) {
            if (!above<N>(b, i, threshold)) continue;
            depth = b.t + i + 1;
            for (int k = 0; k < N; ++k) value[k] = b.value[k][i];
            return true;
        }
        return false;
    }
};

// Any non-zero sample makes the pixel white.
template <int N> struct Silhouette {
    FirstAbove<N> first{kZero};
    bool block(const Samples<N>& b) { return first.block(b); }
    void put(const Pixel& px) const { for (int k = 0; k < N; ++k) px.set(k, first.depth ? 255 : 0); }
    static constexpr unsigned char kZero[3] = {0, 0, 0};
};

// Single-precision sums of the samples inside the box, divided by their number, truncated.
// Whole sums: while every partial sum stays below 2^24 the single-precision additions of
// whole values are exact, so an integer sum gives the same float.
template <int N, class Sum> struct Mean {
    Sum sum[N] = {};
    int count = 0;
    bool block(const Samples<N>& b) {
        for (int k = 0; k < N; ++k) {
            Sum s = sum[k];
            for (int i = 0; i < b.n; ++i) s += b.value[k][i];
            sum[k] = s;
        }
        count += b.n;
        return false;
    }
    void put(const Pixel& px) const {
        if (count > 0)
            for (int k = 0; k < N; ++k)
                px.set(k, static_cast<unsigned char>(static_cast<float>(sum[k]) / static_cast<float>(count)));
    }
};

template <int N> struct Maximum {
    unsigned char best[N] = {};
    bool block(const Samples<N>& b) {
        for (int k = 0; k < N; ++k) {
            unsigned char m = best[k];
            for (int i = 0; i < b.n; ++i) m = std::max(m, b.value[k][i]);
            best[k] = m;
        }
        return false;
    }
    void put(const Pixel& px) const { for (int k = 0; k < N; ++k) px.set(k, best[k]); }
};

enum class Rule { Threshold, Mean, Max, Silhouette };

// Does a sum of length values of at most 255 stay below 2^24?
bool whole_sums_exact(const Rays& rays) { return static_cast<long long>(rays.length()) * 255 < (1 << 24); }

// The pictures made of one walk per ray, without a picture-wide pass.
template <Rule rule>
int composite(Volume* in, Image2d image, int H, int W, int az, int el, int trim,
              const unsigned char* threshold, bool params_ok = true, const double* scale = nullptr) {
    Rays rays;
    Frames frames;
    bool empty;
    V3D_CHECK(prepare(in, image, H, W, params_ok, az, el, trim, rays, frames, empty, scale));
    clear_image(image, channels(in), H, W);
    if (empty) return kOk;
    const Channels ch(in);
    const bool whole = whole_sums_exact(rays);
    with_channels(in, [&](auto n) {
        constexpr int N = decltype(n)::value;
        for_each_ray(rays, H, W, [&](int r, int c, const Ray& ray) {
            const Pixel px{image, r, c};
            auto run = [&](auto&& rule_state, auto backwards) {
                trace<decltype(backwards)::value, N>(rays, ray, frames, ch, rule_state);
                rule_state.put(px);
            };
            if constexpr (rule == Rule::Threshold) run(LastAbove<N>{threshold}, std::true_type{});
            else if constexpr (rule == Rule::Silhouette) run(Silhouette<N>{}, std::false_type{});
            else if constexpr (rule == Rule::Max) run(Maximum<N>{}, std::false_type{});
            else if (whole) run(Mean<N, int>{}, std::false_type{});
            else run(Mean<N, float>{}, std::false_type{});
        });
    });
    return kOk;
}

// ---- depth-based pictures ------------------------------------------------------------------

// Per pixel the 1-based index of the first sample above the threshold (0: none), and with
// colour set also that sample's value per channel. dmin/dmax: the range of the non-zero depths
// (dmin > dmax when there are none).
struct Depths {
    int** depth = nullptr;
    unsigned char** colour[3] = {};
    int dmin = INT_MAX, dmax = 0;
};

void depth_pass(const Volume* in, const Rays& rays, const Frames& frames, int H, int W,
                const unsigned char* threshold, Depths& d) {
    const Channels ch(in);
    with_channels(in, [&](auto n) {
        constexpr int N = decltype(n)::value;
        for_each_ray(rays, H, W, [&](int r, int c, const Ray& ray) {
            FirstAbove<N> first{threshold};
            trace<false, N>(rays, ray, frames, ch, first);
            if (!first.depth) return;
            d.depth[r][c] = first.depth;
            if (d.colour[0])
                for (int k = 0; k < N; ++k) d.colour[k][r][c] = first.value[k];
        });
    });
    for (int r = 0; r < H; ++r)
        for (int c = 0; c < W; ++c)
            if (const int k = d.depth[r][c]) d.dmin = std::min(d.dmin, k), d.dmax = std::max(d.dmax, k);
}

// The mean over the adjacent neighbour pairs with a surface of 1 / sqrt(a^2 + b^2 + 1): the
// cosine between the view direction and the normal of the small triangle; 1 with no pair.
double shade_at(int** depth, int H, int W, int r, int c) {
    auto at = [&](int rr, int cc) {
        return rr < 0 || rr >= H || cc < 0 || cc >= W ? 0 : depth[rr][cc];
    };
    const int p = depth[r][c];
    const int around[4] = {at(r, c - 1), at(r - 1, c), at(r, c + 1), at(r + 1, c)};
    double sum = 0;
    int terms = 0;
    for (int i = 0; i < 4; ++i) {
        const int a = around[i], b = around[(i + 1) % 4];
        if (a == 0 || b == 0) continue;
        const double da = a - p, db = b - p;
        sum += 1.0 / std::sqrt(da * da + db * db + 1.0);
        ++terms;
    }
    return terms ? sum / terms : 1.0;
}

// Darkening with distance from the nearest surface: 1 there, 0.25 at the farthest.
double depth_cue(const Depths& d, int depth) {
    if (d.dmax <= d.dmin) return 1.0;
    return 1.0 - 0.75 * (depth - d.dmin) / (d.dmax - d.dmin);
}

unsigned char scaled(double v) { return clamp_uc(static_cast<int>(std::floor(v + 0.5))); }

int surface(Volume* in, Image2d image, int H, int W, int az, int el, int trim,
            const unsigned char* threshold, int depthcue, bool coloured, const double* scale = nullptr) {
    Rays rays;
    Frames frames;
    bool empty;
    V3D_CHECK(prepare(in, image, H, W, threshold != nullptr, az, el, trim, rays, frames, empty, scale));
    OwnedVolume depth, colour;
    V3D_CHECK(depth.create(1, H, W, kI, kGrey));
    if (coloured) V3D_CHECK(colour.create(1, H, W, kUC, in->colortype));
    const int n = channels(in);
    clear_image(image, n, H, W);
    if (empty) return kOk;
    Depths d;
    d.depth = depth->data[0].i[0];
    if (coloured)
        for (int k = 0; k < n; ++k) d.colour[k] = colour->data[k].uc[0];
    depth_pass(in, rays, frames, H, W, threshold, d);
    parallel_for(0, H, [&](int r) {
        for (int c = 0; c < W; ++c) {
            const int k = d.depth[r][c];
            if (k == 0) continue;
            const double light = shade_at(d.depth, H, W, r, c) * (depthcue ? depth_cue(d, k) : 1.0);
            for (int ch = 0; ch < n; ++ch)
                image[ch][r][c] = scaled(light * (coloured ? d.colour[ch][r][c] : 255));
        }
    });
    return kOk;
}

// Nearer set voxels brighter: 255 at the nearest depth of the picture, 55 at the farthest.
int depth_shaded_binary(Volume* in, Image2d image, int H, int W, int az, int el, int trim,
                        const double* scale) {
    Rays rays;
    Frames frames;
    bool empty;
    V3D_CHECK(prepare(in, image, H, W, true, az, el, trim, rays, frames, empty, scale));
    OwnedVolume depth;
    V3D_CHECK(depth.create(1, H, W, kI, kGrey));
    const int n = channels(in);
    clear_image(image, n, H, W);
    if (empty) return kOk;
    static const unsigned char zero[3] = {0, 0, 0};
    Depths d;
    d.depth = depth->data[0].i[0];
    depth_pass(in, rays, frames, H, W, zero, d);
    const int range = d.dmax - d.dmin;
    for (int r = 0; r < H; ++r)
        for (int c = 0; c < W; ++c) {
            const int k = d.depth[r][c];
            if (k == 0) continue;
            const unsigned char v = range > 0 ? scaled(255.0 - 200.0 * (k - d.dmin) / range) : 255;
            for (int ch = 0; ch < n; ++ch) image[ch][r][c] = v;
        }
    return kOk;
}

int binary(Volume* in, Image2d image, int H, int W, int az, int el, int trim, int param,
           const double* scale = nullptr) {
    if (param == 1) return depth_shaded_binary(in, image, H, W, az, el, trim, scale);
    return composite<Rule::Silhouette>(in, image, H, W, az, el, trim, nullptr, param == 0, scale);
}

// The voxel sizes in picture pixels: each spacing over the smallest; false for a spacing that
// is not a finite number above 0.
bool scale_of(double sz, double sy, double sx, double scale[3]) {
    const double s[3] = {sz, sy, sx};
    for (double v : s)
        if (!finite_real(v) || v <= 0.0) return false;
    const double least = std::min({sz, sy, sx});
    for (int k = 0; k < 3; ++k) scale[k] = s[k] / least;
    return true;
}

}  // namespace
}  // namespace v3d::proj

using namespace v3d;
using namespace v3d::proj;

extern "C" {

int Provoli2d(Volume* in, Image2d image, int H, int W, int angle, int trim,
              const unsigned char* threshold) {
    return Provoli3d(in, image, H, W, angle, 0, trim, threshold);
}

int Provoli3d(Volume* in, Image2d image, int H, int W, int azimuth, int elevation, int trim,
              const unsigned char* threshold) {
    return composite<Rule::Threshold>(in, image, H, W, azimuth, elevation, trim, threshold,
                                      threshold != nullptr);
}

int ProvoliAvrg2d(Volume* in, Image2d image, int H, int W, int angle, int trim) {
    return composite<Rule::Mean>(in, image, H, W, angle, 0, trim, nullptr);
}

int ProvoliAvrg3d(Volume* in, Image2d image, int H, int W, int azimuth, int elevation, int trim) {
    return composite<Rule::Mean>(in, image, H, W, azimuth, elevation, trim, nullptr);
}

int ProvoliMax2d(Volume* in, Image2d image, int H, int W, int angle, int trim) {
    return composite<Rule::Max>(in, image, H, W, angle, 0, trim, nullptr);
}

int ProvoliMax3d(Volume* in, Image2d image, int H, int W, int azimuth, int elevation, int trim) {
    return composite<Rule::Max>(in, image, H, W, azimuth, elevation, trim, nullptr);
}

int Provoli2dBinary(Volume* in, Image2d image, int H, int W, int angle, int trim, int param) {
    return binary(in, image, H, W, angle, 0, trim, param);
}

int Provoli3dBinary(Volume* in, Image2d image, int H, int W, int azimuth, int elevation,
                    int trim, int param) {
    return binary(in, image, H, W, azimuth, elevation, trim, param);
}

int Provoli3dSurface(Volume* in, Image2d image, int H, int W, int azimuth, int elevation,
                     int trim, const unsigned char* threshold, int depthcue) {
    return surface(in, image, H, W, azimuth, elevation, trim, threshold, depthcue, false);
}

int Provoli3dSurfaceColor(Volume* in, Image2d image, int H, int W, int azimuth, int elevation,
                          int trim, const unsigned char* threshold, int depthcue) {
    return surface(in, image, H, W, azimuth, elevation, trim, threshold, depthcue, true);
}

int ProvoliSpaced3d(Volume* in, Image2d image, int H, int W, int mode, int azimuth, int elevation,
                    int trim, const unsigned char* threshold, int param, double sz, double sy,
                    double sx) {
    double scale[3];
    if (!scale_of(sz, sy, sx, scale) || mode < V3D_PROVOLI_THRESHOLD || mode > V3D_PROVOLI_SURFACE_COLOR) {
        Rays unused;
        Frames no_frames;
        bool empty;
        return prepare(in, image, H, W, false, azimuth, elevation, trim, unused, no_frames, empty);
    }
    switch (mode) {
    case V3D_PROVOLI_THRESHOLD:
        return composite<Rule::Threshold>(in, image, H, W, azimuth, elevation, trim, threshold,
                                          threshold != nullptr, scale);
    case V3D_PROVOLI_MEAN:
        return composite<Rule::Mean>(in, image, H, W, azimuth, elevation, trim, nullptr, true, scale);
    case V3D_PROVOLI_MAX:
        return composite<Rule::Max>(in, image, H, W, azimuth, elevation, trim, nullptr, true, scale);
    case V3D_PROVOLI_BINARY: return binary(in, image, H, W, azimuth, elevation, trim, param, scale);
    default:
        return surface(in, image, H, W, azimuth, elevation, trim, threshold, param,
                       mode == V3D_PROVOLI_SURFACE_COLOR, scale);
    }
}

}  // extern "C"
