// Binary morphology of grey uint8 volumes with a structuring element.
#include "bindings.h"

namespace v3dpy {
namespace {

using Morphology = int (*)(Volume*, Volume*, Volume*);
template <Morphology op> void def_morphology(py::module_& m, const char* name, const char* usage) {
    m.def(
        name,
        [](py::handle input, py::handle structure, py::handle output, py::handle voi) {
            py::object element = bool_to_bytes(structure, 255);
            Call call;
            Volume* in = call.input(input, voi);
            Volume* se = call.input(element);
            Volume* out = call.output(output, like(in));
            call.run([&] { return op(in, se, out); });
            return call.array(out);
        },
        "input"_a, "structure"_a, py::kw_only(), output_arg(), voi_arg(), doc(name, usage));
}

}  // namespace

void bind_morphology(py::module_& m) {
    const char* usage =
        "(input, structure, *, output=None, voi=None) -> ndarray\n\n"
        "input: a binary (0 / 255) uint8 volume; structure: a (wz, wy, wx) binary uint8 or bool\n"
        "array of odd extents, its origin the centre voxel.";
    def_morphology<MinkowskiAddition3d>(m, "MinkowskiAddition3d", usage);
    def_morphology<MinkowskiSubtraction3d>(m, "MinkowskiSubtraction3d", usage);
    def_morphology<bdilate3d>(m, "bdilate3d", usage);
    def_morphology<berode3d>(m, "berode3d", usage);
    def_morphology<bopening3d>(m, "bopening3d", usage);
    def_morphology<bclosing3d>(m, "bclosing3d", usage);
}

}  // namespace v3dpy
