#include "core/parallel.h"

#include <atomic>
#include <cstdlib>
#include <thread>

namespace v3d {
namespace {

int threads_from_environment() {
    if (const char* s = std::getenv("VEXILO3D_THREADS")) {
        const int n = std::atoi(s);
        if (n >= 1) return n > 256 ? 256 : n;
    }
    const unsigned hw = std::thread::hardware_concurrency();
    return hw ? static_cast<int>(hw) : 1;
}

std::atomic<int> g_threads{0};  // 0: not read yet

}  // namespace

int thread_count() {
    int n = g_threads.load(std::memory_order_relaxed);
    if (n == 0) {
        n = threads_from_environment();
        g_threads.store(n, std::memory_order_relaxed);
    }
    return n;
}

void set_thread_count(int n) { g_threads.store(n >= 1 ? n : 0, std::memory_order_relaxed); }

void start_threads() {
#if defined(_OPENMP)
    const int threads = thread_count();
    if (threads <= 1) return;
    int started = 0;
#pragma omp parallel num_threads(threads)
    {
#pragma omp atomic
        ++started;
    }
    (void)started;
#endif
}

}  // namespace v3d
