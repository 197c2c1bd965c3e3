// "Pixel Input": stays open (not modal) while clicks in the display windows give seeds.
#pragma once

#include "gui/dialogs/common.h"


namespace gui {

class PixelInputDialog : public QDialog {
    Q_OBJECT
public:
    explicit PixelInputDialog(QWidget* parent = nullptr);
};

}  // namespace gui
