#include "platform/qt/qt_ui.h"

#include <QAbstractEventDispatcher>
#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPixmap>
#include <QProcess>
#include <QScreen>
#include <QScrollBar>
#include <QTextBrowser>
#include <QThreadPool>
#include <QTimer>
#include <QToolBar>
#include <QUrl>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>
#include <list>
#ifdef __GLIBC__
#include <malloc.h>
#endif

#include "platform/controls.h"
#include "platform/errors.h"
#include "platform/files.h"
#include "platform/form.h"
#include "platform/qt/form_window.h"
#include "platform/qt/printing.h"
#include "platform/qt/screen_room.h"
#include "platform/qt/sound.h"
#include "platform/runtime.h"

namespace bm::qt {

namespace {

constexpr int kHelpQuit = 2;  // openHelp command that closes the help window

QString fileName(const std::string& path) {
    return QFile::decodeName(path.c_str());
}

// Standard dialogs use the application's font enlarged like the game's windows.
void scaleFont(QWidget& w, double scale) {
    if (scale <= 1.0) return;
    QFont f = QApplication::font();
    if (f.pointSizeF() > 0)
        f.setPointSizeF(f.pointSizeF() * scale);
    else
        f.setPixelSize(static_cast<int>(std::lround(f.pixelSize() * scale)));
    w.setFont(f);
}

}  // namespace

// Decoded pictures, most recently used first. Pictures are probed by the game and then shown, so
// each file is read once; a changed file is read again. A picture larger than the screen is decoded
// at the screen's size, its pixel ratio keeping its own size as the size it shows at. Pictures that
// no window shows any more are dropped past a few megabytes.
struct QtUi::PictureEntry {
    std::string path;
    unsigned long long stamp;
    QPixmap pixmap;  // null: not a picture
    QSize size;      // the picture's own size
};

struct QtUi::PictureCache {
    using Entry = PictureEntry;
    static constexpr long long kSpareBytes = 24ll << 20;
    static constexpr int kSpareCount = 32;
    std::list<Entry> entries;

    void trim() {
        long long bytes = 0;
        int count = 0;
        for (auto it = entries.begin(); it != entries.end();) {
            // A pixmap that only the cache holds is shown nowhere.
            const bool shown = !it->pixmap.isNull() && !it->pixmap.isDetached();
            if (!shown) {
                bytes += 4ll * it->pixmap.width() * it->pixmap.height();
                if (++count > kSpareCount || bytes > kSpareBytes) {
                    it = entries.erase(it);
                    continue;
                }
            }
            ++it;
        }
    }
};

QtUi::QtUi()
    : context_(std::make_unique<QObject>()),
      sound_(std::make_unique<SoundPlayer>()),
      pictures_(std::make_unique<PictureCache>()) {
    clock_.start();
#ifdef __GLIBC__
    // Window-sized pictures (composed tables, scaled pictures, cards) come and go with the window's
    // size. A fixed threshold gives each its own mapping, so memory goes back to the system when
    // the window shrinks; the default threshold grows with freed blocks and then keeps them.
    mallopt(M_MMAP_THRESHOLD, 4 << 20);
#endif
    // Closing a window unloads its form; whether the program then ends is the game's decision.
    QGuiApplication::setQuitOnLastWindowClosed(false);
}

QtUi::~QtUi() {
    QThreadPool::globalInstance()->waitForDone();
    timers_.clear();
    help_.reset();
    // Owned windows are children of their owner's window: detach them so each is deleted once.
    for (auto& [form, w] : windows_)
        if (w->parentWidget()) w->setParent(nullptr);
    windows_.clear();
}

double QtUi::now() {
    return static_cast<double>(clock_.nsecsElapsed()) / 1e9;
}

void QtUi::doEvents() {
    QCoreApplication::processEvents(QEventLoop::AllEvents);
    QCoreApplication::sendPostedEvents();
}

void QtUi::wait(const std::function<bool()>* done, double deadline, bool userInput) {
    const QEventLoop::ProcessEventsFlags flags =
        QEventLoop::WaitForMoreEvents |
        (userInput ? QEventLoop::AllEvents : QEventLoop::ExcludeUserInputEvents);
    QTimer wake;  // wakes the blocked event loop at the deadline
    wake.setSingleShot(true);
    wake.setTimerType(Qt::PreciseTimer);
    for (;;) {
        if (done ? (*done)() : ending_) return;
        const double left = deadline - now();
        if (left <= 0) return;
        if (std::isfinite(left) && !wake.isActive())
            wake.start(static_cast<int>(std::ceil(std::min(left, 1e6) * 1000)));
        QCoreApplication::processEvents(flags);
    }
}

void QtUi::waitFor(const std::function<bool()>& done, double deadline) {
    wait(&done, deadline, true);
}

void QtUi::pauseUntil(double deadline) {
    wait(nullptr, deadline, false);
    // Input that arrived meanwhile is still queued by the window system's connection, which only
    // looks at its queue again when woken: wake it so the input is handled now, not at the next
    // unrelated event.
    if (QAbstractEventDispatcher* d = QCoreApplication::eventDispatcher()) d->wakeUp();
}

void QtUi::post(std::function<void()> fn) {
    QMetaObject::invokeMethod(context_.get(), std::move(fn), Qt::QueuedConnection);
}

void QtUi::runInBackground(std::function<void()> work, std::function<void()> done) {
    QObject* context = context_.get();
    QThreadPool::globalInstance()->start([work = std::move(work), done = std::move(done), context] {
        work();
        // The pool is drained before the receiver goes, so it is still there.
        QMetaObject::invokeMethod(context, done, Qt::QueuedConnection);
    });
}

FormWindow* QtUi::window(Form& form, bool create) {
    auto it = windows_.find(&form);
    if (it != windows_.end()) return it->second.get();
    if (!create) return nullptr;
    runtime_ = &form.runtime();
    auto w = std::make_unique<FormWindow>(*this, form);
    FormWindow* raw = w.get();
    windows_.emplace(&form, std::move(w));
    return raw;
}

void QtUi::trimMemoryLater() {
#ifdef __GLIBC__
    if (!trimTimer_) {
        trimTimer_ = std::make_unique<QTimer>();
        trimTimer_->setSingleShot(true);
        trimTimer_->setInterval(1000);
        QObject::connect(trimTimer_.get(), &QTimer::timeout, [] { malloc_trim(0); });
    }
    trimTimer_->start();
#endif
}

void QtUi::sizeChanged() {
    if (trimTimer_) trimTimer_->stop();
}

double QtUi::referenceScale() const {
    const QScreen* sc = QGuiApplication::primaryScreen();
    // Quarter steps of the screen's height over 800 pixels, never below 1.
    const double screen =
        sc ? std::max(1.0, std::round(sc->availableGeometry().height() / 800.0 * 4) / 4) : 1.0;
    // While the main window's form is loaded, the forms shown over it follow its scale, so they
    // match it; but a main window the player has made small leaves them no smaller than the
    // screen's own scale, and once it has gone the other forms take that scale again.
    if (main_ && main_->form().loaded()) return std::max(screen, main_->scale());
    return screen;
}

void QtUi::formChanged(Form& form) {
    runtime_ = &form.runtime();
    FormWindow* w = window(form, form.loaded());
    if (!w) return;
    w->formChanged();
    if (!main_ && form.border() == Border::Sizable && w->isVisible()) main_ = w;
}

void QtUi::controlChanged(Control& control) {
    Form& form = control.form();
    if (FormWindow* w = window(form, form.loaded())) w->controlChanged(control);
}

void QtUi::surfaceChanged(Surface& surface) {
    Form& form = surface.form();
    if (FormWindow* w = window(form, form.loaded())) w->surfaceChanged(surface);
}

void QtUi::focusChanged(Control& control) {
    Form& form = control.form();
    if (FormWindow* w = window(form, form.loaded())) w->focusChanged(control);
}

void QtUi::timerChanged(Timer& timer) {
    auto it = timers_.find(&timer);
    if (!ending_ && timer.enabled() && timer.interval() > 0) {
        if (it == timers_.end()) {
            auto q = std::make_unique<QTimer>();
            Timer* t = &timer;
            QObject::connect(q.get(), &QTimer::timeout, q.get(), [t] { t->fire(); });
            it = timers_.emplace(&timer, std::move(q)).first;
        }
        QTimer& q = *it->second;
        const int interval = timer.interval();
        if (q.isActive() && q.interval() == interval) return;
        q.setTimerType(interval < 20 ? Qt::PreciseTimer : Qt::CoarseTimer);
        q.start(interval);
    } else if (it != timers_.end()) {
        it->second->stop();
    }
}

void QtUi::playSound(const std::string& path, int flags) {
    if (ending_) return;
    const double length = sound_->play(path);
    if (!(flags & snd::kAsync)) pauseUntil(now() + length);
}

QWidget* QtUi::dialogParent() {
    if (runtime_)
        if (Form* f = runtime_->activeForm())
            if (FormWindow* w = window(*f, false); w && w->isVisible()) return w;
    return QApplication::activeWindow();
}

int QtUi::msgBox(const std::string& text, int flags, const std::string& title) {
    const bool yesNo = (flags & 7) == mb::kYesNo;
    QMessageBox box(dialogParent());
    box.setObjectName(QStringLiteral("MessageBox"));
    scaleFont(box, referenceScale());
    box.setWindowTitle(toQString(title));
    box.setTextFormat(Qt::PlainText);
    box.setText(toDisplayLines(text));
    box.setIcon(flags & mb::kInformation ? QMessageBox::Information : QMessageBox::NoIcon);
    if (yesNo) {
        box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
        box.setDefaultButton(QMessageBox::Yes);
    } else {
        box.setStandardButtons(QMessageBox::Ok);
    }
    const int answer = box.exec();
    if (!yesNo) return mb::kAnswerOk;
    return answer == QMessageBox::Yes ? mb::kAnswerYes : mb::kAnswerNo;
}

std::string QtUi::inputBox(const std::string& prompt, const std::string& title, int left, int top) {
    QDialog dialog(dialogParent());
    dialog.setObjectName(QStringLiteral("InputBox"));
    scaleFont(dialog, referenceScale());
    dialog.setWindowTitle(toQString(title));
    auto* layout = new QVBoxLayout(&dialog);
    auto* label = new QLabel(toDisplayLines(prompt), &dialog);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    auto* edit = new QLineEdit(&dialog);
    edit->setObjectName(QStringLiteral("InputText"));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    layout->addWidget(label);
    layout->addWidget(edit);
    layout->addWidget(buttons);
    dialog.setMinimumWidth(static_cast<int>(360 * std::max(1.0, referenceScale())));
    if (left > 0 && top > 0) {
        // The position is given in twips (15 to a pixel) from the screen's top-left corner.
        dialog.adjustSize();
        const QScreen* sc = QGuiApplication::primaryScreen();
        const QRect avail = sc ? sc->availableGeometry() : QRect(0, 0, 800, 600);
        QPoint at = (sc ? sc->geometry().topLeft() : QPoint()) + QPoint(left / 15, top / 15);
        at.setX(std::clamp(at.x(), avail.left(),
                           std::max(avail.left(), avail.right() + 1 - dialog.width())));
        at.setY(std::clamp(at.y(), avail.top(),
                           std::max(avail.top(), avail.bottom() + 1 - dialog.height())));
        dialog.move(at);
    }
    if (dialog.exec() != QDialog::Accepted) return {};
    return fromQString(edit->text());
}

void QtUi::beep() {
    QApplication::beep();
}

const QtUi::PictureEntry* QtUi::pictureEntry(const std::string& path) {
    if (path.empty()) return nullptr;
    const unsigned long long stamp = fileStamp(path);
    if (stamp == 0) return nullptr;
    auto& entries = pictures_->entries;
    for (auto it = entries.begin(); it != entries.end(); ++it) {
        if (it->path != path) continue;
        if (it->stamp == stamp) {
            entries.splice(entries.begin(), entries, it);
            return &entries.front();
        }
        entries.erase(it);
        break;
    }
    QImageReader reader(fileName(path));
    const QSize size = reader.size();
    // No window shows a picture sharper than the largest screen can.
    int largest = 0;
    for (const QScreen* sc : QGuiApplication::screens())
        largest = std::max(
            largest,
            static_cast<int>(std::ceil(std::max(sc->geometry().width(), sc->geometry().height()) *
                                       sc->devicePixelRatio())));
    largest = std::max(largest, 1024);
    if (size.isValid() && (size.width() > largest || size.height() > largest))
        reader.setScaledSize(size.scaled(largest, largest, Qt::KeepAspectRatio).expandedTo({1, 1}));
    QImage image = reader.read();
    if (!image.isNull() && size.isValid() && image.width() != size.width())
        image.setDevicePixelRatio(double(image.width()) / size.width());
    const QSize own = image.isNull() ? QSize() : size.isValid() ? size : image.size();
    QPixmap pixmap = image.isNull() ? QPixmap() : QPixmap::fromImage(std::move(image));
    entries.push_front({path, stamp, std::move(pixmap), own});
    pictures_->trim();
    return &entries.front();
}

QPixmap QtUi::picture(const std::string& path) {
    const PictureEntry* e = pictureEntry(path);
    return e ? e->pixmap : QPixmap();
}

Size QtUi::pictureSize(const std::string& path) {
    if (!fileExists(path)) raise(err::kFileNotFound);
    const PictureEntry* e = pictureEntry(path);
    if (!e || e->pixmap.isNull()) raise(err::kInvalidPicture);
    return {e->size.width(), e->size.height()};
}

Size QtUi::screenSize() {
    const QScreen* sc = QGuiApplication::primaryScreen();
    if (!sc) return {800, 600};
    const QRect avail = sc->availableGeometry();
    return {avail.width(), avail.height()};
}

int QtUi::bitsPerPixel() {
    const QScreen* sc = QGuiApplication::primaryScreen();
    return sc ? sc->depth() : 24;
}

bool QtUi::initCards(int& width, int& height) {
    width = kCardWidth;
    height = kCardHeight;
    return true;
}

void QtUi::openHelp(const std::string& file, int command, int context) {
    if (command == kHelpQuit) {
        if (help_) help_->hide();
        return;
    }
    // The help is an HTML document (plain text is shown as it is), whatever its file is called.
    const QString name = fileName(file);
    const QFileInfo info(name);
    QString reason;
    QByteArray bytes;
    if (!info.exists()) {
        reason = QStringLiteral("The help file %1 was not found.").arg(name);
    } else if (!info.isFile()) {
        reason = QStringLiteral("%1 is not a file.").arg(name);
    } else {
        QFile in(name);
        if (!in.open(QIODevice::ReadOnly))
            reason = QStringLiteral("The help file %1 could not be read: %2.")
                         .arg(name, in.errorString());
        else if ((bytes = in.read(4 << 20)).isEmpty())
            reason = QStringLiteral("The help file %1 is empty.").arg(name);
        else if (bytes.contains('\0'))
            reason = QStringLiteral("The file %1 is not a help document.").arg(name);
    }
    if (!reason.isEmpty()) {
        msgBox("Help is not available.\r\r" + fromQString(reason), mb::kInformation,
               Runtime::kTitle);
        return;
    }
    if (!help_) {
        auto* dialog = new QDialog(nullptr, Qt::Window);
        dialog->setObjectName(QStringLiteral("HelpWindow"));
        scaleFont(*dialog, referenceScale());
        auto* layout = new QVBoxLayout(dialog);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->setSpacing(0);
        auto* bar = new QToolBar(dialog);
        bar->setObjectName(QStringLiteral("HelpToolBar"));
        bar->setToolButtonStyle(Qt::ToolButtonTextOnly);
        auto* browser = new QTextBrowser(dialog);
        browser->setObjectName(QStringLiteral("HelpText"));
        browser->setOpenExternalLinks(true);
        QAction* back = bar->addAction(QStringLiteral("Back"), browser, &QTextBrowser::backward);
        QAction* forward =
            bar->addAction(QStringLiteral("Forward"), browser, &QTextBrowser::forward);
        QAction* contents = bar->addAction(QStringLiteral("Contents"), browser, [browser] {
            // The top of the document holds its list of contents.
            QUrl top = browser->source();
            top.setFragment(QString());
            browser->setSource(top, QTextDocument::HtmlResource);
            browser->verticalScrollBar()->setValue(0);
        });
        back->setObjectName(QStringLiteral("HelpBack"));
        forward->setObjectName(QStringLiteral("HelpForward"));
        contents->setObjectName(QStringLiteral("HelpContents"));
        back->setShortcut(QKeySequence::Back);
        forward->setShortcut(QKeySequence::Forward);
        back->setEnabled(false);
        forward->setEnabled(false);
        QObject::connect(browser, &QTextBrowser::backwardAvailable, back, &QAction::setEnabled);
        QObject::connect(browser, &QTextBrowser::forwardAvailable, forward, &QAction::setEnabled);
        layout->addWidget(bar);
        layout->addWidget(browser);
        dialog->resize(
            onScreen((QSizeF(640, 520) * std::max(1.0, referenceScale())).toSize(), dialog));
        help_.reset(dialog);
    }
    auto* browser = help_->findChild<QTextBrowser*>(QStringLiteral("HelpText"));
    const qsizetype first = bytes.indexOf('<');
    const bool html = first >= 0 && bytes.left(first).trimmed().isEmpty();
    if (html) {
        // Context n is the topic under the anchor "context-n"; without one, the document's top.
        QUrl url = QUrl::fromLocalFile(info.absoluteFilePath());
        const QString anchor = QStringLiteral("context-%1").arg(context);
        if (bytes.contains(("\"" + anchor + "\"").toLatin1())) url.setFragment(anchor);
        browser->setSource(url, QTextDocument::HtmlResource);
        if (!url.hasFragment()) browser->verticalScrollBar()->setValue(0);
    } else {
        browser->setPlainText(toDisplayLines(std::string(bytes.constData(), bytes.size())));
    }
    help_->setWindowTitle(QStringLiteral("%1 Help").arg(QLatin1String(Runtime::kTitle)));
    help_->show();
    help_->raise();
    help_->activateWindow();
}

bool QtUi::startProgram(const std::string& path) {
    const QString command = fileName(path);
    if (QFileInfo(command).isFile()) return QProcess::startDetached(command, {});
    QStringList parts = QProcess::splitCommand(command);
    if (parts.isEmpty()) return false;
    const QString program = parts.takeFirst();
    return QProcess::startDetached(program, parts);
}

RegistryValue QtUi::readRegistry(uint32_t root, const std::string& key,
                                 const std::string& valueName) {
    // There is no registry here. The one value the game asks for, the path of the system's
    // information tool, is answered with the desktop's own tool when one is installed.
    if (root != reg::kLocalMachine || key != "SOFTWARE\\Microsoft\\Shared Tools\\MSINFO" ||
        valueName != "PATH")
        return {};
    const std::string program = systemInformationProgram();
    if (program.empty()) return {};
    return {RegistryValue::kOk, reg::kText, program + '\0'};
}

bool QtUi::printPicture(const PrintJob& job) {
    if (ending_) return false;
    return printPictureThroughModule(job, dialogParent(), referenceScale());
}

void QtUi::endProgram() {
    if (ending_) return;
    ending_ = true;
    for (auto& [timer, q] : timers_) q->stop();
    sound_->stopAll();
    if (help_) help_->hide();
    for (auto& [form, w] : windows_) w->hideForEnd();
    // The runtime has set the status before it asks the front end to end.
    const int status = runtime_ ? runtime_->exitCode() : 0;
    QCoreApplication::exit(status);
    // Also when the main event loop has not started yet: it then ends as soon as it runs.
    QMetaObject::invokeMethod(
        QCoreApplication::instance(), [status] { QCoreApplication::exit(status); },
        Qt::QueuedConnection);
}

}  // namespace bm::qt
