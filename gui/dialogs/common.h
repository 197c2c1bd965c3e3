// The pieces the dialogs share: controls named by their ids ("1102"), OK and Cancel, the
// volume list, the dimension, information and VOI fields. Every control's objectName is its
// id; a dialog's objectName is its template name ("Get_InOut_Volume").
#pragma once

#include <QDialog>
#include <QString>
#include <initializer_list>
#include <string>
#include <vector>

#include "app/rules.h"
#include "vexilo3d.h"

class QFormLayout;
class QGridLayout;
class QHBoxLayout;
class QLineEdit;
class QListWidget;
class QListWidgetItem;
class QPushButton;
class QVBoxLayout;

namespace gui {

QLineEdit* make_edit(int id, QWidget* parent);
QPushButton* make_button(int id, const char* text, QWidget* parent);
// OK (1) and Cancel (2) in a row; OK is the default button.
QHBoxLayout* ok_cancel(QDialog* d, QPushButton*& ok, bool with_cancel = true);

// Lays out a dialog of static texts over an OK button, titled and named name.
void texts_and_ok(QDialog* d, const char* name, std::initializer_list<const char*> texts);

// The text of a field as the rules read it.
std::string text_of(const QLineEdit* e);

// The list "Volumes" (604) above its label in column, filled with entries.
QListWidget* volume_list(QWidget* parent, QVBoxLayout* column);
void fill_list(QListWidget* list, const std::vector<std::string>& entries);
// The selected entry (a list with the focus has a current entry that is not selected), and
// the slot and volume it names.
QListWidgetItem* chosen(const QListWidget* list);
Volume* volume_of(const QListWidget* list, int* slot = nullptr);

// Dimension (745, 747, 1303), information (1187) and, with types, data-type and colour-type
// (1313, 1314) fields.
struct VolumeFields {
    QLineEdit *x = nullptr, *y = nullptr, *z = nullptr, *info = nullptr;
    QLineEdit *type = nullptr, *color = nullptr;
};
QFormLayout* volume_fields(QWidget* parent, VolumeFields& f, bool types);
void show_volume(const Volume* v, const VolumeFields& f);

// The six VOI fields (1102-1107) in two columns.
QGridLayout* voi_fields(QWidget* parent, QLineEdit* fields[6]);
void show_voi(const Volume* v, QLineEdit* const fields[6]);
app::VoiBounds read_voi(QLineEdit* const fields[6]);

}  // namespace gui
