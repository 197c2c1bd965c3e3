/* VEXILO3D: binary morphology of grey UC volumes with a structuring element that is a small
   binary UC volume of odd dimensions, its origin the centre voxel; the whole element is used,
   a voxel counting as set when it is non-zero. Checks, first failure wins: input, element and
   output grey UC; the output not smaller than the input (-520); each element dimension odd and
   at most the VOI's extent (-521); input, then element binary over their VOIs (-535).
   Centres run over the VOI shrunk by the element's half sizes; element voxel (i, j, k) pairs
   with input voxel (z - hz + i, y - hy + j, x - hx + k). Voxels outside the input's VOI are
   never written. A call whose input and output share storage reads a copy of the input's VOI
   (-530 when it cannot be had); -9 when a work buffer cannot be had. */
#ifndef VEXILO3D_MORPHOLOGY_H
#define VEXILO3D_MORPHOLOGY_H

#include "vexilo3d_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Scatter dilation: the output's VOI is cleared, then every set input voxel of the working
   region stamps the set element voxels as 255. */
V3D_API int MinkowskiAddition3d(Volume *in, Volume *se, Volume *out);
/* Scatter erosion: the working region is set to 255 and its margins in the VOI to 0, then
   every clear input voxel of the working region stamps the set element voxels as 0. */
V3D_API int MinkowskiSubtraction3d(Volume *in, Volume *se, Volume *out);
/* Gather dilation: 255 where some set element voxel meets a set input voxel, else 0; the VOI
   margins (half an element wide) are set to 0. */
V3D_API int bdilate3d(Volume *in, Volume *se, Volume *out);
/* Gather erosion: 0 where some set element voxel meets a clear input voxel, else 255; the VOI
   margins are set to 0. */
V3D_API int berode3d(Volume *in, Volume *se, Volume *out);
/* berode3d with the element, then bdilate3d with its point reflection (Symmetric3d) through
   an internal volume; -530 when an internal volume cannot be had, and a failing step's status
   (its work buffer) is returned, the output untouched. */
V3D_API int bopening3d(Volume *in, Volume *se, Volume *out);
/* bdilate3d with the element, then berode3d with its reflection; -530 as for opening. */
V3D_API int bclosing3d(Volume *in, Volume *se, Volume *out);

#ifdef __cplusplus
}
#endif

#endif
