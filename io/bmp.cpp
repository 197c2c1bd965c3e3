// Windows bitmaps: 8-bit palette images (uncompressed or RLE8) and 24-bit images (uncompressed),
// with the 12-byte core header or the 40-byte (and longer) information header. An 8-bit image
// whose palette is all grey is a grey frame, otherwise a colour frame. Content errors are -31.
#include <algorithm>
#include <cstring>

#include "io/imageseq.h"

namespace v3d {
namespace {

constexpr int kBad = kBmpRead;

struct BmpInfo {
    ImageHeader h;
    int bpp = 0, compression = 0;
    bool top_down = false;
    std::size_t data = 0;       // offset of the pixel data
    int colours = 0;            // palette entries
    std::uint8_t palette[256 * 3] = {};
};

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
    const bool supported = (b.bpp == 8 && (b.compression == 0 || b.compression == 1)) ||
                           (b.bpp == 24 && b.compression == 0);
    if (!supported || (b.top_down && b.compression == 1) || b.colours > 256) return kBad;
    b.h.width = static_cast<int>(w);
    b.h.height = static_cast<int>(h);
    b.h.colour = kRGB;
    if (b.bpp == 8) {
        if (b.colours == 0) b.colours = 256;
        const std::size_t pal = 14 + static_cast<std::size_t>(hsize);
        if (pal + entry * b.colours > n) return kBad;
        for (int i = 0; i < b.colours; ++i) {  // stored blue, green, red
            b.palette[3 * i] = d[pal + entry * i + 2];
            b.palette[3 * i + 1] = d[pal + entry * i + 1];
            b.palette[3 * i + 2] = d[pal + entry * i];
        }
        if (palette_is_grey(b.palette, b.colours)) b.h.colour = kGrey;
    }
    if (b.data >= n) return kBad;
    return kOk;
}

// Palette indices of one row to samples; false when an index has no palette entry.
bool index_row(const BmpInfo& b, const std::uint8_t* idx, std::uint16_t* out) {
    const int n = b.h.colour == kGrey ? 1 : 3;
    for (int x = 0; x < b.h.width; ++x) {
        if (idx[x] >= b.colours) return false;
        for (int c = 0; c < n; ++c) out[x * n + c] = b.palette[3 * idx[x] + c];
    }
    return true;
}

int decode_plain(const std::uint8_t* d, std::size_t n, const BmpInfo& b, RowSink& sink,
                 std::uint16_t* out) {
    const std::size_t row_bytes = static_cast<std::size_t>(b.h.width) * (b.bpp / 8);
    const std::size_t stride = (row_bytes + 3) / 4 * 4;
    const std::size_t avail = n - b.data;  // the header check keeps data < n
    if (avail < row_bytes || (avail - row_bytes) / stride < static_cast<std::size_t>(b.h.height - 1))
        return kBad;
    for (int r = 0; r < b.h.height; ++r) {
        const std::uint8_t* p = d + b.data + stride * r;
        if (b.bpp == 8) {
            if (!index_row(b, p, out)) return kBad;
        } else {
            for (int x = 0; x < b.h.width; ++x)
                for (int c = 0; c < 3; ++c) out[3 * x + c] = p[3 * x + 2 - c];
        }
        sink.row(b.top_down ? r : b.h.height - 1 - r, out);
    }
    return kOk;
}

// RLE8: runs (count, index), escapes 0 0 end of line, 0 1 end of bitmap, 0 2 dx dy delta, 0 n
// absolute run of n indices padded to an even length. Pixels never set are index 0; pixels past
// the end of a line are dropped (some writers encode the row padding); pixels below the last
// line are an error.
int decode_rle8(const std::uint8_t* d, std::size_t n, const BmpInfo& b, RowSink& sink,
                std::uint16_t* out) {
    const auto indices = make_buffer<std::uint8_t>(static_cast<std::size_t>(b.h.width));
    if (!indices) return kNoBuffer;
    std::uint8_t* idx = indices.get();
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
    std::size_t p = b.data;
    for (;;) {
        if (n - p < 2) return kBad;
        const int count = d[p], value = d[p + 1];
        p += 2;
        if (count > 0) {
            if (line >= h) return kBad;
            const int k = std::min(count, w - x);
            std::memset(&idx[x], value, k);
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
            const std::size_t padded = (value + 1) / 2 * 2;
            if (line >= h || n - p < padded) return kBad;
            const int k = std::min(value, w - x);
            std::memcpy(&idx[x], d + p, k);
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
    const auto out = make_io_buffer<std::uint16_t>(static_cast<std::size_t>(b.h.width) * 3);
    if (!out) return kNoBuffer;
    return b.compression == 1 ? decode_rle8(data, size, b, *sink, out.get())
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
