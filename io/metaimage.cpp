// MetaImage files, read and written by our own code: a text header of "Key = Value" lines that
// ends with ElementDataFile, then the data in the same file (.mha, "LOCAL") or in one file
// beside the header (.mhd with .raw or .zraw), raw or deflated with zlib. Lists and numbered
// patterns of data files and text data are refused as malformed headers.
//
// ElementSpacing gives x, y, z; TransformMatrix (also Rotation or Orientation) gives the
// direction of axis i in its i-th triple and Offset (also Position or Origin) the place of the
// first voxel, both in the left-posterior-superior world of the toolkits that write the format:
// the volume's affine (right-anterior-superior) negates their first two rows.
#include <zlib.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "io/volume_files.h"

namespace v3d {
namespace {

// A header longer than this is not one.
constexpr std::size_t kMaxHeaderBytes = 1 << 16;

struct FileCloser {
    void operator()(std::FILE* f) const { std::fclose(f); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

// What a header says beyond the grid: where the data is and how it is stored.
struct Header {
    FileGrid grid;
    std::string data_file;       // empty: the data follows the header (LOCAL)
    long long data_offset = 0;   // bytes into the data file (LOCAL: the header's length)
    bool header_size_from_end = false;  // HeaderSize = -1: the data is the file's last bytes
    bool compressed = false;
    long long compressed_size = -1;
};

long long position_of(std::FILE* f) {
#if defined(_WIN32)
    return _ftelli64(f);
#else
    return ftello(f);
#endif
}

std::string trimmed(const std::string& s) {
    const std::size_t a = s.find_first_not_of(" \t\r"), b = s.find_last_not_of(" \t\r");
    return a == std::string::npos ? "" : s.substr(a, b - a + 1);
}

bool equal_nocase(const std::string& a, const char* b) {
    if (a.size() != std::strlen(b)) return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}

// Exactly n numbers separated by blanks.
bool numbers(const std::string& text, int n, double* out) {
    const char* p = text.c_str();
    for (int i = 0; i < n; ++i) {
        char* end = nullptr;
        out[i] = std::strtod(p, &end);
        if (end == p || !std::isfinite(out[i])) return false;
        p = end;
    }
    while (*p == ' ' || *p == '\t') ++p;
    return *p == '\0';
}

bool truth(const std::string& v, bool* out) {
    if (equal_nocase(v, "true") || v == "1") return *out = true, true;
    if (equal_nocase(v, "false") || v == "0") return *out = false, true;
    return false;
}

int sample_of_element(const std::string& v) {
    static const struct {
        const char* name;
        int sample;
    } kTypes[] = {{"MET_UCHAR", V3D_SAMPLE_U8},  {"MET_CHAR", V3D_SAMPLE_S8},   {"MET_USHORT", V3D_SAMPLE_U16},
                  {"MET_SHORT", V3D_SAMPLE_S16}, {"MET_UINT", V3D_SAMPLE_U32},  {"MET_INT", V3D_SAMPLE_S32},
                  {"MET_FLOAT", V3D_SAMPLE_F32}, {"MET_DOUBLE", V3D_SAMPLE_F64}};
    for (const auto& t : kTypes)
        if (v == t.name) return t.sample;
    return 0;
}

const char* element_of_sample(int sample) {
    switch (sample) {
    case V3D_SAMPLE_U16: return "MET_USHORT";
    case V3D_SAMPLE_S16: return "MET_SHORT";
    case V3D_SAMPLE_S32: return "MET_INT";
    case V3D_SAMPLE_F32: return "MET_FLOAT";
    default: return "MET_UCHAR";
    }
}

// The keys of a header, collected before they are interpreted (their order is free but for
// ElementDataFile, which ends the header).
struct Fields {
    int ndims = 0;
    double dims[4] = {}, spacing[4] = {1, 1, 1, 1}, offset[4] = {}, matrix[16] = {};
    bool has_offset = false, has_matrix = false, has_spacing = false;
    int sample = 0, channels = 1;
    bool big_endian = false, compressed = false, binary = true;
    long long header_size = 0, compressed_size = -1;
    std::string element_type, data_file;
};

int read_field(Fields& f, const std::string& key, const std::string& v) {
    double n = 0;
    if (equal_nocase(key, "ObjectType")) return equal_nocase(v, "Image") ? kOk : kMetaImageFile;
    if (equal_nocase(key, "NDims")) {
        if (!numbers(v, 1, &n) || n < 1 || n > 4 || n != std::floor(n)) return kFileGrid;
        f.ndims = static_cast<int>(n);
        return kOk;
    }
    if (f.ndims == 0 && (equal_nocase(key, "DimSize") || equal_nocase(key, "ElementSpacing") ||
                         equal_nocase(key, "ElementSize") || equal_nocase(key, "Offset") ||
                         equal_nocase(key, "Position") || equal_nocase(key, "Origin") ||
                         equal_nocase(key, "TransformMatrix") || equal_nocase(key, "Rotation") ||
                         equal_nocase(key, "Orientation")))
        return kMetaImageFile;  // NDims must come first
    if (equal_nocase(key, "DimSize")) return numbers(v, f.ndims, f.dims) ? kOk : kMetaImageFile;
    if (equal_nocase(key, "ElementSpacing") || (equal_nocase(key, "ElementSize") && !f.has_spacing)) {
        f.has_spacing = f.has_spacing || equal_nocase(key, "ElementSpacing");
        return numbers(v, f.ndims, f.spacing) ? kOk : kMetaImageFile;
    }
    if (equal_nocase(key, "Offset") || equal_nocase(key, "Position") || equal_nocase(key, "Origin")) {
        f.has_offset = true;
        return numbers(v, f.ndims, f.offset) ? kOk : kMetaImageFile;
    }
    if (equal_nocase(key, "TransformMatrix") || equal_nocase(key, "Rotation") || equal_nocase(key, "Orientation")) {
        f.has_matrix = true;
        return numbers(v, f.ndims * f.ndims, f.matrix) ? kOk : kMetaImageFile;
    }
    if (equal_nocase(key, "ElementType")) {
        f.element_type = v;
        f.sample = sample_of_element(v);
        return kOk;
    }
    if (equal_nocase(key, "ElementNumberOfChannels")) {
        if (!numbers(v, 1, &n) || n < 1 || n > 1024) return kMetaImageFile;
        f.channels = static_cast<int>(n);
        return kOk;
    }
    if (equal_nocase(key, "BinaryDataByteOrderMSB") || equal_nocase(key, "ElementByteOrderMSB"))
        return truth(v, &f.big_endian) ? kOk : kMetaImageFile;
    if (equal_nocase(key, "BinaryData")) return truth(v, &f.binary) ? kOk : kMetaImageFile;
    if (equal_nocase(key, "CompressedData")) return truth(v, &f.compressed) ? kOk : kMetaImageFile;
    if (equal_nocase(key, "CompressedDataSize") || equal_nocase(key, "HeaderSize")) {
        if (!numbers(v, 1, &n) || n < -1 || n > 9.0e15 || n != std::floor(n)) return kMetaImageFile;
        (equal_nocase(key, "HeaderSize") ? f.header_size : f.compressed_size) = static_cast<long long>(n);
        return kOk;
    }
    return kOk;  // keys we do not need (AnatomicalOrientation, CenterOfRotation, comments ...)
}

// The folder part of a header's path, with its separator ("" for none).
std::string folder_of(const char* path) {
    const std::string p(path);
    const std::size_t slash = p.find_last_of("/\\");
    return slash == std::string::npos ? "" : p.substr(0, slash + 1);
}

void geometry_of(const Fields& f, FileGrid* g) {
    const int n = f.ndims < 3 ? f.ndims : 3;
    for (int k = 0; k < n; ++k)
        if (std::fabs(f.spacing[k]) > 0.0) g->spacing[2 - k] = std::fabs(f.spacing[k]);
    if (f.ndims < 3 || !f.has_matrix) return;
    g->oriented = true;
    g->orientation.qform_code = g->orientation.sform_code = 1;
    static const double kToRas[3] = {-1.0, -1.0, 1.0};
    for (int r = 0; r < 3; ++r) {
        for (int k = 0; k < 3; ++k)
            g->orientation.affine[r][k] = kToRas[r] * f.matrix[k * f.ndims + r] * f.spacing[k];
        g->orientation.affine[r][3] = kToRas[r] * (f.has_offset ? f.offset[r] : 0.0);
    }
}

int header_of(const Fields& f, const char* path, long long header_end, Header* h) {
    if (f.ndims == 0 || f.data_file.empty() || !f.binary) return kMetaImageFile;
    if (!f.sample) return f.element_type.empty() ? kMetaImageFile : kFileSampleType;
    FileGrid& g = h->grid;
    if (f.channels == 3 && f.sample == V3D_SAMPLE_U8) g.sample = V3D_SAMPLE_RGB24;
    else if (f.channels == 1) g.sample = f.sample;
    else return kFileSampleType;
    long long* extent[4] = {&g.X, &g.Y, &g.Z, &g.T};
    for (int k = 0; k < f.ndims; ++k) {
        if (f.dims[k] < 1 || f.dims[k] > 1e12 || f.dims[k] != std::floor(f.dims[k])) return kFileGrid;
        *extent[k] = static_cast<long long>(f.dims[k]);
    }
    g.big_endian = f.big_endian;
    geometry_of(f, &g);
    h->compressed = f.compressed;
    h->compressed_size = f.compressed_size;
    if (equal_nocase(f.data_file, "LOCAL")) {
        h->data_offset = header_end;
        return kOk;
    }
    // one file beside the header: not a list, not a numbered pattern
    if (equal_nocase(f.data_file, "LIST") || f.data_file.find('%') != std::string::npos ||
        f.data_file.find(' ') != std::string::npos)
        return kMetaImageFile;
    const bool absolute = f.data_file[0] == '/' || (f.data_file.size() > 1 && f.data_file[1] == ':');
    h->data_file = absolute ? f.data_file : folder_of(path) + f.data_file;
    h->header_size_from_end = f.header_size == -1;
    h->data_offset = f.header_size > 0 ? f.header_size : 0;
    return kOk;
}

// Reads the header lines of path up to ElementDataFile.
int parse(const char* path, Header* h) {
    File file(std::fopen(path, "rb"));
    if (!file) return kFopen;
    std::vector<char> text(kMaxHeaderBytes);
    const std::size_t n = std::fread(text.data(), 1, text.size(), file.get());
    Fields f;
    std::size_t at = 0;
    while (at < n) {
        const void* nl = std::memchr(text.data() + at, '\n', n - at);
        if (!nl) return kMetaImageFile;  // no line ends within the header's room
        const std::size_t end = static_cast<const char*>(nl) - text.data();
        const std::string line(text.data() + at, end - at);
        at = end + 1;
        const std::size_t eq = line.find('=');
        if (eq == std::string::npos) {
            if (trimmed(line).empty()) continue;
            return kMetaImageFile;
        }
        const std::string key = trimmed(line.substr(0, eq)), value = trimmed(line.substr(eq + 1));
        if (equal_nocase(key, "ElementDataFile")) {
            f.data_file = value;
            if (value.empty()) return kMetaImageFile;
            return header_of(f, path, static_cast<long long>(at), h);
        }
        V3D_CHECK(read_field(f, key, value));
    }
    return kMetaImageFile;
}

int metaimage_header(const char* path, FileGrid* g) {
    Header h;
    V3D_CHECK(parse(path, &h));
    *g = h.grid;
    return kOk;
}

// The data's file, at the first byte of the data.
int open_data(const Header& h, const char* path, std::size_t data_bytes, File* out) {
    const std::string name = h.data_file.empty() ? std::string(path) : h.data_file;
    File f(std::fopen(name.c_str(), "rb"));
    if (!f) return kFopen;
    long long offset = h.data_offset;
    if (h.header_size_from_end) {
        const long long length = bytes_left(f.get());
        if (length < 0 || static_cast<unsigned long long>(length) < data_bytes) return kFread;
        offset = length - static_cast<long long>(data_bytes);
    }
    if (!seek_from_start(f.get(), offset)) return kFread;
    *out = std::move(f);
    return kOk;
}

// Inflates the zlib stream of f into out (exactly bytes), reading at most limit compressed
// bytes (-1: to the end of the file).
class Inflater {
public:
    explicit Inflater(std::FILE* f, long long limit) : f_(f), left_(limit) {}
    ~Inflater() {
        if (started_) inflateEnd(&z_);
    }
    int fill(unsigned char* out, std::size_t bytes) {
        if (!started_) {
            if (inflateInit(&z_) != Z_OK) return kNoBuffer;
            started_ = true;
        }
        while (bytes > 0) {
            if (z_.avail_in == 0) V3D_CHECK(refill());
            const uInt chunk = static_cast<uInt>(std::min<std::size_t>(bytes, 1u << 30));
            z_.next_out = out;
            z_.avail_out = chunk;
            const int r = inflate(&z_, Z_NO_FLUSH);
            const std::size_t made = chunk - z_.avail_out;
            out += made, bytes -= made;
            if (r == Z_STREAM_END && bytes > 0) return kFread;
            if (r != Z_OK && r != Z_STREAM_END && r != Z_BUF_ERROR) return r == Z_MEM_ERROR ? kNoBuffer : kFread;
            if (r == Z_BUF_ERROR && z_.avail_in > 0) return kFread;
        }
        return kOk;
    }

private:
    int refill() {
        std::size_t want = sizeof in_;
        if (left_ >= 0 && static_cast<unsigned long long>(left_) < want) want = static_cast<std::size_t>(left_);
        const std::size_t got = want ? std::fread(in_, 1, want, f_) : 0;
        if (got == 0) return kFread;
        if (left_ >= 0) left_ -= static_cast<long long>(got);
        z_.next_in = in_;
        z_.avail_in = static_cast<uInt>(got);
        return kOk;
    }
    std::FILE* f_;
    long long left_;
    z_stream z_{};
    bool started_ = false;
    unsigned char in_[1 << 16];
};

int metaimage_data(const char* path, const FileGrid& g, int t0, int t1, TimePointSink& sink) {
    Header h;
    V3D_CHECK(parse(path, &h));
    std::size_t bytes = 0, all = 0;
    if (!time_point_bytes(g, &bytes) || !checked_product(&all, {static_cast<long long>(bytes), g.T}))
        return kFileGrid;
    auto buffer = make_io_buffer<unsigned char>(bytes);
    if (!buffer) return kNoBuffer;
    File f;
    V3D_CHECK(open_data(h, path, h.compressed ? 0 : all, &f));
    const int size = g.sample == V3D_SAMPLE_RGB24 ? 1 : sample_bytes(g.sample);
    const bool swap = g.big_endian != machine_is_big_endian();
    std::unique_ptr<Inflater> inflater;
    if (h.compressed) {
        inflater.reset(new (std::nothrow) Inflater(f.get(), h.compressed_size));
        if (!inflater) return kNoBuffer;
    } else if (!seek_from_start(f.get(), position_of(f.get()) + static_cast<long long>(bytes) * t0)) {
        return kFread;
    }
    for (int t = h.compressed ? 0 : t0; t <= t1; ++t) {
        if (h.compressed) V3D_CHECK(inflater->fill(buffer.get(), bytes));
        else if (std::fread(buffer.get(), 1, bytes, f.get()) != bytes) return kFread;
        if (t < t0) continue;  // a deflated stream is read from its start
        if (swap) swap_samples(buffer.get(), bytes / size, size);
        V3D_CHECK(sink.take(t, buffer.get()));
    }
    return kOk;
}

// ---- writing -------------------------------------------------------------------------------

std::string number(double v) {
    char text[64];
    std::snprintf(text, sizeof text, "%.17g", v + 0.0);  // + 0.0: no "-0"
    return text;
}

std::string header_text(const FileGrid& g, const std::string& data_file, bool compressed,
                        std::size_t compressed_size) {
    std::string h = "ObjectType = Image\nNDims = 3\nBinaryData = True\n";
    h += std::string("BinaryDataByteOrderMSB = ") + (machine_is_big_endian() ? "True" : "False") + "\n";
    h += std::string("CompressedData = ") + (compressed ? "True" : "False") + "\n";
    if (compressed) h += "CompressedDataSize = " + std::to_string(compressed_size) + "\n";
    if (g.oriented) {
        // direction cosines and offset in the left-posterior-superior world of the format
        static const double kFromRas[3] = {-1.0, -1.0, 1.0};
        std::string matrix, offset;
        for (int k = 0; k < 3; ++k) {
            const auto& a = g.orientation.affine;
            const double norm = std::hypot(a[0][k], a[1][k], a[2][k]);  // the spacing along axis k
            const double length = norm > 0.0 ? norm : 1.0;
            for (int r = 0; r < 3; ++r)
                matrix += (matrix.empty() ? "" : " ") + number(kFromRas[r] * g.orientation.affine[r][k] / length);
            offset += (k ? " " : "") + number(kFromRas[k] * g.orientation.affine[k][3]);
        }
        h += "TransformMatrix = " + matrix + "\nOffset = " + offset + "\n";
    }
    h += "ElementSpacing = " + number(g.spacing[2]) + " " + number(g.spacing[1]) + " " + number(g.spacing[0]) + "\n";
    h += "DimSize = " + std::to_string(g.X) + " " + std::to_string(g.Y) + " " + std::to_string(g.Z) + "\n";
    if (g.sample == V3D_SAMPLE_RGB24) h += "ElementNumberOfChannels = 3\n";
    h += std::string("ElementType = ") + element_of_sample(g.sample) + "\n";
    h += "ElementDataFile = " + data_file + "\n";
    return h;
}

int write_all(const std::string& name, const std::string& header, const unsigned char* data,
              std::size_t bytes) {
    std::FILE* f = std::fopen(name.c_str(), "wb");
    if (!f) return kFopen;
    bool ok = std::fwrite(header.data(), 1, header.size(), f) == header.size();
    ok = ok && (bytes == 0 || std::fwrite(data, 1, bytes, f) == bytes);
    return std::fclose(f) == 0 && ok ? kOk : kFwrite;
}

int metaimage_write(Volume* vol, const char* path, int compress) {
    V3D_CHECK(CheckVolume(vol, kAnyType, kAnyColor));
    const bool detached = path && ends_with(path, ".mhd");
    if (!path || compress < 0 || compress > 1 || (!detached && !ends_with(path, ".mha"))) return kInvalidParams;
    const FileGrid g = grid_to_write(vol);
    std::size_t bytes = 0;
    auto data = pack_volume(vol, g, &bytes);
    if (!data) return kNoBuffer;
    std::unique_ptr<unsigned char[]> packed;
    const unsigned char* out = data.get();
    std::size_t out_bytes = bytes;
    if (compress) {
        uLongf size = compressBound(static_cast<uLong>(bytes));
        packed = make_io_buffer<unsigned char>(size);
        if (!packed) return kNoBuffer;
        if (bytes > 0xffffffffu || ::compress(packed.get(), &size, data.get(), static_cast<uLong>(bytes)) != Z_OK)
            return kNoBuffer;
        out = packed.get(), out_bytes = size;
    }
    const std::string name(path);
    if (!detached) return write_all(name, header_text(g, "LOCAL", compress, out_bytes), out, out_bytes);
    const std::string stem = name.substr(0, name.size() - 4), data_name = stem + (compress ? ".zraw" : ".raw");
    const std::size_t slash = data_name.find_last_of("/\\");
    V3D_CHECK(write_all(data_name, "", out, out_bytes));
    const std::string local = slash == std::string::npos ? data_name : data_name.substr(slash + 1);
    return write_all(name, header_text(g, local, compress, out_bytes), nullptr, 0);
}

}  // namespace

const VolumeFileOps kMetaImageOps = {kMetaImageFile, metaimage_header, metaimage_data, metaimage_write};

}  // namespace v3d

extern "C" int SaveMetaImageVolume(Volume* vol, const char* path, int compress) {
    return v3d::without_throwing([&]() -> int { return v3d::metaimage_write(vol, path, compress); });
}
