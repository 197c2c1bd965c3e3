// The active tools and the routing of the views' voxel events to them.
#include "app/tools/tools.h"

#include <algorithm>
#include <vector>

#include "app/services.h"
#include "app/tools/coordinates.h"

namespace app {
namespace {

std::vector<Tool*>& active_tools() {
    static std::vector<Tool*> tools;  // oldest first
    return tools;
}

}  // namespace

void activate(Tool* tool) {
    if (tool && !is_active(tool)) active_tools().push_back(tool);
}

void deactivate(Tool* tool) {
    auto& tools = active_tools();
    tools.erase(std::remove(tools.begin(), tools.end(), tool), tools.end());
}

bool is_active(const Tool* tool) {
    const auto& tools = active_tools();
    return std::find(tools.begin(), tools.end(), tool) != tools.end();
}

bool voxel_clicked(const VoxelEvent& event) {
    // a tool may deactivate itself (or another) while it handles the click
    const std::vector<Tool*> tools = active_tools();
    for (auto it = tools.rbegin(); it != tools.rend(); ++it)
        if (is_active(*it) && (*it)->clicked(event)) return true;
    return false;
}

void voxel_hovered(Volume* vol, int z, int y, int x) {
    double rgb[3];
    if (!voxel_colour(vol, z, y, x, rgb)) {
        left_images();
        return;
    }
    PrintCoordinates(0, x, y, z, rgb[0], rgb[1], rgb[2]);
}

void left_images() {
    if (coordinates_shown()) PrintCoordinates(kBlankReadout, 0, 0, 0, 0, 0, 0);
}

}  // namespace app
