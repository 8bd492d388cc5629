#pragma once
// The message screen shown between rounds: one line of text and a random picture, closing itself
// after 5.184 seconds.
#include "platform/form.h"

namespace bm {

class Game;

class Tarnmess : public Form {
  public:
    explicit Tarnmess(Game& game);

    Label LbMessage{*this, "LbMessage"};
    Image Image1{*this, "Image1"};

    void Form_Load() override;
    void Form_Activate() override;
    void Form_Unload() override;
    void Form_QueryUnload(int& cancel) override;
    void Form_KeyDown(int& keyCode, int shift) override;

  private:
    void design() override;
    Game& game_;
};

}  // namespace bm
