#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <utime.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QThread>

#include <taglib/apetag.h>
#include <taglib/fileref.h>
#include <taglib/id3v1tag.h>
#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>
#include <taglib/textidentificationframe.h>
#include <taglib/tpropertymap.h>
#include <taglib/wavpackfile.h>

#include "AudioFixtures.h"
#include "CollectionFixtures.h"
#include "FolderLibrarySource.h"
#include "LibraryTagReader.h"
#include "Log.h"
#include "M3uReader.h"
#include "MediaLibraryManager.h"
#include "TagReader.h"
#include "TestSupport.h"
#include "Track.h"
#include "UserDefaults.h"

namespace {

QString libraryRoot() {
    return testHome() + "/Music";
}

QString indexPath() {
    return testHome() + "/index.sqlite";
}

void setTrackNumber(const QString& path, const QString& number) {
    TagLib::FileRef ref(QFile::encodeName(path).constData());
    TagLib::PropertyMap properties = ref.file()->properties();
    properties.replace("TRACKNUMBER", TagLib::String(number.toStdString()));
    ref.file()->setProperties(properties);
    ASSERT_TRUE(ref.save());
}

void addLibraryFile(const QString& relative, const TagSpec& spec, const QString& number = {}) {
    const QString path = QDir(libraryRoot()).filePath(relative);
    writeFile(path, pcmWav(800));
    ASSERT_TRUE(writeTag(path, spec));
    if (!number.isEmpty()) {
        setTrackNumber(path, number);
    }
}

std::shared_ptr<FolderLibrarySource> grantedSource() {
    auto source = std::make_shared<FolderLibrarySource>(libraryRoot(), indexPath());
    source->setAuthorizationStatus(MediaLibraryAuthorizationStatus::authorized);
    return source;
}

QHash<QString, MediaItem> itemsByTitle(MediaLibrarySource& source) {
    QHash<QString, MediaItem> items;
    for (const MediaItem& item : source.songs().value_or(QList<MediaItem>{})) {
        items.insert(item.title.value_or("<none>"), item);
    }
    return items;
}

struct Loaded {
    bool done = false;
    bool onMainThread = false;
    QList<TrackPtr> sorted;
    QList<TrackPtr> original;
};

Loaded load(MediaLibraryManager& manager, bool forceReload) {
    auto loaded = std::make_shared<Loaded>();
    manager.loadTracks(forceReload, [loaded](QList<TrackPtr> sorted, QList<TrackPtr> original) {
        loaded->onMainThread = QThread::currentThread() == qApp->thread();
        loaded->sorted = sorted;
        loaded->original = original;
        loaded->done = true;
    });
    EXPECT_TRUE(waitUntil([&] { return loaded->done; }, 20000));
    return *loaded;
}

QStringList titles(const QList<TrackPtr>& tracks) {
    QStringList result;
    for (const TrackPtr& track : tracks) {
        result.append(track->title);
    }
    return result;
}

}  // namespace

TEST(M3uReader, ReadsEntriesWithTheirInfoLines) {
    const M3uPlaylist playlist = readM3u(
        "\xEF\xBB\xBF#EXTM3U\r\n#PLAYLIST:Road\r\n#EXTINF:123,Artist - Title\r\nsub/a.mp3\r\n"
        "\r\n# comment\r\n/abs/b.flac\r\n#EXTINF:-1 tvg=x,\r\nfile:///c%20d.ogg\n#EXTINF:bad",
        true);
    EXPECT_EQ(playlist.name, "Road");
    ASSERT_EQ(playlist.entries.size(), 3);
    EXPECT_EQ(playlist.entries[0].location, "sub/a.mp3");
    EXPECT_EQ(playlist.entries[0].duration, 123.0);
    EXPECT_EQ(playlist.entries[0].title, "Artist - Title");
    EXPECT_EQ(playlist.entries[1].location, "/abs/b.flac");
    EXPECT_FALSE(playlist.entries[1].duration.has_value());
    EXPECT_FALSE(playlist.entries[2].duration.has_value());  // -1: unknown
    EXPECT_FALSE(playlist.entries[2].title.has_value());

    // Latin-1 only for ".m3u"; ".m3u8" stays UTF-8.
    EXPECT_EQ(readM3u("caf\xE9.mp3\n", false).entries[0].location, QString::fromUtf8("café.mp3"));
    EXPECT_NE(readM3u("caf\xE9.mp3\n", true).entries[0].location, QString::fromUtf8("café.mp3"));
}

TEST(FolderLibrarySource, ItemsCarryTheirTagsWithAbsentFieldsAbsent) {
    addLibraryFile("Artist/Album/01.wav",
                   {.title = "One",
                    .album = "Album",
                    .artist = "Artist",
                    .albumArtist = "AA",
                    .frontCover = pictureBytes({40, 20}, Qt::red)},
                   "1");
    addLibraryFile("loose.wav", {});
    writeFile(QDir(libraryRoot()).filePath("cover.jpg"), pictureBytes({4, 4}, Qt::blue, "JPG"));
    // A link back up the tree is followed once, not for ever.
    ASSERT_TRUE(QFile::link(libraryRoot(), QDir(libraryRoot()).filePath("Artist/loop")));
    auto source = grantedSource();
    EXPECT_EQ(source->songs()->size(), 2);
    const QHash<QString, MediaItem> items = itemsByTitle(*source);
    ASSERT_EQ(items.size(), 2);

    const MediaItem one = items.value("One");
    EXPECT_EQ(one.albumTitle, "Album");
    EXPECT_EQ(one.artist, "Artist");
    EXPECT_EQ(one.albumArtist, "AA");
    EXPECT_EQ(one.albumTrackNumber, 1);
    EXPECT_NEAR(one.playbackDuration, 0.1, 0.002);
    EXPECT_EQ(one.assetURL, QDir(libraryRoot()).filePath("Artist/Album/01.wav"));
    EXPECT_EQ(one.persistentID, FolderLibrarySource::itemID("Artist/Album/01.wav"));
    EXPECT_EQ(one.artistPersistentID, FolderLibrarySource::artistID("Artist"));
    const QImage art = one.artwork(QSize(128, 128));
    EXPECT_EQ(art.size(), QSize(128, 64));

    const MediaItem loose = items.value("<none>");
    EXPECT_FALSE(loose.title || loose.albumTitle || loose.artist || loose.albumArtist ||
                 loose.albumTrackNumber);
    EXPECT_TRUE(loose.artwork(QSize(128, 128)).isNull());
    const TrackPtr track = Track::fromMediaItem(loose);
    EXPECT_EQ(track->title, "loose.wav");
    EXPECT_EQ(track->artist, "N/A");
}

// The library reads through its own stream what a track reads through
// TagLib's: the same fields, in every format and tag layout.
TEST(FolderLibrarySource, ReadsEveryFormatAsATrackDoes) {
    const QString dir = testHome() + "/formats/";
    QStringList paths;
    const auto add = [&](const QString& name, const QByteArray& audio) {
        writeFile(dir + name, audio);
        paths.append(dir + name);
        return dir + name;
    };
    const TagSpec full{.title = "Título",
                       .album = "Album",
                       .artist = "Artist",
                       .albumArtist = "Band",
                       .frontCover = pictureBytes({8, 8}, Qt::red)};
    // Present but empty values, and absent ones, in every format.
    const TagSpec sparse{.title = "", .artist = "Artist"};
    for (const FixtureFormat format :
         {FixtureFormat::mp3, FixtureFormat::flac, FixtureFormat::oggVorbis, FixtureFormat::opus,
          FixtureFormat::m4aAac, FixtureFormat::wav, FixtureFormat::aiff}) {
        const QString suffix = fixtureExtension(format);
        // Lengths of whole milliseconds and between them.
        const int rate = format == FixtureFormat::opus ? 48000 : 8000;
        const QString tagged = add("full" + suffix, untaggedAudio(format, rate / 5));
        ASSERT_TRUE(writeTag(tagged, full)) << fixtureName(format);
        setTrackNumber(tagged, "7/12");
        const QByteArray between = untaggedAudio(format, rate / 5 + rate / 1000 * 7 / 10);
        ASSERT_TRUE(writeTag(add("sparse" + suffix, between), sparse)) << fixtureName(format);
        add("bare" + suffix, between);
    }
    {
        // ID3v2 lists, and user text frames under the keys they name.
        TagLib::MPEG::File file(QFile::encodeName(add("lists.mp3", silentMp3(20))).constData());
        auto* artists = new TagLib::ID3v2::TextIdentificationFrame("TPE1", TagLib::String::UTF8);
        artists->setText(TagLib::StringList(TagLib::String("One")).append("Two"));
        file.ID3v2Tag(true)->addFrame(artists);
        auto* band = new TagLib::ID3v2::UserTextIdentificationFrame(TagLib::String::UTF8);
        band->setDescription("AlbumArtist");
        band->setText("Band");
        file.ID3v2Tag()->addFrame(band);
        file.ID3v2Tag()->setTitle("Lists");
        ASSERT_TRUE(file.save(TagLib::MPEG::File::ID3v2));
    }
    {
        // Only the tags below ID3v2: APE first, ID3v1 filling its gaps.
        TagLib::MPEG::File file(QFile::encodeName(add("v1.mp3", silentMp3(20))).constData());
        file.ID3v1Tag(true)->setTitle("Old");
        file.ID3v1Tag()->setTrack(4);
        file.APETag(true)->setArtist("Ape");
        ASSERT_TRUE(file.save(TagLib::MPEG::File::ID3v1 | TagLib::MPEG::File::APE));
    }
    {
        // An APE tag with its own spellings of the keys, on a WavPack block.
        QByteArray block("wvpk");
        block.append(
            QByteArray::fromHex("18000000100400000000000000000000ffffffff0000000000000000"));
        TagLib::WavPack::File file(QFile::encodeName(add("ape.wv", block)).constData());
        file.APETag(true)->setTitle("Ape title");
        file.APETag()->addValue("Album Artist", "Ape band");
        file.APETag()->addValue("Track", "9");
        ASSERT_TRUE(file.save());
    }
    writeFile(dir + "broken.flac", "fLaC and nothing that follows");
    paths.append(dir + "broken.flac");

    QHash<QString, IndexedFile> read;
    for (const QString& path : paths) {
        SCOPED_TRACE(path.toStdString());
        IndexedFile& direct = read[path.section('/', -1)];
        readLibraryTags(path, direct);
        const TagFields reference = TagReader::readFields(path);
        EXPECT_EQ(direct.title, reference.title);
        EXPECT_EQ(direct.album, reference.album);
        EXPECT_EQ(direct.artist, reference.artist);
        EXPECT_EQ(direct.albumArtist, reference.albumArtist);
        EXPECT_EQ(direct.trackNumber, reference.trackNumber);
    }
    // Both see what was written.
    EXPECT_EQ(read["full.flac"].title, "Título");
    EXPECT_EQ(read["full.flac"].albumArtist, "Band");
    EXPECT_EQ(read["full.flac"].trackNumber, 7);
    EXPECT_NEAR(read["full.flac"].duration, 0.2, 0.01);
    EXPECT_EQ(read["lists.mp3"].artist, "One / Two");
    EXPECT_EQ(read["lists.mp3"].albumArtist, "Band");
    EXPECT_EQ(read["ape.wv"].albumArtist, "Ape band");
    EXPECT_EQ(read["ape.wv"].trackNumber, 9);
    EXPECT_EQ(read["v1.mp3"].title, "Old");
    EXPECT_EQ(read["v1.mp3"].artist, "Ape");
    EXPECT_EQ(read["v1.mp3"].trackNumber, 4);
    EXPECT_EQ(read["sparse.ogg"].title, "");
    EXPECT_FALSE(read["sparse.ogg"].album);
    // A file gone since the walk is no file at all.
    IndexedFile gone;
    EXPECT_FALSE(readLibraryTags(dir + "gone.mp3", gone));
    EXPECT_TRUE(readLibraryTags(dir + "broken.flac", gone));
    EXPECT_EQ(gone.size, 29);
}

// The library and the music folder show one length for one file: the
// decoder's, to the sample, rather than TagLib's milliseconds with an MP3's
// delay and padding counted in, or its guess for an MP3 without a header.
TEST(FolderLibrarySource, LengthsAreTheDecodersAsTheMusicFolderShowsThem) {
    const QString dir = testHome() + "/lengths/";
    for (const FixtureFormat format :
         {FixtureFormat::mp3, FixtureFormat::flac, FixtureFormat::wav, FixtureFormat::aiff,
          FixtureFormat::oggVorbis, FixtureFormat::opus, FixtureFormat::mp3NoHeader,
          FixtureFormat::wavFloat}) {
        SCOPED_TRACE(fixtureName(format));
        const int rate = format == FixtureFormat::opus ? 48000 : 44100;
        const QString name = QString(fixtureName(format)) + fixtureExtension(format);
        // Between whole milliseconds, and long enough for several MP3 frames.
        ASSERT_EQ(writeAudioFixture(dir + name, {format, rate / 2 + 77, rate, 2, {}}), "");
        IndexedFile library;
        ASSERT_TRUE(readLibraryTags(dir + name, library));
        const TrackPtr track = Track::fromFile(name, dir);
        ASSERT_TRUE(track);
        EXPECT_EQ(library.duration, track->duration);
    }
}

TEST(FolderLibrarySource, IdsAreStableAndTheIndexSparesUnchangedFiles) {
    addLibraryFile("a.wav", {.title = "A", .album = "Same", .artist = "X", .albumArtist = "AA"});
    addLibraryFile("b.wav", {.title = "B", .album = "Same", .artist = "Y", .albumArtist = "AA"});
    addLibraryFile("c.wav", {.title = "C", .album = "Gone"});
    QHash<QString, MediaItem> first = itemsByTitle(*grantedSource());
    EXPECT_EQ(first.value("A").albumPersistentID, first.value("B").albumPersistentID);
    EXPECT_NE(first.value("A").artistPersistentID, first.value("B").artistPersistentID);

    // Same size, same time, other bytes: an index that reads again would see
    // a file without tags.
    const QByteArray aPath = QFile::encodeName(QDir(libraryRoot()).filePath("a.wav"));
    struct stat before {};
    ASSERT_EQ(::stat(aPath.constData(), &before), 0);
    QFile a(aPath);
    ASSERT_TRUE(a.open(QIODevice::ReadWrite));
    const QByteArray garbage(a.size(), 'z');
    a.write(garbage);
    a.close();
    const timespec times[2] = {before.st_atim, before.st_mtim};
    ASSERT_EQ(::utimensat(AT_FDCWD, aPath.constData(), times, 0), 0);

    // Retagged and removed files are picked up by the next start.
    addLibraryFile("b.wav", {.title = "B2", .album = "Same", .artist = "Y", .albumArtist = "AA"});
    QFile::remove(QDir(libraryRoot()).filePath("c.wav"));
    const QHash<QString, MediaItem> second = itemsByTitle(*grantedSource());
    EXPECT_EQ(QSet<QString>(second.keyBegin(), second.keyEnd()), (QSet<QString>{"A", "B2"}));
    EXPECT_EQ(second.value("A").persistentID, first.value("A").persistentID);
    EXPECT_EQ(second.value("B2").persistentID, first.value("B").persistentID);

    // A damaged index is rebuilt, with the same IDs.
    writeFile(indexPath(), "not a database at all, not at all, not at all");
    const QHash<QString, MediaItem> rebuilt = itemsByTitle(*grantedSource());
    EXPECT_EQ(rebuilt.size(), 2);
    EXPECT_EQ(rebuilt.value("B2").persistentID, first.value("B").persistentID);
}

TEST(FolderLibrarySource, PlaylistsResolveTheirEntriesToLibraryItems) {
    addLibraryFile("Rock/a.wav", {.title = "A"});
    addLibraryFile("Rock/b.wav", {.title = "B"});
    writeFile(QDir(libraryRoot()).filePath("Lists/Mix.m3u8"),
              "#EXTM3U\n#EXTINF:1,A\n../Rock/a.wav\nmissing.wav\n" +
                  QDir(libraryRoot()).filePath("Rock/b.wav").toUtf8() + "\n");
    writeFile(
        QDir(libraryRoot()).filePath("Named.m3u"),
        "#PLAYLIST:My Name\nfile://" + QDir(libraryRoot()).filePath("Rock/a.wav").toUtf8() + "\n");
    const QList<MediaPlaylist> playlists = grantedSource()->playlists().value();
    ASSERT_EQ(playlists.size(), 2);
    EXPECT_EQ(playlists[0].name, "Mix");
    EXPECT_EQ(playlists[0].itemPersistentIDs,
              (QList<quint64>{FolderLibrarySource::itemID("Rock/a.wav"),
                              FolderLibrarySource::itemID("Rock/b.wav")}));
    EXPECT_EQ(playlists[1].name, "My Name");
    EXPECT_EQ(playlists[1].itemPersistentIDs.size(), 1);
    EXPECT_EQ(playlists[0].persistentID, grantedSource()->playlists().value()[0].persistentID);
}

TEST(MediaLibraryManager, AsksOnceThenSendsToTheSettingsAndDeniedGivesEmptyLists) {
    addLibraryFile("1.wav", {.title = "b"});
    auto source = std::make_shared<FolderLibrarySource>(libraryRoot(), indexPath());
    std::function<void(bool)> answer;
    int settingsOpened = 0;
    source->consentPrompt = [&](std::function<void(bool)> reply) { answer = reply; };
    source->settingsPage = [&] { ++settingsOpened; };
    MediaLibraryManager manager(source);

    std::optional<bool> granted;
    manager.requestAuthorization([&](bool value) { granted = value; });
    // The flag is set while the prompt is still open.
    EXPECT_TRUE(UserDefaults::standard().boolForKey(
        MediaLibraryManager::MPLibraryAuthorizationAlreadyRequestedKey));
    ASSERT_TRUE(answer);
    answer(false);
    EXPECT_EQ(granted, false);
    EXPECT_EQ(source->authorizationStatus(), MediaLibraryAuthorizationStatus::denied);

    granted.reset();
    manager.requestAuthorization([&](bool value) { granted = value; });
    EXPECT_EQ(settingsOpened, 1);
    EXPECT_FALSE(granted.has_value());

    // Denied, every load is empty and queries again.
    LogCapture log;
    EXPECT_TRUE(load(manager, false).sorted.isEmpty());
    EXPECT_TRUE(load(manager, false).sorted.isEmpty());
    EXPECT_EQ(log.count("Media items count: 0"), 2);

    bool done = false;
    manager.loadPlaylists(false, [&](QList<Playlist> sorted, QList<Playlist> original) {
        EXPECT_TRUE(sorted.isEmpty() && original.isEmpty());
        done = true;
    });
    EXPECT_TRUE(waitUntil([&] { return done; }));
}

TEST(MediaLibraryManager, LoadsOnceSortedWithTheLogLinesAndDeliversOnMain) {
    addLibraryFile("1.wav", {.title = "b"});
    addLibraryFile("2.wav", {.title = "c"});
    addLibraryFile("3.wav", {.title = "a"});
    writeFile(QDir(libraryRoot()).filePath("zeta.m3u"), "1.wav\n");
    writeFile(QDir(libraryRoot()).filePath("Beta.m3u8"), "1.wav\n");
    MediaLibraryManager manager(grantedSource());
    LogCapture log;
    const Loaded first = load(manager, false);
    EXPECT_TRUE(first.onMainThread);
    EXPECT_EQ(titles(first.sorted), (QStringList{"c", "b", "a"}));
    EXPECT_EQ(titles(first.original), (QStringList{"b", "c", "a"}));
    EXPECT_NE(first.sorted[0], first.original[1]);  // separate objects
    EXPECT_EQ(log.lines(),
              (QStringList{"Entering loadTracks", "forceReload: false, self.tracks.isEmpty: true",
                           "Loading tracks...", "Media items count: 3"}));

    addLibraryFile("4.wav", {.title = "d"});
    log.clear();
    const Loaded cached = load(manager, false);
    EXPECT_EQ(cached.sorted, first.sorted);  // the same objects: no query
    EXPECT_TRUE(waitUntil([&] { return log.lines().size() == 3; }));
    EXPECT_EQ(log.lines().last(), "Tracks already loaded and forceReload is false.");

    log.clear();
    const Loaded forced = load(manager, true);
    EXPECT_EQ(titles(forced.sorted), (QStringList{"d", "c", "b", "a"}));
    EXPECT_EQ(
        log.lines(),
        (QStringList{"Entering loadTracks", "forceReload: true, self.tracks.isEmpty: false",
                     "Force reloading tracks...", "Loading tracks...", "Media items count: 4"}));

    const Playlist members = Playlist::fromMediaPlaylist(
        {1, QString("P"), {*forced.sorted[3]->mediaLibraryID, *forced.sorted[0]->mediaLibraryID}});
    EXPECT_EQ(titles(MediaLibraryManager::tracksOfPlaylist(members, forced.sorted)),
              (QStringList{"d", "a"}));

    // Playlists sort by name, and a cached answer comes without the originals.
    QList<QStringList> calls;
    const auto record = [&](QList<Playlist> sorted, QList<Playlist> original) {
        QStringList names;
        for (const Playlist& p : sorted) {
            names.append(p.name);
        }
        names.append(QString::number(original.size()));
        calls.append(names);
    };
    manager.loadPlaylists(false, record);
    ASSERT_TRUE(waitUntil([&] { return calls.size() == 1; }));
    manager.loadPlaylists(false, record);
    ASSERT_TRUE(waitUntil([&] { return calls.size() == 2; }));
    EXPECT_EQ(calls[0], (QStringList{"Beta", "zeta", "2"}));
    EXPECT_EQ(calls[1], (QStringList{"Beta", "zeta", "0"}));
}

// A manager that goes while its queries run: they finish on what they hold
// and still answer.
TEST(MediaLibraryManager, QueriesOutliveTheirManager) {
    addLibraryFile("1.wav", {.title = "only"});
    auto tracks = std::make_shared<QStringList>();
    auto playlists = std::make_shared<int>(-1);
    {
        MediaLibraryManager manager(grantedSource());
        manager.loadTracks(
            false, [tracks](QList<TrackPtr> sorted, QList<TrackPtr>) { *tracks = titles(sorted); });
        manager.loadPlaylists(false, [playlists](QList<Playlist> sorted, QList<Playlist>) {
            *playlists = static_cast<int>(sorted.size());
        });
    }
    EXPECT_TRUE(waitUntil([&] { return !tracks->isEmpty() && *playlists >= 0; }, 20000));
    EXPECT_EQ(*tracks, QStringList{"only"});
}
