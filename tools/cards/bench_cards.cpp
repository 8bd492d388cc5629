// Times the card painter: redrawing a table of 26 cards from the pixmap cache and directly, and
// filling the cache. Prints one line per measurement, in microseconds.
#include <QColor>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPixmap>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <vector>

#include "platform/qt/card_painter.h"

namespace {

struct Placed {
    int x, y, code, mode;
};

// A patience layout in logical pixels: five backs along the top, six piles of 0..5 backs each
// topped by a face. 20 backs and 6 faces.
std::vector<Placed> tableLayout() {
    std::vector<Placed> cards;
    for (int i = 0; i < 5; ++i) cards.push_back({12 + i * 82, 10, 54, 1});
    const int faces[6] = {0, 13, 26, 39, 45, 50};  // ace, number and court cards of each suit
    for (int pile = 0; pile < 6; ++pile) {
        int y = 120;
        for (int b = 0; b < pile; ++b, y += 5) cards.push_back({12 + pile * 82, y, 54, 1});
        cards.push_back({12 + pile * 82, y, faces[pile], 0});
    }
    return cards;
}

void report(const char* name, std::vector<double> us) {
    std::sort(us.begin(), us.end());
    std::printf("%s median=%.1f min=%.1f\n", name, us[us.size() / 2], us.front());
}

std::vector<double> timeRuns(int runs, const std::function<void()>& body) {
    std::vector<double> us;
    us.reserve(static_cast<size_t>(runs));
    for (int i = 0; i < runs; ++i) {
        const auto start = std::chrono::steady_clock::now();
        body();
        const auto end = std::chrono::steady_clock::now();
        us.push_back(std::chrono::duration<double, std::micro>(end - start).count());
    }
    return us;
}

}  // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);

    const QColor cyan(0x00, 0xFF, 0xFF);
    const std::vector<Placed> layout = tableLayout();
    QImage target(1520, 1080, QImage::Format_ARGB32_Premultiplied);
    target.fill(QColor(0x0B, 0x6B, 0x3A));

    auto fillAll = [&] {
        for (int code = 0; code < 52; ++code) bm::qt::cardPixmap(code, 0, {}, 2.0);
        bm::qt::cardPixmap(54, 1, cyan, 2.0);
    };
    {
        // The very first fill also builds every shape and loads the font outlines.
        const auto start = std::chrono::steady_clock::now();
        fillAll();
        const auto end = std::chrono::steady_clock::now();
        std::printf("first_fill53_2x_us value=%.1f\n",
                    std::chrono::duration<double, std::micro>(end - start).count());
    }

    auto redraw = [&](bool cached) {
        QPainter p(&target);
        p.scale(2, 2);
        for (const Placed& c : layout) {
            if (cached)
                p.drawPixmap(QPointF(c.x, c.y), bm::qt::cardPixmap(c.code, c.mode, cyan, 2.0));
            else
                bm::qt::paintCard(p, c.x, c.y, c.code, c.mode, cyan);
        }
    };
    report("redraw26_cached_2x_us", timeRuns(1000, [&] { redraw(true); }));
    report("redraw26_direct_2x_us", timeRuns(200, [&] { redraw(false); }));
    report("fill53_cold_cache_2x_us", timeRuns(50, [&] {
               bm::qt::clearCardPixmapCache();
               fillAll();
           }));
    return 0;
}
