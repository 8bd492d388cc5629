// Starts the game: the Qt application, its user interface, the runtime and the first form.
#include <QApplication>

#include "platform/qt/qt_ui.h"
#include "platform/runtime.h"
#include "table/game.h"

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setApplicationName("Brindlemoor");
    QApplication::setApplicationVersion("4.1.1");
    bm::qt::QtUi ui;
    bm::Runtime runtime(ui, QCoreApplication::applicationDirPath().toStdString());
    bm::Game game(runtime);
    game.start();
    if (runtime.ended()) return 0;
    return QApplication::exec();
}
