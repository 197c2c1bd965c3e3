// The volume files with a header on files we did not write: nibabel writes NIfTI files of every
// voxel type, both byte orders, gzipped or not, single files and pairs, 3D and 4D, and tells
// what it reads from them (and from the example files it ships); Teem writes NRRD files. Each
// is read voxel by voxel, time point by time point, with its spacing and affine. Our writers
// are read back by nibabel and Teem. Skipped when python3-nibabel is missing.
#include <zlib.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "support.h"
#include "teem/nrrd.h"

namespace {

using t3d::Vol;

int run(const std::string& command) { return std::system((command + " >/dev/null 2>&1").c_str()); }

// The system's python3 with nibabel (a Debian package), or "".
std::string nibabel_python() {
    for (const char* p : {"/usr/bin/python3", "python3"})
        if (run(std::string(p) + " -c 'import nibabel'") == 0) return p;
    return "";
}

// Every voxel of every time point of a file as our readers give them, t, z, y, x, channel.
struct Read {
    int status = -1;
    VolumeFileInfo info{};
    std::vector<double> voxels;
};

Read read_all(int format, const std::string& path) {
    Read r;
    if ((r.status = DescribeVolumeFile(format, path.c_str(), &r.info)) != 0) return r;
    const ImageSequenceFormat* fmt = GetImageSequenceFormat(format);
    const size_t dot = path.rfind('.');
    const std::string base = path.substr(0, dot), ext = path.substr(dot + 1);
    const int n = r.info.colortype == 1 ? 1 : 3;
    for (int t = 0; t < r.info.T && r.status == 0; ++t) {
        Vol v(r.info.Z, r.info.Y, r.info.X, r.info.type, r.info.colortype);
        r.status = fmt->read(v.get(), base.c_str(), t * r.info.Z, 0, ext.c_str(), 0);
        for (int z = 0; z < r.info.Z; ++z)
            for (int y = 0; y < r.info.Y; ++y)
                for (int x = 0; x < r.info.X; ++x)
                    for (int c = 0; c < n; ++c)
                        r.voxels.push_back(v->type == 1 ? v.uc(z, y, x, c) : v->type == 2 ? v.f(z, y, x, c) : v.i(z, y, x, c));
    }
    return r;
}

// The voxels of a volume in the order read_all gives them: z, y, x, channel.
std::vector<double> interleaved(Volume* v) {
    const std::vector<double> planar = t3d::snapshot(v);
    const size_t n = v->colortype == 1 ? 1 : 3, per_channel = planar.size() / n;
    std::vector<double> out(planar.size());
    for (size_t c = 0; c < n; ++c)
        for (size_t i = 0; i < per_channel; ++i) out[i * n + c] = planar[c * per_channel + i];
    return out;
}

std::vector<double> doubles_of(const std::string& path) {
    const std::string bytes = t3d::read_file(path);
    std::vector<double> v(bytes.size() / sizeof(double));
    if (!v.empty()) std::memcpy(v.data(), bytes.data(), v.size() * sizeof(double));
    return v;
}

// nibabel writes the files and, for each, NAME.info (X Y Z T sample, the zooms z y x, the
// affine or "none") and NAME.expected (its voxels as float64, t z y x channel).
const char* const kNibabelFiles = R"(
import os, sys, numpy as np, nibabel as nib
from nibabel.testing import data_path
d = sys.argv[1]
codes = {'uint8': 1, 'int8': 2, 'uint16': 3, 'int16': 4, 'uint32': 5, 'int32': 6, 'float32': 7, 'float64': 8}
manifest = open(d + 'manifest.txt', 'w')
def describe(name, path):
    img = nib.load(path)
    data = np.asanyarray(img.dataobj)
    rgb = data.dtype.names is not None
    if rgb:
        data = np.stack([data['R'], data['G'], data['B']], axis=-1)
    shape = img.shape + (1,) * (4 - len(img.shape))
    h = img.header
    sample = 9 if rgb else codes[h.get_data_dtype().newbyteorder('=').name]
    zooms = [abs(float(z)) for z in h.get_zooms()[:3]]
    coded = int(h['sform_code']) > 0 or int(h['qform_code']) > 0
    with open(d + name + '.info', 'w') as f:
        f.write('%d %d %d %d %d\n' % (shape[0], shape[1], shape[2], shape[3], sample))
        f.write('%r %r %r\n' % (zooms[2], zooms[1], zooms[0]))
        f.write(' '.join(repr(float(v)) for v in img.affine[:3].ravel()) + '\n' if coded else 'none\n')
    order = (3, 2, 1, 0, 4) if rgb else (3, 2, 1, 0)
    full = data.reshape(shape + ((3,) if rgb else ()))
    np.ascontiguousarray(full.transpose(order)).astype('<f8').tofile(d + name + '.expected')
    manifest.write(name + '\t' + path + '\n')
rng = np.random.default_rng(7)
shape = (5, 4, 3, 2)
affine = np.array([[-0.5, 0.1, 0, 10], [0, 0.75, 0.2, -20], [0.05, 0, 2.5, 30], [0, 0, 0, 1]])
ranges = {'uint8': (0, 255), 'int8': (-128, 127), 'uint16': (0, 65535), 'int16': (-32768, 32767),
          'uint32': (0, 2**31 - 1), 'int32': (-2**31, 2**31 - 1), 'float32': (-1e6, 1e6), 'float64': (-1e6, 1e6)}
for kind, (lo, hi) in ranges.items():
    dt = np.dtype(kind)
    data = rng.uniform(lo, hi, shape) if dt.kind == 'f' else rng.integers(lo, hi, shape, endpoint=True)
    for endian in '<>':
        for ext in ('.nii', '.nii.gz', '.hdr', '.hdr.gz'):
            name = '%s_%s%s' % (kind, 'big' if endian == '>' else 'little', ext.replace('.', '_'))
            make = nib.Nifti1Pair if ext.startswith('.hdr') else nib.Nifti1Image
            img = make(data.astype(dt), affine, make.header_class(endianness=endian))
            img.set_data_dtype(dt)
            path = d + name + ext
            nib.save(img, path)
            describe(name, path)
rgb = np.zeros((6, 5, 4), dtype=[('R', 'u1'), ('G', 'u1'), ('B', 'u1')])
for i, c in enumerate('RGB'):
    rgb[c] = rng.integers(0, 255, rgb.shape)
nib.save(nib.Nifti1Image(rgb, np.diag([1.5, 1.5, 4, 1])), d + 'rgb.nii.gz')
describe('rgb', d + 'rgb.nii.gz')
scaled = nib.Nifti1Image(rng.uniform(-300, 900, (7, 6, 5)), np.diag([0.5, 0.5, 5, 1]))
scaled.set_data_dtype(np.int16)
nib.save(scaled, d + 'scaled.nii')
describe('scaled', d + 'scaled.nii')
n2 = nib.Nifti2Image(rng.integers(-500, 500, shape).astype(np.int16), affine)
nib.save(n2, d + 'nifti2.nii.gz')
describe('nifti2', d + 'nifti2.nii.gz')
noxform = nib.Nifti1Image(rng.integers(0, 255, (4, 3, 2)).astype(np.uint8), None)
noxform.header.set_zooms((0.9, 0.8, 3.0))
noxform.header['sform_code'] = 0
noxform.header['qform_code'] = 0
nib.save(noxform, d + 'noxform.nii')
describe('noxform', d + 'noxform.nii')
for shipped in ('anatomical.nii', 'example4d.nii.gz', 'functional.nii', 'example_nifti2.nii.gz'):
    describe(shipped.split('.')[0], os.path.join(data_path, shipped))
)";

struct Expected {
    int X = 0, Y = 0, Z = 0, T = 0, sample = 0;
    double spacing[3] = {};
    bool oriented = false;
    double affine[12] = {};
    std::vector<double> voxels;
};

Expected expected_of(const std::string& dir, const std::string& name) {
    Expected e;
    std::istringstream info(t3d::read_file(dir + name + ".info"));
    info >> e.X >> e.Y >> e.Z >> e.T >> e.sample >> e.spacing[0] >> e.spacing[1] >> e.spacing[2];
    std::string word;
    info >> word;
    e.oriented = word != "none";
    if (e.oriented) {
        e.affine[0] = std::stod(word);
        for (int i = 1; i < 12; ++i) info >> e.affine[i];
    }
    e.voxels = doubles_of(dir + name + ".expected");
    return e;
}

// Integers exactly; reals as a float holds them (scaled files: as float arithmetic gives them).
bool same_voxels(const std::vector<double>& ours, const std::vector<double>& theirs, std::string& why) {
    if (ours.size() != theirs.size()) return why = "count " + std::to_string(ours.size()), false;
    for (size_t i = 0; i < ours.size(); ++i) {
        const double want = static_cast<float>(theirs[i]);
        if (std::fabs(ours[i] - want) > 1e-6 * std::max(1.0, std::fabs(want)))
            return why = "voxel " + std::to_string(i) + ": " + std::to_string(ours[i]) + " for " + std::to_string(want), false;
    }
    return true;
}

class NibabelFiles : public ::testing::Test {
protected:
    void SetUp() override {
        python_ = nibabel_python();
        if (python_.empty()) GTEST_SKIP() << "python3-nibabel is not installed";
        dir_ = t3d::temp_path("nib_");
        std::ofstream(dir_ + "make.py") << kNibabelFiles;
        ASSERT_EQ(run(python_ + " " + dir_ + "make.py " + dir_), 0);
    }
    std::vector<std::pair<std::string, std::string>> manifest() const {
        std::vector<std::pair<std::string, std::string>> files;
        std::istringstream lines(t3d::read_file(dir_ + "manifest.txt"));
        std::string name, path;
        while (std::getline(lines, name, '\t') && std::getline(lines, path)) files.emplace_back(name, path);
        return files;
    }
    std::string python_, dir_;
};

TEST_F(NibabelFiles, EveryVoxelTypeByteOrderAndLayoutReadsAsNibabelReadsIt) {
    const auto files = manifest();
    ASSERT_GE(files.size(), 70u);
    for (const auto& [name, path] : files) {
        SCOPED_TRACE(name);
        const Expected e = expected_of(dir_, name);
        const Read r = read_all(V3D_FORMAT_NIFTI, path);
        ASSERT_EQ(r.status, 0);
        EXPECT_EQ(std::vector({r.info.X, r.info.Y, r.info.Z, r.info.T, r.info.sample}),
                  std::vector({e.X, e.Y, e.Z, e.T, e.sample}));
        for (int k = 0; k < 3; ++k) EXPECT_NEAR(r.info.spacing[k], e.spacing[k], 1e-6 * e.spacing[k]);
        ASSERT_EQ(r.info.oriented != 0, e.oriented);
        for (int i = 0; e.oriented && i < 12; ++i)
            EXPECT_NEAR(r.info.orientation.affine[i / 4][i % 4], e.affine[i], 1e-5) << i;
        std::string why;
        EXPECT_TRUE(same_voxels(r.voxels, e.voxels, why)) << why;
    }
}

// Our files read back by nibabel: the same voxels (one time point), zooms and affine.
TEST_F(NibabelFiles, WhatWeWriteNibabelReadsBack) {
    const char* const check = R"(
import sys, numpy as np, nibabel as nib
ok = True
for line in open(sys.argv[1]):
    ours, source, t = line.split()
    a, b = nib.load(source), nib.load(ours)
    want = np.asanyarray(a.dataobj)
    if want.dtype.names:
        want, got = [np.stack([x['R'], x['G'], x['B']], -1) for x in (want, np.asanyarray(b.dataobj))]
    else:
        want = want[..., int(t)] if want.ndim == 4 else want
        got = np.asanyarray(b.dataobj)
    same = got.shape == want.shape and np.allclose(got, want.astype(np.float32), rtol=1e-6, atol=0)
    zooms = np.allclose(b.header.get_zooms()[:3], a.header.get_zooms()[:3], rtol=1e-6)
    affine = np.allclose(b.affine, a.affine, atol=1e-5)
    if not (same and zooms and affine):
        ok = False
        print(ours, 'voxels', same, 'zooms', zooms, 'affine', affine)
sys.exit(0 if ok else 1)
)";
    std::ofstream(dir_ + "check.py") << check;
    std::ofstream list(dir_ + "written.txt");
    const struct {
        const char* name;
        int t;
        const char* ext;
    } cases[] = {{"anatomical", 0, "nii"},  {"example4d", 1, "nii.gz"}, {"functional", 19, "hdr"},
                 {"example_nifti2", 1, "nii"}, {"rgb", 0, "nii"}, {"uint16_big_hdr_gz", 1, "nii.gz"},
                 {"int8_little_nii", 0, "hdr.gz"}, {"float64_big_nii", 1, "nii"}};
    const auto files = manifest();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::string source;
        for (const auto& [name, path] : files)
            if (name == c.name) source = path;
        ASSERT_FALSE(source.empty());
        VolumeFileInfo info;
        ASSERT_EQ(DescribeVolumeFile(V3D_FORMAT_NIFTI, source.c_str(), &info), 0);
        Vol v(info.Z, info.Y, info.X, info.type, info.colortype);
        const size_t dot = source.find('.', source.rfind('/'));
        ASSERT_EQ(GetImageSequenceFormat(V3D_FORMAT_NIFTI)->read(v.get(), source.substr(0, dot).c_str(),
                                                                 c.t * info.Z, 0, source.substr(dot + 1).c_str(), 0), 0);
        const std::string ours = dir_ + "ours_" + c.name + "." + c.ext;
        ASSERT_EQ(GetImageSequenceFormat(V3D_FORMAT_NIFTI)->write(v.get(), (dir_ + "ours_" + c.name).c_str(), 0, 0, c.ext), 0);
        list << ours << " " << source << " " << c.t << "\n";
        if (c.t == 0) {  // NIfTI-2 too
            ASSERT_EQ(SaveNiftiVolume(v.get(), (dir_ + "ours2_" + c.name + ".nii").c_str(), 2), 0);
            list << dir_ << "ours2_" << c.name << ".nii " << source << " 0\n";
        }
    }
    list.close();
    EXPECT_EQ(std::system((python_ + " " + dir_ + "check.py " + dir_ + "written.txt").c_str()), 0);
}

// ---- NRRD ------------------------------------------------------------------------------------

// A NRRD written by Teem: X x Y x Z x T samples of type (first axis of three colour components
// with rgb), in an LPS space with directions, or with plain spacings.
int teem_save(const std::string& path, int type, const void* data, std::vector<size_t> sizes, bool rgb,
              bool gzip, bool oriented) {
    Nrrd* n = nrrdNew();
    NrrdIoState* io = nrrdIoStateNew();
    int status = nrrdWrap_nva(n, const_cast<void*>(data), type, static_cast<unsigned>(sizes.size()), sizes.data());
    const unsigned first = rgb ? 1 : 0;
    if (rgb) n->axis[0].kind = nrrdKindRGBColor;
    const double spacing[3] = {0.5, 0.75, 3.0};  // x, y, z
    if (oriented) {
        nrrdSpaceSet(n, nrrdSpaceLeftPosteriorSuperior);
        for (unsigned k = 0; k < 3; ++k) {
            for (int r = 0; r < 3; ++r) n->axis[first + k].spaceDirection[r] = r == static_cast<int>(k) ? spacing[k] : 0.0;
            n->spaceOrigin[k] = 10.0 * (k + 1);
        }
    } else {
        for (unsigned k = 0; k < 3; ++k) n->axis[first + k].spacing = spacing[k];
    }
    io->encoding = gzip ? nrrdEncodingGzip : nrrdEncodingRaw;
    status = status || nrrdSave(path.c_str(), n, io);
    nrrdNix(n);
    nrrdIoStateNix(io);
    return status;
}

TEST(NrrdFiles, TeemFilesOfEveryLayoutReadVoxelByVoxel) {
    const std::string dir = t3d::temp_path("nrrd_");
    std::vector<short> shorts(4 * 3 * 2 * 3);
    for (size_t i = 0; i < shorts.size(); ++i) shorts[i] = static_cast<short>(i * 997 % 65536 - 32768);
    std::vector<double> reals(4 * 3 * 2);
    for (size_t i = 0; i < reals.size(); ++i) reals[i] = 0.25 * i - 2;
    std::vector<unsigned char> colours(3 * 4 * 3 * 2);
    for (size_t i = 0; i < colours.size(); ++i) colours[i] = static_cast<unsigned char>(i * 7);
    const struct {
        const char* file;
        int type;
        const void* data;
        std::vector<size_t> sizes;
        bool rgb, gzip, oriented;
    } cases[] = {{"short4d.nrrd", nrrdTypeShort, shorts.data(), {4, 3, 2, 3}, false, false, true},
                 {"short4d_gz.nhdr", nrrdTypeShort, shorts.data(), {4, 3, 2, 3}, false, true, true},
                 {"double.nrrd", nrrdTypeDouble, reals.data(), {4, 3, 2}, false, true, false},
                 {"rgb.nhdr", nrrdTypeUChar, colours.data(), {3, 4, 3, 2}, true, false, true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file);
        ASSERT_EQ(teem_save(dir + c.file, c.type, c.data, c.sizes, c.rgb, c.gzip, c.oriented), 0);
        const Read r = read_all(V3D_FORMAT_NRRD, dir + c.file);
        ASSERT_EQ(r.status, 0);
        const size_t count = c.type == nrrdTypeShort ? shorts.size() : c.rgb ? colours.size() : reals.size();
        ASSERT_EQ(r.voxels.size(), count);
        for (size_t i = 0; i < count; ++i) {
            const double want = c.type == nrrdTypeShort ? shorts[i] : c.rgb ? colours[i] : reals[i];
            ASSERT_EQ(r.voxels[i], want) << i;
        }
        EXPECT_EQ(r.info.T, c.sizes.size() == 4 && !c.rgb ? 3 : 1);
        EXPECT_EQ(std::vector(r.info.spacing, r.info.spacing + 3), std::vector({3.0, 0.75, 0.5}));
        ASSERT_EQ(r.info.oriented, c.oriented ? 1 : 0);
        if (c.oriented) {  // left-posterior-superior: the first two rows change sign
            EXPECT_EQ(r.info.orientation.affine[0][0], -0.5);
            EXPECT_EQ(r.info.orientation.affine[1][1], -0.75);
            EXPECT_EQ(r.info.orientation.affine[2][2], 3.0);
            EXPECT_EQ(std::vector({r.info.orientation.affine[0][3], r.info.orientation.affine[1][3],
                                   r.info.orientation.affine[2][3]}), std::vector({-10.0, -20.0, 30.0}));
        }
    }
}

TEST(NrrdFiles, BigEndianDataAndWhatWeWriteTeemReadsBack) {
    const std::string dir = t3d::temp_path("nrrd_be_");
    // a hand-written header with big-endian unsigned 16-bit data
    std::string file = "NRRD0004\ntype: ushort\ndimension: 3\nsizes: 3 2 2\nspacings: 1 2 4\nendian: big\nencoding: raw\n\n";
    for (int i = 0; i < 12; ++i) file += std::string{static_cast<char>((i * 5000) >> 8), static_cast<char>((i * 5000) & 0xff)};
    std::ofstream(dir + "be.nrrd", std::ios::binary) << file;
    const Read r = read_all(V3D_FORMAT_NRRD, dir + "be.nrrd");
    ASSERT_EQ(r.status, 0);
    for (int i = 0; i < 12; ++i) EXPECT_EQ(r.voxels[i], i * 5000);
    EXPECT_EQ(r.info.spacing[0], 4.0);

    Vol v(3, 4, 5, 2);
    t3d::fill_random(v.get(), 5);
    VolumeOrientation o{{{-0.5, 0, 0, 1}, {0, 0.5, 0, 2}, {0, 0, 2, 3}}, 1, 1};
    ASSERT_EQ(SetVolumeSpacing(v.get(), 2, 0.5, 0.5), 0);
    ASSERT_EQ(SetVolumeOrientation(v.get(), &o), 0);
    ASSERT_EQ(SaveNrrdVolume(v.get(), (dir + "ours.nhdr").c_str(), 1), 0);
    Nrrd* n = nrrdNew();
    ASSERT_EQ(nrrdLoad(n, (dir + "ours.nhdr").c_str(), nullptr), 0);
    EXPECT_EQ(n->type, nrrdTypeFloat);
    EXPECT_EQ(n->space, nrrdSpaceRightAnteriorSuperior);
    EXPECT_EQ(n->axis[2].spaceDirection[2], 2.0);
    EXPECT_EQ(n->spaceOrigin[1], 2.0);
    EXPECT_EQ(static_cast<const float*>(n->data)[4 * 5 + 3], v.f(1, 0, 3));
    nrrdNuke(n);
}

// ---- MetaImage -------------------------------------------------------------------------------

std::string deflated(const std::string& bytes) {
    uLongf size = compressBound(bytes.size());
    std::string out(size, '\0');
    compress(reinterpret_cast<Bytef*>(out.data()), &size, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size());
    return out.substr(0, size);
}

TEST(MetaImageFiles, HeadersOfTheToolkitsReadVoxelByVoxel) {
    const std::string dir = t3d::temp_path("mha_");
    std::string be;  // 4 x 3 x 2 x 2 big-endian signed 16-bit
    for (int i = 0; i < 48; ++i) be += std::string{static_cast<char>(((i - 20) * 300) >> 8), static_cast<char>(((i - 20) * 300) & 0xff)};
    const std::string head = "ObjectType = Image\nNDims = 4\nDimSize = 4 3 2 2\nElementSpacing = 0.5 0.5 3 1\n"
                             "TransformMatrix = 1 0 0 0 1 0 0 0 1 0 0 0 0 0 0 1\nOffset = 1 2 3 0\n"
                             "BinaryDataByteOrderMSB = True\nElementType = MET_SHORT\n";
    std::ofstream(dir + "be.mha", std::ios::binary) << head << "ElementDataFile = LOCAL\n" << be;
    const std::string beside = dir.substr(dir.rfind('/') + 1);  // data file names are the header's folder's
    std::ofstream(dir + "z.mhd") << head << "CompressedData = True\nElementDataFile = " << beside << "z.zraw\n";
    std::ofstream(dir + "z.zraw", std::ios::binary) << deflated(be);
    std::ofstream(dir + "tail.mhd") << head << "HeaderSize = -1\nElementDataFile = " << beside << "tail.raw\n";
    std::ofstream(dir + "tail.raw", std::ios::binary) << "some leading bytes" << be;
    for (const char* name : {"be.mha", "z.mhd", "tail.mhd"}) {
        SCOPED_TRACE(name);
        const Read r = read_all(V3D_FORMAT_METAIMAGE, dir + name);
        ASSERT_EQ(r.status, 0);
        ASSERT_EQ(r.voxels.size(), 48u);
        for (int i = 0; i < 48; ++i) ASSERT_EQ(r.voxels[i], (i - 20) * 300) << i;
        EXPECT_EQ(r.info.T, 2);
        EXPECT_EQ(std::vector(r.info.spacing, r.info.spacing + 3), std::vector({3.0, 0.5, 0.5}));
        // the toolkits' world is left-posterior-superior
        EXPECT_EQ(r.info.orientation.affine[0][0], -0.5);
        EXPECT_EQ(r.info.orientation.affine[1][3], -2.0);
        EXPECT_EQ(r.info.orientation.affine[2][3], 3.0);
    }
    std::ofstream(dir + "rgb.mha", std::ios::binary)
        << "NDims = 2\nDimSize = 2 1\nElementNumberOfChannels = 3\nElementType = MET_UCHAR\nElementDataFile = LOCAL\n"
        << "\x01\x02\x03\x04\x05\x06";
    const Read rgb = read_all(V3D_FORMAT_METAIMAGE, dir + "rgb.mha");
    ASSERT_EQ(rgb.status, 0);
    EXPECT_EQ(rgb.info.colortype, 2);
    EXPECT_EQ(rgb.voxels, std::vector<double>({1, 2, 3, 4, 5, 6}));
}

// ---- all three: our writers and our readers, and what must be refused ---------------------

TEST(VolumeFiles, WhatWeWriteReadsBackWithSpacingAndOrientation) {
    const std::string dir = t3d::temp_path("ours_");
    const struct {
        int type, colortype, range;
    } volumes[] = {{1, 1, 256}, {1, 2, 256}, {4, 1, 30000}, {4, 1, 60000}, {4, 1, 100000}, {2, 1, 100}};
    const struct {
        int format;
        const char* ext;
        int option;
    } formats[] = {{V3D_FORMAT_NIFTI, "nii", 0}, {V3D_FORMAT_NIFTI, "hdr.gz", 0}, {V3D_FORMAT_NIFTI, "nii.gz", 2},
                   {V3D_FORMAT_NRRD, "nrrd", 0}, {V3D_FORMAT_NRRD, "nhdr", 1},
                   {V3D_FORMAT_METAIMAGE, "mha", 1}, {V3D_FORMAT_METAIMAGE, "mhd", 0}};
    const VolumeOrientation o{{{0, 0, -2.5, 7}, {0.5, 0, 0, -8}, {0, 0.75, 0, 9}}, 2, 1};
    for (const auto& v : volumes)
        for (const auto& f : formats) {
            SCOPED_TRACE(std::to_string(v.type) + "/" + std::to_string(v.colortype) + "/" +
                         std::to_string(v.range) + " ." + f.ext);
            Vol vol(4, 5, 6, v.type, v.colortype);
            t3d::fill_random(vol.get(), 3, v.range);
            ASSERT_EQ(SetVolumeSpacing(vol.get(), 2.5, 0.75, 0.5), 0);
            ASSERT_EQ(SetVolumeOrientation(vol.get(), &o), 0);
            const std::string path = dir + "v" + std::to_string(&v - volumes) + "." + f.ext;
            const int written = f.format == V3D_FORMAT_NIFTI ? SaveNiftiVolume(vol.get(), path.c_str(), f.option)
                                : f.format == V3D_FORMAT_NRRD ? SaveNrrdVolume(vol.get(), path.c_str(), f.option)
                                                              : SaveMetaImageVolume(vol.get(), path.c_str(), f.option);
            ASSERT_EQ(written, 0);
            const Read r = read_all(f.format, path);
            ASSERT_EQ(r.status, 0);
            EXPECT_EQ(r.info.type, v.type);
            EXPECT_EQ(r.voxels, interleaved(vol.get()));
            EXPECT_EQ(std::vector(r.info.spacing, r.info.spacing + 3), std::vector({2.5, 0.75, 0.5}));
            ASSERT_TRUE(r.info.oriented);
            for (int i = 0; i < 12; ++i)
                EXPECT_NEAR(r.info.orientation.affine[i / 4][i % 4], o.affine[i / 4][i % 4], 1e-12) << i;
            // the codes survive NIfTI only
            if (f.format == V3D_FORMAT_NIFTI) {
                EXPECT_EQ(r.info.orientation.qform_code * 10 + r.info.orientation.sform_code, 21);
            }
        }
}

TEST(VolumeFiles, BadFilesAndWrongTargetsAreStatuses) {
    const std::string dir = t3d::temp_path("bad_");
    Vol small(2, 2, 2, 1);
    ASSERT_EQ(SaveNiftiVolume(small.get(), (dir + "u8.nii").c_str(), 0), 0);
    const ImageSequenceFormat* nifti = GetImageSequenceFormat(V3D_FORMAT_NIFTI);
    ImageSequenceInfo info;
    EXPECT_EQ(nifti->check((dir + "u8").c_str(), 0, 0, "nii", 0, &info), 0);
    EXPECT_EQ(info.Z, 2);
    EXPECT_EQ(nifti->check((dir + "u8").c_str(), 1, 0, "nii", 0, &info), 0);
    EXPECT_EQ(info.Z, 1);  // the rest of the time point
    EXPECT_EQ(nifti->check((dir + "u8").c_str(), 2, 0, "nii", 0, &info), V3D_ERR_NO_SUCH_FRAMES);
    EXPECT_EQ(nifti->check((dir + "u8").c_str(), 1, 0, "nii", 2, &info), V3D_ERR_NO_SUCH_FRAMES);
    EXPECT_EQ(nifti->check((dir + "u8").c_str(), -1, 0, "nii", 0, &info), V3D_ERR_INVALID_PARAMS);
    EXPECT_EQ(nifti->check((dir + "none").c_str(), 0, 0, "nii", 0, &info), V3D_ERR_FOPEN);
    Vol wrong_type(2, 2, 2, 4), too_small(1, 2, 2, 1);
    EXPECT_EQ(nifti->read(wrong_type.get(), (dir + "u8").c_str(), 0, 0, "nii", 0), V3D_ERR_WRONG_TYPE);
    EXPECT_EQ(nifti->read(too_small.get(), (dir + "u8").c_str(), 0, 0, "nii", 0), V3D_ERR_BAD_INPUT_DIMS);
    EXPECT_EQ(SaveNiftiVolume(small.get(), (dir + "u8.png").c_str(), 0), V3D_ERR_INVALID_PARAMS);

    // a header that lies about its data, a type we do not take, a fifth dimension, garbage
    std::string header = t3d::read_file(dir + "u8.nii");
    std::ofstream(dir + "short.nii", std::ios::binary) << header.substr(0, header.size() - 3);
    const Read cut = read_all(V3D_FORMAT_NIFTI, dir + "short.nii");
    EXPECT_EQ(cut.status, V3D_ERR_FREAD);
    std::string complex = header;
    complex[70] = 32, complex[71] = 0, complex[72] = 64;  // datatype complex64, 64 bits a voxel
    std::ofstream(dir + "complex.nii", std::ios::binary) << complex;
    VolumeFileInfo vi;
    EXPECT_EQ(DescribeVolumeFile(V3D_FORMAT_NIFTI, (dir + "complex.nii").c_str(), &vi), V3D_ERR_FILE_SAMPLE_TYPE);
    std::ofstream(dir + "junk.nii") << "not a header at all";
    EXPECT_EQ(DescribeVolumeFile(V3D_FORMAT_NIFTI, (dir + "junk.nii").c_str(), &vi), V3D_ERR_NIFTI);
    std::ofstream(dir + "junk.nrrd") << "NRRD0004\ntype: what\n\n";
    EXPECT_EQ(DescribeVolumeFile(V3D_FORMAT_NRRD, (dir + "junk.nrrd").c_str(), &vi), V3D_ERR_NRRD);
    std::ofstream(dir + "five.nrrd") << "NRRD0004\ntype: uchar\ndimension: 5\nsizes: 2 2 2 2 2\nencoding: raw\n\n";
    EXPECT_EQ(DescribeVolumeFile(V3D_FORMAT_NRRD, (dir + "five.nrrd").c_str(), &vi), V3D_ERR_FILE_GRID);
    for (const char* mha : {"NDims = 3\nDimSize = 2 2\nElementType = MET_UCHAR\nElementDataFile = LOCAL\n",
                            "NDims = 3\nDimSize = 2 2 2\nElementType = MET_UCHAR\nElementDataFile = LIST\n",
                            "NDims = 3\nDimSize = 2 2 2\nElementDataFile = LOCAL\n",
                            "NDims = 3\nDimSize = 2 2 2\nElementType = MET_UCHAR\n"}) {
        std::ofstream(dir + "bad.mha") << mha;
        EXPECT_EQ(DescribeVolumeFile(V3D_FORMAT_METAIMAGE, (dir + "bad.mha").c_str(), &vi), V3D_ERR_METAIMAGE) << mha;
    }
    std::ofstream(dir + "big.mha") << "NDims = 3\nDimSize = 99999 2 2\nElementType = MET_UCHAR\nElementDataFile = LOCAL\n";
    EXPECT_EQ(DescribeVolumeFile(V3D_FORMAT_METAIMAGE, (dir + "big.mha").c_str(), &vi), V3D_ERR_FILE_GRID);
    std::ofstream(dir + "u32.mha", std::ios::binary)
        << "NDims = 1\nDimSize = 2\nElementType = MET_UINT\nElementDataFile = LOCAL\n" << std::string("\1\0\0\0\xff\xff\xff\xff", 8);
    EXPECT_EQ(read_all(V3D_FORMAT_METAIMAGE, dir + "u32.mha").status, V3D_ERR_FILE_VALUES);
    EXPECT_EQ(DescribeVolumeFile(V3D_FORMAT_TIFF, (dir + "u8.nii").c_str(), &vi), V3D_ERR_INVALID_PARAMS);
}

// Raw files of other voxel types: byte order, byte offset and frames skipped.
TEST(RawSamples, ByteOrdersOffsetsAndTypes) {
    const std::string path = t3d::temp_path("samples.raw");
    std::string bytes = "HEADER";  // 6 bytes to step over, then frame 0 (skipped) and frame 1 of 2 x 3
    for (int i = 0; i < 12; ++i) bytes += std::string{static_cast<char>(0x80 + i), static_cast<char>(i)};
    std::ofstream(path, std::ios::binary) << bytes;
    Vol i16(1, 2, 3, 4), wide(1, 2, 4, 4), f(1, 2, 3, 2);
    ASSERT_EQ(ReadRawSamples(i16.get(), path.c_str(), 6, 1, V3D_SAMPLE_S16, 1, 1, 2, 3), 0);
    EXPECT_EQ(i16.i(0, 0, 0), static_cast<short>(0x8606));  // big-endian: the high byte first
    EXPECT_EQ(i16.i(0, 1, 2), static_cast<short>(0x8b0b));
    ASSERT_EQ(ReadRawSamples(i16.get(), path.c_str(), 6, 0, V3D_SAMPLE_U16, 0, 1, 2, 3), 0);
    EXPECT_EQ(i16.i(0, 0, 1), 0x0181);  // little-endian
    EXPECT_EQ(ReadRawSamples(wide.get(), path.c_str(), 6, 0, V3D_SAMPLE_U32, 1, 1, 1, 2), V3D_ERR_FILE_VALUES);
    EXPECT_EQ(ReadRawSamples(f.get(), path.c_str(), 6, 0, V3D_SAMPLE_U16, 0, 1, 2, 3), V3D_ERR_WRONG_TYPE);
    EXPECT_EQ(ReadRawSamples(f.get(), path.c_str(), 6, 1, V3D_SAMPLE_F64, 0, 1, 2, 3), V3D_ERR_FREAD);
    EXPECT_EQ(ReadRawSamples(f.get(), path.c_str(), -1, 0, V3D_SAMPLE_F32, 0, 1, 2, 3), V3D_ERR_INVALID_PARAMS);
    EXPECT_EQ(ReadRawSamples(f.get(), path.c_str(), 0, 0, V3D_SAMPLE_RGB24, 0, 1, 2, 3), V3D_ERR_INVALID_PARAMS);
    EXPECT_EQ(ReadRawSamples(f.get(), path.c_str(), 0, 0, V3D_SAMPLE_F32, 0, 2, 2, 3), V3D_ERR_BAD_INPUT_DIMS);
}

}  // namespace
