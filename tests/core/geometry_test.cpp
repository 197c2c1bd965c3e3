// Voxel spacing and orientation beside the volume records: what a new, destroyed or
// reallocated volume carries, records in and outside the table, and what is refused.
#include <cmath>
#include <memory>
#include <vector>

#include "support.h"

using t3d::Vol;

namespace {

std::vector<double> spacing_of(Volume* v) {
    double s[3] = {0, 0, 0};
    EXPECT_EQ(GetVolumeSpacing(v, &s[0], &s[1], &s[2]), 0);
    return {s[0], s[1], s[2]};
}

const std::vector<double> kCubes = {1, 1, 1};
const VolumeOrientation kTurned{{{0, 0, -3, 1}, {0.5, 0, 0, 2}, {0, 0.5, 0, 3}}, 1, 2};

}  // namespace

TEST(VolumeGeometry, TableSlotsForgetItWhenDestroyedOrMadeAnew) {
    ASSERT_EQ(AllocateVolumeTable(), 1);
    Volume* vol = nullptr;
    ASSERT_EQ(CreateVolumeEx(1, 1, 2, 3, 4, 0, &vol), 0);
    EXPECT_EQ(spacing_of(vol), kCubes);
    VolumeOrientation o;
    EXPECT_EQ(GetVolumeOrientation(vol, &o), 0);
    ASSERT_EQ(SetVolumeSpacing(vol, 3, 0.5, 0.25), 0);
    ASSERT_EQ(SetVolumeOrientation(vol, &kTurned), 0);
    EXPECT_EQ(spacing_of(vol), std::vector<double>({3, 0.5, 0.25}));
    ASSERT_EQ(GetVolumeOrientation(vol, &o), 1);
    EXPECT_EQ(o.affine[0][2], -3);
    EXPECT_EQ(o.sform_code, 2);
    // reallocation is DestroyVolume, InitializeVolume, CreateVolume: a new volume
    DestroyVolume(vol);
    InitializeVolume(vol, 2, 3, 4, 4, 1);
    ASSERT_EQ(CreateVolume(vol), 0);
    EXPECT_EQ(spacing_of(vol), kCubes);
    EXPECT_EQ(GetVolumeOrientation(vol, &o), 0);
    ASSERT_EQ(SetVolumeSpacing(vol, 2, 2, 2), 0);
    const int slot = GetVolumeIndex(vol);
    DestroyVolume(vol);
    Volume* again = nullptr;
    ASSERT_EQ(CreateVolumeEx(1, 1, 1, 1, 1, 0, &again), 0);
    ASSERT_EQ(GetVolumeIndex(again), slot);
    EXPECT_EQ(spacing_of(again), kCubes);
    DestroyVolume(again);
}

TEST(VolumeGeometry, RecordsOutsideTheTableShareALimitedStore) {
    std::vector<std::unique_ptr<Vol>> volumes;
    for (int i = 0; i < V3D_GEOMETRY_LOOSE_RECORDS; ++i) {
        volumes.push_back(std::make_unique<Vol>(1, 1, 1));
        ASSERT_EQ(SetVolumeSpacing(volumes.back()->get(), i + 1, 1, 1), 0) << i;
    }
    Vol one_more(1, 1, 1);
    EXPECT_EQ(SetVolumeSpacing(one_more.get(), 2, 2, 2), -9);
    EXPECT_EQ(SetVolumeOrientation(one_more.get(), &kTurned), -9);
    EXPECT_EQ(SetVolumeOrientation(one_more.get(), nullptr), 0);  // removing asks for nothing
    EXPECT_EQ(spacing_of(volumes[7]->get()), std::vector<double>({8, 1, 1}));
    volumes[7].reset();  // its entry is free again
    EXPECT_EQ(SetVolumeSpacing(one_more.get(), 2, 2, 2), 0);
    EXPECT_EQ(spacing_of(one_more.get()), std::vector<double>({2, 2, 2}));
}

TEST(VolumeGeometry, CopyAndWhatIsRefused) {
    Vol a(1, 2, 2), b(1, 2, 2, 2);
    ASSERT_EQ(SetVolumeSpacing(a.get(), 4, 1, 1), 0);
    ASSERT_EQ(SetVolumeOrientation(a.get(), &kTurned), 0);
    ASSERT_EQ(CopyVolumeGeometry(a.get(), b.get()), 0);
    EXPECT_EQ(spacing_of(b.get()), std::vector<double>({4, 1, 1}));
    VolumeOrientation o;
    EXPECT_EQ(GetVolumeOrientation(b.get(), &o), 1);
    Vol plain(1, 1, 1);
    ASSERT_EQ(CopyVolumeGeometry(plain.get(), b.get()), 0);  // a volume without geometry copies none
    EXPECT_EQ(spacing_of(b.get()), kCubes);
    EXPECT_EQ(GetVolumeOrientation(b.get(), &o), 0);

    Volume empty{};
    double s;
    for (double bad : {0.0, -1.0, double(NAN), double(INFINITY)}) EXPECT_EQ(SetVolumeSpacing(a.get(), 1, bad, 1), -90) << bad;
    VolumeOrientation nan_affine = kTurned;
    nan_affine.affine[2][3] = NAN;
    EXPECT_EQ(SetVolumeOrientation(a.get(), &nan_affine), -90);
    EXPECT_EQ(SetVolumeSpacing(&empty, 1, 1, 1), -502);
    EXPECT_EQ(SetVolumeSpacing(nullptr, 1, 1, 1), -501);
    EXPECT_EQ(GetVolumeSpacing(nullptr, &s, &s, &s), -501);
    EXPECT_EQ(GetVolumeSpacing(a.get(), &s, nullptr, &s), -4);
    EXPECT_EQ(GetVolumeOrientation(a.get(), nullptr), -4);
    EXPECT_EQ(CopyVolumeGeometry(&empty, a.get()), -502);
    EXPECT_EQ(spacing_of(a.get()), std::vector<double>({4, 1, 1}));  // nothing refused changed it
}
