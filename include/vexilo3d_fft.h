/* VEXILO3D: the three-dimensional Fourier transform and the transforms built on it. */
#ifndef VEXILO3D_FFT_H
#define VEXILO3D_FFT_H

#include "vexilo3d_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Fourier transform ------------------------------------------------------------------- */

/* The discrete Fourier transform of the complex block held by the VOI of inRe (real part) and
   the same coordinates of inIm (imaginary part), written to outRe/outIm at (z0, y0, x0).
   direction 0 is forward (kernel exp(-2*pi*i*k*n/N) on each axis, unscaled), 1 is inverse
   (kernel exp(+2*pi*i*k*n/N), scaled by 1/(Ez*Ey*Ex)). All four volumes are F, one channel.
   fft3d calls vrfft3d and, only when that answers -534 (VOI not cubic), lrcfft3d.
   Checks, in order: CheckVolume(v, 2, 1) for inRe, inIm, outRe, outIm; an extent that is not
   a power of two -533; (vrfft3d only) extents not all equal -534; direction not 0 or 1, or a
   negative offset -90; inIm smaller than inRe -521; outRe, then outIm, not holding the block at
   the offset -520; outRe sharing storage with inRe, or outIm with inIm, at another position
   than the VOI's -536; then -9 when work memory cannot be had. */
V3D_API int fft3d(Volume *inRe, Volume *inIm, Volume *outRe, Volume *outIm,
                  int direction, int z0, int y0, int x0);
/* Row-column transform: a two-dimensional transform of every frame, then the Z lines. */
V3D_API int lrcfft3d(Volume *inRe, Volume *inIm, Volume *outRe, Volume *outIm,
                     int direction, int z0, int y0, int x0);
/* Vector-radix (2 x 2 x 2) transform of a cubic VOI. */
V3D_API int vrfft3d(Volume *inRe, Volume *inIm, Volume *outRe, Volume *outIm,
                    int direction, int z0, int y0, int x0);

/* ---- Cosine transform -------------------------------------------------------------------- */

/* Orthonormal type-II DCT of the VOI of in, written to out at (z0, y0, x0):
     X[k] = c(kz) c(ky) c(kx) sum_n x[n] cos(pi (2nz+1) kz / 2Ez) cos(..y..) cos(..x..),
     c(0) = sqrt(1/E), c(k) = sqrt(2/E).
   Both F, one channel. Checks: CheckVolume(in, 2, 1), CheckVolume(out, 2, 1); an extent not a
   power of two -533; a negative offset -90; out not holding the block -520; -9 for work
   memory. out may be in itself at the VOI's own position. */
V3D_API int DCT3d(Volume *in, Volume *out, int z0, int y0, int x0);
/* The inverse of DCT3d (type-III, orthonormal): IDCT3d(DCT3d(x)) = x. Same checks. */
V3D_API int IDCT3d(Volume *in, Volume *out, int z0, int y0, int x0);

/* ---- Convolution and correlation --------------------------------------------------------- */

/* Linear convolution of the VOI of in with the VOI of kernel (both F, one channel) through the
   Fourier transform, zero-padded to a power of two on each axis:
     out[z0 + n] = sum_k in[n - k] kernel[k], n = 0 .. Ein + Ekernel - 2 on each axis
   (the full result, extent Ein + Ekernel - 1 per axis). Checks: CheckVolume(v, 2, 1) for in,
   kernel, out; a negative offset -90; out not holding the result at the offset -520; -530
   when the padded temporary volumes cannot be created. */
V3D_API int convolution3(Volume *in, Volume *kernel, Volume *out, int z0, int y0, int x0);
/* The same result as convolution3, computed block by block for a large input and a small
   kernel: the VOI is cut into blocks of block x block x block voxels (smaller at its far
   edges), each block is convolved through a transform of the padded block size and added
   into the result. Checks as convolution3, with block < 1 giving -90 after the offsets, and
   out sharing storage with in or kernel -525 after -520 (the result is collected in out while
   the input is still being read). */
V3D_API int overlap_add3(Volume *in, Volume *kernel, Volume *out, int block,
                         int z0, int y0, int x0);
/* Cross-correlation of the VOI of a with the VOI of b (both F, one channel):
     out[z0 + d + Eb - 1] = sum_n a[n + d] b[n], d = -(Eb - 1) .. Ea - 1 on each axis
   (extent Ea + Eb - 1 per axis; zero lag at index Eb - 1). Checks and codes as convolution3. */
V3D_API int correlation3d(Volume *a, Volume *b, Volume *out, int z0, int y0, int x0);

/* ---- Spectra ----------------------------------------------------------------------------- */

/* Blackman-Tukey power spectrum of the VOI of in (UC or F, one channel): the biased
   autocorrelation r[d] = (1/Ez*Ey*Ex) sum_n x[n] x[n + d] at lags |d| < E/2 on each axis,
   weighted by the lag window exp(-(ax |dx| + ay |dy| + az |dz|)) (coefficients 0 leave it
   unweighted), and Fourier transformed at E points per axis. The spectrum (real, frequency
   zero at index 0 as fft3d leaves it) goes to out (F, one channel) at (z0, y0, x0). Checks:
   CheckVolume(in, 3, 1), CheckVolume(out, 2, 1); an extent not a power of two -533; a
   negative or non-finite coefficient or a negative offset -90; out not holding the block
   -520; -530 for the temporary volumes. */
V3D_API int blackman_tukey_psd3d(Volume *in, Volume *out, float ax, float ay, float az,
                                 int z0, int y0, int x0);
/* Magnitude sqrt(re^2 + im^2) and phase atan2(im, re) (radians) of the VOI of re and the same
   coordinates of im, written to mag and phase at (z0, y0, x0). All four F, one channel.
   Checks: CheckVolume(v, 2, 1) for re, im, mag, phase; im smaller than re -521; a negative
   offset -90; mag, then phase, not holding the block -520; an output sharing storage with an
   input at another position than the VOI's -536. Works in place at the same position. */
V3D_API int reim2magnphase3d(Volume *re, Volume *im, Volume *mag, Volume *phase,
                             int z0, int y0, int x0);
/* The reverse: re = mag cos(phase), im = mag sin(phase). Checks as reim2magnphase3d. */
V3D_API int magnphase2reim3d(Volume *mag, Volume *phase, Volume *re, Volume *im,
                             int z0, int y0, int x0);
/* A viewable picture of a spectrum: v = log(1 + sqrt(re^2 + im^2)) over the VOI of re (im may
   be NULL for a real spectrum), scaled so that the largest v becomes 255 (rounded half up; an
   all-zero spectrum gives 0), with the zero frequency moved to the centre: frequency index k
   of an axis of extent E goes to (k + E/2) mod E. Written to out (UC, one channel) at
   (z0, y0, x0). Checks: CheckVolume(re, 2, 1), CheckVolume(im, 2, 1) when given,
   CheckVolume(out, 1, 1); im smaller than re -521; a negative offset -90; out not holding the
   block -520. */
V3D_API int fft2image3d(Volume *re, Volume *im, Volume *out, int z0, int y0, int x0);

#ifdef __cplusplus
}
#endif

#endif
