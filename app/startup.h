// The command line of the workstation: vexilo3d [--size ZxYxX] [--type uc|f|i|u16 ...]
// [--endian little|big] [--channels 1|3] [--skip N] [--byte-offset BYTES] [--spacing z,y,x]
// [FILE ...] opens raw volume files into new volumes and shows them. The options are v3d's
// raw-volume grammar.
#pragma once

#include <string>
#include <vector>

#include "cli/raw_volume_options.h"

namespace app {

struct CommandLine {
    std::vector<std::string> files;
    cli::RawVolumeSpec volume;  // every file's size, voxels, channels, skip, offset, spacing
};

// Parses the arguments (without the program name); false with a reason in error.
bool parse_command_line(const std::vector<std::string>& args, CommandLine& line,
                        std::string& error);
// Opens every file of line into a new volume and displays it; failures are reported through
// error_handler. Returns the number of volumes opened.
int open_files(const CommandLine& line);

extern const char* const kUsage;

}  // namespace app
