/* VEXILO3D: segmentation and labelling of grey UC volumes.

   Every function works on the input's VOI and begins with CheckVolume on the input and the
   output (type UC, one channel), returning its code unchanged; an output smaller than the
   input in Z, Y or X gives -520. Outputs hold region numbers or region means; 0 means "no
   region". Region means are floor(sum / count + 0.5). */
#ifndef VEXILO3D_SEGMENT_H
#define VEXILO3D_SEGMENT_H

#include "vexilo3d_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* out = 255 where in >= threshold, else 0, over the input's VOI (compared as integers, so a
   threshold <= 0 gives 255 everywhere and one above 255 gives 0). */
V3D_API int threshold_3d(Volume *in, Volume *out, int threshold);

/* Seeded growing. On entry every non-zero output voxel of the VOI is a seed and opens a region
   (numbered in z, y, x scan order); a neighbour (26-connected) joins a region when its value is
   within tolerance of the region's seed value. Only voxels inside the VOI's one-voxel border
   spread, so seeds on the border stay one-voxel regions. On exit every region voxel holds its
   region's mean, other voxels are unchanged. maxseeds outside 1..255 or tolerance < 0: -90;
   -9 / -530 when tables / working volumes cannot be had; more seeds than maxseeds: -990 (the
   seeds scanned so far already hold their region numbers, no means are written). */
V3D_API int region3d_grow(Volume *in, Volume *out, int maxseeds, int tolerance);

/* One raster pass: each voxel joins the labelled causal neighbour (13 of the 26) whose region
   mean is nearest and within tolerance, else the nearest such region of all, else opens a new
   region; means are updated at once. The output's VOI is cleared first and ends holding the
   region means. Returns the number of regions (> 0); tolerance < 0 or maxregions outside
   1..255: -90; -9 / -530 on allocation; a region beyond maxregions stops the scan with -92,
   leaving the voxels scanned so far converted. */
V3D_API int region3d_merge(Volume *in, Volume *out, int tolerance, int maxregions);

/* Octree split: a box whose (max - min) exceeds tolerance is halved along each axis longer than
   one voxel (the lower half the smaller); every homogeneous block gets its mean in the output
   and adds 1 to *count. Checks after the volumes and -520: count null -4, *count not 0 -90,
   tolerance < 0 -90. */
V3D_API int region3d_split(Volume *in, Volume *out, int *count, int tolerance);

/* Octree split where each new homogeneous block merges into the neighbouring region (found in
   the one-voxel slabs outside its faces) whose output value is nearest to the block's mean,
   when within tolerance; the merged region keeps its stored mean. *count ends as the number of
   regions; at most 255 regions are formed (further blocks are left unwritten). Pass a zeroed
   output: non-zero output voxels next to a block take part in the search (one that belongs to
   no region never receives a merge). Checks as region3d_split, then -9 / -530 on allocation. */
V3D_API int region3d_splitmerge(Volume *in, Volume *out, int *count, int tolerance);

/* Grass-fire labelling of 26-connected components of equal non-zero value, numbered 1, 2 ...
   in scan order of their first voxel. The input is consumed: every labelled voxel becomes 0
   in it. Only labelled output voxels are written. counts[l - 1] receives the voxel count of
   label l (counts holds maxlabels entries, cleared first); *nlabels the number of labels.
   Checks after the volumes: nlabels null -4, counts null -2, -520, maxlabels outside 1..255
   -90. A label beyond maxlabels stops with -92 (*nlabels = maxlabels); when the pending-voxel
   store cannot grow, -9 (*nlabels = the label reached). */
V3D_API int grass3d_label(Volume *in, Volume *out, int *nlabels, float *counts, int maxlabels);

#ifdef __cplusplus
}
#endif

#endif
