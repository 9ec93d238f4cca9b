#include <QProcess>

#include "CloudTestSupport.h"

namespace {

ProcessRun cli(const QStringList& arguments) {
    return runProcess(CORVANTIS_CLI, arguments);
}

}  // namespace

TEST_F(CloudTest, CommandSignsInListsFetchesAndSignsOut) {
    EXPECT_EQ(cli({"dropbox", "status"}).out, "signed out\n");

    // login: the address on standard output, the code read back from standard input.
    QProcess login;
    login.start(CORVANTIS_CLI, {"dropbox", "login"});
    ASSERT_TRUE(login.waitForStarted());
    ASSERT_TRUE(login.waitForReadyRead(10000));
    const QString authorizeUrl = QString::fromUtf8(login.readLine()).trimmed();
    ASSERT_TRUE(authorizeUrl.startsWith(fake.url().toString() + "/oauth2/authorize?"));
    const QString code = fake.visitAuthorizePage(QUrl(authorizeUrl));
    ASSERT_TRUE(code.startsWith("code-")) << code.toStdString();
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
    const ProcessRun unconfigured =
        runProcess(CORVANTIS_CLI, {"dropbox", "login"}, 20000, environment);
    EXPECT_EQ(unconfigured.exitCode, 2);
    EXPECT_TRUE(unconfigured.err.contains("not configured"));
    EXPECT_TRUE(unconfigured.out.isEmpty());
}
