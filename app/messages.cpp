// The modules' message-handler lists and the information block.
#include "app/messages.h"

namespace app {
namespace {
V3dInfoBlock g_info{};
std::forward_list<V3dMessageHandler> g_handlers[2];
}  // namespace

V3dInfoBlock& info_block() { return g_info; }

std::forward_list<V3dMessageHandler>& message_handlers(HandlerList which) {
    return g_handlers[static_cast<int>(which)];
}

bool offer_message(HandlerList which, void* window, unsigned msg, uintptr_t wp, intptr_t lp,
                   long& result) {
    for (V3dMessageHandler handler : message_handlers(which)) {
        handler(window, msg, wp, lp);
        if (g_info.message_handled) {
            result = g_info.message_result;
            return true;
        }
    }
    return false;
}

}  // namespace app
