#include <gtest/gtest.h>

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
