// GIF87a/89a images with our own LZW decoder. Each file contributes its first image (its own
// width and height; the logical screen is not used); extensions are skipped; the local colour
// table replaces the global one; interlaced images are put back in row order. A palette that is
// all grey gives a grey frame. Content errors are -32: wrong magic, no colour table, truncated
// blocks, an LZW code size outside 2..8, a code beyond the table, fewer pixels than the image
// holds, an index beyond the colour table. The writer stores grey volumes with a 256-entry grey
// palette.
#include <cstring>

#include "io/imageseq.h"

namespace v3d {
namespace {

constexpr int kBad = kGifRead;
constexpr int kMaxCodes = 4096;

struct GifImage {
    ImageHeader h;
    bool interlaced = false;
    int colours = 0;
    std::uint8_t palette[256 * 3] = {};
    std::size_t lzw = 0;  // offset of the LZW minimum code size byte
};

// Skips data sub-blocks from p; false when they run past the end.
bool skip_blocks(const std::uint8_t* d, std::size_t n, std::size_t& p) {
    for (;;) {
        if (p >= n) return false;
        const std::size_t len = d[p++];
        if (len == 0) return true;
        if (n - p < len) return false;
        p += len;
    }
}

bool read_table(const std::uint8_t* d, std::size_t n, std::size_t& p, int flags, GifImage& g) {
    g.colours = 2 << (flags & 7);
    const std::size_t bytes = 3 * static_cast<std::size_t>(g.colours);
    if (n - p < bytes) return false;
    std::memcpy(g.palette, d + p, bytes);
    p += bytes;
    return true;
}

int parse_header(const std::uint8_t* d, std::size_t n, GifImage& g) {
    if (n < 13 || (std::memcmp(d, "GIF87a", 6) != 0 && std::memcmp(d, "GIF89a", 6) != 0))
        return kBad;
    std::size_t p = 13;
    if ((d[10] & 0x80) && !read_table(d, n, p, d[10], g)) return kBad;
    for (;;) {
        if (p >= n) return kBad;
        const int block = d[p++];
        if (block == 0x21) {  // extension: label, sub-blocks
            if (p >= n) return kBad;
            ++p;
            if (!skip_blocks(d, n, p)) return kBad;
        } else if (block == 0x2c) {
            if (n - p < 9) return kBad;
            const int w = static_cast<int>(le16(d + p + 4)), h = static_cast<int>(le16(d + p + 6));
            const int flags = d[p + 8];
            p += 9;
            if (!image_size_ok(w, h)) return kBad;
            if ((flags & 0x80) && !read_table(d, n, p, flags, g)) return kBad;
            if (g.colours == 0 || p >= n) return kBad;
            g.interlaced = (flags & 0x40) != 0;
            g.lzw = p;
            g.h.width = w;
            g.h.height = h;
            g.h.colour = palette_is_grey(g.palette, g.colours) ? kGrey : kRGB;
            return kOk;
        } else {
            return kBad;  // the trailer or anything else before an image
        }
    }
}

// Row r of the stored order in an interlaced image: passes start at 0, 4, 2, 1 and step 8, 8,
// 4, 2.
int interlaced_row(int r, int h) {
    static const int start[4] = {0, 4, 2, 1}, step[4] = {8, 8, 4, 2};
    for (int pass = 0; pass < 4; ++pass) {
        const int rows = h > start[pass] ? (h - start[pass] + step[pass] - 1) / step[pass] : 0;
        if (r < rows) return start[pass] + r * step[pass];
        r -= rows;
    }
    return -1;
}

// The LZW code stream, least significant bit first, across the data sub-blocks.
class CodeReader {
public:
    CodeReader(const std::uint8_t* d, std::size_t n, std::size_t p) : d_(d), n_(n), p_(p) {}
    int next(int width) {  // -1 at the end of the data
        while (bits_ < width) {
            if (left_ == 0) {
                if (p_ >= n_ || d_[p_] == 0) return -1;
                left_ = d_[p_++];
                if (n_ - p_ < left_) return -1;
            }
            acc_ |= static_cast<std::uint32_t>(d_[p_++]) << bits_;
            bits_ += 8;
            --left_;
        }
        const int code = static_cast<int>(acc_ & ((1u << width) - 1));
        acc_ >>= width;
        bits_ -= width;
        return code;
    }

private:
    const std::uint8_t* d_;
    std::size_t n_, p_, left_ = 0;
    std::uint32_t acc_ = 0;
    int bits_ = 0;
};

// Turns the stream of palette indices into rows; row holds width * samples values.
class PixelRows {
public:
    PixelRows(const GifImage& g, RowSink& sink, std::uint16_t* row)
        : g_(g), sink_(sink), n_(g.h.colour == kGrey ? 1 : 3), row_(row) {}
    bool full() const { return line_ >= g_.h.height; }
    bool put(int index) {
        if (full()) return true;  // extra pixels are ignored
        if (index >= g_.colours) return false;
        for (int c = 0; c < n_; ++c) row_[x_ * n_ + c] = g_.palette[3 * index + c];
        if (++x_ == g_.h.width) {
            sink_.row(g_.interlaced ? interlaced_row(line_, g_.h.height) : line_, row_);
            x_ = 0;
            ++line_;
        }
        return true;
    }

private:
    const GifImage& g_;
    RowSink& sink_;
    int n_;
    std::uint16_t* row_;
    int x_ = 0, line_ = 0;
};

// The decoder's string table: prefix code, last byte and first byte of every code.
struct LzwTable {
    std::uint16_t prefix[kMaxCodes], stack[kMaxCodes + 1];
    std::uint8_t suffix[kMaxCodes], first_of[kMaxCodes];
};

int decode_lzw(const std::uint8_t* d, std::size_t n, const GifImage& g, RowSink& sink) {
    const int min_size = d[g.lzw];
    if (min_size < 2 || min_size > 8) return kBad;
    const int clear = 1 << min_size, end = clear + 1;
    std::unique_ptr<LzwTable> table(new (std::nothrow) LzwTable());
    auto row = make_io_buffer<std::uint16_t>(static_cast<std::size_t>(g.h.width) * 3);
    if (!table || !row) return kNoBuffer;
    std::uint16_t* prefix = table->prefix;
    std::uint16_t* stack = table->stack;
    std::uint8_t* suffix = table->suffix;
    std::uint8_t* first_of = table->first_of;
    for (int i = 0; i < clear; ++i) suffix[i] = first_of[i] = static_cast<std::uint8_t>(i);
    CodeReader codes(d, n, g.lzw + 1);
    PixelRows rows(g, sink, row.get());
    int width = min_size + 1, next = clear + 2, prev = -1;
    for (;;) {
        const int code = codes.next(width);
        if (code < 0 || code == end) break;
        if (code == clear) {
            width = min_size + 1;
            next = clear + 2;
            prev = -1;
            continue;
        }
        if (code > next || (prev < 0 && code >= clear) || (code == next && next >= kMaxCodes))
            return kBad;
        // the string of code (or, for the code not yet in the table, prev + first of prev)
        int top = 0, c = code == next ? prev : code;
        if (code == next) stack[top++] = first_of[prev];
        while (c >= clear) {
            stack[top++] = suffix[c];
            c = prefix[c];
        }
        stack[top++] = static_cast<std::uint16_t>(c);
        if (prev >= 0 && next < kMaxCodes) {
            prefix[next] = static_cast<std::uint16_t>(prev);
            suffix[next] = static_cast<std::uint8_t>(c);
            first_of[next] = first_of[prev];
            if (++next == (1 << width) && width < 12) ++width;
        }
        while (top > 0)
            if (!rows.put(stack[--top])) return kBad;
        prev = code;
    }
    return rows.full() ? kOk : kBad;
}

// LZW encoder of the writer: a dictionary of (prefix, byte) pairs, 12-bit codes at most, a clear
// code when the table is full.
class CodeWriter {
public:
    explicit CodeWriter(std::vector<std::uint8_t>& out) : out_(out) {}
    void put(int code, int width) {
        acc_ |= static_cast<std::uint32_t>(code) << bits_;
        bits_ += width;
        while (bits_ >= 8) {
            byte(acc_ & 0xff);
            acc_ >>= 8;
            bits_ -= 8;
        }
    }
    void finish() {
        if (bits_ > 0) byte(acc_ & 0xff);
        if (!block_.empty()) flush();
        out_.push_back(0);
    }

private:
    void byte(unsigned b) {
        block_.push_back(static_cast<std::uint8_t>(b));
        if (block_.size() == 255) flush();
    }
    void flush() {
        out_.push_back(static_cast<std::uint8_t>(block_.size()));
        out_.insert(out_.end(), block_.begin(), block_.end());
        block_.clear();
    }
    std::vector<std::uint8_t>& out_;
    std::vector<std::uint8_t> block_;
    std::uint32_t acc_ = 0;
    int bits_ = 0;
};

void encode_lzw(const std::vector<std::uint8_t>& px, std::vector<std::uint8_t>& out) {
    const int clear = 256, end = 257;
    out.push_back(8);
    CodeWriter w(out);
    std::vector<std::int16_t> table(static_cast<std::size_t>(kMaxCodes) * 256, -1);
    int width = 9, next = clear + 2;
    w.put(clear, width);
    int cur = px[0];
    for (std::size_t i = 1; i < px.size(); ++i) {
        const int b = px[i];
        std::int16_t& slot = table[static_cast<std::size_t>(cur) * 256 + b];
        if (slot >= 0) {
            cur = slot;
            continue;
        }
        w.put(cur, width);
        if (next < kMaxCodes) {
            slot = static_cast<std::int16_t>(next);
            if (next++ == (1 << width) && width < 12) ++width;
        } else {
            w.put(clear, width);
            std::fill(table.begin(), table.end(), -1);
            width = 9;
            next = clear + 2;
        }
        cur = b;
    }
    w.put(cur, width);
    w.put(end, width);
    w.finish();
}

int write_gif_frame(Volume* v, int z, const char* path, int interlaced) {
    std::vector<std::uint8_t> out = {'G', 'I', 'F', '8', '9', 'a'};
    put_le16(out, static_cast<unsigned>(v->X));
    put_le16(out, static_cast<unsigned>(v->Y));
    out.insert(out.end(), {0xf7, 0, 0});  // global table of 256 entries
    for (int i = 0; i < 256; ++i) out.insert(out.end(), 3, static_cast<std::uint8_t>(i));
    out.push_back(0x2c);
    put_le16(out, 0);
    put_le16(out, 0);
    put_le16(out, static_cast<unsigned>(v->X));
    put_le16(out, static_cast<unsigned>(v->Y));
    out.push_back(interlaced ? 0x40 : 0);
    std::vector<std::uint8_t> px;
    px.reserve(static_cast<std::size_t>(v->X) * v->Y);
    for (int r = 0; r < v->Y; ++r) {
        const int y = interlaced ? interlaced_row(r, v->Y) : r;
        px.insert(px.end(), v->data[0].uc[z][y], v->data[0].uc[z][y] + v->X);
    }
    encode_lzw(px, out);
    out.push_back(0x3b);
    return save_bytes(path, out);
}


}  // namespace

const FrameFormatOps kGifFrames = {decode_gif, nullptr, kBadInputDims, write_gif_frame, kUC};

int decode_gif(const std::uint8_t* data, std::size_t size, ImageHeader* header, RowSink* sink) {
    GifImage g;
    V3D_CHECK(parse_header(data, size, g));
    if (header) *header = g.h;
    if (!sink) return kOk;
    V3D_CHECK(sink->begin(g.h));
    return decode_lzw(data, size, g, *sink);
}

int write_gif(Volume* vol, const char* base, int first, int digits, const char* ext) {
    return SaveGifSequence(vol, base, first, digits, ext, 0);
}

}  // namespace v3d

extern "C" int SaveGifSequence(Volume* vol, const char* base, int first, int digits,
                               const char* ext, int interlaced) {
    using namespace v3d;
    V3D_CHECK(CheckVolume(vol, kUC, kGrey));
    if (interlaced != 0 && interlaced != 1) return kInvalidParams;
    if (vol->X > 65535 || vol->Y > 65535) return kInvalidParams;
    return write_frame_sequence(kGifFrames, vol, base, first, digits, ext, interlaced);
}
