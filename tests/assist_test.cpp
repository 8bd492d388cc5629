// Keyboard play, the fair hint and the best score each round's deal allowed.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "platform/vb.h"
#include "solver/solver.h"
#include "table/brindle.h"
#include "table/hint.h"
#include "tests/harness.h"

namespace bm::test {
namespace {

constexpr int kLeft = 37, kUp = 38, kRight = 39, kDown = 40, kTab = 9;

int press(TestGame& t, int code, int shift = 0) {
    int left = t.table().fireKeyDown(code, shift);
    t.ui.advance(0.01);
    return left;
}

TEST(KeyboardPlay, ArrowsMoveTheMarkAndEnterPlaysLikeAClick) {
    TestGame t;
    t.start();
    // Stack Five; row 4: Six, Nine, Four, Jack, Two, King.
    t.setDeck(
        TestGame::deckWith({{51, 4}, {20, 5}, {21, 8}, {22, 3}, {23, 10}, {24, 1}, {25, 12}}));
    Brindle& b = t.table();
    EXPECT_FALSE(b.ShpFocus.visible());

    EXPECT_EQ(press(t, kRight), 0);  // the first press marks the first card that plays
    EXPECT_EQ(b.intFocusPos, 20);
    EXPECT_TRUE(b.ShpFocus.visible());
    EXPECT_EQ(b.ShpFocus.left(), b.lngCardX[20] - 3);
    press(t, kRight);
    press(t, kRight);
    EXPECT_EQ(b.intFocusPos, 22);
    press(t, kLeft);
    EXPECT_EQ(b.intFocusPos, 21);
    press(t, kDown);  // below the layout: the open card
    EXPECT_EQ(b.intFocusPos, 51);
    press(t, kUp);  // back up to the card nearest across (the open card lies at x 302)
    EXPECT_EQ(b.intFocusPos, 23);
    press(t, kUp);  // rows 1 to 3 are face down: nothing to go to
    EXPECT_EQ(b.intFocusPos, 23);

    // Menu keys stay swallowed and move nothing.
    EXPECT_EQ(press(t, kLeft, shift::kAlt), 0);
    EXPECT_EQ(press(t, key::kF10), 0);
    EXPECT_EQ(b.intFocusPos, 23);

    press(t, kLeft);  // the Four
    EXPECT_EQ(press(t, key::kEnter), 0);
    EXPECT_EQ(b.intCardState[22], 2);
    EXPECT_EQ(t.state().score.Score, 2600);
    EXPECT_EQ(t.countSound("takecard.wav"), 1u);
    EXPECT_TRUE(b.focusable(b.intFocusPos));  // the mark moved to a card still there
    press(t, kRight);
    press(t, 32);  // Space on a card that does not play: the wrong-card sound, as for a click
    EXPECT_EQ(t.countSound("wrongcrd.wav"), 1u);

    press(t, 'T');  // turns the next pile card
    EXPECT_EQ(b.intStackCount, 49);
    EXPECT_EQ(t.state().score.Run, 0);

    // Tab hands the keyboard to the buttons: the mark steps aside and Enter is theirs.
    EXPECT_EQ(press(t, kTab), kTab);
    EXPECT_FALSE(b.ShpFocus.visible());
    EXPECT_EQ(press(t, key::kEnter), key::kEnter);
}

TEST(BestPossible, ShownAfterTheRoundWithTheSolversGainOnTheDeal) {
    TestGame t;
    t.start();
    auto deck = TestGame::deckWith({{51, 4}, {20, 5}, {21, 6}, {22, 7}, {23, 3}, {24, 2}, {25, 1}});
    t.setDeck(deck);
    Brindle& b = t.table();
    EXPECT_EQ(b.LbBest.caption(), "");
    t.clickCard(23);  // a Four on the Five: the round starts at 2,500
    t.clickTakeScore();
    t.ui.advance(20);
    solver::Solver solver;
    // The clock never ticked: the round ended at full speed.
    const int64_t gain = solver.bestGain(solver::Position::deal(deck), 1200);
    EXPECT_GT(gain, 0);
    EXPECT_EQ(b.LbBestCaption.caption(), "BEST POSSIBLE");
    EXPECT_EQ(b.LbBest.caption(), formatNumber(2500.0 + gain, "##,##"));
}

// A deal whose rows 1 to 3 and pile hold the given order of the hidden cards.
std::array<int16_t, 52> withHidden(std::array<int16_t, 52> deck, unsigned seed) {
    std::vector<int16_t> hidden;
    for (size_t p = 0; p < 51; ++p)
        if (p < 20 || p > 25) hidden.push_back(deck[p]);
    std::mt19937 rng(seed);
    std::shuffle(hidden.begin(), hidden.end(), rng);
    size_t k = 0;
    for (size_t p = 0; p < 51; ++p)
        if (p < 20 || p > 25) deck[p] = hidden[k++];
    return deck;
}

int hintOn(const std::array<int16_t, 52>& deck) {
    TestGame t;
    t.start();
    t.setDeck(deck);
    t.table().fireKeyDown('H', 0);
    t.ui.advance(0.01);
    return t.table().intHintPos;
}

TEST(Hint, SeesOnlyWhatThePlayerSees) {
    auto deck =
        TestGame::deckWith({{51, 6}, {20, 5}, {21, 7}, {22, 0}, {23, 9}, {24, 12}, {25, 2}});
    const int first = hintOn(withHidden(deck, 1));
    EXPECT_TRUE(first == 20 || first == 21);
    // Other orders of the face-down cards and the pile: the same hint.
    for (unsigned seed : {2u, 3u, 4u}) EXPECT_EQ(hintOn(withHidden(deck, seed)), first) << seed;
}

TEST(Hint, ATableThatDoesNotAddUpGetsNoHintInsteadOfAFailure) {
    // Three castles counted with no top-row card taken: the solver refuses such a position.
    VisibleTable t;
    for (size_t p = 0; p < 26; ++p) t.layout[p] = static_cast<int16_t>(p);
    t.faceDown = (1u << 20) - 1;
    t.dealtOpenCard = 51;
    t.stackCard = 51;  // a King: the Queen at 45 is not in view, the Ace at 0..3 face down
    t.layout[20] = 47;
    t.castles = 3;
    EXPECT_EQ(fairHint(t, 1200, 4).position, -1);
}

TEST(Hint, HighlightsTheProposedCardUntilTheNextMoveAndThePileWhenNothingPlays) {
    TestGame t;
    t.start();
    t.setDeck(TestGame::deckWith(
        {{51, 6}, {20, 5}, {21, 0}, {22, 0}, {23, 9}, {24, 12}, {25, 2}, {13, 10}}));
    Brindle& b = t.table();
    press(t, 'H');
    EXPECT_EQ(b.intHintPos, 20);
    EXPECT_TRUE(b.ShpHint.visible());
    EXPECT_EQ(b.ShpHint.top(), b.lngCardY[20] - 3);
    t.clickCard(20);  // the Six: nothing left face up plays on it
    EXPECT_EQ(b.intHintPos, -1);
    EXPECT_FALSE(b.ShpHint.visible());
    press(t, 'H');
    EXPECT_EQ(b.intHintPos, 51);
}

}  // namespace
}  // namespace bm::test

namespace bm::test {
namespace {

TEST(AccessibleCards, NameEveryCardSayWhetherItPlaysAndPressLikeAClick) {
    TestGame t;
    t.start();
    // Stack Queen of Hearts (rank 11, suit 2): value 46.
    auto deck = TestGame::deckWith({{20, 6}, {21, 10}, {22, 3}});
    std::swap(deck[51], *std::find(deck.begin(), deck.end(), int16_t{46}));
    t.setDeck(deck);
    Brindle& b = t.table();
    auto items = b.accessibleItems();
    ASSERT_EQ(items.size(), 27u);
    EXPECT_EQ(items[0].name, "Face-down card");
    EXPECT_EQ(items[20].name, Brindle::cardName(deck[20]));
    EXPECT_EQ(items[20].name.rfind("Seven of ", 0), 0u);
    EXPECT_EQ(items[20].description, "Not playable");
    EXPECT_EQ(items[21].description, "Playable");  // a Jack on the Queen
    EXPECT_EQ(items[26].name, "Open card: Queen of Hearts, 25 cards left");

    b.firePressItem(21);
    t.ui.advance(0.01);
    EXPECT_EQ(b.intCardState[21], 2);
    EXPECT_EQ(t.state().score.Score, 2600);
    b.firePressItem(26);  // the open card turns the next pile card
    t.ui.advance(0.01);
    EXPECT_EQ(b.intStackCount, 49);
    EXPECT_EQ(b.accessibleItems()[26].name,
              "Open card: " + Brindle::cardName(deck[50]) + ", 24 cards left");
}

}  // namespace
}  // namespace bm::test
