// A frame window with a scripted user interface and a fresh volume table, and answers to the
// modal dialogs that real user interfaces open.
#pragma once

#include <QApplication>
#include <QDialog>
#include <QPointer>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

#include <memory>

#include "gui/main_window.h"
#include "app/services.h"
#include "app/tools/seeds.h"
#include "app/tools/tools.h"
#include "app/state.h"
#include "scripted_ui.h"
#include "support.h"
#include "view/frame_display.h"

namespace t3d {

class AppTest : public ::testing::Test {
protected:
    void SetUp() override {
        app::set_ui(&ui);
        window = std::make_unique<gui::MainWindow>();
        ASSERT_TRUE(app::initialise_application());
    }
    void TearDown() override {
        window.reset();  // destroys every volume
        app::set_ui(nullptr);
    }

    // A new zeroed volume in the first free slot.
    Volume* make(int Z, int Y, int X, int type = 1, int colortype = 1) {
        Volume* v = nullptr;
        EXPECT_EQ(CreateVolumeEx(type, colortype, Z, Y, X, 0, &v), 0);
        return v;
    }
    int slot(Volume* v) { return GetVolumeIndex(v); }
    // Shows the frame window at w x h and waits until the window system has put it on the screen.
    void show_window(int w, int h) {
        window->resize(w, h);
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    }
    // A press and release of button at `at` of target (its centre by default), given to the
    // window-system window of target's top-level window, as a user's click arrives.
    static void click(QWidget* target, QPoint at = {-1, -1}, Qt::MouseButton button = Qt::LeftButton) {
        QWidget* top = target->window();
        QTest::mouseClick(top->windowHandle(), button, {}, target->mapTo(top, at.x() < 0 ? target->rect().center() : at));
    }
    int windows(const Volume* v) { return static_cast<int>(window->displays(v).size()); }
    void run(int id) { window->run_command(id); }

    ScriptedUi ui;
    std::unique_ptr<gui::MainWindow> window;
};

// Acts on the next modal dialog of type W once it is shown (a module's own dialogs run their
// own event loop). The act is repeated while that dialog stays open (a file dialog may refuse an
// accept until its folder has been read, which takes longer on a busy machine); after 20 s the
// dialog is rejected so that the test fails instead of hanging.
template <class W, class F> void when_shown(F act) {
    auto* timer = new QTimer(qApp);
    timer->setInterval(5);
    auto acted_on = std::make_shared<QPointer<W>>();
    auto ticks = std::make_shared<int>(0);
    QObject::connect(timer, &QTimer::timeout, [timer, act, acted_on, ticks] {
        auto* w = qobject_cast<W*>(QApplication::activeModalWidget());
        if (*ticks > 0 && (!w || w != *acted_on)) {  // the dialog acted on has closed
            timer->stop();
            timer->deleteLater();
            return;
        }
        if (!w) return;
        *acted_on = w;
        if (++*ticks > 4000) {
            ADD_FAILURE() << "a module's dialog would not close";
            static_cast<QDialog*>(w)->reject();
            return;
        }
        act(w);
    });
    timer->start();
}

}  // namespace t3d
