// Figures of the music collection, each printed beside its peer from the same
// run:
//   - first load of a 20,000-file library by the library source (index empty)
//     against a single-threaded bare TagLib read loop over the same files, warm
//     cache (goal: at least 1.5x the bare loop's files per second);
//   - a restart over the unchanged library (goal: under 1 s);
//   - filter() of the sortable list on 100,000 tracks for a one-letter and a
//     five-letter search (goal: under 5 ms a keystroke), beside a bare
//     case-insensitive contains loop over the titles;
//   - reading 1,000 playlists of 1,000 lines at start-up, beside reading and
//     splitting the same files.
// `--smoke` uses small numbers so that the suite can check the bench still runs.
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <taglib/fileref.h>
#include <taglib/tag.h>
#include <taglib/wavfile.h>

#include "FolderLibrarySource.h"
#include "PlaylistsManager.h"
#include "SortableList.h"

namespace {

QByteArray silentWav(int frames) {
    const quint32 dataBytes = quint32(frames) * 2;
    QByteArray wav;
    const auto u32 = [&](quint32 v) { wav.append(reinterpret_cast<const char*>(&v), 4); };
    const auto u16 = [&](quint16 v) { wav.append(reinterpret_cast<const char*>(&v), 2); };
    wav.append("RIFF");
    u32(36 + dataBytes);
    wav.append("WAVEfmt ");
    u32(16);
    u16(1);
    u16(1);
    u32(8000);
    u32(16000);
    u16(2);
    u16(16);
    wav.append("data");
    u32(dataBytes);
    wav.append(QByteArray(int(dataBytes), '\0'));
    return wav;
}

// One tagged file copied `count` times into `root`, 100 to a folder.
QStringList makeLibrary(const QString& root, int count) {
    const QString templatePath = root + "/template.wav";
    QFile file(templatePath);
    if (!file.open(QIODevice::WriteOnly) || file.write(silentWav(8000)) < 0) {
        qFatal("cannot write %s", qPrintable(templatePath));
    }
    file.close();
    {
        TagLib::RIFF::WAV::File wav(QFile::encodeName(templatePath).constData());
        wav.ID3v2Tag()->setTitle("A title of some length");
        wav.ID3v2Tag()->setArtist("An Artist");
        wav.ID3v2Tag()->setAlbum("An Album");
        wav.ID3v2Tag()->setTrack(3);
        wav.save();
    }
    QFile tagged(templatePath);
    if (!tagged.open(QIODevice::ReadOnly)) {
        qFatal("cannot read %s", qPrintable(templatePath));
    }
    const QByteArray bytes = tagged.readAll();
    QStringList paths;
    for (int i = 0; i < count; ++i) {
        const QString dir = QStringLiteral("%1/lib/%2").arg(root).arg(i / 100);
        QDir().mkpath(dir);
        const QString path = QStringLiteral("%1/%2.wav").arg(dir).arg(i);
        QFile copy(path);
        if (!copy.open(QIODevice::WriteOnly) || copy.write(bytes) != bytes.size()) {
            qFatal("cannot write %s", qPrintable(path));
        }
        paths.append(path);
    }
    return paths;
}

double bareTagLibLoop(const QStringList& paths) {
    QElapsedTimer timer;
    timer.start();
    qint64 sink = 0;
    for (const QString& path : paths) {
        const TagLib::FileRef ref(QFile::encodeName(path).constData());
        if (!ref.isNull()) {
            sink += ref.tag()->title().size() + ref.tag()->track();
            sink += ref.audioProperties()->lengthInMilliseconds();
        }
    }
    if (sink < 0) {
        std::printf("impossible\n");
    }
    return timer.nsecsElapsed() / 1e9;
}

void benchLibrary(const QString& root, int count) {
    const QStringList paths = makeLibrary(root, count);
    bareTagLibLoop(paths);  // warms the page cache for both
    const double bare = bareTagLibLoop(paths);

    const QString index = root + "/index.sqlite";
    QElapsedTimer timer;
    timer.start();
    qsizetype items = 0;
    {
        FolderLibrarySource source(root + "/lib", index);
        source.setAuthorizationStatus(MediaLibraryAuthorizationStatus::authorized);
        items = source.songs().value_or(QList<MediaItem>{}).size();
    }
    const double first = timer.nsecsElapsed() / 1e9;
    timer.restart();
    {
        FolderLibrarySource source(root + "/lib", index);
        items = std::min(items, source.songs().value_or(QList<MediaItem>{}).size());
    }
    const double restart = timer.nsecsElapsed() / 1e9;
    if (items != count) {
        qFatal("the library listed %lld of %d files", qlonglong(items), count);
    }
    std::printf(
        "library first load of %d files: Corvantis %.0f files/s, bare TagLib loop %.0f "
        "files/s (%.2fx, goal >= 1.5x, %d threads)\n",
        count, count / first, count / bare, bare / first, QThread::idealThreadCount());
    std::printf("library restart over %d unchanged files: %.3f s (goal < 1 s)\n", count, restart);
}

void benchFilter(int count) {
    QList<TrackPtr> tracks;
    QStringList titles;
    const char* words[] = {"love", "night", "blue", "road", "heart", "fire", "rain", "gold"};
    for (int i = 0; i < count; ++i) {
        auto track = std::make_shared<Track>();
        track->title = QStringLiteral("%1 %2 %3").arg(words[i % 8], words[(i / 8) % 8]).arg(i);
        track->artist = "Artist";
        track->album = "Album";
        track->fileName = QStringLiteral("%1.mp3").arg(i);
        titles.append(track->title);
        tracks.append(track);
    }
    TrackSortableList list;
    list.setItems(tracks);
    for (const QString& search : {QStringLiteral("e"), QStringLiteral("heart")}) {
        constexpr int rounds = 10;
        // A keystroke into a field that was empty: the search starts from all
        // of the list.
        qint64 spent = 0;
        QElapsedTimer timer;
        for (int round = 0; round < rounds; ++round) {
            list.didChange(QString());
            timer.start();
            list.didChange(search);
            spent += timer.nsecsElapsed();
        }
        const double ours = spent / 1e6 / rounds;
        timer.restart();
        qsizetype hits = 0;
        for (int round = 0; round < rounds; ++round) {
            for (const QString& title : titles) {
                hits += title.contains(search, Qt::CaseInsensitive);
            }
        }
        const double bare = timer.nsecsElapsed() / 1e6 / rounds;
        std::printf(
            "filter %d tracks for \"%s\": Corvantis %.2f ms a keystroke, bare contains "
            "loop %.2f ms (goal < 5 ms, %lld hits)\n",
            count, qPrintable(search), ours, bare, qlonglong(hits / rounds));
    }
}

void benchPlaylists(const QString& root, int count, int lines) {
    const QString directory = root + "/playlists";
    QDir().mkpath(directory);
    for (int i = 0; i < count; ++i) {
        QString text = QStringLiteral("#EXTM3U\n#EXTINF:name=List %1\n").arg(i);
        for (int line = 0; line < lines; ++line) {
            text += QStringLiteral("Some Artist - Track number %1.mp3\n").arg(line);
        }
        QFile file(QStringLiteral("%1/%2.m3u8").arg(directory).arg(i));
        file.open(QIODevice::WriteOnly);
        file.write(text.toUtf8());
    }
    QElapsedTimer timer;
    timer.start();
    const PlaylistsManager manager(directory);
    const double ours = timer.nsecsElapsed() / 1e9;
    timer.restart();
    qsizetype total = 0;
    for (const QString& name : QDir(directory).entryList(QDir::Files)) {
        QFile file(directory + "/" + name);
        file.open(QIODevice::ReadOnly);
        total += QString::fromUtf8(file.readAll()).split(QLatin1Char('\n')).size();
    }
    const double bare = timer.nsecsElapsed() / 1e9;
    if (manager.playlists().size() != count || total == 0) {
        qFatal("read %lld of %d playlists", qlonglong(manager.playlists().size()), count);
    }
    std::printf(
        "playlists start-up, %d files of %d lines: Corvantis %.0f files/s, bare read and "
        "split %.0f files/s\n",
        count, lines, count / ours, count / bare);
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    // --smoke, or --files N for the library part alone at another size.
    const bool smoke = argc > 1 && std::strcmp(argv[1], "--smoke") == 0;
    QTemporaryDir root;
    qputenv("CORVANTIS_HOME", root.path().toUtf8());
    const int files = argc > 2 ? std::atoi(argv[2]) : (smoke ? 300 : 20000);
    benchLibrary(root.path(), files);
    if (argc > 2) {
        return 0;
    }
    benchFilter(smoke ? 2000 : 100000);
    benchPlaylists(root.path(), smoke ? 20 : 1000, smoke ? 50 : 1000);
    std::fflush(stdout);
    return 0;
}
