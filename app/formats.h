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
