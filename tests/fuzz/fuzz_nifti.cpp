// Fuzz target: a .nii file (.nii.gz when the input starts as gzip does) described and read,
// first and last time point.
#include "volume_file_fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const bool gzip = size >= 2 && data[0] == 0x1f && data[1] == 0x8b;
    fuzz::read_volume_file(V3D_FORMAT_NIFTI, gzip ? "nii.gz" : "nii", data, size);
    return 0;
}
