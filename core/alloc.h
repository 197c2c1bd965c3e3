// The library's C-style allocations: every malloc, calloc and realloc of the library goes
// through these, so that one switch can fail any of them on purpose.
//
// In a normal build they are the C library's functions, nothing more. A build made with
// VEXILO3D_ALLOCATION_HOOK (the allocation-failure test, tests/faults) asks
// v3d_allocation_allowed() first; the test program defines it, together with replacements of
// the global operator new, so that it sees every allocation an operator makes: these blocks,
// make_buffer, std::vector and std::string alike.
#pragma once

#include <cstddef>
#include <cstdlib>

#if defined(VEXILO3D_ALLOCATION_HOOK)
extern "C" bool v3d_allocation_allowed(void) noexcept;
#endif

namespace v3d {

inline bool allocation_allowed() noexcept {
#if defined(VEXILO3D_ALLOCATION_HOOK)
    return v3d_allocation_allowed();
#else
    return true;
#endif
}

inline void* mem_malloc(std::size_t bytes) noexcept {
    return allocation_allowed() ? std::malloc(bytes) : nullptr;
}
inline void* mem_calloc(std::size_t count, std::size_t bytes) noexcept {
    return allocation_allowed() ? std::calloc(count, bytes) : nullptr;
}
// Like realloc: on failure the old block stays as it was.
inline void* mem_realloc(void* block, std::size_t bytes) noexcept {
    return allocation_allowed() ? std::realloc(block, bytes) : nullptr;
}
inline void mem_free(void* block) noexcept { std::free(block); }

}  // namespace v3d
