// The frame gallery (command 1315): the frames of a volume's VOI as tiles of one picture in a
// projection window of the gallery type, rendered again whenever the volume changes.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "app/command_table.h"
#include "app/projections.h"
#include "app/services.h"
#include "app/state.h"
#include "res/strings.h"

namespace app {
namespace {

// ProduceFrameGallery3d refuses tiles smaller than this.
constexpr int kMinTile = 25;
// A larger picture is not made (64 M pixels a channel).
constexpr long long kMaxPixels = 1LL << 26;
// The client width assumed when no window system tells one.
constexpr int kDefaultWidth = 1024;

// The tile height the library derives from a tile width: the frames' aspect ratio in their
// true proportions, truncated.
long long tile_height(int ey, int ex, long long tw, double aspect) {
    return static_cast<long long>(static_cast<double>(ey) / ex * static_cast<double>(tw) * aspect);
}

// Rows over columns of the frames' voxels: tiles keep the frames' true proportions.
double aspect_of(const Volume* vol) {
    double sz, sy, sx;
    if (GetVolumeSpacing(const_cast<Volume*>(vol), &sz, &sy, &sx) != 0) return 1.0;
    return sy / sx;
}

GalleryLayout layout_of(const Projection* p) {
    GalleryLayout layout;
    std::memcpy(&layout, p->user, sizeof layout);
    return layout;
}

// The options chosen last in this run are offered again.
GalleryLayout& last_layout() {
    static GalleryLayout layout;
    return layout;
}

bool ask_layout(GalleryLayout& layout) {
    OptionsRequest o;
    o.kind = OptionsKind::FrameGallery;
    o.factors[0] = std::to_string(last_layout().frames_per_row);
    o.choice = last_layout().method ? 1 : 0;
    if (!ui().ask_options(o)) return false;
    if (!parse_int(o.factors[0], layout.frames_per_row) || layout.frames_per_row < 1) {
        error_handler(V3D_ERR_INVALID_PARAMS);
        return false;
    }
    layout.method = o.choice;
    last_layout() = layout;
    return true;
}

// The buffer and record of vol's gallery, rendered; null (both freed) on any failure.
Projection* make_gallery(Volume* vol, const GalleryLayout& layout, Buffer*& buffer) {
    const ClientSize area = workspace() ? workspace()->projection_area() : ClientSize{};
    int W = 0, H = 0;
    buffer = nullptr;
    if (!gallery_picture_size(vol, layout.frames_per_row, area.width > 0 ? area.width : kDefaultWidth, W, H))
        return nullptr;
    buffer = CreateBuffer(vol->colortype, W, H);
    Projection* p = CreateProjection(gallery_projection_type(), vol, kGalleryUserArea);
    if (p) std::memcpy(p->user, &layout, sizeof layout);
    if (buffer && p && render_gallery(p, buffer) == 0) return p;
    DestroyBuffer(buffer);
    DestroyProjection(p);
    buffer = nullptr;
    return nullptr;
}

}  // namespace

static_assert(sizeof(GalleryLayout) <= kGalleryUserArea);

// Tiles keep the frames' own size while n of them fit across the client area, and shrink to
// fit it otherwise, down to the library's 25 pixels: a 64-frame 128 x 128 volume at 8 a row
// on a 1600 x 1000 screen gives 128-pixel tiles in a 1024 x 1024 picture (the window scrolls
// through the 8 rows). Tiles of very flat frames widen until they are 25 pixels high.
bool gallery_picture_size(const Volume* vol, int n, int width, int& W, int& H) {
    const int ex = vol->x2 - vol->x1, ey = vol->y2 - vol->y1, frames = vol->z2 - vol->z1;
    if (ex < 2 || ey < 2 || frames < 1 || n < 1) return false;
    const double aspect = aspect_of(vol);
    long long tw = std::max(kMinTile, std::min(ex, width / n));
    const double widest = std::ceil(kMinTile * ex / (ey * aspect));
    if (!(widest <= kMaxPixels)) return false;  // frames too flat in their proportions
    tw = std::max(tw, static_cast<long long>(widest));
    while (tile_height(ey, ex, tw, aspect) < kMinTile) ++tw;
    const long long rows = (frames + n - 1) / n;
    const long long w = tw * n, h = tile_height(ey, ex, tw, aspect) * rows;
    if (w > kMaxPixels || h > kMaxPixels || w * h > kMaxPixels) return false;
    W = static_cast<int>(w);
    H = static_cast<int>(h);
    return true;
}

int render_gallery(const Projection* p, Buffer* buffer) {
    if (!buffer || (buffer->colortype != V3D_COLOR_GREY && buffer->colortype != V3D_COLOR_RGB))
        return V3D_ERR_NULL_IMAGE;
    const GalleryLayout layout = layout_of(p);
    OwnedVolume frame(1, buffer->height, buffer->width, V3D_TYPE_UC, buffer->colortype);
    if (frame.status()) return frame.status();
    auto* vol = static_cast<Volume*>(p->source);
    if (const int status = ProduceFrameGallery3dAspect(vol, frame.get(), layout.frames_per_row, layout.method,
                                                       aspect_of(vol)))
        return status;
    const int channels = buffer->colortype == V3D_COLOR_RGB ? 3 : 1;
    for (int c = 0; c < channels; ++c)
        for (int y = 0; y < buffer->height; ++y)
            std::memcpy(buffer->image[c][y], frame->data[c].uc[0][y], static_cast<size_t>(buffer->width));
    return 0;
}

std::string gallery_title(int index) { return res::format(res::kGalleryTitle, index); }

// Volume, options, then the picture under the wait cursor; a picture that cannot be made is
// "Cannot allocate internal buffer" and leaves no window.
void frame_gallery(const CommandSpec&) {
    Volume* vol = select_to_display(V3D_COLOR_ANY);
    if (!vol) return;
    GalleryLayout layout;
    if (!ask_layout(layout)) return;
    WaitCursor wait;
    Buffer* buffer = nullptr;
    Projection* p = make_gallery(vol, layout, buffer);
    if (!p) {
        error_handler(res::kCannotAllocateBuffer);
        return;
    }
    // DisplayProjection has reported its failure; the records are still ours then
    if (!DisplayProjection(p, buffer, gallery_title(GetVolumeIndex(vol)).c_str())) {
        DestroyBuffer(buffer);
        DestroyProjection(p);
    }
}

}  // namespace app
