// Volumes for the benchmarks: created and destroyed with their scope, filled reproducibly.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "vexilo3d.h"

namespace bench {

class Volume3 {
public:
    Volume3(int Z, int Y, int X, int type, int colortype = 1) {
        InitializeVolume(&vol_, Z, Y, X, type, colortype);
        if (CreateVolume(&vol_) != 0) {
            std::fprintf(stderr, "cannot create a %dx%dx%d volume\n", Z, Y, X);
            std::exit(1);
        }
    }
    ~Volume3() { DestroyVolume(&vol_); }
    Volume3(const Volume3&) = delete;
    Volume3& operator=(const Volume3&) = delete;
    Volume* get() { return &vol_; }

private:
    Volume vol_{};
};

// xorshift noise, the same on every run
inline uint32_t next_random(uint32_t& s) {
    s ^= s << 13;
    s ^= s >> 17;
    s ^= s << 5;
    return s;
}

// UC volume: uniform noise.
inline void fill_noise(Volume* v, uint32_t seed) {
    uint32_t s = seed * 2654435761u + 1;
    for (int z = 0; z < v->Z; ++z)
        for (int y = 0; y < v->Y; ++y)
            for (int x = 0; x < v->X; ++x) v->data[0].uc[z][y][x] = next_random(s) & 0xff;
}

// Reals 0.00 .. 9.99 in steps of 0.01 in channel 0 of an F volume.
inline void fill_reals(Volume* v, uint32_t seed) {
    uint32_t s = seed * 2654435761u + 1;
    for (int z = 0; z < v->Z; ++z)
        for (int y = 0; y < v->Y; ++y)
            for (int x = 0; x < v->X; ++x)
                v->data[0].f[z][y][x] = static_cast<float>(next_random(s) % 1000) * 0.01f;
}

// UC volume: smooth structure (a blurred sphere and waves) plus noise of amplitude +-noise.
inline void fill_structure_noise(Volume* v, uint32_t seed, int noise = 24) {
    uint32_t s = seed * 2654435761u + 1;
    for (int z = 0; z < v->Z; ++z)
        for (int y = 0; y < v->Y; ++y)
            for (int x = 0; x < v->X; ++x) {
                const double dz = z - v->Z / 2.0, dy = y - v->Y / 2.0, dx = x - v->X / 2.0;
                const double r = std::sqrt(dz * dz + dy * dy + dx * dx) / (v->X / 3.0);
                double value = 128 + 80 * std::exp(-r * r) + 30 * std::sin(x * 0.1) * std::cos(z * 0.07);
                value += static_cast<int>(next_random(s) % (2 * noise + 1)) - noise;
                v->data[0].uc[z][y][x] = static_cast<unsigned char>(value < 0 ? 0 : value > 255 ? 255 : value);
            }
}

}  // namespace bench
