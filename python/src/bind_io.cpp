// Readers and writers: raw volumes and frame files, the text dump, the image sequences of every
// format (TIFF, BMP, TGA, GIF, JPEG, PGM/PPM, raw frames, multi-page TIFF) and coefficient files.
#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "bindings.h"

namespace v3dpy {
namespace {

std::string path_of(py::handle path) {
    return py::str(py::module_::import("os").attr("fspath")(path)).cast<std::string>();
}

int type_from(py::handle dtype) {
    const int type = type_of(py::dtype::from_args(py::reinterpret_borrow<py::object>(dtype)));
    if (!type) raise_status(V3D_ERR_WRONG_TYPE);
    return type;
}

// A format by short name ("tiff") or dialog position.
const ImageSequenceFormat* format_of(py::handle format) {
    const int index = py::isinstance<py::str>(format)
                          ? FindImageSequenceFormat(format.cast<std::string>().c_str())
                          : format.cast<int>();
    const ImageSequenceFormat* f = GetImageSequenceFormat(index);
    if (!f) throw py::value_error("unknown image sequence format");
    return f;
}

// Where a sequence lives. A single-file format given without an extension takes it from the file
// name ("stack.tif"); other formats take their usual extension.
struct Place {
    std::string base, ext;
};
Place place_of(py::handle base, py::handle ext, const ImageSequenceFormat* f) {
    Place p{path_of(base), ext.is_none() ? std::string() : ext.cast<std::string>()};
    if (!ext.is_none()) return p;
    const size_t dot = p.base.rfind('.'), slash = p.base.find_last_of("/\\");
    if (f->single_file && dot != std::string::npos && (slash == std::string::npos || dot > slash)) {
        p.ext = p.base.substr(dot + 1);
        p.base.resize(dot);
    } else {
        p.ext = f->extension;
    }
    return p;
}

struct SequenceArgs {
    const ImageSequenceFormat* format;
    Place place;
    int first, digits, count;
    ImageSequenceInfo info;
};

// Runs the format's check: raw formats take shape (Z, Y, X), dtype and channels as inputs; image
// formats take count (a TIFF stack reads every page without it).
SequenceArgs checked_sequence(py::handle base, py::handle format, int first, int digits,
                              py::handle ext, py::handle count, py::handle shape, py::handle dtype,
                              int channels) {
    SequenceArgs s{format_of(format), {}, first, digits, 0, ImageSequenceInfo{}};
    s.place = place_of(base, ext, s.format);
    if (s.format->raw) {
        if (shape.is_none()) throw py::type_error("raw formats need shape=(Z, Y, X)");
        const auto zyx = shape.cast<std::array<int, 3>>();
        s.count = zyx[0];
        s.info.Y = zyx[1];
        s.info.X = zyx[2];
        s.info.type = dtype.is_none() ? V3D_TYPE_UC : type_from(dtype);
        s.info.colortype = channels == 3 ? V3D_COLOR_RGB : V3D_COLOR_GREY;
    } else if (count.is_none()) {
        if (GetImageSequenceFormat(V3D_FORMAT_TIFF_STACK) != s.format)
            throw py::type_error("image sequences need count, the number of frames");
    } else {
        s.count = count.cast<int>();
    }
    Call call;
    call.run([&] {
        return s.format->check(s.place.base.c_str(), s.first, s.digits, s.place.ext.c_str(), s.count, &s.info);
    });
    return s;
}

py::dict info_dict(const ImageSequenceInfo& info) {
    return py::dict("Z"_a = info.Z, "Y"_a = info.Y, "X"_a = info.X, "colortype"_a = info.colortype,
                    "bits"_a = info.bits, "type"_a = info.type);
}

// The voxel spacing a format records, None where the library does not know it. No format read
// today carries one; the spacing-aware readers fill it in here.
py::object spacing_of(const SequenceArgs&) { return py::none(); }

}  // namespace

void bind_io(py::module_& m) {
    m.def(
        "ReadVolume",
        [](py::handle filename, std::array<int, 3> shape, py::handle dtype, int channels, int skip) {
            const std::string name = path_of(filename);
            Call call;
            Volume* vol = call.output(py::none(), {shape[0], shape[1], shape[2], type_from(dtype),
                                                   channels == 3 ? V3D_COLOR_RGB : V3D_COLOR_GREY});
            call.run([&] { return ReadVolume(vol, name.c_str(), skip, shape[0], shape[1], shape[2]); });
            return call.array(vol);
        },
        "filename"_a, "shape"_a, "dtype"_a = "uint8", py::kw_only(), "channels"_a = 1, "skip"_a = 0,
        doc("ReadVolume",
            "ReadVolume(filename, shape, dtype='uint8', *, channels=1, skip=0) -> ndarray\n\n"
            "A raw volume file of shape (Z, Y, X), channels 1 or 3 (stored planar), skipping skip\n"
            "frames."));

    m.def(
        "WriteVolume",
        [](py::handle input, py::handle filename, int first, py::handle count) {
            const std::string name = path_of(filename);
            Call call;
            Volume* vol = call.input(input);
            const int n = count.is_none() ? vol->Z - first : count.cast<int>();
            call.run([&] { return WriteVolume(vol, name.c_str(), first, n); });
        },
        "input"_a, "filename"_a, py::kw_only(), "first"_a = 0, "count"_a = py::none(),
        doc("WriteVolume",
            "WriteVolume(input, filename, *, first=0, count=None): frames first .. first + count - 1\n"
            "(count None: to the last) as a raw file, planar by channel."));

    m.def(
        "fromdiskUCFI3D",
        [](py::handle base, std::array<int, 3> shape, py::handle dtype, std::vector<std::string> exts,
           int first, int digits) {
            const std::string b = path_of(base);
            std::vector<const char*> e;
            for (const std::string& s : exts) e.push_back(s.c_str());
            Call call;
            Volume* vol = call.output(py::none(), {shape[0], shape[1], shape[2], type_from(dtype),
                                                   exts.size() == 3 ? V3D_COLOR_RGB : V3D_COLOR_GREY});
            call.run([&] { return fromdiskUCFI3D(vol, b.c_str(), first, digits, e.data(), shape[0], shape[1], shape[2]); });
            return call.array(vol);
        },
        "base"_a, "shape"_a, "dtype"_a = "uint8", py::kw_only(),
        "exts"_a = std::vector<std::string>{"raw"}, "first"_a = 0, "digits"_a = 0,
        doc("fromdiskUCFI3D",
            "fromdiskUCFI3D(base, shape, dtype='uint8', *, exts=('raw',), first=0, digits=0)\n"
            "    -> ndarray\n\n"
            "Raw frame files base<n>.<ext>, one extension per channel (three: an RGB volume)."));

    m.def(
        "todiskUCFI3D",
        [](py::handle input, py::handle base, py::handle exts, int first, int digits) {
            const std::string b = path_of(base);
            Call call;
            Volume* vol = call.input(input);
            std::vector<std::string> names =
                !exts.is_none() ? exts.cast<std::vector<std::string>>()
                : vol->colortype == V3D_COLOR_RGB ? std::vector<std::string>{"r", "g", "b"}
                                                  : std::vector<std::string>{"raw"};
            std::vector<const char*> e;
            for (const std::string& s : names) e.push_back(s.c_str());
            while (e.size() < 3) e.push_back(nullptr);
            call.run([&] { return todiskUCFI3D(vol, b.c_str(), first, digits, e.data()); });
        },
        "input"_a, "base"_a, py::kw_only(), "exts"_a = py::none(), "first"_a = 0, "digits"_a = 0,
        doc("todiskUCFI3D",
            "todiskUCFI3D(input, base, *, exts=None, first=0, digits=0): one raw file per frame and\n"
            "channel (exts None: 'raw', or 'r', 'g', 'b' for RGB)."));

    m.def(
        "dumpUCFI3D",
        [](py::handle input, py::handle filename, py::handle voi) {
            const std::string name = path_of(filename);
            Call call;
            Volume* vol = call.input(input, voi);
            call.run([&] { return dumpUCFI3D(vol, name.c_str()); });
        },
        "input"_a, "filename"_a, py::kw_only(), voi_arg(),
        doc("dumpUCFI3D", "dumpUCFI3D(input, filename, *, voi=None): the VOI as text."));

    m.def(
        "LoadCoefficientVolume3d",
        [](py::handle file, py::handle dtype) {
            // A relative name is taken from the current directory, as Python users expect.
            const std::string name = path_of(py::module_::import("os").attr("path").attr("abspath")(file));
            const int type = type_from(dtype);
            Volume vol{};
            int status;
            {
                py::gil_scoped_release release;
                status = LoadCoefficientVolume3d(name.c_str(), type, &vol);
            }
            if (status != 0) {
                char text[512];
                raise_status(status, CoefficientFileMessage(status, name.c_str(), type, text, sizeof text));
            }
            py::array result = py::array(dtype_of(type), std::vector<py::ssize_t>{vol.Z, vol.Y, vol.X});
            const py::ssize_t row = static_cast<py::ssize_t>(vol.X) * result.itemsize();
            for (int z = 0; z < vol.Z; ++z)
                for (int y = 0; y < vol.Y; ++y)
                    std::memcpy(static_cast<char*>(result.mutable_data(z, y)),
                                static_cast<char***>(vol.data[0].p)[z][y], static_cast<size_t>(row));
            DestroyVolume(&vol);
            return result;
        },
        "file"_a, "dtype"_a = "uint8",
        doc("LoadCoefficientVolume3d",
            "LoadCoefficientVolume3d(file, dtype='uint8') -> ndarray\n\n"
            "A weights file (uint8, WIN_UC3D.PAR) or a coefficients file (float32, WIN_F3D.PAR) as\n"
            "a (Z, Y, X) array. Failures raise Error with the reader's code (-1 not found, -2\n"
            "unreadable, -3 a bad size) and the workstation's message."));

    m.def(
        "sequence_formats",
        [] {
            py::list formats;
            for (int i = 0; i < V3D_FORMAT_COUNT; ++i) {
                const ImageSequenceFormat* f = GetImageSequenceFormat(i);
                formats.append(py::dict("name"_a = f->name, "title"_a = f->title, "extension"_a = f->extension,
                                        "single_file"_a = f->single_file != 0, "raw"_a = f->raw != 0,
                                        "writable"_a = f->write != nullptr));
            }
            return formats;
        },
        "sequence_formats() -> list of dict: the image sequence formats, in the order of the\n"
        "workstation's open dialog (name, title, extension, single_file, raw, writable).");

    m.def(
        "sequence_info",
        [](py::handle base, py::handle format, int first, int digits, py::handle ext, py::handle count,
           py::handle shape, py::handle dtype, int channels) {
            return info_dict(checked_sequence(base, format, first, digits, ext, count, shape, dtype, channels).info);
        },
        "base"_a, "format"_a, py::kw_only(), "first"_a = 0, "digits"_a = 0, "ext"_a = py::none(),
        "count"_a = py::none(), "shape"_a = py::none(), "dtype"_a = py::none(), "channels"_a = 1,
        "sequence_info(base, format, *, first=0, digits=0, ext=None, count=None, shape=None,\n"
        "              dtype=None, channels=1) -> dict\n\n"
        "What read_sequence would read: X, Y, Z, colortype, bits and type.");

    m.def(
        "read_sequence",
        [](py::handle base, py::handle format, int first, int digits, py::handle ext, py::handle count,
           py::handle shape, py::handle dtype, int channels, bool return_spacing) {
            const SequenceArgs s = checked_sequence(base, format, first, digits, ext, count, shape, dtype, channels);
            // Deep samples (16-bit TIFF and PGM) keep their values in int32 unless asked otherwise.
            const int type = s.format->raw ? s.info.type
                             : !dtype.is_none() ? type_from(dtype)
                             : s.info.bits > 8  ? V3D_TYPE_I
                                                : V3D_TYPE_UC;
            Call call;
            Volume* vol = call.output(py::none(), {s.info.Z, s.info.Y, s.info.X, type, s.info.colortype});
            call.run([&] {
                return s.format->read(vol, s.place.base.c_str(), s.first, s.digits, s.place.ext.c_str(), s.info.Z);
            });
            if (return_spacing) return py::object(py::make_tuple(call.array(vol), spacing_of(s)));
            return py::object(call.array(vol));
        },
        "base"_a, "format"_a, py::kw_only(), "first"_a = 0, "digits"_a = 0, "ext"_a = py::none(),
        "count"_a = py::none(), "shape"_a = py::none(), "dtype"_a = py::none(), "channels"_a = 1,
        "return_spacing"_a = false,
        "read_sequence(base, format, *, first=0, digits=0, ext=None, count=None, shape=None,\n"
        "              dtype=None, channels=1, return_spacing=False) -> ndarray\n\n"
        "Reads an image sequence (files base<first>.<ext> ..., digits: zero-padded width) or a\n"
        "single-file format (base.ext, or base naming the file) into a new array. format: a\n"
        "name of sequence_formats() ('tiff', 'bmp', 'tga', 'gif', 'jpeg', 'pnm', 'tiffstack',\n"
        "'raw', 'rawvol', 'rgb') or its position. Image formats need count (a TIFF stack reads\n"
        "every page without it) and give uint8, or int32 for 16-bit samples (dtype overrides);\n"
        "raw formats need shape=(Z, Y, X), dtype and channels. With return_spacing the result is\n"
        "(array, spacing), spacing (z, y, x) where the file records it and None otherwise (no\n"
        "format read today records one).");

    m.def(
        "write_sequence",
        [](py::handle input, py::handle base, py::handle format, int first, int digits, py::handle ext,
           const std::string& compression, bool rle, bool interlaced, int quality) {
            const ImageSequenceFormat* f = format_of(format);
            if (!f->write) throw py::value_error(std::string(f->name) + " is read only");
            const Place p = place_of(base, ext, f);
            int tiff = V3D_TIFF_NONE;
            if (compression == "lzw") tiff = V3D_TIFF_LZW;
            else if (compression == "packbits") tiff = V3D_TIFF_PACKBITS;
            else if (compression != "none") throw py::value_error("compression: none, lzw or packbits");
            Call call;
            Volume* vol = call.input(input);
            const char *b = p.base.c_str(), *e = p.ext.c_str();
            call.run([&] {
                switch (FindImageSequenceFormat(f->name)) {
                case V3D_FORMAT_TIFF: return savetiff(vol, b, first, digits, e, tiff);
                case V3D_FORMAT_TIFF_STACK: return SaveTiffStack(vol, b, e, tiff);
                case V3D_FORMAT_BMP: return SaveBmpSequence(vol, b, first, digits, e, rle ? 1 : 0);
                case V3D_FORMAT_TGA: return SaveTgaSequence(vol, b, first, digits, e, rle ? 1 : 0);
                case V3D_FORMAT_GIF: return SaveGifSequence(vol, b, first, digits, e, interlaced ? 1 : 0);
                case V3D_FORMAT_JPEG: return SaveJpegSequence(vol, b, first, digits, e, quality);
                default: return f->write(vol, b, first, digits, e);
                }
            });
        },
        "input"_a, "base"_a, "format"_a, py::kw_only(), "first"_a = 0, "digits"_a = 0,
        "ext"_a = py::none(), "compression"_a = "none", "rle"_a = false, "interlaced"_a = false,
        "quality"_a = 95,
        "write_sequence(input, base, format, *, first=0, digits=0, ext=None, compression='none',\n"
        "               rle=False, interlaced=False, quality=95)\n\n"
        "Writes every frame in a format of sequence_formats(): TIFF and TIFF stacks take\n"
        "compression ('none', 'lzw', 'packbits'), BMP and TGA rle, GIF interlaced, JPEG quality.");
}

}  // namespace v3dpy
