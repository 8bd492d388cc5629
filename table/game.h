#pragma once
// The program object: the runtime, the shared state and every form of the game.
#include <memory>

#include "table/game_state.h"

namespace bm {

class Runtime;
class Brindle;
class HiLo;
class Tarnmess;
class Tarnhisc;

class Game {
  public:
    explicit Game(Runtime& runtime);
    ~Game();
    Game(const Game&) = delete;
    Game& operator=(const Game&) = delete;

    Runtime& rt;
    GameState state;

    Brindle& brindle() { return *brindle_; }
    HiLo& hilo() { return *hilo_; }
    Tarnmess& tarnmess() { return *tarnmess_; }
    Tarnhisc& tarnhisc() { return *tarnhisc_; }

    // Opens the first form of the program.
    void start();
    // Tells the player that the high-score file could not be written; the file is replaced in one
    // step, so the previous table is still there.
    void reportScoresNotSaved(const std::string& reason);
    // Joins the first `count` message lines with a carriage return alone.
    std::string joinedMessage(int count) const;

  private:
    std::unique_ptr<Brindle> brindle_;
    std::unique_ptr<HiLo> hilo_;
    std::unique_ptr<Tarnmess> tarnmess_;
    std::unique_ptr<Tarnhisc> tarnhisc_;
};

}  // namespace bm
