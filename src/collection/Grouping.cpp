#include "Grouping.h"

#include <QHash>
#include <QSet>
#include <algorithm>

#include "Log.h"

namespace Grouping {

namespace {

template <typename Record>
QList<Record> fromFiles(const QList<TrackPtr>& tracks, QString Track::*field, const char* label) {
    // Only the first track of a group is ever used, so the groups need not be
    // kept beyond their first member.
    QHash<QString, qsizetype> seen;
    QList<Record> records;
    for (const TrackPtr& track : tracks) {
        const QString& key = (*track).*field;
        if (seen.contains(key)) {
            continue;
        }
        seen.insert(key, records.size());
        records.append(Record::fromTrack(track));
        systemLog(QStringLiteral("%1 for track %2: %3").arg(label, track->fileName, key));
    }
    return records;
}

template <typename Record>
QList<Record> fromLibrary(const QList<TrackPtr>& sortedTracks) {
    // Fresh records have no thumbnail, so equal records are those of one id;
    // a set of ids finds them without comparing every pair.
    QSet<quint64> seen;
    QList<Record> records;
    for (const TrackPtr& track : sortedTracks) {
        Record record = Record::fromTrack(track);
        if (!seen.contains(record.id)) {
            seen.insert(record.id);
            records.append(std::move(record));
        }
    }
    std::stable_sort(records.begin(), records.end());
    std::reverse(records.begin(), records.end());
    return records;
}

}  // namespace

QList<Album> albumsFromFiles(const QList<TrackPtr>& tracks) {
    return fromFiles<Album>(tracks, &Track::album, "Album");
}

QList<Artist> artistsFromFiles(const QList<TrackPtr>& tracks) {
    return fromFiles<Artist>(tracks, &Track::artist, "Artist");
}

QList<Album> albumsFromLibrary(const QList<TrackPtr>& sortedTracks) {
    return fromLibrary<Album>(sortedTracks);
}

QList<Artist> artistsFromLibrary(const QList<TrackPtr>& sortedTracks) {
    return fromLibrary<Artist>(sortedTracks);
}

}  // namespace Grouping
