// The raw-volume grammar that the workstation's command line shares with v3d.
#include <gtest/gtest.h>

#include "app/startup.h"

namespace {

TEST(CommandLine, TakesTheRawVolumeGrammarAndRefusesWhatItCannotRead) {
    app::CommandLine line;
    std::string error;
    ASSERT_TRUE(app::parse_command_line({"--size", "64x128x96", "--type", "f", "--channels", "3",
                                         "--skip", "2", "a.raw", "b.raw"}, line, error));
    const cli::RawVolumeSpec& v = line.volume;
    EXPECT_EQ(std::vector({v.Z, v.Y, v.X, v.type, v.colortype, v.skip}),
              std::vector({64, 128, 96, 2, 2, 2}));
    EXPECT_EQ(line.files.size(), 2u);
    app::CommandLine commas;
    ASSERT_TRUE(app::parse_command_line({"--size", "2,3,4"}, commas, error));
    EXPECT_EQ(std::vector({commas.volume.Z, commas.volume.X}), std::vector({2, 4}));
    for (const auto& bad : std::vector<std::vector<std::string>>{
             {"a.raw"}, {"--size", "4x4"}, {"--size", "0x4x4"}, {"--size", "4x4x4x4"},
             {"--size", "4x4x99999999999"}, {"--channels", "2"}, {"--type", "double"},
             {"--skip", "-1"}, {"--skip", "1.5"}, {"--frames", "3"}, {"--size"}}) {
        app::CommandLine refused;
        error.clear();
        EXPECT_FALSE(app::parse_command_line(bad, refused, error)) << bad.at(0);
        EXPECT_FALSE(error.empty()) << bad.at(0);
    }
    app::CommandLine none;
    EXPECT_TRUE(app::parse_command_line({}, none, error));
}

TEST(CommandLine, TakesFileVoxelTypesByteOrderOffsetAndSpacing) {
    app::CommandLine line;
    std::string error;
    ASSERT_TRUE(app::parse_command_line({"--size", "2x3x4", "--type", "i16", "--endian", "big", "--byte-offset",
                                         "352", "--spacing", "5,0.5,0.5", "ct.img"}, line, error)) << error;
    const cli::RawVolumeSpec& v = line.volume;
    EXPECT_EQ(std::vector<int>({v.type, v.sample, v.big_endian ? 1 : 0}), std::vector<int>({V3D_TYPE_I, V3D_SAMPLE_S16, 1}));
    EXPECT_EQ(v.offset, 352);
    EXPECT_EQ(std::vector(v.spacing, v.spacing + 3), std::vector({5.0, 0.5, 0.5}));
    for (const auto& bad : std::vector<std::vector<std::string>>{
             {"--type", "u64"}, {"--endian", "native"}, {"--byte-offset", "-1"}, {"--spacing", "1,1"},
             {"--spacing", "1,nan,1"}}) {
        app::CommandLine refused;
        EXPECT_FALSE(app::parse_command_line(bad, refused, error)) << bad.at(0) << " " << bad.at(1);
    }
}

}  // namespace
