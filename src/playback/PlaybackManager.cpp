#include "PlaybackManager.h"

#include <QCoreApplication>
#include <QRandomGenerator>
#include <QThread>
#include <QTimer>
#include <cmath>
#include <limits>

#include "DeviceAudioOutput.h"
#include "Log.h"
#include "PlaybackLog.h"
#include "UserDefaults.h"

namespace {

// 2^63 and 2^32 are exact in their types; a product at or past them does not
// fit the frame position or the frame count the player takes.
constexpr double kStartingFrameBound = 9223372036854775808.0;
constexpr float kFrameCountBound = 4294967296.0f;

// Single precision as the frame count is worked out in, saturating where a
// plain conversion would leave the range of float.
float toSingle(double value) {
    constexpr double largest = std::numeric_limits<float>::max();
    if (value > largest) {
        return std::numeric_limits<float>::infinity();
    }
    if (value < -largest) {
        return -std::numeric_limits<float>::infinity();
    }
    return float(value);
}

constexpr std::chrono::milliseconds kTickInterval{1000};

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
    : QObject(parent),
      m_audioPlayerNode(std::make_unique<AudioPlayerNode>()),
      m_audioEngine(std::make_unique<AudioEngine>(std::move(output))),
      m_defaults(defaults),
      m_nowPlayingPublisher(std::make_shared<NullNowPlayingPublisher>()),
      m_randomSource([] { return QRandomGenerator::system()->generate64(); }) {
    setElapsedTimeTimer(std::make_unique<EventLoopTimer>());
    setupEqualizer();
    setupBassEqualizers(3);
    setupAudioGraph();
}

PlaybackManager::~PlaybackManager() {
    // A device output renders on its own thread through the nodes; it has to
    // be gone before they are.
    m_audioEngine.reset();
}

// --- Audio graph -------------------------------------------------------------

std::unique_ptr<AudioUnitEQ> PlaybackManager::makeEqualizerUnit() {
    constexpr auto frequencies = eqFrequancies();
    auto unit = std::make_unique<AudioUnitEQ>(int(frequencies.size()));
    const auto& unitBands = unit->bands();
    for (size_t i = 0; i < unitBands.size() && i < frequencies.size(); ++i) {
        unitBands[i]->setFrequency(float(frequencies[i]));
        unitBands[i]->setBypass(false);
        unitBands[i]->setFilterType(AudioUnitEQFilterType::parametric);
    }
    return unit;
}

void PlaybackManager::setupEqualizer() {
    m_equalizer = makeEqualizerUnit();
    m_bands = m_equalizer->bands();
    m_equalizerState = new EqualizerState(*m_equalizer, m_bassEqualizers, m_defaults, this);
    connect(m_equalizerState, &EqualizerState::selectedEQPresetChanged, this,
            &PlaybackManager::selectedEQPresetChanged);
    m_equalizerState->restoreEqualizer();
}

void PlaybackManager::setupBassEqualizers(int count) {
    for (int i = 0; i < count; ++i) {
        m_bassEqualizers.push_back(makeEqualizerUnit());
    }
    m_equalizerState->restoreBassEqualizers();
}

void PlaybackManager::setupAudioGraph() {
    AudioEngine& engine = *m_audioEngine;
    engine.attach(m_audioPlayerNode.get());
    engine.attach(m_equalizer.get());
    for (const auto& unit : m_bassEqualizers) {
        engine.attach(unit.get());
    }
    engine.connect(m_audioPlayerNode.get(), m_equalizer.get());
    for (size_t i = 0; i + 1 < m_bassEqualizers.size(); ++i) {
        engine.connect(m_bassEqualizers[i].get(), m_bassEqualizers[i + 1].get());
    }
    if (m_bassEqualizers.empty()) {
        engine.connect(m_equalizer.get(), engine.outputNode());
        return;
    }
    engine.connect(m_equalizer.get(), m_bassEqualizers.front().get());
    engine.connect(m_bassEqualizers.back().get(), engine.outputNode());
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
    QList<TrackPtr> queue;
    queue.reserve(playlist.size());
    for (const TrackPtr& track : playlist) {
        if (track) {
            queue.append(track);
        } else {
            qCWarning(lcPlayback) << "a null track was handed in with the queue; left out";
        }
    }
    m_currentPlaylist = std::move(queue);
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
    if (updateField(m_currentIndex, index, &PlaybackManager::currentIndexChanged)) {
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
    m_currentPlaylist.removeAt(index);
    emit currentPlaylistChanged();
    emit navigationChanged();
}

void PlaybackManager::setNowPlayingPublisher(std::shared_ptr<NowPlayingPublisher> publisher) {
    m_nowPlayingPublisher =
        publisher ? std::move(publisher) : std::make_shared<NullNowPlayingPublisher>();
}

void PlaybackManager::setRandomSource(RandomSource source) {
    if (source) {
        m_randomSource = std::move(source);
    } else {
        m_randomSource = [] { return QRandomGenerator::system()->generate64(); };
    }
}

void PlaybackManager::setElapsedTimeTimer(std::unique_ptr<RepeatingTimer> timer) {
    Q_ASSERT(timer);
    m_elpasedTimeTimer = std::move(timer);
    m_elpasedTimeTimer->setCallback([this] { notifyCurrentTimeChanged(); });
}

bool PlaybackManager::isIndexValid() const {
    return m_currentIndex >= 0 && m_currentIndex < m_currentPlaylist.size();
}

bool PlaybackManager::canGoNext() const {
    if (m_currentPlaylist.isEmpty()) {
        return false;
    }
    if (m_isShuffleEnabled || m_repeatMode != RepeatMode::off) {
        return true;
    }
    return m_currentIndex < m_currentPlaylist.size() - 1;
}

bool PlaybackManager::canGoPrevious() const {
    if (m_currentPlaylist.isEmpty()) {
        return false;
    }
    return m_isShuffleEnabled || m_repeatMode != RepeatMode::off || m_currentIndex > 0;
}

// Multiply-and-reject: the high word of word x count is uniform over
// [0, count) once the low words that would over-represent some results
// (fewer than 2^64 mod count of them) are drawn again.
int PlaybackManager::randomIndex(int count) const {
    Q_ASSERT(count > 0);
    using Wide = unsigned __int128;
    const quint64 bound = quint64(count);
    Wide product = Wide(m_randomSource()) * bound;
    if (quint64(product) < bound) {
        const quint64 threshold = (0 - bound) % bound;
        while (quint64(product) < threshold) {
            product = Wide(m_randomSource()) * bound;
        }
    }
    return int(quint64(product >> 64));
}

// --- Transport ---------------------------------------------------------------

void PlaybackManager::play() {
    if (isIndexValid()) {
        if (m_state == State::stopped) {
            playCurrentTrack();
        } else if (startEngineIfNeeded() && !m_audioPlayerNode->isPlaying()) {
            // The node is started before the seek so that the seek finds it
            // playing, drops what was scheduled and plays from the counted time.
            m_audioPlayerNode->play();
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
        m_audioPlayerNode->pause();
        m_audioEngine->pause();
        setState(State::paused);
        callDelegate([](PlaybackManagerDelegate& d) { d.didPausePlayback(); });
    }
    updateNowPlayingInfo();
}

void PlaybackManager::stopPlayerNode() {
    // A paused node still holds the rest of what it was playing; whatever is
    // scheduled next would queue behind it and be heard only after it.
    if (!m_audioPlayerNode->isStopped()) {
        m_audioPlayerNode->stop();
    }
}

void PlaybackManager::stopPlayback() {
    m_audioPlayerNode->stop();
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
    if (m_isShuffleEnabled) {
        // A remote command can get here with nothing queued; there is nothing
        // to pick from, so this is the end of the queue.
        if (m_currentPlaylist.isEmpty()) {
            qCWarning(lcPlayback) << (step > 0 ? "next" : "previous")
                                  << "with shuffle on and an empty queue; stopping";
            stopPlayback();
            return;
        }
        const int oldIndex = m_currentIndex;
        const int pick = randomIndex(int(m_currentPlaylist.size()));
        // Off either end is fine: playCurrentTrack() starts over at 0.
        setCurrentIndex(pick == oldIndex ? oldIndex + step : pick);
        playCurrentTrack();
        return;
    }
    if (step > 0 ? canGoNext() : canGoPrevious()) {
        // Forward with repeat on at the last track this runs off the end, and
        // playCurrentTrack() wraps it to 0; backward wraps to the last here.
        const int index = m_currentIndex + step;
        setCurrentIndex(step < 0 && index < 0 ? int(m_currentPlaylist.size()) - 1 : index);
        playCurrentTrack();
        return;
    }
    stopPlayback();
}

void PlaybackManager::playCurrentTrack() {
    // Each unreadable track leaves the queue and the one that moved into its
    // place is tried, until one plays or the queue is empty.
    for (;;) {
        if (m_currentPlaylist.isEmpty()) {
            return;
        }
        if (!startEngineIfNeeded()) {
            return;
        }
        if (!isIndexValid()) {
            setCurrentIndex(0);
        }
        stopPlayerNode();
        const TrackPtr track = m_currentPlaylist.at(m_currentIndex);
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
            removeFromQueue(m_currentIndex);
            continue;
        }
        m_audioFile = std::move(file);
        m_audioPlayerNode->scheduleFile(m_audioFile);

        if (!m_audioEngine->isRunning()) {
            systemLog(QStringLiteral("Error: Audio engine is not running"));
            return;
        }
        m_audioPlayerNode->play();
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
    if (m_audioEngine->isRunning()) {
        return true;
    }
    QString error;
    if (m_audioEngine->start(&error)) {
        return true;
    }
    qCDebug(lcPlayback) << "the audio engine did not start:" << error;
    m_audioPlayerNode->stop();
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
    const std::optional<AudioTime> nodeTime = m_audioPlayerNode->lastRenderTime();
    const std::optional<AudioTime> playerTime =
        nodeTime ? m_audioPlayerNode->playerTimeForNodeTime(*nodeTime) : std::nullopt;
    if (!playerTime) {
        systemLog(QStringLiteral("Invalid player state"));
        return;
    }
    // The player's time runs at the output's rate: every frame below is a
    // frame of the player's timeline, and the node maps it into the file.
    const double sampleRate = playerTime->sampleRate;
    const double duration = m_currentPlaylist.at(m_currentIndex)->duration;

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

    const double startingProduct = sampleRate * m_currentTime;
    if (!std::isfinite(startingProduct) || startingProduct >= kStartingFrameBound ||
        startingProduct < -kStartingFrameBound) {
        qCWarning(lcPlayback) << "seek refused: starting frame" << startingProduct
                              << "is out of range at" << sampleRate << "Hz";
        return;
    }
    const qint64 startingFrame = qint64(startingProduct);

    const float countProduct = toSingle(sampleRate) * toSingle(duration - m_currentTime);
    if (countProduct >= kFrameCountBound) {
        qCWarning(lcPlayback) << "seek refused: frame count" << countProduct
                              << "does not fit a segment";
        return;
    }
    // Negative (or NaN) counts mean nothing is left to play.
    const quint32 frameCount = countProduct > 0.0f ? quint32(countProduct) : 0u;

    const qint64 length = m_audioPlayerNode->timelineLength(*m_audioFile);
    if (startingFrame < 0 || startingFrame >= length) {
        systemLog(QStringLiteral("Invalid newSampleTime: %1 for audio file length: %2")
                      .arg(startingFrame)
                      .arg(length));
        return;
    }
    if (frameCount == 0) {
        systemLog(QStringLiteral("No frames to play or invalid values"));
        return;
    }
    stopPlayerNode();
    systemLog(QStringLiteral("Scheduling segment: startingFrame: %1, frameCount: %2")
                  .arg(startingFrame)
                  .arg(frameCount));
    m_audioPlayerNode->scheduleSegment(m_audioFile, startingFrame, frameCount);
    m_audioPlayerNode->play();
    updateNowPlayingInfo();
    const double seconds = m_currentTime;
    callDelegate(
        [this, seconds](PlaybackManagerDelegate& d) { d.didChangeCurrentTime(*this, seconds); });
}

void PlaybackManager::notifyDelegateOfCurrentTime() {
    double seconds = m_currentTime;
    if (isIndexValid() && m_currentPlaylist.at(m_currentIndex)->duration < m_currentTime) {
        seconds = m_currentPlaylist.at(m_currentIndex)->duration;
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
    const TrackPtr track = m_currentPlaylist.at(m_currentIndex);
    if (m_audioPlayerNode->isPlaying()) {
        // The only recovery from an engine that stopped behind our back.
        if (!m_audioEngine->isRunning()) {
            play();
        }
        if (m_audioEngine->isRunning()) {
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
    NowPlayingInfo info;
    info.playbackState = m_audioPlayerNode->isPlaying() ? NowPlayingInfo::PlaybackState::playing
                                                        : NowPlayingInfo::PlaybackState::paused;
    info.elapsedPlaybackTime = m_currentTime;
    if (isIndexValid()) {
        const TrackPtr& track = m_currentPlaylist.at(m_currentIndex);
        info.title = track->title;
        info.playbackDuration = QVariant(track->duration);
        if (const std::optional<QImage> thumbnail = track->albumArtThumbnail()) {
            const QImage image = *thumbnail;
            info.artwork = NowPlayingArtwork{image.deviceIndependentSize().toSize(),
                                             [image](const QSize&) { return image; }};
        }
    } else {
        info.playbackDuration = QVariant(0);
    }
    m_nowPlayingPublisher->publish(info);
}

PlaybackManager::RemoteCommandStatus PlaybackManager::statusByPlaying(bool wantPlaying) const {
    return m_audioPlayerNode->isPlaying() == wantPlaying ? RemoteCommandStatus::success
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
