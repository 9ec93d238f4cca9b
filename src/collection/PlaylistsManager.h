#pragma once

#include <QHash>
#include <QString>
#include <optional>

#include "Playlist.h"

// Posted with the saved playlist under kPlaylistUserInfoKey.
inline constexpr auto kPlaylistChangedNotification = "PlaylistChangedNotification";
inline constexpr auto kPlaylistUserInfoKey = "PlaylistUserInfoKey";

// The user's playlists: every file of the playlists directory, read once at
// first use and written through on each change. Main thread only.
class PlaylistsManager {
public:
    static PlaylistsManager& shared();

    // Reads `directory` (created if missing); shared() uses playlistsDirectory().
    explicit PlaylistsManager(const QString& directory);

    // By id; no order to rely on.
    const QHash<QString, Playlist>& playlists() const { return m_playlists; }
    std::optional<Playlist> playlist(const QString& id) const;

    // Writes the playlist's file (replacing it whole, a symbolic link
    // included, never writing through one) and records it as written (see
    // Playlist::asWritten), and posts
    // "PlaylistChangedNotification" when `notify` is set. A library playlist is
    // refused with a log line. A failed write is logged and returned as false;
    // the record is kept in memory all the same, so the screens show what the
    // user did.
    bool savePlaylist(const Playlist& playlist, bool notify);
    // Removes the file and the record. Returns the error text when the file
    // could not be removed; the record then stays.
    std::optional<QString> deletePlaylist(const QString& id, bool mediaLibraryItem);

private:
    QString m_directory;
    QHash<QString, Playlist> m_playlists;
};
