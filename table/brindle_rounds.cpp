// Rounds: the message screen between rounds, setting up the next round, the round-end dispatch,
// game over, the take-score button and the title.
#include "platform/errors.h"
#include "platform/runtime.h"
#include "platform/vb.h"
#include "table/brindle.h"
#include "table/game.h"
#include "table/hilo.h"

namespace bm {

void Brindle::subShowAttScreen(const std::string& message) {
    auto& s = g_.score;
    s.ScreenReady = 0;
    if (s.RoundState != 0)
        for (Panel& p : PanCastle) p.setEnabled(false);
    setEnabled(false);
    game_.showMessageScreen(message);
    runtime().waitFor([&] { return s.ScreenReady == 1; });
}

void Brindle::subNewRound() {
    auto& s = g_.score;
    if (s.RoundState == 0)
        subShowAttScreen("Get ready for Round 2");
    else if (s.RoundState == 2 && s.Score >= 80000)
        subShowAttScreen("Get ready for Bonus Round");
    TimerNewRound.setEnabled(true);

    if (g_.menu.intCastleTheme == 1) {
        for (Panel& p : PanCastle) {
            try {
                loadPicture(p, "castle.bmp");
            } catch (const RuntimeError&) {
            }
        }
    } else {
        subNewCastleImg();
    }
    for (Panel& p : PanCastle) p.setEnabled(true);
    subNewCards();
    for (Label& l : LbCastle) l.setCaption("");

    s.Run = 0;
    LbRun.setCaption(std::to_string(s.Run));
    s.Speed = 1200;
    LbSpeed.setCaption(formatNumber(s.Speed, "##,##"));
    Gauge1.setValue(0);
    s.CastleCount = 0;

    switch (s.RoundState) {
        case 3:
            s.RoundState = 0;
            LbRound.setCaption("Round 1");
            s.Score = 2500;
            LbScore.setCaption(formatNumber(s.Score, "##,##"));
            break;
        case 2:
            if (s.Score >= 80000) {
                s.RoundState = 3;
                LbRound.setCaption("Bonus Round");
            } else {
                s.RoundState = 0;
                LbRound.setCaption("Round 1");
                s.Score = 2500;
                LbScore.setCaption(formatNumber(s.Score, "##,##"));
            }
            break;
        default:  // 0 or 1
            if (s.Score < 2500) s.Score = 2500;
            LbScore.setCaption(formatNumber(s.Score, "##,##"));
            s.RoundState = 2;
            LbRound.setCaption("Round 2");
            break;
    }
    Timer1.setEnabled(false);
    s.CastleBonus = 0;
}

void Brindle::roundEnd(RoundEndSource source) {
    if (g_.score.RoundState != 1) {
        startBestPossible();
        subGetScore();
        subCallHiLo();
    }
    afterBonus(source);
}

void Brindle::afterBonus(RoundEndSource source) {
    auto& s = g_.score;
    switch (s.RoundState) {
        case 3:
            gameOver();
            break;
        case 2:
            if (s.Score >= 80000) {
                subNewRound();
                cmdtakescore.setCaption("Take Score");
                activate();
            } else {
                Timer1.setEnabled(false);
                gameOver();
            }
            break;
        case 0:
            if (s.Score < 2500) s.Score = 2500;
            LbScore.setCaption(formatNumber(s.Score, "##,##"));
            subNewRound();
            cmdtakescore.setCaption("Take Score");
            activate();
            break;
        default:  // game over: a new game
            clearBestPossible();
            subShowAttScreen(source == RoundEndSource::Button ? "Get ready" : "Get ready...");
            subNewRound();
            cmdtakescore.setCaption("Take Score");
            activate();
            s.Score = 2500;
            LbScore.setCaption(formatNumber(s.Score, "##,##"));
            LbRound.setCaption("Round 1");
            s.RoundState = 0;
            break;
    }
}

void Brindle::gameOver() {
    auto& s = g_.score;
    auto& h = g_.high;
    cmdtakescore.setCaption("New Game");
    LbRound.setCaption("Game Over");
    Pictakescore.setFocus();
    Gauge1.setValue(0);
    LbSpeed.setCaption("0");
    s.ShowHighScores = 0;
    s.RoundState = 1;
    if (!(s.Score > h.LowestHighScore)) {
        s.Score = 0;
        subNewHiRun();
        h.HighScoreEntry = 0;
    }
    s.ShowHighScores = 1;
    setEnabled(false);
    game_.showHighScores();
}

void Brindle::subCallHiLo() {
    auto& hl = g_.hilo;
    hl.HiLoDone = 0;
    setEnabled(false);
    HiLo& side = game_.hilo();
    side.load();
    side.show();
    side.CmdDouble.setFocus();
    runtime().waitFor([&] { return hl.HiLoDone == 1; });
}

void Brindle::cmdtakescore_Click() {
    auto& c = g_.cards;
    if (c.intStackEnabled == 0 || g_.score.ScreenReady != 1) return;
    c.intStackEnabled = 0;
    Timer1.setEnabled(false);
    roundEnd(RoundEndSource::Button);
}

void Brindle::cmdtakescore_MouseDown(int button, int, double, double) {
    if (g_.score.ScreenReady == 1) {
        if (button & (mouse::kLeft | mouse::kRight)) cmdtakescore.setPressed(true);
    } else {
        runtime().ui().beep();
    }
}

void Brindle::cmdtakescore_MouseUp(int button, int, double, double) {
    if (g_.score.ScreenReady == 1 && button != 0) cmdtakescore.setPressed(false);
}

void Brindle::TimerNewRound_Timer() {
    runtime().doEvents();
    runtime().playSound(g_.cards.strAppPath + "newround.wav", snd::kAsync | snd::kNoDefault);
    TimerNewRound.setEnabled(false);
}

void Brindle::SSPanel1_DblClick() {
    auto& s = g_.score;
    if (s.TitleShifted == 0) {
        SSPanel1.setCaption(" BRINDLEMOOR");
        s.TitleShifted = 1;
    } else {
        SSPanel1.setCaption("BRINDLEMOOR");
        s.TitleShifted = 0;
    }
}

}  // namespace bm
