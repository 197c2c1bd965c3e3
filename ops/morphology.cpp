// Binary morphology: Minkowski addition and subtraction (scatter form), dilation and erosion
// (gather form), opening and closing.
//
// Binary voxels are 0 or 255, so a dilation is the OR and an erosion the AND of the input
// voxels under the set element voxels. Both run row by row: the rows of the input shifted by
// every set element voxel are combined into the output row, which the compiler vectorises. An
// element with every voxel set (a box) is separable: OR/AND along x, then y, then z, with the
// planes of the frames in use kept in a ring; on 0 and 255 these are the running maximum and
// minimum, so boxes up to kShortBox long take the rank filters' folded pass. Either way every
// voxel comes out as the plain voxel-by-voxel definition gives it.
#include <algorithm>
#include <cstring>

#include "core/common.h"
#include "core/parallel.h"
#include "ops/box_extreme.h"

namespace v3d {
namespace {

enum class Op { Dilate, Erode };

// acc[i] = acc[i] OP src[i] over n bytes.
template <Op op> void combine(unsigned char* __restrict acc, const unsigned char* __restrict src, int n) {
    if (op == Op::Dilate) {
        for (int i = 0; i < n; ++i) acc[i] |= src[i];
    } else {
        for (int i = 0; i < n; ++i) acc[i] &= src[i];
    }
}

// The structuring element: sizes, half sizes, and whether every voxel is set.
struct Element {
    Volume* vol;
    int zs, ys, xs, hz, hy, hx;
    bool set(int i, int j, int k) const { return vol->data[0].uc[i][j][k] != 0; }
    bool full() const {
        for (int i = 0; i < zs; ++i)
            for (int j = 0; j < ys; ++j)
                for (int k = 0; k < xs; ++k)
                    if (!set(i, j, k)) return false;
        return true;
    }
};
Element element_of(Volume* se) { return {se, se->Z, se->Y, se->X, se->Z / 2, se->Y / 2, se->X / 2}; }

// A box that the rank filters' running extremes take.
bool short_box(const Element& e) { return e.zs <= kShortBox && e.ys <= kShortBox && e.xs <= kShortBox && e.full(); }

// The working region: the VOI shrunk by the element's half sizes.
Voi working_region(const Volume* in, const Element& e) {
    const Voi r = voi_of(in);
    return {r.z1 + e.hz, r.z2 - e.hz, r.y1 + e.hy, r.y2 - e.hy, r.x1 + e.hx, r.x2 - e.hx};
}

// The checks shared by all six operators, in their fixed order.
int check_morphology(Volume* in, Volume* se, Volume* out) {
    V3D_CHECK(CheckVolume(in, kUC, kGrey));
    V3D_CHECK(CheckVolume(se, kUC, kGrey));
    V3D_CHECK(CheckVolume(out, kUC, kGrey));
    if (smaller_than(out, in)) return kBadOutputDims;
    const Voi r = voi_of(in);
    if ((se->Z & 1) == 0 || (se->Y & 1) == 0 || (se->X & 1) == 0) return kBadInputDims;
    if (se->Z > r.nz() || se->Y > r.ny() || se->X > r.nx()) return kBadInputDims;
    if (CheckIfUCBinary(in) == 0) return kNotBinary;
    if (CheckIfUCBinary(se) == 0) return kNotBinary;
    return kOk;
}

// Sets to 0 the voxels of in's VOI outside the working region w in out. A few bytes per row,
// but every row is a cache line of its own to fetch: on one thread this was an eighth of an
// erosion by the 3^3 cube, so the frames go to the threads like the rest of the work.
void clear_margins(const Volume* in, const Voi& w, Volume* out) {
    const Voi r = voi_of(in);
    unsigned char*** o = out->data[0].uc;
    parallel_for(r.z1, r.z2, [&](int z) {
        for (int y = r.y1; y < r.y2; ++y) {
            unsigned char* row = o[z][y];
            if (z < w.z1 || z >= w.z2 || y < w.y1 || y >= w.y2) {
                std::memset(row + r.x1, 0, r.nx());
            } else {
                clear_bytes(row + r.x1, w.x1 - r.x1);
                clear_bytes(row + w.x2, r.x2 - w.x2);
            }
        }
    });
}

// Gather form with any element: each output row of the working region combines the input
// rows under the element's set voxels, shifted by their columns.
template <Op op> void gather_rows(Volume* in, const Element& e, Volume* out, const Voi& w) {
    unsigned char*** src = in->data[0].uc;
    unsigned char*** dst = out->data[0].uc;
    const int n = w.nx();
    parallel_for(w.z1, w.z2, [&](int z) {
        for (int y = w.y1; y < w.y2; ++y) {
            unsigned char* acc = dst[z][y] + w.x1;
            std::memset(acc, op == Op::Dilate ? 0 : 255, n);
            for (int i = 0; i < e.zs; ++i)
                for (int j = 0; j < e.ys; ++j) {
                    const unsigned char* row = src[z - e.hz + i][y - e.hy + j] + w.x1 - e.hx;
                    for (int k = 0; k < e.xs; ++k)
                        if (e.set(i, j, k)) combine<op>(acc, row + k, n);
                }
        }
    });
}

// Gather form with a box element over the target frames [z1, z2) of the working region.
// The plane of an input frame is that frame combined along x and then y for every target row
// and column; a ring holds the planes of the zs frames under the current target frame.
template <Op op> class BoxPass {
public:
    bool make(const Element& e, const Voi& w, const Voi& r) {
        const size_t plane = static_cast<size_t>(w.ny()) * w.nx();
        rows_ = make_buffer<unsigned char>(static_cast<size_t>(r.ny()) * w.nx());
        ring_ = make_buffer<unsigned char>(plane * e.zs);
        return rows_ && ring_;
    }

    void run(Volume* in, const Element& e, Volume* out, const Voi& w, int z1, int z2) {
        const Voi r = voi_of(in);
        const int n = w.nx();
        const size_t plane = static_cast<size_t>(w.ny()) * n;
        for (int z = z1 - e.hz; z < z2 + e.hz; ++z) {
            make_plane(in, e, w, r, z, ring_.get() + plane * (z % e.zs));
            const int target = z - e.hz;
            if (target < z1) continue;
            for (int y = 0; y < w.ny(); ++y) {
                unsigned char* acc = out->data[0].uc[target][w.y1 + y] + w.x1;
                for (int i = 0; i < e.zs; ++i) {
                    const unsigned char* p = ring_.get() + plane * ((target - e.hz + i) % e.zs) +
                                             static_cast<size_t>(y) * n;
                    if (i == 0) std::memcpy(acc, p, n);
                    else combine<op>(acc, p, n);
                }
            }
        }
    }

private:
    void make_plane(Volume* in, const Element& e, const Voi& w, const Voi& r, int z,
                    unsigned char* p) {
        const int n = w.nx();
        for (int y = r.y1; y < r.y2; ++y) {
            const unsigned char* s = in->data[0].uc[z][y] + w.x1 - e.hx;
            unsigned char* row = rows_.get() + static_cast<size_t>(y - r.y1) * n;
            std::memcpy(row, s, n);
            for (int k = 1; k < e.xs; ++k) combine<op>(row, s + k, n);
        }
        for (int y = 0; y < w.ny(); ++y) {
            unsigned char* acc = p + static_cast<size_t>(y) * n;
            const unsigned char* first = rows_.get() + static_cast<size_t>(w.y1 - e.hy - r.y1 + y) * n;
            std::memcpy(acc, first, n);
            for (int j = 1; j < e.ys; ++j) combine<op>(acc, first + static_cast<size_t>(j) * n, n);
        }
    }

    std::unique_ptr<unsigned char[]> rows_, ring_;
};

// Runs a box element over the working region, its frames split into one run per thread.
template <Op op> int gather_box(Volume* in, const Element& e, Volume* out, const Voi& w) {
    const int runs = std::max(1, std::min(thread_count(), w.nz() / 16));
    std::unique_ptr<BoxPass<op>[]> pass(new (std::nothrow) BoxPass<op>[runs]);
    if (!pass) return kNoBuffer;
    for (int i = 0; i < runs; ++i)
        if (!pass[i].make(e, w, voi_of(in))) return kNoBuffer;
    const long long nz = w.nz();
    parallel_for(0, runs, [&](int i) {
        pass[i].run(in, e, out, w, w.z1 + static_cast<int>(nz * i / runs),
                    w.z1 + static_cast<int>(nz * (i + 1) / runs));
    });
    return kOk;
}

// Dilation or erosion in gather form after the checks.
template <Op op> int gather(Volume* in, Volume* se, Volume* out) {
    const Element e = element_of(se);
    const Voi w = working_region(in, e);
    OwnedVolume copy;
    Volume* source;
    V3D_CHECK(separate_input(in, out, copy, source));
    if (short_box(e)) {
        // The margins are cleared with the centres of each frame.
        return short_box_extreme(source, out, e.zs, e.ys, e.xs, op == Op::Dilate, true);
    }
    if (e.full()) {
        V3D_CHECK(gather_box<op>(source, e, out, w));
    } else {
        gather_rows<op>(source, e, out, w);
    }
    clear_margins(in, w, out);
    return kOk;
}

// Scatter form: every working-region input row stamps its voxels, shifted by every set element
// voxel, into the output rows the element covers. Addition ORs the set voxels in; subtraction
// ANDs them, so that clear voxels clear.
template <Op op> void scatter_rows(Volume* in, const Element& e, Volume* out, const Voi& w) {
    unsigned char*** src = in->data[0].uc;
    unsigned char*** dst = out->data[0].uc;
    const int n = w.nx();
    for (int z = w.z1; z < w.z2; ++z)
        for (int y = w.y1; y < w.y2; ++y) {
            const unsigned char* row = src[z][y] + w.x1;
            for (int i = 0; i < e.zs; ++i)
                for (int j = 0; j < e.ys; ++j) {
                    unsigned char* target = dst[z - e.hz + i][y - e.hy + j] + w.x1 - e.hx;
                    for (int k = 0; k < e.xs; ++k)
                        if (e.set(i, j, k)) combine<op>(target + k, row, n);
                }
        }
}

// Opening (erode, then dilate) or closing (dilate, then erode): the second step takes the
// element reflected through its centre.
template <Op first, Op second> int compose(Volume* in, Volume* se, Volume* out) {
    V3D_CHECK(check_morphology(in, se, out));
    const Element e = element_of(se);
    if (short_box(e)) {
        // A box is its own reflection, and its two steps stream frame by frame through rings of
        // planes: the volume between is never made (-530 when the rings cannot be had), and
        // the margins are cleared with the centres of each frame.
        OwnedVolume copy;
        Volume* source;
        V3D_CHECK(separate_input(in, out, copy, source));
        return short_box_pair(source, out, e.zs, e.ys, e.xs, first == Op::Dilate, true);
    }
    OwnedVolume between, reflected;
    V3D_CHECK(between.create(in->Z, in->Y, in->X, kUC, kGrey));
    fill_in_VOI(between.get(), in->z1, in->z2, in->y1, in->y2, in->x1, in->x2);
    V3D_CHECK(reflected.create(se->Z, se->Y, se->X, kUC, kGrey));
    Symmetric3d(se, reflected.get());
    // The steps skip the checks: the input and the element have passed them, the volume
    // between holds 0 and 255 only (0 outside the VOI) and the reflected element is binary.
    auto step = [](Op op, Volume* a, Volume* e, Volume* b) {
        return op == Op::Dilate ? gather<Op::Dilate>(a, e, b) : gather<Op::Erode>(a, e, b);
    };
    // The inner steps allocate work buffers (the described ones could not fail), so their
    // statuses are passed on: a failed step must not end in success with a wrong result.
    // Either fails before writing its own output, so out is untouched on failure.
    V3D_CHECK(step(first, in, se, between.get()));
    return step(second, between.get(), reflected.get(), out);
}

}  // namespace
}  // namespace v3d

using namespace v3d;

extern "C" {

int MinkowskiAddition3d(Volume* in, Volume* se, Volume* out) {
    V3D_CHECK(check_morphology(in, se, out));
    OwnedVolume copy;
    Volume* source;
    V3D_CHECK(separate_input(in, out, copy, source));
    const Voi r = voi_of(in);
    for (int z = r.z1; z < r.z2; ++z)
        for (int y = r.y1; y < r.y2; ++y) std::memset(out->data[0].uc[z][y] + r.x1, 0, r.nx());
    const Element e = element_of(se);
    scatter_rows<Op::Dilate>(source, e, out, working_region(in, e));
    return kOk;
}

int MinkowskiSubtraction3d(Volume* in, Volume* se, Volume* out) {
    V3D_CHECK(check_morphology(in, se, out));
    OwnedVolume copy;
    Volume* source;
    V3D_CHECK(separate_input(in, out, copy, source));
    const Element e = element_of(se);
    const Voi w = working_region(in, e);
    for (int z = w.z1; z < w.z2; ++z)
        for (int y = w.y1; y < w.y2; ++y) std::memset(out->data[0].uc[z][y] + w.x1, 255, w.nx());
    clear_margins(in, w, out);
    scatter_rows<Op::Erode>(source, e, out, w);
    return kOk;
}

int bdilate3d(Volume* in, Volume* se, Volume* out) {
    V3D_CHECK(check_morphology(in, se, out));
    return gather<Op::Dilate>(in, se, out);
}

int berode3d(Volume* in, Volume* se, Volume* out) {
    V3D_CHECK(check_morphology(in, se, out));
    return gather<Op::Erode>(in, se, out);
}

int bopening3d(Volume* in, Volume* se, Volume* out) {
    return compose<Op::Erode, Op::Dilate>(in, se, out);
}

int bclosing3d(Volume* in, Volume* se, Volume* out) {
    return compose<Op::Dilate, Op::Erode>(in, se, out);
}

}  // extern "C"
