// Resizing and interpolation: voxel-by-voxel references of every function on random volumes
// with VOIs and origins, where each source voxel lands, the described edge cases, check order.
#include <cfloat>
#include <cmath>
#include <vector>

#include "core/parallel.h"
#include "tests/support.h"

namespace {

using t3d::Vol;

// Every voxel of a volume, as snapshot() lists them: at(c, z, y, x).
struct Voxels {
    int Z, Y, X;
    std::vector<double> v;
    explicit Voxels(Volume* vol) : Z(vol->Z), Y(vol->Y), X(vol->X), v(t3d::snapshot(vol)) {}
    double& at(int c, int z, int y, int x) { return v[((static_cast<size_t>(c) * Z + z) * Y + y) * X + x]; }
};

int channels(const Volume* v) { return v->colortype == 1 ? 1 : 3; }

// ---- replication and decimation ----------------------------------------------------------

TEST(Resize, ZoomReplicatesEveryVoxelIntoItsBlock) {
    for (int f : {1, 2, 3})
        for (int colortype : {1, 2}) {
            Vol in(4, 5, 6, 1, colortype), out(3 * 3 + 2, 3 * 4 + 1, 3 * 5 + 3, 1, colortype);
            t3d::fill_random(in.get(), 1);
            t3d::fill_random(out.get(), 2);
            in.voi(1, 4, 0, 4, 1, 6);
            Voxels expected(out.get()), source(in.get());
            for (int c = 0; c < channels(in.get()); ++c)
                for (int z = 0; z < 3 * f; ++z)
                    for (int y = 0; y < 4 * f; ++y)
                        for (int x = 0; x < 5 * f; ++x)
                            expected.at(c, 2 + z, 1 + y, 3 + x) = source.at(c, 1 + z / f, y / f, 1 + x / f);
            ASSERT_EQ(zoom3d(in.get(), out.get(), f, 2, 1, 3), 0);
            EXPECT_EQ(t3d::snapshot(out.get()), expected.v) << "f " << f;
        }
}

TEST(Resize, DecimationTakesEveryFthVoxelAndKeepsItsBound) {
    Vol in(5, 7, 9), wide(3, 4, 5), tight(2, 3, 4);
    t3d::fill_random(in.get(), 3);
    // ceil(5 / 2) = 3 frames, ceil(7 / 2) = 4 rows, ceil(9 / 2) = 5 columns
    ASSERT_EQ(decim3(in.get(), wide.get(), 2, 0, 0, 0), 0);
    for (int z = 0; z < 3; ++z)
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 5; ++x) ASSERT_EQ(wide.uc(z, y, x), in.uc(2 * z, 2 * y, 2 * x));
    // the bound counts 5 / 2 = 2 frames: an output of 2 x 3 x 4 passes, the last samples of
    // each axis have no room and are not written
    ASSERT_EQ(decim3(in.get(), tight.get(), 2, 0, 0, 0), 0);
    for (int z = 0; z < 2; ++z)
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < 4; ++x) ASSERT_EQ(tight.uc(z, y, x), in.uc(2 * z, 2 * y, 2 * x));
    EXPECT_EQ(decim3(in.get(), tight.get(), 2, 1, 0, 0), -520);
    // with a VOI and an origin
    Vol out(6, 6, 6);
    t3d::fill_random(out.get(), 4);
    in.voi(1, 5, 2, 7, 0, 9);
    Voxels expected(out.get()), source(in.get());
    for (int z = 0; z < 2; ++z)
        for (int y = 0; y < 2; ++y)
            for (int x = 0; x < 3; ++x) expected.at(0, 1 + z, 2 + y, 3 + x) = source.at(0, 1 + 3 * z, 2 + 3 * y, 3 * x);
    ASSERT_EQ(decim3(in.get(), out.get(), 3, 1, 2, 3), 0);
    EXPECT_EQ(t3d::snapshot(out.get()), expected.v);
}

// ---- resampling by real factors ------------------------------------------------------------

// Target run of one axis: mode 0 truncates extent * factor in single precision.
struct Run {
    int first, extent, origin, count;
};
Run run_of(int first, int extent, int mode, float factor, int origin, int dim) {
    if (mode != 0) return {first, extent, 0, dim};
    const float n = static_cast<float>(extent) * factor;
    return {first, extent, origin, static_cast<int>(n)};
}

int nearest_source(const Run& r, int n) {
    const float step = r.extent < 2 ? FLT_MAX : static_cast<float>(r.count - 1) / (r.extent - 1);
    if (step == 0.0f) return r.first;
    return static_cast<int>(r.first + 0.5 + static_cast<float>(n) / step);
}

struct Neighbours {
    int lo, hi;
    float w;
};
Neighbours linear_source(const Run& r, int n) {
    if (r.extent < 2 || r.count < 2) return {r.first, r.first, 0.0f};
    const double pos = n * (((r.extent - 1) - 0.1) / (r.count - 1));
    const int j = static_cast<int>(std::floor(pos));
    return {r.first + j, r.first + j + 1, static_cast<float>(pos - j)};
}

float lerp(double a, double b, float w) {
    return (1.0f - w) * static_cast<float>(a) + w * static_cast<float>(b);
}

// Expected output of a nearest (linear = false) or trilinear resampling, voxel by voxel.
std::vector<double> resampled(Volume* in, Volume* out, int mode, const float f[3], const int d[3],
                              bool linear) {
    Voxels src(in), dst(out);
    const Run rz = run_of(in->z1, in->z2 - in->z1, mode, f[0], d[0], out->Z);
    const Run ry = run_of(in->y1, in->y2 - in->y1, mode, f[1], d[1], out->Y);
    const Run rx = run_of(in->x1, in->x2 - in->x1, mode, f[2], d[2], out->X);
    for (int c = 0; c < channels(in); ++c)
        for (int n = 0; n < rz.count; ++n)
            for (int m = 0; m < ry.count; ++m)
                for (int i = 0; i < rx.count; ++i) {
                    double& o = dst.at(c, rz.origin + n, ry.origin + m, rx.origin + i);
                    if (!linear) {
                        o = src.at(c, nearest_source(rz, n), nearest_source(ry, m), nearest_source(rx, i));
                        continue;
                    }
                    const Neighbours a = linear_source(rz, n), b = linear_source(ry, m),
                                     e = linear_source(rx, i);
                    auto along_x = [&](int z, int y) { return lerp(src.at(c, z, y, e.lo), src.at(c, z, y, e.hi), e.w); };
                    auto along_y = [&](int z) { return lerp(along_x(z, b.lo), along_x(z, b.hi), b.w); };
                    o = static_cast<int>(lerp(along_y(a.lo), along_y(a.hi), a.w) + 0.5f);
                }
    return dst.v;
}

TEST(Resize, ResamplingMatchesTheVoxelByVoxelDefinition) {
    struct Setup {
        int mode;
        float f[3];
        int d[3];
        int colortype;
    };
    const Setup setups[] = {
        {0, {2.0f, 2.0f, 2.0f}, {0, 0, 0}, 1},    {0, {1.7f, 0.6f, 2.3f}, {1, 2, 0}, 1},
        {0, {0.5f, 1.0f, 3.1f}, {0, 1, 2}, 2},    {1, {0.0f, 0.0f, 0.0f}, {9, 9, 9}, 1},
        {7, {-1.0f, 5.0f, 5.0f}, {-3, 0, 0}, 2},
    };
    uint32_t seed = 10;
    for (bool linear : {false, true})
        for (const Setup& s : setups)
            for (int threads : {1, 2}) {
                Vol in(9, 7, 10, 1, s.colortype), out(20, 17, 33, 1, s.colortype);
                t3d::fill_random(in.get(), ++seed);
                t3d::fill_random(out.get(), ++seed);
                in.voi(1, 9, 2, 7, 1, 10);
                const std::vector<double> expected = resampled(in.get(), out.get(), s.mode, s.f, s.d, linear);
                auto op = linear ? InterpolationLinear3d : InterpolationNearestNeighbor3d;
                v3d::set_thread_count(threads);
                const int status = op(in.get(), out.get(), s.mode, s.f[0], s.f[1], s.f[2], s.d[0], s.d[1], s.d[2]);
                v3d::set_thread_count(0);
                ASSERT_EQ(status, 0);
                EXPECT_EQ(t3d::snapshot(out.get()), expected)
                    << (linear ? "linear" : "nearest") << " mode " << s.mode << " factors " << s.f[0];
            }
}

TEST(Resize, WhereEachSourceVoxelLands) {
    // three voxels to seven: the step is 3, voxel n takes round(n / 3)
    Vol in(1, 1, 3), out(1, 1, 7);
    in.uc(0, 0, 0) = 10, in.uc(0, 0, 1) = 20, in.uc(0, 0, 2) = 30;
    ASSERT_EQ(InterpolationNearestNeighbor3d(in.get(), out.get(), 1, 0, 0, 0, 0, 0, 0), 0);
    const int nearest[7] = {10, 10, 20, 20, 20, 30, 30};
    for (int x = 0; x < 7; ++x) EXPECT_EQ(out.uc(0, 0, x), nearest[x]) << x;
    // a one-voxel axis repeats its voxel
    Vol column(1, 1, 1), row(4, 1, 5);
    column.uc(0, 0, 0) = 77;
    ASSERT_EQ(InterpolationNearestNeighbor3d(column.get(), row.get(), 0, 4.0f, 1.0f, 5.0f, 0, 0, 0), 0);
    for (int z = 0; z < 4; ++z)
        for (int x = 0; x < 5; ++x) EXPECT_EQ(row.uc(z, 0, x), 77);
    ASSERT_EQ(InterpolationLinear3d(column.get(), row.get(), 1, 0, 0, 0, 0, 0, 0), 0);
    EXPECT_EQ(row.uc(3, 0, 4), 77);
    // trilinear, 0 10 20 to six voxels: positions 0, 0.38, 0.76, 1.14, 1.52, 1.9 (the 0.1
    // keeps the last below the last voxel)
    Vol ramp(1, 1, 3), wide(1, 1, 6);
    ramp.uc(0, 0, 1) = 10, ramp.uc(0, 0, 2) = 20;
    ASSERT_EQ(InterpolationLinear3d(ramp.get(), wide.get(), 1, 0, 0, 0, 0, 0, 0), 0);
    const int linear[6] = {0, 4, 8, 11, 15, 19};
    for (int x = 0; x < 6; ++x) EXPECT_EQ(wide.uc(0, 0, x), linear[x]) << x;
    // mode 0 truncates 10 * 0.7f in single precision: 7 voxels; the eighth stays as it was
    Vol ten(1, 1, 10), seven(1, 1, 8);
    seven.uc(0, 0, 7) = 99;
    ASSERT_EQ(InterpolationNearestNeighbor3d(ten.get(), seven.get(), 0, 1.0f, 1.0f, 0.7f, 0, 0, 0), 0);
    EXPECT_EQ(seven.uc(0, 0, 7), 99);
}

// ---- resampling along Z -------------------------------------------------------------------

// floor(num / den + 0.5)
int rounded(double num, double den) { return static_cast<int>(std::floor(num / den + 0.5)); }

TEST(Resize, FrameLinearBlendsTheFramesAround) {
    // fz = 2 on three frames: five frames, the new ones the rounded means
    Vol in(3, 2, 2), out(5, 2, 2);
    t3d::fill_random(in.get(), 5);
    ASSERT_EQ(InterpolationFrameLinear3d(in.get(), out.get(), 0, 2.0f, 0, 0, 0), 0);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 2; ++x) {
            EXPECT_EQ(out.uc(0, y, x), in.uc(0, y, x));
            EXPECT_EQ(out.uc(1, y, x), rounded(in.uc(0, y, x) + in.uc(1, y, x), 2));
            EXPECT_EQ(out.uc(2, y, x), in.uc(1, y, x));
            EXPECT_EQ(out.uc(3, y, x), rounded(in.uc(1, y, x) + in.uc(2, y, x), 2));
            EXPECT_EQ(out.uc(4, y, x), in.uc(2, y, x));
        }
    // integral factors, given or derived from the output's Z (mode 1: (13 - 1) / (4 - 1) = 4)
    Vol four(6, 3, 4, 1, 2), big(13, 5, 6, 1, 2);
    t3d::fill_random(four.get(), 6);
    four.voi(1, 5, 0, 3, 1, 4);
    for (int mode : {0, 1}) {
        t3d::fill_random(big.get(), 7);
        Voxels expected(big.get()), src(four.get());
        const int dy = mode ? 0 : 2, dx = mode ? 0 : 3;
        for (int c = 0; c < 3; ++c)
            for (int n = 0; n < 13; ++n)
                for (int y = 0; y < 3; ++y)
                    for (int x = 0; x < 3; ++x) {
                        const int j = n / 4, i = n % 4;
                        const double a = src.at(c, 1 + j, y, 1 + x), b = i ? src.at(c, 2 + j, y, 1 + x) : 0;
                        expected.at(c, n, dy + y, dx + x) = rounded((4 - i) * a + i * b, 4);
                    }
        ASSERT_EQ(InterpolationFrameLinear3d(four.get(), big.get(), mode, 4.0f, 0, dy, dx), 0);
        EXPECT_EQ(t3d::snapshot(big.get()), expected.v) << "mode " << mode;
    }
    // a non-integral factor: trunc(4 * 1.6) = 6 frames, positions n / (5 / 2.9)
    Vol six(7, 3, 4);
    t3d::fill_random(six.get(), 8);
    Vol grey(6, 3, 4);
    t3d::fill_random(grey.get(), 6);
    grey.voi(1, 5, 0, 3, 1, 4);
    Voxels expected(six.get()), grey_src(grey.get());
    for (int n = 0; n < 6; ++n) {
        const double pos = n / (5 / 2.9);
        const int j = static_cast<int>(pos);
        const double t = pos - j;
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < 3; ++x)
                expected.at(0, 1 + n, y, x) = static_cast<int>(
                    (1 - t) * grey_src.at(0, 1 + j, y, 1 + x) + t * grey_src.at(0, 2 + j, y, 1 + x) + 0.5);
    }
    ASSERT_EQ(InterpolationFrameLinear3d(grey.get(), six.get(), 0, 1.6f, 1, 0, 0), 0);
    EXPECT_EQ(t3d::snapshot(six.get()), expected.v);
}

// ---- frame insertion ----------------------------------------------------------------------

TEST(Resize, ZeroPaddingInsertsClearedFrames) {
    Vol in(2, 3, 3), out(5, 4, 4);
    t3d::fill_random(in.get(), 9, 255);
    for (int z = 0; z < 2; ++z)
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < 3; ++x) ++in.uc(z, y, x);  // nothing 0
    t3d::fill_random(out.get(), 10);
    Voxels expected(out.get()), src(in.get());
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 3; ++x) {
            expected.at(0, 1, 1 + y, x) = src.at(0, 0, y, x);
            expected.at(0, 2, 1 + y, x) = expected.at(0, 3, 1 + y, x) = 0;
            expected.at(0, 4, 1 + y, x) = src.at(0, 1, y, x);
        }
    ASSERT_EQ(FrameZeroPadding(in.get(), out.get(), 3, 1, 1, 0), 0);
    EXPECT_EQ(t3d::snapshot(out.get()), expected.v);
}

// Expected grey insertion: copies, then the clipped 3 x 3 mean of ((k - i) A + i B) / k.
std::vector<double> grey_insertion(Volume* in, Volume* out, int k, int dz, int dy, int dx) {
    Voxels src(in), dst(out);
    const int nz = in->z2 - in->z1, ny = in->y2 - in->y1, nx = in->x2 - in->x1;
    auto a = [&](int j, int y, int x) { return src.at(0, in->z1 + j, in->y1 + y, in->x1 + x); };
    for (int j = 0; j < nz; ++j)
        for (int y = 0; y < ny; ++y)
            for (int x = 0; x < nx; ++x) {
                dst.at(0, dz + k * j, dy + y, dx + x) = a(j, y, x);
                if (j + 1 == nz) continue;
                for (int i = 1; i < k; ++i) {
                    double sum = 0;
                    int count = 0;
                    for (int v = y - 1; v <= y + 1; ++v)
                        for (int u = x - 1; u <= x + 1; ++u)
                            if (v >= 0 && v < ny && u >= 0 && u < nx) {
                                sum += (k - i) * a(j, v, u) + i * a(j + 1, v, u);
                                ++count;
                            }
                    dst.at(0, dz + k * j + i, dy + y, dx + x) = rounded(sum, k * count);
                }
            }
    return dst.v;
}

TEST(Resize, GreyInsertionAveragesTheBlendOverTheClippedNeighbourhood) {
    for (int k : {2, 3}) {
        Vol in(4, 6, 7), out(3 * 3 + 3, 8, 9);
        t3d::fill_random(in.get(), 11 + k);
        t3d::fill_random(out.get(), 12);
        in.voi(1, 4, 1, 6, 0, 5);
        const std::vector<double> expected = grey_insertion(in.get(), out.get(), k, 2, 1, 3);
        ASSERT_EQ(FrameInterpolationGrayscale(in.get(), out.get(), k, 2, 1, 3), 0);
        EXPECT_EQ(t3d::snapshot(out.get()), expected) << "k " << k;
    }
    // an edge voxel divides by 6: (A = 1 everywhere, B = 2 everywhere) at k = 2 gives 1.5 -> 2
    Vol flat(2, 3, 3), mid(3, 3, 3);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 3; ++x) flat.uc(0, y, x) = 1, flat.uc(1, y, x) = 2;
    ASSERT_EQ(FrameInterpolationGrayscale(flat.get(), mid.get(), 2, 0, 0, 0), 0);
    EXPECT_EQ(mid.uc(1, 0, 1), 2);
    EXPECT_EQ(mid.uc(1, 1, 1), 2);
}

// Independent junction test: 0 -> 255 steps walking the ring of eight neighbours.
bool junction(Voxels& v, int z, int y, int x) {
    const int ring[8][2] = {{-1, -1}, {-1, 0}, {-1, 1}, {0, 1}, {1, 1}, {1, 0}, {1, -1}, {0, -1}};
    int steps = 0;
    for (int i = 0; i < 8; ++i) {
        const int* p = ring[i];
        const int* q = ring[(i + 1) % 8];
        steps += v.at(0, z, y + p[0], x + p[1]) == 0 && v.at(0, z, y + q[0], x + q[1]) == 255;
    }
    return steps >= 2;
}

// Expected binary insertion without the fill.
std::vector<double> binary_insertion(Volume* in, Volume* out, int k, int dz, int dy, int dx) {
    Voxels src(in), dst(out);
    const int nz = in->z2 - in->z1, ny = in->y2 - in->y1, nx = in->x2 - in->x1;
    for (int j = 0; j < nz; ++j)
        for (int y = 0; y < ny; ++y)
            for (int x = 0; x < nx; ++x) dst.at(0, dz + k * j, dy + y, dx + x) = src.at(0, in->z1 + j, in->y1 + y, in->x1 + x);
    for (int j = 0; j + 1 < nz; ++j)
        for (int y = 1; y + 1 < ny; ++y)
            for (int x = 1; x + 1 < nx; ++x) {
                const int za = in->z1 + j, zb = za + 1, sy = in->y1 + y, sx = in->x1 + x;
                const double a = src.at(0, za, sy, sx), b = src.at(0, zb, sy, sx);
                const bool ja = junction(src, za, sy, sx), jb = junction(src, zb, sy, sx);
                for (int i = 1; i < k; ++i) {
                    double v;
                    if (a == b) v = a;
                    else if (ja && jb) v = 0;
                    else if (jb) v = b;
                    else if (ja) v = a;
                    else {
                        double sum = 0;
                        for (int p = -1; p <= 1; ++p)
                            for (int q = -1; q <= 1; ++q)
                                sum += (k - i) / double(k) * src.at(0, za, sy + p, sx + q) +
                                       i / double(k) * src.at(0, zb, sy + p, sx + q);
                        v = sum / 9 > 140 ? 255 : 0;
                    }
                    dst.at(0, dz + k * j + i, dy + y, dx + x) = v;
                }
            }
    return dst.v;
}

void fill_binary(Volume* v, uint32_t seed, int percent) {
    uint32_t s = seed * 747796405u + 1u;
    for (int z = 0; z < v->Z; ++z)
        for (int y = 0; y < v->Y; ++y)
            for (int x = 0; x < v->X; ++x)
                v->data[0].uc[z][y][x] = t3d::next_random(s) % 100 < static_cast<uint32_t>(percent) ? 255 : 0;
}

TEST(Resize, BinaryInsertionFollowsTheJunctionRules) {
    for (int k : {2, 3})
        for (int density : {30, 50, 70}) {
            Vol in(5, 9, 10), out(4 * 3 + 2, 10, 12);
            fill_binary(in.get(), 20 + density + k, density);
            t3d::fill_random(out.get(), 21);
            in.voi(0, 5, 1, 9, 0, 9);
            const std::vector<double> expected = binary_insertion(in.get(), out.get(), k, 1, 1, 2);
            ASSERT_EQ(FrameInterpolationBinary(in.get(), out.get(), k, 1, 1, 2, 0), 0);
            EXPECT_EQ(t3d::snapshot(out.get()), expected) << "k " << k << " density " << density;
        }
    // identical frames are reproduced
    Vol same(2, 6, 6), out(3, 6, 6);
    fill_binary(same.get(), 5, 50);
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 6; ++x) same.uc(1, y, x) = same.uc(0, y, x);
    ASSERT_EQ(FrameInterpolationBinary(same.get(), out.get(), 2, 0, 0, 0, 0), 0);
    for (int y = 1; y < 5; ++y)
        for (int x = 1; x < 5; ++x) EXPECT_EQ(out.uc(1, y, x), same.uc(0, y, x));
    // only A a junction (a diagonal line through the pixel): the new frame takes A's value
    Vol pair(2, 3, 3), mid(3, 3, 3);
    pair.uc(0, 0, 0) = pair.uc(0, 1, 1) = pair.uc(0, 2, 2) = 255;
    ASSERT_EQ(FrameInterpolationBinary(pair.get(), mid.get(), 2, 0, 0, 0, 0), 0);
    EXPECT_EQ(mid.uc(1, 1, 1), 255);
    pair.uc(1, 0, 0) = pair.uc(1, 2, 2) = 255;  // both junctions: 0
    pair.uc(1, 1, 1) = 0, pair.uc(0, 1, 1) = 255;
    ASSERT_EQ(FrameInterpolationBinary(pair.get(), mid.get(), 2, 0, 0, 0, 0), 0);
    EXPECT_EQ(mid.uc(1, 1, 1), 0);
}

TEST(Resize, ObjectFillFillsWhatTheBackgroundCannotReach) {
    // per frame: a closed square ring, a ring with a gap in its side, a ring with only
    // diagonal contact at one corner (the background moves in four directions)
    const char* frames[3][7] = {
        {".......", ".#####.", ".#...#.", ".#...#.", ".#####.", ".......", "#......"},
        {".......", ".#####.", ".#...#.", ".#.....", ".#####.", ".......", "......."},
        {".......", ".####..", ".#...#.", ".#...#.", ".#####.", ".......", "......."},
    };
        const bool filled[3] = {true, false, true};
    Vol in(3, 7, 7), out(3, 7, 7);
    for (int z = 0; z < 3; ++z)
        for (int y = 0; y < 7; ++y)
            for (int x = 0; x < 7; ++x) in.uc(z, y, x) = frames[z][y][x] == '#' ? 255 : 0;
    ASSERT_EQ(FrameContourObjectFill(in.get(), out.get()), 0);
    for (int z = 0; z < 3; ++z) {
        EXPECT_EQ(out.uc(z, 2, 3), filled[z] ? 255 : 0) << "frame " << z;
        EXPECT_EQ(out.uc(z, 1, 1), 255);
        EXPECT_EQ(out.uc(z, 5, 5), 0);
    }
    EXPECT_EQ(out.uc(0, 6, 0), 255);  // an object on the border stays
    // in place, and over a VOI: the VOI's border is where the background starts
    in.voi(0, 3, 2, 5, 2, 5);  // inside the rings: all background
    ASSERT_EQ(FrameContourObjectFill(in.get(), in.get()), 0);
    EXPECT_EQ(in.uc(0, 2, 3), 0);
    EXPECT_EQ(in.uc(0, 1, 1), 255);
    // the fill of binary insertion: two equal rings give a filled ring between them
    Vol rings(2, 7, 7), between(3, 7, 7);
    for (int z = 0; z < 2; ++z)
        for (int y = 0; y < 7; ++y)
            for (int x = 0; x < 7; ++x) rings.uc(z, y, x) = frames[0][y][x] == '#' && y < 6 ? 255 : 0;
    ASSERT_EQ(FrameInterpolationBinary(rings.get(), between.get(), 2, 0, 0, 0, 1), 0);
    EXPECT_EQ(between.uc(1, 3, 3), 255);
    EXPECT_EQ(between.uc(1, 1, 1), 255);
    EXPECT_EQ(between.uc(1, 5, 5), 0);
    EXPECT_EQ(between.uc(0, 3, 3), 0);  // the copied frames are not filled
}

// ---- in-place calls and checks -------------------------------------------------------------

TEST(Resize, InPlaceCallsGiveTheResultOfSeparateVolumes) {
    auto run = [](Volume* in, Volume* out, int which) {
        switch (which) {
            case 0: return zoom3d(in, out, 2, 1, 0, 1);
            case 1: return decim3(in, out, 2, 1, 1, 0);
            case 2: return InterpolationNearestNeighbor3d(in, out, 0, 1.5f, 1.2f, 1.0f, 0, 1, 1);
            case 3: return InterpolationLinear3d(in, out, 0, 1.5f, 1.2f, 1.0f, 0, 1, 1);
            case 4: return InterpolationFrameLinear3d(in, out, 0, 2.0f, 0, 1, 0);
            case 5: return FrameZeroPadding(in, out, 2, 1, 0, 0);
            default: return FrameInterpolationGrayscale(in, out, 2, 0, 2, 1);
        }
    };
    for (int which = 0; which < 7; ++which) {
        Vol in(12, 12, 12), out(12, 12, 12);
        t3d::fill_random(in.get(), 30 + which);
        t3d::fill_random(out.get(), 30 + which);
        in.voi(2, 6, 1, 6, 2, 7);
        ASSERT_EQ(run(in.get(), out.get(), which), 0);
        ASSERT_EQ(run(in.get(), in.get(), which), 0);
        EXPECT_EQ(t3d::snapshot(in.get()), t3d::snapshot(out.get())) << which;
    }
}

TEST(Resize, ChecksComeInOrderAndWriteNothing) {
    Vol in(3, 4, 4), out(12, 16, 16), rgb(12, 16, 16, 1, 2), f(3, 4, 4, 2), grey(3, 4, 4), one(1, 4, 4);
    t3d::fill_random(out.get(), 40);
    grey.uc(1, 1, 1) = 7;
    const std::vector<double> before = t3d::snapshot(out.get());
    // volumes, then colour type, then parameters, then extents
    EXPECT_EQ(zoom3d(nullptr, out.get(), 2, 0, 0, 0), -501);
    EXPECT_EQ(zoom3d(f.get(), out.get(), 2, 0, 0, 0), -502);
    EXPECT_EQ(zoom3d(in.get(), rgb.get(), 0, 0, 0, 0), -523);
    EXPECT_EQ(zoom3d(in.get(), out.get(), 0, 0, 0, 0), -90);
    EXPECT_EQ(zoom3d(in.get(), out.get(), 2, 0, -1, 99), -90);
    EXPECT_EQ(zoom3d(in.get(), out.get(), 5, 0, 0, 0), -520);
    EXPECT_EQ(zoom3d(in.get(), out.get(), 4, 1, 0, 0), -520);
    EXPECT_EQ(decim3(in.get(), rgb.get(), 0, 0, 0, 0), -523);
    EXPECT_EQ(decim3(in.get(), out.get(), 0, 0, 0, 0), -90);
    EXPECT_EQ(decim3(in.get(), out.get(), 1, 10, 0, 0), -520);
    for (auto op : {InterpolationNearestNeighbor3d, InterpolationLinear3d}) {
        EXPECT_EQ(op(in.get(), rgb.get(), 0, 0, 1, 1, 0, 0, 0), -523);
        EXPECT_EQ(op(in.get(), out.get(), 0, 1, 0, 1, 0, 0, 99), -90);
        EXPECT_EQ(op(in.get(), out.get(), 0, 1, NAN, 1, 0, 0, 0), -90);
        EXPECT_EQ(op(in.get(), out.get(), 0, 1, 1, 1, 0, 0, -1), -90);
        EXPECT_EQ(op(in.get(), out.get(), 0, 1, 1, 4.3f, 0, 0, 0), -520);
        EXPECT_EQ(op(in.get(), out.get(), 0, 1, 1, 1e30f, 0, 0, 0), -520);
        EXPECT_EQ(op(in.get(), out.get(), 0, 1, 1, 1, 0, 0, 13), -520);
    }
    EXPECT_EQ(InterpolationFrameLinear3d(in.get(), rgb.get(), 0, 0, 0, 0, 0), -523);
    EXPECT_EQ(InterpolationFrameLinear3d(one.get(), out.get(), 0, 0, 0, 0, 0), -521);
    EXPECT_EQ(InterpolationFrameLinear3d(in.get(), out.get(), 0, 0, 0, 0, 0), -90);
    EXPECT_EQ(InterpolationFrameLinear3d(in.get(), out.get(), 0, 6.0f, 0, 0, 0), -520);
    EXPECT_EQ(InterpolationFrameLinear3d(in.get(), out.get(), 0, 5.0f, 2, 0, 0), -520);
    EXPECT_EQ(InterpolationFrameLinear3d(in.get(), out.get(), 0, 2.0f, 0, 0, 13), -520);
    EXPECT_EQ(FrameZeroPadding(in.get(), rgb.get(), 2, 0, 0, 0), -503);
    EXPECT_EQ(FrameZeroPadding(in.get(), out.get(), 1, 0, 0, 0), -90);
    EXPECT_EQ(FrameZeroPadding(in.get(), out.get(), 6, 0, 0, 0), -520);
    EXPECT_EQ(FrameInterpolationGrayscale(in.get(), out.get(), 4, 0, 0, 0), -90);
    EXPECT_EQ(FrameInterpolationGrayscale(in.get(), out.get(), 3, 0, 13, 0), -520);
    EXPECT_EQ(FrameInterpolationBinary(in.get(), out.get(), 2, 0, 0, 0, 2), -90);
    EXPECT_EQ(FrameInterpolationBinary(grey.get(), out.get(), 4, 0, 0, 0, 0), -90);
    EXPECT_EQ(FrameInterpolationBinary(grey.get(), out.get(), 3, 7, 0, 0, 0), -520);
    EXPECT_EQ(FrameInterpolationBinary(grey.get(), out.get(), 3, 0, 0, 0, 1), -535);
    EXPECT_EQ(FrameContourObjectFill(in.get(), rgb.get()), -503);
    EXPECT_EQ(FrameContourObjectFill(out.get(), in.get()), -520);
    EXPECT_EQ(t3d::snapshot(out.get()), before);
}

}  // namespace

namespace {

// Random VOIs, origins, factors and modes: every call returns a status and stays inside both
// volumes (the sanitizer build checks the second).
TEST(Resize, RandomParametersNeverReachOutside) {
    uint32_t s = 99;
    auto pick = [&](int n) { return static_cast<int>(t3d::next_random(s) % n); };
    const float factors[] = {0.1f, 0.5f, 0.7f, 1.0f, 1.5f, 2.0f, 3.0f, 2.5f, 0.0f, -1.0f};
    for (int round = 0; round < 400; ++round) {
        Vol in(1 + pick(6), 1 + pick(6), 1 + pick(6)), out(1 + pick(12), 1 + pick(12), 1 + pick(12));
        t3d::fill_random(in.get(), round, 2);
        for (int z = 0; z < in->Z; ++z)
            for (int y = 0; y < in->Y; ++y)
                for (int x = 0; x < in->X; ++x) in.uc(z, y, x) *= 255;
        const int z1 = pick(in->Z), y1 = pick(in->Y), x1 = pick(in->X);
        in.voi(z1, z1 + 1 + pick(in->Z - z1), y1, y1 + 1 + pick(in->Y - y1), x1, x1 + 1 + pick(in->X - x1));
        const int f = pick(4), k = 1 + pick(3), dz = pick(4) - 1, dy = pick(3), dx = pick(3), mode = pick(3) == 0;
        const float fz = factors[pick(10)], fy = factors[pick(10)], fx = factors[pick(10)];
        const int statuses[] = {
            zoom3d(in.get(), out.get(), f, dz, dy, dx),
            decim3(in.get(), out.get(), f, dz, dy, dx),
            InterpolationNearestNeighbor3d(in.get(), out.get(), mode, fz, fy, fx, dz, dy, dx),
            InterpolationLinear3d(in.get(), out.get(), mode, fz, fy, fx, dz, dy, dx),
            InterpolationFrameLinear3d(in.get(), out.get(), mode, fz, dz, dy, dx),
            FrameZeroPadding(in.get(), out.get(), k, dz, dy, dx),
            FrameInterpolationGrayscale(in.get(), out.get(), k, dz, dy, dx),
            FrameInterpolationBinary(in.get(), out.get(), k, dz, dy, dx, pick(2)),
            FrameContourObjectFill(in.get(), out.get()),
        };
        for (int status : statuses) ASSERT_LE(status, 0);
    }
}

}  // namespace
