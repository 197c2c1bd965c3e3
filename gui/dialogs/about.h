// "About": the program's name and purpose.
#pragma once

#include "gui/dialogs/common.h"


namespace gui {

class AboutDialog : public QDialog {
    Q_OBJECT
public:
    explicit AboutDialog(QWidget* parent = nullptr);
};

}  // namespace gui
