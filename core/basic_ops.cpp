// Basic volume operations and metrics: clear, copy, type conversions, logical combinations of
// binary volumes, point reflection, frame <-> image copies, voxel counts, bounding box, range.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "core/common.h"
#include "core/parallel.h"

namespace v3d {
namespace {

int g_image_height = 256;  // the default two-dimensional image size
int g_image_width = 256;

// The low eight bits of floor(v + 0.5): 256.0 wraps to 0, -1.0 to 255.
unsigned char rounded_low_byte(float v) {
    const double r = std::floor(static_cast<double>(v) + 0.5);
    if (!(std::fabs(r) < 9.0e18)) return 0;  // NaN or beyond any integer
    return static_cast<unsigned char>(static_cast<long long>(r) & 0xff);
}

// Integer part of a float known to lie in 0..255 (NaN gives 0).
unsigned char truncated_uc(float v) {
    if (!(v > 0.0f)) return 0;
    return v >= 255.0f ? 255 : static_cast<unsigned char>(v);
}

// floor(t + 0.5) clamped to 0..255 (t may lie far outside, the clamp comes first).
unsigned char windowed(double t) {
    if (!(t > 0.0)) return 0;
    if (t >= 255.0) return 255;
    return static_cast<unsigned char>(std::floor(t + 0.5));
}

// The checks shared by the F -> UC conversions.
int check_f_to_uc(Volume* in, Volume* out, int z0, int y0, int x0) {
    V3D_CHECK(CheckVolume(in, kF, kAnyColor));
    V3D_CHECK(CheckVolume(out, kUC, kAnyColor));
    if (in->colortype != out->colortype) return kBadOutputColor;
    if (z0 < 0 || y0 < 0 || x0 < 0 || !fits_at(in, out, z0, y0, x0)) return kInvalidParams;
    return kOk;
}

// Calls f(in_row, out_row, c) for every VOI row of in and the row at the offset in out.
template <class In, class Out, class F>
void for_each_offset_row(Volume* in, Volume* out, int z0, int y0, int x0, F&& f) {
    const Voi r = voi_of(in);
    for_each_channel(in, [&](int c) {
        In*** src = voxels<In>(in, c);
        Out*** dst = voxels<Out>(out, c);
        parallel_for(r.z1, r.z2, [&](int z) {
            for (int y = r.y1; y < r.y2; ++y)
                f(src[z][y] + r.x1, dst[z0 + z - r.z1][y0 + y - r.y1] + x0, r.nx());
        });
    });
}

enum class Logic { And, Or, Xor };

int combine_binary(Volume* a, Volume* b, Volume* out, Logic op) {
    V3D_CHECK(CheckVolume(a, kUC, kGrey));
    V3D_CHECK(CheckVolume(b, kUC, kGrey));
    V3D_CHECK(CheckVolume(out, kUC, kGrey));
    if (smaller_than(b, a) || smaller_than(out, a)) return kBadOutputDims;
    if (CheckIfUCBinary(a) == 0) return kNotBinary;
    if (CheckIfUCBinary(b) == 0) return kNotBinary;
    const Voi r = voi_of(a);
    for (int z = r.z1; z < r.z2; ++z)
        for (int y = r.y1; y < r.y2; ++y) {
            const unsigned char* pa = a->data[0].uc[z][y];
            const unsigned char* pb = b->data[0].uc[z][y];
            unsigned char* po = out->data[0].uc[z][y];
            for (int x = r.x1; x < r.x2; ++x)
                po[x] = op == Logic::And ? (pa[x] & pb[x])
                      : op == Logic::Or  ? (pa[x] | pb[x])
                                         : (pa[x] ^ pb[x]);
        }
    return kOk;
}

// Does voxel (z, y, x) have a zero among its 26 neighbours?
bool touches_zero(unsigned char*** v, int z, int y, int x) {
    for (int dz = -1; dz <= 1; ++dz)
        for (int dy = -1; dy <= 1; ++dy) {
            const unsigned char* row = v[z + dz][y + dy];
            if (row[x - 1] == 0 || row[x] == 0 || row[x + 1] == 0) return true;
        }
    return false;
}

}  // namespace
}  // namespace v3d

using namespace v3d;

extern "C" {

void SetDefaultImageSize(int height, int width) {
    if (height >= 1) g_image_height = height;
    if (width >= 1) g_image_width = width;
}

void GetDefaultImageSize(int* height, int* width) {
    if (height) *height = g_image_height;
    if (width) *width = g_image_width;
}

int ClearVolume(Volume* vol, const float* values) {
    double wanted[3];
    V3D_CHECK(checked_channel_values(vol, values, wanted));
    const int n = channels(vol);
    const Voi r = voi_of(vol);
    dispatch_type(vol->type, [&](auto tag) {
        using T = decltype(tag);
        for (int c = 0; c < n; ++c) {
            const T value = static_cast<T>(wanted[c]);
            T*** data = voxels<T>(vol, c);
            parallel_for(r.z1, r.z2, [&](int z) {
                for (int y = r.y1; y < r.y2; ++y)
                    std::fill(data[z][y] + r.x1, data[z][y] + r.x2, value);
            });
        }
    });
    return kOk;
}

int CopyVolume(Volume* in, Volume* out, int z0, int y0, int x0) {
    V3D_CHECK(CheckVolume(in, kAnyType, kAnyColor));
    V3D_CHECK(CheckVolume(out, kAnyType, kAnyColor));
    if (out->type != in->type) return kBadOutputType;
    if (out->colortype != in->colortype) return kBadOutputColor;
    if (z0 < 0 || y0 < 0 || x0 < 0) return kInvalidParams;
    if (!fits_at(in, out, z0, y0, x0)) return kBadOutputDims;
    dispatch_type(in->type, [&](auto tag) {
        using T = decltype(tag);
        if (in == out) {  // voxel by voxel in scan order, overlapping or not
            const Voi r = voi_of(in);
            for_each_voi_row(in, [&](int c, int z, int y) {
                T*** d = voxels<T>(in, c);
                for (int x = r.x1; x < r.x2; ++x)
                    d[z0 + z - r.z1][y0 + y - r.y1][x0 + x - r.x1] = d[z][y][x];
            });
            return;
        }
        for_each_offset_row<T, T>(in, out, z0, y0, x0, [](const T* src, T* dst, int n) {
            std::memcpy(dst, src, sizeof(T) * static_cast<size_t>(n));
        });
    });
    return kOk;
}

int FVolume2UCVolume(Volume* in, Volume* out, int z0, int y0, int x0) {
    V3D_CHECK(check_f_to_uc(in, out, z0, y0, x0));
    for_each_offset_row<float, unsigned char>(in, out, z0, y0, x0,
                                              [](const float* src, unsigned char* dst, int n) {
        for (int i = 0; i < n; ++i) dst[i] = rounded_low_byte(src[i]);
    });
    return kOk;
}

int FVolume2UCVolume_norm(Volume* in, Volume* out, int z0, int y0, int x0) {
    V3D_CHECK(check_f_to_uc(in, out, z0, y0, x0));
    const Voi r = voi_of(in);
    for (int c = 0, n = channels(in); c < n; ++c) {
        float lo = in->data[c].f[r.z1][r.y1][r.x1], hi = lo;
        for (int z = r.z1; z < r.z2; ++z)
            for (int y = r.y1; y < r.y2; ++y)
                for (int x = r.x1; x < r.x2; ++x) {
                    const float v = in->data[c].f[z][y][x];
                    lo = std::min(lo, v);
                    hi = std::max(hi, v);
                }
        const float step = static_cast<float>((hi - lo) * 0.003921569);
        for (int z = r.z1; z < r.z2; ++z)
            for (int y = r.y1; y < r.y2; ++y) {
                const float* src = in->data[c].f[z][y];
                unsigned char* dst = out->data[c].uc[z0 + z - r.z1][y0 + y - r.y1] + x0 - r.x1;
                for (int x = r.x1; x < r.x2; ++x) {
                    const float v = src[x];
                    if (step == 0.0f)  // a constant channel
                        dst[x] = hi < 0.0f ? 0 : hi > 255.0f ? 255 : truncated_uc(hi);
                    else
                        dst[x] = v <= lo ? 0 : v >= hi ? 255 : truncated_uc((v - lo) / step);
                }
            }
    }
    return kOk;
}

int UCVolume2FVolume(Volume* in, Volume* out, int z0, int y0, int x0) {
    V3D_CHECK(CheckVolume(in, kUC, kAnyColor));
    V3D_CHECK(CheckVolume(out, kF, kAnyColor));
    if (in->colortype != out->colortype) return kBadOutputColor;
    if (z0 < 0 || y0 < 0 || x0 < 0) return kInvalidParams;
    if (!fits_at(in, out, z0, y0, x0)) return kBadOutputDims;
    for_each_offset_row<unsigned char, float>(in, out, z0, y0, x0,
                                              [](const unsigned char* src, float* dst, int n) {
        for (int i = 0; i < n; ++i) dst[i] = src[i];
    });
    return kOk;
}

int IVolume2FVolume(Volume* in, Volume* out, int z0, int y0, int x0) {
    V3D_CHECK(CheckVolume(in, kI, kAnyColor));
    V3D_CHECK(CheckVolume(out, kF, kAnyColor));
    if (in->colortype != out->colortype) return kBadOutputColor;
    if (z0 < 0 || y0 < 0 || x0 < 0) return kInvalidParams;
    if (!fits_at(in, out, z0, y0, x0)) return kBadOutputDims;
    for_each_offset_row<int, float>(in, out, z0, y0, x0, [](const int* src, float* dst, int n) {
        for (int i = 0; i < n; ++i) dst[i] = static_cast<float>(src[i]);
    });
    return kOk;
}

int IVolume2UCVolume_window(Volume* in, Volume* out, int low, int high) {
    V3D_CHECK(CheckVolume(in, kI, kAnyColor));
    V3D_CHECK(CheckVolume(out, kUC, kAnyColor));
    if (smaller_than(out, in)) return kBadOutputDims;
    if (in->colortype != out->colortype) return kBadOutputColor;
    const bool automatic = low == 0 && high == 0;
    if (low > high || (low == high && !automatic)) return kInvalidParams;
    const Voi r = voi_of(in);
    if (automatic) {  // one window over every channel, so that colours keep their balance
        low = high = in->data[0].i[r.z1][r.y1][r.x1];
        for_each_voi_row(in, [&](int c, int z, int y) {
            const int* row = in->data[c].i[z][y];
            for (int x = r.x1; x < r.x2; ++x) {
                low = std::min(low, row[x]);
                high = std::max(high, row[x]);
            }
        });
    }
    // a constant VOI has no range to stretch: it keeps its value, clamped to 0..255
    const double lo = low, range = static_cast<double>(high) - lo;
    const unsigned char constant = clamp_uc(low);
    for_each_channel(in, [&](int c) {
        parallel_for(r.z1, r.z2, [&](int z) {
            for (int y = r.y1; y < r.y2; ++y) {
                const int* src = in->data[c].i[z][y];
                unsigned char* dst = out->data[c].uc[z][y];
                for (int x = r.x1; x < r.x2; ++x)
                    dst[x] = range == 0.0 ? constant : windowed(255.0 * (src[x] - lo) / range);
            }
        });
    });
    return kOk;
}

int CountNonZeroSurfacePoints3d(Volume* vol, unsigned int* count) {
    V3D_CHECK(CheckVolume(vol, kUC, kGrey));
    if (!count) return kNullBasicPointer;
    const Voi r = voi_of(vol);
    unsigned char*** v = vol->data[0].uc;
    unsigned int n = 0;
    for (int z = r.z1 + 1; z < r.z2 - 1; ++z)
        for (int y = r.y1 + 1; y < r.y2 - 1; ++y)
            for (int x = r.x1 + 1; x < r.x2 - 1; ++x)
                if (v[z][y][x] != 0 && touches_zero(v, z, y, x)) ++n;
    *count = n;
    return kOk;
}

int CountNonZeroPoints3d(Volume* vol, unsigned int* count) {
    V3D_CHECK(CheckVolume(vol, kUC, kGrey));
    if (!count) return kNullBasicPointer;
    unsigned int n = 0;
    const Voi r = voi_of(vol);
    for_each_voi_row(vol, [&](int, int z, int y) {
        const unsigned char* row = vol->data[0].uc[z][y];
        for (int x = r.x1; x < r.x2; ++x) n += row[x] != 0;
    });
    *count = n;
    return kOk;
}

int FindMinMaxIntensity(Volume* vol, unsigned int* min, unsigned int* max) {
    V3D_CHECK(CheckVolume(vol, kUC, kGrey));
    if (!min && !max) return kNullBasicPointer;
    const Voi r = voi_of(vol);
    unsigned int lo = vol->data[0].uc[r.z1][r.y1][r.x1], hi = lo;
    for_each_voi_row(vol, [&](int, int z, int y) {
        const unsigned char* row = vol->data[0].uc[z][y];
        for (int x = r.x1; x < r.x2; ++x) {
            if (row[x] < lo) lo = row[x];
            else if (row[x] > hi) hi = row[x];
        }
    });
    if (min) *min = lo;
    if (max) *max = hi;
    return kOk;
}

int FindBoundingBox3d(Volume* vol, int* zmin, int* zmax, int* ymin, int* ymax, int* xmin,
                      int* xmax) {
    V3D_CHECK(CheckVolume(vol, kUC, kAnyColor));
    if (!zmin || !zmax || !ymin || !ymax || !xmin || !xmax) return kNullBasicPointer;
    *zmin = *zmax = *ymin = *ymax = *xmin = *xmax = -1;
    const Voi r = voi_of(vol);
    const int n = channels(vol);
    for (int z = r.z1; z < r.z2; ++z)
        for (int y = r.y1; y < r.y2; ++y)
            for (int x = r.x1; x < r.x2; ++x) {
                bool set = false;
                for (int c = 0; c < n; ++c) set = set || vol->data[c].uc[z][y][x] != 0;
                if (!set) continue;
                if (*zmin < 0) *zmin = z;  // frames come in increasing order
                *zmax = z;
                if (*ymin < 0 || y < *ymin) *ymin = y;
                if (y > *ymax) *ymax = y;
                if (*xmin < 0 || x < *xmin) *xmin = x;
                if (x > *xmax) *xmax = x;
            }
    return kOk;
}

int and3d(Volume* a, Volume* b, Volume* out) { return combine_binary(a, b, out, Logic::And); }
int or3d(Volume* a, Volume* b, Volume* out) { return combine_binary(a, b, out, Logic::Or); }
int xor3d(Volume* a, Volume* b, Volume* out) { return combine_binary(a, b, out, Logic::Xor); }

int Symmetric3d(Volume* in, Volume* out) {
    V3D_CHECK(CheckVolume(in, kUC, kAnyColor));
    V3D_CHECK(CheckVolume(out, kUC, kAnyColor));
    if (smaller_than(out, in)) return kBadOutputDims;
    if (in->colortype != out->colortype) return kBadOutputColor;
    const Voi r = voi_of(in);
    // Voxel by voxel in scan order, so that a call with in == out keeps its plain meaning.
    for_each_voi_row(in, [&](int c, int z, int y) {
        const unsigned char* src = in->data[c].uc[r.z1 + r.z2 - 1 - z][r.y1 + r.y2 - 1 - y];
        unsigned char* dst = out->data[c].uc[z][y];
        for (int x = r.x1; x < r.x2; ++x) dst[x] = src[r.x1 + r.x2 - 1 - x];
    });
    return kOk;
}

int CopyFrame2Image(Volume* vol, int frame, Image2d image, int row0, int col0) {
    V3D_CHECK(CheckVolume(vol, kUC, kAnyColor));
    const int n = channels(vol);
    if (!image_present(image, n)) return kNullImage;
    const Voi r = voi_of(vol);
    if (frame < 0 || frame >= vol->Z || row0 < 0 || col0 < 0 ||
        row0 + r.ny() > g_image_height || col0 + r.nx() > g_image_width)
        return kInvalidParams;
    for (int c = 0; c < n; ++c)
        for (int y = r.y1; y < r.y2; ++y)
            std::memcpy(image[c][row0 + y - r.y1] + col0, vol->data[c].uc[frame][y] + r.x1,
                        static_cast<size_t>(r.nx()));
    return kOk;
}

// Besides the frame and destination checks, a rectangle that does not lie inside the default
// image size is refused with -90 too (the image cannot be larger).
int CopyImage2Frame(Volume* vol, int frame, Image2d image, int y0, int x0, int r1, int r2,
                    int c1, int c2) {
    V3D_CHECK(CheckVolume(vol, kUC, kAnyColor));
    if (frame < 0 || frame >= vol->Z || y0 < 0 || x0 < 0 ||
        static_cast<long long>(y0) + r2 - r1 > vol->Y ||
        static_cast<long long>(x0) + c2 - c1 > vol->X || r1 < 0 || c1 < 0 ||
        r2 > g_image_height || c2 > g_image_width)
        return kInvalidParams;
    const int n = channels(vol);
    if (!image_present(image, n)) return kNullImage;
    for (int c = 0; c < n; ++c)
        for (int row = r1; row < r2; ++row)
            if (c2 > c1)
                std::memcpy(vol->data[c].uc[frame][y0 + row - r1] + x0, image[c][row] + c1,
                            static_cast<size_t>(c2 - c1));
    return kOk;
}

}  // extern "C"
