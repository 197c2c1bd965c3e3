// Fuzz target: one tiff frame from memory into a volume.
#include "fuzz_common.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return fuzz::decode_into_volume(v3d::decode_tiff, data, size);
}
