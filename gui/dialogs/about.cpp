#include "gui/dialogs/about.h"

namespace gui {

AboutDialog::AboutDialog(QWidget* parent) : QDialog(parent) {
    texts_and_ok(this, "About",
                 {"VEXILO3D for Windows", "A workstation for three-dimensional image processing"});
}

}  // namespace gui
