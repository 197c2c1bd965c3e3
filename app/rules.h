// The rules the selection, creation, format and levels dialogs apply, without Qt: each returns
// 0 or the message id the dialog shows while it stays open. A dialog only collects the texts,
// calls its rule, and shows the error or accepts.
#pragma once

#include <string>
#include <vector>

#include "app/ui.h"
#include "vexilo3d.h"

namespace app {

// The list of a selection dialog: the index of every slot whose data type and colour type
// meet the masks, in slot order; unless bit 0 of flag is set, then "New[%d]" with the first
// free slot, whose index goes to free_slot (-1 when none is offered).
std::vector<std::string> volume_list(int typemask, int colormask, int flag, int& free_slot);
// The free slots, for "Select Volume to Create".
std::vector<std::string> free_slot_list();
// An entry of such a list: the "New[%d]" entry (recognised by its first letter) or a slot.
bool is_new_entry(const std::string& entry);
int slot_of_entry(const std::string& entry);

const char* type_text(int type);        // "UC", "F", "I"
const char* color_text(int colortype);  // "1 Channel", "3 Channels"
// "Select Volume to Create" reads the chosen texts by their first letter: 'F' float, 'I' int,
// anything else (also no choice) UC; "3..." three channels, else one.
int type_of_text(const std::string& text);
int colortype_of_text(const std::string& text);

// Numbers typed into fields, read as "%d" (0 when the text does not start with a number) and,
// for the VOI fields, as "%u".
int int_of_text(const std::string& text);
bool int_of_text(const std::string& text, int& value);
int unsigned_of_text(const std::string& text);

// The information text becomes the slot's name (at most 150 characters).
void store_name(Volume* vol, const std::string& name);

// VOI bounds in the order of the fields "Low", "Up", "Top", "Bottom", "Left", "Right".
struct VoiBounds {
    int z1, z2, y1, y2, x1, x2;
};
VoiBounds voi_bounds(const Volume* vol);
// Applies bounds that are non-negative, non-empty and inside vol; 615 otherwise.
int apply_voi(Volume* vol, const VoiBounds& b);

// X, Y, Z of a new volume must all be greater than 0 (90 otherwise).
int check_new_dimensions(int X, int Y, int Z);

// Frees the windows of vol and destroys it ("Select Volume to Destroy").
void destroy_volume(Volume* vol);

// The display levels and delay texts: the delay only digits and '.', 0 <= lower <= upper;
// 90 otherwise.
int read_levels(const std::string& upper, const std::string& lower, const std::string& delay,
                LevelsRequest& levels);

// What State of Volumes says of a volume's voxel spacing and orientation (the affine's rows).
std::string spacing_text(Volume* vol);
std::string orientation_text(Volume* vol);

// The open/save format dialog's answers: first frame not above the last (7000), positive
// width and height for headerless formats and sane numbering (7001), the file or the series'
// first frame present (7002). Fixes the colour type of formats that have one.
int check_format(FormatRequest& request);

}  // namespace app
