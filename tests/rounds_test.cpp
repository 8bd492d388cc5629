// A whole game on the virtual clock: runs and cheers, the round clock, castles, the end-of-round
// bonus, the rounds and the take-score button.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <set>

#include "forms/tarnhisc.h"
#include "forms/tarnmess.h"
#include "table/brindle.h"
#include "table/hilo.h"
#include "tests/harness.h"

namespace bm::test {
namespace {

// Leaves only the given positions on the layout, face up.
void onlyOpen(Brindle& b, std::initializer_list<int> positions) {
    b.intCardState.fill(2);
    for (int k = 26; k < 52; ++k) b.intCardState[static_cast<size_t>(k)] = 1;
    for (int p : positions) b.intCardState[static_cast<size_t>(p)] = 1;
    b.subRedrawCards();
}

// Fills the high-score file with five entries of 90000 ("ACE", best run 5); returns its bytes.
std::string writeFullTable(TestGame& t) {
    std::string five;
    for (int k = 0; k < 5; ++k) five += " 90000 5ACE       " + std::string(30, '\0');
    t.writeFile("Scores.log", five);
    return five;
}

size_t countMessages(const TestGame& t, const std::string& text) {
    size_t n = 0;
    for (const auto& m : t.ui.messages) n += m.text == text;
    return n;
}

TEST(Rounds, ARunOfSevenScores2800AndCheers) {
    TestGame t;
    t.start();
    // Stack Five; row 4 and row 3 hold Six, Seven, Eight, ... so that seven takes climb.
    t.setDeck(TestGame::deckWith({{51, 4},
                                  {20, 5},
                                  {21, 6},
                                  {22, 7},
                                  {23, 8},
                                  {24, 9},
                                  {25, 10},
                                  {13, 11},
                                  {14, 12},
                                  {15, 0},
                                  {16, 1},
                                  {17, 2},
                                  {18, 3},
                                  {19, 4}}));
    Brindle& b = t.table();
    onlyOpen(b, {20, 21, 22, 23, 24, 25, 13, 14, 15, 16, 17, 18, 19});
    auto& s = t.state().score;
    int start = s.Score;
    for (int p : {20, 21, 22, 23, 24, 25, 13}) t.clickCard(p);
    EXPECT_EQ(s.Run, 7);
    EXPECT_EQ(s.Score, start + 2800);
    EXPECT_EQ(b.LbExpress1.caption(), "Wow!");
    EXPECT_EQ(b.LbRun.caption(), "7");
    EXPECT_EQ(s.BestRun, 7);
    EXPECT_EQ(b.LbHiRun.caption(), "7");
    t.ui.advance(1.1);
    EXPECT_EQ(b.LbExpress1.caption(), "");
    for (int p : {14, 15, 16, 17, 18, 19}) t.clickCard(p);
    EXPECT_EQ(s.Run, 13);
    EXPECT_EQ(b.LbExpress2.caption(), "");
    t.clickStack();  // the run ends with a new stack card
    EXPECT_EQ(s.Run, 0);
}

TEST(Rounds, FourteenCheersAwesomeForOneSecond) {
    TestGame t;
    t.start();
    Brindle& b = t.table();
    t.state().score.Run = 13;
    t.setDeck(TestGame::deckWith({{51, 4}, {20, 5}}));
    t.clickCard(20);
    EXPECT_EQ(b.LbExpress2.caption(), "Awesome!");
    EXPECT_EQ(t.state().score.Score, 2500 + 1400);
    t.ui.advance(0.9);
    EXPECT_EQ(b.LbExpress2.caption(), "Awesome!");
    t.ui.advance(0.2);
    EXPECT_EQ(b.LbExpress2.caption(), "");
}

TEST(Rounds, TheClockRunsOutAfter24TicksAndRoundTwoFollows) {
    TestGame t;
    t.start();
    Brindle& b = t.table();
    auto& s = t.state().score;
    t.clickStack();  // the first move starts the clock
    ASSERT_TRUE(b.Timer1.enabled());
    t.ui.advance(4.0 * 23 + 0.5);
    EXPECT_EQ(b.Gauge1.value(), 23);
    EXPECT_EQ(b.LbSpeed.caption(), "50");
    EXPECT_EQ(s.RoundState, 0);
    // The last tick: speed 0 shows empty, the side game comes and goes, then round 2.
    t.ui.at(t.ui.now() + 3.7, [&] { EXPECT_EQ(b.LbSpeed.caption(), ""); });
    t.ui.advance(30);
    EXPECT_EQ(s.RoundState, 2);
    EXPECT_EQ(b.LbRound.caption(), "Round 2");
    EXPECT_EQ(b.LbSpeed.caption(), "1,200");
    EXPECT_EQ(b.Gauge1.value(), 0);
    EXPECT_FALSE(b.Timer1.enabled());
    EXPECT_EQ(t.countSound("hilostart.wav"), 1u);
    EXPECT_EQ(t.countSound("newround.wav"), 1u);
    EXPECT_TRUE(b.enabled());
    EXPECT_EQ(s.Score, 2500);  // round 1 leaves at least 2500
}

TEST(Rounds, BonusNeedsThreeCastles) {
    TestGame t;
    t.start();
    Brindle& b = t.table();
    auto& s = t.state().score;
    auto run = [&](int castles) {
        s.CastleCount = castles;
        s.Speed = 600;
        b.intStackCount = 34;  // nine cards left
        s.Score = 20000;
        b.LbScore.setCaption("20,000");
        b.lngCardX[51] = 52;
        b.subGetScore();
        return s.Score;
    };
    EXPECT_EQ(run(2), 20000);
    EXPECT_EQ(t.countSound("bonus.wav"), 0u);
    EXPECT_EQ(run(3), 29600);
    EXPECT_EQ(b.LbScore.caption(), "29,600");  // the count-up ends on the score
    EXPECT_EQ(t.countSound("bonus.wav"), 12u);
    EXPECT_EQ(t.countSound("stack.wav"), 9u);
    EXPECT_EQ(b.LbSpeed.caption(), "0");
    EXPECT_EQ(b.lngCardX[51], 52 - 18);  // the open card slid 2 pixels per card left
    EXPECT_EQ(b.intStackCard, t.state().cards.intDeck[34]);
    EXPECT_EQ(s.CastleCount, 0);
    EXPECT_EQ(s.CastleBonus, 0);
    // The count-up is synchronous: each step lasts as long as its sound.
    const auto& snd = t.ui.sounds;
    EXPECT_NEAR(snd.back().at - snd[snd.size() - 2].at, 0.1, 0.01);
}

TEST(Rounds, FiveCastlesPayGrowingBonusesAndEndTheRound) {
    TestGame t;
    t.start();
    Brindle& b = t.table();
    auto& s = t.state().score;
    t.setDeck(TestGame::deckWith({{51, 4}, {0, 5}, {1, 4}, {2, 5}, {3, 4}, {4, 5}}));
    onlyOpen(b, {0, 1, 2, 3, 4});
    s.Score = 10000;
    b.LbScore.setCaption("10,000");
    int expected = 10000;
    const int bonus[] = {2000, 4000, 6000, 8000};
    for (int k = 0; k < 4; ++k) {
        t.clickCard(k);
        expected += (k + 1) * 100 + bonus[k];
        EXPECT_EQ(s.Score, expected) << k;
        EXPECT_EQ(b.PanCastle[static_cast<size_t>(k)].picture(), t.path("castle2.bmp"));
        EXPECT_EQ(b.LbCastle[static_cast<size_t>(k)].caption(),
                  std::to_string(bonus[k] / 1000) + ",000");
    }
    EXPECT_EQ(s.CastleCount, 4);
    t.ui.advance(1.6);
    EXPECT_EQ(b.LbCastle[0].caption(), "");
    EXPECT_EQ(t.countSound("castle1.wav"), 4u);

    // The fifth: 10000, the fanfare twice, the clock stopped, the bonus paid, round 2 dealt.
    s.Speed = 1000;
    b.intStackCount = 40;  // fifteen cards left
    int beforeFifth = s.Score;
    t.clickCard(4);
    t.ui.advance(20);
    EXPECT_EQ(t.countSound("castle1.wav"), 6u);
    EXPECT_EQ(t.countSound("stack.wav"), 15u);
    EXPECT_EQ(t.countSound("hilostart.wav"), 1u);
    EXPECT_EQ(s.RoundState, 2);
    EXPECT_EQ(s.Score, beforeFifth + 500 + 10000 + 15000 + 1000);
    EXPECT_EQ(b.PanCastle[0].picture(), t.path("castle.bmp"));  // a new round, unbuilt castles
    EXPECT_EQ(s.CastleCount, 0);
    EXPECT_EQ(countMessages(t, "Get ready for Round 2"), 0u);  // the screen is a form, not a box
    EXPECT_EQ(t.game->tarnmess().loaded(), false);
}

TEST(Rounds, RoundTwoNeeds80000ForTheBonusRound) {
    for (int score : {80000, 79999}) {
        TestGame t;
        t.start();
        Brindle& b = t.table();
        auto& s = t.state().score;
        s.RoundState = 2;
        s.Score = score;
        t.clickTakeScore();
        t.ui.advance(15);
        if (score == 80000) {
            EXPECT_EQ(s.RoundState, 3);
            EXPECT_EQ(b.LbRound.caption(), "Bonus Round");
            EXPECT_EQ(b.cmdtakescore.caption(), "Take Score");
            EXPECT_TRUE(b.enabled());
        } else {
            EXPECT_EQ(s.RoundState, 1);
            EXPECT_EQ(b.LbRound.caption(), "Game Over");
            EXPECT_EQ(b.cmdtakescore.caption(), "New Game");
            EXPECT_TRUE(t.game->tarnhisc().visible());
            EXPECT_EQ(t.state().high.HighScoreEntry, 1);  // 79999 beats an empty table
        }
    }
}

TEST(Rounds, RoundOneAt300StartsRoundTwoWith2500) {
    TestGame t;
    t.start();
    auto& s = t.state().score;
    s.Score = 300;
    t.clickTakeScore();
    t.ui.advance(15);
    EXPECT_EQ(s.RoundState, 2);
    EXPECT_EQ(s.Score, 2500);
    EXPECT_EQ(t.table().LbScore.caption(), "2,500");
}

TEST(Rounds, FastTakeScoreClicksEndOnlyOneRound) {
    TestGame t;
    t.start();
    Brindle& b = t.table();
    auto& s = t.state().score;
    double now = t.ui.now();
    for (double dt : {0.0, 0.05, 0.1, 2.0, 5.0})
        t.ui.at(now + dt, [&] { b.cmdtakescore.fireClick(); });
    t.ui.advance(12);
    EXPECT_EQ(s.RoundState, 2);
    EXPECT_EQ(t.countSound("hilostart.wav"), 1u);
    EXPECT_EQ(t.countSound("newround.wav"), 1u);
    // A press on the button while a screen is in front beeps.
    s.ScreenReady = 0;
    b.cmdtakescore.fireMouseDown(1, 0, 5, 5);
    EXPECT_EQ(t.ui.beeps, 1);
    EXPECT_FALSE(b.cmdtakescore.pressed());
    s.ScreenReady = 1;
    b.cmdtakescore.fireMouseDown(1, 0, 5, 5);
    EXPECT_TRUE(b.cmdtakescore.pressed());
    b.cmdtakescore.fireMouseUp(1, 0, 5, 5);
    EXPECT_FALSE(b.cmdtakescore.pressed());
}

TEST(Rounds, GameOverWithoutAHighScoreShowsTheTableAndANewGameFollows) {
    TestGame t;
    writeFullTable(t);
    t.start();
    Brindle& b = t.table();
    auto& s = t.state().score;
    s.BestRun = 8;
    s.RoundState = 2;
    s.Score = 40000;
    t.clickTakeScore();
    t.ui.advance(10);
    EXPECT_EQ(s.RoundState, 1);
    EXPECT_EQ(s.Score, 0);
    EXPECT_EQ(t.readFile("Scores.log").substr(0, 8), " 90000 8");  // the best run is kept
    t.ui.advance(6);  // the shown table closes by itself
    EXPECT_FALSE(t.game->tarnhisc().visible());
    EXPECT_TRUE(b.enabled());
    EXPECT_EQ(b.LbBestCaption.caption(), "BEST POSSIBLE");

    t.clickTakeScore();  // "New Game": the last game's best possible score goes
    EXPECT_EQ(b.LbBestCaption.caption(), "");
    EXPECT_EQ(b.LbBest.caption(), "");
    t.ui.advance(8);
    EXPECT_EQ(s.RoundState, 0);
    EXPECT_EQ(s.Score, 2500);
    EXPECT_EQ(b.LbRound.caption(), "Round 1");
    EXPECT_EQ(b.cmdtakescore.caption(), "Take Score");
    EXPECT_EQ(t.game->tarnmess().LbMessage.caption(), "Get ready");
}

TEST(Rounds, TitleShiftsOnDoubleClick) {
    TestGame t;
    t.start();
    Brindle& b = t.table();
    b.SSPanel1.fireDblClick();
    EXPECT_EQ(b.SSPanel1.caption(), " BRINDLEMOOR");
    EXPECT_EQ(t.state().score.TitleShifted, 1);
    b.SSPanel1.fireDblClick();
    EXPECT_EQ(b.SSPanel1.caption(), "BRINDLEMOOR");
}

TEST(Rounds, ARunPast327OverflowsAndEndsTheProgram) {
    TestGame t;
    t.start();
    t.state().score.Run = 327;
    t.setDeck(TestGame::deckWith({{51, 4}, {20, 5}}));
    t.clickCard(20);
    EXPECT_TRUE(t.rt->ended());
    EXPECT_EQ(t.rt->fatalError(), 6);
    ASSERT_FALSE(t.ui.messages.empty());
    EXPECT_EQ(t.ui.messages.back().text, "Run-time error '6':\r\rOverflow");
}

}  // namespace
}  // namespace bm::test

namespace bm::test {
namespace {

TEST(Rounds, AnUnwritableScoreFileIsReportedAndPlayGoesOn) {
    TestGame t;
    std::string five = writeFullTable(t);
    ::chmod(t.path("Scores.log").c_str(), 0444);  // a read-only table is not replaced
    t.ui.answers = {mb::kAnswerOk};
    t.start();
    auto& s = t.state().score;
    s.BestRun = 9;
    s.RoundState = 2;
    s.Score = 1000;
    t.clickTakeScore();
    t.ui.advance(12);
    EXPECT_FALSE(t.rt->ended());
    ASSERT_FALSE(t.ui.messages.empty());
    EXPECT_EQ(t.ui.messages.back().title, "High Scores");
    EXPECT_NE(t.ui.messages.back().text.find("previous high-score table is kept"),
              std::string::npos);
    EXPECT_EQ(t.readFile("Scores.log"), five);
    EXPECT_EQ(s.RoundState, 1);
}

TEST(Rounds, CastleThemesChooseDifferentPictures) {
    TestGame t;
    t.start();
    Brindle& b = t.table();
    auto& s = t.state().score;
    const std::pair<int, int> ranges[] = {{0, 5}, {1, 31}, {1, 9}};  // theme 1 indexes six files
    for (int theme = 1; theme <= 3; ++theme) {
        t.state().menu.intCastleTheme = static_cast<int16_t>(theme);
        b.subNewCastleImg();
        std::set<int> chosen(s.CastlePictures.begin(), s.CastlePictures.end());
        EXPECT_EQ(chosen.size(), 5u) << theme;
        auto [low, high] = ranges[theme - 1];
        EXPECT_GE(*chosen.begin(), low) << theme;
        EXPECT_LE(*chosen.rbegin(), high) << theme;
    }
    t.state().menu.intCastleTheme = 0;
    b.subNewCastleImg();
    for (int16_t p : s.CastlePictures) EXPECT_EQ(p, -1);

    // Theme 1 shows a picture of the images folder in the castle's place.
    t.state().menu.intCastleTheme = 1;
    b.subShowCastleImg(b.ImgCastle[2], b.PanCastle[2], 0);
    EXPECT_TRUE(b.ImgCastle[2].visible());
    EXPECT_FALSE(b.PanCastle[2].visible());
    EXPECT_EQ(b.ImgCastle[2].picture(), t.path("images/" + b.File1.list(0)));
    // A theme whose pictures are missing leaves the castle as it was.
    t.state().menu.intCastleTheme = 2;
    b.subShowCastleImg(b.ImgCastle[3], b.PanCastle[3], 7);
    EXPECT_TRUE(b.PanCastle[3].visible());
    EXPECT_FALSE(b.ImgCastle[3].visible());
}

TEST(Rounds, TooFewPicturesEndTheProgramAtTheStart) {
    TestGame t(Options{true, 4});
    t.ui.answers = {mb::kAnswerOk};
    t.start();
    EXPECT_TRUE(t.rt->ended());
    ASSERT_FALSE(t.ui.messages.empty());
    EXPECT_EQ(t.ui.messages.back().text,
              "Some image files are missing - you must re-install Brindlemoor!");
}

}  // namespace
}  // namespace bm::test
