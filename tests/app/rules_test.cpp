// The rules behind the selection and levels dialogs.
#include "app/rules.h"
#include "shell_fixture.h"

namespace t3d {
namespace {

using Rules = ShellTest;

TEST_F(Rules, ListOffersMatchingSlotsThenTheFirstFreeOneUnlessTheTableIsFull) {
    make(2, 2, 2);        // 0 UC grey
    make(2, 2, 2, 2);     // 1 F grey
    make(2, 2, 2, 1, 2);  // 2 UC colour
    DestroyVolume(GetVolumeByIndex(1));
    int free_slot = 0;
    EXPECT_EQ(app::volume_list(1, 1, 0, free_slot), (std::vector<std::string>{"0", "New[1]"}));
    EXPECT_EQ(free_slot, 1);
    EXPECT_EQ(app::volume_list(7, 2, 1, free_slot), std::vector<std::string>{"2"});
    EXPECT_EQ(free_slot, -1);
    EXPECT_EQ(app::free_slot_list().front(), "1");
    while (GetNewVolumeIndex() >= 0) make(1, 1, 1);
    EXPECT_EQ(app::volume_list(7, 3, 0, free_slot).size(), 100u);  // no "New" entry
    EXPECT_TRUE(app::free_slot_list().empty());
}

// (the VOI, the new volume's sizes and the type lists are checked through their dialogs: tests/gui)
TEST_F(Rules, NamesAreCutAt150Characters) {
    Volume* v = make(1, 1, 1);
    app::store_name(v, std::string(200, 'a'));
    EXPECT_EQ(std::string(v->name).size(), 150u);
}

TEST_F(Rules, LevelsTakeADelayOfDigitsAndPointsAndAnOrderedRange) {
    app::LevelsRequest levels;
    EXPECT_EQ(app::read_levels("9", "2", "0.5", levels), 0);
    EXPECT_EQ(std::vector({levels.upper, levels.lower}), std::vector({9, 2}));
    EXPECT_DOUBLE_EQ(levels.delay, 0.5);
    for (auto [upper, lower, delay] : {std::tuple{"9", "2", "-1"}, {"2", "9", "0"},
                                       {"9", "-1", "0"}, {"x", "0", "0"}, {"9", "0", "1e3"}})
        EXPECT_EQ(app::read_levels(upper, lower, delay, levels), 90) << upper << lower << delay;
}


}  // namespace
}  // namespace t3d
