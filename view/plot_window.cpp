#include "view/plot_window.h"

#include <QPainter>
#include <QPolygonF>
#include <algorithm>
#include <cstdio>

namespace view {
namespace {

constexpr int kLeft = 60, kRight = 14, kTop = 14, kBottom = 30;
constexpr int kInset = 4;   // the data keep clear of the axes, so no bin is drawn on one
constexpr int kTick = 4;

QString label(const char* format, double value) {
    char text[32];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

}  // namespace

PlotWindow::PlotWindow(std::vector<float> values, QWidget* parent)
    : QWidget(parent), values_(std::move(values)) {
    setAutoFillBackground(true);
    QPalette p = palette();
    p.setColor(QPalette::Window, Qt::white);
    setPalette(p);
    setCursor(Qt::ArrowCursor);
}

const char* PlotWindow::label_format(double range) {
    if (range >= 100) return "%.0f";
    if (range >= 10) return "%.1f";
    if (range >= 1) return "%.2f";
    return "%.3f";
}

// Axes with ticks and labels (the values axis in quarters of its largest value, the levels
// every 32), then the values as one polyline.
void PlotWindow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QRectF frame(kLeft, kTop, width() - kLeft - kRight, height() - kTop - kBottom);
    if (frame.width() < 4 * kInset || frame.height() < 4 * kInset || values_.empty()) return;
    const QRectF data = frame.adjusted(kInset, kInset, -kInset, 0);
    const double high = std::max(*std::max_element(values_.begin(), values_.end()), 1e-6f);
    const double last = static_cast<double>(values_.size() - 1);
    auto x_of = [&](double i) { return data.left() + (last > 0 ? data.width() * i / last : 0); };
    auto y_of = [&](double v) { return data.bottom() - data.height() * v / high; };

    painter.setPen(Qt::black);
    painter.drawLine(frame.bottomLeft(), frame.bottomRight());
    painter.drawLine(frame.bottomLeft(), frame.topLeft());
    const char* format = label_format(high);
    for (int q = 0; q <= 4; ++q) {
        const double y = y_of(high * q / 4);
        painter.drawLine(QPointF(frame.left() - kTick, y), QPointF(frame.left(), y));
        painter.drawText(QRectF(0, y - 8, kLeft - kTick - 3, 16), Qt::AlignRight | Qt::AlignVCenter,
                         label(format, high * q / 4));
    }
    for (int level = 0; level <= last; level += 32) {
        const double x = x_of(level);
        painter.drawLine(QPointF(x, frame.bottom()), QPointF(x, frame.bottom() + kTick));
        if (level % 64 == 0 && last - level >= 32)
            painter.drawText(QRectF(x - 30, frame.bottom() + kTick, 60, 16), Qt::AlignCenter,
                             label("%.0f", level));
    }
    painter.drawLine(QPointF(x_of(last), frame.bottom()), QPointF(x_of(last), frame.bottom() + kTick));
    painter.drawText(QRectF(x_of(last) - 30, frame.bottom() + kTick, 60, 16), Qt::AlignCenter,
                     label("%.0f", last));

    QPolygonF line;
    for (size_t i = 0; i < values_.size(); ++i) line << QPointF(x_of(i), y_of(values_[i]));
    painter.setPen(QPen(Qt::blue, 1));
    painter.drawPolyline(line);
}

}  // namespace view
