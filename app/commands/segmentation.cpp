// Segmentation and labelling commands. An operator joins by filling its row's .op.
#include "app/command_table.h"
#include "app/services.h"
#include "app/tools/labelled_view.h"
#include "app/workspace.h"
#include "res/commands.h"
#include "res/strings.h"

namespace app {
namespace {
const ValueSpec kThreshold = {res::kThresholdValue, {res::kThreshold}};
const ValueSpec kThresholdRegions = {res::kThresholdMaxRegions,
                                     {res::kThreshold, res::kMaxRegions}};

// Labels up to 255 objects (the input is consumed) and reports how many it found.
int label_op(CommandContext& c) {
    int labels = 0;
    float counts[255];
    const int status = grass3d_label(c.in, c.out, &labels, counts, 255);
    if (status == 0) c.message = format_count(res::kNumberOfRegions, labels);
    return status;
}
// Only one labelled volume view at a time.
void view_labelled(const CommandSpec& row) {
    if (labelled_view().in_progress()) {
        error_handler(res::kLabelledViewBusy);
        return;
    }
    run_pattern(row);
}

// The preparation, the opening (the whole output coloured), then the modeless dialog.
int open_labelled_view(CommandContext& c) {
    LabelledView& view = labelled_view();
    if (const int status = view.prepare(c.in, c.out)) return status;
    if (const int status = view.open()) return status;
    if (!workspace() || !workspace()->open_labelled_view()) {
        view.close();
        return res::kCannotCreateWindow;
    }
    ui().show_message(res::text(res::kLabelledViewHint), res::text(res::kCaption), Icon::Information);
    return 0;
}
}  // namespace

void add_segmentation_commands(std::vector<CommandSpec>& rows) {
    rows.push_back({.id = cmd::kThreshold, .text = "&Threshold", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_GREY,
                    .values = kThreshold, .out_type = kSameType, .op = int_op<threshold_3d>});
    // the output is cleared over its whole extent and "Pixel Input" gives the seed voxels
    rows.push_back({.id = cmd::kRegionGrow, .text = "Region &Grow", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_GREY,
                    .values = kThreshold, .out_type = kSameType, .op = seeded_op<region3d_grow>});
    rows.push_back({.id = cmd::kRegionSplit, .text = "Region &Split", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_GREY,
                    .values = kThreshold, .out_type = kSameType, .op = counted_op<region3d_split, res::kNoOfRegions>,
                    .after = After::MessageAndDisplay, .message_caption = res::kCaption});
    rows.push_back({.id = cmd::kRegionMerge, .text = "Region &Merge", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_GREY,
                    .values = kThresholdRegions, .out_type = kSameType, .op = returns_count_op<region3d_merge, res::kNumberOfRegions>,
                    .after = After::Message, .message_caption = res::kCaption});
    rows.push_back({.id = cmd::kRegionSplitMerge, .text = "Region S&plit-Merge", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_GREY,
                    .values = kThreshold, .out_type = kSameType, .op = counted_op<region3d_splitmerge, res::kNumberOfRegions>,
                    .after = After::MessageAndDisplay, .message_caption = res::kCaption});
    rows.push_back({.id = cmd::kLabelObjects, .text = "&Label/Count objects", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_GREY,
                    .out_type = kSameType, .confirm_input = true, .op = label_op,
                    .after = After::DisplayBoth, .message_caption = res::kCaption});
    // the modeless "Labelled Volume View"; output created with three channels
    rows.push_back({.id = cmd::kViewLabelled, .text = "&View Labelled Volume", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_GREY,
                    .in_caption = res::kInLabelled, .out_type = V3D_TYPE_UC, .out_color = V3D_COLOR_RGB,
                    .in_place = false, .op = open_labelled_view, .after = After::Nothing, .custom = view_labelled});
}

}  // namespace app
