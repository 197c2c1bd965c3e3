#include "app/main_window.h"

#include <QAction>
#include <QCloseEvent>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QMouseEvent>
#include <QScreen>
#include <QStyle>

#include "app/commands.h"
#include "app/services.h"
#include "res/menu.h"
#include "res/strings.h"
#include "view/frame_display.h"
#include "view/plot_window.h"

namespace app {

QString temporary_file() { return QDir(QDir::tempPath()).filePath("vexilo.tmp"); }

MainWindow::MainWindow(QWidget* parent) : QMainWindow(parent) {
    setObjectName("menu");
    setWindowTitle(QString::fromStdString(text(res::kCaption)));
    mdi_ = new QMdiArea(this);
    mdi_->setObjectName("4000");
    setCentralWidget(mdi_);
    mdi_->viewport()->setMouseTracking(true);
    mdi_->viewport()->installEventFilter(this);
    build_menu();
    set_workspace(this);
}

MainWindow::~MainWindow() {
    shut_down();
    if (workspace() == this) set_workspace(nullptr);
}

void MainWindow::build_menu() {
    QMenuBar* bar = menuBar();
    bar->setObjectName("Menu3d");
    QMenu* popup = nullptr;
    for (int i = 0; i < res::kMenu3dSize; ++i) {
        const res::MenuEntry& e = res::kMenu3d[i];
        switch (e.kind) {
        case res::MenuEntry::Popup:
            popup = bar->addMenu(e.text);
            break;
        case res::MenuEntry::Separator:
            popup->addSeparator();
            break;
        case res::MenuEntry::End:
            if (popup->isEmpty()) popup->setEnabled(false);
            popup = nullptr;
            break;
        case res::MenuEntry::Item: {
            const CommandSpec* row = find_command(e.id);
            QAction* a = popup->addAction(row ? row->text : "?");
            a->setData(e.id);
            a->setObjectName(QString::number(e.id));
            connect(a, &QAction::triggered, this, [this, id = e.id] { run_command(id); });
            break;
        }
        }
    }
    // the save entry waits for the save module; the coordinates item is checkable
    if (QAction* save = action(40008)) save->setEnabled(false);
    if (QAction* coords = action(212)) coords->setCheckable(true);
}

QAction* MainWindow::action(int id) const {
    return menuBar()->findChild<QAction*>(QString::number(id));
}

void MainWindow::run_command(int id) {
    dispatch(id);
    // unknown ids and every command go on to the module router once modules exist
}

QList<view::FrameDisplay*> MainWindow::displays(const Volume* vol) const {
    QList<view::FrameDisplay*> found;
    for (QMdiSubWindow* sub : mdi_->subWindowList())
        if (auto* d = qobject_cast<view::FrameDisplay*>(sub->widget()))
            if (!vol || d->volume() == vol) found.append(d);
    return found;
}

QSize MainWindow::available_area() const {
    // the client area less the borders and title of a child and the button bar
    QSize area = mdi_->viewport()->size();
    if (!isVisible() || area.width() < 200 || area.height() < 200) {
        const QScreen* screen = QGuiApplication::primaryScreen();
        area = screen ? screen->availableSize() : QSize(800, 600);
        area.rheight() -= menuBar()->sizeHint().height();
    }
    const int frame = style()->pixelMetric(QStyle::PM_MdiSubWindowFrameWidth);
    const int caption = style()->pixelMetric(QStyle::PM_TitleBarHeight);
    return QSize(area.width() - 2 * frame,
                 area.height() - 2 * frame - 2 * caption - view::FrameDisplay::kButtonBarHeight);
}

bool MainWindow::display(Volume* vol, bool open_if_missing) {
    const auto shown = displays(vol);
    for (auto* d : shown) d->refresh();
    // projection windows of vol are recomputed here once they exist
    if (!shown.isEmpty() || !open_if_missing) return true;
    return open_display(vol->colortype == 1 ? 2 : 1, vol, 0.0, 0, vol->Z - 1, 0);
}

void MainWindow::release(Volume* vol) {
    const quintptr key = reinterpret_cast<quintptr>(vol);
    for (QMdiSubWindow* sub : mdi_->subWindowList()) {
        QWidget* w = sub->widget();
        if (w && w->property("v3dVolume").value<quintptr>() == key) delete sub;
    }
}

bool MainWindow::open_plot(const std::string& title, const std::vector<float>& values) {
    auto* plot = new view::PlotWindow(values);
    QMdiSubWindow* sub = mdi_->addSubWindow(
        plot, Qt::SubWindow | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                  Qt::WindowMinimizeButtonHint | Qt::WindowCloseButtonHint);
    if (!sub) {
        delete plot;
        return false;
    }
    sub->setProperty("windowClass", "signal");
    sub->setAttribute(Qt::WA_DeleteOnClose);
    sub->setWindowTitle(QString::fromStdString(title));
    if (QMenu* menu = sub->systemMenu())
        for (QAction* a : menu->actions())
            if (a->text().contains("Size") || a->text().contains("Max")) a->setEnabled(false);
    sub->resize(plot->sizeHint() + QSize(8, 30));
    sub->show();
    mdi_->setActiveSubWindow(sub);
    return true;
}

bool MainWindow::open_display(int mode, Volume* vol, double delay, int first, int last,
                              int placement) {
    if (!vol || !vol->type || first < 0 || last >= vol->Z || first > last) return false;
    auto* d = new view::FrameDisplay(vol, mode, first, last, delay, available_area());
    QMdiSubWindow* sub = mdi_->addSubWindow(
        d, Qt::SubWindow | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
               Qt::WindowMinimizeButtonHint | Qt::WindowCloseButtonHint);
    if (!sub) {
        delete d;
        return false;
    }
    sub->setProperty("windowClass", "child_3D");
    sub->setAttribute(Qt::WA_DeleteOnClose);
    QMenu* menu = sub->systemMenu();
    if (menu) {
        for (QAction* a : menu->actions())
            if (a->text().contains("Size") || a->text().contains("Max")) a->setEnabled(false);
        menu->addSeparator();
        QAction* in = menu->addAction(QString::fromStdString(text(res::kZoomIn)), d,
                                      &view::FrameDisplay::zoom_in);
        QAction* out = menu->addAction(QString::fromStdString(text(res::kZoomOut)), d,
                                       &view::FrameDisplay::zoom_out);
        in->setData(0);
        out->setData(1);
    }
    sub->adjustSize();
    if (placement == 1) sub->move(155, 25);
    if (placement == 2 || placement == 4) sub->move(10, 10);
    sub->show();
    mdi_->setActiveSubWindow(sub);
    return true;
}

void MainWindow::exit() {
    QFile::remove(temporary_file());
    close();
}

void MainWindow::closeEvent(QCloseEvent* event) {
    shut_down();
    event->accept();
}

void MainWindow::shut_down() {
    if (shut_down_) return;
    shut_down_ = true;
    // windows first, so that none shows a freed volume, then every volume
    for (QMdiSubWindow* sub : mdi_->subWindowList()) delete sub;
    shutdown_application();
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == mdi_->viewport()) {
        if (event->type() == QEvent::MouseButtonPress &&
            static_cast<QMouseEvent*>(event)->button() == Qt::RightButton) {
            reset_all_vois();
            return true;
        }
        if (event->type() == QEvent::MouseMove) {
            if (state().coordinates_shown) PrintCoordinates(32768, 0, 0, 0, 0, 0, 0);
            return true;
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

}  // namespace app
