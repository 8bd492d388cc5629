// Printing a picture for real, to a PDF file, and finding the desktop's system-information tool.
#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QLibrary>
#include <QPainter>
#include <QPrinter>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTimer>

#include "platform/qt/printing.h"

namespace bm::qt {
namespace {

QByteArray readAll(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

// A picture of two colours, so its orientation shows in a rendering.
QString writePicture(const QTemporaryDir& dir, int width, int height) {
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(QColor(0x20, 0x60, 0xA0));
    QPainter(&image).fillRect(0, 0, width / 2, height / 3, QColor(0xE0, 0xC0, 0x30));
    const QString path = dir.filePath(QStringLiteral("harbour.night.bmp"));
    EXPECT_TRUE(image.save(path, "BMP"));
    return path;
}

TEST(Print, OnePageWithThePictureTitleAndText) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString picture = writePicture(dir, 300, 200);
    const QString pdf = dir.filePath(QStringLiteral("out.pdf"));
    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(pdf);
    PrintJob job{"Wenna's Picture Show", picture.toStdString(),
                 std::string(40, ' ') +
                     "The harbour at night, with the lights of the boats.\r"
                     "A second line." +
                     std::string(300, ' '),
                 "Arial"};
    ASSERT_TRUE(printPictureTo(printer, job));

    const QByteArray bytes = readAll(pdf);
    ASSERT_TRUE(bytes.startsWith("%PDF"));
    // Exactly one page object, and the picture embedded once as an image at its own pixel size.
    static const QRegularExpression page(QStringLiteral("/Type\\s*/Page[^s]"));
    EXPECT_EQ(QString::fromLatin1(bytes).count(page), 1);
    EXPECT_EQ(bytes.count("/Subtype /Image"), 1);
    EXPECT_TRUE(bytes.contains("/Width 300"));
    EXPECT_TRUE(bytes.contains("/Height 200"));
    // The title and the text are set in a font embedded in the file.
    EXPECT_TRUE(bytes.contains("/FontFile"));
}

TEST(Print, UnreadablePicturePrintsNothing) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString pdf = dir.filePath(QStringLiteral("out.pdf"));
    QFile bad(dir.filePath(QStringLiteral("bad.jpg")));
    ASSERT_TRUE(bad.open(QIODevice::WriteOnly));
    bad.write("not a picture");
    bad.close();
    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(pdf);
    EXPECT_FALSE(printPictureTo(printer, {"T", bad.fileName().toStdString(), "", "Arial"}));
    EXPECT_FALSE(
        printPictureTo(printer, {"T", dir.filePath("gone.bmp").toStdString(), "", "Arial"}));
    EXPECT_FALSE(QFile::exists(pdf));
}

TEST(Print, ClosingThePreviewPrintsNothing) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString picture = writePicture(dir, 120, 160);
    bool shown = false;
    QTimer::singleShot(50, [&] {
        if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget())) {
            shown = dialog->objectName() == QLatin1String("PrintPreview");
            dialog->reject();
        }
    });
    EXPECT_FALSE(
        printPictureWithDialogs({"T", picture.toStdString(), "text", "Arial"}, nullptr, 1));
    EXPECT_TRUE(shown);
}

TEST(SystemInformation, TakesTheFirstKnownToolThatIsInstalled) {
    QTemporaryDir home, data;
    ASSERT_TRUE(home.isValid() && data.isValid());
    const QByteArray oldHome = qgetenv("XDG_DATA_HOME"), oldDirs = qgetenv("XDG_DATA_DIRS");
    qputenv("XDG_DATA_HOME", home.path().toLocal8Bit());
    qputenv("XDG_DATA_DIRS", data.path().toLocal8Bit());
    EXPECT_EQ(systemInformationProgram(), "");

    QDir(data.path()).mkpath(QStringLiteral("applications"));
    auto entry = [&](const char* name, const QByteArray& body) {
        QFile f(data.filePath(QStringLiteral("applications/%1.desktop").arg(name)));
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write("[Desktop Entry]\nType=Application\nName=Info\n" + body);
    };
    // A tool that is listed first but not installed is passed over; field codes are dropped.
    entry("kinfocenter", "Exec=no-such-info-tool-here %U\n");
    entry("hardinfo", "Exec=env %f\n[Desktop Action Report]\nExec=env --report\n");
    const std::string env = QStandardPaths::findExecutable(QStringLiteral("env")).toStdString();
    ASSERT_FALSE(env.empty());
    EXPECT_EQ(systemInformationProgram(), env);
    entry("cpu-x", "Exec=true\n");
    entry("hardinfo", "Exec=env -i \"A B\"\n");
    EXPECT_EQ(systemInformationProgram(), env + " -i \"A B\"");

    for (auto [name, old] : {std::pair{"XDG_DATA_HOME", oldHome}, {"XDG_DATA_DIRS", oldDirs}}) {
        if (old.isEmpty())
            qunsetenv(name);
        else
            qputenv(name, old);
    }
}

// The game loads printing as a module on the first print: the built module must offer its entry.
TEST(PrintModule, OffersItsEntryPoint) {
    QLibrary module(QStringLiteral(BM_PRINT_MODULE_PATH));
    EXPECT_NE(module.resolve("bmPrintPictureWithDialogs"), nullptr)
        << qPrintable(module.errorString());
}

}  // namespace
}  // namespace bm::qt
