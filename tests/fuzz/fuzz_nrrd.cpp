// Fuzz target: a .nrrd file described and read, first and last time point.
#include "volume_file_fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::read_volume_file(V3D_FORMAT_NRRD, "nrrd", data, size);
    return 0;
}
