/* VEXILO3D: the volume record, the volume table, status texts and the basic operations. */
#ifndef VEXILO3D_CORE_H
#define VEXILO3D_CORE_H

#include "vexilo3d_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Volume record and table ------------------------------------------------------------ */

V3D_API void InitializeVolume(Volume *vol, int Z, int Y, int X, int type, int colortype);
V3D_API void fill_in_VOI(Volume *vol, int z1, int z2, int y1, int y2, int x1, int x2);
/* Allocates one pointer block of Z*(Y+1) slots and one zeroed block per frame, per channel.
   A request larger than the machine's physical memory is refused with -530 before anything
   is allocated; when a later channel fails, the channels already obtained are released. */
V3D_API int  CreateVolume(Volume *vol);
V3D_API void DestroyVolume(Volume *vol);
V3D_API int  CheckVolume(Volume *vol, int typemask, int colormask);
V3D_API int  CheckIfUCBinary(Volume *vol);
V3D_API int  CheckIfVolumeClear(Volume *vol, const float *values);

/* 1 ok, 0 failure; idempotent. Allocating the table also starts the library's worker threads
   (VEXILO3D_THREADS, default one per core), so that no operator is the first to need them. */
V3D_API int     AllocateVolumeTable(void);
V3D_API void    ReleaseVolumeTable(void);       /* destroys every volume, frees the table */
V3D_API Volume *GetVolumeByIndex(int index);    /* NULL outside 0..99 or before allocation */
V3D_API int     GetNewVolumeIndex(void);
V3D_API int     GetVolumeIndex(Volume *vol);
/* Type V3D_TYPE_UC_FROM_FILE (65535) is a request of the restricted edition: a UC volume made
   for a file. In a build with the restricted edition enabled (VEXILO3D_RESTRICTED_EDITION) such
   a volume may hold at most VEXILO3D_RESTRICTED_MAX_VOXELS voxels (Z*Y*X, default 256*256*256);
   a larger request shows message 7003 through the message hook and returns -1 with out
   untouched. Otherwise it proceeds as UC. */
enum { V3D_TYPE_UC_FROM_FILE = 65535 };
V3D_API int     CreateVolumeEx(int type, int colortype, int Z, int Y, int X, int reserved,
                               Volume **out);

V3D_API const char *GetStatusText(int code);    /* text of string |code|, "" when there is none */

/* ---- Library settings ------------------------------------------------------------------- */

/* The default two-dimensional image size used by CopyFrame2Image and CopyImage2Frame (256 x 256
   until the application sets it at start-up). Values below 1 are ignored. */
V3D_API void SetDefaultImageSize(int height, int width);
V3D_API void GetDefaultImageSize(int *height, int *width);

/* The library never shows anything itself. The few notices it must give (the restricted
   edition's refusal, message 7003) go to this hook, which the application points at its
   message box; without a hook they are dropped. */
typedef void (*V3DMessageHook)(int code);
V3D_API void SetMessageHook(V3DMessageHook hook);

/* ---- Basic operations and metrics -------------------------------------------------------- */

V3D_API int ClearVolume(Volume *vol, const float *values);
V3D_API int CopyVolume(Volume *in, Volume *out, int z0, int y0, int x0);
V3D_API int FVolume2UCVolume(Volume *in, Volume *out, int z0, int y0, int x0);
V3D_API int FVolume2UCVolume_norm(Volume *in, Volume *out, int z0, int y0, int x0);
/* The VOI of a UC volume into an F volume of the same colour type at (z0, y0, x0), values
   unchanged. Checks: in UC (any colour), out F (any colour), colour types differ -523,
   a negative offset -90, the VOI extent from the offset beyond out's Z, Y or X -520. */
V3D_API int UCVolume2FVolume(Volume *in, Volume *out, int z0, int y0, int x0);
/* The same for an I volume into an F volume (checks as UCVolume2FVolume, in must be I). Values
   beyond 2^24 in magnitude become the nearest float. */
V3D_API int IVolume2FVolume(Volume *in, Volume *out, int z0, int y0, int x0);
/* Brings deep integer data (16-bit images, CT numbers) into 0..255 through a linear window:
   every VOI voxel v of in gives, at the same coordinates of out,
       floor(255 * (v - low) / (high - low) + 0.5), clamped to 0..255
   so low and everything below become 0, high and everything above 255. low == high == 0 takes
   the window from the data: the minimum and maximum over the VOI of every channel together
   (one window, so the channels of a colour volume keep their balance); when they are equal
   the VOI is constant and each voxel keeps its value clamped to 0..255.
   Checks, in order: CheckVolume(in, I, any colour), CheckVolume(out, UC, any colour), out
   smaller than in in Z, Y or X -520, colour types differ -523, low > high or low == high
   (other than 0, 0) -90. out's voxels outside in's VOI are untouched. */
V3D_API int IVolume2UCVolume_window(Volume *in, Volume *out, int low, int high);
V3D_API int CountNonZeroSurfacePoints3d(Volume *vol, unsigned int *count);
V3D_API int CountNonZeroPoints3d(Volume *vol, unsigned int *count);
V3D_API int FindMinMaxIntensity(Volume *vol, unsigned int *min, unsigned int *max);
V3D_API int FindBoundingBox3d(Volume *vol, int *zmin, int *zmax, int *ymin, int *ymax,
                              int *xmin, int *xmax);        /* inclusive bounds; all -1 when empty */
V3D_API int and3d(Volume *a, Volume *b, Volume *out);
V3D_API int or3d(Volume *a, Volume *b, Volume *out);
V3D_API int xor3d(Volume *a, Volume *b, Volume *out);
V3D_API int Symmetric3d(Volume *in, Volume *out);
V3D_API int CopyFrame2Image(Volume *vol, int frame, Image2d image, int row0, int col0);
V3D_API int CopyImage2Frame(Volume *vol, int frame, Image2d image, int y0, int x0,
                            int r1, int r2, int c1, int c2);

/* Rotation by nearest-neighbour resampling. Both take any data type and colour type and write
   the rotated VOI of in at the same VOI coordinates of out; out's other voxels are untouched,
   and a voxel whose source lies outside the VOI becomes 0.
   Checks, in order: CheckVolume(in, 7, 3), CheckVolume(out, 7, 3), in and out the same record
   -525, out smaller than in in Z, Y or X -520, types differ -522, colour types differ -523,
   an angle that is not finite -90.

   RotateVol2d: every frame of the VOI turns by angle degrees about the VOI's centre
   ((y1+y2-1)/2, (x1+x2-1)/2); a positive angle turns counter-clockwise as the frame is shown
   (row 0 at the top). RotateVol3d: the VOI turns about its centre by az degrees about the Z
   axis (as RotateVol2d), then ay about the Y axis (X towards Z), then ax about the X axis
   (Y towards Z). */
V3D_API int RotateVol2d(Volume *in, Volume *out, float angle);
V3D_API int RotateVol3d(Volume *in, Volume *out, float az, float ay, float ax);

#ifdef __cplusplus
}
#endif

#endif
