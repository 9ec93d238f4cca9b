#include "PlayerViewController.h"

#include <QLoggingCategory>
#include <cmath>
#include <memory>

#include "DialogViewController.h"
#include "Localization.h"
#include "Log.h"
#include "NoticeDialog.h"
#include "NotificationCenter.h"
#include "ReviewPrompt.h"
#include "TagReader.h"
#include "UserDefaults.h"

Q_LOGGING_CATEGORY(lcPlayerScreen, "corvantis.player")

namespace {

const QString kPlayImage = QStringLiteral("Play (48pt)");
const QString kPauseImage = QStringLiteral("Pause (48pt)");
const QString kPlaceholderImage = QStringLiteral("Album Art Placeholder");
const QString kIsPlaying = QStringLiteral("isPlaying");
const QColor kLightGray = QColor::fromRgbF(2.0f / 3, 2.0f / 3, 2.0f / 3, 1);
constexpr int kControlCount = 4;
constexpr double kRestartThreshold = 5.0;

enum PanelTag { bassBoostTag = 0, presetsTag = 1, equalizerTag = 2, volumeBoostTag = 3 };

// What the notification carries as its object: a name, as the listeners
// compare it.
QObject* isPlayingSender() {
    static QObject* const sender = [] {
        auto* object = new QObject;
        object->setObjectName(kIsPlaying);
        return object;
    }();
    return sender;
}

QString twoDigits(qint64 value) {
    return QStringLiteral("%1").arg(value, 2, 10, QLatin1Char('0'));
}

}  // namespace

const QColor PlayerViewController::kButtonColor =
    QColor::fromRgbF(0.21875f, 0.6171875f, 0.6640625f, 1);
const QColor PlayerViewController::kDimmedColor =
    QColor::fromRgbF(0.421875f, 0.421875f, 0.421875f, 1);

PlayerViewController::PlayerViewController(QObject* parent)
    : PlayerViewController(PlaybackManager::shared(), nullptr, parent) {
    m_volumeView = new SystemVolume(this);
    setViewSource(QUrl(QStringLiteral("qrc:/Corvantis/Player/PlayerView.qml")));
}

PlayerViewController::PlayerViewController(PlaybackManager& manager, SystemVolume* volume,
                                           QObject* parent)
    : ViewController(parent),
      m_playbackManager(manager),
      m_volumeView(volume),
      m_trackSlider(new ThickSlider(this)) {
    setModalPresentationStyle(ModalPresentationStyle::overFullScreen);
    for (int i = 0; i < kControlCount; ++i) {
        m_controlIconColors.append(kDimmedColor);
        m_controlLabelColors.append(Qt::white);
    }
}

PlayerViewController::~PlayerViewController() = default;

QString PlayerViewController::formatTime(double seconds) {
    // No positional form for what is not a time: the number itself.
    if (!std::isfinite(seconds) || std::fabs(seconds) >= 1e15) {
        return QString::number(seconds);
    }
    const qint64 whole = qint64(std::trunc(seconds));
    const QString sign = whole < 0 ? QStringLiteral("-") : QString();
    const qint64 total = whole < 0 ? -whole : whole;
    const qint64 minutes = seconds >= 3600 ? (total / 60) % 60 : total / 60;
    QString text = twoDigits(minutes) + u':' + twoDigits(total % 60);
    if (seconds >= 3600) {
        text = twoDigits(total / 3600) + u':' + text;
    }
    return sign + text;
}

QImage PlayerViewController::albumArtFor(const TrackPtr& track) {
    if (!track) {
        return {};
    }
    QImage picture;
    if (track->mediaItem && track->mediaItem->artwork) {
        picture = track->mediaItem->artwork(QSize(128, 128));
    }
    if (picture.isNull()) {
        if (const std::optional<QByteArray> cover = TagReader::readFrontCover(track->url())) {
            if (!picture.loadFromData(*cover)) {
                qCDebug(lcPlayerScreen) << "front cover of" << track->fileName << "does not decode";
            }
        }
    }
    const int inset = qRound(kAlbumArtInset * picture.devicePixelRatio());
    const QRect cropped = picture.rect().adjusted(inset, inset, -inset, -inset);
    if (picture.isNull() || cropped.isEmpty()) {
        return {};
    }
    return picture.copy(cropped);
}

// --- Life cycle --------------------------------------------------------------

void PlayerViewController::viewDidLoad() {
    ViewController::viewDidLoad();
    refresh();
    m_playbackManager.setDelegate(this);
    switchPanel(-1);
    m_tuneImage = QStringLiteral("wave_1x");
    emit tuneImageChanged();
    // Whatever the manager does: the screen opens as the place where music plays.
    m_isPlaying = true;
    postIsPlaying();
}

void PlayerViewController::viewDidAppear(bool animated) {
    ViewController::viewDidAppear(animated);
    ReviewPrompt::current().requestReview();
}

void PlayerViewController::refresh() {
    const int index = m_playbackManager.currentIndex();
    const QList<TrackPtr>& queue = m_playbackManager.currentPlaylist();
    didChangeTrack(index >= 0 && index < queue.size() ? queue.at(index) : nullptr);
}

// --- Transport ---------------------------------------------------------------

void PlayerViewController::didClickPlayPause() {
    if (m_playbackManager.audioPlayerNode().isPlaying()) {
        m_playbackManager.pause();
        setPlayPauseImage(kPlayImage);
        m_isPlaying = false;
    } else {
        m_playbackManager.play();
        setPlayPauseImage(kPauseImage);
        m_isPlaying = true;
    }
    m_tuneImage = *m_isPlaying ? QStringLiteral("wave_1x") : QStringLiteral("wave");
    emit tuneImageChanged();
    postIsPlaying();
}

void PlayerViewController::postIsPlaying() {
    NotificationCenter::defaultCenter().post(kIsPlaying, isPlayingSender(),
                                             {{kIsPlaying, m_isPlaying.value_or(false)}});
}

void PlayerViewController::didClickNext() {
    m_playbackManager.next();
}

void PlayerViewController::didClickPrevious() {
    // Well into a track, "previous" means "from the start".
    if (m_playbackManager.currentTime() > kRestartThreshold) {
        m_playbackManager.seekTo(0);
    } else {
        m_playbackManager.previous();
    }
}

void PlayerViewController::didClickShuffle() {
    m_playbackManager.setShuffleEnabled(!m_playbackManager.isShuffleEnabled());
    refresh();
}

void PlayerViewController::didClickRepeat() {
    using RepeatMode = PlaybackManager::RepeatMode;
    switch (m_playbackManager.repeatMode()) {
        case RepeatMode::off:
            m_playbackManager.setRepeatMode(RepeatMode::one);
            break;
        case RepeatMode::one:
            m_playbackManager.setRepeatMode(RepeatMode::on);
            break;
        case RepeatMode::on:
            m_playbackManager.setRepeatMode(RepeatMode::off);
            break;
    }
    refresh();
}

// --- Seek bar ----------------------------------------------------------------

void PlayerViewController::didChangeSeekPosition(float value) {
    m_trackSlider->setValue(value, false);
    setPositionText(formatTime(m_trackSlider->value()));
    m_playbackManager.seekTo(m_trackSlider->value());
}

void PlayerViewController::didTapSeekBar(qreal x, qreal sliderX, qreal sliderWidth) {
    const double value = (x - sliderX) * double(m_trackSlider->maximumValue()) / sliderWidth;
    m_trackSlider->setValue(float(value), false);
    setPositionText(formatTime(m_trackSlider->value()));
    m_playbackManager.seekTo(m_trackSlider->value());
}

void PlayerViewController::didPanSeekBar(qreal x, qreal width, int state) {
    if (state < began || state > cancelled) {
        qCWarning(lcPlayerScreen) << "seek bar drag in an unknown state" << state;
        return;
    }
    if (state == began) {
        setSeekPanState(began);
    } else if (m_seekPanState == possible) {
        // The rest of a drag the screen has cancelled.
        return;
    }
    m_lastPanX = x;
    m_lastPanWidth = width;
    handleSeekPan(x, width, GestureState(state));
}

void PlayerViewController::handleSeekPan(qreal x, qreal width, GestureState state) {
    const float minimum = m_trackSlider->minimumValue();
    const float maximum = m_trackSlider->maximumValue();
    m_trackSlider->setValue(float((maximum - minimum) * (x / width) + minimum), true);
    if (state != ended && state != cancelled) {
        if (state != began) {
            setSeekPanState(changed);
        }
        m_trackSlider->setHighlighted(true);
        // The label follows the finger while the music plays on.
        setPositionText(formatTime(m_trackSlider->value()));
        return;
    }
    m_trackSlider->setHighlighted(false);
    setSeekPanState(possible);
    if (state == cancelled) {
        return;
    }
    setPositionText(formatTime(m_trackSlider->value()));
    m_playbackManager.seekTo(m_trackSlider->value());
}

void PlayerViewController::showTime(double seconds) {
    // A drag owns the slider and the label until it ends.
    if (m_seekPanState != possible) {
        return;
    }
    m_trackSlider->setValue(float(seconds), true);
    setPositionText(formatTime(m_trackSlider->value()));
}

// --- PlaybackManagerDelegate -------------------------------------------------

void PlayerViewController::didStartPlayback() {
    setPlayPauseImage(kPauseImage);
}

void PlayerViewController::didPausePlayback() {
    setPlayPauseImage(kPlayImage);
}

void PlayerViewController::didStopPlayback() {
    setPlayPauseImage(kPlayImage);
}

void PlayerViewController::didChangeTrack(TrackPtr track) {
    m_albumArt = albumArtFor(track);
    m_placeholder = kPlaceholderImage;
    m_artistText = track ? track->artist : QString();
    // An unmeasured track has no end to seek against.
    const double duration = track && std::isfinite(track->duration) ? track->duration : 0.0;
    m_trackSlider->setMaximumValue(float(duration));
    m_titleText = track ? track->title : Localization::text("not_playing");
    m_durationText = formatTime(duration);
    m_trackSliderEnabled = track != nullptr;
    emit trackChanged();
    setPlayPauseImage(m_playbackManager.audioPlayerNode().isPlaying() ? kPauseImage : kPlayImage);
    m_nextEnabled = m_playbackManager.canGoNext();
    m_previousEnabled = m_playbackManager.canGoPrevious();
    emit navigationChanged();
    showTime(m_playbackManager.currentTime());
    using RepeatMode = PlaybackManager::RepeatMode;
    const RepeatMode repeat = m_playbackManager.repeatMode();
    m_repeatTint = repeat != RepeatMode::off ? QColor(Qt::white) : kLightGray;
    m_repeatImage = repeat == RepeatMode::one ? QStringLiteral("Repeat One Icon.png")
                                              : QStringLiteral("Repeat Icon.png");
    m_shuffleTint = m_playbackManager.isShuffleEnabled() ? QColor(Qt::white) : kLightGray;
    emit modesChanged();
    // A drag in progress belongs to the track it started on.
    if (m_seekPanState == began || m_seekPanState == changed) {
        handleSeekPan(m_lastPanX, m_lastPanWidth, cancelled);
    }
}

void PlayerViewController::didChangeCurrentTime(PlaybackManager& manager, double seconds) {
    showTime(seconds);
    // At the start of a queue with nowhere to go, the button still restarts
    // the track once it has played a while.
    m_previousEnabled = seconds > kRestartThreshold || manager.canGoPrevious();
    emit navigationChanged();
}

// --- Panels ------------------------------------------------------------------

template <typename Panel>
Panel& PlayerViewController::loadPanel(Panel*& panel, int tag) {
    if (!panel) {
        panel = new Panel(this);
        panel->delegate = this;
        panel->tag = tag;
    }
    return *panel;
}

BassBoostView& PlayerViewController::bassBoostView() {
    return loadPanel(m_bassBoostView, bassBoostTag);
}

EqualizerPresetsView& PlayerViewController::equalizerPresetsView() {
    return loadPanel(m_equalizerPresetsView, presetsTag);
}

EqualizerView& PlayerViewController::equalizerView() {
    return loadPanel(m_equalizerView, equalizerTag);
}

VolumeBoostView& PlayerViewController::volumeBoostView() {
    return loadPanel(m_volumeBoostView, volumeBoostTag);
}

void PlayerViewController::switchPanel(int tag) {
    int activeTag = -1;
    if (tag < 0 || tag == m_attachedPanelTag) {
        m_attachedPanelTag = -1;
    } else {
        m_attachedPanelTag = tag;
        m_visiblePanelTag = tag;
        activeTag = tag;
    }
    for (int index = 0; index < kControlCount; ++index) {
        const bool active = index == activeTag;
        m_controlIconColors[index] = active ? kButtonColor : kDimmedColor;
        m_controlLabelColors[index] = active ? kButtonColor : QColor(Qt::white);
    }
    emit panelChanged();
}

void PlayerViewController::didTapBassBoost() {
    setSaveCustomPresetHidden(true);
    BassBoostView& panel = bassBoostView();
    switchPanel(bassBoostTag);
    panel.bassGain = m_playbackManager.bassGain();
    panel.slider()->setValue(-panel.bassGain, false);
    UserDefaults& defaults = UserDefaults::standard();
    if (!defaults.boolForKey(kDidClickBassBoostBeforeKey)) {
        showBassBoostExplanation();
        defaults.setBool(true, kDidClickBassBoostBeforeKey);
    }
}

void PlayerViewController::showBassBoostExplanation() {
    presentViewController(makeBassBoostExplanation(), true);
}

DialogViewController* PlayerViewController::makeBassBoostExplanation() {
    DialogViewController::Options options;
    options.title = Localization::text("bass_boost_effect");
    options.message = Localization::text("bass_boost_effect_message");
    options.spacing = 6;
    options.fontName = QStringLiteral("AvenirNext-Medium");
    options.fontNameBold = QStringLiteral("AvenirNext-DemiBold");
    options.widthRatio = 0.68;
    DialogViewController* dialog =
        makeNoticeDialog(options, kLightGray, Localization::text("continue"), 12);
    dialog->setContentOffset(-0.5 * dialog->estimatedHeight());
    return dialog;
}

void PlayerViewController::didTapPresets() {
    setSaveCustomPresetHidden(true);
    EqualizerPresetsView& panel = equalizerPresetsView();
    switchPanel(presetsTag);
    panel.selectedPreset = m_playbackManager.selectedEQPreset();
    panel.updateButtons();
}

void PlayerViewController::didTapEqualizer() {
    // Moves of the user preset that were not saved are undone here.
    if (m_playbackManager.selectedEQPreset() == EqualizerState::EqualizerPreset::Custom) {
        m_playbackManager.loadCustomPreset();
    }
    EqualizerView& panel = equalizerView();
    switchPanel(equalizerTag);
    for (const AudioUnitEQFilterParameters* band : m_playbackManager.bands()) {
        if (ThickVerticalSlider* slider = panel.sliderWithTag(int(band->frequency()))) {
            slider->setValue(band->gain());
        }
    }
}

void PlayerViewController::didTapVolumeBoost() {
    setSaveCustomPresetHidden(true);
    VolumeBoostView& panel = volumeBoostView();
    switchPanel(volumeBoostTag);
    panel.globalGain = m_playbackManager.equalizer()->globalGain();
    panel.updateSlider();
}

void PlayerViewController::didTabSaveCustomPreset() {
    m_playbackManager.saveCustomEqualizerBands();
}

void PlayerViewController::didTapHeader() {
    // Leaving while the save button shows keeps the bands as the user preset.
    if (!m_saveCustomPresetHidden) {
        m_playbackManager.saveCustomEqualizerBands();
        dismissViewController(true);
        systemLog(QStringLiteral("Here should do an action to save"));
        return;
    }
    dismissViewController(true);
}

void PlayerViewController::equalizerPresetsViewDidSelectPreset(
    EqualizerPresetsView&, EqualizerState::EqualizerPreset preset) {
    setSaveCustomPresetHidden(true);
    m_playbackManager.selectPreset(preset);
}

void PlayerViewController::equalizerViewDidChangeBand(float frequency, float gain) {
    setSaveCustomPresetHidden(false);
    if (m_playbackManager.selectedEQPreset() == EqualizerState::EqualizerPreset::Custom) {
        m_playbackManager.setCustomEqualizerBand(frequency, gain);
    } else {
        m_playbackManager.setEqualizerBand(frequency, gain);
    }
}

void PlayerViewController::bassBoostViewDidChangeGain(BassBoostView&, float gain) {
    m_playbackManager.setBassGain(gain);
}

void PlayerViewController::volumeBoostViewDidChangeGain(VolumeBoostView&, int gain) {
    m_playbackManager.setVolumeBoost(gain);
}

// --- Small setters -----------------------------------------------------------

void PlayerViewController::setPositionText(const QString& text) {
    if (m_positionText != text) {
        m_positionText = text;
        emit positionTextChanged();
    }
}

void PlayerViewController::setPlayPauseImage(const QString& image) {
    if (m_playPauseImage != image) {
        m_playPauseImage = image;
        emit playPauseImageChanged();
    }
}

void PlayerViewController::setSaveCustomPresetHidden(bool hidden) {
    if (m_saveCustomPresetHidden != hidden) {
        m_saveCustomPresetHidden = hidden;
        emit saveCustomPresetHiddenChanged();
    }
}

void PlayerViewController::setSeekPanState(GestureState state) {
    if (m_seekPanState != state) {
        m_seekPanState = state;
        emit seekPanStateChanged();
    }
}
