// The labelled volume view without a screen: the command's preparation and refusal, the
// editing rules, the enabling of the update buttons, the output check and the closing question.
#include <array>

#include "app/command_table.h"
#include "app/services.h"
#include "app/tools/labelled_view.h"
#include "shell_fixture.h"

namespace t3d {
namespace {

class LabelledView : public ShellTest {
protected:
    // Labels 1..3 along x in a 1 x 1 x 4 volume (x = 0 is background), viewed into a new output.
    void open_view() {
        labels = make(1, 1, 4);
        for (int x = 1; x < 4; ++x) labels->data[0].uc[0][0][x] = static_cast<unsigned char>(x);
        ui.pick(0).pick_new();
        app::dispatch(res::cmd::kViewLabelled);
        out = GetVolumeByIndex(1);
        ASSERT_TRUE(view().in_progress());
    }
    static app::LabelledView& view() { return app::labelled_view(); }
    std::array<int, 3> rgb(int x) const {
        return {out->data[0].uc[0][0][x], out->data[1].uc[0][0][x], out->data[2].uc[0][0][x]};
    }
    static std::array<int, 3> colour_of(int object) {
        const LabelColor& e = view().entry(object);
        return {e.red, e.green, e.blue};
    }

    Volume* labels = nullptr;
    Volume* out = nullptr;
};

TEST_F(LabelledView, OpensColouredAndModelessAndRefusesASecondView) {
    open_view();
    EXPECT_EQ(workspace.labelled_views, 1);
    EXPECT_EQ(out->colortype, V3D_COLOR_RGB);
    EXPECT_EQ(view().objects(), 3);
    EXPECT_EQ(rgb(2), colour_of(2));
    EXPECT_EQ(ui.log.back(),
              "message [VEXILO3D for Windows] (information) Use the displayed dialog to modify output "
              "volume.\nUse any visualization method to view output volume.");
    EXPECT_FALSE(view().update_all_enabled());
    ui.log.clear();
    app::dispatch(res::cmd::kViewLabelled);  // no dialog at all
    EXPECT_EQ(ui.log, std::vector<std::string>{"error: 3115"});
}

TEST_F(LabelledView, AnInputWithoutLabelsIsRefusedAndItsNewOutputGoes) {
    make(1, 2, 2);
    ui.pick(0).pick_new();
    app::dispatch(res::cmd::kViewLabelled);
    EXPECT_EQ(ui.log.back(), "error: 3131");
    EXPECT_FALSE(view().in_progress());
    EXPECT_EQ(GetVolumeByIndex(1)->type, V3D_TYPE_NONE);
}

TEST_F(LabelledView, TypedComponentsTakeOnlyNumbersUpTo255) {
    open_view();
    const auto before = colour_of(1);
    for (const char* bad : {"256", "-1", "1a", " 7", "1000"})
        EXPECT_EQ(view().type_component(0, bad), app::Typed::Rejected) << bad;
    EXPECT_EQ(view().type_component(0, ""), app::Typed::Pending);
    EXPECT_EQ(colour_of(1), before);
    EXPECT_FALSE(view().update_all_enabled());
    EXPECT_EQ(view().type_component(1, "007"), app::Typed::Applied);
    EXPECT_EQ(colour_of(1)[1], 7);
}

TEST_F(LabelledView, UpdateButtonsFollowWhatIsPendingAndWriteWhatTheySay) {
    open_view();
    view().set_component(2, 99);                 // object 1 changed
    EXPECT_TRUE(view().update_current_enabled());
    view().select(2);
    EXPECT_FALSE(view().update_current_enabled());
    EXPECT_TRUE(view().update_all_enabled());
    view().set_shown(false);                     // hiding object 2 is pending ...
    EXPECT_TRUE(view().update_current_enabled());
    view().set_shown(true);                      // ... showing it again is not
    EXPECT_FALSE(view().update_current_enabled());

    view().set_shown(false);
    EXPECT_TRUE(view().update_current());        // object 2 only
    EXPECT_EQ(rgb(2), (std::array<int, 3>{0, 0, 0}));
    EXPECT_NE(rgb(1)[2], 99);
    EXPECT_FALSE(view().update_current_enabled());
    EXPECT_TRUE(view().update_all_enabled());
    EXPECT_TRUE(view().update_all());
    EXPECT_EQ(rgb(1)[2], 99);
    EXPECT_FALSE(view().update_all_enabled());
    EXPECT_EQ(workspace.displayed.back(), out);  // repainted, none opened
}

TEST_F(LabelledView, AReallocatedOutputIsNeverWrittenAgain) {
    open_view();
    ASSERT_EQ(app::ReallocateVolume(out, V3D_TYPE_UC, V3D_COLOR_RGB, 1, 1, 3), 0);  // smaller
    view().set_component(0, 1);
    EXPECT_FALSE(view().update_all());
    EXPECT_EQ(ui.log.back(), "error: 3130");
    ASSERT_EQ(app::ReallocateVolume(out, V3D_TYPE_UC, V3D_COLOR_GREY, 1, 1, 4), 0);  // grey
    EXPECT_FALSE(view().update_current());
    EXPECT_EQ(out->data[0].uc[0][0][1], 0);
    EXPECT_EQ(ui.log.back(), "error: 3130");
}

TEST_F(LabelledView, ClosingAsksOnlyWhenSomethingIsPending) {
    open_view();
    ui.log.clear();
    EXPECT_TRUE(view().may_close());
    EXPECT_TRUE(ui.log.empty());

    view().set_component(0, 11);
    ui.reply(app::Reply::Cancel);
    EXPECT_FALSE(view().may_close());
    EXPECT_EQ(ui.log.back(), "question (yes/no/cancel): Update output volume before closing?");
    ui.reply(app::Reply::No);
    EXPECT_TRUE(view().may_close());
    EXPECT_NE(rgb(1)[0], 11);
    ui.reply(app::Reply::Yes);
    EXPECT_TRUE(view().may_close());
    EXPECT_EQ(rgb(1)[0], 11);
    view().close();
    EXPECT_FALSE(view().in_progress());
}

}  // namespace
}  // namespace t3d
