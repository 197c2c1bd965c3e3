// v3d: every library operation on raw volume files, for batch work, scripts and benchmarks.
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <new>
#include <cstring>
#include <string>
#include <vector>

#include "cli/cli.h"

namespace {

const cli::Command* find_command(const std::string& name) {
    for (const auto& c : cli::commands())
        if (name == c.name) return &c;
    return nullptr;
}

void print_overview() {
    std::printf(
        "v3d - VEXILO3D volume operations on raw files\n\n"
        "usage: v3d COMMAND [OPTIONS]\n"
        "       v3d help COMMAND\n\n"
        "Volumes are raw files (no header): --in FILE --size ZxYxX [--type uc|f|i]\n"
        "[--channels 1|3] [--skip N]; --voi z1:z2,y1:y2,x1:x2 (half-open) limits the work to a\n"
        "volume of interest. Results go to --out FILE as raw volumes. Files of other voxels\n"
        "come in with --type u16|i16|u32|i32 (into int volumes) or f32|f64 (float), --endian\n"
        "little|big and --byte-offset BYTES (a header to step over); --spacing z,y,x gives the\n"
        "voxel size. NIfTI, NRRD and MetaImage files convert to and from raw volumes with\n"
        "convert.\n\n"
        "A command that fails leaves no output file behind: results are written beside their\n"
        "targets in a temporary folder (.v3d-PID.staged) and put in place only when every one\n"
        "of them is complete. The one exception: region3d_merge and grass3d_label stopped by\n"
        "their region limit (status -92) write the partial result, then fail. A file shorter\n"
        "than --size needs is refused before anything is made.\n\n"
        "Exit status: 0 done, 1 the operation failed (its status text is printed), 2 a mistake\n"
        "in the command line.\n\n"
        "commands:\n");
    std::vector<cli::Command> sorted = cli::commands();
    std::sort(sorted.begin(), sorted.end(),
              [](const cli::Command& a, const cli::Command& b) { return std::strcmp(a.name, b.name) < 0; });
    for (const auto& c : sorted) std::printf("  %-22s %s\n", c.name, c.summary);
}

void print_command(const cli::Command& c) {
    std::printf("v3d %s - %s\n\nusage: v3d %s %s\n\n%s\n", c.name, c.summary, c.name, c.usage,
                c.help);
}

int help(const std::vector<std::string>& words) {
    if (words.empty()) {
        print_overview();
        return 0;
    }
    if (const cli::Command* c = find_command(words[0])) {
        print_command(*c);
        return 0;
    }
    std::fprintf(stderr, "v3d: unknown command '%s' (v3d help lists them)\n", words[0].c_str());
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> words(argv + 1, argv + argc);
    if (words.empty() || words[0] == "help" || words[0] == "--help" || words[0] == "-h") {
        if (words.empty()) words.push_back("help");
        return help(std::vector<std::string>(words.begin() + 1, words.end()));
    }
    const cli::Command* command = find_command(words[0]);
    if (!command) {
        std::fprintf(stderr, "v3d: unknown command '%s' (v3d help lists them)\n", words[0].c_str());
        return 2;
    }
#if defined(SIGXFSZ)
    // past a file-size limit a write must fail with a status, not end the process
    std::signal(SIGXFSZ, SIG_IGN);
#endif
    AllocateVolumeTable();
    int status = 0;
    try {
        const cli::Args args(std::vector<std::string>(words.begin() + 1, words.end()));
        status = command->run(args);
        if (status == 0) args.check_all_used();
        if (status == 0) status = cli::commit_outputs();
    } catch (const cli::UsageError& e) {
        std::fprintf(stderr, "v3d %s: %s\nusage: v3d %s %s\n", command->name, e.what(),
                     command->name, command->usage);
        cli::discard_outputs();
        ReleaseVolumeTable();
        return 2;
    } catch (const std::bad_alloc&) {
        status = V3D_ERR_NO_BUFFER;  // the tool's own bookkeeping ran out of memory
    }
    cli::discard_outputs();  // a failed command leaves no output file behind
    ReleaseVolumeTable();
    if (status != 0) {
        const char* text = GetStatusText(status);
        std::fprintf(stderr, "v3d %s: %s (status %d)\n", command->name, *text ? text : "failed",
                     status);
        return 1;
    }
    return 0;
}
