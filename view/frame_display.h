// The frame display window (class child_3D): one frame of a volume at a time in its image pane
// (class display, with scroll bars), a bar of six buttons under it (play backward 11, previous
// 14, stop 12, next 13, play forward 10, back and forth 15), Zoom In/Out in the system menu.
// The window shows a volume it does not own; freedisWin closes it before the volume goes. It
// only reports what the user does over the image (a voxel hovered or clicked, the image left,
// the frame changed); what that means is decided by its owner.
#pragma once

#include <QAbstractScrollArea>
#include <QImage>
#include <QWidget>
#include <functional>

#include "vexilo3d.h"

class QPainter;
class QToolButton;

namespace view {

class FrameDisplay;
class InputHold;

// What a tool marks over a frame, in voxel coordinates (x, y): traced points, and crosses where
// something started.
struct FrameMarks {
    QList<QPoint> points;
    QList<QPoint> crosses;
};
using MarkSource = std::function<FrameMarks(int frame)>;

// The image pane: the current frame sampled every step-th voxel from the scroll position.
class DisplayPane : public QAbstractScrollArea {
    Q_OBJECT
public:
    explicit DisplayPane(FrameDisplay* owner);
    // The voxel under a viewport position; false outside the frame.
    bool voxel_at(QPoint pos, int& x, int& y) const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void leaveEvent(QEvent* event) override;

private:
    void paint_marks(QPainter& painter, const FrameMarks& marks) const;

    FrameDisplay* owner_;
};

class FrameDisplay : public QWidget {
    Q_OBJECT
public:
    static constexpr int kButtonBarHeight = 21;
    static constexpr int kMinClientWidth = 192;
    static constexpr int kMaxStep = 64;

    // mode: 2 black-and-white, 1 colour, 0 plain; available: the area the pane may take;
    // buttons: 6 for the ordinary display, 2 (previous, next) for contour following.
    FrameDisplay(Volume* vol, int mode, int first, int last, double delay, QSize available,
                 int buttons = 6, QWidget* parent = nullptr);

    Volume* volume() const { return vol_; }
    int mode() const { return mode_; }
    int first() const { return first_; }
    int last() const { return last_; }
    int current() const { return current_; }
    int step() const { return step_; }
    double delay() const { return delay_; }
    DisplayPane* pane() const { return pane_; }
    QSize visible_size() const { return visible_; }
    QSize scroll_ranges() const { return ranges_; }

    // A button of the bar (10..15).
    void command(int id);
    void zoom_in();
    void zoom_out();
    // Repaints the pane (the volume's voxels changed).
    void refresh();
    // Shows frame (inside the range) as the current one, as stepping does but without reporting
    // a step (a partner window following this one).
    void go_to(int frame);
    // The marks painted over each frame shown (none when empty).
    void set_marks(MarkSource source);
    const MarkSource& marks() const { return marks_; }
    // The visible part of the current frame as the pane paints it.
    QImage frame_image() const;
    // What the pane shows: the picture of the current frame, made when first needed.
    const QImage& picture();

    // What happens when a movie cannot make its picture: by default "BitBlt failed" captioned
    // "Ooops", then the program ends with exit code 1. Tests put their own handler here and
    // make the drawing fail on purpose.
    static std::function<void()>& drawing_failure_handler();
    static void set_drawing_fails(bool fails) { drawing_fails_ = fails; }

signals:
    // The current frame changed by stepping (contour following steps its partner along).
    void stepped(int frame);
    // The frame shown changed (stepping or a movie): the title follows it.
    void frame_shown(int frame);
    // The mouse is over voxel (z, y, x) of the frame shown, or left the image.
    void voxel_hovered(int z, int y, int x);
    void image_left();
    // A mouse button was pressed over voxel (z, y, x).
    void voxel_clicked(int z, int y, int x, Qt::MouseButton button);

private:
    void relayout();
    void show_frame(int frame, QImage picture = QImage());
    void step_to(int frame);
    void play_movie(int id);
    bool play(int dir, const InputHold& hold);
    QImage frame_image_of(int frame) const;

    Volume* vol_;
    int mode_, first_, last_, current_;
    double delay_;
    int step_ = 1;
    QSize available_;
    QSize visible_, ranges_;
    DisplayPane* pane_;
    QWidget* bar_;
    QList<QToolButton*> buttons_;
    bool playing_ = false;
    QImage picture_;
    MarkSource marks_;
    static inline bool drawing_fails_ = false;
};

}  // namespace view
