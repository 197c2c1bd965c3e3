#include "gui/dialogs/options.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace gui {

OptionsDialog::OptionsDialog(const app::OptionsRequest& request, QWidget* parent)
    : QDialog(parent), request_(request) {
    auto* main = new QVBoxLayout(this);
    const char* group_title = "";
    const char* choices[2] = {"", ""};
    int ids[2] = {0, 0};
    switch (request.kind) {
    case app::OptionsKind::Interpolation: {
        setObjectName("Interpolation Options");
        check_ = new QCheckBox("Extract factors from output volume", this);
        check_->setObjectName("1156");
        main->addWidget(check_);
        auto* form = new QFormLayout;
        const char* labels[3] = {"Interpolation factor (X):", "Interpolation factor (Y):",
                                 "Interpolation factor (Z):"};
        for (int i = 0; i < 3; ++i) {
            factors_[i] = make_edit(1157 + i, this);
            factors_[i]->setText(QString::fromStdString(request.factors[i]));
            form->addRow(labels[i], factors_[i]);
        }
        main->addLayout(form);
        connect(check_, &QCheckBox::toggled, this, [this](bool on) {
            for (QLineEdit* f : factors_) f->setEnabled(!on);
        });
        group_title = "Interpolation method";
        choices[0] = "Nearest Neighbor", choices[1] = "Linear";
        ids[0] = 1163, ids[1] = 1164;
        break;
    }
    case app::OptionsKind::BinaryFrameInterpolation:
        setObjectName("Binary Frame Interpolation Options");
        check_ = new QCheckBox("Use edge coherence", this);
        check_->setObjectName("1165");
        main->addWidget(check_);
        group_title = "Interpolation factor";
        choices[0] = "1 frame between each pair", choices[1] = "2 frames between each pair";
        ids[0] = 1166, ids[1] = 1167;
        break;
    case app::OptionsKind::FrameGallery: {
        // the template gives no ids: the field takes the one after the command's, the radio
        // buttons those of the same choice in "Interpolation Options"
        setObjectName("Frame Gallery Display Options");
        auto* form = new QFormLayout;
        factors_[0] = make_edit(1316, this);
        factors_[0]->setText(QString::fromStdString(request.factors[0]));
        form->addRow("Specify frames per row:", factors_[0]);
        main->addLayout(form);
        group_title = "Interpolation method";
        choices[0] = "Nearest Neighbor", choices[1] = "Linear";
        ids[0] = 1163, ids[1] = 1164;
        break;
    }
    case app::OptionsKind::ManualAlignment: {
        // the template gives no ids: ours follow the command's (1261-1266)
        setObjectName("Manual Alignment Options");
        auto* form = new QFormLayout;
        const char* labels[3] = {"First frame:", "Last frame:", "Auto search radius (voxels):"};
        for (int i = 0; i < 3; ++i) {
            factors_[i] = make_edit(1261 + i, this);
            factors_[i]->setText(QString::fromStdString(request.factors[i]));
            form->addRow(labels[i], factors_[i]);
        }
        main->addLayout(form);
        check_ = new QCheckBox("Auto tries turns too", this);
        check_->setObjectName("1264");
        main->addWidget(check_);
        group_title = "Show the current frame over the previous one";
        choices[0] = "Blended (previous magenta, current green)", choices[1] = "As their difference";
        ids[0] = 1265, ids[1] = 1266;
        break;
    }
    case app::OptionsKind::WeightsSource:
        setObjectName("Select Weights Source");
        group_title = "Read Weights From ...";
        choices[0] = "File WIN_UC3D.PAR", choices[1] = "Existing Volume";
        ids[0] = 1176, ids[1] = 1177;
        break;
    }
    setWindowTitle(request.caption.empty() ? objectName() : QString::fromStdString(request.caption));
    // wide enough for its caption beside the window manager's buttons
    setMinimumWidth(fontMetrics().horizontalAdvance(windowTitle()) + 140);
    if (check_) check_->setChecked(request.check);
    auto* group = new QGroupBox(group_title, this);
    auto* column = new QVBoxLayout(group);
    first_ = new QRadioButton(choices[0], group);
    second_ = new QRadioButton(choices[1], group);
    first_->setObjectName(QString::number(ids[0]));
    second_->setObjectName(QString::number(ids[1]));
    (request.choice == 1 ? second_ : first_)->setChecked(true);
    column->addWidget(first_);
    column->addWidget(second_);
    main->addWidget(group);
    QPushButton* ok;
    main->addLayout(ok_cancel(this, ok));
}

app::OptionsRequest OptionsDialog::result() const {
    app::OptionsRequest r = request_;
    r.check = check_ && check_->isChecked();
    for (int i = 0; i < 3; ++i)
        if (factors_[i]) r.factors[i] = factors_[i]->text().toStdString();
    r.choice = second_->isChecked() ? 1 : 0;
    return r;
}

}  // namespace gui
