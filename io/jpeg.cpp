// JPEG frames through libjpeg: grey images as grey frames, YCbCr and RGB images as colour
// frames, and CMYK and YCCK images (libjpeg turns YCCK into CMYK) as colour frames too: their
// inks are inverted when the file carries Adobe's marker (as Adobe's programs write them), and
// each ink c with black k gives the channel (255 - k) - round(c (255 - k) / 255). Other colour
// spaces are -1023. The writer does not subsample colour.
// libjpeg reports errors through a callback that must not return; we leave it with longjmp back
// into the plain C-style functions below, which hold no C++ objects with destructors, so no C++
// frame is ever jumped over. Their work buffers come from libjpeg's own pools. Content errors
// are -29; a premature end of the data, more than 100 warnings or 200 progressive scans count as
// errors (corrupt data would otherwise take very long).
#include <csetjmp>
#include <cstdio>

#include "io/imageseq.h"

extern "C" {
#include <jpeglib.h>
#include <jerror.h>
}

namespace v3d {
namespace {

struct JpegError {
    jpeg_error_mgr mgr;
    std::jmp_buf jump;
    int warnings;
};

void on_error(j_common_ptr c) { std::longjmp(reinterpret_cast<JpegError*>(c->err)->jump, 1); }

void on_message(j_common_ptr c, int level) {
    JpegError* e = reinterpret_cast<JpegError*>(c->err);
    // a truncated file is an error, not a warning followed by grey rows
    if (level < 0 && (c->err->msg_code == JWRN_JPEG_EOF || ++e->warnings > 100))
        std::longjmp(e->jump, 1);
}

void on_progress(j_common_ptr c) {
    if (c->is_decompressor && reinterpret_cast<j_decompress_ptr>(c)->input_scan_number > 200)
        std::longjmp(reinterpret_cast<JpegError*>(c->err)->jump, 1);
}

void install_error(JpegError* e) {
    jpeg_std_error(&e->mgr);
    e->mgr.error_exit = on_error;
    e->mgr.emit_message = on_message;
    e->warnings = 0;
}

// The row callbacks of the decoder: plain functions over the C++ sink, called between libjpeg
// calls (never while libjpeg can jump).
struct DecodeTarget {
    ImageHeader header;
    RowSink* sink;
    Sample* row;          // width * 3 samples, owned by the caller
    bool cmyk, inverted;  // four inks per pixel, stored inverted
};

int header_of(j_decompress_ptr d, DecodeTarget* t) {
    if (!image_size_ok(d->image_width, d->image_height)) return kJpegRead;
    t->cmyk = false;
    if (d->jpeg_color_space == JCS_GRAYSCALE) {
        d->out_color_space = JCS_GRAYSCALE;
        t->header.colour = kGrey;
    } else if (d->jpeg_color_space == JCS_YCbCr || d->jpeg_color_space == JCS_RGB) {
        d->out_color_space = JCS_RGB;
        t->header.colour = kRGB;
    } else if (d->jpeg_color_space == JCS_CMYK || d->jpeg_color_space == JCS_YCCK) {
        d->out_color_space = JCS_CMYK;
        t->header.colour = kRGB;
        t->cmyk = true;
        t->inverted = d->saw_Adobe_marker != 0;
    } else {
        return kJpegColour;
    }
    t->header.width = static_cast<int>(d->image_width);
    t->header.height = static_cast<int>(d->image_height);
    t->header.maxval = 255;
    return kOk;
}

// An ink c under black k as a channel: (255 - k) - c (255 - k) / 255, the division rounded.
Sample ink_to_channel(unsigned c, unsigned k) {
    const unsigned nk = 255 - k, t = c * nk + 128;
    return static_cast<Sample>(nk - (((t >> 8) + t) >> 8));
}

void deliver_row(DecodeTarget* t, int y, const JSAMPLE* s) {
    const int w = t->header.width;
    if (t->cmyk) {
        const unsigned flip = t->inverted ? 255 : 0;
        for (int x = 0; x < w; ++x)
            for (int c = 0; c < 3; ++c) t->row[3 * x + c] = ink_to_channel(s[4 * x + c] ^ flip, s[4 * x + 3] ^ flip);
    } else {
        const int n = t->header.colour == kGrey ? w : 3 * w;
        for (int i = 0; i < n; ++i) t->row[i] = s[i];
    }
    t->sink->row(y, t->row);
}

// Decodes data into t (header only when t->sink is null). Plain C style: see the file comment.
int jpeg_decode_c(const unsigned char* data, unsigned long size, DecodeTarget* t,
                  int (*begin)(DecodeTarget*)) {
    jpeg_decompress_struct d;
    JpegError err;
    jpeg_progress_mgr progress;
    volatile int status = kJpegRead;
    d.err = &err.mgr;
    install_error(&err);
    if (setjmp(err.jump)) {
        jpeg_destroy_decompress(&d);
        return status == kOk ? kJpegRead : status;
    }
    jpeg_create_decompress(&d);
    progress.progress_monitor = on_progress;
    d.progress = &progress;
    jpeg_mem_src(&d, data, size);
    jpeg_read_header(&d, TRUE);
    status = header_of(&d, t);
    if (status == kOk && t->sink) status = begin(t);
    if (status != kOk || !t->sink) {
        jpeg_destroy_decompress(&d);
        return status;
    }
    status = kJpegRead;
    jpeg_start_decompress(&d);
    JSAMPARRAY row = (*d.mem->alloc_sarray)(reinterpret_cast<j_common_ptr>(&d), JPOOL_IMAGE,
                                            d.output_width * d.output_components, 1);
    while (d.output_scanline < d.output_height) {
        const int y = static_cast<int>(d.output_scanline);
        if (jpeg_read_scanlines(&d, row, 1) != 1) break;
        deliver_row(t, y, row[0]);
    }
    status = d.output_scanline == d.output_height ? kOk : kJpegRead;
    jpeg_destroy_decompress(&d);
    return status;
}

int begin_sink(DecodeTarget* t) { return t->sink->begin(t->header); }

// The encoder, the same way: rows come from frame z of a UC volume.
int jpeg_encode_c(Volume* v, int z, std::FILE* f, int quality) {
    jpeg_compress_struct c;
    JpegError err;
    c.err = &err.mgr;
    install_error(&err);
    if (setjmp(err.jump)) {
        jpeg_destroy_compress(&c);
        return kFwrite;
    }
    jpeg_create_compress(&c);
    jpeg_stdio_dest(&c, f);
    const bool grey = v->colortype == kGrey;
    c.image_width = static_cast<JDIMENSION>(v->X);
    c.image_height = static_cast<JDIMENSION>(v->Y);
    c.input_components = grey ? 1 : 3;
    c.in_color_space = grey ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&c);
    jpeg_set_quality(&c, quality, TRUE);
    for (int i = 0; i < c.num_components; ++i)  // no chroma subsampling: colour edges stay sharp
        c.comp_info[i].h_samp_factor = c.comp_info[i].v_samp_factor = 1;
    jpeg_start_compress(&c, TRUE);
    JSAMPARRAY row = (*c.mem->alloc_sarray)(reinterpret_cast<j_common_ptr>(&c), JPOOL_IMAGE,
                                            c.image_width * c.input_components, 1);
    for (int y = 0; y < v->Y; ++y) {
        for (int x = 0; x < v->X; ++x)
            for (int ch = 0; ch < c.input_components; ++ch)
                row[0][x * c.input_components + ch] = v->data[ch].uc[z][y][x];
        jpeg_write_scanlines(&c, row, 1);
    }
    jpeg_finish_compress(&c);
    jpeg_destroy_compress(&c);
    return kOk;
}

int write_jpeg_frame(Volume* v, int z, const char* path, int quality) {
    std::FILE* f = path[0] == '\0' ? nullptr : std::fopen(path, "wb");
    if (!f) return kFopen;
    const int status = jpeg_encode_c(v, z, f, quality);
    const bool closed = std::fclose(f) == 0;
    return status != kOk ? status : (closed ? kOk : kFwrite);
}


}  // namespace

const FrameFormatOps kJpegFrames = {decode_jpeg, nullptr, kBadInputDims, write_jpeg_frame, kUC};

int decode_jpeg(const std::uint8_t* data, std::size_t size, ImageHeader* header, RowSink* sink) {
    if (size == 0 || size > 0xffffffffu) return kJpegRead;
    std::unique_ptr<Sample[]> row;
    DecodeTarget t{ImageHeader{}, sink, nullptr, false, false};
    if (sink) {
        ImageHeader h;  // the row buffer is sized from a header-only pass first
        V3D_CHECK(decode_jpeg(data, size, &h, nullptr));
        row = make_io_buffer<Sample>(static_cast<std::size_t>(h.width) * 3);
        if (!row) return kNoBuffer;
        t.row = row.get();
    }
    const int status = jpeg_decode_c(data, static_cast<unsigned long>(size), &t, begin_sink);
    if (header && status == kOk) *header = t.header;
    return status;
}

int write_jpeg(Volume* vol, const char* base, int first, int digits, const char* ext) {
    return SaveJpegSequence(vol, base, first, digits, ext, 95);
}

}  // namespace v3d

extern "C" int SaveJpegSequence(Volume* vol, const char* base, int first, int digits,
                                const char* ext, int quality) {
    using namespace v3d;
    V3D_CHECK(CheckVolume(vol, kUC, kAnyColor));
    if (quality < 1 || quality > 100) return kInvalidParams;
    if (vol->X > 65500 || vol->Y > 65500) return kInvalidParams;
    return write_frame_sequence(kJpegFrames, vol, base, first, digits, ext, quality);
}
