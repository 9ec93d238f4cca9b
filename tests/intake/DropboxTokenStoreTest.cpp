#include <QLocalServer>
#include <QLoggingCategory>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include "CloudTestSupport.h"

namespace {

// A session bus of the test's own with a Secret Service on it: gnome-keyring
// with an unlocked keyring and no password, as on a desktop after login.
class SessionKeyring {
public:
    ~SessionKeyring() {
        for (QProcess* process : {&m_keyring, &m_bus}) {
            process->kill();
            process->waitForFinished(5000);
        }
    }

    // False when the daemons are not installed.
    bool start() {
        if (QStandardPaths::findExecutable("dbus-daemon").isEmpty() ||
            QStandardPaths::findExecutable("gnome-keyring-daemon").isEmpty()) {
            return false;
        }
        const QString keyrings = m_home.filePath(".local/share/keyrings");
        const QString runtime = m_home.filePath("run");
        EXPECT_TRUE(QDir().mkpath(keyrings) && QDir().mkpath(runtime));
        QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        // A keyring kept as plain text needs no password, so no prompt.
        writeFile(keyrings + "/login.keyring",
                  "[keyring]\ndisplay-name=login\nctime=0\nmtime=0\nlock-on-idle=false\n"
                  "lock-after=false\n");
        writeFile(keyrings + "/default", "login");

        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("HOME", m_home.path());
        environment.insert("XDG_RUNTIME_DIR", runtime);
        m_bus.setProcessEnvironment(environment);
        m_bus.start("dbus-daemon", {"--session", "--nofork", "--print-address=1"});
        EXPECT_TRUE(m_bus.waitForReadyRead(10000));
        const QString address = QString::fromUtf8(m_bus.readLine()).trimmed();
        environment.insert("DBUS_SESSION_BUS_ADDRESS", address);
        m_keyring.setProcessEnvironment(environment);
        m_keyring.start("gnome-keyring-daemon",
                        {"--components=secrets", "--foreground", "--unlock"});
        m_keyring.closeWriteChannel();  // the empty password
        const bool up = waitUntil(
            [&] {
                return runProcess(
                           "dbus-send",
                           {"--bus=" + address, "--print-reply", "--dest=org.freedesktop.DBus",
                            "/org/freedesktop/DBus", "org.freedesktop.DBus.NameHasOwner",
                            "string:org.freedesktop.secrets"})
                    .out.contains("boolean true");
            },
            10000);
        EXPECT_TRUE(up);
        qputenv("DBUS_SESSION_BUS_ADDRESS", address.toUtf8());
        return up;
    }

private:
    QTemporaryDir m_home;
    QProcess m_bus;
    QProcess m_keyring;
};

QByteArray tokenFile() {
    QFile file(DropboxTokenStore::filePath());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

std::optional<DropboxSecrets> readKeychain() {
    std::optional<std::optional<DropboxSecrets>> answer;
    DropboxTokenStore::readSecrets([&](const auto& secrets) { answer = secrets; });
    EXPECT_TRUE(waitUntil([&] { return answer.has_value(); }, 10000));
    return answer.value_or(std::nullopt);
}

}  // namespace

TEST_F(CloudTest, TheSignInMovesIntoARunningKeychainAndLeavesWithTheSignOut) {
    // Stored by a run that had no keychain, in the file.
    const DropboxTokens tokens = signInBeforeLaunch();
    ASSERT_TRUE(tokenFile().contains(tokens.refreshToken.toUtf8()));
    SessionKeyring keyring;
    if (!keyring.start()) {
        GTEST_SKIP() << "dbus-daemon or gnome-keyring-daemon is not installed";
    }
    const QStringList& diagnostics = captureMessages();

    // A launch knows the sign-in at once, and moves its tokens into the
    // keychain; even a command that ends at once waits for that.
    const ProcessRun status = runProcess(CORVANTIS_CLI, {"dropbox", "status"});
    EXPECT_EQ(status.out, "signed in\n") << status.err.toStdString();
    EXPECT_TRUE(tokenFile().contains("in_keychain"));
    EXPECT_FALSE(tokenFile().contains(tokens.refreshToken.toUtf8()));
    EXPECT_FALSE(tokenFile().contains(tokens.accessToken.toUtf8()));
    const std::optional<DropboxSecrets> kept = readKeychain();
    ASSERT_TRUE(kept);
    EXPECT_EQ(kept->refreshToken, tokens.refreshToken);

    // A later launch reads them from there for its first call.
    DropboxManager::shared();
    ASSERT_NE(DropboxClientsManager::authorizedClient(), nullptr);
    fake.addFile("/A.mp3", "x");
    const auto listing = list("");
    ASSERT_TRUE(listing && listing->isSuccess()) << errorText(listing->error()).toStdString();

    // Signing out clears both places.
    bool revoked = false;
    DropboxClientsManager::unlinkClients([&] { revoked = true; });
    EXPECT_FALSE(QFile::exists(DropboxTokenStore::filePath()));
    ASSERT_TRUE(waitUntil([&] { return revoked; }));
    ASSERT_TRUE(waitUntil([&] { return !readKeychain().has_value(); }, 10000));
    qInstallMessageHandler(nullptr);
    EXPECT_TRUE(diagnostics.filter("does not work").isEmpty())
        << diagnostics.join('\n').toStdString();
}

TEST_F(CloudTest, AKeychainThatNeverAnswersLeavesTheSignInInTheFile) {
    // A session bus that takes connections and never says a word.
    QTemporaryDir dir;
    QLocalServer silent;
    ASSERT_TRUE(silent.listen(dir.filePath("bus")));
    qputenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + dir.filePath("bus")).toUtf8());
    QLoggingCategory::setFilterRules("corvantis.*=true");
    const QStringList& diagnostics = captureMessages();

    const auto keychainLines = [&] {
        return diagnostics.filter("system keychain does not work").size();
    };
    const DropboxTokens tokens = signInBeforeLaunch();
    fake.addFile("/A.mp3", "x");
    // The main thread goes on meanwhile: the listing is answered before the
    // keychain is given up on.
    const auto listing = list("");
    ASSERT_TRUE(listing && listing->isSuccess()) << errorText(listing->error()).toStdString();
    EXPECT_EQ(keychainLines(), 0);

    ASSERT_TRUE(waitUntil([&] { return keychainLines() > 0; }, 10000));
    DropboxTokenStore::save(tokens);  // no second try, no second line
    ASSERT_TRUE(list("")->isSuccess());
    qInstallMessageHandler(nullptr);
    EXPECT_EQ(keychainLines(), 1);
    for (const QString& line : diagnostics) {
        EXPECT_FALSE(line.contains(tokens.refreshToken) || line.contains(tokens.accessToken));
    }
    const std::optional<DropboxTokens> stored = DropboxTokenStore::load();
    ASSERT_TRUE(stored);
    EXPECT_EQ(stored->refreshToken, tokens.refreshToken);
    EXPECT_EQ(fileMode(DropboxTokenStore::filePath()), 0600);
}
