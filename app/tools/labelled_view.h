// The labelled volume view: a label volume (objects 1..n, background 0) shown as a
// three-channel output in which every object has a colour of its own, edited object by object
// in the modeless "Labelled Volume View". This is the view's state and its rules; the dialog
// shows them and reports what the user did.
#pragma once

#include <memory>
#include <string>

#include "vexilo3d.h"

namespace app {

// What became of a typed colour component.
enum class Typed {
    Applied,   // a number 0..255: the colour took it
    Rejected,  // anything else: beep and show the previous value again
    Pending,   // an empty field: nothing changes until a number is typed
};

class LabelledView {
public:
    // Records the volumes and counts the objects (the input's largest label); 3131 "Input volume
    // contains no region labels" when there is none, or the status of the count.
    int prepare(Volume* in, Volume* out);
    // The colour table (-9 when it cannot be had), the "in progress" flag, the default colours,
    // the whole output coloured after the output check (3130) and its windows repainted. 0, or
    // the status to report; the view is closed again then.
    int open();
    // Frees the table and clears the "in progress" flag.
    void close();
    bool in_progress() const { return table_ != nullptr; }

    Volume* input() const { return in_; }
    Volume* output() const { return out_; }
    int objects() const { return n_; }
    int current() const { return current_; }
    // The entry of object 1..n.
    const LabelColor& entry(int object) const { return table_[object - 1]; }

    // Another object becomes the current one (ignored outside 1..n).
    void select(int object);
    // Component c (0 red, 1 green, 2 blue) of the current object from a scroll bar (0..255).
    void set_component(int c, int value);
    // ... from a typed text: a number 0..255 only.
    Typed type_component(int c, const std::string& text);
    // "Display Object" for the current object.
    void set_shown(bool shown);

    // An object has something to write: its colour changed or its requested display state is
    // not the written one. "Update Current" is enabled for the current object's, "Update All"
    // for any object's.
    bool pending(int object) const;
    bool update_current_enabled() const { return in_progress() && pending(current_); }
    bool update_all_enabled() const;

    // Write the current object / every object into the output after the output check (3130),
    // under the wait cursor; a failure goes to error_handler. True when written.
    bool update_current() { return write(current_); }
    bool update_all() { return write(0); }

    // "Close" or the close box: true when the dialog may go. With something pending it asks
    // "Update output volume before closing?": Yes writes everything first, No closes, Cancel
    // keeps the dialog.
    bool may_close();

private:
    bool output_intact() const;
    int colour_output(int object);
    bool write(int object);

    Volume* in_ = nullptr;
    Volume* out_ = nullptr;
    int n_ = 0;
    int current_ = 1;
    std::unique_ptr<LabelColor[]> table_;
};

// The one labelled volume view of the workstation.
LabelledView& labelled_view();

}  // namespace app
