#include <gtest/gtest.h>

#include <QDir>

#include "AppDirectories.h"
#include "CollectionFixtures.h"
#include "DirectoryListing.h"
#include "Grouping.h"
#include "LocalTrackStore.h"
#include "Log.h"
#include "TestSupport.h"

namespace {

TrackPtr libraryTrack(const QString& title, quint64 albumID, quint64 artistID,
                      const QString& album = "Al", const QString& artist = "Ar") {
    TrackPtr track = makeTrack(title, artist, album);
    track->mediaLibraryItem = true;
    track->mediaLibraryAlbumID = albumID;
    track->mediaLibraryArtistID = artistID;
    return track;
}

// What the store reads of the music folder; nothing when it cannot be listed.
std::optional<QList<TrackPtr>> readMusicDirectory() {
    std::optional<QList<TrackPtr>> tracks;
    bool done = false;
    LocalTrackStore::readMusicDirectory([&](std::optional<QList<TrackPtr>> read) {
        tracks = read;
        done = true;
    });
    EXPECT_TRUE(waitUntil([&] { return done; }));
    return tracks;
}

}  // namespace

TEST(GroupingFromFiles, GroupsByTagTextWithTheFirstTrackAsRepresentative) {
    const TrackPtr first = makeTrack("1", "Miles", "Blue", "1.wav");
    const TrackPtr second = makeTrack("2", "Gil", "Blue", "2.wav");
    const TrackPtr third = makeTrack("3", "Gil", "Sketches", "3.wav");
    const TrackPtr spelled = makeTrack("4", "gil", "Sketches", "4.wav");
    LogCapture log;
    const QList<Album> albums = Grouping::albumsFromFiles({first, second, third, spelled});
    ASSERT_EQ(albums.size(), 2);
    EXPECT_EQ(albums[0].name, "Blue");
    EXPECT_EQ(albums[0].artist, "Miles");
    EXPECT_EQ(albums[0].track, first);
    EXPECT_EQ(albums[0].id, 0u);
    EXPECT_EQ(log.lines(),
              (QStringList{"Album for track 1.wav: Blue", "Album for track 3.wav: Sketches"}));

    log.clear();
    const QList<Artist> artists = Grouping::artistsFromFiles({first, second, third, spelled});
    ASSERT_EQ(artists.size(), 3);
    EXPECT_EQ(artists[1].track, second);
    EXPECT_EQ(log.lines().last(), "Artist for track 4.wav: gil");
    EXPECT_TRUE(Grouping::artistsFromFiles({}).isEmpty());
}

TEST(GroupingFromLibrary, OneRecordPerIdSortedLowToHigh) {
    const QList<TrackPtr> tracks{
        libraryTrack("a", 1, 10, "Same", "X"), libraryTrack("b", 2, 10, "Same", "Y"),
        libraryTrack("c", 1, 11, "Same", "Z"), libraryTrack("d", 3, 12, "Alpha", "W")};
    const QList<Album> albums = Grouping::albumsFromLibrary(tracks);
    ASSERT_EQ(albums.size(), 3);  // two albums of one name are two records
    EXPECT_EQ(albums[0].name, "Alpha");
    EXPECT_EQ(albums[1].artist, "X");
    EXPECT_EQ(albums[1].track, tracks[0]);  // the first track met
    EXPECT_EQ(albums[2].artist, "Y");

    const QList<Artist> artists = Grouping::artistsFromLibrary(tracks);
    ASSERT_EQ(artists.size(), 3);
    EXPECT_EQ(artists[0].id, 12u);
}

TEST(AlbumRecord, EqualityIsIdAndThumbnailAndTheTrackHandsOverItsPicture) {
    const TrackPtr track = makeTrack("t", "Ar", "Al");
    Album album = Album::fromTrack(track);
    Album other = Album::fromTrack(makeTrack("u", "Other", "Different"));
    EXPECT_EQ(album, other);
    EXPECT_TRUE(album.matches("AL"));
    EXPECT_FALSE(album.matches("Ar"));

    QImage picture(8, 8, QImage::Format_RGB32);
    picture.fill(Qt::red);
    track->setAlbumArtThumbnail(picture);
    album.takeThumbnail();
    EXPECT_FALSE(album.track);
    ASSERT_TRUE(album.albumArtThumbnail.has_value());
    EXPECT_EQ(album.albumArtThumbnail->cacheKey(), picture.cacheKey());
    EXPECT_FALSE(album == other);

    // A file without a cover gets the placeholder.
    Artist artist = Artist::fromTrack(makeTrack("v", "Ar", "Al", "missing.wav"));
    artist.takeThumbnail();
    EXPECT_TRUE(artist.albumArtThumbnail.has_value());
    EXPECT_FALSE(artist.track);
}

TEST(GroupingFromFiles, TheMusicFolderGroupsInListingOrder) {
    addMusicFile("x.wav", {.album = "Blue", .artist = "Miles"});
    addMusicFile("y.wav", {.album = "Blue", .artist = "Gil"});
    addMusicFile("z.wav");
    const std::optional<QList<TrackPtr>> tracks = readMusicDirectory();
    ASSERT_TRUE(tracks.has_value());
    const QStringList listing = DirectoryListing::of(downloadedMusicDirectory()).names;
    ASSERT_EQ(tracks->size(), 3);
    for (qsizetype i = 0; i < listing.size(); ++i) {
        EXPECT_EQ(tracks->at(i)->fileName, listing[i]);
    }
    const QList<Album> albums = Grouping::albumsFromFiles(*tracks);
    ASSERT_EQ(albums.size(), 2);
    const Album& blue = albums[0].name == "Blue" ? albums[0] : albums[1];
    EXPECT_EQ(blue.artist, listing.indexOf("x.wav") < listing.indexOf("y.wav") ? "Miles" : "Gil");

    // A folder that cannot be listed leaves the caller's list alone.
    QDir(downloadedMusicDirectory()).removeRecursively();
    EXPECT_FALSE(readMusicDirectory().has_value());
}
