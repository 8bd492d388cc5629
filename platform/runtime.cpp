#include "platform/runtime.h"

#include <algorithm>
#include <limits>

#include "platform/errors.h"
#include "platform/form.h"

namespace bm {

Runtime::Runtime(Ui& ui, std::string programFolder) : ui_(ui), folder_(std::move(programFolder)) {
    while (folder_.size() > 1 && folder_.back() == '/') folder_.pop_back();
}

void Runtime::dispatch(const std::function<void()>& handler) {
    if (ended_) return;
    ++depth_;
    try {
        handler();
    } catch (const RuntimeError& e) {
        if (!ended_) {
            fatalError_ = e.number();
            try {
                ui_.msgBox("Run-time error '" + std::to_string(e.number()) + "':\r\r" + e.what(), 0,
                           kTitle);
            } catch (...) {
            }
            quit(kExitFailure);
        }
    } catch (const ProgramEnded&) {
    }
    --depth_;
}

void Runtime::quit(int exitCode) {
    if (ended_) return;
    ended_ = true;
    exitCode_ = exitCode;
    ui_.endProgram();
}

void Runtime::end(int exitCode) {
    quit(exitCode);
    throw ProgramEnded{};
}

void Runtime::checkEnded() const {
    if (ended_) throw ProgramEnded{};
}

void Runtime::doEvents() {
    checkEnded();
    ui_.doEvents();
    checkEnded();
}

namespace {
struct WaitCount {
    explicit WaitCount(int& n) : n_(n) { ++n_; }
    ~WaitCount() { --n_; }
    int& n_;
};
}  // namespace

void Runtime::waitFor(const std::function<bool()>& done) {
    checkEnded();
    WaitCount count(waits_);
    ui_.waitFor([&] { return ended_ || done(); }, std::numeric_limits<double>::infinity());
    checkEnded();
}

void Runtime::waitSeconds(double seconds) {
    checkEnded();
    WaitCount count(waits_);
    double until = ui_.now() + seconds;
    ui_.waitFor([&] { return ended_; }, until);
    checkEnded();
}

void Runtime::playSound(const std::string& path, int flags) {
    checkEnded();
    WaitCount count(waits_);
    ui_.playSound(path, flags);
    checkEnded();
}

int Runtime::msgBox(const std::string& text, int flags, const std::string& title) {
    checkEnded();
    int answer = ui_.msgBox(text, flags, title.empty() ? kTitle : title);
    checkEnded();
    return answer;
}

void Runtime::formShown(Form& f) {
    std::erase(zOrder_, &f);
    zOrder_.push_back(&f);
    if (f.enabled()) setActive(&f);
}

void Runtime::formHidden(Form& f) {
    std::erase(zOrder_, &f);
    if (active_ != &f) return;
    active_ = nullptr;
    for (auto it = zOrder_.rbegin(); it != zOrder_.rend(); ++it) {
        if ((*it)->visible() && (*it)->enabled()) {
            setActive(*it);
            return;
        }
    }
}

void Runtime::formUnloaded() {
    if (std::none_of(forms_.begin(), forms_.end(), [](const Form* f) { return f->loaded(); }))
        quit();
}

void Runtime::setActive(Form* f) {
    if (active_ == f) return;
    active_ = f;
    ui_.post([this, f] {
        if (active_ == f && f->loaded() && f->visible()) dispatch([f] { f->Form_Activate(); });
    });
}

}  // namespace bm
