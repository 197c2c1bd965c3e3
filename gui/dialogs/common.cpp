#include "gui/dialogs/common.h"

#include <QFormLayout>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

namespace gui {
namespace {
const char* const kVoiLabels[6] = {"Low VOI:", "Up VOI:", "Top VOI:", "Bottom VOI:",
                                   "Left VOI:", "Right VOI:"};
}  // namespace

QLineEdit* make_edit(int id, QWidget* parent) {
    auto* e = new QLineEdit(parent);
    e->setObjectName(QString::number(id));
    return e;
}

QPushButton* make_button(int id, const char* text, QWidget* parent) {
    auto* b = new QPushButton(text, parent);
    b->setObjectName(QString::number(id));
    b->setAutoDefault(false);
    return b;
}

QHBoxLayout* ok_cancel(QDialog* d, QPushButton*& ok, bool with_cancel) {
    auto* row = new QHBoxLayout;
    row->addStretch();
    ok = make_button(1, "OK", d);
    ok->setDefault(true);
    QObject::connect(ok, &QPushButton::clicked, d, &QDialog::accept);
    row->addWidget(ok);
    if (with_cancel) {
        QPushButton* cancel = make_button(2, "Cancel", d);
        QObject::connect(cancel, &QPushButton::clicked, d, &QDialog::reject);
        row->addWidget(cancel);
    }
    return row;
}

void texts_and_ok(QDialog* d, const char* name, std::initializer_list<const char*> texts) {
    d->setObjectName(name);
    d->setWindowTitle(name);
    auto* main = new QVBoxLayout(d);
    for (const char* t : texts) main->addWidget(new QLabel(t, d));
    QPushButton* ok;
    main->addLayout(ok_cancel(d, ok, false));
}

std::string text_of(const QLineEdit* e) { return e->text().toLatin1().toStdString(); }

QListWidget* volume_list(QWidget* parent, QVBoxLayout* column) {
    auto* list = new QListWidget(parent);
    list->setObjectName("604");
    column->addWidget(new QLabel("Volumes", parent));
    column->addWidget(list);
    return list;
}

void fill_list(QListWidget* list, const std::vector<std::string>& entries) {
    for (const std::string& e : entries) list->addItem(QString::fromStdString(e));
}

QListWidgetItem* chosen(const QListWidget* list) { return list->selectedItems().value(0); }

Volume* volume_of(const QListWidget* list, int* slot) {
    const QListWidgetItem* item = chosen(list);
    if (!item) return nullptr;
    const int index = app::slot_of_entry(item->text().toStdString());
    if (slot) *slot = index;
    return GetVolumeByIndex(index);
}

QFormLayout* volume_fields(QWidget* parent, VolumeFields& f, bool types) {
    auto* form = new QFormLayout;
    f.x = make_edit(745, parent);
    f.y = make_edit(747, parent);
    f.z = make_edit(1303, parent);
    f.info = make_edit(1187, parent);
    f.info->setMaxLength(150);
    form->addRow("Image Dimensions (X):", f.x);
    form->addRow("Image Dimensions (Y):", f.y);
    form->addRow("Number of Frames (Z):", f.z);
    form->addRow("Information:", f.info);
    if (types) {
        f.type = make_edit(1313, parent);
        f.color = make_edit(1314, parent);
        f.type->setReadOnly(true);
        f.color->setReadOnly(true);
        form->addRow("Data Type", f.type);
        form->addRow("Color Type", f.color);
    }
    return form;
}

void show_volume(const Volume* v, const VolumeFields& f) {
    f.x->setText(QString::number(v->X));
    f.y->setText(QString::number(v->Y));
    f.z->setText(QString::number(v->Z));
    f.info->setText(QString::fromLatin1(v->name));
    if (f.type) f.type->setText(app::type_text(v->type));
    if (f.color) f.color->setText(app::color_text(v->colortype));
}

QGridLayout* voi_fields(QWidget* parent, QLineEdit* fields[6]) {
    auto* grid = new QGridLayout;
    for (int i = 0; i < 6; ++i) {
        fields[i] = make_edit(1102 + i, parent);
        grid->addWidget(new QLabel(kVoiLabels[i], parent), i / 2, (i % 2) * 2);
        grid->addWidget(fields[i], i / 2, (i % 2) * 2 + 1);
    }
    return grid;
}

void show_voi(const Volume* v, QLineEdit* const fields[6]) {
    const app::VoiBounds b = app::voi_bounds(v);
    const int values[6] = {b.z1, b.z2, b.y1, b.y2, b.x1, b.x2};
    for (int i = 0; i < 6; ++i) fields[i]->setText(QString::number(values[i]));
}

app::VoiBounds read_voi(QLineEdit* const fields[6]) {
    int b[6];
    for (int i = 0; i < 6; ++i) b[i] = app::unsigned_of_text(text_of(fields[i]));
    return {b[0], b[1], b[2], b[3], b[4], b[5]};
}

}  // namespace gui
