#include "Track.h"

#include <QBuffer>
#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QPainter>
#include <QSvgRenderer>
#include <cmath>
#include <limits>

#include "AppDirectories.h"
#include "AudioFile.h"
#include "FileStatus.h"
#include "NativeFileName.h"
#include "PlaybackLog.h"
#include "TagReader.h"
#include "TextOrder.h"

namespace {

constexpr auto kUnknownAlbum = "Unknown Album";
constexpr auto kUnknownArtist = "Unknown Artist";
constexpr auto kNotAvailable = "N/A";

// Library artwork is asked for at this size.
constexpr QSize kArtworkSize(128, 128);
// Cut from every side of a picture before it is kept.
constexpr qreal kThumbnailInset = 2;
constexpr int kThumbnailJpegQuality = 50;
// The kept thumbnail is an image "of scale 0.5": one pixel covers two
// device-independent units, so its logical size is twice its pixel size. Qt
// says that with the device pixel ratio, which item views and Qt Quick honour.
constexpr qreal kThumbnailScale = 0.5;

// The decoder's own frame count over its rate: what playing the file yields,
// to the frame. A file it cannot open has no length: the invalid time.
double measuredDuration(const QString& path) {
    const std::shared_ptr<AudioFile> file = AudioFile::openForReading(path);
    return file ? file->durationSeconds() : std::numeric_limits<double>::quiet_NaN();
}

bool sameText(const QString& a, const QString& b) {
    return a == b || compareText(a, b) == 0;
}

// The placeholder images are vector resources, rendered once per name at
// their own size, on transparency.
QImage placeholderImage(const QString& name) {
    static std::mutex mutex;
    static QHash<QString, QImage> rendered;
    const std::lock_guard lock(mutex);
    const auto it = rendered.constFind(name);
    if (it != rendered.cend()) {
        return *it;
    }
    QSvgRenderer renderer(QStringLiteral(":/images/%1.svg").arg(name));
    if (!renderer.isValid()) {
        qFatal("The placeholder image \"%s\" is missing from the resources", qPrintable(name));
    }
    QImage image(renderer.defaultSize(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    renderer.render(&painter);
    painter.end();
    rendered.insert(name, image);
    return image;
}

// Crops, recompresses and rescales a picture into the thumbnail that lists
// keep; absent when the picture is too small to crop or the codec fails.
std::optional<QImage> thumbnailFrom(const QImage& picture) {
    // The inset is in device-independent units, so pixels scale with the
    // picture's own ratio (1 for decoded file pictures).
    const int inset = qRound(kThumbnailInset * picture.devicePixelRatio());
    const QRect cropped = picture.rect().adjusted(inset, inset, -inset, -inset);
    if (picture.isNull() || cropped.isEmpty()) {
        return std::nullopt;
    }
    QByteArray jpeg;
    QBuffer buffer(&jpeg);
    buffer.open(QIODevice::WriteOnly);
    if (!picture.copy(cropped).save(&buffer, "JPEG", kThumbnailJpegQuality)) {
        return std::nullopt;
    }
    QImage thumbnail;
    if (!thumbnail.loadFromData(jpeg, "JPEG")) {
        return std::nullopt;
    }
    thumbnail.setDevicePixelRatio(kThumbnailScale);
    return thumbnail;
}

}  // namespace

TrackPtr Track::fromFile(const QString& fileName, const QString& directory) {
    const QString path = QDir(directory).filePath(fileName);
    const FileStatus status = FileStatus::of(path);
    // A FIFO, socket or device is never opened: reading one can wait forever.
    if (!status.exists() || status.isSpecial()) {
        return nullptr;
    }
    auto track = std::make_shared<Track>();
    track->fileName = fileName;
    // Each field falls back on its own; a field that is there but empty stays
    // empty.
    const TagFields tag = status.isRegular() ? TagReader::readFields(path) : TagFields{};
    track->title = tag.title.value_or(NativeFileName::forDisplay(fileName));
    track->album = tag.album.value_or(kUnknownAlbum);
    track->artist = tag.artist.value_or(kUnknownArtist);
    track->albumArtist = tag.albumArtist.value_or(kNotAvailable);
    track->duration =
        status.isRegular() ? measuredDuration(path) : std::numeric_limits<double>::quiet_NaN();
    return track;
}

TrackPtr Track::fromMediaItem(const MediaItem& item) {
    // Items the library will not hand out as a file never become tracks.
    if (!item.assetURL) {
        return nullptr;
    }
    auto track = std::make_shared<Track>();
    track->mediaLibraryItem = true;
    track->fileName = QFileInfo(*item.assetURL).fileName();
    track->mediaLibaryLocalPath = *item.assetURL;
    track->title = item.title.value_or(track->fileName);
    // Library tracks say "N/A" for every missing text, unlike file tracks.
    track->album = item.albumTitle.value_or(kNotAvailable);
    track->artist = item.artist.value_or(kNotAvailable);
    track->albumArtist = item.albumArtist.value_or(kNotAvailable);
    track->duration = item.playbackDuration;
    track->mediaLibraryArtistID = item.artistPersistentID;
    track->mediaLibraryAlbumID = item.albumPersistentID;
    track->mediaLibraryID = item.persistentID;
    track->mediaLibraryAlbumTrackNumber = item.albumTrackNumber;
    track->mediaItem = item;
    return track;
}

std::optional<QImage> Track::albumArtThumbnail() const {
    const std::lock_guard lock(m_thumbnailMutex);
    return m_albumArtThumbnail;
}

void Track::setAlbumArtThumbnail(std::optional<QImage> image) {
    const std::lock_guard lock(m_thumbnailMutex);
    m_albumArtThumbnail = std::move(image);
}

void Track::loadAlbumArtThumbnail() {
    loadThumbnail(QString());
}

void Track::loadAlbumArtThumbnailForAlbum() {
    loadThumbnail(QStringLiteral("cd-90"));
}

void Track::loadAlbumArtThumbnailForArtist() {
    loadThumbnail(QStringLiteral("person-90"));
}

void Track::loadThumbnail(const QString& placeholder) {
    if (albumArtThumbnail()) {
        return;
    }
    QImage picture;
    if (mediaLibraryItem) {
        // Library artwork never falls back on a placeholder.
        if (!mediaItem || !mediaItem->artwork) {
            return;
        }
        picture = mediaItem->artwork(kArtworkSize);
        if (picture.isNull()) {
            return;
        }
    } else if (const std::optional<QByteArray> cover = TagReader::readFrontCover(url())) {
        // Bytes that do not decode leave the thumbnail empty: the file claims
        // a cover, so a placeholder would be a lie.
        if (!picture.loadFromData(*cover)) {
            qCDebug(lcPlayback) << "front cover of" << fileName << "does not decode";
            return;
        }
    } else if (!placeholder.isEmpty()) {
        // The placeholder is a finished thumbnail already: it is kept as it
        // is, not cut, recompressed or rescaled like a picture from a file.
        keepFirstThumbnail(placeholderImage(placeholder));
        return;
    } else {
        return;
    }
    if (std::optional<QImage> thumbnail = thumbnailFrom(picture)) {
        keepFirstThumbnail(std::move(*thumbnail));
    }
}

// Loads may race on a worker and the main thread; the first one to finish
// wins, so a thumbnail once seen never changes under a reader.
void Track::keepFirstThumbnail(QImage thumbnail) {
    const std::lock_guard lock(m_thumbnailMutex);
    if (!m_albumArtThumbnail) {
        m_albumArtThumbnail = std::move(thumbnail);
    }
}

bool Track::matches(const QString& searchText) const {
    return title.toLower().contains(searchText.toLower());
}

QString Track::url() const {
    if (mediaLibraryItem) {
        if (!mediaLibaryLocalPath) {
            qFatal("Track::url: library track \"%s\" has no mediaLibaryLocalPath",
                   qPrintable(fileName));
        }
        return *mediaLibaryLocalPath;
    }
    return QDir(downloadedMusicDirectory()).filePath(fileName);
}

QString Track::sortKey() const {
    return title + artist + album;
}

bool Track::operator==(const Track& other) const {
    if (!sameText(title, other.title) || !sameText(album, other.album) ||
        !sameText(artist, other.artist) || !sameText(albumArtist, other.albumArtist) ||
        !sameText(fileName, other.fileName)) {
        return false;
    }
    // Read one thumbnail at a time: holding both locks could deadlock two
    // threads comparing the same pair in opposite orders.
    const std::optional<QImage> mine = albumArtThumbnail();
    const std::optional<QImage> theirs = other.albumArtThumbnail();
    if (!mine || !theirs) {
        return mine.has_value() == theirs.has_value();
    }
    // The same image object, not merely the same pixels: copies share a cache
    // key, separate loads of one picture do not.
    return mine->cacheKey() == theirs->cacheKey();
}

bool Track::operator<(const Track& other) const {
    return compareText(other.sortKey(), sortKey()) < 0;
}
