#include <gtest/gtest.h>

#include <QFileInfo>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <cmath>

#include "SystemVolume.h"
#include "TestSupport.h"

namespace {

// A sound server of the test's own, with one null sink, in a temporary
// runtime directory; the user's server (if any) is never touched.
class PrivateSoundServer {
public:
    PrivateSoundServer() {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char* name : {"HOME", "XDG_RUNTIME_DIR", "PULSE_RUNTIME_PATH"}) {
            environment.insert(name, m_dir.path());
        }
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        m_process.start("pulseaudio",
                        {"-n", "--daemonize=no", "--exit-idle-time=-1", "--use-pid-file=no",
                         "--log-target=stderr", "-L", "module-null-sink sink_name=null", "-L",
                         "module-native-protocol-unix auth-anonymous=1 socket=" + socketPath()});
    }
    ~PrivateSoundServer() { stop(); }

    bool waitUntilListening() {
        return m_process.waitForStarted(5000) &&
               waitUntil([this] { return QFileInfo::exists(socketPath()); }, 10000);
    }
    void stop() {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.terminate();
            if (!m_process.waitForFinished(5000)) {
                m_process.kill();
                m_process.waitForFinished(2000);
            }
        }
    }
    QString server() const { return "unix:" + socketPath(); }
    QString output() { return QString::fromLocal8Bit(m_process.readAll()); }

private:
    QString socketPath() const { return m_dir.filePath("native"); }

    QTemporaryDir m_dir;
    QProcess m_process;
};

}  // namespace

TEST(SystemVolume, WithoutASoundServerItStaysHidden) {
    QTemporaryDir nowhere;
    SystemVolume volume("unix:" + nowhere.filePath("native"));
    settle();
    EXPECT_FALSE(volume.isAvailable());
    // Setting it then is no error, and changes nothing.
    volume.setVolume(0.5);
    EXPECT_EQ(volume.volume(), 0);
}

// Off until the private sound server starts reliably under a loaded build:
// in some runs it is not reachable within the wait.
TEST(SystemVolume, DISABLED_ShowsSetsAndFollowsTheDefaultSink) {
    PrivateSoundServer server;
    ASSERT_TRUE(server.waitUntilListening()) << server.output().toStdString();

    SystemVolume screen(server.server());
    SystemVolume elsewhere(server.server());
    ASSERT_TRUE(waitUntil([&] { return screen.isAvailable() && elsewhere.isAvailable(); }))
        << server.output().toStdString();
    EXPECT_NEAR(screen.volume(), 1.0, 0.001);

    // Set here: the server has it, and the other client hears of it.
    screen.setVolume(0.4);
    EXPECT_NEAR(screen.volume(), 0.4, 0.001);
    EXPECT_TRUE(waitUntil([&] { return std::abs(elsewhere.volume() - 0.4) < 0.001; }))
        << elsewhere.volume();
    // Changed elsewhere: followed here.
    elsewhere.setVolume(0.75);
    EXPECT_TRUE(waitUntil([&] { return std::abs(screen.volume() - 0.75) < 0.001; }))
        << screen.volume();
    // Out of range and not a number are held or ignored.
    screen.setVolume(3);
    EXPECT_EQ(screen.volume(), 1.0);
    screen.setVolume(qQNaN());
    EXPECT_EQ(screen.volume(), 1.0);

    // The server goes away: the control hides itself.
    server.stop();
    EXPECT_TRUE(waitUntil([&] { return !screen.isAvailable(); }));
}
