// The modules' message-handler lists and the information block.
#include "app/messages.h"

namespace app {
namespace {
Vexilo3DInfo g_info{};
std::forward_list<Vexilo3DMessageHandler> g_handlers[2];
}  // namespace

Vexilo3DInfo& info_block() { return g_info; }

std::forward_list<Vexilo3DMessageHandler>& message_handlers(HandlerList which) {
    return g_handlers[static_cast<int>(which)];
}

bool offer_message(HandlerList which, void* window, unsigned msg, uintptr_t wp, intptr_t lp,
                   intptr_t& result) {
    for (Vexilo3DMessageHandler handler : message_handlers(which)) {
        handler(window, msg, wp, lp);
        if (g_info.message_handled) {
            result = g_info.message_result;
            return true;
        }
    }
    return false;
}

}  // namespace app
