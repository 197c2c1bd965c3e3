// The frame gallery's layout, resampling and checks.
#include <cmath>

#include "support.h"

namespace {

using t3d::Vol;

// Frame z of the VOI filled with the value 10 (z - z1 + 1), so every tile shows its frame's
// number whatever the resampling.
void number_frames(Vol& v) {
    for (int z = v->z1; z < v->z2; ++z)
        for (int y = 0; y < v->Y; ++y)
            for (int x = 0; x < v->X; ++x) v.uc(z, y, x) = static_cast<unsigned char>(10 * (z - v->z1 + 1));
}

// The expected picture: tile k of TH x TW at grid row k / n, column k % n, 0 elsewhere.
int expected(int r, int c, int n, int TW, int TH, int tiles) {
    const int k = (r / TH) * n + c / TW;
    return c / TW < n && k < tiles ? 10 * (k + 1) : 0;
}

TEST(Gallery, LayoutForSeveralRowLengthsAndBothMethods) {
    Vol v(13, 40, 52);
    v.voi(1, 12, 3, 33, 2, 42);  // 11 frames of 30 x 40
    number_frames(v);
    struct Case {
        int n, TW, TH, tiles;
    } cases[] = {
        {1, 210, 157, 1},  // one column of tiles as wide as the picture
        {2, 105, 78, 4},
        {4, 52, 39, 11},   // 4 rows: every frame
        {8, 26, 19, 0},    // tiles lower than 25
    };
    for (const Case& e : cases)
        for (int method : {0, 1}) {
            Vol out(2, 160, 210);
            t3d::fill_random(&out, 5);
            const auto frame1 = t3d::snapshot(&out);
            const int s = ProduceFrameGallery3d(&v, &out, e.n, method);
            SCOPED_TRACE(testing::Message() << "n " << e.n << " method " << method);
            if (e.tiles == 0) {
                EXPECT_EQ(s, -520);
                continue;
            }
            ASSERT_EQ(s, 0);
            for (int r = 0; r < 160; ++r)
                for (int c = 0; c < 210; ++c)
                    ASSERT_EQ(out.uc(0, r, c), expected(r, c, e.n, e.TW, e.TH, e.tiles)) << r << "," << c;
            const auto after = t3d::snapshot(&out);  // frame 1 untouched
            EXPECT_TRUE(std::equal(after.begin() + 160 * 210, after.end(), frame1.begin() + 160 * 210));
        }
}

TEST(Gallery, ResamplingPutsTheFrameCornersOnTheTileCorners) {
    Vol v(1, 26, 26);
    for (int y = 0; y < 26; ++y)
        for (int x = 0; x < 26; ++x) v.uc(0, y, x) = static_cast<unsigned char>(4 * x + 2 * (y & 1));
    Vol nearest(1, 51, 51), linear(1, 51, 51);
    ASSERT_EQ(ProduceFrameGallery3d(&v, &nearest, 1, 0), 0);
    ASSERT_EQ(ProduceFrameGallery3d(&v, &linear, 1, 1), 0);
    // tile column j samples x = j / 2: nearest rounds halves up, linear is exact on the ramp
    for (int j = 0; j < 51; ++j) {
        EXPECT_EQ(nearest.uc(0, 0, j), 4 * ((j + 1) / 2)) << j;
        EXPECT_EQ(linear.uc(0, 0, j), 2 * j) << j;
    }
    // rows: tile row 1 lies halfway between frame rows 0 and 1
    EXPECT_EQ(linear.uc(0, 1, 0), 1);
    EXPECT_EQ(nearest.uc(0, 1, 0), 2);
    EXPECT_EQ(nearest.uc(0, 50, 50), v.uc(0, 25, 25));
    EXPECT_EQ(linear.uc(0, 50, 50), v.uc(0, 25, 25));
}

TEST(Gallery, ColourAndSameVolume) {
    Vol rgb(3, 30, 30, 1, 2), out(1, 60, 60, 1, 2);
    t3d::fill_random(&rgb, 21);
    ASSERT_EQ(ProduceFrameGallery3d(&rgb, &out, 2, 1), 0);
    EXPECT_EQ(out.uc(0, 0, 0, 2), rgb.uc(0, 0, 0, 2));
    EXPECT_EQ(out.uc(0, 59, 0, 1), rgb.uc(2, 29, 0, 1));  // third tile: row 1, column 0
    EXPECT_EQ(out.uc(0, 59, 59, 0), 0);                  // no fourth frame
    // in place: frame 0 is both a tile and the picture
    Vol self(3, 60, 60), copy(3, 60, 60), separate(1, 60, 60);
    t3d::fill_random(&self, 22);
    ASSERT_EQ(CopyVolume(&self, &copy, 0, 0, 0), 0);
    ASSERT_EQ(ProduceFrameGallery3d(&copy, &separate, 2, 1), 0);
    ASSERT_EQ(ProduceFrameGallery3d(&self, &self, 2, 1), 0);
    for (int y = 0; y < 60; ++y)
        for (int x = 0; x < 60; ++x) ASSERT_EQ(self.uc(0, y, x), separate.uc(0, y, x));
}

TEST(Gallery, ChecksInOrderLeaveTheOutputAlone) {
    Vol in(4, 30, 30), out(1, 100, 100), rgb(1, 100, 100, 1, 2), f(4, 30, 30, 2);
    t3d::fill_random(&in, 23);
    t3d::fill_random(&out, 24);
    const auto before = t3d::snapshot(&out);
    EXPECT_EQ(ProduceFrameGallery3d(&f, &out, 2, 0), -502);
    EXPECT_EQ(ProduceFrameGallery3d(&in, nullptr, 2, 0), -501);
    EXPECT_EQ(ProduceFrameGallery3d(&in, &rgb, 0, 0), -523);  // colour before n
    EXPECT_EQ(ProduceFrameGallery3d(&in, &out, 0, 0), -90);
    in.voi(0, 4, 5, 6, 0, 30);                                 // one row wide
    EXPECT_EQ(ProduceFrameGallery3d(&in, &out, 0, 0), -90);   // n before the VOI
    EXPECT_EQ(ProduceFrameGallery3d(&in, &out, 2, 0), -521);
    in.voi(0, 4, 0, 30, 7, 8);                                 // one column wide
    EXPECT_EQ(ProduceFrameGallery3d(&in, &out, 2, 0), -521);
    in.voi(0, 4, 0, 30, 0, 30);
    EXPECT_EQ(ProduceFrameGallery3d(&in, &out, 5, 0), -520);   // 100 / 5 = 20 < 25
    in.voi(0, 4, 0, 6, 0, 30);
    EXPECT_EQ(ProduceFrameGallery3d(&in, &out, 2, 0), -520);   // TH = 6 / 30 * 50 = 10
    in.voi(0, 4, 0, 30, 0, 12);
    EXPECT_EQ(ProduceFrameGallery3d(&in, &out, 1, 0), -520);   // TH = 250: no tile row fits
    EXPECT_EQ(t3d::snapshot(&out), before);
}

}  // namespace
