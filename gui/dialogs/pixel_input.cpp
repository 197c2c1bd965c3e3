#include "gui/dialogs/pixel_input.h"

namespace gui {

PixelInputDialog::PixelInputDialog(QWidget* parent) : QDialog(parent) {
    texts_and_ok(this, "Pixel Input",
                 {"Use Left Button to click on the desired points in input volume.",
                  "Click OK when you are done."});
    setModal(false);
}

}  // namespace gui
