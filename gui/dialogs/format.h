// The open/save format dialog: format 7010, file 7011, base name 7012, first 7013, last 7014,
// digits 7015, width 7016, height 7017, data type 7018, colour type 7019, extensions 7020-7022,
// Browse 7023, samples over 8 bits 7024; for raw volumes also byte order 7025 and header bytes
// 7026, for volume files the time point 7027. What the files tell (the frames there are, a
// picture's width and height, a raw volume's frames from its length once width and height are
// typed) fills the fields as soon as the files are named; OK asks before it reads a file only
// in part.
#pragma once

#include "app/ui.h"
#include "gui/dialogs/common.h"

class QComboBox;

namespace gui {

class FormatDialog : public QDialog {
    Q_OBJECT
public:
    FormatDialog(const app::FormatRequest& start, QWidget* parent = nullptr);
    app::FormatRequest request() const { return result_; }

protected:
    void accept() override;

private:
    void update_enabling();
    app::FormatRequest current() const;  // the fields as a request
    void prefill();                      // what the files tell
    app::FormatRequest result_;
    QComboBox *format_, *type_, *color_, *deep_, *endian_;
    QLineEdit *file_, *base_, *first_, *last_, *digits_, *width_, *height_, *exts_[3];
    QLineEdit *offset_, *timepoint_;
    QPushButton* browse_;
};

}  // namespace gui
