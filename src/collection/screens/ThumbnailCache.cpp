#include "ThumbnailCache.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QImageReader>

#include "Log.h"
#include "TagReader.h"

namespace {

QByteArray digestOf(QByteArrayView bytes) {
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha1);
}

QSize fittedSize(const QSize& size) {
    if (size.width() <= ThumbnailCache::kMaxPixels && size.height() <= ThumbnailCache::kMaxPixels) {
        return size;
    }
    return size.scaled(ThumbnailCache::kMaxPixels, ThumbnailCache::kMaxPixels, Qt::KeepAspectRatio)
        .expandedTo(QSize(1, 1));
}

}  // namespace

ThumbnailCache& ThumbnailCache::shared() {
    // Never destroyed: a pass over every row may still be running on a pool
    // thread while the process exits, and the pool is only drained after
    // statics made later than it are gone.
    static ThumbnailCache* const cache = new ThumbnailCache;
    return *cache;
}

QString ThumbnailCache::keyFor(const TrackPtr& track) {
    if (!track) {
        return {};
    }
    const std::lock_guard lock(m_mutex);
    const auto known = m_keys.constFind(track.get());
    if (known != m_keys.cend()) {
        // A track that died may leave its address to a new one.
        if (m_entries.value(*known).track.lock() == track) {
            return QString::number(*known);
        }
        m_entries.remove(*known);
    }
    if (m_entries.size() >= m_pruneAt) {
        pruneLocked();
    }
    const quint64 key = m_nextKey++;
    m_entries.insert(key, Entry{track, false});
    m_keys.insert(track.get(), key);
    return QString::number(key);
}

TrackPtr ThumbnailCache::trackFor(const QString& key) const {
    bool ok = false;
    const quint64 number = key.toULongLong(&ok);
    if (!ok) {
        return nullptr;
    }
    const std::lock_guard lock(m_mutex);
    return m_entries.value(number).track.lock();
}

std::optional<QImage> ThumbnailCache::load(const TrackPtr& track) {
    if (!track) {
        return std::nullopt;
    }
    if (std::optional<QImage> kept = track->albumArtThumbnail()) {
        return kept;
    }
    const QString key = keyFor(track);
    {
        const std::lock_guard lock(m_mutex);
        Entry& entry = m_entries[key.toULongLong()];
        if (entry.tried) {
            return std::nullopt;
        }
        entry.tried = true;
    }
    QByteArray digest;
    QImage image;
    if (track->mediaLibraryItem) {
        if (track->mediaItem && track->mediaItem->artwork) {
            const QImage artwork = track->mediaItem->artwork(QSize(kMaxPixels, kMaxPixels))
                                       .convertToFormat(QImage::Format_ARGB32_Premultiplied);
            if (!artwork.isNull()) {
                digest = digestOf(QByteArrayView(artwork.constBits(), artwork.sizeInBytes()));
                image = fitted(artwork);
            }
        }
    } else if (const std::optional<QByteArray> cover = TagReader::readFrontCover(track->url())) {
        digest = digestOf(*cover);
        {
            const std::lock_guard lock(m_mutex);
            const auto shared = m_byDigest.constFind(digest);
            if (shared != m_byDigest.cend()) {
                track->setAlbumArtThumbnail(*shared);
                return *shared;
            }
        }
        image = decodeFitted(*cover);
        if (image.isNull()) {
            systemLog(QStringLiteral("The cover of %1 does not decode").arg(track->fileName));
        }
    }
    if (image.isNull()) {
        return std::nullopt;
    }
    {
        const std::lock_guard lock(m_mutex);
        image = shareLocked(digest, std::move(image));
    }
    track->setAlbumArtThumbnail(image);
    return image;
}

qsizetype ThumbnailCache::distinctImages() const {
    const std::lock_guard lock(m_mutex);
    return m_byDigest.size();
}

QImage ThumbnailCache::fitted(const QImage& image) {
    const QSize size = fittedSize(image.size());
    if (size == image.size()) {
        return image;
    }
    return image.scaled(size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

QImage ThumbnailCache::decodeFitted(const QByteArray& bytes) {
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    const QSize size = reader.size();
    // JPEG decodes straight to a smaller size; other formats are scaled after.
    if (size.isValid()) {
        reader.setScaledSize(fittedSize(size));
    }
    QImage image = reader.read();
    if (image.isNull()) {
        return {};
    }
    return fitted(image);
}

QImage ThumbnailCache::shareLocked(const QByteArray& digest, QImage image) {
    const auto shared = m_byDigest.constFind(digest);
    if (shared != m_byDigest.cend()) {
        return *shared;
    }
    m_byDigest.insert(digest, image);
    return image;
}

// Entries of tracks that are gone, and pictures that no track holds any more.
void ThumbnailCache::pruneLocked() {
    for (auto it = m_entries.begin(); it != m_entries.end();) {
        if (it->track.expired()) {
            it = m_entries.erase(it);
        } else {
            ++it;
        }
    }
    for (auto it = m_keys.begin(); it != m_keys.end();) {
        it = m_entries.contains(it.value()) ? std::next(it) : m_keys.erase(it);
    }
    for (auto it = m_byDigest.begin(); it != m_byDigest.end();) {
        it = it->isDetached() ? m_byDigest.erase(it) : std::next(it);
    }
    m_pruneAt = std::max<qsizetype>(1024, 2 * m_entries.size());
}
