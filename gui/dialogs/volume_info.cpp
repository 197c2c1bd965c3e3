#include "gui/dialogs/volume_info.h"

#include <QFormLayout>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/services.h"

namespace gui {

VolumeInfoDialog::VolumeInfoDialog(Kind kind, QWidget* parent) : QDialog(parent), kind_(kind) {
    setObjectName(kind == State ? "State Of Volumes" : "Set VOI");
    setWindowTitle(objectName());
    auto* top = new QHBoxLayout;
    auto* left = new QVBoxLayout;
    list_ = volume_list(this, left);
    int unused;
    fill_list(list_, app::volume_list(V3D_TYPE_ANY, V3D_COLOR_ANY, 1, unused));
    top->addLayout(left);
    auto* right = new QVBoxLayout;
    QFormLayout* form = volume_fields(this, fields_, kind == State);
    right->addLayout(form);
    for (QLineEdit* e : {fields_.x, fields_.y, fields_.z, fields_.info}) e->setReadOnly(true);
    if (kind == SetVoi) {
        fields_.info->setReadOnly(false);
        right->addLayout(voi_fields(this, voi_));
    } else {
        // what a file told of its voxels (or 1 x 1 x 1): the size and where they lie
        spacing_ = make_edit(7030, this);
        orientation_ = make_edit(7031, this);
        for (QLineEdit* e : {spacing_, orientation_}) e->setReadOnly(true);
        orientation_->setMinimumWidth(orientation_->fontMetrics().averageCharWidth() * 40);
        form->addRow("Voxel Spacing:", spacing_);
        form->addRow("Orientation:", orientation_);
    }
    top->addLayout(right);
    auto* main = new QVBoxLayout(this);
    main->addLayout(top);
    main->addLayout(ok_cancel(this, ok_, kind == SetVoi));
    if (kind == SetVoi) ok_->setEnabled(false);
    connect(list_, &QListWidget::itemSelectionChanged, this, &VolumeInfoDialog::selected);
}

void VolumeInfoDialog::selected() {
    const Volume* v = volume_of(list_);
    if (!v) return;
    show_volume(v, fields_);
    if (spacing_) {
        Volume* shown = volume_of(list_);
        spacing_->setText(QString::fromStdString(app::spacing_text(shown)));
        orientation_->setText(QString::fromStdString(app::orientation_text(shown)));
        orientation_->setCursorPosition(0);
        orientation_->setToolTip(orientation_->text());  // longer than the field
    }
    if (kind_ == SetVoi) {
        show_voi(v, voi_);
        ok_->setEnabled(true);
    }
}

void VolumeInfoDialog::accept() {
    if (kind_ == SetVoi) {
        Volume* v = volume_of(list_);
        if (!v) return;
        app::store_name(v, text_of(fields_.info));
        if (const int status = app::apply_voi(v, read_voi(voi_))) {
            error_handler(status);
            return;
        }
    }
    QDialog::accept();
}

}  // namespace gui
