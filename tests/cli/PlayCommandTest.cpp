#include <gtest/gtest.h>

#include <QDir>
#include <QProcessEnvironment>
#include <QRegularExpression>

#include "AppDirectories.h"
#include "PatternFile.h"
#include "TestSupport.h"

namespace {

// Plays through SDL's dummy device, which consumes audio in real time without
// a sound card.
ProcessRun play(const QStringList& arguments, int timeoutMs = 20000) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("SDL_AUDIODRIVER", "dummy");
    return runProcess(CORVANTIS_CLI, QStringList{"play"} + arguments, timeoutMs, environment);
}

}  // namespace

TEST(PlayCommand, PlaysTheFolderInNameOrderSkippingWhatCannotPlay) {
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
}

TEST(PlayCommand, AnEmptyFolderSaysWhereMusicGoes) {
    const ProcessRun run = play({"--all"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.out.contains(downloadedMusicDirectory())) << run.out.toStdString();
}

TEST(PlayCommand, NamesThatAreNotInTheFolderAreRefused) {
    const ProcessRun run = play({"nothing-here.mp3"});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(run.err.contains("nothing-here.mp3")) << run.err.toStdString();
    EXPECT_EQ(play({}).exitCode, 2);
}
