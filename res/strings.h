// The workstation's texts by id: captions of the selection and value dialogs, field labels,
// messages and window titles. text() also finds every status message of the library, so one
// id names any text the workstation shows.
#pragma once

#include <string>

namespace res {

// The text of |id|, "" when there is none.
const char* text(int id);
// The text of id used as a printf format.
std::string format(int id, ...);

enum Text : int {
    // messages the workstation reports by id
    kCannotAllocateBuffer = 9,
    kCannotDisplayFrames = 611,
    kEnoughWindows = 612,
    kBadVoi = 615,
    kNotEnoughMemory = 616,
    kInitialisationError = 635,
    kDeleteTemp = 649,             // "del \temp\vexilo.tmp"
    kCoordinates = 659,
    kCannotCreateWindow = 723,
    kLowerAboveUpper = 7000,
    kBadDimensions = 7001,
    kNoSuchFile = 7002,
    kModuleFailed = 7004,          // no text: the box is empty

    kSelectInput = 3001,
    kSelectOutput = 3002,
    kSelectVolume = 3003,
    kSelectToOpen = 3004,
    kSelectToFree = 3005,
    kSelectToClear = 3006,
    kSelectInputCopy = 3007,
    kSelectOutputCopy = 3008,
    kClearUC = 3009,
    kClearF = 3010,
    kClearI = 3011,
    kSelectToDisplay = 3012,
    kOffsetsForCopy = 3014,
    kZoomingFactor = 3015,
    kDecimationFactor = 3016,
    kPaddingFactor = 3017,
    kInterp3dOptions = 3018,
    kFrameInterpOptions = 3019,
    kWindowDims = 3020,
    kWindowDimsNoise = 3021,
    kPlaneDirection = 3022,
    kThresholdValue = 3023,
    kThresholdMaxRegions = 3024,
    kHoughDims = 3025,
    kAttenuation = 3026,
    kInMovAve = 3030, kOutMovAve,
    kInMedian, kOutMedian,
    kInRunMedian, kOutRunMedian,
    kInMultistage, kOutMultistage,
    kInWeighted, kOutWeighted,
    kWeightsVolume,
    kInRunMin, kOutRunMin,
    kInRunMax, kOutRunMax,
    kInRange, kOutRange,
    kInCompass, kOutCompass,
    kInSobel, kOutSobel,
    kInLaplace, kOutLaplace,
    kInLabelled,
    kStructuringElement,
    kEdgeFollowIn, kEdgeFollowOut,
    kOutReal, kOutImag,
    kInReal, kInImag,          // 3060

    kReallocate = 3092,
    kInputModified = 3100,
    kNoOfRegions = 3101,
    kNumberOfRegions = 3102,
    kSurfaceResult = 3103,
    kVolumeResult = 3104,
    kBoundingBoxResult = 3105,
    kOnlyBackground = 3106,
    kCaption = 3107,               // "VEXILO3D for Windows"
    kMetricsCaption = 3108,        // "VEXILO 3.4  for Windows"
    kShortCaption = 3109,          // "VEXILO"
    kCoefficientsLoaded = 3110,
    kUC3dParMissing, kUC3dParBad, kF3dParMissing, kF3dParBad,
    kLabelledViewBusy = 3115,
    kLabelledViewHint = 3116,
    kConvertedToColor = 3117,
    kAlignmentBusy = 3118,
    kHistogramPdf = 3119,
    kHistogramCdf = 3120,
    kDisplayTitle = 3121,          // "vol %d [fr %d-%d,%d]"
    kUpdatingProjections = 3122,
    kInitError = 3123,
    kFatalError = 3124,
    kDumpVolume = 3125,
    kAllFiles = 3126,
    kNotAvailable = 3127,
    kZoomIn = 3128,
    kZoomOut = 3129,
    kOutputModified = 3130,
    kNoLabels = 3131,
    kUpdateBeforeClosing = 3132,
    kTwoFramesNeeded = 3133,
    kReservedVolume = 3134,
    kChangesLost = 3135,
    kSaveChanges = 3136,
    kSectionViewTitle = 3137,      // "Section View of Volume %d."
    kClipFailed = 3138,            // "SelectCLipRgn failed."
    kXFactor = 3139, kYFactor, kZFactor,  // "X factor : %4.2f" ...
    kGalleryTitle = 3142,          // "Frame Gallery of Volume  %d."
    kSaveProjection = 3143,        // a projection window's system-menu item
    kAlignmentTitle = 3150,        // the alignment tool's position view
    kAlignmentVolumeChanged = 3151,
    kSpacingText = 3160,           // "%g x %g x %g mm (z, y, x)": State of Volumes
    kOrientationText = 3161,       // "sform %d, qform %d: x %+.4g %+.4g %+.4g ..."
    kNoOrientation = 3162,

    // the open/save format dialog: samples deeper than 8 bits, and sizes that do not match
    kDeepSamples = 3170,           // "Samples over 8 bits:"
    kDeepScale, kDeepStretch, kDeepKeep,
    kRawFileLonger = 3174,         // a raw volume longer than the size typed reads
    kRawFrameLonger = 3175,        // a raw frame file longer than a frame
    kMoreFrames = 3176,            // frames left unread

    kOffsetX = 5001, kOffsetY, kOffsetZ,
    kChannel1 = 5004, kChannel2, kChannel3,
    kZoomFactor = 5007,
    kDecimFactor = 5008,
    kPadFactor = 5009,
    kXDim = 5010, kYDim, kZDim,
    kNoiseVariance = 5013,
    kCubicWindow = 5014,
    kXDirection = 5015, kZDirection,
    kThreshold = 5017,
    kMaxRegions = 5018,
    kXCoef = 5019, kYCoef, kZCoef,
    kGiveValue1 = 5022,
};

}  // namespace res
