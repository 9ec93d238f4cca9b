#include <gtest/gtest.h>

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
        // Without these the server looks for the session's message bus (or
        // starts one for the display), which can hold its start-up for as long
        // as the bus takes to answer, and it would announce itself there.
        for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "DBUS_SESSION_BUS_ADDRESS"}) {
            environment.remove(name);
        }
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        QObject::connect(&m_process, &QProcess::readyRead,
                         [this] { m_output += QString::fromLocal8Bit(m_process.readAll()); });
        // No real-time priority: asking for it goes over the system bus, and
        // a slow answer stalls the start.
        m_process.start("pulseaudio",
                        {"-n", "--daemonize=no", "--exit-idle-time=-1", "--use-pid-file=no",
                         "--realtime=no", "--high-priority=no", "--log-target=stderr",
                         "--log-level=info", "-L", "module-null-sink sink_name=null", "-L",
                         "module-native-protocol-unix auth-anonymous=1 socket=" + socketPath()});
    }
    ~PrivateSoundServer() { stop(); }

    // The server says so once every module is loaded and its socket listens;
    // the socket's file alone appears before it accepts connections.
    bool waitUntilListening() {
        const auto started = [this] { return m_output.contains("Daemon startup complete."); };
        waitUntil([&] { return started() || m_process.state() == QProcess::NotRunning; }, 60000);
        return started();
    }
    void stop() {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.terminate();
            if (!m_process.waitForFinished(10000)) {
                m_process.kill();
                m_process.waitForFinished(5000);
            }
        }
    }
    QString server() const { return "unix:" + socketPath(); }
    QString output() {
        m_output += QString::fromLocal8Bit(m_process.readAll());
        return m_output;
    }

private:
    QString socketPath() const { return m_dir.filePath("native"); }

    QTemporaryDir m_dir;
    QProcess m_process;
    QString m_output;
};

// Generous: the bound only matters when something is wrong, and a loaded
// machine may take seconds to schedule the server.
constexpr int kServerAnswerMs = 30000;

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

TEST(SystemVolume, ShowsSetsAndFollowsTheDefaultSink) {
    PrivateSoundServer server;
    ASSERT_TRUE(server.waitUntilListening()) << server.output().toStdString();

    SystemVolume screen(server.server());
    SystemVolume elsewhere(server.server());
    ASSERT_TRUE(
        waitUntil([&] { return screen.isAvailable() && elsewhere.isAvailable(); }, kServerAnswerMs))
        << server.output().toStdString();
    EXPECT_NEAR(screen.volume(), 1.0, 0.001);

    // Set here: the server has it, and the other client hears of it.
    screen.setVolume(0.4);
    EXPECT_NEAR(screen.volume(), 0.4, 0.001);
    EXPECT_TRUE(
        waitUntil([&] { return std::abs(elsewhere.volume() - 0.4) < 0.001; }, kServerAnswerMs))
        << elsewhere.volume();
    // Changed elsewhere: followed here.
    elsewhere.setVolume(0.75);
    EXPECT_TRUE(
        waitUntil([&] { return std::abs(screen.volume() - 0.75) < 0.001; }, kServerAnswerMs))
        << screen.volume();
    // Out of range and not a number are held or ignored.
    screen.setVolume(3);
    EXPECT_EQ(screen.volume(), 1.0);
    screen.setVolume(qQNaN());
    EXPECT_EQ(screen.volume(), 1.0);

    // The server goes away: the control hides itself.
    server.stop();
    EXPECT_TRUE(waitUntil([&] { return !screen.isAvailable(); }, kServerAnswerMs));
}
