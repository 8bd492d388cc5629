// What assistive technology finds in the real windows, on the offscreen platform: the table's
// cards as named objects that say whether they play and play when pressed, the score label
// reading its value, and text set through the accessible interface of a text box reaching the
// form's change handler as typing does. (The offscreen platform has no accessibility bus, so the
// change announcements are checked end to end by tools/a11y.)
#include <gtest/gtest.h>

#include <QAccessible>
#include <QApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "forms/tarnmenu.h"
#include "forms/tarnmess.h"
#include "platform/controls.h"
#include "platform/form.h"
#include "platform/qt/form_window.h"
#include "platform/qt/qt_ui.h"
#include "platform/runtime.h"
#include "platform/vb.h"
#include "program/program.h"
#include "table/brindle.h"
#include "tests/harness.h"
#include "tests/qt_support.h"

namespace {

using bm::test::waitUntil;

class QtA11yTest : public bm::test::QtProgramTest {};

// The children of an interface that stand for drawn items rather than widgets.
std::vector<QAccessibleInterface*> itemsOf(QAccessibleInterface* form) {
    std::vector<QAccessibleInterface*> items;
    for (int i = 0; i < form->childCount(); ++i)
        if (QAccessibleInterface* c = form->child(i); c && !c->object()) items.push_back(c);
    return items;
}

TEST_F(QtA11yTest, TheTablesCardsAreNamedSayWhetherTheyPlayAndPlayWhenPressed) {
    program->start();
    bm::qt::FormWindow* menu = ui.window(program->tarnmenu(), false);
    ASSERT_TRUE(menu);
    auto* start = menu->findChild<QPushButton*>(QStringLiteral("CmdStart"));
    ASSERT_TRUE(start);
    QAccessibleInterface* startIface = QAccessible::queryAccessibleInterface(start);
    ASSERT_TRUE(startIface && startIface->actionInterface());
    EXPECT_EQ(startIface->text(QAccessible::Name), "Start Game");
    EXPECT_EQ(startIface->role(), QAccessible::Button);
    // The message between the menu and the table has no caption: it is named by what it says.
    // (It shows while the press is still being handled.)
    bm::Tarnmess& message = program->tarnmess();
    QString messageName, messageText;
    QTimer::singleShot(1000, [&] {
        bm::qt::FormWindow* w = ui.window(message, false);
        if (!w || !w->isVisible() || !w->windowTitle().isEmpty()) return;
        messageName = QAccessible::queryAccessibleInterface(w)->text(QAccessible::Name);
        messageText = QString::fromStdString(message.LbMessage.caption()).simplified();
    });
    startIface->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    ASSERT_TRUE(waitUntil([&] { return !messageText.isEmpty(); }, 20));
    EXPECT_EQ(messageName, messageText);
    bm::Brindle& table = program->brindle();
    ASSERT_TRUE(
        waitUntil([&] { return table.visible() && program->state.score.ScreenReady == 1; }, 20));

    // A known deal: the open card a Five, the bottom row Six, Nine, Four, Jack, Two, King.
    const auto deck = bm::test::TestGame::deckWith(
        {{51, 4}, {20, 5}, {21, 8}, {22, 3}, {23, 10}, {24, 1}, {25, 12}});
    bm::test::layDeck(*program, deck);
    QApplication::processEvents();

    bm::qt::FormWindow* window = ui.window(table, false);
    ASSERT_TRUE(window);
    QAccessibleInterface* form = QAccessible::queryAccessibleInterface(window);
    ASSERT_TRUE(form);
    EXPECT_EQ(form->role(), QAccessible::Window);
    std::vector<QAccessibleInterface*> items = itemsOf(form);
    ASSERT_EQ(items.size(), 27u);
    EXPECT_EQ(items[0]->text(QAccessible::Name), "Face-down card");
    EXPECT_EQ(items[19]->text(QAccessible::Description), "Not playable");
    EXPECT_EQ(items[20]->text(QAccessible::Name), "Six of Clubs");
    EXPECT_EQ(items[20]->text(QAccessible::Description), "Playable");
    EXPECT_EQ(items[21]->text(QAccessible::Description), "Not playable");
    EXPECT_EQ(items[26]->text(QAccessible::Name), "Open card: Five of Clubs, 25 cards left");
    EXPECT_EQ(items[22]->role(), QAccessible::Button);
    EXPECT_EQ(form->indexOfChild(items[22]), form->childCount() - 27 + 22);
    EXPECT_EQ(items[22]->parent(), form);
    // Where a card lies on the screen, and what lies there.
    const QRect four = items[22]->rect();
    EXPECT_EQ(four,
              QRect(window->mapToGlobal(
                        window->toWindow(table.lngCardX[22], table.lngCardY[22], 71, 96).topLeft()),
                    four.size()));
    EXPECT_EQ(form->childAt(four.center().x(), four.center().y() + four.height() / 4), items[22]);
    // A face-down card has nothing to press.
    EXPECT_TRUE(items[3]->actionInterface()->actionNames().isEmpty());
    EXPECT_TRUE(items[3]->state().disabled);

    // The score label reads its value.
    auto* scoreLabel = window->findChild<QLabel*>(QStringLiteral("LbScore"));
    ASSERT_TRUE(scoreLabel);
    QAccessibleInterface* score = QAccessible::queryAccessibleInterface(scoreLabel);
    ASSERT_TRUE(score && score->textInterface());
    EXPECT_EQ(score->text(QAccessible::Name), "Score");
    const QString before = bm::qt::toQString(bm::formatNumber(program->state.score.Score, "##,##"));
    EXPECT_EQ(score->text(QAccessible::Description), before);
    EXPECT_EQ(score->textInterface()->text(0, score->textInterface()->characterCount()), before);

    // The arrow keys move the table's mark: the marked card has the focus for the reader.
    QTest::keyClick(window, Qt::Key_Right);
    EXPECT_EQ(table.intFocusPos, 20);
    EXPECT_EQ(form->focusChild(), items[20]);
    EXPECT_TRUE(items[20]->state().focused);

    // Pressing the Four plays it, as a click would.
    const QStringList actions = items[22]->actionInterface()->actionNames();
    ASSERT_EQ(actions, QStringList{QAccessibleActionInterface::pressAction()});
    items[22]->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    ASSERT_TRUE(waitUntil([&] { return table.intCardState[22] == 2; }, 5));
    const QString after = bm::qt::toQString(bm::formatNumber(program->state.score.Score, "##,##"));
    EXPECT_NE(after, before);
    EXPECT_EQ(score->text(QAccessible::Description), after);
    EXPECT_EQ(items[22]->text(QAccessible::Name), "Empty place");
    EXPECT_TRUE(items[22]->state().invisible);
    EXPECT_TRUE(items[22]->actionInterface()->actionNames().isEmpty());
    // The open card is now the Four, and the Five beside it still plays.
    EXPECT_EQ(items[26]->text(QAccessible::Name), "Open card: Four of Clubs, 25 cards left");

    // Pressing the open card turns the next one from the pile.
    items[26]->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    ASSERT_TRUE(waitUntil([&] { return table.intStackCount == 49; }, 5));
    EXPECT_TRUE(items[26]->text(QAccessible::Name).endsWith(", 24 cards left"));
}

// A form with a name box, counting the change handler's runs.
struct NameForm : bm::Form {
    bm::TextBox name{*this, "TxbName"};
    std::vector<std::string> changes;
    explicit NameForm(bm::Runtime& rt) : Form(rt, "NameForm") {
        name.onChange = [this] { changes.push_back(name.text()); };
    }
    void design() override {
        setCaption("Name");
        setSize(200, 60);
        name.move(10, 10, 150, 24);
        name.setMaxLength(10);
        name.setAccessibleName("Your name");
    }
};

TEST_F(QtA11yTest, TextSetThroughTheAccessibleInterfaceReachesTheChangeHandlerAsTypingDoes) {
    NameForm form(*rt);
    form.load();
    form.show();
    QApplication::processEvents();
    auto* edit = ui.window(form)->findChild<QLineEdit*>(QStringLiteral("TxbName"));
    ASSERT_TRUE(edit);
    QAccessibleInterface* iface = QAccessible::queryAccessibleInterface(edit);
    ASSERT_TRUE(iface && iface->editableTextInterface());
    EXPECT_EQ(iface->text(QAccessible::Name), "Your name");

    iface->editableTextInterface()->insertText(0, QStringLiteral("Ada"));
    EXPECT_EQ(form.name.text(), "Ada");
    EXPECT_EQ(form.changes, std::vector<std::string>{"Ada"});
    // Replaced whole and cut to the box's length, once.
    iface->setText(QAccessible::Value, QStringLiteral("Grace Hopper"));
    EXPECT_EQ(form.name.text(), "Grace Hopp");
    EXPECT_EQ(form.changes.size(), 2u);

    // The game's own text runs the handler once (from the model) and comes back as no edit.
    form.name.setText("Bob");
    QApplication::processEvents();
    EXPECT_EQ(edit->text(), "Bob");
    EXPECT_EQ(form.changes, (std::vector<std::string>{"Ada", "Grace Hopp", "Bob"}));

    edit->setFocus();
    QTest::keyClicks(edit, QStringLiteral("by"));
    EXPECT_EQ(form.name.text(), "Bobby");
    EXPECT_EQ(form.changes.size(), 5u);
    EXPECT_EQ(form.changes.back(), "Bobby");
    // Typing keeps the box's own state: the text is not set afresh after each letter (which
    // assistive technology would also hear as the whole text replaced), so the cursor stays
    // where the letter went in and the typing can be undone.
    edit->setCursorPosition(1);
    QTest::keyClicks(edit, QStringLiteral("x"));
    EXPECT_EQ(form.name.text(), "Bxobby");
    EXPECT_EQ(edit->cursorPosition(), 2);
    EXPECT_TRUE(edit->isUndoAvailable());
    form.unload();
}

}  // namespace
