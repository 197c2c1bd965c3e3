#include "gui/dialogs/pixel_input.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include "app/formats.h"
#include "app/services.h"

namespace gui {

PixelInputDialog::PixelInputDialog(QWidget* parent) : QDialog(parent) {
    setObjectName("Pixel Input");
    setWindowTitle(objectName());
    setModal(false);
    auto* main = new QVBoxLayout(this);
    main->addWidget(new QLabel("Use Left Button to click on the desired points in input volume.", this));
    main->addWidget(new QLabel("Click OK when you are done.", this));
    QPushButton* ok;
    main->addLayout(ok_cancel(this, ok, false));
}

}  // namespace gui
