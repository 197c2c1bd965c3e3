// Contour following: the work volume, the traces of every frame and the marks they leave.
#include "app/tools/contour.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

#include "app/services.h"
#include "app/workspace.h"
#include "res/strings.h"
#include "vexilo3d_volume.hpp"

namespace app {
namespace {

using Byte = unsigned char;
using v3d::OwnedVolume;

// The edge strength is a voxel's excess over the minimum of its 3x3 window inside the frame:
// a one-voxel band on the bright side of every edge, which the follower can walk along.
constexpr int kEdgeWindow = 3;
// A click snaps to the strongest edge within this many voxels.
constexpr int kSnapRadius = 2;
// The follower is started again where the contour can go on at most this often per click.
constexpr int kMaxRuns = 512;
// The red of the colour output's marks.
constexpr Byte kMarkRgb[3] = {255, 0, 0};

Byte luminance(const Volume* v, int z, int y, int x) {
    if (v->colortype == V3D_COLOR_GREY) return v->data[0].uc[z][y][x];
    const double l = 0.299 * v->data[0].uc[z][y][x] + 0.587 * v->data[1].uc[z][y][x] +
                     0.114 * v->data[2].uc[z][y][x];
    return static_cast<Byte>(std::min(255.0, l + 0.5));
}

// work = the edge strength of every frame of original's luminance (the rows and columns at the
// border, which the window does not fit, stay 0).
int edge_strength(Volume* original, Volume* work) {
    const int Z = original->Z, Y = original->Y, X = original->X;
    OwnedVolume grey, low;
    if (const int status = grey.create(Z, Y, X, V3D_TYPE_UC)) return status;
    if (const int status = low.create(Z, Y, X, V3D_TYPE_UC)) return status;
    for (int z = 0; z < Z; ++z)
        for (int y = 0; y < Y; ++y)
            for (int x = 0; x < X; ++x) grey->data[0].uc[z][y][x] = luminance(original, z, y, x);
    if (Y < kEdgeWindow || X < kEdgeWindow) return 0;
    if (const int status = run_min3(grey.get(), low.get(), 1, kEdgeWindow, kEdgeWindow)) return status;
    for (int z = 0; z < Z; ++z)
        for (int y = 1; y < Y - 1; ++y)
            for (int x = 1; x < X - 1; ++x)
                work->data[0].uc[z][y][x] =
                    static_cast<Byte>(grey->data[0].uc[z][y][x] - low->data[0].uc[z][y][x]);
    return 0;
}

// A voxel of the frame next to a traced one (the latest first) where the contour can go on:
// as strong as the threshold and not consumed yet. False when there is none.
bool continuation(const Volume* f, const std::vector<TracePoint>& traced, int threshold,
                  TracePoint& next) {
    for (auto p = traced.rbegin(); p != traced.rend(); ++p)
        for (int dy = -1; dy <= 1; ++dy)
            for (int dx = -1; dx <= 1; ++dx) {
                const int y = p->y + dy, x = p->x + dx;
                if (y < f->y1 || y >= f->y2 || x < f->x1 || x >= f->x2) continue;
                if (f->data[0].uc[0][y][x] >= threshold) {
                    next = {y, x};
                    return true;
                }
            }
    return false;
}

// B&W starts from an empty output, colour from a copy of the original.
void first_output(const Volume* original, Volume* output) {
    const bool copy = output->colortype == V3D_COLOR_RGB;
    for (int c = 0; c < (copy ? 3 : 1); ++c)
        for (int z = 0; z < output->Z; ++z)
            for (int y = 0; y < output->Y; ++y) {
                Byte* row = output->data[c].uc[z][y];
                if (copy) std::memcpy(row, original->data[c].uc[z][y], static_cast<size_t>(output->X));
                else std::memset(row, 0, static_cast<size_t>(output->X));
            }
}

// Moves at to the strongest edge of frame z within the snap radius (the nearer one among
// equals) inside the VOI of o; returns its strength.
int strongest_edge_near(const Volume* work, const Volume* o, int z, TracePoint& at) {
    const TracePoint click = at;
    int strength = -1, distance = 0;
    for (int dy = -kSnapRadius; dy <= kSnapRadius; ++dy)
        for (int dx = -kSnapRadius; dx <= kSnapRadius; ++dx) {
            const int y = click.y + dy, x = click.x + dx;
            if (y < o->y1 || y >= o->y2 || x < o->x1 || x >= o->x2) continue;
            const int s = work->data[0].uc[z][y][x], d = dy * dy + dx * dx;
            if (s > strength || (s == strength && d < distance)) {
                strength = s, distance = d;
                at = {y, x};
            }
        }
    return strength;
}

// Follows the edge of frame z of work from start, inside the rows and columns of o's VOI, and
// appends every traced voxel to traced. The follower consumes its input, so it runs over a copy
// of the frame. It stops where its excluded previous point is the only way on, and goes one way
// from the start: it starts again next to the contour traced so far while the contour can go on.
int trace_contour(const Volume* work, const Volume* o, int z, TracePoint start, int threshold,
                  std::vector<TracePoint>& traced) {
    OwnedVolume frame(1, o->Y, o->X, V3D_TYPE_UC), path(1, o->Y, o->X, V3D_TYPE_UC);
    if (frame.status() || path.status()) return V3D_ERR_NO_VOLUME;
    for (int r = 0; r < o->Y; ++r)
        std::memcpy(frame->data[0].uc[0][r], work->data[0].uc[z][r], static_cast<size_t>(o->X));
    fill_in_VOI(frame.get(), 0, 1, o->y1, o->y2, o->x1, o->x2);
    TracePoint from = start;
    for (int run = 0; run < kMaxRuns; ++run) {
        if (const int status = edge_follow_3d(frame.get(), path.get(), 0, from.y, from.x, 255, threshold, 1))
            return status;
        for (int r = o->y1; r < o->y2; ++r)
            for (int c = o->x1; c < o->x2; ++c)
                if (path->data[0].uc[0][r][c] == 255) {
                    path->data[0].uc[0][r][c] = 1;  // collected
                    traced.push_back({r, c});
                }
        if (!continuation(frame.get(), traced, threshold, from)) break;
    }
    return 0;
}

bool same_shape(const Volume* a, const Volume* b) { return a->Z == b->Z && a->Y == b->Y && a->X == b->X; }

}  // namespace

ContourFollowing& contour_following() {
    static ContourFollowing tool;
    return tool;
}

int convert_to_colour(Volume* vol) {
    OwnedVolume grey;
    if (const int status = grey.create(vol->Z, vol->Y, vol->X, V3D_TYPE_UC)) return status;
    for (int z = 0; z < vol->Z; ++z)
        for (int y = 0; y < vol->Y; ++y)
            std::memcpy(grey->data[0].uc[z][y], vol->data[0].uc[z][y], static_cast<size_t>(vol->X));
    char name[sizeof vol->name];
    std::memcpy(name, vol->name, sizeof name);
    const int z1 = vol->z1, z2 = vol->z2, y1 = vol->y1, y2 = vol->y2, x1 = vol->x1, x2 = vol->x2;
    if (const int status = ReallocateVolume(vol, V3D_TYPE_UC, V3D_COLOR_RGB, vol->Z, vol->Y, vol->X))
        return status;
    std::memcpy(vol->name, name, sizeof name);
    fill_in_VOI(vol, z1, z2, y1, y2, x1, x2);
    for (int c = 0; c < 3; ++c)
        for (int z = 0; z < vol->Z; ++z)
            for (int y = 0; y < vol->Y; ++y)
                std::memcpy(vol->data[c].uc[z][y], grey->data[0].uc[z][y], static_cast<size_t>(vol->X));
    return 0;
}

int ContourFollowing::start(int command, Volume* original, Volume* output) {
    end();
    Volume* work = nullptr;
    if (const int status = CreateVolumeEx(V3D_TYPE_UC, V3D_COLOR_GREY, original->Z, original->Y,
                                          original->X, 0, &work))
        return status;
    std::snprintf(work->name, sizeof work->name, "contour following: work volume");
    if (const int status = edge_strength(original, work)) {
        DestroyVolume(work);
        return status;
    }
    first_output(original, output);
    const void* views[2] = {nullptr, nullptr};
    if (!workspace() || !workspace()->open_contour_windows(original, output, views)) {
        DestroyVolume(work);
        return res::kCannotCreateWindow;
    }
    command_ = command;
    original_ = original;
    output_ = output;
    work_ = work;
    work_data_ = work->data[0].p;
    views_[0] = views[0];
    views_[1] = views[1];
    activate(this);
    return 0;
}

void ContourFollowing::end() {
    if (!active()) return;
    command_ = 0;
    deactivate(this);
    traces_.clear();
    // the slot may hold another volume by now, if the user destroyed ours
    if (work_ && work_->type && work_->data[0].p == work_data_) DestroyVolume(work_);
    work_ = nullptr;
    work_data_ = nullptr;
    views_[0] = views_[1] = nullptr;
    if (workspace()) workspace()->close_contour_windows();
}

bool ContourFollowing::clicked(const VoxelEvent& e) {
    if (!active() || !e.view || (e.view != views_[0] && e.view != views_[1])) return false;
    if (e.buttons == kLeftButton) {
        if (follow(e.z, e.y, e.x) && workspace()) workspace()->display(output_, false);
    } else if (e.buttons == kRightButton) {
        clear(e.z);
        if (workspace()) workspace()->display(output_, false);
    } else {
        return false;
    }
    if (active() && workspace()) workspace()->display(original_, false);  // its marks changed
    return true;
}

// The three volumes still have the types and dimensions the tool gave them.
bool ContourFollowing::volumes_intact() const {
    return work_ && work_->type == V3D_TYPE_UC && work_->data[0].p == work_data_ &&
           original_->type == V3D_TYPE_UC && output_->type == V3D_TYPE_UC &&
           same_shape(original_, work_) && same_shape(output_, work_);
}

bool ContourFollowing::follow(int z, int y, int x) {
    if (!active() || !volumes_intact()) return false;
    const Volume* o = original_;
    if (z < o->z1 || z >= o->z2 || y < o->y1 || y >= o->y2 || x < o->x1 || x >= o->x2) return false;
    TracePoint start{y, x};
    const int strength = strongest_edge_near(work_, o, z, start);
    if (strength < 1) return false;
    std::vector<TracePoint> traced;
    if (const int status = trace_contour(work_, o, z, start, std::max(1, strength / 2), traced))
        error_handler(status);
    if (traced.empty()) return false;
    FrameTrace& t = traces_[z];
    t.starts.push_back(start);
    for (const TracePoint& p : traced) {
        t.contour.push_back(p);
        mark(z, p, true);
    }
    return true;
}

void ContourFollowing::clear(int z) {
    const auto it = traces_.find(z);
    if (it == traces_.end()) return;
    if (volumes_intact())
        for (const TracePoint& p : it->second.contour) mark(z, p, false);
    traces_.erase(it);
}

// A contour voxel of the output: marked, or given back what it held before.
void ContourFollowing::mark(int z, const TracePoint& p, bool on) {
    if (output_->colortype == V3D_COLOR_GREY) {
        output_->data[0].uc[z][p.y][p.x] = on ? 255 : 0;
        return;
    }
    for (int c = 0; c < 3; ++c)
        output_->data[c].uc[z][p.y][p.x] = on ? kMarkRgb[c] : original_->data[c].uc[z][p.y][p.x];
}

const FrameTrace& ContourFollowing::trace(int z) const {
    static const FrameTrace none;
    const auto it = traces_.find(z);
    return it == traces_.end() ? none : it->second;
}

}  // namespace app
