/* VEXILO3D: resizing and interpolation. All functions take UC volumes, work on the input's VOI
   and write into the output from the destination origin (dz, dy, dx), leaving every other
   output voxel untouched. Checks come in this order, the first failure wins: the input, the
   output, equal colour types (-523), the parameters (-90), the output's extent (-520), then
   the function's own checks. Nothing is written before all of them pass. A call whose input
   and output share storage reads a copy of the input's VOI (-530 when it cannot be had). */
#ifndef VEXILO3D_RESIZE_H
#define VEXILO3D_RESIZE_H

#include "vexilo3d_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Replication: every VOI voxel fills an f x f x f block. f >= 1, origins >= 0 (-90);
   f * extent + origin <= output dimension on each axis (-520). Grey or RGB. */
V3D_API int zoom3d(Volume *in, Volume *out, int f, int dz, int dy, int dx);
/* Subsampling: VOI voxels z1, z1 + f, ... (and likewise in y, x) go to consecutive output
   voxels. f >= 1, origins >= 0 (-90); extent / f + origin <= output dimension, integer
   division (-520). ceil(extent / f) samples are taken per axis; a last sample that the check
   lets fall outside the output is not written. Grey or RGB. */
V3D_API int decim3(Volume *in, Volume *out, int f, int dz, int dy, int dx);
/* Resampling by real factors (mode 0: factors finite and > 0, origins >= 0, else -90; target
   truncate(extent * factor) from the origin must fit, else -520) or to the output's whole
   size (any other mode: factors and origins ignored). Nearest neighbour: the source voxel of
   output voxel n is n / step rounded half up past the VOI's first voxel, the step
   (target - 1) / (extent - 1) in single precision. -9 when a work buffer cannot be had.
   Grey or RGB. */
V3D_API int InterpolationNearestNeighbor3d(Volume *in, Volume *out, int mode,
                                           float fz, float fy, float fx, int dz, int dy, int dx);
/* As InterpolationNearestNeighbor3d with trilinear weights; the source position of output
   voxel n lies n * ((extent - 1) - 0.1) / (target - 1) past the VOI's first voxel on each axis
   (double precision), the blend is evaluated in single precision along x, then y, then z, and
   stored as truncate(value + 0.5). An axis of extent 1 repeats its voxel. -9 when a work
   buffer cannot be had. */
V3D_API int InterpolationLinear3d(Volume *in, Volume *out, int mode,
                                  float fz, float fy, float fx, int dz, int dy, int dx);
/* Resampling along Z only (Y and X keep the VOI's extents). A one-frame VOI gives -521.
   Mode 0: fz finite and > 0, origins >= 0 (-90); integral fz targets (frames - 1) * fz + 1 frames,
   another fz truncate(frames * fz). Other modes: the output's Z from the origin 0, with
   fz = (Z - 1) / (frames - 1). The target frames and the VOI's rows and columns must fit from
   the origin (-520). Integral fz: input frames land on every fz-th output frame and the frames
   between are (1 - t) A + t B, t = i / fz, rounded half up exactly. Otherwise output frame n
   blends the input frames around n / ((target - 1) / ((frames - 1) - 0.1)) by their distances
   (double precision), rounded half up. Grey or RGB. */
V3D_API int InterpolationFrameLinear3d(Volume *in, Volume *out, int mode, float fz,
                                       int dz, int dy, int dx);
/* Input frame j goes to output frame dz + k j, the k - 1 frames after it (not after the last)
   are cleared over the VOI's rows and columns. k >= 2, origins >= 0 (-90); the output must
   hold k (frames - 1) + 1 frames from dz and the VOI's rows and columns from dy, dx (-520).
   Grey volumes. */
V3D_API int FrameZeroPadding(Volume *in, Volume *out, int k, int dz, int dy, int dx);
/* As FrameZeroPadding with k in {2, 3}; each new frame is the blend (k - i) / k A + i / k B of
   its neighbouring input frames averaged over the 3 x 3 in-plane neighbourhood (clipped to the
   frame, divided by the number of voxels in it), rounded half up exactly. Grey volumes. */
V3D_API int FrameInterpolationGrayscale(Volume *in, Volume *out, int k, int dz, int dy, int dx);
/* Shape-aware insertion of k - 1 binary frames (k in {2, 3}) between the input frames, at the
   pixels inside the frame's one-pixel border (the border pixels of new frames are left as they
   were). Pixels where both frames agree keep the value; otherwise junction pixels (two or more
   0 -> 255 steps around the eight neighbours) decide: both junctions give 0, one junction gives
   its own value; neither gives the 3 x 3 blend of FrameInterpolationGrayscale thresholded at
   140. fill in {0, 1}, k and origins as above (-90); output extents (-520); the input VOI must
   be binary (-535); with fill set the work image must be had (-9), and every new frame then
   gets the contour fill of FrameContourObjectFill. Grey volumes. */
V3D_API int FrameInterpolationBinary(Volume *in, Volume *out, int k, int dz, int dy, int dx,
                                     int fill);
/* Fills the objects of every VOI frame: the background is flooded from the VOI's rectangle
   border through 0-voxels (4-connected), every voxel not reached becomes 255 and every voxel
   reached stays 0. The result lies at the same coordinates in the output. Checks: input and
   output grey UC, the output not smaller than the input (-520), the work image (-9). */
V3D_API int FrameContourObjectFill(Volume *in, Volume *out);

#ifdef __cplusplus
}
#endif

#endif
