// Histogram and equalization of UC volumes: the density of each channel over the VOI, its
// cumulative sum, and the mapping of every VOI voxel through the cumulative distribution.
#include <cstdint>
#include <cstring>

#include "core/common.h"
#include "core/parallel.h"

#if defined(__GNUC__) && defined(__x86_64__)
#include <immintrin.h>
#define V3D_BYTE_PERMUTE 1
#endif

namespace v3d {
namespace {

// Counts come from pairs of neighbouring bytes: one increment of a 65536-entry table per two
// voxels (the table stays in the core's cache) instead of one per voxel, and the table folds
// into the 256 counts once per block of frames. A row's odd last byte goes to `single`.
constexpr std::size_t kPairs = 65536;

void count_row_pairs(const unsigned char* __restrict row, int n, uint32_t* __restrict pairs,
                     uint64_t* __restrict single) {
    int x = 0;
    for (; x + 8 <= n; x += 8) {
        uint64_t v;
        std::memcpy(&v, row + x, 8);
        ++pairs[v & 0xffff];
        ++pairs[(v >> 16) & 0xffff];
        ++pairs[(v >> 32) & 0xffff];
        ++pairs[v >> 48];
    }
    for (; x + 2 <= n; x += 2) ++pairs[row[x] | row[x + 1] << 8];
    if (x < n) ++single[row[x]];
}

// Adds both bytes of every counted pair to total and clears the table.
void fold_pairs(uint32_t* pairs, uint64_t* total) {
    uint64_t low[256] = {};
    for (int high = 0; high < 256; ++high) {
        const uint32_t* p = pairs + 256 * high;
        uint64_t sum = 0;
        for (int i = 0; i < 256; ++i) {
            low[i] += p[i];
            sum += p[i];
        }
        total[high] += sum;
    }
    for (int i = 0; i < 256; ++i) total[i] += low[i];
    std::memset(pairs, 0, kPairs * sizeof(uint32_t));
}

// counts[v] = number of voxels of channel c's VOI equal to v. Each block of frames counts on
// its own (block_counts holds 256 entries per block, pair_tables kPairs per block); integer
// sums make the result the same for any number of threads.
void count_channel(Volume* in, int c, uint64_t* block_counts, uint32_t* pair_tables, int blocks,
                   uint64_t* counts) {
    const Voi r = voi_of(in);
    unsigned char*** v = voxels<unsigned char>(in, c);
    parallel_blocks(r.z1, r.z2, blocks, [&](int b, int z_begin, int z_end) {
        uint64_t* total = block_counts + 256 * b;
        uint32_t* pairs = pair_tables + kPairs * b;
        std::memset(total, 0, 256 * sizeof(uint64_t));
        std::memset(pairs, 0, kPairs * sizeof(uint32_t));
        const uint64_t frame_pairs = static_cast<uint64_t>(r.ny()) * (r.nx() / 2);
        uint64_t since_fold = 0;  // no table entry may pass 2^32 - 1
        for (int z = z_begin; z < z_end; ++z) {
            if (since_fold + frame_pairs > 0xffffffffu) {
                fold_pairs(pairs, total);
                since_fold = 0;
            }
            for (int y = r.y1; y < r.y2; ++y) count_row_pairs(v[z][y] + r.x1, r.nx(), pairs, total);
            since_fold += frame_pairs;
        }
        fold_pairs(pairs, total);
    });
    for (int i = 0; i < 256; ++i) {
        counts[i] = 0;
        for (int b = 0; b < blocks; ++b) counts[i] += block_counts[256 * b + i];
    }
}

// d[x] = level[s[x]]; d may be s (equalization in place).
void map_row(unsigned char* d, const unsigned char* s, int n, const unsigned char* level) {
    for (int x = 0; x < n; ++x) d[x] = level[s[x]];
}

#if defined(V3D_BYTE_PERMUTE)
// The same 64 bytes at a time where the processor permutes bytes across a whole vector
// (AVX-512 VBMI): two 128-entry lookups, chosen by each byte's top bit.
__attribute__((target("avx512f,avx512bw,avx512vbmi"))) void map_row_permute(
    unsigned char* d, const unsigned char* s, int n, const unsigned char* level) {
    const __m512i t0 = _mm512_loadu_si512(level), t1 = _mm512_loadu_si512(level + 64);
    const __m512i t2 = _mm512_loadu_si512(level + 128), t3 = _mm512_loadu_si512(level + 192);
    for (int x = 0; x < n; x += 64) {
        const __mmask64 m = n - x >= 64 ? ~__mmask64{0} : (__mmask64{1} << (n - x)) - 1;
        const __m512i v = _mm512_maskz_loadu_epi8(m, s + x);
        const __m512i low = _mm512_permutex2var_epi8(t0, v, t1);
        const __m512i high = _mm512_permutex2var_epi8(t2, v, t3);
        _mm512_mask_storeu_epi8(d + x, m, _mm512_mask_blend_epi8(_mm512_movepi8_mask(v), low, high));
    }
}

bool can_permute_bytes() {
    static const bool can = __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vbmi");
    return can;
}
#endif

// The row mapping this processor runs fastest; every one gives the same bytes.
using RowMap = void (*)(unsigned char*, const unsigned char*, int, const unsigned char*);
RowMap fastest_row_map() {
#if defined(V3D_BYTE_PERMUTE)
    if (can_permute_bytes()) return map_row_permute;
#endif
    return map_row;
}

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
    auto block_counts = make_buffer<uint64_t>(256 * static_cast<std::size_t>(blocks + 1));
    auto pair_tables = make_io_buffer<uint32_t>(kPairs * static_cast<std::size_t>(blocks));
    if (!block_counts || !pair_tables) return kNoBuffer;
    uint64_t* counts = block_counts.get() + 256 * blocks;
    const float total = static_cast<float>(r.nx()) * static_cast<float>(r.ny()) *
                        static_cast<float>(r.nz());
    for (int c = 0; c < n; ++c) {
        count_channel(in, c, block_counts.get(), pair_tables.get(), blocks, counts);
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
    const RowMap map = fastest_row_map();
    for (int c = 0; c < n; ++c) {
        unsigned char level[256];
        for (int v = 0; v < 256; ++v) {
            lut[v] = cdf[c][v] * 255.0f;
            level[v] = rounded_level(lut[v]);
        }
        unsigned char*** src = voxels<unsigned char>(in, c);
        unsigned char*** dst = voxels<unsigned char>(out, c);
        parallel_blocks(r.z1, r.z2, blocks, [&](int, int z_begin, int z_end) {
            for (int z = z_begin; z < z_end; ++z)
                for (int y = r.y1; y < r.y2; ++y)
                    map(dst[z][y] + r.x1, src[z][y] + r.x1, r.nx(), level);
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
