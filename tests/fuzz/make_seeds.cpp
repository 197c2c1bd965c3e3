// Writes the seed corpus of the fuzz targets with our own writers: tiny frames of every variant
// each writer produces. Usage: make_fuzz_seeds CORPUS_FOLDER (its subfolders must exist).
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "vexilo3d.h"
#include "vexilo3d_volume.hpp"

namespace {

// A small volume with a pattern in every channel.
struct Vol : v3d::OwnedVolume {
    Vol(int Z, int Y, int X, int type, int colortype) : OwnedVolume(Z, Y, X, type, colortype) {
        Volume& v = *get();
        const int n = colortype == 1 ? 1 : 3;
        for (int c = 0; c < n; ++c)
            for (int z = 0; z < Z; ++z)
                for (int y = 0; y < Y; ++y)
                    for (int x = 0; x < X; ++x) {
                        const int s = (x * 37 + y * 11 + z * 5 + c * 70) % 256;
                        if (type == 1) v.data[c].uc[z][y][x] = static_cast<unsigned char>(x < 2 ? 9 : s);
                        else if (type == 4) v.data[c].i[z][y][x] = s * 251;
                        else v.data[c].f[z][y][x] = s * 0.5f;
                    }
    }
};

bool ok(int status, const std::string& what) {
    if (status != 0) std::fprintf(stderr, "%s: status %d\n", what.c_str(), status);
    return status == 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_fuzz_seeds CORPUS_FOLDER\n");
        return 2;
    }
    const std::string root = std::string(argv[1]) + "/";
    Vol grey(1, 5, 7, 1, 1), colour(1, 4, 6, 1, 2), deep(1, 3, 5, 4, 1), stack(3, 3, 4, 1, 1);
    bool all = true;
    all &= ok(SaveBmpSequence(grey.get(), (root + "bmp/grey").c_str(), 0, 0, "bmp", 0), "bmp");
    all &= ok(SaveBmpSequence(grey.get(), (root + "bmp/rle").c_str(), 0, 0, "bmp", 1), "bmp rle");
    all &= ok(SaveBmpSequence(colour.get(), (root + "bmp/colour").c_str(), 0, 0, "bmp", 0), "bmp");
    all &= ok(SaveTgaSequence(grey.get(), (root + "tga/grey").c_str(), 0, 0, "tga", 0), "tga");
    all &= ok(SaveTgaSequence(grey.get(), (root + "tga/greyrle").c_str(), 0, 0, "tga", 1), "tga");
    all &= ok(SaveTgaSequence(colour.get(), (root + "tga/colour").c_str(), 0, 0, "tga", 0), "tga");
    all &= ok(SaveTgaSequence(colour.get(), (root + "tga/colourrle").c_str(), 0, 0, "tga", 1), "tga");
    all &= ok(SaveGifSequence(grey.get(), (root + "gif/plain").c_str(), 0, 0, "gif", 0), "gif");
    all &= ok(SaveGifSequence(grey.get(), (root + "gif/interlaced").c_str(), 0, 0, "gif", 1), "gif");
    all &= ok(SaveJpegSequence(grey.get(), (root + "jpeg/grey").c_str(), 0, 0, "jpg", 90), "jpeg");
    all &= ok(SaveJpegSequence(colour.get(), (root + "jpeg/colour").c_str(), 0, 0, "jpg", 90), "jpeg");
    all &= ok(SavePnmSequence(grey.get(), (root + "pnm/grey").c_str(), 0, 0, "pgm"), "pgm");
    all &= ok(SavePnmSequence(colour.get(), (root + "pnm/colour").c_str(), 0, 0, "ppm"), "ppm");
    all &= ok(SavePnmSequence(deep.get(), (root + "pnm/deep").c_str(), 0, 0, "pgm"), "pgm 16");
    const int compressions[3] = {V3D_TIFF_NONE, V3D_TIFF_LZW, V3D_TIFF_PACKBITS};
    const char* const names[3] = {"none", "lzw", "packbits"};
    for (int i = 0; i < 3; ++i) {
        const std::string n = names[i];
        all &= ok(savetiff(grey.get(), (root + "tiff/grey_" + n).c_str(), 0, 0, "tif", compressions[i]), "tiff");
        all &= ok(savetiff(colour.get(), (root + "tiff/colour_" + n).c_str(), 0, 0, "tif", compressions[i]), "tiff");
    }
    all &= ok(savetiff(deep.get(), (root + "tiff/deep").c_str(), 0, 0, "tif", V3D_TIFF_NONE), "tiff 16");
    all &= ok(SaveTiffStack(stack.get(), (root + "tiff_stack/stack").c_str(), "tif", V3D_TIFF_LZW), "stack");
    all &= ok(SaveTiffStack(colour.get(), (root + "tiff_stack/colour").c_str(), "tif", V3D_TIFF_NONE), "stack");
    // raw: three bytes of width, height and type, then the frames
    const unsigned char raw[3 + 2 * 12] = {3, 1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12,
                                           13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24};
    std::ofstream(root + "raw/uc_4x2", std::ios::binary).write(reinterpret_cast<const char*>(raw), sizeof raw);
    // volume files: spacing and orientation, every voxel kind, raw and compressed data
    const VolumeOrientation turned{{{0, 0, -2, 5}, {0.5, 0, 0, -6}, {0, 0.5, 0, 7}}, 1, 2};
    for (Vol* v : {&stack, &colour, &deep}) {
        all &= ok(SetVolumeSpacing(v->get(), 2, 0.5, 0.5), "spacing");
        all &= ok(SetVolumeOrientation(v->get(), &turned), "orientation");
    }
    Vol reals(2, 3, 2, 2, 1);
    all &= ok(SaveNiftiVolume(stack.get(), (root + "nifti/stack.nii").c_str(), 0), "nifti");
    all &= ok(SaveNiftiVolume(colour.get(), (root + "nifti/colour.nii").c_str(), 0), "nifti");
    all &= ok(SaveNiftiVolume(deep.get(), (root + "nifti/deep2.nii").c_str(), 2), "nifti 2");
    all &= ok(SaveNiftiVolume(deep.get(), (root + "nifti/deep.nii.gz").c_str(), 0), "nifti gzip");
    all &= ok(SaveNiftiVolume(reals.get(), (root + "nifti/reals.nii").c_str(), 0), "nifti");
    all &= ok(SaveNrrdVolume(stack.get(), (root + "nrrd/stack.nrrd").c_str(), 0), "nrrd");
    all &= ok(SaveNrrdVolume(colour.get(), (root + "nrrd/colour.nrrd").c_str(), 1), "nrrd gzip");
    all &= ok(SaveNrrdVolume(reals.get(), (root + "nrrd/reals.nrrd").c_str(), 0), "nrrd");
    all &= ok(SaveMetaImageVolume(stack.get(), (root + "metaimage/stack.mha").c_str(), 0), "mha");
    all &= ok(SaveMetaImageVolume(colour.get(), (root + "metaimage/colour.mha").c_str(), 1), "mha zlib");
    all &= ok(SaveMetaImageVolume(deep.get(), (root + "metaimage/deep.mha").c_str(), 0), "mha");
    return all ? 0 : 1;
}
