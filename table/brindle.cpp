#include "table/brindle.h"

#include <tuple>

#include "platform/errors.h"
#include "platform/files.h"
#include "platform/runtime.h"
#include "platform/vb.h"
#include "table/game.h"

namespace bm {

namespace {
constexpr uint32_t kGold = 0xF2D16B;
constexpr uint32_t kCream = 0xFFF6DC;
constexpr uint32_t kPanel = 0x174F2D;

void captionLabel(Label& l, int left, int top, int width, const char* text) {
    l.move(left, top, width, 16);
    l.setCaption(text);
    l.setTransparent(true);
    l.setForeColor(kCream);
    l.setFont({8, true, false, false});
}

void valueLabel(Label& l, int left, int top, int width, double size) {
    l.move(left, top, width, static_cast<int>(size * 2.2));
    l.setTransparent(true);
    l.setForeColor(kGold);
    l.setFont({size, true, false, false});
    l.setAlignment(Align::Right);
}
}  // namespace

Brindle::Brindle(Game& game) : Form(game.rt, "Brindle"), game_(game), g_(game.state) {
    PicStack.onMouseDown = [this](int b, int s, double x, double y) {
        PicStack_MouseDown(b, s, x, y);
    };
    Timer1.onTimer = [this] { Timer1_Timer(); };
    TimerHiRun.onTimer = [this] { TimerHiRun_Timer(); };
    TimerError.onTimer = [this] { TimerError_Timer(); };
    TimerNewCard.onTimer = [this] { TimerNewCard_Timer(); };
    TimerNewCastle.onTimer = [this] { TimerNewCastle_Timer(); };
    TimerNewRound.onTimer = [this] { TimerNewRound_Timer(); };
    for (int n = 1; n <= 5; ++n)
        TimerCastle[static_cast<size_t>(n - 1)].onTimer = [this, n] { TimerCastle_Timer(n); };
    cmdtakescore.onClick = [this] { cmdtakescore_Click(); };
    cmdtakescore.onMouseDown = [this](int b, int s, double x, double y) {
        cmdtakescore_MouseDown(b, s, x, y);
    };
    cmdtakescore.onMouseUp = [this](int b, int s, double x, double y) {
        cmdtakescore_MouseUp(b, s, x, y);
    };
    // The picture on the button gives the button its look and forwards its clicks.
    Pictakescore.onMouseDown = [this](int b, int s, double x, double y) {
        cmdtakescore_MouseDown(b, s, x, y);
    };
    Pictakescore.onMouseUp = [this](int b, int s, double x, double y) {
        cmdtakescore_MouseUp(b, s, x, y);
    };
    Pictakescore.onClick = [this] { cmdtakescore_Click(); };
    SSPanel1.onDblClick = [this] { SSPanel1_DblClick(); };
}

void Brindle::design() {
    setCaption("Brindlemoor");
    setSize(kWidth, kHeight);
    setBackColor(kFelt);
    setBorder(Border::Sizable);

    SSPanel1.move(5, 6, 632, 76);
    SSPanel1.setCaption("BRINDLEMOOR");
    SSPanel1.setFont({30, true, false, true});
    SSPanel1.setBackColor(kPanel);
    SSPanel1.setForeColor(kGold);
    SSPanel1.setAlignment(Align::Center);
    SSPanel1.setAccessibleName("Title");

    int x = 648, w = 104;
    LbRound.move(x - 6, 10, w + 10, 24);
    LbRound.setTransparent(true);
    LbRound.setForeColor(kCream);
    LbRound.setFont({11, true, false, true});
    LbRound.setAlignment(Align::Center);
    captionLabel(LbScoreCaption, x, 40, w, "SCORE");
    valueLabel(LbScore, x, 56, w, 14);
    LbScore.setAccessibleName("Score");
    captionLabel(LbRunCaption, x, 92, w, "RUN");
    valueLabel(LbRun, x, 108, w, 12);
    LbRun.setAccessibleName("Run");
    captionLabel(LbSpeedCaption, x, 140, w, "SPEED");
    valueLabel(LbSpeed, x, 156, w, 12);
    LbSpeed.setAccessibleName("Speed");
    Gauge1.move(x + 4, 186, w - 8, 12);
    Gauge1.setRange(0, 24);
    Gauge1.setForeColor(0xE8B93A);
    Gauge1.setAccessibleName("Round clock");
    captionLabel(LbHiRunCaption, x, 212, w, "BEST RUN");
    valueLabel(LbHiRun, x, 228, w, 12);
    LbHiRun.setAccessibleName("Best run");
    captionLabel(LbHiScoreCaption, x, 262, w, "HIGH SCORE");
    valueLabel(LbHiScore, x, 278, w, 12);
    LbHiScore.setAccessibleName("High score");
    LbHiName.move(x, 304, w, 18);
    LbHiName.setTransparent(true);
    LbHiName.setForeColor(kCream);
    LbHiName.setFont({9, true, false, false});
    LbHiName.setAlignment(Align::Right);
    LbHiName.setAccessibleName("High score name");
    // Empty until the first round of the run has ended.
    captionLabel(LbBestCaption, x, 336, w, "");
    LbBestCaption.setAccessibleName("Best possible caption");
    valueLabel(LbBest, x, 352, w, 12);
    LbBest.setCaption("");
    LbBest.setAccessibleName("Best possible score");
    for (auto [shape, colour, name] : {std::tuple{&ShpFocus, 0xFFE23Du, "Keyboard focus"},
                                       std::tuple{&ShpHint, 0x4FC3F7u, "Hint"}}) {
        shape->move(0, 0, kCardWidth, kCardHeight);
        shape->setForeColor(colour);
        shape->setVisible(false);
        shape->setAccessibleName(name);
    }
    intFocusPos = -1;
    intHintPos = -1;

    for (Label* cheer : {&LbExpress1, &LbExpress2}) {
        cheer->setTransparent(true);
        cheer->setForeColor(0xFFE23D);
        cheer->setFont({20, true, true, false});
        cheer->setAlignment(Align::Center);
    }
    LbExpress1.move(400, 436, 230, 40);
    LbExpress1.setAccessibleName("Cheer");
    LbExpress2.move(400, 478, 230, 40);
    LbExpress2.setAccessibleName("Big cheer");

    cmdtakescore.move(648, 432, 104, 96);
    cmdtakescore.setCaption("Take Score");
    cmdtakescore.setFont({10, true, false, false});
    Pictakescore.move(676, 440, 48, 30);
    Pictakescore.setBackColor(0xD8D0B8);
    Pictakescore.setPicture(runtime().programFolder() + "/takescore.bmp");
    Pictakescore.setAccessibleName("Take score picture");

    for (int k = 0; k < 5; ++k) {
        size_t n = static_cast<size_t>(k);
        int left = 8 + 124 * k;
        PanCastle[n].move(left, 318, 121, 84);
        PanCastle[n].setBackColor(0x8FB8D8);
        PanCastle[n].setAccessibleName("Castle " + std::to_string(k + 1));
        ImgCastle[n].move(left, 318, 121, 84);
        ImgCastle[n].setVisible(false);
        ImgCastle[n].setAccessibleName("Castle picture " + std::to_string(k + 1));
        LbCastle[n].move(left, 404, 121, 22);
        LbCastle[n].setTransparent(true);
        LbCastle[n].setForeColor(0xFFE23D);
        LbCastle[n].setFont({12, true, false, false});
        LbCastle[n].setAlignment(Align::Center);
        LbCastle[n].setAccessibleName("Castle bonus " + std::to_string(k + 1));
        TimerCastle[n].setInterval(1500);
    }

    PicStack.move(250, 430, 125, 96);
    PicStack.setBackColor(kFelt);
    PicStack.setAccessibleName("Stack");
    File1.setPattern("*.jpg;*.gif;*.bmp");

    Timer1.setInterval(4000);
    TimerHiRun.setInterval(1000);
    TimerError.setInterval(1);
    TimerNewCard.setInterval(1);
    TimerNewCastle.setInterval(1);
    TimerNewRound.setInterval(1);
}

void Brindle::loadPicture(Control& control, const std::string& file) {
    std::string path = g_.cards.strAppPath + file;
    runtime().ui().pictureSize(path);  // errors 53 and 481 surface here
    control.setPicture(path);
}

void Brindle::Form_Load() {
    auto& c = g_.cards;
    auto& s = g_.score;
    std::string failedFile;
    // Runs one statement under the form's error handler: a missing file is reported and the
    // load goes on with the next statement; any other error ends the load.
    auto step = [&](const std::string& file, const std::function<void()>& statement) {
        try {
            statement();
            return true;
        } catch (const RuntimeError& e) {
            if (e.number() != err::kFileNotFound) return false;
            g_.MessageLines[0] = "A required sound or picture file could not";
            g_.MessageLines[1] = "be found. Although you can continue to play,";
            g_.MessageLines[2] = "we recommend to reinstall Brindlemoor from";
            g_.MessageLines[3] = "the installation diskettes.";
            runtime().msgBox(game_.joinedMessage(4), mb::kInformation,
                             "Missing File ( " + file + " )");
            return true;
        }
    };

    c.intStackEnabled = 1;
    for (int k = 0; k < 52; ++k) c.varCardMap[static_cast<size_t>(k)] = k;
    c.varCardBack = 54;
    c.intPlayEnabled = 0;
    c.strAppPath = runtime().programFolder() + "/";
    if (!step("images", [&] { File1.setPath(c.strAppPath + "images"); })) return;
    if (!step("castle.bmp", [&] {
            for (Panel& p : PanCastle) loadPicture(p, "castle.bmp");
        }))
        return;
    for (const char* file : {"takecard.wav", "wrongcrd.wav", "castle1.wav", "newround.wav",
                             "bonus.wav", "stack.wav", "castle2.bmp"})
        if (!step(file, [&] { fileLen(c.strAppPath + file); })) return;

    s.Score = 2500;
    s.Speed = 1200;
    s.Run = 0;
    s.RoundState = 0;
    s.CastleCount = 0;
    s.CastleBonus = 0;
    s.ShowHighScores = 0;
    s.TitleShifted = 0;
    // A table loaded again after an unload (which leaves 2 here) starts like the first one: with
    // its "Get ready..." screen, and with card play and the take-score button working.
    if (s.ScreenReady == 2) s.ScreenReady = 0;
    g_.high.HighScores = {};
    g_.high.HighNames = {};
    g_.high.HighScoreEntry = 1;
    if (g_.menu.intCastleTheme == 2 || g_.menu.intCastleTheme == 3) {
        const char* file = g_.menu.intCastleTheme == 2 ? "fbutton.gif" : "mbutton.gif";
        if (!step(file, [&] { loadPicture(Pictakescore, file); })) return;
    }
    subReadHiScore();
    subNewCastleImg();

    LbScore.setCaption(formatNumber(s.Score, "##,##"));
    LbSpeed.setCaption(formatNumber(s.Speed, "##,##"));
    LbRun.setCaption(std::to_string(s.Run));
    LbRound.setCaption("Round 1");
    Gauge1.setValue(0);
    Timer1.setEnabled(false);
    subNewCards();
    game_.unloadMenu();
}

void Brindle::Form_Activate() {
    auto& c = g_.cards;
    if (!runtime().ui().initCards(c.lngDrawX, c.lngDrawY)) runtime().msgBox("Error");
    if (g_.score.ScreenReady == 0) {
        g_.score.ScreenReady = 1;
        subShowAttScreen("Get ready...");
    }
}

void Brindle::Form_Unload() {
    runtime().ui().releaseCards();
    g_.menu.intMenuReturn = 1;
    g_.score.ScreenReady = 2;
    game_.showMenu();
}

void Brindle::Form_QueryUnload(int& cancel) {
    // While a round end, a castle fanfare or a message screen is under way, the procedure that
    // waits for it still runs on this table: closing it then would pull the table out from under
    // that procedure.
    if (runtime().waitDepth() > 0) cancel = 1;
}

void Brindle::Form_KeyDown(int& keyCode, int shift) {
    swallowMenuKeys(keyCode, shift);
    if (keyCode != 0 && shift == 0 && subKeyPlay(keyCode)) keyCode = 0;
}

int32_t Brindle::faceCode(int value) const {
    long index = static_cast<long>(g_.cards.intCardOffset) * 4 + value;
    if (index < 0 || index > 51) raise(err::kSubscriptOutOfRange);
    return g_.cards.varCardMap[static_cast<size_t>(index)];
}

void Brindle::showCardsLeft() {
    int left = intStackCount - 25;
    PicStack.setToolTip(std::to_string(left) +
                        (intStackCount == 26 ? " CARD LEFT" : " CARDS LEFT"));
}

void Brindle::subCardPositions() {
    auto& i = g_.cards.i;
    lngCardX.fill(0);
    lngCardY.fill(0);
    for (i = 0; i <= 25; ++i) {
        size_t p = static_cast<size_t>(i);
        if (i <= 4) {
            lngCardX[p] = 140 * i + 5;
            lngCardY[p] = 90;
        } else if (i <= 12) {
            lngCardX[p] = 70 * i - 310;
            lngCardY[p] = 130;
        } else if (i <= 19) {
            lngCardX[p] = 70 * i - 835;
            lngCardY[p] = 170;
        } else {
            lngCardX[p] = 70 * i - 1290;
            lngCardY[p] = 210;
        }
    }
    lngCardX[51] = 52;
    lngCardY[51] = 0;
}

void Brindle::subNewCards() {
    auto& c = g_.cards;
    auto& rt = runtime();
    c.intPlayEnabled = 1;
    intStackCount = 50;
    PicStack.setToolTip(std::to_string(intStackCount - 25) + " CARDS LEFT");

    // Shuffle by drawing random cards and rejecting the ones already dealt.
    c.intDeck.fill(52);
    rt.randomize();
    c.intDealCount = 0;
    while (c.intDealCount < 52) {
        c.intFound = 0;
        c.intRandomCard = static_cast<int16_t>(vbInt(rt.rnd() * 52));
        // The slot being filled still holds 52, so scanning it as well never matches.
        for (int k = 0; k <= c.intDealCount; ++k) {
            if (c.intDeck[static_cast<size_t>(k)] == c.intRandomCard) {
                c.intFound = 1;
                break;
            }
        }
        if (c.intFound == 1) continue;  // a repeat: draw again
        c.intDeck[static_cast<size_t>(c.intDealCount)] = c.intRandomCard;
        c.intDealCount = i16(c.intDealCount + 1);
        c.intFound = 1;
    }
    c.intCardOffset = 0;

    // The castles start unbuilt.
    for (size_t k = 0; k < 5; ++k) {
        try {
            loadPicture(PanCastle[k], "castle.bmp");
        } catch (const RuntimeError&) {
            // The start-up check has reported a missing castle picture already.
        }
        PanCastle[k].setVisible(true);
        ImgCastle[k].setVisible(false);
    }

    uint32_t cyan = kLightCyan;
    Surface& table = surface();
    c.lngDrawY = 90;
    c.lngDrawX = 5;
    for (int p = 0; p <= 4; ++p, c.lngDrawX += 140)
        table.drawCard(c.lngDrawX, c.lngDrawY, c.varCardBack, 1, cyan);
    c.lngDrawY = 130;
    c.lngDrawX = 40;
    for (int p = 5; p <= 12; ++p, c.lngDrawX += 70)
        table.drawCard(c.lngDrawX, c.lngDrawY, c.varCardBack, 1, cyan);
    c.lngDrawY = 170;
    c.lngDrawX = 75;
    for (int p = 13; p <= 19; ++p, c.lngDrawX += 70)
        table.drawCard(c.lngDrawX, c.lngDrawY, c.varCardBack, 1, cyan);
    c.lngDrawY = 210;
    c.lngDrawX = 110;
    for (int p = 20; p <= 25; ++p, c.lngDrawX += 70) {
        c.intCardValue = c.intDeck[static_cast<size_t>(p)];
        table.drawCard(c.lngDrawX, c.lngDrawY, faceCode(c.intCardValue), 0, 0);
    }

    Surface& stack = PicStack.surface();
    for (int x = 2; x <= 50; x += 2) stack.drawCard(x, 0, c.varCardBack, 1, cyan);
    c.intCardValue = c.intDeck[51];
    stack.drawCard(52, 0, faceCode(c.intCardValue), 0, 0);
    intStackCard = c.intCardValue;

    subCardPositions();
    intCardState.fill(1);
    for (size_t p = 0; p <= 19; ++p) intCardState[p] = 0;

    dealSettled();
}

void Brindle::subRedrawCards() {
    Surface& table = surface();
    table.cls();
    for (size_t p = 0; p <= 25; ++p) {
        if (intCardState[p] == 0)
            table.drawCard(lngCardX[p], lngCardY[p], g_.cards.varCardBack, 1, kLightCyan);
        else if (intCardState[p] == 1)
            table.drawCard(lngCardX[p], lngCardY[p], faceCode(g_.cards.intDeck[p]), 0, 0);
    }
    refresh();
    PicStack.surface().refresh();
}

}  // namespace bm
