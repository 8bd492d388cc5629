#include "platform/qt/sound.h"

#include <sys/stat.h>

#include <QFile>
#include <QSoundEffect>
#include <QUrl>
#include <fstream>
#include <iterator>

#include "platform/files.h"

namespace bm::qt {

namespace {

// Modification time and length folded together, so a changed file gets a new stamp; 0 when the
// file does not exist.
unsigned long long fileStamp(const std::string& path) {
    struct stat st;
    if (::stat(path.c_str(), &st) != 0 || S_ISDIR(st.st_mode)) return 0;
    const auto nanos = static_cast<unsigned long long>(st.st_mtim.tv_sec) * 1000000000ULL +
                       static_cast<unsigned long long>(st.st_mtim.tv_nsec);
    return (nanos * 1000003ULL + static_cast<unsigned long long>(st.st_size)) | 1;
}

double playingTime(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return 0;
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    return waveDurationBytes(bytes);
}

}  // namespace

SoundPlayer::SoundPlayer() = default;
SoundPlayer::~SoundPlayer() = default;

double SoundPlayer::play(const std::string& path) {
    const unsigned long long stamp = fileStamp(path);
    if (stamp == 0) return 0;
    Entry& e = entries_[path];
    if (e.stamp != stamp) {
        // A new or changed file: read its length again and load it afresh.
        e.stamp = stamp;
        e.duration = playingTime(path);
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
