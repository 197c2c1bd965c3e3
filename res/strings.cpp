// The workstation's own texts: captions and labels of its dialogs, its messages and titles.
// error_handler and the dialogs find every id through text(), which falls back to the
// library's table for the status messages.
#include "res/strings.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <iterator>

#include "vexilo3d.h"

namespace res {
namespace {

struct Entry {
    int id;
    const char* text;
};

// Sorted by id.
const Entry kTable[] = {
    {3001, "Select Input Volume"},
    {3002, "Select Output Volume"},
    {3003, "Select Volume"},
    {3004, "Select Volume to Open"},
    {3005, "Select Volume to Free"},
    {3006, "Select Volume to Clear"},
    {3007, "Select Input Volume to Copy"},
    {3008, "Select Output Volume for Copy"},
    {3009, "Clear UC Volume"},
    {3010, "Clear float Volume"},
    {3011, "Clear int Volume"},
    {3012, "Select Volume to Display"},
    {3014, "Give Offsets for Copy"},
    {3015, "Give Zooming factor"},
    {3016, "Give Decimation factor"},
    {3017, "Give Zero Padding factor"},
    {3018, "3D Interpolation Options"},
    {3019, "Frame Interpolation Options"},
    {3020, "Give Window Dimensions"},
    {3021, "Give Window Dimensions and noise variance"},
    {3022, "Plane direction (0,45,90,135)"},
    {3023, "Give Threshold value"},
    {3024, "Give Threshold and Max No Regions"},
    {3025, "Give Int. Volume Dimensions and Threshold"},
    {3026, "Give attenuation coefficients"},
    {3030, "Input Volume for Moving Average"},
    {3031, "Output Volume for Moving Average"},
    {3032, "Select Input Volume for Median"},
    {3033, "Select Output Volume for Median"},
    {3034, "Input Volume for Running Median"},
    {3035, "Output Volume for Running Median"},
    {3036, "Input Volume for Multistage Median"},
    {3037, "Output Volume for Multitage Median"},
    {3038, "Input Volume for Weighted Median"},
    {3039, "Output Volume for Weighted Median"},
    {3040, "Select Weights Volume"},
    {3041, "Input Volume for Running Min"},
    {3042, "Output Volume for Running Min"},
    {3043, "Input Volume for Running Max"},
    {3044, "Output Volume for Running Max"},
    {3045, "Input Volume for range"},
    {3046, "Output Volume for range"},
    {3047, "Input Volume for Compass"},
    {3048, "Output Volume for Compass"},
    {3049, "Input Volume for Sobel"},
    {3050, "Output Volume for Sobel"},
    {3051, "Input Volume for Laplace"},
    {3052, "Output Volume for Laplace"},
    {3053, "Select Input Labelled Volume"},
    {3054, "Select Structuring Element Volume"},
    {3055, "Edge Follow Original Volume"},
    {3056, "Edge Follow Output Volume"},
    {3057, "Select Output Volume (Real Part)"},
    {3058, "Select Output Volume (Im. Part)"},
    {3059, "Select Input Volume (Real Part)"},
    {3060, "Select Input Volume (Im. Part)"},
    {3092, "Output Volume is not appropriate\nand will be reallocated. Continue?"},
    {3100, "Input volume will be modified. Continue?"},
    {3101, "No of regions = %lu"},
    {3102, "Number of regions = %d"},
    {3103, "Surface (nonzero surface points) = %lu"},
    {3104, "Volume (nonzero points) = %lu"},
    {3105, "Bounding Box (x1,y1,z1) - (x2,y2,z2) : (%d,%d,%d) - (%d,%d,%d)"},
    {3106, "Selected Volume (VOI) contains only background points"},
    {3107, "VEXILO3D for Windows"},
    {3108, "VEXILO 3.4  for Windows"},
    {3109, "VEXILO"},
    {3110, "Coefficients from file %s have been loaded in Volume %d"},
    {3111, "File WIN_UC3D.PAR not found"},
    {3112, "Error in reading file WIN_UC3D.PAR"},
    {3113, "File WIN_F3D.PAR not found"},
    {3114, "Error in reading file WIN_F3D.PAR"},
    {3115, "Sorry. Another labelled volume view procedure is already in progress."},
    {3116, "Use the displayed dialog to modify output volume.\nUse any visualization method to view output volume."},
    {3117, "The input volume has been converted to a color one!"},
    {3118, "Sorry. Another alignment procedure is already in progress."},
    {3119, "Histogram of #%d Volume (pdf)"},
    {3120, "Histogram of #%d Volume (cdf)"},
    {3121, "vol %d [fr %d-%d,%d]"},
    {3122, "Updating projections ..."},
    {3123, "Error in initialization."},
    {3124, "Fatal Error"},
    {3125, "Dump Volume"},
    {3126, "All Files"},
    {3127, "%s is not available yet: its operator is not part of this build."},
    {3128, "Zoom In"},
    {3129, "Zoom Out"},
    {3130, "ERROR: Output volume has been modified !!!"},
    {3131, "Input volume contains no region labels"},
    {3132, "Update output volume before closing?"},
    {3133, "At least 2 successive frames should be specified"},
    {3134, "Volume %d has been reserved for internal use.\nDo not modify or destroy it during alignment procedure!"},
    {3135, "All changes made to the current frame will be lost. Continue?"},
    {3136, "Do you want to save changes?"},
    {3137, "Section View of Volume %d."},
    {3138, "SelectCLipRgn failed."},
    {3139, "X factor : %4.2f"},
    {3140, "Y factor : %4.2f"},
    {3141, "Z factor : %4.2f"},
    {3142, "Frame Gallery of Volume  %d."},
    {3143, "&Save Projection"},
    {3150, "Alignment of Volume %d."},
    {3151, "Volume %d has been modified or destroyed: the alignment procedure has ended."},
    {3160, "%g x %g x %g mm (z, y, x)"},
    {3161, "sform %d, qform %d: (%.4g %.4g %.4g %.4g) (%.4g %.4g %.4g %.4g) (%.4g %.4g %.4g %.4g)"},
    {3162, "none"},
    {3170, "Samples over 8 bits:"},
    {3171, "Scale to 0..255"},
    {3172, "Stretch min..max to 0..255"},
    {3173, "Keep their values (I or F volume)"},
    {3174, "%s holds %lld bytes; the size given reads only the first %lld of them.\nOpen it all the same?"},
    {3175, "%s holds %lld bytes; a frame of the size given takes %lld.\nOpen it all the same?"},
    {3176, "There are %d frames; frames %d to %d (%d) will be read.\nOpen them all the same?"},
    {5001, "Give X Offset:"},
    {5002, "Give Y Offset:"},
    {5003, "Give Z Offset:"},
    {5004, "Channel1 Value:"},
    {5005, "Channel2 Value:"},
    {5006, "Channel3 Value:"},
    {5007, "Zoom factor (2,3,...):"},
    {5008, "Decim factor (2,3,...):"},
    {5009, "Padding factor (2,3,...):"},
    {5010, "X Dimension:"},
    {5011, "Y Dimension:"},
    {5012, "Z Dimension:"},
    {5013, "Noise Variance:"},
    {5014, "Cubic window size:"},
    {5015, "X direction:"},
    {5016, "Z direction:"},
    {5017, "Threshold:"},
    {5018, "Max No of regions:"},
    {5019, "X coefficient:"},
    {5020, "Y coefficient:"},
    {5021, "Z coefficient:"},
    {5022, "Give Value 1:"},
    {5023, "Give Value 2:"},
    {5024, "Give Value 3:"},
    {5025, "Give Value 4:"},
};

}  // namespace

const char* text(int id) {
    const int key = id < 0 ? -id : id;
    auto it = std::lower_bound(std::begin(kTable), std::end(kTable), key,
                               [](const Entry& e, int k) { return e.id < k; });
    if (it != std::end(kTable) && it->id == key) return it->text;
    return GetStatusText(id);
}

std::string format(int id, ...) {
    char buffer[512];
    va_list args;
    va_start(args, id);
    std::vsnprintf(buffer, sizeof buffer, text(id), args);
    va_end(args);
    return buffer;
}

}  // namespace res
