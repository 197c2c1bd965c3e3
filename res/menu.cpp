#include "res/menu.h"

#include "res/commands.h"

namespace res {

#define POPUP(t) {MenuEntry::Popup, 0, t}
#define ITEM(id) {MenuEntry::Item, id, nullptr}
#define SEP {MenuEntry::Separator, 0, nullptr}
#define END {MenuEntry::End, 0, nullptr}

const MenuEntry kMenu3d[] = {
    POPUP("&File"),
        ITEM(cmd::kOpen), ITEM(cmd::kSave), SEP, ITEM(cmd::kDumpVolume), SEP, ITEM(cmd::kExit), END,
    POPUP("&Volume"),
        ITEM(cmd::kCreateVolume), ITEM(cmd::kDestroyVolume), ITEM(cmd::kStateOfVolumes), ITEM(cmd::kSetVoi), SEP,
        ITEM(cmd::kClearVolume), ITEM(cmd::kCopyVolume), ITEM(cmd::kWriteVoxel), SEP,
        ITEM(cmd::kUcToF), ITEM(cmd::kFToUcScaled), ITEM(cmd::kFToUcTruncated), SEP, ITEM(cmd::kSymmetric), END,
    POPUP("&Display"),
        ITEM(cmd::kBwDisplay), ITEM(cmd::kColorDisplay), ITEM(cmd::kViewSections), ITEM(cmd::kFrameGallery), SEP, ITEM(cmd::kDisplayCoordinates), END,
    // modules put their popups here (the fourth top-level item)
    POPUP(kModulesMenu), END,
    POPUP("&Filters"),
        ITEM(cmd::kHistogramEqualization), ITEM(cmd::kHistogramPdf), ITEM(cmd::kHistogramCdf), SEP,
        ITEM(cmd::kMovingAverage), ITEM(cmd::kStandardMedian), ITEM(cmd::kRunningMedian), ITEM(cmd::kMultistageMedian), ITEM(cmd::kWeightedMedian), SEP,
        ITEM(cmd::kMinFilter), ITEM(cmd::kMaxFilter), ITEM(cmd::kLFilter), ITEM(cmd::kLocallyAdaptive), END,
    POPUP("&Edges"),
        ITEM(cmd::kRange), ITEM(cmd::kCompass), ITEM(cmd::kSobel), ITEM(cmd::kLaplace), ITEM(cmd::kHough), SEP,
        ITEM(cmd::kBwContourFollowing), ITEM(cmd::kColorContourFollowing), END,
    POPUP("&Segmentation"),
        ITEM(cmd::kThreshold), ITEM(cmd::kRegionGrow), ITEM(cmd::kRegionSplit), ITEM(cmd::kRegionMerge), ITEM(cmd::kRegionSplitMerge), SEP,
        ITEM(cmd::kLabelObjects), ITEM(cmd::kViewLabelled), END,
    POPUP("&Resize"),
        ITEM(cmd::kZoom), ITEM(cmd::kDecimation), ITEM(cmd::kInterpolation3d), ITEM(cmd::kFrameInterpolation), ITEM(cmd::kBinaryFrameInterpolation), ITEM(cmd::kZeroPadding), END,
    POPUP("M&orphology"),
        ITEM(cmd::kMinkowskiAddition), ITEM(cmd::kMinkowskiSubtraction), ITEM(cmd::kDilation), ITEM(cmd::kErosion), ITEM(cmd::kOpening), ITEM(cmd::kClosing), END,
    POPUP("&Transforms"),
        ITEM(cmd::kFft), ITEM(cmd::kIfft), ITEM(cmd::kDct), ITEM(cmd::kIdct), ITEM(cmd::kConvolution), ITEM(cmd::kCorrelation), ITEM(cmd::kSpectrum),
        ITEM(cmd::kBlackmanTukey), END,
    POPUP("&Logic/Metrics"),
        ITEM(cmd::kLogicalAnd), ITEM(cmd::kLogicalOr), ITEM(cmd::kLogicalXor), SEP, ITEM(cmd::kSurface), ITEM(cmd::kVolume), ITEM(cmd::kBoundingBox), END,
    POPUP("T&ools"), ITEM(cmd::kManualAlignment), END,
    POPUP("&Help"), ITEM(cmd::kAbout), END,
};

const int kMenu3dSize = sizeof kMenu3d / sizeof kMenu3d[0];

}  // namespace res
