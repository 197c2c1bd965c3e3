// Coefficient files of user-defined filter windows (WIN_UC3D.PAR weights, WIN_F3D.PAR
// L-filter coefficients) and the start directory they are read from.
//
// Instead of switching the process's current directory (which other threads may rely on), a
// relative file name is joined to the start directory; the files are opened read-only in text
// mode and read line by line into a 20-character buffer.
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "core/common.h"

#if defined(_WIN32)
#include <direct.h>
#define v3d_getcwd _getcwd
#else
#include <unistd.h>
#define v3d_getcwd getcwd
#endif

namespace v3d {
namespace {

constexpr int kCannotOpen = -1, kCannotRead = -2, kBadSize = -3, kBadTarget = -4;
constexpr int kLineBuffer = 20;
// Names are built in fixed buffers: reading a coefficient file allocates nothing of ours.
constexpr std::size_t kPathBuffer = 4096;

char g_start_directory[kPathBuffer];  // empty: the current directory at the first read
bool g_start_too_long = false;        // set to a name that does not fit: cannot be determined

struct FileCloser {
    void operator()(std::FILE* f) const { std::fclose(f); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

bool is_absolute(const char* name) {
    if (name[0] == '/' || name[0] == '\\') return true;
    return name[0] != '\0' && name[1] == ':';  // a drive letter
}

// The start directory, taken from the current directory at its first use; null when it
// cannot be determined.
const char* start_directory() {
    if (g_start_too_long) return nullptr;
    if (g_start_directory[0] == '\0' && !v3d_getcwd(g_start_directory, static_cast<int>(kPathBuffer))) {
        g_start_directory[0] = '\0';
        return nullptr;
    }
    return g_start_directory;
}

// Opens file (or default_name) for reading: 0, -1 or -2. A relative name is joined to the
// start directory; a joined name longer than a path buffer cannot be opened (-1).
int open_coefficients(const char* file, const char* default_name, File* out) {
    const char* name = file ? file : default_name;
    char joined[kPathBuffer];
    if (!is_absolute(name)) {
        const char* dir = start_directory();
        if (!dir) return kCannotRead;
        const std::size_t n = std::strlen(dir);
        const char* separator = (n == 0 || dir[n - 1] == '/' || dir[n - 1] == '\\') ? "" : "/";
        const int length = std::snprintf(joined, sizeof joined, "%s%s%s", dir, separator, name);
        if (length < 0 || length >= static_cast<int>(sizeof joined)) return kCannotOpen;
        name = joined;
    }
    out->reset(std::fopen(name, "r"));
    return *out ? kOk : kCannotOpen;
}

// The next line, or its next 19 characters when it is longer; false at the end or on error.
bool next_line(std::FILE* f, char (&line)[kLineBuffer]) {
    return std::fgets(line, kLineBuffer, f) != nullptr;
}

// The line's leading decimal integer (0 when there is none), limited to the int range.
int integer_of(const char* line) {
    errno = 0;
    const long v = std::strtol(line, nullptr, 10);
    if (v > INT_MAX) return INT_MAX;
    if (v < INT_MIN) return INT_MIN;
    return static_cast<int>(v);
}

float real_of(const char* line) { return static_cast<float>(std::strtod(line, nullptr)); }

// Reads X, Y and Z, each checked as soon as it is read.
int read_sizes(std::FILE* f, int* X, int* Y, int* Z) {
    int* sizes[3] = {X, Y, Z};
    for (int* size : sizes) {
        char line[kLineBuffer];
        if (!next_line(f, line)) return kCannotRead;
        *size = integer_of(line);
        if (*size < 1) return kBadSize;
    }
    return kOk;
}

struct Sizes {
    int X = 0, Y = 0, Z = 0;
    // X * Y * Z, false when it does not fit a size (no vector can hold so many values)
    bool count(std::size_t* n) const { return checked_product(n, {X, Y, Z}); }
};

// Opens the file and reads its sizes, reporting them through the caller's pointers.
int open_with_sizes(const char* file, const char* default_name, File* f, Sizes* s, int* Z, int* Y,
                    int* X) {
    V3D_CHECK(open_coefficients(file, default_name, f));
    V3D_CHECK(read_sizes(f->get(), &s->X, &s->Y, &s->Z));
    if (Z) *Z = s->Z;
    if (Y) *Y = s->Y;
    if (X) *X = s->X;
    return kOk;
}

// Fills voxels [0..Z)[0..Y)[0..X) of target from the file's lines; a line that cannot be read
// leaves its voxel, the row is finished and the reading stops with -2.
template <class T, class Convert>
int fill_volume(std::FILE* f, Volume* target, int type, const Sizes& s, Convert convert) {
    if (CheckVolume(target, type, kGrey) != kOk) return kBadTarget;
    if (target->Z < s.Z || target->Y < s.Y || target->X < s.X) return kBadTarget;
    T*** v = voxels<T>(target, 0);
    for (int z = 0; z < s.Z; ++z)
        for (int y = 0; y < s.Y; ++y) {
            bool failed = false;
            for (int x = 0; x < s.X; ++x) {
                char line[kLineBuffer];
                if (next_line(f, line))
                    v[z][y][x] = convert(line);
                else
                    failed = true;
            }
            if (failed) return kCannotRead;
        }
    return kOk;
}

unsigned char byte_of(const char* line) {
    return static_cast<unsigned char>(static_cast<unsigned int>(integer_of(line)) & 0xffu);
}

}  // namespace
}  // namespace v3d

using namespace v3d;

extern "C" {

void SetStartDirectory(const char* dir) {
    if (!dir) dir = "";
    g_start_too_long = std::strlen(dir) >= kPathBuffer;
    std::snprintf(g_start_directory, kPathBuffer, "%s", g_start_too_long ? "" : dir);
}

const char* GetStartDirectory(void) {
    const char* dir = start_directory();
    return dir ? dir : "";
}

int ReadWeightsFile3d(const char* file, int dims_only, Volume* target, int* Z, int* Y, int* X) {
    File f;
    Sizes s;
    V3D_CHECK(open_with_sizes(file, V3D_WEIGHTS_FILE, &f, &s, Z, Y, X));
    if (dims_only) return kOk;
    return fill_volume<unsigned char>(f.get(), target, kUC, s, byte_of);
}

int ReadCoefficientsFile3dVolume(const char* file, int dims_only, Volume* target, int* Z, int* Y,
                                 int* X) {
    File f;
    Sizes s;
    V3D_CHECK(open_with_sizes(file, V3D_COEFFICIENTS_FILE, &f, &s, Z, Y, X));
    if (dims_only) return kOk;
    return fill_volume<float>(f.get(), target, kF, s, real_of);
}

int ReadCoefficientsFile3d(const char* file, int dims_only, float* vector, int capacity, int* Z,
                           int* Y, int* X) {
    File f;
    Sizes s;
    V3D_CHECK(open_with_sizes(file, V3D_COEFFICIENTS_FILE, &f, &s, Z, Y, X));
    if (dims_only) return kOk;
    std::size_t count = 0;
    if (!vector || capacity < 0 || !s.count(&count) || static_cast<std::size_t>(capacity) < count)
        return kBadTarget;
    int status = kOk;
    for (std::size_t i = 0; i < count; ++i) {
        char line[kLineBuffer];
        if (next_line(f.get(), line))
            vector[i] = real_of(line);
        else
            status = kCannotRead;
    }
    return status;
}

int LoadCoefficientVolume3d(const char* file, int type, Volume* vol) {
    if (type != kUC && type != kF) return kInvalidParams;
    if (!vol) return kBadTarget;
    auto read = type == kUC ? ReadWeightsFile3d : ReadCoefficientsFile3dVolume;
    int Z = 0, Y = 0, X = 0;
    V3D_CHECK(read(file, 1, nullptr, &Z, &Y, &X));
    InitializeVolume(vol, Z, Y, X, type, kGrey);
    if (CreateVolume(vol) != kOk) {
        vol->type = 0;
        return kNoVolume;
    }
    const int status = read(file, 0, vol, nullptr, nullptr, nullptr);
    if (status != kOk) DestroyVolume(vol);
    return status;
}

char* CoefficientFileMessage(int status, const char* file, int type, char* text, int size) {
    if (!text || size < 1) return text;
    if (!file) file = type == kF ? V3D_COEFFICIENTS_FILE : V3D_WEIGHTS_FILE;
    switch (status) {
        case kCannotOpen: std::snprintf(text, size, "File %s not found", file); break;
        case kCannotRead: std::snprintf(text, size, "Error in reading file %s", file); break;
        case kBadSize: std::snprintf(text, size, "%s", GetStatusText(kInvalidWindow)); break;
        default: std::snprintf(text, size, "%s", GetStatusText(status)); break;
    }
    return text;
}

}  // extern "C"
