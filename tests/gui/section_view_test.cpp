// The section view: opened by View Sections and closed with its volume, its pictures against
// the library's orthogonal sections, trackbars and splitters dragged through the window
// system, the voxel under the mouse in the read-out, and a pane that cannot clip.
#include <QLabel>
#include <QLineEdit>
#include <QMdiSubWindow>
#include <QPainter>
#include <QSlider>
#include <QStyle>
#include <QStyleOptionSlider>
#include <QTest>
#include <set>

#include "app/tools/coordinates.h"
#include "fixture.h"
#include "gui/section_window.h"
#include "proj/picture.h"

namespace t3d {
namespace {

using gui::SectionWindow;

class SectionViewTest : public AppTest {
protected:
    // Voxels that differ along every axis and channel.
    Volume* varied(int Z, int Y, int X, int colortype = 1) {
        Volume* v = make(Z, Y, X, 1, colortype);
        for (int c = 0; c < (colortype == 1 ? 1 : 3); ++c)
            fill(v, [c](int z, int y, int x) { return (z * 53 + y * 17 + x * 5 + c * 101) & 255; }, c);
        return v;
    }
    SectionWindow* open(Volume* v) {
        EXPECT_TRUE(window->open_section_view(v));
        return static_cast<SectionWindow*>(window->windows_of(gui::kSectionClass, v).back());
    }
    static int value(const QImage& image, int col, int row, int ch) {
        if (image.format() == QImage::Format_Indexed8) return image.pixelIndex(col, row);
        const QRgb p = image.pixel(col, row);
        return ch == 0 ? qRed(p) : ch == 1 ? qGreen(p) : qBlue(p);
    }
    // The three pictures at factor 1 against TomiOrth axis 1, 2, 3 through the current point
    // (TomiOrth draws the first frame at the bottom, the panes at the top; YZ has z across).
    static void expect_orthogonal_sections(SectionWindow* w) {
        Volume* v = w->record().vol;
        const app::sections::Point p = w->record().point;
        const int Z = v->Z, Y = v->Y, X = v->X, channels = v->colortype == 1 ? 1 : 3;
        Picture frame(Y, X, v->colortype), row(Z, X, v->colortype), column(Z, Y, v->colortype);
        ASSERT_EQ(TomiOrth(v, frame.image(), Y, X, 1, p.z), 0);
        ASSERT_EQ(TomiOrth(v, row.image(), Z, X, 2, p.y), 0);
        ASSERT_EQ(TomiOrth(v, column.image(), Z, Y, 3, p.x), 0);
        const QImage &xy = w->pane(0)->picture(), &xz = w->pane(1)->picture(), &yz = w->pane(2)->picture();
        ASSERT_EQ(xy.size(), QSize(X, Y));
        ASSERT_EQ(xz.size(), QSize(X, Z));
        ASSERT_EQ(yz.size(), QSize(Z, Y));
        int wrong = 0;
        for (int ch = 0; ch < channels; ++ch)
            for (int z = 0; z < Z; ++z)
                for (int y = 0; y < Y; ++y)
                    for (int x = 0; x < X; ++x) {
                        wrong += z == 0 && value(xy, x, y, ch) != frame.at(y, x, ch);
                        wrong += y == 0 && value(xz, x, z, ch) != row.at(Z - 1 - z, x, ch);
                        wrong += x == 0 && value(yz, z, y, ch) != column.at(Z - 1 - z, y, ch);
                    }
        EXPECT_EQ(wrong, 0);
    }
};

TEST_F(SectionViewTest, ViewSectionsOpensTitledViewsThatFreedisWinCloses) {
    Volume* a = varied(5, 6, 7);
    Volume* b = varied(3, 4, 5, 2);
    ui.pick(slot(a));
    run(40007);
    ui.pick(slot(b));
    run(40007);
    ASSERT_EQ(window->windows_of(gui::kSectionClass, a).size(), 1);
    QWidget* view = window->windows_of(gui::kSectionClass, b).at(0);
    EXPECT_EQ(view->parentWidget()->windowTitle(), "Section View of Volume 1.");
    EXPECT_EQ(windows(a), 0);  // no frame display besides
    auto* w = static_cast<SectionWindow*>(view);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(w->trackbar(i)->value(), 50);
    EXPECT_EQ(w->factor_label(0)->text(), "X factor : 1.00");  // at 50 the factor is still 1
    EXPECT_EQ(w->edit(0)->text(), "1");                         // z: the middle frame of 3

    freedisWin(a);
    EXPECT_TRUE(window->windows_of(gui::kSectionClass, a).isEmpty());
    EXPECT_EQ(window->windows_of(gui::kSectionClass, b).size(), 1);
}

TEST_F(SectionViewTest, PanesShowTheOrthogonalSectionsThroughTheTypedPoint) {
    for (int colortype : {1, 2}) {
        Volume* v = varied(5, 6, 7, colortype);
        SectionWindow* w = open(v);
        expect_orthogonal_sections(w);
        const QImage xz = w->pane(1)->picture(), yz = w->pane(2)->picture();
        w->edit(0)->clear();                 // nothing typed yet: the point stays
        QTest::keyClicks(w->edit(0), "4");   // z: the XY pane only
        EXPECT_EQ(w->record().point.z, 4);
        EXPECT_EQ(w->pane(1)->picture(), xz);
        EXPECT_EQ(w->pane(2)->picture(), yz);
        w->edit(1)->setText("0");
        w->edit(2)->setText("5");
        expect_orthogonal_sections(w);

        v->data[0].uc[4][5][0] ^= 0xFF;      // DisplayVolume repaints the view
        window->display(v, false);
        expect_orthogonal_sections(w);
    }
}

// Through the shown frame window, as the user's mouse goes.
class SectionViewShown : public SectionViewTest {
protected:
    void SetUp() override {
        SectionViewTest::SetUp();
        show_window(1300, 950);
    }
    QWindow* handle() const { return window->windowHandle(); }
    QPoint at(QWidget* w, QPoint p) const { return w->mapTo(window.get(), p); }
    void move(QWidget* w, QPoint p) const { QTest::mouseMove(handle(), at(w, p)); }
    static QPoint thumb(QSlider* bar) {
        QStyleOptionSlider o;
        o.initFrom(bar);
        o.orientation = bar->orientation();
        o.minimum = bar->minimum();
        o.maximum = bar->maximum();
        o.sliderPosition = o.sliderValue = bar->sliderPosition();
        o.tickPosition = bar->tickPosition();
        o.tickInterval = bar->tickInterval();
        return bar->style()->subControlRect(QStyle::CC_Slider, &o, QStyle::SC_SliderHandle, bar).center();
    }
};

TEST_F(SectionViewShown, DraggedThumbSkipsFortyNineAndFiftyAndOtherMovesAreIgnored) {
    Volume* v = varied(4, 100, 60);
    SectionWindow* w = open(v);
    QSlider* bar = w->trackbar(0);
    const QPoint grip = thumb(bar);
    QTest::mousePress(handle(), Qt::LeftButton, {}, at(bar, grip));
    move(bar, {bar->width() + 40, grip.y()});
    EXPECT_EQ(w->factor_label(0)->text(), "X factor : 50.00");
    EXPECT_EQ(w->pane(0)->content_size(), QSize(60 * 50, 100 * 50));
    std::set<int> seen;
    for (int x = bar->width(); x >= -40; --x) {  // down to the far left, a pixel at a time
        move(bar, {x, grip.y()});
        seen.insert(bar->value());
        if (bar->value() == 48) {
            EXPECT_EQ(w->factor_label(0)->text(), "X factor : 0.50");
        }
    }
    QTest::mouseRelease(handle(), Qt::LeftButton, {}, at(bar, {-40, grip.y()}));
    EXPECT_TRUE(seen.count(51) && seen.count(48));
    EXPECT_FALSE(seen.count(49) || seen.count(50));
    EXPECT_EQ(bar->value(), 0);
    EXPECT_EQ(w->factor_label(0)->text(), "X factor : 0.02");
    EXPECT_EQ(w->pane(0)->picture().size(), QSize(1, 2));  // every 50th voxel

    QTest::keyClick(w->trackbar(1), Qt::Key_Left);  // not the thumb: the trackbar moves alone
    EXPECT_EQ(w->trackbar(1)->value(), 49);
    EXPECT_EQ(w->factor_label(1)->text(), "Y factor : 1.00");
    EXPECT_EQ(w->record().settings[1], 1);
}

TEST_F(SectionViewShown, SplittersShowSizingCursorsAndFollowTheCapturedMouse) {
    SectionWindow* w = open(varied(4, 40, 60));
    const int x0 = w->record().split_x, y0 = w->record().split_y;
    move(w, {x0 + 3, 20});
    EXPECT_EQ(w->cursor().shape(), Qt::SizeHorCursor);
    move(w, {20, y0 + 3});
    EXPECT_EQ(w->cursor().shape(), Qt::SizeVerCursor);
    EXPECT_EQ(w->pane(0)->viewport()->cursor().shape(), Qt::CrossCursor);

    // dragged over the XY pane: the view keeps the mouse
    QTest::mousePress(handle(), Qt::LeftButton, {}, at(w, {x0 + 3, 20}));
    for (int dx = 10; dx <= 100; dx += 10) move(w, {x0 + 3 - dx, 20});
    QTest::mouseRelease(handle(), Qt::LeftButton, {}, at(w, {x0 - 97, 20}));
    EXPECT_EQ(w->record().split_x, x0 - 100);
    EXPECT_EQ(w->pane(0)->width(), x0 - 100);
    EXPECT_EQ(w->pane(2)->x(), x0 - 92);
    EXPECT_EQ(w->edit(0)->x(), x0 - 100 + 8 + 4);  // the controls follow

    QTest::mousePress(handle(), Qt::LeftButton, {}, at(w, {20, y0 + 2}));
    move(w, {20, y0 + 42});
    QTest::mouseRelease(handle(), Qt::LeftButton, {}, at(w, {20, y0 + 42}));
    EXPECT_EQ(w->pane(1)->y(), y0 + 48);
}

TEST_F(SectionViewShown, VoxelUnderTheMouseGoesToTheReadout) {
    Volume* v = varied(4, 40, 60);
    app::set_colour_space(app::kRgb);  // whatever an earlier test chose
    run(212);
    SectionWindow* w = open(v);  // point x 30, y 20, z 2
    view::CoordinatesWindow* readout = window->coordinates();
    move(w->pane(0)->viewport(), {7, 11});
    EXPECT_EQ(readout->position().toStdString(), "  X = 007  Y= 011  Z = 002");
    const int grey = v->data[0].uc[2][11][7];
    EXPECT_EQ(readout->colour(), QString::asprintf("R = %03d  G = %03d  B = %03d", grey, grey, grey));
    move(w->pane(2)->viewport(), {3, 5});  // YZ: z across
    EXPECT_EQ(readout->position().toStdString(), "  X = 030  Y= 005  Z = 003");
    move(w->pane(1)->viewport(), {20, 30});  // below the four frames of XZ
    EXPECT_EQ(readout->position().toStdString(), "  X = 000  Y= 000  Z = 000");
}

// Frames three times as far apart as the voxels of a frame: the XZ pane draws every frame
// three pixels tall, and the mouse reads the frame it is over.
TEST_F(SectionViewShown, PanesDrawAndReadTrueProportions) {
    Volume* v = varied(4, 40, 60);
    ASSERT_EQ(SetVolumeSpacing(v, 3, 1, 1), 0);
    app::set_colour_space(app::kRgb);
    run(212);
    SectionWindow* w = open(v);  // point x 30, y 20, z 2
    EXPECT_EQ(w->pane(1)->content_size(), QSize(60, 12));
    EXPECT_EQ(w->pane(2)->content_size(), QSize(12, 40));
    EXPECT_EQ(w->pane(0)->content_size(), QSize(60, 40));
    const QImage xz = w->pane(1)->viewport()->grab().toImage();
    EXPECT_EQ(w->pane(1)->mark(), QPoint(30, 7));  // the middle of frame 2's three rows
    for (int row = 0; row < 12; ++row) {
        if (row == 7) continue;  // the red line through the point
        const int x = row % 2 ? 5 : 44;
        EXPECT_EQ(qRed(xz.pixel(x, row)), v->data[0].uc[row / 3][20][x]) << row;
    }
    move(w->pane(1)->viewport(), {5, 10});
    EXPECT_EQ(window->coordinates()->position().toStdString(), "  X = 005  Y= 020  Z = 003");
}

TEST_F(SectionViewTest, PaneThatCannotClipSaysSoAfterThePaint) {
    SectionWindow* w = open(varied(2, 3, 4));
    QPainter inactive;
    EXPECT_FALSE(w->pane(0)->paint(inactive));
    EXPECT_FALSE(ui.logged("error: 3138"));
    QCoreApplication::processEvents();
    EXPECT_TRUE(ui.logged("error: 3138"));  // "SelectCLipRgn failed."
}

}  // namespace
}  // namespace t3d
