// Edge detection against brute-force references written from the operator definitions.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <memory>
#include <set>
#include <vector>

#include "core/parallel.h"
#include "tests/ops/references.h"

namespace {

using t3d::Vol;
using UC = unsigned char;
using Op = std::function<int(Volume*, Volume*)>;
using t3d::each_offset;
using t3d::Half;
using t3d::Values;

// ---- references ---------------------------------------------------------------------------

// A 3x3x3 mask as 27 weights indexed by (dz + 1) * 9 + (dy + 1) * 3 + (dx + 1).
using Mask = std::array<int, 27>;
int at(int dz, int dy, int dx) { return (dz + 1) * 9 + (dy + 1) * 3 + dx + 1; }

int dot(const Mask& m, const Values& w) {
    int s = 0;
    for (int i = 0; i < 27; ++i) s += m[i] * w[i];
    return s;
}

// The derivative along axis (0 = z, 1 = y, 2 = x): the planes at +1 and -1 along it, weighted
// 3 on the axis, 2 off it in one direction, 1 in a corner.
Mask sobel_mask(int axis) {
    Mask m{};
    each_offset({1, 1, 1}, [&](int dz, int dy, int dx) {
        const int o[3] = {dz, dy, dx};
        const int off_axis = (dz != 0) + (dy != 0) + (dx != 0) - (o[axis] != 0);
        m[at(dz, dy, dx)] = o[axis] * (off_axis == 0 ? 3 : off_axis == 1 ? 2 : 1);
    });
    return m;
}

int sobel_rule(const Values& w, int) {
    int s = 0;
    for (int axis = 0; axis < 3; ++axis) s += std::abs(dot(sobel_mask(axis), w));
    return std::min(255, s);
}

int laplace_rule(const Values& w, int) {
    const int l = w[at(0, 0, -1)] + w[at(0, 0, 1)] + w[at(0, -1, 0)] + w[at(0, 1, 0)] + w[at(-1, 0, 0)] +
                  w[at(1, 0, 0)] - 6 * w[at(0, 0, 0)];
    return std::clamp(l, 0, 255);
}

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

struct EdgeOp {
    Op run;
    Half h;
    t3d::Rule rule;
};

EdgeOp compass(int a1, int a2) {
    const Mask m = measure_mask(a1, a2);
    return {[=](Volume* i, Volume* o) { return compas3d(i, o, a1, a2); }, {1, 1, 1},
            [m](const Values& w, int) { return std::min(255, std::abs(dot(m, w))); }};
}

EdgeOp range(int wz, int wy, int wx) {
    return {[=](Volume* i, Volume* o) { return range_3d(i, o, wz, wy, wx); }, {wz / 2, wy / 2, wx / 2},
            [](const Values& w, int) {
                const auto [lo, hi] = std::minmax_element(w.begin(), w.end());
                return *hi - *lo;
            }};
}

const EdgeOp kSobel{Sobel_3D, {1, 1, 1}, sobel_rule}, kLaplace{laplace_3d, {1, 1, 1}, laplace_rule};

// The angle pairs of the thirteen compass directions.
const int kCompassPairs[13][2] = {{0, 0},   {45, 0},   {90, 0},  {135, 0}, {45, 45},
                                  {90, 45}, {135, 45}, {45, 90}, {90, 90}, {135, 90},
                                  {45, 135}, {90, 135}, {135, 135}};

// Runs op with one and two threads on random inputs (full range, then small values whose sums
// stay below 255) with a VOI away from the origin into a larger output, and on long rows across
// working chunks, against the reference.
void check_window_op(const EdgeOp& op) {
    int changed = 0;
    for (int threads : {1, 2}) {
        v3d::set_thread_count(threads);
        for (int k = 0; k < 3; ++k) {
            const bool row = k == 2;
            Vol in(row ? 5 : 9, row ? 5 : 10, row ? 1100 : 11), out(row ? 5 : 11, row ? 5 : 12, row ? 1100 : 13);
            t3d::fill_random(in.get(), k + 1, k == 1 ? 12 : 256);
            t3d::fill_random(out.get(), k + 100);
            if (!row) in.voi(1, 8, 2, 9, 1, 10);
            const auto expected = t3d::window_reference(in.get(), out.get(), op.h, op.rule);
            changed += expected != t3d::snapshot(out.get());
            ASSERT_EQ(op.run(in.get(), out.get()), 0);
            ASSERT_TRUE(t3d::snapshot(out.get()) == expected) << "case " << k << ", threads " << threads;
        }
    }
    v3d::set_thread_count(0);
    EXPECT_GT(changed, 0);
}

TEST(EdgeWindows, MatchReferencesOnRandomVolumes) {
    // the 1025-wide range window is wider than a working chunk
    for (const EdgeOp& op : {kSobel, kLaplace, range(3, 5, 1), range(5, 3, 7), range(1, 3, 1025)})
        check_window_op(op);
    for (const auto& p : kCompassPairs) {
        SCOPED_TRACE(testing::Message() << "compass " << p[0] << "," << p[1]);
        check_window_op(compass(p[0], p[1]));
    }
}

TEST(EdgeWindows, InPlaceCallsReadWhatTheyHaveWritten) {
    int seed = 11;
    for (const EdgeOp& op : {kSobel, kLaplace, compass(135, 45)}) {
        Vol v(6, 7, 8);
        t3d::fill_random(v.get(), seed, seed == 12 ? 50 : 256);
        v.voi(0, 6, 1, 7, 0, 7);
        const auto expected = t3d::window_reference(v.get(), v.get(), op.h, op.rule, true);
        ASSERT_EQ(op.run(v.get(), v.get()), 0);
        EXPECT_EQ(t3d::snapshot(v.get()), expected) << "seed " << seed++;
    }
}

TEST(EdgeWindows, DescribedValues) {
    // a unit step along X: Gx = 3 + 2 * 4 + 4 = 15 on both sides of the step
    Vol step(5, 5, 6), out(5, 5, 6);
    const float one = 1;
    step.voi(0, 5, 0, 5, 3, 6);
    ClearVolume(step.get(), &one);
    step.voi(0, 5, 0, 5, 0, 6);
    ASSERT_EQ(Sobel_3D(step.get(), out.get()), 0);
    EXPECT_EQ((std::array<int, 3>{out.uc(2, 2, 1), out.uc(2, 2, 2), out.uc(2, 2, 3)}),
              (std::array<int, 3>{0, 15, 15}));
    // a bright voxel: 0 on itself (negative clipped), 10 on its six face neighbours
    Vol spot(5, 5, 5), lap(5, 5, 5);
    spot.uc(2, 2, 2) = 10;
    ASSERT_EQ(laplace_3d(spot.get(), lap.get()), 0);
    const auto l = t3d::snapshot(lap.get());
    EXPECT_EQ(l[62], 0);
    EXPECT_EQ(std::count(l.begin(), l.end(), 10.0), 6);
    EXPECT_EQ(std::count(l.begin(), l.end(), 0.0), 125 - 6);
    // a VOI thinner than the window writes nothing
    Vol thin(5, 5, 5), untouched(5, 5, 5);
    t3d::fill_random(thin.get(), 3);
    thin.voi(0, 5, 1, 3, 0, 5);
    const float seven = 7;
    ClearVolume(untouched.get(), &seven);
    for (const EdgeOp& op : {kSobel, kLaplace, compass(90, 90), range(1, 3, 1)})
        EXPECT_EQ(op.run(thin.get(), untouched.get()), 0);
    EXPECT_TRUE(CheckIfVolumeClear(untouched.get(), &seven) == 1);
}

TEST(EdgeWindows, ChecksInOrderAndWriteNothing) {
    Vol in(5, 5, 5), out(5, 5, 5), small(5, 4, 5), rgb(5, 5, 5, 1, 2), f(5, 5, 5, 2);
    t3d::fill_random(in.get(), 4);
    const auto before = t3d::snapshot(out.get());
    for (const EdgeOp& op : {kSobel, kLaplace, compass(45, 0), range(3, 3, 3)}) {
        EXPECT_EQ(op.run(nullptr, out.get()), -501);
        EXPECT_EQ(op.run(rgb.get(), out.get()), -503);
        EXPECT_EQ(op.run(f.get(), small.get()), -502);
        EXPECT_EQ(op.run(in.get(), rgb.get()), -503);
        EXPECT_EQ(op.run(in.get(), small.get()), -520);
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
        for (Vol* v : {std::addressof(in), std::addressof(ref_in)}) {
            t3d::fill_random(v->get(), seed);
            v->voi(1, 5, 2, 7, 1, 7);
            v->uc(2, 3, 4) = 200;
        }
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
    unsigned int marked = 0, all = 0;
    CountNonZeroPoints3d(out.get(), &all);
    out.voi(1, 3, 1, 3, 1, 3);
    CountNonZeroPoints3d(out.get(), &marked);
    EXPECT_GT(marked, 1u);
    EXPECT_EQ(all, marked);  // nothing outside the VOI
}

TEST(EdgeFollow, ChecksInOrder) {
    Vol in(4, 4, 4), out(4, 4, 4), small(4, 4, 3), rgb(4, 4, 4, 1, 2);
    in.voi(1, 3, 1, 3, 1, 3);
    in.uc(1, 1, 1) = 40;
    EXPECT_EQ(edge_follow_3d(rgb.get(), out.get(), 1, 1, 1, 1, 1, 1), -503);
    EXPECT_EQ(edge_follow_3d(in.get(), small.get(), 0, 0, 0, -1, 1, 1), -520);
    // outside the VOI (twice), negative maxdiff, threshold, weight; a start below the threshold
    for (auto a : std::vector<std::array<int, 6>>{{0, 1, 1, 1, 1, 1}, {1, 1, 3, 1, 1, 1}, {1, 1, 1, -1, 1, 1},
                                                  {1, 1, 1, 1, -1, 1}, {1, 1, 1, 1, 1, -1}, {1, 1, 1, 1, 41, 1}})
        EXPECT_EQ(edge_follow_3d(in.get(), out.get(), a[0], a[1], a[2], a[3], a[4], a[5]), -90);
    EXPECT_EQ(in.uc(1, 1, 1), 40);
    EXPECT_EQ(t3d::snapshot(out.get()), std::vector<double>(64, 0.0));
}

// ---- Hough ----------------------------------------------------------------------------------

// Cell of a voxel for elevation k of nk and azimuth j of nj, written from the description: the
// angle tables have nk + 1 and nj + 1 entries, each spaced by its entry count less one.
int hough_cell_ref(int k, int nk, int j, int nj, int cells, double d, int z, int y, int x) {
    auto angle = [](int i, int entries) {
        return (static_cast<float>(i) / static_cast<float>(entries - 1) * 180.0f - 90.0f) * 0.017453f;
    };
    const double ce = std::cos(angle(k, nk + 1)), se = std::sin(angle(k, nk + 1));
    const double ca = std::cos(angle(j, nj + 1)), sa = std::sin(angle(j, nj + 1));
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
    const float zero = 0;
    ClearVolume(out.get(), &zero);
    each_vote([&](int z, int y, int x, int cell) {
        if (votes[cell]) out.uc(z, y, x) = 255;
    });
    for (int i = 0; i < acc->Z * acc->Y * acc->X; ++i)
        acc.i(i / (acc->Y * acc->X), i / acc->X % acc->Y, i % acc->X) = votes[i];
    return sorted;
}

// Random binary inputs with a VOI (which does not limit the votes) into a larger output whose
// every voxel is rewritten.
TEST(Hough, BackProjectionMarksExactlyTheVotersOfSurvivingCells) {
    for (uint32_t seed = 1; seed <= 8; ++seed) {
        Vol in(12, 20, 16), out(13, 20, 17), acc(4 + seed % 3, 5 + seed % 4, 40 + 7 * seed, 4);
        Vol ref_out(13, 20, 17), ref_acc(acc->Z, acc->Y, acc->X, 4);
        t3d::fill_random(in.get(), seed, 8);
        t3d::fill_random(out.get(), seed);
        t3d::fill(in.get(), [&in](int z, int y, int x) { return in.uc(z, y, x) == 0 ? 255 : 0; });
        in.voi(2, 10, 2, 10, 2, 10);
        // few surviving cells, so that most voters are marked by one plane only
        const std::vector<int> votes = hough_ref(in, ref_out, ref_acc, 0);
        const int threshold = seed == 1 ? 0 : votes[votes.size() * (95 + seed % 4) / 100];
        ASSERT_EQ(Hough_3D(in.get(), out.get(), acc.get(), threshold), 0);
        hough_ref(in, ref_out, ref_acc, threshold);
        EXPECT_EQ(t3d::snapshot(acc.get()), t3d::snapshot(ref_acc.get())) << seed;
        EXPECT_EQ(t3d::snapshot(out.get()), t3d::snapshot(ref_out.get())) << seed;
    }
}

// With four elevations, elevation 2 is 0 degrees: the distance is the frame alone, so a plane of
// voxels in one frame votes for a single cell at every azimuth there (and at no other elevation).
// Small volumes put many voters exactly between two distance cells (a plane through the
// origin lands on r = 1/2); each must vote where the formula with its division puts it.
TEST(Hough, VotesOnCellBoundariesFollowTheFormula) {
    for (int Z = 2; Z <= 4; ++Z)
        for (int X = 3; X <= 5; ++X)
            for (int cells = 3; cells <= 6; ++cells) {
                SCOPED_TRACE(::testing::Message() << Z << "x3x" << X << ", " << cells << " cells");
                Vol in(Z, 3, X), out(Z, 3, X), acc(2, 3, cells, 4), ref_out(Z, 3, X), ref_acc(2, 3, cells, 4);
                for (int z = 0; z < Z; ++z)
                    for (int y = 0; y < 3; ++y)
                        for (int x = 0; x < X; ++x) in.uc(z, y, x) = 255;
                // the binary accumulators of every threshold tell the votes of every cell
                for (int t = 1; t <= Z * 3 * X; ++t) {
                    hough_ref(in, ref_out, ref_acc, t);
                    ASSERT_EQ(Hough_3D(in.get(), out.get(), acc.get(), t), 0);
                    ASSERT_EQ(t3d::snapshot(acc.get()), t3d::snapshot(ref_acc.get())) << "threshold " << t;
                    ASSERT_EQ(t3d::snapshot(out.get()), t3d::snapshot(ref_out.get())) << "threshold " << t;
                }
            }
}

TEST(Hough, ElevationsRunFromMinus90InStepsOf180OverTheirCount) {
    Vol in(9, 8, 8), out(9, 8, 8), acc(4, 3, 64, 4);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) in.uc(5, y, x) = 255;
    ASSERT_EQ(Hough_3D(in.get(), out.get(), acc.get(), 1), 0);
    for (int k = 0; k < 4; ++k)
        for (int j = 0; j < 3; ++j) {
            int cells = 0;
            for (int c = 0; c < 64; ++c) cells += acc.i(k, j, c);
            if (k == 2) EXPECT_EQ(cells, 1) << "azimuth " << j;
            else EXPECT_GT(cells, 1) << "elevation " << k << " azimuth " << j;
        }
    EXPECT_EQ(out.uc(5, 3, 4), 255);
    // one elevation is a table of two entries: -90 and +90, the first of them used
    Vol thin(1, 3, 8, 4);
    EXPECT_EQ(Hough_3D(in.get(), out.get(), thin.get(), 1), 0);
}

TEST(Hough, ChecksInOrder) {
    Vol in(4, 4, 4), out(4, 4, 4), small(4, 4, 3), acc(3, 3, 8, 4), acc_uc(3, 3, 8);
    in.uc(1, 1, 1) = 255;
    out.uc(0, 0, 0) = 7;
    EXPECT_EQ(Hough_3D(in.get(), out.get(), acc_uc.get(), 1), -502);
    in.uc(0, 0, 0) = 3;
    EXPECT_EQ(Hough_3D(in.get(), small.get(), acc.get(), -1), -535);  // binary check first
    in.uc(0, 0, 0) = 0;
    EXPECT_EQ(Hough_3D(in.get(), small.get(), acc.get(), -1), -520);
    EXPECT_EQ(Hough_3D(in.get(), out.get(), acc.get(), -1), -90);
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
