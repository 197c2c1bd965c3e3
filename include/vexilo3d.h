/* VEXILO3D volume library: the public C interface (libvexilo3d).
   Status results are int: 0 on success, a negative string id on failure (GetStatusText). */
#ifndef VEXILO3D_H
#define VEXILO3D_H

#include "vexilo3d_types.h"
#include "vexilo3d_status.h"
#include "vexilo3d_core.h"
#include "vexilo3d_geometry.h"
#include "vexilo3d_io.h"
#include "vexilo3d_imageio.h"
#include "vexilo3d_volumefile.h"
#include "vexilo3d_stack.h"
#include "vexilo3d_segment.h"
#include "vexilo3d_resize.h"
#include "vexilo3d_morphology.h"
#include "vexilo3d_filters.h"
#include "vexilo3d_edges.h"
#include "vexilo3d_proj.h"
#include "vexilo3d_fft.h"

#endif
