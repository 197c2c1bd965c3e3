// Plain driver of a fuzz target: feeds it every file named on the command line and every file
// of every folder named there (not recursive). Exit 0 when all ran, 1 when nothing was found.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

void run_file(const std::filesystem::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::vector<std::uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
    int files = 0;
    for (int i = 1; i < argc; ++i) {
        const std::filesystem::path p(argv[i]);
        std::error_code ec;
        if (std::filesystem::is_directory(p, ec)) {
            for (const auto& e : std::filesystem::directory_iterator(p))
                if (e.is_regular_file()) {
                    run_file(e.path());
                    ++files;
                }
        } else if (std::filesystem::is_regular_file(p, ec)) {
            run_file(p);
            ++files;
        }
    }
    std::printf("replayed %d inputs\n", files);
    return files > 0 ? 0 : 1;
}
