#pragma once
// The exact solver of one round of the table: for a deal and a position within the round it finds
// the best gain the player can still reach before the round ends, and a line of moves reaching it.
//
// Deal: card values 0..51 (rank = value / 4, Ace 0 .. King 12) at positions 0..51. Positions 0..25
// are the layout in rows of 5, 8, 7 and 6 (the top row, 0..4, are the castle tops); 26..50 are the
// draw pile with 50 on top; 51 is the open stack card of the deal.
//
// Gain, counted from the position on: the n-th card of a run scores n x 100; the first to fifth
// castle of the round 2000, 4000, ... 10000, the fifth ending the round at once; a card turned
// from the pile costs 100 and ends the run; when the round ends with three or more castles built
// in it, 1000 for each card left in the pile plus the remaining speed. The player may end the
// round (take the score) at any time. The clock and the score's floor at 0 are not modelled.
#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace bm::solver {

constexpr int kLayoutCards = 26;
constexpr int kPileCards = 25;
constexpr int kStackPosition = 51;

struct Move {
    enum class Kind : uint8_t { Take, Turn, Stop };
    Kind kind = Kind::Stop;
    int position = -1;  // the layout position taken (Take only)

    static Move take(int position) { return {Kind::Take, position}; }
    static Move turn() { return {Kind::Turn, -1}; }
    static Move stop() { return {Kind::Stop, -1}; }
    bool operator==(const Move&) const = default;
};

struct Position {
    std::array<int16_t, 52> deck{};
    uint32_t removed = 0;  // bit p set: layout position p has been taken
    int stackCard = 0;     // value of the open stack card
    int turned = 0;        // cards turned from the pile in this round, 0..25
    int run = 0;           // cards taken since the last turn (or the round's start)
    int castles = 0;       // castles built in this round; 5 means the round is over

    // The position at the start of a round on this deal.
    static Position deal(const std::array<int16_t, 52>& deck);
};

struct Result {
    int64_t gain = 0;
    std::vector<Move> line;  // ends with Stop, or with the Take that builds the fifth castle
};

struct MoveValue {
    Move move;
    int64_t gain = 0;  // the best gain of the round when this move is made first
};

// True when the removed set can occur in play: a card is only taken once the cards covering it are.
bool isReachable(uint32_t removed);
// True when layout position p is still there and no card covers it.
bool isFaceUp(uint32_t removed, int position);
// True when a card of rank `card` may be played on a stack card of rank `stack` (wrapping round).
bool ranksTouch(int card, int stack);
// The moves open in the position: Stop, Turn while the pile has cards, and the playable cards.
std::vector<Move> legalMoves(const Position& position);
// Makes a legal move and returns its gain, the end-of-round bonus included when it ends the round.
int64_t applyMove(Position& position, const Move& move, int speed);
// "take 12 (7 of hearts)", "turn (Queen of clubs)", "stop".
std::string describe(const Move& move, const Position& position);
std::string cardName(int value);

// Keeps its tables between solves: solving again on the same deal, speed and castle count reuses
// every value already found, so a hint can evaluate each move of a turn cheaply.
class Solver {
  public:
    Solver();
    ~Solver();
    Solver(const Solver&) = delete;
    Solver& operator=(const Solver&) = delete;

    // Throws std::invalid_argument for a position that cannot occur.
    Result solve(const Position& position, int speed);
    int64_t bestGain(const Position& position, int speed);
    // Every legal first move with the best gain reachable after it, best first.
    std::vector<MoveValue> evaluateMoves(const Position& position, int speed);

    // Number of positions valued since the tables were last cleared.
    size_t statesValued() const;

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace bm::solver
