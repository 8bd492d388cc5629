#pragma once
// The module-level state that the game table and its companion forms share. One Game object owns
// one of these, so tests can create a fresh game at will.
#include <array>
#include <cstdint>
#include <string>

namespace bm {

// The deck, the card codes and the table flags.
struct CardsState {
    std::array<int16_t, 52> intDeck{};     // card value at each position; 51 = the open stack card
    std::array<int32_t, 52> varCardMap{};  // value -> face code (identity)
    int16_t intCardOffset = 0;             // row of four added to every face code
    int16_t intCardValue = 0;
    int32_t varCardBack = 54;  // the back design
    int32_t lngDrawX = 0, lngDrawY = 0;
    int16_t i = 0;  // the loop index shared by the table's procedures
    int16_t intRandomCard = 0, intFound = 0, intDealCount = 0;
    int16_t intPlayEnabled = 0;   // 1: the layout and the stack take clicks
    int16_t intStackEnabled = 1;  // non-zero: clicks on the stack picture count
    std::string strAppPath;       // the program folder with a trailing separator
};

// Score, rounds and castles.
struct ScoreState {
    int32_t Score = 0;
    int16_t Run = 0;
    int16_t BestRun = 0;
    int16_t Speed = 0;
    int16_t RoundState = 0;  // 0 round 1, 2 round 2, 3 bonus round, 1 game over
    int32_t CastleCount = 0;
    int16_t CastleBonus = 0;
    int16_t ScreenReady =
        0;  // 0 while a message screen or fanfare is in front, 1 after, 2 unloaded
    int16_t ShowHighScores = 0;
    int16_t TitleShifted = 0;
    std::array<int16_t, 5> CastlePictures{-1, -1, -1, -1, -1};
};

// The high-score table in memory.
struct HighScoreState {
    std::array<double, 5> HighScores{};
    std::array<std::string, 5> HighNames{};
    double LowestHighScore = 0;
    int16_t NewHighPos = 0;
    int16_t HighScoreEntry = 1;  // 1: the high-score form takes an entry; 0: it only shows
};

// State of the start menu that other forms read.
struct MenuState {
    int16_t intMenuReturn = 0;
    std::string strFirstName;
    std::string strShowTitle;
    int16_t intCastleTheme = 0;
    std::string strPassword;
};

// The side game's flags that the table waits on.
struct HiLoState {
    int16_t HiLoDecided = 0;
    int16_t HiLoDone = 0;
};

// Working values of the random-picture routine, shared by the forms that show one.
struct PictureFitState {
    double BoxW = 0, BoxL = 0, BoxW2 = 0;
    double W = 0, H = 0, ratio = 0;
    std::string lastFile;  // name of the picture chosen last, without its folder
};

struct GameState {
    CardsState cards;
    ScoreState score;
    HighScoreState high;
    MenuState menu;
    HiLoState hilo;
    PictureFitState fit;
    // Lines of the multi-line messages, joined with a carriage return alone.
    std::array<std::string, 8> MessageLines;
};

}  // namespace bm
