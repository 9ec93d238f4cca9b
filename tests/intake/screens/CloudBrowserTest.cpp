#include <QSignalSpy>

#include "DownloadManager.h"
#include "IntakeScreensTestSupport.h"
#include "Navigation.h"
#include "NotificationCenter.h"
#include "ProgressHUD.h"

using Intake::Folder;
using Intake::Source;

namespace {

// A browser presented over a root screen, as the import screen shows it.
class BrowserTest : public CloudTest {
protected:
    void SetUp() override {
        CloudTest::SetUp();
        Navigation::shared().makeKeyAndVisible(root);
    }

    // Opens the browser and waits for its first listing.
    void open() {
        browser = new DropboxViewController;
        root->presentViewController(browser, false);
        browser->loadViewIfNeeded();
        ASSERT_TRUE(waitUntil([&] { return !ProgressHUD::shared().isVisible(); }));
    }

    // Runs `step` and waits until the listing it asked for has answered.
    void listing(const std::function<void()>& step) {
        step();
        ASSERT_TRUE(ProgressHUD::shared().isVisible());
        EXPECT_TRUE(browser->downloadAllButtonHidden());
        ASSERT_TRUE(waitUntil([&] {
            return ProgressHUD::shared().type() != ProgressHUDType::loading ||
                   !ProgressHUD::shared().isVisible();
        }));
    }

    void into(const QString& folder) {
        listing([&] { browser->didSelectRow(rowOf(*browser, folder)); });
    }
    void back() {
        listing([&] { browser->didClickBack(); });
    }

    ViewController* root = new ViewController;
    QPointer<DropboxViewController> browser;
};

std::vector<FileProtocol> entries(const QStringList& names) {
    std::vector<FileProtocol> result;
    for (const QString& name : names) {
        if (name.endsWith(QLatin1String(".mp3"))) {
            result.emplace_back(CloudFile{"/" + name, name, Source::dropbox});
        } else {
            result.emplace_back(Folder{{}, name});
        }
    }
    return result;
}

}  // namespace

TEST_F(BrowserTest, WalksDownAndBackThroughThePathFormsAndClosesAtTheTop) {
    signInBeforeLaunch();
    fake.addFile("/top.mp3", "t");
    fake.addFile("/Music/song.mp3", "s");
    fake.addFile("/Music/Live/encore.mp3", "e");
    open();
    EXPECT_EQ(browser->currentPath(), "");
    EXPECT_EQ(rowNames(*browser), (QStringList{"Music", "top.mp3"}));

    struct Step {
        std::function<void()> act;
        QString path;
        QStringList rows;
        bool back;
    };
    const Step steps[] = {
        {[&] { into("Music"); }, "/Music/", {"Live", "song.mp3"}, false},
        {[&] { into("Live"); }, "/Music//Live/", {"encore.mp3"}, false},
        {[&] { back(); }, "/Music/", {"Live", "song.mp3"}, true},
        {[&] { back(); }, "//", {"Music", "top.mp3"}, true},
    };
    for (const Step& step : steps) {
        SCOPED_TRACE(step.path.toStdString());
        step.act();
        EXPECT_EQ(browser->currentPath(), step.path);
        EXPECT_EQ(rowNames(*browser), step.rows);
        EXPECT_EQ(browser->goingBack(), step.back);
        EXPECT_EQ(ProgressHUD::shared().isVisible(), false);
    }
    // "//" is one more level: back from there closes the screen.
    browser->didClickBack();
    EXPECT_EQ(root->presentedViewController(), nullptr);
    EXPECT_EQ(fake.count("/2/files/list_folder"), 5);
}

TEST_F(BrowserTest, FailedListingKeepsTheRowsButMovesThePath) {
    signInBeforeLaunch();
    fake.addFile("/Music/song.mp3", "s");
    fake.addFile("/Music/Music/deeper.mp3", "d");
    fake.addFile("/loose.mp3", "l");
    open();
    QSignalSpy removed(browser->model(), &QAbstractItemModel::rowsRemoved);
    fake.failOnce("/2/files/list_folder", {400, "bad request", {}, -1});
    into("Music");
    EXPECT_EQ(ProgressHUD::shared().type(), ProgressHUDType::error);
    EXPECT_EQ(browser->currentPath(), "/Music/");
    EXPECT_EQ(rowNames(*browser), (QStringList{"Music", "loose.mp3"}));
    EXPECT_EQ(removed.count(), 0);
    EXPECT_TRUE(browser->downloadAllButtonHidden()) << "stays hidden after a failure";
    // The next step goes from the path the failed one reached.
    into("Music");
    EXPECT_EQ(browser->currentPath(), "/Music//Music/");
    EXPECT_EQ(rowNames(*browser), (QStringList{"deeper.mp3"}));
}

TEST_F(BrowserTest, SignedOutListingShowsTheErrorAndTapsOnFilesDoNothing) {
    open();
    EXPECT_EQ(ProgressHUD::shared().type(), ProgressHUDType::error);
    EXPECT_TRUE(browser->files().empty());

    browser->showFiles(entries({"a.mp3", "Folder"}), false);
    const int requests = fake.count("/2/files/list_folder");
    browser->didSelectRow(rowOf(*browser, "a.mp3"));
    browser->didSelectRow(99);
    EXPECT_FALSE(ProgressHUD::shared().isVisible() &&
                 ProgressHUD::shared().type() == ProgressHUDType::loading);
    EXPECT_EQ(fake.count("/2/files/list_folder"), requests);
}

TEST(CloudBrowserRows, FoldersComeFirstReversedAndFilesKeepTheListingOrder) {
    struct Case {
        QStringList listing;
        QStringList shown;
    };
    const Case cases[] = {
        {{"b.mp3", "A", "a.mp3", "B", "C", "c.mp3"}, {"C", "B", "A", "b.mp3", "a.mp3", "c.mp3"}},
        {{"z.mp3", "y.mp3"}, {"z.mp3", "y.mp3"}},
        {{"One", "Two"}, {"Two", "One"}},
        {{}, {}},
    };
    DropboxViewController browser;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.listing.join(",").toStdString());
        browser.showFiles(entries(c.listing), false);
        EXPECT_EQ(rowNames(browser), c.shown);
    }
}

TEST(CloudBrowserRows, DownloadAllButtonShowsOnlyWhileAFileCanStillBeFetched) {
    DownloadManager& books = DownloadManager::shared();
    books.downloadedTasks.insert("/fetched.mp3", "fetched.mp3");
    books.downloadTasks.insert("/coming.mp3", {});
    struct Case {
        const char* what;
        QStringList listing;
        bool hidden;
    };
    const Case cases[] = {
        {"an empty folder", {}, true},
        {"folders only", {"A", "B"}, true},
        {"every file fetched or on its way", {"A", "fetched.mp3", "coming.mp3"}, true},
        {"a file left", {"fetched.mp3", "new.mp3"}, false},
    };
    DropboxViewController browser;
    browser.setDownloadAllButtonHeight(50);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        browser.showFiles(entries(c.listing), false);
        EXPECT_EQ(browser.downloadAllButtonHidden(), c.hidden);
        EXPECT_EQ(browser.bottomInset(), c.hidden ? 0 : 70);
    }
    books.downloadTasks.clear();
}

TEST(CloudBrowserRows, PathOneLevelUp) {
    const std::pair<QString, std::optional<QString>> cases[] = {
        {"/Music/", "//"},    {"/Music//Live/", "/Music/"}, {"/a/b/c", "/a/b/"},
        {"//", std::nullopt}, {"", std::nullopt},
    };
    for (const auto& [path, parent] : cases) {
        EXPECT_EQ(DropboxViewController::parentPath(path), parent) << path.toStdString();
    }
}

TEST(FileCells, ChangeRulesAndNotificationMatching) {
    DownloadManager& books = DownloadManager::shared();
    const CloudFile mine{"/music/mine.mp3", "mine.mp3", Source::dropbox};
    const CloudFile other{"/music/other.mp3", "other.mp3", Source::dropbox};
    FileCell cell;
    cell.setFile(mine);
    EXPECT_EQ(cell.name(), "mine.mp3");
    EXPECT_EQ(cell.downloadState(), FileCell::DownloadState::toDownload);

    books.downloadedTasks.insert(mine.id, "mine.mp3");
    const auto post = [](std::optional<CloudFile> file) {
        QVariantMap info;
        if (file) {
            info.insert(DownloadManager::fileUserInfoKey, QVariant::fromValue(*file));
        }
        NotificationCenter::defaultCenter().post(DownloadManager::statusDidChangeNotification,
                                                 nullptr, info);
    };
    post(other);
    EXPECT_EQ(cell.downloadState(), FileCell::DownloadState::toDownload) << "another file's";
    // The source is not compared; a name that differs is another file.
    post(CloudFile{mine.id, "renamed.mp3", Source::dropbox});
    EXPECT_EQ(cell.downloadState(), FileCell::DownloadState::toDownload);
    post(CloudFile{mine.id, mine.name, std::nullopt});
    EXPECT_EQ(cell.downloadState(), FileCell::DownloadState::downloaded);

    books.downloadedTasks.clear();
    books.downloadTasks.insert(mine.id, TransferProgress{1, 4});
    post(std::nullopt);
    EXPECT_EQ(cell.downloadState(), FileCell::DownloadState::readyToDownload);
    EXPECT_DOUBLE_EQ(cell.downloadPercent(), 0.25);
    books.downloadTasks.clear();

    // Given the same file again (a reused row), the row is left as it is;
    // nothing at all leaves it too; a new file refreshes it at once.
    cell.setFile(mine);
    cell.setFile(std::nullopt);
    EXPECT_EQ(cell.downloadState(), FileCell::DownloadState::readyToDownload);
    EXPECT_EQ(cell.name(), "mine.mp3");
    cell.setFile(other);
    EXPECT_EQ(cell.name(), "other.mp3");
    EXPECT_EQ(cell.downloadState(), FileCell::DownloadState::toDownload);

    FolderCell folderCell;
    folderCell.setFolder(Folder{{}, "Live"});
    folderCell.setFolder(std::nullopt);
    EXPECT_EQ(folderCell.name(), "Live");
    EXPECT_EQ(FileCell::rawText(FileCell::DownloadState::readyToDownload), "readyToDownload");
}

TEST_F(BrowserTest, ButtonGoesThroughAWholeDownloadAndACancel) {
    signInBeforeLaunch();
    const qint64 size = 256 * 1024;
    fake.addGeneratedFile("/Music/long.mp3", size);
    fake.addGeneratedFile("/Music/other.mp3", size);
    fake.setSlowTransfer(16 * 1024, 20);
    open();
    into("Music");
    FileCell cell;
    FileCell otherCell;
    browser->configureCell(nullptr, &cell, rowOf(*browser, "long.mp3"));
    browser->configureCell(nullptr, &otherCell, rowOf(*browser, "other.mp3"));
    EXPECT_EQ(browser->visibleCells().size(), 2);
    EXPECT_FALSE(browser->downloadAllButtonHidden());

    QList<FileCell::DownloadState> seen;
    QObject::connect(&cell, &FileCell::buttonChanged, [&] {
        if (seen.isEmpty() || seen.last() != cell.downloadState()) {
            seen.append(cell.downloadState());
        }
    });
    cell.didClickDownload();
    EXPECT_EQ(cell.downloadState(), FileCell::DownloadState::willDownload);
    cell.didClickDownload();  // ignored while it gets going
    EXPECT_EQ(DownloadManager::shared().downloadTasks.size(), 1);
    ASSERT_TRUE(waitUntil(
        [&] { return cell.downloadState() == FileCell::DownloadState::downloaded; }, 15000));
    EXPECT_EQ(seen.first(), FileCell::DownloadState::willDownload);
    EXPECT_TRUE(seen.contains(FileCell::DownloadState::readyToDownload));
    EXPECT_EQ(readFile(downloadedMusicDirectory() + "/long.mp3"), FakeDropbox::patternBytes(size));
    // A tap on a fetched file changes nothing.
    cell.didClickDownload();
    EXPECT_EQ(cell.downloadState(), FileCell::DownloadState::downloaded);

    // The other file: cancelled under way, back to its start, no file left.
    otherCell.didClickDownload();
    ASSERT_TRUE(waitUntil(
        [&] { return otherCell.downloadState() == FileCell::DownloadState::readyToDownload; }));
    EXPECT_TRUE(browser->downloadAllButtonHidden());
    otherCell.didClickDownload();
    EXPECT_EQ(otherCell.downloadState(), FileCell::DownloadState::toDownload);
    EXPECT_FALSE(browser->downloadAllButtonHidden());
    settle();
    EXPECT_EQ(otherCell.downloadState(), FileCell::DownloadState::toDownload);
    EXPECT_EQ(musicFolderContents(), (QStringList{"long.mp3"}));
}

TEST_F(BrowserTest, DownloadAllStartsEveryFileLeftAtOnce) {
    signInBeforeLaunch();
    for (const char* name : {"/a.mp3", "/b.mp3", "/c.mp3"}) {
        fake.addFile(name, QByteArray(name));
    }
    fake.addFile("/Sub/deep.mp3", "d");
    open();
    FileCell cell;
    browser->configureCell(nullptr, &cell, rowOf(*browser, "b.mp3"));
    browser->didClickDownloadAll();
    EXPECT_EQ(cell.downloadState(), FileCell::DownloadState::willDownload);
    EXPECT_EQ(DownloadManager::shared().downloadTasks.size(), 3);
    EXPECT_TRUE(browser->downloadAllButtonHidden());
    ASSERT_TRUE(waitUntil([&] { return DownloadManager::shared().downloadedTasks.size() == 3; }));
    EXPECT_EQ(musicFolderContents(), (QStringList{"a.mp3", "b.mp3", "c.mp3"}));
    EXPECT_EQ(cell.downloadState(), FileCell::DownloadState::downloaded);
}

TEST_F(BrowserTest, DroppedConnectionIsToldAndLeavesNoPartialFile) {
    signInBeforeLaunch();
    fake.addGeneratedFile("/cut.mp3", 4 * 1024 * 1024);
    open();
    FileCell cell;
    browser->configureCell(nullptr, &cell, rowOf(*browser, "cut.mp3"));
    fake.dropNextDownloadAfter(512 * 1024);
    cell.didClickDownload();
    ASSERT_TRUE(
        waitUntil([&] { return ProgressHUD::shared().type() == ProgressHUDType::error; }, 15000));
    EXPECT_EQ(ProgressHUD::shared().textValue(), "cut.mp3 could not be downloaded.");
    EXPECT_EQ(cell.downloadState(), FileCell::DownloadState::toDownload);
    EXPECT_TRUE(musicFolderContents().isEmpty());
}
