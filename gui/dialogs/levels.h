// "Get Display 3D Levels - Delay": upper 1301, lower 1302, delay 1304.
#pragma once

#include "app/ui.h"
#include "gui/dialogs/common.h"


namespace gui {

class LevelsDialog : public QDialog {
    Q_OBJECT
public:
    LevelsDialog(const Volume* vol, QWidget* parent = nullptr);
    app::LevelsRequest levels() const { return result_; }

protected:
    void accept() override;

private:
    app::LevelsRequest result_;
    QLineEdit *upper_, *lower_, *delay_;
};

}  // namespace gui
