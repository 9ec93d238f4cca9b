#pragma once

#include <QMetaType>
#include <QSet>
#include <QString>
#include <QtGlobal>
#include <optional>

// A playlist of the user's music library as the library source hands it out.
struct MediaPlaylist {
    quint64 persistentID = 0;
    std::optional<QString> name;
    QList<quint64> itemPersistentIDs;
};

// A named set of tracks. A user's playlist is one `.m3u8` file whose name is
// the id; a library playlist is read-only and names its items by persistent ID.
struct Playlist {
    QString id;
    QString name;
    // Members are file names (or persistent IDs as decimal text for a library
    // playlist). A set: a track is in a playlist at most once, in no order.
    QSet<QString> fileNames;
    bool mediaLibraryItem = false;

    // Reads the file `fileName` in `directory`; nothing when it is not UTF-8
    // text or cannot be read.
    static std::optional<Playlist> fromFile(const QString& fileName, const QString& directory);
    // The bytes of a playlist file whose name is `id`; nothing when they are
    // not UTF-8.
    static std::optional<Playlist> fromBytes(const QByteArray& bytes, const QString& id);
    // Parses the text of a playlist file whose name is `id`.
    static Playlist fromText(const QString& text, const QString& id);
    static Playlist fromMediaPlaylist(const MediaPlaylist& mediaPlaylist);
    // A fresh id: an upper-case UUID and ".m3u8".
    static QString newId();

    // The text of the playlist's file.
    QString description() const;
    // The playlist as its file holds it: a line break in a name or file name
    // would start a line of its own (a phantom member), so each one is a
    // space there.
    Playlist asWritten() const;
    // `text` with every line or paragraph separator (\n, \r, \v, \f, U+0085,
    // U+2028, U+2029) replaced by a space.
    static QString singleLine(QString text);

    // Identity is the id alone.
    bool operator==(const Playlist& other) const { return id == other.id; }
    // Natural order of the names, case included.
    bool operator<(const Playlist& other) const;
};

Q_DECLARE_METATYPE(Playlist)

// "Playlists" in the documents directory; fixed on first use.
const QString& playlistsDirectory();
