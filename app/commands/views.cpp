// Visualisation commands: the frame displays, sections, gallery, coordinates, alignment.
#include "app/command_table.h"
#include "app/services.h"
#include "app/state.h"
#include "res/commands.h"
#include "res/strings.h"

namespace app {
namespace {

// "Select Volume to Display", the levels dialog, then a display window of the range.
void open_display(int mode, int colormask) {
    SelectRequest r;
    r.kind = SelectKind::Other;
    r.typemask = 1;
    r.colormask = colormask;
    r.caption = res::text(res::kSelectToDisplay);
    Selection s;
    if (!ui().select(r, s) || !s.vol) return;
    LevelsRequest levels;
    levels.upper = s.vol->Z - 1;
    if (!ui().ask_levels(s.vol, levels)) return;
    if (levels.upper >= s.vol->Z) {
        error_handler(611);
        return;
    }
    if (!workspace() ||
        !workspace()->open_display(mode, s.vol, levels.delay, levels.lower, levels.upper, 0))
        error_handler(612);
}

void bw_display(const CommandSpec&) { open_display(2, 1); }
void color_display(const CommandSpec&) { open_display(1, 2); }

}  // namespace

void add_view_commands(std::vector<CommandSpec>& rows) {
    rows.push_back({.id = cmd::kBwDisplay, .text = "&BW Display", .typemask = 1, .colormask = 1,
                    .after = After::Nothing, .custom = bw_display});
    rows.push_back({.id = cmd::kColorDisplay, .text = "&Color Display", .typemask = 1, .colormask = 2,
                    .after = After::Nothing, .custom = color_display});
    // the section view, the frame gallery, the coordinates read-out and the alignment tool
    // join with their windows
    rows.push_back({.id = cmd::kViewSections, .text = "View &Sections", .typemask = 1, .colormask = 3,
                    .after = After::Nothing});
    rows.push_back({.id = cmd::kFrameGallery, .text = "&Frame Gallery", .after = After::Nothing});
    rows.push_back({.id = cmd::kDisplayCoordinates, .text = "D&isplay Coordinates", .after = After::Nothing});
    rows.push_back({.id = cmd::kManualAlignment, .text = "Manual Frame A&lignment", .typemask = 1,
                    .colormask = 3, .in_caption = res::kSelectInput, .out_type = kSameType,
                    .in_place = false, .after = After::Nothing});
}

}  // namespace app
