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

TEST(Resize, ZoomAndDecimationMapEveryVoxelToItsSource) {
    // zoom: each source voxel fills an f-block; decimation: 5 x 7 x 9 at f = 2 fills 3 x 4 x 5,
    // the bound counts 5 / 2 = 2 frames, so 2 x 3 x 4 passes and the last sample of each axis
    // has no room; then VOIs and origins
    struct Case {
        bool zoom;
        int f, colortype, size[3], voi[6], d[3], n[3];
    };
    const Case cases[] = {{true, 1, 1, {11, 13, 18}, {1, 4, 0, 4, 1, 6}, {2, 1, 3}, {3, 4, 5}},
                          {true, 2, 2, {11, 13, 18}, {1, 4, 0, 4, 1, 6}, {2, 1, 3}, {6, 8, 10}},
                          {true, 3, 1, {11, 13, 18}, {1, 4, 0, 4, 1, 6}, {2, 1, 3}, {9, 12, 15}},
                          {true, 3, 2, {11, 13, 18}, {1, 4, 0, 4, 1, 6}, {2, 1, 3}, {9, 12, 15}},
                          {false, 2, 1, {3, 4, 5}, {0, 5, 0, 7, 0, 9}, {0, 0, 0}, {3, 4, 5}},
                          {false, 2, 1, {2, 3, 4}, {0, 5, 0, 7, 0, 9}, {0, 0, 0}, {2, 3, 4}},
                          {false, 3, 2, {6, 6, 6}, {1, 5, 2, 7, 0, 9}, {1, 2, 3}, {2, 2, 3}}};
    for (const Case& k : cases) {
        Vol in(5, 7, 9, 1, k.colortype), out(k.size[0], k.size[1], k.size[2], 1, k.colortype);
        t3d::fill_random(in.get(), 3);
        t3d::fill_random(out.get(), 4);
        in.voi(k.voi[0], k.voi[1], k.voi[2], k.voi[3], k.voi[4], k.voi[5]);
        const auto expected = mapped(in.get(), out.get(), k.d, k.n, [&k](int p) { return k.zoom ? p / k.f : k.f * p; });
        ASSERT_EQ((k.zoom ? zoom3d : decim3)(in.get(), out.get(), k.f, k.d[0], k.d[1], k.d[2]), 0);
        EXPECT_EQ(t3d::snapshot(out.get()), expected) << (k.zoom ? "zoom " : "decimation ") << k.f;
        if (!k.zoom && k.size[0] == 2) {
            EXPECT_EQ(decim3(in.get(), out.get(), 2, 1, 0, 0), -520);
        }
    }
    // doubling 40 columns: whole 32-column steps and a tail, on one thread and two
    Vol in(3, 4, 45, 1, 2), out(8, 10, 90, 1, 2);
    t3d::fill_random(in.get(), 5);
    t3d::fill_random(out.get(), 6);
    in.voi(1, 3, 0, 4, 2, 42);
    const int d[3] = {1, 1, 5}, n[3] = {4, 8, 80};
    const auto expected = mapped(in.get(), out.get(), d, n, [](int p) { return p / 2; });
    for (int threads : {1, 2}) {
        v3d::set_thread_count(threads);
        ASSERT_EQ(zoom3d(in.get(), out.get(), 2, 1, 1, 5), 0);
        EXPECT_EQ(t3d::snapshot(out.get()), expected);
    }
    v3d::set_thread_count(0);
}

// ---- resampling by real factors ------------------------------------------------------------

// One axis: the VOI's run of source voxels and the target run (mode 0 truncates extent * factor
// in single precision and starts at the origin; other modes fill the whole axis).
struct Run {
    int first, extent, origin, count;
    Run(int z1, int z2, int mode, float factor, int d, int dim)
        : first(z1), extent(z2 - z1), origin(mode ? 0 : d),
          count(mode ? dim : static_cast<int>(static_cast<float>(z2 - z1) * factor)) {}
    int nearest(int n) const {
        const float step = extent < 2 ? FLT_MAX : static_cast<float>(count - 1) / (extent - 1);
        return step == 0.0f ? first : static_cast<int>(first + 0.5 + static_cast<float>(n) / step);
    }
    // The two source voxels around target n and the weight of the second.
    std::pair<int, float> linear(int n) const {
        if (extent < 2 || count < 2) return {first, 0.0f};
        const double pos = n * (((extent - 1) - 0.1) / (count - 1));
        const int j = static_cast<int>(std::floor(pos));
        return {first + j, static_cast<float>(pos - j)};
    }
};

float lerp(double a, double b, float w) { return (1.0f - w) * static_cast<float>(a) + w * static_cast<float>(b); }

// Expected output of a nearest (linear = false) or trilinear resampling, voxel by voxel.
std::vector<double> resampled(Volume* in, Volume* out, int mode, const float f[3], const int d[3], bool linear) {
    Voxels src(in), dst(out);
    const Run rz(in->z1, in->z2, mode, f[0], d[0], out->Z), ry(in->y1, in->y2, mode, f[1], d[1], out->Y),
        rx(in->x1, in->x2, mode, f[2], d[2], out->X);
    for (int c = 0; c < channels(in); ++c)
        t3d::for_box({0, rz.count, 0, ry.count, 0, rx.count}, [&](int n, int m, int i) {
            double& o = dst.at(rz.origin + n, ry.origin + m, rx.origin + i, c);
            if (!linear) {
                o = src.at(rz.nearest(n), ry.nearest(m), rx.nearest(i), c);
                return;
            }
            const auto a = rz.linear(n), b = ry.linear(m), e = rx.linear(i);
            // a weight of 0 (one-voxel axes) reads the first voxel twice
            auto along_x = [&](int z, int y) { return lerp(src.at(z, y, e.first, c), src.at(z, y, e.first + (e.second > 0), c), e.second); };
            auto along_y = [&](int z) { return lerp(along_x(z, b.first), along_x(z, b.first + (b.second > 0)), b.second); };
            o = static_cast<int>(lerp(along_y(a.first), along_y(a.first + (a.second > 0)), a.second) + 0.5f);
        });
    return dst.v;
}

TEST(Resize, ResamplingMatchesTheVoxelByVoxelDefinition) {
    // the last setup has a one-voxel axis (repeated) and truncates 10 * 0.7f in single
    // precision to 7 columns, the eighth left as it was
    struct Setup {
        int mode;
        float f[3];
        int d[3], colortype, z1 = 1, z2 = 9, x1 = 1;
    };
    const Setup setups[] = {
        {0, {2.0f, 2.0f, 2.0f}, {0, 0, 0}, 1},    {0, {1.7f, 0.6f, 2.3f}, {1, 2, 0}, 1},
        {0, {0.5f, 1.0f, 3.1f}, {0, 1, 2}, 2},    {1, {0.0f, 0.0f, 0.0f}, {9, 9, 9}, 1},
        {7, {-1.0f, 5.0f, 5.0f}, {-3, 0, 0}, 2},  {0, {4.0f, 3.0f, 0.7f}, {0, 1, 0}, 1, 4, 5, 0},
    };
    uint32_t seed = 10;
    for (bool linear : {false, true})
        for (const Setup& s : setups)
            for (int threads : {1, 2}) {
                Vol in(9, 7, 10, 1, s.colortype), out(20, 17, 33, 1, s.colortype);
                t3d::fill_random(in.get(), ++seed);
                t3d::fill_random(out.get(), ++seed);
                in.voi(s.z1, s.z2, 2, 7, s.x1, 10);
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

// A one-row volume holding the given values, and the values of a volume's first row.
void set_row(Vol& v, std::vector<int> values) {
    for (size_t x = 0; x < values.size(); ++x) v.uc(0, 0, static_cast<int>(x)) = static_cast<unsigned char>(values[x]);
}
std::vector<int> row_of(Vol& v, int z = 0) {
    std::vector<int> row;
    for (int x = 0; x < v->X; ++x) row.push_back(v.uc(z, 0, x));
    return row;
}

TEST(Resize, WhereEachSourceVoxelLands) {
    // three voxels to seven: the step is 3, voxel n takes round(n / 3)
    Vol in(1, 1, 3), out(1, 1, 7);
    set_row(in, {10, 20, 30});
    ASSERT_EQ(InterpolationNearestNeighbor3d(in.get(), out.get(), 1, 0, 0, 0, 0, 0, 0), 0);
    EXPECT_EQ(row_of(out), (std::vector<int>{10, 10, 20, 20, 20, 30, 30}));
    // trilinear, 0 10 20 to six voxels: positions 0, 0.38, 0.76, 1.14, 1.52, 1.9 (the 0.1
    // keeps the last below the last voxel)
    Vol ramp(1, 1, 3), wide(1, 1, 6);
    set_row(ramp, {0, 10, 20});
    ASSERT_EQ(InterpolationLinear3d(ramp.get(), wide.get(), 1, 0, 0, 0, 0, 0, 0), 0);
    EXPECT_EQ(row_of(wide), (std::vector<int>{0, 4, 8, 11, 15, 19}));
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
    t3d::for_box(t3d::whole_box(in.get()), [&](int z, int y, int x) { in.uc(z, y, x) = frames[z][y][x] == '#' ? 255 : 0; });
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
    t3d::for_box(t3d::whole_box(rings.get()), [&](int z, int y, int x) { rings.uc(z, y, x) = frames[0][y][x] == '#' && y < 6 ? 255 : 0; });
    ASSERT_EQ(FrameInterpolationBinary(rings.get(), between.get(), 2, 0, 0, 0, 1), 0);
    EXPECT_EQ(between.uc(1, 3, 3), 255);
    EXPECT_EQ(between.uc(1, 1, 1), 255);
    EXPECT_EQ(between.uc(1, 5, 5), 0);
    EXPECT_EQ(between.uc(0, 3, 3), 0);  // the copied frames are not filled
}

// ---- in-place calls and checks -------------------------------------------------------------

TEST(Resize, InPlaceCallsGiveTheResultOfSeparateVolumes) {
    using Call = int (*)(Volume*, Volume*);
    const Call calls[] = {
        [](Volume* in, Volume* out) { return zoom3d(in, out, 2, 1, 0, 1); },
        [](Volume* in, Volume* out) { return decim3(in, out, 2, 1, 1, 0); },
        [](Volume* in, Volume* out) { return InterpolationNearestNeighbor3d(in, out, 0, 1.5f, 1.2f, 1.0f, 0, 1, 1); },
        [](Volume* in, Volume* out) { return InterpolationLinear3d(in, out, 0, 1.5f, 1.2f, 1.0f, 0, 1, 1); },
        [](Volume* in, Volume* out) { return InterpolationFrameLinear3d(in, out, 0, 2.0f, 0, 1, 0); },
        [](Volume* in, Volume* out) { return FrameZeroPadding(in, out, 2, 1, 0, 0); },
        [](Volume* in, Volume* out) { return FrameInterpolationGrayscale(in, out, 2, 0, 2, 1); }};
    for (int which = 0; which < 7; ++which) {
        Vol in(12, 12, 12), out(12, 12, 12);
        t3d::fill_random(in.get(), 30 + which);
        t3d::fill_random(out.get(), 30 + which);
        in.voi(2, 6, 1, 6, 2, 7);
        ASSERT_EQ(calls[which](in.get(), out.get()), 0);
        ASSERT_EQ(calls[which](in.get(), in.get()), 0);
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
        EXPECT_EQ(op(in.get(), out.get(), 0, 1, 1, INFINITY, 0, 0, 0), -90);  // finite reals only
        EXPECT_EQ(op(in.get(), out.get(), 0, 1, 1, 1, 0, 0, 13), -520);
    }
    EXPECT_EQ(InterpolationFrameLinear3d(in.get(), rgb.get(), 0, 0, 0, 0, 0), -523);
    EXPECT_EQ(InterpolationFrameLinear3d(one.get(), out.get(), 0, 0, 0, 0, 0), -521);
    EXPECT_EQ(InterpolationFrameLinear3d(in.get(), out.get(), 0, 0, 0, 0, 0), -90);
    EXPECT_EQ(InterpolationFrameLinear3d(in.get(), out.get(), 0, INFINITY, 0, 0, 0), -90);
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
