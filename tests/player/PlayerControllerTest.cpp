#include <gtest/gtest.h>

#include <QImage>
#include <memory>
#include <vector>

#include "DialogViewController.h"
#include "Localization.h"
#include "Log.h"
#include "ManualTimer.h"
#include "Navigation.h"
#include "NotificationCenter.h"
#include "OfflineAudioOutput.h"
#include "PlaceholderViewController.h"
#include "PlayerViewController.h"
#include "ReviewPrompt.h"
#include "TrackFixtures.h"
#include "UserDefaults.h"

namespace {

using Preset = EqualizerState::EqualizerPreset;
using RepeatMode = PlaybackManager::RepeatMode;
constexpr int kBlock = 512;

class CountingReviewPrompt : public ReviewPrompt {
public:
    void requestReview() override { ++requests; }
    int requests = 0;
};

// The screen over a manager that renders offline, its clock stepped by hand,
// presented from a plain root so that it can present and be dismissed.
class PlayerScreenTest : public ::testing::Test {
protected:
    PlayerScreenTest() : manager(std::make_unique<OfflineAudioOutput>(44100.0, kBlock)) {
        auto timer = std::make_unique<ManualTimer>();
        clock = timer.get();
        manager.setElapsedTimeTimer(std::move(timer));
        observer = NotificationCenter::defaultCenter().addObserver(
            "isPlaying", nullptr, [this](const Notification& n) { posted.push_back(n); });
        root = new PlaceholderViewController("Main");
        Navigation::shared().makeKeyAndVisible(root);
        screen = new PlayerViewController(manager, nullptr);
    }

    ~PlayerScreenTest() override { NotificationCenter::defaultCenter().removeObserver(observer); }

    // Shows the screen as the list screens do; its view loads on the way.
    void open() {
        root->presentViewController(screen, true);
        screen->loadViewIfNeeded();
    }

    void play(const QList<TrackPtr>& queue, int index = 0) {
        startQueue(manager, queue, index);
        std::vector<float> samples(size_t(kBlock) * 2);
        ASSERT_TRUE(manager.audioEngine().renderOffline(samples.data(), kBlock));
    }

    PlaybackManager manager;
    ManualTimer* clock = nullptr;
    std::vector<Notification> posted;
    NotificationCenter::Token observer = 0;
    ViewController* root = nullptr;
    PlayerViewController* screen = nullptr;
};

}  // namespace

TEST(PlayerTime, PositionalPaddedAndHoursFromAnHour) {
    struct Case {
        double seconds;
        const char* text;
    };
    for (const Case& c : std::vector<Case>{{0, "00:00"},
                                           {65, "01:05"},
                                           {59.9, "00:59"},
                                           {3599, "59:59"},
                                           {3600, "01:00:00"},
                                           {3725, "01:02:05"},
                                           {36000 + 61, "10:01:01"}}) {
        EXPECT_EQ(PlayerViewController::formatTime(c.seconds), c.text) << c.seconds;
    }
    EXPECT_EQ(PlayerViewController::formatTime(qQNaN()), "nan");
}

TEST_F(PlayerScreenTest, AnEmptyQueueOpensQuietlyAndTheScreenStillSaysItPlays) {
    open();
    EXPECT_EQ(screen->titleText(), Localization::text("not_playing"));
    EXPECT_EQ(screen->albumArtImage(), "Album Art Placeholder");
    EXPECT_FALSE(screen->isTrackSliderEnabled());
    EXPECT_EQ(screen->trackSlider()->maximumValue(), 0);
    EXPECT_EQ(screen->durationText(), "00:00");
    EXPECT_EQ(screen->positionText(), "00:00");
    EXPECT_FALSE(screen->isNextEnabled());
    EXPECT_FALSE(screen->isPreviousEnabled());
    EXPECT_EQ(screen->playPauseImage(), "Play (48pt)");
    EXPECT_EQ(screen->modalPresentationStyle(), ModalPresentationStyle::overFullScreen);

    EXPECT_EQ(manager.delegate(), screen);
    EXPECT_EQ(screen->visiblePanelTag(), -1);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(screen->controlIconColors().at(i), PlayerViewController::kDimmedColor);
        EXPECT_EQ(screen->controlLabelColors().at(i), QColor(Qt::white));
    }
    EXPECT_EQ(screen->tuneImage(), "wave_1x");
    EXPECT_EQ(screen->isPlaying(), true);
    ASSERT_EQ(posted.size(), 1u);
    EXPECT_EQ(posted[0].object->objectName(), "isPlaying");
    EXPECT_EQ(posted[0].userInfo, (QVariantMap{{"isPlaying", true}}));
}

TEST_F(PlayerScreenTest, ATrackFillsTheScreenAndThePreviousButtonLightsAfterFiveSeconds) {
    TrackPtr song = queuedTrack("Song", 10.0, 10.0);
    song->artist = "Someone";
    play({song});
    open();
    EXPECT_EQ(screen->titleText(), "Song");
    EXPECT_EQ(screen->artistText(), "Someone");
    EXPECT_EQ(screen->durationText(), "00:10");
    EXPECT_TRUE(screen->isTrackSliderEnabled());
    EXPECT_EQ(screen->playPauseImage(), "Pause (48pt)");
    EXPECT_FALSE(screen->isPreviousEnabled());

    clock->elapse();
    clock->elapse();
    EXPECT_EQ(screen->positionText(), "00:02");
    EXPECT_FALSE(screen->isPreviousEnabled());
    for (int i = 0; i < 4; ++i) {
        clock->elapse();
    }
    EXPECT_EQ(screen->positionText(), "00:06");
    EXPECT_TRUE(screen->isPreviousEnabled()) << "past 5 s it restarts the track";
}

TEST_F(PlayerScreenTest, PreviousGoesBackAtExactlyFiveSecondsAndRestartsAboveThem) {
    play({queuedTrack("a", 20.0, 0.2), queuedTrack("b", 20.0, 20.0)}, 1);
    open();
    manager.seekTo(5.0);
    screen->didClickPrevious();
    EXPECT_EQ(manager.currentIndex(), 0);

    manager.setCurrentIndex(1);
    manager.playCurrentTrack();
    manager.seekTo(5.01);
    screen->didClickPrevious();
    EXPECT_EQ(manager.currentIndex(), 1);
    EXPECT_EQ(manager.currentTime(), 0.0);
}

TEST_F(PlayerScreenTest, LongTracksShowHoursAndThePositionOnlyFromTheHour) {
    play({queuedTrack("long", 4000.0, 1.0)});
    open();
    EXPECT_EQ(screen->durationText(), "01:06:40");
    screen->didChangeCurrentTime(manager, 3599);
    EXPECT_EQ(screen->positionText(), "59:59");
    screen->didChangeCurrentTime(manager, 3600);
    EXPECT_EQ(screen->positionText(), "01:00:00");
}

TEST_F(PlayerScreenTest, TapAndDragOnTheSeekBar) {
    play({queuedTrack("song", 10.0, 10.0)});
    open();
    ThickSlider* slider = screen->trackSlider();

    // A tap 100 into a slider that starts at 20 and is 200 wide: half way.
    screen->didTapSeekBar(120, 20, 200);
    EXPECT_EQ(slider->value(), 5.0f);
    EXPECT_EQ(manager.currentTime(), 5.0);
    EXPECT_EQ(screen->positionText(), "00:05");

    // A drag: the label follows, the ticks leave slider and label alone,
    // and only the lift seeks.
    screen->didPanSeekBar(20, 200, PlayerViewController::began);
    screen->didPanSeekBar(160, 200, PlayerViewController::changed);
    EXPECT_TRUE(slider->isHighlighted());
    EXPECT_EQ(screen->positionText(), "00:08");
    clock->elapse();
    EXPECT_EQ(slider->value(), 8.0f);
    EXPECT_EQ(screen->positionText(), "00:08");
    EXPECT_EQ(manager.currentTime(), 6.0);
    screen->didPanSeekBar(40, 200, PlayerViewController::ended);
    EXPECT_FALSE(slider->isHighlighted());
    EXPECT_EQ(manager.currentTime(), 2.0);
    EXPECT_EQ(screen->seekPanState(), PlayerViewController::possible);

    // Dragging off either end holds the value at the end.
    screen->didTapSeekBar(-50, 20, 200);
    EXPECT_EQ(slider->value(), 0.0f);
    screen->didTapSeekBar(900, 20, 200);
    EXPECT_DOUBLE_EQ(manager.currentTime(), 9.99) << "the manager keeps off the very end";
}

TEST_F(PlayerScreenTest, ATrackChangeDuringADragCancelsItWithoutASeek) {
    play({queuedTrack("a", 10.0, 10.0), queuedTrack("b", 10.0, 10.0)});
    open();
    screen->didPanSeekBar(0, 200, PlayerViewController::began);
    screen->didPanSeekBar(150, 200, PlayerViewController::changed);
    screen->didClickNext();
    EXPECT_EQ(manager.currentIndex(), 1);
    EXPECT_EQ(screen->seekPanState(), PlayerViewController::possible);
    EXPECT_FALSE(screen->trackSlider()->isHighlighted());

    // The rest of that drag goes nowhere.
    LogCapture log;
    screen->didPanSeekBar(180, 200, PlayerViewController::changed);
    screen->didPanSeekBar(180, 200, PlayerViewController::ended);
    EXPECT_TRUE(log.lines().filter("Scheduling segment").isEmpty())
        << log.lines().join('\n').toStdString();
    EXPECT_EQ(manager.currentTime(), -1.0);
    // And the time display works again.
    clock->elapse();
    EXPECT_EQ(screen->positionText(), "00:00");
}

TEST_F(PlayerScreenTest, PlayPauseFromTheScreenAndFromOutside) {
    play({queuedTrack("song", 10.0, 10.0)});
    open();
    posted.clear();

    screen->didClickPlayPause();
    EXPECT_EQ(manager.state(), PlaybackManager::State::paused);
    EXPECT_EQ(screen->playPauseImage(), "Play (48pt)");
    EXPECT_EQ(screen->isPlaying(), false);
    EXPECT_EQ(screen->tuneImage(), "wave");
    ASSERT_EQ(posted.size(), 1u);
    EXPECT_EQ(posted[0].userInfo.value("isPlaying"), false);

    screen->didClickPlayPause();
    EXPECT_EQ(manager.state(), PlaybackManager::State::playing);
    EXPECT_EQ(screen->playPauseImage(), "Pause (48pt)");
    EXPECT_EQ(screen->tuneImage(), "wave_1x");
    EXPECT_EQ(posted.size(), 2u);

    // A pause from the desktop's controls: only the button follows.
    manager.handlePauseCommand();
    EXPECT_EQ(screen->playPauseImage(), "Play (48pt)");
    EXPECT_EQ(screen->isPlaying(), true);
    EXPECT_EQ(screen->tuneImage(), "wave_1x");
    EXPECT_EQ(posted.size(), 2u);
}

TEST_F(PlayerScreenTest, ShuffleAndRepeatCycleOnTheManager) {
    play({queuedTrack("a", 10.0, 0.2), queuedTrack("b", 10.0, 0.2)}, 1);
    open();
    EXPECT_FALSE(screen->isNextEnabled());
    const QColor white(Qt::white);

    screen->didClickShuffle();
    EXPECT_TRUE(manager.isShuffleEnabled());
    EXPECT_EQ(screen->shuffleTint(), white);
    EXPECT_TRUE(screen->isNextEnabled());
    screen->didClickShuffle();
    EXPECT_NE(screen->shuffleTint(), white);

    struct Step {
        RepeatMode mode;
        const char* image;
        bool lit;
    };
    for (const Step& step : std::vector<Step>{{RepeatMode::one, "Repeat One Icon.png", true},
                                              {RepeatMode::on, "Repeat Icon.png", true},
                                              {RepeatMode::off, "Repeat Icon.png", false}}) {
        screen->didClickRepeat();
        EXPECT_EQ(manager.repeatMode(), step.mode);
        EXPECT_EQ(screen->repeatImage(), step.image);
        EXPECT_EQ(screen->repeatTint() == white, step.lit);
    }
}

TEST_F(PlayerScreenTest, TheBassControlOpensAndClosesItsPanelAndExplainsItselfOnce) {
    manager.setBassGain(6);
    open();
    screen->didTapBassBoost();
    EXPECT_EQ(screen->visiblePanelTag(), 0);
    EXPECT_EQ(screen->controlIconColors().at(0), PlayerViewController::kButtonColor);
    EXPECT_EQ(screen->controlLabelColors().at(0), PlayerViewController::kButtonColor);
    EXPECT_EQ(screen->controlIconColors().at(1), PlayerViewController::kDimmedColor);
    EXPECT_EQ(screen->bassBoostView().slider()->value(), -6);
    EXPECT_TRUE(UserDefaults::standard().boolForKey("DidClickBassBoostBeforeKey"));

    auto* dialog = qobject_cast<DialogViewController*>(screen->presentedViewController());
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->title(), Localization::text("bass_boost_effect"));
    dialog->handleAction(0);
    EXPECT_EQ(screen->presentedViewController(), nullptr);

    // The second tap closes the panel, and the explanation stays away.
    screen->didTapBassBoost();
    EXPECT_EQ(screen->visiblePanelTag(), -1);
    EXPECT_EQ(screen->controlIconColors().at(0), PlayerViewController::kDimmedColor);
    screen->didTapBassBoost();
    EXPECT_EQ(screen->visiblePanelTag(), 0);
    EXPECT_EQ(screen->presentedViewController(), nullptr);

    screen->bassBoostView().slider()->userDidMoveTo(-3.5f);
    EXPECT_EQ(manager.bassGain(), 3.5f);
}

TEST(PlayerBassExplanation, TheDialogCarriesItsLookAndSitsHalfItsHeightHigh) {
    std::unique_ptr<DialogViewController> dialog(PlayerViewController::makeBassBoostExplanation());
    EXPECT_EQ(dialog->title(), Localization::text("bass_boost_effect"));
    EXPECT_EQ(dialog->message(), Localization::text("bass_boost_effect_message"));
    EXPECT_EQ(dialog->fontName(), "AvenirNext-Medium");
    EXPECT_EQ(dialog->fontNameBold(), "AvenirNext-DemiBold");
    EXPECT_EQ(dialog->widthRatio(), 0.68);
    EXPECT_EQ(dialog->buttonHeight(), 45);
    EXPECT_EQ(dialog->titleColor(), QColor(Qt::black));
    EXPECT_FALSE(dialog->blurBackground);
    EXPECT_FALSE(dialog->showSeparator);
    EXPECT_GT(dialog->estimatedHeight(), 0);
    EXPECT_DOUBLE_EQ(dialog->contentOffset(), -0.5 * dialog->estimatedHeight());
    ASSERT_EQ(dialog->actions().size(), 1);
    EXPECT_EQ(dialog->actions().at(0)->title, Localization::text("continue"));
    DialogButtonLook look;
    dialog->buttonStyle(look, 45, 0);
    EXPECT_EQ(look.titleColor, QColor(Qt::white));
    EXPECT_EQ(look.backgroundColor, PlayerViewController::kButtonColor);
    EXPECT_EQ(look.borderColor, PlayerViewController::kButtonColor);
    EXPECT_EQ(look.cornerRadius, 12);
}

TEST_F(PlayerScreenTest, PanelsShowAndChangeTheManagersSound) {
    open();
    manager.selectPreset(Preset::rock);
    screen->didTapPresets();
    EXPECT_EQ(screen->visiblePanelTag(), 1);
    EXPECT_EQ(screen->equalizerPresetsView().selectedTag(), 2);
    screen->equalizerPresetsView().didClickPreset(1);
    EXPECT_EQ(manager.selectedEQPreset(), Preset::pop);

    screen->didTapEqualizer();
    EXPECT_EQ(screen->visiblePanelTag(), 2);
    EXPECT_EQ(screen->controlIconColors().at(1), PlayerViewController::kDimmedColor);
    EXPECT_EQ(screen->equalizerView().sliderWithTag(910)->value(), 5);
    EXPECT_EQ(screen->equalizerView().sliderWithTag(14000)->value(), -2);
    screen->equalizerView().sliderWithTag(230)->slider()->userDidMoveTo(-3.2f);
    EXPECT_EQ(manager.bands()[1]->gain(), -3);
    EXPECT_EQ(manager.selectedEQPreset(), Preset::none);

    manager.setVolumeBoost(5);
    screen->didTapVolumeBoost();
    EXPECT_EQ(screen->volumeBoostView().slider()->value(), -0.75f);
    screen->volumeBoostView().didPanSlider(0, 100);
    EXPECT_EQ(manager.equalizer()->globalGain(), 10);
}

TEST_F(PlayerScreenTest, UnsavedMovesOfTheUserPresetAreUndoneWhenTheEqualizerOpens) {
    open();
    manager.setEqualizerBand(910, 4);
    manager.saveCustomEqualizerBands();
    manager.selectPreset(Preset::Custom);
    screen->didTapEqualizer();
    screen->equalizerView().sliderWithTag(910)->slider()->userDidMoveTo(-1.4f);
    EXPECT_EQ(manager.bands()[2]->gain(), -1) << "the user preset moves in memory";
    EXPECT_EQ(manager.selectedEQPreset(), Preset::Custom);

    screen->didTapEqualizer();  // closes
    screen->didTapEqualizer();  // opens again
    EXPECT_EQ(manager.bands()[2]->gain(), 4);
    EXPECT_EQ(screen->equalizerView().sliderWithTag(910)->value(), 4);
}

TEST_F(PlayerScreenTest, TheSaveButtonShowsOnABandMoveAndLeavingSavesOnlyWhileItShows) {
    open();
    EXPECT_TRUE(screen->isSaveCustomPresetHidden());
    screen->didTapEqualizer();
    screen->equalizerView().sliderWithTag(60)->slider()->userDidMoveTo(2.6f);
    EXPECT_FALSE(screen->isSaveCustomPresetHidden());

    // Presets hide it, and leaving then saves nothing.
    screen->didTapPresets();
    EXPECT_TRUE(screen->isSaveCustomPresetHidden());
    LogCapture log;
    screen->didTapHeader();
    EXPECT_FALSE(
        UserDefaults::standard().objectForKey(PlaybackManager::KEY_EQ_BANDS_CUSTOM).has_value());
    EXPECT_FALSE(log.contains("Here should do an action to save"));
    EXPECT_EQ(root->presentedViewController(), nullptr);
}

TEST_F(PlayerScreenTest, LeavingWhileTheSaveButtonShowsKeepsTheBandsAsTheUserPreset) {
    open();
    screen->didTapEqualizer();
    screen->equalizerView().sliderWithTag(3000)->slider()->userDidMoveTo(-5.2f);
    // Saving by hand leaves the button as it is.
    screen->didTabSaveCustomPreset();
    EXPECT_FALSE(screen->isSaveCustomPresetHidden());
    EXPECT_TRUE(
        UserDefaults::standard().objectForKey(PlaybackManager::KEY_EQ_BANDS_CUSTOM).has_value());
    UserDefaults::standard().removeObjectForKey(PlaybackManager::KEY_EQ_BANDS_CUSTOM);

    LogCapture log;
    screen->didTapHeader();
    EXPECT_TRUE(log.contains("Here should do an action to save"));
    const std::optional<QVariantMap> saved =
        UserDefaults::standard().dictionaryForKey(PlaybackManager::KEY_EQ_BANDS_CUSTOM);
    ASSERT_TRUE(saved);
    EXPECT_EQ(saved->value("3000.0").toFloat(), -5);
    EXPECT_EQ(root->presentedViewController(), nullptr);
}

TEST_F(PlayerScreenTest, EveryAppearanceAsksForAReview) {
    auto prompt = std::make_shared<CountingReviewPrompt>();
    ReviewPrompt::setCurrent(prompt);
    open();
    EXPECT_EQ(prompt->requests, 1);
    screen->viewDidAppear(true);
    EXPECT_EQ(prompt->requests, 2);
    ReviewPrompt::setCurrent(nullptr);
}

TEST(PlayerArt, TheTracksPictureAtFullSizeCutByTwoOnEachSide) {
    TrackPtr track = makeTrack("pictured");
    MediaItem item;
    item.artwork = [](QSize size) {
        QImage image(size, QImage::Format_RGB32);
        image.fill(Qt::red);
        return image;
    };
    track->mediaItem = item;
    const QImage art = PlayerViewController::albumArtFor(track);
    EXPECT_EQ(art.size(), QSize(124, 124));
    EXPECT_TRUE(PlayerViewController::albumArtFor(makeTrack("bare")).isNull());
    EXPECT_TRUE(PlayerViewController::albumArtFor(nullptr).isNull());
}
