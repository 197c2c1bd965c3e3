// Targa images: grey (types 3 and 11, 8 bits), true colour (types 2 and 10, 15, 16, 24 or
// 32 bits) and colour-mapped (types 1 and 9, 8-bit indices into a map of 15-, 16-, 24- or
// 32-bit entries), uncompressed or run-length encoded; rows bottom-up or top-down and
// right-to-left as the descriptor says. Alpha is ignored; 5-bit channels are scaled to 0..255
// by v * 255 / 31, truncated. A colour map that is all grey gives a grey frame. Run-length
// packets may run across rows. Content errors (truncated data, an index outside the map) are
// -30; image types and depths the reader does not know -1022.
#include <algorithm>

#include "io/imageseq.h"

namespace v3d {
namespace {

constexpr int kBad = kTgaRead;

struct TgaInfo {
    ImageHeader h;
    int type = 0, bytes = 0;  // image type, bytes per pixel
    bool top_down = false, right_to_left = false;
    std::size_t data = 0;
    // the colour map, by index (types 1 and 9)
    int map_first = 0, map_length = 0;
    std::uint8_t map[256 * 3] = {};
};

// A 15- or 16-bit pixel (A RRRRR GGGGG BBBBB, little-endian) as r, g, b.
void rgb555(const std::uint8_t* p, std::uint8_t* rgb) {
    const unsigned v = le16(p);
    for (int c = 0; c < 3; ++c) rgb[c] = static_cast<std::uint8_t>(((v >> (10 - 5 * c)) & 31u) * 255u / 31u);
}

// A true-colour pixel of `bytes` bytes (blue, green, red [, alpha], or 5-5-5) as r, g, b.
void true_colour(const std::uint8_t* p, int bytes, std::uint8_t* rgb) {
    if (bytes == 2) return rgb555(p, rgb);
    for (int c = 0; c < 3; ++c) rgb[c] = p[2 - c];
}

int read_map(const std::uint8_t* d, std::size_t n, int entry_bits, TgaInfo& t) {
    const int entry = (entry_bits + 7) / 8;
    if (entry_bits != 15 && entry_bits != 16 && entry_bits != 24 && entry_bits != 32) return kTgaVariant;
    if (t.map_first + t.map_length > 256) return kTgaVariant;  // 8-bit indices reach 0..255
    const std::size_t at = 18 + static_cast<std::size_t>(d[0]);
    if (at + static_cast<std::size_t>(t.map_length) * entry > n) return kBad;
    for (int i = 0; i < t.map_length; ++i)
        true_colour(d + at + static_cast<std::size_t>(i) * entry, entry, &t.map[3 * (t.map_first + i)]);
    if (palette_is_grey(&t.map[3 * t.map_first], t.map_length)) t.h.colour = kGrey;
    return kOk;
}

int parse_header(const std::uint8_t* d, std::size_t n, TgaInfo& t) {
    if (n < 18) return kBad;
    t.type = d[2];
    const int cmap_type = d[1], cmap_bits = d[7];
    t.map_first = static_cast<int>(le16(d + 3));
    t.map_length = static_cast<int>(le16(d + 5));
    const int w = static_cast<int>(le16(d + 12)), h = static_cast<int>(le16(d + 14));
    const int bpp = d[16], desc = d[17];
    const int base_type = t.type & ~8;
    if (t.type == 32 || t.type == 33) return kTgaVariant;  // Huffman-coded
    if (cmap_type > 1 || base_type < 1 || base_type > 3 || t.type > 11) return kBad;
    const bool mapped = base_type == 1, grey = base_type == 3;
    if (mapped && cmap_type != 1) return kBad;
    if ((grey && bpp != 8) || (mapped && bpp != 8) ||
        (base_type == 2 && bpp != 15 && bpp != 16 && bpp != 24 && bpp != 32))
        return kTgaVariant;
    if (!image_size_ok(w, h)) return kBad;
    t.bytes = (bpp + 7) / 8;
    t.top_down = (desc & 0x20) != 0;
    t.right_to_left = (desc & 0x10) != 0;
    t.data = 18 + static_cast<std::size_t>(d[0]) +
             (cmap_type ? static_cast<std::size_t>(t.map_length) * ((cmap_bits + 7) / 8) : 0);
    if (t.data > n) return kBad;
    t.h.width = w;
    t.h.height = h;
    t.h.colour = grey ? kGrey : kRGB;
    if (mapped) V3D_CHECK(read_map(d, n, cmap_bits, t));
    return kOk;
}

// Collects pixels in file order and hands over each row when it is complete.
class RowAssembler {
public:
    // row holds width * samples values
    RowAssembler(const TgaInfo& t, RowSink& sink, Sample* row)
        : t_(t), sink_(sink), n_(t.h.colour == kGrey ? 1 : 3), row_(row) {}
    bool done() const { return line_ >= t_.h.height; }
    // false for an index outside the colour map
    bool put(const std::uint8_t* px) {
        std::uint8_t rgb[3];
        if ((t_.type & ~8) == 1) {
            if (px[0] < t_.map_first || px[0] >= t_.map_first + t_.map_length) return false;
            std::copy(&t_.map[3 * px[0]], &t_.map[3 * px[0]] + 3, rgb);
        } else if ((t_.type & ~8) == 3) {
            rgb[0] = px[0];
        } else {
            true_colour(px, t_.bytes, rgb);
        }
        const int x = t_.right_to_left ? t_.h.width - 1 - x_ : x_;
        for (int c = 0; c < n_; ++c) row_[x * n_ + c] = rgb[c];
        if (++x_ == t_.h.width) {
            sink_.row(t_.top_down ? line_ : t_.h.height - 1 - line_, row_);
            x_ = 0;
            ++line_;
        }
        return true;
    }

private:
    const TgaInfo& t_;
    RowSink& sink_;
    int n_;
    Sample* row_;
    int x_ = 0, line_ = 0;
};

int decode_pixels(const std::uint8_t* d, std::size_t n, const TgaInfo& t, RowSink& sink) {
    const auto row = make_io_buffer<Sample>(static_cast<std::size_t>(t.h.width) * 3);
    if (!row) return kNoBuffer;
    RowAssembler rows(t, sink, row.get());
    std::size_t p = t.data;
    const std::size_t b = static_cast<std::size_t>(t.bytes);
    if (t.type < 8) {
        const std::size_t need = static_cast<std::size_t>(t.h.width) * t.h.height * b;
        if (n - p < need) return kBad;
        while (!rows.done()) {
            if (!rows.put(d + p)) return kBad;
            p += b;
        }
        return kOk;
    }
    while (!rows.done()) {
        if (p >= n) return kBad;
        const int packet = d[p++];
        const int count = (packet & 0x7f) + 1;
        if (packet & 0x80) {
            if (n - p < b) return kBad;
            for (int i = 0; i < count && !rows.done(); ++i)
                if (!rows.put(d + p)) return kBad;
            p += b;
        } else {
            if ((n - p) / b < static_cast<std::size_t>(count)) return kBad;
            for (int i = 0; i < count && !rows.done(); ++i)
                if (!rows.put(d + p + i * b)) return kBad;
            p += count * b;
        }
    }
    return kOk;
}

// Writer: 8-bit grey or 24-bit colour, bottom-up, optionally run-length encoded per row.
void encode_row(const std::vector<std::uint8_t>& px, int w, int b, bool rle,
                std::vector<std::uint8_t>& out) {
    if (!rle) {
        out.insert(out.end(), px.begin(), px.end());
        return;
    }
    auto same = [&](int i, int j) { return std::equal(&px[i * b], &px[i * b] + b, &px[j * b]); };
    for (int x = 0; x < w;) {
        int run = 1;
        while (x + run < w && run < 128 && same(x, x + run)) ++run;
        if (run > 1) {
            out.push_back(static_cast<std::uint8_t>(0x80 | (run - 1)));
            out.insert(out.end(), &px[x * b], &px[x * b] + b);
            x += run;
            continue;
        }
        int raw = 1;  // up to the next pair of equal pixels
        while (x + raw < w && raw < 128 && !(x + raw + 1 < w && same(x + raw, x + raw + 1))) ++raw;
        out.push_back(static_cast<std::uint8_t>(raw - 1));
        out.insert(out.end(), &px[x * b], &px[(x + raw) * b]);
        x += raw;
    }
}

int write_tga_frame(Volume* v, int z, const char* path, int rle) {
    const bool grey = v->colortype == kGrey;
    const int b = grey ? 1 : 3;
    std::vector<std::uint8_t> out(18, 0);
    out[2] = static_cast<std::uint8_t>((grey ? 3 : 2) + (rle ? 8 : 0));
    out[12] = v->X & 0xff;
    out[13] = (v->X >> 8) & 0xff;
    out[14] = v->Y & 0xff;
    out[15] = (v->Y >> 8) & 0xff;
    out[16] = static_cast<std::uint8_t>(8 * b);
    std::vector<std::uint8_t> px(static_cast<std::size_t>(v->X) * b);
    for (int y = v->Y - 1; y >= 0; --y) {
        for (int x = 0; x < v->X; ++x)
            for (int c = 0; c < b; ++c) px[x * b + c] = v->data[grey ? 0 : 2 - c].uc[z][y][x];
        encode_row(px, v->X, b, rle != 0, out);
    }
    return save_bytes(path, out);
}


}  // namespace

const FrameFormatOps kTgaFrames = {decode_tga, nullptr, kBadInputDims, write_tga_frame, kUC};

int decode_tga(const std::uint8_t* data, std::size_t size, ImageHeader* header, RowSink* sink) {
    TgaInfo t;
    V3D_CHECK(parse_header(data, size, t));
    if (header) *header = t.h;
    if (!sink) return kOk;
    V3D_CHECK(sink->begin(t.h));
    return decode_pixels(data, size, t, *sink);
}

int write_tga(Volume* vol, const char* base, int first, int digits, const char* ext) {
    return SaveTgaSequence(vol, base, first, digits, ext, 0);
}

}  // namespace v3d

extern "C" int SaveTgaSequence(Volume* vol, const char* base, int first, int digits,
                               const char* ext, int rle) {
    using namespace v3d;
    V3D_CHECK(CheckVolume(vol, kUC, kAnyColor));
    if (rle != 0 && rle != 1) return kInvalidParams;
    if (vol->X > 65535 || vol->Y > 65535) return kInvalidParams;
    return write_frame_sequence(kTgaFrames, vol, base, first, digits, ext, rle);
}
