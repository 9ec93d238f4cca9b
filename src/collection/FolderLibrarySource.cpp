#include "FolderLibrarySource.h"

#include <dirent.h>
#include <sys/stat.h>

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QSet>
#include <QStandardPaths>
#include <QUrl>
#include <QtEndian>
#include <algorithm>
#include <condition_variable>
#include <cstring>
#include <utility>

#include "AppDirectories.h"
#include "LibraryTagReader.h"
#include "M3uReader.h"
#include "TagReader.h"
#include "UserDefaults.h"

namespace {

constexpr auto kAccessFile = "media-library-access";

const QSet<QString>& audioSuffixes() {
    static const QSet<QString> suffixes{"mp3", "m4a",  "m4b", "mp4", "aac",  "flac", "ogg",
                                        "oga", "opus", "wav", "aif", "aiff", "aifc", "wma",
                                        "ape", "wv",   "mpc", "tta", "spx",  "alac"};
    return suffixes;
}

bool isPlaylistFile(const QString& suffix) {
    return suffix == QLatin1String("m3u") || suffix == QLatin1String("m3u8");
}

quint64 stableID(const char* kind, const QString& text) {
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(QByteArray(kind));
    hash.addData(QByteArray(1, '\0'));
    hash.addData(text.toUtf8());
    return qFromBigEndian<quint64>(hash.result().constData());
}

// A regular file met by the walk. Its status is read when first asked for:
// a file the index does not know yet is measured by the reader that opens it.
class FoundFile {
public:
    FoundFile(QString path, int directory, const char* name, const struct stat* status)
        : path(std::move(path)), m_directory(directory), m_name(name) {
        if (status) {
            m_status = *status;
        }
    }
    const QString path;  // below the root

    // Null when the file has gone since the walk saw it.
    const struct stat* status() {
        if (!m_status && !m_gone) {
            struct stat status {};
            m_gone = fstatat(m_directory, m_name, &status, 0) != 0;
            if (!m_gone) {
                m_status = status;
            }
        }
        return m_status ? &*m_status : nullptr;
    }

private:
    int m_directory;
    const char* m_name;
    std::optional<struct stat> m_status;
    bool m_gone = false;
};

// Every regular file below `absolute`, symbolic links followed, each
// directory once. Entries the directory says are files are not measured
// here: a large library is walked at start-up.
void walkFiles(const QByteArray& absolute, const QString& relative,
               QSet<std::pair<dev_t, ino_t>>& seen, const std::function<void(FoundFile&)>& visit) {
    DIR* dir = opendir(absolute.constData());
    if (dir == nullptr) {
        return;
    }
    while (const dirent* entry = readdir(dir)) {
        if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0) {
            continue;
        }
        const QString name = QFile::decodeName(entry->d_name);
        const QString path = relative.isEmpty() ? name : relative + QLatin1Char('/') + name;
        if (entry->d_type == DT_REG) {
            FoundFile file(path, dirfd(dir), entry->d_name, nullptr);
            visit(file);
            continue;
        }
        struct stat status {};
        if (fstatat(dirfd(dir), entry->d_name, &status, 0) != 0) {
            continue;
        }
        if (S_ISDIR(status.st_mode)) {
            if (!seen.contains({status.st_dev, status.st_ino})) {
                seen.insert({status.st_dev, status.st_ino});
                walkFiles(absolute + '/' + entry->d_name, path, seen, visit);
            }
        } else if (S_ISREG(status.st_mode)) {
            FoundFile file(path, dirfd(dir), entry->d_name, &status);
            visit(file);
        }
    }
    closedir(dir);
}

QString suffixOf(const QString& path) {
    const qsizetype dot = path.lastIndexOf(QLatin1Char('.'));
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    return dot > slash ? path.mid(dot + 1).toLower() : QString();
}

}  // namespace

QString FolderLibrarySource::defaultRoot() {
    const QString fromEnvironment = qEnvironmentVariable("CORVANTIS_LIBRARY_DIR");
    if (!fromEnvironment.isEmpty()) {
        return fromEnvironment;
    }
    if (const std::optional<QString> setting =
            UserDefaults::standard().stringForKey("LibraryDirectory");
        setting && !setting->isEmpty()) {
        return *setting;
    }
    return QStandardPaths::writableLocation(QStandardPaths::MusicLocation);
}

FolderLibrarySource::FolderLibrarySource(const QString& root, const QString& indexPath)
    : m_root(QDir(root).absolutePath()), m_index(indexPath) {}

MediaLibraryAuthorizationStatus FolderLibrarySource::authorizationStatus() const {
    QFile file(QDir(AppDirectories::configDirectory()).filePath(kAccessFile));
    if (!file.open(QIODevice::ReadOnly)) {
        return MediaLibraryAuthorizationStatus::notDetermined;
    }
    const QByteArray value = file.readAll().trimmed();
    if (value == "authorized") {
        return MediaLibraryAuthorizationStatus::authorized;
    }
    return value == "denied" ? MediaLibraryAuthorizationStatus::denied
                             : MediaLibraryAuthorizationStatus::notDetermined;
}

void FolderLibrarySource::setAuthorizationStatus(MediaLibraryAuthorizationStatus status) {
    const QString path = QDir(AppDirectories::configDirectory()).filePath(kAccessFile);
    if (status == MediaLibraryAuthorizationStatus::notDetermined) {
        QFile::remove(path);
        return;
    }
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        file.write(status == MediaLibraryAuthorizationStatus::authorized ? "authorized\n"
                                                                         : "denied\n");
    }
}

void FolderLibrarySource::requestAuthorization(
    std::function<void(MediaLibraryAuthorizationStatus)> completion) {
    // The user is asked once; later requests learn the answer given then.
    if (authorizationStatus() != MediaLibraryAuthorizationStatus::notDetermined) {
        completion(authorizationStatus());
        return;
    }
    if (!consentPrompt) {
        setAuthorizationStatus(MediaLibraryAuthorizationStatus::denied);
        completion(MediaLibraryAuthorizationStatus::denied);
        return;
    }
    consentPrompt([this, completion = std::move(completion)](bool granted) {
        setAuthorizationStatus(granted ? MediaLibraryAuthorizationStatus::authorized
                                       : MediaLibraryAuthorizationStatus::denied);
        completion(authorizationStatus());
    });
}

void FolderLibrarySource::openSettings() {
    if (settingsPage) {
        settingsPage();
    }
}

quint64 FolderLibrarySource::itemID(const QString& relativePath) {
    return stableID("item", relativePath);
}

quint64 FolderLibrarySource::artistID(const QString& artist) {
    return stableID("artist", artist);
}

quint64 FolderLibrarySource::albumID(const QString& albumTitle, const QString& albumArtist) {
    return stableID("album", albumTitle + QChar(0x1F) + albumArtist);
}

QString FolderLibrarySource::absolutePath(const QString& relativePath) const {
    return m_root.endsWith(QLatin1Char('/')) ? m_root + relativePath
                                             : m_root + QLatin1Char('/') + relativePath;
}

std::optional<FolderLibrarySource::Snapshot> FolderLibrarySource::refresh() {
    // Without permission the library reads as nothing at all.
    if (authorizationStatus() != MediaLibraryAuthorizationStatus::authorized ||
        !QFileInfo(m_root).isDir()) {
        return std::nullopt;
    }
    const std::lock_guard lock(m_mutex);
    // What is left of it after the walk has gone from the folder.
    QHash<QString, IndexedFile> known = m_index.load();
    Snapshot snapshot;

    // Files to read go to the workers in small batches while the walk goes
    // on, and come back to be stored while they read the next ones: the walk
    // and the index writes overlap the reading instead of adding to it.
    struct Batches {
        std::mutex mutex;
        std::condition_variable changed;
        QList<QList<IndexedFile>> read;
        int reading = 0;
    } batches;
    QList<IndexedFile> batch;
    const auto dispatch = [&] {
        if (batch.isEmpty()) {
            return;
        }
        {
            const std::lock_guard guard(batches.mutex);
            ++batches.reading;
        }
        m_readers.start([this, &batches, files = std::exchange(batch, {})]() mutable {
            // A file gone since the walk saw it is left out.
            QList<IndexedFile> read;
            read.reserve(files.size());
            for (IndexedFile& file : files) {
                if (readLibraryTags(absolutePath(file.path), file)) {
                    read.append(std::move(file));
                }
            }
            const std::lock_guard guard(batches.mutex);
            batches.read.append(std::move(read));
            --batches.reading;
            batches.changed.notify_one();
        });
    };

    QSet<std::pair<dev_t, ino_t>> seen;
    if (struct stat status{}; ::stat(QFile::encodeName(m_root).constData(), &status) == 0) {
        seen.insert({status.st_dev, status.st_ino});
    }
    walkFiles(QFile::encodeName(m_root), QString(), seen, [&](FoundFile& found) {
        const QString suffix = suffixOf(found.path);
        if (isPlaylistFile(suffix)) {
            snapshot.playlistPaths.append(found.path);
        }
        if (!audioSuffixes().contains(suffix)) {
            return;
        }
        IndexedFile file;
        file.path = found.path;
        if (const auto indexed = known.find(file.path); indexed != known.end()) {
            const struct stat* status = found.status();
            if (!status) {
                return;
            }
            setStatus(file, *status);
            if (indexed->size == file.size && indexed->modified == file.modified) {
                snapshot.files.append(*indexed);
                known.erase(indexed);
                return;
            }
            known.erase(indexed);
        }
        batch.append(file);
        if (batch.size() == kReadBatch) {
            dispatch();
        }
    });
    dispatch();

    LibraryIndex::Transaction transaction(m_index);
    for (;;) {
        QList<QList<IndexedFile>> read;
        {
            std::unique_lock guard(batches.mutex);
            batches.changed.wait(guard,
                                 [&] { return !batches.read.isEmpty() || batches.reading == 0; });
            if (batches.read.isEmpty()) {
                break;
            }
            read.swap(batches.read);
        }
        for (const QList<IndexedFile>& files : read) {
            transaction.store(files);
            snapshot.files.append(files);
        }
    }
    transaction.forget(known.keys());

    snapshot.playlistPaths.sort();
    return snapshot;
}

MediaItem FolderLibrarySource::itemFor(const IndexedFile& file, IDCache& ids) const {
    MediaItem item;
    item.persistentID = itemID(file.path);
    const QString artist = file.artist.value_or(QString());
    auto artistIt = ids.artists.constFind(artist);
    if (artistIt == ids.artists.cend()) {
        artistIt = ids.artists.insert(artist, artistID(artist));
    }
    item.artistPersistentID = *artistIt;
    const std::pair album(file.album.value_or(QString()), file.albumArtist.value_or(QString()));
    auto albumIt = ids.albums.constFind(album);
    if (albumIt == ids.albums.cend()) {
        albumIt = ids.albums.insert(album, albumID(album.first, album.second));
    }
    item.albumPersistentID = *albumIt;
    item.title = file.title;
    item.albumTitle = file.album;
    item.artist = file.artist;
    item.albumArtist = file.albumArtist;
    item.playbackDuration = file.duration;
    item.albumTrackNumber = file.trackNumber;
    const QString path = absolutePath(file.path);
    item.assetURL = path;
    item.artwork = [path](QSize size) {
        const std::optional<QByteArray> cover = TagReader::readFrontCover(path);
        QImage image;
        if (!cover || !image.loadFromData(*cover)) {
            return QImage();
        }
        return image.scaled(size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    };
    return item;
}

std::optional<QList<MediaItem>> FolderLibrarySource::songs() {
    const std::optional<Snapshot> snapshot = refresh();
    if (!snapshot) {
        return std::nullopt;
    }
    // By path, so that the library's own order is the same on every run.
    const QList<IndexedFile>& files = snapshot->files;
    std::vector<const IndexedFile*> byPath(size_t(files.size()));
    std::transform(files.begin(), files.end(), byPath.begin(),
                   [](const IndexedFile& file) { return &file; });
    std::sort(byPath.begin(), byPath.end(),
              [](const IndexedFile* a, const IndexedFile* b) { return a->path < b->path; });
    // Artists and albums recur: each name is hashed once.
    IDCache ids;
    QList<MediaItem> items;
    items.reserve(files.size());
    for (const IndexedFile* file : byPath) {
        items.append(itemFor(*file, ids));
    }
    return items;
}

std::optional<QList<MediaPlaylist>> FolderLibrarySource::playlists() {
    const std::optional<Snapshot> snapshot = refresh();
    if (!snapshot) {
        return std::nullopt;
    }
    QSet<QString> files;
    files.reserve(snapshot->files.size());
    for (const IndexedFile& file : snapshot->files) {
        files.insert(file.path);
    }
    const QDir root(m_root);
    QList<MediaPlaylist> playlists;
    for (const QString& relative : snapshot->playlistPaths) {
        const QFileInfo info(root.filePath(relative));
        QFile file(info.filePath());
        if (!file.open(QIODevice::ReadOnly)) {
            continue;
        }
        const M3uPlaylist m3u =
            readM3u(file.readAll(), info.suffix().toLower() == QLatin1String("m3u8"));
        MediaPlaylist playlist;
        playlist.persistentID = stableID("playlist", relative);
        playlist.name = m3u.name.value_or(info.completeBaseName());
        for (const M3uEntry& entry : m3u.entries) {
            const QUrl url(entry.location);
            QString location = url.isLocalFile() ? url.toLocalFile() : entry.location;
            location.replace(QLatin1Char('\\'), QLatin1Char('/'));
            const QString absolute = QDir::cleanPath(info.dir().absoluteFilePath(location));
            const QString inLibrary = root.relativeFilePath(absolute);
            if (files.contains(inLibrary)) {
                playlist.itemPersistentIDs.append(itemID(inLibrary));
            }
        }
        playlists.append(playlist);
    }
    return playlists;
}
