#include "platform/qt/module.h"

#include <QCoreApplication>
#include <QDir>
#include <QLibrary>

namespace bm::qt {

QFunctionPointer moduleEntry(const QString& fileName, const QString& builtInto,
                             const char* symbol) {
    for (const QString& folder : {QCoreApplication::applicationDirPath(), builtInto}) {
        // QLibrary leaves the module loaded when it goes out of scope.
        QLibrary module(QDir(folder).filePath(fileName));
        if (QFunctionPointer entry = module.resolve(symbol)) return entry;
    }
    return nullptr;
}

}  // namespace bm::qt
