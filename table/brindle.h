#pragma once
// The game table: deal and layout, card play, scoring, castles and rounds.
#include <array>

#include "platform/form.h"

namespace bm {

class Game;
struct GameState;

class Brindle : public Form {
  public:
    explicit Brindle(Game& game);

    // Logical size of the table.
    static constexpr int kWidth = 760;
    static constexpr int kHeight = 540;
    static constexpr uint32_t kFelt = 0x1F6B3C;
    static constexpr uint32_t kLightCyan = 0x00FFFF;  // background of the card backs

    // Controls.
    Panel SSPanel1{*this, "SSPanel1"};
    PictureBox PicStack{*this, "PicStack"};
    Label LbRound{*this, "LbRound"};
    Label LbScoreCaption{*this, "LbScoreCaption"};
    Label LbScore{*this, "LbScore"};
    Label LbRunCaption{*this, "LbRunCaption"};
    Label LbRun{*this, "LbRun"};
    Label LbSpeedCaption{*this, "LbSpeedCaption"};
    Label LbSpeed{*this, "LbSpeed"};
    Gauge Gauge1{*this, "Gauge1"};
    Label LbHiRunCaption{*this, "LbHiRunCaption"};
    Label LbHiRun{*this, "LbHiRun"};
    Label LbHiScoreCaption{*this, "LbHiScoreCaption"};
    Label LbHiScore{*this, "LbHiScore"};
    Label LbHiName{*this, "LbHiName"};
    Label LbExpress1{*this, "LbExpress1"};
    Label LbExpress2{*this, "LbExpress2"};
    CommandButton cmdtakescore{*this, "cmdtakescore"};
    PictureBox Pictakescore{*this, "Pictakescore"};
    std::array<Panel, 5> PanCastle{Panel{*this, "PanCastle1"}, Panel{*this, "PanCastle2"},
                                   Panel{*this, "PanCastle3"}, Panel{*this, "PanCastle4"},
                                   Panel{*this, "PanCastle5"}};
    std::array<Image, 5> ImgCastle{Image{*this, "ImgCastle1"}, Image{*this, "ImgCastle2"},
                                   Image{*this, "ImgCastle3"}, Image{*this, "ImgCastle4"},
                                   Image{*this, "ImgCastle5"}};
    std::array<Label, 5> LbCastle{Label{*this, "LbCastle1"}, Label{*this, "LbCastle2"},
                                  Label{*this, "LbCastle3"}, Label{*this, "LbCastle4"},
                                  Label{*this, "LbCastle5"}};
    FileList File1{*this, "File1"};
    Timer Timer1{*this, "Timer1"};
    Timer TimerHiRun{*this, "TimerHiRun"};
    Timer TimerError{*this, "TimerError"};
    Timer TimerNewCard{*this, "TimerNewCard"};
    Timer TimerNewCastle{*this, "TimerNewCastle"};
    Timer TimerNewRound{*this, "TimerNewRound"};
    std::array<Timer, 5> TimerCastle{Timer{*this, "TimerCastle1"}, Timer{*this, "TimerCastle2"},
                                     Timer{*this, "TimerCastle3"}, Timer{*this, "TimerCastle4"},
                                     Timer{*this, "TimerCastle5"}};
    // What the last round's deal allowed, shown once a round has ended.
    Label LbBestCaption{*this, "LbBestCaption"};
    Label LbBest{*this, "LbBest"};
    // The keyboard's focus mark and the hint's highlight, over the cards.
    Shape ShpHint{*this, "ShpHint"};
    Shape ShpFocus{*this, "ShpFocus"};

    // Form-level variables.
    std::array<int32_t, 52> lngCardX{};
    std::array<int32_t, 52> lngCardY{};
    std::array<int16_t, 52> intCardState{};  // 0 face down, 1 face up, 2 removed
    int16_t intStackCard = 0;
    int16_t intCardRow = 0;
    int16_t intStackCount = 0;
    // The card under the keyboard's focus mark and the card the hint proposes: a layout position,
    // 51 for the open card and the pile, -1 for none.
    int16_t intFocusPos = -1;
    int16_t intHintPos = -1;

    // Events.
    void Form_Load() override;
    void Form_Activate() override;
    void Form_Unload() override;
    void Form_QueryUnload(int& cancel) override;
    void Form_MouseDown(int button, int shift, double x, double y) override;
    void Form_KeyDown(int& keyCode, int shift) override;
    void PicStack_MouseDown(int button, int shift, double x, double y);
    void Timer1_Timer();
    void TimerHiRun_Timer();
    void TimerError_Timer();
    void TimerNewCard_Timer();
    void TimerNewCastle_Timer();
    void TimerNewRound_Timer();
    void TimerCastle_Timer(int n);  // n = 1..5
    void cmdtakescore_Click();
    void cmdtakescore_MouseDown(int button, int shift, double x, double y);
    void cmdtakescore_MouseUp(int button, int shift, double x, double y);
    void SSPanel1_DblClick();

    // Deal and layout.
    void subCardPositions();
    void subNewCards();
    void subRedrawCards();
    // Card play.
    void subCardValue(double x, double y, int16_t source);
    void subMoveCards(int16_t& position);
    // Scoring.
    void subUpdateScores();
    void subGetScore();
    void subReadHiScore();
    void subNewHiRun();
    // Castles.
    void subCastleBonus(Label& label);
    void subShowCastleImg(Image& image, Panel& panel, int16_t pictureNumber);
    void subNewCastleImg();
    // Rounds.
    void subShowAttScreen(const std::string& message);
    void subNewRound();
    void subCallHiLo();

    // Keyboard play and the hint. Arrow keys move the focus mark over the face-up cards and the
    // open card; Enter or Space plays the marked card as a click on it would; T turns the next pile
    // card; H asks for a hint.
    bool subKeyPlay(int keyCode);
    void moveFocus(int dx, int dy);
    void playPosition(int position);
    void requestHint();
    // Where a keyboard or hint mark goes for a position, in form pixels.
    void markRect(int position, int& x, int& y) const;
    // Face-up layout cards and the open card: what the focus can rest on.
    bool focusable(int position) const;
    // True when the card at a layout position is one rank from the open card.
    bool playsNow(int position) const;
    // The layout's cards and the open card with the pile, for assistive technology; pressing one
    // plays it as a click would, and pressing the open card turns the next pile card.
    std::vector<AccessibleItem> accessibleItems() const override;
    void pressAccessibleItem(size_t index) override;
    // "Seven of Hearts".
    static std::string cardName(int value);
    // Takes note of a fresh deal: what the round's best score is measured on.
    void dealSettled();

    // The face code of a card value: error 9 when the offset takes it outside the map.
    int32_t faceCode(int value) const;
    // Shows "N CARDS LEFT" / "1 CARD LEFT" on the stack picture.
    void showCardsLeft();

  private:
    enum class RoundEndSource { Clock, Button, Castle };
    // The round end after the bonus and the side game, by RoundState.
    void roundEnd(RoundEndSource source);
    void afterBonus(RoundEndSource source);
    void gameOver();
    // Loads a picture into a control; error 53 when missing, 481 when not a picture.
    void loadPicture(Control& control, const std::string& file);
    void design() override;
    // Keeps the marks on cards that are still there after a move or a deal.
    void updateMarks();
    // Starts working out, away from the player, the best score the round's deal allowed.
    void startBestPossible();
    void clearBestPossible();

    Game& game_;
    std::array<int16_t, 52> dealtDeck_{};  // the round's deal as dealt
    int32_t roundStartScore_ = 0;
    bool roundStarted_ = false;  // the round's first move has been made
    int bestSerial_ = 0;         // the newest best-score request; older answers are dropped
    int hintSerial_ = 0;
    GameState& g_;
};

}  // namespace bm
