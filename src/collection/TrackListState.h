#pragma once

#include <QList>
#include <memory>
#include <optional>

#include "Playlist.h"
#include "Track.h"

// What a Tracks screen shows, as far as the scans need to know: the present
// tracks, the playlist shown (if any) and whether the screen picks tracks to
// add to it. The screen's controller owns it; the scans hold it weakly.
struct TrackListState {
    QList<TrackPtr> items;
    std::optional<Playlist> playlist;
    bool addToPlaylist = false;
};
