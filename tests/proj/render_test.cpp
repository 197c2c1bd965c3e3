// Projection renderers against direct computations over the VOI.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <vector>

#include "core/parallel.h"
#include "support.h"
#include "tests/proj/picture.h"

namespace {

using t3d::Picture;
using t3d::Vol;

// Along +y, as the 2d renderers see a frame at angle 0: the reduction of every (z, x) column.
struct Column {
    int max = 0, last_above = 0, count = 0;
    float sum = 0;
};
Column column(Vol& v, int z, int x, unsigned char thr, int c = 0) {
    Column out;
    for (int y = v->y1; y < v->y2; ++y) {
        const int s = v.uc(z, y, x, c);
        out.max = std::max(out.max, s);
        out.sum += s;
        ++out.count;
        if (s > thr) out.last_above = s;
    }
    return out;
}

// A VOI-sized picture at angle 0, and one with a margin
// of one row and two columns on every side: the box centred, the first frame at the bottom.
TEST(Projection, AxisAlignedAgainstDirectReductions) {
    Vol v(7, 9, 11);
    t3d::fill_random(&v, 3);
    v.voi(1, 6, 2, 8, 3, 9);  // 5 x 6 x 6
    const unsigned char thr = 140;
    for (int margin = 0; margin <= 1; ++margin) {
        const int H = 5 + 2 * margin, W = 6 + 4 * margin;
        Picture mx(H, W), mean(H, W), th(H, W);
        ASSERT_EQ(ProvoliMax2d(&v, mx.image(), H, W, 0, 0), 0);
        ASSERT_EQ(ProvoliAvrg2d(&v, mean.image(), H, W, 0, 0), 0);
        ASSERT_EQ(Provoli2d(&v, th.image(), H, W, 0, 0, &thr), 0);
        for (int r = 0; r < H; ++r)
            for (int c = 0; c < W; ++c) {
                const int z = 1 + (H - 1 - margin - r), x = 3 + c - 2 * margin;
                const bool in = z >= 1 && z < 6 && x >= 3 && x < 9;
                const Column e = in ? column(v, z, x, thr) : Column{};
                SCOPED_TRACE(testing::Message() << "margin " << margin << " pixel " << r << "," << c);
                EXPECT_EQ(mx.at(r, c), e.max);
                EXPECT_EQ(mean.at(r, c), in ? static_cast<int>(e.sum / static_cast<float>(e.count)) : 0);
                EXPECT_EQ(th.at(r, c), e.last_above);
            }
    }
}

// The frames turned by 90 degrees: r[z][y][x] = v[z][Y-1-x][y], of size Z x X x Y.
void turn_frames(Vol& v, Vol& r) {
    for (int z = 0; z < v->Z; ++z)
        for (int y = 0; y < r->Y; ++y)
            for (int x = 0; x < r->X; ++x) r.uc(z, y, x) = v.uc(z, v->Y - 1 - x, y);
}

using Render2d = std::function<int(Volume*, Image2d, int, int, int)>;

TEST(Projection, QuarterTurnsMatchTurnedVolumes) {
    const unsigned char thr = 120;
    const Render2d renderers[] = {
        [](Volume* v, Image2d im, int H, int W, int a) { return ProvoliMax2d(v, im, H, W, a, 0); },
        [](Volume* v, Image2d im, int H, int W, int a) { return ProvoliAvrg2d(v, im, H, W, a, 0); },
        [&](Volume* v, Image2d im, int H, int W, int a) { return Provoli2d(v, im, H, W, a, 0, &thr); },
    };
    for (int Y : {6, 7}) {  // even and odd extents
        Vol v(4, Y, 9);
        t3d::fill_random(&v, 5 + Y);
        Vol t1(4, 9, Y), t2(4, Y, 9), t3(4, 9, Y);
        turn_frames(v, t1);
        turn_frames(t1, t2);
        turn_frames(t2, t3);
        Volume* turned[] = {v.get(), t1.get(), t2.get(), t3.get()};
        for (const auto& render : renderers)
            for (int k = 1; k < 4; ++k) {
                const int W = turned[k]->X;
                Picture a(4, W), b(4, W);
                ASSERT_EQ(render(&v, a.image(), 4, W, 90 * k), 0);
                ASSERT_EQ(render(turned[k], b.image(), 4, W, 0), 0);
                EXPECT_EQ(a.pixels(), b.pixels()) << "Y " << Y << " angle " << 90 * k;
            }
    }
}

// Straight along an axis every ray meets one line of voxels, each voxel once: every mode is
// the plain reduction along that axis, whole rows and columns, centred. Odd and even extents
// put the box centre on a voxel or between two, where ray starts are rounded.
TEST(Projection, QuarterTurnViewsEqualReductionsAlongTheAxis) {
    static const int sin90[4] = {0, 1, 0, -1}, cos90[4] = {1, 0, -1, 0};
    const unsigned char thr[3] = {100, 150, 120};
    struct Shape {
        int Z, Y, X, colortype, voi[6];
    };
    for (const Shape& sh : {Shape{9, 10, 12, 1, {0, 9, 0, 10, 0, 12}},
                            Shape{10, 9, 8, 1, {1, 9, 2, 7, 1, 8}}, Shape{8, 7, 7, 2, {1, 6, 0, 7, 2, 6}}}) {
        Vol v(sh.Z, sh.Y, sh.X, 1, sh.colortype), holes(sh.Z, sh.Y, sh.X);
        const int n = sh.colortype == 2 ? 3 : 1;
        t3d::fill_random(&v, static_cast<uint32_t>(sh.Z + sh.X));
        t3d::fill_random(&holes, static_cast<uint32_t>(sh.Y), 2);  // half the voxels empty
        for (int z = 0; z < sh.Z; ++z)
            for (int y = 0; y < sh.Y; ++y)
                for (int x = 0; x < sh.X; ++x)
                    for (int ch = 0; ch < n; ++ch) v.uc(z, y, x, ch) *= holes.uc(z, y, x);
        v.voi(sh.voi[0], sh.voi[1], sh.voi[2], sh.voi[3], sh.voi[4], sh.voi[5]);
        const int lo[3] = {sh.voi[0], sh.voi[2], sh.voi[4]};
        const int E[3] = {sh.voi[1] - lo[0], sh.voi[3] - lo[1], sh.voi[5] - lo[2]};
        for (const int H : {17, 16})  // pictures of 17 x 16 and 16 x 17 (no structured binding: clang 14 lambdas)
            for (int az = 0; az < 360; az += 90)
                for (int el = 0; el < 360; el += 90) {
                    const int W = 33 - H;
                    SCOPED_TRACE(testing::Message() << sh.Z << "x" << sh.Y << "x" << sh.X << " picture "
                                                    << H << "x" << W << " azimuth " << az
                                                    << " elevation " << el);
                    // whole-voxel steps in (z, y, x): along the rays, a column right, a row up
                    const int sa = sin90[az / 90], ca = cos90[az / 90];
                    const int se = sin90[el / 90], ce = cos90[el / 90];
                    const int d[3] = {se, ce * ca, ce * sa}, col[3] = {0, -sa, ca},
                              up[3] = {ce, -se * ca, -se * sa};
                    auto axis = [](const int* a) { return a[0] ? 0 : a[1] ? 1 : 2; };
                    const int kd = axis(d), kc = axis(col), ku = axis(up), rows = E[ku], cols = E[kc];
                    // mode 0 maximum, 1 mean, 2 threshold, 3 silhouette, at (i, j) of the reduction
                    auto expected = [&](int mode, int i, int j, int ch) {
                        int p[3], best = 0, last = 0, set = 0;
                        float sum = 0;
                        p[kc] = lo[kc] + (col[kc] > 0 ? j : cols - 1 - j);
                        p[ku] = lo[ku] + (up[ku] > 0 ? rows - 1 - i : i);
                        for (int t = 0; t < E[kd]; ++t) {
                            p[kd] = lo[kd] + (d[kd] > 0 ? t : E[kd] - 1 - t);
                            const int s = v.uc(p[0], p[1], p[2], ch);
                            best = std::max(best, s), sum += s;
                            bool above = false;
                            for (int k = 0; k < n; ++k) {
                                above |= v.uc(p[0], p[1], p[2], k) > thr[k];
                                set |= v.uc(p[0], p[1], p[2], k) != 0;
                            }
                            if (above) last = s;
                        }
                        const int mean = static_cast<int>(sum / static_cast<float>(E[kd]));
                        const int values[4] = {best, mean, last, set ? 255 : 0};
                        return values[mode];
                    };
                    const int ct = sh.colortype;
                    Picture pics[4] = {{H, W, ct}, {H, W, ct}, {H, W, ct}, {H, W, ct}};
                    ASSERT_EQ(ProvoliMax3d(&v, pics[0].image(), H, W, az, el, 0), 0);
                    ASSERT_EQ(ProvoliAvrg3d(&v, pics[1].image(), H, W, az, el, 0), 0);
                    ASSERT_EQ(Provoli3d(&v, pics[2].image(), H, W, az, el, 0, thr), 0);
                    ASSERT_EQ(Provoli3dBinary(&v, pics[3].image(), H, W, az, el, 0, 0), 0);
                    // does the picture of mode hold its reduction at (top, left), and 0 elsewhere?
                    auto holds = [&](int mode, int top, int left) {
                        for (int ch = 0; ch < n; ++ch)
                            for (int y = 0; y < H; ++y)
                                for (int x = 0; x < W; ++x) {
                                    const int i = y - top, j = x - left;
                                    const bool in = i >= 0 && i < rows && j >= 0 && j < cols;
                                    const int want = in ? expected(mode, i, j, ch) : 0;
                                    if (pics[mode].at(y, x, ch) != want) return false;
                                }
                        return true;
                    };
                    int top = -1, left = -1;
                    for (int y = 0; y + rows <= H && top < 0; ++y)
                        for (int x = 0; x + cols <= W && top < 0; ++x)
                            if (holds(0, y, x)) top = y, left = x;
                    ASSERT_GE(top, 0) << "the maximum is not the reduction along the axis";
                    EXPECT_LE(std::abs(2 * top - (H - rows)), 1);  // centred within a pixel
                    EXPECT_LE(std::abs(2 * left - (W - cols)), 1);
                    for (int mode = 1; mode < 4; ++mode)
                        EXPECT_TRUE(holds(mode, top, left)) << "mode " << mode;
                }
    }
}

TEST(Projection, ThresholdOf255GivesBlack) {
    Vol v(8, 8, 8), rgb(8, 8, 8, 1, 2);
    t3d::fill_random(&v, 6);
    t3d::fill_random(&rgb, 7);
    const unsigned char all[3] = {255, 255, 255};
    Picture a(12, 12), b(12, 12), c(12, 12, 2);
    ASSERT_EQ(Provoli2d(&v, a.image(), 12, 12, 33, 0, all), 0);
    ASSERT_EQ(Provoli3d(&v, b.image(), 12, 12, 33, -40, 0, all), 0);
    ASSERT_EQ(Provoli3d(&rgb, c.image(), 12, 12, 10, 20, 0, all), 0);
    for (Picture* p : {&a, &b, &c}) EXPECT_TRUE(p->all(0));
}

TEST(Projection, TrimCentresTheNonZeroBoundingBox) {
    Vol v(9, 9, 9);
    v.uc(1, 2, 1) = 10;  // bounding box z 1..2, y 2..6, x 1..3
    v.uc(2, 6, 3) = 30;
    v.uc(2, 4, 2) = 20;
    Picture trimmed(3, 5), whole(3, 5);
    ASSERT_EQ(ProvoliMax2d(&v, trimmed.image(), 3, 5, 0, 1), 0);
    ASSERT_EQ(ProvoliMax2d(&v, whole.image(), 3, 5, 0, 0), 0);
    // trimmed: 2 frames x 3 columns centred in 3 x 5 (rows 1..2 from the top... z 2 above z 1)
    const unsigned char expect[3][5] = {{0, 0, 0, 0, 0}, {0, 0, 20, 30, 0}, {0, 10, 0, 0, 0}};
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 5; ++c) EXPECT_EQ(trimmed.at(r, c), expect[r][c]) << r << "," << c;
    // whole VOI: frame 4 (centre) in the middle row and columns 2..6; frames 1 and 2 fall outside
    EXPECT_TRUE(whole.all(0));

    Vol empty(4, 4, 4);
    Picture p(4, 4);
    EXPECT_EQ(ProvoliAvrg3d(&empty, p.image(), 4, 4, 20, 30, 1), 0);
    EXPECT_TRUE(p.all(0));
}

TEST(Projection, ColourRules) {
    Vol v(3, 4, 5, 1, 2);
    // one ray (z 1, x 2) holds a sample above the threshold on the green channel only
    v.uc(1, 1, 2, 0) = 5, v.uc(1, 1, 2, 1) = 200, v.uc(1, 1, 2, 2) = 7;
    v.uc(1, 3, 2, 0) = 60, v.uc(1, 3, 2, 2) = 90;  // above on no channel
    const unsigned char thr[3] = {100, 100, 100};
    Picture th(3, 5, 2), mx(3, 5, 2), mean(3, 5, 2);
    ASSERT_EQ(Provoli2d(&v, th.image(), 3, 5, 0, 0, thr), 0);
    ASSERT_EQ(ProvoliMax2d(&v, mx.image(), 3, 5, 0, 0), 0);
    ASSERT_EQ(ProvoliAvrg2d(&v, mean.image(), 3, 5, 0, 0), 0);
    // threshold: the whole sample; maximum: per channel independently; mean: 65 / 4, 200 / 4, 97 / 4
    const int want_th[3] = {5, 200, 7}, want_max[3] = {60, 200, 90}, want_mean[3] = {16, 50, 24};
    for (int ch = 0; ch < 3; ++ch) {
        EXPECT_EQ(th.at(1, 2, ch), want_th[ch]);
        EXPECT_EQ(mx.at(1, 2, ch), want_max[ch]);
        EXPECT_EQ(mean.at(1, 2, ch), want_mean[ch]);
    }
}

TEST(Projection, ObliqueViewsDoNotDependOnTheThreadCount) {
    Vol v(20, 24, 28);
    t3d::fill_random(&v, 8);
    const unsigned char thr = 200;
    std::vector<unsigned char> first;
    for (int threads : {1, 2, 4}) {
        v3d::set_thread_count(threads);
        Picture a(40, 44), b(40, 44), c(40, 44);
        ASSERT_EQ(ProvoliMax3d(&v, a.image(), 40, 44, 37, 23, 0), 0);
        ASSERT_EQ(ProvoliAvrg3d(&v, b.image(), 40, 44, 37, 23, 0), 0);
        ASSERT_EQ(Provoli3d(&v, c.image(), 40, 44, 37, 23, 0, &thr), 0);
        std::vector<unsigned char> all = a.pixels();
        for (Picture* p : {&b, &c}) {
            const std::vector<unsigned char> more = p->pixels();
            all.insert(all.end(), more.begin(), more.end());
        }
        if (threads == 1) first = all;
        EXPECT_EQ(all, first) << threads;
    }
    v3d::set_thread_count(0);
}

// Volumes whose rows are not laid out one after the other in a frame (a module may build such
// a record over its own memory) are read through the row pointers: the same pictures.
TEST(Projection, RowsLaidOutOtherwiseGiveTheSamePictures) {
    for (int colour : {1, 2}) {
        Vol v(13, 17, 19, 1, colour);
        t3d::fill_random(&v, 9 + colour);
        v.voi(1, 12, 2, 16, 0, 18);
        const int n = colour == 1 ? 1 : 3;
        // the same voxels, each frame's rows stored last row first
        std::vector<unsigned char> voxels(static_cast<size_t>(n) * 13 * 17 * 19);
        std::vector<unsigned char*> rows(static_cast<size_t>(n) * 13 * 17);
        std::vector<unsigned char**> frames(static_cast<size_t>(n) * 13);
        Volume other = *v.get();
        for (int c = 0; c < n; ++c) {
            for (int z = 0; z < 13; ++z) {
                unsigned char** frame_rows = &rows[(static_cast<size_t>(c) * 13 + z) * 17];
                for (int y = 0; y < 17; ++y) {
                    frame_rows[y] = &voxels[((static_cast<size_t>(c) * 13 + z) * 17 + 16 - y) * 19];
                    std::copy_n(v.get()->data[c].uc[z][y], 19, frame_rows[y]);
                }
                frames[static_cast<size_t>(c) * 13 + z] = frame_rows;
            }
            other.data[c].uc = &frames[static_cast<size_t>(c) * 13];
        }
        const unsigned char thr[3] = {150, 120, 200};
        using Render = std::function<int(Volume*, Image2d)>;
        const Render renders[] = {
            [](Volume* in, Image2d im) { return ProvoliMax3d(in, im, 30, 33, 25, 40, 0); },
            [](Volume* in, Image2d im) { return ProvoliAvrg3d(in, im, 30, 33, 200, -15, 1); },
            [&](Volume* in, Image2d im) { return Provoli3d(in, im, 30, 33, 95, 10, 0, thr); },
            [&](Volume* in, Image2d im) { return Provoli3dSurfaceColor(in, im, 30, 33, 300, 70, 0, thr, 1); },
            [](Volume* in, Image2d im) { return Provoli3dBinary(in, im, 30, 33, 10, 5, 1, 0); },
        };
        for (const Render& render : renders) {
            Picture a(30, 33, colour), b(30, 33, colour);
            ASSERT_EQ(render(v.get(), a.image()), 0);
            ASSERT_EQ(render(&other, b.image()), 0);
            EXPECT_EQ(a.pixels(), b.pixels());
            EXPECT_FALSE(a.all(0));
        }
    }
}

// A cube seen along any direction covers the centre of the picture, every value is a voxel
// value of the cube, and the picture does not reach beyond the cube's shadow.
TEST(Projection, ObliqueMaximumStaysInsideTheShadowOfTheBox) {
    Vol v(9, 9, 9);
    t3d::fill(v.get(), [](int, int, int) { return 100; });
    for (int az : {0, 17, 45, 130, 200, 333})
        for (int el : {-60, 0, 35, 89}) {
            Picture p(31, 31);
            ASSERT_EQ(ProvoliMax3d(&v, p.image(), 31, 31, az, el, 0), 0);
            EXPECT_EQ(p.at(15, 15), 100) << az << "," << el;
            for (int r = 0; r < 31; ++r)
                for (int c = 0; c < 31; ++c) {
                    EXPECT_TRUE(p.at(r, c) == 0 || p.at(r, c) == 100);
                    // the cube's shadow lies within its circumscribed circle (radius ~7.8)
                    if (std::hypot(r - 15, c - 15) > 9.5) {
                        EXPECT_EQ(p.at(r, c), 0) << r << "," << c;
                    }
                }
        }
}

// A ramp whose surface recedes by one sample per column: every term is 1 / sqrt(2).
void make_ramp(Vol& v, unsigned char value) {
    t3d::fill(v.get(), [value](int, int y, int x) { return y >= x ? value : 0; });
}

TEST(Projection, SurfaceShadingAndDepthCue) {
    Vol ramp(4, 8, 6);
    make_ramp(ramp, 200);
    const unsigned char thr = 100;
    Picture flat(4, 6), cued(4, 6);
    ASSERT_EQ(Provoli3dSurface(&ramp, flat.image(), 4, 6, 0, 0, 0, &thr, 0), 0);
    ASSERT_EQ(Provoli3dSurface(&ramp, cued.image(), 4, 6, 0, 0, 0, &thr, 1), 0);
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 6; ++c) {
            EXPECT_EQ(flat.at(r, c), 180) << r << "," << c;  // 255 / sqrt(2)
            const double w = 1.0 - 0.75 * c / 5.0;
            EXPECT_EQ(cued.at(r, c), static_cast<int>(std::floor(255.0 / std::sqrt(2.0) * w + 0.5)));
        }
    // A slab facing the viewer is fully lit; rays that meet nothing above the threshold stay 0.
    Vol slab(3, 5, 5);
    for (int z = 0; z < 3; ++z)
        for (int x = 1; x < 5; ++x) slab.uc(z, 2, x) = 150;
    Picture s(3, 5);
    ASSERT_EQ(Provoli3dSurface(&slab, s.image(), 3, 5, 0, 0, 0, &thr, 1), 0);
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 5; ++c) EXPECT_EQ(s.at(r, c), c == 0 ? 0 : 255);
}

TEST(Projection, SurfaceColourModulatesTheSurfaceVoxel) {
    Vol slab(3, 5, 5, 1, 2);
    for (int z = 0; z < 3; ++z)
        for (int x = 0; x < 5; ++x) {
            slab.uc(z, 1, x, 0) = 200, slab.uc(z, 1, x, 1) = 120, slab.uc(z, 1, x, 2) = 40;
            slab.uc(z, 3, x, 0) = 255;  // behind the front face: hidden
        }
    const unsigned char thr[3] = {150, 150, 150};  // only red exceeds: any channel decides
    Picture p(3, 5, 2);
    ASSERT_EQ(Provoli3dSurfaceColor(&slab, p.image(), 3, 5, 0, 0, 0, thr, 0), 0);
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 5; ++c)
            for (int ch = 0; ch < 3; ++ch) EXPECT_EQ(p.at(r, c, ch), 200 - 80 * ch);
}

TEST(Projection, BinarySilhouetteAndDepthShading) {
    Vol ramp(4, 8, 6);
    make_ramp(ramp, 255);
    ramp.uc(0, 0, 5) = 0;
    Picture sil(4, 6), depth(4, 6);
    ASSERT_EQ(Provoli2dBinary(&ramp, sil.image(), 4, 6, 0, 0, 0), 0);
    ASSERT_EQ(Provoli3dBinary(&ramp, depth.image(), 4, 6, 0, 0, 0, 1), 0);
    EXPECT_TRUE(sil.all(255));
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 6; ++c)  // depth grows by one per column: 255 .. 55 in steps of 40
            EXPECT_EQ(depth.at(r, c), 255 - 40 * c) << r << "," << c;
    Vol empty(3, 3, 3);
    Picture none(3, 3);
    ASSERT_EQ(Provoli2dBinary(&empty, none.image(), 3, 3, 0, 0, 1), 0);
    EXPECT_TRUE(none.all(0));
}

// Every renderer with the same arguments but one fault; the picture must stay untouched.
TEST(Projection, ChecksInOrderAndNothingWrittenOnFailure) {
    Vol v(4, 5, 6), f(4, 5, 6, 2), rgb(4, 5, 6, 1, 2);
    t3d::fill_random(&v, 9);
    Picture p(6, 6), colour(6, 6, 2);
    const unsigned char thr[3] = {10, 10, 10};
    using Call = std::function<int(Volume*, Image2d, int, int)>;
    const Call calls[] = {
        [&](Volume* in, Image2d im, int H, int W) { return Provoli2d(in, im, H, W, 10, 0, thr); },
        [&](Volume* in, Image2d im, int H, int W) { return Provoli3d(in, im, H, W, 10, 5, 0, thr); },
        [&](Volume* in, Image2d im, int H, int W) { return ProvoliAvrg2d(in, im, H, W, 10, 0); },
        [&](Volume* in, Image2d im, int H, int W) { return ProvoliAvrg3d(in, im, H, W, 10, 5, 1); },
        [&](Volume* in, Image2d im, int H, int W) { return ProvoliMax2d(in, im, H, W, 10, 0); },
        [&](Volume* in, Image2d im, int H, int W) { return ProvoliMax3d(in, im, H, W, 10, 5, 0); },
        [&](Volume* in, Image2d im, int H, int W) { return Provoli2dBinary(in, im, H, W, 10, 0, 0); },
        [&](Volume* in, Image2d im, int H, int W) { return Provoli3dBinary(in, im, H, W, 10, 5, 0, 1); },
        [&](Volume* in, Image2d im, int H, int W) { return Provoli3dSurface(in, im, H, W, 10, 5, 0, thr, 1); },
        [&](Volume* in, Image2d im, int H, int W) { return Provoli3dSurfaceColor(in, im, H, W, 10, 5, 0, thr, 0); },
    };
    unsigned char** missing_blue[3] = {colour.image()[0], colour.image()[1], nullptr};
    for (const auto& call : calls) {
        EXPECT_EQ(call(nullptr, p.image(), 6, 6), -501);
        EXPECT_EQ(call(&f, p.image(), 6, 6), -502);
        EXPECT_EQ(call(&v, nullptr, 0, 6), -1);           // image before sizes
        EXPECT_EQ(call(&rgb, missing_blue, 6, 6), -1);  // every channel pointer
        EXPECT_EQ(call(&v, p.image(), 0, 6), -90);
        EXPECT_EQ(call(&v, p.image(), 6, -1), -90);
        EXPECT_TRUE(p.all(77));
        EXPECT_TRUE(colour.all(77));
    }
    EXPECT_EQ(Provoli2d(&v, p.image(), 6, 6, 0, 0, nullptr), -90);
    EXPECT_EQ(Provoli3dSurface(&v, p.image(), 6, 6, 0, 0, 0, nullptr, 0), -90);
    EXPECT_EQ(Provoli2dBinary(&v, p.image(), 6, 6, 0, 0, 2), -90);
    EXPECT_EQ(Provoli3dBinary(&v, p.image(), 6, 6, 0, 0, 0, -1), -90);
    EXPECT_TRUE(p.all(77));
    // the depth volume is created before the picture is cleared (a lying H x W: never written)
    EXPECT_EQ(Provoli3dSurface(&v, p.image(), 1 << 20, 1 << 20, 0, 0, 0, thr, 0), -530);
    EXPECT_TRUE(p.all(77));
    v.voi(0, 5, 0, 5, 0, 6);  // beyond Z
    EXPECT_EQ(ProvoliMax2d(&v, p.image(), 6, 6, 0, 0), -510);
    EXPECT_TRUE(p.all(77));
}

}  // namespace
