// Scoring: runs and cheers, the round clock, the end-of-round bonus and the best scores.
#include "platform/errors.h"
#include "platform/runtime.h"
#include "platform/vb.h"
#include "storage/scores_file.h"
#include "table/brindle.h"
#include "table/game.h"

namespace bm {

void Brindle::subUpdateScores() {
    auto& s = g_.score;
    s.Run = i16(s.Run + 1);
    LbRun.setCaption(std::to_string(s.Run));
    if (s.Run > s.BestRun) {
        s.BestRun = s.Run;
        LbHiRun.setCaption(std::to_string(s.BestRun));
        LbHiRun.refresh();
    }
    if (s.Run == 7) {
        LbExpress1.setCaption("Wow!");
        LbExpress1.refresh();
        TimerHiRun.setEnabled(true);
    } else if (s.Run == 14) {
        LbExpress2.setCaption("Awesome!");
        LbExpress2.refresh();
        TimerHiRun.setEnabled(true);
    }
    // The run's points are a 16-bit product: a run beyond 327 cards overflows.
    s.Score = i32(static_cast<long long>(s.Score) + i16(static_cast<long long>(s.Run) * 100));
    LbScore.setCaption(formatNumber(s.Score, "##,##"));
}

void Brindle::Timer1_Timer() {
    auto& s = g_.score;
    runtime().doEvents();
    Gauge1.setValue(Gauge1.value() + 1);
    s.Speed = i16(s.Speed - 50);
    LbSpeed.setCaption(formatNumber(s.Speed, "##,##"));
    if (Gauge1.value() == 24) {
        Timer1.setEnabled(false);
        roundEnd(RoundEndSource::Clock);
    }
}

void Brindle::TimerHiRun_Timer() {
    runtime().doEvents();
    LbExpress1.setCaption("");
    LbExpress2.setCaption("");
    TimerHiRun.setEnabled(false);
}

void Brindle::subGetScore() {
    auto& s = g_.score;
    auto& c = g_.cards;
    auto& rt = runtime();
    if (s.CastleCount > 2) {
        int16_t cardsLeft = i16(intStackCount - 25);
        s.Score = i32(static_cast<long long>(s.Score) + i16(cardsLeft * 1000LL) + s.Speed);

        // Count the speed up into the shown score, one sound per step.
        int16_t counter = s.Speed;
        while (counter > 0) {
            counter = i16(counter - 50);
            LbSpeed.setCaption(std::to_string(counter));
            LbScore.setCaption(formatNumber(toNumber(LbScore.caption()) + 50, "##,##"));
            LbScore.refresh();
            rt.playSound(c.strAppPath + "bonus.wav", snd::kNoDefault);
        }
        Gauge1.setValue(0);

        // Then the cards left in the pile; the open card slides left a little at every step.
        int16_t stackCounter = i16(cardsLeft * 1000LL);
        while (stackCounter > 0) {
            stackCounter = i16(stackCounter - 1000);
            LbScore.setCaption(formatNumber(toNumber(LbScore.caption()) + 1000, "##,##"));
            LbScore.refresh();
            rt.playSound(c.strAppPath + "stack.wav", snd::kNoDefault);
            Surface& stack = PicStack.surface();
            stack.drawCard(lngCardX[51], lngCardY[51], 0, 8, PicStack.backColor());
            lngCardX[51] = i32(static_cast<long long>(lngCardX[51]) - 2);
            lngCardY[51] = 0;
            c.intCardValue = c.intDeck[static_cast<size_t>(intStackCount)];
            intStackCard = c.intCardValue;
            stack.drawCard(lngCardX[51], lngCardY[51], faceCode(c.intCardValue), 0, 0);
            stack.refresh();
        }
    }
    s.CastleCount = 0;
    s.CastleBonus = 0;
}

void Brindle::subReadHiScore() {
    auto& h = g_.high;
    auto& s = g_.score;
    std::string path = g_.cards.strAppPath + storage::kScoresFile;
    try {
        storage::ScoreTable t = storage::readScoreTable(path);
        h.HighScores = t.scores;
        h.HighNames = t.names;
        h.LowestHighScore = t.scores[4];
        s.BestRun = t.bestRun;
        LbHiRun.setCaption(str(s.BestRun));
        LbHiScore.setCaption(formatNumber(h.HighScores[0], "##,##"));
        LbHiName.setCaption(h.HighNames[0]);
    } catch (const RuntimeError& e) {
        storage::ScoreTable t = storage::defaultScoreTable();
        if (e.number() != err::kTypeMismatch) {
            // The file cannot be read at all: play on with an empty table in memory.
            h.HighScores = t.scores;
            h.HighNames = t.names;
            h.LowestHighScore = 0;
            return;
        }
        // A field that is not a number: the whole table falls back to the defaults.
        h.HighScores = t.scores;
        h.HighNames = t.names;
        h.LowestHighScore = 0;
        s.BestRun = 0;
        LbHiScore.setCaption(str(0));
        LbHiRun.setCaption(str(0));
        LbHiName.setCaption("No Name");
    }
}

void Brindle::subNewHiRun() {
    auto& h = g_.high;
    try {
        storage::writeBestRecord(g_.cards.strAppPath + storage::kScoresFile, h.HighScores[0],
                                 g_.score.BestRun, h.HighNames[0]);
    } catch (const RuntimeError& e) {
        game_.reportScoresNotSaved(e.what());
    }
}

}  // namespace bm
