#pragma once

#include <QImage>
#include <QSize>
#include <QString>
#include <QVariant>
#include <functional>
#include <optional>

// Cover art as the system's media services take it: a size it is drawn at and
// a handler that renders it for a requested size.
struct NowPlayingArtwork {
    QSize boundsSize;
    std::function<QImage(const QSize& requestedSize)> requestHandler;
};

// What the player tells the system about the current track: the playback state
// and the information entry a lock screen or a media key daemon shows. Built
// afresh at play, pause, seek and track change; the system keeps its own clock
// in between.
struct NowPlayingInfo {
    enum class PlaybackState { playing = 1, paused = 2 };

    PlaybackState playbackState = PlaybackState::paused;
    QString title;
    // Seconds; -1.0 while the current track has no position yet.
    double elapsedPlaybackTime = -1.0;
    // The track's duration as a double, or the integer 0 when there is no
    // current track, so a publisher can tell "unknown" from "zero seconds".
    QVariant playbackDuration = 0;
    std::optional<NowPlayingArtwork> artwork;
};
