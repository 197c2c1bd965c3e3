// Every conversation of a command with the user goes through one UserInterface: the
// workstation's implementation opens the real dialogs and message boxes, the tests put a
// scripted one in its place that answers from a list and records what was shown.
#pragma once

#include <string>
#include <vector>

#include "res/strings.h"
#include "vexilo3d.h"

namespace app {

enum class Icon { None, Information, Question, Warning, Error };

// The answer to a Yes/No/Cancel question.
enum class Reply { Yes, No, Cancel };

// Which selection dialog: the input dialog ("Get_InOut_Volume"), the output dialog ("Select
// Same Output Volume"), the plain one ("Select Volume") or the target of Open ("Get Volume").
enum class SelectKind { Input, Output, Other, OpenTarget };

struct SelectRequest {
    SelectKind kind = SelectKind::Input;
    int typemask = 7, colormask = 3;
    std::string caption;
    int X = 0, Y = 0, Z = 0;        // proposed dimensions of a new output / the file to open
    std::vector<int> exclude;       // slots left out of the "Select Volume" list
    bool allow_rename = true;       // the input dialog's information field
};

struct Selection {
    int slot = -1;
    Volume* vol = nullptr;          // null for a "New[%d]" entry
    int X = 0, Y = 0, Z = 0;        // read back from the dimension fields
};

// The open/save format dialog: which reader and the file-sequence naming.
struct FormatRequest {
    int format = 0;                 // position in the image-sequence table (GetImageSequenceFormat)
    std::string file;               // the file of a single-file format
    std::string base;               // base name of a frame series
    int first = 0, last = 0, digits = 0;  // digits -1: one picture named without a number
    int width = 0, height = 0;
    int type = 1, colortype = 1;
    std::string exts[3] = {"raw", "", ""};  // the extension; "r", "g", "b" for raw r/g/b frames
    // a raw volume's voxels in the file when they are not the data type's own (0): 16- and
    // 32-bit integers into I, 64-bit reals into F (V3D_SAMPLE_*), their byte order, and the
    // bytes before the first frame
    int sample = 0;
    bool big_endian = false;
    long long offset = 0;
    int timepoint = 0;              // the time point of a four-dimensional volume file
    int deep = 0;                   // samples over 8 bits: app::DeepSamples
};

struct CreateRequest {
    int slot = -1;
    int X = 0, Y = 0, Z = 0, type = 1, colortype = 1;
};

struct LevelsRequest {
    int upper = 0, lower = 0;       // frame range
    double delay = 0.0;             // seconds
};

// "Interpolation Options", "Binary Frame Interpolation Options", "Select Weights Source",
// "Frame Gallery Display Options", "Manual Alignment Options" (the first and last frame and
// Auto's search radius in the factors, Auto's turns in the check box, blend 0 / difference 1).
enum class OptionsKind { Interpolation, BinaryFrameInterpolation, WeightsSource, FrameGallery, ManualAlignment };
struct OptionsRequest {
    OptionsKind kind = OptionsKind::Interpolation;
    std::string caption;
    bool check = false;             // 1156 / 1165
    std::string factors[3];         // 1157-1159 (X, Y, Z); the gallery's frames per row first
    int choice = 0;                 // 0 the first radio button, 1 the second
};

class UserInterface {
public:
    virtual ~UserInterface() = default;

    // The selection dialogs: false on Cancel.
    virtual bool select(const SelectRequest& request, Selection& result) = 0;
    // The value dialog: the caption, one to four labels; the typed texts on OK.
    virtual bool ask_values(const std::string& caption, const std::vector<std::string>& labels,
                            std::vector<std::string>& texts) = 0;
    // Yes/No with the question icon, captioned "VEXILO3D for Windows": true for Yes.
    virtual bool ask_yes_no(const std::string& text) = 0;
    // Yes/No/Cancel, otherwise as ask_yes_no.
    virtual Reply ask_yes_no_cancel(const std::string& text) = 0;
    // error_handler's box: the text of |code|, the stop icon.
    virtual void show_error(int code) = 0;
    virtual void show_message(const std::string& text, const std::string& caption, Icon icon) = 0;
    // File pickers: an empty name when cancelled.
    virtual std::string pick_save_file(const std::string& title, const std::string& filter) = 0;
    virtual bool pick_colour(int rgb[3]) = 0;

    virtual bool ask_format(FormatRequest& request) = 0;
    virtual bool create_volume(CreateRequest& request) = 0;
    virtual void destroy_volumes(const std::string& caption) = 0;  // the dialog destroys
    virtual void show_state() = 0;
    virtual bool set_voi() = 0;                                    // the dialog applies it
    virtual bool ask_levels(Volume* vol, LevelsRequest& request) = 0;
    virtual bool ask_options(OptionsRequest& request) = 0;
    // "Pixel Input": open until OK; meanwhile the active seed collector takes the clicks on
    // vol's display windows.
    virtual bool pixel_input(Volume* vol) = 0;
    virtual void about() = 0;

    // The hourglass while a command computes (WaitCursor turns it on and off); set_wait(false)
    // is harmless when not waiting. Dialogs, message boxes and pickers show the arrow whatever
    // the state.
    virtual void set_wait(bool on) = 0;
};

// The interface in use (the workstation's, or a test's).
UserInterface& ui();
void set_ui(UserInterface* ui);

// Sets the hourglass for its scope. Guards nest: only the outermost one restores the arrow,
// so a step that waits inside a waiting command cannot end the hourglass early.
class WaitCursor {
public:
    WaitCursor();
    ~WaitCursor();
    WaitCursor(const WaitCursor&) = delete;
    WaitCursor& operator=(const WaitCursor&) = delete;
    // How many guards are alive.
    static int depth();
};


}  // namespace app

