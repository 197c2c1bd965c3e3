// Picture buffers and projection records.
#include <cstring>

#include "support.h"

namespace {

TEST(Buffer, LayoutOfGreyAndColourPictures) {
    for (int colortype : {1, 2}) {
        Buffer* b = CreateBuffer(colortype, 7, 5);
        ASSERT_NE(b, nullptr);
        EXPECT_EQ(b->colortype, colortype);
        EXPECT_EQ(b->width, 7);
        EXPECT_EQ(b->height, 5);
        const int n = colortype == 1 ? 1 : 3;
        for (int c = 0; c < 3; ++c) {
            if (c >= n) {
                EXPECT_EQ(b->image[c], nullptr);
                continue;
            }
            ASSERT_NE(b->image[c], nullptr);
            for (int r = 0; r < 5; ++r) {
                EXPECT_EQ(b->image[c][r], b->image[c][0] + r * 7);  // one block, row by row
                for (int x = 0; x < 7; ++x) EXPECT_EQ(b->image[c][r][x], 0);
            }
        }
        DestroyBuffer(b);
    }
}

TEST(Buffer, OtherColourTypesAndFailures) {
    Buffer* none = CreateBuffer(3, 7, 5);
    ASSERT_NE(none, nullptr);
    for (int c = 0; c < 3; ++c) EXPECT_EQ(none->image[c], nullptr) << c;
    DestroyBuffer(none);
    EXPECT_EQ(CreateBuffer(1, 0, 5), nullptr);
    EXPECT_EQ(CreateBuffer(2, 5, -1), nullptr);
    DestroyBuffer(nullptr);
    // pictures are capped as frames are
    EXPECT_EQ(CreateBuffer(1, V3D_PICTURE_MAX_WIDTH + 1, 1), nullptr);
    EXPECT_EQ(CreateBuffer(1, 1, V3D_PICTURE_MAX_HEIGHT + 1), nullptr);
    Buffer* widest = CreateBuffer(1, V3D_PICTURE_MAX_WIDTH, 1);
    EXPECT_NE(widest, nullptr);
    DestroyBuffer(widest);
}

TEST(Buffer, ProjectionRecordsAndTypes) {
    const int first = RegisterProjectionType();
    EXPECT_GE(first, 0);
    EXPECT_EQ(RegisterProjectionType(), first + 1);
    EXPECT_EQ(RegisterProjectionType(), first + 2);
    int source = 0;
    Projection* p = CreateProjection(first, &source, 32);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->type, first);
    EXPECT_EQ(p->source, &source);
    EXPECT_EQ(p->user, reinterpret_cast<unsigned char*>(p) + sizeof(Projection));
    const unsigned char zeros[32] = {};
    EXPECT_EQ(std::memcmp(p->user, zeros, 32), 0);
    std::memset(p->user, 0xab, 32);
    DestroyProjection(p);
    Projection* empty = CreateProjection(1, nullptr, 0);
    ASSERT_NE(empty, nullptr);
    DestroyProjection(empty);
    EXPECT_EQ(CreateProjection(1, nullptr, -1), nullptr);
}

}  // namespace
