#include "DesktopEntry.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QSaveFile>
#include <QStandardPaths>
#include <QTextStream>

#include "DropboxClientsManager.h"

namespace {

constexpr int kXdgMimeTimeoutMs = 15000;

// A string value of the entry keeps its backslashes and line breaks escaped.
QString escapedValue(QString value) {
    value.replace(QLatin1Char('\\'), QStringLiteral("\\\\"));
    value.replace(QLatin1Char('\n'), QStringLiteral("\\n"));
    value.replace(QLatin1Char('\r'), QStringLiteral("\\r"));
    return value;
}

// The program of an Exec line: a path with reserved characters goes in
// double quotes with its own escapes, and then through the string escapes.
QString execProgram(const QString& path) {
    static const QRegularExpression plain(QStringLiteral("^[A-Za-z0-9/._+,:@=-]+$"));
    if (plain.match(path).hasMatch()) {
        return path;
    }
    QString quoted;
    for (const QChar c : path) {
        if (c == QLatin1Char('"') || c == QLatin1Char('`') || c == QLatin1Char('$') ||
            c == QLatin1Char('\\')) {
            quoted += QLatin1Char('\\');
        }
        quoted += c;
    }
    quoted.replace(QLatin1Char('%'), QStringLiteral("%%"));
    return escapedValue(QLatin1Char('"') + quoted + QLatin1Char('"'));
}

}  // namespace

QString DesktopEntry::contents(const QString& executable, const QString& appKey) {
    QFile file(QStringLiteral(":/desktop/corvantis.desktop.in"));
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("The desktop entry's template is missing from the binary");
    }
    QStringList lines;
    for (const QString& line : QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'))) {
        if (line.contains(QLatin1String("@APP_KEY@")) && appKey.isEmpty()) {
            continue;
        }
        QString filled = line;
        filled.replace(QLatin1String("@EXEC@"), execProgram(executable));
        filled.replace(QLatin1String("@TRY_EXEC@"), escapedValue(executable));
        filled.replace(QLatin1String("@APP_KEY@"), appKey);
        lines.append(filled);
    }
    return lines.join(QLatin1Char('\n'));
}

QString DesktopEntry::applicationsDirectory() {
    return QStandardPaths::writableLocation(QStandardPaths::ApplicationsLocation);
}

int DesktopEntry::install() {
    QTextStream out(stdout);
    QTextStream err(stderr);
    const QString key = DropboxClientsManager::appKeyFromConfiguration();
    const QString directory = applicationsDirectory();
    const QString path = QDir(directory).filePath(fileName());
    QSaveFile file(path);
    if (!QDir().mkpath(directory) || !file.open(QIODevice::WriteOnly) ||
        file.write(contents(QCoreApplication::applicationFilePath(), key).toUtf8()) < 0 ||
        !file.commit()) {
        err << "Cannot write " << path << ": " << file.errorString() << Qt::endl;
        return 1;
    }
    out << "Installed " << path << Qt::endl;
    if (key.isEmpty()) {
        out << "No application key is configured: the entry opens the window but no sign-in "
               "links"
            << Qt::endl;
        return 0;
    }
    const QString scheme = QStringLiteral("x-scheme-handler/db-") + key;
    const QString xdgMime = QStandardPaths::findExecutable(QStringLiteral("xdg-mime"));
    if (xdgMime.isEmpty()) {
        out << "xdg-mime is not installed: " << scheme
            << " links reach the window once the desktop reads the entry" << Qt::endl;
        return 0;
    }
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(xdgMime, {QStringLiteral("default"), fileName(), scheme});
    if (!process.waitForFinished(kXdgMimeTimeoutMs) ||
        process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        process.kill();
        err << "xdg-mime could not make the entry the handler of " << scheme << Qt::endl;
        return 1;
    }
    out << "Registered as the handler of " << scheme << Qt::endl;
    return 0;
}
