#include "gui/dialogs/levels.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/services.h"

namespace gui {

LevelsDialog::LevelsDialog(const Volume* vol, QWidget* parent) : QDialog(parent) {
    setObjectName("Get Display 3D Levels - Delay");
    setWindowTitle(objectName());
    upper_ = make_edit(1301, this);
    lower_ = make_edit(1302, this);
    delay_ = make_edit(1304, this);
    upper_->setText(QString::number(vol ? vol->Z - 1 : 0));
    lower_->setText("0");
    delay_->setText("0.0");
    delay_->setMaxLength(4);
    auto* form = new QFormLayout;
    form->addRow("Give Upper Display Level:", upper_);
    form->addRow("Give Lower Display Level:", lower_);
    form->addRow("Give Display Delay (sec):", delay_);
    auto* main = new QVBoxLayout(this);
    main->addLayout(form);
    QPushButton* ok;
    main->addLayout(ok_cancel(this, ok));
}

void LevelsDialog::accept() {
    if (const int status =
            app::read_levels(text_of(upper_), text_of(lower_), text_of(delay_), result_)) {
        error_handler(status);
        return;
    }
    QDialog::accept();
}

}  // namespace gui
