#pragma once

#include <QTimer>

#include "RepeatingTimer.h"

// A RepeatingTimer the event loop drives: playback's one-second clock.
class EventLoopTimer final : public RepeatingTimer {
public:
    EventLoopTimer() {
        QObject::connect(&m_timer, &QTimer::timeout, [this] { timeout(); });
    }
    void start(std::chrono::milliseconds interval) override { m_timer.start(interval); }
    void stop() override { m_timer.stop(); }
    bool isActive() const override { return m_timer.isActive(); }

private:
    QTimer m_timer;
};
