// Failing and hostile command lines: mistakes, absurd sizes, offsets, windows, factors and picture
// sizes, missing and unreadable files, a full disk. Each must end within seconds with exit status
// 1 (the status and its text) or 2 (the mistake and the usage), and leave no output file behind.
#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "support.h"

namespace {

namespace fs = std::filesystem;

struct Line {
    std::string args;
    bool full_disk = false;  // run with a file-size limit of 1 KiB
    int code = 0;            // the exit status it must give: 1, 2, or 0 for either
    const char* says = "";   // and a text it must print
};
constexpr bool kFullDisk = true, kAnyDisk = false;  // values of full_disk

// Runs v3d with args in dir, under a file-size limit of 1 KiB (two 512-byte blocks) when asked:
// LLVM's OpenMP runtime registers itself in a 1 KiB shared-memory file and cannot start below
// that, whatever the program does.
t3d::V3dRun run(const std::string& dir, const Line& line) {
    return t3d::run_v3d(line.args, dir, line.full_disk ? "ulimit -f 2" : "");
}

// Everything in dir but the inputs: what a failed command left.
std::vector<std::string> left_behind(const std::string& dir) {
    std::vector<std::string> names;
    for (const auto& e : fs::directory_iterator(dir)) {
        const std::string name = e.path().filename().string();
        if (name != "p.raw" && name != "bin.raw" && name != "folder.raw") names.push_back(name);
    }
    return names;
}

}  // namespace

TEST(HostileCommandLines, FailWithAStatusOrUsageAndLeaveNothing) {
    const std::string dir = t3d::temp_path("hostile");
    fs::remove_all(dir);
    fs::create_directories(dir + "/folder.raw");
    ASSERT_EQ(t3d::run_v3d("phantom --size 8x12x16 --out " + dir + "/p.raw").code, 0);
    ASSERT_EQ(t3d::run_v3d("threshold_3d --in " + dir + "/p.raw --size 8x12x16 --threshold 100 --out " +
                           dir + "/bin.raw").code, 0);
    const std::string in = "--in p.raw --size 8x12x16 ", bin = "--in bin.raw --size 8x12x16 ";
    const std::vector<Line> lines = {
        // sizes the file cannot hold, or that cannot be
        {"copy --in p.raw --size 1x1x1000000000 --out o.raw", kAnyDisk, 1, "fewer than its description needs"},
        {"count --in p.raw --size 9x12x16", kAnyDisk, 1, "fread error"},
        {"copy --in p.raw --size 2147483647x2147483647x2147483647 --type f --out o.raw"},
        {"copy --in p.raw --size 8x12x16 --channels 3 --out o.raw"},
        {"copy --in p.raw --size 8x12x16 --type i --out o.raw"},
        {"copy --in p.raw --size 8x12x16 --skip 2147483647 --out o.raw"},
        {"copy --in p.raw --size 0x12x16 --out o.raw"},
        {"copy --in p.raw --size -8x12x16 --out o.raw"},
        {"copy --in p.raw --size 8x12x99999999999 --out o.raw"},
        {"copy " + in + "--out-size 100000x100000x100000 --out o.raw"},
        {"Hough_3D " + bin + "--acc-size 2147483647x2147483647x2147483647 --threshold 1 --out o.raw"},
        // offsets and VOIs
        {"copy " + in + "--offset 2147483647,0,0 --out o.raw", kAnyDisk, 2},
        {"copy " + in + "--offset 0,2147483647,0 --out o.raw", kAnyDisk, 2},
        {"copy " + in + "--offset 0,0,-5 --out o.raw"},
        {"uc2f " + in + "--offset 0,0,2147483647 --out o.raw", kAnyDisk, 2},
        {"fft3d " + in + "--voi 0:8,0:8,0:16 --offset 2147483647,0,0 --out o.raw --out-im i.raw", kAnyDisk, 2},
        {"convolution3 " + in + "--in2 p.raw --offset 0,0,2147483647 --out o.raw", kAnyDisk, 2},
        {"copy " + in + "--voi 0:9,0:12,0:16 --out o.raw", kAnyDisk, 1, "Invalid VOI definitions"},
        {"copy " + in + "--voi 0:2147483647,-2147483648:12,0:16 --out o.raw"},
        {"copy " + in + "--voi 0:8 --out o.raw"},
        // mistakes in the command line
        {"rotate2d " + in + "--angel 5 --out o.raw", kAnyDisk, 2},
        {"symmetric " + in + "--colour 3 --out o.raw", kAnyDisk, 2, "unknown option --colour"},
        {"count --in p.raw --size 8x12", kAnyDisk, 2},
        {"count " + in + "--type double", kAnyDisk, 2},
        {"median3 " + in + "--out o.raw", kAnyDisk, 2},  // no window
        {"and " + in + "--in2 p.raw --out o.raw", kAnyDisk, 1, "Volume is not binary"},
        // windows and factors
        {"median3 " + in + "--window 2147483647x3x3 --out o.raw"},
        {"median3 " + in + "--window 3x3x-1 --out o.raw"},
        {"median3 " + in + "--window 2x3x3 --out o.raw", kAnyDisk, 1, "Invalid window size"},
        {"mov_ave3 " + in + "--window 0x0x0 --out o.raw"},
        {"multistage_median3 " + in + "--n 2147483647 --out o.raw"},
        {"wei_median3 " + in + "--weights p.raw --weights-size 8x12x16 --out o.raw"},
        {"l_filter3 " + in + "--coef 1,2 --window 3x3x3 --out o.raw"},
        {"l_filter3 " + in + "--coef nan --window 1x1x1 --out o.raw"},
        {"local_adapt_filt3 " + in + "--window 3x3x3 --noise nan --out o.raw"},
        {"local_adapt_filt3 " + in + "--window 3x3x3 --noise inf --out o.raw"},
        {"range_3d " + in + "--window 2147483647x2x1 --out o.raw"},
        {"zoom3d " + in + "--factor 2147483647 --out o.raw"},
        {"decim3 " + in + "--factor 0 --out o.raw"},
        {"InterpolationLinear3d " + in + "--factors 1e30,1,1 --out o.raw"},
        {"InterpolationNearestNeighbor3d " + in + "--factors nan,1,1 --out o.raw"},
        {"InterpolationFrameLinear3d " + in + "--fz inf --out o.raw"},
        {"FrameZeroPadding " + in + "--k 2147483647 --out o.raw"},
        {"rotate2d " + in + "--angle inf --out o.raw"},
        {"bt_psd3d " + in + "--voi 0:8,0:8,0:16 --ax nan --out o.raw"},
        {"region3d_merge " + in + "--tolerance -1 --out o.raw"},
        {"grass3d_label " + bin + "--max-labels 2147483647 --out o.raw"},
        // pictures
        {"project " + in + "--mode max --picture 40000x40000 --out o.pgm", kAnyDisk, 2},
        {"project " + in + "--mode max --picture 2147483647x1 --out o.pgm", kAnyDisk, 2},
        {"project " + in + "--mode max --picture 0x16 --out o.pgm"},
        {"project " + in + "--mode max --out o.png", kAnyDisk, 2},
        {"project " + in + "--mode shiny --out o.pgm", kAnyDisk, 2},
        {"project " + in + "--mode max --angle 0 --elevation 3 --out o.pgm", kAnyDisk, 2},
        {"section " + in + "--axis 1 --position 9 --out o.pgm", kAnyDisk, 1},
        {"gallery " + in + "--per-row 1 --out o.pgm", kAnyDisk, 1},  // tiles below 25
        {"project " + in + "--mode mean --angle 2147483647 --picture 8x8 --out o.txt"},
        {"section " + in + "--axis 1 --position 2147483647 --out o.pgm"},
        {"section " + in + "--point 2147483647,0,0 --normal 0,0,0 --out o.pgm"},
        {"gallery " + in + "--per-row 2147483647 --out o.pgm", kAnyDisk, 2},
        {"gallery " + in + "--per-row 1 --picture 20000x20000 --out o.pgm", kAnyDisk, 2},
        // missing and unreadable files
        {"copy --in missing.raw --size 1x1x1 --out o.raw", kAnyDisk, 1},
        {"copy --in folder.raw --size 1x1x1 --out o.raw"},
        {"copy " + in + "--out folder.raw/../missing/o.raw"},
        {"copy " + in + "--out folder.raw"},
        {"wei_median3 " + in + "--weights-file missing.par --out o.raw", kAnyDisk, 1, "File missing.par not found"},
        {"l_filter3 " + in + "--coefficients folder.raw --out o.raw"},
        {"convert --from tiff --in missing --count 3 --to pnm --out o"},
        {"convert --from rawvol --in p.raw --size 9x12x16 --to tiff --out o"},
        {"imageinfo --from jpeg --in p --ext raw --count 1"},
        {"dump " + in + "--out missing/d.txt"},
        // a full disk: nothing longer than 1 KiB can be written (every output here is longer)
        {"copy " + in + "--out o.raw", kFullDisk, 1},
        {"median3 " + in + "--window 3x3x3 --out o.raw", kFullDisk, 1},
        {"dump " + in + "--out d.txt", kFullDisk, 1},
        {"project " + in + "--mode max --picture 64x64 --out o.pgm", kFullDisk, 1},
        {"project " + in + "--mode max --picture 64x64 --out o.tif", kFullDisk, 1},
        {"fft3d " + in + "--voi 0:8,0:8,0:16 --out o.raw --out-im i.raw", kFullDisk, 1},
        {"convert --from rawvol --in p.raw --size 8x12x16 --to tiffstack --out o.tif", kFullDisk, 1},
        {"convert --from rawvol --in p.raw --size 8x12x16 --to rawvol --out o.vol", kFullDisk, 1},
        {"convert --from rawvol --in p.raw --size 8x12x16 --to pnm --out-digits 600 --out o"},
    };
    for (const Line& line : lines) {
        const auto start = std::chrono::steady_clock::now();
        const t3d::V3dRun r = run(dir, line);
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        const std::string what = "v3d " + line.args + (line.full_disk ? " (full disk)" : "") + "\n" + r.out;
        EXPECT_TRUE(line.code ? r.code == line.code : r.code == 1 || r.code == 2) << what;
        const char* message = r.code == 1 ? "(status -" : "usage: v3d";  // the status, or the usage
        EXPECT_NE(r.out.find(message), std::string::npos) << what;
        EXPECT_NE(r.out.find(line.says), std::string::npos) << what;
        EXPECT_EQ(left_behind(dir), std::vector<std::string>{}) << what;
        EXPECT_LT(seconds, 10.0) << what;
        for (const std::string& name : left_behind(dir)) fs::remove_all(dir + "/" + name);
    }
}
