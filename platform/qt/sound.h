#pragma once
// Wave playback for the Qt user interface. Lengths are read here; the playing itself is done by a
// separately built module (see sound_backend.h), loaded on the first sound that has a length, so
// nothing of the multimedia stack loads before then.
#include <memory>
#include <string>
#include <unordered_map>

namespace bm::qt {

class SoundBackend;

class SoundPlayer {
  public:
    // Looks for the playback module beside the executable, then where the build put it.
    SoundPlayer();
    ~SoundPlayer();
    SoundPlayer(const SoundPlayer&) = delete;
    SoundPlayer& operator=(const SoundPlayer&) = delete;

    // Starts the file from its beginning (restarting it when it is already playing) and returns
    // its playing time in seconds: 0 when the file is missing or not a wave file. Without a sound
    // device, or without the playback module, nothing is heard, but the playing time is still
    // reported.
    double play(const std::string& path);
    void stopAll();
    // Whether the playback module has been loaded (it is loaded by the first sound).
    bool loaded() const { return backend_ != nullptr; }

  private:
    struct Entry {
        unsigned long long stamp = 0;  // the file's state when its length was read
        double duration = 0;
    };
    SoundBackend* backend();

    std::unique_ptr<SoundBackend> backend_;
    bool triedLoading_ = false;
    std::unordered_map<std::string, Entry> entries_;
};

}  // namespace bm::qt
