// v3d commands of the basic operations: copy, clear, conversions, logic, metrics, rotation.
#include <cmath>
#include <cstdio>

#include "cli/cli.h"

namespace {

using cli::Args;
using cli::VolumePtr;

// Output of the VOI extent placed at --offset (default 0,0,0), of the given type.
int run_offset_op(const Args& args, int out_type, int (*op)(Volume*, Volume*, int, int, int)) {
    const cli::Triple o = args.triple("offset", {0, 0, 0});
    auto shape = [&](const Volume* v) {
        const cli::Triple size = args.has("out-size")
                                     ? args.triple("out-size")
                                     : cli::Triple{cli::checked_sum({o.z, v->z2 - v->z1}, "--offset"),
                                                   cli::checked_sum({o.y, v->y2 - v->y1}, "--offset"),
                                                   cli::checked_sum({o.x, v->x2 - v->x1}, "--offset")};
        return cli::Shape{size.z, size.y, size.x, out_type, v->colortype};
    };
    return cli::run_in_out(args, shape,
                           [&](Volume* in, Volume* out) { return op(in, out, o.z, o.y, o.x); });
}

int run_copy(const Args& a) { return run_offset_op(a, cli::volume_spec(a, "in").type, CopyVolume); }
int run_f2uc(const Args& a) { return run_offset_op(a, V3D_TYPE_UC, FVolume2UCVolume); }
int run_f2uc_norm(const Args& a) { return run_offset_op(a, V3D_TYPE_UC, FVolume2UCVolume_norm); }
int run_uc2f(const Args& a) { return run_offset_op(a, V3D_TYPE_F, UCVolume2FVolume); }

int run_clear(const Args& args) {
    VolumePtr in;
    if (int s = cli::load_volume(args, "in", in)) return s;
    std::vector<float> values = args.has("values") ? args.reals("values")
                                                   : std::vector<float>{args.real("value", 0.0f)};
    const size_t n = in->get()->colortype == 1 ? 1 : 3;
    if (values.size() == 1) values.resize(n, values[0]);
    if (values.size() != n) throw cli::UsageError("--values needs one value per channel");
    if (int s = ClearVolume(in->get(), values.data())) return s;
    return cli::save_volume(args, in->get());
}

// An output of the input's dimensions, type and colour type.
int make_output_like(const Volume* in, VolumePtr& out) {
    const cli::Shape s = cli::like(in);
    return cli::make_volume(s.Z, s.Y, s.X, s.type, s.colortype, out);
}

int run_symmetric(const Args& args) { return cli::run_in_out(args, cli::like, Symmetric3d); }

int run_logic(const Args& args, int (*op)(Volume*, Volume*, Volume*)) {
    VolumePtr a, b, out;
    if (int s = cli::load_volume(args, "in", a)) return s;
    if (int s = cli::load_volume(args, "in2", b)) return s;
    if (int s = make_output_like(a->get(), out)) return s;
    if (int s = op(a->get(), b->get(), out->get())) return s;
    return cli::save_volume(args, out->get());
}
int run_and(const Args& a) { return run_logic(a, and3d); }
int run_or(const Args& a) { return run_logic(a, or3d); }
int run_xor(const Args& a) { return run_logic(a, xor3d); }

int run_count(const Args& args) {
    VolumePtr in;
    if (int s = cli::load_volume(args, "in", in)) return s;
    unsigned int n = 0;
    if (int s = CountNonZeroPoints3d(in->get(), &n)) return s;
    std::printf("Volume (nonzero points) = %lu\n", static_cast<unsigned long>(n));
    return 0;
}

int run_surface(const Args& args) {
    VolumePtr in;
    if (int s = cli::load_volume(args, "in", in)) return s;
    unsigned int n = 0;
    if (int s = CountNonZeroSurfacePoints3d(in->get(), &n)) return s;
    std::printf("Surface (nonzero surface points) = %lu\n", static_cast<unsigned long>(n));
    return 0;
}

int run_bbox(const Args& args) {
    VolumePtr in;
    if (int s = cli::load_volume(args, "in", in)) return s;
    int z1, z2, y1, y2, x1, x2;
    if (int s = FindBoundingBox3d(in->get(), &z1, &z2, &y1, &y2, &x1, &x2)) return s;
    if (z1 < 0)
        std::printf("Selected Volume (VOI) contains only background points\n");
    else
        std::printf("Bounding Box (x1,y1,z1) - (x2,y2,z2) : (%d,%d,%d) - (%d,%d,%d)\n", x1, y1, z1,
                    x2, y2, z2);
    return 0;
}

int run_minmax(const Args& args) {
    VolumePtr in;
    if (int s = cli::load_volume(args, "in", in)) return s;
    unsigned int lo = 0, hi = 0;
    if (int s = FindMinMaxIntensity(in->get(), &lo, &hi)) return s;
    std::printf("min = %u, max = %u\n", lo, hi);
    return 0;
}

int run_dump(const Args& args) {
    VolumePtr in;
    if (int s = cli::load_volume(args, "in", in)) return s;
    const std::string path = args.text("out");
    args.check_all_used();
    return dumpUCFI3D(in->get(), cli::stage_output(path).c_str());
}

int run_rotate2d(const Args& args) {
    const float angle = args.real("angle");
    return cli::run_in_out(args, cli::like,
                           [&](Volume* in, Volume* out) { return RotateVol2d(in, out, angle); });
}

int run_rotate3d(const Args& args) {
    const std::vector<float> a = args.reals("angles");
    if (a.size() != 3) throw cli::UsageError("--angles needs three values az,ay,ax");
    return cli::run_in_out(args, cli::like, [&](Volume* in, Volume* out) {
        return RotateVol3d(in, out, a[0], a[1], a[2]);
    });
}

// A test volume: nested ellipsoids with smooth intensities, written as UC.
int run_phantom(const Args& args) {
    const cli::Triple size = args.triple("size");
    VolumePtr out;
    if (int s = cli::make_volume(size.z, size.y, size.x, 1, 1, out)) return s;
    Volume* v = out->get();
    for (int z = 0; z < v->Z; ++z)
        for (int y = 0; y < v->Y; ++y)
            for (int x = 0; x < v->X; ++x) {
                const double dz = (z + 0.5) / v->Z - 0.5, dy = (y + 0.5) / v->Y - 0.5,
                             dx = (x + 0.5) / v->X - 0.5;
                auto inside = [&](double rz, double ry, double rx, double cz, double cy, double cx) {
                    const double a = (dz - cz) / rz, b = (dy - cy) / ry, c = (dx - cx) / rx;
                    return a * a + b * b + c * c;
                };
                double value = 0;
                const double outer = inside(0.56, 0.42, 0.38, 0, 0, 0);  // cut by the end frames
                if (outer < 1) value = 60 + 40 * (1 - outer);
                const double inner = inside(0.30, 0.22, 0.18, 0.02, -0.08, 0.06);
                if (inner < 1) value = 130 + 60 * (1 - inner);
                const double core = inside(0.12, 0.10, 0.09, -0.05, 0.10, -0.10);
                if (core < 1) value = 200 + 55 * std::cos(1.5 * core);
                value += 8 * std::sin(x * 0.21) * std::cos(y * 0.17) * (value > 0);
                v->data[0].uc[z][y][x] =
                    static_cast<unsigned char>(value < 0 ? 0 : value > 255 ? 255 : value + 0.5);
            }
    return cli::save_volume(args, v);
}

const char* const kOffsetUsage =
    "--in FILE --size ZxYxX [--type ...] [--channels 1|3] [--voi ...]\n"
    "    [--offset z,y,x] [--out-size ZxYxX] --out FILE";
const char* const kLogicUsage =
    "--in A --in2 B --size ZxYxX [--in2-size ZxYxX] [--voi ...] --out FILE";

const cli::Registrar registrations[] = {
    cli::Registrar({"copy", "copy the VOI into a new volume at an offset", kOffsetUsage,
                    "Copies the VOI of the input into an output of the same type and colour type\n"
                    "at --offset (default 0,0,0). The output is the VOI's extent plus the offset\n"
                    "unless --out-size gives more; its other voxels are 0.",
                    run_copy}),
    cli::Registrar({"clear", "set every VOI voxel to a value", "--in FILE --size ZxYxX [--voi ...]\n"
                    "    (--value V | --values R,G,B) --out FILE",
                    "Sets every VOI voxel of channel c to the value of c and writes the whole volume.\n"
                    "UC values must lie in 0..255 and are truncated; I values are truncated.",
                    run_clear}),
    cli::Registrar({"f2uc", "F to UC by rounding, wrapping to 8 bits", kOffsetUsage,
                    "Each voxel becomes the low eight bits of floor(v + 0.5): 256.0 gives 0 and\n"
                    "-1.0 gives 255. Use f2uc_norm to scale to 0..255 instead.",
                    run_f2uc}),
    cli::Registrar({"f2uc_norm", "F to UC scaled per channel to 0..255", kOffsetUsage,
                    "Maps each channel's VOI range [min, max] linearly onto 0..255 (truncating).\n"
                    "A constant channel keeps its value clamped to 0..255.",
                    run_f2uc_norm}),
    cli::Registrar({"uc2f", "UC to F, values unchanged", kOffsetUsage,
                    "Converts the VOI of a UC volume into an F volume at --offset.", run_uc2f}),
    cli::Registrar({"symmetric", "point reflection of the VOI through its centre", cli::kInOutUsage,
                    "out[z][y][x] = in[z1+z2-1-z][y1+y2-1-y][x1+x2-1-x] over the VOI of a UC volume.",
                    run_symmetric}),
    cli::Registrar({"and", "voxelwise AND of two binary volumes", kLogicUsage,
                    "Both inputs must be one-channel UC volumes holding only 0 and 255\n"
                    "(else: Volume is not binary). Works over the first input's VOI.",
                    run_and}),
    cli::Registrar({"or", "voxelwise OR of two binary volumes", kLogicUsage,
                    "As 'and', with OR.", run_or}),
    cli::Registrar({"xor", "voxelwise XOR of two binary volumes", kLogicUsage,
                    "As 'and', with XOR.", run_xor}),
    cli::Registrar({"count", "number of non-zero VOI voxels", "--in FILE --size ZxYxX [--voi ...]",
                    "Prints \"Volume (nonzero points) = N\" for a one-channel UC volume.", run_count}),
    cli::Registrar({"surface", "number of non-zero surface voxels",
                    "--in FILE --size ZxYxX [--voi ...]",
                    "Counts the non-zero voxels strictly inside the VOI that have a zero among\n"
                    "their 26 neighbours; the VOI's outermost layer is not counted.",
                    run_surface}),
    cli::Registrar({"bbox", "bounding box of the non-zero voxels", "--in FILE --size ZxYxX [--voi ...]",
                    "Prints the inclusive box as \"Bounding Box (x1,y1,z1) - (x2,y2,z2) : ...\".",
                    run_bbox}),
    cli::Registrar({"minmax", "smallest and largest VOI value", "--in FILE --size ZxYxX [--voi ...]",
                    "For a one-channel UC volume.", run_minmax}),
    cli::Registrar({"dump", "the VOI as text", "--in FILE --size ZxYxX [--type ...] [--voi ...] --out TEXT",
                    "Writes every VOI voxel with \"%3u \", \"%.3f \" or \"%d \"; a line break after\n"
                    "each row, one more after each frame and after each channel.",
                    run_dump}),
    cli::Registrar({"rotate2d", "turn every frame of the VOI about its centre",
                    "--in FILE --size ZxYxX [--voi ...] --angle DEGREES --out FILE",
                    "Nearest-neighbour rotation of each frame about the VOI's centre; positive\n"
                    "angles turn counter-clockwise as shown. Voxels whose source lies outside the\n"
                    "VOI become 0; voxels outside the VOI are 0 in the new output.",
                    run_rotate2d}),
    cli::Registrar({"rotate3d", "turn the VOI about its centre",
                    "--in FILE --size ZxYxX [--voi ...] --angles AZ,AY,AX --out FILE",
                    "Turns by AZ degrees about the Z axis (as rotate2d), then AY about the Y axis\n"
                    "(X towards Z), then AX about the X axis (Y towards Z); nearest neighbour.",
                    run_rotate3d}),
    cli::Registrar({"phantom", "write a test volume of nested ellipsoids", "--size ZxYxX --out FILE",
                    "Writes a one-channel UC volume: three nested ellipsoids with smooth\n"
                    "intensities and a faint texture, for trying the operators.",
                    run_phantom}),
};

}  // namespace
