#include <gtest/gtest.h>

#include <QDir>
#include <QLocalSocket>
#include <QQuickWindow>
#include <QtEndian>
#include <algorithm>
#include <memory>
#include <vector>

#include "AppDirectories.h"
#include "ChildProcess.h"
#include "QuickTestHarness.h"
#include "SingleInstance.h"
#include "TestSupport.h"

namespace {

const QString kAppKey = QStringLiteral("abcdefghijklmno");
const QString kCancelledSignIn = QStringLiteral("db-abcdefghijklmno://2/token?error=access_denied");

QByteArray header(quint32 length) {
    QByteArray bytes(SingleInstance::kMagic, sizeof SingleInstance::kMagic);
    char size[4];
    qToBigEndian(length, size);
    return bytes + QByteArray(size, sizeof size);
}

QProcessEnvironment windowEnvironment() {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("CORVANTIS_HOME", testHome());
    environment.insert("QT_QPA_PLATFORM", "offscreen");
    environment.insert("SDL_AUDIODRIVER", "dummy");
    environment.insert("CORVANTIS_DROPBOX_APP_KEY", kAppKey);
    environment.remove("DBUS_SESSION_BUS_ADDRESS");
    return environment;
}

QString socketPath() {
    return SingleInstance::socketPath(testHome());
}

// The real binary as the first start.
class FirstWindow : public ChildProcess {
public:
    explicit FirstWindow(const QStringList& arguments = {})
        : ChildProcess(CORVANTIS_APP, arguments, windowEnvironment()) {}

    // Whether it took the socket: a connection is accepted (a stale socket
    // file refuses one).
    bool waitUntilListening() {
        return waitUntil(
                   [this] {
                       QLocalSocket probe;
                       probe.connectToServer(socketPath());
                       return !isRunning() || probe.waitForConnected(1000);
                   },
                   30000) &&
               isRunning();
    }
    bool waitForLog(const QString& text) {
        return waitUntil([&] { return err().contains(text); }, 15000);
    }
};

ProcessRun secondStart(const QStringList& arguments) {
    return runProcess(CORVANTIS_APP, arguments, 30000, windowEnvironment());
}

// What the running window answers to raw bytes on its socket.
char answerTo(const QByteArray& bytes) {
    QLocalSocket socket;
    socket.connectToServer(socketPath());
    if (!socket.waitForConnected(5000)) {
        return 0;
    }
    socket.write(bytes);
    socket.flush();
    char reply = 0;
    waitUntil(
        [&] {
            return socket.bytesAvailable() > 0 || socket.state() != QLocalSocket::ConnectedState;
        },
        15000);
    socket.getChar(&reply);
    return reply;
}

}  // namespace

TEST(SingleInstanceMessage, FramesAreReadWholeAndHostileOnesRefusedEarly) {
    using Status = SingleInstance::Message::Status;
    const QByteArray twoLinks =
        SingleInstance::encode({QUrl(kCancelledSignIn), QUrl("https://example.com/a b")});
    const struct {
        const char* name;
        QByteArray bytes;
        Status status;
        const char* reason;
    } cases[] = {
        {"nothing yet", {}, Status::incomplete, ""},
        {"half a header", twoLinks.left(6), Status::incomplete, ""},
        {"half a payload", twoLinks.left(twoLinks.size() - 3), Status::incomplete, ""},
        {"two links", twoLinks, Status::complete, ""},
        {"no links", SingleInstance::encode({}), Status::complete, ""},
        {"another protocol", "GET / HTTP/1.1\r\n", Status::refused, "not a message"},
        {"one wrong byte", QByteArray("CX"), Status::refused, "not a message"},
        {"oversized", header(0x7fffffff), Status::refused, "more than"},
        {"one past the bound", header(SingleInstance::kMaxPayload + 1), Status::refused,
         "more than"},
        {"trailing bytes", twoLinks + "x", Status::refused, "bytes follow"},
        {"not UTF-8", header(3) + "\xff\xfe\xfd", Status::refused, "not UTF-8"},
        {"an empty line", header(1) + "\n", Status::refused, "is not a link"},
        {"not a link", header(4) + "a b%", Status::refused, "is not a link"},
    };
    for (const auto& c : cases) {
        const SingleInstance::Message message = SingleInstance::decode(c.bytes);
        EXPECT_EQ(message.status, c.status) << c.name;
        EXPECT_TRUE(message.reason.contains(QLatin1String(c.reason)))
            << c.name << ": " << message.reason.toStdString();
    }
    const SingleInstance::Message whole = SingleInstance::decode(twoLinks);
    ASSERT_EQ(whole.urls.size(), 2);
    EXPECT_EQ(whole.urls[0], QUrl(kCancelledSignIn));
    EXPECT_EQ(whole.urls[1], QUrl("https://example.com/a b"));
    // The largest message allowed is still read.
    const QByteArray largest =
        header(SingleInstance::kMaxPayload) + QByteArray(SingleInstance::kMaxPayload, 'a');
    EXPECT_EQ(SingleInstance::decode(largest).status, Status::complete);
}

TEST(SingleInstanceMessage, TheNameBelongsToTheUserAndTheHomeHoweverItIsSpelled) {
    const QString home = testHome();
    const QString other = QDir(home).filePath("other");
    ASSERT_TRUE(QDir().mkpath(other));
    EXPECT_EQ(SingleInstance::serverName(home), SingleInstance::serverName(home + "/"));
    EXPECT_EQ(SingleInstance::serverName(home), SingleInstance::serverName(other + "/.."));
    EXPECT_NE(SingleInstance::serverName(home), SingleInstance::serverName(other));
    EXPECT_TRUE(SingleInstance::serverName(home).contains(QString::number(getuid())));
    // The socket lives where only this user can reach it.
    EXPECT_EQ(QFileInfo(SingleInstance::socketPath(home)).absolutePath(),
              QDir(qEnvironmentVariable("XDG_RUNTIME_DIR")).absolutePath());
}

TEST(SingleInstanceWindow, ARequestForTheWindowBringsBackAMinimizedOne) {
    QuickTestHarness harness;
    harness.launch();
    harness.window()->showMinimized();
    ASSERT_EQ(harness.window()->visibility(), QWindow::Minimized);
    emit SingleInstance::shared().activationRequested();
    EXPECT_TRUE(waitUntil([&] { return harness.window()->visibility() != QWindow::Minimized; }));
    EXPECT_TRUE(harness.window()->isVisible());
}

TEST(SingleInstanceProcesses, ALaterStartHandsItsLinksToTheRunningWindowAndLeaves) {
    FirstWindow first;
    ASSERT_TRUE(first.waitUntilListening()) << first.err().toStdString();
    EXPECT_FALSE(QFileInfo(socketPath()).permissions() &
                 (QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther));

    const ProcessRun signIn = secondStart({kCancelledSignIn});
    EXPECT_EQ(signIn.exitCode, 0) << signIn.err.toStdString();
    EXPECT_TRUE(first.waitForLog("Authorization flow was manually canceled by user!"))
        << first.err().toStdString();

    const ProcessRun unknown = secondStart({"https://example.com/elsewhere"});
    EXPECT_EQ(unknown.exitCode, 0) << unknown.err.toStdString();
    EXPECT_TRUE(
        first.waitForLog("Not a link this application opens: https://example.com/elsewhere"))
        << first.err().toStdString();

    // Without a link a later start only brings the window forward.
    EXPECT_EQ(secondStart({}).exitCode, 0);
    EXPECT_TRUE(first.isRunning());
}

TEST(SingleInstanceProcesses, GarbageAndOversizedPeersAreRefusedAndTheWindowKeepsServing) {
    FirstWindow first;
    ASSERT_TRUE(first.waitUntilListening()) << first.err().toStdString();
    const struct {
        const char* name;
        QByteArray bytes;
        const char* logged;
    } peers[] = {
        {"another protocol", "GET / HTTP/1.1\r\nHost: x\r\n\r\n",
         "it is not a message of this application"},
        {"oversized", header(0x40000000) + QByteArray(4096, 'a'),
         "it announces 1073741824 bytes, more than 65536"},
        {"not UTF-8", header(2) + "\xc3\x28", "it is not UTF-8 text"},
    };
    for (const auto& peer : peers) {
        EXPECT_EQ(answerTo(peer.bytes), '-') << peer.name;
        EXPECT_TRUE(first.waitForLog(QStringLiteral("Refused a message from another start: ") +
                                     QLatin1String(peer.logged)))
            << peer.name << ": " << first.err().toStdString();
    }
    EXPECT_EQ(answerTo(SingleInstance::encode({QUrl("https://example.com/after")})), '+');
    EXPECT_TRUE(first.waitForLog("Not a link this application opens: https://example.com/after"))
        << first.err().toStdString();
    EXPECT_TRUE(first.isRunning());
}

TEST(SingleInstanceProcesses, TheFirstStartOpensItsOwnLinkOnceTheWindowRuns) {
    FirstWindow first({kCancelledSignIn});
    EXPECT_TRUE(first.waitForLog("Authorization flow was manually canceled by user!"))
        << first.err().toStdString();
    EXPECT_TRUE(first.isRunning());
}

TEST(SingleInstanceProcesses, ASocketLeftByACrashedWindowDoesNotBlockTheNextOne) {
    {
        FirstWindow crashed;
        ASSERT_TRUE(crashed.waitUntilListening()) << crashed.err().toStdString();
        crashed.kill();
    }
    ASSERT_TRUE(QFileInfo::exists(socketPath()));

    FirstWindow next;
    ASSERT_TRUE(next.waitUntilListening()) << next.err().toStdString();
    const ProcessRun later = secondStart({"https://example.com/next"});
    EXPECT_EQ(later.exitCode, 0) << later.err.toStdString();
    EXPECT_TRUE(next.waitForLog("Not a link this application opens: https://example.com/next"))
        << next.err().toStdString();
}

// Starts at the same moment must not each find nobody and all open windows.
TEST(SingleInstanceProcesses, StartsAtOnceLeaveOneWindowAndTheOthersHandOver) {
    std::vector<std::unique_ptr<FirstWindow>> starts;
    for (int i = 0; i < 3; ++i) {
        starts.push_back(std::make_unique<FirstWindow>());
    }
    ASSERT_TRUE(waitUntil(
        [&] {
            return std::count_if(starts.begin(), starts.end(),
                                 [](const auto& start) { return start->isRunning(); }) <= 1;
        },
        60000));
    ASSERT_TRUE(waitUntil([] {
        QLocalSocket probe;
        probe.connectToServer(socketPath());
        return probe.waitForConnected(1000);
    }));
    int windows = 0;
    for (const auto& start : starts) {
        if (start->isRunning()) {
            ++windows;
        } else {
            EXPECT_EQ(start->process().exitStatus(), QProcess::NormalExit);
            EXPECT_EQ(start->process().exitCode(), 0) << start->err().toStdString();
        }
    }
    EXPECT_EQ(windows, 1);
}
