// v3d's filter commands end to end: files in, files out, printed results.

#include <algorithm>
#include <fstream>
#include <string>

#include "tests/support.h"

namespace {

// The tool runs in the temporary folder, so that it finds the coefficient files written there.
std::string tmp(const std::string& name) { return ::testing::TempDir() + name; }

std::string slurp(const std::string& path) { return t3d::read_file(path); }

int v3d_run(const std::string& words, std::string* out = nullptr) {
    const t3d::V3dRun r = t3d::run_v3d(words, ::testing::TempDir());
    if (out) *out = r.out;
    return r.code;
}

TEST(FiltersCli, MediansAgreeCoefficientFilesLoadAndTheHistogramPrints) {
    const std::string size = " --size 9x20x30";
    ASSERT_EQ(v3d_run("phantom --out ph.raw" + size), 0);
    ASSERT_EQ(v3d_run("median3 --in ph.raw --window 3x3x3 --out a.raw" + size), 0);
    ASSERT_EQ(v3d_run("run_median3 --in ph.raw --window 3x3x3 --out b.raw" + size), 0);
    EXPECT_EQ(slurp(tmp("a.raw")), slurp(tmp("b.raw")));
    EXPECT_EQ(slurp(tmp("a.raw")).size(), 9u * 20 * 30);

    {  // all weights 1: the weighted median is the median
        std::ofstream f(tmp("WIN_UC3D.PAR"));
        f << "3\n3\n3\n";
        for (int i = 0; i < 27; ++i) f << "1\n";
    }
    ASSERT_EQ(v3d_run("wei_median3 --in ph.raw --weights-file WIN_UC3D.PAR --out c.raw" + size), 0);
    EXPECT_EQ(slurp(tmp("a.raw")), slurp(tmp("c.raw")));
    std::string out;
    ASSERT_EQ(v3d_run("hist3 --in ph.raw --cdf" + size, &out), 0);
    EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 257);
    EXPECT_NE(out.find("255 1.0000000"), std::string::npos);
}

}  // namespace
