// The frame window: "VEXILO3D for Windows", the menu "Menu3d" and the MDI client that holds
// the display windows. It provides the window services of DisplayVolume and freedisWin.
#pragma once

#include <QMainWindow>
#include <QPointer>

#include "app/state.h"

class QMdiArea;
class QMdiSubWindow;

namespace view {
class FrameDisplay;
}

namespace app {

class MainWindow : public QMainWindow, public Workspace {
    Q_OBJECT
public:
    explicit MainWindow(QWidget* parent = nullptr);
    ~MainWindow() override;

    QMdiArea* mdi() const { return mdi_; }
    // The action of a command id (null when the menu has none).
    QAction* action(int id) const;
    // Runs a command as the menu does.
    void run_command(int id);
    // The display windows of vol (all of them for null).
    QList<view::FrameDisplay*> displays(const Volume* vol = nullptr) const;
    // The area a new display's pane may take.
    QSize available_area() const;

    // The one modeless dialog that may be open (the labelled-volume view).
    QPointer<QWidget> modeless;

    // Workspace
    bool display(Volume* vol, bool open_if_missing) override;
    void release(Volume* vol) override;
    bool open_display(int mode, Volume* vol, double delay, int first, int last,
                      int placement) override;
    bool open_plot(const std::string& title, const std::vector<float>& values) override;
    void exit() override;

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void build_menu();
    void shut_down();

    QMdiArea* mdi_;
    bool shut_down_ = false;
};

// The file Exit removes: vexilo.tmp in the system's temporary folder.
QString temporary_file();

}  // namespace app
