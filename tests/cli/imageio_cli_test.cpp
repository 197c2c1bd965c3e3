// v3d convert and imageinfo on the pictures users have: one picture by its own name, every
// frame there is, deep samples brought in with their range, and failures that name the file.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "support.h"

namespace {

using t3d::run_v3d;

std::string folder(const std::string& name) {
    const std::string dir = t3d::temp_path(name);
    std::filesystem::remove_all(dir);
    std::filesystem::create_directories(dir);
    return dir + "/";
}

bool says(const t3d::V3dRun& r, const std::string& text) { return r.out.find(text) != std::string::npos; }

TEST(ImageioCli, APictureByItsOwnNameAndEveryFrameThereIs) {
    const std::string dir = folder("own_name");
    t3d::Vol v(3, 6, 5);
    t3d::fill_random(v.get(), 2);
    ASSERT_EQ(SavePnmSequence(v.get(), (dir + "s").c_str(), 0, 0, "pgm"), 0);
    ASSERT_EQ(SaveJpegSequence(v.get(), (dir + "retina").c_str(), 0, 0, "jpg", 90), 0);
    std::filesystem::rename(dir + "retina0.jpg", dir + "retina.jpg");

    EXPECT_TRUE(says(run_v3d("imageinfo --from pnm --in s", dir), "X 5 Y 6 Z 3 colortype 1 bits 8 type uc"));
    ASSERT_EQ(run_v3d("convert --from pnm --in s --to rawvol --out all.raw", dir).code, 0);
    EXPECT_EQ(t3d::read_file(dir + "all.raw").size(), 90u);
    ASSERT_EQ(run_v3d("convert --from pnm --in s --first 1 --to rawvol --out tail.raw", dir).code, 0);
    EXPECT_EQ(t3d::read_file(dir + "tail.raw"), t3d::read_file(dir + "all.raw").substr(30));
    const t3d::V3dRun jpeg = run_v3d("convert --from jpeg --in retina.jpg --to pnm --out r", dir);
    ASSERT_EQ(jpeg.code, 0) << jpeg.out;
    EXPECT_FALSE(t3d::read_file(dir + "r0.pgm").empty());
    EXPECT_TRUE(says(run_v3d("imageinfo --from jpeg --in retina.jpg --count 2", dir),
                     "The file holds fewer frames than requested (status -1002)"));
}

TEST(ImageioCli, DeepSamplesComeInWithTheirRange) {
    const std::string dir = folder("deep");
    t3d::Vol v(1, 1, 6, 4);
    const int values[6] = {100, 1124, 2148, 4095, 50, 0};  // 12-bit camera data in 16 bits
    for (int x = 0; x < 6; ++x) v.i(0, 0, x) = values[x];
    ASSERT_EQ(savetiff(v.get(), (dir + "cam").c_str(), 0, 0, "tif", V3D_TIFF_LZW), 0);
    auto bytes = [&](const std::string& options) {
        const t3d::V3dRun r = run_v3d("convert --from tiff --in cam " + options + " --to rawvol --out o.raw", dir);
        EXPECT_EQ(r.code, 0) << options << "\n" << r.out;
        const std::string s = t3d::read_file(dir + "o.raw");
        return std::vector<unsigned char>(s.begin(), s.end());
    };
    // scaled by 65535 (with a note saying what else there is), or stretched over the data's
    // own range, or through a window
    EXPECT_EQ(bytes(""), (std::vector<unsigned char>{0, 4, 8, 16, 0, 0}));
    EXPECT_TRUE(says(run_v3d("convert --from tiff --in cam --to rawvol --out o.raw", dir), "--window auto"));
    std::vector<unsigned char> automatic, window;
    for (int x = 0; x < 6; ++x) {
        automatic.push_back(static_cast<unsigned char>(std::floor(255.0 * values[x] / 4095 + 0.5)));
        const double t = std::floor(255.0 * (values[x] - 100) / (2148 - 100) + 0.5);
        window.push_back(static_cast<unsigned char>(t < 0 ? 0 : t > 255 ? 255 : t));
    }
    EXPECT_EQ(bytes("--window auto"), automatic);
    EXPECT_EQ(bytes("--window 100:2148"), window);
    // or kept: int and float volumes
    std::vector<unsigned char> kept = bytes("--type i"), floats = bytes("--type f");
    ASSERT_EQ(kept.size(), 24u);
    ASSERT_EQ(floats.size(), 24u);
    for (int x = 0; x < 6; ++x) {
        int i;
        float f;
        std::memcpy(&i, &kept[4 * x], 4);
        std::memcpy(&f, &floats[4 * x], 4);
        EXPECT_EQ(i, values[x]);
        EXPECT_EQ(f, static_cast<float>(values[x]));
    }
    // mistakes in the command line
    EXPECT_EQ(run_v3d("convert --from tiff --in cam --window 5:5 --to rawvol --out o.raw", dir).code, 2);
    EXPECT_EQ(run_v3d("convert --from tiff --in cam --window auto --type i --to rawvol --out o.raw", dir).code, 2);
    t3d::Vol small(1, 1, 6);
    ASSERT_EQ(SavePnmSequence(small.get(), (dir + "eight").c_str(), 0, 0, "pgm"), 0);
    EXPECT_EQ(run_v3d("convert --from pnm --in eight --window auto --to rawvol --out o.raw", dir).code, 2);
    // an int volume cannot be a BMP: the writer's refusal says how to bring it into uc
    EXPECT_TRUE(says(run_v3d("convert --from tiff --in cam --type i --to bmp --out b", dir), "--window"));
}

TEST(ImageioCli, FailuresNameTheFileAndTheReason) {
    const std::string dir = folder("failures");
    t3d::Vol v(3, 7, 13), taller(1, 8, 13);
    ASSERT_EQ(SavePnmSequence(v.get(), (dir + "s").c_str(), 0, 0, "pgm"), 0);
    ASSERT_EQ(savetiff(v.get(), (dir + "t").c_str(), 0, 2, "tif", V3D_TIFF_NONE), 0);
    t3d::V3dRun r = run_v3d("convert --from pnm --in s --count 4 --to rawvol --out o.raw", dir);
    EXPECT_TRUE(says(r, "s3.pgm (frame 3) cannot be opened: No such file or directory")) << r.out;
    EXPECT_TRUE(says(r, "fopen error (status -600)")) << r.out;
    r = run_v3d("convert --from tiff --in t --digits 2 --first 1 --count 3 --to rawvol --out o.raw", dir);
    EXPECT_TRUE(says(r, "t03.tif (frame 3) cannot be opened")) << r.out;
    EXPECT_TRUE(says(r, "(status -1000)")) << r.out;
    // a raw file too short for its size: how many bytes it holds and needs
    std::ofstream(dir + "short.raw") << std::string(1000, 'x');
    r = run_v3d("convert --from rawvol --in short.raw --size 1x16x100 --to pnm --out p", dir);
    EXPECT_TRUE(says(r, "short.raw holds 1000 bytes, fewer than the 1600 bytes its size needs")) << r.out;
    r = run_v3d("convert --from raw --in s --ext pgm --size 2x7x200 --to pnm --out p", dir);
    EXPECT_TRUE(says(r, "s0.pgm (frame 0) holds")) << r.out;
    // a picture the reader refuses, and a frame unlike the first
    std::ofstream(dir + "s1.pgm") << "P7\n13 7\n255\n";
    r = run_v3d("imageinfo --from pnm --in s", dir);
    EXPECT_TRUE(says(r, "s1.pgm (frame 1): Error in reading PNM file")) << r.out;
    ASSERT_EQ(SavePnmSequence(taller.get(), (dir + "s").c_str(), 1, 0, "pgm"), 0);
    r = run_v3d("imageinfo --from pnm --in s", dir);
    EXPECT_TRUE(says(r, "s1.pgm (frame 1) is 13x8, 1 channel(s) of 8 bits (uc); the first frame is 13x7")) << r.out;
    EXPECT_TRUE(says(r, "(status -521)")) << r.out;
}

}  // namespace
