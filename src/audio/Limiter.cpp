#include "Limiter.h"

#include <QLoggingCategory>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

Q_LOGGING_CATEGORY(lcLimiter, "corvantis.audio.limiter", QtInfoMsg)

constexpr double kLookAheadSeconds = 0.002;
constexpr double kReleaseSeconds = 0.050;
// Once the release is this close to unity it jumps there, so that after a
// peak the pass-through is exact again instead of creeping up for ever. The
// step is -100 dB and the moving average spreads it over the look-ahead.
constexpr double kReleaseSnap = 1e-5;

float finiteOrSilence(float sample) {
    return std::isfinite(sample) ? sample : 0.0f;
}

// False for NaN too.
bool withinFullScale(const float* samples, int frames) {
    // On the bits, with the sign cleared: every magnitude up to 1.0f orders
    // below 1.0f's own bits, and infinities and NaNs above them. An integer
    // maximum vectorises where a chain of float comparisons does not, and
    // this runs over every block played.
    constexpr std::int32_t kMagnitude = 0x7fffffff;
    constexpr std::int32_t kFullScale = 0x3f800000;  // 1.0f
    std::int32_t largest = 0;
    for (int i = 0; i < 2 * frames; ++i) {
        std::int32_t bits = 0;
        std::memcpy(&bits, samples + i, sizeof bits);
        largest = std::max(largest, bits & kMagnitude);
    }
    return largest <= kFullScale;
}

float clampToFullScale(float sample) {
    return std::clamp(sample, -1.0f, 1.0f);
}

}  // namespace

// How the gain is found, per frame n with look-ahead window L:
//   r[n] = min(1, 1 / peak of frame n)      the gain that frame needs
//   m[n] = min(r[n-L+1 .. n])               sliding minimum over the window
//   e[n] = min(m[n], release(e[n-1]))       instant attack, exponential release
//   g[n] = mean(e[n-L+1 .. n])              moving average: the gain glides
// and g[n] is applied to frame n-(L-1). Every e in that average covers frame
// n-(L-1) in its window, so each is <= r of that frame, and so is their mean:
// the output cannot pass full scale (a final clamp catches roundoff). Where no
// e in the average is below 1 the gain is exactly 1 and the frame passes as is.
struct Limiter::State {
    int window = 0;  // L; 0 until prepared
    double releaseCoefficient = 0.0;

    // Frames waiting for their gain: L - 1 of them, interleaved stereo.
    std::vector<float> delay;
    std::vector<float> incoming;  // room for one delay line's worth of frames
    int delayPosition = 0;

    // Monotonic queue for the sliding minimum: frame numbers and their r,
    // r increasing from front to back, in a ring of L entries.
    std::vector<std::int64_t> queueFrame;
    std::vector<double> queueGain;
    int queueFront = 0;
    int queueSize = 0;
    std::int64_t frame = 0;

    double envelope = 1.0;

    // The last L envelope values, their sum, and how many are below 1.
    std::vector<double> recent;
    int recentPosition = 0;
    double recentSum = 0.0;
    int recentBelowUnity = 0;

    void clear() {
        std::fill(delay.begin(), delay.end(), 0.0f);
        delayPosition = 0;
        queueFront = 0;
        queueSize = 0;
        frame = 0;
        envelope = 1.0;
        std::fill(recent.begin(), recent.end(), 1.0);
        recentPosition = 0;
        recentSum = window;
        recentBelowUnity = 0;
    }

    double slidingMinimum(double required) {
        auto slot = [this](int offset) { return (queueFront + offset) % window; };
        while (queueSize > 0 && queueGain[slot(queueSize - 1)] >= required) {
            --queueSize;
        }
        queueFrame[slot(queueSize)] = frame;
        queueGain[slot(queueSize)] = required;
        ++queueSize;
        while (queueFrame[queueFront] <= frame - window) {
            queueFront = slot(1);
            --queueSize;
        }
        ++frame;
        return queueGain[queueFront];
    }

    double nextEnvelope(double windowMinimum) {
        double released = envelope + (1.0 - envelope) * releaseCoefficient;
        if (released > 1.0 - kReleaseSnap) {
            released = 1.0;
        }
        envelope = std::min(windowMinimum, released);
        return envelope;
    }

    double movingAverage(double value) {
        const double leaving = recent[recentPosition];
        recent[recentPosition] = value;
        recentBelowUnity += (value < 1.0) - (leaving < 1.0);
        recentSum += value - leaving;
        if (++recentPosition == window) {
            recentPosition = 0;
            // A running sum picks up roundoff; start it afresh once per window.
            recentSum = 0.0;
            for (double v : recent) {
                recentSum += v;
            }
        }
        return recentBelowUnity == 0 ? 1.0 : recentSum / window;
    }

    // Nothing is being held down and nothing in the look-ahead needs to be:
    // the gain is exactly 1 and stays so for a block within full scale.
    bool idle() const {
        return envelope == 1.0 && recentBelowUnity == 0 && queueSize == 1 &&
               queueGain[queueFront] == 1.0;
    }

    // The gain stage for a block that needs none: only the delay line moves.
    // Leaves the state as frame-by-frame work on the same block would.
    void passThrough(float* samples, int frames) {
        const int delayFrames = static_cast<int>(delay.size() / 2);
        if (frames >= delayFrames) {
            // Whole lines at a time: the held frames come out first, the
            // block moves up behind them, and its tail becomes the new line.
            const size_t held = 2 * size_t(delayFrames);
            const size_t ahead = 2 * size_t(delayPosition);
            std::copy_n(samples + 2 * size_t(frames) - held, held, incoming.begin());
            std::memmove(samples + held, samples, (2 * size_t(frames) - held) * sizeof(float));
            std::copy(delay.begin() + ahead, delay.end(), samples);
            std::copy_n(delay.begin(), ahead, samples + held - ahead);
            delay.swap(incoming);
            delayPosition = 0;
            queueFrame[queueFront] = frame + frames - 1;
            frame += frames;
            return;
        }
        for (int i = 0; i < frames; ++i) {
            float* slot = &delay[2 * delayPosition];
            std::swap(slot[0], samples[2 * i]);
            std::swap(slot[1], samples[2 * i + 1]);
            if (++delayPosition == delayFrames) {
                delayPosition = 0;
            }
        }
        queueFrame[queueFront] = frame + frames - 1;
        frame += frames;
    }

    void processFrame(float* frameSamples) {
        const float left = finiteOrSilence(frameSamples[0]);
        const float right = finiteOrSilence(frameSamples[1]);
        const double peak = std::max(std::fabs(left), std::fabs(right));
        const double required = peak > 1.0 ? 1.0 / peak : 1.0;
        const double gain = movingAverage(nextEnvelope(slidingMinimum(required)));

        float delayedLeft = left;
        float delayedRight = right;
        if (!delay.empty()) {
            float* slot = &delay[2 * delayPosition];
            delayedLeft = slot[0];
            delayedRight = slot[1];
            slot[0] = left;
            slot[1] = right;
            if (++delayPosition * 2 == static_cast<int>(delay.size())) {
                delayPosition = 0;
            }
        }
        if (gain != 1.0) {
            delayedLeft = static_cast<float>(delayedLeft * gain);
            delayedRight = static_cast<float>(delayedRight * gain);
        }
        frameSamples[0] = clampToFullScale(delayedLeft);
        frameSamples[1] = clampToFullScale(delayedRight);
    }
};

Limiter::Limiter() : m_state(std::make_unique<State>()) {}

Limiter::~Limiter() = default;

void Limiter::prepare(double sampleRate, int maximumFrames) {
    Q_UNUSED(maximumFrames);  // works frame by frame, in place
    State& s = *m_state;
    if (!(sampleRate > 0.0) || !std::isfinite(sampleRate)) {
        qCWarning(lcLimiter) << "cannot prepare for sample rate" << sampleRate
                             << "; clamping without look-ahead";
        s.window = 0;
        return;
    }
    s.window = std::max(2, static_cast<int>(std::lround(kLookAheadSeconds * sampleRate)));
    s.releaseCoefficient = 1.0 - std::exp(-1.0 / (kReleaseSeconds * sampleRate));
    s.delay.assign(2 * static_cast<size_t>(s.window - 1), 0.0f);
    s.incoming.assign(s.delay.size(), 0.0f);
    s.queueFrame.assign(s.window, 0);
    s.queueGain.assign(s.window, 1.0);
    s.recent.assign(s.window, 1.0);
    s.clear();
}

void Limiter::process(float* interleavedStereo, int frames) noexcept {
    State& s = *m_state;
    float* frame = interleavedStereo;
    if (s.window == 0) {
        // Not prepared: no look-ahead to shape the gain with, so at least keep
        // the device's input finite and within full scale.
        for (int i = 0; i < 2 * frames; ++i) {
            frame[i] = clampToFullScale(finiteOrSilence(frame[i]));
        }
        return;
    }
    // Music mostly stays within full scale: such blocks skip the detector.
    if (s.idle() && !s.delay.empty() && withinFullScale(interleavedStereo, frames)) {
        s.passThrough(interleavedStereo, frames);
        return;
    }
    for (int i = 0; i < frames; ++i, frame += 2) {
        s.processFrame(frame);
    }
}

void Limiter::reset() noexcept {
    if (m_state->window > 0) {
        m_state->clear();
    }
}

int Limiter::latencyFrames() const {
    return m_state->window > 0 ? m_state->window - 1 : 0;
}
