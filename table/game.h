#pragma once
// The program as its forms see it: the runtime, the shared state, and the calls that carry control
// from one form to another. The program object above the forms implements the calls and owns every
// form, so no form needs to know another form's header except the table's, which lies below them.
#include <string>

#include "table/game_state.h"

namespace bm {

class Runtime;
class Brindle;
class HiLo;

class Game {
  public:
    explicit Game(Runtime& runtime) : rt(runtime) {}
    virtual ~Game() = default;
    Game(const Game&) = delete;
    Game& operator=(const Game&) = delete;

    Runtime& rt;
    GameState state;

    virtual Brindle& brindle() = 0;
    virtual HiLo& hilo() = 0;

    // Loads the message screen with `message` and shows it in front of the table.
    virtual void showMessageScreen(const std::string& message) = 0;
    // Loads and shows the high-score form (entry or show mode, by the shared state).
    virtual void showHighScores() = 0;
    // Loads the start menu if needed and shows it.
    virtual void showMenu() = 0;
    virtual void unloadMenu() = 0;
    // Load and show the table, the picture show and the about box.
    virtual void openTable() = 0;
    virtual void openPictureShow() = 0;
    virtual void openAbout() = 0;

    // Tells the player that the high-score file could not be written; the file is replaced in one
    // step, so the previous table is still there.
    void reportScoresNotSaved(const std::string& reason);
    // Joins the first `count` message lines with a carriage return alone.
    std::string joinedMessage(int count) const;
};

}  // namespace bm
