// The volume file formats of the open/save format dialog: the library's image-sequence table,
// in its order.
#pragma once

#include <cstdio>
#include <string>

#include "vexilo3d.h"

namespace app {

inline int format_count() { return V3D_FORMAT_COUNT; }

inline const char* format_title(int format) {
    const ImageSequenceFormat* f = GetImageSequenceFormat(format);
    return f ? f->title : "";
}

// A single-file format (file name) rather than a series (base name, frame numbers).
inline bool single_file(int format) {
    const ImageSequenceFormat* f = GetImageSequenceFormat(format);
    return f && f->single_file;
}

// A headerless format: width, height, data type (and colour type) come from the dialog.
inline bool raw_format(int format) {
    const ImageSequenceFormat* f = GetImageSequenceFormat(format);
    return f && f->raw;
}

// A volume file with a header (NIfTI, NRRD, MetaImage): it tells its size, voxels and time
// points; the dialog asks only for the file and the time point.
inline bool volume_format(int format) {
    return format == V3D_FORMAT_NIFTI || format == V3D_FORMAT_NRRD || format == V3D_FORMAT_METAIMAGE;
}

// The voxel types the raw formats offer, in the order of the dialog's list: the three data
// types as they are, then file voxels that go into I or F. Only the single-file raw volume
// reads the latter (and big-endian files and byte offsets).
struct RawChoice {
    const char* text;
    int type, sample;  // sample 0: the data type's own
};
inline constexpr RawChoice kRawChoices[] = {
    {"UC", V3D_TYPE_UC, 0},          {"F", V3D_TYPE_F, 0},            {"I", V3D_TYPE_I, 0},
    {"U16 (into I)", V3D_TYPE_I, V3D_SAMPLE_U16}, {"I16 (into I)", V3D_TYPE_I, V3D_SAMPLE_S16},
    {"U32 (into I)", V3D_TYPE_I, V3D_SAMPLE_U32}, {"I32 (into I)", V3D_TYPE_I, V3D_SAMPLE_S32},
    {"F64 (into F)", V3D_TYPE_F, V3D_SAMPLE_F64}};

// The colour type a format fixes (raw frames grey, raw r/g/b colour), 0 when the dialog or
// the files decide.
inline int fixed_colortype(int format) {
    return format == V3D_FORMAT_RAW_FRAMES ? 1 : format == V3D_FORMAT_RAW_RGB ? 2 : 0;
}

// The file of frame number n of a series: "%s%d.%s", or zero-padded to digits characters.
inline std::string frame_file_name(const std::string& base, int n, int digits,
                                   const std::string& ext) {
    char name[4096];
    if (digits > 0)
        std::snprintf(name, sizeof name, "%s%0*d.%s", base.c_str(), digits, n, ext.c_str());
    else
        std::snprintf(name, sizeof name, "%s%d.%s", base.c_str(), n, ext.c_str());
    return name;
}

// A single file's name as the readers take it: base and extension ("%s.%s").
inline void split_file_name(const std::string& file, std::string& base, std::string& ext) {
    const size_t slash = file.find_last_of("/\\");
    const size_t dot = file.find_last_of('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) {
        base = file, ext.clear();
        return;
    }
    base = file.substr(0, dot), ext = file.substr(dot + 1);
}

}  // namespace app
