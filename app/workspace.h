// The window system as the commands and tools see it: the frame window implements it (one
// helper there adds any MDI child with its window class; one walk finds the windows of a class
// that show a volume), the tests put their own in its place.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "app/projections.h"
#include "vexilo3d.h"

namespace app {

// Frame display modes: the black-and-white display (1300), the colour display (1307), 1308.
enum DisplayMode : int { kPlainDisplay = 0, kColour = 1, kBlackAndWhite = 2 };

class Workspace {
public:
    virtual ~Workspace() = default;
    // Repaints vol's display windows; with open_if_missing and none shown, opens one. False
    // when that window could not be created.
    virtual bool display(Volume* vol, bool open_if_missing) = 0;
    // Closes every window that shows vol.
    virtual void release(Volume* vol) = 0;
    // A frame display window (mode 2 black-and-white, 1 colour, 0 plain) of frames
    // first..last, current frame first; false when it could not be created.
    virtual bool open_display(int mode, Volume* vol, double delay, int first, int last,
                              int placement) = 0;
    // A histogram window (class signal) titled title, plotting values, shown and made active;
    // false when it could not be created.
    virtual bool open_plot(const std::string& title, const std::vector<float>& values) = 0;
    // A section view (class section_view) of vol through its middle voxel; false when it could
    // not be created.
    virtual bool open_section_view(Volume* vol) = 0;
    // Shows or hides the coordinates read-out (class write), creating it when first shown;
    // false when it cannot be created.
    virtual bool show_coordinates(bool show) = 0;
    // Opens the modeless "Labelled Volume View" over labelled_view() and keeps it as the one
    // modeless dialog; false when it could not be created.
    virtual bool open_labelled_view() = 0;
    // The two windows of contour following: frame displays of original and output with the
    // previous/next bar, stepped together, the original's marking contour_following()'s
    // traces; views receives the two views the clicks come from. Closing either window ends
    // contour following. False when they could not be created (none is left open then).
    virtual bool open_contour_windows(Volume* original, Volume* output, const void* views[2]) = 0;
    // Closes whichever of the two is still open.
    virtual void close_contour_windows() = 0;
    // The client area a new projection window's picture may take: the MDI client less a
    // child's frame, caption and scroll bars.
    virtual ClientSize projection_area() const { return {}; }
    // Opens a projection window (class projection) titled title that shows record's buffer
    // for proj, record's ranges set; from then on the window owns the record (taken from
    // record), proj and the buffer. Null when it cannot be created: nothing is taken then.
    virtual void* open_projection(std::unique_ptr<ProjectionWindowRecord>& /*record*/,
                                  Projection* /*proj*/, const std::string& /*title*/) {
        return nullptr;
    }
    // Hands projection window window a picture as SetProjectionBuffer does; false when window
    // is not a projection window (nothing is taken then).
    virtual bool set_projection_buffer(void* /*window*/, Buffer* /*buffer*/) { return false; }

    // ---- the modules' menus
    // One item of a module's popup: its text (marks removed), command id and looks.
    struct ModuleItem {
        std::string text;
        int id = 0;
        bool greyed = false;
        bool separator_before = false;
    };
    // Puts the "&Modules" popup in place of the menu bar's fourth item, the first time; later
    // calls find it there. False when it cannot be made.
    virtual bool install_modules_menu() { return false; }
    // Appends a module's popup titled title, holding items, to "&Modules" and redraws the bar;
    // the popup's handle, null when it cannot be made.
    virtual void* append_module_popup(const std::string& /*title*/,
                                      const std::vector<ModuleItem>& /*items*/) {
        return nullptr;
    }
    // Sets the state (MF_ bits) of the module item whose command id is id; redraws the bar.
    virtual void set_module_item_state(int /*id*/, unsigned /*state*/) {}
    // Enables File > Save (a save module is loaded).
    virtual void enable_save() {}
    // The handles of the information block: the frame window and its MDI client.
    virtual void* frame_handle() { return nullptr; }
    virtual void* client_handle() { return nullptr; }

    // The modeless "Align ToolBox" over alignment(); false when it could not be created.
    virtual bool open_alignment_toolbox() { return false; }
    // Closes the toolbox without a question: the alignment tool has ended.
    virtual void close_alignment_toolbox() {}
    // The alignment tool rendered its picture again into the buffer of view (its position
    // view): the view paints it, the toolbox shows the tool's state.
    virtual void alignment_changed(void* /*view*/) {}
    // Closes projection window `window` (nothing when it is gone).
    virtual void close_projection(void* /*window*/) {}
    // The coordinates read-out changed (PrintCoordinates).
    virtual void readout_changed() {}
    // Ends the program the way Exit does.
    virtual void exit() = 0;
};

Workspace* workspace();
void set_workspace(Workspace* workspace);

}  // namespace app
