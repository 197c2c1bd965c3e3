// Edge detection on a 256^3 UC volume (smooth structure plus noise), one thread and all
// threads, beside the plain formulation (one direct mask loop over uc[z][y][x] per voxel).
// items_per_second counts voxels.
#include <benchmark/benchmark.h>

#include "bench/noise_spheres.h"
#include "core/parallel.h"
#include "ops/edges.h"

namespace {

constexpr int kSide = 256;

template <class Run> void run_edges(benchmark::State& state, Run&& run) {
    v3d::set_thread_count(static_cast<int>(state.range(0)));
    bench::Volume3 in(kSide, kSide, kSide, 1), out(kSide, kSide, kSide, 1);
    bench::fill_structure_noise(in.get(), 3);
    for (auto _ : state) benchmark::DoNotOptimize(run(in.get(), out.get()));
    state.SetItemsProcessed(state.iterations() * kSide * kSide * kSide);
    v3d::set_thread_count(0);
}

void BM_Sobel_3D(benchmark::State& s) { run_edges(s, Sobel_3D); }
void BM_laplace_3d(benchmark::State& s) { run_edges(s, laplace_3d); }
void BM_compas3d_45_45(benchmark::State& s) {
    run_edges(s, [](Volume* in, Volume* out) { return compas3d(in, out, 45, 45); });
}
void BM_range_3d_3(benchmark::State& s) {
    run_edges(s, [](Volume* in, Volume* out) { return range_3d(in, out, 3, 3, 3); });
}
void BM_Sobel_plain(benchmark::State& s) {
    run_edges(s, [](Volume* in, Volume* out) { return v3d::edges::sobel_plain(in, out), 0; });
}
void BM_laplace_plain(benchmark::State& s) {
    run_edges(s, [](Volume* in, Volume* out) { return v3d::edges::laplace_plain(in, out), 0; });
}

// Plane detection on 128^3: the surfaces of the spheres of bench/noise_spheres.h (Sobel of the
// thresholded volume, every non-zero voxel an edge: 42922 voxels), 64 elevations x 64
// azimuths x 128 distance cells. Threshold 10 keeps 137 k of the 524 k cells (every edge voxel
// is marked), threshold 3000 about 2400.
void BM_Hough_3D(benchmark::State& state) {
    v3d::set_thread_count(static_cast<int>(state.range(1)));
    constexpr int kN = 128;
    bench::Volume3 spheres(kN, kN, kN, 1), edges(kN, kN, kN, 1), out(kN, kN, kN, 1),
        acc(64, 64, 128, 4);
    bench::fill_spheres_binary(spheres.get(), 1);
    Sobel_3D(spheres.get(), edges.get());
    threshold_3d(edges.get(), edges.get(), 1);
    for (auto _ : state) benchmark::DoNotOptimize(Hough_3D(edges.get(), out.get(), acc.get(), static_cast<int>(state.range(0))));
    long long planes = 0;
    for (int k = 0; k < 64; ++k)
        for (int j = 0; j < 64; ++j)
            for (int c = 0; c < 128; ++c) planes += acc.get()->data[0].i[k][j][c];
    state.counters["planes"] = static_cast<double>(planes);
    v3d::set_thread_count(0);
}
BENCHMARK(BM_Hough_3D)->ArgsProduct({{10, 3000}, {1, 0}})->ArgNames({"threshold", "threads(0=all)"})
    ->Unit(benchmark::kMillisecond)->UseRealTime();

#define EDGE_BENCH(f) \
    BENCHMARK(f)->Arg(1)->Arg(0)->ArgName("threads(0=all)")->Unit(benchmark::kMillisecond)->UseRealTime()
EDGE_BENCH(BM_Sobel_3D);
EDGE_BENCH(BM_laplace_3d);
EDGE_BENCH(BM_compas3d_45_45);
EDGE_BENCH(BM_range_3d_3);
BENCHMARK(BM_Sobel_plain)->Arg(1)->ArgName("threads")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_laplace_plain)->Arg(1)->ArgName("threads")->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
