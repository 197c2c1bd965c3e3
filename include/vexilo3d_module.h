/* VEXILO3D: what a plug-in module builds against.

   A module is a shared library (".so" on Linux, ".dll" on Windows, ".dylib" on macOS) in the
   workstation's working directory. At start-up the workstation loads every such library and
   looks up three entry points by name:

     VEXILO3D_ENTRY_MESSAGE_HANDLER  called twice with the message-result callback; the first
         non-null result joins the handlers of the projection windows, the second those of the
         volume display windows.
     VEXILO3D_ENTRY_MENU  called with the module's record; returns the item texts of its popup
         under "&Modules", ended by a null entry that is followed by the popup's title, or null
         for no menu. An item text that begins with "-" comes after a separator; one that then
         begins with "!" is greyed. Items get command ids from one counter that starts at 0.
     VEXILO3D_ENTRY_COMMAND_HANDLER  returns the function that the items' commands reach, with
         the item's index within the module's popup.

   A missing entry point is reported with an empty message box (message 7004) and the scan goes
   on; the library stays loaded. The library named "save3d" (in any letter case) is the save
   module instead: it provides save_volume and save_buffer, which File > Save and a projection
   window's "&Save Projection" call.

   Window handles are the workstation's window objects (QWidget pointers); a module compares
   them and passes them back, and a module built with Qt may use them as parents of its own
   dialogs. Everything runs on the user-interface thread.

   The volume library (vexilo3d.h) is the other half of the interface: volumes, operators,
   renderers, buffers and projection records, and the image-sequence writers (savetiff among
   them), all exported by libvexilo3d, which the workstation loads. */
#ifndef VEXILO3D_MODULE_H
#define VEXILO3D_MODULE_H

#include <stdint.h>

#include "vexilo3d.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The services below are exported by the workstation's executable. */
#if defined(_WIN32)
#  if defined(VEXILO3D_BUILDING_APP)
#    define V3D_APP_API __declspec(dllexport)
#  else
#    define V3D_APP_API __declspec(dllimport)
#  endif
#else
#  define V3D_APP_API __attribute__((visibility("default")))
#endif

/* What a module exports: its entry points, with C linkage. */
#if defined(_WIN32)
#  define VEXILO3D_MODULE_EXPORT __declspec(dllexport)
#else
#  define VEXILO3D_MODULE_EXPORT __attribute__((visibility("default")))
#endif

/* ---- Window messages --------------------------------------------------------------------------
   What happens to a projection window or a volume display window reaches the modules'
   handlers as a message numbered and packed as the Windows messages are. The numbers are
   guarded, so that they agree with the platform's own where it has them. */
#ifndef WM_DESTROY
#define WM_DESTROY 0x0002
#define WM_SIZE 0x0005        /* lParam: the new client width (low word) and height (high) */
#define WM_PAINT 0x000F
#define WM_CLOSE 0x0010       /* a module that takes it keeps the window open */
#define WM_SYSCOMMAND 0x0112  /* wParam: the system-menu command ("&Save Projection" 1000) */
#define WM_HSCROLL 0x0114     /* wParam: SB_ code (low word), thumb position (high word) */
#define WM_VSCROLL 0x0115
#define WM_MOUSEMOVE 0x0200   /* mouse: wParam the MK_ bits, lParam x (low word), y (high) */
#define WM_LBUTTONDOWN 0x0201 /*   in the client area's coordinates */
#define WM_LBUTTONUP 0x0202
#define WM_RBUTTONDOWN 0x0204
#define WM_RBUTTONUP 0x0205
#define WM_MBUTTONDOWN 0x0207
#define WM_MBUTTONUP 0x0208
#define WM_USER 0x0400        /* a projection window's volume changed: render it again */
/* wParam of mouse messages: the buttons and keys held */
#define MK_LBUTTON 0x0001
#define MK_RBUTTON 0x0002
#define MK_SHIFT 0x0004
#define MK_CONTROL 0x0008
#define MK_MBUTTON 0x0010
/* low word of the wParam of WM_HSCROLL / WM_VSCROLL */
#define SB_LINEUP 0
#define SB_LINELEFT 0
#define SB_LINEDOWN 1
#define SB_LINERIGHT 1
#define SB_PAGEUP 2
#define SB_PAGELEFT 2
#define SB_PAGEDOWN 3
#define SB_PAGERIGHT 3
#define SB_THUMBPOSITION 4
#define SB_THUMBTRACK 5
#define SB_TOP 6
#define SB_BOTTOM 7
#define SB_ENDSCROLL 8
/* wParam of WM_SIZE */
#define SIZE_RESTORED 0
#endif

/* Packing of the message parameters: two 16-bit halves of the low 32 bits. */
#define V3D_LOWORD(v) ((int)((uintptr_t)(v) & 0xFFFF))
#define V3D_HIWORD(v) ((int)(((uintptr_t)(v) >> 16) & 0xFFFF))
/* signed coordinates of a mouse lParam (a drag may leave the window) */
#define V3D_GET_X(lp) ((int)(short)V3D_LOWORD(lp))
#define V3D_GET_Y(lp) ((int)(short)V3D_HIWORD(lp))
#define V3D_MAKE_PARAM(low, high) \
    ((uintptr_t)(uint32_t)(((uint32_t)(low) & 0xFFFFu) | (((uint32_t)(high) & 0xFFFFu) << 16)))

/* ---- Menu item states of SetMenuItemState ------------------------------------------------------
   Bits as the platform's menu item states: greyed or disabled make the item unusable, checked
   puts a check mark on it; 0 is an enabled, unchecked item. */
#ifndef MF_GRAYED
#define MF_ENABLED 0x0000
#define MF_UNCHECKED 0x0000
#define MF_GRAYED 0x0001
#define MF_DISABLED 0x0002
#define MF_CHECKED 0x0008
#endif

/* ---- The module interface ---------------------------------------------------------------------- */

/* A message handler: called like a window procedure, with the window's handle, before the
   window handles the message itself (every message but creation). Its return value is not
   used: a handler that takes a message says so through the message-result callback. */
typedef intptr_t (*Vexilo3DMessageHandler)(void *window, unsigned message, uintptr_t wparam,
                                           intptr_t lparam);

/* The message-result callback handed to VEXILO3D_ENTRY_MESSAGE_HANDLER. It stores handled and
   result into the information block. While handled is non-zero, every window that offers a
   message returns result at once, without further handlers or its own handling; the
   workstation never clears it. A handler that sets it therefore calls the callback with
   (0, 0) before returning from the messages it does not take. */
typedef void (*Vexilo3DMessageResult)(intptr_t handled, intptr_t result);

/* A command handler: index is the item's position in the module's popup (0 for its first
   item); the result is not used by the workstation. */
typedef int (*Vexilo3DCommandHandler)(int index);

/* The module's record: its identity, handed to the menu entry and passed back to
   SetMenuItemState. Its content belongs to the workstation. */
typedef struct Vexilo3DModule Vexilo3DModule;

/* The entry points a module exports (C linkage), by these names. */
#define VEXILO3D_ENTRY_MESSAGE_HANDLER "Vexilo3DDLLReturnMessageHandler"
#define VEXILO3D_ENTRY_MENU "Vexilo3DDLLReturnMenu"
#define VEXILO3D_ENTRY_COMMAND_HANDLER "Vexilo3DDLLReturnCmdHandler"
typedef Vexilo3DMessageHandler (*Vexilo3DDLLReturnMessageHandlerFn)(Vexilo3DMessageResult callback);
typedef const char *const *(*Vexilo3DDLLReturnMenuFn)(Vexilo3DModule *record);
typedef Vexilo3DCommandHandler (*Vexilo3DDLLReturnCmdHandlerFn)(void);

/* The save module's entry points: save_volume asks for a volume and saves it (a status: the
   workstation shows a non-zero one); save_buffer saves a projection window's picture (its
   result is not used: it reports its own failures). */
#define VEXILO3D_ENTRY_SAVE_VOLUME "save_volume"
#define VEXILO3D_ENTRY_SAVE_BUFFER "save_buffer"
typedef int (*Vexilo3DSaveVolumeFn)(void);
typedef int (*Vexilo3DSaveBufferFn)(Buffer *buffer);

/* The application information block: five words in this order. The first three are
   pointers and the last two pointer-sized integers (32-bit words on a 32-bit platform). */
typedef struct Vexilo3DInfo {
    void *frame_window;          /* the main frame window */
    void *client_window;         /* its MDI client, the parent of every document window */
    char *working_directory;     /* the start directory, where modules are found (260 chars) */
    intptr_t message_handled;    /* non-zero: the last message was handled by a module ... */
    intptr_t message_result;     /* ... and this is what the window returns for it */
} Vexilo3DInfo;

/* ---- Application services ----------------------------------------------------------------------
   Exported by the workstation's executable, C linkage, callable from the user-interface
   thread only. */

/* The information block (one for the process). */
V3D_APP_API Vexilo3DInfo *GetVexilo3DInfo(void);
/* Sets the state (MF_ bits) of item index of module record's popup and redraws the menu bar;
   a record that is not a loaded module's, or an index outside its items, does nothing. */
V3D_APP_API void SetMenuItemState(Vexilo3DModule *record, int index, unsigned state);

/* Shows the text of status or message id |code| in a box captioned "VEXILO3D for Windows"
   with the stop icon (an empty box for an id without text); returns 1. */
V3D_APP_API int error_handler(int code);
/* Repaints every display window of vol; when there is none, opens one of all its frames
   ("vol %d [fr %d-%d,%d]", 723 when that fails). Then every projection window of vol gets
   WM_USER to render again. */
V3D_APP_API void DisplayVolume(Volume *vol);
/* Closes every window that shows vol; call it before destroying or reallocating vol. */
V3D_APP_API void freedisWin(Volume *vol);
/* The input selection dialog listing the volumes whose data type and colour type meet the
   masks, captioned title: 1 OK (*out is the chosen volume), 0 Cancel. */
V3D_APP_API int GetInputVolume(int typemask, int colormask, const char *title, Volume **out);
/* The output selection dialog; X, Y, Z are proposed for a new volume ("New[%d]" is offered
   unless all three are 0). 1 OK (*out is the slot's record, created or not: a record whose
   type is 0 is a free slot to create), 0 Cancel. */
V3D_APP_API int GetOutputVolume(int typemask, int colormask, const char *title, int X, int Y,
                                int Z, Volume **out);
/* "Output Volume is not appropriate\nand will be reallocated. Continue?": 1 go on, 0 No. The
   owner window may be null. */
V3D_APP_API int VerifyVolumeReallocation(void *owner);
/* Stores a voxel read-out (position and colour) for the coordinates window; mode 32768 with
   zeros blanks it. Nothing is shown while that window does not exist. */
V3D_APP_API void PrintCoordinates(int mode, int x, int y, int z, double R, double G, double B);
/* Shows buffer in a new projection window titled title, fitted into the MDI client and
   scrolling the rest; proj's source names the volume whose changes reach the window as
   WM_USER. The window owns proj and buffer from then on and frees both when it is destroyed
   (after WM_DESTROY has reached the handlers). Returns the window's handle, or null after
   reporting 9 or 723: the caller still owns both then. */
V3D_APP_API void *DisplayProjection(Projection *proj, Buffer *buffer, const char *title);
/* Hands projection window window a picture: a buffer other than its own replaces it (the old
   one is freed, the scroll ranges follow the new size); its own buffer, after the module drew
   into it, is only shown again. 0 on success; -1 when window is not a projection window or
   buffer has no picture (the caller keeps buffer then). */
V3D_APP_API int SetProjectionBuffer(void *window, Buffer *buffer);

#ifdef __cplusplus
}
#endif

#endif
