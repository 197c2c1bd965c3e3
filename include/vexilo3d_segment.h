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

/* ---- Viewing a label volume in colour --------------------------------------------------- */

/* One entry of a label colour table; object l (1..n) is entry l - 1. */
typedef struct LabelColor {
    unsigned char red, green, blue;
    int changed;    /* the colour was edited after it was last written */
    int requested;  /* the object is to be shown (1) or hidden (0) */
    int displayed;  /* the display state last written to the output */
} LabelColor;

/* Colours a label volume (UC, one channel: objects 1..n, background 0) into out (UC, three
   channels: red, green, blue). For every voxel of the labels' VOI whose label l is not 0 the
   output voxel at the same position becomes table[l - 1]'s colour when that object is
   requested shown, black when hidden; with k = 0 every object is written, otherwise only the
   voxels of object k. Label-0 voxels and labels above n are never written.
   Checks in order: labels (UC, one channel), out (UC, three channels), out smaller than the
   labels -520, table null -4, n outside 1..255 or k outside 0..n -90. */
V3D_API int ColorLabelledVolume3d(Volume *labels, Volume *out, int n, LabelColor *table, int k);

/* Fills entries 1..n of a colour table: changed 0, both display flags 1, and the default
   colour of each object, chosen to tell up to 255 objects apart on black:
     hue        (l - 1) * 137.508 degrees (the golden angle) modulo 360, so that neighbouring
                labels lie far apart in hue;
     saturation 0.85;
     value      1.0 for odd l, 0.75 for even l;
   converted from HSV to RGB and rounded; a colour whose luminance 0.299 R + 0.587 G + 0.114 B
   is below 96 is mixed with white until it reaches 96 (deep blues stay visible on black).
   Checks: table null -4, n outside 1..255 -90. */
V3D_API int SetDefaultLabelColors3d(LabelColor *table, int n);

#ifdef __cplusplus
}
#endif

#endif
