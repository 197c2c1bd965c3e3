// Edge detection commands. An operator joins by filling its row's .op.
#include "app/command_table.h"
#include "app/services.h"
#include "app/tools/contour.h"
#include "res/commands.h"
#include "res/strings.h"

namespace app {
namespace {
const ValueSpec kWindow = {res::kWindowDims, {res::kXDim, res::kYDim, res::kZDim}};
const ValueSpec kDirections = {res::kPlaneDirection, {res::kXDirection, res::kZDirection}};
const ValueSpec kHough = {res::kHoughDims, {res::kXDim, res::kYDim, res::kZDim, res::kThreshold}};

// The accumulator is an I volume of the dimensions asked (X, Y, Z), the operation's own.
int hough_op(CommandContext& c) {
    if (c.ival(0) < 1 || c.ival(1) < 1 || c.ival(2) < 1) return V3D_ERR_INVALID_PARAMS;
    OwnedVolume acc;
    if (const int status = acc.create(c.ival(2), c.ival(1), c.ival(0), V3D_TYPE_I)) return status;
    return Hough_3D(c.in, c.out, acc.get(), c.ival(3));
}
// Contour following is a toggle: the command ends it while it runs, else starts it.
void toggle_contour_following(const CommandSpec& row) {
    if (contour_following().active()) {
        contour_following().end();
        return;
    }
    run_pattern(row);
}

// The colour command works on a colour original: a grey one is converted first.
bool colour_original(CommandContext& c) {
    if (c.in->colortype == V3D_COLOR_RGB) return true;
    if (const int status = convert_to_colour(c.in)) {
        error_handler(status);
        return false;
    }
    ui().show_message(res::text(res::kConvertedToColor), res::text(res::kShortCaption), Icon::Information);
    return true;
}

int start_contour_following(CommandContext& c) {
    return contour_following().start(c.row->id, c.in, c.out);
}
}  // namespace

void add_edge_commands(std::vector<CommandSpec>& rows) {
    rows.push_back({.id = cmd::kRange, .text = "&Range", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_GREY,
                    .in_caption = res::kInRange, .out_caption = res::kOutRange,
                    .values = kWindow, .out_type = kSameType, .op = window_op<range_3d>});
    rows.push_back({.id = cmd::kCompass, .text = "&Compass", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_GREY,
                    .in_caption = res::kInCompass, .out_caption = res::kOutCompass,
                    .values = kDirections, .out_type = kSameType, .op = int2_op<compas3d>});
    rows.push_back({.id = cmd::kSobel, .text = "&Sobel", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_GREY,
                    .in_caption = res::kInSobel, .out_caption = res::kOutSobel,
                    .out_type = kSameType, .op = unary_op<Sobel_3D>});
    rows.push_back({.id = cmd::kLaplace, .text = "&Laplace", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_GREY,
                    .in_caption = res::kInLaplace, .out_caption = res::kOutLaplace,
                    .out_type = kSameType, .op = unary_op<laplace_3d>});
    // an internal I volume of the given dimensions holds the accumulator
    rows.push_back({.id = cmd::kHough, .text = "&Hough", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_GREY,
                    .in_caption = res::kSelectVolume, .values = kHough, .out_type = kSameType,
                    .op = hough_op});
    // contour following in two linked display windows (a toggle); B&W writes the contours
    // into a one-channel output, colour draws them over a colour copy of the original
    rows.push_back({.id = cmd::kBwContourFollowing, .text = "B&W Contour Following", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_ANY,
                    .in_caption = res::kEdgeFollowIn, .out_caption = res::kEdgeFollowOut,
                    .out_type = V3D_TYPE_UC, .out_color = V3D_COLOR_GREY, .in_place = false,
                    .op = start_contour_following, .after = After::Nothing, .custom = toggle_contour_following});
    rows.push_back({.id = cmd::kColorContourFollowing, .text = "&Color Contour Following", .typemask = V3D_TYPE_UC,
                    .colormask = V3D_COLOR_ANY, .in_caption = res::kEdgeFollowIn,
                    .out_caption = res::kEdgeFollowOut, .options = colour_original,
                    .out_type = V3D_TYPE_UC, .out_color = V3D_COLOR_RGB, .in_place = false,
                    .op = start_contour_following, .after = After::Nothing, .custom = toggle_contour_following});
}

}  // namespace app
