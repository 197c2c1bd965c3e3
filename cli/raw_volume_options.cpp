#include "cli/raw_volume_options.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace cli {

const char* const kRawVolumeUsage = "--size ZxYxX [--type uc|f|i] [--channels 1|3] [--skip N]";

bool whole_number(const std::string& word, int& value) {
    errno = 0;
    char* end = nullptr;
    const long v = std::strtol(word.c_str(), &end, 10);
    if (word.empty() || *end != '\0' || errno == ERANGE || v < -2147483647L - 1 || v > 2147483647L)
        return false;
    value = static_cast<int>(v);
    return true;
}

namespace {

// "ZxYxX" or "z,y,x", each at least 1.
bool parse_size(const std::string& word, RawVolumeSpec& volume) {
    std::string parts[3];
    int n = 0;
    for (char c : word) {
        if (c == 'x' || c == ',') {
            if (++n == 3) return false;
        } else {
            parts[n] += c;
        }
    }
    int v[3];
    for (int i = 0; i < 3; ++i)
        if (n != 2 || !whole_number(parts[i], v[i]) || v[i] < 1) return false;
    volume.Z = v[0], volume.Y = v[1], volume.X = v[2];
    return true;
}

}  // namespace

bool set_raw_option(RawVolumeSpec& volume, const std::string& name, const std::string& value,
                    std::string& error) {
    error.clear();
    if (name == "size") {
        if (!parse_size(value, volume)) error = "--size wants ZxYxX (or z,y,x), each at least 1";
    } else if (name == "type") {
        if (value == "uc") volume.type = V3D_TYPE_UC;
        else if (value == "f") volume.type = V3D_TYPE_F;
        else if (value == "i") volume.type = V3D_TYPE_I;
        else error = "--type is one of uc, f, i";
    } else if (name == "channels") {
        int n = 0;
        if (!whole_number(value, n) || (n != 1 && n != 3)) error = "--channels is 1 or 3";
        else volume.colortype = n == 1 ? V3D_COLOR_GREY : V3D_COLOR_RGB;
    } else if (name == "skip") {
        if (!whole_number(value, volume.skip) || volume.skip < 0)
            error = "--skip wants a number of frames (0 or more)";
    } else {
        return false;
    }
    return true;
}

}  // namespace cli
