#include "platform/surface.h"

#include <algorithm>

#include "platform/form.h"
#include "platform/runtime.h"

namespace bm {

void Surface::drawCard(int x, int y, int code, int mode, uint32_t colour) {
    // A card covers whatever was drawn before at exactly the same place, so the list only keeps the
    // last drawing there and stays bounded however long the game runs.
    std::erase_if(draws_, [&](const CardDraw& d) { return d.x == x && d.y == y; });
    draws_.push_back({x, y, code, mode, colour});
    refresh();
}

void Surface::cls() {
    draws_.clear();
    refresh();
}

void Surface::refresh() {
    form_.runtime().ui().surfaceChanged(*this);
}

std::string Surface::describe() const {
    std::string out;
    for (const CardDraw& d : draws_) {
        std::string pos = std::to_string(d.x) + "," + std::to_string(d.y);
        if (d.mode == 0)
            out += "face " + std::to_string(d.code) + " at " + pos + "\n";
        else if (d.mode == 1)
            out += "back " + std::to_string(d.code) + " at " + pos + "\n";
        else
            out += "erase at " + pos + "\n";
    }
    return out;
}

}  // namespace bm
