#pragma once
// A deterministic user interface: a virtual clock with a queue of due timers, scripted user
// events and dialog answers, and a record of what was shown and played. Waits jump the clock.
#include <deque>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/ui.h"

namespace bm {

class HeadlessUi : public Ui {
  public:
    // A dialog that the test did not script an answer for: it fails the test at once.
    struct UnscriptedDialog : std::logic_error {
        using std::logic_error::logic_error;
    };
    struct Input {
        std::string prompt, title;
        int left, top;
    };
    struct Message {
        std::string text;
        int flags;
        std::string title;
    };
    struct Sound {
        std::string file;  // file name without its folder
        int flags;
        double at;
    };

    double now() override;
    void doEvents() override;
    void waitFor(const std::function<bool()>& done, double deadline) override;
    void pauseUntil(double deadline) override;
    void post(std::function<void()> fn) override { posted_.push_back(std::move(fn)); }
    // Runs the work at once, on the clock's standing moment, and posts `done`; with
    // backgroundWork off (a long soak) the work is dropped.
    void runInBackground(std::function<void()> work, std::function<void()> done) override;

    void formChanged(Form&) override {}
    void controlChanged(Control&) override {}
    void surfaceChanged(Surface&) override {}
    void timerChanged(Timer& timer) override;
    void focusChanged(Control& c) override { focused = &c; }

    void playSound(const std::string& path, int flags) override;
    int msgBox(const std::string& text, int flags, const std::string& title) override;
    std::string inputBox(const std::string& prompt, const std::string& title, int left,
                         int top) override;
    void beep() override { ++beeps; }
    Size pictureSize(const std::string& path) override;
    Size screenSize() override { return screen; }
    int bitsPerPixel() override { return bits; }
    bool initCards(int& width, int& height) override;
    void releaseCards() override {}
    void openHelp(const std::string& file, int command, int context) override;
    bool startProgram(const std::string& path) override;
    RegistryValue readRegistry(uint32_t root, const std::string& key,
                               const std::string& valueName) override;
    bool printPicture(const PrintJob& job) override;
    void endProgram() override { ended = true; }

    // Scripting. A user event scheduled at a virtual moment runs when the clock gets there.
    void at(double moment, std::function<void()> event);
    // Runs the event loop for `seconds` of virtual time.
    void advance(double seconds);
    // Called whenever the user interface is idle and the clock is about to jump: a player bot acts
    // from here. It may deliver user events.
    std::function<void()> agent;

    // Dialog answers, in order. A dialog with no answer left throws UnscriptedDialog.
    std::deque<int> answers;         // message boxes: mb::kAnswerOk, kAnswerYes, kAnswerNo
    std::deque<std::string> inputs;  // input boxes: the text entered ("" also for Cancel)
    std::vector<Message> messages;
    std::vector<Sound> sounds;
    std::vector<std::string> helpOpened;
    std::vector<Input> inputPrompts;
    std::vector<std::string> programsStarted;
    bool startSucceeds = true;
    // Registry values by "key\\value name"; reads are recorded the same way.
    std::map<std::string, RegistryValue> registry;
    std::vector<std::string> registryReads;
    std::vector<PrintJob> printed;
    bool printSucceeds = true;
    Size screen{1024, 768};
    int bits = 24;
    bool cardsFail = false;
    bool backgroundWork = true;
    bool ended = false;
    int beeps = 0;
    Control* focused = nullptr;
    // A wait with nothing left that could end it throws instead of hanging the test.
    static constexpr double kMaxWait = 3600.0;

  private:
    bool runPosted();
    // Advances the clock to the next due moment no later than `limit` and runs what is due then.
    // Returns false when nothing is due before the limit.
    bool step(double limit, bool userInput);

    double clock_ = 1.0;
    std::vector<std::function<void()>> posted_;
    std::map<Timer*, double> timers_;
    std::multimap<double, std::function<void()>> scripted_;
};

}  // namespace bm
