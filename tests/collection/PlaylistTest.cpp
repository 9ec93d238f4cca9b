#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include "Log.h"
#include "NotificationCenter.h"
#include "Playlist.h"
#include "PlaylistsManager.h"
#include "TestSupport.h"

namespace {

Playlist parsed(const QByteArray& text) {
    writeFile(QDir(playlistsDirectory()).filePath("P.m3u8"), text);
    const std::optional<Playlist> playlist = Playlist::fromFile("P.m3u8", playlistsDirectory());
    EXPECT_TRUE(playlist.has_value());
    return playlist.value_or(Playlist{});
}

using Names = QSet<QString>;

}  // namespace

TEST(PlaylistFile, WritesHeaderNameAndMembersWithoutTrailingLineFeedAndReadsThemBack) {
    Playlist road{"R.m3u8", "Road", {"a.mp3", "b.mp3"}, false};
    const QString text = road.description();
    EXPECT_TRUE(text == "#EXTM3U\n#EXTINF:name=Road\na.mp3\nb.mp3" ||
                text == "#EXTM3U\n#EXTINF:name=Road\nb.mp3\na.mp3")
        << qPrintable(text);

    const Playlist none{"E.m3u8", "Empty", {}, false};
    EXPECT_EQ(none.description(), "#EXTM3U\n#EXTINF:name=Empty\n");

    const Playlist original{"X.m3u8", "Évening mix", {"a b.mp3", "ü.flac", "c.m4a"}, false};
    const Playlist read = parsed(original.description().toUtf8());
    EXPECT_EQ(read.id, "P.m3u8");
    EXPECT_EQ(read.name, original.name);
    EXPECT_EQ(read.fileNames, original.fileNames);
    EXPECT_FALSE(read.mediaLibraryItem);

    LogCapture log;
    const Playlist renamed{"E.m3u8", "", {"a.mp3", "b.mp3"}, false};
    const Playlist empty = parsed(renamed.description().toUtf8());
    EXPECT_EQ(empty.name, "");
    EXPECT_EQ(empty.fileNames, renamed.fileNames);
    ASSERT_EQ(log.lines().size(), 1);
    EXPECT_TRUE(log.lines().first().contains("P.m3u8")) << qPrintable(log.lines().first());
}

TEST(PlaylistFile, ReaderQuirks) {
    // "=" and ";" cut a name.
    EXPECT_EQ(parsed("#EXTM3U\n#EXTINF:name=a=b\n").name, "a");
    EXPECT_EQ(parsed("#EXTM3U\n#EXTINF:name=x;y\n").name, "x");
    // Keys sit at even places; the first "name" wins within a line.
    EXPECT_EQ(parsed("#EXTINF:k=v;name=N;name=M\n").name, "N");
    EXPECT_EQ(parsed("#EXTINF:k;name\n").name, "Playlist");
    // A later info line wins; one without the key leaves the name alone.
    EXPECT_EQ(parsed("#EXTINF:name=One\n#EXTINF:name=Two\n").name, "Two");
    EXPECT_EQ(parsed("#EXTINF:name=One\n#EXTINF:123,Artist - Title\n").name, "One");
    // No info line: the default name.
    const Playlist bare = parsed("a.mp3\n\n\nb.mp3\na.mp3\n#comment\n");
    EXPECT_EQ(bare.name, "Playlist");
    EXPECT_EQ(bare.fileNames, (Names{"a.mp3", "b.mp3"}));
    // A foreign M3U keeps its path lines as they stand.
    const Playlist foreign = parsed("#EXTM3U\n#EXTINF:123,Artist - Title\n../Music/x.mp3\n");
    EXPECT_EQ(foreign.name, "Playlist");
    EXPECT_EQ(foreign.fileNames, (Names{"../Music/x.mp3"}));
    // CR LF does not split a line.
    const Playlist crlf = parsed("#EXTM3U\r\n#EXTINF:name=Road\r\na.mp3\r\nb.mp3\r\n");
    EXPECT_EQ(crlf.name, "Playlist");
    EXPECT_TRUE(crlf.fileNames.isEmpty());
    // A bare carriage return is an ordinary character of the line.
    EXPECT_EQ(parsed("#EXTINF:name=R\na.mp3\r\rb.mp3\n").fileNames, (Names{"a.mp3\r\rb.mp3"}));

    // An unreadable or non-UTF-8 file gives no playlist.
    EXPECT_FALSE(Playlist::fromFile("missing.m3u8", playlistsDirectory()).has_value());
    writeFile(QDir(playlistsDirectory()).filePath("bad.m3u8"), "#EXTM3U\n\xff\xfe\x80.mp3\n");
    EXPECT_FALSE(Playlist::fromFile("bad.m3u8", playlistsDirectory()).has_value());
}

TEST(PlaylistRecord, IdentityOrderAndLibraryPlaylists) {
    const Playlist a{"1", "alpha", {}, false};
    const Playlist b{"1", "beta", {"x"}, false};
    const Playlist upper{"2", "Zed", {}, false};
    EXPECT_EQ(a, b);
    EXPECT_TRUE(a < b);
    EXPECT_FALSE(b < a);
    EXPECT_TRUE(upper < a);  // upper case sorts first, no locale

    const QRegularExpression idForm(
        "^[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}\\.m3u8$");
    const QString id = Playlist::newId();
    EXPECT_TRUE(idForm.match(id).hasMatch()) << qPrintable(id);
    EXPECT_NE(id, Playlist::newId());

    const Playlist library =
        Playlist::fromMediaPlaylist({18446744073709551615ull, std::nullopt, {7, 8, 7}});
    EXPECT_EQ(library.id, "18446744073709551615");
    EXPECT_EQ(library.name, "Playlist");
    EXPECT_EQ(library.fileNames, (Names{"7", "8"}));
    EXPECT_TRUE(library.mediaLibraryItem);
}

TEST(PlaylistsManager, StartUpReadsEveryReadableEntry) {
    writeFile(QDir(playlistsDirectory()).filePath("A.m3u8"), "#EXTM3U\n#EXTINF:name=A\nx.mp3");
    writeFile(QDir(playlistsDirectory()).filePath("notes.txt"), "y.mp3\n");
    writeFile(QDir(playlistsDirectory()).filePath("broken"), "\xc3\x28");
    QDir(playlistsDirectory()).mkpath("sub");
    // Reading a FIFO would wait for a writer forever.
    ASSERT_EQ(::mkfifo(QFile::encodeName(QDir(playlistsDirectory()).filePath("pipe.m3u8")), 0600),
              0);
    PlaylistsManager& manager = PlaylistsManager::shared();
    EXPECT_EQ(manager.playlists().size(), 2);
    EXPECT_EQ(manager.playlist("A.m3u8")->fileNames, (Names{"x.mp3"}));
    EXPECT_EQ(manager.playlist("notes.txt")->name, "Playlist");
}

TEST(PlaylistsManager, SaveWritesRecordsAndNotifiesOnlyWhenAsked) {
    PlaylistsManager& manager = PlaylistsManager::shared();
    QList<Playlist> posted;
    NotificationCenter::defaultCenter().addObserver(
        kPlaylistChangedNotification, nullptr, [&](const Notification& note) {
            EXPECT_EQ(note.object, nullptr);
            posted.append(note.userInfo.value(kPlaylistUserInfoKey).value<Playlist>());
        });

    Playlist playlist{Playlist::newId(), "Road", {}, false};
    EXPECT_TRUE(manager.savePlaylist(playlist, true));
    EXPECT_EQ(readFile(QDir(playlistsDirectory()).filePath(playlist.id)),
              "#EXTM3U\n#EXTINF:name=Road\n");
    ASSERT_EQ(posted.size(), 1);
    EXPECT_EQ(posted.first().name, "Road");

    // Adding a member already there still saves and notifies.
    playlist.fileNames.insert("a.mp3");
    EXPECT_TRUE(manager.savePlaylist(playlist, true));
    EXPECT_TRUE(manager.savePlaylist(playlist, true));
    EXPECT_EQ(posted.size(), 3);
    playlist.fileNames.remove("a.mp3");
    EXPECT_TRUE(manager.savePlaylist(playlist, false));
    EXPECT_EQ(posted.size(), 3);
    EXPECT_TRUE(manager.playlist(playlist.id)->fileNames.isEmpty());

    LogCapture log;
    Playlist library = Playlist::fromMediaPlaylist({5, QString("L"), {}});
    EXPECT_FALSE(manager.savePlaylist(library, true));
    EXPECT_TRUE(log.contains("Can not save Media Library Playlist"));
    EXPECT_FALSE(QFileInfo::exists(QDir(playlistsDirectory()).filePath("5")));
    EXPECT_EQ(posted.size(), 3);

    // What was saved survives a fresh read of the directory.
    const PlaylistsManager reread(playlistsDirectory());
    EXPECT_EQ(reread.playlists().size(), 1);
    EXPECT_EQ(reread.playlist(playlist.id)->name, "Road");
}

// A line break in a name or file name would make a member or a name of its own
// in the file; each separator is a space in the file and in the record.
TEST(PlaylistsManager, LineBreaksInNamesAreWrittenAsSpaces) {
    PlaylistsManager& manager = PlaylistsManager::shared();
    const QList<QChar> separators{u'\n',       u'\r',         u'\v',        u'\f',
                                  QChar(0x85), QChar(0x2028), QChar(0x2029)};
    for (const QChar separator : separators) {
        SCOPED_TRACE(int(separator.unicode()));
        const QString id = Playlist::newId();
        const Playlist playlist{id,
                                QString("Road") + separator + "Trip",
                                {QString("a.mp3") + separator + "b.mp3", "c.mp3"},
                                false};
        EXPECT_TRUE(manager.savePlaylist(playlist, false));
        const Names expected{"a.mp3 b.mp3", "c.mp3"};
        EXPECT_EQ(manager.playlist(id)->name, "Road Trip");
        EXPECT_EQ(manager.playlist(id)->fileNames, expected);
        const PlaylistsManager reread(playlistsDirectory());
        EXPECT_EQ(reread.playlist(id)->name, "Road Trip");
        EXPECT_EQ(reread.playlist(id)->fileNames, expected);
    }
}

// A playlist file that is a link must not become a way to overwrite the
// file it points at.
TEST(PlaylistsManager, ALinkedPlaylistFileIsReplacedNotWrittenThrough) {
    const QString victim = QDir(testHome()).filePath("victim.txt");
    writeFile(victim, "precious");
    const QString link = QDir(playlistsDirectory()).filePath("link.m3u8");
    QDir().mkpath(playlistsDirectory());
    ASSERT_TRUE(QFile::link(victim, link));
    PlaylistsManager& manager = PlaylistsManager::shared();
    EXPECT_TRUE(manager.savePlaylist({"link.m3u8", "Mine", {"a.mp3"}, false}, false));
    EXPECT_EQ(readFile(victim), "precious");
    EXPECT_FALSE(QFileInfo(link).isSymLink());
    EXPECT_EQ(readFile(link), "#EXTM3U\n#EXTINF:name=Mine\na.mp3");
    EXPECT_EQ(QDir(playlistsDirectory()).entryList(QDir::Files | QDir::Hidden),
              QStringList{"link.m3u8"})
        << "no temporary file is left behind";
}

TEST(PlaylistsManager, FailedWriteIsLoggedReportedAndKeptInMemory) {
    PlaylistsManager& manager = PlaylistsManager::shared();
    // A directory where the file should go makes the write fail, whoever runs it.
    QDir(playlistsDirectory()).mkpath("Z.m3u8");
    int posted = 0;
    NotificationCenter::defaultCenter().addObserver(kPlaylistChangedNotification, nullptr,
                                                    [&](const Notification&) { ++posted; });
    LogCapture log;
    const Playlist playlist{"Z.m3u8", "Kept", {"a.mp3"}, false};
    EXPECT_FALSE(manager.savePlaylist(playlist, true));
    ASSERT_EQ(log.lines().size(), 1);
    EXPECT_TRUE(log.lines().first().startsWith("Error writing playlist file"));
    EXPECT_EQ(manager.playlist("Z.m3u8")->name, "Kept");
    EXPECT_EQ(posted, 1);
}

TEST(PlaylistsManager, DeleteRemovesFileAndRecordOrReportsTheError) {
    PlaylistsManager& manager = PlaylistsManager::shared();
    const Playlist playlist{Playlist::newId(), "Gone", {}, false};
    manager.savePlaylist(playlist, false);
    EXPECT_EQ(manager.deletePlaylist(playlist.id, false), std::nullopt);
    EXPECT_FALSE(manager.playlist(playlist.id).has_value());
    EXPECT_FALSE(QFileInfo::exists(QDir(playlistsDirectory()).filePath(playlist.id)));

    // A record whose file vanished behind our back: the error reaches the caller.
    const Playlist other{Playlist::newId(), "Other", {}, false};
    manager.savePlaylist(other, false);
    QFile::remove(QDir(playlistsDirectory()).filePath(other.id));
    EXPECT_TRUE(manager.deletePlaylist(other.id, false).has_value());
    EXPECT_TRUE(manager.playlist(other.id).has_value());

    LogCapture log;
    EXPECT_EQ(manager.deletePlaylist("5", true), std::nullopt);
    EXPECT_TRUE(log.contains("Can not delete Media Library Playlist"));
}
