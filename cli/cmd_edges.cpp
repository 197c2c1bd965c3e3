// v3d commands of edge detection: Sobel, compass, Laplace, range, edge following, Hough planes
// and edge linking. Inputs are one-channel UC volumes; outputs have the input's dimensions and
// start at 0, so voxels an operator does not compute stay 0.
#include <cstdio>

#include "cli/cli.h"

namespace {

using cli::Args;
using cli::VolumePtr;

int make_grey_like(const Volume* in, VolumePtr& out) {
    const cli::Shape s = cli::grey_uc_like(in);
    return cli::make_volume(s.Z, s.Y, s.X, s.type, s.colortype, out);
}

int run_in_out(const Args& args, const cli::Operation& op) {
    return cli::run_in_out(args, cli::grey_uc_like, op);
}

int run_sobel(const Args& a) { return run_in_out(a, Sobel_3D); }
int run_laplace(const Args& a) { return run_in_out(a, laplace_3d); }

int run_compass(const Args& args) {
    const std::vector<float> angles = args.reals("angles");
    if (angles.size() != 2) throw cli::UsageError("--angles needs two values A1,A2");
    const int a1 = static_cast<int>(angles[0]), a2 = static_cast<int>(angles[1]);
    if (a1 != angles[0] || a2 != angles[1]) throw cli::UsageError("--angles are whole degrees");
    return run_in_out(args, [&](Volume* in, Volume* out) { return compas3d(in, out, a1, a2); });
}

int run_range(const Args& args) {
    const cli::Triple w = args.triple("window");
    return run_in_out(args, [&](Volume* in, Volume* out) { return range_3d(in, out, w.z, w.y, w.x); });
}

int run_follow(const Args& args) {
    VolumePtr in, out;
    if (int s = cli::load_volume(args, "in", in)) return s;
    const cli::Triple p = args.triple("start");
    const int maxdiff = args.integer("maxdiff"), threshold = args.integer("threshold"),
              weight = args.integer("weight", 1);
    const bool keep_consumed = args.has("consumed");
    if (int s = make_grey_like(in->get(), out)) return s;
    if (int s = edge_follow_3d(in->get(), out->get(), p.z, p.y, p.x, maxdiff, threshold, weight))
        return s;
    if (int s = cli::save_volume(args, out->get())) return s;
    return keep_consumed ? cli::save_volume(args, in->get(), "consumed") : 0;
}

int run_hough(const Args& args) {
    VolumePtr in, out, acc;
    if (int s = cli::load_volume(args, "in", in)) return s;
    const cli::Triple a = args.triple("acc-size");
    const int threshold = args.integer("threshold");
    const bool keep_acc = args.has("acc-out");
    if (int s = make_grey_like(in->get(), out)) return s;
    if (int s = cli::make_volume(a.z, a.y, a.x, 4, 1, acc)) return s;
    if (int s = Hough_3D(in->get(), out->get(), acc->get(), threshold)) return s;
    if (int s = cli::save_volume(args, out->get())) return s;
    return keep_acc ? cli::save_volume(args, acc->get(), "acc-out") : 0;
}

int run_link(const Args& args) {
    VolumePtr in, out;
    if (int s = cli::load_volume(args, "in", in)) return s;
    const cli::Triple from = args.triple("start"), to = args.triple("end");
    const int threshold = args.integer("threshold");
    if (int s = make_grey_like(in->get(), out)) return s;
    StackNode3d* path = nullptr;
    if (int s = modedg3d(in->get(), out->get(), &path, from.z, from.y, from.x, to.z, to.y, to.x,
                         threshold))
        return s;
    int length = 0;
    while (path) {  // end first
        const StackRecord3d r = pop_3d(&path);
        std::printf("%d,%d,%d %d\n", r.z, r.y, r.x, r.extra);
        ++length;
    }
    std::printf("path of %d voxels\n", length);
    return cli::save_volume(args, out->get());
}

const char* const kCompassHelp =
    "Compass mask edge strength: min(255, |sum of +1 voxels - sum of -1 voxels|) over the\n"
    "3x3x3 neighbourhood, for voxels one step inside every face of the VOI. Each mask has\n"
    "nine +1 and nine -1 neighbours. --angles A1,A2 selects one of thirteen directions\n"
    "(dz, dy, dx):\n"
    "    0,any    (0,0,1)  X: +1 where dx = +1, -1 where dx = -1\n"
    "   45,0      (1,0,1)  +1 on (dz,dx) (+1,0) (+1,+1) (0,+1), -1 on (0,-1) (-1,+1) (-1,0),\n"
    "                      every dy (asymmetric on purpose)\n"
    "   90,0      (1,0,0)  Z: +1 where dz = +1, -1 where dz = -1\n"
    "  135,0      (1,0,-1)\n"
    "   45,45     (1,1,1)      90,45   (1,1,0)      135,45   (1,1,-1)\n"
    "   45,90     (0,1,1)      90,90   (0,1,0) Y    135,90   (0,1,-1)\n"
    "   45,135    (-1,1,1)     90,135  (-1,1,0)     135,135  (-1,1,-1)\n"
    "With A2 = 0 the direction lies in the X-Z plane at A1 degrees from X towards Z; otherwise\n"
    "it leans towards +Y and A1, A2 give its X and Z components (45 -> +1, 90 -> 0,\n"
    "135 -> -1). Apart from (45,0), a mask is +1 on the neighbours on the direction's side of\n"
    "the plane through the centre perpendicular to it and -1 on the other side; the body\n"
    "diagonals leave out their own two corners. Other pairs fail with \"Invalid parameters\".";

const cli::Registrar registrations[] = {
    cli::Registrar({"Sobel_3D", "3D Sobel gradient magnitude", cli::kInOutUsage,
                    "min(255, |Gx| + |Gy| + |Gz|) for voxels one step inside every face of the VOI.\n"
                    "Each derivative takes the 3x3 planes at +1 and -1 along its axis, weighting\n"
                    "3 on the axis, 2 off it in one direction and 1 in the corners.\n"
                    "Input: one-channel UC.",
                    run_sobel}),
    cli::Registrar({"compas3d", "directional compass mask edges",
                    "--in FILE --size ZxYxX [--voi ...] --angles A1,A2 --out FILE", kCompassHelp,
                    run_compass}),
    cli::Registrar({"laplace_3d", "six-neighbour Laplacian", cli::kInOutUsage,
                    "Sum of the six face neighbours minus 6 times the centre, for voxels one step\n"
                    "inside every face of the VOI; negative values become 0, values above 255\n"
                    "become 255. Input: one-channel UC.",
                    run_laplace}),
    cli::Registrar({"range_3d", "local range (maximum minus minimum)",
                    "--in FILE --size ZxYxX [--voi ...] --window ZxYxX --out FILE",
                    "Maximum minus minimum over a ZxYxX window for every voxel whose window lies\n"
                    "inside the VOI. Window sizes must be positive and odd; a window larger than\n"
                    "the VOI computes nothing. Input: one-channel UC.",
                    run_range}),
    cli::Registrar({"edge_follow_3d", "greedy edge following from a start voxel",
                    "--in FILE --size ZxYxX [--voi ...] --start z,y,x --maxdiff N\n"
                    "    --threshold N [--weight N] --out FILE [--consumed FILE]",
                    "Follows an edge from --start through 26-neighbours inside the VOI whose value\n"
                    "is at least --threshold and differs from the current one by at most\n"
                    "--maxdiff, always to the cheapest (|difference| * weight, default weight 1;\n"
                    "the first in scan order among equals), and writes 255 on the path. The path's\n"
                    "input voxels are set to 0 (--consumed writes the input so changed). A path\n"
                    "takes at most as many steps as the VOI has voxels. The start must lie in the\n"
                    "VOI with a value of at least the threshold; weight 0 marks the start only.",
                    run_follow}),
    cli::Registrar({"Hough_3D", "plane detection by the Hough transform",
                    "--in FILE --size ZxYxX --acc-size ExAxD --threshold N --out FILE\n"
                    "    [--acc-out FILE]",
                    "The input must be binary (0 and 255 in its VOI). Every 255 voxel of the whole\n"
                    "volume votes for the planes through it in an accumulator of E elevations and\n"
                    "A azimuths and D distance cells; elevation k is k * 180 / E - 90 degrees and\n"
                    "azimuth j is j * 180 / A - 90 (E = 4: elevations -90, -45, 0, 45).\n"
                    "Cells with at least --threshold votes survive; the output is 255 on the\n"
                    "input's 255 voxels that voted for a surviving cell (they lie on its plane)\n"
                    "and 0 elsewhere. --acc-out writes the accumulator (I): 1 on surviving cells.",
                    run_hough}),
    cli::Registrar({"modedg3d", "link two edge voxels along strong edges",
                    "--in FILE --size ZxYxX [--voi ...] --start z,y,x --end z,y,x --threshold N\n"
                    "    --out FILE",
                    "Searches a 26-connected path from --start to --end through VOI voxels of edge\n"
                    "strength (input value) of at least --threshold, depth first: it steps to an\n"
                    "unvisited neighbour that comes closer to the end if there is one, the\n"
                    "strongest first, and backs up from dead ends. Prints the path from the end back to the start as\n"
                    "\"z,y,x strength\" lines and writes 255 on it. Without a path it fails with\n"
                    "\"stack is empty\". Use it on the output of Sobel_3D, for example.",
                    run_link}),
};

}  // namespace
