// The window messages that modules observe. Projection windows and display windows turn what
// happens to them into message records numbered and packed as the Windows messages are
// (modules are written against that vocabulary, include/vexilo3d_module.h), and offer each one
// to the modules' handlers of their list, newest first, before handling it themselves.
#pragma once

#include <cstdint>
#include <forward_list>

#include "vexilo3d_module.h"

namespace app {

// lParam of mouse and size messages: x (or width) in the low word, y (or height) in the high.
inline intptr_t make_lparam(int low, int high) {
    return static_cast<intptr_t>(V3D_MAKE_PARAM(low, high));
}
inline uintptr_t make_wparam(int low, int high) { return V3D_MAKE_PARAM(low, high); }

// The block modules get from GetVexilo3DInfo.
Vexilo3DInfo& info_block();

// The two handler lists: Projections (list A) serves the projection windows, Displays (list
// B) the volume display windows. Modules push their handlers to the front at start-up.
enum class HandlerList { Projections, Displays };
std::forward_list<Vexilo3DMessageHandler>& message_handlers(HandlerList which);

// Offers a message to the handlers of a list, newest first. After each call, when a module
// has set the block's "handled" word, result is the block's result word and the answer is
// true: the window returns result and does nothing of its own. The application never clears
// the word itself; the module that set it does.
bool offer_message(HandlerList which, void* window, unsigned msg, uintptr_t wp, intptr_t lp,
                   intptr_t& result);

}  // namespace app
