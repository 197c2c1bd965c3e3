// The multi-page TIFF stack: one file "%s.%s" holding every frame, one page each, the way most
// volumes travel today. Pages are read as TIFF frames are (io/tiff.cpp). first is the first page
// to read (0 = the first page of the file); count 0 reads every page from there to the end.
// -1000 when the file cannot be opened, the first page does not exist, fewer than count pages
// follow it or a page cannot be decoded; -1001 when a later page differs from the first; what
// a page uses that the reader does not support, as for TIFF frames (-1010 ... -1014).
#include "io/imageseq.h"

namespace v3d {

// Checks (vol null) or reads (into frames 0.. of vol) the pages first .. first + count - 1 of an
// open stack; count 0 means every page to the end. The fuzz target drives it on memory images.
int walk_tiff_pages(TiffFile* t, int first, int count, ImageSequenceInfo* info, Volume* vol) {
    if (!tiff_select_page(t, first)) return kTiff;
    ImageHeader head;
    int z = 0;
    for (;; ++z) {
        if (z == kMaxImageFrames) return kInvalidParams;
        ImageHeader h;
        V3D_CHECK(tiff_decode_page(t, &h, nullptr));
        if (z == 0) head = h;
        else if (!h.same_shape(head)) return kTiffSequence;
        if (vol) {
            if (z >= vol->Z) return kBadInputDims;
            VolumeSink sink(vol, z);
            V3D_CHECK(tiff_decode_page(t, nullptr, &sink));
        }
        if (z + 1 == count) break;
        if (!tiff_next_page(t)) {
            if (count == 0) break;
            return kTiff;
        }
    }
    if (info) *info = {head.width, head.height, z + 1, head.volume_type(), head.colour, head.bits};
    return kOk;
}

namespace {

int stack_args(const char* base, int first, const char* ext, int count) {
    if (!base || !ext || first < 0 || count < 0 || count > kMaxImageFrames) return kInvalidParams;
    return kOk;
}

int walk_file(const char* base, int first, const char* ext, int count, ImageSequenceInfo* info,
              Volume* vol) {
    TiffOwner t;
    V3D_CHECK(tiff_open_file(single_file_name(base, ext).c_str(), "r", &t));
    return walk_tiff_pages(t.get(), first, count, info, vol);
}

}  // namespace

int check_tiff_stack(const char* base, int first, int, const char* ext, int count,
                     ImageSequenceInfo* info) {
    V3D_CHECK(stack_args(base, first, ext, count));
    if (!info) return kInvalidParams;
    return walk_file(base, first, ext, count, info, nullptr);
}

int read_tiff_stack(Volume* vol, const char* base, int first, int, const char* ext, int count) {
    V3D_CHECK(CheckVolume(vol, kAnyType, kAnyColor));
    V3D_CHECK(stack_args(base, first, ext, count));
    if (count > vol->Z) return kBadInputDims;
    return walk_file(base, first, ext, count, nullptr, vol);
}

int write_tiff_stack(Volume* vol, const char* base, int, int, const char* ext) {
    return SaveTiffStack(vol, base, ext, V3D_TIFF_NONE);
}

}  // namespace v3d

extern "C" int SaveTiffStack(Volume* vol, const char* base, const char* ext, int compression) {
    using namespace v3d;
    V3D_CHECK(CheckVolume(vol, kUC | kI, kAnyColor));
    if (vol->type == kI && vol->colortype != kGrey) return kWrongColor;
    if (!base || !ext || !tiff_compression_ok(compression) || !image_size_ok(vol->X, vol->Y) ||
        vol->Z > kMaxImageFrames)
        return kInvalidParams;
    TiffOwner t;
    const int status = tiff_open_file(single_file_name(base, ext).c_str(), "w", &t);
    if (status != kOk) return status == kTiff ? kFopen : status;
    if (compression == V3D_TIFF_NONE && vol->type == kUC)
        tiff_reserve_for_writing(t.get(), static_cast<long long>(vol->Z) * vol->Y * vol->X * channels(vol));
    for (int z = 0; z < vol->Z; ++z) V3D_CHECK(tiff_write_page(t.get(), vol, z, compression, z, vol->Z));
    return kOk;
}
