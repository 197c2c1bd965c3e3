// Fuzz target: a coefficient file (the input is its text), read by every reader into targets
// that are too small, just large enough and absent. A reader may refuse, but it must never
// report success for more values than its target holds, and it must leave the records valid.
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "fuzz_common.h"

namespace {

const std::string& file_name() {
    static const std::string name = "/tmp/v3d_fuzz_coefficients_" + std::to_string(getpid()) + ".par";
    return name;
}

// Fills a small volume of type with the reader and insists on an intact record.
void read_into(int (*reader)(const char*, int, Volume*, int*, int*, int*), int type) {
    Volume v{};
    InitializeVolume(&v, 2, 3, 4, type, 1);
    if (CreateVolume(&v) != 0) return;
    const Volume before = v;
    int Z = 0, Y = 0, X = 0;
    const int status = reader(file_name().c_str(), 0, &v, &Z, &Y, &X);
    fuzz::require(status != 0 || (Z <= 2 && Y <= 3 && X <= 4));
    fuzz::require_intact(before, v);
    DestroyVolume(&v);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (std::FILE* f = std::fopen(file_name().c_str(), "wb")) {
        if (size) std::fwrite(data, 1, size, f);  // an empty input may come without data
        std::fclose(f);
    }
    const char* file = file_name().c_str();
    int Z = 0, Y = 0, X = 0;
    const int dims = ReadCoefficientsFile3d(file, 1, nullptr, 0, &Z, &Y, &X);
    char text[128];
    CoefficientFileMessage(dims, file, 2, text, sizeof text);
    const long double count = static_cast<long double>(Z) * Y * X;
    for (int capacity : {0, 7, 64}) {
        std::vector<float> vector(static_cast<std::size_t>(capacity) + 1, -1.0f);
        const int status = ReadCoefficientsFile3d(file, 0, vector.data(), capacity, &Z, &Y, &X);
        fuzz::require(status != 0 || (dims == 0 && count <= capacity));
        fuzz::require(vector[capacity] == -1.0f);  // nothing beyond the capacity
    }
    read_into(ReadWeightsFile3d, 1);
    read_into(ReadCoefficientsFile3dVolume, 2);
    if (dims == 0 && count <= 4096)  // a volume of the file's own sizes
        for (int type : {1, 2}) {
            Volume v{};
            if (LoadCoefficientVolume3d(file, type, &v) == 0) {
                fuzz::require(v.Z == Z && v.Y == Y && v.X == X && CheckVolume(&v, type, 1) == 0);
                DestroyVolume(&v);
            } else {
                fuzz::require(v.type == 0);
            }
        }
    return 0;
}
