// The section view's rules without a window: pane layout and splitters, the magnification
// rule of the trackbars, which voxel a pane pixel shows, the edit fields' bounds and the
// pictures' byte layout.
#include <tuple>

#include "app/command_table.h"
#include "app/tools/sections.h"
#include "shell_fixture.h"
#include "support.h"

namespace t3d {
namespace {

namespace sec = app::sections;
using sec::Rect;
using Sections = ShellTest;

TEST_F(Sections, PanesSplitTheClientAndControlsFillTheFreeQuarter) {
    Volume* v = make(9, 12, 15);
    sec::Record r = sec::Record::create(v, 600, 401);
    EXPECT_EQ(r.point, (sec::Point{7, 6, 4}));
    const sec::ControlMetrics m{50, 20, 90, 26};
    sec::Layout l = r.layout(600, 401, m);
    EXPECT_EQ(l.panes[sec::kXY], (Rect{0, 0, 300, 200}));
    EXPECT_EQ(l.panes[sec::kXZ], (Rect{0, 208, 300, 193}));
    EXPECT_EQ(l.panes[sec::kYZ], (Rect{308, 0, 292, 200}));
    for (int i = 0; i < sec::kPanes; ++i)  // inside the free quarter
        EXPECT_TRUE(l.edits[i].x >= 308 && l.edits[i].y >= 208 && l.labels[i].x + l.labels[i].w <= 600);
    // one row a pane: the edit of its cut (XY: z, edit 3), its trackbar and its factor
    EXPECT_EQ(l.edits[0].y + m.edit_h / 2, l.trackbars[sec::kXY].y + m.trackbar_h / 2);
    EXPECT_LT(l.trackbars[sec::kXY].y, l.trackbars[sec::kXZ].y);
    EXPECT_LT(l.edits[2].y, l.edits[1].y);  // XZ is cut at y (edit 5) above YZ's x (edit 4)

    // the vertical gap wins where they cross; dragging stays inside the client
    EXPECT_EQ(r.splitter_at(300, 50, 600, 401), sec::Splitter::Vertical);
    EXPECT_EQ(r.splitter_at(307, 207, 600, 401), sec::Splitter::Vertical);
    EXPECT_EQ(r.splitter_at(50, 207, 600, 401), sec::Splitter::Horizontal);
    EXPECT_EQ(r.splitter_at(299, 199, 600, 401), sec::Splitter::None);
    EXPECT_FALSE(r.move_splitter(sec::Splitter::Vertical, 300, 600, 401));
    EXPECT_TRUE(r.move_splitter(sec::Splitter::Vertical, 100, 600, 401));
    EXPECT_TRUE(r.move_splitter(sec::Splitter::Horizontal, 9999, 600, 401));
    l = r.layout(600, 401, m);
    EXPECT_EQ(l.panes[sec::kXY], (Rect{0, 0, 100, 393}));
    EXPECT_EQ(l.panes[sec::kXZ], (Rect{0, 401, 100, 0}));
    EXPECT_EQ(l.panes[sec::kYZ], (Rect{108, 0, 492, 393}));
    EXPECT_TRUE(r.move_splitter(sec::Splitter::Vertical, -40, 600, 401));
    EXPECT_EQ(r.split_x, 0);
}

TEST(SectionMagnification, ThumbPositionsGiveFactorsThatSkipZeroAndMinusOne) {
    sec::Record r;
    EXPECT_EQ(sec::factor_text(0, r.settings[0]), "X factor : 1.00");  // at creation, thumb at 50
    // {position, where the thumb is left, factor text of the second trackbar}
    const std::tuple<int, int, const char*> moves[] = {
        {51, 51, "Y factor : 1.00"}, {50, 48, "Y factor : 0.50"}, {49, 48, "Y factor : 0.50"},
        {53, 53, "Y factor : 3.00"}, {47, 47, "Y factor : 0.33"}, {0, 0, "Y factor : 0.02"},
        {100, 100, "Y factor : 50.00"}};
    for (const auto& [position, left_at, text] : moves) {
        EXPECT_EQ(r.move_trackbar(1, position), left_at) << position;
        EXPECT_EQ(sec::factor_text(1, r.settings[1]), text) << position;
    }
    EXPECT_EQ(sec::factor_text(2, -50), "Z factor : 0.02");
    // lengths: stretched, or sampled by integer division
    EXPECT_EQ(sec::scaled(128, 3), 384);
    EXPECT_EQ(sec::scaled(128, -3), 42);
    EXPECT_EQ(sec::scaled(2, -3), 0);
}

TEST_F(Sections, PanePixelsMapToVoxelsAtFactorThreeAndOneThird) {
    Volume* v = make(9, 12, 15);
    sec::Record r = sec::Record::create(v, 600, 400);
    r.point = {4, 5, 6};
    sec::Point p;
    auto at = [&](int pane, int setting, int px, int py) {
        r.settings[pane] = setting;
        p = {-1, -1, -1};
        return r.voxel_at(pane, px, py, p);
    };
    // XY (rows y, columns x, at z)
    ASSERT_TRUE(at(sec::kXY, 3, 7, 4));
    EXPECT_EQ(p, (sec::Point{2, 1, 6}));
    EXPECT_FALSE(at(sec::kXY, 3, 45, 0));
    ASSERT_TRUE(at(sec::kXY, -3, 4, 3));
    EXPECT_EQ(p, (sec::Point{12, 9, 6}));
    EXPECT_FALSE(at(sec::kXY, -3, 5, 0));
    // XZ (rows z, columns x, at y) and YZ (rows y, columns z, at x)
    ASSERT_TRUE(at(sec::kXZ, 3, 7, 26));
    EXPECT_EQ(p, (sec::Point{2, 5, 8}));
    ASSERT_TRUE(at(sec::kYZ, -3, 2, 3));
    EXPECT_EQ(p, (sec::Point{4, 9, 6}));
    EXPECT_FALSE(at(sec::kYZ, -3, 3, 0));
    ASSERT_TRUE(at(sec::kYZ, 3, 26, 7));
    EXPECT_EQ(p, (sec::Point{4, 2, 8}));
    // the lines of every pane cross at the current point
    for (int setting : {1, 3, 4})
        for (int pane = 0; pane < sec::kPanes; ++pane) {
            r.settings[pane] = setting;
            int mx, my;
            r.mark(pane, mx, my);
            ASSERT_TRUE(r.voxel_at(pane, mx, my, p));
            EXPECT_EQ(p, r.point) << pane << " at " << setting;
        }
}

// A volume of 0.5 x 0.5 x 2 mm voxels: the XZ and YZ panes are four times as long in Z, and
// every pixel still shows the voxel under it and the lines still cross at the point.
TEST_F(Sections, PanesShowTrueProportions) {
    Volume* v = make(6, 8, 10);
    ASSERT_EQ(SetVolumeSpacing(v, 2, 0.5, 0.5), 0);
    sec::Record r = sec::Record::create(v, 600, 400);
    int w, h;
    const std::tuple<int, int, int, int> sizes[] = {  // pane, setting, content w, h
        {sec::kXY, 1, 10, 8}, {sec::kXZ, 1, 10, 24}, {sec::kYZ, 1, 24, 8},
        {sec::kXZ, 3, 30, 72}, {sec::kYZ, -2, 12, 4}};
    for (const auto& [pane, setting, cw, ch] : sizes) {
        r.settings[pane] = setting;
        r.content_size(pane, w, h);
        EXPECT_EQ(std::vector({w, h}), std::vector({cw, ch})) << pane << " at " << setting;
    }
    r.point = {3, 5, 4};
    sec::Point p;
    r.settings[sec::kXZ] = 1;
    ASSERT_TRUE(r.voxel_at(sec::kXZ, 7, 19, p));  // row 19 of 24: frame 4
    EXPECT_EQ(p, (sec::Point{7, 5, 4}));
    for (int setting : {1, 2, -2})
        for (int pane = 0; pane < sec::kPanes; ++pane) {
            r.settings[pane] = setting;
            int mx, my;
            r.mark(pane, mx, my);
            ASSERT_TRUE(r.voxel_at(pane, mx, my, p)) << pane << " at " << setting;
            const sec::Point want = setting > 0 ? r.point : sec::Point{r.point.x / 2 * 2, r.point.y / 2 * 2, r.point.z / 2 * 2};
            EXPECT_EQ(pane == sec::kYZ ? p.z : p.x, pane == sec::kYZ ? want.z : want.x) << pane << " at " << setting;
            EXPECT_EQ(pane == sec::kXZ ? p.z : p.y, pane == sec::kXZ ? want.z : want.y) << pane << " at " << setting;
        }
    // a spacing of another volume read into the slot is taken when the view refreshes
    ASSERT_EQ(SetVolumeSpacing(v, 100, 1, 1), 0);
    r.read_proportions();
    r.settings[sec::kXZ] = 1;
    r.content_size(sec::kXZ, w, h);
    EXPECT_EQ(h, 6 * static_cast<int>(sec::kMaxProportion));  // a ratio beyond the cap is the cap
}

TEST_F(Sections, TypedCoordinatesBelowTheExtentMoveThePoint) {
    Volume* v = make(9, 12, 15);
    sec::Record r = sec::Record::create(v, 600, 400);
    // {edit, text, pane repainted (-1 ignored), the point afterwards}
    const std::tuple<int, const char*, int, sec::Point> typed[] = {
        {0, "8", sec::kXY, {7, 6, 8}},  {0, "9", -1, {7, 6, 8}},   {1, "14", sec::kYZ, {14, 6, 8}},
        {1, "15", -1, {14, 6, 8}},      {2, "11", sec::kXZ, {14, 11, 8}}, {2, "12", -1, {14, 11, 8}},
        {2, "007", sec::kXZ, {14, 7, 8}}, {0, "", -1, {14, 7, 8}}, {0, "99999999999", -1, {14, 7, 8}},
        {0, "0", sec::kXY, {14, 7, 0}}};
    for (const auto& [edit, text, pane, point] : typed) {
        EXPECT_EQ(r.type_coordinate(edit, text), pane) << edit << " " << text;
        EXPECT_EQ(r.point, point) << edit << " " << text;
    }
}

TEST_F(Sections, PicturesAreBottomRowFirstPaddedAndSampled) {
    Volume* grey = make(4, 3, 5);
    Volume* colour = make(4, 3, 5, 1, 2);
    for (int c = 0; c < 3; ++c) fill(colour, [c](int z, int y, int x) { return 50 * c + 20 * z + 5 * y + x; }, c);
    fill(grey, [](int z, int y, int x) { return 20 * z + 5 * y + x; });
    sec::Record r = sec::Record::create(grey, 100, 100);  // point x 2, y 1, z 2
    sec::Picture p = r.picture(sec::kXY);
    EXPECT_EQ(p.stride, 8);
    ASSERT_EQ(p.bits.size(), 24u);
    EXPECT_EQ(p.bits[0], 40 + 10 + 0);  // the bottom row (y 2) comes first
    EXPECT_EQ(p.bits[8 + 4], 40 + 5 + 4);
    r.settings[sec::kXZ] = -2;         // every second sample: x 0, 2 of z 0, 2
    p = r.picture(sec::kXZ);
    EXPECT_EQ(p.width, 2);
    EXPECT_EQ(p.height, 2);
    EXPECT_EQ(p.stride, 4);
    EXPECT_EQ(p.row(0)[1], 5 + 2);
    EXPECT_EQ(p.row(1)[0], 40 + 5);

    r.vol = colour;                    // three bytes a sample: blue, green, red
    p = r.picture(sec::kYZ);           // rows y, columns z at x 2
    EXPECT_EQ(p.channels, 3);
    EXPECT_EQ(p.stride, 12);
    const unsigned char* s = p.row(1) + 3 * 3;
    EXPECT_EQ(s[0], 100 + 60 + 5 + 2);
    EXPECT_EQ(s[2], 60 + 5 + 2);
}

TEST_F(Sections, ViewSectionsAsksForAUcVolumeAndReportsAWindowThatCannotBeMade) {
    Volume* v = make(2, 3, 4);
    ui.pick(0);
    ASSERT_TRUE(app::dispatch(40007));
    EXPECT_TRUE(ui.requests[0].typemask == 1 && ui.requests[0].colormask == 3);
    EXPECT_EQ(workspace.sectioned, std::vector<const Volume*>{v});
    workspace.section_window = false;
    ui.pick(0).cancel();
    app::dispatch(40007);
    app::dispatch(40007);  // cancelled: nothing more
    EXPECT_EQ(ui.log.end()[-2], "error: 723");
    EXPECT_EQ(workspace.sectioned.size(), 1u);
}

}  // namespace
}  // namespace t3d
