#pragma once

#include <QList>
#include <functional>
#include <memory>
#include <mutex>

#include "MediaLibrarySource.h"
#include "Playlist.h"
#include "Track.h"

// The one door to the user's music library: asks for permission once, queries
// on the background pool and keeps the result for the life of the process.
// Every completion runs on the main thread. The queries hold what they fill,
// not the manager: a manager that goes while one runs is never touched.
class MediaLibraryManager {
public:
    static constexpr auto MPLibraryAuthorizationAlreadyRequestedKey =
        "MPLibraryAuthorizationAlreadyRequestedKey";

    // Over the user's music folder (FolderLibrarySource::defaultRoot()).
    static MediaLibraryManager& shared();

    explicit MediaLibraryManager(std::shared_ptr<MediaLibrarySource> source);

    MediaLibrarySource& source() const { return *m_store->source; }

    // The first call asks the user and reports whether access was granted, on
    // whatever thread the answer comes; every later call opens the settings
    // and never calls back.
    void requestAuthorization(std::function<void(bool granted)> completion);

    using TracksCompletion = std::function<void(QList<TrackPtr> sorted, QList<TrackPtr> original)>;
    using PlaylistsCompletion =
        std::function<void(QList<Playlist> sorted, QList<Playlist> original)>;

    // The tracks sorted with < (high to low), and the same items in the
    // library's own order as separate objects.
    void loadTracks(bool forceReload, TracksCompletion completion);
    void loadPlaylists(bool forceReload, PlaylistsCompletion completion);

    // The cached tracks as they stand (sorted with <), without loading:
    // empty until a load has finished.
    QList<TrackPtr> tracks();

    // The tracks of `tracks` named by a library playlist, in their order.
    static QList<TrackPtr> tracksOfPlaylist(const Playlist& playlist,
                                            const QList<TrackPtr>& tracks);

private:
    struct Store {
        std::shared_ptr<MediaLibrarySource> source;
        // Written on the pool and read on the main thread.
        std::mutex mutex;
        QList<TrackPtr> tracks;
        QList<TrackPtr> originalTracks;
        QList<Playlist> playlists;
    };

    static void deliverTracks(const std::shared_ptr<Store>& store, TracksCompletion completion);

    std::shared_ptr<Store> m_store;
};
