#include "gui/dialogs/volume_select.h"

#include <QCheckBox>
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
namespace {

const char* template_name(app::SelectKind kind) {
    switch (kind) {
    case app::SelectKind::Input: return "Get_InOut_Volume";
    case app::SelectKind::Output: return "Select Same Output Volume";
    case app::SelectKind::Other: return "Select Volume";
    default: return "Get Volume";
    }
}

// The "New[%d]" entry is offered for Open, and for an output when dimensions are proposed.
int list_flag(const app::SelectRequest& r) {
    if (r.kind == app::SelectKind::OpenTarget) return 0;
    if (r.kind == app::SelectKind::Output) return (r.X || r.Y || r.Z) ? 0 : 1;
    return 1;
}

}  // namespace

VolumeSelectDialog::VolumeSelectDialog(const app::SelectRequest& request, QWidget* parent)
    : QDialog(parent), request_(request) {
    setObjectName(template_name(request.kind));
    setWindowTitle(request.caption.empty() ? objectName() : QString::fromStdString(request.caption));
    const bool input = request.kind == app::SelectKind::Input;
    auto* top = new QHBoxLayout;
    auto* left = new QVBoxLayout;
    list_ = volume_list(this, left);
    top->addLayout(left);
    auto* right = new QVBoxLayout;
    right->addLayout(volume_fields(this, fields_, !input));
    if (input) {
        voi_check_ = new QCheckBox("Change VOI", this);
        voi_check_->setObjectName("1101");
        right->addWidget(voi_check_);
        right->addLayout(voi_fields(this, voi_));
        connect(voi_check_, &QCheckBox::toggled, this, &VolumeSelectDialog::voi_toggled);
    }
    top->addLayout(right);
    auto* main = new QVBoxLayout(this);
    main->addLayout(top);
    main->addLayout(ok_cancel(this, ok_));

    fill_list(list_, app::volume_list(request.typemask, request.colormask, list_flag(request),
                                      free_slot_));
    for (int slot : request.exclude)
        for (auto* item : list_->findItems(QString::number(slot), Qt::MatchExactly)) delete item;

    for (QLineEdit* e : {fields_.x, fields_.y, fields_.z}) e->setEnabled(false);
    fields_.info->setEnabled(!input && request.kind != app::SelectKind::Other);
    for (QLineEdit* e : voi_)
        if (e) e->setEnabled(false);
    ok_->setEnabled(false);
    list_->setFocus();
    connect(list_, &QListWidget::itemSelectionChanged, this, &VolumeSelectDialog::selected);
}

void VolumeSelectDialog::selected() {
    const QListWidgetItem* item = chosen(list_);
    if (!item) return;
    ok_->setEnabled(true);
    if (app::is_new_entry(item->text().toStdString())) {
        fields_.x->setText(QString::number(request_.X));
        fields_.y->setText(QString::number(request_.Y));
        fields_.z->setText(QString::number(request_.Z));
        fields_.info->clear();
        if (fields_.type) fields_.type->clear();
        if (fields_.color) fields_.color->clear();
        fields_.info->setFocus();
        return;
    }
    const Volume* v = volume_of(list_);
    if (!v) return;
    show_volume(v, fields_);
    if (request_.kind == app::SelectKind::Input) {
        fields_.info->setEnabled(request_.allow_rename);
        show_voi(v, voi_);
        voi_toggled();
    }
}

void VolumeSelectDialog::voi_toggled() {
    for (QLineEdit* e : voi_) e->setEnabled(voi_check_->isChecked());
}

// The name is stored, then the VOI typed (or shown) is validated and applied.
bool VolumeSelectDialog::accept_input(int slot, Volume* v) {
    app::store_name(v, text_of(fields_.info));
    if (const int status = app::apply_voi(v, read_voi(voi_))) {
        error_handler(status);
        return false;
    }
    result_ = {slot, v, v->X, v->Y, v->Z};
    return true;
}

void VolumeSelectDialog::accept() {
    const QListWidgetItem* item = chosen(list_);
    if (!item) return;
    int slot = free_slot_;
    Volume* v = nullptr;
    if (!app::is_new_entry(item->text().toStdString())) v = volume_of(list_, &slot);
    switch (request_.kind) {
    case app::SelectKind::Input:
        if (!v || !accept_input(slot, v)) return;
        break;
    case app::SelectKind::Other:
        if (!v) return;
        result_ = {slot, v, v->X, v->Y, v->Z};
        break;
    default:
        result_ = {slot, v, app::int_of_text(text_of(fields_.x)),
                   app::int_of_text(text_of(fields_.y)), app::int_of_text(text_of(fields_.z))};
        app::store_name(GetVolumeByIndex(slot), text_of(fields_.info));
    }
    QDialog::accept();
}

}  // namespace gui
