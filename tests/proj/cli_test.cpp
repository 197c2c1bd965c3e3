// The v3d picture commands end to end: the files they write.
#include <tiffio.h>

#include <string>

#include "support.h"

namespace {

using t3d::Vol;

int v3d(const std::string& args) { return t3d::run_v3d(args).code; }

using t3d::read_file;

class PictureCommands : public testing::Test {
protected:
    void SetUp() override {
        Vol v(4, 5, 6);
        t3d::fill(v.get(), [](int z, int, int x) { return 10 * z + x; });
        ASSERT_EQ(WriteVolume(&v, raw_.c_str(), 0, 4), 0);
    }
    std::string in() const { return "--in " + raw_ + " --size 4x5x6 "; }
    const std::string raw_ = t3d::temp_path("proj_cli.raw");
};

TEST_F(PictureCommands, MaximumProjectionAsPgmAndPpm) {
    const std::string pgm = t3d::temp_path("proj_max.pgm"), ppm = t3d::temp_path("proj_max.ppm");
    ASSERT_EQ(v3d("project " + in() + "--mode max --angle 0 --picture 4x6 --out " + pgm), 0);
    ASSERT_EQ(v3d("project " + in() + "--mode max --angle 0 --picture 4x6 --out " + ppm), 0);
    const std::string g = read_file(pgm), c = read_file(ppm);
    const std::string header = "P5\n6 4\n255\n";
    ASSERT_EQ(g.size(), header.size() + 24);
    EXPECT_EQ(g.substr(0, header.size()), header);
    // top row: the last frame (z 3), values 30 + x
    for (int x = 0; x < 6; ++x) EXPECT_EQ(static_cast<unsigned char>(g[header.size() + x]), 30 + x);
    ASSERT_EQ(c.size(), header.size() + 72);
    EXPECT_EQ(c.substr(0, 3), "P6\n");
    EXPECT_EQ(static_cast<unsigned char>(c[header.size() + 3 * 23 + 2]), 5);  // bottom right, blue
}

TEST_F(PictureCommands, SectionAsTiff) {
    const std::string tif = t3d::temp_path("proj_section.tif");
    ASSERT_EQ(v3d("section " + in() + "--axis 2 --position 1 --out " + tif), 0);
    TIFFSetWarningHandler(nullptr);
    TIFF* t = TIFFOpen(tif.c_str(), "r");
    ASSERT_NE(t, nullptr);
    uint32_t w = 0, h = 0;
    TIFFGetField(t, TIFFTAG_IMAGEWIDTH, &w);
    TIFFGetField(t, TIFFTAG_IMAGELENGTH, &h);
    EXPECT_EQ(w, 6u);
    EXPECT_EQ(h, 4u);
    unsigned char row[6];
    ASSERT_EQ(TIFFReadScanline(t, row, 3, 0), 1);
    for (int x = 0; x < 6; ++x) EXPECT_EQ(row[x], x);  // the first frame at the bottom
    TIFFClose(t);
}

// (the picture commands' mistakes and failures are rows of tests/cli/hostile_test.cpp)
TEST_F(PictureCommands, GalleryOfTheGivenPictureSize) {
    EXPECT_EQ(v3d("gallery " + in() + "--per-row 1 --picture 100x30 --out " + t3d::temp_path("g.pgm")), 0);
    EXPECT_EQ(read_file(t3d::temp_path("g.pgm")).substr(0, 10), "P5\n30 100\n");
}

}  // namespace
