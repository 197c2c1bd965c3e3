// Neighbourhood filters against brute-force references: every window gathered voxel by voxel,
// sorted with std::sort, on small random volumes with VOIs away from the origin, RGB inputs
// and outputs larger than the inputs (whose other voxels must keep their values).
#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <tuple>
#include <vector>

#include "core/parallel.h"
#include "tests/ops/references.h"

namespace {

using t3d::Vol;
using t3d::Rule;
using t3d::Values;

// The reference for full window widths.
std::vector<double> reference(Volume* in, Volume* out, int wz, int wy, int wx, const Rule& rule,
                              bool in_place = false) {
    return t3d::window_reference(in, out, {wz / 2, wy / 2, wx / 2}, rule, in_place);
}

Values sorted(Values v) {
    std::sort(v.begin(), v.end());
    return v;
}

const Rule kMedian = [](const Values& v, int) { return sorted(v)[v.size() / 2]; };
const Rule kMax = [](const Values& v, int) { return *std::max_element(v.begin(), v.end()); };
const Rule kMin = [](const Values& v, int) { return *std::min_element(v.begin(), v.end()); };
const Rule kMean = [](const Values& v, int) {
    long long s = 0;
    for (int x : v) s += x;
    const float q = static_cast<float>(s) / static_cast<float>(v.size());
    return static_cast<int>(std::floor(static_cast<double>(q) + 0.5));
};

// A random RGB input 7x9x11 with VOI [1,6)x[2,9)x[1,10) and a random output 8x10x12.
struct Case {
    Vol in{7, 9, 11, 1, 2}, out{8, 10, 12, 1, 2};
    explicit Case(uint32_t seed, int range = 256) {
        t3d::fill_random(&in, seed, range);
        t3d::fill_random(&out, seed + 1000);
        in.voi(1, 6, 2, 9, 1, 10);
    }
};

// 1x1x1 copies the VOI; 5x7x9 is the whole VOI: only its centre is written.
const std::array<int, 3> kShapes[] = {{1, 1, 1}, {3, 3, 3}, {1, 3, 5}, {5, 3, 1}, {3, 5, 3}, {5, 7, 9}};

using BoxFilter = int (*)(Volume*, Volume*, int, int, int);

// Runs filter on a fresh random case against the reference for a wz x wy x wx window.
void expect_case(uint32_t seed, int range, std::array<int, 3> w, const Rule& rule,
                 const std::function<int(Volume*, Volume*)>& filter) {
    Case t(seed, range);
    const auto expected = reference(&t.in, &t.out, w[0], w[1], w[2], rule);
    ASSERT_EQ(filter(&t.in, &t.out), 0);
    EXPECT_EQ(t3d::snapshot(&t.out), expected) << "window " << w[0] << "x" << w[1] << "x" << w[2];
}

void expect_filter(BoxFilter filter, const Rule& rule, int range = 256) {
    for (int threads : {1, 3}) {
        v3d::set_thread_count(threads);
        for (const auto& w : kShapes)
            expect_case(static_cast<uint32_t>(w[0] * 100 + w[1] * 10 + w[2]), range, w, rule,
                        [&](Volume* i, Volume* o) { return filter(i, o, w[0], w[1], w[2]); });
    }
    v3d::set_thread_count(0);
}

TEST(BoxFilters, MatchBruteForceWithBordersUntouched) {
    expect_filter(median3, kMedian);
    expect_filter(run_median3, kMedian);
    expect_filter(run_max3, kMax);
    expect_filter(run_min3, kMin);
    expect_filter(mov_ave3, kMean);
    expect_filter(median3, kMedian, 3);  // many ties
    expect_filter(run_median3, kMedian, 3);
}

TEST(BoxFilters, RunningMedianEqualsMedianOnRandomInputs) {
    uint32_t s = 99;
    for (int trial = 0; trial < 60; ++trial) {
        const int Z = 1 + t3d::next_random(s) % 8, Y = 1 + t3d::next_random(s) % 12,
                  X = 1 + t3d::next_random(s) % 40;
        auto odd_upto = [&](int n) { return 1 + 2 * static_cast<int>(t3d::next_random(s) % ((n + 1) / 2)); };
        const int wz = odd_upto(Z), wy = odd_upto(Y), wx = odd_upto(X);
        Vol in(Z, Y, X), a(Z, Y, X), b(Z, Y, X);
        t3d::fill_random(&in, trial, trial % 2 ? 256 : 1 + trial % 7);
        ASSERT_EQ(median3(&in, &a, wz, wy, wx), 0);
        ASSERT_EQ(run_median3(&in, &b, wz, wy, wx), 0);
        ASSERT_EQ(t3d::snapshot(&a), t3d::snapshot(&b)) << Z << "x" << Y << "x" << X;
    }
}

TEST(BoxFilters, LargeWindowsTakeTheGeneralPaths) {
    // 9x9x9 = 729 values: past the median network; 1x13 rows: running sums along long rows
    const std::tuple<BoxFilter, Rule, std::array<int, 3>> cases[] = {
        {median3, kMedian, {9, 9, 9}}, {run_max3, kMax, {9, 11, 13}}, {mov_ave3, kMean, {3, 1, 13}}};
    Vol in(11, 12, 13), out(11, 12, 13);
    t3d::fill_random(&in, 5);
    for (const auto& [filter, rule, w] : cases) {
        const auto expected = reference(&in, &out, w[0], w[1], w[2], rule);
        ASSERT_EQ(filter(&in, &out, w[0], w[1], w[2]), 0);
        EXPECT_EQ(t3d::snapshot(&out), expected);
    }
}

TEST(BoxFilters, InPlaceReadsReplacedValues) {
    for (auto [filter, rule] : {std::pair{&median3, kMedian}, std::pair{&mov_ave3, kMean}}) {
        Case a(8);
        const auto expected = reference(&a.in, &a.in, 3, 3, 5, rule, true);
        ASSERT_EQ(filter(&a.in, &a.in, 3, 3, 5), 0);
        EXPECT_EQ(t3d::snapshot(&a.in), expected);
    }
    // the running maximum reads the whole input before it writes
    Case m(9);
    const auto expected = reference(&m.in, &m.in, 3, 5, 3, kMax);
    ASSERT_EQ(run_max3(&m.in, &m.in, 3, 5, 3), 0);
    EXPECT_EQ(t3d::snapshot(&m.in), expected);
    // the running median in place stays within its histogram and ends
    Case r(10, 4);
    EXPECT_EQ(run_median3(&r.in, &r.in, 5, 7, 9), 0);
}

TEST(WeightedMedian, EvenTotalsAverageTheMiddlePair) {
    // weights 0..3 with an odd and an even total: the two middle values averaged, truncated
    Vol weights(3, 3, 5);
    t3d::fill_random(&weights, 4, 4);
    weights.voi(1, 2, 1, 2, 1, 2);  // the weights' VOI is ignored
    std::vector<double> wv = t3d::snapshot(&weights);
    const Rule weighted = [&](const Values& v, int) {
        Values all;
        for (size_t i = 0; i < v.size(); ++i) all.insert(all.end(), static_cast<int>(wv[i]), v[i]);
        all = sorted(all);
        const size_t s = all.size();
        return s % 2 ? all[s / 2] : (all[s / 2 - 1] + all[s / 2]) / 2;
    };
    for (int extra : {0, 1}) {  // make the total odd and even
        wv[7] += extra;
        weights.uc(0, 1, 2) = static_cast<unsigned char>(wv[7]);
        expect_case(12 + extra, 256, {3, 3, 5}, weighted,
                    [&](Volume* i, Volume* o) { return wei_median3(i, o, &weights); });
    }
}

TEST(WeightedMedian, ChecksTheWeights) {
    Case t(13);
    Vol zero(3, 3, 3), even(3, 2, 3), rgb(3, 3, 3, 1, 2), big(7, 3, 3), small_out(7, 9, 10, 1, 2);
    const auto before = t3d::snapshot(&t.out);
    EXPECT_EQ(wei_median3(&t.in, &t.out, &zero), -524);
    EXPECT_EQ(wei_median3(&t.in, &t.out, &even), -24);
    EXPECT_EQ(wei_median3(&t.in, &t.out, &big), -24);   // 7 frames > VOI's 5
    EXPECT_EQ(wei_median3(&t.in, &small_out, &rgb), -503);  // weights checked before -520
    EXPECT_EQ(wei_median3(&t.in, &small_out, &zero), -520);
    EXPECT_EQ(wei_median3(&t.in, &t.out, nullptr), -501);
    EXPECT_EQ(t3d::snapshot(&t.out), before);
}

TEST(MultistageMedian, MatchesBruteForce) {
    const int n = 5, h = 2;
    const Rule rule = [&](const Values& v, int centre) {
        auto at = [&](int dz, int dy, int dx) { return v[((dz + h) * n + dy + h) * n + dx + h]; };
        Values stats;
        for (int line = 0; line < 7; ++line) {
            Values l;
            for (int i = 0; i < n; ++i) {
                const int a = i - h, b = h - i;
                const int d[7][3] = {{0, 0, a}, {a, 0, 0}, {0, a, 0}, {a, a, a},
                                     {a, a, b}, {a, b, a}, {a, b, b}};
                l.push_back(at(d[line][0], d[line][1], d[line][2]));
            }
            stats.push_back(sorted(l)[h]);
        }
        stats.push_back(centre);
        stats = sorted(stats);
        return (stats[3] + stats[4]) / 2;
    };
    expect_case(14, 256, {n, n, n}, rule, [](Volume* i, Volume* o) { return multistage_median3(i, o, 5); });
    Case t(14);
    EXPECT_EQ(multistage_median3(&t.in, &t.out, 7), -24);  // beyond the VOI's 5 frames
    EXPECT_EQ(multistage_median3(&t.in, &t.out, 4), -24);
}

TEST(LFilter, WeighsTheSortedWindowClampsAndRounds) {
    std::vector<float> coef(27);
    for (int i = 0; i < 27; ++i) coef[i] = (i % 5 - 1.5f) * 0.173f;  // negative and large sums
    const Rule rule = [&](const Values& v, int) {
        const Values s = sorted(v);
        float sum = 0;
        for (size_t i = 0; i < s.size(); ++i) sum += coef[i] * static_cast<float>(s[i]);
        if (sum < 0) sum = 0;
        if (sum > 255) sum = 255;
        return static_cast<int>(sum + 0.5);
    };
    expect_case(15, 256, {3, 3, 3}, rule, [&](Volume* i, Volume* o) { return l_filter3(i, o, coef.data(), 3, 3, 3); });
}

TEST(LocalAdaptive, BlendsCentreAndMeanByNoiseOverVariance) {
    const float noise = 300.0f;
    const Rule rule = [&](const Values& v, int centre) {
        long long s = 0, q = 0;
        for (int x : v) s += x, q += x * x;
        const float n = static_cast<float>(v.size());
        const float mean = s / n, var = q / n - mean * mean;
        float r = mean;
        if (!(var < 0.0001)) {
            const float k = std::min(noise / var, 1.0f);
            r = (1 - k) * centre + k * mean;
        }
        return std::clamp(static_cast<int>(r + 0.5), 0, 255);
    };
    expect_case(16, 256, {3, 5, 3}, rule, [&](Volume* i, Volume* o) { return local_adapt_filt3(i, o, noise, 3, 5, 3); });
    // noise 0 returns the centre; a flat window returns its mean
    Case t(16);
    ASSERT_EQ(local_adapt_filt3(&t.in, &t.out, 0.0f, 3, 3, 3), 0);
    EXPECT_EQ(t.out.uc(3, 5, 5, 1), t.in.uc(3, 5, 5, 1));
    const float v[3] = {77, 77, 77};
    ASSERT_EQ(ClearVolume(&t.in, v), 0);
    ASSERT_EQ(local_adapt_filt3(&t.in, &t.out, 5.0f, 3, 3, 3), 0);
    EXPECT_EQ(t.out.uc(3, 5, 5), 77);
}

TEST(BoxFilters, CheckOrderAndNothingWrittenOnFailure) {
    Case t(18);
    Vol f(7, 9, 11, 2, 2), grey(8, 10, 12), small_out(7, 9, 10, 1, 2), small_grey(7, 9, 10);
    const float coef[27] = {};
    const auto before = t3d::snapshot(&t.out);
    using Call = std::function<int(Volume*, Volume*, int, int, int)>;
    const Call calls[] = {
        mov_ave3, median3, run_median3, run_max3, run_min3,
        [&](Volume* a, Volume* b, int z, int y, int x) { return l_filter3(a, b, coef, z, y, x); },
        [](Volume* a, Volume* b, int z, int y, int x) { return local_adapt_filt3(a, b, 1, z, y, x); },
    };
    for (const Call& call : calls) {
        EXPECT_EQ(call(nullptr, &t.out, 3, 3, 3), -501);
        EXPECT_EQ(call(&f, &t.out, 3, 3, 3), -502);
        EXPECT_EQ(call(&t.in, &f, 3, 3, 3), -502);
        EXPECT_EQ(call(&t.in, &small_grey, 2, 3, 3), -520);  // the size before the colour
        EXPECT_EQ(call(&t.in, &grey, 2, 3, 3), -523);
        EXPECT_EQ(call(&t.in, &t.out, 2, 3, 3), -24);
        EXPECT_EQ(call(&t.in, &t.out, 3, 3, 0), -24);
        EXPECT_EQ(call(&t.in, &t.out, 7, 3, 3), -24);  // VOI extent 5 + 2
        EXPECT_EQ(call(&t.in, &t.out, 3, 7, 11), -24);
    }
    EXPECT_EQ(l_filter3(&t.in, &small_out, nullptr, 2, 3, 3), -2);  // right after the volumes
    EXPECT_EQ(local_adapt_filt3(&t.in, &t.out, -1.0f, 2, 3, 3), -90);
    EXPECT_EQ(local_adapt_filt3(&t.in, &grey, -1.0f, 3, 3, 3), -523);
    EXPECT_EQ(multistage_median3(&t.in, &small_out, 3), -520);
    EXPECT_EQ(t3d::snapshot(&t.out), before);
}

// NaN and the infinities pass "< 0" tests: every real parameter is refused unless finite, and
// nothing is written.
TEST(BoxFilters, RealParametersMustBeFinite) {
    Case t(19);
    const auto before = t3d::snapshot(&t.out);
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    for (float bad : {nan, inf, -inf}) {
        EXPECT_EQ(local_adapt_filt3(&t.in, &t.out, bad, 3, 3, 3), -90) << bad;
        std::vector<float> coef(27, 1.0f / 27);
        coef[13] = bad;
        EXPECT_EQ(l_filter3(&t.in, &t.out, coef.data(), 3, 3, 3), -90) << bad;
    }
    EXPECT_EQ(t3d::snapshot(&t.out), before);
    Vol f(2, 3, 4, 2);
    EXPECT_EQ(wienerfrequency3(&f, &f, &f, &f, &f, nan), -90);
    EXPECT_EQ(wienerfrequency3(&f, &f, &f, &f, &f, inf), -90);
}

TEST(Wiener, FilterAndChecks) {
    Vol hre(2, 3, 4, 2), him(2, 3, 4, 2), psd(2, 3, 4, 2), dre(2, 3, 4, 2), dim(2, 3, 4, 2);
    const float one = 1, three = 3, minus_four = -4;
    ClearVolume(&psd, &one);
    ClearVolume(&dre, &three);
    ClearVolume(&dim, &minus_four);
    t3d::fill_random(&hre, 20);
    hre.voi(1, 2, 0, 3, 1, 4);
    const auto outside = t3d::snapshot(&hre);
    // |H|^2 = 25 and the noise 25: the gain is 1 / 50, the filter 3 / 50 + 4 / 50 i
    ASSERT_EQ(wienerfrequency3(&hre, &him, &psd, &dre, &dim, 25.0f), 0);
    EXPECT_FLOAT_EQ(hre.f(1, 2, 3), 0.06f);
    EXPECT_FLOAT_EQ(him.f(1, 0, 1), 0.08f);
    EXPECT_EQ(hre.f(0, 1, 1), outside[1 * 4 + 1]);
    EXPECT_EQ(hre.f(1, 1, 0), outside[12 + 4]);

    Vol small(2, 3, 3, 2), uc(2, 3, 4), rgb(2, 3, 4, 2, 2);
    EXPECT_EQ(wienerfrequency3(&hre, &him, &psd, &dre, &uc, 1), -502);
    EXPECT_EQ(wienerfrequency3(&hre, &him, &rgb, &dre, &dim, 1), -503);
    EXPECT_EQ(wienerfrequency3(&hre, &small, &psd, &dre, &dim, 1), -520);
    EXPECT_EQ(wienerfrequency3(&hre, &him, &psd, &small, &dim, 1), -521);
    EXPECT_EQ(wienerfrequency3(&hre, &him, &psd, &dre, &dim, -1), -90);
}

}  // namespace
