// Shared reference helpers: brute-force window operators (every window gathered voxel by
// voxel) and blocks of float volumes.
#pragma once

#include <array>
#include <functional>
#include <vector>

#include "tests/support.h"

namespace t3d {

using Half = std::array<int, 3>;  // how far a window reaches from its centre along z, y, x
using Values = std::vector<int>;  // a window's values in frame, row, column order
// f(window values, centre value) -> output value
using Rule = std::function<int(const Values&, int)>;

template <class F>
void each_offset(Half h, F f) {
    for (int dz = -h[0]; dz <= h[0]; ++dz)
        for (int dy = -h[1]; dy <= h[1]; ++dy)
            for (int dx = -h[2]; dx <= h[2]; ++dx) f(dz, dy, dx);
}

// Expected output: out's previous contents with, in every channel, every centre whose window
// lies inside in's VOI replaced by rule over in's values, read from a copy, or, in place, in
// scan order from the voxels already replaced (as the per-voxel formulations do).
inline std::vector<double> window_reference(Volume* in, Volume* out, Half h, const Rule& rule,
                                            bool in_place = false) {
    std::vector<double> expected = snapshot(out);
    const std::vector<double> copy = snapshot(in);
    const std::vector<double>& src = in_place ? expected : copy;
    auto at = [](const Volume* v, int c, int z, int y, int x) {
        return ((static_cast<size_t>(c) * v->Z + z) * v->Y + y) * v->X + x;
    };
    for (int c = 0; c < (in->colortype == 1 ? 1 : 3); ++c)
        for (int z = in->z1 + h[0]; z < in->z2 - h[0]; ++z)
            for (int y = in->y1 + h[1]; y < in->y2 - h[1]; ++y)
                for (int x = in->x1 + h[2]; x < in->x2 - h[2]; ++x) {
                    Values w;
                    each_offset(h, [&](int dz, int dy, int dx) {
                        w.push_back(static_cast<int>(src[at(in, c, z + dz, y + dy, x + dx)]));
                    });
                    expected[at(out, c, z, y, x)] = rule(w, static_cast<int>(src[at(in, c, z, y, x)]));
                }
    return expected;
}

// The float voxels of the nz x ny x nx block of v at (z0, y0, x0), in scan order.
inline std::vector<double> block(Volume* v, int z0, int y0, int x0, int nz, int ny, int nx) {
    std::vector<double> out;
    for (int z = 0; z < nz; ++z)
        for (int y = 0; y < ny; ++y)
            for (int x = 0; x < nx; ++x) out.push_back(v->data[0].f[z0 + z][y0 + y][x0 + x]);
    return out;
}

}  // namespace t3d
