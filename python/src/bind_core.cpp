// The basic operations and metrics: clear, copy, conversions, logic of binary volumes,
// reflection, rotation, frame copies, counts, bounding box, intensity range.
#include <array>
#include <vector>

#include "bindings.h"

namespace v3dpy {
namespace {

// One value per channel: a number for every channel, or a sequence of one per channel.
std::array<float, 3> channel_values(py::handle values) {
    if (py::isinstance<py::sequence>(values) && !py::isinstance<py::str>(values)) {
        const auto seq = py::reinterpret_borrow<py::sequence>(values);
        std::array<float, 3> v{};
        for (size_t c = 0; c < std::min<size_t>(3, py::len(seq)); ++c) v[c] = seq[c].cast<float>();
        if (py::len(seq) < 3) v[2] = v[1] = v[0];
        return v;
    }
    const float v = values.cast<float>();
    return {v, v, v};
}

using Convert = int (*)(Volume*, Volume*, int, int, int);
// op(in, out, z0, y0, x0): the VOI of in into an output of type out_type at an offset.
template <Convert op> void def_convert(py::module_& m, const char* name, int out_type,
                                       const char* usage) {
    m.def(
        name,
        [out_type](py::handle input, py::handle offset, py::handle output, py::handle voi) {
            const Triple o = triple_of(offset, "offset");
            Call call;
            Volume* in = call.input(input, voi);
            Volume* out = call.output(output, voi_at(in, o, out_type ? out_type : in->type, in->colortype));
            call.run([&] { return op(in, out, o.z, o.y, o.x); });
            return call.array(out);
        },
        "input"_a, py::kw_only(), offset_arg(), output_arg(), voi_arg(), doc(name, usage));
}

using Logic = int (*)(Volume*, Volume*, Volume*);
template <Logic op> void def_logic(py::module_& m, const char* name, const char* usage) {
    m.def(
        name,
        [](py::handle a, py::handle b, py::handle output, py::handle voi) {
            Call call;
            Volume* va = call.input(a, voi);
            Volume* vb = call.input(b);
            Volume* out = call.output(output, like(va));
            call.run([&] { return op(va, vb, out); });
            return call.array(out);
        },
        "a"_a, "b"_a, py::kw_only(), output_arg(), voi_arg(), doc(name, usage));
}

using Count = int (*)(Volume*, unsigned int*);
template <Count op> void def_count(py::module_& m, const char* name, const char* usage) {
    m.def(
        name,
        [](py::handle input, py::handle voi) {
            Call call;
            Volume* in = call.input(input, voi);
            unsigned int count = 0;
            call.run([&] { return op(in, &count); });
            return count;
        },
        "input"_a, py::kw_only(), voi_arg(), doc(name, usage));
}

// A two-dimensional byte image (H, W) or (H, W, 3) as the library's channel row pointers.
class ImageRows {
public:
    explicit ImageRows(py::handle image) {
        array_ = py::module_::import("numpy").attr("ascontiguousarray")(image, "uint8");
        if (array_.ndim() == 3) array_ = py::module_::import("numpy").attr("ascontiguousarray")(
                                    py::module_::import("numpy").attr("moveaxis")(array_, -1, 0));
        else if (array_.ndim() != 2) throw py::value_error("image: (H, W) or (H, W, 3) bytes");
        const py::ssize_t channels = array_.ndim() == 3 ? array_.shape(0) : 1;
        const py::ssize_t h = array_.shape(array_.ndim() - 2), w = array_.shape(array_.ndim() - 1);
        auto* data = static_cast<unsigned char*>(array_.mutable_data());
        lines_.resize(static_cast<size_t>(channels * h));
        for (size_t i = 0; i < lines_.size(); ++i) lines_[i] = data + i * w;
        for (py::ssize_t c = 0; c < channels; ++c) rows_.push_back(&lines_[c * h]);
        height_ = static_cast<int>(h);
        width_ = static_cast<int>(w);
    }
    Image2d get() { return rows_.data(); }
    int height() const { return height_; }
    int width() const { return width_; }

private:
    py::array array_;
    std::vector<unsigned char*> lines_;
    std::vector<unsigned char**> rows_;
    int height_ = 0, width_ = 0;
};

// (slice rows, slice columns) of an image, None for the whole image: [r1, r2) and [c1, c2).
std::array<int, 4> image_region(py::handle region, int height, int width) {
    std::array<int, 4> r{0, height, 0, width};
    if (region.is_none()) return r;
    const auto pair = py::reinterpret_borrow<py::sequence>(region);
    for (int i = 0; i < 2; ++i) {
        py::ssize_t start, stop, step;
        if (PySlice_Unpack(pair[i].ptr(), &start, &stop, &step) < 0) throw py::error_already_set();
        PySlice_AdjustIndices(i ? width : height, &start, &stop, step);
        r[2 * i] = static_cast<int>(start);
        r[2 * i + 1] = static_cast<int>(stop);
    }
    return r;
}

}  // namespace

void bind_core(py::module_& m) {
    m.def(
        "ClearVolume",
        [](py::handle input, py::handle values, py::handle output, py::handle voi) {
            const std::array<float, 3> v = channel_values(values);
            Call call;
            Volume* out = call.output_from(output, input, voi);
            call.run([&] { return ClearVolume(out, v.data()); });
            return call.array(out);
        },
        "input"_a, "values"_a, py::kw_only(), output_arg(), voi_arg(),
        doc("ClearVolume",
            "ClearVolume(input, values, *, output=None, voi=None) -> ndarray\n\n"
            "A copy of input (or output, which may be input itself) whose VOI holds values: one\n"
            "number, or one per channel."));

    m.def(
        "CheckIfVolumeClear",
        [](py::handle input, py::handle values, py::handle voi) {
            const std::array<float, 3> v = channel_values(values);
            Call call;
            Volume* in = call.input(input, voi);
            return call.run([&] { return CheckIfVolumeClear(in, v.data()); }) == 1;
        },
        "input"_a, "values"_a, py::kw_only(), voi_arg(),
        doc("CheckIfVolumeClear",
            "CheckIfVolumeClear(input, values, *, voi=None) -> bool: every VOI voxel holds its\n"
            "channel's value."));

    m.def(
        "CheckIfUCBinary",
        [](py::handle input, py::handle voi) {
            Call call;
            Volume* in = call.input(input, voi);
            return call.run([&] { return CheckIfUCBinary(in); }) == 1;
        },
        "input"_a, py::kw_only(), voi_arg(),
        doc("CheckIfUCBinary",
            "CheckIfUCBinary(input, *, voi=None) -> bool: every VOI voxel is 0 or 255."));

    const char* convert_usage =
        "(input, *, offset=0, output=None, voi=None) -> ndarray\n\n"
        "The VOI of input written at offset (an int or (z, y, x)) into output, by default a new\n"
        "zeroed array just large enough to hold it.";
    def_convert<CopyVolume>(m, "CopyVolume", 0, convert_usage);
    def_convert<FVolume2UCVolume>(m, "FVolume2UCVolume", V3D_TYPE_UC, convert_usage);
    def_convert<FVolume2UCVolume_norm>(m, "FVolume2UCVolume_norm", V3D_TYPE_UC, convert_usage);
    def_convert<UCVolume2FVolume>(m, "UCVolume2FVolume", V3D_TYPE_F, convert_usage);

    def_count<CountNonZeroSurfacePoints3d>(m, "CountNonZeroSurfacePoints3d",
        "CountNonZeroSurfacePoints3d(input, *, voi=None) -> int");
    def_count<CountNonZeroPoints3d>(m, "CountNonZeroPoints3d",
        "CountNonZeroPoints3d(input, *, voi=None) -> int");

    m.def(
        "FindMinMaxIntensity",
        [](py::handle input, py::handle voi) {
            Call call;
            Volume* in = call.input(input, voi);
            unsigned int lo = 0, hi = 0;
            call.run([&] { return FindMinMaxIntensity(in, &lo, &hi); });
            return py::make_tuple(lo, hi);
        },
        "input"_a, py::kw_only(), voi_arg(),
        doc("FindMinMaxIntensity", "FindMinMaxIntensity(input, *, voi=None) -> (min, max)"));

    m.def(
        "FindBoundingBox3d",
        [](py::handle input, py::handle voi) {
            Call call;
            Volume* in = call.input(input, voi);
            int b[6];
            call.run([&] { return FindBoundingBox3d(in, &b[0], &b[1], &b[2], &b[3], &b[4], &b[5]); });
            return py::make_tuple(b[0], b[1], b[2], b[3], b[4], b[5]);
        },
        "input"_a, py::kw_only(), voi_arg(),
        doc("FindBoundingBox3d",
            "FindBoundingBox3d(input, *, voi=None) -> (zmin, zmax, ymin, ymax, xmin, xmax)\n\n"
            "Inclusive bounds of the non-zero voxels; all -1 when the VOI holds none."));

    const char* logic_usage =
        "(a, b, *, output=None, voi=None) -> ndarray\n\n"
        "Bitwise logic of two binary (0 / 255) uint8 volumes over the VOI of a, b and output at\n"
        "the same coordinates.";
    def_logic<and3d>(m, "and3d", logic_usage);
    def_logic<or3d>(m, "or3d", logic_usage);
    def_logic<xor3d>(m, "xor3d", logic_usage);

    def_in_out<Symmetric3d>(m, "Symmetric3d",
        "Symmetric3d(input, *, output=None, voi=None) -> ndarray: the VOI reflected through its\n"
        "centre.");

    m.def(
        "RotateVol2d",
        [](py::handle input, float angle, py::handle output, py::handle voi) {
            Call call;
            Volume* in = call.input(input, voi);
            Volume* out = call.output(output, like(in));
            call.run([&] { return RotateVol2d(in, out, angle); });
            return call.array(out);
        },
        "input"_a, "angle"_a, py::kw_only(), output_arg(), voi_arg(),
        doc("RotateVol2d", "RotateVol2d(input, angle, *, output=None, voi=None) -> ndarray"));

    m.def(
        "RotateVol3d",
        [](py::handle input, std::array<float, 3> angles, py::handle output, py::handle voi) {
            Call call;
            Volume* in = call.input(input, voi);
            Volume* out = call.output(output, like(in));
            call.run([&] { return RotateVol3d(in, out, angles[0], angles[1], angles[2]); });
            return call.array(out);
        },
        "input"_a, "angles"_a, py::kw_only(), output_arg(), voi_arg(),
        doc("RotateVol3d",
            "RotateVol3d(input, angles, *, output=None, voi=None) -> ndarray\n\n"
            "angles = (az, ay, ax) in degrees: about the Z axis, then Y, then X."));

    m.def(
        "CopyFrame2Image",
        [](py::handle input, int frame, std::array<int, 2> offset, py::handle voi) {
            Call call;
            Volume* in = call.input(input, voi);
            int height = 0, width = 0;
            GetDefaultImageSize(&height, &width);
            Picture picture(in->colortype == V3D_COLOR_RGB ? 3 : 1, height, width);
            call.run([&] { return CopyFrame2Image(in, frame, picture.image(), offset[0], offset[1]); });
            return picture.array();
        },
        "input"_a, "frame"_a, py::kw_only(), "offset"_a = std::array<int, 2>{0, 0}, voi_arg(),
        doc("CopyFrame2Image",
            "CopyFrame2Image(input, frame, *, offset=(0, 0), voi=None) -> ndarray\n\n"
            "The VOI's rows and columns of one frame of a uint8 volume, at offset (row, column)\n"
            "of a new zeroed image of the default image size (SetDefaultImageSize)."));

    m.def(
        "CopyImage2Frame",
        [](py::handle input, int frame, py::handle image, std::array<int, 2> offset,
           py::handle region, py::handle output) {
            ImageRows rows(image);
            const std::array<int, 4> r = image_region(region, rows.height(), rows.width());
            Call call;
            Volume* out = call.output_from(output, input);
            call.run([&] {
                return CopyImage2Frame(out, frame, rows.get(), offset[0], offset[1], r[0], r[1], r[2], r[3]);
            });
            return call.array(out);
        },
        "input"_a, "frame"_a, "image"_a, py::kw_only(), "offset"_a = std::array<int, 2>{0, 0},
        "region"_a = py::none(), output_arg(),
        doc("CopyImage2Frame",
            "CopyImage2Frame(input, frame, image, *, offset=(0, 0), region=None, output=None)\n"
            "    -> ndarray\n\n"
            "A copy of input (or output, which may be input itself) with the region (a pair of\n"
            "slices, rows and columns; None: the whole image) of a (H, W) or (H, W, 3) uint8\n"
            "image pasted into frame at offset (row, column)."));

    m.def("SetDefaultImageSize", &SetDefaultImageSize, "height"_a, "width"_a,
          doc("SetDefaultImageSize", "SetDefaultImageSize(height, width)"));
    m.def(
        "GetDefaultImageSize",
        [] {
            int h = 0, w = 0;
            GetDefaultImageSize(&h, &w);
            return py::make_tuple(h, w);
        },
        doc("GetDefaultImageSize", "GetDefaultImageSize() -> (height, width)"));
}

}  // namespace v3dpy
