// "Give 1 Value", "Give 2 Values", "Give Values", "Give values": labels 974-977, fields 970-973.
#pragma once

#include "gui/dialogs/common.h"


namespace gui {

class ValuesDialog : public QDialog {
    Q_OBJECT
public:
    ValuesDialog(const QString& caption, const std::vector<std::string>& labels,
                 QWidget* parent = nullptr);
    std::vector<std::string> texts() const;

private:
    std::vector<QLineEdit*> fields_;
};

}  // namespace gui
