#include "gui/dialogs/about.h"

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

AboutDialog::AboutDialog(QWidget* parent) : QDialog(parent) {
    setObjectName("About");
    setWindowTitle(objectName());
    auto* main = new QVBoxLayout(this);
    main->addWidget(new QLabel("VEXILO3D for Windows", this));
    main->addWidget(new QLabel("A workstation for three-dimensional image processing", this));
    QPushButton* ok;
    main->addLayout(ok_cancel(this, ok, false));
}

}  // namespace gui
