// Projection windows without a screen: fitting and scrolling, the modules' message lists,
// DisplayProjection's failures, and the frame gallery command.
#include <cstring>
#include <utility>

#include "app/command_table.h"
#include "app/messages.h"
#include "app/services.h"
#include "shell_fixture.h"
#include "support.h"

namespace t3d {
namespace {

using v3d::OwnedVolume;

TEST(ProjectionGeometry, APictureFitsOrScrollsAndNeverBeyondItsRange) {
    Buffer* small = CreateBuffer(1, 300, 200);
    Buffer* large = CreateBuffer(2, 2000, 703);
    app::ProjectionWindowRecord r{small};
    const app::ClientSize c = app::fit_picture(r, {1000, 700});
    EXPECT_EQ(std::pair(c.width, c.height), std::pair(300, 200));  // its own: both bars disabled
    EXPECT_EQ(r.hrange + r.vrange, 0);
    r = {large, 0, 0, 7, 9};
    app::fit_picture(r, {1000, 700});
    EXPECT_EQ(r.hrange, 1000);
    EXPECT_EQ(r.vrange, 3);
    EXPECT_EQ(r.hpos + r.vpos, 0);
    EXPECT_EQ(app::scroll(r, true, SB_LINEUP, 0), 0);  // at the start
    for (int i = 0; i < 3; ++i) EXPECT_EQ(app::scroll(r, true, SB_LINEDOWN, 0), 1);
    EXPECT_EQ(app::scroll(r, true, SB_LINEDOWN, 0), 0);  // at the end
    EXPECT_EQ(app::scroll(r, false, SB_THUMBTRACK, 5000), 1000);  // the thumb, within the range
    for (int code : {SB_PAGEUP, SB_PAGEDOWN, SB_TOP, SB_BOTTOM, SB_ENDSCROLL})
        EXPECT_EQ(app::scroll(r, false, code, 0), 0) << code;
    // a larger client shortens the ranges and pulls the positions back inside them
    app::resize_client(r, {1500, 800});
    EXPECT_EQ(r.hrange, 500);
    EXPECT_EQ(r.hpos, 500);
    EXPECT_EQ(r.vpos, 0);
    DestroyBuffer(small);
    DestroyBuffer(large);
}

// A module's handler: handler 2 keeps WM_PAINT, with the result the block says.
std::vector<int> g_calls;
template <int N> intptr_t handler(void*, unsigned msg, uintptr_t, intptr_t) {
    g_calls.push_back(N);
    app::info_block().message_handled = N == 2 && msg == WM_PAINT;
    app::info_block().message_result = 42;
    return 7;  // what a handler returns is not the window's answer
}

TEST(MessageLists, NewestHandlerFirstAndTheHandledWordStopsTheWalk) {
    intptr_t result = -1;
    auto& list = app::message_handlers(app::HandlerList::Projections);
    list.push_front(handler<1>);
    list.push_front(handler<2>);
    EXPECT_FALSE(app::offer_message(app::HandlerList::Projections, nullptr, WM_SIZE, 0, 0, result));
    EXPECT_TRUE(app::offer_message(app::HandlerList::Projections, nullptr, WM_PAINT, 0, 0, result));
    EXPECT_EQ(result, 42);
    EXPECT_EQ(g_calls, (std::vector{2, 1, 2}));
    EXPECT_FALSE(app::offer_message(app::HandlerList::Displays, nullptr, WM_PAINT, 0, 0, result));
    list.clear();
    app::info_block() = {};
}

using Projections = ShellTest;

TEST_F(Projections, DisplayProjectionThatFailsLeavesTheRecordsToTheCaller) {
    Buffer* b = CreateBuffer(1, 50, 40);
    Projection* p = CreateProjection(RegisterProjectionType(), nullptr, 8);
    workspace.projection_windows = false;
    EXPECT_EQ(DisplayProjection(p, b, "mine"), nullptr);
    EXPECT_EQ(DisplayProjection(p, nullptr, "mine"), nullptr);
    EXPECT_EQ(ui.log, (std::vector<std::string>{"error: 723", "error: 723"}));
    DestroyBuffer(b);  // still the caller's: the sanitizer build sees a second free otherwise
    DestroyProjection(p);
}

TEST_F(Projections, GalleryTilesShrinkToTheScreenStay25HighOrMakeNoWindow) {
    int W = 0, H = 0;  // 64 frames of 128 x 128, 8 a row, 1600 x 1000 screen: 128-pixel tiles
    ASSERT_TRUE(app::gallery_picture_size(make(64, 128, 128), 8, workspace.area.width, W, H));
    EXPECT_EQ(std::pair(W, H), std::pair(1024, 1024));
    Volume* v = make(10, 100, 400);
    ASSERT_TRUE(app::gallery_picture_size(v, 4, 1200, W, H));
    EXPECT_EQ(std::pair(W, H), std::pair(1200, 3 * 75));  // four 300 x 75 tiles a row
    ASSERT_TRUE(app::gallery_picture_size(v, 8, 400, W, H));
    EXPECT_EQ(std::pair(W, H), std::pair(800, 2 * 25));  // tiles 25 high: wider than the screen
    // the options, a frame one row high, a window that cannot be made: nothing is left
    struct Failure {
        const char* frames_per_row;
        int rows;          // of the VOI
        bool window;       // can be created
        const char* error;
    };
    for (const Failure& f : {Failure{"many", 100, true, "error: -90"}, Failure{"0", 100, true, "error: -90"},
                             Failure{"2", 1, true, "error: 9"}, Failure{"2", 100, false, "error: 723"}}) {
        fill_in_VOI(v, 0, 10, 0, f.rows, 0, 400);
        workspace.projection_windows = f.window;
        ui.pick(1).push({.options = {.factors = {f.frames_per_row}}});
        app::dispatch(res::cmd::kFrameGallery);
        EXPECT_EQ(ui.log.back(), f.error);
    }
    EXPECT_TRUE(workspace.projections.empty());
}

}  // namespace
}  // namespace t3d
