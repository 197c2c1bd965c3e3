/* The application services that the workstation exports to plug-in modules (C linkage), and
   the volume-table helpers the commands share. */
#ifndef VEXILO3D_APP_SERVICES_H
#define VEXILO3D_APP_SERVICES_H

#include "vexilo3d.h"

/* exported from the workstation's executable */
#if defined(_WIN32)
#  define V3D_APP_API __declspec(dllexport)
#else
#  define V3D_APP_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Shows the text of string |code| captioned "VEXILO3D for Windows" with the stop icon, after
   setting the arrow cursor; returns the box's result (1, OK). */
V3D_APP_API int error_handler(int code);
/* Repaints every display window of vol; when there is none, opens one of all its frames
   ("vol %d [fr %d-%d,%d]"); 723 when that fails. */
V3D_APP_API void DisplayVolume(Volume *vol);
/* Closes every window that shows vol; called before vol is destroyed or reallocated. */
V3D_APP_API void freedisWin(Volume *vol);
/* Shows buffer in a new projection window (class "projection") titled title, fitted into the
   MDI client and scrolling the rest; proj's source names the volume whose changes it follows.
   The window owns proj and buffer from then on and frees both when it closes. Returns the
   window's handle, or null after reporting 9 or 723; the caller still owns both then. */
V3D_APP_API void *DisplayProjection(Projection *proj, Buffer *buffer, const char *title);
/* The input selection dialog with the masks and title: 1 OK (*out is the volume), 0 Cancel. */
V3D_APP_API int GetInputVolume(int typemask, int colormask, const char *title, Volume **out);
/* The output selection dialog; X, Y, Z are proposed for a new volume ("New[%d]" is offered
   unless all three are 0). 1 OK (*out is the slot's record, created or not), 0 Cancel. */
V3D_APP_API int GetOutputVolume(int typemask, int colormask, const char *title, int X, int Y, int Z,
                            Volume **out);
/* "Output Volume is not appropriate\nand will be reallocated. Continue?": 1 go on, 0 No. The
   owner window is accepted for compatibility and may be null. */
V3D_APP_API int VerifyVolumeReallocation(void *owner);
/* Stores a voxel read-out (position and colour) for the coordinates window; mode 32768 with
   zeros blanks it. Nothing is shown while that window does not exist. */
V3D_APP_API void PrintCoordinates(int mode, int x, int y, int z, double R, double G, double B);

#ifdef __cplusplus
}

namespace app {

// Results of VerifyOutputVolume.
enum OutputFit { kFits = 6, kDeclined = 3, kReallocated = 5, kReallocFailed = 4 };

// Makes vol fit an operation: with exact, X, Y, Z must be equal, otherwise at least these;
// type and colour type always equal. Asks before reallocating (freedisWin first).
int VerifyOutputVolume(Volume *vol, int X, int Y, int Z, int type, int colortype, bool exact);
// freedisWin, DestroyVolume, InitializeVolume, CreateVolume; the status of the last.
int ReallocateVolume(Volume *vol, int type, int colortype, int Z, int Y, int X);
// "Input volume will be modified. Continue?": true to go on.
bool ConfirmInputModification();

}  // namespace app
#endif

#endif
