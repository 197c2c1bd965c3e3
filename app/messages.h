// The window messages that modules observe. Projection windows and display windows turn what
// happens to them into message records numbered and packed as the Windows messages are
// (modules are written against that vocabulary), and offer each one to the modules' handlers
// of their list, newest first, before handling it themselves.
#pragma once

#include <cstdint>
#include <forward_list>

// Message numbers. Guarded, so that they agree with the platform's own where it has them.
#ifndef WM_DESTROY
#define WM_DESTROY 0x0002
#define WM_SIZE 0x0005
#define WM_PAINT 0x000F
#define WM_CLOSE 0x0010
#define WM_SYSCOMMAND 0x0112
#define WM_HSCROLL 0x0114
#define WM_VSCROLL 0x0115
#define WM_MOUSEMOVE 0x0200
#define WM_LBUTTONDOWN 0x0201
#define WM_LBUTTONUP 0x0202
#define WM_RBUTTONDOWN 0x0204
#define WM_RBUTTONUP 0x0205
#define WM_MBUTTONDOWN 0x0207
#define WM_MBUTTONUP 0x0208
#define WM_USER 0x0400
// wParam of mouse messages: the buttons and keys held
#define MK_LBUTTON 0x0001
#define MK_RBUTTON 0x0002
#define MK_SHIFT 0x0004
#define MK_CONTROL 0x0008
#define MK_MBUTTON 0x0010
// low word of the wParam of WM_HSCROLL / WM_VSCROLL (the high word: the thumb's position)
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
// wParam of WM_SIZE
#define SIZE_RESTORED 0
#endif

extern "C" {

// A module's message handler: called like a window procedure, with the window's handle.
typedef long (*V3dMessageHandler)(void* window, unsigned message, uintptr_t wparam,
                                  intptr_t lparam);

// The application information block that modules read and write: five words in this order.
struct V3dInfoBlock {
    void* frame_window;           // the main frame window
    void* client_window;          // its MDI client
    char* working_directory;      // the start directory's text
    long message_handled;         // non-zero: the last message was handled by a module ...
    long message_result;          // ... and this is what the window returns for it
};
}

namespace app {

// lParam of mouse and size messages: x (or width) in the low word, y (or height) in the high.
inline intptr_t make_lparam(int low, int high) {
    return static_cast<intptr_t>(static_cast<uint32_t>((low & 0xFFFF) | ((high & 0xFFFF) << 16)));
}
inline uintptr_t make_wparam(int low, int high) {
    return static_cast<uintptr_t>(static_cast<uint32_t>((low & 0xFFFF) | ((high & 0xFFFF) << 16)));
}

// The block modules get from GetVexilo3DInfo.
V3dInfoBlock& info_block();

// The two handler lists: Projections (list A) serves the projection windows, Displays (list
// B) the volume display windows. Modules push their handlers to the front at start-up.
enum class HandlerList { Projections, Displays };
std::forward_list<V3dMessageHandler>& message_handlers(HandlerList which);

// Offers a message to the handlers of a list, newest first. After each call, when a module
// has set the block's "handled" word, result is the block's result word and the answer is
// true: the window returns result and does nothing of its own. The application never clears
// the word itself; the module that set it does.
bool offer_message(HandlerList which, void* window, unsigned msg, uintptr_t wp, intptr_t lp,
                   long& result);

}  // namespace app
