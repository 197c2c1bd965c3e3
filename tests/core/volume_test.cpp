// The volume record, its storage, the volume table and the status texts.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <vector>

#include "core/parallel.h"
#include "support.h"

using t3d::Vol;

// Bad records in check order, then absurd sizes: each leaves the record empty.
TEST(CreateVolume, RefusesBadRecordsInOrderAndLeavesThemEmpty) {
    EXPECT_EQ(CreateVolume(nullptr), -501);
    const int cases[][6] = {{2, 2, 2, 3, 1, -502},   {2, 2, 2, 1, 3, -503},
                            {0, 2, 2, 1, 1, -90},    {2, 2, -1, 4, 2, -90},
                            {100000, 100000, 100000, 1, 1, -530}, {100000, 100000, 100000, 1, 2, -530}};
    for (const auto& c : cases) {
        Volume v{};
        InitializeVolume(&v, c[0], c[1], c[2], c[3], c[4]);
        EXPECT_EQ(CreateVolume(&v), c[5]) << c[0] << " " << c[3] << " " << c[4];
        EXPECT_EQ(v.type, 0);
        DestroyVolume(&v);  // harmless on the failed record
    }
}

TEST(CreateVolume, NewVolumesAreZeroWithTheWholeVoi) {
    for (int type : {1, 2, 4}) {
        Vol v(3, 4, 5, type, 2);
        ASSERT_EQ(v.status(), 0);
        EXPECT_EQ(std::vector<int>({v->z1, v->z2, v->y1, v->y2, v->x1, v->x2}), (std::vector<int>{0, 3, 0, 4, 0, 5}));
        for (double d : t3d::snapshot(v.get())) EXPECT_EQ(d, 0.0);
    }
}

// One pointer block; rows of a frame contiguous. Channels of 4 MB and more are one block with
// every frame on a cache line of its own, zeroed, and every voxel writable.
TEST(CreateVolume, StorageIsOnePointerBlockWithContiguousRows) {
    for (int Z : {3, 63}) {
        const int Y = 257, X = 261;  // 63 frames: 4.2 MB a channel
        Vol v(Z, Y, X, 1, 2);
        ASSERT_EQ(v.status(), 0);
        for (int c = 0; c < 3; ++c) {
            void** slots = static_cast<void**>(v->data[c].p);
            unsigned char*** uc = v->data[c].uc;
            for (int z = 0; z < Z; ++z) {
                EXPECT_EQ(slots[z], static_cast<void*>(slots + Z + z * Y)) << "frame " << z;
                for (int y = 1; y < Y; ++y) ASSERT_EQ(uc[z][y], uc[z][0] + y * X);
                if (Z == 63) {
                    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(uc[z][0]) % 64, 0u);
                }
                for (int y = 0; y < Y; ++y) ASSERT_EQ(std::count(uc[z][y], uc[z][y] + X, 0), X);
                uc[z][Y - 1][X - 1] = static_cast<unsigned char>(c + 1);
            }
        }
        EXPECT_EQ(v->data[2].uc[Z - 1][Y - 1][X - 1], 3);
    }
}

TEST(DestroyVolume, ClearsTypeAndNameAndIsHarmlessTwice) {
    Volume v{};
    InitializeVolume(&v, 2, 3, 4, 1, 1);
    ASSERT_EQ(CreateVolume(&v), 0);
    std::strcpy(v.name, "phantom");
    DestroyVolume(&v);
    EXPECT_EQ(v.type, 0);
    EXPECT_STREQ(v.name, "");
    EXPECT_EQ(v.Z, 2);  // dimensions stay
    DestroyVolume(&v);
    DestroyVolume(nullptr);
}

TEST(CheckVolume, ChecksInTheFixedOrder) {
    EXPECT_EQ(CheckVolume(nullptr, 7, 3), -501);
    Volume empty{};
    EXPECT_EQ(CheckVolume(&empty, 0, 3), 0);
    EXPECT_EQ(CheckVolume(&empty, 7, 3), -502);

    Vol v(4, 5, 6, 1, 1);
    EXPECT_EQ(CheckVolume(v.get(), 2, 3), -502);
    EXPECT_EQ(CheckVolume(v.get(), 1, 2), -503);
    EXPECT_EQ(CheckVolume(v.get(), 7, 3), 0);
    // an empty z range, x2 = X (inside), x2 beyond X, a negative y1
    const int vois[][7] = {{1, 1, 0, 5, 0, 6, -510}, {0, 4, 0, 5, 0, 6, 0},
                           {0, 4, 0, 5, 0, 7, -510}, {0, 4, -1, 5, 0, 6, -510}};
    for (const auto& b : vois) {
        v.voi(b[0], b[1], b[2], b[3], b[4], b[5]);
        EXPECT_EQ(CheckVolume(v.get(), 7, 3), b[6]) << b[0] << b[1] << b[2] << b[5];
    }
    // a missing channel is found before a bad VOI
    void* saved = v->data[0].p;
    v->data[0].p = nullptr;
    EXPECT_EQ(CheckVolume(v.get(), 7, 3), -504);
    v->data[0].p = saved;
}

TEST(CheckIfUCBinary, LooksOnlyInsideTheVoi) {
    Vol v(3, 3, 3, 1, 2);
    v.uc(1, 1, 1, 2) = 255;
    EXPECT_EQ(CheckIfUCBinary(v.get()), 1);
    v.uc(0, 0, 0, 1) = 1;
    EXPECT_EQ(CheckIfUCBinary(v.get()), 0);
    v.voi(1, 3, 0, 3, 0, 3);
    EXPECT_EQ(CheckIfUCBinary(v.get()), 1);
    Vol f(2, 2, 2, 2);
    EXPECT_EQ(CheckIfUCBinary(f.get()), -502);
}

// The frames are checked on several threads: one stray voxel is found in any frame and channel,
// within the vectorised part of a row or after it, with the values next to 0 and 255 too.
TEST(CheckIfUCBinary, OneStrayVoxelInAnyFrameOnAnyThreadCount) {
    for (int threads : {1, 3}) {
        v3d::set_thread_count(threads);
        for (int z : {0, 4, 8})
            for (int c : {0, 2})
                for (int x : {3, 69})
                    for (int value : {1, 128, 254}) {
                        Vol v(9, 2, 70, 1, 2);
                        v.uc(z, 0, x, c) = 255;
                        ASSERT_EQ(CheckIfUCBinary(v.get()), 1);
                        v.uc(z, 1, x, c) = static_cast<unsigned char>(value);
                        EXPECT_EQ(CheckIfUCBinary(v.get()), 0)
                            << "frame " << z << ", channel " << c << ", x " << x << ", " << value << ", " << threads;
                    }
    }
    v3d::set_thread_count(0);
}

TEST(CheckIfVolumeClear, ConvertsAndComparesPerChannel) {
    Vol v(2, 2, 2, 1, 1);
    float value = 256.0f;
    EXPECT_EQ(CheckIfVolumeClear(v.get(), &value), -90);
    value = 0.0f;
    EXPECT_EQ(CheckIfVolumeClear(v.get(), &value), 1);
    value = 0.9f;  // truncated to 0
    EXPECT_EQ(CheckIfVolumeClear(v.get(), &value), 1);
    v.uc(1, 1, 1) = 3;
    EXPECT_EQ(CheckIfVolumeClear(v.get(), &value), 0);

    Vol f(2, 2, 2, 2, 2);
    const float rgb[3] = {0.0f, 0.0f, 0.5f};
    EXPECT_EQ(CheckIfVolumeClear(f.get(), rgb), 0);  // F values are compared as they are
    f.f(0, 0, 0, 2) = 0.5f;
    f.voi(0, 1, 0, 1, 0, 1);
    EXPECT_EQ(CheckIfVolumeClear(f.get(), rgb), 1);
}

class VolumeTable : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(AllocateVolumeTable(), 1); }
    void TearDown() override { ReleaseVolumeTable(); }
};

TEST_F(VolumeTable, SlotsAreHandedOutInOrderUntilFull) {
    EXPECT_EQ(AllocateVolumeTable(), 1);  // idempotent
    EXPECT_EQ(GetVolumeByIndex(-1), nullptr);
    EXPECT_EQ(GetVolumeByIndex(100), nullptr);
    EXPECT_EQ(GetNewVolumeIndex(), 0);
    for (int i = 0; i < 100; ++i) {
        Volume* out = nullptr;
        ASSERT_EQ(CreateVolumeEx(1, 1, 1, 2, 2, 0, &out), 0);
        EXPECT_EQ(out, GetVolumeByIndex(i));
        EXPECT_EQ(GetVolumeIndex(out), i);
        EXPECT_EQ(out->x2, 2);
    }
    EXPECT_EQ(GetNewVolumeIndex(), -1);
    Volume* untouched = reinterpret_cast<Volume*>(0x1);
    EXPECT_EQ(CreateVolumeEx(1, 1, 1, 2, 2, 0, &untouched), 612);
    EXPECT_EQ(untouched, reinterpret_cast<Volume*>(0x1));

    DestroyVolume(GetVolumeByIndex(37));
    EXPECT_EQ(GetNewVolumeIndex(), 37);
    Volume outside{};
    EXPECT_EQ(GetVolumeIndex(&outside), 100);
}

TEST_F(VolumeTable, FailedCreationStoresNullAndKeepsTheSlotFree) {
    Volume* out = GetVolumeByIndex(5);
    EXPECT_EQ(CreateVolumeEx(3, 1, 2, 2, 2, 0, &out), -502);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(GetNewVolumeIndex(), 0);
}

#if !defined(VEXILO3D_RESTRICTED_EDITION)
TEST_F(VolumeTable, RestrictedRequestsProceedAsUCInTheFullEdition) {
    Volume* out = nullptr;
    ASSERT_EQ(CreateVolumeEx(65535, 1, 300, 300, 300, 0, &out), 0);
    EXPECT_EQ(out->type, 1);
}
#else
int g_notice = 0;
TEST_F(VolumeTable, TheRestrictedEditionRefusesLargeVolumesWithANotice) {
    SetMessageHook([](int code) { g_notice = code; });
    Volume* out = reinterpret_cast<Volume*>(0x1);
    EXPECT_EQ(CreateVolumeEx(65535, 1, 1, 1, VEXILO3D_RESTRICTED_MAX_VOXELS + 1, 0, &out), -1);
    EXPECT_EQ(g_notice, 7003);
    EXPECT_EQ(out, reinterpret_cast<Volume*>(0x1));
    ASSERT_EQ(CreateVolumeEx(65535, 1, 1, 1, VEXILO3D_RESTRICTED_MAX_VOXELS, 0, &out), 0);
    EXPECT_EQ(out->type, 1);
    SetMessageHook(nullptr);
}
#endif

TEST(StatusText, KeepsEveryTextExactly) {
    EXPECT_STREQ(GetStatusText(-530), "Cannot allocate internal volume");
    EXPECT_STREQ(GetStatusText(530), "Cannot allocate internal volume");
    EXPECT_STREQ(GetStatusText(-9), GetStatusText(-10));
    EXPECT_STREQ(GetStatusText(-510), "Invalid VOI definitions");
    EXPECT_STREQ(GetStatusText(94), "Maxinum number of nodes has been exceeded");
    EXPECT_STREQ(GetStatusText(999), "Stack is empty(path not fount)");
    EXPECT_STREQ(GetStatusText(618), "Win_uc not found \n or \n Invalid mask size");
    EXPECT_STREQ(GetStatusText(629), "At least 3 float buffers \nare needed for this operation");
    EXPECT_STREQ(GetStatusText(-1001), "TIFF Image Sequence inconsistency");
    EXPECT_STREQ(GetStatusText(7000), "Lower frame is larger than Upper frame.");
    EXPECT_STRNE(GetStatusText(7003), "");
    EXPECT_STREQ(GetStatusText(0), "");
    EXPECT_STREQ(GetStatusText(7004), "");
    EXPECT_STREQ(GetStatusText(-2147483647 - 1), "");
}

TEST(Parallel, ThreadCountCanBeOverriddenAndRestored) {
    const int all = v3d::thread_count();
    EXPECT_GE(all, 1);
    v3d::set_thread_count(1);
    EXPECT_EQ(v3d::thread_count(), 1);
    v3d::set_thread_count(0);
    EXPECT_EQ(v3d::thread_count(), all);
    std::vector<int> hits(1000, 0);
    v3d::parallel_for(0, 1000, [&](int i) { hits[i] += 1; });
    for (int h : hits) EXPECT_EQ(h, 1);
}

// The worker threads exist once the volume table does: an allocation failure while the OpenMP
// runtime builds its team ends the process, so no operator may be the first to need them.
TEST(Parallel, TheVolumeTableStartsTheWorkerThreads) {
#if defined(__linux__) && defined(_OPENMP)
    auto threads = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/task"),
                             std::filesystem::directory_iterator());
    };
    v3d::set_thread_count(3);
    ReleaseVolumeTable();
    ASSERT_EQ(AllocateVolumeTable(), 1);
    EXPECT_GE(threads(), 3);
    ReleaseVolumeTable();
    v3d::set_thread_count(0);
#else
    GTEST_SKIP() << "counts the threads of /proc/self/task";
#endif
}
