#include "platform/qt/sound_backend.h"

#include <QSoundEffect>
#include <QUrl>
#include <memory>
#include <unordered_map>

namespace bm::qt {
namespace {

// One sound effect object per file, made when the file is first played.
class EffectBackend : public SoundBackend {
  public:
    void play(const QString& path, bool changed) override {
        std::unique_ptr<QSoundEffect>& effect = effects_[path];
        if (changed) effect.reset();
        if (!effect) {
            effect = std::make_unique<QSoundEffect>();
            effect->setSource(QUrl::fromLocalFile(path));
        }
        // Playing a sound that is still playing starts it again from the beginning.
        effect->stop();
        effect->play();
    }
    void stopAll() override {
        for (auto& [path, effect] : effects_)
            if (effect) effect->stop();
    }

  private:
    std::unordered_map<QString, std::unique_ptr<QSoundEffect>> effects_;
};

}  // namespace
}  // namespace bm::qt

extern "C" Q_DECL_EXPORT bm::qt::SoundBackend* bmCreateSoundBackend() {
    return new bm::qt::EffectBackend;
}
