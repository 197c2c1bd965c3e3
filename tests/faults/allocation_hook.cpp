// The allocations of the library, counted and failed on request: the library's own hook (its C
// allocations, core/alloc.h) and replacements of the global operator new, so that make_buffer,
// std::vector and std::string inside an operator are seen as well. Only allocations made while
// a count is armed take part; the counters are atomic because operators may run on threads.
#include "allocation_hook.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace faults {
namespace {

std::atomic<bool> g_armed{false};
std::atomic<long> g_seen{0};
long g_fail_at = 0;  // 1-based; 0: none
bool g_from_then_on = false;

}  // namespace

void arm(long fail_at, bool from_then_on) {
    g_seen = 0;
    g_fail_at = fail_at;
    g_from_then_on = from_then_on;
    g_armed = true;
}

long disarm() {
    g_armed = false;
    return g_seen;
}

bool allowed() noexcept {
    if (!g_armed.load(std::memory_order_relaxed)) return true;
    const long n = ++g_seen;
    return g_fail_at == 0 || (g_from_then_on ? n < g_fail_at : n != g_fail_at);
}

}  // namespace faults

extern "C" bool v3d_allocation_allowed(void) noexcept { return faults::allowed(); }

namespace {

void* allocate(std::size_t n) noexcept { return faults::allowed() ? std::malloc(n ? n : 1) : nullptr; }

void* allocate_or_throw(std::size_t n) {
    if (void* p = allocate(n)) return p;
    throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t n) { return allocate_or_throw(n); }
void* operator new[](std::size_t n) { return allocate_or_throw(n); }
void* operator new(std::size_t n, const std::nothrow_t&) noexcept { return allocate(n); }
void* operator new[](std::size_t n, const std::nothrow_t&) noexcept { return allocate(n); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { std::free(p); }
