// Pictures in the voxels' true proportions: the spaced renderers and the gallery's aspect.
#include <cmath>
#include <tuple>
#include <vector>

#include "support.h"
#include "tests/proj/picture.h"

namespace {

using t3d::Picture;
using t3d::Vol;

const unsigned char kThreshold[3] = {50, 50, 50};

// The rows (or columns) of a picture that hold a non-zero pixel.
int lit_lines(Picture& p, int H, int W, bool rows) {
    int n = 0;
    for (int i = 0; i < (rows ? H : W); ++i)
        for (int j = 0; j < (rows ? W : H); ++j)
            if (rows ? p.at(i, j) : p.at(j, i)) {
                ++n;
                break;
            }
    return n;
}

// One bright frame of a 4 x 6 x 6 volume, seen from the side: as tall as its spacing along Z
// (over the smallest spacing) and as wide as its X spacing makes its six columns.
TEST(SpacedProjection, AFrameIsAsThickAsItsSpacing) {
    Vol v(4, 6, 6);
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 6; ++x) v.uc(1, y, x) = 200;
    const int H = 40, W = 40;
    for (const auto& [sz, sy, sx, rows, columns] : std::vector<std::tuple<double, double, double, int, int>>{
             {1, 1, 1, 1, 6}, {3, 1, 1, 3, 6}, {6, 2, 4, 3, 12}, {0.5, 0.5, 1.5, 1, 18}}) {
        SCOPED_TRACE(testing::Message() << sz << " " << sy << " " << sx);
        for (int mode : {V3D_PROVOLI_MAX, V3D_PROVOLI_MEAN, V3D_PROVOLI_THRESHOLD, V3D_PROVOLI_BINARY}) {
            Picture p(H, W, 1, 0);
            ASSERT_EQ(ProvoliSpaced3d(&v, p.image(), H, W, mode, 0, 0, 0, kThreshold, 0, sz, sy, sx), 0) << mode;
            EXPECT_EQ(lit_lines(p, H, W, true), rows) << mode;
            EXPECT_EQ(lit_lines(p, H, W, false), columns) << mode;
        }
    }
}

// Equal spacings are the renderers' own pictures, whatever the view.
TEST(SpacedProjection, CubicVoxelsGiveThePlainRenderers) {
    Vol grey(5, 7, 9), colour(5, 7, 9, 1, 2);
    t3d::fill_random(&grey, 8);
    t3d::fill_random(&colour, 9);
    const int H = 23, W = 19;
    for (int az : {0, 37, 90, 200})
        for (int el : {0, 25, -60}) {
            SCOPED_TRACE(testing::Message() << az << " " << el);
            Picture a(H, W, 2), b(H, W, 2);
            // plain: the status of the renderer drawing into a (filled with 1 before)
            auto same = [&](int mode, Vol& v, int param, int plain) {
                b.fill(1);  // grey renderers leave the other channels as they were
                ASSERT_EQ(plain, 0);
                ASSERT_EQ(ProvoliSpaced3d(&v, b.image(), H, W, mode, az, el, 0, kThreshold, param, 2.5, 2.5, 2.5), 0);
                EXPECT_EQ(a.pixels(), b.pixels()) << mode;
            };
            same(V3D_PROVOLI_MAX, grey, 0, (a.fill(1), ProvoliMax3d(&grey, a.image(), H, W, az, el, 0)));
            same(V3D_PROVOLI_MEAN, colour, 0, (a.fill(1), ProvoliAvrg3d(&colour, a.image(), H, W, az, el, 0)));
            same(V3D_PROVOLI_THRESHOLD, grey, 0, (a.fill(1), Provoli3d(&grey, a.image(), H, W, az, el, 0, kThreshold)));
            same(V3D_PROVOLI_BINARY, grey, 1, (a.fill(1), Provoli3dBinary(&grey, a.image(), H, W, az, el, 0, 1)));
            same(V3D_PROVOLI_SURFACE, grey, 1,
                 (a.fill(1), Provoli3dSurface(&grey, a.image(), H, W, az, el, 0, kThreshold, 1)));
            same(V3D_PROVOLI_SURFACE_COLOR, colour, 0,
                 (a.fill(1), Provoli3dSurfaceColor(&colour, a.image(), H, W, az, el, 0, kThreshold, 0)));
        }
}

TEST(SpacedProjection, ChecksComeInTheRenderersOrder) {
    Vol v(2, 2, 2), f(2, 2, 2, 2);
    Picture p(4, 4, 1, 9);
    EXPECT_EQ(ProvoliSpaced3d(&f, p.image(), 4, 4, V3D_PROVOLI_MAX, 0, 0, 0, nullptr, 0, 0, 1, 1), -502);
    EXPECT_EQ(ProvoliSpaced3d(&v, nullptr, 4, 4, V3D_PROVOLI_MAX, 0, 0, 0, nullptr, 0, 0, 1, 1), -1);
    for (double bad : {0.0, -1.0, double(NAN)})
        EXPECT_EQ(ProvoliSpaced3d(&v, p.image(), 4, 4, V3D_PROVOLI_MAX, 0, 0, 0, nullptr, 0, 1, bad, 1), -90);
    EXPECT_EQ(ProvoliSpaced3d(&v, p.image(), 4, 4, 0, 0, 0, 0, nullptr, 0, 1, 1, 1), -90);
    EXPECT_EQ(ProvoliSpaced3d(&v, p.image(), 4, 4, V3D_PROVOLI_SURFACE, 0, 0, 0, nullptr, 0, 1, 1, 1), -90);
    EXPECT_TRUE(p.all(9));
}

// Tiles as high as the frames' rows are in their true proportions; aspect 1 is the gallery.
TEST(SpacedGallery, TilesKeepTheFramesProportions) {
    Vol in(3, 30, 30), a(1, 200, 200), b(1, 200, 200), tall(1, 200, 200);
    t3d::fill_random(&in, 4);
    ASSERT_EQ(ProduceFrameGallery3d(&in, &a, 2, 1), 0);
    ASSERT_EQ(ProduceFrameGallery3dAspect(&in, &b, 2, 1, 1.0), 0);
    EXPECT_EQ(t3d::snapshot(&a), t3d::snapshot(&b));
    ASSERT_EQ(ProduceFrameGallery3dAspect(&in, &tall, 2, 0, 1.5), 0);  // tiles 100 x 150: one row
    EXPECT_EQ(tall.uc(0, 149, 99), in.uc(0, 29, 29));
    EXPECT_EQ(tall.uc(0, 0, 100), in.uc(1, 0, 0));
    EXPECT_EQ(tall.uc(0, 150, 0), 0);  // frame 2 finds no row
    EXPECT_EQ(ProduceFrameGallery3dAspect(&in, &tall, 2, 0, 0.2), -520);  // 100 x 20 tiles
    for (double bad : {0.0, -2.0, double(INFINITY)}) EXPECT_EQ(ProduceFrameGallery3dAspect(&in, &tall, 2, 0, bad), -90);
}

}  // namespace
