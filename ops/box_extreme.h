// The running maximum and minimum over short boxes, shared by the rank filters and by binary
// morphology (on voxels of 0 and 255 a dilation by a box is its maximum, an erosion its minimum).
#pragma once

#include <cstring>

#include "vexilo3d.h"

namespace v3d {

// Boxes up to this long on every axis take short_box_extreme.
constexpr int kShortBox = 16;

// Sets n bytes to 0. The side margins of rows are a few bytes, for which a call of memset per
// row costs more than the bytes: two overlapping stores of a width up to n instead.
inline void clear_bytes(unsigned char* p, int n) {
    static const unsigned char zeros[16] = {};
    if (n > 16) {
        std::memset(p, 0, n);
    } else if (n >= 8) {
        std::memcpy(p, zeros, 8), std::memcpy(p + n - 8, zeros, 8);
    } else if (n >= 4) {
        std::memcpy(p, zeros, 4), std::memcpy(p + n - 4, zeros, 4);
    } else if (n >= 2) {
        std::memcpy(p, zeros, 2), std::memcpy(p + n - 2, zeros, 2);
    } else if (n == 1) {
        *p = 0;
    }
}

// Writes into out, at every centre of in's VOI whose wz x wy x wx box lies inside the VOI, the
// maximum (or minimum) of in over the box, channel by channel, and nothing else. The sizes are
// odd, fit the VOI and are at most kShortBox; out holds in's dimensions and channels. Frames go
// to the threads when in != out; in == out gives the same result. clear_margins: the voxels of
// the VOI that are no centres become 0 (as dilation and erosion leave them). Returns 0, or -530
// when the work memory cannot be had (then nothing is written).
int short_box_extreme(Volume* in, Volume* out, int wz, int wy, int wx, bool maximum, bool clear_margins = false);

// Two such passes in a row without a volume between: out's centres receive the minimum (after
// a first maximum) or the maximum (after a first minimum) over the box of the volume that holds
// the first pass's extremes at the centres and 0 elsewhere in the VOI. The same conditions and
// statuses; in and out must not share storage.
int short_box_pair(Volume* in, Volume* out, int wz, int wy, int wx, bool first_maximum, bool clear_margins = false);

}  // namespace v3d
