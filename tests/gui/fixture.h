// A frame window with a scripted user interface and a fresh volume table.
#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "gui/main_window.h"
#include "app/services.h"
#include "app/tools/seeds.h"
#include "app/tools/tools.h"
#include "app/state.h"
#include "scripted_ui.h"
#include "support.h"
#include "view/frame_display.h"

namespace t3d {

class AppTest : public ::testing::Test {
protected:
    void SetUp() override {
        app::set_ui(&ui);
        window = std::make_unique<gui::MainWindow>();
        ASSERT_TRUE(app::initialise_application());
    }
    void TearDown() override {
        window.reset();  // destroys every volume
        app::set_ui(nullptr);
    }

    // A new zeroed volume in the first free slot.
    Volume* make(int Z, int Y, int X, int type = 1, int colortype = 1) {
        Volume* v = nullptr;
        EXPECT_EQ(CreateVolumeEx(type, colortype, Z, Y, X, 0, &v), 0);
        return v;
    }
    int slot(Volume* v) { return GetVolumeIndex(v); }
    int windows(const Volume* v) { return static_cast<int>(window->displays(v).size()); }
    void run(int id) { window->run_command(id); }

    ScriptedUi ui;
    std::unique_ptr<gui::MainWindow> window;
};

}  // namespace t3d
