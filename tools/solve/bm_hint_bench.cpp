// bm_hint_bench N: answer times of the fair hint on N positions taken from random rounds (a random
// number of random legal moves into a fresh deal), as the table asks for them. Prints the median,
// the 99th percentile and the longest answer.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <random>
#include <vector>

#include "table/hint.h"

int main(int argc, char** argv) {
    using namespace bm;
    const int positions = argc > 1 ? std::atoi(argv[1]) : 200;
    std::mt19937 rng(7);
    std::vector<double> ms;
    for (int n = 0; n < positions; ++n) {
        std::array<int16_t, 52> deck;
        std::iota(deck.begin(), deck.end(), int16_t{0});
        std::shuffle(deck.begin(), deck.end(), rng);
        solver::Position pos = solver::Position::deal(deck);
        const int moves = std::uniform_int_distribution<int>(0, 20)(rng);
        for (int k = 0; k < moves; ++k) {
            auto legal = solver::legalMoves(pos);
            std::erase_if(legal,
                          [](const solver::Move& m) { return m.kind == solver::Move::Kind::Stop; });
            if (legal.empty()) break;
            solver::applyMove(pos, legal[rng() % legal.size()], 1200);
            if (pos.castles >= 5) break;
        }
        if (pos.castles >= 5) continue;
        // What the player sees of that position.
        VisibleTable t;
        t.removed = pos.removed;
        for (int p = 0; p < 26; ++p) {
            t.layout[static_cast<size_t>(p)] = pos.deck[static_cast<size_t>(p)];
            if (!(pos.removed >> p & 1) && !solver::isFaceUp(pos.removed, p)) t.faceDown |= 1u << p;
        }
        t.turnedCount = pos.turned;
        for (int k = 0; k < pos.turned; ++k)
            t.turned[static_cast<size_t>(k)] = pos.deck[static_cast<size_t>(50 - k)];
        t.dealtOpenCard = deck[51];
        t.stackCard = pos.stackCard;
        t.run = pos.run;
        t.castles = pos.castles;
        const auto start = std::chrono::steady_clock::now();
        fairHint(t, 1200 - 50 * std::min(moves, 23), 8);
        ms.push_back(
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
                .count());
    }
    std::sort(ms.begin(), ms.end());
    std::printf("hint answers: %zu, median %.1f ms, p99 %.1f ms, longest %.1f ms\n", ms.size(),
                ms[ms.size() / 2], ms[std::min(ms.size() - 1, ms.size() * 99 / 100)], ms.back());
    return 0;
}
