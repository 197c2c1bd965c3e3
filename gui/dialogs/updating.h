// "Updating projections ...": the modeless note shown while the projection windows of a volume
// are rendered again, with the title of the one at work.
#pragma once

#include <QDialog>

class QLineEdit;

namespace gui {

class UpdatingDialog : public QDialog {
    Q_OBJECT
public:
    explicit UpdatingDialog(QWidget* parent = nullptr);
    // Shows title in the field and paints it at once (the work that follows keeps the loop).
    void show_title(const QString& title);
    QString title() const;

private:
    QLineEdit* title_;
};

}  // namespace gui
