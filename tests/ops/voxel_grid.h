// Helpers shared by the resize, morphology and segmentation tests: a flat copy of a volume
// addressed by (c, z, y, x) and a box iterator.
#pragma once

#include <vector>

#include "tests/support.h"

namespace t3d {

// Every voxel of a volume as snapshot() lists them; at(z, y, x, c) reads and writes the copy.
struct Voxels {
    int Z, Y, X;
    std::vector<double> v;
    explicit Voxels(Volume* vol) : Z(vol->Z), Y(vol->Y), X(vol->X), v(snapshot(vol)) {}
    double& at(int z, int y, int x, int c = 0) { return v[((static_cast<size_t>(c) * Z + z) * Y + y) * X + x]; }
};

// A half-open box of voxels.
struct Box {
    int z1, z2, y1, y2, x1, x2;
};
inline Box voi_box(const Volume* v) { return {v->z1, v->z2, v->y1, v->y2, v->x1, v->x2}; }
inline Box whole_box(const Volume* v) { return {0, v->Z, 0, v->Y, 0, v->X}; }
inline bool inside(const Box& b, int z, int y, int x) {
    return z >= b.z1 && z < b.z2 && y >= b.y1 && y < b.y2 && x >= b.x1 && x < b.x2;
}

template <class F> void for_box(const Box& b, F&& f) {
    for (int z = b.z1; z < b.z2; ++z)
        for (int y = b.y1; y < b.y2; ++y)
            for (int x = b.x1; x < b.x2; ++x) f(z, y, x);
}

}  // namespace t3d
