#include "app/formats.h"

#include <climits>
#include <filesystem>

#include "res/strings.h"
#include "vexilo3d_volume.hpp"

namespace app {

void reader_names(const FormatRequest& f, std::string& base, std::string& ext) {
    if (single_file(f.format)) {
        split_file_name(f.file, base, ext);
    } else {
        base = f.base;
        ext = f.exts[0];
    }
}

ReadPlan read_plan(const ImageSequenceInfo& info, int deep) {
    const bool deep_samples = info.bits > 8 || info.type != V3D_TYPE_UC;
    if (!deep_samples || deep == kDeepScale) return {info.type, info.type};
    const int values = info.type == V3D_TYPE_F ? V3D_TYPE_F : V3D_TYPE_I;
    if (deep == kDeepStretch) return {V3D_TYPE_UC, values};
    return {values, values};
}

int frame_range(const FormatRequest& f, int& first, int& count) {
    first = f.first;
    count = f.last - f.first + 1;
    if (!volume_format(f.format)) return 0;
    VolumeFileInfo v;
    if (const int status = DescribeVolumeFile(f.format, f.file.c_str(), &v)) return status;
    if (f.timepoint >= v.T) return V3D_ERR_NO_SUCH_FRAMES;
    first = f.timepoint * v.Z;
    count = 0;
    return 0;
}

bool sample_file(const FormatRequest& f) {
    return f.format == V3D_FORMAT_RAW_VOLUME && (f.sample || f.big_endian || f.offset);
}

namespace {

// The file's voxel type of a raw request: the dialog's choice, or the data type's own.
int sample_of(const FormatRequest& f) {
    if (f.sample) return f.sample;
    return f.type == V3D_TYPE_UC ? V3D_SAMPLE_U8 : f.type == V3D_TYPE_F ? V3D_SAMPLE_F32 : V3D_SAMPLE_S32;
}

int sample_bytes(int sample) {
    return sample == V3D_SAMPLE_U8 ? 1 : sample == V3D_SAMPLE_U16 || sample == V3D_SAMPLE_S16 ? 2
           : sample == V3D_SAMPLE_F64 ? 8 : 4;
}

// The bytes a raw volume file of the request must hold (the frames before the first, the
// frames asked for, every channel, after the header).
long double bytes_needed(const FormatRequest& f, int colortype) {
    const long double frames = (static_cast<long double>(f.last) + 1) * (colortype == V3D_COLOR_RGB ? 3 : 1);
    return frames * f.height * f.width * sample_bytes(sample_of(f)) + f.offset;
}

}  // namespace

int check_sample_file(const FormatRequest& f, ImageSequenceInfo& info) {
    std::error_code error;
    const auto size = std::filesystem::file_size(f.file, error);
    if (error) return V3D_ERR_FOPEN;
    if (static_cast<long double>(size) < bytes_needed(f, info.colortype)) return V3D_ERR_FREAD;
    info.Z = f.last - f.first + 1;
    info.bits = 8 * sample_bytes(sample_of(f));
    return 0;
}

int read_frames(const FormatRequest& f, const ReadPlan& plan, Volume* vol, int first, int count) {
    const ImageSequenceFormat* format = GetImageSequenceFormat(f.format);
    if (!format) return V3D_ERR_INVALID_PARAMS;
    std::string base, ext;
    reader_names(f, base, ext);
    auto read = [&](Volume* into) {
        if (sample_file(f))
            return ReadRawSamples(into, f.file.c_str(), f.offset, first, sample_of(f), f.big_endian, count, into->Y,
                                  into->X);
        return format->read(into, base.c_str(), first, f.digits, ext.c_str(), count);
    };
    // what the volume carried before is not the file's
    SetVolumeOrientation(vol, nullptr);
    SetVolumeSpacing(vol, 1, 1, 1);
    if (plan.read_type == plan.type) return read(vol);
    v3d::OwnedVolume values;
    if (const int status = values.create(vol->Z, vol->Y, vol->X, plan.read_type, vol->colortype)) return status;
    if (const int status = read(values.get())) return status;
    fill_in_VOI(values.get(), 0, count, 0, vol->Y, 0, vol->X);
    if (const int status = plan.read_type == V3D_TYPE_F ? FVolume2UCVolume_norm(values.get(), vol, 0, 0, 0)
                                                        : IVolume2UCVolume_window(values.get(), vol, 0, 0))
        return status;
    return CopyVolumeGeometry(values.get(), vol);
}

namespace {

// The check's info for a request (raw formats: what the dialog gives).
ImageSequenceInfo request_info(const FormatRequest& r) {
    ImageSequenceInfo info{};
    if (raw_format(r.format)) {
        info.X = r.width, info.Y = r.height, info.type = r.type;
        info.colortype = fixed_colortype(r.format) ? fixed_colortype(r.format) : r.colortype;
    }
    return info;
}

long long file_length(const std::string& name) {
    std::error_code ec;
    const auto n = std::filesystem::file_size(name, ec);
    return ec ? -1 : static_cast<long long>(n);
}

}  // namespace

bool probe_files(const FormatRequest& r, FileFacts& facts) {
    const ImageSequenceFormat* format = GetImageSequenceFormat(r.format);
    if (!format || r.first < 0 || (format->raw && (r.width <= 0 || r.height <= 0))) return false;
    std::string base, ext;
    reader_names(r, base, ext);
    ImageSequenceInfo info = request_info(r);
    if (sample_file(r)) {  // the frames the file's length holds after its header
        const long long frame = static_cast<long long>(r.width) * r.height * sample_bytes(sample_of(r)) *
                                (info.colortype == V3D_COLOR_RGB ? 3 : 1);
        const long long frames = (file_length(r.file) - r.offset) / frame;
        if (frames < r.first + 1 || frames > INT_MAX) return false;
        facts = {static_cast<int>(frames - 1), r.width, r.height};
        return true;
    }
    if (format->check(base.c_str(), r.first, r.digits, ext.c_str(), 0, &info) != 0) return false;
    facts = {r.first + info.Z - 1, info.X, info.Y};
    return true;
}

std::string size_mismatch(const FormatRequest& r) {
    if (volume_format(r.format)) return "";  // a time point is read whole
    const ImageSequenceInfo info = request_info(r);
    const long long frame = static_cast<long long>(r.width) * r.height * sample_bytes(sample_of(r));
    const long long frames = static_cast<long long>(r.last) - r.first + 1;
    if (r.format == V3D_FORMAT_RAW_VOLUME) {
        const long long need = frame * (r.first + frames * (info.colortype == 2 ? 3 : 1)) + r.offset;
        const long long length = file_length(r.file);
        if (length > need) return res::format(res::kRawFileLonger, r.file.c_str(), length, need);
        return "";
    }
    if (raw_format(r.format)) {
        const std::string name = frame_file_name(r.base, r.first, r.digits,
                                                 r.format == V3D_FORMAT_RAW_RGB ? "r" : r.exts[0]);
        const long long length = file_length(name);
        if (length > frame) return res::format(res::kRawFrameLonger, name.c_str(), length, frame);
        return "";
    }
    FileFacts facts;
    if (probe_files(r, facts) && facts.last > r.last)
        return res::format(res::kMoreFrames, facts.last - r.first + 1, r.first, r.last,
                           static_cast<int>(frames));
    return "";
}

}  // namespace app
