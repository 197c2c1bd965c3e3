// Pictures (the renderers' images) written to files: PGM, PPM or TIFF, chosen by the extension.
#pragma once

#include <string>

#include "vexilo3d.h"

namespace cli {

// Writes the H x W picture of 1 or 3 channels to path: .pgm (grey pictures), .ppm (a grey
// picture is repeated on the three channels) or .tif / .tiff (8-bit, uncompressed). Returns 0,
// -600 when the file cannot be opened, -602 when writing fails, -1000 when the TIFF writer fails.
// Throws UsageError for another extension or a colour picture into .pgm.
int write_picture(const std::string& path, Image2d image, int channels, int H, int W);

// Throws UsageError when write_picture would refuse the path (checked before rendering).
void check_picture_path(const std::string& path, int channels);

}  // namespace cli
