// Histogram and neighbourhood filter commands. An operator joins by filling its row's .op.
#include "app/commands.h"
#include "res/strings.h"

namespace app {
namespace {
const ValueSpec kWindow = {res::kWindowDims, {res::kXDim, res::kYDim, res::kZDim}};
const ValueSpec kCubic = {res::kWindowDims, {res::kCubicWindow}};
const ValueSpec kWindowNoise = {res::kWindowDimsNoise,
                                {res::kXDim, res::kYDim, res::kZDim, res::kNoiseVariance}, true};
}  // namespace

void add_filter_commands(std::vector<CommandSpec>& rows) {
    rows.push_back({.id = 1170, .text = "&Histogram Equalization", .typemask = 1, .colormask = 3,
                    .out_type = kSameType, .op = nullptr});  // unary_op<HistogramEqual3d>
    rows.push_back({.id = 1171, .text = "Moving A&verage Filter", .typemask = 1, .colormask = 3,
                    .in_caption = res::kInMovAve, .out_caption = res::kOutMovAve,
                    .values = kWindow, .out_type = kSameType, .op = nullptr});  // window_op<mov_ave3>
    rows.push_back({.id = 1172, .text = "&Standard Median", .typemask = 1, .colormask = 3,
                    .in_caption = res::kInMedian, .out_caption = res::kOutMedian,
                    .values = kWindow, .out_type = kSameType, .op = nullptr});  // window_op<median3>
    rows.push_back({.id = 1173, .text = "&Running Median", .typemask = 1, .colormask = 3,
                    .in_caption = res::kInRunMedian, .out_caption = res::kOutRunMedian,
                    .values = kWindow, .out_type = kSameType, .op = nullptr});  // window_op<run_median3>
    rows.push_back({.id = 1174, .text = "&Multistage Median", .typemask = 1, .colormask = 3,
                    .in_caption = res::kInMultistage, .out_caption = res::kOutMultistage,
                    .values = kCubic, .out_type = kSameType, .op = nullptr});  // int_op<multistage_median3>
    // weights from "Select Weights Source": WIN_UC3D.PAR or a volume ("Select Weights Volume")
    rows.push_back({.id = 1175, .text = "&Weighted Median", .typemask = 1, .colormask = 3,
                    .in_caption = res::kInWeighted, .out_caption = res::kOutWeighted,
                    .out_type = kSameType, .op = nullptr});  // wei_median3
    rows.push_back({.id = 1178, .text = "Mi&n Filter", .typemask = 1, .colormask = 3,
                    .in_caption = res::kInRunMin, .out_caption = res::kOutRunMin,
                    .values = kWindow, .out_type = kSameType, .op = nullptr});  // window_op<run_min3>
    rows.push_back({.id = 1179, .text = "Ma&x Filter", .typemask = 1, .colormask = 3,
                    .in_caption = res::kInRunMax, .out_caption = res::kOutRunMax,
                    .values = kWindow, .out_type = kSameType, .op = nullptr});  // window_op<run_max3>
    // coefficients from WIN_F3D.PAR into an internal volume
    rows.push_back({.id = 1180, .text = "L-Filter", .typemask = 1, .colormask = 3,
                    .out_type = kSameType, .in_place = false, .op = nullptr});  // l_filter3
    rows.push_back({.id = 1181, .text = "&Locally Adaptive Filter", .typemask = 1, .colormask = 3,
                    .values = kWindowNoise, .out_type = kSameType, .op = nullptr});  // local_adapt_filt3
    // a plot window titled "Histogram of #%d Volume (pdf)" / "(cdf)"
    rows.push_back({.id = 1185, .text = "Histogram (&pdf)", .typemask = 1, .colormask = 1,
                    .after = After::Nothing});  // hist3
    rows.push_back({.id = 1186, .text = "Histogram (&cdf)", .typemask = 1, .colormask = 1,
                    .after = After::Nothing});  // hist3, cdfhist3
}

}  // namespace app
