// The running maximum and minimum over short boxes, shared by the rank filters and by binary
// morphology (on voxels of 0 and 255 a dilation by a box is its maximum, an erosion its minimum).
#pragma once

#include "vexilo3d.h"

namespace v3d {

// Boxes up to this long on every axis take short_box_extreme.
constexpr int kShortBox = 16;

// Writes into out, at every centre of in's VOI whose wz x wy x wx box lies inside the VOI, the
// maximum (or minimum) of in over the box, channel by channel, and nothing else. The sizes are
// odd, fit the VOI and are at most kShortBox; out holds in's dimensions and channels. Frames go
// to the threads when in != out; in == out gives the same result. Returns 0, or -530 when the
// work memory cannot be had (then nothing is written).
int short_box_extreme(Volume* in, Volume* out, int wz, int wy, int wx, bool maximum);

// Two such passes in a row without a volume between: out's centres receive the minimum (after
// a first maximum) or the maximum (after a first minimum) over the box of the volume that holds
// the first pass's extremes at the centres and 0 elsewhere in the VOI. The same conditions and
// statuses; in and out must not share storage.
int short_box_pair(Volume* in, Volume* out, int wz, int wy, int wx, bool first_maximum);

}  // namespace v3d
