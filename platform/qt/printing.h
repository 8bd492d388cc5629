#pragma once
// Printing of a picture with its title and text, and the desktop's system-information tool.
#include <string>

#include "platform/ui.h"

class QPrinter;
class QWidget;

namespace bm::qt {

// Paints one page: the title centred at the top, the picture below it scaled to fit the rest of
// the page with its aspect kept, and the text below the picture, all in the job's font (Arial, or
// a sans-serif of the same metrics where Arial is not installed). False when the picture cannot
// be read or the printer cannot be painted on; nothing is printed then.
bool printPictureTo(QPrinter& printer, const PrintJob& job);

// Shows a preview of the page; its print button opens the system's print dialog, which also
// offers printing to a PDF file. False when the user cancelled either or printing failed.
bool printPictureWithDialogs(const PrintJob& job, QWidget* parent, double fontScale);

// The same through the print module, loaded on first use: the program does not load and relocate
// the print-support library at start for a picture show that may never print. False also when
// the module cannot be loaded.
bool printPictureThroughModule(const PrintJob& job, QWidget* parent, double fontScale);

// The program of the desktop's system-information tool, found through the desktop entries of a
// few known tools and then on the PATH; arguments the entry gives follow it. Empty when none is
// installed.
std::string systemInformationProgram();

}  // namespace bm::qt

// The print module's one entry point (printPictureWithDialogs).
extern "C" bool bmPrintPictureWithDialogs(const bm::PrintJob& job, QWidget* parent,
                                          double fontScale);
