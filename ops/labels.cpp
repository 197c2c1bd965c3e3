// Label volumes in colour: the colouring of objects 1..n through a colour table, and the
// default colours that keep up to 255 objects apart on black.
#include <cmath>

#include "core/common.h"

namespace v3d {
namespace {

using Byte = unsigned char;

constexpr double kGoldenAngle = 137.50776405003785;  // degrees
constexpr double kSaturation = 0.85;
constexpr double kMinLuminance = 96.0;

struct Rgb {
    double r, g, b;
};

// HSV (hue in degrees, saturation and value 0..1) to RGB on 0..255.
Rgb hsv_to_rgb(double hue, double s, double v) {
    const double h = std::fmod(hue, 360.0) / 60.0;
    const int sector = static_cast<int>(h) % 6;
    const double f = h - std::floor(h);
    const double p = v * (1 - s), q = v * (1 - s * f), t = v * (1 - s * (1 - f));
    Rgb c{};
    switch (sector) {
    case 0: c = {v, t, p}; break;
    case 1: c = {q, v, p}; break;
    case 2: c = {p, v, t}; break;
    case 3: c = {p, q, v}; break;
    case 4: c = {t, p, v}; break;
    default: c = {v, p, q}; break;
    }
    return {c.r * 255, c.g * 255, c.b * 255};
}

double luminance(const Rgb& c) { return 0.299 * c.r + 0.587 * c.g + 0.114 * c.b; }

// A dark colour is mixed with white until its luminance reaches the floor.
Rgb lift_to_floor(Rgb c) {
    const double y = luminance(c);
    if (y >= kMinLuminance) return c;
    const double t = (kMinLuminance - y) / (255.0 - y);
    return {c.r + t * (255 - c.r), c.g + t * (255 - c.g), c.b + t * (255 - c.b)};
}

Byte to_byte(double v) { return clamp_round_uc(v); }

void write_colour(Byte*** out[3], int z, int y, int x, const LabelColor& e) {
    const bool shown = e.requested != 0;
    out[0][z][y][x] = shown ? e.red : 0;
    out[1][z][y][x] = shown ? e.green : 0;
    out[2][z][y][x] = shown ? e.blue : 0;
}

}  // namespace
}  // namespace v3d

using namespace v3d;

extern "C" {

int ColorLabelledVolume3d(Volume* labels, Volume* out, int n, LabelColor* table, int k) {
    V3D_CHECK(CheckVolume(labels, kUC, kGrey));
    V3D_CHECK(CheckVolume(out, kUC, kRGB));
    if (smaller_than(out, labels)) return kBadOutputDims;
    if (!table) return kNullBasicPointer;
    if (n < 1 || n >= 256 || k < 0 || k > n) return kInvalidParams;

    const Voi r = voi_of(labels);
    Byte*** in = labels->data[0].uc;
    Byte*** rgb[3] = {out->data[0].uc, out->data[1].uc, out->data[2].uc};
    for (int z = r.z1; z < r.z2; ++z)
        for (int y = r.y1; y < r.y2; ++y)
            for (int x = r.x1; x < r.x2; ++x) {
                const int l = in[z][y][x];
                if (l == 0 || l > n || (k != 0 && l != k)) continue;
                write_colour(rgb, z, y, x, table[l - 1]);
            }
    return kOk;
}

int SetDefaultLabelColors3d(LabelColor* table, int n) {
    if (!table) return kNullBasicPointer;
    if (n < 1 || n > 255) return kInvalidParams;
    for (int l = 1; l <= n; ++l) {
        const double value = l % 2 ? 1.0 : 0.75;
        const Rgb c = lift_to_floor(hsv_to_rgb((l - 1) * kGoldenAngle, kSaturation, value));
        table[l - 1] = {to_byte(c.r), to_byte(c.g), to_byte(c.b), 0, 1, 1};
    }
    return kOk;
}

}  // extern "C"
