// The about box: the version, the owner's data from custdata.ini with its error messages, the
// registry values, and the start of the system's information tool.
#include <gtest/gtest.h>

#include <string>

#include "forms/about.h"
#include "forms/tarnmenu.h"
#include "platform/errors.h"
#include "platform/registry.h"
#include "storage/custdata.h"
#include "tests/harness.h"

namespace bm::test {
namespace {

using namespace std::string_literals;

TEST(CustData, ReadsThreeLinesWhateverTheirEnds) {
    auto d = storage::parseCustData("[Owner]\r\nName=Wenna Trelawny\nCompany=Moorside\rlast");
    EXPECT_EQ(d.error, 0);
    EXPECT_EQ(d.linesRead, 3);
    EXPECT_EQ(d.lines[0], "[Owner]");
    EXPECT_EQ(d.name, "Wenna Trelawny");
    EXPECT_EQ(d.company, "Moorside");

    // Values: after the first "=" only, cut to 25 characters; a line without "=" whole.
    EXPECT_EQ(storage::custDataValue("Name=a=b"), "a=b");
    EXPECT_EQ(storage::custDataValue("Company=An extremely long company name"),
              "An extremely long company");
    EXPECT_EQ(storage::custDataValue("Just a name"), "Just a name");
    EXPECT_EQ(storage::custDataValue("="), "");

    // A last line without its end counts; an empty line is a line.
    d = storage::parseCustData("\n\nX=y");
    EXPECT_EQ(d.error, 0);
    EXPECT_EQ(d.name, "");
    EXPECT_EQ(d.company, "y");

    d = storage::parseCustData("one\r\nName=Two\r\n");
    EXPECT_EQ(d.linesRead, 2);
    EXPECT_EQ(d.error, err::kInputPastEndOfFile);
    EXPECT_EQ(d.name, "Two");
    EXPECT_EQ(d.company, "");

    d = storage::parseCustData("");
    EXPECT_EQ(d.linesRead, 0);
    EXPECT_EQ(d.error, err::kInputPastEndOfFile);
}

TEST(RegistryValue, DecodesTextAndNumbersByteForByte) {
    // A 32-bit number: the closing zero byte goes, the rest is read backwards as hex digits.
    EXPECT_EQ(registryValueText(reg::kNumber, "\x02\x01\x00\x00"s), "18");
    EXPECT_EQ(registryValueText(reg::kNumber, "\x00\x01\x00\x00"s), "16");     // digits "010"
    EXPECT_EQ(registryValueText(reg::kNumber, "\x2A\x00\x00\x01"s), "65578");  // "1002A"
    EXPECT_EQ(registryValueText(reg::kNumber, "\xFF\xFF\x00\x00"s), "-1");     // 16-bit "FFFF"
    EXPECT_EQ(registryValueText(reg::kNumber, "\xFF\xFF\xFF\x7F"s), "2147483647");
    EXPECT_EQ(registryValueText(reg::kNumber, "\x00"s), "&h");
    EXPECT_EQ(errorOf([] { registryValueText(reg::kNumber, "\x11\x11\x11\x11\x11"s); }),
              err::kOverflow);

    // Text: the closing zero goes, when there is one.
    EXPECT_EQ(registryValueText(reg::kText, "/usr/bin/info\0"s), "/usr/bin/info");
    EXPECT_EQ(registryValueText(reg::kText, "abc"s), "abc");
    EXPECT_EQ(registryValueText(reg::kText, "\0"s), "");

    // Other types have no text form.
    EXPECT_EQ(registryValueText(3, "\x01\x02\x00"s), std::nullopt);
    EXPECT_EQ(registryValueText(7, "a\0b\0\0"s), std::nullopt);
    EXPECT_EQ(errorOf([] { registryValueText(reg::kText, ""); }), err::kInvalidProcedureCall);
}

class AboutBox : public ::testing::Test {
  protected:
    About& open() {
        if (!g.game->tarnmenu().loaded()) g.launch();
        g.game->tarnmenu().CmdAbout.fireClick();
        g.ui.advance(0.01);
        return g.game->about();
    }
    void close() {
        g.game->about().cmdOK.fireClick();
        g.ui.advance(0.01);
    }
    TestGame g;
};

TEST_F(AboutBox, ShowsVersionOwnerAndCompany) {
    g.writeFile("custdata.ini",
                "[Owner]\r\nName=Wenna Trelawny=Moorside\r\nCompany=An extremely long company "
                "name\r\n");
    About& a = open();
    EXPECT_FALSE(g.game->tarnmenu().visible());
    ASSERT_TRUE(a.visible());
    EXPECT_EQ(a.caption(), "About Brindlemoor");
    EXPECT_EQ(a.lblTitle.caption(), "Brindlemoor");
    EXPECT_EQ(a.lblVersion.caption(), "Version 4.1.1  (Windows 95/98)");
    EXPECT_EQ(a.LbName.caption(), "Wenna Trelawny=Moorside");
    EXPECT_EQ(a.LbCompany.caption(), "An extremely long company");
    EXPECT_TRUE(g.ui.messages.empty());

    // Closing brings the menu back with "Start Game" focused.
    g.state().menu.intMenuReturn = 1;
    close();
    EXPECT_FALSE(a.loaded());
    EXPECT_FALSE(g.rt->ended());
    EXPECT_EQ(g.state().menu.intMenuReturn, 2);
    EXPECT_EQ(g.state().score.ScreenReady, 2);
    EXPECT_TRUE(g.game->tarnmenu().visible());
    EXPECT_EQ(g.ui.focused, &g.game->tarnmenu().CmdStart);

    // The file is read again at the next opening.
    g.writeFile("custdata.ini", "x\nJust Wenna\nCo=\n");
    open();
    EXPECT_EQ(a.LbName.caption(), "Just Wenna");
    EXPECT_EQ(a.LbCompany.caption(), "");
}

TEST_F(AboutBox, MissingOrShortFileIsReportedAndTheBoxStillOpens) {
    g.ui.answers.push_back(mb::kAnswerOk);
    About& a = open();
    ASSERT_EQ(g.ui.messages.size(), 1u);
    EXPECT_EQ(g.ui.messages[0].text, "File not found");
    EXPECT_EQ(g.ui.messages[0].flags, mb::kOk);
    EXPECT_EQ(g.ui.messages[0].title, "Brindlemoor");
    EXPECT_TRUE(a.visible());
    EXPECT_EQ(a.LbName.caption(), "");
    close();

    g.writeFile("custdata.ini", "[Owner]\r\nName=Wenna\r\n");
    g.ui.answers.push_back(mb::kAnswerOk);
    open();
    ASSERT_EQ(g.ui.messages.size(), 2u);
    EXPECT_EQ(g.ui.messages[1].text, "Input past end of file");
    EXPECT_EQ(g.ui.messages[1].flags, mb::kOk);
    EXPECT_EQ(a.LbName.caption(), "Wenna");
    EXPECT_EQ(a.LbCompany.caption(), "");
    EXPECT_TRUE(a.visible());
}

TEST_F(AboutBox, StartsSystemInformationFromItsRegisteredPath) {
    g.writeFile("custdata.ini", "a\nb\nc\n");
    g.ui.registry["SOFTWARE\\Microsoft\\Shared Tools\\MSINFO\\PATH"] = {
        RegistryValue::kOk, reg::kText, "/usr/bin/sysinfo-tool\0"s};
    About& a = open();
    a.cmdSysInfo.fireClick();
    EXPECT_EQ(g.ui.programsStarted, std::vector<std::string>{"/usr/bin/sysinfo-tool"});
    EXPECT_TRUE(g.ui.messages.empty());
}

TEST_F(AboutBox, FallsBackToTheRegisteredFolderThenReportsUnavailable) {
    g.writeFile("custdata.ini", "a\nb\nc\n");
    g.ui.registry["SOFTWARE\\Microsoft\\Shared Tools Location\\MSINFO"] = {
        RegistryValue::kOk, reg::kText, g.folder + "\0"s};
    g.writeFile("MSINFO32.EXE", "");
    About& a = open();
    a.cmdSysInfo.fireClick();
    EXPECT_EQ(g.ui.registryReads,
              (std::vector<std::string>{"SOFTWARE\\Microsoft\\Shared Tools\\MSINFO\\PATH",
                                        "SOFTWARE\\Microsoft\\Shared Tools Location\\MSINFO"}));
    EXPECT_EQ(g.ui.programsStarted, std::vector<std::string>{g.path("MSINFO32.EXE")});

    // Without the program in that folder, or with nothing registered at all.
    std::remove(g.path("MSINFO32.EXE").c_str());
    g.ui.answers.push_back(mb::kAnswerOk);
    a.cmdSysInfo.fireClick();
    g.ui.registry.clear();
    g.ui.answers.push_back(mb::kAnswerOk);
    a.cmdSysInfo.fireClick();
    ASSERT_EQ(g.ui.messages.size(), 2u);
    for (const auto& m : g.ui.messages) {
        EXPECT_EQ(m.text, "System Information Is Unavailable At This Time");
        EXPECT_EQ(m.flags, mb::kOk);
    }
    EXPECT_EQ(g.ui.programsStarted.size(), 1u);
}

TEST_F(AboutBox, ValueWithoutTextFormOrAFailedStartIsUnavailable) {
    g.writeFile("custdata.ini", "a\nb\nc\n");
    // A binary value counts as read but leaves the path empty.
    g.ui.registry["SOFTWARE\\Microsoft\\Shared Tools\\MSINFO\\PATH"] = {RegistryValue::kOk, 3,
                                                                        "\x01\x02"s};
    About& a = open();
    std::string value = "kept";
    EXPECT_TRUE(a.GetKeyValue(reg::kLocalMachine, "SOFTWARE\\Microsoft\\Shared Tools\\MSINFO",
                              "PATH", value));
    EXPECT_EQ(value, "kept");
    EXPECT_FALSE(a.GetKeyValue(reg::kLocalMachine, "SOFTWARE\\Nothing", "PATH", value));
    EXPECT_EQ(value, "");
    // A number value comes back as its decimal text.
    g.ui.registry["SOFTWARE\\Numbers\\Small"] = {RegistryValue::kOk, reg::kNumber,
                                                 "\x02\x01\x00\x00"s};
    EXPECT_TRUE(a.GetKeyValue(reg::kLocalMachine, "SOFTWARE\\Numbers", "Small", value));
    EXPECT_EQ(value, "18");
    // A value longer than the buffer cannot be read.
    g.ui.registry["SOFTWARE\\Numbers\\Long"] = {RegistryValue::kOk, reg::kText,
                                                std::string(1025, 'x')};
    EXPECT_FALSE(a.GetKeyValue(reg::kLocalMachine, "SOFTWARE\\Numbers", "Long", value));

    g.ui.answers.push_back(mb::kAnswerOk);
    a.cmdSysInfo.fireClick();
    EXPECT_TRUE(g.ui.programsStarted.empty());

    g.ui.registry["SOFTWARE\\Microsoft\\Shared Tools\\MSINFO\\PATH"] = {RegistryValue::kOk,
                                                                        reg::kText, "/gone\0"s};
    g.ui.startSucceeds = false;
    g.ui.answers.push_back(mb::kAnswerOk);
    a.cmdSysInfo.fireClick();
    ASSERT_EQ(g.ui.messages.size(), 2u);
    EXPECT_EQ(g.ui.messages[1].text, "System Information Is Unavailable At This Time");
}

TEST_F(AboutBox, KeysForTheWindowMenuAreSwallowed) {
    g.writeFile("custdata.ini", "a\nb\nc\n");
    About& a = open();
    EXPECT_EQ(a.fireKeyDown(key::kF10, 0), 0);
    EXPECT_EQ(a.fireKeyDown('S', shift::kAlt), 0);
    EXPECT_EQ(a.fireKeyDown(key::kEnter, 0), key::kEnter);
    EXPECT_TRUE(a.loaded());
    // Escape closes the box as OK does.
    EXPECT_EQ(a.fireKeyDown(key::kEscape, 0), 0);
    EXPECT_FALSE(a.loaded());
    EXPECT_TRUE(g.game->tarnmenu().visible());
}

}  // namespace
}  // namespace bm::test
