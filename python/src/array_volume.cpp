#include "array_volume.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <deque>
#include <memory>

#include "library_docs.h"

namespace v3dpy {

namespace {

py::module_ numpy() { return py::module_::import("numpy"); }

// Python indices into int, saturated so that the library's own VOI check refuses them.
int saturate(py::ssize_t v) {
    return static_cast<int>(std::clamp<py::ssize_t>(v, INT_MIN / 2, INT_MAX / 2));
}

// Memory bounds [low, high) of an array's elements.
std::pair<std::uintptr_t, std::uintptr_t> bounds(const py::array& a) {
    auto low = reinterpret_cast<std::uintptr_t>(a.data()), high = low;
    for (py::ssize_t i = 0; i < a.ndim(); ++i) {
        const py::ssize_t reach = (a.shape(i) - 1) * a.strides(i);
        (reach < 0 ? low : high) += reach;
    }
    return {low, high + a.itemsize()};
}

}  // namespace

[[noreturn]] void raise_status(int code) { raise_status(code, GetStatusText(code)); }

[[noreturn]] void raise_status(int code, const std::string& text) {
    // Kept for the life of the process: a static py::object would be released after the
    // interpreter has gone.
    static PyObject* const error =
        py::object(py::module_::import("vexilo3d._errors").attr("Error")).release().ptr();
    PyErr_SetObject(error, py::make_tuple(code, text).ptr());
    throw py::error_already_set();
}

int check(int status) {
    if (status < 0) raise_status(status);
    return status;
}

Triple triple_of(py::handle value, const char* what) {
    if (py::isinstance<py::int_>(value)) {
        const int n = value.cast<int>();
        return {n, n, n};
    }
    const auto seq = py::reinterpret_borrow<py::sequence>(value);
    if (!py::isinstance<py::sequence>(value) || py::len(seq) != 3)
        throw py::type_error(std::string(what) + " must be an int or three ints (z, y, x)");
    return {seq[0].cast<int>(), seq[1].cast<int>(), seq[2].cast<int>()};
}

Triple voi_extent(const Volume* v) {
    return {std::max(1, v->z2 - v->z1), std::max(1, v->y2 - v->y1), std::max(1, v->x2 - v->x1)};
}

VolumeShape voi_at(const Volume* v, Triple offset, int type, int colortype) {
    const Triple e = voi_extent(v);
    auto at = [](int o, int extent) { return std::max(0, o) + extent; };
    return {at(offset.z, e.z), at(offset.y, e.y), at(offset.x, e.x), type, colortype};
}

int type_of(const py::dtype& dtype) {
    if (!dtype.attr("isnative").cast<bool>()) return 0;
    const char kind = dtype.kind();
    if (kind == 'u' && dtype.itemsize() == 1) return V3D_TYPE_UC;
    if (kind == 'f' && dtype.itemsize() == 4) return V3D_TYPE_F;
    if (kind == 'i' && dtype.itemsize() == 4) return V3D_TYPE_I;
    return 0;
}

py::dtype dtype_of(int type) {
    if (type == V3D_TYPE_F) return py::dtype::of<float>();
    if (type == V3D_TYPE_I) return py::dtype::of<std::int32_t>();
    return py::dtype::of<std::uint8_t>();
}

// ---- ArrayVolume -------------------------------------------------------------------------------

ArrayVolume::ArrayVolume(py::array array, Role role, bool private_copy)
    : array_(std::move(array)), role_(role) {
    // An array that cannot be a volume gets the status a record of its kind would.
    const int bad_shape = role == Role::input ? V3D_ERR_BAD_INPUT_DIMS : V3D_ERR_BAD_OUTPUT_DIMS;
    const py::ssize_t ndim = array_.ndim();
    if (ndim == 4 && array_.shape(3) != 3) raise_status(V3D_ERR_WRONG_COLOR);
    if (ndim != 3 && ndim != 4) raise_status(bad_shape);
    for (py::ssize_t i = 0; i < 3; ++i)
        if (array_.shape(i) < 1 || array_.shape(i) > INT_MAX / 2) raise_status(bad_shape);
    const int type = type_of(array_.dtype());
    if (!type) raise_status(V3D_ERR_WRONG_TYPE);
    if (role == Role::output && !array_.writeable())
        throw py::value_error("the output array is read-only");

    InitializeVolume(&vol_, static_cast<int>(array_.shape(0)), static_cast<int>(array_.shape(1)),
                     static_cast<int>(array_.shape(2)), type,
                     ndim == 4 ? V3D_COLOR_RGB : V3D_COLOR_GREY);
    fill_in_VOI(&vol_, 0, vol_.Z, 0, vol_.Y, 0, vol_.X);
    if (private_copy || !rows_contiguous()) {
        copy_to_planar();
    } else {
        store_ = array_;
        // Read-only arrays (memory maps) are fine as inputs: the library writes only outputs,
        // and the inputs it consumes are given copies.
        char* data = const_cast<char*>(static_cast<const char*>(array_.data()));
        point_rows(data, array_.strides(0), array_.strides(1), ndim == 4 ? array_.strides(3) : 0);
    }
}

bool ArrayVolume::rows_contiguous() const {
    const py::ssize_t item = array_.itemsize();
    if (array_.strides(2) != item && array_.shape(2) > 1) return false;
    if (reinterpret_cast<std::uintptr_t>(array_.data()) % item) return false;
    for (py::ssize_t i = 0; i < array_.ndim(); ++i)
        if (array_.strides(i) % item) return false;
    return true;
}

void ArrayVolume::copy_to_planar() {
    py::object source = array_;
    if (vol_.colortype == V3D_COLOR_RGB) source = numpy().attr("moveaxis")(array_, -1, 0);
    store_ = numpy().attr("array")(source, py::arg("copy") = true, py::arg("order") = "C");
    const py::ssize_t frame = store_.strides(vol_.colortype == V3D_COLOR_RGB ? 1 : 0);
    point_rows(static_cast<char*>(store_.mutable_data()), frame, frame / vol_.Y,
               vol_.colortype == V3D_COLOR_RGB ? store_.strides(0) : 0);
}

void ArrayVolume::point_rows(char* data, py::ssize_t sz, py::ssize_t sy, py::ssize_t sc) {
    const int Z = vol_.Z, Y = vol_.Y;
    const int channels = vol_.colortype == V3D_COLOR_RGB ? 3 : 1;
    for (int c = 0; c < 3; ++c) vol_.data[c].p = nullptr;
    for (int c = 0; c < channels; ++c) {
        std::vector<void*>& slots = slots_[c];
        slots.assign(static_cast<size_t>(Z) * (static_cast<size_t>(Y) + 1), nullptr);
        for (int z = 0; z < Z; ++z) {
            void** rows = &slots[static_cast<size_t>(Z) + static_cast<size_t>(z) * Y];
            slots[z] = rows;
            for (int y = 0; y < Y; ++y) rows[y] = data + c * sc + z * sz + y * sy;
        }
        vol_.data[c].p = slots.data();
    }
}

void ArrayVolume::set_voi(py::handle voi) {
    const int extent[3] = {vol_.Z, vol_.Y, vol_.X};
    int lo[3] = {0, 0, 0}, hi[3] = {vol_.Z, vol_.Y, vol_.X};
    if (!voi.is_none()) {
        const py::tuple axes = py::isinstance<py::tuple>(voi)
                                   ? py::reinterpret_borrow<py::tuple>(voi)
                                   : py::make_tuple(voi);
        if (axes.size() > 3) raise_status(V3D_ERR_INVALID_VOI);
        for (size_t i = 0; i < axes.size(); ++i) {
            py::handle axis = axes[i];
            if (py::isinstance<py::int_>(axis)) {  // one frame, row or column
                py::ssize_t at = axis.cast<py::ssize_t>();
                if (at < 0) at += extent[i];
                lo[i] = saturate(at);
                hi[i] = saturate(at + 1);
                continue;
            }
            if (!PySlice_Check(axis.ptr()))
                throw py::type_error("voi: a tuple of slices (or ints) in (z, y, x) order");
            py::ssize_t start, stop, step;
            if (PySlice_Unpack(axis.ptr(), &start, &stop, &step) < 0) throw py::error_already_set();
            if (step != 1) raise_status(V3D_ERR_INVALID_VOI);
            if (start < 0) start += extent[i];
            if (stop == PY_SSIZE_T_MAX) stop = extent[i];
            else if (stop < 0) stop += extent[i];
            lo[i] = saturate(start);
            hi[i] = saturate(stop);
        }
    }
    fill_in_VOI(&vol_, lo[0], hi[0], lo[1], hi[1], lo[2], hi[2]);
}

bool ArrayVolume::same_view(const py::array& other) const {
    if (other.data() != array_.data() || other.ndim() != array_.ndim()) return false;
    if (!other.dtype().is(array_.dtype()) && !other.dtype().equal(array_.dtype())) return false;
    for (py::ssize_t i = 0; i < other.ndim(); ++i)
        if (other.shape(i) != array_.shape(i) || other.strides(i) != array_.strides(i)) return false;
    return true;
}

bool ArrayVolume::overlaps(const py::array& other) const {
    const auto a = bounds(array_), b = bounds(other);
    return a.first < b.second && b.first < a.second;
}

void ArrayVolume::detach() {
    if (store_.is(array_)) copy_to_planar();
}

void ArrayVolume::write_back() {
    if (role_ != Role::output || store_.is(array_)) return;
    py::object target = array_;
    if (vol_.colortype == V3D_COLOR_RGB) target = numpy().attr("moveaxis")(array_, -1, 0);
    numpy().attr("copyto")(target, store_);
}

// ---- Call --------------------------------------------------------------------------------------

ArrayVolume& Call::add(py::handle array, ArrayVolume::Role role, bool private_copy) {
    py::array a = py::array::ensure(array);
    if (!a) throw py::type_error("expected an array");
    return volumes_.emplace_back(std::move(a), role, private_copy);
}

Volume* Call::input(py::handle array, py::handle voi) {
    ArrayVolume& v = add(array, ArrayVolume::Role::input, false);
    v.set_voi(voi);
    return v.get();
}

Volume* Call::consumed(py::handle array, py::handle voi) {
    ArrayVolume& v = add(array, ArrayVolume::Role::input, true);
    v.set_voi(voi);
    return v.get();
}

Volume* Call::output(py::handle given, const VolumeShape& shape, py::handle voi) {
    Volume* out = new_or_given_output(given, shape);
    if (!voi.is_none()) volume_of(out).set_voi(voi);
    return out;
}

Volume* Call::new_or_given_output(py::handle given, const VolumeShape& shape) {
    if (given.is_none()) {
        const int channels = shape.colortype == V3D_COLOR_RGB ? 3 : 1;
        std::vector<py::ssize_t> dims{shape.Z, shape.Y, shape.X};
        if (channels == 3) dims.insert(dims.begin(), 3);
        py::object planar = numpy().attr("zeros")(py::tuple(py::cast(dims)), dtype_of(shape.type));
        // RGB results stay planar behind a (Z, Y, X, 3) view, so that they go back in uncopied.
        if (channels == 3) planar = numpy().attr("moveaxis")(planar, 0, -1);
        return add(planar, ArrayVolume::Role::output, false).get();
    }
    if (!py::isinstance<py::array>(given)) throw py::type_error("output must be a numpy.ndarray");
    const auto array = py::reinterpret_borrow<py::array>(given);
    for (ArrayVolume& v : volumes_) {
        if (v.role() == ArrayVolume::Role::input && v.same_view(array)) {
            if (!array.writeable()) throw py::value_error("the output array is read-only");
            v.make_output();  // in place: the operator gets one record as input and output
            return v.get();
        }
    }
    for (ArrayVolume& v : volumes_)
        if (v.overlaps(array)) v.detach();
    return add(array, ArrayVolume::Role::output, false).get();
}

Volume* Call::output_from(py::handle given, py::handle initial, py::handle voi) {
    py::array start = py::array::ensure(initial);
    if (!start) throw py::type_error("expected an array");
    if (given.is_none()) {
        py::object copy = numpy().attr("array")(start, py::arg("copy") = true);
        ArrayVolume& out = add(copy, ArrayVolume::Role::output, false);
        out.set_voi(voi);
        return out.get();
    }
    if (!py::isinstance<py::array>(given)) throw py::type_error("output must be a numpy.ndarray");
    if (!given.is(initial)) numpy().attr("copyto")(given, start);
    return output(given, VolumeShape{}, voi);
}

ArrayVolume& Call::volume_of(const Volume* v) {
    for (ArrayVolume& a : volumes_)
        if (a.get() == v) return a;
    throw std::logic_error("not a volume of this call");
}

void Call::finish() {
    // Outputs are copied back even after a failure: an operator that stops half-way (region
    // limits) leaves what it wrote, as it does in a record of its own.
    for (ArrayVolume& v : volumes_) v.write_back();
}

py::array Call::array(const Volume* v) { return volume_of(v).array(); }

// ---- Picture -----------------------------------------------------------------------------------

Picture::Picture(int channels, int height, int width) : height_(height), width_(width) {
    std::vector<py::ssize_t> dims{channels, height, width};
    planar_ = numpy().attr("zeros")(py::tuple(py::cast(dims)), py::dtype::of<std::uint8_t>());
    auto* data = static_cast<unsigned char*>(planar_.mutable_data());
    lines_.resize(static_cast<size_t>(channels) * height);
    for (size_t i = 0; i < lines_.size(); ++i) lines_[i] = data + i * static_cast<size_t>(width);
    for (int c = 0; c < channels; ++c) rows_.push_back(&lines_[static_cast<size_t>(c) * height]);
    array_ = channels == 1 ? planar_.attr("__getitem__")(0).cast<py::array>()
                           : numpy().attr("moveaxis")(planar_, 0, -1).cast<py::array>();
}

// ---- Docstrings --------------------------------------------------------------------------------

const char* doc(const char* name, const char* usage) {
    static std::deque<std::string> texts;  // pybind11 keeps the pointer
    // Usages shared by a family start at the argument list: they get the name in front.
    std::string text = usage[0] == '(' ? std::string(name) + usage : std::string(usage);
    for (const LibraryDoc& d : kLibraryDocs) {
        if (std::string(d.name) == name) {
            text += "\n\nThe library's documentation of " + std::string(name) + ":\n\n" + d.text;
            break;
        }
    }
    return texts.emplace_back(std::move(text)).c_str();
}

}  // namespace v3dpy
