// Volume management and the basic operations: create, destroy, state, VOI, clear, copy, type
// conversions, symmetric, write voxel.
#include "app/command_table.h"
#include "app/services.h"
#include "app/state.h"
#include "app/tools/tools.h"
#include "res/commands.h"
#include "res/strings.h"

namespace app {
namespace {

void create_volume(const CommandSpec&) {
    CreateRequest r;
    if (!ui().create_volume(r)) return;
    Volume* vol = GetVolumeByIndex(r.slot);
    if (!vol) return;
    WaitCursor wait;
    InitializeVolume(vol, r.Z, r.Y, r.X, r.type, r.colortype);
    if (const int status = CreateVolume(vol)) error_handler(status);
}

void destroy_volumes(const CommandSpec&) { ui().destroy_volumes(res::text(res::kSelectToFree)); }
void show_state(const CommandSpec&) { ui().show_state(); }
void set_voi(const CommandSpec&) { ui().set_voi(); }
void write_voxel(const CommandSpec&) { arm_write_voxel(); }

// "Clear UC Volume" ... by type; one value per channel.
ValueSpec clear_values(Volume* in) {
    ValueSpec v;
    v.caption = in->type == V3D_TYPE_F ? res::kClearF
              : in->type == V3D_TYPE_I ? res::kClearI
                                       : res::kClearUC;
    v.labels[0] = res::kChannel1;
    if (in->colortype != V3D_COLOR_GREY) {
        v.labels[1] = res::kChannel2;
        v.labels[2] = res::kChannel3;
    }
    v.real = kAllReal;
    return v;
}

int clear_op(CommandContext& c) {
    const float values[3] = {c.rval(0), c.rval(1), c.rval(2)};
    return ClearVolume(c.in, values);
}

// offsets asked as X, Y, Z
int copy_op(CommandContext& c) { return CopyVolume(c.in, c.out, c.ival(2), c.ival(1), c.ival(0)); }

const ValueSpec kOffsets = {res::kOffsetsForCopy, {res::kOffsetX, res::kOffsetY, res::kOffsetZ}};

}  // namespace

void add_volume_commands(std::vector<CommandSpec>& rows) {
    rows.push_back({.id = cmd::kCreateVolume, .text = "&Create Volume", .after = After::Nothing,
                    .custom = create_volume});
    rows.push_back({.id = cmd::kDestroyVolume, .text = "D&estroy Volume", .typemask = V3D_TYPE_ANY, .colormask = V3D_COLOR_ANY,
                    .after = After::Nothing, .custom = destroy_volumes});
    rows.push_back({.id = cmd::kStateOfVolumes, .text = "S&tate of Volumes", .typemask = V3D_TYPE_ANY, .colormask = V3D_COLOR_ANY,
                    .after = After::Nothing, .custom = show_state});
    rows.push_back({.id = cmd::kSetVoi, .text = "Set &VOI", .typemask = V3D_TYPE_ANY, .colormask = V3D_COLOR_ANY,
                    .after = After::Nothing, .custom = set_voi});
    rows.push_back({.id = cmd::kWriteVoxel, .text = "&Write Voxel", .after = After::Nothing,
                    .custom = write_voxel});
    rows.push_back({.id = cmd::kClearVolume, .text = "C&lear Volume", .typemask = V3D_TYPE_ANY, .colormask = V3D_COLOR_ANY,
                    .in_caption = res::kSelectToClear, .values_for = clear_values,
                    .op = clear_op});
    rows.push_back({.id = cmd::kCopyVolume, .text = "&Copy Volume", .typemask = V3D_TYPE_ANY, .colormask = V3D_COLOR_ANY,
                    .in_caption = res::kSelectInputCopy, .out_caption = res::kSelectOutputCopy,
                    .values = kOffsets, .out_type = kSameType, .at_least = true, .op = copy_op});
    rows.push_back({.id = cmd::kUcToF, .text = "&UC to F conversion", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_ANY,
                    .out_type = V3D_TYPE_F, .in_place = false, .op = offset0_op<UCVolume2FVolume>});
    rows.push_back({.id = cmd::kFToUcScaled, .text = "&F to UC conversion (with scaling)", .typemask = V3D_TYPE_F,
                    .colormask = V3D_COLOR_ANY, .out_type = V3D_TYPE_UC, .in_place = false,
                    .op = offset0_op<FVolume2UCVolume_norm>});
    rows.push_back({.id = cmd::kFToUcTruncated, .text = "F to UC conversion (with &truncation)", .typemask = V3D_TYPE_F,
                    .colormask = V3D_COLOR_ANY, .out_type = V3D_TYPE_UC, .in_place = false,
                    .op = offset0_op<FVolume2UCVolume>});
    rows.push_back({.id = cmd::kSymmetric, .text = "&Symmetric", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_ANY,
                    .out_type = kSameType, .op = unary_op<Symmetric3d>});
}

}  // namespace app
