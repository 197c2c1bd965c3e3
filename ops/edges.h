// Internals of the edge operators that the benchmarks reach: the plain formulations (one
// direct mask loop over uc[z][y][x] per voxel, scan order, one thread). The operators use them
// for in-place calls; the fast row forms give the same voxels when in != out.
#pragma once

#include "vexilo3d.h"

namespace v3d::edges {

// No checks: in and out are valid one-channel UC volumes, out at least as large as in.
void sobel_plain(Volume* in, Volume* out);
void laplace_plain(Volume* in, Volume* out);

}  // namespace v3d::edges
