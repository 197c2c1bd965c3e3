// Segmentation of grey UC volumes over the input's VOI: fixed threshold, seeded region growing,
// one-pass region merging, octree split and split-and-merge, grass-fire labelling of connected
// components.
//
// Memory: fixed tables come from make_buffer, working volumes are OwnedVolumes and growing lists
// are Growable arrays; each reports a failure as the operator's status (-9 for buffers and
// lists, -530 for volumes), and nothing here throws.
#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>

#include "core/common.h"
#include "core/parallel.h"

namespace v3d {
namespace {

using Byte = unsigned char;

Byte*** grey(const Volume* v) { return v->data[0].uc; }

// ---- threshold ------------------------------------------------------------------------------

void threshold_row(const Byte* src, Byte* dst, int n, int threshold) {
    if (threshold <= 0 || threshold > 255) {
        std::memset(dst, threshold <= 0 ? 255 : 0, static_cast<size_t>(n));
        return;
    }
    const Byte t = static_cast<Byte>(threshold);
    for (int i = 0; i < n; ++i) dst[i] = src[i] >= t ? 255 : 0;
}

// ---- region tables, shared by growing and merging --------------------------------------------

// Per-region sum, count and value (the seed value while growing, the rounded mean otherwise),
// indexed by region number - 1.
struct RegionTables {
    std::unique_ptr<uint32_t[]> sum, count;
    std::unique_ptr<Byte[]> value;

    int allocate(int n) {
        sum = make_buffer<uint32_t>(static_cast<size_t>(n));
        count = make_buffer<uint32_t>(static_cast<size_t>(n));
        value = make_buffer<Byte>(static_cast<size_t>(n));
        return sum && count && value ? kOk : kNoBuffer;
    }
    void open(int k, Byte v) {
        sum[k - 1] = v;
        count[k - 1] = 1;
        value[k - 1] = v;
    }
    void add(int k, Byte v) {
        sum[k - 1] += v;
        count[k - 1] += 1;
    }
    Byte mean(int k) const { return static_cast<Byte>(region_mean(sum[k - 1], count[k - 1])); }
    // The mean after a voxel was added: mostly the value before, which still holds when
    // 2 count m <= 2 sum + count < 2 count (m + 1) (whole numbers, no division).
    Byte mean_after_add(int k) const {
        const std::uint64_t twice_sum = 2 * std::uint64_t{sum[k - 1]} + count[k - 1];
        const std::uint64_t twice_count = 2 * std::uint64_t{count[k - 1]}, m = value[k - 1];
        if (twice_count * m <= twice_sum && twice_sum < twice_count * (m + 1)) return value[k - 1];
        return mean(k);
    }
};

// Every non-zero voxel of the VOI r of out (a region number k) becomes value[k - 1].
void numbers_to_values(Volume* out, const Voi& r, const Byte* value) {
    for (int z = r.z1; z < r.z2; ++z)
        for (int y = r.y1; y < r.y2; ++y) {
            Byte* row = grey(out)[z][y];
            for (int x = r.x1; x < r.x2; ++x)
                if (row[x]) row[x] = value[row[x] - 1];
        }
}

// ---- seeded growing -------------------------------------------------------------------------

// The front voxels still to expand, one bit each in scan order (rows of whole 64-bit words),
// with a summary bit per word that is not empty. A sweep visits the bits in increasing position
// order, bits set ahead of it while it runs included; bits set behind it wait for the next sweep.
class FrontBits {
public:
    int allocate(long long rows, int nx) {
        row_words_ = (static_cast<std::size_t>(nx) + 63) / 64;
        words_ = static_cast<std::size_t>(rows) * row_words_;
        bits_ = make_buffer<std::uint64_t>(words_);
        summary_ = make_buffer<std::uint64_t>((words_ + 63) / 64);
        if (!bits_ || !summary_) return kNoBuffer;
        std::fill(bits_.get(), bits_.get() + words_, 0);
        std::fill(summary_.get(), summary_.get() + (words_ + 63) / 64, 0);
        return kOk;
    }

    void set(std::size_t row, int x) {
        const std::size_t w = row * row_words_ + static_cast<std::size_t>(x) / 64;
        bits_[w] |= std::uint64_t{1} << (x % 64);
        summary_[w / 64] |= std::uint64_t{1} << (w % 64);
    }

    // Clears each bit and calls visit(row, x) for it; false when no bit was set.
    template <class Visit> bool sweep(Visit visit) {
        bool any = false;
        for (std::size_t s = 0, n = (words_ + 63) / 64; s < n; ++s)
            for (std::uint64_t ahead = ~std::uint64_t{0}, m; (m = summary_[s] & ahead) != 0;) {
                const int sb = __builtin_ctzll(m);
                const std::size_t w = s * 64 + static_cast<std::size_t>(sb);
                const std::size_t row = w / row_words_;
                const int x0 = static_cast<int>(w % row_words_) * 64;
                for (std::uint64_t above = ~std::uint64_t{0}, b; (b = bits_[w] & above) != 0;) {
                    const int bit = __builtin_ctzll(b);
                    bits_[w] &= ~(std::uint64_t{1} << bit);
                    above = bit == 63 ? 0 : ~std::uint64_t{0} << (bit + 1);
                    any = true;
                    visit(row, x0 + bit);
                }
                if (!bits_[w]) summary_[s] &= ~(std::uint64_t{1} << sb);
                ahead = sb == 63 ? 0 : ~std::uint64_t{0} << (sb + 1);
            }
        return any;
    }

private:
    std::size_t row_words_ = 0, words_ = 0;
    std::unique_ptr<std::uint64_t[]> bits_, summary_;
};

// Growing works in passes over the interior of the VOI: a pass expands the front voxels in scan
// order, including those that join during the pass at later positions; those that join at
// earlier positions wait for the next pass. The front is kept as bits swept in scan order
// instead of rescanning the whole interior, which expands the same voxels in the same order.
class Grower {
public:
    Grower(Volume* in, Volume* out, int tolerance, RegionTables& regions, Volume* visited,
           Volume* front)
        : in_(grey(in)), out_(grey(out)), r_(voi_of(in)), tolerance_(tolerance),
          regions_(regions), visited_(grey(visited)), front_(grey(front)) {}

    int allocate() { return bits_.allocate(static_cast<long long>(r_.nz()) * r_.ny(), r_.nx()); }

    // Numbers the seeds (non-zero output voxels) 1, 2 ... in scan order: 0 or -990 when there
    // are more than maxseeds.
    int number_seeds(int maxseeds) {
        int k = 0;
        for (int z = 0; z < r_.nz(); ++z)
            for (int y = 0; y < r_.ny(); ++y)
                for (int x = 0; x < r_.nx(); ++x) {
                    Byte& o = out_[r_.z1 + z][r_.y1 + y][r_.x1 + x];
                    if (!o) continue;
                    if (k == maxseeds) return kBadSeeds;
                    o = static_cast<Byte>(++k);
                    visited_[z][y][x] = 1;
                    front_[z][y][x] = static_cast<Byte>(k);
                    regions_.open(k, in_[r_.z1 + z][r_.y1 + y][r_.x1 + x]);
                    if (interior(z, y, x)) bits_.set(row(z, y), x);
                }
        seeds_ = k;
        return kOk;
    }

    // Passes in increasing position order until no front voxel is left.
    void grow() {
        const int ny = r_.ny();
        while (bits_.sweep([&](std::size_t row, int x) {
            expand(static_cast<int>(row / ny), static_cast<int>(row % ny), x);
        })) {
        }
    }

    // Each region's value becomes its rounded mean.
    void finish_means() {
        for (int k = 1; k <= seeds_; ++k) regions_.value[k - 1] = regions_.mean(k);
    }

private:
    std::size_t row(int z, int y) const { return static_cast<std::size_t>(z) * r_.ny() + y; }
    bool interior(int z, int y, int x) const {
        return z > 0 && z < r_.nz() - 1 && y > 0 && y < r_.ny() - 1 && x > 0 && x < r_.nx() - 1;
    }

    // Lets the front voxel at (z, y, x) take every unvisited neighbour within tolerance of its
    // region's seed value, then leaves the front.
    void expand(int z, int y, int x) {
        const Byte k = front_[z][y][x];
        const int seed_value = regions_.value[k - 1];
        for (int dz = -1; dz <= 1; ++dz)
            for (int dy = -1; dy <= 1; ++dy) {
                const int nz = z + dz, ny = y + dy;
                Byte* visited = visited_[nz][ny];
                const Byte* in_row = in_[r_.z1 + nz][r_.y1 + ny] + r_.x1;
                for (int nx = x - 1; nx <= x + 1; ++nx) {
                    if (visited[nx] || std::abs(in_row[nx] - seed_value) > tolerance_) continue;
                    out_[r_.z1 + nz][r_.y1 + ny][r_.x1 + nx] = k;
                    front_[nz][ny][nx] = k;
                    visited[nx] = 1;
                    regions_.add(k, in_row[nx]);
                    if (interior(nz, ny, nx)) bits_.set(row(nz, ny), nx);  // border voxels never spread
                }
            }
        front_[z][y][x] = 0;
    }

    Byte*** in_;
    Byte*** out_;
    Voi r_;
    int tolerance_;
    RegionTables& regions_;
    Byte*** visited_;  // VOI-relative
    Byte*** front_;    // VOI-relative: the region number of a voxel still to expand
    FrontBits bits_;   // interior front voxels, in scan order
    int seeds_ = 0;
};

// ---- one-pass merging -----------------------------------------------------------------------

// The nearest region among candidates: d = |v - mean| <= tolerance, the smallest d wins, the
// first met on ties.
class Nearest {
public:
    Nearest(int v, int tolerance, const Byte* mean)
        : v_(v), best_d_(std::min(tolerance, 255) + 1), mean_(mean) {}
    void consider(int region) {
        const int d = std::abs(v_ - mean_[region - 1]);
        if (d < best_d_) {
            best_d_ = d;
            best_ = region;
        }
    }
    int region() const { return best_; }  // 0 when none qualified

private:
    int v_, best_d_, best_ = 0;
    const Byte* mean_;
};

class Merger {
public:
    Merger(Volume* in, Volume* out, int tolerance, int maxregions, RegionTables& regions,
           Volume* labels)
        : in_(grey(in)), out_(grey(out)), r_(voi_of(in)), tolerance_(tolerance),
          max_(maxregions), regions_(regions), labels_(grey(labels)) {}

    // Labels the VOI in scan order: false when a region beyond the maximum was needed.
    bool scan() {
        for (int z = 0; z < r_.nz(); ++z)
            for (int y = 0; y < r_.ny(); ++y) {
                const Byte* in = in_[r_.z1 + z][r_.y1 + y] + r_.x1;
                Byte* out = out_[r_.z1 + z][r_.y1 + y] + r_.x1;
                Byte* labels = labels_[z][y];
                // rows whose voxels away from the row ends have all 13 causal neighbours
                const bool inner = z > 0 && y > 0 && y + 1 < r_.ny();
                const Byte* causal[5] = {};
                if (inner)
                    for (int i = 0; i < 5; ++i)
                        causal[i] = labels_[i < 3 ? z - 1 : z][i < 3 ? y - 1 + i : y - 4 + i];
                for (int x = 0; x < r_.nx(); ++x) {
                    const Byte v = in[x];
                    int region = inner && x > 0 && x + 1 < r_.nx() ? nearest_inner(causal, x, v)
                                                                    : nearest_causal(z, y, x, v);
                    if (!region) region = nearest_of_all(v);
                    if (region) {
                        regions_.add(region, v);
                        regions_.value[region - 1] = regions_.mean_after_add(region);
                    } else if (regions_count_ == max_) {
                        return false;
                    } else {
                        region = ++regions_count_;
                        regions_.open(region, v);
                    }
                    labels[x] = static_cast<Byte>(region);
                    out[x] = static_cast<Byte>(region);
                }
            }
        return true;
    }
    int regions() const { return regions_count_; }

private:
    // The same 13 neighbours of a voxel that has them all, in the same order: the three rows of
    // the frame before and the row before at x-1 .. x+1, then the voxel before.
    int nearest_inner(const Byte* const* causal, int x, int v) const {
        Nearest best(v, tolerance_, regions_.value.get());
        for (int i = 0; i < 4; ++i)
            for (int xx = x - 1; xx <= x + 1; ++xx) best.consider(causal[i][xx]);
        best.consider(causal[4][x - 1]);
        return best.region();
    }

    // Among the 13 neighbours scanned before (z, y, x): the frame before (nine), then the row
    // before (three) and the voxel before, skipping those outside the VOI.
    int nearest_causal(int z, int y, int x, int v) const {
        Nearest best(v, tolerance_, regions_.value.get());
        auto row = [&](int zz, int yy, int xlo, int xhi) {
            if (zz < 0 || yy < 0 || yy >= r_.ny()) return;
            const Byte* labels = labels_[zz][yy];
            for (int xx = std::max(xlo, 0); xx <= std::min(xhi, r_.nx() - 1); ++xx)
                best.consider(labels[xx]);
        };
        for (int dy = -1; dy <= 1; ++dy) row(z - 1, y + dy, x - 1, x + 1);
        row(z, y - 1, x - 1, x + 1);
        row(z, y, x - 1, x - 1);
        return best.region();
    }

    int nearest_of_all(int v) const {
        Nearest best(v, tolerance_, regions_.value.get());
        for (int k = 1; k <= regions_count_; ++k) best.consider(k);
        return best.region();
    }

    Byte*** in_;
    Byte*** out_;
    Voi r_;
    int tolerance_, max_;
    RegionTables& regions_;
    Byte*** labels_;  // VOI-relative
    int regions_count_ = 0;
};

// ---- octree splitting -----------------------------------------------------------------------

struct Box {
    int z1, z2, y1, y2, x1, x2;  // half-open
    long long count() const {
        return static_cast<long long>(z2 - z1) * (y2 - y1) * (x2 - x1);
    }
    bool single_voxel() const { return z2 - z1 < 2 && y2 - y1 < 2 && x2 - x1 < 2; }
};

void fill_box(Byte*** v, const Box& b, Byte value) {
    for (int z = b.z1; z < b.z2; ++z)
        for (int y = b.y1; y < b.y2; ++y)
            std::memset(v[z][y] + b.x1, value, static_cast<size_t>(b.x2 - b.x1));
}

struct BoxStats {
    int min = 255, max = 0;
    uint64_t sum = 0;
    long long count = 0;
    bool homogeneous(int tolerance) const { return std::abs(max - min) <= tolerance; }
    Byte mean() const { return static_cast<Byte>(region_mean(double(sum), double(count))); }
};

// Minimum, maximum and sum of the box; stops early once the box cannot be homogeneous.
BoxStats box_stats(Byte*** in, const Box& b, int tolerance) {
    BoxStats s;
    s.count = b.count();
    for (int z = b.z1; z < b.z2; ++z)
        for (int y = b.y1; y < b.y2; ++y) {
            const Byte* row = in[z][y];
            int lo = s.min, hi = s.max;
            uint64_t sum = 0;
            for (int x = b.x1; x < b.x2; ++x) {
                lo = std::min<int>(lo, row[x]);
                hi = std::max<int>(hi, row[x]);
                sum += row[x];
            }
            s.min = lo;
            s.max = hi;
            s.sum += sum;
            if (!s.homogeneous(tolerance)) return s;
        }
    return s;
}

// The checks a splitter makes before its first split.
int splitter_checks(const Volume* in, const Volume* out, const Box& b, int tolerance) {
    if (!in->data[0].p || !out->data[0].p) return kNullData;
    if (b.z1 < 0 || b.y1 < 0 || b.x1 < 0 || b.z2 <= b.z1 || b.y2 <= b.y1 || b.x2 <= b.x1)
        return kInvalidParams;
    if (tolerance < 0) return kInvalidParams;
    return kOk;
}

// The halves of [a1, a2) at a1 + extent / 2 (the lower one the smaller); an axis of extent 1
// is not split and has one part.
struct Parts {
    int bounds[3];
    int n;
};
Parts halve(int a1, int a2) {
    if (a2 - a1 == 1) return {{a1, a2, a2}, 1};
    return {{a1, a1 + (a2 - a1) / 2, a2}, 2};
}

// Splits b until its blocks are homogeneous and hands each block to leaf(block, stats). The
// children of a box come in the order (z low, y low, x low), (z low, y high, x low),
// (z low, y low, x high), (z low, y high, x high), then the same with z high. Results of the
// children are ignored.
template <class Leaf>
int split_box(Volume* in, Volume* out, const Box& b, int tolerance, Leaf& leaf) {
    const BoxStats s = box_stats(grey(in), b, tolerance);
    if (s.homogeneous(tolerance)) return leaf(b, s);
    if (b.single_voxel()) return kOk;
    const Parts pz = halve(b.z1, b.z2), py = halve(b.y1, b.y2), px = halve(b.x1, b.x2);
    for (int iz = 0; iz < pz.n; ++iz)
        for (int ix = 0; ix < px.n; ++ix)
            for (int iy = 0; iy < py.n; ++iy) {
                const Box child{pz.bounds[iz], pz.bounds[iz + 1], py.bounds[iy],
                                py.bounds[iy + 1], px.bounds[ix], px.bounds[ix + 1]};
                split_box(in, out, child, tolerance, leaf);
            }
    return kOk;
}

Box voi_box(const Volume* v) { return {v->z1, v->z2, v->y1, v->y2, v->x1, v->x2}; }

// The whole VOI of in, checked first.
template <class Leaf> int split_voi(Volume* in, Volume* out, int tolerance, Leaf& leaf) {
    const Box b = voi_box(in);
    V3D_CHECK(splitter_checks(in, out, b, tolerance));
    return split_box(in, out, b, tolerance, leaf);
}

// The leaf action of split-and-merge: number the block, then merge it into the neighbouring
// region whose output value is nearest to its mean, when within tolerance.
class BlockMerger {
public:
    static constexpr int kMaxRegions = 255;

    BlockMerger(Volume* in, Volume* out, Volume* labels, Byte* means, int* count, int tolerance)
        : out_(grey(out)), labels_(grey(labels)), means_(means), count_(count),
          tolerance_(tolerance), r_(voi_of(in)) {}

    int operator()(const Box& b, const BoxStats& s) {
        if (++*count_ > kMaxRegions) return kTooManyRegions;
        const Byte label = static_cast<Byte>(*count_), mean = s.mean();
        fill_box(labels_, b, label);
        fill_box(out_, b, mean);
        means_[label - 1] = mean;
        if (*count_ > 1) merge(b, mean);
        return kOk;
    }

private:
    void merge(const Box& b, Byte mean) {
        int best_d = 256;
        Byte best_label = 0;
        for_each_face_slab(b, [&](const Box& slab) {
            for (int z = slab.z1; z < slab.z2; ++z)
                for (int y = slab.y1; y < slab.y2; ++y) {
                    const Byte* row = out_[z][y];
                    for (int x = slab.x1; x < slab.x2; ++x) {
                        const int d = std::abs(row[x] - mean);
                        if (row[x] && d < best_d) {
                            best_d = d;
                            best_label = labels_[z][y][x];
                        }
                    }
                }
        });
        // An old output value that belongs to no region takes part in the search but never
        // receives a block.
        if (best_d > tolerance_ || best_label == 0) return;
        fill_box(labels_, b, best_label);
        fill_box(out_, b, means_[best_label - 1]);
        --*count_;
    }

    // The one-voxel slabs just outside the faces of b (z before, z after, y before, y after,
    // x before, x after), each spanning b grown by one voxel in its other two axes, clipped to
    // the VOI; slabs beyond the VOI are skipped.
    template <class F> void for_each_face_slab(const Box& b, F&& f) const {
        const Box g{std::max(b.z1 - 1, r_.z1), std::min(b.z2 + 1, r_.z2),
                    std::max(b.y1 - 1, r_.y1), std::min(b.y2 + 1, r_.y2),
                    std::max(b.x1 - 1, r_.x1), std::min(b.x2 + 1, r_.x2)};
        if (b.z1 > r_.z1) f(Box{b.z1 - 1, b.z1, g.y1, g.y2, g.x1, g.x2});
        if (b.z2 < r_.z2) f(Box{b.z2, b.z2 + 1, g.y1, g.y2, g.x1, g.x2});
        if (b.y1 > r_.y1) f(Box{g.z1, g.z2, b.y1 - 1, b.y1, g.x1, g.x2});
        if (b.y2 < r_.y2) f(Box{g.z1, g.z2, b.y2, b.y2 + 1, g.x1, g.x2});
        if (b.x1 > r_.x1) f(Box{g.z1, g.z2, g.y1, g.y2, b.x1 - 1, b.x1});
        if (b.x2 < r_.x2) f(Box{g.z1, g.z2, g.y1, g.y2, b.x2, b.x2 + 1});
    }

    Byte*** out_;
    Byte*** labels_;  // full dimensions of the input
    Byte* means_;     // the mean of region k at k - 1, fixed when the region is opened
    int* count_;
    int tolerance_;
    Voi r_;
};

// ---- grass-fire labelling -------------------------------------------------------------------

// Labelling works on runs: maximal pieces of a row with one non-zero value. Two runs of the
// same value belong to one 26-connected component when their rows are neighbours (the row
// before in the frame, or one of the three rows around it in the frame before) and their
// column ranges, one widened by a voxel, overlap. Runs are joined in a union-find forest
// whose roots are the first run of their component in scan order, so the components are
// numbered in the order of their first voxel, as a grass fire started from each first voxel
// in scan order numbers them, and a maximum reached leaves exactly the components a fire
// would have left.
//
// Every step but the slab seams runs on all threads, by slabs of frames: each slab finds its
// runs, clears them from the input while the row is in cache and joins them as it goes, in
// run numbers of its own; then the numbers become global, the seams are joined, each slab
// ranks its roots, and each slab writes its labels, which follow from the ranks and the root
// counts of the slabs before it. Labels do not depend on the number of slabs. Runs left
// unnumbered (a maximum reached) and every run found when memory runs short get their value
// back in the input.

struct Run {
    int x1, x2;       // inclusive
    uint32_t parent;  // while its slab is scanned, in the slab's own run numbers
    Byte value;
    Byte rank;  // of a root: its place among the roots of its slab, saturated at 255
};

// The first x in [x, end) with a non-zero voxel, or end. Called for every row, most of them
// empty, so it is inlined.
#if defined(__GNUC__)
#define V3D_SCAN_INLINE inline __attribute__((always_inline))
#else
#define V3D_SCAN_INLINE inline
#endif
V3D_SCAN_INLINE int next_nonzero(const Byte* row, int x, int end) {
    auto word = [row](int at) {
        uint64_t w;
        std::memcpy(&w, row + at, sizeof w);
        return w;
    };
    for (; x + 256 <= end; x += 256) {  // a block of 256 at a time (vectorised)
        uint64_t any = 0;
        for (int i = 0; i < 256; i += 8) any |= word(x + i);
        if (any) break;
    }
    for (; x + 64 <= end; x += 64) {
        uint64_t any = 0;
        for (int i = 0; i < 64; i += 8) any |= word(x + i);
        if (any) break;
    }
    for (; x + 8 <= end; x += 8)
        if (word(x)) break;
    while (x < end && !row[x]) ++x;
    return x;
}

// The first x in (x, end) whose voxel differs from row[x], or end.
int run_end(const Byte* row, int x, int end) {
    const uint64_t pattern = 0x0101010101010101ull * row[x];
    for (++x; x + 8 <= end; x += 8) {
        uint64_t word;
        std::memcpy(&word, row + x, sizeof word);
        if (const uint64_t diff = word ^ pattern) return x + __builtin_ctzll(diff) / 8;  // little-endian
    }
    while (x < end && row[x] == static_cast<Byte>(pattern)) ++x;
    return x;
}

// The runs of one slab, addressed by run number (base is the number of its first run).
struct SlabRuns {
    Run* runs;
    std::size_t base;
    Run& operator[](std::size_t i) const { return runs[i - base]; }
};

// Calls join(a, c) for every pair of runs of the same value that touch, a from the run
// numbers [a, a_end) of one row and c from [b, b_end) of a neighbouring row.
template <class Join>
void join_rows(const SlabRuns& ra, uint32_t a, uint32_t a_end, const SlabRuns& rb, uint32_t b, uint32_t b_end,
               Join&& join) {
    for (; a < a_end && b < b_end; ++a) {
        const Run& p = ra[a];
        while (b < b_end && rb[b].x2 < p.x1 - 1) ++b;
        for (uint32_t c = b; c < b_end && rb[c].x1 <= p.x2 + 1; ++c)
            if (rb[c].value == p.value) join(a, c);
    }
}

// The voxel count of every label, and the number of roots, of one slab (a cache line of its
// own, as every slab writes its tally at the same time).
struct alignas(64) SlabTally {
    uint64_t voxels[256];
    std::size_t roots, roots_before;
};

class RunLabeller {
public:
    RunLabeller(Byte*** in, Byte*** out, const Voi& r) : in_(in), out_(out), r_(r) {}

    // Finds the runs, clears them from the input and joins them: 0, or -9 with the input as
    // it was.
    int build() {
        // four slabs a thread: the components are not spread evenly over the frames, and a
        // thread done early takes another slab instead of waiting at the end
        const int threads = block_count(0, r_.nz(), true);
        slabs_ = threads > 1 ? std::min(r_.nz(), 4 * threads) : 1;
        row_end_ = make_io_buffer<uint32_t>(static_cast<std::size_t>(r_.nz()) * r_.ny());
        slab_runs_ = std::unique_ptr<Growable<Run>[]>(new (std::nothrow) Growable<Run>[slabs_]);
        slab_base_ = make_io_buffer<std::size_t>(static_cast<std::size_t>(slabs_) + 1);
        tally_ = make_io_buffer<SlabTally>(static_cast<std::size_t>(slabs_));
        if (!row_end_ || !slab_runs_ || !slab_base_ || !tally_) return kNoBuffer;
        std::atomic<bool> short_of_memory{false};
        parallel_blocks(0, r_.nz(), slabs_, [&](int s, int z1, int z2) {
            if (!scan_slab(s, z1, z2)) short_of_memory = true;
        });
        std::size_t total = 0;
        for (int s = 0; s < slabs_; ++s) {
            slab_base_[s] = total;
            total += slab_runs_[s].size();
        }
        slab_base_[slabs_] = total;
        // beyond the 32-bit run numbers, the memory is short as well
        if (!short_of_memory && total < UINT32_MAX) parent_ = make_io_buffer<uint32_t>(total);
        if (!parent_) {
            restore_input();
            return kNoBuffer;
        }
        parallel_blocks(0, r_.nz(), slabs_, [&](int s, int, int) { make_global(s); });
        for (int s = 1; s < slabs_; ++s) {  // the seams: the first frame of each slab
            auto join_roots = [this](uint32_t a, uint32_t b) { join(a, b); };
            for (int y = 0; y < r_.ny(); ++y)
                join_frame_before(slab(s), slab_first(s), slab(s - 1), slab_first(s - 1), slab_first(s), y, join_roots);
        }
        return kOk;
    }

    // Numbers the components 1, 2 ... in the order of their first run, at most maxlabels of
    // them, writes their labels into the output and gives the runs of components beyond the
    // maximum their value back in the input. Counts the voxels of each label into counts.
    // Returns the number of components numbered, or -1 when there were more than maxlabels.
    int label(int maxlabels, float* counts) {
        parallel_blocks(0, r_.nz(), slabs_, [&](int s, int, int) { rank_roots(s); });
        std::size_t roots = 0;
        for (int s = 0; s < slabs_; ++s) {
            tally_[s].roots_before = roots;
            roots += tally_[s].roots;
        }
        parallel_blocks(0, r_.nz(), slabs_, [&](int s, int z1, int z2) { write_slab(s, z1, z2, maxlabels); });
        const int n = static_cast<int>(std::min<std::size_t>(roots, static_cast<std::size_t>(maxlabels)));
        for (int k = 1; k <= n; ++k) {  // counted in steps of 1.0f, which stop at 2^24
            uint64_t voxels = 0;
            for (int s = 0; s < slabs_; ++s) voxels += tally_[s].voxels[k];
            counts[k - 1] = static_cast<float>(std::min<uint64_t>(voxels, 16777216));
        }
        return roots > static_cast<std::size_t>(maxlabels) ? -1 : n;
    }

private:
    std::size_t row(int z, int y) const { return static_cast<std::size_t>(z) * r_.ny() + y; }
    SlabRuns slab(int s) const { return {slab_runs_[s].begin(), slab_base_[s]}; }
    int slab_first(int s) const { return static_cast<int>(static_cast<long long>(r_.nz()) * s / slabs_); }

    // The runs of row (z, y) of the slab starting at frame z1, as its own run numbers
    // [first, last); the slab's base turns them into global ones.
    uint32_t first_run(int z, int y, int z1) const { return (z == z1 && y == 0) ? 0 : row_end_[row(z, y) - 1]; }
    uint32_t last_run(int z, int y) const { return row_end_[row(z, y)]; }

    // Joins row (z, y) of slab `runs` (first frame z1) with the rows around it in the frame
    // before, of slab `before` (first frame before_z1): the same slab, or the one before at a
    // seam.
    template <class Join>
    void join_frame_before(const SlabRuns& runs, int z1, const SlabRuns& before, int before_z1, int z, int y,
                           Join&& join) {
        const auto base = static_cast<uint32_t>(runs.base), before_base = static_cast<uint32_t>(before.base);
        for (int ny = std::max(y - 1, 0); ny <= std::min(y + 1, r_.ny() - 1); ++ny)
            join_rows(runs, base + first_run(z, y, z1), base + last_run(z, y), before,
                      before_base + first_run(z - 1, ny, before_z1), before_base + last_run(z - 1, ny), join);
    }

    // The runs of frames [z1, z2) into slab s, cleared from the input and joined. When memory
    // runs short, the rows not scanned get no runs and it returns false.
    bool scan_slab(int s, int z1, int z2) {
        // the list is built on this thread's stack: beside the other slabs' lists, the size
        // written at every run would share a cache line with them
        Growable<Run> runs;
        const bool complete = scan_slab(runs, z1, z2);
        slab_runs_[s].swap(runs);
        return complete;
    }
    bool scan_slab(Growable<Run>& runs, int z1, int z2) {
        auto local_root = [&runs](uint32_t i) {
            Run* p = runs.begin();
            while (p[i].parent != i) i = p[i].parent = p[p[i].parent].parent;
            return i;
        };
        auto join_local = [&](uint32_t a, uint32_t b) {
            a = local_root(a), b = local_root(b);
            if (a != b) runs.begin()[std::max(a, b)].parent = std::min(a, b);
        };
        const int ny = r_.ny(), x1 = r_.x1, x2 = r_.x2;
        for (int z = z1; z < z2; ++z) {
            Byte* const* rows = in_[r_.z1 + z] + r_.y1;
            uint32_t* ends = row_end_.get() + row(z, 0);
            for (int y = 0; y < ny; ++y) {
                const std::size_t first = runs.size();
                const bool complete = scan_row(runs, rows[y], x1, x2);
                ends[y] = static_cast<uint32_t>(runs.size());
                if (!complete) {
                    std::fill(ends + y, row_end_.get() + row(z2, 0), ends[y]);
                    return false;
                }
                if (runs.size() == first) continue;
                const SlabRuns local{runs.begin(), 0};
                if (y > 0)
                    join_rows(local, static_cast<uint32_t>(first), ends[y], local, first_run(z, y - 1, z1), ends[y - 1],
                              join_local);
                if (z > z1) join_frame_before(local, z1, local, z1, z, y, join_local);
            }
        }
        return true;
    }

    // Appends the runs of a row in [x1, x2) and clears them from the input. False when memory
    // is short (the runs appended stay cleared).
    static bool scan_row(Growable<Run>& runs, Byte* line, int x1, int x2) {
        for (int x = next_nonzero(line, x1, x2); x < x2;) {
            const int end = run_end(line, x, x2);
            if (!runs.push({x, end - 1, static_cast<uint32_t>(runs.size()), line[x], 0})) return false;
            std::memset(line + x, 0, static_cast<std::size_t>(end - x));
            x = next_nonzero(line, end, x2);
        }
        return true;
    }

    // Gives every run found its value back in the input.
    void restore_input() {
        for (int s = 0; s < slabs_; ++s) {
            const Run* runs = slab_runs_[s].begin();
            uint32_t i = 0;
            for (int z = slab_first(s); z < slab_first(s + 1); ++z)
                for (int y = 0; y < r_.ny(); ++y)
                    for (const uint32_t end = row_end_[row(z, y)]; i < end; ++i)
                        std::memset(in_[r_.z1 + z][r_.y1 + y] + runs[i].x1, runs[i].value,
                                    static_cast<std::size_t>(runs[i].x2 - runs[i].x1 + 1));
        }
    }

    // The forest of slab s in global run numbers.
    void make_global(int s) {
        const std::size_t base = slab_base_[s];
        const Run* runs = slab_runs_[s].begin();
        for (std::size_t i = 0, n = slab_runs_[s].size(); i < n; ++i)
            parent_[base + i] = static_cast<uint32_t>(base + runs[i].parent);
    }

    uint32_t root(uint32_t i) {
        while (parent_[i] != i) i = parent_[i] = parent_[parent_[i]];
        return i;
    }
    void join(uint32_t a, uint32_t b) {
        a = root(a), b = root(b);
        if (a < b) parent_[b] = a;
        else if (b < a) parent_[a] = b;
    }

    // Ranks the roots of slab s among themselves and counts them.
    void rank_roots(int s) {
        const SlabRuns runs = slab(s);
        std::size_t n = 0;
        for (std::size_t i = slab_base_[s]; i < slab_base_[s + 1]; ++i)
            if (parent_[i] == i) runs[i].rank = static_cast<Byte>(std::min<std::size_t>(n++, 255));
        tally_[s].roots = n;
    }

    // The label of run i of slab s: its root's number, or 0 beyond maxlabels. Only reads the
    // forest, as the other slabs read it at the same time.
    Byte label_of(uint32_t i, int s, int maxlabels) {
        while (parent_[i] != i) i = parent_[i];
        while (slab_base_[s] > i) --s;  // the root's slab: this one or one before
        const std::size_t number = tally_[s].roots_before + slab(s)[i].rank + 1;
        return number <= static_cast<std::size_t>(maxlabels) ? static_cast<Byte>(number) : 0;
    }

    // Writes the labels of slab s's runs and counts their voxels; unnumbered runs get their
    // value back in the input.
    void write_slab(int s, int z1, int z2, int maxlabels) {
        const SlabRuns runs = slab(s);
        uint64_t voxels[256] = {};
        std::size_t i = slab_base_[s];
        for (int z = z1; z < z2; ++z)
            for (int y = 0; y < r_.ny(); ++y)
                for (const std::size_t end = slab_base_[s] + row_end_[row(z, y)]; i < end; ++i) {
                    const Run& run = runs[i];
                    const Byte label = label_of(static_cast<uint32_t>(i), s, maxlabels);
                    const std::size_t length = static_cast<std::size_t>(run.x2 - run.x1 + 1);
                    voxels[label] += length;
                    if (label) std::memset(out_[r_.z1 + z][r_.y1 + y] + run.x1, label, length);
                    else std::memset(in_[r_.z1 + z][r_.y1 + y] + run.x1, run.value, length);
                }
        std::copy(voxels + 1, voxels + 256, tally_[s].voxels + 1);
    }

    Byte*** in_;
    Byte*** out_;
    Voi r_;
    int slabs_ = 1;
    std::unique_ptr<Growable<Run>[]> slab_runs_;
    std::unique_ptr<std::size_t[]> slab_base_;  // the number of each slab's first run, and the total
    std::unique_ptr<uint32_t[]> row_end_;        // per row of the VOI: the end of its runs in its slab
    std::unique_ptr<uint32_t[]> parent_;         // the forest in global run numbers
    std::unique_ptr<SlabTally[]> tally_;
};

}  // namespace
}  // namespace v3d

using namespace v3d;

extern "C" {

int threshold_3d(Volume* in, Volume* out, int threshold) {
    V3D_CHECK(check_pair(in, out, kUC, kGrey));
    const Voi r = voi_of(in);
    auto frame = [&](int z) {
        for (int y = r.y1; y < r.y2; ++y)
            threshold_row(grey(in)[z][y] + r.x1, grey(out)[z][y] + r.x1, r.nx(), threshold);
    };
    if (in == out) {
        for (int z = r.z1; z < r.z2; ++z) frame(z);
    } else {
        parallel_for(r.z1, r.z2, frame);
    }
    return kOk;
}

int region3d_grow(Volume* in, Volume* out, int maxseeds, int tolerance) {
    V3D_CHECK(check_pair(in, out, kUC, kGrey));
    if (maxseeds < 1 || maxseeds > 255 || tolerance < 0) return kInvalidParams;
    RegionTables regions;
    V3D_CHECK(regions.allocate(maxseeds));
    const Voi r = voi_of(in);
    OwnedVolume visited, front;
    V3D_CHECK(visited.create(r.nz(), r.ny(), r.nx(), kUC, kGrey));
    V3D_CHECK(front.create(r.nz(), r.ny(), r.nx(), kUC, kGrey));
    Grower grower(in, out, tolerance, regions, visited.get(), front.get());
    V3D_CHECK(grower.allocate());
    V3D_CHECK(grower.number_seeds(maxseeds));
    grower.grow();
    grower.finish_means();
    numbers_to_values(out, r, regions.value.get());
    return kOk;
}

int region3d_merge(Volume* in, Volume* out, int tolerance, int maxregions) {
    V3D_CHECK(check_pair(in, out, kUC, kGrey));
    if (tolerance < 0 || maxregions < 1 || maxregions > 255) return kInvalidParams;
    RegionTables regions;
    V3D_CHECK(regions.allocate(maxregions));
    const Voi r = voi_of(in);
    OwnedVolume labels;
    V3D_CHECK(labels.create(r.nz(), r.ny(), r.nx(), kUC, kGrey));
    fill_box(grey(out), voi_box(in), 0);
    Merger merger(in, out, tolerance, maxregions, regions, labels.get());
    const bool complete = merger.scan();
    numbers_to_values(out, r, regions.value.get());
    return complete ? merger.regions() : kTooManyRegions;
}

int region3d_split(Volume* in, Volume* out, int* count, int tolerance) {
    V3D_CHECK(check_pair(in, out, kUC, kGrey));
    if (!count) return kNullBasicPointer;
    if (*count != 0 || tolerance < 0) return kInvalidParams;
    auto leaf = [&](const Box& b, const BoxStats& s) {
        ++*count;
        fill_box(grey(out), b, s.mean());
        return kOk;
    };
    return split_voi(in, out, tolerance, leaf);
}

int region3d_splitmerge(Volume* in, Volume* out, int* count, int tolerance) {
    V3D_CHECK(check_pair(in, out, kUC, kGrey));
    if (!count) return kNullBasicPointer;
    if (*count != 0 || tolerance < 0) return kInvalidParams;
    auto means = make_buffer<Byte>(BlockMerger::kMaxRegions);
    if (!means) return kNoBuffer;
    OwnedVolume labels;
    V3D_CHECK(labels.create(in->Z, in->Y, in->X, kUC, kGrey));
    BlockMerger leaf(in, out, labels.get(), means.get(), count, tolerance);
    V3D_CHECK(split_voi(in, out, tolerance, leaf));
    return kOk;
}

int grass3d_label(Volume* in, Volume* out, int* nlabels, float* counts, int maxlabels) {
    V3D_CHECK(CheckVolume(in, kUC, kGrey));
    V3D_CHECK(CheckVolume(out, kUC, kGrey));
    if (!nlabels) return kNullBasicPointer;
    if (!counts) return kNullVector;
    if (smaller_than(out, in)) return kBadOutputDims;
    if (maxlabels < 1 || maxlabels > 255) return kInvalidParams;
    // Labelling in place would see its own labels as input values again.
    if (in == out) return kSameVolume;
    std::fill(counts, counts + maxlabels, 0.0f);
    RunLabeller labeller(grey(in), grey(out), voi_of(in));
    if (labeller.build() != kOk) {
        *nlabels = 0;  // nothing was labelled
        return kNoBuffer;
    }
    const int numbered = labeller.label(maxlabels, counts);
    *nlabels = numbered < 0 ? maxlabels : numbered;
    return numbered < 0 ? kTooManyRegions : kOk;
}

}  // extern "C"
