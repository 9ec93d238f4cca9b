#pragma once

#include <memory>

// The last stage before the device: a look-ahead peak limiter that acts only
// where the signal would pass full scale, so audio that stays within it comes
// out bit-exact, only delayed by latencyFrames(). It also replaces NaN and
// infinity with silence, so the device never sees them.
class Limiter {
public:
    Limiter();
    ~Limiter();

    // Main thread, while nothing renders: sizes the look-ahead for the rate.
    void prepare(double sampleRate, int maximumFrames);
    // Render thread: limits `frames` interleaved stereo frames in place.
    void process(float* interleavedStereo, int frames) noexcept;
    // Clears the look-ahead delay and the gain envelope.
    void reset() noexcept;
    int latencyFrames() const;

    struct State;

private:
    std::unique_ptr<State> m_state;
};
