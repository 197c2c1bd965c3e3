// The frame display window: stepping, movies, zoom bounds, layout, titles and clicks.
#include <QAction>
#include <QApplication>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMouseEvent>
#include <QPointer>
#include <QScrollBar>
#include <QStyle>
#include <QTest>
#include <QToolButton>

#include "fixture.h"

namespace t3d {
namespace {

using view::FrameDisplay;

class FrameDisplayTest : public AppTest {
protected:
    // A volume whose voxel (z, y, x) of channel c holds (z * 50 + y * 7 + x + c) mod 256.
    Volume* ramp(int Z, int Y, int X, int colortype = 1) {
        Volume* v = make(Z, Y, X, 1, colortype);
        for (int c = 0; c < (colortype == 1 ? 1 : 3); ++c)
            fill(v, [c](int z, int y, int x) { return z * 50 + y * 7 + x + c; }, c);
        return v;
    }
    // A bare display, for its layout.
    std::unique_ptr<FrameDisplay> show(Volume* v, int first, int last, QSize area = {800, 600},
                                       int buttons = 6) {
        return std::make_unique<FrameDisplay>(v, 2, first, last, 0.0, area, buttons);
    }
    // A display window of the frame window: titled, its clicks going to the tools.
    FrameDisplay* open(Volume* v, int first, int last) {
        EXPECT_TRUE(window->open_display(2, v, 0.0, first, last, 0));
        return window->displays(v).back();
    }
    // A left-button press handed straight to target (posted to its queue when post).
    static void press(QWidget* target, QPoint at, bool post = false) {
        auto* e = new QMouseEvent(QEvent::MouseButtonPress, QPointF(at), target->mapToGlobal(QPointF(at)),
                                  Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
        if (post) {
            QCoreApplication::postEvent(target, e);
        } else {
            QApplication::sendEvent(target, e);
            delete e;
        }
    }
};

TEST_F(FrameDisplayTest, SteppingStaysInsideTheRangeAndRetitles) {
    Volume* v = ramp(5, 4, 4);
    auto d = open(v, 1, 3);
    EXPECT_EQ(d->windowTitle(), "vol 0 [fr 1-3,1]");
    // back at the first frame, forward to the last and beyond, 12 does nothing of its own
    for (const auto& [command, frame] : {std::pair{14, 1}, {13, 2}, {13, 3}, {13, 3}, {12, 3}}) {
        d->command(command);
        EXPECT_EQ(d->current(), frame) << command;
    }
    EXPECT_EQ(d->windowTitle(), "vol 0 [fr 1-3,3]");
    d->findChild<QToolButton*>("14")->click();
    EXPECT_EQ(d->current(), 2);

    Volume* one = ramp(1, 4, 4);
    auto single = open(one, 0, 0);
    for (int command : {13, 14, 10, 11}) single->command(command);
    EXPECT_EQ(single->current(), 0);
    EXPECT_EQ(single->windowTitle(), "vol 1 [fr 0-0,0]");
}

// Movies take clicks the way a user gives them: through the window system, at the shown frame
// window, while a frame is on the screen.
class Movie : public FrameDisplayTest {
protected:
    void SetUp() override {
        FrameDisplayTest::SetUp();
        show_window(900, 700);
    }
    static QToolButton* button(FrameDisplay* d, int id) {
        return d->findChild<QToolButton*>(QString::number(id));
    }
    // Clicks the bar button `id` of `target` when `d` shows frame k (the first time). A movie
    // that the click did not stop is stopped after 200 more frames by a press handed straight
    // to its pane, so that the test ends and fails.
    void click_when_shown(FrameDisplay* d, int k, FrameDisplay* target, int id) {
        auto after_click = std::make_shared<int>(-1);
        QObject::connect(d, &FrameDisplay::frame_shown, d, [=](int frame) {
            if (*after_click >= 0 && ++*after_click == 200) press(d->pane()->viewport(), {1, 1}, true);
            if (frame != k || *after_click >= 0) return;
            *after_click = 0;
            click(button(target, id));
        });
    }
    static void deliver_held_input() { QCoreApplication::processEvents(); }
};

TEST_F(Movie, AButtonClickedDuringTheMovieStopsItAtTheShownFrameThenActs) {
    Volume* v = ramp(8, 4, 4);
    FrameDisplay* d = open(v, 0, 7);
    d->command(10);
    EXPECT_EQ(d->current(), 7);
    d->command(11);
    EXPECT_EQ(d->current(), 0);
    freedisWin(v);

    // {movie, frame shown at the click, button clicked, frame where it stopped, after the click}
    const struct { int movie, at, button, stopped, acted; } clicks[] = {
        {10, 3, 13, 3, 4},   // play, "next" acts after the stop
        {10, 2, 12, 2, 2},   // play, "stop" does nothing more
        {15, 5, 14, 5, 4}};  // back and forth, on the way forward: "previous"
    for (const auto& c : clicks) {
        SCOPED_TRACE(testing::Message() << "movie " << c.movie << ", button " << c.button);
        Volume* played = ramp(8, 4, 4);
        FrameDisplay* m = open(played, 0, 7);
        click_when_shown(m, c.at, m, c.button);
        m->command(c.movie);
        EXPECT_EQ(m->current(), c.stopped);
        deliver_held_input();
        EXPECT_EQ(m->current(), c.acted);
        freedisWin(played);
    }
}

TEST_F(Movie, InputElsewhereWaitsAndIsNotLost) {
    Volume* v = ramp(8, 4, 4);
    FrameDisplay* d = open(v, 0, 7);
    FrameDisplay* other = open(ramp(8, 4, 4), 0, 7);
    d->parentWidget()->move(0, 0);
    other->parentWidget()->move(400, 0);
    click_when_shown(d, 3, other, 13);    // another window's "next"
    d->command(10);
    EXPECT_EQ(d->current(), 7);           // not stopped
    EXPECT_EQ(other->current(), 0);       // nothing handled while it played
    deliver_held_input();
    EXPECT_EQ(other->current(), 1);       // but nothing lost
}

TEST_F(Movie, APictureThatCannotBeMadeEndsTheMovieThroughTheFailureHandler) {
    Volume* v = ramp(4, 4, 4);
    FrameDisplay* d = open(v, 0, 3);
    int failures = 0;
    const auto keep = FrameDisplay::drawing_failure_handler();
    FrameDisplay::drawing_failure_handler() = [&] { ++failures; };
    FrameDisplay::set_drawing_fails(true);
    d->command(10);
    FrameDisplay::set_drawing_fails(false);
    FrameDisplay::drawing_failure_handler() = keep;
    EXPECT_EQ(failures, 1);
    EXPECT_EQ(d->current(), 0);
}

TEST_F(FrameDisplayTest, ZoomStepsBetweenOneAndSixtyFour) {
    Volume* v = ramp(1, 128, 128);
    auto d = show(v, 0, 0);
    auto expect_step = [&](int step) {
        EXPECT_EQ(d->step(), step);
        EXPECT_EQ(d->visible_size(), QSize(128 / step, 128 / step));
    };
    d->zoom_in();
    expect_step(1);
    d->zoom_out();
    expect_step(2);
    for (int i = 0; i < 6; ++i) d->zoom_out();
    expect_step(64);
    EXPECT_EQ(d->width(), FrameDisplay::kMinClientWidth);
    d->zoom_in();
    EXPECT_EQ(d->step(), 32);
}

TEST_F(FrameDisplayTest, NarrowFramesGetTheMinimumWidthWithTheirPaneCentred) {
    Volume* v = ramp(2, 40, 50);
    auto d = show(v, 0, 1);
    EXPECT_EQ(d->width(), 192);
    EXPECT_EQ(d->height(), 40 + 21);
    EXPECT_EQ(d->pane()->geometry(), QRect((192 - 50) / 2, 0, 50, 40));
    // six buttons of a sixth of the width in the order 11, 14, 12, 13, 10, 15
    const int ids[6] = {11, 14, 12, 13, 10, 15};
    for (int i = 0; i < 6; ++i) {
        auto* b = d->findChild<QToolButton*>(QString::number(ids[i]));
        ASSERT_NE(b, nullptr);
        EXPECT_EQ(b->geometry().x(), i * 32);
        EXPECT_EQ(b->height(), 21);
    }
    auto contour = show(v, 0, 1, {800, 600}, 2);
    EXPECT_EQ(contour->findChildren<QToolButton*>().size(), 2);
    EXPECT_EQ(contour->findChild<QToolButton*>("13")->geometry(), QRect(96, 40, 96, 21).translated(0, -40));
}

TEST_F(FrameDisplayTest, LargeFramesScrollOverWhatDoesNotFit) {
    const int sb = QApplication::style()->pixelMetric(QStyle::PM_ScrollBarExtent);
    Volume* big = ramp(1, 300, 400);
    auto both = show(big, 0, 0, {200, 100});
    EXPECT_EQ(both->visible_size(), QSize(200 - sb, 100 - sb));
    EXPECT_EQ(both->scroll_ranges(), QSize(400 - (200 - sb), 300 - (100 - sb)));
    EXPECT_EQ(both->pane()->size(), QSize(200, 100));
    EXPECT_EQ(both->pane()->horizontalScrollBar()->maximum(), 400 - (200 - sb));

    Volume* wide = ramp(1, 50, 400);
    auto one = show(wide, 0, 0, {200, 100});
    EXPECT_EQ(one->visible_size(), QSize(200, 50));
    EXPECT_EQ(one->scroll_ranges(), QSize(200, 0));
    EXPECT_EQ(one->pane()->size(), QSize(200, 50 + sb));
    EXPECT_EQ(one->height(), 50 + sb + 21);
}

TEST_F(FrameDisplayTest, TheFrameIsSampledEveryStepFromTheScrollPosition) {
    Volume* v = ramp(3, 16, 16);
    auto d = show(v, 0, 2);
    d->command(13);
    d->zoom_out();
    QImage image = d->frame_image();
    ASSERT_EQ(image.size(), QSize(8, 8));
    EXPECT_EQ(image.format(), QImage::Format_Indexed8);
    EXPECT_EQ(image.pixelIndex(3, 2), v->data[0].uc[1][4][6]);

    Volume* small = ramp(1, 300, 400, 2);
    auto scrolled = show(small, 0, 0, {200, 100});
    scrolled->pane()->horizontalScrollBar()->setValue(10);
    scrolled->pane()->verticalScrollBar()->setValue(5);
    QImage rgb = scrolled->frame_image();
    EXPECT_EQ(rgb.format(), QImage::Format_RGB888);
    const QRgb p = rgb.pixel(1, 2);
    EXPECT_EQ(qRed(p), small->data[0].uc[0][7][11]);
    EXPECT_EQ(qBlue(p), small->data[2].uc[0][7][11]);
}

// The voxel Write Voxel (1050) writes and a seed is the one under the mouse in the shown frame
// (one click only, and the written values, are the tools' business: tests/app).
TEST_F(FrameDisplayTest, WriteVoxelAndSeedClicksActOnTheVoxelUnderTheMouse) {
    Volume* grey = ramp(2, 8, 8);
    Volume* colour = ramp(2, 8, 8, 2);
    auto g = open(grey, 0, 1);
    auto c = open(colour, 0, 1);
    g->command(13);
    run(1050);
    ui.push({.rgb = {255, 0, 0}});
    press(g->pane()->viewport(), {3, 2});
    EXPECT_EQ(grey->data[0].uc[1][2][3], 76);          // 0.299 * 255, rounded

    app::SeedCollector seeds(grey);
    app::ActiveTool active(&seeds);
    press(g->pane()->viewport(), {4, 5});
    press(c->pane()->viewport(), {4, 5});               // another volume's window: no seed
    ASSERT_EQ(seeds.seeds().size(), 1u);
    const app::Seed& seed = seeds.seeds()[0];
    EXPECT_EQ(std::vector({seed.z, seed.y, seed.x}), std::vector({1, 5, 4}));
}

TEST_F(FrameDisplayTest, TheFrameWindowAddsZoomToTheSystemMenuAndFreesWindowsByVolume) {
    Volume* v = ramp(2, 8, 8);
    Volume* w = ramp(2, 8, 8);
    ASSERT_TRUE(window->open_display(2, v, 0, 0, 1, 0));
    ASSERT_TRUE(window->open_display(2, v, 0, 1, 1, 0));
    ASSERT_TRUE(window->open_display(2, w, 0, 0, 1, 0));
    FrameDisplay* d = window->displays(v).at(0);
    auto* sub = qobject_cast<QMdiSubWindow*>(d->parentWidget());
    ASSERT_NE(sub, nullptr);
    const auto actions = sub->systemMenu()->actions();
    ASSERT_GE(actions.size(), 3);
    EXPECT_EQ(actions.at(actions.size() - 2)->text(), "Zoom In");
    EXPECT_EQ(actions.back()->text(), "Zoom Out");
    actions.back()->trigger();
    EXPECT_EQ(d->step(), 2);
    EXPECT_FALSE(window->open_display(2, v, 0, 1, 2, 0));   // beyond the last frame
    freedisWin(v);
    EXPECT_EQ(windows(v), 0);
    EXPECT_EQ(windows(w), 1);
    DisplayVolume(v);                                      // none left: a new one opens
    ASSERT_EQ(windows(v), 1);
    EXPECT_EQ(window->displays(v).at(0)->windowTitle(), "vol 0 [fr 0-1,0]");
}

}  // namespace
}  // namespace t3d
