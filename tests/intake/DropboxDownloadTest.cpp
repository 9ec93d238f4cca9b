#include <QFileInfo>
#include <QSet>

#include "CloudTestSupport.h"

namespace {

// A download of the service's file at `path` into the music folder, under its name.
struct Transfer {
    explicit Transfer(const QString& path) {
        DropboxManager::shared().downloadFile(
            remoteFile(path), destination(path),
            [this](const TransferProgress& progress) { this->progress.append(progress); },
            [this](const Result<QString>& result) { this->result = result; });
    }
    Transfer(const Transfer&) = delete;
    static QString destination(const QString& path) {
        return downloadedMusicDirectory() + "/" + path.section('/', -1);
    }
    bool finish() {
        return waitUntil([&] { return result.has_value(); }, 20000);
    }
    QString error() const { return errorText(result->error()); }
    std::optional<Result<QString>> result;
    QList<TransferProgress> progress;
};

}  // namespace

TEST_F(CloudTest, DownloadComesInRangedPiecesWithProgressAndOneRefresh) {
    signInBeforeLaunch();
    const qint64 size = 2 * dropboxDownloadPieceBytes + 17;
    const QString path = QString::fromUtf8("/Música/Ça va.mp3");
    fake.addGeneratedFile(path, size);
    // The token runs out by the third request: that piece alone is asked for
    // again, not the whole file.
    fake.failOnce(
        "/2/files/download",
        {401,
         R"({"error_summary":"expired_access_token/","error":{".tag":"expired_access_token"}})",
         {}},
        2);
    Transfer transfer(path);
    EXPECT_EQ(DropboxManager::shared().downloadTasks.size(), 1);
    ASSERT_TRUE(transfer.finish());
    ASSERT_TRUE(transfer.result->isSuccess()) << transfer.error().toStdString();
    EXPECT_EQ(transfer.result->value(), downloadedMusicDirectory() + "/Ça va.mp3");
    EXPECT_TRUE(readFile(transfer.result->value()) == FakeDropbox::patternBytes(size));
    EXPECT_EQ(musicFolderContents(), QStringList{"Ça va.mp3"});
    EXPECT_TRUE(DropboxManager::shared().downloadTasks.isEmpty());

    ASSERT_FALSE(transfer.progress.isEmpty());
    qint64 before = 0;
    for (const TransferProgress& progress : transfer.progress) {
        EXPECT_GE(progress.completedUnitCount, before);
        EXPECT_EQ(progress.totalUnitCount, size);
        before = progress.completedUnitCount;
    }
    EXPECT_EQ(transfer.progress.last().fractionCompleted(), 1.0);

    // Every piece, and the one that met the spent token again.
    EXPECT_EQ(fake.count("/oauth2/token"), 1);
    const QList<FakeDropbox::Request> requests = fake.requests("/2/files/download");
    QList<QByteArray> ranges;
    for (const FakeDropbox::Request& request : requests) {
        ranges.append(request.headers.value("range"));
    }
    const auto range = [](qint64 piece) {
        return "bytes=" + QByteArray::number(piece * dropboxDownloadPieceBytes) + "-" +
               QByteArray::number((piece + 1) * dropboxDownloadPieceBytes - 1);
    };
    EXPECT_EQ(QSet<QByteArray>(ranges.begin(), ranges.end()),
              (QSet<QByteArray>{range(0), range(1), range(2)}));
    EXPECT_EQ(ranges.count(range(0)), 1);
    EXPECT_EQ(ranges.size(), 4);
    // The header carries the path as ASCII JSON, and the body no form content type.
    EXPECT_EQ(requests.value(0).headers.value("dropbox-api-arg"),
              QByteArray(R"({"path":"/m\u00fasica/\u00e7a va.mp3"})"));
    EXPECT_TRUE(requests.value(0).headers.value("content-type").isEmpty());
}

TEST_F(CloudTest, AFileSavedAgainBetweenPiecesFailsTheDownloadCleanly) {
    signInBeforeLaunch();
    fake.addGeneratedFile("/Live.mp3", dropboxDownloadPieceBytes + 1);
    fake.reviseFileAfterDownloads("/Live.mp3", 1);  // same size, new revision
    Transfer transfer("/Live.mp3");
    ASSERT_TRUE(transfer.finish());
    ASSERT_FALSE(transfer.result->isSuccess());
    EXPECT_TRUE(transfer.error().contains("changed")) << transfer.error().toStdString();
    EXPECT_EQ(fake.count("/2/files/download"), 2);
    EXPECT_TRUE(musicFolderContents().isEmpty()) << musicFolderContents().join(",").toStdString();
    EXPECT_TRUE(DropboxManager::shared().downloadTasks.isEmpty());
}

TEST_F(CloudTest, AServerWithoutRangesAndAnEmptyFileStillDownload) {
    signInBeforeLaunch();
    const qint64 size = dropboxDownloadPieceBytes + 5;
    fake.addGeneratedFile("/Whole.mp3", size);
    fake.addFile("/Empty.mp3", {});
    fake.setIgnoreRange(true);
    Transfer whole("/Whole.mp3");
    ASSERT_TRUE(whole.finish());
    ASSERT_TRUE(whole.result->isSuccess()) << whole.error().toStdString();
    EXPECT_EQ(QFileInfo(Transfer::destination("/Whole.mp3")).size(), size);
    EXPECT_EQ(fake.count("/2/files/download"), 1);

    fake.setIgnoreRange(false);  // a range of an empty file: 416, and an empty file
    Transfer empty("/Empty.mp3");
    ASSERT_TRUE(empty.finish());
    ASSERT_TRUE(empty.result->isSuccess()) << empty.error().toStdString();
    EXPECT_EQ(musicFolderContents(), (QStringList{"Empty.mp3", "Whole.mp3"}));
    EXPECT_EQ(QFileInfo(Transfer::destination("/Empty.mp3")).size(), 0);
}

TEST_F(CloudTest, ACancelledDownloadEndsLaterAndLeavesNoFile) {
    signInBeforeLaunch();
    // Long enough for two pieces on their way at once.
    fake.addGeneratedFile("/Slow.mp3", dropboxDownloadPieceBytes + 2 * 1024 * 1024);
    fake.setSlowTransfer(16 * 1024, 20);
    Transfer transfer("/Slow.mp3");
    ASSERT_TRUE(waitUntil([&] { return fake.count("/2/files/download") == 2; }));
    ASSERT_TRUE(waitUntil([&] { return !transfer.progress.isEmpty(); }));
    DropboxManager::shared().cancelFile("/slow.mp3");
    EXPECT_TRUE(DropboxManager::shared().downloadTasks.isEmpty());
    EXPECT_FALSE(transfer.result.has_value());  // heard later, never inside the cancel
    ASSERT_TRUE(transfer.finish());
    EXPECT_FALSE(transfer.result->isSuccess());
    EXPECT_TRUE(musicFolderContents().isEmpty());
}

TEST_F(CloudTest, DownloadFailuresCarryTheServicesWords) {
    signInBeforeLaunch();
    Transfer missing("/gone.mp3");
    ASSERT_TRUE(missing.finish());
    ASSERT_FALSE(missing.result->isSuccess());
    EXPECT_TRUE(missing.error().contains("path/not_found"));

    // A name taken while the transfer ran is kept, not overwritten.
    fake.addFile("/Taken.mp3", "remote");
    writeFile(Transfer::destination("/Taken.mp3"), "local");
    Transfer taken("/Taken.mp3");
    ASSERT_TRUE(taken.finish());
    EXPECT_FALSE(taken.result->isSuccess());
    EXPECT_EQ(readFile(Transfer::destination("/Taken.mp3")), "local");
    EXPECT_EQ(musicFolderContents(), QStringList{"Taken.mp3"});
}

TEST_F(CloudTest, DownloadSignedOutCallsNeitherHandler) {
    fake.addFile("/A.mp3", "x");
    Transfer transfer("/A.mp3");
    EXPECT_TRUE(settle());
    EXPECT_FALSE(transfer.result.has_value());
    EXPECT_TRUE(transfer.progress.isEmpty());
    EXPECT_EQ(fake.count("/2/files/download"), 0);
}
