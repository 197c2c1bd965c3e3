/* VEXILO3D: histogram and equalization, neighbourhood filters, and the coefficient files of
   user-defined filter windows. */
#ifndef VEXILO3D_FILTERS_H
#define VEXILO3D_FILTERS_H

#include "vexilo3d_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Histogram and equalization ---------------------------------------------------------- */

/* UC volumes of either colour type; pdf[c] receives channel c's density (256 floats, the
   counts of the VOI divided by its voxel count). cdfhist3 sums one density cumulatively.
   histeq3 maps every VOI voxel v of channel c to (int)(cdf[c][v] * 255 + 0.5) at the same
   position of out; out may be larger and of either colour type, except that an RGB input
   into a grey output gives -523 (after -520, before the vector check). HistogramEqual3d does
   all three; in == out is allowed. */
V3D_API int hist3(Volume *in, float **pdf);
V3D_API int cdfhist3(const float *pdf, float *cdf);
V3D_API int histeq3(Volume *in, Volume *out, float **cdf);
V3D_API int HistogramEqual3d(Volume *in, Volume *out);

/* ---- Neighbourhood filters --------------------------------------------------------------- */

/* Box-window filters of UC volumes, channel by channel. The window (wz, wy, wx: positive, odd,
   no larger than the VOI's extents, else -24) is centred on the voxel it computes; only voxels
   whose whole window lies inside the VOI are written, every other output voxel keeps its value.
   Checks: input, output, out smaller than in -520, colour types differ -523, the function's own
   parameters, the window -24, buffers -9. Every real parameter must be finite (NaN and the
   infinities are -90, as for every operator of the library). in == out is allowed: the rank
   filters then read values they have already replaced (such calls run on one thread). */
V3D_API int mov_ave3(Volume *in, Volume *out, int wz, int wy, int wx);
V3D_API int median3(Volume *in, Volume *out, int wz, int wy, int wx);
V3D_API int run_median3(Volume *in, Volume *out, int wz, int wy, int wx);
/* The window is the weights volume (UC, one channel; its Z, Y, X odd and within the VOI, read
   from [0..Z)[0..Y)[0..X) whatever its VOI); weights summing to less than 1 give -524. */
V3D_API int wei_median3(Volume *in, Volume *out, Volume *weights);
V3D_API int multistage_median3(Volume *in, Volume *out, int n);
/* Separable running maximum / minimum; -530 when the whole-VOI temporary cannot be had. Every
   input voxel is read before the first output voxel is written, so in place equals out of
   place. */
V3D_API int run_max3(Volume *in, Volume *out, int wz, int wy, int wx);
V3D_API int run_min3(Volume *in, Volume *out, int wz, int wy, int wx);
/* coef: wz*wy*wx weights of the sorted window, coef[0] for the smallest value (NULL: -2; a
   weight that is not finite: -90, after the window check). */
V3D_API int l_filter3(Volume *in, Volume *out, const float *coef, int wz, int wy, int wx);
/* noise < 0 or not finite gives -90. */
V3D_API int local_adapt_filt3(Volume *in, Volume *out, float noise, int wz, int wy, int wx);
/* Wiener filter hre + i*him from the signal power spectrum psd and the degradation
   dre + i*dim, all F one-channel, over the VOI of hre. him smaller than hre -520; psd, dre or
   dim smaller than hre -521; noise < 0 or not finite -90. */
V3D_API int wienerfrequency3(Volume *hre, Volume *him, Volume *psd, Volume *dre, Volume *dim,
                             float noise);

/* ---- Coefficient files ------------------------------------------------------------------- */

/* A coefficient file is text, one number per line: X, Y, Z (each at least 1), then X*Y*Z
   window values frame by frame, row by row, column fastest. Lines are read 19 characters at a
   time; each number is the line's leading decimal prefix (leading blanks skipped, a line
   without a number is 0), so CRLF line ends read as well as LF. WIN_UC3D.PAR holds integers,
   stored as unsigned bytes (the low eight bits); WIN_F3D.PAR holds reals, stored as float. */
#define V3D_WEIGHTS_FILE "WIN_UC3D.PAR"
#define V3D_COEFFICIENTS_FILE "WIN_F3D.PAR"

/* The program's start directory, where coefficient files given by a relative name (and the
   NULL default names above) are opened. The application sets it once at start-up; until then
   it is the current directory at the first read. NULL or "" returns to that default. */
V3D_API void        SetStartDirectory(const char *dir);
V3D_API const char *GetStartDirectory(void);

/* The readers: file NULL means the default name. They return 0; -1 the file cannot be opened;
   -2 a line cannot be read, or the start directory cannot be determined; -3 a size below 1
   (each size is checked as soon as it is read); -4 the target is unsuitable. Z, Y, X (each may
   be NULL) receive the sizes once they are valid. With dims_only set they only read the sizes.

   ReadWeightsFile3d fills voxels [0..Z)[0..Y)[0..X) of a UC one-channel target at least
   Z x Y x X large (else -4); a line that cannot be read leaves its voxel as it was, the reader
   finishes that row and returns -2. ReadCoefficientsFile3dVolume is the same for an F target.
   ReadCoefficientsFile3d stores the values consecutively into vector (NULL or capacity below
   X*Y*Z: -4); it reads on to the end past a failed line and then returns -2. */
V3D_API int ReadWeightsFile3d(const char *file, int dims_only, Volume *target,
                              int *Z, int *Y, int *X);
V3D_API int ReadCoefficientsFile3d(const char *file, int dims_only, float *vector, int capacity,
                                   int *Z, int *Y, int *X);
V3D_API int ReadCoefficientsFile3dVolume(const char *file, int dims_only, Volume *target,
                                         int *Z, int *Y, int *X);

/* What the workstation and v3d do with a coefficient file: read its sizes, create vol (a
   record without storage, e.g. a free table slot) with them, one channel, type 1 (UC, from a
   weights file) or 2 (F, from a coefficients file), and fill it. Returns the reader's codes,
   -90 for another type, or -530 when the volume cannot be created (vol is then left empty). */
V3D_API int LoadCoefficientVolume3d(const char *file, int type, Volume *vol);

/* The user's message for a reader status: -1 "File %s not found", -2 "Error in reading file
   %s", -3 "Invalid window size", -530 "Cannot allocate internal volume", other codes their
   status text; file NULL names the default file of type (1 weights, 2 coefficients). Writes
   at most size bytes (terminated) and returns text. */
V3D_API char *CoefficientFileMessage(int status, const char *file, int type, char *text,
                                     int size);

#ifdef __cplusplus
}
#endif

#endif
