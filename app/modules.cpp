// The module loader and router.
#include "app/modules.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <new>
#include <vector>

#include "app/messages.h"
#include "app/services.h"
#include "app/shared_library.h"
#include "app/workspace.h"
#include "res/strings.h"

namespace app {
namespace {

namespace lib = shared_library;

struct SaveModule {
    Vexilo3DSaveVolumeFn save_volume = nullptr;
    Vexilo3DSaveBufferFn save_buffer = nullptr;
};

Vexilo3DModule* g_modules = nullptr;
// Every record ever handed to a module, also those that did not make it into the list: a
// module keeps the address, so it is never given to another one.
std::vector<std::unique_ptr<Vexilo3DModule>> g_records;
int g_next_id = 0;
SaveModule g_save;
bool g_save_loaded = false;
char g_directory[kMaxModulePath];

// What the search pattern adds to the directory: a separator, "*.dll" and the terminating zero.
constexpr size_t kPatternLength = 7;

template <class F> F entry(void* library, const char* name) {
    return reinterpret_cast<F>(lib::symbol(library, name));
}

void message_result(intptr_t handled, intptr_t result) {
    info_block().message_handled = handled;
    info_block().message_result = result;
}

std::string lower_case(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

bool ends_with(const std::string& s, const std::string& end) {
    return s.size() > end.size() && s.compare(s.size() - end.size(), end.size(), end) == 0;
}

// The shared libraries of directory, by name. The suffix is matched in any letter case, as
// the platform's "*.dll" matches on Windows; the files are loaded by their own names (Linux
// names are case-sensitive).
std::vector<std::filesystem::path> libraries_in(const std::string& directory) {
    std::vector<std::filesystem::path> found;
    std::error_code error;
    for (const auto& e : std::filesystem::directory_iterator(directory, error)) {
        std::error_code kind;
        if (e.is_regular_file(kind) && ends_with(lower_case(e.path().filename().string()), lib::suffix()))
            found.push_back(e.path());
    }
    std::sort(found.begin(), found.end());
    return found;
}

// The save module: both entries, or the library goes again.
void load_save_module(const std::string& path) {
    void* library = lib::open(path);
    if (!library) return;
    const SaveModule m{entry<Vexilo3DSaveVolumeFn>(library, VEXILO3D_ENTRY_SAVE_VOLUME),
                       entry<Vexilo3DSaveBufferFn>(library, VEXILO3D_ENTRY_SAVE_BUFFER)};
    if (!m.save_volume || !m.save_buffer) {
        lib::close(library);
        return;
    }
    g_save = m;
    g_save_loaded = true;
    if (workspace()) workspace()->enable_save();
}

// The first call's handler joins list A (projection windows), the second call's list B.
bool register_handlers(void* library) {
    auto get = entry<Vexilo3DDLLReturnMessageHandlerFn>(library, VEXILO3D_ENTRY_MESSAGE_HANDLER);
    if (!get) {
        error_handler(res::kModuleFailed);
        return false;
    }
    try {
        for (HandlerList list : {HandlerList::Projections, HandlerList::Displays})
            if (Vexilo3DMessageHandler handler = get(message_result))
                message_handlers(list).push_front(handler);
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
}

// "-" first: a separator before the item; then "!": the item is greyed.
Workspace::ModuleItem menu_item(const char* text, int id) {
    Workspace::ModuleItem item;
    item.id = id;
    if (*text == '-') item.separator_before = true, ++text;
    if (*text == '!') item.greyed = true, ++text;
    item.text = text;
    return item;
}

bool register_menu(void* library) {
    auto get_menu = entry<Vexilo3DDLLReturnMenuFn>(library, VEXILO3D_ENTRY_MENU);
    if (!get_menu) {
        error_handler(res::kModuleFailed);
        return false;
    }
    Vexilo3DModule* record = nullptr;
    try {
        g_records.push_back(std::make_unique<Vexilo3DModule>());
        record = g_records.back().get();
    } catch (const std::bad_alloc&) {
        error_handler(res::kModuleFailed);
        return false;
    }
    const char* const* texts = get_menu(record);
    if (!texts) return true;  // handlers only
    const int first = g_next_id;
    std::vector<Workspace::ModuleItem> items;
    for (; *texts; ++texts) items.push_back(menu_item(*texts, g_next_id++));
    const char* title = texts[1] ? texts[1] : "";
    void* popup = nullptr;
    if (workspace() && workspace()->install_modules_menu())
        popup = workspace()->append_module_popup(title, items);
    auto get_handler = entry<Vexilo3DDLLReturnCmdHandlerFn>(library, VEXILO3D_ENTRY_COMMAND_HANDLER);
    if (!get_handler) {
        error_handler(res::kModuleFailed);  // the popup stays, without a record
        return false;
    }
    *record = {popup, first, g_next_id, get_handler(), g_modules};
    g_modules = record;
    return true;
}

const Vexilo3DModule* find_module(const Vexilo3DModule* record) {
    for (const Vexilo3DModule* m = g_modules; m; m = m->next)
        if (m == record) return m;
    return nullptr;
}

}  // namespace

void load_modules(const std::string& directory) {
    if (directory.size() + kPatternLength >= kMaxModulePath) {
        error_handler(res::kBadDimensions);
        return;
    }
    std::snprintf(g_directory, sizeof g_directory, "%s", directory.c_str());
    info_block().working_directory = g_directory;
    const std::string save_module = std::string("save3d") + lib::suffix();
    for (const std::filesystem::path& path : libraries_in(directory)) {
        const std::string file = path.string();
        if (lower_case(path.filename().string()) == save_module) {
            load_save_module(file);
            continue;
        }
        // the program's own volume library may lie in the same directory
        if (lib::holds(file, reinterpret_cast<const void*>(&CreateVolume))) continue;
        void* library = lib::open(file);
        if (!library) continue;
        // a module that fails stays loaded
        if (register_handlers(library)) register_menu(library);
    }
}

const Vexilo3DModule* module_list() { return g_modules; }

int next_module_command_id() { return g_next_id; }

bool route_module_command(int id, int& result) {
    for (const Vexilo3DModule* m = g_modules; m; m = m->next)
        if (m->first_id <= id && id < m->end_id) {
            result = m->handler ? m->handler(id - m->first_id) : 0;
            return true;
        }
    return false;
}

bool save_module_loaded() { return g_save_loaded; }

int module_save_volume() { return g_save_loaded ? g_save.save_volume() : 0; }

void module_save_buffer(Buffer* buffer) {
    if (g_save_loaded && buffer) g_save.save_buffer(buffer);
}

void forget_modules() {
    message_handlers(HandlerList::Projections).clear();
    message_handlers(HandlerList::Displays).clear();
    g_modules = nullptr;
    g_records.clear();
    g_next_id = 0;
    g_save = {};
    g_save_loaded = false;
    info_block().message_handled = info_block().message_result = 0;
}

}  // namespace app

using namespace app;

extern "C" {

Vexilo3DInfo* GetVexilo3DInfo(void) {
    Vexilo3DInfo& info = info_block();
    if (workspace()) {
        info.frame_window = workspace()->frame_handle();
        info.client_window = workspace()->client_handle();
    }
    return &info;
}

void SetMenuItemState(Vexilo3DModule* record, int index, unsigned state) {
    const Vexilo3DModule* m = find_module(record);
    if (!m || index < 0 || m->first_id + index >= m->end_id || !workspace()) return;
    workspace()->set_module_item_state(m->first_id + index, state);
}

}  // extern "C"
