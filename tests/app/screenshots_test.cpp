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

#include "app/dialogs.h"
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

void step_to(view::FrameDisplay* d, int frame) {
    while (d->current() < frame) d->command(13);
}

TEST_F(Screenshots, SampleVolumeThroughTheMenu) {
    if (qEnvironmentVariableIsEmpty("V3D_SCREENSHOT_DIR")) GTEST_SKIP() << "V3D_SCREENSHOT_DIR not set";
    const std::string sample = V3D_BINARY_DIR "/samples/phantom_64x128x128_uc.raw";
    if (!QFileInfo::exists(QString::fromStdString(sample))) GTEST_SKIP() << "no sample volume";
    window->resize(1000, 720);
    window->show();
    app::CommandLine line;
    std::string error;
    ASSERT_TRUE(app::parse_command_line({"--size", "64x128x128", sample}, line, error));
    ASSERT_EQ(app::open_files(line), 1);
    Volume* phantom = GetVolumeByIndex(0);
    step_to(window->displays(phantom).at(0), 32);

    // Symmetric into a new volume, then its bounding box, through the menu's actions
    ui.pick(0).pick_new();
    window->action(1130)->trigger();
    Volume* mirrored = GetVolumeByIndex(1);
    ASSERT_EQ(mirrored->type, 1);
    view::FrameDisplay* m = window->displays(mirrored).at(0);
    step_to(m, 20);
    m->parentWidget()->move(260, 0);
    ui.pick(0).pick_new();
    window->action(1142)->trigger();                     // UC to F, shown clamped
    view::FrameDisplay* f = window->displays(GetVolumeByIndex(2)).at(0);
    step_to(f, 40);
    f->zoom_out();
    f->parentWidget()->move(520, 0);
    ui.pick(0);
    window->action(1222)->trigger();
    ui.pick(0);
    window->action(1172)->trigger();                     // not built yet: says so
    for (const auto& l : ui.log) std::printf("  %s\n", l.c_str());
    save(window.get(), "workstation.png");

    app::SelectRequest r;
    r.kind = app::SelectKind::Input;
    r.caption = "Select Input Volume for Median";
    app::VolumeSelectDialog input(r, window.get());
    input.show();
    input.findChild<QListWidget*>("604")->setCurrentRow(0);
    input.findChild<QCheckBox*>("1101")->setChecked(true);
    save(&input, "dialog_input.png");

    app::ValuesDialog values("Give Window Dimensions", {"X Dimension:", "Y Dimension:", "Z Dimension:"},
                             window.get());
    values.show();
    save(&values, "dialog_values.png");

    app::LevelsDialog levels(phantom, window.get());
    levels.show();
    save(&levels, "dialog_levels.png");

    app::FormatRequest format;
    format.file = sample;
    format.last = 63, format.width = 128, format.height = 128;
    app::FormatDialog open(format, window.get());
    open.show();
    save(&open, "dialog_format.png");

    app::SelectRequest o;
    o.kind = app::SelectKind::Output;
    o.caption = "Select Output Volume for Median";
    o.X = o.Y = 128, o.Z = 64;
    app::VolumeSelectDialog output(o, window.get());
    output.show();
    output.findChild<QListWidget*>("604")->setCurrentRow(3);
    save(&output, "dialog_output.png");
}

}  // namespace
}  // namespace t3d
