// Voxel spacing and orientation, kept beside the volume records: by slot for the table's
// records, by address for up to V3D_GEOMETRY_LOOSE_RECORDS others. Fixed arrays, so nothing
// here allocates; a mutex, because operators may create and destroy working volumes on the
// library's threads.
#include "core/geometry.h"

#include <cmath>
#include <mutex>

#include "core/common.h"

namespace v3d {
namespace {

constexpr int kTableSlots = 100;

struct Geometry {
    double spacing[3] = {1.0, 1.0, 1.0};  // z, y, x
    bool oriented = false;
    VolumeOrientation orientation{};
};

struct Loose {
    const Volume* key = nullptr;
    Geometry geometry;
};

std::mutex g_lock;
Geometry g_slots[kTableSlots];
Loose g_loose[V3D_GEOMETRY_LOOSE_RECORDS];

// The entry kept for vol, or null. With make, a loose record without one gets a free entry
// (null when there is none). Called under the lock.
Geometry* entry_of(const Volume* vol, bool make) {
    const int slot = GetVolumeIndex(const_cast<Volume*>(vol));
    if (slot < kTableSlots) return &g_slots[slot];
    Loose* free_entry = nullptr;
    for (Loose& l : g_loose) {
        if (l.key == vol) return &l.geometry;
        if (!l.key && !free_entry) free_entry = &l;
    }
    if (!make || !free_entry) return nullptr;
    free_entry->key = vol;
    free_entry->geometry = Geometry{};
    return &free_entry->geometry;
}

// Back to voxels of 1 x 1 x 1 without orientation; a loose record gives its entry up. Called
// under the lock.
void reset_locked(const Volume* vol) {
    const int slot = GetVolumeIndex(const_cast<Volume*>(vol));
    if (slot < kTableSlots) {
        g_slots[slot] = Geometry{};
        return;
    }
    for (Loose& l : g_loose)
        if (l.key == vol) l = Loose{};
}

bool positive_finite(double v) { return std::isfinite(v) && v > 0.0; }

bool affine_finite(const VolumeOrientation& o) {
    for (const auto& row : o.affine)
        for (double v : row)
            if (!std::isfinite(v)) return false;
    return true;
}

}  // namespace

void forget_geometry(const Volume* vol) {
    std::lock_guard<std::mutex> hold(g_lock);
    reset_locked(vol);
}

}  // namespace v3d

using namespace v3d;

extern "C" {

int GetVolumeSpacing(Volume* vol, double* sz, double* sy, double* sx) {
    if (!vol) return kNullVolume;
    if (!sz || !sy || !sx) return kNullBasicPointer;
    std::lock_guard<std::mutex> hold(g_lock);
    const Geometry* g = entry_of(vol, false);
    const Geometry plain;
    if (!g) g = &plain;
    *sz = g->spacing[0], *sy = g->spacing[1], *sx = g->spacing[2];
    return kOk;
}

int SetVolumeSpacing(Volume* vol, double sz, double sy, double sx) {
    V3D_CHECK(CheckVolume(vol, kAnyType, kAnyColor));
    if (!positive_finite(sz) || !positive_finite(sy) || !positive_finite(sx)) return kInvalidParams;
    std::lock_guard<std::mutex> hold(g_lock);
    Geometry* g = entry_of(vol, true);
    if (!g) return kNoBuffer;
    g->spacing[0] = sz, g->spacing[1] = sy, g->spacing[2] = sx;
    return kOk;
}

int GetVolumeOrientation(Volume* vol, VolumeOrientation* orientation) {
    if (!vol) return kNullVolume;
    if (!orientation) return kNullBasicPointer;
    std::lock_guard<std::mutex> hold(g_lock);
    const Geometry* g = entry_of(vol, false);
    if (!g || !g->oriented) return 0;
    *orientation = g->orientation;
    return 1;
}

int SetVolumeOrientation(Volume* vol, const VolumeOrientation* orientation) {
    V3D_CHECK(CheckVolume(vol, kAnyType, kAnyColor));
    if (orientation && !affine_finite(*orientation)) return kInvalidParams;
    std::lock_guard<std::mutex> hold(g_lock);
    Geometry* g = entry_of(vol, orientation != nullptr);
    if (!g) return orientation ? kNoBuffer : kOk;
    g->oriented = orientation != nullptr;
    if (orientation) g->orientation = *orientation;
    return kOk;
}

int CopyVolumeGeometry(Volume* from, Volume* to) {
    V3D_CHECK(CheckVolume(from, kAnyType, kAnyColor));
    V3D_CHECK(CheckVolume(to, kAnyType, kAnyColor));
    if (from == to) return kOk;
    std::lock_guard<std::mutex> hold(g_lock);
    const Geometry* source = entry_of(from, false);
    if (!source) {
        reset_locked(to);
        return kOk;
    }
    Geometry* target = entry_of(to, true);
    if (!target) return kNoBuffer;
    *target = *source;
    return kOk;
}

}  // extern "C"
