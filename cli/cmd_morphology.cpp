// v3d commands of binary morphology. The structuring element comes from a file (--se FILE
// --se-size ZxYxX) or is built in (--element cube:N, box:ZxYxX or cross).
#include <string>

#include "cli/cli.h"

namespace {

using cli::Args;
using cli::VolumePtr;

// A built-in element: every voxel of a ZxYxX box set, or the 3x3x3 cross (the centre and its
// six face neighbours).
int built_in_element(const std::string& word, VolumePtr& se) {
    cli::Triple size{3, 3, 3};
    const bool cross = word == "cross";
    if (word.compare(0, 5, "cube:") == 0) {
        const int n = cli::parse_int(word.substr(5), "--element cube:N");
        size = {n, n, n};
    } else if (word.compare(0, 4, "box:") == 0) {
        size = cli::parse_triple(word.substr(4), "--element box:ZxYxX");
    } else if (!cross) {
        throw cli::UsageError("--element must be cube:N, box:ZxYxX or cross");
    }
    if (int s = cli::make_volume(size.z, size.y, size.x, 1, 1, se)) return s;
    Volume* v = se->get();
    for (int z = 0; z < v->Z; ++z)
        for (int y = 0; y < v->Y; ++y)
            for (int x = 0; x < v->X; ++x) {
                const int off = (z != 1) + (y != 1) + (x != 1);
                v->data[0].uc[z][y][x] = !cross || off <= 1 ? 255 : 0;
            }
    return 0;
}

template <int (*op)(Volume*, Volume*, Volume*)> int run_morphology(const Args& args) {
    VolumePtr in, se, out;
    if (int s = cli::load_volume(args, "in", in)) return s;
    if (args.has("element") == args.has("se"))
        throw cli::UsageError("give the element with --se FILE --se-size ZxYxX or with --element");
    const int s = args.has("element") ? built_in_element(args.text("element"), se)
                                      : cli::load_volume(args, "se", se);
    if (s) return s;
    const Volume* v = in->get();
    if (int s2 = cli::make_volume(v->Z, v->Y, v->X, 1, 1, out)) return s2;
    if (int s2 = op(in->get(), se->get(), out->get())) return s2;
    return cli::save_volume(args, out->get());
}

const char* const kUsage =
    "--in FILE --size ZxYxX [--voi ...]\n"
    "    (--se FILE --se-size ZxYxX | --element cube:N|box:ZxYxX|cross) --out FILE";

#define V3D_MORPHOLOGY_NOTE                                                                      \
    "\nInput and element: one-channel UC volumes of 0 and 255 only; the element's sides are\n"  \
    "odd and no larger than the VOI's, its centre is its origin and every non-zero voxel counts.\n" \
    "The output has the input's size and is 0 outside the VOI."

const cli::Registrar registrations[] = {
    cli::Registrar({"bdilate3d", "binary dilation", kUsage,
                    "255 where some set element voxel meets a set input voxel, else 0. The VOI's\n"
                    "margins (half an element wide) become 0." V3D_MORPHOLOGY_NOTE,
                    run_morphology<bdilate3d>}),
    cli::Registrar({"berode3d", "binary erosion", kUsage,
                    "0 where some set element voxel meets a clear input voxel, else 255. The VOI's\n"
                    "margins become 0." V3D_MORPHOLOGY_NOTE,
                    run_morphology<berode3d>}),
    cli::Registrar({"bopening3d", "binary opening", kUsage,
                    "Erosion with the element, then dilation with the element reflected through\n"
                    "its centre: removes objects that cannot hold the element." V3D_MORPHOLOGY_NOTE,
                    run_morphology<bopening3d>}),
    cli::Registrar({"bclosing3d", "binary closing", kUsage,
                    "Dilation with the element, then erosion with its reflection: fills holes\n"
                    "that cannot hold the element." V3D_MORPHOLOGY_NOTE,
                    run_morphology<bclosing3d>}),
    cli::Registrar({"MinkowskiAddition3d", "Minkowski addition (scatter dilation)", kUsage,
                    "Clears the VOI, then every set input voxel inside the VOI shrunk by half an\n"
                    "element stamps the element's set voxels as 255." V3D_MORPHOLOGY_NOTE,
                    run_morphology<MinkowskiAddition3d>}),
    cli::Registrar({"MinkowskiSubtraction3d", "Minkowski subtraction (scatter erosion)", kUsage,
                    "Sets the VOI shrunk by half an element to 255 and its margins to 0, then every\n"
                    "clear input voxel of the shrunk VOI stamps the element's set voxels as 0."
                    V3D_MORPHOLOGY_NOTE,
                    run_morphology<MinkowskiSubtraction3d>}),
};

}  // namespace
