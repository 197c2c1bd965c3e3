// Resizing and interpolation commands. An operator joins by filling its row's .op.
#include "app/commands.h"
#include "res/strings.h"

namespace app {

void add_resize_commands(std::vector<CommandSpec>& rows) {
    // the output's dimensions are the input's multiplied by the factor
    rows.push_back({.id = 1150, .text = "Uniform &Zooming", .typemask = 1, .colormask = 3,
                    .values = {res::kZoomingFactor, {res::kZoomFactor}}, .out_type = kSameType,
                    .op = nullptr});  // zoom3d
    rows.push_back({.id = 1151, .text = "Uniform &Decimation", .typemask = 1, .colormask = 3,
                    .values = {res::kDecimationFactor, {res::kDecimFactor}},
                    .out_type = kSameType, .op = nullptr});  // decim3
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
                    .op = nullptr});  // FrameZeroPadding
}

}  // namespace app
