#include "cli/raw_volume_options.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace cli {

const char* const kRawVolumeUsage =
    "--size ZxYxX [--type uc|f|i|u16|i16|u32|i32|f32|f64] [--endian little|big] [--channels 1|3]\n"
    "    [--skip N] [--byte-offset BYTES] [--spacing z,y,x]";

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

// Three parts separated by 'x' or ','.
bool three_parts(const std::string& word, std::string parts[3]) {
    int n = 0;
    for (char c : word) {
        if (c == 'x' || c == ',') {
            if (++n == 3) return false;
        } else {
            parts[n] += c;
        }
    }
    return n == 2;
}

// "ZxYxX" or "z,y,x", each at least 1.
bool parse_size(const std::string& word, RawVolumeSpec& volume) {
    std::string parts[3];
    int v[3];
    if (!three_parts(word, parts)) return false;
    for (int i = 0; i < 3; ++i)
        if (!whole_number(parts[i], v[i]) || v[i] < 1) return false;
    volume.Z = v[0], volume.Y = v[1], volume.X = v[2];
    return true;
}

// Three positive finite reals.
bool parse_spacing(const std::string& word, RawVolumeSpec& volume) {
    std::string parts[3];
    double v[3];
    if (!three_parts(word, parts)) return false;
    for (int i = 0; i < 3; ++i) {
        char* end = nullptr;
        v[i] = std::strtod(parts[i].c_str(), &end);
        if (parts[i].empty() || *end != '\0' || !std::isfinite(v[i]) || v[i] <= 0.0) return false;
    }
    for (int i = 0; i < 3; ++i) volume.spacing[i] = v[i];
    volume.spaced = true;
    return true;
}

bool parse_offset(const std::string& word, long long& offset) {
    errno = 0;
    char* end = nullptr;
    const long long v = std::strtoll(word.c_str(), &end, 10);
    if (word.empty() || *end != '\0' || errno == ERANGE || v < 0) return false;
    offset = v;
    return true;
}

struct TypeWord {
    const char* word;
    int type, sample;
};
const TypeWord kTypes[] = {
    {"uc", V3D_TYPE_UC, V3D_SAMPLE_U8},   {"f", V3D_TYPE_F, V3D_SAMPLE_F32},
    {"i", V3D_TYPE_I, V3D_SAMPLE_S32},    {"u16", V3D_TYPE_I, V3D_SAMPLE_U16},
    {"i16", V3D_TYPE_I, V3D_SAMPLE_S16},  {"u32", V3D_TYPE_I, V3D_SAMPLE_U32},
    {"i32", V3D_TYPE_I, V3D_SAMPLE_S32},  {"f32", V3D_TYPE_F, V3D_SAMPLE_F32},
    {"f64", V3D_TYPE_F, V3D_SAMPLE_F64}};

}  // namespace

bool set_raw_option(RawVolumeSpec& volume, const std::string& name, const std::string& value,
                    std::string& error) {
    error.clear();
    if (name == "size") {
        if (!parse_size(value, volume)) error = "--size wants ZxYxX (or z,y,x), each at least 1";
    } else if (name == "type") {
        const TypeWord* t = nullptr;
        for (const TypeWord& k : kTypes)
            if (value == k.word) t = &k;
        if (t) volume.type = t->type, volume.sample = t->sample;
        else error = "--type is one of uc, f, i, u16, i16, u32, i32, f32, f64";
    } else if (name == "endian") {
        if (value == "little" || value == "big") volume.big_endian = value == "big";
        else error = "--endian is little or big";
    } else if (name == "channels") {
        int n = 0;
        if (!whole_number(value, n) || (n != 1 && n != 3)) error = "--channels is 1 or 3";
        else volume.colortype = n == 1 ? V3D_COLOR_GREY : V3D_COLOR_RGB;
    } else if (name == "skip") {
        if (!whole_number(value, volume.skip) || volume.skip < 0)
            error = "--skip wants a number of frames (0 or more)";
    } else if (name == "byte-offset") {
        if (!parse_offset(value, volume.offset)) error = "--byte-offset wants a number of bytes (0 or more)";
    } else if (name == "spacing") {
        if (!parse_spacing(value, volume)) error = "--spacing wants z,y,x (or ZxYxX), each above 0";
    } else {
        return false;
    }
    return true;
}

int sample_size(const RawVolumeSpec& v) {
    switch (v.sample) {
    case V3D_SAMPLE_U8:
    case V3D_SAMPLE_S8: return 1;
    case V3D_SAMPLE_U16:
    case V3D_SAMPLE_S16: return 2;
    case V3D_SAMPLE_F64: return 8;
    default: return 4;
    }
}

int read_raw_volume(Volume* vol, const RawVolumeSpec& v) {
    const int own = v.type == V3D_TYPE_UC ? V3D_SAMPLE_U8 : v.type == V3D_TYPE_F ? V3D_SAMPLE_F32 : V3D_SAMPLE_S32;
    const int status = v.sample == own && !v.big_endian && v.offset == 0
                           ? ReadVolume(vol, v.path.c_str(), v.skip, v.Z, v.Y, v.X)
                           : ReadRawSamples(vol, v.path.c_str(), v.offset, v.skip, v.sample, v.big_endian,
                                            v.Z, v.Y, v.X);
    if (status || !v.spaced) return status;
    return SetVolumeSpacing(vol, v.spacing[0], v.spacing[1], v.spacing[2]);
}

}  // namespace cli
