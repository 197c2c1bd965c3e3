/* VEXILO3D: projection renderers, sections, picture buffers, projection records and the frame
   gallery. */
#ifndef VEXILO3D_PROJ_H
#define VEXILO3D_PROJ_H

#include "vexilo3d_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Projections ---------------------------------------------------------------------------

   Every renderer draws the VOI of a UC volume (grey or RGB) into image[channel][row][column],
   H rows of W bytes per channel (one channel per input channel; row 0 is the top). Checks, in
   order: CheckVolume(in, UC, any colour); image or one of its channel pointers null -1; H or W
   below 1, a null threshold or another bad parameter -90; a sample table that cannot be
   allocated -9. Nothing is written before they pass; then every channel of the image is
   cleared to 0.

   Geometry: angles are whole degrees. A ray advances per sample by (cos e sin a, cos e cos a,
   sin e) in (x, y, z) for azimuth a and elevation e; image columns run along (cos a, -sin a, 0)
   and image rows upwards along the elevation-tilted z axis. The 2d functions are the 3d ones at
   elevation 0: rays lie in the frames, one image row per frame, the box's first frame at the
   bottom. The rendered box (the VOI, or with trim = 1 the bounding box of the voxels inside
   the VOI that are non-zero on some channel) is centred in the image, and every ray is long
   enough to cross the whole box; samples outside the box are skipped.

   Threshold projection (Provoli2d, Provoli3d): the last sample along the ray whose value is
   strictly above the threshold (for RGB: above it on any channel, threshold[c] per channel)
   sets the pixel (all channels). Mean projection: per channel the mean of the samples inside
   the box, truncated. Maximum projection: per channel the largest sample. */

V3D_API int Provoli2d(Volume *in, Image2d image, int H, int W, int angle, int trim,
                      const unsigned char *threshold);
V3D_API int Provoli3d(Volume *in, Image2d image, int H, int W, int azimuth, int elevation,
                      int trim, const unsigned char *threshold);
V3D_API int ProvoliAvrg2d(Volume *in, Image2d image, int H, int W, int angle, int trim);
V3D_API int ProvoliAvrg3d(Volume *in, Image2d image, int H, int W, int azimuth, int elevation,
                          int trim);
V3D_API int ProvoliMax2d(Volume *in, Image2d image, int H, int W, int angle, int trim);
V3D_API int ProvoliMax3d(Volume *in, Image2d image, int H, int W, int azimuth, int elevation,
                         int trim);

/* Projection of a binary object: a voxel is set when it is non-zero on some channel.
   param 0 (silhouette): 255 where a set voxel lies on the ray, 0 elsewhere.
   param 1 (depth-shaded): where the ray meets a set voxel, its first one at 1-based sample
   index k gives 255 - floor(200 (k - kmin) / (kmax - kmin) + 0.5), kmin and kmax being the
   smallest and largest such k over the image (255 when they are equal): the nearest surface is
   white, the farthest 55, empty rays 0.
   Any other param gives -90. For RGB input all three channels get the same grey. */
V3D_API int Provoli2dBinary(Volume *in, Image2d image, int H, int W, int angle, int trim,
                            int param);
V3D_API int Provoli3dBinary(Volume *in, Image2d image, int H, int W, int azimuth,
                            int elevation, int trim, int param);

/* Shaded surface. Depth pass: the first sample of each ray inside the box whose value is above
   the threshold (RGB: on any channel) gives the pixel's depth, its 1-based sample index (0: no
   surface); it goes into an internal one-frame I volume (-530 when that cannot be created).
   Shading: for each adjacent pair of the pixel's four neighbours (left-up, up-right,
   right-down, down-left) that both have a surface, with a and b the depth differences from the
   pixel to them, the term 1 / sqrt(a*a + b*b + 1); the shade s is the mean of the terms (1 when
   no pair has a surface: a lone pixel faces the viewer). Lighting comes from the viewer only.
   The grey level is floor(255 s w + 0.5) with w = 1 when depthcue is 0, else
   w = 1 - 0.75 (depth - dmin) / (dmax - dmin) (1 when dmax = dmin), dmin and dmax the smallest
   and largest depths over the image: the nearest surface keeps its shade, the farthest a
   quarter of it. Pixels without a surface are 0. For RGB input all channels get the grey. */
V3D_API int Provoli3dSurface(Volume *in, Image2d image, int H, int W, int azimuth,
                             int elevation, int trim, const unsigned char *threshold,
                             int depthcue);
/* As Provoli3dSurface, but each channel is floor(s w v + 0.5) with v the surface voxel's value
   on that channel: the shading modulates the surface's own colour (a second internal volume,
   UC with the input's colour type, keeps the surface voxel per pixel; -530 when it cannot be
   created). */
V3D_API int Provoli3dSurfaceColor(Volume *in, Image2d image, int H, int W, int azimuth,
                                  int elevation, int trim, const unsigned char *threshold,
                                  int depthcue);

/* The renderers above for voxels that are not cubes: sz, sy and sx are the distances between
   voxel centres along Z, Y and X (GetVolumeSpacing), and the picture shows the volume in those
   proportions. One picture pixel and one step along a ray are the smallest of the three; rays,
   columns and rows run as in Provoli3d through that scaled space, so every voxel is sampled and
   a 0.5 x 0.5 x 5 voxel is drawn ten times as tall as it is wide. With equal spacings the
   picture is the renderer's own. mode picks the renderer: V3D_PROVOLI_* below; param is the
   binary renderer's further parameter or the surfaces' depth-cue flag; threshold is used by
   the threshold and surface modes. Checks as the renderer's, with a mode outside the list or a
   spacing that is not a finite number above 0 among the parameters (-90). */
enum {
    V3D_PROVOLI_THRESHOLD = 1, /* Provoli3d */
    V3D_PROVOLI_MEAN = 2,      /* ProvoliAvrg3d */
    V3D_PROVOLI_MAX = 3,       /* ProvoliMax3d */
    V3D_PROVOLI_BINARY = 4,    /* Provoli3dBinary */
    V3D_PROVOLI_SURFACE = 5,   /* Provoli3dSurface */
    V3D_PROVOLI_SURFACE_COLOR = 6 /* Provoli3dSurfaceColor */
};
V3D_API int ProvoliSpaced3d(Volume *in, Image2d image, int H, int W, int mode, int azimuth,
                            int elevation, int trim, const unsigned char *threshold, int param,
                            double sz, double sy, double sx);

/* ---- Sections ------------------------------------------------------------------------------

   TomiOrth: the orthogonal section at position (checks: CheckVolume(in, UC, any), image -1,
   then -90 for an axis other than 1, 2, 3, a position outside the VOI along the axis, or H, W
   smaller than the section's extent).
     axis 1 (frame):  pixel (y - y1, x - x1) = voxel (position, y, x);
     axis 2 (row):    pixel ((Ez - 1) - (z - z1), x - x1) = voxel (z, position, x);
     axis 3 (column): pixel ((Ez - 1) - (z - z1), y - y1) = voxel (z, y, position);
   with Ez the VOI's frame count: the first frame is drawn at the bottom. Other pixels are not
   touched.

   Oblique sections cut the plane through the voxel (z, y, x), which must lie inside the VOI,
   and show it as seen looking along the plane's normal with the axes of Provoli3d: image
   columns run along the horizontal direction perpendicular to the normal, image rows upwards
   along the direction in the plane closest to +z (for a normal along Z: columns along +x, rows
   downwards along +y). The point is drawn at pixel (H / 2, W / 2) and every pixel takes, on
   every channel, the voxel nearest to its point of the plane (one voxel per pixel), or 0 when
   that voxel lies outside the VOI. Checks: CheckVolume(in, UC, any), image -1, then -90 for
   H or W below 1, the point outside the VOI or (TomiRand1) a zero normal. */
V3D_API int TomiOrth(Volume *in, Image2d image, int H, int W, int axis, int position);
/* The plane through (z, y, x) with normal (nz, ny, nx). A normal along +Y gives the section of
   TomiOrth axis 2, one along -X that of axis 3, one along +Z that of axis 1 (each centred on
   the point instead of the VOI). */
V3D_API int TomiRand1(Volume *in, Image2d image, int H, int W, int z, int y, int x, int nz,
                      int ny, int nx);
/* The plane through (z, y, x) perpendicular to the viewing direction of Provoli3d at azimuth
   and elevation (whole degrees). */
V3D_API int TomiRand2(Volume *in, Image2d image, int H, int W, int azimuth, int elevation,
                      int z, int y, int x);

/* ---- Projection records and picture buffers ------------------------------------------------ */

/* The largest picture CreateBuffer makes, as the image readers cap their frames. */
#define V3D_PICTURE_MAX_WIDTH  16384
#define V3D_PICTURE_MAX_HEIGHT 16384

/* The next projection type number: 0 on the first call, then 1, 2 ... */
V3D_API int RegisterProjectionType(void);
/* One block: the Projection header followed directly by a zeroed user area of usersize bytes
   (user points at it). Null when the memory cannot be had or usersize is negative. Release it
   with DestroyProjection (or free()). */
V3D_API Projection *CreateProjection(int type, void *source, int usersize);
V3D_API void DestroyProjection(Projection *proj);
/* A picture: colortype 1 has one channel image, 2 has three; each is height row pointers into
   one zeroed block of width x height bytes (row i at i x width), so buf->image can be passed
   to the renderers. Another colour type gives a record without images. Null when an allocation
   fails (what was already allocated is freed) or, for colour type 1 or 2, when width or height
   is below 1 or above V3D_PICTURE_MAX_WIDTH / V3D_PICTURE_MAX_HEIGHT. */
V3D_API Buffer *CreateBuffer(int colortype, int width, int height);
/* Frees the channel images (channel 0, and 1 and 2 for colour type 2) and the record. */
V3D_API void DestroyBuffer(Buffer *buf);

/* ---- Frame gallery ---------------------------------------------------------------------------

   Lays the VOI's frames of in out side by side, n per row, as tiles in frame 0 of out (its X is
   the picture width, its Y the picture height). Tile width TW = out X / n, tile height
   TH = (int)(Ey / Ex * TW) (Ey, Ex: the VOI's rows and columns), R = out Y / TH tile rows;
   tile k shows frame z1 + k at grid row k / n, column k % n, for k below min(VOI frames, n R).
   Frames are resampled to TH x TW with the VOI's corners on the tile's corners (source
   position = tile position x (E - 1) / (T - 1)): method 0 takes the nearest voxel (halves
   round up), any other method interpolates linearly (rounded half up). The rest of frame 0 is
   cleared to 0; other frames are not touched.
   Checks, in order: CheckVolume(in, UC, any), CheckVolume(out, UC, any), colour types differ
   -523, n < 1 -90, a VOI one row or one column wide -521, TW < 25, TH < 25 or R < 1 -520. */
V3D_API int ProduceFrameGallery3d(Volume *in, Volume *out, int n, int method);
/* The same with tiles aspect times as high (TH = (int)(Ey / Ex * TW * aspect)), aspect being the
   frames' row spacing over their column spacing (sy / sx), so that tiles show the frames in
   their true proportions; aspect 1 is ProduceFrameGallery3d. An aspect that is not a finite
   number above 0 is -90, in the place of the n check. */
V3D_API int ProduceFrameGallery3dAspect(Volume *in, Volume *out, int n, int method, double aspect);

#ifdef __cplusplus
}
#endif

#endif
