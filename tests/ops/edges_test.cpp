// Edge detection against brute-force references written from the operator definitions.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <set>
#include <vector>

#include "core/parallel.h"
#include "support.h"

namespace {

using t3d::Vol;
using UC = unsigned char;
using Reference = std::function<int(Vol&, int, int, int)>;

// ---- references ---------------------------------------------------------------------------

// A derivative along axis (0 = z, 1 = y, 2 = x): the planes at +1 and -1 along it, weighted
// 3 on the axis, 2 off it in one direction, 1 in a corner.
int sobel_derivative(Vol& v, int z, int y, int x, int axis) {
    int g = 0;
    for (int dz = -1; dz <= 1; ++dz)
        for (int dy = -1; dy <= 1; ++dy)
            for (int dx = -1; dx <= 1; ++dx) {
                const int o[3] = {dz, dy, dx};
                if (o[axis] == 0) continue;
                int off_axis = 0;
                for (int a = 0; a < 3; ++a) off_axis += a != axis && o[a] != 0;
                const int w = off_axis == 0 ? 3 : off_axis == 1 ? 2 : 1;
                g += o[axis] * w * v.uc(z + dz, y + dy, x + dx);
            }
    return g;
}

int sobel_ref(Vol& v, int z, int y, int x) {
    const int s = std::abs(sobel_derivative(v, z, y, x, 0)) +
                  std::abs(sobel_derivative(v, z, y, x, 1)) +
                  std::abs(sobel_derivative(v, z, y, x, 2));
    return std::min(255, s);
}

int laplace_ref(Vol& v, int z, int y, int x) {
    const int l = v.uc(z, y, x - 1) + v.uc(z, y, x + 1) + v.uc(z, y - 1, x) + v.uc(z, y + 1, x) +
                  v.uc(z - 1, y, x) + v.uc(z + 1, y, x) - 6 * v.uc(z, y, x);
    return std::max(0, std::min(255, l));
}

Reference range_ref(int wz, int wy, int wx) {
    return [=](Vol& v, int z, int y, int x) {
        int lo = 255, hi = 0;
        for (int k = -wz / 2; k <= wz / 2; ++k)
            for (int j = -wy / 2; j <= wy / 2; ++j)
                for (int i = -wx / 2; i <= wx / 2; ++i) {
                    lo = std::min<int>(lo, v.uc(z + k, y + j, x + i));
                    hi = std::max<int>(hi, v.uc(z + k, y + j, x + i));
                }
        return hi - lo;
    };
}

// A compass mask as 27 weights indexed by (dz + 1) * 9 + (dy + 1) * 3 + (dx + 1).
using Mask = std::array<int, 27>;
int at(int dz, int dy, int dx) { return (dz + 1) * 9 + (dy + 1) * 3 + dx + 1; }

Reference mask_ref(const Mask& m) {
    return [m](Vol& v, int z, int y, int x) {
        int s = 0;
        for (int dz = -1; dz <= 1; ++dz)
            for (int dy = -1; dy <= 1; ++dy)
                for (int dx = -1; dx <= 1; ++dx)
                    s += m[at(dz, dy, dx)] * v.uc(z + dz, y + dy, x + dx);
        return std::min(255, std::abs(s));
    };
}

// ---- fixtures -----------------------------------------------------------------------------

// A random 9x10x11 input with VOI [1,8) x [2,9) x [1,10), and a larger random output.
struct Case {
    Vol in{9, 10, 11}, out{11, 12, 13};
    std::vector<double> before;
    Case(uint32_t seed, int range = 256) {
        t3d::fill_random(in.get(), seed, range);
        t3d::fill_random(out.get(), seed + 100);
        in.voi(1, 8, 2, 9, 1, 10);
        before = t3d::snapshot(out.get());
    }
};

// Every output voxel with its window inside the input's VOI equals the reference at the input
// (as it was before the call); every other output voxel is unchanged.
void expect_window_result(Case& c, Vol& original, int hz, int hy, int hx, const Reference& ref) {
    const Volume* v = c.in.get();
    int i = 0, computed = 0;
    for (int z = 0; z < c.out->Z; ++z)
        for (int y = 0; y < c.out->Y; ++y)
            for (int x = 0; x < c.out->X; ++x, ++i) {
                const bool in_range = z >= v->z1 + hz && z < v->z2 - hz && y >= v->y1 + hy &&
                                      y < v->y2 - hy && x >= v->x1 + hx && x < v->x2 - hx;
                const int want = in_range ? ref(original, z, y, x) : static_cast<int>(c.before[i]);
                computed += in_range;
                ASSERT_EQ(c.out.uc(z, y, x), want) << "at " << z << "," << y << "," << x;
            }
    EXPECT_GT(computed, 0);
}

void copy_into(Vol& dst, Vol& src) {
    for (int z = 0; z < src->Z; ++z)
        for (int y = 0; y < src->Y; ++y)
            for (int x = 0; x < src->X; ++x) dst.uc(z, y, x) = src.uc(z, y, x);
}

// Runs op on fresh random cases with one and two threads and compares with ref; the window
// reaches hz, hy, hx voxels from its centre.
void check_window_op(const std::function<int(Volume*, Volume*)>& op, std::array<int, 3> h,
                     const Reference& ref, int range = 256) {
    for (int threads : {1, 2}) {
        v3d::set_thread_count(threads);
        for (uint32_t seed : {1u, 2u}) {
            Case c(seed, range);
            Vol original(c.in->Z, c.in->Y, c.in->X);
            copy_into(original, c.in);
            ASSERT_EQ(op(c.in.get(), c.out.get()), 0);
            expect_window_result(c, original, h[0], h[1], h[2], ref);
        }
    }
    v3d::set_thread_count(0);
}

// The angle pairs of the thirteen compass directions.
const int kCompassPairs[13][2] = {{0, 0},   {45, 0},   {90, 0},  {135, 0}, {45, 45},
                                  {90, 45}, {135, 45}, {45, 90}, {90, 90}, {135, 90},
                                  {45, 135}, {90, 135}, {135, 135}};

// Reads a compass mask back from compas3d with impulses: |w| from one raised neighbour, the
// signs relative to the first non-zero weight from pairs of raised neighbours.
Mask measure_mask(int a1, int a2) {
    auto response = [&](std::vector<int> offsets) {
        Vol in(3, 3, 3), out(3, 3, 3);
        for (int o : offsets) in->data[0].uc[o / 9][o / 3 % 3][o % 3] = 1;
        EXPECT_EQ(compas3d(in.get(), out.get(), a1, a2), 0);
        return static_cast<int>(out.uc(1, 1, 1));
    };
    Mask m{};
    int first = -1;
    for (int o = 0; o < 27; ++o) {
        m[o] = response({o});
        if (m[o] && first < 0) first = o;
    }
    for (int o = first + 1; o < 27; ++o)
        if (m[o] && response({first, o}) == 0) m[o] = -m[o];
    return m;
}

Mask negated(Mask m) {
    for (int& w : m) w = -w;
    return m;
}

// ---- the fixed-window operators -------------------------------------------------------------

TEST(EdgeWindows, MatchReferencesOnRandomVolumes) {
    check_window_op(Sobel_3D, {1, 1, 1}, sobel_ref);
    check_window_op(Sobel_3D, {1, 1, 1}, sobel_ref, 12);  // small values: sums below 255
    check_window_op(laplace_3d, {1, 1, 1}, laplace_ref);
    check_window_op(laplace_3d, {1, 1, 1}, laplace_ref, 40);
    check_window_op([](Volume* i, Volume* o) { return range_3d(i, o, 3, 5, 1); }, {1, 2, 0},
                    range_ref(3, 5, 1));
    check_window_op([](Volume* i, Volume* o) { return range_3d(i, o, 5, 3, 7); }, {2, 1, 3},
                    range_ref(5, 3, 7));
    for (const auto& p : kCompassPairs) {
        SCOPED_TRACE(testing::Message() << "compass " << p[0] << "," << p[1]);
        const Mask m = measure_mask(p[0], p[1]);
        check_window_op([&](Volume* i, Volume* o) { return compas3d(i, o, p[0], p[1]); },
                        {1, 1, 1}, mask_ref(m));
    }
}

TEST(EdgeWindows, RangeWindowsWiderThanTheVoiOrAChunk) {
    // wider than the VOI: nothing computed, success
    Case c(7);
    const auto before = t3d::snapshot(c.out.get());
    EXPECT_EQ(range_3d(c.in.get(), c.out.get(), 9, 1, 1), 0);
    EXPECT_EQ(t3d::snapshot(c.out.get()), before);
    Vol wide_in(3, 3, 1200), wide_out(3, 3, 1200);
    t3d::fill_random(wide_in.get(), 5);
    ASSERT_EQ(range_3d(wide_in.get(), wide_out.get(), 1, 3, 1025), 0);
    for (int x : {512, 600, 687})
        EXPECT_EQ(wide_out.uc(1, 1, x), range_ref(1, 3, 1025)(wide_in, 1, 1, x));
    EXPECT_EQ(wide_out.uc(1, 1, 511), 0);
}

TEST(EdgeWindows, LongRowsAcrossWorkingChunks) {
    Vol in(3, 3, 1100);
    t3d::fill_random(in.get(), 21);
    const std::vector<std::pair<std::function<int(Volume*, Volume*)>, Reference>> ops = {
        {Sobel_3D, sobel_ref},
        {laplace_3d, laplace_ref},
        {[](Volume* i, Volume* o) { return compas3d(i, o, 45, 0); }, mask_ref(measure_mask(45, 0))},
        {[](Volume* i, Volume* o) { return range_3d(i, o, 1, 3, 5); }, range_ref(1, 3, 5)}};
    for (size_t k = 0; k < ops.size(); ++k) {
        Vol out(3, 3, 1100);
        ASSERT_EQ(ops[k].first(in.get(), out.get()), 0);
        const int h = k == 3 ? 2 : 1;
        for (int x = 0; x < 1100; ++x)
            ASSERT_EQ(out.uc(1, 1, x), x >= h && x < 1100 - h ? ops[k].second(in, 1, 1, x) : 0)
                << k << " at " << x;
    }
}

TEST(EdgeWindows, InPlaceCallsReadWhatTheyHaveWritten) {
    for (int op = 0; op < 3; ++op) {
        Vol v(6, 7, 8), ref(6, 7, 8);
        t3d::fill_random(v.get(), 11 + op, op == 1 ? 50 : 256);
        copy_into(ref, v);
        v.voi(0, 6, 1, 7, 0, 7);
        const Reference f = op == 0 ? Reference(sobel_ref)
                          : op == 1 ? Reference(laplace_ref)
                                    : mask_ref(measure_mask(135, 45));
        for (int z = 1; z < 5; ++z)  // scan order, reading the values already replaced
            for (int y = 2; y < 6; ++y)
                for (int x = 1; x < 6; ++x) ref.uc(z, y, x) = static_cast<UC>(f(ref, z, y, x));
        const int s = op == 0 ? Sobel_3D(v.get(), v.get())
                    : op == 1 ? laplace_3d(v.get(), v.get())
                              : compas3d(v.get(), v.get(), 135, 45);
        ASSERT_EQ(s, 0);
        EXPECT_EQ(t3d::snapshot(v.get()), t3d::snapshot(ref.get())) << "operator " << op;
    }
}

TEST(EdgeWindows, DescribedValues) {
    // a unit step along X: Gx = 3 + 2 * 4 + 4 = 15 on both sides of the step
    Vol step(5, 5, 6), out(5, 5, 6);
    for (int z = 0; z < 5; ++z)
        for (int y = 0; y < 5; ++y)
            for (int x = 3; x < 6; ++x) step.uc(z, y, x) = 1;
    ASSERT_EQ(Sobel_3D(step.get(), out.get()), 0);
    EXPECT_EQ(out.uc(2, 2, 2), 15);
    EXPECT_EQ(out.uc(2, 2, 3), 15);
    EXPECT_EQ(out.uc(2, 2, 1), 0);
    // a bright voxel: 0 on itself (negative clipped), 10 on its six face neighbours
    Vol dot(5, 5, 5), lap(5, 5, 5);
    dot.uc(2, 2, 2) = 10;
    ASSERT_EQ(laplace_3d(dot.get(), lap.get()), 0);
    EXPECT_EQ(lap.uc(2, 2, 2), 0);
    EXPECT_EQ(lap.uc(1, 2, 2) + lap.uc(3, 2, 2) + lap.uc(2, 1, 2) + lap.uc(2, 3, 2) +
                  lap.uc(2, 2, 1) + lap.uc(2, 2, 3),
              60);
    EXPECT_EQ(lap.uc(1, 1, 2), 0);
    // a constant volume gives 0 everywhere in the computed range
    Vol flat(4, 4, 4), res(4, 4, 4);
    const float seven = 7;
    ClearVolume(flat.get(), &seven);
    for (int op = 0; op < 4; ++op) {
        ClearVolume(res.get(), &seven);
        const int s = op == 0 ? Sobel_3D(flat.get(), res.get())
                    : op == 1 ? laplace_3d(flat.get(), res.get())
                    : op == 2 ? compas3d(flat.get(), res.get(), 45, 0)
                              : range_3d(flat.get(), res.get(), 3, 3, 3);
        ASSERT_EQ(s, 0);
        EXPECT_EQ(res.uc(1, 2, 1), 0) << op;
        EXPECT_EQ(res.uc(0, 2, 1), 7) << op;
    }
    // a VOI thinner than 3 writes nothing
    Vol thin(5, 5, 5), untouched(5, 5, 5);
    t3d::fill_random(thin.get(), 3);
    thin.voi(0, 5, 1, 3, 0, 5);
    ClearVolume(untouched.get(), &seven);
    EXPECT_EQ(Sobel_3D(thin.get(), untouched.get()), 0);
    EXPECT_EQ(laplace_3d(thin.get(), untouched.get()), 0);
    EXPECT_EQ(compas3d(thin.get(), untouched.get(), 90, 90), 0);
    EXPECT_TRUE(CheckIfVolumeClear(untouched.get(), &seven) == 1);
}

TEST(EdgeWindows, ChecksInOrderAndWriteNothing) {
    Vol in(5, 5, 5), out(5, 5, 5), small(5, 4, 5), rgb(5, 5, 5, 1, 2), f(5, 5, 5, 2);
    t3d::fill_random(in.get(), 4);
    const auto before = t3d::snapshot(out.get());
    for (int op = 0; op < 4; ++op) {
        auto call = [&](Volume* i, Volume* o) {
            return op == 0 ? Sobel_3D(i, o)
                 : op == 1 ? laplace_3d(i, o)
                 : op == 2 ? compas3d(i, o, 45, 0)
                           : range_3d(i, o, 3, 3, 3);
        };
        EXPECT_EQ(call(nullptr, out.get()), -501);
        EXPECT_EQ(call(rgb.get(), out.get()), -503);
        EXPECT_EQ(call(f.get(), small.get()), -502);
        EXPECT_EQ(call(in.get(), rgb.get()), -503);
        EXPECT_EQ(call(in.get(), small.get()), -520);
    }
    EXPECT_EQ(compas3d(in.get(), small.get(), 30, 0), -520);  // dimensions before angles
    for (auto p : std::vector<std::array<int, 2>>{{30, 0}, {45, 30}, {180, 0}, {135, 10}, {-45, 45}})
        EXPECT_EQ(compas3d(in.get(), out.get(), p[0], p[1]), -90);
    EXPECT_EQ(range_3d(in.get(), small.get(), 2, 3, 3), -520);
    for (auto w : std::vector<std::array<int, 3>>{{2, 3, 3}, {3, 0, 3}, {3, 3, -1}})
        EXPECT_EQ(range_3d(in.get(), out.get(), w[0], w[1], w[2]), -24);
    EXPECT_EQ(t3d::snapshot(out.get()), before);
}

// ---- compass directions ---------------------------------------------------------------------

TEST(Compass, ThirteenDistinctDirectionsOfNineAndNine) {
    std::set<Mask> seen;
    for (const auto& p : kCompassPairs) {
        SCOPED_TRACE(testing::Message() << p[0] << "," << p[1]);
        const Mask m = measure_mask(p[0], p[1]);
        EXPECT_EQ(std::count(m.begin(), m.end(), 1), 9);
        EXPECT_EQ(std::count(m.begin(), m.end(), -1), 9);
        EXPECT_EQ(m[at(0, 0, 0)], 0);
        EXPECT_EQ(seen.count(m) + seen.count(negated(m)), 0u);
        seen.insert(m);
        if (p[0] == 45 && p[1] == 0) continue;  // the one asymmetric mask
        for (int o = 0; o < 27; ++o) EXPECT_EQ(m[o], -m[26 - o]) << "offset " << o;
    }
    // the three masks written out
    Mask x{}, z{}, diag{};
    for (int a = -1; a <= 1; ++a)
        for (int b = -1; b <= 1; ++b) {
            x[at(a, b, 1)] = 1, x[at(a, b, -1)] = -1;
            z[at(1, a, b)] = 1, z[at(-1, a, b)] = -1;
            diag[at(1, a, 0)] = diag[at(1, a, 1)] = diag[at(0, a, 1)] = 1;
            diag[at(0, a, -1)] = diag[at(-1, a, 1)] = diag[at(-1, a, 0)] = -1;
        }
    const std::vector<std::pair<std::array<int, 2>, Mask>> written = {
        {{0, 0}, x}, {{0, 90}, x}, {{0, 77}, x}, {{90, 0}, z}, {{45, 0}, diag}};
    for (const auto& [pair, want] : written) {
        const Mask m = measure_mask(pair[0], pair[1]);
        EXPECT_TRUE(m == want || m == negated(want)) << pair[0] << "," << pair[1];
    }
}

// ---- edge following -------------------------------------------------------------------------

// The follower written out step by step from its description.
void follow_ref(Vol& in, Vol& out, int z, int y, int x, int maxdiff, int threshold, int weight) {
    const Volume* v = in.get();
    const long long limit = 1LL * (v->z2 - v->z1) * (v->y2 - v->y1) * (v->x2 - v->x1);
    std::array<int, 3> cur{z, y, x}, prev = cur;
    for (long long step = 0; step < limit; ++step) {
        out.uc(cur[0], cur[1], cur[2]) = 255;
        const int cv = in.uc(cur[0], cur[1], cur[2]);
        in.uc(cur[0], cur[1], cur[2]) = 0;
        long long best = 256LL * weight;
        std::array<int, 3> chosen = cur;
        for (int dx = -1; dx <= 1; ++dx)
            for (int dy = -1; dy <= 1; ++dy)
                for (int dz = -1; dz <= 1; ++dz) {
                    const std::array<int, 3> n{cur[0] + dz, cur[1] + dy, cur[2] + dx};
                    if (n == cur || n == prev) continue;
                    if (n[0] < v->z1 || n[0] >= v->z2 || n[1] < v->y1 || n[1] >= v->y2 ||
                        n[2] < v->x1 || n[2] >= v->x2)
                        continue;
                    const int value = in.uc(n[0], n[1], n[2]);
                    if (value < threshold || std::abs(cv - value) > maxdiff) continue;
                    if (1LL * std::abs(cv - value) * weight < best) {
                        best = 1LL * std::abs(cv - value) * weight;
                        prev = chosen;
                        chosen = n;
                    }
                }
        if (chosen == cur) return;
        cur = chosen;
    }
}

TEST(EdgeFollow, FollowsARidgeToItsEnd) {
    Vol in(7, 8, 12), out(8, 9, 13);
    in.voi(1, 6, 1, 7, 1, 11);
    for (int x = 2; x <= 9; ++x) in.uc(3, 4, x) = static_cast<UC>(100 + x);  // rising along X
    in.uc(3, 4, 10) = 200;  // too big a jump at the end
    ASSERT_EQ(edge_follow_3d(in.get(), out.get(), 3, 4, 5, 3, 50, 1), 0);
    // from x = 5 the cheapest first step is x = 4 (scan order), then on down to x = 2
    for (int x = 0; x < 12; ++x) {
        const bool on_path = x >= 2 && x <= 5;
        EXPECT_EQ(out.uc(3, 4, x), on_path ? 255 : 0) << x;
        const int rest = x >= 6 && x <= 9 ? 100 + x : x == 10 ? 200 : 0;
        EXPECT_EQ(in.uc(3, 4, x), on_path ? 0 : rest) << x;
    }
    const auto marks = t3d::snapshot(out.get());
    EXPECT_EQ(std::count(marks.begin(), marks.end(), 255.0), 4);
}

TEST(EdgeFollow, ExcludesTheFirstOfTwoImprovementsNextStep) {
    // from c, a (cost 10) improves first and b (cost 5) second: the next step excludes a, so
    // the path ends at b although a is a neighbour of b within reach
    Vol in(1, 3, 3), out(1, 3, 3);
    in.uc(0, 1, 1) = 100;  // c
    in.uc(0, 0, 0) = 90;   // a: dx = -1, dy = -1, scanned first
    in.uc(0, 0, 1) = 95;   // b: dx = 0, dy = -1
    ASSERT_EQ(edge_follow_3d(in.get(), out.get(), 0, 1, 1, 255, 1, 1), 0);
    EXPECT_EQ(out.uc(0, 1, 1), 255);
    EXPECT_EQ(out.uc(0, 0, 1), 255);
    EXPECT_EQ(out.uc(0, 0, 0), 0);
    EXPECT_EQ(in.uc(0, 0, 0), 90);
    // a weight of 0 marks the start only
    Vol in2(1, 3, 3), out2(1, 3, 3);
    in2.uc(0, 1, 1) = 100;
    in2.uc(0, 1, 2) = 100;
    ASSERT_EQ(edge_follow_3d(in2.get(), out2.get(), 0, 1, 1, 255, 1, 0), 0);
    EXPECT_EQ(out2.uc(0, 1, 2), 0);
    EXPECT_EQ(in2.uc(0, 1, 1), 0);
}

TEST(EdgeFollow, MatchesTheStepByStepReference) {
    for (uint32_t seed = 1; seed <= 30; ++seed) {
        const int maxdiff = 10 + seed % 40, threshold = seed % 5 == 0 ? 0 : 20 + seed % 60;
        Vol in(6, 7, 8), out(7, 8, 9), ref_in(6, 7, 8), ref_out(7, 8, 9);
        t3d::fill_random(in.get(), seed);
        copy_into(ref_in, in);
        in.voi(1, 5, 2, 7, 1, 7);
        ref_in.voi(1, 5, 2, 7, 1, 7);
        in.uc(2, 3, 4) = ref_in.uc(2, 3, 4) = 200;
        ASSERT_EQ(edge_follow_3d(in.get(), out.get(), 2, 3, 4, maxdiff, threshold, 1 + seed % 3), 0);
        follow_ref(ref_in, ref_out, 2, 3, 4, maxdiff, threshold, 1 + seed % 3);
        EXPECT_EQ(t3d::snapshot(out.get()), t3d::snapshot(ref_out.get())) << seed;
        EXPECT_EQ(t3d::snapshot(in.get()), t3d::snapshot(ref_in.get())) << seed;
    }
}

TEST(EdgeFollow, ThresholdZeroEndsAfterAsManyStepsAsTheVoiHasVoxels) {
    // all zero: every neighbour costs 0 and the path would walk over zeroed voxels forever
    Vol in(4, 4, 4), out(4, 4, 4);
    in.voi(1, 3, 1, 3, 1, 3);
    ASSERT_EQ(edge_follow_3d(in.get(), out.get(), 1, 1, 1, 0, 0, 1), 0);
    unsigned int marked = 0;
    out.voi(1, 3, 1, 3, 1, 3);
    CountNonZeroPoints3d(out.get(), &marked);
    EXPECT_GT(marked, 1u);
    out.voi(0, 4, 0, 4, 0, 4);
    unsigned int all = 0;
    CountNonZeroPoints3d(out.get(), &all);
    EXPECT_EQ(all, marked);  // nothing outside the VOI
}

TEST(EdgeFollow, ChecksInOrder) {
    Vol in(4, 4, 4), out(4, 4, 4), small(4, 4, 3), rgb(4, 4, 4, 1, 2);
    in.voi(1, 3, 1, 3, 1, 3);
    in.uc(1, 1, 1) = 40;
    EXPECT_EQ(edge_follow_3d(rgb.get(), out.get(), 1, 1, 1, 1, 1, 1), -503);
    EXPECT_EQ(edge_follow_3d(in.get(), small.get(), 0, 0, 0, -1, 1, 1), -520);
    EXPECT_EQ(edge_follow_3d(in.get(), out.get(), 0, 1, 1, 1, 1, 1), -90);  // outside the VOI
    EXPECT_EQ(edge_follow_3d(in.get(), out.get(), 1, 1, 3, 1, 1, 1), -90);
    EXPECT_EQ(edge_follow_3d(in.get(), out.get(), 1, 1, 1, -1, 1, 1), -90);
    EXPECT_EQ(edge_follow_3d(in.get(), out.get(), 1, 1, 1, 1, -1, 1), -90);
    EXPECT_EQ(edge_follow_3d(in.get(), out.get(), 1, 1, 1, 1, 1, -1), -90);
    EXPECT_EQ(edge_follow_3d(in.get(), out.get(), 1, 1, 1, 1, 41, 1), -90);
    EXPECT_EQ(in.uc(1, 1, 1), 40);
    EXPECT_EQ(t3d::snapshot(out.get()), std::vector<double>(64, 0.0));
}

// ---- Hough ----------------------------------------------------------------------------------

// Cell of a voxel for elevation k of nk and azimuth j of nj, written from the description.
int hough_cell_ref(int k, int nk, int j, int nj, int cells, double d, int z, int y, int x) {
    auto angle = [](int i, int n) {
        return (static_cast<float>(i) / static_cast<float>(n - 1) * 180.0f - 90.0f) * 0.017453f;
    };
    const double ce = std::cos(angle(k, nk)), se = std::sin(angle(k, nk));
    const double ca = std::cos(angle(j, nj)), sa = std::sin(angle(j, nj));
    const double r = (ce * z + (ca * y + sa * x) * se + d) / (2 * d);
    return static_cast<int>(std::floor(r * (cells - 1) + 0.5));
}

// Votes, thresholds and marks every 255 voxel that voted for a surviving cell. Returns the
// votes of every cell, sorted.
std::vector<int> hough_ref(Vol& in, Vol& out, Vol& acc, int threshold) {
    const double d = std::sqrt(1.0 * in->Z * in->Z + 1.0 * in->Y * in->Y + 1.0 * in->X * in->X);
    std::vector<int> votes(acc->Z * acc->Y * acc->X, 0);
    auto each_vote = [&](auto&& f) {
        for (int z = 0; z < in->Z; ++z)
            for (int y = 0; y < in->Y; ++y)
                for (int x = 0; x < in->X; ++x)
                    if (in.uc(z, y, x) == 255)
                        for (int k = 0; k < acc->Z; ++k)
                            for (int j = 0; j < acc->Y; ++j) {
                                const int c = hough_cell_ref(k, acc->Z, j, acc->Y, acc->X, d, z, y, x);
                                if (c >= 0 && c < acc->X) f(z, y, x, (k * acc->Y + j) * acc->X + c);
                            }
    };
    each_vote([&](int, int, int, int cell) { ++votes[cell]; });
    std::vector<int> sorted = votes;
    std::sort(sorted.begin(), sorted.end());
    for (int& v : votes) v = v >= threshold;
    for (int i = 0; i < out->Z * out->Y * out->X; ++i)
        out->data[0].uc[i / (out->Y * out->X)][i / out->X % out->Y][i % out->X] = 0;
    each_vote([&](int z, int y, int x, int cell) {
        if (votes[cell]) out.uc(z, y, x) = 255;
    });
    for (int i = 0; i < acc->Z * acc->Y * acc->X; ++i)
        acc->data[0].i[i / (acc->Y * acc->X)][i / acc->X % acc->Y][i % acc->X] = votes[i];
    return sorted;
}

TEST(Hough, FindsSyntheticPlanesAndNothingElse) {
    // a plane z = 8 (parallel to the column axis), a plane x = 5, a plane z = x, each alone
    // with a few stray voxels: the output is the plane
    for (int kind = 0; kind < 3; ++kind) {
        Vol in(16, 16, 16), out(17, 16, 18), acc(9, 9, 63, 4);
        for (int a = 0; a < 16; ++a)
            for (int b = 0; b < 16; ++b) {
                if (kind == 0) in.uc(8, a, b) = 255;
                if (kind == 1) in.uc(a, b, 5) = 255;
                if (kind == 2) in.uc(a, b, a) = 255;
            }
        const auto plane = t3d::snapshot(in.get());
        for (auto p : std::vector<std::array<int, 3>>{{2, 3, 13}, {12, 14, 1}, {5, 0, 9}})
            in.uc(p[0], p[1], p[2]) = 255;
        in.voi(2, 10, 2, 10, 2, 10);  // the VOI does not limit the votes
        out.uc(16, 15, 17) = 9;
        ASSERT_EQ(Hough_3D(in.get(), out.get(), acc.get(), 256), 0) << kind;
        for (int z = 0; z < 17; ++z)
            for (int y = 0; y < 16; ++y)
                for (int x = 0; x < 18; ++x) {
                    const bool on = z < 16 && x < 16 && plane[(z * 16 + y) * 16 + x] == 255;
                    ASSERT_EQ(out.uc(z, y, x), on ? 255 : 0) << kind << ": " << z << "," << y << "," << x;
                }
        std::set<int> values;
        for (double v : t3d::snapshot(acc.get())) values.insert(static_cast<int>(v));
        EXPECT_EQ(values, (std::set<int>{0, 1}));
    }
}

TEST(Hough, BackProjectionMarksExactlyTheVotersOfSurvivingCells) {
    for (uint32_t seed = 1; seed <= 8; ++seed) {
        Vol in(12, 20, 16), out(12, 20, 16), acc(4 + seed % 3, 5 + seed % 4, 40 + 7 * seed, 4);
        Vol ref_out(12, 20, 16), ref_acc(acc->Z, acc->Y, acc->X, 4);
        t3d::fill_random(in.get(), seed, 8);
        for (int z = 0; z < 12; ++z)
            for (int y = 0; y < 20; ++y)
                for (int x = 0; x < 16; ++x) in.uc(z, y, x) = in.uc(z, y, x) == 0 ? 255 : 0;
        // few surviving cells, so that most voters are marked by one plane only
        const std::vector<int> votes = hough_ref(in, ref_out, ref_acc, 0);
        const int threshold = seed == 1 ? 0 : votes[votes.size() * (95 + seed % 4) / 100];
        ASSERT_EQ(Hough_3D(in.get(), out.get(), acc.get(), threshold), 0);
        hough_ref(in, ref_out, ref_acc, threshold);
        EXPECT_EQ(t3d::snapshot(acc.get()), t3d::snapshot(ref_acc.get())) << seed;
        EXPECT_EQ(t3d::snapshot(out.get()), t3d::snapshot(ref_out.get())) << seed;
    }
}

TEST(Hough, ChecksInOrder) {
    Vol in(4, 4, 4), out(4, 4, 4), small(4, 4, 3), acc(3, 3, 8, 4), acc_uc(3, 3, 8), thin(1, 3, 8, 4);
    in.uc(1, 1, 1) = 255;
    out.uc(0, 0, 0) = 7;
    EXPECT_EQ(Hough_3D(in.get(), out.get(), acc_uc.get(), 1), -502);
    in.uc(0, 0, 0) = 3;
    EXPECT_EQ(Hough_3D(in.get(), small.get(), acc.get(), -1), -535);  // binary check first
    in.uc(0, 0, 0) = 0;
    EXPECT_EQ(Hough_3D(in.get(), small.get(), acc.get(), -1), -520);
    EXPECT_EQ(Hough_3D(in.get(), out.get(), acc.get(), -1), -90);
    EXPECT_EQ(Hough_3D(in.get(), out.get(), thin.get(), 1), -90);  // one elevation only
    EXPECT_EQ(out.uc(0, 0, 0), 7);
    EXPECT_EQ(t3d::snapshot(acc.get()), std::vector<double>(72, 0.0));
}

// ---- edge linking ---------------------------------------------------------------------------

struct LinkCase {
    Vol in{6, 12, 12}, out{6, 12, 12};
    StackNode3d* stack = nullptr;
    LinkCase() {
        t3d::fill_random(in.get(), 9, 60);  // weak noise
        in.voi(1, 5, 1, 11, 1, 11);
        for (int x = 2; x <= 9; ++x) in.uc(2, 3, x) = static_cast<UC>(150 + x);  // an L-shaped ridge
        for (int y = 3; y <= 9; ++y) in.uc(3, y, 9) = 170;
    }
    ~LinkCase() {
        while (stack) pop_3d(&stack);
    }
};

TEST(EdgeLink, LinksAlongTheRidgeAndLeavesThePathOnTheStack) {
    LinkCase c;
    ASSERT_EQ(modedg3d(c.in.get(), c.out.get(), &c.stack, 2, 3, 2, 3, 9, 9, 100), 0);
    std::vector<StackRecord3d> path;
    while (c.stack) path.push_back(pop_3d(&c.stack));
    ASSERT_GE(path.size(), 2u);
    EXPECT_EQ(path.front().z * 10000 + path.front().y * 100 + path.front().x, 30909);  // end on top
    EXPECT_EQ(path.back().z * 10000 + path.back().y * 100 + path.back().x, 20302);
    std::set<int> on_path;
    for (size_t i = 0; i < path.size(); ++i) {
        const StackRecord3d& r = path[i];
        EXPECT_EQ(r.extra, c.in.uc(r.z, r.y, r.x));
        EXPECT_GE(r.extra, 100);
        EXPECT_EQ(c.out.uc(r.z, r.y, r.x), 255);
        on_path.insert((r.z * 12 + r.y) * 12 + r.x);
        if (i > 0) {
            const StackRecord3d& q = path[i - 1];
            EXPECT_LE(std::max({std::abs(q.z - r.z), std::abs(q.y - r.y), std::abs(q.x - r.x)}), 1);
        }
    }
    EXPECT_EQ(on_path.size(), path.size());  // no voxel twice
    const auto out = t3d::snapshot(c.out.get());
    EXPECT_EQ(std::count(out.begin(), out.end(), 255.0), static_cast<long>(path.size()));
    // on a plateau it heads straight for the end: one voxel per step of the chessboard distance
    Vol flat(6, 10, 8), marks(6, 10, 8);
    const float strong = 200;
    ClearVolume(flat.get(), &strong);
    ASSERT_EQ(modedg3d(flat.get(), marks.get(), &c.stack, 1, 1, 1, 4, 8, 6, 100), 0);
    int steps = 0;
    for (; c.stack; ++steps) pop_3d(&c.stack);
    EXPECT_EQ(steps, 8);
}

TEST(EdgeLink, StackStatesAndChecks) {
    LinkCase c;
    const auto before = t3d::snapshot(c.out.get());
    // no path: the two ends lie on ridges that do not meet
    c.in.uc(3, 6, 9) = 10;
    EXPECT_EQ(modedg3d(c.in.get(), c.out.get(), &c.stack, 2, 3, 2, 3, 9, 9, 100), -98);
    EXPECT_EQ(c.stack, nullptr);
    EXPECT_EQ(t3d::snapshot(c.out.get()), before);
    // a stack that is not empty on entry is refused and left as it was
    ASSERT_EQ(push_3d(&c.stack, 1, 2, 3, 4), 0);
    StackNode3d* const mine = c.stack;
    EXPECT_EQ(modedg3d(c.in.get(), c.out.get(), &c.stack, 2, 3, 2, 2, 3, 5, 100), -99);
    EXPECT_EQ(c.stack, mine);
    EXPECT_EQ(mine->next, nullptr);
    pop_3d(&c.stack);
    Vol small(6, 12, 11);
    EXPECT_EQ(modedg3d(c.in.get(), small.get(), nullptr, 2, 3, 2, 2, 3, 5, 100), -520);
    EXPECT_EQ(modedg3d(c.in.get(), c.out.get(), nullptr, 2, 3, 2, 2, 3, 5, 100), -4);
    EXPECT_EQ(modedg3d(c.in.get(), c.out.get(), &c.stack, 2, 3, 0, 2, 3, 5, 100), -90);
    EXPECT_EQ(modedg3d(c.in.get(), c.out.get(), &c.stack, 2, 3, 2, 2, 3, 5, -1), -90);
    EXPECT_EQ(modedg3d(c.in.get(), c.out.get(), &c.stack, 2, 3, 2, 2, 4, 5, 100), -90);  // weak end
    EXPECT_EQ(c.stack, nullptr);
    EXPECT_EQ(t3d::snapshot(c.out.get()), before);
    // start = end: a path of one voxel
    ASSERT_EQ(modedg3d(c.in.get(), c.out.get(), &c.stack, 2, 3, 4, 2, 3, 4, 100), 0);
    ASSERT_NE(c.stack, nullptr);
    EXPECT_EQ(c.stack->next, nullptr);
}

}  // namespace
