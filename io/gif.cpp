// GIF87a/89a images with our own LZW decoder. A file is as large as its logical screen and
// holds as many frames as it has images: each image is painted over what the screen shows,
// the way browsers play an animation, and each state of the screen is one frame. An image's
// graphic control extension gives its transparent index (those pixels leave the screen as it
// is) and what happens to its rectangle before the next image: nothing (disposal 0 and 1), a
// fill with the colour of its transparent index or, without one, of the background index
// (disposal 2), or the screen as it was before the image (disposal 3). The screen starts filled
// with the colour of the first image's transparent index (or index 0). Where a browser would
// show the page through the image the volume thus keeps the file's own colour for transparency,
// as the Python Imaging Library reads these files. A screen of width or height 0 takes the
// first image's extent; images are clipped to the screen. The local colour table replaces the
// global one; interlaced images are put back in row order. Palettes that are all grey give a
// grey frame. Content errors are -32: wrong magic, no colour table, truncated blocks, an LZW
// code size outside 2..8, a code beyond the table, fewer pixels than the image holds, an index
// beyond the colour table. (The file may end without its trailer.) The writer stores grey
// volumes with a 256-entry grey palette, one image a file.
#include <cstring>

#include "io/imageseq.h"

namespace v3d {
namespace {

constexpr int kBad = kGifRead;
constexpr int kMaxCodes = 4096;

struct Palette {
    int colours = 0;
    std::uint8_t rgb[256 * 3] = {};
    // the colour of index i (black beyond the table)
    const std::uint8_t* at(int i) const {
        static const std::uint8_t black[3] = {0, 0, 0};
        return i >= 0 && i < colours ? &rgb[3 * i] : black;
    }
};

// One image of the file and the graphic control extension before it.
struct GifImage {
    int left = 0, top = 0, width = 0, height = 0;
    bool interlaced = false;
    bool local = false;
    Palette palette;          // the local table, or a copy of the global one
    int transparent = -1;     // the transparent index, -1 for none
    int disposal = 0;
    std::size_t lzw = 0;      // offset of the LZW minimum code size byte
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

bool read_table(const std::uint8_t* d, std::size_t n, std::size_t& p, int flags, Palette& t) {
    t.colours = 2 << (flags & 7);
    const std::size_t bytes = 3 * static_cast<std::size_t>(t.colours);
    if (n - p < bytes) return false;
    std::memcpy(t.rgb, d + p, bytes);
    p += bytes;
    return true;
}

// Walks the blocks of a file: the screen, the global table, and each image in turn.
class GifReader {
public:
    GifReader(const std::uint8_t* d, std::size_t n) : d_(d), n_(n) {}

    int open() {
        if (n_ < 13 || (std::memcmp(d_, "GIF87a", 6) != 0 && std::memcmp(d_, "GIF89a", 6) != 0))
            return kBad;
        screen_w_ = static_cast<int>(le16(d_ + 6));
        screen_h_ = static_cast<int>(le16(d_ + 8));
        background_ = d_[11];
        p_ = 13;
        if ((d_[10] & 0x80) && !read_table(d_, n_, p_, d_[10], global_)) return kBad;
        return kOk;
    }

    // The next image (its data skipped): 1, 0 at the end of the file, or a status.
    int next(GifImage& g) {
        g = GifImage{};
        for (;;) {
            if (p_ >= n_) return 0;  // no trailer
            const int block = d_[p_++];
            if (block == 0x3b) return 0;
            if (block == 0x21) {  // extension: label, sub-blocks
                if (p_ >= n_) return kBad;
                const int label = d_[p_++];
                if (label == 0xf9 && n_ - p_ >= 5 && d_[p_] >= 4) {  // graphic control
                    const int flags = d_[p_ + 1];
                    g.disposal = (flags >> 2) & 7;
                    g.transparent = (flags & 1) ? d_[p_ + 4] : -1;
                }
                if (!skip_blocks(d_, n_, p_)) return kBad;
            } else if (block == 0x2c) {
                return image(g);
            } else {
                return kBad;
            }
        }
    }

    int screen_w() const { return screen_w_; }
    int screen_h() const { return screen_h_; }
    int background() const { return background_; }
    const Palette& global() const { return global_; }

private:
    int image(GifImage& g) {
        if (n_ - p_ < 9) return kBad;
        g.left = static_cast<int>(le16(d_ + p_));
        g.top = static_cast<int>(le16(d_ + p_ + 2));
        g.width = static_cast<int>(le16(d_ + p_ + 4));
        g.height = static_cast<int>(le16(d_ + p_ + 6));
        const int flags = d_[p_ + 8];
        p_ += 9;
        if (!image_size_ok(g.width, g.height)) return kBad;
        g.local = (flags & 0x80) != 0;
        if (!g.local) g.palette = global_;
        else if (!read_table(d_, n_, p_, flags, g.palette)) return kBad;
        if (g.palette.colours == 0 || p_ >= n_) return kBad;
        g.interlaced = (flags & 0x40) != 0;
        g.lzw = p_++;
        return skip_blocks(d_, n_, p_) ? 1 : kBad;
    }

    const std::uint8_t* d_;
    std::size_t n_, p_ = 0;
    int screen_w_ = 0, screen_h_ = 0, background_ = 0;
    Palette global_;
};

// The size, colour and frame count of a file.
int parse_header(const std::uint8_t* d, std::size_t n, ImageHeader& h) {
    GifReader r(d, n);
    V3D_CHECK(r.open());
    bool grey = r.global().colours == 0 || palette_is_grey(r.global().rgb, r.global().colours);
    GifImage g;
    int frames = 0;
    for (int more; (more = r.next(g)) != 0; ++frames) {
        if (more < 0) return more;
        if (frames == 0) {
            h.width = r.screen_w() > 0 && r.screen_h() > 0 ? r.screen_w() : g.left + g.width;
            h.height = r.screen_w() > 0 && r.screen_h() > 0 ? r.screen_h() : g.top + g.height;
            if (!image_size_ok(h.width, h.height)) return kBad;
        }
        if (frames == kMaxImageFrames) return kBad;
        grey = grey && palette_is_grey(g.palette.rgb, g.palette.colours);
    }
    if (frames == 0) return kBad;
    h.colour = grey ? kGrey : kRGB;
    h.frames = frames;
    return kOk;
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

// What the screen shows: three bytes a pixel.
struct Screen {
    int width = 0, height = 0;
    std::unique_ptr<std::uint8_t[]> rgb;
    std::uint8_t* at(int x, int y) { return &rgb[3 * (static_cast<std::size_t>(y) * width + x)]; }
    void fill(int x0, int y0, int w, int h, const std::uint8_t* colour) {
        for (int y = y0; y < y0 + h && y < height; ++y)
            for (int x = x0; x < x0 + w && x < width; ++x) std::memcpy(at(x, y), colour, 3);
    }
};

// Paints the stream of palette indices of one image onto the screen, row by row.
class Painter {
public:
    Painter(const GifImage& g, Screen& screen) : g_(g), screen_(screen) {}
    bool full() const { return line_ >= g_.height; }
    bool put(int index) {
        if (full()) return true;  // extra pixels are ignored
        if (index >= g_.palette.colours) return false;
        const int x = g_.left + x_;
        const int y = g_.top + (g_.interlaced ? interlaced_row(line_, g_.height) : line_);
        if (index != g_.transparent && x < screen_.width && y < screen_.height)
            std::memcpy(screen_.at(x, y), g_.palette.at(index), 3);
        if (++x_ == g_.width) {
            x_ = 0;
            ++line_;
        }
        return true;
    }

private:
    const GifImage& g_;
    Screen& screen_;
    int x_ = 0, line_ = 0;
};

// The decoder's string table: prefix code, last byte and first byte of every code.
struct LzwTable {
    std::uint16_t prefix[kMaxCodes], stack[kMaxCodes + 1];
    std::uint8_t suffix[kMaxCodes], first_of[kMaxCodes];
};

int decode_lzw(const std::uint8_t* d, std::size_t n, const GifImage& g, LzwTable& table, Painter& rows) {
    const int min_size = d[g.lzw];
    if (min_size < 2 || min_size > 8) return kBad;
    const int clear = 1 << min_size, end = clear + 1;
    std::uint16_t* prefix = table.prefix;
    std::uint16_t* stack = table.stack;
    std::uint8_t* suffix = table.suffix;
    std::uint8_t* first_of = table.first_of;
    for (int i = 0; i < clear; ++i) suffix[i] = first_of[i] = static_cast<std::uint8_t>(i);
    CodeReader codes(d, n, g.lzw + 1);
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

// Hands the screen over as the rows of one frame.
void deliver(Screen& screen, int colour, Sample* row, RowSink& sink) {
    const int n = colour == kGrey ? 1 : 3;
    for (int y = 0; y < screen.height; ++y) {
        for (int x = 0; x < screen.width; ++x)
            for (int c = 0; c < n; ++c) row[x * n + c] = screen.at(x, y)[c];
        sink.row(y, row);
    }
}

// Plays the images onto the screen and hands over each state of it as a frame.
int decode_frames(const std::uint8_t* d, std::size_t n, const ImageHeader& h, RowSink& sink) {
    const std::size_t pixels = static_cast<std::size_t>(h.width) * h.height;
    Screen screen{h.width, h.height, make_io_buffer<std::uint8_t>(3 * pixels)};
    std::unique_ptr<std::uint8_t[]> saved;  // for disposal 3
    std::unique_ptr<LzwTable> table(new (std::nothrow) LzwTable());
    auto row = make_io_buffer<Sample>(static_cast<std::size_t>(h.width) * 3);
    if (!screen.rgb || !table || !row) return kNoBuffer;
    GifReader r(d, n);
    V3D_CHECK(r.open());
    GifImage g;
    for (int frame = 0; r.next(g) == 1; ++frame) {
        if (frame == 0) screen.fill(0, 0, h.width, h.height, g.palette.at(g.transparent >= 0 ? g.transparent : 0));
        else if (!sink.next_frame()) break;
        if (g.disposal == 3) {
            if (!saved) saved = make_io_buffer<std::uint8_t>(3 * pixels);
            if (!saved) return kNoBuffer;
            std::memcpy(saved.get(), screen.rgb.get(), 3 * pixels);
        }
        Painter painter(g, screen);
        V3D_CHECK(decode_lzw(d, n, g, *table, painter));
        deliver(screen, h.colour, row.get(), sink);
        if (g.disposal == 2)
            screen.fill(g.left, g.top, g.width, g.height,
                        g.palette.at(g.transparent >= 0 ? g.transparent : r.background()));
        else if (g.disposal == 3)
            std::memcpy(screen.rgb.get(), saved.get(), 3 * pixels);
    }
    return kOk;
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
    ImageHeader h;
    V3D_CHECK(parse_header(data, size, h));
    if (header) *header = h;
    if (!sink) return kOk;
    V3D_CHECK(sink->begin(h));
    return decode_frames(data, size, h, *sink);
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
