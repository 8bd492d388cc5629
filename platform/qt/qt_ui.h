#pragma once
// The user interface on real windows: one top-level window per form, Qt timers for the form
// timers, the Qt event loop for every wait. Construct it after the QApplication.
#include <QElapsedTimer>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>

#include "platform/ui.h"

class QObject;
class QPixmap;
class QTimer;
class QWidget;

namespace bm {
class Runtime;
}

namespace bm::qt {

class FormWindow;
class SoundPlayer;

class QtUi : public Ui {
  public:
    QtUi();
    ~QtUi() override;
    QtUi(const QtUi&) = delete;
    QtUi& operator=(const QtUi&) = delete;

    double now() override;
    void doEvents() override;
    void waitFor(const std::function<bool()>& done, double deadline) override;
    void pauseUntil(double deadline) override;
    void post(std::function<void()> fn) override;
    void runInBackground(std::function<void()> work, std::function<void()> done) override;

    void formChanged(Form& form) override;
    void controlChanged(Control& control) override;
    void surfaceChanged(Surface& surface) override;
    void timerChanged(Timer& timer) override;
    void focusChanged(Control& control) override;

    void playSound(const std::string& path, int flags) override;
    int msgBox(const std::string& text, int flags, const std::string& title) override;
    std::string inputBox(const std::string& prompt, const std::string& title, int left,
                         int top) override;
    void beep() override;
    Size pictureSize(const std::string& path) override;
    Size screenSize() override;
    int bitsPerPixel() override;
    bool initCards(int& width, int& height) override;
    void releaseCards() override {}
    void openHelp(const std::string& file, int command, int context) override;
    bool startProgram(const std::string& path) override;
    RegistryValue readRegistry(uint32_t root, const std::string& key,
                               const std::string& valueName) override;
    bool printPicture(const PrintJob& job) override;
    void endProgram() override;

    // The window of a form, made on first request when `create` is set (nullptr otherwise).
    FormWindow* window(Form& form, bool create = true);
    // The scale of the main (first resizable) window once it has been shown, for windows of fixed
    // size; before that a scale suited to the screen.
    double referenceScale() const;
    // A picture file decoded once and kept while the file is unchanged and shown (or recently
    // used); a null pixmap when the file is missing or not a picture. A picture larger than the
    // screen comes decoded at the screen's size, with its own size as its device-independent size.
    QPixmap picture(const std::string& path);
    bool ending() const { return ending_; }
    // Gives the memory freed by now back to the system a second from now, unless a window's size
    // changes first (`sizeChanged`): pages given back come back blank, and a drag in progress
    // would pay a fault for each as it writes them again.
    void trimMemoryLater();
    void sizeChanged();

  private:
    struct PictureEntry;
    struct PictureCache;
    const PictureEntry* pictureEntry(const std::string& path);
    void wait(const std::function<bool()>* done, double deadline, bool userInput);
    QWidget* dialogParent();

    QElapsedTimer clock_;
    std::unique_ptr<QObject> context_;  // receiver of posted calls
    std::unordered_map<Form*, std::unique_ptr<FormWindow>> windows_;
    std::unordered_map<Timer*, std::unique_ptr<QTimer>> timers_;
    std::unique_ptr<SoundPlayer> sound_;
    std::unique_ptr<PictureCache> pictures_;
    std::unique_ptr<QWidget> help_;
    std::unique_ptr<QTimer> trimTimer_;
    FormWindow* main_ = nullptr;
    Runtime* runtime_ = nullptr;
    bool ending_ = false;
};

}  // namespace bm::qt
