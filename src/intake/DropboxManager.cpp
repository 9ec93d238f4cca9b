#include "DropboxManager.h"

#include "Localization.h"
#include "Log.h"
#include "MainQueue.h"

using Intake::Folder;
using Intake::Metadata;
using Intake::Source;

namespace {

QString unknownErrorText() {
    return Localization::text("error_unkown");
}

std::vector<FileProtocol> keepFoldersAndMusic(const std::vector<Metadata>& entries) {
    std::vector<FileProtocol> kept;
    for (const Metadata& entry : entries) {
        if (entry.isFolder) {
            kept.emplace_back(Folder{QString(), entry.name, folderMimeType()});
        } else if (rawValue(MimeType::fromPath(entry.name).group()) == QLatin1String("audio")) {
            kept.emplace_back(
                CloudFile{entry.pathLower.value_or(QString()), entry.name, Source::dropbox});
        }
    }
    return kept;
}

}  // namespace

DropboxManager& DropboxManager::shared() {
    static DropboxManager* instance = new DropboxManager();
    return *instance;
}

DropboxManager::DropboxManager() {
    DropboxClientsManager::setupWithAppKey(DropboxClientsManager::appKeyFromConfiguration());
    // A redirect caught on the loopback address takes the way of any other.
    DropboxClientsManager::setLoopbackHandler([this](const QUrl& url) { openURL(url); });
}

bool DropboxManager::openURL(const QUrl& url) {
    DropboxClientsManager::handleRedirectURL(
        url, [this](const std::optional<OAuthResult>& result) { handleAuthResult(result); });
    return true;
}

void DropboxManager::handleAuthResult(const std::optional<OAuthResult>& result) {
    const auto waiter = std::exchange(completion, nullptr);
    if (!result) {
        if (waiter) {
            waiter(VoidResult::failure(AuthError(QStringLiteral("None"))));
        }
        return;
    }
    switch (result->kind) {
        case OAuthResult::Kind::success:
            if (waiter) {
                waiter(VoidResult::success({}));
            }
            systemLog(QStringLiteral("Success! User is logged into Dropbox."));
            break;
        case OAuthResult::Kind::error:
            if (waiter) {
                waiter(VoidResult::failure(
                    AuthError(result->errorDescription.value_or(unknownErrorText()))));
            }
            systemLog(QStringLiteral("Error: ") + result->errorDescription.value_or(QString()));
            break;
        case OAuthResult::Kind::cancel:
            if (waiter) {
                waiter(VoidResult::failure(
                    UserCancelledError{QStringLiteral("The operation was cancelled by the user")}));
            }
            systemLog(QStringLiteral("Authorization flow was manually canceled by user!"));
            break;
    }
}

void DropboxManager::listFolder(const QString& path, std::optional<std::vector<Metadata>> entries,
                                std::optional<QString> cursor, ListHandler callback) {
    auto walk = std::make_shared<ListingWalk>();
    if (entries && cursor) {
        walk->cursors.insert(*cursor);
    }
    listFolder(path, std::move(entries), std::move(cursor), std::move(callback), std::move(walk));
}

std::optional<QString> DropboxManager::endlessListing(const QString& path,
                                                      const ListFolderResult& page,
                                                      ListingWalk& walk) const {
    const QString listing = QStringLiteral("Bad response from the server: the listing of \"%1\" ")
                                .arg(path.isEmpty() ? QStringLiteral("/") : path);
    if (page.cursor.isEmpty()) {
        return listing + QStringLiteral("announced more pages without a cursor to them");
    }
    if (walk.cursors.contains(page.cursor)) {
        return listing + QStringLiteral("gave a cursor it had given before, so it would never end");
    }
    if (++walk.pages >= maxListingPages) {
        return listing +
               QStringLiteral("still announced more after %1 pages; stopped").arg(walk.pages);
    }
    walk.cursors.insert(page.cursor);
    return std::nullopt;
}

void DropboxManager::listFolder(const QString& path, std::optional<std::vector<Metadata>> entries,
                                std::optional<QString> cursor, ListHandler callback,
                                std::shared_ptr<ListingWalk> walk) {
    DropboxClient* client = DropboxClientsManager::authorizedClient();
    if (!client) {
        MainQueue::async([callback] {
            callback(Result<std::vector<FileProtocol>>::failure(
                AuthError(QStringLiteral("Unauthorized"))));
        });
        return;
    }
    const bool continuing = entries.has_value();
    // Shared, not copied: the handler is copied on its way through the
    // network layer, and the pages read so far can be large.
    auto previous = std::make_shared<std::vector<Metadata>>(
        std::move(entries).value_or(std::vector<Metadata>()));
    auto onPage = [this, path, previous, callback, walk](const ListFolderResponse& response) {
        const auto fail = [&callback](const QString& text) {
            MainQueue::async([callback, text] {
                callback(Result<std::vector<FileProtocol>>::failure(DescribableError(text)));
            });
        };
        if (const auto* error = std::get_if<CallError>(&response)) {
            fail(error->description.isEmpty() ? unknownErrorText() : error->description);
            return;
        }
        const ListFolderResult& page = std::get<ListFolderResult>(response);
        // The newest page goes in front of the pages read so far.
        std::vector<Metadata> collection;
        collection.reserve(page.entries.size() + previous->size());
        collection.insert(collection.end(), page.entries.begin(), page.entries.end());
        std::move(previous->begin(), previous->end(), std::back_inserter(collection));
        previous->clear();
        if (page.hasMore) {
            if (const std::optional<QString> endless = endlessListing(path, page, *walk)) {
                fail(*endless);
                return;
            }
            listFolder(path, std::move(collection), page.cursor, callback, walk);
            return;
        }
        MainQueue::async([callback, kept = keepFoldersAndMusic(collection)] {
            callback(Result<std::vector<FileProtocol>>::success(kept));
        });
    };
    if (!continuing) {
        client->listFolder(path, std::move(onPage));
    } else {
        client->listFolderContinue(cursor.value_or(QString()), std::move(onPage));
    }
}

void DropboxManager::downloadFile(const CloudFile& file, const QString& destination,
                                  ProgressHandler onProgress, DownloadHandler onDone) {
    DropboxClient* client = DropboxClientsManager::authorizedClient();
    if (!client) {
        return;  // neither callback ever runs; the download books keep the entry
    }
    DropboxDownloadRequest* request = client->download(file.id, destination);
    request->progress(std::move(onProgress));
    request->response([this, id = file.id, destination,
                       onDone = std::move(onDone)](const std::optional<CallError>& error) {
        if (error) {
            onDone(Result<QString>::failure(DescribableError(error->description)));
        } else {
            onDone(Result<QString>::success(destination));
        }
        downloadTasks.remove(id);
    });
    downloadTasks.insert(file.id, request);
}

void DropboxManager::cancelFile(const QString& id) {
    if (const QPointer<DropboxDownloadRequest> request = downloadTasks.take(id); request) {
        request->cancel();
    }
}
