#include "SortableList.h"

#include "TextOrder.h"

QList<TrackPtr> sortedByTrackNumber(QList<TrackPtr> tracks) {
    std::stable_sort(tracks.begin(), tracks.end(), [](const TrackPtr& a, const TrackPtr& b) {
        return a->mediaLibraryAlbumTrackNumber.value_or(0) <
               b->mediaLibraryAlbumTrackNumber.value_or(0);
    });
    return tracks;
}

QList<TrackPtr> sortedByFileName(QList<TrackPtr> tracks) {
    QList<std::pair<QString, TrackPtr>> keyed;
    keyed.reserve(tracks.size());
    for (TrackPtr& track : tracks) {
        keyed.append({normalizedForOrder(track->fileName.toLower()), std::move(track)});
    }
    std::stable_sort(keyed.begin(), keyed.end(), [](const auto& a, const auto& b) {
        return compareNormalized(a.first, b.first) < 0;
    });
    for (qsizetype i = 0; i < keyed.size(); ++i) {
        tracks[i] = std::move(keyed[i].second);
    }
    return tracks;
}
