// TIFF frames through libtiff. A page is accepted with compression none, LZW or PackBits, one
// contiguous plane, and photometric interpretation
//   0 or 1 (grey, white or black is zero), 8 or 16 bits, one sample;
//   2 (RGB), 8 or 16 bits, three samples or more (the extra ones are ignored);
//   3 (palette), 8 bits, one sample, the colour map scaled from 16 to 8 bits as 16-bit samples
//     are, round(v * 255 / 65535) (a map whose values all fit 8 bits is taken as it is).
// Photometric interpretation 2 or more means a colour frame. Everything else, and every libtiff
// error, is -1000 "Error in TIFF"; the sequence check gives -1001 when a later frame differs
// from the first in width, height, colour or depth. libtiff's messages are swallowed, and it may
// allocate at most 256 MB at once (a strip), so corrupt strip sizes cannot exhaust memory.
#include <algorithm>
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

struct PageInfo {
    ImageHeader h;
    int samples = 1, bits = 8;
    bool white_zero = false;
    std::uint8_t map[256 * 3] = {};
    bool palette = false;
};

int page_info(TIFF* tif, PageInfo& p) {
    std::uint32_t w = 0, h = 0;
    std::uint16_t bits = 1, samples = 1, photometric = 0, compression = 1, planar = 1;
    if (!TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &w) || !TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &h) ||
        !TIFFGetField(tif, TIFFTAG_PHOTOMETRIC, &photometric))
        return kTiff;
    TIFFGetFieldDefaulted(tif, TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetFieldDefaulted(tif, TIFFTAG_COMPRESSION, &compression);
    TIFFGetFieldDefaulted(tif, TIFFTAG_PLANARCONFIG, &planar);
    if (!image_size_ok(w, h) || TIFFIsTiled(tif)) return kTiff;
    if (compression != COMPRESSION_NONE && compression != COMPRESSION_LZW &&
        compression != COMPRESSION_PACKBITS)
        return kTiff;
    if (planar != PLANARCONFIG_CONTIG && samples > 1) return kTiff;
    const bool deep_ok = bits == 8 || bits == 16;
    if (photometric <= PHOTOMETRIC_MINISBLACK) {
        if (samples != 1 || !deep_ok) return kTiff;
    } else if (photometric == PHOTOMETRIC_RGB) {
        if (samples < 3 || !deep_ok) return kTiff;
    } else if (photometric == PHOTOMETRIC_PALETTE) {
        if (samples != 1 || bits != 8) return kTiff;
        std::uint16_t *r, *g, *b;
        if (!TIFFGetField(tif, TIFFTAG_COLORMAP, &r, &g, &b)) return kTiff;
        bool wide = false;
        for (int i = 0; i < 256; ++i) wide = wide || r[i] > 255 || g[i] > 255 || b[i] > 255;
        auto to8 = [wide](unsigned v) {
            return static_cast<std::uint8_t>(wide ? (v * 255u + 32767u) / 65535u : v);
        };
        for (int i = 0; i < 256; ++i) {
            p.map[3 * i] = to8(r[i]);
            p.map[3 * i + 1] = to8(g[i]);
            p.map[3 * i + 2] = to8(b[i]);
        }
        p.palette = true;
    } else {
        return kTiff;
    }
    p.h.width = static_cast<int>(w);
    p.h.height = static_cast<int>(h);
    p.h.colour = photometric >= PHOTOMETRIC_RGB ? kRGB : kGrey;
    p.h.maxval = bits == 16 ? 65535 : 255;
    p.samples = samples;
    p.bits = bits;
    p.white_zero = photometric == PHOTOMETRIC_MINISWHITE;
    return kOk;
}

int decode_page(TIFF* tif, const PageInfo& p, RowSink& sink) {
    const std::size_t pixel_bytes = static_cast<std::size_t>(p.samples) * (p.bits / 8);
    const tmsize_t line = TIFFScanlineSize(tif);
    if (line <= 0 || static_cast<std::size_t>(line) < pixel_bytes * p.h.width) return kTiff;
    const int n = p.h.colour == kGrey ? 1 : 3;
    auto buf = make_io_buffer<std::uint8_t>(static_cast<std::size_t>(line));
    auto row = make_io_buffer<std::uint16_t>(static_cast<std::size_t>(p.h.width) * n);
    if (!buf || !row) return kNoBuffer;
    // 8-bit samples without a palette or inversion are the samples as they are
    const bool plain = !p.palette && p.bits == 8 && !p.white_zero && p.samples == n;
    for (int y = 0; y < p.h.height; ++y) {
        if (TIFFReadScanline(tif, buf.get(), static_cast<std::uint32_t>(y), 0) < 0) return kTiff;
        if (plain) {
            for (int i = 0; i < p.h.width * n; ++i) row[i] = buf[i];
            sink.row(y, row.get());
            continue;
        }
        for (int x = 0; x < p.h.width; ++x) {
            const std::uint8_t* px = buf.get() + pixel_bytes * x;
            for (int c = 0; c < n; ++c) {
                unsigned v;
                if (p.palette) v = p.map[3 * px[0] + c];
                else if (p.bits == 16) {
                    std::uint16_t s16;  // libtiff has put it in the machine's byte order
                    std::memcpy(&s16, px + 2 * c, 2);
                    v = s16;
                } else {
                    v = px[c];
                }
                row[x * n + c] = static_cast<std::uint16_t>(p.white_zero ? p.h.maxval - v : v);
            }
        }
        sink.row(y, row.get());
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
int tiff_write_page(TiffFile* t, Volume* v, int z, int compression, int page, int pages) {
    TIFF* tif = t->tif;
    const bool grey = v->colortype == kGrey;
    const int bits = v->type == kI ? 16 : 8;
    const unsigned maxval = bits == 16 ? 65535 : 255;
    const int n = grey ? 1 : 3;
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(v->X));
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(v->Y));
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, bits);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, n);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, grey ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, compression);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tif, 0));
    if (page >= 0) {
        TIFFSetField(tif, TIFFTAG_SUBFILETYPE, FILETYPE_PAGE);
        TIFFSetField(tif, TIFFTAG_PAGENUMBER, page, pages);
    }
    auto row = make_io_buffer<std::uint8_t>(static_cast<std::size_t>(v->X) * n * (bits / 8));
    if (!row) return kNoBuffer;
    for (int y = 0; y < v->Y; ++y) {
        if (bits == 8) {  // UC volumes: the voxels as they are, interleaved for colour
            for (int c = 0; c < n; ++c) {
                const unsigned char* voxels = v->data[c].uc[z][y];
                for (int x = 0; x < v->X; ++x) row[x * n + c] = voxels[x];
            }
            if (TIFFWriteScanline(tif, row.get(), static_cast<std::uint32_t>(y), 0) < 0) return kFwrite;
            continue;
        }
        for (int x = 0; x < v->X; ++x)
            for (int c = 0; c < n; ++c) {
                const unsigned s = sample_of(v, c, z, y, x, maxval);
                if (bits == 8) {
                    row[x * n + c] = static_cast<std::uint8_t>(s);
                } else {
                    const std::uint16_t s16 = static_cast<std::uint16_t>(s);
                    std::memcpy(&row[2 * (x * n + c)], &s16, 2);
                }
            }
        if (TIFFWriteScanline(tif, row.get(), static_cast<std::uint32_t>(y), 0) < 0) return kFwrite;
    }
    // the last strip and the directory go out here; a full disk shows now, not at the close
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
