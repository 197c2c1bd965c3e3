// The frame gallery: the frames of the VOI as a grid of scaled tiles in one picture.
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>

#include "core/common.h"
#include "core/parallel.h"

namespace v3d {
namespace {

// Where one tile coordinate samples its frame: between source indices i0 and i1 (i1 = i0 + 1
// or the last index) with weight w on i1; w = 0 for nearest neighbour.
struct Tap {
    int i0, i1;
    double w;
};

// The taps of a tile extent T over a source extent E (> 1) starting at first: the ends of the
// source fall on the ends of the tile.
std::unique_ptr<Tap[]> taps(int T, int E, int first, bool linear) {
    auto out = make_buffer<Tap>(static_cast<size_t>(T));
    if (!out) return out;
    for (int j = 0; j < T; ++j) {
        const double p = T > 1 ? static_cast<double>(j) * (E - 1) / (T - 1) : 0.0;
        int i = linear ? static_cast<int>(std::floor(p)) : static_cast<int>(std::floor(p + 0.5));
        i = std::min(i, E - 1);
        const double w = linear ? p - i : 0.0;
        out[j] = {first + i, first + std::min(i + 1, E - 1), w};
    }
    return out;
}

struct Layout {
    int TW, TH, R, tiles;
};

// The grid's checks after the volume checks: -521 for a VOI one row or column wide, -520 for
// tiles below 25 pixels or no tile row.
int layout_of(const Voi& v, const Volume* out, int n, double aspect, Layout& g) {
    if (v.ny() == 1 || v.nx() == 1) return kBadInputDims;
    g.TW = out->X / n;
    const double th = static_cast<double>(v.ny()) / v.nx() * g.TW * aspect;
    g.TH = th >= INT_MAX ? INT_MAX : static_cast<int>(th);
    if (g.TW < 25 || g.TH < 25) return kBadOutputDims;
    g.R = out->Y / g.TH;
    if (g.R < 1) return kBadOutputDims;
    g.tiles = static_cast<int>(std::min<long long>(v.nz(), static_cast<long long>(n) * g.R));
    return kOk;
}

void draw_tiles(Volume* in, unsigned char** const* frame, int n, const Layout& g, const Tap* ty,
                const Tap* tx) {
    const Voi v = voi_of(in);
    parallel_for(0, g.tiles, [&](int k) {
        const int top = (k / n) * g.TH, left = (k % n) * g.TW;
        for_each_channel(in, [&](int c) {
            unsigned char** src = in->data[c].uc[v.z1 + k];
            for (int i = 0; i < g.TH; ++i) {
                const unsigned char* a = src[ty[i].i0];
                const unsigned char* b = src[ty[i].i1];
                unsigned char* row = frame[c][top + i] + left;
                for (int j = 0; j < g.TW; ++j) {
                    const Tap& t = tx[j];
                    const double upper = a[t.i0] + t.w * (a[t.i1] - a[t.i0]);
                    const double lower = b[t.i0] + t.w * (b[t.i1] - b[t.i0]);
                    row[j] = clamp_round_uc(upper + ty[i].w * (lower - upper));
                }
            }
        });
    });
}

}  // namespace
}  // namespace v3d

using namespace v3d;

extern "C" int ProduceFrameGallery3d(Volume* in, Volume* out, int n, int method) {
    return ProduceFrameGallery3dAspect(in, out, n, method, 1.0);
}

extern "C" int ProduceFrameGallery3dAspect(Volume* in, Volume* out, int n, int method, double aspect) {
    V3D_CHECK(CheckVolume(in, kUC, kAnyColor));
    V3D_CHECK(CheckVolume(out, kUC, kAnyColor));
    if (out->colortype != in->colortype) return kBadOutputColor;
    if (n < 1 || !finite_real(aspect) || aspect <= 0.0) return kInvalidParams;
    const Voi v = voi_of(in);
    Layout g;
    V3D_CHECK(layout_of(v, out, n, aspect, g));
    const bool linear = method != 0;
    const auto ty = taps(g.TH, v.ny(), v.y1, linear);
    const auto tx = taps(g.TW, v.nx(), v.x1, linear);
    if (!ty || !tx) return kNoBuffer;
    // Drawn into a scratch frame when the input is the output, whose frame 0 may be a tile.
    OwnedVolume scratch;
    Volume* target = out;
    if (in == out) {
        V3D_CHECK(scratch.create(1, out->Y, out->X, kUC, out->colortype));
        target = scratch.get();
    }
    unsigned char** frame[3] = {};
    for_each_channel(out, [&](int c) {
        frame[c] = target->data[c].uc[0];
        for (int y = 0; y < out->Y; ++y) std::memset(frame[c][y], 0, static_cast<size_t>(out->X));
    });
    draw_tiles(in, frame, n, g, ty.get(), tx.get());
    if (target != out)
        for_each_channel(out, [&](int c) {
            for (int y = 0; y < out->Y; ++y)
                std::memcpy(out->data[c].uc[0][y], frame[c][y], static_cast<size_t>(out->X));
        });
    return kOk;
}
