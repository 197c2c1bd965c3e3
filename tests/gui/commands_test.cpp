// The command pattern of the menu commands, run through the scripted user interface.
#include <QAction>
#include <QApplication>
#include <QFile>
#include <QMenuBar>
#include <QMouseEvent>
#include <QMdiArea>
#include <QTemporaryDir>
#include <fstream>
#include <set>

#include "app/command_table.h"
#include "app/formats.h"
#include "app/startup.h"
#include "fixture.h"
#include "res/menu.h"
#include "res/strings.h"

namespace t3d {
namespace {

using Commands = AppTest;

// 255 inside the cube [lo, hi) on every axis.
void fill_binary_cube(Volume* v, int lo, int hi) {
    auto in = [&](int i) { return i >= lo && i < hi; };
    fill(v, [&](int z, int y, int x) { return in(z) && in(y) && in(x) ? 255 : 0; });
}

const std::string kInfo = "message [VEXILO 3.4  for Windows] (information) ";
const std::string kNone = "message [VEXILO3D for Windows] (none) ";

// Writes bytes to a new file.
void write_file(const QString& path, const QByteArray& bytes) {
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write(bytes);
}

// Every id once in the menu, every command row reachable from it; the modules' popup fourth.
TEST_F(Commands, MenuHoldsEveryCommandRowOnce) {
    std::set<int> in_menu;
    for (int i = 0; i < res::kMenu3dSize; ++i)
        if (res::kMenu3d[i].kind == res::MenuEntry::Item) {
            EXPECT_TRUE(in_menu.insert(res::kMenu3d[i].id).second) << res::kMenu3d[i].id;
        }
    for (const auto& row : app::command_table()) {
        EXPECT_TRUE(in_menu.count(row.id)) << row.id;
        EXPECT_NE(window->action(row.id), nullptr) << row.id;
    }
    EXPECT_EQ(in_menu.size(), app::command_table().size());
    EXPECT_EQ(window->menuBar()->actions().at(3)->text(), "&Modules");
}

TEST_F(Commands, CancelAtEachStepEndsSilentlyAndCreatesNothing) {
    Volume* in = make(2, 3, 4);
    make(2, 3, 4);
    ui.cancel();                            // input
    run(1120);
    ui.pick(slot(in)).cancel();             // second input
    run(1120);
    ui.pick(slot(in)).cancel();             // values: a window row's
    run(1172);
    ui.pick(slot(in)).values({"0", "0", "0"}).cancel();  // output
    run(1110);
    for (const auto& line : ui.log) EXPECT_EQ(line.rfind("error", 0), std::string::npos) << line;
    EXPECT_EQ(GetNewVolumeIndex(), 2);
    EXPECT_EQ(windows(nullptr), 0);
}

TEST_F(Commands, UnparsableValueIsInvalidParametersBeforeTheOutputIsAsked) {
    Volume* in = make(2, 3, 4);
    ui.pick(slot(in)).values({"1", "x2", "0"});
    run(1110);
    EXPECT_EQ(ui.log.back(), "error: -90");
    for (const auto& line : ui.log) EXPECT_EQ(line.find("select output"), std::string::npos);
    // "%d" reads a leading number and ignores what follows
    ui.log.clear();
    ui.pick(slot(in)).values({"0 ", "0abc", "+0"}).pick_new();
    run(1110);
    EXPECT_FALSE(ui.logged("error: -90"));
    EXPECT_EQ(windows(GetVolumeByIndex(1)), 1);
}

TEST_F(Commands, SameVolumeIsRefusedWhereNotInPlace) {
    Volume* in = make(2, 3, 4);
    in->data[0].uc[1][2][3] = 7;
    ui.pick(slot(in)).pick(slot(in));
    run(1142);  // UC to F
    EXPECT_EQ(ui.log.back(), "error: -525");
    EXPECT_EQ(in->type, 1);
    EXPECT_EQ(in->data[0].uc[1][2][3], 7);
    // symmetric may work in place: no refusal
    ui.log.clear();
    ui.pick(slot(in)).pick(slot(in));
    run(1130);
    EXPECT_FALSE(ui.logged("error: -525"));
    EXPECT_EQ(in->data[0].uc[0][0][0], 7);
}

TEST_F(Commands, ReallocationNoLeavesTheOutputYesClosesItsWindowsFirstAndReallocates) {
    Volume* in = make(2, 3, 4);
    in->data[0].uc[1][2][3] = 200;
    Volume* out = make(5, 5, 5);
    out->data[0].uc[4][4][4] = 9;
    ASSERT_TRUE(window->open_display(2, out, 0, 0, 4, 0));
    ui.pick(slot(in)).pick(slot(out)).no();
    run(1142);
    EXPECT_EQ(ui.log.back(),
              "question: Output Volume is not appropriate\nand will be reallocated. Continue?");
    EXPECT_EQ(std::vector({out->type, out->Z, out->data[0].uc[4][4][4] + 0}), std::vector({1, 5, 9}));
    EXPECT_EQ(windows(out), 1);

    QPointer<view::FrameDisplay> watch(window->displays(out).at(0));
    ui.pick(slot(in)).pick(slot(out)).yes();
    run(1142);
    EXPECT_TRUE(watch.isNull());                 // the old window went with the old storage
    EXPECT_EQ(std::vector({out->type, out->Z, out->Y, out->X}), std::vector({2, 2, 3, 4}));
    EXPECT_FLOAT_EQ(out->data[0].f[1][2][3], 200.f);
    ASSERT_EQ(windows(out), 1);                  // and a new one shows the result
    EXPECT_EQ(window->displays(out).at(0)->windowTitle(), "vol 1 [fr 0-1,0]");
    EXPECT_GT(ui.wait_calls, 0);
    EXPECT_FALSE(ui.waiting);
}

TEST_F(Commands, OperatorFailureDestroysTheOutputItCreatedButKeepsAnExistingOne) {
    Volume* a = make(3, 3, 3);
    Volume* b = make(3, 3, 3);
    a->data[0].uc[1][1][1] = 1;                  // not binary: -535
    ui.pick(slot(a)).pick(slot(b)).pick_new();
    run(1121);  // OR
    EXPECT_EQ(ui.log.back(), "error: -535");
    EXPECT_EQ(GetVolumeByIndex(2)->type, 0);     // the new output is gone again
    EXPECT_EQ(GetVolumeByIndex(2)->name[0], '\0');
    EXPECT_EQ(windows(nullptr), 0);

    Volume* existing = make(4, 4, 4);            // slot 2, reallocated then failing
    ui.pick(slot(a)).pick(slot(b)).pick(slot(existing)).yes();
    run(1121);
    EXPECT_EQ(ui.log.back(), "error: -535");
    EXPECT_EQ(existing->type, 1);
    EXPECT_EQ(existing->Z, 3);
}

TEST_F(Commands, LogicCombinesIntoANewOutputAndDisplaysIt) {
    Volume* a = make(4, 4, 4);
    Volume* b = make(4, 4, 4);
    fill_binary_cube(a, 0, 2);
    fill_binary_cube(b, 1, 3);
    ui.pick(slot(a)).pick(slot(b)).pick_new();
    run(1120);  // AND
    Volume* out = GetVolumeByIndex(2);
    ASSERT_EQ(out->type, 1);
    EXPECT_EQ(out->data[0].uc[1][1][1], 255);
    EXPECT_EQ(out->data[0].uc[0][0][0], 0);
    EXPECT_EQ(windows(out), 1);
    // the second input's list asks for one-channel UC, the output's for any type
    EXPECT_EQ(ui.requests.at(1).typemask, 1);
    EXPECT_EQ(ui.requests.at(2).typemask, 7);
    EXPECT_EQ(ui.requests.at(2).X, 4);
    // a volume already shown is repainted, not shown twice
    ui.pick(slot(a)).pick(slot(b)).pick(slot(out));
    run(1122);
    EXPECT_EQ(windows(out), 1);
}

// (the counts are the library's business, the message box's caption and icon tests/gui/qt_ui_test)
TEST_F(Commands, BoundingBoxReportsXYZOrderOrOnlyBackground) {
    Volume* v = make(7, 7, 7);
    fill_binary_cube(v, 1, 6);
    auto report = [&](Volume* of, int id) {
        ui.pick(slot(of));
        run(id);
        return ui.log.back();
    };
    fill_in_VOI(v, 0, 7, 0, 7, 2, 7);
    EXPECT_EQ(report(v, 1222), kInfo + "Bounding Box (x1,y1,z1) - (x2,y2,z2) : (2,1,1) - (5,5,5)");
    EXPECT_EQ(report(make(2, 2, 2), 1222),
              kInfo + "Selected Volume (VOI) contains only background points");
    EXPECT_EQ(ui.requests.back().colormask, 3);
}

TEST_F(Commands, ClearAsksOneValuePerChannelCaptionedByType) {
    Volume* f = make(2, 2, 2, 2, 2);
    ui.pick(slot(f)).values({"1.5", "-2", "3e1"});
    run(1100);
    EXPECT_EQ(ui.log[1], "values: Clear float Volume | Channel1 Value: | Channel2 Value: | "
                         "Channel3 Value:");
    EXPECT_FLOAT_EQ(f->data[0].f[1][1][1], 1.5f);
    EXPECT_FLOAT_EQ(f->data[1].f[1][1][1], -2.f);
    EXPECT_FLOAT_EQ(f->data[2].f[1][1][1], 30.f);
    EXPECT_EQ(windows(f), 1);
    Volume* uc = make(2, 2, 2);
    ui.log.clear();
    ui.pick(slot(uc)).values({"256"});
    run(1100);
    EXPECT_EQ(ui.log[1], "values: Clear UC Volume | Channel1 Value:");
    EXPECT_EQ(ui.log.back(), "error: -90");   // the library refuses 256 for UC
}

TEST_F(Commands, CopyPreparesItsOutputAtLeastAsLargeAndUsesTheOffsets) {
    Volume* in = make(2, 2, 2);
    in->data[0].uc[1][1][1] = 42;
    Volume* big = make(4, 4, 4);
    ui.pick(slot(in)).values({"1", "2", "0"}).pick(slot(big));
    run(1110);
    EXPECT_EQ(big->Z, 4);                          // larger is accepted without a question
    EXPECT_EQ(big->data[0].uc[1][3][2], 42);       // z0 0, y0 2, x0 1
}

TEST_F(Commands, DisplayChecksTheLevelsAndTitlesTheRange) {
    Volume* v = make(5, 8, 8);
    ui.pick(slot(v)).push({.levels = {5, 0, 0.0}});
    run(1300);
    EXPECT_EQ(ui.log.back(), "error: 611");
    ui.pick(slot(v)).push({.levels = {3, 1, 0.5}});
    run(1300);
    ASSERT_EQ(windows(v), 1);
    view::FrameDisplay* d = window->displays(v).at(0);
    EXPECT_EQ(d->windowTitle(), "vol 0 [fr 1-3,1]");
    EXPECT_EQ(d->mode(), 2);
    EXPECT_DOUBLE_EQ(d->delay(), 0.5);
    // the colour display lists three-channel volumes only
    ui.cancel();
    run(1307);
    EXPECT_EQ(ui.requests.back().colormask, 2);
}

TEST_F(Commands, CreateDestroyAndDumpGoThroughTheirDialogs) {
    ui.push({.create = {3, 4, 5, 6, 2, 1}});
    run(1040);
    Volume* v = GetVolumeByIndex(3);
    EXPECT_EQ(std::vector({v->type, v->X, v->Z}), std::vector({2, 4, 6}));
    run(1041);
    EXPECT_EQ(ui.log.back(), "destroy: Select Volume to Free");

    QTemporaryDir dir;
    const std::string file = dir.filePath("dump.txt").toStdString();
    Volume* uc = make(1, 1, 2);
    uc->data[0].uc[0][0][0] = 5;
    uc->data[0].uc[0][0][1] = 200;
    ui.pick(slot(uc)).push({.texts = {file}});
    run(1030);
    EXPECT_EQ(ui.log.back(), "save file: Dump Volume | All Files (*)");
    std::ifstream in(file);
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_EQ(text, "  5 200 \n\n\n");
}

TEST_F(Commands, OpenReadsARawFileIntoANewVolumeAndShowsIt) {
    QTemporaryDir dir;
    const QString path = dir.filePath("cube.raw");
    QByteArray bytes(2 * 3 * 4, 0);
    bytes[23] = 99;
    write_file(path, bytes);
    Answer format;
    format.format = {.format = V3D_FORMAT_RAW_VOLUME, .file = path.toStdString(), .last = 1,
                     .width = 4, .height = 3};
    ui.push(format).pick_new();
    run(40003);
    Volume* v = GetVolumeByIndex(0);
    ASSERT_EQ(v->type, 1);
    EXPECT_EQ(v->Z, 2);
    EXPECT_EQ(v->data[0].uc[1][2][3], 99);
    EXPECT_STREQ(v->name, "cube.raw");
    EXPECT_EQ(windows(v), 1);
    EXPECT_EQ(ui.requests.back().kind, app::SelectKind::OpenTarget);
    EXPECT_EQ(ui.requests.back().Z, 2);
}

// 16-bit frames scaled (the default), stretched over their own range, or kept in an I volume;
// and the multi-page TIFF's frame count as the format dialog's Last gives it.
TEST_F(Commands, OpenBringsSamplesOverEightBitsInAsTheDialogSays) {
    QTemporaryDir dir;
    const std::string base = dir.filePath("cam").toStdString();
    v3d::OwnedVolume cam(2, 1, 3, 4, 1);
    const int values[6] = {0, 1000, 4095, 2000, 3000, 500};
    for (int i = 0; i < 6; ++i) cam.get()->data[0].i[i / 3][0][i % 3] = values[i];
    ASSERT_EQ(SaveTiffStack(cam.get(), base.c_str(), "tif", V3D_TIFF_LZW), 0);
    const struct { int deep, type; int voxel[2]; } choices[] = {
        {app::kDeepScale, 1, {4, 16}},       // 4095 * 255 / 65535 rounded
        {app::kDeepStretch, 1, {62, 255}},   // 1000 and 4095 over 0..4095
        {app::kDeepKeep, 4, {1000, 4095}}};
    for (const auto& c : choices) {
        Answer format;
        format.format = {.format = V3D_FORMAT_TIFF_STACK, .file = base + ".tif", .last = 1, .deep = c.deep};
        ui.push(format).pick_new();
        run(40003);
        Volume* v = GetVolumeByIndex(0);
        ASSERT_EQ(v->type, c.type) << c.deep;
        EXPECT_EQ(v->Z, 2);
        const int a = v->type == 1 ? v->data[0].uc[0][0][1] : v->data[0].i[0][0][1];
        const int b = v->type == 1 ? v->data[0].uc[0][0][2] : v->data[0].i[0][0][2];
        EXPECT_EQ(std::vector<int>({a, b}), std::vector<int>({c.voxel[0], c.voxel[1]})) << c.deep;
        freedisWin(v);
        DestroyVolume(v);
    }
}

TEST_F(Commands, ExportedSelectionServicesFollowTheDialogs) {
    Volume* v = make(2, 2, 2);
    Volume* out = nullptr;
    ui.cancel();
    EXPECT_EQ(GetInputVolume(1, 1, "Pick", &out), 0);
    EXPECT_EQ(ui.log.back(), "select input: Pick");
    ui.pick(slot(v));
    EXPECT_EQ(GetInputVolume(1, 1, "Pick", &out), 1);
    EXPECT_EQ(out, v);
    ui.pick_new();
    EXPECT_EQ(GetOutputVolume(7, 3, "Out", 3, 4, 5, &out), 1);
    EXPECT_EQ(out, GetVolumeByIndex(1));
    EXPECT_EQ(ui.requests.back().X, 3);
    ui.no();
    EXPECT_EQ(VerifyVolumeReallocation(nullptr), 0);
    ui.yes();
    EXPECT_EQ(VerifyVolumeReallocation(nullptr), 1);
    EXPECT_EQ(error_handler(-530), 1);
    EXPECT_EQ(ui.log.back(), "error: -530");
}

TEST_F(Commands, OutputFitsExactlyOrAtLeastWithEqualTypes) {
    Volume* v = make(4, 4, 4);
    EXPECT_EQ(app::VerifyOutputVolume(v, 4, 4, 4, 1, 1, true), app::kFits);
    EXPECT_EQ(app::VerifyOutputVolume(v, 3, 3, 3, 1, 1, false), app::kFits);
    ui.no();
    EXPECT_EQ(app::VerifyOutputVolume(v, 3, 3, 3, 1, 1, true), app::kDeclined);
    ui.no();
    EXPECT_EQ(app::VerifyOutputVolume(v, 4, 4, 4, 1, 2, false), app::kDeclined);
    ui.yes();
    EXPECT_EQ(app::VerifyOutputVolume(v, 5, 4, 4, 4, 1, false), app::kReallocated);
    EXPECT_EQ(v->type, 4);
    EXPECT_EQ(v->X, 5);
    EXPECT_EQ(ui.answers.size(), 0u);
}

TEST_F(Commands, FrameRightClickResetsEveryVoiAndExitRemovesTheTemporaryFile) {
    Volume* a = make(4, 5, 6);
    Volume* b = make(2, 2, 2);
    fill_in_VOI(a, 1, 2, 1, 2, 1, 2);
    fill_in_VOI(b, 0, 1, 0, 1, 0, 1);
    QWidget* client = window->mdi()->viewport();
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(5, 5), client->mapToGlobal(QPointF(5, 5)),
                      Qt::RightButton, Qt::RightButton, Qt::NoModifier);
    QApplication::sendEvent(client, &press);
    EXPECT_EQ(std::vector({a->z2, a->y2, a->x1, b->x2}), std::vector({4, 5, 0, 2}));

    const QString tmp = gui::temporary_file();
    write_file(tmp, {});
    window->close();                  // closing leaves the file and frees every volume
    EXPECT_TRUE(QFile::exists(tmp));
    EXPECT_EQ(GetVolumeByIndex(0), nullptr);
    window = std::make_unique<gui::MainWindow>();
    ASSERT_TRUE(app::initialise_application());
    run(1060);                        // Exit removes it
    EXPECT_FALSE(QFile::exists(tmp));
}

int fake_labelling(app::CommandContext& c) {
    c.message = res::format(res::kNumberOfRegions, 3);
    return CopyVolume(c.in, c.out, 0, 0, 0);
}

TEST_F(Commands, ConfirmationComesFirstAndTheMessageFollowsBothDisplays) {
    Volume* in = make(2, 2, 2);
    ASSERT_TRUE(window->open_display(2, in, 0, 0, 1, 0));
    const app::CommandSpec row = {
        .id = 2, .text = "&Label", .typemask = 1, .colormask = 1, .out_type = app::kSameType,
        .confirm_input = true, .op = fake_labelling, .after = app::After::DisplayBoth,
        .message_caption = res::kCaption};
    ui.no();
    app::run_pattern(row);
    ASSERT_EQ(ui.log.size(), 1u);
    EXPECT_EQ(ui.log[0], "question: Input volume will be modified. Continue?");
    ui.yes().pick(slot(in)).pick_new();
    app::run_pattern(row);
    EXPECT_EQ(ui.log.back(), kNone + "Number of regions = 3");
    EXPECT_EQ(windows(GetVolumeByIndex(1)), 1);
    EXPECT_EQ(windows(in), 1);
}

int fake_grow(Volume*, Volume*, int, int) { return 0; }
int fake_split(Volume*, Volume*, int* count, int) {
    *count = 7;
    return 0;
}
int fake_merge(Volume*, Volume*, int tolerance, int) { return tolerance < 0 ? -92 : 4; }

TEST_F(Commands, SegmentationAdaptersPlantSeedsAndReportCounts) {
    Volume* in = make(3, 4, 5);
    Volume* out = make(3, 4, 5);
    const float nines[1] = {9.f};
    ClearVolume(out, nines);
    fill_in_VOI(out, 1, 2, 1, 2, 1, 2);
    // three one-threshold rows differing in their adapter
    auto row = [](int id, app::Operation op, app::After after = app::After::Display) {
        return app::CommandSpec{
            .id = id, .text = "&Segment", .typemask = 1, .colormask = 1,
            .values = {res::kThresholdValue, {res::kThreshold}}, .out_type = app::kSameType,
            .op = op, .after = after, .message_caption = res::kCaption};
    };
    ui.pick(slot(in)).values({"12"}).pick(slot(out)).push({.seeds = {{0, 0, 0}, {2, 3, 4}}});
    app::run_pattern(row(1, app::seeded_op<fake_grow>));
    EXPECT_TRUE(ui.logged("pixel input"));
    EXPECT_EQ(out->data[0].uc[0][3][0], 0);          // cleared outside the VOI too
    EXPECT_EQ(out->z1, 1);                           // and its VOI kept
    EXPECT_EQ(windows(in), 1);                       // shown for the clicks

    ui.pick(slot(in)).values({"1"}).pick(slot(out));
    app::run_pattern(row(2, app::counted_op<fake_split, res::kNoOfRegions>,
                         app::After::MessageAndDisplay));
    EXPECT_EQ(ui.log.back(), kNone + "No of regions = 7");

    app::CommandSpec merge = row(3, app::returns_count_op<fake_merge, res::kNumberOfRegions>,
                                 app::After::Message);
    merge.values = {res::kThresholdMaxRegions, {res::kThreshold, res::kMaxRegions}};
    ui.pick(slot(in)).values({"1", "9"}).pick(slot(out));
    app::run_pattern(merge);
    EXPECT_EQ(ui.log.back(), kNone + "Number of regions = 4");
    ui.pick(slot(in)).values({"-1", "9"}).pick(slot(out));
    app::run_pattern(merge);
    EXPECT_EQ(ui.log.back(), "error: -92");
}

TEST_F(Commands, CommandLineFilesOpenIntoNewVolumesAndShow) {
    QTemporaryDir dir;
    const QString path = dir.filePath("v.raw");
    write_file(path, QByteArray(2 * 2 * 2, 3));
    app::CommandLine line;
    std::string error;
    ASSERT_TRUE(app::parse_command_line({"--size", "2x2x2", path.toStdString(), "missing.raw"},
                                        line, error));
    EXPECT_EQ(app::open_files(line), 1);
    EXPECT_EQ(ui.log.back(), "error: -600");
    Volume* v = GetVolumeByIndex(0);
    EXPECT_EQ(v->data[0].uc[1][1][1], 3);
    EXPECT_STREQ(v->name, "v.raw");
    EXPECT_EQ(windows(v), 1);
    EXPECT_EQ(GetVolumeByIndex(1)->type, 0);
}

}  // namespace
}  // namespace t3d
