// The high/low side game: a low card (Two to Seven) and a high card (Eight to King) flicker in
// turn; the player doubles, then calls high or low while they flicker. A right call adds half the
// score, a wrong one halves it. Left alone, the form closes after 3.5 seconds and the score stays.
#include "table/hilo.h"

#include "platform/runtime.h"
#include "platform/vb.h"
#include "table/brindle.h"
#include "table/game.h"

namespace bm {

namespace {
constexpr uint32_t kFelt = Brindle::kFelt;
constexpr uint32_t kGold = 0xF2D16B;
constexpr uint32_t kCream = 0xFFF6DC;

// Where the flickering card is drawn on the form's own surface.
constexpr int kCardX = 28;
constexpr int kCardY = 15;
// Card codes from 28 (the first Eight) upwards count as high.
constexpr int kFirstHighCard = 28;

constexpr int kSoundFlags = snd::kAsync | snd::kNoDefault;
}  // namespace

HiLo::HiLo(Game& game)
    : Form(game.rt, "HiLo"), HiLoCard(game.state.cards.intCardOffset), game_(game) {
    CmdDouble.onClick = [this] { CmdDouble_Click(); };
    CmdHigh.onClick = [this] { CmdHigh_Click(); };
    CmdLow.onClick = [this] { CmdLow_Click(); };
    Timer1.onTimer = [this] { Timer1_Timer(); };
    Timer2.onTimer = [this] { Timer2_Timer(); };
}

std::vector<AccessibleItem> HiLo::accessibleItems() const {
    AccessibleItem card;
    card.left = kCardX;
    card.top = kCardY;
    card.width = kCardWidth;
    card.height = kCardHeight;
    card.name = "Face-down card";
    const auto& draws = surface().draws();
    if (!draws.empty() && draws.back().mode == 0)
        card.name = "Card: " + Brindle::cardName(draws.back().code);
    return {card};
}

void HiLo::design() {
    setCaption("     High/Low Card");
    setBorder(Border::Fixed);
    setOwner(&game_.brindle());
    setSize(300, 150);
    setBackColor(kFelt);

    // The card space takes the left part of the form: 71 by 96 pixels at (28, 15).
    LbGamble.move(114, 10, 176, 60);
    LbGamble.setCaption(
        "Press Double, then call High or Low as the cards flicker. Right: score up by half. "
        "Wrong: score halved.");
    LbGamble.setTransparent(true);
    LbGamble.setForeColor(kCream);
    LbGamble.setFont({9, true, false, false});
    LbGamble.setAlignment(Align::Center);
    LbGamble.setAccessibleName("How to play the high/low card");

    CmdDouble.move(114, 74, 176, 28);
    CmdDouble.setCaption("Double");
    CmdDouble.setFont({10, true, false, false});
    CmdDouble.setAccessibleName("Double or halve the score");
    CmdDouble.setEnabled(true);
    CmdHigh.move(114, 108, 84, 28);
    CmdHigh.setCaption("High");
    CmdHigh.setFont({10, true, false, false});
    CmdHigh.setAccessibleName("Call high: Eight to King");
    CmdHigh.setEnabled(true);
    CmdLow.move(206, 108, 84, 28);
    CmdLow.setCaption("Low");
    CmdLow.setFont({10, true, false, false});
    CmdLow.setAccessibleName("Call low: Two to Seven");
    CmdLow.setEnabled(true);

    Gauge1.move(kCardX, 122, kCardWidth, 12);
    Gauge1.setRange(0, 100);
    Gauge1.setValue(100);
    Gauge1.setForeColor(kGold);
    Gauge1.setBackColor(0x174F2D);
    Gauge1.setAccessibleName("Time left to double");

    // The card space shows a face-down card until the first flicker.
    surface().drawCard(kCardX, kCardY, 54, 1, Brindle::kLightCyan);

    Timer1.setInterval(700);
    Timer1.setEnabled(false);
    Timer2.setInterval(190);
    Timer2.setEnabled(false);
}

void HiLo::Form_Load() {
    auto& rt = runtime();
    ++loadSerial_;
    centerOnScreen();
    game_.state.hilo.HiLoDecided = 0;
    rt.randomize();
    intLowCard = static_cast<int16_t>(vbInt(rt.rnd() * 22 + 4));
    intHighCard = static_cast<int16_t>(vbInt(rt.rnd() * 23 + 28));
    intSide = rt.rnd() > 0.5 ? 1 : 0;
}

void HiLo::Form_Activate() {
    runtime().playSound(game_.state.cards.strAppPath + "hilostart.wav", kSoundFlags);
    Timer1.setEnabled(true);
}

void HiLo::Form_Unload() {
    auto& s = game_.state.score;
    game_.state.hilo.HiLoDone = 1;
    s.CastleBonus = 0;
    s.CastleCount = 0;
    game_.brindle().Pictakescore.setFocus();
}

void HiLo::Form_KeyDown(int& keyCode, int shift) {
    swallowMenuKeys(keyCode, shift);
}

void HiLo::Timer1_Timer() {
    Gauge1.setValue(i16(Gauge1.value() - 20));
    if (Gauge1.value() <= 0) {
        Timer1.setEnabled(false);
        game_.state.hilo.HiLoDecided = 1;
        unload();
    }
}

void HiLo::CmdHigh_Click() {
    game_.state.hilo.HiLoDecided = 1;
    intCall = 1;
}

void HiLo::CmdLow_Click() {
    game_.state.hilo.HiLoDecided = 1;
    intCall = 0;
}

void HiLo::Timer2_Timer() {
    auto& rt = runtime();
    int cardWidth = 0, cardHeight = 0;
    if (!rt.ui().initCards(cardWidth, cardHeight)) {
        rt.msgBox("Error");
        if (!loaded()) return;  // closed while the message was up
    }
    // The low card climbs from Two to Seven and the high card falls from King to Eight, each
    // starting over at its end; the two take turns.
    if (intSide == 1) {
        intSide = 0;
        intLowCard = intLowCard < 27 ? i16(intLowCard + 1) : int16_t{4};
        HiLoCard = intLowCard;
    } else {
        intSide = 1;
        intHighCard = intHighCard > 28 ? i16(intHighCard - 1) : int16_t{51};
        HiLoCard = intHighCard;
    }
    surface().drawCard(kCardX, kCardY, HiLoCard, 0, 0);
    refresh();
    if (!CmdHigh.enabled()) {
        CmdHigh.setEnabled(true);
        CmdLow.setEnabled(true);
        focusACall();
    }
}

void HiLo::focusACall() {
    // The focus leaves the disabled Double button for High, so that a player at the keyboard can
    // call at once; a call button the player already chose keeps it.
    const Control* at = focusedControl();
    if (CmdHigh.enabled() && at != &CmdHigh && at != &CmdLow) CmdHigh.setFocus();
}

void HiLo::CmdDouble_Click() {
    const int serial = loadSerial_;
    auto& rt = runtime();
    auto& s = game_.state.score;
    const int16_t& decided = game_.state.hilo.HiLoDecided;

    Timer1.setEnabled(false);
    CmdDouble.setEnabled(false);
    if (s.TitleShifted == 1) {
        // The call only counts once the first card has been shown.
        CmdHigh.setEnabled(false);
        CmdLow.setEnabled(false);
    }
    focusACall();
    Timer2.setEnabled(true);
    // The calls arrive as events while this waits. The form may also be closed meanwhile (say by
    // its window's close box): then this offer is over and nothing is settled.
    auto gone = [this, serial] { return !loaded() || loadSerial_ != serial; };
    rt.waitFor([&] { return decided != 0 || gone(); });
    if (gone()) return;
    Timer2.setEnabled(false);

    const bool callHigh = intCall == 1;
    const bool cardHigh = HiLoCard >= kFirstHighCard;
    const std::string& app = game_.state.cards.strAppPath;
    if ((callHigh && cardHigh) || (intCall == 0 && !cardHigh)) {
        rt.playSound(app + "hilowin.wav", kSoundFlags);
        s.Score = i32(static_cast<long long>(vbInt(s.Score * 1.5)));
    } else {
        rt.playSound(app + "hiloloose.wav", kSoundFlags);
        s.Score = i32(static_cast<long long>(vbInt(s.Score / 2.0)));
    }
    game_.brindle().LbScore.setCaption(formatNumber(s.Score, "##,##0"));
    unload();
}

}  // namespace bm
