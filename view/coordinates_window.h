// The coordinates read-out (class write): a top-most window at the right edge of the screen
// with two sunken fields, the position of the voxel under the mouse and its colour. A right
// click opens the menu RGB (2), XYZ (3), Lab (4), HLS (5), Close (0); the window only reports
// the choice. It paints the texts it is given.
#pragma once

#include <QFont>
#include <QString>
#include <QWidget>

class QMenu;

namespace view {

class CoordinatesWindow : public QWidget {
    Q_OBJECT
public:
    explicit CoordinatesWindow(const QString& title, QWidget* owner = nullptr);

    // Shows the two texts at once (a read-out must follow the mouse without waiting).
    void show_texts(const QString& position, const QString& colour);
    // Moves the check mark of the menu to space (2..5).
    void check_space(int space);
    QString position() const { return position_; }
    QString colour() const { return colour_; }
    QMenu* menu() const { return menu_; }
    // The fields' widths (measured on " X = 77777  Y = 77777  Z = 77777 " and
    // " R = 7777.777  G = 7777.777  B = 7777.777 ") and the client height.
    int position_width() const { return w1_; }
    int colour_width() const { return w2_; }

signals:
    void space_chosen(int space);
    void close_chosen();

protected:
    void paintEvent(QPaintEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    QFont font_;
    int w1_, w2_;
    QString position_, colour_;
    QMenu* menu_;
};

}  // namespace view
