// Contour following (B&W 1250, colour 1251): the original volume and the output side by side in
// two frame displays stepped together, and the library's edge follower tracing contours frame by
// frame where the user clicks.
//
// - A left click on either window traces from the clicked point within the current frame: the
//   start moves to the strongest edge within two voxels of the click, and the follower runs
//   over the work volume (each frame's luminance less the minimum of its 3x3 in-frame window:
//   a one-voxel band on the bright side of every edge) keeping to voxels at least half as
//   strong as the start. Where it stops while the contour could go on (its excluded previous
//   point was the only way, or the other way from the start) it is started again next to
//   what it traced, until the contour closes or ends. The traced voxels become contour marks:
//   drawn over the original, written into the output (255 in the one-channel output of B&W,
//   red over the colour copy of the original for colour). A click far from any edge traces
//   nothing.
// - A right click clears every trace of the current frame (the output gets back what it held
//   under them).
// - Each frame keeps its traces while the windows step; the output keeps them after the end.
// - The command again, or closing either window, ends it: the work volume is destroyed and the
//   other window closed.
#pragma once

#include <map>
#include <vector>

#include "app/tools/tools.h"
#include "vexilo3d.h"

namespace app {

struct TracePoint {
    int y, x;
    bool operator==(const TracePoint&) const = default;
};

// The traces of one frame: every voxel traced, and where each trace started.
struct FrameTrace {
    std::vector<TracePoint> contour;
    std::vector<TracePoint> starts;
};

class ContourFollowing : public Tool {
public:
    // The command that started it (1250 or 1251), 0 while inactive.
    int command() const { return command_; }
    bool active() const { return command_ != 0; }
    Volume* original() const { return original_; }
    Volume* output() const { return output_; }
    Volume* work() const { return work_; }

    // Starts on original and output (prepared by the command with the original's dimensions):
    // the work volume in a free slot, the output's first contents (cleared for B&W, a copy of
    // the original for colour), the two windows. 0, or the status to report (nothing is left
    // started then).
    int start(int command, Volume* original, Volume* output);
    // Ends it: the work volume destroyed, the windows closed. Harmless when inactive.
    void end();

    bool clicked(const VoxelEvent& e) override;
    // Traces from the voxel nearest (y, x) of frame z; true when something was traced.
    bool follow(int z, int y, int x);
    // Clears every trace of frame z.
    void clear(int z);
    // The traces of frame z (empty when none).
    const FrameTrace& trace(int z) const;

private:
    bool volumes_intact() const;
    void mark(int z, const TracePoint& p, bool on);

    int command_ = 0;
    Volume* original_ = nullptr;
    Volume* output_ = nullptr;
    Volume* work_ = nullptr;
    void* work_data_ = nullptr;  // tells the work volume from a later one in its slot
    const void* views_[2] = {nullptr, nullptr};
    std::map<int, FrameTrace> traces_;
};

// The one contour following of the workstation.
ContourFollowing& contour_following();

// Converts a one-channel UC volume to three channels in place (its windows closed first, its
// name and VOI kept, every channel the grey value). 0 or the status of the allocation.
int convert_to_colour(Volume* vol);

}  // namespace app
