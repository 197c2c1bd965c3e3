/* VEXILO3D: raw volume files and the text dump. */
#ifndef VEXILO3D_IO_H
#define VEXILO3D_IO_H

#include "vexilo3d_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Frame-file series: one file per frame and channel, named "%s%d.%s" (digits 0) or "%s%0*d.%s";
   frame number n holds volume frame n - first; exts holds one extension per channel. Frame
   numbers past the int range (first + Z - 1 > INT_MAX) are refused with -90 before any file
   is opened. Rows go straight between the files and the volume's rows (no buffer). */
V3D_API int fromdiskUCFI3D(Volume *vol, const char *base, int first, int digits,
                           const char *const *exts, int Z, int Y, int X);
V3D_API int todiskUCFI3D(Volume *vol, const char *base, int first, int digits,
                         const char *const *exts);
/* Single-file volume, planar by channel; skip frames are skipped once, before channel 0. */
V3D_API int ReadVolume(Volume *vol, const char *filename, int skip, int Z, int Y, int X);
V3D_API int WriteVolume(Volume *vol, const char *filename, int first, int count);
/* The VOI as text: "%3u " / "%.3f " / "%d " per voxel, a line break after each row, one more
   after each frame and after each channel. */
V3D_API int dumpUCFI3D(Volume *vol, const char *filename);

#ifdef __cplusplus
}
#endif

#endif
