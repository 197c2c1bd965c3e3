// v3d commands of the projections: rendered projections, sections and the frame gallery,
// written as pictures (PGM, PPM or TIFF).
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "cli/cli.h"
#include "cli/picture_file.h"

namespace {

using cli::Args;
using cli::VolumePtr;

struct Size2 {
    int h, w;
};

// --picture HxW, or the default size (fallback_h x fallback_w, computed from the VOI). Either
// must be positive and within the picture limit (the readers' frame limit), checked before
// anything is made: a picture is H x W bytes per channel, and rendering it takes time to match.
Size2 picture_size(const Args& args, long long fallback_h, long long fallback_w) {
    const bool given = args.has("picture");
    long long h = fallback_h, w = fallback_w;
    if (given) {
        const std::string text = args.text("picture");
        const size_t x = text.find('x');
        if (x == std::string::npos)
            throw cli::UsageError("--picture: '" + text + "' is not of the form HxW");
        h = cli::parse_int(text.substr(0, x), "--picture");
        w = cli::parse_int(text.substr(x + 1), "--picture");
    }
    if (h < 1 || w < 1) throw cli::UsageError("--picture: both sizes must be positive");
    if (h > V3D_PICTURE_MAX_HEIGHT || w > V3D_PICTURE_MAX_WIDTH)
        throw cli::UsageError(std::string(given ? "--picture " : "the default picture ") +
                              std::to_string(h) + "x" + std::to_string(w) +
                              " is larger than pictures may be (" +
                              std::to_string(V3D_PICTURE_MAX_HEIGHT) + "x" +
                              std::to_string(V3D_PICTURE_MAX_WIDTH) + ")" +
                              (given ? "" : "; give a smaller --picture"));
    return {static_cast<int>(h), static_cast<int>(w)};
}

// The length of a diagonal of the VOI over the given extents, rounded up.
long long diagonal(std::initializer_list<int> extents) {
    double sum = 0;
    for (int e : extents) sum += static_cast<double>(e) * e;
    return static_cast<long long>(std::ceil(std::sqrt(sum)));
}

using BufferPtr = std::unique_ptr<Buffer, void (*)(Buffer*)>;

// A picture for the renderers; the status of the allocation (-9) when it cannot be had.
int make_picture(int colortype, Size2 size, BufferPtr& out) {
    out.reset(CreateBuffer(colortype, size.w, size.h));
    return out ? 0 : -9;
}

int finish(const std::string& path, Image2d image, int channels, Size2 size, int status) {
    if (status) return status;
    return cli::write_picture(path, image, channels, size.h, size.w);
}

// --threshold T (every channel) or R,G,B; default 0.
std::vector<unsigned char> thresholds(const Args& args, int channels) {
    std::vector<float> t = args.has("threshold") ? args.reals("threshold") : std::vector<float>{0};
    if (t.size() == 1) t.resize(static_cast<size_t>(channels), t[0]);
    if (static_cast<int>(t.size()) != channels)
        throw cli::UsageError("--threshold needs one value or one per channel");
    std::vector<unsigned char> out;
    for (float v : t) {
        if (!(v >= 0 && v <= 255)) throw cli::UsageError("--threshold values lie in 0..255");
        out.push_back(static_cast<unsigned char>(v));
    }
    return out;
}

// The volume's voxel spacing (z, y, x) over the smallest when it is not cubic (--spacing):
// the pictures then show the voxels in those proportions.
bool proportions_of(Volume* v, double p[3]) {
    GetVolumeSpacing(v, &p[0], &p[1], &p[2]);
    const double least = std::min({p[0], p[1], p[2]});
    for (int k = 0; k < 3; ++k) p[k] /= least;
    return !(p[0] == 1.0 && p[1] == 1.0 && p[2] == 1.0);
}

int spaced_mode(const std::string& mode) {
    if (mode == "max") return V3D_PROVOLI_MAX;
    if (mode == "mean") return V3D_PROVOLI_MEAN;
    if (mode == "threshold") return V3D_PROVOLI_THRESHOLD;
    if (mode == "binary") return V3D_PROVOLI_BINARY;
    if (mode == "surface") return V3D_PROVOLI_SURFACE;
    if (mode == "surface-colour") return V3D_PROVOLI_SURFACE_COLOR;
    throw cli::UsageError("--mode '" + mode + "' is not one of max, mean, threshold, binary, surface, surface-colour");
}

int run_project(const Args& args) {
    VolumePtr in;
    if (int s = cli::load_volume(args, "in", in)) return s;
    Volume* v = in->get();
    const int n = v->colortype == 1 ? 1 : 3;
    const std::string mode = args.text("mode");
    const bool flat = args.has("angle");
    if (flat && (args.has("azimuth") || args.has("elevation")))
        throw cli::UsageError("give --angle or --azimuth/--elevation, not both");
    const int az = flat ? args.integer("angle") : args.integer("azimuth", 0);
    const int el = flat ? 0 : args.integer("elevation", 0);
    const int trim = args.has("trim") ? 1 : 0;
    double p[3];
    const bool spaced = proportions_of(v, p);
    const int ez = static_cast<int>(std::ceil((v->z2 - v->z1) * p[0])),
              ey = static_cast<int>(std::ceil((v->y2 - v->y1) * p[1])),
              ex = static_cast<int>(std::ceil((v->x2 - v->x1) * p[2]));
    const Size2 size = flat ? picture_size(args, ez, diagonal({ey, ex}))
                            : picture_size(args, diagonal({ez, ey, ex}), diagonal({ez, ey, ex}));
    const std::string path = args.text("out");
    cli::check_picture_path(path, n);
    std::vector<unsigned char> thr;
    int param = 0, cue = 0;
    if (mode == "threshold" || mode == "surface" || mode == "surface-colour") thr = thresholds(args, n);
    if (mode == "binary") param = args.integer("param", 0);
    if (mode == "surface" || mode == "surface-colour") cue = args.has("depthcue") ? 1 : 0;
    args.check_all_used();

    BufferPtr pic(nullptr, DestroyBuffer);
    if (int s = make_picture(v->colortype, size, pic)) return s;
    Image2d im = pic->image;
    const int H = size.h, W = size.w;
    int s;
    if (spaced)
        s = ProvoliSpaced3d(v, im, H, W, spaced_mode(mode), az, el, trim, thr.data(),
                            mode == "binary" ? param : cue, p[0], p[1], p[2]);
    else if (mode == "max") s = flat ? ProvoliMax2d(v, im, H, W, az, trim) : ProvoliMax3d(v, im, H, W, az, el, trim);
    else if (mode == "mean") s = flat ? ProvoliAvrg2d(v, im, H, W, az, trim) : ProvoliAvrg3d(v, im, H, W, az, el, trim);
    else if (mode == "threshold") s = flat ? Provoli2d(v, im, H, W, az, trim, thr.data()) : Provoli3d(v, im, H, W, az, el, trim, thr.data());
    else if (mode == "binary") s = flat ? Provoli2dBinary(v, im, H, W, az, trim, param) : Provoli3dBinary(v, im, H, W, az, el, trim, param);
    else if (mode == "surface") s = Provoli3dSurface(v, im, H, W, az, el, trim, thr.data(), cue);
    else if (mode == "surface-colour") s = Provoli3dSurfaceColor(v, im, H, W, az, el, trim, thr.data(), cue);
    else throw cli::UsageError("--mode '" + mode + "' is not one of max, mean, threshold, binary, surface, surface-colour");
    return finish(path, im, n, size, s);
}

int run_section(const Args& args) {
    VolumePtr in;
    if (int s = cli::load_volume(args, "in", in)) return s;
    Volume* v = in->get();
    const int n = v->colortype == 1 ? 1 : 3;
    const int ez = v->z2 - v->z1, ey = v->y2 - v->y1, ex = v->x2 - v->x1;
    const bool orthogonal = args.has("axis");
    int axis = 0, position = 0;
    cli::Triple point{0, 0, 0}, normal{0, 0, 0};
    int az = 0, el = 0;
    const bool by_normal = !orthogonal && args.has("normal");
    if (orthogonal) {
        axis = args.integer("axis");
        position = args.integer("position");
    } else {
        point = args.triple("point");
        if (by_normal) normal = args.triple("normal");
        else az = args.integer("azimuth"), el = args.integer("elevation");
    }
    const long long d = diagonal({ez, ey, ex});
    const Size2 size = !orthogonal ? picture_size(args, d, d)
                       : axis == 1 ? picture_size(args, ey, ex)
                       : axis == 2 ? picture_size(args, ez, ex)
                                   : picture_size(args, ez, ey);
    const std::string path = args.text("out");
    cli::check_picture_path(path, n);
    args.check_all_used();

    BufferPtr pic(nullptr, DestroyBuffer);
    if (int s = make_picture(v->colortype, size, pic)) return s;
    Image2d im = pic->image;
    const int s = orthogonal ? TomiOrth(v, im, size.h, size.w, axis, position)
                  : by_normal ? TomiRand1(v, im, size.h, size.w, point.z, point.y, point.x,
                                          normal.z, normal.y, normal.x)
                              : TomiRand2(v, im, size.h, size.w, az, el, point.z, point.y, point.x);
    return finish(path, im, n, size, s);
}

int run_gallery(const Args& args) {
    VolumePtr in, out;
    if (int s = cli::load_volume(args, "in", in)) return s;
    Volume* v = in->get();
    const int n = v->colortype == 1 ? 1 : 3;
    const int per_row = args.integer("per-row");
    const std::string method = args.text("method", "nearest");
    if (method != "nearest" && method != "linear")
        throw cli::UsageError("--method is nearest or linear");
    // By default every frame at its own size (rows of per_row tiles).
    const int ez = v->z2 - v->z1, ey = v->y2 - v->y1, ex = v->x2 - v->x1;
    const long long tiles = per_row > 0 ? per_row : 1, rows = (ez + tiles - 1) / tiles;
    double sz, sy, sx;
    GetVolumeSpacing(v, &sz, &sy, &sx);
    const double aspect = sy / sx;  // rows of the frames' voxels over their columns (--spacing)
    const Size2 size = picture_size(args, static_cast<long long>(rows * ey * aspect), tiles * ex);
    const std::string path = args.text("out");
    cli::check_picture_path(path, n);
    args.check_all_used();
    if (int s = cli::make_volume(1, size.h, size.w, 1, v->colortype, out)) return s;
    const int s = ProduceFrameGallery3dAspect(v, out->get(), per_row, method == "linear" ? 1 : 0, aspect);
    unsigned char** frame[3] = {};
    for (int c = 0; c < n; ++c) frame[c] = out->get()->data[c].uc[0];
    return finish(path, frame, n, size, s);
}

const cli::Registrar registrations[] = {
    cli::Registrar({"project", "render a projection of the VOI into a picture",
                    "--in FILE --size ZxYxX [--channels 1|3] [--voi ...]\n"
                    "    --mode max|mean|threshold|binary|surface|surface-colour\n"
                    "    (--angle A | --azimuth A --elevation E) [--picture HxW] [--trim]\n"
                    "    [--threshold T|R,G,B] [--param 0|1] [--depthcue] --out PICTURE",
                    "Renders the VOI of a UC volume seen along a direction. --angle A (whole degrees)\n"
                    "turns about Z, one picture row per frame (the 2d renderers); --azimuth and\n"
                    "--elevation (default 0) choose any direction. Modes:\n"
                    "  max        the largest value along each ray, per channel\n"
                    "  mean       the mean along each ray, truncated\n"
                    "  threshold  the last value along the ray above --threshold\n"
                    "  binary     --param 0: silhouette of the non-zero voxels; 1: nearer is brighter\n"
                    "  surface    the first voxel above --threshold, shaded as lit from the viewer;\n"
                    "             --depthcue darkens farther surfaces (surface-colour keeps the colour)\n"
                    "--trim renders only the bounding box of the non-zero voxels. The picture is\n"
                    "square with the VOI's diagonal by default (2d: frames x the frame diagonal).\n"
                    "With --spacing z,y,x the voxels are drawn in those proportions, one pixel and\n"
                    "one step along a ray per smallest spacing.\n"
                    "The picture goes to --out as .pgm (grey), .ppm or .tif by its extension.",
                    run_project}),
    cli::Registrar({"section", "cut an orthogonal or oblique section into a picture",
                    "--in FILE --size ZxYxX [--channels 1|3] [--voi ...]\n"
                    "    (--axis 1|2|3 --position P | --point z,y,x (--normal nz,ny,nx |\n"
                    "     --azimuth A --elevation E)) [--picture HxW] --out PICTURE",
                    "--axis 1 takes frame P, 2 row P, 3 column P of the VOI (the first frame at the\n"
                    "bottom; the picture is the section's size by default). --point with --normal\n"
                    "cuts the plane through the voxel with that normal, with --azimuth/--elevation\n"
                    "the plane facing that viewing direction; the point is at the picture's centre,\n"
                    "nearest voxels, 0 outside the VOI (default picture: the VOI's diagonal).\n"
                    "The picture goes to --out as .pgm (grey), .ppm or .tif by its extension.",
                    run_section}),
    cli::Registrar({"gallery", "lay the VOI's frames out as a grid of tiles",
                    "--in FILE --size ZxYxX [--channels 1|3] [--voi ...] --per-row N\n"
                    "    [--method nearest|linear] [--picture HxW] --out PICTURE",
                    "Scales every frame of the VOI to a tile of width picture width / N and the\n"
                    "frames' aspect ratio (in the proportions of --spacing), N tiles per row, as\n"
                    "many rows as fit; the rest of the\n"
                    "picture is black. Tiles must be at least 25 x 25. The default picture holds\n"
                    "every frame at its own size. The picture goes to --out as .pgm (grey), .ppm\n"
                    "or .tif by its extension.",
                    run_gallery}),
};

}  // namespace
