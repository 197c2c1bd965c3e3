#include "gui/dialogs/format.h"

#include <QComboBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>

#include "app/formats.h"
#include "app/services.h"
#include "res/strings.h"

namespace gui {

FormatDialog::FormatDialog(const app::FormatRequest& start, QWidget* parent)
    : QDialog(parent), result_(start) {
    setObjectName("Volume Format");
    setWindowTitle("Volume File Format");
    format_ = new QComboBox(this);
    format_->setObjectName("7010");
    for (int i = 0; i < app::format_count(); ++i) format_->addItem(app::format_title(i));
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
    for (const app::RawChoice& c : app::kRawChoices) {
        type_->addItem(c.text);
        if (c.type == start.type && c.sample == start.sample) type_->setCurrentIndex(type_->count() - 1);
    }
    endian_ = new QComboBox(this);
    endian_->setObjectName("7025");
    endian_->addItems({"Little-endian", "Big-endian"});
    endian_->setCurrentIndex(start.big_endian ? 1 : 0);
    offset_ = make_edit(7026, this);
    offset_->setText(QString::number(start.offset));
    timepoint_ = make_edit(7027, this);
    timepoint_->setText(QString::number(start.timepoint));
    color_ = new QComboBox(this);
    color_->setObjectName("7019");
    color_->addItems({"1 Channel", "3 Channels"});
    color_->setCurrentIndex(start.colortype == 2 ? 1 : 0);
    deep_ = new QComboBox(this);
    deep_->setObjectName("7024");
    for (int id : {res::kDeepScale, res::kDeepStretch, res::kDeepKeep}) deep_->addItem(res::text(id));
    deep_->setCurrentIndex(start.deep);
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
    form->addRow("Digits (0 = no padding, -1 = no number):", digits_);
    form->addRow("Width (X):", width_);
    form->addRow("Height (Y):", height_);
    form->addRow("Data type:", type_);
    form->addRow("Byte order:", endian_);
    form->addRow("Header bytes to skip:", offset_);
    form->addRow("Color type:", color_);
    form->addRow("Extensions:", ext_row);
    form->addRow("Time point:", timepoint_);
    form->addRow(res::text(res::kDeepSamples), deep_);
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
        if (const int colour = app::fixed_colortype(index)) color_->setCurrentIndex(colour - 1);
        update_enabling();
        prefill();
    });
    connect(browse_, &QPushButton::clicked, this, [this] {
        const QString name = QFileDialog::getOpenFileName(this, "Open");
        if (name.isEmpty()) return;
        if (app::single_file(format_->currentIndex())) {
            file_->setText(name);
            return;
        }
        // a frame file: the base name is what precedes its number, which is the first frame
        // (zero-padded: as many digits); a picture without a number is the one file
        QString stem = QFileInfo(name).path() + "/" + QFileInfo(name).completeBaseName();
        QString number;
        while (!stem.isEmpty() && stem.back().isDigit()) number.prepend(stem.back()), stem.chop(1);
        base_->setText(stem);
        first_->setText(number.isEmpty() ? "0" : QString::number(number.toInt()));
        last_->setText(first_->text());  // until the files tell more
        digits_->setText(number.isEmpty() ? "-1" : number.startsWith('0') && number.size() > 1 ? QString::number(number.size()) : "0");
        if (format_->currentIndex() != V3D_FORMAT_RAW_RGB) exts_[0]->setText(QFileInfo(name).suffix());
        prefill();
    });
    for (QLineEdit* e : {file_, base_, first_, digits_, width_, height_, exts_[0], offset_})
        connect(e, &QLineEdit::editingFinished, this, &FormatDialog::prefill);
    for (QComboBox* c : {type_, color_}) connect(c, &QComboBox::currentIndexChanged, this, &FormatDialog::prefill);
    update_enabling();
}

app::FormatRequest FormatDialog::current() const {
    app::FormatRequest r;
    r.format = format_->currentIndex();
    r.file = file_->text().toStdString();
    r.base = base_->text().toStdString();
    r.first = app::int_of_text(text_of(first_));
    r.last = app::int_of_text(text_of(last_));
    r.digits = app::int_of_text(text_of(digits_));
    r.width = app::int_of_text(text_of(width_));
    r.height = app::int_of_text(text_of(height_));
    const app::RawChoice& choice = app::kRawChoices[std::max(type_->currentIndex(), 0)];
    r.type = choice.type;
    r.sample = choice.sample;
    r.big_endian = endian_->currentIndex() == 1;
    r.offset = offset_->text().toLongLong();
    r.timepoint = app::int_of_text(text_of(timepoint_));
    r.colortype = color_->currentIndex() == 1 ? 2 : 1;
    for (int i = 0; i < 3; ++i) r.exts[i] = exts_[i]->text().toStdString();
    r.deep = deep_->currentIndex();
    return r;
}

void FormatDialog::prefill() {
    app::FileFacts facts;
    if (!app::probe_files(current(), facts)) return;
    last_->setText(QString::number(facts.last));
    if (app::raw_format(format_->currentIndex())) return;  // width and height were typed
    width_->setText(QString::number(facts.width));
    height_->setText(QString::number(facts.height));
}

void FormatDialog::update_enabling() {
    const int format = format_->currentIndex();
    const bool single = app::single_file(format);
    const bool raw = app::raw_format(format);
    const bool volume_file = app::volume_format(format);  // the header tells all but the time point
    file_->setEnabled(single);
    base_->setEnabled(!single);
    digits_->setEnabled(!single);
    first_->setEnabled(!volume_file);
    last_->setEnabled(!volume_file);
    width_->setEnabled(raw);
    height_->setEnabled(raw);
    type_->setEnabled(raw);
    endian_->setEnabled(format == V3D_FORMAT_RAW_VOLUME);
    offset_->setEnabled(format == V3D_FORMAT_RAW_VOLUME);
    timepoint_->setEnabled(volume_file);
    color_->setEnabled(raw && !app::fixed_colortype(format));
    exts_[0]->setEnabled(!single && format != V3D_FORMAT_RAW_RGB);
    exts_[1]->setEnabled(false);
    exts_[2]->setEnabled(false);
}

void FormatDialog::accept() {
    app::FormatRequest r = current();
    if (const int status = app::check_format(r)) {
        error_handler(status);
        return;
    }
    const std::string mismatch = app::size_mismatch(r);
    if (!mismatch.empty() && !app::ui().ask_yes_no(mismatch)) return;
    result_ = r;
    QDialog::accept();
}

}  // namespace gui
