#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <QProcess>
#include <QUrlQuery>

#include "CloudTestSupport.h"
#include "HttpTestClient.h"

namespace {

ProcessRun cli(const QStringList& arguments) {
    return runProcess(CORVANTIS_CLI, arguments);
}

// Starts `dropbox login` and visits the address it prints, as the user's
// browser would; returns where the service sends the browser back to.
QUrl startLogin(QProcess& login, FakeDropbox& fake, const QStringList& options = {}) {
    login.start(CORVANTIS_CLI, QStringList{"dropbox", "login"} + options);
    EXPECT_TRUE(login.waitForStarted());
    EXPECT_TRUE(login.waitForReadyRead(10000));
    const QString authorizeUrl = QString::fromUtf8(login.readLine()).trimmed();
    EXPECT_TRUE(authorizeUrl.startsWith(fake.url().toString() + "/oauth2/authorize?"));
    return QUrl(fake.visitAuthorizePage(QUrl(authorizeUrl)));
}

// How a login that was left waiting ended: its exit code (-1 for a crash)
// and what it said.
ProcessRun ending(QProcess& login) {
    EXPECT_TRUE(login.waitForFinished(10000));
    return {login.exitStatus() == QProcess::NormalExit ? login.exitCode() : -1,
            QString::fromUtf8(login.readAllStandardOutput()),
            QString::fromUtf8(login.readAllStandardError())};
}

// A terminal for a child's standard input, so that it can be sent Ctrl-D.
class Terminal {
public:
    Terminal() {
        m_master = ::posix_openpt(O_RDWR | O_NOCTTY);
        if (m_master >= 0 && ::grantpt(m_master) == 0 && ::unlockpt(m_master) == 0) {
            path = QString::fromLocal8Bit(::ptsname(m_master));
        }
    }
    ~Terminal() {
        if (m_master >= 0) {
            ::close(m_master);
        }
    }
    // Ctrl-D at the start of a line: the end of the input, as the terminal gives it.
    bool endOfInput() { return ::write(m_master, "\x04", 1) == 1; }

    QString path;

private:
    int m_master = -1;
};

}  // namespace

TEST_F(CloudTest, CommandSignsInListsFetchesAndSignsOut) {
    EXPECT_EQ(cli({"dropbox", "status"}).out, "signed out\n");

    // login: the address on standard output, the code read back from standard
    // input, as from a browser on another machine that can't reach this one.
    QProcess login;
    const QUrl redirect = startLogin(login, fake);
    const QString code = QUrlQuery(redirect).queryItemValue("code");
    ASSERT_TRUE(code.startsWith("code-")) << redirect.toString().toStdString();
    login.write(code.toUtf8() + "\n");
    ASSERT_TRUE(login.waitForFinished(10000));
    EXPECT_EQ(login.exitCode(), 0) << login.readAllStandardError().toStdString();
    EXPECT_EQ(login.readAllStandardOutput(), "signed in\n");
    EXPECT_EQ(cli({"dropbox", "status"}).out, "signed in\n");

    fake.addFolder("/Music/Live");
    fake.addFile("/Music/B Side.mp3", "bbb");
    fake.addFile("/Music/Cover.jpg", "jpg");
    fake.addFile("/Music/a.ogg", "aaa");
    const ProcessRun listing = cli({"dropbox", "ls", "/Music/"});
    EXPECT_EQ(listing.exitCode, 0) << listing.err.toStdString();
    EXPECT_EQ(listing.out,
              "folder\tLive\nfile\t/music/b side.mp3\tB Side.mp3\nfile\t/music/a.ogg\ta.ogg\n");

    for (const char* expected : {"saved: B Side.mp3\n", "saved: B Side.mp3\n"}) {
        const ProcessRun get = cli({"dropbox", "get", "/Music/B Side.mp3"});
        EXPECT_EQ(get.exitCode, 0) << get.err.toStdString();
        EXPECT_EQ(get.out, expected);
    }
    const ProcessRun missing = cli({"dropbox", "get", "/Music/Cover.jpg"});
    EXPECT_NE(missing.exitCode, 0);
    EXPECT_TRUE(missing.err.contains("Cover.jpg"));

    const ProcessRun logout = cli({"dropbox", "logout"});
    EXPECT_EQ(logout.out, "Sign Out: Successfully signed out from Dropbox\n");
    EXPECT_EQ(fake.count("/2/auth/token/revoke"), 1);
    const ProcessRun again = cli({"dropbox", "logout"});
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_EQ(again.out,
              "No User Logged In: There is no user logged in. Please log in to Dropbox.\n"
              "Sign Out Failed: Failed to sign out from Dropbox. Error: Corvantis.AuthError\n");
    EXPECT_TRUE(again.err.contains("Sign-out failed with error: Corvantis.AuthError"));
}

TEST_F(CloudTest, CommandFailsClearlyWithoutAKeyOrASignIn) {
    const ProcessRun signedOut = cli({"dropbox", "ls"});
    EXPECT_EQ(signedOut.exitCode, 1);
    EXPECT_TRUE(signedOut.err.contains("Unauthorized"));

    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("CORVANTIS_DROPBOX_APP_KEY", "short");
    for (const QStringList& action : {QStringList{"login"}, QStringList{"ls"},
                                      QStringList{"ls", "/Music"}, QStringList{"get", "/a.mp3"}}) {
        SCOPED_TRACE(action.join(' ').toStdString());
        const ProcessRun unconfigured =
            runProcess(CORVANTIS_CLI, QStringList{"dropbox"} + action, 20000, environment);
        EXPECT_EQ(unconfigured.exitCode, 2);
        EXPECT_TRUE(unconfigured.err.contains("not configured")) << unconfigured.err.toStdString();
        EXPECT_FALSE(unconfigured.err.contains("Unauthorized"));
        EXPECT_TRUE(unconfigured.out.isEmpty());
    }
}

TEST_F(CloudTest, CommandReportsAListingThatWouldNeverEnd) {
    signInBeforeLaunch();
    fake.addFile("/Music/A.mp3", "x");
    fake.setListing(FakeDropbox::Listing::repeatsItsCursor);
    for (const QStringList& action :
         {QStringList{"ls", "/Music"}, QStringList{"get", "/Music/A.mp3"}}) {
        SCOPED_TRACE(action.join(' ').toStdString());
        const ProcessRun run = cli(QStringList{"dropbox"} + action);
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_TRUE(run.err.contains("gave a cursor it had given before")) << run.err.toStdString();
        EXPECT_TRUE(run.out.isEmpty());
    }
    EXPECT_EQ(fake.count("/2/files/list_folder/continue"), 2);
}

TEST_F(CloudTest, LoginWaitsABoundedTimeAndCanBeCancelled) {
    // No answer within the time given, its input open or closed: the login
    // ends and says so.
    for (const bool closeInput : {false, true}) {
        SCOPED_TRACE(closeInput);
        QProcess login;
        const QUrl redirect = startLogin(login, fake, {"--wait", "0.02"});
        const quint16 port = quint16(redirect.port());
        if (closeInput) {
            login.closeWriteChannel();
        }
        const ProcessRun run = ending(login);
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_TRUE(run.err.contains("within 0.02 minutes")) << run.err.toStdString();
        EXPECT_TRUE(run.err.contains("no answer came from the browser")) << run.err.toStdString();
        EXPECT_FALSE(acceptsConnections(port));
    }
    // A signal cancels the wait: the command ends by itself, saying so.
    for (const int signal : {SIGINT, SIGTERM}) {
        SCOPED_TRACE(signal);
        QProcess login;
        startLogin(login, fake);
        ASSERT_EQ(::kill(pid_t(login.processId()), signal), 0);
        const ProcessRun run = ending(login);
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_TRUE(run.err.contains("sign-in cancelled")) << run.err.toStdString();
    }
    // Ctrl-D at a terminal cancels it too.
    {
        Terminal terminal;
        ASSERT_FALSE(terminal.path.isEmpty());
        QProcess login;
        login.setStandardInputFile(terminal.path);
        startLogin(login, fake);
        ASSERT_TRUE(terminal.endOfInput());
        const ProcessRun run = ending(login);
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_TRUE(run.err.contains("sign-in cancelled")) << run.err.toStdString();
    }
    EXPECT_EQ(cli({"dropbox", "status"}).out, "signed out\n");
    for (const QStringList& bad :
         {QStringList{"--wait", "0"}, QStringList{"--wait", "soon"}, QStringList{"--later", "1"}}) {
        EXPECT_EQ(cli(QStringList{"dropbox", "login"} + bad).exitCode, 2);
    }
}

TEST_F(CloudTest, LoginWithItsInputClosedStillTakesTheBrowsersAnswer) {
    QProcess login;
    const QUrl redirect = startLogin(login, fake);
    // Closed input that is no terminal, as from a script: the wait goes on,
    // and the answer below still signs in.
    login.closeWriteChannel();
    EXPECT_EQ(curlRequest(quint16(redirect.port()),
                          redirect.path() + "?" + redirect.query(QUrl::FullyEncoded))
                  .status,
              200);
    const ProcessRun run = ending(login);
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(run.out, "signed in\n");
}

TEST_F(CloudTest, CommandSignsInThroughTheLoopbackRedirect) {
    QProcess login;
    const QUrl redirect = startLogin(login, fake);
    ASSERT_EQ(redirect.host(), "127.0.0.1") << redirect.toString().toStdString();
    const quint16 port = quint16(redirect.port());

    // What is no redirect is turned away, and the listener waits on.
    RawConnection garbage(port);
    ASSERT_TRUE(garbage.send("NONSENSE\r\n\r\n"));
    QByteArray refused;
    ASSERT_TRUE(garbage.waitForClose(5000, &refused));
    EXPECT_TRUE(refused.startsWith("HTTP/1.1 400 ")) << refused.toStdString();
    EXPECT_EQ(curlRequest(port, "/favicon.ico").status, 404);
    EXPECT_EQ(curlRequest(port, redirect.path() + "?unrelated=1").status, 400);

    const HttpAnswer page =
        curlRequest(port, redirect.path() + "?" + redirect.query(QUrl::FullyEncoded));
    EXPECT_EQ(page.status, 200);
    EXPECT_TRUE(page.body.contains("You can close this window")) << page.body.toStdString();
    // Nothing typed: the redirect alone completes the sign-in.
    ASSERT_TRUE(login.waitForFinished(10000));
    EXPECT_EQ(login.exitCode(), 0) << login.readAllStandardError().toStdString();
    EXPECT_EQ(login.readAllStandardOutput(), "signed in\n");
    EXPECT_FALSE(acceptsConnections(port));
    EXPECT_EQ(cli({"dropbox", "status"}).out, "signed in\n");
}
