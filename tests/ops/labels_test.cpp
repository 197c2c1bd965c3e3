// Colouring a label volume: a plain reference over random labels and VOIs, every check with an
// untouched output, and default colours a user can tell apart on black.
#include <array>
#include <cmath>
#include <cstdlib>
#include <set>
#include <vector>

#include "tests/ops/voxel_grid.h"

namespace {

using t3d::Box;
using t3d::Vol;

// The colouring written the plain way: what each output voxel must hold afterwards.
std::vector<double> reference(Vol& labels, Vol& out, int n, const std::vector<LabelColor>& table, int k) {
    t3d::Voxels expected(out.get());
    t3d::for_box(t3d::voi_box(labels.get()), [&](int z, int y, int x) {
        const int l = labels.uc(z, y, x);
        if (l == 0 || l > n || (k && l != k)) return;
        const LabelColor& e = table[l - 1];
        const int rgb[3] = {e.red, e.green, e.blue};
        for (int c = 0; c < 3; ++c) expected.at(z, y, x, c) = e.requested ? rgb[c] : 0;
    });
    return expected.v;
}

std::vector<LabelColor> some_table(int n) {
    std::vector<LabelColor> t(n);
    for (int l = 1; l <= n; ++l)
        t[l - 1] = {static_cast<unsigned char>(l * 3), static_cast<unsigned char>(200 - l),
                    static_cast<unsigned char>(l * 7 % 256), l % 2, l % 3 != 0, 1};
    return t;
}

TEST(ColorLabels, EveryObjectOrOneObjectMatchesTheReference) {
    const int n = 9;
    for (int k : {0, 1, 4, 9}) {
        Vol labels(4, 6, 7), out(5, 7, 8, 1, 2);
        t3d::fill_random(labels.get(), 11 + k, n + 3);  // some labels above n as well
        t3d::fill_random(out.get(), 5 + k);              // background keeps what it held
        labels.voi(1, 4, 1, 5, 2, 6);
        std::vector<LabelColor> table = some_table(n);
        const std::vector<double> expected = reference(labels, out, n, table, k);
        ASSERT_EQ(ColorLabelledVolume3d(labels.get(), out.get(), n, table.data(), k), 0) << k;
        EXPECT_EQ(t3d::snapshot(out.get()), expected) << "k = " << k;
    }
}

TEST(ColorLabels, ChecksComeInOrderAndLeaveTheOutputUntouched) {
    Vol labels(2, 3, 4), out(2, 3, 4, 1, 2), grey_out(2, 3, 4), small(2, 3, 3, 1, 2), rgb_in(2, 3, 4, 1, 2),
        f_in(2, 3, 4, 2);
    t3d::fill_random(labels.get(), 3, 4);
    t3d::fill_random(out.get(), 4);
    const std::vector<double> before = t3d::snapshot(out.get());
    std::vector<LabelColor> table = some_table(3);
    LabelColor* t = table.data();
    struct Case {
        Volume *in, *out;
        int n;
        LabelColor* table;
        int k, status;
    };
    for (const Case& c : std::vector<Case>{
             {f_in.get(), out.get(), 3, t, 0, -502},          // input type
             {rgb_in.get(), out.get(), 3, t, 0, -503},        // input colour
             {labels.get(), grey_out.get(), 3, t, 0, -503},   // output colour
             {labels.get(), small.get(), 3, t, 0, -520},
             {labels.get(), small.get(), 0, nullptr, 9, -520},  // dimensions before the table
             {labels.get(), out.get(), 3, nullptr, 0, -4},
             {labels.get(), out.get(), 0, nullptr, 0, -4},    // the table before n
             {labels.get(), out.get(), 0, t, 0, -90},
             {labels.get(), out.get(), 256, t, 0, -90},
             {labels.get(), out.get(), 3, t, 4, -90},
             {labels.get(), out.get(), 3, t, -1, -90}}) {
        EXPECT_EQ(ColorLabelledVolume3d(c.in, c.out, c.n, c.table, c.k), c.status);
        EXPECT_EQ(t3d::snapshot(out.get()), before);
    }
}

double hue_of(const LabelColor& c) {
    const double r = c.red, g = c.green, b = c.blue;
    return std::atan2(std::sqrt(3.0) * (g - b), 2 * r - g - b) * 180 / M_PI;
}

TEST(ColorLabels, DefaultColoursAreDistinctVisibleAndNeighboursFarApartInHue) {
    LabelColor table[255];
    ASSERT_EQ(SetDefaultLabelColors3d(table, 255), 0);
    std::set<std::array<int, 3>> seen;
    for (int l = 1; l <= 255; ++l) {
        const LabelColor& e = table[l - 1];
        EXPECT_EQ((std::array<int, 3>{e.changed, e.requested, e.displayed}), (std::array<int, 3>{0, 1, 1}));
        EXPECT_GE(0.299 * e.red + 0.587 * e.green + 0.114 * e.blue, 95.5) << l;
        seen.insert({e.red, e.green, e.blue});
        if (l > 1) {
            const double d = std::fabs(std::remainder(hue_of(e) - hue_of(table[l - 2]), 360.0));
            EXPECT_GT(d, 90.0) << l;
        }
    }
    EXPECT_EQ(seen.size(), 255u);
    EXPECT_EQ(SetDefaultLabelColors3d(nullptr, 3), -4);
    EXPECT_EQ(SetDefaultLabelColors3d(table, 0), -90);
    EXPECT_EQ(SetDefaultLabelColors3d(table, 256), -90);
}

}  // namespace
