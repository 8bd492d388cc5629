#pragma once
// A drawing surface that keeps what was drawn on it, as a list of card drawings in logical pixels.
// Views replay the list at any scale, so cards stay crisp.
#include <cstdint>
#include <string>
#include <vector>

namespace bm {

class Form;
class Control;

struct CardDraw {
    int x = 0;
    int y = 0;
    int code = 0;
    int mode = 0;         // 0 face, 1 back, 8 erase
    uint32_t colour = 0;  // 0xRRGGBB: the back's background, or the erase colour
};

constexpr int kCardWidth = 71;
constexpr int kCardHeight = 96;

class Surface {
  public:
    Surface(Form& form, Control* owner) : form_(form), owner_(owner) {}
    void drawCard(int x, int y, int code, int mode, uint32_t colour);
    void cls();
    void refresh();
    const std::vector<CardDraw>& draws() const { return draws_; }
    Form& form() { return form_; }
    Control* owner() { return owner_; }  // nullptr: the form's own surface
    // One line per drawing, e.g. "face 17 at 110,210", "back 54 at 5,90", "erase at 52,0".
    std::string describe() const;

  private:
    Form& form_;
    Control* owner_;
    std::vector<CardDraw> draws_;
};

}  // namespace bm
