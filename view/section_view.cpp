#include "view/section_view.h"

#include <QFontMetrics>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QRegularExpressionValidator>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QSlider>
#include <algorithm>
#include <cmath>
#include <tuple>

namespace view {
namespace {

// The font of the edit fields and factor texts, made once per run.
const QFont& section_font() {
    static const QFont font = [] {
        QFont f("Arial");
        f.setPointSize(8);
        f.setWeight(QFont::Normal);
        return f;
    }();
    return font;
}

// The lines through the current point: red stands out on grey pictures.
const QColor kMarkColour(255, 0, 0);

const char* const kPaneNames[SectionView::kPanes] = {"XY", "XZ", "YZ"};
const char* const kEditTips[SectionView::kPanes] = {"z (frame of the XY section)",
                                                    "x (column of the YZ section)",
                                                    "y (row of the XZ section)"};

}  // namespace

// ---- a pane -------------------------------------------------------------------------------

SectionPane::SectionPane(SectionView* owner, int index)
    : QAbstractScrollArea(owner), owner_(owner), index_(index) {
    setObjectName(kPaneNames[index]);
    setProperty("windowClass", "sections");
    setFrameShape(QFrame::NoFrame);
    viewport()->setMouseTracking(true);
    viewport()->setCursor(Qt::CrossCursor);
    viewport()->setAttribute(Qt::WA_OpaquePaintEvent);
}

void SectionPane::set_picture(const QImage& picture, QSizeF stretch) {
    picture_ = picture;
    stretch_ = QSizeF(std::max(stretch.width(), 1.0), std::max(stretch.height(), 1.0));
    update_ranges();
    viewport()->update();
}

QSize SectionPane::content_size() const {
    return {static_cast<int>(std::lround(picture_.width() * stretch_.width())),
            static_cast<int>(std::lround(picture_.height() * stretch_.height()))};
}

void SectionPane::set_mark(QPoint mark) {
    mark_ = mark;
    viewport()->update();
}

void SectionPane::center_on_mark() {
    horizontalScrollBar()->setValue(mark_.x() - viewport()->width() / 2);
    verticalScrollBar()->setValue(mark_.y() - viewport()->height() / 2);
}

QPoint SectionPane::scroll_position() const {
    return {horizontalScrollBar()->value(), verticalScrollBar()->value()};
}

void SectionPane::update_ranges() {
    const QSize content = content_size(), port = viewport()->size();
    // one step moves a voxel at high factors, a few pixels otherwise
    const int step = std::max(static_cast<int>(std::max(stretch_.width(), stretch_.height())), 8);
    for (auto [bar, length, page] : {std::tuple{horizontalScrollBar(), content.width(), port.width()},
                                     std::tuple{verticalScrollBar(), content.height(), port.height()}}) {
        bar->setRange(0, std::max(length - page, 0));
        bar->setPageStep(std::max(page, 1));
        bar->setSingleStep(step);
    }
}

bool SectionPane::paint(QPainter& painter) {
    // the clip keeps the picture and its marks inside the section's extent; a painter that is
    // not active cannot take one, and the pane says so ("SelectCLipRgn failed.")
    if (!painter.isActive()) {
        emit owner_->clipping_failed();
        return false;
    }
    const QRect port = viewport()->rect();
    // a pane beyond its picture is darker than the gaps, so that the splitters show
    painter.fillRect(port, palette().color(QPalette::Mid));
    const QPoint scroll = scroll_position();
    const QRect shown = QRect(-scroll, content_size()) & port;
    if (picture_.isNull() || shown.isEmpty()) return true;
    painter.setClipRect(shown);
    // only the picture pixels that reach the viewport, each stretched across and down
    const double sx = stretch_.width(), sy = stretch_.height();
    const auto cell = [](int content, double s, int last) {
        return std::min(static_cast<int>(content / s), last);
    };
    const QRect source(QPoint(cell(shown.left() + scroll.x(), sx, picture_.width() - 1),
                              cell(shown.top() + scroll.y(), sy, picture_.height() - 1)),
                       QPoint(cell(shown.right() + scroll.x(), sx, picture_.width() - 1),
                              cell(shown.bottom() + scroll.y(), sy, picture_.height() - 1)));
    const QRectF target(source.left() * sx - scroll.x(), source.top() * sy - scroll.y(),
                        source.width() * sx, source.height() * sy);
    painter.drawImage(target, picture_, source);
    painter.setPen(QPen(kMarkColour, 0));
    const QPoint mark = mark_ - scroll;
    painter.drawLine(mark.x(), shown.top(), mark.x(), shown.bottom());
    painter.drawLine(shown.left(), mark.y(), shown.right(), mark.y());
    return true;
}

void SectionPane::paintEvent(QPaintEvent*) {
    QPainter painter(viewport());
    paint(painter);
}

void SectionPane::resizeEvent(QResizeEvent*) { update_ranges(); }

void SectionPane::scrollContentsBy(int, int) { viewport()->update(); }

void SectionPane::mouseMoveEvent(QMouseEvent* event) {
    emit owner_->pane_hovered(index_, event->position().toPoint() + scroll_position());
}

bool SectionPane::viewportEvent(QEvent* event) {
    if (event->type() == QEvent::Leave) emit owner_->pane_left();
    return QAbstractScrollArea::viewportEvent(event);
}

// ---- the view -----------------------------------------------------------------------------

SectionView::SectionView(QSize client, QWidget* parent) : QWidget(parent), client_(client) {
    setProperty("windowClass", "section_view");
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Button);
    setMouseTracking(true);
    resize(client);
    auto* digits = new QRegularExpressionValidator(QRegularExpression("[0-9]*"), this);
    for (int i = 0; i < kPanes; ++i) {
        panes_[i] = new SectionPane(this, i);

        edits_[i] = new QLineEdit(this);
        edits_[i]->setObjectName(QString::number(3 + i));
        edits_[i]->setFont(section_font());
        edits_[i]->setValidator(digits);
        edits_[i]->setToolTip(kEditTips[i]);
        connect(edits_[i], &QLineEdit::textChanged, this, [this, i](const QString& text) {
            emit edit_changed(i, text);
        });

        QSlider* bar = trackbars_[i] = new QSlider(Qt::Horizontal, this);
        bar->setObjectName(QString::number(6 + i));
        bar->setRange(0, 100);
        bar->setTickPosition(QSlider::TicksBelow);
        bar->setTickInterval(10);
        bar->setValue(50);
        // only the thumb's moves count: dragged (thumb track) and let go (thumb position)
        connect(bar, &QSlider::sliderMoved, this, [this, i](int p) { emit trackbar_moved(i, p); });
        connect(bar, &QSlider::sliderReleased, this,
                [this, i, bar] { emit trackbar_moved(i, bar->sliderPosition()); });

        labels_[i] = new QLabel(this);
        labels_[i]->setFont(section_font());
        labels_[i]->setAutoFillBackground(true);
        labels_[i]->setBackgroundRole(QPalette::Button);
    }
}

QSize SectionView::edit_size() const {
    // the measured text and the frame and margins a line edit puts around it
    return QFontMetrics(section_font()).size(0, "7777777") + QSize(10, 6);
}

int SectionView::label_width() const {
    return QFontMetrics(section_font()).horizontalAdvance(" X factor : 77.77 ");
}

int SectionView::trackbar_height() const { return trackbars_[0]->sizeHint().height(); }

void SectionView::apply_layout(const Layout& layout) {
    for (int i = 0; i < kPanes; ++i) {
        panes_[i]->setGeometry(layout.panes[i]);
        edits_[i]->setGeometry(layout.edits[i]);
        trackbars_[i]->setGeometry(layout.trackbars[i]);
        labels_[i]->setGeometry(layout.labels[i]);
    }
    gaps_[0] = layout.vertical_gap;
    gaps_[1] = layout.horizontal_gap;
}

void SectionView::set_trackbar(int i, int position) {
    const QSignalBlocker quiet(trackbars_[i]);
    trackbars_[i]->setValue(position);
}

void SectionView::set_factor_text(int i, const QString& text) { labels_[i]->setText(text); }

int SectionView::gap_at(QPoint at) const {
    if (gaps_[0].contains(at)) return 0;  // the vertical gap wins where they cross
    if (gaps_[1].contains(at)) return 1;
    return -1;
}

void SectionView::mousePressEvent(QMouseEvent* event) {
    const QPoint at = event->position().toPoint();
    const int gap = gap_at(at);
    if (event->button() != Qt::LeftButton || gap < 0) return;
    dragging_ = gap;
    drag_offset_ = gap == 0 ? at.x() - gaps_[0].x() : at.y() - gaps_[1].y();
    grabMouse();
}

void SectionView::mouseMoveEvent(QMouseEvent* event) {
    const QPoint at = event->position().toPoint();
    if (dragging_ >= 0) {
        emit splitter_dragged(dragging_, (dragging_ == 0 ? at.x() : at.y()) - drag_offset_);
        return;
    }
    static const Qt::CursorShape shapes[] = {Qt::ArrowCursor, Qt::SizeHorCursor, Qt::SizeVerCursor};
    setCursor(shapes[gap_at(at) + 1]);
}

void SectionView::mouseReleaseEvent(QMouseEvent* event) {
    if (dragging_ < 0 || event->button() != Qt::LeftButton) return;
    dragging_ = -1;
    releaseMouse();
}

void SectionView::resizeEvent(QResizeEvent*) { emit resized(size()); }

}  // namespace view
