// The labelled volume view's state and rules.
#include "app/tools/labelled_view.h"

#include <new>

#include "app/services.h"
#include "app/ui.h"
#include "app/workspace.h"
#include "res/strings.h"

namespace app {
namespace {

bool parse_component(const std::string& text, int& value) {
    if (text.empty() || text.size() > 3) return false;
    value = 0;
    for (char ch : text) {
        if (ch < '0' || ch > '9') return false;
        value = value * 10 + (ch - '0');
    }
    return value <= 255;
}

unsigned char& component(LabelColor& e, int c) {
    return c == 0 ? e.red : c == 1 ? e.green : e.blue;
}

}  // namespace

LabelledView& labelled_view() {
    static LabelledView view;
    return view;
}

int LabelledView::prepare(Volume* in, Volume* out) {
    unsigned int lowest = 0, highest = 0;
    if (const int status = FindMinMaxIntensity(in, &lowest, &highest)) return status;
    if (highest < 1) return res::kNoLabels;
    in_ = in;
    out_ = out;
    n_ = static_cast<int>(highest);
    return 0;
}

int LabelledView::open() {
    WaitCursor wait;
    table_.reset(new (std::nothrow) LabelColor[n_]);
    if (!table_) return V3D_ERR_NO_BUFFER;
    SetDefaultLabelColors3d(table_.get(), n_);
    current_ = 1;
    if (const int status = colour_output(0)) {
        close();
        return status;
    }
    return 0;
}

void LabelledView::close() { table_.reset(); }

void LabelledView::select(int object) {
    if (object >= 1 && object <= n_) current_ = object;
}

void LabelledView::set_component(int c, int value) {
    if (!in_progress() || c < 0 || c > 2 || value < 0 || value > 255) return;
    LabelColor& e = table_[current_ - 1];
    component(e, c) = static_cast<unsigned char>(value);
    e.changed = 1;
}

Typed LabelledView::type_component(int c, const std::string& text) {
    if (text.empty()) return Typed::Pending;
    int value = 0;
    if (!parse_component(text, value)) return Typed::Rejected;
    set_component(c, value);
    return Typed::Applied;
}

void LabelledView::set_shown(bool shown) {
    if (in_progress()) table_[current_ - 1].requested = shown ? 1 : 0;
}

bool LabelledView::pending(int object) const {
    if (!in_progress() || object < 1 || object > n_) return false;
    const LabelColor& e = table_[object - 1];
    return e.changed || e.requested != e.displayed;
}

bool LabelledView::update_all_enabled() const {
    for (int l = 1; l <= n_; ++l)
        if (pending(l)) return true;
    return false;
}

// The output slot must still hold what the view prepared: UC, three channels, at least as
// large as the labels.
bool LabelledView::output_intact() const {
    return out_ && in_ && out_->type == V3D_TYPE_UC && out_->colortype == V3D_COLOR_RGB &&
           out_->Z >= in_->Z && out_->Y >= in_->Y && out_->X >= in_->X;
}

// Colours object (0: every object) into the output and records what was written; the output's
// windows are repainted, none opened.
int LabelledView::colour_output(int object) {
    if (!output_intact()) return res::kOutputModified;
    if (const int status = ColorLabelledVolume3d(in_, out_, n_, table_.get(), object)) return status;
    for (int l = object ? object : 1; l <= (object ? object : n_); ++l) {
        table_[l - 1].changed = 0;
        table_[l - 1].displayed = table_[l - 1].requested;
    }
    if (workspace()) workspace()->display(out_, false);
    return 0;
}

bool LabelledView::write(int object) {
    if (!in_progress()) return false;
    WaitCursor wait;
    if (const int status = colour_output(object)) {
        error_handler(status);
        return false;
    }
    return true;
}

bool LabelledView::may_close() {
    if (!update_all_enabled()) return true;
    switch (ui().ask_yes_no_cancel(res::text(res::kUpdateBeforeClosing))) {
    case Reply::Yes:
        write(0);  // a failure is reported, and the dialog closes all the same
        return true;
    case Reply::No:
        return true;
    default:
        return false;
    }
}

}  // namespace app
