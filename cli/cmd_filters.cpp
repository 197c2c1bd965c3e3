// v3d commands of the histogram and neighbourhood-filter families.
#include <cstdio>
#include <string>
#include <vector>

#include "cli/cli.h"

namespace {

using cli::Args;
using cli::VolumePtr;

// The output: a new zeroed volume like the input, or the input itself with --in-place.
int run_in_out(const Args& args, const cli::Operation& op) {
    return cli::run_in_out(args, cli::like, op, true);
}

using WindowFilter = int (*)(Volume*, Volume*, int, int, int);

template <WindowFilter filter> int run_window(const Args& args) {
    const cli::Triple w = args.triple("window");
    return run_in_out(args, [&](Volume* in, Volume* out) { return filter(in, out, w.z, w.y, w.x); });
}

// Reads a coefficient file into vol; on failure prints the user's message and returns a
// status whose text fits it.
int load_coefficients(const std::string& file, int type, Volume* vol) {
    const int status = LoadCoefficientVolume3d(file.c_str(), type, vol);
    if (status == 0) return 0;
    char text[512];
    std::fprintf(stderr, "%s\n", CoefficientFileMessage(status, file.c_str(), type, text, sizeof text));
    return status == -1 ? -600 : status == -2 ? -601 : status == -3 ? -24 : status;
}

int run_hist3(const Args& args) {
    VolumePtr in;
    if (int s = cli::load_volume(args, "in", in)) return s;
    const bool cumulative = args.has("cdf");
    args.check_all_used();
    std::vector<float> store(6 * 256);
    float* pdf[3] = {&store[0], &store[256], &store[512]};
    float* cdf[3] = {&store[768], &store[1024], &store[1280]};
    if (int s = hist3(in->get(), pdf)) return s;
    const int n = in->get()->colortype == 1 ? 1 : 3;
    for (int c = 0; c < n; ++c) cdfhist3(pdf[c], cdf[c]);
    float** shown = cumulative ? cdf : pdf;
    std::printf(n == 1 ? "level %s\n" : "level %s (red green blue)\n",
                cumulative ? "cumulative" : "density");
    for (int v = 0; v < 256; ++v) {
        std::printf("%3d", v);
        for (int c = 0; c < n; ++c) std::printf(" %.7f", shown[c][v]);
        std::printf("\n");
    }
    return 0;
}

int run_histeq(const Args& args) { return run_in_out(args, HistogramEqual3d); }

int run_multistage(const Args& args) {
    const int n = args.integer("n");
    return run_in_out(args, [&](Volume* in, Volume* out) { return multistage_median3(in, out, n); });
}

int run_local_adapt(const Args& args) {
    const cli::Triple w = args.triple("window");
    const float noise = args.real("noise");
    return run_in_out(args, [&](Volume* in, Volume* out) {
        return local_adapt_filt3(in, out, noise, w.z, w.y, w.x);
    });
}

int run_weighted(const Args& args) {
    VolumePtr weights;
    if (args.has("weights-file")) {
        weights.reset(new cli::OwnedVolume);
        if (int s = load_coefficients(args.text("weights-file"), 1, weights->get())) return s;
    } else if (args.has("weights")) {
        if (!args.has("weights-size")) throw cli::UsageError("--weights needs --weights-size ZxYxX");
        if (int s = cli::load_volume(args, "weights", weights)) return s;
    } else {
        throw cli::UsageError("give --weights-file FILE or --weights FILE --weights-size ZxYxX");
    }
    return run_in_out(args, [&](Volume* in, Volume* out) { return wei_median3(in, out, weights->get()); });
}

int run_l_filter(const Args& args) {
    std::vector<float> coef;
    cli::Triple w{0, 0, 0};
    if (args.has("coefficients")) {
        cli::OwnedVolume c;
        if (int s = load_coefficients(args.text("coefficients"), 2, c.get())) return s;
        w = {c->Z, c->Y, c->X};
        for (int z = 0; z < w.z; ++z)
            for (int y = 0; y < w.y; ++y)
                for (int x = 0; x < w.x; ++x) coef.push_back(c->data[0].f[z][y][x]);
    } else if (args.has("coef")) {
        coef = args.reals("coef");
        w = args.triple("window");
        if (static_cast<long long>(w.z) * w.y * w.x != static_cast<long long>(coef.size()))
            throw cli::UsageError("--coef needs one value per window voxel");
    } else {
        throw cli::UsageError("give --coefficients FILE or --coef LIST --window ZxYxX");
    }
    return run_in_out(args, [&](Volume* in, Volume* out) {
        return l_filter3(in, out, coef.data(), w.z, w.y, w.x);
    });
}

int run_wiener(const Args& args) {
    VolumePtr psd, dre, dim, hre, him;
    if (int s = cli::load_volume(args, "psd", psd)) return s;
    if (int s = cli::load_volume(args, "dre", dre)) return s;
    if (int s = cli::load_volume(args, "dim", dim)) return s;
    const float noise = args.real("noise");
    if (!args.has("out-im")) throw cli::UsageError("missing option --out-im");
    const Volume* p = psd->get();
    if (int s = cli::make_volume(p->Z, p->Y, p->X, 2, 1, hre)) return s;
    if (int s = cli::make_volume(p->Z, p->Y, p->X, 2, 1, him)) return s;
    if (int s = wienerfrequency3(hre->get(), him->get(), psd->get(), dre->get(), dim->get(), noise))
        return s;
    if (int s = cli::save_volume(args, hre->get(), "out")) return s;
    return cli::save_volume(args, him->get(), "out-im");
}

const char* const kWindowUsage =
    "--in FILE --size ZxYxX [--channels 1|3] [--voi z1:z2,y1:y2,x1:x2]\n"
    "    --window ZxYxX (--out FILE | --in-place --out FILE)";

#define V3D_WINDOW_NOTE                                                                      \
    "The window (frames x rows x columns, each odd and no larger than the VOI) is centred\n" \
    "on the voxel it computes; only voxels whose whole window lies inside the VOI are\n"     \
    "written, the rest of the output keeps its values (0 in a new output, the input's with\n" \
    "--in-place). UC volumes, RGB channel by channel."

const cli::Registrar registrations[] = {
    cli::Registrar({"hist3", "print the grey-level density of the VOI",
                    "--in FILE --size ZxYxX [--channels 1|3] [--voi ...] [--cdf]",
                    "Prints 256 lines \"level value\" (one value per channel): the number of VOI\n"
                    "voxels at each level divided by the VOI's voxel count, or with --cdf its\n"
                    "cumulative sum. UC volumes.",
                    run_hist3}),
    cli::Registrar({"histeq3d", "histogram equalization of the VOI", cli::kInOutUsage,
                    "Maps every VOI voxel v of each channel to (int)(255 * cdf(v) + 0.5), cdf\n"
                    "being that channel's cumulative density over the VOI. The darkest level\n"
                    "maps to 255 times its own density, not to 0. UC volumes; --in-place works\n"
                    "on the input itself.",
                    run_histeq}),
    cli::Registrar({"mov_ave3", "moving average", kWindowUsage,
                    "out = (int)(sum / N + 0.5), N the window's voxel count.\n" V3D_WINDOW_NOTE,
                    run_window<mov_ave3>}),
    cli::Registrar({"median3", "median filter", kWindowUsage,
                    "out = the middle value of the sorted window.\n" V3D_WINDOW_NOTE
                    "\nIn place, later windows read the medians already written.",
                    run_window<median3>}),
    cli::Registrar({"run_median3", "median filter by a running histogram", kWindowUsage,
                    "The same medians as median3, found by a histogram sliding along each row.\n"
                    V3D_WINDOW_NOTE,
                    run_window<run_median3>}),
    cli::Registrar({"run_max3", "maximum filter (separable)", kWindowUsage,
                    "out = the largest value of the window.\n" V3D_WINDOW_NOTE, run_window<run_max3>}),
    cli::Registrar({"run_min3", "minimum filter (separable)", kWindowUsage,
                    "out = the smallest value of the window.\n" V3D_WINDOW_NOTE, run_window<run_min3>}),
    cli::Registrar({"wei_median3", "weighted median filter",
                    "--in FILE --size ZxYxX [--voi ...]\n"
                    "    (--weights-file WIN_UC3D.PAR | --weights FILE --weights-size ZxYxX)\n"
                    "    (--out FILE | --in-place --out FILE)",
                    "Each window value is repeated as often as its weight (a UC one-channel\n"
                    "volume whose dimensions are the window); out is the middle of the sorted\n"
                    "repetitions, or the truncated mean of the two middle ones when the weights\n"
                    "sum to an even number. --weights-file reads a weights file (lines X, Y, Z,\n"
                    "then the weights frame by frame, row by row); a relative name is taken from\n"
                    "the current directory. Weights summing to 0 are refused.\n" V3D_WINDOW_NOTE,
                    run_weighted}),
    cli::Registrar({"multistage_median3", "multistage median filter",
                    "--in FILE --size ZxYxX [--voi ...] --n N (--out FILE | --in-place --out FILE)",
                    "Over an N x N x N window (N odd): the medians of the seven lines through\n"
                    "the centre (along X, Z, Y and the four space diagonals) and the centre\n"
                    "itself are sorted; out = the truncated mean of the two middle ones.\n"
                    V3D_WINDOW_NOTE,
                    run_multistage}),
    cli::Registrar({"l_filter3", "L-filter (weighted sum of the sorted window)",
                    "--in FILE --size ZxYxX [--voi ...]\n"
                    "    (--coefficients WIN_F3D.PAR | --coef c0,c1,... --window ZxYxX)\n"
                    "    (--out FILE | --in-place --out FILE)",
                    "out = sum of coef[k] * k-th smallest window value (single precision),\n"
                    "clamped to 0..255 and rounded half up. --coefficients reads a coefficients\n"
                    "file (lines X, Y, Z, then X*Y*Z reals; the window is its X, Y, Z).\n"
                    V3D_WINDOW_NOTE,
                    run_l_filter}),
    cli::Registrar({"local_adapt_filt3", "locally adaptive noise filter",
                    "--in FILE --size ZxYxX [--voi ...] --window ZxYxX --noise VARIANCE\n"
                    "    (--out FILE | --in-place --out FILE)",
                    "With the window's mean m and variance s2: out = m where s2 < 0.0001, else\n"
                    "(1-k)*centre + k*m with k = min(noise/s2, 1), rounded half up. A negative\n"
                    "noise variance is refused.\n" V3D_WINDOW_NOTE,
                    run_local_adapt}),
    cli::Registrar({"wienerfrequency3", "Wiener restoration filter in the frequency domain",
                    "--psd P --dre HR --dim HI --size ZxYxX --type f --noise N\n"
                    "    --out FILTER_RE --out-im FILTER_IM",
                    "From the signal power spectrum P and the degradation H = HR + i*HI (F\n"
                    "one-channel volumes of one size): G = P / (|H|^2 * P + noise), filter =\n"
                    "G * HR - i * G * HI. Writes the real and imaginary parts as F volumes.",
                    run_wiener}),
};

}  // namespace
