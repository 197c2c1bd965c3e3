// The coordinates read-out: what PrintCoordinates last stored (position and colour of the
// voxel under the mouse) and whether its window is shown.
#pragma once

#include <string>

#include "vexilo3d.h"

namespace app {

// The mode that blanks the read-out (all values 0).
constexpr int kBlankReadout = 32768;

struct Readout {
    int mode = 0, x = 0, y = 0, z = 0;
    double R = 0, G = 0, B = 0;
};

const Readout& readout();
void store_readout(const Readout& r);

bool coordinates_shown();
void set_coordinates_shown(bool shown);

// The colour space of the read-out's right field, as the ids of its pop-up menu.
enum ColourSpace : int { kRgb = 2, kXyz = 3, kLab = 4, kHls = 5 };
int colour_space();
void set_colour_space(int space);

// The two fields of the read-out: the position, and the colour in space (white: the reference
// white of Lab).
std::string position_text(const Readout& r);
std::string colour_text(const Readout& r, int space, const double white[3]);

// The colour of voxel (z, y, x) on the 0..255 scale of a grey or colour display: R = G = B
// for one channel; F and I voxels give their own values. False outside the volume.
bool voxel_colour(const Volume* vol, int z, int y, int x, double rgb[3]);

}  // namespace app
