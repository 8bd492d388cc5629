// The start menu on the headless user interface: the display check, the name file, the password
// dialogue, the erasing of the high scores, the focus on each return, and the keys.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>
#include <string>
#include <vector>

#include "forms/tarnmenu.h"
#include "platform/controls.h"
#include "platform/files.h"
#include "table/brindle.h"
#include "tests/harness.h"

namespace bm {
namespace {

using test::TestGame;

std::string padded(const std::string& text, size_t length) {
    std::string s = text;
    s.resize(length, ' ');
    return s;
}

const std::string kWennaHelp =
    "Click on the 'Start Game' button to start Brindlemoor. If you would like to erase the high "
    "scores or change your password, click on the 'Password' button. To watch Wenna's pictures "
    "click on the 'Wenna' button.";

class MenuTest : public ::testing::Test {
  protected:
    TestGame t;
    Tarnmenu& menu() { return t.game->tarnmenu(); }
    MenuState& m() { return t.state().menu; }
    void click(CommandButton& b) {
        b.fireClick();
        t.ui.advance(0.01);
    }
    // A program folder as an installation leaves it: the name file and a high-score file.
    void install(const std::string& scores = std::string(240, ' ')) {
        t.writeFile("name.log", padded("Wenna@'s Picture Show", 40));
        t.writeFile("Scores.log", scores);
    }
    std::vector<std::string> titles() const {
        std::vector<std::string> out;
        for (const auto& msg : t.ui.messages) out.push_back(msg.title);
        return out;
    }
    // Scripts one pass through the dialogue that asks to change the password: the current entry,
    // No to enabling the erase button, Yes to changing, then the new entry.
    void scriptChange(const std::string& current, const std::string& next) {
        t.ui.inputs.insert(t.ui.inputs.end(), {current, next});
        t.ui.answers.insert(t.ui.answers.end(), {mb::kAnswerNo, mb::kAnswerYes});
    }
};

TEST_F(MenuTest, BelowEightBitsOnlyTheScreenSettingMessageShowsAndTheProgramEnds) {
    install();
    t.ui.bits = 4;
    t.ui.answers = {mb::kAnswerOk};
    t.launch();
    ASSERT_EQ(t.ui.messages.size(), 1u);
    EXPECT_EQ(t.ui.messages[0].title, "Screen Setting");
    EXPECT_EQ(t.ui.messages[0].flags, mb::kInformation);
    EXPECT_EQ(t.ui.messages[0].text,
              "Brindlemoor cannot run in 16 color mode.\rChange your screen setting to at "
              "least\r256 colors. If your graphic card does not\rsupport at least 256 colors, you "
              "need to\rupgrade to a better graphic card.");
    EXPECT_TRUE(t.rt->ended());
    EXPECT_TRUE(t.ui.ended);
    EXPECT_EQ(t.rt->exitCode(), Runtime::kExitFailure);  // the program gave up
    // Nothing after the check ran: the name was never read.
    EXPECT_EQ(m().strFirstName, "");
}

TEST_F(MenuTest, TheScreenLabelAndHighColourFollowTheDepthAndEightBitsGiveNoAdvice) {
    struct Case {
        int bits;
        const char* label;
        bool high;
    };
    for (const Case& c : {Case{8, "Screen Setting: 8 bit color (256 colors)", false},
                          Case{16, "Screen Setting: 16 bit color", true},
                          Case{24, "Screen Setting: 24 bit color", true},
                          Case{32, "Screen Setting: 32 bit color", true}}) {
        TestGame g;
        g.ui.bits = c.bits;
        g.launch();
        Tarnmenu& menu = g.game->tarnmenu();
        EXPECT_TRUE(g.ui.messages.empty()) << c.bits;  // the advice box is never reached
        EXPECT_TRUE(menu.visible()) << c.bits;
        EXPECT_EQ(menu.LbScreen.caption(), c.label);
        EXPECT_EQ(menu.bolHighColor, c.high) << c.bits;
        EXPECT_EQ(g.state().menu.intMenuReturn, 2);
        EXPECT_EQ(menu.caption(), "Brindlemoor Start Menu");
        // Centred on the screen.
        EXPECT_EQ(menu.left(), (g.ui.screen.width - menu.width()) / 2);
        EXPECT_EQ(menu.top(), (g.ui.screen.height - menu.height()) / 2);
    }
}

TEST_F(MenuTest, TheNameFileNamesTheButtonTheHelpTextAndThePictureShow) {
    install();
    t.launch();
    EXPECT_EQ(m().strFirstName, "Wenna");
    EXPECT_EQ(m().strShowTitle, "Wenna's Picture Show");
    EXPECT_EQ(menu().CmdFirstName.caption(), "Wenna");
    EXPECT_EQ(menu().LbContents.caption(), kWennaHelp);
    EXPECT_TRUE(menu().CmdPassword.enabled());
    EXPECT_FALSE(menu().CmdHighScore.enabled());
    EXPECT_EQ(t.ui.focused, &menu().CmdStart);
    // Blanks around the suffix are trimmed; the first name is taken as it stands before the "@".
    TestGame g;
    g.writeFile("Scores.log", std::string(240, ' '));
    g.writeFile("name.log", padded("  Jo Ann@   's Pictures", 40) + "ignored beyond the record");
    g.launch();
    EXPECT_EQ(g.state().menu.strFirstName, "Jo Ann");
    EXPECT_EQ(g.state().menu.strShowTitle, "Jo Ann's Pictures");
}

TEST_F(MenuTest, ANameFileWithoutAtOrMissingLeavesTheNameButtonAndTheMenuStillOpens) {
    t.writeFile("Scores.log", std::string(240, ' '));
    t.writeFile("name.log", padded("Wenna's Picture Show", 40));
    t.launch();
    EXPECT_TRUE(menu().visible());
    EXPECT_EQ(menu().CmdFirstName.caption(), "Name");
    EXPECT_EQ(menu().LbContents.caption(), "");
    EXPECT_EQ(m().strFirstName, "");

    TestGame g;
    g.writeFile("Scores.log", std::string(240, ' '));
    g.launch();
    EXPECT_TRUE(g.game->tarnmenu().visible());
    EXPECT_EQ(g.game->tarnmenu().CmdFirstName.caption(), "Name");
    EXPECT_EQ(g.game->tarnmenu().LbContents.caption(), "");
    // The menu only reads the name file.
    EXPECT_FALSE(fileExists(g.path("name.log")));
}

TEST_F(MenuTest, TheHighScoreFileDecidesTheButtonsAndAStoredPasswordEnablesItsButtonAgain) {
    // An empty high-score file: both buttons disabled, the name is read.
    install("");
    t.launch();
    EXPECT_FALSE(menu().CmdPassword.enabled());
    EXPECT_FALSE(menu().CmdHighScore.enabled());
    EXPECT_EQ(menu().CmdFirstName.caption(), "Wenna");

    // With a password stored, the menu's activation enables its button again.
    TestGame g;
    g.writeFile("name.log", padded("Wenna@'s Picture Show", 40));
    g.writeFile("Scores.log", "");
    g.writeFile("Inf.log", std::string(18, '\0') + "secret    " + std::string(20, '\0'));
    g.launch();
    EXPECT_TRUE(g.game->tarnmenu().CmdPassword.enabled());
    EXPECT_FALSE(g.game->tarnmenu().CmdHighScore.enabled());
    EXPECT_EQ(g.state().menu.strPassword, "secret");

    // No high-score file at all: the load's error handler stops before the name; the password
    // button stays enabled.
    TestGame n;
    n.writeFile("name.log", padded("Wenna@'s Picture Show", 40));
    n.launch();
    EXPECT_TRUE(n.game->tarnmenu().visible());
    EXPECT_TRUE(n.game->tarnmenu().CmdPassword.enabled());
    EXPECT_EQ(n.game->tarnmenu().CmdFirstName.caption(), "Name");
    // The activation opened the password file, which creates it empty: no password.
    EXPECT_EQ(n.readFile("Inf.log"), "");
    EXPECT_EQ(n.state().menu.strPassword, "");
}

TEST_F(MenuTest, WithoutAPasswordAnEmptyEntryEnablesTheEraseButton) {
    install();
    t.launch();
    t.ui.inputs = {""};
    t.ui.answers = {mb::kAnswerYes};
    click(menu().CmdPassword);
    ASSERT_EQ(t.ui.inputPrompts.size(), 1u);
    EXPECT_EQ(t.ui.inputPrompts[0].prompt, "Enter your password");
    EXPECT_EQ(t.ui.inputPrompts[0].title, "Password Entry");
    EXPECT_EQ(t.ui.inputPrompts[0].left, 2050);
    EXPECT_EQ(t.ui.inputPrompts[0].top, 2400);
    ASSERT_EQ(t.ui.messages.size(), 1u);
    EXPECT_EQ(t.ui.messages[0].title, "Castle Themes");
    EXPECT_EQ(t.ui.messages[0].text, "Would you like to enable\rthe 'Erase High Scores' button?");
    EXPECT_EQ(t.ui.messages[0].flags, mb::kYesNo);
    EXPECT_TRUE(menu().CmdHighScore.enabled());
    EXPECT_EQ(t.ui.focused, &menu().CmdHighScore);
    EXPECT_EQ(menu().strEntry, "6");
}

TEST_F(MenuTest, AWrongPasswordMayBeRetriedAsOftenAsWantedOrGivenUp) {
    install();
    t.writeFile("Inf.log", std::string(18, '\0') + "Secret    " + std::string(20, '\0'));
    t.launch();
    // Wrong twice (case and a trailing blank count), then right.
    t.ui.inputs = {"secret", "Secret ", "Secret"};
    t.ui.answers = {mb::kAnswerYes, mb::kAnswerYes, mb::kAnswerYes};
    click(menu().CmdPassword);
    EXPECT_EQ(titles(),
              (std::vector<std::string>{"Wrong Password", "Wrong Password", "Castle Themes"}));
    EXPECT_EQ(t.ui.messages[0].text, "You entered a wrong password.\rWould you like to try again?");
    EXPECT_EQ(t.ui.messages[0].flags, mb::kYesNo);
    EXPECT_TRUE(menu().CmdHighScore.enabled());

    // Wrong, and No: the dialogue ends with the focus on "Start Game".
    TestGame g;
    g.writeFile("Scores.log", std::string(240, ' '));
    g.writeFile("Inf.log", std::string(18, '\0') + "Secret    " + std::string(20, '\0'));
    g.launch();
    g.ui.inputs = {""};
    g.ui.answers = {mb::kAnswerNo};
    g.game->tarnmenu().CmdPassword.fireClick();
    g.ui.advance(0.01);
    EXPECT_FALSE(g.game->tarnmenu().CmdHighScore.enabled());
    EXPECT_EQ(g.ui.focused, &g.game->tarnmenu().CmdStart);
    EXPECT_EQ(g.game->tarnmenu().strEntry, "7");
}

TEST_F(MenuTest, ANewPasswordIsCheckedInOrderAndOnlyTheSavedOneOpensTheNextDialogue) {
    install();
    t.launch();
    scriptChange("", " lead");  // a leading blank
    t.ui.answers.push_back(mb::kAnswerOk);
    scriptChange("", "trail ");  // a trailing blank
    t.ui.answers.push_back(mb::kAnswerOk);
    scriptChange("", "");             // empty or cancelled: straight back, no message
    scriptChange("", "01234567890");  // 11 characters
    t.ui.answers.push_back(mb::kAnswerOk);
    scriptChange("", "0123 56789");  // 10 characters with a blank inside
    click(menu().CmdPassword);
    EXPECT_TRUE(t.ui.inputs.empty());
    EXPECT_TRUE(t.ui.answers.empty());

    std::vector<std::string> texts;
    for (const auto& msg : t.ui.messages)
        if (msg.flags == 0) {
            texts.push_back(msg.text);
            EXPECT_EQ(msg.title, "Brindlemoor");
        }
    EXPECT_EQ(texts, (std::vector<std::string>{"Leading or trailing spaces are not allowed",
                                               "Leading or trailing spaces are not allowed",
                                               "Password cannot have more then 10 characters!"}));
    EXPECT_EQ(t.ui.messages[1].title, "Change Password");
    EXPECT_EQ(t.ui.messages[1].text, "Would you like to change your password");
    // After every refusal the dialogue starts again at the current password.
    std::vector<std::string> prompts;
    for (const auto& in : t.ui.inputPrompts) {
        prompts.push_back(in.title);
        EXPECT_EQ(in.left, 2050);
        EXPECT_EQ(in.top, 2400);
    }
    EXPECT_EQ(prompts.size(), 10u);
    for (size_t k = 0; k < prompts.size(); ++k)
        EXPECT_EQ(prompts[k], k % 2 ? "New Password Entry" : "Password Entry");
    EXPECT_EQ(t.ui.inputPrompts[1].prompt, "Enter your new password (max. 10 characters)");

    EXPECT_EQ(m().strPassword, "0123 56789");
    EXPECT_EQ(t.ui.focused, &menu().CmdStart);
    EXPECT_FALSE(menu().CmdHighScore.enabled());
    EXPECT_EQ(t.readFile("Inf.log"), std::string(18, '\0') + "0123 56789" + std::string(20, '\0'));
    struct stat st {};
    ASSERT_EQ(::stat(t.path("Inf.log").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600u);

    // A shorter password is blank-padded; the file keeps its owner-only mode when rewritten.
    t.ui.messages.clear();
    scriptChange("0123 56789", "abc");
    click(menu().CmdPassword);
    EXPECT_EQ(t.readFile("Inf.log"), std::string(18, '\0') + "abc       " + std::string(20, '\0'));
    ASSERT_EQ(::stat(t.path("Inf.log").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600u);

    // The next dialogue refuses the empty entry and the old password and accepts the new one.
    t.ui.messages.clear();
    t.ui.inputs = {"", "0123 56789", "abc"};
    t.ui.answers = {mb::kAnswerYes, mb::kAnswerYes, mb::kAnswerYes};
    click(menu().CmdPassword);
    EXPECT_EQ(titles(),
              (std::vector<std::string>{"Wrong Password", "Wrong Password", "Castle Themes"}));
    EXPECT_TRUE(menu().CmdHighScore.enabled());

    // It lasts across runs: a new program reads it back.
    TestGame next;
    next.writeFile("Scores.log", std::string(240, ' '));
    next.writeFile("Inf.log", t.readFile("Inf.log"));
    next.launch();
    EXPECT_EQ(next.state().menu.strPassword, "abc");
}

TEST_F(MenuTest, ErasingDeletesTheScoresAndDisablesBothButtonsAlsoWithoutAFile) {
    install();
    t.launch();
    t.ui.inputs = {""};
    t.ui.answers = {mb::kAnswerYes};
    click(menu().CmdPassword);
    ASSERT_TRUE(menu().CmdHighScore.enabled());
    click(menu().CmdHighScore);
    EXPECT_FALSE(fileExists(t.path("Scores.log")));
    EXPECT_FALSE(menu().CmdHighScore.enabled());
    EXPECT_FALSE(menu().CmdPassword.enabled());
    EXPECT_FALSE(t.rt->ended());

    // The file went away meanwhile: error 53 is cleared and the buttons are disabled all the same.
    TestGame g;
    g.writeFile("Scores.log", std::string(240, ' '));
    g.launch();
    g.ui.inputs = {""};
    g.ui.answers = {mb::kAnswerYes};
    g.game->tarnmenu().CmdPassword.fireClick();
    g.ui.advance(0.01);
    std::remove(g.path("Scores.log").c_str());
    g.game->tarnmenu().CmdHighScore.fireClick();
    g.ui.advance(0.01);
    EXPECT_FALSE(g.game->tarnmenu().CmdHighScore.enabled());
    EXPECT_FALSE(g.game->tarnmenu().CmdPassword.enabled());
    EXPECT_EQ(g.ui.messages.size(), 1u);  // only the "Castle Themes" question
    EXPECT_FALSE(g.rt->ended());
}

TEST_F(MenuTest, StartingHidesTheMenuAndClosingTheTableBringsItBackOnExitGame) {
    install();
    t.launch();
    EXPECT_EQ(t.ui.focused, &menu().CmdStart);
    m().intCastleTheme = 3;
    click(menu().CmdStart);
    EXPECT_EQ(m().intCastleTheme, 0);
    EXPECT_TRUE(t.table().loaded());
    // The table unloads the menu once it has loaded; the program goes on.
    EXPECT_FALSE(menu().loaded());
    t.ui.advance(6.0);  // "Get ready..."
    EXPECT_TRUE(t.table().visible());
    EXPECT_FALSE(t.rt->ended());

    t.rt->dispatch([&] { t.table().unload(); });
    t.ui.advance(0.01);
    EXPECT_TRUE(menu().visible());
    EXPECT_EQ(m().intMenuReturn, 1);
    EXPECT_EQ(t.ui.focused, &menu().CmdExit);
    // A fresh load: the buttons that the start disabled are back, the name read again.
    for (CommandButton* b : {&menu().CmdStart, &menu().CmdExit, &menu().CmdHelp,
                             &menu().CmdFirstName, &menu().CmdPassword})
        EXPECT_TRUE(b->enabled()) << b->name();
    EXPECT_EQ(menu().CmdFirstName.caption(), "Wenna");

    // "Exit Game": the menu is the last form, so the program ends.
    click(menu().CmdExit);
    EXPECT_TRUE(t.rt->ended());
    EXPECT_EQ(t.rt->exitCode(), 0);
}

TEST_F(MenuTest, ARightOrLeftButtonReleaseOnStartGameStartsTheGame) {
    install();
    t.launch();
    menu().CmdStart.fireMouseUp(mouse::kMiddle, 0, 5, 5);
    EXPECT_TRUE(menu().visible());
    EXPECT_FALSE(t.table().loaded());
    menu().CmdStart.fireMouseUp(mouse::kRight, 0, 5, 5);
    EXPECT_TRUE(t.table().loaded());
    EXPECT_FALSE(menu().loaded());
    t.ui.advance(6.0);
    EXPECT_TRUE(t.table().visible());
}

TEST_F(MenuTest, HelpOpensAtContextOneAndF10AndAltAreSwallowed) {
    install();
    t.launch();
    click(menu().CmdHelp);
    EXPECT_EQ(menu().fireKeyDown(key::kF1, 0), 0);
    EXPECT_EQ(t.ui.helpOpened, (std::vector<std::string>{"Lumbrook.hlp 1 1", "Lumbrook.hlp 1 1"}));
    EXPECT_EQ(menu().CDialog.HelpFile, t.folder + "/Lumbrook.hlp");
    EXPECT_EQ(menu().fireKeyDown(key::kF10, 0), 0);
    EXPECT_EQ(menu().fireKeyDown('S', shift::kAlt), 0);
    EXPECT_EQ(menu().fireKeyDown('X', shift::kAlt | shift::kShift), 0);
    EXPECT_EQ(menu().fireKeyDown(key::kF1, shift::kAlt), 0);
    EXPECT_EQ(menu().fireKeyDown('S', 0), 'S');
    EXPECT_EQ(t.ui.helpOpened.size(), 2u);
    EXPECT_TRUE(menu().visible());
    EXPECT_FALSE(t.table().loaded());
}

}  // namespace
}  // namespace bm
