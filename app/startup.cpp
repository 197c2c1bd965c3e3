#include "app/startup.h"

#include <cstdio>
#include <filesystem>

#include "app/services.h"

namespace app {

const char* const kUsage =
    "usage: vexilo3d [--size ZxYxX] [--type uc|f|i|u16|i16|u32|i32|f32|f64] [--endian little|big]\n"
    "                [--channels 1|3] [--skip N] [--byte-offset BYTES] [--spacing z,y,x]\n"
    "                [FILE ...]\n"
    "Opens each raw volume FILE (no header; ZxYxX frames, rows, columns) and shows it.\n";

bool parse_command_line(const std::vector<std::string>& args, CommandLine& line,
                        std::string& error) {
    bool sized = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a.rfind("--", 0) != 0) {
            line.files.push_back(a);
            continue;
        }
        if (i + 1 >= args.size()) {
            error = "option " + a + " needs a value";
            return false;
        }
        if (!cli::set_raw_option(line.volume, a.substr(2), args[++i], error)) {
            error = "unknown option " + a;
            return false;
        }
        if (!error.empty()) return false;
        sized = sized || a == "--size";
    }
    if (!line.files.empty() && !sized) {
        error = "--size ZxYxX is needed to read a raw volume";
        return false;
    }
    return true;
}

int open_files(const CommandLine& line) {
    int opened = 0;
    for (const std::string& file : line.files) {
        Volume* vol = nullptr;
        const cli::RawVolumeSpec& s = line.volume;
        const int type = s.type == V3D_TYPE_UC ? V3D_TYPE_UC_FROM_FILE : s.type;
        int status = CreateVolumeEx(type, s.colortype, s.Z, s.Y, s.X, 0, &vol);
        if (status == 0) {
            cli::RawVolumeSpec one = s;
            one.path = file;
            status = cli::read_raw_volume(vol, one);
            if (status) DestroyVolume(vol);
        }
        if (status) {
            std::fprintf(stderr, "vexilo3d: %s: %s\n", file.c_str(), GetStatusText(status));
            if (status != -1) error_handler(status);
            continue;
        }
        std::snprintf(vol->name, sizeof vol->name, "%s",
                      std::filesystem::path(file).filename().string().c_str());
        DisplayVolume(vol);
        ++opened;
    }
    return opened;
}

}  // namespace app
