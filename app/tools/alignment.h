// Manual frame alignment (command 1260): the frames first..last of a UC volume (grey or colour)
// are placed one after another over the frame before them, by hand or by Auto, and written
// into the output. Registration of serial sections and of frames that drifted during
// acquisition.
//
// - Frame first is the reference and keeps its place. Every other frame has a pose: turned by
//   an angle about the frame's centre (RotateVol2d), then shifted by (dy, dx) voxels. A frame
//   shown for the first time starts where the frame before it was placed, so that a steady
//   drift leaves only the step since the previous frame to find.
// - The work volume, reserved in a free slot, holds frames first..last as placed so far. The
//   position view (a projection window of the alignment type, its source the input) shows the
//   current frame over the placed frame before it: blended (the reference in magenta, the
//   current frame in green, so that what lines up turns grey) or as their absolute difference,
//   magnified up to four times so that a one-voxel step is plain to see (the picture up to 512
//   pixels a side).
// - Auto tries every shift within the radius around the current pose (and, when asked, turns
//   within 5 degrees of it in half-degree steps) and keeps the one with the least absolute
//   difference to the frame before as placed, summed over every voxel of either frame (beyond
//   its edge a frame repeats its edge voxels). Among equally good ones it takes the middle: a
//   small section inside a larger one lies concentric there.
// - Apply writes the placed frames into the output (voxels that no source voxel covers are 0);
//   the output's frames outside first..last are left as they are.
#pragma once

#include <cstdint>
#include <vector>

#include "app/ui.h"
#include "vexilo3d.h"

namespace app {

enum class Overlay : int { Blend = 0, Difference = 1 };

// Where a frame goes: turned by angle degrees (counter-clockwise as shown), then moved dy rows
// down and dx columns right.
struct FramePose {
    int dy = 0, dx = 0;
    float angle = 0.f;
    bool operator==(const FramePose&) const = default;
};

struct AlignmentOptions {
    int first = 0, last = 0;  // the frames to align; first is the reference
    Overlay overlay = Overlay::Blend;
    int radius = 16;          // Auto's search radius in voxels
    bool turns = false;       // Auto tries turns too
};

// "Manual Alignment Options" for in: frames 0..Z-1, radius 16, blend.
OptionsRequest alignment_request(const Volume* in);
// The dialog's answers: 0; -90 for a text that is not a number, a frame outside the volume or
// a radius outside 1..64; 3133 when fewer than two frames remain.
int read_alignment_options(const OptionsRequest& answer, const Volume* in, AlignmentOptions& o);

// What a key does in the toolbox and the position view.
enum class AlignKey { None, Up, Down, Left, Right, TurnLeft, TurnRight, PreviousFrame, NextFrame };

class Alignment {
public:
    static constexpr int kMaxRadius = 64;
    static constexpr int kCoarseStep = 10;  // voxels per key press with Shift
    static constexpr int kViewSide = 512, kMaxZoom = 4;

    bool in_progress() const { return in_progress_; }
    // Starts on in and out (prepared with in's dimensions): the work volume in a free slot, the
    // position view and the toolbox, then "Volume %d has been reserved ...". 0, or the status
    // to report (kReported when it was shown already); nothing is left started then.
    int start(Volume* in, Volume* out, const AlignmentOptions& options);
    // Ends it: the work volume destroyed, the toolbox and the view closed, the flag cleared.
    void end();

    Volume* input() const { return in_; }
    Volume* output() const { return out_; }
    Volume* work() const { return work_; }
    const AlignmentOptions& options() const { return options_; }
    int current() const { return current_; }
    const FramePose& pose(int z) const { return poses_[z - options_.first]; }
    // Picture pixels per voxel, each way.
    int zoom() const { return zoom_; }
    float turn_step() const { return turn_step_; }
    void set_turn_step(float degrees);
    void set_overlay(Overlay overlay);

    // The current frame moves by (dy, dx) voxels / turns by degrees.
    void shift(int dy, int dx);
    void turn(float degrees);
    // The frame after / before the current one becomes current (false at the ends).
    bool next() { return go_to(current_ + 1); }
    bool previous() { return go_to(current_ - 1); }
    bool go_to(int z);
    // Back to the pose the current frame had when it was first shown or last written, after
    // "All changes made to the current frame will be lost. Continue?"; false when nothing
    // changed or the user said No.
    bool reset();
    // The best pose for the current frame / for every frame from the current one to the last,
    // in order (the last one is current then).
    void auto_align();
    void auto_align_to_end();
    // Writes frames first..last into the output after the output check (3130); true when
    // written.
    bool apply();
    // Poses not written yet.
    bool changed() const;
    // Closing the toolbox: true when it may go. With changes not written it asks "Do you want
    // to save changes?": Yes writes them first, No drops them, Cancel keeps the tool.
    bool may_close();
    // A key of the toolbox or the view; true when it did something. coarse: Shift is held.
    bool key(AlignKey k, bool coarse);
    // Mean absolute difference of the placed current frame to its reference over the voxels
    // both cover; negative when they share none.
    double mismatch() const;
    // The picture of the current frame over its reference into buffer (RGB, X by Y times the
    // zoom).
    void compose(Buffer* buffer) const;

    // The position view's messages (see app/projections.h).
    void* view() const { return view_; }
    void view_created(void* window);
    void view_mouse(void* window, unsigned msg, uintptr_t keys, int x, int y);
    bool view_closing(void* window);
    void view_destroyed(void* window);

private:
    int frame_index(int z) const { return z - options_.first; }
    bool work_intact() const;
    bool volumes_intact() const;
    // False (after saying why and ending) when a volume was changed behind the tool's back.
    bool usable();
    int place(int z);
    void set_pose(const FramePose& pose);
    void refresh();
    void release();

    bool in_progress_ = false;
    Volume* in_ = nullptr;
    Volume* out_ = nullptr;
    Volume* work_ = nullptr;
    void* work_data_ = nullptr;  // tells the work volume from a later one in its slot
    void* in_data_ = nullptr;
    AlignmentOptions options_;
    int current_ = 0;
    int zoom_ = 1;
    float turn_step_ = 1.f;
    std::vector<FramePose> poses_, written_, base_;
    std::vector<bool> visited_;
    std::vector<std::vector<unsigned char>> covered_;  // per placed frame: voxels with a source
    void* view_ = nullptr;
    Buffer* buffer_ = nullptr;   // the view's, while the view lives
    enum class Drag { None, Shift, Turn } drag_ = Drag::None;
    int drag_x_ = 0, drag_y_ = 0;  // where the drag is: a voxel for a move, a pixel for a turn
};

// The one alignment tool of the workstation.
Alignment& alignment();

}  // namespace app
