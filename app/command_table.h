// The command table and its dispatcher.
//
// Every menu command is one CommandSpec row: id, menu text, input masks, captions, value
// labels, output type, whether it may work in place, the operation, and what follows. The
// dispatcher runs the fixed steps for every operator row: select the input, a second volume,
// the values, the output; refuse the same volume when not in place (-525); prepare the output;
// run the operation under the wait cursor; report; display. Rows whose operation is not built
// yet (op and custom both null) only say so.
//
// Wiring an operator is one line: ".op = window_op<median3>".
#pragma once

#include <string>
#include <vector>

#include "app/ui.h"
#include "res/commands.h"
#include "vexilo3d.h"
#include "vexilo3d_volume.hpp"

namespace app {

namespace cmd = res::cmd;

struct CommandContext;
using Operation = int (*)(CommandContext&);
using Handler = void (*)(const struct CommandSpec&);

// Output data type of a row: none (no output selection), the input's, or a fixed type.
enum : int { kNoOutput = -1, kSameType = 0 };

// ValueSpec::real for a value dialog whose every value is real.
constexpr unsigned kAllReal = 0xF;

enum class After {
    Nothing,
    Display,             // DisplayVolume(output)
    DisplayBoth,         // DisplayVolume(output), a repaint of the input, the message if any
    Message,             // the operation's message
    MessageAndDisplay,
};

struct ValueSpec {
    int caption = 0;                 // string id; 0: no value dialog
    int labels[4] = {0, 0, 0, 0};    // string ids
    // the values parsed with "%f" instead of "%d", one bit per value (value i: bit i)
    unsigned real = 0;
    int count() const;
};

struct VolumeSpec {
    int typemask = 0, colormask = 0; // 0: none
    int caption = 0;                 // string id
};

struct CommandSpec {
    int id = 0;
    const char* text = "";           // menu text with its '&' mnemonic
    int typemask = 0, colormask = 0; // input masks; 0: no input selection
    int in_caption = 0;              // string ids; 0: the plain captions
    int out_caption = 0;
    VolumeSpec second;               // second input or auxiliary volume
    // the auxiliary volume is asked after the output, the slots chosen as input and output
    // left out of its list (the structuring element of the morphology rows)
    bool second_after_output = false;
    ValueSpec values;
    ValueSpec (*values_for)(Volume* in) = nullptr;  // values that depend on the input
    // an options dialog after the values ("Interpolation Options" ...): false ends the command
    bool (*options)(CommandContext& c) = nullptr;
    int out_type = kNoOutput;        // kNoOutput, kSameType, or 1, 2, 4
    int out_color = 0;               // 0: the input's
    // the output's Z, Y, X when they are not the input's (zooming by the factor asked ...); a row
    // without it keeps the voxel grid, and the output takes the input's voxel spacing
    void (*out_dims)(const struct CommandContext& c, int& Z, int& Y, int& X) = nullptr;
    bool in_place = true;            // false: the same volume as input and output is -525
    bool at_least = false;           // output prepared at least as large instead of exactly
    bool confirm_input = false;      // "Input volume will be modified. Continue?" first
    Operation op = nullptr;
    After after = After::Display;
    Handler custom = nullptr;        // a command with its own steps
    int message_caption = 0;         // caption of the result message (string id)
    Icon message_icon = Icon::None;
};

// What one run of the pattern has in hand for the operation.
struct CommandContext {
    const CommandSpec* row = nullptr;
    Volume* in = nullptr;
    Volume* second = nullptr;
    Volume* out = nullptr;
    std::vector<int> ints;           // the values parsed with "%d"
    std::vector<float> reals;        // ... or "%f"
    std::string message;             // result message of the operation
    Volume* created_further = nullptr;  // a further output that the command created
    // the output keeps the dimensions chosen in its dialog (a new one) or its own (an existing
    // one) instead of those the operation produces
    bool output_as_chosen = false;
    int ival(int i) const { return i < static_cast<int>(ints.size()) ? ints[i] : 0; }
    float rval(int i) const { return i < static_cast<int>(reals.size()) ? reals[i] : 0.f; }
};

// The families' rows.
void add_file_commands(std::vector<CommandSpec>& rows);
void add_volume_commands(std::vector<CommandSpec>& rows);
void add_filter_commands(std::vector<CommandSpec>& rows);
void add_edge_commands(std::vector<CommandSpec>& rows);
void add_segmentation_commands(std::vector<CommandSpec>& rows);
void add_resize_commands(std::vector<CommandSpec>& rows);
void add_morphology_commands(std::vector<CommandSpec>& rows);
void add_transform_commands(std::vector<CommandSpec>& rows);
void add_logic_commands(std::vector<CommandSpec>& rows);
void add_view_commands(std::vector<CommandSpec>& rows);

const std::vector<CommandSpec>& command_table();
const CommandSpec* find_command(int id);

// Runs command id; false when no row has that id (the module router may still take it).
bool dispatch(int id);
// The operator pattern of one row.
void run_pattern(const CommandSpec& row);
// "X is not available yet ..." for a row whose operation is missing.
void report_not_available(const CommandSpec& row);
// The menu text without its mnemonic.
std::string plain_text(const char* menu_text);

// A result message with one count, "%d" or "%lu" as the text of id has it.
std::string format_count(int id, long count);

// Parses text with "%d" / "%f" semantics: false when it does not start with a number.
bool parse_int(const std::string& text, int& value);
bool parse_float(const std::string& text, float& value);

// What an operation returns when it has ended the command itself (a dialog inside it was
// cancelled, or it showed its own message): nothing more is shown, and an output that the
// command created goes again.
constexpr int kReported = 1;

// A volume for an operation's own use, destroyed with its scope.
using v3d::OwnedVolume;

// Selects and prepares a further output of an operation the way the pattern prepares the
// first (exactly Z x Y x X of type, one channel; the same volume as the input or the first
// output is -525). 0 with out set, kReported when cancelled or declined, or a status to show.
int further_output(CommandContext& c, int caption, int type, int Z, int Y, int X, Volume*& out);

// "Select Volume to Display" for a UC volume of colormask; null when cancelled.
Volume* select_to_display(int colormask);

// The slots chosen as the command's input and output so far.
std::vector<int> chosen_slots(const CommandContext& c);

// Adapters that turn a library operator into a row's operation.
template <int (*F)(Volume*, Volume*)> int unary_op(CommandContext& c) { return F(c.in, c.out); }
template <int (*F)(Volume*, Volume*, Volume*)> int binary_op(CommandContext& c) {
    return F(c.in, c.second, c.out);
}
// window dimensions asked as X, Y, Z; the operator takes (wz, wy, wx)
template <int (*F)(Volume*, Volume*, int, int, int)> int window_op(CommandContext& c) {
    return F(c.in, c.out, c.ival(2), c.ival(1), c.ival(0));
}
template <int (*F)(Volume*, Volume*, int)> int int_op(CommandContext& c) {
    return F(c.in, c.out, c.ival(0));
}
template <int (*F)(Volume*, Volume*, int, int, int)> int offset0_op(CommandContext& c) {
    return F(c.in, c.out, 0, 0, 0);
}
// in, structuring element (the second volume), out
template <int (*F)(Volume*, Volume*, Volume*)> int se_op(CommandContext& c) {
    return F(c.in, c.second, c.out);
}
// a factor (the one value asked), the result at the output's origin
template <int (*F)(Volume*, Volume*, int, int, int, int)> int factor_op(CommandContext& c) {
    return F(c.in, c.out, c.ival(0), 0, 0, 0);
}
// two integer values in the order asked
template <int (*F)(Volume*, Volume*, int, int)> int int2_op(CommandContext& c) {
    return F(c.in, c.out, c.ival(0), c.ival(1));
}
// an operator that counts into *count (which starts at 0); the count fills message id
template <int (*F)(Volume*, Volume*, int*, int), int Message>
int counted_op(CommandContext& c) {
    int count = 0;
    const int status = F(c.in, c.out, &count, c.ival(0));
    c.message = format_count(Message, count);
    return status;
}
// an operator that returns a positive count on success (region merging)
template <int (*F)(Volume*, Volume*, int, int), int Message>
int returns_count_op(CommandContext& c) {
    const int result = F(c.in, c.out, c.ival(0), c.ival(1));
    if (result < 0) return result;
    c.message = format_count(Message, result);
    return 0;
}

// Seeded growing: the output is cleared over its whole extent, "Pixel Input" collects the
// seed clicks on the input's display windows, every seed becomes a non-zero output voxel, then
// F(in, out, 255 seeds at most, the value asked as tolerance).
int prepare_seeds(CommandContext& c);
template <int (*F)(Volume*, Volume*, int, int)> int seeded_op(CommandContext& c) {
    if (const int status = prepare_seeds(c)) return status;
    return F(c.in, c.out, 255, c.ival(0));
}

}  // namespace app
