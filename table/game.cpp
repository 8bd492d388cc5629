#include "table/game.h"

#include "forms/tarnhisc.h"
#include "forms/tarnmess.h"
#include "platform/runtime.h"
#include "table/brindle.h"
#include "table/hilo.h"

namespace bm {

Game::Game(Runtime& runtime)
    : rt(runtime),
      brindle_(std::make_unique<Brindle>(*this)),
      hilo_(std::make_unique<HiLo>(*this)),
      tarnmess_(std::make_unique<Tarnmess>(*this)),
      tarnhisc_(std::make_unique<Tarnhisc>(*this)) {}

Game::~Game() = default;

void Game::start() {
    rt.dispatch([this] { brindle_->show(); });
}

void Game::reportScoresNotSaved(const std::string& reason) {
    rt.msgBox("The high scores could not be saved (" + reason +
                  "). The previous high-score table is kept.",
              mb::kInformation, "High Scores");
}

std::string Game::joinedMessage(int count) const {
    std::string text;
    for (int k = 0; k < count; ++k) {
        if (k > 0) text += '\r';
        text += state.MessageLines[static_cast<size_t>(k)];
    }
    return text;
}

}  // namespace bm
