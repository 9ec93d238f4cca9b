#pragma once

#include <QImage>
#include <QString>
#include <optional>

#include "Track.h"

// An album as a list shows it: the fields of one representative track, whose
// picture the row fetches once and then lets go of.
struct Album {
    quint64 id = 0;  // the library album ID; 0 for files
    QString artist;
    QString name;
    std::optional<QImage> albumArtThumbnail;
    TrackPtr track;

    static Album fromTrack(const TrackPtr& track);

    // Loads the representative's picture (with the album placeholder), keeps it
    // and lets the track go. Does nothing once the track is gone.
    void takeThumbnail();

    // The id and the thumbnail alone: albums made from files all have id 0 and
    // are equal until they hold pictures.
    bool operator==(const Album& other) const;
    // Against the natural order of the key name + artist.
    // Name then artist; operator< runs against this text's order.
    QString orderText() const;
    bool operator<(const Album& other) const;
    bool matches(const QString& searchText) const;
};

// An artist as a list shows it; see Album.
struct Artist {
    quint64 id = 0;  // the library artist ID; 0 for files
    QString name;
    std::optional<QImage> albumArtThumbnail;
    TrackPtr track;

    static Artist fromTrack(const TrackPtr& track);

    // As Album::takeThumbnail, with the artist placeholder.
    void takeThumbnail();

    bool operator==(const Artist& other) const;
    // Against the natural order of the name.
    QString orderText() const;
    bool operator<(const Artist& other) const;
    bool matches(const QString& searchText) const;
};
