#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QPointer>
#include <QSignalSpy>

#include "AlertController.h"
#include "AppDirectories.h"
#include "Bundles.h"
#include "CollectionFixtures.h"
#include "ListScreenFixtures.h"
#include "OfflineAudioOutput.h"
#include "PlaybackManager.h"
#include "PlaylistsManager.h"
#include "ProgressHUD.h"
#include "Storyboard.h"
#include "TestSupport.h"
#include "TracksViewController.h"
#include "UploadRecord.h"
#include "UserDefaults.h"

namespace {

QStringList titles(const TracksViewController& screen) {
    return column(*screen.model(), TracksViewController::TitleRole);
}

// A screen as its creator sets it up, shown once.
class TracksScreen : public ::testing::Test {
protected:
    void SetUp() override {
        registerBundles();
        library = std::make_shared<FakeLibrarySource>();
        manager = std::make_unique<MediaLibraryManager>(library);
    }

    std::unique_ptr<TracksViewController> make(bool mediaLibrary = false) {
        auto screen = std::make_unique<TracksViewController>();
        screen->setMediaLibrary(mediaLibrary);
        screen->setMediaLibraryManager(manager.get());
        screen->setPlaybackManager(&playback);
        return screen;
    }

    // viewDidLoad and viewDidAppear, then the load and its thumbnail pass.
    static void show(TracksViewController& screen) {
        screen.loadViewIfNeeded();
        screen.viewDidAppear(false);
        ASSERT_TRUE(waitUntil([&] { return !screen.loadingTracks(); }));
    }

    std::shared_ptr<FakeLibrarySource> library;
    std::unique_ptr<MediaLibraryManager> manager;
    PlaybackManager playback{std::make_unique<OfflineAudioOutput>()};
};

// Files under "NORMAL" show by lower-cased file name, whatever their titles.
TEST_F(TracksScreen, SortAndSearchFollowTheThreeStateRules) {
    auto screen = make();
    ModelWatch watch(screen->model());
    screen->finishLoading(
        {makeTrack("b title", "A", "B", "C.wav"), makeTrack("c title", "A", "B", "a.wav"),
         makeTrack("a title", "A", "B", "b.wav"), makeTrack("Notitle", "A", "B", "d.wav")});
    EXPECT_EQ(titles(*screen), QStringList({"c title", "a title", "b title", "Notitle"}));

    // A space is a search text of its own.
    screen->didChangeSearchText(" ");
    EXPECT_EQ(titles(*screen), QStringList({"a title", "b title", "c title"}));
    // The same result again: no reload.
    watch.clear();
    screen->didChangeSearchText(" ");
    EXPECT_EQ(watch.reloads(), 0);
    // Clearing under NORMAL reloads even when nothing changes.
    screen->didChangeSearchText("");
    screen->didChangeSearchText("");
    EXPECT_EQ(watch.sections.count(), 2);

    // Ascending drops an active search on screen and shows all, low to high.
    screen->didChangeSearchText("title");
    screen->didClickSort(0);
    EXPECT_EQ(titles(*screen), QStringList({"Notitle", "a title", "b title", "c title"}));
    EXPECT_EQ(screen->activeSortButton(), 0);
    watch.clear();
    screen->didChangeSearchText("");
    EXPECT_EQ(watch.reloads(), 0) << "ASC with the list unchanged does not reload";

    // Descending, then leaving and coming back, then clearing a search: the
    // rows run low to high although the button says descending.
    screen->didClickSort(1);
    EXPECT_EQ(titles(*screen), QStringList({"c title", "b title", "a title", "Notitle"}));
    screen->viewDidAppear(false);
    screen->didChangeSearchText("x");
    screen->didChangeSearchText("");
    EXPECT_EQ(titles(*screen), QStringList({"Notitle", "a title", "b title", "c title"}));
    EXPECT_EQ(screen->sortTypeValue(), 1);

    // None: tracks by album track number (all absent: the order stays).
    screen->didClickSort(2);
    EXPECT_EQ(screen->activeSortButton(), 2);
    EXPECT_EQ(screen->sortTypeValue(), 2);
}

TEST_F(TracksScreen, EmptyAndSingleListsGoThroughEveryPath) {
    for (const QList<TrackPtr>& tracks : {QList<TrackPtr>{}, QList<TrackPtr>{makeTrack("one")}}) {
        auto screen = make();
        ModelWatch watch(screen->model());
        screen->finishLoading(tracks);
        for (int button : {0, 1, 2, 7, -1}) {
            screen->didClickSort(button);
            screen->didChangeSearchText("o");
            screen->didChangeSearchText("");
        }
        screen->didSelectRow(5);
        screen->commitDelete(3);
        EXPECT_EQ(screen->model()->rowCount(), tracks.size());
    }
}

// Each library mode takes its own slice of the library, low to high.
TEST_F(TracksScreen, LibraryModesTakeTheirTracks) {
    library->items = {librarySong(1, "Delta", 1, 10, 2), librarySong(2, "Alpha", 1, 11, 1),
                      librarySong(3, "Charlie", 2, 10, 3), librarySong(4, "Bravo", 2, 12)};
    struct Case {
        const char* name;
        std::function<void(TracksViewController&)> setUp;
        QStringList rows;
    };
    const QList<Case> cases = {
        {"all", [](TracksViewController&) {}, {"Bravo", "Alpha", "Delta", "Charlie"}},
        {"artist",
         [](TracksViewController& s) {
             s.setArtist(Artist{2, "x", {}, {}});
         },
         {"Bravo", "Charlie"}},
        {"album",
         [](TracksViewController& s) {
             s.setAlbum(Album{10, "a", "x", {}, {}});
         },
         {"Delta", "Charlie"}},
        {"playlist",
         [](TracksViewController& s) {
             s.setPlaylist(Playlist{"9", "P", {"2", "4"}, true});
         },
         {"Bravo", "Alpha"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        auto screen = make(true);
        c.setUp(*screen);
        show(*screen);
        // Under NORMAL library tracks show by track number.
        EXPECT_EQ(titles(*screen), c.rows);
        EXPECT_FALSE(screen->rowsEditable());
        EXPECT_FALSE(screen->playlistControlsVisible());
        screen->didClickSort(0);
        QStringList sorted = c.rows;
        std::sort(sorted.begin(), sorted.end());
        EXPECT_EQ(titles(*screen), sorted);
    }
}

// A load asked for during a load runs once more, and then the screen rests:
// the progress display goes and later loads do not chain.
TEST_F(TracksScreen, ALoadDuringALoadRunsOnceMore) {
    library->items = {librarySong(1, "Only")};
    for (bool mediaLibrary : {true, false}) {
        SCOPED_TRACE(mediaLibrary);
        addMusicFile("one.wav", {.title = "One"});
        auto screen = make(mediaLibrary);
        screen->loadViewIfNeeded();
        screen->viewDidAppear(false);
        EXPECT_TRUE(screen->loadingTracks());
        screen->loadTracks();
        EXPECT_TRUE(screen->pendingReload());
        ASSERT_TRUE(waitUntil([&] { return !screen->loadingTracks(); }));
        EXPECT_FALSE(screen->pendingReload());
        EXPECT_TRUE(waitUntil([] { return !ProgressHUD::shared().isVisible(); }));
        EXPECT_EQ(titles(*screen), QStringList({mediaLibrary ? "Only" : "One"}));
    }
}

TEST_F(TracksScreen, FileModesTakeTheirFilesAndKeepTheirObjects) {
    addMusicFile("a.wav", {.title = "A", .album = "Sky", .artist = "Zed"});
    addMusicFile("b.wav", {.title = "B", .album = "Sea", .artist = "Zed"});
    addMusicFile("c.wav", {.title = "C", .album = "Sky", .artist = "Yan"});
    const Playlist road{Playlist::newId(), "Road", {"b.wav", "gone.wav"}, false};
    PlaylistsManager::shared().savePlaylist(road, false);

    auto all = make();
    show(*all);
    EXPECT_EQ(titles(*all), QStringList({"A", "B", "C"}));
    EXPECT_TRUE(all->searchVisible());
    const TrackPtr first = all->items().first();
    addMusicFile("d.wav", {.title = "D"});
    QFile::remove(QDir(downloadedMusicDirectory()).filePath("b.wav"));
    show(*all);
    EXPECT_EQ(titles(*all), QStringList({"A", "C", "D"}));
    EXPECT_EQ(all->items().first(), first) << "a file screen keeps its track objects";
    addMusicFile("b.wav", {.title = "B", .album = "Sea", .artist = "Zed"});

    auto artist = make();
    artist->setArtist(Artist{0, "Zed", {}, {}});
    show(*artist);
    EXPECT_EQ(titles(*artist), QStringList({"A", "B"}));
    EXPECT_FALSE(artist->searchVisible());
    EXPECT_EQ(artist->title(), "Zed");
    const TrackPtr artistFirst = artist->items().first();
    show(*artist);
    EXPECT_NE(artist->items().first(), artistFirst) << "an artist list is rebuilt each load";

    auto album = make();
    album->setAlbum(Album{0, "Zed", "Sky", {}, {}});
    show(*album);
    EXPECT_EQ(titles(*album), QStringList({"A", "C"}));

    // A playlist lists its files and, on finishing, forgets names of files
    // that are gone; a picker lists the others and leaves the names alone.
    auto picker = make();
    picker->setPlaylist(road);
    picker->setAddToPlaylist(true);
    show(*picker);
    EXPECT_EQ(titles(*picker), QStringList({"A", "C", "D"}));
    EXPECT_TRUE(picker->searchVisible());
    EXPECT_TRUE(PlaylistsManager::shared().playlist(road.id)->fileNames.contains("gone.wav"));

    auto playlist = make();
    playlist->setPlaylist(road);
    show(*playlist);
    EXPECT_EQ(titles(*playlist), QStringList({"B"}));
    EXPECT_TRUE(playlist->playlistControlsVisible());
    EXPECT_FALSE(playlist->searchVisible());
    EXPECT_EQ(PlaylistsManager::shared().playlist(road.id)->fileNames, QSet<QString>({"b.wav"}));
}

// A tap queues what the list shows, search and sort included.
TEST_F(TracksScreen, ATapPlaysTheRowsOnShow) {
    auto screen = make();
    screen->finishLoading({makeTrack("Alpha"), makeTrack("Beta"), makeTrack("Gamma")});
    screen->didChangeSearchText("a");
    screen->didClickSort(1);
    screen->didChangeSearchText("m");
    QueueWatch queue(playback);
    screen->didSelectRow(0);
    EXPECT_EQ(queue.handed, QStringList({"Gamma"}));
    EXPECT_EQ(queue.index, 0);
    ASSERT_NE(screen->presentedViewController(), nullptr);
    EXPECT_EQ(screen->presentedViewController()->modalPresentationStyle(),
              ModalPresentationStyle::overFullScreen);
    screen->dismissViewController(false);

    // Cleared: the button's own sort shows again, high to low.
    screen->didChangeSearchText("");
    queue.clear();
    screen->didSelectRow(2);
    EXPECT_EQ(queue.handed, QStringList({"Gamma", "Beta", "Alpha"}));
    EXPECT_EQ(queue.index, 2);
    screen->dismissViewController(false);
    queue.clear();
    screen->didSelectRow(9);
    EXPECT_EQ(queue.index, 0);
}

// Delete: the upload record first, then the playlist or the file; a failed
// file delete shows the error and leaves the list alone.
TEST_F(TracksScreen, DeleteRemovesRecordThenPlaylistEntryOrFile) {
    addMusicFile("keep.wav", {.title = "Keep"});
    addMusicFile("drop.wav", {.title = "Drop"});
    addMusicFile("other.wav", {.title = "Other"});
    UserDefaults::standard().setData(UploadRecord::encode({{{"name", "keep.wav"}, {"size", "1"}},
                                                           {{"name", "drop.wav"}, {"size", "1"}},
                                                           {{"name", "gone.wav"}, {"size", "1"}}}),
                                     kUploadedFilesWithSizeKey);
    const Playlist list{Playlist::newId(), "L", {"keep.wav", "drop.wav"}, false};
    PlaylistsManager::shared().savePlaylist(list, false);
    const QDir music(downloadedMusicDirectory());

    auto playlist = make();
    playlist->setPlaylist(list);
    show(*playlist);
    ModelWatch watch(playlist->model());
    playlist->commitDelete(titles(*playlist).indexOf("Keep"));
    EXPECT_TRUE(music.exists("keep.wav")) << "out of the playlist only";
    EXPECT_EQ(PlaylistsManager::shared().playlist(list.id)->fileNames, QSet<QString>({"drop.wav"}));
    EXPECT_EQ(titles(*playlist), QStringList({"Drop"}));
    EXPECT_EQ(watch.data.count(), 1);

    auto all = make();
    show(*all);
    all->commitDelete(titles(*all).indexOf("Drop"));
    EXPECT_FALSE(music.exists("drop.wav"));
    EXPECT_EQ(titles(*all), QStringList({"Keep", "Other"}));
    const std::optional<QList<UploadEntry>> record = UploadRecord::read();
    ASSERT_TRUE(record);
    EXPECT_EQ(record->size(), 1);

    // The file went behind the list's back: the delete fails and says so.
    ASSERT_TRUE(QFile::remove(music.filePath("other.wav")));
    all->commitDelete(titles(*all).indexOf("Other"));
    EXPECT_EQ(titles(*all), QStringList({"Keep", "Other"}));
    EXPECT_TRUE(ProgressHUD::shared().isVisible());
    EXPECT_EQ(ProgressHUD::shared().type(), ProgressHUDType::error);
}

// The picker takes the tapped row's position in `items`, saves, and closes
// after its first add, as the notification reloads it.
TEST_F(TracksScreen, PickerAddsByRowAndClosesAfterTheFirstAdd) {
    addMusicFile("a.wav", {.title = "A"});
    addMusicFile("b.wav", {.title = "B"});
    ViewController presenter;
    // Presented without a window, a screen loads and appears at once.
    const auto present = [&](const Playlist& playlist) {
        PlaylistsManager::shared().savePlaylist(playlist, false);
        auto* picker = make().release();
        picker->setPlaylist(playlist);
        picker->setAddToPlaylist(true);
        presenter.presentViewController(picker, false);
        QPointer<TracksViewController> alive(picker);
        EXPECT_TRUE(waitUntil([&] { return !alive || !alive->loadingTracks(); }));
        return alive;
    };

    // Row 0 of the rows on show, applied to all items: "A" leaves the list
    // while "B", the tapped one, is saved.
    QPointer<TracksViewController> searched = present(Playlist{Playlist::newId(), "S", {}, false});
    ASSERT_TRUE(searched);
    searched->didChangeSearchText("B");
    searched->didSelectRow(0);
    EXPECT_EQ(titlesOf(searched->items()), QStringList({"B"}));
    EXPECT_EQ(PlaylistsManager::shared().playlist(searched->playlist()->id)->fileNames,
              QSet<QString>({"b.wav"}));
    searched->dismissViewController(false);
    ASSERT_EQ(presenter.presentedViewController(), nullptr);

    QPointer<TracksViewController> picker = present(Playlist{Playlist::newId(), "E", {}, false});
    ASSERT_TRUE(picker);
    picker->didSelectRow(0);
    EXPECT_TRUE(waitUntil([&] { return presenter.presentedViewController() == nullptr; }))
        << "the reload finds nothing new and closes the picker with a file left";

    // A picker with every file already in the playlist closes at once.
    present(Playlist{Playlist::newId(), "F", {"a.wav", "b.wav"}, false});
    EXPECT_TRUE(waitUntil([&] { return presenter.presentedViewController() == nullptr; }));
}

TEST_F(TracksScreen, AddThroughTheSheetAndTheNewPlaylistAlert) {
    const Playlist road{Playlist::newId(), "Road", {}, false};
    PlaylistsManager::shared().savePlaylist(road, false);
    auto screen = make();
    screen->finishLoading({makeTrack("Song", "A", "B", "song.wav")});
    screen->didClickAddToPlaylist(0);
    auto* sheet = qobject_cast<AlertController*>(screen->presentedViewController());
    ASSERT_NE(sheet, nullptr);
    ASSERT_EQ(sheet->actions().size(), 3);
    EXPECT_EQ(sheet->actions()[0].title, "Road");
    sheet->didSelectAction(0);
    EXPECT_TRUE(PlaylistsManager::shared().playlist(road.id)->fileNames.contains("song.wav"));

    // "new playlist": an empty name makes nothing, a name makes one.
    for (const QString& name : {QString(), QStringLiteral("Fresh")}) {
        screen->didClickAddToPlaylist(0);
        qobject_cast<AlertController*>(screen->presentedViewController())->didSelectAction(1);
        auto* alert = qobject_cast<AlertController*>(screen->presentedViewController());
        ASSERT_NE(alert, nullptr);
        alert->firstTextField()->setText(name);
        alert->didSelectAction(0);
    }
    EXPECT_EQ(PlaylistsManager::shared().playlists().size(), 2);

    // Renaming takes an empty name as it stands.
    auto shown = make();
    shown->setPlaylist(road);
    shown->didClickName();
    auto* rename = qobject_cast<AlertController*>(shown->presentedViewController());
    ASSERT_NE(rename, nullptr);
    EXPECT_EQ(rename->firstTextField()->text(), "Road");
    rename->firstTextField()->setText("");
    rename->didSelectAction(0);
    EXPECT_EQ(PlaylistsManager::shared().playlist(road.id)->name, "");
}

// Every change reaches the rows as inserts, removals and changes in place,
// never as a reset (which makes the view build every row on show anew), and
// the rows always show what the list shows.
TEST_F(TracksScreen, RowsFollowEachChangeWithoutAReset) {
    const QList<TrackPtr> tracks = {
        makeTrack("Alpha", "A", "B", "e.wav"), makeTrack("Bravo", "A", "B", "d.wav"),
        makeTrack("Charlie", "A", "B", "c.wav"), makeTrack("Delta", "A", "B", "b.wav"),
        makeTrack("Echo", "A", "B", "a.wav")};
    auto screen = make();
    screen->setPlaylist(Playlist{Playlist::newId(), "P", {"c.wav"}, false});
    ModelWatch watch(screen->model());
    QSignalSpy resets(screen->model(), &QAbstractItemModel::modelReset);
    const QList<std::pair<const char*, std::function<void()>>> steps = {
        {"first load", [&] { screen->finishLoading(tracks.mid(0, 3)); }},
        {"more tracks", [&] { screen->finishLoading(tracks.mid(3)); }},
        {"search keeps the ends", [&] { screen->didChangeSearchText("a"); }},
        {"longer search", [&] { screen->didChangeSearchText("ha"); }},
        {"search of one", [&] { screen->didChangeSearchText("Echo"); }},
        {"cleared", [&] { screen->didChangeSearchText(""); }},
        {"ascending", [&] { screen->didClickSort(0); }},
        {"descending", [&] { screen->didClickSort(1); }},
        {"none", [&] { screen->didClickSort(2); }},
        {"search of nothing", [&] { screen->didChangeSearchText("zzz"); }},
        {"cleared again", [&] { screen->didChangeSearchText(""); }},
    };
    for (const auto& [name, step] : steps) {
        SCOPED_TRACE(name);
        step();
        EXPECT_EQ(titles(*screen), titlesOf(screen->filteredItems()));
        EXPECT_EQ(resets.count(), 0);
    }

    // A deleted row goes alone: the rows around it stay as they are.
    QSignalSpy removed(screen->model(), &QAbstractItemModel::rowsRemoved);
    QSignalSpy changed(screen->model(), &QAbstractItemModel::dataChanged);
    const int row = static_cast<int>(titles(*screen).indexOf("Charlie"));
    screen->commitDelete(row);
    ASSERT_EQ(removed.count(), 1);
    EXPECT_EQ(removed.first().at(1).toInt(), row);
    EXPECT_EQ(removed.first().at(2).toInt(), row);
    EXPECT_EQ(changed.count(), 0);
    EXPECT_EQ(titles(*screen), QStringList({"Echo", "Delta", "Bravo", "Alpha"}));
}

// A row deleted while a long scan still reads the folder stays deleted,
// though the scan read its file before it went.
TEST_F(TracksScreen, ARowDeletedDuringALongScanStaysDeleted) {
    const QDir music(downloadedMusicDirectory());
    addMusicFile("song-0000.wav", {.title = "Song"});
    const QByteArray bytes = readFile(music.filePath("song-0000.wav"));
    // More than one part of the scan, so that its rows show before it ends.
    constexpr int kFiles = 1100;
    for (int i = 1; i < kFiles; ++i) {
        writeFile(music.filePath(QStringLiteral("song-%1.wav").arg(i, 4, 10, QChar('0'))), bytes);
    }
    auto screen = make();
    ModelWatch watch(screen->model());
    screen->loadViewIfNeeded();
    screen->viewDidAppear(false);
    ASSERT_TRUE(waitUntil([&] { return screen->model()->rowCount() > 0; }, 30000));
    ASSERT_LT(screen->items().size(), kFiles) << "the scan ended before a row showed";
    const QString gone = screen->filteredItems().first()->fileName;
    screen->commitDelete(0);
    ASSERT_TRUE(waitUntil([&] { return !screen->loadingTracks(); }, 30000));
    EXPECT_FALSE(music.exists(gone));
    EXPECT_EQ(screen->model()->rowCount(), kFiles - 1);
    const auto named = [&](const TrackPtr& track) { return track->fileName == gone; };
    EXPECT_TRUE(std::none_of(screen->items().cbegin(), screen->items().cend(), named));
}

}  // namespace
