#include "platform/qt/module.h"
#include "platform/qt/printing.h"

namespace bm::qt {

bool printPictureThroughModule(const PrintJob& job, QWidget* parent, double fontScale) {
    using Print = decltype(&bmPrintPictureWithDialogs);
    static const auto print = reinterpret_cast<Print>(
        moduleEntry(QStringLiteral(BM_PRINT_MODULE), QStringLiteral(BM_PRINT_MODULE_DIR),
                    "bmPrintPictureWithDialogs"));
    return print && print(job, parent, fontScale);
}

}  // namespace bm::qt
