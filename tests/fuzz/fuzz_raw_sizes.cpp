// Fuzz target: the raw readers and writers with hostile sizes, frame numbers, digits and skips.
// The first 25 bytes are six little-endian ints (Z, Y, X, first frame number, digits, skip) and
// a byte choosing the data type; the rest is the content of the frame file numbered `first` and
// of a single-file volume. Everything goes to a small volume, whose record must stay intact;
// the writer's files are removed again.
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "fuzz_common.h"

namespace {

int int_at(const std::uint8_t* p) {
    std::uint32_t u = 0;
    for (int i = 3; i >= 0; --i) u = (u << 8) | p[i];
    int v;
    std::memcpy(&v, &u, sizeof v);
    return v;
}

void write(const char* path, const std::uint8_t* d, std::size_t n) {
    if (std::FILE* f = path[0] ? std::fopen(path, "wb") : nullptr) {
        std::fwrite(d, 1, n, f);
        std::fclose(f);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 25) return 0;
    const int Z = int_at(data), Y = int_at(data + 4), X = int_at(data + 8), first = int_at(data + 12),
              digits = int_at(data + 16) % 64, skip = int_at(data + 20);
    static const int types[3] = {1, 2, 4};
    const int type = types[data[24] % 3], colour = data[24] & 4 ? 2 : 1;
    const std::string base = "/tmp/v3d_fuzz_raw_sizes_" + std::to_string(static_cast<long>(getpid())) + "_";
    const char* const exts[3] = {"raw", "raw", "raw"};
    const v3d::PathName frame = v3d::frame_file_name(base.c_str(), first, digits, "raw");
    write(frame.c_str(), data + 25, size - 25);
    const std::string single = base + ".vol";
    write(single.c_str(), data + 25, size - 25);

    Volume v{};
    InitializeVolume(&v, 3, 4, 5, type, colour);
    if (CreateVolume(&v) != 0) return 0;
    const Volume before = v;
    fromdiskUCFI3D(&v, base.c_str(), first, digits, exts, Z, Y, X);
    fuzz::require_intact(before, v);
    ReadVolume(&v, single.c_str(), skip, Z, Y, X);
    fuzz::require_intact(before, v);
    for (int format : {V3D_FORMAT_RAW_FRAMES, V3D_FORMAT_RAW_VOLUME, V3D_FORMAT_RAW_RGB}) {
        const ImageSequenceFormat* f = GetImageSequenceFormat(format);
        ImageSequenceInfo info{X, Y, 0, type, colour, 0};
        const char* ext = format == V3D_FORMAT_RAW_VOLUME ? "vol" : "raw";
        const int start = format == V3D_FORMAT_RAW_VOLUME ? skip : first;
        if (f->check(base.c_str(), start, digits, ext, Z, &info) == 0)
            fuzz::require(info.Z == Z && info.X == X && info.Y == Y);
        f->read(&v, base.c_str(), start, digits, ext, Z);
        fuzz::require_intact(before, v);
    }
    // the writer numbers the volume's frames from first on, when they exist as ints
    const std::string written = base + "w";
    todiskUCFI3D(&v, written.c_str(), first, digits, exts);
    for (int z = 0; z < v.Z && static_cast<long long>(first) + z <= 2147483647LL; ++z)
        std::remove(v3d::frame_file_name(written.c_str(), first + z, digits, "raw").c_str());
    std::remove(frame.c_str());
    std::remove(single.c_str());
    fuzz::require_intact(before, v);
    DestroyVolume(&v);
    return 0;
}
