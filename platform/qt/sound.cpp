#include "platform/qt/sound.h"

#include <QFile>
#include <QSoundEffect>
#include <QUrl>

#include "platform/files.h"

namespace bm::qt {

SoundPlayer::SoundPlayer() = default;
SoundPlayer::~SoundPlayer() = default;

double SoundPlayer::play(const std::string& path) {
    const unsigned long long stamp = fileStamp(path);
    if (stamp == 0) return 0;
    Entry& e = entries_[path];
    if (e.stamp != stamp) {
        // A new or changed file: read its length again and load it afresh.
        e.stamp = stamp;
        e.duration = waveDuration(path);
        e.effect.reset();
    }
    if (e.duration <= 0) return 0;
    if (!e.effect) {
        e.effect = std::make_unique<QSoundEffect>();
        e.effect->setSource(QUrl::fromLocalFile(QFile::decodeName(path.c_str())));
    }
    // Playing a sound that is still playing starts it again from the beginning.
    e.effect->stop();
    e.effect->play();
    return e.duration;
}

void SoundPlayer::stopAll() {
    for (auto& [path, e] : entries_)
        if (e.effect) e.effect->stop();
}

}  // namespace bm::qt
