#pragma once

#include <memory>

#include "NowPlayingPublisher.h"
#include "Track.h"

// Tells the system what plays: builds the now-playing entry from the
// transport's state and hands it to the publisher.
class NowPlayingReporter {
public:
    NowPlayingReporter();

    // Null publishes nowhere.
    void setPublisher(std::shared_ptr<NowPlayingPublisher> publisher);

    // `track` is null when no track is current; `elapsed` is -1.0 until the
    // track has a position.
    void report(bool playing, double elapsed, const TrackPtr& track) const;

private:
    std::shared_ptr<NowPlayingPublisher> m_publisher;
};
