#pragma once
// A whole game on the headless user interface, in a temporary program folder that holds small
// stand-ins for the sounds and pictures.
#include <array>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/headless/headless_ui.h"
#include "platform/runtime.h"
#include "program/program.h"

namespace bm::test {

// The number of the run-time error that f raises, 0 when it raises none.
int errorOf(const std::function<void()>& f);

// Writes a 24-bit BMP of the given size (its pixels are all one colour).
void writeBmp(const std::string& path, int width, int height);
// Writes a GIF header with the given size (enough for the headless picture probe).
void writeGifHeader(const std::string& path, int width, int height);
// Writes a silent PCM wave file that plays for `seconds`.
void writeWave(const std::string& path, double seconds);

struct Options {
    bool assets = true;  // sounds, castle pictures and the images folder
    int pictures = 6;    // pictures in the images folder
};

// Lays out a known deck on the table of `game`, as a fresh deal would leave it: values for
// positions 0..51 (51 is the open stack card).
void layDeck(Game& game, const std::array<int16_t, 52>& deck);

class TestGame {
  public:
    explicit TestGame(Options options = {});
    ~TestGame();

    std::string folder;  // the program folder
    HeadlessUi ui;
    std::unique_ptr<Runtime> rt;
    std::unique_ptr<Program> game;

    Brindle& table();
    GameState& state() { return game->state; }
    std::string path(const std::string& name) const { return folder + "/" + name; }

    // Starts the program: it stops at the start menu.
    void launch();
    // Starts the program, presses "Start Game" and lets the opening "Get ready..." screen close.
    void start();
    // Lays out a known deck: values for positions 0..51 (51 is the open stack card), then
    // redraws the table as a fresh deal would leave it.
    void setDeck(const std::array<int16_t, 52>& deck);
    // A deck whose layout and pile follow the given ranks (0 Ace .. 12 King) in position order;
    // the suits are filled in so that every card occurs once.
    static std::array<int16_t, 52> deckFromRanks(const std::array<int, 52>& ranks);
    // A deck with the given ranks at the given positions; every other position gets one of the
    // remaining cards, in order.
    static std::array<int16_t, 52> deckWith(std::initializer_list<std::pair<int, int>> rankAt);
    // Clicks a layout position on a visible part of the card, or the open stack card.
    void clickCard(int position);
    void clickStack();
    void clickTakeScore();
    // File names of the sounds played so far, in order.
    std::vector<std::string> soundsPlayed() const;
    size_t countSound(const std::string& file) const;
    std::string readFile(const std::string& name) const;
    void writeFile(const std::string& name, const std::string& bytes) const;
};

}  // namespace bm::test
