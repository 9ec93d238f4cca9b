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
#include "UserDefaults.h"

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

// A list of the library in a stack of its own over the window.
template <typename T>
T* showLibraryScreen(const char* bundle, MediaLibraryManager& manager) {
    auto* screen = screenOf<T>(bundle);
    screen->setMediaLibrary(true);
    screen->setMediaLibraryManager(&manager);
    showInStack(screen);
    return screen;
}

// The Tracks screen of the music folder in a stack, once loaded with `row`
// on show; null when it never was.
TracksViewController* showLoadedTracks(QuickTestHarness& ui, PlaybackManager& playback,
                                       const QString& row) {
    auto* screen = screenOf<TracksViewController>("Tracks");
    screen->setPlaybackManager(&playback);
    showInStack(screen);
    const bool loaded =
        ui.waitFor(row, 15000) != nullptr && waitUntil([&] { return !screen->loadingTracks(); });
    ui.settle();
    return loaded ? screen : nullptr;
}

void closeStack(QuickTestHarness& ui, ViewController* screen) {
    screen->navigationController()->dismissViewController(false);
    ui.settle();
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

// The names of the rows wholly inside the top list's visible area, top to
// bottom: what the user sees of it.
QStringList rowsInView(const QuickTestHarness& ui) {
    QQuickItem* list = nullptr;
    std::function<void(QQuickItem*)> visit = [&](QQuickItem* item) {
        if (!item->isVisible() || item->opacity() <= 0) {
            return;
        }
        if (item->inherits("QQuickListView")) {
            list = item;
        }
        QList<QQuickItem*> children = item->childItems();
        std::stable_sort(children.begin(), children.end(),
                         [](QQuickItem* a, QQuickItem* b) { return a->z() < b->z(); });
        for (QQuickItem* child : children) {
            visit(child);
        }
    };
    visit(ui.window()->contentItem());
    if (list == nullptr) {
        return {};
    }
    QList<std::pair<qreal, QString>> rows;
    const auto* content = list->property("contentItem").value<QQuickItem*>();
    for (QQuickItem* row : content->childItems()) {
        const QString name = QuickTestHarness::accessibleName(row);
        const QRectF box = row->mapRectToItem(list, QRectF(0, 0, row->width(), row->height()));
        if (row->isVisible() && !name.isEmpty() && box.top() >= -0.5 &&
            box.bottom() <= list->height() + 0.5) {
            rows.append({box.top(), name});
        }
    }
    std::sort(rows.begin(), rows.end());
    QStringList names;
    for (const auto& row : rows) {
        names.append(row.second);
    }
    return names;
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

// The three songs on the tracks screen, in the window.
struct Songs {
    Songs() { addSongs(); }
};
class TracksOnShow : public ::testing::Test, private Songs {
protected:
    void SetUp() override {
        ui.launch();
        screen = showLoadedTracks(ui, playback, "Charlie");
        ASSERT_NE(screen, nullptr);
    }

    QuickTestHarness ui;
    PlaybackManager playback{std::make_unique<OfflineAudioOutput>()};
    TracksViewController* screen = nullptr;
};

TEST_F(TracksOnShow, SearchSortDeleteAddAndPlayWithRealEvents) {
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
    // The revealed button belongs to its row and goes with it; the toolkit
    // makes it without an owner, and it would outlive every row it was
    // revealed on.
    QQuickItem* deleteButton = ui.find(Localization::text("delete"));
    ASSERT_NE(deleteButton, nullptr);
    EXPECT_NE(deleteButton->parent(), nullptr);
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

TEST(ListViews, PlaylistsCreateOpenAndPlay) {
    addSongs();
    // Only this test's playlists, however often it runs in one process.
    for (const QString& id : PlaylistsManager::shared().playlists().keys()) {
        PlaylistsManager::shared().deletePlaylist(id, false);
    }
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

// Leaving a list for another screen and coming back finds the same rows in
// view, though both lists load again when they reappear.
TEST(ListViews, ListsKeepTheirPlaceWhenLeftAndReturnedTo) {
    for (int i = 0; i < 40; ++i) {
        const QString number = QStringLiteral("%1").arg(i, 2, 10, QChar('0'));
        addMusicFile(QStringLiteral("song-%1.wav").arg(number),
                     {.title = "Song " + number, .album = "Album " + number, .artist = "Ada"});
    }
    // Straight to the window's lists, past the first run's pages.
    qputenv("CORVANTIS_LIBRARY_DIR", (testHome() + "/Library").toUtf8());
    UserDefaults::standard().setBool(true, "DidShowTutorial");
    UserDefaults::standard().setBool(true, "DidShowPrivacyDialogKey");
    QuickTestHarness ui;
    ui.launch();
    PlaybackManager playback(std::make_unique<OfflineAudioOutput>());
    auto scrollDown = [&] {
        // Slowly, so that the list stops where the finger leaves it.
        ui.drag(QPointF(195, 700), QPointF(195, 300), 20, 60);
        ui.settle();
        const QStringList shown = rowsInView(ui);
        EXPECT_GE(shown.size(), 5);
        return shown;
    };

    // The window's own tracks tab, then another tab, then back.
    ASSERT_NE(ui.waitFor("Song 00", 15000), nullptr);
    ui.settle();
    const QStringList tabRows = scrollDown();
    ui.tap(Localization::text("Albums").toUpper());
    ASSERT_NE(ui.waitFor("Album 00", 15000), nullptr);
    ui.tap(Localization::text("tracks").toUpper());
    ui.settle();
    EXPECT_TRUE(waitUntil([&] { return rowsInView(ui) == tabRows; }))
        << rowsInView(ui).join(", ").toStdString() << " instead of "
        << tabRows.join(", ").toStdString();

    // Albums: a pushed album's tracks, then back.
    auto* albums = screenOf<AlbumsViewController>("Albums");
    showInStack(albums);
    ASSERT_NE(ui.waitFor("Album 00", 15000), nullptr);
    ui.settle();
    const QStringList albumRows = scrollDown();
    ASSERT_FALSE(albumRows.contains("Album 00")) << "the list did not move";
    ui.tap(albumRows.at(2));
    ASSERT_NE(ui.waitFor(Localization::text("back")), nullptr);
    ui.settle();
    ui.tap(Localization::text("back"));
    ui.settle();
    EXPECT_TRUE(waitUntil([&] { return rowsInView(ui) == albumRows; }))
        << rowsInView(ui).join(", ").toStdString() << " instead of "
        << albumRows.join(", ").toStdString();
    closeStack(ui, albums);

    // Tracks: the player over the list, then closed.
    auto* tracks = showLoadedTracks(ui, playback, "Song 00");
    ASSERT_NE(tracks, nullptr);
    const QStringList trackRows = scrollDown();
    ui.tap(trackRows.at(1));
    ASSERT_TRUE(waitUntil([&] { return tracks->presentedViewController() != nullptr; }));
    ui.settle();
    tracks->dismissViewController(false);
    ui.settle();
    EXPECT_TRUE(waitUntil([&] { return !tracks->loadingTracks(); }));
    EXPECT_TRUE(waitUntil([&] { return rowsInView(ui) == trackRows; }))
        << rowsInView(ui).join(", ").toStdString() << " instead of "
        << trackRows.join(", ").toStdString();
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
    closeStack(ui, albums);

    // Each library list in turn, over the root.
    auto* artists = showLibraryScreen<ArtistsViewController>("Artists", manager);
    ASSERT_NE(ui.waitFor("Artist 3", 15000), nullptr);
    ui.settle();
    ui.screenshot("artists-library");
    closeStack(ui, artists);

    auto* tracks = showLibraryScreen<TracksViewController>("Tracks", manager);
    ASSERT_NE(ui.waitFor("Library song 7", 15000), nullptr);
    EXPECT_FALSE(ui.isShown(Localization::text("add_to_playlist"))) << "library rows add nothing";
    ui.settle();
    ui.screenshot("tracks-library");
    closeStack(ui, tracks);

    // The library's playlists are read-only: no create button.
    auto* playlists = showLibraryScreen<PlaylistViewController>("Playlists", manager);
    ASSERT_NE(ui.waitFor("Favourites", 15000), nullptr);
    EXPECT_FALSE(ui.isShown(Localization::text("create_playlist")));
    ui.settle();
    ui.screenshot("playlists-library");
    closeStack(ui, playlists);
}

}  // namespace

TEST_F(TracksOnShow, RowsAreOneTabStopWalkedByTheArrowsAndPlayedByEnter) {
    const auto focusedName = [&] {
        const QQuickItem* focused = ui.window()->activeFocusItem();
        return focused ? QuickTestHarness::accessibleName(focused) : QString();
    };

    // The rows are one stop a round, followed by the chosen row's button.
    const QStringList stops = ui.tabStops(12);
    const QString add = Localization::text("add_to_playlist");
    EXPECT_EQ(stops.count("Alpha"), 2) << stops.join(", ").toStdString();
    EXPECT_EQ(stops.count(add), 2) << stops.join(", ").toStdString();
    EXPECT_EQ(stops.indexOf(add), stops.indexOf("Alpha") + 1) << stops.join(", ").toStdString();
    EXPECT_FALSE(stops.contains("Bravo")) << stops.join(", ").toStdString();
    for (int i = 0; i < 10 && focusedName() != "Alpha"; ++i) {
        ui.key(Qt::Key_Tab);
    }
    ASSERT_EQ(focusedName(), "Alpha");
    ui.key(Qt::Key_Down);
    EXPECT_TRUE(waitUntil([&] { return focusedName() == "Bravo"; })) << focusedName().toStdString();
    ui.key(Qt::Key_Return);
    EXPECT_TRUE(waitUntil([&] { return playback.currentPlaylist().size() == 3; }));
    EXPECT_EQ(playback.currentIndex(), 1);
    screen->dismissViewController(false);
    ui.settle();

    // Tab from the chosen row reaches its own add button, which Space presses.
    ASSERT_EQ(focusedName(), "Bravo");
    ui.key(Qt::Key_Tab);
    ASSERT_EQ(focusedName(), add);
    ui.screenshot("tracks-keyboard");
    ui.key(Qt::Key_Space);
    EXPECT_NE(ui.waitFor(Localization::text("new_playlist")), nullptr);
}
