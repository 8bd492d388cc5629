#pragma once
// The program: the shared state and every form of the game, and the calls that carry control from
// one form to another ("show the message screen", "open the table", "show the menu"). The forms
// never include each other's headers sideways; they ask the program.
#include <memory>

#include "table/game.h"

namespace bm {

class Tarnmess;
class Tarnhisc;
class Tarnmenu;
class Tarntour;
class About;

class Program : public Game {
  public:
    explicit Program(Runtime& runtime);
    ~Program() override;

    Brindle& brindle() override { return *brindle_; }
    HiLo& hilo() override { return *hilo_; }
    Tarnmess& tarnmess() { return *tarnmess_; }
    Tarnhisc& tarnhisc() { return *tarnhisc_; }
    Tarnmenu& tarnmenu() { return *tarnmenu_; }
    Tarntour& tarntour() { return *tarntour_; }
    About& about() { return *about_; }

    // Opens the first form of the program: the start menu.
    void start();

    void showMessageScreen(const std::string& message) override;
    void showHighScores() override;
    void showMenu() override;
    void unloadMenu() override;
    void openTable() override;
    void openPictureShow() override;
    void openAbout() override;

  private:
    std::unique_ptr<Brindle> brindle_;
    std::unique_ptr<HiLo> hilo_;
    std::unique_ptr<Tarnmess> tarnmess_;
    std::unique_ptr<Tarnhisc> tarnhisc_;
    std::unique_ptr<Tarnmenu> tarnmenu_;
    std::unique_ptr<Tarntour> tarntour_;
    std::unique_ptr<About> about_;
};

}  // namespace bm
