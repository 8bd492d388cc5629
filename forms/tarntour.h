#pragma once
// The picture show: the pictures of the images folder one at a time, each fitted into a square
// frame with the text of its information file beside it, stepped by hand or every 8 seconds by
// the slide show, and printed on request.
#include <cstdint>
#include <string>

#include "platform/form.h"

namespace bm {

class Game;

class Tarntour : public Form {
  public:
    explicit Tarntour(Game& game);

    Image Image1{*this, "Image1"};
    Label Label1{*this, "Label1"};
    Label Label2{*this, "Label2"};
    Image Image2{*this, "Image2"};
    CommandButton CmdPrevious{*this, "CmdPrevious"};
    CommandButton CmdNext{*this, "CmdNext"};
    CommandButton CmdSlide{*this, "CmdSlide"};
    CommandButton CmdPrintPic{*this, "CmdPrintPic"};
    CommandButton Cmd_Exit{*this, "Cmd_Exit"};
    Timer Timer1{*this, "Timer1"};
    FileList File1{*this, "File1"};

    int16_t intPicCount = 0;
    int16_t intPicIndex = 0;
    // The fitting of the shown picture, in the form's logical pixels.
    double dblPicWidth = 0, dblPicHeight = 0, dblPicRatio = 0;
    double dblPicMax = 0;

    // The text Label1 shows when the images folder holds no picture.
    static constexpr const char* kNoPictures = "No pictures in the images folder";

    void Form_Load() override;
    void Form_Activate() override;
    void Form_Unload() override;
    void Form_KeyDown(int& keyCode, int shift) override;
    void CmdNext_Click();
    void CmdPrevious_Click();
    void CmdSlide_Click();
    void CmdPrintPic_Click();
    void Cmd_Exit_Click();
    void Timer1_Timer();
    // Shows the information file's text in Label1, or hides Label1 when there is no such file.
    void subReadPictureInfo(const std::string& infoPath);

  private:
    void design() override;
    // One step: +1 forwards, -1 backwards, with the wrap at both ends.
    void step(int direction);
    void showPicture(const std::string& entry);
    void stopSlide();
    Game& game_;
};

}  // namespace bm
