#include "gui/dialogs/alignment.h"

#include <QCloseEvent>
#include <QDoubleSpinBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QVBoxLayout>

namespace gui {
namespace {

app::Alignment& tool() { return app::alignment(); }

}  // namespace

app::AlignKey align_key(const QKeyEvent* e) {
    switch (e->key()) {
    case Qt::Key_Up: return app::AlignKey::Up;
    case Qt::Key_Down: return app::AlignKey::Down;
    case Qt::Key_Left: return app::AlignKey::Left;
    case Qt::Key_Right: return app::AlignKey::Right;
    case Qt::Key_BracketLeft: return app::AlignKey::TurnLeft;
    case Qt::Key_BracketRight: return app::AlignKey::TurnRight;
    case Qt::Key_PageUp: return app::AlignKey::PreviousFrame;
    case Qt::Key_PageDown: return app::AlignKey::NextFrame;
    default: return app::AlignKey::None;
    }
}

bool send_align_key(const QKeyEvent* e) {
    return tool().key(align_key(e), e->modifiers() & Qt::ShiftModifier);
}

AlignToolbox::AlignToolbox(QWidget* parent) : QDialog(parent, Qt::Tool) {
    setObjectName("Align ToolBox");
    setWindowTitle(objectName());
    setModal(false);
    // the buttons take no focus, so that the keys always reach the toolbox
    setFocusPolicy(Qt::StrongFocus);

    state_ = new QLabel(this);
    state_->setObjectName("1283");
    state_->setMinimumWidth(230);

    auto* moves = new QGridLayout;
    moves->addWidget(add_button(1270, "Up", [] { tool().shift(-1, 0); }), 0, 1);
    moves->addWidget(add_button(1272, "Left", [] { tool().shift(0, -1); }), 1, 0);
    moves->addWidget(add_button(1273, "Right", [] { tool().shift(0, 1); }), 1, 2);
    moves->addWidget(add_button(1271, "Down", [] { tool().shift(1, 0); }), 2, 1);

    step_ = new QDoubleSpinBox(this);
    step_->setObjectName("1286");
    step_->setRange(0.1, 90.0);
    step_->setDecimals(1);
    step_->setSingleStep(0.5);
    step_->setSuffix(QString::fromUtf8("\u00b0"));
    step_->setFocusPolicy(Qt::ClickFocus);
    step_->setValue(tool().turn_step());
    connect(step_, &QDoubleSpinBox::valueChanged, this,
            [](double v) { tool().set_turn_step(static_cast<float>(v)); });
    auto* turns = new QHBoxLayout;
    turns->addWidget(add_button(1274, "Turn Left", [] { tool().turn(tool().turn_step()); }));
    turns->addWidget(add_button(1275, "Turn Right", [] { tool().turn(-tool().turn_step()); }));
    turns->addWidget(new QLabel("by", this));
    turns->addWidget(step_);

    auto* frames = new QHBoxLayout;
    previous_ = add_button(1276, "< Previous", [] { tool().previous(); });
    next_ = add_button(1277, "Next >", [] { tool().next(); });
    reset_ = add_button(1278, "Reset", [] { tool().reset(); });
    frames->addWidget(previous_);
    frames->addWidget(next_);
    frames->addWidget(reset_);

    auto* automatic = new QHBoxLayout;
    automatic->addWidget(add_button(1279, "Auto", [] { tool().auto_align(); }));
    automatic->addWidget(add_button(1280, "Auto to End", [] { tool().auto_align_to_end(); }));

    auto* overlay = new QGroupBox("Show", this);
    auto* choices = new QHBoxLayout(overlay);
    blend_ = new QRadioButton("Blend", overlay);
    difference_ = new QRadioButton("Difference", overlay);
    blend_->setObjectName("1265");
    difference_->setObjectName("1266");
    for (QRadioButton* r : {blend_, difference_}) {
        r->setFocusPolicy(Qt::NoFocus);
        choices->addWidget(r);
    }
    (tool().options().overlay == app::Overlay::Difference ? difference_ : blend_)->setChecked(true);
    connect(difference_, &QRadioButton::toggled, this, [](bool on) {
        tool().set_overlay(on ? app::Overlay::Difference : app::Overlay::Blend);
    });

    auto* ends = new QHBoxLayout;
    apply_ = add_button(1281, "Apply", [] { tool().apply(); });
    ends->addWidget(apply_);
    QPushButton* finish = add_button(1282, "Finish", nullptr);
    connect(finish, &QPushButton::clicked, this, [this] {
        if (tool().apply()) close();
    });
    ends->addWidget(finish);

    auto* main = new QVBoxLayout(this);
    main->addWidget(state_);
    main->addLayout(moves);
    main->addLayout(turns);
    main->addLayout(frames);
    main->addLayout(automatic);
    main->addWidget(overlay);
    main->addLayout(ends);
    refresh();
}

QPushButton* AlignToolbox::add_button(int id, const char* text, void (*act)()) {
    QPushButton* b = make_button(id, text, this);
    b->setFocusPolicy(Qt::NoFocus);
    if (act) connect(b, &QPushButton::clicked, this, act);
    return b;
}

void AlignToolbox::refresh() {
    app::Alignment& a = tool();
    if (!a.in_progress()) return;
    const int z = a.current();
    const app::FramePose& p = a.pose(z);
    const double mismatch = a.mismatch();
    state_->setText(QString("Frame %1 over frame %2 (frames %3-%4)\n"
                            "Shift: %5 down, %6 right   Turn: %7%8\n"
                            "Mean difference: %9")
                        .arg(z)
                        .arg(z - 1)
                        .arg(a.options().first)
                        .arg(a.options().last)
                        .arg(p.dy)
                        .arg(p.dx)
                        .arg(p.angle, 0, 'f', 2)
                        .arg(QString::fromUtf8("\u00b0"))
                        .arg(mismatch < 0 ? QString("no overlap") : QString::number(mismatch, 'f', 2)));
    previous_->setEnabled(z > a.options().first + 1);
    next_->setEnabled(z < a.options().last);
    apply_->setEnabled(a.changed());
}

// At the top right of the frame window, where it leaves the workspace's left part free.
void AlignToolbox::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    const QWidget* frame = parentWidget();
    if (!frame) return;
    QRect area = frame->frameGeometry();
    if (const QScreen* s = screen()) area = area.intersected(s->availableGeometry());
    move(area.right() - frameGeometry().width() - 20, area.top() + 60);
    setFocus();
}

void AlignToolbox::keyPressEvent(QKeyEvent* event) {
    if (send_align_key(event)) return;
    QDialog::keyPressEvent(event);
}

void AlignToolbox::closeEvent(QCloseEvent* event) {
    if (tool().in_progress() && !tool().may_close()) {
        event->ignore();
        return;
    }
    event->accept();
    tool().end();
}

void AlignToolbox::reject() { close(); }

}  // namespace gui
