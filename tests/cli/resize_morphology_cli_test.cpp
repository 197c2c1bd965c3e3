// Every resizing and morphology command of v3d runs on a small volume and writes an output of
// the expected size; a failing status and a bad element give their exit codes.
#include <cstdio>
#include <fstream>
#include <string>

#include "tests/support.h"

namespace {

long file_size(const std::string& path) {
    std::ifstream f(path, std::ios::binary | std::ios::ate);
    return f ? static_cast<long>(f.tellg()) : -1;
}

int v3d_run(const std::string& args) { return t3d::run_v3d(args).code; }

TEST(Cli, ResizeAndMorphologyCommands) {
    // a binary 6x8x8 volume: a 4x4x4 cube of 255
    const std::string in = t3d::temp_path("rm_in.raw"), out = t3d::temp_path("rm_out.raw");
    {
        std::ofstream f(in, std::ios::binary);
        for (int z = 0; z < 6; ++z)
            for (int y = 0; y < 8; ++y)
                for (int x = 0; x < 8; ++x)
                    f.put(z >= 1 && z < 5 && y >= 2 && y < 6 && x >= 2 && x < 6 ? char(255) : 0);
    }
    const std::string io = "--in " + in + " --size 6x8x8 --out " + out + " ";
    const struct {
        std::string args;
        long bytes;
    } runs[] = {
        {"zoom3d " + io + "--factor 2 --origin 1,0,0", 13 * 16 * 16},
        {"decim3 " + io + "--factor 4", 2 * 2 * 2},
        {"InterpolationNearestNeighbor3d " + io + "--factors 1.5,0.5,1", 9 * 4 * 8},
        {"InterpolationLinear3d " + io + "--to 3x5x7", 3 * 5 * 7},
        {"InterpolationFrameLinear3d " + io + "--fz 3", 16 * 8 * 8},
        {"InterpolationFrameLinear3d " + io + "--frames 7", 7 * 8 * 8},
        {"FrameZeroPadding " + io + "--k 2", 11 * 8 * 8},
        {"FrameInterpolationGrayscale " + io + "--k 3", 16 * 8 * 8},
        {"FrameInterpolationBinary " + io + "--k 2 --fill", 11 * 8 * 8},
        {"FrameContourObjectFill " + io, 6 * 8 * 8},
        {"bdilate3d " + io + "--element cube:3", 6 * 8 * 8},
        {"berode3d " + io + "--element box:1x3x5", 6 * 8 * 8},
        {"bopening3d " + io + "--element cross", 6 * 8 * 8},
        {"bclosing3d " + io + "--se " + in + " --se-size 1x1x1", 6 * 8 * 8},
        {"MinkowskiAddition3d " + io + "--element cube:1", 6 * 8 * 8},
        {"MinkowskiSubtraction3d " + io + "--element cross", 6 * 8 * 8},
    };
    for (const auto& run : runs) {
        std::remove(out.c_str());
        EXPECT_EQ(v3d_run(run.args), 0) << run.args;
        EXPECT_EQ(file_size(out), run.bytes) << run.args;
    }
    EXPECT_EQ(v3d_run("bdilate3d " + io + "--element cube:2"), 1);         // -521
    EXPECT_EQ(v3d_run("bdilate3d " + io + "--element sphere"), 2);         // usage
    EXPECT_EQ(v3d_run("bdilate3d " + io), 2);                              // no element
    EXPECT_EQ(v3d_run("zoom3d " + io + "--factor 2 --out-size 6x8x8"), 1);  // -520
}

}  // namespace
