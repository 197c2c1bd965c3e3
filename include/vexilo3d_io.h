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
/* A single-file raw volume whose voxels are stored as sample (V3D_SAMPLE_U8 ... V3D_SAMPLE_F64
   of vexilo3d_volumefile.h), multi-byte samples big-endian when big_endian is 1: the file is
   read from byte offset on, then skip frames of samples are skipped once and frames 0..Z-1,
   rows 0..Y-1, columns 0..X-1 of every channel are read, planar by channel as ReadVolume reads
   them. The samples go into the volume's own type: U8 into UC; S8, U16, S16, U32 and S32 into
   I; F32 and F64 into F. Checks: CheckVolume(vol, any, any); Z, Y or X beyond the volume's
   -521; a null name, negative sizes, offset or skip, or another sample type -90; a sample type
   the volume's data type does not take -502; then -600 open, -601 short file, -1106 an
   unsigned 32-bit value above 2147483647 (the frames before it are read). */
V3D_API int ReadRawSamples(Volume *vol, const char *filename, long long offset, int skip,
                           int sample, int big_endian, int Z, int Y, int X);
/* The VOI as text: "%3u " / "%.3f " / "%d " per voxel, a line break after each row, one more
   after each frame and after each channel. */
V3D_API int dumpUCFI3D(Volume *vol, const char *filename);

#ifdef __cplusplus
}
#endif

#endif
