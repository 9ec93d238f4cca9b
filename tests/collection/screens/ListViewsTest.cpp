#include <gtest/gtest.h>

#include <QBuffer>
#include <QDir>
#include <QQuickItem>
#include <QQuickWindow>

#include "AlbumsViewController.h"
#include "AppDirectories.h"
#include "ArtistsViewController.h"
#include "CollectionFixtures.h"
#include "ListScreenFixtures.h"
#include "Localization.h"
#include "Navigation.h"
#include "NavigationController.h"
#include "OfflineAudioOutput.h"
#include "PlaybackManager.h"
#include "PlaylistViewController.h"
#include "PlaylistsManager.h"
#include "QuickTestHarness.h"
#include "Storyboard.h"
#include "TestSupport.h"
#include "TracksViewController.h"

namespace {

template <typename T>
T* screenOf(const char* bundle) {
    auto* screen = qobject_cast<T*>(Storyboard::storyboardWithName(QString::fromLatin1(bundle))
                                        .instantiateInitialViewController());
    EXPECT_NE(screen, nullptr) << bundle;
    return screen;
}

// Shows `screen` in a stack over the launched window.
void showInStack(ViewController* screen) {
    auto* stack = new NavigationController(screen);
    stack->setModalPresentationStyle(ModalPresentationStyle::fullScreen);
    Navigation::shared().rootViewController()->presentViewController(stack, false);
}

QByteArray coverOf(QColor colour) {
    QImage image(400, 400, QImage::Format_RGB32);
    image.fill(colour);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPEG");
    return bytes;
}

void addSongs() {
    addMusicFile("alpha.wav", {.title = "Alpha",
                               .album = "Morning",
                               .artist = "Ada",
                               .frontCover = coverOf(QColor(200, 80, 60))});
    addMusicFile("bravo.wav", {.title = "Bravo",
                               .album = "Morning",
                               .artist = "Ada",
                               .frontCover = coverOf(QColor(200, 80, 60))});
    addMusicFile("charlie.wav", {.title = "Charlie", .album = "Night", .artist = "Bo"});
}

TEST(ListViews, TracksSearchSortDeleteAddAndPlayWithRealEvents) {
    addSongs();
    QuickTestHarness ui;
    ui.launch();
    PlaybackManager playback(std::make_unique<OfflineAudioOutput>());
    auto* screen = screenOf<TracksViewController>("Tracks");
    screen->setPlaybackManager(&playback);
    showInStack(screen);
    ASSERT_NE(ui.waitFor("Charlie", 15000), nullptr);
    ASSERT_TRUE(waitUntil([&] { return !screen->loadingTracks(); }));
    ui.settle();
    ui.screenshot("tracks-files");

    // Typing searches at each key; Enter leaves the field for the list.
    ui.tap(Localization::text("search"));
    ui.type("ra");
    EXPECT_TRUE(waitUntil([&] { return !ui.isShown("Alpha") && ui.isShown("Bravo"); }));
    ui.screenshot("tracks-search");
    ui.key(Qt::Key_Return);
    QQuickItem* focused = ui.window()->activeFocusItem();
    EXPECT_NE(focused ? QuickTestHarness::accessibleName(focused) : QString(),
              Localization::text("search"));
    ui.tap(Localization::text("clear_search"));

    // Each sort button in turn.
    ui.tap(Localization::text("sort_descending"));
    EXPECT_EQ(titlesOf(screen->filteredItems()), QStringList({"Charlie", "Bravo", "Alpha"}));
    ui.tap(Localization::text("sort_ascending"));
    EXPECT_EQ(titlesOf(screen->filteredItems()), QStringList({"Alpha", "Bravo", "Charlie"}));
    ui.tap(Localization::text("sort_normal"));
    EXPECT_EQ(screen->activeSortButton(), 2);

    // A tap on a row queues the rows on show.
    ui.tap("Bravo");
    EXPECT_TRUE(waitUntil([&] { return playback.currentPlaylist().size() == 3; }));
    EXPECT_EQ(playback.currentIndex(), 1);
    ASSERT_NE(screen->presentedViewController(), nullptr);
    screen->dismissViewController(false);
    ui.settle();

    // Swiping a row open and tapping delete removes the file.
    QQuickItem* row = ui.waitFor("Charlie", 15000);
    ASSERT_NE(row, nullptr);
    const QPointF centre = QuickTestHarness::centreOf(row);
    ui.drag(centre + QPointF(120, 0), centre - QPointF(120, 0));
    ui.settle();
    ui.tap(Localization::text("delete"));
    EXPECT_TRUE(waitUntil([] { return !QDir(downloadedMusicDirectory()).exists("charlie.wav"); }));
    EXPECT_TRUE(waitUntil([&] { return !ui.isShown("Charlie"); }));

    // The row's add button: the sheet, "new playlist", a typed name.
    ui.tap(Localization::text("add_to_playlist"));
    ui.tap(ui.waitFor(Localization::text("new_playlist")));
    ASSERT_NE(ui.waitFor(Localization::text("text_field")), nullptr);
    ui.tap(Localization::text("text_field"));
    ui.type("Road trip");
    ui.tap(Localization::text("ok"));
    EXPECT_TRUE(waitUntil([] { return PlaylistsManager::shared().playlists().size() == 1; }));
    EXPECT_EQ(PlaylistsManager::shared().playlists().begin()->name, "Road trip");
}

// Off until the rows of a freshly made playlist reliably show: in some runs
// they never appear within the wait.
TEST(ListViews, DISABLED_PlaylistsCreateOpenAndPlay) {
    addSongs();
    QuickTestHarness ui;
    ui.launch();
    PlaybackManager playback(std::make_unique<OfflineAudioOutput>());
    PlaylistsManager::shared().savePlaylist(
        Playlist{Playlist::newId(), "Evening", {"alpha.wav", "charlie.wav"}, false}, false);
    auto* screen = screenOf<PlaylistViewController>("Playlists");
    screen->setPlaybackManager(&playback);
    showInStack(screen);
    ASSERT_NE(ui.waitFor("Evening", 15000), nullptr);

    ui.tap(Localization::text("create_playlist"));
    ASSERT_NE(ui.waitFor(Localization::text("text_field")), nullptr);
    ui.tap(Localization::text("text_field"));
    ui.type("Focus");
    ui.key(Qt::Key_Return);
    ASSERT_NE(ui.waitFor("Focus", 15000), nullptr);
    ui.settle();
    ui.screenshot("playlists-files");

    ui.tap("Evening");
    EXPECT_TRUE(waitUntil([&] { return playback.currentPlaylist().size() == 2; }));
    screen->dismissViewController(false);
    ui.settle();

    // The edit button opens the playlist with its bar.
    QQuickItem* edit = ui.waitFor(Localization::text("edit_playlist"));
    ASSERT_NE(edit, nullptr);
    ui.tap(edit);
    ASSERT_NE(ui.waitFor(Localization::text("rename_playlist")), nullptr);
    ui.settle();
    ui.screenshot("playlist-tracks");
}

TEST(ListViews, ArtistsAndAlbumsFromFilesAndLibrary) {
    addSongs();
    QuickTestHarness ui;
    ui.launch();
    auto* albums = screenOf<AlbumsViewController>("Albums");
    showInStack(albums);
    ASSERT_NE(ui.waitFor("Morning", 15000), nullptr);
    ui.settle(800);
    ui.screenshot("albums-files");
    ui.tap("Night");
    ASSERT_NE(ui.waitFor("Charlie", 15000), nullptr);
    ui.key(Qt::Key_Escape);
    ui.settle();

    auto library = std::make_shared<FakeLibrarySource>();
    for (int i = 1; i <= 14; ++i) {
        library->items.append(
            librarySong(i, QStringLiteral("Library song %1").arg(i), i % 4, i % 5, i));
    }
    library->lists = {MediaPlaylist{90, QStringLiteral("Favourites"), {1, 2}}};
    MediaLibraryManager manager(library);
    albums->navigationController()->dismissViewController(false);
    ui.settle();

    // Each library list in turn, over the root.
    auto* artists = screenOf<ArtistsViewController>("Artists");
    artists->setMediaLibrary(true);
    artists->setMediaLibraryManager(&manager);
    showInStack(artists);
    ASSERT_NE(ui.waitFor("Artist 3", 15000), nullptr);
    ui.settle();
    ui.screenshot("artists-library");
    artists->navigationController()->dismissViewController(false);
    ui.settle();

    auto* tracks = screenOf<TracksViewController>("Tracks");
    tracks->setMediaLibrary(true);
    tracks->setMediaLibraryManager(&manager);
    showInStack(tracks);
    ASSERT_NE(ui.waitFor("Library song 7", 15000), nullptr);
    EXPECT_FALSE(ui.isShown(Localization::text("add_to_playlist"))) << "library rows add nothing";
    ui.settle();
    ui.screenshot("tracks-library");
}

}  // namespace
