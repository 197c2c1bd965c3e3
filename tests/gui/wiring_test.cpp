// Every wired menu row, run through the menu and the scripted dialogs, against the library
// function called directly on copies of the same volumes: a wrong adapter, mask, parameter
// order or output size shows as a difference (or an error where there should be none).
#include <QAction>
#include <QFile>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QTemporaryDir>
#include <algorithm>
#include <array>
#include <functional>
#include <memory>

#include "app/command_table.h"
#include "fixture.h"
#include "support.h"
#include "view/plot_window.h"

namespace t3d {
namespace {

enum Input { kGrey, kBinary, kFloat };

// Smooth blocks with a little noise: edges, regions and a histogram worth the name.
void fill_grey(Volume* v) {
    fill_random(v, 7, 8);
    fill(v, [v](int z, int y, int x) {
        return v->data[0].uc[z][y][x] + (z / 4) * 100 + (y / 4) * 50 + (x / 4) * 20;
    });
}

// A ball and a separate small block: two objects.
void fill_binary(Volume* v) {
    fill(v, [](int z, int y, int x) {
        const int d = (z - 4) * (z - 4) + (y - 4) * (y - 4) + (x - 3) * (x - 3);
        return d <= 6 || (z < 2 && y >= 6 && x >= 6) ? 255 : 0;
    });
}

// A 3 x 3 x 3 cross: the structuring element and the small second input.
void fill_cross(Volume* v) {
    fill(v, [](int z, int y, int x) { return (z == 1) + (y == 1) + (x == 1) >= 2 ? 255 : 0; });
}

// A scratch copy of a volume (its whole extent, its VOI).
struct Copy : Vol {
    explicit Copy(Volume* v) : Vol(v->Z, v->Y, v->X, v->type, v->colortype) {
        CopyVolume(v, get(), 0, 0, 0);
        voi(v->z1, v->z2, v->y1, v->y2, v->x1, v->x2);
    }
};

// The options dialog's answer: the check box, the X, Y, Z factor texts and the radio choice.
app::OptionsRequest opts(bool check, std::array<std::string, 3> factors, int choice) {
    app::OptionsRequest r{.check = check, .choice = choice};
    for (int k = 0; k < 3; ++k) r.factors[k] = factors[k];
    return r;
}

using Direct = std::function<int(Volume* in, Volume* second, Volume* out, Volume* out2)>;

struct Row {
    int id;
    Input input;
    bool second = false;           // the cross as second input / structuring element
    std::vector<std::string> values;
    Direct direct;
    bool options = false;          // an options dialog after the values
    app::OptionsRequest opts = {};
    int outputs = 1;
    bool confirm = false;          // "Input volume will be modified. Continue?" first
};

// A float volume of in's size.
struct FloatOf : Vol {
    explicit FloatOf(Volume* in) : Vol(in->Z, in->Y, in->X, 2) {}
};

int fft_direct(Volume* in, Volume*, Volume* re, Volume* im) {
    FloatOf f(in), zero(in);
    UCVolume2FVolume(in, &f, 0, 0, 0);
    return fft3d(&f, &zero, re, im, 0, 0, 0, 0);
}

template <int (*F)(Volume*, Volume*, Volume*, int, int, int)>
int float_pair_direct(Volume* a, Volume* b, Volume* out, Volume*) {
    FloatOf fa(a), fb(b);
    UCVolume2FVolume(a, &fa, 0, 0, 0);
    UCVolume2FVolume(b, &fb, 0, 0, 0);
    return F(&fa, &fb, out, 0, 0, 0);
}

// A direct call with the row's input i, second input s and output o.
#define OP(...) [](Volume* i, [[maybe_unused]] Volume* s, Volume* o, Volume*) -> int { __VA_ARGS__; }

const std::vector<Row>& rows() {
    static const std::vector<Row> r = {
        {1140, kFloat, false, {}, OP(return FVolume2UCVolume(i, o, 0, 0, 0))},
        {1141, kFloat, false, {}, OP(return FVolume2UCVolume_norm(i, o, 0, 0, 0))},
        {1142, kGrey, false, {}, OP(return UCVolume2FVolume(i, o, 0, 0, 0))},
        {1170, kGrey, false, {}, OP(return HistogramEqual3d(i, o))},
        {1171, kGrey, false, {"3", "1", "5"}, OP(return mov_ave3(i, o, 5, 1, 3))},
        {1172, kGrey, false, {"3", "1", "5"}, OP(return median3(i, o, 5, 1, 3))},
        {1173, kGrey, false, {"1", "3", "5"}, OP(return run_median3(i, o, 5, 3, 1))},
        {1174, kGrey, false, {"3"}, OP(return multistage_median3(i, o, 3))},
        {1178, kGrey, false, {"5", "3", "1"}, OP(return run_min3(i, o, 1, 3, 5))},
        {1179, kGrey, false, {"5", "1", "3"}, OP(return run_max3(i, o, 3, 1, 5))},
        {1181, kGrey, false, {"3", "1", "5", "20.5"}, OP(return local_adapt_filt3(i, o, 20.5f, 5, 1, 3))},
        {1190, kGrey, false, {"3", "5", "1"}, OP(return range_3d(i, o, 1, 5, 3))},
        {1191, kGrey, false, {"135", "45"}, OP(return compas3d(i, o, 135, 45))},
        {1192, kGrey, false, {}, OP(return Sobel_3D(i, o))},
        {1193, kGrey, false, {}, OP(return laplace_3d(i, o))},
        {1194, kBinary, false, {"4", "6", "5", "2"}, OP(Vol acc(5, 6, 4, 4); return Hough_3D(i, o, &acc, 2))},
        {1200, kGrey, false, {"100"}, OP(return threshold_3d(i, o, 100))},
        {1202, kGrey, false, {"12"}, OP(int n = 0; return region3d_split(i, o, &n, 12))},
        {1203, kGrey, false, {"12", "40"}, OP(return std::min(region3d_merge(i, o, 12, 40), 0))},
        {1204, kGrey, false, {"12"}, OP(int n = 0; return region3d_splitmerge(i, o, &n, 12))},
        {1205, kBinary, false, {}, OP(int n = 0; float counts[255]; return grass3d_label(i, o, &n, counts, 255)),
         false, {}, 1, true},
        {1150, kGrey, false, {"2"}, OP(return zoom3d(i, o, 2, 0, 0, 0))},
        {1151, kGrey, false, {"3"}, OP(return decim3(i, o, 3, 0, 0, 0))},
        {1155, kGrey, false, {"3"}, OP(return FrameZeroPadding(i, o, 3, 0, 0, 0))},
        {1152, kGrey, false, {}, OP(return InterpolationLinear3d(i, o, 0, 2.f, 0.5f, 1.5f, 0, 0, 0)),
         true, opts(false, {"1.5", "0.5", "2"}, 1)},
        {1152, kGrey, false, {}, OP(return InterpolationNearestNeighbor3d(i, o, 0, 1.f, 2.5f, 0.75f, 0, 0, 0)),
         true, opts(false, {"0.75", "2.5", "1"}, 0)},
        {1153, kGrey, false, {}, OP(return InterpolationFrameLinear3d(i, o, 0, 2.5f, 0, 0, 0)),
         true, opts(false, {"x", "y", "2.5"}, 0)},
        {1154, kBinary, false, {}, OP(return FrameInterpolationBinary(i, o, 3, 0, 0, 0, 1)), true, opts(true, {}, 1)},
        {1240, kBinary, true, {}, OP(return MinkowskiAddition3d(i, s, o))},
        {1241, kBinary, true, {}, OP(return MinkowskiSubtraction3d(i, s, o))},
        {1242, kBinary, true, {}, OP(return bdilate3d(i, s, o))},
        {1243, kBinary, true, {}, OP(return berode3d(i, s, o))},
        {1244, kBinary, true, {}, OP(return bopening3d(i, s, o))},
        {1245, kBinary, true, {}, OP(return bclosing3d(i, s, o))},
        {1230, kGrey, false, {}, fft_direct, false, {}, 2},
        {1231, kFloat, false, {}, OP(FloatOf re(i), im(i); const int st = fft3d(i, s, &re, &im, 1, 0, 0, 0);
                                     return st ? st : FVolume2UCVolume(&re, o, 0, 0, 0))},
        {1232, kGrey, false, {}, OP(FloatOf f(i); UCVolume2FVolume(i, &f, 0, 0, 0); return DCT3d(&f, o, 0, 0, 0))},
        {1233, kFloat, false, {}, OP(FloatOf f(i); const int st = IDCT3d(i, &f, 0, 0, 0);
                                     return st ? st : FVolume2UCVolume(&f, o, 0, 0, 0))},
        {1234, kGrey, true, {}, float_pair_direct<convolution3>},
        {1235, kGrey, true, {}, float_pair_direct<correlation3d>},
        {1236, kGrey, false, {}, OP(FloatOf re(i), im(i); const int st = fft_direct(i, nullptr, &re, &im);
                                    return st ? st : fft2image3d(&re, &im, o, 0, 0, 0))},
        {1237, kGrey, false, {"0.5", "0.25", "0"}, OP(FloatOf psd(i);
             const int st = blackman_tukey_psd3d(i, &psd, 0.5f, 0.25f, 0.f, 0, 0, 0);
             return st ? st : fft2image3d(&psd, nullptr, o, 0, 0, 0))},
    };
    return r;
}

class Wiring : public AppTest {
protected:
    // The row's input in slot 0, its second input in slot 1.
    Volume* input(Input kind) {
        Volume* v = make(8, 8, 8, kind == kFloat ? 2 : 1);
        if (kind == kGrey) fill_grey(v);
        if (kind == kBinary) fill_binary(v);
        if (kind == kFloat) fill_random(v, 3, 40);
        return v;
    }
    void clear_table() {
        for (int i = 0; i < 100; ++i)
            if (Volume* v = GetVolumeByIndex(i); v && v->type) {
                freedisWin(v);
                DestroyVolume(v);
            }
    }
};

TEST_F(Wiring, EveryWiredRowGivesWhatItsOperatorGives) {
    for (const Row& row : rows()) {
        SCOPED_TRACE("command " + std::to_string(row.id));
        clear_table();
        ui.log.clear();
        Volume* in = input(row.input);
        Volume* second = nullptr;
        if (row.id == 1231) {                          // the imaginary part
            fill_random(second = make(8, 8, 8, 2), 5, 40);
        } else if (row.second) {
            second = make(3, 3, 3);
            fill_cross(second);
        }
        Copy in_copy(in);
        std::unique_ptr<Copy> second_copy(second ? new Copy(second) : nullptr);

        // the morphology rows ask for their element after the output
        const bool element_last = app::find_command(row.id)->second_after_output;
        if (row.confirm) ui.yes();
        ui.pick(slot(in));
        if (second && !element_last) ui.pick(slot(second));
        if (!row.values.empty()) ui.values(row.values);
        if (row.options) ui.push({.options = row.opts});
        for (int k = 0; k < row.outputs; ++k) ui.pick_new();
        if (second && element_last) ui.pick(slot(second));
        window->action(row.id)->trigger();
        for (const auto& line : ui.log) EXPECT_EQ(line.rfind("error", 0), std::string::npos) << line;
        EXPECT_TRUE(ui.answers.empty());

        const int first_out = second ? 2 : 1;
        Volume* out = GetVolumeByIndex(first_out);
        ASSERT_NE(out->type, 0);
        Volume* out2 = row.outputs > 1 ? GetVolumeByIndex(first_out + 1) : nullptr;
        Vol expected(out->Z, out->Y, out->X, out->type, out->colortype);
        std::unique_ptr<Vol> expected2(out2 ? new Vol(out2->Z, out2->Y, out2->X, out2->type, 1)
                                            : nullptr);
        ASSERT_EQ(row.direct(in_copy.get(), second_copy ? second_copy->get() : nullptr,
                             expected.get(), expected2 ? expected2->get() : nullptr),
                  0);
        EXPECT_EQ(snapshot(out), snapshot(expected.get()));
        if (out2) {
            EXPECT_EQ(snapshot(out2), snapshot(expected2->get()));
        }
        EXPECT_EQ(snapshot(in), snapshot(in_copy.get()));  // labelling consumes both alike
    }
}

void write_text(const QString& path, const char* text) {
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write(text);
}

TEST_F(Wiring, WeightedMedianTakesItsWeightsFromTheFileOrAVolume) {
    QTemporaryDir dir;
    SetStartDirectory(dir.path().toLocal8Bit().constData());
    Volume* in = input(kGrey);
    Copy in_copy(in);
    // no file: its message, and the output made for the command goes again
    Answer from_file;
    from_file.options.choice = 0;
    ui.pick(slot(in)).pick_new().push(from_file);
    window->action(1175)->trigger();
    EXPECT_EQ(ui.log.back(), "message [VEXILO3D for Windows] (error) File WIN_UC3D.PAR not found");
    EXPECT_EQ(GetVolumeByIndex(1)->type, 0);

    // X 3, Y 3, Z 1, then the weights row by row
    write_text(dir.filePath("WIN_UC3D.PAR"), "3\n3\n1\n1\n2\n1\n2\n3\n2\n1\n2\n1\n");
    ui.pick(slot(in)).pick_new().push(from_file);
    window->action(1175)->trigger();
    EXPECT_TRUE(ui.logged("options: Select Weights Source"));
    EXPECT_EQ(ui.log.back(), "message [VEXILO3D for Windows] (information) Coefficients from file "
                             "WIN_UC3D.PAR have been loaded in Volume 2");
    Volume* out = GetVolumeByIndex(1);
    Volume* weights = GetVolumeByIndex(2);
    EXPECT_EQ(std::vector({weights->type, weights->Z, weights->X, weights->data[0].uc[0][1][1] + 0}),
              std::vector({1, 1, 3, 3}));
    EXPECT_STREQ(weights->name, "WIN_UC3D.PAR");
    Vol expected(8, 8, 8);
    ASSERT_EQ(wei_median3(in_copy.get(), expected.get(), weights), 0);
    EXPECT_EQ(snapshot(out), snapshot(expected.get()));

    // an existing volume as weights: a 1 x 1 x 3 row of ones, into the same output
    Volume* row = make(1, 1, 3);
    fill(row, [](int, int, int) { return 1; });
    Answer from_volume;
    from_volume.options.choice = 1;
    ui.log.clear();
    ui.pick(slot(in)).pick(slot(out)).push(from_volume).pick(slot(row));
    window->action(1175)->trigger();
    EXPECT_TRUE(ui.logged("select other: Select Weights Volume"));
    EXPECT_EQ(ui.requests.back().typemask, 1);
    EXPECT_EQ(ui.requests.back().colormask, 1);
    ASSERT_EQ(wei_median3(in_copy.get(), expected.get(), row), 0);
    EXPECT_EQ(snapshot(out), snapshot(expected.get()));
    SetStartDirectory(nullptr);
}

TEST_F(Wiring, LFilterReadsItsCoefficientsFromTheStartDirectory) {
    QTemporaryDir dir;
    SetStartDirectory(dir.path().toLocal8Bit().constData());
    Volume* in = input(kGrey);
    Copy in_copy(in);
    write_text(dir.filePath("WIN_F3D.PAR"), "3\n1\n1\n0.25\n0.5\n");  // a value missing
    ui.pick(slot(in)).pick_new();
    window->action(1180)->trigger();
    EXPECT_EQ(ui.log.back(),
              "message [VEXILO3D for Windows] (error) Error in reading file WIN_F3D.PAR");
    EXPECT_EQ(GetVolumeByIndex(1)->type, 0);

    write_text(dir.filePath("WIN_F3D.PAR"), "3\n1\n1\n0.25\n0.5\n0.25\n");
    ui.pick(slot(in)).pick_new();
    window->action(1180)->trigger();
    Vol expected(8, 8, 8);
    const float coef[3] = {0.25f, 0.5f, 0.25f};
    ASSERT_EQ(l_filter3(in_copy.get(), expected.get(), coef, 1, 1, 3), 0);
    EXPECT_EQ(snapshot(GetVolumeByIndex(1)), snapshot(expected.get()));
    // not in place
    ui.pick(slot(in)).pick(slot(in));
    window->action(1180)->trigger();
    EXPECT_EQ(ui.log.back(), "error: -525");
    SetStartDirectory(nullptr);
}

TEST_F(Wiring, RegionGrowStartsFromTheClickedSeeds) {
    Volume* in = input(kGrey);
    Copy in_copy(in);
    Answer seeds;
    seeds.seeds = {{1, 1, 1}, {6, 6, 6}};
    ui.pick(slot(in)).values({"15"}).pick_new().push(seeds);
    window->action(1201)->trigger();
    Vol expected(8, 8, 8);
    expected.uc(1, 1, 1) = expected.uc(6, 6, 6) = 255;
    ASSERT_EQ(region3d_grow(in_copy.get(), expected.get(), 255, 15), 0);
    EXPECT_EQ(snapshot(GetVolumeByIndex(1)), snapshot(expected.get()));
}

TEST_F(Wiring, HistogramsOpenAPlotWindowTitledWithTheSlot) {
    make(1, 1, 1);
    Volume* in = input(kGrey);                         // slot 1
    float pdf[256], cdf[256];
    float* channels[3] = {pdf, nullptr, nullptr};
    ASSERT_EQ(hist3(in, channels), 0);
    cdfhist3(pdf, cdf);
    for (const int id : {1185, 1186}) {
        ui.pick(slot(in));
        window->action(id)->trigger();
        QMdiSubWindow* active = window->mdi()->activeSubWindow();
        ASSERT_NE(active, nullptr);
        EXPECT_EQ(active->windowTitle().toStdString(),
                  id == 1185 ? "Histogram of #1 Volume (pdf)" : "Histogram of #1 Volume (cdf)");
        EXPECT_EQ(active->property("windowClass").toString(), "signal");
        auto* plot = dynamic_cast<view::PlotWindow*>(active->widget());
        ASSERT_NE(plot, nullptr);
        const float* want = id == 1185 ? pdf : cdf;
        EXPECT_EQ(plot->values(), std::vector<float>(want, want + 256));
    }
}

TEST_F(Wiring, OpenReadsImageSequencesWrittenByTheTablesWriters) {
    QTemporaryDir dir;
    for (const int format : {V3D_FORMAT_TIFF, V3D_FORMAT_BMP, V3D_FORMAT_PNM, V3D_FORMAT_TIFF_STACK}) {
        const ImageSequenceFormat* f = GetImageSequenceFormat(format);
        SCOPED_TRACE(f->name);
        clear_table();
        const int colortype = format == V3D_FORMAT_BMP ? 2 : 1;
        Vol written(3, 5, 6, 1, colortype);
        fill_random(written.get(), 11);
        const std::string base = dir.filePath(f->name).toStdString() + "_";
        ASSERT_EQ(f->write(written.get(), base.c_str(), 4, 3, f->extension), 0);
        const int first = f->single_file ? 0 : 4;
        ui.push({.format = {.format = format,
                            .file = f->single_file ? base + "." + f->extension : std::string(),
                            .base = base, .first = first, .last = first + 2, .digits = 3,
                            .exts = {f->extension, "", ""}}})
            .pick_new();
        window->action(40003)->trigger();
        EXPECT_EQ(ui.requests.back().X, 6);   // the dimensions found by the check
        EXPECT_EQ(ui.requests.back().Y, 5);
        Volume* v = GetVolumeByIndex(0);
        ASSERT_EQ(v->type, 1);
        EXPECT_EQ(v->colortype, colortype);
        EXPECT_EQ(snapshot(v), snapshot(written.get()));
        EXPECT_EQ(windows(v), 1);
    }
}

}  // namespace
}  // namespace t3d
