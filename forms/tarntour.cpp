#include "forms/tarntour.h"

#include <cmath>

#include "forms/random_picture.h"
#include "platform/errors.h"
#include "platform/files.h"
#include "platform/runtime.h"
#include "storage/picture_info.h"
#include "table/game.h"

namespace bm {

namespace {
// The picture frame of side 378 has its centre at 65 % of the width and 52 % of the height: the
// text column lies to its left, the title above it and the buttons below it.
constexpr int kWidth = 720;
constexpr int kHeight = 500;
constexpr double kPicMax = 378;
constexpr int kSlideInterval = 8000;
constexpr uint32_t kBack = 0x1B3A4B;       // slate blue, a night sky over the moor
constexpr uint32_t kGold = 0xF2D16B;       // the title, as on the menu
constexpr uint32_t kParchment = 0xF3E3B5;  // the picture's text
constexpr const char* kStartSlide = "Start Slide";
constexpr const char* kStopSlide = "Stop Slide";

int toPixels(double v) {
    return static_cast<int>(std::lround(v));
}
}  // namespace

Tarntour::Tarntour(Game& game) : Form(game.rt, "Tarntour"), game_(game) {
    CmdNext.onClick = [this] { CmdNext_Click(); };
    CmdPrevious.onClick = [this] { CmdPrevious_Click(); };
    CmdSlide.onClick = [this] { CmdSlide_Click(); };
    CmdPrintPic.onClick = [this] { CmdPrintPic_Click(); };
    Cmd_Exit.onClick = [this] { Cmd_Exit_Click(); };
    Timer1.onTimer = [this] { Timer1_Timer(); };
}

void Tarntour::design() {
    setCaption("Wenna's Picture Show");
    setBorder(Border::Fixed);
    setSize(kWidth, kHeight);
    setBackColor(kBack);

    Image2.move(16, 12, 121, 84);
    Image2.setPicture(runtime().programFolder() + "/castle.bmp");
    Image2.setStretch(true);
    Image2.setAccessibleName("Castle");

    Label2.move(152, 22, kWidth - 168, 40);
    Label2.setCaption("Wenna's Picture Show");
    Label2.setFont({18, true, true, true});
    Label2.setAlignment(Align::Center);
    Label2.setForeColor(kGold);
    Label2.setTransparent(true);
    Label2.setAccessibleName("Title");

    Label1.move(16, 112, 244, 330);
    Label1.setCaption("");
    Label1.setFont({10, false, false, false});
    Label1.setForeColor(kParchment);
    Label1.setTransparent(true);
    Label1.setAccessibleName("About the picture");

    // Placed by each step; the frame's place until then.
    Image1.move(toPixels(kWidth * 0.65 - kPicMax / 2), toPixels(kHeight * 0.52 - kPicMax / 2),
                toPixels(kPicMax), toPixels(kPicMax));
    Image1.setPicture("");
    Image1.setStretch(false);
    Image1.setVisible(false);
    Image1.setAccessibleName("Picture");

    // One row of buttons along the bottom edge, below the frame; shown once the form is active.
    const int top = kHeight - 40, height = 30, width = 124, gap = 17;
    int left = 16;
    for (auto [button, caption] : {std::pair{&CmdPrevious, "Previous"},
                                   {&CmdNext, "Next"},
                                   {&CmdSlide, kStartSlide},
                                   {&CmdPrintPic, "Print Picture"},
                                   {&Cmd_Exit, "Exit"}}) {
        button->move(left, top, width, height);
        button->setCaption(caption);
        button->setFont({10, true, false, false});
        button->setVisible(false);
        button->setEnabled(true);
        left += width + gap;
    }

    Timer1.setInterval(kSlideInterval);
    Timer1.setEnabled(false);
    File1.setPattern("*.jpg;*.gif;*.bmp");
    intPicCount = 0;
    intPicIndex = 0;
}

void Tarntour::Form_Load() {
    const std::string& title = game_.state.menu.strShowTitle;
    setCaption(title);
    Label2.setCaption(title);
    Label2.setAccessibleName(title.empty() ? "Title" : title);
    centerOnScreen();
    show();
    dblPicMax = kPicMax;
    try {
        File1.setPath(runtime().programFolder() + "/images");
        intPicCount = static_cast<int16_t>(File1.listCount());
    } catch (const RuntimeError& e) {
        if (e.number() == err::kPathNotFound) showMissingDirectoryAndEnd(game_);
        throw;
    }
}

void Tarntour::Form_Activate() {
    CmdNext_Click();
    for (CommandButton* b : {&CmdPrevious, &CmdNext, &CmdSlide, &Cmd_Exit, &CmdPrintPic})
        b->setVisible(true);
}

void Tarntour::CmdNext_Click() {
    step(1);
}

void Tarntour::CmdPrevious_Click() {
    step(-1);
}

void Tarntour::step(int direction) {
    intPicCount = static_cast<int16_t>(File1.listCount());
    if (direction > 0) {
        if (intPicIndex < intPicCount - 1)
            ++intPicIndex;
        else
            intPicIndex = 0;
    } else {
        if (intPicIndex > 0)
            --intPicIndex;
        else
            intPicIndex = static_cast<int16_t>(intPicCount - 1);
    }
    if (intPicCount == 0) {
        // Nothing to show: the frame stays empty and says why.
        intPicIndex = 0;
        Image1.setPicture("");
        Image1.setVisible(false);
        Label1.setCaption(kNoPictures);
        Label1.setVisible(true);
        return;
    }
    const std::string entry = File1.list(intPicIndex);
    try {
        showPicture(entry);
    } catch (const RuntimeError& e) {
        // A picture that cannot be shown (corrupt, or gone since the list was read) is reported
        // and the show goes on without it.
        if (e.number() != err::kInvalidPicture && e.number() != err::kFileNotFound) throw;
        showMissingPictureMessage(game_, entry);
    }
}

void Tarntour::showPicture(const std::string& entry) {
    const std::string picturePath = File1.path() + "/" + entry;
    subReadPictureInfo(runtime().programFolder() + "/images/" + storage::pictureInfoName(entry));

    Image1.setPicture("");
    Image1.refresh();
    Image1.setVisible(false);
    Image1.setStretch(false);

    const Size size = runtime().ui().pictureSize(picturePath);
    Image1.setPicture(picturePath);
    dblPicWidth = size.width;
    dblPicHeight = size.height;
    dblPicRatio = dblPicWidth / dblPicHeight;

    if (dblPicWidth > dblPicMax) {
        Image1.setStretch(true);
        dblPicWidth = dblPicMax;
        dblPicHeight = dblPicMax / dblPicRatio;
        if (dblPicHeight > dblPicMax) {
            dblPicHeight = dblPicMax;
            dblPicWidth = dblPicHeight * dblPicRatio;
        }
    } else if (dblPicHeight > dblPicMax) {
        Image1.setStretch(true);
        dblPicHeight = dblPicMax;
        dblPicWidth = dblPicHeight * dblPicRatio;
    }

    const double left = width() * 0.65 - dblPicWidth / 2;
    const double top = height() * 0.52 - dblPicHeight / 2;
    Image1.move(toPixels(left), toPixels(top), toPixels(dblPicWidth), toPixels(dblPicHeight));
    Image1.setAccessibleName("Picture " + entry);
    Image1.setVisible(true);
}

void Tarntour::subReadPictureInfo(const std::string& infoPath) {
    try {
        if (fileLen(infoPath) == 0) Label1.setCaption("No information available");
        // The record of an empty file reads as a blank text, which replaces the line above.
        Label1.setCaption(
            storage::pictureInfoText(readFileBytes(infoPath, storage::kPictureInfoLength)));
        Label1.setVisible(true);
    } catch (const RuntimeError& e) {
        if (e.number() == err::kFileNotFound) Label1.setVisible(false);
    }
}

void Tarntour::CmdSlide_Click() {
    if (CmdSlide.caption() == kStartSlide) {
        for (CommandButton* b : {&CmdPrevious, &CmdNext, &CmdPrintPic}) b->setEnabled(false);
        Timer1.setEnabled(true);
        CmdSlide.setCaption(kStopSlide);
    } else {
        stopSlide();
    }
}

void Tarntour::stopSlide() {
    Timer1.setEnabled(false);
    for (CommandButton* b : {&CmdPrevious, &CmdNext, &CmdPrintPic}) b->setEnabled(true);
    CmdSlide.setCaption(kStartSlide);
}

void Tarntour::Timer1_Timer() {
    CmdNext_Click();
}

void Tarntour::CmdPrintPic_Click() {
    if (!Image1.visible() || Image1.picture().empty()) return;
    std::string text;
    if (Label1.visible()) {
        text = Label1.caption();
        text.erase(text.find_last_not_of(' ') + 1);
    }
    // Cancelled or failed: nothing was printed and the show goes on.
    runtime().ui().printPicture({game_.state.menu.strShowTitle, Image1.picture(), text, "Arial"});
}

void Tarntour::Cmd_Exit_Click() {
    unload();
}

void Tarntour::Form_Unload() {
    stopSlide();
    game_.state.menu.intMenuReturn = 2;
    game_.showMenu();
}

void Tarntour::Form_KeyDown(int& keyCode, int shift) {
    swallowMenuKeys(keyCode, shift);
    // Escape leaves the show as its Exit button does, while that button takes clicks.
    if (keyCode == key::kEscape && Cmd_Exit.enabled()) {
        keyCode = 0;
        Cmd_Exit_Click();
    }
}

}  // namespace bm
