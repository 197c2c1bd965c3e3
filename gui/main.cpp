// VEXILO3D, the workstation: the frame window, its menu and the command line's volumes.
#include <QApplication>
#include <cstdio>

#include "gui/main_window.h"
#include "gui/qt_ui.h"
#include "app/modules.h"
#include "app/startup.h"
#include "app/state.h"

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    std::vector<std::string> args;
    for (int i = 1; i < argc; ++i) args.emplace_back(argv[i]);
    app::CommandLine line;
    std::string error;
    if (!app::parse_command_line(args, line, error)) {
        std::fprintf(stderr, "vexilo3d: %s\n%s", error.c_str(), app::kUsage);
        return 2;
    }

    gui::QtUi ui(nullptr);
    app::set_ui(&ui);
    gui::MainWindow frame;
    ui.set_owner(&frame);
    if (!app::initialise_application()) return 0;
    frame.showMaximized();
    // the modules of the start directory, after the frame and its menu exist
    app::load_modules(app::state().start_directory);
    app::open_files(line);
    const int code = application.exec();
    return code;
}
