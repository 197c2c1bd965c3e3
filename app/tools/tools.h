// What the user does over a voxel of a view, and the tools that decide what it means. Views
// only report (voxel hovered, voxel clicked); a tool that outlives its command (Write Voxel,
// "Pixel Input", contour following ...) activates itself and takes the clicks it wants, newest
// tool first.
#pragma once

#include "vexilo3d.h"

namespace app {

enum MouseButton : int { kLeftButton = 1, kRightButton = 2, kMiddleButton = 4 };

struct VoxelEvent {
    Volume* vol = nullptr;  // the volume the view shows
    int z = 0, y = 0, x = 0;
    int buttons = 0;        // the MouseButton that was pressed
    const void* view = nullptr;  // the view it happened in (tools that own views compare it)
};

class Tool {
public:
    virtual ~Tool() = default;
    // True when the tool took the click.
    virtual bool clicked(const VoxelEvent& event) = 0;
};

void activate(Tool* tool);
void deactivate(Tool* tool);
bool is_active(const Tool* tool);

// Active for the life of the guard.
class ActiveTool {
public:
    explicit ActiveTool(Tool* tool) : tool_(tool) { activate(tool); }
    ~ActiveTool() { deactivate(tool_); }
    ActiveTool(const ActiveTool&) = delete;
    ActiveTool& operator=(const ActiveTool&) = delete;

private:
    Tool* tool_;
};

// Offers a click to the active tools; false when none took it.
bool voxel_clicked(const VoxelEvent& event);
// The mouse over voxel (z, y, x) of vol: the coordinates read-out shows it and its value.
void voxel_hovered(Volume* vol, int z, int y, int x);
// The mouse left the images: the read-out is blanked while it is shown.
void left_images();

// Write Voxel: the next left click in a view asks for a colour and writes it into that voxel.
void arm_write_voxel();
bool write_voxel_armed();

}  // namespace app
