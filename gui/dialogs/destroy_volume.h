// "Select Volume to Destroy": Destroy (1003) as often as wanted, Close (1004).
#pragma once

#include "gui/dialogs/common.h"

namespace gui {

class DestroyVolumeDialog : public QDialog {
    Q_OBJECT
public:
    DestroyVolumeDialog(const QString& caption, QWidget* parent = nullptr);

private:
    void destroy_selected();
    QListWidget* list_;
    QPushButton* destroy_;
};

}  // namespace gui
