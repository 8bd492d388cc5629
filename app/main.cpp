// Starts the game: the Qt application, its user interface, the runtime and the first form.
#include <QApplication>

#include "platform/qt/qt_ui.h"
#include "platform/runtime.h"
#include "program/program.h"

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setApplicationName("Brindlemoor");
    QApplication::setApplicationVersion(QStringLiteral(BM_VERSION));
    bm::qt::QtUi ui;
    bm::Runtime runtime(ui, QCoreApplication::applicationDirPath().toStdString());
    bm::Program program(runtime);
    program.start();
    // A program that gave up (a run-time error, a missing folder) exits with a failure status.
    if (runtime.ended()) return runtime.exitCode();
    const int status = QApplication::exec();
    return runtime.ended() ? runtime.exitCode() : status;
}
