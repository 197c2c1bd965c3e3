#include "app/tools/sections.h"

#include <algorithm>
#include <cmath>

#include "res/strings.h"

namespace app::sections {
namespace {

// Around and between the controls in the free quarter of the client.
constexpr int kSpacing = 4;

// The voxel at section row r, column c of a pane's plane through point p.
Point voxel_of(int pane, const Point& p, int r, int c) {
    switch (pane) {
    case kXY: return {c, r, p.z};
    case kXZ: return {c, p.y, r};
    default: return {p.x, r, c};  // YZ: rows y, columns z
    }
}

// The axes (0 x, 1 y, 2 z) that run across and down a pane.
int across(int pane) { return pane == kYZ ? 2 : 0; }
int down(int pane) { return pane == kXZ ? 2 : 1; }

// The picture pixel of a voxel coordinate, and the picture length of an extent (all samples
// for s >= 1, every |s|-th otherwise).
int picture_pixel(int coordinate, int setting) { return setting >= 1 ? coordinate : coordinate / -setting; }

// The content pixel in the middle of the screen pixels a picture pixel takes.
int middle_of(int pixel, double stretch) { return static_cast<int>(std::floor((pixel + 0.5) * stretch)); }

// The section coordinate under a content pixel.
int coordinate_of(int content, double stretch, int setting) {
    const int pixel = static_cast<int>(std::floor(content / stretch));
    return setting >= 1 ? pixel : pixel * -setting;
}

}  // namespace

int settled_position(int position) { return position == 49 || position == 50 ? 48 : position; }

int setting_of(int position) { return settled_position(position) - kTrackbarStart; }

double factor(int setting) { return setting >= 1 ? setting : 1.0 / -setting; }

std::string factor_text(int trackbar, int setting) {
    return res::format(res::kXFactor + trackbar, factor(setting));
}

int scaled(int n, int setting) { return setting >= 1 ? n * setting : n / -setting; }

int span(int n, double stretch) { return static_cast<int>(std::lround(n * stretch)); }

int edit_of_pane(int pane) {
    // XY is cut at z (edit 3), XZ at y (edit 5), YZ at x (edit 4)
    static const int edits[kPanes] = {0, 2, 1};
    return edits[pane];
}

Record Record::create(Volume* vol, int w, int h) {
    Record r;
    r.vol = vol;
    r.split_x = w / 2;
    r.split_y = h / 2;
    r.point = {vol->X / 2, vol->Y / 2, vol->Z / 2};
    r.read_proportions();
    return r;
}

void Record::read_proportions() {
    double s[3] = {1.0, 1.0, 1.0};  // z, y, x
    GetVolumeSpacing(vol, &s[0], &s[1], &s[2]);
    const double least = std::min({s[0], s[1], s[2]});
    for (int axis = 0; axis < 3; ++axis) proportion[axis] = std::min(s[2 - axis] / least, kMaxProportion);
}

void Record::extent(int pane, int& cols, int& rows) const {
    cols = pane == kYZ ? vol->Z : vol->X;
    rows = pane == kXZ ? vol->Z : vol->Y;
}

Picture Record::picture(int pane) const {
    const int s = settings[pane], step = s >= 1 ? 1 : -s;
    int cols, rows;
    extent(pane, cols, rows);
    Picture p;
    p.width = s >= 1 ? cols : cols / step;
    p.height = s >= 1 ? rows : rows / step;
    p.channels = vol->colortype == V3D_COLOR_RGB ? 3 : 1;
    p.stride = (p.width * p.channels + 3) / 4 * 4;
    p.bits.assign(static_cast<size_t>(p.stride) * p.height, 0);
    for (int r = 0; r < p.height; ++r) {
        unsigned char* line = p.row(r);
        for (int c = 0; c < p.width; ++c) {
            const Point v = voxel_of(pane, point, r * step, c * step);
            if (p.channels == 1) {
                line[c] = vol->data[0].uc[v.z][v.y][v.x];
            } else {
                for (int ch = 0; ch < 3; ++ch) line[3 * c + 2 - ch] = vol->data[ch].uc[v.z][v.y][v.x];
            }
        }
    }
    return p;
}

void Record::content_size(int pane, int& w, int& h) const {
    int cols, rows;
    extent(pane, cols, rows);
    w = span(picture_pixel(cols, settings[pane]), stretch_x(pane));
    h = span(picture_pixel(rows, settings[pane]), stretch_y(pane));
}

double Record::stretch_x(int pane) const { return std::max(settings[pane], 1) * proportion[across(pane)]; }
double Record::stretch_y(int pane) const { return std::max(settings[pane], 1) * proportion[down(pane)]; }

bool Record::voxel_at(int pane, int px, int py, Point& voxel) const {
    int w, h;
    content_size(pane, w, h);
    if (px < 0 || py < 0 || px >= w || py >= h) return false;
    const int s = settings[pane];
    voxel = voxel_of(pane, point, coordinate_of(py, stretch_y(pane), s), coordinate_of(px, stretch_x(pane), s));
    int cols, rows;
    extent(pane, cols, rows);  // the last screen pixel may round past the picture's edge
    const int col = pane == kYZ ? voxel.z : voxel.x, row = pane == kXZ ? voxel.z : voxel.y;
    return col < cols && row < rows;
}

void Record::mark(int pane, int& px, int& py) const {
    const int s = settings[pane];
    const int col = pane == kYZ ? point.z : point.x;
    const int row = pane == kXZ ? point.z : point.y;
    px = middle_of(picture_pixel(col, s), stretch_x(pane));
    py = middle_of(picture_pixel(row, s), stretch_y(pane));
}

int Record::move_trackbar(int trackbar, int position) {
    const int settled = settled_position(std::clamp(position, kTrackbarMin, kTrackbarMax));
    settings[trackbar] = setting_of(settled);
    return settled;
}

int Record::type_coordinate(int edit, const std::string& text) {
    // an empty field (the user clearing it to type anew) is no coordinate; nine digits are
    // beyond any extent
    if (text.empty() || text.size() > 9 ||
        !std::all_of(text.begin(), text.end(), [](char ch) { return ch >= '0' && ch <= '9'; }))
        return -1;
    const int value = std::stoi(text);
    switch (edit) {
    case 0:
        if (value >= vol->Z) return -1;
        point.z = value;
        return kXY;
    case 1:
        if (value >= vol->X) return -1;
        point.x = value;
        return kYZ;
    case 2:
        if (value >= vol->Y) return -1;
        point.y = value;
        return kXZ;
    default:
        return -1;
    }
}

bool Record::move_splitter(Splitter which, int position, int w, int h) {
    int& split = which == Splitter::Vertical ? split_x : split_y;
    const int limit = (which == Splitter::Vertical ? w : h) - kGap;
    const int moved = std::clamp(position, 0, std::max(limit, 0));
    if (which == Splitter::None || moved == split) return false;
    split = moved;
    return true;
}

Splitter Record::splitter_at(int px, int py, int w, int h) const {
    if (px < 0 || py < 0 || px >= w || py >= h) return Splitter::None;
    if (px >= split_x && px < split_x + kGap) return Splitter::Vertical;
    if (py >= split_y && py < split_y + kGap) return Splitter::Horizontal;
    return Splitter::None;
}

Layout Record::layout(int w, int h, const ControlMetrics& m) const {
    Layout l;
    const int right = split_x + kGap, below = split_y + kGap;
    l.panes[kXY] = {0, 0, split_x, split_y};
    l.panes[kXZ] = {0, below, split_x, std::max(h - below, 0)};
    l.panes[kYZ] = {right, 0, std::max(w - right, 0), split_y};
    l.vertical_gap = {split_x, 0, kGap, h};
    l.horizontal_gap = {0, split_y, w, kGap};
    // the controls fill the free quarter, one row a pane: the edit of its plane's coordinate,
    // its trackbar and its factor
    const int row_h = std::max(m.edit_h, m.trackbar_h) + kSpacing;
    for (int pane = 0; pane < kPanes; ++pane) {
        const int top = below + kSpacing + pane * row_h;
        const int x = right + kSpacing;
        l.edits[edit_of_pane(pane)] = {x, top + (row_h - kSpacing - m.edit_h) / 2, m.edit_w, m.edit_h};
        const int tx = x + m.edit_w + kSpacing;
        l.trackbars[pane] = {tx, top + (row_h - kSpacing - m.trackbar_h) / 2, kTrackbarWidth, m.trackbar_h};
        l.labels[pane] = {tx + kTrackbarWidth + kSpacing, top + (row_h - kSpacing - m.edit_h) / 2,
                          m.label_w, m.edit_h};
    }
    return l;
}

}  // namespace app::sections
