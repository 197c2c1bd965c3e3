// The manual frame alignment tool: poses, the work volume of placed frames, Auto, the picture
// of the position view and the writing of the output.
#include "app/tools/alignment.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "app/command_table.h"
#include "app/messages.h"
#include "app/projections.h"
#include "app/services.h"
#include "app/state.h"
#include "app/workspace.h"
#include "res/strings.h"
#include "vexilo3d_volume.hpp"

namespace app {
namespace {

using Byte = unsigned char;
using v3d::OwnedVolume;

// Auto's turns: within this many degrees of the current angle, in steps of kTurnGrid.
constexpr float kTurnRange = 5.f;
constexpr float kTurnGrid = 0.5f;
// After the best shift at the current angle, each turn searches this close to that shift.
constexpr int kTurnShiftRadius = 3;
// A right drag in the view turns by this many degrees per pixel across.
constexpr float kDragTurn = 0.25f;

// One channel of a frame (the luminance of a colour one) and the voxels that hold picture: a
// turned frame's corners and a shifted frame's uncovered border do not.
struct Plane {
    int Y = 0, X = 0;
    std::vector<Byte> value, covered;  // covered: 1 or 0
};

Byte luminance(const Volume* v, int z, int y, int x) {
    if (v->colortype == V3D_COLOR_GREY) return v->data[0].uc[z][y][x];
    const double l = 0.299 * v->data[0].uc[z][y][x] + 0.587 * v->data[1].uc[z][y][x] +
                     0.114 * v->data[2].uc[z][y][x];
    return static_cast<Byte>(std::min(255.0, l + 0.5));
}

int channels(const Volume* v) { return v->colortype == V3D_COLOR_RGB ? 3 : 1; }

Plane plane_of(const Volume* v, int z, const std::vector<Byte>& covered) {
    Plane p{v->Y, v->X, std::vector<Byte>(static_cast<size_t>(v->Y) * v->X), covered};
    for (int y = 0; y < v->Y; ++y)
        for (int x = 0; x < v->X; ++x) p.value[static_cast<size_t>(y) * v->X + x] = luminance(v, z, y, x);
    return p;
}

struct Candidate {
    FramePose pose;
    double score = -1.0;  // the lower the better; negative: not judged
};

// How far apart two frames are: p where it was placed, m moved by e relative to it. Summed
// over every voxel of either frame, so that no picture is left out and none counted twice
// whatever the move; beyond its edge a frame repeats its edge voxels (a flat background goes
// on as it is). The voxels both cover are only a part of that: a mean over them alone would
// favour the moves that let in more of a flat background.
long difference(const Plane& p, const Plane& m, int ey, int ex) {
    const int Y = p.Y, X = p.X;
    const int x_low = std::min(0, ex), x_high = std::max(X, X + ex);
    std::vector<int> pc(static_cast<size_t>(x_high - x_low)), mc(pc.size());
    for (int x = x_low; x < x_high; ++x) {
        pc[x - x_low] = std::clamp(x, 0, X - 1);
        mc[x - x_low] = std::clamp(x - ex, 0, X - 1);
    }
    long sum = 0;
    for (int y = std::min(0, ey); y < std::max(Y, Y + ey); ++y) {
        const bool in_p = y >= 0 && y < Y, in_m = y - ey >= 0 && y - ey < Y;
        // the row's voxels of either frame: one run of columns
        const int from = in_p && in_m ? x_low : in_p ? 0 : ex;
        const int to = in_p && in_m ? x_high : in_p ? X : X + ex;
        const Byte* pr = &p.value[static_cast<size_t>(std::clamp(y, 0, Y - 1)) * X];
        const Byte* mr = &m.value[static_cast<size_t>(std::clamp(y - ey, 0, Y - 1)) * X];
        long row = 0;
        for (int x = from; x < to; ++x) row += std::abs(pr[pc[x - x_low]] - mr[mc[x - x_low]]);
        sum += row;
    }
    return sum;
}

double distance(const FramePose& a, double dy, double dx, double angle) {
    return (a.dy - dy) * (a.dy - dy) + (a.dx - dx) * (a.dx - dx) + std::fabs(a.angle - angle);
}

// The best of the candidates. Several may match equally well: a small object inside a larger
// one (the cap of a round object and the section after it) matches as well anywhere within
// it. The middle of those is where the two lie concentric, and is taken (the one nearest to
// where the frame is now among equals).
Candidate pick(const std::vector<Candidate>& candidates, const FramePose& now) {
    double least = -1.0;
    for (const Candidate& c : candidates)
        if (c.score >= 0 && (least < 0 || c.score < least)) least = c.score;
    if (least < 0) return {};
    std::vector<const Candidate*> equal;
    double my = 0, mx = 0, ma = 0;
    for (const Candidate& c : candidates)
        if (c.score >= 0 && c.score <= least) {
            equal.push_back(&c);
            my += c.pose.dy, mx += c.pose.dx, ma += c.pose.angle;
        }
    const double n = static_cast<double>(equal.size());
    const Candidate* best = equal.front();
    for (const Candidate* c : equal) {
        const double d = distance(c->pose, my / n, mx / n, ma / n), b = distance(best->pose, my / n, mx / n, ma / n);
        if (d < b - 1e-9 || (d <= b + 1e-9 && distance(c->pose, now.dy, now.dx, now.angle) <
                                                  distance(best->pose, now.dy, now.dx, now.angle)))
            best = c;
    }
    return *best;
}

// Every pose of m (turned by angle) with a shift within radius of (cy, cx), judged against p
// placed at previous; a move that keeps less than a quarter of the frames over each other is
// not tried.
void judge_shifts(const Plane& p, const FramePose& previous, const Plane& m, float angle, int cy,
                  int cx, int radius, std::vector<Candidate>& judged) {
    const long quarter = static_cast<long>(p.Y) * p.X / 4;
    for (int dy = cy - radius; dy <= cy + radius; ++dy)
        for (int dx = cx - radius; dx <= cx + radius; ++dx) {
            const int ey = dy - previous.dy, ex = dx - previous.dx;
            if (std::abs(ey) >= p.Y || std::abs(ex) >= p.X ||
                static_cast<long>(p.Y - std::abs(ey)) * (p.X - std::abs(ex)) < quarter)
                continue;
            judged.push_back({{dy, dx, angle}, static_cast<double>(difference(p, m, ey, ex))});
        }
}

// Frame z of in turned by angle into frame (one frame, in's colour type), and the voxels that
// hold picture.
int turned_frame(Volume* in, int z, float angle, OwnedVolume& frame, std::vector<Byte>& covered) {
    const int Y = in->Y, X = in->X;
    auto copy_frame = [&](Volume* into) {
        for (int c = 0; c < channels(in); ++c)
            for (int y = 0; y < Y; ++y)
                std::memcpy(into->data[c].uc[0][y], in->data[c].uc[z][y], static_cast<size_t>(X));
    };
    covered.assign(static_cast<size_t>(Y) * X, 1);
    if (const int status = frame.create(1, Y, X, V3D_TYPE_UC, in->colortype)) return status;
    if (angle == 0.f) {
        copy_frame(frame.get());
        return 0;
    }
    OwnedVolume source;
    if (const int status = source.create(1, Y, X, V3D_TYPE_UC, in->colortype)) return status;
    copy_frame(source.get());
    if (const int status = RotateVol2d(source.get(), frame.get(), angle)) return status;
    // the frame's extent turned the same way tells the covered voxels from black ones
    OwnedVolume extent, turned;
    if (const int status = extent.create(1, Y, X, V3D_TYPE_UC)) return status;
    if (const int status = turned.create(1, Y, X, V3D_TYPE_UC)) return status;
    for (int y = 0; y < Y; ++y) std::memset(extent->data[0].uc[0][y], 1, static_cast<size_t>(X));
    if (const int status = RotateVol2d(extent.get(), turned.get(), angle)) return status;
    for (int y = 0; y < Y; ++y)
        for (int x = 0; x < X; ++x) covered[static_cast<size_t>(y) * X + x] = turned->data[0].uc[0][y][x];
    return 0;
}

float normalised(float degrees) {
    float a = std::fmod(degrees, 360.f);
    if (a > 180.f) a -= 360.f;
    if (a <= -180.f) a += 360.f;
    return std::fabs(a) < 1e-4f ? 0.f : a;
}

bool same_frames(const Volume* a, const Volume* b) { return a->Y == b->Y && a->X == b->X; }

}  // namespace

Alignment& alignment() {
    static Alignment tool;
    return tool;
}

OptionsRequest alignment_request(const Volume* in) {
    OptionsRequest r;
    r.kind = OptionsKind::ManualAlignment;
    const int defaults[3] = {0, in->Z - 1, 16};  // first, last frame, search radius
    for (int i = 0; i < 3; ++i) r.factors[i] = std::to_string(defaults[i]);
    r.choice = static_cast<int>(Overlay::Blend);
    return r;
}

int read_alignment_options(const OptionsRequest& answer, const Volume* in, AlignmentOptions& o) {
    int first = 0, last = 0, radius = 0;
    if (!parse_int(answer.factors[0], first) || !parse_int(answer.factors[1], last) ||
        !parse_int(answer.factors[2], radius))
        return V3D_ERR_INVALID_PARAMS;
    if (first < 0 || last >= in->Z || radius < 1 || radius > Alignment::kMaxRadius)
        return V3D_ERR_INVALID_PARAMS;
    if (last - first < 1) return res::kTwoFramesNeeded;
    o.first = first;
    o.last = last;
    o.radius = radius;
    o.turns = answer.check;
    o.overlay = answer.choice == 1 ? Overlay::Difference : Overlay::Blend;
    return 0;
}

int Alignment::start(Volume* in, Volume* out, const AlignmentOptions& options) {
    end();
    const int frames = options.last - options.first + 1;
    Volume* work = nullptr;
    if (const int status = CreateVolumeEx(V3D_TYPE_UC, in->colortype, frames, in->Y, in->X, 0, &work))
        return status;
    std::snprintf(work->name, sizeof work->name, "alignment: placed frames of vol %d", GetVolumeIndex(in));
    for (int c = 0; c < channels(in); ++c)
        for (int k = 0; k < frames; ++k)
            for (int y = 0; y < in->Y; ++y)
                std::memcpy(work->data[c].uc[k][y], in->data[c].uc[options.first + k][y],
                            static_cast<size_t>(in->X));
    in_ = in;
    out_ = out;
    work_ = work;
    work_data_ = work->data[0].p;
    in_data_ = in->data[0].p;
    options_ = options;
    current_ = options.first + 1;
    zoom_ = std::clamp(kViewSide / std::max(in->Y, in->X), 1, kMaxZoom);
    poses_.assign(frames, {});
    written_ = base_ = poses_;
    visited_.assign(frames, false);
    visited_[0] = visited_[1] = true;
    covered_.assign(frames, std::vector<Byte>(static_cast<size_t>(in->Y) * in->X, 1));

    Buffer* buffer = CreateBuffer(V3D_COLOR_RGB, in->X * zoom_, in->Y * zoom_);
    Projection* proj = buffer ? CreateProjection(alignment_projection_type(), in, 0) : nullptr;
    if (!proj) {
        DestroyBuffer(buffer);
        release();
        return V3D_ERR_NO_BUFFER;
    }
    compose(buffer);
    const std::string title = res::format(res::kAlignmentTitle, GetVolumeIndex(in));
    void* window = DisplayProjection(proj, buffer, title.c_str());
    if (!window) {  // reported; the records are still ours
        DestroyBuffer(buffer);
        DestroyProjection(proj);
        release();
        return kReported;
    }
    view_ = window;
    buffer_ = buffer;
    in_progress_ = true;
    if (!workspace()->open_alignment_toolbox()) {
        end();
        return res::kCannotCreateWindow;
    }
    refresh();
    ui().show_message(res::format(res::kReservedVolume, GetVolumeIndex(work)), res::text(res::kCaption),
                      Icon::Warning);
    return 0;
}

// Drops the work volume and the frames' state.
void Alignment::release() {
    // the slot may hold another volume by now, if the user destroyed ours
    if (work_ && work_->type && work_->data[0].p == work_data_) DestroyVolume(work_);
    work_ = nullptr;
    work_data_ = in_data_ = nullptr;
    in_ = out_ = nullptr;
    poses_.clear();
    written_.clear();
    base_.clear();
    visited_.clear();
    covered_.clear();
    drag_ = Drag::None;
}

void Alignment::end() {
    if (!in_progress_) return;
    in_progress_ = false;
    void* view = view_;
    view_ = nullptr;
    buffer_ = nullptr;
    release();
    if (workspace()) {
        workspace()->close_alignment_toolbox();
        if (view) workspace()->close_projection(view);
    }
}

void Alignment::set_turn_step(float degrees) {
    if (std::isfinite(degrees) && degrees > 0.f && degrees <= 90.f) turn_step_ = degrees;
}

void Alignment::set_overlay(Overlay overlay) {
    options_.overlay = overlay;
    if (in_progress_) refresh();
}

// The work volume still has what the tool made it with.
bool Alignment::work_intact() const {
    return in_ && work_ && work_->type == V3D_TYPE_UC && work_->data[0].p == work_data_ &&
           work_->colortype == in_->colortype && same_frames(in_, work_) &&
           work_->Z == options_.last - options_.first + 1;
}

// ... and so does the input.
bool Alignment::volumes_intact() const {
    return work_intact() && in_->type == V3D_TYPE_UC && in_->data[0].p == in_data_ &&
           in_->colortype == work_->colortype && same_frames(in_, work_) && in_->Z > options_.last;
}

bool Alignment::usable() {
    if (!in_progress_) return false;
    if (volumes_intact()) return true;
    const int slot = GetVolumeIndex(work_intact() ? in_ : work_);
    end();
    ui().show_message(res::format(res::kAlignmentVolumeChanged, slot), res::text(res::kCaption), Icon::Error);
    return false;
}

// Frame z of the input placed by its pose into the work volume; its covered voxels recorded.
int Alignment::place(int z) {
    const int k = frame_index(z);
    const FramePose& p = poses_[k];
    OwnedVolume turned;
    std::vector<Byte> covered;
    if (const int status = turned_frame(in_, z, p.angle, turned, covered)) return status;
    const int Y = in_->Y, X = in_->X;
    std::vector<Byte>& placed = covered_[k];
    for (int y = 0; y < Y; ++y)
        for (int x = 0; x < X; ++x) {
            const int sy = y - p.dy, sx = x - p.dx;
            const bool inside = sy >= 0 && sy < Y && sx >= 0 && sx < X &&
                                covered[static_cast<size_t>(sy) * X + sx];
            placed[static_cast<size_t>(y) * X + x] = inside;
            for (int c = 0; c < channels(in_); ++c)
                work_->data[c].uc[k][y][x] = inside ? turned->data[c].uc[0][sy][sx] : 0;
        }
    return 0;
}

void Alignment::set_pose(const FramePose& pose) {
    if (!usable()) return;
    FramePose& p = poses_[frame_index(current_)];
    const FramePose wanted{pose.dy, pose.dx, normalised(pose.angle)};
    if (p == wanted) return;
    p = wanted;
    if (const int status = place(current_)) error_handler(status);
    refresh();
}

void Alignment::shift(int dy, int dx) {
    if (!in_progress_) return;
    const FramePose& p = pose(current_);
    set_pose({p.dy + dy, p.dx + dx, p.angle});
}

void Alignment::turn(float degrees) {
    if (!in_progress_ || !std::isfinite(degrees)) return;
    const FramePose& p = pose(current_);
    set_pose({p.dy, p.dx, p.angle + degrees});
}

bool Alignment::go_to(int z) {
    if (!usable() || z <= options_.first || z > options_.last || z == current_) return false;
    const int k = frame_index(z);
    if (!visited_[k]) {
        // it starts where the frame before it went
        visited_[k] = true;
        base_[k] = poses_[k] = poses_[k - 1];
        if (!(poses_[k] == FramePose{}))
            if (const int status = place(z)) error_handler(status);
    }
    current_ = z;
    refresh();
    return true;
}

bool Alignment::reset() {
    if (!usable()) return false;
    const int k = frame_index(current_);
    if (poses_[k] == base_[k]) return false;
    if (!ui().ask_yes_no(res::text(res::kChangesLost))) return false;
    set_pose(base_[k]);
    return true;
}

void Alignment::auto_align() {
    if (!usable()) return;
    WaitCursor wait;
    const int k = frame_index(current_);
    const FramePose start = poses_[k];
    // the frame before, turned as placed; its shift is taken relative to it
    const FramePose previous = poses_[k - 1];
    OwnedVolume before;
    std::vector<Byte> covered;
    if (const int status = turned_frame(in_, current_ - 1, previous.angle, before, covered)) {
        error_handler(status);
        return;
    }
    const Plane ref = plane_of(before.get(), 0, covered);
    std::vector<Candidate> judged;
    auto search = [&](float angle, int cy, int cx, int radius) {
        OwnedVolume turned;
        if (const int status = turned_frame(in_, current_, angle, turned, covered)) {
            error_handler(status);
            return false;
        }
        judge_shifts(ref, previous, plane_of(turned.get(), 0, covered), angle, cy, cx, radius, judged);
        return true;
    };
    if (!search(start.angle, start.dy, start.dx, options_.radius)) return;
    Candidate best = pick(judged, start);
    if (best.score < 0) return;
    if (options_.turns) {
        // every turn near the best shift, the turn it has now among them
        const FramePose at = best.pose;
        const int steps = static_cast<int>(std::lround(kTurnRange / kTurnGrid));
        judged.clear();
        for (int i = -steps; i <= steps; ++i)
            if (!search(normalised(start.angle + i * kTurnGrid), at.dy, at.dx, kTurnShiftRadius)) return;
        best = pick(judged, start);
        if (best.score < 0) return;
    }
    set_pose(best.pose);
}

void Alignment::auto_align_to_end() {
    if (!usable()) return;
    WaitCursor wait;
    for (;;) {
        auto_align();
        if (!in_progress_ || !next()) break;
    }
}

bool Alignment::changed() const { return in_progress_ && poses_ != written_; }

bool Alignment::apply() {
    if (!usable()) return false;
    // the output slot must still hold what the command prepared
    if (out_->type != V3D_TYPE_UC || out_->colortype != in_->colortype || out_->Z < in_->Z ||
        out_->Y < in_->Y || out_->X < in_->X) {
        error_handler(res::kOutputModified);
        return false;
    }
    WaitCursor wait;
    for (int c = 0; c < channels(in_); ++c)
        for (int k = 0; k < work_->Z; ++k)
            for (int y = 0; y < in_->Y; ++y)
                std::memcpy(out_->data[c].uc[options_.first + k][y], work_->data[c].uc[k][y],
                            static_cast<size_t>(in_->X));
    written_ = poses_;
    // from now on a reset goes back to what was written
    for (size_t k = 0; k < base_.size(); ++k)
        if (visited_[k]) base_[k] = poses_[k];
    DisplayVolume(out_);
    refresh();
    return true;
}

bool Alignment::may_close() {
    if (!changed()) return true;
    switch (ui().ask_yes_no_cancel(res::text(res::kSaveChanges))) {
    case Reply::Yes:
        apply();  // a failure is reported, and the tool ends all the same
        return true;
    case Reply::No:
        return true;
    default:
        return false;
    }
}

bool Alignment::key(AlignKey k, bool coarse) {
    if (!in_progress_) return false;
    const int step = coarse ? kCoarseStep : 1;
    switch (k) {
    case AlignKey::Up: shift(-step, 0); return true;
    case AlignKey::Down: shift(step, 0); return true;
    case AlignKey::Left: shift(0, -step); return true;
    case AlignKey::Right: shift(0, step); return true;
    case AlignKey::TurnLeft: turn(turn_step_); return true;
    case AlignKey::TurnRight: turn(-turn_step_); return true;
    case AlignKey::PreviousFrame: previous(); return true;
    case AlignKey::NextFrame: next(); return true;
    case AlignKey::None: return false;
    }
    return false;
}

double Alignment::mismatch() const {
    if (!in_progress_ || !volumes_intact()) return -1.0;
    const int k = frame_index(current_);
    // over the voxels both cover: the placed frame's uncovered border is no picture
    const Plane ref = plane_of(work_, k - 1, covered_[k - 1]);
    const Plane cur = plane_of(work_, k, covered_[k]);
    long sum = 0, count = 0;
    for (size_t i = 0; i < ref.value.size(); ++i)
        if (ref.covered[i] && cur.covered[i]) sum += std::abs(ref.value[i] - cur.value[i]), ++count;
    return count ? static_cast<double>(sum) / count : -1.0;
}

void Alignment::compose(Buffer* buffer) const {
    if (!buffer || buffer->colortype != V3D_COLOR_RGB || !volumes_intact() ||
        buffer->width != in_->X * zoom_ || buffer->height != in_->Y * zoom_)
        return;
    const int k = frame_index(current_);
    const bool blend = options_.overlay == Overlay::Blend;
    for (int y = 0; y < in_->Y; ++y)
        for (int x = 0; x < in_->X; ++x) {
            const Byte ref = luminance(work_, k - 1, y, x), cur = luminance(work_, k, y, x);
            const Byte diff = static_cast<Byte>(std::abs(ref - cur));
            const Byte rgb[3] = {blend ? ref : diff, blend ? cur : diff, blend ? ref : diff};
            for (int c = 0; c < 3; ++c)
                for (int py = y * zoom_; py < (y + 1) * zoom_; ++py)
                    std::memset(buffer->image[c][py] + x * zoom_, rgb[c], static_cast<size_t>(zoom_));
        }
}

// The picture again in the view's buffer; the view and the toolbox show it.
void Alignment::refresh() {
    if (!in_progress_) return;
    compose(buffer_);
    if (workspace()) workspace()->alignment_changed(view_);
}

// The newest window of the alignment type is the tool's view; once the tool runs, it keeps its own.
void Alignment::view_created(void* window) {
    if (!in_progress_) view_ = window;
}

// A left drag moves the frame with the mouse, voxel by voxel; a right drag turns it as it goes
// across.
void Alignment::view_mouse(void* window, unsigned msg, uintptr_t keys, int x, int y) {
    if (!in_progress_ || window != view_) return;
    auto voxel = [this](int pixel) { return static_cast<int>(std::floor(static_cast<double>(pixel) / zoom_)); };
    switch (msg) {
    case WM_LBUTTONDOWN:
        drag_ = Drag::Shift;
        drag_x_ = voxel(x), drag_y_ = voxel(y);
        break;
    case WM_RBUTTONDOWN:
        drag_ = Drag::Turn;
        drag_x_ = x, drag_y_ = y;
        break;
    case WM_MOUSEMOVE:
        if (drag_ == Drag::Shift && (keys & MK_LBUTTON)) {
            const int vx = voxel(x), vy = voxel(y);
            if (vx == drag_x_ && vy == drag_y_) break;
            shift(vy - drag_y_, vx - drag_x_);
            drag_x_ = vx, drag_y_ = vy;
        } else if (drag_ == Drag::Turn && (keys & MK_RBUTTON) && x != drag_x_) {
            turn((drag_x_ - x) * kDragTurn);  // dragged right: clockwise
            drag_x_ = x, drag_y_ = y;
        }
        break;
    case WM_LBUTTONUP:
    case WM_RBUTTONUP:
        drag_ = Drag::None;
        break;
    default:
        break;
    }
}

bool Alignment::view_closing(void* window) {
    if (!in_progress_ || window != view_) return false;
    if (!may_close()) return true;
    view_ = nullptr;  // it is closing already
    end();
    return false;
}

void Alignment::view_destroyed(void* window) {
    if (!in_progress_ || window != view_) return;
    view_ = nullptr;
    end();
}

// The position view's share of the projection windows' messages.
void alignment_view_created(void* window) { alignment().view_created(window); }
void alignment_view_mouse(void* window, unsigned msg, uintptr_t wp, intptr_t lp) {
    const auto x = static_cast<int16_t>(lp & 0xFFFF), y = static_cast<int16_t>((lp >> 16) & 0xFFFF);
    alignment().view_mouse(window, msg, wp, x, y);
}
bool alignment_view_close(void* window) { return alignment().view_closing(window); }
void alignment_view_destroyed(void* window) { alignment().view_destroyed(window); }

}  // namespace app
