#include "platform/qt/card_painter.h"

#include <QCoreApplication>
#include <QFont>
#include <QPainter>
#include <QPainterPath>
#include <QPainterPathStroker>
#include <QPen>
#include <QPixmap>
#include <QTransform>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <optional>
#include <unordered_map>
#include <vector>

// Every card is a short list of filled paths in card coordinates (71 x 96), built once per card
// and then only filled: no strokes, no text layout and no clipping at paint time, so a card costs
// a handful of polygon fills at any scale and stays crisp because nothing is a bitmap.

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

// A filled path, or straight lines drawn with a pen (the raster engine draws thin diagonal lines
// far faster as pen strokes than as filled outlines).
struct Layer {
    QPainterPath path;
    QColor colour;
    Ink ink = Ink::Fixed;
    std::vector<QLineF> lines;
    double lineWidth = 0;
};
using Layers = std::vector<Layer>;

QPainterPath strokeOf(const QPainterPath& path, double width,
                      Qt::PenCapStyle cap = Qt::RoundCap) {
    QPainterPathStroker stroker;
    stroker.setWidth(width);
    stroker.setCapStyle(cap);
    stroker.setJoinStyle(Qt::RoundJoin);
    return stroker.createStroke(path);
}

// Collects the layers of one card in painting order.
class Art {
public:
    // Each shape is a layer of its own: one path holding shapes far apart costs the rasteriser
    // much more than filling them one by one.
    void fill(QPainterPath path, QRgb colour) { add({std::move(path), QColor(colour), Ink::Fixed, {}, 0}); }
    void fill(QPainterPath path, Ink ink) { add({std::move(path), QColor(), ink, {}, 0}); }
    void lines(std::vector<QLineF> lines, double width, Ink ink) {
        layers_.push_back({QPainterPath(), QColor(), ink, std::move(lines), width});
    }
    void stroke(const QPainterPath& path, double width, QRgb colour,
                Qt::PenCapStyle cap = Qt::RoundCap) {
        fill(strokeOf(path, width, cap), colour);
    }
    void stroke(const QPainterPath& path, double width, Ink ink) {
        fill(strokeOf(path, width, Qt::FlatCap), ink);
    }
    // A filled shape with an outline around it.
    void outlined(const QPainterPath& path, QRgb colour, double width = 0.5, QRgb line = kInk) {
        fill(path, colour);
        stroke(path, width, line);
    }
    // Adds another card's layers, mapped through `t`.
    void add(const Layers& layers, const QTransform& t) {
        for (const Layer& l : layers) {
            Layer mapped{t.map(l.path), l.colour, l.ink, {}, l.lineWidth};
            for (const QLineF& line : l.lines) mapped.lines.push_back(t.map(line));
            layers_.push_back(std::move(mapped));
        }
    }
    Layers take() { return std::move(layers_); }

private:
    void add(Layer layer) {
        // Shapes that overlap themselves (the club's lobes, glyphs, stroke outlines) are meant as
        // the union of their parts.
        layer.path.setFillRule(Qt::WindingFill);
        layers_.push_back(std::move(layer));
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

// Signed area of a path's outline: the sign tells which way round it runs.
double signedArea(const QPainterPath& path) {
    const QPolygonF poly = path.toFillPolygon();
    double a = 0;
    for (qsizetype i = 0; i + 1 < poly.size(); ++i)
        a += poly[i].x() * poly[i + 1].y() - poly[i + 1].x() * poly[i].y();
    return a;
}

QPainterPath makeClub() {
    // Three overlapping circles and one polygon that fills the gap between them and flares into
    // the stem. Both kinds of subpath run the same way round, so the winding fill merges them.
    const double r = 0.245, side = 0.25, sideY = 0.1, top = -0.255;
    QPainterPath p;
    p.setFillRule(Qt::WindingFill);
    p.addEllipse(QPointF(0, top), r, r);
    p.addEllipse(QPointF(-side, sideY), r, r);
    p.addEllipse(QPointF(side, sideY), r, r);
    QPolygonF core;
    core << QPointF(0, top) << QPointF(side, sideY) << QPointF(0.06, 0.3) << QPointF(0.09, 0.44)
         << QPointF(0.22, 0.52) << QPointF(-0.22, 0.52) << QPointF(-0.09, 0.44)
         << QPointF(-0.06, 0.3) << QPointF(-side, sideY);
    QPainterPath stem;
    stem.addPolygon(core);
    stem.closeSubpath();
    QPainterPath circle;
    circle.addEllipse(QPointF(0, 0), 1, 1);
    if ((signedArea(stem) > 0) != (signedArea(circle) > 0)) {
        std::reverse(core.begin(), core.end());
        stem = QPainterPath();
        stem.addPolygon(core);
        stem.closeSubpath();
    }
    p.addPath(stem);
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

QRgb suitColour(int suit) { return suit == kDiamonds || suit == kHearts ? kRed : kBlack; }

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

constexpr double kIndexX = 7.6;     // centre of the corner index column
constexpr double kIndexTop = 4.5;   // top of the rank in the index
constexpr double kIndexCap = 9.0;   // cap height of the rank in the index
constexpr double kIndexPip = 7.4;   // width of the pip in the index
constexpr double kIndexWidth = 10.5;

// The white card with its thin border.
void addBlank(Art& art) {
    art.fill(roundedRect(0, 0, kW, kH, kCornerRadius), kBorderGrey);
    art.fill(roundedRect(kBorder, kBorder, kW - 2 * kBorder, kH - 2 * kBorder,
                         kCornerRadius - kBorder),
             kWhite);
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
        case 2: s = {{0, 0}, {0, 1}}; break;
        case 3: s = {{0, 0}, {0, 0.5}, {0, 1}}; break;
        case 4: sides({0, 1}); break;
        case 5: sides({0, 1}); break;
        case 6:
        case 7:
        case 8: sides({0, 0.5, 1}); break;
        case 9:
        case 10: sides({0, third, 2 * third, 1}); break;
        default: break;
    }
    // The centre column of the larger cards.
    switch (count) {
        case 5:
        case 9: s.push_back({0, 0.5}); break;
        case 7: s.push_back({0, 0.25}); break;
        case 8: s.insert(s.end(), {{0, 0.25}, {0, 0.75}}); break;
        case 10: s.insert(s.end(), {{0, third / 2}, {0, 1 - third / 2}}); break;
        default: break;
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
        QPainterPath hair = ellipse(cx, 18.2, 6.3, 6.8);
        art.outlined(hair, 0xFF8A5A2B);
    }

    // Robe.
    QPainterPath robe;
    robe.moveTo(1.5, kHalfH);
    robe.cubicTo(1.5, 34, 5, 29.6, 11, 28.6);
    robe.lineTo(cx * 2 - 11, 28.6);
    robe.cubicTo(cx * 2 - 5, 29.6, cx * 2 - 1.5, 34, cx * 2 - 1.5, kHalfH);
    robe.closeSubpath();
    art.outlined(robe, suitInk, 0.5, suitInk == kBlack ? kBlack : kInk);

    // Neck and head.
    art.outlined(roundedRect(cx - 2.2, 23, 4.4, 6.4, 1), kSkin);
    const QPainterPath head = ellipse(cx, 19, 5.2, 6.2);
    art.outlined(head, kSkin);
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
        QPainterPath crown;
        crown.moveTo(cx - 5.6, 14.4);
        crown.lineTo(cx - 6.0, 6.6);
        crown.lineTo(cx - 2.9, 10.2);
        crown.lineTo(cx, 4.6);
        crown.lineTo(cx + 2.9, 10.2);
        crown.lineTo(cx + 6.0, 6.6);
        crown.lineTo(cx + 5.6, 14.4);
        crown.closeSubpath();
        art.outlined(crown, kGold);
        QPainterPath balls = ellipse(cx - 6.0, 6.4, 0.95, 0.95);
        balls.addPath(ellipse(cx, 4.4, 0.95, 0.95));
        balls.addPath(ellipse(cx + 6.0, 6.4, 0.95, 0.95));
        art.outlined(balls, kGold, 0.4);
        art.fill(ellipse(cx, 12.2, 1.2, 1.2), suitInk);
        // Ermine collar.
        QPainterPath collar;
        collar.moveTo(cx - 9, 30.5);
        collar.cubicTo(cx - 5, 34.2, cx + 5, 34.2, cx + 9, 30.5);
        art.stroke(collar, 2.2, kGold);
        QPainterPath band;
        band.moveTo(cx, 33);
        band.lineTo(cx, kHalfH);
        art.stroke(band, 2.0, kGold, Qt::FlatCap);
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
        // Necklace.
        QPainterPath necklace;
        necklace.moveTo(cx - 4.2, 28.8);
        necklace.quadTo(cx, 33.4, cx + 4.2, 28.8);
        art.stroke(necklace, 1.0, kGold);
        // A flower held up beside her.
        const double fx = cx + 10.4, fy = 31.2;
        QPainterPath stalk;
        stalk.moveTo(fx - 3.5, kHalfH - 0.5);
        stalk.quadTo(fx - 0.8, kHalfH - 5, fx, fy);
        art.stroke(stalk, 0.9, 0xFF2E7D32);
        QPainterPath petals;
        for (int i = 0; i < 5; ++i) {
            const double a = (-90 + 72 * i) * std::numbers::pi / 180;
            petals.addPath(ellipse(fx + 1.7 * std::cos(a), fy + 1.7 * std::sin(a), 1.45, 1.45));
        }
        petals.setFillRule(Qt::WindingFill);
        art.outlined(petals, kGold, 0.4);
        art.fill(ellipse(fx, fy, 1.0, 1.0), kRed);
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
        QPainterPath rib;
        rib.moveTo(cx - 4.4, 11.8);
        rib.cubicTo(cx - 7.8, 8.4, cx - 10.4, 6.0, cx - 12.6, 4.3);
        art.stroke(rib, 0.4, kInk);
        // Cap, worn at a tilt, with a gold band.
        QPainterPath cap;
        cap.moveTo(cx - 6.6, 15);
        cap.cubicTo(cx - 7, 10, cx - 3.5, 7.8, cx + 0.5, 7.8);
        cap.cubicTo(cx + 5, 7.8, cx + 8, 10, cx + 7, 14);
        cap.cubicTo(cx + 3, 13.3, cx - 3, 13.8, cx - 6.6, 15);
        cap.closeSubpath();
        art.outlined(cap, suitInk, 0.5, suitInk == kBlack ? kBlack : kInk);
        QPainterPath capBand;
        capBand.moveTo(cx - 6.4, 14.4);
        capBand.cubicTo(cx - 2.5, 13.1, cx + 2.8, 12.7, cx + 6.9, 13.4);
        art.stroke(capBand, 1.3, kGold);
        // Collar and buttons of the doublet.
        QPainterPath collar;
        collar.moveTo(cx - 5.5, 28.8);
        collar.lineTo(cx, 32.5);
        collar.lineTo(cx + 5.5, 28.8);
        art.stroke(collar, 1.4, kGold);
        QPainterPath buttons;
        for (double y : {35.0, 38.2, 41.4}) buttons.addPath(ellipse(cx, y, 0.9, 0.9));
        art.fill(buttons, kGold);
    }

    // Large rank letter with the suit pip under it, in the free corner of the half.
    const double lx = kPanelW - 8.4;
    art.fill(rankGlyph(rank, lx, 3.6, 10.5, 13), suitInk);
    art.fill(pip(suit, lx, 21.6, 8), suitInk);
    return art.take();
}

Layers courtFace(int rank, int suit) {
    const QRgb suitInk = suitColour(suit);
    Art art;
    addBlank(art);
    addIndices(art, rank, suit);
    // Frame: suit colour outside, a gold line inside.
    art.fill(QPainterPath([] {
                 QPainterPath p;
                 p.addRect(QRectF(kPanelX, kPanelY, kPanelW, kPanelH));
                 return p;
             }()),
             suitInk);
    art.fill(QPainterPath([] {
                 QPainterPath p;
                 p.addRect(QRectF(kPanelX + 1, kPanelY + 1, kPanelW - 2, kPanelH - 2));
                 return p;
             }()),
             kPanel);
    const Layers half = bust(rank, suit);
    art.add(half, QTransform::fromTranslate(kPanelX, kPanelY));
    art.add(half, QTransform(-1, 0, 0, -1, kPanelX + kPanelW, kPanelY + kPanelH));
    QPainterPath inner;
    inner.addRect(QRectF(kPanelX + 1.9, kPanelY + 1.9, kPanelW - 3.8, kPanelH - 3.8));
    art.stroke(inner, 0.7, kGold, Qt::FlatCap);
    // The two busts meet on a gold seam.
    QPainterPath divider;
    divider.addRect(QRectF(kPanelX + 1, kPanelY + kHalfH - 0.5, kPanelW - 2, 1.0));
    art.fill(divider, kGold);
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
        if (p[i] < 0) t0 = std::max(t0, t);
        else t1 = std::min(t1, t);
    }
    if (t0 >= t1) return false;
    out = QLineF(a.x() + t0 * dx, a.y() + t0 * dy, a.x() + t1 * dx, a.y() + t1 * dy);
    return true;
}

Layers makeBack() {
    constexpr double kMargin = 4.0;
    const QRectF field(kMargin, kMargin, kW - 2 * kMargin, kH - 2 * kMargin);
    const QRectF lattice = field.adjusted(2.6, 2.6, -2.6, -2.6);
    const double cx = kW / 2, cy = kH / 2;
    // Diamond cells 9 wide and 11 tall, one of them centred on the card.
    const double dx = 9, dy = 11;

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
    art.lines(std::move(lines), 0.75, Ink::Pattern);

    // A light dot in the middle of every whole cell; cells sit on two interleaved grids.
    for (int i = -8; i <= 8; ++i) {
        for (int j = -16; j <= 16; ++j) {
            const double shift = (j & 1) ? 0.5 : 0.0;
            const QPointF c(cx + (i + shift) * dx, cy + j * dy / 2);
            if (!lattice.adjusted(dx / 2, dy / 2, -dx / 2, -dy / 2).contains(c)) continue;
            if (std::hypot((c.x() - cx) / 15, (c.y() - cy) / 20) < 1) continue;  // medallion
            QPainterPath dot;
            dot.moveTo(c.x(), c.y() - 1.3);
            dot.lineTo(c.x() + 1.05, c.y());
            dot.lineTo(c.x(), c.y() + 1.3);
            dot.lineTo(c.x() - 1.05, c.y());
            dot.closeSubpath();
            art.fill(dot, kWhite);
        }
    }

    // Frame line inside the field.
    QPainterPath frame;
    frame.addRoundedRect(field.adjusted(1.6, 1.6, -1.6, -1.6), 2, 2);
    art.stroke(frame, 0.8, Ink::Pattern);

    // Medallion: an oval of the background colour with a double rim, holding an eight-petal
    // rosette.
    const double rx = 14, ry = 18;
    art.fill(ellipse(cx, cy, rx + 1.2, ry + 1.2), kWhite);
    art.fill(ellipse(cx, cy, rx, ry), Ink::Background);
    art.stroke(ellipse(cx, cy, rx, ry), 1.2, Ink::Pattern);
    art.stroke(ellipse(cx, cy, rx - 2.2, ry - 2.2), 0.6, Ink::Pattern);
    QPainterPath petal;
    petal.moveTo(0, -2);
    petal.cubicTo(2.8, -5, 2.6, -10, 0, -12.5);
    petal.cubicTo(-2.6, -10, -2.8, -5, 0, -2);
    petal.closeSubpath();
    QPainterPath bigPetals, smallPetals;
    for (int i = 0; i < 8; ++i) {
        QTransform t;
        t.translate(cx, cy);
        t.rotate(45.0 * i);
        if (i % 2 == 0) {
            bigPetals.addPath(t.map(petal));
        } else {
            t.scale(0.72, 0.72);
            smallPetals.addPath(t.map(petal));
        }
    }
    art.fill(bigPetals, Ink::Pattern);
    art.fill(smallPetals, Ink::Pattern);
    art.fill(ellipse(cx, cy, 2.3, 2.3), kWhite);
    art.stroke(ellipse(cx, cy, 2.3, 2.3), 0.6, Ink::Pattern);
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
    return QColor::fromHsv(hue, hsv.hsvSaturation() * 6 / 10, hsv.value() + (255 - hsv.value()) * 6 / 10);
}

void fillLayers(QPainter& p, const Layers& layers, const QColor& background = QColor(),
                const QColor& pattern = QColor()) {
    for (const Layer& l : layers) {
        const QColor& colour = l.ink == Ink::Fixed        ? l.colour
                               : l.ink == Ink::Background ? background
                                                          : pattern;
        if (l.lines.empty()) {
            p.fillPath(l.path, colour);
        } else {
            p.setPen(QPen(colour, l.lineWidth, Qt::SolidLine, Qt::FlatCap));
            p.drawLines(l.lines.data(), static_cast<int>(l.lines.size()));
            p.setPen(Qt::NoPen);
        }
    }
}

// ---- Pixmap cache ----

using Cache = std::unordered_map<std::uint64_t, QPixmap>;
constexpr size_t kCacheLimit = 300;

Cache& cache() {
    // Never destroyed: the pixmaps must go before the application object, which the post routine
    // takes care of; a static destructor would run too late.
    static Cache* c = [] {
        qAddPostRoutine(clearCardPixmapCache);
        return new Cache;
    }();
    return *c;
}

}  // namespace

void paintCard(QPainter& p, double x, double y, int code, int mode, const QColor& colour) {
    switch (mode) {
        case 0:
        case 1: {
            p.save();
            p.translate(x, y);
            p.setRenderHint(QPainter::Antialiasing, true);
            p.setPen(Qt::NoPen);
            if (mode == 0) fillLayers(p, faceLayers(code));
            else fillLayers(p, backLayers(), colour, patternColour(colour));
            p.restore();
            break;
        }
        case 8: p.fillRect(QRectF(x, y, kW, kH), colour); break;
        default: break;
    }
}

const QPixmap& cardPixmap(int code, int mode, const QColor& colour, double deviceScale) {
    // Normalise what cannot change the picture so equal pictures share one pixmap.
    QRgb rgba = colour.rgba();
    if (mode == 0) {
        rgba = 0;
        if (code < 0 || code >= 52) code = 52;
    } else if (mode == 1 || mode == 8) {
        code = 0;
    } else {
        mode = 255, code = 0, rgba = 0;
    }
    if (!(deviceScale > 0)) deviceScale = 1;
    const auto scale64 = static_cast<std::uint64_t>(
        std::clamp<long>(std::lround(deviceScale * 64), 1, 64 * 64));
    const std::uint64_t key = static_cast<std::uint64_t>(code) << 56 |
                              static_cast<std::uint64_t>(mode & 0xFF) << 48 | scale64 << 32 | rgba;

    Cache& c = cache();
    if (auto it = c.find(key); it != c.end()) return it->second;
    if (c.size() >= kCacheLimit) c.clear();

    const double scale = static_cast<double>(scale64) / 64;
    QPixmap pm(static_cast<int>(std::lround(kW * scale)), static_cast<int>(std::lround(kH * scale)));
    pm.setDevicePixelRatio(scale);
    pm.fill(Qt::transparent);
    {
        QPainter p(&pm);
        paintCard(p, 0, 0, code, mode, QColor::fromRgba(rgba));
    }
    return c.emplace(key, std::move(pm)).first->second;
}

void clearCardPixmapCache() { cache().clear(); }

int cardPixmapCacheSize() { return static_cast<int>(cache().size()); }

}  // namespace bm::qt
