// Windows closed from outside the game (the window's close button, the window manager) at every
// moment of a round end: timed screens close on time, forms closed by a button close once, and
// the table is not pulled out from under a round end that is still running.
#include <gtest/gtest.h>

#include "forms/tarnhisc.h"
#include "forms/tarnmenu.h"
#include "forms/tarnmess.h"
#include "table/brindle.h"
#include "table/hilo.h"
#include "tests/harness.h"

namespace bm::test {
namespace {

TEST(CloseRequest, ClosingEveryWindowDuringARoundEndChangesNothing) {
    TestGame t;
    t.start();
    Program& p = *t.game;
    auto& s = t.state().score;
    s.Score = 30000;
    p.brindle().LbScore.setCaption("30,000");
    // Every quarter second for the whole round end, the player asks the message screen and the
    // table to close.
    const double from = t.ui.now();
    int screenSeen = 0;
    for (int k = 0; k < 80; ++k)
        t.ui.at(from + 0.25 * k, [&] {
            if (t.rt->waitDepth() == 0) return;  // the round end is over
            screenSeen += p.tarnmess().visible();
            p.tarnmess().requestClose();
            p.brindle().requestClose();
        });
    t.clickTakeScore();
    t.ui.advance(20);

    EXPECT_GT(screenSeen, 0);
    EXPECT_TRUE(p.brindle().loaded());
    EXPECT_FALSE(p.tarnmenu().visible());
    EXPECT_EQ(s.RoundState, 2);
    EXPECT_EQ(p.brindle().LbRound.caption(), "Round 2");
    EXPECT_GE(s.Score, 30000);  // the side game was left alone, so the score stands
    EXPECT_EQ(t.countSound("hilostart.wav"), 1u);
    EXPECT_EQ(s.ScreenReady, 1);
    EXPECT_TRUE(p.brindle().enabled());
}

TEST(CloseRequest, TheSideGameClosesAsItsOwnUnloadOnce) {
    TestGame t;
    t.start();
    Program& p = *t.game;
    bool closed = false;
    t.ui.at(t.ui.now() + 0.5, [&] {
        ASSERT_TRUE(p.hilo().visible());
        p.hilo().requestClose();
        p.hilo().requestClose();
        closed = !p.hilo().loaded();
    });
    t.clickTakeScore();
    t.ui.advance(20);
    EXPECT_TRUE(closed);
    EXPECT_EQ(t.countSound("hilostart.wav"), 1u);
    EXPECT_EQ(t.state().score.RoundState, 2);
}

TEST(CloseRequest, TheHighScoreFormIgnoresItWhileShowingAndClosesOnceTakingAnEntry) {
    TestGame t;
    t.start();
    Program& p = *t.game;
    auto openForm = [&](int16_t entry) {
        t.state().high.HighScoreEntry = entry;
        t.state().score.Score = 5000;
        t.table().setEnabled(false);
        t.rt->dispatch([&] { p.showHighScores(); });
        t.ui.doEvents();
    };
    bool keptOpen = false;
    t.ui.at(t.ui.now() + 1, [&] {
        p.tarnhisc().requestClose();
        keptOpen = p.tarnhisc().loaded();
    });
    openForm(0);
    t.ui.advance(6);
    EXPECT_TRUE(keptOpen);
    EXPECT_FALSE(p.tarnhisc().loaded());
    EXPECT_FALSE(t.readFile("Scores.log").size() == 240);

    openForm(1);
    p.tarnhisc().TxbHighScore.userEdit("ann");
    p.tarnhisc().requestClose();
    EXPECT_FALSE(p.tarnhisc().loaded());
    EXPECT_EQ(t.readFile("Scores.log").substr(0, 18), " 5000  0ANN       ");
    EXPECT_TRUE(t.table().enabled());
}

TEST(CloseRequest, AnIdleTableGoesBackToTheMenuAndTheMenuEndsTheProgram) {
    TestGame t;
    t.start();
    Program& p = *t.game;
    p.brindle().requestClose();
    t.ui.advance(0.1);
    EXPECT_FALSE(p.brindle().loaded());
    EXPECT_TRUE(p.tarnmenu().visible());
    EXPECT_EQ(t.ui.focused, &p.tarnmenu().CmdExit);
    EXPECT_FALSE(t.rt->ended());
    p.tarnmenu().requestClose();
    EXPECT_TRUE(t.rt->ended());
    EXPECT_EQ(t.rt->exitCode(), 0);
}

}  // namespace
}  // namespace bm::test
