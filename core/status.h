// Named status codes. A failing library function returns -N, N being the id of its message in
// the string table (GetStatusText); 0 is success.
#pragma once

#include "vexilo3d_status.h"

namespace v3d {

enum Status : int {
    kOk = V3D_OK,
    kNullImage = V3D_ERR_NULL_IMAGE,
    kNullVector = V3D_ERR_NULL_VECTOR,
    kNullBasicPointer = V3D_ERR_NULL_BASIC_POINTER,
    kNoBuffer = V3D_ERR_NO_BUFFER,
    kNoBuffer2 = V3D_ERR_NO_BUFFER2,
    kWorkingArea = V3D_ERR_WORKING_AREA,
    kSourceTooLarge = V3D_ERR_SOURCE_TOO_LARGE,
    kInvalidWindow = V3D_ERR_INVALID_WINDOW,
    kOrderStatistic = V3D_ERR_ORDER_STATISTIC,
    kJpegRead = V3D_ERR_JPEG_READ,
    kTgaRead = V3D_ERR_TGA_READ,
    kBmpRead = V3D_ERR_BMP_READ,
    kGifRead = V3D_ERR_GIF_READ,
    kNotPowerOf2 = V3D_ERR_NOT_POWER_OF_2,
    kNotSquare = V3D_ERR_NOT_SQUARE,
    kSameBuffer = V3D_ERR_SAME_BUFFER,
    kInvalidAngle = V3D_ERR_INVALID_ANGLE,
    kInvalidNoise = V3D_ERR_INVALID_NOISE,
    kInvalidParams = V3D_ERR_INVALID_PARAMS,
    kNoSuccessors = V3D_ERR_NO_SUCCESSORS,
    kTooManyRegions = V3D_ERR_TOO_MANY_REGIONS,
    kStackEmpty = V3D_ERR_STACK_EMPTY,
    kStackNotEmpty = V3D_ERR_STACK_NOT_EMPTY,
    kNullData = V3D_ERR_NULL_DATA,
    kNullVolume = V3D_ERR_NULL_VOLUME,
    kWrongType = V3D_ERR_WRONG_TYPE,
    kWrongColor = V3D_ERR_WRONG_COLOR,
    kNullSequence = V3D_ERR_NULL_SEQUENCE,
    kInvalidVoi = V3D_ERR_INVALID_VOI,
    kBadOutputDims = V3D_ERR_BAD_OUTPUT_DIMS,
    kBadInputDims = V3D_ERR_BAD_INPUT_DIMS,
    kBadOutputType = V3D_ERR_BAD_OUTPUT_TYPE,
    kBadOutputColor = V3D_ERR_BAD_OUTPUT_COLOR,
    kBadWeights = V3D_ERR_BAD_WEIGHTS,
    kSameVolume = V3D_ERR_SAME_VOLUME,
    kNoVolume = V3D_ERR_NO_VOLUME,
    kVoiNotPowerOf2 = V3D_ERR_VOI_NOT_POWER_OF_2,
    kVoiNotCubic = V3D_ERR_VOI_NOT_CUBIC,
    kNotBinary = V3D_ERR_NOT_BINARY,
    kBadDestination = V3D_ERR_BAD_DESTINATION,
    kFopen = V3D_ERR_FOPEN,
    kFread = V3D_ERR_FREAD,
    kFwrite = V3D_ERR_FWRITE,
    kTiff = V3D_ERR_TIFF,
    kTiffSequence = V3D_ERR_TIFF_SEQUENCE,
    kFewerFrames = V3D_ERR_FEWER_FRAMES,
    kFloatSamples = V3D_ERR_FLOAT_SAMPLES,
    kSignedSamples = V3D_ERR_SIGNED_SAMPLES,
    kTiffCompression = V3D_ERR_TIFF_COMPRESSION,
    kTiffBits = V3D_ERR_TIFF_BITS,
    kTiffSampleFormat = V3D_ERR_TIFF_SAMPLE_FORMAT,
    kTiffPhotometric = V3D_ERR_TIFF_PHOTOMETRIC,
    kTiffSamples = V3D_ERR_TIFF_SAMPLES,
    kPnmRead = V3D_ERR_PNM_READ,
    kBmpVariant = V3D_ERR_BMP_VARIANT,
    kTgaVariant = V3D_ERR_TGA_VARIANT,
    kJpegColour = V3D_ERR_JPEG_COLOUR,
    kBadSeeds = V3D_ERR_BAD_SEEDS,
};

// Application message ids, passed positive to the message box.
enum Message : int {
    kMsgEnough2d = 609,
    kMsgCannotSaveWhole = 610,
    kMsgCannotDisplayFrames = 611,
    kMsgTableFull = 612,           // "Enough displayed 3-D windows": CreateVolumeEx, table full
    kMsgNotAppropriateVoi = 615,
    kMsgNotEnoughMemory = 616,
    kMsgInitialization = 635,
    kMsgCannotCreateWindow = 723,
    kMsgLowerAboveUpper = 7000,
    kMsgBadDimensions = 7001,
    kMsgNoSuchFile = 7002,
    kMsgRestrictedEdition = 7003,
};

}  // namespace v3d
