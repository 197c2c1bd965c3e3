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
    // Open through the format dialog's answer: the raw volume file, 64 frames of 128 x 128
    Answer open_answer;
    open_answer.format.format = V3D_FORMAT_RAW_VOLUME;
    open_answer.format.file = sample;
    open_answer.format.last = 63;
    open_answer.format.width = open_answer.format.height = 128;
    ui.push(open_answer).pick_new();
    window->action(40003)->trigger();
    Volume* phantom = GetVolumeByIndex(0);
    ASSERT_EQ(phantom->type, 1);
    step_to(window->displays(phantom).at(0), 32);

    // a 5 x 5 x 3 median of the phantom, then the Sobel edges of the median, into new volumes
    ui.pick(0).values({"5", "5", "3"}).pick_new();
    window->action(1172)->trigger();
    Volume* median = GetVolumeByIndex(1);
    ASSERT_EQ(median->type, 1);
    view::FrameDisplay* m = window->displays(median).at(0);
    step_to(m, 32);
    m->parentWidget()->move(330, 0);
    ui.pick(1).pick_new();
    window->action(1192)->trigger();
    Volume* edges = GetVolumeByIndex(2);
    ASSERT_EQ(edges->type, 1);
    view::FrameDisplay* e = window->displays(edges).at(0);
    step_to(e, 32);
    e->parentWidget()->move(660, 0);
    for (const auto& l : ui.log) std::printf("  %s\n", l.c_str());
    save(window.get(), "workstation.png");
    ui.pick(0);
    window->action(1185)->trigger();                     // the phantom's histogram
    save(window->mdi()->activeSubWindow(), "histogram.png");

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
    format.format = V3D_FORMAT_RAW_VOLUME;
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
