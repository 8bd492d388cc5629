// The castle bitmaps and the background pictures, each painted from the shared kit.
#include <QLinearGradient>
#include <QRadialGradient>
#include <cmath>

#include "assets.h"
#include "paint_kit.h"

namespace bm::assets {

namespace {

const QColor kStoneLight(214, 206, 190), kStoneDark(150, 142, 128), kStoneEdge(78, 72, 66);
const QColor kWood(128, 88, 52);
// The castle bitmaps are drawn with fixed coordinates for their one size.
constexpr int kCastleWidth = 121, kCastleHeight = 84;

QBrush stoneBrush(const QRectF& area) {
    QLinearGradient g(area.topLeft(), area.topRight());
    g.setColorAt(0, kStoneLight);
    g.setColorAt(1, kStoneDark);
    return g;
}

// Daytime backdrop of both castle bitmaps: sky, a far ridge and grass from `groundY` down.
void castleBackdrop(Canvas& c, double groundY) {
    fillGradient(c.p, QRectF(0, 0, c.w, c.h),
                 {{0, QColor(92, 148, 214)}, {0.7, QColor(196, 224, 246)}});
    Rng rng(7);
    cloud(c.p, QPointF(c.w * 0.2, c.h * 0.18), 30, QColor(255, 255, 255, 200), rng);
    fillLayer(c.p, landLayer(c.w, c.h, groundY - 6, 5, 40, 3, false), QColor(120, 160, 110),
              QColor(100, 140, 90));
    fillGradient(c.p, QRectF(0, groundY, c.w, c.h - groundY),
                 {{0, QColor(112, 172, 70)}, {1, QColor(64, 122, 42)}});
}

void stoneBlock(QPainter& p, const QRectF& r) {
    p.setPen(QPen(kStoneEdge, 0.8));
    p.setBrush(stoneBrush(r));
    p.drawRoundedRect(r, 1.2, 1.2);
}

void beam(QPainter& p, QPointF a, QPointF b, double width = 1.6) {
    p.setPen(QPen(kWood, width, Qt::SolidLine, Qt::RoundCap));
    p.drawLine(a, b);
}

}  // namespace

QImage paintCastleSite() {
    Canvas c(kCastleWidth, kCastleHeight);
    const double ground = c.h * 0.76;
    castleBackdrop(c, ground);
    // Bare earth around the foundation.
    c.p.setPen(Qt::NoPen);
    c.p.setBrush(QColor(150, 118, 80));
    c.p.drawEllipse(QPointF(c.w * 0.47, ground + 5), c.w * 0.38, 7);

    // Scaffolding behind the first courses of stone.
    for (double x : {22.5, 46.5, 70.5}) beam(c.p, QPointF(x, ground + 3), QPointF(x, 26));
    for (double y : {34.5, 50.5}) beam(c.p, QPointF(19, y), QPointF(74, y), 2.2);
    beam(c.p, QPointF(22.5, 50.5), QPointF(46.5, 34.5), 1.1);
    beam(c.p, QPointF(46.5, 50.5), QPointF(70.5, 34.5), 1.1);

    // Courses of blocks: full at the bottom, thinning upwards.
    const double bw = 11, bh = 6;
    const int courses[] = {6, 4, 2};
    for (int row = 0; row < 3; ++row) {
        const double y = ground + 2 - (row + 1) * bh;
        const double x0 = 20 + (row % 2) * bw / 2;
        for (int i = 0; i < courses[row]; ++i) stoneBlock(c.p, QRectF(x0 + i * bw, y, bw, bh));
    }
    // A small crane lifting the next block, and a stack of blocks waiting on the ground.
    beam(c.p, QPointF(101.5, ground + 3), QPointF(101.5, 14), 2);
    beam(c.p, QPointF(64, 15.5), QPointF(108, 15.5), 2);
    beam(c.p, QPointF(101.5, 26), QPointF(90, 15.5), 1);
    c.p.setPen(QPen(QColor(60, 60, 60), 0.7));
    c.p.drawLine(QPointF(72.5, 15.5), QPointF(72.5, 24));
    stoneBlock(c.p, QRectF(67, 24, bw, bh));
    stoneBlock(c.p, QRectF(88, ground - 2.5, 8, 5.5));
    stoneBlock(c.p, QRectF(96, ground - 2.5, 8, 5.5));
    stoneBlock(c.p, QRectF(92, ground - 8, 8, 5.5));
    return c.image;
}

QImage paintCastleBuilt() {
    Canvas c(kCastleWidth, kCastleHeight);
    const double ground = c.h * 0.84;
    castleBackdrop(c, ground);
    const QPen edge(kStoneEdge, 1);
    // Keep behind the curtain wall, with its flag.
    const QRectF keep(47.5, 16.5, 26, 40);
    tower(c.p, keep, 3, stoneBrush(keep), edge);
    c.p.setPen(QPen(QColor(70, 60, 50), 1));
    c.p.drawLine(QPointF(60.5, 11), QPointF(60.5, 1.5));
    QPainterPath flag(QPointF(61, 2));
    flag.cubicTo(QPointF(66, 0), QPointF(69, 5), QPointF(75, 3));
    flag.lineTo(QPointF(73, 7.5));
    flag.cubicTo(QPointF(68, 9.5), QPointF(65, 5), QPointF(61, 7.5));
    flag.closeSubpath();
    c.p.setPen(QPen(QColor(120, 20, 20), 0.6));
    c.p.setBrush(QColor(208, 40, 36));
    c.p.drawPath(flag);

    const QRectF wall(30.5, 38.5, 60, ground - 38.5 + 2);
    tower(c.p, wall, 7, stoneBrush(wall), edge);
    for (const QRectF& t :
         {QRectF(12.5, 24.5, 22, ground - 24.5 + 3), QRectF(86.5, 24.5, 22, ground - 24.5 + 3)}) {
        tower(c.p, t, 3, stoneBrush(t), edge);
        c.p.setPen(Qt::NoPen);
        c.p.setBrush(QColor(50, 40, 36));
        c.p.drawRoundedRect(QRectF(t.center().x() - 1.5, t.top() + 10, 3, 8), 1.5, 1.5);
        c.p.drawRoundedRect(QRectF(t.center().x() - 1.5, t.top() + 28, 3, 8), 1.5, 1.5);
    }
    c.p.setBrush(QColor(50, 40, 36));
    c.p.drawRoundedRect(QRectF(58.5, 23, 4, 9), 2, 2);

    // Arched gate with a raised portcullis.
    QPainterPath gate(QPointF(52.5, ground + 2));
    gate.lineTo(52.5, ground - 12);
    gate.arcTo(QRectF(52.5, ground - 20, 16, 16), 180, -180);
    gate.lineTo(68.5, ground + 2);
    gate.closeSubpath();
    c.p.setPen(QPen(kStoneEdge, 1));
    c.p.setBrush(QColor(58, 40, 28));
    c.p.drawPath(gate);
    c.p.setPen(QPen(QColor(30, 30, 30), 0.8));
    for (double x = 55.5; x < 68; x += 3)
        c.p.drawLine(QPointF(x, ground - 17), QPointF(x, ground - 9));
    c.p.drawLine(QPointF(53, ground - 11), QPointF(68, ground - 11));
    return c.image;
}

QImage paintTakeScoreIcon() {
    // A gold cup on a plinth, on the warm grey of the button face. Drawn in fixed coordinates
    // for its one size, with outlines heavy enough to read at it.
    Canvas c(48, 30);
    c.p.fillRect(QRectF(0, 0, c.w, c.h), QColor(216, 208, 184));
    const double mid = 24;
    const QColor outline(112, 72, 12);
    const auto gold = [](double left, double right) {
        QLinearGradient g(left, 0, right, 0);
        g.setColorAt(0, QColor(178, 118, 22));
        g.setColorAt(0.3, QColor(255, 230, 120));
        g.setColorAt(0.55, QColor(236, 178, 44));
        g.setColorAt(1, QColor(150, 96, 16));
        return QBrush(g);
    };
    // Shadow on the button face.
    c.p.setPen(Qt::NoPen);
    c.p.setBrush(QColor(120, 104, 80, 70));
    c.p.drawEllipse(QPointF(mid + 1, 27.5), 11, 1.8);

    // Handles behind the bowl.
    c.p.setBrush(Qt::NoBrush);
    c.p.setPen(QPen(outline, 3.2, Qt::SolidLine, Qt::RoundCap));
    c.p.drawArc(QRectF(mid - 15, 4.5, 9, 9), 60 * 16, 220 * 16);
    c.p.drawArc(QRectF(mid + 6, 4.5, 9, 9), -100 * 16, 220 * 16);
    c.p.setPen(QPen(QColor(232, 176, 48), 1.6, Qt::SolidLine, Qt::RoundCap));
    c.p.drawArc(QRectF(mid - 15, 4.5, 9, 9), 60 * 16, 220 * 16);
    c.p.drawArc(QRectF(mid + 6, 4.5, 9, 9), -100 * 16, 220 * 16);

    // Plinth, stem and bowl.
    c.p.setPen(QPen(outline, 0.9));
    c.p.setBrush(gold(mid - 9, mid + 9));
    c.p.drawRoundedRect(QRectF(mid - 8.5, 24, 17, 4), 1, 1);
    QPainterPath foot(QPointF(mid - 6, 24));
    foot.lineTo(mid - 4, 21.5);
    foot.lineTo(mid + 4, 21.5);
    foot.lineTo(mid + 6, 24);
    foot.closeSubpath();
    c.p.setBrush(gold(mid - 6, mid + 6));
    c.p.drawPath(foot);
    c.p.setBrush(gold(mid - 2, mid + 2));
    c.p.drawRect(QRectF(mid - 1.5, 16, 3, 5.5));
    c.p.drawEllipse(QPointF(mid, 18.5), 2.6, 1.4);
    QPainterPath bowl(QPointF(mid - 9.5, 3));
    bowl.lineTo(mid + 9.5, 3);
    bowl.cubicTo(QPointF(mid + 9.5, 11), QPointF(mid + 6, 16), QPointF(mid, 16.5));
    bowl.cubicTo(QPointF(mid - 6, 16), QPointF(mid - 9.5, 11), QPointF(mid - 9.5, 3));
    bowl.closeSubpath();
    c.p.setBrush(gold(mid - 9.5, mid + 9.5));
    c.p.drawPath(bowl);
    // The opening of the cup and a glint down its lit side.
    c.p.setBrush(QColor(150, 98, 20));
    c.p.drawEllipse(QPointF(mid, 3.2), 9.5, 1.6);
    c.p.setPen(QPen(QColor(255, 250, 220, 200), 1.2, Qt::SolidLine, Qt::RoundCap));
    QPainterPath glint(QPointF(mid - 6, 6));
    glint.quadTo(QPointF(mid - 5.8, 11), QPointF(mid - 2.5, 13.5));
    c.p.setBrush(Qt::NoBrush);
    c.p.drawPath(glint);
    return c.image;
}

QImage paintDuskMountains(int width, int height, double scale) {
    Canvas c(width, height, scale);
    fillGradient(c.p, QRectF(0, 0, c.w, c.h),
                 {{0, QColor(34, 30, 78)},
                  {0.35, QColor(120, 64, 124)},
                  {0.6, QColor(236, 128, 96)},
                  {0.75, QColor(252, 204, 128)}});
    glow(c.p, QPointF(c.w * 0.62, c.h * 0.6), c.h * 0.05, c.h * 0.4, QColor(255, 236, 180), 0.8);
    Rng rng(11);
    stars(c.p, QRectF(0, 0, c.w, c.h * 0.25), 60, rng);
    // Ranges from far to near, each rising out of the haze that lies at the feet of the one before.
    const QColor far(176, 116, 150), near(22, 20, 44), haze(240, 150, 130);
    const int layers = 5;
    for (int i = 0; i < layers; ++i) {
        const double t = double(i) / (layers - 1);
        const double base = c.h * (0.5 + 0.22 * t);
        const QColor top = mix(far, near, t);
        fillLayer(
            c.p,
            landLayer(c.w, c.h, base, c.h * (0.2 - 0.1 * t), c.w * (0.5 - 0.3 * t), 20 + i, true),
            top, mix(top, near, 0.4));
        QColor mist = haze;
        mist.setAlphaF(float(0.35 * (1 - t)));
        fillGradient(c.p, QRectF(0, base, c.w, c.h * 0.16),
                     {{0, QColor(0, 0, 0, 0)}, {0.6, mist}, {1, QColor(0, 0, 0, 0)}});
    }
    // Pines along the nearest ridge.
    for (int i = 0; i < 14; ++i) {
        const double x = rng.uniform(0, c.w);
        const double ridge = landHeight(x, c.h * 0.72, c.h * 0.1, c.w * 0.2, 24, true);
        conifer(c.p, x, ridge + 4, rng.uniform(12, 26), QColor(18, 16, 36));
    }
    // Birds heading home.
    c.p.setPen(QPen(QColor(30, 24, 40), 1.3));
    c.p.setBrush(Qt::NoBrush);
    for (int i = 0; i < 5; ++i) {
        const QPointF at(c.w * 0.3 + i * 18 + rng.uniform(-6, 6), c.h * 0.3 + rng.uniform(-14, 14));
        QPainterPath bird(at - QPointF(6, 0));
        bird.quadTo(at - QPointF(3, 3), at);
        bird.quadTo(at + QPointF(3, -3), at + QPointF(6, 0));
        c.p.drawPath(bird);
    }
    return c.image;
}

QImage paintLakeCastle(int width, int height, double scale) {
    Canvas c(width, height, scale);
    const double horizon = c.h * 0.6;
    fillGradient(
        c.p, QRectF(0, 0, c.w, horizon),
        {{0, QColor(60, 84, 150)}, {0.6, QColor(200, 140, 170)}, {1, QColor(250, 196, 160)}});
    Rng rng(23);
    clouds(c.p, QRectF(0, 20, c.w, horizon * 0.5 - 20), 4, 60, 110, QColor(255, 200, 210, 120),
           rng);
    fillLayer(c.p, landLayer(c.w, horizon, horizon - 30, 25, 160, 5, false), QColor(112, 96, 140),
              QColor(130, 110, 150));
    const QPainterPath hill = landLayer(c.w, horizon + 1, horizon - 10, 30, 90, 8, false);
    fillLayer(c.p, hill, QColor(50, 46, 80), QColor(40, 40, 70));
    // The castle on the near hill, as a silhouette with a few lit windows.
    const QColor shade(36, 32, 60);
    const double cx = c.w * 0.68, base = landHeight(cx, horizon - 10, 30, 90, 8, false) + 6;
    const QBrush dark(shade);
    const QPen none(Qt::NoPen);
    tower(c.p, QRectF(cx - 40, base - 34, 80, 34), 9, dark, none);
    tower(c.p, QRectF(cx - 52, base - 58, 18, 58), 3, dark, none);
    tower(c.p, QRectF(cx + 34, base - 52, 18, 52), 3, dark, none);
    tower(c.p, QRectF(cx - 12, base - 76, 24, 76), 3, dark, none);
    c.p.setPen(QPen(shade, 1));
    c.p.drawLine(QPointF(cx, base - 80), QPointF(cx, base - 96));
    c.p.fillRect(QRectF(cx, base - 96, 12, 6), shade);
    c.p.setPen(Qt::NoPen);
    c.p.setBrush(QColor(255, 210, 120));
    for (const QPointF& w :
         {QPointF(cx - 44, base - 40), QPointF(cx + 2, base - 58), QPointF(cx + 42, base - 34)})
        c.p.drawRect(QRectF(w, QSizeF(3, 5)));
    for (int i = 0; i < 8; ++i) {
        const double x = rng.uniform(0, c.w * 0.45);
        conifer(c.p, x, landHeight(x, horizon - 10, 30, 90, 8, false) + 4, rng.uniform(18, 30),
                QColor(30, 34, 56));
    }
    reflect(c, horizon, QColor(40, 50, 100), 0.25, rng);
    return c.image;
}

QImage paintRollingHills(int width, int height, double scale) {
    Canvas c(width, height, scale);
    fillGradient(c.p, QRectF(0, 0, c.w, c.h),
                 {{0, QColor(70, 140, 220)}, {0.55, QColor(200, 228, 248)}});
    glow(c.p, QPointF(c.w * 0.82, c.h * 0.16), 14, 70, QColor(255, 252, 220), 0.7);
    Rng rng(31);
    clouds(c.p, QRectF(0, 25, c.w, c.h * 0.35 - 25), 4, 70, 120, QColor(255, 255, 255, 210), rng);
    const QColor greens[][2] = {{QColor(150, 190, 150), QColor(130, 176, 120)},
                                {QColor(120, 180, 90), QColor(96, 160, 70)},
                                {QColor(96, 166, 64), QColor(70, 140, 48)},
                                {QColor(80, 150, 50), QColor(50, 110, 34)}};
    for (int i = 0; i < 4; ++i) {
        const double base = c.h * (0.5 + 0.13 * i), amp = c.h * 0.1, scale = c.w * 0.35;
        fillLayer(c.p, landLayer(c.w, c.h, base, amp, scale, 40 + i, false), greens[i][0],
                  greens[i][1]);
        if (i == 1 || i == 2) {
            for (int k = 0; k < 3 + i; ++k) {
                const double x = rng.uniform(0, c.w);
                leafyTree(c.p, x, landHeight(x, base, amp, scale, 40 + i, false) + 4, 22 + 14 * i,
                          QColor(60, 120, 44), rng);
            }
        }
    }
    // A winding track through the nearest field.
    QPainterPath track(QPointF(c.w * 0.55, c.h + 2));
    track.cubicTo(QPointF(c.w * 0.4, c.h * 0.9), QPointF(c.w * 0.62, c.h * 0.86),
                  QPointF(c.w * 0.5, c.h * 0.8));
    c.p.setPen(QPen(QColor(214, 196, 150), 7, Qt::SolidLine, Qt::RoundCap));
    c.p.setBrush(Qt::NoBrush);
    c.p.drawPath(track);
    return c.image;
}

QImage paintMoor(int width, int height, double scale) {
    Canvas c(width, height, scale);
    const double horizon = c.h * 0.48;
    fillGradient(
        c.p, QRectF(0, 0, c.w, horizon + 30),
        {{0, QColor(84, 96, 122)}, {0.7, QColor(190, 186, 182)}, {1, QColor(226, 214, 196)}});
    Rng rng(47);
    clouds(c.p, QRectF(0, 40, c.w, horizon * 0.7 - 40), 4, 90, 140, QColor(214, 216, 224, 190),
           rng);
    fillLayer(c.p, landLayer(c.w, c.h, horizon, 22, 200, 51, false), QColor(132, 124, 136),
              QColor(116, 110, 112));
    fillLayer(c.p, landLayer(c.w, c.h, horizon + 26, 16, 150, 52, false), QColor(118, 104, 90),
              QColor(100, 90, 68));
    // Mist lying in the hollow.
    fillGradient(c.p, QRectF(0, horizon + 10, c.w, 50),
                 {{0, QColor(230, 228, 220, 0)},
                  {0.5, QColor(230, 228, 220, 130)},
                  {1, QColor(230, 228, 220, 0)}});
    const auto rise = [&](double x) { return landHeight(x, horizon + 70, 16, 130, 53, false); };
    fillLayer(c.p, landLayer(c.w, c.h, horizon + 70, 16, 130, 53, false), QColor(110, 88, 78),
              QColor(66, 56, 40));
    // A ring of weathered standing stones on the rise.
    for (int i = 0; i < 5; ++i) {
        const double x = c.w * 0.5 + i * 30 + rng.uniform(-5, 5);
        const double base = rise(x) + 10, w = rng.uniform(13, 19);
        const double h = rng.uniform(28, 42) * (i == 2 ? 1.35 : 1.0);
        QPainterPath stone(QPointF(x - w / 2, base));
        stone.lineTo(x - w / 2 + rng.uniform(0, 3), base - h * rng.uniform(0.8, 0.95));
        stone.quadTo(QPointF(x - w * 0.2, base - h * 1.05), QPointF(x + w * 0.1, base - h));
        stone.lineTo(x + w / 2 - rng.uniform(0, 3), base - h * rng.uniform(0.7, 0.9));
        stone.lineTo(x + w / 2, base);
        stone.closeSubpath();
        QLinearGradient g(x - w / 2, 0, x + w / 2, 0);
        g.setColorAt(0, QColor(178, 174, 164));
        g.setColorAt(1, QColor(88, 86, 84));
        c.p.setPen(QPen(QColor(56, 54, 52), 0.8));
        c.p.setBrush(g);
        c.p.drawPath(stone);
    }
    // Heather: soft purple drifts across the near ground, then a fine speckle of flowers and
    // scrub that is densest inside the drifts and coarser towards the viewer.
    const auto density = [](double x, double y) {
        return 0.5 + 0.5 * std::sin(x * 0.021 + y * 0.043) * std::sin(x * 0.013 - y * 0.061 + 1);
    };
    c.p.setPen(Qt::NoPen);
    for (int i = 0; i < 70; ++i) {
        const double x = rng.uniform(0, c.w), top = rise(x) + 6;
        const double y = top + rng.uniform(0, 1) * (c.h - top);
        const double r = (20 + 90 * (y - horizon) / c.h) * rng.uniform(0.6, 1.2);
        QRadialGradient g(QPointF(x, y), r);
        g.setColorAt(0, QColor(140, 70, 130, int(60 + 110 * density(x, y))));
        g.setColorAt(1, QColor(140, 70, 130, 0));
        c.p.setBrush(g);
        c.p.drawEllipse(QPointF(x, y), r, r * 0.35);
    }
    for (int i = 0; i < 6000; ++i) {
        const double x = rng.uniform(0, c.w), top = rise(x) + 3;
        const double y = top + std::sqrt(rng.uniform(0, 1)) * (c.h - top);
        const bool scrub = rng.uniform(0, 1) > density(x, y);
        const double size = 0.5 + (y - horizon) / c.h * 3.2 * rng.uniform(0.5, 1);
        c.p.setBrush(scrub ? QColor::fromHsv(int(rng.uniform(50, 90)), int(rng.uniform(60, 110)),
                                             int(rng.uniform(60, 100)))
                           : QColor::fromHsv(int(rng.uniform(285, 325)), int(rng.uniform(70, 150)),
                                             int(rng.uniform(120, 210))));
        c.p.drawEllipse(QPointF(x, y), size * 0.8, size);
    }
    return c.image;
}

QImage paintLighthouse(int width, int height, double scale) {
    Canvas c(width, height, scale);
    const double horizon = c.h * 0.62;
    fillGradient(c.p, QRectF(0, 0, c.w, horizon),
                 {{0, QColor(40, 60, 120)},
                  {0.5, QColor(170, 110, 140)},
                  {0.85, QColor(250, 170, 100)},
                  {1, QColor(255, 214, 150)}});
    glow(c.p, QPointF(c.w * 0.72, horizon - 10), 16, 120, QColor(255, 230, 160), 0.8);
    Rng rng(59);
    stars(c.p, QRectF(0, 0, c.w, c.h * 0.2), 30, rng);
    cloud(c.p, QPointF(c.w * 0.75, c.h * 0.32), 90, QColor(255, 190, 170, 150), rng);
    // Headland: a plateau on the left falling away to the sea.
    QPainterPath cliff(QPointF(-2, horizon));
    cliff.lineTo(-2, horizon - 58);
    cliff.cubicTo(QPointF(50, horizon - 66), QPointF(96, horizon - 62), QPointF(120, horizon - 40));
    cliff.cubicTo(QPointF(136, horizon - 16), QPointF(160, horizon - 4), QPointF(190, horizon));
    cliff.closeSubpath();
    fillLayer(c.p, cliff, QColor(86, 58, 66), QColor(38, 30, 42));
    // The tower: white with red bands, shaded from the right.
    const double lx = 52, lb = horizon - 60, lh = 92;
    QPainterPath body(QPointF(lx - 11, lb));
    body.lineTo(lx - 7, lb - lh);
    body.lineTo(lx + 7, lb - lh);
    body.lineTo(lx + 11, lb);
    body.closeSubpath();
    c.p.save();
    c.p.setClipPath(body);
    QLinearGradient shade(lx - 11, 0, lx + 11, 0);
    shade.setColorAt(0, QColor(250, 240, 230));
    shade.setColorAt(1, QColor(170, 150, 160));
    c.p.fillRect(QRectF(lx - 11, lb - lh, 22, lh), shade);
    for (int band = 0; band < 4; ++band)
        c.p.fillRect(QRectF(lx - 11, lb - lh + 10 + band * 22, 22, 11), QColor(190, 40, 50, 210));
    c.p.restore();
    const QColor iron(40, 36, 44);
    c.p.fillRect(QRectF(lx - 10, lb - lh - 3, 20, 3), iron);
    c.p.fillRect(QRectF(lx - 6, lb - lh - 14, 12, 11), QColor(255, 240, 170));
    QPainterPath cap(QPointF(lx - 8, lb - lh - 14));
    cap.lineTo(lx, lb - lh - 23);
    cap.lineTo(lx + 8, lb - lh - 14);
    c.p.setPen(Qt::NoPen);
    c.p.setBrush(iron);
    c.p.drawPath(cap);
    // The beam reaching out to sea.
    const QPointF lamp(lx, lb - lh - 8);
    QPainterPath ray(lamp);
    ray.lineTo(c.w + 10, lamp.y() - 26);
    ray.lineTo(c.w + 10, lamp.y() + 18);
    ray.closeSubpath();
    QLinearGradient fade(lx, 0, c.w, 0);
    fade.setColorAt(0, QColor(255, 246, 200, 150));
    fade.setColorAt(1, QColor(255, 246, 200, 0));
    c.p.setBrush(fade);
    c.p.drawPath(ray);
    glow(c.p, lamp, 4, 30, QColor(255, 250, 210), 0.9);
    reflect(c, horizon, QColor(30, 50, 100), 0.35, rng);
    // Surf along the foot of the cliff.
    for (int i = 0; i < 4; ++i) {
        c.p.setPen(QPen(QColor(255, 255, 255, 110 - 25 * i), 1.2));
        c.p.drawLine(QPointF(0, horizon + 1.5 + i * 2.5),
                     QPointF(194 - i * 12, horizon + 1.5 + i * 2.5));
    }
    return c.image;
}

QImage paintStarryVillage(int width, int height, double scale) {
    Canvas c(width, height, scale);
    fillGradient(c.p, QRectF(0, 0, c.w, c.h),
                 {{0, QColor(8, 12, 36)}, {0.7, QColor(30, 48, 96)}, {1, QColor(60, 70, 110)}});
    Rng rng(71);
    stars(c.p, QRectF(0, 0, c.w, c.h * 0.7), 260, rng);
    const QPointF moonAt(c.w * 0.8, c.h * 0.18);
    glow(c.p, moonAt, 1, 90, QColor(250, 246, 220, 120), 0.5);
    QPainterPath moon, shadow;
    moon.addEllipse(moonAt, 18, 18);
    shadow.addEllipse(moonAt + QPointF(8, -5), 16, 16);
    c.p.setBrush(QColor(250, 246, 220));
    c.p.drawPath(moon.subtracted(shadow));
    fillLayer(c.p, landLayer(c.w, c.h, c.h * 0.62, 30, 200, 72, false), QColor(30, 40, 70),
              QColor(24, 32, 56));
    const double street = c.h * 0.8;
    fillLayer(c.p, landLayer(c.w, c.h, street, 8, 150, 73, false), QColor(20, 28, 44),
              QColor(12, 16, 28));
    // Houses along the street, a church tower among them.
    double x = 20;
    int n = 0;
    while (x < c.w - 30) {
        const double w = rng.uniform(34, 52), h = rng.uniform(30, 46);
        const double base = landHeight(x + w / 2, street, 8, 150, 73, false) + 6;
        if (n++ == 4) {
            c.p.setBrush(QColor(30, 30, 46));
            c.p.setPen(Qt::NoPen);
            c.p.drawRect(QRectF(x, base - 90, 24, 90));
            QPainterPath spire(QPointF(x - 2, base - 90));
            spire.lineTo(x + 12, base - 140);
            spire.lineTo(x + 26, base - 90);
            c.p.drawPath(spire);
            glow(c.p, QPointF(x + 12, base - 74), 4, 16, QColor(255, 210, 120), 0.5);
            x += 36;
            continue;
        }
        const bool lit = rng.next() % 4 != 0;
        house(c.p, QRectF(x, base - h, w, h), h * 0.5, QColor(40, 40, 58), QColor(52, 34, 40),
              lit ? QColor(255, 208, 110) : QColor(24, 24, 36));
        x += w + rng.uniform(4, 14);
    }
    for (int i = 0; i < 6; ++i)
        conifer(c.p, rng.uniform(0, c.w), c.h + 4, rng.uniform(50, 80), QColor(10, 16, 24));
    return c.image;
}

QImage paintAutumnForest(int width, int height, double scale) {
    Canvas c(width, height, scale);
    fillGradient(
        c.p, QRectF(0, 0, c.w, c.h),
        {{0, QColor(252, 232, 180)}, {0.55, QColor(244, 184, 120)}, {1, QColor(170, 100, 56)}});
    // The sun stands just above the top edge; its beams fan out through the canopy.
    const QPointF sun(c.w * 0.7, -c.h * 0.08);
    glow(c.p, sun, 30, 260, QColor(255, 246, 214), 0.8);
    Rng rng(83);
    const QColor leaves[] = {QColor(220, 90, 30), QColor(240, 160, 40), QColor(190, 50, 30),
                             QColor(210, 130, 40), QColor(170, 120, 40)};
    const QColor fog(248, 214, 170);
    // Three rows of trees, each veiled a little more by the haze than the row in front.
    const int counts[] = {7, 5, 3};
    for (int row = 0; row < 3; ++row) {
        const double t = row / 2.0;
        const double base = c.h * (0.62 + 0.14 * row);
        const auto ground = [&](double x) { return landHeight(x, base, 8, 140, 90 + row, false); };
        fillLayer(c.p, landLayer(c.w, c.h, base, 8, 140, 90 + row, false),
                  mix(fog, QColor(150, 90, 40), 0.3 + 0.7 * t),
                  mix(fog, QColor(90, 56, 30), 0.3 + 0.7 * t));
        if (row == 2) {
            // A path winding off between the trunks.
            QPainterPath path(QPointF(c.w * 0.3, c.h + 2));
            path.cubicTo(QPointF(c.w * 0.45, c.h * 0.9), QPointF(c.w * 0.4, c.h * 0.85),
                         QPointF(c.w * 0.52, c.h * 0.8));
            path.lineTo(c.w * 0.56, c.h * 0.8);
            path.cubicTo(QPointF(c.w * 0.5, c.h * 0.86), QPointF(c.w * 0.7, c.h * 0.9),
                         QPointF(c.w * 0.72, c.h + 2));
            path.closeSubpath();
            fillLayer(c.p, path, QColor(200, 150, 100), QColor(160, 110, 70));
        }
        for (int i = 0; i < counts[row]; ++i) {
            const double x = (i + rng.uniform(0.15, 0.85)) * c.w / counts[row];
            const double treeH = c.h * (0.32 + 0.3 * t) * rng.uniform(0.85, 1.1);
            leafyTree(c.p, x, ground(x) + 4 + 6 * t, treeH,
                      mix(fog, leaves[rng.next() % 5], 0.35 + 0.65 * t), rng);
        }
        if (row < 2)
            fillGradient(c.p, QRectF(0, 0, c.w, c.h),
                         {{0, QColor(255, 230, 190, 0)},
                          {0.5, QColor(255, 226, 180, 60)},
                          {1, QColor(255, 220, 170, 30)}});
    }
    // Fallen leaves in the foreground.
    c.p.setPen(Qt::NoPen);
    for (int i = 0; i < 500; ++i) {
        const double y = c.h * 0.84 + rng.uniform(0, c.h * 0.16);
        const double s = 1 + (y - c.h * 0.82) / c.h * 14;
        c.p.setBrush(leaves[rng.next() % 5]);
        c.p.drawEllipse(QPointF(rng.uniform(0, c.w), y), s, s * 0.5);
    }
    // Sunbeams slanting down through the canopy.
    c.p.setBrush(QColor(255, 244, 210, 26));
    for (int i = 0; i < 4; ++i) {
        const double spread = c.w * (-0.75 + 0.3 * i);
        QPainterPath beam(sun);
        beam.lineTo(sun.x() + spread - c.w * 0.05, c.h);
        beam.lineTo(sun.x() + spread + c.w * 0.05, c.h);
        beam.closeSubpath();
        c.p.drawPath(beam);
    }
    return c.image;
}

QImage paintWindmill(int width, int height, double scale) {
    Canvas c(width, height, scale);
    const double horizon = c.h * 0.55;
    fillGradient(c.p, QRectF(0, 0, c.w, horizon),
                 {{0, QColor(110, 170, 230)}, {1, QColor(240, 234, 214)}});
    Rng rng(97);
    clouds(c.p, QRectF(0, 60, c.w, horizon * 0.7 - 60), 5, 100, 170, QColor(255, 255, 255, 220),
           rng);
    const QColor haze(214, 218, 196);
    fillLayer(c.p, landLayer(c.w, c.h, horizon, 6, 220, 98, false), QColor(160, 176, 140),
              QColor(140, 166, 110));
    // Hedgerows and copses along the horizon.
    c.p.setPen(Qt::NoPen);
    for (double x = -4; x < c.w + 4; x += rng.uniform(5, 12)) {
        const double r = rng.uniform(3, 8) * (std::sin(x * 0.02) > -0.3 ? 1.0 : 0.4);
        c.p.setBrush(mix(QColor(70, 100, 60), haze, rng.uniform(0.3, 0.5)));
        c.p.drawEllipse(QPointF(x, landHeight(x, horizon, 6, 220, 98, false) + 2 - r * 0.5),
                        r * 1.3, r);
    }
    // Strips of crops converging on the horizon.
    const QColor crops[] = {QColor(222, 198, 112), QColor(150, 178, 92), QColor(204, 176, 98),
                            QColor(168, 190, 108)};
    const QPointF vanish(c.w * 0.45, horizon + 2);
    c.p.save();
    c.p.setClipRect(QRectF(0, horizon + 8, c.w, c.h));
    for (int i = -9; i < 12; ++i) {
        QPainterPath strip(QPointF(c.w * 0.45 + i * 80, c.h));
        strip.lineTo(c.w * 0.45 + (i + 1) * 80, c.h);
        strip.lineTo(vanish);
        strip.closeSubpath();
        const QColor crop = crops[(i + 12) % 4];
        fillLayer(c.p, strip, mix(crop, haze, 0.6), crop);
    }
    c.p.restore();
    fillGradient(c.p, QRectF(0, horizon, c.w, 40),
                 {{0, QColor(236, 232, 214, 150)}, {1, QColor(236, 232, 214, 0)}});
    // The mill on a low grassy knoll: tapered tower, cap, and four sails.
    const double mx = c.w * 0.68, mb = horizon + 30, mh = 130;
    QPainterPath knoll(QPointF(mx - 110, mb + 12));
    knoll.cubicTo(QPointF(mx - 50, mb - 8), QPointF(mx + 50, mb - 8), QPointF(mx + 110, mb + 12));
    knoll.closeSubpath();
    fillLayer(c.p, knoll, QColor(140, 176, 96), QColor(118, 160, 80));
    QPainterPath mill(QPointF(mx - 26, mb));
    mill.lineTo(mx - 16, mb - mh);
    mill.lineTo(mx + 16, mb - mh);
    mill.lineTo(mx + 26, mb);
    mill.closeSubpath();
    QLinearGradient wall(mx - 26, 0, mx + 26, 0);
    wall.setColorAt(0, QColor(246, 240, 226));
    wall.setColorAt(1, QColor(186, 172, 156));
    c.p.setBrush(wall);
    c.p.drawPath(mill);
    c.p.setBrush(QColor(120, 60, 50));
    c.p.drawChord(QRectF(mx - 20, mb - mh - 18, 40, 36), 0, 180 * 16);
    c.p.setBrush(QColor(90, 60, 40));
    c.p.drawRoundedRect(QRectF(mx - 6, mb - 24, 12, 24), 6, 6);
    c.p.drawRoundedRect(QRectF(mx - 4, mb - 80, 8, 12), 4, 4);
    const QPointF hub(mx, mb - mh - 2);
    c.p.save();
    c.p.translate(hub);
    c.p.rotate(20);
    for (int sail = 0; sail < 4; ++sail) {
        c.p.setPen(QPen(QColor(90, 60, 40), 2));
        c.p.drawLine(QPointF(0, 0), QPointF(0, -100));
        c.p.setPen(QPen(QColor(110, 80, 60), 0.8));
        c.p.setBrush(QColor(250, 246, 236, 220));
        c.p.drawRect(QRectF(2, -98, 16, 78));
        for (double y = -90; y < -20; y += 9) c.p.drawLine(QPointF(2, y), QPointF(18, y));
        c.p.rotate(90);
    }
    c.p.restore();
    c.p.setBrush(QColor(60, 40, 30));
    c.p.drawEllipse(hub, 4, 4);
    // Poppies in the foreground.
    c.p.setPen(Qt::NoPen);
    for (int i = 0; i < 220; ++i) {
        const double y = c.h * 0.8 + rng.uniform(0, c.h * 0.2);
        const double s = 1 + (y - c.h * 0.78) / c.h * 16;
        c.p.setBrush(QColor(int(rng.uniform(200, 240)), int(rng.uniform(30, 60)), 30));
        c.p.drawEllipse(QPointF(rng.uniform(0, c.w), y), s, s * 0.8);
    }
    return c.image;
}

QImage paintHarbourNight(int width, int height, double scale) {
    Canvas c(width, height, scale);
    const double horizon = c.h * 0.6;
    fillGradient(c.p, QRectF(0, 0, c.w, horizon),
                 {{0, QColor(10, 14, 40)}, {1, QColor(50, 60, 110)}});
    Rng rng(113);
    stars(c.p, QRectF(0, 0, c.w, horizon * 0.7), 120, rng);
    glow(c.p, QPointF(c.w * 0.2, c.h * 0.2), 14, 80, QColor(255, 250, 230), 0.6);
    // The harbour town on the far shore.
    fillLayer(c.p, landLayer(c.w, horizon + 1, horizon - 24, 14, 120, 114, false),
              QColor(26, 30, 54), QColor(20, 24, 44));
    for (double x = 6; x < c.w; x += rng.uniform(22, 34)) {
        const double w = rng.uniform(18, 28), h = rng.uniform(18, 32);
        house(c.p, QRectF(x, horizon - h, w, h), h * 0.45, QColor(34, 34, 54), QColor(46, 32, 40),
              rng.next() % 3 ? QColor(255, 200, 100) : QColor(20, 20, 32));
    }
    // Quay with lamps.
    c.p.fillRect(QRectF(0, horizon - 4, c.w, 5), QColor(30, 28, 36));
    for (double x = 40; x < c.w; x += 90) {
        c.p.fillRect(QRectF(x - 1, horizon - 26, 2, 22), QColor(20, 20, 26));
        glow(c.p, QPointF(x, horizon - 28), 3, 22, QColor(255, 220, 140), 0.8);
    }
    reflect(c, horizon + 1, QColor(10, 20, 50), 0.3, rng);
    // Moored boats in front of the quay.
    for (int i = 0; i < 3; ++i) {
        const double bx = c.w * (0.2 + 0.3 * i), by = horizon + 30 + i * 8;
        QPainterPath hull(QPointF(bx - 34, by - 10));
        hull.lineTo(bx + 34, by - 10);
        hull.quadTo(QPointF(bx + 26, by + 4), QPointF(bx + 18, by + 4));
        hull.lineTo(bx - 22, by + 4);
        hull.closeSubpath();
        c.p.setPen(Qt::NoPen);
        c.p.setBrush(QColor(16, 14, 22));
        c.p.drawPath(hull);
        c.p.setPen(QPen(QColor(16, 14, 22), 2));
        c.p.drawLine(QPointF(bx, by - 10), QPointF(bx, by - 70));
        c.p.setPen(QPen(QColor(16, 14, 22), 0.8));
        c.p.drawLine(QPointF(bx, by - 70), QPointF(bx + 32, by - 10));
        c.p.drawLine(QPointF(bx, by - 70), QPointF(bx - 32, by - 10));
        glow(c.p, QPointF(bx - 10, by - 16), 2, 10, QColor(255, 200, 110), 0.8);
    }
    return c.image;
}

}  // namespace bm::assets
