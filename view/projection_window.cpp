#include "view/projection_window.h"

#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStyle>
#include <cstring>

#include "view/grey_palette.h"

namespace view {

ProjectionWindow::ProjectionWindow(const Buffer* buffer, QSize client, QWidget* parent)
    : QAbstractScrollArea(parent), buffer_(buffer), client_(client) {
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    viewport()->setMouseTracking(true);
    // the picture covers what it paints; the rest is painted with the window colour
    viewport()->setAttribute(Qt::WA_OpaquePaintEvent);
    report_actions(horizontalScrollBar(), Qt::Horizontal);
    report_actions(verticalScrollBar(), Qt::Vertical);
    set_ranges(0, 0);
}

ProjectionWindow::~ProjectionWindow() { emit destroying(); }

// The bar only proposes: its move is taken back at once, and the owner that hears of it sets
// the position it decides on.
void ProjectionWindow::report_actions(QAbstractSlider* bar, Qt::Orientation orientation) {
    connect(bar, &QAbstractSlider::actionTriggered, this, [this, bar, orientation](int action) {
        const int thumb = bar->sliderPosition();
        bar->setSliderPosition(bar->value());
        emit scroll_action(orientation, action, thumb);
    });
    connect(bar, &QAbstractSlider::sliderReleased, this,
            [this, bar, orientation] { emit thumb_released(orientation, bar->sliderPosition()); });
}

QSize ProjectionWindow::sizeHint() const {
    const int bar = style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, this);
    return client_ + QSize(bar, bar);
}

QPoint ProjectionWindow::position() const {
    return {horizontalScrollBar()->value(), verticalScrollBar()->value()};
}

void ProjectionWindow::set_ranges(int hrange, int vrange) {
    const QSize page = isVisible() ? viewport()->size() : client_;
    QScrollBar* bars[2] = {horizontalScrollBar(), verticalScrollBar()};
    const int ranges[2] = {hrange, vrange}, pages[2] = {page.width(), page.height()};
    for (int i = 0; i < 2; ++i) {
        bars[i]->setRange(0, ranges[i]);
        bars[i]->setPageStep(pages[i]);
        bars[i]->setSingleStep(1);
        bars[i]->setEnabled(ranges[i] > 0);
    }
}

void ProjectionWindow::scroll_to(Qt::Orientation orientation, int pos) {
    (orientation == Qt::Horizontal ? horizontalScrollBar() : verticalScrollBar())->setValue(pos);
}

void ProjectionWindow::scrollContentsBy(int dx, int dy) { viewport()->scroll(dx, dy); }

void ProjectionWindow::picture_changed() { viewport()->repaint(); }

QRect ProjectionWindow::shown_part(const QRect& rect) const {
    if (!buffer_) return {};
    return rect.translated(position()).intersected(QRect(0, 0, buffer_->width, buffer_->height));
}

QImage ProjectionWindow::picture(const QRect& rect) const {
    const QRect shown = shown_part(rect);
    if (shown.isEmpty()) return {};
    const bool colour = buffer_->colortype == 2;
    QImage image(shown.size(), colour ? QImage::Format_RGB888 : QImage::Format_Indexed8);
    if (image.isNull()) return image;  // no memory for the picture: nothing is drawn
    if (!colour) image.setColorTable(grey_palette());
    for (int j = 0; j < shown.height(); ++j) {
        uchar* row = image.scanLine(j);
        const int y = shown.top() + j, x0 = shown.left();
        if (!colour) {
            std::memcpy(row, buffer_->image[0][y] + x0, static_cast<size_t>(shown.width()));
            continue;
        }
        for (int i = 0; i < shown.width(); ++i)
            for (int c = 0; c < 3; ++c) row[3 * i + c] = buffer_->image[c][y][x0 + i];
    }
    return image;
}

void ProjectionWindow::paintEvent(QPaintEvent* event) {
    QPainter painter(viewport());
    const QRect area = event->rect();
    painter.fillRect(area, palette().window());
    const QImage part = picture(area);
    if (!part.isNull()) painter.drawImage(shown_part(area).topLeft() - position(), part);
}

}  // namespace view
