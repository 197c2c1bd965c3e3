// The section view's record and rules, without Qt: three orthogonal sections through the
// current point of a UC volume (the XY frame at z, the XZ plane at y, the YZ plane at x), each
// with its own magnification, the panes separated by two movable splitter gaps. The window
// (view::SectionView) paints what these rules compute and reports what the user did.
//
// Sections are drawn in the volume's true proportions: a pane stretches each of its directions
// by that axis's voxel spacing over the smallest of the three (GetVolumeSpacing), on top of its
// magnification, so that the XZ and YZ panes of a 0.5 x 0.5 x 5 mm series are ten times as tall
// in Z as the frames' voxels are wide. Cubic voxels (every volume without a spacing) stretch by 1.
#pragma once

#include <string>
#include <vector>

#include "vexilo3d.h"

namespace app::sections {

// The panes in creation order: XY top left, XZ bottom left, YZ top right. Trackbar i (id 6 + i,
// labelled "X factor", "Y factor", "Z factor") sets the magnification of pane i.
enum Pane : int { kXY = 0, kXZ = 1, kYZ = 2 };
constexpr int kPanes = 3;

constexpr int kGap = 8;               // width of a splitter gap
constexpr int kFirstEdit = 3;         // edits 3, 4, 5: z, x, y
constexpr int kFirstTrackbar = 6;     // trackbars 6, 7, 8
constexpr int kTrackbarMin = 0, kTrackbarMax = 100, kTrackbarStart = 50;
constexpr int kTickFrequency = 10;
constexpr int kTrackbarWidth = 100;
// The largest stretch for proportions: a spacing ratio beyond it (a mistyped spacing) would
// make panes of absurd sizes.
constexpr double kMaxProportion = 32.0;

struct Rect {
    int x = 0, y = 0, w = 0, h = 0;
    bool contains(int px, int py) const { return px >= x && py >= y && px < x + w && py < y + h; }
    bool operator==(const Rect&) const = default;
};

struct Point {
    int x = 0, y = 0, z = 0;
    bool operator==(const Point&) const = default;
};

// ---- magnification ------------------------------------------------------------------------

// The position a trackbar is left at: 49 and 50 move to 48, so that the setting is never 0 or -1.
int settled_position(int position);
// The setting of a trackbar position (after settling): position - 50.
int setting_of(int position);
// The factor a setting stands for: s for s >= 1, 1/|s| for s <= -2.
double factor(int setting);
// "X factor : %4.2f" for trackbar 0, "Y ..." for 1, "Z ..." for 2.
std::string factor_text(int trackbar, int setting);
// A length of n voxels on the screen: n * s, or n / |s| (integer division).
int scaled(int n, int setting);
// n picture pixels stretched by stretch screen pixels each, rounded.
int span(int n, double stretch);

// ---- layout -------------------------------------------------------------------------------

enum class Splitter { None, Vertical, Horizontal };

// The control sizes, measured in the view's font.
struct ControlMetrics {
    int edit_w = 0, edit_h = 0;       // "7777777"
    int label_w = 0;                  // " X factor : 77.77 "
    int trackbar_h = 0;
};

struct Layout {
    Rect panes[kPanes];
    Rect edits[kPanes];               // by id: 3, 4, 5
    Rect trackbars[kPanes];           // 6, 7, 8
    Rect labels[kPanes];              // the factor texts
    Rect vertical_gap, horizontal_gap;
};

// The edit (index 0..2, id 3 + index) that sets the fixed coordinate of a pane's plane.
int edit_of_pane(int pane);

// ---- sections -----------------------------------------------------------------------------

// A section copied for painting: rows padded to 4 bytes, the bottom row first, one byte a
// sample (grey) or three (blue, green, red) for three-channel volumes.
struct Picture {
    int width = 0, height = 0, channels = 1, stride = 0;
    std::vector<unsigned char> bits;
    // Row r counted from the top.
    unsigned char* row(int r) { return bits.data() + (height - 1 - r) * stride; }
    const unsigned char* row(int r) const { return bits.data() + (height - 1 - r) * stride; }
};

// The section view's record: the volume shown (not owned), the magnification settings, the
// splitter positions and the current point.
struct Record {
    Volume* vol = nullptr;
    int settings[kPanes] = {1, 1, 1};  // factor 1 while the trackbars stand at 50
    int split_x = 0, split_y = 0;
    Point point;
    // screen pixels per voxel along x, y and z at magnification 1: the true proportions
    double proportion[3] = {1.0, 1.0, 1.0};

    // A record for a view of vol whose client is w x h: the splitters at the middle, the point
    // at the volume's middle, the proportions of its voxels.
    static Record create(Volume* vol, int w, int h);
    // The proportions from the volume's spacing again (it may have changed since).
    void read_proportions();

    // The section extent of a pane in voxels (columns, rows).
    void extent(int pane, int& cols, int& rows) const;
    // The picture a pane shows, built at its magnification: all samples for s >= 1 (stretched
    // by s when drawn), every |s|-th in both directions for s <= -2.
    Picture picture(int pane) const;
    // The pane's content size on the screen (the picture stretched or sampled).
    void content_size(int pane, int& w, int& h) const;
    // How many screen pixels one picture pixel takes across and down: s for s >= 1, else 1,
    // times the proportion of the pane's axis in that direction.
    double stretch_x(int pane) const;
    double stretch_y(int pane) const;
    // The voxel under content pixel (px, py) of a pane (scroll position included); false off
    // the section.
    bool voxel_at(int pane, int px, int py, Point& voxel) const;
    // Where a pane marks the current point: the content column and row of its lines.
    void mark(int pane, int& px, int& py) const;

    // A trackbar moved to position: the setting changes; returns the position the trackbar is
    // to be set to.
    int move_trackbar(int trackbar, int position);
    // The text of edit (index 0..2) changed: edit 3 sets z, 4 sets x, 5 sets y when the number
    // lies below the volume's extent. Returns the pane to repaint, or -1 when it was ignored.
    int type_coordinate(int edit, const std::string& text);
    // A splitter dragged to position, kept inside a w x h client; true when it moved.
    bool move_splitter(Splitter which, int position, int w, int h);
    // The gap under (px, py): the vertical one wins where they cross.
    Splitter splitter_at(int px, int py, int w, int h) const;

    // The panes, edit fields, trackbars and factor texts for a w x h client.
    Layout layout(int w, int h, const ControlMetrics& m) const;
};

}  // namespace app::sections
