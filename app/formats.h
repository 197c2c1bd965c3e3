// The volume file formats offered by the open/save format dialog, in its list order.
#pragma once

namespace app {

enum Format : int {
    kRawVolumeFile,     // one file, planar by channel (ReadVolume)
    kRawFrameSeries,    // one file per frame and channel (fromdiskUCFI3D)
    kTiffSequence,
    kBmpSequence,
    kTgaSequence,
    kGifSequence,
    kJpegSequence,
    kFormatCount
};

inline const char* const kFormatNames[kFormatCount] = {
    "Raw volume file", "Raw frame files", "TIFF sequence", "BMP sequence",
    "TGA sequence",    "GIF sequence",    "JPEG sequence",
};

// The image-sequence readers join as they are built.
inline bool format_available(int format) {
    return format == kRawVolumeFile || format == kRawFrameSeries;
}

// A single-file format (file name) rather than a series (base name, frame numbers).
inline bool single_file(int format) { return format == kRawVolumeFile; }

}  // namespace app
