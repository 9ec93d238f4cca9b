#include <gtest/gtest.h>

#include <sys/stat.h>

#include <QDir>
#include <QFile>
#include <cstdio>

#include "AppDirectories.h"
#include "CollectionFixtures.h"
#include "TestSupport.h"

namespace {

ProcessRun cli(const QStringList& arguments) {
    return runProcess(CORVANTIS_CLI, arguments);
}

QStringList outputLines(const ProcessRun& run) {
    return run.out.split('\n', Qt::SkipEmptyParts);
}

}  // namespace

TEST(ScanCommand, ListsTheFolderLowToHighWithTabs) {
    addMusicFile("b.wav", {.title = "Song", .album = "Zed", .artist = "Bee"});
    addMusicFile("a.wav", {.title = "Song", .album = "Alpha", .artist = "Bee"});
    addMusicFile("c.wav", {.title = "Tab\there", .artist = "Cee"});
    writeFile(QDir(downloadedMusicDirectory()).filePath("README"), "text");

    const ProcessRun run = cli({"scan"});
    ASSERT_EQ(run.exitCode, 0) << qPrintable(run.err);
    EXPECT_EQ(outputLines(run), (QStringList{
                                    "README\tREADME\tUnknown Artist\tUnknown Album\tnan",
                                    "a.wav\tSong\tBee\tAlpha\t0.010",
                                    "b.wav\tSong\tBee\tZed\t0.010",
                                    "c.wav\tTab\\there\tCee\tUnknown Album\t0.010",
                                }));
    EXPECT_NE(cli({"scan", "extra"}).exitCode, 0);
}

// File names are bytes: one that is not UTF-8 is listed (shown with U+FFFD)
// and read by its own bytes; a FIFO, which a tag reader would wait on
// forever, is not listed at all.
TEST(ScanCommand, ListsNamesThatAreNotUtf8AndSkipsFifos) {
    addMusicFile("song.wav", {.title = "Song"});
    const QByteArray folder = QFile::encodeName(downloadedMusicDirectory());
    ASSERT_EQ(::rename(folder + "/song.wav", folder + "/caf\xe9.wav"), 0);
    ASSERT_EQ(::mkfifo(folder + "/x.mp3", 0600), 0);
    const ProcessRun run = cli({"scan"});
    ASSERT_EQ(run.exitCode, 0) << qPrintable(run.err);
    EXPECT_EQ(outputLines(run),
              QStringList{"caf\uFFFD.wav\tSong\tUnknown Artist\tUnknown Album\t0.010"});
}

TEST(PlaylistsCommand, CreateChangeShowAndDeleteThroughTheStore) {
    const ProcessRun created = cli({"playlists", "create", "Road Trip"});
    ASSERT_EQ(created.exitCode, 0) << qPrintable(created.err);
    const QString id = created.out.trimmed();
    EXPECT_TRUE(id.endsWith(".m3u8"));
    EXPECT_NE(cli({"playlists", "create", ""}).exitCode, 0);

    EXPECT_EQ(cli({"playlists", "add", id, "b.mp3"}).exitCode, 0);
    EXPECT_EQ(cli({"playlists", "add", id, "a.mp3"}).exitCode, 0);
    EXPECT_EQ(cli({"playlists", "add", id, "a.mp3"}).exitCode, 0);
    EXPECT_EQ(cli({"playlists", "add", id, "c.mp3"}).exitCode, 0);
    EXPECT_EQ(cli({"playlists", "remove", id, "c.mp3"}).exitCode, 0);
    EXPECT_EQ(cli({"playlists", "show", id}).out, "name: Road Trip\na.mp3\nb.mp3\n");

    const QString other = cli({"playlists", "create", "Alpha"}).out.trimmed();
    EXPECT_EQ(cli({"playlists", "list"}).out, other + "\tAlpha\t0\n" + id + "\tRoad Trip\t2\n");

    // An empty rename is saved and reads back empty.
    EXPECT_EQ(cli({"playlists", "rename", id, ""}).exitCode, 0);
    EXPECT_EQ(cli({"playlists", "show", id}).out, "name: \na.mp3\nb.mp3\n");

    EXPECT_EQ(cli({"playlists", "delete", other}).exitCode, 0);
    EXPECT_EQ(outputLines(cli({"playlists"})).size(), 1);
    for (const QStringList& bad :
         {QStringList{"playlists", "show", "nope"}, QStringList{"playlists", "delete", other},
          QStringList{"playlists", "add", id}, QStringList{"playlists", "frobnicate"}}) {
        const ProcessRun run = cli(bad);
        EXPECT_EQ(run.exitCode, 2) << qPrintable(bad.join(' '));
        EXPECT_TRUE(run.err.contains("corvantis-cli: ")) << qPrintable(run.err);
    }
}

TEST(LibraryCommand, NeedsConsentThenListsTracksAlbumsArtistsAndPlaylists) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    const QString root = testHome() + "/Music";
    environment.insert("CORVANTIS_LIBRARY_DIR", root);
    const auto library = [&](const QStringList& arguments) {
        return runProcess(CORVANTIS_CLI, QStringList{"library"} + arguments, 20000, environment);
    };
    const auto add = [&](const QString& relative, const TagSpec& spec) {
        const QString path = root + "/" + relative;
        writeFile(path, pcmWav(800));
        ASSERT_TRUE(writeTag(path, spec));
    };
    add("x/one.wav", {.title = "One", .album = "Blue", .artist = "Miles", .albumArtist = "Miles"});
    add("x/two.wav", {.title = "Two", .album = "Blue", .artist = "Miles", .albumArtist = "Miles"});
    add("three.wav", {.title = "Three", .album = "Kind", .artist = "Bill"});
    writeFile(root + "/Best.m3u", "x/two.wav\nthree.wav\nnowhere.wav\n");

    const ProcessRun refused = library({"tracks"});
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_TRUE(refused.err.contains("--grant")) << qPrintable(refused.err);

    const ProcessRun tracks = library({"tracks", "--grant"});
    ASSERT_EQ(tracks.exitCode, 0) << qPrintable(tracks.err);
    const QStringList lines = outputLines(tracks);
    ASSERT_EQ(lines.size(), 3);
    // High to low by title, artist and album, as loadTracks delivers.
    EXPECT_TRUE(lines[0].endsWith("\tTwo\tMiles\tBlue\t0.100")) << qPrintable(lines[0]);
    EXPECT_TRUE(lines[2].contains("\tOne\t"));

    // Access granted once stays granted; IDs are the same on the next run.
    EXPECT_EQ(library({}).out, tracks.out);
    const QStringList albums = outputLines(library({"albums"}));
    ASSERT_EQ(albums.size(), 2);
    EXPECT_TRUE(albums[0].endsWith("\tBlue\tMiles"));
    EXPECT_TRUE(albums[1].endsWith("\tKind\tBill"));
    const QStringList artists = outputLines(library({"artists"}));
    ASSERT_EQ(artists.size(), 2);
    EXPECT_TRUE(artists[0].endsWith("\tBill"));
    const QStringList playlists = outputLines(library({"playlists"}));
    ASSERT_EQ(playlists.size(), 1);
    EXPECT_TRUE(playlists[0].endsWith("\tBest\t2")) << qPrintable(playlists[0]);
    EXPECT_EQ(library({"bogus"}).exitCode, 2);
}
