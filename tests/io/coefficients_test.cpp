// Coefficient files: sizes, values, the start directory, and malformed files.
#include <cstdio>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "tests/support.h"

namespace {

using t3d::Vol;

class CoefficientFiles : public ::testing::Test {
protected:
    void SetUp() override {
        dir_ = t3d::temp_path("v3d_coefficients");
        std::remove((dir_ + "/" V3D_WEIGHTS_FILE).c_str());
        std::remove((dir_ + "/" V3D_COEFFICIENTS_FILE).c_str());
        std::filesystem::create_directories(dir_);
        SetStartDirectory(dir_.c_str());
    }
    void TearDown() override { SetStartDirectory(nullptr); }
    void write(const char* name, const std::string& text) {
        std::FILE* f = std::fopen((dir_ + "/" + name).c_str(), "wb");
        ASSERT_NE(f, nullptr);
        std::fputs(text.c_str(), f);
        std::fclose(f);
    }
    std::string dir_;
};

TEST_F(CoefficientFiles, WeightsFileFillsAVolumeFrameByFrame) {
    // X=3, Y=2, Z=1; CRLF line ends, leading blanks, a trailing word, 300 keeps its low byte
    write(V3D_WEIGHTS_FILE, "3\r\n2\r\n1\r\n  1\r\n2abc\r\n3\r\n300\r\nx\r\n-1\r\n");
    int Z = 0, Y = 0, X = 0;
    ASSERT_EQ(ReadWeightsFile3d(nullptr, 1, nullptr, &Z, &Y, &X), 0);
    EXPECT_EQ(Z * 100 + Y * 10 + X, 123);
    Vol w(2, 2, 4);
    t3d::fill_random(&w, 1);
    const unsigned char untouched = w.uc(1, 0, 0);
    ASSERT_EQ(ReadWeightsFile3d(V3D_WEIGHTS_FILE, 0, &w, nullptr, nullptr, nullptr), 0);
    const int expected[2][3] = {{1, 2, 3}, {44, 0, 255}};
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x) EXPECT_EQ(w.uc(0, y, x), expected[y][x]);
    EXPECT_EQ(w.uc(1, 0, 0), untouched);

    Vol rgb(1, 2, 3, 1, 2), small(1, 2, 2), f(1, 2, 3, 2);
    for (Volume* bad : {&rgb, &small, &f, static_cast<Volume*>(nullptr)})
        EXPECT_EQ(ReadWeightsFile3d(nullptr, 0, bad, nullptr, nullptr, nullptr), -4);
}

TEST_F(CoefficientFiles, CoefficientsIntoVectorAndVolume) {
    write(V3D_COEFFICIENTS_FILE, "1\n1\n3\n0.25\n-1.5e1\n 7junk\n");
    std::vector<float> v(4, 9.0f);
    int Z = 0;
    ASSERT_EQ(ReadCoefficientsFile3d(nullptr, 0, v.data(), 3, &Z, nullptr, nullptr), 0);
    EXPECT_EQ(Z, 3);
    EXPECT_EQ(v, (std::vector<float>{0.25f, -15.0f, 7.0f, 9.0f}));
    EXPECT_EQ(ReadCoefficientsFile3d(nullptr, 0, v.data(), 2, nullptr, nullptr, nullptr), -4);
    EXPECT_EQ(ReadCoefficientsFile3d(nullptr, 0, nullptr, 3, nullptr, nullptr, nullptr), -4);

    Volume vol{};
    ASSERT_EQ(LoadCoefficientVolume3d(nullptr, 2, &vol), 0);
    EXPECT_EQ(vol.Z * 100 + vol.Y * 10 + vol.X, 311);
    EXPECT_EQ(vol.type, 2);
    EXPECT_EQ(vol.data[0].f[1][0][0], -15.0f);
    DestroyVolume(&vol);
    EXPECT_EQ(LoadCoefficientVolume3d(nullptr, 4, &vol), -90);
}

TEST_F(CoefficientFiles, MalformedFiles) {
    int X = -7;
    EXPECT_EQ(ReadWeightsFile3d(nullptr, 1, nullptr, nullptr, nullptr, &X), -1);  // missing
    EXPECT_EQ(X, -7);
    // a zero size, no Z, letters read as 0, a negative size
    const std::pair<const char*, int> headers[] = {
        {"0\n", -3}, {"3\n3\n", -2}, {"abc\n1\n1\n", -3}, {"2\n-1\n1\n", -3}};
    for (const auto& h : headers) {
        write(V3D_WEIGHTS_FILE, h.first);
        EXPECT_EQ(ReadWeightsFile3d(nullptr, 1, nullptr, nullptr, nullptr, nullptr), h.second) << h.first;
    }

    // short values: the voxels read stay, the row is finished, then -2
    write(V3D_WEIGHTS_FILE, "2\n2\n2\n5\n6\n7\n");
    Vol w(2, 2, 2);
    const float nine = 9;
    ClearVolume(&w, &nine);
    EXPECT_EQ(ReadWeightsFile3d(nullptr, 0, &w, nullptr, nullptr, nullptr), -2);
    EXPECT_EQ(t3d::snapshot(&w), (std::vector<double>{5, 6, 7, 9, 9, 9, 9, 9}));
    Volume vol{};
    EXPECT_EQ(LoadCoefficientVolume3d(nullptr, 1, &vol), -2);
    EXPECT_EQ(vol.type, 0);  // left empty

    // the vector reader reads on to the end
    write(V3D_COEFFICIENTS_FILE, "2\n1\n1\n1.5\n");
    std::vector<float> v{-1, -1};
    EXPECT_EQ(ReadCoefficientsFile3d(nullptr, 0, v.data(), 2, nullptr, nullptr, nullptr), -2);
    EXPECT_EQ(v, (std::vector<float>{1.5f, -1.0f}));
}

// Sizes whose product wraps to 0 (2^21 * 2^21 * 2^22) or past the int range: no capacity can
// hold them, and nothing may be reported as read.
TEST_F(CoefficientFiles, SizesWhoseProductOverflowsFitNoVector) {
    float v[4] = {7, 7, 7, 7};
    int Z = 0, Y = 0, X = 0;
    for (const char* sizes : {"2097152\n2097152\n4194304\n", "65536\n65536\n1\n",
                              "2147483647\n2147483647\n2147483647\n"}) {
        write(V3D_COEFFICIENTS_FILE, std::string(sizes) + "1\n2\n3\n4\n");
        EXPECT_EQ(ReadCoefficientsFile3d(nullptr, 0, v, 4, &Z, &Y, &X), -4) << sizes;
        EXPECT_EQ(ReadCoefficientsFile3d(nullptr, 1, nullptr, 0, &Z, &Y, &X), 0) << sizes;
    }
    EXPECT_EQ(v[0], 7.0f);
    write(V3D_COEFFICIENTS_FILE, "1\n1\n1\n5\n");
    EXPECT_EQ(ReadCoefficientsFile3d(nullptr, 0, v, -1, &Z, &Y, &X), -4);  // a negative capacity
    SetStartDirectory(std::string(5000, 'd').c_str());  // longer than any path
    EXPECT_EQ(ReadCoefficientsFile3d(nullptr, 1, nullptr, 0, &Z, &Y, &X), -2);
}

TEST_F(CoefficientFiles, NamesResolveAgainstTheStartDirectory) {
    write("mine.par", "1\n1\n1\n42\n");
    Volume vol{};
    ASSERT_EQ(LoadCoefficientVolume3d("mine.par", 1, &vol), 0);  // relative: start directory
    EXPECT_EQ(vol.data[0].uc[0][0][0], 42);
    DestroyVolume(&vol);
    SetStartDirectory("/nonexistent-v3d");
    EXPECT_EQ(LoadCoefficientVolume3d("mine.par", 1, &vol), -1);
    ASSERT_EQ(LoadCoefficientVolume3d((dir_ + "/mine.par").c_str(), 1, &vol), 0);  // absolute
    DestroyVolume(&vol);
    EXPECT_STREQ(GetStartDirectory(), "/nonexistent-v3d");
    SetStartDirectory(nullptr);
    EXPECT_STRNE(GetStartDirectory(), "");  // the current directory

    char text[64];
    EXPECT_STREQ(CoefficientFileMessage(-1, nullptr, 1, text, 64), "File WIN_UC3D.PAR not found");
    EXPECT_STREQ(CoefficientFileMessage(-2, nullptr, 2, text, 64), "Error in reading file WIN_F3D.PAR");
    EXPECT_STREQ(CoefficientFileMessage(-3, nullptr, 2, text, 64), "Invalid window size");
    EXPECT_STREQ(CoefficientFileMessage(-530, nullptr, 2, text, 64), "Cannot allocate internal volume");
}

}  // namespace
