#include "tests/qt_support.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QTest>

#include "tests/harness.h"

namespace bm::test {

bool waitUntil(const std::function<bool()>& done, double seconds) {
    QDeadlineTimer deadline(static_cast<qint64>(seconds * 1000));
    while (!done()) {
        if (deadline.hasExpired()) return false;
        QApplication::processEvents(QEventLoop::AllEvents, 20);
        QTest::qWait(10);
    }
    return true;
}

void QtProgramTest::SetUp() {
    ASSERT_TRUE(dir.isValid());
    folder = dir.path().toStdString();
    // The sounds and pictures a table needs, as the build would put them there.
    for (const char* name :
         {"takecard.wav", "wrongcrd.wav", "castle1.wav", "newround.wav", "bonus.wav", "stack.wav",
          "hilostart.wav", "hilowin.wav", "hiloloose.wav"})
        writeWave(folder + "/" + name, 0.05);
    writeBmp(folder + "/castle.bmp", 121, 84);
    writeBmp(folder + "/castle2.bmp", 121, 84);
    QDir(dir.path()).mkdir(QStringLiteral("images"));
    for (int k = 0; k < 6; ++k)
        writeBmp(folder + "/images/pic" + std::to_string(k) + ".bmp", 300, 200);
    rt = std::make_unique<Runtime>(ui, folder);
    program = std::make_unique<Program>(*rt);
}

void QtProgramTest::TearDown() {
    program.reset();
    rt.reset();
}

}  // namespace bm::test
