#pragma once

#include <QtGlobal>
#include <optional>

// What a seek schedules: `frameCount` frames of the player's timeline from
// `startingFrame`.
struct SeekSegment {
    qint64 startingFrame = 0;
    quint32 frameCount = 0;

    // The segment from `time` to `duration` seconds at `sampleRate`, worked
    // out as the player takes it: the start in double precision, the count in
    // single. Nothing, with a line saying why, when either does not fit its
    // type, the start is outside the `length` frames of the timeline, or
    // nothing is left to play.
    static std::optional<SeekSegment> from(double sampleRate, double time, double duration,
                                           qint64 length);
};
