#include "gui/dialogs/labelled_view.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QFrame>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QVBoxLayout>

#include "app/tools/labelled_view.h"

namespace gui {
namespace {

const char* const kComponentNames[3] = {"Red", "Green", "Blue"};

int component(const LabelColor& e, int c) { return c == 0 ? e.red : c == 1 ? e.green : e.blue; }

app::LabelledView& view() { return app::labelled_view(); }

}  // namespace

LabelledViewDialog::LabelledViewDialog(QWidget* parent) : QDialog(parent) {
    setObjectName("Labelled Volume View");
    setWindowTitle(objectName());
    setModal(false);
    setAttribute(Qt::WA_DeleteOnClose);
    build();
    for (int l = 1; l <= view().objects(); ++l) objects_->addItem(QString("Object %1").arg(l));
    objects_->setCurrentRow(view().current() - 1);
    show_current();
}

LabelledViewDialog::~LabelledViewDialog() { view().close(); }

void LabelledViewDialog::build() {
    objects_ = new QListWidget(this);
    objects_->setObjectName("1208");
    shown_ = new QCheckBox("Display Object", this);
    shown_->setObjectName("1209");
    auto* left = new QVBoxLayout;
    left->addWidget(new QLabel("Objects:", this));
    left->addWidget(objects_);
    left->addWidget(shown_);

    auto* colours = new QGridLayout;
    for (int c = 0; c < 3; ++c) {
        edits_[c] = make_edit(1210 + 2 * c, this);
        edits_[c]->setMaxLength(3);
        edits_[c]->setFixedWidth(44);
        bars_[c] = new QScrollBar(Qt::Horizontal, this);
        bars_[c]->setObjectName(QString::number(1211 + 2 * c));
        bars_[c]->setRange(0, 255);
        bars_[c]->setMinimumWidth(160);
        colours->addWidget(new QLabel(kComponentNames[c], this), c, 0);
        colours->addWidget(edits_[c], c, 1);
        colours->addWidget(bars_[c], c, 2);
        connect_colour(c);
    }
    preview_ = new QFrame(this);
    preview_->setObjectName("1219");
    preview_->setFrameShape(QFrame::Box);
    preview_->setMinimumHeight(48);
    preview_->setAutoFillBackground(true);
    auto* right = new QVBoxLayout;
    right->addLayout(colours);
    right->addWidget(new QLabel("Color Preview:", this));
    right->addWidget(preview_);
    right->addStretch();

    update_current_ = make_button(1216, "Update Current", this);
    update_all_ = make_button(1217, "Update All", this);
    update_all_->setDefault(true);
    QPushButton* close_button = make_button(1218, "Close", this);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(update_current_);
    buttons->addWidget(update_all_);
    buttons->addWidget(close_button);

    auto* top = new QHBoxLayout;
    top->addLayout(left);
    top->addLayout(right);
    auto* main = new QVBoxLayout(this);
    main->addLayout(top);
    main->addLayout(buttons);

    connect(objects_, &QListWidget::currentRowChanged, this, [this](int row) {
        if (showing_ || row < 0 || !view().in_progress()) return;
        view().select(row + 1);
        show_current();
    });
    connect(shown_, &QCheckBox::toggled, this, [this](bool on) {
        if (showing_ || !view().in_progress()) return;
        view().set_shown(on);
        update_buttons();
    });
    connect(update_current_, &QPushButton::clicked, this, [this] {
        view().update_current();
        update_buttons();
    });
    connect(update_all_, &QPushButton::clicked, this, [this] {
        view().update_all();
        update_buttons();
    });
    connect(close_button, &QPushButton::clicked, this, &QWidget::close);
}

// A scroll bar and its edit field set the current object's component c, each showing what the
// other took; a typed text that is not 0..255 beeps and the previous value comes back.
void LabelledViewDialog::connect_colour(int c) {
    connect(bars_[c], &QScrollBar::valueChanged, this, [this, c](int value) {
        if (showing_ || !view().in_progress()) return;
        view().set_component(c, value);
        show_component(c);
        show_preview();
        update_buttons();
    });
    connect(edits_[c], &QLineEdit::textEdited, this, [this, c](const QString&) {
        if (!view().in_progress()) return;
        switch (view().type_component(c, text_of(edits_[c]))) {
        case app::Typed::Applied:
            show_component(c);
            show_preview();
            update_buttons();
            break;
        case app::Typed::Rejected:
            QApplication::beep();
            show_component(c);
            break;
        case app::Typed::Pending:
            break;
        }
    });
    // a field left empty shows the value again
    connect(edits_[c], &QLineEdit::editingFinished, this, [this, c] {
        if (view().in_progress() && edits_[c]->text().isEmpty()) show_component(c);
    });
}

void LabelledViewDialog::show_component(int c) {
    if (!view().in_progress()) return;
    const bool was = showing_;
    showing_ = true;
    const int value = component(view().entry(view().current()), c);
    if (edits_[c]->text() != QString::number(value)) edits_[c]->setText(QString::number(value));
    bars_[c]->setValue(value);
    showing_ = was;
}

void LabelledViewDialog::show_current() {
    if (!view().in_progress()) return;
    showing_ = true;
    shown_->setChecked(view().entry(view().current()).requested != 0);
    for (int c = 0; c < 3; ++c) show_component(c);
    showing_ = false;
    show_preview();
    update_buttons();
}

void LabelledViewDialog::show_preview() {
    if (!view().in_progress()) return;
    const LabelColor& e = view().entry(view().current());
    QPalette palette = preview_->palette();
    palette.setColor(QPalette::Window, QColor(e.red, e.green, e.blue));
    preview_->setPalette(palette);
}

void LabelledViewDialog::update_buttons() {
    update_current_->setEnabled(view().update_current_enabled());
    update_all_->setEnabled(view().update_all_enabled());
}

// At the left edge of the screen, its bottom at the bottom of the screen.
void LabelledViewDialog::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    if (const QScreen* s = screen()) {
        const QRect area = s->availableGeometry();
        move(area.left(), area.bottom() + 1 - frameGeometry().height());
    }
}

void LabelledViewDialog::closeEvent(QCloseEvent* event) {
    if (!view().may_close()) {
        event->ignore();
        return;
    }
    view().close();
    event->accept();
}

void LabelledViewDialog::reject() { close(); }

}  // namespace gui
