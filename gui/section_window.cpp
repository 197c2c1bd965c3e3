#include "gui/section_window.h"

#include <QImage>
#include <QLineEdit>
#include <cstring>

#include "app/services.h"
#include "app/tools/tools.h"
#include "res/strings.h"

namespace gui {
namespace sec = app::sections;
namespace {

QRect to_rect(const sec::Rect& r) { return {r.x, r.y, r.w, r.h}; }

// A section picture as Qt paints it: the rows top-down again, 8-bit grey or 24-bit colour.
QImage to_image(const sec::Picture& p) {
    const bool grey = p.channels == 1;
    QImage image(p.width, p.height, grey ? QImage::Format_Indexed8 : QImage::Format_BGR888);
    if (image.isNull()) return image;
    if (grey) {
        QList<QRgb> table(256);
        for (int i = 0; i < 256; ++i) table[i] = qRgb(i, i, i);
        image.setColorTable(table);
    }
    for (int r = 0; r < p.height; ++r)
        std::memcpy(image.scanLine(r), p.row(r), static_cast<size_t>(p.width) * p.channels);
    return image;
}

}  // namespace

SectionWindow::SectionWindow(Volume* vol, QSize client, QWidget* parent)
    : view::SectionView(client, parent),
      record_(sec::Record::create(vol, client.width(), client.height())) {
    // the edit fields show the current point (z, x, y) before they are listened to
    const int point[] = {record_.point.z, record_.point.x, record_.point.y};
    for (int i = 0; i < kPanes; ++i) {
        edit(i)->setText(QString::number(point[i]));
        set_factor_text(i, QString::fromStdString(sec::factor_text(i, record_.settings[i])));
    }
    connect(this, &SectionView::trackbar_moved, this, &SectionWindow::on_trackbar);
    connect(this, &SectionView::edit_changed, this, &SectionWindow::on_edit);
    connect(this, &SectionView::splitter_dragged, this, [this](int splitter, int position) {
        const auto which = splitter == 0 ? sec::Splitter::Vertical : sec::Splitter::Horizontal;
        if (record_.move_splitter(which, position, width(), height())) relayout();
    });
    connect(this, &SectionView::resized, this, &SectionWindow::relayout);
    connect(this, &SectionView::pane_hovered, this, &SectionWindow::on_hover);
    connect(this, &SectionView::pane_left, this, [] { app::left_images(); });
    // reported after the paint, so that no message box opens inside it
    connect(this, &SectionView::clipping_failed, this, &SectionWindow::on_clipping_failed,
            Qt::QueuedConnection);
    relayout();
    refresh();
}

void SectionWindow::refresh() {
    record_.read_proportions();  // the volume may carry another spacing now
    for (int pane = 0; pane < kPanes; ++pane) show_section(pane);
    show_marks();
}

void SectionWindow::relayout() {
    const QSize edit_box = edit_size();
    const sec::Layout l = record_.layout(
        width(), height(), {edit_box.width(), edit_box.height(), label_width(), trackbar_height()});
    Layout layout;
    for (int i = 0; i < kPanes; ++i) {
        layout.panes[i] = to_rect(l.panes[i]);
        layout.edits[i] = to_rect(l.edits[i]);
        layout.trackbars[i] = to_rect(l.trackbars[i]);
        layout.labels[i] = to_rect(l.labels[i]);
    }
    layout.vertical_gap = to_rect(l.vertical_gap);
    layout.horizontal_gap = to_rect(l.horizontal_gap);
    apply_layout(layout);
}

void SectionWindow::show_section(int p) {
    pane(p)->set_picture(to_image(record_.picture(p)), QSizeF(record_.stretch_x(p), record_.stretch_y(p)));
}

void SectionWindow::show_marks() {
    for (int p = 0; p < kPanes; ++p) {
        int x, y;
        record_.mark(p, x, y);
        pane(p)->set_mark({x, y});
    }
}

void SectionWindow::on_trackbar(int trackbar, int position) {
    const int before = record_.settings[trackbar];
    const int settled = record_.move_trackbar(trackbar, position);
    if (settled != position) set_trackbar(trackbar, settled);
    if (record_.settings[trackbar] == before) return;
    set_factor_text(trackbar,
                    QString::fromStdString(sec::factor_text(trackbar, record_.settings[trackbar])));
    show_section(trackbar);
    show_marks();
    relayout();
    // the current point stays in sight at the new factor
    pane(trackbar)->center_on_mark();
}

void SectionWindow::on_edit(int edit, const QString& text) {
    const int changed = record_.type_coordinate(edit, text.toStdString());
    if (changed < 0) return;
    show_section(changed);
    show_marks();  // the other panes only move their lines
}

void SectionWindow::on_hover(int pane, QPoint at) {
    sec::Point v;
    if (record_.voxel_at(pane, at.x(), at.y(), v))
        app::voxel_hovered(record_.vol, v.z, v.y, v.x);
    else
        app::left_images();
}

void SectionWindow::on_clipping_failed() {
    if (reporting_clip_) return;  // one box at a time, however often the panes repaint
    reporting_clip_ = true;
    error_handler(res::kClipFailed);
    reporting_clip_ = false;
}

}  // namespace gui
