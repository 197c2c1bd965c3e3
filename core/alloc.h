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
#include <cstdint>
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

// Large zeroed blocks straight from the system (Linux), from a 2 MB boundary on and advised onto
// huge pages: creating and dropping megabytes of work memory then costs a few page faults
// instead of thousands, and nothing of it lingers in the heap between calls. Blocks from
// kMappedBytes on are worth it. mem_map_zeroed gives null when the system refuses (and always
// elsewhere: callers then take the heap); mem_unmap gives back what it mapped.
struct Mapping {
    void* base = nullptr;
    std::size_t length = 0;
};
constexpr std::size_t kMappedBytes = std::size_t{4} << 20;
void* mem_map_zeroed(std::size_t bytes, Mapping* mapping) noexcept;
void mem_unmap(const Mapping& mapping) noexcept;

// Zeroed work memory for n values: mapped when large, else from the heap.
template <class T> class ZeroedBuffer {
public:
    ZeroedBuffer() = default;
    ZeroedBuffer(const ZeroedBuffer&) = delete;
    ZeroedBuffer& operator=(const ZeroedBuffer&) = delete;
    ~ZeroedBuffer() { mapping_.base ? mem_unmap(mapping_) : mem_free(data_); }

    bool make(std::size_t n) noexcept {
        if (n > SIZE_MAX / sizeof(T)) return false;
        const std::size_t bytes = n * sizeof(T);
        data_ = static_cast<T*>(bytes >= kMappedBytes ? mem_map_zeroed(bytes, &mapping_) : nullptr);
        if (!data_) data_ = static_cast<T*>(mem_calloc(n, sizeof(T)));
        return data_ != nullptr;
    }
    T* get() const { return data_; }

private:
    T* data_ = nullptr;
    Mapping mapping_;
};

}  // namespace v3d
