#include <gtest/gtest.h>

#include <QDir>

#include "AppDirectories.h"
#include "TestSupport.h"

TEST(ImportCommand, PrintsEachMessageAsTitleAndText) {
    const QString musicFolder = AppDirectories::documentsDirectory() + "/Downloaded Music";
    const QString good = testHome() + "/picked/Good.mp3";
    writeFile(good, "good");
    writeFile(musicFolder + "/none.mp3", "old");
    const ProcessRun run = runProcess(CORVANTIS_CLI, {"import", good, testHome() + "/none.mp3"});
    EXPECT_EQ(readFile(musicFolder + "/none.mp3"), "old");
    EXPECT_EQ(run.exitCode, 1);
    const QStringList lines = run.out.split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 2) << run.out.toStdString();
    EXPECT_TRUE(lines[0].startsWith("Error: Error handling file none.mp3: "));
    EXPECT_EQ(lines[1], "Import Result: 1 out of 2 files imported successfully.");

    const ProcessRun again = runProcess(CORVANTIS_CLI, {"import", good});
    EXPECT_EQ(again.exitCode, 0);
    EXPECT_EQ(again.out,
              "Import Result: 1 out of 1 files imported successfully. 1 existing files were "
              "replaced.\n");
}
