// Basic operations: check orders, exact values, writes confined to the VOI or the target box.
#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <string>
#include <vector>

#include "core/parallel.h"
#include "support.h"

using t3d::Vol;

TEST(ClearVolume, WritesOnlyTheVoiAndChecksEveryValueFirst) {
    Vol v(4, 4, 4, 1, 2);
    v.voi(1, 3, 0, 2, 2, 4);
    const float good[3] = {255.0f, 7.9f, 0.0f};
    ASSERT_EQ(ClearVolume(v.get(), good), 0);
    for (int z = 0; z < 4; ++z)
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 4; ++x) {
                const bool in = z >= 1 && z < 3 && y < 2 && x >= 2;
                EXPECT_EQ(v.uc(z, y, x, 0), in ? 255 : 0);
                EXPECT_EQ(v.uc(z, y, x, 1), in ? 7 : 0);
            }
    const auto before = t3d::snapshot(v.get());
    const float bad[3] = {1.0f, 2.0f, 255.5f};  // the last channel fails: nothing is written
    EXPECT_EQ(ClearVolume(v.get(), bad), -90);
    const float negative[3] = {-1.0f, 0.0f, 0.0f};
    EXPECT_EQ(ClearVolume(v.get(), negative), -90);
    EXPECT_EQ(t3d::snapshot(v.get()), before);

    Vol i(2, 2, 2, 4);
    const float big = 3e9f;
    EXPECT_EQ(ClearVolume(i.get(), &big), -90);
    const float minus = -12.7f;
    ASSERT_EQ(ClearVolume(i.get(), &minus), 0);
    EXPECT_EQ(i.i(1, 1, 1), -12);
}

TEST(CopyVolume, ChecksTypeColourOffsetAndSizeInOrder) {
    Vol in(4, 4, 4, 1), out(4, 4, 4, 1), f(4, 4, 4, 2), rgb(4, 4, 4, 1, 2);
    t3d::fill_random(in.get(), 1);
    EXPECT_EQ(CopyVolume(in.get(), f.get(), 0, 0, 0), -522);
    EXPECT_EQ(CopyVolume(in.get(), rgb.get(), -1, 0, 0), -523);
    EXPECT_EQ(CopyVolume(in.get(), out.get(), -1, 0, 9), -90);
    EXPECT_EQ(CopyVolume(in.get(), out.get(), 0, 0, 1), -520);
    for (double d : t3d::snapshot(out.get())) ASSERT_EQ(d, 0.0);
}

TEST(CopyVolume, PlacesTheVoiAtTheOffsetForEveryType) {
    for (int type : {1, 2, 4}) {
        Vol in(5, 6, 7, type, 2), out(6, 6, 6, type, 2);
        t3d::fill_random(in.get(), 3);
        t3d::fill_random(out.get(), 4);
        const auto before = t3d::snapshot(out.get());
        in.voi(1, 4, 2, 5, 3, 7);
        out.voi(0, 1, 0, 1, 0, 1);  // the output's VOI plays no part
        ASSERT_EQ(CopyVolume(in.get(), out.get(), 2, 1, 0), 0);
        const auto in_all = t3d::snapshot(in.get()), out_all = t3d::snapshot(out.get());
        for (int c = 0; c < 3; ++c)
            for (int z = 0; z < 6; ++z)
                for (int y = 0; y < 6; ++y)
                    for (int x = 0; x < 6; ++x) {
                        const size_t o = ((c * 6 + z) * 6 + y) * 6 + x;
                        const int sz = z - 2 + 1, sy = y - 1 + 2, sx = x + 3;
                        const bool target = z >= 2 && z < 5 && y >= 1 && y < 4 && x < 4;
                        const double want =
                            target ? in_all[((c * 5 + sz) * 6 + sy) * 7 + sx] : before[o];
                        ASSERT_EQ(out_all[o], want) << type << " " << c << z << y << x;
                    }
    }
}

// A VOI as wide as the rows: into rows of the same width the frame's rows follow one another
// in both volumes (one block per run of rows), into wider rows they do not.
TEST(CopyVolume, WholeRowsCopyLikeAnyOther) {
    for (int type : {1, 2, 4})
        for (int width : {7, 9}) {
            Vol in(4, 6, 7, type), out(5, 8, width, type);
            t3d::fill_random(in.get(), 5);
            t3d::fill_random(out.get(), 6);
            in.voi(1, 4, 1, 5, 0, 7);
            auto expected = t3d::snapshot(out.get());
            const auto source = t3d::snapshot(in.get());
            for (int z = 1; z < 4; ++z)
                for (int y = 1; y < 5; ++y)
                    for (int x = 0; x < 7; ++x)
                        expected[((z + 1) * 8 + y + 2) * width + x] = source[(z * 6 + y) * 7 + x];
            ASSERT_EQ(CopyVolume(in.get(), out.get(), 2, 3, 0), 0);
            EXPECT_EQ(t3d::snapshot(out.get()), expected) << "type " << type << ", width " << width;
        }
}

TEST(CopyVolume, WithinOneVolumeCopiesVoxelByVoxelInScanOrder) {
    Vol v(1, 1, 4, 1);
    for (int x = 0; x < 4; ++x) v.uc(0, 0, x) = static_cast<unsigned char>(10 + x);
    v.voi(0, 1, 0, 1, 0, 3);
    ASSERT_EQ(CopyVolume(v.get(), v.get(), 0, 0, 1), 0);
    // each copied voxel is read after the one before it was written
    for (int x = 0; x < 4; ++x) EXPECT_EQ(v.uc(0, 0, x), 10) << x;
}

TEST(FVolume2UCVolume, RoundsAndWrapsToEightBits) {
    Vol in(1, 1, 6, 2), out(1, 1, 6, 1);
    const float values[6] = {254.6f, 255.5f, -0.4f, -0.6f, 256.0f, -1.0f};
    const int want[6] = {255, 0, 0, 255, 0, 255};
    for (int x = 0; x < 6; ++x) in.f(0, 0, x) = values[x];
    ASSERT_EQ(FVolume2UCVolume(in.get(), out.get(), 0, 0, 0), 0);
    for (int x = 0; x < 6; ++x) EXPECT_EQ(out.uc(0, 0, x), want[x]) << values[x];
}

TEST(FVolume2UCVolume, UsesInvalidParametersForOffsetAndSize) {
    Vol in(2, 2, 2, 2), out(2, 2, 2, 1), rgb(2, 2, 2, 1, 2), i(2, 2, 2, 4);
    EXPECT_EQ(FVolume2UCVolume(out.get(), out.get(), 0, 0, 0), -502);
    EXPECT_EQ(FVolume2UCVolume(in.get(), i.get(), 0, 0, 0), -502);
    EXPECT_EQ(FVolume2UCVolume(in.get(), rgb.get(), 0, 0, 0), -523);
    EXPECT_EQ(FVolume2UCVolume(in.get(), out.get(), 0, 1, 0), -90);
    EXPECT_EQ(FVolume2UCVolume_norm(in.get(), out.get(), -1, 0, 0), -90);
}

TEST(FVolume2UCVolume_norm, ScalesEachChannelToItsRange) {
    Vol in(1, 2, 3, 2, 2), out(1, 2, 3, 1, 2);
    const float constants[3] = {7.0f, 300.0f, -3.0f};
    for (int c = 0; c < 3; ++c)
        for (int y = 0; y < 2; ++y)
            for (int x = 0; x < 3; ++x) in.f(0, y, x, c) = constants[c];
    ASSERT_EQ(FVolume2UCVolume_norm(in.get(), out.get(), 0, 0, 0), 0);
    const int scaled[3] = {7, 255, 0};
    for (int c = 0; c < 3; ++c) EXPECT_EQ(out.uc(0, 1, 2, c), scaled[c]) << c;

    Vol ramp(1, 1, 5, 2), grey(1, 1, 5, 1);
    const float values[5] = {-10.0f, 0.0f, 40.0f, 89.9f, 90.0f};
    for (int x = 0; x < 5; ++x) ramp.f(0, 0, x) = values[x];
    ASSERT_EQ(FVolume2UCVolume_norm(ramp.get(), grey.get(), 0, 0, 0), 0);
    const float step = static_cast<float>(100.0f * 0.003921569);
    const int want[5] = {0, static_cast<int>(10.0f / step), static_cast<int>(50.0f / step),
                         static_cast<int>(99.9f / step), 255};
    for (int x = 0; x < 5; ++x) EXPECT_EQ(grey.uc(0, 0, x), want[x]) << x;
}

TEST(UCVolume2FVolume, ConvertsAtAnOffset) {
    Vol in(2, 3, 4, 1, 2), out(3, 3, 5, 2, 2), small(2, 3, 4, 2, 2);
    t3d::fill_random(in.get(), 9);
    in.voi(0, 2, 1, 3, 0, 4);
    EXPECT_EQ(UCVolume2FVolume(in.get(), small.get(), 1, 0, 0), -520);
    EXPECT_EQ(UCVolume2FVolume(in.get(), out.get(), 0, -1, 0), -90);
    ASSERT_EQ(UCVolume2FVolume(in.get(), out.get(), 1, 0, 1), 0);
    EXPECT_EQ(out.f(1, 0, 1, 2), in.uc(0, 1, 0, 2));
    EXPECT_EQ(out.f(2, 1, 4, 1), in.uc(1, 2, 3, 1));
    EXPECT_EQ(out.f(0, 0, 0, 0), 0.0f);
}

TEST(IVolume2FVolume, ConvertsAtAnOffsetAndChecksLikeTheUCConversion) {
    Vol in(2, 2, 3, 4, 2), out(3, 2, 4, 2, 2), grey(3, 2, 4, 2, 1);
    t3d::fill_random(in.get(), 4, 70000);
    in.i(1, 1, 2, 1) = 16777217;  // the nearest float is 2^24
    EXPECT_EQ(IVolume2FVolume(out.get(), out.get(), 0, 0, 0), -502);
    EXPECT_EQ(IVolume2FVolume(in.get(), in.get(), 0, 0, 0), -502);
    EXPECT_EQ(IVolume2FVolume(in.get(), grey.get(), 0, 0, 0), -523);
    EXPECT_EQ(IVolume2FVolume(in.get(), out.get(), 0, 0, -1), -90);
    EXPECT_EQ(IVolume2FVolume(in.get(), out.get(), 0, 1, 0), -520);
    ASSERT_EQ(IVolume2FVolume(in.get(), out.get(), 1, 0, 1), 0);
    EXPECT_EQ(out.f(2, 1, 3, 1), 16777216.0f);
    EXPECT_EQ(out.f(1, 0, 1, 2), static_cast<float>(in.i(0, 0, 0, 2)));
    EXPECT_EQ(out.f(0, 0, 0, 0), 0.0f);
}

// floor(255 (v - low) / (high - low) + 0.5) clamped, computed the plain way.
int windowed(long long v, long long low, long long high) {
    const double t = std::floor(255.0 * static_cast<double>(v - low) / static_cast<double>(high - low) + 0.5);
    return t < 0 ? 0 : t > 255 ? 255 : static_cast<int>(t);
}

TEST(IVolume2UCVolume_window, MapsTheWindowLinearlyInsideTheVoi) {
    Vol in(3, 4, 5, 4, 2), out(3, 4, 6, 1, 2);
    t3d::fill_random(in.get(), 12, 40000);
    in.voi(1, 3, 0, 3, 1, 5);
    in.i(1, 0, 1, 1) = INT_MIN;  // far outside any window: clamped, no overflow
    in.i(2, 2, 4, 0) = INT_MAX;
    const struct { int low, high; } windows[] = {{-1024, 3071}, {0, 1}, {-5, 65535}, {0, 0}};
    for (const auto& w : windows) {
        SCOPED_TRACE(std::to_string(w.low) + ":" + std::to_string(w.high));
        for (int c = 0; c < 3; ++c)
            for (int z = 0; z < 3; ++z)
                for (int y = 0; y < 4; ++y)
                    for (int x = 0; x < 6; ++x) out.uc(z, y, x, c) = 77;
        ASSERT_EQ(IVolume2UCVolume_window(in.get(), out.get(), w.low, w.high), 0);
        long long low = w.low, high = w.high;
        if (low == 0 && high == 0) {  // the minimum and maximum of the VOI, all channels
            low = INT_MAX, high = INT_MIN;
            for (int c = 0; c < 3; ++c)
                for (int z = 1; z < 3; ++z)
                    for (int y = 0; y < 3; ++y)
                        for (int x = 1; x < 5; ++x) low = std::min<long long>(low, in.i(z, y, x, c)),
                                                    high = std::max<long long>(high, in.i(z, y, x, c));
        }
        for (int c = 0; c < 3; ++c)
            for (int z = 0; z < 3; ++z)
                for (int y = 0; y < 4; ++y)
                    for (int x = 0; x < 6; ++x) {
                        const bool inside = z >= 1 && y < 3 && x >= 1 && x < 5;
                        ASSERT_EQ(out.uc(z, y, x, c), inside ? windowed(in.i(z, y, x, c), low, high) : 77)
                            << c << " " << z << " " << y << " " << x;
                    }
    }
    EXPECT_EQ(windowed(-1024, -1024, 3071), 0);
    EXPECT_EQ(out.uc(2, 2, 4, 0), 255);
}

TEST(IVolume2UCVolume_window, ConstantVolumesAndChecks) {
    Vol in(1, 2, 2, 4), out(1, 2, 2, 1), f(1, 2, 2, 2), small(1, 2, 1, 1), rgb(1, 2, 2, 1, 2);
    for (int value : {300, -5, 7}) {
        for (int i = 0; i < 4; ++i) in.i(0, i / 2, i % 2) = value;
        ASSERT_EQ(IVolume2UCVolume_window(in.get(), out.get(), 0, 0), 0);
        EXPECT_EQ(out.uc(0, 1, 1), value < 0 ? 0 : std::min(value, 255)) << value;
    }
    EXPECT_EQ(IVolume2UCVolume_window(f.get(), out.get(), 0, 1), -502);
    EXPECT_EQ(IVolume2UCVolume_window(in.get(), f.get(), 0, 1), -502);
    EXPECT_EQ(IVolume2UCVolume_window(in.get(), small.get(), 0, 1), -520);
    EXPECT_EQ(IVolume2UCVolume_window(in.get(), rgb.get(), 0, 1), -523);
    EXPECT_EQ(IVolume2UCVolume_window(in.get(), out.get(), 2, 1), -90);
    EXPECT_EQ(IVolume2UCVolume_window(in.get(), out.get(), 5, 5), -90);
    EXPECT_EQ(IVolume2UCVolume_window(nullptr, out.get(), 0, 1), -501);
}

TEST(CountNonZeroSurfacePoints3d, IgnoresTheVoiBorderLayer) {
    Vol full(5, 5, 5), padded(7, 7, 7);
    t3d::fill(full.get(), [](int, int, int) { return 255; });
    t3d::fill(padded.get(), [](int z, int y, int x) { return std::max({z, y, x}) < 6 && std::min({z, y, x}) > 0 ? 255 : 0; });
    unsigned int n = 1;
    ASSERT_EQ(CountNonZeroSurfacePoints3d(full.get(), &n), 0);
    EXPECT_EQ(n, 0u);
    ASSERT_EQ(CountNonZeroSurfacePoints3d(padded.get(), &n), 0);
    EXPECT_EQ(n, 98u);
    EXPECT_EQ(CountNonZeroSurfacePoints3d(padded.get(), nullptr), -4);
    Vol rgb(3, 3, 3, 1, 2);
    EXPECT_EQ(CountNonZeroSurfacePoints3d(rgb.get(), &n), -503);
}

TEST(Metrics, CountMinMaxAndBoundingBoxOverTheVoi) {
    Vol v(4, 5, 6);
    v.uc(1, 2, 3) = 9;
    v.uc(2, 4, 1) = 200;
    v.uc(3, 0, 5) = 4;  // outside the VOI below
    v.voi(0, 3, 0, 5, 0, 6);
    unsigned int n = 0, lo = 99, hi = 0;
    ASSERT_EQ(CountNonZeroPoints3d(v.get(), &n), 0);
    EXPECT_EQ(n, 2u);
    EXPECT_EQ(FindMinMaxIntensity(v.get(), nullptr, nullptr), -4);
    ASSERT_EQ(FindMinMaxIntensity(v.get(), &lo, &hi), 0);
    EXPECT_EQ(lo, 0u);
    EXPECT_EQ(hi, 200u);
    ASSERT_EQ(FindMinMaxIntensity(v.get(), nullptr, &hi), 0);

    int b[6];
    EXPECT_EQ(FindBoundingBox3d(v.get(), &b[0], &b[1], &b[2], &b[3], &b[4], nullptr), -4);
    ASSERT_EQ(FindBoundingBox3d(v.get(), &b[0], &b[1], &b[2], &b[3], &b[4], &b[5]), 0);
    EXPECT_EQ(std::vector<int>(b, b + 6), (std::vector<int>{1, 2, 2, 4, 1, 3}));
    v.voi(0, 1, 0, 5, 0, 6);
    ASSERT_EQ(FindBoundingBox3d(v.get(), &b[0], &b[1], &b[2], &b[3], &b[4], &b[5]), 0);
    EXPECT_EQ(std::vector<int>(b, b + 6), std::vector<int>(6, -1));

    Vol rgb(2, 2, 2, 1, 2);
    rgb.uc(1, 0, 1, 2) = 1;  // only the blue channel is set
    ASSERT_EQ(FindBoundingBox3d(rgb.get(), &b[0], &b[1], &b[2], &b[3], &b[4], &b[5]), 0);
    EXPECT_EQ(std::vector<int>(b, b + 6), (std::vector<int>{1, 1, 0, 0, 1, 1}));
}

TEST(Logic, CombinesBinaryVolumesOverTheFirstVoi) {
    Vol a(3, 4, 5), b(3, 4, 5), out(3, 4, 5);
    t3d::fill_binary(a.get(), 1, 50);
    t3d::fill_binary(b.get(), 2, 50);
    a.voi(1, 3, 0, 4, 1, 5);
    ASSERT_EQ(xor3d(a.get(), a.get(), out.get()), 0);
    ASSERT_EQ(and3d(a.get(), b.get(), out.get()), 0);
    for (int z = 0; z < 3; ++z)
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 5; ++x) {
                const bool in = z >= 1 && x >= 1;
                EXPECT_EQ(out.uc(z, y, x), in ? (a.uc(z, y, x) & b.uc(z, y, x)) : 0);
            }
    ASSERT_EQ(or3d(a.get(), b.get(), out.get()), 0);
    EXPECT_EQ(out.uc(2, 3, 4), a.uc(2, 3, 4) | b.uc(2, 3, 4));
    ASSERT_EQ(and3d(a.get(), a.get(), out.get()), 0);
    EXPECT_EQ(out.uc(1, 2, 3), a.uc(1, 2, 3));
}

TEST(Logic, ChecksSizesBeforeBinarity) {
    Vol a(3, 3, 3), b(3, 3, 3), out(3, 3, 3), small(2, 3, 3);
    a.uc(1, 1, 1) = 1;
    EXPECT_EQ(or3d(a.get(), small.get(), out.get()), -520);
    EXPECT_EQ(or3d(a.get(), b.get(), small.get()), -520);
    EXPECT_EQ(or3d(a.get(), b.get(), out.get()), -535);
    EXPECT_EQ(xor3d(b.get(), a.get(), out.get()), -535);
    for (double d : t3d::snapshot(out.get())) ASSERT_EQ(d, 0.0);
    Vol rgb(3, 3, 3, 1, 2);
    EXPECT_EQ(and3d(b.get(), b.get(), rgb.get()), -503);
}

TEST(Symmetric3d, ReflectsThroughTheVoiCentreAndUndoesItself) {
    Vol in(4, 5, 6, 1, 2), once(4, 5, 6, 1, 2), twice(4, 5, 6, 1, 2);
    t3d::fill_random(in.get(), 5);
    in.voi(1, 4, 0, 3, 2, 6);
    ASSERT_EQ(Symmetric3d(in.get(), once.get()), 0);
    EXPECT_EQ(once.uc(1, 0, 2, 1), in.uc(3, 2, 5, 1));
    EXPECT_EQ(once.uc(2, 1, 4, 0), in.uc(2, 1, 3, 0));
    EXPECT_EQ(once.uc(0, 0, 0, 0), 0);  // outside the VOI
    once.voi(1, 4, 0, 3, 2, 6);
    ASSERT_EQ(Symmetric3d(once.get(), twice.get()), 0);
    for (int c = 0; c < 3; ++c)
        for (int z = 1; z < 4; ++z)
            for (int y = 0; y < 3; ++y)
                for (int x = 2; x < 6; ++x) ASSERT_EQ(twice.uc(z, y, x, c), in.uc(z, y, x, c));
    Vol small(4, 5, 5, 1, 2), grey(4, 5, 6, 1, 1);
    EXPECT_EQ(Symmetric3d(in.get(), small.get()), -520);
    EXPECT_EQ(Symmetric3d(in.get(), grey.get()), -523);
}

TEST(FrameImageCopies, KeepTheirOwnCheckOrders) {
    Vol v(2, 3, 4, 1, 2);
    t3d::fill_random(v.get(), 7);
    std::vector<unsigned char> pixels(3 * 256 * 256, 0);
    std::vector<unsigned char*> rows(3 * 256);
    for (int i = 0; i < 3 * 256; ++i) rows[i] = &pixels[static_cast<size_t>(i) * 256];
    unsigned char** planes[3] = {&rows[0], &rows[256], &rows[512]};
    unsigned char** missing[3] = {&rows[0], nullptr, &rows[512]};

    // frame -> image: pointers first, then the range
    EXPECT_EQ(CopyFrame2Image(v.get(), 9, missing, 0, 0), -1);
    EXPECT_EQ(CopyFrame2Image(v.get(), 9, planes, 0, 0), -90);
    EXPECT_EQ(CopyFrame2Image(v.get(), 1, planes, 254, 0), -90);
    ASSERT_EQ(CopyFrame2Image(v.get(), 1, planes, 254 - 1, 252), 0);
    EXPECT_EQ(planes[2][253][252], v.uc(1, 0, 0, 2));
    EXPECT_EQ(planes[1][255][255], v.uc(1, 2, 3, 1));

    // image -> frame: the range first, then the pointers
    EXPECT_EQ(CopyImage2Frame(v.get(), 9, missing, 0, 0, 0, 1, 0, 1), -90);
    EXPECT_EQ(CopyImage2Frame(v.get(), 0, missing, 0, 0, 0, 1, 0, 1), -1);
    EXPECT_EQ(CopyImage2Frame(v.get(), 0, planes, 1, 0, 0, 3, 0, 1), -90);
    planes[0][10][20] = 77;
    planes[0][11][21] = 78;
    v.voi(1, 2, 0, 1, 0, 1);  // neither used nor changed
    ASSERT_EQ(CopyImage2Frame(v.get(), 0, planes, 1, 2, 10, 12, 20, 22), 0);
    EXPECT_EQ(v.uc(0, 1, 2, 0), 77);
    EXPECT_EQ(v.uc(0, 2, 3, 0), 78);
    EXPECT_EQ(v->z1, 1);

    SetDefaultImageSize(4, 4);
    EXPECT_EQ(CopyFrame2Image(v.get(), 0, planes, 4, 0), -90);
    SetDefaultImageSize(256, 256);
}

// (the 3d turns about each axis: the reference below)
TEST(Rotation, QuarterTurnOfAFrameIsCounterClockwise) {
    Vol in(1, 3, 3), out(1, 3, 3);
    in.uc(0, 0, 1) = 50;  // above the centre
    ASSERT_EQ(RotateVol2d(in.get(), out.get(), 90.0f), 0);
    EXPECT_EQ(out.uc(0, 1, 0), 50);  // counter-clockwise: now left of the centre
    EXPECT_EQ(out.uc(0, 0, 1), 0);
}

// Every VOI voxel takes the source at the nearest integer to centre + R^T (p - centre), summed
// term by term in double precision, or 0 outside the VOI: the composite turn (about Z, then Y,
// then X) on every data type, RGB, rows long enough for the vectorised rows, one thread and two.
TEST(Rotation, EveryVoxelTakesItsNearestSource) {
    using M = std::array<std::array<double, 3>, 3>;
    auto turn = [](float degrees, int a, int b, double sign) {  // plane (a, b) of (x, y, z)
        const double t = degrees * 3.14159265358979323846 / 180.0, c = std::cos(t), s = std::sin(t);
        M r{};
        for (int i = 0; i < 3; ++i) r[i][i] = 1;
        r[a][a] = c, r[a][b] = sign * s, r[b][a] = -sign * s, r[b][b] = c;
        return r;
    };
    auto times = [](const M& p, const M& q) {
        M r{};
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                for (int k = 0; k < 3; ++k) r[i][j] += p[i][k] * q[k][j];
        return r;
    };
    const float angles[][3] = {{30, 20, 10}, {90, 0, 0}, {-45, 0, 33}, {0, 0, 0}};
    for (int type : {1, 2, 4})
        for (const auto& g : angles) {
            const M m = times(turn(g[2], 1, 2, -1), times(turn(g[1], 0, 2, -1), turn(g[0], 0, 1, 1)));
            Vol in(6, 9, 70, type, type == 1 ? 2 : 1), out(6, 9, 70, type, type == 1 ? 2 : 1);
            t3d::fill_random(in.get(), 14);
            in.voi(1, 6, 1, 9, 3, 68);
            const double c[3] = {(3 + 68 - 1) / 2.0, (1 + 9 - 1) / 2.0, (1 + 6 - 1) / 2.0};
            t3d::fill_random(out.get(), 15);
            auto expected = t3d::snapshot(out.get());
            const auto source = t3d::snapshot(in.get());
            for (int k = 0; k < (type == 1 ? 3 : 1); ++k)
                for (int z = 1; z < 6; ++z)
                    for (int y = 1; y < 9; ++y)
                        for (int x = 3; x < 68; ++x) {
                            const double d[3] = {x - c[0], y - c[1], z - c[2]};
                            int s[3];
                            for (int a = 0; a < 3; ++a)
                                s[a] = static_cast<int>(std::floor(c[a] + m[0][a] * d[0] + m[1][a] * d[1] + m[2][a] * d[2] + 0.5));
                            const bool inside = s[0] >= 3 && s[0] < 68 && s[1] >= 1 && s[1] < 9 && s[2] >= 1 && s[2] < 6;
                            expected[((k * 6 + z) * 9 + y) * 70 + x] = inside ? source[((k * 6 + s[2]) * 9 + s[1]) * 70 + s[0]] : 0;
                        }
            for (int threads : {1, 2}) {
                v3d::set_thread_count(threads);
                ASSERT_EQ(RotateVol3d(in.get(), out.get(), g[0], g[1], g[2]), 0);
                ASSERT_EQ(t3d::snapshot(out.get()), expected) << "type " << type << ", " << g[0] << " " << g[1] << " " << g[2];
            }
        }
    v3d::set_thread_count(0);
}

TEST(Rotation, HalfTurnOfEachFrameIsItsPointReflection) {
    Vol in(3, 5, 7), out(3, 5, 7);
    t3d::fill_random(in.get(), 13);
    in.voi(0, 3, 1, 4, 2, 5);  // odd extents: the half turn maps voxels onto voxels
    ASSERT_EQ(RotateVol2d(in.get(), out.get(), 180.0f), 0);
    for (int z = 0; z < 3; ++z)
        for (int y = 0; y < 5; ++y)
            for (int x = 0; x < 7; ++x) {
                const bool inside = y >= 1 && y < 4 && x >= 2 && x < 5;
                ASSERT_EQ(out.uc(z, y, x), inside ? in.uc(z, 4 - y, 6 - x) : 0);
            }
}

// (one thread and two: the reference above)
TEST(Rotation, Checks) {
    Vol in(8, 9, 10, 2, 2), out(8, 9, 10, 2, 2), small(8, 9, 9, 2, 2), uc(8, 9, 10, 1, 2);
    EXPECT_EQ(RotateVol2d(in.get(), in.get(), 10.0f), -525);
    EXPECT_EQ(RotateVol2d(in.get(), small.get(), 10.0f), -520);
    EXPECT_EQ(RotateVol3d(in.get(), uc.get(), 1, 2, 3), -522);
    EXPECT_EQ(RotateVol3d(in.get(), out.get(), NAN, 0, 0), -90);
}
