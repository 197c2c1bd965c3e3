// Write Voxel: armed by its command, the next left click in a view picks a colour and writes
// it into the clicked voxel (its luminance in a one-channel volume), then disarms.
#include "app/services.h"
#include "app/tools/tools.h"
#include "app/ui.h"

namespace app {
namespace {

class WriteVoxel : public Tool {
public:
    bool clicked(const VoxelEvent& e) override {
        if (e.buttons != kLeftButton) return false;
        deactivate(this);
        int rgb[3];
        if (!ui().pick_colour(rgb)) return true;
        write(e, rgb);
        DisplayVolume(e.vol);
        return true;
    }

private:
    static void write(const VoxelEvent& e, const int rgb[3]) {
        Volume* v = e.vol;
        const bool grey = v->colortype == V3D_COLOR_GREY;
        const int luminance = static_cast<int>(0.299 * rgb[0] + 0.587 * rgb[1] + 0.114 * rgb[2] + 0.5);
        for (int c = 0; c < (grey ? 1 : 3); ++c) {
            const int value = grey ? luminance : rgb[c];
            if (v->type == V3D_TYPE_UC) v->data[c].uc[e.z][e.y][e.x] = static_cast<unsigned char>(value);
            if (v->type == V3D_TYPE_F) v->data[c].f[e.z][e.y][e.x] = static_cast<float>(value);
            if (v->type == V3D_TYPE_I) v->data[c].i[e.z][e.y][e.x] = value;
        }
    }
};

WriteVoxel& write_voxel_tool() {
    static WriteVoxel tool;
    return tool;
}

}  // namespace

void arm_write_voxel() { activate(&write_voxel_tool()); }
bool write_voxel_armed() { return is_active(&write_voxel_tool()); }

}  // namespace app
