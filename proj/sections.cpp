// Sections: the orthogonal section along a volume axis, and oblique planes through a voxel
// sampled by nearest neighbour.
#include <cmath>
#include <cstring>

#include "core/common.h"
#include "core/parallel.h"
#include "proj/rays.h"

namespace v3d::proj {
namespace {

bool inside(const Voi& v, int z, int y, int x) {
    return z >= v.z1 && z < v.z2 && y >= v.y1 && y < v.y2 && x >= v.x1 && x < v.x2;
}

// The first frame at the bottom: picture row of frame z.
int row_of_frame(const Voi& v, int z) { return (v.nz() - 1) - (z - v.z1); }

int orthogonal(Volume* in, Image2d image, int H, int W, int axis, int position) {
    V3D_CHECK(CheckVolume(in, kUC, kAnyColor));
    if (!image_present(image, channels(in))) return kNullImage;
    const Voi v = voi_of(in);
    const bool fits = (axis == 1 && position >= v.z1 && position < v.z2 && H >= v.ny() && W >= v.nx()) ||
                      (axis == 2 && position >= v.y1 && position < v.y2 && H >= v.nz() && W >= v.nx()) ||
                      (axis == 3 && position >= v.x1 && position < v.x2 && H >= v.nz() && W >= v.ny());
    if (!fits) return kInvalidParams;
    for_each_channel(in, [&](int c) {
        unsigned char*** vox = in->data[c].uc;
        unsigned char** out = image[c];
        if (axis == 1) {
            for (int y = v.y1; y < v.y2; ++y)
                std::memcpy(out[y - v.y1], vox[position][y] + v.x1, static_cast<size_t>(v.nx()));
            return;
        }
        for (int z = v.z1; z < v.z2; ++z) {
            unsigned char* row = out[row_of_frame(v, z)];
            if (axis == 2)
                std::memcpy(row, vox[z][position] + v.x1, static_cast<size_t>(v.nx()));
            else
                for (int y = v.y1; y < v.y2; ++y) row[y - v.y1] = vox[z][y][position];
        }
    });
    return kOk;
}

// The plane through (z, y, x) spanned by view.col and view.up, the point at pixel
// (H / 2, W / 2); every pixel takes the nearest voxel, 0 outside the VOI.
int oblique(Volume* in, Image2d image, int H, int W, int z, int y, int x, const View& view,
            bool params_ok) {
    V3D_CHECK(CheckVolume(in, kUC, kAnyColor));
    const int n = channels(in);
    if (!image_present(image, n)) return kNullImage;
    const Voi v = voi_of(in);
    if (H < 1 || W < 1 || !params_ok || !inside(v, z, y, x)) return kInvalidParams;
    const double point[3] = {static_cast<double>(z), static_cast<double>(y), static_cast<double>(x)};
    parallel_for(0, H, [&](int r) {
        const double rise = H / 2 - r;
        for (int c = 0; c < W; ++c) {
            const double across = c - W / 2;
            int at[3];
            for (int k = 0; k < 3; ++k)
                at[k] = static_cast<int>(
                    std::floor(point[k] + across * view.col[k] + rise * view.up[k] + 0.5));
            const bool hit = inside(v, at[0], at[1], at[2]);
            for (int ch = 0; ch < n; ++ch)
                image[ch][r][c] = hit ? in->data[ch].uc[at[0]][at[1]][at[2]] : 0;
        }
    });
    return kOk;
}

// The view looking along the normal (nz, ny, nx); a vertical normal takes azimuth 0.
View view_along(int nz, int ny, int nx) {
    const double len = std::sqrt(double(nz) * nz + double(ny) * ny + double(nx) * nx);
    const double h = std::sqrt(double(ny) * ny + double(nx) * nx);
    if (len == 0) return view_of(0, 0);
    const float sa = h > 0 ? static_cast<float>(nx / h) : 0.0f;
    const float ca = h > 0 ? static_cast<float>(ny / h) : 1.0f;
    return view_of(sa, ca, static_cast<float>(nz / len), static_cast<float>(h / len));
}

}  // namespace
}  // namespace v3d::proj

using namespace v3d;
using namespace v3d::proj;

extern "C" {

int TomiOrth(Volume* in, Image2d image, int H, int W, int axis, int position) {
    return orthogonal(in, image, H, W, axis, position);
}

int TomiRand1(Volume* in, Image2d image, int H, int W, int z, int y, int x, int nz, int ny,
              int nx) {
    const bool normal = nz != 0 || ny != 0 || nx != 0;
    return oblique(in, image, H, W, z, y, x, view_along(nz, ny, nx), normal);
}

int TomiRand2(Volume* in, Image2d image, int H, int W, int azimuth, int elevation, int z, int y,
              int x) {
    return oblique(in, image, H, W, z, y, x, view_of(azimuth, elevation), true);
}

}  // extern "C"
