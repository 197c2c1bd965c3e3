// v3d commands of the image sequences: the format list, the check of a sequence, and conversion
// between any two formats (raw volumes and the volume files of the field included).
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
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

// Where a sequence lives: base name, extension, first frame number, digits (-1: one file
// named without a number).
struct Place {
    std::string base, ext;
    int first = 0, digits = 0;
};

bool is_file(const std::string& name) {
    std::error_code ec;
    return std::filesystem::is_regular_file(name, ec);
}

// --KEY BASE [--PREFIXext E] [--PREFIXfirst N] [--PREFIXdigits D]; a single-file format given
// without an extension takes it from the file name ("stack.tif"). An input picture of a frame
// format may be named as it is ("retina.jpg"): then it is the one file, without a number.
Place place_of(const Args& args, const std::string& key, const std::string& prefix,
               const ImageSequenceFormat* fmt) {
    Place p;
    p.base = args.text(key);
    const size_t dot = p.base.rfind('.'), slash = p.base.find_last_of("/\\");
    const bool has_ext = dot != std::string::npos && (slash == std::string::npos || dot > slash);
    const bool own_name = prefix.empty() && !fmt->single_file && !fmt->raw && has_ext &&
                          !args.has("ext") && !args.has("digits") && is_file(p.base);
    if (args.has(prefix + "ext")) {
        p.ext = args.text(prefix + "ext");
    } else if ((fmt->single_file || own_name) && has_ext) {
        p.ext = p.base.substr(dot + 1);
        p.base.resize(dot);
    } else {
        p.ext = fmt->extension;
    }
    p.first = args.integer(prefix + "first", 0);
    p.digits = own_name ? -1 : args.integer(prefix + "digits", 0);
    return p;
}

// The file of frame number first + i (raw r/g/b frames: of channel c), as the readers name it.
std::string file_of(const ImageSequenceFormat* fmt, const Place& p, long long i, int c = 0) {
    const char* const rgb[3] = {"r", "g", "b"};
    const std::string ext = fmt == GetImageSequenceFormat(V3D_FORMAT_RAW_RGB) ? rgb[c] : p.ext;
    if (fmt->single_file || p.digits < 0) return p.base + "." + ext;
    std::string number = std::to_string(p.first + i);
    if (number.size() < static_cast<size_t>(p.digits)) number.insert(0, p.digits - number.size(), '0');
    return p.base + number + "." + ext;
}

long long file_length(const std::string& name) {
    std::error_code ec;
    const auto n = std::filesystem::file_size(name, ec);
    return ec ? -1 : static_cast<long long>(n);
}

// What the input's options describe: the check's info (raw formats: X, Y, type and colour
// type given) and the frame count asked for (0: every frame there is).
struct Input {
    int format = 0;
    const ImageSequenceFormat* fmt = nullptr;
    Place place;
    int count = 0;
    ImageSequenceInfo info{};
};

Input input_of(const Args& args) {
    Input in;
    in.format = format_of(args, "from");
    in.fmt = GetImageSequenceFormat(in.format);
    in.place = place_of(args, "in", "", in.fmt);
    if (in.fmt->raw) {
        const cli::Triple size = args.triple("size");
        in.info.X = size.x;
        in.info.Y = size.y;
        in.info.type = cli::type_code(args.text("type", "uc"));
        in.info.colortype = args.integer("channels", 1) == 3 ? 2 : 1;
        in.count = size.z;
    } else {
        in.count = args.integer("count", 0);
    }
    return in;
}

int check_input(Input& in) {
    const Place& p = in.place;
    return in.fmt->check(p.base.c_str(), p.first, p.digits, p.ext.c_str(), in.count, &in.info);
}

// --timepoint T of a four-dimensional volume file: its frames come after those of the time
// points before it, so --first counts from the time point's first frame. described gets what
// the header tells.
int apply_timepoint(const Args& args, Input& in, VolumeFileInfo* described = nullptr) {
    VolumeFileInfo info{};
    if (!volume_format(in.format)) return 0;
    const int t = args.integer("timepoint", 0);
    if (t < 0) throw UsageError("--timepoint: " + std::to_string(t) + " is below 0");
    if (int s = DescribeVolumeFile(in.format, (in.place.base + "." + in.place.ext).c_str(), &info)) return s;
    if (t >= info.T) return V3D_ERR_NO_SUCH_FRAMES;
    in.place.first = cli::checked_sum({static_cast<long long>(t) * info.Z, in.place.first}, "--timepoint");
    if (described) *described = info;
    return 0;
}

// One frame file of the input as a failure line names it.
struct FrameFile {
    std::string name, which;  // which: " (frame N)" in a series, "" for one file
};

// A raw file shorter than its size needs: says so (true) with both lengths.
bool short_raw(const Input& in, const FrameFile& f) {
    const long long frame = static_cast<long long>(in.info.X) * in.info.Y * (in.info.type == V3D_TYPE_UC ? 1 : 4);
    const long long need = in.format == V3D_FORMAT_RAW_VOLUME
        ? frame * (in.place.first + static_cast<long long>(in.count) * (in.info.colortype == 2 ? 3 : 1))
        : frame;
    const long long length = file_length(f.name);
    if (length < 0 || length >= need) return false;
    std::fprintf(stderr, "v3d: %s%s holds %lld bytes, fewer than the %lld bytes its size needs\n", f.name.c_str(),
                 f.which.c_str(), length, need);
    return true;
}

// Picture i of a series that its own check refuses with status, or that differs from the
// first (whose info *first keeps): says so (true).
bool refused_picture(const Input& in, long long i, const FrameFile& f, int status, ImageSequenceInfo* first) {
    Place one = in.place;
    one.first += static_cast<int>(i);
    ImageSequenceInfo info{};
    const int own = in.fmt->check(one.base.c_str(), one.first, one.digits, one.ext.c_str(), 1, &info);
    if (own == status) {
        std::fprintf(stderr, "v3d: %s%s: %s\n", f.name.c_str(), f.which.c_str(), GetStatusText(status));
        return true;
    }
    if (i == 0) *first = info;
    if (own != 0 || (info.X == first->X && info.Y == first->Y && info.colortype == first->colortype &&
                     info.bits == first->bits && info.type == first->type))
        return false;
    std::fprintf(stderr, "v3d: %s%s is %dx%d, %d channel(s) of %d bits (%s); the first frame is %dx%d, %d channel(s) "
                         "of %d bits (%s)\n",
                 f.name.c_str(), f.which.c_str(), info.X, info.Y, info.colortype == 2 ? 3 : 1, info.bits,
                 cli::type_word(info.type), first->X, first->Y, first->colortype == 2 ? 3 : 1, first->bits,
                 cli::type_word(first->type));
    return true;
}

// After a failure: a line that names the file and the reason, where the status alone cannot
// (which frame file cannot be opened, how long a raw file is, which picture is refused).
void explain(const Input& in, int status) {
    const ImageSequenceFormat* fmt = in.fmt;
    const int files = fmt->single_file || in.place.digits < 0 ? 1 : (in.count ? in.count : V3D_IMAGE_MAX_FRAMES);
    const int channels = in.format == V3D_FORMAT_RAW_RGB ? 3 : 1;
    ImageSequenceInfo first{};
    for (long long i = 0; i < files; ++i)
        for (int c = 0; c < channels; ++c) {
            const FrameFile f{file_of(fmt, in.place, i, c),
                              files > 1 ? " (frame " + std::to_string(in.place.first + i) + ")" : ""};
            if (std::FILE* file = std::fopen(f.name.c_str(), "rb")) {
                std::fclose(file);
            } else {  // the file the reader could not open (TIFF says -1000), or the series' end
                if (status == V3D_ERR_FOPEN || status == V3D_ERR_TIFF)
                    std::fprintf(stderr, "v3d: %s%s cannot be opened: %s\n", f.name.c_str(), f.which.c_str(),
                                 std::strerror(errno));
                return;
            }
            if (status == V3D_ERR_FOPEN) continue;
            if (fmt->raw ? status == V3D_ERR_FREAD && short_raw(in, f) : refused_picture(in, i, f, status, &first))
                return;
        }
}

// The type the input is read into and the window that brings it into 0..255 afterwards.
struct Reading {
    int type = V3D_TYPE_UC;
    bool window = false, automatic = false;
    int low = 0, high = 0;
};

Reading reading_of(const Args& args, const Input& in) {
    Reading r;
    r.type = in.info.type;
    // raw files are told their type, volume files tell it; pictures take --type
    const bool pictures = !in.fmt->raw && !volume_format(in.format);
    if (pictures && args.has("type")) r.type = cli::type_code(args.text("type"));
    if (!args.has("window")) return r;
    if (pictures && args.has("type")) throw UsageError("--window makes a uc volume: leave out --type");
    const std::string w = args.text("window");
    r.window = true;
    r.automatic = w == "auto";
    if (!r.automatic) {
        const size_t colon = w.find(':');
        if (colon == std::string::npos) throw UsageError("--window: '" + w + "' is not auto or LOW:HIGH");
        r.low = cli::parse_int(w.substr(0, colon), "--window");
        r.high = cli::parse_int(w.substr(colon + 1), "--window");
        if (r.low >= r.high) throw UsageError("--window: LOW must be below HIGH");
    }
    if (in.info.type == V3D_TYPE_F) {
        if (!r.automatic) throw UsageError("--window LOW:HIGH takes integer samples; floating-point ones take --window auto");
    } else if (in.info.type == V3D_TYPE_UC && in.info.bits <= 8) {
        throw UsageError("--window: the samples have 8 bits already");
    }
    r.type = in.info.type == V3D_TYPE_F ? V3D_TYPE_F : V3D_TYPE_I;
    return r;
}

int read_input(const Args& args, cli::VolumePtr& vol) {
    Input in = input_of(args);
    if (int s = apply_timepoint(args, in)) return s;
    if (int s = check_input(in)) {
        explain(in, s);
        return s;
    }
    const Reading r = reading_of(args, in);
    const Place& p = in.place;
    cli::VolumePtr deep;
    cli::VolumePtr& target = r.window ? deep : vol;
    if (int s = cli::make_volume(in.info.Z, in.info.Y, in.info.X, r.type, in.info.colortype, target)) return s;
    if (int s = in.fmt->read(target->get(), p.base.c_str(), p.first, p.digits, p.ext.c_str(), in.info.Z)) {
        explain(in, s);
        return s;
    }
    if (!r.window) {
        if (r.type == V3D_TYPE_UC && in.info.bits > 8 && !in.fmt->raw)
            std::fprintf(stderr, "v3d: note: %d-bit samples scaled to 0..255 by their largest value; "
                                 "--window auto stretches their own range, --type i keeps them\n", in.info.bits);
        return 0;
    }
    if (int s = cli::make_volume(in.info.Z, in.info.Y, in.info.X, V3D_TYPE_UC, in.info.colortype, vol)) return s;
    if (int s = r.type == V3D_TYPE_F ? FVolume2UCVolume_norm(deep->get(), vol->get(), 0, 0, 0)
                                     : IVolume2UCVolume_window(deep->get(), vol->get(), r.low, r.high))
        return s;
    return CopyVolumeGeometry(deep->get(), vol->get());  // a volume file's spacing and orientation
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
    const int s = write_output(args, vol->get());
    if (s == V3D_ERR_WRONG_TYPE)
        std::fprintf(stderr, "v3d: the %s writer does not take %s volumes; --window brings deep samples into uc\n",
                     args.text("to").c_str(), cli::type_word(vol->get()->type));
    return s;
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
    std::printf("T %d sample %s%s\nspacing z %g y %g x %g\n", v.T, sample_word(v.sample),
                v.scaled ? " (scaled)" : "", v.spacing[0], v.spacing[1], v.spacing[2]);
    if (!v.oriented) {
        std::printf("orientation none\n");
        return;
    }
    std::printf("orientation qform %d sform %d\n", v.orientation.qform_code, v.orientation.sform_code);
    for (const auto& row : v.orientation.affine)
        std::printf("  %g %g %g %g\n", row[0], row[1], row[2], row[3]);
}

int run_imageinfo(const Args& args) {
    Input in = input_of(args);
    VolumeFileInfo described{};
    if (int s = apply_timepoint(args, in, &described)) return s;
    if (int s = check_input(in)) {
        explain(in, s);
        return s;
    }
    args.check_all_used();
    const ImageSequenceInfo& info = in.info;
    std::printf("X %d Y %d Z %d colortype %d bits %d type %s\n", info.X, info.Y, info.Z, info.colortype,
                info.bits, cli::type_word(info.type));
    if (volume_format(in.format)) print_volume_file(described);
    return 0;
}

const char* const kInputUsage =
    "--from FORMAT --in BASE|FILE [--ext E] [--first N] [--digits D]\n"
    "    ([--count N] | --size ZxYxX [--type uc|f|i] [--channels 1|3]) [--timepoint T]";

const char* const kInputHelp =
    "The input sequence is named from BASE, the frame number and the extension: BASE%d.E, or\n"
    "with --digits D the number zero-padded to D characters (BASE%0*d.E), numbers --first,\n"
    "--first + 1 ... A picture may also be named as it is (--in retina.jpg, --in movie.gif):\n"
    "that one file, all of its frames (an animated GIF holds several; --first skips some).\n"
    "Single-file formats (rawvol, tiffstack) read BASE.E (or --in FILE.E) and --first frames of\n"
    "the file are skipped. --ext defaults to the format's usual extension. Raw formats (raw,\n"
    "rawvol, rgb) have no header: --size ZxYxX gives the frame count, height and width, --type\n"
    "and --channels (rawvol) the voxels. Image formats read --count frames, by default every\n"
    "frame there is (the series ends at the first number that has no file).\n"
    "Samples: 8-bit ones make a uc volume; deeper unsigned ones (16-bit TIFF, PGM) are scaled\n"
    "to 0..255 by their largest value unless --type i keeps them; signed ones (CT data) make an\n"
    "i volume, floating-point ones an f volume. --type uc|i|f chooses another type. --window\n"
    "brings deep samples into a uc volume with their real range: LOW and below become 0, HIGH\n"
    "and above 255, linearly between; --window auto takes the data's own minimum and maximum.\n"
    "Volume files (nifti: .nii, .nii.gz, .hdr/.img; nrrd: .nrrd, .nhdr; metaimage: .mha,\n"
    ".mhd) say their size, voxels, spacing and orientation: 8-bit data comes in as uc,\n"
    "integers as i, reals (and scaled NIfTI data) as f, RGB as three uc channels (--window\n"
    "brings them into uc), and the spacing and orientation go with the volume to a volume file\n"
    "written from it. A four-dimensional file gives its first time point, or --timepoint T\n"
    "(from 0); --first and --count then count frames from the time point's first (--count:\n"
    "to its end).\n"
    "A failure names the file: which frame file cannot be opened, how many bytes a raw file\n"
    "holds and needs, which picture the reader refuses and why.\n"
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
                       "count Z, colour type, bits per sample and the data type that holds the samples;\n"
                       "for a volume file also its time points T, voxel type, spacing (millimetres) and\n"
                       "orientation.\n\n") +
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
                                  "--from FORMAT --in BASE|FILE ... [--type uc|i|f | --window auto|LOW:HIGH]\n"
                                  "    --to FORMAT --out BASE [--out-ext E] [--out-first N] [--out-digits D]\n"
                                  "    [writer options]",
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
