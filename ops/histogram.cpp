// Histogram and equalization of UC volumes: the density of each channel over the VOI, its
// cumulative sum, and the mapping of every VOI voxel through the cumulative distribution.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/common.h"
#include "core/parallel.h"
#include "ops/block_memory.h"

#if defined(__GNUC__) && defined(__x86_64__)
#include <immintrin.h>
#define V3D_BYTE_PERMUTE 1
#endif

#if defined(__GNUC__)
#define V3D_NOINLINE __attribute__((noinline))
#else
#define V3D_NOINLINE
#endif

namespace v3d {
namespace {

using UC = unsigned char;

// Calls f(dst, src, n) for the rows y1 .. y2-1 of a frame (VOI columns x1 .. x1+nx-1), rows
// that follow each other in memory in src and in dst joined into one run: a whole frame when
// the VOI spans whole rows of a frame allocated as one block.
template <class F>
void for_each_run(UC* const* dst, const UC* const* src, int y1, int y2, int x1, int nx, F&& f) {
    for (int y = y1; y < y2;) {
        int end = y + 1;
        while (end < y2 && src[end] == src[end - 1] + nx && dst[end] == dst[end - 1] + nx) ++end;
        f(dst[y] + x1, src[y] + x1, static_cast<std::size_t>(end - y) * nx);
        y = end;
    }
}

// Counts come from pairs of neighbouring bytes: one increment per two voxels, in a table of
// 65536 byte counters (64 KB: the pairs that a volume of smooth structure and noise takes stay
// in the core's first-level cache; 32-bit counters spread them over 256 KB and waited on the
// second level). A counter that wraps adds 256 to the totals of both its bytes at once.
constexpr std::size_t kPairs = 65536;

inline void count_pair(uint8_t* pairs, uint64_t* total, unsigned key) {
    if (__builtin_expect(++pairs[key] == 0, 0)) {
        total[key & 0xff] += 256;
        total[key >> 8] += 256;
    }
}

// Counts the n bytes from p in pairs (an odd last byte on its own) into pairs and total. A
// pair's key is its two bytes read as one 16-bit word (in either byte order: both bytes are
// counted), one load per increment; taking four keys out of a 64-bit word took longer. Kept
// out of line, so that the loop has its registers to itself.
V3D_NOINLINE void count_run(const UC* __restrict p, std::size_t n, uint8_t* __restrict pairs, uint64_t* __restrict total) {
    auto key = [p](std::size_t x) {
        uint16_t k;
        std::memcpy(&k, p + x, 2);
        return static_cast<unsigned>(k);
    };
    std::size_t x = 0;
    for (; x + 8 <= n; x += 8) {
        const unsigned k0 = key(x), k1 = key(x + 2), k2 = key(x + 4), k3 = key(x + 6);
        count_pair(pairs, total, k0);
        count_pair(pairs, total, k1);
        count_pair(pairs, total, k2);
        count_pair(pairs, total, k3);
    }
    for (; x + 2 <= n; x += 2) count_pair(pairs, total, key(x));
    if (x < n) ++total[p[x]];
}

// Adds both bytes of every counted pair to total.
void fold_pairs(const uint8_t* pairs, uint64_t* total) {
    uint64_t low[256] = {};
    for (int high = 0; high < 256; ++high) {
        const uint8_t* p = pairs + 256 * high;
        uint64_t sum = 0;
        for (int i = 0; i < 256; ++i) {
            low[i] += p[i];
            sum += p[i];
        }
        total[high] += sum;
    }
    for (int i = 0; i < 256; ++i) total[i] += low[i];
}

// counts[v] = number of voxels of channel c's VOI equal to v. Each block of frames counts on
// its own (block_counts holds 256 entries per block, pair_tables kPairs); integer sums make the
// result the same for any number of threads.
void count_channel(Volume* in, int c, const BlockMemory<uint64_t>& block_counts,
                   const BlockMemory<uint8_t>& pair_tables, int blocks, uint64_t* counts) {
    const Voi r = voi_of(in);
    UC*** v = voxels<UC>(in, c);
    parallel_blocks(r.z1, r.z2, blocks, [&](int b, int z_begin, int z_end) {
        uint64_t* total = block_counts.get(b);
        uint8_t* pairs = pair_tables.get(b);
        std::memset(total, 0, 256 * sizeof(uint64_t));
        std::memset(pairs, 0, kPairs);
        for (int z = z_begin; z < z_end; ++z)
            for_each_run(v[z], v[z], r.y1, r.y2, r.x1, r.nx(),
                         [&](UC*, const UC* p, std::size_t n) { count_run(p, n, pairs, total); });
        fold_pairs(pairs, total);
    });
    for (int i = 0; i < 256; ++i) {
        counts[i] = 0;
        for (int b = 0; b < blocks; ++b) counts[i] += block_counts.get(b)[i];
    }
}

// d[x] = level[s[x]]; d may be s (equalization in place).
void map_run(UC* d, const UC* s, std::size_t n, const UC* level, bool) {
    for (std::size_t x = 0; x < n; ++x) d[x] = level[s[x]];
}

#if defined(V3D_BYTE_PERMUTE)
#define V3D_PERMUTE_TARGET __attribute__((target("avx512f,avx512bw,avx512vbmi")))

// level[] of 64 bytes through two 128-entry lookups chosen by each byte's top bit.
V3D_PERMUTE_TARGET inline __m512i map64(__m512i v, const __m512i t[4]) {
    const __m512i low = _mm512_permutex2var_epi8(t[0], v, t[1]);
    const __m512i high = _mm512_permutex2var_epi8(t[2], v, t[3]);
    return _mm512_mask_blend_epi8(_mm512_movepi8_mask(v), low, high);
}

// The same 64 bytes at a time where the processor permutes bytes across a whole vector
// (AVX-512 VBMI). stream: the whole lines of d are written past the caches, which spares
// reading them first when d is not in a cache anyway.
V3D_PERMUTE_TARGET void map_run_permute(UC* d, const UC* s, std::size_t n, const UC* level, bool stream) {
    const __m512i t[4] = {_mm512_loadu_si512(level), _mm512_loadu_si512(level + 64),
                          _mm512_loadu_si512(level + 128), _mm512_loadu_si512(level + 192)};
    auto part = [](std::size_t count) { return count >= 64 ? ~__mmask64{0} : (__mmask64{1} << count) - 1; };
    // Up to d's next line boundary first: stores that straddle two lines cost two.
    const std::size_t head = std::min<std::size_t>(n, (64 - reinterpret_cast<std::uintptr_t>(d) % 64) % 64);
    if (head) _mm512_mask_storeu_epi8(d, part(head), map64(_mm512_maskz_loadu_epi8(part(head), s), t));
    std::size_t x = head;
    if (stream) {
        for (; x + 64 <= n; x += 64)
            _mm512_stream_si512(reinterpret_cast<__m512i*>(d + x), map64(_mm512_loadu_si512(s + x), t));
        _mm_sfence();
    }
    for (; x + 64 <= n; x += 64)
        _mm512_store_si512(reinterpret_cast<__m512i*>(d + x), map64(_mm512_loadu_si512(s + x), t));
    if (x < n) _mm512_mask_storeu_epi8(d + x, part(n - x), map64(_mm512_maskz_loadu_epi8(part(n - x), s + x), t));
}

bool can_permute_bytes() {
    static const bool can = __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vbmi");
    return can;
}
#endif

// The run mapping this processor runs fastest; every one gives the same bytes.
using RunMap = void (*)(UC*, const UC*, std::size_t, const UC*, bool);
RunMap fastest_run_map() {
#if defined(V3D_BYTE_PERMUTE)
    if (can_permute_bytes()) return map_run_permute;
#endif
    return map_run;
}

// Whether the mapping should write its output past the caches: when the bytes it reads and
// writes together pass kCachedBytes, the output's lines are no longer in the last-level cache
// when written and would be fetched from memory only to be overwritten. Below that, keeping
// them cached is faster (on a 32 MB cache: 0.18 against 0.20 ms for 8 MB, 0.63 against 0.43 ms
// for 16 MB). A constant: what the system reports as its last-level cache in a virtual
// machine can be the host's (384 MB). One thread only: two cores storing past the caches
// together wait on the memory's write bandwidth, where their cached stores find most lines in
// the shared cache (0.40 against 0.30 ms at 256^3). In place, the lines were just read.
constexpr std::size_t kCachedBytes = std::size_t{24} << 20;

bool vectors_present(float* const* set, int n) {
    if (!set) return false;
    for (int c = 0; c < n; ++c)
        if (!set[c]) return false;
    return true;
}

// The integer part of (value + 0.5) for value >= 0, exactly (as in double precision).
unsigned char rounded_level(float value) {
    const double r = static_cast<double>(value) + 0.5;
    return clamp_uc(static_cast<int>(r));
}

}  // namespace
}  // namespace v3d

using namespace v3d;

extern "C" {

int hist3(Volume* in, float** pdf) {
    V3D_CHECK(CheckVolume(in, kUC, kAnyColor));
    const int n = channels(in);
    if (!vectors_present(pdf, n)) return kNullVector;
    const Voi r = voi_of(in);
    const int blocks = block_count(r.z1, r.z2, true);
    BlockMemory<uint64_t> block_counts;
    BlockMemory<uint8_t> pair_tables;
    uint64_t counts[256];
    if (!block_counts.allocate(blocks, 256) || !pair_tables.allocate(blocks, kPairs)) return kNoBuffer;
    const float total = static_cast<float>(r.nx()) * static_cast<float>(r.ny()) *
                        static_cast<float>(r.nz());
    for (int c = 0; c < n; ++c) {
        count_channel(in, c, block_counts, pair_tables, blocks, counts);
        for (int v = 0; v < 256; ++v) pdf[c][v] = static_cast<float>(counts[v]) / total;
    }
    return kOk;
}

int cdfhist3(const float* pdf, float* cdf) {
    if (!pdf || !cdf) return kNullVector;
    cdf[0] = pdf[0];
    for (int v = 1; v < 256; ++v) cdf[v] = cdf[v - 1] + pdf[v];
    return kOk;
}

int histeq3(Volume* in, Volume* out, float** cdf) {
    V3D_CHECK(CheckVolume(in, kUC, kAnyColor));
    V3D_CHECK(CheckVolume(out, kUC, kAnyColor));
    if (smaller_than(out, in)) return kBadOutputDims;
    // Colour types are not compared, but an RGB input cannot be written into a grey output.
    if (channels(out) < channels(in)) return kBadOutputColor;
    const int n = channels(in);
    if (!vectors_present(cdf, n)) return kNullVector;
    auto lut = make_buffer<float>(256);
    if (!lut) return kNoBuffer;
    const Voi r = voi_of(in);
    const int blocks = block_count(r.z1, r.z2, in != out);
    const RunMap map = fastest_run_map();
    const std::size_t voi_bytes = static_cast<std::size_t>(r.nz()) * r.ny() * r.nx() * n;
    const bool stream = in != out && blocks == 1 && 2 * voi_bytes > kCachedBytes;
    for (int c = 0; c < n; ++c) {
        UC level[256];
        for (int v = 0; v < 256; ++v) {
            lut[v] = cdf[c][v] * 255.0f;
            level[v] = rounded_level(lut[v]);
        }
        UC*** src = voxels<UC>(in, c);
        UC*** dst = voxels<UC>(out, c);
        parallel_blocks(r.z1, r.z2, blocks, [&](int, int z_begin, int z_end) {
            for (int z = z_begin; z < z_end; ++z)
                for_each_run(dst[z], src[z], r.y1, r.y2, r.x1, r.nx(),
                             [&](UC* d, const UC* s, std::size_t count) { map(d, s, count, level, stream); });
        });
    }
    return kOk;
}

int HistogramEqual3d(Volume* in, Volume* out) {
    const int n = in && in->colortype == kGrey ? 1 : 3;  // read before any check
    std::unique_ptr<float[]> pdf_store[3], cdf_store[3];
    float* pdf[3] = {};
    float* cdf[3] = {};
    for (int c = 0; c < n; ++c) {
        pdf_store[c] = make_buffer<float>(256);
        if (!pdf_store[c]) return kNoBuffer;
        cdf_store[c] = make_buffer<float>(256);
        if (!cdf_store[c]) return kNoBuffer;
        pdf[c] = pdf_store[c].get();
        cdf[c] = cdf_store[c].get();
    }
    V3D_CHECK(hist3(in, pdf));
    for (int c = 0; c < n; ++c) cdfhist3(pdf[c], cdf[c]);
    return histeq3(in, out, cdf);
}

}  // extern "C"
