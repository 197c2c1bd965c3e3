// Edge detection: gradient, compass, Laplacian and range operators, edge following and linking,
// and the plane-detecting Hough transform.
#include <array>
#include <cstdint>
#include <vector>

#include "bindings.h"

namespace v3dpy {

void bind_edges(py::module_& m) {
    const char* edge_note =
        "(input, *, output=None, voi=None) -> ndarray\n\n"
        "One-channel uint8 volumes. Computes the voxels one step inside every face of the VOI;\n"
        "every other voxel of output keeps its value (0 in a new output).";
    def_in_out<Sobel_3D>(m, "Sobel_3D", edge_note);
    def_in_out<laplace_3d>(m, "laplace_3d", edge_note);

    m.def(
        "compas3d",
        [](py::handle input, int angle1, int angle2, py::handle output, py::handle voi) {
            Call call;
            Volume* in = call.input(input, voi);
            Volume* out = call.output(output, like(in));
            call.run([&] { return compas3d(in, out, angle1, angle2); });
            return call.array(out);
        },
        "input"_a, "angle1"_a, "angle2"_a = 0, py::kw_only(), output_arg(), voi_arg(),
        doc("compas3d",
            "compas3d(input, angle1, angle2=0, *, output=None, voi=None) -> ndarray\n\n"
            "The compass mask of a direction: angle1 in 0, 45, 90, 135 and angle2 in 0, 45, 90,\n"
            "135 as tabled below."));

    def_windowed<range_3d>(m, "range_3d",
        "range_3d(input, size=3, *, output=None, voi=None) -> ndarray\n\n"
        "Maximum minus minimum over the window (n or (wz, wy, wx), each odd).");

    m.def(
        "edge_follow_3d",
        [](py::handle input, std::array<int, 3> start, int maxdiff, int threshold, int weight,
           py::handle output, py::handle voi) {
            Call call;
            Volume* in = call.consumed(input, voi);
            Volume* out = call.output(output, like(in));
            call.run([&] {
                return edge_follow_3d(in, out, start[0], start[1], start[2], maxdiff, threshold, weight);
            });
            return call.array(out);
        },
        "input"_a, "start"_a, "maxdiff"_a, "threshold"_a, "weight"_a, py::kw_only(), output_arg(),
        voi_arg(),
        doc("edge_follow_3d",
            "edge_follow_3d(input, start, maxdiff, threshold, weight, *, output=None, voi=None)\n"
            "    -> ndarray\n\n"
            "The path followed from start = (z, y, x), marked 255 in output. The library consumes\n"
            "its input; this function gives it a copy, so input is left as it was."));

    m.def(
        "Hough_3D",
        [](py::handle input, std::array<int, 3> shape, int threshold, py::handle output,
           py::handle voi) {
            Call call;
            Volume* in = call.input(input, voi);
            Volume* acc = call.output(py::none(), {shape[0], shape[1], shape[2], V3D_TYPE_I, V3D_COLOR_GREY});
            Volume* out = call.output(output, like(in));
            call.run([&] { return Hough_3D(in, out, acc, threshold); });
            return py::make_tuple(call.array(out), call.array(acc));
        },
        "input"_a, "shape"_a, "threshold"_a, py::kw_only(), output_arg(), voi_arg(),
        doc("Hough_3D",
            "Hough_3D(input, shape, threshold, *, output=None, voi=None) -> (output, accumulator)\n\n"
            "shape = (elevations, azimuths, distances) of the int32 accumulator, which comes back\n"
            "holding 1 on the cells with at least threshold votes."));

    m.def(
        "modedg3d",
        [](py::handle input, std::array<int, 3> start, std::array<int, 3> end, int threshold,
           py::handle output, py::handle voi) {
            Call call;
            Volume* in = call.input(input, voi);
            Volume* out = call.output(output, like(in));
            StackNode3d* stack = nullptr;
            std::vector<StackRecord3d> path;
            call.run([&] {
                const int s = modedg3d(in, out, &stack, start[0], start[1], start[2], end[0], end[1],
                                       end[2], threshold);
                while (stack) path.push_back(pop_3d(&stack));  // the end comes first
                return s;
            });
            py::array_t<std::int32_t> records(std::vector<py::ssize_t>{static_cast<py::ssize_t>(path.size()), 4});
            for (size_t i = 0; i < path.size(); ++i) {
                const StackRecord3d& r = path[path.size() - 1 - i];
                const std::int32_t row[4] = {r.z, r.y, r.x, r.extra};
                std::copy(row, row + 4, records.mutable_data(static_cast<py::ssize_t>(i)));
            }
            return py::make_tuple(call.array(out), records);
        },
        "input"_a, "start"_a, "end"_a, "threshold"_a, py::kw_only(), output_arg(), voi_arg(),
        doc("modedg3d",
            "modedg3d(input, start, end, threshold, *, output=None, voi=None) -> (output, path)\n\n"
            "Links start to end (each (z, y, x)); path is an (n, 4) int32 array of\n"
            "(z, y, x, strength) from start to end."));
}

}  // namespace v3dpy
