#pragma once

#include <chrono>
#include <functional>

// Calls back at a fixed interval on the main thread until stopped. Playback's
// one-second clock runs on one that the event loop drives; a test puts in one
// it steps by hand, so that no test waits on the wall clock.
class RepeatingTimer {
public:
    virtual ~RepeatingTimer() = default;

    // What each timeout calls; set once, before the first start().
    void setCallback(std::function<void()> callback) { m_callback = std::move(callback); }

    // Times out every `interval` from now on; a running timer starts over.
    virtual void start(std::chrono::milliseconds interval) = 0;
    virtual void stop() = 0;
    virtual bool isActive() const = 0;

protected:
    void timeout() {
        if (m_callback) {
            m_callback();
        }
    }

private:
    std::function<void()> m_callback;
};
