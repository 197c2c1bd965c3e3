#include "cli/cli.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>

#if defined(_WIN32)
#include <process.h>
#define v3d_getpid _getpid
#else
#include <unistd.h>
#define v3d_getpid getpid
#endif

namespace cli {

const char* const kInOutUsage =
    "--in FILE --size ZxYxX [--type uc|f|i|u16|i16|u32|i32|f32|f64] [--endian little|big]\n"
    "    [--channels 1|3] [--skip N] [--byte-offset BYTES] [--spacing z,y,x]\n"
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

int checked_sum(std::initializer_list<long long> terms, const std::string& what) {
    long long sum = 0;
    for (long long t : terms) sum += t;  // a few int-sized terms: no overflow in long long
    if (sum < INT_MIN || sum > INT_MAX)
        throw UsageError(what + ": the size it gives, " + std::to_string(sum) +
                         ", is beyond 2147483647");
    return static_cast<int>(sum);
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
        {"skip", role_option(args, role, "skip", "0")},
        {"endian", role_option(args, role, "endian", "little")},
        {"byte-offset", role_option(args, role, "byte-offset", "0")}};
    for (const auto& [name, value] : options) {
        std::string error;
        set_raw_option(s, name, value, error);
        if (!error.empty()) throw UsageError(error);
    }
    const std::string spacing = role_option(args, role, "spacing", "");
    std::string error;
    if (!spacing.empty() && (set_raw_option(s, "spacing", spacing, error), !error.empty()))
        throw UsageError(error);
    return s;
}

int make_volume(int Z, int Y, int X, int type, int colortype, VolumePtr& out) {
    out.reset(new OwnedVolume);
    return out->create(Z, Y, X, type, colortype);
}

namespace {

// The bytes a raw file must hold for its description s: the offset, skip frames, then Z frames
// of every channel; false when that does not fit 64 bits (no file is so long).
bool bytes_needed(const VolumeSpec& s, std::uint64_t* bytes) {
    const long long frames = static_cast<long long>(s.Z) * (s.colortype == V3D_COLOR_GREY ? 1 : 3);
    std::uint64_t n = static_cast<std::uint64_t>(s.skip) + static_cast<std::uint64_t>(frames);
    for (long long f : {static_cast<long long>(s.Y), static_cast<long long>(s.X),
                        static_cast<long long>(sample_size(s))}) {
        if (n > UINT64_MAX / static_cast<std::uint64_t>(f)) return false;
        n *= static_cast<std::uint64_t>(f);
    }
    if (n > UINT64_MAX - static_cast<std::uint64_t>(s.offset)) return false;
    *bytes = n + static_cast<std::uint64_t>(s.offset);
    return true;
}

// Before anything is made for it: a missing file is -600, a folder or a regular file shorter
// than the description needs -601, each with a line that says so. Pipes and devices are left
// to the reader.
int check_file_length(const VolumeSpec& s) {
    namespace fs = std::filesystem;
    std::error_code ec;
    const fs::file_status st = fs::status(s.path, ec);
    if (ec || !fs::exists(st)) {
        std::fprintf(stderr, "v3d: %s: no such file\n", s.path.c_str());
        return V3D_ERR_FOPEN;
    }
    if (fs::is_directory(st)) {
        std::fprintf(stderr, "v3d: %s is a folder, not a raw volume\n", s.path.c_str());
        return V3D_ERR_FREAD;
    }
    if (!fs::is_regular_file(st)) return 0;
    const std::uintmax_t length = fs::file_size(s.path, ec);
    std::uint64_t needed = 0;
    if (!ec && bytes_needed(s, &needed) && length >= needed) return 0;
    std::fprintf(stderr, "v3d: %s holds %ju bytes, fewer than its description needs (%s)\n",
                 s.path.c_str(), static_cast<std::uintmax_t>(length),
                 needed ? (std::to_string(needed) + " bytes").c_str() : "more than 2^64 bytes");
    return V3D_ERR_FREAD;
}

}  // namespace

int load_volume(const Args& args, const std::string& role, VolumePtr& out) {
    const VolumeSpec s = volume_spec(args, role);
    if (int status = check_file_length(s)) return status;
    if (int status = make_volume(s.Z, s.Y, s.X, s.type, s.colortype, out)) return status;
    if (int status = read_raw_volume(out->get(), s)) return status;
    apply_voi(args, role == "in" ? "voi" : role + "-voi", out->get());
    // a VOI outside the volume is -510 now, before output sizes are computed from its extents
    return CheckVolume(out->get(), V3D_TYPE_ANY, V3D_COLOR_ANY);
}

int save_volume(const Args& args, Volume* vol, const std::string& key) {
    const std::string path = args.text(key);
    args.check_all_used();  // a mistyped option must not pass unnoticed into a written result
    return WriteVolume(vol, stage_output(path).c_str(), 0, vol->Z);
}

namespace {

// The staging folders made so far, each beside the targets it holds files for.
std::set<std::filesystem::path>& staging_folders() {
    static std::set<std::filesystem::path> folders;
    return folders;
}

}  // namespace

std::string stage_output(const std::string& target) {
    namespace fs = std::filesystem;
    const fs::path t(target);
    const fs::path folder = t.parent_path() / (".v3d-" + std::to_string(v3d_getpid()) + ".staged");
    std::error_code ec;
    if (fs::create_directory(folder, ec) || fs::is_directory(folder, ec))
        staging_folders().insert(folder);
    // when the folder cannot be made, the write into it fails as a write into the target would
    return (folder / t.filename()).string();
}

int commit_outputs() {
    namespace fs = std::filesystem;
    int status = 0;
    for (const fs::path& folder : staging_folders()) {
        std::error_code ec;
        std::vector<fs::path> files;  // listed first: the folder changes as they move
        for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec))
            files.push_back(it->path());
        for (const fs::path& f : files) {
            std::error_code moved;
            fs::rename(f, folder.parent_path() / f.filename(), moved);
            if (moved) status = V3D_ERR_FWRITE;
        }
    }
    discard_outputs();  // the folders, and whatever could not be moved
    return status;
}

void discard_outputs() {
    for (const std::filesystem::path& folder : staging_folders()) {
        std::error_code ec;
        std::filesystem::remove_all(folder, ec);
    }
    staging_folders().clear();
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
