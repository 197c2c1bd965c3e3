#include "render_dialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QSpinBox>

namespace render {
namespace {

QSpinBox* spin_box(int low, int high, int value, const char* suffix, QWidget* parent) {
    auto* box = new QSpinBox(parent);
    box->setRange(low, high);
    box->setValue(value);
    box->setSuffix(suffix);
    return box;
}

}  // namespace

RenderDialog::RenderDialog(const View& view, QWidget* parent) : QDialog(parent), view_(view) {
    setWindowTitle("Render Options");
    auto* form = new QFormLayout(this);
    azimuth_ = spin_box(-360, 360, view.azimuth, " deg", this);
    elevation_ = spin_box(-90, 90, view.elevation, " deg", this);
    threshold_ = spin_box(0, 254, view.threshold, "", this);
    depth_cue_ = new QCheckBox("Darken farther surfaces", this);
    depth_cue_->setChecked(view.depth_cue);
    trim_ = new QCheckBox("Only the object's bounding box", this);
    trim_->setChecked(view.trim);
    proportions_ = new QCheckBox("Voxels in their spacing's proportions", this);
    proportions_->setChecked(view.proportions);
    form->addRow("Azimuth:", azimuth_);
    form->addRow("Elevation:", elevation_);
    form->addRow("Threshold:", threshold_);
    form->addRow("Depth cue:", depth_cue_);
    form->addRow("Trim:", trim_);
    form->addRow("True proportions:", proportions_);
    // the maximum and the mean take every voxel; only the surface is shaded by depth
    threshold_->setEnabled(view.mode == kThreshold || view.mode == kSurface);
    depth_cue_->setEnabled(view.mode == kSurface);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    form->addRow(buttons);
}

View RenderDialog::view() const {
    View v = view_;
    v.azimuth = azimuth_->value();
    v.elevation = elevation_->value();
    v.threshold = threshold_->value();
    v.depth_cue = depth_cue_->isChecked() ? 1 : 0;
    v.trim = trim_->isChecked() ? 1 : 0;
    v.proportions = proportions_->isChecked() ? 1 : 0;
    return v;
}

}  // namespace render
