// The viewing geometry shared by the projection renderers and the oblique sections: the view
// basis of an azimuth and elevation, the render box, and the rays of a picture.
//
// Coordinates are voxel indices ordered (z, y, x). A picture pixel (r, c) looks at the point
//   centre + (c - (W-1)/2) col + ((H-1)/2 - r) up
// so the box centre lands on the picture centre and the picture's upward direction is up.
#pragma once

#include <cmath>
#include <memory>

#include "core/common.h"

namespace v3d::proj {

struct View {
    float d[3];    // along the rays, per sample
    float col[3];  // one picture column to the right
    float up[3];   // one picture row upwards
};

// Degrees to single-precision sine and cosine (pi = 4 atan(1)). Quarter turns are exact: the
// rounded cos 90 (about 6e-17) would tip ray starts that lie exactly between two voxels to
// either side, so a view straight along an axis would lose one row or column of the volume
// and draw its neighbour twice.
inline void sin_cos(int degrees, float& s, float& c) {
    if (degrees % 90 == 0) {
        static const float kQuarter[4][2] = {{0, 1}, {1, 0}, {0, -1}, {-1, 0}};
        const int q = ((degrees / 90) % 4 + 4) % 4;
        s = kQuarter[q][0];
        c = kQuarter[q][1];
        return;
    }
    const double a = degrees * (4.0 * std::atan(1.0)) / 180.0;
    s = static_cast<float>(std::sin(a));
    c = static_cast<float>(std::cos(a));
}

// The view of the direction (cos e sin a, cos e cos a, sin e) in (x, y, z), given the sines
// and cosines of the azimuth a and elevation e: columns run along the horizontal
// (cos a, -sin a) and rows upwards along the tilted z axis.
inline View view_of(float sa, float ca, float se, float ce) {
    return {{se, ce * ca, ce * sa}, {0.0f, -sa, ca}, {ce, -se * ca, -se * sa}};
}

inline View view_of(int azimuth, int elevation) {
    float sa, ca, se, ce;
    sin_cos(azimuth, sa, ca);
    sin_cos(elevation, se, ce);
    return view_of(sa, ca, se, ce);
}

// Sets every byte of every channel to 0.
void clear_image(Image2d image, int channels, int H, int W);

// A half-open box of voxels, per axis z, y, x.
struct Box {
    int lo[3], hi[3];
};

// The VOI, or with trim == 1 the bounding box of the VOI's voxels that are non-zero on some
// channel. False when trimming finds no such voxel.
bool render_box(const Volume* in, int trim, Box& box);

// One ray of a picture: its integer start and the range of its samples that fall inside the
// box: exactly those in [t0, t1].
struct Ray {
    float s[3];
    int t0, t1;
};

// The rays of an H x W picture of a box: L samples each, sample t of a ray at
// start + offset[t], truncated to whole voxels.
class Rays {
public:
    // -9 when the offset tables cannot be allocated. scale (z, y, x; null: cubes) is each
    // axis's voxel size in picture pixels: the view's vectors are unit steps of the scaled
    // space, and the rays take them in voxel units.
    int setup(const Box& box, const View& view, int H, int W, const double* scale = nullptr);

    // The ray of pixel (r, c); false when none of its samples falls inside the box.
    bool ray(int r, int c, Ray& out) const;

    // Calls f(z, y, x, t) for the samples of ray inside the box in order of increasing t
    // (decreasing when Backwards), until f returns true.
    template <bool Backwards = false, class F> void walk(const Ray& ray, F&& f) const {
        const float* oz = off_[0].get();
        const float* oy = off_[1].get();
        const float* ox = off_[2].get();
        const unsigned nz = box_.hi[0] - box_.lo[0], ny = box_.hi[1] - box_.lo[1],
                       nx = box_.hi[2] - box_.lo[2];
        for (int i = 0, n = ray.t1 - ray.t0 + 1; i < n; ++i) {
            const int t = Backwards ? ray.t1 - i : ray.t0 + i;
            const int z = static_cast<int>(ray.s[0] + oz[t]);
            const int y = static_cast<int>(ray.s[1] + oy[t]);
            const int x = static_cast<int>(ray.s[2] + ox[t]);
            if (static_cast<unsigned>(z - box_.lo[0]) >= nz ||
                static_cast<unsigned>(y - box_.lo[1]) >= ny ||
                static_cast<unsigned>(x - box_.lo[2]) >= nx)
                continue;
            if (f(z, y, x, t)) return;
        }
    }

    // The voxel coordinate along axis k (0 z, 1 y, 2 x) of sample t of ray.
    int coord(const Ray& ray, int k, int t) const {
        return static_cast<int>(ray.s[k] + off_[k][t]);
    }
    // Sample offsets along axis k, sample t at [t].
    const float* offsets(int k) const { return off_[k].get(); }
    const Box& box() const { return box_; }

    int length() const { return length_; }

private:
    Box box_{};
    View view_{};
    int H_ = 0, W_ = 0;
    double centre_[3] = {};  // the box centre
    long long first_ = 0;     // position of sample 0 along the ray, in samples from the centre
    int length_ = 0;          // L
    std::unique_ptr<float[]> off_[3];
    // per axis: the sign of d, 1 / d, the keys sign * coordinate at which a ray enters and
    // leaves the box and the values of s + offset there, for estimates
    int sign_[3] = {}, enter_[3] = {}, leave_[3] = {};
    double inverse_d_[3] = {}, enter_at_[3] = {}, leave_at_[3] = {};
    double margin_ = 0;

    // The first sample of ray at which sign * coordinate k is at least key (length_ when none),
    // searched from an estimate.
    int first_at_least(const Ray& ray, int k, int key, double estimate) const;
};

}  // namespace v3d::proj
