#pragma once
// The part of wave playback that needs the multimedia library. It is built as a module of its own
// and loaded on the first sound, so the program does not load and relocate that library (and
// what it pulls in) at start when the first sound comes much later.
#include <QString>

namespace bm::qt {

class SoundBackend {
  public:
    virtual ~SoundBackend() = default;
    // Starts the file from its beginning, restarting it when it is playing; `changed` says the
    // file is new or has changed since it was last played. Returns at once.
    virtual void play(const QString& path, bool changed) = 0;
    virtual void stopAll() = 0;
};

}  // namespace bm::qt

// The module's one entry point: a new backend, owned by the caller.
extern "C" bm::qt::SoundBackend* bmCreateSoundBackend();
