#include "app/tools/coordinates.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace app {
namespace {
Readout g_readout;
bool g_shown = false;
int g_space = kRgb;

std::string printed(const char* format, double a, double b, double c) {
    char text[128];
    std::snprintf(text, sizeof text, format, a, b, c);
    return text;
}

// The conversion of the read-out: on the 0..255 values, without scaling (so white gives
// Y = 255.255: that row of the matrix sums to 1.001).
void rgb_to_xyz(const Readout& r, double xyz[3]) {
    xyz[0] = 0.49 * r.R + 0.31 * r.G + 0.20 * r.B;
    xyz[1] = 0.177 * r.R + 0.813 * r.G + 0.011 * r.B;
    xyz[2] = 0.01 * r.G + 0.99 * r.B;
}

double lab_f(double t) { return t > 0.008856 ? std::pow(t, 0.333333333) : 7.787 * t + 0.13793103; }

// L with the factor 116.04, as the read-out has always printed it.
void xyz_to_lab(const double xyz[3], const double white[3], double lab[3]) {
    double f[3];
    for (int i = 0; i < 3; ++i) f[i] = lab_f(xyz[i] / 255.0 / white[i]);
    lab[0] = 116.04 * f[1] - 16;
    lab[1] = 500 * (f[0] - f[1]);
    lab[2] = 200 * (f[1] - f[2]);
}

// Hue in degrees, lightness and saturation in 0..1; grey has hue and saturation 0.
void rgb_to_hls(const Readout& r, double hls[3]) {
    const int R = static_cast<int>(r.R + 0.5), G = static_cast<int>(r.G + 0.5),
              B = static_cast<int>(r.B + 0.5);
    const int max = std::max({R, G, B}), min = std::min({R, G, B});
    const double light = (max + min) / 510.0;
    hls[0] = hls[2] = 0;
    hls[1] = light;
    if (max == min) return;
    const double d = max - min;
    hls[2] = light <= 0.5 ? d / (max + min) : d / (510 - max - min);
    double h = R == max ? (G - B) / d : G == max ? 2 + (B - R) / d : 4 + (R - G) / d;
    h *= 60;
    hls[0] = h < 0 ? h + 360 : h;
}

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
int colour_space() { return g_space; }
void set_colour_space(int space) { g_space = space; }

// Note the missing blank before the second "=": the read-out has always looked so.
std::string position_text(const Readout& r) {
    char text[96];
    std::snprintf(text, sizeof text, "  X = %3.3d  Y= %3.3d  Z = %3.3d", r.x, r.y, r.z);
    return text;
}

std::string colour_text(const Readout& r, int space, const double white[3]) {
    double v[3];
    switch (space) {
    case kXyz:
        rgb_to_xyz(r, v);
        return printed("X = %-4.3f  Y = %-4.3f  Z = %-4.3f", v[0], v[1], v[2]);
    case kLab: {
        double xyz[3];
        rgb_to_xyz(r, xyz);
        xyz_to_lab(xyz, white, v);
        return printed("L = %-4.3f  a = %-4.3f  b = %-4.3f", v[0], v[1], v[2]);
    }
    case kHls:
        rgb_to_hls(r, v);
        return printed("H = %-4.3f  L = %-4.3f  S = %-4.3f", v[0], v[1], v[2]);
    default: {
        char text[96];
        std::snprintf(text, sizeof text, "R = %3.3d  G = %3.3d  B = %3.3d", static_cast<int>(r.R),
                      static_cast<int>(r.G), static_cast<int>(r.B));
        return text;
    }
    }
}

bool voxel_colour(const Volume* v, int z, int y, int x, double rgb[3]) {
    if (!v || !v->type || z < 0 || y < 0 || x < 0 || z >= v->Z || y >= v->Y || x >= v->X)
        return false;
    for (int c = 0; c < 3; ++c) rgb[c] = value_of(v, v->colortype == V3D_COLOR_GREY ? 0 : c, z, y, x);
    return true;
}

}  // namespace app
