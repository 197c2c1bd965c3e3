// Projection windows without a screen: fitting, scrolling, and the handling of each type.
#include "app/projections.h"

#include <algorithm>

#include "app/messages.h"
#include "app/modules.h"
#include "app/state.h"

namespace app {

ClientSize fit_picture(ProjectionWindowRecord& r, ClientSize area) {
    const ClientSize client{std::max(1, std::min(r.buffer->width, area.width)),
                            std::max(1, std::min(r.buffer->height, area.height))};
    r.hpos = r.vpos = 0;
    resize_client(r, client);
    return client;
}

void resize_client(ProjectionWindowRecord& r, ClientSize client) {
    r.hrange = std::max(0, r.buffer->width - client.width);
    r.vrange = std::max(0, r.buffer->height - client.height);
    r.hpos = std::min(r.hpos, r.hrange);
    r.vpos = std::min(r.vpos, r.vrange);
}

int scroll(ProjectionWindowRecord& r, bool vertical, int code, int thumb) {
    int& pos = vertical ? r.vpos : r.hpos;
    const int range = vertical ? r.vrange : r.hrange;
    int move = 0;
    switch (code) {
    case SB_LINEUP:
        if (pos > 0) move = -1;
        break;
    case SB_LINEDOWN:
        if (pos < range) move = 1;
        break;
    case SB_THUMBPOSITION:
    case SB_THUMBTRACK:
        move = std::clamp(thumb, 0, range) - pos;
        break;
    default:  // pages, top and bottom: the window does not move
        break;
    }
    pos += move;
    return move;
}

bool is_alignment_view(const Projection* p) { return p && p->type == alignment_projection_type(); }

bool update_projection(Projection* p, Buffer* buffer) {
    if (!p || p->type != gallery_projection_type()) return false;
    return render_gallery(p, buffer) == 0;
}

void projection_mouse(Projection* p, void* window, unsigned msg, uintptr_t wp, intptr_t lp) {
    // Gallery tiles are scaled pictures of the frames: a click there means nothing of its own
    // (a module may still take it through its handler).
    if (is_alignment_view(p)) alignment_view_mouse(window, msg, wp, lp);
}

bool save_buffer_available() { return save_module_loaded(); }

void save_buffer(Buffer* buffer) { module_save_buffer(buffer); }

}  // namespace app
