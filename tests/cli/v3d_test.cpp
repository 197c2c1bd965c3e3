// The v3d tool end to end on temporary files.
#include <cstdio>
#include <string>
#include <utility>

#include "support.h"

namespace {

using Result = t3d::V3dRun;

Result v3d_run(const std::string& args) { return t3d::run_v3d(args); }

using t3d::read_file;

std::string write_phantom() {
    const std::string path = t3d::temp_path("cli_phantom.raw");
    const Result r = v3d_run("phantom --size 8x12x16 --out " + path);
    EXPECT_EQ(r.code, 0) << r.out;
    return path;
}

}  // namespace

TEST(V3d, HelpListsCommandsAndExplainsOne) {
    Result r = v3d_run("help");
    EXPECT_EQ(r.code, 0);
    for (const char* name : {"copy", "clear", "f2uc", "uc2f", "symmetric", "and", "or", "xor",
                             "count", "surface", "bbox", "minmax", "dump", "rotate2d", "rotate3d"})
        EXPECT_NE(r.out.find(std::string("  ") + name + " "), std::string::npos) << name;
    r = v3d_run("help rotate2d");
    EXPECT_EQ(r.code, 0);
    EXPECT_NE(r.out.find("--angle"), std::string::npos);
    EXPECT_EQ(v3d_run("help nosuch").code, 2);
    EXPECT_EQ(v3d_run("nosuch").code, 2);
}

TEST(V3d, CopiesAVoiAndReportsMetrics) {
    const std::string in = write_phantom(), out = t3d::temp_path("cli_copy.raw");
    Result r = v3d_run("copy --in " + in + " --size 8x12x16 --voi 2:6,0:12,4:12 --out " + out);
    ASSERT_EQ(r.code, 0) << r.out;
    const std::string all = read_file(in), part = read_file(out);
    ASSERT_EQ(part.size(), 4u * 12 * 8);
    EXPECT_EQ(part[(1 * 12 + 6) * 8 + 3], all[(3 * 12 + 6) * 16 + 7]);

    r = v3d_run("count --in " + in + " --size 8x12x16");
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(r.out.rfind("Volume (nonzero points) = ", 0), 0u) << r.out;
    r = v3d_run("bbox --in " + out + " --size 4x12x8 --voi 0:4,0:1,0:1");
    EXPECT_EQ(r.out, "Selected Volume (VOI) contains only background points\n");
}

TEST(V3d, ConvertsTypesThroughFiles) {
    const std::string in = write_phantom(), f = t3d::temp_path("cli_f.raw"),
                      back = t3d::temp_path("cli_back.raw");
    ASSERT_EQ(v3d_run("uc2f --in " + in + " --size 8x12x16 --out " + f).code, 0);
    EXPECT_EQ(read_file(f).size(), 8u * 12 * 16 * 4);
    ASSERT_EQ(v3d_run("f2uc --in " + f + " --size 8x12x16 --type f --out " + back).code, 0);
    EXPECT_EQ(read_file(back), read_file(in));
}

TEST(V3d, FailuresPrintTheStatusTextAndExitNonZero) {
    const std::string in = write_phantom();
    const std::pair<std::string, const char*> cases[] = {
        {"count --in " + in + " --size 8x12x16 --voi 0:9,0:12,0:16", "Invalid VOI definitions"},
        {"count --in " + in + " --size 9x12x16", "fread error"},  // the file is too short
        {"and --in " + in + " --in2 " + in + " --size 8x12x16 --out " + t3d::temp_path("x.raw"),
         "Volume is not binary"},
        // the file is measured before a volume of that size is made
        {"count --in " + in + " --size 100000x100000x100000", "fewer than its description needs"},
    };
    for (const auto& c : cases) {
        const Result r = v3d_run(c.first);
        EXPECT_EQ(r.code, 1) << c.first;
        EXPECT_NE(r.out.find(c.second), std::string::npos) << r.out;
    }
}

TEST(V3d, MistakesInTheCommandLineExitWithTwo) {
    const std::string in = write_phantom(), out = t3d::temp_path("cli_typo.raw");
    std::remove(out.c_str());
    EXPECT_EQ(v3d_run("rotate2d --in " + in + " --size 8x12x16 --angel 5 --out " + out).code, 2);
    const Result r = v3d_run("symmetric --in " + in + " --size 8x12x16 --colour 3 --out " + out);
    EXPECT_EQ(r.code, 2);
    EXPECT_NE(r.out.find("unknown option --colour"), std::string::npos) << r.out;
    EXPECT_TRUE(read_file(out).empty());  // nothing written
    EXPECT_EQ(v3d_run("count --in " + in + " --size 8x12").code, 2);
    EXPECT_EQ(v3d_run("count --in " + in + " --size 8x12x16 --type double").code, 2);
}
