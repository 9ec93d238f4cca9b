#pragma once

#include <chrono>

#include "RepeatingTimer.h"

// The playback clock stepped by hand: each elapse() is one interval.
class ManualTimer final : public RepeatingTimer {
public:
    void start(std::chrono::milliseconds every) override {
        interval = every;
        m_active = true;
    }
    void stop() override { m_active = false; }
    bool isActive() const override { return m_active; }
    // One interval passes: a timeout, if the timer runs.
    void elapse() {
        if (m_active) {
            timeout();
        }
    }

    std::chrono::milliseconds interval{0};

private:
    bool m_active = false;
};
