// The string table: message texts by id. The texts are kept exactly as the program has always
// shown them, misspellings and the spacing around line breaks included.
#include <algorithm>
#include <climits>
#include <cstdlib>
#include <iterator>

#include "vexilo3d.h"

namespace {

struct Entry {
    int id;
    const char* text;
};

#define V3D_STR2(x) #x
#define V3D_STR(x) V3D_STR2(x)

// Sorted by id.
const Entry kTable[] = {
    {1, "NULL image/matrix pointer"},
    {2, "NULL vector, window pointer"},
    {3, "NULL misimage pointer for manual mosaic"},
    {4, "NULL basic type pointer"},
    {9, "Cannot allocate internal buffer"},
    {10, "Cannot allocate internal buffer"},
    {12, "Invalid number of pairs for manually mosaic"},
    {13, "Image contains more than 255 colors"},
    {21, "Invalid working area parameters"},
    {22, "Entire source buffer cannot be stored on destination buffer"},
    {23, "Entire image cannot be displayed"},
    {24, "Invalid window size"},
    {25, "Invalid order statistic parameter"},
    {29, "Error in reading JPEG file"},
    {30, "Error in reading TGA file"},
    {31, "Error in reading BMP files"},
    {32, "Error in reading GIF files"},
    {33, "Given size is not a power of 2"},
    {34, "Image or matrix is not square"},
    {36, "Destination buffer is identical to source buffer"},
    {40, "Too few valid feature points for refined registration"},
    {41, "Invalid clip parameters, cmin>cmax"},
    {44, "Invalid coordinates, i or j"},
    {50, "Invalid size parameter, M>NSIG"},
    {60, "Invalid number of gray levels"},
    {62, "Invalid number of halftones"},
    {70, "Invalid angle"},
    {71, "Matrix cannot be inverted"},
    {72, "The filter window is not square"},
    {80, "Invalid noise parameter"},
    {81, "noise variance negative"},
    {82, "The large window in the dw_mtm filter is smaller than the small window"},
    {84, "The sum of the weights in the weighted median filter exceed the maximum limit"},
    {85, "adaptation coefficient is less than zero"},
    {86, "The sum of the filter coefficients is zero"},
    {87, "The denominator or the numerator of the snr or L2 error ratio is zero"},
    {88, "The power p of the Lp filter is zero"},
    {89, "Invalid intermediate results"},
    {90, "Invalid parameters"},
    {91, "current pixel has no successors"},
    {92, "Maximum number of regions has been exceeded"},
    {93, "ROI border has been violated"},
    {94, "Maxinum number of nodes has been exceeded"},
    {95, "Chain is NULL"},
    {96, "Too many border pixels found"},
    {97, "Error in seeds"},
    {98, "stack is empty"},
    {99, "stack is not empty originally"},
    {100, "It is a grayscale image"},
    {200, "Invalid video mode"},
    {201, "Not supported video mode"},
    {300, "Unable to open file"},
    {310, "Error in decoding tree construction"},
    {320, "decoding error"},
    {330, "input file does not contain enough information for decoding"},
    {340, "ClearCode missing from input file while decoding or must be outputed while encoding"},
    {400, "Watermarking cannot be applied to this image"},
    {501, "NULL Volume pointer"},
    {502, "Wrong data type in volume"},
    {503, "Wrong color type in volume"},
    {504, "NULL image/matrix/imatrix sequence"},
    {510, "Invalid VOI definitions"},
    {520, "Invalid output volume dimensions"},
    {521, "Invalid input volume dimensions"},
    {522, "Invalid output volume data type"},
    {523, "Invalid output volume colortype"},
    {524, "Invalid weights volume"},
    {525, "Same input/output volume"},
    {530, "Cannot allocate internal volume"},
    {533, "Given VOI dimensions are not power of 2"},
    {534, "Input VOI is not cubic"},
    {535, "Volume is not binary"},
    {536, "Invalid destination coordinates"},
    {540, "Input compressed file is not an MPEG2/MPEG1 compressed file"},
    {541, "Premature end of picture"},
    {542, "Too many MBs in picture"},
    {543, "Streams out of synchronization. Cannot be synchronized"},
    {544, "Unsupported scalability mode"},
    {545, "Invalid motion type"},
    {546, "Last frame incomplete, not stored"},
    {547, "Too large chain encountered"},
    {548, "File parsing error"},
    {549, "Invalid value in quantization matrix."},
    {550, "Wrong value in MPEG2 parameter set. Consult manual."},
    {551, "DC/AC value out of range."},
    {552, "Volume size mismatch with respective values in parameter set."},
    {553, "Color image sequence required."},
    {554, "Decoder currently does not parse transport streams."},
    {555, "Error in packet header."},
    {556, "Unexpected startcode in system layer."},
    {557, "4:4:4 not supported for SIF format."},
    {558, "Invalid frame indices."},
    {600, "fopen error"},
    {601, "fread error"},
    {602, "fwrite error"},
    {609, "Enough displayed 2-D windows"},
    {610, "Cannot save the whole volume"},
    {611, "Cannot display the selected frames"},
    {612, "Enough displayed 3-D windows"},
    {613, "Allocation of palette failed"},
    {614, "Not appropriate filename"},
    {615, "Not appropriate VOI"},
    {616, "Not enough memory"},
    {617, "Error during Printing"},
    {618, "Win_uc not found \n or \n Invalid mask size"},
    {619, "Win_f not found \n or \n Invalid mask size"},
    {624, "Image is not Binary"},
    {627, "Unable to allocate space"},
    {629, "At least 3 float buffers \nare needed for this operation"},
    {630, "One of the dimensions is not a power of 2"},
    {631, "Float buffer dimensions must be \nequal to BW buffer dimensions"},
    {632, "Improper Threshold Input"},
    {633, "Error in Input"},
    {634, "Error during saving"},
    {635, "Error during initialization"},
    {636, "No filename specified"},
    {647, "Error"},
    {649, "del \\temp\\vexilo.tmp"},
    {659, "Coordinates"},
    {723, "Unable to create window"},
    {729, "This program can only be run from within the User Module"},
    {732, "Not enough buffers or invalid buffer number"},
    {733, "The images have different dimensions or color type"},
    {734, "Improper number of specified points"},
    {990, "Seeds not correctly specified"},
    {999, "Stack is empty(path not fount)"},
    {1000, "Error in TIFF"},
    {1001, "TIFF Image Sequence inconsistency"},
    // what the image-sequence readers cannot read, each naming the reason
    {1002, "The file holds fewer frames than requested"},
    {1003, "Floating-point samples are read into float (F) volumes only"},
    {1004, "Signed samples are read into int (I) or float (F) volumes only"},
    {1010, "TIFF: the file's compression is not supported"},
    {1011, "TIFF: the number of bits per sample is not supported (1 to 16; 32 or 64 for floating point)"},
    {1012, "TIFF: the sample format is not supported (unsigned or signed integers, floating point)"},
    {1013, "TIFF: the photometric interpretation is not supported (grey, RGB, palette, JPEG YCbCr)"},
    {1014, "TIFF: too few samples per pixel for the photometric interpretation"},
    {1020, "Error in reading PNM file"},
    {1021, "BMP: the bit depth or compression is not supported"},
    {1022, "TGA: the image type or pixel depth is not supported"},
    {1023, "JPEG: the colour space is not supported"},
    {1100, "Error in NIfTI file"},
    {1101, "Error in NRRD file"},
    {1102, "Error in MetaImage file"},
    {1103, "The voxel type of the file is not supported"},
    {1104, "The file has no such frames or time point"},
    {1105, "The grid of the file is too large or has more than four dimensions"},
    {1106, "Values of the file do not fit the volume's data type"},
    {7000, "Lower frame is larger than Upper frame."},
    {7001, "Incorrectly specified volume dimensions."},
    {7002, "The specified file does not exist."},
    {7003, "This restricted edition of VEXILO3D cannot create a volume of more than "
           V3D_STR(VEXILO3D_RESTRICTED_MAX_VOXELS) " voxels."},
};

const Entry* find_entry(int id) {
    auto it = std::lower_bound(std::begin(kTable), std::end(kTable), id,
                               [](const Entry& e, int key) { return e.id < key; });
    return (it != std::end(kTable) && it->id == id) ? it : nullptr;
}

}  // namespace

extern "C" const char* GetStatusText(int code) {
    if (code == INT_MIN) return "";
    const Entry* e = find_entry(std::abs(code));
    return e ? e->text : "";
}
