// v3d with the volume files of the field and the wider raw grammar, end to end.
#include <cstring>
#include <fstream>
#include <string>

#include "support.h"

namespace {

using t3d::read_file;

const std::string kNibabelData = "/usr/lib/python3/dist-packages/nibabel/tests/data/";

bool have_examples() { return !read_file(kNibabelData + "example4d.nii.gz").empty(); }

}  // namespace

// The shipped 4D example: its second time point converted to NIfTI, NRRD and MetaImage keeps
// its voxels, spacing and affine (imageinfo tells them).
TEST(V3dVolumeFiles, ConvertsATimePointKeepingSpacingAndAffine) {
    if (!have_examples()) GTEST_SKIP() << "python3-nibabel's example files are not installed";
    const std::string in = kNibabelData + "example4d.nii.gz", dir = t3d::temp_path("vf_");
    t3d::V3dRun r = t3d::run_v3d("imageinfo --from nifti --in " + in);
    ASSERT_EQ(r.code, 0) << r.out;
    EXPECT_NE(r.out.find("X 128 Y 96 Z 24 colortype 1 bits 16 type i\nT 2 sample int16\nspacing z 2.2 y 2 x 2\n"
                         "orientation qform 1 sform 1\n  -2 "),
              std::string::npos) << r.out;
    const std::string raw_of_t1 = dir + "t1.raw";
    ASSERT_EQ(t3d::run_v3d("convert --from nifti --in " + in + " --timepoint 1 --to rawvol --out " + raw_of_t1).code, 0);
    std::string previous = read_file(raw_of_t1);
    ASSERT_EQ(previous.size(), 128u * 96 * 24 * 4);
    for (const char* out : {"t1.nii.gz", "t1.nhdr", "t1.mha"}) {
        SCOPED_TRACE(out);
        const std::string format = std::strstr(out, "nii") ? "nifti" : std::strstr(out, "nhdr") ? "nrrd" : "metaimage";
        r = t3d::run_v3d("convert --from nifti --in " + in + " --timepoint 1 --to " + format + " --out " + dir + out +
                         (format == "nifti" ? " --nifti2" : " --gzip"));
        ASSERT_EQ(r.code, 0) << r.out;
        r = t3d::run_v3d("imageinfo --from " + format + " --in " + dir + out);
        EXPECT_NE(r.out.find("type i\nT 1 sample int16\nspacing z 2.2 y 2 x 2\n"), std::string::npos) << r.out;
        EXPECT_NE(r.out.find("117.855"), std::string::npos) << r.out;
        ASSERT_EQ(t3d::run_v3d("convert --from " + format + " --in " + dir + out + " --to rawvol --out " + dir + "back.raw").code, 0);
        EXPECT_TRUE(read_file(dir + "back.raw") == previous);
    }
    // time points and frames beyond the file, options of the wrong kind
    r = t3d::run_v3d("imageinfo --from nifti --in " + in + " --timepoint 2");
    EXPECT_EQ(r.code, 1);
    EXPECT_NE(r.out.find("(status -1104)"), std::string::npos) << r.out;
    EXPECT_EQ(t3d::run_v3d("imageinfo --from nifti --in " + in + " --timepoint -1").code, 2);
    r = t3d::run_v3d("imageinfo --from nifti --in " + in + " --first 20 --count 5");
    EXPECT_NE(r.out.find("Z 5 "), std::string::npos) << r.out;  // frames 20..24: into the second time point
    EXPECT_EQ(t3d::run_v3d("convert --from nifti --in " + in + " --to nrrd --out " + dir + "x.nrrd --nifti2").code, 2);
}

// 16-bit big-endian voxels after a header, into an int volume; the spacing goes with it.
TEST(V3dVolumeFiles, RawGrammarReadsOtherVoxelTypes) {
    const std::string in = t3d::temp_path("be16.raw"), out = t3d::temp_path("be16_out.raw");
    std::string bytes(10, 'h');  // a 10-byte header
    for (int i = 0; i < 2 * 3 * 4; ++i) bytes += std::string{static_cast<char>(i), static_cast<char>(0x10 + i)};
    std::ofstream(in, std::ios::binary) << bytes;
    t3d::V3dRun r = t3d::run_v3d("copy --in " + in + " --size 2x3x4 --type u16 --endian big --byte-offset 10 "
                                 "--spacing 3,0.5,0.5 --out " + out);
    ASSERT_EQ(r.code, 0) << r.out;
    const std::string ints = read_file(out);
    ASSERT_EQ(ints.size(), 2u * 3 * 4 * 4);
    int last;
    std::memcpy(&last, ints.data() + ints.size() - 4, 4);
    EXPECT_EQ(last, 23 * 256 + 0x10 + 23);
    // (the grammar's refusals: tests/app/command_line_test; short files: tests/cli/hostile_test)
}
