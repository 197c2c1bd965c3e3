// v3d commands of resizing and interpolation: replication, decimation, resampling, resampling
// along Z, frame insertion and the per-frame object fill.
#include <climits>
#include <cmath>
#include <functional>

#include "cli/cli.h"

namespace {

using cli::Args;
using cli::Triple;
using cli::VolumePtr;

// The VOI's extents of a volume.
Triple extents(const Volume* v) { return {v->z2 - v->z1, v->y2 - v->y1, v->x2 - v->x1}; }

// A default output dimension computed without overflow: at least 1, at most INT_MAX (which
// then fails to be created and reports it).
int dim(long long n) { return n < 1 ? 1 : n > INT_MAX ? INT_MAX : static_cast<int>(n); }

// Loads --in, makes an output of --out-size (default: the size the command computes from the
// input), runs the operator on both and writes the output.
int run_sized(const Args& args, const std::function<Triple(const Volume*)>& size,
              const cli::Operation& op) {
    auto shape = [&](const Volume* in) {
        const Triple t = args.has("out-size") ? args.triple("out-size") : size(in);
        return cli::Shape{t.z, t.y, t.x, V3D_TYPE_UC, in->colortype};
    };
    return cli::run_in_out(args, shape, op);
}

Triple origin(const Args& args) { return args.triple("origin", {0, 0, 0}); }

int run_zoom(const Args& args) {
    const int f = args.integer("factor");
    const Triple o = origin(args);
    return run_sized(
        args,
        [&](const Volume* v) {
            const Triple e = extents(v);
            const long long n = f;
            return Triple{dim(n * e.z + o.z), dim(n * e.y + o.y), dim(n * e.x + o.x)};
        },
        [&](Volume* in, Volume* out) { return zoom3d(in, out, f, o.z, o.y, o.x); });
}

int run_decim(const Args& args) {
    const int f = args.integer("factor");
    const Triple o = origin(args);
    auto samples = [f](int e) { return f > 0 ? e / f + (e % f != 0) : 1; };
    return run_sized(
        args,
        [&](const Volume* v) {
            const Triple e = extents(v);
            return Triple{dim(1LL * samples(e.z) + o.z), dim(1LL * samples(e.y) + o.y),
                          dim(1LL * samples(e.x) + o.x)};
        },
        [&](Volume* in, Volume* out) { return decim3(in, out, f, o.z, o.y, o.x); });
}

using Resampler = int (*)(Volume*, Volume*, int, float, float, float, int, int, int);

// --to ZxYxX fills a whole output of that size (mode 1); --factors fz,fy,fx scales the VOI
// and places it at --origin (mode 0).
template <Resampler op> int run_resample(const Args& args) {
    if (args.has("to")) {
        const Triple to = args.triple("to");
        return run_sized(
            args, [&](const Volume*) { return to; },
            [&](Volume* in, Volume* out) { return op(in, out, 1, 0, 0, 0, 0, 0, 0); });
    }
    const std::vector<float> f = args.reals("factors");
    if (f.size() != 3) throw cli::UsageError("--factors needs three values fz,fy,fx");
    const Triple o = origin(args);
    auto target = [](int e, float factor) {
        const float n = static_cast<float>(e) * factor;  // as the operator truncates it
        return n > 0.0f && n < 1.0e9f ? static_cast<int>(n) : 1;
    };
    return run_sized(
        args,
        [&](const Volume* v) {
            const Triple e = extents(v);
            return Triple{dim(1LL * target(e.z, f[0]) + o.z), dim(1LL * target(e.y, f[1]) + o.y),
                          dim(1LL * target(e.x, f[2]) + o.x)};
        },
        [&](Volume* in, Volume* out) { return op(in, out, 0, f[0], f[1], f[2], o.z, o.y, o.x); });
}

// --frames N fills an output of N frames (mode 1); --fz F resamples by F from --origin.
int run_frame_linear(const Args& args) {
    if (args.has("frames")) {
        const int n = args.integer("frames");
        return run_sized(
            args,
            [&](const Volume* v) {
                const Triple e = extents(v);
                return Triple{n, e.y, e.x};
            },
            [&](Volume* in, Volume* out) { return InterpolationFrameLinear3d(in, out, 1, 0, 0, 0, 0); });
    }
    const float fz = args.real("fz");
    const Triple o = origin(args);
    return run_sized(
        args,
        [&](const Volume* v) {
            const Triple e = extents(v);
            const float n = fz == std::floor(fz)
                                ? (e.z - 1) * fz + 1
                                : static_cast<float>(e.z) * fz;
            return Triple{dim((n > 0.0f && n < 1.0e9f ? static_cast<long long>(n) : 1) + o.z),
                          dim(1LL * e.y + o.y), dim(1LL * e.x + o.x)};
        },
        [&](Volume* in, Volume* out) { return InterpolationFrameLinear3d(in, out, 0, fz, o.z, o.y, o.x); });
}

// The frame-insertion commands: --k K [--origin z,y,x], the output k (frames - 1) + 1 frames.
int run_insertion(const Args& args, const std::function<int(Volume*, Volume*, int, Triple)>& op) {
    const int k = args.integer("k");
    const Triple o = origin(args);
    return run_sized(
        args,
        [&](const Volume* v) {
            const Triple e = extents(v);
            return Triple{dim((k > 0 ? k : 1) * (e.z - 1LL) + 1 + o.z), dim(1LL * e.y + o.y),
                          dim(1LL * e.x + o.x)};
        },
        [&](Volume* in, Volume* out) { return op(in, out, k, o); });
}

int run_zero_padding(const Args& args) {
    return run_insertion(args, [](Volume* in, Volume* out, int k, Triple o) {
        return FrameZeroPadding(in, out, k, o.z, o.y, o.x);
    });
}

int run_grey_insertion(const Args& args) {
    return run_insertion(args, [](Volume* in, Volume* out, int k, Triple o) {
        return FrameInterpolationGrayscale(in, out, k, o.z, o.y, o.x);
    });
}

int run_binary_insertion(const Args& args) {
    const int fill = args.has("fill") ? 1 : 0;
    return run_insertion(args, [fill](Volume* in, Volume* out, int k, Triple o) {
        return FrameInterpolationBinary(in, out, k, o.z, o.y, o.x, fill);
    });
}

int run_object_fill(const Args& args) {
    return run_sized(
        args, [](const Volume* v) { return Triple{v->Z, v->Y, v->X}; },
        [](Volume* in, Volume* out) { return FrameContourObjectFill(in, out); });
}

#define V3D_OUTPUT_NOTE                                                                        \
    "The output is a new UC volume of --out-size (default: just large enough), zero outside\n" \
    "what the operator writes."

const char* const kFactorUsage =
    "--in FILE --size ZxYxX [--channels 1|3] [--voi ...] --factor F [--origin z,y,x]\n"
    "    [--out-size ZxYxX] --out FILE";
const char* const kResampleUsage =
    "--in FILE --size ZxYxX [--channels 1|3] [--voi ...]\n"
    "    (--factors FZ,FY,FX [--origin z,y,x] | --to ZxYxX) [--out-size ZxYxX] --out FILE";
const char* const kInsertionUsage =
    "--in FILE --size ZxYxX [--voi ...] --k K [--origin z,y,x] [--out-size ZxYxX] --out FILE";

const cli::Registrar registrations[] = {
    cli::Registrar({"zoom3d", "enlarge by an integer factor (replication)", kFactorUsage,
                    "Every VOI voxel fills an FxFxF block of the output from --origin.\n"
                    "F >= 1 and the origin >= 0, else Invalid parameters.\n" V3D_OUTPUT_NOTE,
                    run_zoom}),
    cli::Registrar({"decim3", "shrink by an integer factor (subsampling)", kFactorUsage,
                    "Copies VOI voxels z1, z1+F, ... (likewise y, x) to consecutive output voxels\n"
                    "from --origin. The size check counts E/F (rounded down) voxels per axis\n"
                    "although ceil(E/F) are taken; a last sample without room is not written.\n"
                    "The default output holds ceil(E/F).\n" V3D_OUTPUT_NOTE,
                    run_decim}),
    cli::Registrar({"InterpolationNearestNeighbor3d", "resample, nearest neighbour", kResampleUsage,
                    "--factors: the VOI becomes trunc(E*F) voxels per axis placed at --origin\n"
                    "(factors > 0). --to: the whole output of that size is filled. Output voxel n\n"
                    "takes the source voxel first + n/step rounded half up, step = (T-1)/(E-1).\n"
                    "RGB volumes channel by channel.\n" V3D_OUTPUT_NOTE,
                    run_resample<InterpolationNearestNeighbor3d>}),
    cli::Registrar({"InterpolationLinear3d", "resample, trilinear", kResampleUsage,
                    "As InterpolationNearestNeighbor3d with the trilinear blend of the eight\n"
                    "source voxels around position n * ((E-1) - 0.1) / (T-1), rounded half up.\n"
                    V3D_OUTPUT_NOTE,
                    run_resample<InterpolationLinear3d>}),
    cli::Registrar({"InterpolationFrameLinear3d", "resample along Z, linear",
                    "--in FILE --size ZxYxX [--channels 1|3] [--voi ...]\n"
                    "    (--fz F [--origin z,y,x] | --frames N) [--out-size ZxYxX] --out FILE",
                    "An integral --fz puts the input frames F apart ((E-1)*F+1 frames) with linear\n"
                    "blends between; another --fz gives trunc(E*F) frames blended at positions\n"
                    "n * ((E-1) - 0.1) / (T-1). --frames N resamples to exactly N frames. The VOI\n"
                    "must have two frames or more.\n" V3D_OUTPUT_NOTE,
                    run_frame_linear}),
    cli::Registrar({"FrameZeroPadding", "insert K-1 empty frames between frames", kInsertionUsage,
                    "Input frame j goes to output frame K*j (from --origin); the frames between\n"
                    "are 0. K >= 2. Grey volumes.\n" V3D_OUTPUT_NOTE,
                    run_zero_padding}),
    cli::Registrar({"FrameInterpolationGrayscale", "insert K-1 blended frames between frames",
                    kInsertionUsage,
                    "As FrameZeroPadding, K 2 or 3; the new frames are the blends of their\n"
                    "neighbours ((K-i)/K A + i/K B) averaged over the 3x3 neighbourhood in the\n"
                    "frame, rounded half up.\n" V3D_OUTPUT_NOTE,
                    run_grey_insertion}),
    cli::Registrar({"FrameInterpolationBinary", "insert K-1 shape-interpolated binary frames",
                    "--in FILE --size ZxYxX [--voi ...] --k K [--origin z,y,x] [--fill]\n"
                    "    [--out-size ZxYxX] --out FILE",
                    "For binary (0/255) volumes, K 2 or 3. Inside the frame's one-pixel border the\n"
                    "new pixels keep a value both frames agree on; otherwise junction pixels decide,\n"
                    "or the 3x3 blend thresholded at 140. --fill fills the objects of every new\n"
                    "frame as FrameContourObjectFill does.\n" V3D_OUTPUT_NOTE,
                    run_binary_insertion}),
    cli::Registrar({"FrameContourObjectFill", "fill the objects of every frame", cli::kInOutUsage,
                    "Per VOI frame, the 0-voxels reached from the VOI's border (4-connected) stay 0,\n"
                    "every other voxel becomes 255: regions enclosed by contours are filled. The\n"
                    "output has the input's size; outside the VOI it is 0.",
                    run_object_fill}),
};

}  // namespace
