// Binary morphology commands: input, output (not in place), then the structuring element.
#include "app/commands.h"
#include "res/strings.h"

namespace app {

void add_morphology_commands(std::vector<CommandSpec>& rows) {
    const VolumeSpec se = {1, 1, res::kStructuringElement};
    const struct {
        int id;
        const char* text;
        Operation op;
    } kRows[] = {{1240, "Minkowski &Addition", se_op<MinkowskiAddition3d>},
                 {1241, "Minkowski &Subtraction", se_op<MinkowskiSubtraction3d>},
                 {1242, "&Dilation", se_op<bdilate3d>},
                 {1243, "&Erosion", se_op<berode3d>},
                 {1244, "&Opening", se_op<bopening3d>},
                 {1245, "&Closing", se_op<bclosing3d>}};
    for (const auto& r : kRows)
        rows.push_back({.id = r.id, .text = r.text, .typemask = 1, .colormask = 1, .second = se,
                        .out_type = kSameType, .in_place = false, .op = r.op});
}

}  // namespace app
