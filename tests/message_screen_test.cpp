// The message screen between rounds and the shared random-picture routine.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <set>

#include "forms/random_picture.h"
#include "forms/tarnhisc.h"
#include "forms/tarnmess.h"
#include "platform/errors.h"
#include "table/brindle.h"
#include "tests/harness.h"

namespace fs = std::filesystem;

namespace bm::test {
namespace {

const char* const kMissingDirectoryText =
    "A directory, required for Brindlemoor to work,\r"
    "is missing or corrupt. Reinstall Brindlemoor\r"
    "from the installation diskettes or CD-ROM!";

std::string missingFileText(const std::string& name) {
    return "A required picture file " + name +
           "\rcould not be found or is corrupt. Although\r"
           "you can continue to play, we recommend to\r"
           "reinstall Brindlemoor from the installation\r"
           "diskettes or CD-ROM.";
}

// Empties the images folder; the table's picture list is not read again.
void clearImages(TestGame& g) {
    for (const auto& entry : fs::directory_iterator(g.path("images"))) fs::remove(entry.path());
}

// Leaves exactly one picture in the images folder and lists it on the table.
void onlyPicture(TestGame& g, const std::string& name, int width, int height) {
    clearImages(g);
    writeBmp(g.path("images/" + name), width, height);
    g.table().File1.setPath(g.path("images"));
}

// Opens a message screen the way the table does between rounds.
void showScreen(TestGame& g, const std::string& text) {
    g.rt->dispatch([&] { g.table().subShowAttScreen(text); });
}

TEST(MessageScreen, OpeningScreenSaysGetReadyAndClosesItselfAfterFiveSeconds) {
    TestGame g;
    Tarnmess& screen = g.game->tarnmess();
    Brindle& table = g.table();
    double t0 = g.ui.now();
    bool checkedOpen = false, checkedClosed = false;
    g.ui.at(t0 + 5.1, [&] {
        checkedOpen = true;
        EXPECT_TRUE(screen.visible());
        EXPECT_EQ(screen.LbMessage.caption(), "Get ready...");
        EXPECT_EQ(g.rt->activeForm(), &screen);
        EXPECT_FALSE(table.enabled());
        EXPECT_FALSE(table.acceptsInput());
        EXPECT_EQ(g.state().score.ScreenReady, 0);
        EXPECT_TRUE(screen.Image1.visible());
        EXPECT_EQ(screen.Image1.picture().rfind(g.path("images/"), 0), 0u);
        // Centred on the 1024 x 768 screen, a pixel right of the middle.
        EXPECT_EQ(screen.left(), (1024 - screen.width()) / 2 + 1);
        EXPECT_EQ(screen.top(), (768 - screen.height()) / 2);
        EXPECT_EQ(screen.border(), Border::None);
        EXPECT_EQ(screen.caption(), "");
        EXPECT_EQ(screen.owner(), &table);
        EXPECT_EQ(screen.fireKeyDown(key::kF10, 0), 0);
        EXPECT_EQ(screen.fireKeyDown('X', shift::kAlt), 0);
        EXPECT_EQ(screen.fireKeyDown('X', 0), 'X');
    });
    g.ui.at(t0 + 5.3, [&] {
        checkedClosed = true;
        EXPECT_FALSE(screen.loaded());
        EXPECT_EQ(g.state().score.ScreenReady, 1);
    });
    g.start();
    EXPECT_TRUE(checkedOpen);
    EXPECT_TRUE(checkedClosed);
    EXPECT_FALSE(screen.loaded());
    EXPECT_TRUE(table.enabled());
    EXPECT_EQ(g.rt->activeForm(), &table);
    EXPECT_EQ(g.state().cards.intStackEnabled, 1);
    EXPECT_TRUE(g.ui.messages.empty());
    EXPECT_FALSE(g.rt->ended());
}

TEST(MessageScreen, ClosingHandsTheTableBackWithItsCastles) {
    TestGame g;
    g.start();
    Brindle& table = g.table();
    for (Panel& p : table.PanCastle) p.setVisible(false);
    g.state().cards.intStackEnabled = 0;
    g.state().score.RoundState = 2;
    double opened = g.ui.now();
    showScreen(g, "Get ready for Bonus Round");
    EXPECT_GE(g.ui.now() - opened, 5.184);
    EXPECT_LT(g.ui.now() - opened, 5.2);
    EXPECT_EQ(g.game->tarnmess().LbMessage.caption(), "Get ready for Bonus Round");
    EXPECT_FALSE(g.game->tarnmess().loaded());
    EXPECT_EQ(g.state().cards.intStackEnabled, 1);
    EXPECT_EQ(g.state().score.ScreenReady, 1);
    EXPECT_TRUE(table.enabled());
    for (Panel& p : table.PanCastle) EXPECT_TRUE(p.visible()) << p.name();
}

struct Fit {
    int width, height;  // the picture file
    double left, area;  // the area it is fitted into
    double W, H;        // the size shown
    bool stretch;
};

TEST(MessageScreen, PicturesAreFittedByTheWidthOfTheArea) {
    const Fit cases[] = {
        {500, 250, 8, 377, 500, 188.5, true},        // wider: height reduced, own width kept
        {200, 400, 8, 377, 200, 400, true},          // taller: stretched to its own size
        {300, 200, 8, 377, 300, 200, false},         // fits as it is
        {400, 800, 8, 377, 377, 754, true},          // wider and far taller: width from the height
        {300, 200, 130, 217, 300, 217 / 1.5, true},  // the high-score form's area
    };
    TestGame g;
    g.start();
    Image& image = g.game->tarnmess().Image1;
    for (const Fit& c : cases) {
        SCOPED_TRACE(std::to_string(c.width) + "x" + std::to_string(c.height));
        onlyPicture(g, "only.bmp", c.width, c.height);
        ShowRandomPicture(*g.game, image, c.left, c.area);
        const PictureFitState& fit = g.state().fit;
        EXPECT_EQ(fit.lastFile, "only.bmp");
        EXPECT_EQ(fit.BoxW, c.area);
        EXPECT_EQ(fit.BoxW2, c.area);
        EXPECT_EQ(fit.BoxL, c.left);
        EXPECT_DOUBLE_EQ(fit.ratio, double(c.width) / c.height);
        EXPECT_DOUBLE_EQ(fit.W, c.W);
        EXPECT_DOUBLE_EQ(fit.H, c.H);
        EXPECT_EQ(image.stretch(), c.stretch);
        EXPECT_EQ(image.picture(), g.path("images/only.bmp"));
        EXPECT_TRUE(image.visible());
        EXPECT_EQ(image.left(), std::lround(c.area / 2 + c.left - c.W / 2));
        EXPECT_EQ(image.width(), std::lround(c.W));
        EXPECT_EQ(image.height(), std::lround(c.H));
    }
    // The 500 x 250 picture on the control: left 8 + 188.5 - 250 and height 188.5, rounded.
    onlyPicture(g, "wide.bmp", 500, 250);
    ShowRandomPicture(*g.game, image, 8, 377);
    EXPECT_EQ(image.left(), -54);
    EXPECT_EQ(image.width(), 500);
    EXPECT_EQ(image.height(), 189);
}

TEST(MessageScreen, EveryListedPictureCanBeDrawn) {
    TestGame g;
    g.start();
    Image& image = g.game->tarnmess().Image1;
    std::set<std::string> seen;
    for (int k = 0; k < 40; ++k) {
        g.ui.advance(0.37);
        ShowRandomPicture(*g.game, image, 8, 377);
        seen.insert(g.state().fit.lastFile);
        EXPECT_TRUE(fs::exists(image.picture())) << image.picture();
    }
    EXPECT_GE(seen.size(), 3u);
}

TEST(MessageScreen, CorruptPictureIsReportedAndTheScreenGoesOnWithoutIt) {
    TestGame g({.assets = true, .pictures = 0});
    // Every picture is garbage, so whichever is drawn cannot be shown.
    for (int k = 0; k < 5; ++k)
        g.writeFile("images/bad" + std::to_string(k) + ".bmp", "not a picture");
    g.ui.answers = {mb::kAnswerOk};
    Tarnmess& screen = g.game->tarnmess();
    bool checked = false;
    g.ui.at(g.ui.now() + 1, [&] {
        checked = true;
        EXPECT_TRUE(screen.visible());
        EXPECT_FALSE(screen.Image1.visible());
        EXPECT_EQ(screen.Image1.picture(), "");
    });
    g.start();
    EXPECT_TRUE(checked);
    const std::string name = g.state().fit.lastFile;
    ASSERT_EQ(name.rfind("bad", 0), 0u);
    ASSERT_EQ(g.ui.messages.size(), 1u);
    EXPECT_EQ(g.ui.messages[0].text, missingFileText(name));
    EXPECT_EQ(g.ui.messages[0].title, "Missing File ( " + name + " )");
    EXPECT_EQ(g.ui.messages[0].flags, mb::kInformation);
    EXPECT_FALSE(g.rt->ended());
    EXPECT_FALSE(screen.loaded());
    EXPECT_TRUE(g.table().enabled());
    EXPECT_EQ(g.state().score.ScreenReady, 1);
}

TEST(MessageScreen, ListedPictureThatIsGoneEndsTheProgram) {
    TestGame g;
    g.start();
    ASSERT_GT(g.table().File1.listCount(), 0);
    clearImages(g);
    g.ui.answers = {mb::kAnswerOk};
    showScreen(g, "Get ready for Round 2");
    ASSERT_EQ(g.ui.messages.size(), 1u);
    EXPECT_EQ(g.ui.messages[0].text, kMissingDirectoryText);
    EXPECT_EQ(g.ui.messages[0].title, "Missing Directory");
    EXPECT_EQ(g.ui.messages[0].flags, mb::kInformation);
    EXPECT_TRUE(g.rt->ended());
    EXPECT_TRUE(g.ui.ended);
    EXPECT_EQ(g.rt->fatalError(), 0);
}

TEST(MessageScreen, MissingImagesFolderEndsTheProgramAtTheFirstScreen) {
    // The table's list stays empty when the folder is missing, so the first screen finds no
    // entry to draw.
    TestGame g;
    fs::remove_all(g.path("images"));
    g.ui.answers = {mb::kAnswerOk};
    g.start();
    ASSERT_FALSE(g.ui.messages.empty());
    EXPECT_EQ(g.ui.messages.back().text, kMissingDirectoryText);
    EXPECT_EQ(g.ui.messages.back().title, "Missing Directory");
    EXPECT_TRUE(g.rt->ended());
}

TEST(MessageScreen, PictureErrorsAreHandledByNumber) {
    TestGame g;
    g.start();
    g.state().fit.lastFile = "pic3.gif";
    g.ui.answers.assign(2, mb::kAnswerOk);
    EXPECT_TRUE(handlePictureError(*g.game, RuntimeError(err::kInvalidPicture)));
    ASSERT_EQ(g.ui.messages.size(), 1u);
    EXPECT_EQ(g.ui.messages[0].title, "Missing File ( pic3.gif )");

    EXPECT_FALSE(handlePictureError(*g.game, RuntimeError(err::kPathNotFound)));
    EXPECT_EQ(g.ui.messages.size(), 1u);
    EXPECT_FALSE(g.rt->ended());

    g.rt->dispatch([&] { handlePictureError(*g.game, RuntimeError(err::kFileNotFound)); });
    ASSERT_EQ(g.ui.messages.size(), 2u);
    EXPECT_EQ(g.ui.messages[1].title, "Missing Directory");
    EXPECT_TRUE(g.rt->ended());
}

}  // namespace
}  // namespace bm::test
