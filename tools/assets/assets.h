#pragma once
// Pieces of the asset generator: sound synthesis, the GIF writer and the picture painters.
#include <QImage>
#include <QString>
#include <cstdint>
#include <vector>

namespace bm::assets {

// Writes the game's sounds (16-bit mono PCM WAVE files) into a folder. False on a write error.
bool writeSounds(const QString& folder);

// A picture reduced to at most 256 colours.
struct IndexedImage {
    int width = 0;
    int height = 0;
    std::vector<QRgb> palette;
    std::vector<uint8_t> pixels;  // row by row, one palette index each
};

// Median-cut palette and Floyd-Steinberg dithering.
IndexedImage quantize(const QImage& image);
// A complete GIF89a file holding one image.
QByteArray encodeGif(const IndexedImage& image);

// The castle bitmaps shown on the table (121 x 84): one still being built, one finished.
QImage paintCastleSite();
QImage paintCastleBuilt();
// The icon on the button that ends the round and banks the score (48 x 30).
QImage paintTakeScoreIcon();

// Background pictures, `width` x `height` pixels. Each scene is laid out in drawing units of
// `scale` pixels, so the same scene can be painted smaller without losing its proportions.
QImage paintDuskMountains(int width, int height, double scale);
QImage paintLakeCastle(int width, int height, double scale);
QImage paintRollingHills(int width, int height, double scale);
QImage paintMoor(int width, int height, double scale);
QImage paintLighthouse(int width, int height, double scale);
QImage paintStarryVillage(int width, int height, double scale);
QImage paintAutumnForest(int width, int height, double scale);
QImage paintWindmill(int width, int height, double scale);
QImage paintHarbourNight(int width, int height, double scale);

}  // namespace bm::assets
