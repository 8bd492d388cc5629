#include "forms/tarnmess.h"

#include "forms/random_picture.h"
#include "platform/errors.h"
#include "platform/runtime.h"
#include "table/brindle.h"
#include "table/game.h"

namespace bm {

namespace {
constexpr int kWidth = 393;
constexpr int kHeight = 364;  // the pictures of the images folder are at most 300 high
// The picture area: 8 pixels from the left, 377 wide, below the message.
constexpr int kPictureLeft = 8;
constexpr int kPictureWidth = 377;
constexpr int kPictureTop = 54;
constexpr uint32_t kBack = 0x17502D;       // a darker shade of the table's felt
constexpr uint32_t kParchment = 0xF3E3B5;  // the message text
// 0.00006 of a day.
constexpr double kShowSeconds = 5.184;
}  // namespace

Tarnmess::Tarnmess(Game& game) : Form(game.rt, "Tarnmess"), game_(game) {}

void Tarnmess::design() {
    setCaption("");
    setBorder(Border::None);
    setSize(kWidth, kHeight);
    setBackColor(kBack);
    setOwner(&game_.brindle());

    LbMessage.move(8, 10, kWidth - 16, 36);
    LbMessage.setCaption("");
    LbMessage.setFont({16, true, false, false});
    LbMessage.setAlignment(Align::Center);
    LbMessage.setForeColor(kParchment);
    LbMessage.setBackColor(kBack);
    LbMessage.setTransparent(true);
    LbMessage.setAccessibleName("Message");

    Image1.move(kPictureLeft, kPictureTop, kPictureWidth, kPictureWidth);
    Image1.setPicture("");
    Image1.setStretch(false);
    Image1.setVisible(false);
    Image1.setAccessibleName("Picture");
}

void Tarnmess::Form_Load() {
    // Centred, one pixel (20 twips) right of the middle.
    centerOnScreen(1);
    try {
        ShowRandomPicture(game_, Image1, kPictureLeft, kPictureWidth);
    } catch (const RuntimeError& e) {
        // The picture is the last step of the opening, so going on and stopping are alike here.
        if (!handlePictureError(game_, e)) return;
    }
}

void Tarnmess::Form_Activate() {
    runtime().waitSeconds(kShowSeconds);
    if (loaded()) unload();
}

void Tarnmess::Form_Unload() {
    game_.state.cards.intStackEnabled = 1;
    Brindle& table = game_.brindle();
    table.activate();
    for (Panel& p : table.PanCastle) p.setVisible(true);
    game_.state.score.ScreenReady = 1;
}

void Tarnmess::Form_QueryUnload(int& cancel) {
    // The screen closes itself on time; the table waits for exactly that.
    cancel = 1;
}

void Tarnmess::Form_KeyDown(int& keyCode, int shift) {
    swallowMenuKeys(keyCode, shift);
}

}  // namespace bm
