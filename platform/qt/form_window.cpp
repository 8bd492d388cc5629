#include "platform/qt/form_window.h"

#include <sys/mman.h>
#include <QApplication>
#include <QBackingStore>
#include <QCloseEvent>
#include <QFontMetricsF>
#include <QIcon>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPaintEngine>
#include <QPainter>
#include <QPixmapCache>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QStringDecoder>
#include <QStyle>
#include <QStyleOptionButton>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <optional>
#include <tuple>
#include <utility>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#include <unistd.h>

#include "platform/controls.h"
#include "platform/form.h"
#include "platform/qt/accessible.h"
#include "platform/qt/card_painter.h"
#include "platform/qt/pages.h"
#include "platform/qt/qt_ui.h"
#include "platform/qt/screen_room.h"
#include "platform/runtime.h"

namespace bm::qt {

// The game keeps its texts in a single-byte code page, Latin-1, one byte a character, as its
// fixed-length files store them.
QString toQString(const std::string& text) {
    return QString::fromLatin1(text.data(), static_cast<qsizetype>(text.size()));
}

std::string fromQString(const QString& text) {
    return text.toLatin1().toStdString();
}

QString toDisplayLines(const std::string& text) {
    QString s = toQString(text);
    s.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    s.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    return s;
}

namespace {

QColor toColor(uint32_t rgb) {
    return QColor(static_cast<int>((rgb >> 16) & 0xFF), static_cast<int>((rgb >> 8) & 0xFF),
                  static_cast<int>(rgb & 0xFF));
}

// The colour every control starts with; text boxes and buttons keep their native look with it.
constexpr uint32_t kDesignGrey = 0xC0C0C0;

int mouseButton(Qt::MouseButton b) {
    switch (b) {
        case Qt::LeftButton:
            return mouse::kLeft;
        case Qt::RightButton:
            return mouse::kRight;
        case Qt::MiddleButton:
            return mouse::kMiddle;
        default:
            return 0;
    }
}

int shiftState(Qt::KeyboardModifiers m) {
    return (m & Qt::ShiftModifier ? shift::kShift : 0) |
           (m & Qt::ControlModifier ? shift::kCtrl : 0) | (m & Qt::AltModifier ? shift::kAlt : 0);
}

// The key codes the game knows (those of the original platform's virtual keys); 0 for keys it has
// no code for.
int virtualKey(const QKeyEvent* e) {
    const int k = e->key();
    const bool keypad = e->modifiers() & Qt::KeypadModifier;
    if (k >= Qt::Key_A && k <= Qt::Key_Z) return k;
    if (k >= Qt::Key_0 && k <= Qt::Key_9) return keypad ? 96 + (k - Qt::Key_0) : k;
    if (k >= Qt::Key_F1 && k <= Qt::Key_F24) return key::kF1 + (k - Qt::Key_F1);
    switch (k) {
        case Qt::Key_Backspace:
            return 8;
        case Qt::Key_Tab:
        case Qt::Key_Backtab:
            return 9;
        case Qt::Key_Return:
        case Qt::Key_Enter:
            return key::kEnter;
        case Qt::Key_Shift:
            return 16;
        case Qt::Key_Control:
            return 17;
        case Qt::Key_Alt:
        case Qt::Key_AltGr:
            return 18;
        case Qt::Key_Pause:
            return 19;
        case Qt::Key_CapsLock:
            return 20;
        case Qt::Key_Escape:
            return 27;
        case Qt::Key_Space:
            return 32;
        case Qt::Key_PageUp:
            return 33;
        case Qt::Key_PageDown:
            return 34;
        case Qt::Key_End:
            return 35;
        case Qt::Key_Home:
            return 36;
        case Qt::Key_Left:
            return 37;
        case Qt::Key_Up:
            return 38;
        case Qt::Key_Right:
            return 39;
        case Qt::Key_Down:
            return 40;
        case Qt::Key_Insert:
            return 45;
        case Qt::Key_Delete:
            return 46;
        case Qt::Key_Asterisk:
            return keypad ? 106 : 0;
        case Qt::Key_Plus:
            return keypad ? 107 : 0;
        case Qt::Key_Minus:
            return keypad ? 109 : 189;
        case Qt::Key_Period:
            return keypad ? 110 : 190;
        case Qt::Key_Slash:
            return keypad ? 111 : 191;
        case Qt::Key_Semicolon:
            return 186;
        case Qt::Key_Equal:
            return 187;
        case Qt::Key_Comma:
            return 188;
        case Qt::Key_QuoteLeft:
            return 192;
        case Qt::Key_BracketLeft:
            return 219;
        case Qt::Key_Backslash:
            return 220;
        case Qt::Key_BracketRight:
            return 221;
        case Qt::Key_Apostrophe:
            return 222;
        default:
            return 0;
    }
}

// Label captions mark an access key with "&" and write a literal ampersand as "&&".
QString labelText(const std::string& caption) {
    QString in = toDisplayLines(caption), out;
    out.reserve(in.size());
    for (qsizetype i = 0; i < in.size(); ++i) {
        if (in[i] == QLatin1Char('&') && i + 1 < in.size()) ++i;
        out += in[i];
    }
    return out;
}

// The font of a control drawn at `scale` on a device of `dpi` logical dots per inch.
QFont fontFor(const FontSpec& style, double scale, double dpi) {
    QFont f(style.serif ? QStringLiteral("DejaVu Serif") : QStringLiteral("DejaVu Sans"));
    f.setStyleHint(style.serif ? QFont::Serif : QFont::SansSerif);
    // Sizes are points at 96 pixels per inch, the resolution the forms were laid out for: text
    // keeps in proportion to its control whatever the screen's own setting. The size is given in
    // points at the device's resolution, which comes out at exactly that many pixels; a pixel size
    // would be a whole logical pixel, more than a device pixel on a scaled screen, and text that
    // just fits its control at one scale would wrap at another.
    const double pixels = std::max(1.0, style.size * 96.0 / 72.0 * scale);
    f.setPointSizeF(pixels * 72.0 / (dpi > 0 ? dpi : 96.0));
    f.setBold(style.bold);
    f.setItalic(style.italic);
    return f;
}

// Text that does not fit its control at the control's own font is made smaller until it does, by
// at most half: a long name on a button or in a title, or a word too long to wrap. A label laid out
// for one line also keeps its text on one line: text does not widen exactly in proportion to its
// size (glyphs are fitted to whole pixels), so text that just fits at one scale can be a little too
// wide at another and would wrap onto a line the label has no room for.
constexpr double kLeastTextShrink = 0.5;

// The size of `text` set in `font` within `room` wide, wrapped at word boundaries when `wrap` is
// set; a word too long for the room sticks out, and so widens the result.
QSizeF textExtent(const QFont& font, const QWidget& widget, const QString& text, qreal room,
                  bool wrap) {
    const QFontMetricsF fm(font, &widget);
    if (!wrap) return {fm.horizontalAdvance(text), fm.lineSpacing()};
    return fm.boundingRect(QRectF(0, 0, room, 1e6), Qt::TextWordWrap, text).size();
}

void fitText(QWidget& widget, const QString& text, QSizeF room, bool wrap) {
    if (text.isEmpty() || room.width() <= 0 || room.height() <= 0) return;
    QFont f = widget.font();
    const qreal least = f.pointSizeF() * kLeastTextShrink;
    for (int tries = 0; tries < 4; ++tries) {
        const QSizeF one = textExtent(f, widget, text, room.width(), false);
        // One line fits: nothing to do, whether or not the control could wrap. (A control lower
        // than a line of its text is the form's design, and shows the text as it always has.)
        if (one.width() <= room.width()) break;
        // A label with room for two lines or more may wrap, as long as the lines fit.
        const bool mayWrap = wrap && room.height() >= 2 * one.height();
        const QSizeF wrapped = mayWrap ? textExtent(f, widget, text, room.width(), true) : one;
        if (mayWrap && wrapped.width() <= room.width() && wrapped.height() <= room.height()) break;
        // Wrapped text shrinks in both directions at once, so its area ratio needs a square root.
        const qreal wide = room.width() / std::max<qreal>(1, wrapped.width());
        const qreal high = room.height() / std::max<qreal>(1, wrapped.height());
        const qreal by =
            mayWrap ? std::sqrt(std::min(wide, 1.0) * std::min(high, 1.0)) : std::min(wide, 1.0);
        const qreal next = std::max(least, f.pointSizeF() * by * 0.99);
        if (next >= f.pointSizeF()) break;
        f.setPointSizeF(next);
    }
    if (f != widget.font()) widget.setFont(f);
}

void fitLabel(QLabel& label) {
    const QString& text = label.text();
    if (text.contains(QLatin1Char('\n'))) return;  // laid out line by line by the game
    fitText(label, text, label.contentsRect().size(), label.wordWrap());
}

// A button's caption on one line between the frame's margins; its mnemonic marks take no room.
void fitButton(QPushButton& button) {
    if (!button.icon().isNull()) return;
    QString text = button.text();
    text.replace(QLatin1String("&&"), QString(QChar(1))).remove(QLatin1Char('&'));
    text.replace(QChar(1), QLatin1Char('&'));
    const int margin = button.style()->pixelMetric(QStyle::PM_ButtonMargin, nullptr, &button) +
                       button.style()->pixelMetric(QStyle::PM_DefaultFrameWidth, nullptr, &button);
    fitText(button, text, QSizeF(button.width() - 2 * margin, button.height()), false);
}

// The least scale of a form in device pixels per form pixel: its smallest text (8 points, about
// 11 form pixels high) stays at least 8 device pixels high.
constexpr double kReadableTextPixels = 0.75;
// No window grows past this many times the whole desktop's size in either direction: a larger one
// shows nothing more, and its buffer alone would take gigabytes.
constexpr int kLargestOverDesktop = 2;
// How much wider and taller than the window a growing window's buffer is made; a window that
// outgrows its buffer by no more than this (in bytes) is taken to be growing by a little.
constexpr double kBufferRoom = 1.25;
// Resizes less than this many milliseconds apart are the steps of a drag.
constexpr qint64 kResizeStepMs = 250;

// Window rectangle covered by a card drawn at logical (x, y), generous by a pixel for repaints.
QRect cardArea(QPointF origin, double s, int x, int y) {
    return QRectF(origin.x() + x * s, origin.y() + y * s, kCardWidth * s, kCardHeight * s)
        .toAlignedRect()
        .adjusted(-1, -1, 1, 1);
}

// Draws `region` one rectangle at a time, with `p` clipped to that rectangle alone. The raster
// engine fills, copies and stretches quickly only under a clip of one rectangle; under a clip of
// many (a window's children cut holes in what it paints) it breaks every row into spans and hands
// them to worker threads, which costs many times the drawing itself.
template <typename Draw>
void inPieces(QPainter& p, const QRegion& region, Draw draw) {
    for (const QRect& r : region) {
        p.setClipRect(r, Qt::ReplaceClip);
        draw(r);
    }
}

// Fills the plain parts of a form's drawing within `region`: the form's colour over `felt`, a
// darker band around it.
void fillPlain(QPainter& p, const QRegion& region, const QRect& felt, const QColor& back) {
    p.save();
    inPieces(p, region.intersected(felt), [&](const QRect& r) { p.fillRect(r, back); });
    inPieces(p, region.subtracted(felt), [&](const QRect& r) { p.fillRect(r, back.darker(160)); });
    p.restore();
}

// Replays a surface's card drawings within `region`. Each card is a pixmap rendered for the exact
// device scale and placed on whole device pixels, so it is copied 1:1 and stays crisp at any
// scale. While the pixmaps of a new scale are being rendered, the cards of the nearest cached scale
// stand in, stretched to the same places; returns whether any did (the caller repaints once the
// exact ones are there). Cards too large to cache are painted as vectors.
bool paintDraws(QPainter& p, const std::vector<CardDraw>& draws, QPointF origin, double s,
                const QRegion& region) {
    const double dpr = p.device()->devicePixelRatioF();
    const double deviceScale = s * dpr;
    const bool cached = cardCacheable(deviceScale);
    // The device size of a card at this scale, as the cache renders it.
    const double scale64 = std::round(deviceScale * 64) / 64;
    const QSizeF cardSize(std::lround(kCardWidth * scale64) / dpr,
                          std::lround(kCardHeight * scale64) / dpr);
    bool standIns = false;
    p.save();
    // Within one rectangle the clip is set once; otherwise for each piece of a card.
    const bool oneRect = region.rectCount() == 1;
    if (oneRect) p.setClipRect(region.boundingRect(), Qt::ReplaceClip);
    auto eachPiece = [&](const QRect& area, auto&& draw) {
        if (oneRect)
            draw();
        else
            inPieces(p, region.intersected(area), [&](const QRect&) { draw(); });
    };
    for (const CardDraw& d : draws) {
        const QRect area = cardArea(origin, s, d.x, d.y);
        if (!region.intersects(area)) continue;
        const double x = std::round((origin.x() + d.x * s) * dpr) / dpr;
        const double y = std::round((origin.y() + d.y * s) * dpr) / dpr;
        if (!cached) {
            eachPiece(area, [&] {
                p.save();
                p.translate(x, y);
                p.scale(s, s);
                paintCard(p, 0, 0, d.code, d.mode, toColor(d.colour));
                p.restore();
            });
            continue;
        }
        const CardPicture card = cardPicture(d.code, d.mode, toColor(d.colour), deviceScale);
        if (!card.pixmap) continue;
        const QPixmap& pm = *card.pixmap;
        const QRectF target = card.exact ? QRectF(x, y, pm.width() / dpr, pm.height() / dpr)
                                         : QRectF(QPointF(x, y), cardSize);
        standIns |= !card.exact;
        eachPiece(area, [&] { p.drawPixmap(target, pm, QRectF(pm.rect())); });
    }
    p.restore();
    return standIns;
}

// A picture file scaled once for the size it is shown at.
class ScaledPicture {
  public:
    void set(const QPixmap& source) {
        if (source.cacheKey() == source_.cacheKey()) return;
        source_ = source;
        scaled_ = QPixmap();
    }
    bool isNull() const { return source_.isNull(); }
    // The picture's own size (a large one may be held at fewer pixels).
    QSize size() const { return source_.deviceIndependentSize().toSize(); }
    // Draws the picture stretched to `target`. The scaled copy is kept for the next paint unless
    // it would be very large (a window far larger than the screen): then it is scaled while drawn.
    // With `quick`, a copy kept for another size stands in, stretched coarsely, and the call
    // returns true: smooth scaling on every step of a drag costs more than the rest of the window.
    bool draw(QPainter& p, const QRect& target, double dpr, bool quick = false) {
        constexpr long long kLargestCopy = 16ll << 20;
        const QSize device = (QSizeF(target.size()) * dpr).toSize();
        if (quick && !scaled_.isNull() && scaled_.size() != device) {
            p.drawPixmap(target, scaled_);
            return true;
        }
        if (4ll * device.width() * device.height() > kLargestCopy) {
            scaled_ = QPixmap();
            p.save();
            p.setRenderHint(QPainter::SmoothPixmapTransform);
            p.drawPixmap(target, source_);
            p.restore();
            return false;
        }
        p.drawPixmap(target.topLeft(), at(target.size(), dpr));
        return false;
    }

  private:
    // The picture at `logical` size on a device with the given pixel ratio.
    const QPixmap& at(QSize logical, double dpr) {
        const QSize device = (QSizeF(logical) * dpr).toSize();
        if (scaled_.size() != device || scaled_.devicePixelRatio() != dpr) {
            scaled_ = device == source_.size()
                          ? source_
                          : source_.scaled(device, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
            scaled_.setDevicePixelRatio(dpr);
        }
        return scaled_;
    }

    QPixmap source_, scaled_;
};

class ControlWidget : public QWidget {
  public:
    ControlWidget(FormWindow& window, Control& control)
        : QWidget(&window), window_(window), control_(control) {}
    void setPicture(const QPixmap& pm) { picture_.set(pm); }

  protected:
    void drawPicture(QPainter& p, const QRect& target) {
        if (picture_.draw(p, target, devicePixelRatioF(), window_.sizeChanging()))
            window_.standInDrawn();
    }

    FormWindow& window_;
    Control& control_;
    ScaledPicture picture_;
};

class ImageWidget : public ControlWidget {
  public:
    using ControlWidget::ControlWidget;

  protected:
    void paintEvent(QPaintEvent*) override {
        if (picture_.isNull() || width() <= 0 || height() <= 0) return;
        QPainter p(this);
        drawPicture(p, rect());
    }
};

class PictureBoxWidget : public ControlWidget {
  public:
    PictureBoxWidget(FormWindow& window, Control& control) : ControlWidget(window, control) {
        setAttribute(Qt::WA_OpaquePaintEvent);
    }

  protected:
    void paintEvent(QPaintEvent* e) override {
        QPainter p(this);
        p.fillRect(e->rect(), toColor(control_.backColor()));
        const double s = window_.scale();
        if (!picture_.isNull()) {
            // The picture sits at the top-left corner at its own size (scaled with the form).
            const QSize shown = (QSizeF(picture_.size()) * s).toSize();
            if (!shown.isEmpty()) drawPicture(p, QRect(QPoint(), shown));
        }
        if (paintDraws(p, static_cast<PictureBox&>(control_).surface().draws(), QPointF(0, 0), s,
                       e->region()))
            whenCardsRendered(this, [this] { update(); });
    }
};

// A drawing kept for the paints that follow while what it shows (its look) and how it is fitted
// (its fit: size, font, pixel ratio) stay the same. The first paint of a look and fit draws
// straight onto the target; only a second one keeps a picture, so what is painted once (a window
// shown and left alone) costs no memory for it. While the window's size changes, a drawing
// refitted is kept at once, and on the steps that follow it stands in, stretched, for the same look
// at the new fit: large text is filled as outlines on every paint, which on a large screen costs
// more than the rest of a drag step.
template <typename Look, typename Fit>
class KeptDrawing {
  public:
    // Paints the drawing of `look` at `fit`, of `logical` size, at `at`, in `window`: `draw` draws
    // it with its top left at the painter's origin, onto a blank picture when it is kept. A
    // stand-in is reported to the window, which is drawn again once its size has settled.
    template <typename Draw>
    void paint(QPainter& p, QPoint at, const Look& look, const Fit& fit, QSize logical, double dpr,
               FormWindow& window, Draw draw) {
        const bool quick = window.sizeChanging();
        const bool sameLook = seen_ && look == look_;
        if (quick && sameLook && !(fit == fit_) && !pixmap_.isNull()) {
            p.drawPixmap(QRect(at, logical), pixmap_);
            window.standInDrawn();
            return;
        }
        if (!sameLook || !(fit == fit_)) {
            // A drawing refitted while the size changes is kept for the steps that follow.
            const bool keep = quick && sameLook;
            pixmap_ = QPixmap();
            look_ = look;
            fit_ = fit;
            seen_ = true;
            if (!keep) {
                p.save();
                p.translate(at);
                draw(p);
                p.restore();
                return;
            }
        }
        if (pixmap_.isNull()) {
            pixmap_ = QPixmap((QSizeF(logical) * dpr).toSize());
            pixmap_.setDevicePixelRatio(dpr);
            pixmap_.fill(Qt::transparent);
            QPainter into(&pixmap_);
            draw(into);
        }
        p.drawPixmap(at, pixmap_);
    }
    void drop() {
        pixmap_ = QPixmap();
        seen_ = false;
    }

  private:
    Look look_{};
    Fit fit_{};
    bool seen_ = false;
    QPixmap pixmap_;
};

class PanelWidget : public ControlWidget {
  public:
    PanelWidget(FormWindow& window, Control& control) : ControlWidget(window, control) {
        setAttribute(Qt::WA_OpaquePaintEvent);
    }

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        const int w = width(), h = height();
        const int bevel = std::max(1, static_cast<int>(std::lround(2 * window_.scale())));
        p.fillRect(rect(), toColor(control_.backColor()));
        const QColor light(0xFF, 0xFF, 0xFF), dark(0x80, 0x80, 0x80);
        p.fillRect(0, 0, w, bevel, light);
        p.fillRect(0, 0, bevel, h, light);
        p.fillRect(0, h - bevel, w, bevel, dark);
        p.fillRect(w - bevel, 0, bevel, h, dark);
        const QRect inner = rect().adjusted(bevel, bevel, -bevel, -bevel);
        if (!picture_.isNull() && !inner.isEmpty()) {
            const QSize fit = picture_.size().scaled(inner.size(), Qt::KeepAspectRatio);
            if (!fit.isEmpty()) {
                const QPoint at = inner.topLeft() + QPoint((inner.width() - fit.width()) / 2,
                                                           (inner.height() - fit.height()) / 2);
                drawPicture(p, QRect(at, fit));
            }
        }
        if (!control_.caption().empty()) drawCaption(p, inner);
    }

  private:
    // The caption, kept drawn for the next paint while its text, font, colour and room stay the
    // same: text larger than about 64 pixels is filled as outlines on every paint, which for the
    // table's title on a large screen costs more than the rest of the window.
    void drawCaption(QPainter& p, const QRect& inner) {
        const QString text = toDisplayLines(control_.caption());
        const QColor colour = toColor(control_.foreColor());
        const double dpr = devicePixelRatioF();
        const QSize room = inner.size();
        caption_.paint(p, inner.topLeft(), {text, colour.rgba()}, {font().key(), room, dpr}, room,
                       dpr, window_, [&](QPainter& into) {
                           into.setFont(font());
                           into.setPen(colour);
                           into.drawText(QRect(QPoint(), room), Qt::AlignCenter | Qt::TextWordWrap,
                                         text);
                       });
    }

    // Text and colour; font, room and device pixel ratio.
    KeptDrawing<std::tuple<QString, QRgb>, std::tuple<QString, QSize, double>> caption_;
};

class ShapeWidget : public ControlWidget {
  public:
    ShapeWidget(FormWindow& window, Control& control) : ControlWidget(window, control) {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        setAttribute(Qt::WA_NoSystemBackground);
    }

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        p.setRenderHint(QPainter::Antialiasing);
        const double line = std::max(2.0, 3 * window_.scale());
        QPen pen(toColor(control_.foreColor()), line);
        p.setPen(pen);
        p.setBrush(Qt::NoBrush);
        const double inset = line / 2;
        p.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), line * 1.5,
                          line * 1.5);
    }
};

class GaugeWidget : public ControlWidget {
  public:
    GaugeWidget(FormWindow& window, Control& control) : ControlWidget(window, control) {
        setAttribute(Qt::WA_OpaquePaintEvent);
    }

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        const auto& g = static_cast<const Gauge&>(control_);
        const int w = width(), h = height();
        const int edge = std::max(1, static_cast<int>(std::lround(window_.scale())));
        const QColor light(0xFF, 0xFF, 0xFF), dark(0x80, 0x80, 0x80);
        p.fillRect(rect(), toColor(g.backColor()));
        // Sunken: dark above and to the left, light below and to the right.
        p.fillRect(0, 0, w, edge, dark);
        p.fillRect(0, 0, edge, h, dark);
        p.fillRect(0, h - edge, w, edge, light);
        p.fillRect(w - edge, 0, edge, h, light);
        const int span = g.maximum() - g.minimum();
        if (span <= 0) return;
        const double part = std::clamp(double(g.value() - g.minimum()) / span, 0.0, 1.0);
        const QRect inner = rect().adjusted(edge, edge, -edge, -edge);
        const int filled = static_cast<int>(std::lround(inner.width() * part));
        const uint32_t fore = g.foreColor();
        p.fillRect(QRect(inner.left(), inner.top(), filled, inner.height()),
                   fore ? toColor(fore) : QColor(0x20, 0x50, 0xC0));
    }
};

}  // namespace

struct FormWindow::View {
    Control* control = nullptr;
    QWidget* widget = nullptr;
    bool down = false;              // the pressed look last shown on a button
    bool held = false;              // the mouse holds a button down: Qt draws it and clicks it
    qint64 iconKey = 0;             // the picture a button's icon was made from
    bool afterDoubleClick = false;  // the release ending a double click is no click
    std::vector<CardDraw> shownDraws;
};

namespace {

// The shared mapping that holds a window's buffer (from the process's own map), and the end of
// the part of it in use; none when the buffer is not shared with the X server.
struct BufferMapping {
    std::uintptr_t start = 0, end = 0, used = 0;
};
// The image a window's buffer is, once Qt has made one. A store is asked for its size first: with
// scaling on, asking one that has no buffer yet for its paint device crashes inside Qt.
const QImage* bufferImage(QWidget& window) {
    QBackingStore* store = window.backingStore();
    if (!store || store->size().isEmpty()) return nullptr;
    QPaintDevice* device = store->paintDevice();
    if (!device || device->devType() != QInternal::Image) return nullptr;
    const auto* image = static_cast<const QImage*>(device);
    return image->isNull() ? nullptr : image;
}

std::optional<BufferMapping> bufferMapping(QWidget& window) {
    const QImage* image = bufferImage(window);
    if (!image) return std::nullopt;
    const auto begin = reinterpret_cast<std::uintptr_t>(image->constBits());
    std::FILE* maps = std::fopen("/proc/self/maps", "re");
    if (!maps) return std::nullopt;
    BufferMapping m;
    bool found = false;
    char line[512];
    while (std::fgets(line, sizeof line, maps)) {
        unsigned long from = 0, to = 0;
        char perms[8] = {};
        if (std::sscanf(line, "%lx-%lx %7s", &from, &to, perms) != 3) continue;
        if (from <= begin && begin < to) {
            found = perms[3] == 's' && (std::strstr(line, "memfd:") || std::strstr(line, "SYSV"));
            m.start = from;
            m.end = to;
            break;
        }
    }
    std::fclose(maps);
    if (!found || m.start != begin) return std::nullopt;
    m.used = begin + static_cast<std::uintptr_t>(image->sizeInBytes());
    return m;
}

// Qt keeps a window's shared buffer when the window shrinks to more than half of it, and the
// pages past the part in use, drawn at the larger size, stay in memory. Once the size has settled
// they are given back (they come back as blank pages should the window grow into them again).
// Returns how many bytes from the buffer's start stay mapped in, when any were given back.
std::optional<qsizetype> releaseBufferTail(QWidget& window) {
    const auto m = bufferMapping(window);
    if (!m) return std::nullopt;
    const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const std::uintptr_t tail = (m->used + page - 1) / page * page;
    if (tail + (1u << 20) > m->end) return std::nullopt;
    madvise(reinterpret_cast<void*>(tail), m->end - tail, MADV_REMOVE);
    return static_cast<qsizetype>(tail - m->start);
}

}  // namespace

FormWindow::FormWindow(QtUi& ui, Form& form)
    : QWidget(nullptr), ui_(ui), form_(form), cardScale_(std::make_unique<CardScaleUse>()) {
    // Composes the form's drawing once its size has stayed put for a moment (see paintEvent).
    composeTimer_.setSingleShot(true);
    composeTimer_.setInterval(400);
    connect(&composeTimer_, &QTimer::timeout, this, [this] {
        settled_ = (QSizeF(size()) * devicePixelRatioF()).toSize();
        // Qt's shared cache of drawn pieces (button faces, scaled icons) holds up to 10 MB of them
        // at the sizes passed through, and the buttons keep their own drawings; what the new size
        // needs is drawn again once.
        QPixmapCache::clear();
        // The pictures of the sizes passed through are gone: their memory goes back unless the
        // size changes again soon.
        ui_.trimMemoryLater();
        if (const auto kept = releaseBufferTail(*this))
            buffer_.mapped = std::min(buffer_.mapped, *kept);
        if (std::exchange(standInsDrawn_, false)) update();
        if (!composable()) return;
        if (compose()) whenCardsRendered(this, [this] { redrawCards(); });
    });
    setObjectName(QString::fromStdString(form.name()));
    setAttribute(Qt::WA_OpaquePaintEvent);
    installEventFilter(this);
    installAccessibility();
    createViews();
}

FormWindow::~FormWindow() = default;

namespace {

// A push button that keeps its last drawing and draws it again while nothing it is drawn from
// has changed: a large button with a large caption costs the style far more to draw than to copy.
class CachedButton : public QPushButton {
  public:
    explicit CachedButton(FormWindow& window) : QPushButton(&window), window_(window) {}

  protected:
    void paintEvent(QPaintEvent*) override {
        QStyleOptionButton option;
        initStyleOption(&option);
        const double dpr = devicePixelRatioF();
        const Look look{int(option.state), int(option.features), option.text,
                        option.icon.cacheKey(), palette().cacheKey()};
        const Fit fit{option.iconSize, size(), font().key(), dpr};
        QPainter p(this);
        drawing_.paint(p, QPoint(), look, fit, size(), dpr, window_, [&](QPainter& into) {
            // Set up as a painter on the button itself is: its font, its colours, its direction.
            into.setFont(font());
            into.setPen(QPen(palette().brush(foregroundRole()), 1));
            into.setBackground(palette().brush(backgroundRole()));
            into.setLayoutDirection(layoutDirection());
            style()->drawControl(QStyle::CE_PushButton, &option, &into, this);
        });
    }

    void hideEvent(QHideEvent* e) override {
        drawing_.drop();
        QPushButton::hideEvent(e);
    }

  private:
    // State, features, text, icon, palette; icon size, size, font, device pixel ratio.
    using Look = std::tuple<int, int, QString, qint64, qint64>;
    using Fit = std::tuple<QSize, QSize, QString, double>;
    FormWindow& window_;
    KeptDrawing<Look, Fit> drawing_;
};

}  // namespace

void FormWindow::createViews() {
    for (Control* c : form_.controls()) {
        QWidget* w = nullptr;
        switch (c->kind()) {
            case ControlKind::Label: {
                auto* label = new QLabel(this);
                label->setWordWrap(true);
                label->setTextFormat(Qt::PlainText);
                w = label;
                break;
            }
            case ControlKind::CommandButton: {
                auto* button = new CachedButton(*this);
                button->setAutoDefault(false);
                connect(button, &QPushButton::clicked, this, [this, c] {
                    if (!ending_) c->fireClick();
                });
                w = button;
                break;
            }
            case ControlKind::TextBox: {
                auto* edit = new QLineEdit(this);
                // Typed text and text set by assistive technology are the user's edit; the text
                // the game itself sets is already the box's text when the edit shows it.
                connect(edit, &QLineEdit::textChanged, this, [c](const QString& text) {
                    const std::string t = fromQString(text);
                    if (t != c->caption()) static_cast<TextBox*>(c)->userEdit(t);
                });
                w = edit;
                break;
            }
            case ControlKind::Image:
                w = new ImageWidget(*this, *c);
                break;
            case ControlKind::PictureBox:
                w = new PictureBoxWidget(*this, *c);
                break;
            case ControlKind::Panel:
                w = new PanelWidget(*this, *c);
                break;
            case ControlKind::Gauge:
                w = new GaugeWidget(*this, *c);
                break;
            case ControlKind::OptionButton: {
                auto* option = new QRadioButton(this);
                connect(option, &QRadioButton::clicked, this, [this, c] {
                    if (ending_) return;
                    static_cast<OptionButton*>(c)->setValue(true);
                    c->fireClick();
                });
                w = option;
                break;
            }
            case ControlKind::Shape:
                w = new ShapeWidget(*this, *c);
                break;
            case ControlKind::Timer:
            case ControlKind::FileList:
            case ControlKind::CommonDialog:
                break;
        }
        if (!w) continue;
        w->setObjectName(QString::fromStdString(c->name()));
        w->setAttribute(Qt::WA_NoMousePropagation);
        w->installEventFilter(this);
        auto view = std::make_unique<View>();
        view->control = c;
        view->widget = w;
        byControl_[c] = view.get();
        byWidget_[w] = view.get();
        views_.push_back(std::move(view));
    }
    // Labels and images are drawn on the form itself, beneath every other control.
    for (auto it = views_.rbegin(); it != views_.rend(); ++it) {
        ControlKind k = (*it)->control->kind();
        if (k == ControlKind::Label || k == ControlKind::Image) (*it)->widget->lower();
    }
    updateScale();
    for (auto& v : views_) apply(*v);
}

QPointF FormWindow::toLogical(QPointF windowPos) const {
    return (windowPos - origin_) / scale_;
}

QRect FormWindow::toWindow(int x, int y, int width, int height) const {
    auto edge = [](double v) { return static_cast<int>(std::lround(v)); };
    const int l = edge(origin_.x() + x * scale_), t = edge(origin_.y() + y * scale_);
    const int r = edge(origin_.x() + (x + width) * scale_);
    const int b = edge(origin_.y() + (y + height) * scale_);
    return QRect(l, t, r - l, b - t);
}

QWidget* FormWindow::widgetOf(const Control& control) const {
    auto it = byControl_.find(&control);
    return it == byControl_.end() ? nullptr : it->second->widget;
}

Control* FormWindow::controlOf(const QWidget* widget) const {
    auto it = byWidget_.find(widget);
    return it == byWidget_.end() ? nullptr : it->second->control;
}

void FormWindow::updateScale() {
    const double w = std::max(1, form_.width()), h = std::max(1, form_.height());
    scale_ = std::min(width() / w, height() / h);
    if (!(scale_ > 0)) scale_ = 1.0;
    origin_ = QPointF((width() - w * scale_) / 2, (height() - h * scale_) / 2);
}

void FormWindow::relayout() {
    laidOut_ = size();
    stale_ = rect();
    updateScale();
    for (auto& v : views_) apply(*v);
    update();
}

void FormWindow::apply(View& v) {
    Control& c = *v.control;
    QWidget* w = v.widget;
    w->setGeometry(toWindow(c.left(), c.top(), c.width(), c.height()));
    w->setFont(fontFor(c.font(), scale_, w->logicalDpiY()));
    w->setToolTip(toDisplayLines(c.toolTip()));
    // Setting a name or a length announces a change to assistive technology even when nothing
    // changed (a length sets the whole text again), so only real changes are made.
    if (const QString name = toQString(c.accessibleName()); w->accessibleName() != name)
        w->setAccessibleName(name);
    w->setEnabled(c.enabled());
    QPalette pal = w->palette();
    switch (c.kind()) {
        case ControlKind::Label: {
            auto* label = static_cast<QLabel*>(w);
            label->setText(labelText(c.caption()));
            fitLabel(*label);
            Qt::Alignment h = c.alignment() == Align::Center  ? Qt::AlignHCenter
                              : c.alignment() == Align::Right ? Qt::AlignRight
                                                              : Qt::AlignLeft;
            label->setAlignment(h | Qt::AlignTop);
            pal.setColor(QPalette::WindowText, toColor(c.foreColor()));
            pal.setColor(QPalette::Window, toColor(c.backColor()));
            label->setPalette(pal);
            label->setAutoFillBackground(!c.transparent());
            break;
        }
        case ControlKind::CommandButton: {
            auto* button = static_cast<QPushButton*>(w);
            button->setText(toQString(c.caption()));
            QPixmap pm = ui_.picture(c.picture());
            const qint64 key = pm.isNull() ? 0 : pm.cacheKey();
            if (key != v.iconKey) {
                button->setIcon(pm.isNull() ? QIcon() : QIcon(pm));
                v.iconKey = key;
            }
            if (!pm.isNull())
                button->setIconSize((pm.deviceIndependentSize() * scale_)
                                        .toSize()
                                        .boundedTo(w->size() - QSize(6, 6)));
            fitButton(*button);
            const bool pressed = static_cast<CommandButton&>(c).pressed();
            if (pressed != v.down) {
                // While the mouse holds the button Qt shows it down, and it needs its own state to
                // turn the release into a click.
                if (!v.held) button->setDown(pressed);
                v.down = pressed;
            }
            break;
        }
        case ControlKind::TextBox: {
            auto* edit = static_cast<QLineEdit*>(w);
            const int max = static_cast<TextBox&>(c).maxLength();
            if (const int most = max > 0 ? max : 32767; edit->maxLength() != most)
                edit->setMaxLength(most);
            const QString text = toQString(c.caption());
            if (edit->text() != text) {
                const QSignalBlocker quiet(edit);  // the game's own text is no user edit
                edit->setText(text);
            }
            Qt::Alignment h = c.alignment() == Align::Center  ? Qt::AlignHCenter
                              : c.alignment() == Align::Right ? Qt::AlignRight
                                                              : Qt::AlignLeft;
            edit->setAlignment(h | Qt::AlignVCenter);
            pal.setColor(QPalette::Text, toColor(c.foreColor()));
            if (c.backColor() != kDesignGrey) pal.setColor(QPalette::Base, toColor(c.backColor()));
            edit->setPalette(pal);
            break;
        }
        case ControlKind::Image:
        case ControlKind::PictureBox:
        case ControlKind::Panel:
            static_cast<ControlWidget*>(w)->setPicture(ui_.picture(c.picture()));
            w->update();
            break;
        case ControlKind::Gauge:
            w->update();
            break;
        case ControlKind::OptionButton: {
            auto* option = static_cast<QRadioButton*>(w);
            option->setText(toQString(c.caption()));
            option->setChecked(static_cast<OptionButton&>(c).value());
            pal.setColor(QPalette::WindowText, toColor(c.foreColor()));
            option->setPalette(pal);
            break;
        }
        case ControlKind::Shape:
            w->update();
            break;
        case ControlKind::Timer:
        case ControlKind::FileList:
        case ControlKind::CommonDialog:
            break;
    }
    w->setVisible(c.visible());
}

void FormWindow::controlChanged(Control& control) {
    auto it = byControl_.find(&control);
    if (it == byControl_.end()) return;
    apply(*it->second);
    accessibleControlChanged(*this, *it->second->widget);
}

void FormWindow::dirty(QWidget* target, const QRect& area) {
    if (target == this) stale_ += area;
    target->update(area);
}

void FormWindow::invalidate(const std::vector<CardDraw>& before, const std::vector<CardDraw>& after,
                            QWidget* target, QPointF origin) {
    // Drawings kept in the same order need no repaint; everything else (new drawings, removed
    // ones, and those that moved in front of others) is repainted where it lies.
    auto same = [](const CardDraw& a, const CardDraw& b) {
        return a.x == b.x && a.y == b.y && a.code == b.code && a.mode == b.mode &&
               a.colour == b.colour;
    };
    size_t i = 0;
    for (const CardDraw& d : after) {
        size_t k = i;
        while (k < before.size() && !same(before[k], d)) ++k;
        if (k == before.size()) {
            dirty(target, cardArea(origin, scale_, d.x, d.y));
            continue;
        }
        for (; i < k; ++i) dirty(target, cardArea(origin, scale_, before[i].x, before[i].y));
        i = k + 1;
    }
    for (; i < before.size(); ++i)
        dirty(target, cardArea(origin, scale_, before[i].x, before[i].y));
}

void FormWindow::surfaceChanged(Surface& surface) {
    if (surface.owner() == nullptr) {
        invalidate(shownDraws_, surface.draws(), this, origin_);
        shownDraws_ = surface.draws();
        accessibleItemsChanged(*this);
        return;
    }
    auto it = byControl_.find(surface.owner());
    if (it == byControl_.end()) return;
    View& v = *it->second;
    invalidate(v.shownDraws, surface.draws(), v.widget, QPointF(0, 0));
    v.shownDraws = surface.draws();
}

void FormWindow::focusChanged(Control& control) {
    if (QWidget* w = widgetOf(control)) w->setFocus(Qt::OtherFocusReason);
}

void FormWindow::applyWindowKind() {
    Form* owner = form_.owner();
    QWidget* parent = owner && owner != &form_ ? ui_.window(*owner) : nullptr;
    const Qt::WindowFlags framed = parent ? Qt::Dialog : Qt::Window;
    Qt::WindowFlags flags;
    switch (form_.border()) {
        case Border::None:
            flags = Qt::FramelessWindowHint | (form_.caption().empty() ? Qt::Tool : framed);
            break;
        case Border::Tool:
            flags = Qt::Tool;
            break;
        case Border::Sizable:
            flags = framed;
            break;
        case Border::Fixed:
            flags =
                framed | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint;
            if (!parent) flags |= Qt::WindowMinimizeButtonHint;
            break;
    }
    if (parent == ownerWindow_ && flags == kind_) return;
    setParent(parent, flags);  // hides the window
    ownerWindow_ = parent;
    kind_ = flags;
}

void FormWindow::applySize(bool showing) {
    const QSize logical(std::max(1, form_.width()), std::max(1, form_.height()));
    const bool resized = logical != logicalSize_;
    logicalSize_ = logical;
    auto scaled = [&](double s) {
        return QSize(static_cast<int>(std::lround(logical.width() * s)),
                     static_cast<int>(std::lround(logical.height() * s)));
    };
    // The largest scale at which the window and its frame fit the screen's free area.
    QScreen* sc = screen() ? screen() : QGuiApplication::primaryScreen();
    const QRect avail = sc ? sc->availableGeometry() : QRect(0, 0, 800, 600);
    const double fit = std::min((avail.width() - kFrameAllowance) / double(logical.width()),
                                (avail.height() - kFrameAllowance) / double(logical.height()));
    if (form_.border() == Border::Sizable) {
        // Never so small that the smallest text is unreadable, unless the screen is smaller still.
        const double least = std::min(kReadableTextPixels / devicePixelRatioF(), fit);
        setMinimumSize(scaled(std::max(0.05, least)).expandedTo(QSize(1, 1)));
        setMaximumSize(largestSize());
        if (!sized_) {
            // A first showing takes about four fifths of the screen's height, and all of the window
            // lies on the screen.
            const double s = std::min(0.8 * avail.height() / logical.height(),
                                      0.95 * avail.width() / logical.width());
            resize(scaled(std::max(least, std::min(s, fit))));
            sized_ = true;
        } else if (resized) {
            resize(scaled(scale_));
        }
    } else if (showing || resized || !sized_) {
        // Fixed windows follow the main window's scale, so dialogs match the table, as far as the
        // screen has room.
        const double s = std::min(ui_.referenceScale(), fit);
        setFixedSize(scaled(std::max(0.05, s)).expandedTo(QSize(1, 1)));
        sized_ = true;
    }
    if (resized || size() != laidOut_) relayout();
}

void FormWindow::place() {
    QScreen* sc = ownerWindow_ && ownerWindow_->screen() ? ownerWindow_->screen()
                                                         : QGuiApplication::primaryScreen();
    const QRect avail = sc->availableGeometry();
    const QSize sz = size();
    QPoint pos;
    if (form_.left() >= 0 && form_.top() >= 0) {
        // The game places forms in screen pixels for their logical size; the scaled window keeps
        // the centre the game chose.
        const QPointF centre(form_.left() + form_.width() / 2.0,
                             form_.top() + form_.height() / 2.0);
        pos = sc->geometry().topLeft() + (centre - QPointF(sz.width(), sz.height()) / 2).toPoint();
    } else if (ownerWindow_ && ownerWindow_->isVisible()) {
        pos = ownerWindow_->frameGeometry().center() - QPoint(sz.width() / 2, sz.height() / 2);
    } else {
        pos = avail.center() - QPoint(sz.width() / 2, sz.height() / 2);
    }
    // The position is the frame's; the frame is the window manager's, known once a window has
    // been shown (a framed window not shown yet is taken to get the same as one that has been).
    auto frameOf = [](const QWidget* w) {
        const QRect f = w->frameGeometry(), g = w->geometry();
        return QMargins(g.left() - f.left(), g.top() - f.top(), f.right() - g.right(),
                        f.bottom() - g.bottom());
    };
    QMargins frame = frameOf(this);
    if (frame.isNull() && !windowFlags().testFlag(Qt::FramelessWindowHint)) {
        for (const QWidget* w : QApplication::topLevelWidgets()) {
            if (w == this) continue;
            frame = frameOf(w);
            if (!frame.isNull()) break;
        }
    }
    const QSize outer = sz.grownBy(frame);
    pos.setX(std::max(avail.left(), std::min(pos.x(), avail.right() + 1 - outer.width())));
    pos.setY(std::max(avail.top(), std::min(pos.y(), avail.bottom() + 1 - outer.height())));
    move(pos);
    placed_ = true;
    placedLeft_ = form_.left();
    placedTop_ = form_.top();
}

void FormWindow::formChanged() {
    if (ending_) return;
    setWindowTitle(toQString(form_.caption()));
    if (!form_.loaded() || !form_.visible()) {
        if (!form_.loaded()) placed_ = false;
        if (isVisible()) hide();
        return;
    }
    applyWindowKind();
    const bool showing = !isVisible();
    applySize(showing);
    if (!placed_ || form_.left() != placedLeft_ || form_.top() != placedTop_) place();
    if (showing) {
        show();
        raise();
        activateWindow();
        if (Control* c = form_.focusedControl()) focusChanged(*c);
    }
}

void FormWindow::hideForEnd() {
    ending_ = true;
    hide();
}

QSize FormWindow::largestSize() const {
    const QScreen* sc = screen() ? screen() : QGuiApplication::primaryScreen();
    const QSize desktop = sc ? sc->virtualSize() : QSize(4096, 4096);
    return (desktop * kLargestOverDesktop).boundedTo(QSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX));
}

void FormWindow::resizeEvent(QResizeEvent*) {
    ui_.sizeChanged();
    // A window manager keeps to the largest size; a resize that bypasses one is taken back.
    if (size() != size().boundedTo(maximumSize())) {
        resize(size().boundedTo(maximumSize()));
        return;
    }
    reserveBuffer();
    if (size() != laidOut_) relayout();
}

// Qt makes the window's buffer, shared with the X server, anew whenever the window outgrows it (or
// shrinks to half of it), and the pages of every new buffer are mapped in again on both sides: a
// drag that grows the window a few pixels at a time would pay that on every step. A window that
// outgrows its buffer by a little, or while its size changes in quick steps, gets one with room to
// spare, so the steps that follow fit into it; the room left unused is given back once the size
// settles (see releaseBufferTail). A jump to a much larger size gets no room: Qt also makes an
// image of the buffer's size on the X server's side, and a larger one would cost the server more
// than it is likely to save.
void FormWindow::reserveBuffer() {
    const QImage* image = isVisible() ? bufferImage(*this) : nullptr;
    if (!image) return;
    // The buffer's size is read from the process's map only when Qt may have made a new one.
    if (image->constBits() != buffer_.at || !buffer_.known) {
        const auto m = bufferMapping(*this);
        buffer_.at = image->constBits();
        buffer_.bytes = m ? m->end - m->start : 0;
        buffer_.known = m.has_value();
    }
    if (!buffer_.bytes) return;
    const QSize pixels = (QSizeF(size()) * devicePixelRatioF()).toSize();
    const auto need = std::size_t(pixels.width()) * std::size_t(pixels.height()) *
                      std::size_t(std::max(1, image->depth() / 8));
    // Qt keeps the buffer unless the window outgrows it or shrinks to half of it; a new one is
    // mapped in afresh, even should it lie where the old one did.
    buffer_.known = need <= buffer_.bytes && 2 * need > buffer_.bytes;
    if (!buffer_.known) buffer_.mapped = 0;
    const bool stepping = sinceResize_.isValid() && sinceResize_.elapsed() < kResizeStepMs;
    sinceResize_.start();
    const bool littleMore = double(need) <= double(buffer_.bytes) * kBufferRoom;
    if (need <= buffer_.bytes || !(stepping || littleMore)) return;
    backingStore()->resize((QSizeF(size()) * kBufferRoom).toSize().boundedTo(largestSize()));
}

bool FormWindow::paintSurface(QPainter& p, const QRegion& region) {
    const QColor back = toColor(form_.backColor());
    const QRect area = toWindow(0, 0, std::max(1, form_.width()), std::max(1, form_.height()));
    fillPlain(p, region, area, back);
    const bool standIns = paintDraws(p, form_.surface().draws(), origin_, scale_, region);
    if (form_.border() == Border::None) {
        // A window without a frame gets a thin raised edge of its own, so it stands out from what
        // lies behind it.
        const int w = std::max(1, static_cast<int>(std::lround(scale_)));
        const QRect edges[] = {QRect(area.left(), area.top(), area.width(), w),
                               QRect(area.left(), area.top(), w, area.height()),
                               QRect(area.left(), area.bottom() - w + 1, area.width(), w),
                               QRect(area.right() - w + 1, area.top(), w, area.height())};
        p.save();
        for (int k = 0; k < 4; ++k) {
            const QColor colour = k < 2 ? back.lighter(150) : back.darker(170);
            inPieces(p, region.intersected(edges[k]),
                     [&](const QRect& r) { p.fillRect(r, colour); });
        }
        p.restore();
    }
    return standIns;
}

namespace {

// The image `p` paints into, when it paints into one (for a window: the window's buffer).
QImage* paintedImage(QPainter& p) {
    const QPaintEngine* engine = p.paintEngine();
    QPaintDevice* device = engine ? engine->paintDevice() : nullptr;
    return device && device->devType() == QInternal::Image ? static_cast<QImage*>(device) : nullptr;
}

// The pixel format of what `p` paints into, when it is one a copy can match.
QImage::Format targetFormat(QPainter& p) {
    if (const QImage* image = paintedImage(p)) {
        const QImage::Format f = image->format();
        if (f == QImage::Format_RGB32 || f == QImage::Format_ARGB32_Premultiplied) return f;
    }
    return QImage::Format_ARGB32_Premultiplied;
}

// The window's buffer itself, when `p` (already set to device pixels) maps them 1:1 onto it and
// it holds pixels like `like`'s: then plain fills and copies can go straight into it. Through the
// painter every one is clipped to the region being painted, which child windows cut into many
// rectangles, and that clipping costs several times the copy itself in a large window.
QImage* directBuffer(QPainter& p, const QImage& like) {
    QImage* image = paintedImage(p);
    if (!image || image->format() != like.format() || !image->isDetached() ||
        p.combinedTransform().type() != QTransform::TxNone)
        return nullptr;
    return image;
}

// Stores that bypass the cache: the window's buffer is written once per frame and then read by
// the display server, so reading each line into the cache before writing it (as ordinary stores
// do) would only double the memory traffic.
void streamRow(quint32* to, const quint32* from, qsizetype n, bool fill) {
#if defined(__SSE2__)
    while (n > 0 && (reinterpret_cast<std::uintptr_t>(to) & 15) != 0) {
        *to++ = *from;
        from += fill ? 0 : 1;
        --n;
    }
    const __m128i colour = _mm_set1_epi32(static_cast<int>(*from));
    for (; n >= 4; n -= 4, to += 4) {
        const __m128i v = fill ? colour : _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
        _mm_stream_si128(reinterpret_cast<__m128i*>(to), v);
        from += fill ? 0 : 4;
    }
#endif
    for (; n > 0; --n) {
        *to++ = *from;
        from += fill ? 0 : 1;
    }
}

void fillDirect(QImage& image, const QRegion& region, const QColor& colour) {
    const quint32 pixel = colour.rgb();  // opaque: the same in both formats
    uchar* bits = image.bits();
    const qsizetype stride = image.bytesPerLine();
    for (const QRect& r : region.intersected(image.rect()))
        for (int y = r.top(); y <= r.bottom(); ++y)
            streamRow(reinterpret_cast<quint32*>(bits + y * stride) + r.left(), &pixel, r.width(),
                      true);
#if defined(__SSE2__)
    _mm_sfence();
#endif
}

void copyDirect(QImage& image, const QImage& from, const QRegion& region) {
    uchar* bits = image.bits();
    const qsizetype stride = image.bytesPerLine();
    for (const QRect& r : region.intersected(image.rect()).intersected(from.rect()))
        for (int y = r.top(); y <= r.bottom(); ++y)
            streamRow(reinterpret_cast<quint32*>(bits + y * stride) + r.left(),
                      reinterpret_cast<const quint32*>(from.constScanLine(y)) + r.left(), r.width(),
                      false);
#if defined(__SSE2__)
    _mm_sfence();
#endif
}

}  // namespace

void FormWindow::paintEvent(QPaintEvent* e) {
    // The form's own drawing (its colour, the cards, the edge) is kept composed at the window's
    // device size once the size has settled; a repaint then fills the plain parts with the form's
    // colour and copies only the detailed parts (cards, edges), however many cards overlap there.
    // Only what changed is composed again. While the size changes the form is painted directly:
    // a fresh window-sized copy would cost more than the paint itself.
    QPainter p(this);
    // A new window buffer (Qt makes one for many changes of size), or the part of the buffer that
    // a larger window newly takes, is mapped in before drawing.
    if (const QImage* buffer = paintedImage(p)) {
        if (buffer->constBits() != buffer_.mappedAt) {
            buffer_.mappedAt = buffer->constBits();
            buffer_.mapped = 0;
        }
        const qsizetype bytes = buffer->sizeInBytes();
        if (bytes > buffer_.mapped) {
            mapIn(buffer_.mappedAt + buffer_.mapped, std::size_t(bytes - buffer_.mapped));
            buffer_.mapped = bytes;
        }
    }
    const double dpr = devicePixelRatioF();
    const QSize device = (QSizeF(size()) * dpr).toSize();
    cardScale_->set(scale_ * dpr);
    bool standIns = false;
    composeFormat_ = targetFormat(p);
    if (composed_.size() != device || composed_.devicePixelRatio() != dpr || !composable()) {
        // Freeing a window-sized image gives its pages back to the system, which is better done
        // once this frame is out.
        if (!composed_.isNull()) QTimer::singleShot(0, this, [old = std::move(composed_)] {});
        composed_ = QImage();
        standIns = paintSurface(p, e->region());
        if (composable() || settled_ != device) composeTimer_.start();
    } else {
        if (!stale_.isEmpty() || composedBack_ != form_.backColor() ||
            composed_.format() != composeFormat_)
            standIns = compose();
        // Device pixels from here on, so every copy is 1:1.
        p.setWorldTransform(QTransform::fromScale(1 / dpr, 1 / dpr));
        QRegion target;
        for (const QRect& r : e->region())
            target +=
                QRectF(r.x() * dpr, r.y() * dpr, r.width() * dpr, r.height() * dpr).toAlignedRect();
        target &= QRect(QPoint(), device);
        const QRegion plain = target.subtracted(details_);
        const QColor back = toColor(form_.backColor());
        // The target is exactly the region being painted when device pixels are whole logical
        // ones; otherwise it rounds outwards and only the painter's clipping keeps it in.
        QImage* direct = dpr == std::floor(dpr) ? directBuffer(p, composed_) : nullptr;
        if (direct) {
            fillDirect(*direct, plain.intersected(feltArea_), back);
            fillDirect(*direct, plain.subtracted(feltArea_), back.darker(160));
            copyDirect(*direct, composed_, target.intersected(details_));
        } else {
            fillPlain(p, plain, feltArea_, back);
            // The composed drawing is opaque and of the buffer's format: copied, not blended.
            p.setCompositionMode(QPainter::CompositionMode_Source);
            inPieces(p, target.intersected(details_),
                     [&](const QRect& r) { p.drawImage(QRectF(r), composed_, QRectF(r)); });
        }
    }
    if (standIns) whenCardsRendered(this, [this] { redrawCards(); });
}

void FormWindow::redrawCards() {
    // Only the cards change once their exact pictures are there: the rest of the window (and the
    // X server's copy of it) is left as it is.
    QRegion cards;
    for (const CardDraw& d : form_.surface().draws()) cards += cardArea(origin_, scale_, d.x, d.y);
    stale_ += cards;
    update(cards);
}

bool FormWindow::composable() const {
    // A form without cards is plain fills, as cheap to paint directly as to copy; a window far
    // larger than any screen would make the copy too large.
    constexpr long long kComposedBytesLimit = 64ll << 20;
    const double dpr = devicePixelRatioF();
    return isVisible() && !form_.surface().draws().empty() &&
           4ll * std::lround(width() * dpr) * std::lround(height() * dpr) <= kComposedBytesLimit;
}

bool FormWindow::compose() {
    const double dpr = devicePixelRatioF();
    const QSize device = (QSizeF(size()) * dpr).toSize();
    if (composed_.size() != device || composed_.devicePixelRatio() != dpr ||
        composed_.format() != composeFormat_) {
        composed_ = QImage(device, composeFormat_);
        mapIn(composed_);
        composed_.setDevicePixelRatio(dpr);
        stale_ = rect();
    }
    if (composedBack_ != form_.backColor()) {
        composedBack_ = form_.backColor();
        stale_ = rect();
    }
    QPainter cp(&composed_);
    const bool standIns = paintSurface(cp, stale_);
    stale_ = QRegion();
    findDetails(dpr);
    return standIns;
}

void FormWindow::findDetails(double dpr) {
    auto device = [dpr](const QRect& r) {
        return QRectF(r.x() * dpr, r.y() * dpr, r.width() * dpr, r.height() * dpr).toAlignedRect();
    };
    const QRect area = toWindow(0, 0, std::max(1, form_.width()), std::max(1, form_.height()));
    feltArea_ = device(area);
    details_ = QRegion();
    for (const CardDraw& d : form_.surface().draws())
        details_ += device(cardArea(origin_, scale_, d.x, d.y));
    // When logical pixels are whole device pixels the form's area has exact edges and the plain
    // fills draw them; otherwise its edges, like the raised edge of a window without a frame, are
    // copied from the composed drawing, with a device pixel to spare for rounding. (Thin tall
    // copies are costly: every row is another page of the window's buffer.)
    if (form_.border() != Border::None && dpr == std::floor(dpr)) return;
    const int edge = 2 + static_cast<int>(std::ceil(
                             (form_.border() == Border::None ? std::lround(scale_) : 0) * dpr));
    const QRect f = feltArea_;
    details_ += QRect(f.left() - 2, f.top() - 2, f.width() + 4, edge + 2);
    details_ += QRect(f.left() - 2, f.bottom() - edge, f.width() + 4, edge + 2);
    details_ += QRect(f.left() - 2, f.top() - 2, edge + 2, f.height() + 4);
    details_ += QRect(f.right() - edge, f.top() - 2, edge + 2, f.height() + 4);
}

void FormWindow::hideEvent(QHideEvent*) {
    // A hidden window keeps neither its composed drawing nor its cards' size in use.
    composed_ = QImage();
    composeTimer_.stop();
    settled_ = QSize();
    buffer_ = {};  // its buffer may go with it
    cardScale_->set(0);
}

void FormWindow::mousePressEvent(QMouseEvent* e) {
    const QPointF at = toLogical(e->position());
    if (at.x() < 0 || at.y() < 0 || at.x() >= form_.width() || at.y() >= form_.height()) return;
    form_.fireMouseDown(mouseButton(e->button()), shiftState(e->modifiers()), std::floor(at.x()),
                        std::floor(at.y()));
}

void FormWindow::mouseDoubleClickEvent(QMouseEvent* e) {
    const QPointF at = toLogical(e->position());
    if (at.x() < 0 || at.y() < 0 || at.x() >= form_.width() || at.y() >= form_.height()) return;
    form_.fireDblClick();
}

void FormWindow::closeEvent(QCloseEvent* e) {
    if (ending_ || !form_.loaded() || !form_.visible()) {
        e->accept();
        return;
    }
    form_.requestClose();
    if (form_.loaded() && form_.visible())
        e->ignore();
    else
        e->accept();
}

bool FormWindow::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
        case QEvent::ShortcutOverride:
        case QEvent::KeyPress:
            return handleKey(watched, static_cast<QKeyEvent*>(event));
        case QEvent::KeyRelease: {
            // A key let go whose press never came (a shortcut took it) leaves nothing waiting.
            const auto* k = static_cast<QKeyEvent*>(event);
            if (!k->isAutoRepeat())
                std::erase_if(checkedKeys_, [&](const CheckedKey& c) { return c.key == k->key(); });
            return ending_ || !form_.enabled();
        }
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonRelease:
        case QEvent::MouseButtonDblClick: {
            // A disabled form takes no input; its controls keep their look.
            if (ending_ || !form_.enabled()) return true;
            if (watched == this) return false;
            auto it = byWidget_.find(watched);
            if (it == byWidget_.end()) return false;
            return handleMouse(*it->second, static_cast<QMouseEvent*>(event));
        }
        case QEvent::Wheel:
            return ending_ || !form_.enabled();
        default:
            return false;
    }
}

bool FormWindow::handleMouse(View& v, QMouseEvent* e) {
    Control& c = *v.control;
    if (!v.widget->isEnabled()) return true;
    // Buttons and text boxes keep their own mouse handling; the game sees the presses too.
    const bool native = c.kind() == ControlKind::CommandButton || c.kind() == ControlKind::TextBox;
    const int button = mouseButton(e->button()), shift = shiftState(e->modifiers());
    const double x = std::floor(e->position().x() / scale_);
    const double y = std::floor(e->position().y() / scale_);
    switch (e->type()) {
        case QEvent::MouseButtonPress:
            v.afterDoubleClick = false;
            v.held = native;
            c.fireMouseDown(button, shift, x, y);
            return !native;
        case QEvent::MouseButtonDblClick:
            if (native) {
                c.fireMouseDown(button, shift, x, y);
                return false;
            }
            v.afterDoubleClick = true;
            c.fireDblClick();
            return true;
        case QEvent::MouseButtonRelease: {
            const bool click = !native && !v.afterDoubleClick && button == mouse::kLeft &&
                               v.widget->rect().contains(e->position().toPoint());
            v.afterDoubleClick = false;
            c.fireMouseUp(button, shift, x, y);
            v.held = false;
            if (click) c.fireClick();
            return !native;
        }
        default:
            return false;
    }
}

// Checked keys kept waiting for their presses: more than a typist has in flight at once.
constexpr std::size_t kMostCheckedKeys = 16;

std::optional<int> FormWindow::checkedResult(int key, bool take) {
    const auto it = std::find_if(checkedKeys_.begin(), checkedKeys_.end(),
                                 [&](const CheckedKey& c) { return c.key == key; });
    if (it == checkedKeys_.end()) return std::nullopt;
    const int result = it->result;
    if (take) checkedKeys_.erase(it);
    return result;
}

bool FormWindow::handleKey(QObject* watched, QKeyEvent* e) {
    if (ending_ || !form_.enabled()) {
        e->accept();
        return true;
    }
    const bool fromChild = watched != this;
    if (!fromChild) {
        // A key event reaches the window after the focused control let it pass: the control's
        // filter has handled it already.
        const QWidget* focus = QApplication::focusWidget();
        const bool passedOn = e == childKeyEvent_ && focus && focus != this && isAncestorOf(focus);
        childKeyEvent_ = nullptr;
        if (passedOn) return false;
    }
    const int vk = virtualKey(e);
    // Every key goes to the form first. A key press is preceded by a shortcut check; the form sees
    // the key there, so a key it swallows can trigger no shortcut (an access key, say) either.
    int result;
    if (e->type() == QEvent::ShortcutOverride) {
        if (vk == 0) return false;
        // A press that was held back for assistive technology comes later as a copy, which Qt
        // checks for shortcuts once more: the form had that key at its first check already.
        const std::optional<int> checked =
            e->spontaneous() ? std::nullopt : checkedResult(e->key(), false);
        if (checked) {
            result = *checked;
        } else {
            result = form_.fireKeyDown(vk, shiftState(e->modifiers()));
            if (checkedKeys_.size() >= kMostCheckedKeys) checkedKeys_.erase(checkedKeys_.begin());
            checkedKeys_.push_back({e->key(), result});
        }
    } else if (const std::optional<int> checked = checkedResult(e->key(), true)) {
        result = *checked;
    } else {
        result = vk == 0 ? -1 : form_.fireKeyDown(vk, shiftState(e->modifiers()));
    }
    if (fromChild) childKeyEvent_ = e;
    if (result == 0) {
        e->accept();
        return true;
    }
    if (e->type() == QEvent::KeyPress && fromChild &&
        (e->key() == Qt::Key_Return || e->key() == Qt::Key_Enter)) {
        auto it = byWidget_.find(watched);
        if (it != byWidget_.end() && it->second->control->kind() == ControlKind::TextBox) {
            it->second->control->fireKeyPress(key::kEnter);
            e->accept();
            return true;
        }
        if (it != byWidget_.end() && it->second->control->kind() == ControlKind::CommandButton) {
            // Enter presses the focused button, as Space does.
            static_cast<QPushButton*>(it->second->widget)->click();
            e->accept();
            return true;
        }
    }
    return false;
}

}  // namespace bm::qt
