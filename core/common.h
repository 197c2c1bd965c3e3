// The helper set that every operator uses: typed channel access, the VOI, the usual checks,
// rounding and clamping, buffers that report failure instead of throwing, and temporary
// volumes that free themselves. With these an operator reads like its description:
//
//   V3D_CHECK(check_pair(in, out, kUC, kAnyColor));
//   if (!odd_window_fits(in, wz, wy, wx)) return kInvalidWindow;
//   for_each_channel(in, [&](int c) { ... });
#pragma once

#include <cmath>
#include <cstdlib>
#include <utility>
#include <cstddef>
#include <initializer_list>
#include <limits>
#include <memory>
#include <new>

#include "core/alloc.h"
#include "core/status.h"
#include "vexilo3d.h"
#include "vexilo3d_volume.hpp"

// Returns the status of expr from the enclosing function when it is not 0.
#define V3D_CHECK(expr)                          \
    do {                                         \
        if (const int v3d_status_ = (expr)) return v3d_status_; \
    } while (0)

namespace v3d {

// data type and colour type codes and masks
enum : int { kUC = V3D_TYPE_UC, kF = V3D_TYPE_F, kI = V3D_TYPE_I, kAnyType = V3D_TYPE_ANY };
enum : int { kGrey = V3D_COLOR_GREY, kRGB = V3D_COLOR_RGB, kAnyColor = V3D_COLOR_ANY };

inline int channels(const Volume* v) { return v->colortype == 1 ? 1 : 3; }

// Typed access to one channel: voxels<unsigned char>(v, c)[z][y][x].
template <class T> T*** voxels(const Volume* v, int c) { return static_cast<T***>(v->data[c].p); }

// Calls f with a value of the voxel type of a type code (UC, F or I; anything else acts as UC,
// callers have checked the type before).
template <class F> decltype(auto) dispatch_type(int type, F&& f) {
    if (type == kF) return f(float{});
    if (type == kI) return f(int{});
    return f((unsigned char){});
}

// The half-open volume of interest of a record.
struct Voi {
    int z1, z2, y1, y2, x1, x2;
    int nz() const { return z2 - z1; }
    int ny() const { return y2 - y1; }
    int nx() const { return x2 - x1; }
    long long count() const { return static_cast<long long>(nz()) * ny() * nx(); }
};
inline Voi voi_of(const Volume* v) { return {v->z1, v->z2, v->y1, v->y2, v->x1, v->x2}; }

// True when a is smaller than b in Z, Y or X (whole dimensions).
inline bool smaller_than(const Volume* a, const Volume* b) {
    return a->Z < b->Z || a->Y < b->Y || a->X < b->X;
}

// The common checks of an operator with one input and one output, in their fixed order:
// input check, output check, output not smaller than the input (-520), output colour type
// equal to the input's (-523).
inline int check_pair(Volume* in, Volume* out, int typemask, int colormask) {
    V3D_CHECK(CheckVolume(in, typemask, colormask));
    V3D_CHECK(CheckVolume(out, typemask, colormask));
    if (smaller_than(out, in)) return kBadOutputDims;
    if (out->colortype != in->colortype) return kBadOutputColor;
    return kOk;
}

// Window sizes positive, odd and no larger than the VOI's extents.
inline bool odd_window_fits(const Volume* in, int wz, int wy, int wx) {
    const Voi v = voi_of(in);
    auto ok = [](int w, int extent) { return w > 0 && (w & 1) == 1 && w <= extent; };
    return ok(wz, v.nz()) && ok(wy, v.ny()) && ok(wx, v.nx());
}

// Does the VOI of in, placed at (z0, y0, x0), fit inside out?
inline bool fits_at(const Volume* in, const Volume* out, int z0, int y0, int x0) {
    const Voi v = voi_of(in);
    return static_cast<long long>(z0) + v.nz() <= out->Z &&
           static_cast<long long>(y0) + v.ny() <= out->Y &&
           static_cast<long long>(x0) + v.nx() <= out->X;
}

// "Add 0.5 and truncate" (towards zero, as a C conversion does).
inline int round_half_up(double v) { return static_cast<int>(v + 0.5); }
inline int round_half_up(float v) { return static_cast<int>(v + 0.5f); }

inline unsigned char clamp_uc(int v) {
    return static_cast<unsigned char>(v < 0 ? 0 : (v > 255 ? 255 : v));
}
// Clamp to 0..255, then round half up.
inline unsigned char clamp_round_uc(double v) {
    if (!(v > 0.0)) return 0;  // also NaN
    if (v >= 255.0) return 255;
    return static_cast<unsigned char>(v + 0.5);
}

// Region means: floor(sum / count + 0.5) in double precision.
inline int region_mean(double sum, double count) {
    return static_cast<int>(std::floor(sum / count + 0.5));
}

// Checks vol (any type and colour) and converts one value per channel as ClearVolume and
// CheckIfVolumeClear accept them: UC 0..255 truncated, I -2^31..2^31 truncated, F as it is.
// Returns 0, the volume's status, -4 for null values or -90 for a value out of range.
int checked_channel_values(Volume* vol, const float* values, double converted[3]);

// Every channel pointer of an n-channel image present?
inline bool image_present(Image2d image, int n) {
    if (!image) return false;
    for (int c = 0; c < n; ++c)
        if (!image[c]) return false;
    return true;
}

template <class F> void for_each_channel(const Volume* v, F&& f) {
    for (int c = 0, n = channels(v); c < n; ++c) f(c);
}

// Calls f(c, z, y) for every row of the VOI, channel outermost.
template <class F> void for_each_voi_row(const Volume* v, F&& f) {
    const Voi r = voi_of(v);
    for_each_channel(v, [&](int c) {
        for (int z = r.z1; z < r.z2; ++z)
            for (int y = r.y1; y < r.y2; ++y) f(c, z, y);
    });
}

// The product of sizes that come from outside (files, command lines, record fields, window
// sizes) in the unsigned type T, or false when a factor is negative or the product does not fit.
// Every such size is computed through this one helper, never by a bare multiplication.
template <class T> bool checked_product(T* product, std::initializer_list<long long> factors) {
    static_assert(std::numeric_limits<T>::is_integer && !std::numeric_limits<T>::is_signed, "");
    T p = 1;
    for (long long f : factors) {
        if (f < 0) return false;
        const auto u = static_cast<unsigned long long>(f);
        if (u > std::numeric_limits<T>::max() || (u != 0 && p > std::numeric_limits<T>::max() / u))
            return false;
        p = static_cast<T>(p * u);
    }
    *product = p;
    return true;
}

// One rule for every real parameter of an operator: it must be finite (NaN and the infinities
// give -90 wherever a real is checked).
inline bool finite_real(double v) { return std::isfinite(v); }
inline bool all_finite(const float* values, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i)
        if (!std::isfinite(values[i])) return false;
    return true;
}

// A plain work buffer, zeroed: null when it cannot be had (operators return -9 then).
template <class T> std::unique_ptr<T[]> make_buffer(std::size_t n) {
    return std::unique_ptr<T[]>(new (std::nothrow) T[n ? n : 1]());
}

// A buffer left uninitialised, for I/O rows that are filled before they are read.
template <class T> std::unique_ptr<T[]> make_io_buffer(std::size_t n) {
    return std::unique_ptr<T[]>(new (std::nothrow) T[n ? n : 1]);
}

// A growable array of trivially copyable values that reports a failed allocation (push returns
// false) instead of throwing.
template <class T> class Growable {
public:
    Growable() = default;
    Growable(const Growable&) = delete;
    Growable& operator=(const Growable&) = delete;
    ~Growable() { mem_free(data_); }

    bool push(const T& value) {
        if (size_ == capacity_ && !reserve(capacity_ ? capacity_ * 2 : 4096)) return false;
        data_[size_++] = value;
        return true;
    }
    T pop() { return data_[--size_]; }
    void clear() { size_ = 0; }
    bool empty() const { return size_ == 0; }
    std::size_t size() const { return size_; }
    T* begin() { return data_; }
    T* end() { return data_ + size_; }
    void swap(Growable& other) {
        std::swap(data_, other.data_);
        std::swap(size_, other.size_);
        std::swap(capacity_, other.capacity_);
    }

private:
    bool reserve(std::size_t capacity) {
        if (capacity > std::numeric_limits<std::size_t>::max() / sizeof(T)) return false;
        void* more = mem_realloc(data_, capacity * sizeof(T));
        if (!more) return false;
        data_ = static_cast<T*>(more);
        capacity_ = capacity;
        return true;
    }
    T* data_ = nullptr;
    std::size_t size_ = 0, capacity_ = 0;
};

// The volume an operator reads while it writes out: in itself, or, when in and out share
// storage (an in-place call), a copy of in's VOI at the same coordinates held by copy, so that
// the result is the one of separate volumes. Returns 0 or -530.
inline int separate_input(Volume* in, const Volume* out, OwnedVolume& copy, Volume*& source) {
    source = in;
    if (in->data[0].p != out->data[0].p) return kOk;
    V3D_CHECK(copy.create(in->Z, in->Y, in->X, in->type, in->colortype));
    V3D_CHECK(CopyVolume(in, copy.get(), in->z1, in->y1, in->x1));
    fill_in_VOI(copy.get(), in->z1, in->z2, in->y1, in->y2, in->x1, in->x2);
    source = copy.get();
    return kOk;
}

}  // namespace v3d
