// The volume selection and parameter dialogs. Every control's objectName is its id ("1102");
// a dialog's objectName is its template name ("Get_InOut_Volume"). OK ends with 1 (Accepted),
// Cancel with 0; the results are read from the dialog afterwards.
#pragma once

#include <QDialog>
#include <QString>
#include <vector>

#include "app/ui.h"
#include "vexilo3d.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QRadioButton;

namespace app {

// Appends to list the index of every slot whose type and colour type meet the masks; unless
// bit 0 of flag is set, then "New[%d]" with the first free slot. Returns that free slot (-1
// when none was offered).
int fill_volume_list(QListWidget* list, int typemask, int colormask, int flag);
const char* type_text(int type);       // "UC", "F", "I"
const char* color_text(int colortype); // "1 Channel", "3 Channels"

// The selection dialogs of one family: "Get_InOut_Volume" (input), "Select Same Output
// Volume" (output), "Select Volume" (other) and "Get Volume" (target of Open).
class VolumeSelectDialog : public QDialog {
    Q_OBJECT
public:
    VolumeSelectDialog(const SelectRequest& request, QWidget* parent = nullptr);
    Selection selection() const { return result_; }

protected:
    void accept() override;

private:
    void selected();
    void voi_toggled();
    bool is_new(const QString& entry) const { return entry.startsWith('N'); }

    SelectRequest request_;
    Selection result_;
    int free_slot_ = -1;
    QListWidget* list_;
    QLineEdit *x_, *y_, *z_, *info_, *type_ = nullptr, *color_ = nullptr;
    QCheckBox* voi_check_ = nullptr;
    QLineEdit* voi_[6] = {};
    QPushButton* ok_;
};

// "Select Volume to Create": free slots, dimensions, name, data type and colour type lists.
class CreateVolumeDialog : public QDialog {
    Q_OBJECT
public:
    explicit CreateVolumeDialog(QWidget* parent = nullptr);
    CreateRequest request() const { return result_; }

protected:
    void accept() override;

private:
    CreateRequest result_;
    QListWidget *list_, *types_, *colors_;
    QLineEdit *x_, *y_, *z_, *info_;
    QPushButton* ok_;
};

// "Select Volume to Destroy": Destroy (1003) as often as wanted, Close (1004).
class DestroyVolumeDialog : public QDialog {
    Q_OBJECT
public:
    DestroyVolumeDialog(const QString& caption, QWidget* parent = nullptr);

private:
    void destroy_selected();
    QListWidget* list_;
    QPushButton* destroy_;
};

// "State Of Volumes" (read-only) and "Set VOI" (applies the VOI on OK).
class VolumeInfoDialog : public QDialog {
    Q_OBJECT
public:
    enum Kind { State, SetVoi };
    VolumeInfoDialog(Kind kind, QWidget* parent = nullptr);

protected:
    void accept() override;

private:
    void selected();
    Kind kind_;
    QListWidget* list_;
    QLineEdit *x_, *y_, *z_, *info_, *type_ = nullptr, *color_ = nullptr;
    QLineEdit* voi_[6] = {};
    QPushButton* ok_;
};

// "Give 1 Value", "Give 2 Values", "Give Values", "Give values": labels 974-977, fields 970-973.
class ValuesDialog : public QDialog {
    Q_OBJECT
public:
    ValuesDialog(const QString& caption, const std::vector<std::string>& labels,
                 QWidget* parent = nullptr);
    std::vector<std::string> texts() const;

private:
    std::vector<QLineEdit*> fields_;
};

// "Interpolation Options", "Binary Frame Interpolation Options", "Select Weights Source".
class OptionsDialog : public QDialog {
    Q_OBJECT
public:
    OptionsDialog(const OptionsRequest& request, QWidget* parent = nullptr);
    OptionsRequest result() const;

private:
    OptionsRequest request_;
    QCheckBox* check_ = nullptr;
    QLineEdit* factors_[3] = {};
    QRadioButton *first_, *second_;
};

// "Get Display 3D Levels - Delay": upper 1301, lower 1302, delay 1304.
class LevelsDialog : public QDialog {
    Q_OBJECT
public:
    LevelsDialog(const Volume* vol, QWidget* parent = nullptr);
    LevelsRequest levels() const { return result_; }

protected:
    void accept() override;

private:
    LevelsRequest result_;
    QLineEdit *upper_, *lower_, *delay_;
};

// The open/save format dialog: format 7010, file 7011, base name 7012, first 7013, last 7014,
// digits 7015, width 7016, height 7017, data type 7018, colour type 7019, extensions 7020-7022.
class FormatDialog : public QDialog {
    Q_OBJECT
public:
    FormatDialog(const FormatRequest& start, QWidget* parent = nullptr);
    FormatRequest request() const { return result_; }

protected:
    void accept() override;

private:
    void update_enabling();
    FormatRequest result_;
    QComboBox *format_, *type_, *color_;
    QLineEdit *file_, *base_, *first_, *last_, *digits_, *width_, *height_, *exts_[3];
    QPushButton* browse_;
};

// "Pixel Input": stays open (not modal) while clicks in the display windows give seeds.
class PixelInputDialog : public QDialog {
    Q_OBJECT
public:
    explicit PixelInputDialog(QWidget* parent = nullptr);
};

class AboutDialog : public QDialog {
    Q_OBJECT
public:
    explicit AboutDialog(QWidget* parent = nullptr);
};

}  // namespace app
