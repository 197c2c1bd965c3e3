// Binary PGM (P5, grey) and PPM (P6, colour): a header of magic, width, height and maximum
// value separated by white space and "#" comments, one white-space byte, then the samples, one
// byte each for a maximum value up to 255, otherwise two bytes, most significant first. Samples
// above the maximum count as the maximum. Content errors are -601 (the format has no code of its
// own). The writer writes UC volumes with maximum 255 and I volumes as 16-bit PGM.
#include "io/imageseq.h"

namespace v3d {
namespace {

constexpr int kBad = kFread;

bool is_space(std::uint8_t c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f'; }

// The next decimal header field; false when there is none or it exceeds limit.
bool header_number(const std::uint8_t* d, std::size_t n, std::size_t& p, long limit, long& value) {
    for (;;) {
        while (p < n && is_space(d[p])) ++p;
        if (p < n && d[p] == '#') {
            while (p < n && d[p] != '\n' && d[p] != '\r') ++p;
            continue;
        }
        break;
    }
    if (p >= n || d[p] < '0' || d[p] > '9') return false;
    value = 0;
    while (p < n && d[p] >= '0' && d[p] <= '9') {
        value = value * 10 + (d[p++] - '0');
        if (value > limit) return false;
    }
    return true;
}

int parse_header(const std::uint8_t* d, std::size_t n, ImageHeader& h, std::size_t& data) {
    if (n < 3 || d[0] != 'P' || (d[1] != '5' && d[1] != '6')) return kBad;
    std::size_t p = 2;
    long w, hh, maxval;
    if (!header_number(d, n, p, kMaxImageWidth, w) || !header_number(d, n, p, kMaxImageHeight, hh) ||
        !header_number(d, n, p, 65535, maxval))
        return kBad;
    if (!image_size_ok(w, hh) || maxval < 1 || p >= n || !is_space(d[p])) return kBad;
    data = p + 1;
    h.width = static_cast<int>(w);
    h.height = static_cast<int>(hh);
    h.colour = d[1] == '5' ? kGrey : kRGB;
    h.maxval = static_cast<int>(maxval);
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
    ImageHeader h;
    std::size_t p = 0;
    V3D_CHECK(parse_header(data, size, h, p));
    if (header) *header = h;
    if (!sink) return kOk;
    const std::size_t n = h.colour == kGrey ? 1 : 3, bytes = h.maxval > 255 ? 2 : 1;
    const std::size_t row_samples = static_cast<std::size_t>(h.width) * n;
    if ((size - p) / (row_samples * bytes) < static_cast<std::size_t>(h.height)) return kBad;
    V3D_CHECK(sink->begin(h));
    const auto row = make_io_buffer<std::uint16_t>(row_samples);
    if (!row) return kNoBuffer;
    for (int y = 0; y < h.height; ++y) {
        for (std::size_t i = 0; i < row_samples; ++i, p += bytes)
            row[i] = bytes == 1 ? data[p] : static_cast<std::uint16_t>((data[p] << 8) | data[p + 1]);
        sink->row(y, row.get());
    }
    return kOk;
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
