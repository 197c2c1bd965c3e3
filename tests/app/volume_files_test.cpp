// The workstation with volume files: Open by time point with the file's spacing and
// orientation, raw volumes of other voxels, and the spacing an operator hands on.
#include <cstring>
#include <fstream>

#include "app/command_table.h"
#include "app/formats.h"
#include "app/rules.h"
#include "shell_fixture.h"
#include "support.h"

namespace t3d {
namespace {

using VolumeFilesOpen = ShellTest;
namespace cmd = res::cmd;

const VolumeOrientation kTilted{{{-0.5, 0, 0, 10}, {0, 0.5, 0.2, -20}, {0, 0, 3, 30}}, 1, 1};

// A NIfTI file of two time points of 2 frames of 3 x 4 UC voxels, voxel (t, z, y, x) holding
// 100 t + 10 z + 4 y + x: written as 4 frames, then its header says 2 frames and 2 time points.
std::string two_time_points() {
    Vol v(4, 3, 4, 1);
    for (int f = 0; f < 4; ++f)
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < 4; ++x) v.uc(f, y, x) = static_cast<unsigned char>(100 * (f / 2) + 10 * (f % 2) + 4 * y + x);
    EXPECT_EQ(SetVolumeSpacing(v.get(), 3, 0.5, 0.5), 0);
    EXPECT_EQ(SetVolumeOrientation(v.get(), &kTilted), 0);
    const std::string path = temp_path("two.nii");
    EXPECT_EQ(SaveNiftiVolume(v.get(), path.c_str(), 0), 0);
    std::string bytes = read_file(path);
    const short dims[] = {4, 4, 3, 2, 2};  // dim[0..4] of the NIfTI-1 header at byte 40
    std::memcpy(&bytes[40], dims, sizeof dims);
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
}

Answer open_file(int format, const std::string& path, int timepoint = 0) {
    Answer a;
    a.format.format = format;
    a.format.file = path;
    a.format.timepoint = timepoint;
    return a;
}

TEST_F(VolumeFilesOpen, ATimePointComesWithTheFilesSpacingAndOrientation) {
    const std::string path = two_time_points();
    ui.push(open_file(V3D_FORMAT_NIFTI, path, 1)).pick_new();
    app::dispatch(cmd::kOpen);
    Volume* v = GetVolumeByIndex(0);
    ASSERT_EQ(v->type, V3D_TYPE_UC);
    EXPECT_EQ(std::vector({v->Z, v->Y, v->X}), std::vector({2, 3, 4}));
    EXPECT_EQ(ui.requests.back().Z, 2);
    EXPECT_EQ(v->data[0].uc[1][2][3], 100 + 10 + 8 + 3);
    double s[3];
    GetVolumeSpacing(v, &s[0], &s[1], &s[2]);
    EXPECT_EQ(std::vector(s, s + 3), std::vector({3.0, 0.5, 0.5}));
    VolumeOrientation o;
    ASSERT_EQ(GetVolumeOrientation(v, &o), 1);
    EXPECT_FLOAT_EQ(static_cast<float>(o.affine[1][2]), 0.2f);  // the header keeps floats
    EXPECT_TRUE(std::string(v->name).find("two.nii") != std::string::npos) << v->name;
    // a time point the file does not have is refused before a slot is asked
    const size_t asked = ui.requests.size();
    ui.push(open_file(V3D_FORMAT_NIFTI, path, 2));
    app::dispatch(cmd::kOpen);
    EXPECT_EQ(ui.log.back(), "error: -1104");
    EXPECT_EQ(ui.requests.size(), asked);
    // the same slot read again from a raw file forgets what the NIfTI file told
    const std::string raw = temp_path("plain.raw");
    std::ofstream(raw, std::ios::binary) << std::string(2 * 3 * 4, '\7');
    Answer plain = open_file(V3D_FORMAT_RAW_VOLUME, raw);
    plain.format.last = 1, plain.format.width = 4, plain.format.height = 3;
    ui.push(plain).pick(0);
    app::dispatch(cmd::kOpen);
    EXPECT_EQ(v->data[0].uc[1][2][3], 7);
    GetVolumeSpacing(v, &s[0], &s[1], &s[2]);
    EXPECT_EQ(std::vector(s, s + 3), std::vector({1.0, 1.0, 1.0}));
    EXPECT_EQ(GetVolumeOrientation(v, &o), 0);
}

// 16-bit data stretched into UC through the window keeps the file's spacing and orientation.
TEST_F(VolumeFilesOpen, DeepSamplesStretchedKeepTheGeometry) {
    Vol deep(2, 3, 4, V3D_TYPE_I);
    for (int i = 0; i < 24; ++i) deep.i(i / 12, i / 4 % 3, i % 4) = 1000 + 100 * i;
    ASSERT_EQ(SetVolumeSpacing(deep.get(), 4, 1, 1), 0);
    ASSERT_EQ(SetVolumeOrientation(deep.get(), &kTilted), 0);
    const std::string path = temp_path("deep.nii.gz");
    ASSERT_EQ(SaveNiftiVolume(deep.get(), path.c_str(), 0), 0);
    Answer a = open_file(V3D_FORMAT_NIFTI, path);
    a.format.deep = app::kDeepStretch;
    ui.push(a).pick_new();
    app::dispatch(cmd::kOpen);
    Volume* v = GetVolumeByIndex(0);
    ASSERT_EQ(v->type, V3D_TYPE_UC);
    EXPECT_EQ(v->data[0].uc[0][0][0], 0);
    EXPECT_EQ(v->data[0].uc[1][2][3], 255);
    double s[3];
    GetVolumeSpacing(v, &s[0], &s[1], &s[2]);
    EXPECT_EQ(s[0], 4.0);
    VolumeOrientation o;
    EXPECT_EQ(GetVolumeOrientation(v, &o), 1);
}

TEST_F(VolumeFilesOpen, RawVolumesOfOtherVoxelsByteOrderAndHeader) {
    const std::string path = temp_path("ct.img");
    std::string bytes(16, 'H');  // a 16-byte header, then 2 x 2 x 3 big-endian signed 16-bit
    for (int i = 0; i < 12; ++i) {
        const short v = static_cast<short>(-1000 + 250 * i);
        bytes += std::string{static_cast<char>(v >> 8), static_cast<char>(v & 0xff)};
    }
    std::ofstream(path, std::ios::binary) << bytes;
    Answer a = open_file(V3D_FORMAT_RAW_VOLUME, path);
    a.format.last = 1, a.format.width = 3, a.format.height = 2;
    a.format.type = V3D_TYPE_I, a.format.sample = V3D_SAMPLE_S16, a.format.big_endian = true, a.format.offset = 16;
    ui.push(a).pick_new();
    app::dispatch(cmd::kOpen);
    Volume* v = GetVolumeByIndex(0);
    ASSERT_EQ(v->type, V3D_TYPE_I);
    EXPECT_EQ(v->data[0].i[0][0][0], -1000);
    EXPECT_EQ(v->data[0].i[1][1][2], -1000 + 250 * 11);
    // one byte more of header and the file is a sample short
    a.format.offset = 17;
    ui.push(a);
    app::dispatch(cmd::kOpen);
    EXPECT_EQ(ui.log.back(), "error: -601");
    // raw frame series have no header, byte order or other voxels
    a.format.format = V3D_FORMAT_RAW_FRAMES;
    EXPECT_EQ(app::check_format(a.format), res::kBadDimensions);
}

TEST_F(VolumeFilesOpen, OperatorsThatKeepTheGridHandTheSpacingOn) {
    Volume* in = make(2, 4, 4);
    ASSERT_EQ(SetVolumeSpacing(in, 5, 0.5, 0.5), 0);
    ASSERT_EQ(SetVolumeOrientation(in, &kTilted), 0);
    ui.pick(0).pick_new();
    app::dispatch(cmd::kSymmetric);
    Volume* same = GetVolumeByIndex(1);
    double s[3];
    VolumeOrientation o;
    GetVolumeSpacing(same, &s[0], &s[1], &s[2]);
    EXPECT_EQ(std::vector(s, s + 3), std::vector({5.0, 0.5, 0.5}));
    EXPECT_EQ(GetVolumeOrientation(same, &o), 1);
    // copied at an offset into a larger volume: the voxels' size, not their place
    Volume* placed = make(2, 4, 5);
    ui.pick(0).values({"1", "0", "0"}).pick(GetVolumeIndex(placed));
    app::dispatch(cmd::kCopyVolume);
    ASSERT_EQ(placed->data[0].uc[0][0][0], 0);
    GetVolumeSpacing(placed, &s[0], &s[1], &s[2]);
    EXPECT_EQ(s[0], 5.0);
    EXPECT_EQ(GetVolumeOrientation(placed, &o), 0);
    // zooming makes another grid: the output keeps the spacing of a new volume
    ui.pick(0).values({"2"}).pick_new();
    app::dispatch(cmd::kZoom);
    Volume* zoomed = GetVolumeByIndex(3);
    ASSERT_EQ(zoomed->Z, 4);
    GetVolumeSpacing(zoomed, &s[0], &s[1], &s[2]);
    EXPECT_EQ(std::vector(s, s + 3), std::vector({1.0, 1.0, 1.0}));
}

}  // namespace
}  // namespace t3d
