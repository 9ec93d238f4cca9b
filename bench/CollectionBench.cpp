// Figures of the music collection, each printed beside its peer from the same
// run:
//   - first load of a 20,000-file library by the library source (index empty)
//     against a single-threaded bare TagLib read loop over the same files, warm
//     cache (goal: at least 1.5x the bare loop's files per second), with the
//     CPU time each spends a file;
//   - a restart over the unchanged library (goal: under 1 s);
//   - filter() of the sortable list on 100,000 tracks for a one-letter and a
//     five-letter search (goal: under 5 ms a keystroke), beside a bare
//     case-insensitive contains loop over the titles;
//   - a sort of 100,000 tracks with <, beside a sort of their ready keys;
//   - reading 1,000 playlists of 1,000 lines at start-up, beside reading and
//     splitting the same files.
// `--smoke` uses small numbers so that the suite can check the bench still runs;
// `--files N [DIR]` runs the library part alone at another size, and keeps the
// library it makes in DIR for the next run.
#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>
#include <QThread>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <span>

#include <taglib/fileref.h>
#include <taglib/tag.h>
#include <taglib/tpropertymap.h>

#include "AudioFixtures.h"
#include "FolderLibrarySource.h"
#include "PlaylistsManager.h"
#include "SortableList.h"
#include "TagFixtures.h"
#include "TextOrder.h"

namespace {

// A cover of the kind a tagger embeds: a few hundred pixels of JPEG that does
// not compress to nothing.
QByteArray coverArt(int seed) {
    QImage image(400, 400, QImage::Format_RGB32);
    quint32 state = 2654435761u * quint32(seed + 1);
    for (int y = 0; y < image.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            state = state * 1664525u + 1013904223u;
            line[x] = qRgb(x / 2 + int(state >> 29), y / 2, int(state >> 24));
        }
    }
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPG", 85);
    return bytes;
}

// A library as people have them: mp3, FLAC, AAC and Vorbis side by side, each
// album in a folder of its own, tagged with the usual fields, every third
// album with its cover embedded in each file. Files of one album and format
// are copies of one encoded and tagged template.
// A library made once in a kept folder is only listed on later runs.
QStringList makeLibrary(const QString& root, int count) {
    constexpr FixtureFormat formats[] = {FixtureFormat::mp3, FixtureFormat::flac,
                                         FixtureFormat::m4aAac, FixtureFormat::oggVorbis};
    constexpr int albums = 12;
    constexpr int perAlbum = 12;
    const QString madeMark = QStringLiteral("%1/made-%2").arg(root).arg(count);
    const bool made = QFile::exists(madeMark);
    QList<QByteArray> templates;
    for (const FixtureFormat format :
         made ? std::span<const FixtureFormat>() : std::span<const FixtureFormat>(formats)) {
        const QString encoded = root + "/template" + fixtureExtension(format);
        const QString error = writeAudioFixture(encoded, {format, 22050, 44100, 2, {}});
        if (!error.isEmpty()) {
            qFatal("cannot encode %s: %s", fixtureName(format), qPrintable(error));
        }
        for (int album = 0; album < albums; ++album) {
            const QString tagged = root + "/tagged" + fixtureExtension(format);
            QFile::remove(tagged);
            QFile::copy(encoded, tagged);
            TagSpec spec{.title = QStringLiteral("Song of the long evening %1").arg(album),
                         .album = QStringLiteral("Album number %1").arg(album),
                         .artist = QStringLiteral("The Artist %1").arg(album % 5),
                         .albumArtist = QStringLiteral("The Artist %1").arg(album % 5)};
            if (album % 3 == 0) {
                spec.frontCover = coverArt(album);
            }
            bool taggedOk = writeTag(tagged, spec);
            {
                TagLib::FileRef ref(QFile::encodeName(tagged).constData());
                TagLib::PropertyMap properties = ref.file()->properties();
                properties.replace("TRACKNUMBER", TagLib::String::number(album + 1));
                properties.replace("DATE", TagLib::String::number(1990 + album));
                properties.replace("GENRE", TagLib::String("Rock"));
                ref.file()->setProperties(properties);
                taggedOk = taggedOk && ref.save();
            }
            QFile file(tagged);
            if (!taggedOk || !file.open(QIODevice::ReadOnly)) {
                qFatal("cannot tag %s", qPrintable(tagged));
            }
            templates.append(file.readAll());
        }
    }
    QStringList paths;
    QString dir;
    for (int i = 0; i < count; ++i) {
        const int album = i / perAlbum;
        const int format = album % int(std::size(formats));
        if (i % perAlbum == 0) {
            dir = QStringLiteral("%1/lib/Artist %2/Album %3").arg(root).arg(album % 97).arg(album);
            if (!made) {
                QDir().mkpath(dir);
            }
        }
        const QString path = QStringLiteral("%1/%2 - Track title %3%4")
                                 .arg(dir)
                                 .arg(i % perAlbum + 1, 2, 10, QLatin1Char('0'))
                                 .arg(i)
                                 .arg(fixtureExtension(formats[format]));
        paths.append(path);
        if (made) {
            continue;
        }
        const QByteArray& bytes = templates[format * albums + album % albums];
        QFile copy(path);
        if (!copy.open(QIODevice::WriteOnly) || copy.write(bytes) != bytes.size()) {
            qFatal("cannot write %s", qPrintable(path));
        }
    }
    QFile(madeMark).open(QIODevice::WriteOnly);
    return paths;
}

// The peer: what any player does at the least to list a file.
// CPU time the process has used so far, over all of its threads, in seconds.
double processCpuSeconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + now.tv_nsec / 1e9;
}

double bareTagLibLoop(const QStringList& paths) {
    QElapsedTimer timer;
    timer.start();
    qint64 sink = 0;
    for (const QString& path : paths) {
        const TagLib::FileRef ref(QFile::encodeName(path).constData());
        if (!ref.isNull()) {
            const TagLib::Tag* tag = ref.tag();
            sink += tag->title().size() + tag->artist().size() + tag->album().size() + tag->track();
            sink += ref.audioProperties()->lengthInMilliseconds();
        }
    }
    if (sink < 0) {
        std::printf("impossible\n");
    }
    return timer.nsecsElapsed() / 1e9;
}

void benchLibrary(const QString& root, const QString& home, int count) {
    const QStringList paths = makeLibrary(root, count);
    bareTagLibLoop(paths);  // warms the page cache for both
    // The machine may be shared: the CPU time each side spends is printed too.
    double cpu = processCpuSeconds();
    const double bare = bareTagLibLoop(paths);
    const double bareCpu = processCpuSeconds() - cpu;

    const QString index = home + "/index.sqlite";
    QElapsedTimer timer;
    cpu = processCpuSeconds();
    timer.start();
    qsizetype items = 0;
    {
        FolderLibrarySource source(root + "/lib", index);
        source.setAuthorizationStatus(MediaLibraryAuthorizationStatus::authorized);
        items = source.songs().value_or(QList<MediaItem>{}).size();
    }
    const double first = timer.nsecsElapsed() / 1e9;
    const double firstCpu = processCpuSeconds() - cpu;
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
        "files/s (%.2fx, goal >= 1.5x, %d threads; CPU a file: Corvantis %.0f us over all "
        "threads, bare loop %.0f us)\n",
        count, count / first, count / bare, bare / first, QThread::idealThreadCount(),
        firstCpu / count * 1e6, bareCpu / count * 1e6);
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

// A sort button on a list of tracks, beside sorting the same keys made and
// normalised beforehand: what making the keys and moving the tracks costs.
void benchSort(int count) {
    QList<TrackPtr> tracks;
    const char* words[] = {"Love", "night", "Blue", "road", "Café", "Ölbaum", "夜の", "Straße"};
    for (int i = 0; i < count; ++i) {
        auto track = std::make_shared<Track>();
        const quint32 mixed = quint32(i) * 2654435761u;
        track->title = QStringLiteral("%1 %2").arg(words[mixed % 8]).arg(mixed % 1000);
        track->artist = QString::fromUtf8(words[(mixed / 8) % 8]);
        track->album = QStringLiteral("Album %1").arg(mixed % 97);
        tracks.append(track);
    }
    QStringList keys;
    for (const TrackPtr& track : tracks) {
        keys.append(normalizedForOrder(track->sortKey()));
    }
    TrackSortableList list;
    list.setItems(tracks);
    QElapsedTimer timer;
    timer.start();
    list.didClickSort(SortButton::desc);
    const double button = timer.nsecsElapsed() / 1e6;
    timer.restart();
    std::stable_sort(keys.begin(), keys.end(), [](const QString& a, const QString& b) {
        return compareNormalized(b, a) < 0;
    });
    const double bare = timer.nsecsElapsed() / 1e6;
    std::printf("sort %d tracks: Corvantis sort button %.1f ms, bare sort of ready keys %.1f ms\n",
                count, button, bare);
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
    const bool smoke = argc > 1 && std::strcmp(argv[1], "--smoke") == 0;
    QTemporaryDir home;
    qputenv("CORVANTIS_HOME", home.path().toUtf8());
    const int files = argc > 2 ? std::atoi(argv[2]) : (smoke ? 300 : 20000);
    benchLibrary(argc > 3 ? QString::fromLocal8Bit(argv[3]) : home.path(), home.path(), files);
    if (argc > 2) {
        return 0;
    }
    benchFilter(smoke ? 2000 : 100000);
    benchSort(smoke ? 2000 : 100000);
    benchPlaylists(home.path(), smoke ? 20 : 1000, smoke ? 50 : 1000);
    std::fflush(stdout);
    return 0;
}
