#include <gtest/gtest.h>

#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>
#include <cmath>
#include <memory>
#include <utility>
#include <vector>

#include "Localization.h"
#include "Log.h"
#include "ManualTimer.h"
#include "Navigation.h"
#include "OfflineAudioOutput.h"
#include "PlayerViewController.h"
#include "QuickTestHarness.h"
#include "Storyboard.h"
#include "TestSupport.h"
#include "TrackFixtures.h"
#include "UserDefaults.h"

namespace {

constexpr int kBlock = 512;

// The window with the player screen over a manager that renders offline.
class PlayerViewsTest : public ::testing::Test {
protected:
    PlayerViewsTest() : manager(std::make_unique<OfflineAudioOutput>(44100.0, kBlock)) {
        manager.setElapsedTimeTimer(std::make_unique<ManualTimer>());
        // Straight to the main interface; the bass explanation has been seen.
        UserDefaults::standard().setBool(true, "DidShowTutorial");
        UserDefaults::standard().setBool(true, "DidClickBassBoostBeforeKey");
        ui.launch();
    }

    void open(const QList<TrackPtr>& queue) {
        startQueue(manager, queue);
        render(kBlock);
        screen = new PlayerViewController(manager, nullptr);
        screen->setViewSource(QUrl("qrc:/Corvantis/Player/PlayerView.qml"));
        Navigation::shared().rootViewController()->presentViewController(screen, true);
        ASSERT_NE(ui.waitFor(qtTrId("player_position")), nullptr);
        ui.settle(500);
    }

    std::vector<float> render(int frames) {
        std::vector<float> samples(size_t(frames) * 2);
        EXPECT_TRUE(manager.audioEngine().renderOffline(samples.data(), frames));
        return samples;
    }

    // The level of the left channel over `frames`, in decibels of full scale.
    double leftLevel(int frames) {
        const std::vector<float> samples = render(frames);
        double sum = 0;
        for (int i = 0; i < frames; ++i) {
            sum += double(samples[size_t(i) * 2]) * samples[size_t(i) * 2];
        }
        return 10 * std::log10(sum / frames);
    }

    QRectF sceneRect(QQuickItem* item) const {
        return item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
    }

    QuickTestHarness ui;
    PlaybackManager manager;
    PlayerViewController* screen = nullptr;
};

}  // namespace

TEST_F(PlayerViewsTest, OpensFromItsBundleAndCloses) {
    ViewController* player =
        Storyboard::storyboardWithName("Player").instantiateInitialViewController();
    ASSERT_NE(qobject_cast<PlayerViewController*>(player), nullptr);
    Navigation::shared().rootViewController()->presentViewController(player, true);
    ASSERT_NE(ui.waitFor(Localization::text("not_playing")), nullptr);
    ui.settle(500);
    ui.screenshot("player-empty");
    ui.tap(qtTrId("player_close"));
    EXPECT_TRUE(waitUntil([&] { return !ui.isShown(Localization::text("not_playing")); }));
}

TEST_F(PlayerViewsTest, SeekBarTakesTapsAndDrags) {
    open({queuedTrack("Song", 10.0, 10.0)});
    ui.screenshot("player-playing");
    QQuickItem* bar = ui.find(qtTrId("player_position"));
    const QRectF rect = sceneRect(bar);
    const qreal y = rect.center().y();

    ui.tapAt(QPointF(rect.left() + rect.width() * 0.25, y));
    EXPECT_TRUE(waitUntil([&] { return std::abs(manager.currentTime() - 2.5) < 0.1; }))
        << manager.currentTime();

    // Nothing seeks until the finger lifts; then it lands where it was let go.
    LogCapture log;
    QTest::mousePress(ui.window(), Qt::LeftButton, Qt::NoModifier,
                      QPointF(rect.left() + rect.width() * 0.1, y).toPoint());
    for (int i = 1; i <= 10; ++i) {
        QTest::mouseMove(ui.window(),
                         QPointF(rect.left() + rect.width() * (0.1 + 0.07 * i), y).toPoint(), 16);
    }
    EXPECT_EQ(screen->seekPanState(), PlayerViewController::changed);
    EXPECT_TRUE(log.lines().filter("Scheduling segment").isEmpty());
    QTest::mouseRelease(ui.window(), Qt::LeftButton, Qt::NoModifier,
                        QPointF(rect.left() + rect.width() * 0.8, y).toPoint(), 1);
    EXPECT_TRUE(waitUntil([&] { return std::abs(manager.currentTime() - 8.0) < 0.1; }))
        << manager.currentTime();

    // With the bar focused, the arrows step by 5 s; Space pauses.
    ui.key(Qt::Key_Left);
    EXPECT_NEAR(manager.currentTime(), 3.0, 0.1);
    ui.key(Qt::Key_Space);
    EXPECT_EQ(manager.state(), PlaybackManager::State::paused);
}

TEST_F(PlayerViewsTest, EachControlOpensAndClosesItsPanel) {
    open({queuedTrack("Song", 10.0, 10.0)});
    struct Control {
        const char* name;
        QString shows;
        const char* shot;
    };
    const std::vector<Control> controls{
        {"player_bass_boost", qtTrId("player_bass_level"), "player-bass"},
        {"player_presets", "Rock", "player-presets"},
        {"player_equalizer", qtTrId("player_hertz").arg(910), "player-equalizer"},
        {"player_volume_boost", qtTrId("player_boost_level"), "player-volume-boost"},
    };
    for (const Control& control : controls) {
        SCOPED_TRACE(control.name);
        ui.tap(qtTrId(control.name));
        ASSERT_NE(ui.waitFor(control.shows), nullptr);
        ui.settle(300);
        ui.screenshot(control.shot);
    }
    // The open panel's control closes it.
    ui.tap(qtTrId("player_volume_boost"));
    EXPECT_TRUE(waitUntil([&] { return !ui.isShown(qtTrId("player_boost_level")); }));
    EXPECT_EQ(screen->visiblePanelTag(), -1);
}

TEST_F(PlayerViewsTest, ABandDraggedToTwoPointFourPlaysTwoDecibelsLouder) {
    TrackPtr tone = makeTrack("tone");
    tone->duration = 10.0;
    AudioFixture fixture;
    fixture.frames = 10 * 44100;
    fixture.signal = FixtureSignal::sine(910, 0.25);
    ASSERT_EQ(writeAudioFixture(tone->url(), fixture), QString());
    open({tone});
    render(8 * kBlock);
    const double before = leftLevel(16 * kBlock);

    ui.tap(qtTrId("player_equalizer"));
    QQuickItem* band = ui.waitFor(qtTrId("player_hertz").arg(910));
    ASSERT_NE(band, nullptr);
    ui.settle(300);
    auto* rail = band->findChild<QQuickItem*>("rail");
    ASSERT_NE(rail, nullptr);
    const QRectF railRect = sceneRect(rail);
    ThickSlider* slider = screen->equalizerView().sliderWithTag(910)->slider();
    const auto yFor = [&](double gain) {
        const double span = slider->maximumValue() - slider->minimumValue();
        return railRect.top() + (slider->maximumValue() - gain) / span * railRect.height();
    };
    ui.drag(QPointF(railRect.center().x(), yFor(0)), QPointF(railRect.center().x(), yFor(2.4)));
    ui.settle(200);
    EXPECT_EQ(slider->value(), 2);
    EXPECT_EQ(manager.bands()[2]->gain(), 2);

    // Past the latency and the gain's glide, the tone is 2 dB louder.
    render(16 * kBlock);
    const double after = leftLevel(16 * kBlock);
    EXPECT_NEAR(after - before, 2.0, 0.15) << before << " -> " << after;
}

TEST_F(PlayerViewsTest, VolumeBoostAtTheVeryTopAndTheVeryBottom) {
    open({queuedTrack("Song", 10.0, 10.0)});
    ui.tap(qtTrId("player_volume_boost"));
    QQuickItem* slider = ui.waitFor(qtTrId("player_boost_level"));
    ASSERT_NE(slider, nullptr);
    ui.settle(300);
    const QRectF rect = sceneRect(slider);
    ui.tapAt(QPointF(rect.center().x(), rect.top() + 1));
    EXPECT_TRUE(waitUntil([&] { return manager.equalizer()->globalGain() == 10; }));
    ui.tapAt(QPointF(rect.center().x(), rect.bottom() - 1));
    EXPECT_TRUE(waitUntil([&] { return manager.equalizer()->globalGain() == -2; }));
}

TEST_F(PlayerViewsTest, TabGoesRoundThePlayerAloneAndIntoAnOpenPanel) {
    open({queuedTrack("Song", 10.0, 10.0)});
    const QStringList stops = ui.tabStops(20);
    for (const char* id :
         {"player_close", "player_position", "player_equalizer", "player_volume_boost"}) {
        EXPECT_GE(stops.count(qtTrId(id)), 2)
            << id << " not reached on each round: " << stops.join(", ").toStdString();
    }
    EXPECT_FALSE(stops.contains(Localization::text("menu")))
        << "the screen under the player is out of reach: " << stops.join(", ").toStdString();

    // Each panel's controls join the round, each with a name to be read.
    const std::vector<std::pair<const char*, QString>> panels{
        {"player_bass_boost", qtTrId("player_bass_level")},
        {"player_presets", qtTrId("player_no_preset")},
        {"player_equalizer", "14 kHz"},
        {"player_volume_boost", qtTrId("player_boost_level")},
    };
    for (const auto& [control, shows] : panels) {
        SCOPED_TRACE(control);
        ui.tap(qtTrId(control));
        ui.settle(600);
        const QStringList withPanel = ui.tabStops(20);
        EXPECT_TRUE(withPanel.contains(shows)) << withPanel.join(", ").toStdString();
        EXPECT_TRUE(withPanel.contains(qtTrId("player_close")));
        EXPECT_FALSE(withPanel.contains(QString())) << withPanel.join(", ").toStdString();
        EXPECT_FALSE(withPanel.contains(Localization::text("menu")));
    }
}
