// The readers on the kinds of files users have, written at test time by PIL, tifffile and
// ImageMagick (tests/io/make_image_variants.py), each compared value by value with what those
// tools read from it; and the files the readers refuse, each with the status that names why.
// Every file is opened by its own name (digits -1) with the frame count left to the check.
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "support.h"

namespace {

int run(const std::string& command) { return std::system((command + " >/dev/null 2>&1").c_str()); }

// The first python3 that imports every module of `modules` ("PIL numpy"), "" when there is none
// (the system's first: PIL and tifffile are Debian packages).
std::string python_with(std::string modules) {
    for (char& c : modules)
        if (c == ' ') c = ',';
    const std::string imports = "import " + modules;
    for (const char* p : {"/usr/bin/python3", "python3"})
        if (run(std::string(p) + " -c '" + imports + "'") == 0) return p;
    return "";
}

int type_code(const std::string& word) { return word == "f" ? 2 : word == "i" ? 4 : 1; }

// The voxels of a volume interleaved as the references hold them.
std::vector<double> interleaved(Volume* v) {
    std::vector<double> out;
    const int n = v->colortype == 1 ? 1 : 3;
    for (int z = 0; z < v->Z; ++z)
        for (int y = 0; y < v->Y; ++y)
            for (int x = 0; x < v->X; ++x)
                for (int c = 0; c < n; ++c)
                    out.push_back(v->type == 1 ? v->data[c].uc[z][y][x]
                                  : v->type == 2 ? v->data[c].f[z][y][x]
                                                 : v->data[c].i[z][y][x]);
    return out;
}

std::vector<double> reference(const std::string& file, int type) {
    const std::string bytes = t3d::read_file(file);
    std::vector<double> out;
    const size_t size = type == 1 ? 1 : 4;
    for (size_t i = 0; i + size <= bytes.size(); i += size) {
        if (type == 1) {
            out.push_back(static_cast<unsigned char>(bytes[i]));
        } else if (type == 4) {
            std::int32_t v;
            std::memcpy(&v, &bytes[i], 4);
            out.push_back(v);
        } else {
            float v;
            std::memcpy(&v, &bytes[i], 4);
            out.push_back(v);
        }
    }
    return out;
}

// Runs the check of a file by its own name: a multi-page TIFF from its first page, every
// other format as one file without a frame number; count 0 asks for every frame.
int check_file(const ImageSequenceFormat* fmt, const std::string& file, ImageSequenceInfo& info) {
    const std::filesystem::path p(file);
    const std::string base = (p.parent_path() / p.stem()).string(), ext = p.extension().string().substr(1);
    return fmt->check(base.c_str(), 0, fmt->single_file ? 0 : -1, ext.c_str(), 0, &info);
}

int read_file(const ImageSequenceFormat* fmt, const std::string& file, Volume* vol, int count) {
    const std::filesystem::path p(file);
    const std::string base = (p.parent_path() / p.stem()).string(), ext = p.extension().string().substr(1);
    return fmt->read(vol, base.c_str(), 0, fmt->single_file ? 0 : -1, ext.c_str(), count);
}

// Writes the files of one tool and checks every line of the manifest.
void check_variants(const std::string& python, const std::string& tool) {
    const std::string dir = t3d::temp_path(tool);
    std::filesystem::create_directories(dir);
    ASSERT_EQ(run(python + " " + V3D_SOURCE_DIR "/tests/io/make_image_variants.py " + dir + " " + tool), 0);
    std::ifstream manifest(dir + "/manifest.txt");
    std::string line;
    int lines = 0;
    while (std::getline(manifest, line)) {
        ++lines;
        SCOPED_TRACE(line);
        std::istringstream words(line);
        std::string what, name, format;
        words >> what >> name >> format;
        const ImageSequenceFormat* fmt = GetImageSequenceFormat(FindImageSequenceFormat(format.c_str()));
        ASSERT_NE(fmt, nullptr);
        const std::string file = dir + "/" + name;
        ImageSequenceInfo info{};
        if (what == "refuse") {
            int status = 0;
            words >> status;
            EXPECT_EQ(check_file(fmt, file, info), status);
            continue;
        }
        std::string check_type, into;
        int colortype = 0, frames = 0;
        double tolerance = 0;
        words >> check_type >> into >> colortype >> frames >> tolerance;
        ASSERT_EQ(check_file(fmt, file, info), 0);
        EXPECT_EQ(info.type, type_code(check_type));
        EXPECT_EQ(info.colortype, colortype);
        EXPECT_EQ(info.Z, frames);
        t3d::Vol v(info.Z, info.Y, info.X, type_code(into), info.colortype);
        ASSERT_EQ(read_file(fmt, file, v.get(), info.Z), 0);
        const std::vector<double> ours = interleaved(v.get()), theirs = reference(file + ".ref", type_code(into));
        ASSERT_EQ(ours.size(), theirs.size());
        size_t worst = 0;
        for (size_t i = 1; i < ours.size(); ++i)
            if (std::abs(ours[i] - theirs[i]) > std::abs(ours[worst] - theirs[worst])) worst = i;
        EXPECT_LE(std::abs(ours[worst] - theirs[worst]), tolerance)
            << "value " << worst << " of " << ours.size() << ": ours " << ours[worst] << ", theirs " << theirs[worst];
    }
    EXPECT_GT(lines, 3);
}

TEST(ImageVariants, FilesWrittenAndReadByPil) {
    const std::string python = python_with("PIL numpy");
    if (python.empty()) GTEST_SKIP() << "python3-pil (with numpy) is not installed";
    check_variants(python, "pil");
}

TEST(ImageVariants, TiffFilesWrittenByTifffile) {
    const std::string python = python_with("tifffile numpy");
    if (python.empty()) GTEST_SKIP() << "python3-tifffile is not installed";
    check_variants(python, "tifffile");
}

TEST(ImageVariants, FilesWrittenByImageMagick) {
    if (run("command -v convert") != 0) GTEST_SKIP() << "ImageMagick's convert is not installed";
    const std::string python = python_with("PIL numpy");
    if (python.empty()) GTEST_SKIP() << "python3-pil (with numpy), which reads the references, is not installed";
    check_variants(python, "magick");
}

}  // namespace
