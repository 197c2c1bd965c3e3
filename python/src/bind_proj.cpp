// Projections, sections and the frame gallery: pictures (H, W) or (H, W, 3) of uint8.
#include <array>
#include <cmath>
#include <utility>
#include <vector>

#include "bindings.h"

namespace v3dpy {
namespace {

// The length of a diagonal over the given extents, rounded up: a picture that holds the VOI
// from any direction.
int diagonal(std::initializer_list<int> extents) {
    double sum = 0;
    for (int e : extents) sum += static_cast<double>(e) * e;
    return static_cast<int>(std::ceil(std::sqrt(sum)));
}

// The picture size: shape = (H, W), or fallback computed from the VOI's extents.
std::pair<int, int> picture_size(py::handle shape, std::pair<int, int> fallback) {
    if (shape.is_none()) return fallback;
    const auto hw = shape.cast<std::array<int, 2>>();
    return {hw[0], hw[1]};
}

// Draws with draw(in, image, H, W) into a new picture.
template <class Draw, class Fallback>
py::array render(py::handle input, py::handle voi, py::handle shape, Fallback fallback, Draw draw) {
    Call call;
    Volume* in = call.input(input, voi);
    const Triple e = voi_extent(in);
    const auto size = picture_size(shape, fallback(e));
    const int h = size.first, w = size.second;  // plain names: lambdas cannot capture bindings in C++17
    if (h < 1 || w < 1) raise_status(V3D_ERR_INVALID_PARAMS);
    Picture picture(in->colortype == V3D_COLOR_RGB ? 3 : 1, h, w);
    call.run([&] { return draw(in, picture.image(), h, w); });
    return picture.array();
}

auto flat_size = [](Triple e) { return std::make_pair(e.z, diagonal({e.y, e.x})); };
auto solid_size = [](Triple e) {
    const int d = diagonal({e.z, e.y, e.x});
    return std::make_pair(d, d);
};

// One threshold per channel (a number applies to every channel), 0..255.
std::array<unsigned char, 3> thresholds(py::handle threshold) {
    std::array<unsigned char, 3> t{};
    if (py::isinstance<py::sequence>(threshold)) {
        const auto seq = py::reinterpret_borrow<py::sequence>(threshold);
        for (size_t c = 0; c < 3; ++c) t[c] = seq[std::min(c, py::len(seq) - 1)].cast<unsigned char>();
    } else {
        t.fill(threshold.cast<unsigned char>());
    }
    return t;
}

const char* picture_note =
    "\n\nshape = (H, W) of the picture; by default a diagonal of the VOI, so that the whole VOI fits.";

using Flat = int (*)(Volume*, Image2d, int, int, int, int);
using Solid = int (*)(Volume*, Image2d, int, int, int, int, int);

void def_plain(py::module_& m, const char* name, Flat op, const char* usage) {
    m.def(
        name,
        [op](py::handle input, int angle, bool trim, py::handle shape, py::handle voi) {
            return render(input, voi, shape, flat_size, [&](Volume* in, Image2d im, int h, int w) {
                return op(in, im, h, w, angle, trim ? 1 : 0);
            });
        },
        "input"_a, "angle"_a, py::kw_only(), "trim"_a = false, "shape"_a = py::none(), voi_arg(),
        doc(name, usage));
}

void def_plain(py::module_& m, const char* name, Solid op, const char* usage) {
    m.def(
        name,
        [op](py::handle input, int azimuth, int elevation, bool trim, py::handle shape, py::handle voi) {
            return render(input, voi, shape, solid_size, [&](Volume* in, Image2d im, int h, int w) {
                return op(in, im, h, w, azimuth, elevation, trim ? 1 : 0);
            });
        },
        "input"_a, "azimuth"_a, "elevation"_a, py::kw_only(), "trim"_a = false,
        "shape"_a = py::none(), voi_arg(), doc(name, usage));
}

}  // namespace

void bind_proj(py::module_& m) {
    static const std::string flat = std::string(
        "(input, angle, *, trim=False, shape=None, voi=None) -> ndarray") + picture_note;
    static const std::string solid = std::string(
        "(input, azimuth, elevation, *, trim=False, shape=None, voi=None) -> ndarray") + picture_note;
    def_plain(m, "ProvoliAvrg2d", &ProvoliAvrg2d, flat.c_str());
    def_plain(m, "ProvoliMax2d", &ProvoliMax2d, flat.c_str());
    def_plain(m, "ProvoliAvrg3d", &ProvoliAvrg3d, solid.c_str());
    def_plain(m, "ProvoliMax3d", &ProvoliMax3d, solid.c_str());

    m.def(
        "Provoli2d",
        [](py::handle input, int angle, py::handle threshold, bool trim, py::handle shape, py::handle voi) {
            const auto t = thresholds(threshold);
            return render(input, voi, shape, flat_size, [&](Volume* in, Image2d im, int h, int w) {
                return Provoli2d(in, im, h, w, angle, trim ? 1 : 0, t.data());
            });
        },
        "input"_a, "angle"_a, "threshold"_a, py::kw_only(), "trim"_a = false, "shape"_a = py::none(),
        voi_arg(),
        doc("Provoli2d", (std::string("Provoli2d(input, angle, threshold, *, trim=False, shape=None, "
                                      "voi=None) -> ndarray\n\nthreshold: one value or one per channel.") +
                          picture_note).c_str()));

    m.def(
        "Provoli3d",
        [](py::handle input, int azimuth, int elevation, py::handle threshold, bool trim,
           py::handle shape, py::handle voi) {
            const auto t = thresholds(threshold);
            return render(input, voi, shape, solid_size, [&](Volume* in, Image2d im, int h, int w) {
                return Provoli3d(in, im, h, w, azimuth, elevation, trim ? 1 : 0, t.data());
            });
        },
        "input"_a, "azimuth"_a, "elevation"_a, "threshold"_a, py::kw_only(), "trim"_a = false,
        "shape"_a = py::none(), voi_arg(),
        doc("Provoli3d", (std::string("Provoli3d(input, azimuth, elevation, threshold, *, trim=False, "
                                      "shape=None, voi=None)\n    -> ndarray\n\nthreshold: one value "
                                      "or one per channel.") + picture_note).c_str()));

    m.def(
        "Provoli2dBinary",
        [](py::handle input, int angle, int param, bool trim, py::handle shape, py::handle voi) {
            return render(input, voi, shape, flat_size, [&](Volume* in, Image2d im, int h, int w) {
                return Provoli2dBinary(in, im, h, w, angle, trim ? 1 : 0, param);
            });
        },
        "input"_a, "angle"_a, "param"_a = 0, py::kw_only(), "trim"_a = false, "shape"_a = py::none(),
        voi_arg(),
        doc("Provoli2dBinary", (std::string("Provoli2dBinary(input, angle, param=0, *, trim=False, "
                                            "shape=None, voi=None) -> ndarray\n\nparam 0: silhouette, "
                                            "1: depth-shaded.") + picture_note).c_str()));

    m.def(
        "Provoli3dBinary",
        [](py::handle input, int azimuth, int elevation, int param, bool trim, py::handle shape,
           py::handle voi) {
            return render(input, voi, shape, solid_size, [&](Volume* in, Image2d im, int h, int w) {
                return Provoli3dBinary(in, im, h, w, azimuth, elevation, trim ? 1 : 0, param);
            });
        },
        "input"_a, "azimuth"_a, "elevation"_a, "param"_a = 0, py::kw_only(), "trim"_a = false,
        "shape"_a = py::none(), voi_arg(),
        doc("Provoli3dBinary", (std::string("Provoli3dBinary(input, azimuth, elevation, param=0, *, "
                                            "trim=False, shape=None,\n                voi=None) -> "
                                            "ndarray\n\nparam 0: silhouette, 1: depth-shaded.") +
                                picture_note).c_str()));

    using Surface = int (*)(Volume*, Image2d, int, int, int, int, int, const unsigned char*, int);
    for (const auto& [name, op] : {std::pair<const char*, Surface>{"Provoli3dSurface", &Provoli3dSurface},
                                   std::pair<const char*, Surface>{"Provoli3dSurfaceColor", &Provoli3dSurfaceColor}}) {
        m.def(
            name,
            [op = op](py::handle input, int azimuth, int elevation, py::handle threshold, bool depthcue,
                      bool trim, py::handle shape, py::handle voi) {
                const auto t = thresholds(threshold);
                return render(input, voi, shape, solid_size, [&](Volume* in, Image2d im, int h, int w) {
                    return op(in, im, h, w, azimuth, elevation, trim ? 1 : 0, t.data(), depthcue ? 1 : 0);
                });
            },
            "input"_a, "azimuth"_a, "elevation"_a, "threshold"_a, "depthcue"_a = false, py::kw_only(),
            "trim"_a = false, "shape"_a = py::none(), voi_arg(),
            doc(name, (std::string(name) + "(input, azimuth, elevation, threshold, depthcue=False, *,\n"
                       "    trim=False, shape=None, voi=None) -> ndarray" + picture_note).c_str()));
    }

    m.def(
        "TomiOrth",
        [](py::handle input, int axis, int position, py::handle shape, py::handle voi) {
            auto section = [axis](Triple e) {
                return axis == 1 ? std::make_pair(e.y, e.x) : axis == 2 ? std::make_pair(e.z, e.x)
                                                                        : std::make_pair(e.z, e.y);
            };
            return render(input, voi, shape, section, [&](Volume* in, Image2d im, int h, int w) {
                return TomiOrth(in, im, h, w, axis, position);
            });
        },
        "input"_a, "axis"_a, "position"_a, py::kw_only(), "shape"_a = py::none(), voi_arg(),
        doc("TomiOrth",
            "TomiOrth(input, axis, position, *, shape=None, voi=None) -> ndarray\n\n"
            "axis 1: the frame position, 2: the row, 3: the column; by default the picture is the\n"
            "section's own size."));

    m.def(
        "TomiRand1",
        [](py::handle input, std::array<int, 3> point, std::array<int, 3> normal, py::handle shape,
           py::handle voi) {
            return render(input, voi, shape, solid_size, [&](Volume* in, Image2d im, int h, int w) {
                return TomiRand1(in, im, h, w, point[0], point[1], point[2], normal[0], normal[1], normal[2]);
            });
        },
        "input"_a, "point"_a, "normal"_a, py::kw_only(), "shape"_a = py::none(), voi_arg(),
        doc("TomiRand1", (std::string("TomiRand1(input, point, normal, *, shape=None, voi=None) -> "
                                      "ndarray\n\npoint and normal in (z, y, x).") + picture_note).c_str()));

    m.def(
        "TomiRand2",
        [](py::handle input, int azimuth, int elevation, std::array<int, 3> point, py::handle shape,
           py::handle voi) {
            return render(input, voi, shape, solid_size, [&](Volume* in, Image2d im, int h, int w) {
                return TomiRand2(in, im, h, w, azimuth, elevation, point[0], point[1], point[2]);
            });
        },
        "input"_a, "azimuth"_a, "elevation"_a, "point"_a, py::kw_only(), "shape"_a = py::none(),
        voi_arg(),
        doc("TomiRand2", (std::string("TomiRand2(input, azimuth, elevation, point, *, shape=None, "
                                      "voi=None) -> ndarray\n\npoint in (z, y, x).") + picture_note).c_str()));

    m.def(
        "ProduceFrameGallery3d",
        [](py::handle input, int per_row, int method, py::handle shape, py::handle voi) {
            Call call;
            Volume* in = call.input(input, voi);
            const Triple e = voi_extent(in);
            const int rows = per_row > 0 ? (e.z + per_row - 1) / per_row : 1;
            const auto [h, w] = picture_size(shape, {rows * e.y, std::max(1, per_row) * e.x});
            Volume* out = call.output(py::none(), {1, std::max(1, h), std::max(1, w), V3D_TYPE_UC, in->colortype});
            call.run([&] { return ProduceFrameGallery3d(in, out, per_row, method); });
            return call.array(out).attr("__getitem__")(0);
        },
        "input"_a, "per_row"_a, py::kw_only(), "method"_a = 0, "shape"_a = py::none(), voi_arg(),
        doc("ProduceFrameGallery3d",
            "ProduceFrameGallery3d(input, per_row, *, method=0, shape=None, voi=None) -> ndarray\n\n"
            "The VOI's frames as tiles, per_row to a row, in a picture of shape (H, W) (by default\n"
            "every frame at its own size); method 0 nearest voxel, 1 linear."));
}

}  // namespace v3dpy
