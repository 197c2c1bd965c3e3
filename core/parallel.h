// parallel_for: split independent iterations over the library's threads.
//
// Operators use it only where input and output are different volumes and every iteration
// writes its own voxels, so the result is bit-identical to a single-threaded run. The thread
// count comes from VEXILO3D_THREADS (default: every core); 1 runs serially.
#pragma once

namespace v3d {

// The number of threads operators may use (read once from VEXILO3D_THREADS).
int thread_count();
// Overrides the count (tests and benchmarks compare 1 thread with many); 0 restores the default.
void set_thread_count(int n);

// Calls f(i) for every i in [begin, end), spread over thread_count() threads.
template <class F> void parallel_for(int begin, int end, F&& f) {
    const int threads = thread_count();
    if (threads <= 1 || end - begin <= 1) {
        for (int i = begin; i < end; ++i) f(i);
        return;
    }
#if defined(_OPENMP)
#pragma omp parallel for num_threads(threads) schedule(dynamic, 1)
    for (int i = begin; i < end; ++i) f(i);
#else
    for (int i = begin; i < end; ++i) f(i);
#endif
}

}  // namespace v3d
