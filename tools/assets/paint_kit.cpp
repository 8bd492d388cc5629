#include "paint_kit.h"

#include <QLinearGradient>
#include <QRadialGradient>
#include <algorithm>
#include <cmath>
#include <vector>

namespace bm::assets {

Canvas::Canvas(int width, int height, double scale)
    : image(width, height, QImage::Format_RGB32),
      scale(scale),
      w(width / scale),
      h(height / scale) {
    image.fill(Qt::black);
    p.begin(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.setRenderHint(QPainter::SmoothPixmapTransform);
    p.scale(scale, scale);
}

QColor mix(QColor a, QColor b, double t) {
    return QColor::fromRgbF(float(a.redF() + (b.redF() - a.redF()) * t),
                            float(a.greenF() + (b.greenF() - a.greenF()) * t),
                            float(a.blueF() + (b.blueF() - a.blueF()) * t),
                            float(a.alphaF() + (b.alphaF() - a.alphaF()) * t));
}

void fillGradient(QPainter& p, const QRectF& area, Stops stops) {
    QLinearGradient g(area.topLeft(), area.bottomLeft());
    for (const auto& [at, colour] : stops) g.setColorAt(at, colour);
    p.fillRect(area, g);
}

void glow(QPainter& p, QPointF centre, double core, double halo, QColor colour, double strength) {
    QRadialGradient g(centre, halo);
    QColor edge = colour;
    edge.setAlphaF(0);
    QColor mid = colour;
    mid.setAlphaF(float(strength * 0.35));
    g.setColorAt(0, colour);
    g.setColorAt(core / halo, colour);
    g.setColorAt(std::min(1.0, core / halo + 0.08), mid);
    g.setColorAt(1, edge);
    p.setPen(Qt::NoPen);
    p.setBrush(g);
    p.drawEllipse(centre, halo, halo);
}

void stars(QPainter& p, const QRectF& area, int count, Rng& rng) {
    // On a reduced canvas the stars shrink only with the root of the scale, so the faint ones
    // do not vanish into the sky.
    const double grow = 1 / std::sqrt(std::clamp(p.transform().m11(), 0.25, 1.0));
    p.setPen(Qt::NoPen);
    for (int i = 0; i < count; ++i) {
        const QPointF at(rng.uniform(area.left(), area.right()),
                         area.top() + area.height() * std::pow(rng.uniform(0, 1), 1.6));
        const double size = rng.uniform(0.4, 1.0) * rng.uniform(0.6, 1.6);
        const double bright = std::clamp(1.0 - (at.y() - area.top()) / area.height(), 0.25, 1.0);
        p.setBrush(QColor::fromRgbF(1, 1, float(rng.uniform(0.8, 1)), float(bright)));
        p.drawEllipse(at, size * grow, size * grow);
        if (size > 1.2) glow(p, at, size * grow, size * grow * 4, QColor(255, 255, 240, 90), 0.5);
    }
}

void cloud(QPainter& p, QPointF base, double width, QColor colour, Rng& rng) {
    // A heap of puffs, tallest in the middle, cut flat along the bottom.
    QPainterPath puffs;
    const int count = 7;
    for (int i = 0; i < count; ++i) {
        const double u = (i + rng.uniform(0.2, 0.8)) / count * 2 - 1;
        const double r = width * 0.2 * (1 - 0.55 * u * u) * rng.uniform(0.8, 1.15);
        QPainterPath puff;
        puff.addEllipse(QPointF(base.x() + u * width * 0.42, base.y() - r * 0.55), r, r);
        puffs = puffs.united(puff);
    }
    QPainterPath below;
    below.addRect(QRectF(base.x() - width, base.y(), 2 * width, width));
    puffs = puffs.subtracted(below);
    const QRectF box = puffs.boundingRect();
    QLinearGradient g(box.topLeft(), box.bottomLeft());
    QColor shade = colour.darker(125);
    shade.setAlpha(colour.alpha());
    g.setColorAt(0.2, colour);
    g.setColorAt(1, shade);
    // A faint wider rim first so the edge looks soft rather than cut out.
    QColor rim = colour;
    rim.setAlpha(colour.alpha() / 4);
    p.setPen(QPen(rim, width * 0.05));
    p.setBrush(Qt::NoBrush);
    p.drawPath(puffs);
    p.setPen(Qt::NoPen);
    p.setBrush(g);
    p.drawPath(puffs);
}

void clouds(QPainter& p, const QRectF& band, int count, double minWidth, double maxWidth,
            QColor colour, Rng& rng) {
    // One cloud per slot across the band so they never bunch up.
    for (int i = 0; i < count; ++i) {
        const double x = band.left() + (i + rng.uniform(0.1, 0.9)) * band.width() / count;
        const double y = rng.uniform(band.top(), band.bottom());
        cloud(p, QPointF(x, y), rng.uniform(minWidth, maxWidth), colour, rng);
    }
}

namespace {

double lattice(int i, uint32_t seed) {
    uint32_t h = uint32_t(i) * 0x9E3779B1u ^ seed * 0x85EBCA77u;
    h ^= h >> 15;
    h *= 0x2C1B3C6Du;
    h ^= h >> 12;
    return (h & 0xffff) / 32767.5 - 1.0;
}

// Value noise in [-1, 1]; linear interpolation gives ridges, cosine gives rounded swells.
double noise(double x, uint32_t seed, bool jagged) {
    const int i = int(std::floor(x));
    double t = x - i;
    if (!jagged) t = 0.5 - 0.5 * std::cos(t * 3.14159265358979);
    return lattice(i, seed) * (1 - t) + lattice(i + 1, seed) * t;
}

}  // namespace

double landHeight(double x, double baseY, double amplitude, double scale, uint32_t seed,
                  bool jagged) {
    double sum = 0, amp = 1, freq = 1 / scale, norm = 0;
    const int octaves = jagged ? 5 : 3;
    for (int o = 0; o < octaves; ++o) {
        sum += amp * noise(x * freq, seed + o * 101, jagged);
        norm += amp;
        amp *= jagged ? 0.5 : 0.4;
        freq *= 2.1;
    }
    return baseY - amplitude * sum / norm;
}

QPainterPath landLayer(double width, double bottom, double baseY, double amplitude, double scale,
                       uint32_t seed, bool jagged) {
    QPainterPath path(QPointF(-2, bottom));
    for (double x = -2; x <= width + 2; x += 2) {
        path.lineTo(x, landHeight(x, baseY, amplitude, scale, seed, jagged));
    }
    path.lineTo(width + 2, bottom);
    path.closeSubpath();
    return path;
}

void fillLayer(QPainter& p, const QPainterPath& path, QColor top, QColor bottom) {
    const QRectF box = path.boundingRect();
    QLinearGradient g(box.topLeft(), box.bottomLeft());
    g.setColorAt(0, top);
    g.setColorAt(1, bottom);
    p.setPen(Qt::NoPen);
    p.setBrush(g);
    p.drawPath(path);
}

void reflect(Canvas& c, double horizon, QColor tint, double tintAlpha, Rng& rng) {
    // The mirror is built from whole pixel rows, so this part works in pixels.
    const double s = c.scale;
    const int width = c.image.width();
    const int top = int(horizon * s);
    const int depth = c.image.height() - top;
    const QImage above = c.image.copy(0, std::max(0, top - depth), width, std::min(top, depth));
    const QImage mirrored = above.mirrored(false, true);
    // Ripples: each row is taken from a slightly shifted position in the mirror, over an
    // unshifted copy so that the picture edges stay covered.
    c.p.save();
    c.p.resetTransform();
    c.p.drawImage(QPointF(0, top), mirrored);
    for (int y = 0; y < depth && y < mirrored.height(); ++y) {
        const double u = y / s;  // depth below the horizon in drawing units
        const double shift =
            std::sin(u * 0.35 + rng.uniform(0, 0.3)) * std::min(1.6, 0.3 + u * 0.02) * s;
        c.p.drawImage(QPointF(shift, top + y), mirrored, QRectF(0, y, width, 1));
    }
    c.p.restore();
    QColor t = tint;
    t.setAlphaF(float(tintAlpha));
    QColor deep = tint;
    deep.setAlphaF(float(std::min(1.0, tintAlpha + 0.3)));
    const double waterTop = top / s, waterDepth = depth / s;
    fillGradient(c.p, QRectF(0, waterTop, c.w, waterDepth), {{0, t}, {1, deep}});
    // Glints stay one pixel thick whatever the scale.
    QPen glint(QColor(255, 255, 255, 40), 1);
    glint.setCosmetic(true);
    c.p.setPen(glint);
    for (int i = 0; i < int(waterDepth) / 3; ++i) {
        const double y = waterTop + 2 + std::pow(rng.uniform(0, 1), 1.4) * (waterDepth - 2);
        const double len = 4 + (y - waterTop) * rng.uniform(0.05, 0.25);
        const double x = rng.uniform(0, c.w);
        c.p.drawLine(QPointF(x, y), QPointF(x + len, y));
    }
}

void conifer(QPainter& p, double x, double baseY, double height, QColor colour) {
    p.setPen(Qt::NoPen);
    p.setBrush(colour.darker(140));
    p.drawRect(QRectF(x - height * 0.03, baseY - height * 0.15, height * 0.06, height * 0.15));
    p.setBrush(colour);
    for (int tier = 0; tier < 3; ++tier) {
        const double bottom = baseY - height * (0.1 + 0.25 * tier);
        const double half = height * (0.28 - 0.06 * tier);
        QPainterPath tri;
        tri.moveTo(x - half, bottom);
        tri.lineTo(x, bottom - height * (0.5 - 0.05 * tier));
        tri.lineTo(x + half, bottom);
        tri.closeSubpath();
        p.drawPath(tri);
    }
}

void leafyTree(QPainter& p, double x, double baseY, double height, QColor leaves, Rng& rng) {
    // Tapered trunk with two limbs reaching into the crown.
    const QColor bark(74, 52, 36);
    QPainterPath trunk(QPointF(x - height * 0.04, baseY));
    trunk.lineTo(x - height * 0.015, baseY - height * 0.7);
    trunk.lineTo(x + height * 0.015, baseY - height * 0.7);
    trunk.lineTo(x + height * 0.04, baseY);
    trunk.closeSubpath();
    p.setPen(Qt::NoPen);
    p.setBrush(bark);
    p.drawPath(trunk);
    p.setPen(QPen(bark, height * 0.018, Qt::SolidLine, Qt::RoundCap));
    p.drawLine(QPointF(x, baseY - height * 0.4), QPointF(x - height * 0.16, baseY - height * 0.66));
    p.drawLine(QPointF(x, baseY - height * 0.48),
               QPointF(x + height * 0.14, baseY - height * 0.72));

    // The crown: clusters of foliage dabs around a few lobes, which gives a ragged outline;
    // dabs are lit from the upper left and the lit ones are painted last.
    const QPointF crown(x, baseY - height * 0.68);
    const double rx = height * 0.3, ry = height * 0.27;
    QPointF lobes[5];
    for (QPointF& lobe : lobes) {
        const double angle = rng.uniform(0, 6.2832), dist = rng.uniform(0.2, 0.55);
        lobe = QPointF(std::cos(angle) * dist, std::sin(angle) * dist);
    }
    struct Dab {
        QPointF at;
        double r, light;
    };
    std::vector<Dab> dabs;
    const int count = 40 + int(height * 0.9);
    for (int i = 0; i < count; ++i) {
        const double angle = rng.uniform(0, 6.2832), dist = std::sqrt(rng.uniform(0, 1)) * 0.5;
        const QPointF off =
            lobes[rng.next() % 5] + QPointF(std::cos(angle) * dist, std::sin(angle) * dist);
        const double light =
            std::clamp(0.5 - 0.4 * (off.x() + off.y()) + rng.uniform(-0.15, 0.15), 0.0, 1.0);
        const double r = std::min(12.0, 2.0 + height * rng.uniform(0.03, 0.06));
        dabs.push_back({crown + QPointF(off.x() * rx, off.y() * ry), r, light});
    }
    std::sort(dabs.begin(), dabs.end(),
              [](const Dab& a, const Dab& b) { return a.light < b.light; });
    p.setPen(Qt::NoPen);
    for (const Dab& d : dabs) {
        p.setBrush(mix(leaves.darker(160), leaves.lighter(135), d.light));
        p.drawEllipse(d.at, d.r, d.r * 0.85);
    }
}

void tower(QPainter& p, const QRectF& body, int merlons, const QBrush& fill, const QPen& outline) {
    const double step = body.width() / (2 * merlons - 1);
    const double notch = std::min(step, body.height() * 0.2);
    QPainterPath path(body.bottomLeft());
    path.lineTo(body.left(), body.top() - notch);
    for (int i = 0; i < merlons; ++i) {
        const double x = body.left() + 2 * i * step;
        path.lineTo(x + step, body.top() - notch);
        if (i + 1 < merlons) {
            path.lineTo(x + step, body.top());
            path.lineTo(x + 2 * step, body.top());
            path.lineTo(x + 2 * step, body.top() - notch);
        }
    }
    path.lineTo(body.right(), body.bottom());
    path.closeSubpath();
    p.setPen(outline);
    p.setBrush(fill);
    p.drawPath(path);
}

void house(QPainter& p, const QRectF& walls, double roofHeight, QColor wall, QColor roof,
           QColor window) {
    p.setPen(Qt::NoPen);
    p.setBrush(wall);
    p.drawRect(walls);
    QPainterPath gable;
    gable.moveTo(walls.left() - 2, walls.top());
    gable.lineTo(walls.center().x(), walls.top() - roofHeight);
    gable.lineTo(walls.right() + 2, walls.top());
    gable.closeSubpath();
    p.setBrush(roof);
    p.drawPath(gable);
    if (window.alpha() == 0) return;
    const double size = std::max(2.0, walls.width() * 0.16);
    p.setBrush(window);
    for (double x : {walls.left() + walls.width() * 0.22, walls.right() - walls.width() * 0.22}) {
        const QRectF pane(x - size / 2, walls.top() + walls.height() * 0.3, size, size * 1.2);
        p.drawRect(pane);
        if (window.lightness() > 150) glow(p, pane.center(), 0, size * 2.5, window, 0.25);
        p.setBrush(window);
    }
}

}  // namespace bm::assets
