// Neighbourhood filters of UC volumes: moving average, the median family, running maximum and
// minimum, L-filter, locally adaptive filter; and the frequency-domain Wiener filter.
//
// A box window (wz, wy, wx, odd) is centred on the voxel it computes; only centres whose whole
// window lies inside the VOI are written, the border band and everything outside the VOI keep
// their values. RGB volumes are filtered channel by channel, channel outermost.
//
// When in and out differ, frames of centres are split over the threads (every centre depends
// only on the input, so the result does not depend on the thread count) and the faster
// formulations run. When in == out a filter reads values it has already replaced, exactly as
// its plain formulation does in the order channel, frame, row, column, so such calls run that
// formulation on one thread (the running maximum and minimum read all input first anyway).
#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <new>
#include <utility>
#include <vector>

#include "core/common.h"
#include "core/parallel.h"
#include "ops/block_memory.h"
#include "ops/box_extreme.h"
#include "ops/simd.h"
#include "ops/sort.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace v3d {
namespace {

using UC = unsigned char;

struct Window {
    int wz, wy, wx;
    int hz() const { return wz / 2; }
    int hy() const { return wy / 2; }
    int hx() const { return wx / 2; }
    long long size() const { return static_cast<long long>(wz) * wy * wx; }
};

// The centres whose window lies inside the VOI (half-open ranges).
struct Centres {
    int z1, z2, y1, y2, x1, x2;
};
Centres centres_of(const Volume* in, const Window& w) {
    const Voi r = voi_of(in);
    return {r.z1 + w.hz(), r.z2 - w.hz(), r.y1 + w.hy(), r.y2 - w.hy(), r.x1 + w.hx(), r.x2 - w.hx()};
}

// The integer part of (value + 0.5), in double precision as C promotes it, limited to 0..255
// (NaN gives 0).
UC level_of(double value) {
    const double r = value + 0.5;
    if (!(r >= 0.0)) return 0;
    return r >= 256.0 ? 255 : static_cast<UC>(r);
}

// ---- Work over rows of centres ---------------------------------------------------------------

// What a row of centres may use: ints, bytes, and the window's input rows
// (rows[dz * wy + dy] is input row (z - hz + dz, y - hy + dy) of the channel).
struct Scratch {
    int* ints;
    UC* bytes;
    const UC** rows;
};

// One scratch per block of frames, allocated before the work starts, each block's ints, bytes
// and rows on cache lines of their own (BlockMemory: the row pointers of neighbouring blocks
// once shared a line, which cost median3 a fifth of its speed on two threads).
class BlockScratch {
public:
    bool allocate(int blocks, std::size_t ints, std::size_t bytes, std::size_t rows) {
        ni_ = whole_lines(ints * sizeof(int));
        nb_ = whole_lines(bytes);
        return memory_.allocate(blocks, ni_ + nb_ + rows * sizeof(const UC*), true);
    }
    Scratch get(int b) {
        unsigned char* block = memory_.get(b);
        return {reinterpret_cast<int*>(block), block + ni_, reinterpret_cast<const UC**>(block + ni_ + nb_)};
    }

private:
    std::size_t ni_ = 0, nb_ = 0;  // bytes of ints and of bytes
    BlockMemory<unsigned char> memory_;
};

// Calls f(c, z, y, scratch) for every row of centres, channel outermost, with scratch.rows set
// to the row's window. Blocks of frames go to the threads when in != out; in == out runs in
// order on this thread. -9 when the scratch cannot be had.
template <class F>
int for_each_centre_row(Volume* in, Volume* out, const Window& w, std::size_t ints,
                        std::size_t bytes, F&& f) {
    const Centres k = centres_of(in, w);
    const int blocks = block_count(k.z1, k.z2, in != out);
    BlockScratch scratch;
    if (!scratch.allocate(blocks, ints, bytes, static_cast<std::size_t>(w.wz) * w.wy))
        return kNoBuffer;
    for_each_channel(in, [&](int c) {
        UC*** v = voxels<UC>(in, c);
        parallel_blocks(k.z1, k.z2, blocks, [&](int b, int z_begin, int z_end) {
            Scratch s = scratch.get(b);
            for (int z = z_begin; z < z_end; ++z)
                for (int y = k.y1; y < k.y2; ++y) {
                    for (int dz = 0; dz < w.wz; ++dz)
                        for (int dy = 0; dy < w.wy; ++dy)
                            s.rows[dz * w.wy + dy] = v[z - w.hz() + dz][y - w.hy() + dy];
                    f(c, z, y, s);
                }
        });
    });
    return kOk;
}

// Copies the window of centre column x into buf in frame, row, column order.
inline void gather(const UC* const* rows, int nrows, int x0, int wx, int* buf) {
    for (int k = 0; k < nrows; ++k) {
        const UC* row = rows[k] + x0;
        for (int dx = 0; dx < wx; ++dx) *buf++ = row[dx];
    }
}

// Median of every centre of a row, one centre at a time: gather, sort, middle element.
void median_row(UC* dst, const Centres& k, const Window& w, Scratch s) {
    const int n = static_cast<int>(w.size()), nrows = w.wz * w.wy;
    for (int x = k.x1; x < k.x2; ++x) {
        gather(s.rows, nrows, x - w.hx(), w.wx, s.ints);
        exchange_sort(s.ints, n);
        dst[x] = static_cast<UC>(s.ints[n / 2]);
    }
}

// ---- Median by a selection network, many centres at once ----------------------------------

// Columns of centres handled together: the window values of kLanes centres lie side by side,
// so every compare-exchange is one vectorised min and max.
constexpr int kLanes = 64;
constexpr int kMaxNetworkWires = 512;

struct Exchange {
    uint16_t lo, hi;
};

// Batcher's odd-even merge sort of p wires (a power of two): calls emit(step, a, b) for every
// exchange of merge step `step` (1, 2, 4 ...) that can move a value, wires marked in padding
// holding the largest value (an exchange whose upper wire holds it changes nothing, one whose
// lower wire holds it moves it up).
template <class Padding, class Emit> constexpr void batcher_exchanges(int p, Padding& padding, Emit&& emit) {
    for (int step = 1; step < p; step *= 2)
        for (int k = step; k >= 1; k /= 2)
            for (int j = k % step; j + k < p; j += 2 * k)
                for (int i = 0; i < k && i + j + k < p; ++i) {
                    const int a = i + j, b = i + j + k;
                    if (a / (2 * step) != b / (2 * step) || padding[b]) continue;
                    if (padding[a]) padding[a] = false, padding[b] = true;
                    emit(step, a, b);
                }
}

// The network of Batcher's sort of p wires, wires n..p-1 padding, reduced to the exchanges
// that can change wire `target`: one that feeds no later exchange of the target's wire is not
// needed.
std::vector<Exchange> median_network(int n, int p, int target) {
    std::vector<Exchange> all;
    std::vector<bool> padding(p, false);
    for (int i = n; i < p; ++i) padding[i] = true;
    batcher_exchanges(p, padding, [&](int, int a, int b) {
        all.push_back({static_cast<uint16_t>(a), static_cast<uint16_t>(b)});
    });
    std::vector<bool> needed(p, false);
    needed[target] = true;
    std::vector<Exchange> kept;
    for (auto e = all.rbegin(); e != all.rend(); ++e)
        if (needed[e->lo] || needed[e->hi]) {
            needed[e->lo] = needed[e->hi] = true;
            kept.push_back(*e);
        }
    std::reverse(kept.begin(), kept.end());
    return kept;
}

int next_power_of_two(int n) {
    int p = 1;
    while (p < n) p *= 2;
    return p;
}

// Median of a row of centres by the network; lanes holds p * kLanes bytes, the padding wires
// already set to 255.
V3D_ROW_CLONES void median_row_network(UC* dst, const Centres& k, const Window& w, const UC* const* rows,
                        const std::vector<Exchange>& net, UC* lanes) {
    const int nrows = w.wz * w.wy, n = static_cast<int>(w.size());
    for (int x0 = k.x1; x0 < k.x2; x0 += kLanes) {
        const int count = std::min(kLanes, k.x2 - x0);
        UC* wire = lanes;
        for (int r = 0; r < nrows; ++r)
            for (int dx = 0; dx < w.wx; ++dx, wire += kLanes)
                std::memcpy(wire, rows[r] + x0 - w.hx() + dx, count);
        for (const Exchange& e : net) {
            UC* __restrict a = lanes + e.lo * kLanes;
            UC* __restrict b = lanes + e.hi * kLanes;
            for (int i = 0; i < kLanes; ++i) {
                const UC u = a[i], v = b[i];
                a[i] = u < v ? u : v;
                b[i] = u < v ? v : u;
            }
        }
        std::memcpy(dst + x0, lanes + (n / 2) * kLanes, count);
    }
}

#if defined(V3D_VECTORS)
// ---- Median of windows of 27 by merging sorted columns ------------------------------------
//
// A window of 3 columns (wx = 3) of nine values (wz x wy = 9) has 27 values, the median being
// the 14th smallest. Every column of the row is sorted once; every two neighbouring sorted
// columns are merged once, keeping the positions 5..14 (1-based) of the 18 that the median can
// be; a centre's median is then the 14th smallest of a merged pair A and its third column B:
// the least over j = 0..9 of max(A[14 - j], B[j]), B[0] standing below everything (the 14
// smallest lie in some first i of A and first j of B, i + j = 14). Each pair serves the
// centres on both of its sides. 64 centres at a time, one byte lane each, every wire of a
// network in a vector register.

using simd::u8x64;

// A comparator network known at compile time.
template <int kMax> struct FixedNetwork {
    Exchange e[kMax] = {};
    int size = 0;
};

// Batcher's network of p <= 64 wires whose wires in padding_mask hold the largest value, from
// merge step from_step on (the earlier steps only sort runs that come sorted), reduced to the
// exchanges that reach wires [t1, t2).
template <int kMax>
constexpr FixedNetwork<kMax> fixed_network(int p, uint64_t padding_mask, int from_step, int t1, int t2) {
    bool padding[64] = {};
    for (int i = 0; i < p; ++i) padding[i] = (padding_mask >> i) & 1;
    Exchange all[512] = {};
    int n = 0;
    batcher_exchanges(p, padding, [&](int step, int a, int b) {
        if (step >= from_step) all[n++] = {static_cast<uint16_t>(a), static_cast<uint16_t>(b)};
    });
    bool needed[64] = {};
    for (int t = t1; t < t2; ++t) needed[t] = true;
    Exchange kept[512] = {};
    int m = 0;
    for (int i = n - 1; i >= 0; --i)
        if (needed[all[i].lo] || needed[all[i].hi]) {
            needed[all[i].lo] = needed[all[i].hi] = true;
            kept[m++] = all[i];
        }
    FixedNetwork<kMax> net;
    for (int i = 0; i < m; ++i) net.e[i] = kept[m - 1 - i];
    net.size = m;
    return net;
}

// Sorts nine wires (9..15 padding).
constexpr auto kSortNine = fixed_network<32>(16, 0xfe00, 1, 0, 9);
// Merges sorted wires 0..8 with sorted wires 16..24 into positions 4..13 (0-based).
constexpr auto kMergeNines = fixed_network<48>(32, 0xfe00fe00u, 16, 4, 14);

V3D_ALWAYS_INLINE void exchange(u8x64& a, u8x64& b) {
    const u8x64 low = simd::vmin(a, b);
    b = simd::vmax(a, b);
    a = low;
}
template <const auto& kNet, std::size_t... I>
V3D_ALWAYS_INLINE void run_network(u8x64* w, std::index_sequence<I...>) {
    (exchange(w[kNet.e[I].lo], w[kNet.e[I].hi]), ...);
}
template <const auto& kNet> V3D_ALWAYS_INLINE void run_network(u8x64* w) {
    run_network<kNet>(w, std::make_index_sequence<kNet.size>());
}

constexpr int kMedian27MinWidth = 66;  // whole vectors of columns, pairs and centres

// One row of centres: rows are the window's nine input rows, the VOI's columns x1 .. x1+nx-1
// (nx >= kMedian27MinWidth), work holds 19 * nx bytes.
V3D_ROW_CLONES void median27_row(UC* dst, const UC* const* rows, int x1, int nx, UC* work) {
    using simd::load64;
    using simd::store64;
    UC* column = work;         // [k * nx + j]: the (k+1)-th smallest of column x1 + j
    UC* pair = work + 9 * nx;  // [k * nx + j]: the (k+5)-th smallest of columns j and j + 1
    for (int j0 = 0; j0 < nx; j0 += 64) {  // the last vector overlaps the one before
        const int j = std::min(j0, nx - 64);
        u8x64 w[9];
        for (int k = 0; k < 9; ++k) w[k] = load64(rows[k] + x1 + j);
        run_network<kSortNine>(w);
        for (int k = 0; k < 9; ++k) store64(column + k * nx + j, w[k]);
    }
    for (int j0 = 0; j0 < nx - 1; j0 += 64) {
        const int j = std::min(j0, nx - 65);
        u8x64 w[32];
        for (int k = 0; k < 32; ++k) w[k] = u8x64{} + 255;
        for (int k = 0; k < 9; ++k) {
            w[k] = load64(column + k * nx + j);
            w[16 + k] = load64(column + k * nx + j + 1);
        }
        run_network<kMergeNines>(w);
        for (int k = 0; k < 10; ++k) store64(pair + k * nx + j, w[4 + k]);
    }
    for (int j0 = 1; j0 < nx - 1; j0 += 64) {  // centres j..j+63: pair j, j+1 and column j-1
        const int j = std::min(j0, nx - 65);
        u8x64 m = load64(pair + 9 * nx + j);
        for (int b = 1; b <= 9; ++b)
            m = simd::vmin(m, simd::vmax(load64(pair + (9 - b) * nx + j), load64(column + (b - 1) * nx + j - 1)));
        store64(dst + x1 + j, m);
    }
}

#endif

// ---- Running median ----------------------------------------------------------------------

// One row of centres: the first window is sorted, then a 256-bin histogram slides along X and
// the median moves from its previous value; `below` counts the window values under it.
// kRows > 0 fixes the number of window rows at compile time (the common cubes unroll).
template <int kRows>
void running_median_row(UC* dst, const Centres& k, const Window& w, Scratch s) {
    const int nrows = kRows > 0 ? kRows : w.wz * w.wy, n = static_cast<int>(w.size()), half = n / 2;
    const int hx = w.hx();
    const UC* const* rows = s.rows;
    int* hist = s.ints;
    int* buf = s.ints + 256;
    std::fill(hist, hist + 256, 0);
    gather(rows, nrows, k.x1 - hx, w.wx, buf);
    for (int i = 0; i < n; ++i) ++hist[buf[i]];
    exchange_sort(buf, n);
    int m = buf[half];
    dst[k.x1] = static_cast<UC>(m);
    int below = 0;
    for (int v = 0; v < m; ++v) below += hist[v];
    for (int x = k.x1 + 1; x < k.x2; ++x) {
        for (int r = 0; r < nrows; ++r) {
            const int leaving = rows[r][x - hx - 1];
            --hist[leaving];
            below -= leaving < m;
            const int entering = rows[r][x + hx];
            ++hist[entering];
            below += entering < m;
        }
        if (below > half) {
            do {
                --m;
                below -= hist[m];
            } while (below > half);
        } else {
            while (below + hist[m] <= half) {
                below += hist[m];
                ++m;
            }
        }
        dst[x] = static_cast<UC>(m);
    }
}

#if defined(V3D_VECTORS)
// ---- Running median by column histograms ------------------------------------------------------
//
// For a row of centres every VOI column keeps the histogram of its wz x wy values (frames
// z-hz..z+hz, rows y-hy..y+hy); the next row takes wz values out of each column and puts wz
// in. The window's histogram then slides along X a column at a time, in 16 coarse bins of 16
// levels always, and in the 16 fine bins of a coarse bin only when the median falls in it:
// each coarse bin remembers the window start its fine counts were last brought to and catches
// up column by column, or sums its columns afresh when far behind. The median is found from
// prefix sums without branches. Counts are 16-bit: windows of up to 65535 values.

using simd::u16x16;

constexpr long long kMaxColumnHistogramWindow = 65535;

// The running sums of the 16 counts of v.
V3D_ALWAYS_INLINE u16x16 prefix_sums(u16x16 v) {
    const u16x16 zero = {};
    v += __builtin_shuffle(zero, v, u16x16{0, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30});
    v += __builtin_shuffle(zero, v, u16x16{0, 1, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29});
    v += __builtin_shuffle(zero, v, u16x16{0, 1, 2, 3, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27});
    v += __builtin_shuffle(zero, v, u16x16{0, 1, 2, 3, 4, 5, 6, 7, 16, 17, 18, 19, 20, 21, 22, 23});
    return v;
}

// How many of the ascending sums are at most t (0 <= t < 65536): the first bin whose sum
// passes t.
V3D_ALWAYS_INLINE int count_at_most(u16x16 sums, int t) {
    const auto at_most = sums <= static_cast<uint16_t>(t);  // -1 or 0 per lane
#if defined(__SSE2__)
    typedef int8_t i8x16 __attribute__((vector_size(16)));
    return __builtin_popcount(_mm_movemask_epi8(reinterpret_cast<__m128i>(__builtin_convertvector(at_most, i8x16))));
#else
    int n = 0;
    for (int i = 0; i < 16; ++i) n -= at_most[i];
    return n;
#endif
}

// Work memory of one block of frames.
struct ColumnHistograms {
    uint16_t* fine;    // 256 counts per VOI column
    uint16_t* coarse;  // 16 counts per VOI column
    uint16_t* window;  // the window's fine counts
    static std::size_t shorts(int nx) { return static_cast<std::size_t>(nx) * 272 + 256; }
    explicit ColumnHistograms(uint16_t* p, int nx)
        : fine(p), coarse(p + static_cast<std::size_t>(nx) * 256), window(coarse + static_cast<std::size_t>(nx) * 16) {}
};

// Adds (+1) or removes (-1) the values of row (VOI columns) to and from the columns.
V3D_ALWAYS_INLINE void count_row(ColumnHistograms& h, const UC* row, int nx, int sign) {
    for (int j = 0; j < nx; ++j) {
        h.fine[j * 256 + row[j]] += sign;
        h.coarse[j * 16 + (row[j] >> 4)] += sign;
    }
}

// The medians of the centres of frame z of one channel.
V3D_ROW_CLONES void column_histogram_frame(UC*** src, UC*** dst, const Voi& r, const Window& w,
                                           const Centres& k, int z, ColumnHistograms h) {
    const int nx = r.nx(), hx = w.hx(), hy = w.hy(), hz = w.hz(), wx = w.wx;
    const int half = static_cast<int>(w.size() / 2);
    std::memset(h.fine, 0, sizeof(uint16_t) * 272 * static_cast<std::size_t>(nx));
    for (int dz = -hz; dz <= hz; ++dz)
        for (int dy = -hy; dy <= hy; ++dy) count_row(h, src[z + dz][k.y1 + dy] + r.x1, nx, 1);
    for (int y = k.y1; y < k.y2; ++y) {
        if (y > k.y1)
            for (int dz = -hz; dz <= hz; ++dz) {
                count_row(h, src[z + dz][y - hy - 1] + r.x1, nx, -1);
                count_row(h, src[z + dz][y + hy] + r.x1, nx, 1);
            }
        u16x16 coarse = {};
        for (int j = 0; j < wx; ++j) coarse += simd::load16(h.coarse + j * 16);
        int brought_to[16];  // window start of each coarse bin's fine counts
        for (int& b : brought_to) b = -wx;
        UC* out = dst[z][y];
        for (int start = 0; start + wx <= nx; ++start) {  // window columns start .. start+wx-1
            if (start > 0)
                coarse += simd::load16(h.coarse + (start + wx - 1) * 16) - simd::load16(h.coarse + (start - 1) * 16);
            const u16x16 sums = prefix_sums(coarse);
            const int bin = count_at_most(sums, half);
            uint16_t below[17] = {0};
            simd::store16(below + 1, sums);
            const int under = below[bin];
            const uint16_t* column = h.fine + bin * 16;
            u16x16 fine;
            if (2 * (start - brought_to[bin]) > wx) {
                fine = u16x16{};
                for (int j = start; j < start + wx; ++j) fine += simd::load16(column + j * 256);
            } else {
                fine = simd::load16(h.window + bin * 16);
                for (int j = brought_to[bin] + 1; j <= start; ++j)
                    fine += simd::load16(column + (j + wx - 1) * 256) - simd::load16(column + (j - 1) * 256);
            }
            simd::store16(h.window + bin * 16, fine);
            brought_to[bin] = start;
            out[r.x1 + start + hx] = static_cast<UC>(bin * 16 + count_at_most(prefix_sums(fine), half - under));
        }
    }
}

// run_median3 for in != out and windows of at most kMaxColumnHistogramWindow values.
int column_histogram_median(Volume* in, Volume* out, const Window& w) {
    const Voi r = voi_of(in);
    const Centres k = centres_of(in, w);
    const int blocks = block_count(k.z1, k.z2, true);
    const std::size_t per_block = ColumnHistograms::shorts(r.nx());
    BlockMemory<uint16_t> work;
    if (!work.allocate(blocks, per_block, true)) return kNoBuffer;
    for_each_channel(in, [&](int c) {
        UC*** src = voxels<UC>(in, c);
        UC*** dst = voxels<UC>(out, c);
        parallel_blocks(k.z1, k.z2, blocks, [&](int b, int z_begin, int z_end) {
            for (int z = z_begin; z < z_end; ++z)
                column_histogram_frame(src, dst, r, w, k, z, ColumnHistograms(work.get(b), r.nx()));
        });
    });
    return kOk;
}

#endif

// ---- Moving average ------------------------------------------------------------------------

// Row kernels of the moving average over sums of type S (16-bit where 255 * N fits, else
// int): plain pointers and counts, so that they vectorise. The sums only grow and shrink by
// whole values, so 16-bit wrap-around in between cannot change them.
template <class S> V3D_ROW_CLONES void add_bytes(S* __restrict p, const UC* __restrict a, int n) {
    for (int x = 0; x < n; ++x) p[x] = static_cast<S>(p[x] + a[x]);
}
template <class S>
V3D_ROW_CLONES void slide_bytes(S* __restrict p, const UC* __restrict add, const UC* __restrict sub, int n) {
    for (int x = 0; x < n; ++x) p[x] = static_cast<S>(p[x] + add[x] - sub[x]);
}
template <class S> V3D_ROW_CLONES void add_sums(S* __restrict p, const S* __restrict a, int n) {
    for (int x = 0; x < n; ++x) p[x] = static_cast<S>(p[x] + a[x]);
}
template <class S>
V3D_ROW_CLONES void slide_sums(S* __restrict p, const S* __restrict add, const S* __restrict sub, int n) {
    for (int x = 0; x < n; ++x) p[x] = static_cast<S>(p[x] + add[x] - sub[x]);
}

// The rounded mean of a window sum s of n (odd) values: the integer part of (s / n + 0.5), the
// quotient in single precision. s / n is never a half-integer for odd n and lies at least
// 1 / (2n) from one, while the single-precision quotient is within 2^-17 of it, so the result
// is s / n rounded to the nearest integer, which is also (2s + n) / (2n) rounded down. For n
// below 16384, (2s + n) times a single-precision 1 / (2n) stays within 2^-15 of that quotient
// (which lies at least 1 / (2n) from an integer), so its integer part is the same: a multiply
// in place of a division.
struct MeanRounding {
    int n;
    float half_reciprocal;  // 1 / (2n)
    bool by_multiply;
    explicit MeanRounding(long long count)
        : n(static_cast<int>(count)), half_reciprocal(1.0f / (2.0f * static_cast<float>(count))),
          by_multiply(count < 16384) {}
};

// d[i] = the rounded mean of sums[i].
template <class S>
V3D_ROW_CLONES void write_means(UC* __restrict d, const S* __restrict sums, int count, MeanRounding m) {
    if (m.by_multiply) {
        for (int i = 0; i < count; ++i)
            d[i] = static_cast<UC>(static_cast<int>(static_cast<float>(2 * static_cast<int>(sums[i]) + m.n) * m.half_reciprocal));
        return;
    }
    const float n = static_cast<float>(m.n);
    for (int i = 0; i < count; ++i) {
        const float q = static_cast<float>(sums[i]) / n;
        const int t = static_cast<int>(q);
        d[i] = static_cast<UC>(t + (q - static_cast<float>(t) >= 0.5f ? 1 : 0));
    }
}

// The same for the sums of kW neighbouring entries: d[i] = mean of q[i] + ... + q[i+kW-1].
template <int kW, class S>
V3D_ROW_CLONES void write_window_means(UC* __restrict d, const S* __restrict q, int count, MeanRounding m) {
    for (int i = 0; i < count; ++i) {
        int s = 0;
        for (int j = 0; j < kW; ++j) s += q[i + j];
        d[i] = static_cast<UC>(static_cast<int>(static_cast<float>(2 * s + m.n) * m.half_reciprocal));
    }
}

// sums[i] = q[i] + ... + q[i+w-1] for i < count, as a running sum.
template <class S> void window_sums(S* sums, const S* q, int count, int w) {
    int s = 0;
    for (int j = 0; j < w; ++j) s += q[j];
    sums[0] = static_cast<S>(s);
    for (int i = 1; i < count; ++i) sums[i] = static_cast<S>(s += q[i + w - 1] - q[i - 1]);
}

// One row of means from the row of sums along Z and Y (row, count + wx - 1 entries).
template <class S> void row_means(UC* d, const S* row, S* sums, int count, int wx, MeanRounding m) {
    if (m.by_multiply) {
        switch (wx) {
            case 1: return write_means(d, row, count, m);
            case 3: return write_window_means<3>(d, row, count, m);
            case 5: return write_window_means<5>(d, row, count, m);
            case 7: return write_window_means<7>(d, row, count, m);
            case 9: return write_window_means<9>(d, row, count, m);
            default: break;
        }
    }
    window_sums(sums, row, count, wx);
    write_means(d, sums, count, m);
}

// Window sums by running sums along Z and Y and sums along X, then the rounded means.
// Requires in != out and window sums that fit S.
template <class S> int moving_average_separable(Volume* in, Volume* out, const Window& w) {
    const Voi r = voi_of(in);
    const Centres k = centres_of(in, w);
    const int nx = r.nx(), ny = r.ny(), hz = w.hz(), hy = w.hy(), wy = w.wy, wx = w.wx;
    const int count = k.x2 - k.x1;
    const MeanRounding rounding(w.size());
    const int blocks = block_count(k.z1, k.z2, true);
    const std::size_t per_block = static_cast<std::size_t>(ny + 2) * nx;
    BlockMemory<S> scratch;
    if (!scratch.allocate(blocks, per_block, true)) return kNoBuffer;
    for_each_channel(in, [&](int c) {
        UC*** src = voxels<UC>(in, c);
        UC*** dst = voxels<UC>(out, c);
        parallel_blocks(k.z1, k.z2, blocks, [&, src, dst](int b, int z_begin, int z_end) {
            S* plane = scratch.get(b);                           // sums along Z: ny rows of nx
            S* row = plane + static_cast<std::size_t>(ny) * nx;  // sums along Z and Y
            S* sums = row + nx;                                   // whole-window sums
            auto plane_row = [&](int y) { return plane + static_cast<std::size_t>(y) * nx; };
            for (int z = z_begin; z < z_end; ++z) {
                for (int y = 0; y < ny; ++y) {
                    const int vy = r.y1 + y;
                    if (z == z_begin) {
                        std::fill(plane_row(y), plane_row(y) + nx, S{0});
                        for (int dz = -hz; dz <= hz; ++dz) add_bytes(plane_row(y), src[z + dz][vy] + r.x1, nx);
                    } else {
                        slide_bytes(plane_row(y), src[z + hz][vy] + r.x1, src[z - hz - 1][vy] + r.x1, nx);
                    }
                }
                for (int y = k.y1; y < k.y2; ++y) {
                    const int top = y - r.y1 - hy;
                    if (y == k.y1) {
                        std::fill(row, row + nx, S{0});
                        for (int dy = 0; dy < wy; ++dy) add_sums(row, plane_row(top + dy), nx);
                    } else {
                        slide_sums(row, plane_row(top + wy - 1), plane_row(top - 1), nx);
                    }
                    row_means(dst[z][y] + k.x1, row, sums, count, wx, rounding);
                }
            }
        });
    });
    return kOk;
}

// ---- Running maximum and minimum -------------------------------------------------------------

template <bool kMax> inline UC pick(UC a, UC b) { return kMax ? (a > b ? a : b) : (a < b ? a : b); }

template <bool kMax> void combine(UC* __restrict a, const UC* __restrict b, int n) {
    for (int i = 0; i < n; ++i) a[i] = pick<kMax>(a[i], b[i]);
}

// row[i] becomes the extreme of row[i .. i+w-1] for i <= n - w: extremes over spans of 1, 2,
// 4 ... cover the window with two overlapping spans, so the work grows with log2(w).
template <bool kMax> void slide_row(UC* row, int n, int w) {
    int span = 1;
    for (; 2 * span <= w; span *= 2)
        for (int i = 0; i + 2 * span <= n; ++i) row[i] = pick<kMax>(row[i], row[i + span]);
    if (span < w)
        for (int i = 0; i + w <= n; ++i) row[i] = pick<kMax>(row[i], row[i + w - span]);
}

// The same across lines: line(i) (width bytes each, i < len) becomes the extreme of lines
// i .. i+w-1 for i <= len - w.
template <bool kMax, class Line> void slide_lines(Line line, int len, int width, int w) {
    int span = 1;
    for (; 2 * span <= w; span *= 2)
        for (int i = 0; i + 2 * span <= len; ++i) combine<kMax>(line(i), line(i + span), width);
    if (span < w)
        for (int i = 0; i + w <= len; ++i) combine<kMax>(line(i), line(i + w - span), width);
}

// Separable running extreme for long windows: X and Y within each frame into the whole-VOI
// temporary t, then Z. Every input voxel is read before the first output voxel is written.
template <bool kMax> int running_extreme_whole(Volume* in, Volume* out, int wz, int wy, int wx) {
    const Voi r = voi_of(in);
    const int nz = r.nz(), ny = r.ny(), nx = r.nx();
    const int width = nx - wx + 1, rows = ny - wy + 1, frames = nz - wz + 1;
    // The whole-VOI temporary, left uninitialised: every byte used is written first.
    std::unique_ptr<UC[]> t(new (std::nothrow) UC[static_cast<std::size_t>(nz) * ny * nx]);
    if (!t) return kNoVolume;
    auto line = [&t, ny, nx](int z, int y) {
        return t.get() + (static_cast<std::size_t>(z) * ny + y) * nx;
    };
    const bool parallel = in != out;
    for_each_channel(in, [&](int c) {
        UC*** src = voxels<UC>(in, c);
        UC*** dst = voxels<UC>(out, c);
        parallel_blocks(0, nz, block_count(0, nz, parallel), [&](int, int z_begin, int z_end) {
            for (int z = z_begin; z < z_end; ++z) {
                for (int y = 0; y < ny; ++y) {
                    std::memcpy(line(z, y), src[r.z1 + z][r.y1 + y] + r.x1, nx);
                    slide_row<kMax>(line(z, y), nx, wx);
                }
                slide_lines<kMax>([&](int i) { return line(z, i); }, ny, width, wy);
            }
        });
        parallel_blocks(0, rows, block_count(0, rows, parallel), [&](int, int y_begin, int y_end) {
            for (int y = y_begin; y < y_end; ++y) {
                slide_lines<kMax>([&](int i) { return line(i, y); }, nz, width, wz);
                for (int z = 0; z < frames; ++z)
                    std::memcpy(dst[r.z1 + wz / 2 + z][r.y1 + wy / 2 + y] + r.x1 + wx / 2, line(z, y),
                                width);
            }
        });
    });
    return kOk;
}

// Lines of bytes: rows of a volume frame (a row table and a first column) or lines at a stride
// in a buffer.
struct Lines {
    UC* const* table;
    UC* base;
    std::size_t stride;
    int column;
    static Lines rows(UC* const* table, int column) { return {table, nullptr, 0, column}; }
    static Lines buffer(UC* base, std::size_t stride) { return {nullptr, base, stride, 0}; }
    UC* at(int line) const { return table ? table[line] + column : base + stride * static_cast<std::size_t>(line); }
};

// For each line l < lines: d(l)[i] = the extreme of s(l)[i + k * step], k < count, i < n.
// The destinations are none of the sources.
template <bool kMax>
V3D_ROW_CLONES void fold_lines(Lines d, Lines s, int lines, std::size_t step, int count, int n) {
    for (int l = 0; l < lines; ++l) {
        UC* __restrict out = d.at(l);
        const UC* src = s.at(l);
        int i = 0;
#if defined(V3D_VECTORS)
        for (int i0 = 0; n >= 64 && i0 < n; i0 += 64) {  // the last vector overlaps the one before
            i = std::min(i0, n - 64);
            simd::u8x64 v = simd::load64(src + i);
            for (int k = 1; k < count; ++k) {
                const simd::u8x64 e = simd::load64(src + k * step + i);
                v = kMax ? simd::vmax(v, e) : simd::vmin(v, e);
            }
            simd::store64(out + i, v);
        }
        if (n >= 64) continue;
#endif
        for (; i < n; ++i) {
            UC v = src[i];
            for (int k = 1; k < count; ++k) v = pick<kMax>(v, src[k * step + i]);
            out[i] = v;
        }
    }
}

// A ring of the planes of the wz latest frames of a VOI (ny x nx), each frame folded along X
// and along Y: a plane holds one frame's extremes over wy x wx for every centre row and column
// (rows x width). Folding the ring along Z gives a frame of window extremes.
class BoxRing {
public:
    BoxRing(int ny, int nx, int wz, int wy, int wx)
        : ny_(ny), wz_(wz), wy_(wy), wx_(wx), width_(nx - wx + 1), rows_(ny - wy + 1) {}

    std::size_t bytes() const { return (static_cast<std::size_t>(wz_) * rows_ + ny_) * width_; }
    void place(UC* work) { work_ = work; }

    // Folds the ny rows of frame f (frames are numbered from any origin) into its plane.
    template <bool kMax> void add(int f, Lines frame_rows) {
        const Lines folded = Lines::buffer(work_ + wz_ * plane(), width_);
        fold_lines<kMax>(folded, frame_rows, ny_, 1, wx_, width_);
        fold_lines<kMax>(Lines::buffer(work_ + static_cast<std::size_t>(f % wz_) * plane(), width_), folded,
                         rows_, width_, wy_, width_);
    }
    // Sets the plane of frame f to 0 (the planes of a frame of zeros).
    void add_zeros(int f) { std::memset(work_ + static_cast<std::size_t>(f % wz_) * plane(), 0, plane()); }
    // Writes the extremes of the wz frames in the ring to the centre rows.
    template <bool kMax> void fold_into(Lines centre_rows) const {
        fold_lines<kMax>(centre_rows, Lines::buffer(work_, width_), rows_, plane(), wz_, width_);
    }

private:
    std::size_t plane() const { return static_cast<std::size_t>(rows_) * width_; }
    int ny_, wz_, wy_, wx_, width_, rows_;
    UC* work_ = nullptr;
};

// The rows of the centres of frame z of a volume: the VOI's rows and columns shrunk by the
// half window.
Lines centre_rows(UC*** v, const Voi& r, int z, const Window& w) {
    return Lines::rows(v[z] + r.y1 + w.hy(), r.x1 + w.hx());
}

// Sets to 0 the voxels of frame z that lie in the VOI r but are no centres of w: whole rows in
// the margins of frames and rows, else the few columns at each side.
void clear_outside_centres(UC*** v, const Voi& r, const Window& w, int z) {
    const bool margin_frame = z < r.z1 + w.hz() || z >= r.z2 - w.hz();
    for (int y = r.y1; y < r.y2; ++y) {
        UC* row = v[z][y];
        if (margin_frame || y < r.y1 + w.hy() || y >= r.y2 - w.hy()) {
            std::memset(row + r.x1, 0, r.nx());
        } else {
            clear_bytes(row + r.x1, w.hx());
            clear_bytes(row + r.x2 - w.hx(), w.hx());
        }
    }
}

// The VOI's voxels that are no centres, cleared by a folded pass that is asked to (clear):
// those of each frame of centres right after its centres are written, while its lines are in
// the cache, and the margin frames after the first and after the last frame of centres, never
// before the input frame of the same index has been read.
struct Margins {
    bool clear;
    void after_centres(UC*** v, const Voi& r, const Window& w, int centre) const {
        if (!clear) return;
        const int z = r.z1 + centre + w.hz();
        clear_outside_centres(v, r, w, z);
        if (centre == 0)
            for (int m = r.z1; m < z; ++m) clear_outside_centres(v, r, w, m);
        if (centre == r.nz() - w.wz)
            for (int m = z + 1; m < r.z2; ++m) clear_outside_centres(v, r, w, m);
    }
};

// The running extreme of short windows over the frames [z_begin, z_end) of centres
// (VOI-relative window starts) of one channel. An input frame is read before the output frame
// of the same index is written, so in == out is served in one run. (Blocks of rows instead of
// frames, which fold no input frame twice, made erosion by the 3^3 cube slower on two threads:
// 1.63-1.75 against 1.55-1.65 ms.)
template <bool kMax>
void folded_extreme(UC*** src, UC*** dst, const Voi& r, const Window& w, int z_begin, int z_end, BoxRing ring,
                    Margins margins) {
    for (int f = z_begin; f < z_end + w.wz - 1; ++f) {  // input frame r.z1 + f
        ring.add<kMax>(f, Lines::rows(src[r.z1 + f] + r.y1, r.x1));
        const int centre = f - w.wz + 1;  // the output frame whose window ends at f
        if (centre < z_begin) continue;
        ring.fold_into<kMax>(centre_rows(dst, r, r.z1 + centre + w.hz(), w));
        margins.after_centres(dst, r, w, centre);
    }
}

// Two such passes in a row, the second with the other extreme, frame by frame: the first
// pass's frames (its centres' extremes, 0 elsewhere in the VOI) are made one at a time in a
// frame of ny x nx bytes and folded into a second ring, without a volume between. Centres of
// the second pass in the frames [z_begin, z_end).
template <bool kFirstMax>
void folded_pair(UC*** src, UC*** dst, const Voi& r, const Window& w, int z_begin, int z_end, BoxRing first,
                 BoxRing second, UC* frame, Margins margins) {
    const int nz = r.nz(), nx = r.nx(), hz = w.hz();
    const Lines frame_rows = Lines::buffer(frame, nx);
    std::memset(frame, 0, static_cast<std::size_t>(r.ny()) * nx);  // its margins stay 0
    int next_input = -1;                                          // first input frame not in the ring
    for (int b = z_begin; b < z_end + w.wz - 1; ++b) {            // frame r.z1 + b of the first pass
        if (b < hz || b >= nz - hz) {
            second.add_zeros(b);
        } else {
            for (int f = std::max(next_input, b - hz); f <= b + hz; ++f) first.add<kFirstMax>(f, Lines::rows(src[r.z1 + f] + r.y1, r.x1));
            next_input = b + hz + 1;
            first.fold_into<kFirstMax>(Lines::buffer(frame + w.hy() * nx + w.hx(), nx));
            second.add<!kFirstMax>(b, frame_rows);
        }
        const int centre = b - w.wz + 1;
        if (centre < z_begin) continue;
        second.fold_into<!kFirstMax>(centre_rows(dst, r, r.z1 + centre + hz, w));
        margins.after_centres(dst, r, w, centre);
    }
}

// Short windows through rings, frames split over the threads when in != out; pair: two passes
// (see folded_pair); clear: the VOI's voxels that are no centres become 0. -530 when the rings
// cannot be had, as for the whole-VOI temporary.
template <bool kMax>
int running_extreme_folded(Volume* in, Volume* out, int wz, int wy, int wx, bool pair, bool clear) {
    const Voi r = voi_of(in);
    const Window w{wz, wy, wx};
    const BoxRing ring(r.ny(), r.nx(), wz, wy, wx);
    const std::size_t frame = static_cast<std::size_t>(r.ny()) * r.nx();
    const std::size_t per_block = pair ? 2 * ring.bytes() + frame : ring.bytes();
    const int frames = r.nz() - wz + 1;
    const int blocks = block_count(0, frames, in != out);
    BlockMemory<UC> work;
    if (!work.allocate(blocks, per_block)) return kNoVolume;
    const Margins margins{clear};
    for_each_channel(in, [&](int c) {
        UC*** src = voxels<UC>(in, c);
        UC*** dst = voxels<UC>(out, c);
        parallel_blocks(0, frames, blocks, [&](int b, int z_begin, int z_end) {
            BoxRing first = ring, second = ring;
            first.place(work.get(b));
            if (!pair) return folded_extreme<kMax>(src, dst, r, w, z_begin, z_end, first, margins);
            second.place(work.get(b) + ring.bytes());
            folded_pair<kMax>(src, dst, r, w, z_begin, z_end, first, second, work.get(b) + 2 * ring.bytes(), margins);
        });
    });
    return kOk;
}

template <bool kMax> int running_extreme(Volume* in, Volume* out, int wz, int wy, int wx) {
    V3D_CHECK(check_pair(in, out, kUC, kAnyColor));
    if (!odd_window_fits(in, wz, wy, wx)) return kInvalidWindow;
    if (wz <= kShortBox && wy <= kShortBox && wx <= kShortBox) return short_box_extreme(in, out, wz, wy, wx, kMax);
    return running_extreme_whole<kMax>(in, out, wz, wy, wx);
}

// ---- Wiener filter -------------------------------------------------------------------------

int check_f_grey(Volume* v) { return CheckVolume(v, kF, kGrey); }

}  // namespace

int short_box_extreme(Volume* in, Volume* out, int wz, int wy, int wx, bool maximum, bool clear_margins) {
    return maximum ? running_extreme_folded<true>(in, out, wz, wy, wx, false, clear_margins)
                   : running_extreme_folded<false>(in, out, wz, wy, wx, false, clear_margins);
}

int short_box_pair(Volume* in, Volume* out, int wz, int wy, int wx, bool first_maximum, bool clear_margins) {
    return first_maximum ? running_extreme_folded<true>(in, out, wz, wy, wx, true, clear_margins)
                         : running_extreme_folded<false>(in, out, wz, wy, wx, true, clear_margins);
}

}  // namespace v3d

using namespace v3d;

extern "C" {

int mov_ave3(Volume* in, Volume* out, int wz, int wy, int wx) {
    V3D_CHECK(check_pair(in, out, kUC, kAnyColor));
    if (!odd_window_fits(in, wz, wy, wx)) return kInvalidWindow;
    const Window w{wz, wy, wx};
    if (in != out && 255 * w.size() <= UINT16_MAX) return moving_average_separable<uint16_t>(in, out, w);
    if (in != out && 255 * w.size() <= INT_MAX) return moving_average_separable<int>(in, out, w);
    const float n = static_cast<float>(w.size());
    const Centres k = centres_of(in, w);
    return for_each_centre_row(in, out, w, 0, 0, [&](int c, int z, int y, Scratch s) {
        UC* dst = voxels<UC>(out, c)[z][y];
        for (int x = k.x1; x < k.x2; ++x) {
            long long sum = 0;
            for (int row = 0; row < wz * wy; ++row)
                for (int dx = -w.hx(); dx <= w.hx(); ++dx) sum += s.rows[row][x + dx];
            dst[x] = level_of(static_cast<float>(sum) / n);
        }
    });
}

int median3(Volume* in, Volume* out, int wz, int wy, int wx) {
    V3D_CHECK(check_pair(in, out, kUC, kAnyColor));
    if (!odd_window_fits(in, wz, wy, wx)) return kInvalidWindow;
    const Window w{wz, wy, wx};
    const Centres k = centres_of(in, w);
#if defined(V3D_VECTORS)
    const Voi r = voi_of(in);
    if (in != out && w.wx == 3 && w.wz * w.wy == 9 && r.nx() >= kMedian27MinWidth) {
        return for_each_centre_row(in, out, w, 0, 19 * static_cast<std::size_t>(r.nx()),
                                   [&](int c, int z, int y, Scratch s) {
            median27_row(voxels<UC>(out, c)[z][y], s.rows, r.x1, r.nx(), s.bytes);
        });
    }
#endif
    if (in != out && w.size() <= kMaxNetworkWires) {
        const int n = static_cast<int>(w.size()), p = next_power_of_two(n);
        std::vector<Exchange> net;
        try {
            net = median_network(n, p, n / 2);
        } catch (const std::bad_alloc&) {
            return kNoBuffer;
        }
        const std::size_t lanes = static_cast<std::size_t>(p) * kLanes;
        return for_each_centre_row(in, out, w, 0, lanes, [&](int c, int z, int y, Scratch s) {
            std::memset(s.bytes + static_cast<std::size_t>(n) * kLanes, 255,
                        static_cast<std::size_t>(p - n) * kLanes);
            median_row_network(voxels<UC>(out, c)[z][y], k, w, s.rows, net, s.bytes);
        });
    }
    return for_each_centre_row(in, out, w, w.size(), 0, [&](int c, int z, int y, Scratch s) {
        median_row(voxels<UC>(out, c)[z][y], k, w, s);
    });
}

int run_median3(Volume* in, Volume* out, int wz, int wy, int wx) {
    V3D_CHECK(check_pair(in, out, kUC, kAnyColor));
    if (!odd_window_fits(in, wz, wy, wx)) return kInvalidWindow;
    const Window w{wz, wy, wx};
#if defined(V3D_VECTORS)
    if (in != out && w.size() <= kMaxColumnHistogramWindow) return column_histogram_median(in, out, w);
#endif
    const Centres k = centres_of(in, w);
    return for_each_centre_row(in, out, w, 256 + w.size(), 0, [&](int c, int z, int y, Scratch s) {
        UC* dst = voxels<UC>(out, c)[z][y];
        switch (wz * wy) {
            case 9: return running_median_row<9>(dst, k, w, s);
            case 25: return running_median_row<25>(dst, k, w, s);
            default: return running_median_row<0>(dst, k, w, s);
        }
    });
}

int wei_median3(Volume* in, Volume* out, Volume* weights) {
    V3D_CHECK(CheckVolume(in, kUC, kAnyColor));
    V3D_CHECK(CheckVolume(out, kUC, kAnyColor));
    V3D_CHECK(CheckVolume(weights, kUC, kGrey));
    if (smaller_than(out, in)) return kBadOutputDims;
    if (out->colortype != in->colortype) return kBadOutputColor;
    const Window w{weights->Z, weights->Y, weights->X};
    if (!odd_window_fits(in, w.wz, w.wy, w.wx)) return kInvalidWindow;
    UC*** wv = voxels<UC>(weights, 0);
    long long total = 0;
    for (int z = 0; z < w.wz; ++z)
        for (int y = 0; y < w.wy; ++y)
            for (int x = 0; x < w.wx; ++x) total += wv[z][y][x];
    if (total < 1) return kBadWeights;
    if (total > INT_MAX) return kNoBuffer;
    const int sum = static_cast<int>(total);
    const Centres k = centres_of(in, w);
    return for_each_centre_row(in, out, w, sum, 0, [&](int c, int z, int y, Scratch s) {
        UC* dst = voxels<UC>(out, c)[z][y];
        for (int x = k.x1; x < k.x2; ++x) {
            int n = 0;
            for (int dz = 0; dz < w.wz; ++dz)
                for (int dy = 0; dy < w.wy; ++dy) {
                    const UC* row = s.rows[dz * w.wy + dy] + x - w.hx();
                    const UC* weight = wv[dz][dy];
                    for (int dx = 0; dx < w.wx; ++dx)
                        for (int copies = weight[dx]; copies > 0; --copies) s.ints[n++] = row[dx];
                }
            exchange_sort(s.ints, sum);
            dst[x] = static_cast<UC>(sum % 2 ? s.ints[sum / 2]
                                             : (s.ints[sum / 2 - 1] + s.ints[sum / 2]) / 2);
        }
    });
}

int multistage_median3(Volume* in, Volume* out, int n) {
    V3D_CHECK(check_pair(in, out, kUC, kAnyColor));
    if (!odd_window_fits(in, n, n, n)) return kInvalidWindow;
    const Window w{n, n, n};
    const Centres k = centres_of(in, w);
    const int h = n / 2;
    return for_each_centre_row(in, out, w, 7 * static_cast<std::size_t>(n) + 8, 0,
                               [&](int c, int z, int y, Scratch s) {
        UC* dst = voxels<UC>(out, c)[z][y];
        const UC* const* rows = s.rows;  // rows[dz * n + dy]
        int* line[7];
        for (int l = 0; l < 7; ++l) line[l] = s.ints + l * n;
        int* stats = s.ints + 7 * n;
        for (int x = k.x1; x < k.x2; ++x) {
            for (int i = 0; i < n; ++i) {
                const int j = n - 1 - i;
                line[0][i] = rows[h * n + h][x - h + i];
                line[1][i] = rows[i * n + h][x];
                line[2][i] = rows[h * n + i][x];
                line[3][i] = rows[i * n + i][x - h + i];
                line[4][i] = rows[i * n + i][x + h - i];
                line[5][i] = rows[i * n + j][x - h + i];
                line[6][i] = rows[i * n + j][x + h - i];
            }
            for (int l = 0; l < 7; ++l) {
                exchange_sort(line[l], n);
                stats[l] = line[l][h];
            }
            stats[7] = rows[h * n + h][x];
            exchange_sort(stats, 8);
            dst[x] = static_cast<UC>((stats[3] + stats[4]) / 2);
        }
    });
}

int run_max3(Volume* in, Volume* out, int wz, int wy, int wx) {
    return running_extreme<true>(in, out, wz, wy, wx);
}

int run_min3(Volume* in, Volume* out, int wz, int wy, int wx) {
    return running_extreme<false>(in, out, wz, wy, wx);
}

int l_filter3(Volume* in, Volume* out, const float* coef, int wz, int wy, int wx) {
    V3D_CHECK(CheckVolume(in, kUC, kAnyColor));
    V3D_CHECK(CheckVolume(out, kUC, kAnyColor));
    if (!coef) return kNullVector;
    if (smaller_than(out, in)) return kBadOutputDims;
    if (out->colortype != in->colortype) return kBadOutputColor;
    if (!odd_window_fits(in, wz, wy, wx)) return kInvalidWindow;
    const Window w{wz, wy, wx};
    const int n = static_cast<int>(w.size());
    if (!all_finite(coef, static_cast<std::size_t>(n))) return kInvalidParams;
    const Centres k = centres_of(in, w);
    return for_each_centre_row(in, out, w, n, 0, [&](int c, int z, int y, Scratch s) {
        UC* dst = voxels<UC>(out, c)[z][y];
        for (int x = k.x1; x < k.x2; ++x) {
            gather(s.rows, wz * wy, x - w.hx(), wx, s.ints);
            exchange_sort(s.ints, n);
            float sum = 0.0f;
            for (int i = 0; i < n; ++i) sum += coef[i] * static_cast<float>(s.ints[i]);
            dst[x] = clamp_round_uc(sum);
        }
    });
}

int local_adapt_filt3(Volume* in, Volume* out, float noise, int wz, int wy, int wx) {
    V3D_CHECK(check_pair(in, out, kUC, kAnyColor));
    if (!finite_real(noise) || noise < 0.0f) return kInvalidParams;
    if (!odd_window_fits(in, wz, wy, wx)) return kInvalidWindow;
    const Window w{wz, wy, wx};
    const Centres k = centres_of(in, w);
    const float n = static_cast<float>(w.size());
    return for_each_centre_row(in, out, w, 0, 0, [&](int c, int z, int y, Scratch s) {
        UC* dst = voxels<UC>(out, c)[z][y];
        const UC* centre_row = s.rows[w.hz() * wy + w.hy()];
        for (int x = k.x1; x < k.x2; ++x) {
            long long sum = 0, squares = 0;
            for (int row = 0; row < wz * wy; ++row) {
                const UC* p = s.rows[row] + x - w.hx();
                for (int dx = 0; dx < wx; ++dx) {
                    sum += p[dx];
                    squares += p[dx] * p[dx];
                }
            }
            const float mean = static_cast<float>(sum) / n;
            const float var = static_cast<float>(squares) / n - mean * mean;
            float r = mean;
            if (!(var < 0.0001)) {
                float gain = noise / var;
                if (gain > 1.0f) gain = 1.0f;
                r = (1.0f - gain) * static_cast<float>(centre_row[x]) + gain * mean;
            }
            dst[x] = level_of(r);
        }
    });
}

int wienerfrequency3(Volume* hre, Volume* him, Volume* psd, Volume* dre, Volume* dim,
                     float noise) {
    V3D_CHECK(check_f_grey(hre));
    V3D_CHECK(check_f_grey(him));
    V3D_CHECK(check_f_grey(psd));
    V3D_CHECK(check_f_grey(dre));
    V3D_CHECK(check_f_grey(dim));
    if (smaller_than(him, hre)) return kBadOutputDims;
    if (smaller_than(psd, hre) || smaller_than(dre, hre) || smaller_than(dim, hre))
        return kBadInputDims;
    if (!finite_real(noise) || noise < 0.0f) return kInvalidParams;
    const Voi r = voi_of(hre);
    float*** fr = voxels<float>(hre, 0);
    float*** fi = voxels<float>(him, 0);
    float*** p = voxels<float>(psd, 0);
    float*** hr = voxels<float>(dre, 0);
    float*** hi = voxels<float>(dim, 0);
    for (int z = r.z1; z < r.z2; ++z)
        for (int y = r.y1; y < r.y2; ++y)
            for (int x = r.x1; x < r.x2; ++x) {
                const float a = hr[z][y][x], b = hi[z][y][x], power = p[z][y][x];
                const float d = (a * a + b * b) * power + noise;
                const float g = power / d;
                fr[z][y][x] = g * a;
                fi[z][y][x] = -g * b;
            }
    return kOk;
}

}  // extern "C"
