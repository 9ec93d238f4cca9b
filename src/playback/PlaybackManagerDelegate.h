#pragma once

#include <memory>

#include "Track.h"

class PlaybackManager;

// The screen that shows playback. The manager holds it weakly: once a
// delegate is destroyed, the manager stops calling it without being told.
class PlaybackManagerDelegate {
public:
    PlaybackManagerDelegate() = default;
    // A copy is a different delegate: it does not share the original's life.
    PlaybackManagerDelegate(const PlaybackManagerDelegate&) {}
    PlaybackManagerDelegate& operator=(const PlaybackManagerDelegate&) { return *this; }
    virtual ~PlaybackManagerDelegate() = default;

    virtual void didStartPlayback() = 0;
    virtual void didPausePlayback() = 0;
    virtual void didStopPlayback() = 0;
    // A new track began; null when there is none to show.
    virtual void didChangeTrack(TrackPtr track) = 0;
    virtual void didChangeCurrentTime(PlaybackManager& manager, double seconds) = 0;

private:
    friend class PlaybackManager;
    // Lives exactly as long as the delegate; the manager keeps a weak_ptr to it.
    std::shared_ptr<PlaybackManagerDelegate*> m_lifetime =
        std::make_shared<PlaybackManagerDelegate*>(this);
};
