#pragma once

#include <QHash>
#include <QString>
#include <QThreadPool>
#include <functional>
#include <mutex>

#include "LibraryIndex.h"
#include "MediaLibrarySource.h"

// The user's music folder as a read-only music library: every audio file below
// the root is a song, every ".m3u"/".m3u8" file a playlist of the songs it
// names. Persistent IDs are stable across runs: a song's from its path below
// the root, an artist's from the name, an album's from its title and album
// artist. Tags are kept in an index so that a restart reads only what changed.
class FolderLibrarySource final : public MediaLibrarySource {
public:
    // $CORVANTIS_LIBRARY_DIR, else the "LibraryDirectory" setting, else the
    // platform's music location.
    static QString defaultRoot();

    FolderLibrarySource(const QString& root, const QString& indexPath);

    // The system prompt: asked once with an answer callback. Without it the
    // answer is no.
    std::function<void(std::function<void(bool granted)>)> consentPrompt;
    // The page where the user grants or takes back access.
    std::function<void()> settingsPage;

    MediaLibraryAuthorizationStatus authorizationStatus() const override;
    void setAuthorizationStatus(MediaLibraryAuthorizationStatus status);
    void requestAuthorization(
        std::function<void(MediaLibraryAuthorizationStatus)> completion) override;
    void openSettings() override;

    std::optional<QList<MediaItem>> songs() override;
    std::optional<QList<MediaPlaylist>> playlists() override;

    static quint64 itemID(const QString& relativePath);
    static quint64 artistID(const QString& artist);
    static quint64 albumID(const QString& albumTitle, const QString& albumArtist);

private:
    struct Snapshot {
        QList<IndexedFile> files;   // in no order
        QStringList playlistPaths;  // below the root, sorted
    };
    struct IDCache {
        QHash<QString, quint64> artists;
        QHash<std::pair<QString, QString>, quint64> albums;
    };
    // Files read by one task of the readers.
    static constexpr qsizetype kReadBatch = 32;

    // Brings the index up to date with the folder; nothing without permission.
    std::optional<Snapshot> refresh();
    MediaItem itemFor(const IndexedFile& file, IDCache& ids) const;
    QString absolutePath(const QString& relativePath) const;

    QString m_root;
    LibraryIndex m_index;
    QThreadPool m_readers;
    std::mutex m_mutex;  // one refresh at a time
};
