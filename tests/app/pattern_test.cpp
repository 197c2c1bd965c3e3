// Points of the command pattern: the order in which the morphology rows ask, the slots left
// out of an auxiliary list, "%d" and "%f" values, the nesting of the wait cursor.
#include "app/command_table.h"
#include "app/services.h"
#include "shell_fixture.h"

namespace t3d {
namespace {

using Pattern = ShellTest;
namespace cmd = res::cmd;

std::string kinds(const std::vector<app::SelectRequest>& requests) {
    std::string s;
    for (const auto& r : requests) s += "IOXN"[static_cast<int>(r.kind)];
    return s;
}

TEST_F(Pattern, MorphologyAsksTheElementAfterTheOutputWithoutTheSlotsAlreadyChosen) {
    Volume* in = make(4, 4, 4);
    Volume* out = make(4, 4, 4);
    Volume* se = make(3, 3, 3);
    const float full[1] = {255.f};
    ClearVolume(se, full);
    ui.pick(GetVolumeIndex(in)).pick(GetVolumeIndex(out)).pick(GetVolumeIndex(se));
    ASSERT_TRUE(app::dispatch(cmd::kDilation));
    EXPECT_EQ(kinds(ui.requests), "IOX");
    EXPECT_EQ(ui.requests.back().caption, "Select Structuring Element Volume");
    EXPECT_EQ(ui.requests.back().exclude, (std::vector{GetVolumeIndex(in), GetVolumeIndex(out)}));
    EXPECT_TRUE(ui.answers.empty());
    EXPECT_EQ(workspace.displayed, std::vector<const Volume*>{out});

    // cancelling the element leaves no output that the command created
    ui.requests.clear();
    ui.pick(GetVolumeIndex(in)).pick_new().cancel();
    const int fresh = GetNewVolumeIndex();
    app::dispatch(cmd::kErosion);
    EXPECT_EQ(GetVolumeByIndex(fresh)->type, 0);
}

TEST_F(Pattern, WeightsVolumeListLeavesOutTheInputAndOutput) {
    Volume* in = make(4, 4, 4);
    Volume* out = make(4, 4, 4);
    ui.pick(GetVolumeIndex(in)).pick(GetVolumeIndex(out));
    ui.push({.options = {.choice = 1}}).cancel();  // "Existing Volume", then cancel the list
    app::dispatch(cmd::kWeightedMedian);
    ASSERT_EQ(ui.requests.size(), 3u);
    EXPECT_EQ(ui.requests[2].caption, "Select Weights Volume");
    EXPECT_EQ(ui.requests[2].exclude, (std::vector{GetVolumeIndex(in), GetVolumeIndex(out)}));
}

TEST_F(Pattern, WindowSizesAreWholeNumbersAndTheNoiseVarianceIsReal) {
    Volume* in = make(5, 5, 5);
    for (int z = 0; z < 5; ++z) in->data[0].uc[z][2][2] = static_cast<unsigned char>(40 * z);
    Volume* out = make(5, 5, 5);
    Volume* ref = make(5, 5, 5);
    ui.pick(GetVolumeIndex(in)).values({"3", "3", "3.9", "12.5"}).pick(GetVolumeIndex(out));
    app::dispatch(cmd::kLocallyAdaptive);
    ASSERT_EQ(local_adapt_filt3(in, ref, 12.5f, 3, 3, 3), 0);  // "3.9" read with "%d" is 3
    for (int z = 0; z < 5; ++z)
        for (int y = 0; y < 5; ++y)
            for (int x = 0; x < 5; ++x)
                ASSERT_EQ(out->data[0].uc[z][y][x], ref->data[0].uc[z][y][x]) << z << y << x;
    ui.pick(GetVolumeIndex(in)).values({"3", "3", "3", "noise"});
    app::dispatch(cmd::kLocallyAdaptive);
    EXPECT_EQ(ui.log.back(), "error: -90");
}

TEST_F(Pattern, AnInnerWaitCannotEndTheHourglassOfTheCommand) {
    {
        app::WaitCursor outer;
        {
            app::WaitCursor inner;
        }
        EXPECT_TRUE(ui.waiting);
    }
    EXPECT_FALSE(ui.waiting);
    // the FFT prepares its imaginary output inside the computing step: the hourglass stays on
    // from the start of the computation to its end
    Volume* in = make(4, 4, 4);
    ui.pick(GetVolumeIndex(in)).pick_new().pick_new();
    ui.wait_trace.clear();
    app::dispatch(cmd::kFft);
    EXPECT_EQ(ui.wait_trace, "+-+-");  // the output prepared, then the computation
    EXPECT_EQ(app::WaitCursor::depth(), 0);
}

}  // namespace
}  // namespace t3d
