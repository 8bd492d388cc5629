#pragma once
// The start menu: the first form and the hub of the program. It checks the display, greets the
// player by the name in name.log, opens the table, the picture show, the help and the about box,
// and guards the erasing of the high scores with a password.
#include <string>

#include "platform/form.h"

namespace bm {

class Game;

class Tarnmenu : public Form {
  public:
    explicit Tarnmenu(Game& game);

    CommandButton CmdStart{*this, "CmdStart"};
    CommandButton CmdFirstName{*this, "CmdFirstName"};
    CommandButton CmdPassword{*this, "CmdPassword"};
    CommandButton CmdHighScore{*this, "CmdHighScore"};
    CommandButton CmdHelp{*this, "CmdHelp"};
    CommandButton CmdAbout{*this, "CmdAbout"};
    CommandButton CmdExit{*this, "CmdExit"};
    Label Label1{*this, "Label1"};
    Label LbContents{*this, "LbContents"};
    Label LbScreen{*this, "LbScreen"};
    OptionButton Option1{*this, "Option1"};
    CommonDialog CDialog{*this, "CDialog"};

    // Module-level values of the menu.
    bool bolHighColor = true;
    std::string strEntry;
    int lngRecord = 1;

    void Form_Load() override;
    void Form_Activate() override;
    void Form_KeyDown(int& keyCode, int shift) override;
    void CmdStart_Click();
    void CmdStart_MouseUp(int button, int shift, double x, double y);
    void CmdExit_Click();
    void CmdFirstName_Click();
    void CmdAbout_Click();
    void CmdHelp_Click();
    void CmdPassword_Click();
    void CmdHighScore_Click();

  private:
    void design() override;
    void startAction();
    // Reads the stored password into strPassword; true when the file holds a record.
    bool readPassword();
    Game& game_;
};

}  // namespace bm
