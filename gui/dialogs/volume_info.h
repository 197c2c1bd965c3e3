// "State Of Volumes" (read-only; also the voxel spacing 7030 and orientation 7031 a volume
// carries) and "Set VOI" (applies the VOI on OK).
#pragma once

#include "gui/dialogs/common.h"

namespace gui {

class VolumeInfoDialog : public QDialog {
    Q_OBJECT
public:
    enum Kind { State, SetVoi };
    VolumeInfoDialog(Kind kind, QWidget* parent = nullptr);

protected:
    void accept() override;

private:
    void selected();
    Kind kind_;
    QListWidget* list_;
    VolumeFields fields_;
    QLineEdit* voi_[6] = {};
    QLineEdit *spacing_ = nullptr, *orientation_ = nullptr;
    QPushButton* ok_;
};

}  // namespace gui
