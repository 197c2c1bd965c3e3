// Segmentation and labelling of grey uint8 volumes.
#include <algorithm>
#include <vector>

#include "bindings.h"

namespace v3dpy {
namespace {

using Split = int (*)(Volume*, Volume*, int*, int);
template <Split op> void def_split(py::module_& m, const char* name, const char* usage) {
    m.def(
        name,
        [](py::handle input, int tolerance, py::handle output, py::handle voi) {
            Call call;
            Volume* in = call.input(input, voi);
            Volume* out = call.output(output, like(in));
            int count = 0;
            call.run([&] { return op(in, out, &count, tolerance); });
            return py::make_tuple(call.array(out), count);
        },
        "input"_a, "tolerance"_a, py::kw_only(), output_arg(), voi_arg(), doc(name, usage));
}

}  // namespace

void bind_segment(py::module_& m) {
    m.def(
        "threshold_3d",
        [](py::handle input, int threshold, py::handle output, py::handle voi) {
            Call call;
            Volume* in = call.input(input, voi);
            Volume* out = call.output(output, like(in));
            call.run([&] { return threshold_3d(in, out, threshold); });
            return call.array(out);
        },
        "input"_a, "threshold"_a, py::kw_only(), output_arg(), voi_arg(),
        doc("threshold_3d", "threshold_3d(input, threshold, *, output=None, voi=None) -> ndarray"));

    m.def(
        "region3d_grow",
        [](py::handle input, py::handle seeds, int maxseeds, int tolerance, py::handle output,
           py::handle voi) {
            Call call;
            Volume* in = call.input(input, voi);
            Volume* out = call.output_from(output, seeds);
            call.run([&] { return region3d_grow(in, out, maxseeds, tolerance); });
            return call.array(out);
        },
        "input"_a, "seeds"_a, "maxseeds"_a = 255, "tolerance"_a = 0, py::kw_only(), output_arg(),
        voi_arg(),
        doc("region3d_grow",
            "region3d_grow(input, seeds, maxseeds=255, tolerance=0, *, output=None, voi=None)\n"
            "    -> ndarray\n\n"
            "seeds: a uint8 volume whose non-zero voxels are the seeds. The result starts as a\n"
            "copy of seeds (output, when given, receives it; output=seeds grows in place)."));

    m.def(
        "region3d_merge",
        [](py::handle input, int tolerance, int maxregions, py::handle output, py::handle voi) {
            Call call;
            Volume* in = call.input(input, voi);
            Volume* out = call.output(output, like(in));
            const int regions = call.run([&] { return region3d_merge(in, out, tolerance, maxregions); });
            return py::make_tuple(call.array(out), regions);
        },
        "input"_a, "tolerance"_a, "maxregions"_a = 255, py::kw_only(), output_arg(), voi_arg(),
        doc("region3d_merge",
            "region3d_merge(input, tolerance, maxregions=255, *, output=None, voi=None)\n"
            "    -> (output, regions)"));

    def_split<region3d_split>(m, "region3d_split",
        "region3d_split(input, tolerance, *, output=None, voi=None) -> (output, blocks)");
    def_split<region3d_splitmerge>(m, "region3d_splitmerge",
        "region3d_splitmerge(input, tolerance, *, output=None, voi=None) -> (output, regions)");

    m.def(
        "grass3d_label",
        [](py::handle input, int maxlabels, py::handle output, py::handle voi) {
            Call call;
            Volume* in = call.consumed(input, voi);
            Volume* out = call.output(output, like(in));
            std::vector<float> counts(static_cast<size_t>(std::clamp(maxlabels, 1, 255)));
            int labels = 0;
            call.run([&] { return grass3d_label(in, out, &labels, counts.data(), maxlabels); });
            py::array_t<float> sizes(labels);
            std::copy(counts.begin(), counts.begin() + labels, sizes.mutable_data());
            return py::make_tuple(call.array(out), sizes);
        },
        "input"_a, "maxlabels"_a = 255, py::kw_only(), output_arg(), voi_arg(),
        doc("grass3d_label",
            "grass3d_label(input, maxlabels=255, *, output=None, voi=None) -> (labels, counts)\n\n"
            "Labels 1, 2 ... of the 26-connected components of equal non-zero value, in scan\n"
            "order; counts[l - 1] is the voxel count of label l. The library consumes its input;\n"
            "this function gives it a copy, so input is left as it was."));
}

}  // namespace v3dpy
