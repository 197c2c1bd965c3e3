// The frame window: "VEXILO3D for Windows", the menu "Menu3d" and the MDI client that holds
// the document windows. Every MDI child is added through add_child with its window class and
// the volume (or other source) it shows, so that one walk finds "the windows of class C
// showing v" for DisplayVolume, freedisWin and the update of projections.
#pragma once

#include <QMainWindow>
#include <QPointer>

#include "app/workspace.h"
#include "view/coordinates_window.h"

class QMdiArea;
class QMenu;
class QMdiSubWindow;

namespace view {
class FrameDisplay;
}

namespace gui {

// Window classes of the MDI children.
inline constexpr char kDisplayClass[] = "child_3D";
inline constexpr char kPlotClass[] = "signal";

class MainWindow : public QMainWindow, public app::Workspace {
    Q_OBJECT
public:
    explicit MainWindow(QWidget* parent = nullptr);
    ~MainWindow() override;

    QMdiArea* mdi() const { return mdi_; }
    // The action of a command id (null when the menu has none).
    QAction* action(int id) const;
    // Runs a command as the menu does: the built-in dispatcher, then the module router, with
    // the same id in every case.
    void run_command(int id);

    // Adds widget as an MDI child of window_class showing source, with the caption flags of
    // flags (a system menu and a close button always); the child is deleted when closed.
    QMdiSubWindow* add_child(QWidget* widget, const char* window_class, const void* source,
                             Qt::WindowFlags flags);
    // The children of window_class showing source (every one of the class for null).
    QList<QWidget*> windows_of(const char* window_class, const void* source = nullptr) const;
    // The display windows of vol (all of them for null).
    QList<view::FrameDisplay*> displays(const Volume* vol = nullptr) const;
    // The area a new display's pane may take.
    QSize available_area() const;

    // The one modeless dialog that may be open (the labelled-volume view).
    QPointer<QWidget> modeless;

    // app::Workspace
    bool display(Volume* vol, bool open_if_missing) override;
    void release(Volume* vol) override;
    bool open_display(int mode, Volume* vol, double delay, int first, int last,
                      int placement) override;
    bool open_plot(const std::string& title, const std::vector<float>& values) override;
    bool open_section_view(Volume* vol) override;
    app::ClientSize projection_area() const override;
    void* open_projection(std::unique_ptr<app::ProjectionWindowRecord>& record, Projection* proj,
                          const std::string& title) override;
    bool set_projection_buffer(void* window, Buffer* buffer) override;
    bool install_modules_menu() override;
    void* append_module_popup(const std::string& title, const std::vector<ModuleItem>& items) override;
    void set_module_item_state(int id, unsigned state) override;
    void enable_save() override;
    void* frame_handle() override { return static_cast<QWidget*>(this); }
    void* client_handle() override { return mdi_; }
    bool show_coordinates(bool show) override;
    bool open_labelled_view() override;
    bool open_contour_windows(Volume* original, Volume* output, const void* views[2]) override;
    void close_contour_windows() override;
    bool open_alignment_toolbox() override;
    void close_alignment_toolbox() override;
    void alignment_changed(void* view) override;
    void close_projection(void* window) override;
    void readout_changed() override;
    void exit() override;

    // The coordinates read-out, once it was shown.
    view::CoordinatesWindow* coordinates() const { return coordinates_; }
    // The alignment tool's toolbox while the tool runs.
    QWidget* alignment_toolbox() const { return align_toolbox_; }

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void build_menu();
    // The check marks of the menu: Display Coordinates, the contour following that runs.
    void update_checks();
    // A display window of vol, not yet shown; null when it could not be created.
    view::FrameDisplay* add_display(int mode, Volume* vol, double delay, int first, int last,
                                    int buttons);
    // The MDI client's size (the screen's when the frame is not shown yet).
    QSize client_area() const;
    void connect_display(view::FrameDisplay* display);
    void hide_coordinates();
    void shut_down();

    QMdiArea* mdi_;
    QPointer<QMenu> modules_menu_;
    QPointer<view::CoordinatesWindow> coordinates_;
    QPointer<QMdiSubWindow> contour_windows_[2];
    QPointer<QWidget> align_toolbox_;
    bool shut_down_ = false;
};

// The file Exit removes: vexilo.tmp in the system's temporary folder.
QString temporary_file();

}  // namespace gui
