// Raw volumes of other voxel types than the volume's own: 8-, 16- and 32-bit integers and 32-
// and 64-bit reals in either byte order, from a byte offset on (a header the reader is to
// step over). Row by row through one buffer, converted into the volume's type.
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <type_traits>

#include "io/volume_files.h"

namespace v3d {
namespace {

struct FileCloser {
    void operator()(std::FILE* f) const { std::fclose(f); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

// The data type a raw sample type is read into, 0 for none.
int volume_type_of_sample(int sample) {
    switch (sample) {
    case V3D_SAMPLE_U8: return kUC;
    case V3D_SAMPLE_S8:
    case V3D_SAMPLE_U16:
    case V3D_SAMPLE_S16:
    case V3D_SAMPLE_U32:
    case V3D_SAMPLE_S32: return kI;
    case V3D_SAMPLE_F32:
    case V3D_SAMPLE_F64: return kF;
    default: return 0;
    }
}

template <class S> S load(const unsigned char* p) {
    S v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

// One row of X samples into row y of frame z, channel c.
template <class S> int store_row(Volume* vol, int c, int z, int y, int X, const unsigned char* in) {
    for (int x = 0; x < X; ++x) {
        const S s = load<S>(in + static_cast<std::size_t>(x) * sizeof(S));
        if constexpr (std::is_floating_point_v<S>) {
            vol->data[c].f[z][y][x] = static_cast<float>(s);
        } else if constexpr (sizeof(S) == 1 && !std::is_signed_v<S>) {
            vol->data[c].uc[z][y][x] = s;
        } else {
            if constexpr (std::is_same_v<S, std::uint32_t>)
                if (s > static_cast<std::uint32_t>(INT_MAX)) return kFileValues;
            vol->data[c].i[z][y][x] = static_cast<int>(s);
        }
    }
    return kOk;
}

int store(int sample, Volume* vol, int c, int z, int y, int X, const unsigned char* in) {
    switch (sample) {
    case V3D_SAMPLE_S8: return store_row<std::int8_t>(vol, c, z, y, X, in);
    case V3D_SAMPLE_U16: return store_row<std::uint16_t>(vol, c, z, y, X, in);
    case V3D_SAMPLE_S16: return store_row<std::int16_t>(vol, c, z, y, X, in);
    case V3D_SAMPLE_U32: return store_row<std::uint32_t>(vol, c, z, y, X, in);
    case V3D_SAMPLE_S32: return store_row<std::int32_t>(vol, c, z, y, X, in);
    case V3D_SAMPLE_F32: return store_row<float>(vol, c, z, y, X, in);
    case V3D_SAMPLE_F64: return store_row<double>(vol, c, z, y, X, in);
    default: return store_row<std::uint8_t>(vol, c, z, y, X, in);
    }
}

}  // namespace
}  // namespace v3d

using namespace v3d;

extern "C" int ReadRawSamples(Volume* vol, const char* filename, long long offset, int skip,
                              int sample, int big_endian, int Z, int Y, int X) {
    V3D_CHECK(CheckVolume(vol, kAnyType, kAnyColor));
    if (Z > vol->Z || Y > vol->Y || X > vol->X) return kBadInputDims;
    if (!filename || offset < 0 || skip < 0 || Z < 0 || Y < 0 || X < 0 || volume_type_of_sample(sample) == 0)
        return kInvalidParams;
    if (volume_type_of_sample(sample) != vol->type) return kWrongType;
    const int size = sample_bytes(sample);
    std::uint64_t start = 0;
    if (!checked_product(&start, {skip, Y, X, size}) || start > static_cast<std::uint64_t>(LLONG_MAX - offset))
        return kFread;
    auto row = make_io_buffer<unsigned char>(static_cast<std::size_t>(X) * size);
    if (!row) return kNoBuffer;
    File f(std::fopen(filename, "rb"));
    if (!f) return kFopen;
    if (!seek_from_start(f.get(), offset + static_cast<long long>(start))) return kFread;
    const bool swap = (big_endian != 0) != machine_is_big_endian();
    const std::size_t row_bytes = static_cast<std::size_t>(X) * size;
    for (int c = 0, n = channels(vol); c < n; ++c)
        for (int z = 0; z < Z; ++z)
            for (int y = 0; y < Y; ++y) {
                if (std::fread(row.get(), 1, row_bytes, f.get()) != row_bytes) return kFread;
                if (swap) swap_samples(row.get(), static_cast<std::size_t>(X), size);
                V3D_CHECK(store(sample, vol, c, z, y, X, row.get()));
            }
    return kOk;
}
