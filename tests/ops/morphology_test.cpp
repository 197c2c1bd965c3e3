// Binary morphology against voxel-by-voxel references written from the definitions: gather
// dilation and erosion (box elements take the separable path, others the row path), the
// scatter forms, opening and closing; checks, margins, untouched voxels, in-place calls.
#include <functional>

#include "core/parallel.h"
#include "tests/ops/voxel_grid.h"

namespace {

using t3d::Vol;
using t3d::fill_binary;
using Grid = t3d::Voxels;

// The VOI less a margin of half the element on each side: where the operators work.
t3d::Box working(Volume* in, Volume* se) {
    const int hz = se->Z / 2, hy = se->Y / 2, hx = se->X / 2;
    return {in->z1 + hz, in->z2 - hz, in->y1 + hy, in->y2 - hy, in->x1 + hx, in->x2 - hx};
}

// Calls f(z, y, x) for each set voxel of the element placed around (z, y, x).
template <class F> void for_element(Grid& e, int z, int y, int x, F&& f) {
    t3d::for_box(t3d::Box{0, e.Z, 0, e.Y, 0, e.X}, [&](int i, int j, int k) {
        if (e.at(i, j, k)) f(z - e.Z / 2 + i, y - e.Y / 2 + j, x - e.X / 2 + k);
    });
}

// Gather dilation (dilate = true) or erosion, voxel by voxel as described, with the VOI
// margins cleared. out holds the output's previous contents.
Grid plain_gather(Volume* in, Volume* se, Grid out, bool dilate) {
    Grid a(in), e(se);
    const t3d::Box w = working(in, se);
    t3d::for_box(t3d::voi_box(in), [&](int z, int y, int x) {
        bool hit = false;  // an element voxel over a set voxel (dilation) or a clear one (erosion)
        for_element(e, z, y, x, [&](int p, int q, int r) { hit |= t3d::inside(w, z, y, x) && (a.at(p, q, r) != 0) == dilate; });
        out.at(z, y, x) = t3d::inside(w, z, y, x) && hit == dilate ? 255 : 0;
    });
    return out;
}

// Minkowski addition (add = true) or subtraction, voxel by voxel as described.
Grid plain_scatter(Volume* in, Volume* se, Grid out, bool add) {
    Grid a(in), e(se);
    const t3d::Box w = working(in, se);
    t3d::for_box(t3d::voi_box(in), [&](int z, int y, int x) { out.at(z, y, x) = !add && t3d::inside(w, z, y, x) ? 255 : 0; });
    t3d::for_box(w, [&](int z, int y, int x) {
        if ((a.at(z, y, x) != 0) == add) for_element(e, z, y, x, [&](int p, int q, int r) { out.at(p, q, r) = add ? 255 : 0; });
    });
    return out;
}

// Opening (open = true) or closing through a volume of the input's size and VOI; the second
// pass uses the element reflected through its centre.
Grid plain_compose(Volume* in, Volume* se, const Grid& out, bool open) {
    Vol between(in->Z, in->Y, in->X), mirrored(se->Z, se->Y, se->X);
    between.voi(in->z1, in->z2, in->y1, in->y2, in->x1, in->x2);
    t3d::for_box(t3d::whole_box(se), [&](int i, int j, int k) {
        mirrored.uc(i, j, k) = se->data[0].uc[se->Z - 1 - i][se->Y - 1 - j][se->X - 1 - k];
    });
    Grid first = plain_gather(in, se, Grid(between.get()), !open);
    t3d::for_box(t3d::whole_box(in), [&](int z, int y, int x) { between.uc(z, y, x) = first.at(z, y, x); });
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
                EXPECT_EQ(t3d::snapshot(out.get()), expected.v);
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
            EXPECT_EQ(t3d::snapshot(one.get()), expected.v);
            EXPECT_EQ(t3d::snapshot(many.get()), expected.v);
        }
}

TEST(Morphology, InPlaceCallsGiveTheResultOfSeparateVolumes) {
    for (const Case& c : kCases) {
        Vol in(8, 9, 10), se(3, 3, 3), out(8, 9, 10);
        fill_binary(in.get(), 21, 50);
        fill_binary(se.get(), 22, 60);
        in.voi(1, 7, 1, 8, 0, 10);
        ASSERT_EQ(c.op(in.get(), se.get(), out.get()), 0);
        t3d::for_box(t3d::whole_box(in.get()), [&](int z, int y, int x) {  // out started as a copy
            if (!t3d::inside(t3d::voi_box(in.get()), z, y, x)) out.uc(z, y, x) = in.uc(z, y, x);
        });
        ASSERT_EQ(c.op(in.get(), se.get(), in.get()), 0) << c.name;
        EXPECT_EQ(t3d::snapshot(in.get()), t3d::snapshot(out.get())) << c.name;
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
