// The dialogs as offscreen widgets: control ids, texts, enabling rules and validation.
#include <QCheckBox>
#include <QTest>
#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QTemporaryDir>

#include "gui/dialogs/volume_select.h"
#include "gui/dialogs/create_volume.h"
#include "gui/dialogs/destroy_volume.h"
#include "gui/dialogs/volume_info.h"
#include "gui/dialogs/values.h"
#include "gui/dialogs/options.h"
#include "gui/dialogs/levels.h"
#include "gui/dialogs/format.h"
#include "gui/dialogs/pixel_input.h"
#include "gui/dialogs/about.h"
#include "vexilo3d_volume.hpp"
#include "fixture.h"

namespace t3d {
namespace {

using Dialogs = AppTest;

template <class T = QWidget> T* control(QWidget* dialog, int id) {
    T* w = dialog->findChild<T*>(QString::number(id));
    EXPECT_NE(w, nullptr) << "control " << id;
    return w;
}

QStringList entries(const QListWidget* list) {
    QStringList texts;
    for (int i = 0; i < list->count(); ++i) texts << list->item(i)->text();
    return texts;
}
QStringList entries(QWidget* dialog) { return entries(control<QListWidget>(dialog, 604)); }

void choose(QWidget* dialog, const QString& entry) {
    auto* list = control<QListWidget>(dialog, 604);
    list->setCurrentItem(list->findItems(entry, Qt::MatchExactly).value(0));
}

void set(QWidget* dialog, int id, const QString& text) { control<QLineEdit>(dialog, id)->setText(text); }
void set(QWidget* dialog, std::initializer_list<std::pair<int, QString>> texts) {
    for (const auto& [id, text] : texts) set(dialog, id, text);
}
QString text(QWidget* dialog, int id) { return control<QLineEdit>(dialog, id)->text(); }
bool enabled(QWidget* dialog, int id) { return control(dialog, id)->isEnabled(); }
void ok(QWidget* dialog) { control<QPushButton>(dialog, 1)->click(); }

// The line edits' texts, as (id, text) pairs.
void expect_texts(QWidget* dialog, std::initializer_list<std::pair<int, QString>> texts) {
    for (const auto& [id, want] : texts) EXPECT_EQ(text(dialog, id), want) << "control " << id;
}

app::SelectRequest request(app::SelectKind kind, int typemask = 7, int colormask = 3) {
    app::SelectRequest r;
    r.kind = kind;
    r.typemask = typemask;
    r.colormask = colormask;
    r.caption = "Caption";
    return r;
}

// A double-click selects the entry; only OK ends the dialog.
TEST_F(Dialogs, DoubleClickSelectsWithoutEndingTheDialog) {
    make(2, 2, 2);
    gui::VolumeSelectDialog d(request(app::SelectKind::Other));
    d.show();
    auto* list = control<QListWidget>(&d, 604);
    const QRect item = list->visualItemRect(list->item(0));
    QTest::mouseDClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, item.center());
    EXPECT_TRUE(enabled(&d, 1));
    EXPECT_TRUE(d.isVisible());
    EXPECT_EQ(d.result(), 0);
    ok(&d);
    EXPECT_EQ(d.result(), 1);
    EXPECT_EQ(d.selection().slot, 0);
}

TEST_F(Dialogs, InputDialogEnablesOnSelectionAndValidatesTheVoi) {
    Volume* v = make(4, 5, 6);
    std::snprintf(v->name, sizeof v->name, "%s", "phantom");
    gui::VolumeSelectDialog d(request(app::SelectKind::Input));
    EXPECT_EQ(entries(&d), QStringList{"0"});
    EXPECT_FALSE(enabled(&d, 1));
    for (int id : {745, 747, 1303, 1187, 1102, 1107}) EXPECT_FALSE(control(&d, id)->isEnabled()) << id;
    EXPECT_FALSE(control<QCheckBox>(&d, 1101)->isChecked());
    // a current entry that is not selected (the list took the focus) does not count
    control<QListWidget>(&d, 604)->setCurrentRow(0, QItemSelectionModel::NoUpdate);
    EXPECT_FALSE(enabled(&d, 1));

    choose(&d, "0");
    EXPECT_TRUE(enabled(&d, 1));
    EXPECT_TRUE(enabled(&d, 1187));
    // X, Y, Z, the name, z2 and x2
    expect_texts(&d, {{745, "6"}, {747, "5"}, {1303, "4"}, {1187, "phantom"}, {1103, "4"}, {1107, "6"}});
    EXPECT_FALSE(enabled(&d, 1102));
    control<QCheckBox>(&d, 1101)->setChecked(true);
    EXPECT_TRUE(enabled(&d, 1102));

    set(&d, {{1102, "2"}, {1103, "2"}, {1187, "renamed"}});  // z1 = z2: empty, refused
    ok(&d);
    EXPECT_EQ(ui.log.back(), "error: 615");
    EXPECT_EQ(d.result(), 0);
    EXPECT_STREQ(v->name, "renamed");                         // the name is taken first
    EXPECT_EQ(v->z1, 0);
    set(&d, {{1107, "7"}, {1103, "3"}});                      // beyond X
    ok(&d);
    EXPECT_EQ(d.result(), 0);
    set(&d, {{1107, "6"}, {1104, "1"}});
    ok(&d);
    EXPECT_EQ(d.result(), 1);
    EXPECT_EQ(d.selection().vol, v);
    EXPECT_EQ(std::vector({v->z1, v->z2, v->y1}), std::vector({2, 3, 1}));
}

TEST_F(Dialogs, OutputDialogOffersANewSlotWithTheProposedDimensions) {
    make(2, 3, 4, 2, 2);
    app::SelectRequest r = request(app::SelectKind::Output);
    r.X = 10, r.Y = 20, r.Z = 30;
    gui::VolumeSelectDialog d(r);
    EXPECT_EQ(entries(&d), (QStringList{"0", "New[1]"}));
    EXPECT_FALSE(enabled(&d, 1));
    EXPECT_FALSE(enabled(&d, 745));
    EXPECT_TRUE(text(&d, 1187).isEmpty());
    choose(&d, "0");
    expect_texts(&d, {{1313, "F"}, {1314, "3 Channels"}, {745, "4"}});
    choose(&d, "New[1]");
    expect_texts(&d, {{745, "10"}, {1303, "30"}});
    set(&d, 1187, "result");
    ok(&d);
    ASSERT_EQ(d.result(), 1);
    EXPECT_EQ(d.selection().vol, nullptr);
    EXPECT_EQ(d.selection().slot, 1);
    EXPECT_EQ(d.selection().Y, 20);
    EXPECT_STREQ(GetVolumeByIndex(1)->name, "result");       // named before it exists

    gui::VolumeSelectDialog without_dims(request(app::SelectKind::Output));
    EXPECT_EQ(entries(&without_dims), QStringList{"0"});
}

TEST_F(Dialogs, SelectVolumeLeavesOutTheSlotsAlreadyChosen) {
    for (int i = 0; i < 3; ++i) make(2, 2, 2);
    app::SelectRequest r = request(app::SelectKind::Other, 1, 1);
    r.exclude = {0, 2};
    gui::VolumeSelectDialog d(r);
    EXPECT_EQ(entries(&d), QStringList{"1"});
    choose(&d, "1");
    ok(&d);
    EXPECT_EQ(d.selection().slot, 1);
    EXPECT_EQ(d.selection().vol, GetVolumeByIndex(1));
}

TEST_F(Dialogs, CreateDialogChecksDimensionsAndTakesTypesFromTheTexts) {
    make(1, 1, 1);
    gui::CreateVolumeDialog d;
    EXPECT_EQ(entries(&d).size(), 99);                 // free slots only
    EXPECT_EQ(entries(&d).first(), "1");
    EXPECT_FALSE(enabled(&d, 1));
    choose(&d, "5");
    EXPECT_TRUE(enabled(&d, 1));
    set(&d, {{745, "8"}, {747, "0"}, {1303, "2"}});
    ok(&d);
    EXPECT_EQ(ui.log.back(), "error: 90");
    EXPECT_EQ(d.result(), 0);
    set(&d, 747, "4");
    ok(&d);
    ASSERT_EQ(d.result(), 1);
    // slot 5; no choice: UC, one channel
    EXPECT_EQ(std::vector({d.request().slot, d.request().type, d.request().colortype}),
              std::vector({5, 1, 1}));

    gui::CreateVolumeDialog typed;
    choose(&typed, "2");
    set(&typed, {{745, "1"}, {747, "1"}, {1303, "1"}});
    control<QListWidget>(&typed, 1313)->setCurrentRow(2);    // "I"
    control<QListWidget>(&typed, 1314)->setCurrentRow(1);    // "3 Channels"
    ok(&typed);
    EXPECT_EQ(typed.request().type, 4);
    EXPECT_EQ(typed.request().colortype, 2);
}

TEST_F(Dialogs, DestroyDialogDestroysSeveralAndMovesTheSelectionBack) {
    Volume* a = make(2, 2, 2);
    make(2, 2, 2);
    Volume* c = make(2, 2, 2);
    ASSERT_TRUE(window->open_display(2, c, 0, 0, 1, 0));
    gui::DestroyVolumeDialog d("Select Volume to Free");
    auto* list = control<QListWidget>(&d, 604);
    auto* destroy = control<QPushButton>(&d, 1003);
    list->setCurrentRow(2);
    destroy->click();                                  // the last entry: selection moves back
    EXPECT_EQ(c->type, 0);
    EXPECT_EQ(windows(c), 0);
    EXPECT_EQ(list->currentItem()->text(), "1");
    list->setCurrentRow(0);
    destroy->click();
    EXPECT_EQ(a->type, 0);
    EXPECT_EQ(list->currentItem()->text(), "1");
    destroy->click();
    EXPECT_EQ(list->count(), 0);
    EXPECT_FALSE(destroy->isEnabled());
}

TEST_F(Dialogs, StateAndSetVoiShowTheSlotAndSetVoiValidates) {
    Volume* v = make(3, 4, 5, 4, 1);
    gui::VolumeInfoDialog state(gui::VolumeInfoDialog::State);
    choose(&state, "0");
    expect_texts(&state, {{1313, "I"}, {1314, "1 Channel"}, {1303, "3"}, {7030, "1 x 1 x 1 mm (z, y, x)"},
                          {7031, "none"}});
    Volume* spaced = make(2, 2, 2);
    const VolumeOrientation o{{{-2, 0, 0, 32}, {0, 2, 0, -40}, {0, 0, 2.2, -16}}, 1, 2};
    ASSERT_EQ(SetVolumeSpacing(spaced, 2.2, 2, 2), 0);
    ASSERT_EQ(SetVolumeOrientation(spaced, &o), 0);
    gui::VolumeInfoDialog again(gui::VolumeInfoDialog::State);
    choose(&again, "1");
    expect_texts(&again, {{7030, "2.2 x 2 x 2 mm (z, y, x)"},
                          {7031, "sform 2, qform 1: (-2 0 0 32) (0 2 0 -40) (0 0 2.2 -16)"}});

    gui::VolumeInfoDialog voi(gui::VolumeInfoDialog::SetVoi);
    EXPECT_EQ(voi.findChild<QCheckBox*>("1101"), nullptr);
    EXPECT_FALSE(enabled(&voi, 1));
    choose(&voi, "0");
    set(&voi, 1104, "-1");                            // read unsigned: not below 0 ... refused
    ok(&voi);
    EXPECT_EQ(ui.log.back(), "error: 615");
    EXPECT_EQ(voi.result(), 0);
    set(&voi, {{1104, "3"}, {1105, "2"}});            // reversed
    ok(&voi);
    EXPECT_EQ(voi.result(), 0);
    set(&voi, {{1104, "1"}, {1105, "4"}, {1106, "4"}});
    ok(&voi);
    EXPECT_EQ(voi.result(), 1);
    EXPECT_EQ(std::vector({v->y1, v->x1, v->x2}), std::vector({1, 4, 5}));
}

TEST_F(Dialogs, ValueDialogsCarryTheLabelsAndOneFieldEach) {
    for (int n = 1; n <= 4; ++n) {
        std::vector<std::string> labels;
        for (int i = 0; i < n; ++i) labels.push_back(QString("L%1").arg(i).toStdString());
        gui::ValuesDialog d("Give Window Dimensions", labels);
        for (int i = 0; i < n; ++i) {
            EXPECT_EQ(control<QLabel>(&d, 974 + i)->text(), QString("L%1").arg(i));
            EXPECT_TRUE(control<QLineEdit>(&d, 970 + i)->text().isEmpty());
        }
        EXPECT_EQ(d.findChild<QLineEdit*>(QString::number(970 + n)), nullptr);
        set(&d, 970, "3");
        EXPECT_EQ(d.texts().at(0), "3");
        EXPECT_EQ(d.texts().size(), static_cast<size_t>(n));
    }
}

// Extracting the factors from the output disables the factor fields; the choice is the radio's.
TEST_F(Dialogs, InterpolationOptionsEnableAndAnswer) {
    gui::OptionsDialog interp(app::OptionsRequest{});
    EXPECT_TRUE(control<QRadioButton>(&interp, 1163)->isChecked());
    control<QCheckBox>(&interp, 1156)->setChecked(true);
    EXPECT_FALSE(enabled(&interp, 1157));
    control<QRadioButton>(&interp, 1164)->setChecked(true);
    EXPECT_EQ(interp.result().choice, 1);
    EXPECT_TRUE(interp.result().check);
}

TEST_F(Dialogs, LevelsDialogStartsWithTheWholeRangeAndValidates) {
    Volume* v = make(9, 2, 2);
    gui::LevelsDialog d(v);
    expect_texts(&d, {{1301, "8"}, {1302, "0"}, {1304, "0.0"}});
    EXPECT_EQ(control<QLineEdit>(&d, 1304)->maxLength(), 4);
    set(&d, 1304, "1a");
    ok(&d);
    EXPECT_EQ(ui.log.back(), "error: 90");
    set(&d, {{1304, "0.25"}, {1302, "5"}, {1301, "12"}});  // the dispatcher refuses 12 later (611)
    ok(&d);
    ASSERT_EQ(d.result(), 1);
    EXPECT_EQ(d.levels().upper, 12);
    EXPECT_EQ(d.levels().lower, 5);
    EXPECT_DOUBLE_EQ(d.levels().delay, 0.25);
}

TEST_F(Dialogs, FormatDialogChecksFramesDimensionsAndTheFile) {
    QTemporaryDir dir;
    const QString base = dir.filePath("slice");
    QFile(base + "007.raw").open(QIODevice::WriteOnly);
    app::FormatRequest start;
    start.format = V3D_FORMAT_RAW_FRAMES;
    start.base = base.toStdString();
    gui::FormatDialog d(start);
    EXPECT_FALSE(enabled(&d, 7011));
    EXPECT_TRUE(enabled(&d, 7012));
    EXPECT_FALSE(enabled(&d, 7021));
    // the range first, then the sizes, then the first file (slice7.raw does not exist)
    set(&d, {{7013, "9"}, {7014, "8"}, {7016, "0"}, {7017, "4"}, {7015, "0"}});
    ok(&d);
    EXPECT_EQ(ui.log.back(), "error: 7000");
    set(&d, {{7013, "7"}, {7014, "9"}});
    ok(&d);
    EXPECT_EQ(ui.log.back(), "error: 7001");
    set(&d, 7016, "4");
    ok(&d);
    EXPECT_EQ(ui.log.back(), "error: 7002");
    control<QComboBox>(&d, 7019)->setCurrentIndex(1);  // raw frames are grey whatever is chosen
    set(&d, 7015, "3");                               // slice007.raw does
    control<QComboBox>(&d, 7018)->setCurrentIndex(1);
    ok(&d);
    ASSERT_EQ(d.result(), 1);
    EXPECT_EQ(std::vector({d.request().digits, d.request().type, d.request().last, d.request().colortype}),
              std::vector({3, 2, 9, 1}));
    auto* formats = control<QComboBox>(&d, 7010);
    formats->setCurrentIndex(V3D_FORMAT_RAW_RGB);       // r, g, b and three channels, fixed
    expect_texts(&d, {{7020, "r"}, {7022, "b"}});
    EXPECT_FALSE(enabled(&d, 7020));
    EXPECT_EQ(control<QComboBox>(&d, 7019)->currentIndex(), 1);
    EXPECT_FALSE(enabled(&d, 7019));
    formats->setCurrentIndex(V3D_FORMAT_TIFF);          // the files give size and colour
    EXPECT_EQ(text(&d, 7020), "tif");
    EXPECT_TRUE(enabled(&d, 7020));
    EXPECT_FALSE(enabled(&d, 7016));
    EXPECT_FALSE(enabled(&d, 7018));
    formats->setCurrentIndex(V3D_FORMAT_TIFF_STACK);    // one file
    EXPECT_TRUE(enabled(&d, 7011));
    EXPECT_FALSE(enabled(&d, 7012));
    EXPECT_FALSE(enabled(&d, 7027));
    formats->setCurrentIndex(V3D_FORMAT_NIFTI);         // the header tells all but the time point
    EXPECT_TRUE(enabled(&d, 7011) && enabled(&d, 7027));
    for (int id : {7013, 7014, 7016, 7018, 7025, 7026}) EXPECT_FALSE(enabled(&d, id)) << id;
}

TEST_F(Dialogs, FormatDialogTakesRawVoxelTypesByteOrderAndHeaderSize) {
    QTemporaryDir dir;
    const QString file = dir.filePath("ct.img");
    QFile(file).open(QIODevice::WriteOnly);
    app::FormatRequest start;
    start.format = V3D_FORMAT_RAW_VOLUME;
    start.file = file.toStdString();
    gui::FormatDialog d(start);
    EXPECT_TRUE(enabled(&d, 7025) && enabled(&d, 7026));
    EXPECT_FALSE(enabled(&d, 7027));
    auto* types = control<QComboBox>(&d, 7018);
    ASSERT_EQ(types->count(), 8);
    types->setCurrentIndex(4);  // signed 16-bit
    control<QComboBox>(&d, 7025)->setCurrentIndex(1);
    set(&d, {{7016, "3"}, {7017, "2"}, {7026, "352"}});
    ok(&d);
    ASSERT_EQ(d.result(), 1);
    const app::FormatRequest r = d.request();
    EXPECT_EQ(std::vector<long long>({r.type, r.sample, r.big_endian, r.offset}),
              std::vector<long long>({V3D_TYPE_I, V3D_SAMPLE_S16, 1, 352}));
    // the same choices do not fit a series of raw frames
    gui::FormatDialog frames(r);
    control<QComboBox>(&frames, 7010)->setCurrentIndex(V3D_FORMAT_RAW_FRAMES);
    EXPECT_FALSE(enabled(&frames, 7026));
    ok(&frames);
    EXPECT_EQ(ui.log.back(), "error: 7001");
}

// What the files tell fills the fields as soon as they are named; OK asks before a file is
// read only in part.
TEST_F(Dialogs, FormatDialogPrefillsWhatTheFilesTellAndAsksAboutTheRest) {
    QTemporaryDir dir;
    const std::string stack = dir.filePath("stack").toStdString();
    v3d::OwnedVolume pages(5, 6, 7, 1, 1);
    ASSERT_EQ(SaveTiffStack(pages.get(), stack.c_str(), "tif", V3D_TIFF_NONE), 0);
    app::FormatRequest start;
    start.format = V3D_FORMAT_TIFF_STACK;
    gui::FormatDialog d(start);
    auto leave = [&](int id, const QString& value) {  // the user types and leaves the field
        set(&d, id, value);
        emit control<QLineEdit>(&d, id)->editingFinished();
    };
    leave(7011, QString::fromStdString(stack + ".tif"));
    expect_texts(&d, {{7013, "0"}, {7014, "4"}, {7016, "7"}, {7017, "6"}});
    leave(7013, "2");                                  // from page 2 on: 3 pages
    EXPECT_EQ(text(&d, 7014), "4");
    set(&d, 7014, "3");                                // one page left unread: asked
    ui.no().yes();
    ok(&d);
    EXPECT_EQ(ui.log.back(), "question: There are 3 frames; frames 2 to 3 (2) will be read.\nOpen them all the same?");
    EXPECT_EQ(d.result(), 0);
    ok(&d);
    ASSERT_EQ(d.result(), 1);
    EXPECT_EQ(d.request().last, 3);

    // a raw volume: its frames from its length once width and height are typed; a file longer
    // than the size reads (a header, say) is asked about
    const QString raw = dir.filePath("ct.raw");
    QFile file(raw);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(352 + 2 * 80, 1));  // a 352-byte header and two frames of 5 x 4 ints
    file.close();
    app::FormatRequest r;
    r.format = V3D_FORMAT_RAW_VOLUME;
    gui::FormatDialog rawd(r);
    set(&rawd, 7011, raw);
    control<QComboBox>(&rawd, 7018)->setCurrentIndex(2);  // I: 4 bytes a voxel
    set(&rawd, 7016, "5");
    emit control<QLineEdit>(&rawd, 7016)->editingFinished();
    EXPECT_EQ(text(&rawd, 7014), "0");                 // no height yet: nothing told
    set(&rawd, 7017, "4");
    emit control<QLineEdit>(&rawd, 7017)->editingFinished();
    EXPECT_EQ(text(&rawd, 7014), "5");                 // 512 bytes hold six whole frames of 80
    ui.no();
    ok(&rawd);
    EXPECT_EQ(rawd.result(), 0);
    EXPECT_NE(ui.log.back().find("holds 512 bytes; the size given reads only the first 480 of them"),
              std::string::npos) << ui.log.back();
    EXPECT_EQ(control<QComboBox>(&rawd, 7024)->count(), 3);
}

}  // namespace
}  // namespace t3d
