// The volume file formats of the open/save format dialog: the library's image-sequence table,
// in its order.
#pragma once

#include <cstdio>
#include <string>

#include "app/ui.h"
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

// The file of frame number n of a series: "%s%d.%s", or zero-padded to digits characters;
// with digits -1 the one picture "%s.%s".
inline std::string frame_file_name(const std::string& base, int n, int digits,
                                   const std::string& ext) {
    char name[4096];
    if (digits > 0)
        std::snprintf(name, sizeof name, "%s%0*d.%s", base.c_str(), digits, n, ext.c_str());
    else if (digits < 0)
        std::snprintf(name, sizeof name, "%s.%s", base.c_str(), ext.c_str());
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

// The reader's naming of what the format dialog describes: a single file's base name and
// extension, or the series' base name and first extension.
void reader_names(const FormatRequest& f, std::string& base, std::string& ext);

// What Open does with samples deeper than 8 bits (the format dialog's choice, in its order).
enum DeepSamples : int {
    kDeepScale = 0,    // unsigned ones scaled to 0..255 by their largest value (signed ones make an
                       // I volume, floating-point ones an F volume: they have no largest value)
    kDeepStretch = 1,  // a UC volume through the data's own minimum..maximum
    kDeepKeep = 2,     // their values: an I volume (F for floating point)
};

// The data type of the volume Open makes, and the one the frames are read into first (they
// differ when deep samples are stretched into UC).
struct ReadPlan {
    int type = V3D_TYPE_UC;
    int read_type = V3D_TYPE_UC;
};
ReadPlan read_plan(const ImageSequenceInfo& info, int deep);

// The frames to read: those the dialog names (first, last - first + 1), or for a volume file
// the whole time point asked for (its frames follow those of the time points before it: first
// Z * t, count 0). A status for a file that cannot tell or a time point it does not have.
int frame_range(const FormatRequest& f, int& first, int& count);

// A raw volume whose voxels are not the data type's own (16-bit ...), big-endian or after a
// header: it is checked and read here rather than by the format table.
bool sample_file(const FormatRequest& f);
// Its file must hold the header, the frames skipped and the frames asked for: -600, -601 or 0
// with info.Z set.
int check_sample_file(const FormatRequest& f, ImageSequenceInfo& info);

// Reads count frames of the request from frame first on into vol (of plan.type), through a
// volume of plan.read_type and the window of IVolume2UCVolume_window (or
// FVolume2UCVolume_norm) when the two differ; the voxel spacing and orientation of a volume
// file go with them (what vol carried before is forgotten). Returns the status of the reader
// or the conversion.
int read_frames(const FormatRequest& f, const ReadPlan& plan, Volume* vol, int first, int count);

// What the files tell about a request: its last frame (every frame there is from the first
// on), width and height. False when the check cannot tell (no such file, a headerless format
// without width and height ...).
struct FileFacts {
    int last = 0, width = 0, height = 0;
};
bool probe_files(const FormatRequest& r, FileFacts& facts);

// The question to ask when what the request describes does not match the files: a raw volume
// or frame file longer than the size given reads (it would be read as a prefix), or frames
// left unread. "" when it matches.
std::string size_mismatch(const FormatRequest& r);

}  // namespace app
