// Segmentation of grey UC volumes over the input's VOI: fixed threshold, seeded region growing,
// one-pass region merging, octree split and split-and-merge, grass-fire labelling of connected
// components.
//
// Memory: fixed tables come from make_buffer, working volumes are OwnedVolumes and growing lists
// are Growable arrays; each reports a failure as the operator's status (-9 for buffers and
// lists, -530 for volumes), and nothing here throws.
#include <algorithm>
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

// Growing works in passes over the interior of the VOI: a pass expands the front voxels in scan
// order, including those that join during the pass at later positions; those that join at
// earlier positions wait for the next pass. The front of a pass is kept in a min-queue of scan
// positions instead of rescanning the whole interior, which expands the same voxels in the
// same order.
class Grower {
public:
    Grower(Volume* in, Volume* out, int tolerance, RegionTables& regions, Volume* visited,
           Volume* front)
        : in_(grey(in)), out_(grey(out)), r_(voi_of(in)), tolerance_(tolerance),
          regions_(regions), visited_(grey(visited)), front_(grey(front)) {}

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
                    if (interior(z, y, x) && !next_.push(position(z, y, x))) return kNoBuffer;
                }
        seeds_ = k;
        return kOk;
    }

    // Passes in increasing position order until no front voxel is left: 0 or -9.
    int grow() {
        Growable<long long> pass;
        while (!next_.empty()) {
            pass.swap(next_);
            next_.clear();
            std::make_heap(pass.begin(), pass.end(), std::greater<>());
            while (!pass.empty()) {
                std::pop_heap(pass.begin(), pass.end(), std::greater<>());
                V3D_CHECK(expand(pass.pop(), pass));
            }
        }
        return kOk;
    }

    // Each region's value becomes its rounded mean.
    void finish_means() {
        for (int k = 1; k <= seeds_; ++k) regions_.value[k - 1] = regions_.mean(k);
    }

private:
    long long position(int z, int y, int x) const {
        return (static_cast<long long>(z) * r_.ny() + y) * r_.nx() + x;
    }
    bool interior(int z, int y, int x) const {
        return z > 0 && z < r_.nz() - 1 && y > 0 && y < r_.ny() - 1 && x > 0 && x < r_.nx() - 1;
    }

    // Lets the front voxel at p take every unvisited neighbour within tolerance of its
    // region's seed value, then leaves the front: 0 or -9.
    int expand(long long p, Growable<long long>& pass) {
        const int x = static_cast<int>(p % r_.nx());
        const int y = static_cast<int>(p / r_.nx() % r_.ny());
        const int z = static_cast<int>(p / r_.nx() / r_.ny());
        const Byte k = front_[z][y][x];
        const int seed_value = regions_.value[k - 1];
        for (int dz = -1; dz <= 1; ++dz)
            for (int dy = -1; dy <= 1; ++dy)
                for (int dx = -1; dx <= 1; ++dx) {
                    const int nz = z + dz, ny = y + dy, nx = x + dx;
                    if (visited_[nz][ny][nx]) continue;
                    const Byte* in_row = in_[r_.z1 + nz][r_.y1 + ny];
                    if (std::abs(in_row[r_.x1 + nx] - seed_value) > tolerance_) continue;
                    out_[r_.z1 + nz][r_.y1 + ny][r_.x1 + nx] = k;
                    front_[nz][ny][nx] = k;
                    visited_[nz][ny][nx] = 1;
                    regions_.add(k, in_row[r_.x1 + nx]);
                    if (!interior(nz, ny, nx)) continue;  // border voxels never spread
                    const long long q = position(nz, ny, nx);
                    if (q > p) {
                        if (!pass.push(q)) return kNoBuffer;
                        std::push_heap(pass.begin(), pass.end(), std::greater<>());
                    } else if (!next_.push(q)) {
                        return kNoBuffer;
                    }
                }
        front_[z][y][x] = 0;
        return kOk;
    }

    Byte*** in_;
    Byte*** out_;
    Voi r_;
    int tolerance_;
    RegionTables& regions_;
    Byte*** visited_;  // VOI-relative
    Byte*** front_;    // VOI-relative: the region number of a voxel still to expand
    Growable<long long> next_;  // interior front voxels of the next pass
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
            for (int y = 0; y < r_.ny(); ++y)
                for (int x = 0; x < r_.nx(); ++x) {
                    const Byte v = in_[r_.z1 + z][r_.y1 + y][r_.x1 + x];
                    int region = nearest_causal(z, y, x, v);
                    if (!region) region = nearest_of_all(v);
                    if (region) {
                        regions_.add(region, v);
                        regions_.value[region - 1] = regions_.mean(region);
                    } else if (regions_count_ == max_) {
                        return false;
                    } else {
                        region = ++regions_count_;
                        regions_.open(region, v);
                    }
                    labels_[z][y][x] = static_cast<Byte>(region);
                    out_[r_.z1 + z][r_.y1 + y][r_.x1 + x] = static_cast<Byte>(region);
                }
        return true;
    }
    int regions() const { return regions_count_; }

private:
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

// The voxels of a fire still to visit, used as a stack (the order in which a component is
// visited does not change which voxels it holds).
struct Voxel {
    int z, y, x;
};
using PendingVoxels = Growable<Voxel>;

// The first x in [x, end) with a non-zero voxel, or end.
int next_nonzero(const Byte* row, int x, int end) {
    for (uint64_t word; x + 8 <= end; x += 8) {
        std::memcpy(&word, row + x, sizeof word);
        if (word) break;
    }
    while (x < end && !row[x]) ++x;
    return x;
}

// Adds n to a per-label float count exactly as n increments of 1.0f would (they stop at 2^24).
void add_ones(float& count, int n) {
    count = static_cast<float>(std::min(static_cast<double>(count) + n, 16777216.0));
}

// Labels the component of value v that (z, y, x) starts: every voxel of the VOI 26-connected
// to it through voxels of value v. Each labelled voxel is cleared in the input and counted.
// Runs of v along x are taken whole; the eight rows next to a run are searched over the run
// widened by one voxel, and every run of v met there is pushed once.
int fire(Byte*** in, Byte*** out, const Voi& r, int z, int y, int x, Byte label, float& count,
         PendingVoxels& pending) {
    const Byte v = in[z][y][x];
    if (!pending.push({z, y, x})) return kNoBuffer;
    while (!pending.empty()) {
        const Voxel p = pending.pop();
        Byte* row = in[p.z][p.y];
        if (row[p.x] != v) continue;  // taken with another run since it was pushed
        int a = p.x, b = p.x;
        while (a > r.x1 && row[a - 1] == v) --a;
        while (b + 1 < r.x2 && row[b + 1] == v) ++b;
        const size_t length = static_cast<size_t>(b - a + 1);
        std::memset(row + a, 0, length);
        std::memset(out[p.z][p.y] + a, label, length);
        add_ones(count, b - a + 1);
        const int x_lo = std::max(a - 1, r.x1), x_hi = std::min(b + 1, r.x2 - 1);
        for (int nz = std::max(p.z - 1, r.z1); nz <= std::min(p.z + 1, r.z2 - 1); ++nz)
            for (int ny = std::max(p.y - 1, r.y1); ny <= std::min(p.y + 1, r.y2 - 1); ++ny) {
                if (nz == p.z && ny == p.y) continue;
                const Byte* next = in[nz][ny];
                for (int nx = x_lo; nx <= x_hi; ++nx) {
                    if (next[nx] != v) continue;
                    if (!pending.push({nz, ny, nx})) return kNoBuffer;
                    while (nx < x_hi && next[nx + 1] == v) ++nx;
                }
            }
    }
    return kOk;
}

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
    V3D_CHECK(grower.number_seeds(maxseeds));
    V3D_CHECK(grower.grow());
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
    const Voi r = voi_of(in);
    PendingVoxels pending;
    int label = 0;
    for (int z = r.z1; z < r.z2; ++z)
        for (int y = r.y1; y < r.y2; ++y) {
            const Byte* row = grey(in)[z][y];
            for (int x = next_nonzero(row, r.x1, r.x2); x < r.x2;
                 x = next_nonzero(row, x + 1, r.x2)) {
                if (++label > maxlabels) {
                    *nlabels = maxlabels;
                    return kTooManyRegions;
                }
                const int status = fire(grey(in), grey(out), r, z, y, x,
                                        static_cast<Byte>(label), counts[label - 1], pending);
                if (status != kOk) {
                    pending.clear();
                    *nlabels = label;
                    return status;
                }
            }
        }
    *nlabels = label;
    return kOk;
}

}  // extern "C"
