#include <gtest/gtest.h>
#include <signal.h>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>

#include "AppDirectories.h"
#include "AudioFixtures.h"
#include "TestSupport.h"

namespace {

constexpr double kRate = 8000.0;

// Long enough that it never ends while a test drives it.
void putTrack(const QString& name) {
    const QString path = writeSineFile(name, kRate, qint64(kRate * 120), 440.0, 0.2);
    ASSERT_TRUE(QFile::rename(path, QDir(downloadedMusicDirectory()).filePath(name)));
}

// corvantis-cli play on a private session bus of its own, and playerctl
// talking to it there.
class MprisPlayer : public ::testing::Test {
protected:
    void SetUp() override {
        for (const char* name : {"a.wav", "b.wav", "c.wav"}) {
            putTrack(name);
        }
        const QString addressFile = QDir(testHome()).filePath("bus-address");
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("SDL_AUDIODRIVER", "dummy");
        player.setProcessEnvironment(environment);
        // The bus lives as long as the player. The shell hands out its own
        // process id, which the player takes over, and the bus address.
        player.start("dbus-run-session",
                     {"--", "sh", "-c",
                      "printf '%s\\n%s\\n' $$ \"$DBUS_SESSION_BUS_ADDRESS\" > \"$0.part\" && "
                      "mv \"$0.part\" \"$0\" && exec \"$1\" play --all",
                      addressFile, CORVANTIS_CLI});
        ASSERT_TRUE(player.waitForStarted(5000));
        ASSERT_TRUE(waitUntil([&] { return QFile::exists(addressFile); }, 10000))
            << "the private bus did not come up";
        const QStringList lines = QString::fromUtf8(readFile(addressFile)).split('\n');
        ASSERT_GE(lines.size(), 2);
        playerPid = lines[0].toLongLong();
        ASSERT_GT(playerPid, 0);
        bus = QProcessEnvironment::systemEnvironment();
        bus.insert("DBUS_SESSION_BUS_ADDRESS", lines[1]);
        ASSERT_TRUE(waitUntil([&] { return playerctl({"-l"}).contains("corvantis"); }, 10000))
            << "the player never appeared on the bus";
    }

    void TearDown() override {
        if (player.state() != QProcess::NotRunning) {
            // The bus session ends with the player it runs.
            if (playerPid > 0) {
                ::kill(pid_t(playerPid), SIGTERM);
            }
            if (!player.waitForFinished(10000)) {
                ADD_FAILURE() << "the player did not end on SIGTERM";
                player.kill();
                player.waitForFinished();
            }
        }
    }

    QString playerctl(const QStringList& arguments) {
        const ProcessRun run = runProcess("playerctl", arguments, 5000, bus);
        return run.out.trimmed();
    }
    QString command(const QString& name) { return playerctl({"-p", "corvantis", name}); }
    QString title() { return playerctl({"-p", "corvantis", "metadata", "title"}); }
    // Seconds, as playerctl prints the Position it reads; -1 when unreadable.
    double position() {
        bool ok = false;
        const double seconds = command("position").toDouble(&ok);
        return ok ? seconds : -1.0;
    }
    bool becomes(const std::function<QString()>& read, const QString& expected) {
        return waitUntil([&] { return read() == expected; }, 5000);
    }

    QProcess player;
    qint64 playerPid = 0;
    QProcessEnvironment bus;
};

}  // namespace

TEST_F(MprisPlayer, PlayerctlDrivesTheTransportAndSeesTheTrack) {
    const auto status = [&] { return command("status"); };
    EXPECT_TRUE(becomes(status, "Playing")) << status().toStdString();
    EXPECT_EQ(title(), "a.wav");
    EXPECT_EQ(playerctl({"-p", "corvantis", "metadata", "mpris:length"}), "120000000");

    command("pause");
    EXPECT_TRUE(becomes(status, "Paused")) << status().toStdString();
    command("play");
    EXPECT_TRUE(becomes(status, "Playing")) << status().toStdString();

    command("next");
    EXPECT_TRUE(becomes([&] { return title(); }, "b.wav")) << title().toStdString();
    command("next");
    EXPECT_TRUE(becomes([&] { return title(); }, "c.wav")) << title().toStdString();
    command("previous");
    EXPECT_TRUE(becomes([&] { return title(); }, "b.wav")) << title().toStdString();
    EXPECT_EQ(status(), "Playing");

    // Stop is a pause: the player shows no other state.
    command("stop");
    EXPECT_TRUE(becomes(status, "Paused")) << status().toStdString();
    command("play-pause");
    EXPECT_TRUE(becomes(status, "Playing")) << status().toStdString();
    EXPECT_EQ(player.state(), QProcess::Running);
}

TEST_F(MprisPlayer, PositionMovesWhilePlayingAndStartsOverOnTheNextTrack) {
    ASSERT_TRUE(becomes([&] { return command("status"); }, "Playing"));
    const double first = position();
    ASSERT_GE(first, 0.0);
    EXPECT_TRUE(waitUntil([&] { return position() > first; }, 5000))
        << "still at " << position() << " s";
    EXPECT_TRUE(waitUntil([&] { return position() >= 1.5; }, 5000));

    command("next");
    EXPECT_TRUE(becomes([&] { return title(); }, "b.wav")) << title().toStdString();
    const double second = position();
    EXPECT_GE(second, 0.0);
    EXPECT_LT(second, 1.5);
}

TEST_F(MprisPlayer, ASecondPlayerTakesANameOfItsOwn) {
    QProcess second;
    QProcessEnvironment environment = bus;
    environment.insert("SDL_AUDIODRIVER", "dummy");
    second.setProcessEnvironment(environment);
    second.start(CORVANTIS_CLI, {"play", "--all"});
    ASSERT_TRUE(second.waitForStarted(5000));
    const QString name = QStringLiteral("corvantis.instance%1").arg(second.processId());
    EXPECT_TRUE(waitUntil([&] { return playerctl({"-l"}).split('\n').contains(name); }, 10000))
        << playerctl({"-l"}).toStdString();
    EXPECT_EQ(playerctl({"-p", name, "status"}), "Playing");
    second.terminate();
    EXPECT_TRUE(second.waitForFinished(10000));
    // The first player still holds the plain name.
    EXPECT_EQ(command("status"), "Playing");
}
