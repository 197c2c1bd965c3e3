// Image sequences: the format table of the open/save dialog, the engine that checks, reads and
// writes a numbered series of one image per frame, and what every format shares (file loading,
// the sink that stores decoded rows into a volume, sample access for writers).
#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <memory>

#include "io/imageseq.h"

#if defined(__linux__)
#include <fcntl.h>
#endif
#include "io/volume_files.h"

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
    {"pnm", "PBM/PGM/PPM image sequence", "pgm", 0, 0, check_frames<kPnmFrames>, read_frames<kPnmFrames>,
     write_pnm},
    {"tiffstack", "Multi-page TIFF stack", "tif", 1, 0, check_tiff_stack, read_tiff_stack,
     write_tiff_stack},
    // volume files with a header of their own (io/volume_files.h)
    {"nifti", "NIfTI volume (.nii, .nii.gz, .hdr/.img)", "nii", 1, 0, check_volume<kNiftiOps>,
     read_volume<kNiftiOps>, write_volume<kNiftiOps>},
    {"nrrd", "NRRD volume (.nrrd, .nhdr)", "nrrd", 1, 0, check_volume<kNrrdOps>, read_volume<kNrrdOps>,
     write_volume<kNrrdOps>},
    {"metaimage", "MetaImage volume (.mha, .mhd)", "mha", 1, 0, check_volume<kMetaImageOps>,
     read_volume<kMetaImageOps>, write_volume<kMetaImageOps>},
};

}  // namespace

int check_sequence_args(const char* base, int first, int digits, const char* ext, int count) {
    if (!base || !ext || digits < -1 || count < 0 || count > kMaxImageFrames) return kInvalidParams;
    if (digits < 0 && first < 0) return kInvalidParams;
    if (static_cast<long long>(first) + count - 1 > INT_MAX) return kInvalidParams;
    return kOk;
}

int VolumeSink::begin(const ImageHeader& header) {
    if (header.width > vol_->X || header.height > vol_->Y) return kBadInputDims;
    if (header.colour != vol_->colortype) return kWrongColor;
    if (header.kind == SampleKind::Float && vol_->type != kF) return kFloatSamples;
    if (header.kind == SampleKind::Signed && vol_->type == kUC) return kSignedSamples;
    h_ = header;
    return kOk;
}

bool VolumeSink::next_frame() {
    if (frame_ + 1 - skip_ >= frames_) return false;
    ++frame_;
    return true;
}

int VolumeSink::stored() const {
    const int n = frame_ + 1 - skip_;
    return n < 0 ? 0 : (n > frames_ ? frames_ : n);
}

void VolumeSink::row(int y, const Sample* s) {
    if (y < 0 || y >= h_.height || frame_ < skip_) return;
    const int z = z_ + frame_ - skip_;
    const int n = h_.colour == kGrey ? 1 : 3;
    const unsigned maxval = static_cast<unsigned>(h_.maxval);
    for (int c = 0; c < n; ++c) {
        if (vol_->type == kF) {
            float* out = vol_->data[c].f[z][y];
            for (int x = 0; x < h_.width; ++x) out[x] = s[x * n + c];
        } else if (vol_->type == kI) {
            int* out = vol_->data[c].i[z][y];
            for (int x = 0; x < h_.width; ++x) out[x] = static_cast<int>(s[x * n + c]);
        } else if (maxval == 255) {  // unsigned samples stored as they are, within 0..255
            unsigned char* out = vol_->data[c].uc[z][y];
            const int width = h_.width;  // (in a local: byte stores may alias anything)
            auto stored = [](Sample f) {  // truncated; below 0 and not a number give 0
                return static_cast<unsigned char>(static_cast<int>(std::min(Sample{255}, std::max(Sample{0}, f))));
            };
            if (n == 1)  // (grey apart, so that it vectorises)
                for (int x = 0; x < width; ++x) out[x] = stored(s[x]);
            else
                for (int x = 0; x < width; ++x) out[x] = stored(s[x * 3 + c]);
        } else {  // unsigned samples (begin() refused the others)
            unsigned char* out = vol_->data[c].uc[z][y];
            for (int x = 0; x < h_.width; ++x) {
                const Sample f = s[x * n + c];
                unsigned v = f > 0 ? static_cast<unsigned>(f) : 0u;
                if (v > maxval) v = maxval;
                out[x] = static_cast<unsigned char>(maxval == 255 ? v : (v * 255u + maxval / 2) / maxval);
            }
        }
    }
}

bool VolumeSink::byte_row(int y, const std::uint8_t* s) {
    if (y < 0 || y >= h_.height || frame_ < skip_) return true;
    const int z = z_ + frame_ - skip_;
    const int n = h_.colour == kGrey ? 1 : 3;
    for (int c = 0; c < n; ++c) {
        const std::uint8_t* in = s + c;
        if (vol_->type == kUC && n == 1) {
            std::memcpy(vol_->data[0].uc[z][y], s, static_cast<std::size_t>(h_.width));
        } else if (vol_->type == kUC) {
            unsigned char* out = vol_->data[c].uc[z][y];
            for (int x = 0; x < h_.width; ++x) out[x] = in[x * 3];
        } else if (vol_->type == kF) {
            float* out = vol_->data[c].f[z][y];
            for (int x = 0; x < h_.width; ++x) out[x] = in[x * n];
        } else {
            int* out = vol_->data[c].i[z][y];
            for (int x = 0; x < h_.width; ++x) out[x] = in[x * n];
        }
    }
    return true;
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

bool seek_from_start(std::FILE* f, long long offset) {
#if defined(_WIN32)
    return _fseeki64(f, offset, SEEK_SET) == 0;
#else
    return fseeko(f, static_cast<off_t>(offset), SEEK_SET) == 0;
#endif
}

void reserve_for_writing(int fd, long long bytes) {
#if defined(__linux__)
    if (fd >= 0 && bytes > 0) (void)fallocate(fd, FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(bytes));
#else
    (void)fd, (void)bytes;
#endif
}

void reserve_for_writing(std::FILE* f, long long bytes) {
#if defined(__linux__)
    reserve_for_writing(fileno(f), bytes);
#else
    (void)f, (void)bytes;
#endif
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

PathName sequence_file_name(const char* base, int first, int digits, const char* ext, int i) {
    return digits < 0 ? single_file_name(base, ext) : frame_file_name(base, first + i, digits, ext);
}

bool can_open(const PathName& path) {
    File f(path.empty() ? nullptr : std::fopen(path.c_str(), "rb"));
    return f != nullptr;
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

// A sequence is read file after file: file i is number first + i (digits -1: the one file,
// whose first `first` frames are passed over), each file giving one frame or, for a file of
// several frames, all of them in order, until count frames are had (count 0: every file there
// is, the series ending at the first number that cannot be opened).
int check_frame_sequence(const FrameFormatOps& f, const char* base, int first, int digits,
                         const char* ext, int count, ImageSequenceInfo* info) {
    V3D_CHECK(check_sequence_args(base, first, digits, ext, count));
    if (!info) return kInvalidParams;
    const bool one_file = digits < 0;
    ImageHeader head;
    long long frames = 0;
    for (int i = 0; count == 0 || frames < count; ++i) {
        if (one_file ? i > 0 : static_cast<long long>(first) + i > INT_MAX) break;
        const PathName path = sequence_file_name(base, first, digits, ext, i);
        if (count == 0 && i > 0 && !can_open(path)) break;
        ImageHeader h;
        V3D_CHECK(decode_path(f, path, &h, nullptr));
        if (i == 0) head = h;
        else if (!h.same_shape(head)) return f.inconsistency;
        frames += h.frames - (one_file ? first : 0);
        if (count == 0 && frames > kMaxImageFrames) return kInvalidParams;
    }
    if (frames < 1 || frames < count) return kFewerFrames;
    *info = {head.width, head.height, count ? count : static_cast<int>(frames), head.volume_type(),
             head.colour, head.bits};
    return kOk;
}

int read_frame_sequence(const FrameFormatOps& f, Volume* vol, const char* base, int first,
                        int digits, const char* ext, int count) {
    V3D_CHECK(CheckVolume(vol, kAnyType, kAnyColor));
    V3D_CHECK(check_sequence_args(base, first, digits, ext, count));
    if (count < 1) return kInvalidParams;
    if (count > vol->Z) return kBadInputDims;
    const bool one_file = digits < 0;
    for (int i = 0, z = 0; z < count; ++i) {
        if (one_file && i > 0) return kFewerFrames;
        VolumeSink sink(vol, z, count - z, one_file ? first : 0);
        V3D_CHECK(decode_path(f, sequence_file_name(base, first, digits, ext, i), nullptr, &sink));
        if (sink.stored() == 0) return kFewerFrames;
        z += sink.stored();
    }
    return kOk;
}

int write_frame_sequence(const FrameFormatOps& f, Volume* vol, const char* base, int first,
                         int digits, const char* ext, int option) {
    V3D_CHECK(CheckVolume(vol, f.write_types, kAnyColor));
    V3D_CHECK(check_sequence_args(base, first, digits, ext, vol->Z));
    if (digits < 0 || !image_size_ok(vol->X, vol->Y)) return kInvalidParams;  // files are numbered
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
