#pragma once
// Every operation the game asks of a user interface. One implementation drives real windows, the
// other runs on a virtual clock for tests and tools.
#include <cstdint>
#include <functional>
#include <string>

namespace bm {

class Form;
class Control;
class Surface;
class Timer;

struct Size {
    int width = 0;
    int height = 0;
};

namespace snd {
constexpr int kAsync = 1;
constexpr int kNoDefault = 2;
}  // namespace snd

namespace mb {
constexpr int kOk = 0;
constexpr int kYesNo = 4;
constexpr int kInformation = 64;
constexpr int kAnswerOk = 1;
constexpr int kAnswerYes = 6;
constexpr int kAnswerNo = 7;
}  // namespace mb

// One value read from the system's registry.
struct RegistryValue {
    enum Status { kOk, kNoKey, kNoValue };
    Status status = kNoKey;
    int type = 0;      // 1 text, 4 a 32-bit number, others as the registry has them
    std::string data;  // the value's bytes as stored, a text with its closing zero
};
namespace reg {
constexpr uint32_t kLocalMachine = 0x80000002u;
constexpr int kText = 1;
constexpr int kNumber = 4;
}  // namespace reg

// What a picture printout holds: a title above the picture and a text below it.
struct PrintJob {
    std::string title;
    std::string picture;  // the picture file
    std::string text;
    std::string font = "Arial";
};

class Ui {
  public:
    virtual ~Ui() = default;

    // The clock, in seconds. It only moves forwards.
    virtual double now() = 0;
    // Handles the events that are pending, then returns.
    virtual void doEvents() = 0;
    // Handles events, blocking between them without using the processor, until done() holds or
    // the clock reaches `deadline`.
    virtual void waitFor(const std::function<bool()>& done, double deadline) = 0;
    // Like waitFor up to `deadline`, but user input waits until afterwards (a synchronous sound).
    virtual void pauseUntil(double deadline) = 0;
    // Runs fn after the event being handled has finished.
    virtual void post(std::function<void()> fn) = 0;
    // Runs `work` away from the user-interface thread, then `done` on it. `work` must only touch
    // what it owns; `done` runs like any other event (and not at all once the program has ended).
    virtual void runInBackground(std::function<void()> work, std::function<void()> done) = 0;

    // Announcements of model changes, for the views.
    virtual void formChanged(Form& form) = 0;
    virtual void controlChanged(Control& control) = 0;
    virtual void surfaceChanged(Surface& surface) = 0;
    virtual void timerChanged(Timer& timer) = 0;
    virtual void focusChanged(Control& control) = 0;

    // Plays a wave file: asynchronously with snd::kAsync, otherwise it returns when the sound has
    // ended (also when there is no sound device: the call then lasts the sound's length).
    virtual void playSound(const std::string& path, int flags) = 0;
    virtual int msgBox(const std::string& text, int flags, const std::string& title) = 0;
    virtual std::string inputBox(const std::string& prompt, const std::string& title, int left,
                                 int top) = 0;
    virtual void beep() = 0;
    // Size of a picture file; error 53 when missing, 481 when it is not a picture.
    virtual Size pictureSize(const std::string& path) = 0;
    virtual Size screenSize() = 0;
    virtual int bitsPerPixel() = 0;
    // Prepares card drawing and reports the card size; false on failure.
    virtual bool initCards(int& width, int& height) = 0;
    virtual void releaseCards() = 0;
    virtual void openHelp(const std::string& file, int command, int context) = 0;
    virtual bool startProgram(const std::string& path) = 0;
    // Reads a value of the system's registry (a system without one answers kNoKey).
    virtual RegistryValue readRegistry(uint32_t root, const std::string& key,
                                       const std::string& valueName) = 0;
    // Prints a picture with its title and text, after the user chose a printer; false when the
    // user cancelled or printing failed.
    virtual bool printPicture(const PrintJob& job) = 0;
    // Closes every window; the runtime then unwinds whatever is running.
    virtual void endProgram() = 0;
};

}  // namespace bm
