#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QQuickItem>
#include <QQuickWindow>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <cmath>
#include <vector>

#include "AppDirectories.h"
#include "AudioFixtures.h"
#include "Localization.h"
#include "Log.h"
#include "PlaybackManager.h"
#include "PlaylistsManager.h"
#include "QuickTestHarness.h"
#include "TagFixtures.h"
#include "TestSupport.h"
#include "UploadRecord.h"
#include "UserDefaults.h"
#include "WiFiScreenController.h"

// One file's whole road through the application as a person walks it: made on
// "another computer", sent through the upload page, listed, played through the
// sound device, shaped, paused from the desktop, put in a playlist and
// deleted. Nothing below the window is stood in for: the upload server, curl,
// the decoder, the sound device (the sound library's file-writing driver),
// the session bus and playerctl are all real.

namespace {

constexpr auto kTitle = "Night Drive";
constexpr auto kFileName = "night-drive.wav";
constexpr double kToneHz = 60.0;

QString text(const char* key) {
    return Localization::text(key);
}

QString tab(const char* key) {
    return Localization::text(key).toUpper();
}

// What the sound device was given, as the file its driver writes: 32-bit
// float stereo frames at the output's rate.
class Speaker {
public:
    explicit Speaker(QString path) : m_path(std::move(path)) {}

    qint64 bytesHeard() const { return QFileInfo(m_path).size(); }

    // The left channel's level over the last `seconds` the device played,
    // in decibels of full scale; -inf for silence.
    double recentLeftLevel(double seconds) const {
        QFile file(m_path);
        if (!file.open(QIODevice::ReadOnly)) {
            ADD_FAILURE() << "the sound device wrote nothing at " << m_path.toStdString();
            return -INFINITY;
        }
        const double rate = PlaybackManager::shared().audioEngine().sampleRate();
        const qint64 frameBytes = 2 * qint64(sizeof(float));
        const qint64 frames = std::min(file.size() / frameBytes, qint64(seconds * rate));
        file.seek((file.size() / frameBytes - frames) * frameBytes);
        std::vector<float> samples(size_t(frames) * 2);
        file.read(reinterpret_cast<char*>(samples.data()), frames * frameBytes);
        double sum = 0;
        for (qint64 i = 0; i < frames; ++i) {
            sum += double(samples[size_t(i) * 2]) * samples[size_t(i) * 2];
        }
        return frames > 0 ? 10 * std::log10(sum / double(frames)) : -INFINITY;
    }

private:
    QString m_path;
};

class RoadOfOneFile : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_FALSE(bus.address.isEmpty()) << "no dbus-daemon for the session bus";
        qputenv("SDL_AUDIODRIVER", "disk");
        qputenv("SDL_DISKAUDIOFILE", speakerPath().toUtf8());
        // The library is a folder of the test's own, never the machine's music.
        qputenv("CORVANTIS_LIBRARY_DIR", (testHome() + "/Library").toUtf8());
        // A cloud app is configured, so the menu offers sign-out; nobody is
        // signed in and nothing answers at its address.
        qputenv("CORVANTIS_DROPBOX_APP_KEY", "abcdefghijklmno");
        qputenv("CORVANTIS_DROPBOX_API_URL", "http://127.0.0.1:9");
        // Port 80 would need privileges a test run does not have.
        WiFiScreenController::setPreferredPort(0);

        // The file, made elsewhere: a steady low tone on the left, tagged.
        AudioFixture fixture;
        fixture.frames = 40 * 44100;
        fixture.signal = FixtureSignal::sine(kToneHz, 0.2);
        source = elsewhere.filePath(kFileName);
        ASSERT_EQ(writeAudioFixture(source, fixture), QString());
        ASSERT_TRUE(writeTag(source, {.title = kTitle, .album = "Roads", .artist = "Ada"}));
    }

    QString speakerPath() const { return testHome() + "/speaker.raw"; }

    // The player answers the bus from this thread, so the event loop runs
    // while playerctl waits for it.
    QString playerctl(const QString& command) {
        QProcess process;
        process.start("playerctl", {"-p", "corvantis", command});
        if (!waitUntil([&] { return process.state() == QProcess::NotRunning; }, 10000)) {
            process.kill();
            process.waitForFinished(1000);
            ADD_FAILURE() << "playerctl " << command.toStdString() << " did not finish";
            return {};
        }
        EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
        return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
    }

    void shot(const char* name) { ui->screenshot(QStringLiteral("e2e/") + name); }

    PrivateBus bus;
    QTemporaryDir elsewhere;
    QString source;
    std::unique_ptr<QuickTestHarness> ui;
};

TEST_F(RoadOfOneFile, FromABrowsersUploadToTheEar) {
    LogCapture log;
    ui = std::make_unique<QuickTestHarness>(QuickTestHarness::Start::application);
    Speaker speaker(speakerPath());

    // 1. The first launch: the tutorial's two pages, then the main interface
    //    with the first-run dialog over it, which a tap puts away.
    ASSERT_NE(ui->waitFor(text("tutorial_1_title")), nullptr);
    shot("01-tutorial-1");
    ui->tap(text("tutorial_continue"));
    ASSERT_NE(ui->waitFor(text("tutorial_2_title")), nullptr);
    shot("02-tutorial-2");
    ui->tap(text("tutorial_continue"));
    ASSERT_NE(ui->waitFor(text("tutorial_title")), nullptr);
    ASSERT_NE(ui->waitFor(text("menu")), nullptr);
    shot("03-first-run-dialog");
    ui->tap(text("OK"));
    ASSERT_TRUE(waitUntil([&] { return !ui->isShown(text("tutorial_title")); }));
    EXPECT_TRUE(UserDefaults::standard().boolForKey("DidShowTutorial"));
    EXPECT_TRUE(UserDefaults::standard().boolForKey("DidShowPrivacyDialogKey"));
    ASSERT_NE(ui->waitFor(text("tracks")), nullptr);
    shot("04-main-empty");

    // 2. The add button, the import screen, the upload screen and its address;
    //    the file goes up from "another computer".
    ui->tap(text("add_music"));
    ASSERT_NE(ui->waitFor(text("download_title")), nullptr);
    shot("05-import");
    ui->tap(text("download_wifi"));
    ASSERT_NE(ui->waitFor(text("wifi_title")), nullptr);
    QQuickItem* label = nullptr;
    ASSERT_TRUE(waitUntil([&] {
        return (label = ui->findMatching(QRegularExpression(R"(http://[0-9.]+:\d+/?)"))) != nullptr;
    })) << "the upload screen shows no address";
    const QString address = QuickTestHarness::accessibleName(label);
    shot("06-upload-screen");
    const ProcessRun upload = runProcess(
        "curl", {"-sS", "--max-time", "30", "-o", "/dev/null", "-w", "%{http_code}", "-F",
                 QStringLiteral("file=@%1;filename=\"%2\"").arg(source, kFileName), address});
    ASSERT_EQ(upload.exitCode, 0) << upload.err.toStdString();
    EXPECT_EQ(upload.out, "200");
    const QString stored = downloadedMusicDirectory() + "/" + kFileName;
    EXPECT_EQ(readFile(stored), readFile(source));

    ui->tap(text("back"));
    ASSERT_TRUE(waitUntil([&] { return !ui->isShown(text("wifi_title")); }));
    const ProcessRun refused =
        runProcess("curl", {"-sS", "--max-time", "5", "-o", "/dev/null", address});
    EXPECT_EQ(refused.exitCode, 7)
        << "the server stops with its screen: " << refused.err.toStdString();
    ui->settle();
    ui->tap(text("close"));
    // The add button carries the import screen's name, so its choices tell.
    ASSERT_TRUE(waitUntil([&] { return !ui->isShown(text("download_wifi")); }));

    // 3. The tracks tab lists it by its title; a tap plays it through the
    //    sound device and opens the player; the tune button moves.
    ASSERT_NE(ui->waitFor(kTitle, 15000), nullptr);
    shot("07-tracks");
    ui->tap(kTitle);
    ASSERT_NE(ui->waitFor(qtTrId("player_position"), 10000), nullptr);
    ASSERT_TRUE(waitUntil(
        [&] { return speaker.bytesHeard() > 0 && speaker.recentLeftLevel(0.3) > -30; }, 10000))
        << "the sound device never heard the tone";
    EXPECT_TRUE(log.contains("music true"));
    EXPECT_TRUE(waitUntil([&] {
        QQuickItem* tune = ui->find(text("now_playing"));
        return tune != nullptr && QuickTestHarness::accessibleDescription(tune) == "wave_1x";
    })) << "the tune button does not move";
    shot("08-player");

    // 4. The "Rock" preset lifts the low tone as it plays; the desktop's
    //    media keys pause it, and the tune button stands still again.
    const double flat = speaker.recentLeftLevel(0.5);
    ui->tap(qtTrId("player_presets"));
    ASSERT_NE(ui->waitFor("Rock"), nullptr);
    ui->settle(300);
    shot("09-presets");
    ui->tap("Rock");
    double rock = flat;
    EXPECT_TRUE(waitUntil([&] { return (rock = speaker.recentLeftLevel(0.5)) > flat + 3; }, 5000))
        << flat << " dB -> " << rock << " dB";
    EXPECT_LT(rock, flat + 8) << flat << " dB -> " << rock << " dB";

    ASSERT_TRUE(waitUntil([&] { return playerctl("status") == "Playing"; }, 10000))
        << "the player never showed itself on the session bus";
    EXPECT_TRUE(ui->isShown(qtTrId("player_pause")));
    playerctl("pause");
    EXPECT_TRUE(waitUntil(
        [] { return PlaybackManager::shared().state() == PlaybackManager::State::paused; }));
    EXPECT_NE(ui->waitFor(qtTrId("player_play")), nullptr) << "the button shows play again";
    shot("10-paused");
    // The tune follows the screen's own button, not the desktop's keys.
    EXPECT_FALSE(log.contains("music false"));
    ui->tap(qtTrId("player_close"));
    ASSERT_TRUE(waitUntil([&] { return !ui->isShown(qtTrId("player_position")); }));
    ui->settle();

    // 5. Into a new playlist through the sheet and the alert; the playlists
    //    tab plays it.
    ui->tap(text("add_to_playlist"));
    ui->tap(ui->waitFor(text("new_playlist")));
    ASSERT_NE(ui->waitFor(text("text_field")), nullptr);
    ui->tap(text("text_field"));
    ui->type("Road");
    shot("11-new-playlist");
    ui->tap(text("ok"));
    ASSERT_TRUE(waitUntil([] { return PlaylistsManager::shared().playlists().size() == 1; }));
    ui->tap(tab("playlists"));
    ASSERT_NE(ui->waitFor("Road", 10000), nullptr);
    shot("12-playlists");
    ui->tap("Road");
    EXPECT_TRUE(waitUntil([] {
        const PlaybackManager& playback = PlaybackManager::shared();
        return playback.state() == PlaybackManager::State::playing &&
               playback.currentPlaylist().size() == 1;
    }));
    ASSERT_NE(ui->waitFor(qtTrId("player_position")), nullptr);
    ui->settle();
    ui->tap(qtTrId("player_close"));
    ASSERT_TRUE(waitUntil([&] { return !ui->isShown(qtTrId("player_position")); }));

    // 6. Deleted by a swipe: the file and its upload record go.
    ui->tap(tab("tracks"));
    ui->settle();
    QQuickItem* row = ui->waitFor(kTitle, 10000);
    ASSERT_NE(row, nullptr);
    const QPointF centre = QuickTestHarness::centreOf(row);
    ui->drag(centre + QPointF(120, 0), centre - QPointF(120, 0));
    ui->settle();
    shot("13-swipe-delete");
    ui->tap(text("delete"));
    EXPECT_TRUE(waitUntil([&] { return !QFile::exists(stored); }));
    EXPECT_TRUE(waitUntil([&] { return !ui->isShown(kTitle); }));
    const std::optional<QList<UploadEntry>> record = UploadRecord::read();
    ASSERT_TRUE(record.has_value());
    for (const UploadEntry& entry : *record) {
        EXPECT_NE(entry.value("name"), kFileName) << "the upload record still names the file";
    }

    // 7. Sign-out with nobody signed in: both messages, one over the other.
    ui->tap(text("menu"));
    ui->tap(text("menu_sign_out"));
    ASSERT_NE(ui->waitFor("Sign Out Failed"), nullptr);
    shot("14-sign-out");
    ui->tap(text("OK"));
    ASSERT_NE(ui->waitFor("No User Logged In"), nullptr);
    shot("15-sign-out-second");
    ui->tap(text("OK"));
    EXPECT_TRUE(waitUntil([&] { return !ui->isShown("No User Logged In"); }));
    EXPECT_TRUE(log.contains("Sign-out failed with error: Corvantis.AuthError"));
}

}  // namespace
