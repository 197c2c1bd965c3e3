// Image sequences: the format table of the open/save dialog, the engine that checks, reads and
// writes a numbered series of one image per frame, and what every format shares (file loading,
// the sink that stores decoded rows into a volume, sample access for writers).
#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <memory>

#include "io/imageseq.h"

namespace v3d {
namespace {

struct FileCloser {
    void operator()(std::FILE* f) const { std::fclose(f); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

int decode_path(const FrameFormatOps& f, const PathName& path, ImageHeader* header,
                RowSink* sink) {
    if (f.decode_file) return f.decode_file(path.c_str(), header, sink);
    FileBytes bytes;
    V3D_CHECK(load_file(path, &bytes));
    return f.decode(bytes.data.get(), bytes.size, header, sink);
}


const ImageSequenceFormat kFormats[V3D_FORMAT_COUNT] = {
    {"raw", "Raw frames", "raw", 0, 1, check_raw_frames, read_raw_frames, write_raw_frames},
    {"rawvol", "Raw volume (one file)", "vol", 1, 1, check_raw_volume, read_raw_volume,
     write_raw_volume},
    {"rgb", "Raw r/g/b frames", "", 0, 1, check_raw_rgb, read_raw_rgb, write_raw_rgb},
    {"tiff", "TIFF image sequence", "tif", 0, 0, check_frames<kTiffFrames>, read_frames<kTiffFrames>,
     write_tiff},
    {"bmp", "BMP image sequence", "bmp", 0, 0, check_frames<kBmpFrames>, read_frames<kBmpFrames>,
     write_bmp},
    {"tga", "TGA image sequence", "tga", 0, 0, check_frames<kTgaFrames>, read_frames<kTgaFrames>,
     write_tga},
    {"gif", "GIF image sequence", "gif", 0, 0, check_frames<kGifFrames>, read_frames<kGifFrames>,
     write_gif},
    {"jpeg", "JPEG image sequence", "jpg", 0, 0, check_frames<kJpegFrames>, read_frames<kJpegFrames>,
     write_jpeg},
    {"pnm", "PGM/PPM image sequence", "pgm", 0, 0, check_frames<kPnmFrames>, read_frames<kPnmFrames>,
     write_pnm},
    {"tiffstack", "Multi-page TIFF stack", "tif", 1, 0, check_tiff_stack, read_tiff_stack,
     write_tiff_stack},
};

}  // namespace

int check_sequence_args(const char* base, int first, int digits, const char* ext, int count) {
    if (!base || !ext || digits < 0 || count < 1 || count > kMaxImageFrames) return kInvalidParams;
    if (static_cast<long long>(first) + count - 1 > INT_MAX) return kInvalidParams;
    return kOk;
}

int VolumeSink::begin(const ImageHeader& header) {
    if (header.width > vol_->X || header.height > vol_->Y) return kBadInputDims;
    if (header.colour != vol_->colortype) return kWrongColor;
    h_ = header;
    return kOk;
}

void VolumeSink::row(int y, const std::uint16_t* s) {
    if (y < 0 || y >= h_.height) return;
    const int n = h_.colour == kGrey ? 1 : 3;
    const unsigned maxval = static_cast<unsigned>(h_.maxval);
    for (int c = 0; c < n; ++c) {
        if (vol_->type == kI) {
            int* out = vol_->data[c].i[z_][y];
            for (int x = 0; x < h_.width; ++x) out[x] = s[x * n + c];
        } else if (maxval == 255) {  // (the bounds in locals: byte stores may alias anything)
            unsigned char* out = vol_->data[c].uc[z_][y];
            const int width = h_.width;
            if (n == 1)
                for (int x = 0; x < width; ++x) out[x] = static_cast<unsigned char>(std::min(s[x], std::uint16_t{255}));
            else
                for (int x = 0; x < width; ++x) out[x] = static_cast<unsigned char>(std::min(s[x * 3 + c], std::uint16_t{255}));
        } else {
            unsigned char* out = vol_->data[c].uc[z_][y];
            for (int x = 0; x < h_.width; ++x) {
                unsigned v = s[x * n + c];
                if (v > maxval) v = maxval;
                out[x] = static_cast<unsigned char>(maxval == 255 ? v : (v * 255u + maxval / 2) / maxval);
            }
        }
    }
}

long long bytes_left(std::FILE* f) {
#if defined(_WIN32)
    const long long here = _ftelli64(f);
    if (here < 0 || _fseeki64(f, 0, SEEK_END) != 0) return -1;
    const long long end = _ftelli64(f);
    if (_fseeki64(f, here, SEEK_SET) != 0) return -1;
#else
    const long long here = ftello(f);
    if (here < 0 || fseeko(f, 0, SEEK_END) != 0) return -1;
    const long long end = ftello(f);
    if (fseeko(f, here, SEEK_SET) != 0) return -1;
#endif
    return end < here ? 0 : end - here;
}

int load_file(const PathName& path, FileBytes* bytes) {
    File f(path.empty() ? nullptr : std::fopen(path.c_str(), "rb"));
    if (!f) return kFopen;
    const long long length = bytes_left(f.get());
    if (length < 0 || length > kMaxImageFileBytes) return kFread;
    bytes->size = static_cast<std::size_t>(length);
    bytes->data = make_io_buffer<std::uint8_t>(bytes->size);
    if (!bytes->data) return kNoBuffer;
    return std::fread(bytes->data.get(), 1, bytes->size, f.get()) == bytes->size ? kOk : kFread;
}

int save_bytes(const char* path, const std::vector<std::uint8_t>& bytes) {
    std::FILE* f = path[0] == '\0' ? nullptr : std::fopen(path, "wb");
    if (!f) return kFopen;
    const bool ok = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
    return (std::fclose(f) == 0 && ok) ? kOk : kFwrite;
}

PathName single_file_name(const char* base, const char* ext) {
    PathName name;
    const int n = std::snprintf(name.text, sizeof name.text, "%s.%s", base, ext);
    if (n < 0 || n >= static_cast<int>(sizeof name.text)) name.text[0] = '\0';
    return name;
}

unsigned sample_of(const Volume* v, int c, int z, int y, int x, unsigned maxval) {
    if (v->type == kUC) return v->data[c].uc[z][y][x];
    const int s = v->data[c].i[z][y][x];
    return s < 0 ? 0u : (static_cast<unsigned>(s) > maxval ? maxval : static_cast<unsigned>(s));
}

bool palette_is_grey(const std::uint8_t* rgb, int n) {
    for (int i = 0; i < n; ++i)
        if (rgb[3 * i] != rgb[3 * i + 1] || rgb[3 * i] != rgb[3 * i + 2]) return false;
    return true;
}

int check_frame_sequence(const FrameFormatOps& f, const char* base, int first, int digits,
                         const char* ext, int count, ImageSequenceInfo* info) {
    V3D_CHECK(check_sequence_args(base, first, digits, ext, count));
    if (!info) return kInvalidParams;
    ImageHeader head;
    for (int i = 0; i < count; ++i) {
        ImageHeader h;
        V3D_CHECK(decode_path(f, frame_file_name(base, first + i, digits, ext), &h, nullptr));
        if (i == 0) head = h;
        else if (!h.same_shape(head)) return f.inconsistency;
    }
    *info = {head.width, head.height, count, kUC, head.colour, head.maxval > 255 ? 16 : 8};
    return kOk;
}

int read_frame_sequence(const FrameFormatOps& f, Volume* vol, const char* base, int first,
                        int digits, const char* ext, int count) {
    V3D_CHECK(CheckVolume(vol, kUC | kI, kAnyColor));
    V3D_CHECK(check_sequence_args(base, first, digits, ext, count));
    if (count > vol->Z) return kBadInputDims;
    for (int z = 0; z < count; ++z) {
        VolumeSink sink(vol, z);
        V3D_CHECK(decode_path(f, frame_file_name(base, first + z, digits, ext), nullptr, &sink));
    }
    return kOk;
}

int write_frame_sequence(const FrameFormatOps& f, Volume* vol, const char* base, int first,
                         int digits, const char* ext, int option) {
    V3D_CHECK(CheckVolume(vol, f.write_types, kAnyColor));
    V3D_CHECK(check_sequence_args(base, first, digits, ext, vol->Z));
    if (!image_size_ok(vol->X, vol->Y)) return kInvalidParams;
    for (int z = 0; z < vol->Z; ++z) {
        const PathName path = frame_file_name(base, first + z, digits, ext);
        V3D_CHECK(without_throwing([&] { return f.write_frame(vol, z, path.c_str(), option); }));
    }
    return kOk;
}

}  // namespace v3d

using namespace v3d;

extern "C" {

const ImageSequenceFormat* GetImageSequenceFormat(int index) {
    return index >= 0 && index < V3D_FORMAT_COUNT ? &kFormats[index] : nullptr;
}

int FindImageSequenceFormat(const char* name) {
    for (int i = 0; name && i < V3D_FORMAT_COUNT; ++i)
        if (std::strcmp(kFormats[i].name, name) == 0) return i;
    return -1;
}

}  // extern "C"
