// v3d commands of the Fourier transform and the transforms built on it.
#include <string>

#include "cli/cli.h"

namespace {

using cli::Args;
using cli::VolumePtr;

// Loads role as an F volume: a UC file is converted voxel for voxel, keeping the VOI.
int load_float(const Args& args, const std::string& role, VolumePtr& out) {
    VolumePtr raw;
    if (int s = cli::load_volume(args, role, raw)) return s;
    Volume* v = raw->get();
    if (v->type == 2) {
        out = std::move(raw);
        return 0;
    }
    const int z1 = v->z1, z2 = v->z2, y1 = v->y1, y2 = v->y2, x1 = v->x1, x2 = v->x2;
    if (int s = cli::make_volume(v->Z, v->Y, v->X, 2, v->colortype, out)) return s;
    fill_in_VOI(v, 0, v->Z, 0, v->Y, 0, v->X);
    if (int s = UCVolume2FVolume(v, out->get(), 0, 0, 0)) return s;
    fill_in_VOI(out->get(), z1, z2, y1, y2, x1, x2);
    return 0;
}

// An F output holding the extent (nz, ny, nx) at --offset, or --out-size when given; a size
// beyond the int range is a usage error.
int make_result(const Args& args, int type, long long nz, long long ny, long long nx,
                cli::Triple& offset, VolumePtr& out) {
    offset = args.triple("offset", {0, 0, 0});
    const cli::Triple size = args.has("out-size")
                                 ? args.triple("out-size")
                                 : cli::Triple{cli::checked_sum({offset.z, nz}, "--offset"),
                                               cli::checked_sum({offset.y, ny}, "--offset"),
                                               cli::checked_sum({offset.x, nx}, "--offset")};
    return cli::make_volume(size.z, size.y, size.x, type, 1, out);
}

int extent_z(const Volume* v) { return v->z2 - v->z1; }
int extent_y(const Volume* v) { return v->y2 - v->y1; }
int extent_x(const Volume* v) { return v->x2 - v->x1; }

using Transform = int (*)(Volume*, Volume*, Volume*, Volume*, int, int, int, int);

int run_transform(const Args& args, Transform transform) {
    VolumePtr re, im, ore, oim;
    if (int s = load_float(args, "in", re)) return s;
    Volume* r = re->get();
    if (args.has("in2")) {
        if (int s = load_float(args, "in2", im)) return s;
    } else if (int s = cli::make_volume(r->Z, r->Y, r->X, 2, 1, im)) {
        return s;
    }
    const int direction = args.has("inverse") ? 1 : 0;
    cli::Triple o{};
    if (int s = make_result(args, 2, extent_z(r), extent_y(r), extent_x(r), o, ore)) return s;
    if (int s = make_result(args, 2, extent_z(r), extent_y(r), extent_x(r), o, oim)) return s;
    const std::string im_path = args.text("out-im");
    if (int s = transform(r, im->get(), ore->get(), oim->get(), direction, o.z, o.y, o.x)) return s;
    if (int s = cli::save_volume(args, ore->get())) return s;
    return WriteVolume(oim->get(), cli::stage_output(im_path).c_str(), 0, oim->get()->Z);
}
int run_fft(const Args& a) { return run_transform(a, fft3d); }
int run_lrcfft(const Args& a) { return run_transform(a, lrcfft3d); }
int run_vrfft(const Args& a) { return run_transform(a, vrfft3d); }

int run_cosine(const Args& args, int (*op)(Volume*, Volume*, int, int, int)) {
    VolumePtr in, out;
    if (int s = load_float(args, "in", in)) return s;
    Volume* v = in->get();
    cli::Triple o{};
    if (int s = make_result(args, 2, extent_z(v), extent_y(v), extent_x(v), o, out)) return s;
    if (int s = op(v, out->get(), o.z, o.y, o.x)) return s;
    return cli::save_volume(args, out->get());
}
int run_dct(const Args& a) { return run_cosine(a, DCT3d); }
int run_idct(const Args& a) { return run_cosine(a, IDCT3d); }

// Convolution-like commands: the result has extent Ein + Ekernel - 1 on each axis.
int run_pair(const Args& args, bool blockwise,
             int (*op)(Volume*, Volume*, Volume*, int, int, int)) {
    VolumePtr a, b, out;
    if (int s = load_float(args, "in", a)) return s;
    if (int s = load_float(args, "in2", b)) return s;
    Volume* va = a->get();
    Volume* vb = b->get();
    cli::Triple o{};
    auto full = [](int a, int b) { return static_cast<long long>(a) + b - 1; };
    if (int s = make_result(args, 2, full(extent_z(va), extent_z(vb)), full(extent_y(va), extent_y(vb)),
                            full(extent_x(va), extent_x(vb)), o, out))
        return s;
    int status;
    if (blockwise)
        status = overlap_add3(va, vb, out->get(), args.integer("block", 32), o.z, o.y, o.x);
    else
        status = op(va, vb, out->get(), o.z, o.y, o.x);
    if (status) return status;
    return cli::save_volume(args, out->get());
}
int run_convolution(const Args& a) { return run_pair(a, false, convolution3); }
int run_overlap_add(const Args& a) { return run_pair(a, true, nullptr); }
int run_correlation(const Args& a) { return run_pair(a, false, correlation3d); }

int run_psd(const Args& args) {
    VolumePtr in, psd, picture;
    if (int s = cli::load_volume(args, "in", in)) return s;
    Volume* v = in->get();
    cli::Triple o{};
    if (int s = make_result(args, 2, extent_z(v), extent_y(v), extent_x(v), o, psd)) return s;
    const cli::Triple coef = args.triple("attenuation", {0, 0, 0});  // z,y,x
    const float az = args.real("az", static_cast<float>(coef.z));
    const float ay = args.real("ay", static_cast<float>(coef.y));
    const float ax = args.real("ax", static_cast<float>(coef.x));
    if (int s = blackman_tukey_psd3d(v, psd->get(), ax, ay, az, o.z, o.y, o.x)) return s;
    if (!args.has("picture")) return cli::save_volume(args, psd->get());
    // the viewable picture of the spectrum, as the workstation shows it
    Volume* p = psd->get();
    fill_in_VOI(p, o.z, o.z + extent_z(v), o.y, o.y + extent_y(v), o.x, o.x + extent_x(v));
    if (int s = cli::make_volume(p->Z, p->Y, p->X, 1, 1, picture)) return s;
    if (int s = fft2image3d(p, nullptr, picture->get(), o.z, o.y, o.x)) return s;
    return cli::save_volume(args, picture->get());
}

int run_conversion(const Args& args, int (*op)(Volume*, Volume*, Volume*, Volume*, int, int, int)) {
    VolumePtr a, b, c, d;
    if (int s = load_float(args, "in", a)) return s;
    if (int s = load_float(args, "in2", b)) return s;
    Volume* va = a->get();
    cli::Triple o{};
    if (int s = make_result(args, 2, extent_z(va), extent_y(va), extent_x(va), o, c)) return s;
    if (int s = make_result(args, 2, extent_z(va), extent_y(va), extent_x(va), o, d)) return s;
    const std::string second = args.text("out2");
    if (int s = op(va, b->get(), c->get(), d->get(), o.z, o.y, o.x)) return s;
    if (int s = cli::save_volume(args, c->get())) return s;
    return WriteVolume(d->get(), cli::stage_output(second).c_str(), 0, d->get()->Z);
}
int run_reim2mp(const Args& a) { return run_conversion(a, reim2magnphase3d); }
int run_mp2reim(const Args& a) { return run_conversion(a, magnphase2reim3d); }

int run_spectrum_image(const Args& args) {
    VolumePtr re, im, out;
    if (int s = load_float(args, "in", re)) return s;
    if (args.has("in2"))
        if (int s = load_float(args, "in2", im)) return s;
    Volume* r = re->get();
    cli::Triple o{};
    if (int s = make_result(args, 1, extent_z(r), extent_y(r), extent_x(r), o, out)) return s;
    if (int s = fft2image3d(r, im ? im->get() : nullptr, out->get(), o.z, o.y, o.x)) return s;
    return cli::save_volume(args, out->get());
}

const char* const kTransformUsage =
    "--in RE --size ZxYxX [--type uc|f] [--voi ...] [--in2 IM] [--inverse]\n"
    "    [--offset z,y,x] [--out-size ZxYxX] --out RE_OUT --out-im IM_OUT";
const char* const kTransformHelp =
    "The 3D discrete Fourier transform of the complex block given by the VOI of --in (real\n"
    "part) and the same coordinates of --in2 (imaginary part; zero when absent). Forward by\n"
    "default (unscaled, kernel exp(-2 pi i k n / N)); --inverse uses exp(+2 pi i k n / N) and\n"
    "scales by 1/(Ez*Ey*Ex). Every VOI extent must be a power of two. The result (F) goes to\n"
    "--out and --out-im at --offset. UC inputs are converted to F first.";
const char* const kOneUsage =
    "--in FILE --size ZxYxX [--type uc|f] [--voi ...] [--offset z,y,x] [--out-size ZxYxX]\n"
    "    --out FILE";
const char* const kPairUsage =
    "--in FILE --size ZxYxX [--type uc|f] [--voi ...] --in2 FILE [--in2-size ZxYxX]\n"
    "    [--in2-type uc|f] [--in2-voi ...] [--offset z,y,x] [--out-size ZxYxX] --out FILE";

const cli::Registrar registrations[] = {
    cli::Registrar({"fft3d", "3D Fourier transform (vector-radix for cubes, else row-column)",
                    kTransformUsage, kTransformHelp, run_fft}),
    cli::Registrar({"lrcfft3d", "3D Fourier transform, row-column", kTransformUsage,
                    kTransformHelp, run_lrcfft}),
    cli::Registrar({"vrfft3d", "3D Fourier transform, vector-radix (cubic VOI only)",
                    kTransformUsage, kTransformHelp, run_vrfft}),
    cli::Registrar({"dct3d", "orthonormal 3D cosine transform (type II)", kOneUsage,
                    "The orthonormal type-II DCT of the VOI (power-of-two extents) into an F\n"
                    "volume at --offset.",
                    run_dct}),
    cli::Registrar({"idct3d", "inverse of dct3d", kOneUsage,
                    "The inverse (orthonormal type-III) cosine transform of the VOI into an F\n"
                    "volume at --offset; f2uc turns it back into a UC volume.",
                    run_idct}),
    cli::Registrar({"convolution3", "linear 3D convolution through the Fourier transform",
                    kPairUsage,
                    "Convolves the VOI of --in with the VOI of --in2 (the kernel). The full result,\n"
                    "of extent Ein + Ekernel - 1 on each axis, goes to an F volume at --offset.",
                    run_convolution}),
    cli::Registrar({"overlap_add3", "convolution3 computed block by block",
                    "--block N (default 32) and the options of convolution3",
                    "The same result as convolution3 for a large input and a small kernel: the\n"
                    "input VOI is cut into N x N x N blocks, each convolved and added in.",
                    run_overlap_add}),
    cli::Registrar({"correlation3d", "3D cross-correlation through the Fourier transform",
                    kPairUsage,
                    "out[d + Ein2 - 1] = sum_n in[n + d] in2[n] for every lag d on each axis\n"
                    "(extent Ein + Ein2 - 1; zero lag at index Ein2 - 1), an F volume.",
                    run_correlation}),
    cli::Registrar({"bt_psd3d", "Blackman-Tukey power spectrum",
                    "--in FILE --size ZxYxX [--type uc|f] [--voi ...] [--ax A] [--ay A] [--az A]\n"
                    "    [--attenuation az,ay,ax] [--picture] [--offset z,y,x] --out FILE",
                    "The power spectrum of the VOI (power-of-two extents) from its biased\n"
                    "autocorrelation at lags below half the extents, weighted by\n"
                    "exp(-(ax|dx| + ay|dy| + az|dz|)) (default coefficients 0). Writes the F\n"
                    "spectrum, or with --picture its viewable UC picture (as fft2image3d).",
                    run_psd}),
    cli::Registrar({"reim2magnphase3d", "real/imaginary parts to magnitude and phase",
                    "the options of convolution3 and --out2 FILE",
                    "--in real part, --in2 imaginary part; --out magnitude, --out2 phase (radians).",
                    run_reim2mp}),
    cli::Registrar({"magnphase2reim3d", "magnitude and phase to real/imaginary parts",
                    "the options of convolution3 and --out2 FILE",
                    "--in magnitude, --in2 phase (radians); --out real part, --out2 imaginary part.",
                    run_mp2reim}),
    cli::Registrar({"fft2image3d", "viewable UC picture of a spectrum",
                    "--in RE --size ZxYxX [--type f] [--voi ...] [--in2 IM] [--offset z,y,x]\n"
                    "    --out FILE",
                    "log(1 + |F|) over the VOI, scaled so that the largest becomes 255, with the\n"
                    "zero frequency moved to the centre of each axis. --in2 is the imaginary part\n"
                    "(zero when absent).",
                    run_spectrum_image}),
};

}  // namespace
