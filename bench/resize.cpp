// Resizing, interpolation and rotation of the noise-and-spheres volume (128^3 -> 256^3 and
// other factors, 256^3 turned), one thread and all threads (argument 1 or 0), beside a copy of
// the 256^3 volume in the same process (the floor of writing 256^3 voxels from memory).
#include <benchmark/benchmark.h>

#include "bench/noise_spheres.h"
#include "core/parallel.h"

namespace {

struct Volumes {
    bench::Volume3 small{128, 128, 128, 1}, large{256, 256, 256, 1}, frames{128, 256, 256, 1};
    bench::Volume3 small2{180, 180, 180, 1}, large2{256, 256, 256, 1};
    Volumes() {
        bench::fill_noise_spheres(small.get(), 1);
        bench::fill_noise_spheres(large.get(), 2);
        bench::fill_noise_spheres(frames.get(), 3);
    }
};
Volumes& volumes() {
    static Volumes v;
    return v;
}

template <class F> void run(benchmark::State& state, F&& op) {
    Volumes& v = volumes();
    v3d::set_thread_count(state.range(0) ? 1 : 0);
    for (auto _ : state)
        if (op(v) != 0) state.SkipWithError("operator failed");
    v3d::set_thread_count(0);
}

void BM_CopyVolume_256(benchmark::State& s) {
    run(s, [](Volumes& v) { return CopyVolume(v.large.get(), v.large2.get(), 0, 0, 0); });
}
void BM_zoom3d_x2(benchmark::State& s) {
    run(s, [](Volumes& v) { return zoom3d(v.small.get(), v.large.get(), 2, 0, 0, 0); });
}
void BM_decim3_by2(benchmark::State& s) {
    run(s, [](Volumes& v) { return decim3(v.large.get(), v.small.get(), 2, 0, 0, 0); });
}
void BM_InterpolationNearestNeighbor3d_up(benchmark::State& s) {
    run(s, [](Volumes& v) {
        return InterpolationNearestNeighbor3d(v.small.get(), v.large.get(), 1, 0, 0, 0, 0, 0, 0);
    });
}
void BM_InterpolationLinear3d_up(benchmark::State& s) {
    run(s, [](Volumes& v) { return InterpolationLinear3d(v.small.get(), v.large.get(), 1, 0, 0, 0, 0, 0, 0); });
}
void BM_InterpolationLinear3d_down(benchmark::State& s) {
    run(s, [](Volumes& v) { return InterpolationLinear3d(v.large.get(), v.small.get(), 1, 0, 0, 0, 0, 0, 0); });
}
// other factors: 128^3 x 1.5 -> 192^3, 256^3 x 0.7 -> 179^3 (mode 0 at the origin)
void BM_InterpolationLinear3d_x1_5(benchmark::State& s) {
    run(s, [](Volumes& v) { return InterpolationLinear3d(v.small.get(), v.large.get(), 0, 1.5f, 1.5f, 1.5f, 0, 0, 0); });
}
void BM_InterpolationLinear3d_x0_7(benchmark::State& s) {
    run(s, [](Volumes& v) { return InterpolationLinear3d(v.large.get(), v.small2.get(), 0, 0.7f, 0.7f, 0.7f, 0, 0, 0); });
}
void BM_InterpolationFrameLinear3d_x2(benchmark::State& s) {
    // 128 frames of 256 x 256 -> 255 frames
    run(s, [](Volumes& v) { return InterpolationFrameLinear3d(v.frames.get(), v.large.get(), 0, 2.0f, 0, 0, 0); });
}
void BM_RotateVol3d_z30(benchmark::State& s) {
    run(s, [](Volumes& v) { return RotateVol3d(v.large.get(), v.large2.get(), 30.0f, 0.0f, 0.0f); });
}
void BM_RotateVol3d_30_20_10(benchmark::State& s) {
    run(s, [](Volumes& v) { return RotateVol3d(v.large.get(), v.large2.get(), 30.0f, 20.0f, 10.0f); });
}

#define V3D_RESIZE_BENCH(f) \
    BENCHMARK(f)->ArgName("one_thread")->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond)->UseRealTime()
V3D_RESIZE_BENCH(BM_CopyVolume_256);
V3D_RESIZE_BENCH(BM_zoom3d_x2);
V3D_RESIZE_BENCH(BM_decim3_by2);
V3D_RESIZE_BENCH(BM_InterpolationNearestNeighbor3d_up);
V3D_RESIZE_BENCH(BM_InterpolationLinear3d_up);
V3D_RESIZE_BENCH(BM_InterpolationLinear3d_down);
V3D_RESIZE_BENCH(BM_InterpolationLinear3d_x1_5);
V3D_RESIZE_BENCH(BM_InterpolationLinear3d_x0_7);
V3D_RESIZE_BENCH(BM_InterpolationFrameLinear3d_x2);
V3D_RESIZE_BENCH(BM_RotateVol3d_z30);
V3D_RESIZE_BENCH(BM_RotateVol3d_30_20_10);

}  // namespace

BENCHMARK_MAIN();
