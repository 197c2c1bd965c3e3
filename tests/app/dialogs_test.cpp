// The dialogs as offscreen widgets: control ids, texts, enabling rules and validation.
#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QTemporaryDir>

#include "app/dialogs.h"
#include "fixture.h"

namespace t3d {
namespace {

using Dialogs = AppTest;

template <class T = QWidget> T* control(QWidget* dialog, int id) {
    T* w = dialog->findChild<T*>(QString::number(id));
    EXPECT_NE(w, nullptr) << "control " << id;
    return w;
}

QStringList entries(QWidget* dialog) {
    QStringList list;
    auto* w = control<QListWidget>(dialog, 604);
    for (int i = 0; i < w->count(); ++i) list << w->item(i)->text();
    return list;
}

void choose(QWidget* dialog, const QString& entry) {
    auto* list = control<QListWidget>(dialog, 604);
    list->setCurrentItem(list->findItems(entry, Qt::MatchExactly).value(0));
}

void set(QWidget* dialog, int id, const QString& text) { control<QLineEdit>(dialog, id)->setText(text); }

app::SelectRequest request(app::SelectKind kind, int typemask = 7, int colormask = 3) {
    app::SelectRequest r;
    r.kind = kind;
    r.typemask = typemask;
    r.colormask = colormask;
    r.caption = "Caption";
    return r;
}

TEST_F(Dialogs, ListBuilderOffersMatchingSlotsThenTheFirstFreeOne) {
    make(2, 2, 2);           // 0 UC grey
    make(2, 2, 2, 2);        // 1 F grey
    make(2, 2, 2, 1, 2);     // 2 UC colour
    DestroyVolume(GetVolumeByIndex(1));
    QListWidget list;
    EXPECT_EQ(app::fill_volume_list(&list, 1, 1, 0), 1);
    ASSERT_EQ(list.count(), 2);
    EXPECT_EQ(list.item(0)->text(), "0");
    EXPECT_EQ(list.item(1)->text(), "New[1]");
    QListWidget no_new;
    EXPECT_EQ(app::fill_volume_list(&no_new, 7, 2, 1), -1);
    ASSERT_EQ(no_new.count(), 1);
    EXPECT_EQ(no_new.item(0)->text(), "2");
    while (GetNewVolumeIndex() >= 0) make(1, 1, 1);
    QListWidget full;
    app::fill_volume_list(&full, 7, 3, 0);
    EXPECT_EQ(full.count(), 100);          // every slot in use: no "New" entry
}

TEST_F(Dialogs, InputDialogEnablesOnSelectionAndValidatesTheVoi) {
    Volume* v = make(4, 5, 6);
    std::snprintf(v->name, sizeof v->name, "%s", "phantom");
    app::VolumeSelectDialog d(request(app::SelectKind::Input));
    EXPECT_EQ(d.objectName(), "Get_InOut_Volume");
    EXPECT_EQ(d.windowTitle(), "Caption");
    EXPECT_EQ(entries(&d), QStringList{"0"});
    EXPECT_FALSE(control(&d, 1)->isEnabled());
    for (int id : {745, 747, 1303, 1187, 1102, 1107}) EXPECT_FALSE(control(&d, id)->isEnabled()) << id;
    EXPECT_FALSE(control<QCheckBox>(&d, 1101)->isChecked());
    EXPECT_EQ(control<QPushButton>(&d, 2)->text(), "Cancel");
    // a current entry that is not selected (the list took the focus) does not count
    control<QListWidget>(&d, 604)->setCurrentRow(0, QItemSelectionModel::NoUpdate);
    EXPECT_FALSE(control(&d, 1)->isEnabled());

    choose(&d, "0");
    EXPECT_TRUE(control(&d, 1)->isEnabled());
    EXPECT_TRUE(control(&d, 1187)->isEnabled());
    EXPECT_EQ(control<QLineEdit>(&d, 745)->text(), "6");
    EXPECT_EQ(control<QLineEdit>(&d, 747)->text(), "5");
    EXPECT_EQ(control<QLineEdit>(&d, 1303)->text(), "4");
    EXPECT_EQ(control<QLineEdit>(&d, 1187)->text(), "phantom");
    EXPECT_EQ(control<QLineEdit>(&d, 1103)->text(), "4");     // z2
    EXPECT_EQ(control<QLineEdit>(&d, 1107)->text(), "6");     // x2
    EXPECT_FALSE(control(&d, 1102)->isEnabled());
    control<QCheckBox>(&d, 1101)->setChecked(true);
    EXPECT_TRUE(control(&d, 1102)->isEnabled());

    set(&d, 1102, "2");
    set(&d, 1103, "2");                                       // z1 = z2: empty, refused
    set(&d, 1187, "renamed");
    control<QPushButton>(&d, 1)->click();
    EXPECT_EQ(ui.log.back(), "error: 615");
    EXPECT_EQ(d.result(), 0);
    EXPECT_STREQ(v->name, "renamed");                         // the name is taken first
    EXPECT_EQ(v->z1, 0);
    set(&d, 1107, "7");                                       // beyond X
    set(&d, 1103, "3");
    control<QPushButton>(&d, 1)->click();
    EXPECT_EQ(d.result(), 0);
    set(&d, 1107, "6");
    set(&d, 1104, "1");
    control<QPushButton>(&d, 1)->click();
    EXPECT_EQ(d.result(), 1);
    EXPECT_EQ(d.selection().vol, v);
    EXPECT_EQ(v->z1, 2);
    EXPECT_EQ(v->z2, 3);
    EXPECT_EQ(v->y1, 1);
}

TEST_F(Dialogs, InputDialogWithoutMatchingVolumesHasNothingToChoose) {
    make(2, 2, 2, 2);
    app::VolumeSelectDialog d(request(app::SelectKind::Input, 1, 3));
    EXPECT_TRUE(entries(&d).isEmpty());
    control<QPushButton>(&d, 1)->click();
    EXPECT_EQ(d.result(), 0);
    EXPECT_FALSE(control(&d, 1)->isEnabled());
}

TEST_F(Dialogs, OutputDialogOffersANewSlotWithTheProposedDimensions) {
    Volume* v = make(2, 3, 4, 2, 2);
    app::SelectRequest r = request(app::SelectKind::Output);
    r.X = 10, r.Y = 20, r.Z = 30;
    app::VolumeSelectDialog d(r);
    EXPECT_EQ(d.objectName(), "Select Same Output Volume");
    EXPECT_EQ(entries(&d), (QStringList{"0", "New[1]"}));
    EXPECT_FALSE(control(&d, 1)->isEnabled());
    EXPECT_FALSE(control(&d, 745)->isEnabled());
    EXPECT_TRUE(control<QLineEdit>(&d, 1187)->text().isEmpty());
    choose(&d, "0");
    EXPECT_EQ(control<QLineEdit>(&d, 1313)->text(), "F");
    EXPECT_EQ(control<QLineEdit>(&d, 1314)->text(), "3 Channels");
    EXPECT_EQ(control<QLineEdit>(&d, 745)->text(), "4");
    choose(&d, "New[1]");
    EXPECT_EQ(control<QLineEdit>(&d, 745)->text(), "10");
    EXPECT_EQ(control<QLineEdit>(&d, 1303)->text(), "30");
    set(&d, 1187, "result");
    control<QPushButton>(&d, 1)->click();
    ASSERT_EQ(d.result(), 1);
    EXPECT_EQ(d.selection().vol, nullptr);
    EXPECT_EQ(d.selection().slot, 1);
    EXPECT_EQ(d.selection().Y, 20);
    EXPECT_STREQ(GetVolumeByIndex(1)->name, "result");       // named before it exists
    (void)v;

    app::SelectRequest none = request(app::SelectKind::Output);
    app::VolumeSelectDialog without_dims(none);
    EXPECT_EQ(entries(&without_dims), QStringList{"0"});
}

TEST_F(Dialogs, SelectVolumeLeavesOutTheSlotsAlreadyChosen) {
    make(2, 2, 2);
    make(2, 2, 2);
    make(2, 2, 2);
    app::SelectRequest r = request(app::SelectKind::Other, 1, 1);
    r.exclude = {0, 2};
    app::VolumeSelectDialog d(r);
    EXPECT_EQ(d.objectName(), "Select Volume");
    EXPECT_EQ(entries(&d), QStringList{"1"});
    choose(&d, "1");
    control<QPushButton>(&d, 1)->click();
    EXPECT_EQ(d.selection().slot, 1);
    EXPECT_EQ(d.selection().vol, GetVolumeByIndex(1));
}

TEST_F(Dialogs, CreateDialogChecksDimensionsAndTakesTypesFromTheTexts) {
    make(1, 1, 1);
    app::CreateVolumeDialog d;
    EXPECT_EQ(d.windowTitle(), "Select Volume to Create");
    EXPECT_EQ(entries(&d).size(), 99);                 // free slots only
    EXPECT_EQ(entries(&d).first(), "1");
    EXPECT_FALSE(control(&d, 1)->isEnabled());
    choose(&d, "5");
    EXPECT_TRUE(control(&d, 1)->isEnabled());
    set(&d, 745, "8");
    set(&d, 747, "0");
    set(&d, 1303, "2");
    control<QPushButton>(&d, 1)->click();
    EXPECT_EQ(ui.log.back(), "error: 90");
    EXPECT_EQ(d.result(), 0);
    set(&d, 747, "4");
    control<QPushButton>(&d, 1)->click();
    ASSERT_EQ(d.result(), 1);
    EXPECT_EQ(d.request().slot, 5);
    EXPECT_EQ(d.request().type, 1);                    // no choice: UC
    EXPECT_EQ(d.request().colortype, 1);

    app::CreateVolumeDialog typed;
    choose(&typed, "2");
    set(&typed, 745, "1");
    set(&typed, 747, "1");
    set(&typed, 1303, "1");
    control<QListWidget>(&typed, 1313)->setCurrentRow(2);    // "I"
    control<QListWidget>(&typed, 1314)->setCurrentRow(1);    // "3 Channels"
    control<QPushButton>(&typed, 1)->click();
    EXPECT_EQ(typed.request().type, 4);
    EXPECT_EQ(typed.request().colortype, 2);
}

TEST_F(Dialogs, DestroyDialogDestroysSeveralAndMovesTheSelectionBack) {
    Volume* a = make(2, 2, 2);
    make(2, 2, 2);
    Volume* c = make(2, 2, 2);
    ASSERT_TRUE(window->open_display(2, c, 0, 0, 1, 0));
    app::DestroyVolumeDialog d("Select Volume to Free");
    EXPECT_EQ(d.windowTitle(), "Select Volume to Free");
    auto* list = control<QListWidget>(&d, 604);
    auto* destroy = control<QPushButton>(&d, 1003);
    EXPECT_EQ(destroy->text(), "Destroy");
    EXPECT_EQ(control<QPushButton>(&d, 1004)->text(), "Close");
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
    app::VolumeInfoDialog state(app::VolumeInfoDialog::State);
    EXPECT_EQ(state.windowTitle(), "State Of Volumes");
    choose(&state, "0");
    EXPECT_EQ(control<QLineEdit>(&state, 1313)->text(), "I");
    EXPECT_EQ(control<QLineEdit>(&state, 1314)->text(), "1 Channel");
    EXPECT_EQ(control<QLineEdit>(&state, 1303)->text(), "3");

    app::VolumeInfoDialog voi(app::VolumeInfoDialog::SetVoi);
    EXPECT_EQ(voi.windowTitle(), "Set VOI");
    EXPECT_EQ(voi.findChild<QCheckBox*>("1101"), nullptr);
    EXPECT_FALSE(control(&voi, 1)->isEnabled());
    choose(&voi, "0");
    set(&voi, 1104, "-1");                            // read unsigned: not below 0 ... refused
    control<QPushButton>(&voi, 1)->click();
    EXPECT_EQ(ui.log.back(), "error: 615");
    EXPECT_EQ(voi.result(), 0);
    set(&voi, 1104, "1");
    set(&voi, 1106, "4");
    control<QPushButton>(&voi, 1)->click();
    EXPECT_EQ(voi.result(), 1);
    EXPECT_EQ(v->y1, 1);
    EXPECT_EQ(v->x1, 4);
    EXPECT_EQ(v->x2, 5);
}

TEST_F(Dialogs, ValueDialogsAreNamedByTheirCountAndCarryTheLabels) {
    const char* names[4] = {"Give 1 Value", "Give 2 Values", "Give Values", "Give values"};
    for (int n = 1; n <= 4; ++n) {
        std::vector<std::string> labels;
        for (int i = 0; i < n; ++i) labels.push_back(QString("L%1").arg(i).toStdString());
        app::ValuesDialog d("Give Window Dimensions", labels);
        EXPECT_EQ(d.objectName(), names[n - 1]);
        EXPECT_EQ(d.windowTitle(), "Give Window Dimensions");
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

TEST_F(Dialogs, OptionDialogsHaveTheirControls) {
    app::OptionsRequest r;
    r.caption = "3D Interpolation Options";
    app::OptionsDialog interp(r);
    EXPECT_EQ(interp.windowTitle(), "3D Interpolation Options");
    EXPECT_EQ(control<QCheckBox>(&interp, 1156)->text(), "Extract factors from output volume");
    EXPECT_TRUE(control<QRadioButton>(&interp, 1163)->isChecked());
    EXPECT_EQ(control<QRadioButton>(&interp, 1164)->text(), "Linear");
    control<QCheckBox>(&interp, 1156)->setChecked(true);
    EXPECT_FALSE(control(&interp, 1157)->isEnabled());
    control<QRadioButton>(&interp, 1164)->setChecked(true);
    EXPECT_EQ(interp.result().choice, 1);
    EXPECT_TRUE(interp.result().check);

    r.kind = app::OptionsKind::BinaryFrameInterpolation;
    r.caption.clear();
    app::OptionsDialog binary(r);
    EXPECT_EQ(binary.windowTitle(), "Binary Frame Interpolation Options");
    EXPECT_EQ(control<QCheckBox>(&binary, 1165)->text(), "Use edge coherence");
    EXPECT_EQ(control<QRadioButton>(&binary, 1167)->text(), "2 frames between each pair");

    r.kind = app::OptionsKind::WeightsSource;
    app::OptionsDialog weights(r);
    EXPECT_EQ(weights.windowTitle(), "Select Weights Source");
    EXPECT_EQ(control<QRadioButton>(&weights, 1176)->text(), "File WIN_UC3D.PAR");
    EXPECT_EQ(control<QRadioButton>(&weights, 1177)->text(), "Existing Volume");
}

TEST_F(Dialogs, LevelsDialogStartsWithTheWholeRangeAndValidates) {
    Volume* v = make(9, 2, 2);
    app::LevelsDialog d(v);
    EXPECT_EQ(d.windowTitle(), "Get Display 3D Levels - Delay");
    EXPECT_EQ(control<QLineEdit>(&d, 1301)->text(), "8");
    EXPECT_EQ(control<QLineEdit>(&d, 1302)->text(), "0");
    EXPECT_EQ(control<QLineEdit>(&d, 1304)->text(), "0.0");
    EXPECT_EQ(control<QLineEdit>(&d, 1304)->maxLength(), 4);
    set(&d, 1304, "1a");
    control<QPushButton>(&d, 1)->click();
    EXPECT_EQ(ui.log.back(), "error: 90");
    set(&d, 1304, "0.25");
    EXPECT_EQ(control<QLineEdit>(&d, 1304)->text(), "0.25");
    set(&d, 1302, "5");
    set(&d, 1301, "4");                               // lower above upper
    control<QPushButton>(&d, 1)->click();
    EXPECT_EQ(d.result(), 0);
    set(&d, 1301, "12");                              // the dispatcher refuses it later (611)
    control<QPushButton>(&d, 1)->click();
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
    app::FormatDialog d(start);
    EXPECT_FALSE(control(&d, 7011)->isEnabled());
    EXPECT_TRUE(control(&d, 7012)->isEnabled());
    EXPECT_FALSE(control(&d, 7021)->isEnabled());
    set(&d, 7013, "9");
    set(&d, 7014, "8");
    control<QPushButton>(&d, 1)->click();
    EXPECT_EQ(ui.log.back(), "error: 7000");
    set(&d, 7013, "7");
    set(&d, 7014, "9");
    set(&d, 7016, "0");
    set(&d, 7017, "4");
    control<QPushButton>(&d, 1)->click();
    EXPECT_EQ(ui.log.back(), "error: 7001");
    set(&d, 7016, "4");
    set(&d, 7015, "0");                               // slice7.raw does not exist
    control<QPushButton>(&d, 1)->click();
    EXPECT_EQ(ui.log.back(), "error: 7002");
    set(&d, 7015, "3");                               // slice007.raw does
    control<QComboBox>(&d, 7018)->setCurrentIndex(1);
    control<QPushButton>(&d, 1)->click();
    ASSERT_EQ(d.result(), 1);
    EXPECT_EQ(d.request().digits, 3);
    EXPECT_EQ(d.request().type, 2);
    EXPECT_EQ(d.request().last, 9);
    // the formats are the image-sequence table's, in its order
    auto* formats = control<QComboBox>(&d, 7010);
    ASSERT_EQ(formats->count(), V3D_FORMAT_COUNT);
    for (int i = 0; i < V3D_FORMAT_COUNT; ++i)
        EXPECT_EQ(formats->itemText(i).toStdString(), GetImageSequenceFormat(i)->title);
    formats->setCurrentIndex(V3D_FORMAT_RAW_RGB);       // r, g, b and three channels, fixed
    EXPECT_EQ(control<QLineEdit>(&d, 7020)->text(), "r");
    EXPECT_EQ(control<QLineEdit>(&d, 7022)->text(), "b");
    EXPECT_FALSE(control(&d, 7020)->isEnabled());
    EXPECT_EQ(control<QComboBox>(&d, 7019)->currentIndex(), 1);
    EXPECT_FALSE(control(&d, 7019)->isEnabled());
    formats->setCurrentIndex(V3D_FORMAT_TIFF);          // the files give size and colour
    EXPECT_EQ(control<QLineEdit>(&d, 7020)->text(), "tif");
    EXPECT_TRUE(control(&d, 7020)->isEnabled());
    EXPECT_FALSE(control(&d, 7016)->isEnabled());
    EXPECT_FALSE(control(&d, 7018)->isEnabled());
    formats->setCurrentIndex(V3D_FORMAT_TIFF_STACK);    // one file
    EXPECT_TRUE(control(&d, 7011)->isEnabled());
    EXPECT_FALSE(control(&d, 7012)->isEnabled());
}

TEST_F(Dialogs, PixelInputAndAboutTexts) {
    app::PixelInputDialog pixel;
    EXPECT_EQ(pixel.windowTitle(), "Pixel Input");
    EXPECT_FALSE(pixel.isModal());
    QStringList texts;
    for (auto* l : pixel.findChildren<QLabel*>()) texts << l->text();
    EXPECT_TRUE(texts.contains("Use Left Button to click on the desired points in input volume."));
    EXPECT_TRUE(texts.contains("Click OK when you are done."));
    app::AboutDialog about;
    EXPECT_EQ(about.windowTitle(), "About");
    EXPECT_NE(about.findChild<QPushButton*>("1"), nullptr);
}

}  // namespace
}  // namespace t3d
