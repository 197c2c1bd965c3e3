#include "cli/picture_file.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <memory>
#include <vector>

#include "cli/cli.h"

namespace cli {
namespace {

std::string extension_of(const std::string& path) {
    const size_t dot = path.find_last_of('.');
    std::string e = dot == std::string::npos ? "" : path.substr(dot + 1);
    std::transform(e.begin(), e.end(), e.begin(), [](unsigned char c) { return std::tolower(c); });
    return e;
}

// Row r as interleaved bytes of `samples` channels (grey repeated when the picture has one).
void interleave(Image2d image, int channels, int r, int W, int samples, unsigned char* out) {
    for (int c = 0; c < W; ++c)
        for (int s = 0; s < samples; ++s) out[c * samples + s] = image[channels == 1 ? 0 : s][r][c];
}

int write_pnm(const std::string& path, Image2d image, int channels, int H, int W, int samples) {
    std::unique_ptr<FILE, int (*)(FILE*)> f(std::fopen(path.c_str(), "wb"), std::fclose);
    if (!f) return V3D_ERR_FOPEN;
    if (std::fprintf(f.get(), "P%d\n%d %d\n255\n", samples == 1 ? 5 : 6, W, H) < 0)
        return V3D_ERR_FWRITE;
    std::vector<unsigned char> row(static_cast<size_t>(W) * samples);
    for (int r = 0; r < H; ++r) {
        interleave(image, channels, r, W, samples, row.data());
        if (std::fwrite(row.data(), 1, row.size(), f.get()) != row.size()) return V3D_ERR_FWRITE;
    }
    return std::fclose(f.release()) == 0 ? 0 : V3D_ERR_FWRITE;  // the close reports a full disk
}

// Through the library's TIFF writer: the picture as a one-frame volume.
int write_tiff(const std::string& path, Image2d image, int channels, int H, int W) {
    OwnedVolume frame;
    if (int status = frame.create(1, H, W, V3D_TYPE_UC, channels == 1 ? V3D_COLOR_GREY : V3D_COLOR_RGB))
        return status;
    for (int c = 0; c < channels; ++c)
        for (int r = 0; r < H; ++r)
            std::copy(image[c][r], image[c][r] + W, frame.get()->data[c].uc[0][r]);
    const size_t dot = path.find_last_of('.');
    return SaveTiffStack(frame.get(), path.substr(0, dot).c_str(), path.substr(dot + 1).c_str(),
                         V3D_TIFF_NONE);
}

}  // namespace

void check_picture_path(const std::string& path, int channels) {
    const std::string e = extension_of(path);
    if (e == "pgm" && channels != 1)
        throw UsageError("a colour picture needs .ppm or .tif, not .pgm");
    if (e != "pgm" && e != "ppm" && e != "tif" && e != "tiff")
        throw UsageError("picture '" + path + "': the extension must be .pgm, .ppm, .tif or .tiff");
}

int write_picture(const std::string& target, Image2d image, int channels, int H, int W) {
    check_picture_path(target, channels);
    const std::string e = extension_of(target), path = stage_output(target);
    if (e == "pgm" || e == "ppm") return write_pnm(path, image, channels, H, W, e == "pgm" ? 1 : 3);
    return write_tiff(path, image, channels, H, W);
}

}  // namespace cli
