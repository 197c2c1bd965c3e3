// Rotation of frames and of the volume of interest by nearest-neighbour resampling. Every
// output voxel of the VOI looks up its source through the inverse rotation; a source outside
// the VOI gives 0.
#include <cmath>

#include "core/common.h"
#include "core/parallel.h"

namespace v3d {
namespace {

struct Matrix3 {
    double m[3][3];  // rows act on (x, y, z) offsets from the centre; y grows downwards
};

Matrix3 multiply(const Matrix3& a, const Matrix3& b) {
    Matrix3 r{};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            for (int k = 0; k < 3; ++k) r.m[i][j] += a.m[i][k] * b.m[k][j];
    return r;
}

double radians(float degrees) { return static_cast<double>(degrees) * 3.14159265358979323846 / 180.0; }

// Counter-clockwise as shown (row 0 at the top): a point above the centre moves left.
Matrix3 about_z(float degrees) {
    const double c = std::cos(radians(degrees)), s = std::sin(radians(degrees));
    return {{{c, s, 0}, {-s, c, 0}, {0, 0, 1}}};
}
Matrix3 about_y(float degrees) {  // X towards Z
    const double c = std::cos(radians(degrees)), s = std::sin(radians(degrees));
    return {{{c, 0, -s}, {0, 1, 0}, {s, 0, c}}};
}
Matrix3 about_x(float degrees) {  // Y towards Z
    const double c = std::cos(radians(degrees)), s = std::sin(radians(degrees));
    return {{{1, 0, 0}, {0, c, -s}, {0, s, c}}};
}

int nearest(double v) { return static_cast<int>(std::floor(v + 0.5)); }

int check_rotation(Volume* in, Volume* out) {
    V3D_CHECK(CheckVolume(in, kAnyType, kAnyColor));
    V3D_CHECK(CheckVolume(out, kAnyType, kAnyColor));
    if (in == out) return kSameVolume;
    if (smaller_than(out, in)) return kBadOutputDims;
    if (out->type != in->type) return kBadOutputType;
    if (out->colortype != in->colortype) return kBadOutputColor;
    return kOk;
}

// out = in sampled at centre + R^T (p - centre) for every VOI voxel p (R is the forward turn).
int rotate(Volume* in, Volume* out, const Matrix3& forward) {
    const Voi r = voi_of(in);
    const double cz = (r.z1 + r.z2 - 1) / 2.0, cy = (r.y1 + r.y2 - 1) / 2.0,
                 cx = (r.x1 + r.x2 - 1) / 2.0;
    const auto& m = forward.m;
    dispatch_type(in->type, [&](auto tag) {
        using T = decltype(tag);
        for_each_channel(in, [&](int c) {
            T*** src = voxels<T>(in, c);
            T*** dst = voxels<T>(out, c);
            parallel_for(r.z1, r.z2, [&](int z) {
                const double dz = z - cz;
                for (int y = r.y1; y < r.y2; ++y) {
                    const double dy = y - cy;
                    for (int x = r.x1; x < r.x2; ++x) {
                        const double dx = x - cx;
                        // transpose of the forward matrix = the inverse turn
                        const int sx = nearest(cx + m[0][0] * dx + m[1][0] * dy + m[2][0] * dz);
                        const int sy = nearest(cy + m[0][1] * dx + m[1][1] * dy + m[2][1] * dz);
                        const int sz = nearest(cz + m[0][2] * dx + m[1][2] * dy + m[2][2] * dz);
                        const bool inside = sx >= r.x1 && sx < r.x2 && sy >= r.y1 && sy < r.y2 &&
                                            sz >= r.z1 && sz < r.z2;
                        dst[z][y][x] = inside ? src[sz][sy][sx] : T(0);
                    }
                }
            });
        });
    });
    return kOk;
}

}  // namespace
}  // namespace v3d

using namespace v3d;

extern "C" {

int RotateVol2d(Volume* in, Volume* out, float angle) {
    V3D_CHECK(check_rotation(in, out));
    if (!finite_real(angle)) return kInvalidParams;
    return rotate(in, out, about_z(angle));
}

int RotateVol3d(Volume* in, Volume* out, float az, float ay, float ax) {
    V3D_CHECK(check_rotation(in, out));
    if (!finite_real(az) || !finite_real(ay) || !finite_real(ax)) return kInvalidParams;
    return rotate(in, out, multiply(about_x(ax), multiply(about_y(ay), about_z(az))));
}

}  // extern "C"
