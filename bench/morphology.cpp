// Binary morphology on the 256^3 noise-and-spheres volume thresholded at 128, one thread, and
// all threads where the second argument is 0.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "bench/noise_spheres.h"
#include "core/parallel.h"

namespace {

constexpr int kSize = 256;

// A cube element of side n, or the 3D cross (centre and its six face neighbours) for n = 0.
void make_element(bench::Volume3& se, int n) {
    Volume* v = se.get();
    for (int z = 0; z < v->Z; ++z)
        for (int y = 0; y < v->Y; ++y)
            for (int x = 0; x < v->X; ++x) {
                const int off = (z != 1) + (y != 1) + (x != 1);
                v->data[0].uc[z][y][x] = n > 0 || off <= 1 ? 255 : 0;
            }
}

void run(benchmark::State& state, int (*op)(Volume*, Volume*, Volume*)) {
    v3d::set_thread_count(state.range(1) ? 1 : 0);
    const int n = static_cast<int>(state.range(0));
    bench::Volume3 in(kSize, kSize, kSize, 1), out(kSize, kSize, kSize, 1);
    bench::Volume3 se(n ? n : 3, n ? n : 3, n ? n : 3, 1);
    bench::fill_spheres_binary(in.get(), 1);
    make_element(se, n);
    for (auto _ : state)
        if (op(in.get(), se.get(), out.get()) != 0) state.SkipWithError("operator failed");
    v3d::set_thread_count(0);
}

void BM_bdilate3d(benchmark::State& s) { run(s, bdilate3d); }
void BM_berode3d(benchmark::State& s) { run(s, berode3d); }
void BM_bopening3d(benchmark::State& s) { run(s, bopening3d); }
void BM_bclosing3d(benchmark::State& s) { run(s, bclosing3d); }
void BM_MinkowskiAddition3d(benchmark::State& s) { run(s, MinkowskiAddition3d); }
void BM_MinkowskiSubtraction3d(benchmark::State& s) { run(s, MinkowskiSubtraction3d); }

// The binary check every operator makes of its input, on one thread or two, beside its floor:
// a plain read of the same bytes (a sum of 8-byte words per frame) on as many threads.
void BM_CheckIfUCBinary(benchmark::State& state) {
    v3d::set_thread_count(static_cast<int>(state.range(0)));
    bench::Volume3 in(kSize, kSize, kSize, 1);
    bench::fill_spheres_binary(in.get(), 1);
    for (auto _ : state) benchmark::DoNotOptimize(CheckIfUCBinary(in.get()));
    v3d::set_thread_count(0);
}
BENCHMARK(BM_CheckIfUCBinary)->Arg(1)->Arg(2)->ArgName("threads")->Unit(benchmark::kMillisecond)->UseRealTime();

// The sum of a frame's 8-byte words, built for AVX2 as well, like the binary check.
__attribute__((target_clones("avx2", "default"))) uint64_t frame_sum(unsigned char* const* rows, int ny, int nx) {
    uint64_t sum = 0;
    for (int y = 0; y < ny; ++y)
        for (int x = 0; x + 8 <= nx; x += 8) {
            uint64_t word;
            std::memcpy(&word, rows[y] + x, sizeof word);
            sum += word;
        }
    return sum;
}

void BM_read_floor(benchmark::State& state) {
    v3d::set_thread_count(static_cast<int>(state.range(0)));
    bench::Volume3 in(kSize, kSize, kSize, 1);
    bench::fill_spheres_binary(in.get(), 1);
    std::vector<uint64_t> frame_sums(kSize);
    unsigned char*** v = in.get()->data[0].uc;
    for (auto _ : state) {
        v3d::parallel_for(0, kSize, [&](int z) { frame_sums[z] = frame_sum(v[z], kSize, kSize); });
        benchmark::DoNotOptimize(frame_sums.data());
        benchmark::ClobberMemory();
    }
    v3d::set_thread_count(0);
}
BENCHMARK(BM_read_floor)->Arg(1)->Arg(2)->ArgName("threads")->Unit(benchmark::kMillisecond)->UseRealTime();

// arguments: cube side (0 = the 3x3x3 cross), one thread (1) or all (0)
#define V3D_MORPHOLOGY_BENCH(f, ...) \
    BENCHMARK(BM_##f)->ArgNames({"cube", "one_thread"}) __VA_ARGS__->Unit(benchmark::kMillisecond)->UseRealTime()
V3D_MORPHOLOGY_BENCH(bdilate3d, ->Args({3, 1})->Args({5, 1})->Args({0, 1})->Args({3, 0}));
V3D_MORPHOLOGY_BENCH(berode3d, ->Args({3, 1})->Args({5, 1})->Args({0, 1})->Args({3, 0}));
V3D_MORPHOLOGY_BENCH(bopening3d, ->Args({3, 1})->Args({3, 0}));
V3D_MORPHOLOGY_BENCH(bclosing3d, ->Args({3, 1})->Args({3, 0}));
V3D_MORPHOLOGY_BENCH(MinkowskiAddition3d, ->Args({3, 1}));
V3D_MORPHOLOGY_BENCH(MinkowskiSubtraction3d, ->Args({3, 1}));

}  // namespace

BENCHMARK_MAIN();
