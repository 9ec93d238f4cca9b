#include "DocumentImporter.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include "AppDirectories.h"
#include "Log.h"

namespace {

constexpr qint64 copyChunkBytes = 1024 * 1024;

// Steps d to h of one file; the error's words when one fails.
std::optional<QString> importOne(const QUrl& url, const QString& fileName, int& imported,
                                 int& replaced) {
    const QString target =
        AppDirectories::documentsDirectory() + QStringLiteral("/Downloaded Music");
    const QString destination = target + QLatin1Char('/') + fileName;
    if (!QFileInfo::exists(target) && !QDir().mkpath(target)) {
        return QStringLiteral("The folder \u201cDownloaded Music\u201d couldn\u2019t be created.");
    }
    if (QFileInfo::exists(destination)) {
        // Counted before the removal, so a failed removal counts too.
        ++replaced;
        QFile old(destination);
        if (!old.remove()) {
            return old.errorString();
        }
    }
    if (!url.isLocalFile()) {
        return QStringLiteral("The file \u201c%1\u201d isn\u2019t a local file.").arg(fileName);
    }
    QFile source(url.toLocalFile());
    if (QFileInfo(source).isDir() || !source.open(QIODevice::ReadOnly)) {
        return source.errorString().isEmpty()
                   ? QStringLiteral("The file \u201c%1\u201d couldn\u2019t be opened.")
                         .arg(fileName)
                   : source.errorString();
    }
    // Written under a temporary name and renamed at the end, so a failure
    // halfway leaves no partial file under the name.
    QSaveFile copy(destination);
    if (!copy.open(QIODevice::WriteOnly)) {
        return copy.errorString();
    }
    QByteArray buffer(copyChunkBytes, Qt::Uninitialized);
    while (true) {
        const qint64 read = source.read(buffer.data(), buffer.size());
        if (read < 0) {
            copy.cancelWriting();
            return source.errorString();
        }
        if (read == 0) {
            break;
        }
        if (copy.write(buffer.constData(), read) != read) {
            copy.cancelWriting();
            return copy.errorString();
        }
    }
    if (!copy.commit()) {
        return copy.errorString();
    }
    ++imported;
    return std::nullopt;
}

}  // namespace

void importDocuments(const QList<QUrl>& urls, MessagePresenter& presenter) {
    const int total = int(urls.size());
    int imported = 0;
    int replaced = 0;
    for (const QUrl& url : urls) {
        const QString fileName = url.fileName();
        if (const auto error = importOne(url, fileName, imported, replaced)) {
            presenter.presentMessage(
                QStringLiteral("Error"),
                QStringLiteral("Error handling file ") + fileName + QStringLiteral(": ") + *error);
        }
    }
    QString message =
        QStringLiteral("%1 out of %2 files imported successfully.").arg(imported).arg(total);
    if (replaced > 0) {
        message += QStringLiteral(" %1 existing files were replaced.").arg(replaced);
    }
    presenter.presentMessage(QStringLiteral("Import Result"), message);
}

void documentPickerWasCancelled() {
    systemLog(QStringLiteral("User cancelled document picker"));
}
