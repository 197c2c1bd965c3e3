// Internals of the image-sequence formats: the header every frame decoder reports, the sink that
// receives decoded rows, file loading, the volume-side helpers of readers and writers, and the
// entry points of each format file that the format table (io/imageseq.cpp) lists.
//
// A frame decoder works on the bytes of one file in memory:
//
//   int decode_bmp(const uint8_t* data, size_t size, ImageHeader* header, RowSink* sink);
//
// It validates the header against the limits below before it allocates anything, fills *header
// (when not null), and returns at once when sink is null (header only). Otherwise it asks
// sink->begin(header) (which may refuse with a status) and hands over every row; a file of
// several frames (header->frames) hands them over in turn, asking sink->next_frame() before
// each one after the first. Bad content returns the format's status; nothing is read outside
// [data, data + size).
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "core/common.h"
#include "vexilo3d_imageio.h"

namespace v3d {

// Largest frame and sequence a reader accepts (also the public V3D_IMAGE_MAX_* values).
constexpr int kMaxImageWidth = V3D_IMAGE_MAX_WIDTH;
constexpr int kMaxImageHeight = V3D_IMAGE_MAX_HEIGHT;
constexpr int kMaxImageFrames = V3D_IMAGE_MAX_FRAMES;
// Largest file a frame reader loads into memory.
constexpr long long kMaxImageFileBytes = 1LL << 31;

// How a file stores its samples: unsigned integers (scaled into UC volumes by maxval), signed
// integers (read into I or F volumes) or floating point (read into F volumes).
enum class SampleKind { Unsigned, Signed, Float };

// One sample as the decoders hand it over: exact for every integer of up to 16 bits, signed or
// not, and the value itself for floating-point files.
using Sample = float;

struct ImageHeader {
    int width = 0, height = 0;
    int colour = kGrey;  // kGrey or kRGB
    int maxval = 255;    // unsigned samples: the largest value (255 for 8 bits, 65535 for 16)
    SampleKind kind = SampleKind::Unsigned;
    int bits = 8;        // bits per sample in the file
    int frames = 1;      // frames the file holds (an animated GIF holds several)
    bool same_shape(const ImageHeader& o) const {
        return width == o.width && height == o.height && colour == o.colour && maxval == o.maxval &&
               kind == o.kind && bits == o.bits;
    }
    // The data type that holds the samples as the file has them: UC for unsigned samples
    // (deeper ones scaled), I for signed ones, F for floating point.
    int volume_type() const { return kind == SampleKind::Float ? kF : kind == SampleKind::Signed ? kI : kUC; }
};

inline bool image_size_ok(long long width, long long height) {
    return width >= 1 && height >= 1 && width <= kMaxImageWidth && height <= kMaxImageHeight;
}

// Receives the decoded rows of a file: samples interleaved, one or three per pixel. Rows may
// come in any order (bottom-up files, interlaced GIF). A file of several frames hands them
// over one after the other, asking next_frame() before each frame after the first.
class RowSink {
public:
    virtual ~RowSink() = default;
    virtual int begin(const ImageHeader& header) = 0;  // 0 or a status that stops the decoder
    virtual void row(int y, const Sample* samples) = 0;
    // The same for a row of 8-bit unsigned samples (maxval 255) as the file holds them; false
    // when the sink wants them through row() instead.
    virtual bool byte_row(int, const std::uint8_t*) { return false; }
    // False when no more frames are wanted: the decoder stops there, successfully.
    virtual bool next_frame() { return false; }
};

// Stores the frames of one file into frames z, z+1 ... of a volume, at most `frames` of them,
// after passing over the file's first `skip` frames. UC volumes get unsigned samples as they
// are when maxval is 255, otherwise scaled by round(v * 255 / maxval) (16-bit samples:
// (v * 255 + 32767) / 65535); I and F volumes get the values. begin() refuses a frame larger
// than the volume (-521), a colour type other than the volume's (-503), signed samples for a
// UC volume (-1004) and floating-point samples for a UC or I volume (-1003).
class VolumeSink : public RowSink {
public:
    VolumeSink(Volume* vol, int z, int frames = 1, int skip = 0)
        : vol_(vol), z_(z), frames_(frames), skip_(skip) {}
    int begin(const ImageHeader& header) override;
    void row(int y, const Sample* samples) override;
    bool byte_row(int y, const std::uint8_t* samples) override;
    bool next_frame() override;
    // The volume frames filled (or being filled).
    int stored() const;

private:
    Volume* vol_;
    int z_, frames_, skip_;
    int frame_ = 0;  // the file's frame the rows belong to
    ImageHeader h_;
};

using FrameDecoder = int (*)(const std::uint8_t* data, std::size_t size, ImageHeader* header,
                             RowSink* sink);

// A file name built in a fixed buffer, so that naming a file allocates nothing; empty when the
// name does not fit.
struct PathName {
    char text[4096] = "";
    const char* c_str() const { return text; }
    bool empty() const { return text[0] == '\0'; }
};

// "%s%d.%s" without padding, "%s%0*d.%s" with digits characters (io/raw.cpp).
PathName frame_file_name(const char* base, int number, int digits, const char* ext);
// "%s.%s": the one file of a single-file format.
PathName single_file_name(const char* base, const char* ext);
// File i of an image sequence: number first + i, or with digits -1 the one file "%s.%s".
PathName sequence_file_name(const char* base, int first, int digits, const char* ext, int i);
// True when a file can be opened for reading.
bool can_open(const PathName& path);

// The bytes from the position of an open file to its end (the position is kept), -1 when they
// cannot be told (a pipe).
long long bytes_left(std::FILE* f);
// Moves an open file to offset bytes from its start (beyond 2 GiB too).
bool seek_from_start(std::FILE* f, long long offset);
// Tells the file system that about `bytes` bytes are to be written from the start of a file
// just opened for writing, so that it reserves their blocks at once rather than a page at a
// time as the writes come (a large volume is then written in a third of the time). Advice
// only: the file's size does not change and nothing is reported.
void reserve_for_writing(int fd, long long bytes);
void reserve_for_writing(std::FILE* f, long long bytes);

// The bytes of a whole file.
struct FileBytes {
    std::unique_ptr<std::uint8_t[]> data;
    std::size_t size = 0;
};
// Reads a whole file: -600 when it cannot be opened, -601 when it cannot be read or is larger
// than kMaxImageFileBytes, -9 when its bytes cannot be held.
int load_file(const PathName& path, FileBytes* bytes);

// Runs a step that may allocate through the standard library (the writers build their files
// in std::vector): a failed allocation becomes -9 instead of an exception.
template <class F> int without_throwing(F&& step) noexcept {
    try {
        return step();
    } catch (const std::bad_alloc&) {
        return kNoBuffer;
    }
}

// Little-endian and big-endian fields of a byte buffer (the caller has checked the bounds).
inline unsigned le16(const std::uint8_t* p) { return p[0] | (p[1] << 8u); }
inline std::uint32_t le32(const std::uint8_t* p) {
    return p[0] | (p[1] << 8u) | (p[2] << 16u) | (static_cast<std::uint32_t>(p[3]) << 24u);
}
inline void put_le16(std::vector<std::uint8_t>& out, unsigned v) {
    out.push_back(v & 0xff);
    out.push_back((v >> 8) & 0xff);
}
inline void put_le32(std::vector<std::uint8_t>& out, std::uint32_t v) {
    put_le16(out, v & 0xffff);
    put_le16(out, v >> 16);
}

// Writes bytes to a new file: -600 when it cannot be created, -602 on a short write.
int save_bytes(const char* path, const std::vector<std::uint8_t>& bytes);

// A sample of a UC or I volume for writing: UC as it is, I clamped to 0..maxval.
unsigned sample_of(const Volume* v, int c, int z, int y, int x, unsigned maxval);

// True when r == g == b for every one of n palette entries (rgb triples).
bool palette_is_grey(const std::uint8_t* rgb, int n);

// Names present, digits >= -1 (-1: one file without a number, first >= 0 frames of it
// skipped), count 0..kMaxImageFrames (0: every frame there is), frame numbers
// first .. first + count - 1 without overflow: 0, otherwise -90.
int check_sequence_args(const char* base, int first, int digits, const char* ext, int count);

// The frame-file sequence engine: check, read and write a numbered series of one image per
// frame with the given decoder (or, for writers, frame writer).
struct FrameFormatOps {
    FrameDecoder decode;  // null for formats that open their files themselves (TIFF)
    int (*decode_file)(const char* path, ImageHeader* header, RowSink* sink);
    int inconsistency;    // status when a later frame differs from the first
    int (*write_frame)(Volume* vol, int z, const char* path, int option);
    int write_types;      // data types the writer accepts (kUC, or kUC | kI)
};
int check_frame_sequence(const FrameFormatOps& f, const char* base, int first, int digits,
                         const char* ext, int count, ImageSequenceInfo* info);
int read_frame_sequence(const FrameFormatOps& f, Volume* vol, const char* base, int first,
                        int digits, const char* ext, int count);
int write_frame_sequence(const FrameFormatOps& f, Volume* vol, const char* base, int first,
                         int digits, const char* ext, int option);

// Frame decoders of the formats (the fuzz targets call them directly).
int decode_bmp(const std::uint8_t* data, std::size_t size, ImageHeader* header, RowSink* sink);
int decode_tga(const std::uint8_t* data, std::size_t size, ImageHeader* header, RowSink* sink);
int decode_gif(const std::uint8_t* data, std::size_t size, ImageHeader* header, RowSink* sink);
int decode_jpeg(const std::uint8_t* data, std::size_t size, ImageHeader* header, RowSink* sink);
int decode_pnm(const std::uint8_t* data, std::size_t size, ImageHeader* header, RowSink* sink);
int decode_tiff(const std::uint8_t* data, std::size_t size, ImageHeader* header, RowSink* sink);

// TIFF pages (io/tiff.cpp), shared with the multi-page stack (io/tiff_stack.cpp).
struct TiffFile;  // an open TIFF file or memory image
void tiff_close(TiffFile* t);
struct TiffCloser {
    void operator()(TiffFile* t) const { tiff_close(t); }
};
// The owner of an open TIFF: it closes the handle and its file on every path.
using TiffOwner = std::unique_ptr<TiffFile, TiffCloser>;
// Open a file ("" cannot be opened) or a memory image into *t: 0, -1000 when libtiff cannot open
// it, -9 when there is no memory for the record.
int tiff_open_file(const char* path, const char* mode, TiffOwner* t);
int tiff_open_memory(const std::uint8_t* data, std::size_t size, TiffOwner* t);
int tiff_page_count(TiffFile* t, int limit);   // directories, counted up to limit
bool tiff_select_page(TiffFile* t, int page);
bool tiff_next_page(TiffFile* t);
// Checks (vol null) or reads the pages first .. first + count - 1 of a stack (count 0: to the
// end) into frames 0.. of vol (io/tiff_stack.cpp).
int walk_tiff_pages(TiffFile* t, int first, int count, ImageSequenceInfo* info, Volume* vol);
int tiff_decode_page(TiffFile* t, ImageHeader* header, RowSink* sink);  // 0 or -1000
int tiff_write_page(TiffFile* t, Volume* vol, int z, int compression, int page, int pages);
void tiff_reserve_for_writing(TiffFile* t, long long bytes);
bool tiff_compression_ok(int compression);  // none, LZW or PackBits

// The operations of the frame formats (one file each), and the table's check and read entries
// of a frame format.
extern const FrameFormatOps kTiffFrames, kBmpFrames, kTgaFrames, kGifFrames, kJpegFrames,
    kPnmFrames;
template <const FrameFormatOps& F>
int check_frames(const char* base, int first, int digits, const char* ext, int count,
                 ImageSequenceInfo* info) {
    return check_frame_sequence(F, base, first, digits, ext, count, info);
}
template <const FrameFormatOps& F>
int read_frames(Volume* vol, const char* base, int first, int digits, const char* ext, int count) {
    return read_frame_sequence(F, vol, base, first, digits, ext, count);
}

// The format table's entries (one file each).
int check_raw_frames(const char*, int, int, const char*, int, ImageSequenceInfo*);
int read_raw_frames(Volume*, const char*, int, int, const char*, int);
int write_raw_frames(Volume*, const char*, int, int, const char*);
int check_raw_volume(const char*, int, int, const char*, int, ImageSequenceInfo*);
int read_raw_volume(Volume*, const char*, int, int, const char*, int);
int write_raw_volume(Volume*, const char*, int, int, const char*);
int check_raw_rgb(const char*, int, int, const char*, int, ImageSequenceInfo*);
int read_raw_rgb(Volume*, const char*, int, int, const char*, int);
int write_raw_rgb(Volume*, const char*, int, int, const char*);
int write_tiff(Volume*, const char*, int, int, const char*);
int write_bmp(Volume*, const char*, int, int, const char*);
int write_tga(Volume*, const char*, int, int, const char*);
int write_gif(Volume*, const char*, int, int, const char*);
int write_jpeg(Volume*, const char*, int, int, const char*);
int write_pnm(Volume*, const char*, int, int, const char*);
int check_tiff_stack(const char*, int, int, const char*, int, ImageSequenceInfo*);
int read_tiff_stack(Volume*, const char*, int, int, const char*, int);
int write_tiff_stack(Volume*, const char*, int, int, const char*);

}  // namespace v3d
