#include <gtest/gtest.h>

#include <QDBusObjectPath>
#include <QImage>
#include <QUrl>

#include "AudioFixtures.h"
#include "Log.h"
#include "MprisService.h"
#include "OfflineAudioOutput.h"
#include "PlaybackManager.h"
#include "TestSupport.h"
#include "TrackFixtures.h"

namespace {

constexpr double kRate = 44100.0;

class MprisServiceTest : public ::testing::Test {
protected:
    void SetUp() override { manager.setNowPlayingPublisher(service); }

    QString trackId() const {
        return service->metadata().value("mpris:trackid").value<QDBusObjectPath>().path();
    }

    PlaybackManager manager{std::make_unique<OfflineAudioOutput>(kRate, 512)};
    std::shared_ptr<MprisService> service = std::make_shared<MprisService>(manager);
};

}  // namespace

TEST_F(MprisServiceTest, NothingQueuedPublishesAnEmptyPausedEntry) {
    manager.pause();
    EXPECT_EQ(service->playbackStatus(), "Paused");
    const QVariantMap metadata = service->metadata();
    EXPECT_EQ(metadata.value("xesam:title").toString(), "");
    EXPECT_EQ(metadata.value("mpris:length").toLongLong(), 0);
    EXPECT_FALSE(metadata.contains("mpris:artUrl"));
    EXPECT_EQ(trackId(), "/org/mpris/MediaPlayer2/TrackList/NoTrack");
    // currentTime is -1.0 here; the bus gets 0.
    EXPECT_EQ(manager.currentTime(), -1.0);
    EXPECT_EQ(service->position(), 0);
}

TEST_F(MprisServiceTest, ATrackPublishesItsTitleLengthIdAndCoverAndPlayPauseFollowsTheNode) {
    const TrackPtr first = queuedTrack("first", 30.25);
    const TrackPtr second = queuedTrack("second", 12.0);
    QImage cover(24, 16, QImage::Format_RGB32);
    cover.fill(Qt::blue);
    first->setAlbumArtThumbnail(cover);
    startQueue(manager, {first, second});

    EXPECT_EQ(service->playbackStatus(), "Playing");
    QVariantMap metadata = service->metadata();
    EXPECT_EQ(metadata.value("xesam:title").toString(), "first");
    EXPECT_EQ(metadata.value("mpris:length").typeId(), QMetaType::LongLong);
    EXPECT_EQ(metadata.value("mpris:length").toLongLong(), 30250000);
    const QUrl art(metadata.value("mpris:artUrl").toString());
    ASSERT_TRUE(art.isLocalFile()) << art.toString().toStdString();
    EXPECT_EQ(QImage(art.toLocalFile()).convertToFormat(QImage::Format_RGB32), cover);
    const QString firstId = trackId();
    EXPECT_TRUE(firstId.startsWith("/org/corvantis/track/")) << firstId.toStdString();

    manager.notifyCurrentTimeChanged();
    manager.notifyCurrentTimeChanged();
    manager.pause();
    EXPECT_EQ(service->playbackStatus(), "Paused");
    // The clock ticked once on starting and twice here.
    EXPECT_EQ(service->position(), 2000000);
    EXPECT_EQ(trackId(), firstId);

    // A track without a cover publishes none, not the one before.
    manager.next();
    EXPECT_NE(trackId(), firstId);
    EXPECT_EQ(service->metadata().value("xesam:title").toString(), "second");
    EXPECT_FALSE(service->metadata().contains("mpris:artUrl"));

    // Play-pause follows the player node.
    ASSERT_TRUE(manager.audioPlayerNode().isPlaying());
    service->playPause();
    EXPECT_FALSE(manager.audioPlayerNode().isPlaying());
    EXPECT_EQ(manager.state(), PlaybackManager::State::paused);
    service->playPause();
    EXPECT_TRUE(manager.audioPlayerNode().isPlaying());
    EXPECT_EQ(service->playbackStatus(), "Playing");
}

TEST_F(MprisServiceTest, PositionRunsOnWhilePlayingAndJumpsAreAnnounced) {
    qint64 now = 7'000'000;
    service->setClock([&now] { return now; });
    QList<qint64> seeks;
    QObject::connect(service.get(), &MprisService::seeked, [&seeks](qint64 at) { seeks << at; });
    startQueue(manager, {queuedTrack("first", 4.0), queuedTrack("second", 12.0)});
    std::vector<float> block(2 * 512);
    manager.audioEngine().renderOffline(block.data(), 512);

    // Published at 0 when the track started; the clock carries it on.
    EXPECT_EQ(service->position(), 0);
    now += 1'200'000;
    manager.notifyCurrentTimeChanged();
    now += 1'000'000;
    manager.notifyCurrentTimeChanged();
    EXPECT_EQ(service->position(), 2'200'000);
    // The count trails the clock by less than a tick: a pause is no jump.
    now += 200'000;
    manager.pause();
    EXPECT_EQ(service->position(), 2'000'000);
    now += 60'000'000;
    EXPECT_EQ(service->position(), 2'000'000);
    manager.play();
    now += 500'000;
    EXPECT_EQ(service->position(), 2'500'000);
    EXPECT_TRUE(seeks.isEmpty());

    // A seek back is announced; the clock never runs past the length.
    manager.seekTo(0.5);
    EXPECT_EQ(seeks, QList<qint64>{500'000});
    now += 10'000'000;
    EXPECT_EQ(service->position(), 4'000'000);

    // So are a change of track and a repeated track, both starting at 0.
    manager.next();
    EXPECT_EQ(service->metadata().value("xesam:title").toString(), "second");
    now += 3'000'000;
    manager.setRepeatMode(PlaybackManager::RepeatMode::one);
    manager.next();
    EXPECT_EQ(seeks, (QList<qint64>{500'000, 0, 0}));
    EXPECT_EQ(service->position(), 0);
}

TEST(MprisServiceBus, WithoutABusItSaysSoAndStaysOff) {
    LogCapture log;
    PlaybackManager manager{std::make_unique<OfflineAudioOutput>(kRate, 512)};
    MprisService service(manager);
    EXPECT_FALSE(service.registerOn(QDBusConnection(QStringLiteral("not-connected"))));
    EXPECT_TRUE(service.serviceName().isEmpty());
    EXPECT_EQ(log.lines(),
              QStringList{"No session bus: media keys and desktop media controls are unavailable"});
}
