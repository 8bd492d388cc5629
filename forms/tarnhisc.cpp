#include "forms/tarnhisc.h"

#include <algorithm>
#include <cmath>

#include "forms/random_picture.h"
#include "platform/errors.h"
#include "platform/runtime.h"
#include "platform/vb.h"
#include "storage/scores_file.h"
#include "table/brindle.h"
#include "table/game.h"

namespace bm {

namespace {
constexpr uint32_t kFelt = 0x1F6B3C;
constexpr uint32_t kGold = 0xF2D16B;
constexpr uint32_t kCream = 0xFFF6DC;

// The form is as wide as twice the middle of the picture area, so the picture sits centred, and
// the shifted columns of the show mode are centred over it too.
constexpr int kFormWidth = 476;
constexpr int kEntryHeight = 440;
constexpr int kShowHeight = 380;
constexpr int kRowTop = 14;
constexpr int kRowPitch = 26;
constexpr int kRowHeight = 22;
constexpr int kEntryPictureTop = 212;
constexpr int kShowPictureTop = 152;
constexpr int kPictureLeft = 130;
constexpr int kPictureWidth = 217;
constexpr int kPictureMargin = 12;     // below the picture
constexpr int kMostExtraHeight = 160;  // that a tall picture may add to the form

// Left edges of the row-number, score and name columns.
struct Columns {
    int number, score, name;
};
constexpr Columns kEntryColumns{24, 56, 152};
constexpr Columns kShowColumns{104, 136, 232};

void styleRowLabel(Label& l, uint32_t colour, Align align, const std::string& accessible) {
    l.setTransparent(true);
    l.setForeColor(colour);
    l.setFont({11, true, false, true});
    l.setAlignment(align);
    l.setAccessibleName(accessible);
}
}  // namespace

Tarnhisc::Tarnhisc(Game& game) : Form(game.rt, "Tarnhisc"), game_(game) {
    TxbHighScore.onChange = [this] { TxbHighScore_Change(); };
    TxbHighScore.onKeyPress = [this](int& k) { TxbHighScore_KeyPress(k); };
    cmdOK.onClick = [this] { cmdOK_Click(); };
    cmdOK.onKeyPress = [this](int& k) { cmdOK_KeyPress(k); };
}

void Tarnhisc::design() {
    setCaption("High Scores");
    setBorder(Border::Fixed);
    setOwner(&game_.brindle());
    setSize(kFormWidth, kEntryHeight);
    setBackColor(kFelt);

    for (size_t k = 0; k < 5; ++k) {
        int top = kRowTop + kRowPitch * static_cast<int>(k);
        std::string n = std::to_string(k + 1);
        RowNumber[k].move(kEntryColumns.number, top, 24, kRowHeight);
        RowNumber[k].setCaption(n);
        styleRowLabel(RowNumber[k], kCream, Align::Left, "Rank " + n);
        LbHiS[k].move(kEntryColumns.score, top, 84, kRowHeight);
        LbHiS[k].setCaption("");
        styleRowLabel(LbHiS[k], kGold, Align::Right, "Score " + n);
        LbHiN[k].move(kEntryColumns.name, top, 140, kRowHeight);
        LbHiN[k].setCaption("");
        styleRowLabel(LbHiN[k], kCream, Align::Left, "Name " + n);
    }

    Label1.move(24, 150, 428, 18);
    Label1.setCaption("  Enter your name  (10 characters max.) and click 'Ok'.");
    Label1.setTransparent(true);
    Label1.setForeColor(kCream);
    Label1.setFont({9, false, false, false});
    Label1.setVisible(true);

    TxbHighScore.move(56, 172, 168, 26);
    TxbHighScore.setCaption("");  // no Change event at design time
    TxbHighScore.setMaxLength(10);
    TxbHighScore.setFont({11, true, false, false});
    TxbHighScore.setForeColor(0x000000);
    TxbHighScore.setBackColor(kCream);
    TxbHighScore.setAccessibleName("Your name");
    TxbHighScore.setVisible(true);

    cmdOK.move(240, 171, 88, 28);
    cmdOK.setCaption("Ok");
    cmdOK.setFont({9, true, false, false});
    cmdOK.setVisible(true);

    Image1.move(kPictureLeft, kEntryPictureTop, kPictureWidth, kPictureWidth);
    Image1.setPicture("");
    Image1.setStretch(false);
    Image1.setAccessibleName("Picture");
    Image1.setVisible(true);
}

void Tarnhisc::Form_Load() {
    auto& h = game_.state.high;
    bool entry = h.HighScoreEntry == 1;

    // Without the prompt the show mode needs less room: the picture moves up under the rows.
    if (!entry) {
        setSize(kFormWidth, kShowHeight);
        Image1.setTop(kShowPictureTop);
    }
    centerOnScreen(1);

    const Columns& cols = entry ? kEntryColumns : kShowColumns;
    for (size_t k = 0; k < 5; ++k) {
        RowNumber[k].setLeft(cols.number);
        LbHiS[k].setLeft(cols.score);
        LbHiN[k].setLeft(cols.name);
    }

    if (entry) {
        int32_t score = game_.state.score.Score;
        h.NewHighPos = 5;
        for (int16_t k = 1; k <= 4; ++k) {
            // Rounded half to even, as a conversion to a whole number does; kept as a double, so
            // an edited file's score beyond the 32-bit range still ranks instead of overflowing.
            if (score > std::nearbyint(h.HighScores[static_cast<size_t>(k - 1)])) {
                h.NewHighPos = k;
                break;
            }
        }
        auto pos = static_cast<size_t>(h.NewHighPos);
        for (size_t row = 1; row <= 5; ++row) {
            Label& s = LbHiS[row - 1];
            Label& n = LbHiN[row - 1];
            if (row < pos) {
                s.setCaption(formatNumber(h.HighScores[row - 1], "##,##"));
                n.setCaption(h.HighNames[row - 1]);
            } else if (row == pos) {
                s.setCaption(formatNumber(score, "##,##"));
                n.setCaption("");
            } else {
                s.setCaption(formatNumber(h.HighScores[row - 2], "##,##"));
                n.setCaption(h.HighNames[row - 2]);
            }
            // Every score is read back from its label on closing, so none may stay empty.
            if (s.caption().empty()) s.setCaption(str(0));
        }
        TxbHighScore.setFocus();
    } else {
        Label1.setVisible(false);
        TxbHighScore.setVisible(false);
        cmdOK.setVisible(false);
        for (size_t k = 0; k < 5; ++k) {
            LbHiS[k].setCaption(formatNumber(h.HighScores[k], "##,##"));
            LbHiN[k].setCaption(h.HighNames[k]);
        }
    }

    try {
        ShowRandomPicture(game_, Image1, kPictureLeft, kPictureWidth);
        // A picture taller than the room below the rows makes the form taller, up to a limit
        // (beyond it the picture's foot is cut off), and the form is centred again.
        const int base = entry ? kEntryHeight : kShowHeight;
        const int needed = Image1.top() + Image1.height() + kPictureMargin;
        if (needed > base) {
            setSize(kFormWidth, std::min(needed, base + kMostExtraHeight));
            centerOnScreen(1);
        }
    } catch (const RuntimeError& e) {
        // Goes on without the picture, stops the opening here, or ends the program.
        handlePictureError(game_, e);
    }
}

void Tarnhisc::TxbHighScore_Change() {
    int16_t pos = game_.state.high.NewHighPos;
    if (pos < 1 || pos > 4) pos = 5;
    LbHiN[static_cast<size_t>(pos - 1)].setCaption(ucase(TxbHighScore.text()));
}

void Tarnhisc::Form_Activate() {
    if (game_.state.high.HighScoreEntry == 1) return;
    runtime().waitSeconds(5.184);
    if (loaded()) unload();
}

void Tarnhisc::Form_QueryUnload(int& cancel) {
    // Showing the table only, the form closes itself on time; taking an entry, closing the window
    // is the OK button.
    if (game_.state.high.HighScoreEntry != 1) cancel = 1;
}

void Tarnhisc::Form_KeyDown(int& keyCode, int shift) {
    swallowMenuKeys(keyCode, shift);
}

void Tarnhisc::TxbHighScore_KeyPress(int& keyAscii) {
    if (keyAscii == key::kEnter) unload();
}

void Tarnhisc::cmdOK_KeyPress(int& keyAscii) {
    if (keyAscii == key::kEnter) unload();
}

void Tarnhisc::cmdOK_Click() {
    unload();
}

void Tarnhisc::Form_Unload() {
    auto& h = game_.state.high;
    auto& s = game_.state.score;
    game_.state.cards.intStackEnabled = 1;
    Image1.setVisible(false);

    Brindle& table = game_.brindle();
    if (h.HighScoreEntry == 1) {
        storage::ScoreTable written;
        for (size_t k = 0; k < 5; ++k) {
            h.HighScores[k] = toNumber(LbHiS[k].caption());
            h.HighNames[k] = LbHiN[k].caption();
        }
        h.LowestHighScore = toNumber(LbHiS[4].caption());
        table.LbHiName.setCaption(h.HighNames[0]);
        table.LbHiScore.setCaption(formatNumber(h.HighScores[0], "##,##"));

        written.scores = h.HighScores;
        written.names = h.HighNames;
        written.bestRun = s.BestRun;
        try {
            storage::writeScoreTable(game_.state.cards.strAppPath + storage::kScoresFile, written);
        } catch (const RuntimeError& e) {
            // The file is replaced in one step, so a failed write leaves the old table on disk.
            game_.reportScoresNotSaved(e.what());
        }
        s.Score = 0;
        s.ShowHighScores = 0;
    }
    h.HighScoreEntry = 1;
    s.ShowHighScores = 0;

    table.activate();
    table.PicStack.setFocus();
}

}  // namespace bm
