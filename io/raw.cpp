// Raw volume files: bare voxel arrays without a header, one file per frame and channel or one
// file for the whole volume (planar by channel), and the text dump of a VOI.
//
// Beyond the volume and dimension checks, a null name, negative dimensions or skip counts, and
// frame numbers beyond the int range are refused with -90 before any file is opened. Rows are
// read into and written from the volume's own rows: no row buffer is needed.
#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>

#include "core/common.h"
#include "io/imageseq.h"

namespace v3d {
namespace {

struct FileCloser {
    void operator()(std::FILE* f) const { std::fclose(f); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

std::size_t element_size(const Volume* v) { return v->type == kUC ? 1 : 4; }

void* row_of(const Volume* v, int c, int z, int y) {
    return static_cast<char*>(static_cast<void***>(v->data[c].p)[z][y]);
}

bool extensions_present(const char* const* exts, int n) {
    if (!exts) return false;
    for (int c = 0; c < n; ++c)
        if (!exts[c]) return false;
    return true;
}

// Closing reports the write errors that buffering held back.
int close_written(std::FILE* f) { return std::fclose(f) == 0 ? kOk : kFwrite; }

// Reads `rows` rows of each of `frames` frames of channel c, from frame z on, straight into the
// volume's rows. Only whole rows are stored: a file found to hold fewer (its length is looked at
// first, when it can be told) gives the whole rows it has and false. When the length is known,
// rows that follow each other in memory (across frames too) are read with one call.
bool read_rows(std::FILE* f, Volume* vol, int c, int z, int frames, int rows, std::size_t row_bytes) {
    const long long wanted = static_cast<long long>(frames) * rows;
    const long long left = row_bytes > 0 ? bytes_left(f) : -1;
    const long long whole = left < 0 ? wanted : std::min(wanted, left / static_cast<long long>(row_bytes));
    auto row = [&](long long i) {
        return static_cast<char*>(row_of(vol, c, z + static_cast<int>(i / rows), static_cast<int>(i % rows)));
    };
    for (long long i = 0; i < whole;) {
        char* first = row(i);
        std::size_t k = 1;
        if (left >= 0)
            while (i + static_cast<long long>(k) < whole && row(i + k) == first + k * row_bytes) ++k;
        if (std::fread(first, 1, k * row_bytes, f) != k * row_bytes) return false;
        i += static_cast<long long>(k);
    }
    return whole == wanted;
}

// Writes the whole rows of frames z .. z + frames - 1 of channel c, those that follow each other
// in memory (across frames too) with one call: false on a short write.
bool write_frames(std::FILE* f, const Volume* vol, int c, int z, int frames, std::size_t row_bytes) {
    const char* run = nullptr;  // rows gathered for one call
    std::size_t run_bytes = 0;
    for (int k = z; k < z + frames; ++k)
        for (int y = 0; y < vol->Y; ++y) {
            const char* row = static_cast<const char*>(row_of(vol, c, k, y));
            if (run && row == run + run_bytes) {
                run_bytes += row_bytes;
                continue;
            }
            if (run && std::fwrite(run, 1, run_bytes, f) != run_bytes) return false;
            run = row;
            run_bytes = row_bytes;
        }
    return !run || std::fwrite(run, 1, run_bytes, f) == run_bytes;
}

// Frame numbers first .. first + count - 1 all within the int range.
bool numbers_fit(int first, int count) {
    return count < 1 || static_cast<long long>(first) + count - 1 <= INT_MAX;
}

}  // namespace

// "%s%d.%s" without padding, "%s%0*d.%s" with digits characters (shared with the image
// sequences, io/imageseq.h).
PathName frame_file_name(const char* base, int number, int digits, const char* ext) {
    PathName name;
    char* buf = name.text;
    const int n = digits > 0 ? std::snprintf(buf, sizeof name.text, "%s%0*d.%s", base, digits, number, ext)
                             : std::snprintf(buf, sizeof name.text, "%s%d.%s", base, number, ext);
    if (n < 0 || n >= static_cast<int>(sizeof name.text)) buf[0] = '\0';
    return name;
}

}  // namespace v3d

using namespace v3d;

extern "C" {

int fromdiskUCFI3D(Volume* vol, const char* base, int first, int digits, const char* const* exts,
                   int Z, int Y, int X) {
    V3D_CHECK(CheckVolume(vol, kAnyType, kAnyColor));
    if (Z > vol->Z || Y > vol->Y || X > vol->X) return kBadInputDims;
    if (!base || Z < 0 || Y < 0 || X < 0 || !extensions_present(exts, channels(vol)) ||
        !numbers_fit(first, Z))
        return kInvalidParams;
    const std::size_t row_bytes = element_size(vol) * static_cast<std::size_t>(X);
    for (int c = 0, n = channels(vol); c < n; ++c)
        for (int z = 0; z < Z; ++z) {
            const PathName name = frame_file_name(base, first + z, digits, exts[c]);
            File f(name.empty() ? nullptr : std::fopen(name.c_str(), "rb"));
            if (!f) return kFopen;
            if (!read_rows(f.get(), vol, c, z, 1, Y, row_bytes)) return kFread;
        }
    return kOk;
}

int todiskUCFI3D(Volume* vol, const char* base, int first, int digits, const char* const* exts) {
    V3D_CHECK(CheckVolume(vol, kAnyType, kAnyColor));
    if (!base || !extensions_present(exts, channels(vol)) || !numbers_fit(first, vol->Z))
        return kInvalidParams;
    const std::size_t row_bytes = element_size(vol) * static_cast<std::size_t>(vol->X);
    for (int c = 0, n = channels(vol); c < n; ++c)
        for (int z = 0; z < vol->Z; ++z) {
            const PathName name = frame_file_name(base, first + z, digits, exts[c]);
            File f(name.empty() ? nullptr : std::fopen(name.c_str(), "wb"));
            if (!f) return kFopen;
            reserve_for_writing(f.get(), static_cast<long long>(vol->Y) * row_bytes);
            if (!write_frames(f.get(), vol, c, z, 1, row_bytes)) return kFwrite;
            V3D_CHECK(close_written(f.release()));
        }
    return kOk;
}

int ReadVolume(Volume* vol, const char* filename, int skip, int Z, int Y, int X) {
    V3D_CHECK(CheckVolume(vol, kAnyType, kAnyColor));
    if (Z > vol->Z || Y > vol->Y || X > vol->X) return kBadInputDims;
    if (!filename || skip < 0 || Z < 0 || Y < 0 || X < 0) return kInvalidParams;
    const std::size_t row_bytes = element_size(vol) * static_cast<std::size_t>(X);
    File f(std::fopen(filename, "rb"));
    if (!f) return kFopen;
    std::uint64_t offset = 0;  // no file holds more than 2^63 bytes
    if (!checked_product(&offset, {skip, Y, static_cast<long long>(row_bytes)}) ||
        offset > static_cast<std::uint64_t>(LLONG_MAX) ||
        !seek_from_start(f.get(), static_cast<long long>(offset)))
        return kFread;
    for (int c = 0, n = channels(vol); c < n; ++c)
        if (!read_rows(f.get(), vol, c, 0, Z, Y, row_bytes)) return kFread;
    return kOk;
}

int WriteVolume(Volume* vol, const char* filename, int first, int count) {
    V3D_CHECK(CheckVolume(vol, kAnyType, kAnyColor));
    if (static_cast<long long>(first) + count > vol->Z || first < 0 || count < 0)
        return kInvalidParams;
    if (!filename) return kInvalidParams;
    File f(std::fopen(filename, "wb"));
    if (!f) return kFopen;
    const std::size_t row_bytes = element_size(vol) * static_cast<std::size_t>(vol->X);
    reserve_for_writing(f.get(), static_cast<long long>(channels(vol)) * count * vol->Y * row_bytes);
    for (int c = 0, n = channels(vol); c < n; ++c)
        if (!write_frames(f.get(), vol, c, first, count, row_bytes)) return kFwrite;
    return close_written(f.release());
}

int dumpUCFI3D(Volume* vol, const char* filename) {
    V3D_CHECK(CheckVolume(vol, kAnyType, kAnyColor));
    if (!filename) return kInvalidParams;
    std::FILE* f = std::fopen(filename, "w");
    if (!f) return kFopen;
    const Voi r = voi_of(vol);
    bool ok = true;
    for (int c = 0, n = channels(vol); c < n && ok; ++c) {
        for (int z = r.z1; z < r.z2 && ok; ++z) {
            for (int y = r.y1; y < r.y2 && ok; ++y) {
                for (int x = r.x1; x < r.x2 && ok; ++x) {
                    if (vol->type == kUC)
                        ok = std::fprintf(f, "%3u ", static_cast<unsigned>(vol->data[c].uc[z][y][x])) >= 0;
                    else if (vol->type == kF)
                        ok = std::fprintf(f, "%.3f ", static_cast<double>(vol->data[c].f[z][y][x])) >= 0;
                    else
                        ok = std::fprintf(f, "%d ", vol->data[c].i[z][y][x]) >= 0;
                }
                ok = ok && std::fputc('\n', f) != EOF;
            }
            ok = ok && std::fputc('\n', f) != EOF;
        }
        ok = ok && std::fputc('\n', f) != EOF;
    }
    if (!ok) {
        std::fclose(f);
        return kFwrite;
    }
    return close_written(f);
}

}  // extern "C"
