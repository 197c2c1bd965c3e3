// The histogram window: a polyline of one value per grey level between labelled axes.
#pragma once

#include <QWidget>
#include <vector>

namespace view {

class PlotWindow : public QWidget {
public:
    explicit PlotWindow(std::vector<float> values, QWidget* parent = nullptr);
    const std::vector<float>& values() const { return values_; }
    QSize sizeHint() const override { return {440, 300}; }
    // "%.0f" to "%.3f": as many decimals as a label of the range needs to differ from 0
    static const char* label_format(double range);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    std::vector<float> values_;
};

}  // namespace view
