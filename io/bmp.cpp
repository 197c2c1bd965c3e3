// Windows bitmaps: palette images of 1, 4 and 8 bits (uncompressed, RLE4 or RLE8), 16-bit
// images (5-5-5, or the channel masks of BI_BITFIELDS), 24-bit images and 32-bit images (BGRX,
// or masks: BGRA files with V4/V5 headers), with the 12-byte core header or the 40-byte and
// longer information headers. Alpha is ignored. A palette image whose palette is all grey is a
// grey frame, everything else a colour frame. A channel mask narrower or wider than 8 bits is
// scaled to 0..255 by v * 255 / (2^width - 1), truncated. Content errors are -31; bit depths
// and compressions the reader does not know (JPEG or PNG inside a bitmap, 64-bit pixels) -1021.
#include <algorithm>
#include <cstring>

#include "io/imageseq.h"

namespace v3d {
namespace {

constexpr int kBad = kBmpRead;
enum Compression { kRgb = 0, kRle8 = 1, kRle4 = 2, kBitfields = 3, kAlphaBitfields = 6 };

// One channel of a masked pixel: its bits and how to reach them.
struct Field {
    std::uint32_t mask = 0;
    int shift = 0, width = 0;
    bool set(std::uint32_t m) {  // false unless the mask's bits are contiguous
        mask = m;
        shift = width = 0;
        if (m == 0) return true;
        while (!(m & 1u)) m >>= 1, ++shift;
        while (m & 1u) m >>= 1, ++width;
        return m == 0;
    }
    std::uint16_t of(std::uint32_t pixel) const {
        if (width == 0) return 0;
        const std::uint32_t v = (pixel & mask) >> shift;
        return static_cast<std::uint16_t>(width == 8 ? v : v * 255u / ((1ull << width) - 1));
    }
};

struct BmpInfo {
    ImageHeader h;
    int bpp = 0, compression = 0;
    bool top_down = false;
    std::size_t data = 0;       // offset of the pixel data
    int colours = 0;            // palette entries
    std::uint8_t palette[256 * 3] = {};
    Field fields[3];            // red, green, blue of 16- and 32-bit pixels
};

bool supported(int bpp, int compression) {
    switch (bpp) {
    case 1: return compression == kRgb;
    case 4: return compression == kRgb || compression == kRle4;
    case 8: return compression == kRgb || compression == kRle8;
    case 24: return compression == kRgb;
    case 16:
    case 32: return compression == kRgb || compression == kBitfields || compression == kAlphaBitfields;
    default: return false;
    }
}

// The channel masks: those of the header (V2 and later) or the ones after a 40-byte header,
// or the defaults of uncompressed 16- and 32-bit pixels.
int read_masks(const std::uint8_t* d, std::size_t n, BmpInfo& b) {
    std::uint32_t m[3] = {0x7c00, 0x3e0, 0x1f};
    if (b.bpp == 32) m[0] = 0xff0000, m[1] = 0xff00, m[2] = 0xff;
    if (b.compression == kBitfields || b.compression == kAlphaBitfields) {
        if (n < 14 + 40 + 12) return kBad;
        for (int c = 0; c < 3; ++c) m[c] = le32(d + 14 + 40 + 4 * c);  // in or after the header
    }
    for (int c = 0; c < 3; ++c)
        if (!b.fields[c].set(m[c]) || b.fields[c].width > 16) return kBmpVariant;
    return kOk;
}

int read_palette(const std::uint8_t* d, std::size_t n, std::uint32_t hsize, std::size_t entry,
                 BmpInfo& b) {
    if (b.colours == 0) b.colours = 1 << b.bpp;
    const std::size_t pal = 14 + static_cast<std::size_t>(hsize);
    if (pal + entry * b.colours > n) return kBad;
    for (int i = 0; i < b.colours; ++i) {  // stored blue, green, red
        b.palette[3 * i] = d[pal + entry * i + 2];
        b.palette[3 * i + 1] = d[pal + entry * i + 1];
        b.palette[3 * i + 2] = d[pal + entry * i];
    }
    if (palette_is_grey(b.palette, b.colours)) b.h.colour = kGrey;
    return kOk;
}

int parse_header(const std::uint8_t* d, std::size_t n, BmpInfo& b) {
    if (n < 26 || d[0] != 'B' || d[1] != 'M') return kBad;
    b.data = le32(d + 10);
    const std::uint32_t hsize = le32(d + 14);
    long long w, h;
    int planes;
    std::size_t entry;
    if (hsize == 12) {
        w = le16(d + 18);
        h = le16(d + 20);
        planes = le16(d + 22);
        b.bpp = le16(d + 24);
        entry = 3;
    } else {
        if (hsize < 40 || hsize > 1024 || n < 54) return kBad;
        w = static_cast<std::int32_t>(le32(d + 18));
        h = static_cast<std::int32_t>(le32(d + 22));
        planes = le16(d + 26);
        b.bpp = le16(d + 28);
        b.compression = static_cast<int>(le32(d + 30));
        b.colours = static_cast<int>(le32(d + 46) > 256 ? 257 : le32(d + 46));
        entry = 4;
    }
    if (h < 0) {
        b.top_down = true;
        h = -h;
    }
    if (planes != 1 || !image_size_ok(w, h)) return kBad;
    if (!supported(b.bpp, b.compression)) return kBmpVariant;
    const bool rle = b.compression == kRle8 || b.compression == kRle4;
    if ((b.top_down && rle) || b.colours > 256) return kBad;
    b.h.width = static_cast<int>(w);
    b.h.height = static_cast<int>(h);
    b.h.colour = kRGB;
    if (b.bpp <= 8) V3D_CHECK(read_palette(d, n, hsize, entry, b));
    else if (b.bpp != 24) V3D_CHECK(read_masks(d, n, b));
    if (b.data >= n) return kBad;
    return kOk;
}

// Palette indices of one row to samples; false when an index has no palette entry.
bool index_row(const BmpInfo& b, const std::uint8_t* idx, Sample* out) {
    const int n = b.h.colour == kGrey ? 1 : 3;
    for (int x = 0; x < b.h.width; ++x) {
        if (idx[x] >= b.colours) return false;
        for (int c = 0; c < n; ++c) out[x * n + c] = b.palette[3 * idx[x] + c];
    }
    return true;
}

// One stored row of an uncompressed bitmap to samples (indices expanded through idx).
bool plain_row(const BmpInfo& b, const std::uint8_t* p, std::uint8_t* idx, Sample* out) {
    const int w = b.h.width;
    switch (b.bpp) {
    case 1:
    case 4:
    case 8: {
        const int per_byte = 8 / b.bpp, mask = (1 << b.bpp) - 1;
        for (int x = 0; x < w; ++x)
            idx[x] = static_cast<std::uint8_t>((p[x / per_byte] >> (8 - b.bpp * (x % per_byte + 1))) & mask);
        return index_row(b, idx, out);
    }
    case 24:
        for (int x = 0; x < w; ++x)
            for (int c = 0; c < 3; ++c) out[3 * x + c] = p[3 * x + 2 - c];
        return true;
    default:
        for (int x = 0; x < w; ++x) {
            const std::uint32_t px = b.bpp == 16 ? le16(p + 2 * x) : le32(p + 4 * x);
            for (int c = 0; c < 3; ++c) out[3 * x + c] = b.fields[c].of(px);
        }
        return true;
    }
}

int decode_plain(const std::uint8_t* d, std::size_t n, const BmpInfo& b, RowSink& sink,
                 Sample* out) {
    const std::size_t row_bytes = (static_cast<std::size_t>(b.h.width) * b.bpp + 7) / 8;
    const std::size_t stride = (row_bytes + 3) / 4 * 4;
    const std::size_t avail = n - b.data;  // the header check keeps data < n
    if (avail < row_bytes || (avail - row_bytes) / stride < static_cast<std::size_t>(b.h.height - 1))
        return kBad;
    const auto indices = make_io_buffer<std::uint8_t>(static_cast<std::size_t>(b.h.width));
    if (!indices) return kNoBuffer;
    for (int r = 0; r < b.h.height; ++r) {
        if (!plain_row(b, d + b.data + stride * r, indices.get(), out)) return kBad;
        sink.row(b.top_down ? r : b.h.height - 1 - r, out);
    }
    return kOk;
}

// RLE8 and RLE4: runs (count, value), escapes 0 0 end of line, 0 1 end of bitmap, 0 2 dx dy
// delta, 0 n absolute run of n indices (RLE4: n nibbles) padded to an even number of bytes. A
// RLE4 run alternates the value's two nibbles. Pixels never set are index 0; pixels past the
// end of a line are dropped (some writers encode the row padding); pixels below the last line
// are an error.
int decode_rle(const std::uint8_t* d, std::size_t n, const BmpInfo& b, RowSink& sink,
               Sample* out) {
    const auto indices = make_buffer<std::uint8_t>(static_cast<std::size_t>(b.h.width));
    if (!indices) return kNoBuffer;
    std::uint8_t* idx = indices.get();
    const bool nibbles = b.compression == kRle4;
    const int w = b.h.width, h = b.h.height;
    int line = 0, x = 0;
    auto flush = [&]() {
        if (line >= h) return true;
        if (!index_row(b, idx, out)) return false;
        sink.row(h - 1 - line, out);
        std::fill(idx, idx + w, 0);
        ++line;
        return true;
    };
    auto nibble = [nibbles](int value, int i) { return nibbles ? (i % 2 ? value & 15 : value >> 4) : value; };
    std::size_t p = b.data;
    for (;;) {
        if (n - p < 2) return kBad;
        const int count = d[p], value = d[p + 1];
        p += 2;
        if (count > 0) {
            if (line >= h) return kBad;
            const int k = std::min(count, w - x);
            for (int i = 0; i < k; ++i) idx[x + i] = static_cast<std::uint8_t>(nibble(value, i));
            x += k;
        } else if (value == 0) {
            if (!flush()) return kBad;
            x = 0;
        } else if (value == 1) {
            break;
        } else if (value == 2) {
            if (n - p < 2) return kBad;
            const int dx = d[p], dy = d[p + 1];
            p += 2;
            for (int i = 0; i < dy; ++i)
                if (!flush()) return kBad;
            x = std::min(x + dx, w);
        } else {
            const std::size_t bytes = nibbles ? (value + 1) / 2 : value;
            const std::size_t padded = (bytes + 1) / 2 * 2;
            if (line >= h || n - p < padded) return kBad;
            const int k = std::min(value, w - x);
            for (int i = 0; i < k; ++i) idx[x + i] = static_cast<std::uint8_t>(nibble(d[p + (nibbles ? i / 2 : i)], i));
            x += k;
            p += padded;
        }
    }
    while (line < h)
        if (!flush()) return kBad;
    return kOk;
}

// Writer: grey as 8-bit with a 256-entry grey palette (optionally RLE8), colour as 24-bit.
void rle8_row(const std::uint8_t* row, int w, std::vector<std::uint8_t>& out) {
    for (int x = 0; x < w;) {
        int run = 1;
        while (x + run < w && run < 255 && row[x + run] == row[x]) ++run;
        out.push_back(static_cast<std::uint8_t>(run));
        out.push_back(row[x]);
        x += run;
    }
    out.push_back(0);
    out.push_back(0);
}

int write_bmp_frame(Volume* v, int z, const char* path, int rle8) {
    const bool grey = v->colortype == kGrey;
    const int w = v->X, h = v->Y;
    const std::size_t row_bytes = static_cast<std::size_t>(w) * (grey ? 1 : 3);
    const std::size_t stride = (row_bytes + 3) / 4 * 4;
    const std::uint32_t offset = 14 + 40 + (grey ? 1024 : 0);
    std::vector<std::uint8_t> pixels;
    std::vector<std::uint8_t> row(stride, 0);
    for (int r = h - 1; r >= 0; --r) {  // bottom-up
        for (int x = 0; x < w; ++x) {
            if (grey) row[x] = v->data[0].uc[z][r][x];
            else
                for (int c = 0; c < 3; ++c) row[3 * x + c] = v->data[2 - c].uc[z][r][x];
        }
        if (rle8) rle8_row(row.data(), w, pixels);
        else pixels.insert(pixels.end(), row.begin(), row.end());
    }
    if (rle8) {
        pixels.push_back(0);
        pixels.push_back(1);
    }
    std::vector<std::uint8_t> out{'B', 'M'};
    put_le32(out, static_cast<std::uint32_t>(offset + pixels.size()));
    put_le32(out, 0);
    put_le32(out, offset);
    put_le32(out, 40);
    put_le32(out, static_cast<std::uint32_t>(w));
    put_le32(out, static_cast<std::uint32_t>(h));
    put_le16(out, 1);
    put_le16(out, grey ? 8 : 24);
    put_le32(out, rle8 ? 1 : 0);
    put_le32(out, static_cast<std::uint32_t>(pixels.size()));
    put_le32(out, 2835);  // 72 dots per inch
    put_le32(out, 2835);
    put_le32(out, grey ? 256 : 0);
    put_le32(out, 0);
    for (int i = 0; grey && i < 256; ++i) {
        for (int c = 0; c < 3; ++c) out.push_back(static_cast<std::uint8_t>(i));
        out.push_back(0);
    }
    out.insert(out.end(), pixels.begin(), pixels.end());
    return save_bytes(path, out);
}


}  // namespace

const FrameFormatOps kBmpFrames = {decode_bmp, nullptr, kBadInputDims, write_bmp_frame, kUC};

int decode_bmp(const std::uint8_t* data, std::size_t size, ImageHeader* header, RowSink* sink) {
    BmpInfo b;
    V3D_CHECK(parse_header(data, size, b));
    if (header) *header = b.h;
    if (!sink) return kOk;
    V3D_CHECK(sink->begin(b.h));
    const auto out = make_io_buffer<Sample>(static_cast<std::size_t>(b.h.width) * 3);
    if (!out) return kNoBuffer;
    return b.compression == kRle8 || b.compression == kRle4 ? decode_rle(data, size, b, *sink, out.get())
                                                            : decode_plain(data, size, b, *sink, out.get());
}

int write_bmp(Volume* vol, const char* base, int first, int digits, const char* ext) {
    return SaveBmpSequence(vol, base, first, digits, ext, 0);
}

}  // namespace v3d

extern "C" int SaveBmpSequence(Volume* vol, const char* base, int first, int digits,
                               const char* ext, int rle8) {
    using namespace v3d;
    V3D_CHECK(CheckVolume(vol, kUC, kAnyColor));
    if (rle8 != 0 && (rle8 != 1 || vol->colortype != kGrey)) return kInvalidParams;
    return write_frame_sequence(kBmpFrames, vol, base, first, digits, ext, rle8);
}
