// A player bot that plays complete games on the virtual clock through every form of the table,
// checking the game's invariants whenever the user interface is idle.
//   bm_soak GAMES [SEED]
// Prints the games played, their rate and how each program run ended; exits non-zero when an
// invariant failed or a run ended in a way the game does not allow.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>
#include <sstream>
#include <stdexcept>

#include "forms/tarnhisc.h"
#include "forms/tarnmenu.h"
#include "forms/tarnmess.h"
#include "platform/errors.h"
#include "platform/files.h"
#include "platform/vb.h"
#include "storage/scores_file.h"
#include "table/brindle.h"
#include "table/hilo.h"
#include "tests/harness.h"

namespace bm::test {
namespace {

struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

class Bot {
  public:
    Bot(TestGame& t, std::mt19937& rng) : t_(t), rng_(rng) {}

    long games = 0;
    long events = 0;

    void act() {
        check();
        if (t_.rt->ended()) return;
        Program& g = *t_.game;
        Brindle& b = g.brindle();
        ++events;
        if (g.tarnmenu().visible()) return useMenu();
        if (g.hilo().visible()) return playSideGame();
        if (g.tarnhisc().visible()) return enterName();
        if (g.tarnmess().visible() || !b.enabled()) return;
        playTable();
    }

    void check() {
        const GameState& s = t_.state();
        if (!t_.game->brindle().loaded()) return;  // at the menu
        Brindle& b = t_.game->brindle();
        // Positions 0..50 hold 51 different cards; the open stack card (position 51) is a copy
        // of a card that has left the layout or the pile, or the one card dealt open.
        std::array<int, 52> seen{};
        for (size_t p = 0; p <= 50; ++p) {
            int16_t v = s.cards.intDeck[p];
            if (v < 0 || v > 51) fail("a card value outside the deck");
            if (seen[static_cast<size_t>(v)]++) fail("a card in two places");
        }
        for (size_t p = 0; p <= 50; ++p) {
            if (s.cards.intDeck[p] != s.cards.intDeck[51]) continue;
            bool gone = p < 26 ? b.intCardState[p] == 2 : static_cast<int>(p) > b.intStackCount;
            if (!gone) fail("the open card is still on the layout or in the pile");
        }
        for (size_t p = 0; p < 26; ++p)
            if (b.intCardState[p] < 0 || b.intCardState[p] > 2) fail("a card in no known state");
        if (b.intStackCount < 25 || b.intStackCount > 50) fail("the pile count left its range");
        if (b.intStackCard != s.cards.intDeck[51] &&
            b.intStackCard != s.cards.intDeck[static_cast<size_t>(b.intStackCount)])
            fail("the open card is not the stack card");
        if (s.score.Score < 0) fail("a negative score");
        if (b.LbRun.caption() != std::to_string(s.score.Run)) fail("the run label disagrees");
        static const char* rounds[] = {"Round 1", "Game Over", "Round 2", "Bonus Round"};
        if (s.score.RoundState < 0 || s.score.RoundState > 3) fail("an unknown round");
        if (b.LbRound.caption() != rounds[s.score.RoundState]) fail("the round label disagrees");
        // After game over the score is reset without the label: the next game shows it again.
        if (s.score.RoundState != 1) {
            const std::string& shown = b.LbScore.caption();
            double value = shown.empty() ? 0 : toNumber(shown);
            if (value != s.score.Score) fail("the score label disagrees: " + shown);
        }
        std::string path = t_.path("Scores.log");
        if (fileExists(path)) {
            long long len = fileLen(path);
            if (len != 0 && len != 48 && len != 240) fail("a partly written score file");
            if (len == 240) {
                storage::ScoreTable table = storage::readScoreTable(path);
                for (const auto& name : table.names)
                    if (name.size() > 10 || (name != ucase(name) && name != "No Name"))
                        fail("a bad name in the file: " + name);
                for (size_t k = 1; k < 5; ++k)
                    if (table.scores[k] > table.scores[k - 1] && table.scores[k - 1] < 10000)
                        fail("the file is out of order");
            }
        }
        if (s.score.RoundState == 1 && !sawGameOver_) {
            sawGameOver_ = true;
            ++games;
        } else if (s.score.RoundState != 1) {
            sawGameOver_ = false;
        }
    }

  private:
    bool chance(double p) { return std::uniform_real_distribution<double>(0, 1)(rng_) < p; }
    int pick(int n) { return std::uniform_int_distribution<int>(0, n - 1)(rng_); }
    [[noreturn]] void fail(const std::string& what) { throw Failure(what); }

    void playTable() {
        Brindle& b = t_.game->brindle();
        double r = std::uniform_real_distribution<double>(0, 1)(rng_);
        if (r < 0.62) {
            // A face-up card, or a card that plays when one does.
            std::vector<int> open, legal;
            int s = b.intStackCard / 4;
            for (int p = 0; p < 26; ++p) {
                if (b.intCardState[static_cast<size_t>(p)] != 1) continue;
                open.push_back(p);
                int c = t_.state().cards.intDeck[static_cast<size_t>(p)] / 4;
                if (c == (s + 1) % 13 || c == (s + 12) % 13) legal.push_back(p);
            }
            const auto& from = !legal.empty() && chance(0.85) ? legal : open;
            if (from.empty()) return;
            int p = from[static_cast<size_t>(pick(static_cast<int>(from.size())))];
            size_t k = static_cast<size_t>(p);
            b.fireMouseDown(1, 0, b.lngCardX[k] + 35, b.lngCardY[k] + (p < 5 ? 8 : 60));
        } else if (r < 0.72) {
            b.fireMouseDown(chance(0.8) ? 1 : 2, 0, pick(Brindle::kWidth), pick(Brindle::kHeight));
        } else if (r < 0.85) {
            b.PicStack.fireMouseDown(1, 0, pick(125), pick(96));
        } else if (r < 0.87) {
            b.cmdtakescore.fireMouseDown(1, 0, 5, 5);
            b.cmdtakescore.fireMouseUp(1, 0, 5, 5);
            b.cmdtakescore.fireClick();
        } else if (r < 0.88) {
            b.SSPanel1.fireDblClick();
        } else if (r < 0.89) {
            b.fireKeyDown(chance(0.5) ? 121 : 65, chance(0.5) ? 4 : 0);
        } else if (r < 0.895 && t_.state().score.RoundState == 1) {
            // Closes the table after a game: back to the menu, which starts the next one.
            t_.rt->dispatch([&] { b.unload(); });
        }
        // Otherwise the player waits and lets the clock run.
    }

    void useMenu() {
        Tarnmenu& m = t_.game->tarnmenu();
        // Back from a game the focus is on "Exit Game", at the start on "Start Game".
        const bool fromGame = t_.state().menu.intMenuReturn == 1;
        if (t_.ui.focused != (fromGame ? &m.CmdExit : &m.CmdStart))
            fail("the menu's focus is lost");
        if (chance(0.2)) m.fireKeyDown(chance(0.5) ? 121 : 112, chance(0.5) ? 4 : 0);
        m.CmdStart.fireClick();
        sawGameOver_ = false;
    }

    void playSideGame() {
        HiLo& h = t_.game->hilo();
        if (h.CmdDouble.enabled()) {
            if (chance(0.3)) h.CmdDouble.fireClick();
        } else if (chance(0.25)) {
            (chance(0.5) ? h.CmdHigh : h.CmdLow).fireClick();
        }
    }

    void enterName() {
        Tarnhisc& f = t_.game->tarnhisc();
        if (!f.TxbHighScore.visible()) return;  // the table is only shown; it closes itself
        if (chance(0.7) && f.TxbHighScore.text().size() < 14) {
            static const std::string letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJ 0123456789.-'";
            f.TxbHighScore.userEdit(
                f.TxbHighScore.text() +
                letters[static_cast<size_t>(pick(static_cast<int>(letters.size())))]);
        } else if (chance(0.5)) {
            f.TxbHighScore.fireKeyPress(13);
        } else {
            f.cmdOK.fireClick();
        }
    }

    TestGame& t_;
    std::mt19937& rng_;
    bool sawGameOver_ = false;
};

}  // namespace
}  // namespace bm::test

int main(int argc, char** argv) {
    using namespace bm::test;
    long target = argc > 1 ? std::atol(argv[1]) : 100;
    unsigned seed = argc > 2 ? static_cast<unsigned>(std::atol(argv[2])) : 1;
    std::mt19937 rng(seed);
    std::map<std::string, long> ends;
    long games = 0, events = 0, runs = 0;
    auto started = std::chrono::steady_clock::now();
    try {
        while (games < target) {
            // One program run: it lasts until the program ends or enough games are played.
            TestGame t;
            ++runs;
            Bot bot(t, rng);
            t.ui.agent = [&] { bot.act(); };
            t.start();
            while (!t.rt->ended() && games + bot.games < target) t.ui.advance(60);
            games += bot.games;
            events += bot.events;
            if (t.rt->ended()) {
                int n = t.rt->fatalError();
                ends["run-time error " + std::to_string(n) + " (" + bm::errorDescription(n) +
                     ")"]++;
                if (n != bm::err::kSubscriptOutOfRange)
                    throw Failure("an end the game does not allow");
            }
        }
    } catch (const std::exception& e) {
        std::printf("soak failed after %ld games: %s\n", games, e.what());
        return 1;
    }
    double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    std::printf("soak: %ld games, %ld bot events, %ld program runs in %.1f s (%.0f games/s)\n",
                games, events, runs, seconds, games / seconds);
    for (const auto& [what, n] : ends)
        std::printf("  program ended by %s: %ld times\n", what.c_str(), n);
    std::printf("%ld passed, 0 failed\n", games);
    return 0;
}
