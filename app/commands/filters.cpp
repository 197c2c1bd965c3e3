// Histogram and neighbourhood filter commands.
#include <cstdio>
#include <vector>

#include "app/command_table.h"
#include "app/state.h"
#include "res/commands.h"
#include "res/strings.h"

namespace app {
namespace {
const ValueSpec kWindow = {res::kWindowDims, {res::kXDim, res::kYDim, res::kZDim}};
const ValueSpec kCubic = {res::kWindowDims, {res::kCubicWindow}};
// the window sizes are read with "%d", the noise variance, real by nature, with "%f"
const ValueSpec kWindowNoise = {
    res::kWindowDimsNoise, {res::kXDim, res::kYDim, res::kZDim, res::kNoiseVariance}, 1u << 3};

int local_adapt_op(CommandContext& c) {
    return local_adapt_filt3(c.in, c.out, c.rval(3), c.ival(2), c.ival(1), c.ival(0));
}

// A coefficient file that could not be loaded: its message, and the command ends.
int coefficient_failure(int status, int type) {
    char message[256];
    CoefficientFileMessage(status, nullptr, type, message, sizeof message);
    ui().show_message(message, res::text(res::kCaption), Icon::Error);
    return kReported;
}

// The weights come from WIN_UC3D.PAR, loaded into a new volume of the table (which stays), or
// from a volume chosen with "Select Weights Volume".
int weighted_median_op(CommandContext& c) {
    OptionsRequest source;
    source.kind = OptionsKind::WeightsSource;
    source.caption = "Select Weights Source";
    if (!ui().ask_options(source)) return kReported;
    Volume* weights = nullptr;
    if (source.choice == 0) {
        const int slot = GetNewVolumeIndex();
        weights = GetVolumeByIndex(slot);
        if (!weights) return V3D_ERR_NO_VOLUME;
        if (const int status = LoadCoefficientVolume3d(nullptr, V3D_TYPE_UC, weights))
            return coefficient_failure(status, V3D_TYPE_UC);
        std::snprintf(weights->name, sizeof weights->name, "%s", V3D_WEIGHTS_FILE);
        ui().show_message(res::format(res::kCoefficientsLoaded, V3D_WEIGHTS_FILE, slot),
                          res::text(res::kCaption), Icon::Information);
    } else {
        SelectRequest r;
        r.kind = SelectKind::Other;
        r.typemask = V3D_TYPE_UC;
        r.colormask = V3D_COLOR_GREY;
        r.caption = res::text(res::kWeightsVolume);
        r.exclude = chosen_slots(c);
        Selection s;
        if (!ui().select(r, s) || !s.vol) return kReported;
        weights = s.vol;
    }
    return wei_median3(c.in, c.out, weights);
}

// The coefficients of WIN_F3D.PAR, through an internal volume, weight the sorted window.
int l_filter_op(CommandContext& c) {
    OwnedVolume file;
    Volume* coef = file.get();
    if (const int status = LoadCoefficientVolume3d(nullptr, V3D_TYPE_F, coef))
        return coefficient_failure(status, V3D_TYPE_F);
    std::vector<float> weights;
    weights.reserve(static_cast<size_t>(coef->Z) * coef->Y * coef->X);
    for (int z = 0; z < coef->Z; ++z)
        for (int y = 0; y < coef->Y; ++y)
            for (int x = 0; x < coef->X; ++x) weights.push_back(coef->data[0].f[z][y][x]);
    return l_filter3(c.in, c.out, weights.data(), coef->Z, coef->Y, coef->X);
}

// The histogram of the input, or its running sum, in a plot window titled with the slot.
template <bool Cumulative>
int histogram_op(CommandContext& c) {
    std::vector<float> pdf(256), cdf(256);
    float* channels[3] = {pdf.data(), nullptr, nullptr};
    if (const int status = hist3(c.in, channels)) return status;
    if (Cumulative) cdfhist3(pdf.data(), cdf.data());
    const int title = Cumulative ? res::kHistogramCdf : res::kHistogramPdf;
    if (!workspace() ||
        !workspace()->open_plot(res::format(title, GetVolumeIndex(c.in)), Cumulative ? cdf : pdf))
        return res::kCannotCreateWindow;
    return 0;
}

}  // namespace

void add_filter_commands(std::vector<CommandSpec>& rows) {
    rows.push_back({.id = cmd::kHistogramEqualization, .text = "&Histogram Equalization", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_ANY,
                    .out_type = kSameType, .op = unary_op<HistogramEqual3d>});
    rows.push_back({.id = cmd::kMovingAverage, .text = "Moving A&verage Filter", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_ANY,
                    .in_caption = res::kInMovAve, .out_caption = res::kOutMovAve,
                    .values = kWindow, .out_type = kSameType, .op = window_op<mov_ave3>});
    rows.push_back({.id = cmd::kStandardMedian, .text = "&Standard Median", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_ANY,
                    .in_caption = res::kInMedian, .out_caption = res::kOutMedian,
                    .values = kWindow, .out_type = kSameType, .op = window_op<median3>});
    rows.push_back({.id = cmd::kRunningMedian, .text = "&Running Median", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_ANY,
                    .in_caption = res::kInRunMedian, .out_caption = res::kOutRunMedian,
                    .values = kWindow, .out_type = kSameType, .op = window_op<run_median3>});
    rows.push_back({.id = cmd::kMultistageMedian, .text = "&Multistage Median", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_ANY,
                    .in_caption = res::kInMultistage, .out_caption = res::kOutMultistage,
                    .values = kCubic, .out_type = kSameType, .op = int_op<multistage_median3>});
    rows.push_back({.id = cmd::kWeightedMedian, .text = "&Weighted Median", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_ANY,
                    .in_caption = res::kInWeighted, .out_caption = res::kOutWeighted,
                    .out_type = kSameType, .op = weighted_median_op});
    rows.push_back({.id = cmd::kMinFilter, .text = "Mi&n Filter", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_ANY,
                    .in_caption = res::kInRunMin, .out_caption = res::kOutRunMin,
                    .values = kWindow, .out_type = kSameType, .op = window_op<run_min3>});
    rows.push_back({.id = cmd::kMaxFilter, .text = "Ma&x Filter", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_ANY,
                    .in_caption = res::kInRunMax, .out_caption = res::kOutRunMax,
                    .values = kWindow, .out_type = kSameType, .op = window_op<run_max3>});
    rows.push_back({.id = cmd::kLFilter, .text = "L-Filter", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_ANY,
                    .out_type = kSameType, .in_place = false, .op = l_filter_op});
    rows.push_back({.id = cmd::kLocallyAdaptive, .text = "&Locally Adaptive Filter", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_ANY,
                    .values = kWindowNoise, .out_type = kSameType, .op = local_adapt_op});
    rows.push_back({.id = cmd::kHistogramPdf, .text = "Histogram (&pdf)", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_GREY,
                    .op = histogram_op<false>, .after = After::Nothing});
    rows.push_back({.id = cmd::kHistogramCdf, .text = "Histogram (&cdf)", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_GREY,
                    .op = histogram_op<true>, .after = After::Nothing});
}

}  // namespace app
