// "Labelled Volume View": the modeless dialog of the labelled volume view. The list "Objects:"
// (1208), "Display Object" (1209), an edit field and a scroll bar for each of red (1210, 1211),
// green (1212, 1213) and blue (1214, 1215), "Update Current" (1216), "Update All" (1217, the
// default), "Close" (1218) and the colour preview (1219). What the controls do is decided by
// app::labelled_view(); closing the dialog ends the view.
#pragma once

#include "gui/dialogs/common.h"

class QCheckBox;
class QFrame;
class QScrollBar;

namespace gui {

class LabelledViewDialog : public QDialog {
    Q_OBJECT
public:
    explicit LabelledViewDialog(QWidget* parent = nullptr);
    ~LabelledViewDialog() override;

protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void reject() override;  // Esc closes as Close does

private:
    void build();
    void connect_colour(int c);
    void show_current();
    void show_component(int c);
    void show_preview();
    void update_buttons();

    QListWidget* objects_;
    QCheckBox* shown_;
    QLineEdit* edits_[3];
    QScrollBar* bars_[3];
    QPushButton *update_current_, *update_all_;
    QFrame* preview_;
    bool showing_ = false;  // the controls are being set from the view, not by the user
};

}  // namespace gui
