// Named status codes. A failing library function returns -N, N being the id of its message in
// the string table (GetStatusText); 0 is success.
#pragma once

namespace v3d {

enum Status : int {
    kOk = 0,

    // shared two-dimensional image library codes, returned negated
    kNullImage = -1,               // "NULL image/matrix pointer"
    kNullVector = -2,              // "NULL vector, window pointer"
    kNullBasicPointer = -4,        // "NULL basic type pointer"
    kNoBuffer = -9,                // "Cannot allocate internal buffer"
    kNoBuffer2 = -10,              // same text
    kWorkingArea = -21,            // "Invalid working area parameters"
    kSourceTooLarge = -22,         // "Entire source buffer cannot be stored on destination buffer"
    kInvalidWindow = -24,          // "Invalid window size"
    kOrderStatistic = -25,         // "Invalid order statistic parameter"
    kJpegRead = -29,               // "Error in reading JPEG file"
    kTgaRead = -30,                // "Error in reading TGA file"
    kBmpRead = -31,                // "Error in reading BMP files"
    kGifRead = -32,                // "Error in reading GIF files"
    kNotPowerOf2 = -33,            // "Given size is not a power of 2"
    kNotSquare = -34,              // "Image or matrix is not square"
    kSameBuffer = -36,             // "Destination buffer is identical to source buffer"
    kInvalidAngle = -70,           // "Invalid angle"
    kInvalidNoise = -80,           // "Invalid noise parameter"
    kInvalidParams = -90,          // "Invalid parameters"
    kNoSuccessors = -91,           // "current pixel has no successors"
    kTooManyRegions = -92,         // "Maximum number of regions has been exceeded"
    kStackEmpty = -98,             // "stack is empty"
    kStackNotEmpty = -99,          // "stack is not empty originally"
    kNullData = -5,                // no message: a volume without voxel storage

    // volume and file codes
    kNullVolume = -501,            // "NULL Volume pointer"
    kWrongType = -502,             // "Wrong data type in volume"
    kWrongColor = -503,            // "Wrong color type in volume"
    kNullSequence = -504,          // "NULL image/matrix/imatrix sequence"
    kInvalidVoi = -510,            // "Invalid VOI definitions"
    kBadOutputDims = -520,         // "Invalid output volume dimensions"
    kBadInputDims = -521,          // "Invalid input volume dimensions"
    kBadOutputType = -522,         // "Invalid output volume data type"
    kBadOutputColor = -523,        // "Invalid output volume colortype"
    kBadWeights = -524,            // "Invalid weights volume"
    kSameVolume = -525,            // "Same input/output volume"
    kNoVolume = -530,              // "Cannot allocate internal volume"
    kVoiNotPowerOf2 = -533,        // "Given VOI dimensions are not power of 2"
    kVoiNotCubic = -534,           // "Input VOI is not cubic"
    kNotBinary = -535,             // "Volume is not binary"
    kBadDestination = -536,        // "Invalid destination coordinates"
    kFopen = -600,                 // "fopen error"
    kFread = -601,                 // "fread error"
    kFwrite = -602,                // "fwrite error"
    kTiff = -1000,                 // "Error in TIFF"
    kTiffSequence = -1001,         // "TIFF Image Sequence inconsistency"
    kBadSeeds = -990,              // "Seeds not correctly specified"
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
