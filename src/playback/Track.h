#pragma once

#include <QImage>
#include <QMetaType>
#include <QSize>
#include <QString>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

class Track;
// Tracks are shared by reference between lists, cells and the play queue; a
// thumbnail loaded through one reference is seen through all of them.
using TrackPtr = std::shared_ptr<Track>;

// One item of the user's music library as the library source hands it out.
// Tag fields the file does not carry are absent, not defaulted.
struct MediaItem {
    quint64 persistentID = 0;
    std::optional<quint64> artistPersistentID;
    std::optional<quint64> albumPersistentID;
    std::optional<QString> title;
    std::optional<QString> albumTitle;
    std::optional<QString> artist;
    std::optional<QString> albumArtist;
    double playbackDuration = 0.0;
    std::optional<int> albumTrackNumber;
    // Absolute path of the audio file; absent for an item that cannot be played.
    std::optional<QString> assetURL;
    // Renders the item's artwork at a size; empty function or null image: none.
    std::function<QImage(QSize)> artwork;
};

// The one record for a playable item: a file in the music folder or an item of
// the user's music library. Never persisted.
class Track {
public:
    // A file track for `fileName` inside `directory`; nullptr when no file is
    // there, or a FIFO, socket or device. Only regular files are read.
    static TrackPtr fromFile(const QString& fileName, const QString& directory);
    // A library track; nullptr when the item has no asset URL.
    static TrackPtr fromMediaItem(const MediaItem& item);

    QString title;
    QString album;
    QString artist;
    QString albumArtist;
    QString fileName;
    // Seconds; NaN when the file could not be measured (the invalid time).
    double duration = 0.0;
    bool mediaLibraryItem = false;
    std::optional<quint64> mediaLibraryArtistID;
    std::optional<quint64> mediaLibraryAlbumID;
    std::optional<quint64> mediaLibraryID;
    std::optional<int> mediaLibraryAlbumTrackNumber;
    std::optional<MediaItem> mediaItem;
    std::optional<QString> mediaLibaryLocalPath;

    // The thumbnail may be loaded on a worker and read on the main thread.
    std::optional<QImage> albumArtThumbnail() const;
    void setAlbumArtThumbnail(std::optional<QImage> image);

    void loadAlbumArtThumbnail();
    void loadAlbumArtThumbnailForAlbum();   // placeholder "cd-90"
    void loadAlbumArtThumbnailForArtist();  // placeholder "person-90"

    // Lower-cased title contains the lower-cased search text.
    bool matches(const QString& searchText) const;
    // Where the audio is: the asset path of a library track, else the file in
    // the music folder.
    QString url() const;
    // title + artist + album, no separator.
    QString sortKey() const;

    // Field equality, thumbnail included (both absent, or the same image).
    bool operator==(const Track& other) const;
    // Runs against the natural order of the keys: a < b when b's key sorts first.
    bool operator<(const Track& other) const;

private:
    void loadThumbnail(const QString& placeholder);
    void keepFirstThumbnail(QImage thumbnail);

    mutable std::mutex m_thumbnailMutex;
    std::optional<QImage> m_albumArtThumbnail;
};

Q_DECLARE_METATYPE(TrackPtr)
