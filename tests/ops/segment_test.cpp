// Segmentation and labelling: straightforward references on small random volumes with VOIs that
// leave a margin, the described edge cases, and the order of the checks.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <deque>
#include <vector>

#include "core/parallel.h"
#include "tests/ops/voxel_grid.h"

namespace {

using t3d::Box;
using t3d::for_box;
using t3d::Vol;

int mean_of(double sum, double count) { return static_cast<int>(std::floor(sum / count + 0.5)); }

// ---- references: the described algorithms, written the plain way ---------------------------

int ref_grow(Vol& in, Vol& out, int maxseeds, int tol) {
    const Box r = t3d::voi_box(in.get());
    std::vector<int> front(in->Z * in->Y * in->X), seed, sum, count;  // front: the pending region
    auto at = [&](int z, int y, int x) { return (z * in->Y + y) * in->X + x; };
    for_box(r, [&](int z, int y, int x) {  // seeds are numbered; a labelled voxel is visited
        if (!out.uc(z, y, x) || static_cast<int>(seed.size()) > maxseeds) return;
        if (static_cast<int>(seed.size()) == maxseeds) return seed.push_back(-1);
        seed.push_back(in.uc(z, y, x)), sum.push_back(in.uc(z, y, x)), count.push_back(1);
        front[at(z, y, x)] = out.uc(z, y, x) = static_cast<unsigned char>(seed.size());
    });
    if (static_cast<int>(seed.size()) > maxseeds) return -990;
    for (bool found = true; found;) {
        found = false;
        for_box({r.z1 + 1, r.z2 - 1, r.y1 + 1, r.y2 - 1, r.x1 + 1, r.x2 - 1}, [&](int z, int y, int x) {
            const int c = front[at(z, y, x)];
            if (!c) return;
            found = true;
            for_box({z - 1, z + 2, y - 1, y + 2, x - 1, x + 2}, [&](int nz, int ny, int nx) {
                const int v = in.uc(nz, ny, nx);
                if (out.uc(nz, ny, nx) || std::abs(v - seed[c - 1]) > tol) return;
                front[at(nz, ny, nx)] = out.uc(nz, ny, nx) = static_cast<unsigned char>(c);
                sum[c - 1] += v, ++count[c - 1];
            });
            front[at(z, y, x)] = 0;
        });
    }
    for_box(r, [&](int z, int y, int x) {
        if (int c = out.uc(z, y, x)) out.uc(z, y, x) = mean_of(sum[c - 1], count[c - 1]);
    });
    return 0;
}

int ref_merge(Vol& in, Vol& out, int tol, int maxregions) {
    const Box r = t3d::voi_box(in.get());
    std::vector<int> sum, count, mean;
    for_box(r, [&](int z, int y, int x) { out.uc(z, y, x) = 0; });
    auto nearest = [&](int v, const std::vector<int>& candidates) {
        int best = 0, best_d = 1 << 20;
        for (int c : candidates) {
            const int d = std::abs(v - mean[c - 1]);
            if (d <= tol && d < best_d) best = c, best_d = d;
        }
        return best;
    };
    bool full = false;
    for_box(r, [&](int z, int y, int x) {
        if (full) return;
        const int v = in.uc(z, y, x);
        std::vector<int> causal, all;  // the neighbours already scanned, then every region
        for_box({z - 1, z + 1, y - 1, y + 2, x - 1, x + 2}, [&](int a, int b, int c) {
            if (t3d::inside(r, a, b, c) && (a < z || b < y || (b == y && c < x))) causal.push_back(out.uc(a, b, c));
        });
        for (size_t c = 1; c <= mean.size(); ++c) all.push_back(static_cast<int>(c));
        int region = nearest(v, causal);
        if (!region) region = nearest(v, all);
        if (region) {
            sum[region - 1] += v;
            count[region - 1] += 1;
            mean[region - 1] = mean_of(sum[region - 1], count[region - 1]);
        } else if (static_cast<int>(mean.size()) == maxregions) {
            full = true;
            return;
        } else {
            sum.push_back(v), count.push_back(1), mean.push_back(v);
            region = static_cast<int>(mean.size());
        }
        out.uc(z, y, x) = region;
    });
    for_box(r, [&](int z, int y, int x) {
        if (int c = out.uc(z, y, x)) out.uc(z, y, x) = mean[c - 1];
    });
    return full ? -92 : static_cast<int>(mean.size());
}

// Children of b: z outermost, then x, then y; an axis of extent 1 is not split.
std::vector<Box> children(const Box& b) {
    auto parts = [](int a1, int a2) {
        std::vector<std::pair<int, int>> p;
        if (a2 - a1 == 1) return p = {{a1, a2}};
        return p = {{a1, a1 + (a2 - a1) / 2}, {a1 + (a2 - a1) / 2, a2}};
    };
    std::vector<Box> out;
    for (auto z : parts(b.z1, b.z2))
        for (auto x : parts(b.x1, b.x2))
            for (auto y : parts(b.y1, b.y2)) out.push_back({z.first, z.second, y.first, y.second, x.first, x.second});
    return out;
}

// Calls leaf(b, mean) for every homogeneous block in splitting order.
template <class Leaf> void ref_split_blocks(Vol& in, const Box& b, int tol, Leaf&& leaf) {
    int lo = 255, hi = 0;
    double sum = 0, n = 0;
    for_box(b, [&](int z, int y, int x) {
        lo = std::min<int>(lo, in.uc(z, y, x));
        hi = std::max<int>(hi, in.uc(z, y, x));
        sum += in.uc(z, y, x);
        ++n;
    });
    if (hi - lo <= tol) return leaf(b, mean_of(sum, n));
    for (const Box& c : children(b)) ref_split_blocks(in, c, tol, leaf);
}

int ref_split(Vol& in, Vol& out, int tol) {
    int count = 0;
    ref_split_blocks(in, t3d::voi_box(in.get()), tol, [&](const Box& b, int mean) {
        ++count;
        for_box(b, [&](int z, int y, int x) { out.uc(z, y, x) = mean; });
    });
    return count;
}

int ref_splitmerge(Vol& in, Vol& out, int tol) {
    const Box r = t3d::voi_box(in.get());
    Vol labels(in->Z, in->Y, in->X);
    int means[255], count = 0;
    ref_split_blocks(in, r, tol, [&](const Box& b, int mean) {
        if (++count > 255) return;
        for_box(b, [&](int z, int y, int x) { labels.uc(z, y, x) = count, out.uc(z, y, x) = mean; });
        means[count - 1] = mean;
        if (count == 1) return;
        const Box g{std::max(b.z1 - 1, r.z1), std::min(b.z2 + 1, r.z2), std::max(b.y1 - 1, r.y1),
                    std::min(b.y2 + 1, r.y2), std::max(b.x1 - 1, r.x1), std::min(b.x2 + 1, r.x2)};
        const Box slabs[6] = {{b.z1 - 1, b.z1, g.y1, g.y2, g.x1, g.x2}, {b.z2, b.z2 + 1, g.y1, g.y2, g.x1, g.x2},
                              {g.z1, g.z2, b.y1 - 1, b.y1, g.x1, g.x2}, {g.z1, g.z2, b.y2, b.y2 + 1, g.x1, g.x2},
                              {g.z1, g.z2, g.y1, g.y2, b.x1 - 1, b.x1}, {g.z1, g.z2, g.y1, g.y2, b.x2, b.x2 + 1}};
        int best_d = 1000, best = 0;
        for (const Box& s : slabs) {
            if (s.z1 < r.z1 || s.z2 > r.z2 || s.y1 < r.y1 || s.y2 > r.y2 || s.x1 < r.x1 || s.x2 > r.x2) continue;
            for_box(s, [&](int z, int y, int x) {
                const int o = out.uc(z, y, x), d = std::abs(o - mean);
                if (o && d < best_d) best_d = d, best = labels.uc(z, y, x);
            });
        }
        if (best_d > tol) return;
        for_box(b, [&](int z, int y, int x) { labels.uc(z, y, x) = best, out.uc(z, y, x) = means[best - 1]; });
        --count;
    });
    return count;
}

// Labels of 26-connected equal-value components by breadth-first flood fill.
int ref_label(Vol& in, Vol& out, std::vector<float>& counts) {
    const Box r = t3d::voi_box(in.get());
    int label = 0;
    for_box(r, [&](int z, int y, int x) {
        const int v = in.uc(z, y, x);
        if (!v) return;
        ++label;
        counts.push_back(0);
        std::deque<Box> queue{{z, z, y, y, x, x}};
        in.uc(z, y, x) = 0;
        while (!queue.empty()) {
            const Box p = queue.front();
            queue.pop_front();
            out.uc(p.z1, p.y1, p.x1) = label;
            counts.back() += 1;
            for_box({p.z1 - 1, p.z1 + 2, p.y1 - 1, p.y1 + 2, p.x1 - 1, p.x1 + 2}, [&](int a, int b, int c) {
                if (!t3d::inside(r, a, b, c) || in.uc(a, b, c) != v) return;
                in.uc(a, b, c) = 0;
                queue.push_back({a, a, b, b, c, c});
            });
        }
    });
    return label;
}

// ---- fixtures -------------------------------------------------------------------------------

const int kZ = 7, kY = 9, kX = 10;

// Random grey values in 0..range-1 and a VOI that leaves a margin on every side.
void prepare(Vol& v, uint32_t seed, int range) {
    t3d::fill_random(v.get(), seed, range);
    v.voi(1, kZ - 1, 2, kY - 1, 1, kX - 2);
}

// Sparse non-zero values (about one voxel in `one_in`), everywhere.
void sparse(Volume* v, uint32_t seed, int one_in) {
    t3d::fill_random(v, seed);
    for_box(t3d::whole_box(v), [&](int z, int y, int x) {
        unsigned char& u = v->data[0].uc[z][y][x];
        u = u % one_in == 0 ? 1 + u % 7 : 0;
    });
}

// ---- threshold ------------------------------------------------------------------------------

TEST(Threshold, VoiVoxelsAgainstTheIntegerThresholdOthersUntouched) {
    Vol in(kZ, kY, kX), out(kZ, kY, kX);
    prepare(in, 1, 256);
    for (int t : {-3, 0, 1, 128, 255, 256, 1000}) {
        t3d::fill_random(out.get(), 2);
        t3d::Voxels expected(out.get());
        for_box(t3d::voi_box(in.get()), [&](int z, int y, int x) { expected.at(z, y, x) = in.uc(z, y, x) >= t ? 255 : 0; });
        ASSERT_EQ(threshold_3d(in.get(), out.get(), t), 0);
        ASSERT_EQ(t3d::snapshot(out.get()), expected.v) << "t=" << t;
    }
}

// Every operator against its reference on random volumes: seeds x tolerances, the result (status
// or region count) and every voxel of the output.
TEST(Segment, EveryOperatorMatchesItsReference) {
    struct Case {
        const char* name;
        char start;  // the output starts random ('r'), zero ('0') or as sparse seeds ('s')
        int seeds, range_odd, range_even;  // grey levels for odd and even seeds
        std::vector<int> tolerances;
        int (*run)(Vol& in, Vol& out, int tol, uint32_t seed);
        int (*reference)(Vol& in, Vol& out, int tol, uint32_t seed);
    };
    // some runs meet too many seeds (3) or hit the maximum of 4 regions; split-merge: with 40 grey levels,
    // tolerance 0 overflows 255 regions
    const Case cases[] = {
        {"grow", 's', 12, 12, 12, {0, 2, 5},
         [](Vol& in, Vol& out, int tol, uint32_t seed) { return region3d_grow(in.get(), out.get(), seed % 4 ? 255 : 3, tol); },
         [](Vol& in, Vol& out, int tol, uint32_t seed) { return ref_grow(in, out, seed % 4 ? 255 : 3, tol); }},
        {"merge", 'r', 12, 9, 9, {0, 1, 3, 2147483647},
         [](Vol& in, Vol& out, int tol, uint32_t seed) { return region3d_merge(in.get(), out.get(), tol, seed % 3 ? 255 : 4); },
         [](Vol& in, Vol& out, int tol, uint32_t seed) { return ref_merge(in, out, tol, seed % 3 ? 255 : 4); }},
        {"split", 'r', 8, 8, 8, {0, 3, 6, 255},
         [](Vol& in, Vol& out, int tol, uint32_t) {
             int count = 0;
             return region3d_split(in.get(), out.get(), &count, tol) ? -1000 : count;
         },
         [](Vol& in, Vol& out, int tol, uint32_t) { return ref_split(in, out, tol); }},
        {"splitmerge", '0', 10, 6, 40, {0, 2, 4},
         [](Vol& in, Vol& out, int tol, uint32_t) {
             int count = 0;
             return region3d_splitmerge(in.get(), out.get(), &count, tol) ? -1000 : count;
         },
         [](Vol& in, Vol& out, int tol, uint32_t) { return ref_splitmerge(in, out, tol); }},
    };
    for (const Case& c : cases)
        for (uint32_t seed = 1; seed <= static_cast<uint32_t>(c.seeds); ++seed)
            for (int tol : c.tolerances) {
                SCOPED_TRACE(::testing::Message() << c.name << " seed " << seed << " tol " << tol);
                Vol in(kZ, kY, kX), out(kZ, kY, kX), ref(kZ, kY, kX);
                prepare(in, seed, seed % 2 ? c.range_odd : c.range_even);
                for (Volume* v : {out.get(), ref.get()})
                    if (c.start != '0') c.start == 's' ? sparse(v, seed + 100, 23) : t3d::fill_random(v, seed + 50);
                EXPECT_EQ(c.run(in, out, tol, seed), c.reference(in, ref, tol, seed));
                ASSERT_EQ(t3d::snapshot(out.get()), t3d::snapshot(ref.get()));
            }
}

// ---- growing --------------------------------------------------------------------------------

TEST(RegionGrow, ComparesWithTheSeedValueAndBorderSeedsDoNotSpread) {
    Vol in(5, 5, 12), out(5, 5, 12);
    for_box({0, 5, 0, 5, 0, 12}, [&](int z, int y, int x) { in.uc(z, y, x) = 50 + x; });
    in.voi(1, 4, 1, 4, 1, 12);
    out.uc(2, 2, 2) = 1;   // interior seed of value 52: tolerance 2 reaches x = 1..4 only
    out.uc(1, 1, 8) = 9;   // border seed (z = z1): stays alone although its neighbours qualify
    // 53s along the border row: the first is reached from the interior, the others only
    // through border voxels, which never spread
    in.uc(1, 1, 5) = in.uc(1, 1, 6) = in.uc(1, 1, 7) = 53;
    ASSERT_EQ(region3d_grow(in.get(), out.get(), 2, 2), 0);
    for_box({1, 4, 1, 4, 1, 12}, [&](int z, int y, int x) {
        const bool border_row = z == 1 && y == 1;
        const int want = border_row && x == 8 ? 58 : x <= 4 || (border_row && x == 5) ? 53 : 0;
        EXPECT_EQ(out.uc(z, y, x), want) << z << "," << y << "," << x;  // 52.5 rounds up
    });
}

TEST(RegionGrow, NoSeedsLeaveTheOutputClear) {
    Vol in(kZ, kY, kX), out(kZ, kY, kX);
    prepare(in, 3, 256);
    EXPECT_EQ(region3d_grow(in.get(), out.get(), 10, 255), 0);
    EXPECT_EQ(t3d::snapshot(out.get()), std::vector<double>(kZ * kY * kX, 0.0));
}

// ---- merging --------------------------------------------------------------------------------

TEST(RegionMerge, The256thRegionOverflows) {
    Vol ramp(1, 16, 16), partial(1, 16, 16);
    for (int i = 0; i < 256; ++i) ramp.uc(0, i / 16, i % 16) = i;
    EXPECT_EQ(region3d_merge(ramp.get(), partial.get(), 0, 255), -92);
    for (int i = 0; i < 256; ++i) ASSERT_EQ(partial.uc(0, i / 16, i % 16), i < 255 ? i : 0);
}

// ---- splitting ------------------------------------------------------------------------------

TEST(RegionSplitMerge, KeepsTheStoredMeanAndVisitsYBeforeX) {
    Vol row(1, 1, 4), out(1, 1, 4);
    row.uc(0, 0, 0) = 10, row.uc(0, 0, 1) = 12, row.uc(0, 0, 2) = row.uc(0, 0, 3) = 13;
    int count = 0;
    ASSERT_EQ(region3d_splitmerge(row.get(), out.get(), &count, 2), 0);
    EXPECT_EQ(count, 1);
    for (int x = 0; x < 4; ++x) EXPECT_EQ(out.uc(0, 0, x), 11);  // not the merged mean 12

    // 2 x 2 frame: (y0,x0) 10, (y1,x0) 20, (y0,x1) 17, (y1,x1) 100. Taken y before x, the 17
    // finds the 20 already there and joins it.
    Vol sq(1, 2, 2), out2(1, 2, 2);
    sq.uc(0, 0, 0) = 10, sq.uc(0, 1, 0) = 20, sq.uc(0, 0, 1) = 17, sq.uc(0, 1, 1) = 100;
    count = 0;
    ASSERT_EQ(region3d_splitmerge(sq.get(), out2.get(), &count, 4), 0);
    EXPECT_EQ(count, 3);
    EXPECT_EQ(out2.uc(0, 0, 1), 20);
    EXPECT_EQ(out2.uc(0, 1, 0), 20);
}

// ---- labelling ------------------------------------------------------------------------------

TEST(Label, PartitionMatchesAFloodFillAndConsumesTheInput) {
    for (uint32_t seed = 1; seed <= 12; ++seed) {
        Vol in(kZ, kY, kX), out(kZ, kY, kX), ref_in(kZ, kY, kX), ref_out(kZ, kY, kX);
        prepare(in, seed, seed % 2 ? 3 : 5);
        prepare(ref_in, seed, seed % 2 ? 3 : 5);
        t3d::fill_random(out.get(), seed);
        t3d::fill_random(ref_out.get(), seed);
        std::vector<float> counts(255, -1.0f), ref_counts;
        int n = -1;
        ASSERT_EQ(grass3d_label(in.get(), out.get(), &n, counts.data(), 255), 0);
        ASSERT_EQ(n, ref_label(ref_in, ref_out, ref_counts));
        ref_counts.resize(255, 0.0f);
        EXPECT_EQ(counts, ref_counts);
        ASSERT_EQ(t3d::snapshot(out.get()), t3d::snapshot(ref_out.get())) << seed;
        ASSERT_EQ(t3d::snapshot(in.get()), t3d::snapshot(ref_in.get())) << seed;
    }
}

// Runs are found and joined by slabs of frames on several threads: components that wind across
// the seams, runs of different values side by side in a row, a VOI margin, and the maximum
// reached in the middle must give the flood fill's labels for any thread count.
TEST(Label, ThreadsSplittingTheFramesGiveTheFloodFillLabels) {
    const int Z = 23, Y = 11, X = 70;
    for (int maxlabels : {255, 9}) {
        Vol ref_in(Z, Y, X), ref_out(Z, Y, X);
        t3d::fill_random(ref_in.get(), 7, 3);  // values 0, 1, 2: long winding components
        for_box(t3d::whole_box(ref_in.get()), [&](int z, int y, int x) {
            if ((x / 9 + y + z) % 5 == 0) ref_in.uc(z, y, x) = 0;
        });
        ref_in.voi(1, Z - 1, 0, Y - 1, 2, X - 3);
        std::vector<float> ref_counts;
        const int components = ref_label(ref_in, ref_out, ref_counts);
        ASSERT_GT(components, 9);
        ASSERT_LT(components, 256);  // the reference writes its labels into bytes
        const int ref_n = std::min(components, maxlabels);
        for (int threads : {1, 2, 5}) {
            SCOPED_TRACE(::testing::Message() << "maximum " << maxlabels << ", threads " << threads);
            Vol in(Z, Y, X), out(Z, Y, X);
            t3d::fill_random(in.get(), 7, 3);
            for_box(t3d::whole_box(in.get()), [&](int z, int y, int x) {
                if ((x / 9 + y + z) % 5 == 0) in.uc(z, y, x) = 0;
            });
            in.voi(1, Z - 1, 0, Y - 1, 2, X - 3);
            std::vector<float> counts(255, -1.0f);
            int n = -1;
            v3d::set_thread_count(threads);
            const int status = grass3d_label(in.get(), out.get(), &n, counts.data(), maxlabels);
            v3d::set_thread_count(0);
            ASSERT_EQ(n, ref_n);
            ASSERT_EQ(status, maxlabels == 255 ? 0 : -92);
            for (int k = 0; k < maxlabels; ++k) EXPECT_EQ(counts[k], k < n ? ref_counts[k] : 0.0f) << k;
            // past the maximum the flood fill's labels are above it and its input cleared
            for_box(t3d::whole_box(in.get()), [&](int z, int y, int x) {
                const bool kept = ref_out.uc(z, y, x) <= maxlabels;
                ASSERT_EQ(out.uc(z, y, x), kept ? ref_out.uc(z, y, x) : 0) << z << "," << y << "," << x;
                if (kept) ASSERT_EQ(in.uc(z, y, x), ref_in.uc(z, y, x)) << z << "," << y << "," << x;
                else ASSERT_NE(in.uc(z, y, x), 0);
            });
        }
    }
}

// Hundreds of components in one slab of frames, and the maximum reached inside a later slab:
// the first 255 in scan order get their numbers on any thread count, the others keep their
// values in the input.
TEST(Label, TheMaximumReachedAmongHundredsOfComponentsInALaterSlab) {
    const int Z = 4, Y = 20, X = 40;
    for (int threads : {1, 3}) {
        SCOPED_TRACE(::testing::Message() << "threads " << threads);
        Vol in(Z, Y, X), out(Z, Y, X);
        for_box(t3d::whole_box(in.get()), [&](int z, int y, int x) {
            if (z % 2 == 0 && y % 2 == 0 && x % 2 == 0) in.uc(z, y, x) = static_cast<unsigned char>(1 + x % 7);
        });
        std::vector<float> counts(255);
        int n = 0;
        v3d::set_thread_count(threads);
        const int status = grass3d_label(in.get(), out.get(), &n, counts.data(), 255);
        v3d::set_thread_count(0);
        ASSERT_EQ(status, -92);
        ASSERT_EQ(n, 255);
        EXPECT_EQ(counts, std::vector<float>(255, 1.0f));
        int component = 0;  // 400 isolated voxels, in scan order
        for_box(t3d::whole_box(in.get()), [&](int z, int y, int x) {
            if (z % 2 || y % 2 || x % 2) return;
            ++component;
            ASSERT_EQ(out.uc(z, y, x), component <= 255 ? component : 0) << z << "," << y << "," << x;
            ASSERT_EQ(in.uc(z, y, x), component <= 255 ? 0 : 1 + x % 7) << z << "," << y << "," << x;
        });
    }
}

TEST(Label, TheMaximumStopsBeforeTheNextComponent) {
    Vol in(3, 3, 3), out(3, 3, 3);
    int n = 0;
    float counts[3];
    in.uc(0, 0, 0) = 1, in.uc(0, 0, 2) = 2, in.uc(0, 2, 2) = 3;
    ASSERT_EQ(grass3d_label(in.get(), out.get(), &n, counts, 2), -92);
    EXPECT_EQ(n, 2);
    EXPECT_EQ(in.uc(0, 2, 2), 3);  // the third component was not fired
}

// ---- checks ---------------------------------------------------------------------------------

// Runs op on (in, out) and expects status; the output must be unchanged.
template <class Op> void expect_refused(Volume* in, Vol& out, int status, Op op) {
    const auto before = t3d::snapshot(out.get());
    EXPECT_EQ(op(in, out.get()), status);
    EXPECT_EQ(t3d::snapshot(out.get()), before);
}

TEST(SegmentChecks, VolumesFirstThenDimensionsThenParameters) {
    Vol in(4, 5, 6), out(4, 5, 6), small(4, 5, 5), f(4, 5, 6, 2), rgb(4, 5, 6, 1, 2);
    t3d::fill_random(in.get(), 5);
    t3d::fill_random(out.get(), 6);
    int nonzero = 3;
    float counts[255];
    const struct {
        const char* name;
        int (*run)(Volume*, Volume*, int bad);
    } ops[] = {
        {"threshold", [](Volume* a, Volume* b, int) { return threshold_3d(a, b, 10); }},
        {"grow", [](Volume* a, Volume* b, int bad) { return region3d_grow(a, b, bad ? 256 : 5, 3); }},
        {"merge", [](Volume* a, Volume* b, int bad) { return region3d_merge(a, b, bad ? -1 : 3, 255); }},
        {"split", [](Volume* a, Volume* b, int bad) { int c = 0; return region3d_split(a, b, &c, bad ? -1 : 3); }},
        {"splitmerge", [](Volume* a, Volume* b, int bad) { int c = 0; return region3d_splitmerge(a, b, &c, bad ? -1 : 3); }},
        {"label", [](Volume* a, Volume* b, int bad) { int n; float c[255]; return grass3d_label(a, b, &n, c, bad ? 0 : 255); }},
    };
    for (const auto& op : ops) {
        SCOPED_TRACE(op.name);
        auto with = [&](int bad) { return [&, bad](Volume* a, Volume* b) { return op.run(a, b, bad); }; };
        expect_refused(nullptr, out, -501, with(1));
        expect_refused(f.get(), out, -502, with(1));
        expect_refused(rgb.get(), out, -503, with(1));
        EXPECT_EQ(op.run(in.get(), nullptr, 1), -501);
        expect_refused(in.get(), f, -502, with(1));
        expect_refused(in.get(), rgb, -503, with(1));
        expect_refused(in.get(), small, -520, with(1));
        if (std::string(op.name) != "threshold") expect_refused(in.get(), out, -90, with(1));
    }
    expect_refused(in.get(), out, -90, [](Volume* a, Volume* b) { return region3d_grow(a, b, 0, 3); });
    expect_refused(in.get(), out, -90, [](Volume* a, Volume* b) { return region3d_grow(a, b, 5, -1); });
    expect_refused(in.get(), out, -90, [](Volume* a, Volume* b) { return region3d_merge(a, b, 0, 0); });
    // split and split-merge: the count pointer after the dimensions, then its value
    for (auto split : {region3d_split, region3d_splitmerge}) {
        expect_refused(in.get(), small, -520, [&](Volume* a, Volume* b) { return split(a, b, nullptr, -1); });
        expect_refused(in.get(), out, -4, [&](Volume* a, Volume* b) { return split(a, b, nullptr, -1); });
        expect_refused(in.get(), out, -90, [&](Volume* a, Volume* b) { return split(a, b, &nonzero, 3); });
        EXPECT_EQ(nonzero, 3);
    }
    // labelling: the pointers come before the dimensions
    int n = 0;
    expect_refused(in.get(), small, -4, [&](Volume* a, Volume* b) { return grass3d_label(a, b, nullptr, nullptr, 0); });
    expect_refused(in.get(), small, -2, [&](Volume* a, Volume* b) { return grass3d_label(a, b, &n, nullptr, 0); });
    expect_refused(in.get(), small, -520, [&](Volume* a, Volume* b) { return grass3d_label(a, b, &n, counts, 0); });
    expect_refused(in.get(), out, -90, [&](Volume* a, Volume* b) { return grass3d_label(a, b, &n, counts, 256); });
    EXPECT_EQ(grass3d_label(in.get(), in.get(), &n, counts, 255), -525);
}

}  // namespace
