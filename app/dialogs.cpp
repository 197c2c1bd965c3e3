#include "app/dialogs.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "app/formats.h"
#include "app/services.h"

namespace app {
namespace {

QString id_name(int id) { return QString::number(id); }

QLineEdit* make_edit(int id, QWidget* parent) {
    auto* e = new QLineEdit(parent);
    e->setObjectName(id_name(id));
    return e;
}

QPushButton* make_button(int id, const char* text, QWidget* parent) {
    auto* b = new QPushButton(text, parent);
    b->setObjectName(id_name(id));
    b->setAutoDefault(false);
    return b;
}

// OK (1) and Cancel (2) in a row; OK is the default button.
QHBoxLayout* ok_cancel(QDialog* d, QPushButton*& ok, bool with_cancel = true) {
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

// "%d" semantics: 0 when the text does not start with a number.
int int_of(const QLineEdit* e) {
    int v = 0;
    std::sscanf(e->text().toLatin1().constData(), "%d", &v);
    return v;
}

bool int_of(const QLineEdit* e, int& v) {
    return std::sscanf(e->text().toLatin1().constData(), "%d", &v) == 1;
}

// The VOI fields are read as unsigned numbers, as the dialog has always done.
int unsigned_of(const QLineEdit* e) {
    unsigned v = 0;
    std::sscanf(e->text().toLatin1().constData(), "%u", &v);
    return static_cast<int>(v);
}

void store_name(Volume* vol, const QString& name) {
    if (!vol) return;
    const QByteArray bytes = name.toLatin1().left(150);
    std::memcpy(vol->name, bytes.constData(), static_cast<size_t>(bytes.size()));
    vol->name[bytes.size()] = '\0';
}

// The selected entry: a list that has the focus has a current entry that is not selected.
QListWidgetItem* chosen(const QListWidget* list) { return list->selectedItems().value(0); }

Volume* slot_of(const QListWidget* list, int* index = nullptr) {
    const QListWidgetItem* item = chosen(list);
    if (!item) return nullptr;
    const int slot = item->text().toInt();
    if (index) *index = slot;
    return GetVolumeByIndex(slot);
}

const char* const kVoiLabels[6] = {"Low VOI:", "Up VOI:", "Top VOI:", "Bottom VOI:",
                                   "Left VOI:", "Right VOI:"};

// The six VOI fields (1102-1107) in two columns.
QGridLayout* voi_fields(QWidget* parent, QLineEdit* fields[6]) {
    auto* grid = new QGridLayout;
    for (int i = 0; i < 6; ++i) {
        fields[i] = make_edit(1102 + i, parent);
        grid->addWidget(new QLabel(kVoiLabels[i], parent), i / 2, (i % 2) * 2);
        grid->addWidget(fields[i], i / 2, (i % 2) * 2 + 1);
    }
    return grid;
}

void show_voi(const Volume* v, QLineEdit* fields[6]) {
    const int values[6] = {v->z1, v->z2, v->y1, v->y2, v->x1, v->x2};
    for (int i = 0; i < 6; ++i) fields[i]->setText(QString::number(values[i]));
}

// Validates and applies the VOI typed into the fields: false (615 shown) when not valid.
bool apply_voi(Volume* v, QLineEdit* fields[6]) {
    int b[6];
    for (int i = 0; i < 6; ++i) b[i] = unsigned_of(fields[i]);
    const int z1 = b[0], z2 = b[1], y1 = b[2], y2 = b[3], x1 = b[4], x2 = b[5];
    const bool valid = z1 >= 0 && y1 >= 0 && x1 >= 0 && z1 < z2 && y1 < y2 && x1 < x2 &&
                       z2 <= v->Z && y2 <= v->Y && x2 <= v->X;
    if (!valid) {
        error_handler(615);
        return false;
    }
    fill_in_VOI(v, z1, z2, y1, y2, x1, x2);
    return true;
}

// Dimension, information, type and colour fields of the selection family.
struct VolumeFields {
    QLineEdit *x, *y, *z, *info, *type = nullptr, *color = nullptr;
};

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
    if (f.type) f.type->setText(type_text(v->type));
    if (f.color) f.color->setText(color_text(v->colortype));
}

QListWidget* volume_list(QWidget* parent, QVBoxLayout* column) {
    auto* list = new QListWidget(parent);
    list->setObjectName("604");
    column->addWidget(new QLabel("Volumes", parent));
    column->addWidget(list);
    return list;
}

const char* template_name(SelectKind kind) {
    switch (kind) {
    case SelectKind::Input: return "Get_InOut_Volume";
    case SelectKind::Output: return "Select Same Output Volume";
    case SelectKind::Other: return "Select Volume";
    default: return "Get Volume";
    }
}

}  // namespace

const char* type_text(int type) { return type == 2 ? "F" : type == 4 ? "I" : "UC"; }
const char* color_text(int colortype) { return colortype == 1 ? "1 Channel" : "3 Channels"; }

int fill_volume_list(QListWidget* list, int typemask, int colormask, int flag) {
    for (int i = 0; i < 100; ++i) {
        const Volume* v = GetVolumeByIndex(i);
        if (v && (v->type & typemask) && (v->colortype & colormask))
            list->addItem(QString::number(i));
    }
    if (flag & 1) return -1;
    const int free_slot = GetNewVolumeIndex();
    if (free_slot >= 0) list->addItem(QString("New[%1]").arg(free_slot));
    return free_slot;
}

// ---- selection dialogs --------------------------------------------------------------------

VolumeSelectDialog::VolumeSelectDialog(const SelectRequest& request, QWidget* parent)
    : QDialog(parent), request_(request) {
    setObjectName(template_name(request.kind));
    setWindowTitle(request.caption.empty() ? objectName() : QString::fromStdString(request.caption));
    const bool input = request.kind == SelectKind::Input;
    auto* top = new QHBoxLayout;
    auto* left = new QVBoxLayout;
    list_ = volume_list(this, left);
    top->addLayout(left);
    VolumeFields f;
    auto* right = new QVBoxLayout;
    right->addLayout(volume_fields(this, f, !input));
    x_ = f.x, y_ = f.y, z_ = f.z, info_ = f.info, type_ = f.type, color_ = f.color;
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

    int flag = 1;
    if (request.kind == SelectKind::OpenTarget) flag = 0;
    if (request.kind == SelectKind::Output) flag = (request.X || request.Y || request.Z) ? 0 : 1;
    free_slot_ = fill_volume_list(list_, request.typemask, request.colormask, flag);
    for (int slot : request.exclude)
        for (auto* item : list_->findItems(QString::number(slot), Qt::MatchExactly))
            delete item;

    for (QLineEdit* e : {x_, y_, z_}) e->setEnabled(false);
    info_->setEnabled(!input && request.kind != SelectKind::Other);
    for (QLineEdit* e : voi_)
        if (e) e->setEnabled(false);
    ok_->setEnabled(false);
    list_->setFocus();
    connect(list_, &QListWidget::itemSelectionChanged, this, &VolumeSelectDialog::selected);
    connect(list_, &QListWidget::itemDoubleClicked, this, &VolumeSelectDialog::accept);
}

void VolumeSelectDialog::selected() {
    const QListWidgetItem* item = chosen(list_);
    if (!item) return;
    ok_->setEnabled(true);
    if (is_new(item->text())) {
        x_->setText(QString::number(request_.X));
        y_->setText(QString::number(request_.Y));
        z_->setText(QString::number(request_.Z));
        info_->clear();
        if (type_) type_->clear();
        if (color_) color_->clear();
        info_->setFocus();
        return;
    }
    const Volume* v = GetVolumeByIndex(item->text().toInt());
    if (!v) return;
    VolumeFields f{x_, y_, z_, info_, type_, color_};
    show_volume(v, f);
    if (request_.kind == SelectKind::Input) {
        info_->setEnabled(request_.allow_rename);
        show_voi(v, voi_);
        voi_toggled();
    }
}

void VolumeSelectDialog::voi_toggled() {
    for (QLineEdit* e : voi_) e->setEnabled(voi_check_->isChecked());
}

void VolumeSelectDialog::accept() {
    const QListWidgetItem* item = chosen(list_);
    if (!item) return;
    if (request_.kind == SelectKind::Input) {
        int slot = 0;
        Volume* v = slot_of(list_, &slot);
        if (!v) return;
        store_name(v, info_->text());
        if (!apply_voi(v, voi_)) return;
        result_ = {slot, v, v->X, v->Y, v->Z};
    } else if (request_.kind == SelectKind::Other) {
        int slot = 0;
        Volume* v = slot_of(list_, &slot);
        if (!v) return;
        result_ = {slot, v, v->X, v->Y, v->Z};
    } else {
        int slot = free_slot_;
        Volume* v = nullptr;
        if (!is_new(item->text())) v = slot_of(list_, &slot);
        result_ = {slot, v, int_of(x_), int_of(y_), int_of(z_)};
        store_name(GetVolumeByIndex(slot), info_->text());
    }
    QDialog::accept();
}

// ---- create, destroy, state, set VOI ------------------------------------------------------

CreateVolumeDialog::CreateVolumeDialog(QWidget* parent) : QDialog(parent) {
    setObjectName("Select Volume to Create");
    setWindowTitle(objectName());
    auto* top = new QHBoxLayout;
    auto* left = new QVBoxLayout;
    list_ = volume_list(this, left);
    for (int i = 0; i < 100; ++i)
        if (const Volume* v = GetVolumeByIndex(i); v && v->type == 0)
            list_->addItem(QString::number(i));
    top->addLayout(left);
    VolumeFields f;
    auto* right = new QVBoxLayout;
    right->addLayout(volume_fields(this, f, false));
    x_ = f.x, y_ = f.y, z_ = f.z, info_ = f.info;
    types_ = new QListWidget(this);
    types_->setObjectName("1313");
    types_->addItems({"UC", "F", "I"});
    colors_ = new QListWidget(this);
    colors_->setObjectName("1314");
    colors_->addItems({"1 Channel", "3 Channels"});
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
    Volume* v = slot_of(list_, &slot);
    if (!v) return;
    const int X = int_of(x_), Y = int_of(y_), Z = int_of(z_);
    if (X <= 0 || Y <= 0 || Z <= 0) {
        error_handler(90);
        return;
    }
    const QString type = chosen(types_) ? chosen(types_)->text() : QString();
    const QString color = chosen(colors_) ? chosen(colors_)->text() : QString();
    const QChar t = type.isEmpty() ? QChar() : type[0];
    result_ = {slot, X, Y, Z, t == 'F' ? 2 : t == 'I' ? 4 : 1, color.startsWith('3') ? 2 : 1};
    store_name(v, info_->text());
    QDialog::accept();
}

DestroyVolumeDialog::DestroyVolumeDialog(const QString& caption, QWidget* parent)
    : QDialog(parent) {
    setObjectName("Select Volume to Destroy");
    setWindowTitle(caption);
    auto* main = new QVBoxLayout(this);
    list_ = volume_list(this, main);
    fill_volume_list(list_, 7, 3, 1);
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

void DestroyVolumeDialog::destroy_selected() {
    Volume* v = slot_of(list_);
    if (!v) return;
    const int row = list_->row(chosen(list_));
    freedisWin(v);
    DestroyVolume(v);
    delete list_->takeItem(row);
    if (list_->count() == 0) {
        destroy_->setEnabled(false);
        return;
    }
    list_->setCurrentRow(row < list_->count() ? row : row - 1);
}

VolumeInfoDialog::VolumeInfoDialog(Kind kind, QWidget* parent) : QDialog(parent), kind_(kind) {
    setObjectName(kind == State ? "State Of Volumes" : "Set VOI");
    setWindowTitle(objectName());
    auto* top = new QHBoxLayout;
    auto* left = new QVBoxLayout;
    list_ = volume_list(this, left);
    fill_volume_list(list_, 7, 3, 1);
    top->addLayout(left);
    VolumeFields f;
    auto* right = new QVBoxLayout;
    right->addLayout(volume_fields(this, f, kind == State));
    x_ = f.x, y_ = f.y, z_ = f.z, info_ = f.info, type_ = f.type, color_ = f.color;
    for (QLineEdit* e : {x_, y_, z_, info_}) e->setReadOnly(true);
    if (kind == SetVoi) {
        info_->setReadOnly(false);
        right->addLayout(voi_fields(this, voi_));
    }
    top->addLayout(right);
    auto* main = new QVBoxLayout(this);
    main->addLayout(top);
    main->addLayout(ok_cancel(this, ok_, kind == SetVoi));
    if (kind == SetVoi) ok_->setEnabled(false);
    connect(list_, &QListWidget::itemSelectionChanged, this, &VolumeInfoDialog::selected);
}

void VolumeInfoDialog::selected() {
    const Volume* v = slot_of(list_);
    if (!v) return;
    VolumeFields f{x_, y_, z_, info_, type_, color_};
    show_volume(v, f);
    if (kind_ == SetVoi) {
        show_voi(v, voi_);
        ok_->setEnabled(true);
    }
}

void VolumeInfoDialog::accept() {
    if (kind_ == SetVoi) {
        Volume* v = slot_of(list_);
        if (!v) return;
        store_name(v, info_->text());
        if (!apply_voi(v, voi_)) return;
    }
    QDialog::accept();
}

// ---- values and options -------------------------------------------------------------------

ValuesDialog::ValuesDialog(const QString& caption, const std::vector<std::string>& labels,
                           QWidget* parent)
    : QDialog(parent) {
    static const char* const kTemplates[4] = {"Give 1 Value", "Give 2 Values", "Give Values",
                                              "Give values"};
    const int n = std::max(1, std::min(4, static_cast<int>(labels.size())));
    setObjectName(kTemplates[n - 1]);
    setWindowTitle(caption);
    auto* form = new QFormLayout;
    for (int i = 0; i < n; ++i) {
        auto* label = new QLabel(i < static_cast<int>(labels.size())
                                     ? QString::fromStdString(labels[i])
                                     : QString("Give Value %1:").arg(i + 1), this);
        label->setObjectName(id_name(974 + i));
        QLineEdit* field = make_edit(970 + i, this);
        form->addRow(label, field);
        fields_.push_back(field);
    }
    auto* main = new QVBoxLayout(this);
    main->addLayout(form);
    QPushButton* ok;
    main->addLayout(ok_cancel(this, ok));
}

std::vector<std::string> ValuesDialog::texts() const {
    std::vector<std::string> t;
    for (const QLineEdit* f : fields_) t.push_back(f->text().toStdString());
    return t;
}

OptionsDialog::OptionsDialog(const OptionsRequest& request, QWidget* parent)
    : QDialog(parent), request_(request) {
    auto* main = new QVBoxLayout(this);
    const char* group_title = "";
    const char* choices[2] = {"", ""};
    int ids[2] = {0, 0};
    switch (request.kind) {
    case OptionsKind::Interpolation: {
        setObjectName("Interpolation Options");
        check_ = new QCheckBox("Extract factors from output volume", this);
        check_->setObjectName("1156");
        main->addWidget(check_);
        auto* form = new QFormLayout;
        const char* labels[3] = {"Interpolation factor (X):", "Interpolation factor (Y):",
                                 "Interpolation factor (Z):"};
        for (int i = 0; i < 3; ++i) {
            factors_[i] = make_edit(1157 + i, this);
            factors_[i]->setText(QString::fromStdString(request.factors[i]));
            form->addRow(labels[i], factors_[i]);
        }
        main->addLayout(form);
        connect(check_, &QCheckBox::toggled, this, [this](bool on) {
            for (QLineEdit* f : factors_) f->setEnabled(!on);
        });
        group_title = "Interpolation method";
        choices[0] = "Nearest Neighbor", choices[1] = "Linear";
        ids[0] = 1163, ids[1] = 1164;
        break;
    }
    case OptionsKind::BinaryFrameInterpolation:
        setObjectName("Binary Frame Interpolation Options");
        check_ = new QCheckBox("Use edge coherence", this);
        check_->setObjectName("1165");
        main->addWidget(check_);
        group_title = "Interpolation factor";
        choices[0] = "1 frame between each pair", choices[1] = "2 frames between each pair";
        ids[0] = 1166, ids[1] = 1167;
        break;
    case OptionsKind::WeightsSource:
        setObjectName("Select Weights Source");
        group_title = "Read Weights From ...";
        choices[0] = "File WIN_UC3D.PAR", choices[1] = "Existing Volume";
        ids[0] = 1176, ids[1] = 1177;
        break;
    }
    setWindowTitle(request.caption.empty() ? objectName() : QString::fromStdString(request.caption));
    if (check_) check_->setChecked(request.check);
    auto* group = new QGroupBox(group_title, this);
    auto* column = new QVBoxLayout(group);
    first_ = new QRadioButton(choices[0], group);
    second_ = new QRadioButton(choices[1], group);
    first_->setObjectName(id_name(ids[0]));
    second_->setObjectName(id_name(ids[1]));
    (request.choice == 1 ? second_ : first_)->setChecked(true);
    column->addWidget(first_);
    column->addWidget(second_);
    main->addWidget(group);
    QPushButton* ok;
    main->addLayout(ok_cancel(this, ok));
}

OptionsRequest OptionsDialog::result() const {
    OptionsRequest r = request_;
    r.check = check_ && check_->isChecked();
    for (int i = 0; i < 3; ++i)
        if (factors_[i]) r.factors[i] = factors_[i]->text().toStdString();
    r.choice = second_->isChecked() ? 1 : 0;
    return r;
}

// ---- display levels -----------------------------------------------------------------------

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
    const QString delay = delay_->text();
    bool delay_ok = true;
    for (QChar c : delay) delay_ok = delay_ok && (c.isDigit() || c == '.');
    int upper = 0, lower = 0;
    const bool numbers = int_of(upper_, upper) && int_of(lower_, lower);
    if (!delay_ok || !numbers || lower < 0 || lower > upper) {
        error_handler(90);
        return;
    }
    result_ = {upper, lower, std::atof(delay.toLatin1().constData())};
    QDialog::accept();
}

// ---- open/save format ---------------------------------------------------------------------

FormatDialog::FormatDialog(const FormatRequest& start, QWidget* parent)
    : QDialog(parent), result_(start) {
    setObjectName("Volume Format");
    setWindowTitle("Volume File Format");
    format_ = new QComboBox(this);
    format_->setObjectName("7010");
    for (int i = 0; i < format_count(); ++i) format_->addItem(format_title(i));
    format_->setCurrentIndex(start.format);
    file_ = make_edit(7011, this);
    file_->setText(QString::fromStdString(start.file));
    browse_ = make_button(7023, "Browse...", this);
    base_ = make_edit(7012, this);
    base_->setText(QString::fromStdString(start.base));
    first_ = make_edit(7013, this);
    last_ = make_edit(7014, this);
    digits_ = make_edit(7015, this);
    width_ = make_edit(7016, this);
    height_ = make_edit(7017, this);
    first_->setText(QString::number(start.first));
    last_->setText(QString::number(start.last));
    digits_->setText(QString::number(start.digits));
    width_->setText(QString::number(start.width));
    height_->setText(QString::number(start.height));
    type_ = new QComboBox(this);
    type_->setObjectName("7018");
    type_->addItems({"UC", "F", "I"});
    type_->setCurrentIndex(start.type == 2 ? 1 : start.type == 4 ? 2 : 0);
    color_ = new QComboBox(this);
    color_->setObjectName("7019");
    color_->addItems({"1 Channel", "3 Channels"});
    color_->setCurrentIndex(start.colortype == 2 ? 1 : 0);
    auto* ext_row = new QHBoxLayout;
    for (int i = 0; i < 3; ++i) {
        exts_[i] = make_edit(7020 + i, this);
        exts_[i]->setMaxLength(9);
        exts_[i]->setText(QString::fromStdString(start.exts[i]));
        ext_row->addWidget(exts_[i]);
    }
    auto* file_row = new QHBoxLayout;
    file_row->addWidget(file_);
    file_row->addWidget(browse_);
    auto* form = new QFormLayout;
    form->addRow("Format:", format_);
    form->addRow("File name:", file_row);
    form->addRow("Base name:", base_);
    form->addRow("First frame:", first_);
    form->addRow("Last frame:", last_);
    form->addRow("Digits (0 = no padding):", digits_);
    form->addRow("Width (X):", width_);
    form->addRow("Height (Y):", height_);
    form->addRow("Data type:", type_);
    form->addRow("Color type:", color_);
    form->addRow("Extensions:", ext_row);
    auto* main = new QVBoxLayout(this);
    main->addLayout(form);
    QPushButton* ok;
    main->addLayout(ok_cancel(this, ok));
    connect(format_, &QComboBox::currentIndexChanged, this, [this](int index) {
        // the format's usual extension; raw r/g/b frames always use r, g and b
        const ImageSequenceFormat* f = GetImageSequenceFormat(index);
        const bool rgb = index == V3D_FORMAT_RAW_RGB;
        exts_[0]->setText(rgb ? "r" : f ? f->extension : "");
        exts_[1]->setText(rgb ? "g" : "");
        exts_[2]->setText(rgb ? "b" : "");
        if (const int colour = fixed_colortype(index)) color_->setCurrentIndex(colour - 1);
        update_enabling();
    });
    connect(browse_, &QPushButton::clicked, this, [this] {
        const QString name = QFileDialog::getOpenFileName(this, "Open");
        if (name.isEmpty()) return;
        if (single_file(format_->currentIndex())) {
            file_->setText(name);
            return;
        }
        // a frame file: the base name is what precedes its number
        QString stem = QFileInfo(name).path() + "/" + QFileInfo(name).completeBaseName();
        while (!stem.isEmpty() && stem.back().isDigit()) stem.chop(1);
        base_->setText(stem);
        if (format_->currentIndex() != V3D_FORMAT_RAW_RGB) exts_[0]->setText(QFileInfo(name).suffix());
    });
    update_enabling();
}

void FormatDialog::update_enabling() {
    const int format = format_->currentIndex();
    const bool single = single_file(format);
    const bool raw = raw_format(format);
    file_->setEnabled(single);
    base_->setEnabled(!single);
    digits_->setEnabled(!single);
    width_->setEnabled(raw);
    height_->setEnabled(raw);
    type_->setEnabled(raw);
    color_->setEnabled(raw && !fixed_colortype(format));
    exts_[0]->setEnabled(!single && format != V3D_FORMAT_RAW_RGB);
    exts_[1]->setEnabled(false);
    exts_[2]->setEnabled(false);
}

void FormatDialog::accept() {
    FormatRequest r;
    r.format = format_->currentIndex();
    r.file = file_->text().toStdString();
    r.base = base_->text().toStdString();
    r.first = int_of(first_);
    r.last = int_of(last_);
    r.digits = int_of(digits_);
    r.width = int_of(width_);
    r.height = int_of(height_);
    r.type = type_->currentIndex() == 1 ? 2 : type_->currentIndex() == 2 ? 4 : 1;
    r.colortype = color_->currentIndex() == 1 ? 2 : 1;
    for (int i = 0; i < 3; ++i) r.exts[i] = exts_[i]->text().toStdString();
    if (r.first > r.last) {
        error_handler(7000);
        return;
    }
    if ((raw_format(r.format) && (r.width <= 0 || r.height <= 0)) || r.first < 0 ||
        r.digits < 0) {
        error_handler(7001);
        return;
    }
    if (const int colour = fixed_colortype(r.format)) r.colortype = colour;
    // the file, or the series' first frame file, must be there
    const bool exists = QFileInfo::exists(QString::fromStdString(
        single_file(r.format) ? r.file : frame_file_name(r.base, r.first, r.digits, r.exts[0])));
    if (!exists) {
        error_handler(7002);
        return;
    }
    result_ = r;
    QDialog::accept();
}

// ---- pixel input, about -------------------------------------------------------------------

PixelInputDialog::PixelInputDialog(QWidget* parent) : QDialog(parent) {
    setObjectName("Pixel Input");
    setWindowTitle(objectName());
    setModal(false);
    auto* main = new QVBoxLayout(this);
    main->addWidget(new QLabel("Use Left Button to click on the desired points in input volume.", this));
    main->addWidget(new QLabel("Click OK when you are done.", this));
    QPushButton* ok;
    main->addLayout(ok_cancel(this, ok, false));
}

AboutDialog::AboutDialog(QWidget* parent) : QDialog(parent) {
    setObjectName("About");
    setWindowTitle(objectName());
    auto* main = new QVBoxLayout(this);
    main->addWidget(new QLabel("VEXILO3D for Windows", this));
    main->addWidget(new QLabel("A workstation for three-dimensional image processing", this));
    QPushButton* ok;
    main->addLayout(ok_cancel(this, ok, false));
}

}  // namespace app
