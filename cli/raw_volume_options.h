// The description of a raw volume file on a command line, one grammar for v3d and the
// workstation: --size ZxYxX (or z,y,x), --type uc|f|i, --channels 1|3, --skip N (frames).
#pragma once

#include <string>

#include "vexilo3d.h"

namespace cli {

struct RawVolumeSpec {
    std::string path;
    int Z = 0, Y = 0, X = 0;
    int type = V3D_TYPE_UC, colortype = V3D_COLOR_GREY, skip = 0;
};

extern const char* const kRawVolumeUsage;

// Applies option name (without "--") with its value. False when name is not an option of the
// grammar; otherwise error is empty or says what is wrong with the value.
bool set_raw_option(RawVolumeSpec& volume, const std::string& name, const std::string& value,
                    std::string& error);

// A strict whole number (all of word, in the int range); false otherwise.
bool whole_number(const std::string& word, int& value);

}  // namespace cli
