#include "table/game.h"

#include "platform/runtime.h"

namespace bm {

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
