// The vexilo3d._core extension: every operator of the library as a function on NumPy arrays.
#include <cstdint>

#include "bindings.h"
#include "core/parallel.h"

namespace v3dpy {

py::object bool_to_bytes(py::handle element, int set_value) {
    py::object array = py::module_::import("numpy").attr("asarray")(element);
    if (array.attr("dtype").attr("kind").cast<std::string>() != "b") return array;
    return array.attr("astype")(py::dtype::of<std::uint8_t>()).attr("__mul__")(set_value);
}

}  // namespace v3dpy

using namespace v3dpy;

PYBIND11_MODULE(_core, m) {
    m.doc() = "The VEXILO3D volume library's operators on NumPy arrays.";
    // Every docstring starts with the Python usage, in the library's argument names.
    py::options options;
    options.disable_function_signatures();
    m.def("GetStatusText", [](int code) { return std::string(GetStatusText(code)); }, "code"_a,
          doc("GetStatusText", "GetStatusText(code) -> str: the library's text of a status."));
    m.def("set_threads", [](int n) { v3d::set_thread_count(n); }, "n"_a,
          "set_threads(n): the number of threads one operator call may use (0: every core, or\n"
          "VEXILO3D_THREADS when set). Results do not depend on it. Under Dask, whose workers\n"
          "already run chunks side by side, 1 avoids running more threads than there are cores.");
    m.def("get_threads", [] { return v3d::thread_count(); },
          "get_threads() -> int: the number of threads one operator call may use.");
    bind_core(m);
    bind_io(m);
    bind_filters(m);
    bind_edges(m);
    bind_fft(m);
    bind_segment(m);
    bind_resize(m);
    bind_morphology(m);
    bind_proj(m);
}
