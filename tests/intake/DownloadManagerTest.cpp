#include <QFile>

#include "CloudTestSupport.h"
#include "DownloadManager.h"
#include "NotificationCenter.h"
#include "UserDefaults.h"

using Intake::Source;
using Intake::Status;

namespace {

// Every notification of the download books, in order, with its file.
struct Heard {
    Heard() {
        for (const QString& name : {DownloadManager::statusDidChangeNotification,
                                    DownloadManager::downloadCompleteNotification}) {
            tokens.append(NotificationCenter::defaultCenter().addObserver(
                name, nullptr, [this](const Notification& notification) {
                    events.append({notification.name,
                                   notification.userInfo.value(DownloadManager::fileUserInfoKey)
                                       .value<CloudFile>()});
                }));
        }
    }
    ~Heard() {
        for (auto token : tokens) {
            NotificationCenter::defaultCenter().removeObserver(token);
        }
    }
    int count(const QString& name) const {
        return int(std::count_if(events.begin(), events.end(),
                                 [&](const auto& event) { return event.first == name; }));
    }
    QList<NotificationCenter::Token> tokens;
    QList<QPair<QString, CloudFile>> events;
};

bool settled(const CloudFile& file) {
    return DownloadManager::shared().downloadStatus(file).kind != Status::Kind::downloading;
}

}  // namespace

TEST_F(CloudTest, SameNameDownloadsPileUpSuffixesAndAreKept) {
    signInBeforeLaunch();
    const QList<CloudFile> files{remoteFile("/a/Song.mp3"), remoteFile("/b/Song.mp3"),
                                 remoteFile("/c/Song.mp3")};
    for (const CloudFile& file : files) {
        fake.addFile(file.id, file.id.toUtf8());
    }
    Heard heard;
    DownloadManager& books = DownloadManager::shared();
    for (const CloudFile& file : files) {
        ASSERT_TRUE(books.startDownload(file));
        EXPECT_EQ(books.downloadStatus(file), Status::downloading(0.0));
        ASSERT_TRUE(waitUntil([&] { return settled(file); }));
    }
    const QStringList expected{"Song.mp3", "Song (1).mp3", "Song (1) (2).mp3"};
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(books.downloadedTasks.value(files[i].id), expected[i]);
        EXPECT_EQ(
            books.downloadStatus(files[i]),
            Status::completed(QUrl::fromLocalFile(downloadedMusicDirectory() + "/" + expected[i])));
        EXPECT_EQ(readFile(downloadedMusicDirectory() + "/" + expected[i]), files[i].id.toUtf8());
    }
    EXPECT_EQ(heard.count(DownloadManager::downloadCompleteNotification), 3);
    ASSERT_GE(heard.events.size(), 2);
    // Each completion: the status first, then the completion, with the listed file.
    EXPECT_EQ(heard.events.last().first, DownloadManager::downloadCompleteNotification);
    EXPECT_EQ(heard.events[heard.events.size() - 2].first,
              DownloadManager::statusDidChangeNotification);
    EXPECT_EQ(heard.events.last().second, files[2]);

    const QVariantMap stored =
        UserDefaults::standard().dictionaryForKey("DownloadedFileKey").value_or(QVariantMap());
    EXPECT_EQ(stored.size(), 3);
    EXPECT_EQ(stored.value("/b/song.mp3"), QVariant(QString("Song (1).mp3")));

    // Done or on its way: no second start.
    EXPECT_FALSE(books.startDownload(files[0]));
    EXPECT_FALSE(books.startDownload(CloudFile{"/d/x.mp3", "x.mp3", std::nullopt}));
}

TEST(DownloadBooks, UniqueNamesFollowThePiledUpSuffixRule) {
    DownloadManager& books = DownloadManager::shared();
    const QString music = downloadedMusicDirectory() + "/";
    EXPECT_EQ(books.uniqueFileName("Free.mp3"), music + "Free.mp3");
    for (const char* name : {"README", ".mp3", "a..b.mp3", ".hidden.mp3", "x.tar.gz"}) {
        writeFile(music + name, "x");
    }
    EXPECT_EQ(books.uniqueFileName("README"), music + "README (1)");
    EXPECT_EQ(books.uniqueFileName(".mp3"), music + ".mp3 (1)");
    EXPECT_EQ(books.uniqueFileName("a..b.mp3"), music + "a.b (1).mp3");
    EXPECT_EQ(books.uniqueFileName(".hidden.mp3"), music + "hidden (1).mp3");
    EXPECT_EQ(books.uniqueFileName("x.tar.gz"), music + "x.tar (1).gz");
    writeFile(music + "README (1)", "x");
    EXPECT_EQ(books.uniqueFileName("README"), music + "README (1) (2)");
}

TEST_F(CloudTest, CancelIsSilentAndALateFailureEndsTheNextStart) {
    signInBeforeLaunch();
    const CloudFile file = remoteFile("/Slow.mp3");
    fake.addGeneratedFile("/Slow.mp3", 4 * 1024 * 1024);
    fake.setSlowTransfer(32 * 1024, 10);
    Heard heard;
    DownloadManager& books = DownloadManager::shared();
    EXPECT_FALSE(books.cancelDownload(file));
    ASSERT_TRUE(books.startDownload(file));
    ASSERT_TRUE(waitUntil([&] { return books.downloadStatus(file).progress > 0.0; }));
    // Progress in between is told; each carries the file.
    ASSERT_GE(heard.count(DownloadManager::statusDidChangeNotification), 1);
    EXPECT_EQ(heard.events.first().second, file);
    heard.events.clear();

    ASSERT_TRUE(books.cancelDownload(file));
    EXPECT_EQ(books.downloadStatus(file), Status::unstarted());
    EXPECT_TRUE(heard.events.isEmpty());
    ASSERT_TRUE(books.startDownload(file));
    // The first request's failure arrives after the second start and closes its entry.
    ASSERT_TRUE(waitUntil([&] { return books.downloadStatus(file) == Status::unstarted(); }));
    EXPECT_EQ(heard.count(DownloadManager::statusDidChangeNotification), 1);
    EXPECT_EQ(heard.count(DownloadManager::downloadCompleteNotification), 0);
}

TEST_F(CloudTest, ADroppedDownloadReturnsToUnstartedWithoutAFile) {
    signInBeforeLaunch();
    const CloudFile file = remoteFile("/Big.mp3");
    fake.addGeneratedFile("/Big.mp3", 4 * 1024 * 1024);
    fake.dropNextDownloadAfter(512 * 1024);
    Heard heard;
    ASSERT_TRUE(DownloadManager::shared().startDownload(file));
    ASSERT_TRUE(waitUntil([&] { return settled(file); }, 20000));
    EXPECT_EQ(DownloadManager::shared().downloadStatus(file), Status::unstarted());
    EXPECT_EQ(heard.events.last().first, DownloadManager::statusDidChangeNotification);
    EXPECT_EQ(heard.count(DownloadManager::downloadCompleteNotification), 0);
    EXPECT_TRUE(musicFolderContents().isEmpty());
    EXPECT_FALSE(DownloadManager::shared().cancelDownload(file));  // already over

    // A user can start again.
    ASSERT_TRUE(DownloadManager::shared().startDownload(file));
    ASSERT_TRUE(waitUntil([&] { return settled(file); }, 20000));
    EXPECT_EQ(DownloadManager::shared().downloadStatus(file).kind, Status::Kind::completed);
}

TEST_F(CloudTest, TwentyDownloadsAtOnceArriveWholeAfterOneTokenRefresh) {
    signInBeforeLaunch();
    QList<CloudFile> files;
    for (int i = 0; i < 20; ++i) {
        const QString path = QStringLiteral("/Album/Track %1.mp3").arg(i);
        fake.addFile(path, QByteArray(100 * 1024 + i * 999, char('a' + i)));
        files.append(remoteFile(path));
    }
    fake.expireAccessTokens();
    for (const CloudFile& file : files) {
        ASSERT_TRUE(DownloadManager::shared().startDownload(file));
    }
    ASSERT_TRUE(waitUntil([&] { return std::all_of(files.begin(), files.end(), settled); }, 30000));
    for (int i = 0; i < 20; ++i) {
        const QString name = DownloadManager::shared().downloadedTasks.value(files[i].id);
        ASSERT_EQ(name, files[i].name);
        EXPECT_EQ(readFile(downloadedMusicDirectory() + "/" + name),
                  QByteArray(100 * 1024 + i * 999, char('a' + i)));
    }
    EXPECT_EQ(fake.count("/oauth2/token"), 1);
    EXPECT_EQ(musicFolderContents().size(), 20);
}

TEST(DownloadBooks, FirstUseDropsEntriesWhoseFileIsGoneWithoutWritingBack) {
    writeFile(downloadedMusicDirectory() + "/Here.mp3", "x");
    const QVariantMap stored{{"/here.mp3", "Here.mp3"}, {"/gone.mp3", "Gone.mp3"}};
    UserDefaults::standard().setDictionary(stored, "DownloadedFileKey");
    DownloadManager& books = DownloadManager::shared();
    EXPECT_EQ(books.downloadedTasks, (QHash<QString, QString>{{"/here.mp3", "Here.mp3"}}));
    EXPECT_EQ(books.downloadStatus({"/gone.mp3", "Gone.mp3", Source::dropbox}),
              Status::unstarted());
    EXPECT_EQ(UserDefaults::standard().dictionaryForKey("DownloadedFileKey"), stored);
}

TEST(DownloadBooks, AStoreWithAnythingButStringsCountsAsEmpty) {
    writeFile(downloadedMusicDirectory() + "/Here.mp3", "x");
    UserDefaults::standard().setDictionary({{"/here.mp3", "Here.mp3"}, {"/n.mp3", 5}},
                                           "DownloadedFileKey");
    EXPECT_TRUE(DownloadManager::shared().downloadedTasks.isEmpty());
}

TEST(DownloadBooks, DeletingAFileClosesItsEntryAndTellsTheRows) {
    const QString music = downloadedMusicDirectory() + "/";
    writeFile(music + "Song (1).mp3", "x");
    writeFile(music + "Uploaded.mp3", "x");
    UserDefaults::standard().setDictionary({{"/song.mp3", "Song (1).mp3"}}, "DownloadedFileKey");
    DownloadManager& books = DownloadManager::shared();
    Heard heard;

    EXPECT_EQ(books.deleteDownloadedFile("Uploaded.mp3"), std::nullopt);
    EXPECT_FALSE(QFile::exists(music + "Uploaded.mp3"));
    EXPECT_TRUE(heard.events.isEmpty());

    EXPECT_EQ(books.deleteDownloadedFile("Song (1).mp3"), std::nullopt);
    EXPECT_FALSE(QFile::exists(music + "Song (1).mp3"));
    EXPECT_TRUE(books.downloadedTasks.isEmpty());
    EXPECT_EQ(UserDefaults::standard().dictionaryForKey("DownloadedFileKey"), QVariantMap());
    ASSERT_EQ(heard.events.size(), 1);
    EXPECT_EQ(heard.events[0].first, DownloadManager::statusDidChangeNotification);
    EXPECT_EQ(heard.events[0].second, (CloudFile{"/song.mp3", "Song (1).mp3", std::nullopt}));

    // Nothing to remove: the error goes back and the books stay.
    UserDefaults::standard().setDictionary({{"/x.mp3", "X.mp3"}}, "DownloadedFileKey");
    books.downloadedTasks.insert("/x.mp3", "X.mp3");
    EXPECT_NE(books.deleteDownloadedFile("X.mp3"), std::nullopt);
    EXPECT_EQ(books.downloadedTasks.value("/x.mp3"), "X.mp3");
    EXPECT_EQ(heard.events.size(), 1);
}
