// Binary morphology commands: input, output (not in place), then the structuring element.
// An operator joins by filling its row's .op.
#include "app/commands.h"
#include "res/strings.h"

namespace app {

void add_morphology_commands(std::vector<CommandSpec>& rows) {
    const VolumeSpec se = {1, 1, res::kStructuringElement};
    const struct {
        int id;
        const char* text;
    } kRows[] = {{1240, "Minkowski &Addition"}, {1241, "Minkowski &Subtraction"},  // MinkowskiAddition3d, MinkowskiSubtraction3d
                 {1242, "&Dilation"}, {1243, "&Erosion"},                          // bdilate3d, berode3d
                 {1244, "&Opening"}, {1245, "&Closing"}};                          // bopening3d, bclosing3d
    for (const auto& r : kRows)
        rows.push_back({.id = r.id, .text = r.text, .typemask = 1, .colormask = 1, .second = se,
                        .out_type = kSameType, .in_place = false, .op = nullptr});  // se_op<...>
}

}  // namespace app
