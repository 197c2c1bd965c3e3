// The selection dialogs of one family: "Get_InOut_Volume" (input), "Select Same Output
// Volume" (output), "Select Volume" (other) and "Get Volume" (target of Open).
#pragma once

#include "app/ui.h"
#include "gui/dialogs/common.h"

class QCheckBox;

namespace gui {

class VolumeSelectDialog : public QDialog {
    Q_OBJECT
public:
    VolumeSelectDialog(const app::SelectRequest& request, QWidget* parent = nullptr);
    app::Selection selection() const { return result_; }

protected:
    void accept() override;

private:
    void selected();
    void voi_toggled();
    bool accept_input(int slot, Volume* v);

    app::SelectRequest request_;
    app::Selection result_;
    int free_slot_ = -1;
    QListWidget* list_;
    VolumeFields fields_;
    QCheckBox* voi_check_ = nullptr;
    QLineEdit* voi_[6] = {};
    QPushButton* ok_;
};

}  // namespace gui
