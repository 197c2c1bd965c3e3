/* VEXILO3D: volume files of the field, whose header tells the grid, the voxel type, the voxel
   spacing and the orientation: NIfTI-1 and NIfTI-2 (.nii, .nii.gz, .hdr/.img and
   .hdr.gz/.img.gz pairs, through the NIfTI C library), NRRD (.nrrd, or a .nhdr header and its
   data; raw or gzip encodings, through Teem) and MetaImage (.mha, or a .mhd header beside its
   .raw or .zraw data).

   They are the entries V3D_FORMAT_NIFTI, V3D_FORMAT_NRRD and V3D_FORMAT_METAIMAGE of the format
   table (vexilo3d_imageio.h): single-file formats whose file is "%s.%s" (base, extension; a
   name like "brain.nii.gz" may be split anywhere before a dot). Their frames are counted in
   file order: frame Z * t + z is frame z of time point t, so a four-dimensional file of T time
   points holds Z * T frames. For them the table's entries read:

     check(base, first, digits, ext, count, info)  count frames from frame first (digits is not
         used); count 0 means the rest of the time point that frame first belongs to, so
         first = Z * t with count 0 is time point t. info gets X, Y, the frames read (Z), the
         data type and colour type of the volume to read into and the bits of a sample.
     read(vol, base, first, digits, ext, count)  the same frames into frames 0.. of vol, whose
         data type and colour type must be those of the check (-502, -503) and whose size must
         hold them (-521). The spacing and orientation of the file go with the volume
         (vexilo3d_geometry.h).
     write(vol, base, first, digits, ext)  every frame of vol as one three-dimensional file,
         with the volume's spacing and orientation (first and digits are not used).

   Frames are the slowest axis of the file's grid (NIfTI's k, a NRRD's third spatial axis, a
   MetaImage's third dimension) and the first frame is the first slice stored in the file; rows
   and columns are kept in the file's order too, so the orientation read is valid for the
   volume as it is.

   Voxels: unsigned 8-bit into UC, signed 8-bit and 16- and 32-bit integers into I (unsigned
   32-bit values above 2147483647 are refused with -1106), 32- and 64-bit reals into F, RGB
   (NIfTI's RGB24, a NRRD whose first axis is three 8-bit colour components, a MetaImage of
   three 8-bit channels) into three-channel UC. NIfTI files whose scaling (scl_slope,
   scl_inter) changes the stored values are read as slope * value + inter into F. The writers
   write UC as unsigned 8-bit (RGB for three channels), F as 32-bit reals and I as the
   smallest of signed 16-bit, unsigned 16-bit or signed 32-bit that holds every voxel.

   Statuses: -600 a file cannot be opened or created, -601 it ends early, -602 a write fails,
   -1100 / -1101 / -1102 a NIfTI, NRRD or MetaImage header that cannot be read or makes no
   sense, -1103 a voxel type these readers do not take (complex, 64-bit integers, vectors),
   -1104 frames beyond the file's last (a time point that does not exist), -1105 a grid beyond
   V3D_IMAGE_MAX_WIDTH x V3D_IMAGE_MAX_HEIGHT x V3D_IMAGE_MAX_FRAMES or with a fifth dimension,
   -1106 values that do not fit the volume's type, -90 null names, a negative first or count,
   -9 no memory for a buffer. */
#ifndef VEXILO3D_VOLUMEFILE_H
#define VEXILO3D_VOLUMEFILE_H

#include "vexilo3d_geometry.h"
#include "vexilo3d_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The voxel types of files (also of raw files, vexilo3d_io.h). */
enum {
    V3D_SAMPLE_U8 = 1,
    V3D_SAMPLE_S8 = 2,
    V3D_SAMPLE_U16 = 3,
    V3D_SAMPLE_S16 = 4,
    V3D_SAMPLE_U32 = 5,
    V3D_SAMPLE_S32 = 6,
    V3D_SAMPLE_F32 = 7,
    V3D_SAMPLE_F64 = 8,
    V3D_SAMPLE_RGB24 = 9 /* three 8-bit components per voxel */
};

typedef struct VolumeFileInfo {
    int X, Y, Z;         /* columns, rows and frames of one time point */
    int T;               /* time points: 1 for a file of three (or two) dimensions */
    int sample;          /* the file's voxel type, V3D_SAMPLE_* */
    int type;            /* the data type of the volume it is read into: UC, I or F */
    int colortype;       /* 1 grey, 2 RGB */
    int scaled;          /* 1 when NIfTI scaling turns the stored values into reals */
    double spacing[3];   /* z, y, x, as GetVolumeSpacing gives them */
    int oriented;        /* 1 when orientation holds the file's */
    VolumeOrientation orientation;
} VolumeFileInfo;

/* What the header of the file path of format (V3D_FORMAT_NIFTI, _NRRD or _METAIMAGE) tells;
   nothing of the data is read. Statuses as above; -90 for another format or null pointers. */
V3D_API int DescribeVolumeFile(int format, const char *path, VolumeFileInfo *info);

/* The writers with their options (the table's writers use 0 for each):
   NIfTI: version 1 or 2 (0: NIfTI-1 unless a dimension exceeds 32767); gzip when the name ends
   in ".gz"; a ".hdr" name writes the header there and the voxels to ".img" beside it.
   NRRD: gzip 1 compresses the data (when Teem was built with zlib; -90 otherwise); a ".nhdr"
   name writes the data to ".raw" (".raw.gz") beside it.
   MetaImage: compress 1 deflates the data (zlib); a ".mhd" name writes the data to ".raw"
   (".zraw" compressed) beside it. */
V3D_API int SaveNiftiVolume(Volume *vol, const char *path, int version);
V3D_API int SaveNrrdVolume(Volume *vol, const char *path, int gzip);
V3D_API int SaveMetaImageVolume(Volume *vol, const char *path, int compress);

#ifdef __cplusplus
}
#endif

#endif
