#pragma once

#include "NowPlayingInfo.h"

// Where the now-playing information goes: the desktop's media service, or a
// recorder in tests.
class NowPlayingPublisher {
public:
    virtual ~NowPlayingPublisher() = default;
    virtual void publish(const NowPlayingInfo& info) = 0;
};

// For a player that nobody outside the process watches.
class NullNowPlayingPublisher final : public NowPlayingPublisher {
public:
    void publish(const NowPlayingInfo&) override {}
};
