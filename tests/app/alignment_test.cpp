// Manual frame alignment without a screen: the command's refusals, the work volume, moving and
// turning a frame, the picture of the position view, Auto on frames shifted by known offsets,
// the writing of the output and the questions before changes are lost.
#include <cmath>

#include "app/command_table.h"
#include "app/messages.h"
#include "app/services.h"
#include "app/tools/alignment.h"
#include "shell_fixture.h"
#include "support.h"

namespace t3d {
namespace {

// A picture without repeats: blobs of different sizes and brightness on a slope, sampled at
// (y, x) of an unbounded plane.
int texture(int y, int x) {
    static const int blobs[][4] = {{5, 7, 4, 120},  {12, 30, 6, 90}, {25, 15, 3, 160},
                                   {30, 40, 5, 70}, {8, 44, 3, 140}, {36, 6, 6, 110},
                                   {20, 26, 2, 180}, {44, 28, 4, 100}};
    double v = 20 + 0.8 * y + 0.4 * x;
    for (const auto& b : blobs) {
        const double d2 = (y - b[0]) * (y - b[0]) + (x - b[1]) * (x - b[1]);
        v += b[3] * std::exp(-d2 / (2.0 * b[2] * b[2]));
    }
    return static_cast<int>(std::min(255.0, v));
}

class Alignment : public ShellTest {
protected:
    static app::Alignment& tool() { return app::alignment(); }

    // Frame z shows the texture moved by offsets[z] (rows down, columns right); 0 outside.
    Volume* shifted_frames(const std::vector<std::pair<int, int>>& offsets, int Y = 40, int X = 48) {
        Volume* v = make(static_cast<int>(offsets.size()), Y, X);
        fill(v, [&](int z, int y, int x) { return texture(y - offsets[z].first, x - offsets[z].second); });
        return v;
    }
    static void fill_disc(Volume* v, int z, int cy, int cx, int r, int value) {
        for (int y = 0; y < v->Y; ++y)
            for (int x = 0; x < v->X; ++x)
                if ((y - cy) * (y - cy) + (x - cx) * (x - cx) <= r * r) v->data[0].uc[z][y][x] = static_cast<unsigned char>(value);
    }
    // "Manual Alignment Options" answered with these texts.
    ScriptedUi& options(std::string first, std::string last, std::string radius = "16", bool turns = false) {
        Answer a;
        a.options.factors[0] = std::move(first);
        a.options.factors[1] = std::move(last);
        a.options.factors[2] = std::move(radius);
        a.options.check = turns;
        return ui.push(a);
    }
    // Input in slot 0, a new output, frames first..last.
    void start(std::string first = "0", std::string last = "3") {
        ui.pick(0).pick_new();
        options(std::move(first), std::move(last));
        app::dispatch(res::cmd::kManualAlignment);
    }
    // The colour the view shows for voxel (y, x), and the view's pixel at voxel (y, x).
    std::vector<int> shown(int y, int x) {
        const Buffer* b = workspace.projections.back().record->buffer;
        const int py = y * tool().zoom() + tool().zoom() - 1, px = x * tool().zoom();
        return {b->image[0][py][px], b->image[1][py][px], b->image[2][py][px]};
    }
    static intptr_t at(int y, int x) { return app::make_lparam(x * tool().zoom(), y * tool().zoom()); }
};

TEST_F(Alignment, TheCommandRefusesBusySameVolumeAndFewerThanTwoFrames) {
    shifted_frames({{0, 0}, {0, 0}, {0, 0}, {0, 0}});
    ui.pick(0).pick(0);  // the input as output: not in place
    app::dispatch(res::cmd::kManualAlignment);
    EXPECT_EQ(ui.log.back(), "error: -525");

    for (auto range : {std::pair<std::string, std::string>{"2", "2"}, {"3", "1"}}) {
        ui.log.clear();
        ui.pick(0).pick_new();
        options(range.first, range.second);
        app::dispatch(res::cmd::kManualAlignment);
        EXPECT_EQ(ui.log.back(), "error: 3133") << range.first;
        EXPECT_EQ(GetVolumeByIndex(1)->type, V3D_TYPE_NONE);  // the new output went again
    }
    for (auto texts : {std::vector<std::string>{"0", "4", "16"}, {"x", "3", "16"}, {"0", "3", "0"}}) {
        ui.pick(0).pick_new();
        options(texts[0], texts[1], texts[2]);
        app::dispatch(res::cmd::kManualAlignment);
        EXPECT_EQ(ui.log.back(), "error: -90") << texts[0] << texts[1] << texts[2];
    }
    EXPECT_FALSE(tool().in_progress());

    start();
    ASSERT_TRUE(tool().in_progress());
    ui.log.clear();
    app::dispatch(res::cmd::kManualAlignment);  // no dialog at all
    EXPECT_EQ(ui.log, std::vector<std::string>{"error: 3118"});
}

TEST_F(Alignment, StartingReservesAWorkVolumeAndOpensTheViewAndTheToolbox) {
    shifted_frames({{0, 0}, {1, 0}, {2, 0}, {3, 0}, {4, 0}});
    start("1", "3");
    ASSERT_TRUE(tool().in_progress());
    Volume* work = tool().work();
    EXPECT_EQ(GetVolumeIndex(work), 2);  // the first free slot after input and output
    EXPECT_EQ(work->Z, 3);
    EXPECT_EQ(ui.log.back(), "message [VEXILO3D for Windows] (warning) Volume 2 has been reserved for internal "
                             "use.\nDo not modify or destroy it during alignment procedure!");
    ASSERT_EQ(workspace.projections.size(), 1u);
    EXPECT_EQ(workspace.projections[0].proj->type, app::alignment_projection_type());
    EXPECT_EQ(workspace.projections[0].proj->source, GetVolumeByIndex(0));
    EXPECT_EQ(workspace.alignment_toolboxes, 1);
    EXPECT_EQ(tool().current(), 2);  // the first frame is the reference
}

TEST_F(Alignment, AShiftMovesTheFrameAndThePictureShowsItOverItsReference) {
    Volume* in = make(2, 3, 4);
    in->data[0].uc[0][1][1] = 200;  // reference
    in->data[0].uc[1][1][1] = 90;   // current
    start("0", "1");
    const int repaints = workspace.alignment_repaints;
    tool().shift(1, 2);
    EXPECT_EQ(workspace.alignment_repaints, repaints + 1);
    EXPECT_EQ(tool().work()->data[0].uc[1][2][3], 90);
    EXPECT_EQ(tool().work()->data[0].uc[1][1][1], 0);
    // small frames are magnified: 3 x 4 voxels in 12 x 16 pixels
    EXPECT_EQ(tool().zoom(), 4);
    EXPECT_EQ(workspace.projections.back().record->buffer->width, 16);
    // blend: the reference magenta, the current frame green
    EXPECT_EQ(shown(1, 1), (std::vector<int>{200, 0, 200}));
    EXPECT_EQ(shown(2, 3), (std::vector<int>{0, 90, 0}));
    tool().set_overlay(app::Overlay::Difference);
    tool().shift(-1, -2);  // back on the reference: |200 - 90|
    EXPECT_EQ(shown(1, 1), (std::vector<int>{110, 110, 110}));
    // the frame moved off the picture is covered nowhere: nothing to compare
    tool().shift(0, 4);
    EXPECT_LT(tool().mismatch(), 0);
}

TEST_F(Alignment, AutoFindsKnownOffsetsAndTheOutputGetsTheFramesBack) {
    const std::vector<std::pair<int, int>> offsets = {{0, 0}, {3, -2}, {7, -5}, {4, 6}, {-6, 9}};
    Volume* in = shifted_frames(offsets);
    start("0", "4");
    tool().auto_align_to_end();
    EXPECT_EQ(tool().current(), 4);
    for (int z = 1; z < 5; ++z)
        EXPECT_EQ(tool().pose(z), (app::FramePose{-offsets[z].first, -offsets[z].second, 0.f})) << z;
    EXPECT_TRUE(tool().changed());
    ASSERT_TRUE(tool().apply());
    EXPECT_FALSE(tool().changed());
    Volume* out = GetVolumeByIndex(1);
    EXPECT_EQ(workspace.displayed.back(), out);
    for (int z = 0; z < 5; ++z)  // where a source voxel was, frame 0's texture
        for (int y = 0; y < in->Y; ++y)
            for (int x = 0; x < in->X; ++x) {
                const int sy = y + offsets[z].first, sx = x + offsets[z].second;
                const bool covered = sy >= 0 && sy < in->Y && sx >= 0 && sx < in->X;
                ASSERT_EQ(out->data[0].uc[z][y][x], covered ? texture(y, x) : 0) << z << " " << y << " " << x;
            }
}

TEST_F(Alignment, AutoPutsASmallSectionInTheMiddleOfTheLargerOneAfterIt) {
    // the cap of a round object and the next, larger section: every placement of the small disc
    // inside the large one matches equally well; the concentric one is right
    Volume* in = make(2, 40, 40);
    fill_disc(in, 0, 20, 20, 3, 100);
    fill_disc(in, 1, 23, 18, 9, 100);
    ui.pick(0).pick_new();
    options("0", "1", "12");
    app::dispatch(res::cmd::kManualAlignment);
    tool().auto_align();
    EXPECT_EQ(tool().pose(1), (app::FramePose{-3, 2, 0.f}));
}

TEST_F(Alignment, AColourFrameMovesAllItsChannels) {
    Volume* in = make(2, 4, 4, V3D_TYPE_UC, V3D_COLOR_RGB);
    for (int c = 0; c < 3; ++c) in->data[c].uc[1][1][1] = static_cast<unsigned char>(10 + c);
    start("0", "1");
    tool().shift(1, 1);
    ASSERT_TRUE(tool().apply());
    Volume* out = GetVolumeByIndex(1);
    EXPECT_EQ(out->colortype, V3D_COLOR_RGB);
    for (int c = 0; c < 3; ++c) {
        EXPECT_EQ(out->data[c].uc[1][2][2], 10 + c);
        EXPECT_EQ(out->data[c].uc[1][1][1], 0);
    }
}

TEST_F(Alignment, AutoWithTurnsFindsATurnedFrame) {
    Volume* in = shifted_frames({{0, 0}, {0, 0}}, 48, 48);
    Volume* turned = make(2, 48, 48);
    ASSERT_EQ(RotateVol2d(in, turned, 3.f), 0);
    for (int y = 0; y < 48; ++y)
        for (int x = 0; x < 48; ++x) in->data[0].uc[1][y][x] = turned->data[0].uc[1][y][x];
    ui.pick(0).pick_new();
    options("0", "1", "4", true);
    app::dispatch(res::cmd::kManualAlignment);
    tool().auto_align();
    EXPECT_EQ(tool().pose(1), (app::FramePose{0, 0, -3.f}));
}

TEST_F(Alignment, FramesStartWhereThePreviousOneWentAndResetAsksFirst) {
    shifted_frames({{0, 0}, {0, 0}, {0, 0}});
    start("0", "2");
    tool().shift(2, -1);
    tool().turn(1.5f);
    tool().next();
    EXPECT_EQ(tool().pose(2), (app::FramePose{2, -1, 1.5f}));
    tool().shift(1, 0);
    ui.log.clear();
    ui.no();
    EXPECT_FALSE(tool().reset());
    EXPECT_EQ(ui.log[0], "question: All changes made to the current frame will be lost. Continue?");
    ui.yes();
    EXPECT_TRUE(tool().reset());
    EXPECT_EQ(tool().pose(2), (app::FramePose{2, -1, 1.5f}));
    ui.log.clear();
    EXPECT_FALSE(tool().reset());  // nothing to lose: no question
    EXPECT_TRUE(ui.log.empty());
    EXPECT_FALSE(tool().next());   // the last frame
    tool().previous();
    EXPECT_FALSE(tool().previous());  // the reference is never current
}

TEST_F(Alignment, KeysAndDragsInTheViewMoveAndTurnTheFrame) {
    shifted_frames({{0, 0}, {0, 0}, {0, 0}});
    start("0", "2");
    void* view = tool().view();
    EXPECT_TRUE(tool().key(app::AlignKey::Right, false));
    EXPECT_TRUE(tool().key(app::AlignKey::Up, true));
    EXPECT_TRUE(tool().key(app::AlignKey::TurnRight, false));
    EXPECT_EQ(tool().pose(1), (app::FramePose{-10, 1, -1.f}));
    // a drag moves the frame by the voxels the mouse crossed
    app::alignment_view_mouse(view, WM_LBUTTONDOWN, MK_LBUTTON, at(10, 10));
    app::alignment_view_mouse(view, WM_MOUSEMOVE, MK_LBUTTON, at(8, 13));
    app::alignment_view_mouse(view, WM_MOUSEMOVE, MK_LBUTTON, at(8, 13) + 1);  // within the voxel
    app::alignment_view_mouse(view, WM_MOUSEMOVE, MK_LBUTTON, at(8, 14));
    app::alignment_view_mouse(view, WM_LBUTTONUP, 0, at(8, 14));
    app::alignment_view_mouse(view, WM_MOUSEMOVE, 0, at(30, 30));  // not dragging
    EXPECT_EQ(tool().pose(1), (app::FramePose{-12, 5, -1.f}));
    EXPECT_TRUE(tool().key(app::AlignKey::NextFrame, false));
    EXPECT_EQ(tool().current(), 2);
}

TEST_F(Alignment, ClosingAsksToSaveOnlyUnwrittenChanges) {
    shifted_frames({{0, 0}, {0, 0}});
    start("0", "1");
    ui.log.clear();
    EXPECT_TRUE(tool().may_close());
    EXPECT_TRUE(ui.log.empty());
    tool().shift(0, 1);
    ui.reply(app::Reply::Cancel);
    EXPECT_FALSE(tool().may_close());
    EXPECT_EQ(ui.log.back(), "question (yes/no/cancel): Do you want to save changes?");
    ui.reply(app::Reply::Yes);
    EXPECT_TRUE(tool().may_close());
    EXPECT_EQ(GetVolumeByIndex(1)->data[0].uc[1][0][1], texture(0, 0));  // written
    // the view's close box: asks, then the tool ends and the window may go
    tool().shift(0, 1);
    ui.reply(app::Reply::No);
    EXPECT_FALSE(app::alignment_view_close(tool().view()));
    EXPECT_FALSE(tool().in_progress());
}

TEST_F(Alignment, VolumesChangedBehindItsBackStopTheToolSafely) {
    shifted_frames({{0, 0}, {0, 0}});
    start("0", "1");
    ASSERT_EQ(app::ReallocateVolume(GetVolumeByIndex(1), V3D_TYPE_UC, V3D_COLOR_GREY, 1, 40, 48), 0);
    tool().shift(1, 0);
    EXPECT_FALSE(tool().apply());
    EXPECT_EQ(ui.log.back(), "error: 3130");
    ui.log.clear();
    DestroyVolume(tool().work());
    tool().shift(1, 0);
    EXPECT_FALSE(tool().in_progress());
    EXPECT_EQ(ui.log, std::vector<std::string>{
                          "message [VEXILO3D for Windows] (error) Volume 2 has been modified or destroyed: "
                          "the alignment procedure has ended."});
    EXPECT_TRUE(workspace.projections.empty());
}

}  // namespace
}  // namespace t3d
