// The section view (class section_view): three panes (class sections, with scroll bars) that
// show orthogonal sections of a volume, XY top left, XZ bottom left and YZ top right, split
// by two 8-pixel gaps that the mouse drags; in the free quarter the edit fields 3, 4, 5 (the
// current point, digits only), the trackbars 6, 7, 8 (0-100, ticks every 10, at 50) and the
// factor texts in Arial 8 pt. The view does not own the volume and decides nothing: it paints
// the pictures, marks and layout it is given and reports what the user did.
#pragma once

#include <QAbstractScrollArea>
#include <QImage>
#include <QRect>
#include <QWidget>

class QLabel;
class QLineEdit;
class QSlider;

namespace view {

class SectionView;

// One section: its picture stretched by an integer factor, scrolled, with two thin lines
// through the current point.
class SectionPane : public QAbstractScrollArea {
    Q_OBJECT
public:
    SectionPane(SectionView* owner, int index);

    // The picture and how many screen pixels one of its pixels takes across and down (the
    // magnification times the voxels' proportions).
    void set_picture(const QImage& picture, QSizeF stretch);
    const QImage& picture() const { return picture_; }
    QSize content_size() const;
    // The content pixel the marking lines go through.
    void set_mark(QPoint mark);
    QPoint mark() const { return mark_; }
    // Scrolls so that the mark is in the middle where the content allows.
    void center_on_mark();
    QPoint scroll_position() const;

    // Paints the pane with painter; false (and the view reports clipping_failed) when the
    // picture's clip cannot be set, which is the case for a painter that is not active.
    bool paint(QPainter& painter);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    bool viewportEvent(QEvent* event) override;

private:
    void update_ranges();

    SectionView* owner_;
    int index_;
    QImage picture_;
    QSizeF stretch_{1.0, 1.0};
    QPoint mark_{-1, -1};
};

class SectionView : public QWidget {
    Q_OBJECT
public:
    static constexpr int kPanes = 3;

    // Where the children go (client coordinates); the gaps are where the mouse drags.
    struct Layout {
        QRect panes[kPanes], edits[kPanes], trackbars[kPanes], labels[kPanes];
        QRect vertical_gap, horizontal_gap;
    };

    // client: the size of the client area at creation.
    explicit SectionView(QSize client, QWidget* parent = nullptr);

    QSize sizeHint() const override { return client_; }

    // The sizes the controls take in the view's font: an edit field ("7777777"), a factor text
    // (" X factor : 77.77 ") and a trackbar's height.
    QSize edit_size() const;
    int label_width() const;
    int trackbar_height() const;

    void apply_layout(const Layout& layout);
    SectionPane* pane(int i) const { return panes_[i]; }
    QLineEdit* edit(int i) const { return edits_[i]; }
    QSlider* trackbar(int i) const { return trackbars_[i]; }
    QLabel* factor_label(int i) const { return labels_[i]; }
    // A trackbar set by the program (no notification follows).
    void set_trackbar(int i, int position);
    void set_factor_text(int i, const QString& text);

signals:
    // The thumb of trackbar i was dragged (or let go) at position; other moves are not reported.
    void trackbar_moved(int i, int position);
    // The text of edit i (id 3 + i) changed.
    void edit_changed(int i, const QString& text);
    // Splitter 0 (vertical) or 1 (horizontal) dragged to position.
    void splitter_dragged(int splitter, int position);
    void resized(QSize client);
    // The mouse is over content pixel `at` of pane i (its scroll position included), or it left
    // the panes.
    void pane_hovered(int i, QPoint at);
    void pane_left();
    // A pane could not set the clip of its picture.
    void clipping_failed();

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    int gap_at(QPoint at) const;

    QSize client_;
    SectionPane* panes_[kPanes];
    QLineEdit* edits_[kPanes];
    QSlider* trackbars_[kPanes];
    QLabel* labels_[kPanes];
    QRect gaps_[2];
    int dragging_ = -1;  // the splitter being dragged
    int drag_offset_ = 0;
};

}  // namespace view
