// Rotation of frames and of the volume of interest by nearest-neighbour resampling. Every
// output voxel of the VOI looks up its source through the inverse rotation; a source outside
// the VOI gives 0.
#include <cmath>

#include "core/common.h"
#include "core/parallel.h"
#include "ops/simd.h"

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

int check_rotation(Volume* in, Volume* out) {
    V3D_CHECK(CheckVolume(in, kAnyType, kAnyColor));
    V3D_CHECK(CheckVolume(out, kAnyType, kAnyColor));
    if (in == out) return kSameVolume;
    if (smaller_than(out, in)) return kBadOutputDims;
    if (out->type != in->type) return kBadOutputType;
    if (out->colortype != in->colortype) return kBadOutputColor;
    return kOk;
}

// The source index along one axis of every column of a row: the nearest integer to
// (along_x[x] + dy_term) + dz_term, that is to c + m0 dx + m1 dy + m2 dz summed left to right as
// the plain formula does, so that it rounds alike.
V3D_ROW_CLONES void source_indices(int* __restrict s, const double* __restrict along_x, double dy_term,
                                   double dz_term, int n) {
    for (int x = 0; x < n; ++x) s[x] = static_cast<int>(std::floor(along_x[x] + dy_term + dz_term + 0.5));
}

// out = in sampled at centre + R^T (p - centre) for every VOI voxel p (R is the forward turn):
// the terms of the columns are computed once, each row adds those of its row and frame, and
// the sources are read through one table of the VOI's rows (from its first column).
int rotate(Volume* in, Volume* out, const Matrix3& forward) {
    const Voi r = voi_of(in);
    const double centre[3] = {(r.x1 + r.x2 - 1) / 2.0, (r.y1 + r.y2 - 1) / 2.0, (r.z1 + r.z2 - 1) / 2.0};
    const auto& m = forward.m;  // its transpose is the inverse turn: axis a takes column a
    const int nx = r.nx(), ny = r.ny();
    auto along_x = make_buffer<double>(3 * static_cast<std::size_t>(nx));
    const int blocks = block_count(r.z1, r.z2, true);
    auto indices = make_buffer<int>(3 * static_cast<std::size_t>(nx) * blocks);
    auto rows = make_buffer<const void*>(static_cast<std::size_t>(r.nz()) * ny);
    if (!along_x || !indices || !rows) return kNoBuffer;
    for (int a = 0; a < 3; ++a)
        for (int x = 0; x < nx; ++x) along_x[a * nx + x] = centre[a] + m[0][a] * (r.x1 + x - centre[0]);
    dispatch_type(in->type, [&](auto tag) {
        using T = decltype(tag);
        for_each_channel(in, [&](int c) {
            T*** src = voxels<T>(in, c);
            T*** dst = voxels<T>(out, c);
            for (int z = 0; z < r.nz(); ++z)
                for (int y = 0; y < ny; ++y) rows[static_cast<std::size_t>(z) * ny + y] = src[r.z1 + z][r.y1 + y] + r.x1;
            parallel_blocks(r.z1, r.z2, blocks, [&](int b, int z_begin, int z_end) {
                int* s = indices.get() + 3 * static_cast<std::size_t>(nx) * b;  // x, y, z indices
                for (int z = z_begin; z < z_end; ++z) {
                    const double dz = z - centre[2];
                    for (int y = r.y1; y < r.y2; ++y) {
                        const double dy = y - centre[1];
                        for (int a = 0; a < 3; ++a)
                            source_indices(s + a * nx, along_x.get() + a * nx, m[1][a] * dy, m[2][a] * dz, nx);
                        T* d = dst[z][y] + r.x1;
                        for (int x = 0; x < nx; ++x) {
                            const unsigned sx = s[x] - r.x1, sy = s[nx + x] - r.y1, sz = s[2 * nx + x] - r.z1;
                            const bool inside = sx < static_cast<unsigned>(nx) && sy < static_cast<unsigned>(ny) &&
                                                sz < static_cast<unsigned>(r.nz());
                            d[x] = inside ? static_cast<const T*>(rows[sz * static_cast<std::size_t>(ny) + sy])[sx] : T(0);
                        }
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
