#include "forms/tarnmenu.h"

#include <tuple>

#include "platform/errors.h"
#include "platform/files.h"
#include "platform/runtime.h"
#include "storage/menu_files.h"
#include "storage/scores_file.h"
#include "table/game.h"

namespace bm {

namespace {
constexpr uint32_t kFelt = 0x1F6B3C;
constexpr uint32_t kGold = 0xF2D16B;
constexpr uint32_t kCream = 0xFFF6DC;
constexpr int kWidth = 480;
constexpr int kHeight = 312;

// Input boxes of the password dialogue stand at this place on the screen, in twips.
constexpr int kInputLeft = 2050;
constexpr int kInputTop = 2400;

void styleButton(CommandButton& b, const std::string& caption, const std::string& accessible) {
    b.setCaption(caption);
    b.setAccessibleName(accessible);
    b.setFont({10, true, false, false});
    b.setVisible(true);
    b.setEnabled(true);
}
}  // namespace

Tarnmenu::Tarnmenu(Game& game) : Form(game.rt, "Tarnmenu"), game_(game) {
    CmdStart.onClick = [this] { CmdStart_Click(); };
    CmdStart.onMouseUp = [this](int b, int s, double x, double y) { CmdStart_MouseUp(b, s, x, y); };
    CmdExit.onClick = [this] { CmdExit_Click(); };
    CmdFirstName.onClick = [this] { CmdFirstName_Click(); };
    CmdAbout.onClick = [this] { CmdAbout_Click(); };
    CmdHelp.onClick = [this] { CmdHelp_Click(); };
    CmdPassword.onClick = [this] { CmdPassword_Click(); };
    CmdHighScore.onClick = [this] { CmdHighScore_Click(); };
}

void Tarnmenu::design() {
    setCaption("Brindlemoor Start Menu");
    setBorder(Border::Fixed);
    setSize(kWidth, kHeight);
    setBackColor(kFelt);

    Label1.move(16, 10, kWidth - 32, 26);
    Label1.setCaption("Take cards in runs, build five castles, beat the clock.");
    Label1.setFont({11, true, true, false});
    Label1.setAlignment(Align::Center);
    Label1.setForeColor(kGold);
    Label1.setTransparent(true);

    // The buttons in one column on the left, in the order a player needs them.
    const int left = 16, width = 176, height = 30, pitch = 37;
    int top = 46;
    for (auto [button, caption, accessible] :
         {std::tuple{&CmdStart, "&Start Game", "Start Game"},
          {&CmdFirstName, "Name", "Name"},
          {&CmdPassword, "&Password", "Password"},
          {&CmdHighScore, "Erase &High Scores", "Erase High Scores"},
          {&CmdHelp, "Help", "Help"},
          {&CmdAbout, "About", "About"},
          {&CmdExit, "&Exit Game", "Exit Game"}}) {
        button->move(left, top, width, height);
        styleButton(*button, caption, accessible);
        top += pitch;
    }
    CmdHighScore.setEnabled(false);

    LbContents.move(212, 48, kWidth - 228, 150);
    LbContents.setCaption("");
    LbContents.setFont({10, false, false, false});
    LbContents.setForeColor(kCream);
    LbContents.setTransparent(true);
    LbContents.setAccessibleName("How to start");

    Option1.move(212, 235, kWidth - 228, 22);
    Option1.setCaption("Option1");
    Option1.setFont({9, false, false, false});
    Option1.setForeColor(kCream);
    Option1.setValue(false);

    LbScreen.move(212, 272, kWidth - 228, 22);
    LbScreen.setCaption("");
    LbScreen.setFont({9, false, false, false});
    LbScreen.setForeColor(kGold);
    LbScreen.setTransparent(true);
    LbScreen.setAccessibleName("Screen setting");

    CDialog.HelpFile.clear();
    CDialog.HelpCommand = 0;
    CDialog.HelpContext = 0;
}

void Tarnmenu::Form_Load() {
    auto& m = game_.state.menu;
    auto& lines = game_.state.MessageLines;
    centerOnScreen();

    if (m.intMenuReturn == 0) m.intMenuReturn = 2;
    const int bits = runtime().ui().bitsPerPixel();
    if (bits < 8) {
        lines[0] = "Brindlemoor cannot run in 16 color mode.";
        lines[1] = "Change your screen setting to at least";
        lines[2] = "256 colors. If your graphic card does not";
        lines[3] = "support at least 256 colors, you need to";
        lines[4] = "upgrade to a better graphic card.";
        runtime().msgBox(game_.joinedMessage(5), mb::kInformation, "Screen Setting");
        runtime().end(Runtime::kExitFailure);
    }
    if (bits == 8) {
        // Step 1 has already set the return marker, so this advice never shows; the order stays.
        if (m.intMenuReturn == 0) {
            lines[0] = "Your display is currently set to";
            lines[1] = "256 colors. If your graphic card";
            lines[2] = "supports any settings higher than";
            lines[3] = "the current one we recommend to";
            lines[4] = "change it. Since Brindlemoor uses";
            lines[5] = "24-bit image files you will enjoy the";
            lines[6] = "highest viewing quality only if your";
            lines[7] = "display is set to 24-bit color.";
            runtime().msgBox(game_.joinedMessage(8), mb::kInformation,
                             "Brindlemoor Screen Setting");
        }
        LbScreen.setCaption("Screen Setting: " + std::to_string(bits) + " bit color (256 colors)");
        bolHighColor = false;
    } else {
        LbScreen.setCaption("Screen Setting: " + std::to_string(bits) + " bit color");
        bolHighColor = true;
    }

    // From here on the form's error handler takes any error: the menu opens with what was set.
    try {
        const std::string folder = runtime().programFolder() + "/";
        if (fileLen(folder + storage::kScoresFile) == 0) {
            CmdHighScore.setEnabled(false);
            CmdPassword.setEnabled(false);
        }
        // The menu only reads the name file: a missing one is not created.
        const std::string namePath = folder + storage::kNameFile;
        if (!fileExists(namePath)) raise(err::kFileNotFound);
        RecordFile nameFile(namePath, storage::kNameRecordLength);
        auto name = storage::parseNameRecord(nameFile.get(lngRecord));
        // A record without "@" asks for a left part of length -1.
        if (!name) raise(err::kInvalidProcedureCall);
        m.strFirstName = name->firstName;
        m.strShowTitle = name->showTitle;
        CmdFirstName.setCaption(m.strFirstName);
        CmdFirstName.setAccessibleName(m.strFirstName);
        LbContents.setCaption(
            "Click on the 'Start Game' button to start"
            " Brindlemoor. If you would like to erase"
            " the high scores or change your password,"
            " click on the 'Password' button. To watch " +
            m.strFirstName + "'s pictures click on the '" + m.strFirstName + "' button.");
    } catch (const RuntimeError&) {
    }
}

bool Tarnmenu::readPassword() {
    const std::string path = runtime().programFolder() + "/" + storage::kPasswordFile;
    // The password file is opened for reading and writing, which creates it when it is missing;
    // it holds a password in plain text, so only its owner may read it.
    RecordFile file(path, storage::kPasswordRecordLength);
    game_.state.menu.strPassword = storage::parsePasswordRecord(file.get(lngRecord));
    return fileLen(path) != 0;
}

void Tarnmenu::Form_Activate() {
    try {
        if (readPassword()) CmdPassword.setEnabled(true);
    } catch (const RuntimeError&) {
    }
    for (CommandButton* b :
         {&CmdAbout, &CmdHelp, &CmdFirstName, &CmdHighScore, &CmdStart, &CmdExit, &CmdPassword})
        b->setVisible(true);
    const int16_t back = game_.state.menu.intMenuReturn;
    if (back == 1)
        CmdExit.setFocus();
    else if (back == 2)
        CmdStart.setFocus();
}

void Tarnmenu::Form_KeyDown(int& keyCode, int shift) {
    // F10 and Alt combinations go first, so Alt+F1 does nothing either.
    swallowMenuKeys(keyCode, shift);
    if (keyCode == key::kF1) {
        keyCode = 0;
        CmdHelp_Click();
    }
}

void Tarnmenu::startAction() {
    for (CommandButton* b : {&CmdHelp, &CmdFirstName, &CmdStart, &CmdExit, &CmdPassword})
        b->setEnabled(false);
    game_.state.menu.intCastleTheme = 0;
    hide();
    game_.openTable();
}

void Tarnmenu::CmdStart_Click() {
    startAction();
}

void Tarnmenu::CmdStart_MouseUp(int button, int, double, double) {
    if (button == mouse::kLeft || button == mouse::kRight) startAction();
}

void Tarnmenu::CmdExit_Click() {
    unload();
}

void Tarnmenu::CmdFirstName_Click() {
    hide();
    game_.openPictureShow();
}

void Tarnmenu::CmdAbout_Click() {
    hide();
    game_.openAbout();
}

void Tarnmenu::CmdHelp_Click() {
    CDialog.HelpFile = runtime().programFolder() + "/Lumbrook.hlp";
    CDialog.HelpCommand = 1;
    CDialog.HelpContext = 1;
    CDialog.ShowHelp();
}

void Tarnmenu::CmdPassword_Click() {
    auto& m = game_.state.menu;
    auto& rt = runtime();
    auto ask = [&](const std::string& prompt, const std::string& title) {
        strEntry = rt.ui().inputBox(prompt, title, kInputLeft, kInputTop);
        rt.doEvents();
        return strEntry;
    };
    auto yesNo = [&](const std::string& text, const std::string& title) {
        strEntry = std::to_string(rt.msgBox(text, mb::kYesNo, title));
        return strEntry == std::to_string(mb::kAnswerYes);
    };
    for (;;) {
        if (ask("Enter your password", "Password Entry") != m.strPassword) {
            if (yesNo("You entered a wrong password.\rWould you like to try again?",
                      "Wrong Password"))
                continue;
            break;
        }
        if (yesNo("Would you like to enable\rthe 'Erase High Scores' button?", "Castle Themes")) {
            CmdHighScore.setEnabled(true);
            CmdHighScore.setFocus();
            return;
        }
        if (!yesNo("Would you like to change your password", "Change Password")) break;
        const std::string entry =
            ask("Enter your new password (max. 10 characters)", "New Password Entry");
        if (!entry.empty() && (entry.front() == ' ' || entry.back() == ' ')) {
            rt.msgBox("Leading or trailing spaces are not allowed");
            continue;
        }
        if (entry.empty()) continue;
        if (entry.size() >= 11) {
            rt.msgBox("Password cannot have more then 10 characters!");
            continue;
        }
        m.strPassword = entry;
        try {
            RecordFile file(rt.programFolder() + "/" + storage::kPasswordFile,
                            storage::kPasswordRecordLength);
            file.put(lngRecord, storage::passwordRecord(entry));
        } catch (const RuntimeError& e) {
            rt.msgBox("The password could not be saved (" + std::string(e.what()) + ").",
                      mb::kInformation);
        }
        break;
    }
    CmdStart.setFocus();
}

void Tarnmenu::CmdHighScore_Click() {
    const int error =
        trapErrors([&] { killFile(runtime().programFolder() + "/" + storage::kScoresFile); });
    // Only a missing file lets the handler go on; any other failure leaves the buttons as they are.
    if (error != 0 && error != err::kFileNotFound) return;
    CmdHighScore.setEnabled(false);
    CmdPassword.setEnabled(false);
}

}  // namespace bm
