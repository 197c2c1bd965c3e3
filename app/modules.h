// Plug-in modules: the start-up scan that loads them, the command router, the save module, and
// the services of include/vexilo3d_module.h that concern them (GetVexilo3DInfo,
// SetMenuItemState). Menus go through the workspace; nothing here knows Qt.
#pragma once

#include <string>

#include "vexilo3d_module.h"

// A module's record: its popup and the command ids of its items [first_id, end_id), with the
// handler they reach. Records are kept in a list, newest first; a record's address is the
// module's identity.
struct Vexilo3DModule {
    void* popup = nullptr;
    int first_id = 0;
    int end_id = 0;
    Vexilo3DCommandHandler handler = nullptr;
    Vexilo3DModule* next = nullptr;
};

namespace app {

// Longest start directory the scan takes (with the pattern it appends), as the original's path
// buffer: a longer one is message 7001 and no module is loaded.
inline constexpr int kMaxModulePath = 260;

// Loads every shared library of directory: "save3d" (any letter case) as the save module, the
// others as modules (message handlers, then menu and command handler), in name order.
void load_modules(const std::string& directory);

// The module list, newest first (null when no module gave a menu).
const Vexilo3DModule* module_list();
// The command id the next module item gets.
int next_module_command_id();

// Hands command id to the first module whose items hold it, with the item's index; true (and
// the handler's result) when one did. Other ids are ignored.
bool route_module_command(int id, int& result);

// The save module: whether one is loaded, and its two entries (0 / nothing when none is).
bool save_module_loaded();
int module_save_volume();
void module_save_buffer(Buffer* buffer);

// Forgets the records, handler lists, command-id counter and save module (the libraries stay
// loaded): the end of the workstation, and a fresh start for each test.
void forget_modules();

}  // namespace app
