#include <gtest/gtest.h>

#include <QDir>
#include <QFile>

#include "AppDirectories.h"
#include "DocumentImporter.h"
#include "Log.h"
#include "TestSupport.h"

namespace {

struct RecordedMessages : MessagePresenter {
    void presentMessage(const QString& title, const QString& message) override {
        shown.append({title, message});
    }
    QList<QPair<QString, QString>> shown;
};

QString musicFolder() {
    return AppDirectories::documentsDirectory() + "/Downloaded Music";
}

QUrl picked(const QString& name, const QByteArray& bytes) {
    const QString path = testHome() + "/picked/" + name;
    writeFile(path, bytes);
    return QUrl::fromLocalFile(path);
}

using Shown = QList<QPair<QString, QString>>;

}  // namespace

TEST(DocumentImport, AnEmptyPickStillTellsTheResultAndACancelledOneOnlyLogs) {
    RecordedMessages messages;
    importDocuments({}, messages);
    EXPECT_EQ(messages.shown,
              (Shown{{"Import Result", "0 out of 0 files imported successfully."}}));

    LogCapture log;
    documentPickerWasCancelled();
    EXPECT_EQ(log.lines(), QStringList{"User cancelled document picker"});
}

TEST(DocumentImport, ATakenNameIsReplacedAndTheFolderMadeOnDemand) {
    QDir(musicFolder()).removeRecursively();
    const QUrl first = picked("a/Song.mp3", "first");
    const QUrl second = picked("b/Song.mp3", "second");
    const QUrl other = picked("Other.ogg", QByteArray(3 * 1024 * 1024 + 5, 'o'));
    RecordedMessages messages;
    importDocuments({first, second, other}, messages);
    EXPECT_EQ(messages.shown, (Shown{{"Import Result",
                                      "3 out of 3 files imported successfully. 1 existing files "
                                      "were replaced."}}));
    EXPECT_EQ(readFile(musicFolder() + "/Song.mp3"), "second");
    EXPECT_EQ(readFile(musicFolder() + "/Other.ogg"), QByteArray(3 * 1024 * 1024 + 5, 'o'));
    EXPECT_EQ(QDir(musicFolder()).entryList(QDir::Files | QDir::Hidden),
              (QStringList{"Other.ogg", "Song.mp3"}));
}

TEST(DocumentImport, AnUnreadableFileIsToldAndTheRestGoOn) {
    // The old file goes before the new one is read, so it is gone either way.
    writeFile(musicFolder() + "/Gone.mp3", "old");
    const QUrl good = picked("Good.mp3", "good");
    const QUrl missing = QUrl::fromLocalFile(testHome() + "/picked/Gone.mp3");
    RecordedMessages messages;
    importDocuments({missing, good}, messages);
    ASSERT_EQ(messages.shown.size(), 2);
    EXPECT_EQ(messages.shown[0].first, "Error");
    EXPECT_TRUE(messages.shown[0].second.startsWith("Error handling file Gone.mp3: "))
        << messages.shown[0].second.toStdString();
    EXPECT_GT(messages.shown[0].second.size(), QString("Error handling file Gone.mp3: ").size());
    EXPECT_EQ(messages.shown[1],
              (QPair<QString, QString>{"Import Result",
                                       "1 out of 2 files imported successfully. 1 existing files "
                                       "were replaced."}));
    EXPECT_EQ(readFile(musicFolder() + "/Good.mp3"), "good");
    EXPECT_FALSE(QFile::exists(musicFolder() + "/Gone.mp3"));
}

TEST(DocumentImport, CommandPrintsEachMessageAsTitleAndText) {
    const QUrl good = picked("Good.mp3", "good");
    const ProcessRun run =
        runProcess(CORVANTIS_CLI, {"import", good.toLocalFile(), testHome() + "/none.mp3"});
    EXPECT_EQ(run.exitCode, 1);
    const QStringList lines = run.out.split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 2) << run.out.toStdString();
    EXPECT_TRUE(lines[0].startsWith("Error: Error handling file none.mp3: "));
    EXPECT_EQ(lines[1], "Import Result: 1 out of 2 files imported successfully.");

    const ProcessRun again = runProcess(CORVANTIS_CLI, {"import", good.toLocalFile()});
    EXPECT_EQ(again.exitCode, 0);
    EXPECT_EQ(again.out,
              "Import Result: 1 out of 1 files imported successfully. 1 existing files were "
              "replaced.\n");
}
