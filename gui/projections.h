// Projection windows in the frame window: opening them, their window procedure (what happens
// to a window becomes a message offered to the modules' handlers of list A first, then the
// window's own handling), and the update walk after a volume changed.
#pragma once

#include <QObject>
#include <QString>
#include <memory>

#include "app/projections.h"
#include "gui/window_messages.h"

class QMdiSubWindow;

namespace view {
class ProjectionWindow;
}

namespace gui {

class MainWindow;

inline constexpr char kProjectionClass[] = "projection";

// The procedure of one projection window; it owns the window's buffer, projection record and
// window record, and frees them when the window is destroyed.
class ProjectionProcedure : public WindowMessages {
    Q_OBJECT
public:
    ProjectionProcedure(view::ProjectionWindow* window, QMdiSubWindow* sub,
                        std::unique_ptr<app::ProjectionWindowRecord> record, Projection* proj);
    ~ProjectionProcedure() override;

    // A message that no event of the window system brings (the update message, the system
    // menu's commands): offered to the modules, then handled. What the window answers.
    intptr_t send(unsigned msg, uintptr_t wp, intptr_t lp);
    // The window shows buffer from now on: another buffer replaces (and frees) its own, the
    // ranges following the new size; its own is shown again.
    void set_buffer(Buffer* buffer);

    Projection* projection() const { return proj_; }
    const app::ProjectionWindowRecord& record() const { return *record_; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void own_mouse(unsigned msg, uintptr_t wp, intptr_t lp) override;
    void own_resize(QSize client) override;
    bool own_close() override;

private:
    // A scroll-bar message: offered, then the window's own move.
    void scroll(Qt::Orientation orientation, int code, int thumb);
    void destroyed_window();

    view::ProjectionWindow* view_;
    std::unique_ptr<app::ProjectionWindowRecord> record_;
    Projection* proj_;
};

// Opens the window of Workspace::open_projection: its handle, or null (nothing taken).
void* open_projection(MainWindow& main, std::unique_ptr<app::ProjectionWindowRecord>& record,
                      Projection* proj, const QString& title);
// The procedure of a projection window (null for another widget).
ProjectionProcedure* procedure_of(QWidget* window);
// Every projection window of vol gets the update message while "Updating projections ..."
// shows which one is at work.
void update_projections(MainWindow& main, Volume* vol);

}  // namespace gui
