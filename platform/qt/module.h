#pragma once
// Parts of the program built as modules of their own, loaded on first use so that the libraries
// they need are not loaded and relocated at start.
#include <QString>
#include <QtGlobal>

namespace bm::qt {

// The entry `symbol` of the module `fileName`, looked for beside the executable and then in
// `builtInto`, where the build put it. The module stays loaded for the rest of the run. Null when
// neither place has it.
QFunctionPointer moduleEntry(const QString& fileName, const QString& builtInto, const char* symbol);

}  // namespace bm::qt
