// Raw volume files and the text dump: byte layout, names, codes, truncated files.
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "support.h"

using t3d::Vol;

namespace {

using t3d::read_file;

void write_file(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

}  // namespace

TEST(WriteVolume, WritesPlanarChannelsByteExactly) {
    Vol v(2, 3, 4, 1, 2);
    for (int c = 0; c < 3; ++c)
        for (int z = 0; z < 2; ++z)
            for (int y = 0; y < 3; ++y)
                for (int x = 0; x < 4; ++x)
                    v.uc(z, y, x, c) = static_cast<unsigned char>(((c * 2 + z) * 3 + y) * 4 + x);
    const std::string path = t3d::temp_path("planar.raw");
    ASSERT_EQ(WriteVolume(v.get(), path.c_str(), 0, 2), 0);
    const std::string bytes = read_file(path);
    ASSERT_EQ(bytes.size(), 72u);
    for (size_t i = 0; i < 72; ++i) ASSERT_EQ(static_cast<unsigned char>(bytes[i]), i);

    ASSERT_EQ(WriteVolume(v.get(), path.c_str(), 1, 1), 0);  // frame 1 of each channel
    const std::string one = read_file(path);
    ASSERT_EQ(one.size(), 36u);
    EXPECT_EQ(static_cast<unsigned char>(one[0]), 12);
    EXPECT_EQ(static_cast<unsigned char>(one[12]), 36);
    EXPECT_EQ(WriteVolume(v.get(), path.c_str(), 1, 2), -90);

    // large channels: frames that follow each other in memory (256 x 256) and frames that do
    // not (257 x 255 bytes, each frame starting on a new cache line) go out in the same order
    for (int Y : {256, 257}) {
        const int X = 511 - Y;
        Vol big(64, Y, X, 1, 2);
        for (int c = 0; c < 3; ++c)
            for (int z = 0; z < 64; ++z)
                for (int y = 0; y < Y; ++y) big.uc(z, y, (y + z) % X, c) = static_cast<unsigned char>(1 + c * 64 + z);
        ASSERT_EQ(WriteVolume(big.get(), path.c_str(), 1, 62), 0);
        const std::string all = read_file(path);
        ASSERT_EQ(all.size(), 3u * 62 * Y * X);
        for (int c = 0; c < 3; ++c)
            for (int z = 1; z < 63; ++z)
                for (int y = 0; y < Y; y += 17) {
                    const size_t row = ((c * 62 + z - 1) * static_cast<size_t>(Y) + y) * X;
                    ASSERT_EQ(static_cast<unsigned char>(all[row + (y + z) % X]), 1 + c * 64 + z);
                    ASSERT_EQ(all[row + (y + z + 1) % X], 0);
                }
        Vol back(64, Y, X, 1, 2);  // and read back the same way, into frames 0 .. 61
        ASSERT_EQ(ReadVolume(back.get(), path.c_str(), 0, 62, Y, X), 0);
        for (int c = 0; c < 3; ++c)
            for (int z = 0; z < 62; ++z)
                for (int y = 0; y < Y; y += 17) ASSERT_EQ(back.uc(z, y, (y + z + 1) % X, c), 1 + c * 64 + z + 1);
    }
}

TEST(ReadVolume, RoundTripsEveryTypeAndAppliesTheSkipOnce) {
    for (int type : {1, 2, 4}) {
        Vol v(3, 4, 5, type, 2), back(3, 4, 5, type, 2);
        t3d::fill_random(v.get(), 21);
        const std::string path = t3d::temp_path("round.raw");
        ASSERT_EQ(WriteVolume(v.get(), path.c_str(), 0, 3), 0);
        ASSERT_EQ(ReadVolume(back.get(), path.c_str(), 0, 3, 4, 5), 0);
        EXPECT_EQ(t3d::snapshot(back.get()), t3d::snapshot(v.get()));
    }
    // skip 1 frame: channel 0 starts at frame 1, channel 1 right after 2 frames of channel 0
    Vol v(1, 1, 4, 1, 2), back(2, 1, 4, 1, 2);
    write_file(t3d::temp_path("skip.raw"), std::string("ABCDEFGHIJKLMNOPQRSTUVWXYZ01"));
    ASSERT_EQ(ReadVolume(back.get(), t3d::temp_path("skip.raw").c_str(), 1, 2, 1, 4), 0);
    EXPECT_EQ(back.uc(0, 0, 0, 0), 'E');
    EXPECT_EQ(back.uc(1, 0, 0, 0), 'I');
    EXPECT_EQ(back.uc(0, 0, 0, 1), 'M');
    EXPECT_EQ(back.uc(1, 0, 3, 2), '1');
}

TEST(ReadVolume, ReportsDimensionsBeforeOpeningAndShortFilesAfter) {
    Vol v(2, 2, 3);
    EXPECT_EQ(ReadVolume(v.get(), "/nonexistent/file.raw", 0, 2, 2, 4), -521);
    EXPECT_EQ(ReadVolume(v.get(), "/nonexistent/file.raw", 0, 2, 2, 3), -600);
    const std::string path = t3d::temp_path("short.raw");
    write_file(path, std::string("abcdefgh"));  // 8 of 12 bytes
    EXPECT_EQ(ReadVolume(v.get(), path.c_str(), 0, 2, 2, 3), -601);
    EXPECT_EQ(v.uc(0, 1, 2), 'f');  // rows read before the end stay
    EXPECT_EQ(v.uc(1, 0, 0), 0);
    EXPECT_EQ(CheckVolume(v.get(), 7, 3), 0);  // the record stays valid
    EXPECT_EQ(ReadVolume(v.get(), path.c_str(), 5, 2, 2, 3), -601);  // skipped past the end
}

TEST(FrameSeries, NamesFramesWithAndWithoutPadding) {
    const std::string base = t3d::temp_path("series");
    Vol v(2, 2, 2);
    v.uc(0, 0, 0) = 1;
    v.uc(1, 1, 1) = 2;
    const char* exts[] = {"raw"};
    ASSERT_EQ(todiskUCFI3D(v.get(), base.c_str(), 7, 3, exts), 0);
    EXPECT_EQ(read_file(base + "007.raw"), std::string("\x01\0\0\0", 4));
    EXPECT_EQ(read_file(base + "008.raw"), std::string("\0\0\0\x02", 4));
    ASSERT_EQ(todiskUCFI3D(v.get(), base.c_str(), 7, 0, exts), 0);
    EXPECT_EQ(read_file(base + "8.raw").size(), 4u);

    Vol back(3, 2, 2);
    ASSERT_EQ(fromdiskUCFI3D(back.get(), base.c_str(), 7, 0, exts, 2, 2, 2), 0);
    EXPECT_EQ(back.uc(1, 1, 1), 2);
    EXPECT_EQ(fromdiskUCFI3D(back.get(), base.c_str(), 7, 0, exts, 4, 2, 2), -521);
    EXPECT_EQ(fromdiskUCFI3D(back.get(), base.c_str(), 7, 0, exts, 3, 2, 2), -600);  // no 9.raw
}

// Frame numbers first .. first + Z - 1 must exist as ints: near INT_MAX the series is refused
// before any file is touched (first + z would overflow).
TEST(FrameSeries, RefusesFrameNumbersBeyondTheIntRange) {
    const std::string base = t3d::temp_path("edge");
    Vol v(3, 1, 2), back(3, 1, 2);
    const char* exts[] = {"raw"};
    for (const char* n : {"2147483645", "2147483646", "2147483647"}) std::remove((base + n + ".raw").c_str());
    EXPECT_EQ(todiskUCFI3D(v.get(), base.c_str(), 2147483646, 0, exts), -90);
    EXPECT_EQ(read_file(base + "2147483646.raw"), "");
    EXPECT_EQ(fromdiskUCFI3D(back.get(), base.c_str(), 2147483646, 0, exts, 3, 1, 2), -90);
    ASSERT_EQ(todiskUCFI3D(v.get(), base.c_str(), 2147483645, 0, exts), 0);  // ends at INT_MAX
    EXPECT_EQ(read_file(base + "2147483647.raw").size(), 2u);
    EXPECT_EQ(fromdiskUCFI3D(back.get(), base.c_str(), 2147483645, 0, exts, 3, 1, 2), 0);
}

TEST(FrameSeries, ChannelsUseTheirOwnExtensionsAndShortFramesStopTheRead) {
    const std::string base = t3d::temp_path("colour");
    Vol v(2, 1, 3, 2, 2), back(2, 1, 3, 2, 2);
    t3d::fill_random(v.get(), 31);
    const char* exts[] = {"r", "g", "b"};
    ASSERT_EQ(todiskUCFI3D(v.get(), base.c_str(), 0, 2, exts), 0);
    EXPECT_EQ(read_file(base + "01.b").size(), 12u);
    ASSERT_EQ(fromdiskUCFI3D(back.get(), base.c_str(), 0, 2, exts, 2, 1, 3), 0);
    EXPECT_EQ(t3d::snapshot(back.get()), t3d::snapshot(v.get()));

    Vol grey(2, 1, 3), partial(2, 1, 3);
    grey.uc(0, 0, 1) = 9;
    const char* raw[] = {"raw"};
    ASSERT_EQ(todiskUCFI3D(grey.get(), base.c_str(), 0, 0, raw), 0);
    write_file(base + "1.raw", "xy");
    EXPECT_EQ(fromdiskUCFI3D(partial.get(), base.c_str(), 0, 0, raw, 2, 1, 3), -601);
    EXPECT_EQ(partial.uc(0, 0, 1), 9);  // the earlier frame is filled
}

TEST(Dump, PrintsTheVoiWithOneBreakPerRowFrameAndChannel) {
    Vol v(2, 2, 3);
    v.uc(1, 0, 1) = 5;
    v.uc(1, 0, 2) = 200;
    v.voi(1, 2, 0, 1, 1, 3);
    const std::string path = t3d::temp_path("dump.txt");
    ASSERT_EQ(dumpUCFI3D(v.get(), path.c_str()), 0);
    EXPECT_EQ(read_file(path), "  5 200 \n\n\n");

    Vol f(1, 1, 2, 2), i(1, 1, 2, 4);
    f.f(0, 0, 0) = 1.25f;
    f.f(0, 0, 1) = -0.0005f;
    i.i(0, 0, 1) = -42;
    ASSERT_EQ(dumpUCFI3D(f.get(), path.c_str()), 0);
    EXPECT_EQ(read_file(path), "1.250 -0.001 \n\n\n");
    ASSERT_EQ(dumpUCFI3D(i.get(), path.c_str()), 0);
    EXPECT_EQ(read_file(path), "0 -42 \n\n\n");
    EXPECT_EQ(dumpUCFI3D(i.get(), "/nonexistent/dir/dump.txt"), -600);
}
