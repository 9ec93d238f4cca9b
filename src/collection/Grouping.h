#pragma once

#include <QList>

#include "Album.h"
#include "Track.h"

// Albums and artists derived from tracks each time a list is built.
namespace Grouping {

// From files: one record per distinct tag text (the album title, or the
// artist), in the order the texts first appear, with the group's first track
// as representative; logs one line per record. Not sorted.
QList<Album> albumsFromFiles(const QList<TrackPtr>& tracks);
QList<Artist> artistsFromFiles(const QList<TrackPtr>& tracks);

// From library tracks: one record per track, equal records collapsed to the
// first, sorted with < and turned round, so the result runs low to high.
QList<Album> albumsFromLibrary(const QList<TrackPtr>& sortedTracks);
QList<Artist> artistsFromLibrary(const QList<TrackPtr>& sortedTracks);

}  // namespace Grouping
