// Basic operations on a 256^3 UC volume, reported as bytes per second.
#include <benchmark/benchmark.h>

#include "bench/volumes.h"
#include "core/parallel.h"

namespace {

void BM_CopyVolume(benchmark::State& state) {
    v3d::set_thread_count(static_cast<int>(state.range(0)));
    bench::Volume3 in(256, 256, 256, 1), out(256, 256, 256, 1);
    bench::fill_noise(in.get(), 1);
    for (auto _ : state) benchmark::DoNotOptimize(CopyVolume(in.get(), out.get(), 0, 0, 0));
    state.SetBytesProcessed(state.iterations() * 256LL * 256 * 256 * 2);  // read + write
    v3d::set_thread_count(0);
}
BENCHMARK(BM_CopyVolume)->Arg(1)->Arg(0)->ArgName("threads(0=all)")->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ClearVolume(benchmark::State& state) {
    v3d::set_thread_count(static_cast<int>(state.range(0)));
    bench::Volume3 vol(256, 256, 256, 1);
    const float value = 17.0f;
    for (auto _ : state) benchmark::DoNotOptimize(ClearVolume(vol.get(), &value));
    state.SetBytesProcessed(state.iterations() * 256LL * 256 * 256);
    v3d::set_thread_count(0);
}
BENCHMARK(BM_ClearVolume)->Arg(1)->Arg(0)->ArgName("threads(0=all)")->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
