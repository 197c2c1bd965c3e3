// "Align ToolBox": the modeless tool window of manual frame alignment. Buttons move the current
// frame by one voxel (Up 1270, Down 1271, Left 1272, Right 1273), turn it by the step (Turn
// Left 1274 counter-clockwise, Turn Right 1275, the step in degrees 1286), step through the
// frames (Previous 1276, Next 1277), reset it (1278), find its place (Auto 1279, Auto to End
// 1280), write the output (Apply 1281) and end the tool (Finish 1282); the state shows in 1283
// and the overlay is chosen with Blend 1265 / Difference 1266. What they do is decided by
// app::alignment(); closing the toolbox ends the tool.
//
// Keys, here and in the position view: the arrows move the frame (ten voxels with Shift),
// Page Up / Page Down step to the previous / next frame, [ and ] turn it counter-clockwise /
// clockwise.
#pragma once

#include "app/tools/alignment.h"
#include "gui/dialogs/common.h"

class QDoubleSpinBox;
class QKeyEvent;
class QLabel;
class QRadioButton;

namespace gui {

class AlignToolbox : public QDialog {
    Q_OBJECT
public:
    explicit AlignToolbox(QWidget* parent = nullptr);
    // Shows the tool's state: the frame, its pose, the mismatch, what may be pressed.
    void refresh();

protected:
    void showEvent(QShowEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void reject() override;  // Esc closes as the close box does

private:
    QPushButton* add_button(int id, const char* text, void (*act)());

    QLabel* state_;
    QDoubleSpinBox* step_;
    QRadioButton *blend_, *difference_;
    QPushButton *previous_, *next_, *reset_, *apply_;
};

// What key event e means to the alignment tool.
app::AlignKey align_key(const QKeyEvent* e);
// Gives e to the alignment tool; true when it took it.
bool send_align_key(const QKeyEvent* e);

}  // namespace gui
