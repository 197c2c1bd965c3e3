// v3d commands of the image sequences: the format list, the check of a sequence, and conversion
// between any two formats (raw volumes and the volume files of the field included).
#include <cstdio>
#include <string>

#include "cli/cli.h"

namespace {

using cli::Args;
using cli::UsageError;

std::string format_names() {
    std::string s;
    for (int i = 0; i < V3D_FORMAT_COUNT; ++i) s += std::string(i ? ", " : "") + GetImageSequenceFormat(i)->name;
    return s;
}

int format_of(const Args& args, const std::string& key) {
    const std::string name = args.text(key);
    const int f = FindImageSequenceFormat(name.c_str());
    if (f < 0) throw UsageError("--" + key + ": '" + name + "' is not one of " + format_names());
    return f;
}

bool volume_format(int format) {
    return format == V3D_FORMAT_NIFTI || format == V3D_FORMAT_NRRD || format == V3D_FORMAT_METAIMAGE;
}

// Where a sequence lives: base name, extension, first frame number, digits.
struct Place {
    std::string base, ext;
    int first = 0, digits = 0;
};

// --KEY BASE [--PREFIXext E] [--PREFIXfirst N] [--PREFIXdigits D]; a single-file format given
// without an extension takes it from the file name ("stack.tif").
Place place_of(const Args& args, const std::string& key, const std::string& prefix,
               const ImageSequenceFormat* fmt) {
    Place p;
    p.base = args.text(key);
    if (args.has(prefix + "ext")) {
        p.ext = args.text(prefix + "ext");
    } else {
        const size_t dot = p.base.rfind('.'), slash = p.base.find_last_of("/\\");
        if (fmt->single_file && dot != std::string::npos && (slash == std::string::npos || dot > slash)) {
            p.ext = p.base.substr(dot + 1);
            p.base.resize(dot);
        } else {
            p.ext = fmt->extension;
        }
    }
    p.first = args.integer(prefix + "first", 0);
    p.digits = args.integer(prefix + "digits", 0);
    return p;
}

// Runs the check of the input sequence: raw formats take --size ZxYxX, --type and --channels;
// image formats take --count (a TIFF stack reads every page without it).
int check_input(const Args& args, int format, const Place& p, ImageSequenceInfo& info) {
    const ImageSequenceFormat* fmt = GetImageSequenceFormat(format);
    info = ImageSequenceInfo{};
    int count;
    if (fmt->raw) {
        const cli::Triple size = args.triple("size");
        info.X = size.x;
        info.Y = size.y;
        info.type = cli::type_code(args.text("type", "uc"));
        info.colortype = args.integer("channels", 1) == 3 ? 2 : 1;
        count = size.z;
    } else {
        const bool to_the_end = format == V3D_FORMAT_TIFF_STACK || volume_format(format);
        count = to_the_end ? args.integer("count", 0) : args.integer("count");
    }
    return fmt->check(p.base.c_str(), p.first, p.digits, p.ext.c_str(), count, &info);
}

// --timepoint T of a four-dimensional volume file: its frames come after those of the time
// points before it, so --first counts from the time point's first frame.
int apply_timepoint(const Args& args, int format, Place& p, VolumeFileInfo* described = nullptr) {
    VolumeFileInfo info{};
    if (!volume_format(format)) return 0;
    const int t = args.integer("timepoint", 0);
    if (t < 0) throw UsageError("--timepoint: " + std::to_string(t) + " is below 0");
    if (int s = DescribeVolumeFile(format, (p.base + "." + p.ext).c_str(), &info)) return s;
    if (t >= info.T) return V3D_ERR_NO_SUCH_FRAMES;
    p.first = cli::checked_sum({static_cast<long long>(t) * info.Z, p.first}, "--timepoint");
    if (described) *described = info;
    return 0;
}

int read_input(const Args& args, cli::VolumePtr& vol) {
    const int format = format_of(args, "from");
    const ImageSequenceFormat* fmt = GetImageSequenceFormat(format);
    Place p = place_of(args, "in", "", fmt);
    if (int s = apply_timepoint(args, format, p)) return s;
    ImageSequenceInfo info;
    if (int s = check_input(args, format, p, info)) return s;
    // raw and volume files say (or are told) their type; pictures go into UC or, asked, I
    const int type = fmt->raw || volume_format(format) ? info.type : cli::type_code(args.text("type", "uc"));
    if (int s = cli::make_volume(info.Z, info.Y, info.X, type, info.colortype, vol)) return s;
    return fmt->read(vol->get(), p.base.c_str(), p.first, p.digits, p.ext.c_str(), info.Z);
}

int tiff_compression(const Args& args) {
    const std::string c = args.text("compression", "none");
    if (c == "none") return V3D_TIFF_NONE;
    if (c == "lzw") return V3D_TIFF_LZW;
    if (c == "packbits") return V3D_TIFF_PACKBITS;
    throw UsageError("--compression: '" + c + "' is not one of none, lzw, packbits");
}

int write_output(const Args& args, Volume* vol) {
    const int format = format_of(args, "to");
    const ImageSequenceFormat* fmt = GetImageSequenceFormat(format);
    const Place p = place_of(args, "out", "out-", fmt);
    int option = 0;  // the writer's option, read before anything is written
    switch (format) {
    case V3D_FORMAT_TIFF:
    case V3D_FORMAT_TIFF_STACK: option = tiff_compression(args); break;
    case V3D_FORMAT_BMP:
    case V3D_FORMAT_TGA: option = args.has("rle"); break;
    case V3D_FORMAT_GIF: option = args.has("interlaced"); break;
    case V3D_FORMAT_JPEG: option = args.integer("quality", 95); break;
    case V3D_FORMAT_NIFTI: option = args.has("nifti2") ? 2 : 0; break;
    case V3D_FORMAT_NRRD:
    case V3D_FORMAT_METAIMAGE: option = args.has("gzip"); break;
    default: break;
    }
    args.check_all_used();
    const std::string staged = cli::stage_output(p.base);  // every file of the sequence
    const char *base = staged.c_str(), *ext = p.ext.c_str();
    switch (format) {
    case V3D_FORMAT_TIFF: return savetiff(vol, base, p.first, p.digits, ext, option);
    case V3D_FORMAT_TIFF_STACK: return SaveTiffStack(vol, base, ext, option);
    case V3D_FORMAT_BMP: return SaveBmpSequence(vol, base, p.first, p.digits, ext, option);
    case V3D_FORMAT_TGA: return SaveTgaSequence(vol, base, p.first, p.digits, ext, option);
    case V3D_FORMAT_GIF: return SaveGifSequence(vol, base, p.first, p.digits, ext, option);
    case V3D_FORMAT_JPEG: return SaveJpegSequence(vol, base, p.first, p.digits, ext, option);
    case V3D_FORMAT_NIFTI: return SaveNiftiVolume(vol, (staged + "." + p.ext).c_str(), option);
    case V3D_FORMAT_NRRD: return SaveNrrdVolume(vol, (staged + "." + p.ext).c_str(), option);
    case V3D_FORMAT_METAIMAGE: return SaveMetaImageVolume(vol, (staged + "." + p.ext).c_str(), option);
    default: return fmt->write(vol, base, p.first, p.digits, ext);
    }
}

int run_convert(const Args& args) {
    cli::VolumePtr vol;
    if (int s = read_input(args, vol)) return s;
    return write_output(args, vol->get());
}

int run_formats(const Args& args) {
    args.check_all_used();
    std::printf("%-3s %-10s %-5s %-8s %s\n", "#", "name", "ext", "files", "title");
    for (int i = 0; i < V3D_FORMAT_COUNT; ++i) {
        const ImageSequenceFormat* f = GetImageSequenceFormat(i);
        std::printf("%-3d %-10s %-5s %-8s %s%s\n", i, f->name, f->extension,
                    f->single_file ? "one" : "per-frame", f->title, f->write ? "" : " (read only)");
    }
    return 0;
}

const char* sample_word(int sample) {
    static const char* const kWords[] = {"?", "uint8", "int8", "uint16", "int16", "uint32",
                                         "int32", "float32", "float64", "rgb24"};
    return sample >= 1 && sample <= V3D_SAMPLE_RGB24 ? kWords[sample] : kWords[0];
}

// What a volume file adds: time points, voxels, spacing and the affine.
void print_volume_file(const VolumeFileInfo& v) {
    std::printf("T %d sample %s type %s%s\nspacing z %g y %g x %g\n", v.T, sample_word(v.sample),
                cli::type_word(v.type), v.scaled ? " (scaled)" : "", v.spacing[0], v.spacing[1],
                v.spacing[2]);
    if (!v.oriented) {
        std::printf("orientation none\n");
        return;
    }
    std::printf("orientation qform %d sform %d\n", v.orientation.qform_code, v.orientation.sform_code);
    for (const auto& row : v.orientation.affine)
        std::printf("  %g %g %g %g\n", row[0], row[1], row[2], row[3]);
}

int run_imageinfo(const Args& args) {
    const int format = format_of(args, "from");
    Place p = place_of(args, "in", "", GetImageSequenceFormat(format));
    VolumeFileInfo described{};
    if (int s = apply_timepoint(args, format, p, &described)) return s;
    ImageSequenceInfo info;
    if (int s = check_input(args, format, p, info)) return s;
    args.check_all_used();
    std::printf("X %d Y %d Z %d colortype %d bits %d\n", info.X, info.Y, info.Z, info.colortype,
                info.bits);
    if (volume_format(format)) print_volume_file(described);
    return 0;
}

const char* const kInputUsage =
    "--from FORMAT --in BASE [--ext E] [--first N] [--digits D]\n"
    "    (--count N | --size ZxYxX [--type uc|f|i] [--channels 1|3] | [--timepoint T])";

const char* const kInputHelp =
    "The input sequence is named from BASE, the frame number and the extension: BASE%d.E, or\n"
    "with --digits D the number zero-padded to D characters (BASE%0*d.E), numbers --first ..\n"
    "--first + count - 1. Single-file formats (rawvol, tiffstack) read BASE.E (or --in FILE.E)\n"
    "and --first frames of the file are skipped. --ext defaults to the format's usual\n"
    "extension. Raw formats (raw, rawvol, rgb) have no header: --size ZxYxX gives the frame\n"
    "count, height and width, --type and --channels (rawvol) the voxels. Image formats take\n"
    "--count (tiffstack: every page when it is missing); --type i reads them into an int\n"
    "volume (16-bit samples unscaled), otherwise 16-bit samples are scaled to 0..255.\n"
    "Volume files (nifti: .nii, .nii.gz, .hdr/.img; nrrd: .nrrd, .nhdr; metaimage: .mha,\n"
    ".mhd) say their size, voxels, spacing and orientation: 8-bit data comes in as uc,\n"
    "integers as i, reals (and scaled NIfTI data) as f, RGB as three uc channels, and the\n"
    "spacing and orientation go with the volume to a volume file written from it. A\n"
    "four-dimensional file gives its first time point, or --timepoint T (from 0); --first and\n"
    "--count then count frames from the time point's first (--count: to its end).\n"
    "Formats, in the order of the open/save dialog (v3d formats): ";

std::string convert_help() {
    return std::string(
               "Reads an image sequence or raw volume and writes it in another format.\n\n") +
           kInputHelp + format_names() +
           ".\n\nThe output is named the same way from --out, --out-ext, --out-first and\n"
           "--out-digits. Writer options: --compression none|lzw|packbits (tiff, tiffstack),\n"
           "--rle (bmp: RLE8 for grey volumes; tga), --interlaced (gif, grey volumes only),\n"
           "--quality 1..100 (jpeg, default 95), --nifti2 (nifti: version 2; .nii.gz compresses),\n"
           "--gzip (nrrd: gzip encoding; metaimage: zlib, .zraw beside a .mhd). Colour volumes\n"
           "become RGB files; int volumes can be written as tiff, tiffstack, pnm (16-bit grey), the\n"
           "raw formats and the volume files (as int16, uint16 or int32, the smallest that holds\n"
           "them).";
}

std::string imageinfo_help() {
    return std::string("Runs the check routine of a sequence and prints its width X, height Y, frame\n"
                       "count Z, colour type and bits per sample; for a volume file also its time\n"
                       "points T, voxel type, spacing (millimetres) and orientation.\n\n") +
           kInputHelp + format_names() + ".";
}

const std::string& convert_help_text() {
    static const std::string s = convert_help();
    return s;
}
const std::string& imageinfo_help_text() {
    static const std::string s = imageinfo_help();
    return s;
}

const cli::Registrar reg_convert({"convert", "convert between image sequences and raw volumes",
                                  "--from FORMAT --in BASE ... --to FORMAT --out BASE\n"
                                  "    [--out-ext E] [--out-first N] [--out-digits D] [writer options]",
                                  convert_help_text().c_str(), run_convert});
const cli::Registrar reg_formats({"formats", "list the image-sequence formats in dialog order", "",
                                  "Lists the formats of the open/save dialog in their fixed order (the\n"
                                  "ten image sequences, then the volume files): position, short name\n"
                                  "(for --from/--to), usual extension, one file or one file per frame,\n"
                                  "and title.",
                                  run_formats});
const cli::Registrar reg_imageinfo({"imageinfo", "check an image sequence and print its size",
                                    kInputUsage, imageinfo_help_text().c_str(), run_imageinfo});

}  // namespace
