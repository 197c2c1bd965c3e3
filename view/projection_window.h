// The projection window (class projection): a picture buffer shown at its own size (one
// screen pixel a picture pixel) in a client area that may be smaller, with both scroll bars
// always there (disabled while the picture fits in that direction). Grey buffers are painted
// through the grey palette, colour buffers as 24-bit pictures.
//
// The window only shows and reports: it does not own the buffer, and a scroll-bar action only
// reports itself (its owner decides the move and calls scroll_to).
#pragma once

#include <QAbstractScrollArea>
#include <QAbstractSlider>
#include <QImage>

#include "vexilo3d.h"

namespace view {

class ProjectionWindow : public QAbstractScrollArea {
    Q_OBJECT
public:
    // buffer is shown in a client area of size client.
    ProjectionWindow(const Buffer* buffer, QSize client, QWidget* parent = nullptr);
    ~ProjectionWindow() override;

    const Buffer* buffer() const { return buffer_; }
    // Shows another buffer (its owner sets the ranges for it and repaints).
    void set_buffer(const Buffer* buffer) { buffer_ = buffer; }
    QSize sizeHint() const override;
    // The scroll positions (horizontal, vertical).
    QPoint position() const;
    // Bar ranges 0..range with the client's extent as page; a bar whose range is 0 is disabled.
    void set_ranges(int hrange, int vrange);
    // Moves the view to pos along orientation; the shown part scrolls by the difference.
    void scroll_to(Qt::Orientation orientation, int pos);
    // The buffer's pixels changed: paints again at once.
    void picture_changed();
    // The part of the picture that client rectangle rect shows at the current positions (the
    // parts outside the picture are left out): 8-bit through the grey palette or 24-bit.
    QImage picture(const QRect& rect) const;

signals:
    // A scroll-bar action (line, page, thumb move ...) with the thumb's position.
    void scroll_action(Qt::Orientation orientation, int action, int thumb);
    // The thumb was let go at thumb.
    void thumb_released(Qt::Orientation orientation, int thumb);
    // The window is being destroyed; the buffer is still there.
    void destroying();

protected:
    void paintEvent(QPaintEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;

private:
    // The picture's part (in picture coordinates) that client rectangle rect shows.
    QRect shown_part(const QRect& rect) const;
    void report_actions(QAbstractSlider* bar, Qt::Orientation orientation);

    const Buffer* buffer_;
    QSize client_;
};

}  // namespace view
