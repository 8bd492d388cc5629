// Help for the player beyond the mouse: keyboard play with a focus mark, a fair hint, and the best
// score the deal of each round allowed. None of it changes how the game plays or scores.
#include <algorithm>
#include <cmath>
#include <limits>

#include "platform/runtime.h"
#include "platform/vb.h"
#include "solver/solver.h"
#include "table/brindle.h"
#include "table/game.h"
#include "table/hint.h"

namespace bm {

namespace {
constexpr int kLeft = 37, kUp = 38, kRight = 39, kDown = 40;
constexpr int kTab = 9, kSpace = 32, kHintKey = 'H', kTurnKey = 'T';
constexpr int kStack = 51;
// Arrangements of the hidden cards a hint averages over.
constexpr int kHintSamples = 8;

// The row of a layout position (0 top .. 3 bottom); the open card is row 4.
int rowOf(int p) {
    return p <= 4 ? 0 : p <= 12 ? 1 : p <= 19 ? 2 : p <= 25 ? 3 : 4;
}
}  // namespace

bool Brindle::playsNow(int p) const {
    return solver::ranksTouch(g_.cards.intDeck[static_cast<size_t>(p)] / 4, intStackCard / 4);
}

bool Brindle::focusable(int p) const {
    if (p == kStack) return true;
    return p >= 0 && p < 26 && intCardState[static_cast<size_t>(p)] == 1;
}

void Brindle::markRect(int p, int& x, int& y) const {
    if (p == kStack) {
        x = PicStack.left() + lngCardX[kStack];
        y = PicStack.top() + lngCardY[kStack];
    } else {
        x = lngCardX[static_cast<size_t>(p)];
        y = lngCardY[static_cast<size_t>(p)];
    }
}

bool Brindle::subKeyPlay(int keyCode) {
    switch (keyCode) {
        case kLeft:
            moveFocus(-1, 0);
            return true;
        case kRight:
            moveFocus(1, 0);
            return true;
        case kUp:
            moveFocus(0, -1);
            return true;
        case kDown:
            moveFocus(0, 1);
            return true;
        case key::kEnter:
        case kSpace:
            if (intFocusPos < 0) return false;  // the key belongs to the focused button
            playPosition(intFocusPos);
            return true;
        case kTurnKey:
            playPosition(kStack);
            return true;
        case kHintKey:
            requestHint();
            return true;
        case kTab:
            // The keyboard goes on to the buttons: the mark steps aside.
            intFocusPos = -1;
            updateMarks();
            return false;
        default:
            return false;
    }
}

void Brindle::moveFocus(int dx, int dy) {
    std::vector<int> targets;
    for (int p = 0; p < 26; ++p)
        if (focusable(p)) targets.push_back(p);
    targets.push_back(kStack);
    if (!focusable(intFocusPos)) {
        // The first key press marks the first card that plays, else the open card.
        intFocusPos = kStack;
        for (int p : targets) {
            if (p != kStack && playsNow(p)) {
                intFocusPos = static_cast<int16_t>(p);
                break;
            }
        }
        updateMarks();
        return;
    }
    int fx, fy;
    markRect(intFocusPos, fx, fy);
    const int row = rowOf(intFocusPos);
    int best = -1;
    double bestDistance = std::numeric_limits<double>::infinity();
    for (int p : targets) {
        if (p == intFocusPos) continue;
        int x, y;
        markRect(p, x, y);
        const int r = rowOf(p);
        double distance;
        if (dx != 0) {
            // Within the row, the next card that way.
            if (r != row || (x - fx) * dx <= 0) continue;
            distance = std::abs(x - fx);
        } else {
            // The nearest row that way, then the card closest across.
            if ((r - row) * dy <= 0) continue;
            distance = std::abs(r - row) * 10000.0 + std::abs(x - fx);
        }
        if (distance < bestDistance) {
            bestDistance = distance;
            best = p;
        }
    }
    if (best >= 0) intFocusPos = static_cast<int16_t>(best);
    updateMarks();
}

void Brindle::playPosition(int p) {
    // Exactly what a click on the visible part of the card does, through the same hit test.
    if (p == kStack) {
        PicStack_MouseDown(mouse::kLeft, 0, lngCardX[kStack] + 35, lngCardY[kStack] + 40);
    } else {
        const size_t k = static_cast<size_t>(p);
        Form_MouseDown(mouse::kLeft, 0, lngCardX[k] + 35, lngCardY[k] + (p < 5 ? 8 : 60));
    }
    if (loaded()) updateMarks();
}

void Brindle::updateMarks() {
    // A hint is for the table as it was: any change of the table clears it.
    if (intHintPos >= 0 && !focusable(intHintPos)) intHintPos = -1;
    if (intFocusPos >= 0 && !focusable(intFocusPos)) {
        // The marked card was taken: the mark moves to the nearest card left, else the open card.
        int fx, fy;
        markRect(intFocusPos, fx, fy);
        int best = kStack;
        double bestDistance = std::numeric_limits<double>::infinity();
        for (int p = 0; p < 26; ++p) {
            if (!focusable(p)) continue;
            int x, y;
            markRect(p, x, y);
            const double d = std::hypot(x - fx, y - fy);
            if (d < bestDistance) {
                bestDistance = d;
                best = p;
            }
        }
        intFocusPos = static_cast<int16_t>(best);
    }
    for (auto [shape, position] : {std::pair{&ShpFocus, intFocusPos}, {&ShpHint, intHintPos}}) {
        if (position < 0) {
            shape->setVisible(false);
            continue;
        }
        int x, y;
        markRect(position, x, y);
        shape->move(x - 3, y - 3, kCardWidth + 6, kCardHeight + 6);
        shape->setVisible(true);
    }
}

std::string Brindle::cardName(int value) {
    static const char* const ranks[] = {"Ace",   "Two",  "Three", "Four", "Five",  "Six", "Seven",
                                        "Eight", "Nine", "Ten",   "Jack", "Queen", "King"};
    static const char* const suits[] = {"Clubs", "Diamonds", "Hearts", "Spades"};
    if (value < 0 || value > 51) return "Card";
    return std::string(ranks[value / 4]) + " of " + suits[value % 4];
}

std::vector<AccessibleItem> Brindle::accessibleItems() const {
    std::vector<AccessibleItem> items;
    if (!loaded()) return items;
    const auto& c = g_.cards;
    for (size_t p = 0; p < 26; ++p) {
        AccessibleItem item;
        item.left = lngCardX[p];
        item.top = lngCardY[p];
        item.width = kCardWidth;
        item.height = kCardHeight;
        item.focused = intFocusPos == static_cast<int>(p);
        if (intCardState[p] == 2) {
            item.name = "Empty place";
            item.shown = false;
        } else if (intCardState[p] == 0) {
            item.name = "Face-down card";
            item.description = "Not playable";
        } else {
            item.name = cardName(c.intDeck[p]);
            item.description = playsNow(static_cast<int>(p)) ? "Playable" : "Not playable";
            item.pressable = true;
        }
        items.push_back(item);
    }
    AccessibleItem open;
    const int left = intStackCount - 25;
    open.name = "Open card: " + cardName(intStackCard) + ", " + std::to_string(left) +
                (left == 1 ? " card left" : " cards left");
    open.description = left > 0 ? "Press to turn the next card" : "The pile is empty";
    markRect(kStack, open.left, open.top);
    open.width = kCardWidth;
    open.height = kCardHeight;
    open.pressable = true;
    open.focused = intFocusPos == kStack;
    items.push_back(open);
    return items;
}

void Brindle::pressAccessibleItem(size_t index) {
    if (index < 26)
        playPosition(static_cast<int>(index));
    else if (index == 26)
        playPosition(kStack);
}

void Brindle::dealSettled() {
    dealtDeck_ = g_.cards.intDeck;
    roundStarted_ = false;
    intHintPos = -1;
    ++hintSerial_;
    updateMarks();
}

void Brindle::requestHint() {
    const auto& c = g_.cards;
    if (c.intPlayEnabled != 1 || g_.score.ScreenReady != 1) return;
    VisibleTable t;
    for (size_t p = 0; p < 26; ++p) {
        if (intCardState[p] == 0) t.faceDown |= 1u << p;
        if (intCardState[p] == 2) t.removed |= 1u << p;
        t.layout[p] = intCardState[p] == 0 ? -1 : c.intDeck[p];
    }
    t.turnedCount = 50 - intStackCount;
    for (int k = 0; k < t.turnedCount; ++k)
        t.turned[static_cast<size_t>(k)] = c.intDeck[static_cast<size_t>(50 - k)];
    t.dealtOpenCard = dealtDeck_[kStack];
    t.stackCard = intStackCard;
    t.run = g_.score.Run;
    t.castles = static_cast<int>(g_.score.CastleCount);
    const int speed = g_.score.Speed;
    const int serial = ++hintSerial_;
    auto answer = std::make_shared<Hint>();
    runtime().ui().runInBackground(
        [t, speed, answer] { *answer = fairHint(t, speed, kHintSamples); },
        [this, serial, answer] {
            // A move made meanwhile makes the answer stale.
            if (serial != hintSerial_ || !loaded()) return;
            intHintPos = static_cast<int16_t>(answer->position);
            updateMarks();
        });
}

void Brindle::clearBestPossible() {
    // The last game's figure says nothing about the new one; an answer still on its way is
    // dropped.
    ++bestSerial_;
    LbBestCaption.setCaption("");
    LbBest.setCaption("");
}

void Brindle::startBestPossible() {
    if (!roundStarted_) roundStartScore_ = g_.score.Score;
    roundStarted_ = false;
    const solver::Position deal = solver::Position::deal(dealtDeck_);
    const int speed = g_.score.Speed;
    const int32_t base = roundStartScore_;
    const int serial = ++bestSerial_;
    auto gain = std::make_shared<int64_t>(0);
    runtime().ui().runInBackground(
        [deal, speed, gain] {
            // A deal the solver refuses shows nothing rather than ending the program.
            try {
                solver::Solver solver;
                *gain = solver.bestGain(deal, speed);
            } catch (const std::exception&) {
                *gain = -1;
            }
        },
        [this, serial, base, gain] {
            if (serial != bestSerial_ || !loaded() || *gain < 0) return;
            LbBestCaption.setCaption("BEST POSSIBLE");
            LbBest.setCaption(formatNumber(static_cast<double>(base + *gain), "##,##"));
        });
}

}  // namespace bm
