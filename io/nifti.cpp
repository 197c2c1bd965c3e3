// NIfTI-1 and NIfTI-2 files through the NIfTI C library (nifti2_io): .nii and .nii.gz, and
// .hdr/.img pairs (gzipped too; Analyze headers as pairs). The library converts the headers of
// both versions (swapping big-endian ones), builds the header we write (quaternion and sform
// included), swaps voxels and reads and writes through its znz layer; we name the files and
// move the bytes ourselves, one time point at a time, so that a file is never looked up under
// another name and every short read or write is a status rather than a message on stderr.
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "io/volume_files.h"
#include "nifti2_io.h"

namespace v3d {
namespace {

struct NiftiFree {
    void operator()(nifti_image* n) const { nifti_image_free(n); }
};
using Nifti = std::unique_ptr<nifti_image, NiftiFree>;

struct ZnzCloser {
    void operator()(znzptr* f) const {
        znzFile file = f;
        znzclose(file);
    }
};
using ZnzOwner = std::unique_ptr<znzptr, ZnzCloser>;

// The library reports trouble on stderr when its debug level asks for it; ours speak through
// statuses.
void quiet() {
    static const bool done = [] {
        nifti_set_debug_level(0);
        return true;
    }();
    (void)done;
}

int sample_of_datatype(int datatype) {
    switch (datatype) {
    case DT_UINT8: return V3D_SAMPLE_U8;
    case DT_INT8: return V3D_SAMPLE_S8;
    case DT_UINT16: return V3D_SAMPLE_U16;
    case DT_INT16: return V3D_SAMPLE_S16;
    case DT_UINT32: return V3D_SAMPLE_U32;
    case DT_INT32: return V3D_SAMPLE_S32;
    case DT_FLOAT32: return V3D_SAMPLE_F32;
    case DT_FLOAT64: return V3D_SAMPLE_F64;
    case DT_RGB24: return V3D_SAMPLE_RGB24;
    default: return 0;  // complex, 64-bit integers, RGBA, binary: not ours
    }
}

int datatype_of_sample(int sample) {
    switch (sample) {
    case V3D_SAMPLE_U16: return DT_UINT16;
    case V3D_SAMPLE_S16: return DT_INT16;
    case V3D_SAMPLE_S32: return DT_INT32;
    case V3D_SAMPLE_F32: return DT_FLOAT32;
    case V3D_SAMPLE_RGB24: return DT_RGB24;
    default: return DT_UINT8;
    }
}

// Millimetres per unit of the header's spatial unit (unknown counts as millimetres).
double millimetres_per_unit(int xyz_units) {
    switch (xyz_units) {
    case NIFTI_UNITS_METER: return 1000.0;
    case NIFTI_UNITS_MICRON: return 0.001;
    default: return 1.0;
    }
}

double spacing_of(double pixdim, double unit) {
    const double s = std::fabs(pixdim) * unit;
    return std::isfinite(s) && s > 0.0 ? s : 1.0;
}

// The affine a reader of the header takes: the sform when its code is set, else the qform.
void orientation_of(const nifti_image& n, double unit, FileGrid* g) {
    const nifti_dmat44* m = n.sform_code > 0 ? &n.sto_xyz : n.qform_code > 0 ? &n.qto_xyz : nullptr;
    if (!m) return;
    g->oriented = true;
    g->orientation.qform_code = n.qform_code;
    g->orientation.sform_code = n.sform_code;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 4; ++c) g->orientation.affine[r][c] = m->m[r][c] * unit;
}

int grid_of(const nifti_image& n, FileGrid* g) {
    if (n.nu > 1 || n.nv > 1 || n.nw > 1) return kFileGrid;  // vectors, tensors, a fifth axis
    if (n.nx < 1 || n.ny < 1) return kNiftiFile;
    // the extents beyond the header's dimension count may be 0: they count as 1
    g->X = n.nx, g->Y = n.ny, g->Z = std::max<int64_t>(n.nz, 1), g->T = std::max<int64_t>(n.nt, 1);
    g->sample = sample_of_datatype(n.datatype);
    if (!g->sample) return kFileSampleType;
    // a slope of 0 (or not a number) means no scaling, as every reader of the format takes it
    const bool slope_set = std::isfinite(n.scl_slope) && n.scl_slope != 0.0;
    const double inter = std::isfinite(n.scl_inter) ? n.scl_inter : 0.0;
    g->scaled = slope_set && g->sample != V3D_SAMPLE_RGB24 && (n.scl_slope != 1.0 || inter != 0.0);
    if (g->scaled) g->slope = n.scl_slope, g->inter = inter;
    const double unit = millimetres_per_unit(XYZT_TO_SPACE(n.xyz_units));
    g->spacing[0] = spacing_of(n.dz, unit);
    g->spacing[1] = spacing_of(n.dy, unit);
    g->spacing[2] = spacing_of(n.dx, unit);
    orientation_of(n, unit, g);
    return kOk;
}

// "a.hdr" -> "a.img" (gzipped or not), and the other way round; "" when path is neither.
std::string partner(const std::string& path, const char* from, const char* to) {
    const bool gz = ends_with(path.c_str(), ".gz");
    const std::string stem = gz ? path.substr(0, path.size() - 3) : path;
    if (!ends_with(stem.c_str(), from)) return "";
    return stem.substr(0, stem.size() - 4) + to + (gz ? ".gz" : "");
}

void replace_name(char*& field, const std::string& name) {
    std::free(field);
    field = nifti_strdup(name.c_str());
}

template <class T> T swapped(T v) {
    unsigned char b[sizeof v];
    std::memcpy(b, &v, sizeof v);
    std::reverse(b, b + sizeof v);
    std::memcpy(&v, b, sizeof v);
    return v;
}

// The library takes the dimension count of a header as an index into its arrays, and reports
// an unknown voxel type or an empty first axis on stderr: a header whose count is not 1..7,
// whose type it does not know or whose first extent is below 1 (in the header's byte order)
// never reaches it.
template <class Header> bool fit_for_library(const Header& h, int size) {
    const bool swap = h.sizeof_hdr != size;
    if (swap && swapped(h.sizeof_hdr) != size) return false;
    const auto rank = swap ? swapped(h.dim[0]) : h.dim[0];
    const auto first = swap ? swapped(h.dim[1]) : h.dim[1];
    const auto datatype = swap ? swapped(h.datatype) : h.datatype;
    return rank >= 1 && rank <= 7 && first >= 1 && nifti_is_valid_datatype(datatype);
}

// The image record of exactly the file named: its header read through znz and converted by
// the library (which also swaps a big-endian one), the voxels in this file after the header
// or, for a pair (and an Analyze header), in the .img beside the .hdr. The library's own
// nifti_image_read picks among .hdr, .nii and .gz names of its choosing, which goes wrong when
// a pair and a single file share a base name.
int open_image(const char* path, Nifti* out) {
    quiet();
    const std::string image_of_img = partner(path, ".img", ".hdr");
    const std::string header = image_of_img.empty() ? std::string(path) : image_of_img;
    ZnzOwner f(znzopen(header.c_str(), "rb", ends_with(header.c_str(), ".gz")));
    if (!f) return kFopen;
    unsigned char bytes[sizeof(nifti_2_header)] = {};
    const std::size_t n = znzread(bytes, 1, sizeof bytes, f.get());
    const int version = nifti_header_version(reinterpret_cast<const char*>(bytes), n);
    Nifti nim;
    if ((version == 0 || version == 1) && n >= sizeof(nifti_1_header)) {
        nifti_1_header h;
        std::memcpy(&h, bytes, sizeof h);
        if (fit_for_library(h, static_cast<int>(sizeof h))) nim.reset(nifti_convert_n1hdr2nim(h, header.c_str()));
    } else if (version == 2 && n >= sizeof(nifti_2_header)) {
        nifti_2_header h;
        std::memcpy(&h, bytes, sizeof h);
        if (fit_for_library(h, static_cast<int>(sizeof h))) nim.reset(nifti_convert_n2hdr2nim(h, header.c_str()));
    }
    if (!nim) return kNiftiFile;
    const bool single = nim->nifti_type == NIFTI_FTYPE_NIFTI1_1 || nim->nifti_type == NIFTI_FTYPE_NIFTI2_1;
    const std::string image = single ? header : partner(header, ".hdr", ".img");
    if (image.empty()) return kNiftiFile;
    replace_name(nim->fname, header);
    replace_name(nim->iname, image);
    if (!nim->fname || !nim->iname) return kNoBuffer;
    // the voxels of a single file follow the header and the four bytes of its extension flags
    const int64_t least = static_cast<int64_t>(version == 2 ? sizeof(nifti_2_header) : sizeof(nifti_1_header)) + 4;
    if (single && nim->iname_offset < least) nim->iname_offset = least;
    if (nim->iname_offset < 0) return kNiftiFile;
    *out = std::move(nim);
    return kOk;
}

int nifti_header(const char* path, FileGrid* g) {
    Nifti n;
    V3D_CHECK(open_image(path, &n));
    return grid_of(*n, g);
}

int nifti_data(const char* path, const FileGrid& g, int t0, int t1, TimePointSink& sink) {
    std::size_t bytes = 0;
    if (!time_point_bytes(g, &bytes)) return kFileGrid;
    auto buffer = make_io_buffer<unsigned char>(bytes);
    if (!buffer) return kNoBuffer;
    Nifti n;
    V3D_CHECK(open_image(path, &n));
    // read here rather than by the library's loaders, which look the file up by name again
    ZnzOwner f(znzopen(n->iname, "rb", ends_with(n->iname, ".gz")));
    if (!f) return kFopen;
    const bool swap = n->byteorder != nifti_short_order() && n->swapsize > 1;
    for (int t = t0; t <= t1; ++t) {
        std::uint64_t at = 0;
        if (!checked_product(&at, {static_cast<long long>(bytes), t}) ||
            at > static_cast<std::uint64_t>(INT64_MAX - n->iname_offset) ||
            znzseek(f.get(), static_cast<znz_off_t>(n->iname_offset + static_cast<int64_t>(at)), SEEK_SET) < 0 ||
            znzread(buffer.get(), 1, bytes, f.get()) != bytes)
            return kFread;
        if (swap) nifti_swap_Nbytes(static_cast<int64_t>(bytes / n->swapsize), n->swapsize, buffer.get());
        V3D_CHECK(sink.take(t, buffer.get()));
    }
    return kOk;
}

// ---- writing -------------------------------------------------------------------------------

struct Names {
    std::string header, image;  // image empty for a single .nii file
    bool gzip = false;
};

// .nii and .nii.gz are one file; .hdr and .img (gzipped or not) name a pair.
bool names_of(const char* path, Names* names) {
    const std::string p(path);
    names->gzip = ends_with(path, ".gz");
    const std::string stem = names->gzip ? p.substr(0, p.size() - 3) : p;
    const std::string gz = names->gzip ? ".gz" : "";
    if (ends_with(stem.c_str(), ".nii")) {
        names->header = p;
        return true;
    }
    if (!ends_with(stem.c_str(), ".hdr") && !ends_with(stem.c_str(), ".img")) return false;
    const std::string bare = stem.substr(0, stem.size() - 4);
    names->header = bare + ".hdr" + gz;
    names->image = bare + ".img" + gz;
    return true;
}

nifti_dmat44 matrix_of(const VolumeOrientation& o) {
    nifti_dmat44 m{};
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 4; ++c) m.m[r][c] = o.affine[r][c];
    m.m[3][3] = 1.0;
    return m;
}

// The image record of vol's header: grid, voxel type, spacing in millimetres, and the
// orientation as sform and quaternion with their codes (an orientation without codes is
// written as scanner-based).
Nifti image_record(Volume* vol, const FileGrid& g, int version, bool pair) {
    const int64_t dims[8] = {3, g.X, g.Y, g.Z, 1, 1, 1, 1};
    Nifti n(nifti_make_new_nim(dims, datatype_of_sample(g.sample), 0));
    if (!n) return n;
    for (int k = 4; k < 8; ++k) n->dim[k] = 1;  // the unused extents are 1, as readers expect
    n->nt = n->nu = n->nv = n->nw = 1;
    n->dx = n->pixdim[1] = g.spacing[2];
    n->dy = n->pixdim[2] = g.spacing[1];
    n->dz = n->pixdim[3] = g.spacing[0];
    n->xyz_units = NIFTI_UNITS_MM;
    n->scl_slope = 1.0, n->scl_inter = 0.0;
    if (g.oriented) {
        const VolumeOrientation& o = g.orientation;
        const bool none = o.qform_code <= 0 && o.sform_code <= 0;
        const nifti_dmat44 m = matrix_of(o);
        if (o.sform_code > 0 || none) {
            n->sform_code = none ? NIFTI_XFORM_SCANNER_ANAT : o.sform_code;
            n->sto_xyz = m;
        }
        if (o.qform_code > 0 || none) {
            n->qform_code = none ? NIFTI_XFORM_SCANNER_ANAT : o.qform_code;
            double dx, dy, dz;
            nifti_dmat44_to_quatern(m, &n->quatern_b, &n->quatern_c, &n->quatern_d, &n->qoffset_x,
                                    &n->qoffset_y, &n->qoffset_z, &dx, &dy, &dz, &n->qfac);
            n->qto_xyz = m;
        }
    }
    std::snprintf(n->descrip, sizeof n->descrip, "%.79s", vol->name);
    n->nifti_type = version == 1 ? (pair ? NIFTI_FTYPE_NIFTI1_2 : NIFTI_FTYPE_NIFTI1_1)
                                 : (pair ? NIFTI_FTYPE_NIFTI2_2 : NIFTI_FTYPE_NIFTI2_1);
    n->iname_offset = pair ? 0 : version == 1 ? 352 : 544;
    return n;
}

bool put(znzFile f, const void* data, std::size_t bytes) {
    return bytes == 0 || znzwrite(data, 1, bytes, f) == bytes;
}

int close_checked(ZnzOwner& f) {
    znzFile file = f.release();
    return Xznzclose(&file) == 0 ? kOk : kFwrite;
}

int write_voxels(Volume* vol, const FileGrid& g, znzFile f) {
    const std::size_t row_bytes = static_cast<std::size_t>(vol->X) * sample_bytes(g.sample);
    auto row = make_io_buffer<unsigned char>(row_bytes);
    if (!row) return kNoBuffer;
    for (int z = 0; z < vol->Z; ++z)
        for (int y = 0; y < vol->Y; ++y) {
            pack_row(vol, z, y, g.sample, row.get());
            if (!put(f, row.get(), row_bytes)) return kFwrite;
        }
    return kOk;
}

int nifti_write(Volume* vol, const char* path, int version) {
    V3D_CHECK(CheckVolume(vol, kAnyType, kAnyColor));
    Names names;
    if (!path || version < 0 || version > 2 || !names_of(path, &names)) return kInvalidParams;
    const FileGrid g = grid_to_write(vol);
    const bool wide = g.X > 32767 || g.Y > 32767 || g.Z > 32767;
    if (version == 0) version = wide ? 2 : 1;
    if (version == 1 && wide) return kInvalidParams;
    quiet();
    Nifti n = image_record(vol, g, version, !names.image.empty());
    if (!n) return kNoBuffer;
    nifti_1_header h1;
    nifti_2_header h2;
    const void* header = version == 1 ? static_cast<const void*>(&h1) : &h2;
    const std::size_t header_bytes = version == 1 ? sizeof h1 : sizeof h2;
    if ((version == 1 ? nifti_convert_nim2n1hdr(n.get(), &h1) : nifti_convert_nim2n2hdr(n.get(), &h2)) != 0)
        return kInvalidParams;
    // where the voxels start: after the header and the four bytes that say "no extensions"
    h1.vox_offset = static_cast<float>(n->iname_offset);
    h2.vox_offset = n->iname_offset;
    ZnzOwner f(znzopen(names.header.c_str(), "wb", names.gzip));
    if (!f) return kFopen;
    if (!put(f.get(), header, header_bytes)) return kFwrite;
    if (names.image.empty()) {
        const char extender[4] = {0, 0, 0, 0};  // no extensions follow
        if (!put(f.get(), extender, sizeof extender)) return kFwrite;
    } else {
        V3D_CHECK(close_checked(f));
        f.reset(znzopen(names.image.c_str(), "wb", names.gzip));
        if (!f) return kFopen;
    }
    V3D_CHECK(write_voxels(vol, g, f.get()));
    return close_checked(f);
}

}  // namespace

const VolumeFileOps kNiftiOps = {kNiftiFile, nifti_header, nifti_data, nifti_write};

}  // namespace v3d

extern "C" int SaveNiftiVolume(Volume* vol, const char* path, int version) {
    return v3d::without_throwing([&]() -> int { return v3d::nifti_write(vol, path, version); });
}
