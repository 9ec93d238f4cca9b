#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <optional>

// One entry of a standard M3U playlist: the path line, with what its
// "#EXTINF:" line said about it.
struct M3uEntry {
    QString location;  // as written: a relative or absolute path, or a file URL
    std::optional<double> duration;
    std::optional<QString> title;
};

struct M3uPlaylist {
    std::optional<QString> name;  // from "#PLAYLIST:"
    QList<M3uEntry> entries;
};

// Reads the playlists other programs write (".m3u" in the local 8-bit text or
// UTF-8, ".m3u8" in UTF-8). Any byte sequence gives a result; lines that mean
// nothing are passed over.
M3uPlaylist readM3u(const QByteArray& bytes, bool utf8);
