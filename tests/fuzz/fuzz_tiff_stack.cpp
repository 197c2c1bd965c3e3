// Fuzz target: every page of a multi-page TIFF from memory, checked and then read into a volume.
#include "fuzz_common.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    v3d::TiffOwner t;
    if (v3d::tiff_open_memory(data, size, &t) != 0) return 0;
    ImageSequenceInfo info{};
    if (v3d::walk_tiff_pages(t.get(), 0, 0, &info, nullptr) == 0 &&
        static_cast<long long>(info.X) * info.Y * info.Z <= fuzz::kMaxPixels) {
        Volume v{};
        InitializeVolume(&v, info.Z, info.Y, info.X, info.type, info.colortype);
        if (CreateVolume(&v) == 0) {
            const Volume before = v;
            v3d::walk_tiff_pages(t.get(), 0, info.Z, nullptr, &v);
            fuzz::require_intact(before, v);
            DestroyVolume(&v);
        }
    }
    return 0;
}
