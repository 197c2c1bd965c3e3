// The coordinates read-out: what PrintCoordinates last stored (position and colour of the
// voxel under the mouse) and whether its window is shown.
#pragma once

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

// The colour of voxel (z, y, x) on the 0..255 scale of a grey or colour display: R = G = B
// for one channel; F and I voxels give their own values. False outside the volume.
bool voxel_colour(const Volume* vol, int z, int y, int x, double rgb[3]);

}  // namespace app
