#pragma once
// A fair hint: the move that does best on average over arrangements of the cards the player cannot
// see, given only what the player can see. Two tables that look the same get the same hint.
#include <array>
#include <cstdint>

#include "solver/solver.h"

namespace bm {

// What the player sees of a round.
struct VisibleTable {
    // Each layout card's value, for the face-up cards and the cards taken (both were seen); the
    // value under a face-down card is not read.
    std::array<int16_t, 26> layout{};
    uint32_t faceDown = 0;  // bit p: layout position p is still face down
    uint32_t removed = 0;   // bit p: layout position p has been taken
    std::array<int16_t, 25>
        turned{};  // the pile cards turned so far, in order (first `turnedCount`)
    int turnedCount = 0;
    int dealtOpenCard = 0;  // the open card of the deal
    int stackCard = 0;      // the open card now
    int run = 0;
    int castles = 0;
};

struct Hint {
    // A layout position to play, or solver::kStackPosition: turn the next pile card (no card
    // plays, or the pile is what is left).
    int position = -1;
    double averageGain = 0;
};

// Samples `samples` arrangements of the hidden cards, solves each exactly, and picks the playable
// card with the best average gain; the pile when no card plays. Deterministic for a visible table.
Hint fairHint(const VisibleTable& table, int speed, int samples);

}  // namespace bm
