// Renders every card face, the back and an erased slot into one PNG, for looking the artwork over.
// Usage: bm_card_sheet OUTPUT.png [SCALE]
#include <QColor>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPixmap>

#include <cstdio>
#include <cstdlib>

#include "platform/qt/card_painter.h"

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s OUTPUT.png [SCALE]\n", argv[0]);
        return 2;
    }
    const double scale = argc > 2 ? std::atof(argv[2]) : 1.0;
    if (!(scale > 0 && scale <= 16)) {
        std::fprintf(stderr, "scale must be in (0, 16]\n");
        return 2;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);

    using bm::qt::kCardHeight;
    using bm::qt::kCardWidth;
    constexpr int kGap = 6;
    constexpr int kColumns = 13, kRows = 5;
    const int width = kColumns * (kCardWidth + kGap) + kGap;
    const int height = kRows * (kCardHeight + kGap) + kGap;

    QImage sheet(static_cast<int>(width * scale + 0.5), static_cast<int>(height * scale + 0.5),
                 QImage::Format_ARGB32_Premultiplied);
    sheet.setDevicePixelRatio(scale);
    sheet.fill(QColor(0x0B, 0x6B, 0x3A));  // table green
    QPainter p(&sheet);
    auto draw = [&](int column, int row, int code, int mode, QColor colour) {
        const int x = kGap + column * (kCardWidth + kGap);
        const int y = kGap + row * (kCardHeight + kGap);
        p.drawPixmap(QPointF(x, y), bm::qt::cardPixmap(code, mode, colour, scale));
    };
    // One row per suit in the order clubs, diamonds, hearts, spades; Ace to King across.
    for (int suit = 0; suit < 4; ++suit)
        for (int rank = 0; rank < 13; ++rank) draw(rank, suit, rank * 4 + suit, 0, {});
    draw(0, 4, 54, 1, QColor(0x00, 0xFF, 0xFF));  // the back the game uses
    draw(1, 4, 54, 1, QColor(0xFF, 0x40, 0x40));  // other background colours
    draw(2, 4, 54, 1, QColor(0x20, 0x30, 0x90));
    draw(3, 4, 52, 0, {});  // out-of-range face: blank
    draw(4, 4, 0, 0, {});   // a face erased in place
    draw(4, 4, 0, 8, QColor(0xC0, 0xC0, 0xC0));
    p.end();
    if (!sheet.save(QString::fromLocal8Bit(argv[1]))) {
        std::fprintf(stderr, "cannot write %s\n", argv[1]);
        return 1;
    }
    return 0;
}
