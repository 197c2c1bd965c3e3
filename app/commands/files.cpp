// File commands: Open, Save, Dump Volume, Exit, About.
#include <cstdio>
#include <filesystem>

#include "app/command_table.h"
#include "app/formats.h"
#include "app/modules.h"
#include "app/services.h"
#include "app/state.h"
#include "res/commands.h"
#include "res/strings.h"

namespace app {
namespace {

// The format's check, the target slot ("Get Volume" with the dimensions found), the volume
// prepared or created, then the format's reader.
void open_volume(const CommandSpec&) {
    FormatRequest f = state().format;
    if (!ui().ask_format(f)) return;
    state().format = f;
    const ImageSequenceFormat* format = GetImageSequenceFormat(f.format);
    if (!format) return;
    std::string base, ext;
    reader_names(f, base, ext);
    ImageSequenceInfo info{};
    if (format->raw) {
        info.X = f.width, info.Y = f.height, info.type = f.type;
        info.colortype = fixed_colortype(f.format) ? fixed_colortype(f.format) : f.colortype;
    }
    int first = 0, count = 0;  // a volume file's time point is its frames
    {
        WaitCursor wait;
        int status = frame_range(f, first, count);
        if (status == 0)
            status = sample_file(f) ? check_sample_file(f, info)
                                    : format->check(base.c_str(), first, f.digits, ext.c_str(), count, &info);
        if (status) {
            error_handler(status);
            return;
        }
    }
    if (info.Z < 1) info.Z = count;
    const ReadPlan plan = read_plan(info, f.deep);  // samples over 8 bits as the dialog says
    SelectRequest r;
    r.kind = SelectKind::OpenTarget;
    r.caption = res::text(res::kSelectToOpen);
    r.X = info.X;
    r.Y = info.Y;
    r.Z = info.Z;
    Selection s;
    if (!ui().select(r, s)) return;

    WaitCursor wait;
    Volume* vol = s.vol;
    bool created = false;
    if (vol) {
        const int fit =
            VerifyOutputVolume(vol, info.X, info.Y, info.Z, plan.type, info.colortype, true);
        if (fit == kDeclined || fit == kReallocFailed) return;
    } else {
        // a new volume from a file is subject to the restricted edition's size limit
        const int type = plan.type == V3D_TYPE_UC ? V3D_TYPE_UC_FROM_FILE : plan.type;
        const int status = CreateVolumeEx(type, info.colortype, info.Z, info.Y, info.X, 0, &vol);
        if (status) {
            if (status != -1) error_handler(status);
            return;
        }
        created = true;
    }
    if (const int status = read_frames(f, plan, vol, first, info.Z)) {
        error_handler(status);
        if (created) DestroyVolume(vol);
        return;
    }
    if (!vol->name[0]) {
        const std::string from = single_file(f.format) ? f.file : f.base;
        std::snprintf(vol->name, sizeof vol->name, "%s",
                      std::filesystem::path(from).filename().string().c_str());
    }
    DisplayVolume(vol);
}

// The save module's routine; a non-zero status is shown.
void save_volume(const CommandSpec&) {
    if (const int status = module_save_volume()) error_handler(status);
}

void dump_volume(const CommandSpec&) {
    Volume* vol = nullptr;
    if (!GetInputVolume(V3D_TYPE_ANY, V3D_COLOR_ANY, res::text(res::kSelectInput), &vol) || !vol) return;
    const std::string file =
        ui().pick_save_file(res::text(res::kDumpVolume), std::string(res::text(res::kAllFiles)) + " (*)");
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
    rows.push_back({.id = cmd::kOpen, .text = "&Open", .after = After::Nothing, .custom = open_volume});
    // the volume-saving routine comes from the save module
    rows.push_back({.id = cmd::kSave, .text = "&Save", .after = After::Nothing, .custom = save_volume});
    rows.push_back({.id = cmd::kDumpVolume, .text = "&Dump Volume", .typemask = V3D_TYPE_ANY, .colormask = V3D_COLOR_ANY,
                    .after = After::Nothing, .custom = dump_volume});
    rows.push_back({.id = cmd::kExit, .text = "E&xit", .after = After::Nothing, .custom = exit_program});
    rows.push_back({.id = cmd::kAbout, .text = "&About ...", .after = After::Nothing, .custom = about});
}

}  // namespace app
