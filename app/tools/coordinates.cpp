#include "app/tools/coordinates.h"

namespace app {
namespace {
Readout g_readout;
bool g_shown = false;

double value_of(const Volume* v, int c, int z, int y, int x) {
    switch (v->type) {
    case V3D_TYPE_F: return v->data[c].f[z][y][x];
    case V3D_TYPE_I: return v->data[c].i[z][y][x];
    default: return v->data[c].uc[z][y][x];
    }
}
}  // namespace

const Readout& readout() { return g_readout; }
void store_readout(const Readout& r) { g_readout = r; }
bool coordinates_shown() { return g_shown; }
void set_coordinates_shown(bool shown) { g_shown = shown; }

bool voxel_colour(const Volume* v, int z, int y, int x, double rgb[3]) {
    if (!v || !v->type || z < 0 || y < 0 || x < 0 || z >= v->Z || y >= v->Y || x >= v->X)
        return false;
    for (int c = 0; c < 3; ++c) rgb[c] = value_of(v, v->colortype == V3D_COLOR_GREY ? 0 : c, z, y, x);
    return true;
}

}  // namespace app
