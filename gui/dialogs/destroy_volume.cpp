#include "gui/dialogs/destroy_volume.h"

#include <QHBoxLayout>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

namespace gui {

DestroyVolumeDialog::DestroyVolumeDialog(const QString& caption, QWidget* parent)
    : QDialog(parent) {
    setObjectName("Select Volume to Destroy");
    setWindowTitle(caption);
    auto* main = new QVBoxLayout(this);
    list_ = volume_list(this, main);
    int unused;
    fill_list(list_, app::volume_list(V3D_TYPE_ANY, V3D_COLOR_ANY, 1, unused));
    auto* row = new QHBoxLayout;
    destroy_ = make_button(1003, "Destroy", this);
    QPushButton* close = make_button(1004, "Close", this);
    row->addWidget(destroy_);
    row->addWidget(close);
    main->addLayout(row);
    connect(destroy_, &QPushButton::clicked, this, &DestroyVolumeDialog::destroy_selected);
    connect(close, &QPushButton::clicked, this, &QDialog::accept);
    if (list_->count()) list_->setCurrentRow(0);
    destroy_->setEnabled(list_->count() > 0);
}

// Several volumes can go in one visit; the selection moves up when the last one went.
void DestroyVolumeDialog::destroy_selected() {
    Volume* v = volume_of(list_);
    if (!v) return;
    const int row = list_->row(chosen(list_));
    app::destroy_volume(v);
    delete list_->takeItem(row);
    if (list_->count() == 0) {
        destroy_->setEnabled(false);
        return;
    }
    list_->setCurrentRow(row < list_->count() ? row : row - 1);
}

}  // namespace gui
