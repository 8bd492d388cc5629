// Castles: building one for each top-row card taken, with its bonus, picture and fanfare.
#include "platform/errors.h"
#include "platform/runtime.h"
#include "platform/vb.h"
#include "table/brindle.h"
#include "table/game.h"

namespace bm {

void Brindle::subCastleBonus(Label& label) {
    auto& s = g_.score;
    auto& rt = runtime();
    s.CastleCount = i32(static_cast<long long>(s.CastleCount) + 1);
    switch (s.CastleCount) {
        case 1:
            s.CastleBonus = 2000;
            break;
        case 2:
            s.CastleBonus = 4000;
            break;
        case 3:
            s.CastleBonus = 6000;
            break;
        case 4:
            s.CastleBonus = 8000;
            break;
        case 5:
            s.CastleBonus = 10000;
            break;
        default:
            s.CastleBonus = 4000;
            break;
    }
    label.setCaption(formatNumber(s.CastleBonus, "##,##"));

    s.ScreenReady = 0;
    TimerNewCastle.setEnabled(true);
    rt.waitFor([&] { return s.ScreenReady == 1; });

    // The last character of the label's name picks the timer that clears it.
    int n = label.name().back() - '0';
    if (n >= 1 && n <= 5) TimerCastle[static_cast<size_t>(n - 1)].setEnabled(true);

    if (s.CastleBonus != 10000) {
        s.Score = i32(static_cast<long long>(s.Score) + s.CastleBonus);
        LbScore.setCaption(formatNumber(s.Score, "##,##"));
        return;
    }
    // The fifth castle ends the round within the move that built it.
    Timer1.setEnabled(false);
    LbScore.setCaption(formatNumber(static_cast<double>(s.Score) + s.CastleBonus, "##,##"));
    LbScore.refresh();
    s.Score = i32(static_cast<long long>(s.Score) + s.CastleBonus);
    startBestPossible();
    subGetScore();
    subCallHiLo();
    afterBonus(RoundEndSource::Castle);
}

void Brindle::TimerNewCastle_Timer() {
    auto& s = g_.score;
    auto& rt = runtime();
    if (s.CastleCount != 5) rt.doEvents();
    std::string fanfare = g_.cards.strAppPath + "castle1.wav";
    rt.playSound(fanfare, snd::kAsync | snd::kNoDefault);
    if (s.CastleCount == 5) rt.playSound(fanfare, snd::kAsync | snd::kNoDefault);
    TimerNewCastle.setEnabled(false);
    s.ScreenReady = 1;
}

void Brindle::TimerCastle_Timer(int n) {
    runtime().doEvents();
    LbCastle[static_cast<size_t>(n - 1)].setCaption("");
    TimerCastle[static_cast<size_t>(n - 1)].setEnabled(false);
}

void Brindle::subShowCastleImg(Image& image, Panel& panel, int16_t pictureNumber) {
    const std::string& app = g_.cards.strAppPath;
    try {
        std::string path;
        switch (g_.menu.intCastleTheme) {
            case 1:
                path = app + "images/" + File1.list(pictureNumber);
                break;
            case 2:
                path = app + "fimg" + std::to_string(pictureNumber) + ".gif";
                break;
            case 3:
                path = app + "mimg" + std::to_string(pictureNumber) + ".gif";
                break;
            default:
                loadPicture(panel, "castle2.bmp");
                return;
        }
        // Fit the picture into the castle's space by its aspect ratio, with the same rule as the
        // message screen: the width of the space bounds both directions.
        Size size = runtime().ui().pictureSize(path);
        double boxW = panel.width(), boxL = panel.left();
        double w = size.width, h = size.height, ratio = w / h;
        bool stretch = false;
        if (w > boxW) {
            stretch = true;
            h = boxW / ratio;
            if (h > boxW) w = h * ratio;
        } else if (h > boxW) {
            stretch = true;
            w = h * ratio;
        }
        image.setStretch(stretch);
        image.setPicture(path);
        image.move(static_cast<int>(boxW / 2 + boxL - w / 2), panel.top(), static_cast<int>(w),
                   static_cast<int>(h));
        panel.setVisible(false);
        image.setVisible(true);
    } catch (const RuntimeError&) {
        // The castle keeps its former picture.
    }
}

void Brindle::subNewCastleImg() {
    auto& s = g_.score;
    auto& rt = runtime();
    if (File1.listCount() < 5) {
        rt.msgBox("Some image files are missing - you must re-install Brindlemoor!", mb::kOk);
        rt.end(Runtime::kExitFailure);
    }
    for (size_t k = 0; k < 5; ++k)
        ImgCastle[k].move(8 + 124 * static_cast<int>(k), ImgCastle[k].top(), 121,
                          ImgCastle[k].height());
    s.CastlePictures.fill(-1);
    int theme = g_.menu.intCastleTheme;
    if (theme < 1 || theme > 3) return;
    for (size_t k = 0; k < 5; ++k) {
        for (;;) {
            // Reseeding before every draw is how it was built: draws within one clock reading are
            // equal, and the loop draws again until the clock has moved.
            rt.randomize();
            double r = rt.rnd();
            int16_t candidate;
            if (theme == 1)
                candidate = static_cast<int16_t>(vbInt(File1.listCount() * r));
            else if (theme == 2)
                candidate = static_cast<int16_t>(vbInt(r * 31) + 1);
            else
                candidate = static_cast<int16_t>(vbInt(r * 9) + 1);
            bool used = false;
            for (int16_t p : s.CastlePictures) used = used || p == candidate;
            if (!used) {
                s.CastlePictures[k] = candidate;
                break;
            }
        }
    }
}

}  // namespace bm
