#include <gtest/gtest.h>

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QImage>
#include <cmath>

#include "AlbumsViewController.h"
#include "AlertController.h"
#include "AppDirectories.h"
#include "ArtistsViewController.h"
#include "Bundles.h"
#include "CollectionFixtures.h"
#include "ListScreenFixtures.h"
#include "NavigationController.h"
#include "OfflineAudioOutput.h"
#include "PlaybackManager.h"
#include "PlaylistCell.h"
#include "PlaylistViewController.h"
#include "PlaylistsManager.h"
#include "ProgressHUD.h"
#include "TestSupport.h"
#include "ThumbnailCache.h"
#include "TrackCell.h"
#include "TracksViewController.h"

namespace {

QByteArray jpeg(QColor colour, int side = 1000) {
    QImage image(side, side, QImage::Format_RGB32);
    image.fill(colour);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPEG", 80);
    return bytes;
}

class ListScreens : public ::testing::Test {
protected:
    void SetUp() override {
        registerBundles();
        library = std::make_shared<FakeLibrarySource>();
        manager = std::make_unique<MediaLibraryManager>(library);
    }

    void loadLibrary() {
        bool loaded = false;
        manager->loadTracks(false, [&](QList<TrackPtr>, QList<TrackPtr>) { loaded = true; });
        ASSERT_TRUE(waitUntil([&] { return loaded; }));
    }

    std::shared_ptr<FakeLibrarySource> library;
    std::unique_ptr<MediaLibraryManager> manager;
    PlaybackManager playback{std::make_unique<OfflineAudioOutput>()};
};

TEST(TrackCellText, DurationShowsHoursFromAnHourOn) {
    const QList<std::pair<double, QString>> cases = {
        {0, "00:00"},       {59.4, "00:59"},          {187, "03:07"},        {3599, "59:59"},
        {3600, "01:00:00"}, {36000 + 61, "10:01:01"}, {std::nan(""), "nan"}, {-1, "-1"},
    };
    for (const auto& [seconds, text] : cases) {
        EXPECT_EQ(TrackCell::durationText(seconds), text) << seconds;
    }
    EXPECT_EQ(TrackCell::infoText(*makeTrack("t", "Artist", "Album")), "Album - Artist");
}

// A new name reaches a cell only with another playlist.
TEST(PlaylistCellName, KeptWhileTheIdStays) {
    PlaylistCell cell;
    cell.setPlaylist("1", "Old");
    cell.setPlaylist("1", "New");
    EXPECT_EQ(cell.name(), "Old");
    cell.setPlaylist("2", "Other");
    EXPECT_EQ(cell.name(), "Other");
    cell.setPlaylist("", "x");
    EXPECT_EQ(cell.name(), "");
}

// Covers are kept at most twice the row's size, one image for equal bytes; a
// library item without artwork is asked once, not on every turn.
TEST(Thumbnails, SmallSharedAndAskedOnce) {
    const QByteArray red = jpeg(Qt::red);
    addMusicFile("a.wav", {.frontCover = red});
    addMusicFile("b.wav", {.frontCover = red});
    addMusicFile("c.wav", {.frontCover = jpeg(Qt::blue, 300)});
    addMusicFile("d.wav", {});
    addMusicFile("e.wav", {.frontCover = QByteArray("not a picture")});
    const QString music = downloadedMusicDirectory();
    ThumbnailCache& cache = ThumbnailCache::shared();
    const TrackPtr a = Track::fromFile("a.wav", music);
    const TrackPtr b = Track::fromFile("b.wav", music);
    const TrackPtr c = Track::fromFile("c.wav", music);
    const std::optional<QImage> first = cache.load(a);
    const std::optional<QImage> second = cache.load(b);
    ASSERT_TRUE(first && second);
    EXPECT_EQ(first->size(), QSize(ThumbnailCache::kMaxPixels, ThumbnailCache::kMaxPixels));
    EXPECT_EQ(first->cacheKey(), second->cacheKey());
    EXPECT_LE(cache.load(c)->width(), ThumbnailCache::kMaxPixels);
    EXPECT_EQ(cache.distinctImages(), 2);
    EXPECT_FALSE(cache.load(Track::fromFile("d.wav", music)));
    EXPECT_FALSE(cache.load(Track::fromFile("e.wav", music)));
    EXPECT_EQ(cache.trackFor(cache.keyFor(a)), a);
    EXPECT_EQ(cache.trackFor("nonsense"), nullptr);

    int asked = 0;
    MediaItem item = librarySong(1, "x");
    item.artwork = [&asked](QSize) {
        ++asked;
        return QImage();
    };
    const TrackPtr bare = Track::fromMediaItem(item);
    for (int turn = 0; turn < 5; ++turn) {
        EXPECT_FALSE(cache.load(bare));
    }
    EXPECT_EQ(asked, 1);
}

// Files group by tag text in listing order; the library by id, low to high.
TEST_F(ListScreens, AlbumsAndArtistsGroupAndOpenTheirTracks) {
    addMusicFile("1.wav", {.title = "One", .album = "Same", .artist = "First"});
    addMusicFile("2.wav", {.title = "Two", .album = "Same", .artist = "Second"});
    addMusicFile("3.wav", {.title = "Three", .album = "Other", .artist = "First"});
    NavigationController navigation(new AlbumsViewController);
    auto& albums = *qobject_cast<AlbumsViewController*>(navigation.topViewController());
    ModelWatch watch(albums.model());
    albums.viewDidAppear(false);
    ASSERT_TRUE(waitUntil([&] { return albums.model()->rowCount() == 2; }));
    EXPECT_TRUE(albums.searchVisible());
    QStringList names = column(*albums.model(), AlbumsViewController::NameRole);
    names.sort();
    EXPECT_EQ(names, QStringList({"Other", "Same"}));
    // Albums from files all have id 0: a search whose result has as many rows
    // counts as unchanged, and the rows stay.
    albums.didChangeSearchText("oth");
    watch.clear();
    albums.didChangeSearchText("sa");
    EXPECT_EQ(watch.reloads(), 0);
    EXPECT_EQ(column(*albums.model(), AlbumsViewController::NameRole), QStringList({"Other"}));
    albums.didChangeSearchText("");
    watch.clear();
    albums.didClickSort(2);
    EXPECT_EQ(watch.reloads(), 0) << "no sort changes nothing but the buttons";
    albums.viewDidDisappear(false);
    EXPECT_FALSE(albums.searchVisible());

    const int same = column(*albums.model(), AlbumsViewController::NameRole).indexOf("Same");
    albums.didSelectRow(same);
    auto* tracks = qobject_cast<TracksViewController*>(navigation.topViewController());
    ASSERT_NE(tracks, nullptr);
    ASSERT_TRUE(tracks->album());
    EXPECT_EQ(tracks->album()->name, "Same");

    library->items = {librarySong(1, "a", 7, 20), librarySong(2, "b", 7, 21),
                      librarySong(3, "c", 8, 20)};
    ArtistsViewController artists;
    artists.setMediaLibrary(true);
    artists.setMediaLibraryManager(manager.get());
    artists.viewDidAppear(false);
    ASSERT_TRUE(waitUntil([&] { return artists.model()->rowCount() == 2; }));
    EXPECT_EQ(column(*artists.model(), ArtistsViewController::NameRole),
              QStringList({"Artist 7", "Artist 8"}));
}

// A user's playlist plays high to low, a library playlist low to high; an
// empty or unloaded one plays nothing.
TEST_F(ListScreens, PlaylistTapPlaysWithTheDeliberateAsymmetry) {
    addMusicFile("a.wav", {.title = "Alpha"});
    addMusicFile("b.wav", {.title = "Bravo"});
    PlaylistsManager::shared().savePlaylist(
        Playlist{Playlist::newId(), "Mine", {"a.wav", "b.wav", "gone.wav"}, false}, false);
    PlaylistsManager::shared().savePlaylist(Playlist{Playlist::newId(), "Gone", {"x.wav"}, false},
                                            false);
    PlaylistViewController files;
    files.setPlaybackManager(&playback);
    files.loadViewIfNeeded();
    EXPECT_EQ(column(*files.model(), PlaylistViewController::NameRole),
              QStringList({"Gone", "Mine"}));
    files.didSelectRow(0);
    EXPECT_EQ(files.presentedViewController(), nullptr) << "nothing to play, nothing shown";
    QueueWatch queue(playback);
    files.didSelectRow(1);
    EXPECT_EQ(queue.handed, QStringList({"Bravo", "Alpha"}));
    ASSERT_NE(files.presentedViewController(), nullptr);
    files.dismissViewController(false);

    library->items = {librarySong(1, "Alpha"), librarySong(2, "Bravo"), librarySong(3, "Other")};
    library->lists = {MediaPlaylist{50, QStringLiteral("Lib"), {2, 1}}};
    PlaylistViewController lib;
    lib.setMediaLibrary(true);
    lib.setMediaLibraryManager(manager.get());
    lib.setPlaybackManager(&playback);
    lib.loadViewIfNeeded();
    ASSERT_TRUE(waitUntil([&] { return lib.model()->rowCount() == 1; }));
    EXPECT_FALSE(lib.addPlaylistButtonVisible());
    EXPECT_FALSE(lib.rowsEditable());
    lib.didSelectRow(0);
    EXPECT_EQ(lib.presentedViewController(), nullptr) << "the library's tracks are not loaded yet";
    loadLibrary();
    queue.clear();
    lib.didSelectRow(0);
    EXPECT_EQ(queue.handed, QStringList({"Alpha", "Bravo"}));
    lib.commitDelete(0);
    EXPECT_EQ(lib.model()->rowCount(), 1);
}

TEST_F(ListScreens, PlaylistsAreCreatedEditedAndDeleted) {
    NavigationController navigation(new PlaylistViewController);
    auto& screen = *qobject_cast<PlaylistViewController*>(navigation.topViewController());
    screen.loadViewIfNeeded();
    ModelWatch watch(screen.model());
    EXPECT_TRUE(screen.addPlaylistButtonVisible());
    for (const QString& name : {QString(), QStringLiteral("Twin"), QStringLiteral("Twin")}) {
        screen.didClickAddPlaylist();
        auto* alert = qobject_cast<AlertController*>(screen.presentedViewController());
        ASSERT_NE(alert, nullptr);
        alert->firstTextField()->setText(name);
        alert->didSelectAction(0);
    }
    EXPECT_EQ(column(*screen.model(), PlaylistViewController::NameRole),
              QStringList({"Twin", "Twin"}));

    screen.didClickEdit(1);
    auto* tracks = qobject_cast<TracksViewController*>(navigation.topViewController());
    ASSERT_NE(tracks, nullptr);
    EXPECT_EQ(tracks->playlist()->id, screen.playlists().at(1).id);

    // A playlist file that cannot be removed stays, and the error shows.
    const QString stuck = screen.playlists().at(0).id;
    QFile::remove(QDir(playlistsDirectory()).filePath(stuck));
    QDir().mkpath(QDir(playlistsDirectory()).filePath(stuck + "/inside"));
    screen.commitDelete(0);
    EXPECT_EQ(screen.model()->rowCount(), 2);
    EXPECT_EQ(ProgressHUD::shared().type(), ProgressHUDType::error);
    screen.commitDelete(1);
    EXPECT_EQ(column(*screen.model(), PlaylistViewController::IdRole), QStringList({stuck}));
}

}  // namespace
