#include "gui/projections.h"

#include <QAbstractSlider>
#include <QKeyEvent>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
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

}  // namespace

ProjectionProcedure::ProjectionProcedure(view::ProjectionWindow* window, QMdiSubWindow* sub,
                                         std::unique_ptr<app::ProjectionWindowRecord> record,
                                         Projection* proj)
    : WindowMessages(app::HandlerList::Projections, window, window->viewport(), sub),
      view_(window), record_(std::move(record)), proj_(proj) {
    connect(window, &view::ProjectionWindow::scroll_action, this,
            [this](Qt::Orientation o, int action, int thumb) { scroll(o, scroll_code(action), thumb); });
    connect(window, &view::ProjectionWindow::thumb_released, this,
            [this](Qt::Orientation o, int thumb) { scroll(o, SB_THUMBPOSITION, thumb); });
    connect(window, &view::ProjectionWindow::destroying, this, &ProjectionProcedure::destroyed_window);
    if (app::is_alignment_view(proj)) window->installEventFilter(this);  // its keys
}

// The alignment view's keys go to the tool; everything else is the modules' first.
bool ProjectionProcedure::eventFilter(QObject* watched, QEvent* event) {
    if (watched == view_)
        return !ended() && event->type() == QEvent::KeyPress &&
               send_align_key(static_cast<QKeyEvent*>(event));
    return WindowMessages::eventFilter(watched, event);
}

// The alignment view's close closes the toolbox, which may keep it open.
bool ProjectionProcedure::own_close() {
    return app::is_alignment_view(proj_) && app::alignment_view_close(view_);
}

ProjectionProcedure::~ProjectionProcedure() { destroyed_window(); }

intptr_t ProjectionProcedure::send(unsigned msg, uintptr_t wp, intptr_t lp) {
    intptr_t result = 0;
    if (ended() || offer(msg, wp, lp, result)) return result;
    switch (msg) {
    case WM_USER:
        if (app::update_projection(proj_, record_->buffer)) view_->picture_changed();
        break;
    case WM_SYSCOMMAND:
        if (wp == res::cmd::kSaveProjection) app::save_buffer(record_->buffer);
        break;
    default:
        break;
    }
    return 0;
}

void ProjectionProcedure::set_buffer(Buffer* buffer) {
    if (ended()) return;
    if (buffer != record_->buffer) {
        DestroyBuffer(record_->buffer);
        record_->buffer = buffer;
        view_->set_buffer(buffer);
        own_resize(view_->viewport()->size());
    }
    // painted with the next round of events: a module may hand a picture while the window is
    // being resized, and a drag that turns the view paints once for the moves that came together
    view_->viewport()->update();
}

// The thumb's position travels in the message's high word; the move uses the whole of it, so
// that pictures taller than 65535 rows scroll too.
void ProjectionProcedure::scroll(Qt::Orientation orientation, int code, int thumb) {
    const bool vertical = orientation == Qt::Vertical;
    const unsigned msg = vertical ? WM_VSCROLL : WM_HSCROLL;
    intptr_t result = 0;
    if (ended() || offer(msg, app::make_wparam(code, thumb), 0, result)) return;
    if (app::scroll(*record_, vertical, code, thumb))
        view_->scroll_to(orientation, vertical ? record_->vpos : record_->hpos);
}

void ProjectionProcedure::own_mouse(unsigned msg, uintptr_t wp, intptr_t lp) {
    app::projection_mouse(proj_, view_, msg, wp, lp);
}

void ProjectionProcedure::own_resize(QSize client) {
    app::resize_client(*record_, {client.width(), client.height()});
    view_->set_ranges(record_->hrange, record_->vrange);
}

// The window's end: the modules hear of it while the buffer is still there, then the buffer
// and the projection record go (the window record goes with the procedure).
void ProjectionProcedure::destroyed_window() {
    if (ended()) return;
    end();
    if (app::is_alignment_view(proj_)) app::alignment_view_destroyed(view_);  // the tool ends
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
