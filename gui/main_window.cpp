#include "gui/main_window.h"

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

#include "app/command_table.h"
#include "app/modules.h"
#include "app/services.h"
#include "app/state.h"
#include "app/tools/alignment.h"
#include "app/tools/contour.h"
#include "app/tools/labelled_view.h"
#include "app/tools/tools.h"
#include "gui/dialogs/alignment.h"
#include "gui/dialogs/labelled_view.h"
#include "gui/projections.h"
#include "gui/window_messages.h"
#include "res/commands.h"
#include "res/menu.h"
#include "res/strings.h"
#include "app/tools/coordinates.h"
#include "gui/section_window.h"
#include "view/coordinates_window.h"
#include "view/frame_display.h"
#include "view/plot_window.h"
#include "view/projection_window.h"

namespace gui {
namespace {

constexpr char kClassProperty[] = "windowClass";
constexpr char kSourceProperty[] = "v3dSource";

quintptr key_of(const void* source) { return reinterpret_cast<quintptr>(source); }

// Size and Maximize are greyed in the system menu of the fixed-size children.
void grey_size_items(QMdiSubWindow* sub) {
    if (QMenu* menu = sub->systemMenu())
        for (QAction* a : menu->actions())
            if (a->text().contains("Size") || a->text().contains("Max")) a->setEnabled(false);
}

int button_bits(Qt::MouseButton button) {
    switch (button) {
    case Qt::LeftButton: return app::kLeftButton;
    case Qt::RightButton: return app::kRightButton;
    case Qt::MiddleButton: return app::kMiddleButton;
    default: return 0;
    }
}

constexpr Qt::WindowFlags kFixedChild =
    Qt::WindowTitleHint | Qt::WindowSystemMenuHint | Qt::WindowMinimizeButtonHint;

int display_mode_of(const Volume* vol) {
    return vol->colortype == V3D_COLOR_GREY ? app::kBlackAndWhite : app::kColour;
}

// The traces of a frame as the original's window marks them.
view::FrameMarks contour_marks(int frame) {
    const app::FrameTrace& t = app::contour_following().trace(frame);
    view::FrameMarks marks;
    for (const app::TracePoint& p : t.contour) marks.points.append(QPoint(p.x, p.y));
    for (const app::TracePoint& p : t.starts) marks.crosses.append(QPoint(p.x, p.y));
    return marks;
}

// Guarded pointers to the children now: deleting one may delete others (the two windows of
// contour following go together).
QList<QPointer<QMdiSubWindow>> guarded(const QList<QMdiSubWindow*>& subs) {
    QList<QPointer<QMdiSubWindow>> list;
    for (QMdiSubWindow* sub : subs) list.append(sub);
    return list;
}

}  // namespace

QString temporary_file() { return QDir(QDir::tempPath()).filePath("vexilo.tmp"); }

MainWindow::MainWindow(QWidget* parent) : QMainWindow(parent) {
    setObjectName("menu");
    setWindowTitle(res::text(res::kCaption));
    mdi_ = new QMdiArea(this);
    mdi_->setObjectName("4000");
    setCentralWidget(mdi_);
    mdi_->viewport()->setMouseTracking(true);
    mdi_->viewport()->installEventFilter(this);
    build_menu();
    app::set_workspace(this);
}

MainWindow::~MainWindow() {
    shut_down();
    if (app::workspace() == this) app::set_workspace(nullptr);
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
            const app::CommandSpec* row = app::find_command(e.id);
            QAction* a = popup->addAction(row ? row->text : "?");
            a->setData(e.id);
            a->setObjectName(QString::number(e.id));
            connect(a, &QAction::triggered, this, [this, id = e.id] { run_command(id); });
            break;
        }
        }
    }
    // the save entry waits for the save module; the coordinates item is checkable
    if (QAction* save = action(res::cmd::kSave)) save->setEnabled(false);
    for (int id : {res::cmd::kDisplayCoordinates, res::cmd::kBwContourFollowing,
                   res::cmd::kColorContourFollowing})
        if (QAction* a = action(id)) a->setCheckable(true);
}

QAction* MainWindow::action(int id) const {
    return menuBar()->findChild<QAction*>(QString::number(id));
}

void MainWindow::run_command(int id) {
    app::dispatch(id);
    int result = 0;
    app::route_module_command(id, result);
    update_checks();
}

// "Display Coordinates" is checked exactly while the read-out is shown, a contour following
// command while the contour following it started runs.
void MainWindow::update_checks() {
    if (QAction* coords = action(res::cmd::kDisplayCoordinates))
        coords->setChecked(app::coordinates_shown());
    for (int id : {res::cmd::kBwContourFollowing, res::cmd::kColorContourFollowing})
        if (QAction* a = action(id)) a->setChecked(app::contour_following().command() == id);
}

bool MainWindow::open_labelled_view() {
    auto* dialog = new LabelledViewDialog(this);
    modeless = dialog;
    dialog->show();
    return true;
}

bool MainWindow::open_contour_windows(Volume* original, Volume* output, const void* views[2]) {
    Volume* volumes[2] = {original, output};
    view::FrameDisplay* shown[2] = {nullptr, nullptr};
    for (int i = 0; i < 2; ++i) {
        shown[i] = add_display(display_mode_of(volumes[i]), volumes[i], 0.0, 0, volumes[i]->Z - 1, 2);
        if (!shown[i]) {
            close_contour_windows();
            return false;
        }
        contour_windows_[i] = qobject_cast<QMdiSubWindow*>(shown[i]->parentWidget());
    }
    connect(shown[0], &view::FrameDisplay::stepped, shown[1], &view::FrameDisplay::go_to);
    connect(shown[1], &view::FrameDisplay::stepped, shown[0], &view::FrameDisplay::go_to);
    shown[0]->set_marks(contour_marks);
    // side by side at the top left, the output active
    contour_windows_[0]->move(10, 10);
    contour_windows_[1]->move(contour_windows_[0]->frameGeometry().right() + 10, 10);
    for (int i = 0; i < 2; ++i) {
        // closing either window ends contour following, which closes the other
        connect(contour_windows_[i], &QObject::destroyed, this, [this, i] {
            contour_windows_[i] = nullptr;
            app::contour_following().end();
            update_checks();
        });
        contour_windows_[i]->show();
        views[i] = shown[i];
    }
    mdi_->setActiveSubWindow(contour_windows_[1]);
    return true;
}

void MainWindow::close_contour_windows() {
    for (QPointer<QMdiSubWindow>& sub : contour_windows_) {
        QMdiSubWindow* window = sub;
        sub = nullptr;
        delete window;
    }
}

bool MainWindow::open_alignment_toolbox() {
    auto* toolbox = new AlignToolbox(this);
    align_toolbox_ = toolbox;
    toolbox->show();
    return true;
}

// The tool has ended: the toolbox goes when the event loop gets to it (this may be its own
// close event).
void MainWindow::close_alignment_toolbox() {
    if (!align_toolbox_) return;
    align_toolbox_->hide();
    align_toolbox_->deleteLater();
    align_toolbox_ = nullptr;
}

void MainWindow::alignment_changed(void* view) {
    for (QWidget* w : windows_of(kProjectionClass))
        if (w == view) static_cast<view::ProjectionWindow*>(w)->picture_changed();
    if (align_toolbox_) static_cast<AlignToolbox*>(align_toolbox_.data())->refresh();
}

// The window goes when the event loop gets to it: the tool may end inside one of the
// window's own events.
void MainWindow::close_projection(void* window) {
    for (QWidget* w : windows_of(kProjectionClass))
        if (w == window) {
            QWidget* sub = w->parentWidget();
            sub->hide();
            sub->deleteLater();
            return;
        }
}

bool MainWindow::show_coordinates(bool show) {
    if (!show) {
        if (coordinates_) coordinates_->hide();
        return true;
    }
    if (!coordinates_) {
        coordinates_ = new view::CoordinatesWindow(res::text(res::kCoordinates), this);
        connect(coordinates_, &view::CoordinatesWindow::space_chosen, this, [this](int space) {
            app::set_colour_space(space);
            coordinates_->check_space(space);
            readout_changed();
        });
        connect(coordinates_, &view::CoordinatesWindow::close_chosen, this,
                &MainWindow::hide_coordinates);
        connect(coordinates_, &QObject::destroyed, this, [] { app::set_coordinates_shown(false); });
    }
    readout_changed();
    coordinates_->show();
    return true;
}

// "Close" of the read-out's menu: hidden, the item unchecked.
void MainWindow::hide_coordinates() {
    if (coordinates_) coordinates_->hide();
    app::set_coordinates_shown(false);
    if (QAction* coords = action(res::cmd::kDisplayCoordinates)) coords->setChecked(false);
    activateWindow();
}

void MainWindow::readout_changed() {
    if (!coordinates_) return;
    const app::Readout& r = app::readout();
    coordinates_->show_texts(
        QString::fromStdString(app::position_text(r)),
        QString::fromStdString(app::colour_text(r, app::colour_space(), app::state().white)));
}

QMdiSubWindow* MainWindow::add_child(QWidget* widget, const char* window_class,
                                     const void* source, Qt::WindowFlags flags) {
    widget->setProperty(kClassProperty, window_class);
    widget->setProperty(kSourceProperty, QVariant::fromValue(key_of(source)));
    QMdiSubWindow* sub = mdi_->addSubWindow(
        widget, Qt::SubWindow | Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint | flags);
    if (!sub) {
        delete widget;
        return nullptr;
    }
    sub->setProperty(kClassProperty, window_class);
    sub->setAttribute(Qt::WA_DeleteOnClose);
    return sub;
}

QList<QWidget*> MainWindow::windows_of(const char* window_class, const void* source) const {
    QList<QWidget*> found;
    for (QMdiSubWindow* sub : mdi_->subWindowList()) {
        QWidget* w = sub->widget();
        if (!w || w->property(kClassProperty).toString() != window_class) continue;
        if (!source || w->property(kSourceProperty).value<quintptr>() == key_of(source))
            found.append(w);
    }
    return found;
}

QList<view::FrameDisplay*> MainWindow::displays(const Volume* vol) const {
    QList<view::FrameDisplay*> found;
    for (QWidget* w : windows_of(kDisplayClass, vol))
        found.append(static_cast<view::FrameDisplay*>(w));
    return found;
}

QSize MainWindow::client_area() const {
    QSize area = mdi_->viewport()->size();
    if (!isVisible() || area.width() < 200 || area.height() < 200) {
        const QScreen* screen = QGuiApplication::primaryScreen();
        area = screen ? screen->availableSize() : QSize(800, 600);
        area.rheight() -= menuBar()->sizeHint().height();
    }
    return area;
}

QSize MainWindow::available_area() const {
    // the client area less the borders and title of a child and the button bar
    const QSize area = client_area();
    const int frame = style()->pixelMetric(QStyle::PM_MdiSubWindowFrameWidth);
    const int caption = style()->pixelMetric(QStyle::PM_TitleBarHeight);
    return QSize(area.width() - 2 * frame,
                 area.height() - 2 * frame - 2 * caption - view::FrameDisplay::kButtonBarHeight);
}

// The client area less a child's frame and caption, and less both scroll bars: they are
// always there, and a picture that fits is then seen whole.
app::ClientSize MainWindow::projection_area() const {
    const QSize area = client_area();
    const int frame = style()->pixelMetric(QStyle::PM_MdiSubWindowFrameWidth);
    const int caption = style()->pixelMetric(QStyle::PM_TitleBarHeight);
    const int bar = style()->pixelMetric(QStyle::PM_ScrollBarExtent);
    return {area.width() - 2 * frame - bar, area.height() - 2 * frame - caption - bar};
}

void* MainWindow::open_projection(std::unique_ptr<app::ProjectionWindowRecord>& record,
                                  Projection* proj, const std::string& title) {
    return gui::open_projection(*this, record, proj, QString::fromStdString(title));
}

bool MainWindow::set_projection_buffer(void* window, Buffer* buffer) {
    for (QWidget* w : windows_of(kProjectionClass))
        if (w == window)
            if (ProjectionProcedure* procedure = procedure_of(w); procedure && !procedure->ended()) {
                procedure->set_buffer(buffer);
                return true;
            }
    return false;
}

// The menu resource holds a plain "&Modules" entry as the fourth top-level item; the first
// module's popup puts a real popup in its place.
bool MainWindow::install_modules_menu() {
    if (modules_menu_) return true;
    QMenuBar* bar = menuBar();
    auto* menu = new QMenu(res::kModulesMenu, bar);
    menu->setObjectName("Modules");
    const QList<QAction*> top = bar->actions();
    if (top.size() > 3) {
        bar->insertMenu(top[3], menu);
        bar->removeAction(top[3]);
        delete top[3]->menu();
    } else {
        bar->addMenu(menu);
    }
    modules_menu_ = menu;
    return true;
}

void* MainWindow::append_module_popup(const std::string& title, const std::vector<ModuleItem>& items) {
    if (!modules_menu_) return nullptr;
    QMenu* popup = modules_menu_->addMenu(QString::fromStdString(title));
    for (const ModuleItem& item : items) {
        if (item.separator_before) popup->addSeparator();
        QAction* a = popup->addAction(QString::fromStdString(item.text));
        a->setData(item.id);
        a->setObjectName(QString::number(item.id));
        a->setEnabled(!item.greyed);
        connect(a, &QAction::triggered, this, [this, id = item.id] { run_command(id); });
    }
    menuBar()->update();
    return popup;
}

void MainWindow::set_module_item_state(int id, unsigned state) {
    if (!modules_menu_) return;
    QAction* a = modules_menu_->findChild<QAction*>(QString::number(id));
    if (!a) return;
    a->setEnabled(!(state & (MF_GRAYED | MF_DISABLED)));
    if (state & MF_CHECKED) a->setCheckable(true);
    a->setChecked(state & MF_CHECKED);
    menuBar()->update();
}

void MainWindow::enable_save() {
    if (QAction* save = action(res::cmd::kSave)) save->setEnabled(true);
    menuBar()->update();
}

// Repaints vol's display windows (opening one when there is none and open_if_missing), then
// its projection windows are rendered again.
bool MainWindow::display(Volume* vol, bool open_if_missing) {
    const auto shown = displays(vol);
    for (auto* d : shown) d->refresh();
    for (QWidget* w : windows_of(kSectionClass, vol)) static_cast<SectionWindow*>(w)->refresh();
    if (!open_if_missing) return true;
    const bool opened = !shown.isEmpty() || open_display(display_mode_of(vol), vol, 0.0, 0, vol->Z - 1, 0);
    update_projections(*this, vol);
    return opened;
}

void MainWindow::release(Volume* vol) {
    for (const QPointer<QMdiSubWindow>& sub : guarded(mdi_->subWindowList())) {
        if (!sub) continue;
        QWidget* w = sub->widget();
        if (w && w->property(kSourceProperty).value<quintptr>() == key_of(vol)) delete sub;
    }
}

bool MainWindow::open_plot(const std::string& title, const std::vector<float>& values) {
    auto* plot = new view::PlotWindow(values);
    QMdiSubWindow* sub = add_child(plot, kPlotClass, nullptr, kFixedChild);
    if (!sub) return false;
    sub->setWindowTitle(QString::fromStdString(title));
    grey_size_items(sub);
    sub->resize(plot->sizeHint() + QSize(8, 30));
    sub->show();
    mdi_->setActiveSubWindow(sub);
    return true;
}

bool MainWindow::open_section_view(Volume* vol) {
    if (!vol || vol->type != V3D_TYPE_UC) return false;
    // the client takes two thirds of the screen each way (the height less the menu's)
    const QScreen* screen = QGuiApplication::primaryScreen();
    const QSize metrics = screen ? screen->availableSize() : QSize(800, 600);
    const QSize client(metrics.width() * 2 / 3,
                       (metrics.height() - menuBar()->sizeHint().height()) * 2 / 3);
    auto* sections = new SectionWindow(vol, client);
    QMdiSubWindow* sub = add_child(sections, kSectionClass, vol,
                                   Qt::WindowTitleHint | Qt::WindowMinimizeButtonHint);
    if (!sub) return false;
    sub->setWindowTitle(QString::fromStdString(
        res::format(res::kSectionViewTitle, GetVolumeIndex(vol))));
    // moving over the window's frame or caption blanks the read-out
    sub->setMouseTracking(true);
    sub->installEventFilter(this);
    sub->adjustSize();
    sub->show();
    mdi_->setActiveSubWindow(sub);
    return true;
}

view::FrameDisplay* MainWindow::add_display(int mode, Volume* vol, double delay, int first,
                                            int last, int buttons) {
    if (!vol || !vol->type || first < 0 || last >= vol->Z || first > last) return nullptr;
    auto* d = new view::FrameDisplay(vol, mode, first, last, delay, available_area(), buttons);
    QMdiSubWindow* sub = add_child(d, kDisplayClass, vol, kFixedChild);
    if (!sub) return nullptr;
    // what happens over the image pane is offered to the modules' display handlers first
    new WindowMessages(app::HandlerList::Displays, d, d->pane()->viewport(), sub);
    connect_display(d);
    grey_size_items(sub);
    // moving over the window's frame or caption blanks the read-out
    sub->setMouseTracking(true);
    sub->installEventFilter(this);
    if (QMenu* menu = sub->systemMenu()) {
        menu->addSeparator();
        menu->addAction(res::text(res::kZoomIn), d, &view::FrameDisplay::zoom_in)->setData(0);
        menu->addAction(res::text(res::kZoomOut), d, &view::FrameDisplay::zoom_out)->setData(1);
    }
    sub->adjustSize();
    return d;
}

bool MainWindow::open_display(int mode, Volume* vol, double delay, int first, int last,
                              int placement) {
    view::FrameDisplay* d = add_display(mode, vol, delay, first, last, 6);
    if (!d) return false;
    auto* sub = static_cast<QMdiSubWindow*>(d->parentWidget());
    if (placement == 1) sub->move(155, 25);
    if (placement == 2 || placement == 4) sub->move(10, 10);
    sub->show();
    mdi_->setActiveSubWindow(sub);
    return true;
}

// What the user does in a display window goes to the tools; the title follows the frame.
void MainWindow::connect_display(view::FrameDisplay* d) {
    Volume* vol = d->volume();
    auto retitle = [d](int frame) {
        d->setWindowTitle(QString::fromStdString(
            app::display_title(GetVolumeIndex(d->volume()), d->first(), d->last(), frame)));
    };
    retitle(d->current());
    connect(d, &view::FrameDisplay::frame_shown, d, retitle);
    connect(d, &view::FrameDisplay::voxel_hovered, this,
            [vol](int z, int y, int x) { app::voxel_hovered(vol, z, y, x); });
    connect(d, &view::FrameDisplay::image_left, this, [] { app::left_images(); });
    connect(d, &view::FrameDisplay::voxel_clicked, this,
            [vol, d](int z, int y, int x, Qt::MouseButton button) {
                app::voxel_clicked({vol, z, y, x, button_bits(button), d});
            });
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
    // the tools and windows first, so that none shows a freed volume, then every volume
    delete modeless;
    app::contour_following().end();
    app::alignment().end();
    for (const QPointer<QMdiSubWindow>& sub : guarded(mdi_->subWindowList())) delete sub;
    app::shutdown_application();
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event) {
    if (qobject_cast<QMdiSubWindow*>(watched) &&
        (event->type() == QEvent::MouseMove || event->type() == QEvent::HoverMove))
        app::left_images();
    if (watched == mdi_->viewport()) {
        if (event->type() == QEvent::MouseButtonPress &&
            static_cast<QMouseEvent*>(event)->button() == Qt::RightButton) {
            app::reset_all_vois();
            return true;
        }
        if (event->type() == QEvent::MouseMove) {
            app::left_images();
            return true;
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

}  // namespace gui
