// Resizing and interpolation of uint8 volumes. The result of the VOI goes to an offset (z, y, x)
// of the output; a new output is just large enough to hold it.
#include <algorithm>
#include <array>
#include <climits>
#include <cmath>

#include "bindings.h"

namespace v3dpy {
namespace {

int at_least_1(long long n) { return static_cast<int>(std::clamp<long long>(n, 1, INT_MAX / 2)); }

// The output of a VOI whose extents become (nz, ny, nx), placed at offset.
VolumeShape result_shape(const Volume* in, Triple o, long long nz, long long ny, long long nx) {
    return {at_least_1(std::max(0, o.z) + nz), at_least_1(std::max(0, o.y) + ny),
            at_least_1(std::max(0, o.x) + nx), in->type, in->colortype};
}

// (fz, fy, fx) from a number or three numbers.
std::array<float, 3> factors_of(py::handle zoom) {
    if (py::isinstance<py::sequence>(zoom)) {
        const auto seq = py::reinterpret_borrow<py::sequence>(zoom);
        if (py::len(seq) != 3) throw py::type_error("zoom: a number or (fz, fy, fx)");
        return {seq[0].cast<float>(), seq[1].cast<float>(), seq[2].cast<float>()};
    }
    const float f = zoom.cast<float>();
    return {f, f, f};
}

using Resample = int (*)(Volume*, Volume*, int, float, float, float, int, int, int);
template <Resample op> void def_resample(py::module_& m, const char* name, const char* usage) {
    m.def(
        name,
        [name](py::handle input, py::handle zoom, py::handle shape, py::handle offset, py::handle output,
           py::handle voi) {
            Call call;
            Volume* in = call.input(input, voi);
            if (zoom.is_none()) {  // to the output's whole size
                if (output.is_none() && shape.is_none())
                    throw py::type_error(std::string(name) + ": give zoom, shape or output");
                VolumeShape s = like(in);
                if (!shape.is_none()) {
                    const Triple t = triple_of(shape, "shape");
                    s = {t.z, t.y, t.x, in->type, in->colortype};
                }
                Volume* out = call.output(output, s);
                call.run([&] { return op(in, out, 1, 1.0f, 1.0f, 1.0f, 0, 0, 0); });
                return call.array(out);
            }
            const std::array<float, 3> f = factors_of(zoom);
            const Triple o = triple_of(offset, "offset"), e = voi_extent(in);
            auto target = [](int extent, float factor) {  // single precision, as the library
                const float t = static_cast<float>(extent) * factor;
                return t > 0 && t < 1e9f ? static_cast<long long>(t) : 1LL;
            };
            Volume* out = call.output(output, result_shape(in, o, target(e.z, f[0]), target(e.y, f[1]),
                                                          target(e.x, f[2])));
            call.run([&] { return op(in, out, 0, f[0], f[1], f[2], o.z, o.y, o.x); });
            return call.array(out);
        },
        "input"_a, "zoom"_a = py::none(), py::kw_only(), "shape"_a = py::none(), offset_arg(),
        output_arg(), voi_arg(), doc(name, usage));
}

using Replicate = int (*)(Volume*, Volume*, int, int, int, int);
// zoom3d and decim3: integer factors; extent(n) gives the result's extent of a VOI extent n.
template <Replicate op> void def_integral(py::module_& m, const char* name,
                                          long long (*extent)(int, int), const char* usage) {
    m.def(
        name,
        [extent](py::handle input, int factor, py::handle offset, py::handle output, py::handle voi) {
            const Triple o = triple_of(offset, "offset");
            Call call;
            Volume* in = call.input(input, voi);
            const Triple e = voi_extent(in);
            const int f = std::max(1, factor);
            Volume* out = call.output(output, result_shape(in, o, extent(e.z, f), extent(e.y, f), extent(e.x, f)));
            call.run([&] { return op(in, out, factor, o.z, o.y, o.x); });
            return call.array(out);
        },
        "input"_a, "factor"_a, py::kw_only(), offset_arg(), output_arg(), voi_arg(), doc(name, usage));
}

// The frames a frame-insertion operator makes from n input frames with factor k.
long long inserted_frames(int n, int k) { return static_cast<long long>(std::max(2, k)) * (n - 1) + 1; }

using Insert = int (*)(Volume*, Volume*, int, int, int, int);
template <Insert op> void def_insert(py::module_& m, const char* name, const char* usage) {
    m.def(
        name,
        [](py::handle input, int k, py::handle offset, py::handle output, py::handle voi) {
            const Triple o = triple_of(offset, "offset");
            Call call;
            Volume* in = call.input(input, voi);
            const Triple e = voi_extent(in);
            Volume* out = call.output(output, result_shape(in, o, inserted_frames(e.z, k), e.y, e.x));
            call.run([&] { return op(in, out, k, o.z, o.y, o.x); });
            return call.array(out);
        },
        "input"_a, "k"_a, py::kw_only(), offset_arg(), output_arg(), voi_arg(), doc(name, usage));
}

}  // namespace

void bind_resize(py::module_& m) {
    def_integral<zoom3d>(m, "zoom3d", [](int n, int f) { return static_cast<long long>(n) * f; },
        "zoom3d(input, factor, *, offset=0, output=None, voi=None) -> ndarray\n\n"
        "Every VOI voxel becomes a factor x factor x factor block.");
    def_integral<decim3>(m, "decim3", [](int n, int f) { return (static_cast<long long>(n) + f - 1) / f; },
        "decim3(input, factor, *, offset=0, output=None, voi=None) -> ndarray\n\n"
        "Every factor-th VOI voxel along each axis.");

    const char* resample =
        "(input, zoom=None, *, shape=None, offset=0, output=None, voi=None) -> ndarray\n\n"
        "zoom: one factor or (fz, fy, fx); the VOI's extents times the factors, truncated, at\n"
        "offset. Without zoom the VOI is resampled to the whole of output, or of a new array of\n"
        "shape (Z, Y, X).";
    def_resample<InterpolationNearestNeighbor3d>(m, "InterpolationNearestNeighbor3d", resample);
    def_resample<InterpolationLinear3d>(m, "InterpolationLinear3d", resample);

    m.def(
        "InterpolationFrameLinear3d",
        [](py::handle input, py::handle zoom, py::handle frames, py::handle offset, py::handle output,
           py::handle voi) {
            Call call;
            Volume* in = call.input(input, voi);
            const Triple e = voi_extent(in);
            if (zoom.is_none()) {  // to the output's frames
                if (output.is_none() && frames.is_none())
                    throw py::type_error("InterpolationFrameLinear3d: give zoom, frames or output");
                const int n = frames.is_none() ? 1 : frames.cast<int>();
                Volume* out = call.output(output, result_shape(in, {0, 0, 0}, n, e.y, e.x));
                call.run([&] { return InterpolationFrameLinear3d(in, out, 1, 1.0f, 0, 0, 0); });
                return call.array(out);
            }
            const float fz = zoom.cast<float>();
            const Triple o = triple_of(offset, "offset");
            const double target = fz == std::floor(fz) ? (e.z - 1) * static_cast<double>(fz) + 1
                                                        : static_cast<float>(e.z) * fz;
            const long long n = target > 0 && target < 1e9 ? static_cast<long long>(target) : 1;
            Volume* out = call.output(output, result_shape(in, o, n, e.y, e.x));
            call.run([&] { return InterpolationFrameLinear3d(in, out, 0, fz, o.z, o.y, o.x); });
            return call.array(out);
        },
        "input"_a, "zoom"_a = py::none(), py::kw_only(), "frames"_a = py::none(), offset_arg(),
        output_arg(), voi_arg(),
        doc("InterpolationFrameLinear3d",
            "InterpolationFrameLinear3d(input, zoom=None, *, frames=None, offset=0, output=None,\n"
            "                           voi=None) -> ndarray\n\n"
            "Resampling along Z by the factor zoom or, without it, to the frames of output (or a\n"
            "new array of frames frames)."));

    const char* insert =
        "(input, k, *, offset=0, output=None, voi=None) -> ndarray\n\n"
        "k - 1 new frames between every two input frames.";
    def_insert<FrameZeroPadding>(m, "FrameZeroPadding", insert);
    def_insert<FrameInterpolationGrayscale>(m, "FrameInterpolationGrayscale", insert);

    m.def(
        "FrameInterpolationBinary",
        [](py::handle input, int k, bool fill, py::handle offset, py::handle output, py::handle voi) {
            const Triple o = triple_of(offset, "offset");
            Call call;
            Volume* in = call.input(input, voi);
            const Triple e = voi_extent(in);
            Volume* out = call.output(output, result_shape(in, o, inserted_frames(e.z, k), e.y, e.x));
            call.run([&] { return FrameInterpolationBinary(in, out, k, o.z, o.y, o.x, fill ? 1 : 0); });
            return call.array(out);
        },
        "input"_a, "k"_a, "fill"_a = false, py::kw_only(), offset_arg(), output_arg(), voi_arg(),
        doc("FrameInterpolationBinary",
            "FrameInterpolationBinary(input, k, fill=False, *, offset=0, output=None, voi=None)\n"
            "    -> ndarray"));

    def_in_out<FrameContourObjectFill>(m, "FrameContourObjectFill",
        "FrameContourObjectFill(input, *, output=None, voi=None) -> ndarray");
}

}  // namespace v3dpy
