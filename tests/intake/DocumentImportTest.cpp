#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <functional>

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

// Sources that cannot be read must not cost the file they would replace.
TEST(DocumentImport, ASourceThatCannotBeReadLeavesTheOldFile) {
    const QString folder = testHome() + "/picked/";
    const QList<QPair<const char*, std::function<QString()>>> sources{
        {"a missing file", [&] { return folder + "missing/keep.flac"; }},
        {"a directory",
         [&] {
             QDir().mkpath(folder + "dir/keep.flac");
             return folder + "dir/keep.flac";
         }},
        {"a FIFO",
         [&] {
             QDir().mkpath(folder + "fifo");
             EXPECT_EQ(::mkfifo(QFile::encodeName(folder + "fifo/keep.flac"), 0600), 0);
             return folder + "fifo/keep.flac";
         }},
    };
    // Each is told with its reason, and the files after it go on.
    const QUrl good = picked("Good.mp3", "good");
    for (const auto& [what, make] : sources) {
        SCOPED_TRACE(what);
        writeFile(musicFolder() + "/keep.flac", "old");
        QFile::remove(musicFolder() + "/Good.mp3");
        RecordedMessages messages;
        importDocuments({QUrl::fromLocalFile(make()), good}, messages);
        ASSERT_EQ(messages.shown.size(), 2);
        const QString prefix = "Error handling file keep.flac: ";
        EXPECT_EQ(messages.shown[0].first, "Error");
        EXPECT_TRUE(messages.shown[0].second.startsWith(prefix));
        EXPECT_GT(messages.shown[0].second.size(), prefix.size());
        EXPECT_EQ(
            messages.shown[1],
            (QPair<QString, QString>{"Import Result", "1 out of 2 files imported successfully."}));
        EXPECT_EQ(readFile(musicFolder() + "/keep.flac"), "old");
        EXPECT_EQ(readFile(musicFolder() + "/Good.mp3"), "good");
    }
}

// The file is picked from the music folder itself, by its own name or through
// a link: it counts as imported over itself and keeps its bytes.
TEST(DocumentImport, AFileThatIsAlreadyTheDestinationIsLeftAsItIs) {
    const QString song = musicFolder() + "/song.mp3";
    const QString elsewhere = testHome() + "/picked/";
    QDir().mkpath(elsewhere);
    const QList<QPair<const char*, std::function<QString()>>> sources{
        {"the same path", [&] { return song; }},
        {"a symbolic link",
         [&] {
             QFile::link(song, elsewhere + "link/song.mp3");
             return elsewhere + "link/song.mp3";
         }},
        {"a hard link",
         [&] {
             QDir().mkpath(elsewhere + "hard");
             EXPECT_EQ(
                 ::link(QFile::encodeName(song), QFile::encodeName(elsewhere + "hard/song.mp3")),
                 0);
             return elsewhere + "hard/song.mp3";
         }},
    };
    QDir().mkpath(elsewhere + "link");
    for (const auto& [what, make] : sources) {
        SCOPED_TRACE(what);
        writeFile(song, "mine");
        RecordedMessages messages;
        importDocuments({QUrl::fromLocalFile(make())}, messages);
        EXPECT_EQ(messages.shown, (Shown{{"Import Result",
                                          "1 out of 1 files imported successfully. 1 existing "
                                          "files were replaced."}}));
        EXPECT_EQ(readFile(song), "mine");
    }
}

TEST(DocumentImport, ALinkInTheMusicFolderIsReplacedNotWrittenThrough) {
    const QString victim = testHome() + "/victim.txt";
    writeFile(victim, "precious");
    QDir().mkpath(musicFolder());
    ASSERT_TRUE(QFile::link(victim, musicFolder() + "/song.mp3"));
    RecordedMessages messages;
    importDocuments({picked("song.mp3", "new")}, messages);
    EXPECT_EQ(messages.shown.size(), 1);
    EXPECT_EQ(readFile(victim), "precious");
    EXPECT_FALSE(QFileInfo(musicFolder() + "/song.mp3").isSymLink());
    EXPECT_EQ(readFile(musicFolder() + "/song.mp3"), "new");
}
