#include "MediaLibraryManager.h"

#include <QDir>
#include <QThreadPool>
#include <algorithm>

#include "AppDirectories.h"
#include "FolderLibrarySource.h"
#include "Log.h"
#include "MainQueue.h"
#include "SortableList.h"
#include "UserDefaults.h"

namespace {

QString yesNo(bool value) {
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

QList<TrackPtr> tracksFrom(const QList<MediaItem>& items) {
    QList<TrackPtr> tracks;
    tracks.reserve(items.size());
    for (const MediaItem& item : items) {
        if (TrackPtr track = Track::fromMediaItem(item)) {
            tracks.append(std::move(track));
        }
    }
    return tracks;
}

}  // namespace

MediaLibraryManager& MediaLibraryManager::shared() {
    static MediaLibraryManager manager(std::make_shared<FolderLibrarySource>(
        FolderLibrarySource::defaultRoot(),
        QDir(AppDirectories::cachesDirectory()).filePath("library-index.sqlite")));
    return manager;
}

MediaLibraryManager::MediaLibraryManager(std::shared_ptr<MediaLibrarySource> source)
    : m_store(std::make_shared<Store>()) {
    m_store->source = std::move(source);
}

void MediaLibraryManager::requestAuthorization(std::function<void(bool)> completion) {
    UserDefaults& defaults = UserDefaults::standard();
    if (defaults.boolForKey(MPLibraryAuthorizationAlreadyRequestedKey)) {
        m_store->source->openSettings();
        return;
    }
    // Set before the answer, so that a process ended in the prompt goes to the
    // settings next time.
    defaults.setBool(true, MPLibraryAuthorizationAlreadyRequestedKey);
    m_store->source->requestAuthorization(
        [completion = std::move(completion)](MediaLibraryAuthorizationStatus status) {
            completion(status == MediaLibraryAuthorizationStatus::authorized);
        });
}

void MediaLibraryManager::loadTracks(bool forceReload, TracksCompletion completion) {
    QThreadPool::globalInstance()->start(
        [store = m_store, forceReload, completion = std::move(completion)] {
            systemLog("Entering loadTracks");
            std::unique_lock lock(store->mutex);
            systemLog("forceReload: " + yesNo(forceReload) +
                      ", self.tracks.isEmpty: " + yesNo(store->tracks.isEmpty()));
            if (forceReload) {
                systemLog("Force reloading tracks...");
                store->tracks.clear();
                store->originalTracks.clear();
            }
            if (store->tracks.isEmpty()) {
                systemLog("Loading tracks...");
                lock.unlock();
                const std::optional<QList<MediaItem>> items = store->source->songs();
                systemLog(QStringLiteral("Media items count: %1").arg(items ? items->size() : 0));
                QList<TrackPtr> original;
                QList<TrackPtr> sorted;
                if (items) {
                    original = tracksFrom(*items);
                    sorted = tracksFrom(*items);
                    sortByOrder(sorted);
                }
                lock.lock();
                store->originalTracks = std::move(original);
                store->tracks = std::move(sorted);
                lock.unlock();
                deliverTracks(store, completion);
                return;
            }
            lock.unlock();
            deliverTracks(store, completion);
            systemLog("Tracks already loaded and forceReload is false.");
        });
}

void MediaLibraryManager::deliverTracks(const std::shared_ptr<Store>& store,
                                        TracksCompletion completion) {
    MainQueue::async([store, completion = std::move(completion)] {
        QList<TrackPtr> sorted;
        QList<TrackPtr> original;
        {
            const std::lock_guard lock(store->mutex);
            sorted = store->tracks;
            original = store->originalTracks;
        }
        sortByOrder(sorted);
        completion(sorted, original);
    });
}

void MediaLibraryManager::loadPlaylists(bool forceReload, PlaylistsCompletion completion) {
    QThreadPool::globalInstance()->start(
        [store = m_store, forceReload, completion = std::move(completion)] {
            QList<Playlist> originals;
            bool query = forceReload;
            {
                const std::lock_guard lock(store->mutex);
                query = query || store->playlists.isEmpty();
            }
            if (query) {
                const std::optional<QList<MediaPlaylist>> collections = store->source->playlists();
                if (collections) {
                    for (const MediaPlaylist& collection : *collections) {
                        originals.append(Playlist::fromMediaPlaylist(collection));
                    }
                }
                QList<Playlist> sorted = originals;
                std::stable_sort(sorted.begin(), sorted.end());
                const std::lock_guard lock(store->mutex);
                store->playlists = std::move(sorted);
            }
            MainQueue::async([store, originals, completion] {
                QList<Playlist> sorted;
                {
                    const std::lock_guard lock(store->mutex);
                    sorted = store->playlists;
                }
                std::stable_sort(sorted.begin(), sorted.end());
                completion(sorted, originals);
            });
        });
}

QList<TrackPtr> MediaLibraryManager::tracks() {
    const std::lock_guard lock(m_store->mutex);
    return m_store->tracks;
}

QList<TrackPtr> MediaLibraryManager::tracksOfPlaylist(const Playlist& playlist,
                                                      const QList<TrackPtr>& tracks) {
    QList<TrackPtr> members;
    for (const TrackPtr& track : tracks) {
        if (playlist.fileNames.contains(QString::number(track->mediaLibraryID.value_or(0)))) {
            members.append(track);
        }
    }
    return members;
}
