#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QImage>
#include <cmath>
#include <functional>
#include <limits>
#include <vector>

#include <SDL.h>

#include "AppDirectories.h"
#include "AudioDecoder.h"
#include "AudioDecoderModule.h"
#include "AudioFixtures.h"
#include "DeviceAudioOutput.h"
#include "Log.h"
#include "ManualTimer.h"
#include "OfflineAudioOutput.h"
#include "PlaybackManager.h"
#include "TestSupport.h"
#include "TrackFixtures.h"

namespace {

constexpr double kRate = 44100.0;
constexpr int kBlock = 512;
constexpr double kInfinity = std::numeric_limits<double>::infinity();

using State = PlaybackManager::State;
using RepeatMode = PlaybackManager::RepeatMode;

// A word the multiply-and-reject pick maps to `pick` out of `count`, well
// clear of the rejection zone.
quint64 wordPicking(int pick, int count) {
    return quint64(2 * pick + 1) * (std::numeric_limits<quint64>::max() / quint64(2 * count));
}

struct RecordingDelegate : PlaybackManagerDelegate {
    QStringList events;
    QList<double> times;

    void didStartPlayback() override { events << "start"; }
    void didPausePlayback() override { events << "pause"; }
    void didStopPlayback() override { events << "stop"; }
    void didChangeTrack(TrackPtr track) override {
        events << "track " + (track ? track->title : QStringLiteral("none"));
    }
    void didChangeCurrentTime(PlaybackManager&, double seconds) override { times << seconds; }
};

struct RecordingPublisher : NowPlayingPublisher {
    QList<NowPlayingInfo> published;
    void publish(const NowPlayingInfo& info) override { published << info; }
};

// Hands out the given words in order and counts the draws.
struct ScriptedRandom {
    std::vector<quint64> words;
    size_t draws = 0;
    void script(std::vector<quint64> next) {
        words = std::move(next);
        draws = 0;
    }
    PlaybackManager::RandomSource source() {
        return [this]() -> quint64 {
            if (draws >= words.size()) {
                ADD_FAILURE() << "more random words drawn than scripted";
                return 0;
            }
            return words[draws++];
        };
    }
};

// Warnings of the playback category, which the system's log lines are not.
class PlaybackWarnings {
public:
    PlaybackWarnings() {
        s_lines.clear();
        m_previous = qInstallMessageHandler(
            [](QtMsgType type, const QMessageLogContext& context, const QString& message) {
                if (type == QtWarningMsg && qstrcmp(context.category, "corvantis.playback") == 0) {
                    s_lines.append(message);
                }
            });
    }
    ~PlaybackWarnings() { qInstallMessageHandler(m_previous); }
    QStringList lines() const { return s_lines; }
    void clear() { s_lines.clear(); }

private:
    static inline QStringList s_lines;
    QtMessageHandler m_previous = nullptr;
};

// A track the queue believes lasts `duration`, whose file is `audioSeconds` of
// 44.1 kHz float audio in which every frame tells its own index.
TrackPtr frameIndexTrack(const QString& title, double duration, double audioSeconds) {
    TrackPtr track = makeTrack(title);
    track->duration = duration;
    writePatternFile(QDir(testHome()).relativeFilePath(track->url()), 44100,
                     qint64(audioSeconds * 44100));
    return track;
}

// A sound device that never runs: either it will not start, or it says it
// started and then is not running.
class DeadOutput final : public AudioOutput {
public:
    explicit DeadOutput(bool startSucceeds = false) : m_startSucceeds(startSucceeds) {}
    bool start(AudioEngine&, QString* error) override {
        if (!m_startSucceeds && error) {
            *error = "no device";
        }
        return m_startSucceeds;
    }
    void pause() override {}
    bool isRunning() const override { return false; }
    double sampleRate() const override { return kRate; }
    int maximumFrames() const override { return kBlock; }

private:
    bool m_startSucceeds;
};

class PlaybackManagerTest : public ::testing::Test {
protected:
    explicit PlaybackManagerTest(double outputRate = kRate)
        : manager(std::make_unique<OfflineAudioOutput>(outputRate, kBlock)) {
        auto timer = std::make_unique<ManualTimer>();
        clock = timer.get();
        manager.setElapsedTimeTimer(std::move(timer));
        manager.setDelegate(&delegate);
        manager.setNowPlayingPublisher(publisher);
    }

    TrackPtr unreadableTrack(const QString& title) {
        TrackPtr result = queuedTrack(title, 10.0, 0);
        writeFile(result->url(), "this is no audio file, whatever its name says");
        return result;
    }

    void startQueue(const QList<TrackPtr>& queue, int index = 0) {
        ::startQueue(manager, queue, index);
    }

    std::vector<float> render(int frames) {
        std::vector<float> samples(size_t(frames) * 2);
        EXPECT_TRUE(manager.audioEngine().renderOffline(samples.data(), frames));
        return samples;
    }

    void tick(int count = 1) {
        for (int i = 0; i < count; ++i) {
            clock->elapse();
        }
    }

    bool timerActive() const { return manager.elpasedTimeTimer()->isActive(); }

    LogCapture log;
    PlaybackManager manager;
    ManualTimer* clock = nullptr;
    RecordingDelegate delegate;
    std::shared_ptr<RecordingPublisher> publisher = std::make_shared<RecordingPublisher>();
};

// The output at 48 kHz, the tracks' files at 44.1 kHz.
class PlaybackManagerAt48kHz : public PlaybackManagerTest {
protected:
    PlaybackManagerAt48kHz() : PlaybackManagerTest(48000.0) {}
};

}  // namespace

TEST_F(PlaybackManagerTest, GraphRunsThroughTheMainUnitAndThreeBassUnits) {
    ASSERT_NE(manager.equalizer(), nullptr);
    ASSERT_EQ(manager.bassEqualizers().size(), 3u);
    const auto& bass = manager.bassEqualizers();
    EXPECT_EQ(manager.audioEngine().signalPath(),
              (std::vector<AudioNode*>{&manager.audioPlayerNode(), manager.equalizer(),
                                       bass[0].get(), bass[1].get(), bass[2].get()}));
    EXPECT_EQ(manager.state(), State::stopped);
    EXPECT_EQ(manager.currentIndex(), -1);
    EXPECT_EQ(manager.currentTime(), -1.0);
}

TEST_F(PlaybackManagerTest, TrackEndsByTheCountAndTheQueueMovesOn) {
    const TrackPtr first = queuedTrack("first", 3.0);
    const TrackPtr second = queuedTrack("second", 2.0);
    startQueue({first, second});

    EXPECT_EQ(manager.state(), State::playing);
    EXPECT_EQ(delegate.events, (QStringList{"track first", "start"}));
    // The timer's first tick comes at once: the -1.0 of a fresh track is 0.
    EXPECT_TRUE(timerActive());
    EXPECT_EQ(manager.currentTime(), 0.0);
    EXPECT_EQ(delegate.times, (QList<double>{0.0, 0.0}));

    tick(3);
    EXPECT_EQ(manager.currentTime(), 3.0);
    EXPECT_EQ(manager.currentIndex(), 0);
    // At the duration the tick moves on, and counts the new track's -1 to 0.
    tick();
    EXPECT_EQ(manager.currentIndex(), 1);
    EXPECT_EQ(manager.currentTime(), 0.0);
    EXPECT_EQ(delegate.events.mid(2), (QStringList{"track second", "start"}));

    // The last track, repeat off: the queue ends and the index stays.
    tick(3);
    EXPECT_EQ(manager.state(), State::stopped);
    EXPECT_EQ(manager.currentIndex(), 1);
    EXPECT_EQ(delegate.events.last(), "stop");
    EXPECT_FALSE(manager.audioPlayerNode().isPlaying());
    // The next tick finds the node stopped: no position, and the clock ends.
    tick();
    EXPECT_EQ(manager.currentTime(), -1.0);
    EXPECT_FALSE(timerActive());

    // play() after a stop starts the track at the index from its beginning.
    delegate.events.clear();
    manager.play();
    EXPECT_EQ(manager.state(), State::playing);
    EXPECT_EQ(manager.currentIndex(), 1);
    EXPECT_EQ(delegate.events, (QStringList{"track second", "start", "start"}));
    EXPECT_TRUE(timerActive());
}

TEST_F(PlaybackManagerTest, DelegateSeesZeroForNoPositionAndNeverATimePastTheEnd) {
    startQueue({queuedTrack("short", 2.5)});
    tick(3);
    // The count itself runs past the end; what the screen is told does not.
    EXPECT_EQ(manager.currentTime(), 3.0);
    EXPECT_EQ(delegate.times.last(), 2.5);
    for (double seconds : delegate.times) {
        EXPECT_GE(seconds, 0.0);
        EXPECT_LE(seconds, 2.5);
    }
}

TEST_F(PlaybackManagerTest, TheClockTicksEverySecondAndStartingItTwiceKeepsOneClock) {
    startQueue({queuedTrack("song", 10.0)});
    ASSERT_EQ(manager.currentTime(), 0.0);
    EXPECT_EQ(clock->interval, std::chrono::seconds(1));
    manager.startElapsedTimeTimer();
    // A second start would have ticked at once.
    EXPECT_EQ(manager.currentTime(), 0.0);
    EXPECT_TRUE(timerActive());
    tick();
    EXPECT_EQ(manager.currentTime(), 1.0);
}

TEST_F(PlaybackManagerTest, RepeatModes) {
    const TrackPtr a = queuedTrack("a", 2.0);
    const TrackPtr b = queuedTrack("b", 2.0);
    const TrackPtr c = queuedTrack("c", 2.0);
    startQueue({a, b, c}, 2);
    render(kBlock);

    // Repeat one: the same track again from 0, at a natural end or a tap.
    manager.setRepeatMode(RepeatMode::one);
    tick(2);
    log.clear();
    tick();
    EXPECT_EQ(manager.currentIndex(), 2);
    // seek(0) set 0, so the replay counts from 1 in the same tick.
    EXPECT_EQ(manager.currentTime(), 1.0);
    EXPECT_TRUE(log.contains("Scheduling segment: startingFrame: 0, frameCount: 88200"));
    manager.previous();
    EXPECT_EQ(manager.currentIndex(), 2);
    EXPECT_EQ(manager.currentTime(), 0.0);

    // Repeat on: the last track wraps to the first, and back again.
    manager.setRepeatMode(RepeatMode::on);
    EXPECT_TRUE(manager.canGoNext());
    manager.next();
    EXPECT_EQ(manager.currentIndex(), 0);
    EXPECT_EQ(manager.state(), State::playing);
    manager.previous();
    EXPECT_EQ(manager.currentIndex(), 2);
    EXPECT_EQ(delegate.events.last(), "start");
}

TEST_F(PlaybackManagerTest, NavigationAvailabilityAndPreviousAtTheFirstTrack) {
    EXPECT_FALSE(manager.canGoNext());
    EXPECT_FALSE(manager.canGoPrevious());
    manager.setShuffleEnabled(true);
    manager.setRepeatMode(RepeatMode::on);
    // An empty queue has nowhere to go in any mode.
    EXPECT_FALSE(manager.canGoNext());
    EXPECT_FALSE(manager.canGoPrevious());

    manager.setShuffleEnabled(false);
    manager.setRepeatMode(RepeatMode::off);
    manager.setCurrentIndex(0);
    manager.setCurrentPlaylist({queuedTrack("only", 1.0, 0)});
    EXPECT_FALSE(manager.canGoNext());
    EXPECT_FALSE(manager.canGoPrevious());
    manager.setRepeatMode(RepeatMode::one);
    EXPECT_TRUE(manager.canGoNext());
    EXPECT_TRUE(manager.canGoPrevious());
    manager.setRepeatMode(RepeatMode::off);
    manager.setShuffleEnabled(true);
    EXPECT_TRUE(manager.canGoNext());
    EXPECT_TRUE(manager.canGoPrevious());

    // Previous at the first track with repeat off stops.
    manager.setShuffleEnabled(false);
    startQueue({queuedTrack("a", 2.0), queuedTrack("b", 2.0)});
    EXPECT_FALSE(manager.canGoPrevious());
    EXPECT_TRUE(manager.canGoNext());
    manager.previous();
    EXPECT_EQ(manager.state(), State::stopped);
    EXPECT_EQ(manager.currentIndex(), 0);
    EXPECT_EQ(delegate.events.last(), "stop");
    EXPECT_FALSE(manager.audioPlayerNode().isPlaying());
}

TEST_F(PlaybackManagerTest, ShufflePicksAndSidestepsTheCurrentTrack) {
    ScriptedRandom random;
    random.words = {wordPicking(3, 4), wordPicking(3, 4), wordPicking(3, 4), wordPicking(1, 4)};
    manager.setRandomSource(random.source());
    manager.setShuffleEnabled(true);
    startQueue({queuedTrack("a", 2.0), queuedTrack("b", 2.0), queuedTrack("c", 2.0),
                queuedTrack("d", 2.0)},
               1);

    manager.next();
    EXPECT_EQ(manager.currentIndex(), 3);
    // Picking the current track moves one on: past the end wraps to 0.
    manager.next();
    EXPECT_EQ(manager.currentIndex(), 0);
    manager.previous();
    EXPECT_EQ(manager.currentIndex(), 3);
    manager.setCurrentIndex(1);
    // ... and one back for previous().
    manager.previous();
    EXPECT_EQ(manager.currentIndex(), 0);
    EXPECT_EQ(random.draws, 4u);
    EXPECT_EQ(manager.state(), State::playing);
}

TEST_F(PlaybackManagerTest, ShuffleOnOneTrackOrAtTheFirstTrackComesBackToIndexZero) {
    ScriptedRandom random;
    random.words = {0, wordPicking(0, 3)};
    manager.setRandomSource(random.source());
    manager.setShuffleEnabled(true);
    const TrackPtr only = queuedTrack("only", 2.0);
    startQueue({only});
    delegate.events.clear();
    manager.next();
    EXPECT_EQ(manager.currentIndex(), 0);
    EXPECT_EQ(delegate.events, (QStringList{"track only", "start"}));

    manager.setCurrentPlaylist({only, queuedTrack("other", 2.0), queuedTrack("third", 2.0)});
    // Pick 0 at index 0: previous() goes to -1, which plays the first track,
    // where without shuffle and with repeat on it would play the last.
    manager.previous();
    EXPECT_EQ(manager.currentIndex(), 0);
    manager.setShuffleEnabled(false);
    manager.setRepeatMode(RepeatMode::on);
    manager.previous();
    EXPECT_EQ(manager.currentIndex(), 2);
}

TEST(PlaybackManagerRandom, MultiplyAndRejectIsExactAtTheEdges) {
    PlaybackManager manager(std::make_unique<OfflineAudioOutput>());
    ScriptedRandom random;
    manager.setRandomSource(random.source());

    // 2^64 mod 3 == 1: a word whose low product word is 0 is redrawn.
    random.words = {0, std::numeric_limits<quint64>::max()};
    EXPECT_EQ(manager.randomIndex(3), 2);
    EXPECT_EQ(random.draws, 2u);
    // The smallest word that is kept.
    random.script({1});
    EXPECT_EQ(manager.randomIndex(3), 0);
    EXPECT_EQ(random.draws, 1u);
    // Powers of two never redraw.
    random.script({0, 1ull << 62, 3ull << 62});
    EXPECT_EQ(manager.randomIndex(4), 0);
    EXPECT_EQ(manager.randomIndex(4), 1);
    EXPECT_EQ(manager.randomIndex(4), 3);
    EXPECT_EQ(random.draws, 3u);
    random.script({12345});
    EXPECT_EQ(manager.randomIndex(1), 0);
}

TEST_F(PlaybackManagerTest, PauseAndResumeGoOnFromTheCountedTime) {
    startQueue({queuedTrack("song", 5.0, 5.0)});
    render(kBlock);
    tick(2);
    ASSERT_EQ(manager.currentTime(), 2.0);

    manager.pause();
    EXPECT_EQ(manager.state(), State::paused);
    EXPECT_EQ(delegate.events.last(), "pause");
    EXPECT_FALSE(manager.audioPlayerNode().isPlaying());
    EXPECT_FALSE(manager.audioEngine().isRunning());
    // The first tick after a pause ends the clock; paused time is not counted.
    tick();
    EXPECT_FALSE(timerActive());
    EXPECT_EQ(manager.currentTime(), 2.0);

    log.clear();
    manager.play();
    EXPECT_EQ(manager.state(), State::playing);
    EXPECT_EQ(delegate.events.last(), "start");
    EXPECT_TRUE(timerActive());
    EXPECT_EQ(log.lines(),
              QStringList{"Scheduling segment: startingFrame: 88200, frameCount: 132300"});

    // The audio goes on from frame 88200, not from where the node stood.
    const int latency = manager.audioEngine().latencyFrames();
    const std::vector<float> samples = render(latency + 4 * kBlock);
    // Leave room for any fade the player puts on a start.
    for (int frame = latency + kBlock; frame < latency + 4 * kBlock; ++frame) {
        const qint64 expected = 88200 + frame - latency;
        ASSERT_EQ(samples[size_t(frame) * 2], patternSample(expected, 0)) << "at frame " << frame;
        ASSERT_EQ(samples[size_t(frame) * 2 + 1], patternSample(expected, 1))
            << "at frame " << frame;
    }
}

// Whatever was left of the old position while paused is dropped: the next
// play starts exactly at the new track or the new position.
TEST_F(PlaybackManagerTest, ANewTrackOrPositionChosenWhilePausedIsHeardFirst) {
    struct Case {
        const char* name;
        std::function<void()> change;
        qint64 firstFrame;
    };
    const std::vector<Case> cases{
        {"next", [this] { manager.next(); }, 0},
        {"previous", [this] { manager.previous(); }, 0},
        {"seek", [this] { manager.seekTo(1.0); }, 44100},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        startQueue({queuedTrack("a", 3.0, 3.0), queuedTrack("b", 3.0, 3.0)}, 1);
        manager.setRepeatMode(RepeatMode::on);
        // Well into the track, so that its remainder cannot pass for the start.
        render(8 * kBlock);
        manager.pause();
        c.change();
        manager.play();
        ASSERT_TRUE(manager.audioEngine().isRunning());

        const int latency = manager.audioEngine().latencyFrames();
        const std::vector<float> samples = render(latency + 4 * kBlock);
        for (int frame = latency + kBlock; frame < latency + 4 * kBlock; ++frame) {
            const qint64 expected = c.firstFrame + frame - latency;
            ASSERT_EQ(samples[size_t(frame) * 2], patternSample(expected, 0))
                << "at frame " << frame;
        }
    }
}

TEST_F(PlaybackManagerTest, StartingATrackOpensItsFileOnce) {
    const TrackPtr track = queuedTrack("song", 3.0, 3.0);
    const AudioDecoder* decoder = AudioDecoderModule::shared();
    ASSERT_NE(decoder, nullptr);
    const quint64 before = decoder->filesOpened();
    startQueue({track});
    const int latency = manager.audioEngine().latencyFrames();
    const std::vector<float> samples = render(latency + 2 * kBlock);
    EXPECT_EQ(samples[size_t(latency + kBlock) * 2], patternSample(kBlock, 0));
    EXPECT_EQ(decoder->filesOpened() - before, 1u);
}

TEST_F(PlaybackManagerTest, SeekDuringAPauseLeavesTheStateAlone) {
    startQueue({queuedTrack("song", 5.0, 5.0)});
    render(kBlock);
    manager.pause();
    manager.seekTo(1.0);
    EXPECT_EQ(manager.currentTime(), 1.0);
    EXPECT_EQ(manager.state(), State::paused);
    EXPECT_TRUE(manager.audioPlayerNode().isPlaying());
    // play() finds the node playing: it starts the engine and no more.
    manager.play();
    EXPECT_TRUE(manager.audioEngine().isRunning());
    EXPECT_EQ(manager.state(), State::paused);
}

TEST_F(PlaybackManagerAt48kHz, SeekArithmeticRunsInThePlayersTimeAndTheAudioFollows) {
    const TrackPtr song = frameIndexTrack("song", 200.0, 10.5);
    startQueue({song});

    // Before the first render there is no render time: nothing moves.
    manager.seekTo(10.0);
    EXPECT_EQ(log.lines(), QStringList{"Invalid player state"});
    EXPECT_EQ(manager.currentTime(), 0.0);

    render(kBlock);
    // The frames are the player's, at the output's 48 kHz, and so is the
    // file's length they are checked against (463050 frames at 44.1 kHz).
    // The track's duration, where to, the time that results and the log line.
    const std::tuple<double, double, double, QString> seeks[] = {
        {200.0, 10.0, 10.0, "Scheduling segment: startingFrame: 480000, frameCount: 9120000"},
        {200.0, -5.0, 0.0, "Scheduling segment: startingFrame: 0, frameCount: 9600000"},
        {200.0, 10.49, 10.49, "Scheduling segment: startingFrame: 503520, frameCount: 9096480"},
        // Past the end of the audio in the file, the time still moves.
        {100.0, 1000.0, 99.99, "Invalid newSampleTime: 4799520 for audio file length: 504000"},
        {0.0, 3.0, 0.0, "No frames to play or invalid values"}};
    for (const auto& [duration, to, time, line] : seeks) {
        song->duration = duration;
        log.clear();
        manager.seekTo(to);
        EXPECT_EQ(manager.currentTime(), time) << to;
        EXPECT_EQ(log.lines(), QStringList{line});
        if (line.startsWith("Scheduling")) {
            EXPECT_EQ(delegate.times.last(), time);
        }
    }

    // Ten seconds into the file is its frame 441000, whichever rate plays it
    // (give or take the few frames the rate converter's filter delays by).
    song->duration = 200.0;
    manager.seekTo(10.0);
    const int latency = manager.audioEngine().latencyFrames();
    const std::vector<float> samples = render(latency + 4 * kBlock);
    for (int frame = kBlock; frame < 4 * kBlock; ++frame) {
        const double expected = 441000 + frame * 44100.0 / 48000.0;
        const qint64 heard = patternFrame(samples[size_t(latency + frame) * 2]);
        ASSERT_NEAR(double(heard), expected, 8.0) << "at frame " << frame;
    }
}

TEST_F(PlaybackManagerTest, SeeksToNoTimeAtAllAreRefusedAndChangeNothing) {
    startQueue({queuedTrack("song", 5.0, 5.0)});
    render(kBlock);
    tick(2);
    ASSERT_EQ(manager.currentTime(), 2.0);
    PlaybackWarnings warnings;
    log.clear();
    const int published = int(publisher->published.size());
    const int told = int(delegate.times.size());
    for (const double to : {std::numeric_limits<double>::quiet_NaN(), kInfinity, -kInfinity}) {
        warnings.clear();
        manager.seekTo(to);
        EXPECT_EQ(warnings.lines().size(), 1) << to;
        EXPECT_EQ(manager.currentTime(), 2.0) << to;
    }
    // Nothing was scheduled, published or shown.
    EXPECT_TRUE(log.lines().isEmpty()) << log.lines().join('|').toStdString();
    EXPECT_EQ(publisher->published.size(), published);
    EXPECT_EQ(delegate.times.size(), told);
    EXPECT_EQ(manager.state(), State::playing);
}

TEST_F(PlaybackManagerTest, SeeksThatCannotBeRepresentedAreRefused) {
    const TrackPtr song = queuedTrack("song", 5.0);
    startQueue({song});
    render(kBlock);

    // Three days at 44.1 kHz is more frames than a segment can hold.
    song->duration = 3 * 86400.0;
    log.clear();
    manager.seekTo(0.5);
    EXPECT_EQ(manager.currentTime(), 0.5);
    EXPECT_TRUE(log.lines().isEmpty());
    EXPECT_TRUE(manager.audioPlayerNode().isPlaying());

    // An unmeasured track: no position can be worked out, nothing changes,
    // and the count never reaches an end.
    song->duration = std::numeric_limits<double>::quiet_NaN();
    manager.seekTo(1.0);
    EXPECT_EQ(manager.currentTime(), 0.5);
    tick(3);
    EXPECT_EQ(manager.currentTime(), 0.5);
    EXPECT_EQ(manager.state(), State::playing);
    manager.updateNowPlayingInfo();
    EXPECT_TRUE(std::isnan(publisher->published.last().playbackDuration.toDouble()));
    manager.next();
    EXPECT_EQ(manager.state(), State::stopped);
    EXPECT_EQ(delegate.times.last(), 0.0);
}

TEST_F(PlaybackManagerTest, UnreadableTracksLeaveTheQueueAndAQueueOfThemEndsEmptyAndSilent) {
    startQueue({unreadableTrack("bad"), queuedTrack("missing", 4.0, 0)}, 1);
    EXPECT_TRUE(manager.currentPlaylist().isEmpty());
    EXPECT_TRUE(log.lines().isEmpty()) << log.lines().join('|').toStdString();
    EXPECT_EQ(manager.state(), State::stopped);
    EXPECT_TRUE(delegate.events.isEmpty());
    EXPECT_TRUE(publisher->published.isEmpty());
    EXPECT_FALSE(manager.audioPlayerNode().isPlaying());
    EXPECT_FALSE(timerActive());

    const TrackPtr good = queuedTrack("good", 4.0);
    const TrackPtr missing = queuedTrack("missing", 4.0, 0);
    // A null entry is a caller's slip; it is left out of the queue.
    startQueue({unreadableTrack("bad"), nullptr, missing, good});
    EXPECT_EQ(manager.currentPlaylist(), QList<TrackPtr>{good});
    EXPECT_EQ(manager.currentIndex(), 0);
    EXPECT_EQ(manager.state(), State::playing);
    EXPECT_EQ(delegate.events, (QStringList{"track good", "start"}));
    EXPECT_EQ(manager.audioFile()->path(), good->url());
}

TEST_F(PlaybackManagerTest, AFileWhoseReadsFailLeavesTheQueueWithALine) {
    // Reading this process's memory from address 0 fails as a failing disk
    // does; the file is there and may be fine another time.
    const TrackPtr failing = makeTrack("failing");
    QDir().mkpath(downloadedMusicDirectory());
    ASSERT_TRUE(QFile::link("/proc/self/mem", failing->url()));
    const TrackPtr good = queuedTrack("good", 4.0);
    startQueue({failing, good});
    EXPECT_EQ(log.lines(), QStringList{"Error: Unable to read audio file: Input/output error"});
    EXPECT_EQ(manager.currentPlaylist(), QList<TrackPtr>{good});
    EXPECT_EQ(manager.state(), State::playing);
    EXPECT_EQ(delegate.events, (QStringList{"track good", "start"}));
}

TEST(PlaybackManagerEngine, AnEngineThatWillNotRunStopsPlaybackOrLeavesTheStateAlone) {
    LogCapture log;
    for (const bool startSucceeds : {false, true}) {
        SCOPED_TRACE(startSucceeds ? "dies on start" : "will not start");
        PlaybackManager manager(std::make_unique<DeadOutput>(startSucceeds));
        RecordingDelegate delegate;
        manager.setDelegate(&delegate);
        log.clear();
        startQueue(manager, {queuedTrack("song", 3.0, 0.1)});
        EXPECT_EQ(manager.state(), State::stopped);
        if (startSucceeds) {
            // The track stays scheduled, and no clock runs.
            EXPECT_EQ(log.lines(), QStringList{"Error: Audio engine is not running"});
            ASSERT_NE(manager.audioFile(), nullptr);
            EXPECT_TRUE(delegate.events.isEmpty());
            EXPECT_FALSE(manager.elpasedTimeTimer()->isActive());
            continue;
        }
        EXPECT_EQ(delegate.events, QStringList{"stop"});
        EXPECT_EQ(manager.currentPlaylist().size(), 1);
        // The same from a remote play command, which reports its failure.
        delegate.events.clear();
        EXPECT_EQ(manager.handlePlayCommand(), PlaybackManager::RemoteCommandStatus::commandFailed);
        EXPECT_EQ(delegate.events, (QStringList{"stop", "start"}));
        EXPECT_EQ(manager.state(), State::stopped);
    }
}

TEST(PlaybackManagerDevice, ADeviceThatStopsUnderneathIsOpenedAgainByTheTick) {
    qputenv("SDL_AUDIODRIVER", "dummy");
    PlaybackManager manager(makeDefaultAudioOutput());
    auto timer = std::make_unique<ManualTimer>();
    ManualTimer& clock = *timer;
    manager.setElapsedTimeTimer(std::move(timer));
    RecordingDelegate delegate;
    manager.setDelegate(&delegate);
    startQueue(manager, {queuedTrack("song", 10.0, 2.0)});
    ASSERT_EQ(manager.state(), State::playing);
    ASSERT_TRUE(manager.audioEngine().isRunning());

    // The sound system goes away under the player: its devices are gone.
    SDL_QuitSubSystem(SDL_INIT_AUDIO);
    EXPECT_FALSE(manager.audioEngine().isRunning());
    EXPECT_TRUE(manager.audioPlayerNode().isPlaying());

    delegate.events.clear();
    clock.elapse();
    EXPECT_TRUE(manager.audioEngine().isRunning());
    EXPECT_EQ(delegate.events, QStringList{"start"});
    EXPECT_EQ(manager.state(), State::playing);
    EXPECT_EQ(manager.currentTime(), 1.0);
    // And the new device renders the graph.
    const qint64 rendered = manager.audioEngine().renderedFrames();
    EXPECT_TRUE(waitUntil([&] { return manager.audioEngine().renderedFrames() > rendered; }));
}

TEST_F(PlaybackManagerTest, ADestroyedDelegateIsNeverCalled) {
    int calls = 0;
    struct CountingDelegate : PlaybackManagerDelegate {
        explicit CountingDelegate(int* calls) : calls(calls) {}
        int* calls;
        void didStartPlayback() override { ++*calls; }
        void didPausePlayback() override { ++*calls; }
        void didStopPlayback() override { ++*calls; }
        void didChangeTrack(TrackPtr) override { ++*calls; }
        void didChangeCurrentTime(PlaybackManager&, double) override { ++*calls; }
    };
    auto counting = std::make_unique<CountingDelegate>(&calls);
    manager.setDelegate(counting.get());
    startQueue({queuedTrack("a", 2.0), queuedTrack("b", 2.0)});
    ASSERT_GT(calls, 0);
    counting.reset();
    calls = 0;

    EXPECT_EQ(manager.delegate(), nullptr);
    tick(3);
    manager.pause();
    manager.play();
    manager.next();
    EXPECT_EQ(calls, 0);
}

TEST_F(PlaybackManagerTest, NowPlayingInfoAtTrackChangeCarriesTheTimeOfTheTrackBefore) {
    const TrackPtr first = queuedTrack("first", 30.0);
    const TrackPtr second = queuedTrack("second", 40.5);
    QImage cover(40, 40, QImage::Format_RGB32);
    cover.fill(Qt::red);
    cover.setDevicePixelRatio(0.5);
    second->setAlbumArtThumbnail(cover);
    startQueue({first, second});
    tick(2);

    // A list screen's tap: index, queue, play.
    manager.setCurrentIndex(1);
    manager.setCurrentPlaylist({first, second});
    manager.playCurrentTrack();
    const NowPlayingInfo info = publisher->published.last();
    EXPECT_EQ(info.playbackState, NowPlayingInfo::PlaybackState::playing);
    EXPECT_EQ(info.title, "second");
    EXPECT_EQ(info.elapsedPlaybackTime, 2.0);
    EXPECT_EQ(info.playbackDuration.typeId(), QMetaType::Double);
    EXPECT_EQ(info.playbackDuration.toDouble(), 40.5);
    ASSERT_TRUE(info.artwork.has_value());
    EXPECT_EQ(info.artwork->boundsSize, QSize(80, 80));
    EXPECT_EQ(info.artwork->requestHandler(QSize(1, 1)), cover);
    EXPECT_EQ(info.artwork->requestHandler(QSize(1024, 1024)), cover);
    EXPECT_EQ(manager.currentTime(), -1.0);

    manager.pause();
    EXPECT_EQ(publisher->published.last().playbackState, NowPlayingInfo::PlaybackState::paused);
    EXPECT_EQ(publisher->published.last().elapsedPlaybackTime, -1.0);
}

TEST_F(PlaybackManagerTest, AnEmptyQueuePublishesAnEmptyEntryAndStopsOnNext) {
    manager.pause();
    ASSERT_EQ(publisher->published.size(), 1);
    const NowPlayingInfo info = publisher->published.last();
    EXPECT_EQ(info.playbackState, NowPlayingInfo::PlaybackState::paused);
    EXPECT_EQ(info.title, QString());
    EXPECT_EQ(info.elapsedPlaybackTime, -1.0);
    EXPECT_EQ(info.playbackDuration.typeId(), QMetaType::Int);
    EXPECT_EQ(info.playbackDuration.toInt(), 0);
    EXPECT_FALSE(info.artwork.has_value());

    // play() with nothing queued only refreshes the information.
    manager.play();
    EXPECT_EQ(publisher->published.size(), 2);
    EXPECT_TRUE(delegate.events.isEmpty());
    EXPECT_EQ(manager.state(), State::stopped);

    // Shuffle with an empty queue stops instead of crashing.
    manager.setShuffleEnabled(true);
    manager.next();
    EXPECT_EQ(manager.state(), State::stopped);
    EXPECT_EQ(delegate.events, QStringList{"stop"});
    manager.previous();
    EXPECT_EQ(delegate.events, (QStringList{"stop", "stop"}));
    EXPECT_EQ(manager.handleNextTrackCommand(),
              PlaybackManager::RemoteCommandStatus::commandFailed);
}

TEST_F(PlaybackManagerTest, RemoteCommandsReportWhetherTheNodeEndedUpAsAsked) {
    using Status = PlaybackManager::RemoteCommandStatus;
    startQueue({queuedTrack("a", 2.0), queuedTrack("b", 2.0)});
    EXPECT_EQ(manager.handlePauseCommand(), Status::success);
    EXPECT_EQ(manager.handlePlayCommand(), Status::success);
    EXPECT_EQ(manager.handleNextTrackCommand(), Status::success);
    EXPECT_EQ(manager.currentIndex(), 1);
    // At the end of the queue with repeat off: playback stops, and says so.
    EXPECT_EQ(manager.handleNextTrackCommand(), Status::commandFailed);
    EXPECT_EQ(manager.state(), State::stopped);
    EXPECT_EQ(manager.handlePreviousTrackCommand(), Status::success);
    EXPECT_EQ(manager.currentIndex(), 0);
}

TEST(PlaybackManagerShared, IsOneInstanceMadeWithoutTouchingTheDevice) {
    PlaybackManager& shared = PlaybackManager::shared();
    EXPECT_EQ(&shared, &PlaybackManager::shared());
    EXPECT_EQ(shared.state(), State::stopped);
    EXPECT_FALSE(shared.audioEngine().isRunning());
}
