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
    return kOk;
}

bool Rays::ray(int r, int c, Ray& out) const {
    const double u = c - (W_ - 1) / 2.0, v = (H_ - 1) / 2.0 - r;
    double t0 = 0, t1 = length_ - 1;
    for (int k = 0; k < 3; ++k) {
        const double p = centre_[k] + u * view_.col[k] + v * view_.up[k] +
                         static_cast<double>(first_) * view_.d[k];
        const double s = std::floor(p + 0.5);
        out.s[k] = static_cast<float>(s);
        // offsets along this axis that can truncate into the box, with a voxel to spare
        const double lo = box_.lo[k] - 1 - s, hi = box_.hi[k] + 1 - s;
        const double dk = view_.d[k];
        if (std::fabs(dk) * length_ < 0.5) {  // the ray stays within half a voxel of s
            if (lo > 0 || hi < 0) return false;
            continue;
        }
        double a = lo / dk, b = hi / dk;
        if (a > b) std::swap(a, b);
        t0 = std::max(t0, std::floor(a) - 1);
        t1 = std::min(t1, std::ceil(b) + 1);
    }
    if (t0 > t1) return false;
    out.t0 = static_cast<int>(t0);
    out.t1 = static_cast<int>(t1);
    return true;
}

namespace {

// The checks and set-up every projection shares, in their order: the input, the image
// pointers (-1), sizes and parameters (-90), the sample tables (-9). empty: trimming found
// nothing to draw.
int prepare(Volume* in, Image2d image, int H, int W, bool params_ok, int azimuth, int elevation,
            int trim, Rays& rays, bool& empty, const double* scale = nullptr) {
    V3D_CHECK(CheckVolume(in, kUC, kAnyColor));
    if (!image_present(image, channels(in))) return kNullImage;
    if (H < 1 || W < 1 || !params_ok) return kInvalidParams;
    Box box;
    empty = !render_box(in, trim, box);
    return rays.setup(box, view_of(azimuth, elevation), H, W, scale);
}

// Calls f(r, c, ray) for every pixel whose ray meets the box; rows in parallel.
template <class F> void for_each_ray(const Rays& rays, int H, int W, F&& f) {
    parallel_for(0, H, [&](int r) {
        Ray ray;
        for (int c = 0; c < W; ++c)
            if (rays.ray(r, c, ray)) f(r, c, ray);
    });
}

// Calls f with std::integral_constant<int, 1> or <int, 3>, the channel count of in, so that the
// per-sample loops are compiled for each.
template <class F> void with_channels(const Volume* in, F&& f) {
    if (channels(in) == 1) f(std::integral_constant<int, 1>{});
    else f(std::integral_constant<int, 3>{});
}

// The channels' voxel arrays.
struct Channels {
    unsigned char*** v[3];
    explicit Channels(const Volume* in) {
        for (int c = 0; c < 3; ++c) v[c] = c < channels(in) ? in->data[c].uc : nullptr;
    }
};

// Is sample (z, y, x) above the threshold on some channel?
template <int N>
bool above(const Channels& ch, const unsigned char* threshold, int z, int y, int x) {
    for (int c = 0; c < N; ++c)
        if (ch.v[c][z][y][x] > threshold[c]) return true;
    return false;
}

// One pixel of the picture, on every channel.
struct Pixel {
    Image2d image;
    int r, c;
    void set(int k, unsigned char v) const { image[k][r][c] = v; }
};

// The compositing rules, one ray each. The last sample above the threshold wins: walk back.
template <int N>
void last_above(const Rays& rays, const Ray& ray, const Channels& ch,
                const unsigned char* threshold, const Pixel& px) {
    rays.walk<true>(ray, [&](int z, int y, int x, int) {
        if (!above<N>(ch, threshold, z, y, x)) return false;
        for (int k = 0; k < N; ++k) px.set(k, ch.v[k][z][y][x]);
        return true;
    });
}

template <int N> void silhouette(const Rays& rays, const Ray& ray, const Channels& ch, const Pixel& px) {
    static const unsigned char zero[3] = {0, 0, 0};
    rays.walk(ray, [&](int z, int y, int x, int) {
        if (!above<N>(ch, zero, z, y, x)) return false;
        for (int k = 0; k < N; ++k) px.set(k, 255);
        return true;
    });
}

// Single-precision sums of the samples inside the box, divided by their number, truncated.
template <int N> void mean(const Rays& rays, const Ray& ray, const Channels& ch, const Pixel& px) {
    float sum[N] = {};
    int count = 0;
    rays.walk(ray, [&](int z, int y, int x, int) {
        for (int k = 0; k < N; ++k) sum[k] += ch.v[k][z][y][x];
        ++count;
        return false;
    });
    if (count > 0)
        for (int k = 0; k < N; ++k)
            px.set(k, static_cast<unsigned char>(sum[k] / static_cast<float>(count)));
}

template <int N> void maximum(const Rays& rays, const Ray& ray, const Channels& ch, const Pixel& px) {
    unsigned char best[N] = {};
    rays.walk(ray, [&](int z, int y, int x, int) {
        for (int k = 0; k < N; ++k) best[k] = std::max(best[k], ch.v[k][z][y][x]);
        return false;
    });
    for (int k = 0; k < N; ++k) px.set(k, best[k]);
}

enum class Rule { Threshold, Mean, Max, Silhouette };

// The pictures made of one walk per ray, without a picture-wide pass.
template <Rule rule>
int composite(Volume* in, Image2d image, int H, int W, int az, int el, int trim,
              const unsigned char* threshold, bool params_ok = true, const double* scale = nullptr) {
    Rays rays;
    bool empty;
    V3D_CHECK(prepare(in, image, H, W, params_ok, az, el, trim, rays, empty, scale));
    clear_image(image, channels(in), H, W);
    if (empty) return kOk;
    const Channels ch(in);
    with_channels(in, [&](auto n) {
        constexpr int N = decltype(n)::value;
        for_each_ray(rays, H, W, [&](int r, int c, const Ray& ray) {
            const Pixel px{image, r, c};
            if constexpr (rule == Rule::Threshold) last_above<N>(rays, ray, ch, threshold, px);
            else if constexpr (rule == Rule::Silhouette) silhouette<N>(rays, ray, ch, px);
            else if constexpr (rule == Rule::Mean) mean<N>(rays, ray, ch, px);
            else maximum<N>(rays, ray, ch, px);
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

void depth_pass(const Volume* in, const Rays& rays, int H, int W,
                const unsigned char* threshold, Depths& d) {
    const Channels ch(in);
    with_channels(in, [&](auto n) {
        constexpr int N = decltype(n)::value;
        for_each_ray(rays, H, W, [&](int r, int c, const Ray& ray) {
            rays.walk(ray, [&](int z, int y, int x, int t) {
                if (!above<N>(ch, threshold, z, y, x)) return false;
                d.depth[r][c] = t + 1;
                if (d.colour[0])
                    for (int k = 0; k < N; ++k) d.colour[k][r][c] = ch.v[k][z][y][x];
                return true;
            });
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
    bool empty;
    V3D_CHECK(prepare(in, image, H, W, threshold != nullptr, az, el, trim, rays, empty, scale));
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
    depth_pass(in, rays, H, W, threshold, d);
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
    bool empty;
    V3D_CHECK(prepare(in, image, H, W, true, az, el, trim, rays, empty, scale));
    OwnedVolume depth;
    V3D_CHECK(depth.create(1, H, W, kI, kGrey));
    const int n = channels(in);
    clear_image(image, n, H, W);
    if (empty) return kOk;
    static const unsigned char zero[3] = {0, 0, 0};
    Depths d;
    d.depth = depth->data[0].i[0];
    depth_pass(in, rays, H, W, zero, d);
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
        bool empty;
        return prepare(in, image, H, W, false, azimuth, elevation, trim, unused, empty);
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
