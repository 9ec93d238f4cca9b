#include "TrackCell.h"

#include <cmath>

namespace TrackCell {

QString infoText(const Track& track) {
    return track.album + QStringLiteral(" - ") + track.artist;
}

QString durationText(double seconds) {
    if (!std::isfinite(seconds) || seconds < 0 || seconds >= 1e12) {
        return QString::number(seconds);
    }
    // Whole seconds, as a positional time shows them.
    const auto total = static_cast<qint64>(std::round(seconds));
    const qint64 hours = total / 3600;
    const qint64 minutes = (total % 3600) / 60;
    const qint64 secs = total % 60;
    const auto two = [](qint64 value) {
        return QStringLiteral("%1").arg(value, 2, 10, QChar('0'));
    };
    if (seconds >= 3600) {
        return two(hours) + ':' + two(minutes) + ':' + two(secs);
    }
    return two(minutes) + ':' + two(secs);
}

}  // namespace TrackCell
