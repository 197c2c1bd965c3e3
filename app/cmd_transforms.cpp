// Fourier and related transforms. An operator joins by filling its row's .op.
#include "app/commands.h"
#include "res/strings.h"

namespace app {

void add_transform_commands(std::vector<CommandSpec>& rows) {
    // outputs "Select Output Volume (Real Part)" and "(Im. Part)", both F
    rows.push_back({.id = 1230, .text = "&FFT", .typemask = 1, .colormask = 1,
                    .out_caption = res::kOutReal, .out_type = 2, .op = nullptr,  // fft3d
                    .after = After::Nothing});
    rows.push_back({.id = 1231, .text = "&IFFT", .typemask = 2, .colormask = 1,
                    .in_caption = res::kInReal, .second = {2, 1, res::kInImag}, .out_type = 1,
                    .op = nullptr});  // fft3d inverse, FVolume2UCVolume
    rows.push_back({.id = 1232, .text = "&DCT", .typemask = 1, .colormask = 1, .out_type = 2,
                    .op = nullptr, .after = After::Nothing});  // DCT3d
    rows.push_back({.id = 1233, .text = "IDC&T", .typemask = 2, .colormask = 1, .out_type = 1,
                    .op = nullptr});  // IDCT3d
    rows.push_back({.id = 1234, .text = "&Convolution", .typemask = 1, .colormask = 1,
                    .second = {1, 1, res::kSelectVolume}, .out_type = 2, .op = nullptr,
                    .after = After::Nothing});  // convolution3
    rows.push_back({.id = 1235, .text = "C&orrelation", .typemask = 1, .colormask = 1,
                    .second = {1, 1, res::kSelectVolume}, .out_type = 2, .op = nullptr,
                    .after = After::Nothing});  // correlation3d
    rows.push_back({.id = 1236, .text = "&Spectrum magnitude", .typemask = 1, .colormask = 1,
                    .out_type = kSameType, .op = nullptr});  // fft3d, fft2image3d
    rows.push_back({.id = 1237, .text = "&Blackman Tukey PSD", .typemask = 1, .colormask = 1,
                    .values = {res::kAttenuation, {res::kXCoef, res::kYCoef, res::kZCoef}, true},
                    .out_type = kSameType, .op = nullptr});  // blackman_tukey_psd3d
}

}  // namespace app
