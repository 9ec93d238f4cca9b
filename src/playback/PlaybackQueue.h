#pragma once

#include <QList>
#include <functional>
#include <optional>

#include "Track.h"

// The tracks queued for playing, the one standing at the current index, and
// the order next and previous take through them.
class PlaybackQueue {
public:
    // A uniformly random 64-bit word.
    using RandomSource = std::function<quint64()>;

    // How the transport moves through the queue.
    struct Order {
        bool shuffle = false;
        // Repeat is on in either form: the ends of the queue are no ends.
        bool repeats = false;
    };

    PlaybackQueue();

    const QList<TrackPtr>& tracks() const { return m_tracks; }
    // Null entries are left out, each with a line.
    void setTracks(const QList<TrackPtr>& tracks);
    void removeAt(int index);

    // May stand out of the queue's range between operations.
    int currentIndex() const { return m_currentIndex; }
    // False when the index was already `index`.
    bool setCurrentIndex(int index);
    bool isIndexValid() const;
    // Null when the index is out of range.
    TrackPtr currentTrack() const;

    bool canGoNext(Order order) const;
    bool canGoPrevious(Order order) const;
    // The index next (+1) or previous (-1) moves to: possibly off either end,
    // which a start wraps to 0. Nothing when there is nowhere to go.
    std::optional<int> indexAfterStep(int step, Order order) const;

    // Null restores the system's source.
    void setRandomSource(RandomSource source);
    // A uniform integer in [0, count), free of modulo bias; count > 0.
    int randomIndex(int count) const;

private:
    QList<TrackPtr> m_tracks;
    int m_currentIndex = -1;
    RandomSource m_randomSource;
};
