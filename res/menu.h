// The menu "Menu3d": top-level popups with their items (by command id) and separators. Item
// texts come from the command table.
#pragma once

namespace res {

struct MenuEntry {
    enum Kind { Popup, Item, Separator, End } kind;
    int id;                 // command id of an Item
    const char* text;       // title of a Popup
};

extern const MenuEntry kMenu3d[];
// The fourth top-level popup, where the modules put theirs.
inline constexpr char kModulesMenu[] = "&Modules";
extern const int kMenu3dSize;

}  // namespace res
