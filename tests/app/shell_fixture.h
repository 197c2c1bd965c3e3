// The application without a screen: a scripted user interface, a workspace that records what
// it was asked, and a fresh volume table.
#pragma once

#include <gtest/gtest.h>

#include "app/state.h"
#include "app/tools/coordinates.h"
#include "scripted_ui.h"

namespace t3d {

// A projection window as the recording workspace keeps it: it owns the records as a window
// does.
struct ProjectionShown {
    std::unique_ptr<app::ProjectionWindowRecord> record;
    Projection* proj = nullptr;
    std::string title;
};

struct RecordingWorkspace : app::Workspace {
    std::vector<const Volume*> displayed, released;
    int readouts = 0;
    std::vector<ProjectionShown> projections;
    bool projection_windows = true;      // false: a projection window cannot be created
    app::ClientSize area{1560, 900};     // the projection area of a 1600 x 1000 screen
    ~RecordingWorkspace() override {
        for (auto& p : projections) {
            DestroyBuffer(p.record->buffer);
            DestroyProjection(p.proj);
        }
    }
    app::ClientSize projection_area() const override { return area; }
    void* open_projection(std::unique_ptr<app::ProjectionWindowRecord>& record, Projection* proj,
                          const std::string& title) override {
        if (!projection_windows) return nullptr;
        projections.push_back({std::move(record), proj, title});
        return proj;
    }
    bool display(Volume* vol, bool) override {
        displayed.push_back(vol);
        return true;
    }
    void release(Volume* vol) override { released.push_back(vol); }
    bool open_display(int, Volume*, double, int, int, int) override { return true; }
    bool open_plot(const std::string&, const std::vector<float>&) override { return true; }
    std::vector<const Volume*> sectioned;
    bool section_window = true;      // false: the section view cannot be created
    bool open_section_view(Volume* vol) override {
        if (section_window) sectioned.push_back(vol);
        return section_window;
    }
    void readout_changed() override { ++readouts; }
    int labelled_views = 0;
    bool open_labelled_view() override { return ++labelled_views, true; }
    // contour following is tried with the frame window (tests/gui)
    bool open_contour_windows(Volume*, Volume*, const void*[2]) override { return false; }
    void close_contour_windows() override {}
    // the alignment tool's toolbox (how many are open) and the repaints of its view
    int alignment_toolboxes = 0, alignment_repaints = 0;
    bool open_alignment_toolbox() override { return ++alignment_toolboxes, true; }
    void close_alignment_toolbox() override { --alignment_toolboxes; }
    void alignment_changed(void*) override { ++alignment_repaints; }
    // the window is destroyed as a window is: it frees its records and tells its tool
    void close_projection(void* window) override {
        for (auto it = projections.begin(); it != projections.end(); ++it)
            if (it->proj == window) {
                app::alignment_view_destroyed(window);
                DestroyBuffer(it->record->buffer);
                DestroyProjection(it->proj);
                projections.erase(it);
                return;
            }
    }
    bool coordinates_window = true;  // false: the read-out cannot be created
    bool show_coordinates(bool) override { return coordinates_window; }
    void exit() override {}
};

class ShellTest : public ::testing::Test {
protected:
    void SetUp() override {
        app::set_ui(&ui);
        app::set_workspace(&workspace);
        ASSERT_TRUE(app::initialise_application());
    }
    void TearDown() override {
        app::shutdown_application();
        app::set_workspace(nullptr);
        app::set_ui(nullptr);
        app::set_coordinates_shown(false);
    }
    Volume* make(int Z, int Y, int X, int type = 1, int colortype = 1) {
        Volume* v = nullptr;
        EXPECT_EQ(CreateVolumeEx(type, colortype, Z, Y, X, 0, &v), 0);
        return v;
    }

    ScriptedUi ui;
    RecordingWorkspace workspace;
};

}  // namespace t3d
