#pragma once

#include <QByteArray>
#include <QHash>
#include <QImage>
#include <QSet>
#include <QString>
#include <mutex>
#include <optional>

#include "Track.h"

// The pictures of list rows, kept small: a cover is decoded straight to at
// most twice the size a row draws it at, and covers with the same bytes (the
// tracks of one album) share one image. Rows ask for a track by a key, so
// that the views never hold tracks. Any thread may call it; decoding happens
// outside the lock.
class ThumbnailCache {
public:
    // The side of the picture in a row, in device-independent pixels.
    static constexpr int kRowImageSize = 56;
    static constexpr int kMaxPixels = 2 * kRowImageSize;

    static ThumbnailCache& shared();

    // The key the views ask this track's picture by.
    QString keyFor(const TrackPtr& track);
    // The track behind a key, while it lives.
    TrackPtr trackFor(const QString& key) const;

    // The track's picture, read, scaled and shared on first use; nothing when
    // it has none. A track without one is asked once, not on every call.
    std::optional<QImage> load(const TrackPtr& track);

    // How many distinct pictures are kept.
    qsizetype distinctImages() const;

    // `image` scaled down to fit kMaxPixels on each side (never up).
    static QImage fitted(const QImage& image);
    // The bytes of an encoded picture, decoded to fit kMaxPixels; null when
    // they do not decode.
    static QImage decodeFitted(const QByteArray& bytes);

private:
    struct Entry {
        std::weak_ptr<Track> track;
        bool tried = false;
    };

    void pruneLocked();
    QImage shareLocked(const QByteArray& digest, QImage image);

    mutable std::mutex m_mutex;
    quint64 m_nextKey = 1;
    QHash<quint64, Entry> m_entries;
    QHash<const Track*, quint64> m_keys;
    QHash<QByteArray, QImage> m_byDigest;
    qsizetype m_pruneAt = 1024;
};
