// Test helpers: volumes that free themselves, reproducible contents, whole-volume comparison.
#pragma once

#include <sys/wait.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "vexilo3d.h"
#include "vexilo3d_volume.hpp"

namespace t3d {

// A created volume (type uc = 1, f = 2, i = 4; colortype 1 or 2), destroyed with its scope,
// with voxel accessors for the tests.
class Vol : public v3d::OwnedVolume {
public:
    Vol(int Z, int Y, int X, int type = 1, int colortype = 1)
        : OwnedVolume(Z, Y, X, type, colortype) {}
    Volume* operator&() { return get(); }
    unsigned char& uc(int z, int y, int x, int c = 0) { return get()->data[c].uc[z][y][x]; }
    float& f(int z, int y, int x, int c = 0) { return get()->data[c].f[z][y][x]; }
    int& i(int z, int y, int x, int c = 0) { return get()->data[c].i[z][y][x]; }
    void voi(int z1, int z2, int y1, int y2, int x1, int x2) {
        fill_in_VOI(get(), z1, z2, y1, y2, x1, x2);
    }
};

inline uint32_t next_random(uint32_t& s) {
    s ^= s << 13;
    s ^= s >> 17;
    s ^= s << 5;
    return s;
}

// Every voxel of every channel from a seeded generator: uc 0..255 (or 0..range-1), f and i
// in -range..range.
inline void fill_random(Volume* v, uint32_t seed, int range = 256) {
    uint32_t s = seed * 2654435761u + 12345u;
    const int n = v->colortype == 1 ? 1 : 3;
    for (int c = 0; c < n; ++c)
        for (int z = 0; z < v->Z; ++z)
            for (int y = 0; y < v->Y; ++y)
                for (int x = 0; x < v->X; ++x) {
                    const uint32_t r = next_random(s);
                    if (v->type == 1) v->data[c].uc[z][y][x] = static_cast<unsigned char>(r % range);
                    else if (v->type == 2) v->data[c].f[z][y][x] = static_cast<float>(static_cast<int>(r % (2 * range + 1)) - range) * 0.37f;
                    else v->data[c].i[z][y][x] = static_cast<int>(r % (2 * range + 1)) - range;
                }
}

// Binary contents: each voxel 255 with probability percent / 100.
inline void fill_binary(Volume* v, uint32_t seed, int percent) {
    uint32_t s = seed * 747796405u + 1u;
    for (int z = 0; z < v->Z; ++z)
        for (int y = 0; y < v->Y; ++y)
            for (int x = 0; x < v->X; ++x)
                v->data[0].uc[z][y][x] = next_random(s) % 100 < static_cast<uint32_t>(percent) ? 255 : 0;
}

// Sets voxel (z, y, x) of UC channel c to f(z, y, x).
template <class F> void fill(Volume* v, F f, int c = 0) {
    for (int z = 0; z < v->Z; ++z)
        for (int y = 0; y < v->Y; ++y)
            for (int x = 0; x < v->X; ++x) v->data[c].uc[z][y][x] = static_cast<unsigned char>(f(z, y, x));
}

// A copy of every voxel of every channel as doubles, for comparing before and after.
inline std::vector<double> snapshot(const Volume* v) {
    std::vector<double> out;
    const int n = v->colortype == 1 ? 1 : 3;
    for (int c = 0; c < n; ++c)
        for (int z = 0; z < v->Z; ++z)
            for (int y = 0; y < v->Y; ++y)
                for (int x = 0; x < v->X; ++x)
                    out.push_back(v->type == 1 ? v->data[c].uc[z][y][x]
                                  : v->type == 2 ? v->data[c].f[z][y][x]
                                                 : v->data[c].i[z][y][x]);
    return out;
}

// A file name in the temporary folder, private to the running test (tests run in parallel).
inline std::string temp_path(const std::string& name) {
    const ::testing::TestInfo* info = ::testing::UnitTest::GetInstance()->current_test_info();
    std::string prefix = info ? std::string(info->test_suite_name()) + "." + info->name() + "." : "";
    for (char& ch : prefix)
        if (ch == '/') ch = '_';
    return ::testing::TempDir() + prefix + name;
}

// The whole content of a file ("" when it cannot be read).
inline std::string read_file(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>());
}

#ifdef V3D_EXE
struct V3dRun {
    int code;         // exit code, -1 when the tool did not exit normally
    std::string out;  // what it printed, stdout and stderr together
};

// Runs "v3d ARGS" through the shell, in directory dir and after the shell command setup (a
// ulimit, say) when they are given.
inline V3dRun run_v3d(const std::string& args, const std::string& dir = "", const std::string& setup = "") {
    const std::string command = (dir.empty() ? "" : "cd '" + dir + "' && ") +
                                (setup.empty() ? "" : setup + " && ") + "'" V3D_EXE "' " + args + " 2>&1";
    V3dRun r{-1, ""};
    FILE* p = popen(command.c_str(), "r");
    if (!p) return r;
    char buf[4096];
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, p)) > 0) r.out.append(buf, n);
    const int status = pclose(p);
    r.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return r;
}
#endif

}  // namespace t3d
