// The render module's one dialog: the view direction (azimuth, elevation), the threshold, the
// depth cue, trimming to the object and the voxels' true proportions, as far as the chosen
// renderer uses them.
#pragma once

#include <QDialog>

class QCheckBox;
class QSpinBox;

namespace render {

enum Mode { kMaximum, kMean, kThreshold, kSurface };

// What a picture is rendered with; it lives in the projection record's user area, so that the
// window renders itself again when its volume changes.
struct View {
    int mode = kMaximum;
    int azimuth = 30, elevation = 20;  // whole degrees
    int threshold = 100;               // threshold and surface: voxels above it count
    int depth_cue = 1;                 // surface: farther is darker
    int trim = 0;                      // 1: only the bounding box of the non-zero voxels
    int proportions = 1;               // 1: voxels drawn in their spacing's proportions
};

class RenderDialog : public QDialog {
public:
    // Starts from view (its mode decides which fields matter).
    RenderDialog(const View& view, QWidget* parent);
    // The view with the fields as they are now.
    View view() const;

private:
    View view_;
    QSpinBox *azimuth_, *elevation_, *threshold_;
    QCheckBox *depth_cue_, *trim_, *proportions_;
};

}  // namespace render
