// Fuzz target: the raw formats. The first three bytes choose width (1..16), height (1..16) and
// data type; the rest is written as frame files and as a single-file volume, which are checked
// and read.
#include <unistd.h>

#include <cstdio>
#include <string>

#include "fuzz_common.h"

namespace {

std::string scratch_base() {
    return "/tmp/v3d_fuzz_raw_" + std::to_string(static_cast<long>(getpid())) + "_";
}

void write(const std::string& path, const std::uint8_t* d, std::size_t n) {
    if (std::FILE* f = std::fopen(path.c_str(), "wb")) {
        std::fwrite(d, 1, n, f);
        std::fclose(f);
    }
}

void read_checked(ImageSequenceInfo info, int format, const std::string& base, const char* ext,
                  int count) {
    const ImageSequenceFormat* fmt = GetImageSequenceFormat(format);
    if (fmt->check(base.c_str(), 0, 0, ext, count, &info) != 0) return;
    Volume v{};
    InitializeVolume(&v, info.Z, info.Y, info.X, info.type, info.colortype);
    if (CreateVolume(&v) != 0) return;
    const Volume before = v;
    fmt->read(&v, base.c_str(), 0, 0, ext, count);
    fuzz::require_intact(before, v);
    DestroyVolume(&v);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 3) return 0;
    static const int types[3] = {1, 2, 4};
    ImageSequenceInfo info{};
    info.X = data[0] % 16 + 1;
    info.Y = data[1] % 16 + 1;
    info.type = types[data[2] % 3];
    info.colortype = data[2] & 4 ? 2 : 1;
    const std::string base = scratch_base();
    const std::size_t half = (size - 3) / 2;
    write(base + "0.raw", data + 3, half);
    write(base + "1.raw", data + 3 + half, size - 3 - half);
    read_checked(info, V3D_FORMAT_RAW_FRAMES, base, "raw", 2);
    write(base + ".vol", data + 3, size - 3);
    read_checked(info, V3D_FORMAT_RAW_VOLUME, base, "vol", 1);
    for (const char* ext : {"r", "g", "b"}) write(base + "0." + ext, data + 3, size - 3);
    read_checked(info, V3D_FORMAT_RAW_RGB, base, "", 1);
    return 0;
}
