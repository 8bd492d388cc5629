// The table: deal, layout, hit test, legal takes, uncovering and the draw pile.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

#include "platform/errors.h"
#include "table/brindle.h"
#include "tests/harness.h"

namespace bm::test {
namespace {

constexpr int kAce = 0, kTwo = 1, kFive = 4, kSix = 5, kQueen = 11, kKing = 12;

// Which cards of the next row down must be gone before a face-down card turns up.
std::vector<int> coversOf(int q) {
    if (q == 0) return {5};
    if (q >= 1 && q <= 3) return {2 * q + 4, 2 * q + 5};
    if (q == 4) return {12};
    if (q == 5) return {13};
    if (q >= 6 && q <= 11) return {q + 7, q + 8};
    if (q == 12) return {19};
    if (q == 13) return {20};
    if (q >= 14 && q <= 18) return {q + 6, q + 7};
    if (q == 19) return {25};
    return {};
}

TEST(Table, DealLaysOutTheRowsThePileAndTheOpenCard) {
    TestGame t;
    t.start();
    Brindle& b = t.table();
    const auto& deck = t.state().cards.intDeck;
    EXPECT_EQ(std::set<int16_t>(deck.begin(), deck.end()).size(), 52u);
    EXPECT_EQ(*std::max_element(deck.begin(), deck.end()), 51);
    EXPECT_EQ(std::count(b.intCardState.begin(), b.intCardState.begin() + 26, 0), 20);
    EXPECT_EQ(std::count(b.intCardState.begin(), b.intCardState.begin() + 26, 1), 6);
    EXPECT_EQ(b.intStackCount, 50);
    EXPECT_EQ(b.intStackCard, deck[51]);
    EXPECT_EQ(b.PicStack.toolTip(), "25 CARDS LEFT");
    EXPECT_EQ(t.state().cards.intPlayEnabled, 1);

    // Row positions, and the pile fanned to the right of x = 2 with the open card at 52.
    const int xs[] = {5,  145, 285, 425, 565, 40,  110, 180, 250, 320, 390, 460, 530,
                      75, 145, 215, 285, 355, 425, 495, 110, 180, 250, 320, 390, 460};
    for (int p = 0; p < 26; ++p) {
        EXPECT_EQ(b.lngCardX[static_cast<size_t>(p)], xs[p]) << p;
        EXPECT_EQ(b.lngCardY[static_cast<size_t>(p)], p < 5    ? 90
                                                      : p < 13 ? 130
                                                      : p < 20 ? 170
                                                               : 210);
    }
    const auto& draws = b.PicStack.surface().draws();
    ASSERT_EQ(draws.size(), 26u);
    for (int k = 0; k < 25; ++k) {
        EXPECT_EQ(draws[static_cast<size_t>(k)].x, 2 + 2 * k);
        EXPECT_EQ(draws[static_cast<size_t>(k)].mode, 1);
        EXPECT_EQ(draws[static_cast<size_t>(k)].code, 54);
    }
    EXPECT_EQ(draws.back().x, 52);
    EXPECT_EQ(draws.back().code, deck[51]);
    // Row 4 face up, the rest backs on light cyan.
    std::string face20 = "face " + std::to_string(deck[20]) + " at 110,210";
    EXPECT_NE(b.surface().describe().find(face20), std::string::npos);
    EXPECT_NE(b.surface().describe().find("back 54 at 5,90"), std::string::npos);
}

TEST(Table, DealsRepeatForTheSameClockAndDifferOtherwise) {
    TestGame a, b, c;
    a.start();
    b.start();
    EXPECT_EQ(a.state().cards.intDeck, b.state().cards.intDeck);
    c.ui.advance(0.25);
    c.start();
    EXPECT_NE(a.state().cards.intDeck, c.state().cards.intDeck);
}

TEST(Table, RanksWrapRoundAtAceAndKing) {
    TestGame t;
    t.start();
    // Stack Ace; row 4 holds King, Two, Queen, Ace, Five, Six.
    t.setDeck(TestGame::deckWith(
        {{51, kAce}, {20, kKing}, {21, kTwo}, {22, kQueen}, {23, kAce}, {24, kFive}, {25, kSix}}));
    Brindle& b = t.table();
    t.clickCard(24);  // a Five on an Ace: wrong
    EXPECT_EQ(b.intCardState[24], 1);
    t.clickCard(20);  // King on Ace
    EXPECT_EQ(b.intCardState[20], 2);
    EXPECT_EQ(b.intStackCard / 4, kKing);
    t.clickCard(22);  // Queen on King
    EXPECT_EQ(b.intStackCard / 4, kQueen);
    EXPECT_EQ(b.intCardState[22], 2);
    t.clickCard(23);  // Ace on Queen: wrong
    EXPECT_EQ(b.intCardState[23], 1);
    EXPECT_EQ(t.countSound("takecard.wav"), 2u);
    EXPECT_EQ(t.countSound("wrongcrd.wav"), 2u);
    // Taking 20 uncovered 13; the layout's open card follows every take.
    EXPECT_EQ(b.intCardState[13], 1);
    EXPECT_EQ(t.state().cards.intDeck[51], t.state().cards.intDeck[22]);
    EXPECT_EQ(b.intCardRow, 4);
}

TEST(Table, WrongClicksChangeNothing) {
    TestGame t;
    t.start();
    t.setDeck(TestGame::deckWith({{51, kFive}, {20, kSix}}));
    Brindle& b = t.table();
    auto before = b.intCardState;
    // A face-down card of row 1, a place off the layout, the fanned backs of the pile.
    b.fireMouseDown(1, 0, 40, 100);
    t.ui.advance(0.01);
    b.fireMouseDown(1, 0, 700, 20);
    t.ui.advance(0.01);
    b.PicStack.fireMouseDown(1, 0, 30, 40);
    t.ui.advance(0.01);
    EXPECT_EQ(b.intCardState, before);
    EXPECT_EQ(b.intStackCount, 50);
    EXPECT_EQ(t.countSound("wrongcrd.wav"), 3u);
    EXPECT_EQ(t.state().score.Score, 2500);

    // A removed card under the pointer is a wrong click too, even over a playable one.
    t.clickCard(20);
    EXPECT_EQ(b.intCardState[20], 2);
    b.fireMouseDown(1, 0, 120, 290);  // where card 20 lay
    t.ui.advance(0.01);
    EXPECT_EQ(t.countSound("wrongcrd.wav"), 4u);
}

TEST(Table, UncoveringFollowsTheCoverTable) {
    // Take face-up cards of rows 2 to 4 in random orders; after every take a card shows its face
    // exactly when all the cards covering it are gone.
    for (unsigned seed = 1; seed <= 20; ++seed) {
        TestGame t;
        t.start();
        Brindle& b = t.table();
        std::mt19937 rng(seed);
        for (int take = 0; take < 21; ++take) {
            std::vector<int16_t> open;
            for (int16_t p = 5; p <= 25; ++p)
                if (b.intCardState[static_cast<size_t>(p)] == 1) open.push_back(p);
            if (open.empty()) break;
            int16_t p = open[rng() % open.size()];
            t.state().score.ScreenReady = 1;
            b.subMoveCards(p);
            for (int q = 0; q <= 19; ++q) {
                if (b.intCardState[static_cast<size_t>(q)] == 2) continue;
                bool uncovered = true;
                for (int c : coversOf(q)) uncovered &= b.intCardState[static_cast<size_t>(c)] == 2;
                EXPECT_EQ(b.intCardState[static_cast<size_t>(q)], uncovered ? 1 : 0)
                    << "seed " << seed << " card " << q << " after taking " << p;
            }
        }
    }
}

TEST(Table, ThePileRunsOutWithItsPenaltyAndFloor) {
    TestGame t;
    t.start();
    Brindle& b = t.table();
    auto& s = t.state().score;
    s.Score = 2000;
    std::vector<std::string> tips;
    for (int k = 0; k < 25; ++k) {
        t.clickStack();
        tips.push_back(b.PicStack.toolTip());
        EXPECT_EQ(b.intStackCard, t.state().cards.intDeck[static_cast<size_t>(50 - k)]);
    }
    EXPECT_EQ(tips[0], "24 CARDS LEFT");
    EXPECT_EQ(tips[23], "1 CARD LEFT");
    EXPECT_EQ(tips[24], "0 CARDS LEFT");
    EXPECT_EQ(s.Score, 0);  // 2000 less 100 a card, never below 0
    EXPECT_EQ(b.LbScore.caption(), "0");
    EXPECT_EQ(s.Run, 0);

    s.Score = 500;
    size_t wrong = t.countSound("wrongcrd.wav");
    t.clickStack();  // nothing left to turn
    EXPECT_EQ(t.countSound("wrongcrd.wav"), wrong + 1);
    EXPECT_EQ(s.Score, 500);
    EXPECT_EQ(b.intStackCount, 25);
}

TEST(Table, PenaltyTakesAHundredOrDropsToZero) {
    TestGame t;
    t.start();
    auto& s = t.state().score;
    for (auto [before, after] : {std::pair{101, 1}, {100, 0}, {150, 50}, {2500, 2400}}) {
        s.Score = before;
        t.clickStack();
        EXPECT_EQ(s.Score, after) << before;
    }
    EXPECT_EQ(t.table().LbScore.caption(), "2,400");
    EXPECT_TRUE(t.table().Timer1.enabled());  // turning a card starts the round clock
}

TEST(Table, AMissingSoundIsReportedAndTheTableStillDeals) {
    TestGame t;
    std::remove(t.path("stack.wav").c_str());
    t.ui.answers = {mb::kAnswerOk};
    t.start();
    ASSERT_FALSE(t.ui.messages.empty());
    const auto& m = t.ui.messages.front();
    EXPECT_EQ(m.title, "Missing File ( stack.wav )");
    EXPECT_EQ(m.flags, 64);
    EXPECT_EQ(m.text,
              "A required sound or picture file could not\rbe found. Although you can continue "
              "to play,\rwe recommend to reinstall Brindlemoor from\rthe installation diskettes.");
    EXPECT_EQ(t.state().cards.intPlayEnabled, 1);
    EXPECT_EQ(t.table().LbRound.caption(), "Round 1");
    EXPECT_FALSE(t.rt->ended());
}

TEST(Table, FaceCodesOutsideTheMapAreARangeError) {
    TestGame t;
    t.start();
    t.state().cards.intCardOffset = 1;
    EXPECT_EQ(t.table().faceCode(47), 51);
    EXPECT_EQ(errorOf([&] { t.table().faceCode(48); }), err::kSubscriptOutOfRange);
}

TEST(Table, MenuKeysAreSwallowed) {
    TestGame t;
    t.start();
    EXPECT_EQ(t.table().fireKeyDown(121, 0), 0);
    EXPECT_EQ(t.table().fireKeyDown(65, 4), 0);
    EXPECT_EQ(t.table().fireKeyDown(65, 0), 65);
}

}  // namespace
}  // namespace bm::test
