// Resizing and interpolation: voxel-by-voxel references of every function on random volumes
// with VOIs and origins, where each source voxel lands, the described edge cases, check order.
#include <algorithm>
#include <cfloat>
#include <cmath>
#include <vector>

#include "core/parallel.h"
#include "tests/ops/voxel_grid.h"

namespace {

using t3d::Vol;
using t3d::Voxels;
using t3d::fill_binary;

int channels(const Volume* v) { return v->colortype == 1 ? 1 : 3; }

// Expected output when the n[0] x n[1] x n[2] block at the origin d takes, voxel by voxel, the
// source voxel src(p) (per axis, offset from the VOI's start); every other voxel keeps its value.
template <class Src> std::vector<double> mapped(Volume* in, Volume* out, const int d[3], const int n[3], Src src) {
    Voxels expected(out), source(in);
    for (int c = 0; c < channels(in); ++c)
        t3d::for_box({0, n[0], 0, n[1], 0, n[2]}, [&](int z, int y, int x) {
            expected.at(d[0] + z, d[1] + y, d[2] + x, c) =
                source.at(in->z1 + src(z), in->y1 + src(y), in->x1 + src(x), c);
        });
    return expected.v;
}

// ---- replication and decimation ----------------------------------------------------------

TEST(Resize, ZoomReplicatesEveryVoxelIntoItsBlock) {
    for (int f : {1, 2, 3})
        for (int colortype : {1, 2}) {
            Vol in(4, 5, 6, 1, colortype), out(3 * 3 + 2, 3 * 4 + 1, 3 * 5 + 3, 1, colortype);
            t3d::fill_random(in.get(), 1);
            t3d::fill_random(out.get(), 2);
            in.voi(1, 4, 0, 4, 1, 6);
            const int d[3] = {2, 1, 3}, n[3] = {3 * f, 4 * f, 5 * f};
            const auto expected = mapped(in.get(), out.get(), d, n, [f](int p) { return p / f; });
            ASSERT_EQ(zoom3d(in.get(), out.get(), f, 2, 1, 3), 0);
            EXPECT_EQ(t3d::snapshot(out.get()), expected) << "f " << f;
        }
}

TEST(Resize, DecimationTakesEveryFthVoxelAndKeepsItsBound) {
    // 9 x 7 x 5 at f = 2 fills 5 x 4 x 3; the bound counts 9 / 2 = 4 columns, so an output of
    // 4 x 3 x 2 passes and the last sample of each axis has no room; then a VOI and an origin
    struct Case {
        int f, size[3], voi[6], d[3], n[3];
    };
    const Case cases[] = {{2, {3, 4, 5}, {0, 5, 0, 7, 0, 9}, {0, 0, 0}, {3, 4, 5}},
                          {2, {2, 3, 4}, {0, 5, 0, 7, 0, 9}, {0, 0, 0}, {2, 3, 4}},
                          {3, {6, 6, 6}, {1, 5, 2, 7, 0, 9}, {1, 2, 3}, {2, 2, 3}}};
    for (const Case& k : cases) {
        Vol in(5, 7, 9), out(k.size[0], k.size[1], k.size[2]);
        t3d::fill_random(in.get(), 3);
        t3d::fill_random(out.get(), 4);
        in.voi(k.voi[0], k.voi[1], k.voi[2], k.voi[3], k.voi[4], k.voi[5]);
        const auto expected = mapped(in.get(), out.get(), k.d, k.n, [&k](int p) { return k.f * p; });
        ASSERT_EQ(decim3(in.get(), out.get(), k.f, k.d[0], k.d[1], k.d[2]), 0);
        EXPECT_EQ(t3d::snapshot(out.get()), expected) << "f " << k.f << " into " << k.size[2];
        if (k.size[0] == 2) EXPECT_EQ(decim3(in.get(), out.get(), 2, 1, 0, 0), -520);
    }
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
                    double& o = dst.at(rz.origin + n, ry.origin + m, rx.origin + i, c);
                    if (!linear) {
                        o = src.at(nearest_source(rz, n), nearest_source(ry, m), nearest_source(rx, i), c);
                        continue;
                    }
                    const Neighbours a = linear_source(rz, n), b = linear_source(ry, m),
                                     e = linear_source(rx, i);
                    auto along_x = [&](int z, int y) { return lerp(src.at(z, y, e.lo, c), src.at(z, y, e.hi, c), e.w); };
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

// Expected frame-linear output: count frames at d. An integral factor k blends VOI frames j and
// j + 1 as ((k - i) A + i B) / k rounded; otherwise frame n sits at n / ((count - 1) / (nz - 1.1)).
std::vector<double> frame_blend(Volume* in, Volume* out, int count, int k, const int d[3]) {
    Voxels expected(out), src(in);
    const int nz = in->z2 - in->z1;
    for (int c = 0; c < channels(in); ++c)
        t3d::for_box({0, count, in->y1, in->y2, in->x1, in->x2}, [&](int n, int y, int x) {
            auto frame = [&](int j) { return j < nz ? src.at(in->z1 + j, y, x, c) : 0.0; };
            double& o = expected.at(d[0] + n, d[1] + y - in->y1, d[2] + x - in->x1, c);
            if (k) {
                o = rounded((k - n % k) * frame(n / k) + n % k * frame(n / k + 1), k);
                return;
            }
            const double pos = n / ((count - 1) / ((nz - 1) - 0.1));
            const int j = static_cast<int>(pos);
            o = static_cast<int>((1 - (pos - j)) * frame(j) + (pos - j) * frame(j + 1) + 0.5);
        });
    return expected.v;
}

TEST(Resize, FrameLinearBlendsTheFramesAround) {
    // integral factors, given or derived from the output's Z (mode 1: (13 - 1) / (4 - 1) = 4),
    // and a non-integral one: trunc(4 * 1.6) = 6 frames
    struct Case {
        int mode, colortype;
        float fz;
        int k, count, d[3];
    };
    const Case cases[] = {{0, 2, 4.0f, 4, 13, {0, 2, 3}}, {1, 2, 4.0f, 4, 13, {0, 0, 0}},
                          {0, 1, 2.0f, 2, 7, {1, 0, 1}},  {0, 1, 1.6f, 0, 6, {1, 0, 0}}};
    for (const Case& k : cases) {
        Vol in(6, 3, 4, 1, k.colortype), out(13, 5, 6, 1, k.colortype);
        t3d::fill_random(in.get(), 6);
        t3d::fill_random(out.get(), 7);
        in.voi(1, 5, 0, 3, 1, 4);
        const auto expected = frame_blend(in.get(), out.get(), k.count, k.k, k.d);
        ASSERT_EQ(InterpolationFrameLinear3d(in.get(), out.get(), k.mode, k.fz, k.d[0], k.d[1], k.d[2]), 0);
        EXPECT_EQ(t3d::snapshot(out.get()), expected) << "mode " << k.mode << " factor " << k.fz;
    }
}

// ---- frame insertion ----------------------------------------------------------------------

// Expected insertion of k - 1 frames between VOI frames: copies at d + k j, then between(j, i,
// y, x) (VOI-relative) for the inserted frame i; a negative value leaves the voxel as it was.
template <class Between>
std::vector<double> inserted(Volume* in, Volume* out, int k, const int d[3], Between between) {
    Voxels dst(out), src(in);
    const int nz = in->z2 - in->z1;
    t3d::for_box({0, nz, 0, in->y2 - in->y1, 0, in->x2 - in->x1}, [&](int j, int y, int x) {
        dst.at(d[0] + k * j, d[1] + y, d[2] + x) = src.at(in->z1 + j, in->y1 + y, in->x1 + x);
        for (int i = 1; i < k && j + 1 < nz; ++i)
            if (between(j, i, y, x) >= 0) dst.at(d[0] + k * j + i, d[1] + y, d[2] + x) = between(j, i, y, x);
    });
    return dst.v;
}

TEST(Resize, ZeroPaddingInsertsClearedFrames) {
    Vol in(2, 3, 3), out(5, 4, 4);
    t3d::fill_random(in.get(), 9);
    t3d::fill_random(out.get(), 10);
    const int d[3] = {1, 1, 0};
    const auto expected = inserted(in.get(), out.get(), 3, d, [](int, int, int, int) { return 0.0; });
    ASSERT_EQ(FrameZeroPadding(in.get(), out.get(), 3, 1, 1, 0), 0);
    EXPECT_EQ(t3d::snapshot(out.get()), expected);
}

TEST(Resize, GreyInsertionAveragesTheBlendOverTheClippedNeighbourhood) {
    for (int k : {2, 3}) {
        Vol in(4, 6, 7), out(3 * 3 + 3, 8, 9);
        t3d::fill_random(in.get(), 11 + k);
        t3d::fill_random(out.get(), 12);
        in.voi(1, 4, 1, 6, 0, 5);
        Voxels src(in.get());
        const int d[3] = {2, 1, 3};
        const auto expected = inserted(in.get(), out.get(), k, d, [&](int j, int i, int y, int x) {
            double sum = 0;  // the 3 x 3 mean of ((k - i) A + i B) / k, clipped to the VOI
            int count = 0;
            t3d::for_box({in->z1 + j, in->z1 + j + 1, std::max(y - 1, 0) + in->y1, std::min(y + 2, in->y2 - in->y1) + in->y1,
                          std::max(x - 1, 0) + in->x1, std::min(x + 2, in->x2 - in->x1) + in->x1},
                         [&](int z, int v, int u) { sum += (k - i) * src.at(z, v, u) + i * src.at(z + 1, v, u), ++count; });
            return static_cast<double>(rounded(sum, k * count));
        });
        ASSERT_EQ(FrameInterpolationGrayscale(in.get(), out.get(), k, 2, 1, 3), 0);
        EXPECT_EQ(t3d::snapshot(out.get()), expected) << "k " << k;
    }
}

// Independent junction test: 0 -> 255 steps walking the ring of eight neighbours.
bool junction(Voxels& v, int z, int y, int x) {
    const int ring[8][2] = {{-1, -1}, {-1, 0}, {-1, 1}, {0, 1}, {1, 1}, {1, 0}, {1, -1}, {0, -1}};
    int steps = 0;
    for (int i = 0; i < 8; ++i) {
        const int *p = ring[i], *q = ring[(i + 1) % 8];
        steps += v.at(z, y + p[0], x + p[1]) == 0 && v.at(z, y + q[0], x + q[1]) == 255;
    }
    return steps >= 2;
}

TEST(Resize, BinaryInsertionFollowsTheJunctionRules) {
    for (int k : {2, 3})
        for (int density : {30, 50, 70}) {
            Vol in(5, 9, 10), out(4 * 3 + 2, 10, 12);
            fill_binary(in.get(), 20 + density + k, density);
            t3d::fill_random(out.get(), 21);
            in.voi(0, 5, 1, 9, 0, 9);
            Voxels src(in.get());
            const int d[3] = {1, 1, 2}, ny = in->y2 - in->y1, nx = in->x2 - in->x1;
            const auto expected = inserted(in.get(), out.get(), k, d, [&](int j, int i, int y, int x) {
                if (y == 0 || x == 0 || y + 1 == ny || x + 1 == nx) return -1.0;  // the border is left
                const int za = in->z1 + j, zb = za + 1, sy = in->y1 + y, sx = in->x1 + x;
                const double a = src.at(za, sy, sx), b = src.at(zb, sy, sx);
                const bool ja = junction(src, za, sy, sx), jb = junction(src, zb, sy, sx);
                if (a == b || (ja != jb)) return a == b || ja ? a : b;
                if (ja) return 0.0;
                double sum = 0;
                t3d::for_box({za, za + 1, sy - 1, sy + 2, sx - 1, sx + 2}, [&](int z, int v, int u) {
                    sum += (k - i) / double(k) * src.at(z, v, u) + i / double(k) * src.at(z + 1, v, u);
                });
                return sum / 9 > 140 ? 255.0 : 0.0;
            });
            ASSERT_EQ(FrameInterpolationBinary(in.get(), out.get(), k, 1, 1, 2, 0), 0);
            EXPECT_EQ(t3d::snapshot(out.get()), expected) << "k " << k << " density " << density;
        }
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

// Random VOIs, origins, factors and modes: every call returns a status and stays inside both
// volumes (the sanitizer build checks the second).
TEST(Resize, RandomParametersNeverReachOutside) {
    uint32_t s = 99;
    auto pick = [&](int n) { return static_cast<int>(t3d::next_random(s) % n); };
    const float factors[] = {0.1f, 0.5f, 0.7f, 1.0f, 1.5f, 2.0f, 3.0f, 2.5f, 0.0f, -1.0f};
    for (int round = 0; round < 400; ++round) {
        Vol in(1 + pick(6), 1 + pick(6), 1 + pick(6)), out(1 + pick(12), 1 + pick(12), 1 + pick(12));
        fill_binary(in.get(), round, 50);
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
