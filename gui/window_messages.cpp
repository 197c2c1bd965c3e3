#include "gui/window_messages.h"

#include <QMdiSubWindow>
#include <QMouseEvent>
#include <QWidget>

namespace gui {
namespace {

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

// The mouse message of an event (0 for none). The windows take no double clicks: the second
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

WindowMessages::WindowMessages(app::HandlerList list, QWidget* window, QWidget* client,
                               QMdiSubWindow* sub)
    : QObject(window), window_(window), list_(list), client_(client), sub_(sub) {
    client->installEventFilter(this);
    if (sub) sub->installEventFilter(this);
}

WindowMessages::~WindowMessages() { end(); }

bool WindowMessages::offer(unsigned msg, uintptr_t wp, intptr_t lp, intptr_t& result) {
    return alive_ && app::offer_message(list_, window_, msg, wp, lp, result);
}

void WindowMessages::end() {
    if (!alive_) return;
    intptr_t result = 0;
    offer(WM_DESTROY, 0, 0, result);
    alive_ = false;
}

bool WindowMessages::eventFilter(QObject* watched, QEvent* event) {
    if (!alive_) return false;
    intptr_t result = 0;
    if (watched == sub_) {
        if (event->type() != QEvent::Close || (!offer(WM_CLOSE, 0, 0, result) && !own_close()))
            return false;
        event->ignore();
        return true;
    }
    if (watched != client_) return false;
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
        if (offer(msg, mouse_keys(e), lp, result)) return true;
        own_mouse(msg, mouse_keys(e), lp);
        return false;
    }
    case QEvent::Paint:
        return offer(WM_PAINT, 0, 0, result);
    case QEvent::Resize: {
        const QSize client = client_->size();
        if (!offer(WM_SIZE, SIZE_RESTORED, app::make_lparam(client.width(), client.height()), result))
            own_resize(client);
        return false;
    }
    default:
        return false;
    }
}

}  // namespace gui
