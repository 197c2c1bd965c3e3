/* The application services that the workstation exports to plug-in modules (declared in
   include/vexilo3d_module.h), and the volume-table helpers the commands share. */
#ifndef VEXILO3D_APP_SERVICES_H
#define VEXILO3D_APP_SERVICES_H

#include "vexilo3d_module.h"

#ifdef __cplusplus
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
