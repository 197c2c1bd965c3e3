// Fourier and related transforms. They work on the input's VOI; the results lie at the
// output's origin, and the intermediate F volumes are the operation's own.
#include "app/command_table.h"
#include "res/commands.h"
#include "res/strings.h"

namespace app {
namespace {

// A one-channel scratch volume of the VOI's extent.
int scratch_of(OwnedVolume& s, const Volume* in, int type) {
    return s.create(in->z2 - in->z1, in->y2 - in->y1, in->x2 - in->x1, type);
}

// The VOI of a UC volume as an F scratch volume.
int as_float(OwnedVolume& s, Volume* in) {
    if (const int status = scratch_of(s, in, V3D_TYPE_F)) return status;
    return UCVolume2FVolume(in, s.get(), 0, 0, 0);
}

// Forward transform of the input into the real part (the row's output) and the imaginary
// part, a further F output.
int fft_op(CommandContext& c) {
    Volume* im = nullptr;
    if (const int status =
            further_output(c, res::kOutImag, V3D_TYPE_F, c.in->Z, c.in->Y, c.in->X, im))
        return status;
    OwnedVolume re, zero;
    if (const int status = as_float(re, c.in)) return status;
    if (const int status = scratch_of(zero, c.in, V3D_TYPE_F)) return status;
    return fft3d(re.get(), zero.get(), c.out, im, 0, 0, 0, 0);
}

// Inverse transform of the real and imaginary parts, truncated into UC.
int ifft_op(CommandContext& c) {
    OwnedVolume re, im;
    if (const int status = scratch_of(re, c.in, V3D_TYPE_F)) return status;
    if (const int status = scratch_of(im, c.in, V3D_TYPE_F)) return status;
    if (const int status = fft3d(c.in, c.second, re.get(), im.get(), 1, 0, 0, 0)) return status;
    return FVolume2UCVolume(re.get(), c.out, 0, 0, 0);
}

int dct_op(CommandContext& c) {
    OwnedVolume f;
    if (const int status = as_float(f, c.in)) return status;
    return DCT3d(f.get(), c.out, 0, 0, 0);
}

int idct_op(CommandContext& c) {
    OwnedVolume f;
    if (const int status = scratch_of(f, c.in, V3D_TYPE_F)) return status;
    if (const int status = IDCT3d(c.in, f.get(), 0, 0, 0)) return status;
    return FVolume2UCVolume(f.get(), c.out, 0, 0, 0);
}

template <int (*F)(Volume*, Volume*, Volume*, int, int, int)>
int pair_op(CommandContext& c) {
    OwnedVolume a, b;
    if (const int status = as_float(a, c.in)) return status;
    if (const int status = as_float(b, c.second)) return status;
    return F(a.get(), b.get(), c.out, 0, 0, 0);
}

// The full result of a convolution or correlation: both VOIs' extents less one per axis.
void full_result(const CommandContext& c, int& Z, int& Y, int& X) {
    const Volume* a = c.in;
    const Volume* b = c.second;
    Z = (a->z2 - a->z1) + (b->z2 - b->z1) - 1;
    Y = (a->y2 - a->y1) + (b->y2 - b->y1) - 1;
    X = (a->x2 - a->x1) + (b->x2 - b->x1) - 1;
}

// The viewable magnitude of the input's spectrum.
int spectrum_op(CommandContext& c) {
    OwnedVolume re, im;
    if (const int status = as_float(re, c.in)) return status;
    if (const int status = scratch_of(im, c.in, V3D_TYPE_F)) return status;
    if (const int status = fft3d(re.get(), im.get(), re.get(), im.get(), 0, 0, 0, 0))
        return status;
    return fft2image3d(re.get(), im.get(), c.out, 0, 0, 0);
}

// Attenuation coefficients asked as X, Y, Z; the spectrum shown as a picture.
int psd_op(CommandContext& c) {
    OwnedVolume psd;
    if (const int status = scratch_of(psd, c.in, V3D_TYPE_F)) return status;
    if (const int status = blackman_tukey_psd3d(c.in, psd.get(), c.rval(0), c.rval(1),
                                                c.rval(2), 0, 0, 0))
        return status;
    return fft2image3d(psd.get(), nullptr, c.out, 0, 0, 0);
}

}  // namespace

void add_transform_commands(std::vector<CommandSpec>& rows) {
    // outputs "Select Output Volume (Real Part)" and "(Im. Part)", both F
    rows.push_back({.id = cmd::kFft, .text = "&FFT", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_GREY,
                    .out_caption = res::kOutReal, .out_type = V3D_TYPE_F, .in_place = false,
                    .op = fft_op, .after = After::Nothing});
    rows.push_back({.id = cmd::kIfft, .text = "&IFFT", .typemask = V3D_TYPE_F, .colormask = V3D_COLOR_GREY,
                    .in_caption = res::kInReal, .second = {V3D_TYPE_F, V3D_COLOR_GREY, res::kInImag}, .out_type = V3D_TYPE_UC,
                    .in_place = false, .op = ifft_op});
    rows.push_back({.id = cmd::kDct, .text = "&DCT", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_GREY, .out_type = V3D_TYPE_F,
                    .in_place = false, .op = dct_op, .after = After::Nothing});
    rows.push_back({.id = cmd::kIdct, .text = "IDC&T", .typemask = V3D_TYPE_F, .colormask = V3D_COLOR_GREY, .out_type = V3D_TYPE_UC,
                    .in_place = false, .op = idct_op});
    rows.push_back({.id = cmd::kConvolution, .text = "&Convolution", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_GREY,
                    .second = {V3D_TYPE_UC, V3D_COLOR_GREY, res::kSelectVolume}, .out_type = V3D_TYPE_F,
                    .out_dims = full_result, .in_place = false, .op = pair_op<convolution3>,
                    .after = After::Nothing});
    rows.push_back({.id = cmd::kCorrelation, .text = "C&orrelation", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_GREY,
                    .second = {V3D_TYPE_UC, V3D_COLOR_GREY, res::kSelectVolume}, .out_type = V3D_TYPE_F,
                    .out_dims = full_result, .in_place = false, .op = pair_op<correlation3d>,
                    .after = After::Nothing});
    rows.push_back({.id = cmd::kSpectrum, .text = "&Spectrum magnitude", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_GREY,
                    .out_type = kSameType, .op = spectrum_op});
    rows.push_back({.id = cmd::kBlackmanTukey, .text = "&Blackman Tukey PSD", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_GREY,
                    // attenuation coefficients are real by nature: read with "%f"
                    .values = {res::kAttenuation, {res::kXCoef, res::kYCoef, res::kZCoef},
                               kAllReal},
                    .out_type = kSameType, .op = psd_op});
}

}  // namespace app
