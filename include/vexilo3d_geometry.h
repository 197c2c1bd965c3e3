/* VEXILO3D: the voxel spacing and orientation of a volume.

   The Volume record is a layout contract with modules and cannot grow, so what a file tells
   about the size of its voxels and where they lie in the patient or specimen is kept beside
   the record: for a record of the volume table by its slot, for any other record (a program's
   own, like v3d's) by its address, up to V3D_GEOMETRY_LOOSE_RECORDS such records at a time.
   CreateVolume and DestroyVolume forget it, so a new or destroyed volume has voxels of
   1 x 1 x 1 and no orientation. The readers of files that know it fill it in, the writers of
   such files write it back, and the workstation copies it from input to output for the
   operators that keep the voxel grid. None of these functions allocates. */
#ifndef VEXILO3D_GEOMETRY_H
#define VEXILO3D_GEOMETRY_H

#include "vexilo3d_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* How many records outside the volume table may carry a geometry at the same time. */
#define V3D_GEOMETRY_LOOSE_RECORDS 32

/* Where the voxels lie: world = affine * (x, y, z, 1), the world in millimetres along
   right, anterior, superior (as NIfTI files give it), x the column, y the row and z the frame
   index of the volume. The two codes are NIfTI's names of that world (0 unknown, 1 scanner,
   2 aligned, 3 Talairach, 4 MNI), written back with the affine as the file's qform and sform
   codes; readers of other formats set both to 1. */
typedef struct VolumeOrientation {
    double affine[3][4];
    int qform_code;
    int sform_code;
} VolumeOrientation;

/* The distance between voxel centres along Z (frames), Y (rows) and X (columns), in
   millimetres where a file names its unit; 1, 1, 1 when nothing set it. -501 for a null
   volume, -4 for a null result pointer. */
V3D_API int GetVolumeSpacing(Volume *vol, double *sz, double *sy, double *sx);
/* Checks: CheckVolume(vol, any, any); a spacing that is not a finite number above 0 -90;
   -9 when vol is outside the table and V3D_GEOMETRY_LOOSE_RECORDS others carry one. */
V3D_API int SetVolumeSpacing(Volume *vol, double sz, double sy, double sx);
/* 1 with *orientation filled when the volume has one, 0 when it has none, or a status (-501,
   -4). */
V3D_API int GetVolumeOrientation(Volume *vol, VolumeOrientation *orientation);
/* A null orientation removes it. Checks as SetVolumeSpacing; an affine with a number that is
   not finite -90. */
V3D_API int SetVolumeOrientation(Volume *vol, const VolumeOrientation *orientation);
/* Gives `to` the spacing and orientation of `from` (both checked with CheckVolume, any type
   and colour; -9 as SetVolumeSpacing). */
V3D_API int CopyVolumeGeometry(Volume *from, Volume *to);

#ifdef __cplusplus
}
#endif

#endif
