#pragma once
// The high/low side game offered after every round: double the score by half or lose half of it.
#include "platform/form.h"

namespace bm {

class Game;

class HiLo : public Form {
  public:
    explicit HiLo(Game& game);

    CommandButton CmdDouble{*this, "CmdDouble"};
    CommandButton CmdHigh{*this, "CmdHigh"};
    CommandButton CmdLow{*this, "CmdLow"};
    Gauge Gauge1{*this, "Gauge1"};
    Label LbGamble{*this, "LbGamble"};
    Timer Timer1{*this, "Timer1"};
    Timer Timer2{*this, "Timer2"};

    // Form-level variables.
    int16_t intSide = 0;
    int16_t intLowCard = 0;
    int16_t intHighCard = 0;
    int16_t intCall = 0;
    // The card code now showing. It is the table's intCardOffset under another name: the side
    // game leaves its last card there, and the next deal sets it back to 0.
    int16_t& HiLoCard;

    void Form_Load() override;
    void Form_Activate() override;
    void Form_Unload() override;
    void Form_KeyDown(int& keyCode, int shift) override;
    // The flickering card, for assistive technology.
    std::vector<AccessibleItem> accessibleItems() const override;
    void CmdDouble_Click();
    void CmdHigh_Click();
    void CmdLow_Click();
    void Timer1_Timer();
    void Timer2_Timer();

  private:
    void design() override;
    void focusACall();
    Game& game_;
    // Counts the loads, so a handler that waited across an unload knows its form has gone.
    int loadSerial_ = 0;
};

}  // namespace bm
