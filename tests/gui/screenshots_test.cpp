// Pictures of the workstation for a person to look at (not compared): with V3D_SCREENSHOT_DIR
// set, opens the sample volume, runs commands through the menu and saves the frame window and
// the main dialogs as PNG files there.
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QFileInfo>
#include <QLineEdit>
#include <QListWidget>
#include <QMdiArea>
#include <QMdiSubWindow>

#include "gui/dialogs/volume_select.h"
#include "gui/dialogs/values.h"
#include "gui/dialogs/levels.h"
#include "gui/dialogs/format.h"
#include "app/startup.h"
#include "fixture.h"

namespace t3d {
namespace {

using Screenshots = AppTest;

void save(QWidget* w, const QString& name) {
    QApplication::processEvents();
    const QString dir = qEnvironmentVariable("V3D_SCREENSHOT_DIR");
    EXPECT_TRUE(w->grab().save(QDir(dir).filePath(name))) << name.toStdString();
}

// Shows a dialog over the window and saves it.
void shot(QWidget* dialog, const QString& name) {
    dialog->show();
    save(dialog, name);
}

// Runs a command that makes a new volume in slot, steps its window to frame 32 and moves it.
view::FrameDisplay* shown(gui::MainWindow* window, int id, int slot, int x) {
    window->action(id)->trigger();
    Volume* v = GetVolumeByIndex(slot);
    EXPECT_EQ(v->type, 1) << id;
    view::FrameDisplay* d = window->displays(v).at(0);
    while (d->current() < 32) d->command(13);
    d->parentWidget()->move(x, 0);
    return d;
}

TEST_F(Screenshots, SampleVolumeThroughTheMenu) {
    if (qEnvironmentVariableIsEmpty("V3D_SCREENSHOT_DIR")) GTEST_SKIP() << "V3D_SCREENSHOT_DIR not set";
    const std::string sample = V3D_BINARY_DIR "/samples/phantom_64x128x128_uc.raw";
    if (!QFileInfo::exists(QString::fromStdString(sample))) GTEST_SKIP() << "no sample volume";
    window->resize(1000, 720);
    window->show();
    // Open through the format dialog's answer: the raw volume file, 64 frames of 128 x 128
    const app::FormatRequest format = {.format = V3D_FORMAT_RAW_VOLUME, .file = sample, .last = 63,
                                       .width = 128, .height = 128};
    ui.push({.format = format}).pick_new();
    shown(window.get(), 40003, 0, 0);
    // a 5 x 5 x 3 median of the phantom, then the Sobel edges of the median, into new volumes
    ui.pick(0).values({"5", "5", "3"}).pick_new();
    shown(window.get(), 1172, 1, 330);
    ui.pick(1).pick_new();
    shown(window.get(), 1192, 2, 660);
    for (const auto& l : ui.log) std::printf("  %s\n", l.c_str());
    save(window.get(), "workstation.png");
    ui.pick(0);
    window->action(1185)->trigger();                     // the phantom's histogram
    save(window->mdi()->activeSubWindow(), "histogram.png");

    app::SelectRequest r;
    r.kind = app::SelectKind::Input;
    r.caption = "Select Input Volume for Median";
    gui::VolumeSelectDialog input(r, window.get());
    input.findChild<QListWidget*>("604")->setCurrentRow(0);
    input.findChild<QCheckBox*>("1101")->setChecked(true);
    shot(&input, "dialog_input.png");
    gui::ValuesDialog values("Give Window Dimensions", {"X Dimension:", "Y Dimension:", "Z Dimension:"},
                             window.get());
    shot(&values, "dialog_values.png");
    gui::LevelsDialog levels(GetVolumeByIndex(0), window.get());
    shot(&levels, "dialog_levels.png");
    gui::FormatDialog open(format, window.get());
    shot(&open, "dialog_format.png");

    app::SelectRequest o;
    o.kind = app::SelectKind::Output;
    o.caption = "Select Output Volume for Median";
    o.X = o.Y = 128, o.Z = 64;
    gui::VolumeSelectDialog output(o, window.get());
    output.findChild<QListWidget*>("604")->setCurrentRow(3);
    shot(&output, "dialog_output.png");
}

}  // namespace
}  // namespace t3d
