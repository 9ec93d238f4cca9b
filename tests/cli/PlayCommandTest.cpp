#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QFile>
#include <cstdio>

#include <QDir>
#include <QProcessEnvironment>
#include <QRegularExpression>

#include "AppDirectories.h"
#include "AudioFixtures.h"
#include "TestSupport.h"

namespace {

// Plays through SDL's dummy device, which consumes audio in real time without
// a sound card, and without a session bus.
QProcessEnvironment playEnvironment() {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("SDL_AUDIODRIVER", "dummy");
    environment.remove("DBUS_SESSION_BUS_ADDRESS");
    environment.remove("DISPLAY");
    environment.insert("XDG_RUNTIME_DIR", testHome());
    // A stream role forced from outside wins over the player's own.
    environment.insert("SDL_AUDIO_DEVICE_STREAM_ROLE", "game");
    return environment;
}

ProcessRun play(const QStringList& arguments) {
    return runProcess(CORVANTIS_CLI, QStringList{"play"} + arguments, 20000, playEnvironment());
}

// Arguments as the shell gives them, bytes that are not UTF-8 included.
ProcessRun playFromShell(const QString& arguments) {
    return runProcess("/bin/sh", {"-c", "exec \"$0\" play " + arguments, CORVANTIS_CLI}, 20000,
                      playEnvironment());
}

}  // namespace

TEST(PlayCommand, PlaysTheFolderInNameOrderSkippingWhatCannotPlayWithoutABus) {
    const QString music = downloadedMusicDirectory();
    const QString b = writeSineFile("b.wav", 44100, 22050, 440.0, 0.2);
    const QString a = writeSineFile("A.wav", 44100, 22050, 440.0, 0.2);
    ASSERT_TRUE(QFile::rename(b, QDir(music).filePath("b.wav")));
    ASSERT_TRUE(QFile::rename(a, QDir(music).filePath("A.wav")));
    writeFile(QDir(music).filePath("a-notes.txt"), "not audio");

    const ProcessRun run = play({"--all"});
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    const QStringList lines = run.out.split('\n', Qt::SkipEmptyParts);
    const QStringList tracks = lines.filter(QRegularExpression("^track: "));
    ASSERT_EQ(tracks.size(), 2) << run.out.toStdString();
    EXPECT_TRUE(tracks[0].startsWith("track: A.wav"));
    EXPECT_TRUE(tracks[1].startsWith("track: b.wav"));
    EXPECT_EQ(lines.last(), "stopped");
    EXPECT_TRUE(lines.contains("time: 0.00"));
    EXPECT_TRUE(
        run.err.contains("No session bus: media keys and desktop media controls are unavailable"))
        << run.err.toStdString();
    EXPECT_TRUE(run.err.contains("Setting category to AVAudioSessionCategoryPlayback failed."))
        << run.err.toStdString();
}

TEST(PlayCommand, AnEmptyFolderSaysWhereMusicGoesAndNamesNotInItAreRefused) {
    const ProcessRun run = play({"--all"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.out.contains(downloadedMusicDirectory())) << run.out.toStdString();
    const ProcessRun refused = play({"nothing-here.mp3"});
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_TRUE(refused.err.contains("nothing-here.mp3")) << refused.err.toStdString();
    EXPECT_EQ(play({}).exitCode, 2);
}

// A name that is not UTF-8 plays, by --all and by its own bytes; a line break
// in a name is escaped, one item a line; a FIFO is refused, never waited on.
TEST(PlayCommand, NamesThatAreNotUtf8PlayAndFifosAreRefused) {
    const QByteArray music = QFile::encodeName(downloadedMusicDirectory());
    const QString first = writeSineFile("first.wav", 44100, 2205, 440.0, 0.2);
    const QString second = writeSineFile("second.wav", 44100, 2205, 440.0, 0.2);
    ASSERT_EQ(::rename(QFile::encodeName(first), music + "/caf\xe9.wav"), 0);
    ASSERT_EQ(::rename(QFile::encodeName(second), music + "/two\nlines.wav"), 0);
    ASSERT_EQ(::mkfifo(music + "/x.mp3", 0600), 0);

    const ProcessRun all = play({"--all"});
    ASSERT_EQ(all.exitCode, 0) << all.err.toStdString();
    EXPECT_EQ(all.out.split('\n').filter(QRegularExpression("^track: ")),
              (QStringList{"track: caf\uFFFD.wav (caf\uFFFD.wav - Unknown Artist)",
                           "track: two\\nlines.wav (two\\nlines.wav - Unknown Artist)"}));

    const ProcessRun named = playFromShell("\"$(printf 'caf\\351.wav')\"");
    ASSERT_EQ(named.exitCode, 0) << named.err.toStdString();
    EXPECT_TRUE(named.out.contains("track: caf\uFFFD.wav")) << named.out.toStdString();

    const ProcessRun fifo = play({"x.mp3"});
    EXPECT_EQ(fifo.exitCode, 2);
    EXPECT_TRUE(
        fifo.err.contains("\"x.mp3\" in " + downloadedMusicDirectory() + " is not a regular file"))
        << fifo.err.toStdString();
}
