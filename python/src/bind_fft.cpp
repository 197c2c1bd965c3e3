// The Fourier transform and the transforms built on it. All volumes are one-channel float32
// (fft2image3d writes uint8); results go to an offset (z, y, x) of the output, by default a new
// zeroed array just large enough to hold them.
#include <algorithm>

#include "bindings.h"

namespace v3dpy {
namespace {

VolumeShape float_at(const Volume* v, Triple offset) {
    return voi_at(v, offset, V3D_TYPE_F, V3D_COLOR_GREY);
}

// A zeroed float32 array of the input's shape, the imaginary part of a real input.
py::object zeros_like_float(const Volume* v) {
    return py::module_::import("numpy").attr("zeros")(py::make_tuple(v->Z, v->Y, v->X), "float32");
}

using Transform = int (*)(Volume*, Volume*, Volume*, Volume*, int, int, int, int);
template <Transform op> void def_fourier(py::module_& m, const char* name, const char* usage) {
    m.def(
        name,
        [](py::handle real, py::handle imag, bool inverse, py::handle offset, py::handle output,
           py::handle voi) {
            const Triple o = triple_of(offset, "offset");
            Call call;
            Volume* re = call.input(real, voi);
            Volume* im = call.input(imag.is_none() ? zeros_like_float(re) : py::reinterpret_borrow<py::object>(imag));
            const py::tuple given = two_outputs(output);
            Volume* out_re = call.output(given[0], float_at(re, o));
            Volume* out_im = call.output(given[1], float_at(re, o));
            call.run([&] { return op(re, im, out_re, out_im, inverse ? 1 : 0, o.z, o.y, o.x); });
            return py::make_tuple(call.array(out_re), call.array(out_im));
        },
        "real"_a, "imag"_a = py::none(), py::kw_only(), "inverse"_a = false, offset_arg(),
        output_arg(), voi_arg(), doc(name, usage));
}

using Cosine = int (*)(Volume*, Volume*, int, int, int);
template <Cosine op> void def_cosine(py::module_& m, const char* name, const char* usage) {
    m.def(
        name,
        [](py::handle input, py::handle offset, py::handle output, py::handle voi) {
            const Triple o = triple_of(offset, "offset");
            Call call;
            Volume* in = call.input(input, voi);
            Volume* out = call.output(output, float_at(in, o));
            call.run([&] { return op(in, out, o.z, o.y, o.x); });
            return call.array(out);
        },
        "input"_a, py::kw_only(), offset_arg(), output_arg(), voi_arg(), doc(name, usage));
}

// The full linear result of in with a second volume: extent Ein + Eb - 1 per axis.
VolumeShape full_result(const Volume* in, const Volume* b, Triple o) {
    const Triple e = voi_extent(in), f = voi_extent(b);
    auto at = [](int off, int n) { return std::max(0, off) + std::max(1, n); };
    return {at(o.z, e.z + f.z - 1), at(o.y, e.y + f.y - 1), at(o.x, e.x + f.x - 1), V3D_TYPE_F,
            V3D_COLOR_GREY};
}

using Pairwise = int (*)(Volume*, Volume*, Volume*, int, int, int);
template <Pairwise op> void def_pairwise(py::module_& m, const char* name, const char* second,
                                         const char* usage) {
    m.def(
        name,
        [](py::handle input, py::handle other, py::handle offset, py::handle output, py::handle voi) {
            const Triple o = triple_of(offset, "offset");
            Call call;
            Volume* in = call.input(input, voi);
            Volume* b = call.input(other);
            Volume* out = call.output(output, full_result(in, b, o));
            call.run([&] { return op(in, b, out, o.z, o.y, o.x); });
            return call.array(out);
        },
        "input"_a, py::arg(second), py::kw_only(), offset_arg(), output_arg(), voi_arg(),
        doc(name, usage));
}

using Polar = int (*)(Volume*, Volume*, Volume*, Volume*, int, int, int);
template <Polar op> void def_polar(py::module_& m, const char* name, const char* first,
                                   const char* second, const char* usage) {
    m.def(
        name,
        [](py::handle a, py::handle b, py::handle offset, py::handle output, py::handle voi) {
            const Triple o = triple_of(offset, "offset");
            Call call;
            Volume* va = call.input(a, voi);
            Volume* vb = call.input(b);
            const py::tuple given = two_outputs(output);
            Volume* out1 = call.output(given[0], float_at(va, o));
            Volume* out2 = call.output(given[1], float_at(va, o));
            call.run([&] { return op(va, vb, out1, out2, o.z, o.y, o.x); });
            return py::make_tuple(call.array(out1), call.array(out2));
        },
        py::arg(first), py::arg(second), py::kw_only(), offset_arg(), output_arg(), voi_arg(),
        doc(name, usage));
}

}  // namespace

void bind_fft(py::module_& m) {
    const char* fourier =
        "(real, imag=None, *, inverse=False, offset=0, output=None, voi=None) -> (real, imag)\n\n"
        "The transform of the block real + i imag (imag None: zeros) held by the VOI of real.\n"
        "Forward unscaled; inverse scaled by 1 / (Ez Ey Ex). Extents powers of two.";
    def_fourier<fft3d>(m, "fft3d", fourier);
    def_fourier<lrcfft3d>(m, "lrcfft3d", fourier);
    def_fourier<vrfft3d>(m, "vrfft3d", fourier);

    const char* cosine = "(input, *, offset=0, output=None, voi=None) -> ndarray";
    def_cosine<DCT3d>(m, "DCT3d", cosine);
    def_cosine<IDCT3d>(m, "IDCT3d", cosine);

    def_pairwise<convolution3>(m, "convolution3", "kernel",
        "convolution3(input, kernel, *, offset=0, output=None, voi=None) -> ndarray\n\n"
        "The full linear convolution (extent Ein + Ekernel - 1 per axis).");
    def_pairwise<correlation3d>(m, "correlation3d", "b",
        "correlation3d(input, b, *, offset=0, output=None, voi=None) -> ndarray\n\n"
        "The full cross-correlation; zero lag at index Eb - 1 on each axis.");

    m.def(
        "overlap_add3",
        [](py::handle input, py::handle kernel, int block, py::handle offset, py::handle output,
           py::handle voi) {
            const Triple o = triple_of(offset, "offset");
            Call call;
            Volume* in = call.input(input, voi);
            Volume* k = call.input(kernel);
            Volume* out = call.output(output, full_result(in, k, o));
            call.run([&] { return overlap_add3(in, k, out, block, o.z, o.y, o.x); });
            return call.array(out);
        },
        "input"_a, "kernel"_a, "block"_a, py::kw_only(), offset_arg(), output_arg(), voi_arg(),
        doc("overlap_add3",
            "overlap_add3(input, kernel, block, *, offset=0, output=None, voi=None) -> ndarray\n\n"
            "convolution3's result, computed block by block (block: the edge of a cube)."));

    m.def(
        "blackman_tukey_psd3d",
        [](py::handle input, py::handle lag_window, py::handle offset, py::handle output,
           py::handle voi) {
            const Triple o = triple_of(offset, "offset");
            float a[3];  // (az, ay, ax)
            if (py::isinstance<py::sequence>(lag_window)) {
                const auto seq = py::reinterpret_borrow<py::sequence>(lag_window);
                if (py::len(seq) != 3) throw py::type_error("lag_window: a number or (az, ay, ax)");
                for (int i = 0; i < 3; ++i) a[i] = seq[i].cast<float>();
            } else {
                a[0] = a[1] = a[2] = lag_window.cast<float>();
            }
            Call call;
            Volume* in = call.input(input, voi);
            Volume* out = call.output(output, float_at(in, o));
            call.run([&] { return blackman_tukey_psd3d(in, out, a[2], a[1], a[0], o.z, o.y, o.x); });
            return call.array(out);
        },
        "input"_a, "lag_window"_a = 0.0f, py::kw_only(), offset_arg(), output_arg(), voi_arg(),
        doc("blackman_tukey_psd3d",
            "blackman_tukey_psd3d(input, lag_window=0.0, *, offset=0, output=None, voi=None)\n"
            "    -> ndarray\n\n"
            "lag_window: the coefficients (az, ay, ax) of the lag window, or one for all axes."));

    def_polar<reim2magnphase3d>(m, "reim2magnphase3d", "real", "imag",
        "reim2magnphase3d(real, imag, *, offset=0, output=None, voi=None) -> (magnitude, phase)");
    def_polar<magnphase2reim3d>(m, "magnphase2reim3d", "magnitude", "phase",
        "magnphase2reim3d(magnitude, phase, *, offset=0, output=None, voi=None) -> (real, imag)");

    m.def(
        "fft2image3d",
        [](py::handle real, py::handle imag, py::handle offset, py::handle output, py::handle voi) {
            const Triple o = triple_of(offset, "offset");
            Call call;
            Volume* re = call.input(real, voi);
            Volume* im = imag.is_none() ? nullptr : call.input(imag);
            Volume* out = call.output(output, voi_at(re, o, V3D_TYPE_UC, V3D_COLOR_GREY));
            call.run([&] { return fft2image3d(re, im, out, o.z, o.y, o.x); });
            return call.array(out);
        },
        "real"_a, "imag"_a = py::none(), py::kw_only(), offset_arg(), output_arg(), voi_arg(),
        doc("fft2image3d",
            "fft2image3d(real, imag=None, *, offset=0, output=None, voi=None) -> ndarray: a uint8\n"
            "picture of a spectrum, the zero frequency in the centre."));
}

}  // namespace v3dpy
