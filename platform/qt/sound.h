#pragma once
// Wave playback for the Qt user interface: one sound effect object per file, made on first use so
// that nothing of the multimedia stack loads before the first sound.
#include <memory>
#include <string>
#include <unordered_map>

class QSoundEffect;

namespace bm::qt {

class SoundPlayer {
  public:
    SoundPlayer();
    ~SoundPlayer();
    SoundPlayer(const SoundPlayer&) = delete;
    SoundPlayer& operator=(const SoundPlayer&) = delete;

    // Starts the file from its beginning (restarting it when it is already playing) and returns
    // its playing time in seconds: 0 when the file is missing or not a wave file. Without a sound
    // device nothing is heard, but the playing time is still reported.
    double play(const std::string& path);
    void stopAll();

  private:
    struct Entry {
        std::unique_ptr<QSoundEffect> effect;
        unsigned long long stamp = 0;  // the file's state when its length was read
        double duration = 0;
    };
    std::unordered_map<std::string, Entry> entries_;
};

}  // namespace bm::qt
