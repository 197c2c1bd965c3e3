#include "gui/projections.h"

#include <QAbstractSlider>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMouseEvent>
#include <QPointer>

#include "app/messages.h"
#include "gui/dialogs/alignment.h"
#include "gui/dialogs/updating.h"
#include "gui/main_window.h"
#include "res/commands.h"
#include "res/strings.h"
#include "view/projection_window.h"

namespace gui {
namespace {

constexpr Qt::WindowFlags kOverlappedChild =
    Qt::WindowTitleHint | Qt::WindowMinMaxButtonsHint;

// The scroll-bar code of a bar action.
int scroll_code(int action) {
    switch (action) {
    case QAbstractSlider::SliderSingleStepSub: return SB_LINEUP;
    case QAbstractSlider::SliderSingleStepAdd: return SB_LINEDOWN;
    case QAbstractSlider::SliderPageStepSub: return SB_PAGEUP;
    case QAbstractSlider::SliderPageStepAdd: return SB_PAGEDOWN;
    case QAbstractSlider::SliderToMinimum: return SB_TOP;
    case QAbstractSlider::SliderToMaximum: return SB_BOTTOM;
    case QAbstractSlider::SliderMove: return SB_THUMBTRACK;
    default: return SB_ENDSCROLL;
    }
}

// The buttons and keys held during a mouse event, as MK_ bits.
uintptr_t mouse_keys(const QMouseEvent* e) {
    uintptr_t keys = 0;
    if (e->buttons() & Qt::LeftButton) keys |= MK_LBUTTON;
    if (e->buttons() & Qt::RightButton) keys |= MK_RBUTTON;
    if (e->buttons() & Qt::MiddleButton) keys |= MK_MBUTTON;
    if (e->modifiers() & Qt::ShiftModifier) keys |= MK_SHIFT;
    if (e->modifiers() & Qt::ControlModifier) keys |= MK_CONTROL;
    return keys;
}

// The mouse message of an event (0 for none). The class takes no double clicks: the second
// press of one is a press.
unsigned mouse_message(const QMouseEvent* e) {
    const bool press = e->type() == QEvent::MouseButtonPress || e->type() == QEvent::MouseButtonDblClick;
    if (e->type() == QEvent::MouseMove) return WM_MOUSEMOVE;
    if (!press && e->type() != QEvent::MouseButtonRelease) return 0;
    switch (e->button()) {
    case Qt::LeftButton: return press ? WM_LBUTTONDOWN : WM_LBUTTONUP;
    case Qt::RightButton: return press ? WM_RBUTTONDOWN : WM_RBUTTONUP;
    case Qt::MiddleButton: return press ? WM_MBUTTONDOWN : WM_MBUTTONUP;
    default: return 0;
    }
}

}  // namespace

ProjectionProcedure::ProjectionProcedure(view::ProjectionWindow* window, QMdiSubWindow* sub,
                                         std::unique_ptr<app::ProjectionWindowRecord> record,
                                         Projection* proj)
    : QObject(window), window_(window), sub_(sub), record_(std::move(record)), proj_(proj) {
    window->viewport()->installEventFilter(this);
    sub->installEventFilter(this);
    if (app::is_alignment_view(proj)) window->installEventFilter(this);  // its keys
    connect(window, &view::ProjectionWindow::scroll_action, this,
            [this](Qt::Orientation o, int action, int thumb) { scroll(o, scroll_code(action), thumb); });
    connect(window, &view::ProjectionWindow::thumb_released, this,
            [this](Qt::Orientation o, int thumb) { scroll(o, SB_THUMBPOSITION, thumb); });
    connect(window, &view::ProjectionWindow::destroying, this, &ProjectionProcedure::destroyed_window);
}

ProjectionProcedure::~ProjectionProcedure() { destroyed_window(); }

bool ProjectionProcedure::taken_by_module(unsigned msg, uintptr_t wp, intptr_t lp, long& result) {
    return app::offer_message(app::HandlerList::Projections, window_, msg, wp, lp, result);
}

long ProjectionProcedure::send(unsigned msg, uintptr_t wp, intptr_t lp) {
    long result = 0;
    if (!alive_ || taken_by_module(msg, wp, lp, result)) return result;
    switch (msg) {
    case WM_USER:
        if (app::update_projection(proj_, record_->buffer)) window_->picture_changed();
        break;
    case WM_SYSCOMMAND:
        if (wp == res::cmd::kSaveProjection) app::save_buffer(record_->buffer);
        break;
    default:
        break;
    }
    return 0;
}

// The thumb's position travels in the message's high word; the move uses the whole of it, so
// that pictures taller than 65535 rows scroll too.
void ProjectionProcedure::scroll(Qt::Orientation orientation, int code, int thumb) {
    const bool vertical = orientation == Qt::Vertical;
    const unsigned msg = vertical ? WM_VSCROLL : WM_HSCROLL;
    long result = 0;
    if (!alive_ || taken_by_module(msg, app::make_wparam(code, thumb), 0, result)) return;
    if (app::scroll(*record_, vertical, code, thumb))
        window_->scroll_to(orientation, vertical ? record_->vpos : record_->hpos);
}

bool ProjectionProcedure::eventFilter(QObject* watched, QEvent* event) {
    if (!alive_) return false;
    long result = 0;
    if (watched == sub_) {
        // a module may keep the window open; the alignment view's close closes the toolbox,
        // which may keep it open
        if (event->type() != QEvent::Close) return false;
        if (!taken_by_module(WM_CLOSE, 0, 0, result) &&
            !(app::is_alignment_view(proj_) && app::alignment_view_close(window_)))
            return false;
        event->ignore();
        return true;
    }
    if (watched == window_)  // the alignment view's keys go to the tool
        return event->type() == QEvent::KeyPress && send_align_key(static_cast<QKeyEvent*>(event));
    switch (event->type()) {
    case QEvent::MouseMove:
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseButtonRelease: {
        const auto* e = static_cast<QMouseEvent*>(event);
        const unsigned msg = mouse_message(e);
        if (!msg) return false;
        const QPoint at = e->position().toPoint();
        const intptr_t lp = app::make_lparam(at.x(), at.y());
        if (taken_by_module(msg, mouse_keys(e), lp, result)) return true;
        app::projection_mouse(proj_, window_, msg, mouse_keys(e), lp);
        return false;
    }
    case QEvent::Paint:
        return taken_by_module(WM_PAINT, 0, 0, result);
    case QEvent::Resize: {
        const QSize client = window_->viewport()->size();
        if (taken_by_module(WM_SIZE, SIZE_RESTORED, app::make_lparam(client.width(), client.height()), result))
            return false;  // the viewport keeps its new size whatever a module says
        app::resize_client(*record_, {client.width(), client.height()});
        window_->set_ranges(record_->hrange, record_->vrange);
        return false;
    }
    default:
        return false;
    }
}

// The window's end: the modules hear of it while the buffer is still there, then the buffer
// and the projection record go (the window record goes with the procedure).
void ProjectionProcedure::destroyed_window() {
    if (!alive_) return;
    long result = 0;
    taken_by_module(WM_DESTROY, 0, 0, result);
    alive_ = false;
    if (app::is_alignment_view(proj_)) app::alignment_view_destroyed(window_);  // the tool ends
    DestroyBuffer(record_->buffer);
    record_->buffer = nullptr;
    DestroyProjection(proj_);
    proj_ = nullptr;
}

void* open_projection(MainWindow& main, std::unique_ptr<app::ProjectionWindowRecord>& record,
                      Projection* proj, const QString& title) {
    const Buffer* buffer = record->buffer;
    const QSize client(buffer->width - record->hrange, buffer->height - record->vrange);
    auto* window = new view::ProjectionWindow(buffer, client);
    window->setWindowTitle(title);
    QMdiSubWindow* sub = main.add_child(window, kProjectionClass, proj->source, kOverlappedChild);
    if (!sub) return nullptr;
    const int hrange = record->hrange, vrange = record->vrange;
    auto* procedure = new ProjectionProcedure(window, sub, std::move(record), proj);
    if (app::is_alignment_view(proj)) app::alignment_view_created(window);  // the single one
    if (!app::is_alignment_view(proj))
        if (QMenu* menu = sub->systemMenu()) {
            menu->addSeparator();
            QAction* save = menu->addAction(res::text(res::kSaveProjection));
            save->setObjectName(QString::number(res::cmd::kSaveProjection));
            save->setEnabled(app::save_buffer_available());
            QObject::connect(save, &QAction::triggered, procedure,
                             [procedure] { procedure->send(WM_SYSCOMMAND, res::cmd::kSaveProjection, 0); });
        }
    window->set_ranges(hrange, vrange);
    sub->adjustSize();
    sub->show();
    main.mdi()->setActiveSubWindow(sub);
    return window;
}

ProjectionProcedure* procedure_of(QWidget* window) {
    return window ? window->findChild<ProjectionProcedure*>(QString(), Qt::FindDirectChildrenOnly) : nullptr;
}

// The note is shown only when vol has projection windows: every operator ends by displaying
// its output, and a dialog flashing after each one would tell nothing.
void update_projections(MainWindow& main, Volume* vol) {
    QList<QPointer<QWidget>> windows;
    for (QWidget* w : main.windows_of(kProjectionClass, vol)) windows.append(w);
    if (windows.isEmpty()) return;
    UpdatingDialog note(&main);
    note.show();
    // a module's handler may close windows of the walk meanwhile
    for (const QPointer<QWidget>& w : windows) {
        ProjectionProcedure* procedure = procedure_of(w);
        if (!procedure) continue;
        note.show_title(w->windowTitle());
        procedure->send(WM_USER, 0, 0);
    }
}

}  // namespace gui
