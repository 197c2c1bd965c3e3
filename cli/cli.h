// The v3d command-line tool: options, volumes on disk, and the command registry.
//
// Every command is one Command record registered from its family's source file:
//
//   static const cli::Registrar reg({"median3", "median filter", "--window ZxYxX", help, run});
//
// A command reads its volumes with load_volume (role "in": --in FILE --size ZxYxX --type uc|f|i
// (or a file voxel type: u16 ...) --endian --channels 1|3 --skip N --byte-offset BYTES --spacing
// z,y,x --voi z1:z2,y1:y2,x1:x2; a second role "se" reads --se, --se-size ...,
// each defaulting to the first input's value), makes its output with make_output, runs the
// operator and returns its status; the tool prints the status text and exits 1 on failure.
#pragma once

#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "cli/raw_volume_options.h"
#include "vexilo3d.h"
#include "vexilo3d_volume.hpp"

namespace cli {

// A mistake in the command line: printed with the command's usage, exit code 2.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Triple {
    int z, y, x;
};

// The parsed options: --key value (repeatable) and --flag.
class Args {
public:
    Args(const std::vector<std::string>& words);

    bool has(const std::string& key) const;
    std::string text(const std::string& key) const;  // required
    std::string text(const std::string& key, const std::string& fallback) const;
    int integer(const std::string& key) const;
    int integer(const std::string& key, int fallback) const;
    float real(const std::string& key) const;
    float real(const std::string& key, float fallback) const;
    // "ZxYxX" or "z,y,x"
    Triple triple(const std::string& key) const;
    Triple triple(const std::string& key, Triple fallback) const;
    std::vector<float> reals(const std::string& key) const;  // "a,b,c"
    // Every given option must have been asked for: reports the first one that was not.
    void check_all_used() const;

private:
    std::map<std::string, std::string> values_;
    mutable std::map<std::string, bool> used_;
};

int parse_int(const std::string& word, const std::string& what);
// The sum of command-line numbers as an int; throws UsageError naming `what` when it leaves
// the int range (an output size computed from an absurd offset or extent).
int checked_sum(std::initializer_list<long long> terms, const std::string& what);
float parse_float(const std::string& word, const std::string& what);
Triple parse_triple(const std::string& word, const std::string& what);

// A volume record owned by the tool (destroyed with it).
using v3d::OwnedVolume;
using VolumePtr = std::unique_ptr<OwnedVolume>;

// The description of a raw volume file given on the command line.
using VolumeSpec = RawVolumeSpec;

// Reads the file description of role ("in", "in2", "se" ...) from its options; roles other than "in" take
// any option they lack from "in". Does not open the file.
VolumeSpec volume_spec(const Args& args, const std::string& role);

// Creates the volume of role and reads its file (a file shorter than its description is -601
// before anything is made); applies --ROLE-voi (or --voi for "in"), which must lie inside the
// volume (-510). Throws UsageError for a missing option; returns the status of the library
// otherwise.
int load_volume(const Args& args, const std::string& role, VolumePtr& out);

// A new zeroed volume.
int make_volume(int Z, int Y, int X, int type, int colortype, VolumePtr& out);

// Writes every frame of vol to the file named by --out (or --KEY), staged (see stage_output).
int save_volume(const Args& args, Volume* vol, const std::string& key = "out");

// Output files are staged, so that a failing command leaves none behind (a full disk must not
// leave a truncated result that looks complete). stage_output(target) returns the name to write
// instead of target: the same file name inside a private folder beside it
// ("DIR/.v3d-PID.staged/NAME"; a sequence base name works the same way, every file written
// there belongs to the command). commit_outputs() moves every staged file onto its target;
// main() calls it once the command has succeeded, and discard_outputs() otherwise. Returns 0,
// or -602 when a file cannot be moved (the others are moved all the same).
std::string stage_output(const std::string& target);
int commit_outputs();
void discard_outputs();

// The shape of a command's output, computed from its input.
struct Shape {
    int Z, Y, X, type, colortype;
};
Shape like(const Volume* in);          // the input's dimensions, type and colour type
Shape grey_uc_like(const Volume* in);  // the input's dimensions, one UC channel
using ShapeOf = std::function<Shape(const Volume*)>;
using Operation = std::function<int(Volume* in, Volume* out)>;

// The sequence of most commands: loads --in, makes a zeroed output of shape(in) (or, with
// --in-place where allowed, works on the input itself), runs op(in, out) and writes --out.
int run_in_out(const Args& args, const ShapeOf& shape, const Operation& op,
               bool in_place_allowed = false);

int type_code(const std::string& word);        // uc | f | i
const char* type_word(int type);

struct Command {
    const char* name;
    const char* summary;  // one line for "v3d help"
    const char* usage;    // the command's own options
    const char* help;     // "v3d help CMD": what it does, checks, defaults
    int (*run)(const Args& args);  // 0 or a library status
};

void register_command(const Command& command);
const std::vector<Command>& commands();

struct Registrar {
    explicit Registrar(const Command& command) { register_command(command); }
};

// The common options of every command that reads one volume and writes one.
extern const char* const kInOutUsage;

}  // namespace cli
