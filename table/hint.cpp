#include "table/hint.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <random>
#include <thread>
#include <vector>

namespace bm {

namespace {

// A seed that depends on the visible table only.
uint64_t seedOf(const VisibleTable& t, int speed) {
    uint64_t h = 1469598103934665603ull;
    auto mix = [&](int64_t v) {
        h ^= static_cast<uint64_t>(v) + 0x9E3779B97F4A7C15ull;
        h *= 1099511628211ull;
    };
    for (int16_t v : t.layout) mix(v);
    for (int k = 0; k < t.turnedCount; ++k) mix(t.turned[static_cast<size_t>(k)]);
    for (int64_t v : {int64_t(t.turnedCount), int64_t(t.dealtOpenCard), int64_t(t.stackCard),
                      int64_t(t.run), int64_t(t.castles), int64_t(speed)})
        mix(v);
    return h;
}

}  // namespace

Hint fairHint(const VisibleTable& t, int speed, int samples) {
    // The cards the player has seen: the layout's face-up and taken cards, the turned pile cards
    // and the open card of the deal. Every other card is hidden, in an order nobody knows.
    std::array<bool, 52> seen{};
    solver::Position base;
    base.removed = t.removed;
    std::vector<int> hiddenSlots;
    for (size_t p = 0; p < 26; ++p) {
        if (t.faceDown >> p & 1) {
            hiddenSlots.push_back(static_cast<int>(p));
        } else {
            base.deck[p] = t.layout[p];
            seen[static_cast<size_t>(t.layout[p])] = true;
        }
    }
    for (int k = 0; k < t.turnedCount; ++k) {
        const int16_t v = t.turned[static_cast<size_t>(k)];
        base.deck[static_cast<size_t>(50 - k)] = v;
        seen[static_cast<size_t>(v)] = true;
    }
    for (int p = 26; p <= 50 - t.turnedCount; ++p) hiddenSlots.push_back(p);
    base.deck[51] = static_cast<int16_t>(t.dealtOpenCard);
    seen[static_cast<size_t>(t.dealtOpenCard)] = true;
    std::vector<int16_t> hidden;
    for (int v = 0; v < 52; ++v)
        if (!seen[static_cast<size_t>(v)]) hidden.push_back(static_cast<int16_t>(v));
    // A table that does not add up (it never should) gets no hint rather than a wrong one.
    if (hidden.size() != hiddenSlots.size()) return {};

    base.stackCard = t.stackCard;
    base.turned = t.turnedCount;
    base.run = t.run;
    base.castles = t.castles;

    std::vector<solver::Move> playable;
    for (const solver::Move& m : solver::legalMoves(base))
        if (m.kind == solver::Move::Kind::Take) playable.push_back(m);
    if (playable.empty()) return {solver::kStackPosition, 0};

    // The arrangements are drawn up front, so the answer does not depend on how the work is split;
    // two workers share them, one solver each, to answer quickly on a two-core machine.
    std::mt19937_64 rng(seedOf(t, speed));
    const int rounds = std::max(1, samples);
    std::vector<solver::Position> arrangements;
    for (int s = 0; s < rounds; ++s) {
        std::vector<int16_t> cards = hidden;
        std::shuffle(cards.begin(), cards.end(), rng);
        solver::Position pos = base;
        size_t next = 0;
        for (int slot : hiddenSlots) pos.deck[static_cast<size_t>(slot)] = cards[next++];
        arrangements.push_back(pos);
    }
    std::vector<std::vector<int64_t>> gains(arrangements.size(),
                                            std::vector<int64_t>(playable.size(), 0));
    // A position the solver refuses (a table that does not add up) gives no hint; nothing may
    // escape a worker thread.
    std::atomic<bool> failed{false};
    auto solveRange = [&](size_t from, size_t to) {
        try {
            solver::Solver solver;
            for (size_t s = from; s < to; ++s)
                for (size_t k = 0; k < playable.size(); ++k) {
                    solver::Position after = arrangements[s];
                    const int64_t now = solver::applyMove(after, playable[k], speed);
                    gains[s][k] = now + (after.castles >= 5 ? 0 : solver.bestGain(after, speed));
                }
        } catch (const std::exception&) {
            failed = true;
        }
    };
    const size_t half = arrangements.size() / 2;
    std::thread helper(solveRange, size_t{0}, half);
    solveRange(half, arrangements.size());
    helper.join();
    if (failed) return {};
    std::vector<double> total(playable.size(), 0);
    for (const auto& row : gains)
        for (size_t k = 0; k < playable.size(); ++k) total[k] += static_cast<double>(row[k]);
    size_t best = 0;
    for (size_t k = 1; k < playable.size(); ++k)
        if (total[k] > total[best]) best = k;
    return {playable[best].position, total[best] / rounds};
}

}  // namespace bm
