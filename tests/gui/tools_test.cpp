// The labelled volume view's dialog and contour following in the frame window, with clicks given
// through the window system.
#include <QAction>
#include <QLineEdit>
#include <QListWidget>
#include <QMdiSubWindow>
#include <QMenu>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QToolButton>

#include "app/tools/alignment.h"
#include "app/tools/contour.h"
#include "app/tools/labelled_view.h"
#include "fixture.h"
#include "gui/projections.h"
#include "res/commands.h"
#include "view/projection_window.h"

namespace t3d {
namespace {

class ToolWindows : public AppTest {
protected:
    void SetUp() override {
        AppTest::SetUp();
        show_window(1000, 700);
    }
    template <class W> W* control(int id) {
        return window->modeless ? window->modeless->findChild<W*>(QString::number(id)) : nullptr;
    }
    // A click at voxel (x, y) of a display's pane (step 1, no scrolling).
    void click_voxel(view::FrameDisplay* d, int x, int y, Qt::MouseButton button = Qt::LeftButton) {
        click(d->pane()->viewport(), {x, y}, button);
    }
    // Windows closed by the user go when the event loop gets to them.
    static void delete_closed() { QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); }
    // A disc of radius 7 and value 200 in every frame of a 3 x 24 x 24 volume.
    Volume* disc() {
        Volume* v = make(3, 24, 24);
        fill(v, [](int, int y, int x) { return (y - 12) * (y - 12) + (x - 11) * (x - 11) <= 49 ? 200 : 0; });
        return v;
    }
    // The disc's voxels next to the background: the contour a click on it must trace.
    static std::vector<std::pair<int, int>> rim(Volume* v, int z) {
        std::vector<std::pair<int, int>> r;
        for (int y = 1; y < v->Y - 1; ++y)
            for (int x = 1; x < v->X - 1; ++x) {
                bool edge = false;
                for (int dy = -1; dy <= 1; ++dy)
                    for (int dx = -1; dx <= 1; ++dx) edge |= !v->data[0].uc[z][y + dy][x + dx];
                if (v->data[0].uc[z][y][x] && edge) r.emplace_back(y, x);
            }
        return r;
    }
    static std::vector<std::pair<int, int>> marked(Volume* out, int z, int c = 0, int value = 255) {
        std::vector<std::pair<int, int>> r;
        for (int y = 0; y < out->Y; ++y)
            for (int x = 0; x < out->X; ++x)
                if (out->data[c].uc[z][y][x] == value) r.emplace_back(y, x);
        return r;
    }
    bool checked(int id) { return window->action(id)->isChecked(); }
    // Contour following (command) started on the disc into a new output: the input and the output.
    std::pair<Volume*, Volume*> follow_contours(int command) {
        Volume* in = disc();
        ui.pick(0).pick_new();
        run(command);
        return {in, GetVolumeByIndex(1)};
    }
};

TEST_F(ToolWindows, LabelledViewDialogEditsAndWritesTheOutput) {
    Volume* labels = make(1, 1, 4);
    for (int x = 1; x < 4; ++x) labels->data[0].uc[0][0][x] = static_cast<unsigned char>(x);
    ui.pick(0).pick_new();
    run(res::cmd::kViewLabelled);
    ASSERT_NE(window->modeless, nullptr);
    EXPECT_TRUE(window->modeless->isVisible());
    EXPECT_FALSE(window->modeless->isModal());
    for (int id = 1208; id <= 1219; ++id) EXPECT_NE(window->modeless->findChild<QWidget*>(QString::number(id)), nullptr) << id;
    EXPECT_EQ(control<QListWidget>(1208)->item(2)->text(), "Object 3");
    EXPECT_FALSE(control<QPushButton>(1217)->isEnabled());
    EXPECT_TRUE(control<QPushButton>(1217)->isDefault());

    QLineEdit* red = control<QLineEdit>(1210);
    red->selectAll();
    QTest::keyClicks(red, "300");            // 3, 30, then 300 beeps and 30 comes back
    EXPECT_EQ(red->text(), "30");
    EXPECT_EQ(control<QScrollBar>(1211)->value(), 30);
    control<QScrollBar>(1213)->setValue(77);
    EXPECT_EQ(control<QLineEdit>(1212)->text(), "77");
    EXPECT_TRUE(control<QPushButton>(1216)->isEnabled());
    click(control<QPushButton>(1216));
    Volume* out = GetVolumeByIndex(1);
    EXPECT_EQ(std::vector<int>({out->data[0].uc[0][0][1], out->data[1].uc[0][0][1]}), std::vector<int>({30, 77}));
    EXPECT_FALSE(control<QPushButton>(1217)->isEnabled());
    click(control<QPushButton>(1218));  // nothing pending: closes at once
    delete_closed();
    EXPECT_EQ(window->modeless, nullptr);
    EXPECT_FALSE(app::labelled_view().in_progress());
}

TEST_F(ToolWindows, ContourFollowingIsAToggleWithTwoSteppedWindows) {
    const auto [in, out] = follow_contours(res::cmd::kBwContourFollowing);
    ASSERT_EQ(windows(in), 1);
    ASSERT_EQ(windows(out), 1);
    view::FrameDisplay *a = window->displays(in)[0], *b = window->displays(out)[0];
    EXPECT_EQ(a->findChildren<QToolButton*>().size(), 2);
    EXPECT_TRUE(checked(res::cmd::kBwContourFollowing));
    EXPECT_FALSE(checked(res::cmd::kColorContourFollowing));
    EXPECT_EQ(GetVolumeByIndex(2)->type, V3D_TYPE_UC);  // the work volume
    click(a->findChild<QToolButton*>("13"));
    EXPECT_EQ(std::vector({a->current(), b->current()}), std::vector({1, 1}));
    b->command(14);
    EXPECT_EQ(std::vector({a->current(), b->current()}), std::vector({0, 0}));

    run(res::cmd::kBwContourFollowing);       // again: it ends
    EXPECT_EQ(windows(in) + windows(out), 0);
    EXPECT_FALSE(checked(res::cmd::kBwContourFollowing));
    EXPECT_EQ(GetVolumeByIndex(2)->type, V3D_TYPE_NONE);
}

TEST_F(ToolWindows, ClosingEitherContourWindowEndsContourFollowing) {
    const auto [in, out] = follow_contours(res::cmd::kBwContourFollowing);
    ASSERT_EQ(windows(out), 1);
    static_cast<QMdiSubWindow*>(window->displays(out)[0]->parentWidget())->close();
    delete_closed();
    EXPECT_EQ(windows(in) + windows(out), 0);
    EXPECT_FALSE(checked(res::cmd::kBwContourFollowing));
    EXPECT_FALSE(app::contour_following().active());
    EXPECT_EQ(GetVolumeByIndex(2)->type, V3D_TYPE_NONE);
}

TEST_F(ToolWindows, AClickTracesTheWholeContourOfItsFrameAndARightClickClearsIt) {
    const auto [in, out] = follow_contours(res::cmd::kBwContourFollowing);
    view::FrameDisplay* original = window->displays(in)[0];
    original->command(13);
    click_voxel(original, 3, 12);              // just outside the disc's left edge
    EXPECT_EQ(marked(out, 1), rim(in, 1));
    EXPECT_TRUE(marked(out, 0).empty());
    EXPECT_EQ(original->marks()(1).points.size(), static_cast<qsizetype>(rim(in, 1).size()));
    EXPECT_EQ(original->marks()(1).crosses, QList<QPoint>({QPoint(4, 12)}));
    click_voxel(window->displays(out)[0], 11, 12);  // the middle: no edge near
    EXPECT_EQ(marked(out, 1), rim(in, 1));
    click_voxel(original, 11, 12, Qt::RightButton);
    EXPECT_TRUE(marked(out, 1).empty());
    EXPECT_TRUE(original->marks()(1).points.isEmpty());
}

TEST_F(ToolWindows, ColourContourFollowingConvertsAGreyOriginalAndMarksInRed) {
    const auto [in, out] = follow_contours(res::cmd::kColorContourFollowing);
    EXPECT_TRUE(ui.logged("message [VEXILO] (information) The input volume has been converted to a color one!"));
    EXPECT_EQ(in->colortype, V3D_COLOR_RGB);
    EXPECT_EQ(in->data[2].uc[1][12][11], 200);
    EXPECT_EQ(out->colortype, V3D_COLOR_RGB);
    EXPECT_TRUE(checked(res::cmd::kColorContourFollowing));
    click_voxel(window->displays(in)[0], 3, 12);
    std::vector<std::pair<int, int>> red;
    for (const auto& [y, x] : marked(out, 0, 0, 255))
        if (out->data[1].uc[0][y][x] == 0 && out->data[2].uc[0][y][x] == 0) red.emplace_back(y, x);
    EXPECT_EQ(red, rim(in, 0));
    EXPECT_EQ(out->data[1].uc[0][12][11], 200);    // the rest a copy of the original
    click_voxel(window->displays(in)[0], 3, 12, Qt::RightButton);
    EXPECT_EQ(out->data[1].uc[0][12][4], 200);
}

TEST_F(ToolWindows, AlignToolboxButtonsKeysAndDragsMoveTheFrameAndTheViewPaintsItAgain) {
    Volume* in = make(3, 24, 32);
    fill(in, [](int z, int y, int x) { return y == 10 && x == 12 + z ? 200 : 0; });  // a dot drifting right
    Answer options;
    options.options.factors[0] = "0", options.options.factors[1] = "2", options.options.factors[2] = "16";
    ui.pick(0).pick_new().push(options);
    run(res::cmd::kManualAlignment);
    app::Alignment& tool = app::alignment();
    ASSERT_TRUE(tool.in_progress());
    QWidget* toolbox = window->alignment_toolbox();
    ASSERT_NE(toolbox, nullptr);
    EXPECT_TRUE(toolbox->isVisible());
    ASSERT_TRUE(QTest::qWaitForWindowExposed(toolbox));
    const auto views = window->windows_of(gui::kProjectionClass, in);
    ASSERT_EQ(views.size(), 1);
    auto* view = static_cast<view::ProjectionWindow*>(views[0]);
    auto* sub = static_cast<QMdiSubWindow*>(view->parentWidget());
    for (QAction* a : sub->systemMenu()->actions()) EXPECT_NE(a->objectName(), "1000");  // no "&Save Projection"
    ASSERT_EQ(tool.zoom(), 4);  // small frames are magnified
    auto shown = [view](int x, int y) { return view->viewport()->grab().toImage().pixelColor(4 * x + 1, 4 * y + 1); };
    EXPECT_EQ(shown(12, 10), QColor(200, 0, 200));  // frame 0 in magenta
    EXPECT_EQ(shown(13, 10), QColor(0, 200, 0));    // frame 1 in green

    click(toolbox->findChild<QPushButton*>("1272"));  // Left
    EXPECT_EQ(tool.pose(1), (app::FramePose{0, -1, 0.f}));
    EXPECT_EQ(shown(12, 10), QColor(200, 200, 200));  // lined up: grey
    EXPECT_EQ(shown(13, 10), QColor(0, 0, 0));

    // the view takes keys and drags: Page Down, then the dot of frame 2 dragged one to the left
    click(view->viewport(), {3, 3});
    QTest::keyClick(window->windowHandle(), Qt::Key_PageDown);
    EXPECT_EQ(tool.current(), 2);
    EXPECT_EQ(tool.pose(2), (app::FramePose{0, -1, 0.f}));  // it starts where frame 1 went
    const QPoint from = view->viewport()->mapTo(window.get(), QPoint(80, 20));
    QTest::mousePress(window->windowHandle(), Qt::LeftButton, {}, from);
    QTest::mouseMove(window->windowHandle(), from + QPoint(-4, 0));
    QTest::mouseRelease(window->windowHandle(), Qt::LeftButton, {}, from + QPoint(-4, 0));
    EXPECT_EQ(tool.pose(2), (app::FramePose{0, -2, 0.f}));
    EXPECT_EQ(shown(12, 10), QColor(200, 200, 200));

    // the view's close box closes the toolbox (unwritten changes: No), and the tool ends
    ui.reply(app::Reply::No);
    sub->close();
    delete_closed();
    EXPECT_EQ(ui.log.back(), "question (yes/no/cancel): Do you want to save changes?");
    EXPECT_FALSE(tool.in_progress());
    EXPECT_EQ(window->alignment_toolbox(), nullptr);
    EXPECT_TRUE(window->windows_of(gui::kProjectionClass).isEmpty());
    EXPECT_EQ(GetVolumeByIndex(2)->type, V3D_TYPE_NONE);  // the work volume went
}

}  // namespace
}  // namespace t3d
