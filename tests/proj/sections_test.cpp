// Orthogonal and oblique sections at known positions.
#include <functional>

#include "support.h"
#include "tests/proj/picture.h"

namespace {

using t3d::Picture;
using t3d::Vol;

TEST(Section, OrthogonalSectionsAtKnownPositions) {
    Vol v(6, 7, 8, 1, 2);
    t3d::fill_random(&v, 11);
    v.voi(1, 5, 2, 6, 3, 8);  // Ez 4, Ey 4, Ex 5
    Picture frame(6, 7, 2), row(5, 6, 2), col(4, 4, 2);
    ASSERT_EQ(TomiOrth(&v, frame.image(), 6, 7, 1, 3), 0);
    ASSERT_EQ(TomiOrth(&v, row.image(), 5, 6, 2, 4), 0);
    ASSERT_EQ(TomiOrth(&v, col.image(), 4, 4, 3, 7), 0);
    for (int ch = 0; ch < 3; ++ch) {
        for (int r = 0; r < 6; ++r)
            for (int c = 0; c < 7; ++c)
                EXPECT_EQ(frame.at(r, c, ch), r < 4 && c < 5 ? v.uc(3, 2 + r, 3 + c, ch) : 77);
        for (int r = 0; r < 5; ++r)  // the first frame in the bottom used row (3)
            for (int c = 0; c < 6; ++c)
                EXPECT_EQ(row.at(r, c, ch), r < 4 && c < 5 ? v.uc(1 + 3 - r, 4, 3 + c, ch) : 77);
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c) EXPECT_EQ(col.at(r, c, ch), v.uc(1 + 3 - r, 2 + c, 7, ch));
    }
}

TEST(Section, OrthogonalChecksLeaveThePictureAlone) {
    Vol v(6, 7, 8), f(6, 7, 8, 2);
    v.voi(1, 5, 2, 6, 3, 8);
    Picture p(8, 8);
    EXPECT_EQ(TomiOrth(&f, p.image(), 8, 8, 1, 2), -502);
    EXPECT_EQ(TomiOrth(&v, nullptr, 8, 8, 1, 2), -1);
    // {H, W, axis, position}: positions outside the VOI (inside the volume), axes 0 and 4,
    // then H below Ey, W below Ex, W below Ey
    const int bad[][4] = {{8, 8, 1, 0}, {8, 8, 1, 5}, {8, 8, 2, 6}, {8, 8, 3, 2}, {8, 8, 0, 2},
                          {8, 8, 4, 2}, {3, 8, 1, 2}, {8, 4, 2, 3}, {8, 3, 3, 3}};
    for (const auto& b : bad)
        EXPECT_EQ(TomiOrth(&v, p.image(), b[0], b[1], b[2], b[3]), -90) << b[0] << b[1] << b[2] << b[3];
    EXPECT_TRUE(p.all(77));
}

// Pixel (r, c) of an oblique section: the voxel at point + (c - W/2) col + (H/2 - r) up.
using Expect = std::function<int(int r, int c)>;
void expect_section(Picture& p, int H, int W, const Expect& e) {
    for (int r = 0; r < H; ++r)
        for (int c = 0; c < W; ++c) EXPECT_EQ(p.at(r, c), e(r, c)) << r << "," << c;
}

TEST(Section, ObliquePlanesAlongTheAxes) {
    Vol v(7, 8, 9);
    t3d::fill_random(&v, 12);
    v.voi(1, 6, 1, 7, 2, 8);
    const int H = 9, W = 11, z = 3, y = 4, x = 5;
    auto voxel = [&](int zz, int yy, int xx) {
        const bool in = zz >= 1 && zz < 6 && yy >= 1 && yy < 7 && xx >= 2 && xx < 8;
        return in ? v.uc(zz, yy, xx) : 0;
    };
    Picture ny(H, W), nz(H, W), nx(H, W), a0(H, W), a90(H, W), a270(H, W);
    ASSERT_EQ(TomiRand1(&v, ny.image(), H, W, z, y, x, 0, 3, 0), 0);
    ASSERT_EQ(TomiRand1(&v, nz.image(), H, W, z, y, x, 2, 0, 0), 0);
    ASSERT_EQ(TomiRand1(&v, nx.image(), H, W, z, y, x, 0, 0, -1), 0);
    ASSERT_EQ(TomiRand2(&v, a0.image(), H, W, 0, 0, z, y, x), 0);
    ASSERT_EQ(TomiRand2(&v, a90.image(), H, W, 0, 90, z, y, x), 0);
    ASSERT_EQ(TomiRand2(&v, a270.image(), H, W, 270, 0, z, y, x), 0);
    // a row plane as TomiOrth axis 2 draws it, a frame as axis 1, a column plane as axis 3
    expect_section(ny, H, W, [&](int r, int c) { return voxel(z + H / 2 - r, y, x + c - W / 2); });
    expect_section(nz, H, W, [&](int r, int c) { return voxel(z, y + r - H / 2, x + c - W / 2); });
    expect_section(nx, H, W, [&](int r, int c) { return voxel(z + H / 2 - r, y + c - W / 2, x); });
    EXPECT_EQ(a0.pixels(), ny.pixels());
    EXPECT_EQ(a90.pixels(), nz.pixels());
    EXPECT_EQ(a270.pixels(), nx.pixels());
}

TEST(Section, ObliquePlaneThroughThePoint) {
    Vol v(20, 20, 20);
    t3d::fill_random(&v, 13);
    Picture q(15, 15);
    ASSERT_EQ(TomiRand2(&v, q.image(), 15, 15, 37, -52, 9, 10, 11), 0);
    EXPECT_EQ(q.at(7, 7), v.uc(9, 10, 11));
    // Voxel values that tell the distance from the plane normal to (1, 1, 1) through the point:
    // the nearest voxels of its points are at most one step off, and none lies outside.
    t3d::fill(v.get(), [](int z, int y, int x) { return 100 + (z - 9) + (y - 10) + (x - 11); });
    Picture p(41, 41);
    ASSERT_EQ(TomiRand1(&v, p.image(), 41, 41, 9, 10, 11, 1, 1, 1), 0);
    EXPECT_EQ(p.at(20, 20), 100);
    int inside = 0;
    for (int r = 0; r < 41; ++r)
        for (int c = 0; c < 41; ++c) {
            const int value = p.at(r, c);
            if (value == 0) continue;
            ++inside;
            EXPECT_TRUE(value >= 99 && value <= 101) << r << "," << c << ": " << value;
        }
    EXPECT_GT(inside, 400);
}

TEST(Section, ObliqueChecks) {
    Vol v(6, 6, 6);
    v.voi(1, 5, 1, 5, 1, 5);
    Picture p(5, 5);
    EXPECT_EQ(TomiRand1(&v, nullptr, 5, 5, 2, 2, 2, 1, 0, 0), -1);
    EXPECT_EQ(TomiRand1(&v, p.image(), 5, 5, 2, 2, 2, 0, 0, 0), -90);
    EXPECT_EQ(TomiRand1(&v, p.image(), 5, 5, 0, 2, 2, 1, 0, 0), -90);
    EXPECT_EQ(TomiRand1(&v, p.image(), 0, 5, 2, 2, 2, 1, 0, 0), -90);
    EXPECT_EQ(TomiRand2(&v, p.image(), 5, 5, 0, 0, 2, 5, 2), -90);
    EXPECT_EQ(TomiRand2(&v, p.image(), 5, -2, 0, 0, 2, 2, 2), -90);
    EXPECT_EQ(TomiRand2(nullptr, p.image(), 5, 5, 0, 0, 2, 2, 2), -501);
    EXPECT_TRUE(p.all(77));
}

}  // namespace
