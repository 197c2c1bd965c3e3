// Binary morphology against voxel-by-voxel references written from the definitions: gather
// dilation and erosion (box elements take the separable path, others the row path), the
// scatter forms, opening and closing; checks, margins, untouched voxels, in-place calls.
#include <functional>
#include <vector>

#include "core/parallel.h"
#include "tests/support.h"

namespace {

using t3d::Vol;

// Binary contents: each voxel 255 with probability percent / 100.
void fill_binary(Volume* v, uint32_t seed, int percent) {
    uint32_t s = seed * 747796405u + 1u;
    for (int z = 0; z < v->Z; ++z)
        for (int y = 0; y < v->Y; ++y)
            for (int x = 0; x < v->X; ++x)
                v->data[0].uc[z][y][x] = t3d::next_random(s) % 100 < static_cast<uint32_t>(percent) ? 255 : 0;
}

// A volume as a flat array, addressed through at(z, y, x).
struct Grid {
    int Z, Y, X;
    std::vector<int> v;
    explicit Grid(Volume* vol) : Z(vol->Z), Y(vol->Y), X(vol->X) {
        for (int z = 0; z < Z; ++z)
            for (int y = 0; y < Y; ++y)
                for (int x = 0; x < X; ++x) v.push_back(vol->data[0].uc[z][y][x]);
    }
    int& at(int z, int y, int x) { return v[(static_cast<size_t>(z) * Y + y) * X + x]; }
};

bool in_voi(const Volume* v, int z, int y, int x) {
    return z >= v->z1 && z < v->z2 && y >= v->y1 && y < v->y2 && x >= v->x1 && x < v->x2;
}

// Gather dilation (dilate = true) or erosion, exactly as described: the centre test first,
// then the scan, then the VOI margins cleared. out holds the output's previous contents.
Grid plain_gather(Volume* in, Volume* se, Grid out, bool dilate) {
    Grid a(in), e(se);
    const int hz = se->Z / 2, hy = se->Y / 2, hx = se->X / 2;
    const bool centre = e.at(hz, hy, hx) != 0;
    for (int z = in->z1; z < in->z2; ++z)
        for (int y = in->y1; y < in->y2; ++y)
            for (int x = in->x1; x < in->x2; ++x) {
                if (z < in->z1 + hz || z >= in->z2 - hz || y < in->y1 + hy || y >= in->y2 - hy ||
                    x < in->x1 + hx || x >= in->x2 - hx) {
                    out.at(z, y, x) = 0;
                    continue;
                }
                const bool here = a.at(z, y, x) != 0;
                int value = dilate ? 0 : 255;
                if (centre && here == dilate) {
                    value = dilate ? 255 : 0;
                } else {
                    for (int i = 0; i < se->Z; ++i)
                        for (int j = 0; j < se->Y; ++j)
                            for (int k = 0; k < se->X; ++k)
                                if (e.at(i, j, k) && (a.at(z - hz + i, y - hy + j, x - hx + k) != 0) == dilate)
                                    value = dilate ? 255 : 0;
                }
                out.at(z, y, x) = value;
            }
    return out;
}

// Minkowski addition (add = true) or subtraction, voxel by voxel as described.
Grid plain_scatter(Volume* in, Volume* se, Grid out, bool add) {
    Grid a(in), e(se);
    const int hz = se->Z / 2, hy = se->Y / 2, hx = se->X / 2;
    auto working = [&](int z, int y, int x) {
        return z >= in->z1 + hz && z < in->z2 - hz && y >= in->y1 + hy && y < in->y2 - hy &&
               x >= in->x1 + hx && x < in->x2 - hx;
    };
    for (int z = in->z1; z < in->z2; ++z)
        for (int y = in->y1; y < in->y2; ++y)
            for (int x = in->x1; x < in->x2; ++x)
                out.at(z, y, x) = add ? 0 : (working(z, y, x) ? 255 : 0);
    for (int z = in->z1; z < in->z2; ++z)
        for (int y = in->y1; y < in->y2; ++y)
            for (int x = in->x1; x < in->x2; ++x) {
                if (!working(z, y, x) || (a.at(z, y, x) != 0) != add) continue;
                for (int i = 0; i < se->Z; ++i)
                    for (int j = 0; j < se->Y; ++j)
                        for (int k = 0; k < se->X; ++k)
                            if (e.at(i, j, k)) out.at(z - hz + i, y - hy + j, x - hx + k) = add ? 255 : 0;
            }
    return out;
}

// The element reflected through its centre.
void reflect(Volume* se, Volume* out) {
    for (int i = 0; i < se->Z; ++i)
        for (int j = 0; j < se->Y; ++j)
            for (int k = 0; k < se->X; ++k)
                out->data[0].uc[i][j][k] = se->data[0].uc[se->Z - 1 - i][se->Y - 1 - j][se->X - 1 - k];
}

// Opening (open = true) or closing through a volume of the input's size and VOI.
Grid plain_compose(Volume* in, Volume* se, const Grid& out, bool open) {
    Vol between(in->Z, in->Y, in->X), mirrored(se->Z, se->Y, se->X);
    between.voi(in->z1, in->z2, in->y1, in->y2, in->x1, in->x2);
    reflect(se, mirrored.get());
    Grid first = plain_gather(in, se, Grid(between.get()), !open);
    for (int z = 0; z < in->Z; ++z)
        for (int y = 0; y < in->Y; ++y)
            for (int x = 0; x < in->X; ++x) between.uc(z, y, x) = static_cast<unsigned char>(first.at(z, y, x));
    return plain_gather(between.get(), mirrored.get(), out, open);
}

using Operator = int (*)(Volume*, Volume*, Volume*);

struct Case {
    const char* name;
    Operator op;
    std::function<Grid(Volume*, Volume*, Grid)> reference;
};

const Case kCases[] = {
    {"bdilate3d", bdilate3d, [](Volume* a, Volume* e, Grid o) { return plain_gather(a, e, o, true); }},
    {"berode3d", berode3d, [](Volume* a, Volume* e, Grid o) { return plain_gather(a, e, o, false); }},
    {"MinkowskiAddition3d", MinkowskiAddition3d,
     [](Volume* a, Volume* e, Grid o) { return plain_scatter(a, e, o, true); }},
    {"MinkowskiSubtraction3d", MinkowskiSubtraction3d,
     [](Volume* a, Volume* e, Grid o) { return plain_scatter(a, e, o, false); }},
    {"bopening3d", bopening3d, [](Volume* a, Volume* e, Grid o) { return plain_compose(a, e, o, true); }},
    {"bclosing3d", bclosing3d, [](Volume* a, Volume* e, Grid o) { return plain_compose(a, e, o, false); }},
};

// Elements of several shapes: boxes (the separable path), sparse random ones, and one whose
// centre is clear.
struct Shape {
    int z, y, x, percent;
};
const Shape kShapes[] = {{1, 1, 1, 100}, {3, 3, 3, 100}, {5, 3, 1, 100}, {3, 5, 7, 100},
                         {3, 3, 3, 40},  {1, 5, 3, 60},  {5, 5, 5, 20},  {3, 1, 5, 0}};

TEST(Morphology, EveryOperatorMatchesTheDefinitionOnRandomVolumes) {
    uint32_t seed = 1;
    for (const Case& c : kCases)
        for (const Shape& s : kShapes)
            for (int density : {15, 50, 85}) {
                SCOPED_TRACE(::testing::Message() << c.name << " element " << s.z << "x" << s.y << "x"
                                                  << s.x << " (" << s.percent << "%) density " << density);
                Vol in(9, 11, 13), se(s.z, s.y, s.x), out(10, 12, 14);
                fill_binary(in.get(), ++seed, density);
                fill_binary(se.get(), ++seed, s.percent);
                if (s.percent == 0 && s.z * s.y * s.x > 1) se.uc(0, 0, 1) = 255;  // centre clear
                t3d::fill_random(out.get(), ++seed);
                in.voi(1, 8, 2, 10, 1, 12);
                const Grid expected = c.reference(in.get(), se.get(), Grid(out.get()));
                ASSERT_EQ(c.op(in.get(), se.get(), out.get()), 0);
                EXPECT_EQ(Grid(out.get()).v, expected.v);
            }
}

TEST(Morphology, LargerBoxesAndThreadsGiveTheSameVoxels) {
    // the separable box path splits its frames over threads; the row path runs per frame
    // (few set voxels for dilation and few clear ones for erosion keep both results mixed)
    Vol box(5, 5, 5), sparse(5, 5, 5);
    fill_binary(box.get(), 1, 100);
    fill_binary(sparse.get(), 8, 50);
    for (Volume* se : {box.get(), sparse.get()})
        for (Operator op : {bdilate3d, berode3d}) {
            Vol in(40, 23, 37), one(40, 23, 37), many(40, 23, 37);
            fill_binary(in.get(), 7, op == bdilate3d ? 2 : 98);
            in.voi(2, 39, 1, 22, 3, 36);
            const Grid expected = plain_gather(in.get(), se, Grid(one.get()), op == bdilate3d);
            v3d::set_thread_count(1);
            ASSERT_EQ(op(in.get(), se, one.get()), 0);
            v3d::set_thread_count(2);
            ASSERT_EQ(op(in.get(), se, many.get()), 0);
            v3d::set_thread_count(0);
            EXPECT_EQ(Grid(one.get()).v, expected.v);
            EXPECT_EQ(Grid(many.get()).v, expected.v);
        }
}

TEST(Morphology, ErosionIsTheDualOfDilationInTheWorkingRegion) {
    Vol in(12, 12, 12), inverse(12, 12, 12), se(3, 5, 3), eroded(12, 12, 12), dilated(12, 12, 12);
    fill_binary(in.get(), 3, 60);
    fill_binary(se.get(), 4, 50);
    for (int z = 0; z < 12; ++z)
        for (int y = 0; y < 12; ++y)
            for (int x = 0; x < 12; ++x) inverse.uc(z, y, x) = 255 - in.uc(z, y, x);
    in.voi(1, 11, 0, 12, 2, 12);
    inverse.voi(1, 11, 0, 12, 2, 12);
    ASSERT_EQ(berode3d(in.get(), se.get(), eroded.get()), 0);
    ASSERT_EQ(bdilate3d(inverse.get(), se.get(), dilated.get()), 0);
    for (int z = 2; z < 10; ++z)
        for (int y = 2; y < 10; ++y)
            for (int x = 3; x < 11; ++x) ASSERT_EQ(eroded.uc(z, y, x), 255 - dilated.uc(z, y, x));
}

// Solid balls of radius 3 away from the VOI's border, for the properties of opening/closing.
void fill_balls(Volume* v, uint32_t seed) {
    uint32_t s = seed;
    for (int b = 0; b < 6; ++b) {
        const int cz = 7 + t3d::next_random(s) % 10, cy = 7 + t3d::next_random(s) % 10,
                  cx = 7 + t3d::next_random(s) % 10;
        for (int z = 0; z < v->Z; ++z)
            for (int y = 0; y < v->Y; ++y)
                for (int x = 0; x < v->X; ++x)
                    if ((z - cz) * (z - cz) + (y - cy) * (y - cy) + (x - cx) * (x - cx) <= 9)
                        v->data[0].uc[z][y][x] = 255;
    }
}

TEST(Morphology, OpeningAndClosingAreIdempotentAwayFromTheBorder) {
    Vol in(24, 24, 24), se(3, 3, 3);
    fill_balls(in.get(), 5);
    fill_binary(se.get(), 9, 70);
    se.uc(1, 1, 1) = 255;
    for (Operator op : {bopening3d, bclosing3d}) {
        Vol once(24, 24, 24), twice(24, 24, 24);
        ASSERT_EQ(op(in.get(), se.get(), once.get()), 0);
        ASSERT_EQ(op(once.get(), se.get(), twice.get()), 0);
        EXPECT_EQ(Grid(once.get()).v, Grid(twice.get()).v) << (op == bopening3d ? "opening" : "closing");
    }
}

TEST(Morphology, OpeningRemovesSmallObjectsAndClosingFillsSmallHoles) {
    Vol in(11, 11, 11), se(3, 3, 3), opened(11, 11, 11), closed(11, 11, 11);
    fill_binary(se.get(), 1, 100);
    for (int z = 2; z < 7; ++z)  // a 5-cube with a one-voxel hole, and a lone voxel
        for (int y = 2; y < 7; ++y)
            for (int x = 2; x < 7; ++x) in.uc(z, y, x) = 255;
    in.uc(4, 4, 4) = 0;
    in.uc(8, 8, 8) = 255;
    ASSERT_EQ(bopening3d(in.get(), se.get(), opened.get()), 0);
    EXPECT_EQ(opened.uc(8, 8, 8), 0);
    EXPECT_EQ(opened.uc(2, 2, 2), 0);  // the only 3-cube holding the corner covers the hole
    ASSERT_EQ(bclosing3d(in.get(), se.get(), closed.get()), 0);
    EXPECT_EQ(closed.uc(4, 4, 4), 255);
    EXPECT_EQ(closed.uc(3, 3, 3), 255);
}

TEST(Morphology, EdgeCasesOfTheElementAndTheVoi) {
    Vol in(7, 7, 7), one(1, 1, 1), cube(3, 3, 3);
    fill_binary(in.get(), 11, 50);
    one.uc(0, 0, 0) = 255;
    fill_binary(cube.get(), 1, 100);
    in.voi(1, 6, 1, 6, 1, 6);
    for (Operator op : {bdilate3d, berode3d}) {  // a one-voxel element copies the VOI
        Vol out(7, 7, 7);
        ASSERT_EQ(op(in.get(), one.get(), out.get()), 0);
        for (int z = 0; z < 7; ++z)
            for (int y = 0; y < 7; ++y)
                for (int x = 0; x < 7; ++x)
                    ASSERT_EQ(out.uc(z, y, x), in_voi(in.get(), z, y, x) ? in.uc(z, y, x) : 0);
    }
    in.voi(2, 5, 0, 7, 0, 7);  // three frames thick: only the middle plane is worked
    Vol out(7, 7, 7);
    t3d::fill_random(out.get(), 3);
    const std::vector<double> before = t3d::snapshot(out.get());
    ASSERT_EQ(bdilate3d(in.get(), cube.get(), out.get()), 0);
    for (int z = 0; z < 7; ++z)
        for (int y = 0; y < 7; ++y)
            for (int x = 0; x < 7; ++x) {
                const double was = before[(z * 7 + y) * 7 + x];
                const bool margin = z != 3 || y == 0 || y == 6 || x == 0 || x == 6;
                if (z < 2 || z > 4) {
                    ASSERT_EQ(out.uc(z, y, x), was);
                } else if (margin) {
                    ASSERT_EQ(out.uc(z, y, x), 0);
                }
            }
}

TEST(Morphology, InPlaceCallsGiveTheResultOfSeparateVolumes) {
    for (const Case& c : kCases) {
        Vol in(8, 9, 10), se(3, 3, 3), out(8, 9, 10);
        fill_binary(in.get(), 21, 50);
        fill_binary(se.get(), 22, 60);
        in.voi(1, 7, 1, 8, 0, 10);
        ASSERT_EQ(c.op(in.get(), se.get(), out.get()), 0);
        for (int z = 0; z < 8; ++z)  // same outside the VOI too: out started as a copy
            for (int y = 0; y < 9; ++y)
                for (int x = 0; x < 10; ++x)
                    if (!in_voi(in.get(), z, y, x)) out.uc(z, y, x) = in.uc(z, y, x);
        ASSERT_EQ(c.op(in.get(), se.get(), in.get()), 0) << c.name;
        EXPECT_EQ(Grid(in.get()).v, Grid(out.get()).v) << c.name;
    }
}

TEST(Morphology, ChecksComeInOrderAndWriteNothing) {
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.name);
        Vol in(6, 6, 6), se(3, 3, 3), out(6, 6, 6), small(6, 5, 6), even(3, 2, 3), big(3, 3, 7),
            f(6, 6, 6, 2), rgb(3, 3, 3, 1, 2), grey(6, 6, 6);
        fill_binary(in.get(), 1, 50);
        fill_binary(se.get(), 2, 50);
        grey.uc(3, 3, 3) = 7;
        t3d::fill_random(out.get(), 4);
        t3d::fill_random(small.get(), 5);
        const std::vector<double> before = t3d::snapshot(out.get());
        EXPECT_EQ(c.op(nullptr, se.get(), out.get()), -501);
        EXPECT_EQ(c.op(f.get(), se.get(), out.get()), -502);
        EXPECT_EQ(c.op(in.get(), rgb.get(), out.get()), -503);
        EXPECT_EQ(c.op(in.get(), se.get(), nullptr), -501);
        EXPECT_EQ(c.op(in.get(), even.get(), small.get()), -520);  // size before element
        EXPECT_EQ(c.op(grey.get(), even.get(), out.get()), -521);  // element before binary
        EXPECT_EQ(c.op(in.get(), big.get(), out.get()), -521);
        in.voi(0, 6, 0, 2, 0, 6);  // the element is taller than the VOI
        EXPECT_EQ(c.op(in.get(), se.get(), out.get()), -521);
        in.voi(0, 6, 0, 6, 0, 6);
        EXPECT_EQ(c.op(grey.get(), se.get(), out.get()), -535);
        se.uc(0, 0, 0) = 1;
        EXPECT_EQ(c.op(in.get(), se.get(), out.get()), -535);
        EXPECT_EQ(t3d::snapshot(out.get()), before);
    }
}

}  // namespace
