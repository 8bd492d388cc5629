// The high/low side game as the table offers it after a round: the time limit, the flicker of the
// two cards, the calls and what they do to the score.
#include <gtest/gtest.h>

#include "table/brindle.h"
#include "table/hilo.h"
#include "tests/harness.h"

namespace bm::test {
namespace {

constexpr int kHigh = 1;
constexpr int kLow = 0;

class HiLoGame : public ::testing::Test {
  protected:
    void SetUp() override {
        t.start();
        rebase();
    }

    HiLo& hilo() { return t.game->hilo(); }
    ScoreState& score() { return t.state().score; }
    // Times given to at() count from here; the next offer starts here.
    void rebase() { base_ = t.ui.now(); }
    void at(double after, std::function<void()> event) { t.ui.at(base_ + after, std::move(event)); }
    // Offers the side game as the table does; returns once the form has gone.
    void offer() {
        t.rt->dispatch([this] { t.table().subCallHiLo(); });
    }
    double elapsed() { return t.ui.now() - base_; }

    // Doubles 0.1 s into the offer with the given cards coming next, then calls after `ticks`
    // steps of the flicker.
    void gamble(int side, int low, int high, int ticks, int call) {
        at(0.1, [=, this] {
            hilo().intSide = static_cast<int16_t>(side);
            hilo().intLowCard = static_cast<int16_t>(low);
            hilo().intHighCard = static_cast<int16_t>(high);
            hilo().CmdDouble.fireClick();
        });
        at(0.1 + 0.19 * ticks + 0.05,
           [=, this] { (call == kHigh ? hilo().CmdHigh : hilo().CmdLow).fireClick(); });
        offer();
    }
    int shownCard() {
        const auto& draws = hilo().surface().draws();
        return draws.empty() ? -1 : draws.back().code;
    }

    TestGame t;
    double base_ = 0;
};

TEST_F(HiLoGame, LeftAloneItKeepsTheScoreAndClosesAfterThreeAndAHalfSeconds) {
    score().Score = 10000;
    score().CastleCount = 5;
    score().CastleBonus = 10000;
    HiLo& h = hilo();
    at(0.05, [&] {
        EXPECT_EQ(h.caption(), "     High/Low Card");
        EXPECT_EQ(h.border(), Border::Fixed);
        EXPECT_EQ(h.owner(), &t.table());
        EXPECT_EQ(h.left(), (t.ui.screen.width - h.width()) / 2);
        EXPECT_EQ(h.top(), (t.ui.screen.height - h.height()) / 2);
        EXPECT_EQ(h.Gauge1.value(), 100);
        EXPECT_TRUE(h.Timer1.enabled());
        EXPECT_FALSE(h.Timer2.enabled());
        EXPECT_EQ(t.ui.focused, &h.CmdDouble);
        EXPECT_FALSE(t.table().enabled());
        EXPECT_EQ(&h.HiLoCard, &t.state().cards.intCardOffset);
    });
    at(0.75, [&] { EXPECT_EQ(h.Gauge1.value(), 80); });
    at(3.45, [&] {
        EXPECT_EQ(h.Gauge1.value(), 20);
        EXPECT_TRUE(h.loaded());
    });
    offer();
    EXPECT_NEAR(elapsed(), 3.5, 0.01);
    EXPECT_FALSE(h.loaded());
    EXPECT_EQ(score().Score, 10000);
    EXPECT_EQ(t.state().hilo.HiLoDone, 1);
    EXPECT_EQ(score().CastleCount, 0);
    EXPECT_EQ(score().CastleBonus, 0);
    EXPECT_EQ(t.ui.focused, &t.table().Pictakescore);
    // Only the face-down card of the card space: no face was ever shown.
    EXPECT_EQ(h.surface().describe(), "back 54 at 28,15\n");
    ASSERT_EQ(t.soundsPlayed(), std::vector<std::string>{"hilostart.wav"});
    EXPECT_EQ(t.ui.sounds.back().flags, snd::kAsync | snd::kNoDefault);
}

TEST_F(HiLoGame, AWinAddsHalfTheScoreAndALossHalvesIt) {
    struct Case {
        int32_t score;
        int call;
        int32_t after;
        const char* shown;
        const char* sound;
    };
    // The high card falls from 40 to 39, a Ten: a high call wins.
    for (const Case& c :
         {Case{10000, kHigh, 15000, "15,000", "hilowin.wav"},
          Case{10000, kLow, 5000, "5,000", "hiloloose.wav"}, Case{1, kLow, 0, "0", "hiloloose.wav"},
          Case{1, kHigh, 1, "1", "hilowin.wav"}}) {
        SCOPED_TRACE(std::to_string(c.score) + (c.call == kHigh ? " high" : " low"));
        rebase();
        score().Score = c.score;
        at(0.15, [&] { EXPECT_EQ(t.ui.focused, &hilo().CmdHigh); });  // Double has let it go
        gamble(0, 10, 40, 1, c.call);
        EXPECT_LT(elapsed(), 0.5);
        EXPECT_FALSE(hilo().loaded());
        EXPECT_EQ(score().Score, c.after);
        EXPECT_EQ(t.table().LbScore.caption(), c.shown);
        EXPECT_EQ(t.soundsPlayed().back(), c.sound);
        EXPECT_EQ(t.ui.sounds.back().flags, snd::kAsync | snd::kNoDefault);
    }
}

TEST_F(HiLoGame, SevenCountsLowAndEightHigh) {
    struct Case {
        int side, low, high, call;
        int card;
        int32_t after;
    };
    for (const Case& c : {Case{1, 26, 40, kLow, 27, 15000}, Case{1, 26, 40, kHigh, 27, 5000},
                          Case{0, 10, 29, kHigh, 28, 15000}, Case{0, 10, 29, kLow, 28, 5000}}) {
        SCOPED_TRACE(std::to_string(c.card) + (c.call == kHigh ? " high" : " low"));
        rebase();
        score().Score = 10000;
        gamble(c.side, c.low, c.high, 1, c.call);
        EXPECT_EQ(shownCard(), c.card);
        EXPECT_EQ(t.state().cards.intCardOffset, c.card);  // left there for the next deal
        EXPECT_EQ(score().Score, c.after);
    }
}

TEST_F(HiLoGame, TheTwoCardsTakeTurnsAndStartOverAtTheirEnds) {
    for (int side : {1, 0}) {
        SCOPED_TRACE(side);
        rebase();
        std::vector<int> shown;
        for (int k = 1; k <= 4; ++k)
            at(0.1 + 0.19 * k + 0.02, [&] {
                shown.push_back(shownCard());
                EXPECT_EQ(hilo().surface().draws().size(), 1u);
                EXPECT_EQ(hilo().surface().draws().back().x, 28);
                EXPECT_EQ(hilo().surface().draws().back().y, 15);
            });
        gamble(side, 27, 28, 4, kLow);
        if (side == 1)
            EXPECT_EQ(shown, (std::vector<int>{4, 51, 5, 50}));
        else
            EXPECT_EQ(shown, (std::vector<int>{51, 4, 50, 5}));
    }
}

TEST_F(HiLoGame, WithTheTitleShiftedTheCallWaitsForTheFirstCard) {
    score().Score = 10000;
    score().TitleShifted = 1;
    at(0.12, [&] {
        EXPECT_FALSE(hilo().CmdHigh.enabled());
        hilo().CmdHigh.fireClick();  // ignored: no card shows yet
    });
    at(0.25, [&] { EXPECT_TRUE(hilo().loaded()); });
    // Once the first card opens the calls, the focus is on High, ready for the keyboard.
    at(0.32, [&] { EXPECT_EQ(t.ui.focused, &hilo().CmdHigh); });
    gamble(1, 10, 40, 1, kLow);  // the low card 11 shows: a low call wins
    EXPECT_EQ(score().Score, 15000);
}

TEST_F(HiLoGame, AnEarlyCallSettlesOnTheCardLeftFromTheDeal) {
    score().Score = 10000;
    at(0.05, [&] { hilo().CmdHigh.fireClick(); });
    at(0.1, [&] { hilo().CmdDouble.fireClick(); });
    offer();
    // The deal left code 0, an Ace: low, so the high call loses without a card shown.
    EXPECT_EQ(score().Score, 5000);
    EXPECT_EQ(hilo().surface().describe(), "back 54 at 28,15\n");
    EXPECT_EQ(t.soundsPlayed().back(), "hiloloose.wav");
}

TEST_F(HiLoGame, ClosingTheFormWhileItFlickersSettlesNothing) {
    score().Score = 10000;
    at(0.5, [&] { hilo().unload(); });
    at(0.6, [&] { hilo().CmdHigh.fireClick(); });
    gamble(1, 10, 40, 10, kHigh);
    EXPECT_FALSE(hilo().loaded());
    EXPECT_FALSE(hilo().Timer2.enabled());
    EXPECT_EQ(t.state().hilo.HiLoDone, 1);
    t.ui.advance(3);  // the calls scheduled for later find the form gone
    EXPECT_EQ(score().Score, 10000);
    EXPECT_EQ(t.countSound("hilowin.wav") + t.countSound("hiloloose.wav"), 0u);

    // The next offer gambles as usual.
    rebase();
    gamble(0, 10, 40, 1, kHigh);
    EXPECT_EQ(score().Score, 15000);
}

TEST_F(HiLoGame, ACardLibraryFailureIsReportedAtEveryStepAndTheFlickerGoesOn) {
    t.ui.cardsFail = true;
    t.ui.answers.assign(2, mb::kAnswerOk);
    gamble(1, 10, 40, 2, kHigh);
    size_t errors = 0;
    for (const auto& m : t.ui.messages) errors += m.text == "Error";
    EXPECT_EQ(errors, 2u);
    EXPECT_EQ(shownCard(), 39);
    EXPECT_EQ(score().Score, 3750);
}

TEST_F(HiLoGame, AWinBeyondTheScoreRangeIsAnOverflow) {
    score().Score = 2'000'000'000;
    gamble(0, 10, 40, 1, kHigh);
    EXPECT_EQ(t.rt->fatalError(), 6);
    EXPECT_TRUE(t.ui.ended);
}

TEST_F(HiLoGame, MenuKeysAreSwallowed) {
    at(0.1, [&] {
        EXPECT_EQ(hilo().fireKeyDown(key::kF10, 0), 0);
        EXPECT_EQ(hilo().fireKeyDown('H', shift::kAlt), 0);
        EXPECT_EQ(hilo().fireKeyDown('H', 0), 'H');
    });
    offer();
    EXPECT_FALSE(hilo().loaded());
}

}  // namespace
}  // namespace bm::test
