// Command ids of the menu "Menu3d" and of the windows' own menus and buttons. The menu and the
// command rows both name them from here.
#pragma once

namespace res::cmd {

enum Command : int {
    // File
    kOpen = 40003,
    kSave = 40008,
    kDumpVolume = 1030,
    kExit = 1060,
    // Volume
    kCreateVolume = 1040,
    kDestroyVolume = 1041,
    kStateOfVolumes = 1042,
    kSetVoi = 1045,
    kWriteVoxel = 1050,
    kClearVolume = 1100,
    kCopyVolume = 1110,
    kLogicalAnd = 1120,
    kLogicalOr = 1121,
    kLogicalXor = 1122,
    kSymmetric = 1130,
    kFToUcTruncated = 1140,
    kFToUcScaled = 1141,
    kUcToF = 1142,
    // Display
    kBwDisplay = 1300,
    kColorDisplay = 1307,
    kViewSections = 40007,
    kFrameGallery = 1315,
    kDisplayCoordinates = 212,
    // Filters
    kHistogramEqualization = 1170,
    kMovingAverage = 1171,
    kStandardMedian = 1172,
    kRunningMedian = 1173,
    kMultistageMedian = 1174,
    kWeightedMedian = 1175,
    kMinFilter = 1178,
    kMaxFilter = 1179,
    kLFilter = 1180,
    kLocallyAdaptive = 1181,
    kHistogramPdf = 1185,
    kHistogramCdf = 1186,
    // Edges
    kRange = 1190,
    kCompass = 1191,
    kSobel = 1192,
    kLaplace = 1193,
    kHough = 1194,
    kBwContourFollowing = 1250,
    kColorContourFollowing = 1251,
    // Segmentation
    kThreshold = 1200,
    kRegionGrow = 1201,
    kRegionSplit = 1202,
    kRegionMerge = 1203,
    kRegionSplitMerge = 1204,
    kLabelObjects = 1205,
    kViewLabelled = 1206,
    // Resize
    kZoom = 1150,
    kDecimation = 1151,
    kInterpolation3d = 1152,
    kFrameInterpolation = 1153,
    kBinaryFrameInterpolation = 1154,
    kZeroPadding = 1155,
    // Morphology
    kMinkowskiAddition = 1240,
    kMinkowskiSubtraction = 1241,
    kDilation = 1242,
    kErosion = 1243,
    kOpening = 1244,
    kClosing = 1245,
    // Transforms
    kFft = 1230,
    kIfft = 1231,
    kDct = 1232,
    kIdct = 1233,
    kConvolution = 1234,
    kCorrelation = 1235,
    kSpectrum = 1236,
    kBlackmanTukey = 1237,
    // Metrics
    kSurface = 1220,
    kVolume = 1221,
    kBoundingBox = 1222,
    // Tools, Help
    kManualAlignment = 1260,
    kAbout = 701,

    // a projection window's system menu
    kSaveProjection = 1000,
};

}  // namespace res::cmd
