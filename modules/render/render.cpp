// The render module: a "Render" popup under "&Modules" with the library's maximum, mean,
// threshold and shaded-surface projections of a chosen volume. The picture opens in a
// projection window of the module's own type whose source is the volume, so the workstation's
// update walk asks it to render again (WM_USER) when the volume changes. Dragging with the left
// button turns the view; the picture takes the window's new size when the window is resized.
// It sees the windows through its handler of the projection windows' messages.
#include <QApplication>
#include <QWidget>
#include <algorithm>
#include <cmath>
#include <vector>

#include "render_dialog.h"
#include "vexilo3d_module.h"

namespace render {
namespace {

const char* const kMenu[] = {"&Maximum", "M&ean", "&Threshold", "&Shaded Surface", nullptr,
                             "Render"};
const char* const kTitles[] = {"Maximum", "Mean", "Threshold", "Shaded Surface"};
constexpr int kModes = 4;

// The view turns one degree for each pixel the mouse moves with the left button held.
constexpr int kPixelsPerDegree = 1;
// The window's frame, caption and scroll bars around a picture, allowed for when the first
// picture is sized to fit the frame window's client area.
constexpr int kFrameAllowance = 60;

// One of the module's windows: the projection record (its user area is the View), the buffer
// the window shows, and a drag in progress.
struct Window {
    void* handle = nullptr;
    Projection* proj = nullptr;
    Buffer* buffer = nullptr;
    bool dragging = false;
    int from_x = 0, from_y = 0;              // where the left button went down
    int from_azimuth = 0, from_elevation = 0;
};

std::vector<Window> g_windows;
int g_projection_type = -1;
View g_last;  // the dialog starts from the last answers

class WaitCursor {
public:
    WaitCursor() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~WaitCursor() { QApplication::restoreOverrideCursor(); }
};

View& view_of(Projection* p) { return *static_cast<View*>(p->user); }
Volume* volume_of(Projection* p) { return static_cast<Volume*>(p->source); }

Window* find_window(void* handle) {
    for (Window& w : g_windows)
        if (w.handle == handle) return &w;
    return nullptr;
}

// The volume's voxel spacing (z, y, x) when the view draws it and it is not cubic.
bool spacing_to_draw(const View& v, Volume* vol, double s[3]) {
    if (!v.proportions || GetVolumeSpacing(vol, &s[0], &s[1], &s[2]) != 0) return false;
    return !(s[0] == s[1] && s[1] == s[2]);
}

// Voxels that are not cubes go through the library's spaced renderer, which draws the same
// pictures in the voxels' proportions (one pixel per smallest spacing).
int render_spaced(const View& v, Volume* vol, Buffer* b, const unsigned char* threshold, const double s[3]) {
    static const int kModes[] = {V3D_PROVOLI_MAX, V3D_PROVOLI_MEAN, V3D_PROVOLI_THRESHOLD, V3D_PROVOLI_SURFACE};
    int mode = kModes[v.mode];
    if (mode == V3D_PROVOLI_SURFACE && vol->colortype == V3D_COLOR_RGB) mode = V3D_PROVOLI_SURFACE_COLOR;
    return ProvoliSpaced3d(vol, b->image, b->height, b->width, mode, v.azimuth, v.elevation, v.trim,
                           threshold, v.depth_cue, s[0], s[1], s[2]);
}

int render(const View& v, Volume* vol, Buffer* b) {
    const auto t = static_cast<unsigned char>(v.threshold);
    const unsigned char threshold[3] = {t, t, t};
    const int H = b->height, W = b->width;
    double spacing[3];
    if (spacing_to_draw(v, vol, spacing)) return render_spaced(v, vol, b, threshold, spacing);
    switch (v.mode) {
    case kMaximum: return ProvoliMax3d(vol, b->image, H, W, v.azimuth, v.elevation, v.trim);
    case kMean: return ProvoliAvrg3d(vol, b->image, H, W, v.azimuth, v.elevation, v.trim);
    case kThreshold:
        return Provoli3d(vol, b->image, H, W, v.azimuth, v.elevation, v.trim, threshold);
    default:
        if (vol->colortype == V3D_COLOR_RGB)
            return Provoli3dSurfaceColor(vol, b->image, H, W, v.azimuth, v.elevation, v.trim,
                                         threshold, v.depth_cue);
        return Provoli3dSurface(vol, b->image, H, W, v.azimuth, v.elevation, v.trim, threshold,
                                v.depth_cue);
    }
}

// A square picture as wide as the VOI's diagonal (in its true proportions when the view draws
// them), so that every direction sees the whole box, but no larger than the frame window's
// client area.
int picture_side(const View& view, Volume* v) {
    double s[3] = {1, 1, 1};
    if (spacing_to_draw(view, v, s)) {
        const double least = std::min({s[0], s[1], s[2]});
        for (double& k : s) k /= least;
    }
    const double ex = (v->x2 - v->x1) * s[2], ey = (v->y2 - v->y1) * s[1], ez = (v->z2 - v->z1) * s[0];
    int side = static_cast<int>(std::ceil(std::sqrt(ex * ex + ey * ey + ez * ez)));
    if (const auto* client = static_cast<const QWidget*>(GetVexilo3DInfo()->client_window))
        side = std::min({side, client->width() - kFrameAllowance, client->height() - kFrameAllowance});
    return std::max(side, 16);
}

// The window's picture rendered again from its view; shown when it succeeded.
int show_again(Window& w) {
    const int status = render(view_of(w.proj), volume_of(w.proj), w.buffer);
    if (status == 0) SetProjectionBuffer(w.handle, w.buffer);
    return status;
}

// A left-button drag turns the view from where it was at the press: right and left turn the
// azimuth, up and down the elevation (which stops at the poles).
void turn(Window& w, int x, int y) {
    View& v = view_of(w.proj);
    const int azimuth = ((w.from_azimuth - (x - w.from_x) / kPixelsPerDegree) % 360 + 360) % 360;
    const int elevation = std::clamp(w.from_elevation + (y - w.from_y) / kPixelsPerDegree, -90, 90);
    if (azimuth == v.azimuth && elevation == v.elevation) return;
    v.azimuth = azimuth;
    v.elevation = elevation;
    show_again(w);
}

// The picture takes the window's client size: a new buffer, rendered, replaces the old one
// (the window frees that). On failure the old picture stays.
void resize(Window& w, int width, int height) {
    if (width < 1 || height < 1 || (width == w.buffer->width && height == w.buffer->height)) return;
    Volume* vol = volume_of(w.proj);
    Buffer* buffer = CreateBuffer(vol->colortype, width, height);
    if (!buffer || render(view_of(w.proj), vol, buffer) || SetProjectionBuffer(w.handle, buffer)) {
        DestroyBuffer(buffer);
        return;
    }
    w.buffer = buffer;
}

// The module's handler of the projection windows' messages: only its own windows concern it,
// and it takes no message away from the window.
intptr_t on_message(void* handle, unsigned msg, uintptr_t wp, intptr_t lp) {
    Window* w = find_window(handle);
    if (!w) return 0;
    switch (msg) {
    case WM_LBUTTONDOWN:
        *w = {w->handle, w->proj, w->buffer, true, V3D_GET_X(lp), V3D_GET_Y(lp),
              view_of(w->proj).azimuth, view_of(w->proj).elevation};
        break;
    case WM_MOUSEMOVE:
        if (w->dragging && (wp & MK_LBUTTON)) turn(*w, V3D_GET_X(lp), V3D_GET_Y(lp));
        break;
    case WM_LBUTTONUP:
        w->dragging = false;
        break;
    case WM_SIZE:
        resize(*w, V3D_LOWORD(lp), V3D_HIWORD(lp));
        break;
    case WM_USER: {  // the volume changed
        WaitCursor wait;
        if (const int status = show_again(*w)) error_handler(status);
        break;
    }
    case WM_DESTROY:  // the window frees the record and the buffer
        g_windows.erase(g_windows.begin() + (w - g_windows.data()));
        break;
    default:
        break;
    }
    return 0;
}

// A projection of a chosen UC volume, with the dialog's view, in a new window.
int render_command(int mode) {
    if (mode < 0 || mode >= kModes) return 0;
    Volume* vol = nullptr;
    if (!GetInputVolume(V3D_TYPE_UC, V3D_COLOR_ANY, "Select Volume to Render", &vol) || !vol)
        return 0;
    View view = g_last;
    view.mode = mode;
    RenderDialog dialog(view, static_cast<QWidget*>(GetVexilo3DInfo()->frame_window));
    if (dialog.exec() != QDialog::Accepted) return 0;
    view = g_last = dialog.view();
    if (g_projection_type < 0) g_projection_type = RegisterProjectionType();

    const int side = picture_side(view, vol);
    Buffer* buffer = CreateBuffer(vol->colortype, side, side);
    Projection* proj = CreateProjection(g_projection_type, vol, sizeof(View));
    int status = buffer && proj ? 0 : V3D_ERR_NO_BUFFER;
    if (status == 0) {
        view_of(proj) = view;
        WaitCursor wait;
        status = render(view, vol, buffer);
    }
    const QString title = QString("%1 Projection of Volume %2").arg(kTitles[mode]).arg(GetVolumeIndex(vol));
    void* handle = status ? nullptr : DisplayProjection(proj, buffer, title.toUtf8().constData());
    if (!handle) {  // DisplayProjection reported its own failure
        if (status) error_handler(status);
        DestroyBuffer(buffer);
        DestroyProjection(proj);
        return status;
    }
    g_windows.push_back({handle, proj, buffer});
    return 0;
}

}  // namespace
}  // namespace render

extern "C" {

// The handler serves the projection windows only: the first call of each pair gets it, the
// second, for the display windows, none.
VEXILO3D_MODULE_EXPORT Vexilo3DMessageHandler Vexilo3DDLLReturnMessageHandler(Vexilo3DMessageResult) {
    static int calls = 0;
    return calls++ % 2 == 0 ? render::on_message : nullptr;
}

VEXILO3D_MODULE_EXPORT const char* const* Vexilo3DDLLReturnMenu(Vexilo3DModule*) {
    return render::kMenu;
}

VEXILO3D_MODULE_EXPORT Vexilo3DCommandHandler Vexilo3DDLLReturnCmdHandler(void) {
    return render::render_command;
}

}  // extern "C"
