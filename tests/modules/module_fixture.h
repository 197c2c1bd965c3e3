// A frame window whose modules come from one folder, and what the tests need to reach into a
// loaded module (the modules' own dialogs are answered with when_shown of gui/fixture.h).
#pragma once

#include <QMdiSubWindow>
#include <QMenuBar>
#include <QTest>
#include <dlfcn.h>

#include <string>

#include "app/messages.h"
#include "app/modules.h"
#include "gui/fixture.h"

namespace t3d {

class ModuleTest : public AppTest {
protected:
    void SetUp() override {
        AppTest::SetUp();
        show_window(1200, 800);
    }
    void TearDown() override {
        AppTest::TearDown();  // the workstation's end forgets the modules
        app::info_block() = {};
    }

    static std::string case_folder(const char* name) { return std::string(V3D_MODULE_CASES) + "/" + name; }
    // The start-up scan of a test case's folder.
    static void scan(const char* name) { app::load_modules(case_folder(name)); }

    // A function of a loaded module (null when the module is not loaded).
    template <class F> static F probe(const std::string& file, const char* name) {
        void* library = dlopen(file.c_str(), RTLD_NOW | RTLD_NOLOAD);
        if (!library) return nullptr;
        F f = reinterpret_cast<F>(dlsym(library, name));
        dlclose(library);  // the loader's reference keeps it
        return f;
    }
    static std::string module_file(const char* name, const char* file) {
        return case_folder(name) + "/" + file + ".so";
    }

    // The fourth top-level popup and the popups the modules put in it.
    QMenu* modules_menu() const { return window->menuBar()->actions().at(3)->menu(); }
    QMenu* module_popup(int i) const { return modules_menu()->actions().at(i)->menu(); }

    // The projection windows of vol.
    QList<QWidget*> projections(Volume* vol) const { return window->windows_of("projection", vol); }
    static QMdiSubWindow* sub_of(QWidget* w) { return qobject_cast<QMdiSubWindow*>(w->parentWidget()); }
};

}  // namespace t3d
