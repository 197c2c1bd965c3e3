// Shared by the fuzz targets of the volume files with a header: the input is written to a
// file of the format's name, described, and (when small) every frame of its first and last
// time points read into a fresh volume whose record must stay intact whatever happened.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <string>

#include "fuzz_common.h"

namespace fuzz {

inline std::string scratch_file(const char* ext) {
    return "/tmp/v3d_fuzz_" + std::to_string(static_cast<long>(getpid())) + "." + ext;
}

inline void read_volume_file(int format, const char* ext, const std::uint8_t* data, std::size_t size) {
    const std::string path = scratch_file(ext);
    if (std::FILE* f = std::fopen(path.c_str(), "wb")) {
        if (size) std::fwrite(data, 1, size, f);  // an empty input may come without data
        std::fclose(f);
    }
    VolumeFileInfo info{};
    if (DescribeVolumeFile(format, path.c_str(), &info) != 0) return;
    require(info.X >= 1 && info.Y >= 1 && info.Z >= 1 && info.T >= 1);
    require(info.X <= V3D_IMAGE_MAX_WIDTH && info.Y <= V3D_IMAGE_MAX_HEIGHT && info.Z <= V3D_IMAGE_MAX_FRAMES);
    if (static_cast<long long>(info.X) * info.Y * info.Z > kMaxPixels) return;
    const ImageSequenceFormat* fmt = GetImageSequenceFormat(format);
    const std::string base = path.substr(0, path.size() - std::string(ext).size() - 1);
    for (int t : {0, info.T - 1}) {
        Volume v{};
        InitializeVolume(&v, info.Z, info.Y, info.X, info.type, info.colortype);
        if (CreateVolume(&v) != 0) return;
        const Volume before = v;
        fmt->read(&v, base.c_str(), t * info.Z, 0, ext, 0);
        require_intact(before, v);
        DestroyVolume(&v);
    }
}

}  // namespace fuzz
