#include "platform/headless/headless_ui.h"

#include <cmath>
#include <limits>
#include <stdexcept>

#include "platform/controls.h"
#include "platform/files.h"

namespace bm {

namespace {
std::string baseName(const std::string& path) {
    size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}
}  // namespace

double HeadlessUi::now() {
    // Every reading moves the clock on a little, so a loop that keeps reading it (reseeding the
    // random numbers, say) always sees it change.
    clock_ += 1e-6;
    return clock_;
}

bool HeadlessUi::runPosted() {
    if (posted_.empty()) return false;
    auto batch = std::move(posted_);
    posted_.clear();
    for (auto& fn : batch) fn();
    return true;
}

void HeadlessUi::timerChanged(Timer& timer) {
    if (timer.enabled() && timer.interval() > 0)
        timers_[&timer] = clock_ + timer.interval() / 1000.0;
    else
        timers_.erase(&timer);
}

bool HeadlessUi::step(double limit, bool userInput) {
    double next = std::numeric_limits<double>::infinity();
    Timer* dueTimer = nullptr;
    for (auto& [t, due] : timers_)
        if (due < next) next = due, dueTimer = t;
    bool scriptedFirst = false;
    if (userInput && !scripted_.empty() && scripted_.begin()->first <= next) {
        next = scripted_.begin()->first;
        scriptedFirst = true;
    }
    if (next > limit) return false;
    if (next > clock_) clock_ = next;
    if (scriptedFirst) {
        auto fn = std::move(scripted_.begin()->second);
        scripted_.erase(scripted_.begin());
        fn();
    } else {
        // A periodic timer is due again one interval after this tick.
        timers_[dueTimer] = clock_ + dueTimer->interval() / 1000.0;
        dueTimer->fire();
    }
    return true;
}

void HeadlessUi::doEvents() {
    runPosted();
    while (step(clock_, true)) runPosted();
}

void HeadlessUi::waitFor(const std::function<bool()>& done, double deadline) {
    double start = clock_;
    for (;;) {
        runPosted();
        if (done() || ended) return;
        if (clock_ >= deadline) return;
        if (step(clock_, true)) continue;
        if (agent) {
            agent();
            if (!posted_.empty() || done() || ended) continue;
        }
        if (!step(deadline, true)) {
            if (std::isinf(deadline)) throw std::logic_error("headless wait can never end");
            clock_ = deadline;
        }
        if (clock_ - start > kMaxWait) throw std::logic_error("headless wait ran over an hour");
    }
}

void HeadlessUi::pauseUntil(double deadline) {
    while (!ended && step(deadline, false)) runPosted();
    if (clock_ < deadline) clock_ = deadline;
}

void HeadlessUi::advance(double seconds) {
    double until = clock_ + seconds;
    for (;;) {
        runPosted();
        if (ended) return;
        if (step(clock_, true)) continue;
        if (agent) {
            agent();
            if (!posted_.empty()) continue;
        }
        if (!step(until, true)) break;
    }
    if (clock_ < until) clock_ = until;
    runPosted();
}

void HeadlessUi::at(double moment, std::function<void()> event) {
    scripted_.emplace(moment, std::move(event));
}

void HeadlessUi::playSound(const std::string& path, int flags) {
    sounds.push_back({baseName(path), flags, clock_});
    if (!(flags & snd::kAsync)) {
        double length = waveDuration(path);
        if (length <= 0) length = 0.05;
        pauseUntil(clock_ + length);
    }
}

void HeadlessUi::runInBackground(std::function<void()> work, std::function<void()> done) {
    if (!backgroundWork) return;
    work();
    post(std::move(done));
}

int HeadlessUi::msgBox(const std::string& text, int flags, const std::string& title) {
    messages.push_back({text, flags, title});
    if (answers.empty()) throw UnscriptedDialog("message box \"" + title + "\": " + text);
    int a = answers.front();
    answers.pop_front();
    return a;
}

std::string HeadlessUi::inputBox(const std::string& prompt, const std::string& title, int left,
                                 int top) {
    inputPrompts.push_back({prompt, title, left, top});
    if (inputs.empty()) throw UnscriptedDialog("input box \"" + title + "\": " + prompt);
    std::string s = inputs.front();
    inputs.pop_front();
    return s;
}

Size HeadlessUi::pictureSize(const std::string& path) {
    PictureInfo info = probePicture(path);
    return {info.width, info.height};
}

bool HeadlessUi::initCards(int& width, int& height) {
    if (cardsFail) return false;
    width = 71;
    height = 96;
    return true;
}

void HeadlessUi::openHelp(const std::string& file, int command, int context) {
    helpOpened.push_back(baseName(file) + " " + std::to_string(command) + " " +
                         std::to_string(context));
}

bool HeadlessUi::startProgram(const std::string& path) {
    programsStarted.push_back(path);
    return startSucceeds;
}

RegistryValue HeadlessUi::readRegistry(uint32_t root, const std::string& key,
                                       const std::string& valueName) {
    registryReads.push_back(key + "\\" + valueName);
    auto it = registry.find(key + "\\" + valueName);
    if (root != reg::kLocalMachine || it == registry.end()) {
        bool keyExists = false;
        for (const auto& [name, value] : registry) keyExists |= name.rfind(key + "\\", 0) == 0;
        return {keyExists ? RegistryValue::kNoValue : RegistryValue::kNoKey, 0, {}};
    }
    return it->second;
}

bool HeadlessUi::printPicture(const PrintJob& job) {
    printed.push_back(job);
    return printSucceeds;
}

}  // namespace bm
