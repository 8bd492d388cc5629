// The print module: the printing code and the print-support library, loaded on the first print.
#include <QtGlobal>

#include "platform/qt/printing.h"

extern "C" Q_DECL_EXPORT bool bmPrintPictureWithDialogs(const bm::PrintJob& job, QWidget* parent,
                                                        double fontScale) {
    return bm::qt::printPictureWithDialogs(job, parent, fontScale);
}
