#include "gui/dialogs/updating.h"

#include <QCoreApplication>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

#include "res/strings.h"

namespace gui {

UpdatingDialog::UpdatingDialog(QWidget* parent) : QDialog(parent) {
    setObjectName(res::text(res::kUpdatingProjections));
    setWindowTitle(res::text(res::kUpdatingProjections));
    setModal(false);
    auto* column = new QVBoxLayout(this);
    column->addWidget(new QLabel("Updating", this));
    title_ = new QLineEdit(this);
    title_->setObjectName("title");
    title_->setReadOnly(true);
    title_->setFocusPolicy(Qt::NoFocus);
    title_->setMinimumWidth(260);
    column->addWidget(title_);
    column->addWidget(new QLabel("Please wait ...", this));
}

void UpdatingDialog::show_title(const QString& title) {
    title_->setText(title);
    // painted before the rendering takes the thread; the user's input waits for the loop
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

QString UpdatingDialog::title() const { return title_->text(); }

}  // namespace gui
