// The platform's shared libraries, for the module loader: dlopen/dlsym/dlclose, or
// LoadLibrary/GetProcAddress/FreeLibrary on Windows.
#pragma once

#include <string>

namespace app::shared_library {

// The file suffix of a shared library here: ".so", ".dll" or ".dylib".
const char* suffix();
// Loads the library at path with every reference resolved now; null when it cannot be loaded.
void* open(const std::string& path);
// The address of an exported name, null when there is none.
void* symbol(void* library, const char* name);
void close(void* library);
// True when path is the file of the library that holds the code at address (the program's
// own volume library, which lies next to the program, is not a module).
bool holds(const std::string& path, const void* address);

}  // namespace app::shared_library
