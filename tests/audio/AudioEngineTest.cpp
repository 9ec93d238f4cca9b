#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "AudioEngine.h"
#include "AudioFile.h"
#include "AudioFixtures.h"
#include "AudioPlayerNode.h"
#include "OfflineAudioOutput.h"

namespace {

std::shared_ptr<AudioFile> open(const QString& path) {
    QString error;
    auto file = AudioFile::openForReading(path, &error);
    EXPECT_TRUE(file) << error.toStdString();
    return file;
}

// A player wired straight to the output of an offline engine. The output
// stage delays everything by its look-ahead; played() takes that delay off, so
// that its frame k is what the player produced k frames after the start.
class PlayerRig {
public:
    explicit PlayerRig(double rate = 44100.0, int block = 512)
        : engine(std::make_unique<OfflineAudioOutput>(rate, block)) {
        engine.attach(&player);
        engine.connect(&player, engine.outputNode());
        EXPECT_TRUE(engine.start());
    }

    void render(int frames) {
        const size_t at = m_output.size();
        m_output.resize(at + size_t(frames) * 2);
        EXPECT_TRUE(engine.renderOffline(m_output.data() + at, frames));
    }

    // Everything the player produced so far, as the listener hears it.
    std::vector<float> played() {
        const int latency = engine.latencyFrames();
        const size_t frames = m_output.size() / 2;
        render(latency);
        std::vector<float> out(m_output.begin() + latency * 2, m_output.end());
        m_output.resize(frames * 2);
        return out;
    }

    // Schedules the whole file at `path` and starts the player.
    std::shared_ptr<AudioFile> play(const QString& path) {
        auto file = open(path);
        if (file) {
            player.scheduleFile(file);
        }
        player.play();
        return file;
    }

    AudioPlayerNode player;
    AudioEngine engine;

private:
    std::vector<float> m_output;
};

// The source frames a render shows on the left channel (-1 for silence).
std::vector<qint64> framesOf(const std::vector<float>& render) {
    std::vector<qint64> frames;
    for (size_t i = 0; i < render.size(); i += 2) {
        frames.push_back(patternFrame(render[i]));
    }
    return frames;
}

std::vector<qint64> run(qint64 first, qint64 count) {
    std::vector<qint64> frames;
    for (qint64 k = 0; k < count; ++k) {
        frames.push_back(first + k);
    }
    return frames;
}

// The runs one after the other, padded with silence to `frames`.
std::vector<qint64> concat(std::initializer_list<std::vector<qint64>> runs, size_t frames) {
    std::vector<qint64> all;
    for (const auto& part : runs) {
        all.insert(all.end(), part.begin(), part.end());
    }
    all.resize(frames, -1);
    return all;
}

}  // namespace

TEST(AudioPlayerNode, SegmentsPlaySampleExactlyOneAfterTheOther) {
    PlayerRig rig;
    const auto file = open(writePatternFile("pattern.wav", 44100, 20000));
    ASSERT_TRUE(file);
    rig.player.scheduleSegment(file, 12345, 3000);
    rig.player.scheduleSegment(file, 0, 1);
    rig.player.scheduleSegment(file, 19999, 1);
    rig.player.scheduleSegment(file, 1023, 1026);  // across the ring's block edges
    rig.player.scheduleSegment(file, 19990, 500);  // clipped to the file's end
    rig.player.play();
    rig.render(8000);
    const auto frames = framesOf(rig.played());
    EXPECT_EQ(frames,
              concat({run(12345, 3000), {0, 19999}, run(1023, 1026), run(19990, 10)}, 8000));
    EXPECT_TRUE(rig.player.isDrained());
}

TEST(AudioPlayerNode, StopDropsWhatWasScheduledAndDecodedAhead) {
    PlayerRig rig;
    const auto file = rig.play(writePatternFile("pattern.wav", 44100, 100000));
    ASSERT_TRUE(file);
    rig.render(1000);
    rig.player.stop();
    EXPECT_FALSE(rig.player.isPlaying());
    rig.render(300);
    // The ring still held decoded audio of the whole file; none of it may leak
    // into the new segment.
    rig.player.scheduleSegment(file, 50000, 700);
    rig.player.play();
    rig.render(1000);
    EXPECT_EQ(framesOf(rig.played()),
              concat({run(0, 1000), std::vector<qint64>(300, -1), run(50000, 700)}, 2300));
}

TEST(AudioPlayerNode, PauseHoldsThePositionAndPlayGoesOn) {
    PlayerRig rig;
    ASSERT_TRUE(rig.play(writePatternFile("pattern.wav", 44100, 10000)));
    rig.render(777);
    rig.player.pause();
    rig.render(500);
    rig.player.play();
    rig.render(500);
    EXPECT_EQ(framesOf(rig.played()),
              concat({run(0, 777), std::vector<qint64>(500, -1), run(777, 500)}, 1777));
}

TEST(AudioPlayerNode, MonoPlaysAtFullLevelOnBothChannels) {
    PlayerRig rig;
    ASSERT_TRUE(rig.play(writePatternFile("mono.wav", 44100, 4000, 1)));
    rig.render(4000);
    const auto out = rig.played();
    for (qint64 k = 0; k < 4000; ++k) {
        ASSERT_EQ(patternFrame(out[size_t(2 * k)]), k);
        ASSERT_EQ(out[size_t(2 * k)], out[size_t(2 * k + 1)]) << "frame " << k;
    }
}

TEST(AudioPlayerNode, ConvertsAFileToTheOutputRateKeepingPitchAndLength) {
    PlayerRig rig(48000.0);
    const double hertz = 1000.0;
    ASSERT_TRUE(rig.play(writeSineFile("sine.wav", 44100, 44100, hertz, 0.5)));
    rig.render(50000);
    const auto out = rig.played();
    int last = -1;
    int crossings = 0;
    double peak = 0.0;
    for (int k = 0; k < 50000; ++k) {
        const float left = out[size_t(2 * k)];
        if (std::fabs(left) > 1e-4f) {
            last = k;
        }
        if (k > 0 && k < 48000 && (out[size_t(2 * k - 2)] < 0.0f) != (left < 0.0f)) {
            ++crossings;
        }
        peak = std::max(peak, double(std::fabs(left)));
    }
    // One second of audio, whatever the rate: about 48000 frames.
    EXPECT_NEAR(last, 48000, 48);
    EXPECT_NEAR(crossings, 2 * hertz, 4);
    EXPECT_NEAR(peak, 0.5, 0.01);
}

TEST(AudioPlayerNode, TimesFollowTheEngineClockAtTheOutputRate) {
    AudioPlayerNode player;
    AudioEngine engine(std::make_unique<OfflineAudioOutput>(44100.0, 441));
    engine.attach(&player);
    engine.connect(&player, engine.outputNode());
    ASSERT_TRUE(engine.start());
    EXPECT_FALSE(player.lastRenderTime()) << "no render time before the first render";

    const auto file = open(writePatternFile("slow.wav", 22050, 22050));
    ASSERT_TRUE(file);
    player.scheduleFile(file);
    EXPECT_FALSE(player.playerTimeForNodeTime(AudioTime{0, 44100.0})) << "stopped";
    player.play();
    std::vector<float> out(4410 * 2);
    engine.renderOffline(out.data(), 4410);
    engine.renderOffline(out.data(), 441);  // the clock is read at the start of a block
    const auto nodeTime = player.lastRenderTime();
    ASSERT_TRUE(nodeTime);
    EXPECT_EQ(nodeTime->sampleTime, 4410);
    EXPECT_EQ(nodeTime->sampleRate, 44100.0);
    // The player's timeline counts at the output's rate, not the file's.
    const auto playerTime = player.playerTimeForNodeTime(*nodeTime);
    ASSERT_TRUE(playerTime);
    EXPECT_EQ(playerTime->sampleRate, 44100.0);
    EXPECT_EQ(playerTime->sampleTime, 4410);
    EXPECT_EQ(player.timelineLength(*file), 44100);

    // A paused engine keeps its last render time; the player keeps its timeline.
    player.pause();
    engine.pause();
    EXPECT_TRUE(player.lastRenderTime());
    EXPECT_TRUE(player.playerTimeForNodeTime(*player.lastRenderTime()));
    player.stop();
    EXPECT_FALSE(player.playerTimeForNodeTime(*player.lastRenderTime()));
}

TEST(AudioEngine, OutputNeverPassesFullScaleAndKeepsQuietAudioBitExact) {
    PlayerRig rig;
    const auto quiet = open(writePatternFile("quiet.wav", 44100, 60000));
    ASSERT_TRUE(rig.play(writeSineFile("loud.wav", 44100, 8000, 440.0, 3.0)) && quiet);
    rig.player.scheduleFile(quiet);
    rig.render(70000);
    const auto out = rig.played();
    for (float sample : out) {
        ASSERT_TRUE(std::isfinite(sample));
        ASSERT_LE(std::fabs(sample), 1.0f);
    }
    // Once the limiter has let go, the quiet file comes through untouched.
    const auto frames = framesOf(out);
    for (qint64 k = 8000 + 44100; k < 68000; ++k) {
        ASSERT_EQ(frames[size_t(k)], k - 8000) << "frame " << k;
    }
}

TEST(AudioEngine, StartPauseAndTheChainOfEffects) {
    // An effect that adds a constant, to see the chain's order and presence.
    struct Offset final : AudioNode {
        explicit Offset(float v) : value(v) {}
        void prepare(double, int) override { prepared = true; }
        void render(float* io, int frames) noexcept override {
            for (int i = 0; i < frames * 2; ++i) {
                io[i] = io[i] * 0.5f + value;
            }
        }
        float value;
        bool prepared = false;
    };
    AudioPlayerNode player;
    Offset first(0.25f);
    Offset second(0.125f);
    AudioEngine engine(std::make_unique<OfflineAudioOutput>(44100.0, 64));
    engine.attach(&player);
    engine.attach(&first);
    engine.attach(&second);
    engine.connect(&player, &first);
    engine.connect(&second, engine.outputNode());
    engine.connect(&first, &second);
    EXPECT_FALSE(engine.isRunning());
    std::vector<float> out(2000);
    EXPECT_FALSE(engine.renderOffline(out.data(), 1000)) << "not running";
    ASSERT_TRUE(engine.start());
    EXPECT_TRUE(first.prepared && second.prepared);
    EXPECT_TRUE(engine.isRunning());
    ASSERT_TRUE(engine.renderOffline(out.data(), 1000));
    // silence -> 0.25 -> 0.125 + 0.125
    EXPECT_EQ(out[1999], 0.25f);
    engine.pause();
    EXPECT_FALSE(engine.isRunning());
    EXPECT_TRUE(engine.start());
}
