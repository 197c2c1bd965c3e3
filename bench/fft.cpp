// Forward 3D complex transform of F volumes (separate real and imaginary parts), one thread,
// against FFTW 3 (fftwf, FFTW_MEASURE, one thread, planning excluded) on the same split layout
// in the same run. The ratio of the two medians is the figure of merit.
#include <benchmark/benchmark.h>
#include <fftw3.h>

#include "bench/volumes.h"
#include "core/parallel.h"

namespace {

void BM_fft3d(benchmark::State& state) {
    v3d::set_thread_count(1);
    const int Z = static_cast<int>(state.range(0)), Y = static_cast<int>(state.range(1)),
              X = static_cast<int>(state.range(2));
    bench::Volume3 re(Z, Y, X, 2), im(Z, Y, X, 2), ore(Z, Y, X, 2), oim(Z, Y, X, 2);
    bench::fill_reals(re.get(), 1);
    bench::fill_reals(im.get(), 2);
    for (auto _ : state)
        if (fft3d(re.get(), im.get(), ore.get(), oim.get(), 0, 0, 0, 0) != 0)
            state.SkipWithError("fft3d failed");
    v3d::set_thread_count(0);
}

// FFTW's split-array interface: the guru planner with separate real and imaginary arrays.
void BM_fftw(benchmark::State& state) {
    const int Z = static_cast<int>(state.range(0)), Y = static_cast<int>(state.range(1)),
              X = static_cast<int>(state.range(2));
    const size_t n = static_cast<size_t>(Z) * Y * X;
    float* re = fftwf_alloc_real(n);
    float* im = fftwf_alloc_real(n);
    float* ore = fftwf_alloc_real(n);
    float* oim = fftwf_alloc_real(n);
    fftw_iodim dims[3] = {{Z, Y * X, Y * X}, {Y, X, X}, {X, 1, 1}};
    fftwf_plan plan = fftwf_plan_guru_split_dft(3, dims, 0, nullptr, re, im, ore, oim, FFTW_MEASURE);
    uint32_t s = 12345;
    for (size_t i = 0; i < n; ++i) {
        re[i] = static_cast<float>(bench::next_random(s) % 1000) * 0.01f;
        im[i] = static_cast<float>(bench::next_random(s) % 1000) * 0.01f;
    }
    for (auto _ : state) fftwf_execute_split_dft(plan, re, im, ore, oim);
    fftwf_destroy_plan(plan);
    fftwf_free(re);
    fftwf_free(im);
    fftwf_free(ore);
    fftwf_free(oim);
}

void shapes(benchmark::internal::Benchmark* b) {
    b->Args({128, 128, 128})->Args({256, 256, 256})->Args({64, 128, 256})->Args({512, 512, 64});
    b->Args({64, 512, 512});
    b->ArgNames({"Z", "Y", "X"})->Unit(benchmark::kMillisecond)->UseRealTime();
}
BENCHMARK(BM_fft3d)->Apply(shapes);
BENCHMARK(BM_fftw)->Apply(shapes);

}  // namespace

BENCHMARK_MAIN();

namespace {
// The row-column transform on the same shapes (cubes included), one thread.
void BM_lrcfft3d(benchmark::State& state) {
    const int Z = static_cast<int>(state.range(0)), Y = static_cast<int>(state.range(1)),
              X = static_cast<int>(state.range(2));
    bench::Volume3 re(Z, Y, X, 2), im(Z, Y, X, 2), ore(Z, Y, X, 2), oim(Z, Y, X, 2);
    bench::fill_reals(re.get(), 1);
    bench::fill_reals(im.get(), 2);
    v3d::set_thread_count(1);
    for (auto _ : state) lrcfft3d(re.get(), im.get(), ore.get(), oim.get(), 0, 0, 0, 0);
    v3d::set_thread_count(0);
}
BENCHMARK(BM_lrcfft3d)->Apply(shapes);
}  // namespace
