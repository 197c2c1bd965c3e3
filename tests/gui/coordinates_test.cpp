// The coordinates read-out: toggled by 212 with its check mark, fed by the display panes,
// blanked off the images, its menu's colour spaces and Close.
#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QMenuBar>
#include <QMouseEvent>
#include <QScrollBar>

#include "app/tools/coordinates.h"
#include "fixture.h"

namespace t3d {
namespace {

using Coordinates = AppTest;

void move_to(QWidget* target, QPoint at) {
    QMouseEvent e(QEvent::MouseMove, QPointF(at), target->mapToGlobal(QPointF(at)), Qt::NoButton,
                  Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(target, &e);
}

TEST_F(Coordinates, ReadoutFollowsThePaneAndItsMenu) {
    QAction* item = window->action(212);
    window->run_command(212);
    view::CoordinatesWindow* w = window->coordinates();
    ASSERT_NE(w, nullptr);
    EXPECT_TRUE(w->isVisible());
    EXPECT_TRUE(item->isChecked());
    EXPECT_TRUE(w->windowFlags() & Qt::WindowStaysOnTopHint);

    Volume* v = make(3, 10, 12, 1, 2);
    v->data[0].uc[1][4][5] = 200, v->data[1].uc[1][4][5] = 100, v->data[2].uc[1][4][5] = 50;
    ASSERT_TRUE(window->open_display(1, v, 0, 0, 2, 0));
    view::FrameDisplay* d = window->displays(v).at(0);
    d->command(13);                                    // frame 1
    move_to(d->pane()->viewport(), {5, 4});
    EXPECT_EQ(w->position().toStdString(), "  X = 005  Y= 004  Z = 001");
    EXPECT_EQ(w->colour().toStdString(), "R = 200  G = 100  B = 050");
    w->menu()->findChild<QAction*>("3")->trigger();   // XYZ
    EXPECT_EQ(w->colour().toStdString(), "X = 139.000  Y = 117.250  Z = 50.500");
    move_to(d->pane()->viewport(), {40, 40});          // off the frame: blank
    EXPECT_EQ(w->position().toStdString(), "  X = 000  Y= 000  Z = 000");

    w->menu()->findChild<QAction*>("0")->trigger();   // Close
    EXPECT_FALSE(w->isVisible());
    EXPECT_FALSE(item->isChecked());
    EXPECT_FALSE(app::coordinates_shown());
    window->run_command(212);                           // shown again, the same window
    EXPECT_EQ(window->coordinates(), w);
    EXPECT_TRUE(item->isChecked());
    window->run_command(212);
    EXPECT_FALSE(item->isChecked());
    EXPECT_FALSE(w->isVisible());
}

}  // namespace
}  // namespace t3d
