#include "view/frame_display.h"

#include <QApplication>
#include <QMdiSubWindow>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>
#include <QScrollBar>
#include <QStyle>
#include <QToolButton>
#include <algorithm>
#include <cmath>


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

// While a movie plays: a left click on its window stops it; every other user input waits.
class MovieStop : public QObject {
public:
    explicit MovieStop(QWidget* window) : window_(window) { qApp->installEventFilter(this); }
    ~MovieStop() override { qApp->removeEventFilter(this); }
    bool stopped = false;

protected:
    bool eventFilter(QObject* object, QEvent* event) override {
        switch (event->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::NonClientAreaMouseButtonPress:
            if (static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton && ours(object))
                stopped = true;
            return true;
        case QEvent::MouseButtonRelease:
        case QEvent::MouseButtonDblClick:
        case QEvent::MouseMove:
        case QEvent::KeyPress:
        case QEvent::KeyRelease:
        case QEvent::Wheel:
        case QEvent::NonClientAreaMouseButtonRelease:
        case QEvent::NonClientAreaMouseButtonDblClick:
            return true;
        default:
            return false;
        }
    }

private:
    bool ours(QObject* object) const {
        auto* w = qobject_cast<QWidget*>(object);
        return w && window_ && (w == window_ || window_->isAncestorOf(w));
    }
    QPointer<QWidget> window_;
};

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
    painter.drawImage(0, 0, owner_->frame_image());
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

void DisplayPane::scrollContentsBy(int, int) { viewport()->update(); }

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
    pane_->viewport()->update();
}

// The frame becomes the current one and is painted at once (a movie does not wait for the
// event loop).
void FrameDisplay::show_frame(int frame) {
    current_ = frame;
    emit frame_shown(frame);
    pane_->viewport()->repaint();
}

QImage FrameDisplay::frame_image() const {
    const int w = visible_.width(), h = visible_.height();
    const bool colour = vol_->colortype != 1;
    QImage image(w, h, colour ? QImage::Format_RGB888 : QImage::Format_Indexed8);
    if (!colour) {
        QVector<QRgb> grey(256);
        for (int i = 0; i < 256; ++i) grey[i] = qRgb(i, i, i);
        image.setColorTable(grey);
    }
    image.fill(0);
    if (!vol_->type || current_ < 0 || current_ >= vol_->Z) return image;
    const int sx = pane_->horizontalScrollBar()->value(), sy = pane_->verticalScrollBar()->value();
    for (int j = 0; j < h; ++j) {
        const int y = (sy + j) * step_;
        if (y >= vol_->Y) break;
        uchar* row = image.scanLine(j);
        for (int i = 0; i < w; ++i) {
            const int x = (sx + i) * step_;
            if (x >= vol_->X) break;
            if (colour)
                for (int c = 0; c < 3; ++c) row[3 * i + c] = to_byte(vol_, c, current_, y, x);
            else
                row[i] = to_byte(vol_, 0, current_, y, x);
        }
    }
    return image;
}

void FrameDisplay::refresh() { pane_->viewport()->update(); }

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
    case 10: play(+1); break;
    case 11: play(-1); break;
    case 15:
        while (!play(+1) && !play(-1)) {
        }
        break;
    default:  // 12: a click on the window stops a running movie
        break;
    }
}

bool FrameDisplay::play(int dir) {
    QPointer<FrameDisplay> self(this);
    MovieStop stop(parentWidget() ? parentWidget() : this);
    playing_ = true;
    bool stopped = false;
    for (int f = current_; dir > 0 ? f <= last_ : f >= first_; f += dir) {
        show_frame(f);
        QCoreApplication::processEvents();
        if (!self) return true;
        if (stop.stopped) {
            stopped = true;
            break;
        }
    }
    playing_ = false;
    return stopped;
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
