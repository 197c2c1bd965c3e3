// The transforms built on the Fourier transform: the cosine transform, convolution, correlation
// and the Blackman-Tukey power spectrum, on F volumes, one thread and every thread. They spend
// most of their time in fft3d (bench_fft); their peers (scipy.fft.dctn, scipy.signal.fftconvolve
// and correlate) run beside them on the same arrays in bench/python_peers_transforms_io.py.
#include <benchmark/benchmark.h>

#include "bench/volumes.h"
#include "core/parallel.h"

namespace {

// args: edge of the cubic input, threads (0 = all)
template <class Run> void run(benchmark::State& state, int out_edge, Run&& transform) {
    v3d::set_thread_count(static_cast<int>(state.range(1)));
    const int n = static_cast<int>(state.range(0));
    bench::Volume3 in(n, n, n, 2), out(out_edge, out_edge, out_edge, 2);
    bench::fill_reals(in.get(), 1);
    for (auto _ : state)
        if (transform(in.get(), out.get()) != 0) state.SkipWithError("the transform failed");
    v3d::set_thread_count(0);
}

void BM_DCT3d(benchmark::State& state) {
    run(state, static_cast<int>(state.range(0)), [](Volume* in, Volume* out) { return DCT3d(in, out, 0, 0, 0); });
}

// Convolution and correlation with a 9^3 kernel: the full result of n + 8 per axis, through
// transforms of the next power of two.
template <int (*Op)(Volume*, Volume*, Volume*, int, int, int)> void BM_with_kernel(benchmark::State& state) {
    bench::Volume3 kernel(9, 9, 9, 2);
    bench::fill_reals(kernel.get(), 2);
    run(state, static_cast<int>(state.range(0)) + 8,
        [&](Volume* in, Volume* out) { return Op(in, kernel.get(), out, 0, 0, 0); });
}

void BM_blackman_tukey_psd3d(benchmark::State& state) {
    run(state, static_cast<int>(state.range(0)),
        [](Volume* in, Volume* out) { return blackman_tukey_psd3d(in, out, 0.1f, 0.1f, 0.1f, 0, 0, 0); });
}

#define TRANSFORM_BENCH(f, name) \
    BENCHMARK(f)->Name(name)->ArgsProduct({{64, 128}, {1, 0}})->ArgNames({"n", "threads(0=all)"}) \
        ->Unit(benchmark::kMillisecond)->UseRealTime()
TRANSFORM_BENCH(BM_DCT3d, "BM_DCT3d");
TRANSFORM_BENCH(BM_with_kernel<convolution3>, "BM_convolution3_k9");
TRANSFORM_BENCH(BM_with_kernel<correlation3d>, "BM_correlation3d_k9");
TRANSFORM_BENCH(BM_blackman_tukey_psd3d, "BM_blackman_tukey_psd3d");

}  // namespace

BENCHMARK_MAIN();
