#include "platform/qt/printing.h"

#include <QApplication>
#include <QFile>
#include <QFont>
#include <QFontMetricsF>
#include <QImageReader>
#include <QPainter>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <algorithm>
#include <cmath>

#include "platform/qt/screen_room.h"

namespace bm::qt {

namespace {

QString latin1(const std::string& text) {
    return QString::fromLatin1(text.data(), static_cast<qsizetype>(text.size()));
}

// The job's font at a size in points. Arial is looked for first; where it is missing, a font with
// the same metrics stands in, so the page looks as laid out.
QFont printFont(const std::string& family, double points, bool bold) {
    static const bool substituted = [] {
        QFont::insertSubstitutions(QStringLiteral("Arial"),
                                   {QStringLiteral("Liberation Sans"), QStringLiteral("Arimo"),
                                    QStringLiteral("DejaVu Sans")});
        return true;
    }();
    (void)substituted;
    QFont font(latin1(family));
    font.setStyleHint(QFont::SansSerif);
    font.setPointSizeF(points);
    font.setBold(bold);
    return font;
}

QImage readPicture(const std::string& path) {
    QImageReader reader(QFile::decodeName(path.c_str()));
    reader.setAutoTransform(true);
    return reader.read();
}

}  // namespace

bool printPictureTo(QPrinter& printer, const PrintJob& job) {
    const QImage picture = readPicture(job.picture);
    if (picture.isNull()) return false;
    QPainter p;
    if (!p.begin(&printer)) return false;
    p.setRenderHint(QPainter::SmoothPixmapTransform);
    p.setRenderHint(QPainter::TextAntialiasing);

    // Painter coordinates start at the printable area's top-left corner.
    const QSizeF area = printer.pageLayout().paintRectPixels(printer.resolution()).size();
    const double gap = printer.resolution() / 4.0;  // a quarter inch
    const int wrap = Qt::AlignHCenter | Qt::TextWordWrap;

    const QString title = latin1(job.title);
    p.setFont(printFont(job.font, 18, true));
    const QRectF titleBox =
        title.isEmpty() ? QRectF()
                        : p.boundingRect(QRectF(0, 0, area.width(), area.height()), wrap, title);
    const double titleHeight = title.isEmpty() ? 0 : std::min(titleBox.height(), area.height() / 5);

    QString text = latin1(job.text).trimmed();
    text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    text.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    const QFont textFont = printFont(job.font, 11, false);
    p.setFont(textFont);
    const QRectF textBox = text.isEmpty()
                               ? QRectF()
                               : p.boundingRect(QRectF(0, 0, area.width(), area.height()),
                                                Qt::AlignLeft | Qt::TextWordWrap, text);
    // The text may take up to a third of the page; the picture has the rest.
    const double textHeight = text.isEmpty() ? 0 : std::min(textBox.height(), area.height() / 3);

    double top = 0;
    if (titleHeight > 0) {
        p.setFont(printFont(job.font, 18, true));
        p.drawText(QRectF(0, 0, area.width(), titleHeight), wrap, title);
        top = titleHeight + gap;
    }
    const double room = area.height() - top - (textHeight > 0 ? textHeight + gap : 0);
    QSizeF shown = QSizeF(picture.size())
                       .scaled(QSizeF(area.width(), std::max(1.0, room)), Qt::KeepAspectRatio);
    const QRectF pictureBox((area.width() - shown.width()) / 2, top, shown.width(), shown.height());
    p.drawImage(pictureBox, picture);
    if (textHeight > 0) {
        p.setFont(textFont);
        p.drawText(QRectF(0, pictureBox.bottom() + gap, area.width(), textHeight),
                   Qt::AlignLeft | Qt::TextWordWrap, text);
    }
    return p.end();
}

bool printPictureWithDialogs(const PrintJob& job, QWidget* parent, double fontScale) {
    const QImage picture = readPicture(job.picture);
    if (picture.isNull()) return false;
    QPrinter printer(QPrinter::HighResolution);
    printer.setDocName(latin1(job.title));
    printer.setPageOrientation(picture.width() > picture.height() ? QPageLayout::Landscape
                                                                  : QPageLayout::Portrait);
    QPrintPreviewDialog preview(&printer, parent);
    preview.setObjectName(QStringLiteral("PrintPreview"));
    preview.setWindowTitle(QStringLiteral("Print Picture"));
    if (fontScale > 1.0) {
        QFont f = QApplication::font();
        if (f.pointSizeF() > 0) f.setPointSizeF(f.pointSizeF() * fontScale);
        preview.setFont(f);
    }
    if (parent) preview.resize(onScreen(parent->size().expandedTo(QSize(720, 560)), parent));
    bool printed = true;
    QObject::connect(&preview, &QPrintPreviewDialog::paintRequested, &preview,
                     [&](QPrinter* target) { printed = printPictureTo(*target, job); });
    // The preview is accepted only once its print button's dialog was accepted and the page
    // printed; closing either prints nothing.
    if (preview.exec() != QDialog::Accepted) return false;
    return printed;
}

}  // namespace bm::qt
