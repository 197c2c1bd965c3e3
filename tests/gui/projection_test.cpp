// Projection windows in the frame window, made the way a module makes them (the exported
// functions), scrolled and clicked through the window system, offered to the modules'
// handlers first, closed with their volume, and the gallery rendered again by the update walk.
#include <QAction>
#include <QApplication>
#include <QMdiSubWindow>
#include <QMenu>
#include <QScrollBar>
#include <QTest>
#include <algorithm>

#include "app/messages.h"
#include "fixture.h"
#include "gui/dialogs/updating.h"
#include "gui/projections.h"
#include "view/projection_window.h"
#include "vexilo3d_volume.hpp"

namespace t3d {
namespace {

using view::ProjectionWindow;

// A module's handler: records what it is offered (with the title "Updating projections ..."
// shows at an update message) and keeps the message numbered g_keep.
struct Seen {
    void* window;
    unsigned msg;
    uintptr_t wp;
    intptr_t lp;
    QString note;
};
std::vector<Seen> g_seen;
unsigned g_keep = 0;

intptr_t module_handler(void* window, unsigned msg, uintptr_t wp, intptr_t lp) {
    QString note;
    for (QWidget* w : QApplication::topLevelWidgets())
        if (auto* d = qobject_cast<gui::UpdatingDialog*>(w); d && d->isVisible()) note = d->title();
    g_seen.push_back({window, msg, wp, lp, note});
    app::info_block().message_handled = msg == g_keep;
    return 0;
}

int seen(unsigned msg) {
    return static_cast<int>(
        std::count_if(g_seen.begin(), g_seen.end(), [msg](const Seen& s) { return s.msg == msg; }));
}

class ProjectionWindows : public AppTest {
protected:
    void SetUp() override {
        AppTest::SetUp();
        show_window(1200, 800);
        app::message_handlers(app::HandlerList::Projections).push_front(module_handler);
    }
    void TearDown() override {
        app::message_handlers(app::HandlerList::Projections).clear();
        app::info_block() = {};
        g_seen.clear();
        g_keep = 0;
        AppTest::TearDown();
    }
    // A picture whose pixel (y, x) is 7 y + x mod 256 on channel 0, and on channels 1 and 2 of
    // a colour one 255 - 2 y and 3 x mod 256, shown for source.
    static ProjectionWindow* show(int colortype, int w, int h, void* source,
                                  int type = RegisterProjectionType()) {
        Buffer* b = CreateBuffer(colortype, w, h);
        for (int c = 0; c < (colortype == 2 ? 3 : 1); ++c)
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x) {
                    const int value[3] = {7 * y + x, 255 - 2 * y, 3 * x};
                    b->image[c][y][x] = static_cast<unsigned char>(value[c]);
                }
        Projection* p = CreateProjection(type, source, 16);
        auto* window = static_cast<ProjectionWindow*>(DisplayProjection(p, b, "mine"));
        QApplication::processEvents();
        return window;
    }
    static QMdiSubWindow* sub_of(QWidget* w) { return qobject_cast<QMdiSubWindow*>(w->parentWidget()); }
    static void close(QWidget* w) {
        sub_of(w)->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
};

TEST_F(ProjectionWindows, AModuleShowsAGreyAndAColourBufferOneScreenPixelAPicturePixel) {
    ProjectionWindow* windows[2] = {show(1, 200, 120, nullptr), show(2, 200, 120, nullptr)};
    for (ProjectionWindow* w : windows) {
        ASSERT_NE(w, nullptr);
        const Buffer* b = w->buffer();
        const QImage shot = w->viewport()->grab().toImage();
        for (int y = 0; y < 120; y += 7)
            for (int x = 0; x < 200; x += 9) {
                const int c = b->colortype == 2 ? 1 : 0, e = b->colortype == 2 ? 2 : 0;
                EXPECT_EQ(shot.pixel(x, y), qRgb(b->image[0][y][x], b->image[c][y][x], b->image[e][y][x]));
            }
        // both bars there and disabled: the picture fits
        for (QScrollBar* bar : {w->horizontalScrollBar(), w->verticalScrollBar()})
            EXPECT_TRUE(bar->isVisible() && !bar->isEnabled());
    }
    // "&Save Projection", greyed without a save module; none in the alignment tool's views
    auto save_item = [](QWidget* w) -> QAction* {
        for (QAction* a : sub_of(w)->systemMenu()->actions())
            if (a->objectName() == "1000") return a;
        return nullptr;
    };
    ASSERT_NE(save_item(windows[0]), nullptr);
    EXPECT_EQ(save_item(windows[0])->text(), "&Save Projection");
    EXPECT_FALSE(save_item(windows[0])->isEnabled());
    ProjectionWindow* alignment_view = show(1, 30, 30, nullptr, app::alignment_projection_type());
    EXPECT_EQ(save_item(alignment_view), nullptr);
}

TEST_F(ProjectionWindows, ALargePictureScrollsByLineAndThumbAndNoFurtherThanItsEnd) {
    const app::ClientSize area = window->projection_area();
    ProjectionWindow* w = show(1, area.width * 3, area.height + 3, nullptr);
    const app::ProjectionWindowRecord& r = gui::procedure_of(w)->record();
    EXPECT_EQ(w->viewport()->size(), QSize(area.width, area.height));
    EXPECT_EQ(std::pair(r.hrange, r.vrange), std::pair(2 * area.width, 3));
    QScrollBar *h = w->horizontalScrollBar(), *v = w->verticalScrollBar();
    for (int i = 1; i <= 5; ++i) click(v, {v->width() / 2, v->height() - 3});  // the down arrow
    EXPECT_EQ(w->position().y(), 3);
    const QPoint grip = h->mapTo(window.get(), QPoint(h->width() / 6, h->height() / 2));
    QTest::mousePress(window->windowHandle(), Qt::LeftButton, {}, grip);
    QTest::mouseMove(window->windowHandle(), grip + QPoint(60, 0));
    QTest::mouseRelease(window->windowHandle(), Qt::LeftButton, {}, grip + QPoint(60, 0));
    EXPECT_GT(w->position().x(), 0);
    EXPECT_EQ(QPoint(r.hpos, r.vpos), w->position());
    // client pixel (0, 0) shows picture pixel (vpos, hpos)
    QApplication::processEvents();
    const int value = w->buffer()->image[0][r.vpos][r.hpos];
    EXPECT_EQ(w->viewport()->grab().toImage().pixel(0, 0), qRgb(value, value, value));
}

// The buffers go with their windows: the sanitizer build finds a leak or a second free.
TEST_F(ProjectionWindows, ModuleHandlersHearTheMessagesFirstAndFreedisWinClosesTheWindows) {
    Volume* vol = make(2, 4, 4);
    QPointer<ProjectionWindow> w = show(2, 100, window->projection_area().height + 50, vol);
    EXPECT_GT(seen(WM_SIZE) * seen(WM_PAINT), 0);
    g_seen.clear();
    click(w->viewport(), {10, 12});
    ASSERT_EQ(seen(WM_LBUTTONDOWN) + seen(WM_LBUTTONUP), 2);
    const auto down = std::find_if(g_seen.begin(), g_seen.end(),
                                   [](const Seen& s) { return s.msg == WM_LBUTTONDOWN; });
    EXPECT_EQ(down->window, w);
    EXPECT_EQ(down->wp, uintptr_t{MK_LBUTTON});
    EXPECT_EQ(down->lp, intptr_t{12 << 16 | 10});  // client x in the low word, y in the high
    g_keep = WM_VSCROLL;  // kept scroll messages keep the window where it is
    click(w->verticalScrollBar(), {5, w->verticalScrollBar()->height() - 3});
    EXPECT_EQ(w->position().y(), 0);
    g_keep = WM_CLOSE;  // ... and a kept WM_CLOSE keeps it open
    close(w);
    ASSERT_TRUE(w);
    // freedisWin destroys the windows of its volume, asking nobody
    QPointer<ProjectionWindow> other = show(1, 20, 20, make(2, 4, 4));
    freedisWin(vol);
    EXPECT_TRUE(!w && other);
    EXPECT_EQ(g_seen.back().msg, unsigned{WM_DESTROY});
    g_keep = 0;
    close(other);
    EXPECT_FALSE(other);
    EXPECT_EQ(seen(WM_DESTROY), 2);
}

TEST_F(ProjectionWindows, AnOperatorWritingIntoTheVolumeRendersItsGalleryAgain) {
    Volume* v = make(6, 40, 40);
    fill(v, [](int z, int y, int x) { return 20 + z * 30 + y + x; });
    ui.pick(0).push({.options = {.factors = {"3"}}});
    run(1315);
    ASSERT_EQ(window->windows_of(gui::kProjectionClass, v).size(), 1);
    auto* gallery = static_cast<ProjectionWindow*>(window->windows_of(gui::kProjectionClass, v)[0]);
    EXPECT_EQ(sub_of(gallery)->windowTitle(), "Frame Gallery of Volume  0.");
    const Buffer* g = gallery->buffer();
    v3d::OwnedVolume out(1, g->height, g->width, 1);  // the library's gallery of v
    ASSERT_EQ(ProduceFrameGallery3d(v, out.get(), 3, 0), 0);
    for (int y = 0; y < g->height; ++y)
        ASSERT_TRUE(std::equal(g->image[0][y], g->image[0][y] + g->width, out->data[0].uc[0][y])) << y;
    ProjectionWindow* mine = show(1, 10, 10, v);
    g_seen.clear();
    ui.pick(0).values({"0"});  // Clear Volume 0 with 0: DisplayVolume(v)
    run(1100);
    for (int y = 0; y < g->height; ++y)
        ASSERT_EQ(std::count(g->image[0][y], g->image[0][y] + g->width, 0), g->width) << y;
    EXPECT_EQ(mine->buffer()->image[0][3][4], 7 * 3 + 4);  // other types keep their picture
    QStringList notes;  // each window heard the update while the note showed its title
    for (const Seen& s : g_seen)
        if (s.msg == WM_USER) notes << s.note;
    EXPECT_EQ(notes, (QStringList{"Frame Gallery of Volume  0.", "mine"}));
    g_seen.clear();
    DisplayVolume(make(2, 4, 4));  // a volume without projection windows walks nothing
    EXPECT_EQ(seen(WM_USER), 0);
}

}  // namespace
}  // namespace t3d
