#include "NibLoader.h"

#include <QDir>
#include <QFileInfo>

namespace {
// Every QML module of the application lives below this resource folder.
const QString kModules = QStringLiteral(":/Corvantis");
}  // namespace

QUrl findNib(const QString& className) {
    if (className.isEmpty() || className.contains(QLatin1Char('/'))) {
        return {};
    }
    const QStringList modules = QDir(kModules).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString& module : modules) {
        const QString path = kModules + QLatin1Char('/') + module + QLatin1Char('/') + className +
                             QStringLiteral(".qml");
        if (QFileInfo::exists(path)) {
            return QUrl(QStringLiteral("qrc") + path);
        }
    }
    return {};
}

QUrl loadFromNib(const QString& className) {
    const QUrl url = findNib(className);
    if (url.isEmpty()) {
        qFatal("No view is drawn for the class \"%s\"", qPrintable(className));
    }
    return url;
}
