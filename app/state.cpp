// Application-wide state, start-up defaults and the orderly shutdown.
#include "app/state.h"

#include <cstdio>
#include <filesystem>

#include "app/modules.h"
#include "app/services.h"
#include "app/tools/alignment.h"
#include "app/tools/contour.h"
#include "app/tools/labelled_view.h"
#include "res/strings.h"

namespace app {

namespace {
UserInterface* g_ui = nullptr;
Workspace* g_workspace = nullptr;
AppState g_state;
int g_projection_types[2] = {-1, -1};

// Notices of the library (the restricted edition's refusal) become a warning box.
void library_notice(int code) {
    ui().show_message(res::text(code), res::text(res::kCaption), Icon::Warning);
}
}  // namespace

UserInterface& ui() { return *g_ui; }

namespace {
int g_wait_depth = 0;
}  // namespace

WaitCursor::WaitCursor() {
    if (g_wait_depth++ == 0) ui().set_wait(true);
}
WaitCursor::~WaitCursor() {
    if (--g_wait_depth == 0) ui().set_wait(false);
}
int WaitCursor::depth() { return g_wait_depth; }
void set_ui(UserInterface* ui) { g_ui = ui; }
Workspace* workspace() { return g_workspace; }
void set_workspace(Workspace* workspace) { g_workspace = workspace; }
AppState& state() { return g_state; }

bool initialise_application() {
    AppState& s = g_state;
    s = AppState{};
    SetDefaultImageSize(s.image_height, s.image_width);
    SetMessageHook(library_notice);
    std::error_code error;
    s.start_directory = std::filesystem::current_path(error).string();
    if (error) {
        error_handler(res::kInitialisationError);
        return false;
    }
    // coefficient files given without a directory are read from here
    SetStartDirectory(s.start_directory.c_str());
    if (!AllocateVolumeTable()) {
        error_handler(res::kNotEnoughMemory);
        return false;
    }
    s.levels[0].assign(s.grey_levels, 0);
    s.levels[1].assign(s.grey_levels, 0);
    g_projection_types[0] = RegisterProjectionType();
    g_projection_types[1] = RegisterProjectionType();
    return true;
}

void shutdown_application() {
    // the tools that hold volumes end before the volumes go
    contour_following().end();
    alignment().end();
    labelled_view().close();
    ReleaseVolumeTable();
    SetMessageHook(nullptr);
    forget_modules();
}

void reset_all_vois() {
    for (int i = 0; i < 100; ++i) {
        Volume* v = GetVolumeByIndex(i);
        if (v && v->type) fill_in_VOI(v, 0, v->Z, 0, v->Y, 0, v->X);
    }
}

int gallery_projection_type() { return g_projection_types[0]; }
int alignment_projection_type() { return g_projection_types[1]; }

std::string display_title(int index, int first, int last, int current) {
    return res::format(res::kDisplayTitle, index, first, last, current);
}

}  // namespace app
