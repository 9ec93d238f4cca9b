#include "PlaybackManager.h"

#include <QCoreApplication>
#include <QThread>
#include <cmath>

#include "DeviceAudioOutput.h"
#include "EventLoopTimer.h"
#include "Log.h"
#include "PlaybackLog.h"
#include "SeekSegment.h"
#include "UserDefaults.h"

namespace {

constexpr std::chrono::milliseconds kTickInterval{1000};
constexpr int kBassUnits = 3;

}  // namespace

PlaybackManager& PlaybackManager::shared() {
    Q_ASSERT(!QCoreApplication::instance() ||
             QThread::currentThread() == QCoreApplication::instance()->thread());
    // Lives as long as the process: remote commands may arrive until the end.
    static PlaybackManager* const instance = new PlaybackManager(makeDefaultAudioOutput());
    return *instance;
}

PlaybackManager::PlaybackManager(std::unique_ptr<AudioOutput> output, QObject* parent)
    : PlaybackManager(std::move(output), UserDefaults::standard(), parent) {}

PlaybackManager::PlaybackManager(std::unique_ptr<AudioOutput> output, UserDefaults& defaults,
                                 QObject* parent)
    : QObject(parent), m_graph(std::move(output), kBassUnits), m_defaults(defaults) {
    setElapsedTimeTimer(std::make_unique<EventLoopTimer>());
    setupEqualizer();
}

PlaybackManager::~PlaybackManager() = default;

// --- Audio graph -------------------------------------------------------------

void PlaybackManager::setupEqualizer() {
    m_equalizerState =
        new EqualizerState(m_graph.equalizer(), m_graph.bassEqualizers(), m_defaults, this);
    connect(m_equalizerState, &EqualizerState::selectedEQPresetChanged, this,
            &PlaybackManager::selectedEQPresetChanged);
    m_equalizerState->restoreEqualizer();
    m_equalizerState->restoreBassEqualizers();
}

// --- Fields ------------------------------------------------------------------

PlaybackManagerDelegate* PlaybackManager::delegate() const {
    const auto lifetime = m_delegate.lock();
    return lifetime ? *lifetime : nullptr;
}

void PlaybackManager::setDelegate(PlaybackManagerDelegate* delegate) {
    m_delegate =
        delegate ? std::weak_ptr(delegate->m_lifetime) : std::weak_ptr<PlaybackManagerDelegate*>();
}

template <typename Call>
void PlaybackManager::callDelegate(Call&& call) {
    if (const auto lifetime = m_delegate.lock()) {
        call(**lifetime);
    }
}

void PlaybackManager::setCurrentPlaylist(const QList<TrackPtr>& playlist) {
    m_queue.setTracks(playlist);
    emit currentPlaylistChanged();
    emit navigationChanged();
}

template <typename T>
bool PlaybackManager::updateField(T& field, T value, void (PlaybackManager::*changed)()) {
    if (field == value) {
        return false;
    }
    field = value;
    emit(this->*changed)();
    return true;
}

void PlaybackManager::setCurrentIndex(int index) {
    if (m_queue.setCurrentIndex(index)) {
        emit currentIndexChanged();
        emit navigationChanged();
    }
}

void PlaybackManager::setRepeatMode(RepeatMode mode) {
    if (updateField(m_repeatMode, mode, &PlaybackManager::repeatModeChanged)) {
        emit navigationChanged();
    }
}

void PlaybackManager::setShuffleEnabled(bool enabled) {
    if (updateField(m_isShuffleEnabled, enabled, &PlaybackManager::isShuffleEnabledChanged)) {
        emit navigationChanged();
    }
}

void PlaybackManager::setState(State state) {
    updateField(m_state, state, &PlaybackManager::stateChanged);
}

void PlaybackManager::setCurrentTime(double seconds) {
    updateField(m_currentTime, seconds, &PlaybackManager::currentTimeChanged);
}

void PlaybackManager::removeFromQueue(int index) {
    m_queue.removeAt(index);
    emit currentPlaylistChanged();
    emit navigationChanged();
}

void PlaybackManager::setNowPlayingPublisher(std::shared_ptr<NowPlayingPublisher> publisher) {
    m_nowPlaying.setPublisher(std::move(publisher));
}

void PlaybackManager::setRandomSource(RandomSource source) {
    m_queue.setRandomSource(std::move(source));
}

void PlaybackManager::setElapsedTimeTimer(std::unique_ptr<RepeatingTimer> timer) {
    Q_ASSERT(timer);
    m_elpasedTimeTimer = std::move(timer);
    m_elpasedTimeTimer->setCallback([this] { notifyCurrentTimeChanged(); });
}

PlaybackQueue::Order PlaybackManager::order() const {
    return {m_isShuffleEnabled, m_repeatMode != RepeatMode::off};
}

bool PlaybackManager::canGoNext() const {
    return m_queue.canGoNext(order());
}

bool PlaybackManager::canGoPrevious() const {
    return m_queue.canGoPrevious(order());
}

// --- Transport ---------------------------------------------------------------

void PlaybackManager::play() {
    if (isIndexValid()) {
        if (m_state == State::stopped) {
            playCurrentTrack();
        } else if (startEngineIfNeeded() && !audioPlayerNode().isPlaying()) {
            // The node is started before the seek so that the seek finds it
            // playing, drops what was scheduled and plays from the counted time.
            audioPlayerNode().play();
            seekTo(m_currentTime);
            setState(State::playing);
        }
        callDelegate([](PlaybackManagerDelegate& d) { d.didStartPlayback(); });
        startElapsedTimeTimer();
    }
    updateNowPlayingInfo();
}

void PlaybackManager::pause() {
    if (isIndexValid()) {
        audioPlayerNode().pause();
        audioEngine().pause();
        setState(State::paused);
        callDelegate([](PlaybackManagerDelegate& d) { d.didPausePlayback(); });
    }
    updateNowPlayingInfo();
}

void PlaybackManager::stopPlayerNode() {
    // A paused node still holds the rest of what it was playing; whatever is
    // scheduled next would queue behind it and be heard only after it.
    if (!audioPlayerNode().isStopped()) {
        audioPlayerNode().stop();
    }
}

void PlaybackManager::stopPlayback() {
    audioPlayerNode().stop();
    setState(State::stopped);
    callDelegate([](PlaybackManagerDelegate& d) { d.didStopPlayback(); });
}

void PlaybackManager::next() {
    changeTrack(+1);
}

void PlaybackManager::previous() {
    changeTrack(-1);
}

void PlaybackManager::changeTrack(int step) {
    setCurrentTime(-1.0);
    notifyDelegateOfCurrentTime();
    if (m_repeatMode == RepeatMode::one) {
        seekTo(0.0);
        return;
    }
    if (const std::optional<int> index = m_queue.indexAfterStep(step, order())) {
        setCurrentIndex(*index);
        playCurrentTrack();
        return;
    }
    stopPlayback();
}

void PlaybackManager::playCurrentTrack() {
    // Each unreadable track leaves the queue and the one that moved into its
    // place is tried, until one plays or the queue is empty.
    for (;;) {
        if (m_queue.tracks().isEmpty()) {
            return;
        }
        if (!startEngineIfNeeded()) {
            return;
        }
        if (!isIndexValid()) {
            setCurrentIndex(0);
        }
        stopPlayerNode();
        const TrackPtr track = m_queue.currentTrack();
        QString error;
        auto failure = AudioFile::OpenFailure::unreadable;
        std::shared_ptr<AudioFile> file = AudioFile::openForReading(track->url(), &error, &failure);
        if (!file) {
            // A file that is gone or is no audio leaves the queue without a
            // word. One that the system failed to open, though it may be fine,
            // is worth a line: it would play another time.
            if (failure == AudioFile::OpenFailure::system) {
                systemLog(QStringLiteral("Error: Unable to read audio file: ") + error);
            }
            removeFromQueue(currentIndex());
            continue;
        }
        m_audioFile = std::move(file);
        audioPlayerNode().scheduleFile(m_audioFile);

        if (!audioEngine().isRunning()) {
            systemLog(QStringLiteral("Error: Audio engine is not running"));
            return;
        }
        audioPlayerNode().play();
        setState(State::playing);
        callDelegate([&track](PlaybackManagerDelegate& d) { d.didChangeTrack(track); });
        callDelegate([](PlaybackManagerDelegate& d) { d.didStartPlayback(); });
        // Before the reset on purpose: the system is told the time of the
        // track before, and learns the new one at the next play, pause or seek.
        updateNowPlayingInfo();
        setCurrentTime(-1.0);
        notifyDelegateOfCurrentTime();
        startElapsedTimeTimer();
        return;
    }
}

// --- Pipeline ----------------------------------------------------------------

bool PlaybackManager::startEngineIfNeeded() {
    if (audioEngine().isRunning()) {
        return true;
    }
    QString error;
    if (audioEngine().start(&error)) {
        return true;
    }
    qCDebug(lcPlayback) << "the audio engine did not start:" << error;
    audioPlayerNode().stop();
    setState(State::stopped);
    callDelegate([](PlaybackManagerDelegate& d) { d.didStopPlayback(); });
    return false;
}

void PlaybackManager::seekTo(double requested) {
    // A slider or a remote client can hand in NaN or an infinity; the clamp
    // below would turn them into the end or the start of the track.
    if (!std::isfinite(requested)) {
        qCWarning(lcPlayback) << "seek to" << requested << "refused: not a time";
        return;
    }
    if (!isIndexValid() || !m_audioFile) {
        return;
    }
    const std::optional<AudioTime> nodeTime = audioPlayerNode().lastRenderTime();
    const std::optional<AudioTime> playerTime =
        nodeTime ? audioPlayerNode().playerTimeForNodeTime(*nodeTime) : std::nullopt;
    if (!playerTime) {
        systemLog(QStringLiteral("Invalid player state"));
        return;
    }
    // The player's time runs at the output's rate: every frame below is a
    // frame of the player's timeline, and the node maps it into the file.
    const double sampleRate = playerTime->sampleRate;
    const double duration = m_queue.currentTrack()->duration;

    const double limit = duration - 0.01;
    double time = requested < limit ? requested : limit;
    if (time < 0.0) {
        time = 0.0;
    }
    // An unmeasured track (NaN duration) has no end to clamp against.
    if (!std::isfinite(time)) {
        qCWarning(lcPlayback) << "seek refused: track duration" << duration << "gives no position";
        return;
    }
    setCurrentTime(time);
    notifyDelegateOfCurrentTime();

    const std::optional<SeekSegment> segment = SeekSegment::from(
        sampleRate, m_currentTime, duration, audioPlayerNode().timelineLength(*m_audioFile));
    if (!segment) {
        return;
    }
    stopPlayerNode();
    systemLog(QStringLiteral("Scheduling segment: startingFrame: %1, frameCount: %2")
                  .arg(segment->startingFrame)
                  .arg(segment->frameCount));
    audioPlayerNode().scheduleSegment(m_audioFile, segment->startingFrame, segment->frameCount);
    audioPlayerNode().play();
    updateNowPlayingInfo();
    const double seconds = m_currentTime;
    callDelegate(
        [this, seconds](PlaybackManagerDelegate& d) { d.didChangeCurrentTime(*this, seconds); });
}

void PlaybackManager::notifyDelegateOfCurrentTime() {
    double seconds = m_currentTime;
    if (isIndexValid() && m_queue.currentTrack()->duration < m_currentTime) {
        seconds = m_queue.currentTrack()->duration;
    } else if (seconds == -1.0) {
        seconds = 0.0;
    }
    callDelegate(
        [this, seconds](PlaybackManagerDelegate& d) { d.didChangeCurrentTime(*this, seconds); });
}

void PlaybackManager::startElapsedTimeTimer() {
    if (m_elpasedTimeTimer->isActive()) {
        return;
    }
    m_elpasedTimeTimer->start(kTickInterval);
    // The first tick comes at once, not a second later.
    notifyCurrentTimeChanged();
}

void PlaybackManager::notifyCurrentTimeChanged() {
    if (!isIndexValid()) {
        return;
    }
    const TrackPtr track = m_queue.currentTrack();
    if (audioPlayerNode().isPlaying()) {
        // The only recovery from an engine that stopped behind our back.
        if (!audioEngine().isRunning()) {
            play();
        }
        if (audioEngine().isRunning()) {
            if (track->duration <= m_currentTime) {
                next();
            }
            // Against the track this tick began with: after a change of track
            // the -1.0 becomes 0 in this same tick.
            if (m_currentTime < track->duration) {
                setCurrentTime(m_currentTime + 1.0);
                notifyDelegateOfCurrentTime();
            }
        }
        return;
    }
    if (m_state == State::stopped) {
        setCurrentTime(-1.0);
        notifyDelegateOfCurrentTime();
    }
    m_elpasedTimeTimer->stop();
}

// --- System media integration ------------------------------------------------

void PlaybackManager::updateNowPlayingInfo() {
    m_nowPlaying.report(audioPlayerNode().isPlaying(), m_currentTime, m_queue.currentTrack());
}

PlaybackManager::RemoteCommandStatus PlaybackManager::statusByPlaying(bool wantPlaying) const {
    return m_graph.player().isPlaying() == wantPlaying ? RemoteCommandStatus::success
                                                       : RemoteCommandStatus::commandFailed;
}

PlaybackManager::RemoteCommandStatus PlaybackManager::handlePlayCommand() {
    play();
    return statusByPlaying(true);
}

PlaybackManager::RemoteCommandStatus PlaybackManager::handlePauseCommand() {
    pause();
    return statusByPlaying(false);
}

PlaybackManager::RemoteCommandStatus PlaybackManager::handleNextTrackCommand() {
    next();
    return statusByPlaying(true);
}

PlaybackManager::RemoteCommandStatus PlaybackManager::handlePreviousTrackCommand() {
    previous();
    return statusByPlaying(true);
}
