// The v3d tool end to end on temporary files.
#include <string>

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
