// Histogram, cumulative distribution and equalization against a brute-force count.
#include <cmath>
#include <vector>

#include "core/parallel.h"
#include "tests/support.h"

namespace {

using t3d::Vol;

struct Vectors {
    std::vector<float> store = std::vector<float>(3 * 256, -1.0f);
    float* set[3] = {store.data(), store.data() + 256, store.data() + 512};
};

// Equalization of an RGB volume with a VOI away from the origin into a larger output, each
// channel with its own counts, compared with a brute-force count and lookup.
TEST(Histogram, RgbChannelsEqualizeWithTheirOwnCounts) {
    for (int threads : {1, 3}) {
        v3d::set_thread_count(threads);
        Vol in(6, 7, 9, 1, 2), out(7, 8, 10, 1, 2);
        t3d::fill_random(&in, 2, 40);
        t3d::fill_random(&out, 3);
        in.voi(1, 5, 2, 7, 3, 8);
        auto expected = t3d::snapshot(&out);
        for (int c = 0; c < 3; ++c) {
            std::vector<int> n(256, 0);
            for (int z = 1; z < 5; ++z)
                for (int y = 2; y < 7; ++y)
                    for (int x = 3; x < 8; ++x) ++n[in.uc(z, y, x, c)];
            std::vector<float> cdf(256);
            float run = 0;
            for (int i = 0; i < 256; ++i) cdf[i] = run += n[i] / (5.0f * 5.0f * 4.0f);
            for (int z = 1; z < 5; ++z)
                for (int y = 2; y < 7; ++y)
                    for (int x = 3; x < 8; ++x)
                        expected[((c * 7 + z) * 8 + y) * 10 + x] =
                            static_cast<int>(cdf[in.uc(z, y, x, c)] * 255.0f + 0.5);
            Vectors pdf;
            ASSERT_EQ(hist3(&in, pdf.set), 0);
            for (int i = 0; i < 256; ++i) ASSERT_EQ(pdf.set[c][i], n[i] / (5.0f * 5.0f * 4.0f));
            std::vector<float> cumulative(256);
            ASSERT_EQ(cdfhist3(pdf.set[c], cumulative.data()), 0);
            EXPECT_EQ(cumulative, cdf);
        }
        ASSERT_EQ(HistogramEqual3d(&in, &out), 0);
        EXPECT_EQ(t3d::snapshot(&out), expected);
    }
    v3d::set_thread_count(0);
}

// Rows longer than the 64-byte steps of the vectorised mapping, with a tail, every level
// present (both halves of the lookup table), in place and into another volume.
TEST(Histogram, LongRowsMapEveryLevel) {
    Vol in(3, 5, 150), out(3, 5, 150);
    t3d::fill_random(&in, 4);
    for (int v = 0; v < 256; ++v) in.uc(1 + v % 2, 1 + v % 3, 5 + v % 141) = static_cast<unsigned char>(v);
    in.voi(1, 3, 1, 4, 5, 146);  // 141 columns: two whole steps and a tail
    std::vector<int> n(256, 0);
    for (int z = 1; z < 3; ++z)
        for (int y = 1; y < 4; ++y)
            for (int x = 5; x < 146; ++x) ++n[in.uc(z, y, x)];
    std::vector<float> cdf(256);
    float run = 0;
    for (int i = 0; i < 256; ++i) cdf[i] = run += n[i] / (141.0f * 3.0f * 2.0f);
    auto expected = t3d::snapshot(&in);
    for (int z = 1; z < 3; ++z)
        for (int y = 1; y < 4; ++y)
            for (int x = 5; x < 146; ++x)
                expected[(z * 5 + y) * 150 + x] = static_cast<int>(cdf[in.uc(z, y, x)] * 255.0f + 0.5);
    auto copy_of_in = [&] {
        in.voi(0, 3, 0, 5, 0, 150);
        ASSERT_EQ(CopyVolume(&in, &out, 0, 0, 0), 0);
        in.voi(1, 3, 1, 4, 5, 146);
        out.voi(1, 3, 1, 4, 5, 146);
    };
    for (int threads : {1, 2}) {
        v3d::set_thread_count(threads);
        copy_of_in();
        ASSERT_EQ(HistogramEqual3d(&out, &out), 0);
        EXPECT_EQ(t3d::snapshot(&out), expected);
        copy_of_in();
        ASSERT_EQ(HistogramEqual3d(&in, &out), 0);
        EXPECT_EQ(t3d::snapshot(&out), expected);
    }
    v3d::set_thread_count(0);
}

// The level every value of in's VOI maps to, by a brute-force count.
std::vector<int> levels_of(Vol& in) {
    const Volume* v = in.get();
    std::vector<long> n(256, 0);
    for (int z = v->z1; z < v->z2; ++z)
        for (int y = v->y1; y < v->y2; ++y)
            for (int x = v->x1; x < v->x2; ++x) ++n[in.uc(z, y, x)];
    const float total = static_cast<float>(v->z2 - v->z1) * (v->y2 - v->y1) * (v->x2 - v->x1);
    std::vector<int> level(256);
    float run = 0;
    for (int i = 0; i < 256; ++i) level[i] = static_cast<int>((run += n[i] / total) * 255.0f + 0.5);
    return level;
}

// The voxels of out that are not level[in] in in's VOI or not 0 outside it.
long wrong_voxels(Vol& in, Vol& out, const std::vector<int>& level) {
    const Volume* v = in.get();
    long wrong = 0;
    for (int z = 0; z < v->Z; ++z)
        for (int y = 0; y < v->Y; ++y)
            for (int x = 0; x < v->X; ++x) {
                const bool inside = z >= v->z1 && z < v->z2 && y >= v->y1 && y < v->y2 && x >= v->x1 && x < v->x2;
                wrong += out.uc(z, y, x) != (inside ? level[in.uc(z, y, x)] : 0);
            }
    return wrong;
}

// Pairs of neighbouring voxels repeated far more than 255 times (equal and unequal bytes), an
// odd row length with the VOI spanning whole rows, so that pairs run on across the rows of a
// frame, and a few levels elsewhere: the counts are exact on one and several threads.
TEST(Histogram, RepeatedPairsAcrossRowsCountExactly) {
    Vol in(4, 9, 151), out(4, 9, 151);
    for (int z = 0; z < 4; ++z)
        for (int y = 0; y < 9; ++y)
            for (int x = 0; x < 151; ++x) in.uc(z, y, x) = z == 2 ? 7 : x % 2 ? 200 : 7;
    for (int i = 0; i < 40; ++i) in.uc(i % 4, i % 9, (i * 37) % 151) = static_cast<unsigned char>(i * 5);
    std::vector<long> n(256, 0);
    for (int z = 0; z < 4; ++z)
        for (int y = 0; y < 9; ++y)
            for (int x = 0; x < 151; ++x) ++n[in.uc(z, y, x)];
    for (int threads : {1, 3}) {
        v3d::set_thread_count(threads);
        Vectors pdf;
        ASSERT_EQ(hist3(&in, pdf.set), 0);
        for (int i = 0; i < 256; ++i) ASSERT_EQ(pdf.set[0][i], n[i] / (4.0f * 9.0f * 151.0f)) << i;
        ASSERT_EQ(HistogramEqual3d(&in, &out), 0);
        EXPECT_EQ(wrong_voxels(in, out, levels_of(in)), 0);
    }
    v3d::set_thread_count(0);
}

// A volume too large for the caches on one thread (its output is written past them): rows that
// start anywhere in a line (a VOI from column 3), then whole frames.
TEST(Histogram, LargeVolumeOnOneThread) {
    v3d::set_thread_count(1);
    Vol in(208, 256, 256), out(208, 256, 256);
    t3d::fill_random(&in, 9, 180);
    in.voi(1, 207, 2, 250, 3, 253);
    ASSERT_EQ(HistogramEqual3d(&in, &out), 0);
    EXPECT_EQ(wrong_voxels(in, out, levels_of(in)), 0);
    in.voi(0, 208, 0, 256, 0, 256);
    ASSERT_EQ(HistogramEqual3d(&in, &out), 0);
    EXPECT_EQ(wrong_voxels(in, out, levels_of(in)), 0);
    v3d::set_thread_count(0);
}

TEST(Histogram, DarkestLevelIsNotStretchedToBlack) {
    Vol v(1, 1, 4), out(1, 1, 4);
    v.uc(0, 0, 0) = 10, v.uc(0, 0, 1) = 20, v.uc(0, 0, 2) = 20, v.uc(0, 0, 3) = 30;
    ASSERT_EQ(HistogramEqual3d(&v, &out), 0);
    EXPECT_EQ(out.uc(0, 0, 0), 64);   // 255 * 0.25 + 0.5
    EXPECT_EQ(out.uc(0, 0, 1), 191);  // 255 * 0.75 + 0.5
    EXPECT_EQ(out.uc(0, 0, 3), 255);
}

TEST(Histogram, Checks) {
    Vol uc(2, 2, 2), f(2, 2, 2, 2), rgb(2, 2, 2, 1, 2), small_out(2, 2, 1);
    Vectors v;
    float* one_missing[3] = {v.set[0], nullptr, v.set[2]};
    EXPECT_EQ(hist3(&f, v.set), -502);
    EXPECT_EQ(hist3(nullptr, v.set), -501);
    EXPECT_EQ(hist3(&uc, nullptr), -2);
    EXPECT_EQ(hist3(&rgb, one_missing), -2);
    EXPECT_EQ(hist3(&uc, one_missing), 0);  // one channel needs one vector
    EXPECT_EQ(cdfhist3(nullptr, v.set[0]), -2);
    EXPECT_EQ(cdfhist3(v.set[0], nullptr), -2);
    EXPECT_EQ(histeq3(&f, &uc, v.set), -502);
    EXPECT_EQ(histeq3(&uc, &f, v.set), -502);
    EXPECT_EQ(histeq3(&uc, &small_out, nullptr), -520);
    EXPECT_EQ(histeq3(&rgb, &rgb, one_missing), -2);
    EXPECT_EQ(histeq3(&uc, &rgb, v.set), 0);  // colour types are not compared
    EXPECT_EQ(histeq3(&rgb, &uc, v.set), -523);  // but three channels need three
    EXPECT_EQ(HistogramEqual3d(&f, &uc), -502);
    EXPECT_EQ(HistogramEqual3d(&uc, &small_out), -520);
    EXPECT_EQ(HistogramEqual3d(nullptr, &uc), -501);
}

}  // namespace
