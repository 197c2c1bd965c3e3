// The benchmark volume of the segmentation, resizing and morphology families: noise below 128
// with a dozen bright spheres (128..255), so that a threshold of 128 gives the spheres.
#pragma once

#include <vector>

#include "bench/volumes.h"

namespace bench {

struct Sphere {
    double z, y, x, r;
};

// The twelve spheres of a volume of v's size, placed reproducibly from the seed; *state
// receives the generator's state after the placement.
inline std::vector<Sphere> sphere_list(const Volume* v, uint32_t seed, uint32_t* state = nullptr) {
    uint32_t s = seed * 2654435761u + 1;
    std::vector<Sphere> spheres(12);
    for (Sphere& b : spheres) {
        b.r = v->X * (0.04 + 0.08 * (next_random(s) % 1000) / 1000.0);
        b.z = b.r + (v->Z - 2 * b.r) * (next_random(s) % 1000) / 1000.0;
        b.y = b.r + (v->Y - 2 * b.r) * (next_random(s) % 1000) / 1000.0;
        b.x = b.r + (v->X - 2 * b.r) * (next_random(s) % 1000) / 1000.0;
    }
    if (state) *state = s;
    return spheres;
}

inline void fill_noise_spheres(Volume* v, uint32_t seed) {
    uint32_t s;
    const std::vector<Sphere> spheres = sphere_list(v, seed, &s);
    for (int z = 0; z < v->Z; ++z)
        for (int y = 0; y < v->Y; ++y)
            for (int x = 0; x < v->X; ++x) {
                bool inside = false;
                for (const Sphere& b : spheres) {
                    const double dz = z - b.z, dy = y - b.y, dx = x - b.x;
                    inside = inside || dz * dz + dy * dy + dx * dx <= b.r * b.r;
                }
                const uint32_t noise = next_random(s) & 0x7f;
                v->data[0].uc[z][y][x] = static_cast<unsigned char>(inside ? 128 + noise : noise);
            }
}

// The same volume thresholded at 128: 255 inside the spheres, 0 elsewhere.
inline void fill_spheres_binary(Volume* v, uint32_t seed) {
    fill_noise_spheres(v, seed);
    for (int z = 0; z < v->Z; ++z)
        for (int y = 0; y < v->Y; ++y)
            for (int x = 0; x < v->X; ++x) v->data[0].uc[z][y][x] = v->data[0].uc[z][y][x] >= 128 ? 255 : 0;
}

}  // namespace bench
