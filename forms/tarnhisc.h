#pragma once
// The high-score form: takes the name for a new high score, or shows the table for a few seconds.
#include <array>

#include "platform/form.h"

namespace bm {

class Game;

class Tarnhisc : public Form {
  public:
    explicit Tarnhisc(Game& game);

    std::array<Label, 5> RowNumber{Label{*this, "Label2"}, Label{*this, "Label5"},
                                   Label{*this, "Label8"}, Label{*this, "Label11"},
                                   Label{*this, "Label14"}};
    std::array<Label, 5> LbHiS{Label{*this, "LbHiS1"}, Label{*this, "LbHiS2"},
                               Label{*this, "LbHiS3"}, Label{*this, "LbHiS4"},
                               Label{*this, "LbHiS5"}};
    std::array<Label, 5> LbHiN{Label{*this, "LbHiN1"}, Label{*this, "LbHiN2"},
                               Label{*this, "LbHiN3"}, Label{*this, "LbHiN4"},
                               Label{*this, "LbHiN5"}};
    Label Label1{*this, "Label1"};
    TextBox TxbHighScore{*this, "TxbHighScore"};
    CommandButton cmdOK{*this, "cmdOK"};
    Image Image1{*this, "Image1"};

    void Form_Load() override;
    void Form_Activate() override;
    void Form_Unload() override;
    void Form_QueryUnload(int& cancel) override;
    void Form_KeyDown(int& keyCode, int shift) override;
    void TxbHighScore_Change();
    void TxbHighScore_KeyPress(int& keyAscii);
    void cmdOK_KeyPress(int& keyAscii);
    void cmdOK_Click();

  private:
    void design() override;
    Game& game_;
};

}  // namespace bm
