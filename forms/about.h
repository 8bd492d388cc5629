#pragma once
// The about box: the program's title and version, the owner's name and company from
// custdata.ini, and a button that starts the system's information tool.
#include <cstdint>
#include <string>

#include "platform/form.h"

namespace bm {

class Game;

class About : public Form {
  public:
    explicit About(Game& game);

    Image picIcon{*this, "picIcon"};
    Label lblTitle{*this, "lblTitle"};
    Label lblVersion{*this, "lblVersion"};
    Label lblDescription{*this, "lblDescription"};
    Label Label1{*this, "Label1"};
    Label LbName{*this, "LbName"};
    Label Label2{*this, "Label2"};
    Label LbCompany{*this, "LbCompany"};
    Panel SSPanel1{*this, "SSPanel1"};
    Label lblDisclaimer{*this, "lblDisclaimer"};
    CommandButton cmdOK{*this, "cmdOK"};
    CommandButton cmdSysInfo{*this, "cmdSysInfo"};

    void Form_Load() override;
    void Form_Activate() override;
    void Form_Unload() override;
    void Form_KeyDown(int& keyCode, int shift) override;
    void cmdOK_Click();
    void cmdSysInfo_Click();

    // Starts the system's information tool, or says that there is none.
    void StartSysInfo();
    // Reads one registry value as text into `value`; false when the key or the value cannot be
    // read (the value is then empty). A value of a type that has no text form leaves `value` as
    // it was and still gives true.
    bool GetKeyValue(uint32_t keyRoot, const std::string& keyName, const std::string& subKeyRef,
                     std::string& value);

  private:
    void design() override;
    Game& game_;
};

}  // namespace bm
