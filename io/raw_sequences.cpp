// The raw entries of the format table: headerless frames, the single-file raw volume and raw
// r/g/b frames, on top of the raw volume functions. Their files describe nothing, so the check
// takes width, height and data type (and, for the volume, the colour type) from the caller and
// verifies that every file exists (-600) and holds the data (-601); frame files of different
// sizes give -521. A frame count of 0 asks the check how many frames there are: the numbered
// files that exist, or what the length of the raw volume holds. Raw frames are always numbered
// (digits -1 is -90). The readers read frames of the volume's own width and height.
#include <climits>
#include <cstdio>

#include "io/imageseq.h"

namespace v3d {
namespace {

const char* const kRgbExts[3] = {"r", "g", "b"};

// Size of a file in bytes, -1 when it cannot be opened.
long long file_size(const PathName& path) {
    std::FILE* f = path.empty() ? nullptr : std::fopen(path.c_str(), "rb");
    if (!f) return -1;
    long long n = -1;
#if defined(_WIN32)
    if (_fseeki64(f, 0, SEEK_END) == 0) n = _ftelli64(f);
#else
    if (fseeko(f, 0, SEEK_END) == 0) n = ftello(f);
#endif
    std::fclose(f);
    return n;
}

// The arguments of a reader or writer of numbered raw frames: a series of one or more.
int numbered_args(const char* base, int first, int digits, const char* ext, int count) {
    V3D_CHECK(check_sequence_args(base, first, digits, ext, count));
    return digits < 0 || count < 1 ? kInvalidParams : kOk;
}

int check_raw_info(const ImageSequenceInfo* info) {
    if (!info) return kInvalidParams;
    if (!image_size_ok(info->X, info->Y)) return kInvalidParams;
    if (info->type != kUC && info->type != kF && info->type != kI) return kWrongType;
    return kOk;
}

long long frame_bytes(const ImageSequenceInfo* info) {
    return static_cast<long long>(info->X) * info->Y * (info->type == kUC ? 1 : 4);
}

// Every frame file of every extension exists, holds a frame and has the size of the first;
// count 0 takes every frame there is, up to the first number whose file cannot be opened.
int check_frame_files(const char* base, int first, int digits, const char* const* exts, int n,
                      int count, ImageSequenceInfo* info) {
    if (digits < 0) return kInvalidParams;  // raw frames are always numbered
    long long size0 = -1;
    int z = 0;
    for (; count == 0 || z < count; ++z) {
        if (count == 0 && (z == kMaxImageFrames || static_cast<long long>(first) + z > INT_MAX ||
                           (z > 0 && file_size(frame_file_name(base, first + z, digits, exts[0])) < 0)))
            break;
        for (int c = 0; c < n; ++c) {
            const long long size = file_size(frame_file_name(base, first + z, digits, exts[c]));
            if (size < 0) return kFopen;
            if (size < frame_bytes(info)) return kFread;
            if (size0 >= 0 && size != size0) return kBadInputDims;
            size0 = size;
        }
    }
    info->Z = z;
    info->bits = info->type == kUC ? 8 : 32;
    return kOk;
}

}  // namespace

int check_raw_frames(const char* base, int first, int digits, const char* ext, int count,
                     ImageSequenceInfo* info) {
    V3D_CHECK(check_sequence_args(base, first, digits, ext, count));
    V3D_CHECK(check_raw_info(info));
    info->colortype = kGrey;
    return check_frame_files(base, first, digits, &ext, 1, count, info);
}

int read_raw_frames(Volume* vol, const char* base, int first, int digits, const char* ext,
                    int count) {
    V3D_CHECK(CheckVolume(vol, kAnyType, kGrey));
    V3D_CHECK(numbered_args(base, first, digits, ext, count));
    return fromdiskUCFI3D(vol, base, first, digits, &ext, count, vol->Y, vol->X);
}

int write_raw_frames(Volume* vol, const char* base, int first, int digits, const char* ext) {
    V3D_CHECK(CheckVolume(vol, kAnyType, kGrey));
    V3D_CHECK(numbered_args(base, first, digits, ext, vol->Z));
    return todiskUCFI3D(vol, base, first, digits, &ext);
}

// count 0 takes as many frames as the file holds after the first `first` (whole frames of
// every channel; a remainder is left unread).
int check_raw_volume(const char* base, int first, int, const char* ext, int count,
                     ImageSequenceInfo* info) {
    if (!base || !ext || first < 0 || count < 0 || count > kMaxImageFrames) return kInvalidParams;
    V3D_CHECK(check_raw_info(info));
    if (info->colortype != kGrey && info->colortype != kRGB) return kWrongColor;
    const long long size = file_size(single_file_name(base, ext));
    if (size < 0) return kFopen;
    const int channels = info->colortype == kGrey ? 1 : 3;
    if (count == 0) {
        const long long held = (size / frame_bytes(info) - first) / channels;
        if (held < 1) return kFread;
        if (held > kMaxImageFrames) return kInvalidParams;
        count = static_cast<int>(held);
    }
    const long long frames = static_cast<long long>(first) + static_cast<long long>(count) * channels;
    if (size / frame_bytes(info) < frames) return kFread;
    info->Z = count;
    info->bits = info->type == kUC ? 8 : 32;
    return kOk;
}

int read_raw_volume(Volume* vol, const char* base, int first, int, const char* ext, int count) {
    V3D_CHECK(CheckVolume(vol, kAnyType, kAnyColor));
    if (!base || !ext || first < 0 || count < 1 || count > kMaxImageFrames) return kInvalidParams;
    return ReadVolume(vol, single_file_name(base, ext).c_str(), first, count, vol->Y, vol->X);
}

int write_raw_volume(Volume* vol, const char* base, int, int, const char* ext) {
    V3D_CHECK(CheckVolume(vol, kAnyType, kAnyColor));
    if (!base || !ext) return kInvalidParams;
    return WriteVolume(vol, single_file_name(base, ext).c_str(), 0, vol->Z);
}

int check_raw_rgb(const char* base, int first, int digits, const char*, int count,
                  ImageSequenceInfo* info) {
    V3D_CHECK(check_sequence_args(base, first, digits, "", count));
    V3D_CHECK(check_raw_info(info));
    info->colortype = kRGB;
    return check_frame_files(base, first, digits, kRgbExts, 3, count, info);
}

int read_raw_rgb(Volume* vol, const char* base, int first, int digits, const char*, int count) {
    V3D_CHECK(CheckVolume(vol, kAnyType, kRGB));
    V3D_CHECK(numbered_args(base, first, digits, "", count));
    return fromdiskUCFI3D(vol, base, first, digits, kRgbExts, count, vol->Y, vol->X);
}

int write_raw_rgb(Volume* vol, const char* base, int first, int digits, const char*) {
    V3D_CHECK(CheckVolume(vol, kAnyType, kRGB));
    V3D_CHECK(numbered_args(base, first, digits, "", vol->Z));
    return todiskUCFI3D(vol, base, first, digits, kRgbExts);
}

}  // namespace v3d
