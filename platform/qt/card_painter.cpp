#include "platform/qt/card_painter.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFont>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QPen>
#include <QPixmap>
#include <QPointer>
#include <QThreadPool>
#include <QTimer>
#include <QTransform>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <deque>
#include <numbers>
#include <optional>
#include <unordered_map>
#include <vector>

#include "platform/qt/pages.h"

// Every card is a short list of layers in card coordinates (71 x 96): filled paths and thin pen
// strokes, built once per card. Painting only replays them: no text layout and no clipping, and
// nothing is a bitmap, so cards stay crisp at any scale.
//
// The raster engine's cost grows with the length of the edges it scans, and sharply when one path
// holds shapes spread over the card, so shapes are kept as single outlines where possible (no
// hidden overlapping edges) and shapes far apart go into separate layers.

namespace bm::qt {
namespace {

constexpr double kW = kCardWidth;
constexpr double kH = kCardHeight;
constexpr double kCornerRadius = 4.5;
constexpr double kBorder = 1.0;

constexpr QRgb kRed = 0xFFC8102E;
constexpr QRgb kBlack = 0xFF1A1A1A;
constexpr QRgb kBorderGrey = 0xFF4F4F4F;
constexpr QRgb kWhite = 0xFFFFFFFF;
constexpr QRgb kGold = 0xFFE0B000;
constexpr QRgb kInk = 0xFF3A2414;  // outlines of the court figures
constexpr QRgb kSkin = 0xFFF6D6B4;
constexpr QRgb kPanel = 0xFFFFF8E8;

enum Suit { kClubs = 0, kDiamonds = 1, kHearts = 2, kSpades = 3 };
enum Rank { kAce = 0, kTen = 9, kJack = 10, kQueen = 11, kKing = 12 };

// Where a layer takes its colour from: fixed, or the colour passed with a back.
enum class Ink { Fixed, Background, Pattern };

// A filled path, a filled rectangle (the raster engine fills rectangles far faster than paths),
// a stroked path or a set of lines. Thin pens take the raster engine's fast line drawing, much
// cheaper than filling the outline of a stroke.
struct Layer {
    enum Kind { Fill, Rect, Stroke, Lines };
    Kind kind = Fill;
    QPainterPath path;
    QRectF rect;
    std::vector<QLineF> lines;
    QColor colour;
    Ink ink = Ink::Fixed;
    double penWidth = 0;
    double minDeviceWidth = 0;  // pens never thinner than this many device pixels
    Qt::PenCapStyle cap = Qt::RoundCap;
};
using Layers = std::vector<Layer>;

// Collects the layers of one card in painting order.
class Art {
  public:
    void fill(QPainterPath path, QRgb colour) { fill(std::move(path), QColor(colour), Ink::Fixed); }
    void fill(QPainterPath path, Ink ink) { fill(std::move(path), QColor(), ink); }
    void fillRect(const QRectF& rect, QRgb colour) {
        Layer l;
        l.kind = Layer::Rect;
        l.rect = rect;
        l.colour = QColor(colour);
        layers_.push_back(std::move(l));
    }
    void stroke(const QPainterPath& path, double width, QRgb colour,
                Qt::PenCapStyle cap = Qt::RoundCap) {
        stroke(path, width, QColor(colour), Ink::Fixed, cap);
    }
    // Fine lines of the back's pattern, kept at least one device pixel wide so they stay clear
    // at small scales.
    void hairline(const QPainterPath& path, double width, Ink ink) {
        stroke(path, width, QColor(), ink, Qt::FlatCap);
        layers_.back().minDeviceWidth = 1;
    }
    void hairlines(std::vector<QLineF> lines, double width, Ink ink) {
        Layer l;
        l.kind = Layer::Lines;
        l.lines = std::move(lines);
        l.ink = ink;
        l.penWidth = width;
        l.minDeviceWidth = 1;
        l.cap = Qt::FlatCap;
        layers_.push_back(std::move(l));
    }
    // A filled shape with a thin outline.
    void outlined(const QPainterPath& path, QRgb colour, double width = 0.5, QRgb line = kInk) {
        fill(path, colour);
        stroke(path, width, line);
    }
    // Adds layers built elsewhere, moved by `t` (a translation, possibly with a half turn, so pen
    // widths stay as they are).
    void add(const Layers& layers, const QTransform& t) {
        for (const Layer& l : layers) {
            Layer mapped = l;
            mapped.path = t.map(l.path);
            mapped.rect = t.mapRect(l.rect);
            for (QLineF& line : mapped.lines) line = t.map(line);
            layers_.push_back(std::move(mapped));
        }
    }
    Layers take() { return std::move(layers_); }

  private:
    void fill(QPainterPath path, QColor colour, Ink ink) {
        // Glyphs and shapes made of overlapping parts are meant as the union of their parts.
        path.setFillRule(Qt::WindingFill);
        // A shape next to the one just added, in the same colour and on about the same rows (two
        // pips of a row, a rank over its pip), joins it and saves a fill. They must not overlap,
        // or the winding fill could cut holes.
        if (!layers_.empty()) {
            Layer& last = layers_.back();
            const QRectF a = last.path.boundingRect(), b = path.boundingRect();
            if (last.kind == Layer::Fill && last.ink == ink && last.colour == colour &&
                !a.intersects(b) && a.united(b).height() <= a.height() + b.height() + 2) {
                last.path.addPath(path);
                return;
            }
        }
        Layer l;
        l.path = std::move(path);
        l.colour = colour;
        l.ink = ink;
        layers_.push_back(std::move(l));
    }
    void stroke(const QPainterPath& path, double width, QColor colour, Ink ink,
                Qt::PenCapStyle cap) {
        Layer l;
        l.kind = Layer::Stroke;
        l.path = path;
        l.colour = colour;
        l.ink = ink;
        l.penWidth = width;
        l.cap = cap;
        layers_.push_back(std::move(l));
    }

    Layers layers_;
};

QPainterPath ellipse(double cx, double cy, double rx, double ry) {
    QPainterPath p;
    p.addEllipse(QPointF(cx, cy), rx, ry);
    return p;
}

QPainterPath roundedRect(double x, double y, double w, double h, double r) {
    QPainterPath p;
    p.addRoundedRect(QRectF(x, y, w, h), r, r);
    return p;
}

// ---- Suit pips: one unit-wide shape per suit, centred on the origin, about one unit tall. ----

QPainterPath makeHeart() {
    QPainterPath p;
    p.moveTo(0, 0.5);
    p.cubicTo(-0.1, 0.38, -0.5, 0.12, -0.5, -0.25);
    // Left lobe: an arc over the top, then down into the notch.
    p.arcTo(QRectF(-0.5, -0.5, 0.5, 0.5), 180, -180);
    p.arcTo(QRectF(0.0, -0.5, 0.5, 0.5), 180, -180);
    p.cubicTo(0.5, 0.12, 0.1, 0.38, 0, 0.5);
    p.closeSubpath();
    return p;
}

QPainterPath makeDiamond() {
    // A rhombus with slightly hollow sides.
    QPainterPath p;
    p.moveTo(0, -0.52);
    p.quadTo(0.16, -0.2, 0.42, 0);
    p.quadTo(0.16, 0.2, 0, 0.52);
    p.quadTo(-0.16, 0.2, -0.42, 0);
    p.quadTo(-0.16, -0.2, 0, -0.52);
    p.closeSubpath();
    return p;
}

QPainterPath makeSpade() {
    // An upside-down heart drawn as one outline that runs into the stem.
    QPainterPath p;
    p.moveTo(0, -0.52);
    p.cubicTo(0.1, -0.38, 0.5, -0.16, 0.5, 0.1);
    p.cubicTo(0.5, 0.29, 0.37, 0.38, 0.25, 0.38);
    p.cubicTo(0.15, 0.38, 0.07, 0.33, 0.045, 0.26);
    p.quadTo(0.06, 0.43, 0.22, 0.52);
    p.lineTo(-0.22, 0.52);
    p.quadTo(-0.06, 0.43, -0.045, 0.26);
    p.cubicTo(-0.07, 0.33, -0.15, 0.38, -0.25, 0.38);
    p.cubicTo(-0.37, 0.38, -0.5, 0.29, -0.5, 0.1);
    p.cubicTo(-0.5, -0.16, -0.1, -0.38, 0, -0.52);
    p.closeSubpath();
    return p;
}

// Angle of `p` seen from `c`, in degrees as QPainterPath::arcTo counts them.
double angleOf(QPointF c, QPointF p) {
    return std::atan2(c.y() - p.y(), p.x() - c.x()) * 180 / std::numbers::pi;
}

// The crossing of two circles of radius `r` that lies farther from `away`.
QPointF crossing(QPointF a, QPointF b, double r, QPointF away) {
    const QPointF mid = (a + b) / 2;
    const QPointF d = b - a;
    const double half = std::hypot(d.x(), d.y()) / 2;
    const double h = std::sqrt(std::max(0.0, r * r - half * half));
    const QPointF n(-d.y() / (2 * half), d.x() / (2 * half));
    const QPointF p1 = mid + n * h, p2 = mid - n * h;
    auto dist = [&](QPointF p) { return std::hypot(p.x() - away.x(), p.y() - away.y()); };
    return dist(p1) > dist(p2) ? p1 : p2;
}

QPainterPath makeClub() {
    // The outline of three overlapping lobes with a flared stem, traced as one contour so no
    // hidden edges are left inside.
    const double r = 0.245;
    const QPointF top(0, -0.255), left(-0.25, 0.1), right(0.25, 0.1), centre(0, 0.02);
    const QPointF topRight = crossing(top, right, r, centre);
    const QPointF topLeft = crossing(top, left, r, centre);
    const double stemAngle = 52;  // where the stem leaves the side lobes, below their centres
    auto arc = [&](QPainterPath& p, QPointF c, double from, double to) {
        double sweep = to - from;
        while (sweep <= 0) sweep += 360;
        p.arcTo(QRectF(c.x() - r, c.y() - r, 2 * r, 2 * r), from, sweep);
    };
    QPainterPath p;
    p.moveTo(topRight);
    arc(p, top, angleOf(top, topRight), angleOf(top, topLeft));
    arc(p, left, angleOf(left, topLeft), -stemAngle);
    const QPointF joinLeft = p.currentPosition();
    p.quadTo(QPointF(-0.06, 0.44), QPointF(-0.22, 0.52));
    p.lineTo(0.22, 0.52);
    const QPointF joinRight(-joinLeft.x(), joinLeft.y());
    p.quadTo(QPointF(0.06, 0.44), joinRight);
    arc(p, right, 180 + stemAngle, angleOf(right, topRight));
    p.closeSubpath();
    return p;
}

const QPainterPath& pipShape(int suit) {
    static const std::array<QPainterPath, 4> shapes = {makeClub(), makeDiamond(), makeHeart(),
                                                       makeSpade()};
    return shapes[static_cast<size_t>(suit & 3)];
}

// The pip of `suit`, `size` wide, centred on (cx, cy); upside down when `flipped`.
QPainterPath pip(int suit, double cx, double cy, double size, bool flipped = false) {
    const double s = flipped ? -size : size;
    return QTransform(s, 0, 0, s, cx, cy).map(pipShape(suit));
}

QRgb suitColour(int suit) {
    return suit == kDiamonds || suit == kHearts ? kRed : kBlack;
}

// ---- Rank glyphs: font outlines taken once, scaled so the cap height is one unit, horizontally
// centred on x = 0 with the top of the capitals at y = 0. ----

QFont rankFont() {
    QFont f(QStringLiteral("DejaVu Sans"));
    f.setStyleHint(QFont::SansSerif, QFont::PreferOutline);
    f.setHintingPreference(QFont::PreferNoHinting);
    f.setWeight(QFont::Bold);
    f.setPixelSize(200);
    return f;
}

QPainterPath glyphOutline(const QFont& font, const QString& text) {
    QPainterPath p;
    p.addText(0, 0, font, text);
    return p;
}

std::array<QPainterPath, 13> makeRankGlyphs() {
    const QFont font = rankFont();
    // The capital K gives the cap height; digits in sans-serif fonts share it.
    const QRectF cap = glyphOutline(font, QStringLiteral("K")).boundingRect();
    std::array<QPainterPath, 13> glyphs;
    if (cap.height() <= 0) return glyphs;  // no usable font: the indices show pips only
    const double unit = 1.0 / cap.height();
    const QString names[13] = {"A", "2", "3", "4", "5", "6", "7", "8", "9", "10", "J", "Q", "K"};
    for (int rank = 0; rank < 13; ++rank) {
        QPainterPath path;
        if (rank == kTen) {
            // Set "1" and "0" closer than the font's tabular digit widths do.
            const QPainterPath one = glyphOutline(font, QStringLiteral("1"));
            const QPainterPath zero = glyphOutline(font, QStringLiteral("0"));
            const QRectF b1 = one.boundingRect(), b0 = zero.boundingRect();
            path = one.translated(-b1.left(), 0);
            path.addPath(zero.translated(b1.width() + 0.06 * cap.height() - b0.left(), 0));
        } else {
            path = glyphOutline(font, names[rank]);
        }
        const QRectF b = path.boundingRect();
        // Centre on the ink, not on the advance, so narrow glyphs such as "1" or "J" sit centred.
        glyphs[static_cast<size_t>(rank)] =
            QTransform(unit, 0, 0, unit, -(b.center().x()) * unit, -cap.top() * unit).map(path);
    }
    return glyphs;
}

// Rank `rank` with cap height `height`, top centre at (cx, top), squeezed to at most `maxWidth`.
QPainterPath rankGlyph(int rank, double cx, double top, double height, double maxWidth) {
    static const std::array<QPainterPath, 13> glyphs = makeRankGlyphs();
    const QPainterPath& g = glyphs[static_cast<size_t>(rank)];
    const double w = g.boundingRect().width() * height;
    const double sx = w > maxWidth ? height * maxWidth / w : height;
    return QTransform(sx, 0, 0, height, cx, top).map(g);
}

// ---- Faces ----

constexpr double kIndexX = 7.6;    // centre of the corner index column
constexpr double kIndexTop = 4.5;  // top of the rank in the index
constexpr double kIndexCap = 9.0;  // cap height of the rank in the index
constexpr double kIndexPip = 7.4;  // width of the pip in the index
constexpr double kIndexWidth = 10.5;

// The white card with its thin border. Built from rectangles plus the four corners, a pair of
// corners to a path: a path filled across the whole card costs several times more. The white
// runs under the border and the corner pieces overlap the straight parts, so no seams show where
// pieces meet between device pixels.
void addBlank(Art& art) {
    constexpr double r = kCornerRadius, b = kBorder;
    // Top-left corner of the card's outline out to r + 1 along both edges, and of the border.
    QPainterPath white;
    white.moveTo(0, r + 1);
    white.lineTo(0, r);
    white.arcTo(QRectF(0, 0, 2 * r, 2 * r), 180, -90);
    white.lineTo(r + 1, 0);
    white.lineTo(r + 1, r + 1);
    white.closeSubpath();
    QPainterPath ring;
    ring.moveTo(0, r + 1);
    ring.lineTo(0, r);
    ring.arcTo(QRectF(0, 0, 2 * r, 2 * r), 180, -90);
    ring.lineTo(r + 1, 0);
    ring.lineTo(r + 1, b);
    ring.lineTo(r, b);
    ring.arcTo(QRectF(b, b, 2 * (r - b), 2 * (r - b)), 90, 90);
    ring.lineTo(b, r + 1);
    ring.closeSubpath();
    const QTransform mirror(-1, 0, 0, 1, kW, 0), flip(1, 0, 0, -1, 0, kH);
    auto pair = [&](const QPainterPath& corner, bool bottom) {
        QPainterPath p = bottom ? flip.map(corner) : corner;
        p.addPath(mirror.map(p));
        return p;
    };
    art.fillRect(QRectF(0, r, kW, kH - 2 * r), kWhite);
    art.fillRect(QRectF(r, 0, kW - 2 * r, kH), kWhite);
    art.fill(pair(white, false), kWhite);
    art.fill(pair(white, true), kWhite);
    art.fillRect(QRectF(r, 0, kW - 2 * r, b), kBorderGrey);
    art.fillRect(QRectF(r, kH - b, kW - 2 * r, b), kBorderGrey);
    art.fillRect(QRectF(0, r, b, kH - 2 * r), kBorderGrey);
    art.fillRect(QRectF(kW - b, r, b, kH - 2 * r), kBorderGrey);
    art.fill(pair(ring, false), kBorderGrey);
    art.fill(pair(ring, true), kBorderGrey);
}

// Both corner indices of a face: rank over pip, top left, and the same turned over, bottom right.
void addIndices(Art& art, int rank, int suit) {
    const QPainterPath glyph = rankGlyph(rank, kIndexX, kIndexTop, kIndexCap, kIndexWidth);
    const QPainterPath mark =
        pip(suit, kIndexX, kIndexTop + kIndexCap + 2.4 + kIndexPip * 0.5, kIndexPip);
    const QTransform turn(-1, 0, 0, -1, kW, kH);
    for (const QPainterPath& p : {glyph, mark, turn.map(glyph), turn.map(mark)})
        art.fill(p, suitColour(suit));
}

// Pip positions of the number cards: columns left/centre/right, rows as a fraction of the way
// from the top pip row to the bottom one.
struct Spot {
    int column;  // -1, 0, 1
    double row;  // 0..1
};

std::vector<Spot> spots(int count) {
    const double third = 1.0 / 3.0;
    std::vector<Spot> s;
    auto sides = [&](std::initializer_list<double> rows) {
        for (double r : rows) {
            s.push_back({-1, r});
            s.push_back({1, r});
        }
    };
    switch (count) {
        case 2:
            s = {{0, 0}, {0, 1}};
            break;
        case 3:
            s = {{0, 0}, {0, 0.5}, {0, 1}};
            break;
        case 4:
        case 5:
            sides({0, 1});
            break;
        case 6:
        case 7:
        case 8:
            sides({0, 0.5, 1});
            break;
        case 9:
        case 10:
            sides({0, third, 2 * third, 1});
            break;
        default:
            break;
    }
    // The centre column of the larger cards.
    switch (count) {
        case 5:
        case 9:
            s.push_back({0, 0.5});
            break;
        case 7:
            s.push_back({0, 0.25});
            break;
        case 8:
            s.insert(s.end(), {{0, 0.25}, {0, 0.75}});
            break;
        case 10:
            s.insert(s.end(), {{0, third / 2}, {0, 1 - third / 2}});
            break;
        default:
            break;
    }
    return s;
}

Layers numberFace(int rank, int suit) {
    constexpr double kColumnGap = 13.0;  // from the centre column to a side column
    constexpr double kTopRow = 17.5;
    constexpr double kPipSize = 11.0;
    const QRgb ink = suitColour(suit);
    Art art;
    addBlank(art);
    addIndices(art, rank, suit);
    if (rank == kAce) {
        art.fill(pip(suit, kW / 2, kH / 2, suit == kSpades ? 30 : 25), ink);
    } else {
        for (const Spot& s : spots(rank + 1)) {
            const double y = kTopRow + s.row * (kH - 2 * kTopRow);
            // Pips below the middle are turned over, as on a real card.
            art.fill(pip(suit, kW / 2 + s.column * kColumnGap, y, kPipSize, s.row > 0.5), ink);
        }
    }
    return art.take();
}

// ---- Court cards: a framed panel with the figure's bust twice, the lower one turned over. ----

constexpr double kPanelX = 15.0;
constexpr double kPanelY = 6.0;
constexpr double kPanelW = kW - 2 * kPanelX;
constexpr double kPanelH = kH - 2 * kPanelY;
constexpr double kHalfH = kPanelH / 2;

// A band of width `w` along the cubic a-c1-c2-b, for trims that run roughly across: the edges are
// the curve moved up and down by half the width.
QPainterPath ribbon(QPointF a, QPointF c1, QPointF c2, QPointF b, double w) {
    const QPointF up(0, -w / 2), down(0, w / 2);
    QPainterPath p;
    p.moveTo(a + up);
    p.cubicTo(c1 + up, c2 + up, b + up);
    p.lineTo(b + down);
    p.cubicTo(c2 + down, c1 + down, a + down);
    p.closeSubpath();
    return p;
}

QPainterPath polygon(std::initializer_list<QPointF> points) {
    QPainterPath p;
    p.addPolygon(QPolygonF(points));
    p.closeSubpath();
    return p;
}

// A five-petalled flower as one outline.
QPainterPath flower(double cx, double cy, double radius) {
    QPainterPath p;
    auto at = [&](double degrees, double r) {
        const double a = degrees * std::numbers::pi / 180;
        return QPointF(cx + r * std::cos(a), cy + r * std::sin(a));
    };
    const double inner = radius * 0.3;
    for (int i = 0; i < 5; ++i) {
        const double a = -90 + 72 * i;
        if (i == 0) p.moveTo(at(a - 36, inner));
        p.cubicTo(at(a - 34, radius * 1.25), at(a + 34, radius * 1.25), at(a + 36, inner));
    }
    p.closeSubpath();
    return p;
}

// The bust of `rank` in the upper half of the panel, in panel coordinates (kPanelW x kHalfH).
Layers bust(int rank, int suit) {
    const QRgb suitInk = suitColour(suit);
    const double cx = 16.0;  // the figure's axis
    Art art;

    // Hair behind the head.
    if (rank == kQueen) {
        QPainterPath hair;
        hair.moveTo(cx - 6.2, 16);
        hair.cubicTo(cx - 7.4, 22, cx - 7.2, 27, cx - 8, 31);
        hair.lineTo(cx + 8, 31);
        hair.cubicTo(cx + 7.2, 27, cx + 7.4, 22, cx + 6.2, 16);
        hair.cubicTo(cx + 5, 10.5, cx - 5, 10.5, cx - 6.2, 16);
        hair.closeSubpath();
        art.outlined(hair, 0xFF8A4B1F);
    } else if (rank == kJack) {
        art.outlined(ellipse(cx, 18.2, 6.3, 6.8), 0xFF8A5A2B);
    }

    // Robe, cut off by the seam in the middle of the panel.
    QPainterPath robe;
    robe.moveTo(1.5, kHalfH);
    robe.cubicTo(1.5, 34, 5, 29.6, 11, 28.6);
    robe.lineTo(cx * 2 - 11, 28.6);
    robe.cubicTo(cx * 2 - 5, 29.6, cx * 2 - 1.5, 34, cx * 2 - 1.5, kHalfH);
    robe.closeSubpath();
    art.fill(robe, suitInk);

    // Neck and head.
    art.outlined(roundedRect(cx - 2.2, 23, 4.4, 6.4, 1), kSkin);
    art.outlined(ellipse(cx, 19, 5.2, 6.2), kSkin);
    QPainterPath eyes = ellipse(cx - 1.9, 18.6, 0.65, 0.7);
    eyes.addPath(ellipse(cx + 1.9, 18.6, 0.65, 0.7));
    art.fill(eyes, kInk);
    QPainterPath nose;
    nose.moveTo(cx, 19.2);
    nose.quadTo(cx - 0.8, 20.8, cx + 0.2, 21.1);
    art.stroke(nose, 0.45, kInk);

    if (rank == kKing) {
        // Beard with moustache.
        QPainterPath beard;
        beard.moveTo(cx - 5.1, 19.6);
        beard.cubicTo(cx - 5.1, 27.5, cx - 2.8, 31.2, cx, 31.2);
        beard.cubicTo(cx + 2.8, 31.2, cx + 5.1, 27.5, cx + 5.1, 19.6);
        beard.cubicTo(cx + 4, 22.6, cx + 2.4, 21.6, cx, 22.8);
        beard.cubicTo(cx - 2.4, 21.6, cx - 4, 22.6, cx - 5.1, 19.6);
        beard.closeSubpath();
        art.outlined(beard, 0xFF7A4A24);
        QPainterPath curls;
        curls.moveTo(cx - 2.2, 25.5);
        curls.quadTo(cx - 1.6, 28, cx - 0.6, 29.5);
        curls.moveTo(cx + 2.2, 25.5);
        curls.quadTo(cx + 1.6, 28, cx + 0.6, 29.5);
        art.stroke(curls, 0.4, 0xFF4A2A10);
        // Pointed crown: three spikes tipped with balls, a jewel in the band.
        art.outlined(polygon({{cx - 5.6, 14.4},
                              {cx - 6.0, 6.6},
                              {cx - 2.9, 10.2},
                              {cx, 4.6},
                              {cx + 2.9, 10.2},
                              {cx + 6.0, 6.6},
                              {cx + 5.6, 14.4}}),
                     kGold);
        QPainterPath balls = ellipse(cx - 6.0, 6.4, 0.95, 0.95);
        balls.addPath(ellipse(cx, 4.4, 0.95, 0.95));
        balls.addPath(ellipse(cx + 6.0, 6.4, 0.95, 0.95));
        art.outlined(balls, kGold, 0.4);
        art.fill(ellipse(cx, 12.2, 1.2, 1.2), suitInk);
        // Gold collar and a band down the front of the robe.
        art.fill(ribbon({cx - 9, 30.3}, {cx - 5, 34}, {cx + 5, 34}, {cx + 9, 30.3}, 2.2), kGold);
        QPainterPath band;
        band.addRect(QRectF(cx - 1, 32.6, 2, kHalfH - 32.6));
        art.fill(band, kGold);
    } else if (rank == kQueen) {
        QPainterPath mouth;
        mouth.moveTo(cx - 1.3, 22.4);
        mouth.quadTo(cx, 23.3, cx + 1.3, 22.4);
        art.stroke(mouth, 0.6, 0xFFB0303A);
        // Rounded crown: three arches with pearls.
        QPainterPath crown;
        crown.moveTo(cx - 5.2, 14);
        crown.lineTo(cx - 5.2, 10.4);
        crown.cubicTo(cx - 5.2, 7.6, cx - 2.8, 7.4, cx - 2.4, 9.2);
        crown.cubicTo(cx - 2, 5.6, cx + 2, 5.6, cx + 2.4, 9.2);
        crown.cubicTo(cx + 2.8, 7.4, cx + 5.2, 7.6, cx + 5.2, 10.4);
        crown.lineTo(cx + 5.2, 14);
        crown.closeSubpath();
        art.outlined(crown, kGold);
        QPainterPath pearls = ellipse(cx - 3.9, 7.9, 0.85, 0.85);
        pearls.addPath(ellipse(cx, 5.6, 0.95, 0.95));
        pearls.addPath(ellipse(cx + 3.9, 7.9, 0.85, 0.85));
        art.outlined(pearls, kWhite, 0.4);
        art.fill(ellipse(cx, 12.1, 1.0, 1.0), suitInk);
        art.fill(
            ribbon({cx - 4.4, 28.9}, {cx - 2.5, 32.2}, {cx + 2.5, 32.2}, {cx + 4.4, 28.9}, 1.0),
            kGold);
        // A flower held up beside her.
        const double fx = cx + 10.4, fy = 31.2;
        QPainterPath stalk;
        stalk.moveTo(fx - 3.5, kHalfH - 0.5);
        stalk.quadTo(fx - 0.8, kHalfH - 5, fx, fy);
        art.stroke(stalk, 0.7, 0xFF2E7D32);
        art.outlined(flower(fx, fy, 2.9), kGold, 0.4);
        art.fill(ellipse(fx, fy, 0.9, 0.9), kRed);
    } else {  // Jack
        QPainterPath mouth;
        mouth.moveTo(cx - 1.5, 22.2);
        mouth.quadTo(cx, 23.4, cx + 1.5, 22.2);
        art.stroke(mouth, 0.55, 0xFF9A3A2A);
        // Feather sweeping back from the cap.
        QPainterPath feather;
        feather.moveTo(cx - 4, 11);
        feather.cubicTo(cx - 7.5, 6.5, cx - 10.8, 4.2, cx - 13.2, 3.8);
        feather.cubicTo(cx - 11.6, 7.2, cx - 9.2, 10.6, cx - 4.6, 12.8);
        feather.closeSubpath();
        art.outlined(feather, kGold, 0.45);
        art.fill(ribbon({cx - 4.4, 11.8}, {cx - 7.8, 8.4}, {cx - 10.4, 6.0}, {cx - 12.6, 4.3}, 0.5),
                 kInk);
        // Cap, worn at a tilt, with a gold band.
        QPainterPath cap;
        cap.moveTo(cx - 6.6, 15);
        cap.cubicTo(cx - 7, 10, cx - 3.5, 7.8, cx + 0.5, 7.8);
        cap.cubicTo(cx + 5, 7.8, cx + 8, 10, cx + 7, 14);
        cap.cubicTo(cx + 3, 13.3, cx - 3, 13.8, cx - 6.6, 15);
        cap.closeSubpath();
        art.outlined(cap, suitInk, 0.5, suitInk == kBlack ? kBlack : kInk);
        art.fill(
            ribbon({cx - 6.5, 14.5}, {cx - 2.5, 13.2}, {cx + 2.8, 12.8}, {cx + 6.9, 13.5}, 1.3),
            kGold);
        // Collar and buttons of the doublet.
        art.fill(polygon({{cx - 6, 28.6},
                          {cx, 32.4},
                          {cx + 6, 28.6},
                          {cx + 6, 30.1},
                          {cx, 33.9},
                          {cx - 6, 30.1}}),
                 kGold);
        QPainterPath buttons;
        for (double y : {35.8, 38.6, 41.0}) buttons.addPath(ellipse(cx, y, 0.85, 0.85));
        art.fill(buttons, kGold);
    }

    // Large rank letter with the suit pip under it, in the free corner of the half.
    const double lx = kPanelW - 8.4;
    art.fill(rankGlyph(rank, lx, 3.6, 10.5, 13), suitInk);
    art.fill(pip(suit, lx, 21.6, 8), suitInk);
    return art.take();
}

QPainterPath rect(double x, double y, double w, double h) {
    QPainterPath p;
    p.addRect(QRectF(x, y, w, h));
    return p;
}

Layers courtFace(int rank, int suit) {
    const QRgb suitInk = suitColour(suit);
    Art art;
    addBlank(art);
    addIndices(art, rank, suit);
    // Frame: suit colour outside, a gold line inside.
    art.fillRect(QRectF(kPanelX, kPanelY, kPanelW, kPanelH), suitInk);
    art.fillRect(QRectF(kPanelX + 1, kPanelY + 1, kPanelW - 2, kPanelH - 2), kPanel);
    const Layers half = bust(rank, suit);
    art.add(half, QTransform::fromTranslate(kPanelX, kPanelY));
    art.add(half, QTransform(-1, 0, 0, -1, kPanelX + kPanelW, kPanelY + kPanelH));
    art.stroke(rect(kPanelX + 1.9, kPanelY + 1.9, kPanelW - 3.8, kPanelH - 3.8), 0.5, kGold,
               Qt::SquareCap);
    // The two busts meet on a gold seam.
    art.fillRect(QRectF(kPanelX + 1, kPanelY + kHalfH - 0.5, kPanelW - 2, 1.0), kGold);
    return art.take();
}

const Layers& faceLayers(int code) {
    static std::array<std::optional<Layers>, 53> faces;
    const bool valid = code >= 0 && code < 52;
    std::optional<Layers>& slot = faces[static_cast<size_t>(valid ? code : 52)];
    if (!slot) {
        if (!valid) {
            Art art;
            addBlank(art);
            slot = art.take();
        } else {
            const int rank = code / 4, suit = code % 4;
            slot = rank >= kJack ? courtFace(rank, suit) : numberFace(rank, suit);
        }
    }
    return *slot;
}

// ---- Back: a white margin around a field of the given colour, covered by a diamond lattice in a
// darker shade with a medallion in the middle. ----

// Clips the line through `a` and `b` to `r`; false when it misses.
bool clipLine(QPointF a, QPointF b, const QRectF& r, QLineF& out) {
    double t0 = 0, t1 = 1;
    const double dx = b.x() - a.x(), dy = b.y() - a.y();
    const double p[4] = {-dx, dx, -dy, dy};
    const double q[4] = {a.x() - r.left(), r.right() - a.x(), a.y() - r.top(), r.bottom() - a.y()};
    for (int i = 0; i < 4; ++i) {
        if (p[i] == 0) {
            if (q[i] < 0) return false;
            continue;
        }
        const double t = q[i] / p[i];
        if (p[i] < 0)
            t0 = std::max(t0, t);
        else
            t1 = std::min(t1, t);
    }
    if (t0 >= t1) return false;
    out = QLineF(a.x() + t0 * dx, a.y() + t0 * dy, a.x() + t1 * dx, a.y() + t1 * dy);
    return true;
}

Layers makeBack() {
    constexpr double kMargin = 4.0;
    const QRectF field(kMargin, kMargin, kW - 2 * kMargin, kH - 2 * kMargin);
    const QRectF lattice = field.adjusted(2.4, 2.4, -2.4, -2.4);
    const double cx = kW / 2, cy = kH / 2;
    // Diamond cells 9 wide and 11 tall, one of them centred on the card.
    const double dx = 9, dy = 11;
    // The medallion in the middle: an oval with these half axes.
    const double rx = 14, ry = 18;

    Art art;
    addBlank(art);
    art.fill(roundedRect(field.x(), field.y(), field.width(), field.height(), 3), Ink::Background);

    std::vector<QLineF> lines;
    for (int k = -12; k <= 12; ++k) {
        // Lines through (cx + (k + 1/2) * dx, cy) rising and falling with slope dy / dx.
        const QPointF base(cx + (k + 0.5) * dx, cy);
        for (const QPointF run : {QPointF(dx * 8, dy * 8), QPointF(dx * 8, -dy * 8)}) {
            QLineF seg;
            if (clipLine(base - run, base + run, lattice, seg)) lines.push_back(seg);
        }
    }
    art.hairlines(std::move(lines), 0.5, Ink::Pattern);

    // A light dot in the middle of every whole cell; cells sit on two interleaved grids.
    for (int j = -16; j <= 16; ++j) {
        for (int i = -8; i <= 8; ++i) {
            const double shift = (j & 1) ? 0.5 : 0.0;
            const QPointF c(cx + (i + shift) * dx, cy + j * dy / 2);
            if (!lattice.adjusted(dx / 2, dy / 2, -dx / 2, -dy / 2).contains(c)) continue;
            if (std::hypot((c.x() - cx) / (rx + 1), (c.y() - cy) / (ry + 1)) < 1) continue;
            art.fill(polygon({{c.x(), c.y() - 1.4},
                              {c.x() + 1.1, c.y()},
                              {c.x(), c.y() + 1.4},
                              {c.x() - 1.1, c.y()}}),
                     kWhite);
        }
    }

    // Frame line inside the field.
    QPainterPath frame;
    frame.addRoundedRect(field.adjusted(1.6, 1.6, -1.6, -1.6), 2, 2);
    art.hairline(frame, 0.5, Ink::Pattern);

    // Medallion: an oval of the background colour with a white halo and a double rim, holding
    // an eight-petal rosette.
    art.fill(ellipse(cx, cy, rx + 1.4, ry + 1.4), kWhite);
    art.fill(ellipse(cx, cy, rx + 0.6, ry + 0.6), Ink::Pattern);
    art.fill(ellipse(cx, cy, rx - 0.6, ry - 0.6), Ink::Background);
    art.hairline(ellipse(cx, cy, rx - 2.2, ry - 2.2), 0.5, Ink::Pattern);
    QPainterPath petal;
    petal.moveTo(0, -2);
    petal.cubicTo(2.8, -5, 2.6, -10, 0, -12.5);
    petal.cubicTo(-2.6, -10, -2.8, -5, 0, -2);
    petal.closeSubpath();
    QPainterPath petals;
    for (int i = 0; i < 8; ++i) {
        QTransform t;
        t.translate(cx, cy);
        t.rotate(45.0 * i);
        if (i % 2) t.scale(0.72, 0.72);
        petals.addPath(t.map(petal));
    }
    art.fill(petals, Ink::Pattern);
    art.fill(ellipse(cx, cy, 2.3, 2.3), kWhite);
    art.hairline(ellipse(cx, cy, 2.3, 2.3), 0.5, Ink::Pattern);
    return art.take();
}

const Layers& backLayers() {
    static const Layers back = makeBack();
    return back;
}

// The lattice colour for a back: a deeper, slightly bluer shade of a light background, or a paler
// one of a dark background.
QColor patternColour(const QColor& background) {
    const QColor hsv = background.toHsv();
    const int hue = hsv.hsvHue() < 0 ? 0 : (hsv.hsvHue() + 12) % 360;
    if (hsv.value() >= 128) {
        return QColor::fromHsv(hue, std::min(255, hsv.hsvSaturation() + 20),
                               hsv.value() * 45 / 100);
    }
    return QColor::fromHsv(hue, hsv.hsvSaturation() * 6 / 10,
                           hsv.value() + (255 - hsv.value()) * 6 / 10);
}

// Paints `layers` mapped through `m`, which must take card coordinates to the painter's current
// coordinates.
void paintLayers(QPainter& p, const Layers& layers, const QTransform& m,
                 const QColor& background = QColor(), const QColor& pattern = QColor()) {
    const double penScale = std::sqrt(std::abs(m.determinant()));
    // Device pixels per unit of the painter's current coordinates, for the hairlines' minimum.
    const double devicePixels = std::sqrt(std::abs(p.deviceTransform().determinant()));
    for (const Layer& l : layers) {
        const QColor& colour = l.ink == Ink::Fixed        ? l.colour
                               : l.ink == Ink::Background ? background
                                                          : pattern;
        switch (l.kind) {
            case Layer::Fill:
                p.fillPath(m.map(l.path), colour);
                break;
            case Layer::Rect:
                p.fillRect(m.mapRect(l.rect), colour);
                break;
            case Layer::Stroke:
            case Layer::Lines: {
                const double width =
                    std::max(l.penWidth * penScale, l.minDeviceWidth / devicePixels);
                p.setPen(QPen(colour, width, Qt::SolidLine, l.cap, Qt::RoundJoin));
                if (l.kind == Layer::Stroke) {
                    p.drawPath(m.map(l.path));
                } else {
                    std::vector<QLineF> lines;
                    lines.reserve(l.lines.size());
                    for (const QLineF& line : l.lines) lines.push_back(m.map(line));
                    p.drawLines(lines.data(), static_cast<int>(lines.size()));
                }
                break;
            }
        }
    }
}

// ---- Pixmap cache ----
// Pixmaps keyed by card and device scale, the least recently used dropped first once the bytes
// pass the limit. A size the window has left is kept until the cards of its new size are rendered:
// until then they are drawn stretched from the nearest size, so a resize never waits for a whole
// deck to be rendered.

constexpr long long kCacheBytes = 48ll << 20;  // a whole deck at a 4K window's size, twice over
constexpr long long kLargestCard = kCacheBytes / 16;
// New scales asked for closer together than this are a window being dragged to a new size; the
// worker then waits as long after the last one (see queueRender).
constexpr int kDragStepMs = 100;
constexpr int kNothing = 255;  // the mode of every card that draws nothing

// What makes one cached picture: a card (code, mode, colour) at a scale in 1/64 steps.
struct Key {
    int code = 0;
    int mode = 0;
    QRgb rgba = 0;
    int scale64 = 0;
    std::uint64_t card() const {
        return static_cast<std::uint64_t>(code) << 40 | static_cast<std::uint64_t>(mode) << 32 |
               rgba;
    }
    std::uint64_t whole() const { return card() << 16 ^ static_cast<std::uint64_t>(scale64); }
    double scale() const { return scale64 / 64.0; }
};

// Normalises what cannot change the picture, so equal pictures share one pixmap.
Key keyOf(int code, int mode, const QColor& colour, double deviceScale) {
    Key k;
    k.rgba = colour.rgba();
    if (mode == 0) {
        k.rgba = 0;
        k.code = code < 0 || code >= 52 ? 52 : code;
    } else if (mode == 1 || mode == 8) {
        k.code = 0;
    } else {
        mode = kNothing;
        k.rgba = 0;
    }
    k.mode = mode;
    if (!(deviceScale > 0)) deviceScale = 1;
    k.scale64 = static_cast<int>(std::clamp<double>(std::round(deviceScale * 64), 1, 1 << 14));
    return k;
}

QSize deviceSize(const Key& k) {
    return {static_cast<int>(std::lround(kW * k.scale())),
            static_cast<int>(std::lround(kH * k.scale()))};
}

long long bytesOf(const Key& k) {
    const QSize s = deviceSize(k);
    return 4ll * s.width() * s.height();
}

// Renders a card; safe on any thread once its shapes are built (see buildShapes).
QImage render(const Key& k) {
    QImage image(deviceSize(k), QImage::Format_ARGB32_Premultiplied);
    mapIn(image);
    image.fill(Qt::transparent);
    {
        // Scaled by the painter rather than by the image's pixel ratio: text does not follow a
        // ratio below 1, so small windows would get oversized indices.
        QPainter p(&image);
        p.scale(static_cast<double>(image.width()) / kW, static_cast<double>(image.height()) / kH);
        paintCard(p, 0, 0, k.code, k.mode, QColor::fromRgba(k.rgba));
    }
    image.setDevicePixelRatio(k.scale());
    return image;
}

// Builds the shapes of a card on the GUI thread, so that a worker only reads them.
void buildShapes(const Key& k) {
    if (k.mode == 0)
        faceLayers(k.code);
    else if (k.mode == 1)
        backLayers();
}

struct Cache {
    struct Entry {
        QPixmap pixmap;
        long long bytes = 0;
        std::uint64_t lastUse = 0;
        int scale64 = 0;
        std::uint64_t card = 0;
    };
    std::unordered_map<std::uint64_t, Entry> entries;
    long long bytes = 0;
    std::uint64_t clock = 0;
    QPixmap oversize;  // the last card too large to keep

    // Rendering on the worker: cards waiting, the one under way, and who wants to know.
    std::deque<Key> queued;
    std::optional<Key> rendering;
    std::vector<std::pair<QPointer<QObject>, std::function<void()>>> waiters;
    bool notifyPosted = false;
    QThreadPool* worker = nullptr;
    // Rendering waits while a new scale has been asked for in the last moment (see queueRender).
    bool paused = false;
    int lastScale64 = 0;
    std::uint64_t pauses = 0;
    QElapsedTimer sinceNewScale;

    std::unordered_map<int, int> uses;  // CardScaleUse id -> scale64 (0: none)
    int nextUse = 1;

    void evictFor(long long incoming) {
        while (!entries.empty() && bytes + incoming > kCacheBytes) {
            auto oldest = entries.begin();
            for (auto it = entries.begin(); it != entries.end(); ++it)
                if (it->second.lastUse < oldest->second.lastUse) oldest = it;
            bytes -= oldest->second.bytes;
            entries.erase(oldest);
        }
    }
    Entry& insert(const Key& k, QPixmap pm) {
        const long long b = bytesOf(k);
        evictFor(b);
        Entry& e = entries[k.whole()];
        bytes += b - e.bytes;
        e = {std::move(pm), b, ++clock, k.scale64, k.card()};
        return e;
    }
    // Drops the pixmaps of scales no window draws at.
    void sweep() {
        if (uses.empty()) return;  // nothing says which sizes are in use (tools, tests)
        for (auto it = entries.begin(); it != entries.end();) {
            bool used = false;
            for (const auto& [id, scale64] : uses) used |= scale64 == it->second.scale64;
            if (used) {
                ++it;
            } else {
                bytes -= it->second.bytes;
                it = entries.erase(it);
            }
        }
        oversize = QPixmap();
    }
    void clear() {
        entries.clear();
        bytes = 0;
        oversize = QPixmap();
        queued.clear();
    }
};

Cache& cache() {
    // Never destroyed: the pixmaps must go before the application object, which the post routine
    // takes care of; a static destructor would run too late.
    static Cache* c = [] {
        qAddPostRoutine([] {
            Cache& c = cache();
            if (c.worker) {
                c.worker->waitForDone();
                delete c.worker;
                c.worker = nullptr;
            }
            c.waiters.clear();
            c.clear();
        });
        return new Cache;
    }();
    return *c;
}

void startNextRender();

// Runs the waiters once nothing is queued any more, then drops the sizes no window uses.
void notifyWhenIdle() {
    Cache& c = cache();
    if (c.rendering || !c.queued.empty() || c.notifyPosted) return;
    c.notifyPosted = true;
    QMetaObject::invokeMethod(
        QCoreApplication::instance(),
        [] {
            Cache& c = cache();
            c.notifyPosted = false;
            if (c.rendering || !c.queued.empty()) return;
            auto waiters = std::move(c.waiters);
            c.waiters.clear();
            for (auto& [receiver, done] : waiters)
                if (receiver) done();
            c.sweep();
        },
        Qt::QueuedConnection);
}

void rendered(const Key& k, QImage image) {
    Cache& c = cache();
    c.rendering.reset();
    c.insert(k, QPixmap::fromImage(std::move(image)));
    startNextRender();
}

void startNextRender() {
    Cache& c = cache();
    while (!c.paused && !c.rendering && !c.queued.empty()) {
        const Key k = c.queued.front();
        c.queued.pop_front();
        if (c.entries.count(k.whole())) continue;
        if (!c.worker) {
            c.worker = new QThreadPool;
            c.worker->setMaxThreadCount(1);  // the other core keeps the window responsive
        }
        buildShapes(k);
        c.rendering = k;
        c.worker->start([k] {
            QImage image = render(k);
            QMetaObject::invokeMethod(
                QCoreApplication::instance(),
                [k, image = std::move(image)]() mutable { rendered(k, std::move(image)); },
                Qt::QueuedConnection);
        });
    }
    notifyWhenIdle();
}

// Queues a card for the worker. A card at another scale waiting in the queue is no longer wanted:
// the window it was for has moved on.
void queueRender(const Key& k) {
    Cache& c = cache();
    const std::uint64_t whole = k.whole();
    if (c.rendering && c.rendering->whole() == whole) return;
    bool queued = false;
    for (auto it = c.queued.begin(); it != c.queued.end();) {
        if (it->whole() == whole) {
            queued = true;
            ++it;
        } else if (it->scale64 != k.scale64) {
            bool used = false;
            for (const auto& [id, scale64] : c.uses) used |= scale64 == it->scale64;
            it = used ? it + 1 : c.queued.erase(it);
        } else {
            ++it;
        }
    }
    if (!queued) c.queued.push_back(k);
    // A new scale is rendered once the window's drawing at it (with the nearest scale standing
    // in) is done, so the worker does not take the processor from it. A window being dragged asks
    // for a new scale on every step: its cards wait until the drag pauses, rather than render
    // every scale passed through.
    if (k.scale64 != c.lastScale64) {
        const bool dragging = c.sinceNewScale.isValid() && c.sinceNewScale.elapsed() < kDragStepMs;
        c.sinceNewScale.start();
        c.lastScale64 = k.scale64;
        c.paused = true;
        const std::uint64_t pause = ++c.pauses;
        QTimer::singleShot(dragging ? kDragStepMs : 0, QCoreApplication::instance(), [pause] {
            Cache& c = cache();
            if (pause != c.pauses) return;
            c.paused = false;
            startNextRender();
        });
    }
    startNextRender();
}

}  // namespace

void paintCard(QPainter& p, double x, double y, int code, int mode, const QColor& colour) {
    if (mode == 8) {
        p.fillRect(QRectF(x, y, kW, kH), colour);
        return;
    }
    if (mode != 0 && mode != 1) return;
    const Layers& layers = mode == 0 ? faceLayers(code) : backLayers();
    p.save();
    p.setRenderHint(QPainter::Antialiasing, true);
    p.setBrush(Qt::NoBrush);
    // Small curved shapes rasterise about twice as fast when their coordinates are already in
    // device pixels, so unless the painter rotates or shears, map the shapes here and paint with
    // the painter's transformation undone.
    const QTransform device = p.deviceTransform();  // world, view and device pixel ratio
    const QTransform toDevice = QTransform::fromTranslate(x, y) * device;
    QTransform m;
    if (device.type() <= QTransform::TxScale && device.isInvertible()) {
        // The world transformation that cancels the view and device pixel ratio.
        p.setWorldTransform(device.inverted() * p.worldTransform());
        m = toDevice;
    } else {
        m = QTransform::fromTranslate(x, y);
    }
    if (mode == 0)
        paintLayers(p, layers, m);
    else
        paintLayers(p, layers, m, colour, patternColour(colour));
    p.restore();
}

const QPixmap& cardPixmap(int code, int mode, const QColor& colour, double deviceScale) {
    const Key k = keyOf(code, mode, colour, deviceScale);
    Cache& c = cache();
    if (auto it = c.entries.find(k.whole()); it != c.entries.end()) {
        it->second.lastUse = ++c.clock;
        return it->second.pixmap;
    }
    buildShapes(k);
    QPixmap pm = QPixmap::fromImage(render(k));
    if (bytesOf(k) > kLargestCard) {
        c.oversize = std::move(pm);
        return c.oversize;
    }
    return c.insert(k, std::move(pm)).pixmap;
}

CardPicture cardPicture(int code, int mode, const QColor& colour, double deviceScale) {
    const Key k = keyOf(code, mode, colour, deviceScale);
    if (k.mode == kNothing || bytesOf(k) > kLargestCard) return {};
    Cache& c = cache();
    if (auto it = c.entries.find(k.whole()); it != c.entries.end()) {
        it->second.lastUse = ++c.clock;
        return {&it->second.pixmap, true};
    }
    // The same card at the nearest scale, by ratio.
    const std::uint64_t card = k.card();
    Cache::Entry* nearest = nullptr;
    double best = 0;
    for (auto& [whole, e] : c.entries) {
        if (e.card != card) continue;
        const double ratio = std::abs(std::log(static_cast<double>(e.scale64) / k.scale64));
        if (!nearest || ratio < best) {
            nearest = &e;
            best = ratio;
        }
    }
    if (!nearest) return {&cardPixmap(code, mode, colour, deviceScale), true};
    nearest->lastUse = ++c.clock;
    queueRender(k);
    return {&nearest->pixmap, false};
}

void whenCardsRendered(QObject* receiver, std::function<void()> done) {
    Cache& c = cache();
    for (auto& [r, fn] : c.waiters)
        if (r == receiver) {
            fn = std::move(done);
            return;
        }
    c.waiters.emplace_back(receiver, std::move(done));
    notifyWhenIdle();
}

bool cardCacheable(double deviceScale) {
    return bytesOf(keyOf(0, 0, {}, deviceScale)) <= kLargestCard;
}

CardScaleUse::CardScaleUse() : id_(cache().nextUse++) {}

CardScaleUse::~CardScaleUse() {
    cache().uses.erase(id_);
}

void CardScaleUse::set(double deviceScale) {
    Cache& c = cache();
    c.uses[id_] = deviceScale > 0 ? keyOf(0, 0, {}, deviceScale).scale64 : 0;
}

void clearCardPixmapCache() {
    cache().clear();
}

int cardPixmapCacheSize() {
    return static_cast<int>(cache().entries.size());
}

long long cardPixmapCacheBytes() {
    return cache().bytes;
}

long long cardPixmapCacheLimit() {
    return kCacheBytes;
}

}  // namespace bm::qt
