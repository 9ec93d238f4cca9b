#pragma once

#include <QList>
#include <functional>
#include <optional>

#include "Playlist.h"
#include "Track.h"

// The user's permission to read the music library, as the platform keeps it.
enum class MediaLibraryAuthorizationStatus { notDetermined = 0, denied = 2, authorized = 3 };

// The user's music library as the platform offers it: songs, playlists and the
// permission to read them. Queries may run on any thread and take long.
class MediaLibrarySource {
public:
    virtual ~MediaLibrarySource() = default;

    virtual MediaLibraryAuthorizationStatus authorizationStatus() const = 0;
    // Asks the user (the system prompt); calls back on any thread.
    virtual void requestAuthorization(
        std::function<void(MediaLibraryAuthorizationStatus)> completion) = 0;
    // Opens the place where the user changes the permission.
    virtual void openSettings() = 0;

    // Every song; nothing when the library cannot be read at all.
    virtual std::optional<QList<MediaItem>> songs() = 0;
    virtual std::optional<QList<MediaPlaylist>> playlists() = 0;
};
