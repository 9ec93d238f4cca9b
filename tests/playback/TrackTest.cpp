#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QImage>
#include <QSet>
#include <QtConcurrent>
#include <algorithm>
#include <cmath>

#include "AppDirectories.h"
#include "TagFixtures.h"
#include "TestSupport.h"
#include "Track.h"

namespace {

// A tagged WAV in the music folder, where thumbnails look for it.
TrackPtr musicFolderTrack(const QString& fileName, const TagSpec& spec) {
    const QString path = QDir(downloadedMusicDirectory()).filePath(fileName);
    writeFile(path, pcmWav(800));
    EXPECT_TRUE(writeTag(path, spec));
    return Track::fromFile(fileName, downloadedMusicDirectory());
}

TrackPtr trackNamed(const QString& title, const QString& artist = "A", const QString& album = "B") {
    auto track = std::make_shared<Track>();
    track->title = title;
    track->artist = artist;
    track->album = album;
    track->albumArtist = "C";
    track->fileName = title + ".mp3";
    return track;
}

MediaItem libraryItem(const QString& assetPath) {
    MediaItem item;
    item.persistentID = 0xFFFF'FFFF'FFFF'FFF0ull;
    item.artistPersistentID = 11;
    item.albumPersistentID = 12;
    item.title = "Song";
    item.albumTitle = "Record";
    item.artist = "Singer";
    item.albumArtist = "Band";
    item.playbackDuration = 201.5;
    item.albumTrackNumber = 7;
    item.assetURL = assetPath;
    return item;
}

}  // namespace

TEST(TrackFromFile, NoFileMeansNoTrack) {
    EXPECT_EQ(Track::fromFile("missing.mp3", downloadedMusicDirectory()), nullptr);
    EXPECT_EQ(Track::fromFile("", testHome() + "/no such directory"), nullptr);
}

TEST(TrackFromFile, UntaggedAndUnreadableFilesGetTheDefaults) {
    const QString directory = testHome() + "/elsewhere";
    writeFile(directory + "/plain.wav", pcmWav(800));
    writeFile(directory + "/notes.mp3", "these are not audio bytes");
    for (const QString& name : {QString("plain.wav"), QString("notes.mp3")}) {
        SCOPED_TRACE(name.toStdString());
        const TrackPtr track = Track::fromFile(name, directory);
        ASSERT_NE(track, nullptr);
        EXPECT_EQ(track->fileName, name);
        EXPECT_EQ(track->title, name);
        EXPECT_EQ(track->album, "Unknown Album");
        EXPECT_EQ(track->artist, "Unknown Artist");
        EXPECT_EQ(track->albumArtist, "N/A");
        EXPECT_FALSE(track->mediaLibraryItem);
        EXPECT_FALSE(track->mediaLibaryLocalPath || track->mediaItem || track->mediaLibraryID);
        EXPECT_FALSE(track->albumArtThumbnail());
    }
    // Bytes nothing can decode have no length: the invalid time.
    EXPECT_TRUE(std::isnan(Track::fromFile("notes.mp3", directory)->duration));
    EXPECT_DOUBLE_EQ(Track::fromFile("plain.wav", directory)->duration, 0.1);
}

TEST(TrackFromFile, DurationIsTheLengthOfTheAudio) {
    const QString directory = testHome() + "/lengths";
    writeFile(directory + "/short.aif", pcmAiff(400));
    writeFile(directory + "/frames.mp3", silentMp3(40));
    EXPECT_DOUBLE_EQ(Track::fromFile("short.aif", directory)->duration, 0.05);
    // Without a header that states delay or padding, every decoded frame counts.
    EXPECT_DOUBLE_EQ(Track::fromFile("frames.mp3", directory)->duration, 40 * 1152 / 44100.0);
}

TEST(TrackFromFile, EachFieldFallsBackOnItsOwnAndEmptyFramesStayEmpty) {
    const TrackPtr empty = musicFolderTrack("empty.wav", {.title = "", .artist = ""});
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(empty->title, "");
    EXPECT_EQ(empty->artist, "");
    EXPECT_EQ(empty->album, "Unknown Album");
    EXPECT_EQ(empty->albumArtist, "N/A");

    const TrackPtr full = musicFolderTrack(
        "full.wav",
        {.title = "Título", .album = "Álbum", .artist = "Artist", .albumArtist = "Various"});
    EXPECT_EQ(full->title, "Título");
    EXPECT_EQ(full->album, "Álbum");
    EXPECT_EQ(full->artist, "Artist");
    EXPECT_EQ(full->albumArtist, "Various");
}

TEST(TrackFromMediaItem, TakesTheItemsFields) {
    const TrackPtr track = Track::fromMediaItem(libraryItem("/music/library/01 Song.flac"));
    ASSERT_NE(track, nullptr);
    EXPECT_TRUE(track->mediaLibraryItem);
    EXPECT_EQ(track->fileName, "01 Song.flac");
    EXPECT_EQ(track->mediaLibaryLocalPath, "/music/library/01 Song.flac");
    EXPECT_EQ(track->url(), "/music/library/01 Song.flac");
    EXPECT_EQ(track->title, "Song");
    EXPECT_EQ(track->album, "Record");
    EXPECT_EQ(track->artist, "Singer");
    EXPECT_EQ(track->albumArtist, "Band");
    EXPECT_EQ(track->duration, 201.5);
    EXPECT_EQ(track->mediaLibraryID, 0xFFFF'FFFF'FFFF'FFF0ull);
    EXPECT_EQ(track->mediaLibraryArtistID, 11u);
    EXPECT_EQ(track->mediaLibraryAlbumID, 12u);
    EXPECT_EQ(track->mediaLibraryAlbumTrackNumber, 7);
    ASSERT_TRUE(track->mediaItem);
    EXPECT_EQ(track->mediaItem->persistentID, 0xFFFF'FFFF'FFFF'FFF0ull);
}

TEST(TrackFromMediaItem, MissingTextsAndAssets) {
    MediaItem item = libraryItem("/music/library/Untitled.m4a");
    item.title.reset();
    item.albumTitle.reset();
    item.artist.reset();
    item.albumArtist = "";
    const TrackPtr track = Track::fromMediaItem(item);
    ASSERT_NE(track, nullptr);
    EXPECT_EQ(track->title, "Untitled.m4a");
    // "N/A" where a file track would say "Unknown Album" / "Unknown Artist".
    EXPECT_EQ(track->album, "N/A");
    EXPECT_EQ(track->artist, "N/A");
    EXPECT_EQ(track->albumArtist, "");

    item.assetURL.reset();
    EXPECT_EQ(Track::fromMediaItem(item), nullptr);
}

TEST(TrackUrl, FileTracksLiveInTheMusicFolder) {
    const QString directory = testHome() + "/elsewhere";
    writeFile(directory + "/a b.wav", pcmWav(10));
    const TrackPtr track = Track::fromFile("a b.wav", directory);
    ASSERT_NE(track, nullptr);
    EXPECT_EQ(track->url(), downloadedMusicDirectory() + "/a b.wav");
}

TEST(TrackUrlDeathTest, LibraryTrackWithoutAssetPathIsAProgrammingError) {
    const TrackPtr track = Track::fromMediaItem(libraryItem("/music/x.mp3"));
    track->mediaLibaryLocalPath.reset();
    EXPECT_DEATH(track->url(), "mediaLibaryLocalPath");
}

TEST(TrackIdentity, EqualTracksStayDistinctInSets) {
    const TrackPtr a = trackNamed("Same");
    const TrackPtr b = trackNamed("Same");
    EXPECT_TRUE(*a == *b);
    EXPECT_EQ(QSet<TrackPtr>({a, b, a}).size(), 2);
    EXPECT_NE(std::hash<TrackPtr>{}(a), std::hash<TrackPtr>{}(b));

    // Every compared field counts.
    for (auto field :
         {&Track::title, &Track::album, &Track::artist, &Track::albumArtist, &Track::fileName}) {
        const TrackPtr other = trackNamed("Same");
        *other.*field += "!";
        EXPECT_FALSE(*a == *other);
    }
    // Canonically equivalent spellings are the same text.
    EXPECT_TRUE(*trackNamed("Caf\u00e9") == *trackNamed("Cafe\u0301"));
}

TEST(TrackIdentity, ThumbnailsCompareAsImageObjects) {
    const TrackPtr a = trackNamed("Same");
    const TrackPtr b = trackNamed("Same");
    QImage picture(8, 8, QImage::Format_RGB32);
    picture.fill(Qt::red);
    a->setAlbumArtThumbnail(picture);
    EXPECT_FALSE(*a == *b);
    EXPECT_TRUE(*a == *a);
    b->setAlbumArtThumbnail(picture);
    EXPECT_TRUE(*a == *b);
    // Same pixels, another image.
    b->setAlbumArtThumbnail(picture.copy());
    EXPECT_FALSE(*a == *b);
}

TEST(TrackOrder, RunsAgainstTheKeys) {
    // Keys are title + artist + album, no separator.
    EXPECT_EQ(trackNamed("ab", "c", "d")->sortKey(), "abcd");
    std::vector<TrackPtr> tracks{trackNamed("a"), trackNamed("c"), trackNamed("b")};
    std::sort(tracks.begin(), tracks.end(),
              [](const TrackPtr& x, const TrackPtr& y) { return *x < *y; });
    EXPECT_EQ(tracks[0]->title, "c");
    EXPECT_EQ(tracks[1]->title, "b");
    EXPECT_EQ(tracks[2]->title, "a");
    // Equal keys, however they are split into fields, give false both ways.
    EXPECT_FALSE(*trackNamed("ab", "c", "") < *trackNamed("a", "bc", ""));
    EXPECT_FALSE(*trackNamed("a", "bc", "") < *trackNamed("ab", "c", ""));
    // Code point order: U+FF21 sorts before U+1F3B5 although its UTF-16 unit
    // sorts after the surrogate pair.
    EXPECT_TRUE(*trackNamed("\U0001F3B5") < *trackNamed("\uFF21"));
    EXPECT_FALSE(*trackNamed("\uFF21") < *trackNamed("\U0001F3B5"));
}

TEST(TrackFilter, MatchesTheTitleIgnoringCase) {
    const TrackPtr track = trackNamed("Sweet Child O' Mine", "Guns", "Appetite");
    EXPECT_TRUE(track->matches("child"));
    EXPECT_TRUE(track->matches("SWEET C"));
    EXPECT_TRUE(track->matches(" "));
    EXPECT_FALSE(track->matches("guns"));
    EXPECT_FALSE(track->matches("appetite"));
    EXPECT_TRUE(trackNamed("ÉTÉ")->matches("été"));
}

TEST(TrackThumbnail, FrontCoverIsCroppedRecompressedAndHalfScale) {
    const TrackPtr track =
        musicFolderTrack("cover.wav", {.title = "x",
                                       .frontCover = pictureBytes({40, 30}, Qt::blue),
                                       .backCover = pictureBytes({20, 20}, Qt::green)});
    track->loadAlbumArtThumbnailForAlbum();
    const std::optional<QImage> thumbnail = track->albumArtThumbnail();
    ASSERT_TRUE(thumbnail);
    EXPECT_EQ(thumbnail->size(), QSize(36, 26));
    EXPECT_EQ(thumbnail->devicePixelRatio(), 0.5);
    EXPECT_EQ(thumbnail->deviceIndependentSize(), QSizeF(72, 52));
    const QColor centre = thumbnail->pixelColor(18, 13);
    EXPECT_LT(centre.red(), 16);
    EXPECT_LT(centre.green(), 16);
    EXPECT_GT(centre.blue(), 235);
}

TEST(TrackThumbnail, CropTakesTwoPixelsFromEachSide) {
    // A picture with a 2-pixel red frame around white: none of the frame may
    // survive the crop.
    QImage framed(20, 20, QImage::Format_RGB32);
    framed.fill(Qt::red);
    for (int y = 2; y < 18; ++y) {
        for (int x = 2; x < 18; ++x) {
            framed.setPixelColor(x, y, Qt::white);
        }
    }
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    framed.save(&buffer, "PNG");
    const TrackPtr track = musicFolderTrack("framed.wav", {.frontCover = png});
    track->loadAlbumArtThumbnail();
    const std::optional<QImage> thumbnail = track->albumArtThumbnail();
    ASSERT_TRUE(thumbnail);
    ASSERT_EQ(thumbnail->size(), QSize(16, 16));
    for (const QPoint corner : {QPoint(0, 0), QPoint(15, 0), QPoint(0, 15), QPoint(15, 15)}) {
        EXPECT_GT(thumbnail->pixelColor(corner).green(), 200) << corner.x() << "," << corner.y();
    }
}

TEST(TrackThumbnail, PlaceholdersOnlyWhenThereIsNoPicture) {
    // No picture: the named placeholder, or nothing.
    const TrackPtr bare =
        musicFolderTrack("bare.wav", {.title = "x", .backCover = pictureBytes({9, 9}, Qt::red)});
    bare->loadAlbumArtThumbnail();
    EXPECT_FALSE(bare->albumArtThumbnail());
    bare->loadAlbumArtThumbnailForArtist();
    ASSERT_TRUE(bare->albumArtThumbnail());
    EXPECT_EQ(bare->albumArtThumbnail()->size(), QSize(86, 86));

    const TrackPtr album = musicFolderTrack("album.wav", {});
    album->loadAlbumArtThumbnailForAlbum();
    ASSERT_TRUE(album->albumArtThumbnail());
    EXPECT_NE(album->albumArtThumbnail()->pixelColor(43, 43),
              bare->albumArtThumbnail()->pixelColor(43, 43))
        << "the two placeholders are different pictures";

    // A cover whose bytes do not decode leaves the thumbnail empty.
    const TrackPtr broken =
        musicFolderTrack("broken.wav", {.frontCover = QByteArray("\x89PNG not really")});
    broken->loadAlbumArtThumbnailForAlbum();
    EXPECT_FALSE(broken->albumArtThumbnail());
}

TEST(TrackThumbnail, LoadingTwiceChangesNothing) {
    const TrackPtr track =
        musicFolderTrack("twice.wav", {.frontCover = pictureBytes({30, 30}, Qt::blue)});
    QImage preset(10, 10, QImage::Format_RGB32);
    preset.fill(Qt::yellow);
    track->setAlbumArtThumbnail(preset);
    track->loadAlbumArtThumbnailForAlbum();
    EXPECT_EQ(track->albumArtThumbnail()->cacheKey(), preset.cacheKey());

    // Racing loads on workers and the main thread settle on one image.
    const TrackPtr raced =
        musicFolderTrack("raced.wav", {.frontCover = pictureBytes({30, 30}, Qt::blue)});
    QList<QFuture<qint64>> loads;
    for (int i = 0; i < 4; ++i) {
        loads.append(QtConcurrent::run([raced] {
            raced->loadAlbumArtThumbnail();
            return raced->albumArtThumbnail()->cacheKey();
        }));
    }
    raced->loadAlbumArtThumbnail();
    const qint64 seen = raced->albumArtThumbnail()->cacheKey();
    for (QFuture<qint64>& load : loads) {
        EXPECT_EQ(load.result(), seen);
    }
}

TEST(TrackThumbnail, LibraryArtworkIsRenderedAt128AndNeverReplaced) {
    MediaItem item = libraryItem("/music/y.mp3");
    QSize askedFor;
    item.artwork = [&askedFor](QSize size) {
        askedFor = size;
        QImage image(size, QImage::Format_RGB32);
        image.fill(Qt::magenta);
        return image;
    };
    const TrackPtr track = Track::fromMediaItem(item);
    track->loadAlbumArtThumbnailForArtist();
    EXPECT_EQ(askedFor, QSize(128, 128));
    ASSERT_TRUE(track->albumArtThumbnail());
    EXPECT_EQ(track->albumArtThumbnail()->size(), QSize(124, 124));

    // No artwork, or none rendered: no placeholder for library tracks.
    item.artwork = [](QSize) { return QImage(); };
    const TrackPtr blank = Track::fromMediaItem(item);
    blank->loadAlbumArtThumbnailForAlbum();
    EXPECT_FALSE(blank->albumArtThumbnail());
    item.artwork = nullptr;
    const TrackPtr none = Track::fromMediaItem(item);
    none->loadAlbumArtThumbnailForArtist();
    EXPECT_FALSE(none->albumArtThumbnail());
}
