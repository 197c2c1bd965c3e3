// The description of a raw volume file on a command line, one grammar for v3d and the
// workstation: --size ZxYxX (or z,y,x), --type uc|f|i|u16|i16|u32|i32|f32|f64 (the file's
// voxels), --endian little|big, --channels 1|3, --skip N (frames), --byte-offset BYTES (a
// header to step over first; v3d's --offset already places outputs) and --spacing z,y,x (the
// voxel size the volume carries).
#pragma once

#include <string>

#include "vexilo3d.h"

namespace cli {

struct RawVolumeSpec {
    std::string path;
    int Z = 0, Y = 0, X = 0;
    // type is the volume's data type, sample the file's voxel type (V3D_SAMPLE_*): uc, f and i
    // are the volume's own (U8, F32, S32); 16- and 32-bit integers go into I, f64 into F
    int type = V3D_TYPE_UC, colortype = V3D_COLOR_GREY, skip = 0;
    int sample = V3D_SAMPLE_U8;
    bool big_endian = false;
    long long offset = 0;  // --byte-offset
    bool spaced = false;
    double spacing[3] = {1.0, 1.0, 1.0};  // z, y, x
};

extern const char* const kRawVolumeUsage;

// Applies option name (without "--") with its value. False when name is not an option of the
// grammar; otherwise error is empty or says what is wrong with the value.
bool set_raw_option(RawVolumeSpec& volume, const std::string& name, const std::string& value,
                    std::string& error);

// A strict whole number (all of word, in the int range); false otherwise.
bool whole_number(const std::string& word, int& value);

// Bytes of one voxel of one channel in the file.
int sample_size(const RawVolumeSpec& volume);

// Reads the file of volume into vol (created with volume's size, type and colour type): the
// described raw reader for the volume's own voxels from the start of a little-endian file,
// the sample reader otherwise; then the spacing given. A status.
int read_raw_volume(Volume* vol, const RawVolumeSpec& volume);

}  // namespace cli
