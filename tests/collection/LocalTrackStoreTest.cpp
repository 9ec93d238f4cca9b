#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QSemaphore>
#include <QThreadPool>

#include "AppDirectories.h"
#include "BackgroundPool.h"
#include "CollectionFixtures.h"
#include "DirectoryListing.h"
#include "LocalTrackStore.h"
#include "Log.h"
#include "MainQueue.h"
#include "PlaylistsManager.h"
#include "TestSupport.h"
#include "UploadRecord.h"
#include "UserDefaults.h"

namespace {

struct ScanResult {
    bool done = false;
    QList<TrackPtr> tracks;
    QList<TrackPtr> second;
};

using Scan = std::function<void(std::weak_ptr<TrackListState>, LocalTrackStore::ScanCompletion)>;

ScanResult runScan(const std::shared_ptr<TrackListState>& state, const Scan& scan) {
    auto result = std::make_shared<ScanResult>();
    scan(state, [result](QList<TrackPtr> tracks, QList<TrackPtr> second) {
        result->done = true;
        result->tracks = tracks;
        result->second = second;
    });
    EXPECT_TRUE(waitUntil([&] { return result->done; }));
    return *result;
}

ScanResult scanNew(const std::shared_ptr<TrackListState>& state) {
    return runScan(state, [](auto weak, auto done) { LocalTrackStore::scanNewTracks(weak, done); });
}

ScanResult scanArtist(const std::shared_ptr<TrackListState>& state, const QString& name) {
    return runScan(state, [name](auto weak, auto done) {
        LocalTrackStore::scanTracksForArtist(weak, name, done);
    });
}

ScanResult scanAlbum(const std::shared_ptr<TrackListState>& state, const QString& name) {
    return runScan(state, [name](auto weak, auto done) {
        LocalTrackStore::scanTracksForAlbum(weak, name, done);
    });
}

QStringList fileNamesOf(const QList<TrackPtr>& tracks) {
    QStringList names;
    for (const TrackPtr& track : tracks) {
        names.append(track->fileName);
    }
    return names;
}

QStringList listingOrder() {
    return DirectoryListing::of(downloadedMusicDirectory()).names;
}

void writeRecord(const QByteArray& json) {
    UserDefaults::standard().setData(json, kUploadedFilesWithSizeKey);
}

}  // namespace

TEST(IncrementalScan, EveryEntryBecomesATrackInListingOrder) {
    // Enough files that the workers finish out of order.
    for (int i = 0; i < 120; ++i) {
        addMusicFile(QStringLiteral("song%1.wav").arg(i), {.title = QStringLiteral("T%1").arg(i)});
    }
    writeFile(QDir(downloadedMusicDirectory()).filePath("notes.txt"), "not audio");
    QDir(downloadedMusicDirectory()).mkdir("Sub Folder");

    auto state = std::make_shared<TrackListState>();
    const ScanResult result = scanNew(state);
    EXPECT_TRUE(result.second.isEmpty());
    EXPECT_EQ(fileNamesOf(result.tracks), listingOrder());
    for (const TrackPtr& track : result.tracks) {
        if (track->fileName == "notes.txt" || track->fileName == "Sub Folder") {
            EXPECT_EQ(track->title, track->fileName);
            EXPECT_EQ(track->artist, "Unknown Artist");
            EXPECT_EQ(track->album, "Unknown Album");
        } else {
            EXPECT_EQ(track->title, "T" + track->fileName.mid(4).chopped(4));
        }
    }
}

// A long read hands on its parts in order as they come, and all it read at
// the end; a part answered with false ends the reading there.
TEST(IncrementalScan, ReadingInPartsKeepsTheOrderAndStopsWhenAsked) {
    QStringList names;
    for (int i = 0; i < 10; ++i) {
        names.append(QStringLiteral("part%1.wav").arg(i));
        addMusicFile(names.last(), {.title = QStringLiteral("P%1").arg(i)});
    }
    names.insert(4, "gone.wav");
    const QString directory = downloadedMusicDirectory();
    for (const bool stop : {false, true}) {
        QList<QList<TrackPtr>> parts;
        std::optional<QList<TrackPtr>> all;
        LocalTrackStore::readTracksInParts(
            directory, names, 3,
            [&](const QList<TrackPtr>& part) {
                parts.append(part);
                return !stop;
            },
            [&](QList<TrackPtr> tracks) { all = tracks; });
        if (stop) {
            EXPECT_TRUE(settle());
            EXPECT_EQ(parts.size(), 1);
            EXPECT_FALSE(all.has_value());
            continue;
        }
        ASSERT_TRUE(waitUntil([&] { return all.has_value(); }));
        ASSERT_EQ(all->size(), names.size());
        EXPECT_EQ(all->at(4), nullptr);
        all->removeAll(nullptr);
        QList<TrackPtr> joined;
        for (const QList<TrackPtr>& part : std::as_const(parts)) {
            EXPECT_LE(part.size(), 3);
            joined.append(part);
        }
        EXPECT_EQ(joined, *all);
        EXPECT_EQ(fileNamesOf(joined).first(), "part0.wav");
        EXPECT_EQ(fileNamesOf(joined).last(), "part9.wav");
    }
}

TEST(IncrementalScan, HandsOnOnlyNewFilesAndDropsVanishedOnesInPlace) {
    for (const char* name : {"a.wav", "b.wav", "c.wav", "d.wav"}) {
        addMusicFile(name);
    }
    auto state = std::make_shared<TrackListState>();
    state->items = scanNew(state).tracks;
    // The screen keeps its own order; the scan must not disturb it.
    std::reverse(state->items.begin(), state->items.end());
    const QList<TrackPtr> before = state->items;

    EXPECT_TRUE(scanNew(state).tracks.isEmpty());
    EXPECT_EQ(state->items, before);

    QFile::remove(QDir(downloadedMusicDirectory()).filePath("b.wav"));
    addMusicFile("e.wav");
    const ScanResult result = scanNew(state);
    EXPECT_EQ(fileNamesOf(result.tracks), QStringList{"e.wav"});
    QList<TrackPtr> expected = before;
    expected.removeIf([](const TrackPtr& t) { return t->fileName == "b.wav"; });
    EXPECT_EQ(state->items, expected);  // the same objects, in the same order
}

TEST(IncrementalScan, PlaylistChoosesTheNamesAndFollowsTheStore) {
    for (const char* name : {"a.wav", "b.wav", "c.wav"}) {
        addMusicFile(name);
    }
    Playlist playlist{Playlist::newId(), "P", {"a.wav", "gone.wav"}, false};
    PlaylistsManager::shared().savePlaylist(playlist, false);
    // The screen's copy is stale; the store's entry holds c.wav as well.
    auto state = std::make_shared<TrackListState>();
    state->playlist = playlist;
    playlist.fileNames.insert("c.wav");
    PlaylistsManager::shared().savePlaylist(playlist, false);

    state->items = scanNew(state).tracks;
    QStringList members = fileNamesOf(state->items);
    members.sort();
    EXPECT_EQ(members, (QStringList{"a.wav", "c.wav"}));
    EXPECT_EQ(state->playlist->fileNames, playlist.fileNames);

    auto picker = std::make_shared<TrackListState>();
    picker->playlist = playlist;
    picker->addToPlaylist = true;
    EXPECT_EQ(fileNamesOf(scanNew(picker).tracks), QStringList{"b.wav"});

    PlaylistsManager::shared().deletePlaylist(playlist.id, false);
    // No playlist any more: the one file not yet listed comes in.
    EXPECT_EQ(fileNamesOf(scanNew(state).tracks), QStringList{"b.wav"});
    EXPECT_FALSE(state->playlist.has_value());
}

TEST(IncrementalScan, UnlistableFolderGivesNothingAndLeavesItems) {
    addMusicFile("a.wav");
    auto state = std::make_shared<TrackListState>();
    state->items = scanNew(state).tracks;
    ASSERT_EQ(state->items.size(), 1);
    // A file where the folder was: listing fails whoever runs the test.
    QDir(downloadedMusicDirectory()).removeRecursively();
    writeFile(downloadedMusicDirectory(), "x");
    LogCapture log;
    EXPECT_TRUE(scanNew(state).tracks.isEmpty());
    EXPECT_EQ(state->items.size(), 1);
    EXPECT_TRUE(log.lines().isEmpty());

    EXPECT_TRUE(scanArtist(state, "A").tracks.isEmpty());
    EXPECT_TRUE(state->items.isEmpty());
    ASSERT_EQ(log.lines().size(), 1);
    EXPECT_TRUE(log.lines().first().startsWith("Error reading contents of directory: "));
}

TEST(Scans, DoNothingOnceTheStateIsGone) {
    addMusicFile("a.wav", {.artist = "A"});
    bool called = false;
    auto completion = [&](QList<TrackPtr>, QList<TrackPtr>) { called = true; };
    {
        // Gone before the hop to the main queue.
        auto state = std::make_shared<TrackListState>();
        LocalTrackStore::scanNewTracks(state, completion);
        LocalTrackStore::scanTracksForArtist(state, "A", completion);
    }
    {
        // Gone while the workers read the tags. Every pool thread is held until
        // the state is gone, so no reading can finish (and answer at once)
        // while the scans' hops still run.
        QThreadPool* pool = &BackgroundPool::shared();
        QSemaphore release;
        const int threads = pool->maxThreadCount();
        for (int i = 0; i < threads; ++i) {
            pool->start([&release] { release.acquire(); });
        }
        auto state = std::make_shared<TrackListState>();
        LocalTrackStore::scanNewTracks(state, completion);
        LocalTrackStore::scanTracksForAlbum(state, "Unknown Album", completion);
        MainQueue::async([&state] { state.reset(); });
        EXPECT_TRUE(waitUntil([&] { return !state; }));
        release.release(threads);
    }
    EXPECT_TRUE(settle());
    EXPECT_FALSE(called);
}

TEST(Scans, ArtistAndAlbumMatchTheTagTextExactlyWithFreshObjects) {
    addMusicFile("1.wav", {.album = "Blue", .artist = "Miles"});
    addMusicFile("2.wav", {.album = "blue", .artist = "miles"});
    addMusicFile("3.wav", {.album = "Blue", .artist = "Gil"});
    addMusicFile("4.wav");
    auto state = std::make_shared<TrackListState>();
    state->items = scanNew(state).tracks;
    const QList<TrackPtr> before = state->items;

    const ScanResult miles = scanArtist(state, "Miles");
    EXPECT_EQ(fileNamesOf(miles.tracks), QStringList{"1.wav"});
    EXPECT_TRUE(state->items.isEmpty());
    EXPECT_FALSE(before.contains(miles.tracks.first()));
    EXPECT_NE(miles.tracks.first(), scanArtist(state, "Miles").tracks.first());

    QStringList blue = fileNamesOf(scanAlbum(state, "Blue").tracks);
    EXPECT_EQ(blue.size(), 2);
    EXPECT_TRUE(blue.contains("1.wav") && blue.contains("3.wav"));
    EXPECT_EQ(fileNamesOf(scanArtist(state, "Unknown Artist").tracks), QStringList{"4.wav"});
    EXPECT_TRUE(scanAlbum(state, "Nothing").tracks.isEmpty());
}

TEST(UploadRecord, RemovesOnlyTheFirstEntryOfTheNameAndLeavesOtherRecordsAlone) {
    LogCapture log;
    removeUploadRecord("a.mp3");
    EXPECT_EQ(log.lines(), QStringList{"No uploaded files found in UserDefaults"});

    writeRecord(R"([{"name":"a.mp3","size":"10"},{"size":"3"},{"name":"b.mp3","size":"20"},)"
                R"({"name":"a.mp3","size":"30"}])");
    log.clear();
    removeUploadRecord("a.mp3");
    EXPECT_EQ(log.lines(), (QStringList{"File found in uploadedFilesWithSize",
                                        "Saved updated uploadedFilesWithSize to UserDefaults"}));
    const QList<UploadEntry> expected{
        {{"size", "3"}}, {{"name", "b.mp3"}, {"size", "20"}}, {{"name", "a.mp3"}, {"size", "30"}}};
    EXPECT_EQ(UploadRecord::read(), expected);

    for (const QByteArray& unchanged : {QByteArray("[]"), QByteArray(R"([{"name":"b"}])")}) {
        writeRecord(unchanged);
        log.clear();
        removeUploadRecord("a.mp3");
        EXPECT_TRUE(log.lines().isEmpty());
        EXPECT_EQ(UserDefaults::standard().dataForKey(kUploadedFilesWithSizeKey), unchanged);
    }

    for (const QByteArray& broken :
         {QByteArray("{"), QByteArray(R"({"name":"a.mp3"})"),
          QByteArray(R"([{"name":"a.mp3","size":10}])"), QByteArray(R"([["a.mp3"]])")}) {
        writeRecord(broken);
        log.clear();
        removeUploadRecord("a.mp3");
        ASSERT_EQ(log.lines().size(), 1) << broken.constData();
        EXPECT_TRUE(log.lines().first().startsWith("Error decoding uploadedFilesWithSize data: "));
        EXPECT_EQ(UserDefaults::standard().dataForKey(kUploadedFilesWithSizeKey), broken);
    }
}
