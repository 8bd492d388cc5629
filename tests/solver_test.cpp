// The round solver against a plain exhaustive search that follows the table's own rules (its
// neighbour-based uncovering, castle bonuses and end-of-round bonus), and on hand-checked
// positions.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <numeric>
#include <optional>
#include <random>

#include "solver/solver.h"

namespace bm::solver {
namespace {

constexpr int kSpeed = 1200;

// The table as the game keeps it: 0 face down, 1 face up, 2 taken.
struct Table {
    std::array<int16_t, 52> deck{};
    std::array<int8_t, 26> state{};
    int stack = 0, turned = 0, run = 0, castles = 0;

    explicit Table(const std::array<int16_t, 52>& d) : deck(d), stack(d[51]) {
        for (int p = 0; p < 26; ++p) state[p] = p >= 20 ? 1 : 0;
    }
    uint32_t removed() const {
        uint32_t m = 0;
        for (int p = 0; p < 26; ++p) m |= uint32_t{state[p] == 2} << p;
        return m;
    }
    Position position() const { return {deck, removed(), stack, turned, run, castles}; }
    // Takes p and turns up the cards above it whose covering pair is now gone, as the table does.
    void remove(int p) {
        state[p] = 2;
        auto gone = [&](int q) { return state[q] == 2; };
        if (p >= 20) {  // the card's row only, as the table tests its neighbours
            if (p > 20 && gone(p - 1)) state[p - 7] = 1;
            if (p < 25 && gone(p + 1)) state[p - 6] = 1;
            if (p == 20) state[13] = 1;
            if (p == 25) state[19] = 1;
        } else if (p >= 13) {
            if (p > 13 && gone(p - 1)) state[p - 8] = 1;
            if (p < 19 && gone(p + 1)) state[p - 7] = 1;
            if (p == 13) state[5] = 1;
            if (p == 19) state[12] = 1;
        } else if (p >= 5) {
            if (p > 5 && gone(p - 1) && (p == 7 || p == 9 || p == 11)) state[(p - 5) / 2] = 1;
            if (p < 12 && gone(p + 1) && (p == 6 || p == 8 || p == 10)) state[(p - 4) / 2] = 1;
            if (p == 5) state[0] = 1;
            if (p == 12) state[4] = 1;
        }
    }
    int64_t endBonus(int speed) const {
        return castles > 2 ? int64_t{25 - turned} * 1000 + speed : 0;
    }
    bool playable(int p) const {
        int s = stack / 4, c = deck[p] / 4;
        if (state[p] != 1) return false;
        if (s == 0) return c == 12 || c == 1;
        if (s == 12) return c == 11 || c == 0;
        return c == s + 1 || c == s - 1;
    }
    // Plays a card or turns the pile; returns the points, or nothing for an illegal move.
    std::optional<int64_t> step(const Move& m, int speed, bool& over) {
        over = false;
        if (m.kind == Move::Kind::Stop) {
            over = true;
            return endBonus(speed);
        }
        if (m.kind == Move::Kind::Turn) {
            if (turned >= 25) return std::nullopt;
            stack = deck[50 - turned++];
            run = 0;
            return -100;
        }
        if (m.position < 0 || m.position > 25 || !playable(m.position)) return std::nullopt;
        remove(m.position);
        stack = deck[m.position];
        int64_t gain = ++run * 100;
        if (m.position <= 4) {
            gain += 2000 * ++castles;
            if (castles == 5) {
                over = true;
                gain += endBonus(speed);
            }
        }
        return gain;
    }
};

// Every line of play, no memory.
int64_t bruteForce(const Table& t, int speed) {
    int64_t best = t.endBonus(speed);
    std::vector<Move> moves{Move::turn()};
    for (int p = 0; p < 26; ++p) moves.push_back(Move::take(p));
    for (const Move& m : moves) {
        Table next = t;
        bool over = false;
        auto gain = next.step(m, speed, over);
        if (gain) best = std::max(best, *gain + (over ? 0 : bruteForce(next, speed)));
    }
    return best;
}

int64_t replay(Table t, const std::vector<Move>& line, int speed) {
    int64_t total = 0;
    bool over = false;
    for (const Move& m : line) {
        EXPECT_FALSE(over) << "moves after the round's end";
        auto gain = t.step(m, speed, over);
        if (!gain) {
            ADD_FAILURE() << "illegal move " << describe(m, t.position());
            return total;
        }
        total += *gain;
    }
    EXPECT_TRUE(over) << "the line does not end the round";
    return total;
}

// A late position: a few layout cards and pile cards left, ranks close together so that cards
// often play. Checks the solver's face-up cards against the table's along the way.
Table randomLatePosition(std::mt19937& rng) {
    std::array<int16_t, 52> deck{};
    int low = static_cast<int>(rng() % 13);
    for (auto& v : deck) v = static_cast<int16_t>(((low + rng() % 5) % 13) * 4 + rng() % 4);
    Table t(deck);
    int left = 3 + static_cast<int>(rng() % 7);
    bool topFirst = rng() % 2 == 0;
    for (int taken = 0; taken < 26 - left; ++taken) {
        std::vector<int> up;
        for (int p = 0; p < 26; ++p) {
            EXPECT_EQ(isFaceUp(t.removed(), p), t.state[p] == 1) << "position " << p;
            if (t.state[p] == 1) up.push_back(p);
        }
        int p = up[rng() % up.size()];
        if (topFirst && up.front() <= 4) p = up.front();
        t.remove(p);
        t.castles += p <= 4;
    }
    t.turned = 20 + static_cast<int>(rng() % 6);
    t.run = static_cast<int>(rng() % 6);
    t.stack = deck[rng() % 26];
    return t;
}

TEST(SolverRules, RanksWrapRoundAndOnlyReachableSetsAreAccepted) {
    EXPECT_TRUE(ranksTouch(12, 0) && ranksTouch(1, 0) && ranksTouch(0, 12) && ranksTouch(11, 12));
    EXPECT_FALSE(ranksTouch(0, 0) || ranksTouch(2, 0) || ranksTouch(5, 3));
    EXPECT_TRUE(isReachable(0) && isReachable((1u << 26) - 1) && isReachable(1u << 20 | 1u << 13));
    EXPECT_FALSE(isReachable(1u << 13) || isReachable(1u << 26));

    Solver solver;
    Position p = Position::deal({});
    p.removed = 1u << 13;
    EXPECT_THROW(solver.solve(p, kSpeed), std::invalid_argument);
    p.removed = 1u << 5 | 1u << 13 | 1u << 20 | 1;
    EXPECT_THROW(solver.solve(p, kSpeed), std::invalid_argument);  // a castle not counted
    p.castles = 1;
    EXPECT_NO_THROW(solver.solve(p, kSpeed));
    p.turned = 26;
    EXPECT_THROW(solver.solve(p, kSpeed), std::invalid_argument);
}

TEST(SolverExact, MatchesExhaustiveSearchOnLatePositions) {
    std::mt19937 rng(7);
    Solver solver;
    for (int n = 0; n < 250; ++n) {
        Table t = randomLatePosition(rng);
        for (int speed : {0, 850}) {
            SCOPED_TRACE("position " + std::to_string(n) + ", speed " + std::to_string(speed));
            int64_t expected = bruteForce(t, speed);
            Result r = solver.solve(t.position(), speed);
            ASSERT_EQ(r.gain, expected);
            EXPECT_EQ(replay(t, r.line, speed), expected);

            auto moves = solver.evaluateMoves(t.position(), speed);
            ASSERT_EQ(moves.size(), legalMoves(t.position()).size());
            EXPECT_EQ(moves.front().gain, expected);
            for (const MoveValue& mv : moves) {
                Table next = t;
                bool over = false;
                auto gain = next.step(mv.move, speed, over);
                ASSERT_TRUE(gain.has_value());
                EXPECT_EQ(mv.gain, *gain + (over ? 0 : bruteForce(next, speed)));
            }
        }
    }
}

TEST(SolverExact, LinesOfFullDealsReplayAndEachStepKeepsTheRest) {
    std::mt19937 rng(11);
    std::array<int16_t, 52> deck{};
    std::iota(deck.begin(), deck.end(), int16_t{0});
    Solver solver;
    for (int n = 0; n < 20; ++n) {
        std::shuffle(deck.begin(), deck.end(), rng);
        Table t(deck);
        Result r = solver.solve(t.position(), kSpeed);
        EXPECT_EQ(replay(t, r.line, kSpeed), r.gain);
        // Solving again from each position on the line (on tables kept from the first solve)
        // finds what is left of the gain, and the library's moves agree with the table's.
        int64_t left = r.gain;
        Position p = t.position();
        for (const Move& m : r.line) {
            ASSERT_EQ(solver.bestGain(t.position(), kSpeed), left);
            bool over = false;
            int64_t gain = *t.step(m, kSpeed, over);
            EXPECT_EQ(applyMove(p, m, kSpeed), gain);
            Position q = t.position();
            EXPECT_TRUE(p.removed == q.removed && p.stackCard == q.stackCard &&
                        p.turned == q.turned && p.run == q.run && p.castles == q.castles);
            left -= gain;
        }
        EXPECT_EQ(left, 0);
    }
}

TEST(SolverKnown, ADealWhereNothingEverPlaysIsWorthNothing) {
    // Row 4 holds the four 7s and two 8s; the stack and the pile hold no 6, 7, 8 or 9, which all
    // lie face down in rows 1 to 3.
    std::array<int16_t, 52> deck{};
    int16_t k = 0;
    for (int16_t v : {20, 21, 22, 23, 30, 31, 32, 33, 34, 35}) deck[k++] = v;  // rows 1 and 2
    for (int16_t v = 0; v < 52; ++v) {
        if (v >= 20 && v < 36) continue;
        deck[k] = v;
        k = k == 19 ? 26 : k + 1;
    }
    for (int16_t p = 20; p < 26; ++p) deck[p] = static_cast<int16_t>(24 + p - 20);
    ASSERT_EQ(deck[20] / 4, 6);

    Solver solver;
    EXPECT_EQ(solver.solve(Position::deal(deck), kSpeed).line, std::vector<Move>{Move::stop()});
    auto moves = solver.evaluateMoves(Position::deal(deck), kSpeed);
    EXPECT_EQ(moves.size(), 2u);
    EXPECT_TRUE(moves[0].gain == 0 && moves[1].move == Move::turn() && moves[1].gain == -100);
}

// All layout cards taken but `left`; the castles follow from the top-row cards taken.
Position lateOn(std::initializer_list<std::pair<int, int>> left, int stack, int turned, int run) {
    Position p;
    p.removed = (1u << 26) - 1;
    for (auto [pos, value] : left) {
        p.deck[pos] = static_cast<int16_t>(value);
        p.removed &= ~(1u << pos);
    }
    p.castles = std::popcount(p.removed & 0x1F);
    p.stackCard = stack;
    p.turned = turned;
    p.run = run;
    return p;
}

TEST(SolverKnown, CastlesAndTheEndOfRoundBonus) {
    Solver solver;
    constexpr int kAce = 0, k2 = 4, k5 = 16, k6 = 20, k7 = 24, k8 = 28, k9 = 32, kQ = 44, kK = 48;

    // The fifth castle ends the round: run 3 (300) + 10000 + 5 cards left and speed 700.
    Position fifth = lateOn({{0, k6}}, k5, 20, 2);
    EXPECT_EQ(solver.solve(fifth, 700).gain, 16000);
    // A Nine out of reach until an Eight is turned: -100, then 100 + 10000 + 4 cards + speed.
    fifth.deck[0] = k9;
    fifth.deck[30] = k8;
    Result r = solver.solve(fifth, 700);
    EXPECT_EQ(r.gain, 14700);
    EXPECT_EQ(r.line, (std::vector<Move>{Move::turn(), Move::take(0)}));

    // From two castles: take 8 and 9 (castles 3 and 4), turn an Ace, and take the 2 for the
    // fifth castle: 100 + 6000 + 200 + 8000 - 100 + 100 + 10000 + 1000 + 500.
    Position third = lateOn({{2, k8}, {3, k9}, {4, k2}}, k7, 23, 0);
    third.deck[27] = kAce + 1;
    third.deck[26] = kK;
    r = solver.solve(third, 500);
    EXPECT_EQ(r.gain, 25800);
    EXPECT_EQ(r.line,
              (std::vector<Move>{Move::take(2), Move::take(3), Move::turn(), Move::take(4)}));

    // An empty pile: no turn, and the bonus is the speed alone: 500 + 8000 + 300.
    Position empty = lateOn({{3, k6}, {4, k5 - 4}}, k5, 25, 4);
    auto moves = legalMoves(empty);
    EXPECT_EQ(moves.size(), 3u);
    EXPECT_EQ(std::count(moves.begin(), moves.end(), Move::turn()), 0);
    EXPECT_EQ(solver.solve(empty, 300).gain, 8800);

    // Queen to King to Ace: the King uncovers the Ace, the fifth castle: 100 + 200 + 10000 + 1000.
    Position wrap = lateOn({{0, kAce}, {5, kK}}, kQ, 25, 0);
    EXPECT_EQ(solver.solve(wrap, 1000).gain, 11300);
}

}  // namespace
}  // namespace bm::solver
