#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

#include "platform/files.h"
#include "platform/qt/printing.h"

namespace bm::qt {

namespace {

// Desktop entries of system-information tools, the dedicated ones before the system monitors that
// also show the system's details.
constexpr const char* kInfoTools[] = {"org.kde.kinfocenter",
                                      "kinfocenter",
                                      "hardinfo2",
                                      "hardinfo",
                                      "cpu-x",
                                      "io.github.thetumultuousunicornofdarkness.cpu-x",
                                      "xfce4-about",
                                      "org.gnome.SystemMonitor",
                                      "gnome-system-monitor",
                                      "mate-system-monitor"};

// The Exec line of an entry's main group, without its field codes ("%U", "%f", ...).
QString execLine(const QString& desktopFile) {
    const std::string bytes = readFileBytes(QFile::encodeName(desktopFile).toStdString(), 64 << 10);
    bool mainGroup = false;
    QString exec;
    for (const QString& raw :
         QString::fromUtf8(bytes.data(), qsizetype(bytes.size())).split('\n')) {
        const QString line = raw.trimmed();
        if (line.startsWith('[')) {
            mainGroup = line == QLatin1String("[Desktop Entry]");
        } else if (mainGroup && line.startsWith(QLatin1String("Exec="))) {
            exec = line.mid(5);
        } else if (mainGroup && line == QLatin1String("Hidden=true")) {
            return {};
        }
    }
    QString out;
    for (qsizetype k = 0; k < exec.size(); ++k) {
        if (exec[k] == '%' && k + 1 < exec.size()) {
            if (exec[k + 1] == '%') out += '%';
            ++k;
            continue;
        }
        out += exec[k];
    }
    return out;
}

QString quoted(const QString& arg) {
    if (!arg.contains(' ') && !arg.contains('"')) return arg;
    QString q = arg;
    q.replace('"', QLatin1String("\"\"\""));
    return '"' + q + '"';
}

}  // namespace

std::string systemInformationProgram() {
    for (const char* tool : kInfoTools) {
        const QString entry = QStandardPaths::locate(QStandardPaths::ApplicationsLocation,
                                                     QString::fromLatin1(tool) + ".desktop");
        if (entry.isEmpty()) continue;
        QStringList parts = QProcess::splitCommand(execLine(entry));
        parts.removeAll(QString());
        if (parts.isEmpty()) continue;
        const QString name = parts.takeFirst();
        const QString program = QFileInfo(name).isAbsolute()
                                    ? (QFileInfo(name).isExecutable() ? name : QString())
                                    : QStandardPaths::findExecutable(name);
        if (program.isEmpty()) continue;
        QString command = parts.isEmpty() ? program : quoted(program);
        for (const QString& arg : parts) command += ' ' + quoted(arg);
        return QFile::encodeName(command).toStdString();
    }
    return {};
}

}  // namespace bm::qt
