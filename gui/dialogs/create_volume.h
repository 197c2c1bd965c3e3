// "Select Volume to Create": free slots, dimensions, name, data type and colour type lists.
#pragma once

#include "app/ui.h"
#include "gui/dialogs/common.h"

namespace gui {

class CreateVolumeDialog : public QDialog {
    Q_OBJECT
public:
    explicit CreateVolumeDialog(QWidget* parent = nullptr);
    app::CreateRequest request() const { return result_; }

protected:
    void accept() override;

private:
    app::CreateRequest result_;
    QListWidget *list_, *types_, *colors_;
    VolumeFields fields_;
    QPushButton* ok_;
};

}  // namespace gui
