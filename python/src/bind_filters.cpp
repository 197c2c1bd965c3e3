// Histogram and equalization, and the neighbourhood filters.
#include <cstdint>
#include <vector>

#include "bindings.h"

namespace v3dpy {
namespace {

int channels_of(const Volume* v) { return v->colortype == V3D_COLOR_RGB ? 3 : 1; }

// A float32 array (256,) for one channel or (channels, 256), C-ordered, with its row pointers.
struct Tables {
    explicit Tables(py::handle values) {
        array = py::module_::import("numpy").attr("ascontiguousarray")(values, "float32");
        if (array.shape(array.ndim() - 1) != 256 || array.ndim() > 2)
            throw py::value_error("expected 256 values, or (channels, 256)");
        const py::ssize_t n = array.ndim() == 2 ? array.shape(0) : 1;
        for (py::ssize_t c = 0; c < n; ++c) rows.push_back(static_cast<float*>(array.mutable_data()) + 256 * c);
        while (rows.size() < 3) rows.push_back(rows.back());
    }
    py::array_t<float> array;
    std::vector<float*> rows;
};

}  // namespace

void bind_filters(py::module_& m) {
    m.def(
        "hist3",
        [](py::handle input, py::handle voi) {
            Call call;
            Volume* in = call.input(input, voi);
            const int n = channels_of(in);
            py::array_t<float> pdf(std::vector<py::ssize_t>{n, 256});
            float* rows[3] = {pdf.mutable_data(0), pdf.mutable_data(n > 1 ? 1 : 0), pdf.mutable_data(n > 1 ? 2 : 0)};
            call.run([&] { return hist3(in, rows); });
            return n == 1 ? pdf.attr("__getitem__")(0) : py::object(pdf);
        },
        "input"_a, py::kw_only(), voi_arg(),
        doc("hist3",
            "hist3(input, *, voi=None) -> ndarray\n\n"
            "The grey-level density of the VOI of a uint8 volume: (256,) float32, or (3, 256) for\n"
            "RGB."));

    m.def(
        "cdfhist3",
        [](py::handle pdf) {
            Tables in(pdf);
            py::array_t<float> cdf(in.array.request().shape);
            const py::ssize_t n = in.array.ndim() == 2 ? in.array.shape(0) : 1;
            for (py::ssize_t c = 0; c < n; ++c) check(cdfhist3(in.rows[c], cdf.mutable_data() + 256 * c));
            return cdf;
        },
        "pdf"_a,
        doc("cdfhist3",
            "cdfhist3(pdf) -> ndarray: the cumulative sum of a density (256,) or of each row of\n"
            "(channels, 256), in single precision as the library sums."));

    m.def(
        "histeq3",
        [](py::handle input, py::handle cdf, py::handle output, py::handle voi) {
            Tables table(cdf);
            Call call;
            Volume* in = call.input(input, voi);
            Volume* out = call.output(output, like(in));
            call.run([&] { return histeq3(in, out, table.rows.data()); });
            return call.array(out);
        },
        "input"_a, "cdf"_a, py::kw_only(), output_arg(), voi_arg(),
        doc("histeq3",
            "histeq3(input, cdf, *, output=None, voi=None) -> ndarray\n\n"
            "Maps every VOI voxel through a cumulative density (256,) or one per channel (3, 256)."));

    def_in_out<HistogramEqual3d>(m, "HistogramEqual3d",
        "HistogramEqual3d(input, *, output=None, voi=None) -> ndarray: histogram equalization of\n"
        "the VOI (output may be input itself).");

    const char* window_note =
        "(input, size=3, *, output=None, voi=None) -> ndarray\n\n"
        "size: the window, n or (wz, wy, wx), each odd. Only voxels whose whole window lies in\n"
        "the VOI are computed; every other voxel of output keeps its value (0 in a new output:\n"
        "pass output=input.copy() to keep the input's values there). uint8 volumes, RGB channel\n"
        "by channel.";
    def_windowed<mov_ave3>(m, "mov_ave3", window_note);
    def_windowed<median3>(m, "median3", window_note);
    def_windowed<run_median3>(m, "run_median3", window_note);
    def_windowed<run_max3>(m, "run_max3", window_note);
    def_windowed<run_min3>(m, "run_min3", window_note);

    m.def(
        "wei_median3",
        [](py::handle input, py::handle footprint, py::handle output, py::handle voi) {
            py::object weights = bool_to_bytes(footprint, 1);
            Call call;
            Volume* in = call.input(input, voi);
            Volume* w = call.input(weights);
            Volume* out = call.output(output, like(in));
            call.run([&] { return wei_median3(in, out, w); });
            return call.array(out);
        },
        "input"_a, "footprint"_a, py::kw_only(), output_arg(), voi_arg(),
        doc("wei_median3",
            "wei_median3(input, footprint, *, output=None, voi=None) -> ndarray\n\n"
            "footprint: the window's weights, a (wz, wy, wx) uint8 array (a bool array counts as\n"
            "weights 0 and 1, which gives scipy's median over a footprint when the set voxels are\n"
            "odd in number)."));

    m.def(
        "multistage_median3",
        [](py::handle input, int size, py::handle output, py::handle voi) {
            Call call;
            Volume* in = call.input(input, voi);
            Volume* out = call.output(output, like(in));
            call.run([&] { return multistage_median3(in, out, size); });
            return call.array(out);
        },
        "input"_a, "size"_a = 3, py::kw_only(), output_arg(), voi_arg(),
        doc("multistage_median3",
            "multistage_median3(input, size=3, *, output=None, voi=None) -> ndarray\n\n"
            "size: n, the odd edge of the n x n x n window."));

    m.def(
        "l_filter3",
        [](py::handle input, py::handle coefficients, py::handle size, py::handle output,
           py::handle voi) {
            py::array_t<float, py::array::c_style | py::array::forcecast> coef =
                py::array_t<float, py::array::c_style | py::array::forcecast>::ensure(coefficients);
            if (!coef) throw py::type_error("coefficients: an array of numbers");
            Triple w{0, 0, 0};
            if (size.is_none()) {
                if (coef.ndim() != 3) throw py::value_error("coefficients: (wz, wy, wx), or give size");
                w = {static_cast<int>(coef.shape(0)), static_cast<int>(coef.shape(1)), static_cast<int>(coef.shape(2))};
            } else {
                w = triple_of(size, "size");
            }
            const long long needed = static_cast<long long>(w.z) * w.y * w.x;
            if (w.z > 0 && w.y > 0 && w.x > 0 && coef.size() < needed)
                throw py::value_error("coefficients: fewer values than the window has voxels");
            Call call;
            Volume* in = call.input(input, voi);
            Volume* out = call.output(output, like(in));
            call.run([&] { return l_filter3(in, out, coef.data(), w.z, w.y, w.x); });
            return call.array(out);
        },
        "input"_a, "coefficients"_a, "size"_a = py::none(), py::kw_only(), output_arg(), voi_arg(),
        doc("l_filter3",
            "l_filter3(input, coefficients, size=None, *, output=None, voi=None) -> ndarray\n\n"
            "coefficients: one weight per window voxel, coefficients[0] for the smallest value; a\n"
            "(wz, wy, wx) array gives the window, a flat one needs size."));

    m.def(
        "local_adapt_filt3",
        [](py::handle input, py::handle size, float noise, py::handle output, py::handle voi) {
            const Triple w = triple_of(size, "size");
            Call call;
            Volume* in = call.input(input, voi);
            Volume* out = call.output(output, like(in));
            call.run([&] { return local_adapt_filt3(in, out, noise, w.z, w.y, w.x); });
            return call.array(out);
        },
        "input"_a, "size"_a, "noise"_a, py::kw_only(), output_arg(), voi_arg(),
        doc("local_adapt_filt3",
            "local_adapt_filt3(input, size, noise, *, output=None, voi=None) -> ndarray\n\n"
            "size: the window, n or (wz, wy, wx); noise: the noise variance (>= 0)."));

    m.def(
        "wienerfrequency3",
        [](py::handle psd, py::handle degradation_re, py::handle degradation_im, float noise,
           py::handle output, py::handle voi) {
            Call call;
            Volume* p = call.input(psd);
            Volume* dre = call.input(degradation_re);
            Volume* dim = call.input(degradation_im);
            const py::tuple given = two_outputs(output);
            Volume* hre = call.output(given[0], like(p), voi);
            Volume* him = call.output(given[1], like(p));
            call.run([&] { return wienerfrequency3(hre, him, p, dre, dim, noise); });
            return py::make_tuple(call.array(hre), call.array(him));
        },
        "psd"_a, "degradation_re"_a, "degradation_im"_a, "noise"_a, py::kw_only(), output_arg(),
        voi_arg(),
        doc("wienerfrequency3",
            "wienerfrequency3(psd, degradation_re, degradation_im, noise, *, output=None,\n"
            "                 voi=None) -> (filter_re, filter_im)\n\n"
            "float32 volumes; voi is the VOI of the filter's real part (output: a pair of arrays)."));
}

}  // namespace v3dpy
