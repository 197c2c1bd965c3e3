// Segmentation and labelling, single thread, on a 256^3 UC volume: uniform noise 0..127 with a
// dozen bright spheres of noise 160..223 (threshold 128 gives exactly the spheres).
#include <benchmark/benchmark.h>

#include <vector>

#include "bench/volumes.h"
#include "core/parallel.h"

namespace {

constexpr int kSize = 256;

struct Sphere {
    int z, y, x, radius;
};

// Twelve spheres of radius 14..29 placed reproducibly inside the volume.
std::vector<Sphere> spheres() {
    std::vector<Sphere> list;
    uint32_t s = 977;
    for (int i = 0; i < 12; ++i) {
        const int radius = 14 + static_cast<int>(bench::next_random(s) % 16);
        auto centre = [&] { return radius + static_cast<int>(bench::next_random(s) % (kSize - 2 * radius)); };
        const int z = centre(), y = centre(), x = centre();
        list.push_back({z, y, x, radius});
    }
    return list;
}

void fill_spheres(Volume* v) {
    uint32_t s = 4242;
    for (int z = 0; z < v->Z; ++z)
        for (int y = 0; y < v->Y; ++y)
            for (int x = 0; x < v->X; ++x) v->data[0].uc[z][y][x] = bench::next_random(s) & 127;
    for (const Sphere& b : spheres())
        for (int z = b.z - b.radius; z <= b.z + b.radius; ++z)
            for (int y = b.y - b.radius; y <= b.y + b.radius; ++y)
                for (int x = b.x - b.radius; x <= b.x + b.radius; ++x) {
                    const int dz = z - b.z, dy = y - b.y, dx = x - b.x;
                    if (dz * dz + dy * dy + dx * dx <= b.radius * b.radius)
                        v->data[0].uc[z][y][x] = 160 + (bench::next_random(s) & 63);
                }
}

// The test volume, made once.
Volume* scene() {
    static bench::Volume3 vol(kSize, kSize, kSize, 1);
    static const bool filled = (fill_spheres(vol.get()), true);
    (void)filled;
    return vol.get();
}

void BM_threshold_3d(benchmark::State& state) {
    v3d::set_thread_count(1);
    bench::Volume3 out(kSize, kSize, kSize, 1);
    for (auto _ : state) benchmark::DoNotOptimize(threshold_3d(scene(), out.get(), 128));
    state.SetBytesProcessed(state.iterations() * kSize * kSize * kSize * 2LL);
}
BENCHMARK(BM_threshold_3d)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_grass3d_label(benchmark::State& state) {
    v3d::set_thread_count(1);
    bench::Volume3 binary(kSize, kSize, kSize, 1), work(kSize, kSize, kSize, 1),
        out(kSize, kSize, kSize, 1);
    threshold_3d(scene(), binary.get(), 128);
    std::vector<float> counts(255);
    int labels = 0;
    for (auto _ : state) {
        state.PauseTiming();
        CopyVolume(binary.get(), work.get(), 0, 0, 0);  // labelling consumes its input
        state.ResumeTiming();
        benchmark::DoNotOptimize(grass3d_label(work.get(), out.get(), &labels, counts.data(), 255));
    }
    state.counters["labels"] = labels;
}
BENCHMARK(BM_grass3d_label)->Unit(benchmark::kMillisecond)->UseRealTime();

// Seeds at the sphere centres (arg 0), or one seed in the background that floods all of it
// (arg 1, tolerance 127).
void BM_region3d_grow(benchmark::State& state) {
    v3d::set_thread_count(1);
    bench::Volume3 out(kSize, kSize, kSize, 1);
    const bool background = state.range(0) == 1;
    for (auto _ : state) {
        state.PauseTiming();
        const float zero = 0;
        ClearVolume(out.get(), &zero);
        if (background) out.get()->data[0].uc[kSize / 2][1][kSize / 2] = 1;
        else
            for (const Sphere& b : spheres()) out.get()->data[0].uc[b.z][b.y][b.x] = 1;
        state.ResumeTiming();
        benchmark::DoNotOptimize(region3d_grow(scene(), out.get(), 255, background ? 127 : 40));
    }
}
BENCHMARK(BM_region3d_grow)->Arg(0)->Arg(1)->ArgName("background")->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_region3d_merge(benchmark::State& state) {
    v3d::set_thread_count(1);
    bench::Volume3 out(kSize, kSize, kSize, 1);
    int regions = 0;
    for (auto _ : state) benchmark::DoNotOptimize(regions = region3d_merge(scene(), out.get(), static_cast<int>(state.range(0)), 255));
    state.counters["regions"] = regions;
}
BENCHMARK(BM_region3d_merge)->Arg(8)->Arg(16)->Arg(40)->ArgName("tolerance")->Unit(benchmark::kMillisecond)->UseRealTime();

template <int (*Split)(Volume*, Volume*, int*, int)>
void BM_split(benchmark::State& state) {
    v3d::set_thread_count(1);
    bench::Volume3 out(kSize, kSize, kSize, 1);
    int count = 0;
    for (auto _ : state) {
        state.PauseTiming();
        const float zero = 0;
        ClearVolume(out.get(), &zero);  // split-merge wants a zeroed output
        count = 0;
        state.ResumeTiming();
        benchmark::DoNotOptimize(Split(scene(), out.get(), &count, static_cast<int>(state.range(0))));
    }
    state.counters["regions"] = count;
}
BENCHMARK(BM_split<region3d_split>)->Name("BM_region3d_split")->Arg(40)->Arg(127)->ArgName("tolerance")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_split<region3d_splitmerge>)->Name("BM_region3d_splitmerge")->Arg(40)->Arg(127)->ArgName("tolerance")->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
