// The upload server over real HTTP on loopback, with curl as the client.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <csignal>

#include "AppDirectories.h"
#include "HttpTestClient.h"
#include "Log.h"
#include "TestSupport.h"
#include "UserDefaults.h"
#include "WiFiUploadServer.h"

namespace {

class UploadServerTest : public ::testing::Test {
protected:
    void SetUp() override {
        server = std::make_unique<WiFiUploadServer>(serverOptions());
        ASSERT_TRUE(server->startWithPort(0, "WiFi Sync Server"));
        port = server->port();
        music = QDir(downloadedMusicDirectory());
    }

    virtual WiFiUploadServer::Options serverOptions() { return loopbackOptions(); }

    // A local file of `size` bytes of a recognisable pattern.
    QString localFile(const QString& name, qsizetype size) {
        QByteArray bytes(size, '\0');
        for (qsizetype i = 0; i < size; ++i) {
            bytes[i] = char('a' + (i * 7 + name.size()) % 26);
        }
        const QString path = testHome() + QStringLiteral("/client/") + name;
        writeFile(path, bytes);
        return path;
    }

    QStringList musicFiles() const {
        return music.entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden, QDir::Name);
    }

    QJsonArray listed() {
        const HttpAnswer answer = curlRequest(port, "/files");
        EXPECT_EQ(answer.status, 200);
        EXPECT_EQ(answer.contentType, "application/json");
        return QJsonDocument::fromJson(answer.body).object().value("files").toArray();
    }

    static QJsonObject entry(const QString& name, qint64 size) {
        return QJsonObject{{"name", name}, {"size", QString::number(size)}};
    }

    // The parts requests hold in the folder for uploads in progress (its lock
    // files are hidden).
    static int stagedFiles() {
        QDir staging(AppDirectories::documentsDirectory() + "/.Uploading");
        int count = 0;
        for (const QString& sub : staging.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            count += int(QDir(staging.filePath(sub))
                             .entryList(QDir::AllEntries | QDir::NoDotAndDotDot)
                             .size());
        }
        return count;
    }

    // Nothing of a request outlives it in the folder for uploads in progress.
    static bool noUploadsInProgress() { return stagedFiles() == 0; }

    std::unique_ptr<WiFiUploadServer> server;
    quint16 port = 0;
    QDir music;
};

TEST_F(UploadServerTest, ServesThePageAsHtmlAndListensOnlyBetweenStartAndStop) {
    const QByteArray page = readFile(":/index.html");
    EXPECT_EQ(curlRequest(port, "/"), (HttpAnswer{200, "text/html", page}));
    EXPECT_TRUE(page.contains("/files"));

    EXPECT_TRUE(acceptsConnections(port));
    server->stop();
    EXPECT_FALSE(server->isRunning());
    EXPECT_FALSE(acceptsConnections(port));
    EXPECT_FALSE(server->serverURL().has_value());
    // The same port is free again for the next start.
    ASSERT_TRUE(server->startWithPort(port, QString()));
    EXPECT_EQ(server->port(), port);
    EXPECT_EQ(listed(), QJsonArray());
}

TEST(UploadServerPageTest, MissingOrUnreadablePageIsATextAnswer) {
    // A directory where the page should be exists but cannot be read as a file.
    for (const auto& [page, text] :
         {std::pair{testHome() + "/nowhere/index.html", "HTML file not found"},
          std::pair{testHome(), "Failed to read HTML file"}}) {
        WiFiUploadServer::Options options = loopbackOptions();
        options.pagePath = page;
        WiFiUploadServer server(options);
        ASSERT_TRUE(server.startWithPort(0, QString()));
        EXPECT_EQ(curlRequest(server.port(), "/"), textAnswer(text));
    }
}

TEST_F(UploadServerTest, ListingWithNothingOrGarbageStoredIsEmpty) {
    LogCapture log;
    const HttpAnswer empty{200, "application/json", R"({"files":[]})"};
    EXPECT_EQ(curlRequest(port, "/files"), empty);
    EXPECT_TRUE(log.contains("No uploaded files found in UserDefaults"));

    // Not JSON, and JSON of the wrong shape (a number where a string belongs).
    for (const QByteArray& bad :
         {QByteArray("{not json"), QByteArray(R"([{"name":"a","size":3}])")}) {
        UserDefaults::standard().setData(bad, "uploadedFilesWithSize");
        log.clear();
        EXPECT_EQ(curlRequest(port, "/files"), empty);
        EXPECT_EQ(log.lines().filter("Error decoding uploadedFilesWithSize data: ").size(), 1)
            << log.lines().join('\n').toStdString();
        // The bad bytes stay until an upload writes the list.
        EXPECT_EQ(UserDefaults::standard().dataForKey("uploadedFilesWithSize"), bad);
    }
}

TEST_F(UploadServerTest, EveryFilePartIsStoredUnderTheCollisionRuleAndRecorded) {
    EXPECT_EQ(listed(), QJsonArray());
    const QString song = localFile("Song.mp3", 5000);
    const QString notes = localFile("notes.txt", 12);
    LogCapture log;
    // Two parts of the same name under different fields, a text file, a plain field.
    const HttpAnswer answer =
        curlRequest(port, "/",
                    filePart(song, "Song.mp3", "first") + filePart(song, "Song.mp3", "second") +
                        QStringList{"-F", "comment=hello"} + filePart(notes, "notes.txt", "third"));
    EXPECT_EQ(answer, textAnswer(""));

    EXPECT_EQ(musicFiles(), (QStringList{"Song (1).mp3", "Song.mp3", "notes.txt"}));
    EXPECT_EQ(readFile(music.filePath("Song (1).mp3")), readFile(song));

    const QJsonArray expected{entry("Song.mp3", 5000), entry("Song (1).mp3", 5000),
                              entry("notes.txt", 12)};
    EXPECT_EQ(listed(), expected);
    // The stored record is the JSON array itself, with sizes as strings.
    const auto record = UserDefaults::standard().dataForKey("uploadedFilesWithSize");
    ASSERT_TRUE(record.has_value());
    EXPECT_EQ(QJsonDocument::fromJson(*record).array(), expected);
    EXPECT_TRUE(log.contains("Files: 3"));
    EXPECT_TRUE(log.contains("Saved file: Song (1).mp3 with size: 5000 bytes"));
    EXPECT_EQ(log.count("Saved uploadedFilesWithSize to UserDefaults"), 3);
    EXPECT_TRUE(noUploadsInProgress());
}

TEST_F(UploadServerTest, NamesTakenOnDiskCountUpAndAreNeverOverwritten) {
    writeFile(music.filePath("Song.mp3"), "x");
    writeFile(music.filePath("Song (1).mp3"), "x");
    const QString file = localFile("payload", 3);
    EXPECT_EQ(curlRequest(port, "/", filePart(file, "Song.mp3")).body, QByteArray());
    EXPECT_EQ(musicFiles(), (QStringList{"Song (1).mp3", "Song (2).mp3", "Song.mp3"}));
    EXPECT_EQ(readFile(music.filePath("Song.mp3")), QByteArray("x"));
}

TEST_F(UploadServerTest, OnlyAListingReadsTheStoredRecord) {
    const QByteArray older = R"([{"name":"old.mp3","size":"7"}])";
    UserDefaults::standard().setData(older, "uploadedFilesWithSize");
    const QString file = localFile("new.mp3", 10);

    // An upload before any listing writes a list of the new files only.
    EXPECT_EQ(curlRequest(port, "/", filePart(file, "new.mp3")).body, QByteArray());
    EXPECT_EQ(listed(), (QJsonArray{entry("new.mp3", 10)}));

    // After a listing, uploads append to what was read.
    EXPECT_EQ(curlRequest(port, "/", filePart(file, "next.mp3")).body, QByteArray());
    EXPECT_EQ(listed(), (QJsonArray{entry("new.mp3", 10), entry("next.mp3", 10)}));
}

TEST_F(UploadServerTest, RequestsWithoutFilesAreAnsweredInText) {
    LogCapture log;
    EXPECT_EQ(curlRequest(port, "/", {"-F", "field=value"}),
              textAnswer("No files found in request"));
    EXPECT_TRUE(log.contains("Files: 0"));
    EXPECT_EQ(curlRequest(port, "/", {"--data", "field=value"}), textAnswer("Invalid request"));

    // A multipart type without a boundary cannot be parsed.
    HttpAnswer answer =
        curlRequest(port, "/", {"-H", "Content-Type: multipart/form-data", "--data", "x"});
    EXPECT_EQ(answer.body, QByteArray("Invalid request"));

    // A whole request whose body ends before the closing boundary.
    const QString cut = testHome() + "/cut.txt";
    writeFile(cut,
              "--XYZ\r\nContent-Disposition: form-data; name=\"f\"; filename=\"cut.mp3\"\r\n\r\n" +
                  QByteArray(5000, 'c'));
    answer = curlRequest(
        port, "/",
        {"-H", "Content-Type: multipart/form-data; boundary=XYZ", "--data-binary", "@" + cut});
    EXPECT_EQ(answer.body, QByteArray("Invalid request"));

    for (const auto& [method, path] : {std::pair{"GET", "/nothing"}, std::pair{"PUT", "/"},
                                       std::pair{"POST", "/files"}, std::pair{"GET", "/files/"}}) {
        answer = curlRequest(port, path, {"-X", method});
        EXPECT_EQ(answer.status, 404) << method << " " << path;
    }
    EXPECT_TRUE(musicFiles().isEmpty());
}

TEST_F(UploadServerTest, AnUnsafeNameEndsTheRequestAtItsPart) {
    EXPECT_EQ(listed(), QJsonArray());
    const QString file = localFile("ok.mp3", 100);
    LogCapture log;
    const HttpAnswer answer = curlRequest(
        port, "/",
        filePart(file, "first.mp3") + filePart(file, "../evil.mp3") + filePart(file, "third.mp3"));
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.body, QByteArray("Error saving file ../evil.mp3: File Exists"));
    EXPECT_EQ(musicFiles(), QStringList{"first.mp3"});
    EXPECT_FALSE(QFileInfo::exists(AppDirectories::documentsDirectory() + "/evil.mp3"));
    EXPECT_EQ(listed(), (QJsonArray{entry("first.mp3", 100)}));
    EXPECT_EQ(log.lines().filter("Error saving file ../evil.mp3: ").size(), 1);
    EXPECT_FALSE(log.lines().join('\n').contains("third.mp3"));

    for (const char* name : {".", "..", "a/b.mp3"}) {
        const HttpAnswer refused =
            curlRequest(port, "/", filePart(file, QString::fromLatin1(name)));
        EXPECT_EQ(refused.body, QByteArray("Error saving file ") + name + ": File Exists");
    }
    EXPECT_EQ(musicFiles(), QStringList{"first.mp3"});
    EXPECT_TRUE(waitUntil(noUploadsInProgress));
}

TEST_F(UploadServerTest, AClientThatLeavesMidBodyLeavesNothing) {
    const QByteArray boundary = "----corvantis-test-boundary";
    QByteArray body = "--" + boundary +
                      "\r\nContent-Disposition: form-data; name=\"a\"; filename=\"done.mp3\"\r\n"
                      "Content-Type: audio/mpeg\r\n\r\n" +
                      QByteArray(20000, 'd') + "\r\n--" + boundary +
                      "\r\nContent-Disposition: form-data; name=\"b\"; filename=\"cut.mp3\"\r\n"
                      "Content-Type: audio/mpeg\r\n\r\n" +
                      QByteArray(50000, 'c');
    {
        RawConnection connection(port);
        ASSERT_TRUE(connection.isConnected());
        ASSERT_TRUE(
            connection.send("POST / HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Type: "
                            "multipart/form-data; boundary=" +
                            boundary + "\r\nContent-Length: 10000000\r\n\r\n" + body));
        // Let the server write both parts to their temporary files first.
        EXPECT_TRUE(waitUntil([] { return stagedFiles() == 2; }));
    }
    EXPECT_TRUE(waitUntil(noUploadsInProgress));
    EXPECT_TRUE(musicFiles().isEmpty());
    EXPECT_FALSE(UserDefaults::standard().dataForKey("uploadedFilesWithSize").has_value());
    // The server goes on serving.
    EXPECT_EQ(listed(), QJsonArray());
}

TEST_F(UploadServerTest, AWriteFailureKeepsTheEarlierFilesAndNoPartialOne) {
    const QString small = localFile("small.mp3", 1000);
    const QString big = localFile("big.bin", 2 * 1024 * 1024);
    EXPECT_EQ(listed(), QJsonArray());
    // A file size limit makes every write past 512 KiB fail as on a full disk.
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit previous{};
    getrlimit(RLIMIT_FSIZE, &previous);
    rlimit limit = previous;
    limit.rlim_cur = 512 * 1024;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    LogCapture log;
    const HttpAnswer answer = curlRequest(
        port, "/",
        filePart(small, "small.mp3") + filePart(big, "big.bin") + filePart(small, "after.mp3"));
    setrlimit(RLIMIT_FSIZE, &previous);

    EXPECT_EQ(answer.body, QByteArray("Error saving file big.bin: File Exists"));
    EXPECT_EQ(musicFiles(), QStringList{"small.mp3"});
    EXPECT_EQ(listed(), (QJsonArray{entry("small.mp3", 1000)}));
    EXPECT_TRUE(log.contains("Error saving file big.bin: File too large"))
        << log.lines().join('\n').toStdString();
    EXPECT_TRUE(waitUntil(noUploadsInProgress));
}

TEST_F(UploadServerTest, AMissingMusicFolderIsMadeAgainOrReported) {
    const QString file = localFile("x.mp3", 10);
    ASSERT_TRUE(music.removeRecursively());
    LogCapture log;
    EXPECT_EQ(curlRequest(port, "/", filePart(file, "x.mp3")).body, QByteArray());
    EXPECT_TRUE(log.contains("Created 'Downloaded Music' directory"));
    EXPECT_EQ(musicFiles(), QStringList{"x.mp3"});

    // A plain file in its place: the folder cannot be made and the move fails.
    ASSERT_TRUE(music.removeRecursively());
    writeFile(music.absolutePath(), "not a folder");
    log.clear();
    EXPECT_EQ(curlRequest(port, "/", filePart(file, "y.mp3")).body,
              QByteArray("Error saving file y.mp3: File Exists"));
    EXPECT_EQ(log.lines().filter("Error creating directory: ").size(), 0)
        << "a file stands there, so nothing is made";
    EXPECT_EQ(log.lines().filter("Error saving file y.mp3: ").size(), 1);
}

TEST_F(UploadServerTest, UploadsSideBySideGetDistinctNamesAndAWholeRecord) {
    EXPECT_EQ(listed(), QJsonArray());
    const QString file = localFile("Song.mp3", 3000);
    constexpr int kClients = 4;
    constexpr int kFilesEach = 5;
    std::vector<std::unique_ptr<QProcess>> clients;
    for (int client = 0; client < kClients; ++client) {
        QStringList parts;
        for (int i = 0; i < kFilesEach; ++i) {
            parts += filePart(file, "Song.mp3");
        }
        clients.push_back(startCurl(port, "/", parts));
    }
    for (auto& client : clients) {
        ASSERT_TRUE(client->waitForFinished(60000));
        EXPECT_EQ(client->exitCode(), 0);
        EXPECT_EQ(client->readAllStandardOutput(), QByteArray());
    }
    QStringList expected{"Song.mp3"};
    for (int i = 1; i < kClients * kFilesEach; ++i) {
        expected << QStringLiteral("Song (%1).mp3").arg(i);
    }
    expected.sort();
    EXPECT_EQ(musicFiles(), expected);
    const QJsonArray record = listed();
    EXPECT_EQ(record.size(), kClients * kFilesEach);
    QStringList recorded;
    for (const QJsonValue& item : record) {
        recorded << item["name"].toString();
    }
    recorded.sort();
    EXPECT_EQ(recorded, expected);
}

class SlowClientTest : public UploadServerTest {
protected:
    WiFiUploadServer::Options serverOptions() override {
        WiFiUploadServer::Options options = UploadServerTest::serverOptions();
        options.idleTimeoutSeconds = 1;
        return options;
    }
};

TEST_F(SlowClientTest, StalledOrOversizedRequestsLoseTheirConnection) {
    RawConnection stalled(port);
    ASSERT_TRUE(stalled.isConnected());
    ASSERT_TRUE(stalled.send("GET / HTTP/1.1\r\nHost: 127.0.0.1\r\n"));
    EXPECT_TRUE(stalled.waitForClose(5000));

    RawConnection huge(port);
    ASSERT_TRUE(huge.isConnected());
    QByteArray received;
    huge.send("GET / HTTP/1.1\r\nHost: 127.0.0.1\r\nX-Filler: " + QByteArray(1024 * 1024, 'f') +
              "\r\n\r\n");
    EXPECT_TRUE(huge.waitForClose(5000, &received));
    EXPECT_FALSE(received.startsWith("HTTP/1.1 200")) << received.left(100).toStdString();

    EXPECT_EQ(listed(), QJsonArray());
}

TEST(UploadServerStagingTest, AStartSweepsAwayWhatACrashedServerLeft) {
    const QString root = AppDirectories::documentsDirectory() + "/.Uploading";
    // One folder of a server that died mid-upload, one of a server that runs.
    writeFile(root + "/dead01/.lock", QByteArray());
    writeFile(root + "/dead01/upload-abc", QByteArray(1000, 'x'));
    writeFile(root + "/live01/.lock", QByteArray());
    writeFile(root + "/live01/upload-def", QByteArray(1000, 'y'));
    const int held = ::open(QFile::encodeName(root + "/live01/.lock").constData(), O_RDONLY);
    ASSERT_GE(held, 0);
    ASSERT_EQ(::flock(held, LOCK_EX), 0);

    WiFiUploadServer server(loopbackOptions());
    ASSERT_TRUE(server.startWithPort(0, QString()));
    EXPECT_FALSE(QFileInfo::exists(root + "/dead01"));
    EXPECT_TRUE(QFileInfo::exists(root + "/live01/upload-def"));
    ::close(held);
    server.stop();
    WiFiUploadServer next(loopbackOptions());
    ASSERT_TRUE(next.startWithPort(0, QString()));
    EXPECT_FALSE(QFileInfo::exists(root + "/live01"));
}

TEST(UploadServerAnnounceTest, RunsOnWithoutAnAvahiDaemon) {
    if (QFileInfo::exists("/run/avahi-daemon/pid")) {
        GTEST_SKIP() << "an Avahi daemon runs here";
    }
    LogCapture log;
    WiFiUploadServer::Options options = loopbackOptions();
    options.announce = true;
    WiFiUploadServer server(options);
    ASSERT_TRUE(server.startWithPort(0, "WiFi Sync Server"));
    EXPECT_EQ(log.lines().filter(QRegularExpression("^Bonjour announcement skipped: .+")).size(), 1)
        << log.lines().join('\n').toStdString();
    EXPECT_EQ(curlRequest(server.port(), "/files").body, QByteArray(R"({"files":[]})"));
}

}  // namespace
