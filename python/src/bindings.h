// What the family bindings share: their registration functions and the patterns most operators
// follow (one input and one output; one input, one output and a window).
#pragma once

#include <pybind11/stl.h>

#include "array_volume.h"

namespace v3dpy {

using namespace pybind11::literals;

void bind_core(py::module_& m);
void bind_io(py::module_& m);
void bind_filters(py::module_& m);
void bind_edges(py::module_& m);
void bind_fft(py::module_& m);
void bind_segment(py::module_& m);
void bind_resize(py::module_& m);
void bind_morphology(py::module_& m);
void bind_proj(py::module_& m);

// The keyword arguments every operator ends with.
inline py::arg_v output_arg() { return py::arg("output") = py::none(); }
inline py::arg_v voi_arg() { return py::arg("voi") = py::none(); }
inline py::arg_v offset_arg() { return py::arg("offset") = 0; }

// op(in, out): the output has the input's shape, data type and colour type.
using InOut = int (*)(Volume*, Volume*);
template <InOut op> void def_in_out(py::module_& m, const char* name, const char* usage) {
    m.def(
        name,
        [](py::handle input, py::handle output, py::handle voi) {
            Call call;
            Volume* in = call.input(input, voi);
            Volume* out = call.output(output, like(in));
            call.run([&] { return op(in, out); });
            return call.array(out);
        },
        "input"_a, py::kw_only(), output_arg(), voi_arg(), doc(name, usage));
}

// op(in, out, wz, wy, wx): a box-window operator; size is n or (wz, wy, wx).
using Windowed = int (*)(Volume*, Volume*, int, int, int);
template <Windowed op> void def_windowed(py::module_& m, const char* name, const char* usage) {
    m.def(
        name,
        [](py::handle input, py::handle size, py::handle output, py::handle voi) {
            const Triple w = triple_of(size, "size");
            Call call;
            Volume* in = call.input(input, voi);
            Volume* out = call.output(output, like(in));
            call.run([&] { return op(in, out, w.z, w.y, w.x); });
            return call.array(out);
        },
        "input"_a, "size"_a = 3, py::kw_only(), output_arg(), voi_arg(), doc(name, usage));
}

// The output argument of an operator with two outputs: None, or a pair of arrays (or Nones).
inline py::tuple two_outputs(py::handle output) {
    if (output.is_none()) return py::make_tuple(py::none(), py::none());
    const py::tuple pair(py::reinterpret_borrow<py::object>(output));
    if (pair.size() != 2) throw py::type_error("output: a pair of arrays");
    return pair;
}

// A structuring element or footprint given as a bool array becomes bytes of 0 and set_value;
// arrays of other types pass as they are (the library checks them).
py::object bool_to_bytes(py::handle element, int set_value);

}  // namespace v3dpy
