#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
#include <QtConcurrent>
#include <algorithm>
#include <cmath>

#include "AppDirectories.h"
#include "TagFixtures.h"
#include "TestSupport.h"
#include "Track.h"
#include "TrackFixtures.h"

namespace {

// A tagged WAV in the music folder, where thumbnails look for it.
TrackPtr musicFolderTrack(const QString& fileName, const TagSpec& spec) {
    const QString path = QDir(downloadedMusicDirectory()).filePath(fileName);
    writeFile(path, pcmWav(800));
    EXPECT_TRUE(writeTag(path, spec));
    return Track::fromFile(fileName, downloadedMusicDirectory());
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

TEST(TrackFromFile, UntaggedUnreadableAndMissingFilesGetTheDefaultsAndTheLengthOfTheAudio) {
    const QString directory = testHome() + "/elsewhere";
    writeFile(directory + "/plain a.wav", pcmWav(800));
    writeFile(directory + "/notes.mp3", "these are not audio bytes");
    for (const QString& name : {QString("plain a.wav"), QString("notes.mp3")}) {
        SCOPED_TRACE(name.toStdString());
        const TrackPtr track = Track::fromFile(name, directory);
        ASSERT_NE(track, nullptr);
        EXPECT_EQ(track->fileName, name);
        // Whatever folder it was read from, a file track lives in the music folder.
        EXPECT_EQ(track->url(), downloadedMusicDirectory() + "/" + name);
        EXPECT_EQ(fieldsOf(*track), (QStringList{name, "Unknown Album", "Unknown Artist", "N/A"}));
        EXPECT_FALSE(track->mediaLibraryItem);
        EXPECT_FALSE(track->mediaLibaryLocalPath || track->mediaItem || track->mediaLibraryID);
        EXPECT_FALSE(track->albumArtThumbnail());
    }
    // Bytes nothing can decode have no length: the invalid time.
    EXPECT_TRUE(std::isnan(Track::fromFile("notes.mp3", directory)->duration));
    EXPECT_DOUBLE_EQ(Track::fromFile("plain a.wav", directory)->duration, 0.1);

    // No file means no track.
    EXPECT_EQ(Track::fromFile("missing.mp3", downloadedMusicDirectory()), nullptr);
    EXPECT_EQ(Track::fromFile("", testHome() + "/no such directory"), nullptr);

    writeFile(directory + "/short.aif", pcmAiff(400));
    writeFile(directory + "/frames.mp3", silentMp3(40));
    EXPECT_DOUBLE_EQ(Track::fromFile("short.aif", directory)->duration, 0.05);
    // Without a header that states delay or padding, every decoded frame counts.
    EXPECT_DOUBLE_EQ(Track::fromFile("frames.mp3", directory)->duration, 40 * 1152 / 44100.0);
}

TEST(TrackFromFile, EachFieldFallsBackOnItsOwnAndEmptyFramesStayEmpty) {
    const TrackPtr empty = musicFolderTrack("empty.wav", {.title = "", .artist = ""});
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(fieldsOf(*empty), (QStringList{"", "Unknown Album", "", "N/A"}));

    const TrackPtr full = musicFolderTrack(
        "full.wav",
        {.title = "Título", .album = "Álbum", .artist = "Artist", .albumArtist = "Various"});
    EXPECT_EQ(fieldsOf(*full), (QStringList{"Título", "Álbum", "Artist", "Various"}));
}

TEST(TrackFromMediaItem, TakesTheItemsFields) {
    const TrackPtr track = Track::fromMediaItem(libraryItem("/music/library/01 Song.flac"));
    ASSERT_NE(track, nullptr);
    EXPECT_TRUE(track->mediaLibraryItem);
    EXPECT_EQ(track->fileName, "01 Song.flac");
    EXPECT_EQ(track->mediaLibaryLocalPath, "/music/library/01 Song.flac");
    EXPECT_EQ(track->url(), "/music/library/01 Song.flac");
    EXPECT_EQ(fieldsOf(*track), (QStringList{"Song", "Record", "Singer", "Band"}));
    EXPECT_EQ(track->duration, 201.5);
    EXPECT_EQ(
        std::tuple(track->mediaLibraryID, track->mediaLibraryArtistID, track->mediaLibraryAlbumID),
        std::tuple(0xFFFF'FFFF'FFFF'FFF0ull, 11ull, 12ull));
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
    // "N/A" where a file track would say "Unknown Album" / "Unknown Artist".
    EXPECT_EQ(fieldsOf(*track), (QStringList{"Untitled.m4a", "N/A", "N/A", ""}));

    item.assetURL.reset();
    EXPECT_EQ(Track::fromMediaItem(item), nullptr);
}

TEST(TrackUrlDeathTest, LibraryTrackWithoutAssetPathIsAProgrammingError) {
    const TrackPtr track = Track::fromMediaItem(libraryItem("/music/x.mp3"));
    track->mediaLibaryLocalPath.reset();
    EXPECT_DEATH(track->url(), "mediaLibaryLocalPath");
}

TEST(TrackIdentity, EveryFieldCountsAndThumbnailsCompareAsImageObjects) {
    const TrackPtr a = makeTrack("Same");
    const TrackPtr b = makeTrack("Same");
    EXPECT_TRUE(*a == *b);

    // Every compared field counts.
    for (auto field :
         {&Track::title, &Track::album, &Track::artist, &Track::albumArtist, &Track::fileName}) {
        const TrackPtr other = makeTrack("Same");
        *other.*field += "!";
        EXPECT_FALSE(*a == *other);
    }
    // Canonically equivalent spellings are the same text.
    EXPECT_TRUE(*makeTrack("Caf\u00e9") == *makeTrack("Cafe\u0301"));

    // Thumbnails compare as image objects.
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

TEST(TrackOrder, RunsAgainstTheKeysAndTheFilterMatchesTheTitleIgnoringCase) {
    std::vector<TrackPtr> tracks{makeTrack("a"), makeTrack("c"), makeTrack("b")};
    std::sort(tracks.begin(), tracks.end(),
              [](const TrackPtr& x, const TrackPtr& y) { return *x < *y; });
    EXPECT_EQ(QStringList({tracks[0]->title, tracks[1]->title, tracks[2]->title}),
              (QStringList{"c", "b", "a"}));
    // Equal keys, however they are split into fields, give false both ways.
    EXPECT_FALSE(*makeTrack("ab", "c", "") < *makeTrack("a", "bc", ""));
    EXPECT_FALSE(*makeTrack("a", "bc", "") < *makeTrack("ab", "c", ""));
    // Code point order: U+FF21 sorts before U+1F3B5 although its UTF-16 unit
    // sorts after the surrogate pair.
    EXPECT_TRUE(*makeTrack("\U0001F3B5") < *makeTrack("\uFF21"));
    EXPECT_FALSE(*makeTrack("\uFF21") < *makeTrack("\U0001F3B5"));

    // The filter matches the title, ignoring case.
    const TrackPtr track = makeTrack("Sweet Child O' Mine", "Guns", "Appetite");
    EXPECT_TRUE(track->matches("child"));
    EXPECT_TRUE(track->matches("SWEET C"));
    EXPECT_TRUE(track->matches(" "));
    EXPECT_FALSE(track->matches("guns"));
    EXPECT_FALSE(track->matches("appetite"));
    EXPECT_TRUE(makeTrack("ÉTÉ")->matches("été"));
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
    EXPECT_TRUE(centre.red() < 16 && centre.green() < 16 && centre.blue() > 235)
        << qPrintable(centre.name());
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
    const TrackPtr track = musicFolderTrack("framed.wav", {.frontCover = encoded(framed)});
    track->loadAlbumArtThumbnail();
    const std::optional<QImage> thumbnail = track->albumArtThumbnail();
    ASSERT_TRUE(thumbnail);
    ASSERT_EQ(thumbnail->size(), QSize(16, 16));
    for (const QPoint corner : {QPoint(0, 0), QPoint(15, 0), QPoint(0, 15), QPoint(15, 15)}) {
        EXPECT_GT(thumbnail->pixelColor(corner).green(), 200) << corner.x() << "," << corner.y();
    }
}

TEST(TrackThumbnail, PlaceholdersOnlyWhenThereIsNoPictureAndKeptAsTheyAre) {
    // The image of a name, drawn from its resource at its own size.
    const auto image = [](const char* name) {
        QSvgRenderer renderer(QStringLiteral(":/images/%1.svg").arg(name));
        QImage drawn(renderer.defaultSize(), QImage::Format_ARGB32_Premultiplied);
        drawn.fill(Qt::transparent);
        QPainter painter(&drawn);
        renderer.render(&painter);
        return drawn;
    };
    // No picture: the named placeholder, or nothing.
    const TrackPtr bare =
        musicFolderTrack("bare.wav", {.title = "x", .backCover = pictureBytes({9, 9}, Qt::red)});
    bare->loadAlbumArtThumbnail();
    EXPECT_FALSE(bare->albumArtThumbnail());
    const TrackPtr album = musicFolderTrack("album.wav", {});
    bare->loadAlbumArtThumbnailForArtist();
    album->loadAlbumArtThumbnailForAlbum();
    // Not cut, recompressed or rescaled: the very pixels, at their own size.
    for (const auto& [track, name] : {std::pair{bare, "person-90"}, std::pair{album, "cd-90"}}) {
        ASSERT_TRUE(track->albumArtThumbnail()) << name;
        const QImage thumbnail = *track->albumArtThumbnail();
        EXPECT_EQ(thumbnail.size(), QSize(90, 90)) << name;
        EXPECT_EQ(thumbnail.devicePixelRatio(), 1.0) << name;
        EXPECT_EQ(thumbnail.convertToFormat(QImage::Format_ARGB32_Premultiplied), image(name))
            << name;
    }

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
