// v3d's filter commands end to end: files in, files out, messages and exit codes.
#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "tests/support.h"

namespace {

std::string slurp(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    std::stringstream ss;
    ss << f.rdbuf();
    return ss.str();
}

// Runs v3d with the words (in the temporary folder); returns its exit code, output in *out.
int v3d(const std::string& words, std::string* out = nullptr) {
    const std::string log = t3d::temp_path("v3d_filters_cli.log");
    const std::string command = "cd '" + ::testing::TempDir() + "' && '" V3D_EXE "' " + words +
                                " > '" + log + "' 2>&1";
    const int status = std::system(command.c_str());
    if (out) *out = slurp(log);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(FiltersCli, MediansAgreeAndCoefficientFilesLoad) {
    const std::string size = " --size 9x20x30";
    ASSERT_EQ(v3d("phantom --out ph.raw" + size), 0);
    ASSERT_EQ(v3d("median3 --in ph.raw --window 3x3x3 --out a.raw" + size), 0);
    ASSERT_EQ(v3d("run_median3 --in ph.raw --window 3x3x3 --out b.raw" + size), 0);
    EXPECT_EQ(slurp(t3d::temp_path("a.raw")), slurp(t3d::temp_path("b.raw")));
    EXPECT_EQ(slurp(t3d::temp_path("a.raw")).size(), 9u * 20 * 30);

    {  // all weights 1: the weighted median is the median
        std::ofstream f(t3d::temp_path("WIN_UC3D.PAR"));
        f << "3\n3\n3\n";
        for (int i = 0; i < 27; ++i) f << "1\n";
    }
    ASSERT_EQ(v3d("wei_median3 --in ph.raw --weights-file WIN_UC3D.PAR --out c.raw" + size), 0);
    EXPECT_EQ(slurp(t3d::temp_path("a.raw")), slurp(t3d::temp_path("c.raw")));

    std::string out;
    EXPECT_EQ(v3d("wei_median3 --in ph.raw --weights-file NONE.PAR --out c.raw" + size, &out), 1);
    EXPECT_NE(out.find("File NONE.PAR not found"), std::string::npos) << out;
    EXPECT_EQ(v3d("median3 --in ph.raw --window 2x3x3 --out d.raw" + size, &out), 1);
    EXPECT_NE(out.find("Invalid window size"), std::string::npos) << out;
    EXPECT_EQ(v3d("median3 --in ph.raw --out d.raw" + size), 2);  // no window

    ASSERT_EQ(v3d("hist3 --in ph.raw --cdf" + size, &out), 0);
    EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 257);
    EXPECT_NE(out.find("255 1.0000000"), std::string::npos);
}

}  // namespace
