#pragma once

#include <QHash>
#include <QPointer>
#include <QSet>
#include <QString>
#include <QUrl>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "CloudFile.h"
#include "DropboxClient.h"
#include "DropboxClientsManager.h"

// The application's one client of the cloud service: set-up, sign-in, paged
// listing filtered to music, and the download of one file. Main thread only.
class DropboxManager : public CloudDriveManager {
public:
    using ListHandler = std::function<void(const Result<std::vector<FileProtocol>>&)>;

    // Made on first use, which sets the client up with the configured key.
    static DropboxManager& shared();

    // The waiter for the sign-in in progress; at most one.
    std::function<void(const VoidResult&)> completion;
    // Transfers in flight by CloudFile id, kept so that they can be cancelled.
    QHash<QString, QPointer<DropboxDownloadRequest>> downloadTasks;
    // The most pages one listing reads: a service that announces more after
    // this many is taken to be going round in circles.
    int maxListingPages = 10000;

    // Where the shell hands every URL the application is opened with. Always true.
    bool openURL(const QUrl& url);
    void handleAuthResult(const std::optional<OAuthResult>& result);

    // The whole folder at `path`: every page, then its folders and music files
    // (pages newest first, each in its own order). `entries` and `cursor` are
    // absent on the first call. The callback runs later, on the main thread.
    void listFolder(const QString& path, std::optional<std::vector<Intake::Metadata>> entries,
                    std::optional<QString> cursor, ListHandler callback);

    void downloadFile(const CloudFile& file, const QString& destination, ProgressHandler onProgress,
                      DownloadHandler onDone) override;
    void cancelFile(const QString& id) override;

private:
    // The pages one listing has read so far, to tell a listing that ends from
    // one that never would.
    struct ListingWalk {
        QSet<QString> cursors;
        int pages = 0;
    };

    DropboxManager();
    void listFolder(const QString& path, std::optional<std::vector<Intake::Metadata>> entries,
                    std::optional<QString> cursor, ListHandler callback,
                    std::shared_ptr<ListingWalk> walk);
    // Why the listing should stop before asking for the page after `page`, if it should.
    std::optional<QString> endlessListing(const QString& path, const ListFolderResult& page,
                                          ListingWalk& walk) const;
};
