// Plays one scripted game in the real windows, for looking at the game as a player does: round 1
// runs until its clock is out, the side game is won, round 2 builds castles and banks the bonus,
// the side game is lost, and a name is typed into the high-score table. Every action is a mouse
// click or key press delivered to the real widgets; screenshots of the whole screen go to the
// folder given (ImageMagick's import, so run it under a display such as Xvfb).
//   bm_play_demo SHOT_FOLDER
#include <QApplication>
#include <QMouseEvent>
#include <QTest>
#include <QTimer>
#include <QWidget>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

#include "forms/tarnhisc.h"
#include "forms/tarnmenu.h"
#include "forms/tarnmess.h"
#include "platform/qt/form_window.h"
#include "platform/qt/qt_ui.h"
#include "platform/runtime.h"
#include "program/program.h"
#include "table/brindle.h"
#include "table/hilo.h"

namespace {

class Demo {
  public:
    Demo(bm::qt::QtUi& ui, bm::Program& game, std::string shots)
        : ui_(ui), game_(game), shots_(std::move(shots)) {}

    void tick() {
        if (busy_ || game_.rt.ended()) return;
        busy_ = true;
        step();
        busy_ = false;
    }

  private:
    void shot(const std::string& name) {
        QCoreApplication::processEvents();
        std::string cmd = "import -window root " + shots_ + "/" + std::to_string(++shotCount_) +
                          "-" + name + ".png";
        std::printf("shot %d %s: score %d, round %d\n", shotCount_, name.c_str(),
                    game_.state.score.Score, game_.state.score.RoundState);
        std::fflush(stdout);
        if (std::system(cmd.c_str()) != 0) std::printf("  (no screenshot)\n");
    }

    // Clicks are delivered from the event loop, not from inside the bot's tick: a click may start a
    // wait of the game (the side game's flicker) that would otherwise hold the tick.
    static void later(std::function<void()> fn) { QTimer::singleShot(0, std::move(fn)); }

    // A press and a release sent straight to the widget, as the window system would deliver them,
    // with nothing else handled in between.
    static void click(QWidget* w, QPoint at) {
        const QPointF local(at), global(w->mapToGlobal(at));
        QMouseEvent press(QEvent::MouseButtonPress, local, global, Qt::LeftButton, Qt::LeftButton,
                          Qt::NoModifier);
        QCoreApplication::sendEvent(w, &press);
        QMouseEvent release(QEvent::MouseButtonRelease, local, global, Qt::LeftButton, Qt::NoButton,
                            Qt::NoModifier);
        QCoreApplication::sendEvent(w, &release);
    }
    static void click(QWidget* w) { click(w, w->rect().center()); }

    void clickTable(double x, double y) {
        bm::qt::FormWindow* w = ui_.window(game_.brindle(), false);
        QPoint at = w->toWindow(static_cast<int>(x), static_cast<int>(y), 1, 1).center();
        QWidget* target = w->childAt(at);
        if (!target) target = w;
        QPoint local = target->mapFrom(w, at);
        later([target, local] { click(target, local); });
    }

    void clickControl(bm::Control& c) {
        bm::qt::FormWindow* w = ui_.window(c.form(), false);
        QWidget* widget = w ? w->widgetOf(c) : nullptr;
        if (widget) later([widget] { click(widget); });
    }

    // A face-up card that plays on the stack card, or -1; the top rows (the castles) first.
    int legalCard() {
        bm::Brindle& b = game_.brindle();
        int s = b.intStackCard / 4;
        for (int p = 0; p <= 25; ++p) {
            if (b.intCardState[static_cast<size_t>(p)] != 1) continue;
            int c = game_.state.cards.intDeck[static_cast<size_t>(p)] / 4;
            if (c == (s + 1) % 13 || c == (s + 12) % 13) return p;
        }
        return -1;
    }

    void playCard(int p) {
        bm::Brindle& b = game_.brindle();
        size_t k = static_cast<size_t>(p);
        clickTable(b.lngCardX[k] + 35, b.lngCardY[k] + (p < 5 ? 8 : 60));
    }

    void sideGame(bool win) {
        bm::HiLo& h = game_.hilo();
        if (h.CmdDouble.enabled()) {
            if (++hiloTicks_ == 2) clickControl(h.CmdDouble);
            return;
        }
        if (++hiloTicks_ < 6) return;
        if (hiloTicks_ == 6) shot("side-game-flicker");
        // Call the side of the card showing when the click lands, or the other one.
        bm::qt::FormWindow* w = ui_.window(h, false);
        later([this, w, &h, win] {
            bool high = game_.state.cards.intCardOffset >= 28;
            click(w->widgetOf(win == high ? h.CmdHigh : h.CmdLow));
        });
        sidesPlayed_++;
    }

    void step() {
        bm::Brindle& table = game_.brindle();
        auto& s = game_.state.score;
        if (game_.tarnmess().visible()) {
            if (lastScreen_ != table.LbRound.caption() + game_.tarnmess().LbMessage.caption()) {
                lastScreen_ = table.LbRound.caption() + game_.tarnmess().LbMessage.caption();
                shot("message-screen");
            }
            return;
        }
        if (tookScore_ && !game_.hilo().visible()) {
            // The end-of-round count-up: watch it.
            if (++countUpShots_ <= 2) shot("count-up");
            return;
        }
        if (game_.hilo().visible()) {
            tookScore_ = false;
            if (sidesSeen_ == 0 || !inSideGame_) {
                inSideGame_ = true;
                hiloTicks_ = 0;
                ++sidesSeen_;
                shot("side-game-offered");
            }
            if (sidesSeen_ == 1) sideGame(true);
            if (sidesSeen_ == 2) sideGame(false);
            return;
        }
        if (inSideGame_) {
            inSideGame_ = false;
            shot("after-side-game");
        }
        bm::Tarnhisc& hisc = game_.tarnhisc();
        if (hisc.visible()) {
            if (!typed_ && hisc.TxbHighScore.visible()) {
                QWidget* box = ui_.window(hisc, false)->widgetOf(hisc.TxbHighScore);
                QTest::keyClicks(box, "wenna");
                typed_ = true;
                shot("high-score-entry");
                later([box] { QTest::keyClick(box, Qt::Key_Return); });
            }
            return;
        }
        if (!table.enabled()) return;
        if (s.RoundState == 1) {
            if (!gameOverShot_) {
                gameOverShot_ = true;
                shot("game-over");
                clickControl(table.cmdtakescore);  // "New Game"
            } else if (++idle_ > 3) {
                shot("new-game");
                QCoreApplication::exit(0);
            }
            return;
        }
        if (s.RoundState == 0) {
            // Round 1: a few cards, then the clock is left to run out.
            if (takes_ < 6) {
                int p = legalCard();
                if (p >= 0) {
                    playCard(p);
                    ++takes_;
                } else {
                    clickControl(table.PicStack);
                    clickTable(0, 0);
                }
                if (takes_ == 6) shot("round1-played");
            } else if (table.Gauge1.value() >= 23 && !clockShot_) {
                clockShot_ = true;
                shot("round1-last-tick");
            }
            return;
        }
        // Round 2 (or the bonus round): play for castles, then take the score.
        int castles = s.CastleCount;
        if (castles != lastCastles_) {
            lastCastles_ = castles;
            if (castles > 0) shot("castle-" + std::to_string(castles));
        }
        int p = legalCard();
        if (p >= 0) {
            playCard(p);
        } else if (castles >= 3 || table.intStackCount < 26) {
            shot("before-take-score");
            tookScore_ = castles >= 3;
            clickControl(table.cmdtakescore);
        } else {
            bm::PictureBox& stack = table.PicStack;
            bm::qt::FormWindow* w = ui_.window(table, false);
            QWidget* box = w->widgetOf(stack);
            QPoint local =
                w->toWindow(stack.left() + 80, stack.top() + 40, 1, 1).center() - box->pos();
            later([box, local] { click(box, local); });
        }
    }

    bm::qt::QtUi& ui_;
    bm::Program& game_;
    std::string shots_;
    bool busy_ = false;
    int shotCount_ = 0;
    int takes_ = 0;
    int hiloTicks_ = 0;
    int sidesSeen_ = 0;
    int sidesPlayed_ = 0;
    bool inSideGame_ = false;
    bool typed_ = false;
    bool gameOverShot_ = false;
    bool clockShot_ = false;
    int countUpShots_ = 0;
    bool tookScore_ = false;
    int idle_ = 0;
    int lastCastles_ = 0;
    std::string lastScreen_;
};

}  // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    std::string shots = argc > 1 ? argv[1] : "/tmp";
    bm::qt::QtUi ui;
    bm::Runtime runtime(ui, BM_PROGRAM_FOLDER);
    bm::Program game(runtime);
    Demo demo(ui, game, shots);
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] { demo.tick(); });
    timer.start(400);
    game.start();
    // The program opens at its menu; the demo starts a game from there.
    QTimer::singleShot(300, [&] { game.tarnmenu().CmdStart.fireClick(); });
    int code = QApplication::exec();
    std::_Exit(code);
}
