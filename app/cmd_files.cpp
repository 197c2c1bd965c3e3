// File commands: Open, Save, Dump Volume, Exit, About.
#include <cstdio>
#include <filesystem>

#include "app/commands.h"
#include "app/formats.h"
#include "app/services.h"
#include "app/state.h"
#include "res/strings.h"

namespace app {
namespace {

// Reads the file (or frame series) described by f into vol.
int read_into(Volume* vol, const FormatRequest& f) {
    const int Z = f.last - f.first + 1;
    if (f.format == kRawVolumeFile) return ReadVolume(vol, f.file.c_str(), f.first, Z, f.height, f.width);
    const char* exts[3] = {f.exts[0].c_str(), f.exts[1].c_str(), f.exts[2].c_str()};
    return fromdiskUCFI3D(vol, f.base.c_str(), f.first, f.digits, exts, Z, f.height, f.width);
}

void open_volume(const CommandSpec& spec) {
    FormatRequest f = state().format;
    if (!ui().ask_format(f)) return;
    state().format = f;
    if (!format_available(f.format)) {
        CommandSpec named = spec;
        named.text = kFormatNames[f.format];
        report_not_available(named);
        return;
    }
    const int Z = f.last - f.first + 1;
    SelectRequest r;
    r.kind = SelectKind::OpenTarget;
    r.caption = text(res::kSelectToOpen);
    r.X = f.width;
    r.Y = f.height;
    r.Z = Z;
    Selection s;
    if (!ui().select(r, s)) return;

    WaitCursor wait;
    Volume* vol = s.vol;
    bool created = false;
    if (vol) {
        const int fit = VerifyOutputVolume(vol, f.width, f.height, Z, f.type, f.colortype, true);
        if (fit == kDeclined || fit == kReallocFailed) return;
    } else {
        // a new volume from a file is subject to the restricted edition's size limit
        const int type = f.type == 1 ? 65535 : f.type;
        const int status = CreateVolumeEx(type, f.colortype, Z, f.height, f.width, 0, &vol);
        if (status) {
            if (status != -1) error_handler(status);
            return;
        }
        created = true;
    }
    if (const int status = read_into(vol, f)) {
        error_handler(status);
        if (created) DestroyVolume(vol);
        return;
    }
    if (!vol->name[0]) {
        const std::string from = f.format == kRawVolumeFile ? f.file : f.base;
        std::snprintf(vol->name, sizeof vol->name, "%s",
                      std::filesystem::path(from).filename().string().c_str());
    }
    DisplayVolume(vol);
}

void dump_volume(const CommandSpec&) {
    Volume* vol = nullptr;
    if (!GetInputVolume(7, 3, text(res::kSelectInput).c_str(), &vol) || !vol) return;
    const std::string file =
        ui().pick_save_file(text(res::kDumpVolume), text(res::kAllFiles) + " (*)");
    if (file.empty()) return;
    WaitCursor wait;
    if (const int status = dumpUCFI3D(vol, file.c_str())) error_handler(status);
}

void exit_program(const CommandSpec&) {
    if (workspace()) workspace()->exit();
}

void about(const CommandSpec&) { ui().about(); }

}  // namespace

void add_file_commands(std::vector<CommandSpec>& rows) {
    rows.push_back({.id = 40003, .text = "&Open", .after = After::Nothing, .custom = open_volume});
    // the volume-saving routine comes from the save module
    rows.push_back({.id = 40008, .text = "&Save", .after = After::Nothing});
    rows.push_back({.id = 1030, .text = "&Dump Volume", .typemask = 7, .colormask = 3,
                    .after = After::Nothing, .custom = dump_volume});
    rows.push_back({.id = 1060, .text = "E&xit", .after = After::Nothing, .custom = exit_program});
    rows.push_back({.id = 701, .text = "&About ...", .after = After::Nothing, .custom = about});
}

}  // namespace app
