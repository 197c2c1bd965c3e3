// Segmentation and labelling on a 256^3 UC volume (one thread unless an argument says otherwise):
// uniform noise 0..127 with a
// dozen bright spheres of noise 128..255 (threshold 128 gives exactly the spheres).
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#if defined(V3D_BENCH_ITK)
#include "itkConnectedComponentImageFilter.h"
#include "itkImage.h"
#include "itkMultiThreaderBase.h"
#endif

#include "bench/noise_spheres.h"
#include "core/parallel.h"

namespace {

constexpr int kSize = 256;

// The test volume, made once.
Volume* scene() {
    static bench::Volume3 vol(kSize, kSize, kSize, 1);
    static const bool filled = (bench::fill_noise_spheres(vol.get(), 1), true);
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

// Labelling of the thresholded volume (10 components); the input copy it consumes is not timed.
void BM_grass3d_label(benchmark::State& state) {
    v3d::set_thread_count(static_cast<int>(state.range(0)));
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
    v3d::set_thread_count(0);
}
BENCHMARK(BM_grass3d_label)->Arg(1)->Arg(2)->ArgName("threads")->Unit(benchmark::kMillisecond)->UseRealTime();

#if defined(V3D_BENCH_ITK)
// The peer: ITK's ConnectedComponentImageFilter, fully connected (26 neighbours), on the same
// bytes, with the same number of threads. Its output image is allocated by every update.
void BM_itk_ConnectedComponent(benchmark::State& state) {
    using Input = itk::Image<unsigned char, 3>;
    using Labels = itk::Image<unsigned short, 3>;
    const int threads = static_cast<int>(state.range(0));
    itk::MultiThreaderBase::SetGlobalDefaultNumberOfThreads(threads);
    bench::Volume3 binary(kSize, kSize, kSize, 1);
    threshold_3d(scene(), binary.get(), 128);
    auto input = Input::New();
    Input::SizeType size;
    size.Fill(kSize);
    input->SetRegions(Input::RegionType(size));
    input->Allocate();
    unsigned char* dst = input->GetBufferPointer();
    for (int z = 0; z < kSize; ++z)
        for (int y = 0; y < kSize; ++y, dst += kSize)
            std::memcpy(dst, binary.get()->data[0].uc[z][y], kSize);
    auto filter = itk::ConnectedComponentImageFilter<Input, Labels>::New();
    filter->SetInput(input);
    filter->SetFullyConnected(true);
    filter->SetNumberOfWorkUnits(threads);
    for (auto _ : state) {
        filter->Modified();
        filter->Update();
    }
    state.counters["labels"] = filter->GetObjectCount();
}
BENCHMARK(BM_itk_ConnectedComponent)->Arg(1)->Arg(2)->ArgName("threads")->Unit(benchmark::kMillisecond)->UseRealTime();
#endif

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
            for (const bench::Sphere& b : bench::sphere_list(scene(), 1))
                out.get()->data[0].uc[int(b.z)][int(b.y)][int(b.x)] = 1;
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
