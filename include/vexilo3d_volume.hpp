/* VEXILO3D for C++ programs and modules: a volume record that owns its storage and destroys it
   with its scope. Not part of the C interface: the umbrella header does not include it. */
#ifndef VEXILO3D_VOLUME_HPP
#define VEXILO3D_VOLUME_HPP

#include "vexilo3d.h"

namespace v3d {

class OwnedVolume {
public:
    OwnedVolume() = default;
    // Creates the storage at once; status() tells how that went.
    OwnedVolume(int Z, int Y, int X, int type, int colortype = V3D_COLOR_GREY) {
        create(Z, Y, X, type, colortype);
    }
    OwnedVolume(const OwnedVolume&) = delete;
    OwnedVolume& operator=(const OwnedVolume&) = delete;
    ~OwnedVolume() { DestroyVolume(&vol_); }

    // (Re)creates Z x Y x X voxels: 0 or the status of CreateVolume (-530 when the storage
    // cannot be had, the record then empty).
    int create(int Z, int Y, int X, int type, int colortype = V3D_COLOR_GREY) {
        DestroyVolume(&vol_);
        InitializeVolume(&vol_, Z, Y, X, type, colortype);
        return status_ = CreateVolume(&vol_);
    }
    int status() const { return status_; }
    Volume* get() { return &vol_; }
    const Volume* get() const { return &vol_; }
    Volume* operator->() { return &vol_; }
    const Volume* operator->() const { return &vol_; }

private:
    Volume vol_{};
    int status_ = 0;
};

}  // namespace v3d

#endif
