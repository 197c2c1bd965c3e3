// Projection windows without a screen: the window record, how a picture fits the MDI client
// and scrolls, what each projection type does with the messages that no module took, and the
// frame gallery (command 1315) that renders a volume's frames into a projection buffer.
#pragma once

#include <cstdint>
#include <string>

#include "vexilo3d.h"

namespace app {

struct CommandSpec;

// One projection window's record: what it shows and how far it is scrolled.
struct ProjectionWindowRecord {
    Buffer* buffer = nullptr;
    int vrange = 0, hrange = 0;  // picture size less the client size, or 0 when it fits
    int vpos = 0, hpos = 0;
};

struct ClientSize {
    int width = 0, height = 0;
};

// The client size a new window gets for its picture inside area (the MDI client less a
// child's frame, caption and scroll bars): the picture's size where it fits, else the area's.
// Sets the ranges and puts both positions at 0.
ClientSize fit_picture(ProjectionWindowRecord& r, ClientSize area);
// The client took a new size: the ranges follow it, the positions stay within them.
void resize_client(ProjectionWindowRecord& r, ClientSize client);
// A scroll-bar message (code SB_..., thumb the thumb's position): line up/down move by one
// while there is room, the thumb moves to its position, other codes do nothing. Returns the
// move (0: none) and records the new position.
int scroll(ProjectionWindowRecord& r, bool vertical, int code, int thumb);

// The windows of the alignment tool's type are the tool's views.
bool is_alignment_view(const Projection* p);
// What a window does with the update message when no module took it: the gallery renders
// its volume again; every other type ignores it. True when the picture changed.
bool update_projection(Projection* p, Buffer* buffer);
// Mouse messages that no module took: the alignment tool's views hand them to the tool; the
// gallery and other types ignore them.
void projection_mouse(Projection* p, void* window, unsigned msg, uintptr_t wp, intptr_t lp);
// The alignment tool's share of its view's messages (app/tools/alignment.cpp): the window is
// made (it becomes the single alignment view), a mouse message, the close box (true: the tool
// keeps the window open, the user cancelled), the window is being destroyed (the tool ends).
void alignment_view_created(void* window);
void alignment_view_mouse(void* window, unsigned msg, uintptr_t wp, intptr_t lp);
bool alignment_view_close(void* window);
void alignment_view_destroyed(void* window);

// The save module's projection entry: whether one is loaded, and the call of "&Save
// Projection".
bool save_buffer_available();
void save_buffer(Buffer* buffer);

// ---- the frame gallery ----------------------------------------------------------------------

// The gallery's layout, kept in its projection record's 32-byte user area for re-rendering.
struct GalleryLayout {
    int frames_per_row = 8;
    int method = 0;  // 0 nearest neighbour, otherwise linear
};
inline constexpr int kGalleryUserArea = 32;

// The picture for vol's VOI frames, n per row, in a client area width pixels wide. False when
// the VOI cannot make tiles (one row or column wide) or the picture would be too large.
bool gallery_picture_size(const Volume* vol, int n, int width, int& W, int& H);
// Renders the gallery of p (its source volume and layout) into buffer; a status. The buffer is
// only written when the rendering succeeded.
int render_gallery(const Projection* p, Buffer* buffer);
// "Frame Gallery of Volume  %d."
std::string gallery_title(int index);
// Command 1315.
void frame_gallery(const CommandSpec& row);

}  // namespace app
