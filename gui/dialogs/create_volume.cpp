#include "gui/dialogs/create_volume.h"

#include <QFormLayout>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/services.h"

namespace gui {
namespace {

QListWidget* choice_list(int id, const QStringList& items, QWidget* parent) {
    auto* list = new QListWidget(parent);
    list->setObjectName(QString::number(id));
    list->addItems(items);
    return list;
}

std::string chosen_text(const QListWidget* list) {
    const QListWidgetItem* item = chosen(list);
    return item ? item->text().toStdString() : std::string();
}

}  // namespace

CreateVolumeDialog::CreateVolumeDialog(QWidget* parent) : QDialog(parent) {
    setObjectName("Select Volume to Create");
    setWindowTitle(objectName());
    auto* top = new QHBoxLayout;
    auto* left = new QVBoxLayout;
    list_ = volume_list(this, left);
    fill_list(list_, app::free_slot_list());
    top->addLayout(left);
    auto* right = new QVBoxLayout;
    right->addLayout(volume_fields(this, fields_, false));
    types_ = choice_list(1313, {"UC", "F", "I"}, this);
    colors_ = choice_list(1314, {"1 Channel", "3 Channels"}, this);
    auto* lists = new QGridLayout;
    lists->addWidget(new QLabel("Data Type", this), 0, 0);
    lists->addWidget(new QLabel("Color Type", this), 0, 1);
    lists->addWidget(types_, 1, 0);
    lists->addWidget(colors_, 1, 1);
    right->addLayout(lists);
    top->addLayout(right);
    auto* main = new QVBoxLayout(this);
    main->addLayout(top);
    main->addLayout(ok_cancel(this, ok_));
    ok_->setEnabled(false);
    connect(list_, &QListWidget::itemSelectionChanged, this, [this] { ok_->setEnabled(true); });
}

void CreateVolumeDialog::accept() {
    int slot = 0;
    Volume* v = volume_of(list_, &slot);
    if (!v) return;
    const int X = app::int_of_text(text_of(fields_.x));
    const int Y = app::int_of_text(text_of(fields_.y));
    const int Z = app::int_of_text(text_of(fields_.z));
    if (const int status = app::check_new_dimensions(X, Y, Z)) {
        error_handler(status);
        return;
    }
    result_ = {slot, X, Y, Z, app::type_of_text(chosen_text(types_)),
               app::colortype_of_text(chosen_text(colors_))};
    app::store_name(v, text_of(fields_.info));
    QDialog::accept();
}

}  // namespace gui
