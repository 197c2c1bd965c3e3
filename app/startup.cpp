#include "app/startup.h"

#include <cstdio>
#include <filesystem>

#include "app/services.h"

namespace app {

const char* const kUsage =
    "usage: vexilo3d [--size ZxYxX] [--type uc|f|i] [--channels 1|3] [--skip N] [FILE ...]\n"
    "Opens each raw volume FILE (no header; ZxYxX frames, rows, columns) and shows it.\n";

namespace {

bool whole(const std::string& word, int& value) {
    char rest = 0;
    return std::sscanf(word.c_str(), "%d%c", &value, &rest) == 1;
}

}  // namespace

bool parse_command_line(const std::vector<std::string>& args, CommandLine& line,
                        std::string& error) {
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
        const std::string& v = args[++i];
        if (a == "--size") {
            char rest = 0;
            if (std::sscanf(v.c_str(), "%dx%dx%d%c", &line.Z, &line.Y, &line.X, &rest) != 3 ||
                line.Z < 1 || line.Y < 1 || line.X < 1) {
                error = "--size wants ZxYxX, each at least 1";
                return false;
            }
        } else if (a == "--type") {
            if (v == "uc") line.type = 1;
            else if (v == "f") line.type = 2;
            else if (v == "i") line.type = 4;
            else {
                error = "--type is one of uc, f, i";
                return false;
            }
        } else if (a == "--channels") {
            int n = 0;
            if (!whole(v, n) || (n != 1 && n != 3)) {
                error = "--channels is 1 or 3";
                return false;
            }
            line.colortype = n == 1 ? 1 : 2;
        } else if (a == "--skip") {
            if (!whole(v, line.skip) || line.skip < 0) {
                error = "--skip wants a frame count";
                return false;
            }
        } else {
            error = "unknown option " + a;
            return false;
        }
    }
    if (!line.files.empty() && line.Z == 0) {
        error = "--size ZxYxX is needed to read a raw volume";
        return false;
    }
    return true;
}

int open_files(const CommandLine& line) {
    int opened = 0;
    for (const std::string& file : line.files) {
        Volume* vol = nullptr;
        const int type = line.type == V3D_TYPE_UC ? V3D_TYPE_UC_FROM_FILE : line.type;
        int status = CreateVolumeEx(type, line.colortype, line.Z, line.Y, line.X, 0, &vol);
        if (status == 0) {
            status = ReadVolume(vol, file.c_str(), line.skip, line.Z, line.Y, line.X);
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
