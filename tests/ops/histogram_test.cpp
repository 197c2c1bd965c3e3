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
