#include "forms/random_picture.h"

#include <cmath>

#include "platform/controls.h"
#include "platform/errors.h"
#include "platform/runtime.h"
#include "platform/vb.h"
#include "table/brindle.h"
#include "table/game.h"

namespace bm {

namespace {
int toPixels(double v) {
    return static_cast<int>(std::lround(v));
}
}  // namespace

void ShowRandomPicture(Game& game, Image& image, double left, double width) {
    PictureFitState& fit = game.state.fit;
    FileList& pictureFiles = game.brindle().File1;
    Runtime& rt = game.rt;

    image.setLeft(toPixels(left));
    image.setWidth(toPixels(width));

    rt.randomize();
    double r = rt.rnd();
    int n = static_cast<int>(vbInt(r * pictureFiles.listCount()));
    // An empty list has no entry 0 either: that error is left to the caller's handler.
    fit.lastFile = pictureFiles.list(n);
    std::string path = game.state.cards.strAppPath + "images/" + fit.lastFile;

    fit.BoxW = image.width();
    fit.BoxL = image.left();
    fit.BoxW2 = fit.BoxW;

    image.setVisible(false);
    image.setStretch(false);
    Size size = rt.ui().pictureSize(path);  // 53 when gone, 481 when not a picture
    image.setPicture(path);
    fit.W = size.width;
    fit.H = size.height;
    fit.ratio = fit.W / fit.H;

    // The width of the area bounds both directions. A picture wider than the area only has its
    // height reduced; its own width is kept.
    if (fit.W > fit.BoxW) {
        image.setStretch(true);
        fit.H = fit.BoxW / fit.ratio;
        if (fit.H > fit.BoxW) fit.W = fit.H * fit.ratio;
    } else if (fit.H > fit.BoxW) {
        image.setStretch(true);
        fit.W = fit.H * fit.ratio;
    }

    // Centred on the middle of the area; the top stays where the form put it.
    image.move(toPixels(fit.BoxW / 2 + fit.BoxL - fit.W / 2), image.top(), toPixels(fit.W),
               toPixels(fit.H));
    image.setVisible(true);
}

bool handlePictureError(Game& game, const RuntimeError& error) {
    switch (error.number()) {
        case err::kInvalidPicture:
            showMissingPictureMessage(game, game.state.fit.lastFile);
            return true;
        case err::kPathNotFound:
            return false;
        default:
            showMissingDirectoryAndEnd(game);
    }
}

void showMissingPictureMessage(Game& game, const std::string& fileName) {
    auto& lines = game.state.MessageLines;
    lines[0] = "A required picture file " + fileName;
    lines[1] = "could not be found or is corrupt. Although";
    lines[2] = "you can continue to play, we recommend to";
    lines[3] = "reinstall Brindlemoor from the installation";
    lines[4] = "diskettes or CD-ROM.";
    game.rt.msgBox(game.joinedMessage(5), mb::kInformation, "Missing File ( " + fileName + " )");
}

void showMissingDirectoryAndEnd(Game& game) {
    auto& lines = game.state.MessageLines;
    lines[0] = "A directory, required for Brindlemoor to work,";
    lines[1] = "is missing or corrupt. Reinstall Brindlemoor";
    lines[2] = "from the installation diskettes or CD-ROM!";
    game.rt.msgBox(game.joinedMessage(3), mb::kInformation, "Missing Directory");
    game.rt.end(Runtime::kExitFailure);
}

}  // namespace bm
