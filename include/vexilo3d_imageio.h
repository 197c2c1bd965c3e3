/* VEXILO3D: numbered image sequences (TIFF, BMP, TGA, GIF, JPEG, PBM/PGM/PPM, raw frames) and
   the multi-page TIFF stack.

   A sequence is one file per frame, named from a base (which may include a directory), a frame
   number and an extension: "%s%d.%s" when digits is 0, "%s%0*d.%s" (zero-padded to digits
   characters) otherwise, as raw frame files are named. File number first + z holds volume
   frame z. The image formats also take digits -1: one picture named "%s.%s" without a number
   (a lone "retina.jpg"), first then being the number of its frames to skip. A file may hold
   several frames (an animated GIF): its frames follow each other in the volume, and the frame
   count counts frames, not files. The single-file formats (raw volume, TIFF stack) name their
   one file "%s.%s" (base, extension); for them first is the first frame of the file to read
   (the frames before it are skipped) and digits is not used.

   Every format pairs a check routine with a reader:

     check(base, first, digits, ext, count, info)  looks at the headers of count frames: it
         fills info with the width X, height Y, frame count Z, colour type, bits per sample of
         the files and the data type that holds their samples as they are: UC for unsigned
         samples, I for signed ones, F for floating point. Frames that differ from the first
         give the format's inconsistency status. count 0 asks for every frame there is: the
         series ends at the first number whose file cannot be opened, a file's frames end with
         it, and a raw volume holds as many whole frames as its length. Raw formats have no
         header: for them info->X, info->Y, info->type (and, for the raw volume,
         info->colortype; raw frames are grey, raw r/g/b frames colour) are inputs and the
         check verifies that every file exists and holds enough data.
     read(vol, base, first, digits, ext, count)  fills frames 0..count-1 (count 1 or more) of
         an existing volume (rows 0..height-1, columns 0..width-1; the volume may be larger).
         Image formats read into UC, I or F volumes of the image's colour type. The VOI and the
         record are never changed; a failure in the middle leaves the frames read so far.

   Statuses: -90 null names, count above V3D_IMAGE_MAX_FRAMES (or, for a reader, below 1),
   digits below -1 (below 0 for raw frames and for writers), a frame number range that
   overflows; -600 a file cannot be opened; -601 a file cannot be read (a raw file or a raw PGM
   shorter than it must be); -1000 "Error in TIFF" (a TIFF frame cannot be opened or decoded);
   -1001 "TIFF Image Sequence inconsistency"; -29 JPEG, -30 TGA, -31 BMP, -32 GIF, -1020 PNM
   content errors (wrong magic, truncated data, dimensions outside
   1..V3D_IMAGE_MAX_WIDTH/HEIGHT, LZW codes, palette or colour-map indices out of range); what
   a reader does not support names the property: -1010 TIFF compression, -1011 TIFF bits per
   sample, -1012 TIFF sample format, -1013 TIFF photometric interpretation, -1014 TIFF samples
   per pixel, -1021 BMP bit depth or compression, -1022 TGA image type or depth, -1023 JPEG
   colour space; -1002 fewer frames than asked for in one file (digits -1); -521 a later frame
   of a non-TIFF sequence differs from the first, or a frame larger than the volume; -503 a
   frame whose colour type is not the volume's; -1004 signed samples for a UC volume, -1003
   floating-point samples for a UC or I volume; -9 when a reader or writer cannot have the
   memory it needs (a file's bytes, a row, a decoder's table); CheckVolume's statuses.

   Sample values: 8-bit samples are stored as they are. Deeper unsigned samples (16-bit TIFF and
   PGM, PGM/PPM with a maximum value other than 255, 12-bit TIFF) are stored as they are into I
   and F volumes and scaled into UC volumes by round(v * 255 / maxval), for 16-bit samples
   (v * 255 + 32767) / 65535; bitmaps (1-bit TIFF, PBM) are 0 and 1, in UC volumes 0 and 255.
   Signed and floating-point samples are stored as they are into I and F volumes (floating
   point only into F); IVolume2UCVolume_window brings them into 0..255.

   Writers write every frame of a volume (all Z frames, full rows) as files numbered
   first .. first + Z - 1 (single-file formats: one file), UC volumes of either colour type;
   TIFF and PGM write I volumes as 16-bit grey, clamped to 0..65535. -502 other data types,
   -503 a colour type the format cannot hold, -600 a file cannot be created, -602 a write
   fails, -90 null names, negative digits or a volume larger than the limits. */
#ifndef VEXILO3D_IMAGEIO_H
#define VEXILO3D_IMAGEIO_H

#include "vexilo3d_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The largest frame and sequence a reader accepts; larger headers are refused before anything
   is allocated. */
#define V3D_IMAGE_MAX_WIDTH  16384
#define V3D_IMAGE_MAX_HEIGHT 16384
#define V3D_IMAGE_MAX_FRAMES 16384

/* The formats, in the order of the open/save format dialog. */
enum {
    V3D_FORMAT_RAW_FRAMES = 0, /* raw frames: one headerless file per frame (any data type) */
    V3D_FORMAT_RAW_VOLUME = 1, /* raw single-file volume, planar by channel (any data type) */
    V3D_FORMAT_RAW_RGB = 2,    /* raw r/g/b frames: three headerless files per frame, extensions
                                  "r", "g" and "b" (the ext argument is not used) */
    V3D_FORMAT_TIFF = 3,       /* TIFF frames through libtiff: any compression it decodes,
                                  strips or tiles, either planar configuration; grey, RGB,
                                  palette and JPEG YCbCr; 1 to 16 bits (signed or not) and
                                  32/64-bit floating point; the first page of each file */
    V3D_FORMAT_BMP = 4,        /* Windows bitmaps: 1, 4, 8-bit palette (plain, RLE4, RLE8),
                                  16-bit, 24-bit, 32-bit (BGRX or channel masks) */
    V3D_FORMAT_TGA = 5,        /* Targa: grey, true colour and colour-mapped, plain or
                                  run-length encoded */
    V3D_FORMAT_GIF = 6,        /* GIF87a/89a, interlaced or not; every frame of an animation,
                                  composited as it plays (transparency, disposal) */
    V3D_FORMAT_JPEG = 7,       /* JPEG through libjpeg: grey, colour, CMYK and YCCK */
    V3D_FORMAT_PNM = 8,        /* PBM, PGM and PPM, plain (P1-P3) and raw (P4-P6) */
    V3D_FORMAT_TIFF_STACK = 9, /* one multi-page TIFF file holding every frame */
    /* volume files with a header that tells the grid, the voxel type, the voxel spacing and
       the orientation (vexilo3d_volumefile.h) */
    V3D_FORMAT_NIFTI = 10,     /* NIfTI-1 and NIfTI-2: .nii, .nii.gz, .hdr/.img pairs */
    V3D_FORMAT_NRRD = 11,      /* NRRD: .nrrd, or a .nhdr header beside its data */
    V3D_FORMAT_METAIMAGE = 12, /* MetaImage: .mha, or a .mhd header beside .raw/.zraw data */
    V3D_FORMAT_COUNT = 13
};

/* TIFF compression codes (the values of the TIFF Compression field). */
#define V3D_TIFF_NONE 1
#define V3D_TIFF_LZW 5
#define V3D_TIFF_PACKBITS 32773

typedef struct ImageSequenceInfo {
    int X, Y, Z;     /* width, height, frames */
    int type;        /* the data type that holds the samples as they are: 1 (UC) for unsigned
                        samples (deeper ones scaled when read into UC), 4 (I) for signed
                        ones, 2 (F) for floating point; raw formats: the type given */
    int colortype;   /* 1 grey, 2 colour (TIFF: photometric interpretation 2 or more) */
    int bits;        /* bits per sample of the files: 8 (palette images too); 1 for bitmaps;
                        up to 16 for deep TIFF samples, 16 for PGM/PPM with a maximum value
                        above 255; 32 or 64 for floating-point TIFF; 32 for raw F and I */
} ImageSequenceInfo;

typedef int (*ImageSequenceCheck)(const char *base, int first, int digits, const char *ext,
                                  int count, ImageSequenceInfo *info);
typedef int (*ImageSequenceRead)(Volume *vol, const char *base, int first, int digits,
                                 const char *ext, int count);
typedef int (*ImageSequenceWrite)(Volume *vol, const char *base, int first, int digits,
                                  const char *ext);

typedef struct ImageSequenceFormat {
    const char *name;        /* short name: "raw", "rawvol", "rgb", "tiff", ... "tiffstack" */
    const char *title;       /* the dialog's text, for example "TIFF image sequence" */
    const char *extension;   /* the usual extension: "raw", "vol", "", "tif", "bmp" ... */
    int single_file;         /* 1 when one file holds every frame */
    int raw;                 /* 1 when the check takes X, Y, type and colour type as inputs */
    ImageSequenceCheck check;
    ImageSequenceRead read;
    ImageSequenceWrite write; /* the writer with default options */
} ImageSequenceFormat;

/* The format of dialog position index (0 .. V3D_FORMAT_COUNT-1), NULL outside. */
V3D_API const ImageSequenceFormat *GetImageSequenceFormat(int index);
/* The dialog position of a format's short name, -1 when there is none. */
V3D_API int FindImageSequenceFormat(const char *name);

/* Writers with their options (the table's writers use the defaults named here). */
/* TIFF frames: compression V3D_TIFF_NONE (the default), V3D_TIFF_LZW or V3D_TIFF_PACKBITS;
   UC grey (8-bit, minimum is black), UC colour (8-bit RGB), I grey (16-bit). -90 for another
   compression. Exported for modules. */
V3D_API int savetiff(Volume *vol, const char *base, int first, int digits, const char *ext,
                     int compression);
/* One multi-page TIFF "%s.%s" holding every frame, one page per frame. */
V3D_API int SaveTiffStack(Volume *vol, const char *base, const char *ext, int compression);
/* BMP frames: grey as 8-bit with a grey palette (rle8 = 1: RLE8 compressed; default 0), colour
   as 24-bit (rle8 must be 0 then: -90). */
V3D_API int SaveBmpSequence(Volume *vol, const char *base, int first, int digits,
                            const char *ext, int rle8);
/* TGA frames: grey 8-bit or colour 24-bit, bottom-up; rle = 1 run-length encodes (default 0). */
V3D_API int SaveTgaSequence(Volume *vol, const char *base, int first, int digits,
                            const char *ext, int rle);
/* GIF frames of grey volumes (256-entry grey palette); interlaced = 1 stores the rows in the
   four interlaced passes (default 0). Colour volumes: -503. */
V3D_API int SaveGifSequence(Volume *vol, const char *base, int first, int digits,
                            const char *ext, int interlaced);
/* JPEG frames, quality 1..100 (default 95; else -90). Lossy. */
V3D_API int SaveJpegSequence(Volume *vol, const char *base, int first, int digits,
                             const char *ext, int quality);
/* PGM (grey) or PPM (colour) frames; I volumes as 16-bit PGM. */
V3D_API int SavePnmSequence(Volume *vol, const char *base, int first, int digits,
                            const char *ext);

#ifdef __cplusplus
}
#endif

#endif
