#pragma once

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QImage>
#include <QList>
#include <QString>
#include <optional>

#include "BassBoostView.h"
#include "EqualizerPresetsView.h"
#include "EqualizerView.h"
#include "PlaybackManager.h"
#include "PlaybackManagerDelegate.h"
#include "SystemVolume.h"
#include "ThickSlider.h"
#include "ViewController.h"
#include "VolumeBoostView.h"

class DialogViewController;

// The now-playing screen: what the manager plays, its transport and seek
// bar, and the four sound panels. All sound state stays in the manager; the
// screen keeps only what it shows and whether its tune image moves.
class PlayerViewController : public ViewController,
                             public PlaybackManagerDelegate,
                             public EqualizerViewDelegate,
                             public EqualizerPresetsViewDelegate,
                             public BassBoostViewDelegate,
                             public VolumeBoostViewDelegate {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the \"Player\" bundle")
    Q_PROPERTY(QImage albumArt READ albumArt NOTIFY trackChanged)
    Q_PROPERTY(QString albumArtImage READ albumArtImage NOTIFY trackChanged)
    Q_PROPERTY(QString titleText READ titleText NOTIFY trackChanged)
    Q_PROPERTY(QString artistText READ artistText NOTIFY trackChanged)
    Q_PROPERTY(QString durationText READ durationText NOTIFY trackChanged)
    Q_PROPERTY(QString positionText READ positionText NOTIFY positionTextChanged)
    Q_PROPERTY(ThickSlider* trackSlider READ trackSlider CONSTANT)
    Q_PROPERTY(bool trackSliderEnabled READ isTrackSliderEnabled NOTIFY trackChanged)
    Q_PROPERTY(QString playPauseImage READ playPauseImage NOTIFY playPauseImageChanged)
    Q_PROPERTY(bool nextEnabled READ isNextEnabled NOTIFY navigationChanged)
    Q_PROPERTY(bool previousEnabled READ isPreviousEnabled NOTIFY navigationChanged)
    Q_PROPERTY(QColor shuffleTint READ shuffleTint NOTIFY modesChanged)
    Q_PROPERTY(QColor repeatTint READ repeatTint NOTIFY modesChanged)
    Q_PROPERTY(QString repeatImage READ repeatImage NOTIFY modesChanged)
    Q_PROPERTY(QString tuneImage READ tuneImage NOTIFY tuneImageChanged)
    Q_PROPERTY(bool saveCustomPresetHidden READ isSaveCustomPresetHidden NOTIFY
                   saveCustomPresetHiddenChanged)
    Q_PROPERTY(int visiblePanelTag READ visiblePanelTag NOTIFY panelChanged)
    Q_PROPERTY(QList<QColor> controlIconColors READ controlIconColors NOTIFY panelChanged)
    Q_PROPERTY(QList<QColor> controlLabelColors READ controlLabelColors NOTIFY panelChanged)
    Q_PROPERTY(QObject* bassBoostView READ bassBoostViewIfLoaded NOTIFY panelChanged)
    Q_PROPERTY(QObject* equalizerPresetsView READ equalizerPresetsViewIfLoaded NOTIFY panelChanged)
    Q_PROPERTY(QObject* equalizerView READ equalizerViewIfLoaded NOTIFY panelChanged)
    Q_PROPERTY(QObject* volumeBoostView READ volumeBoostViewIfLoaded NOTIFY panelChanged)
    Q_PROPERTY(SystemVolume* volumeView READ volumeView CONSTANT)
    Q_PROPERTY(int seekPanState READ seekPanState NOTIFY seekPanStateChanged)

public:
    // The states of the seek bar's drag, numbered as the screens' logic uses them.
    enum GestureState { possible = 0, began = 1, changed = 2, ended = 3, cancelled = 4 };
    Q_ENUM(GestureState)

    static const QColor kButtonColor;
    static const QColor kDimmedColor;
    static constexpr qreal kAlbumArtInset = 2;
    static inline const QString kDidClickBassBoostBeforeKey =
        QStringLiteral("DidClickBassBoostBeforeKey");

    // Shows PlaybackManager::shared() and the sound server's volume.
    explicit PlayerViewController(QObject* parent = nullptr);
    PlayerViewController(PlaybackManager& manager, SystemVolume* volume, QObject* parent = nullptr);
    ~PlayerViewController() override;

    // Positional and zero-padded: 65 is "01:05", 3600 and above "01:00:00".
    static QString formatTime(double seconds);
    // The full-size picture of a track, cut by the inset on each side; null
    // when it has none.
    static QImage albumArtFor(const TrackPtr& track);
    // The explanation shown at the first tap on the bass control; the
    // caller presents it.
    static DialogViewController* makeBassBoostExplanation();

    std::optional<bool> isPlaying() const { return m_isPlaying; }
    QImage albumArt() const { return m_albumArt; }
    QString albumArtImage() const { return m_albumArt.isNull() ? m_placeholder : QString(); }
    QString titleText() const { return m_titleText; }
    QString artistText() const { return m_artistText; }
    QString durationText() const { return m_durationText; }
    QString positionText() const { return m_positionText; }
    ThickSlider* trackSlider() const { return m_trackSlider; }
    bool isTrackSliderEnabled() const { return m_trackSliderEnabled; }
    QString playPauseImage() const { return m_playPauseImage; }
    bool isNextEnabled() const { return m_nextEnabled; }
    bool isPreviousEnabled() const { return m_previousEnabled; }
    QColor shuffleTint() const { return m_shuffleTint; }
    QColor repeatTint() const { return m_repeatTint; }
    QString repeatImage() const { return m_repeatImage; }
    QString tuneImage() const { return m_tuneImage; }
    bool isSaveCustomPresetHidden() const { return m_saveCustomPresetHidden; }
    int visiblePanelTag() const { return m_attachedPanelTag; }
    QList<QColor> controlIconColors() const { return m_controlIconColors; }
    QList<QColor> controlLabelColors() const { return m_controlLabelColors; }
    SystemVolume* volumeView() const { return m_volumeView; }
    int seekPanState() const { return m_seekPanState; }

    // The panels, built on first use.
    BassBoostView& bassBoostView();
    EqualizerPresetsView& equalizerPresetsView();
    EqualizerView& equalizerView();
    VolumeBoostView& volumeBoostView();
    QObject* bassBoostViewIfLoaded() const { return m_bassBoostView; }
    QObject* equalizerPresetsViewIfLoaded() const { return m_equalizerPresetsView; }
    QObject* equalizerViewIfLoaded() const { return m_equalizerView; }
    QObject* volumeBoostViewIfLoaded() const { return m_volumeBoostView; }

    void viewDidLoad() override;
    void viewDidAppear(bool animated) override;

    // User actions.
    Q_INVOKABLE void didClickPlayPause();
    Q_INVOKABLE void didClickNext();
    Q_INVOKABLE void didClickPrevious();
    Q_INVOKABLE void didClickShuffle();
    Q_INVOKABLE void didClickRepeat();
    // The slider moved to `value` by itself (keys): show it and go there.
    Q_INVOKABLE void didChangeSeekPosition(float value);
    // A tap at `x` of the screen, over a slider at `sliderX`, `sliderWidth` wide.
    Q_INVOKABLE void didTapSeekBar(qreal x, qreal sliderX, qreal sliderWidth);
    // One event of the drag: `x` in a slider `width` wide. A drag the screen
    // cancelled ignores the rest of its events.
    Q_INVOKABLE void didPanSeekBar(qreal x, qreal width, int state);
    Q_INVOKABLE void didTapHeader();
    Q_INVOKABLE void didTapBassBoost();
    Q_INVOKABLE void didTapPresets();
    Q_INVOKABLE void didTapEqualizer();
    Q_INVOKABLE void didTapVolumeBoost();
    Q_INVOKABLE void didTabSaveCustomPreset();

    // PlaybackManagerDelegate
    void didStartPlayback() override;
    void didPausePlayback() override;
    void didStopPlayback() override;
    void didChangeTrack(TrackPtr track) override;
    void didChangeCurrentTime(PlaybackManager& manager, double seconds) override;

    // The panels' delegates
    void equalizerPresetsViewDidSelectPreset(EqualizerPresetsView& view,
                                             EqualizerState::EqualizerPreset preset) override;
    void equalizerViewDidChangeBand(float frequency, float gain) override;
    void bassBoostViewDidChangeGain(BassBoostView& view, float gain) override;
    void volumeBoostViewDidChangeGain(VolumeBoostView& view, int gain) override;

signals:
    void trackChanged();
    void positionTextChanged();
    void playPauseImageChanged();
    void navigationChanged();
    void modesChanged();
    void tuneImageChanged();
    void saveCustomPresetHiddenChanged();
    void panelChanged();
    void seekPanStateChanged();

private:
    void refresh();
    void showTime(double seconds);
    void setPositionText(const QString& text);
    void setPlayPauseImage(const QString& image);
    void setSaveCustomPresetHidden(bool hidden);
    void setSeekPanState(GestureState state);
    void handleSeekPan(qreal x, qreal width, GestureState state);
    void postIsPlaying();
    // Shows `tag`'s panel, or closes it when it is the one on show; -1
    // closes whatever shows.
    void switchPanel(int tag);
    // Builds a panel on first use: this screen as its delegate, `tag` as its tag.
    template <typename Panel>
    Panel& loadPanel(Panel*& panel, int tag);
    void showBassBoostExplanation();

    PlaybackManager& m_playbackManager;
    SystemVolume* m_volumeView = nullptr;
    std::optional<bool> m_isPlaying;

    QImage m_albumArt;
    QString m_placeholder;
    QString m_titleText;
    QString m_artistText;
    QString m_durationText;
    QString m_positionText;
    ThickSlider* m_trackSlider = nullptr;
    bool m_trackSliderEnabled = false;
    QString m_playPauseImage;
    bool m_nextEnabled = false;
    bool m_previousEnabled = false;
    QColor m_shuffleTint;
    QColor m_repeatTint;
    QString m_repeatImage;
    QString m_tuneImage;
    bool m_saveCustomPresetHidden = true;
    GestureState m_seekPanState = possible;
    qreal m_lastPanX = 0;
    qreal m_lastPanWidth = 1;

    BassBoostView* m_bassBoostView = nullptr;
    EqualizerPresetsView* m_equalizerPresetsView = nullptr;
    EqualizerView* m_equalizerView = nullptr;
    VolumeBoostView* m_volumeBoostView = nullptr;
    // The panel last shown, and the one in the container now (-1: none).
    int m_visiblePanelTag = -1;
    int m_attachedPanelTag = -1;
    QList<QColor> m_controlIconColors;
    QList<QColor> m_controlLabelColors;
};
