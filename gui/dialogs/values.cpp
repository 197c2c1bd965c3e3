#include "gui/dialogs/values.h"

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace gui {

ValuesDialog::ValuesDialog(const QString& caption, const std::vector<std::string>& labels,
                           QWidget* parent)
    : QDialog(parent) {
    static const char* const kTemplates[4] = {"Give 1 Value", "Give 2 Values", "Give Values",
                                              "Give values"};
    const int n = std::max(1, std::min(4, static_cast<int>(labels.size())));
    setObjectName(kTemplates[n - 1]);
    setWindowTitle(caption);
    auto* form = new QFormLayout;
    for (int i = 0; i < n; ++i) {
        auto* label = new QLabel(i < static_cast<int>(labels.size())
                                     ? QString::fromStdString(labels[i])
                                     : QString("Give Value %1:").arg(i + 1), this);
        label->setObjectName(QString::number(974 + i));
        QLineEdit* field = make_edit(970 + i, this);
        form->addRow(label, field);
        fields_.push_back(field);
    }
    auto* main = new QVBoxLayout(this);
    main->addLayout(form);
    QPushButton* ok;
    main->addLayout(ok_cancel(this, ok));
}

std::vector<std::string> ValuesDialog::texts() const {
    std::vector<std::string> t;
    for (const QLineEdit* f : fields_) t.push_back(f->text().toStdString());
    return t;
}

}  // namespace gui
