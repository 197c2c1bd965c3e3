// Resizing and interpolation commands.
#include <cmath>

#include "app/command_table.h"
#include "app/services.h"
#include "res/commands.h"
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


// "Interpolation Options": c.ints = {method (0 nearest neighbour, 1 linear), mode (1: to the
// output's own size)}, c.reals = the factors X, Y, Z ("%f"; only Z for frame resampling).
bool ask_interpolation(CommandContext& c, int caption, int first_factor) {
    OptionsRequest r;
    r.kind = OptionsKind::Interpolation;
    r.caption = res::text(caption);
    for (auto& f : r.factors) f.assign(1, '1');  // (GCC 12 misjudges the plain assignment)
    if (!ui().ask_options(r)) return false;
    float factors[3] = {1.f, 1.f, 1.f};
    for (int i = first_factor; i < 3 && !r.check; ++i)
        if (!parse_float(r.factors[i], factors[i])) {
            error_handler(V3D_ERR_INVALID_PARAMS);
            return false;
        }
    c.ints = {r.choice, r.check ? 1 : 0};
    c.reals = {factors[0], factors[1], factors[2]};
    c.output_as_chosen = r.check;
    return true;
}
bool ask_3d_interpolation(CommandContext& c) { return ask_interpolation(c, res::kInterp3dOptions, 0); }
bool ask_frame_interpolation(CommandContext& c) {
    return ask_interpolation(c, res::kFrameInterpOptions, 2);
}

// "Binary Frame Interpolation Options": c.ints = {k (2 or 3), fill}; "Use edge coherence"
// asks for the contour fill of the new frames.
bool ask_binary_interpolation(CommandContext& c) {
    OptionsRequest r;
    r.kind = OptionsKind::BinaryFrameInterpolation;
    r.caption = "Binary Frame Interpolation Options";
    if (!ui().ask_options(r)) return false;
    c.ints = {r.choice + 2, r.check ? 1 : 0};
    return true;
}

// The VOI scaled by the factors (truncated, in single precision as the operators do).
void scaled_voi(const CommandContext& c, int& Z, int& Y, int& X) {
    if (c.ival(1)) return;
    const Volume* in = c.in;
    Z = static_cast<int>(static_cast<float>(in->z2 - in->z1) * c.rval(2));
    Y = static_cast<int>(static_cast<float>(in->y2 - in->y1) * c.rval(1));
    X = static_cast<int>(static_cast<float>(in->x2 - in->x1) * c.rval(0));
}

// An integral factor keeps the first and last frames: (frames - 1) fz + 1; another one
// frames x fz.
void resampled_frames(const CommandContext& c, int& Z, int&, int&) {
    if (c.ival(1)) return;
    const int frames = c.in->z2 - c.in->z1;
    const float fz = c.rval(2);
    Z = fz == std::floor(fz) ? static_cast<int>((frames - 1) * static_cast<double>(fz) + 1)
                             : static_cast<int>(static_cast<float>(frames) * fz);
}

void interpolated_frames(const CommandContext& c, int& Z, int&, int&) {
    Z = c.ival(0) * (c.in->z2 - c.in->z1 - 1) + 1;
}

int interpolation_op(CommandContext& c) {
    const auto op = c.ival(0) ? InterpolationLinear3d : InterpolationNearestNeighbor3d;
    return op(c.in, c.out, c.ival(1), c.rval(2), c.rval(1), c.rval(0), 0, 0, 0);
}

int frame_interpolation_op(CommandContext& c) {
    return InterpolationFrameLinear3d(c.in, c.out, c.ival(1), c.rval(2), 0, 0, 0);
}

int binary_interpolation_op(CommandContext& c) {
    return FrameInterpolationBinary(c.in, c.out, c.ival(0), 0, 0, 0, c.ival(1));
}

}  // namespace

void add_resize_commands(std::vector<CommandSpec>& rows) {
    rows.push_back({.id = cmd::kZoom, .text = "Uniform &Zooming", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_ANY,
                    .values = {res::kZoomingFactor, {res::kZoomFactor}}, .out_type = kSameType,
                    .out_dims = times_factor, .op = factor_op<zoom3d>});
    rows.push_back({.id = cmd::kDecimation, .text = "Uniform &Decimation", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_ANY,
                    .values = {res::kDecimationFactor, {res::kDecimFactor}},
                    .out_type = kSameType, .out_dims = by_factor, .op = factor_op<decim3>});
    rows.push_back({.id = cmd::kInterpolation3d, .text = "3D &Interpolation/Decimation", .typemask = V3D_TYPE_UC,
                    .colormask = V3D_COLOR_ANY, .options = ask_3d_interpolation, .out_type = kSameType,
                    .out_dims = scaled_voi, .in_place = false, .op = interpolation_op});
    rows.push_back({.id = cmd::kFrameInterpolation, .text = "&Frame Interpolation/Decimation", .typemask = V3D_TYPE_UC,
                    .colormask = V3D_COLOR_ANY, .options = ask_frame_interpolation, .out_type = kSameType,
                    .out_dims = resampled_frames, .in_place = false,
                    .op = frame_interpolation_op});
    rows.push_back({.id = cmd::kBinaryFrameInterpolation, .text = "&Binary Frame Interpolation", .typemask = V3D_TYPE_UC,
                    .colormask = V3D_COLOR_GREY, .options = ask_binary_interpolation, .out_type = kSameType,
                    .out_dims = interpolated_frames, .in_place = false,
                    .op = binary_interpolation_op});
    rows.push_back({.id = cmd::kZeroPadding, .text = "Zero Frame &Padding", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_ANY,
                    .values = {res::kPaddingFactor, {res::kPadFactor}}, .out_type = kSameType,
                    .out_dims = padded_frames, .op = factor_op<FrameZeroPadding>});
}

}  // namespace app
