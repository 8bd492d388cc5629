#pragma once
// Small drawing vocabulary shared by the picture painters: skies, land layers, water, trees,
// buildings. Everything random comes from a seeded generator so the output never changes.
#include <QColor>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <cstdint>
#include <initializer_list>
#include <utility>

namespace bm::assets {

class Rng {
  public:
    explicit Rng(uint32_t seed) : state_(seed ? seed : 1) {}
    uint32_t next() {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 17;
        state_ ^= state_ << 5;
        return state_;
    }
    double uniform(double lo, double hi) { return lo + (hi - lo) * (next() / 4294967296.0); }

  private:
    uint32_t state_;
};

using Stops = std::initializer_list<std::pair<double, QColor>>;

// A blank picture with an antialiasing painter attached. The painter draws in units of
// `scale` pixels, so a scene laid out in units keeps its proportions and detail at any size;
// w and h are the picture's size in those units.
struct Canvas {
    Canvas(int width, int height, double scale = 1);
    QImage image;
    QPainter p;
    double scale;
    double w, h;
};

// Vertical gradient over a rectangle.
void fillGradient(QPainter& p, const QRectF& area, Stops stops);
// A soft round light (sun, moon, lamp): solid core fading into a halo.
void glow(QPainter& p, QPointF centre, double core, double halo, QColor colour, double strength);
// On a reduced canvas the stars shrink less than the rest of the scene, so they stay visible.
void stars(QPainter& p, const QRectF& area, int count, Rng& rng);
// A fair-weather cloud whose flat underside lies at `base`.
void cloud(QPainter& p, QPointF base, double width, QColor colour, Rng& rng);
// Several clouds spread evenly across a band of sky (the band holds their undersides).
void clouds(QPainter& p, const QRectF& band, int count, double minWidth, double maxWidth,
            QColor colour, Rng& rng);

// The outline of a land layer across the whole width: fractal value noise around baseY, filled
// down to `bottom`. Jagged layers read as mountains, smooth ones as hills.
QPainterPath landLayer(double width, double bottom, double baseY, double amplitude, double scale,
                       uint32_t seed, bool jagged);
void fillLayer(QPainter& p, const QPainterPath& path, QColor top, QColor bottom);
// Height of a layer made with the same arguments at x.
double landHeight(double x, double baseY, double amplitude, double scale, uint32_t seed,
                  bool jagged);

// Water below `horizon`: the scene above is mirrored, darkened and broken up by ripples.
void reflect(Canvas& c, double horizon, QColor tint, double tintAlpha, Rng& rng);

void conifer(QPainter& p, double x, double baseY, double height, QColor colour);
// A broad-leaved tree; `leaves` is the mid tone of its foliage.
void leafyTree(QPainter& p, double x, double baseY, double height, QColor leaves, Rng& rng);
// A tower body with merlons along its top edge.
void tower(QPainter& p, const QRectF& body, int merlons, const QBrush& fill, const QPen& outline);
void house(QPainter& p, const QRectF& walls, double roofHeight, QColor wall, QColor roof,
           QColor window);

QColor mix(QColor a, QColor b, double t);

}  // namespace bm::assets
