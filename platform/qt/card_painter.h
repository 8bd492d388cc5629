#pragma once
#include <QColor>
#include <functional>
class QObject;
class QPainter;
class QPixmap;
namespace bm::qt {
// clang-format off
constexpr int kCardWidth = 71;   // logical pixels
constexpr int kCardHeight = 96;
// Paints one card with its top-left at (x, y) in the painter's current (logical) coordinates, 71 x 96.
// mode 0: face `code` 0..51 (rank = code / 4: 0 Ace, 1 Two .. 9 Ten, 10 Jack, 11 Queen, 12 King;
//         suit = code % 4: 0 clubs, 1 diamonds, 2 hearts, 3 spades); colour ignored.
// mode 1: card back; `code` is the back design (54 is the one in use; any other value draws the same
//         design), `colour` is the back's background colour (the game passes light cyan, #00FFFF).
// mode 8: erase: fills the card's rectangle with `colour` (square corners, covers a card completely).
// Codes outside 0..51 in mode 0 draw a blank white card (the caller validates codes).
void paintCard(QPainter& p, double x, double y, int code, int mode, const QColor& colour);
// The same card rendered into a cached pixmap of (71 * deviceScale) x (96 * deviceScale) device pixels
// with devicePixelRatio = deviceScale, so drawing it at logical size 71x96 through a painter scaled by
// `deviceScale / dpr` is pixel-exact. The cache is keyed by (code, mode, colour, deviceScale rounded to 1/64)
// and bounded in bytes.
const QPixmap& cardPixmap(int code, int mode, const QColor& colour, double deviceScale);
// clang-format on

// More about the two above:
// - Any other mode draws nothing.
// - The shapes are built on first use (the rank outlines need a QGuiApplication) and shared
//   afterwards; call from the GUI thread only.
// - cardPixmap leaves out of the key what cannot change the picture (a face's colour, the code of
//   a back or an erase). Its reference stays valid until the next call of a function below.
// - A card too large to cache (see cardCacheable) is rendered all the same and kept only until
//   the next call.

// A card for painting while sizes change. `exact` tells whether `pixmap` is the card at the
// asked scale; if not, it is the same card cached at the nearest other scale, to be drawn
// stretched to the card's place, and the exact one is being rendered on a worker thread. When no
// scale of the card is cached the exact one is rendered at once. `pixmap` is null for a mode that
// draws nothing and for a scale too large to cache (paint the card with paintCard instead).
struct CardPicture {
    const QPixmap* pixmap = nullptr;
    bool exact = true;
};
CardPicture cardPicture(int code, int mode, const QColor& colour, double deviceScale);

// Calls `done` once on the GUI thread when every card queued by cardPicture is cached (on the
// next turn of the event loop when none is queued); not at all when `receiver` is destroyed first.
// A receiver that asks again before then is called once.
void whenCardsRendered(QObject* receiver, std::function<void()> done);

// Whether a card at this device scale is small enough to be cached.
bool cardCacheable(double deviceScale);

// The device scale at which a window draws its cards, for the cache: once the queued cards are
// rendered, pixmaps at scales that no live CardScaleUse names are dropped. A scale of 0 names none
// (a hidden window).
class CardScaleUse {
  public:
    CardScaleUse();
    ~CardScaleUse();
    CardScaleUse(const CardScaleUse&) = delete;
    CardScaleUse& operator=(const CardScaleUse&) = delete;
    void set(double deviceScale);

  private:
    int id_;
};

// Drops every cached pixmap (e.g. when the screen's scale changes for good).
void clearCardPixmapCache();
// Number of pixmaps currently cached and the bytes they hold.
int cardPixmapCacheSize();
long long cardPixmapCacheBytes();
// The most the cache holds, in bytes (a card larger than a sixteenth of it is not cached).
long long cardPixmapCacheLimit();
}  // namespace bm::qt
