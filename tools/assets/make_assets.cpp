// Writes the sounds, castle bitmaps and background pictures the game loads at run time.
// Usage: bm_make_assets <program folder>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <cstdio>

#include "assets.h"

namespace bm::assets {
namespace {

// The game shows a background picture in an area 377 pixels wide and squashes, rather than
// scales, one that is wider; pictures also stay within the height of that area.
constexpr int kMaxPictureWidth = 376, kMaxPictureHeight = 300;

struct Picture {
    const char* file;  // the extension picks the format
    int width, height;
    double scale;  // pixels per drawing unit of the scene
    QImage (*paint)(int, int, double);
    const char* about;
};

const Picture kPictures[] = {
    {"dusk.jpg", 370, 250, 0.6, paintDuskMountains,
     "The last light of the day drains out of the sky behind the high ridges, leaving a band of "
     "apricot and rose above peaks that fade from lilac to ink. A few birds are still making for "
     "their roosts. Soon the first stars will be the only thing moving over the range."},
    {"lakecastle.gif", 360, 270, 0.75, paintLakeCastle,
     "An old keep stands on its hill above the still water, its towers black against a pink "
     "evening. A handful of windows are lit, and each one has a twin wavering in the lake below. "
     "Pines crowd the western shore, keeping the silence company."},
    {"hills.bmp", 340, 255, 0.85, paintRollingHills,
     "Green hills roll away under a wide summer sky, one fold behind the next until they turn "
     "blue with distance. A pale track winds up from the near field between scattered oaks. It "
     "is the kind of afternoon that seems as if it will never end."},
    {"moor.jpg", 376, 282, 0.75, paintMoor,
     "Heather covers the moor in purple as far as the eye can follow, broken only by a ring of "
     "grey standing stones. Mist pools in the hollow below the rise while low clouds drift in "
     "from the west. Nobody remembers who raised the stones, but the wind still speaks of them."},
    {"lighthouse.gif", 225, 300, 0.75, paintLighthouse,
     "A striped lighthouse keeps watch from the top of the cliff as the sun sinks into the sea. "
     "Its lamp has just been lit, and the first sweep of the beam reaches out across the water. "
     "Far below, the surf breaks white against the rocks."},
    {"village.gif", 376, 300, 0.7, paintStarryVillage,
     "Stars crowd the sky above a sleeping village, and a thin moon hangs over the hill. Most "
     "of the cottages still show a warm light, and the church tower has a lantern burning in "
     "its belfry. Dark firs stand guard along the lane."},
    {"autumn.bmp", 240, 300, 0.65, paintAutumnForest,
     "The forest has put on its autumn colours: amber, copper and deep red crowns glowing in "
     "the late sun. Shafts of light fall slanting between the trunks onto a path thick with "
     "fallen leaves. Every step sounds like the crackle of a small fire."},
    {"windmill.jpg", 376, 282, 0.5875, paintWindmill,
     "A white windmill turns its sails above fields of ripening grain striped in gold and "
     "green. Fair-weather clouds drift slowly over the plain, and poppies glow red along the "
     "edge of the nearest field. The miller will have a busy week."},
    {"harbour.night.jpg", 350, 250, 0.8334, paintHarbourNight,
     "Night has settled over the little harbour. Lamps burn along the quay and the windows of "
     "the town are mirrored in the black water, trembling with each small wave. The fishing "
     "boats rest at their moorings until the early tide."},
};

// The description file of "name.ext" (or "name.more.ext") is "name.log": a plain ASCII text
// padded with blanks to exactly 1000 bytes.
bool writeDescription(const QString& folder, const Picture& pic) {
    const QString file = QString::fromLatin1(pic.file);
    QByteArray text(pic.about);
    for (char ch : text) {
        if (static_cast<unsigned char>(ch) < 32 || static_cast<unsigned char>(ch) > 126)
            return false;
    }
    if (text.size() > 1000) return false;
    text.append(QByteArray(1000 - text.size(), ' '));
    QFile out(folder + '/' + file.left(file.indexOf('.') + 1) + "log");
    return out.open(QIODevice::WriteOnly) && out.write(text) == text.size();
}

// GIFs are written by our own encoder, so read each one back and compare every pixel.
bool writeGif(const QString& path, const QImage& image) {
    const IndexedImage indexed = quantize(image);
    const QByteArray data = encodeGif(indexed);
    QFile out(path);
    if (!out.open(QIODevice::WriteOnly) || out.write(data) != data.size()) return false;
    out.close();
    QImage back;
    if (!back.loadFromData(data, "GIF") || back.width() != indexed.width ||
        back.height() != indexed.height) {
        return false;
    }
    back = back.convertToFormat(QImage::Format_RGB32);
    for (int y = 0; y < back.height(); ++y) {
        for (int x = 0; x < back.width(); ++x) {
            const QRgb want = indexed.palette[indexed.pixels[size_t(y) * indexed.width + x]];
            if ((back.pixel(x, y) & 0xffffff) != (want & 0xffffff)) return false;
        }
    }
    return true;
}

bool savePicture(const QString& path, const QImage& image) {
    if (path.endsWith(".gif")) return writeGif(path, image);
    if (path.endsWith(".jpg")) return image.save(path, "JPG", 88);
    return image.convertToFormat(QImage::Format_RGB888).save(path, "BMP");
}

int run(const QString& folder) {
    const QString images = folder + "/images";
    if (!QDir().mkpath(images)) {
        std::fprintf(stderr, "bm_make_assets: cannot create %s\n", qPrintable(images));
        return 1;
    }
    const auto fail = [](const QString& what) {
        std::fprintf(stderr, "bm_make_assets: failed to write %s\n", qPrintable(what));
        return 1;
    };
    if (!writeSounds(folder)) return fail("the sounds");
    if (!savePicture(folder + "/castle.bmp", paintCastleSite())) return fail("castle.bmp");
    if (!savePicture(folder + "/castle2.bmp", paintCastleBuilt())) return fail("castle2.bmp");
    if (!savePicture(folder + "/takescore.bmp", paintTakeScoreIcon())) return fail("takescore.bmp");
    for (const Picture& pic : kPictures) {
        const QString path = images + '/' + pic.file;
        if (pic.width > kMaxPictureWidth || pic.height > kMaxPictureHeight) {
            std::fprintf(stderr, "bm_make_assets: %s is larger than %d x %d\n", pic.file,
                         kMaxPictureWidth, kMaxPictureHeight);
            return 1;
        }
        if (!savePicture(path, pic.paint(pic.width, pic.height, pic.scale))) return fail(path);
        if (!writeDescription(images, pic)) return fail(path + " description");
    }
    return 0;
}

}  // namespace
}  // namespace bm::assets

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: bm_make_assets <output folder>\n");
        return 2;
    }
    // No display is needed or wanted while building.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    return bm::assets::run(QString::fromLocal8Bit(argv[1]));
}
