// Binary morphology commands: input, output (not in place), then the structuring element.
#include "app/command_table.h"
#include "res/commands.h"
#include "res/strings.h"

namespace app {

void add_morphology_commands(std::vector<CommandSpec>& rows) {
    const VolumeSpec se = {V3D_TYPE_UC, V3D_COLOR_GREY, res::kStructuringElement};
    const struct {
        int id;
        const char* text;
        Operation op;
    } kRows[] = {{cmd::kMinkowskiAddition, "Minkowski &Addition", se_op<MinkowskiAddition3d>},
                 {cmd::kMinkowskiSubtraction, "Minkowski &Subtraction", se_op<MinkowskiSubtraction3d>},
                 {cmd::kDilation, "&Dilation", se_op<bdilate3d>},
                 {cmd::kErosion, "&Erosion", se_op<berode3d>},
                 {cmd::kOpening, "&Opening", se_op<bopening3d>},
                 {cmd::kClosing, "&Closing", se_op<bclosing3d>}};
    for (const auto& r : kRows)
        rows.push_back({.id = r.id, .text = r.text, .typemask = V3D_TYPE_UC,
                        .colormask = V3D_COLOR_GREY, .second = se, .second_after_output = true,
                        .out_type = kSameType, .in_place = false, .op = r.op});
}

}  // namespace app
