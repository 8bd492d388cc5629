#include "forms/about.h"

#include "platform/errors.h"
#include "platform/files.h"
#include "platform/registry.h"
#include "platform/runtime.h"
#include "storage/custdata.h"
#include "table/game.h"

namespace bm {

namespace {
constexpr int kWidth = 440;
constexpr int kHeight = 300;
constexpr uint32_t kBack = 0xEFE6D2;  // parchment
constexpr uint32_t kInk = 0x2B2118;
constexpr uint32_t kFelt = 0x1F6B3C;  // the title, in the table's green

// Where the system's information tool is registered on a system with a registry.
constexpr const char* kInfoPathKey = "SOFTWARE\\Microsoft\\Shared Tools\\MSINFO";
constexpr const char* kInfoPathValue = "PATH";
constexpr const char* kInfoFolderKey = "SOFTWARE\\Microsoft\\Shared Tools Location";
constexpr const char* kInfoFolderValue = "MSINFO";
constexpr const char* kInfoProgram = "MSINFO32.EXE";

void styleLabel(Label& l, int left, int top, int width, int height, const std::string& caption,
                const FontSpec& font, uint32_t color = kInk) {
    l.move(left, top, width, height);
    l.setCaption(caption);
    l.setFont(font);
    l.setForeColor(color);
    l.setTransparent(true);
}
}  // namespace

About::About(Game& game) : Form(game.rt, "About"), game_(game) {
    cmdOK.onClick = [this] { cmdOK_Click(); };
    cmdSysInfo.onClick = [this] { cmdSysInfo_Click(); };
}

void About::design() {
    setCaption("About");
    setBorder(Border::Fixed);
    setSize(kWidth, kHeight);
    setBackColor(kBack);

    picIcon.move(16, 18, 86, 60);
    picIcon.setPicture(runtime().programFolder() + "/castle.bmp");
    picIcon.setStretch(true);
    picIcon.setAccessibleName("Castle");

    styleLabel(lblTitle, 116, 12, 308, 32, "Title", {18, true, false, true}, kFelt);
    lblTitle.setAccessibleName("Title");
    styleLabel(lblVersion, 116, 46, 308, 20, "Version", {9, false, false, false});
    lblVersion.setAccessibleName("Version");
    styleLabel(lblDescription, 116, 68, 308, 50,
               "Take cards in runs from the moor, build its five castles against the clock and "
               "risk your score at HiLo.",
               {9, false, false, false});

    styleLabel(Label1, 16, 132, 100, 20, "Licensed to:", {9, false, false, false});
    styleLabel(LbName, 120, 132, 304, 20, "", {9, true, false, false});
    LbName.setAccessibleName("Owner");
    styleLabel(Label2, 16, 154, 100, 20, "Company:", {9, false, false, false});
    styleLabel(LbCompany, 120, 154, 304, 20, "", {9, true, false, false});
    LbCompany.setAccessibleName("Company");

    // An engraved rule between the owner's data and the small print.
    SSPanel1.move(16, 188, kWidth - 32, 4);
    SSPanel1.setCaption("");
    SSPanel1.setBackColor(kBack);

    styleLabel(lblDisclaimer, 16, 204, 280, 84,
               "Brindlemoor is a game for fun. The points scored in it have no value outside "
               "the game, and the pictures and sounds were all made for it.",
               {8, false, true, false});

    cmdOK.move(316, 206, 108, 30);
    cmdOK.setCaption("OK");
    cmdOK.setFont({9, true, false, false});
    cmdSysInfo.move(316, 246, 108, 30);
    cmdSysInfo.setCaption("&System Info...");
    cmdSysInfo.setAccessibleName("System Info");
    cmdSysInfo.setFont({9, false, false, false});
}

void About::Form_Load() {
    const std::string title = Runtime::kTitle;
    setCaption("About " + title);
    lblVersion.setCaption("Version " + std::to_string(BM_VERSION_MAJOR) + "." +
                          std::to_string(BM_VERSION_MINOR) + "." +
                          std::to_string(BM_VERSION_PATCH) + "  (Windows 95/98)");
    lblTitle.setCaption(title);
    centerOnScreen();
}

void About::Form_Activate() {
    const std::string path = runtime().programFolder() + "/" + storage::kCustDataFile;
    storage::CustData data;
    int error = 0;
    if (!fileExists(path)) {
        error = err::kFileNotFound;
    } else {
        const std::string bytes = readFileBytes(path, storage::kCustDataMaxBytes);
        // A file that has bytes but gave none could not be read at all.
        if (bytes.empty() && fileLen(path) > 0) {
            error = err::kPathFileAccess;
        } else {
            data = storage::parseCustData(bytes);
            error = data.error;
        }
    }
    // The box says what went wrong; the form then shows what could be read.
    if (error != 0) runtime().msgBox(errorDescription(error), mb::kOk);
    LbName.setCaption(data.name);
    LbCompany.setCaption(data.company);
}

void About::cmdOK_Click() {
    unload();
}

void About::cmdSysInfo_Click() {
    StartSysInfo();
}

void About::StartSysInfo() {
    Ui& ui = runtime().ui();
    std::string path;
    // A value of a type without a text form leaves the path empty: nothing to start then.
    if (GetKeyValue(reg::kLocalMachine, kInfoPathKey, kInfoPathValue, path)) {
        if (!path.empty() && ui.startProgram(path)) return;
    } else if (GetKeyValue(reg::kLocalMachine, kInfoFolderKey, kInfoFolderValue, path) &&
               fileExists(path + "/" + kInfoProgram)) {
        if (ui.startProgram(path + "/" + kInfoProgram)) return;
    }
    runtime().msgBox("System Information Is Unavailable At This Time", mb::kOk);
}

bool About::GetKeyValue(uint32_t keyRoot, const std::string& keyName, const std::string& subKeyRef,
                        std::string& value) {
    const RegistryValue read = runtime().ui().readRegistry(keyRoot, keyName, subKeyRef);
    if (read.status != RegistryValue::kOk || read.data.size() > kRegistryBufferSize) {
        value.clear();
        return false;
    }
    if (auto text = registryValueText(read.type, read.data)) value = *text;
    return true;
}

void About::Form_Unload() {
    game_.showMenu();
    game_.state.score.ScreenReady = 2;
    game_.state.menu.intMenuReturn = 2;
}

void About::Form_KeyDown(int& keyCode, int shift) {
    swallowMenuKeys(keyCode, shift);
    // Escape leaves the box as its OK button does.
    if (keyCode == key::kEscape) {
        keyCode = 0;
        cmdOK_Click();
    }
}

}  // namespace bm
