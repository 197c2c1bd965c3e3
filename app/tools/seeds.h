// "Pixel Input": while its dialog is open, left clicks on the display windows of one volume
// give seed voxels.
#pragma once

#include <vector>

#include "app/tools/tools.h"

namespace app {

struct Seed {
    int z, y, x;
};

class SeedCollector : public Tool {
public:
    explicit SeedCollector(const Volume* vol) : vol_(vol) {}
    bool clicked(const VoxelEvent& e) override {
        if (e.vol != vol_ || e.buttons != kLeftButton) return false;
        seeds_.push_back({e.z, e.y, e.x});
        return true;
    }
    const std::vector<Seed>& seeds() const { return seeds_; }

private:
    const Volume* vol_;
    std::vector<Seed> seeds_;
};

}  // namespace app
