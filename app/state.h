// Application-wide state: the shared defaults set at start-up, the flags that commands leave
// for the display windows, and the frame window's services behind DisplayVolume/freedisWin.
#pragma once

#include <string>
#include <vector>

#include "app/ui.h"
#include "vexilo3d.h"

namespace app {

// The frame window's side of the window services.
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
    // Ends the program the way Exit does.
    virtual void exit() = 0;
};

Workspace* workspace();
void set_workspace(Workspace* workspace);

struct Seed {
    int z, y, x;
};

struct AppState {
    // defaults shared by the dispatchers and the 2D image helpers
    int image_width = 256, image_height = 256;
    int grey_levels = 256;
    std::vector<int> levels[2];          // two level work arrays of 256 ints
    double white[3] = {1.0, 1.0, 1.0};   // reference white of the coordinates read-out
    std::string start_directory;
    // the open/save format dialog's last answers (its extension fields among them)
    FormatRequest format;
    // set by Write Voxel; the next click in a display window writes a voxel and clears it
    bool write_voxel = false;
    // while "Pixel Input" is open: the volume whose display windows take seed clicks
    Volume* pixel_input = nullptr;
    std::vector<Seed> seeds;
    // the coordinates read-out window
    bool coordinates_shown = false;
    // "in progress" flags of the tools that outlive their command
    bool alignment_active = false;
    bool labelled_view_active = false;
    bool contour_following_active = false;
};

AppState& state();

// Start-up defaults (image size, level arrays, reference white, start directory).
bool initialise_application();
// Destroys every volume in use and releases the table.
void shutdown_application();

// Resets the VOI of every volume in use to the whole volume.
void reset_all_vois();

// "vol %d [fr %d-%d,%d]"
std::string display_title(int index, int first, int last, int current);

}  // namespace app
