// Allocation failures, the way SQLite tests them: every exported operator and reader runs on a
// small valid input while its allocations are counted; then the 1st, 2nd ... Nth allocation is
// failed in turn, and once more every allocation from the kth on. Each run must return a
// failure status (-9, -10 or -530) or, when the failure was absorbed, the fault-free result; it
// must leave every record valid and unchanged, every volume it should not write byte-identical,
// no file descriptor open, and it must never throw. LeakSanitizer (the sanitizer build) finds
// what a failing path forgets to free. One configuration is one test, in its own process.
#include <unistd.h>

#include <cctype>
#include <climits>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <regex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "allocation_hook.h"
#include "core/parallel.h"
#include "io/imageseq.h"
#include "support.h"

namespace {

using t3d::Vol;

// The volumes every configuration may use, made afresh (and alike) for every run.
enum Slot : int {
    A,      // UC grey 8^3, random, VOI 1..7 on every axis
    B,      // UC grey 8^3, binary
    RGB,    // UC colour 8^3, random
    F, G,   // F grey 8^3, random (a cubic power-of-two VOI)
    FR, GR, // F grey 4x8x8 (not cubic)
    FK,     // F grey 3^3, a kernel
    SEEDS,  // UC grey 8^3, three seed voxels
    SE,     // UC grey 3^3, a binary element, all set
    W,      // UC grey 3^3, weights
    ACC,    // I grey 4x3x16, a Hough accumulator
    OUT, ORGB,        // UC outputs 16^3, grey and colour
    O8, O8RGB,        // UC outputs 8^3, grey and colour (raw frames are read at the volume's size)
    FO1, FO2,         // F outputs 16^3
    FS1, FS2,         // F outputs 8^3
    PIC,    // UC colour 1x32x32: the picture of the renderers
    GAL,    // UC grey 1x64x64: the gallery
    kSlots
};
constexpr unsigned bit(Slot s) { return 1u << s; }

struct World {
    std::unique_ptr<Vol> v[kSlots];
    unsigned char** image[3];
    Volume* operator[](Slot s) { return v[s]->get(); }

    World() {
        auto make = [&](Slot s, int Z, int Y, int X, int type, int colour, int seed, int range) {
            v[s] = std::make_unique<Vol>(Z, Y, X, type, colour);
            if (seed) t3d::fill_random(v[s]->get(), static_cast<uint32_t>(seed), range);
        };
        make(A, 8, 8, 8, 1, 1, 1, 256);
        v[A]->voi(1, 7, 1, 7, 1, 7);
        make(B, 8, 8, 8, 1, 1, 2, 2);
        for (int z = 0; z < 8; ++z)
            for (int y = 0; y < 8; ++y)
                for (int x = 0; x < 8; ++x) v[B]->uc(z, y, x) = v[B]->uc(z, y, x) ? 255 : 0;
        make(RGB, 8, 8, 8, 1, 2, 3, 256);
        make(F, 8, 8, 8, 2, 1, 4, 100);
        make(G, 8, 8, 8, 2, 1, 5, 100);
        make(FR, 4, 8, 8, 2, 1, 6, 100);
        make(GR, 4, 8, 8, 2, 1, 7, 100);
        make(FK, 3, 3, 3, 2, 1, 8, 10);
        make(SEEDS, 8, 8, 8, 1, 1, 0, 0);
        v[SEEDS]->uc(2, 2, 2) = 1, v[SEEDS]->uc(4, 5, 3) = 1, v[SEEDS]->uc(5, 5, 5) = 1;
        make(SE, 3, 3, 3, 1, 1, 0, 0);
        make(W, 3, 3, 3, 1, 1, 0, 0);
        for (int i = 0; i < 27; ++i) v[SE]->uc(i / 9, i / 3 % 3, i % 3) = 255, v[W]->uc(i / 9, i / 3 % 3, i % 3) = 1 + i % 2;
        make(ACC, 4, 3, 16, 4, 1, 0, 0);
        make(OUT, 16, 16, 16, 1, 1, 0, 0);
        make(ORGB, 16, 16, 16, 1, 2, 0, 0);
        make(O8, 8, 8, 8, 1, 1, 0, 0);
        make(O8RGB, 8, 8, 8, 1, 2, 0, 0);
        make(FO1, 16, 16, 16, 2, 1, 0, 0);
        make(FO2, 16, 16, 16, 2, 1, 0, 0);
        make(FS1, 8, 8, 8, 2, 1, 0, 0);
        make(FS2, 8, 8, 8, 2, 1, 0, 0);
        make(PIC, 1, 32, 32, 1, 2, 0, 0);
        make(GAL, 1, 64, 64, 1, 1, 0, 0);
        for (int c = 0; c < 3; ++c) image[c] = v[PIC]->get()->data[c].uc[0];
    }
};

// What one configuration does; its call runs armed, so it must not use gtest or allocate for
// itself. It returns 0 or a status; kBroken reports an invariant the call checked itself.
constexpr int kBroken = -99999;
struct Config {
    std::string name;  // the exported functions called, joined by '+'; then a note after ' '
    std::function<int(World&)> call;
    unsigned writes;    // the slots it may change
    bool partial;       // a failure may leave them partly written (a failure after the work began)
    std::vector<std::string> files;  // the files it writes, compared when it succeeds
    std::function<void()> prepare;   // once, before the runs (files to read)

    Config(std::string n, std::function<int(World&)> c, unsigned w = 0, bool p = false,
           std::vector<std::string> f = {}, std::function<void()> before = {})
        : name(std::move(n)), call(std::move(c)), writes(w), partial(p), files(std::move(f)),
          prepare(std::move(before)) {}
};

std::string scratch() {
    static const std::string dir = ::testing::TempDir() + "v3d_faults_" + std::to_string(getpid()) + "/";
    std::filesystem::create_directories(dir);
    return dir;
}
std::string path(const std::string& name) { return scratch() + name; }

// Operators of one signature, by name.
using Triple = int (*)(Volume*, Volume*, Volume*);
using WindowFilter = int (*)(Volume*, Volume*, int, int, int);
template <class F> using Named = std::pair<const char*, F>;

// A status for a call that returns a pointer: -9 for null.
template <class P> int made(P* p) { return p ? 0 : -9; }

std::vector<Config> library_configs() {
    std::vector<Config> c;
    const unsigned out = bit(OUT), orgb = bit(ORGB), fo1 = bit(FO1),
                   fo2 = bit(FO2), fs1 = bit(FS1), fs2 = bit(FS2), pic = bit(PIC);
    const unsigned char thr[3] = {90, 90, 90};
    static float coef[27];
    for (int i = 0; i < 27; ++i) coef[i] = i == 13 ? 0.5f : 0.5f / 26;

    // ---- the volume record and table
    c.push_back({"CreateVolume+DestroyVolume", [](World&) {
        // small channels take a block per frame, channels of 4 MB and more one mapped block
        for (int Z : {3, 64})
        for (int colour : {1, 2}) {
            Volume v{};
            InitializeVolume(&v, Z, 128, 128, 2, colour);
            const int s = CreateVolume(&v);
            if (s != 0) return v.type == 0 ? s : kBroken;
            DestroyVolume(&v);
        }
        return 0;
    }});
    c.push_back({"AllocateVolumeTable+CreateVolumeEx+ReleaseVolumeTable+GetNewVolumeIndex", [](World&) {
        ReleaseVolumeTable();
        if (!AllocateVolumeTable()) return -9;
        Volume* v = nullptr;
        int s = CreateVolumeEx(1, 2, 4, 5, 6, 0, &v);
        if (s != 0 && (v || GetNewVolumeIndex() != 0)) s = kBroken;
        ReleaseVolumeTable();
        return s;
    }});
    c.push_back({"push_3d+pop_3d", [](World&) {
        StackNode3d* head = nullptr;
        int s = 0;
        for (int i = 0; i < 20 && s == 0; ++i) s = push_3d(&head, i, i, i, i);
        while (head) pop_3d(&head);
        return s;
    }});
    // ---- basic operations
    c.push_back({"CheckIfUCBinary+CheckIfVolumeClear", [](World& w) {
        const float zero[3] = {};
        return CheckIfUCBinary(w[B]) == 1 && CheckIfVolumeClear(w[OUT], zero) == 1 ? 0 : kBroken;
    }});
    c.push_back({"ClearVolume", [](World& w) { const float v[3] = {1, 2, 3}; return ClearVolume(w[ORGB], v); }, orgb});
    c.push_back({"CopyVolume", [](World& w) { return CopyVolume(w[A], w[OUT], 2, 3, 4); }, out});
    c.push_back({"FVolume2UCVolume", [](World& w) { return FVolume2UCVolume(w[F], w[OUT], 1, 1, 1); }, out});
    c.push_back({"FVolume2UCVolume_norm", [](World& w) { return FVolume2UCVolume_norm(w[F], w[OUT], 0, 0, 0); }, out});
    c.push_back({"UCVolume2FVolume", [](World& w) { return UCVolume2FVolume(w[A], w[FO1], 0, 0, 0); }, fo1});
    c.push_back({"IVolume2FVolume", [](World& w) { return IVolume2FVolume(w[ACC], w[FO1], 1, 2, 0); }, fo1});
    c.push_back({"IVolume2UCVolume_window", [](World& w) { return IVolume2UCVolume_window(w[ACC], w[OUT], -3, 9); }, out});
    c.push_back({"CountNonZeroSurfacePoints3d+CountNonZeroPoints3d+FindMinMaxIntensity+FindBoundingBox3d", [](World& w) {
        unsigned n, lo, hi;
        int b[6];
        V3D_CHECK(CountNonZeroSurfacePoints3d(w[B], &n));
        V3D_CHECK(CountNonZeroPoints3d(w[B], &n));
        V3D_CHECK(FindMinMaxIntensity(w[A], &lo, &hi));
        return FindBoundingBox3d(w[RGB], &b[0], &b[1], &b[2], &b[3], &b[4], &b[5]);
    }});
    const Named<Triple> logic[] = {{"and3d", and3d}, {"or3d", or3d}, {"xor3d", xor3d}};
    for (const auto& [name, op] : logic)
        c.push_back({name, [o = op](World& w) { return o(w[B], w[B], w[OUT]); }, out});
    c.push_back({"Symmetric3d", [](World& w) { return Symmetric3d(w[RGB], w[ORGB]); }, orgb});
    c.push_back({"CopyFrame2Image", [](World& w) { return CopyFrame2Image(w[RGB], 3, w.image, 0, 0); }, pic});
    c.push_back({"CopyImage2Frame", [](World& w) { return CopyImage2Frame(w[ORGB], 2, w.image, 1, 1, 0, 8, 0, 8); },
                 orgb});
    c.push_back({"RotateVol2d", [](World& w) { return RotateVol2d(w[RGB], w[ORGB], 30.0f); }, orgb});
    c.push_back({"RotateVol3d", [](World& w) { return RotateVol3d(w[A], w[OUT], 10.0f, 20.0f, 30.0f); }, out});
    // ---- edges
    c.push_back({"Sobel_3D", [](World& w) { return Sobel_3D(w[A], w[OUT]); }, out});
    c.push_back({"Sobel_3D in place", [](World& w) { return Sobel_3D(w[OUT], w[OUT]); }, out});
    c.push_back({"compas3d", [](World& w) { return compas3d(w[A], w[OUT], 45, 45); }, out});
    c.push_back({"laplace_3d", [](World& w) { return laplace_3d(w[A], w[OUT]); }, out});
    c.push_back({"range_3d", [](World& w) { return range_3d(w[A], w[OUT], 3, 3, 3); }, out});
    c.push_back({"edge_follow_3d", [](World& w) { return edge_follow_3d(w[A], w[OUT], 3, 3, 3, 255, 0, 1); },
                 bit(A) | out});
    c.push_back({"Hough_3D", [](World& w) { return Hough_3D(w[B], w[OUT], w[ACC], 3); }, out | bit(ACC)});
    c.push_back({"modedg3d", [](World& w) {
        StackNode3d* path = nullptr;
        const int s = modedg3d(w[A], w[OUT], &path, 1, 1, 1, 6, 6, 6, 0);
        if (s != 0 && path) return kBroken;  // a failure leaves the stack empty
        while (path) pop_3d(&path);
        return s;
    }, out});
    // ---- Fourier transforms
    c.push_back({"fft3d+vrfft3d", [](World& w) { return fft3d(w[F], w[G], w[FO1], w[FO2], 0, 1, 2, 3); }, fo1 | fo2});
    c.push_back({"fft3d+lrcfft3d not cubic", [](World& w) { return fft3d(w[FR], w[GR], w[FO1], w[FO2], 1, 0, 0, 0); },
                 fo1 | fo2});
    c.push_back({"lrcfft3d", [](World& w) { return lrcfft3d(w[F], w[G], w[FO1], w[FO2], 0, 0, 0, 0); }, fo1 | fo2});
    c.push_back({"lrcfft3d in place", [](World& w) { return lrcfft3d(w[FS1], w[FS2], w[FS1], w[FS2], 0, 0, 0, 0); },
                 fs1 | fs2});
    c.push_back({"vrfft3d", [](World& w) { return vrfft3d(w[F], w[G], w[FO1], w[FO2], 1, 8, 8, 8); }, fo1 | fo2});
    c.push_back({"DCT3d", [](World& w) { return DCT3d(w[F], w[FO1], 0, 0, 0); }, fo1});
    c.push_back({"IDCT3d", [](World& w) { return IDCT3d(w[FR], w[FO2], 1, 1, 1); }, fo2});
    c.push_back({"convolution3", [](World& w) { return convolution3(w[F], w[FK], w[FO1], 0, 0, 0); }, fo1});
    c.push_back({"overlap_add3", [](World& w) { return overlap_add3(w[F], w[FK], w[FO1], 4, 1, 1, 1); }, fo1});
    c.push_back({"correlation3d", [](World& w) { return correlation3d(w[FR], w[FK], w[FO1], 0, 0, 0); }, fo1});
    c.push_back({"blackman_tukey_psd3d", [](World& w) { return blackman_tukey_psd3d(w[F], w[FO1], 0.1f, 0.2f, 0.3f, 0, 0, 0); },
                 fo1});
    c.push_back({"reim2magnphase3d", [](World& w) { return reim2magnphase3d(w[F], w[G], w[FO1], w[FO2], 0, 0, 0); },
                 fo1 | fo2});
    c.push_back({"magnphase2reim3d", [](World& w) { return magnphase2reim3d(w[F], w[G], w[FS1], w[FS2], 0, 0, 0); },
                 fs1 | fs2});
    c.push_back({"fft2image3d", [](World& w) { return fft2image3d(w[F], w[G], w[OUT], 0, 0, 0); }, out});
    // ---- histogram and filters
    c.push_back({"hist3+cdfhist3+histeq3", [](World& w) {
        float pdf[3][256], cdf[3][256];
        float* p[3] = {pdf[0], pdf[1], pdf[2]};
        float* q[3] = {cdf[0], cdf[1], cdf[2]};
        V3D_CHECK(hist3(w[RGB], p));
        for (int i = 0; i < 3; ++i) V3D_CHECK(cdfhist3(p[i], q[i]));
        return histeq3(w[RGB], w[ORGB], q);
    }, orgb});
    c.push_back({"HistogramEqual3d", [](World& w) { return HistogramEqual3d(w[A], w[OUT]); }, out});
    const Named<WindowFilter> filters[] = {{"mov_ave3", mov_ave3}, {"median3", median3}, {"run_median3", run_median3},
                                           {"run_max3", run_max3}, {"run_min3", run_min3}};
    for (const auto& [name, filter] : filters) {
        c.push_back({name, [f = filter](World& w) { return f(w[RGB], w[ORGB], 3, 3, 5); }, orgb});
        c.push_back({std::string(name) + " in place", [f = filter](World& w) { return f(w[OUT], w[OUT], 3, 3, 3); }, out});
    }
    c.push_back({"median3 large window", [](World& w) { return median3(w[RGB], w[ORGB], 7, 7, 7); }, orgb});
    c.push_back({"wei_median3", [](World& w) { return wei_median3(w[A], w[OUT], w[W]); }, out});
    c.push_back({"multistage_median3", [](World& w) { return multistage_median3(w[A], w[OUT], 3); }, out});
    c.push_back({"l_filter3", [](World& w) { return l_filter3(w[A], w[OUT], coef, 3, 3, 3); }, out});
    c.push_back({"local_adapt_filt3", [](World& w) { return local_adapt_filt3(w[A], w[OUT], 20.0f, 3, 3, 3); }, out});
    c.push_back({"wienerfrequency3", [](World& w) { return wienerfrequency3(w[FS1], w[FS2], w[F], w[G], w[F], 0.5f); },
                 fs1 | fs2});
    // ---- morphology
    const Named<Triple> morphology[] = {{"MinkowskiAddition3d", MinkowskiAddition3d},
                                        {"MinkowskiSubtraction3d", MinkowskiSubtraction3d},
                                        {"bdilate3d", bdilate3d}, {"berode3d", berode3d},
                                        {"bopening3d", bopening3d}, {"bclosing3d", bclosing3d}};
    for (const auto& [name, op] : morphology) {
        c.push_back({name, [o = op](World& w) { return o(w[B], w[SE], w[OUT]); }, out});
        c.push_back({std::string(name) + " in place", [o = op](World& w) { return o(w[B], w[SE], w[B]); }, bit(B)});
    }
    // ---- resizing
    c.push_back({"zoom3d", [](World& w) { return zoom3d(w[RGB], w[ORGB], 2, 0, 0, 0); }, orgb});
    c.push_back({"zoom3d in place", [](World& w) { return zoom3d(w[A], w[A], 1, 0, 0, 0); }, bit(A)});
    c.push_back({"decim3", [](World& w) { return decim3(w[A], w[OUT], 2, 1, 1, 1); }, out});
    c.push_back({"InterpolationNearestNeighbor3d", [](World& w) {
        return InterpolationNearestNeighbor3d(w[RGB], w[ORGB], 0, 1.5f, 1.7f, 1.3f, 0, 0, 0); }, orgb});
    c.push_back({"InterpolationLinear3d", [](World& w) {
        return InterpolationLinear3d(w[A], w[OUT], 1, 0, 0, 0, 0, 0, 0); }, out});
    c.push_back({"InterpolationFrameLinear3d", [](World& w) {
        return InterpolationFrameLinear3d(w[A], w[OUT], 0, 2.5f, 0, 0, 0); }, out});
    c.push_back({"FrameZeroPadding", [](World& w) { return FrameZeroPadding(w[A], w[OUT], 2, 0, 0, 0); }, out});
    c.push_back({"FrameInterpolationGrayscale", [](World& w) { return FrameInterpolationGrayscale(w[A], w[OUT], 3, 0, 0, 0); },
                 out});
    c.push_back({"FrameInterpolationBinary", [](World& w) { return FrameInterpolationBinary(w[B], w[OUT], 2, 0, 0, 0, 1); },
                 out});
    c.push_back({"FrameContourObjectFill", [](World& w) { return FrameContourObjectFill(w[B], w[OUT]); }, out});
    // ---- segmentation
    c.push_back({"threshold_3d", [](World& w) { return threshold_3d(w[A], w[OUT], 128); }, out});
    c.push_back({"region3d_grow", [](World& w) { return region3d_grow(w[A], w[SEEDS], 255, 40); }, bit(SEEDS), true});
    c.push_back({"region3d_merge", [](World& w) {
        const int regions = region3d_merge(w[A], w[OUT], 30, 255);
        return regions > 0 ? 0 : regions; }, out});
    c.push_back({"region3d_split", [](World& w) { int n = 0; return region3d_split(w[A], w[OUT], &n, 60); }, out});
    c.push_back({"region3d_splitmerge", [](World& w) { int n = 0; return region3d_splitmerge(w[A], w[OUT], &n, 60); }, out});
    c.push_back({"grass3d_label", [](World& w) {
        int n = 0;
        float counts[255];
        return grass3d_label(w[B], w[OUT], &n, counts, 255); }, bit(B) | out});
    // ---- projections, sections, pictures, gallery
    c.push_back({"Provoli2d", [thr](World& w) { return Provoli2d(w[A], w.image, 32, 32, 30, 1, thr); }, pic});
    c.push_back({"Provoli3d", [thr](World& w) { return Provoli3d(w[RGB], w.image, 32, 32, 30, 20, 0, thr); }, pic});
    c.push_back({"ProvoliAvrg2d", [](World& w) { return ProvoliAvrg2d(w[A], w.image, 32, 32, 10, 0); }, pic});
    c.push_back({"ProvoliAvrg3d", [](World& w) { return ProvoliAvrg3d(w[A], w.image, 32, 32, 10, 40, 0); }, pic});
    c.push_back({"ProvoliMax2d", [](World& w) { return ProvoliMax2d(w[RGB], w.image, 32, 32, 100, 1); }, pic});
    c.push_back({"ProvoliMax3d", [](World& w) { return ProvoliMax3d(w[RGB], w.image, 32, 32, 100, -30, 1); }, pic});
    c.push_back({"Provoli2dBinary", [](World& w) { return Provoli2dBinary(w[B], w.image, 32, 32, 45, 0, 1); }, pic});
    c.push_back({"Provoli3dBinary", [](World& w) { return Provoli3dBinary(w[B], w.image, 32, 32, 45, 45, 1, 1); }, pic});
    c.push_back({"Provoli3dSurface", [thr](World& w) { return Provoli3dSurface(w[A], w.image, 32, 32, 30, 30, 0, thr, 1); },
                 pic});
    c.push_back({"Provoli3dSurfaceColor", [thr](World& w) {
        return Provoli3dSurfaceColor(w[RGB], w.image, 32, 32, 30, 30, 0, thr, 1); }, pic});
    c.push_back({"TomiOrth", [](World& w) { return TomiOrth(w[A], w.image, 32, 32, 2, 3); }, pic});
    c.push_back({"TomiRand1", [](World& w) { return TomiRand1(w[RGB], w.image, 32, 32, 3, 3, 3, 1, 2, 1); }, pic});
    c.push_back({"TomiRand2", [](World& w) { return TomiRand2(w[A], w.image, 32, 32, 30, 60, 3, 3, 3); }, pic});
    c.push_back({"CreateBuffer+DestroyBuffer+CreateProjection+DestroyProjection", [](World&) {
        for (int colour : {1, 2}) {
            Buffer* b = CreateBuffer(colour, 40, 30);
            V3D_CHECK(made(b));
            DestroyBuffer(b);
        }
        Projection* p = CreateProjection(RegisterProjectionType(), nullptr, 100);
        V3D_CHECK(made(p));
        DestroyProjection(p);
        return 0;
    }});
    c.push_back({"ProduceFrameGallery3d", [](World& w) { return ProduceFrameGallery3d(w[A], w[GAL], 2, 1); }, bit(GAL)});
    c.push_back({"ProduceFrameGallery3dAspect", [](World& w) { return ProduceFrameGallery3dAspect(w[A], w[GAL], 2, 0, 1.5); },
                 bit(GAL)});
    c.push_back({"ProvoliSpaced3d", [](World& w) {
        static const unsigned char t[3] = {90, 90, 90};
        for (int mode = V3D_PROVOLI_THRESHOLD; mode <= V3D_PROVOLI_SURFACE_COLOR; ++mode)
            V3D_CHECK(ProvoliSpaced3d(mode == V3D_PROVOLI_SURFACE_COLOR ? w[RGB] : w[A], w.image, 32, 32, mode, 30, 20,
                                      0, t, 1, 2.5, 1.0, 0.5));
        return 0; }, pic, true});
    return c;
}

// The readers and writers of files.
std::vector<Config> file_configs() {
    std::vector<Config> c;
    const unsigned out = bit(OUT), orgb = bit(ORGB), fs1 = bit(FS1), w = bit(W);
    const char* const raw[] = {"raw"};
    const char* const rgb[] = {"r", "g", "b"};

    // ---- raw files and the dump
    // (names are made here: a call runs armed and must not allocate for itself)
    const std::string wvol = path("w.vol"), rvol = path("r.vol"), t = path("t"), s = path("s"), d = path("d.txt");
    c.push_back({"WriteVolume", [wvol](World& v) { return WriteVolume(v[RGB], wvol.c_str(), 2, 5); }, 0, false, {wvol}});
    c.push_back({"ReadVolume", [rvol](World& v) { return ReadVolume(v[ORGB], rvol.c_str(), 1, 6, 8, 8); }, orgb, true,
                 {}, [rvol] { World v; WriteVolume(v[RGB], rvol.c_str(), 0, 8); }});
    c.push_back({"todiskUCFI3D", [t, rgb](World& v) { return todiskUCFI3D(v[RGB], t.c_str(), 3, 2, rgb); }, 0, false,
                 {t + "03.r", t + "10.b"}});
    c.push_back({"fromdiskUCFI3D", [s, raw](World& v) { return fromdiskUCFI3D(v[OUT], s.c_str(), 5, 0, raw, 8, 8, 8); },
                 out, true, {}, [s, raw] { World v; todiskUCFI3D(v[B], s.c_str(), 5, 0, raw); }});
    c.push_back({"dumpUCFI3D", [d](World& v) { return dumpUCFI3D(v[A], d.c_str()); }, 0, false, {d}});
    // ---- coefficient files
    auto coefficient_files = [] {
        std::ofstream weights(path("WIN_UC3D.PAR")), reals(path("WIN_F3D.PAR"));
        weights << "3\n3\n3\n";
        reals << "3\n3\n3\n";
        for (int i = 0; i < 27; ++i) weights << i % 5 << "\n", reals << 0.25 * i - 2 << "\n";
    };
    const std::string weights = path("WIN_UC3D.PAR"), reals = path("WIN_F3D.PAR"), dir = scratch();
    c.push_back({"ReadWeightsFile3d", [weights](World& v) {
        int Z, Y, X;
        V3D_CHECK(ReadWeightsFile3d(weights.c_str(), 1, nullptr, &Z, &Y, &X));
        return ReadWeightsFile3d(weights.c_str(), 0, v[W], &Z, &Y, &X); }, w, false, {}, coefficient_files});
    c.push_back({"ReadCoefficientsFile3d+ReadCoefficientsFile3dVolume", [reals](World& v) {
        int Z, Y, X;
        float vector[27];
        V3D_CHECK(ReadCoefficientsFile3d(reals.c_str(), 0, vector, 27, &Z, &Y, &X));
        return ReadCoefficientsFile3dVolume(reals.c_str(), 0, v[FS1], &Z, &Y, &X); }, fs1, false, {},
        coefficient_files});
    c.push_back({"LoadCoefficientVolume3d+SetStartDirectory", [dir](World&) {
        SetStartDirectory(dir.c_str());
        for (int type : {1, 2}) {
            Volume vol{};
            const int s = LoadCoefficientVolume3d(nullptr, type, &vol);
            if (s != 0) return vol.type == 0 ? s : kBroken;
            DestroyVolume(&vol);
        }
        return 0; }, 0, false, {}, coefficient_files});
    // ---- the image-sequence formats: every check and reader of the table, every writer
    for (int f = 0; f < V3D_FORMAT_COUNT; ++f) {
        const ImageSequenceFormat* fmt = GetImageSequenceFormat(f);
        const bool colour = f == V3D_FORMAT_RAW_RGB;
        const Slot src = colour ? RGB : A, dst = colour ? O8RGB : O8;
        const std::string base = path(std::string("seq_") + fmt->name), written = base + "_w";
        auto info_of = [fmt, colour] {
            ImageSequenceInfo info{};
            if (fmt->raw) info = {8, 8, 0, 1, colour ? 2 : 1, 0};
            return info;
        };
        auto prepare = [=] { World v; fmt->write(v[src], base.c_str(), 0, 0, fmt->extension); };
        c.push_back({std::string("GetImageSequenceFormat check ") + fmt->name, [=](World&) {
            ImageSequenceInfo info = info_of();
            return fmt->check(base.c_str(), 0, 0, fmt->extension, 8, &info); }, 0, false, {}, prepare});
        c.push_back({std::string("GetImageSequenceFormat read ") + fmt->name, [=](World& v) {
            return fmt->read(v[dst], base.c_str(), 0, 0, fmt->extension, 8); }, bit(dst), true, {}, prepare});
        c.push_back({std::string("GetImageSequenceFormat write ") + fmt->name, [=](World& v) {
            return fmt->write(v[src], written.c_str(), 0, 0, fmt->extension); }});
    }
    const std::string lzw = path("lzw"), rle = path("rle");
    // the writers with their options (files of a failed writer may stay; only a success is compared)
    c.push_back({"savetiff", [lzw](World& v) { return savetiff(v[RGB], lzw.c_str(), 0, 1, "tif", V3D_TIFF_LZW); }, 0,
                 false, {lzw + "3.tif"}});
    c.push_back({"SaveTiffStack", [lzw](World& v) { return SaveTiffStack(v[A], lzw.c_str(), "tif", V3D_TIFF_PACKBITS); },
                 0, false, {lzw + ".tif"}});
    c.push_back({"SaveBmpSequence", [rle](World& v) { return SaveBmpSequence(v[B], rle.c_str(), 0, 0, "bmp", 1); }, 0,
                 false, {rle + "7.bmp"}});
    c.push_back({"SaveTgaSequence", [rle](World& v) { return SaveTgaSequence(v[RGB], rle.c_str(), 0, 0, "tga", 1); }, 0,
                 false, {rle + "7.tga"}});
    c.push_back({"SaveGifSequence", [rle](World& v) { return SaveGifSequence(v[A], rle.c_str(), 0, 0, "gif", 1); }, 0,
                 false, {rle + "7.gif"}});
    c.push_back({"SaveJpegSequence", [rle](World& v) { return SaveJpegSequence(v[RGB], rle.c_str(), 0, 0, "jpg", 80); },
                 0, false, {rle + "7.jpg"}});
    c.push_back({"SavePnmSequence", [rle](World& v) { return SavePnmSequence(v[RGB], rle.c_str(), 0, 0, "ppm"); }, 0,
                 false, {rle + "7.ppm"}});
    c.push_back({"read LZW TIFF, PackBits stack, RLE BMP and TGA, interlaced GIF", [lzw, rle](World& v) {
        V3D_CHECK(GetImageSequenceFormat(V3D_FORMAT_TIFF)->read(v[ORGB], lzw.c_str(), 0, 1, "tif", 8));
        V3D_CHECK(GetImageSequenceFormat(V3D_FORMAT_TIFF_STACK)->read(v[OUT], lzw.c_str(), 2, 0, "tif", 6));
        V3D_CHECK(GetImageSequenceFormat(V3D_FORMAT_BMP)->read(v[OUT], rle.c_str(), 0, 0, "bmp", 8));
        V3D_CHECK(GetImageSequenceFormat(V3D_FORMAT_TGA)->read(v[ORGB], rle.c_str(), 0, 0, "tga", 8));
        return GetImageSequenceFormat(V3D_FORMAT_GIF)->read(v[OUT], rle.c_str(), 0, 0, "gif", 8); },
        out | orgb, true, {}, [lzw, rle] {
            World v;
            savetiff(v[RGB], lzw.c_str(), 0, 1, "tif", V3D_TIFF_LZW);
            SaveTiffStack(v[A], lzw.c_str(), "tif", V3D_TIFF_PACKBITS);
            SaveBmpSequence(v[B], rle.c_str(), 0, 0, "bmp", 1);
            SaveTgaSequence(v[RGB], rle.c_str(), 0, 0, "tga", 1);
            SaveGifSequence(v[A], rle.c_str(), 0, 0, "gif", 1);
        }});
    // the volume files with a header: what they tell, and the writers with their options
    const std::string vf = path("vf");
    auto volume_files = [vf] {
        World v;
        SetVolumeSpacing(v[A], 2.5, 1.0, 0.5);
        SaveNiftiVolume(v[A], (vf + ".nii").c_str(), 0);
        SaveNrrdVolume(v[A], (vf + ".nhdr").c_str(), 1);
        SaveMetaImageVolume(v[A], (vf + ".mha").c_str(), 1);
    };
    const std::string vf_nii = vf + ".nii", vf_nhdr = vf + ".nhdr", vf_mha = vf + ".mha";
    c.push_back({"DescribeVolumeFile", [vf_nii, vf_nhdr, vf_mha](World&) {
        VolumeFileInfo info;
        V3D_CHECK(DescribeVolumeFile(V3D_FORMAT_NIFTI, vf_nii.c_str(), &info));
        V3D_CHECK(DescribeVolumeFile(V3D_FORMAT_NRRD, vf_nhdr.c_str(), &info));
        V3D_CHECK(DescribeVolumeFile(V3D_FORMAT_METAIMAGE, vf_mha.c_str(), &info));
        return info.spacing[0] == 2.5 ? 0 : kBroken; }, 0, false, {}, volume_files});
    c.push_back({"read gzipped NRRD and deflated MetaImage", [vf](World& v) {
        V3D_CHECK(GetImageSequenceFormat(V3D_FORMAT_NRRD)->read(v[O8], vf.c_str(), 2, 0, "nhdr", 0));
        return GetImageSequenceFormat(V3D_FORMAT_METAIMAGE)->read(v[O8], vf.c_str(), 0, 0, "mha", 8); },
        bit(O8), true, {}, volume_files});
    const std::string nii2 = path("w2.nii.gz"), nhdr = path("w.nhdr"), mhd = path("w.mhd");
    c.push_back({"SaveNiftiVolume", [nii2](World& v) { return SaveNiftiVolume(v[RGB], nii2.c_str(), 2); }});
    c.push_back({"SaveNrrdVolume", [nhdr](World& v) { return SaveNrrdVolume(v[ACC], nhdr.c_str(), 1); }});
    c.push_back({"SaveMetaImageVolume", [mhd](World& v) { return SaveMetaImageVolume(v[F], mhd.c_str(), 1); }});
    const std::string samples = path("samples.u16");
    c.push_back({"ReadRawSamples", [samples](World& v) {
        return ReadRawSamples(v[ACC], samples.c_str(), 10, 1, V3D_SAMPLE_U16, 1, 3, 3, 16); }, bit(ACC), true, {},
        [samples] { std::ofstream(samples, std::ios::binary) << std::string(10 + 4 * 3 * 16 * 2, '\x7f'); }});
    // the decoders of animations, planes and floating-point samples, on seeds of the fuzz corpus
    const std::string corpus = V3D_SOURCE_DIR "/tests/fuzz/corpus/", anim = corpus + "gif/anim_disposals_hand",
                      planar = corpus + "tiff/planar_tifffile", floats = corpus + "tiff/float32_tifffile";
    c.push_back({"read animated GIF, planar TIFF and floating-point TIFF by name", [=](World& v) {
        V3D_CHECK(GetImageSequenceFormat(V3D_FORMAT_GIF)->read(v[ORGB], anim.c_str(), 0, -1, "gif", 5));
        V3D_CHECK(GetImageSequenceFormat(V3D_FORMAT_TIFF)->read(v[ORGB], planar.c_str(), 0, -1, "tif", 1));
        return GetImageSequenceFormat(V3D_FORMAT_TIFF)->read(v[FO1], floats.c_str(), 0, -1, "tif", 1); },
        orgb | bit(FO1), true});
    return c;
}

const std::vector<Config>& configs() {
    static const std::vector<Config> all = [] {
        std::vector<Config> c = library_configs(), files = file_configs();
        c.insert(c.end(), files.begin(), files.end());
        return c;
    }();
    return all;
}

// ---- one run ---------------------------------------------------------------------------------

int open_descriptors() {
    return static_cast<int>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                                          std::filesystem::directory_iterator()));
}

struct Outcome {
    int status = 0;
    bool threw = false;
    long allocations = 0;
    int descriptors_left = 0;   // opened and not closed
    bool records_kept = true;   // every record byte-identical and valid
    std::vector<std::vector<double>> volumes;
    std::vector<std::string> files;
};

Outcome run(const Config& config, long fail_at, bool from_then_on) {
    World w;
    Volume records[kSlots];
    for (int s = 0; s < kSlots; ++s) records[s] = *w[Slot(s)];
    for (const std::string& f : config.files) std::remove(f.c_str());
    const int descriptors = open_descriptors();
    Outcome o;
    faults::arm(fail_at, from_then_on);
    try {
        o.status = config.call(w);
    } catch (...) {
        o.threw = true;
    }
    o.allocations = faults::disarm();
    o.descriptors_left = open_descriptors() - descriptors;
    for (int s = 0; s < kSlots; ++s) {
        o.records_kept = o.records_kept && std::memcmp(&records[s], w[Slot(s)], sizeof(Volume)) == 0 &&
                         CheckVolume(w[Slot(s)], 7, 3) == 0;
        o.volumes.push_back(t3d::snapshot(w[Slot(s)]));
    }
    for (const std::string& f : config.files) o.files.push_back(t3d::read_file(f));
    return o;
}

class AllocationFailures : public ::testing::TestWithParam<int> {
protected:
    static void SetUpTestSuite() {
        v3d::set_thread_count(1);  // the same allocations in the same order on every run
        SetDefaultImageSize(32, 32);
    }
    static void TearDownTestSuite() {
        std::error_code ec;
        std::filesystem::remove_all(scratch(), ec);
        v3d::set_thread_count(0);
    }
};

std::string describe(long k, bool from_then_on) {
    return (from_then_on ? "every allocation from #" : "allocation #") + std::to_string(k);
}

TEST_P(AllocationFailures, FailEveryAllocationInTurn) {
    const Config& config = configs()[GetParam()];
    if (config.prepare) config.prepare();
    const Outcome initial = [] {  // what a fresh world holds
        Outcome o;
        World w;
        for (int s = 0; s < kSlots; ++s) o.volumes.push_back(t3d::snapshot(w[Slot(s)]));
        return o;
    }();
    const Outcome clean = run(config, 0, false);
    ASSERT_FALSE(clean.threw);
    ASSERT_EQ(clean.status, 0) << "the fault-free run must succeed";
    ASSERT_TRUE(clean.records_kept);
    const long n = clean.allocations;
    long failures = 0;
    for (long k = 1; k <= n; ++k)
        for (bool from_then_on : {false, true}) {
            const Outcome o = run(config, k, from_then_on);
            const std::string what = config.name + ", " + describe(k, from_then_on) + " of " + std::to_string(n);
            ASSERT_FALSE(o.threw) << what << ": an exception left the C interface";
            EXPECT_EQ(o.descriptors_left, 0) << what << ": a file was left open";
            EXPECT_TRUE(o.records_kept) << what << ": a record changed or became invalid";
            if (o.status == 0) {  // the failure was absorbed: the result must be the same
                EXPECT_EQ(o.volumes, clean.volumes) << what;
                EXPECT_EQ(o.files, clean.files) << what;
                continue;
            }
            ++failures;
            EXPECT_TRUE(o.status == -9 || o.status == -10 || o.status == -530) << what << ": status " << o.status;
            for (int s = 0; s < kSlots; ++s) {
                const bool written = config.writes & bit(Slot(s));
                if (!written || !config.partial) {
                    EXPECT_EQ(o.volumes[s], initial.volumes[s]) << what << ": volume slot " << s << " changed";
                }
            }
        }
    std::printf("%s: %ld allocations, %ld faults injected, %ld reported\n", config.name.c_str(), n, 2 * n, failures);
}

std::string test_name(const ::testing::TestParamInfo<int>& info) {
    std::string s = configs()[info.param].name;
    for (char& ch : s)
        if (!std::isalnum(static_cast<unsigned char>(ch))) ch = '_';
    return s;
}

INSTANTIATE_TEST_SUITE_P(Library, AllocationFailures,
                         ::testing::Range(0, static_cast<int>(configs().size())), test_name);

// Every function of the public headers is exercised above, or allocates nothing at all.
TEST(AllocationFailureCoverage, EveryExportedFunctionIsExercised) {
    const std::set<std::string> allocate_nothing = {
        "InitializeVolume", "fill_in_VOI", "CheckVolume", "GetVolumeByIndex", "GetVolumeIndex",
        "GetStatusText", "SetDefaultImageSize", "GetDefaultImageSize", "SetMessageHook",
        "RegisterProjectionType", "GetStartDirectory", "FindImageSequenceFormat",
        "CoefficientFileMessage", "ColorLabelledVolume3d", "SetDefaultLabelColors3d",
        "GetVolumeSpacing", "SetVolumeSpacing", "GetVolumeOrientation", "SetVolumeOrientation",
        "CopyVolumeGeometry"};
    std::set<std::string> exercised;
    for (const Config& c : configs()) {
        const std::string names = c.name.substr(0, c.name.find(' '));
        for (size_t at = 0, end; at <= names.size(); at = end + 1) {
            end = std::min(names.find('+', at), names.size());
            exercised.insert(names.substr(at, end - at));
        }
    }
    const std::regex exported(R"(V3D_API\s+[\w\s\*]*?\b(\w+)\s*\()");
    int found = 0;
    for (const auto& header : std::filesystem::directory_iterator(V3D_SOURCE_DIR "/include")) {
        const std::string text = t3d::read_file(header.path().string());
        for (std::sregex_iterator it(text.begin(), text.end(), exported), end; it != end; ++it) {
            const std::string name = (*it)[1];
            if (name.compare(0, 2, "__") == 0) continue;  // the macro's own definition
            ++found;
            EXPECT_TRUE(exercised.count(name) || allocate_nothing.count(name)) << name << " is not exercised";
        }
    }
    EXPECT_GT(found, 100);
}

}  // namespace
