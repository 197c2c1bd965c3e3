// Projections of a 256^3 UC volume into a 368x368 picture at an oblique view (azimuth 30,
// elevation 20), reported as pictures per second. Target: 10 or more with every thread.
#include <benchmark/benchmark.h>

#include "bench/volumes.h"
#include "core/parallel.h"

namespace {

constexpr int kSide = 368;

struct Picture {
    Buffer* buf = CreateBuffer(1, kSide, kSide);
    ~Picture() { DestroyBuffer(buf); }
};

template <class Render> void run(benchmark::State& state, Render&& render) {
    v3d::set_thread_count(static_cast<int>(state.range(0)));
    static bench::Volume3* vol = [] {
        auto* v = new bench::Volume3(256, 256, 256, 1);
        bench::fill_structure_noise(v->get(), 3);
        return v;
    }();
    Picture pic;
    for (auto _ : state) benchmark::DoNotOptimize(render(vol->get(), pic.buf->image));
    state.counters["pictures/s"] = benchmark::Counter(static_cast<double>(state.iterations()),
                                                      benchmark::Counter::kIsRate);
    v3d::set_thread_count(0);
}

const unsigned char kThreshold[1] = {200};

void BM_ProvoliMax3d(benchmark::State& s) {
    run(s, [](Volume* v, Image2d im) { return ProvoliMax3d(v, im, kSide, kSide, 30, 20, 0); });
}
void BM_ProvoliAvrg3d(benchmark::State& s) {
    run(s, [](Volume* v, Image2d im) { return ProvoliAvrg3d(v, im, kSide, kSide, 30, 20, 0); });
}
void BM_Provoli3d(benchmark::State& s) {
    run(s, [](Volume* v, Image2d im) {
        return Provoli3d(v, im, kSide, kSide, 30, 20, 0, kThreshold);
    });
}
void BM_ProvoliMax2d(benchmark::State& s) {
    run(s, [](Volume* v, Image2d im) { return ProvoliMax2d(v, im, kSide, kSide, 30, 0); });
}
void BM_ProvoliMax3d_trim(benchmark::State& s) {
    run(s, [](Volume* v, Image2d im) { return ProvoliMax3d(v, im, kSide, kSide, 30, 20, 1); });
}
void BM_Provoli3dSurface(benchmark::State& s) {
    run(s, [](Volume* v, Image2d im) {
        return Provoli3dSurface(v, im, kSide, kSide, 30, 20, 0, kThreshold, 1);
    });
}

#define PROJECTION_BENCHMARK(name)                                                     \
    BENCHMARK(name)->Arg(1)->Arg(0)->ArgName("threads(0=all)")->Unit(benchmark::kMillisecond) \
        ->UseRealTime()
PROJECTION_BENCHMARK(BM_ProvoliMax3d);
PROJECTION_BENCHMARK(BM_ProvoliAvrg3d);
PROJECTION_BENCHMARK(BM_Provoli3d);
PROJECTION_BENCHMARK(BM_ProvoliMax2d);
PROJECTION_BENCHMARK(BM_ProvoliMax3d_trim);
PROJECTION_BENCHMARK(BM_Provoli3dSurface);

}  // namespace

BENCHMARK_MAIN();
