// Card play: the hit test, taking layout cards, turning the draw pile, and the card sounds.
#include "platform/errors.h"
#include "platform/runtime.h"
#include "platform/vb.h"
#include "table/brindle.h"
#include "table/game.h"

namespace bm {

void Brindle::Form_MouseDown(int, int, double x, double y) {
    // Card play waits while a message screen or a castle fanfare is in front.
    if (g_.score.ScreenReady != 1) return;
    subCardValue(x, y, 1);
}

void Brindle::PicStack_MouseDown(int, int, double x, double y) {
    if (g_.score.ScreenReady != 1) return;
    if (g_.cards.intStackEnabled != 0) subCardValue(x, y, 2);
}

void Brindle::subCardValue(double x, double y, int16_t source) {
    auto& c = g_.cards;
    auto& i = c.i;
    if (c.intPlayEnabled != 1) return;
    auto inside = [&](size_t p) {
        return lngCardX[p] <= x && x <= lngCardX[p] + 70 && lngCardY[p] <= y &&
               y <= lngCardY[p] + 95;
    };
    if (source != 1) {
        i = inside(51) ? 51 : 52;
    } else {
        for (i = 0; i <= 25; ++i) {
            size_t p = static_cast<size_t>(i);
            if (!inside(p)) continue;
            if (intCardState[p] == 1) break;
            if (intCardState[p] == 2) {
                TimerError.setEnabled(true);
                return;
            }
        }
    }
    if ((i >= 26 && i <= 50) || i == 52) {
        TimerError.setEnabled(true);
        return;
    }
    if (i == 51) {
        subMoveCards(i);
        return;
    }
    size_t p = static_cast<size_t>(i);
    if (intCardState[p] != 1) return;
    int s = intStackCard / 4;
    int card = c.intDeck[p] / 4;
    bool legal;
    if (s == 0)
        legal = card == 12 || card == 1;
    else if (s == 12)
        legal = card == 11 || card == 0;
    else
        legal = card == s + 1 || card == s - 1;
    if (legal)
        subMoveCards(i);
    else
        TimerError.setEnabled(true);
}

void Brindle::subMoveCards(int16_t& position) {
    auto& c = g_.cards;
    auto& s = g_.score;
    // The first move of a round starts the round clock.
    Timer1.setEnabled(true);
    if (!roundStarted_) {
        roundStartScore_ = s.Score;
        roundStarted_ = true;
    }
    // A hint is for the table before the move.
    intHintPos = -1;
    ++hintSerial_;

    if (position == 51) {
        if (intStackCount < 26) {
            TimerError.setEnabled(true);
            return;
        }
        size_t top = static_cast<size_t>(intStackCount);
        c.intDeck[51] = c.intDeck[top];
        c.intCardValue = c.intDeck[top];
        intStackCard = c.intCardValue;
        PicStack.surface().drawCard(lngCardX[51], lngCardY[51], faceCode(c.intCardValue), 0, 0);
        intStackCount = i16(intStackCount - 1);
        showCardsLeft();
        if (s.Score < 101) {
            s.Score = 0;
            LbScore.setCaption("0");
        } else {
            s.Score = i32(static_cast<long long>(s.Score) - 100);
            LbScore.setCaption(formatNumber(s.Score, "##,##"));
        }
        s.Run = 0;
        LbRun.setCaption(std::to_string(s.Run));
        TimerNewCard.setEnabled(true);
        updateMarks();
        return;
    }

    size_t p = static_cast<size_t>(position);
    intCardState[p] = 2;
    c.intCardValue = c.intDeck[p];
    intStackCard = c.intCardValue;
    c.intDeck[51] = c.intCardValue;
    PicStack.surface().drawCard(lngCardX[51], lngCardY[51], faceCode(c.intCardValue), 0, 0);

    if (position >= 20)
        intCardRow = 4;
    else if (position >= 13)
        intCardRow = 3;
    else if (position >= 5)
        intCardRow = 2;
    else
        intCardRow = 1;

    // Uncover the cards above whose every covering card is now gone. The neighbour tests stay
    // within the row of the card just taken.
    auto removed = [&](int q) { return intCardState[static_cast<size_t>(q)] == 2; };
    auto turnUp = [&](int q) { intCardState[static_cast<size_t>(q)] = 1; };
    int pos = position;
    switch (intCardRow) {
        case 4:
            if (pos > 20 && removed(pos - 1)) turnUp(pos - 7);
            if (pos < 25 && removed(pos + 1)) turnUp(pos - 6);
            if (pos == 20) turnUp(13);
            if (pos == 25) turnUp(19);
            break;
        case 3:
            if (pos > 13 && removed(pos - 1)) turnUp(pos - 8);
            if (pos < 19 && removed(pos + 1)) turnUp(pos - 7);
            if (pos == 13) turnUp(5);
            if (pos == 19) turnUp(12);
            break;
        case 2:
            if (pos > 5 && removed(pos - 1)) {
                if (pos == 7) turnUp(1);
                if (pos == 9) turnUp(2);
                if (pos == 11) turnUp(3);
            }
            if (pos < 12 && removed(pos + 1)) {
                if (pos == 6) turnUp(1);
                if (pos == 8) turnUp(2);
                if (pos == 10) turnUp(3);
            }
            if (pos == 5) turnUp(0);
            if (pos == 12) turnUp(4);
            break;
        default:
            break;
    }

    subRedrawCards();
    subUpdateScores();
    updateMarks();

    if (position <= 4) {
        size_t k = static_cast<size_t>(position);
        subShowCastleImg(ImgCastle[k], PanCastle[k], s.CastlePictures[k]);
        subCastleBonus(LbCastle[k]);
    }
    TimerNewCard.setEnabled(true);
}

void Brindle::TimerError_Timer() {
    runtime().playSound(g_.cards.strAppPath + "wrongcrd.wav", snd::kAsync | snd::kNoDefault);
    TimerError.setEnabled(false);
}

void Brindle::TimerNewCard_Timer() {
    runtime().playSound(g_.cards.strAppPath + "takecard.wav", snd::kAsync | snd::kNoDefault);
    TimerNewCard.setEnabled(false);
}

}  // namespace bm
