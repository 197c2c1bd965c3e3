// v3d commands of segmentation and labelling.
#include <algorithm>
#include <cstdio>
#include <vector>

#include "cli/cli.h"

namespace {

using cli::Args;
using cli::VolumePtr;

// A zeroed grey UC output of the input's dimensions.
int make_output(const VolumePtr& in, VolumePtr& out) {
    const cli::Shape s = cli::grey_uc_like(in->get());
    return cli::make_volume(s.Z, s.Y, s.X, s.type, s.colortype, out);
}

int run_threshold(const Args& args) {
    const int threshold = args.integer("threshold");
    return cli::run_in_out(args, cli::grey_uc_like,
                           [&](Volume* in, Volume* out) { return threshold_3d(in, out, threshold); });
}

int run_grow(const Args& args) {
    VolumePtr in, seeds;
    if (int s = cli::load_volume(args, "in", in)) return s;
    if (int s = cli::load_volume(args, "seeds", seeds)) return s;
    const int maxseeds = args.integer("max-seeds", 255);
    const int tolerance = args.integer("tolerance");
    if (int s = region3d_grow(in->get(), seeds->get(), maxseeds, tolerance)) return s;
    return cli::save_volume(args, seeds->get());
}

// Saves what an operator left in the output when it stopped at the region maximum.
int save_partial(const Args& args, Volume* out, int status) {
    if (int s = cli::save_volume(args, out)) return s;
    if (int s = cli::commit_outputs()) return s;  // kept although the command fails
    return status;
}

int run_merge(const Args& args) {
    VolumePtr in, out;
    if (int s = cli::load_volume(args, "in", in)) return s;
    const int tolerance = args.integer("tolerance");
    const int maxregions = args.integer("max-regions", 255);
    if (int s = make_output(in, out)) return s;
    const int result = region3d_merge(in->get(), out->get(), tolerance, maxregions);
    if (result == -92) return save_partial(args, out->get(), result);
    if (result < 0) return result;
    std::printf("regions = %d\n", result);
    return cli::save_volume(args, out->get());
}

int run_split(const Args& args, int (*op)(Volume*, Volume*, int*, int), const char* what) {
    VolumePtr in, out;
    if (int s = cli::load_volume(args, "in", in)) return s;
    const int tolerance = args.integer("tolerance");
    if (int s = make_output(in, out)) return s;
    int count = 0;
    if (int s = op(in->get(), out->get(), &count, tolerance)) return s;
    std::printf("%s = %d\n", what, count);
    if (op == region3d_splitmerge && count > 255)
        std::printf("(more than 255 regions: the blocks counted beyond them were left 0)\n");
    return cli::save_volume(args, out->get());
}
int run_split(const Args& a) { return run_split(a, region3d_split, "blocks"); }
int run_splitmerge(const Args& a) { return run_split(a, region3d_splitmerge, "regions"); }

int run_label(const Args& args) {
    VolumePtr in, out;
    if (int s = cli::load_volume(args, "in", in)) return s;
    const int maxlabels = args.integer("max-labels", 255);
    if (int s = make_output(in, out)) return s;
    // the operator takes at most 255 labels (and refuses more before writing any count)
    std::vector<float> counts(static_cast<size_t>(std::clamp(maxlabels, 1, 255)));
    int labels = 0;
    const int result = grass3d_label(in->get(), out->get(), &labels, counts.data(), maxlabels);
    if (result == -92) return save_partial(args, out->get(), result);
    if (result != 0) return result;
    std::printf("labels = %d\n", labels);
    for (int l = 0; l < labels; ++l) std::printf("label %d: %.0f voxels\n", l + 1, counts[l]);
    return cli::save_volume(args, out->get());
}

// The label volume in colour (three channels), every object in its default colour or, with
// --object, only that one.
int run_color_labels(const Args& args) {
    const int object = args.integer("object", 0);
    const auto rgb_like = [](const Volume* in) {
        return cli::Shape{in->Z, in->Y, in->X, V3D_TYPE_UC, V3D_COLOR_RGB};
    };
    return cli::run_in_out(args, rgb_like, [&](Volume* in, Volume* out) {
        unsigned int lowest = 0, highest = 0;
        if (int s = FindMinMaxIntensity(in, &lowest, &highest)) return s;
        const int n = static_cast<int>(highest);
        std::vector<LabelColor> table(n > 0 ? static_cast<size_t>(n) : 1);
        if (int s = SetDefaultLabelColors3d(table.data(), n)) return s;
        return ColorLabelledVolume3d(in, out, n, table.data(), object);
    });
}

const char* const kToleranceUsage =
    "--in FILE --size ZxYxX [--voi z1:z2,y1:y2,x1:x2] --tolerance T --out FILE";

const cli::Registrar registrations[] = {
    cli::Registrar({"threshold_3d", "binary threshold: 255 where the input >= T, else 0",
                    "--in FILE --size ZxYxX [--voi ...] --threshold T --out FILE",
                    "Input: a one-channel UC volume. Inside the VOI each output voxel becomes 255\n"
                    "where the input is >= T and 0 elsewhere; outside the VOI the output is 0.\n"
                    "T <= 0 makes the whole VOI 255, T > 255 makes it 0.",
                    run_threshold}),
    cli::Registrar({"region3d_grow", "seeded region growing against each seed's value",
                    "--in FILE --size ZxYxX [--voi ...] --seeds FILE [--seeds-size ZxYxX]\n"
                    "    --tolerance T [--max-seeds N] --out FILE",
                    "Every non-zero voxel of the seeds volume inside the VOI starts a region\n"
                    "(numbered in z, y, x order, at most N, default 255: more seeds fail with\n"
                    "'Seeds not correctly specified'). A 26-neighbour joins a region when its\n"
                    "input value differs from the seed's value by at most T; only voxels inside\n"
                    "the VOI's one-voxel border spread, so border seeds stay single voxels.\n"
                    "Writes the seeds volume with every region voxel set to its region's mean.",
                    run_grow}),
    cli::Registrar({"region3d_merge", "one-pass region merging; prints the number of regions",
                    "--in FILE --size ZxYxX [--voi ...] --tolerance T [--max-regions N] --out FILE",
                    "Scans the VOI in z, y, x order. Each voxel joins the region of an already\n"
                    "scanned neighbour whose mean is nearest to its value and within T, else the\n"
                    "nearest region of all within T, else opens a new region (at most N, default\n"
                    "255). Means are updated as regions grow. The output holds region means.\n"
                    "When more than N regions are needed the scan stops: the partial result is\n"
                    "written and the command fails with 'Maximum number of regions ...'.",
                    run_merge}),
    cli::Registrar({"region3d_split", "octree splitting into homogeneous blocks", kToleranceUsage,
                    "Splits the VOI recursively into octants until every block's (max - min)\n"
                    "is at most T; each block gets its mean value. Prints the number of blocks.",
                    run_split}),
    cli::Registrar({"region3d_splitmerge", "octree splitting with merging of neighbouring blocks",
                    kToleranceUsage,
                    "Splits as region3d_split; each new block merges into the neighbouring region\n"
                    "whose value is nearest to the block's mean, when within T. At most 255\n"
                    "regions are formed (further blocks stay 0 and still add to the printed count).\n"
                    "Prints the number of regions.",
                    run_splitmerge}),
    cli::Registrar({"grass3d_label", "label 26-connected components of equal value",
                    "--in FILE --size ZxYxX [--voi ...] [--max-labels N] --out FILE",
                    "Numbers the 26-connected components of equal non-zero value inside the VOI\n"
                    "1, 2 ... in scan order (at most N, default 255) and prints each label's voxel\n"
                    "count. More than N components: the labels so far are written and the command\n"
                    "fails with 'Maximum number of regions ...'.",
                    run_label}),
    cli::Registrar({"ColorLabelledVolume3d", "a label volume in colour, one colour per object",
                    "--in FILE --size ZxYxX [--voi ...] [--object K] --out FILE",
                    "Input: labels 1..n (n the largest label, at most 255), 0 background. Writes a\n"
                    "three-channel UC volume in which every object has its default colour (hues a\n"
                    "golden angle apart, bright enough on black) and the background is black.\n"
                    "With --object K only the voxels of object K are coloured.",
                    run_color_labels}),
};

}  // namespace
