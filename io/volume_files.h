// Internals of the volume files with a header (NIfTI, NRRD, MetaImage): what a header says
// about the grid, the voxels and the geometry, the frame range of a table call, the move of
// decoded samples into a volume, and what the writers share. Each format file provides a
// header reader, a data reader that hands over one time point at a time, and a writer.
#pragma once

#include <cstddef>
#include <cstdint>

#include "io/imageseq.h"
#include "vexilo3d_volumefile.h"

namespace v3d {

// What a header tells, in the volume's terms: columns X, rows Y, frames Z, time points T.
struct FileGrid {
    long long X = 1, Y = 1, Z = 1, T = 1;
    int sample = 0;     // V3D_SAMPLE_*
    bool big_endian = false;
    // NIfTI's scaling: value = slope * stored + inter, read into F when scaled
    bool scaled = false;
    double slope = 1.0, inter = 0.0;
    double spacing[3] = {1.0, 1.0, 1.0};  // z, y, x
    bool oriented = false;
    VolumeOrientation orientation{};
};

// Bytes of one sample of a file (RGB24: the three components), 0 for an unknown type.
int sample_bytes(int sample);
// The volume data type the samples of grid are read into (UC, I or F).
int volume_type_of(const FileGrid& grid);
inline int colortype_of(const FileGrid& grid) { return grid.sample == V3D_SAMPLE_RGB24 ? kRGB : kGrey; }
// The bytes of one time point (X * Y * Z samples), false when that does not fit a size_t.
bool time_point_bytes(const FileGrid& grid, std::size_t* bytes);

// A grid the readers take: every extent within the image limits and Z * T frames within the
// int range (-1105), a known sample type (-1103).
int check_grid(const FileGrid& grid);

// The frames of a table call, counted in file order (frame Z * t + z): first, count (0: the
// rest of first's time point). -90 for a negative first or count, -1104 beyond the last frame.
struct FrameRange {
    int first = 0, count = 0;
    int t0 = 0, t1 = 0;  // the time points the frames lie in
};
int frame_range(const FileGrid& grid, int first, int count, FrameRange* range);

// Receives the samples of one time point after another (X * Y * Z samples in the machine's
// byte order, RGB components interleaved); a non-zero status stops the reading.
class TimePointSink {
public:
    virtual ~TimePointSink() = default;
    virtual int take(int t, const unsigned char* samples) = 0;
};

// Stores the frames of range that lie in time point t into vol (file frame f into volume frame
// f - first), converting the samples to the volume's type; -1106 for an unsigned 32-bit value
// beyond the int range.
int store_time_point(Volume* vol, const FileGrid& grid, const FrameRange& range, int t,
                     const unsigned char* samples);

// Reverses the byte order of count samples of size bytes each.
void swap_samples(unsigned char* data, std::size_t count, int size);
bool machine_is_big_endian();

// ---- writers -------------------------------------------------------------------------------

// What a writer writes for vol: the sample type (UC: U8 or RGB24; F: F32; I: the smallest of
// S16, U16, S32 that holds every voxel), the spacing and orientation of the volume.
FileGrid grid_to_write(Volume* vol);
// One row (frame z, row y) of vol as samples of type sample, in the machine's byte order.
void pack_row(const Volume* vol, int z, int y, int sample, unsigned char* out);
// Every row of vol packed that way, one after the other (the data of one time point), in a
// buffer of *bytes bytes; null when its size cannot be held or memory is short.
std::unique_ptr<unsigned char[]> pack_volume(Volume* vol, const FileGrid& grid, std::size_t* bytes);

// Case-insensitive "name ends with suffix".
bool ends_with(const char* name, const char* suffix);

// The operations of one format.
struct VolumeFileOps {
    int header_status;  // the format's status for a header that makes no sense
    int (*header)(const char* path, FileGrid* grid);
    // Hands time points t0..t1 to sink.
    int (*data)(const char* path, const FileGrid& grid, int t0, int t1, TimePointSink& sink);
    int (*write)(Volume* vol, const char* path, int option);
};
extern const VolumeFileOps kNiftiOps, kNrrdOps, kMetaImageOps;

// The format table's entries of a volume format.
int check_volume_file(const VolumeFileOps& ops, const char* base, int first, const char* ext,
                      int count, ImageSequenceInfo* info);
int read_volume_file(const VolumeFileOps& ops, Volume* vol, const char* base, int first,
                     const char* ext, int count);
int write_volume_file(const VolumeFileOps& ops, Volume* vol, const char* base, const char* ext);

template <const VolumeFileOps& Ops>
int check_volume(const char* base, int first, int, const char* ext, int count, ImageSequenceInfo* info) {
    return check_volume_file(Ops, base, first, ext, count, info);
}
template <const VolumeFileOps& Ops>
int read_volume(Volume* vol, const char* base, int first, int, const char* ext, int count) {
    return read_volume_file(Ops, vol, base, first, ext, count);
}
template <const VolumeFileOps& Ops>
int write_volume(Volume* vol, const char* base, int, int, const char* ext) {
    return write_volume_file(Ops, vol, base, ext);
}

}  // namespace v3d
