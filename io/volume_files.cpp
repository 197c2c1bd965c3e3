// What the volume files with a header share: grid and frame-range checks, the move of samples
// into a volume and out of it, and the format table's entries and DescribeVolumeFile on top of
// each format's header reader, data reader and writer.
#include "io/volume_files.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <limits>
#include <type_traits>

namespace v3d {
namespace {

template <class S> S load(const unsigned char* p) {
    S v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

template <class S> void put(unsigned char* p, S v) { std::memcpy(p, &v, sizeof v); }

// Calls f with a value of the C type of a grey sample type.
template <class F> int with_sample_type(int sample, F&& f) {
    switch (sample) {
    case V3D_SAMPLE_S8: return f(std::int8_t{});
    case V3D_SAMPLE_U16: return f(std::uint16_t{});
    case V3D_SAMPLE_S16: return f(std::int16_t{});
    case V3D_SAMPLE_U32: return f(std::uint32_t{});
    case V3D_SAMPLE_S32: return f(std::int32_t{});
    case V3D_SAMPLE_F32: return f(float{});
    case V3D_SAMPLE_F64: return f(double{});
    default: return f(std::uint8_t{});
    }
}

// One frame of samples (Y rows of X) into frame target of vol.
template <class S> int store_frame(Volume* vol, const FileGrid& g, const unsigned char* frame, int target) {
    const int X = static_cast<int>(g.X), Y = static_cast<int>(g.Y);
    for (int y = 0; y < Y; ++y) {
        const unsigned char* row = frame + static_cast<std::size_t>(y) * X * sizeof(S);
        for (int x = 0; x < X; ++x) {
            const S s = load<S>(row + static_cast<std::size_t>(x) * sizeof(S));
            if (vol->type == kF) {
                const double v = g.scaled ? g.slope * static_cast<double>(s) + g.inter : static_cast<double>(s);
                vol->data[0].f[target][y][x] = static_cast<float>(v);
            } else if (vol->type == kI) {
                if constexpr (std::is_same_v<S, std::uint32_t>)
                    if (s > static_cast<std::uint32_t>(INT_MAX)) return kFileValues;
                if constexpr (std::is_integral_v<S>) vol->data[0].i[target][y][x] = static_cast<int>(s);
            } else {
                vol->data[0].uc[target][y][x] = static_cast<unsigned char>(s);
            }
        }
    }
    return kOk;
}

int store_rgb_frame(Volume* vol, const FileGrid& g, const unsigned char* frame, int target) {
    const int X = static_cast<int>(g.X), Y = static_cast<int>(g.Y);
    for (int y = 0; y < Y; ++y) {
        const unsigned char* row = frame + static_cast<std::size_t>(y) * X * 3;
        for (int c = 0; c < 3; ++c) {
            unsigned char* out = vol->data[c].uc[target][y];
            for (int x = 0; x < X; ++x) out[x] = row[3 * x + c];
        }
    }
    return kOk;
}

// The smallest of S16, U16 and S32 that holds every voxel of an I volume.
int integer_sample_of(const Volume* vol) {
    int low = INT_MAX, high = INT_MIN;
    for (int z = 0; z < vol->Z; ++z)
        for (int y = 0; y < vol->Y; ++y) {
            const int* row = vol->data[0].i[z][y];
            const auto [a, b] = std::minmax_element(row, row + vol->X);
            low = std::min(low, *a), high = std::max(high, *b);
        }
    if (low >= INT16_MIN && high <= INT16_MAX) return V3D_SAMPLE_S16;
    if (low >= 0 && high <= UINT16_MAX) return V3D_SAMPLE_U16;
    return V3D_SAMPLE_S32;
}

PathName file_path(const char* base, const char* ext) { return single_file_name(base, ext); }

// The checks every table entry makes first: names present, first and count not negative.
int check_names(const char* base, int first, const char* ext, int count) {
    if (!base || !ext || first < 0 || count < 0) return kInvalidParams;
    return kOk;
}

int read_grid(const VolumeFileOps& ops, const char* path, FileGrid* grid) {
    V3D_CHECK(ops.header(path, grid));
    return check_grid(*grid);
}

class StoringSink : public TimePointSink {
public:
    StoringSink(Volume* vol, const FileGrid& grid, const FrameRange& range)
        : vol_(vol), grid_(grid), range_(range) {}
    int take(int t, const unsigned char* samples) override {
        return store_time_point(vol_, grid_, range_, t, samples);
    }

private:
    Volume* vol_;
    const FileGrid& grid_;
    const FrameRange& range_;
};

const VolumeFileOps* ops_of(int format) {
    switch (format) {
    case V3D_FORMAT_NIFTI: return &kNiftiOps;
    case V3D_FORMAT_NRRD: return &kNrrdOps;
    case V3D_FORMAT_METAIMAGE: return &kMetaImageOps;
    default: return nullptr;
    }
}

}  // namespace

int sample_bytes(int sample) {
    switch (sample) {
    case V3D_SAMPLE_U8:
    case V3D_SAMPLE_S8: return 1;
    case V3D_SAMPLE_U16:
    case V3D_SAMPLE_S16: return 2;
    case V3D_SAMPLE_RGB24: return 3;
    case V3D_SAMPLE_U32:
    case V3D_SAMPLE_S32:
    case V3D_SAMPLE_F32: return 4;
    case V3D_SAMPLE_F64: return 8;
    default: return 0;
    }
}

int volume_type_of(const FileGrid& grid) {
    if (grid.scaled || grid.sample == V3D_SAMPLE_F32 || grid.sample == V3D_SAMPLE_F64) return kF;
    if (grid.sample == V3D_SAMPLE_U8 || grid.sample == V3D_SAMPLE_RGB24) return kUC;
    return kI;
}

bool time_point_bytes(const FileGrid& grid, std::size_t* bytes) {
    return checked_product(bytes, {grid.X, grid.Y, grid.Z, sample_bytes(grid.sample)});
}

int check_grid(const FileGrid& g) {
    if (sample_bytes(g.sample) == 0) return kFileSampleType;
    if (g.X < 1 || g.Y < 1 || g.Z < 1 || g.T < 1 || g.X > kMaxImageWidth || g.Y > kMaxImageHeight ||
        g.Z > kMaxImageFrames || g.T > INT_MAX / g.Z)
        return kFileGrid;
    return kOk;
}

int frame_range(const FileGrid& g, int first, int count, FrameRange* range) {
    if (first < 0 || count < 0) return kInvalidParams;
    const long long frames = g.Z * g.T;
    if (first >= frames) return kNoSuchFrames;
    const long long n = count ? count : g.Z - first % g.Z;
    if (first + n > frames) return kNoSuchFrames;
    range->first = first;
    range->count = static_cast<int>(n);
    range->t0 = static_cast<int>(first / g.Z);
    range->t1 = static_cast<int>((first + n - 1) / g.Z);
    return kOk;
}

int store_time_point(Volume* vol, const FileGrid& g, const FrameRange& r, int t,
                     const unsigned char* samples) {
    const long long start = std::max<long long>(r.first, t * g.Z);
    const long long end = std::min<long long>(r.first + r.count, (t + 1) * g.Z);
    const std::size_t frame_bytes = static_cast<std::size_t>(g.X * g.Y) * sample_bytes(g.sample);
    for (long long f = start; f < end; ++f) {
        const unsigned char* frame = samples + static_cast<std::size_t>(f - t * g.Z) * frame_bytes;
        const int target = static_cast<int>(f - r.first);
        if (g.sample == V3D_SAMPLE_RGB24) {
            V3D_CHECK(store_rgb_frame(vol, g, frame, target));
            continue;
        }
        V3D_CHECK(with_sample_type(g.sample, [&](auto tag) {
            return store_frame<decltype(tag)>(vol, g, frame, target);
        }));
    }
    return kOk;
}

bool machine_is_big_endian() {
    const std::uint16_t one = 1;
    unsigned char first;
    std::memcpy(&first, &one, 1);
    return first == 0;
}

void swap_samples(unsigned char* data, std::size_t count, int size) {
    if (size < 2) return;
    for (std::size_t i = 0; i < count; ++i) std::reverse(data + i * size, data + (i + 1) * size);
}

FileGrid grid_to_write(Volume* vol) {
    FileGrid g;
    g.X = vol->X, g.Y = vol->Y, g.Z = vol->Z;
    if (vol->type == kUC) g.sample = vol->colortype == kRGB ? V3D_SAMPLE_RGB24 : V3D_SAMPLE_U8;
    else if (vol->type == kF) g.sample = V3D_SAMPLE_F32;
    else g.sample = integer_sample_of(vol);
    GetVolumeSpacing(vol, &g.spacing[0], &g.spacing[1], &g.spacing[2]);
    g.oriented = GetVolumeOrientation(vol, &g.orientation) == 1;
    return g;
}

std::unique_ptr<unsigned char[]> pack_volume(Volume* vol, const FileGrid& grid, std::size_t* bytes) {
    if (!time_point_bytes(grid, bytes)) return nullptr;
    auto data = make_io_buffer<unsigned char>(*bytes);
    if (!data) return nullptr;
    const std::size_t row_bytes = static_cast<std::size_t>(vol->X) * sample_bytes(grid.sample);
    for (int z = 0; z < vol->Z; ++z)
        for (int y = 0; y < vol->Y; ++y)
            pack_row(vol, z, y, grid.sample, data.get() + (static_cast<std::size_t>(z) * vol->Y + y) * row_bytes);
    return data;
}

void pack_row(const Volume* vol, int z, int y, int sample, unsigned char* out) {
    const int X = vol->X;
    if (sample == V3D_SAMPLE_RGB24) {
        for (int c = 0; c < 3; ++c)
            for (int x = 0; x < X; ++x) out[3 * x + c] = vol->data[c].uc[z][y][x];
        return;
    }
    if (vol->type == kUC) {
        std::memcpy(out, vol->data[0].uc[z][y], static_cast<std::size_t>(X));
        return;
    }
    if (vol->type == kF) {
        std::memcpy(out, vol->data[0].f[z][y], static_cast<std::size_t>(X) * sizeof(float));
        return;
    }
    const int* row = vol->data[0].i[z][y];
    for (int x = 0; x < X; ++x) {
        if (sample == V3D_SAMPLE_S16) put(out + 2 * x, static_cast<std::int16_t>(row[x]));
        else if (sample == V3D_SAMPLE_U16) put(out + 2 * x, static_cast<std::uint16_t>(row[x]));
        else put(out + 4 * x, static_cast<std::int32_t>(row[x]));
    }
}

bool ends_with(const char* name, const char* suffix) {
    const std::size_t n = std::strlen(name), m = std::strlen(suffix);
    if (m > n) return false;
    for (std::size_t i = 0; i < m; ++i) {
        const char a = name[n - m + i], b = suffix[i];
        if ((a >= 'A' && a <= 'Z' ? a - 'A' + 'a' : a) != b) return false;
    }
    return true;
}

int check_volume_file(const VolumeFileOps& ops, const char* base, int first, const char* ext,
                      int count, ImageSequenceInfo* info) {
    V3D_CHECK(check_names(base, first, ext, count));
    if (!info) return kInvalidParams;
    return without_throwing([&]() -> int {
        FileGrid g;
        V3D_CHECK(read_grid(ops, file_path(base, ext).c_str(), &g));
        FrameRange r;
        V3D_CHECK(frame_range(g, first, count, &r));
        *info = {static_cast<int>(g.X), static_cast<int>(g.Y), r.count, volume_type_of(g),
                 colortype_of(g), 8 * (g.sample == V3D_SAMPLE_RGB24 ? 1 : sample_bytes(g.sample))};
        return kOk;
    });
}

int read_volume_file(const VolumeFileOps& ops, Volume* vol, const char* base, int first,
                     const char* ext, int count) {
    V3D_CHECK(CheckVolume(vol, kAnyType, kAnyColor));
    V3D_CHECK(check_names(base, first, ext, count));
    return without_throwing([&]() -> int {
        const PathName path = file_path(base, ext);
        FileGrid g;
        V3D_CHECK(read_grid(ops, path.c_str(), &g));
        FrameRange r;
        V3D_CHECK(frame_range(g, first, count, &r));
        if (vol->type != volume_type_of(g)) return kWrongType;
        if (vol->colortype != colortype_of(g)) return kWrongColor;
        if (g.X > vol->X || g.Y > vol->Y || r.count > vol->Z) return kBadInputDims;
        StoringSink sink(vol, g, r);
        V3D_CHECK(ops.data(path.c_str(), g, r.t0, r.t1, sink));
        V3D_CHECK(SetVolumeSpacing(vol, g.spacing[0], g.spacing[1], g.spacing[2]));
        return SetVolumeOrientation(vol, g.oriented ? &g.orientation : nullptr);
    });
}

int write_volume_file(const VolumeFileOps& ops, Volume* vol, const char* base, const char* ext) {
    V3D_CHECK(CheckVolume(vol, kAnyType, kAnyColor));
    if (!base || !ext) return kInvalidParams;
    return without_throwing([&]() -> int { return ops.write(vol, file_path(base, ext).c_str(), 0); });
}

}  // namespace v3d

using namespace v3d;

extern "C" int DescribeVolumeFile(int format, const char* path, VolumeFileInfo* info) {
    const VolumeFileOps* ops = ops_of(format);
    if (!ops || !path || !info) return kInvalidParams;
    return without_throwing([&]() -> int {
        FileGrid g;
        V3D_CHECK(read_grid(*ops, path, &g));
        *info = VolumeFileInfo{};
        info->X = static_cast<int>(g.X), info->Y = static_cast<int>(g.Y), info->Z = static_cast<int>(g.Z);
        info->T = static_cast<int>(g.T);
        info->sample = g.sample;
        info->type = volume_type_of(g);
        info->colortype = colortype_of(g);
        info->scaled = g.scaled;
        std::copy(g.spacing, g.spacing + 3, info->spacing);
        info->oriented = g.oriented;
        info->orientation = g.orientation;
        return kOk;
    });
}
