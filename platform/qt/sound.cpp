#include "platform/qt/sound.h"

#include <QFile>

#include "platform/files.h"
#include "platform/qt/module.h"
#include "platform/qt/sound_backend.h"

namespace bm::qt {

SoundPlayer::SoundPlayer() = default;

SoundPlayer::~SoundPlayer() = default;

SoundBackend* SoundPlayer::backend() {
    if (backend_ || triedLoading_) return backend_.get();
    triedLoading_ = true;
    using Create = decltype(&bmCreateSoundBackend);
    if (auto create = reinterpret_cast<Create>(moduleEntry(QStringLiteral(BM_SOUND_MODULE),
                                                           QStringLiteral(BM_SOUND_MODULE_DIR),
                                                           "bmCreateSoundBackend")))
        backend_.reset(create());
    return backend_.get();
}

double SoundPlayer::play(const std::string& path) {
    const unsigned long long stamp = fileStamp(path);
    if (stamp == 0) return 0;
    Entry& e = entries_[path];
    const bool changed = e.stamp != stamp;
    if (changed) {
        // A new or changed file: read its length again.
        e.stamp = stamp;
        e.duration = waveDuration(path);
    }
    if (e.duration <= 0) return 0;
    if (SoundBackend* b = backend()) b->play(QFile::decodeName(path.c_str()), changed);
    return e.duration;
}

void SoundPlayer::stopAll() {
    if (backend_) backend_->stopAll();
}

}  // namespace bm::qt
