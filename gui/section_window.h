// The section view of one volume: the view::SectionView widget driven by the section-view
// record and its rules (app/tools/sections.h). The mouse over a pane goes to the coordinates
// read-out; DisplayVolume repaints the view through refresh().
#pragma once

#include "app/tools/sections.h"
#include "view/section_view.h"

namespace gui {

inline constexpr char kSectionClass[] = "section_view";

class SectionWindow : public view::SectionView {
public:
    // vol is shown, not owned; client: the size of the client area at creation.
    SectionWindow(Volume* vol, QSize client, QWidget* parent = nullptr);

    const app::sections::Record& record() const { return record_; }
    // The volume's voxels changed: every pane is built again.
    void refresh();

private:
    void relayout();
    void show_section(int pane);
    void show_marks();
    void on_trackbar(int trackbar, int position);
    void on_edit(int edit, const QString& text);
    void on_hover(int pane, QPoint at);
    void on_clipping_failed();

    app::sections::Record record_;
    bool reporting_clip_ = false;
};

}  // namespace gui
