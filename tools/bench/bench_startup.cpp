// Measures the game's windows; prints figures, asserts nothing.
//   bm_bench_startup                       started like the game, it ends at the first paint of
//                                          the first form, so timing the whole process gives
//                                          "start to first painted window"
//   bm_bench_startup --table               starts a game and stays up (for memory and resize
//                                          measurements from outside)
//   bm_bench_startup --redraw WxH [SCALE]  starts a game, sizes the table to WxH device pixels
//                                          with QT_SCALE_FACTOR=SCALE and times full repaints:
//                                          the drawing itself (every paint handler) and the whole
//                                          repaint with the copy to the screen, beside a bare
//                                          window of the same size that only fills itself
#include <QApplication>
#include <QElapsedTimer>
#include <QPainter>
#include <QTimer>
#include <QWidget>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "forms/tarnmenu.h"
#include "platform/qt/card_painter.h"
#include "platform/qt/qt_ui.h"
#include "platform/runtime.h"
#include "program/program.h"

namespace {

// Adds up the time spent in paint handlers, which is the drawing without the copy to the screen.
class TimingApp : public QApplication {
  public:
    using QApplication::QApplication;
    bool notify(QObject* receiver, QEvent* event) override {
        if (event->type() != QEvent::Paint) return QApplication::notify(receiver, event);
        QElapsedTimer t;
        t.start();
        const bool done = QApplication::notify(receiver, event);
        paintNs += t.nsecsElapsed();
        return done;
    }
    qint64 paintNs = 0;
};

// The floor under any full repaint: a window that only fills itself with one colour.
class BareWindow : public QWidget {
  public:
    BareWindow() { setAttribute(Qt::WA_OpaquePaintEvent); }

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        p.fillRect(rect(), QColor(0, 0x80, 0));
    }
};

// Leaves right after the first paint of any form's window.
class FirstPaint : public QObject {
  public:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Paint && !seen && watched->isWidgetType() &&
            static_cast<QWidget*>(watched)->isWindow() && !watched->objectName().isEmpty()) {
            seen = true;
            // The paint is under way; leave as soon as it is done, whatever loop runs then.
            QTimer::singleShot(0, [] { std::_Exit(0); });
        }
        return false;
    }
    bool seen = false;
};

QWidget* table() {
    for (QWidget* w : QApplication::topLevelWidgets())
        if (w->objectName() == QLatin1String("Brindle") && w->isVisible()) return w;
    return nullptr;
}

void settle(int ms) {
    QElapsedTimer t;
    t.start();
    while (t.elapsed() < ms) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 20);
}

void report(const char* name, std::vector<double> us) {
    std::sort(us.begin(), us.end());
    std::printf("%s median=%.0f min=%.0f max=%.0f\n", name, us[us.size() / 2], us.front(),
                us.back());
}

// Full repaints of `w` at `device` pixels; prints the whole repaint and the part spent drawing.
void timeRepaints(const char* name, QWidget* w, QSize device) {
    auto* app = static_cast<TimingApp*>(qApp);
    const double dpr = w->devicePixelRatioF();
    std::vector<double> whole, drawing;
    for (int k = 0; k < 200; ++k) {
        const qint64 before = app->paintNs;
        QElapsedTimer t;
        t.start();
        w->repaint();
        whole.push_back(t.nsecsElapsed() / 1000.0);
        drawing.push_back((app->paintNs - before) / 1000.0);
    }
    const std::string size = " size=" + std::to_string(device.width()) + "x" +
                             std::to_string(device.height()) + " dpr=" + std::to_string(dpr);
    report((std::string(name) + "_paint_us" + size).c_str(), drawing);
    report((std::string(name) + "_repaint_us" + size).c_str(), whole);
}

// Every full repaint draws the felt, the cards and every control over them.
void timeRedraws(QWidget* w, QSize device) {
    const double dpr = w->devicePixelRatioF();
    const QSize logical = (QSizeF(device) / dpr).toSize();
    w->resize(logical);
    settle(1500);  // the cards of the new size are rendered meanwhile
    timeRepaints("table", w, device);
    std::printf("card_cache pixmaps=%d bytes=%lld\n", bm::qt::cardPixmapCacheSize(),
                bm::qt::cardPixmapCacheBytes());
    BareWindow bare;
    bare.resize(logical);
    bare.show();
    settle(500);
    timeRepaints("bare_fill", &bare, device);
}

}  // namespace

int main(int argc, char** argv) {
    const bool redraw = argc > 2 && std::strcmp(argv[1], "--redraw") == 0;
    const bool stay = redraw || (argc > 1 && std::strcmp(argv[1], "--table") == 0);
    QSize device(3840, 2160);
    if (redraw) {
        int w = 0, h = 0;
        if (std::sscanf(argv[2], "%dx%d", &w, &h) == 2) device = QSize(w, h);
        if (argc > 3) qputenv("QT_SCALE_FACTOR", argv[3]);
    }
    TimingApp app(argc, argv);
    FirstPaint watcher;
    if (!stay) app.installEventFilter(&watcher);
    bm::qt::QtUi ui;
    bm::Runtime runtime(ui, BM_PROGRAM_FOLDER);
    bm::Program program(runtime);
    program.start();
    if (stay) {
        // The program opens at its menu: start a game, as the player would.
        QTimer::singleShot(0, [&] { program.tarnmenu().CmdStart.fireClick(); });
    }
    if (redraw) {
        QTimer::singleShot(0, [device] {
            QElapsedTimer t;
            t.start();
            while (!table() && t.elapsed() < 30000) settle(100);
            if (QWidget* w = table()) {
                settle(1500);  // the deal
                timeRedraws(w, device);
            } else {
                std::printf("no table window\n");
            }
            std::fflush(stdout);
            std::_Exit(0);
        });
    }
    int code = QApplication::exec();
    std::fflush(stdout);
    std::_Exit(code);  // skip teardown: the figure is start to first paint
}
