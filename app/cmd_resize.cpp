// Resizing and interpolation commands. An operator joins by filling its row's .op.
#include "app/commands.h"
#include "res/strings.h"

namespace app {
namespace {

// the factor asked multiplies or divides every dimension
void times_factor(const CommandContext& c, int& Z, int& Y, int& X) {
    const int f = c.ival(0) > 0 ? c.ival(0) : 1;
    Z *= f, Y *= f, X *= f;
}
void by_factor(const CommandContext& c, int& Z, int& Y, int& X) {
    const int f = c.ival(0) > 0 ? c.ival(0) : 1;
    Z = (Z + f - 1) / f, Y = (Y + f - 1) / f, X = (X + f - 1) / f;
}

// k - 1 frames between each pair of frames
void padded_frames(const CommandContext& c, int& Z, int&, int&) {
    const int k = c.ival(0) > 0 ? c.ival(0) : 1;
    Z = k * (Z - 1) + 1;
}

}  // namespace

void add_resize_commands(std::vector<CommandSpec>& rows) {
    rows.push_back({.id = 1150, .text = "Uniform &Zooming", .typemask = 1, .colormask = 3,
                    .values = {res::kZoomingFactor, {res::kZoomFactor}}, .out_type = kSameType,
                    .out_dims = times_factor, .op = factor_op<zoom3d>});
    rows.push_back({.id = 1151, .text = "Uniform &Decimation", .typemask = 1, .colormask = 3,
                    .values = {res::kDecimationFactor, {res::kDecimFactor}},
                    .out_type = kSameType, .out_dims = by_factor, .op = factor_op<decim3>});
    // "Interpolation Options" captioned "3D Interpolation Options"
    rows.push_back({.id = 1152, .text = "3D &Interpolation/Decimation", .typemask = 1,
                    .colormask = 3, .out_type = kSameType, .in_place = false,
                    .op = nullptr});  // InterpolationNearestNeighbor3d / InterpolationLinear3d
    rows.push_back({.id = 1153, .text = "&Frame Interpolation/Decimation", .typemask = 1,
                    .colormask = 3, .out_type = kSameType, .in_place = false,
                    .op = nullptr});  // InterpolationFrameLinear3d
    rows.push_back({.id = 1154, .text = "&Binary Frame Interpolation", .typemask = 1,
                    .colormask = 1, .out_type = kSameType, .in_place = false,
                    .op = nullptr});  // FrameInterpolationBinary
    rows.push_back({.id = 1155, .text = "Zero Frame &Padding", .typemask = 1, .colormask = 3,
                    .values = {res::kPaddingFactor, {res::kPadFactor}}, .out_type = kSameType,
                    .out_dims = padded_frames, .op = factor_op<FrameZeroPadding>});
}

}  // namespace app
