#include "UploadFileName.h"

#include <QFileInfo>

namespace {

// The text after the last point of the last path component, as a file path
// gives it: "a.mp3" -> "mp3", "README" -> "", ".profile" -> "profile".
QString pathExtension(const QString& fileName) {
    const qsizetype slash = fileName.lastIndexOf(QLatin1Char('/'));
    const QString lastComponent = fileName.mid(slash + 1);
    const qsizetype dot = lastComponent.lastIndexOf(QLatin1Char('.'));
    if (dot < 0) {
        return QString();
    }
    return lastComponent.mid(dot + 1);
}

}  // namespace

QString uploadStoredName(const QString& fileName,
                         const std::function<bool(const QString&)>& isTaken) {
    const QString extension = pathExtension(fileName);
    const QString suffix = extension.isEmpty() ? QString() : QLatin1Char('.') + extension;
    QString base = fileName;
    if (!suffix.isEmpty()) {
        base.remove(suffix, Qt::CaseSensitive);
    }
    QString candidate = fileName;
    for (qint64 counter = 1; isTaken(candidate); ++counter) {
        // Concatenated, not formatted: a client's name may itself hold "%1".
        candidate =
            base + QStringLiteral(" (") + QString::number(counter) + QLatin1Char(')') + suffix;
    }
    return candidate;
}

QString uploadStoredName(const QString& fileName, const QString& directory) {
    return uploadStoredName(fileName, [&directory](const QString& candidate) {
        // An unsafe name is never looked up: it must not probe outside the folder.
        if (isUnsafeUploadName(candidate)) {
            return false;
        }
        const QFileInfo info(directory + QLatin1Char('/') + candidate);
        return info.exists() || info.isSymLink();
    });
}

bool isUnsafeUploadName(const QString& fileName) {
    return fileName.isEmpty() || fileName == QLatin1String(".") ||
           fileName == QLatin1String("..") || fileName.contains(QLatin1Char('/')) ||
           fileName.contains(QChar(0));
}
