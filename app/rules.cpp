#include "app/rules.h"

#include <cstdio>
#include <cstring>
#include <filesystem>

#include "app/formats.h"
#include "app/services.h"
#include "res/strings.h"

namespace app {

std::vector<std::string> volume_list(int typemask, int colormask, int flag, int& free_slot) {
    std::vector<std::string> entries;
    for (int i = 0; i < 100; ++i) {
        const Volume* v = GetVolumeByIndex(i);
        if (v && (v->type & typemask) && (v->colortype & colormask))
            entries.push_back(std::to_string(i));
    }
    free_slot = -1;
    if (flag & 1) return entries;
    free_slot = GetNewVolumeIndex();
    if (free_slot >= 0) entries.push_back("New[" + std::to_string(free_slot) + "]");
    return entries;
}

std::vector<std::string> free_slot_list() {
    std::vector<std::string> entries;
    for (int i = 0; i < 100; ++i)
        if (const Volume* v = GetVolumeByIndex(i); v && v->type == V3D_TYPE_NONE)
            entries.push_back(std::to_string(i));
    return entries;
}

bool is_new_entry(const std::string& entry) { return !entry.empty() && entry[0] == 'N'; }
int slot_of_entry(const std::string& entry) { return int_of_text(entry); }

const char* type_text(int type) { return type == V3D_TYPE_F ? "F" : type == V3D_TYPE_I ? "I" : "UC"; }
const char* color_text(int colortype) { return colortype == V3D_COLOR_GREY ? "1 Channel" : "3 Channels"; }

int type_of_text(const std::string& text) {
    const char t = text.empty() ? '\0' : text[0];
    return t == 'F' ? V3D_TYPE_F : t == 'I' ? V3D_TYPE_I : V3D_TYPE_UC;
}

int colortype_of_text(const std::string& text) {
    return !text.empty() && text[0] == '3' ? V3D_COLOR_RGB : V3D_COLOR_GREY;
}

int int_of_text(const std::string& text) {
    int v = 0;
    int_of_text(text, v);
    return v;
}

bool int_of_text(const std::string& text, int& value) {
    return std::sscanf(text.c_str(), "%d", &value) == 1;
}

int unsigned_of_text(const std::string& text) {
    unsigned v = 0;
    std::sscanf(text.c_str(), "%u", &v);
    return static_cast<int>(v);
}

void store_name(Volume* vol, const std::string& name) {
    if (!vol) return;
    const size_t n = std::min<size_t>(name.size(), 150);
    std::memcpy(vol->name, name.data(), n);
    vol->name[n] = '\0';
}

VoiBounds voi_bounds(const Volume* v) { return {v->z1, v->z2, v->y1, v->y2, v->x1, v->x2}; }

int apply_voi(Volume* v, const VoiBounds& b) {
    const bool valid = b.z1 >= 0 && b.y1 >= 0 && b.x1 >= 0 && b.z1 < b.z2 && b.y1 < b.y2 &&
                       b.x1 < b.x2 && b.z2 <= v->Z && b.y2 <= v->Y && b.x2 <= v->X;
    if (!valid) return res::kBadVoi;
    fill_in_VOI(v, b.z1, b.z2, b.y1, b.y2, b.x1, b.x2);
    return 0;
}

int check_new_dimensions(int X, int Y, int Z) {
    return X > 0 && Y > 0 && Z > 0 ? 0 : -V3D_ERR_INVALID_PARAMS;
}

void destroy_volume(Volume* vol) {
    freedisWin(vol);
    DestroyVolume(vol);
}

int read_levels(const std::string& upper, const std::string& lower, const std::string& delay,
                LevelsRequest& levels) {
    bool delay_ok = true;
    for (char c : delay) delay_ok = delay_ok && ((c >= '0' && c <= '9') || c == '.');
    int up = 0, low = 0;
    const bool numbers = int_of_text(upper, up) && int_of_text(lower, low);
    if (!delay_ok || !numbers || low < 0 || low > up) return -V3D_ERR_INVALID_PARAMS;
    levels = {up, low, std::atof(delay.c_str())};
    return 0;
}

std::string spacing_text(Volume* vol) {
    double sz = 1, sy = 1, sx = 1;
    GetVolumeSpacing(vol, &sz, &sy, &sx);
    return res::format(res::kSpacingText, sz, sy, sx);
}

std::string orientation_text(Volume* vol) {
    VolumeOrientation o;
    if (GetVolumeOrientation(vol, &o) != 1) return res::text(res::kNoOrientation);
    const auto& a = o.affine;
    return res::format(res::kOrientationText, o.sform_code, o.qform_code, a[0][0], a[0][1], a[0][2], a[0][3],
                       a[1][0], a[1][1], a[1][2], a[1][3], a[2][0], a[2][1], a[2][2], a[2][3]);
}

int check_format(FormatRequest& r) {
    if (r.first > r.last) return res::kLowerAboveUpper;
    // digits -1 names one picture without a number (raw frames are always numbered)
    const int fewest_digits = raw_format(r.format) || single_file(r.format) ? 0 : -1;
    if ((raw_format(r.format) && (r.width <= 0 || r.height <= 0)) || r.first < 0 || r.digits < fewest_digits)
        return res::kBadDimensions;
    // other voxels, byte orders and offsets are the single-file raw volume's
    const bool plain_voxels = r.sample == 0 && !r.big_endian && r.offset == 0;
    if (r.offset < 0 || r.timepoint < 0 || (raw_format(r.format) && r.format != V3D_FORMAT_RAW_VOLUME && !plain_voxels))
        return res::kBadDimensions;
    if (const int colour = fixed_colortype(r.format)) r.colortype = colour;
    const std::string file =
        single_file(r.format) ? r.file : frame_file_name(r.base, r.first, r.digits, r.exts[0]);
    std::error_code error;
    if (!std::filesystem::exists(file, error)) return res::kNoSuchFile;
    return 0;
}

}  // namespace app
