#include <QCoreApplication>
#include <QDir>
#include <QLibrary>

#include "platform/qt/printing.h"

namespace bm::qt {

bool printPictureThroughModule(const PrintJob& job, QWidget* parent, double fontScale) {
    using Print = bool (*)(const PrintJob&, QWidget*, double);
    static const Print print = [] {
        for (const QString& folder :
             {QCoreApplication::applicationDirPath(), QStringLiteral(BM_PRINT_MODULE_DIR)}) {
            // Left loaded for the rest of the run, like any library linked at start.
            QLibrary module(QDir(folder).filePath(QStringLiteral(BM_PRINT_MODULE)));
            if (auto found = reinterpret_cast<Print>(module.resolve("bmPrintPictureWithDialogs")))
                return found;
        }
        return Print{};
    }();
    return print && print(job, parent, fontScale);
}

}  // namespace bm::qt
