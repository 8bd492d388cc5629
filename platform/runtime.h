#pragma once
// The runtime the game stands on: the user interface, the program folder, the random-number
// generator, the event dispatcher with its run-time error report, waits, and which form is active.
#include <functional>
#include <string>
#include <vector>

#include "platform/ui.h"
#include "platform/vb.h"

namespace bm {

class Form;

class Runtime {
  public:
    // programFolder: the folder that holds the executable and every data file.
    Runtime(Ui& ui, std::string programFolder);
    Runtime(const Runtime&) = delete;
    Runtime& operator=(const Runtime&) = delete;

    Ui& ui() const { return ui_; }
    // The program folder without a trailing separator.
    const std::string& programFolder() const { return folder_; }

    // Rnd and Randomize.
    double rnd() { return random_.next(); }
    void randomize() { random_.randomize(ui_.now()); }
    Random& random() { return random_; }

    // Runs an event handler. A run-time error that no handler trapped is reported as
    // "Run-time error 'N':" with its description, and the program ends with kExitFailure.
    void dispatch(const std::function<void()>& handler);
    // Ends the program at once: every window closes and whatever runs is unwound. The status is
    // the one the process exits with.
    [[noreturn]] void end(int exitCode = 0);
    // Ends the program without unwinding the caller: whatever waits is unwound when it wakes.
    void quit(int exitCode = 0);
    bool ended() const { return ended_; }
    // The number of the run-time error that ended the program, 0 when none did.
    int fatalError() const { return fatalError_; }
    // The status the process exits with: the one given to end() or quit(), kExitFailure after an
    // untrapped run-time error, 0 while the program runs.
    int exitCode() const { return exitCode_; }

    // Waits that handle events meanwhile and never use the processor while idle.
    void doEvents();
    void waitFor(const std::function<bool()>& done);
    void waitSeconds(double seconds);
    void playSound(const std::string& path, int flags);
    // How many waits are running, one inside the other: a handler that waits is still under way.
    int waitDepth() const { return waits_; }
    int msgBox(const std::string& text, int flags = 0, const std::string& title = {});

    // Form bookkeeping for activation: the active form is the front-most visible, enabled form;
    // its Form_Activate runs after the event that made it active.
    void registerForm(Form& f) { forms_.push_back(&f); }
    const std::vector<Form*>& forms() const { return forms_; }
    void formShown(Form& f);
    void formHidden(Form& f);
    // The program ends when its last loaded form has unloaded.
    void formUnloaded();
    Form* activeForm() const { return active_; }

    static constexpr const char* kTitle = "Brindlemoor";
    // The exit status of a program that gave up: an untrapped run-time error, a missing folder,
    // an installation to repair.
    static constexpr int kExitFailure = 1;

  private:
    void setActive(Form* f);
    void checkEnded() const;

    Ui& ui_;
    std::string folder_;
    Random random_;
    bool ended_ = false;
    int fatalError_ = 0;
    int exitCode_ = 0;
    int depth_ = 0;
    int waits_ = 0;
    std::vector<Form*> forms_;
    std::vector<Form*> zOrder_;  // visible forms, back to front
    Form* active_ = nullptr;
};

}  // namespace bm
