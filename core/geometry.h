// The geometry store's one internal entry: CreateVolume and DestroyVolume forget what was kept
// for a record, so that a new volume starts with voxels of 1 x 1 x 1 and no orientation.
#pragma once

#include "vexilo3d.h"

namespace v3d {

void forget_geometry(const Volume* vol);

}  // namespace v3d
