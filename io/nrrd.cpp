// NRRD files through Teem's nrrd library: attached (.nrrd) or detached (.nhdr beside its data),
// raw or gzip encoded (ascii, hex and bzip2 as far as the installed Teem reads them). Teem
// parses the header, follows detached data files, decompresses and swaps the bytes; we read
// the header alone first, so that a grid beyond our limits is refused before Teem allocates
// its data. Axis 0 is the fastest: X, Y, Z and then time, after a first axis of three 8-bit
// colour components for RGB volumes. Orientation: "space directions" and "space origin" in a
// right-anterior-superior, left-posterior-superior (also scanner-xyz) or left-anterior-superior
// space become the affine (in RAS); the spacing comes from the directions or the spacings.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>

#include "io/volume_files.h"
#include "teem/nrrd.h"

namespace v3d {
namespace {

struct NrrdState {
    Nrrd* nrrd = nrrdNew();
    NrrdIoState* io = nrrdIoStateNew();
    bool owns_data = true;  // false when the data is ours (writing): the record is only nixed
    NrrdState() = default;
    NrrdState(const NrrdState&) = delete;
    NrrdState& operator=(const NrrdState&) = delete;
    ~NrrdState() {
        if (nrrd) owns_data ? nrrdNuke(nrrd) : nrrdNix(nrrd);
        if (io) nrrdIoStateNix(io);
        drop_messages();
    }
    bool ok() const { return nrrd && io; }
    // Teem keeps its error messages until they are fetched.
    static void drop_messages() {
        if (biffCheck(NRRD)) biffDone(NRRD);
    }
};

// Teem tells what it reads on stderr unless told not to.
void quiet() {
    static const bool done = [] {
        nrrdStateVerboseIO = 0;
        return true;
    }();
    (void)done;
}

int readable(const char* path) {
    std::FILE* f = std::fopen(path, "rb");
    if (!f) return kFopen;
    std::fclose(f);
    return kOk;
}

int sample_of_type(int type) {
    switch (type) {
    case nrrdTypeChar: return V3D_SAMPLE_S8;
    case nrrdTypeUChar: return V3D_SAMPLE_U8;
    case nrrdTypeShort: return V3D_SAMPLE_S16;
    case nrrdTypeUShort: return V3D_SAMPLE_U16;
    case nrrdTypeInt: return V3D_SAMPLE_S32;
    case nrrdTypeUInt: return V3D_SAMPLE_U32;
    case nrrdTypeFloat: return V3D_SAMPLE_F32;
    case nrrdTypeDouble: return V3D_SAMPLE_F64;
    default: return 0;  // 64-bit integers, blocks
    }
}

int type_of_sample(int sample) {
    switch (sample) {
    case V3D_SAMPLE_U16: return nrrdTypeUShort;
    case V3D_SAMPLE_S16: return nrrdTypeShort;
    case V3D_SAMPLE_S32: return nrrdTypeInt;
    case V3D_SAMPLE_F32: return nrrdTypeFloat;
    default: return nrrdTypeUChar;
    }
}

// Millimetres per unit of a units text; 1 for millimetres and for what it does not know.
double millimetres_per(const char* units) {
    if (!units) return 1.0;
    if (!std::strcmp(units, "um") || !std::strcmp(units, "micron") || !std::strcmp(units, "microns"))
        return 0.001;
    if (!std::strcmp(units, "cm")) return 10.0;
    if (!std::strcmp(units, "m")) return 1000.0;
    return 1.0;
}

// The signs that take a space's first two coordinates to right and anterior; false for a
// space that is not anatomical.
bool to_ras(int space, double sign[3]) {
    sign[0] = sign[1] = sign[2] = 1.0;
    switch (space) {
    case nrrdSpaceRightAnteriorSuperior:
    case nrrdSpaceRightAnteriorSuperiorTime: return true;
    case nrrdSpaceLeftPosteriorSuperior:
    case nrrdSpaceLeftPosteriorSuperiorTime:
    case nrrdSpaceScannerXYZ:
    case nrrdSpaceScannerXYZTime: sign[0] = sign[1] = -1.0; return true;
    case nrrdSpaceLeftAnteriorSuperior:
    case nrrdSpaceLeftAnteriorSuperiorTime: sign[0] = -1.0; return true;
    default: return false;
    }
}

// Spacing and orientation of the spatial axes (first, first + 1, first + 2 as present).
void geometry_of(const Nrrd* n, unsigned first, unsigned spatial, FileGrid* g) {
    double sign[3];
    const bool anatomical = n->spaceDim >= 3 && to_ras(n->space, sign);
    bool directions = anatomical && spatial == 3;
    double columns[3][3] = {};
    for (unsigned k = 0; k < spatial; ++k) {
        double spacing = NAN, vector[NRRD_SPACE_DIM_MAX];
        const int status = nrrdSpacingCalculate(n, first + k, &spacing, vector);
        const double unit = millimetres_per(n->spaceDim ? n->spaceUnits[0] : n->axis[first + k].units);
        directions = directions && status == nrrdSpacingStatusDirection;
        if (status == nrrdSpacingStatusDirection)
            for (int r = 0; r < 3; ++r) columns[k][r] = vector[r] * spacing * unit;
        spacing = std::fabs(spacing) * unit;
        if (std::isfinite(spacing) && spacing > 0.0) g->spacing[2 - k] = spacing;
    }
    if (!directions) return;
    g->oriented = true;
    g->orientation.qform_code = g->orientation.sform_code = 1;
    const double unit = millimetres_per(n->spaceUnits[0]);
    for (int r = 0; r < 3; ++r) {
        for (int k = 0; k < 3; ++k) g->orientation.affine[r][k] = sign[r] * columns[k][r];
        const double origin = std::isfinite(n->spaceOrigin[r]) ? n->spaceOrigin[r] * unit : 0.0;
        g->orientation.affine[r][3] = sign[r] * origin;
    }
}

int grid_of(const Nrrd* n, FileGrid* g) {
    g->sample = sample_of_type(n->type);
    if (!g->sample) return kFileSampleType;
    unsigned first = 0;
    if (n->dim >= 2 && n->axis[0].kind >= nrrdKindList && n->axis[0].kind != nrrdKindStub &&
        n->axis[0].kind != nrrdKindScalar) {
        // a first axis of values rather than positions: only 8-bit RGB is ours
        const bool rgb = (n->axis[0].kind == nrrdKindRGBColor || n->axis[0].kind == nrrdKind3Color) &&
                         n->axis[0].size == 3 && n->type == nrrdTypeUChar;
        if (!rgb) return kFileSampleType;
        g->sample = V3D_SAMPLE_RGB24;
        first = 1;
    }
    const unsigned axes = n->dim - first;
    if (axes < 1 || axes > 4) return kFileGrid;
    long long* extent[4] = {&g->X, &g->Y, &g->Z, &g->T};
    for (unsigned k = 0; k < axes; ++k) {
        const size_t size = n->axis[first + k].size;
        if (size < 1 || size > static_cast<size_t>(1) << 40) return kFileGrid;
        *extent[k] = static_cast<long long>(size);
    }
    geometry_of(n, first, axes < 3 ? axes : 3, g);
    return kOk;
}

// Loads path (header only with skip_data) into s; the Teem failure as the NRRD status.
int load(const char* path, bool skip_data, NrrdState& s) {
    V3D_CHECK(readable(path));
    quiet();
    if (!s.ok()) return kNoBuffer;
    s.io->skipData = skip_data ? 1 : 0;
    if (nrrdLoad(s.nrrd, path, s.io) != 0) {
        NrrdState::drop_messages();
        return kNrrdFile;
    }
    return kOk;
}

int nrrd_header(const char* path, FileGrid* g) {
    NrrdState s;
    V3D_CHECK(load(path, true, s));
    return grid_of(s.nrrd, g);
}

int nrrd_data(const char* path, const FileGrid& g, int t0, int t1, TimePointSink& sink) {
    std::size_t bytes = 0;
    if (!time_point_bytes(g, &bytes)) return kFileGrid;
    NrrdState s;
    V3D_CHECK(load(path, false, s));
    FileGrid again;
    V3D_CHECK(grid_of(s.nrrd, &again));  // the file may have changed since its header was read
    if (again.X != g.X || again.Y != g.Y || again.Z != g.Z || again.T != g.T || again.sample != g.sample ||
        !s.nrrd->data)
        return kNrrdFile;
    const auto* data = static_cast<const unsigned char*>(s.nrrd->data);
    for (int t = t0; t <= t1; ++t) V3D_CHECK(sink.take(t, data + bytes * static_cast<std::size_t>(t)));
    return kOk;
}

// ---- writing -------------------------------------------------------------------------------

// An RGB volume gets a first axis of three colour components; an oriented one a
// right-anterior-superior space with its directions and origin, else the spacings.
int describe(NrrdState& s, const FileGrid& g, void* data) {
    const bool rgb = g.sample == V3D_SAMPLE_RGB24;
    const unsigned first = rgb ? 1 : 0, dim = first + 3;
    size_t sizes[NRRD_DIM_MAX] = {3};
    sizes[first] = static_cast<size_t>(g.X);
    sizes[first + 1] = static_cast<size_t>(g.Y);
    sizes[first + 2] = static_cast<size_t>(g.Z);
    if (nrrdWrap_nva(s.nrrd, data, type_of_sample(g.sample), dim, sizes) != 0) return kNoBuffer;
    if (rgb) s.nrrd->axis[0].kind = nrrdKindRGBColor;
    for (unsigned k = 0; k < 3; ++k) {
        NrrdAxisInfo& a = s.nrrd->axis[first + k];
        a.kind = nrrdKindSpace;
        a.center = nrrdCenterCell;
        if (!g.oriented) a.spacing = g.spacing[2 - k];
    }
    if (!g.oriented) return kOk;
    if (nrrdSpaceSet(s.nrrd, nrrdSpaceRightAnteriorSuperior) != 0) return kNoBuffer;
    for (unsigned k = 0; k < 3; ++k) {
        for (int r = 0; r < 3; ++r) s.nrrd->axis[first + k].spaceDirection[r] = g.orientation.affine[r][k];
        s.nrrd->spaceOrigin[k] = g.orientation.affine[k][3];
        s.nrrd->spaceUnits[k] = airStrdup("mm");
    }
    return kOk;
}

int nrrd_write(Volume* vol, const char* path, int gzip) {
    V3D_CHECK(CheckVolume(vol, kAnyType, kAnyColor));
    if (!path || gzip < 0 || gzip > 1 || (!ends_with(path, ".nrrd") && !ends_with(path, ".nhdr")))
        return kInvalidParams;
    if (gzip && !nrrdEncodingGzip->available()) return kInvalidParams;
    quiet();
    const FileGrid g = grid_to_write(vol);
    std::size_t bytes = 0;
    auto data = pack_volume(vol, g, &bytes);
    if (!data) return kNoBuffer;
    NrrdState s;
    s.owns_data = false;
    if (!s.ok()) return kNoBuffer;
    V3D_CHECK(describe(s, g, data.get()));
    s.io->encoding = gzip ? nrrdEncodingGzip : nrrdEncodingRaw;
    std::FILE* probe = std::fopen(path, "wb");  // Teem does not tell a failed open from a failed write
    if (!probe) return kFopen;
    std::fclose(probe);
    if (nrrdSave(path, s.nrrd, s.io) != 0) {
        NrrdState::drop_messages();
        return kFwrite;
    }
    return kOk;
}

}  // namespace

const VolumeFileOps kNrrdOps = {kNrrdFile, nrrd_header, nrrd_data, nrrd_write};

}  // namespace v3d

extern "C" int SaveNrrdVolume(Volume* vol, const char* path, int gzip) {
    return v3d::without_throwing([&]() -> int { return v3d::nrrd_write(vol, path, gzip); });
}
