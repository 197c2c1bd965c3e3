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
#include <vector>

#include "core/common.h"
#include "core/parallel.h"
#include "ops/sort.h"

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

// One scratch per block of frames, allocated before the work starts.
class BlockScratch {
public:
    bool allocate(int blocks, std::size_t ints, std::size_t bytes, std::size_t rows) {
        ni_ = ints;
        nb_ = (bytes + 63) / 64 * 64;
        nr_ = rows;
        ints_ = make_buffer<int>(ni_ * blocks);
        bytes_ = make_buffer<UC>(nb_ * blocks);
        rows_ = make_buffer<const UC*>(nr_ * blocks);
        return ints_ && bytes_ && rows_;
    }
    Scratch get(int b) { return {ints_.get() + ni_ * b, bytes_.get() + nb_ * b, rows_.get() + nr_ * b}; }

private:
    std::size_t ni_ = 0, nb_ = 0, nr_ = 0;
    std::unique_ptr<int[]> ints_;
    std::unique_ptr<UC[]> bytes_;
    std::unique_ptr<const UC*[]> rows_;
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

// Batcher's odd-even merge sort of p wires (a power of two), reduced to the exchanges that can
// change wire `target` when wires n..p-1 start with the largest value: an exchange whose upper
// wire still holds that padding changes nothing, and one that feeds no later exchange of the
// target's wire is not needed.
std::vector<Exchange> median_network(int n, int p, int target) {
    std::vector<Exchange> all;
    std::vector<bool> padding(p, false);
    for (int i = n; i < p; ++i) padding[i] = true;
    for (int step = 1; step < p; step *= 2)
        for (int k = step; k >= 1; k /= 2)
            for (int j = k % step; j + k < p; j += 2 * k)
                for (int i = 0; i < k && i + j + k < p; ++i) {
                    const int a = i + j, b = i + j + k;
                    if (a / (2 * step) != b / (2 * step) || padding[b]) continue;
                    all.push_back({static_cast<uint16_t>(a), static_cast<uint16_t>(b)});
                    if (padding[a]) padding[a] = false, padding[b] = true;
                }
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
void median_row_network(UC* dst, const Centres& k, const Window& w, const UC* const* rows,
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

// ---- Moving average ------------------------------------------------------------------------

// Row kernels of the moving average (plain pointers and counts, so that they vectorise).
void add_bytes(int* __restrict p, const UC* __restrict a, int n) {
    for (int x = 0; x < n; ++x) p[x] += a[x];
}
void slide_bytes(int* __restrict p, const UC* __restrict add, const UC* __restrict sub, int n) {
    for (int x = 0; x < n; ++x) p[x] += add[x] - sub[x];
}
void add_ints(int* __restrict p, const int* __restrict a, int n) {
    for (int x = 0; x < n; ++x) p[x] += a[x];
}
void slide_ints(int* __restrict p, const int* __restrict add, const int* __restrict sub, int n) {
    for (int x = 0; x < n; ++x) p[x] += add[x] - sub[x];
}

// sums[i] = q[i] + ... + q[i+w-1] for i < count: shifted adds for short windows, a running
// sum for long ones.
void window_sums(int* __restrict sums, const int* __restrict q, int count, int w) {
    if (w <= 9) {
        std::memcpy(sums, q, count * sizeof(int));
        for (int j = 1; j < w; ++j) add_ints(sums, q + j, count);
        return;
    }
    int s = 0;
    for (int j = 0; j < w; ++j) s += q[j];
    sums[0] = s;
    for (int i = 1; i < count; ++i) sums[i] = s += q[i + w - 1] - q[i - 1];
}

// d[i] = the integer part of (sums[i] / n + 0.5), the quotient in single precision and the
// half added exactly (as C adds it in double precision).
void write_means(UC* __restrict d, const int* __restrict sums, int count, float n) {
    for (int i = 0; i < count; ++i) {
        const float q = static_cast<float>(sums[i]) / n;
        const int t = static_cast<int>(q);
        d[i] = static_cast<UC>(t + (q - static_cast<float>(t) >= 0.5f ? 1 : 0));
    }
}

// Window sums by running sums along Z and Y and shifted sums along X, then the rounded means.
// Requires in != out and sums that fit an int.
int moving_average_separable(Volume* in, Volume* out, const Window& w) {
    const Voi r = voi_of(in);
    const Centres k = centres_of(in, w);
    const int nx = r.nx(), ny = r.ny(), hz = w.hz(), hy = w.hy(), wy = w.wy, wx = w.wx;
    const int count = k.x2 - k.x1;
    const float n = static_cast<float>(w.size());
    const int blocks = block_count(k.z1, k.z2, true);
    const std::size_t per_block = static_cast<std::size_t>(ny + 2) * nx;
    auto scratch = make_buffer<int>(per_block * blocks);
    if (!scratch) return kNoBuffer;
    for_each_channel(in, [&](int c) {
        UC*** src = voxels<UC>(in, c);
        UC*** dst = voxels<UC>(out, c);
        parallel_blocks(k.z1, k.z2, blocks, [&, src, dst](int b, int z_begin, int z_end) {
            int* plane = scratch.get() + per_block * b;  // sums along Z: ny rows of nx
            int* row = plane + static_cast<std::size_t>(ny) * nx;  // sums along Z and Y
            int* sums = row + nx;                                  // whole-window sums
            auto plane_row = [&](int y) { return plane + static_cast<std::size_t>(y) * nx; };
            for (int z = z_begin; z < z_end; ++z) {
                for (int y = 0; y < ny; ++y) {
                    const int vy = r.y1 + y;
                    if (z == z_begin) {
                        std::fill(plane_row(y), plane_row(y) + nx, 0);
                        for (int dz = -hz; dz <= hz; ++dz) add_bytes(plane_row(y), src[z + dz][vy] + r.x1, nx);
                    } else {
                        slide_bytes(plane_row(y), src[z + hz][vy] + r.x1, src[z - hz - 1][vy] + r.x1, nx);
                    }
                }
                for (int y = k.y1; y < k.y2; ++y) {
                    const int top = y - r.y1 - hy;
                    if (y == k.y1) {
                        std::fill(row, row + nx, 0);
                        for (int dy = 0; dy < wy; ++dy) add_ints(row, plane_row(top + dy), nx);
                    } else {
                        slide_ints(row, plane_row(top + wy - 1), plane_row(top - 1), nx);
                    }
                    window_sums(sums, row, count, wx);
                    write_means(dst[z][y] + k.x1, sums, count, n);
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

// Separable running extreme: X and Y within each frame into the temporary t, then Z. Every
// input voxel is read before the first output voxel is written.
template <bool kMax> int running_extreme(Volume* in, Volume* out, int wz, int wy, int wx) {
    V3D_CHECK(check_pair(in, out, kUC, kAnyColor));
    if (!odd_window_fits(in, wz, wy, wx)) return kInvalidWindow;
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

// ---- Wiener filter -------------------------------------------------------------------------

int check_f_grey(Volume* v) { return CheckVolume(v, kF, kGrey); }

}  // namespace
}  // namespace v3d

using namespace v3d;

extern "C" {

int mov_ave3(Volume* in, Volume* out, int wz, int wy, int wx) {
    V3D_CHECK(check_pair(in, out, kUC, kAnyColor));
    if (!odd_window_fits(in, wz, wy, wx)) return kInvalidWindow;
    const Window w{wz, wy, wx};
    if (in != out && 255 * w.size() <= INT_MAX) return moving_average_separable(in, out, w);
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
