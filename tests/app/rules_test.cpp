// The rules behind the selection, creation, levels and format dialogs.
#include <cstdio>
#include <filesystem>
#include <fstream>

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
    EXPECT_TRUE(app::is_new_entry("New[3]"));
    EXPECT_EQ(app::slot_of_entry("42"), 42);
}

TEST_F(Rules, VoiMustBeNonEmptyAndInsideTheVolume) {
    Volume* v = make(4, 5, 6);
    const app::VoiBounds refused[] = {
        {1, 1, 0, 5, 0, 6},   // z1 == z2: half-open bounds must not be empty
        {0, 5, 0, 5, 0, 6},   // beyond Z
        {0, 4, 3, 2, 0, 6},   // reversed
        {0, 4, 0, 5, 0, app::unsigned_of_text("-1")},  // "-1" read as unsigned is huge
    };
    for (const auto& b : refused) EXPECT_EQ(app::apply_voi(v, b), 615);
    EXPECT_EQ(app::voi_bounds(v).z2, 4);  // untouched by the refusals
    EXPECT_EQ(app::apply_voi(v, {1, 3, 0, 5, 2, 6}), 0);
    EXPECT_EQ(std::vector({v->z1, v->z2, v->x1, v->x2}), std::vector({1, 3, 2, 6}));
}

TEST_F(Rules, NamesAreCutAt150CharactersAndNewVolumesNeedPositiveSizes) {
    Volume* v = make(1, 1, 1);
    app::store_name(v, std::string(200, 'a'));
    EXPECT_EQ(std::string(v->name).size(), 150u);
    EXPECT_EQ(app::check_new_dimensions(1, 1, 1), 0);
    EXPECT_EQ(app::check_new_dimensions(1, 0, 1), 90);
    // the type lists are read by their first letter; no choice is UC, one channel
    EXPECT_EQ(app::type_of_text("F"), 2);
    EXPECT_EQ(app::type_of_text("I"), 4);
    EXPECT_EQ(app::type_of_text(""), 1);
    EXPECT_EQ(app::colortype_of_text("3 Channels"), 2);
    EXPECT_EQ(app::colortype_of_text(""), 1);
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

TEST_F(Rules, FormatChecksRangeThenSizesThenTheFirstFile) {
    const auto dir = std::filesystem::temp_directory_path() / "v3d_rules_format";
    std::filesystem::create_directories(dir);
    const std::string base = (dir / "frame").string();
    std::ofstream(base + "003.raw") << "x";
    app::FormatRequest r;
    r.format = V3D_FORMAT_RAW_FRAMES;
    r.base = base;
    r.first = 3, r.last = 2, r.digits = 3, r.width = 0, r.height = 4;
    EXPECT_EQ(app::check_format(r), 7000);  // before the sizes are looked at
    r.last = 5;
    EXPECT_EQ(app::check_format(r), 7001);
    r.width = 4;
    r.colortype = 2;
    EXPECT_EQ(app::check_format(r), 0);
    EXPECT_EQ(r.colortype, 1);              // raw frames are grey whatever was chosen
    r.first = 4;
    EXPECT_EQ(app::check_format(r), 7002);
    std::filesystem::remove_all(dir);
}

}  // namespace
}  // namespace t3d
