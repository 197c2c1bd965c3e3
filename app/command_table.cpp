// The dispatcher: the command table and the fixed steps of an operator command.
#include "app/command_table.h"

#include <cstdio>
#include <cstring>

#include "app/services.h"
#include "app/state.h"
#include "app/tools/seeds.h"
#include "res/strings.h"

namespace app {

int ValueSpec::count() const {
    int n = 0;
    while (n < 4 && labels[n]) ++n;
    return n;
}

const std::vector<CommandSpec>& command_table() {
    static const std::vector<CommandSpec> rows = [] {
        std::vector<CommandSpec> r;
        add_file_commands(r);
        add_volume_commands(r);
        add_view_commands(r);
        add_filter_commands(r);
        add_edge_commands(r);
        add_segmentation_commands(r);
        add_resize_commands(r);
        add_morphology_commands(r);
        add_transform_commands(r);
        add_logic_commands(r);
        return r;
    }();
    return rows;
}

const CommandSpec* find_command(int id) {
    for (const auto& row : command_table())
        if (row.id == id) return &row;
    return nullptr;
}

std::string plain_text(const char* menu_text) {
    std::string s;
    for (const char* p = menu_text; *p; ++p)
        if (*p != '&') s += *p;
    return s;
}

void report_not_available(const CommandSpec& row) {
    ui().show_message(res::format(res::kNotAvailable, plain_text(row.text).c_str()),
                      res::text(res::kCaption), Icon::Information);
}

std::string format_count(int id, long count) {
    if (std::strstr(res::text(id), "%lu")) return res::format(id, static_cast<unsigned long>(count));
    return res::format(id, static_cast<int>(count));
}

bool parse_int(const std::string& text, int& value) {
    return std::sscanf(text.c_str(), "%d", &value) == 1;
}

bool parse_float(const std::string& text, float& value) {
    return std::sscanf(text.c_str(), "%f", &value) == 1;
}

bool dispatch(int id) {
    const CommandSpec* row = find_command(id);
    if (!row) return false;
    if (row->custom)
        row->custom(*row);
    else
        run_pattern(*row);
    return true;
}

namespace {

bool select_volume(SelectKind kind, int typemask, int colormask, int caption, int fallback,
                   Selection& s, int Z = 0, int Y = 0, int X = 0) {
    SelectRequest r;
    r.kind = kind;
    r.typemask = typemask;
    r.colormask = colormask;
    r.caption = res::text(caption ? caption : fallback);
    r.X = X;
    r.Y = Y;
    r.Z = Z;
    return ui().select(r, s);
}

// The value dialog and the parsing of its texts; false when cancelled or unparsable (-90
// shown).
bool ask_values(const ValueSpec& v, CommandContext& c) {
    std::vector<std::string> labels, texts;
    for (int i = 0; i < v.count(); ++i) labels.push_back(res::text(v.labels[i]));
    if (!ui().ask_values(res::text(v.caption), labels, texts)) return false;
    for (size_t k = 0; k < texts.size(); ++k) {
        int i = 0;
        float f = 0.f;
        const bool real = v.real & (1u << k);
        if (real ? !parse_float(texts[k], f) : !parse_int(texts[k], i)) {
            error_handler(V3D_ERR_INVALID_PARAMS);
            return false;
        }
        c.ints.push_back(i);
        c.reals.push_back(f);
    }
    return true;
}

void report(const CommandSpec& row, CommandContext& c) {
    switch (row.after) {
    case After::Nothing:
        break;
    case After::Display:
        DisplayVolume(c.out ? c.out : c.in);
        break;
    case After::DisplayBoth:
        DisplayVolume(c.out);
        if (workspace()) workspace()->display(c.in, false);
        if (!c.message.empty())
            ui().show_message(c.message, res::text(row.message_caption), row.message_icon);
        break;
    case After::Message:
        ui().show_message(c.message, res::text(row.message_caption), row.message_icon);
        break;
    case After::MessageAndDisplay:
        ui().show_message(c.message, res::text(row.message_caption), row.message_icon);
        DisplayVolume(c.out ? c.out : c.in);
        break;
    }
}

// The second input or auxiliary volume ("Select Volume"); asked after the output, the slots
// of the input and output are left out of its list.
bool select_second(const CommandSpec& row, CommandContext& c) {
    SelectRequest r;
    r.kind = SelectKind::Other;
    r.typemask = row.second.typemask;
    r.colormask = row.second.colormask;
    r.caption = res::text(row.second.caption ? row.second.caption : res::kSelectVolume);
    if (row.second_after_output) r.exclude = chosen_slots(c);
    Selection s;
    if (!ui().select(r, s) || !s.vol) return false;
    c.second = s.vol;
    return true;
}

// The output dialog, the same-volume refusal and the preparation of the output; false when
// the command ends here (cancelled, declined, or an error shown).
bool select_output(int caption, const Volume* in, bool in_place, int Z, int Y, int X, int type,
                   int color, bool exact, Volume*& out, bool& created,
                   const Volume* first_out = nullptr, bool as_chosen = false) {
    Selection so;
    if (!select_volume(SelectKind::Output, V3D_TYPE_ANY, V3D_COLOR_ANY, caption, res::kSelectOutput, so, Z, Y, X))
        return false;
    out = so.vol ? so.vol : GetVolumeByIndex(so.slot);
    if (!out) return false;
    if ((out == in && !in_place) || (first_out && out == first_out)) {
        error_handler(V3D_ERR_SAME_VOLUME);
        return false;
    }
    WaitCursor wait;
    created = false;
    if (as_chosen) {
        if (out->type) Z = out->Z, Y = out->Y, X = out->X;
        else Z = so.Z, Y = so.Y, X = so.X;
    }
    if (out->type == V3D_TYPE_NONE) {
        InitializeVolume(out, Z, Y, X, type, color);
        if (const int status = CreateVolume(out)) {
            error_handler(status);
            return false;
        }
        created = true;
        return true;
    }
    const int fit = VerifyOutputVolume(out, X, Y, Z, type, color, exact);
    return fit != kDeclined && fit != kReallocFailed;
}

// An operator that keeps the voxel grid (its output has the input's dimensions, so its row
// sets no out_dims) hands the voxel spacing on to the output; the orientation too when the
// output is exactly as large (a copy placed at an offset lies elsewhere).
void carry_geometry(const CommandSpec& row, const CommandContext& c) {
    if (row.out_dims || !c.in || !c.out || c.out == c.in) return;
    double sz, sy, sx;
    GetVolumeSpacing(c.in, &sz, &sy, &sx);
    SetVolumeSpacing(c.out, sz, sy, sx);
    VolumeOrientation o;
    const bool same_grid = c.out->Z == c.in->Z && c.out->Y == c.in->Y && c.out->X == c.in->X;
    SetVolumeOrientation(c.out, same_grid && GetVolumeOrientation(c.in, &o) == 1 ? &o : nullptr);
}

}  // namespace

std::vector<int> chosen_slots(const CommandContext& c) {
    std::vector<int> slots;
    for (const Volume* v : {c.in, c.out})
        if (v) slots.push_back(GetVolumeIndex(const_cast<Volume*>(v)));
    return slots;
}

int further_output(CommandContext& c, int caption, int type, int Z, int Y, int X, Volume*& out) {
    bool created = false;
    if (!select_output(caption, c.in, false, Z, Y, X, type, 1, true, out, created, c.out))
        return kReported;
    if (created) c.created_further = out;
    return 0;
}

int prepare_seeds(CommandContext& c) {
    Volume* out = c.out;
    const int channels = out->colortype == V3D_COLOR_GREY ? 1 : 3;
    const int z1 = out->z1, z2 = out->z2, y1 = out->y1, y2 = out->y2, x1 = out->x1, x2 = out->x2;
    fill_in_VOI(out, 0, out->Z, 0, out->Y, 0, out->X);
    const float zeros[3] = {0.f, 0.f, 0.f};
    const int status = ClearVolume(out, zeros);
    fill_in_VOI(out, z1, z2, y1, y2, x1, x2);
    if (status) return status;
    DisplayVolume(c.in);
    SeedCollector collector(c.in);
    {
        ActiveTool active(&collector);
        ui().pixel_input(c.in);
    }
    for (const Seed& s : collector.seeds())
        if (out->type == V3D_TYPE_UC && s.z < out->Z && s.y < out->Y && s.x < out->X)
            for (int ch = 0; ch < channels; ++ch) out->data[ch].uc[s.z][s.y][s.x] = 255;
    return 0;
}

void run_pattern(const CommandSpec& row) {
    if (!row.op) {
        report_not_available(row);
        return;
    }
    if (row.confirm_input && !ConfirmInputModification()) return;
    CommandContext c;
    c.row = &row;
    Selection s;
    if (row.typemask) {
        if (!select_volume(SelectKind::Input, row.typemask, row.colormask, row.in_caption,
                           res::kSelectInput, s) || !s.vol)
            return;
        c.in = s.vol;
    }
    if (row.second.typemask && !row.second_after_output && !select_second(row, c)) return;
    const ValueSpec values = row.values_for && c.in ? row.values_for(c.in) : row.values;
    if (values.caption && !ask_values(values, c)) return;
    if (row.options && !row.options(c)) return;

    bool created = false;
    if (row.out_type != kNoOutput && c.in) {
        int Z = c.in->Z, Y = c.in->Y, X = c.in->X;
        if (row.out_dims) row.out_dims(c, Z, Y, X);
        const int type = row.out_type == kSameType ? c.in->type : row.out_type;
        const int color = row.out_color ? row.out_color : c.in->colortype;
        if (!select_output(row.out_caption, c.in, row.in_place, Z, Y, X, type, color,
                           !row.at_least, c.out, created, nullptr, c.output_as_chosen))
            return;
    }
    if (row.second.typemask && row.second_after_output && !select_second(row, c)) {
        if (created) DestroyVolume(c.out);
        return;
    }

    WaitCursor wait;
    if (const int status = row.op(c)) {
        if (status != kReported) error_handler(status);
        if (created) DestroyVolume(c.out);
        if (c.created_further) DestroyVolume(c.created_further);
        return;
    }
    carry_geometry(row, c);
    report(row, c);
}

}  // namespace app
