#include "DocumentImporter.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include "AppDirectories.h"
#include "FileStatus.h"
#include "Log.h"
#include "ReplacingFile.h"

namespace {

constexpr qint64 copyChunkBytes = 1024 * 1024;

// One file into the music folder; the error's words when it fails. The
// source is opened before anything is replaced: the picker hands over the
// user's own files, so an old file goes only once its successor can be read.
std::optional<QString> importOne(const QUrl& url, const QString& fileName, int& imported,
                                 int& replaced) {
    const QString target =
        AppDirectories::documentsDirectory() + QStringLiteral("/Downloaded Music");
    const QString destination = target + QLatin1Char('/') + fileName;
    if (!QFileInfo::exists(target) && !QDir().mkpath(target)) {
        return QStringLiteral("The folder \u201cDownloaded Music\u201d couldn\u2019t be created.");
    }
    if (!url.isLocalFile()) {
        return QStringLiteral("The file \u201c%1\u201d isn\u2019t a local file.").arg(fileName);
    }
    const QString sourcePath = url.toLocalFile();
    QFile source;
    if (const std::optional<QString> error = openRegularFile(source, sourcePath)) {
        return *error;
    }
    const FileStatus existing = FileStatus::of(destination);
    if (existing.exists()) {
        // Counted before the replacement, so a failed one counts too.
        ++replaced;
    }
    // The file is already there, under this very name: copying it onto
    // itself would empty it.
    if (existing.isSameFileAs(FileStatus::of(sourcePath))) {
        ++imported;
        return std::nullopt;
    }
    // Written under a temporary name and renamed at the end, so a failure
    // halfway leaves the old file, or none, under the name.
    ReplacingFile copy(destination);
    if (!copy.open()) {
        return copy.errorString();
    }
    QByteArray buffer(copyChunkBytes, Qt::Uninitialized);
    while (true) {
        const qint64 read = source.read(buffer.data(), buffer.size());
        if (read < 0) {
            return source.errorString();
        }
        if (read == 0) {
            break;
        }
        if (!copy.write(buffer.constData(), read)) {
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

void importDocuments(const QList<QUrl>& urls, MessagePresenter& presenter,
                     const std::function<void(int handled, int total)>& onFileHandled) {
    const int total = int(urls.size());
    int imported = 0;
    int replaced = 0;
    int handled = 0;
    for (const QUrl& url : urls) {
        const QString fileName = url.fileName();
        if (const auto error = importOne(url, fileName, imported, replaced)) {
            presenter.presentMessage(
                QStringLiteral("Error"),
                QStringLiteral("Error handling file ") + fileName + QStringLiteral(": ") + *error);
        }
        if (onFileHandled) {
            onFileHandled(++handled, total);
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
