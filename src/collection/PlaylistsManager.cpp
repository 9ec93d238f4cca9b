#include "PlaylistsManager.h"

#include <QDir>
#include <QFile>
#include <QVariant>

#include "Log.h"
#include "NotificationCenter.h"
#include "ReplacingFile.h"

PlaylistsManager& PlaylistsManager::shared() {
    static PlaylistsManager manager(playlistsDirectory());
    return manager;
}

PlaylistsManager::PlaylistsManager(const QString& directory) : m_directory(directory) {
    // Failures to make or list the directory leave the table empty.
    QDir dir(directory);
    if (!dir.exists()) {
        QDir().mkpath(directory);
    }
    const QStringList entries = dir.entryList(
        QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    for (const QString& entry : entries) {
        std::optional<Playlist> playlist = Playlist::fromFile(entry, directory);
        if (playlist && !m_playlists.contains(playlist->id)) {
            m_playlists.insert(playlist->id, *playlist);
        }
    }
}

std::optional<Playlist> PlaylistsManager::playlist(const QString& id) const {
    const auto it = m_playlists.constFind(id);
    if (it == m_playlists.cend()) {
        return std::nullopt;
    }
    return *it;
}

bool PlaylistsManager::savePlaylist(const Playlist& requested, bool notify) {
    if (requested.mediaLibraryItem) {
        systemLog("Can not save Media Library Playlist");
        return false;
    }
    // What the file holds is what is kept, so a restart reads the same.
    const Playlist playlist = requested.asWritten();
    const QString path = QDir(m_directory).filePath(playlist.id);
    const std::optional<QString> error =
        ReplacingFile::replace(path, playlist.description().toUtf8());
    if (error) {
        systemLog(QStringLiteral("Error writing playlist file %1: %2").arg(path, *error));
    }
    m_playlists.insert(playlist.id, playlist);
    if (notify) {
        NotificationCenter::defaultCenter().post(
            kPlaylistChangedNotification, nullptr,
            {{QString::fromLatin1(kPlaylistUserInfoKey), QVariant::fromValue(playlist)}});
    }
    return !error;
}

std::optional<QString> PlaylistsManager::deletePlaylist(const QString& id, bool mediaLibraryItem) {
    if (mediaLibraryItem) {
        systemLog("Can not delete Media Library Playlist");
        return std::nullopt;
    }
    QFile file(QDir(m_directory).filePath(id));
    if (!file.remove()) {
        return file.errorString();
    }
    m_playlists.remove(id);
    return std::nullopt;
}
