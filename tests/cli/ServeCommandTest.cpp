// corvantis-cli serve, run as a user would run it.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>

#include "HttpTestClient.h"
#include "TestSupport.h"
#include "WiFiAddress.h"

namespace {

// A running `serve`; stopped by SIGTERM at the end of the test at the latest.
class ServeProcess {
public:
    // `wrapper`: a program and its arguments that run the command, such as setpriv.
    explicit ServeProcess(
        const QStringList& arguments, QStringList wrapper = {},
        const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment()) {
        m_process.setProcessEnvironment(environment);
        const QStringList command = wrapper + QStringList{CORVANTIS_CLI, "serve"} + arguments;
        m_process.start(command.first(), command.mid(1));
    }
    ~ServeProcess() {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.terminate();
            m_process.waitForFinished(5000);
        }
    }

    // The port of the "Serving ... on port N" line, 0 if it never came.
    quint16 waitForPort() {
        const QRegularExpression line(QStringLiteral("Serving .* on port (\\d+)\n"));
        const QDeadlineTimer deadline(15000);
        while (!deadline.hasExpired() && m_process.state() != QProcess::NotRunning) {
            m_process.waitForReadyRead(100);
            m_out += QString::fromUtf8(m_process.readAllStandardOutput());
            const QRegularExpressionMatch match = line.match(m_out);
            if (match.hasMatch()) {
                return quint16(match.captured(1).toUInt());
            }
        }
        return 0;
    }

    // SIGTERM, then the exit code (-1 when it did not end on its own).
    int terminate() {
        m_process.terminate();
        if (!m_process.waitForFinished(10000)) {
            m_process.kill();
            m_process.waitForFinished();
            return -1;
        }
        m_out += QString::fromUtf8(m_process.readAllStandardOutput());
        m_err += QString::fromUtf8(m_process.readAllStandardError());
        return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    }

    const QString& out() const { return m_out; }
    const QString& err() const { return m_err; }

private:
    QProcess m_process;
    QString m_out;
    QString m_err;
};

TEST(ServeCommandTest, ServesTheMusicFolderUntilTerminated) {
    ServeProcess serve({"--port", "0"});
    const quint16 port = serve.waitForPort();
    ASSERT_NE(port, 0) << serve.out().toStdString();

    writeFile(testHome() + "/song.mp3", QByteArray(4096, 's'));
    EXPECT_EQ(curlRequest(port, "/files").body, QByteArray(R"({"files":[]})"));
    EXPECT_EQ(curlRequest(port, "/", filePart(testHome() + "/song.mp3", "song.mp3")).body,
              QByteArray());
    EXPECT_EQ(curlRequest(port, "/files").body,
              QByteArray(R"({"files":[{"name":"song.mp3","size":"4096"}]})"));
    EXPECT_TRUE(QFile::exists(testHome() + "/Documents/Downloaded Music/song.mp3"));
    // One socket serves IPv6 clients too, where the machine has IPv6.
    if (QFile(QStringLiteral("/proc/net/if_inet6")).open(QIODevice::ReadOnly)) {
        const ProcessRun overIPv6 = runProcess(
            "curl", {"-sS", "--max-time", "20", QStringLiteral("http://[::1]:%1/files").arg(port)});
        EXPECT_EQ(overIPv6.exitCode, 0) << overIPv6.err.toStdString();
        EXPECT_EQ(overIPv6.out, QStringLiteral(R"({"files":[{"name":"song.mp3","size":"4096"}]})"));
    }

    EXPECT_EQ(serve.terminate(), 0) << serve.err().toStdString();
    EXPECT_FALSE(acceptsConnections(port));
    const std::optional<QString> address = getWiFiAddress();
    // The first line is the screen's label; the log says where the server is.
    EXPECT_TRUE(serve.out().startsWith(addressLabelText(address, port) + "\n"))
        << serve.out().toStdString();
    EXPECT_TRUE(serve.out().endsWith("stopped\n"));
    if (address) {
        EXPECT_TRUE(serve.err().contains(
            QStringLiteral("Web server started at: http://%1:%2/\n").arg(*address).arg(port)))
            << serve.err().toStdString();
    }
}

TEST(ServeCommandTest, RejectsBadArgumentsAndATakenPort) {
    for (const QStringList& arguments : {QStringList{"--port"}, QStringList{"--port", "x"},
                                         QStringList{"--port", "70000"}, QStringList{"80"}}) {
        const ProcessRun run = runProcess(CORVANTIS_CLI, QStringList{"serve"} + arguments);
        EXPECT_EQ(run.exitCode, 2) << arguments.join(' ').toStdString();
        EXPECT_TRUE(run.err.contains("serve takes [--port N]")) << run.err.toStdString();
    }

    ServeProcess first({"--port", "0"});
    const quint16 port = first.waitForPort();
    ASSERT_NE(port, 0);
    const ProcessRun second = runProcess(CORVANTIS_CLI, {"serve", "--port", QString::number(port)});
    EXPECT_EQ(second.exitCode, 2);
    EXPECT_TRUE(second.err.contains(QStringLiteral("cannot listen on port %1").arg(port)))
        << second.err.toStdString();
}

// Whether this process may bind port 80 itself.
bool mayBindPort80() {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(80);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const bool bound = ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    ::close(fd);
    return bound;
}

TEST(ServeCommandTest, ARefusedPort80FallsBackFrom8080AndShowsThePort) {
    // As root, the server runs as nobody, to whom the system refuses port 80.
    QStringList wrapper;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (::geteuid() == 0) {
        wrapper = {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", "--"};
        const QString home =
            QDir::tempPath() + QStringLiteral("/corvantis-serve-") + QString::number(::getpid());
        QDir().mkpath(home);
        QFile::setPermissions(home, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                        QFileDevice::ExeOwner | QFileDevice::ReadOther |
                                        QFileDevice::WriteOther | QFileDevice::ExeOther);
        environment.insert("CORVANTIS_HOME", home);
        environment.insert("XDG_RUNTIME_DIR", home);
        if (runProcess("setpriv", wrapper.mid(1) + QStringList{CORVANTIS_CLI, "version"}, 20000,
                       environment)
                .exitCode != 0) {
            QDir(home).removeRecursively();
            GTEST_SKIP() << "cannot run the command as an unprivileged user here";
        }
    } else if (mayBindPort80()) {
        GTEST_SKIP() << "this system lets an unprivileged process bind port 80";
    }

    ServeProcess serve({}, wrapper, environment);
    const quint16 port = serve.waitForPort();
    ASSERT_GE(port, 8080) << serve.out().toStdString();
    EXPECT_TRUE(serve.out().startsWith(addressLabelText(getWiFiAddress(), port) + "\n"));
    if (getWiFiAddress()) {
        EXPECT_TRUE(serve.out().startsWith(QStringLiteral("http://")));
        EXPECT_TRUE(serve.out().contains(QStringLiteral(":%1\n").arg(port)));
    }
    EXPECT_EQ(curlRequest(port, "/files").body, QByteArray(R"({"files":[]})"));
    EXPECT_EQ(serve.terminate(), 0) << serve.err().toStdString();
    if (::geteuid() == 0) {
        QDir(environment.value("CORVANTIS_HOME")).removeRecursively();
    }
}

}  // namespace
