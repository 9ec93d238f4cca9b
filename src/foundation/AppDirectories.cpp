#include "AppDirectories.h"

#include <unistd.h>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace {

QString ensured(const QString& path) {
    QDir().mkpath(path);
    return path;
}

}  // namespace

QString AppDirectories::home() {
    const QString fromEnvironment = qEnvironmentVariable("CORVANTIS_HOME");
    if (!fromEnvironment.isEmpty()) {
        return QDir(fromEnvironment).absolutePath();
    }
    QString location = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (location.isEmpty()) {
        location = QDir::homePath() + "/.local/share";
    }
    return location + "/corvantis";
}

QString AppDirectories::documentsDirectory() {
    const QString path = home() + "/Documents";
    if (!QDir().mkpath(path)) {
        // Without a documents directory there is nowhere to keep music at all.
        qFatal("Cannot create the documents directory %s", qPrintable(path));
    }
    return path;
}

QString AppDirectories::settingsFile() {
    return ensured(home() + "/Preferences") + "/settings.json";
}

QString AppDirectories::cachesDirectory() {
    return ensured(home() + "/Caches");
}

QString AppDirectories::configDirectory() {
    const QString path = ensured(home() + "/Config");
    QFile::setPermissions(path,
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    return path;
}

const QString& downloadedMusicDirectory() {
    static const QString path = [] {
        const QString directory = AppDirectories::documentsDirectory() + "/Downloaded Music";
        if (!QFileInfo::exists(directory)) {
            QDir().mkpath(directory);
        }
        return directory;
    }();
    return path;
}

void AppDirectories::provideRuntimeDirectory() {
    if (!qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR")) {
        return;
    }
    const QString runtime =
        QDir::tempPath() + QStringLiteral("/runtime-") + QString::number(::getuid());
    QDir().mkpath(runtime);
    QFile::setPermissions(runtime,
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    const QFileInfo info(runtime);
    if (info.isDir() && info.ownerId() == ::getuid()) {
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime));
    }
}
