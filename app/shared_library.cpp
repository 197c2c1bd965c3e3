// The platform shim under the module loader.
#include "app/shared_library.h"

#include <filesystem>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace app::shared_library {

#if defined(_WIN32)

const char* suffix() { return ".dll"; }

void* open(const std::string& path) {
    // no "cannot find a component" box of the system's own: a library that fails is skipped
    const UINT previous = SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
    void* library = LoadLibraryA(path.c_str());
    SetErrorMode(previous);
    return library;
}

void* symbol(void* library, const char* name) {
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}

void close(void* library) { FreeLibrary(static_cast<HMODULE>(library)); }

static std::string file_of(const void* address) {
    HMODULE module = nullptr;
    if (!GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            static_cast<LPCSTR>(address), &module))
        return {};
    char name[MAX_PATH];
    const DWORD n = GetModuleFileNameA(module, name, MAX_PATH);
    return n && n < MAX_PATH ? std::string(name, n) : std::string();
}

#else

const char* suffix() {
#if defined(__APPLE__)
    return ".dylib";
#else
    return ".so";
#endif
}

void* open(const std::string& path) { return dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL); }

void* symbol(void* library, const char* name) { return dlsym(library, name); }

void close(void* library) { dlclose(library); }

static std::string file_of(const void* address) {
    Dl_info info{};
    return dladdr(address, &info) && info.dli_fname ? std::string(info.dli_fname) : std::string();
}

#endif

bool holds(const std::string& path, const void* address) {
    const std::string file = file_of(address);
    std::error_code error;
    return !file.empty() && std::filesystem::equivalent(path, file, error);
}

}  // namespace app::shared_library
