#include "SortableList.h"

#include "TextOrder.h"

bool containsText(QStringView text, QStringView part) {
    const qsizetype length = part.size();
    if (length == 0) {
        return true;
    }
    if (length > text.size()) {
        return false;
    }
    const QChar* const partData = part.data();
    const QChar first = partData[0];
    const QChar* const last = text.data() + (text.size() - length);
    for (const QChar* at = text.data(); at <= last; ++at) {
        if (*at == first && std::equal(partData + 1, partData + length, at + 1)) {
            return true;
        }
    }
    return false;
}

QList<TrackPtr> sortedByTrackNumber(QList<TrackPtr> tracks) {
    std::stable_sort(tracks.begin(), tracks.end(), [](const TrackPtr& a, const TrackPtr& b) {
        return a->mediaLibraryAlbumTrackNumber.value_or(0) <
               b->mediaLibraryAlbumTrackNumber.value_or(0);
    });
    return tracks;
}

QList<TrackPtr> sortedByFileName(QList<TrackPtr> tracks, bool* ties) {
    QList<std::pair<QString, TrackPtr>> keyed;
    keyed.reserve(tracks.size());
    for (TrackPtr& track : tracks) {
        keyed.append({normalizedForOrder(track->fileName.toLower()), std::move(track)});
    }
    std::stable_sort(keyed.begin(), keyed.end(), [](const auto& a, const auto& b) {
        return compareNormalized(a.first, b.first) < 0;
    });
    if (ties) {
        *ties = std::adjacent_find(keyed.cbegin(), keyed.cend(), [](const auto& a, const auto& b) {
                    return compareNormalized(a.first, b.first) == 0;
                }) != keyed.cend();
    }
    for (qsizetype i = 0; i < keyed.size(); ++i) {
        tracks[i] = std::move(keyed[i].second);
    }
    return tracks;
}
