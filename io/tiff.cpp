// TIFF frames through libtiff: every compression the libtiff at hand decodes (none, LZW,
// PackBits, Deflate, JPEG, CCITT ...), strips or tiles, one contiguous plane or one plane per
// sample, and photometric interpretation
//   0 or 1 (grey, white or black is zero): unsigned samples of 1 to 16 bits, signed samples of
//     2 to 16 bits, 32- or 64-bit floating point, one sample (further samples are ignored);
//   2 (RGB): the same depths, three samples or more (extra samples, such as alpha, ignored);
//   3 (palette): indices of 1 to 8 bits, the colour map scaled from 16 to 8 bits as 16-bit
//     samples are, round(v * 255 / 65535) (a map whose values all fit 8 bits is taken as it is);
//   6 (YCbCr) when JPEG-compressed, which libtiff turns into RGB.
// Photometric interpretation 2 or more means a colour frame. Unsigned samples go into UC
// volumes (scaled by their largest value) or I volumes, signed ones into I, floating point into
// F. What the reader refuses names the property: -1010 compression, -1011 bits per sample,
// -1012 sample format, -1013 photometric interpretation, -1014 too few samples; a file libtiff
// cannot open or decode is -1000 "Error in TIFF", and the sequence check gives -1001 when a
// later frame differs from the first in width, height, colour, depth or sample format.
// libtiff's messages are swallowed, and it may allocate at most 256 MB at once (a strip), so
// corrupt strip sizes cannot exhaust memory; our band of strips or tiles is at most 1 GB.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include <tiffio.h>

#include "io/imageseq.h"

namespace v3d {

struct TiffFile {
    TIFF* tif = nullptr;
    const std::uint8_t* data = nullptr;  // memory images
    std::size_t size = 0, pos = 0;
};

namespace {

int quiet(TIFF*, void*, const char*, const char*, va_list) { return 1; }

TIFFOpenOptions* quiet_options() {
    TIFFOpenOptions* o = TIFFOpenOptionsAlloc();
    if (!o) return nullptr;
    TIFFOpenOptionsSetErrorHandlerExtR(o, quiet, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(o, quiet, nullptr);
    TIFFOpenOptionsSetMaxSingleMemAlloc(o, tmsize_t{1} << 28);
    return o;
}

// memory procedures for TIFFClientOpenExt
tmsize_t mem_read(thandle_t h, void* buf, tmsize_t n) {
    TiffFile* t = static_cast<TiffFile*>(h);
    if (n < 0) return 0;
    const std::size_t k = std::min<std::size_t>(static_cast<std::size_t>(n), t->size - t->pos);
    if (k == 0) return 0;  // an empty image may have no data pointer
    std::memcpy(buf, t->data + t->pos, k);
    t->pos += k;
    return static_cast<tmsize_t>(k);
}
tmsize_t mem_write(thandle_t, void*, tmsize_t) { return 0; }
toff_t mem_seek(thandle_t h, toff_t off, int whence) {
    TiffFile* t = static_cast<TiffFile*>(h);
    const std::uint64_t base = whence == SEEK_CUR ? t->pos : whence == SEEK_END ? t->size : 0;
    const std::uint64_t p = base + off;  // toff_t is unsigned: negative offsets wrap
    if (p > t->size) return static_cast<toff_t>(-1);
    t->pos = static_cast<std::size_t>(p);
    return p;
}
int mem_close(thandle_t) { return 0; }
toff_t mem_size(thandle_t h) { return static_cast<TiffFile*>(h)->size; }
int mem_map(thandle_t, void**, toff_t*) { return 0; }
void mem_unmap(thandle_t, void*, toff_t) {}

// What the reader needs of a page.
struct PageInfo {
    ImageHeader h;
    int samples = 1, bits = 8;
    bool separate = false;   // one plane per sample
    bool white_zero = false;
    bool palette = false;
    std::uint8_t map[256 * 3] = {};
};

// The colour map of a palette page with indices of `bits` bits, as 8-bit entries.
bool read_colour_map(TIFF* tif, int bits, PageInfo& p) {
    std::uint16_t *r, *g, *b;
    if (!TIFFGetField(tif, TIFFTAG_COLORMAP, &r, &g, &b)) return false;
    const int n = 1 << bits;
    bool wide = false;
    for (int i = 0; i < n; ++i) wide = wide || r[i] > 255 || g[i] > 255 || b[i] > 255;
    auto to8 = [wide](unsigned v) { return static_cast<std::uint8_t>(wide ? (v * 255u + 32767u) / 65535u : v); };
    for (int i = 0; i < n; ++i) {
        p.map[3 * i] = to8(r[i]);
        p.map[3 * i + 1] = to8(g[i]);
        p.map[3 * i + 2] = to8(b[i]);
    }
    p.palette = true;
    return true;
}

// The sample kind of a SampleFormat value (void samples count as unsigned), or -1012.
int sample_kind(unsigned format, SampleKind& kind) {
    switch (format) {
    case SAMPLEFORMAT_UINT:
    case SAMPLEFORMAT_VOID: kind = SampleKind::Unsigned; return kOk;
    case SAMPLEFORMAT_INT: kind = SampleKind::Signed; return kOk;
    case SAMPLEFORMAT_IEEEFP: kind = SampleKind::Float; return kOk;
    default: return kTiffSampleFormat;  // complex numbers
    }
}

bool bits_supported(SampleKind kind, int bits) {
    switch (kind) {
    case SampleKind::Unsigned: return bits >= 1 && bits <= 16;
    case SampleKind::Signed: return bits >= 2 && bits <= 16;
    default: return bits == 32 || bits == 64;
    }
}

int page_info(TIFF* tif, PageInfo& p) {
    std::uint32_t w = 0, h = 0;
    std::uint16_t bits = 1, samples = 1, photometric = 0, compression = 1, planar = 1, format = 1;
    if (!TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &w) || !TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &h) ||
        !TIFFGetField(tif, TIFFTAG_PHOTOMETRIC, &photometric))
        return kTiff;
    TIFFGetFieldDefaulted(tif, TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetFieldDefaulted(tif, TIFFTAG_COMPRESSION, &compression);
    TIFFGetFieldDefaulted(tif, TIFFTAG_PLANARCONFIG, &planar);
    TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLEFORMAT, &format);
    if (!image_size_ok(w, h) || samples < 1) return kTiff;
    if (!TIFFIsCODECConfigured(compression)) return kTiffCompression;
    SampleKind kind;
    V3D_CHECK(sample_kind(format, kind));
    if (!bits_supported(kind, bits)) return kTiffBits;
    const bool jpeg_ycbcr = photometric == PHOTOMETRIC_YCBCR && compression == COMPRESSION_JPEG;
    if (photometric <= PHOTOMETRIC_MINISBLACK) {
        if (photometric == PHOTOMETRIC_MINISWHITE && kind != SampleKind::Unsigned) return kTiffPhotometric;
    } else if (photometric == PHOTOMETRIC_RGB || jpeg_ycbcr) {
        if (samples < 3) return kTiffSamples;
        // libtiff's JPEG codec hands YCbCr pages over as RGB
        if (jpeg_ycbcr && !TIFFSetField(tif, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB)) return kTiff;
    } else if (photometric == PHOTOMETRIC_PALETTE) {
        if (kind != SampleKind::Unsigned || bits > 8) return kTiffBits;
        if (!read_colour_map(tif, bits, p)) return kTiff;
    } else {
        return kTiffPhotometric;
    }
    p.h.width = static_cast<int>(w);
    p.h.height = static_cast<int>(h);
    p.h.colour = photometric >= PHOTOMETRIC_RGB ? kRGB : kGrey;
    p.h.kind = kind;
    p.h.bits = p.palette ? 8 : bits;
    p.h.maxval = p.palette ? 255 : (1 << std::min<int>(bits, 16)) - 1;
    p.samples = samples;
    p.bits = bits;
    p.separate = planar == PLANARCONFIG_SEPARATE && samples > 1;
    p.white_zero = photometric == PHOTOMETRIC_MINISWHITE;
    return kOk;
}

// Sample number i of a row of packed samples (libtiff has put 16-, 32- and 64-bit samples in
// the machine's byte order; narrower ones are packed most significant bit first).
Sample fetch(const std::uint8_t* row, std::size_t i, int bits, SampleKind kind) {
    switch (bits) {
    case 8: return kind == SampleKind::Signed ? static_cast<std::int8_t>(row[i]) : row[i];
    case 16: {
        std::uint16_t v;
        std::memcpy(&v, row + 2 * i, 2);
        return kind == SampleKind::Signed ? static_cast<std::int16_t>(v) : v;
    }
    case 32: {
        float v;
        std::memcpy(&v, row + 4 * i, 4);
        return v;
    }
    case 64: {
        double v;
        std::memcpy(&v, row + 8 * i, 8);
        return static_cast<Sample>(v);
    }
    default: break;
    }
    std::uint32_t v = 0;
    const std::size_t bit = i * static_cast<std::size_t>(bits);
    for (int k = 0; k < bits; ++k) {
        const std::size_t b = bit + k;
        v = (v << 1) | ((row[b >> 3] >> (7 - (b & 7))) & 1u);
    }
    if (kind == SampleKind::Signed && (v >> (bits - 1)))
        return static_cast<Sample>(static_cast<std::int32_t>(v) - (1 << bits));
    return static_cast<Sample>(v);
}

// The encoded units of a page (strips, or tiles) read one band of rows at a time: units
// across, planes of the colour samples read (all in one plane unless the page is separate).
class Bands {
public:
    Bands(TIFF* tif, const PageInfo& p) : tif_(tif), p_(p) {}

    int open() {
        tiled_ = TIFFIsTiled(tif_) != 0;
        std::uint32_t tw = 0, th = 0, rows = 0;
        if (tiled_) {
            if (!TIFFGetField(tif_, TIFFTAG_TILEWIDTH, &tw) || !TIFFGetField(tif_, TIFFTAG_TILELENGTH, &th) ||
                tw == 0 || th == 0)
                return kTiff;
            unit_width_ = tw;
            band_rows_ = th;
            unit_bytes_ = TIFFTileSize(tif_);
            unit_row_bytes_ = TIFFTileRowSize(tif_);
        } else {
            TIFFGetFieldDefaulted(tif_, TIFFTAG_ROWSPERSTRIP, &rows);
            unit_width_ = static_cast<std::uint32_t>(p_.h.width);
            band_rows_ = std::min<std::uint32_t>(rows ? rows : 1, static_cast<std::uint32_t>(p_.h.height));
            unit_bytes_ = TIFFVStripSize(tif_, band_rows_);
            unit_row_bytes_ = TIFFScanlineSize(tif_);
        }
        const std::size_t spp = p_.separate ? 1 : static_cast<std::size_t>(p_.samples);
        if (unit_bytes_ <= 0 || unit_row_bytes_ <= 0 ||
            static_cast<std::uint64_t>(unit_row_bytes_) * 8 < static_cast<std::uint64_t>(unit_width_) * spp * p_.bits ||
            static_cast<std::uint64_t>(unit_bytes_) < static_cast<std::uint64_t>(unit_row_bytes_) * band_rows_)
            return kTiff;
        across_ = (static_cast<std::uint32_t>(p_.h.width) + unit_width_ - 1) / unit_width_;
        planes_ = p_.separate ? (p_.h.colour == kGrey || p_.palette ? 1 : 3) : 1;
        std::size_t total = 0;
        if (!checked_product(&total, {across_, planes_, unit_bytes_}) || total > (std::size_t{1} << 30))
            return kNoBuffer;
        data_ = make_io_buffer<std::uint8_t>(total);
        return data_ ? kOk : kNoBuffer;
    }
    std::uint32_t rows() const { return band_rows_; }

    // Decodes the band whose first row is y0.
    int read(std::uint32_t y0) {
        const std::uint32_t rows = std::min(band_rows_, static_cast<std::uint32_t>(p_.h.height) - y0);
        const tmsize_t need = unit_row_bytes_ * static_cast<tmsize_t>(rows);
        for (std::uint32_t plane = 0; plane < planes_; ++plane)
            for (std::uint32_t u = 0; u < across_; ++u) {
                std::uint8_t* dst = unit(plane, u);
                const auto sample = static_cast<std::uint16_t>(plane);
                const tmsize_t got =
                    tiled_ ? TIFFReadEncodedTile(tif_, TIFFComputeTile(tif_, u * unit_width_, y0, 0, sample), dst, unit_bytes_)
                           : TIFFReadEncodedStrip(tif_, TIFFComputeStrip(tif_, y0, sample), dst, unit_bytes_);
                if (got < need) return kTiff;
            }
        return kOk;
    }

    // Sample c (a colour sample) of pixel x in row r of the band.
    Sample sample(std::uint32_t r, std::uint32_t x, int c) const {
        const std::uint32_t u = x / unit_width_, xx = x % unit_width_;
        const std::uint8_t* row = unit(p_.separate ? c : 0, u) + static_cast<std::size_t>(r) * unit_row_bytes_;
        const std::size_t i = p_.separate ? xx : static_cast<std::size_t>(xx) * p_.samples + c;
        return fetch(row, i, p_.bits, p_.h.kind);
    }

    // Row r of the band as the file packs it, when one unit spans the page and holds every
    // sample of a pixel together; null otherwise.
    const std::uint8_t* packed_row(std::uint32_t r) const {
        if (p_.separate || across_ != 1) return nullptr;
        return unit(0, 0) + static_cast<std::size_t>(r) * unit_row_bytes_;
    }

private:
    std::uint8_t* unit(std::uint32_t plane, std::uint32_t u) const {
        return data_.get() + (static_cast<std::size_t>(plane) * across_ + u) * static_cast<std::size_t>(unit_bytes_);
    }
    TIFF* tif_;
    const PageInfo& p_;
    bool tiled_ = false;
    std::uint32_t unit_width_ = 0, band_rows_ = 0, across_ = 0, planes_ = 1;
    tmsize_t unit_bytes_ = 0, unit_row_bytes_ = 0;
    std::unique_ptr<std::uint8_t[]> data_;
};

int decode_page(TIFF* tif, const PageInfo& p, RowSink& sink) {
    Bands bands(tif, p);
    V3D_CHECK(bands.open());
    const int n = p.h.colour == kGrey ? 1 : 3;
    auto row = make_io_buffer<Sample>(static_cast<std::size_t>(p.h.width) * n);
    if (!row) return kNoBuffer;
    const Sample top = static_cast<Sample>(p.h.maxval);
    const bool plain = p.bits == 8 && p.h.kind == SampleKind::Unsigned && !p.palette && !p.white_zero &&
                       p.samples == n;
    for (std::uint32_t y0 = 0; y0 < static_cast<std::uint32_t>(p.h.height); y0 += bands.rows()) {
        V3D_CHECK(bands.read(y0));
        const std::uint32_t rows = std::min(bands.rows(), static_cast<std::uint32_t>(p.h.height) - y0);
        for (std::uint32_t r = 0; r < rows; ++r) {
            // plain bytes (8-bit unsigned samples, black zero, no palette or extra samples)
            // are the samples as they are
            const std::uint8_t* packed = plain ? bands.packed_row(r) : nullptr;
            if (packed && sink.byte_row(static_cast<int>(y0 + r), packed)) continue;
            if (packed) {
                for (int i = 0, count = p.h.width * n; i < count; ++i) row[i] = packed[i];
                sink.row(static_cast<int>(y0 + r), row.get());
                continue;
            }
            for (int x = 0; x < p.h.width; ++x) {
                if (p.palette) {
                    const int index = static_cast<int>(bands.sample(r, x, 0));
                    for (int c = 0; c < 3; ++c) row[x * 3 + c] = p.map[3 * index + c];
                    continue;
                }
                for (int c = 0; c < n; ++c) {
                    const Sample v = bands.sample(r, x, c);
                    row[x * n + c] = p.white_zero ? top - v : v;
                }
            }
            sink.row(static_cast<int>(y0 + r), row.get());
        }
    }
    return kOk;
}

int decode_tiff_file(const char* path, ImageHeader* header, RowSink* sink) {
    TiffOwner t;
    V3D_CHECK(tiff_open_file(path, "r", &t));
    return tiff_decode_page(t.get(), header, sink);
}

int write_tiff_frame(Volume* v, int z, const char* path, int compression) {
    TiffOwner t;
    const int status = tiff_open_file(path, "w", &t);
    if (status != kOk) return status == kTiff ? kFopen : status;
    return tiff_write_page(t.get(), v, z, compression, -1, 0);
}


}  // namespace

const FrameFormatOps kTiffFrames = {nullptr, decode_tiff_file, kTiffSequence, write_tiff_frame,
                                    kUC | kI};

int tiff_open_file(const char* path, const char* mode, TiffOwner* t) {
    t->reset(new (std::nothrow) TiffFile);
    if (!*t) return kNoBuffer;
    TIFFOpenOptions* o = quiet_options();
    (*t)->tif = o && path[0] != '\0' ? TIFFOpenExt(path, mode, o) : nullptr;
    if (o) TIFFOpenOptionsFree(o);
    if (!(*t)->tif) t->reset();
    return *t ? kOk : kTiff;
}

void tiff_reserve_for_writing(TiffFile* t, long long bytes) {
    reserve_for_writing(TIFFFileno(t->tif), bytes);
}

int tiff_open_memory(const std::uint8_t* data, std::size_t size, TiffOwner* t) {
    t->reset(new (std::nothrow) TiffFile);
    if (!*t) return kNoBuffer;
    (*t)->data = data;
    (*t)->size = size;
    TIFFOpenOptions* o = quiet_options();
    (*t)->tif = o ? TIFFClientOpenExt("memory", "rm", t->get(), mem_read, mem_write, mem_seek,
                                      mem_close, mem_size, mem_map, mem_unmap, o)
                  : nullptr;
    if (o) TIFFOpenOptionsFree(o);
    if (!(*t)->tif) t->reset();
    return *t ? kOk : kTiff;
}

void tiff_close(TiffFile* t) {
    if (!t) return;
    if (t->tif) TIFFClose(t->tif);
    delete t;
}

int tiff_page_count(TiffFile* t, int limit) {
    if (!TIFFSetDirectory(t->tif, 0)) return 0;
    int n = 1;
    while (n < limit && TIFFReadDirectory(t->tif)) ++n;
    return n;
}

bool tiff_select_page(TiffFile* t, int page) {
    return page >= 0 && page <= 65535 && TIFFSetDirectory(t->tif, static_cast<tdir_t>(page)) == 1;
}

bool tiff_next_page(TiffFile* t) { return TIFFReadDirectory(t->tif) == 1; }

int tiff_decode_page(TiffFile* t, ImageHeader* header, RowSink* sink) {
    PageInfo p;
    V3D_CHECK(page_info(t->tif, p));
    if (header) *header = p.h;
    if (!sink) return kOk;
    V3D_CHECK(sink->begin(p.h));
    return decode_page(t->tif, p, *sink);
}

// One page: 8-bit grey (black is zero) or RGB from UC volumes, 16-bit grey from I volumes
// (clamped); page >= 0 marks a page of a multi-page file.
namespace {

// Strips of up to this many bytes: a page of 256 x 256 bytes is one strip, written with one call.
constexpr std::size_t kStripBytes = std::size_t{1} << 20;

// Row y of frame z as the page stores it: 8-bit samples as they are, 16-bit ones from I
// voxels, colour interleaved.
void page_row(Volume* v, int z, int y, int n, int bits, std::uint8_t* row) {
    if (bits == 8) {
        if (n == 1) {
            std::memcpy(row, v->data[0].uc[z][y], static_cast<std::size_t>(v->X));
            return;
        }
        for (int c = 0; c < n; ++c) {
            const unsigned char* voxels = v->data[c].uc[z][y];
            for (int x = 0; x < v->X; ++x) row[x * n + c] = voxels[x];
        }
        return;
    }
    for (int x = 0; x < v->X; ++x)
        for (int c = 0; c < n; ++c) {
            const std::uint16_t s16 = static_cast<std::uint16_t>(sample_of(v, c, z, y, x, 65535));
            std::memcpy(&row[2 * (x * n + c)], &s16, 2);
        }
}

}  // namespace

int tiff_write_page(TiffFile* t, Volume* v, int z, int compression, int page, int pages) {
    TIFF* tif = t->tif;
    const bool grey = v->colortype == kGrey;
    const int bits = v->type == kI ? 16 : 8;
    const int n = grey ? 1 : 3;
    const std::size_t row_bytes = static_cast<std::size_t>(v->X) * n * (bits / 8);
    const int strip_rows = static_cast<int>(std::clamp<std::size_t>(kStripBytes / row_bytes, 1, v->Y));
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(v->X));
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(v->Y));
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, bits);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, n);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, grey ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, compression);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, static_cast<std::uint32_t>(strip_rows));
    if (page >= 0) {
        TIFFSetField(tif, TIFFTAG_SUBFILETYPE, FILETYPE_PAGE);
        TIFFSetField(tif, TIFFTAG_PAGENUMBER, page, pages);
    }
    auto strip = make_io_buffer<std::uint8_t>(row_bytes * strip_rows);
    if (!strip) return kNoBuffer;
    for (int y0 = 0, s = 0; y0 < v->Y; y0 += strip_rows, ++s) {
        const int rows = std::min(strip_rows, v->Y - y0);
        for (int y = 0; y < rows; ++y) page_row(v, z, y0 + y, n, bits, strip.get() + y * row_bytes);
        if (TIFFWriteEncodedStrip(tif, static_cast<std::uint32_t>(s), strip.get(),
                                  static_cast<tmsize_t>(rows * row_bytes)) < 0)
            return kFwrite;
    }
    // the directory goes out here; a full disk shows now, not at the close
    return (page >= 0 ? TIFFWriteDirectory(tif) : TIFFFlush(tif)) == 1 ? kOk : kFwrite;
}

int decode_tiff(const std::uint8_t* data, std::size_t size, ImageHeader* header, RowSink* sink) {
    TiffOwner t;
    V3D_CHECK(tiff_open_memory(data, size, &t));
    return tiff_decode_page(t.get(), header, sink);
}

int write_tiff(Volume* vol, const char* base, int first, int digits, const char* ext) {
    return savetiff(vol, base, first, digits, ext, V3D_TIFF_NONE);
}

bool tiff_compression_ok(int compression) {
    return compression == V3D_TIFF_NONE || compression == V3D_TIFF_LZW ||
           compression == V3D_TIFF_PACKBITS;
}

}  // namespace v3d

extern "C" int savetiff(Volume* vol, const char* base, int first, int digits, const char* ext,
                        int compression) {
    using namespace v3d;
    V3D_CHECK(CheckVolume(vol, kUC | kI, kAnyColor));
    if (vol->type == kI && vol->colortype != kGrey) return kWrongColor;
    if (!tiff_compression_ok(compression)) return kInvalidParams;
    return write_frame_sequence(kTiffFrames, vol, base, first, digits, ext, compression);
}
