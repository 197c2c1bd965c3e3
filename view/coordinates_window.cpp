#include "view/coordinates_window.h"

#include <QActionGroup>
#include <QContextMenuEvent>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QMenu>
#include <QPainter>
#include <QScreen>
#include <QStyle>
#include <QStyleOptionFrame>

namespace view {
namespace {

QFont arial_8() {
    QFont font("Arial");
    font.setPointSize(8);
    font.setWeight(QFont::Normal);
    return font;
}

}  // namespace

CoordinatesWindow::CoordinatesWindow(const QString& title, QWidget* owner)
    : QWidget(owner, Qt::Tool | Qt::WindowStaysOnTopHint | Qt::CustomizeWindowHint |
                         Qt::WindowTitleHint),
      font_(arial_8()) {
    setObjectName("write");
    setProperty("windowClass", "write");
    setWindowTitle(title);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Button);
    const QFontMetrics m(font_);
    w1_ = m.horizontalAdvance(" X = 77777  Y = 77777  Z = 77777 ");
    w2_ = m.horizontalAdvance(" R = 7777.777  G = 7777.777  B = 7777.777 ");
    setFixedSize(w1_ + w2_ + 10, m.height() + 10);
    if (const QScreen* screen = QGuiApplication::primaryScreen()) {
        const QRect area = screen->availableGeometry();
        move(area.right() + 1 - frameSize().width(), area.top());
    }

    menu_ = new QMenu(this);
    auto* group = new QActionGroup(this);
    const std::pair<const char*, int> spaces[] = {{"RGB", 2}, {"XYZ", 3}, {"Lab", 4}, {"HLS", 5}};
    for (const auto& [name, id] : spaces) {
        QAction* a = menu_->addAction(name, this, [this, id = id] { emit space_chosen(id); });
        a->setObjectName(QString::number(id));
        a->setData(id);
        a->setCheckable(true);
        group->addAction(a);
    }
    menu_->addSeparator();
    QAction* close = menu_->addAction("Close", this, &CoordinatesWindow::close_chosen);
    close->setObjectName("0");
    close->setData(0);
    check_space(2);
}

void CoordinatesWindow::show_texts(const QString& position, const QString& colour) {
    position_ = position;
    colour_ = colour;
    repaint();
}

void CoordinatesWindow::check_space(int space) {
    for (QAction* a : menu_->actions())
        if (a->isCheckable()) a->setChecked(a->data().toInt() == space);
}

void CoordinatesWindow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setFont(font_);
    const QRect left(5, 5, w1_, height() - 10), right(5 + w1_, 5, w2_, height() - 10);
    for (const QRect& field : {left, right}) {
        QStyleOptionFrame frame;
        frame.initFrom(this);
        frame.rect = field;
        frame.lineWidth = 1;
        frame.state |= QStyle::State_Sunken;
        style()->drawPrimitive(QStyle::PE_Frame, &frame, &painter, this);
    }
    painter.setPen(palette().color(QPalette::ButtonText));
    painter.drawText(left, Qt::AlignLeft | Qt::AlignVCenter, position_);
    painter.drawText(right, Qt::AlignCenter, colour_);
}

void CoordinatesWindow::contextMenuEvent(QContextMenuEvent* event) { menu_->popup(event->globalPos()); }

}  // namespace view
