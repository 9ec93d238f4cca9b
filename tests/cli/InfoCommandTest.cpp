#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QFile>
#include <cstdio>

#include "TagFixtures.h"
#include "TestSupport.h"

namespace {

// Runs `corvantis-cli info` with `files`.
ProcessRun runInfo(const QStringList& files) {
    return runProcess(CORVANTIS_CLI, QStringList{"info"} + files);
}

}  // namespace

TEST(InfoCommand, PrintsEachFileReportsTheMissingOnesAndRejectsDirectories) {
    const QString tagged = testHome() + "/in/tagged.wav";
    writeFile(tagged, pcmWav(800));
    ASSERT_TRUE(writeTag(tagged, {.title = "Two\nLines \\ here",
                                  .album = "",
                                  .artist = "Ärtist",
                                  .frontCover = pictureBytes({20, 20}, Qt::red)}));
    const QString text = testHome() + "/in/readme.txt";
    writeFile(text, "not audio");

    const ProcessRun run = runInfo({tagged, testHome() + "/in/gone.mp3", text});
    EXPECT_NE(run.exitCode, 0);
    // One line for the missing file (the platform may add warnings of its own).
    const QStringList complaints = run.err.split('\n').filter("corvantis-cli:");
    ASSERT_EQ(complaints.size(), 1) << run.err.toStdString();
    EXPECT_TRUE(complaints[0].contains("gone.mp3"));
    const QStringList records = run.out.split("\n\n");
    ASSERT_EQ(records.size(), 2) << run.out.toStdString();
    EXPECT_EQ(records[0],
              "fileName: tagged.wav\n"
              "title: Two\\nLines \\\\ here\n"
              "album: \n"
              "artist: Ärtist\n"
              "albumArtist: N/A\n"
              "duration: 0.100\n"
              "cover: yes");
    EXPECT_EQ(records[1],
              "fileName: readme.txt\n"
              "title: readme.txt\n"
              "album: Unknown Album\n"
              "artist: Unknown Artist\n"
              "albumArtist: N/A\n"
              "duration: nan\n"
              "cover: no\n");

    // No files, or a directory, is refused.
    EXPECT_EQ(runInfo({}).exitCode, 2);
    const ProcessRun directory = runInfo({testHome()});
    EXPECT_NE(directory.exitCode, 0);
    EXPECT_TRUE(directory.out.isEmpty());
}

// A name that is not UTF-8 is read by its own bytes and shown with U+FFFD; a
// FIFO is refused at once rather than read.
TEST(InfoCommand, ReadsNamesThatAreNotUtf8AndRefusesFifos) {
    const QString folder = testHome() + "/in";
    writeFile(folder + "/plain.wav", pcmWav(800));
    ASSERT_EQ(::rename(QFile::encodeName(folder + "/plain.wav"),
                       QFile::encodeName(folder) + "/caf\xe9.wav"),
              0);
    ASSERT_EQ(::mkfifo(QFile::encodeName(folder + "/pipe.mp3"), 0600), 0);
    const ProcessRun run = runProcess(
        "/bin/sh", {"-c", "exec \"$0\" info \"$1/$(printf 'caf\\351.wav')\" \"$1/pipe.mp3\"",
                    CORVANTIS_CLI, folder});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.out,
              "fileName: caf\uFFFD.wav\n"
              "title: caf\uFFFD.wav\n"
              "album: Unknown Album\n"
              "artist: Unknown Artist\n"
              "albumArtist: N/A\n"
              "duration: 0.100\n"
              "cover: no\n");
    EXPECT_TRUE(run.err.contains(folder + "/pipe.mp3 is not a regular file"))
        << run.err.toStdString();
}
