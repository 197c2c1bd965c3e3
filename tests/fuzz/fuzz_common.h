// Shared by the fuzz targets: decode one input into a fresh volume and insist that the record
// stays what it was and valid, whatever the decoder returned.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "io/imageseq.h"

namespace fuzz {

// Frames larger than this are checked (header only) but not decoded, to keep the fuzzer's
// memory small; the readers' own limits are tested by the unit tests.
constexpr long long kMaxPixels = 1 << 20;

inline void require(bool ok) {
    if (!ok) std::abort();
}

// The record must be exactly as created and pass CheckVolume.
inline void require_intact(const Volume& before, Volume& after) {
    require(std::memcmp(&before, &after, sizeof before) == 0);
    require(CheckVolume(&after, 7, 3) == 0);
}

// The volume type a decoded file goes into: F for floating-point samples, I for signed ones
// (and odd-sized inputs, so that both integer paths are fuzzed), UC for the others.
inline int volume_type(const v3d::ImageHeader& h, std::size_t size) {
    if (h.kind == v3d::SampleKind::Float) return 2;
    return h.kind == v3d::SampleKind::Signed || (size & 1) ? 4 : 1;
}

inline int decode_into_volume(v3d::FrameDecoder decode, const std::uint8_t* data, std::size_t size) {
    v3d::ImageHeader h;
    if (decode(data, size, &h, nullptr) != 0) return 0;
    require(v3d::image_size_ok(h.width, h.height) && h.frames >= 1);
    // every frame of a file of several, as long as they stay small
    const long long frames = std::min<long long>(h.frames, kMaxPixels / (static_cast<long long>(h.width) * h.height));
    if (frames < 1) return 0;
    Volume v{};
    InitializeVolume(&v, static_cast<int>(frames), h.height, h.width, volume_type(h, size), h.colour);
    if (CreateVolume(&v) != 0) return 0;
    const Volume before = v;
    v3d::VolumeSink sink(&v, 0, static_cast<int>(frames));
    decode(data, size, nullptr, &sink);
    require(sink.stored() <= frames);
    require_intact(before, v);
    DestroyVolume(&v);
    return 0;
}

}  // namespace fuzz
