// Netpbm images: bitmaps (P1 plain, P4 raw), grey maps (P2, P5) and colour maps (P3, P6). A
// header of magic, width, height and (but for bitmaps) maximum value separated by white space
// and "#" comments; then the raster. Plain rasters are decimal numbers separated by white
// space (a plain bitmap's digits need none); raw rasters follow one white-space byte, one byte
// per sample for a maximum value up to 255, otherwise two, most significant first, and a raw
// bitmap packs eight pixels a byte, most significant bit first, each row starting a new byte.
// In a bitmap 1 is black: it reads as 0 and 0 as white (1, which a UC volume shows as 255).
// Samples above the maximum count as the maximum. A malformed header or raster is -1020; a
// raw raster shorter than the header says is -601. The writer writes UC volumes as P5 and P6
// with maximum 255, and I volumes as 16-bit P5.
#include "io/imageseq.h"

namespace v3d {
namespace {

constexpr int kBad = kPnmRead;

bool is_space(std::uint8_t c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f'; }

// Skips white space and comments from p.
void skip_blank(const std::uint8_t* d, std::size_t n, std::size_t& p) {
    for (;;) {
        while (p < n && is_space(d[p])) ++p;
        if (p < n && d[p] == '#') {
            while (p < n && d[p] != '\n' && d[p] != '\r') ++p;
            continue;
        }
        return;
    }
}

// The next decimal field; false when there is none or it exceeds limit.
bool next_number(const std::uint8_t* d, std::size_t n, std::size_t& p, long limit, long& value) {
    skip_blank(d, n, p);
    if (p >= n || d[p] < '0' || d[p] > '9') return false;
    value = 0;
    while (p < n && d[p] >= '0' && d[p] <= '9') {
        value = value * 10 + (d[p++] - '0');
        if (value > limit) return false;
    }
    return true;
}

struct PnmInfo {
    ImageHeader h;
    int magic = 0;          // 1 .. 6
    std::size_t data = 0;   // the raster
    bool bitmap() const { return magic == 1 || magic == 4; }
    bool plain() const { return magic <= 3; }
};

int parse_header(const std::uint8_t* d, std::size_t n, PnmInfo& f) {
    if (n < 3 || d[0] != 'P' || d[1] < '1' || d[1] > '6') return kBad;
    f.magic = d[1] - '0';
    std::size_t p = 2;
    long w, hh, maxval = 1;
    if (!next_number(d, n, p, kMaxImageWidth, w) || !next_number(d, n, p, kMaxImageHeight, hh) ||
        (!f.bitmap() && !next_number(d, n, p, 65535, maxval)))
        return kBad;
    if (!image_size_ok(w, hh) || maxval < 1 || p >= n || !is_space(d[p])) return kBad;
    f.data = p + 1;
    f.h.width = static_cast<int>(w);
    f.h.height = static_cast<int>(hh);
    f.h.colour = f.magic == 3 || f.magic == 6 ? kRGB : kGrey;
    f.h.maxval = static_cast<int>(maxval);
    f.h.bits = f.bitmap() ? 1 : maxval > 255 ? 16 : 8;
    return kOk;
}

// A raw raster: rows of samples, or of packed bits for a bitmap.
int raw_rows(const std::uint8_t* d, std::size_t size, const PnmInfo& f, RowSink& sink, Sample* row) {
    const ImageHeader& h = f.h;
    const std::size_t n = h.colour == kGrey ? 1 : 3, bytes = h.maxval > 255 ? 2 : 1;
    const std::size_t row_samples = static_cast<std::size_t>(h.width) * n;
    const std::size_t row_bytes = f.bitmap() ? (static_cast<std::size_t>(h.width) + 7) / 8 : row_samples * bytes;
    if ((size - f.data) / row_bytes < static_cast<std::size_t>(h.height)) return kFread;
    std::size_t p = f.data;
    for (int y = 0; y < h.height; ++y, p += row_bytes) {
        for (std::size_t i = 0; i < row_samples; ++i) {
            if (f.bitmap()) row[i] = static_cast<Sample>(1 - ((d[p + i / 8] >> (7 - i % 8)) & 1));
            else if (bytes == 1) row[i] = d[p + i];
            else row[i] = static_cast<Sample>((d[p + 2 * i] << 8) | d[p + 2 * i + 1]);
        }
        sink.row(y, row);
    }
    return kOk;
}

// A plain raster: decimal numbers (a plain bitmap: single digits 0 and 1).
int plain_rows(const std::uint8_t* d, std::size_t size, const PnmInfo& f, RowSink& sink, Sample* row) {
    const ImageHeader& h = f.h;
    const std::size_t row_samples = static_cast<std::size_t>(h.width) * (h.colour == kGrey ? 1 : 3);
    std::size_t p = f.data;
    for (int y = 0; y < h.height; ++y) {
        for (std::size_t i = 0; i < row_samples; ++i) {
            long v;
            if (f.bitmap()) {
                skip_blank(d, size, p);
                if (p >= size || (d[p] != '0' && d[p] != '1')) return kBad;
                v = 1 - (d[p++] - '0');
            } else if (!next_number(d, size, p, 65535, v)) {
                return kBad;
            }
            row[i] = static_cast<Sample>(v);
        }
        sink.row(y, row);
    }
    return kOk;
}

int write_pnm_frame(Volume* v, int z, const char* path, int) {
    const bool grey = v->colortype == kGrey;
    const unsigned maxval = v->type == kUC ? 255 : 65535;
    const std::string head = std::string(grey ? "P5" : "P6") + "\n" + std::to_string(v->X) + " " +
                             std::to_string(v->Y) + "\n" + std::to_string(maxval) + "\n";
    std::vector<std::uint8_t> out(head.begin(), head.end());
    for (int y = 0; y < v->Y; ++y)
        for (int x = 0; x < v->X; ++x)
            for (int c = 0; c < (grey ? 1 : 3); ++c) {
                const unsigned s = sample_of(v, c, z, y, x, maxval);
                if (maxval > 255) out.push_back(static_cast<std::uint8_t>(s >> 8));
                out.push_back(static_cast<std::uint8_t>(s & 0xff));
            }
    return save_bytes(path, out);
}


}  // namespace

const FrameFormatOps kPnmFrames = {decode_pnm, nullptr, kBadInputDims, write_pnm_frame, kUC | kI};

int decode_pnm(const std::uint8_t* data, std::size_t size, ImageHeader* header, RowSink* sink) {
    PnmInfo f;
    V3D_CHECK(parse_header(data, size, f));
    if (header) *header = f.h;
    if (!sink) return kOk;
    V3D_CHECK(sink->begin(f.h));
    const auto row = make_io_buffer<Sample>(static_cast<std::size_t>(f.h.width) * 3);
    if (!row) return kNoBuffer;
    return f.plain() ? plain_rows(data, size, f, *sink, row.get()) : raw_rows(data, size, f, *sink, row.get());
}

int write_pnm(Volume* vol, const char* base, int first, int digits, const char* ext) {
    return SavePnmSequence(vol, base, first, digits, ext);
}

}  // namespace v3d

extern "C" int SavePnmSequence(Volume* vol, const char* base, int first, int digits,
                               const char* ext) {
    using namespace v3d;
    V3D_CHECK(CheckVolume(vol, kUC | kI, kAnyColor));
    if (vol->type == kI && vol->colortype != kGrey) return kWrongColor;
    return write_frame_sequence(kPnmFrames, vol, base, first, digits, ext, 0);
}
