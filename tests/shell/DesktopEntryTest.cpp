#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QProcessEnvironment>

#include "DesktopEntry.h"
#include "TestSupport.h"

namespace {

const QString kAppKey = QStringLiteral("abcdefghijklmno");

QStringList linesStartingWith(const QString& entry, const QString& prefix) {
    QStringList found;
    for (const QString& line : entry.split('\n')) {
        if (line.startsWith(prefix)) {
            found.append(line);
        }
    }
    return found;
}

// The binary with its own data folder and a PATH of `bin` alone, so that the
// desktop's real xdg-mime is never run.
ProcessRun installEntry(const QString& bin, const QString& appKey) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("XDG_DATA_HOME", QDir(testHome()).filePath("data"));
    environment.insert("XDG_CONFIG_HOME", QDir(testHome()).filePath("config"));
    environment.insert("PATH", bin);
    environment.remove("DISPLAY");
    environment.remove("WAYLAND_DISPLAY");
    if (appKey.isEmpty()) {
        environment.remove("CORVANTIS_DROPBOX_APP_KEY");
    } else {
        environment.insert("CORVANTIS_DROPBOX_APP_KEY", appKey);
    }
    return runProcess(CORVANTIS_APP, {"--install-desktop-entry"}, 20000, environment);
}

QString installedEntry() {
    return QString::fromUtf8(
        readFile(QDir(testHome()).filePath("data/applications/corvantis.desktop")));
}

// A stand-in xdg-mime that records its arguments and exits with `status`.
QString fakeXdgMime(int status) {
    const QString bin = QDir(testHome()).filePath("bin");
    const QString script = QDir(bin).filePath("xdg-mime");
    writeFile(script, QStringLiteral("#!/bin/sh\necho \"$@\" >> '%1/xdg-mime.args'\nexit %2\n")
                          .arg(testHome())
                          .arg(status)
                          .toUtf8());
    QFile::setPermissions(script, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return bin;
}

QString recordedXdgMimeCalls() {
    QFile file(QDir(testHome()).filePath("xdg-mime.args"));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

}  // namespace

TEST(DesktopEntry, TheEntryClaimsTheRedirectLinksOnlyWithAKeyAndQuotesItsProgram) {
    const struct {
        const char* executable;
        QString key;
        const char* exec;
        const char* mimeType;  // empty: no MimeType line
    } cases[] = {
        {"/usr/bin/corvantis", kAppKey, "Exec=/usr/bin/corvantis %u",
         "MimeType=x-scheme-handler/db-abcdefghijklmno;"},
        {"/usr/bin/corvantis", QString(), "Exec=/usr/bin/corvantis %u", ""},
        {"/home/a b/corvantis", kAppKey, "Exec=\"/home/a b/corvantis\" %u",
         "MimeType=x-scheme-handler/db-abcdefghijklmno;"},
        {"/opt/$x%/c\"q", QString(), R"(Exec="/opt/\\$x%%/c\\"q" %u)", ""},
    };
    for (const auto& c : cases) {
        const QString entry = DesktopEntry::contents(c.executable, c.key);
        EXPECT_TRUE(entry.startsWith("[Desktop Entry]\n")) << c.executable;
        EXPECT_EQ(linesStartingWith(entry, "Exec="), QStringList{c.exec}) << c.executable;
        const QStringList mimeTypes = linesStartingWith(entry, "MimeType=");
        if (*c.mimeType) {
            EXPECT_EQ(mimeTypes, QStringList{c.mimeType}) << c.executable;
        } else {
            EXPECT_TRUE(mimeTypes.isEmpty()) << c.executable;
        }
        EXPECT_FALSE(entry.contains('@')) << entry.toStdString();
        for (const char* line :
             {"Name=Corvantis", "Categories=AudioVideo;Audio;Player;", "Terminal=false"}) {
            EXPECT_EQ(linesStartingWith(entry, QString(line).section('=', 0, 0) + "="),
                      QStringList{line});
        }
    }
}

TEST(DesktopEntry, InstallingWritesTheEntryAndMakesItTheHandlerThroughXdgMime) {
    const ProcessRun run = installEntry(fakeXdgMime(0), kAppKey);
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    const QString entry = installedEntry();
    EXPECT_EQ(linesStartingWith(entry, "MimeType="),
              QStringList{"MimeType=x-scheme-handler/db-abcdefghijklmno;"});
    EXPECT_EQ(linesStartingWith(entry, "Exec="),
              QStringList{QStringLiteral("Exec=%1 %u").arg(CORVANTIS_APP)});
    EXPECT_EQ(recordedXdgMimeCalls(),
              "default corvantis.desktop x-scheme-handler/db-abcdefghijklmno\n");
    EXPECT_TRUE(
        run.out.contains("Registered as the handler of x-scheme-handler/db-abcdefghijklmno"))
        << run.out.toStdString();
}

TEST(DesktopEntry, WithoutAKeyOrWithoutXdgMimeTheEntryIsStillWritten) {
    const QString emptyBin = QDir(testHome()).filePath("empty-bin");
    ASSERT_TRUE(QDir().mkpath(emptyBin));

    const ProcessRun withoutXdgMime = installEntry(emptyBin, kAppKey);
    EXPECT_EQ(withoutXdgMime.exitCode, 0) << withoutXdgMime.err.toStdString();
    EXPECT_TRUE(withoutXdgMime.out.contains("xdg-mime is not installed"));
    EXPECT_EQ(linesStartingWith(installedEntry(), "MimeType=").size(), 1);

    // No key: the entry is rewritten without a link type and xdg-mime is left alone.
    const ProcessRun withoutKey = installEntry(fakeXdgMime(0), QString());
    EXPECT_EQ(withoutKey.exitCode, 0) << withoutKey.err.toStdString();
    EXPECT_TRUE(linesStartingWith(installedEntry(), "MimeType=").isEmpty());
    EXPECT_TRUE(recordedXdgMimeCalls().isEmpty());
}

TEST(DesktopEntry, AFailingXdgMimeIsReportedWithAnErrorExit) {
    const ProcessRun run = installEntry(fakeXdgMime(3), kAppKey);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(
        run.err.contains("xdg-mime could not make the entry the handler of "
                         "x-scheme-handler/db-abcdefghijklmno"))
        << run.err.toStdString();
    EXPECT_FALSE(installedEntry().isEmpty());
}
