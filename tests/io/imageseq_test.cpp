// Image sequences: the format table, round trips through every writer and reader, sequences whose
// frames disagree, the readers' checks, and malformed input (truncated, wrong magic, absurd
// sizes, LZW codes and palette indices out of range).
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "io/imageseq.h"
#include "support.h"

namespace {

using t3d::Vol;
using Bytes = std::vector<std::uint8_t>;

Bytes read_bytes(const std::string& path) {
    const std::string s = t3d::read_file(path);
    return Bytes(s.begin(), s.end());
}

void write_bytes(const std::string& path, const Bytes& b) {
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(b.data()), b.size());
}

// Reads a sequence through the table: check, a volume of the reported size, read.
struct Loaded {
    int check = 0, read = 0;
    ImageSequenceInfo info{};
    std::unique_ptr<Vol> vol;
};

Loaded load(int format, const std::string& base, int first, int digits, const char* ext,
            int count, int type = 1, ImageSequenceInfo raw = {}) {
    const ImageSequenceFormat* f = GetImageSequenceFormat(format);
    Loaded l;
    l.info = raw;
    l.check = f->check(base.c_str(), first, digits, ext, count, &l.info);
    if (l.check != 0) return l;
    l.vol.reset(new Vol(l.info.Z, l.info.Y, l.info.X, f->raw ? l.info.type : type, l.info.colortype));
    l.read = f->read(l.vol->get(), base.c_str(), first, digits, ext, l.info.Z);
    return l;
}

// Largest absolute difference over every voxel of two volumes of equal shape.
double max_difference(Volume* a, Volume* b) {
    const std::vector<double> x = t3d::snapshot(a), y = t3d::snapshot(b);
    if (x.size() != y.size()) return 1e9;
    double m = 0;
    for (size_t i = 0; i < x.size(); ++i) m = std::max(m, std::abs(x[i] - y[i]));
    return m;
}

struct RoundTrip {
    const char* label;
    int format, type, colortype;
    int (*write)(Volume*, const std::string&);  // writes base with first 7, digits 3
    const char* ext;
    double tolerance;
};

const RoundTrip kRoundTrips[] = {
    {"tiff grey", V3D_FORMAT_TIFF, 1, 1, [](Volume* v, const std::string& b) { return savetiff(v, b.c_str(), 7, 3, "tif", V3D_TIFF_NONE); }, "tif", 0},
    {"tiff lzw colour", V3D_FORMAT_TIFF, 1, 2, [](Volume* v, const std::string& b) { return savetiff(v, b.c_str(), 7, 3, "tif", V3D_TIFF_LZW); }, "tif", 0},
    {"tiff packbits", V3D_FORMAT_TIFF, 1, 1, [](Volume* v, const std::string& b) { return savetiff(v, b.c_str(), 7, 3, "tif", V3D_TIFF_PACKBITS); }, "tif", 0},
    {"tiff 16-bit", V3D_FORMAT_TIFF, 4, 1, [](Volume* v, const std::string& b) { return savetiff(v, b.c_str(), 7, 3, "tif", V3D_TIFF_LZW); }, "tif", 0},
    {"bmp grey", V3D_FORMAT_BMP, 1, 1, [](Volume* v, const std::string& b) { return SaveBmpSequence(v, b.c_str(), 7, 3, "bmp", 0); }, "bmp", 0},
    {"bmp rle8", V3D_FORMAT_BMP, 1, 1, [](Volume* v, const std::string& b) { return SaveBmpSequence(v, b.c_str(), 7, 3, "bmp", 1); }, "bmp", 0},
    {"bmp colour", V3D_FORMAT_BMP, 1, 2, [](Volume* v, const std::string& b) { return SaveBmpSequence(v, b.c_str(), 7, 3, "bmp", 0); }, "bmp", 0},
    {"tga grey", V3D_FORMAT_TGA, 1, 1, [](Volume* v, const std::string& b) { return SaveTgaSequence(v, b.c_str(), 7, 3, "tga", 0); }, "tga", 0},
    {"tga rle colour", V3D_FORMAT_TGA, 1, 2, [](Volume* v, const std::string& b) { return SaveTgaSequence(v, b.c_str(), 7, 3, "tga", 1); }, "tga", 0},
    {"tga rle grey", V3D_FORMAT_TGA, 1, 1, [](Volume* v, const std::string& b) { return SaveTgaSequence(v, b.c_str(), 7, 3, "tga", 1); }, "tga", 0},
    {"gif", V3D_FORMAT_GIF, 1, 1, [](Volume* v, const std::string& b) { return SaveGifSequence(v, b.c_str(), 7, 3, "gif", 0); }, "gif", 0},
    {"gif interlaced", V3D_FORMAT_GIF, 1, 1, [](Volume* v, const std::string& b) { return SaveGifSequence(v, b.c_str(), 7, 3, "gif", 1); }, "gif", 0},
    {"jpeg grey", V3D_FORMAT_JPEG, 1, 1, [](Volume* v, const std::string& b) { return SaveJpegSequence(v, b.c_str(), 7, 3, "jpg", 100); }, "jpg", 12},
    {"jpeg colour", V3D_FORMAT_JPEG, 1, 2, [](Volume* v, const std::string& b) { return SaveJpegSequence(v, b.c_str(), 7, 3, "jpg", 100); }, "jpg", 40},
    {"pgm", V3D_FORMAT_PNM, 1, 1, [](Volume* v, const std::string& b) { return SavePnmSequence(v, b.c_str(), 7, 3, "pgm"); }, "pgm", 0},
    {"ppm", V3D_FORMAT_PNM, 1, 2, [](Volume* v, const std::string& b) { return SavePnmSequence(v, b.c_str(), 7, 3, "ppm"); }, "ppm", 0},
    {"pgm 16-bit", V3D_FORMAT_PNM, 4, 1, [](Volume* v, const std::string& b) { return SavePnmSequence(v, b.c_str(), 7, 3, "pgm"); }, "pgm", 0},
};

// Smooth contents (JPEG-friendly) with runs (RLE-friendly) and the full 0..255 range.
void fill_pattern(Volume* v, int range) {
    for (int c = 0; c < (v->colortype == 1 ? 1 : 3); ++c)
        for (int z = 0; z < v->Z; ++z)
            for (int y = 0; y < v->Y; ++y)
                for (int x = 0; x < v->X; ++x) {
                    const int s = x < 4 ? 200 : ((x * 9 + y * 5 + z * 30 + c * 60) % 256);
                    if (v->type == 1) v->data[c].uc[z][y][x] = static_cast<unsigned char>(s);
                    else v->data[c].i[z][y][x] = s * (range / 256);
                }
}

TEST(ImageSequenceFormats, DialogOrderIsFixed) {
    // the ten described formats first, then the volume files with a header
    const char* const names[V3D_FORMAT_COUNT] = {"raw", "rawvol", "rgb", "tiff", "bmp", "tga", "gif",
                                                 "jpeg", "pnm", "tiffstack", "nifti", "nrrd", "metaimage"};
    for (int i = 0; i < V3D_FORMAT_COUNT; ++i) {
        const ImageSequenceFormat* f = GetImageSequenceFormat(i);
        ASSERT_NE(f, nullptr);
        EXPECT_STREQ(f->name, names[i]);
        EXPECT_EQ(FindImageSequenceFormat(names[i]), i);
        EXPECT_TRUE(f->check && f->read && f->write) << names[i];
        EXPECT_EQ(f->single_file, i == V3D_FORMAT_RAW_VOLUME || i >= V3D_FORMAT_TIFF_STACK);
        EXPECT_EQ(f->raw, i <= V3D_FORMAT_RAW_RGB);
    }
    EXPECT_EQ(GetImageSequenceFormat(-1), nullptr);
    EXPECT_EQ(GetImageSequenceFormat(V3D_FORMAT_COUNT), nullptr);
    EXPECT_EQ(FindImageSequenceFormat("png"), -1);
    EXPECT_EQ(FindImageSequenceFormat(nullptr), -1);
}

TEST(ImageSequenceFormats, EveryWriterRoundTrips) {
    for (const RoundTrip& r : kRoundTrips) {
        SCOPED_TRACE(r.label);
        Vol v(3, 11, 13, r.type, r.colortype);
        fill_pattern(v.get(), r.type == 4 ? 65536 : 256);
        const std::string base = t3d::temp_path(std::string("rt_") + r.ext + std::to_string(&r - kRoundTrips) + "_");
        ASSERT_EQ(r.write(v.get(), base), 0);
        EXPECT_FALSE(read_bytes(base + "007." + r.ext).empty());  // names "%s%0*d.%s"
        EXPECT_FALSE(read_bytes(base + "009." + r.ext).empty());
        Loaded l = load(r.format, base, 7, 3, r.ext, 3, r.type);
        ASSERT_EQ(l.check, 0);
        ASSERT_EQ(l.read, 0);
        EXPECT_EQ(std::vector<int>({l.info.Z, l.info.Y, l.info.X}), (std::vector<int>{3, 11, 13}));
        EXPECT_EQ(l.info.colortype, r.colortype);
        EXPECT_EQ(l.info.bits, r.type == 4 ? 16 : 8);
        EXPECT_LE(max_difference(v.get(), l.vol->get()), r.tolerance);
    }
}

TEST(ImageSequenceFormats, SingleFileAndRawFormatsRoundTrip) {
    const std::string base = t3d::temp_path("rt_single");
    Vol colour(4, 6, 5, 1, 2), grey(4, 6, 5, 4, 1);
    t3d::fill_random(colour.get(), 3);

    ASSERT_EQ(SaveTiffStack(colour.get(), base.c_str(), "tif", V3D_TIFF_LZW), 0);
    Loaded stack = load(V3D_FORMAT_TIFF_STACK, base, 0, 0, "tif", 0);  // 0: every page
    ASSERT_EQ(stack.read, 0);
    EXPECT_EQ(stack.info.Z, 4);
    EXPECT_EQ(max_difference(colour.get(), stack.vol->get()), 0);
    for (int type : {2, 4}) {  // the same byte samples into F and I volumes
        Loaded wide = load(V3D_FORMAT_TIFF_STACK, base, 0, 0, "tif", 0, type);
        ASSERT_EQ(wide.read, 0);
        EXPECT_EQ(max_difference(colour.get(), wide.vol->get()), 0) << type;
    }
    Loaded tail = load(V3D_FORMAT_TIFF_STACK, base, 1, 0, "tif", 2);   // pages 1 and 2
    ASSERT_EQ(tail.read, 0);
    EXPECT_EQ(tail.vol->uc(0, 3, 2, 1), colour.uc(1, 3, 2, 1));
    EXPECT_EQ(tail.vol->uc(1, 5, 4, 2), colour.uc(2, 5, 4, 2));
    EXPECT_EQ(load(V3D_FORMAT_TIFF_STACK, base, 1, 0, "tif", 4).check, -1000);  // only 3 follow

    ASSERT_EQ(GetImageSequenceFormat(V3D_FORMAT_RAW_RGB)->write(colour.get(), base.c_str(), 1, 2, ""), 0);
    EXPECT_EQ(read_bytes(base + "01.g").size(), 30u);
    Loaded rgb = load(V3D_FORMAT_RAW_RGB, base, 1, 2, "", 4, 1, {5, 6, 0, 1, 0, 0});
    ASSERT_EQ(rgb.read, 0);
    EXPECT_EQ(max_difference(colour.get(), rgb.vol->get()), 0);

    // signed ints (negative values too) through raw frames and the raw volume
    t3d::fill_random(grey.get(), 5, 1000);
    for (int format : {V3D_FORMAT_RAW_FRAMES, V3D_FORMAT_RAW_VOLUME}) {
        ASSERT_EQ(GetImageSequenceFormat(format)->write(grey.get(), base.c_str(), 0, 0, "i32"), 0);
        Loaded l = load(format, base, 0, 0, "i32", 4, 1, {5, 6, 0, 4, 1, 0});
        ASSERT_EQ(l.read, 0) << format;
        EXPECT_EQ(max_difference(grey.get(), l.vol->get()), 0);
    }
    // the raw volume skips frames: first = 1 reads frames 1..2
    Loaded skip = load(V3D_FORMAT_RAW_VOLUME, base, 1, 0, "i32", 2, 1, {5, 6, 0, 4, 1, 0});
    ASSERT_EQ(skip.read, 0);
    EXPECT_EQ(skip.vol->i(0, 2, 3), grey.i(1, 2, 3));
    EXPECT_EQ(load(V3D_FORMAT_RAW_VOLUME, base, 1, 0, "i32", 4, 1, {5, 6, 0, 4, 1, 0}).check, -601);
    EXPECT_EQ(load(V3D_FORMAT_RAW_FRAMES, base, 0, 0, "i32", 4, 1, {5, 7, 0, 4, 1, 0}).check, -601);
    EXPECT_EQ(load(V3D_FORMAT_RAW_FRAMES, base, 2, 0, "i32", 4, 1, {5, 6, 0, 4, 1, 0}).check, -600);
}

TEST(ImageSequenceFormats, SixteenBitSamplesScaleIntoUC) {
    const std::string base = t3d::temp_path("deep");
    Vol v(1, 1, 6, 4, 1);
    const int in[6] = {0, 128, 129, 257, 65535, 70000};
    for (int x = 0; x < 6; ++x) v.i(0, 0, x) = in[x];
    ASSERT_EQ(savetiff(v.get(), base.c_str(), 0, 0, "tif", V3D_TIFF_NONE), 0);
    ASSERT_EQ(SavePnmSequence(v.get(), base.c_str(), 0, 0, "pgm"), 0);
    for (int format : {V3D_FORMAT_TIFF, V3D_FORMAT_PNM}) {
        const char* ext = format == V3D_FORMAT_TIFF ? "tif" : "pgm";
        Loaded uc = load(format, base, 0, 0, ext, 1, 1), i = load(format, base, 0, 0, ext, 1, 4);
        ASSERT_EQ(uc.read, 0);
        ASSERT_EQ(i.read, 0);
        const int scaled[6] = {0, 0, 1, 1, 255, 255}, kept[6] = {0, 128, 129, 257, 65535, 65535};
        for (int x = 0; x < 6; ++x) {
            EXPECT_EQ(uc.vol->uc(0, 0, x), scaled[x]) << format << " " << x;
            EXPECT_EQ(i.vol->i(0, 0, x), kept[x]) << format << " " << x;
        }
    }
}

TEST(ImageSequenceFormats, FramesThatDisagree) {
    const std::string base = t3d::temp_path("disagree");
    Vol a(2, 4, 5, 1, 1), wider(1, 4, 6, 1, 1), colour(1, 4, 5, 1, 2);
    ASSERT_EQ(savetiff(a.get(), base.c_str(), 0, 0, "tif", V3D_TIFF_NONE), 0);
    ASSERT_EQ(savetiff(wider.get(), base.c_str(), 2, 0, "tif", V3D_TIFF_NONE), 0);
    ASSERT_EQ(savetiff(colour.get(), base.c_str(), 3, 0, "tif", V3D_TIFF_NONE), 0);
    ImageSequenceInfo info{};
    const ImageSequenceFormat* tiff = GetImageSequenceFormat(V3D_FORMAT_TIFF);
    EXPECT_EQ(tiff->check(base.c_str(), 0, 0, "tif", 2, &info), 0);
    EXPECT_EQ(tiff->check(base.c_str(), 0, 0, "tif", 3, &info), -1001);  // width
    EXPECT_EQ(tiff->check(base.c_str(), 3, 0, "tif", 1, &info), 0);
    EXPECT_EQ(tiff->check(base.c_str(), 2, 0, "tif", 2, &info), -1001);  // colour
    EXPECT_EQ(tiff->check(base.c_str(), 3, 0, "tif", 2, &info), -1000);  // no frame 4
    write_bytes(base + "4.tif", {'I', 'I', 42, 0, 1, 2});
    EXPECT_EQ(tiff->check(base.c_str(), 3, 0, "tif", 2, &info), -1000);  // not readable

    // the other formats: a missing frame is -600, a frame of another shape -521
    ASSERT_EQ(SaveBmpSequence(a.get(), base.c_str(), 0, 0, "bmp", 0), 0);
    ASSERT_EQ(SaveBmpSequence(colour.get(), base.c_str(), 2, 0, "bmp", 0), 0);
    const ImageSequenceFormat* bmp = GetImageSequenceFormat(V3D_FORMAT_BMP);
    EXPECT_EQ(bmp->check(base.c_str(), 0, 0, "bmp", 3, &info), -521);
    EXPECT_EQ(bmp->check(base.c_str(), 0, 0, "bmp", 4, &info), -521);
    EXPECT_EQ(bmp->check(base.c_str(), 2, 0, "bmp", 2, &info), -600);
    // the reader refuses a frame that does not fit the volume, leaving the record as it was
    Vol target(3, 4, 5, 1, 1);
    const Volume before = *target.get();
    EXPECT_EQ(bmp->read(target.get(), base.c_str(), 0, 0, "bmp", 3), -503);
    EXPECT_EQ(std::memcmp(&before, target.get(), sizeof before), 0);
}

TEST(ImageSequenceFormats, ReaderAndWriterChecks) {
    const std::string base = t3d::temp_path("checks");
    Vol v(2, 4, 5, 1, 1), small(2, 3, 5, 1, 1), flt(2, 4, 5, 2, 1), colour(2, 4, 5, 1, 2), deep(2, 4, 5, 4, 2);
    ASSERT_EQ(SavePnmSequence(v.get(), base.c_str(), 0, 0, "pgm"), 0);
    const ImageSequenceFormat* pnm = GetImageSequenceFormat(V3D_FORMAT_PNM);
    EXPECT_EQ(pnm->read(nullptr, base.c_str(), 0, 0, "pgm", 2), -501);
    EXPECT_EQ(pnm->read(flt.get(), base.c_str(), 0, 0, "pgm", 2), 0);  // 8-bit samples as floats
    EXPECT_EQ(pnm->read(v.get(), base.c_str(), 0, 0, "pgm", 0), -90);
    EXPECT_EQ(pnm->read(v.get(), nullptr, 0, 0, "pgm", 2), -90);
    EXPECT_EQ(pnm->read(v.get(), base.c_str(), 0, -2, "pgm", 2), -90);
    EXPECT_EQ(pnm->read(v.get(), base.c_str(), 2147483647, 0, "pgm", 2), -90);
    EXPECT_EQ(pnm->read(v.get(), base.c_str(), 0, 0, "pgm", 3), -521);   // more than Z
    EXPECT_EQ(pnm->read(small.get(), base.c_str(), 0, 0, "pgm", 2), -521);
    EXPECT_EQ(pnm->read(colour.get(), base.c_str(), 0, 0, "pgm", 2), -503);
    ImageSequenceInfo info{};
    EXPECT_EQ(pnm->check(base.c_str(), 0, 0, "pgm", V3D_IMAGE_MAX_FRAMES + 1, &info), -90);
    EXPECT_EQ(pnm->check(base.c_str(), 0, 0, "pgm", 2, nullptr), -90);

    EXPECT_EQ(savetiff(flt.get(), base.c_str(), 0, 0, "tif", V3D_TIFF_NONE), -502);
    EXPECT_EQ(savetiff(deep.get(), base.c_str(), 0, 0, "tif", V3D_TIFF_NONE), -503);
    EXPECT_EQ(savetiff(v.get(), base.c_str(), 0, 0, "tif", 7), -90);  // JPEG-in-TIFF: no
    EXPECT_EQ(SaveBmpSequence(colour.get(), base.c_str(), 0, 0, "bmp", 1), -90);
    EXPECT_EQ(SaveGifSequence(colour.get(), base.c_str(), 0, 0, "gif", 0), -503);
    EXPECT_EQ(SaveJpegSequence(v.get(), base.c_str(), 0, 0, "jpg", 0), -90);
    EXPECT_EQ(SaveJpegSequence(deep.get(), base.c_str(), 0, 0, "jpg", 90), -502);
    EXPECT_EQ(savetiff(v.get(), "/nonexistent/dir/x", 0, 0, "tif", V3D_TIFF_NONE), -600);
    EXPECT_EQ(SaveBmpSequence(v.get(), "/nonexistent/dir/x", 0, 0, "bmp", 0), -600);
}

// A sink that counts rows, for the decoders on memory.
struct CountingSink : v3d::RowSink {
    int rows = 0;
    v3d::ImageHeader h;
    int begin(const v3d::ImageHeader& header) override {
        h = header;
        return 0;
    }
    void row(int, const v3d::Sample*) override { ++rows; }
};

struct Decoder {
    const char* name;
    v3d::FrameDecoder decode;
    int bad;  // status of bad content
};
const Decoder kDecoders[] = {{"bmp", v3d::decode_bmp, -31},   {"tga", v3d::decode_tga, -30},
                             {"gif", v3d::decode_gif, -32},   {"jpg", v3d::decode_jpeg, -29},
                             {"pgm", v3d::decode_pnm, -1020},  {"tif", v3d::decode_tiff, -1000}};

// Each decoder on every truncation of a file written by our writer: a status, never a crash;
// cut to three quarters or less, always a failure.
TEST(ImageSequenceMalformed, TruncatedFilesAndWrongMagic) {
    Vol v(1, 9, 10, 1, 1);
    fill_pattern(v.get(), 256);
    const std::string base = t3d::temp_path("trunc");
    ASSERT_EQ(SaveBmpSequence(v.get(), base.c_str(), 0, 0, "bmp", 1), 0);
    ASSERT_EQ(SaveTgaSequence(v.get(), base.c_str(), 0, 0, "tga", 1), 0);
    ASSERT_EQ(SaveGifSequence(v.get(), base.c_str(), 0, 0, "gif", 1), 0);
    ASSERT_EQ(SaveJpegSequence(v.get(), base.c_str(), 0, 0, "jpg", 90), 0);
    ASSERT_EQ(SavePnmSequence(v.get(), base.c_str(), 0, 0, "pgm"), 0);
    ASSERT_EQ(savetiff(v.get(), base.c_str(), 0, 0, "tif", V3D_TIFF_LZW), 0);
    for (const Decoder& d : kDecoders) {
        SCOPED_TRACE(d.name);
        const Bytes whole = read_bytes(base + "0." + d.name);
        CountingSink full;
        ASSERT_EQ(d.decode(whole.data(), whole.size(), nullptr, &full), 0);
        EXPECT_EQ(full.rows, 9);
        for (size_t n = 0; n < whole.size(); ++n) {
            const Bytes cut(whole.begin(), whole.begin() + n);  // its own allocation: ASan sees overreads
            CountingSink sink;
            const int s = d.decode(cut.data(), cut.size(), nullptr, &sink);
            if (n <= whole.size() * 3 / 4) {
                EXPECT_NE(s, 0) << n;
            }
            if (s == 0) {
                EXPECT_EQ(sink.rows, 9) << n;
            }
        }
        Bytes magic = whole;
        magic[d.decode == v3d::decode_tga ? 2 : 0] ^= 0x55;  // TGA has no magic: its image type
        EXPECT_EQ(d.decode(magic.data(), magic.size(), nullptr, nullptr), d.bad);
    }
}

// Minimal hand-made files.
Bytes gif_with(int width, int height, int table_bits, int min_code, const Bytes& data) {
    Bytes g = {'G', 'I', 'F', '8', '7', 'a'};
    v3d::put_le16(g, width);
    v3d::put_le16(g, height);
    g.insert(g.end(), {static_cast<std::uint8_t>(0x80 | (table_bits - 1)), 0, 0});
    for (int i = 0; i < (1 << table_bits); ++i) g.insert(g.end(), 3, static_cast<std::uint8_t>(i * 40));
    g.push_back(0x2c);
    for (int i = 0; i < 4; ++i) v3d::put_le16(g, i < 2 ? 0 : (i == 2 ? width : height));
    g.push_back(0);
    g.push_back(static_cast<std::uint8_t>(min_code));
    g.push_back(static_cast<std::uint8_t>(data.size()));
    g.insert(g.end(), data.begin(), data.end());
    g.insert(g.end(), {0, 0x3b});
    return g;
}

TEST(ImageSequenceMalformed, LzwCodesAndPaletteIndicesOutOfRange) {
    CountingSink sink;
    // codes of 3 bits, LSB first: clear (4), 1, 2, end (5) -> two pixels
    const Bytes good = gif_with(2, 1, 2, 2, {0x8c, 0x0a});
    ASSERT_EQ(v3d::decode_gif(good.data(), good.size(), nullptr, &sink), 0);
    EXPECT_EQ(sink.h.colour, 1);
    // clear, 1, then 7: beyond the next free code (6)
    const Bytes beyond = gif_with(2, 1, 2, 2, {0xcc, 0x01});
    EXPECT_EQ(v3d::decode_gif(beyond.data(), beyond.size(), nullptr, &sink), -32);
    // a first code after clear that is not a literal
    const Bytes not_literal = gif_with(2, 1, 2, 2, {0x74});
    EXPECT_EQ(v3d::decode_gif(not_literal.data(), not_literal.size(), nullptr, &sink), -32);
    // a code size of 9 or 1
    for (int size : {1, 9}) {
        const Bytes g = gif_with(2, 1, 2, size, {0});
        EXPECT_EQ(v3d::decode_gif(g.data(), g.size(), nullptr, &sink), -32) << size;
    }
    // index 3 with a two-entry table (min code 2 allows indices 0..3)
    const Bytes index3 = gif_with(2, 1, 1, 2, {0x9c, 0x0a});
    EXPECT_EQ(v3d::decode_gif(index3.data(), index3.size(), nullptr, &sink), -32);
    // fewer pixels than the image holds
    const Bytes short_data = gif_with(3, 1, 2, 2, {0x8c, 0x0a});
    EXPECT_EQ(v3d::decode_gif(short_data.data(), short_data.size(), nullptr, &sink), -32);

    // a BMP whose palette has two entries and whose pixels use index 5
    Vol v(1, 2, 4, 1, 1);
    const std::string base = t3d::temp_path("palette");
    ASSERT_EQ(SaveBmpSequence(v.get(), base.c_str(), 0, 0, "bmp", 0), 0);
    Bytes bmp = read_bytes(base + "0.bmp");
    bmp[46] = 2;  // colours used
    bmp[47] = 0;
    bmp[bmp.size() - 1] = 5;
    EXPECT_EQ(v3d::decode_bmp(bmp.data(), bmp.size(), nullptr, &sink), -31);
    bmp[bmp.size() - 1] = 1;
    EXPECT_EQ(v3d::decode_bmp(bmp.data(), bmp.size(), nullptr, &sink), 0);
}

TEST(ImageSequenceMalformed, AbsurdDimensionsAreRefusedBeforeAllocation) {
    Vol v(1, 2, 3, 1, 1);
    const std::string base = t3d::temp_path("absurd");
    ASSERT_EQ(SaveBmpSequence(v.get(), base.c_str(), 0, 0, "bmp", 0), 0);
    ASSERT_EQ(SaveTgaSequence(v.get(), base.c_str(), 0, 0, "tga", 0), 0);
    ASSERT_EQ(savetiff(v.get(), base.c_str(), 0, 0, "tif", V3D_TIFF_NONE), 0);
    v3d::ImageHeader h;
    Bytes bmp = read_bytes(base + "0.bmp");
    bmp[21] = 0x7f;  // width 0x7f000003
    EXPECT_EQ(v3d::decode_bmp(bmp.data(), bmp.size(), &h, nullptr), -31);
    bmp[21] = 0;
    bmp[19] = 0x40;  // width 16387: one above the limit
    EXPECT_EQ(v3d::decode_bmp(bmp.data(), bmp.size(), &h, nullptr), -31);
    bmp[19] = 0x40;
    bmp[18] = 0;  // width 16384: at the limit, the header passes but the data is missing
    EXPECT_EQ(v3d::decode_bmp(bmp.data(), bmp.size(), &h, nullptr), 0);
    EXPECT_EQ(h.width, 16384);
    CountingSink sink;
    EXPECT_EQ(v3d::decode_bmp(bmp.data(), bmp.size(), nullptr, &sink), -31);
    Bytes tga = read_bytes(base + "0.tga");
    tga[13] = 0xff;  // width 65283
    EXPECT_EQ(v3d::decode_tga(tga.data(), tga.size(), &h, nullptr), -30);
    tga[13] = 0;
    tga[12] = 0;  // width 0
    EXPECT_EQ(v3d::decode_tga(tga.data(), tga.size(), &h, nullptr), -30);
    const std::string pgm = "P5 100000 1 255\n";
    EXPECT_EQ(v3d::decode_pnm(reinterpret_cast<const std::uint8_t*>(pgm.data()), pgm.size(), &h, nullptr), -1020);
    const std::string huge = "P5 99999999999999999999 1 255\n";
    EXPECT_EQ(v3d::decode_pnm(reinterpret_cast<const std::uint8_t*>(huge.data()), huge.size(), &h, nullptr), -1020);
    const Bytes gif = gif_with(20000, 1, 1, 2, {0});
    EXPECT_EQ(v3d::decode_gif(gif.data(), gif.size(), &h, nullptr), -32);
    // a TIFF whose width field says 100000 (classic little-endian, first IFD entry is width)
    Bytes tif = read_bytes(base + "0.tif");
    const std::uint32_t ifd = v3d::le32(&tif[4]);
    ASSERT_EQ(v3d::le16(&tif[ifd + 2]), 256u);
    tif[ifd + 2 + 8] = 0xa0;
    tif[ifd + 2 + 9] = 0x86;
    tif[ifd + 2 + 10] = 0x01;
    EXPECT_EQ(v3d::decode_tiff(tif.data(), tif.size(), &h, nullptr), -1000);
}

}  // namespace

namespace {

// A GIF of several images over a 4x2 screen with a 4-entry grey table (index i shows i * 80):
// each image covers the screen with one index, after a graphic control extension.
Bytes animated_gif(const std::vector<int>& indices) {
    Bytes g = {'G', 'I', 'F', '8', '9', 'a', 4, 0, 2, 0, 0x81, 0, 0};
    for (int i = 0; i < 4; ++i) g.insert(g.end(), 3, static_cast<std::uint8_t>(i * 80));
    for (int index : indices) {
        g.insert(g.end(), {0x21, 0xf9, 4, 4, 0, 0, 0, 0});  // disposal 1, no transparency
        g.insert(g.end(), {0x2c, 0, 0, 0, 0, 4, 0, 2, 0, 0, 2});
        // 3-bit codes, LSB first: clear, then index eight times as literal after clear
        std::vector<int> codes;
        for (int k = 0; k < 8; ++k) codes.insert(codes.end(), {4, index});
        codes.push_back(5);
        Bytes data;
        std::uint32_t acc = 0;
        int bits = 0;
        for (int c : codes) {
            acc |= static_cast<std::uint32_t>(c) << bits;
            for (bits += 3; bits >= 8; bits -= 8, acc >>= 8) data.push_back(acc & 0xff);
        }
        if (bits) data.push_back(acc & 0xff);
        g.push_back(static_cast<std::uint8_t>(data.size()));
        g.insert(g.end(), data.begin(), data.end());
        g.push_back(0);
    }
    g.push_back(0x3b);
    return g;
}

}  // namespace

// Files of several frames, one picture by its own name, and every frame there is.
TEST(ImageSequenceCounting, FramesOfAnimationsFilesAndSeries) {
    const std::string base = t3d::temp_path("anim");
    write_bytes(base + ".gif", animated_gif({1, 2, 3}));  // one file, by its name
    write_bytes(base + "07.gif", animated_gif({3, 0}));   // a series of two files
    write_bytes(base + "08.gif", animated_gif({2, 1}));
    const ImageSequenceFormat* gif = GetImageSequenceFormat(V3D_FORMAT_GIF);
    ImageSequenceInfo info{};
    ASSERT_EQ(gif->check(base.c_str(), 0, -1, "gif", 0, &info), 0);
    EXPECT_EQ(std::vector<int>({info.X, info.Y, info.Z, info.colortype}), (std::vector<int>{4, 2, 3, 1}));
    Loaded skip = load(V3D_FORMAT_GIF, base, 1, -1, "gif", 0);  // the first frame passed over
    ASSERT_EQ(skip.read, 0);
    ASSERT_EQ(skip.info.Z, 2);
    EXPECT_EQ(skip.vol->uc(0, 1, 3), 160);
    EXPECT_EQ(skip.vol->uc(1, 0, 0), 240);
    EXPECT_EQ(gif->check(base.c_str(), 3, -1, "gif", 0, &info), -1002);
    EXPECT_EQ(gif->check(base.c_str(), 0, -1, "gif", 4, &info), -1002);
    // a series counts frames, not files: three frames take both of file 07 and one of 08
    Loaded series = load(V3D_FORMAT_GIF, base, 7, 2, "gif", 3);
    ASSERT_EQ(series.read, 0);
    EXPECT_EQ((std::vector<int>{series.vol->uc(0, 0, 0), series.vol->uc(1, 0, 0), series.vol->uc(2, 1, 2)}),
              (std::vector<int>{240, 0, 160}));
    // count 0: every frame of every file there is, up to the first missing number
    ASSERT_EQ(gif->check(base.c_str(), 7, 2, "gif", 0, &info), 0);
    EXPECT_EQ(info.Z, 4);
    EXPECT_EQ(gif->check(base.c_str(), 6, 2, "gif", 0, &info), -600);
    // writers and raw frames are always numbered
    Vol v(1, 2, 4);
    EXPECT_EQ(SaveGifSequence(v.get(), base.c_str(), 0, -1, "gif", 0), -90);
    ImageSequenceInfo raw{4, 2, 0, 1, 1, 0};
    EXPECT_EQ(GetImageSequenceFormat(V3D_FORMAT_RAW_FRAMES)->check(base.c_str(), 0, -1, "gif", 1, &raw), -90);
}

TEST(ImageSequenceCounting, RawFramesAndVolumesThatTheCheckCounts) {
    const std::string base = t3d::temp_path("rawcount");
    Vol v(5, 3, 4, 1, 2);
    t3d::fill_random(v.get(), 8);
    const ImageSequenceFormat* rgb = GetImageSequenceFormat(V3D_FORMAT_RAW_RGB);
    const ImageSequenceFormat* vol = GetImageSequenceFormat(V3D_FORMAT_RAW_VOLUME);
    ASSERT_EQ(rgb->write(v.get(), base.c_str(), 2, 0, ""), 0);
    ImageSequenceInfo info{4, 3, 0, 1, 2, 0};
    ASSERT_EQ(rgb->check(base.c_str(), 2, 0, "", 0, &info), 0);
    EXPECT_EQ(info.Z, 5);
    ASSERT_EQ(vol->write(v.get(), base.c_str(), 0, 0, "vol"), 0);
    std::ofstream(base + ".vol", std::ios::app) << "1234567";  // a remainder is left unread
    info = {4, 3, 0, 1, 2, 0};
    ASSERT_EQ(vol->check(base.c_str(), 0, 0, "vol", 0, &info), 0);
    EXPECT_EQ(info.Z, 5);
    info = {4, 3, 0, 1, 1, 0};  // read as one channel, skipping 4 frames: 15 - 4
    ASSERT_EQ(vol->check(base.c_str(), 4, 0, "vol", 0, &info), 0);
    EXPECT_EQ(info.Z, 11);
    info = {4, 3, 0, 1, 1, 0};
    EXPECT_EQ(vol->check(base.c_str(), 15, 0, "vol", 0, &info), -601);
}

// What a volume of the wrong type cannot take is refused before anything is written.
TEST(ImageSequenceCounting, SampleKindsNeedTheirDataTypes) {
    v3d::ImageHeader h;
    h.width = 2, h.height = 1;
    Vol uc(1, 1, 2, 1), i(1, 1, 2, 4), f(1, 1, 2, 2);
    const struct { v3d::SampleKind kind; int uc, i, f; } kinds[] = {
        {v3d::SampleKind::Unsigned, 0, 0, 0},
        {v3d::SampleKind::Signed, -1004, 0, 0},
        {v3d::SampleKind::Float, -1003, -1003, 0}};
    for (const auto& k : kinds) {
        h.kind = k.kind;
        EXPECT_EQ(v3d::VolumeSink(uc.get(), 0).begin(h), k.uc);
        EXPECT_EQ(v3d::VolumeSink(i.get(), 0).begin(h), k.i);
        EXPECT_EQ(v3d::VolumeSink(f.get(), 0).begin(h), k.f);
    }
    h.kind = v3d::SampleKind::Signed;  // signed samples as they are
    v3d::VolumeSink sink(i.get(), 0);
    ASSERT_EQ(sink.begin(h), 0);
    const v3d::Sample row[2] = {-1024.0f, 3071.0f};
    sink.row(0, row);
    EXPECT_EQ(std::vector<int>({i.i(0, 0, 0), i.i(0, 0, 1)}), (std::vector<int>{-1024, 3071}));
}

// Variants no tool at hand writes: a RLE4 bitmap (runs, an absolute run, a delta) and a 16-bit
// Targa (5-bit channels scaled by 255 / 31).
TEST(ImageSequenceHandMade, Rle4BitmapAndSixteenBitTarga) {
    Bytes bmp = {'B', 'M', 0, 0, 0, 0, 0, 0, 0, 0};
    v3d::put_le32(bmp, 14 + 40 + 64);  // pixel data after the 16-entry palette
    v3d::put_le32(bmp, 40);
    v3d::put_le32(bmp, 6);
    v3d::put_le32(bmp, 2);
    v3d::put_le16(bmp, 1);
    v3d::put_le16(bmp, 4);
    v3d::put_le32(bmp, 2);  // RLE4
    for (int i = 0; i < 5; ++i) v3d::put_le32(bmp, i == 3 ? 16 : 0);
    for (int i = 0; i < 16; ++i) bmp.insert(bmp.end(), {static_cast<std::uint8_t>(i * 17), static_cast<std::uint8_t>(i * 17),
                                                       static_cast<std::uint8_t>(i * 17), 0});
    bmp.insert(bmp.end(), {5, 0x12, 0, 3, 0x34, 0x50, 0, 0,   // bottom row: 1 2 1 2 1, then 3 (4 5 cut)
                           0, 2, 2, 0, 4, 0xab, 0, 0, 0, 1});  // top row: two skipped, a b a b
    struct Rows : v3d::RowSink {
        std::vector<std::vector<int>> rows = std::vector<std::vector<int>>(2);
        int colour = 0;
        int begin(const v3d::ImageHeader& h) override {
            colour = h.colour;
            return 0;
        }
        void row(int y, const v3d::Sample* s) override { rows[y].assign(s, s + (colour == 1 ? 6 : 9)); }
    } sink;
    ASSERT_EQ(v3d::decode_bmp(bmp.data(), bmp.size(), nullptr, &sink), 0);
    EXPECT_EQ(sink.colour, 1);
    EXPECT_EQ(sink.rows[1], (std::vector<int>{17, 34, 17, 34, 17, 51}));
    EXPECT_EQ(sink.rows[0], (std::vector<int>{0, 0, 170, 187, 170, 187}));

    Bytes tga(18, 0);
    tga[2] = 2;
    tga[12] = 3;
    tga[14] = 1;
    tga[16] = 16;
    tga[17] = 0x20;  // top-down
    for (unsigned px : {0x7fffu, 0x001fu, 0x4210u}) v3d::put_le16(tga, px);
    Rows colour;
    ASSERT_EQ(v3d::decode_tga(tga.data(), tga.size(), nullptr, &colour), 0);
    EXPECT_EQ(colour.colour, 2);
    EXPECT_EQ(std::vector<int>(colour.rows[0].begin(), colour.rows[0].end()),
              (std::vector<int>{255, 255, 255, 0, 0, 255, 131, 131, 131}));
    tga[16] = 8;  // 8-bit true colour: a depth the reader does not know
    EXPECT_EQ(v3d::decode_tga(tga.data(), tga.size(), nullptr, nullptr), -1022);
}
