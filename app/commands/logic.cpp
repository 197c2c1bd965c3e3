// Logical combinations of binary volumes and the metrics with their result messages.
#include "app/command_table.h"
#include "app/ui.h"
#include "res/commands.h"
#include "res/strings.h"

namespace app {
namespace {

int surface_op(CommandContext& c) {
    unsigned int count = 0;
    const int status = CountNonZeroSurfacePoints3d(c.in, &count);
    c.message = res::format(res::kSurfaceResult, static_cast<unsigned long>(count));
    return status;
}

int volume_op(CommandContext& c) {
    unsigned int count = 0;
    const int status = CountNonZeroPoints3d(c.in, &count);
    c.message = res::format(res::kVolumeResult, static_cast<unsigned long>(count));
    return status;
}

int bounding_box_op(CommandContext& c) {
    int z1, z2, y1, y2, x1, x2;
    const int status = FindBoundingBox3d(c.in, &z1, &z2, &y1, &y2, &x1, &x2);
    c.message = z1 < 0 ? res::text(res::kOnlyBackground)
                       : res::format(res::kBoundingBoxResult, x1, y1, z1, x2, y2, z2);
    return status;
}

}  // namespace

void add_logic_commands(std::vector<CommandSpec>& rows) {
    const VolumeSpec second = {V3D_TYPE_UC, V3D_COLOR_GREY, res::kSelectVolume};
    rows.push_back({.id = cmd::kLogicalAnd, .text = "Logical &AND", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_GREY,
                    .second = second, .out_type = kSameType, .op = binary_op<and3d>});
    rows.push_back({.id = cmd::kLogicalOr, .text = "Logical &OR", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_GREY,
                    .second = second, .out_type = kSameType, .op = binary_op<or3d>});
    rows.push_back({.id = cmd::kLogicalXor, .text = "Logical &XOR", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_GREY,
                    .second = second, .out_type = kSameType, .op = binary_op<xor3d>});
    rows.push_back({.id = cmd::kSurface, .text = "&Surface", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_GREY,
                    .op = surface_op, .after = After::Message,
                    .message_caption = res::kMetricsCaption, .message_icon = Icon::Information});
    rows.push_back({.id = cmd::kVolume, .text = "&Volume", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_GREY,
                    .op = volume_op, .after = After::Message,
                    .message_caption = res::kMetricsCaption, .message_icon = Icon::Information});
    rows.push_back({.id = cmd::kBoundingBox, .text = "&Bounding Box", .typemask = V3D_TYPE_UC, .colormask = V3D_COLOR_ANY,
                    .op = bounding_box_op, .after = After::Message,
                    .message_caption = res::kMetricsCaption, .message_icon = Icon::Information});
}

}  // namespace app
