// Application-wide state: the shared defaults set at start-up and the answers that the
// open/save format dialog keeps between commands.
#pragma once

#include <string>
#include <vector>

#include "app/ui.h"
#include "app/workspace.h"
#include "vexilo3d.h"

namespace app {

struct AppState {
    // defaults shared by the dispatchers and the 2D image helpers
    int image_width = 256, image_height = 256;
    int grey_levels = 256;
    std::vector<int> levels[2];          // two level work arrays of 256 ints
    double white[3] = {1.0, 1.0, 1.0};   // reference white of the coordinates read-out
    std::string start_directory;
    // the open/save format dialog's last answers (its extension fields among them)
    FormatRequest format;
};

AppState& state();

// Start-up defaults (image size, level arrays, reference white, start directory).
bool initialise_application();
// Ends the tools that hold volumes, destroys every volume in use and releases the table.
void shutdown_application();

// Resets the VOI of every volume in use to the whole volume.
void reset_all_vois();

// "vol %d [fr %d-%d,%d]"
std::string display_title(int index, int first, int last, int current);

// The two projection types registered at start-up: the frame gallery's and the manual
// alignment tool's.
int gallery_projection_type();
int alignment_projection_type();

}  // namespace app
