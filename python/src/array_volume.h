// Volume records over NumPy arrays, and the frame every binding follows:
//
//   Call call;
//   Volume* in = call.input(input, voi);
//   Volume* out = call.output(output, like(in));
//   call.run([&] { return median3(in, out, w.z, w.y, w.x); });
//   return call.array(out);
//
// Arrays are (Z, Y, X) grey or (Z, Y, X, 3) RGB volumes of uint8 (UC), float32 (F) or int32 (I).
// The library reaches voxels through row pointers, so a record can point straight into any
// array whose rows run contiguously along X: C-ordered grey arrays, views and slices of them, and
// the planar RGB arrays this module returns. Other layouts (interleaved RGB, a strided X axis)
// are copied once into planar storage before the call and, for outputs, once back after it.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <deque>
#include <string>
#include <vector>

#include "vexilo3d.h"

namespace v3dpy {

namespace py = pybind11;

// Raises vexilo3d.Error(code, text); text defaults to the library's text of the code.
[[noreturn]] void raise_status(int code);
[[noreturn]] void raise_status(int code, const std::string& text);
// Raises for a negative status and returns the status otherwise (some operators return counts).
int check(int status);

struct Triple {
    int z, y, x;
};
// An int n (n, n, n) or a sequence of three ints (z, y, x).
Triple triple_of(py::handle value, const char* what);

// The shape, data type and colour type of a volume the call creates.
struct VolumeShape {
    int Z, Y, X, type, colortype;
};
// The extent of a record's VOI (each at least 1, so that a shape made from a VOI the library is
// about to refuse can still be created: the library then reports its own status).
Triple voi_extent(const Volume* v);
inline VolumeShape like(const Volume* v) { return {v->Z, v->Y, v->X, v->type, v->colortype}; }
inline VolumeShape with_type(VolumeShape s, int type) { return s.type = type, s; }
inline VolumeShape grey(VolumeShape s) { return s.colortype = V3D_COLOR_GREY, s; }
// The VOI's extent, from an offset on.
VolumeShape voi_at(const Volume* v, Triple offset, int type, int colortype);

// The data type code of a NumPy dtype: V3D_TYPE_UC, _F, _I, or 0 for any other.
int type_of(const py::dtype& dtype);
py::dtype dtype_of(int type);

class ArrayVolume {
public:
    enum class Role { input, output };
    // private_copy: the library will write into an input that the caller keeps.
    ArrayVolume(py::array array, Role role, bool private_copy);
    ArrayVolume(const ArrayVolume&) = delete;
    ArrayVolume& operator=(const ArrayVolume&) = delete;

    Volume* get() { return &vol_; }
    const py::array& array() const { return array_; }
    Role role() const { return role_; }
    void make_output() { role_ = Role::output; }
    // None (the whole volume) or a tuple of up to three slices or ints, in (z, y, x) order.
    void set_voi(py::handle voi);
    // The array's memory is the same view as other's, or overlaps it.
    bool same_view(const py::array& other) const;
    bool overlaps(const py::array& other) const;
    // Gives the record a copy of its voxels (an input that an output overlaps).
    void detach();
    // Copies planar storage back into the caller's array (outputs that needed a copy).
    void write_back();

private:
    bool rows_contiguous() const;
    void copy_to_planar();
    void point_rows(char* data, py::ssize_t sz, py::ssize_t sy, py::ssize_t sc);

    Volume vol_{};
    std::vector<void*> slots_[3];  // per channel: Z frame pointers, then Z runs of Y row pointers
    py::array array_;              // the array the caller passed or gets back
    py::array store_;              // where the library's rows point: array_ or a planar copy
    Role role_;
};

// The volumes of one operator call.
class Call {
public:
    // An array the operator only reads.
    Volume* input(py::handle array, py::handle voi = py::none());
    // An array the operator writes into while reading it (edge following, labelling): the
    // caller's array is left alone, the operator gets a copy.
    Volume* consumed(py::handle array, py::handle voi = py::none());
    // The output: the given ndarray (which may be one of the inputs: the operator then works in
    // place) or, when given is None, a new zeroed array of shape.
    // voi, when given, sets the output record's VOI (for the few operators that work on it).
    Volume* output(py::handle given, const VolumeShape& shape, py::handle voi = py::none());
    // An output whose voxels start as initial's (seeds, the volume a frame is pasted into):
    // given itself when it is initial, else given (or a new array) with initial copied in.
    Volume* output_from(py::handle given, py::handle initial, py::handle voi = py::none());

    // Runs f with the GIL released, copies outputs back, raises for a negative status.
    template <class F> int run(F&& f) {
        int status;
        {
            py::gil_scoped_release release;
            status = f();
        }
        finish();
        return check(status);
    }
    // The caller-visible array of a record of this call.
    py::array array(const Volume* v);

private:
    ArrayVolume& add(py::handle array, ArrayVolume::Role role, bool private_copy);
    Volume* new_or_given_output(py::handle given, const VolumeShape& shape);
    ArrayVolume& volume_of(const Volume* v);
    void finish();
    std::deque<ArrayVolume> volumes_;
};

// A planar picture (H, W) or (H, W, 3) of bytes with the channel pointers the renderers take.
class Picture {
public:
    Picture(int channels, int height, int width);
    Image2d image() { return rows_.data(); }
    py::array array() const { return array_; }
    int height() const { return height_; }
    int width() const { return width_; }

private:
    py::array planar_, array_;
    std::vector<unsigned char*> lines_;
    std::vector<unsigned char**> rows_;
    int height_, width_;
};

// The docstring of a binding: the Python usage, then the library's documentation of name.
const char* doc(const char* name, const char* usage);

}  // namespace v3dpy
