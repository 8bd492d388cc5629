// The start menu and the help in real windows on the offscreen platform: a click on "Start Game"
// opens the table, closing the table brings the menu back with the focus on "Exit Game", and the
// help window shows the first topic, follows links and goes back.
#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBrowser>
#include <QTimer>
#include <functional>
#include <memory>
#include <string>

#include "forms/tarnmenu.h"
#include "platform/qt/form_window.h"
#include "platform/qt/qt_ui.h"
#include "platform/runtime.h"
#include "program/program.h"
#include "table/brindle.h"
#include "tests/harness.h"
#include "tests/qt_support.h"

namespace {

using bm::test::waitUntil;

class QtMenuTest : public bm::test::QtProgramTest {
  protected:
    bm::qt::FormWindow* windowOf(bm::Form& form) { return ui.window(form, false); }
    QPushButton* menuButton(const char* name) {
        bm::qt::FormWindow* w = windowOf(program->tarnmenu());
        return w ? w->findChild<QPushButton*>(QString::fromLatin1(name)) : nullptr;
    }
};

TEST_F(QtMenuTest, StartGameOpensTheTableAndClosingItComesBackOnExitGame) {
    program->start();
    QApplication::processEvents();
    bm::qt::FormWindow* menu = windowOf(program->tarnmenu());
    ASSERT_TRUE(menu);
    EXPECT_TRUE(menu->isVisible());
    EXPECT_EQ(menu->windowTitle(), "Brindlemoor Start Menu");
    QPushButton* start = menuButton("CmdStart");
    ASSERT_TRUE(start);
    EXPECT_EQ(start->accessibleName(), "Start Game");
    EXPECT_TRUE(waitUntil([&] { return start->hasFocus(); }, 5));
    const QSize menuSize = menu->size();

    QTest::mouseClick(start, Qt::LeftButton);
    bm::Brindle& table = program->brindle();
    // The table opens behind "Get ready...", which closes by itself.
    ASSERT_TRUE(
        waitUntil([&] { return table.visible() && program->state.score.ScreenReady == 1; }, 20));
    bm::qt::FormWindow* tableWindow = windowOf(table);
    ASSERT_TRUE(tableWindow);
    EXPECT_TRUE(tableWindow->isVisible());
    EXPECT_FALSE(program->tarnmenu().loaded());
    menu = windowOf(program->tarnmenu());
    EXPECT_TRUE(!menu || !menu->isVisible());
    EXPECT_FALSE(rt->ended());

    // The player makes the table as small as it goes: the menu that comes back keeps its size.
    tableWindow->resize(tableWindow->minimumSize());
    ASSERT_TRUE(waitUntil([&] { return tableWindow->size() == tableWindow->minimumSize(); }, 5));
    tableWindow->close();
    ASSERT_TRUE(waitUntil([&] { return program->tarnmenu().visible(); }, 5));
    menu = windowOf(program->tarnmenu());
    ASSERT_TRUE(menu);
    EXPECT_TRUE(menu->isVisible());
    EXPECT_EQ(menu->size(), menuSize);
    QPushButton* exit = menuButton("CmdExit");
    ASSERT_TRUE(exit);
    EXPECT_TRUE(waitUntil([&] { return exit->hasFocus(); }, 5));
    EXPECT_EQ(menu->focusWidget(), exit);
    EXPECT_FALSE(table.loaded());
    EXPECT_FALSE(rt->ended());
}

TEST_F(QtMenuTest, HelpShowsTheFirstTopicFollowsLinksAndGoesBack) {
    ui.openHelp(BM_HELP_SOURCE, 1, 1);
    QWidget* help = nullptr;
    for (QWidget* w : QApplication::topLevelWidgets())
        if (w->objectName() == "HelpWindow") help = w;
    ASSERT_TRUE(help);
    EXPECT_TRUE(help->isVisible());
    auto* browser = help->findChild<QTextBrowser*>(QStringLiteral("HelpText"));
    ASSERT_TRUE(browser);
    // Shown as HTML although the program opens it under another extension: the contents list
    // holds links.
    EXPECT_EQ(browser->source().fragment(), "context-1");
    EXPECT_TRUE(browser->toHtml().contains(QStringLiteral("href=\"#scoring\"")));
    EXPECT_TRUE(browser->toPlainText().contains(QStringLiteral("How to play")));
    auto* back = help->findChild<QAction*>(QStringLiteral("HelpBack"));
    auto* forward = help->findChild<QAction*>(QStringLiteral("HelpForward"));
    auto* contents = help->findChild<QAction*>(QStringLiteral("HelpContents"));
    ASSERT_TRUE(back && forward && contents);
    EXPECT_FALSE(back->isEnabled());

    // A link inside the document, as a click on it would follow it.
    QUrl link = browser->source();
    link.setFragment(QStringLiteral("castles"));
    browser->setSource(link);
    EXPECT_EQ(browser->source().fragment(), "castles");
    EXPECT_TRUE(back->isEnabled());
    back->trigger();
    EXPECT_EQ(browser->source().fragment(), "context-1");
    EXPECT_TRUE(forward->isEnabled());
    forward->trigger();
    EXPECT_EQ(browser->source().fragment(), "castles");
    contents->trigger();
    EXPECT_EQ(browser->verticalScrollBar()->value(), 0);
    EXPECT_TRUE(browser->source().fragment().isEmpty());
}

TEST_F(QtMenuTest, AMissingHelpFileSaysWhyHelpIsNotAvailable) {
    QString shown;
    QTimer::singleShot(50, [&] {
        for (QWidget* w : QApplication::topLevelWidgets())
            if (auto* box = qobject_cast<QMessageBox*>(w); box && box->isVisible()) {
                shown = box->text();
                box->accept();
            }
    });
    ui.openHelp(folder + "/Lumbrook.hlp", 1, 1);
    EXPECT_TRUE(shown.startsWith(QStringLiteral("Help is not available.")));
    EXPECT_TRUE(shown.contains(QStringLiteral("Lumbrook.hlp was not found")));
}

}  // namespace
