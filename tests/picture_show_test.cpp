// The picture show: its order of pictures, the fitting into the frame, the texts, the slide show,
// printing, and the way back to the menu.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "forms/tarnmenu.h"
#include "forms/tarntour.h"
#include "platform/errors.h"
#include "storage/menu_files.h"
#include "tests/harness.h"

namespace bm::test {
namespace {

std::string fileOf(const Control& c) {
    return std::filesystem::path(c.picture()).filename().string();
}

std::string trimmed(std::string s) {
    s.erase(s.find_last_not_of(' ') + 1);
    return s;
}

class PictureShow : public ::testing::Test {
  protected:
    explicit PictureShow(Options options = {}) : g(options) {}

    // Starts at the menu and presses the name button.
    Tarntour& open() {
        // The menu reads the name after looking at the score file.
        g.writeFile("Scores.log", "");
        g.writeFile(storage::kNameFile, storage::nameRecord("Wenna", "'s Picture Show"));
        if (!g.rt->ended() && !g.game->tarnmenu().loaded()) g.launch();
        g.game->tarnmenu().CmdFirstName.fireClick();
        g.ui.advance(0.01);
        return g.game->tarntour();
    }
    void next() {
        g.game->tarntour().CmdNext.fireClick();
        g.ui.advance(0.01);
    }
    void previous() {
        g.game->tarntour().CmdPrevious.fireClick();
        g.ui.advance(0.01);
    }
    std::string shown() { return fileOf(g.game->tarntour().Image1); }

    TestGame g;
};

class ThreePictures : public PictureShow {
  protected:
    ThreePictures() : PictureShow({true, 3}) {}
};

TEST_F(ThreePictures, OpensOnTheSecondPictureAndWrapsBothWays) {
    Tarntour& t = open();
    EXPECT_FALSE(g.game->tarnmenu().visible());
    ASSERT_TRUE(t.visible());
    EXPECT_EQ(t.caption(), "Wenna's Picture Show");
    EXPECT_EQ(t.Label2.caption(), "Wenna's Picture Show");
    EXPECT_EQ(t.dblPicMax, 378);
    for (Control* b : {&t.CmdPrevious, &t.CmdNext, &t.CmdSlide, &t.Cmd_Exit, &t.CmdPrintPic})
        EXPECT_TRUE(b->visible()) << b->name();

    // pic0, pic1, pic2 play a, b, c: the first step on activation shows b.
    EXPECT_EQ(t.intPicIndex, 1);
    EXPECT_EQ(shown(), "pic1.gif");
    EXPECT_EQ(trimmed(t.Label1.caption()), "Picture 1");
    EXPECT_TRUE(t.Label1.visible());
    next();
    EXPECT_EQ(shown(), "pic2.bmp");
    EXPECT_EQ(trimmed(t.Label1.caption()), "Picture 2");
    next();
    EXPECT_EQ(shown(), "pic0.bmp");
    EXPECT_EQ(trimmed(t.Label1.caption()), "Picture 0");
    next();
    EXPECT_EQ(shown(), "pic1.gif");
    previous();
    EXPECT_EQ(shown(), "pic0.bmp");
    previous();
    EXPECT_EQ(shown(), "pic2.bmp");
    EXPECT_EQ(t.intPicIndex, 2);
    EXPECT_EQ(t.intPicCount, 3);
}

TEST_F(ThreePictures, KeysForTheWindowMenuAreSwallowed) {
    Tarntour& t = open();
    EXPECT_EQ(t.fireKeyDown(key::kF10, 0), 0);
    EXPECT_EQ(t.fireKeyDown('X', shift::kAlt), 0);
    EXPECT_EQ(t.fireKeyDown('X', 0), 'X');
}

TEST_F(ThreePictures, ExitReturnsToTheMenuWithStartGameFocused) {
    g.launch();
    g.state().menu.intMenuReturn = 1;  // as if back from the table
    Tarntour& t = open();
    t.Cmd_Exit.fireClick();
    g.ui.advance(0.01);
    EXPECT_FALSE(t.loaded());
    EXPECT_FALSE(g.rt->ended());
    EXPECT_EQ(g.state().menu.intMenuReturn, 2);
    EXPECT_TRUE(g.game->tarnmenu().visible());
    EXPECT_EQ(g.ui.focused, &g.game->tarnmenu().CmdStart);

    // A second visit starts afresh on the second picture.
    open();
    EXPECT_EQ(shown(), "pic1.gif");
}

TEST_F(ThreePictures, SlideShowStepsEveryEightSecondsWithTheStepButtonsOff) {
    Tarntour& t = open();
    t.CmdSlide.fireClick();
    EXPECT_EQ(t.CmdSlide.caption(), "Stop Slide");
    EXPECT_TRUE(t.Timer1.enabled());
    EXPECT_EQ(t.Timer1.interval(), 8000);
    for (Control* b : {&t.CmdPrevious, &t.CmdNext, &t.CmdPrintPic})
        EXPECT_FALSE(b->enabled()) << b->name();
    EXPECT_TRUE(t.Cmd_Exit.enabled());

    // A disabled step button takes no click.
    t.CmdNext.fireClick();
    g.ui.advance(7.9);
    EXPECT_EQ(shown(), "pic1.gif");
    g.ui.advance(0.2);
    EXPECT_EQ(shown(), "pic2.bmp");
    g.ui.advance(8.0);
    EXPECT_EQ(shown(), "pic0.bmp");

    t.CmdSlide.fireClick();
    EXPECT_EQ(t.CmdSlide.caption(), "Start Slide");
    EXPECT_FALSE(t.Timer1.enabled());
    for (Control* b : {&t.CmdPrevious, &t.CmdNext, &t.CmdPrintPic}) EXPECT_TRUE(b->enabled());
    g.ui.advance(30);
    EXPECT_EQ(shown(), "pic0.bmp");

    // Leaving while the show runs stops it.
    t.CmdSlide.fireClick();
    t.Cmd_Exit.fireClick();
    g.ui.advance(0.01);
    EXPECT_FALSE(t.Timer1.enabled());
    EXPECT_EQ(t.CmdSlide.caption(), "Start Slide");
    EXPECT_TRUE(t.CmdNext.enabled());
    g.ui.advance(30);
    EXPECT_TRUE(g.game->tarnmenu().visible());

    // Escape leaves as Exit does, with the show running too.
    Tarntour& again = open();
    again.CmdSlide.fireClick();
    EXPECT_EQ(again.fireKeyDown(key::kEscape, 0), 0);
    g.ui.advance(0.01);
    EXPECT_FALSE(again.loaded());
    EXPECT_FALSE(again.Timer1.enabled());
    EXPECT_TRUE(g.game->tarnmenu().visible());
}

TEST_F(ThreePictures, PrintsTheShownPictureWithTitleAndText) {
    Tarntour& t = open();
    t.CmdPrintPic.fireClick();
    ASSERT_EQ(g.ui.printed.size(), 1u);
    const PrintJob& job = g.ui.printed[0];
    EXPECT_EQ(job.title, "Wenna's Picture Show");
    EXPECT_EQ(job.picture, g.path("images/pic1.gif"));
    EXPECT_EQ(job.text, "Picture 1");
    EXPECT_EQ(job.font, "Arial");

    // A cancelled print changes nothing.
    g.ui.printSucceeds = false;
    t.CmdPrintPic.fireClick();
    EXPECT_EQ(g.ui.printed.size(), 2u);
    EXPECT_EQ(shown(), "pic1.gif");
    EXPECT_TRUE(t.visible());
}

class OnePicture : public PictureShow {
  protected:
    OnePicture() : PictureShow({true, 1}) {}
};

TEST_F(OnePicture, KeepsIndexZero) {
    Tarntour& t = open();
    EXPECT_EQ(t.intPicIndex, 0);
    EXPECT_EQ(shown(), "pic0.bmp");
    next();
    EXPECT_EQ(t.intPicIndex, 0);
    previous();
    EXPECT_EQ(t.intPicIndex, 0);
    EXPECT_EQ(shown(), "pic0.bmp");
}

class OwnPictures : public PictureShow {
  protected:
    OwnPictures() : PictureShow({true, 0}) {}
    void gif(const std::string& name, int w, int h) {
        writeGifHeader(g.path("images/" + name), w, h);
    }
};

TEST_F(OwnPictures, FitsIntoTheSquareAndCentresAtTheFixedPoint) {
    gif("a.gif", 756, 378);
    gif("b.gif", 200, 600);
    gif("c.gif", 300, 200);
    Tarntour& t = open();
    // The centre lies at 65 % and 52 % of the inner size.
    const double cx = t.width() * 0.65, cy = t.height() * 0.52;

    EXPECT_EQ(shown(), "b.gif");
    EXPECT_DOUBLE_EQ(t.dblPicWidth, 126);
    EXPECT_DOUBLE_EQ(t.dblPicHeight, 378);
    EXPECT_TRUE(t.Image1.stretch());
    EXPECT_TRUE(t.Image1.visible());
    EXPECT_EQ(t.Image1.width(), 126);
    EXPECT_EQ(t.Image1.height(), 378);
    EXPECT_NEAR(t.Image1.left(), cx - 63, 0.5);
    EXPECT_NEAR(t.Image1.top(), cy - 189, 0.5);

    next();
    EXPECT_EQ(shown(), "c.gif");
    EXPECT_FALSE(t.Image1.stretch());
    EXPECT_EQ(t.Image1.width(), 300);
    EXPECT_EQ(t.Image1.height(), 200);
    EXPECT_NEAR(t.Image1.left(), cx - 150, 0.5);
    EXPECT_NEAR(t.Image1.top(), cy - 100, 0.5);

    next();
    EXPECT_EQ(shown(), "a.gif");
    EXPECT_DOUBLE_EQ(t.dblPicWidth, 378);
    EXPECT_DOUBLE_EQ(t.dblPicHeight, 189);
    EXPECT_TRUE(t.Image1.stretch());
    EXPECT_EQ(t.Image1.width(), 378);
    EXPECT_EQ(t.Image1.height(), 189);
    EXPECT_NEAR(t.Image1.left(), cx - 189, 0.5);
    EXPECT_NEAR(t.Image1.top(), cy - 94.5, 0.5);
    // The whole frame lies inside the form, clear of the button row.
    EXPECT_GE(t.Image1.left(), 0);
    EXPECT_LE(cy + 189, t.CmdNext.top());
}

TEST_F(OwnPictures, InformationTextsByTheNameUpToItsFirstDot) {
    gif("a.gif", 100, 100);  // no information file
    gif("b.gif", 100, 100);
    g.writeFile("images/b.log", "");
    gif("castle.v2.jpg", 100, 100);
    g.writeFile("images/castle.log", "The castle by the lake");
    g.writeFile("images/castle.v2.log", "not this one");
    Tarntour& t = open();

    EXPECT_EQ(shown(), "b.gif");
    EXPECT_TRUE(t.Label1.visible());
    EXPECT_EQ(trimmed(t.Label1.caption()), "");
    next();
    EXPECT_EQ(shown(), "castle.v2.jpg");
    EXPECT_TRUE(t.Label1.visible());
    EXPECT_EQ(trimmed(t.Label1.caption()), "The castle by the lake");
    next();
    EXPECT_EQ(shown(), "a.gif");
    EXPECT_FALSE(t.Label1.visible());
    EXPECT_TRUE(t.Image1.visible());

    // The text is printed as shown; a picture without one prints none.
    t.CmdPrintPic.fireClick();
    ASSERT_EQ(g.ui.printed.size(), 1u);
    EXPECT_EQ(g.ui.printed[0].text, "");
}

TEST_F(OwnPictures, CorruptPictureIsReportedAndTheShowGoesOn) {
    gif("a.gif", 100, 100);
    g.writeFile("images/b.jpg", "not a picture at all");
    g.writeFile("images/b.log", "Broken");
    gif("c.gif", 120, 90);
    g.ui.answers.push_back(mb::kAnswerOk);
    Tarntour& t = open();
    ASSERT_EQ(g.ui.messages.size(), 1u);
    EXPECT_EQ(g.ui.messages[0].title, "Missing File ( b.jpg )");
    EXPECT_EQ(g.ui.messages[0].flags, mb::kInformation);
    EXPECT_EQ(g.ui.messages[0].text,
              "A required picture file b.jpg\rcould not be found or is corrupt. Although\r"
              "you can continue to play, we recommend to\rreinstall Brindlemoor from the "
              "installation\rdiskettes or CD-ROM.");
    EXPECT_FALSE(t.Image1.visible());
    EXPECT_TRUE(t.CmdNext.visible());
    // Printing without a picture does nothing.
    t.CmdPrintPic.fireClick();
    EXPECT_TRUE(g.ui.printed.empty());
    next();
    EXPECT_EQ(shown(), "c.gif");
    EXPECT_TRUE(t.Image1.visible());
    EXPECT_FALSE(g.rt->ended());
}

TEST_F(OwnPictures, EmptyFolderShowsANoteInsteadOfAPicture) {
    Tarntour& t = open();
    EXPECT_FALSE(g.rt->ended());
    EXPECT_FALSE(t.Image1.visible());
    EXPECT_EQ(t.Label1.caption(), Tarntour::kNoPictures);
    next();
    previous();
    EXPECT_EQ(t.intPicIndex, 0);
    t.CmdPrintPic.fireClick();
    EXPECT_TRUE(g.ui.printed.empty());
    t.Cmd_Exit.fireClick();
    g.ui.advance(0.01);
    EXPECT_TRUE(g.game->tarnmenu().visible());
}

TEST_F(PictureShow, MissingImagesFolderEndsTheProgram) {
    g.launch();
    std::filesystem::remove_all(g.path("images"));
    g.ui.answers.push_back(mb::kAnswerOk);
    open();
    ASSERT_EQ(g.ui.messages.size(), 1u);
    EXPECT_EQ(g.ui.messages[0].title, "Missing Directory");
    EXPECT_EQ(g.ui.messages[0].text,
              "A directory, required for Brindlemoor to work,\ris missing or corrupt. Reinstall "
              "Brindlemoor\rfrom the installation diskettes or CD-ROM!");
    EXPECT_TRUE(g.rt->ended());
    EXPECT_EQ(g.rt->exitCode(), Runtime::kExitFailure);
}

}  // namespace
}  // namespace bm::test
