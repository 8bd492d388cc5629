// Self-checks of the card painter, run headless: exits non-zero and names the failures.
#include <QColor>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPixmap>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <set>
#include <string>
#include <utility>

#include "platform/qt/card_painter.h"

namespace {

using bm::qt::cardPixmap;
using bm::qt::kCardHeight;
using bm::qt::kCardWidth;
using bm::qt::paintCard;

int failures = 0;

void check(bool ok, const std::string& what) {
    if (!ok) {
        ++failures;
        std::fprintf(stderr, "FAIL: %s\n", what.c_str());
    }
}

const QColor kCyan(0x00, 0xFF, 0xFF);

QImage render(int code, int mode, const QColor& colour, double scale) {
    return cardPixmap(code, mode, colour, scale)
        .toImage()
        .convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

int channelDiff(QRgb a, QRgb b) {
    return std::max({std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)),
                     std::abs(qBlue(a) - qBlue(b)), std::abs(qAlpha(a) - qAlpha(b))});
}

// Number of pixels where the images differ by more than `tolerance` in some channel.
int differingPixels(const QImage& a, const QImage& b, int tolerance) {
    if (a.size() != b.size()) return a.width() * a.height() + 1;
    int n = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x)
            if (channelDiff(a.pixel(x, y), b.pixel(x, y)) > tolerance) ++n;
    return n;
}

bool anyPixel(const QImage& img, const std::function<bool(QRgb)>& pred) {
    for (int y = 0; y < img.height(); ++y)
        for (int x = 0; x < img.width(); ++x)
            if (pred(img.pixel(x, y))) return true;
    return false;
}

bool isRed(QRgb c) {
    return qAlpha(c) > 200 && qRed(c) > 150 && qGreen(c) < 90 && qBlue(c) < 110;
}

std::string cardName(int code) {
    return "face " + std::to_string(code);
}

void pixmapGeometry() {
    for (double scale : {1.0, 1.25, 1.5, 2.0, 3.0}) {
        const QPixmap& pm = cardPixmap(7, 0, {}, scale);
        check(pm.width() == std::lround(kCardWidth * scale) &&
                  pm.height() == std::lround(kCardHeight * scale),
              "pixmap size at scale " + std::to_string(scale));
        check(pm.devicePixelRatio() == scale, "pixmap dpr at scale " + std::to_string(scale));
    }
}

void cacheKeys() {
    bm::qt::clearCardPixmapCache();
    const qint64 face = cardPixmap(5, 0, Qt::red, 2.0).cacheKey();
    check(cardPixmap(5, 0, Qt::blue, 2.0).cacheKey() == face, "a face ignores the colour");
    check(cardPixmap(5, 0, Qt::red, 2.0 + 1e-4).cacheKey() == face,
          "scales that round to the same 1/64 share a pixmap");
    check(cardPixmap(5, 0, Qt::red, 2.5).cacheKey() != face, "another scale, another pixmap");
    check(cardPixmap(6, 0, Qt::red, 2.0).cacheKey() != face, "another face, another pixmap");
    const qint64 back = cardPixmap(54, 1, kCyan, 2.0).cacheKey();
    check(cardPixmap(55, 1, kCyan, 2.0).cacheKey() == back, "every back design is the same");
    check(cardPixmap(54, 1, Qt::yellow, 2.0).cacheKey() != back, "a back depends on its colour");
    check(cardPixmap(-3, 0, {}, 2.0).cacheKey() == cardPixmap(60, 0, {}, 2.0).cacheKey(),
          "all out-of-range faces share the blank card");
    for (int i = 0; i < 1000; ++i) cardPixmap(54, 1, QColor::fromRgb(i % 256, i / 256, 0), 2.0);
    check(bm::qt::cardPixmapCacheBytes() <= bm::qt::cardPixmapCacheLimit(),
          "the cache stays within its bytes");
    check(bm::qt::cardPixmapCacheSize() > 100, "the cache keeps recent pixmaps");
}

// Runs the event loop until the cards queued for the worker are cached; false on a time-out.
bool waitForRenders() {
    QObject receiver;
    bool done = false;
    bm::qt::whenCardsRendered(&receiver, [&] { done = true; });
    QElapsedTimer t;
    t.start();
    while (!done && t.elapsed() < 10000)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    return done;
}

// A new scale is drawn from the nearest cached one until the worker has rendered it; then the
// scales no window uses any more are dropped, and cards too large to cache are not cached.
void newScalesRenderBehindTheScenes() {
    using bm::qt::cardPicture;
    bm::qt::clearCardPixmapCache();
    bm::qt::CardScaleUse window;
    window.set(2.0);
    const bm::qt::CardPicture first = cardPicture(9, 0, {}, 2.0);
    check(first.pixmap && first.exact, "a card never drawn before is rendered at once");
    cardPicture(54, 1, kCyan, 1.5);  // another window's size, given up below

    window.set(3.0);
    const bm::qt::CardPicture standIn = cardPicture(9, 0, {}, 3.0);
    check(standIn.pixmap && !standIn.exact && standIn.pixmap->width() == 142,
          "the nearest cached size stands in for a new one");
    check(waitForRenders(), "the worker finishes");
    const bm::qt::CardPicture sharp = cardPicture(9, 0, {}, 3.0);
    check(sharp.pixmap && sharp.exact && sharp.pixmap->width() == 213,
          "the new size is there once rendered");
    check(sharp.pixmap->toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied) ==
              render(9, 0, {}, 3.0),
          "a card rendered by the worker equals one rendered at once");
    check(bm::qt::cardPixmapCacheSize() == 1, "sizes no window uses are dropped");

    check(!bm::qt::cardCacheable(40.0) && bm::qt::cardCacheable(4.0),
          "huge cards are too large to cache");
    check(cardPicture(9, 0, {}, 40.0).pixmap == nullptr, "a huge card is left to the caller");
    check(cardPicture(9, 7, {}, 3.0).pixmap == nullptr, "an unknown mode has nothing to draw");
}

void eraseCoversEverything() {
    const QColor grey(0x40, 0x80, 0x20);
    for (double scale : {1.0, 1.5, 2.0}) {
        const QImage img = render(3, 8, grey, scale);
        check(!anyPixel(img, [&](QRgb c) { return c != grey.rgba(); }),
              "erase fills every pixel at scale " + std::to_string(scale));
    }
    // Erasing over a card drawn at the same place leaves none of it.
    QImage table(200, 200, QImage::Format_ARGB32_Premultiplied);
    table.fill(Qt::black);
    QPainter p(&table);
    p.scale(2, 2);
    paintCard(p, 10, 5, 51, 0, {});
    paintCard(p, 10, 5, 51, 8, Qt::black);
    p.end();
    check(!anyPixel(table, [](QRgb c) { return c != QColor(Qt::black).rgba(); }),
          "erase covers a card completely");
}

void facesLookRight() {
    std::set<QByteArray> distinct;
    for (int code = 0; code < 52; ++code) {
        const QImage img = render(code, 0, {}, 1.0);
        const bool red = code % 4 == 1 || code % 4 == 2;
        check(qAlpha(img.pixel(0, 0)) == 0 && qAlpha(img.pixel(70, 95)) == 0,
              cardName(code) + ": rounded corners are transparent");
        check(qAlpha(img.pixel(35, 2)) == 255 && qAlpha(img.pixel(2, 48)) == 255,
              cardName(code) + ": the card is opaque inside its corners");
        // Court figures carry red details such as the queen's flower, so only number cards
        // are required to be free of red when black.
        if (red || code / 4 < 10)
            check(anyPixel(img, isRed) == red, cardName(code) + ": suit colour");
        distinct.insert(QByteArray(reinterpret_cast<const char*>(img.constBits()),
                                   static_cast<qsizetype>(img.sizeInBytes())));
        // Faces without a pip on the middle row read the same upside down (the lower pips and
        // the lower bust are turned over); at 1x the card's centre falls on a pixel corner, so
        // this holds pixel for pixel.
        const int rank = code / 4;
        if (rank == 1 || rank == 3 || rank == 9 || rank >= 10) {
            const QImage turned = img.mirrored(true, true);
            check(differingPixels(img, turned, 24) < 8,
                  cardName(code) + ": turned over, the card looks the same");
        }
    }
    check(distinct.size() == 52, "all 52 faces differ");

    for (int code : {-1, 52, 99}) {
        const QImage img = render(code, 0, {}, 2.0);
        bool white = true;
        for (int y = 4; y < img.height() - 4; ++y)
            for (int x = 4; x < img.width() - 4; ++x)
                if (channelDiff(img.pixel(x, y), 0xFFFFFFFF) > 2) white = false;
        check(white, "code " + std::to_string(code) + " draws a blank white card");
    }
}

void backUsesColour() {
    for (QColor colour : {kCyan, QColor(0x20, 0x30, 0x90)}) {
        const QImage img = render(54, 1, colour, 4.0);
        // Logical (4.6, 48): inside the field, outside its frame line.
        check(img.pixel(18, 192) == colour.rgba(), "back field has the given colour");
        check(img.pixel(6, 192) == 0xFFFFFFFF, "back has a white margin");
        check(
            anyPixel(img,
                     [&](QRgb c) { return channelDiff(c, colour.rgba()) > 60 && c != 0xFFFFFFFF; }),
            "back has a pattern in another shade");
    }
}

// The pixmap drawn through a 2x painter matches painting the card straight into it, whether the
// 2x comes from the painter's scale or from the target's device pixel ratio.
void pixmapMatchesDirectPainting() {
    const QColor table(0x0B, 0x6B, 0x3A);
    for (auto [code, mode] : {std::pair{0, 0}, {23, 0}, {47, 0}, {54, 1}}) {
        const std::string name = std::to_string(code) + "/" + std::to_string(mode);
        QImage viaPixmap(200, 240, QImage::Format_ARGB32_Premultiplied);
        viaPixmap.fill(table);
        {
            QPainter p(&viaPixmap);
            p.scale(2, 2);
            p.drawPixmap(QPointF(13, 9), cardPixmap(code, mode, kCyan, 2.0));
        }
        QImage scaled(200, 240, QImage::Format_ARGB32_Premultiplied);
        scaled.fill(table);
        {
            QPainter p(&scaled);
            p.scale(2, 2);
            paintCard(p, 13, 9, code, mode, kCyan);
        }
        QImage hidpi(200, 240, QImage::Format_ARGB32_Premultiplied);
        hidpi.setDevicePixelRatio(2);
        hidpi.fill(table);
        {
            QPainter p(&hidpi);
            paintCard(p, 13, 9, code, mode, kCyan);
        }
        hidpi.setDevicePixelRatio(1);
        check(differingPixels(viaPixmap, scaled, 3) == 0,
              "cached pixmap of " + name + " matches a scaled painter");
        check(differingPixels(viaPixmap, hidpi, 3) == 0,
              "cached pixmap of " + name + " matches a 2x device");
    }
}

// Windows smaller than the table's logical size draw cards below scale 1: the indices and pips
// must shrink with the card, so the turned index still shows in the bottom-right corner.
void smallScalesKeepTheWholeFace() {
    for (double scale : {0.6, 0.75, 0.9}) {
        for (int code : {0, 23, 47}) {
            const QImage img = render(code, 0, {}, scale);
            int ink = 0;
            for (int y = img.height() * 7 / 10; y < img.height() - 2; ++y)
                for (int x = img.width() * 3 / 4; x < img.width() - 2; ++x) {
                    QRgb c = img.pixel(x, y);
                    ink += qAlpha(c) > 200 && qRed(c) + qGreen(c) + qBlue(c) < 450;
                }
            check(ink > 4, "card " + std::to_string(code) + " at scale " + std::to_string(scale) +
                               " shows its bottom-right index");
        }
    }
}

// A painter that rotates takes another path through the painter; a quarter turn must give the
// same card turned, up to antialiasing.
void rotatedPainter() {
    for (auto [code, mode] : {std::pair{17, 0}, {46, 0}, {54, 1}}) {
        const QImage upright = render(code, mode, kCyan, 2.0);
        QImage turned(upright.height(), upright.width(), QImage::Format_ARGB32_Premultiplied);
        turned.fill(Qt::transparent);
        {
            QPainter p(&turned);
            p.translate(turned.width(), 0);
            p.rotate(90);
            p.scale(2, 2);
            paintCard(p, 0, 0, code, mode, kCyan);
        }
        const QImage expected = upright.transformed(QTransform().rotate(90));
        check(differingPixels(expected, turned, 48) < upright.width() * upright.height() / 100,
              "card " + std::to_string(code) + "/" + std::to_string(mode) +
                  " through a rotated painter");
    }
}

void unknownModeDrawsNothing() {
    QImage img(100, 100, QImage::Format_ARGB32_Premultiplied);
    img.fill(Qt::black);
    QPainter p(&img);
    paintCard(p, 5, 2, 10, 3, Qt::white);
    p.end();
    check(!anyPixel(img, [](QRgb c) { return c != QColor(Qt::black).rgba(); }),
          "an unknown mode draws nothing");
}

}  // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    pixmapGeometry();
    cacheKeys();
    newScalesRenderBehindTheScenes();
    eraseCoversEverything();
    facesLookRight();
    backUsesColour();
    pixmapMatchesDirectPainting();
    smallScalesKeepTheWholeFace();
    rotatedPainter();
    unknownModeDrawsNothing();
    if (failures) {
        std::fprintf(stderr, "%d check(s) failed\n", failures);
        return 1;
    }
    std::printf("card painter checks passed\n");
    return 0;
}
