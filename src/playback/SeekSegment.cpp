#include "SeekSegment.h"

#include <QString>
#include <cmath>
#include <limits>

#include "Log.h"
#include "PlaybackLog.h"

namespace {

// 2^63 and 2^32 are exact in their types; a product at or past them does not
// fit the frame position or the frame count the player takes.
constexpr double kStartingFrameBound = 9223372036854775808.0;
constexpr float kFrameCountBound = 4294967296.0f;

// Single precision as the frame count is worked out in, saturating where a
// plain conversion would leave the range of float.
float toSingle(double value) {
    constexpr double largest = std::numeric_limits<float>::max();
    if (value > largest) {
        return std::numeric_limits<float>::infinity();
    }
    if (value < -largest) {
        return -std::numeric_limits<float>::infinity();
    }
    return float(value);
}

}  // namespace

std::optional<SeekSegment> SeekSegment::from(double sampleRate, double time, double duration,
                                             qint64 length) {
    const double startingProduct = sampleRate * time;
    if (!std::isfinite(startingProduct) || startingProduct >= kStartingFrameBound ||
        startingProduct < -kStartingFrameBound) {
        qCWarning(lcPlayback) << "seek refused: starting frame" << startingProduct
                              << "is out of range at" << sampleRate << "Hz";
        return std::nullopt;
    }
    const qint64 startingFrame = qint64(startingProduct);

    const float countProduct = toSingle(sampleRate) * toSingle(duration - time);
    if (countProduct >= kFrameCountBound) {
        qCWarning(lcPlayback) << "seek refused: frame count" << countProduct
                              << "does not fit a segment";
        return std::nullopt;
    }
    // Negative (or NaN) counts mean nothing is left to play.
    const quint32 frameCount = countProduct > 0.0f ? quint32(countProduct) : 0u;

    if (startingFrame < 0 || startingFrame >= length) {
        systemLog(QStringLiteral("Invalid newSampleTime: %1 for audio file length: %2")
                      .arg(startingFrame)
                      .arg(length));
        return std::nullopt;
    }
    if (frameCount == 0) {
        systemLog(QStringLiteral("No frames to play or invalid values"));
        return std::nullopt;
    }
    return SeekSegment{startingFrame, frameCount};
}
