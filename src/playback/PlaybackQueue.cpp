#include "PlaybackQueue.h"

#include <QRandomGenerator>

#include "PlaybackLog.h"

namespace {

quint64 systemRandom() {
    return QRandomGenerator::system()->generate64();
}

}  // namespace

PlaybackQueue::PlaybackQueue() : m_randomSource(systemRandom) {}

void PlaybackQueue::setTracks(const QList<TrackPtr>& tracks) {
    QList<TrackPtr> queue;
    queue.reserve(tracks.size());
    for (const TrackPtr& track : tracks) {
        if (track) {
            queue.append(track);
        } else {
            qCWarning(lcPlayback) << "a null track was handed in with the queue; left out";
        }
    }
    m_tracks = std::move(queue);
}

void PlaybackQueue::removeAt(int index) {
    m_tracks.removeAt(index);
}

bool PlaybackQueue::setCurrentIndex(int index) {
    if (m_currentIndex == index) {
        return false;
    }
    m_currentIndex = index;
    return true;
}

bool PlaybackQueue::isIndexValid() const {
    return m_currentIndex >= 0 && m_currentIndex < m_tracks.size();
}

TrackPtr PlaybackQueue::currentTrack() const {
    return isIndexValid() ? m_tracks.at(m_currentIndex) : nullptr;
}

bool PlaybackQueue::canGoNext(Order order) const {
    if (m_tracks.isEmpty()) {
        return false;
    }
    if (order.shuffle || order.repeats) {
        return true;
    }
    return m_currentIndex < m_tracks.size() - 1;
}

bool PlaybackQueue::canGoPrevious(Order order) const {
    if (m_tracks.isEmpty()) {
        return false;
    }
    return order.shuffle || order.repeats || m_currentIndex > 0;
}

std::optional<int> PlaybackQueue::indexAfterStep(int step, Order order) const {
    if (order.shuffle) {
        // A remote command can get here with nothing queued; there is nothing
        // to pick from, so this is the end of the queue.
        if (m_tracks.isEmpty()) {
            qCWarning(lcPlayback) << (step > 0 ? "next" : "previous")
                                  << "with shuffle on and an empty queue; stopping";
            return std::nullopt;
        }
        const int pick = randomIndex(int(m_tracks.size()));
        // Off either end is fine: a start begins over at 0.
        return pick == m_currentIndex ? m_currentIndex + step : pick;
    }
    if (step > 0 ? canGoNext(order) : canGoPrevious(order)) {
        // Forward with repeat on at the last track this runs off the end,
        // which a start wraps to 0; backward wraps to the last here.
        const int index = m_currentIndex + step;
        return step < 0 && index < 0 ? int(m_tracks.size()) - 1 : index;
    }
    return std::nullopt;
}

void PlaybackQueue::setRandomSource(RandomSource source) {
    m_randomSource = source ? std::move(source) : RandomSource(systemRandom);
}

// Multiply-and-reject: the high word of word x count is uniform over
// [0, count) once the low words that would over-represent some results
// (fewer than 2^64 mod count of them) are drawn again.
int PlaybackQueue::randomIndex(int count) const {
    Q_ASSERT(count > 0);
    using Wide = unsigned __int128;
    const quint64 bound = quint64(count);
    Wide product = Wide(m_randomSource()) * bound;
    if (quint64(product) < bound) {
        const quint64 threshold = (0 - bound) % bound;
        while (quint64(product) < threshold) {
            product = Wide(m_randomSource()) * bound;
        }
    }
    return int(quint64(product >> 64));
}
