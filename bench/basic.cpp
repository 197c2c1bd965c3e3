// Basic operations on a 256^3 UC volume, reported as bytes per second: the copy and the clear
// that bound every streaming operator, and the threshold, the simplest streaming operator, in
// the same process.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "bench/volumes.h"
#include "core/parallel.h"

namespace {

constexpr long long kVoxels = 256LL * 256 * 256;

void BM_CopyVolume(benchmark::State& state) {
    v3d::set_thread_count(static_cast<int>(state.range(0)));
    bench::Volume3 in(256, 256, 256, 1), out(256, 256, 256, 1);
    bench::fill_noise(in.get(), 1);
    for (auto _ : state) benchmark::DoNotOptimize(CopyVolume(in.get(), out.get(), 0, 0, 0));
    state.SetBytesProcessed(state.iterations() * kVoxels * 2);  // read + write
    v3d::set_thread_count(0);
}
BENCHMARK(BM_CopyVolume)->Arg(1)->Arg(0)->ArgName("threads(0=all)")->Unit(benchmark::kMillisecond)->UseRealTime();

// One memcpy of the same number of bytes between two contiguous blocks: what the C library
// makes of it, for comparison.
void BM_memcpy(benchmark::State& state) {
    std::vector<unsigned char> in(kVoxels, 7), out(kVoxels);
    for (auto _ : state) {
        std::memcpy(out.data(), in.data(), in.size());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * kVoxels * 2);
}
BENCHMARK(BM_memcpy)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ClearVolume(benchmark::State& state) {
    v3d::set_thread_count(static_cast<int>(state.range(0)));
    bench::Volume3 vol(256, 256, 256, 1);
    const float value = 17.0f;
    for (auto _ : state) benchmark::DoNotOptimize(ClearVolume(vol.get(), &value));
    state.SetBytesProcessed(state.iterations() * kVoxels);
    v3d::set_thread_count(0);
}
BENCHMARK(BM_ClearVolume)->Arg(1)->Arg(0)->ArgName("threads(0=all)")->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_threshold_3d(benchmark::State& state) {
    v3d::set_thread_count(static_cast<int>(state.range(0)));
    bench::Volume3 in(256, 256, 256, 1), out(256, 256, 256, 1);
    bench::fill_structure_noise(in.get(), 7);
    for (auto _ : state) benchmark::DoNotOptimize(threshold_3d(in.get(), out.get(), 128));
    state.SetBytesProcessed(state.iterations() * kVoxels * 2);  // read + write
    v3d::set_thread_count(0);
}
BENCHMARK(BM_threshold_3d)->Arg(1)->Arg(0)->ArgName("threads(0=all)")->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
