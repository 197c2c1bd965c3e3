// Clicks go to the active tools newest first; Write Voxel and the seed collector; the
// coordinates read-out's values.
#include "app/command_table.h"
#include "app/services.h"
#include "app/tools/seeds.h"
#include "app/tools/tools.h"
#include "shell_fixture.h"

namespace t3d {
namespace {

using Tools = ShellTest;

struct Recorder : app::Tool {
    std::vector<int> clicks;
    bool takes = true;
    bool clicked(const app::VoxelEvent& e) override {
        clicks.push_back(e.x);
        return takes;
    }
};

TEST_F(Tools, NewestActiveToolTakesTheClickFirstAndOthersOnlyWhenItDeclines) {
    Volume* v = make(1, 4, 4);
    Recorder older, newer;
    EXPECT_FALSE(app::voxel_clicked({v, 0, 0, 1, app::kLeftButton}));  // nobody listens
    app::ActiveTool a(&older), b(&newer);
    EXPECT_TRUE(app::voxel_clicked({v, 0, 0, 2, app::kLeftButton}));
    newer.takes = false;
    EXPECT_TRUE(app::voxel_clicked({v, 0, 0, 3, app::kLeftButton}));
    EXPECT_EQ(newer.clicks, std::vector({2, 3}));
    EXPECT_EQ(older.clicks, std::vector({3}));
}

TEST_F(Tools, WriteVoxelWritesOnceTheLuminanceOrTheColourAndIsDisarmedByCancel) {
    Volume* grey = make(1, 4, 4);
    Volume* colour = make(1, 4, 4, 1, 2);
    Volume* real = make(1, 4, 4, 2);
    app::arm_write_voxel();
    EXPECT_FALSE(app::voxel_clicked({grey, 0, 1, 2, app::kRightButton}));  // left button only
    ui.push({.rgb = {255, 0, 0}});
    EXPECT_TRUE(app::voxel_clicked({grey, 0, 1, 2, app::kLeftButton}));
    EXPECT_EQ(grey->data[0].uc[0][1][2], 76);  // 0.299 * 255 rounded
    EXPECT_EQ(workspace.displayed, std::vector<const Volume*>{grey});
    EXPECT_FALSE(app::voxel_clicked({grey, 0, 0, 0, app::kLeftButton}));   // one click only

    app::arm_write_voxel();
    ui.push({.rgb = {10, 20, 30}});
    app::voxel_clicked({colour, 0, 3, 3, app::kLeftButton});
    EXPECT_EQ(std::vector({colour->data[0].uc[0][3][3], colour->data[2].uc[0][3][3]}),
              std::vector<unsigned char>({10, 30}));
    app::arm_write_voxel();
    ui.push({.rgb = {0, 0, 255}});
    app::voxel_clicked({real, 0, 0, 1, app::kLeftButton});
    EXPECT_FLOAT_EQ(real->data[0].f[0][0][1], 29.f);  // 0.114 * 255 rounded

    app::arm_write_voxel();
    ui.cancel();
    EXPECT_TRUE(app::voxel_clicked({grey, 0, 2, 2, app::kLeftButton}));
    EXPECT_FALSE(app::write_voxel_armed());
    EXPECT_EQ(grey->data[0].uc[0][2][2], 0);
}

TEST_F(Tools, SeedsComeOnlyFromLeftClicksOnTheirVolume) {
    Volume* in = make(2, 4, 4);
    Volume* other = make(2, 4, 4);
    app::SeedCollector seeds(in);
    {
        app::ActiveTool active(&seeds);
        app::voxel_clicked({in, 1, 2, 3, app::kLeftButton});
        app::voxel_clicked({other, 0, 0, 0, app::kLeftButton});
        app::voxel_clicked({in, 0, 0, 0, app::kRightButton});
    }
    app::voxel_clicked({in, 0, 1, 1, app::kLeftButton});  // after the dialog closed
    ASSERT_EQ(seeds.seeds().size(), 1u);
    EXPECT_EQ(std::vector({seeds.seeds()[0].z, seeds.seeds()[0].y, seeds.seeds()[0].x}),
              std::vector({1, 2, 3}));
}

TEST_F(Tools, ReadoutCarriesTheVoxelsOwnValueAndBlanksOutsideTheImage) {
    Volume* real = make(1, 2, 2, 2);
    real->data[0].f[0][1][0] = -3.5f;
    app::voxel_hovered(real, 0, 1, 0);
    EXPECT_EQ(app::readout().R, -3.5);
    EXPECT_EQ(app::readout().B, -3.5);
    EXPECT_EQ(std::vector({app::readout().x, app::readout().y}), std::vector({0, 1}));
    Volume* colour = make(1, 2, 2, 1, 2);
    colour->data[1].uc[0][0][1] = 200;
    app::voxel_hovered(colour, 0, 0, 1);
    EXPECT_EQ(app::readout().G, 200);
    const int before = workspace.readouts;
    app::left_images();  // hidden read-out: nothing happens
    EXPECT_EQ(workspace.readouts, before);
    app::set_coordinates_shown(true);
    app::voxel_hovered(colour, 0, 2, 0);  // outside the frame
    EXPECT_EQ(app::readout().mode, app::kBlankReadout);
    EXPECT_EQ(app::readout().G, 0);
}

}  // namespace
}  // namespace t3d

namespace t3d {
namespace {

std::string colour(double R, double G, double B, int space) {
    const double white[3] = {1.0, 1.0, 1.0};
    return app::colour_text({0, 0, 0, 0, R, G, B}, space, white);
}

TEST(Readout, FieldsInEachColourSpace) {
    EXPECT_EQ(app::position_text({0, 7, 12, 3, 0, 0, 0}), "  X = 007  Y= 012  Z = 003");
    EXPECT_EQ(colour(12.9, 200.2, 255, app::kRgb), "R = 012  G = 200  B = 255");
    // the Y row of the matrix sums to 1.001
    EXPECT_EQ(colour(255, 255, 255, app::kXyz), "X = 255.000  Y = 255.255  Z = 255.000");
    // black: f(0) = 0.13793103, so L = 116.04 f - 16 is just above 0
    EXPECT_EQ(colour(0, 0, 0, app::kLab), "L = 0.006  a = 0.000  b = 0.000");
    EXPECT_EQ(colour(255, 0, 0, app::kHls), "H = 0.000  L = 0.500  S = 1.000");
    EXPECT_EQ(colour(0, 127.6, 0, app::kHls), "H = 120.000  L = 0.251  S = 1.000");
    EXPECT_EQ(colour(0, 0, 255, app::kHls), "H = 240.000  L = 0.500  S = 1.000");
    EXPECT_EQ(colour(255, 0, 128, app::kHls), "H = 329.882  L = 0.500  S = 1.000");
    EXPECT_EQ(colour(90, 90, 90, app::kHls), "H = 0.000  L = 0.353  S = 0.000");  // grey
}

// (the toggle itself is tried with the frame window: tests/gui)
TEST_F(Tools, DisplayCoordinatesReportsAWindowThatCannotBeMade) {
    workspace.coordinates_window = false;
    app::dispatch(res::cmd::kDisplayCoordinates);
    EXPECT_FALSE(app::coordinates_shown());
    EXPECT_EQ(ui.log.back(), "error: 723");
}

}  // namespace
}  // namespace t3d
