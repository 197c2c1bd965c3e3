// Visualisation commands: the frame displays, sections, gallery, coordinates, alignment.
#include "app/command_table.h"
#include "app/projections.h"
#include "app/services.h"
#include "app/state.h"
#include "app/tools/alignment.h"
#include "app/tools/coordinates.h"
#include "res/commands.h"
#include "res/strings.h"

namespace app {

Volume* select_to_display(int colormask) {
    SelectRequest r;
    r.kind = SelectKind::Other;
    r.typemask = V3D_TYPE_UC;
    r.colormask = colormask;
    r.caption = res::text(res::kSelectToDisplay);
    Selection s;
    return ui().select(r, s) ? s.vol : nullptr;
}

namespace {

// "Select Volume to Display", the levels dialog, then a display window of the range.
void open_display(int mode, int colormask) {
    Volume* vol = select_to_display(colormask);
    if (!vol) return;
    LevelsRequest levels;
    levels.upper = vol->Z - 1;
    if (!ui().ask_levels(vol, levels)) return;
    if (levels.upper >= vol->Z) {
        error_handler(res::kCannotDisplayFrames);
        return;
    }
    if (!workspace() ||
        !workspace()->open_display(mode, vol, levels.delay, levels.lower, levels.upper, 0))
        error_handler(res::kEnoughWindows);
}

// Shows the read-out when it is hidden (creating it the first time), hides it otherwise.
void toggle_coordinates(const CommandSpec&) {
    const bool show = !coordinates_shown();
    if (!workspace() || !workspace()->show_coordinates(show)) {
        error_handler(res::kCannotCreateWindow);
        return;
    }
    set_coordinates_shown(show);
}

// The three orthogonal sections of a UC volume through its middle voxel.
void view_sections(const CommandSpec&) {
    Volume* vol = select_to_display(V3D_COLOR_ANY);
    if (vol && (!workspace() || !workspace()->open_section_view(vol)))
        error_handler(res::kCannotCreateWindow);
}

// Only one alignment at a time.
void manual_alignment(const CommandSpec& row) {
    if (alignment().in_progress()) {
        error_handler(res::kAlignmentBusy);
        return;
    }
    run_pattern(row);
}

// With the output prepared: "Manual Alignment Options", then the tool.
int start_alignment(CommandContext& c) {
    OptionsRequest request = alignment_request(c.in);
    if (!ui().ask_options(request)) return kReported;
    AlignmentOptions options;
    if (const int status = read_alignment_options(request, c.in, options)) return status;
    return alignment().start(c.in, c.out, options);
}

void bw_display(const CommandSpec&) { open_display(kBlackAndWhite, V3D_COLOR_GREY); }
void color_display(const CommandSpec&) { open_display(kColour, V3D_COLOR_RGB); }

}  // namespace

void add_view_commands(std::vector<CommandSpec>& rows) {
    rows.push_back({.id = cmd::kBwDisplay, .text = "&BW Display", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_GREY,
                    .after = After::Nothing, .custom = bw_display});
    rows.push_back({.id = cmd::kColorDisplay, .text = "&Color Display", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_RGB,
                    .after = After::Nothing, .custom = color_display});
    rows.push_back({.id = cmd::kViewSections, .text = "View &Sections", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_ANY,
                    .after = After::Nothing, .custom = view_sections});
    rows.push_back({.id = cmd::kFrameGallery, .text = "&Frame Gallery", .after = After::Nothing,
                    .custom = frame_gallery});
    rows.push_back({.id = cmd::kDisplayCoordinates, .text = "D&isplay Coordinates",
                    .after = After::Nothing, .custom = toggle_coordinates});
    rows.push_back({.id = cmd::kManualAlignment, .text = "Manual Frame A&lignment", .typemask = V3D_TYPE_UC,
                    .colormask = V3D_COLOR_ANY, .in_caption = res::kSelectInput, .out_type = kSameType,
                    .in_place = false, .op = start_alignment, .after = After::Nothing, .custom = manual_alignment});
}

}  // namespace app
