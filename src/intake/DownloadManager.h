#pragma once

#include <QHash>
#include <QString>
#include <QUrl>
#include <optional>

#include "CloudFile.h"

namespace Intake {

// The state of one remote file as the screens see it.
struct Status {
    enum class Kind { completed, downloading, unstarted };
    Kind kind = Kind::unstarted;
    QUrl url;               // completed: the stored file
    double progress = 0.0;  // downloading: the fraction done

    static Status completed(QUrl url) { return {Kind::completed, std::move(url), 0.0}; }
    static Status downloading(double progress) { return {Kind::downloading, {}, progress}; }
    static Status unstarted() { return {}; }
    bool operator==(const Status& other) const = default;
};

}  // namespace Intake

// The books of cloud downloads: what is on its way, what has arrived under
// which name (kept across launches), and a notification for every change.
// Main thread only.
class DownloadManager {
public:
    static inline const QString statusDidChangeNotification =
        QStringLiteral("StatusDidChangeNotification");
    static inline const QString downloadCompleteNotification =
        QStringLiteral("DownloadCompleteNotification");
    // The userInfo key of both notifications; the value is a CloudFile.
    static inline const QString fileUserInfoKey = QStringLiteral("FileUserInfoKey");

    // Made on first use, which loads the finished downloads and drops those
    // whose file is gone.
    static DownloadManager& shared();

    // Files now on their way, by CloudFile id.
    QHash<QString, TransferProgress> downloadTasks;
    // Finished downloads: CloudFile id to the stored file name.
    QHash<QString, QString> downloadedTasks;
    const QString dowloadedFilesKey = QStringLiteral("DownloadedFileKey");

    bool startDownload(const CloudFile& file);
    bool cancelDownload(const CloudFile& file);
    Intake::Status downloadStatus(const CloudFile& file) const;
    // Removes the stored file and, if it came from the cloud, its entry.
    // Nothing on success, else the file system's words.
    std::optional<QString> deleteDownloadedFile(const QString& fileName);
    // A free path in the music folder for `name`; suffixes pile up on the name
    // reached so far: Song.mp3, Song (1).mp3, Song (1) (2).mp3.
    QString uniqueFileName(const QString& name) const;

private:
    DownloadManager();
    void storeDownloaded();
    void postStatusChange(const CloudFile& file, bool completed);
};
