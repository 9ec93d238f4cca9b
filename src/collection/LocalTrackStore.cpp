#include "LocalTrackStore.h"

#include <QCoreApplication>
#include <QFuture>
#include <QSet>
#include <QtConcurrent>

#include "AppDirectories.h"
#include "BackgroundPool.h"
#include "DirectoryListing.h"
#include "Log.h"
#include "MainQueue.h"
#include "PlaylistsManager.h"
#include "TextOrder.h"

namespace LocalTrackStore {

namespace {

// Names read per part by a scan that hands its tracks on as it goes.
constexpr qsizetype kScanPartSize = 1024;

// The screen's copy of its playlist follows the store, and goes when the
// store's entry went.
void refreshPlaylist(TrackListState& state) {
    if (state.playlist) {
        state.playlist = PlaylistsManager::shared().playlist(state.playlist->id);
    }
}

bool sameText(const QString& a, const QString& b) {
    return compareText(a, b) == 0;
}

void scanMatching(std::weak_ptr<TrackListState> weakState, const QString& name,
                  QString Track::*field, ScanCompletion completion) {
    MainQueue::async([weakState, name, field, completion = std::move(completion)] {
        const std::shared_ptr<TrackListState> state = weakState.lock();
        if (!state) {
            return;
        }
        refreshPlaylist(*state);
        state->items.clear();
        const QString directory = downloadedMusicDirectory();
        const DirectoryListing listing = DirectoryListing::of(directory);
        if (!listing.ok) {
            systemLog("Error reading contents of directory: " + listing.error);
            completion({}, {});
            return;
        }
        // A file is read once to test it and once more for the track handed on,
        // so the list always holds fresh objects.
        struct Result {
            bool kept = false;
            TrackPtr track;
        };
        auto future =
            QtConcurrent::mapped(&BackgroundPool::shared(), listing.names,
                                 [directory, name, field](const QString& fileName) {
                                     if (BackgroundPool::stopping()) {
                                         return Result{};
                                     }
                                     const TrackPtr probe = Track::fromFile(fileName, directory);
                                     if (!probe || !sameText((*probe).*field, name)) {
                                         return Result{};
                                     }
                                     return Result{true, Track::fromFile(fileName, directory)};
                                 });
        future.then(QCoreApplication::instance(),
                    [weakState, names = listing.names, completion](QFuture<Result> done) {
                        if (weakState.expired()) {
                            return;
                        }
                        const QList<Result> results = done.results();
                        QList<TrackPtr> tracks;
                        for (qsizetype i = 0; i < results.size(); ++i) {
                            if (!results[i].kept) {
                                continue;
                            }
                            if (!results[i].track) {
                                systemLog("Failed to initialize Track from file: " + names[i]);
                                continue;
                            }
                            tracks.append(results[i].track);
                        }
                        completion(tracks, {});
                    });
    });
}

struct PartedRead {
    QString directory;
    QStringList names;
    qsizetype partSize = 0;
    qsizetype next = 0;
    QList<TrackPtr> read;
    PartHandler part;
    std::function<void(QList<TrackPtr>)> done;
};

// One part on the pool at a time; each hop back to the main thread hands its
// tracks on and starts the next. The first part is small, for a quick start.
void readNextPart(const std::shared_ptr<PartedRead>& run) {
    if (run->next >= run->names.size()) {
        run->done(std::move(run->read));
        return;
    }
    constexpr qsizetype kFirstPart = 128;
    const qsizetype size = run->next == 0 ? std::min(run->partSize, kFirstPart) : run->partSize;
    const QStringList names = run->names.mid(run->next, size);
    run->next += names.size();
    readTracks(run->directory, names, [run](QList<TrackPtr> tracks) {
        run->read.append(tracks);
        tracks.removeAll(nullptr);
        if (run->part && !run->part(tracks)) {
            return;
        }
        readNextPart(run);
    });
}

}  // namespace

void readTracks(const QString& directory, const QStringList& names,
                std::function<void(QList<TrackPtr>)> done) {
    if (names.isEmpty()) {
        done({});
        return;
    }
    QtConcurrent::mapped(&BackgroundPool::shared(), names, [directory](const QString& name) {
        // Nobody reads the tracks of a scan the process is leaving behind.
        return BackgroundPool::stopping() ? TrackPtr() : Track::fromFile(name, directory);
    }).then(QCoreApplication::instance(), [done = std::move(done)](QFuture<TrackPtr> future) {
        done(future.results());
    });
}

void readTracksInParts(const QString& directory, const QStringList& names, qsizetype partSize,
                       PartHandler part, std::function<void(QList<TrackPtr>)> done) {
    auto run = std::make_shared<PartedRead>();
    run->directory = directory;
    run->names = names;
    run->partSize = std::max<qsizetype>(1, partSize);
    run->part = std::move(part);
    run->done = std::move(done);
    run->read.reserve(names.size());
    readNextPart(run);
}

void readMusicDirectory(std::function<void(std::optional<QList<TrackPtr>>)> done) {
    const QString directory = downloadedMusicDirectory();
    const DirectoryListing listing = DirectoryListing::of(directory);
    if (!listing.ok) {
        done(std::nullopt);
        return;
    }
    readTracks(directory, listing.names, [done = std::move(done)](QList<TrackPtr> tracks) {
        tracks.removeAll(nullptr);
        done(tracks);
    });
}

void scanNewTracks(std::weak_ptr<TrackListState> weakState, ScanCompletion completion,
                   ScanBatch batch) {
    MainQueue::async([weakState, completion = std::move(completion), batch = std::move(batch)] {
        const std::shared_ptr<TrackListState> state = weakState.lock();
        if (!state) {
            return;
        }
        refreshPlaylist(*state);
        const QString directory = downloadedMusicDirectory();
        const DirectoryListing listing = DirectoryListing::of(directory);
        if (!listing.ok) {
            completion({}, {});
            return;
        }
        const QSet<QString> present(listing.names.cbegin(), listing.names.cend());
        state->items.removeIf(
            [&](const TrackPtr& track) { return !present.contains(track->fileName); });
        QSet<QString> known;
        for (const TrackPtr& track : std::as_const(state->items)) {
            known.insert(track->fileName);
        }
        QStringList fresh;
        for (const QString& name : listing.names) {
            if (known.contains(name)) {
                continue;
            }
            if (state->playlist &&
                state->playlist->fileNames.contains(name) == state->addToPlaylist) {
                continue;
            }
            fresh.append(name);
        }
        auto finish = [weakState, completion](QList<TrackPtr> tracks) {
            if (weakState.expired()) {
                return;
            }
            tracks.removeAll(nullptr);
            completion(tracks, {});
        };
        if (!batch || fresh.size() <= kScanPartSize) {
            readTracks(directory, fresh, std::move(finish));
            return;
        }
        readTracksInParts(
            directory, fresh, kScanPartSize,
            [weakState, batch](const QList<TrackPtr>& tracks) {
                // A screen that went stops the reading.
                if (weakState.expired()) {
                    return false;
                }
                if (!tracks.isEmpty()) {
                    batch(tracks);
                }
                return true;
            },
            std::move(finish));
    });
}

void scanTracksForArtist(std::weak_ptr<TrackListState> state, const QString& artistName,
                         ScanCompletion completion) {
    scanMatching(std::move(state), artistName, &Track::artist, std::move(completion));
}

void scanTracksForAlbum(std::weak_ptr<TrackListState> state, const QString& albumName,
                        ScanCompletion completion) {
    scanMatching(std::move(state), albumName, &Track::album, std::move(completion));
}

}  // namespace LocalTrackStore
