// The modules shipped with the workstation, loaded from the build folder as the program loads
// them: render (projections that turn with the mouse, follow their volume and the window's
// size) and save3d (volumes and pictures that v3d and PIL read back equal).
#include <QAbstractScrollArea>
#include <QDialog>
#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
#include <QFileInfo>
#include <QMenu>
#include <QProcess>
#include <QTemporaryDir>
#include <fstream>
#include <iterator>

#include "module_fixture.h"
#include "res/commands.h"
#include "view/projection_window.h"
#include "vexilo3d_volume.hpp"

namespace t3d {
namespace {

using view::ProjectionWindow;

// The menu ids of the render module's items when it is the only module of the menu.
enum RenderItem { kMaximum = 0, kMean, kThreshold, kSurface };

class ShippedModules : public ModuleTest {
protected:
    void SetUp() override {
        ModuleTest::SetUp();
        app::load_modules(V3D_BINARY_DIR);
    }

    // Opens a projection of vol through the render module, the dialog accepted as it comes.
    ProjectionWindow* render(Volume* vol, int item) {
        ui.pick(slot(vol));
        when_shown<QDialog>([](QDialog* d) { d->accept(); });
        run(item);
        const QList<QWidget*> shown = projections(vol);
        return shown.isEmpty() ? nullptr : static_cast<ProjectionWindow*>(shown.last());
    }
    // A left-button drag by (dx, dy) in steps of (sx, sy), through the window system.
    void drag(QWidget* client, QPoint from, int steps, QPoint step) {
        QWindow* top = window->windowHandle();
        QPoint at = client->mapTo(window.get(), from);
        QTest::mousePress(top, Qt::LeftButton, {}, at);
        for (int i = 0; i < steps; ++i) QTest::mouseMove(top, at += step);
        QTest::mouseRelease(top, Qt::LeftButton, {}, at);
    }
    // The sample volume of the build.
    Volume* sample() {
        Volume* vol = make(64, 128, 128);
        EXPECT_EQ(ReadVolume(vol, V3D_BINARY_DIR "/samples/phantom_64x128x128_uc.raw", 0, 64, 128, 128), 0);
        return vol;
    }
};

// The library's maximum projection of vol seen from (azimuth, elevation), at buffer b's size.
bool shows_maximum(const Buffer* b, Volume* vol, int azimuth, int elevation) {
    Buffer* expected = CreateBuffer(b->colortype, b->width, b->height);
    bool same = ProvoliMax3d(vol, expected->image, b->height, b->width, azimuth, elevation, 0) == 0;
    for (int c = 0; c < (b->colortype == 2 ? 3 : 1); ++c)
        for (int y = 0; same && y < b->height; ++y)
            same = std::equal(b->image[c][y], b->image[c][y] + b->width, expected->image[c][y]);
    DestroyBuffer(expected);
    return same;
}

// Answers the next file dialog with the filter that starts with filter and the file name.
void answer_file_dialog(const QString& filter, const QString& file) {
    when_shown<QFileDialog>([filter, file](QFileDialog* d) {
        for (const QString& f : d->nameFilters())
            if (f.startsWith(filter)) d->selectNameFilter(f);
        // the name typed, as a user would: selectFile leaves the name field alone once it has
        // the focus, which the dialog gets when the window system activates it
        d->setDirectory(QFileInfo(file).path());
        if (auto* name = d->findChild<QLineEdit*>("fileNameEdit")) name->setText(QFileInfo(file).fileName());
        static_cast<QDialog*>(d)->accept();
    });
}

// Runs a program; its standard output (empty, with a failure noted, when it fails).
QByteArray run_program(const QString& program, const QStringList& args) {
    QProcess p;
    p.start(program, args);
    const bool done = p.waitForFinished(30000) && p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0;
    EXPECT_TRUE(done) << program.toStdString() << ": " << p.readAllStandardError().toStdString();
    return done ? p.readAllStandardOutput() : QByteArray();
}

// What PIL reads from an image file: every page's pixels one after another, written to out;
// prints "mode width height pages". Debian's PIL belongs to the system's python3.
QByteArray read_with_pil(const QString& image, const QString& out) {
    static const char* const script =
        "import sys\n"
        "from PIL import Image, ImageSequence\n"
        "im = Image.open(sys.argv[1])\n"
        "pages = [p.copy() for p in ImageSequence.Iterator(im)]\n"
        "open(sys.argv[2], 'wb').write(b''.join(p.tobytes() for p in pages))\n"
        "print(im.mode, im.size[0], im.size[1], len(pages))\n";
    const QString python = QFileInfo::exists("/usr/bin/python3") ? "/usr/bin/python3" : "python3";
    return run_program(python, {"-c", script, image, out}).trimmed();
}

std::string file_bytes(const QString& path) {
    std::ifstream in(path.toStdString(), std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// Channel c of vol's frames one after another.
std::string voxels(const Volume* vol, int c = 0) {
    std::string bytes;
    for (int z = 0; z < vol->Z; ++z)
        for (int y = 0; y < vol->Y; ++y)
            bytes.append(reinterpret_cast<const char*>(vol->data[c].uc[z][y]), vol->X);
    return bytes;
}

// A buffer's pixels as PIL gives them: grey rows, or red, green, blue of each pixel.
std::string pixels(const Buffer* b) {
    std::string bytes;
    for (int y = 0; y < b->height; ++y)
        for (int x = 0; x < b->width; ++x)
            for (int c = 0; c < (b->colortype == 2 ? 3 : 1); ++c) bytes += static_cast<char>(b->image[c][y][x]);
    return bytes;
}

TEST_F(ShippedModules, AMaximumProjectionTurnsWithTheMouseFollowsItsVolumeAndTheWindowSize) {
    // the build folder holds libvexilo3d too, and it is no module
    EXPECT_TRUE(ui.log.empty());
    EXPECT_TRUE(window->action(res::cmd::kSave)->isEnabled());
    ASSERT_EQ(modules_menu()->actions().size(), 1);
    EXPECT_EQ(modules_menu()->actions()[0]->text(), "Render");
    Volume* vol = sample();
    ProjectionWindow* w = render(vol, kMaximum);
    ASSERT_NE(w, nullptr);
    EXPECT_EQ(sub_of(w)->windowTitle(), "Maximum Projection of Volume 0");
    EXPECT_TRUE(shows_maximum(w->buffer(), vol, 30, 20));  // the dialog's first answers

    // 40 pixels right and 8 down: azimuth 30 - 40, elevation 20 + 8
    drag(w->viewport(), {60, 60}, 8, {5, 1});
    QApplication::processEvents();
    EXPECT_TRUE(shows_maximum(w->buffer(), vol, 350, 28));
    const Buffer* b = w->buffer();
    const QImage shot = w->viewport()->grab().toImage();
    const int v = b->image[0][b->height / 2][b->width / 2];
    EXPECT_EQ(shot.pixel(b->width / 2, b->height / 2), qRgb(v, v, v));

    // the picture takes the window's new size
    sub_of(w)->resize(sub_of(w)->size() + QSize(70, 30));
    QApplication::processEvents();
    EXPECT_EQ(QSize(w->buffer()->width, w->buffer()->height), w->viewport()->size());
    EXPECT_TRUE(shows_maximum(w->buffer(), vol, 350, 28));

    // an operator writes into the volume: the update walk renders it again
    ui.pick(slot(vol)).values({"0"});
    run(res::cmd::kClearVolume);
    EXPECT_TRUE(shows_maximum(w->buffer(), vol, 350, 28));
    EXPECT_EQ(w->buffer()->image[0][w->buffer()->height / 2][w->buffer()->width / 2], 0);

    // the other renderers open their own windows; closing the volume's windows closes them all
    ASSERT_NE(render(vol, kSurface), nullptr);
    ASSERT_NE(render(vol, kMean), nullptr);
    freedisWin(vol);
    EXPECT_TRUE(projections(vol).isEmpty());
}

TEST_F(ShippedModules, FileSaveWritesWhatV3dAndPilReadBackEqualAndNothingHalfWritten) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    Volume* vol = make(5, 20, 30);
    fill(vol, [](int z, int y, int x) { return 3 + 50 * z + 2 * y + x; });
    auto save = [&](const QString& filter, const QString& name) {
        ui.pick(slot(vol));
        answer_file_dialog(filter, dir.filePath(name));
        run(res::cmd::kSave);
    };

    save("Multi-page TIFF stack", "stack.tif");
    const QString back = dir.filePath("back.raw");
    run_program(V3D_EXE, {"convert", "--from", "tiffstack", "--in", dir.filePath("stack.tif"), "--to",
                          "rawvol", "--out", back});
    EXPECT_EQ(file_bytes(back), voxels(vol));
    EXPECT_EQ(read_with_pil(dir.filePath("stack.tif"), dir.filePath("pil")), "L 30 20 5");
    EXPECT_EQ(file_bytes(dir.filePath("pil")), voxels(vol));

    save("Raw volume", "plain");  // no extension: the filter's
    EXPECT_EQ(file_bytes(dir.filePath("plain.raw")), voxels(vol));

    save("BMP image sequence", "slice.bmp");  // frames numbered from 0
    EXPECT_EQ(read_with_pil(dir.filePath("slice004.bmp"), dir.filePath("pil")), "L 30 20 1");
    EXPECT_EQ(file_bytes(dir.filePath("pil")), voxels(vol).substr(4 * 600));
    EXPECT_TRUE(ui.log.back().rfind("select input", 0) == 0);  // nothing went wrong

    // GIF holds no colour: the writer's status is shown and no file is left
    Volume* colour = make(2, 8, 8, 1, 2);
    const QStringList before = QDir(dir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    ui.pick(slot(colour));
    answer_file_dialog("GIF image sequence", dir.filePath("colour.gif"));
    run(res::cmd::kSave);
    EXPECT_EQ(ui.log.back(), "error: -503");
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot), before);
    EXPECT_FALSE(before.join(" ").contains(".save3d"));
}

TEST_F(ShippedModules, SaveProjectionWritesPngAndTiffPicturesAsTheyAre) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const struct { int colortype; QString filter, file, read; } cases[] = {
        {2, "PNG image", "colour", "RGB 37 23 1"},
        {1, "TIFF image", "grey.tif", "L 37 23 1"},
    };
    for (const auto& c : cases) {
        Buffer* b = CreateBuffer(c.colortype, 37, 23);
        for (int ch = 0; ch < (c.colortype == 2 ? 3 : 1); ++ch)
            for (int y = 0; y < 23; ++y)
                for (int x = 0; x < 37; ++x) b->image[ch][y][x] = static_cast<unsigned char>(7 * y + 3 * x + 80 * ch);
        const std::string expected = pixels(b);
        auto* w = static_cast<QWidget*>(DisplayProjection(CreateProjection(RegisterProjectionType(), nullptr, 0), b, "p"));
        ASSERT_NE(w, nullptr);
        answer_file_dialog(c.filter, dir.filePath(c.file));
        sub_of(w)->systemMenu()->findChild<QAction*>("1000")->trigger();
        const QString written = dir.filePath(QFileInfo(c.file).suffix().isEmpty() ? c.file + ".png" : c.file);
        EXPECT_EQ(read_with_pil(written, dir.filePath("pil")), c.read);
        EXPECT_EQ(file_bytes(dir.filePath("pil")), expected);
    }
    EXPECT_TRUE(ui.log.empty());
}

}  // namespace
}  // namespace t3d
