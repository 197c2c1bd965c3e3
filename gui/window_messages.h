// The modules' view of a window: what happens to it (mouse, paint and size of its client area,
// the closing and the end of the window) becomes a message numbered and packed as the Windows
// messages are, offered to the handlers of the window's list before the window handles it. A
// message that a module takes is not handled by the window: its event is swallowed (a module
// that takes WM_CLOSE keeps the window open). Projection windows (list A) and frame display
// windows (list B) both go through here.
#pragma once

#include <QObject>
#include <QSize>
#include <cstdint>

#include "app/messages.h"

class QMdiSubWindow;
class QWidget;

namespace gui {

class WindowMessages : public QObject {
    Q_OBJECT
public:
    // window: the handle the modules are given (and this object's parent); client: the widget
    // whose mouse, paint and size events become messages; sub: the MDI frame that closes it.
    WindowMessages(app::HandlerList list, QWidget* window, QWidget* client, QMdiSubWindow* sub);
    ~WindowMessages() override;

    // Offers a message; true when a module took it, with what the window returns.
    bool offer(unsigned msg, uintptr_t wp, intptr_t lp, intptr_t& result);
    // The window ends: WM_DESTROY reaches the modules once; nothing is offered afterwards.
    void end();
    bool ended() const { return !alive_; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    // The window's own handling of a mouse message no module took, and of a new client size
    // (the client keeps that size whatever a module says).
    virtual void own_mouse(unsigned /*msg*/, uintptr_t /*wp*/, intptr_t /*lp*/) {}
    virtual void own_resize(QSize /*client*/) {}
    // The window's own answer to a close that no module took: true keeps it open.
    virtual bool own_close() { return false; }

    QWidget* window_;

private:
    app::HandlerList list_;
    QWidget* client_;
    QMdiSubWindow* sub_;
    bool alive_ = true;
};

}  // namespace gui
