// The loader through real test modules: command ids from one counter in load order, item
// indices for the handlers, the item marks, modules without a menu or without entry points, the
// save module in any letter case, the handled word, SetMenuItemState and the information block.
#include <QAction>
#include <QMenu>

#include "app/projections.h"
#include "gui/projections.h"
#include "module_fixture.h"
#include "res/commands.h"
#include "view/projection_window.h"

namespace t3d {
namespace {

using Probe = int (*)();

struct ItemLook {
    std::string text;  // "-" for a separator
    bool enabled;
    bool operator==(const ItemLook&) const = default;
};

std::vector<ItemLook> looks(const QMenu* popup) {
    std::vector<ItemLook> items;
    for (const QAction* a : popup->actions())
        items.push_back({a->isSeparator() ? "-" : a->text().toStdString(), a->isEnabled()});
    return items;
}

std::vector<int> ids(const QMenu* popup) {
    std::vector<int> found;
    for (const QAction* a : popup->actions()) found.push_back(a->objectName().toInt());
    return found;
}

TEST_F(ModuleTest, IdsCountFromZeroInLoadOrderAndEachHandlerGetsItsItemIndex) {
    scan("ids");
    EXPECT_TRUE(ui.log.empty());
    ASSERT_EQ(modules_menu()->title(), "&Modules");
    EXPECT_TRUE(modules_menu()->isEnabled());
    ASSERT_EQ(modules_menu()->actions().size(), 2);
    EXPECT_EQ(modules_menu()->actions()[0]->text(), "Two Items");
    EXPECT_EQ(modules_menu()->actions()[1]->text(), "Three Items");
    EXPECT_EQ(ids(module_popup(0)), (std::vector{0, 1}));
    EXPECT_EQ(ids(module_popup(1)), (std::vector{2, 3, 4}));
    EXPECT_EQ(window->menuBar()->actions().at(4)->text(), "&Filters");  // put in place, not added

    const std::string two = module_file("ids", "a_two"), three = module_file("ids", "b_three");
    auto last_two = probe<Probe>(two, "probe_last_index"), last_three = probe<Probe>(three, "probe_last_index");
    ASSERT_TRUE(last_two && last_three);
    run(3);
    EXPECT_EQ(last_three(), 1);
    module_popup(1)->actions()[2]->trigger();  // through the menu: id 4
    EXPECT_EQ(last_three(), 2);
    run(1);
    EXPECT_EQ(last_two(), 1);
    // built-in ids reach the router too, and no module takes them
    ui.cancel();
    run(res::cmd::kStandardMedian);
    EXPECT_EQ(probe<Probe>(two, "probe_commands")() + probe<Probe>(three, "probe_commands")(), 3);

    // the information block, and every service found by name from inside a module
    const Vexilo3DInfo* info = probe<Vexilo3DInfo* (*)()>(two, "probe_info")();
    EXPECT_EQ(info, &app::info_block());
    EXPECT_EQ(info->frame_window, static_cast<QWidget*>(window.get()));
    EXPECT_EQ(info->client_window, window->mdi());
    EXPECT_EQ(std::string(info->working_directory), case_folder("ids"));
    EXPECT_EQ(probe<Probe>(two, "probe_services_found")(), probe<Probe>(two, "probe_service_count")());
}

TEST_F(ModuleTest, MarksMakeSeparatorsAndGreyedItemsAndSetMenuItemStateChangesThem) {
    scan("marks");
    QMenu* popup = module_popup(0);
    EXPECT_EQ(looks(popup), (std::vector<ItemLook>{{"First", true}, {"-", true}, {"Second", false},
                                                   {"Third", true}, {"Fourth", false}, {"-", true},
                                                   {"Fifth", true}}));
    const std::string file = module_file("marks", "marks");
    auto set_state = probe<void (*)(Vexilo3DModule*, int, unsigned)>(file, "probe_set_state");
    Vexilo3DModule* record = probe<Vexilo3DModule* (*)()>(file, "probe_record")();
    ASSERT_EQ(record, app::module_list());
    set_state(record, 1, MF_ENABLED);
    set_state(record, 0, MF_GRAYED);
    set_state(record, 2, MF_CHECKED);
    EXPECT_TRUE(window->action(1)->isEnabled());
    EXPECT_FALSE(window->action(0)->isEnabled());
    EXPECT_TRUE(window->action(2)->isChecked());
    set_state(record, 2, MF_ENABLED);
    EXPECT_FALSE(window->action(2)->isChecked());
    // another record or an index past the items changes nothing
    Vexilo3DModule stranger;
    set_state(&stranger, 0, MF_ENABLED);
    set_state(record, 5, MF_GRAYED);
    set_state(record, -1, MF_GRAYED);
    EXPECT_FALSE(window->action(0)->isEnabled());
    EXPECT_TRUE(window->action(4)->isEnabled());
}

TEST_F(ModuleTest, ANullMenuGivesHandlersInBothListsAndNoMenuAndCountsAsLoaded) {
    QMenu* placeholder = modules_menu();
    scan("no_menu");
    EXPECT_TRUE(ui.log.empty());
    for (auto list : {app::HandlerList::Projections, app::HandlerList::Displays})
        EXPECT_EQ(std::distance(app::message_handlers(list).begin(), app::message_handlers(list).end()), 1);
    EXPECT_EQ(app::module_list(), nullptr);
    EXPECT_EQ(app::next_module_command_id(), 0);
    EXPECT_EQ(modules_menu(), placeholder);
    EXPECT_FALSE(placeholder->isEnabled());
}

TEST_F(ModuleTest, EveryMissingEntryPointIs7004WithAnEmptyTextAndTheScanGoesOn) {
    scan("missing");
    // a_no_command, b_no_handler, c_no_menu; the text file is no library and says nothing
    EXPECT_EQ(ui.log, (std::vector<std::string>(3, "error: 7004")));
    EXPECT_STREQ(res::text(7004), "");
    // without a command handler the popup stays, without a record: its ids reach nobody
    ASSERT_EQ(modules_menu()->actions().size(), 2);
    EXPECT_EQ(ids(module_popup(0)), (std::vector{0, 1}));
    EXPECT_EQ(ids(module_popup(1)), (std::vector{2, 3, 4}));
    ASSERT_NE(app::module_list(), nullptr);
    EXPECT_EQ(app::module_list()->first_id, 2);
    EXPECT_EQ(app::module_list()->next, nullptr);
    run(0);
    EXPECT_EQ(probe<Probe>(module_file("missing", "a_no_command"), "probe_commands")(), 0);
    run(3);
    EXPECT_EQ(probe<Probe>(module_file("missing", "d_complete"), "probe_last_index")(), 1);
    // the handlers of every module that offered them: all but b_no_handler
    const auto& handlers = app::message_handlers(app::HandlerList::Displays);
    EXPECT_EQ(std::distance(handlers.begin(), handlers.end()), 3);
    // the failed ones stay loaded
    for (const char* f : {"a_no_command", "b_no_handler", "c_no_menu"})
        EXPECT_NE(probe<Probe>(module_file("missing", f), "probe_commands"), nullptr) << f;
}

TEST_F(ModuleTest, AStartDirectoryTooLongForThePatternIs7001AndNothingIsScanned) {
    app::load_modules(std::string(app::kMaxModulePath - 8, 'x'));  // one short of the limit
    EXPECT_TRUE(ui.log.empty());
    app::load_modules(std::string(app::kMaxModulePath - 7, 'x'));
    EXPECT_EQ(ui.log, (std::vector<std::string>{"error: 7001"}));
}

TEST_F(ModuleTest, SAVE3DInCapitalsIsTheSaveModuleAndSaveNeedsBothEntries) {
    QAction* save = window->action(res::cmd::kSave);
    scan("half_save");  // save_volume only: unloaded again
    EXPECT_FALSE(save->isEnabled());
    EXPECT_FALSE(app::save_module_loaded());
    EXPECT_EQ(probe<Probe>(module_file("half_save", "save3d"), "probe_saves"), nullptr);

    scan("save");
    ASSERT_TRUE(save->isEnabled());
    EXPECT_EQ(app::module_list(), nullptr);  // not a module of the menu
    const std::string file = module_file("save", "SAVE3D");
    save->trigger();
    EXPECT_EQ(probe<Probe>(file, "probe_saves")(), 1);
    EXPECT_EQ(ui.log, (std::vector<std::string>{"error: -602"}));  // its status is shown
    // "&Save Projection" of a window opened now is enabled and hands over the window's buffer
    Projection* p = CreateProjection(RegisterProjectionType(), nullptr, 0);
    auto* w = static_cast<QWidget*>(DisplayProjection(p, CreateBuffer(1, 20, 20), "p"));
    ASSERT_NE(w, nullptr);
    QAction* item = sub_of(w)->systemMenu()->findChild<QAction*>("1000");
    ASSERT_TRUE(item && item->isEnabled());
    item->trigger();
    EXPECT_EQ(probe<Probe>(file, "probe_saves")(), 11);
}

TEST_F(ModuleTest, AHandledMessageStopsTheWindowsUntilTheModuleClearsTheWord) {
    scan("handled");
    const std::string file = module_file("handled", "keeper");
    Volume* vol = make(4, 40, 40);
    fill(vol, [](int z, int y, int x) { return 30 + z * 40 + y + x; });
    DisplayVolume(vol);
    view::FrameDisplay* display = window->displays(vol).at(0);
    int clicks = 0;
    QObject::connect(display, &view::FrameDisplay::voxel_clicked, [&clicks] { ++clicks; });
    auto click_pane = [&] { click(display->pane()->viewport(), {5, 5}); };
    Projection* p = CreateProjection(app::gallery_projection_type(), vol, app::kGalleryUserArea);
    const app::GalleryLayout layout{2, 0};
    std::memcpy(p->user, &layout, sizeof layout);
    Buffer* picture = CreateBuffer(1, 200, 200);
    ASSERT_EQ(app::render_gallery(p, picture), 0);
    auto* gallery = gui::procedure_of(static_cast<QWidget*>(DisplayProjection(p, picture, "g")));
    ASSERT_NE(gallery, nullptr);
    click_pane();
    ASSERT_EQ(clicks, 1);

    probe<void (*)(unsigned)>(file, "probe_keep")(WM_LBUTTONDOWN);
    click_pane();
    EXPECT_EQ(clicks, 1);  // the display window did nothing of its own
    // the word stays set: later messages of any window return 1 at once
    const float zero = 0;
    ClearVolume(vol, &zero);
    EXPECT_EQ(gallery->send(WM_USER, 0, 0), 1);
    EXPECT_NE(picture->image[0][20][20], 0);  // not rendered again
    const int heard = probe<Probe>(file, "probe_messages")();
    EXPECT_EQ(gallery->send(WM_USER, 0, 0), 1);
    EXPECT_EQ(probe<Probe>(file, "probe_messages")(), heard + 1);  // the first handler is asked

    probe<void (*)()>(file, "probe_clear")();
    EXPECT_EQ(gallery->send(WM_USER, 0, 0), 0);
    EXPECT_EQ(picture->image[0][20][20], 0);
    click_pane();
    EXPECT_EQ(clicks, 2);
}

}  // namespace
}  // namespace t3d
