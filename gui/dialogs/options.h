// "Interpolation Options", "Binary Frame Interpolation Options", "Select Weights Source",
// "Frame Gallery Display Options", "Manual Alignment Options".
#pragma once

#include "app/ui.h"
#include "gui/dialogs/common.h"

class QCheckBox;
class QRadioButton;

namespace gui {

class OptionsDialog : public QDialog {
    Q_OBJECT
public:
    OptionsDialog(const app::OptionsRequest& request, QWidget* parent = nullptr);
    app::OptionsRequest result() const;

private:
    app::OptionsRequest request_;
    QCheckBox* check_ = nullptr;
    QLineEdit* factors_[3] = {};
    QRadioButton *first_, *second_;
};

}  // namespace gui
