#include "gui/qt_ui.h"

#include <QApplication>
#include <QColorDialog>
#include <QEventLoop>
#include <QFileDialog>
#include <QMessageBox>

#include "gui/dialogs/about.h"
#include "gui/dialogs/create_volume.h"
#include "gui/dialogs/destroy_volume.h"
#include "gui/dialogs/format.h"
#include "gui/dialogs/levels.h"
#include "gui/dialogs/options.h"
#include "gui/dialogs/pixel_input.h"
#include "gui/dialogs/values.h"
#include "gui/dialogs/volume_info.h"
#include "gui/dialogs/volume_select.h"
#include "res/strings.h"

namespace gui {
namespace {

QString caption() { return res::text(res::kCaption); }

// error_handler's box loads the message into a buffer of 120 characters.
QString message_of(int code) { return QString::fromLatin1(res::text(code)).left(119); }

// Dialogs, message boxes and pickers show the arrow over whatever cursor is set, restored
// when they close.
class ArrowCursor {
public:
    ArrowCursor() { QApplication::setOverrideCursor(Qt::ArrowCursor); }
    ~ArrowCursor() { QApplication::restoreOverrideCursor(); }
    ArrowCursor(const ArrowCursor&) = delete;
    ArrowCursor& operator=(const ArrowCursor&) = delete;
};

// Runs dialog modally; on OK its answer (what result reads from it) goes to request.
template <class Dialog, class Request, class Result>
bool answer(Dialog& dialog, Request& request, Result (Dialog::*result)() const) {
    if (dialog.exec() != QDialog::Accepted) return false;
    request = (dialog.*result)();
    return true;
}

}  // namespace

bool QtUi::select(const SelectRequest& request, Selection& result) {
    ArrowCursor arrow;
    VolumeSelectDialog dialog(request, owner_);
    return answer(dialog, result, &VolumeSelectDialog::selection);
}

bool QtUi::ask_values(const std::string& caption, const std::vector<std::string>& labels,
                      std::vector<std::string>& texts) {
    ArrowCursor arrow;
    ValuesDialog dialog(QString::fromStdString(caption), labels, owner_);
    return answer(dialog, texts, &ValuesDialog::texts);
}

bool QtUi::ask_yes_no(const std::string& text) {
    ArrowCursor arrow;
    return QMessageBox::question(owner_, caption(), QString::fromStdString(text),
                                 QMessageBox::Yes | QMessageBox::No) == QMessageBox::Yes;
}

Reply QtUi::ask_yes_no_cancel(const std::string& text) {
    ArrowCursor arrow;
    switch (QMessageBox::question(owner_, caption(), QString::fromStdString(text),
                                  QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel)) {
    case QMessageBox::Yes: return Reply::Yes;
    case QMessageBox::No: return Reply::No;
    default: return Reply::Cancel;
    }
}

void QtUi::show_error(int code) {
    ArrowCursor arrow;
    QMessageBox::critical(owner_, caption(), message_of(code));
}

void QtUi::show_message(const std::string& text, const std::string& title, Icon icon) {
    ArrowCursor arrow;
    QMessageBox box(owner_);
    box.setWindowTitle(QString::fromStdString(title));
    box.setText(QString::fromStdString(text));
    switch (icon) {
    case Icon::Information: box.setIcon(QMessageBox::Information); break;
    case Icon::Question: box.setIcon(QMessageBox::Question); break;
    case Icon::Warning: box.setIcon(QMessageBox::Warning); break;
    case Icon::Error: box.setIcon(QMessageBox::Critical); break;
    case Icon::None: box.setIcon(QMessageBox::NoIcon); break;
    }
    box.exec();
}

std::string QtUi::pick_save_file(const std::string& title, const std::string& filter) {
    ArrowCursor arrow;
    return QFileDialog::getSaveFileName(owner_, QString::fromStdString(title), QString(),
                                        QString::fromStdString(filter))
        .toStdString();
}

bool QtUi::pick_colour(int rgb[3]) {
    ArrowCursor arrow;
    const QColor c = QColorDialog::getColor(Qt::white, owner_);
    if (!c.isValid()) return false;
    rgb[0] = c.red();
    rgb[1] = c.green();
    rgb[2] = c.blue();
    return true;
}

bool QtUi::ask_format(FormatRequest& request) {
    ArrowCursor arrow;
    FormatDialog dialog(request, owner_);
    return answer(dialog, request, &FormatDialog::request);
}

bool QtUi::create_volume(CreateRequest& request) {
    ArrowCursor arrow;
    CreateVolumeDialog dialog(owner_);
    return answer(dialog, request, &CreateVolumeDialog::request);
}

void QtUi::destroy_volumes(const std::string& caption) {
    ArrowCursor arrow;
    DestroyVolumeDialog dialog(QString::fromStdString(caption), owner_);
    dialog.exec();
}

void QtUi::show_state() {
    ArrowCursor arrow;
    VolumeInfoDialog dialog(VolumeInfoDialog::State, owner_);
    dialog.exec();
}

bool QtUi::set_voi() {
    ArrowCursor arrow;
    VolumeInfoDialog dialog(VolumeInfoDialog::SetVoi, owner_);
    return dialog.exec() == QDialog::Accepted;
}

bool QtUi::ask_levels(Volume* vol, LevelsRequest& request) {
    ArrowCursor arrow;
    LevelsDialog dialog(vol, owner_);
    return answer(dialog, request, &LevelsDialog::levels);
}

bool QtUi::ask_options(OptionsRequest& request) {
    ArrowCursor arrow;
    OptionsDialog dialog(request, owner_);
    return answer(dialog, request, &OptionsDialog::result);
}

bool QtUi::pixel_input(Volume*) {
    ArrowCursor arrow;
    // not modal: the display windows must take the clicks meanwhile
    PixelInputDialog dialog(owner_);
    QEventLoop loop;
    QObject::connect(&dialog, &QDialog::finished, &loop, &QEventLoop::quit);
    dialog.show();
    loop.exec();
    return dialog.result() == QDialog::Accepted;
}

void QtUi::about() {
    ArrowCursor arrow;
    AboutDialog dialog(owner_);
    dialog.exec();
}

void QtUi::set_wait(bool on) {
    if (on == waiting_) return;
    waiting_ = on;
    if (on)
        QApplication::setOverrideCursor(Qt::WaitCursor);
    else
        QApplication::restoreOverrideCursor();
}

}  // namespace gui
