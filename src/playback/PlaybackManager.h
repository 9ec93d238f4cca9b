#pragma once

#include <QList>
#include <QObject>
#include <array>
#include <memory>
#include <vector>

#include "AudioFile.h"
#include "EqualizerState.h"
#include "NowPlayingReporter.h"
#include "PlaybackGraph.h"
#include "PlaybackManagerDelegate.h"
#include "PlaybackQueue.h"
#include "RepeatingTimer.h"
#include "Track.h"

class UserDefaults;

// The one object that plays music: the queue, the transport, the audio graph
// and the one-second clock that measures a track and ends it. Main thread only.
//
// Nothing in the audio graph reports that a track has finished. The end of a
// track is found by counting seconds against Track::duration on the tick, so a
// seek needs no guard against a stale completion and the elapsed time is a
// counter, not a reading of the audio clock.
class PlaybackManager : public QObject {
    Q_OBJECT
    Q_PROPERTY(QList<TrackPtr> currentPlaylist READ currentPlaylist WRITE setCurrentPlaylist NOTIFY
                   currentPlaylistChanged)
    Q_PROPERTY(int currentIndex READ currentIndex WRITE setCurrentIndex NOTIFY currentIndexChanged)
    Q_PROPERTY(State state READ state NOTIFY stateChanged)
    Q_PROPERTY(double currentTime READ currentTime NOTIFY currentTimeChanged)
    Q_PROPERTY(RepeatMode repeatMode READ repeatMode WRITE setRepeatMode NOTIFY repeatModeChanged)
    Q_PROPERTY(bool isShuffleEnabled READ isShuffleEnabled WRITE setShuffleEnabled NOTIFY
                   isShuffleEnabledChanged)
    Q_PROPERTY(bool canGoNext READ canGoNext NOTIFY navigationChanged)
    Q_PROPERTY(bool canGoPrevious READ canGoPrevious NOTIFY navigationChanged)
    Q_PROPERTY(EqualizerState::EqualizerPreset selectedEQPreset READ selectedEQPreset WRITE
                   setSelectedEQPreset NOTIFY selectedEQPresetChanged)
    Q_PROPERTY(float bassGain READ bassGain WRITE setBassGain)

public:
    enum class State { playing, paused, stopped };
    Q_ENUM(State)
    enum class RepeatMode { off = 0, one = 1, on = 2 };
    Q_ENUM(RepeatMode)
    // What a remote command handler reports back to the system.
    enum class RemoteCommandStatus { success = 0, commandFailed = 200 };
    Q_ENUM(RemoteCommandStatus)
    using EqualizerPreset = EqualizerState::EqualizerPreset;

    static constexpr QLatin1String KEY_EQ_BANDS = EqualizerState::KEY_EQ_BANDS;
    static constexpr QLatin1String KEY_EQ_BANDS_CUSTOM = EqualizerState::KEY_EQ_BANDS_CUSTOM;
    static constexpr QLatin1String KEY_EQ_GLOBAL_GAIN = EqualizerState::KEY_EQ_GLOBAL_GAIN;
    static constexpr QLatin1String KEY_EQ_BASS = EqualizerState::KEY_EQ_BASS;
    static constexpr QLatin1String KEY_EQ_PRESET = EqualizerState::KEY_EQ_PRESET;

    // A uniformly random 64-bit word.
    using RandomSource = PlaybackQueue::RandomSource;

    // The instance every screen and remote command uses, playing through the
    // sound device; made on first use, on the main thread, and never released.
    static PlaybackManager& shared();

    // The equalizer state is restored from, and kept in, UserDefaults::standard().
    explicit PlaybackManager(std::unique_ptr<AudioOutput> output, QObject* parent = nullptr);
    PlaybackManager(std::unique_ptr<AudioOutput> output, UserDefaults& defaults,
                    QObject* parent = nullptr);
    ~PlaybackManager() override;

    PlaybackManagerDelegate* delegate() const;
    // Held weakly: a delegate that is destroyed is simply no longer called.
    void setDelegate(PlaybackManagerDelegate* delegate);

    // A list screen hands in a queue by setting the index, then the queue,
    // then calling playCurrentTrack().
    const QList<TrackPtr>& currentPlaylist() const { return m_queue.tracks(); }
    void setCurrentPlaylist(const QList<TrackPtr>& playlist);
    // May stand out of the queue's range between operations.
    int currentIndex() const { return m_queue.currentIndex(); }
    void setCurrentIndex(int index);
    State state() const { return m_state; }
    // Seconds into the current track; -1.0 until the track has a position.
    double currentTime() const { return m_currentTime; }
    RepeatMode repeatMode() const { return m_repeatMode; }
    void setRepeatMode(RepeatMode mode);
    bool isShuffleEnabled() const { return m_isShuffleEnabled; }
    void setShuffleEnabled(bool enabled);

    bool canGoNext() const;
    bool canGoPrevious() const;

    void play();
    void pause();
    void next();
    void previous();
    // Loads the track at currentIndex and starts it from its beginning.
    void playCurrentTrack();
    void seekTo(double seconds);

    bool startEngineIfNeeded();
    void startElapsedTimeTimer();
    // The tick of the elapsed-time timer.
    void notifyCurrentTimeChanged();
    void updateNowPlayingInfo();

    // The equalizer model; see EqualizerState for what each operation does.
    EqualizerPreset selectedEQPreset() const { return m_equalizerState->selectedEQPreset(); }
    void setSelectedEQPreset(EqualizerPreset preset) {
        m_equalizerState->setSelectedEQPreset(preset);
    }
    void setEqualizerBand(float frequency, float gain) {
        m_equalizerState->setEqualizerBand(frequency, gain);
    }
    void setCustomEqualizerBand(float frequency, float gain) {
        m_equalizerState->setCustomEqualizerBand(frequency, gain);
    }
    static QMap<float, float> gains(EqualizerPreset preset) {
        return EqualizerState::gains(preset);
    }
    void selectPreset(EqualizerPreset preset) { m_equalizerState->selectPreset(preset); }
    void setVolumeBoost(int gain) { m_equalizerState->setVolumeBoost(gain); }
    void loadCustomPreset() { m_equalizerState->loadCustomPreset(); }
    void saveEqualizerBands() { m_equalizerState->saveEqualizerBands(); }
    void saveCustomEqualizerBands() { m_equalizerState->saveCustomEqualizerBands(); }
    float bassGain() const { return m_equalizerState->bassGain(); }
    void setBassGain(float gain) { m_equalizerState->setBassGain(gain); }

    // Remote command handlers (play, pause, next track, previous track).
    RemoteCommandStatus handlePlayCommand();
    RemoteCommandStatus handlePauseCommand();
    RemoteCommandStatus handleNextTrackCommand();
    RemoteCommandStatus handlePreviousTrackCommand();

    // Null publishes nowhere.
    void setNowPlayingPublisher(std::shared_ptr<NowPlayingPublisher> publisher);
    // Replaces the system random source of the shuffle picks (tests).
    void setRandomSource(RandomSource source);
    // Replaces the event loop's timer that drives the one-second clock (tests
    // step the clock by hand). Before the clock first starts.
    void setElapsedTimeTimer(std::unique_ptr<RepeatingTimer> timer);
    // A uniform integer in [0, count), free of modulo bias; count > 0.
    int randomIndex(int count) const { return m_queue.randomIndex(count); }

    AudioPlayerNode& audioPlayerNode() { return m_graph.player(); }
    AudioEngine& audioEngine() { return m_graph.engine(); }
    // The main equalizer, then the three bass units, in signal order.
    AudioUnitEQ* equalizer() const { return &m_graph.equalizer(); }
    const std::vector<std::unique_ptr<AudioUnitEQ>>& bassEqualizers() const {
        return m_graph.bassEqualizers();
    }
    // The bands of equalizer(), in the order of eqFrequancies().
    const std::vector<AudioUnitEQFilterParameters*>& bands() const { return m_graph.bands(); }
    static constexpr std::array<int, 5> eqFrequancies() {
        return PlaybackGraph::kEqualizerFrequencies;
    }
    // The file of the current track, open until the next track replaces it.
    std::shared_ptr<AudioFile> audioFile() const { return m_audioFile; }
    // Inactive until the clock is first started, and again once it has stopped.
    const RepeatingTimer* elpasedTimeTimer() const { return m_elpasedTimeTimer.get(); }

signals:
    void currentPlaylistChanged();
    void currentIndexChanged();
    void stateChanged();
    void currentTimeChanged();
    void repeatModeChanged();
    void isShuffleEnabledChanged();
    void navigationChanged();
    void selectedEQPresetChanged();

private:
    void setupEqualizer();

    bool isIndexValid() const { return m_queue.isIndexValid(); }
    PlaybackQueue::Order order() const;
    void setState(State state);
    void setCurrentTime(double seconds);
    void removeFromQueue(int index);
    // The time as the screen may show it: never -1.0, never past the end.
    void notifyDelegateOfCurrentTime();
    // next() for +1, previous() for -1.
    void changeTrack(int step);
    // Drops what the node has scheduled, whether it plays or is paused.
    void stopPlayerNode();
    // Nowhere to go: halt the player and tell the screen.
    void stopPlayback();
    RemoteCommandStatus statusByPlaying(bool wantPlaying) const;

    template <typename Call>
    void callDelegate(Call&& call);
    // Writes a field and emits its change signal; false when nothing changed.
    template <typename T>
    bool updateField(T& field, T value, void (PlaybackManager::*changed)());

    std::weak_ptr<PlaybackManagerDelegate*> m_delegate;
    PlaybackQueue m_queue;
    State m_state = State::stopped;
    double m_currentTime = -1.0;
    RepeatMode m_repeatMode = RepeatMode::off;
    bool m_isShuffleEnabled = false;

    PlaybackGraph m_graph;
    UserDefaults& m_defaults;
    EqualizerState* m_equalizerState = nullptr;
    std::unique_ptr<RepeatingTimer> m_elpasedTimeTimer;
    std::shared_ptr<AudioFile> m_audioFile;
    NowPlayingReporter m_nowPlaying;
};
