#include "cli/cli.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <sstream>

namespace cli {

const char* const kInOutUsage =
    "--in FILE --size ZxYxX [--type uc|f|i] [--channels 1|3] [--skip N]\n"
    "    [--voi z1:z2,y1:y2,x1:x2] --out FILE";  // the raw-volume grammar of kRawVolumeUsage

Args::Args(const std::vector<std::string>& words) {
    for (size_t i = 0; i < words.size(); ++i) {
        const std::string& w = words[i];
        if (w.size() < 3 || w.compare(0, 2, "--") != 0)
            throw UsageError("unexpected argument '" + w + "'");
        const std::string key = w.substr(2);
        if (values_.count(key)) throw UsageError("option --" + key + " given twice");
        const bool has_value = i + 1 < words.size() &&
                               (words[i + 1].compare(0, 2, "--") != 0 || words[i + 1].size() == 2);
        values_[key] = has_value ? words[++i] : std::string();
        used_[key] = false;
    }
}

bool Args::has(const std::string& key) const {
    auto it = values_.find(key);
    if (it == values_.end()) return false;
    used_[key] = true;
    return true;
}

std::string Args::text(const std::string& key) const {
    if (!has(key)) throw UsageError("missing option --" + key);
    const std::string& v = values_.at(key);
    if (v.empty()) throw UsageError("option --" + key + " needs a value");
    return v;
}

std::string Args::text(const std::string& key, const std::string& fallback) const {
    return has(key) ? text(key) : fallback;
}

int Args::integer(const std::string& key) const { return parse_int(text(key), "--" + key); }
int Args::integer(const std::string& key, int fallback) const {
    return has(key) ? integer(key) : fallback;
}
float Args::real(const std::string& key) const { return parse_float(text(key), "--" + key); }
float Args::real(const std::string& key, float fallback) const {
    return has(key) ? real(key) : fallback;
}
Triple Args::triple(const std::string& key) const { return parse_triple(text(key), "--" + key); }
Triple Args::triple(const std::string& key, Triple fallback) const {
    return has(key) ? triple(key) : fallback;
}

std::vector<float> Args::reals(const std::string& key) const {
    std::vector<float> out;
    std::stringstream ss(text(key));
    std::string item;
    while (std::getline(ss, item, ',')) out.push_back(parse_float(item, "--" + key));
    return out;
}

void Args::check_all_used() const {
    for (const auto& kv : used_)
        if (!kv.second) throw UsageError("unknown option --" + kv.first);
}

int parse_int(const std::string& word, const std::string& what) {
    int v = 0;
    if (!whole_number(word, v)) throw UsageError(what + ": '" + word + "' is not an integer");
    return v;
}

float parse_float(const std::string& word, const std::string& what) {
    char* end = nullptr;
    const float v = std::strtof(word.c_str(), &end);
    if (word.empty() || *end != '\0') throw UsageError(what + ": '" + word + "' is not a number");
    return v;
}

Triple parse_triple(const std::string& word, const std::string& what) {
    std::string w = word;
    std::replace(w.begin(), w.end(), 'x', ',');
    std::stringstream ss(w);
    std::string a, b, c, extra;
    if (!std::getline(ss, a, ',') || !std::getline(ss, b, ',') || !std::getline(ss, c, ',') ||
        std::getline(ss, extra, ','))
        throw UsageError(what + ": '" + word + "' is not of the form ZxYxX or z,y,x");
    return {parse_int(a, what), parse_int(b, what), parse_int(c, what)};
}

int type_code(const std::string& word) {
    if (word == "uc") return 1;
    if (word == "f") return 2;
    if (word == "i") return 4;
    throw UsageError("type '" + word + "' is not one of uc, f, i");
}

const char* type_word(int type) { return type == 2 ? "f" : type == 4 ? "i" : "uc"; }

namespace {

// The option of role: "in" uses the plain names (--size), other roles --ROLE-size and fall
// back to the plain one.
std::string role_option(const Args& args, const std::string& role, const std::string& name,
                        const std::string& fallback) {
    if (role != "in" && args.has(role + "-" + name)) return args.text(role + "-" + name);
    return args.text(name, fallback);
}

void apply_voi(const Args& args, const std::string& key, Volume* vol) {
    if (!args.has(key)) return;
    const std::string w = args.text(key);
    int v[6];
    char tail;
    if (std::sscanf(w.c_str(), "%d:%d,%d:%d,%d:%d%c", &v[0], &v[1], &v[2], &v[3], &v[4], &v[5],
                    &tail) != 6)
        throw UsageError("--" + key + ": '" + w + "' is not of the form z1:z2,y1:y2,x1:x2");
    fill_in_VOI(vol, v[0], v[1], v[2], v[3], v[4], v[5]);
}

}  // namespace

VolumeSpec volume_spec(const Args& args, const std::string& role) {
    VolumeSpec s;
    s.path = args.text(role);
    const std::string size = role_option(args, role, "size", "");
    if (size.empty()) throw UsageError("missing option --size (ZxYxX) for --" + role);
    const std::pair<const char*, std::string> options[] = {
        {"size", size},
        {"type", role_option(args, role, "type", "uc")},
        {"channels", role_option(args, role, "channels", "1")},
        {"skip", role_option(args, role, "skip", "0")}};
    for (const auto& [name, value] : options) {
        std::string error;
        set_raw_option(s, name, value, error);
        if (!error.empty()) throw UsageError(error);
    }
    return s;
}

int make_volume(int Z, int Y, int X, int type, int colortype, VolumePtr& out) {
    out.reset(new OwnedVolume);
    return out->create(Z, Y, X, type, colortype);
}

int load_volume(const Args& args, const std::string& role, VolumePtr& out) {
    const VolumeSpec s = volume_spec(args, role);
    if (int status = make_volume(s.Z, s.Y, s.X, s.type, s.colortype, out)) return status;
    if (int status = ReadVolume(out->get(), s.path.c_str(), s.skip, s.Z, s.Y, s.X)) return status;
    apply_voi(args, role == "in" ? "voi" : role + "-voi", out->get());
    return 0;
}

int save_volume(const Args& args, Volume* vol, const std::string& key) {
    const std::string path = args.text(key);
    args.check_all_used();  // a mistyped option must not pass unnoticed into a written result
    return WriteVolume(vol, path.c_str(), 0, vol->Z);
}

Shape like(const Volume* in) { return {in->Z, in->Y, in->X, in->type, in->colortype}; }
Shape grey_uc_like(const Volume* in) { return {in->Z, in->Y, in->X, V3D_TYPE_UC, V3D_COLOR_GREY}; }

int run_in_out(const Args& args, const ShapeOf& shape, const Operation& op,
               bool in_place_allowed) {
    VolumePtr in, fresh;
    if (int s = load_volume(args, "in", in)) return s;
    Volume* out = in->get();
    if (!in_place_allowed || !args.has("in-place")) {
        const Shape o = shape(in->get());
        if (int s = make_volume(o.Z, o.Y, o.X, o.type, o.colortype, fresh)) return s;
        out = fresh->get();
    }
    if (int s = op(in->get(), out)) return s;
    return save_volume(args, out);
}

void register_command(const Command& command) {
    auto& list = const_cast<std::vector<Command>&>(commands());
    list.push_back(command);
}

const std::vector<Command>& commands() {
    static std::vector<Command> list;
    return list;
}

}  // namespace cli
