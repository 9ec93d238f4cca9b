#include "DownloadManager.h"

#include <QDir>
#include <QFileInfo>

#include "AppDirectories.h"
#include "DropboxManager.h"
#include "NotificationCenter.h"
#include "UserDefaults.h"

using Intake::Source;
using Intake::Status;

namespace {

QString musicPath(const QString& name) {
    return downloadedMusicDirectory() + QLatin1Char('/') + name;
}

CloudDriveManager* clientFor(Source source) {
    switch (source) {
        case Source::dropbox:
            return &DropboxManager::shared();
    }
    return nullptr;
}

}  // namespace

DownloadManager& DownloadManager::shared() {
    static DownloadManager* instance = new DownloadManager();
    return *instance;
}

DownloadManager::DownloadManager() {
    const QVariantMap stored =
        UserDefaults::standard().dictionaryForKey(dowloadedFilesKey).value_or(QVariantMap());
    QHash<QString, QString> loaded;
    for (auto it = stored.begin(); it != stored.end(); ++it) {
        if (it.value().typeId() != QMetaType::QString) {
            loaded.clear();  // one stray value makes the whole entry unusable
            break;
        }
        loaded.insert(it.key(), it.value().toString());
    }
    // Pruned in memory only; the store keeps the old entries until the next write.
    for (auto it = loaded.begin(); it != loaded.end(); ++it) {
        if (QFileInfo::exists(musicPath(it.value()))) {
            downloadedTasks.insert(it.key(), it.value());
        }
    }
}

bool DownloadManager::startDownload(const CloudFile& file) {
    if (downloadTasks.contains(file.id) || downloadedTasks.contains(file.id) || !file.source) {
        return false;
    }
    CloudDriveManager* client = clientFor(*file.source);
    downloadTasks.insert(file.id, TransferProgress{});
    // Chosen now, before any byte arrives: two files of one name running side
    // by side can pick the same destination. Accepted.
    const QString destination = uniqueFileName(file.name);
    client->downloadFile(
        file, destination,
        [this, file](const TransferProgress& progress) {
            if (!downloadTasks.contains(file.id)) {
                return;
            }
            downloadTasks.insert(file.id, progress);
            const double fraction = progress.fractionCompleted();
            if (fraction != 1.0 && fraction != 0.0) {
                postStatusChange(file, false);
            }
        },
        [this, file](const Result<QString>& result) {
            if (!downloadTasks.contains(file.id)) {
                return;  // cancelled: the books were already closed
            }
            downloadTasks.remove(file.id);
            if (!result.isSuccess()) {
                postStatusChange(file, false);
                return;
            }
            downloadedTasks.insert(file.id, QFileInfo(result.value()).fileName());
            storeDownloaded();
            postStatusChange(file, true);
        });
    return true;
}

bool DownloadManager::cancelDownload(const CloudFile& file) {
    if (!downloadTasks.contains(file.id) || !file.source) {
        return false;
    }
    clientFor(*file.source)->cancelFile(file.id);
    downloadTasks.remove(file.id);
    return true;
}

Status DownloadManager::downloadStatus(const CloudFile& file) const {
    if (const auto it = downloadTasks.constFind(file.id); it != downloadTasks.constEnd()) {
        return Status::downloading(it->fractionCompleted());
    }
    if (const auto it = downloadedTasks.constFind(file.id); it != downloadedTasks.constEnd()) {
        return Status::completed(QUrl::fromLocalFile(musicPath(*it)));
    }
    return Status::unstarted();
}

std::optional<QString> DownloadManager::deleteDownloadedFile(const QString& fileName) {
    const QString path = musicPath(fileName);
    QFile file(path);
    const bool removed = QFileInfo(path).isDir() ? QDir(path).removeRecursively() : file.remove();
    if (!removed) {
        return file.errorString().isEmpty() ? QStringLiteral("Cannot remove ") + fileName
                                            : file.errorString();
    }
    QString id;
    bool found = false;
    for (auto it = downloadedTasks.constBegin(); it != downloadedTasks.constEnd(); ++it) {
        if (it.value() == fileName) {
            id = it.key();
            found = true;
            break;
        }
    }
    if (!found) {
        return std::nullopt;  // it came by upload or import
    }
    downloadedTasks.remove(id);
    storeDownloaded();
    postStatusChange(CloudFile{id, fileName, std::nullopt}, false);
    return std::nullopt;
}

QString DownloadManager::uniqueFileName(const QString& name) const {
    QString result = name;
    int n = 0;
    while (QFileInfo::exists(musicPath(result))) {
        ++n;
        const QString suffix = QStringLiteral(" (%1)").arg(n);
        QStringList pieces = result.split(QLatin1Char('.'), Qt::SkipEmptyParts);
        if (pieces.size() < 2) {
            result += suffix;
        } else {
            pieces[pieces.size() - 2] += suffix;
            result = pieces.join(QLatin1Char('.'));
        }
    }
    return musicPath(result);
}

void DownloadManager::storeDownloaded() {
    QVariantMap stored;
    for (auto it = downloadedTasks.constBegin(); it != downloadedTasks.constEnd(); ++it) {
        stored.insert(it.key(), it.value());
    }
    UserDefaults::standard().setDictionary(stored, dowloadedFilesKey);
}

void DownloadManager::postStatusChange(const CloudFile& file, bool completed) {
    const QVariantMap userInfo{{fileUserInfoKey, QVariant::fromValue(file)}};
    NotificationCenter::defaultCenter().post(statusDidChangeNotification, nullptr, userInfo);
    if (completed) {
        NotificationCenter::defaultCenter().post(downloadCompleteNotification, nullptr, userInfo);
    }
}
