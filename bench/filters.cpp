// Histogram equalization and neighbourhood filters on a 256^3 UC volume (smooth structure plus
// noise), one thread and all threads, beside a copy of the same bytes (the floor of a streaming
// operator) and the plain formulations they replace: per-voxel window sums, a per-voxel
// exchange sort, the recomputing running maximum, and a histogram with a float lookup per
// voxel. Items processed = voxels of the volume.
#include <benchmark/benchmark.h>

#include <vector>

#include "bench/volumes.h"
#include "core/parallel.h"

namespace {

constexpr int kN = 256;
using UC = unsigned char;

struct Volumes {
    bench::Volume3 in{kN, kN, kN, 1}, out{kN, kN, kN, 1};
    Volumes() { bench::fill_structure_noise(in.get(), 7); }
};
Volumes& volumes() {
    static Volumes v;
    return v;
}

void finish(benchmark::State& state, long long voxels) {
    state.SetItemsProcessed(state.iterations() * voxels);
    v3d::set_thread_count(0);
}

// ---- the library -----------------------------------------------------------------------------

void BM_CopyVolume(benchmark::State& state) {
    v3d::set_thread_count(static_cast<int>(state.range(0)));
    Volumes& v = volumes();
    for (auto _ : state) benchmark::DoNotOptimize(CopyVolume(v.in.get(), v.out.get(), 0, 0, 0));
    finish(state, 1LL * kN * kN * kN);
}
BENCHMARK(BM_CopyVolume)->ArgNames({"threads"})->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_HistogramEqual3d(benchmark::State& state) {
    v3d::set_thread_count(static_cast<int>(state.range(0)));
    Volumes& v = volumes();
    for (auto _ : state) benchmark::DoNotOptimize(HistogramEqual3d(v.in.get(), v.out.get()));
    finish(state, 1LL * kN * kN * kN);
}
BENCHMARK(BM_HistogramEqual3d)->ArgNames({"threads"})->Arg(1)->Arg(0)
    ->Unit(benchmark::kMillisecond)->UseRealTime();

// args: window size (cube), threads (0 = all)
template <int (*filter)(Volume*, Volume*, int, int, int)>
void BM_Window(benchmark::State& state) {
    const int w = static_cast<int>(state.range(0));
    v3d::set_thread_count(static_cast<int>(state.range(1)));
    Volumes& v = volumes();
    for (auto _ : state) benchmark::DoNotOptimize(filter(v.in.get(), v.out.get(), w, w, w));
    finish(state, 1LL * kN * kN * kN);
}
#define V3D_WINDOW_BENCH(f, ...)                                                            \
    BENCHMARK_TEMPLATE(BM_Window, f)->Name("BM_" #f)->ArgNames({"window", "threads"})      \
        __VA_ARGS__->Unit(benchmark::kMillisecond)->UseRealTime()
V3D_WINDOW_BENCH(mov_ave3, ->Args({3, 1})->Args({3, 0})->Args({5, 1})->Args({5, 0})->Args({9, 1}));
V3D_WINDOW_BENCH(median3, ->Args({3, 1})->Args({3, 0})->Args({5, 1}));
V3D_WINDOW_BENCH(run_median3, ->Args({3, 1})->Args({3, 0})->Args({5, 1})->Args({5, 0})->Args({7, 1}));
V3D_WINDOW_BENCH(run_max3, ->Args({3, 1})->Args({3, 0})->Args({7, 1})->Args({7, 0})->Args({15, 1}));
V3D_WINDOW_BENCH(run_min3, ->Args({3, 1})->Args({3, 0})->Args({7, 1})->Args({7, 0}));

// ---- plain formulations (one thread) -------------------------------------------------------

void plain_mov_ave(UC*** in, UC*** out, int w) {
    const int h = w / 2;
    const float n = static_cast<float>(w * w * w);
    for (int z = h; z < kN - h; ++z)
        for (int y = h; y < kN - h; ++y)
            for (int x = h; x < kN - h; ++x) {
                int s = 0;
                for (int dz = -h; dz <= h; ++dz)
                    for (int dy = -h; dy <= h; ++dy)
                        for (int dx = -h; dx <= h; ++dx) s += in[z + dz][y + dy][x + dx];
                out[z][y][x] = static_cast<UC>(s / n + 0.5);
            }
}

// The exchange sort over a gathered window, per voxel, on frames [h, frames - h).
void plain_median(UC*** in, UC*** out, int w, int frames) {
    const int h = w / 2, n = w * w * w;
    std::vector<int> buf(n);
    for (int z = h; z < frames - h; ++z)
        for (int y = h; y < kN - h; ++y)
            for (int x = h; x < kN - h; ++x) {
                int k = 0;
                for (int dz = -h; dz <= h; ++dz)
                    for (int dy = -h; dy <= h; ++dy)
                        for (int dx = -h; dx <= h; ++dx) buf[k++] = in[z + dz][y + dy][x + dx];
                for (bool swapped = true; swapped;) {
                    swapped = false;
                    for (int i = 0; i + 1 < n; ++i)
                        if (buf[i] > buf[i + 1]) std::swap(buf[i], buf[i + 1]), swapped = true;
                }
                out[z][y][x] = static_cast<UC>(buf[n / 2]);
            }
}

// The running maximum along one line of `len` values at stride `step`: recompute only when
// the maximum leaves and a smaller value enters.
void running_line(const UC* src, long step, UC* dst, int len, int w) {
    const int h = w / 2;
    int m = 0;
    for (int i = 0; i < w; ++i) m = std::max<int>(m, src[i * step]);
    dst[h * step] = static_cast<UC>(m);
    for (int c = h + 1; c < len - h; ++c) {
        const int e = src[(c + h) * step];
        if (e >= m) {
            m = e;
        } else if (src[(c - h - 1) * step] == m) {
            m = 0;
            for (int i = c - h; i <= c + h; ++i) m = std::max<int>(m, src[i * step]);
        }
        dst[c * step] = static_cast<UC>(m);
    }
}

void plain_run_max(UC*** in, UC*** out, int w, std::vector<UC>& t, std::vector<UC>& r) {
    for (int z = 0; z < kN; ++z) {
        for (int y = 0; y < kN; ++y) running_line(in[z][y], 1, &r[y * kN], kN, w);
        for (int x = 0; x < kN; ++x) running_line(&r[x], kN, &t[(long)z * kN * kN + x], kN, w);
    }
    std::vector<UC> res(kN);
    for (int y = 0; y < kN; ++y)
        for (int x = 0; x < kN; ++x) {
            running_line(&t[(long)y * kN + x], (long)kN * kN, res.data(), kN, w);
            for (int z = w / 2; z < kN - w / 2; ++z) out[z][y][x] = res[z];
        }
}

void plain_histeq(UC*** in, UC*** out) {
    long counts[256] = {};
    for (int z = 0; z < kN; ++z)
        for (int y = 0; y < kN; ++y)
            for (int x = 0; x < kN; ++x) ++counts[in[z][y][x]];
    float lut[256], run = 0;
    for (int v = 0; v < 256; ++v) lut[v] = (run += counts[v] / (float(kN) * kN * kN)) * 255.0f;
    for (int z = 0; z < kN; ++z)
        for (int y = 0; y < kN; ++y)
            for (int x = 0; x < kN; ++x) out[z][y][x] = static_cast<UC>(lut[in[z][y][x]] + 0.5);
}

void BM_PlainMovAve(benchmark::State& state) {
    Volumes& v = volumes();
    for (auto _ : state) plain_mov_ave(v.in.get()->data[0].uc, v.out.get()->data[0].uc, state.range(0));
    finish(state, 1LL * kN * kN * kN);
}
BENCHMARK(BM_PlainMovAve)->ArgNames({"window"})->Arg(3)->Arg(5)->Unit(benchmark::kMillisecond)->UseRealTime();

// On 32 frames of the volume (the exchange sort is slow); items = voxels of those frames.
void BM_PlainMedian(benchmark::State& state) {
    Volumes& v = volumes();
    for (auto _ : state) plain_median(v.in.get()->data[0].uc, v.out.get()->data[0].uc, state.range(0), 32);
    finish(state, 32LL * kN * kN);
}
BENCHMARK(BM_PlainMedian)->ArgNames({"window"})->Arg(3)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_PlainRunMax(benchmark::State& state) {
    Volumes& v = volumes();
    std::vector<UC> t(static_cast<size_t>(kN) * kN * kN), r(static_cast<size_t>(kN) * kN);
    for (auto _ : state) plain_run_max(v.in.get()->data[0].uc, v.out.get()->data[0].uc, state.range(0), t, r);
    finish(state, 1LL * kN * kN * kN);
}
BENCHMARK(BM_PlainRunMax)->ArgNames({"window"})->Arg(3)->Arg(7)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_PlainHistogramEqual(benchmark::State& state) {
    Volumes& v = volumes();
    for (auto _ : state) plain_histeq(v.in.get()->data[0].uc, v.out.get()->data[0].uc);
    finish(state, 1LL * kN * kN * kN);
}
BENCHMARK(BM_PlainHistogramEqual)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
