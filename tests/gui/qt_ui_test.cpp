// The workstation's own user interface: real message boxes and dialogs, answered as they show.
#include <QAbstractButton>
#include <QCursor>
#include <QApplication>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>

#include "gui/qt_ui.h"
#include "fixture.h"

namespace t3d {
namespace {

using QtUiTest = AppTest;

struct Box {
    QString title, text;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
};

Box read_and_press(QWidget* w, QMessageBox::StandardButton button) {
    auto* box = qobject_cast<QMessageBox*>(w);
    EXPECT_NE(box, nullptr);
    if (!box) return {};
    Box b{box->windowTitle(), box->text(), box->icon()};
    if (QAbstractButton* chosen = box->button(button))
        chosen->click();
    else
        box->done(0);
    return b;
}

TEST_F(QtUiTest, MessageBoxesCarryTheirCaptionIconAndText) {
    gui::QtUi qt(window.get());
    app::set_ui(&qt);
    Box seen;
    when_shown<QDialog>([&](QDialog* w) { seen = read_and_press(w, QMessageBox::Ok); });
    error_handler(-530);
    EXPECT_EQ(seen.title, "VEXILO3D for Windows");
    EXPECT_EQ(seen.text, "Cannot allocate internal volume");
    EXPECT_EQ(seen.icon, QMessageBox::Critical);

    when_shown<QDialog>([&](QDialog* w) { seen = read_and_press(w, QMessageBox::No); });
    EXPECT_EQ(VerifyVolumeReallocation(nullptr), 0);
    EXPECT_EQ(seen.text, "Output Volume is not appropriate\nand will be reallocated. Continue?");
    EXPECT_EQ(seen.icon, QMessageBox::Question);
    when_shown<QDialog>([&](QDialog* w) { seen = read_and_press(w, QMessageBox::Yes); });
    EXPECT_TRUE(app::ConfirmInputModification());

    Volume* v = make(3, 3, 3);
    v->data[0].uc[1][1][1] = 255;
    when_shown<QDialog>([&seen](QDialog* w) {                  // the input dialog: pick slot 0, OK
        w->findChild<QListWidget*>("604")->setCurrentRow(0);
        w->findChild<QPushButton*>("1")->click();
        when_shown<QDialog>([&](QDialog* box) { seen = read_and_press(box, QMessageBox::Ok); });
    });
    window->run_command(1221);
    EXPECT_EQ(seen.title, "VEXILO 3.4  for Windows");
    EXPECT_EQ(seen.text, "Volume (nonzero points) = 1");
    EXPECT_EQ(seen.icon, QMessageBox::Information);
    app::set_ui(&ui);
}

// While a command computes, every box and dialog it opens shows the arrow; the hourglass
// returns when it closes.
TEST_F(QtUiTest, DialogsShowTheArrowWhileTheCommandWaits) {
    gui::QtUi qt(window.get());
    app::set_ui(&qt);
    {
        app::WaitCursor wait;
        ASSERT_NE(QApplication::overrideCursor(), nullptr);
        EXPECT_EQ(QApplication::overrideCursor()->shape(), Qt::WaitCursor);
        Qt::CursorShape during = Qt::WaitCursor;
        when_shown<QDialog>([&](QDialog* w) {
            during = QApplication::overrideCursor()->shape();
            read_and_press(w, QMessageBox::Yes);
        });
        EXPECT_TRUE(app::ConfirmInputModification());
        EXPECT_EQ(during, Qt::ArrowCursor);
        EXPECT_EQ(QApplication::overrideCursor()->shape(), Qt::WaitCursor);
    }
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
    app::set_ui(&ui);
}

}  // namespace
}  // namespace t3d
