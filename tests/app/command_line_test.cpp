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

}  // namespace
