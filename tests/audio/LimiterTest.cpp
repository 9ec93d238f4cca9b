#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "DspTestSignals.h"
#include "Limiter.h"

namespace {

constexpr double kRate = 48000.0;
constexpr int kSecond = 48000;

// Runs `signal` through `limiter` in blocks of `blockFrames` and returns what
// came out.
Stereo limit(Limiter& limiter, Stereo signal, int blockFrames = 256) {
    const int frames = static_cast<int>(signal.size() / 2);
    for (int start = 0; start < frames; start += blockFrames) {
        limiter.process(signal.data() + 2 * start, std::min(blockFrames, frames - start));
    }
    return signal;
}

// Whether output frames [from, to) are the input frames `latency` earlier,
// bit for bit.
bool passesExactly(const Stereo& input, const Stereo& output, int latency, int from, int to) {
    return std::memcmp(&output[2 * static_cast<size_t>(from)],
                       &input[2 * static_cast<size_t>(from - latency)],
                       2 * static_cast<size_t>(to - from) * sizeof(float)) == 0;
}

float largestMagnitude(const Stereo& signal) {
    float largest = 0.0f;
    for (float sample : signal) {
        largest = std::max(largest, std::fabs(sample));
    }
    return largest;
}

// A limiter prepared for 48 kHz, and its latency.
class LimiterTest : public ::testing::Test {
protected:
    struct Prepared : Limiter {
        Prepared() { prepare(kRate, 512); }
    } limiter;
    const int latency = limiter.latencyFrames();
};

}  // namespace

TEST_F(LimiterTest, DelaysByItsLatencyOfAFewMilliseconds) {
    EXPECT_GE(latency, kSecond / 1000);
    EXPECT_LE(latency, 5 * kSecond / 1000);

    Stereo impulse(2 * 1000, 0.0f);
    impulse[2 * 10] = 0.75f;
    impulse[2 * 10 + 1] = -0.5f;
    const Stereo out = limit(limiter, impulse, 33);
    for (int n = 0; n < 1000; ++n) {
        const bool atImpulse = n == 10 + latency;
        EXPECT_EQ(out[2 * n], atImpulse ? 0.75f : 0.0f) << "frame " << n;
        EXPECT_EQ(out[2 * n + 1], atImpulse ? -0.5f : 0.0f) << "frame " << n;
    }

    // reset() forgets what was in the look-ahead.
    Stereo pending(2 * 4, 0.9f);
    limiter.process(pending.data(), 4);
    limiter.reset();
    const Stereo afterReset = limit(limiter, Stereo(2 * 200, 0.0f));
    EXPECT_EQ(largestMagnitude(afterReset), 0.0f);
}

TEST_F(LimiterTest, PassesSignalWithinFullScaleBitExactIncludingAfterABurst) {
    // Within full scale, touching it exactly: delayed, otherwise untouched.
    Stereo quiet = noise(kSecond, 1.0f, 1);
    quiet[2 * 100] = 1.0f;
    quiet[2 * 200 + 1] = -1.0f;
    quiet[2 * 300] = FLT_MIN / 8;  // subnormal
    for (int block : {1, 37, 512}) {
        limiter.reset();
        const Stereo out = limit(limiter, quiet, block);
        EXPECT_TRUE(passesExactly(quiet, out, latency, latency, kSecond)) << "block " << block;
    }

    // A loud burst in the middle: limited while it lasts, then released, and
    // afterwards exact again rather than a hair below unity for ever.
    limiter.reset();
    Stereo signal = noise(3 * kSecond, 0.8f, 2);
    const int burstStart = kSecond, burstEnd = kSecond + kSecond / 50;
    for (int n = burstStart; n < burstEnd; ++n) {
        signal[2 * n] *= 5.0f;
        signal[2 * n + 1] *= 5.0f;
    }
    const Stereo out = limit(limiter, signal);
    EXPECT_TRUE(passesExactly(signal, out, latency, latency, burstStart - latency));
    EXPECT_FALSE(passesExactly(signal, out, latency, burstStart, burstEnd + latency));
    const int released = burstEnd + kSecond * 7 / 10;
    EXPECT_TRUE(passesExactly(signal, out, latency, released, 3 * kSecond));
}

TEST_F(LimiterTest, NeverPassesFullScale) {
    // Loud noise, lone spikes (one sample, one channel), square waves well
    // beyond full scale and at the largest float, each after a quiet stretch
    // so the gain has recovered when it comes.
    Stereo signal = noise(kSecond, 0.5f, 3);
    Stereo loud = noise(kSecond / 4, 30.0f, 4);
    signal.insert(signal.end(), loud.begin(), loud.end());
    for (float spike : {1.0001f, 3.0f, 1e6f, FLT_MAX, -FLT_MAX}) {
        Stereo stretch = noise(kSecond / 2, 0.9f, 5);
        stretch[2 * 1000 + 1] = spike;
        signal.insert(signal.end(), stretch.begin(), stretch.end());
    }
    for (float level : {1.5f, 100.0f, FLT_MAX}) {
        for (int n = 0; n < kSecond / 2; ++n) {
            const float value = (n / 50) % 2 ? level : -level;
            signal.push_back(value);
            signal.push_back(-value);
        }
    }
    const Stereo out = limit(limiter, signal, 100);
    EXPECT_LE(largestMagnitude(out), 1.0f);

    // The square waves come out as full-scale squares once the look-ahead has
    // seen them: limited, not silenced.
    const size_t lastSquare = out.size() - 2 * static_cast<size_t>(kSecond / 2);
    EXPECT_GT(std::fabs(out[lastSquare + 2 * static_cast<size_t>(latency + 2000)]), 0.99f);
}

TEST_F(LimiterTest, GainComesDownSmoothlyAheadOfAPeak) {
    // A constant level with one frame four times over full scale.
    Stereo signal(2 * static_cast<size_t>(kSecond), 0.5f);
    const int peak = 2000;
    signal[2 * peak] = signal[2 * peak + 1] = 4.0f;
    const Stereo out = limit(limiter, signal);

    std::vector<double> gain(kSecond - latency);
    for (size_t n = 0; n < gain.size(); ++n) {
        gain[n] = out[2 * (n + latency)] / signal[2 * n];
    }
    EXPECT_EQ(gain[peak - latency - 1], 1.0);
    EXPECT_LE(gain[peak] * 4.0, 1.0);
    // From unity to a quarter across the look-ahead, never in a jump.
    double largestStep = 0.0;
    for (size_t n = 1; n < gain.size(); ++n) {
        largestStep = std::max(largestStep, std::fabs(gain[n] - gain[n - 1]));
    }
    EXPECT_LT(largestStep, 0.75 / latency * 1.1);
    // It recovers over tens of milliseconds, not at once and not for ages.
    EXPECT_LT(gain[peak + kSecond / 1000 * 5], 0.5);
    EXPECT_EQ(gain[gain.size() - 1], 1.0);
}

TEST_F(LimiterTest, TurnsNaNAndInfinityIntoSilence) {
    Stereo signal = noise(kSecond / 10, 0.5f, 6);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    signal[2 * 100] = nan;
    signal[2 * 200 + 1] = inf;
    signal[2 * 300] = -inf;
    signal[2 * 300 + 1] = nan;
    const Stereo out = limit(limiter, signal);
    for (float sample : out) {
        ASSERT_TRUE(std::isfinite(sample));
    }
    EXPECT_EQ(out[2 * (100 + latency)], 0.0f);
    EXPECT_EQ(out[2 * (200 + latency) + 1], 0.0f);
    EXPECT_EQ(out[2 * (300 + latency)], 0.0f);
    // The frames around them are untouched: bad samples do not pull the gain.
    EXPECT_EQ(out[2 * (100 + latency) + 1], signal[2 * 100 + 1]);
    EXPECT_EQ(out[2 * (300 + latency) + 2], signal[2 * 301]);

    // Unprepared, it still keeps the device's input finite and in range.
    Limiter unprepared;
    Stereo raw{nan, 2.0f, -inf, 0.25f};
    unprepared.process(raw.data(), 2);
    EXPECT_EQ(raw, (Stereo{0.0f, 1.0f, 0.0f, 0.25f}));
}

TEST(Limiter, BlockSizeNeverChangesTheResult) {
    // Quiet stretches take a shortcut that must leave the limiter exactly as
    // frame-by-frame work would: bursts at odd places, quiet in between, and
    // a NaN, through several block sizes.
    Stereo signal = noise(40000, 0.5f, 11);
    for (int burst : {3000, 3001, 17777, 30500}) {
        for (int k = 0; k < 300; ++k) {
            signal[2 * size_t(burst + k)] *= 4.0f;
        }
    }
    signal[2 * 25000 + 1] = std::numeric_limits<float>::quiet_NaN();
    Limiter reference;
    reference.prepare(44100.0, 4096);
    const Stereo expected = limit(reference, signal, 1);
    for (int block : {7, 512, 4096}) {
        Limiter limiter;
        limiter.prepare(44100.0, 4096);
        const Stereo output = limit(limiter, signal, block);
        ASSERT_EQ(std::memcmp(output.data(), expected.data(), output.size() * sizeof(float)), 0)
            << "block " << block;
    }
}
