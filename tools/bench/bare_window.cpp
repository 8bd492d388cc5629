// A bare Qt window of a given size, filled with one colour: the floor under the start-up of a
// window that size, beside the fixed-size reference window.
//   bm_bare_window WxH
#include <QApplication>
#include <QPainter>
#include <QWidget>
#include <cstdio>

namespace {

class Bare : public QWidget {
  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        p.fillRect(rect(), QColor(0xC0, 0xC0, 0xC0));
    }
};

}  // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    int w = 760, h = 540;
    if (argc > 1) std::sscanf(argv[1], "%dx%d", &w, &h);
    Bare window;
    window.setWindowTitle("bare");
    window.resize(w, h);
    window.show();
    return QApplication::exec();
}
