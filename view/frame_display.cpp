#include "view/frame_display.h"

#include <QApplication>
#include <QMdiSubWindow>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>
#include <QScrollBar>
#include <QStyle>
#include <QToolButton>
#include <algorithm>
#include <functional>
#include <memory>
#include <utility>
#include <vector>
#include <cmath>
#include <cstdlib>

#include "view/grey_palette.h"

namespace view {
namespace {

// The displayed extent of n voxels sampled every step-th one.
int sampled(int n, int step) { return (n + step - 1) / step; }

unsigned char to_byte(const Volume* v, int c, int z, int y, int x) {
    switch (v->type) {
    case 2: {
        const float f = v->data[c].f[z][y][x];
        return static_cast<unsigned char>(std::clamp(std::floor(f + 0.5f), 0.f, 255.f));
    }
    case 4: return static_cast<unsigned char>(std::clamp(v->data[c].i[z][y][x], 0, 255));
    default: return v->data[c].uc[z][y][x];
    }
}

bool is_input(QEvent::Type type) {
    switch (type) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove:
    case QEvent::NonClientAreaMouseButtonPress:
    case QEvent::NonClientAreaMouseButtonRelease:
    case QEvent::NonClientAreaMouseButtonDblClick:
    case QEvent::NonClientAreaMouseMove:
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::ShortcutOverride:
    case QEvent::Wheel:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::ContextMenu:
        return true;
    default:
        return false;
    }
}

bool is_left_press(const QEvent* e) {
    return (e->type() == QEvent::MouseButtonPress ||
            e->type() == QEvent::NonClientAreaMouseButtonPress) &&
           static_cast<const QMouseEvent*>(e)->button() == Qt::LeftButton;
}

}  // namespace

// While a movie plays, the user's input is held back and none of it is lost: a left press on
// the display window, its client area or its frame, asks the movie to stop, and every held
// event, that press included, is delivered again in order when the movie has ended (so a press
// on a bar button acts after the stop). Input from the window system reaches the window-system
// window first: that is where it is held, the press recognised by where it happened.
class InputHold : public QObject {
public:
    explicit InputHold(QWidget* window) : window_(window) { qApp->installEventFilter(this); }
    ~InputHold() override {
        qApp->removeEventFilter(this);
        for (auto& [receiver, event] : held_)
            if (receiver) QCoreApplication::postEvent(receiver, event.release());
    }
    InputHold(const InputHold&) = delete;
    InputHold& operator=(const InputHold&) = delete;
    bool stop_requested() const { return stop_; }

protected:
    bool eventFilter(QObject* receiver, QEvent* event) override {
        if (!is_input(event->type())) return false;
        if (is_left_press(event) && over_window(receiver, static_cast<QMouseEvent*>(event)))
            stop_ = true;
        held_.emplace_back(receiver, std::unique_ptr<QEvent>(event->clone()));
        return true;
    }

private:
    bool over_window(QObject* receiver, const QMouseEvent* e) const {
        if (!window_) return false;
        auto* hit = qobject_cast<QWidget*>(receiver);
        if (!hit) {  // the window-system window: the widget under the press
            QWidget* top = window_->window();
            const QPoint at = top->mapFromGlobal(e->globalPosition().toPoint());
            hit = top->childAt(at);
            if (!hit && top->rect().contains(at)) hit = top;
        }
        return hit && (hit == window_ || window_->isAncestorOf(hit));
    }

    QPointer<QWidget> window_;
    std::vector<std::pair<QPointer<QObject>, std::unique_ptr<QEvent>>> held_;
    bool stop_ = false;
};

namespace {

const int kButtonIds[6] = {11, 14, 12, 13, 10, 15};

QStyle::StandardPixmap button_icon(int id) {
    switch (id) {
    case 11: return QStyle::SP_MediaSeekBackward;
    case 14: return QStyle::SP_MediaSkipBackward;
    case 12: return QStyle::SP_MediaStop;
    case 13: return QStyle::SP_MediaSkipForward;
    case 10: return QStyle::SP_MediaPlay;
    default: return QStyle::SP_BrowserReload;
    }
}

const char* button_tip(int id) {
    switch (id) {
    case 11: return "Play backward";
    case 14: return "Previous frame";
    case 12: return "Stop (click the window)";
    case 13: return "Next frame";
    case 10: return "Play forward";
    default: return "Play forward and backward";
    }
}

}  // namespace

// ---- the image pane -----------------------------------------------------------------------

DisplayPane::DisplayPane(FrameDisplay* owner) : QAbstractScrollArea(owner), owner_(owner) {
    setObjectName("1000");
    setProperty("windowClass", "display");
    setFrameShape(QFrame::NoFrame);
    viewport()->setMouseTracking(true);
    viewport()->setAttribute(Qt::WA_OpaquePaintEvent);
}

bool DisplayPane::voxel_at(QPoint pos, int& x, int& y) const {
    const Volume* v = owner_->volume();
    const int step = owner_->step();
    x = (horizontalScrollBar()->value() + pos.x()) * step;
    y = (verticalScrollBar()->value() + pos.y()) * step;
    return v->type && owner_->current() < v->Z && pos.x() >= 0 && pos.y() >= 0 && x < v->X &&
           y < v->Y;
}

void DisplayPane::paintEvent(QPaintEvent*) {
    QPainter painter(viewport());
    painter.fillRect(viewport()->rect(), Qt::black);
    painter.drawImage(0, 0, owner_->picture());
    if (owner_->marks()) paint_marks(painter, owner_->marks()(owner_->current()));
}

// Marks sit on the pixel that shows their voxel: red points, yellow crosses.
void DisplayPane::paint_marks(QPainter& painter, const FrameMarks& marks) const {
    const int step = owner_->step();
    const QPoint origin(horizontalScrollBar()->value(), verticalScrollBar()->value());
    auto pixel = [&](QPoint voxel) { return QPoint(voxel.x() / step, voxel.y() / step) - origin; };
    painter.setPen(QColor(255, 40, 40));
    for (const QPoint& p : marks.points) painter.drawPoint(pixel(p));
    painter.setPen(QPen(QColor(255, 230, 0), 1));
    for (const QPoint& p : marks.crosses) {
        const QPoint c = pixel(p);
        painter.drawLine(c - QPoint(3, 0), c + QPoint(3, 0));
        painter.drawLine(c - QPoint(0, 3), c + QPoint(0, 3));
    }
}

void DisplayPane::mouseMoveEvent(QMouseEvent* event) {
    int x, y;
    if (voxel_at(event->position().toPoint(), x, y))
        emit owner_->voxel_hovered(owner_->current(), y, x);
    else
        emit owner_->image_left();
}

void DisplayPane::mousePressEvent(QMouseEvent* event) {
    int x, y;
    if (voxel_at(event->position().toPoint(), x, y))
        emit owner_->voxel_clicked(owner_->current(), y, x, event->button());
}

void DisplayPane::scrollContentsBy(int, int) { owner_->refresh(); }

void DisplayPane::leaveEvent(QEvent*) { emit owner_->image_left(); }

// ---- the display window -------------------------------------------------------------------

FrameDisplay::FrameDisplay(Volume* vol, int mode, int first, int last, double delay,
                           QSize available, int buttons, QWidget* parent)
    : QWidget(parent), vol_(vol), mode_(mode), first_(first), last_(last), current_(first),
      delay_(delay), available_(available) {
    setProperty("windowClass", "child_3D");
    setProperty("v3dVolume", QVariant::fromValue(reinterpret_cast<quintptr>(vol)));
    setAttribute(Qt::WA_DeleteOnClose);
    pane_ = new DisplayPane(this);
    bar_ = new QWidget(this);
    const QList<int> ids = buttons == 2 ? QList<int>{14, 13}
                                        : QList<int>(std::begin(kButtonIds), std::end(kButtonIds));
    for (int id : ids) {
        auto* b = new QToolButton(bar_);
        b->setObjectName(QString::number(id));
        b->setIcon(style()->standardIcon(button_icon(id)));
        b->setToolTip(button_tip(id));
        b->setAutoRaise(false);
        connect(b, &QToolButton::clicked, this, [this, id] { command(id); });
        buttons_.append(b);
    }
    relayout();
}

void FrameDisplay::relayout() {
    const int sbw = style()->pixelMetric(QStyle::PM_ScrollBarExtent);
    const int dw = sampled(vol_->X, step_), dh = sampled(vol_->Y, step_);
    int vw = std::min(dw, available_.width()), vh = std::min(dh, available_.height());
    if (dw > available_.width() && dh > available_.height()) {
        vw -= sbw;
        vh -= sbw;
    }
    vw = std::max(vw, 1);
    vh = std::max(vh, 1);
    const bool vbar = dh > vh, hbar = dw > vw;
    const int outer_w = vw + (vbar ? sbw : 0), outer_h = vh + (hbar ? sbw : 0);
    visible_ = QSize(vw, vh);
    ranges_ = QSize(dw - vw, dh - vh);

    pane_->setVerticalScrollBarPolicy(vbar ? Qt::ScrollBarAlwaysOn : Qt::ScrollBarAlwaysOff);
    pane_->setHorizontalScrollBarPolicy(hbar ? Qt::ScrollBarAlwaysOn : Qt::ScrollBarAlwaysOff);
    pane_->horizontalScrollBar()->setRange(0, ranges_.width());
    pane_->horizontalScrollBar()->setPageStep(vw);
    pane_->verticalScrollBar()->setRange(0, ranges_.height());
    pane_->verticalScrollBar()->setPageStep(vh);

    const int client_w = std::max(outer_w, kMinClientWidth);
    const int client_h = outer_h + kButtonBarHeight;
    pane_->setGeometry((client_w - outer_w) / 2, 0, outer_w, outer_h);
    bar_->setGeometry(0, outer_h, client_w, kButtonBarHeight);
    const int n = static_cast<int>(buttons_.size());
    const int bw = client_w / n;
    for (int i = 0; i < n; ++i)
        buttons_[i]->setGeometry(i * bw, 0, i == n - 1 ? client_w - i * bw : bw, kButtonBarHeight);
    setFixedSize(client_w, client_h);
    if (auto* sub = qobject_cast<QMdiSubWindow*>(parentWidget())) sub->adjustSize();
    refresh();
}

// The frame becomes the current one and is painted at once (a movie does not wait for the
// event loop), from picture when it was made already.
void FrameDisplay::show_frame(int frame, QImage picture) {
    current_ = frame;
    picture_ = std::move(picture);
    emit frame_shown(frame);
    pane_->viewport()->repaint();
}

const QImage& FrameDisplay::picture() {
    if (picture_.isNull()) picture_ = frame_image();
    return picture_;
}

QImage FrameDisplay::frame_image() const { return frame_image_of(current_); }

QImage FrameDisplay::frame_image_of(int frame) const {
    const int w = visible_.width(), h = visible_.height();
    const bool colour = vol_->colortype != 1;
    QImage image(w, h, colour ? QImage::Format_RGB888 : QImage::Format_Indexed8);
    if (image.isNull()) return image;  // no memory for the picture
    if (!colour) image.setColorTable(grey_palette());
    image.fill(0);
    if (!vol_->type || frame < 0 || frame >= vol_->Z) return image;
    const int sx = pane_->horizontalScrollBar()->value(), sy = pane_->verticalScrollBar()->value();
    for (int j = 0; j < h; ++j) {
        const int y = (sy + j) * step_;
        if (y >= vol_->Y) break;
        uchar* row = image.scanLine(j);
        for (int i = 0; i < w; ++i) {
            const int x = (sx + i) * step_;
            if (x >= vol_->X) break;
            if (colour)
                for (int c = 0; c < 3; ++c) row[3 * i + c] = to_byte(vol_, c, frame, y, x);
            else
                row[i] = to_byte(vol_, 0, frame, y, x);
        }
    }
    return image;
}

void FrameDisplay::refresh() {
    picture_ = QImage();
    pane_->viewport()->update();
}

void FrameDisplay::go_to(int frame) {
    if (frame >= first_ && frame <= last_ && frame != current_ && !playing_) show_frame(frame);
}

void FrameDisplay::set_marks(MarkSource source) {
    marks_ = std::move(source);
    refresh();
}

void FrameDisplay::step_to(int frame) {
    show_frame(frame);
    emit stepped(frame);
}

void FrameDisplay::command(int id) {
    if (playing_) return;
    switch (id) {
    case 13:
        if (current_ + 1 <= last_) step_to(current_ + 1);
        break;
    case 14:
        if (current_ - 1 >= first_) step_to(current_ - 1);
        break;
    case 10:
    case 11:
    case 15:
        play_movie(id);
        break;
    default:  // 12: a click on the window stops a running movie
        break;
    }
}

// 10 forward, 11 backward, 15 forward and backward until a play is stopped. The held input is
// delivered when the movie has ended.
void FrameDisplay::play_movie(int id) {
    QPointer<FrameDisplay> self(this);
    QWidget* window = parentWidget() ? parentWidget() : this;
    InputHold hold(window);
    playing_ = true;
    if (id == 10) play(+1, hold);
    if (id == 11) play(-1, hold);
    if (id == 15)
        while (self && !play(+1, hold) && self && !play(-1, hold)) {
        }
    if (self) playing_ = false;
}

// Shows the frames from the current one to the end of the range (dir +1) or its start (-1),
// each as soon as it is made; true when a press on the window stopped it (the frame shown
// then stays the current one).
bool FrameDisplay::play(int dir, const InputHold& hold) {
    QPointer<FrameDisplay> self(this);
    for (int f = current_; dir > 0 ? f <= last_ : f >= first_; f += dir) {
        QImage picture = frame_image_of(f);
        if (picture.isNull() || drawing_fails_) {
            drawing_failure_handler()();
            return true;
        }
        show_frame(f, std::move(picture));
        QCoreApplication::processEvents();
        if (!self || hold.stop_requested()) return true;
    }
    return false;
}

std::function<void()>& FrameDisplay::drawing_failure_handler() {
    // the movie cannot go on without its picture: the program ends, as it always has
    static std::function<void()> handler = [] {
        QMessageBox::critical(nullptr, "Ooops", "BitBlt failed");
        std::exit(1);
    };
    return handler;
}

void FrameDisplay::zoom_in() {
    if (step_ == 1) return;
    step_ /= 2;
    relayout();
}

void FrameDisplay::zoom_out() {
    if (step_ == kMaxStep) return;
    step_ *= 2;
    relayout();
}

}  // namespace view
