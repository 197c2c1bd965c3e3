/* VEXILO3D: edge detection. Every operator takes a one-channel UC input and a one-channel UC
   output at least as large as the input (-520 otherwise); the output voxel is written at the
   centre voxel's coordinates and every output voxel the operator does not compute keeps its
   value. The 3x3x3 operators compute the voxels one step inside every face of the input's VOI.
   An operator called with in == out works in place in scan order (z, y, x): later voxels see the
   results already written, as a plain voxel loop does; such calls run on one thread. */
#ifndef VEXILO3D_EDGES_H
#define VEXILO3D_EDGES_H

#include "vexilo3d_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* min(255, |Gx| + |Gy| + |Gz|); each derivative weighs the 3x3 planes at +1 and -1 along its
   axis with 3 on the axis, 2 off it in one direction and 1 in the corners. */
V3D_API int Sobel_3D(Volume *in, Volume *out);

/* min(255, |response|) of a compass mask: +1 on nine neighbours, -1 on nine others. The angle
   pair selects one of thirteen directions, written (dz, dy, dx):

     angle1  angle2  direction     mask
       0     any     ( 0, 0, 1)    +1 where dx = +1, -1 where dx = -1
      45      0      ( 1, 0, 1)    +1 on (dz,dx) (+1,0) (+1,+1) (0,+1); -1 on (0,-1) (-1,+1)
                                   (-1,0); every dy. Kept asymmetric on purpose.
      90      0      ( 1, 0, 0)    +1 where dz = +1, -1 where dz = -1
     135      0      ( 1, 0,-1)    the sign of dz - dx
      45     45      ( 1, 1, 1)    the sign of dz + dy + dx, corners (1,1,1), (-1,-1,-1) zero
      90     45      ( 1, 1, 0)    the sign of dz + dy
     135     45      ( 1, 1,-1)    the sign of dz + dy - dx, corners (1,1,-1), (-1,-1,1) zero
      45     90      ( 0, 1, 1)    the sign of dy + dx
      90     90      ( 0, 1, 0)    the sign of dy
     135     90      ( 0, 1,-1)    the sign of dy - dx
      45    135      (-1, 1, 1)    the sign of -dz + dy + dx, corners (-1,1,1), (1,-1,-1) zero
      90    135      (-1, 1, 0)    the sign of -dz + dy
     135    135      (-1, 1,-1)    the sign of -dz + dy - dx, corners (-1,1,-1), (1,-1,1) zero

   With angle2 = 0 the direction lies in the X-Z plane at angle1 from X towards Z. Otherwise it
   leans towards +Y, and the two angles give its X and Z components: 45 -> +1, 90 -> 0,
   135 -> -1. Every mask but (45, 0) is +1 on the neighbours on the direction's side of the plane
   through the centre perpendicular to it and -1 on the other side; the four body diagonals
   leave their own two corners out so that each side keeps nine voxels. Any other pair: -90. */
V3D_API int compas3d(Volume *in, Volume *out, int angle1, int angle2);

/* The six-neighbour Laplacian (sum of the six face neighbours minus 6 times the centre);
   negative values become 0, values above 255 become 255. */
V3D_API int laplace_3d(Volume *in, Volume *out);

/* Maximum minus minimum over a wz x wy x wx window. Window sizes must be positive and odd
   (-24); a window larger than the VOI computes nothing and succeeds. */
V3D_API int range_3d(Volume *in, Volume *out, int wz, int wy, int wx);

/* Greedy 26-neighbour edge following from (z, y, x): marks 255 on the path in out and sets the
   path's input voxels to 0 (the input is consumed). Each step moves to the neighbour inside
   the input's VOI, of value >= threshold and differing from the current value by at most
   maxdiff, of smallest cost |difference| * weight (first in scan order dx, dy, dz among equal
   costs); it stops when no neighbour is cheaper than weight * 256. The start must lie in the
   VOI, the three parameters must be >= 0 and the start value >= threshold (-90 each).
   A path takes at most as many steps as the VOI has voxels: with a threshold above 0 it never
   revisits a voxel, so only threshold-0 paths that walk back over zeroed voxels are cut. */
V3D_API int edge_follow_3d(Volume *in, Volume *out, int z, int y, int x,
                           int maxdiff, int threshold, int weight);

/* Plane detection in a binary input (-535 when its VOI holds other values than 0 and 255).
   acc (I, one channel) sets the parameter space: Z elevations, Y azimuths and X distance
   cells. The angle tables hold Y + 1 azimuths and Z + 1 elevations from -90 to +90 degrees
   inclusive, spaced evenly, and the first Y and Z of them are used: azimuth j is
   j * 180 / Y - 90 degrees, elevation k is k * 180 / Z - 90 (with Z = 4, elevation 2 is 0:
   the planes of constant frame). The whole input votes; acc
   returns 1 on cells with at least threshold votes (threshold >= 0, else -90), 0 elsewhere.
   The whole output is cleared, then every input voxel of value 255 that lies on a surviving
   plane becomes 255. A plane is traced frame by frame and row by row: the plane equation,
   solved for the column at the two edges of the cell's distance range, bounds a run of
   columns, and every column of the run whose own distance cell (the voting formula) is the
   plane's cell is on the plane. A plane parallel to the column axis (so flat along X that its
   distance moves less than half a cell across a row) takes the whole row as its run.
   So a voxel is marked exactly when it voted for a surviving cell (with in == out nothing
   is left to mark once the output is cleared). -9 when the angle tables cannot be
   allocated. */
V3D_API int Hough_3D(Volume *in, Volume *out, Volume *acc, int threshold);

/* Edge linking: finds a path of 26-connected voxels from the start (sz, sy, sx) to the end
   (ez, ey, ex) through voxels of the input's VOI whose edge strength is >= threshold, and
   marks it with 255 in out (nothing else is written). Depth first with the caller's
   coordinate stack: from the voxel on top it steps to an unvisited neighbour (of strength
   >= threshold, inside the VOI), preferring those that come closer to the end, among them
   the strongest, then the one nearest the end, then the first in the order dz, dy, dx; it
   drops the top voxel when there is none. On success the stack holds the path, the end on
   top and the start at the bottom, each record (z, y, x, strength); the caller pops it.
   Checks in order: in and out (UC, one channel), out smaller than in -520, stack null -4,
   *stack not empty -99 "stack is not empty originally", start or end outside the VOI -90,
   threshold < 0 -90, start or end strength below threshold -90, the visited map -530.
   -98 "stack is empty" when the stack runs empty before the end is reached (no path; out is
   untouched); -9 when a node cannot be allocated (the stack is emptied, out untouched). */
V3D_API int modedg3d(Volume *in, Volume *out, StackNode3d **stack, int sz, int sy, int sx,
                     int ez, int ey, int ex, int threshold);

#ifdef __cplusplus
}
#endif

#endif
