#include "view/plot_window.h"

#include <QPainter>
#include <QPolygonF>
#include <algorithm>
#include <cstdio>

namespace view {

PlotWindow::PlotWindow(std::vector<float> values, QWidget* parent)
    : QWidget(parent), values_(std::move(values)) {
    setAutoFillBackground(true);
    QPalette p = palette();
    p.setColor(QPalette::Window, Qt::white);
    setPalette(p);
}

const char* PlotWindow::label_format(double range) {
    if (range >= 100) return "%.0f";
    if (range >= 10) return "%.1f";
    if (range >= 1) return "%.2f";
    return "%.3f";
}

void PlotWindow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const int left = 56, right = 12, top = 12, bottom = 28;
    const QRectF area(left, top, width() - left - right, height() - top - bottom);
    if (area.width() < 2 || area.height() < 2 || values_.empty()) return;
    const float high = std::max(*std::max_element(values_.begin(), values_.end()), 1e-6f);
    painter.setPen(Qt::black);
    painter.drawLine(area.bottomLeft(), area.bottomRight());
    painter.drawLine(area.bottomLeft(), area.topLeft());
    // labels: 0, the middle and the end of each axis
    char label[32];
    const char* yformat = label_format(high);
    for (int i = 0; i <= 2; ++i) {
        const double y = area.bottom() - area.height() * i / 2;
        std::snprintf(label, sizeof label, yformat, high * i / 2);
        painter.drawText(QRectF(0, y - 8, left - 6, 16), Qt::AlignRight | Qt::AlignVCenter, label);
        const double x = area.left() + area.width() * i / 2;
        std::snprintf(label, sizeof label, "%.0f", (values_.size() - 1) * i / 2.0);
        painter.drawText(QRectF(x - 30, area.bottom() + 4, 60, 16), Qt::AlignCenter, label);
    }
    QPolygonF line;
    const double step = values_.size() > 1 ? area.width() / (values_.size() - 1) : 0.0;
    for (size_t i = 0; i < values_.size(); ++i)
        line << QPointF(area.left() + step * i, area.bottom() - area.height() * values_[i] / high);
    painter.setPen(QPen(Qt::blue, 1));
    painter.drawPolyline(line);
}

}  // namespace view
