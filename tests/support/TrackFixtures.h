#pragma once

#include <QString>
#include <QStringList>
#include <memory>

#include "Track.h"

// A track built in memory, as a list or the queue would hold it.
inline TrackPtr makeTrack(const QString& title, const QString& artist = "A",
                          const QString& album = "B", const QString& fileName = {}) {
    auto track = std::make_shared<Track>();
    track->title = title;
    track->artist = artist;
    track->album = album;
    track->albumArtist = "N/A";
    track->fileName = fileName.isEmpty() ? title + ".wav" : fileName;
    return track;
}

// title, album, artist and albumArtist, to compare in one go.
inline QStringList fieldsOf(const Track& track) {
    return {track.title, track.album, track.artist, track.albumArtist};
}
