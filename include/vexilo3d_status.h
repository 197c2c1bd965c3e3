/* VEXILO3D: status codes. 0 is success; a failing function returns -N, N being the id of its
   message in the string table (GetStatusText). */
#ifndef VEXILO3D_STATUS_H
#define VEXILO3D_STATUS_H

enum {
    V3D_OK = 0,
    V3D_ERR_NULL_IMAGE         = -1, /* "NULL image/matrix pointer" */
    V3D_ERR_NULL_VECTOR        = -2, /* "NULL vector, window pointer" */
    V3D_ERR_NULL_BASIC_POINTER = -4, /* "NULL basic type pointer" */
    V3D_ERR_NO_BUFFER          = -9, /* "Cannot allocate internal buffer" */
    V3D_ERR_NO_BUFFER2         = -10, /* same text */
    V3D_ERR_WORKING_AREA       = -21, /* "Invalid working area parameters" */
    V3D_ERR_SOURCE_TOO_LARGE   = -22, /* "Entire source buffer cannot be stored on destination buffer" */
    V3D_ERR_INVALID_WINDOW     = -24, /* "Invalid window size" */
    V3D_ERR_ORDER_STATISTIC    = -25, /* "Invalid order statistic parameter" */
    V3D_ERR_JPEG_READ          = -29, /* "Error in reading JPEG file" */
    V3D_ERR_TGA_READ           = -30, /* "Error in reading TGA file" */
    V3D_ERR_BMP_READ           = -31, /* "Error in reading BMP files" */
    V3D_ERR_GIF_READ           = -32, /* "Error in reading GIF files" */
    V3D_ERR_NOT_POWER_OF_2      = -33, /* "Given size is not a power of 2" */
    V3D_ERR_NOT_SQUARE         = -34, /* "Image or matrix is not square" */
    V3D_ERR_SAME_BUFFER        = -36, /* "Destination buffer is identical to source buffer" */
    V3D_ERR_INVALID_ANGLE      = -70, /* "Invalid angle" */
    V3D_ERR_INVALID_NOISE      = -80, /* "Invalid noise parameter" */
    V3D_ERR_INVALID_PARAMS     = -90, /* "Invalid parameters" */
    V3D_ERR_NO_SUCCESSORS      = -91, /* "current pixel has no successors" */
    V3D_ERR_TOO_MANY_REGIONS   = -92, /* "Maximum number of regions has been exceeded" */
    V3D_ERR_STACK_EMPTY        = -98, /* "stack is empty" */
    V3D_ERR_STACK_NOT_EMPTY    = -99, /* "stack is not empty originally" */
    V3D_ERR_NULL_DATA          = -5, /* no message: a volume without voxel storage */
    V3D_ERR_NULL_VOLUME        = -501, /* "NULL Volume pointer" */
    V3D_ERR_WRONG_TYPE         = -502, /* "Wrong data type in volume" */
    V3D_ERR_WRONG_COLOR        = -503, /* "Wrong color type in volume" */
    V3D_ERR_NULL_SEQUENCE      = -504, /* "NULL image/matrix/imatrix sequence" */
    V3D_ERR_INVALID_VOI        = -510, /* "Invalid VOI definitions" */
    V3D_ERR_BAD_OUTPUT_DIMS    = -520, /* "Invalid output volume dimensions" */
    V3D_ERR_BAD_INPUT_DIMS     = -521, /* "Invalid input volume dimensions" */
    V3D_ERR_BAD_OUTPUT_TYPE    = -522, /* "Invalid output volume data type" */
    V3D_ERR_BAD_OUTPUT_COLOR   = -523, /* "Invalid output volume colortype" */
    V3D_ERR_BAD_WEIGHTS        = -524, /* "Invalid weights volume" */
    V3D_ERR_SAME_VOLUME        = -525, /* "Same input/output volume" */
    V3D_ERR_NO_VOLUME          = -530, /* "Cannot allocate internal volume" */
    V3D_ERR_VOI_NOT_POWER_OF_2  = -533, /* "Given VOI dimensions are not power of 2" */
    V3D_ERR_VOI_NOT_CUBIC      = -534, /* "Input VOI is not cubic" */
    V3D_ERR_NOT_BINARY         = -535, /* "Volume is not binary" */
    V3D_ERR_BAD_DESTINATION    = -536, /* "Invalid destination coordinates" */
    V3D_ERR_FOPEN              = -600, /* "fopen error" */
    V3D_ERR_FREAD              = -601, /* "fread error" */
    V3D_ERR_FWRITE             = -602, /* "fwrite error" */
    V3D_ERR_TIFF               = -1000, /* "Error in TIFF" */
    V3D_ERR_TIFF_SEQUENCE      = -1001, /* "TIFF Image Sequence inconsistency" */
    /* what the image-sequence readers cannot read, each naming the reason */
    V3D_ERR_FEWER_FRAMES       = -1002, /* "The file holds fewer frames than requested" */
    V3D_ERR_FLOAT_SAMPLES      = -1003, /* "Floating-point samples are read into float (F) volumes only" */
    V3D_ERR_SIGNED_SAMPLES     = -1004, /* "Signed samples are read into int (I) or float (F) volumes only" */
    V3D_ERR_TIFF_COMPRESSION   = -1010, /* "TIFF: the file's compression is not supported" */
    V3D_ERR_TIFF_BITS          = -1011, /* "TIFF: the number of bits per sample is not supported ..." */
    V3D_ERR_TIFF_SAMPLE_FORMAT = -1012, /* "TIFF: the sample format is not supported ..." */
    V3D_ERR_TIFF_PHOTOMETRIC   = -1013, /* "TIFF: the photometric interpretation is not supported ..." */
    V3D_ERR_TIFF_SAMPLES       = -1014, /* "TIFF: too few samples per pixel for the photometric interpretation" */
    V3D_ERR_PNM_READ           = -1020, /* "Error in reading PNM file" */
    V3D_ERR_BMP_VARIANT        = -1021, /* "BMP: the bit depth or compression is not supported" */
    V3D_ERR_TGA_VARIANT        = -1022, /* "TGA: the image type or pixel depth is not supported" */
    V3D_ERR_JPEG_COLOUR        = -1023, /* "JPEG: the colour space is not supported" */
    V3D_ERR_NIFTI              = -1100, /* "Error in NIfTI file" */
    V3D_ERR_NRRD               = -1101, /* "Error in NRRD file" */
    V3D_ERR_METAIMAGE          = -1102, /* "Error in MetaImage file" */
    V3D_ERR_FILE_SAMPLE_TYPE   = -1103, /* "The voxel type of the file is not supported" */
    V3D_ERR_NO_SUCH_FRAMES     = -1104, /* "The file has no such frames or time point" */
    V3D_ERR_FILE_GRID          = -1105, /* "The grid of the file is too large or has more than four dimensions" */
    V3D_ERR_FILE_VALUES        = -1106, /* "Values of the file do not fit the volume's data type" */
    V3D_ERR_BAD_SEEDS          = -990, /* "Seeds not correctly specified" */
};

#endif
