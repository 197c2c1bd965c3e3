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

// Builds the team of thread_count() threads once, up front (the volume table's allocation
// calls it), so that no operator is the first to need it: the OpenMP runtime ends the process
// when it cannot allocate while it builds a team, and later regions of the same size reuse it.
void start_threads();

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

// The number of blocks for parallel_blocks: one per thread (at most one per iteration) when
// parallel is true, else 1.
inline int block_count(int begin, int end, bool parallel) {
    const int n = end - begin, threads = parallel ? thread_count() : 1;
    return n < 1 ? 1 : (threads < n ? threads : n);
}

// Splits [begin, end) into `blocks` contiguous runs and calls f(block, run_begin, run_end)
// for each, the runs spread over the threads. A block index lets each run own a scratch
// buffer allocated before the work; with one block f runs once, in order, on this thread.
template <class F> void parallel_blocks(int begin, int end, int blocks, F&& f) {
    const long long n = end - begin;
    parallel_for(0, blocks, [&](int b) {
        f(b, begin + static_cast<int>(n * b / blocks), begin + static_cast<int>(n * (b + 1) / blocks));
    });
}

}  // namespace v3d
